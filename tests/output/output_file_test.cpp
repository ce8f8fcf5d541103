#include "output/output_file.h"
#include "output/null_stream.h"
#include "output/output_stream.h"

#include "support/temporary_folder.h"

#include <gtest/gtest.h>

namespace {

constexpr std::size_t block = 262'144;

// Takes at most `limit` bytes a call and `room` in all.
class counting_buffer final : public uni::streambuf_generic_output<char> {
public:
    ~counting_buffer() override { (void)flush_buffer(); }
    std::size_t limit = block;
    std::size_t room = 10 * block;
    std::string taken;
    std::vector<std::size_t> calls;

protected:
    std::ptrdiff_t write_bytes(const char* data, std::size_t count) override {
        calls.push_back(count);
        count = std::min(count, limit);
        if (count > room) return -1;
        room -= count;
        taken.append(data, count);
        return static_cast<std::ptrdiff_t>(count);
    }
};

std::string some_text(std::size_t length) {
    std::string text;
    for (std::size_t i = 0; i < length; ++i) text += static_cast<char>('a' + i % 23);
    return text;
}

TEST(OutputStream, WritesWholeBlocks) {
    counting_buffer buffer;
    std::ostream out(&buffer);
    const std::string text = some_text(2 * block + 5);
    out << text.substr(0, block - 1);
    EXPECT_TRUE(buffer.calls.empty());
    out << text.substr(block - 1) << std::flush;
    EXPECT_EQ(buffer.calls, (std::vector<std::size_t>{block, block, 5}));
    EXPECT_EQ(buffer.taken, text);

    buffer.calls.clear();
    buffer.limit = 3;
    out << "12345678" << std::flush;
    EXPECT_EQ(buffer.calls, (std::vector<std::size_t>{8, 5, 2}));
    EXPECT_EQ(buffer.taken, text + "12345678");
    EXPECT_TRUE(out.good());

    buffer.room = 0;
    out << "x" << std::flush;
    EXPECT_TRUE(out.bad());
    out.clear();
    out << some_text(2 * block);  // what failed stays in the way
    EXPECT_TRUE(out.bad());
    EXPECT_EQ(buffer.taken, text + "12345678");
}

TEST(OutputFile, MemoryMode) {
    uni::output_file file;
    EXPECT_FALSE(file.is_usable());
    EXPECT_EQ(file.make_stream(), nullptr);
    EXPECT_FALSE(file.append_text("lost"));
    file.open_memory();
    EXPECT_FALSE(file.open("anything", false, true));
    EXPECT_TRUE(file.write(nullptr, 0));
    EXPECT_FALSE(file.write(nullptr, 1));
    EXPECT_FALSE(file.append({}));
    EXPECT_TRUE(file.append(std::string_view("one\n")));
    *file.make_stream() << "two" << std::flush << "three";
    EXPECT_EQ(file.memory_bytes(), "one\ntwo");
    EXPECT_NE(file.make_stream(), nullptr);  // destroying a stream flushes it
    EXPECT_EQ(file.memory_bytes(), "one\ntwothree");
    EXPECT_EQ(file.size(), 12);
    EXPECT_FALSE(file.failed());
    file.close();
    EXPECT_EQ(file.size(), 0);
    EXPECT_EQ(file.stream(), nullptr);
}

TEST(OutputFile, ReplacesAndAppends) {
    const temporary_folder folder;
    const std::string path = folder.write("results.txt", "what was there before");
    std::filesystem::permissions(path, std::filesystem::perms::owner_read);
    uni::output_file file;
    EXPECT_FALSE(file.open("", false, true));
    ASSERT_TRUE(file.open(path, false, true));
    *file.make_stream() << "a\nb\n";
    EXPECT_EQ(file.size(), 0);
    file.close();
    EXPECT_FALSE(file.is_usable());
    EXPECT_EQ(temporary_folder::read(path), "a\r\nb\r\n");

    ASSERT_TRUE(file.open(path, true, false));
    EXPECT_EQ(file.size(), 6);
    EXPECT_TRUE(file.append_text("c\n"));
    EXPECT_EQ(file.size(), 8);
    EXPECT_TRUE(file.open(folder / "other", true, true));  // closes the first
    EXPECT_EQ(temporary_folder::read(path), "a\r\nb\r\nc\n");
    EXPECT_FALSE(file.open(folder / "no" + "/such/file", true, true));
    EXPECT_FALSE(file.is_usable());
}

TEST(OutputFile, RemembersTheFirstFailure) {
    const std::string full = "/dev/full";
    if (platform::kind_of(full) != platform::path_kind::other) GTEST_SKIP() << "no device that is always full";
    uni::output_file file;
    ASSERT_TRUE(file.open(full, false, true));
    std::ostream& out = *file.make_stream();
    out << "x";
    EXPECT_FALSE(file.failed());
    out << std::flush;
    EXPECT_TRUE(out.bad());
    out.clear();
    EXPECT_TRUE(file.failed());
    EXPECT_FALSE(file.reader_closed());
    EXPECT_FALSE(file.append_text("y"));
    file.close();
    EXPECT_TRUE(file.failed());

    ASSERT_TRUE(file.open(full, false, true));
    EXPECT_FALSE(file.failed());
    *file.make_stream() << "only the last flush";
    file.close();
    EXPECT_TRUE(file.failed());
}

TEST(NullStream, TakesEverything) {
    uni::null_out_stream out;
    out << std::string(3 * block, 'x') << 'y' << 12 << std::flush;
    EXPECT_TRUE(out.good());
}

}  // namespace
