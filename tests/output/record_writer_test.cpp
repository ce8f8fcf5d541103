#include "output/record_writer.h"

#include "journal/journal_collection.h"
#include "output/output_file.h"
#include "output/output_stream.h"

#include "support/table_settings.h"

#include <gtest/gtest.h>

#include <sstream>

namespace {

constexpr std::size_t many = 5000;

struct WriteRecords : testing::Test {
    WriteRecords() {
        settings.with_csv();
        settings.journal = &journal;
    }

    // `count` records, latest first.
    void fill(std::size_t count) {
        journal_entry entry = sample_entry();
        for (std::size_t i = count; i > 0; --i) {
            entry.timestamp = sample_time + i * 10'000;
            entry.usn = static_cast<std::int64_t>(i);
            journal.add(entry);
        }
    }

    table_settings settings;
    journal_collection journal;
    std::string shown;
    uni::status_line status{[this](std::string_view text) { shown += text; }};
};

// Takes a number of bytes and then no more.
class small_buffer final : public std::streambuf {
public:
    explicit small_buffer(std::streamsize room) : room_(room) {}
    std::size_t calls = 0;

protected:
    std::streamsize xsputn(const char* /*data*/, std::streamsize count) override {
        ++calls;
        const std::streamsize taken = std::min(count, room_);
        room_ -= taken;
        return taken;
    }

private:
    std::streamsize room_;
};

TEST_F(WriteRecords, InOrderUnderOneHeader) {
    fill(many);
    uni::output_file file;
    file.open_memory();
    EXPECT_TRUE(uni::write_records(*file.make_stream(), settings, status));
    file.stream()->flush();
    const std::string_view text = file.memory_bytes();
    EXPECT_EQ(text.find("usndate"), text.rfind("usndate"));
    std::size_t at = 0;
    for (std::size_t i = 1; i <= many; ++i) {
        at = text.find('\n', at) + 1;
        std::array<char, 16> usn{};
        std::snprintf(usn.data(), usn.size(), "0x%08zx,", i);
        ASSERT_EQ(text.substr(at + 65, 11), std::string_view(usn.data()));
    }
    EXPECT_EQ(text.find('\n', at) + 1, text.size());
    EXPECT_EQ(shown, "\x1b[2K\r    \r");
}

TEST_F(WriteRecords, StopsWhenTheStreamDoes) {
    fill(many);
    small_buffer buffer(1000);
    std::ostream out(&buffer);
    EXPECT_FALSE(uni::write_records(out, settings, status));
    EXPECT_EQ(buffer.calls, 1U);
    EXPECT_FALSE(uni::write_records(out, settings, status));  // bad from the start
    EXPECT_EQ(buffer.calls, 1U);
}

TEST_F(WriteRecords, NothingToWriteIsWellWritten) {
    small_buffer buffer(0);
    std::ostream out(&buffer);
    settings.progress = false;
    EXPECT_TRUE(uni::write_records(out, settings, status));
    EXPECT_TRUE(settings.write_header);
    settings.journal = nullptr;
    EXPECT_TRUE(uni::write_records(out, settings, status));
    EXPECT_EQ(shown, "");
    settings.journal = &journal;
    fill(1);
    EXPECT_FALSE(uni::write_records(out, settings, status));
}

// Marks each flush; those behind the good ones fail.
class flush_marks final : public std::stringbuf {
public:
    explicit flush_marks(std::size_t good) : good_(good) {}

protected:
    int sync() override {
        sputc('#');
        return good_-- > 0 ? 0 : -1;
    }

private:
    std::size_t good_;
};

TEST_F(WriteRecords, XmlHandsOnRecordByRecord) {
    fill(3);
    settings.xml = true;
    for (const std::size_t good : {4U, 1U}) {
        flush_marks buffer(good);
        std::ostream out(&buffer);
        out.setstate(std::ios::failbit);  // is cleared before each record
        EXPECT_EQ(uni::write_records(out, settings, status), good == 4);
        const std::string text = buffer.str();
        EXPECT_EQ(std::count(text.begin(), text.end(), '#'), good == 4 ? 4 : 2);
        EXPECT_TRUE(text.starts_with("<data_entry>\n") && text.ends_with(good == 4 ? ">\n##" : ">\n#"));
        EXPECT_NE(text.find("<usn>0x000000000001</usn>\n</data_entry>\n#<data_entry>\n"), std::string::npos);
    }
}

}  // namespace
