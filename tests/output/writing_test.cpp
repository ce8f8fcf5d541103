// From records to the blocks that a file takes; the status line.
#include "journal/journal_collection.h"
#include "output/output_stream.h"
#include "output/record_writer.h"
#include "support/command_line.h"

#include <gtest/gtest.h>

#include <sstream>

namespace {

const std::string clear_line = "\x1b[2K\r    \r";
constexpr std::size_t block = 262'144;

// Takes at most `limit` bytes a call and `room` in all.
struct counting_buffer final : uni::streambuf_generic_output<char> {
    ~counting_buffer() override { (void)flush_buffer(); }
    std::ptrdiff_t write_bytes(const char* data, std::size_t count) override {
        calls.push_back(count);
        count = std::min(count, limit);
        if (count > room) return -1;
        room -= count;
        taken.append(data, count);
        return static_cast<std::ptrdiff_t>(count);
    }
    std::size_t limit = block;
    std::size_t room = 10 * block;
    std::string taken;
    std::vector<std::size_t> calls;
};

TEST(OutputStream, WritesWholeBlocks) {
    counting_buffer buffer;
    std::ostream out(&buffer);
    std::string text;
    while (text.size() < 2 * block + 5) text += static_cast<char>('a' + text.size() % 23);
    out << text.substr(0, block - 1);
    EXPECT_TRUE(buffer.calls.empty());
    out << text.substr(block - 1) << std::flush;
    buffer.limit = 3;
    out << "12345678" << std::flush;
    EXPECT_EQ(buffer.calls, (std::vector<std::size_t>{block, block, 5, 8, 5, 2}));
    EXPECT_TRUE(out.good());
    buffer.room = 0;
    out << "x" << std::flush;
    EXPECT_TRUE(out.bad());
    out.clear();
    out << text;  // what failed stays in the way
    EXPECT_TRUE(out.bad());
    EXPECT_EQ(buffer.taken, text + "12345678");
}

// Marks each flush; those behind the good ones fail.
struct flush_marks final : std::stringbuf {
    explicit flush_marks(int flushes) : good(flushes) {}
    int sync() override { return sputc('#'), good-- > 0 ? 0 : -1; }
    int good;
};

TEST(WriteRecords, XmlHandsOnRecordByRecord) {
    journal_collection journal;
    for (int i = 0; i < 3; ++i) journal.add(sample_entry());
    usnjrnl_context settings = parsed_options({"-xml"}).settings;
    settings.journal = &journal;
    std::string shown;
    uni::status_line status([&](std::string_view text) { shown += text; });
    for (const int good : {4, 1}) {
        flush_marks buffer(good);
        std::ostream out(&buffer);
        out.setstate(std::ios::failbit);  // is cleared before each record
        EXPECT_EQ(uni::write_records(out, settings, status), good == 4);
        EXPECT_EQ(std::exchange(shown, ""), clear_line);
        const std::string text = buffer.str();
        EXPECT_EQ(std::count(text.begin(), text.end(), '#'), good == 4 ? 4 : 2);
        EXPECT_TRUE(text.starts_with("<data_entry>\n") && text.ends_with(good == 4 ? ">\n##" : ">\n#"));
        EXPECT_NE(text.find("</data_entry>\n#<data_entry>\n"), std::string::npos);
    }
}

TEST(StatusLine, ShowsOneLineAndEveryTwentiethOnce) {
    std::string shown;
    uni::status_line status([&](std::string_view text) { shown += text; });
    EXPECT_EQ(status.show_status("entry %d of %s\nand\n", 7, "9"), 17);
    EXPECT_EQ(std::exchange(shown, ""), clear_line + "entry 7 of 9and\r");
    EXPECT_EQ(status.show_status("%s", std::string(61, 'a').c_str()), 60);
    EXPECT_EQ(std::exchange(shown, ""), clear_line + std::string(60, 'a') + "\r");
    // 28.999... of 100 in double arithmetic; one step a call.
    for (const unsigned done : {0U, 4U, 5U, 9U, 29U, 15U, 19U}) (void)status.show_percent(done, 100);
    const auto percent = [&](const char* number) { return clear_line + "percent done: " + number + "\r"; };
    EXPECT_EQ(std::exchange(shown, ""), percent("5") + percent("28") + percent("15"));
    const std::pair<std::size_t, std::string> reports[] = {
        {4094, std::string(4094, 'p') + "\n"}, {4095, std::string(4091, 'p') + "...\n"}, {4096, ""}};
    for (const auto& [length, printed] : reports) {
        (void)status.report_problem("%s\n", std::string(length, 'p').c_str());
        EXPECT_EQ(std::exchange(shown, ""), clear_line + printed);
    }
}

}  // namespace
