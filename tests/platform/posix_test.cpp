#include "platform/platform.h"
#include "support/temporary_folder.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <array>

namespace {

namespace fs = std::filesystem;

TEST(PosixFile, HolesAreSkippedAndTimesKept) {
    const temporary_folder folder;
    const std::string path = folder.write("sparse", "");
    std::ofstream(path, std::ios::binary).seekp(16 << 20).write("record", 6);
    fs::resize_file(path, 48 << 20);
    const std::array<timespec, 2> long_ago{timespec{1'000'000'000, 0}, timespec{1'100'000'000, 0}};
    ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), long_ago.data(), 0), 0);
    struct stat status {};
    ASSERT_EQ(::stat(path.c_str(), &status), 0);
    platform::file in;
    platform::device device;
    platform::device_geometry geometry;
    platform::device_partition partition;
    std::array<std::uint8_t, 8> into{};
    std::size_t got = 0;
    ASSERT_TRUE(in.open_for_reading(path) && in.read_at(0, into, got));
    ASSERT_TRUE(device.open(path, platform::device_access::plain));
    EXPECT_EQ(device.read_at(0, into, got), platform::device_read::ok);
    ASSERT_TRUE(device.query_geometry(geometry));
    EXPECT_TRUE(geometry.bytes_per_sector == 512 && geometry.total_size == 48 << 20);
    EXPECT_FALSE(device.query_partition(partition));
    if (status.st_blocks * 512 <= 16 << 20) {  // else the file system knows no holes
        std::int64_t begin = 0;
        std::int64_t end = 0;
        EXPECT_TRUE(in.next_data(0, begin, end) && begin == 16 << 20 && end < 17 << 20);
        EXPECT_FALSE(in.next_data(end, begin, end));
    }
    ASSERT_EQ(::stat(path.c_str(), &status), 0);
    EXPECT_TRUE(status.st_atim.tv_sec == 1'000'000'000 && status.st_mtim.tv_sec == 1'100'000'000);
}

TEST(PosixPath, NodesOfOneDeviceAreOneDevice) {
    const temporary_folder folder;
    EXPECT_EQ(platform::kind_of("/dev/null"), platform::path_kind::other);
    EXPECT_NE(platform::identity_of("/dev/null"), platform::identity_of("/dev/zero"));
    const std::string node = folder / "null";
    if (::mknod(node.c_str(), S_IFCHR | 0600, makedev(1, 3)) != 0) GTEST_SKIP() << "may not make device nodes";
    EXPECT_EQ(platform::identity_of(node), platform::identity_of("/dev/null"));
}

}  // namespace
