// What every system must answer in the same way.

#include "platform/platform.h"
#include "support/temporary_folder.h"

#include <gtest/gtest.h>

#include <array>

namespace {

namespace fs = std::filesystem;
using platform::device_access;
using platform::device_read;
using platform::path_kind;
using platform::write_result;

TEST(PlatformFile, WritesTextModeAndAppendsWhereverItStands) {
    const temporary_folder folder;
    const std::string path = folder.write("log", "old\n");
    platform::file out;
    ASSERT_TRUE(out.open_for_writing(path, true, false));
    EXPECT_EQ(out.append("new\n"), write_result::ok);
    std::array<std::uint8_t, 3> front{};
    std::size_t got = 0;
    ASSERT_TRUE(out.read_at(0, front, got));
    platform::file moved = std::move(out);
    EXPECT_EQ(moved.append("last\n"), write_result::ok);
    moved = platform::file();
    EXPECT_EQ(moved.append("lost"), write_result::failed);
    EXPECT_EQ(folder.read(path), "old\nnew\nlast\n");

    ASSERT_TRUE(out.open_for_writing(path, false, true));
    EXPECT_EQ(out.append("a\nb\r\n\n"), write_result::ok);
    EXPECT_EQ(out.append("\n"), write_result::ok);
    EXPECT_EQ(out.size(), 11);
    EXPECT_TRUE(out.close());
    EXPECT_EQ(folder.read(path), "a\r\nb\r\r\n\r\n\r\n");
}

TEST(PlatformFile, ReadsUpToTheEndAndNeverWrites) {
    const temporary_folder folder;
    platform::file in;
    ASSERT_TRUE(in.open_for_reading(folder.write("journal", "0123\r\n\x1A!89")));
    EXPECT_EQ(in.size(), 10);
    for (const auto& [offset, bytes] : {std::pair{0, "0123"}, {4, "\r\n\x1A!"}, {8, "89"}, {10, ""}, {-1, ""}}) {
        std::array<std::uint8_t, 4> into{};
        std::size_t got = 99;
        EXPECT_EQ(in.read_at(offset, into, got), *bytes != '\0') << offset;
        EXPECT_EQ(std::string(into.begin(), into.begin() + static_cast<int>(got)), bytes) << offset;
    }
    std::int64_t begin = 0;
    std::int64_t end = 0;
    EXPECT_TRUE(in.next_data(3, begin, end) && begin == 3 && end == 10) << begin << ' ' << end;
    EXPECT_FALSE(in.next_data(10, begin, end) || in.next_data(11, begin, end) || in.next_data(-1, begin, end));
    EXPECT_EQ(in.append("x"), write_result::failed);
    for (const std::string& path : {folder / "", folder / "absent/file", std::string()}) {
        EXPECT_FALSE(in.open_for_reading(path) || in.open_for_writing(path, true, true)) << path;
        EXPECT_FALSE(platform::device().open(path, device_access::plain) || platform::remove_file(path)) << path;
    }
}

TEST(PlatformPath, NamesAreUtf8) {
    const temporary_folder folder;
    for (const std::u8string name : {u8"é", u8"😀.bin", u8"€\u00A0"}) {
        const std::string path = folder / "" + std::string(name.begin(), name.end());
        platform::file out;
        ASSERT_TRUE(out.open_for_writing(path, true, true) && out.close()) << path;
        EXPECT_TRUE(fs::directory_iterator(folder / "")->path().filename().u8string() == name) << path;
        EXPECT_EQ(platform::kind_of(path), path_kind::regular_file) << path;
        EXPECT_TRUE(platform::remove_file(path)) << path;
        EXPECT_EQ(platform::kind_of(path), path_kind::absent) << path;
    }
}

TEST(PlatformDevice, ReadsTellTheEndFromAFailure) {
    const temporary_folder folder;
    platform::device device;
    ASSERT_TRUE(device.open(folder.write("image", std::string(1024, 'x')), device_access::random));
    std::array<std::uint8_t, 512> into{};
    std::size_t got = 0;
    EXPECT_TRUE(device.read_at(512, into, got) == device_read::ok && got == 512 && into[511] == 'x');
    EXPECT_TRUE(device.read_at(1000, into, got) == device_read::end && got == 24);
    EXPECT_TRUE(device.read_at(1024, into, got) == device_read::end && got == 0);
    device.close();
    EXPECT_EQ(device.read_at(0, into, got), device_read::failed);
}

}  // namespace
