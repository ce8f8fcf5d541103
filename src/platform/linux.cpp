// The answers of Linux.

#include "platform/platform.h"

#include <fcntl.h>
#include <linux/fs.h>
#include <linux/loop.h>
#include <poll.h>
#include <pwd.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <new>

namespace platform {

static_assert(sizeof(off_t) == 8, "files are larger than 2 GB");

namespace {

// For calls that say -1 when a signal came between.
template <typename system_call>
auto uninterrupted(system_call call) {
    auto result = call();
    while (result == -1 && errno == EINTR) result = call();
    return result;
}

path_kind kind_of_mode(mode_t mode) {
    if (S_ISREG(mode)) return path_kind::regular_file;
    if (S_ISDIR(mode)) return path_kind::folder;
    if (S_ISLNK(mode)) return path_kind::link;
    return path_kind::other;
}

// -1 on failure.
int open_read_only(const std::string& path) {
    // A pipe nobody writes to must not hold the program up. A regular file is opened the waiting way: not to wait would
    // fail while another process still has it leased.
    const int waiting = kind_of_target(path) == path_kind::regular_file ? 0 : O_NONBLOCK;
    const int flags = O_RDONLY | O_CLOEXEC | O_NOCTTY | waiting;
    const int descriptor = uninterrupted([&] { return ::open(path.c_str(), flags | O_NOATIME); });
    if (descriptor != -1 || errno != EPERM) return descriptor;
    return uninterrupted([&] { return ::open(path.c_str(), flags); });  // somebody else's file: its access time moves
}

// A reader that fell behind on a descriptor that does not wait is waited for here.
write_result write_all(int descriptor, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = uninterrupted([&] { return ::write(descriptor, bytes.data(), bytes.size()); });
        if (written > 0) {
            bytes.remove_prefix(static_cast<std::size_t>(written));
            continue;
        }
        if (written == 0) return write_result::failed;
        if (errno == EPIPE) return write_result::closed_pipe;
        if (errno != EAGAIN) return write_result::failed;
        pollfd room{.fd = descriptor, .events = POLLOUT, .revents = 0};
        if (uninterrupted([&] { return ::poll(&room, 1, -1); }) == -1) return write_result::failed;
    }
    return write_result::ok;
}

// What the C runtime's text mode does elsewhere: every line feed, whatever precedes it.
void add_carriage_returns(std::string_view text, std::string& out) {
    out.clear();
    std::size_t line_end = text.find('\n');
    while (line_end != std::string_view::npos) {
        out.append(text.substr(0, line_end)).append("\r\n");
        text.remove_prefix(line_end + 1);
        line_end = text.find('\n');
    }
    out.append(text);
}

std::string notes_on_block_device(dev_t device) {
    return "/sys/dev/block/" + std::to_string(major(device)) + ':' + std::to_string(minor(device)) + '/';
}

std::string identity_of_file(std::uint64_t device, std::uint64_t number) {
    return "file " + std::to_string(device) + ' ' + std::to_string(number);
}

int descriptor_of(std::intptr_t handle) { return static_cast<int>(handle); }

}  // namespace

// ---- The process -------------------------------------------------------------------------------------------------

std::vector<std::string> start_process(int argc, char** argv) {
    (void)std::signal(SIGPIPE, SIG_IGN);
    // Messages must never land in a results file that was opened as descriptor 2. For reading only: a write to a stream
    // that is closed keeps failing. An open takes the lowest free descriptor.
    for (int standard = STDIN_FILENO; standard <= STDERR_FILENO; ++standard) {
        if (::fcntl(standard, F_GETFD) == -1 && ::open("/dev/null", O_RDONLY | O_CLOEXEC) == -1) break;
    }
    return {argv, argv + argc};
}

std::optional<std::string> environment(const std::string& name) {
    const char* value = std::getenv(name.c_str());
    if (value == nullptr) return std::nullopt;
    return value;
}

std::string computer_name() {
    utsname system{};
    return ::uname(&system) == 0 ? static_cast<const char*>(system.nodename) : "";
}

// From the local list of users: the lookup of the C library may ask a directory server.
std::string user_name() {
    const auto close_list = [](FILE* list) { (void)std::fclose(list); };
    const std::unique_ptr<FILE, decltype(close_list)> users(std::fopen("/etc/passwd", "re"), close_list);
    if (users != nullptr) {
        while (const passwd* user = ::fgetpwent(users.get())) {
            if (user->pw_uid == ::geteuid()) return user->pw_name;
        }
    }
    if (auto name = environment("LOGNAME")) return *name;
    return environment("USER").value_or("");
}

std::string system_description() {
    utsname system{};
    if (::uname(&system) != 0) return {};
    return std::string(system.sysname) + ' ' + system.release + ' ' + system.machine;
}

bool elevated() { return ::geteuid() == 0; }

void set_end_event(const std::string& /*name*/) {}

memory_block::memory_block(std::size_t bytes) {
    bytes = (bytes + large_page - 1) / large_page * large_page;
    data_ = std::aligned_alloc(large_page, bytes);
    if (data_ == nullptr) throw std::bad_alloc();
    (void)madvise(data_, bytes, MADV_HUGEPAGE);  // a wish; without it the memory is only slower
}

memory_block::~memory_block() { std::free(data_); }

// ---- Standard error ----------------------------------------------------------------------------------------------

std::uint32_t enable_terminal_sequences() { return 0; }

void restore_console(std::uint32_t /*mode*/) {}

void write_error(std::string_view text) { (void)write_all(STDERR_FILENO, text); }

bool is_terminal(standard_stream stream) {
    return isatty(stream == standard_stream::output ? STDOUT_FILENO : STDERR_FILENO) != 0;
}

// ---- Paths -------------------------------------------------------------------------------------------------------

path_kind kind_of(const std::string& path) {
    struct stat status {};
    return ::lstat(path.c_str(), &status) == 0 ? kind_of_mode(status.st_mode) : path_kind::absent;
}

path_kind kind_of_target(const std::string& path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 ? kind_of_mode(status.st_mode) : path_kind::absent;
}

std::optional<std::string> identity_of(const std::string& path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0) return std::nullopt;
    // Two nodes of one device are the same device.
    if (S_ISBLK(status.st_mode)) return "block " + std::to_string(status.st_rdev);
    if (S_ISCHR(status.st_mode)) return "character " + std::to_string(status.st_rdev);
    return identity_of_file(status.st_dev, status.st_ino);
}

bool is_raw_device(const std::string& path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 && S_ISBLK(status.st_mode);
}

std::string backing_file(const std::string& path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0 || !S_ISBLK(status.st_mode)) return {};
    std::string file;
    for (const char* note : {"loop/backing_file", "../loop/backing_file"}) {
        std::ifstream text(notes_on_block_device(status.st_rdev) + note);
        if (std::getline(text, file)) break;
    }
    return file;
}

std::optional<std::string> identity_behind(const std::string& path) {
    if (!is_raw_device(path)) return std::nullopt;
    const int descriptor = open_read_only(path);
    loop_info64 loop{};
    const bool told = descriptor != -1 && ::ioctl(descriptor, LOOP_GET_STATUS64, &loop) == 0;
    if (descriptor != -1) (void)::close(descriptor);
    if (!told) return std::nullopt;
    return identity_of_file(loop.lo_device, loop.lo_inode);
}

std::string native_results_path(const std::string& path) {
    std::string native = path;
    for (char& character : native) {
        if (character == '\\') character = '/';
    }
    return native;
}

std::string device_node(const std::string& path) {
    if (!path.starts_with(R"(\\)")) return path;
    return std::string(LORQ_DEVICE_FOLDER) + '/' + path.substr(path.rfind('\\') + 1);
}

std::filesystem::path::string_type native_path(const std::string& path) { return path; }

void make_writable(const std::string& path) {
    struct stat status {};
    if (::lstat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode) || (status.st_mode & S_IWUSR) != 0) return;
    (void)::chmod(path.c_str(), (status.st_mode & ALLPERMS) | S_IWUSR);
}

bool remove_file(const std::string& path) { return ::unlink(path.c_str()) == 0; }

// ---- Files -------------------------------------------------------------------------------------------------------

bool file::open_for_reading(const std::string& path) {
    close();
    descriptor_ = open_read_only(path);
    struct stat status {};
    if (is_open() && ::fstat(descriptor_, &status) == 0 && !S_ISDIR(status.st_mode)) return true;
    close();
    return false;
}

bool file::open_for_writing(const std::string& path, bool binary, bool create_truncate) {
    close();
    // A pipe that was opened for reading too would have this program as its last reader: it would fill and never break.
    struct stat status {};
    const bool pipe = ::stat(path.c_str(), &status) == 0 && S_ISFIFO(status.st_mode);
    int flags = (pipe ? O_WRONLY : O_RDWR) | O_CLOEXEC | O_NOCTTY;
    if (create_truncate) flags |= O_CREAT | O_TRUNC;
    constexpr mode_t all_that_the_umask_leaves = 0666;
    descriptor_ = uninterrupted([&] { return ::open(path.c_str(), flags, all_that_the_umask_leaves); });
    translate_line_feeds_ = !binary;
    return is_open();
}

void file::use_standard_output(bool /*binary*/) {
    close();
    descriptor_ = STDOUT_FILENO;
    owned_ = false;
    translate_line_feeds_ = false;
}

bool file::close() {
    // An interrupted close has closed all the same.
    const bool closed = !is_open() || !owned_ || ::close(descriptor_) == 0 || errno == EINTR;
    descriptor_ = -1;
    owned_ = true;
    return closed;
}

std::int64_t file::size() const {
    const off_t position = ::lseek(descriptor_, 0, SEEK_CUR);
    if (position == -1) return 0;
    const off_t end = ::lseek(descriptor_, 0, SEEK_END);
    return ::lseek(descriptor_, position, SEEK_SET) == position && end > 0 ? end : 0;
}

bool file::read_at(std::int64_t offset, std::span<std::uint8_t> into, std::size_t& got) const {
    const ssize_t count = uninterrupted([&] { return ::pread(descriptor_, into.data(), into.size(), offset); });
    got = count > 0 ? static_cast<std::size_t>(count) : 0;
    return got > 0;
}

bool file::next_data(std::int64_t offset, std::int64_t& begin, std::int64_t& end) const {
    const off_t data = ::lseek(descriptor_, offset, SEEK_DATA);
    if (data == -1 && errno == ENXIO) return false;
    const off_t hole = data == -1 ? -1 : ::lseek(descriptor_, data, SEEK_HOLE);
    const std::int64_t from = data == -1 ? offset : data;
    const std::int64_t to = hole == -1 ? size() : hole;
    if (from < 0 || from >= to) return false;
    begin = from;
    end = to;
    return true;
}

write_result file::append(std::string_view bytes) {
    if (!is_open()) return write_result::failed;
    if (bytes.empty()) return write_result::ok;
    // A pipe has no end to go to.
    if (owned_ && ::lseek(descriptor_, 0, SEEK_END) == -1 && errno != ESPIPE) return write_result::failed;
    if (!translate_line_feeds_) return write_all(descriptor_, bytes);
    add_carriage_returns(bytes, translated_);
    return write_all(descriptor_, translated_);
}

// ---- Raw devices -------------------------------------------------------------------------------------------------

bool device::open(const std::string& path) {
    close();
    handle_ = open_read_only(device_node(path));
    struct stat status {};
    if (is_open() && ::fstat(descriptor_of(handle_), &status) == 0 &&
        (S_ISBLK(status.st_mode) || S_ISREG(status.st_mode))) {
        return true;
    }
    close();
    return false;
}

void device::close() {
    if (is_open()) (void)::close(descriptor_of(handle_));
    handle_ = closed;
}

bool device::query_geometry(device_geometry& geometry) const {
    struct stat status {};
    if (::fstat(descriptor_of(handle_), &status) != 0) return false;
    device_geometry answer;
    if (S_ISREG(status.st_mode)) {
        answer.bytes_per_sector = 512;
        answer.total_size = status.st_size;
    } else {
        int sector = 0;
        std::uint64_t size = 0;
        if (::ioctl(descriptor_of(handle_), BLKSSZGET, &sector) != 0 || sector < 0) return false;
        if (::ioctl(descriptor_of(handle_), BLKGETSIZE64, &size) != 0 || size > INT64_MAX) return false;
        answer.bytes_per_sector = static_cast<std::uint32_t>(sector);
        answer.total_size = static_cast<std::int64_t>(size);
    }
    geometry = answer;
    return true;
}

device_read device::read_at(std::int64_t offset, std::span<std::uint8_t> into, std::size_t& got) const {
    got = 0;
    while (got < into.size()) {
        const auto rest = into.subspan(got);
        const off_t at = offset + static_cast<off_t>(got);
        const ssize_t count =
            uninterrupted([&] { return ::pread(descriptor_of(handle_), rest.data(), rest.size(), at); });
        if (count == -1) return device_read::failed;
        if (count == 0) return device_read::end;
        got += static_cast<std::size_t>(count);
    }
    return device_read::ok;
}

}  // namespace platform
