#include "platform/platform.h"
#include "support/temporary_folder.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <array>

namespace {

namespace fs = std::filesystem;
using platform::device_access;
using platform::file;
using platform::path_kind;
using platform::write_result;

TEST(PosixFile, PipeYieldsNothingDoesNotHangAndBreaks) {
    (void)platform::start_process(0, nullptr);  // the signal of a broken pipe would end this program
    const temporary_folder folder;
    const std::string pipe = folder / "pipe";
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    {
        file in;
        std::int64_t begin = 0;
        std::int64_t end = 0;
        ASSERT_TRUE(in.open_for_reading(pipe));
        EXPECT_EQ(in.size(), 0);
        EXPECT_FALSE(in.next_data(0, begin, end));
        EXPECT_FALSE(platform::device().open(pipe, device_access::plain));
    }
    const int reader = ::open(pipe.c_str(), O_RDONLY | O_NONBLOCK);
    file out;
    ASSERT_TRUE(out.open_for_writing(pipe, false, true));
    EXPECT_EQ(out.append("line\n"), write_result::ok);
    std::array<char, 8> got{};
    EXPECT_EQ(::read(reader, got.data(), got.size()), 6);
    ::close(reader);
    EXPECT_EQ(out.append("line\n"), write_result::closed_pipe);

    ASSERT_TRUE(out.open_for_writing("/dev/full", true, true));
    EXPECT_EQ(out.append("line\n"), write_result::failed);
}

TEST(PosixFile, StandardOutputIsWrittenAsItIsWhereItStands) {
    const temporary_folder folder;
    const std::string path = folder.write("captured", "0123456789");
    const int saved = ::dup(STDOUT_FILENO);
    const int captured = ::open(path.c_str(), O_RDWR);
    ::dup2(captured, STDOUT_FILENO);
    ::lseek(captured, 4, SEEK_SET);
    file out;
    EXPECT_TRUE(out.open_for_writing(folder / "other", false, true));
    out.use_standard_output();
    EXPECT_EQ(out.append("a\nb"), write_result::ok);
    EXPECT_TRUE(out.close());
    EXPECT_EQ(::dup2(saved, STDOUT_FILENO), STDOUT_FILENO);
    EXPECT_EQ(folder.read(path), "0123a\nb789");
    ::close(saved);
    ::close(captured);
}

TEST(PosixFile, HolesAreSkipped) {
    const temporary_folder folder;
    const std::string path = folder.write("sparse", "");
    std::ofstream(path, std::ios::binary).seekp(16 << 20).write("record", 6);
    fs::resize_file(path, 48 << 20);
    struct stat status {};
    ASSERT_EQ(::stat(path.c_str(), &status), 0);
    if (status.st_blocks * 512 > 16 << 20) GTEST_SKIP() << "the file system of the temporary folder knows no holes";
    file in;
    std::int64_t begin = 0;
    std::int64_t end = 0;
    ASSERT_TRUE(in.open_for_reading(path) && in.next_data(0, begin, end));
    EXPECT_EQ(begin, 16 << 20);
    EXPECT_LT(end, 17 << 20);
    EXPECT_FALSE(in.next_data(end, begin, end));
}

TEST(PosixFile, SourcesKeepTheirTimesAndServeAsDevices) {
    const temporary_folder folder;
    const std::string path = folder.write("source", "evidence");
    const std::array<timespec, 2> long_ago{
        {{.tv_sec = 1'000'000'000, .tv_nsec = 0}, {.tv_sec = 1'100'000'000, .tv_nsec = 0}}};
    ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), long_ago.data(), 0), 0);
    file in;
    std::array<std::uint8_t, 8> into{};
    std::size_t got = 0;
    ASSERT_TRUE(in.open_for_reading(path) && in.read_at(0, into, got));
    platform::device device;
    ASSERT_TRUE(device.open(path, device_access::plain));
    EXPECT_EQ(device.read_at(0, into, got), platform::device_read::ok);
    struct stat status {};
    ASSERT_EQ(::stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_atim.tv_sec, 1'000'000'000);
    EXPECT_EQ(status.st_mtim.tv_sec, 1'100'000'000);

    platform::device_geometry geometry;
    platform::device_partition partition;
    ASSERT_TRUE(device.query_geometry(geometry));
    EXPECT_EQ(geometry.bytes_per_sector, 512U);
    EXPECT_EQ(geometry.total_size, 8);
    EXPECT_FALSE(device.query_partition(partition));
}

TEST(PosixFile, NewFilesGetWhatTheUmaskLeaves) {
    const temporary_folder folder;
    const mode_t before = ::umask(026);
    file out;
    EXPECT_TRUE(out.open_for_writing(folder / "new", true, true));
    ::umask(before);
    EXPECT_EQ(fs::status(folder / "new").permissions(), static_cast<fs::perms>(0640));
}

TEST(PosixProcess, ClosedStandardErrorIsNotTakenByAFile) {
    const int saved = ::dup(STDERR_FILENO);
    ::close(STDERR_FILENO);
    (void)platform::start_process(0, nullptr);
    const int next = ::dup(STDIN_FILENO);
    const ssize_t written = ::write(STDERR_FILENO, "x", 1);
    EXPECT_EQ(::dup2(saved, STDERR_FILENO), STDERR_FILENO);
    EXPECT_GT(next, STDERR_FILENO);
    EXPECT_EQ(written, -1);
    ::close(saved);
    ::close(next);
}

TEST(PosixPath, LinksLeadToTheSameFile) {
    const temporary_folder folder;
    const std::string target = folder.write("target", "");
    const std::string link = folder / "link";
    fs::create_symlink(target, link);
    fs::create_symlink("nowhere", folder / "dangling");
    EXPECT_EQ(platform::kind_of(link), path_kind::link);
    EXPECT_EQ(platform::kind_of_target(link), path_kind::regular_file);
    EXPECT_EQ(platform::kind_of(folder / "dangling"), path_kind::link);
    EXPECT_EQ(platform::kind_of_target(folder / "dangling"), path_kind::absent);
    EXPECT_EQ(platform::identity_of(link), platform::identity_of(target));

    fs::permissions(target, fs::perms::owner_read);
    platform::make_writable(link);
    EXPECT_EQ(fs::status(target).permissions(), fs::perms::owner_read);
}

TEST(PosixPath, NodesOfOneDeviceAreOneDevice) {
    const temporary_folder folder;
    EXPECT_EQ(platform::kind_of("/dev/null"), path_kind::other);
    EXPECT_NE(platform::identity_of("/dev/null"), platform::identity_of("/dev/zero"));
    const std::string node = folder / "null";
    if (::mknod(node.c_str(), S_IFCHR | 0600, makedev(1, 3)) != 0) GTEST_SKIP() << "may not make device nodes";
    EXPECT_EQ(platform::identity_of(node), platform::identity_of("/dev/null"));
}

TEST(PosixPath, WindowsNamesBecomePaths) {
    const std::string folder = platform::device_node(R"(\\.\)");
    EXPECT_EQ(platform::device_node(R"(\\.\c:)"), folder + "c:");
    EXPECT_EQ(platform::device_node(R"(\\?\GLOBALROOT\Device\Shadow3)"), folder + "Shadow3");
    EXPECT_EQ(platform::device_node(R"(\one\c:)"), R"(\one\c:)");
    EXPECT_EQ(platform::device_node("/dev/sda1"), "/dev/sda1");
    EXPECT_EQ(platform::native_results_path(R"(a\b/c\)"), "a/b/c/");
}

}  // namespace
