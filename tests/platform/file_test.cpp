// What every system must answer in the same way.

#include "platform/platform.h"
#include "support/temporary_folder.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <tuple>

namespace {

namespace fs = std::filesystem;
using platform::device_access;
using platform::device_read;
using platform::file;
using platform::path_kind;
using platform::write_result;

TEST(PlatformFile, TextModeWritesEveryLineFeedAsTwoBytes) {
    const temporary_folder folder;
    file out;
    ASSERT_TRUE(out.open_for_writing(folder / "out.txt", false, true));
    EXPECT_EQ(out.append("a\nb\r\n\n"), write_result::ok);
    EXPECT_EQ(out.append("\n"), write_result::ok);
    EXPECT_EQ(out.append(""), write_result::ok);
    EXPECT_EQ(out.size(), 11);
    EXPECT_TRUE(out.close());
    EXPECT_EQ(folder.read(folder / "out.txt"), "a\r\nb\r\r\n\r\n\r\n");
}

TEST(PlatformFile, AppendsAtTheEndWhereverItStands) {
    const temporary_folder folder;
    const std::string path = folder.write("log", "old\n");
    file out;
    ASSERT_TRUE(out.open_for_writing(path, true, false));
    EXPECT_EQ(out.append("new\n"), write_result::ok);
    std::array<std::uint8_t, 3> front{};
    std::size_t got = 0;
    ASSERT_TRUE(out.read_at(0, front, got));
    file moved = std::move(out);
    EXPECT_EQ(moved.append("last\n"), write_result::ok);
    moved = file();
    EXPECT_EQ(moved.append("lost"), write_result::failed);
    EXPECT_EQ(folder.read(path), "old\nnew\nlast\n");
}

TEST(PlatformFile, ReadsUpToTheEndAndNeverWrites) {
    const temporary_folder folder;
    file in;
    ASSERT_TRUE(in.open_for_reading(folder.write("journal", "0123\r\n\x1A!89")));
    EXPECT_EQ(in.size(), 10);
    const std::pair<std::int64_t, std::string> reads[] = {{0, "0123"}, {4, "\r\n\x1A!"}, {8, "89"}, {10, ""}, {-1, ""}};
    for (const auto& [offset, bytes] : reads) {
        std::array<std::uint8_t, 4> into{};
        std::size_t got = 99;
        EXPECT_EQ(in.read_at(offset, into, got), !bytes.empty()) << offset;
        ASSERT_EQ(got, bytes.size()) << offset;
        EXPECT_EQ(std::string(into.begin(), into.begin() + std::ssize(bytes)), bytes) << offset;
    }
    std::int64_t begin = 0;
    std::int64_t end = 0;
    EXPECT_TRUE(in.next_data(3, begin, end) && begin == 3 && end == 10) << begin << ' ' << end;
    EXPECT_FALSE(in.next_data(10, begin, end) || in.next_data(11, begin, end) || in.next_data(-1, begin, end));
    EXPECT_EQ(in.append("x"), write_result::failed);
}

TEST(PlatformFile, WhatIsNoFileCannotBeOpened) {
    const temporary_folder folder;
    fs::create_directory(folder / "folder");
    for (const std::string& path : {folder / "folder", folder / "absent/file", std::string()}) {
        file any;
        platform::device device;
        EXPECT_FALSE(any.open_for_reading(path)) << path;
        EXPECT_FALSE(any.open_for_writing(path, true, true)) << path;
        EXPECT_FALSE(device.open(path, device_access::plain)) << path;
        EXPECT_FALSE(platform::remove_file(path)) << path;
    }
}

TEST(PlatformFile, ReadOnlyResultsAreReplaced) {
    const temporary_folder folder;
    const std::string path = folder.write("results", "earlier run");
    fs::permissions(path, fs::perms::owner_read);
    platform::make_writable(path);
    EXPECT_NE(fs::status(path).permissions() & fs::perms::owner_write, fs::perms::none);
    file out;
    ASSERT_TRUE(out.open_for_writing(path, true, true));
    EXPECT_EQ(out.size(), 0);
}

TEST(PlatformPath, NamesAreUtf8) {
    const temporary_folder folder;
    for (const std::u8string name : {u8"é", u8"😀.bin", u8"€\u00A0"}) {
        const std::string path = folder / "" + std::string(name.begin(), name.end());
        file out;
        ASSERT_TRUE(out.open_for_writing(path, true, true)) << path;
        EXPECT_TRUE(out.close());
        EXPECT_TRUE(fs::directory_iterator(folder / "")->path().filename().u8string() == name) << path;
        EXPECT_EQ(platform::kind_of(path), path_kind::regular_file) << path;
        EXPECT_TRUE(platform::remove_file(path)) << path;
        EXPECT_EQ(platform::kind_of(path), path_kind::absent) << path;
    }
}

TEST(PlatformPath, KindAndIdentity) {
    const temporary_folder folder;
    const std::string one = folder.write("one", "same bytes");
    const std::string two = folder.write("two", "same bytes");
    fs::create_hard_link(one, folder / "hard");
    fs::create_directory(folder / "folder");
    EXPECT_EQ(platform::kind_of(folder / "folder"), path_kind::folder);
    EXPECT_EQ(platform::kind_of_target(folder / "folder"), path_kind::folder);
    ASSERT_TRUE(platform::identity_of(one).has_value());
    EXPECT_EQ(platform::identity_of(one), platform::identity_of(folder / "folder/../one"));
    EXPECT_EQ(platform::identity_of(one), platform::identity_of(folder / "hard"));
    EXPECT_NE(platform::identity_of(one), platform::identity_of(two));
    EXPECT_FALSE(platform::identity_of(folder / "absent").has_value());
}

TEST(PlatformDevice, ReadsTellTheEndFromAFailure) {
    const temporary_folder folder;
    platform::device device;
    ASSERT_TRUE(
        device.open(folder.write("image", std::string(1000, 'x') + std::string(24, 'y')), device_access::random));
    const std::tuple<std::int64_t, device_read, std::size_t> reads[] = {
        {512, device_read::ok, 512}, {1000, device_read::end, 24}, {1024, device_read::end, 0}};
    std::array<std::uint8_t, 512> into{};
    std::size_t got = 0;
    for (const auto& [offset, result, expected] : reads) {
        EXPECT_EQ(device.read_at(offset, into, got), result) << offset;
        EXPECT_EQ(got, expected) << offset;
        EXPECT_TRUE(got == 0 || into[static_cast<std::size_t>(1000 - offset) % 512] == 'y') << offset;
    }
    device.close();
    EXPECT_EQ(device.read_at(0, into, got), device_read::failed);
}

}  // namespace
