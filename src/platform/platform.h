// platform/platform.h: everything the program needs of an operating system, answered once per system
// (linux.cpp, windows.cpp). Paths and texts are UTF-8 here; they change form behind this header only.
// Nothing throws; a failure is a false, an empty optional or an enum, and the caller words it for the user.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace platform {

// ---- The process -------------------------------------------------------------------------------------------------

// The arguments as UTF-8, program path included. Also makes a closed output pipe a failed write instead of a signal,
// and sees to it that no file opened later takes the place of a standard stream that the caller closed.
[[nodiscard]] std::vector<std::string> start_process(int argc, char** argv);

[[nodiscard]] std::optional<std::string> environment(const std::string& name);

// Never ask the network, which could take long. Empty when the system does not know.
[[nodiscard]] std::string computer_name();
[[nodiscard]] std::string user_name();

// Name, version and kind of the system ("workstation", "server", "domain-controller"), a service pack after ".sp.",
// "[remote]" in a remote session; then "<~>" when the program was started from a network location and ":=" when from
// a removable drive. Outside Windows the name, release and machine only.
[[nodiscard]] std::string system_description();

// Whether raw volumes may be opened: a full administrator token, or root.
[[nodiscard]] bool elevated();

// Creates, sets and closes the named manual-reset event; a system without such events does nothing.
void set_end_event(const std::string& name);

// Memory for many records, not zeroed: backed by large pages where the system has them, because it is read in any
// order. The constructor throws std::bad_alloc.
class memory_block {
public:
    static constexpr std::size_t large_page = std::size_t{2} << 20U;  // bytes; blocks are aligned to it

    memory_block() = default;
    explicit memory_block(std::size_t bytes);
    memory_block(memory_block&& other) noexcept : data_(std::exchange(other.data_, nullptr)) {}
    memory_block& operator=(memory_block&& other) noexcept {
        std::swap(data_, other.data_);
        return *this;
    }
    ~memory_block();

    [[nodiscard]] void* data() const { return data_; }

private:
    void* data_ = nullptr;
};

// ---- Standard streams --------------------------------------------------------------------------------------------

// Lets the console of standard error obey escape sequences. The result is the mode to restore, 0 when none was changed.
[[nodiscard]] std::uint32_t enable_terminal_sequences();
void restore_console(std::uint32_t mode);
void write_error(std::string_view text);

enum class standard_stream { output, error };
[[nodiscard]] bool is_terminal(standard_stream stream);

// ---- Paths -------------------------------------------------------------------------------------------------------

enum class path_kind { absent, regular_file, folder, link, other };

// What a path names; `kind_of` does not follow a link, `kind_of_target` does. Absent is also what may not be looked at.
[[nodiscard]] path_kind kind_of(const std::string& path);
[[nodiscard]] path_kind kind_of_target(const std::string& path);

// Equal for two paths exactly when they lead to the same file or device, whatever their names. None when nothing is
// there.
[[nodiscard]] std::optional<std::string> identity_of(const std::string& path);

// Whether a path leads to a disk, a partition or a volume as such, not to a file on one.
[[nodiscard]] bool is_raw_device(const std::string& path);

// The file that a device stands for (a loop device over an image, or a partition of one); empty for any other.
[[nodiscard]] std::string backing_file(const std::string& path);

// The identity of that file, by what the device itself says: also where the file system that names it is not mounted,
// or where the file has no name any more. None for any other device, and for one that may not be opened.
[[nodiscard]] std::optional<std::string> identity_behind(const std::string& path);

// A results path is kept with "\" between its folders; this is the form that the system opens.
[[nodiscard]] std::string native_results_path(const std::string& path);

// The path that is really opened for a Windows device name (\\.\c:, \\?\GLOBALROOT\Device\...): itself on Windows,
// elsewhere the node of the same last part under the device folder. Any other path is returned as it is.
[[nodiscard]] std::string device_node(const std::string& path);

// A path as the calls of the system take it, for a library that calls them: UTF-16 on Windows, with no limit on its
// length, elsewhere the same bytes.
[[nodiscard]] std::filesystem::path::string_type native_path(const std::string& path);

// Takes the read-only mark off a file; nothing happens when that fails.
void make_writable(const std::string& path);
bool remove_file(const std::string& path);

// ---- Files -------------------------------------------------------------------------------------------------------

enum class write_result { ok, failed, closed_pipe };

// One C runtime descriptor. Movable, closed on destruction (standard output is left open).
class file {
public:
    file() = default;
    file(file&& other) noexcept { swap(other); }
    file& operator=(file&& other) noexcept {
        if (this != &other) close();
        swap(other);
        return *this;
    }
    ~file() { close(); }

    // Binary, shared for reading and writing by others, with the file-system redirection of 32-bit processes switched
    // off. A folder cannot be opened. Never waits for the other side of a pipe, and where the system lets it the time
    // of the last access stays as it was.
    [[nodiscard]] bool open_for_reading(const std::string& path);

    // Read and write, shared. `binary` false: every line feed is written as carriage return and line feed. A path that
    // is too long for a plain open is tried once more in the system's long form.
    [[nodiscard]] bool open_for_writing(const std::string& path, bool binary, bool create_truncate);

    // Standard output in the mode the C runtime gave it, or without one when it is `binary`; writes go where it stands,
    // not to its end.
    void use_standard_output(bool binary);

    [[nodiscard]] bool is_open() const { return descriptor_ >= 0; }

    // False when bytes that were written before did not arrive after all (a network file system says so only here).
    bool close();

    // The end position in bytes; 0 for what has none (a pipe). The current position stays.
    [[nodiscard]] std::int64_t size() const;

    // Reads up to into.size() bytes at a byte offset. False when the system reports an error or the end was reached
    // before the first byte; `got` is then 0. A short read is a success with fewer bytes.
    [[nodiscard]] bool read_at(std::int64_t offset, std::span<std::uint8_t> into, std::size_t& got) const;

    // The next stretch [begin, end) of bytes at or behind `offset` that is not a hole. False when none follows. A
    // system or file system that does not know its holes answers with all that is left.
    [[nodiscard]] bool next_data(std::int64_t offset, std::int64_t& begin, std::int64_t& end) const;

    // Appends at the end of the file, all of it: after a short write the rest is tried.
    [[nodiscard]] write_result append(std::string_view bytes);

private:
    void swap(file& other) noexcept {
        std::swap(descriptor_, other.descriptor_);
        std::swap(owned_, other.owned_);
        std::swap(translate_line_feeds_, other.translate_line_feeds_);
        translated_.swap(other.translated_);
    }

    int descriptor_ = -1;
    bool owned_ = true;
    bool translate_line_feeds_ = false;  // where the C runtime has no text mode of its own
    std::string translated_;
};

// ---- Raw devices -------------------------------------------------------------------------------------------------

struct device_geometry {
    std::uint32_t bytes_per_sector = 0;  // as reported, 0 included
    std::int64_t total_size = 0;         // bytes; of a volume those of its partition, not of its disk
};

// `end`: the device ends behind the bytes that were got, perhaps none.
enum class device_read { ok, end, failed };

// One disk, volume or shadow copy, opened for reading only and shared. Reads are handed on as they are: whoever reads a
// raw device keeps to whole sectors. Movable, closed on destruction.
class device {
public:
    device() = default;
    device(device&& other) noexcept : handle_(std::exchange(other.handle_, closed)) {}
    device& operator=(device&& other) noexcept {
        if (this != &other) close();
        std::swap(handle_, other.handle_);
        return *this;
    }
    ~device() { close(); }

    // A Windows device name, anywhere; a device node or, as a stand-in for one, a regular file.
    [[nodiscard]] bool open(const std::string& path);
    [[nodiscard]] bool is_open() const { return handle_ != closed; }
    void close();

    // False, and the result untouched, when the device does not answer. A regular file outside Windows has sectors of
    // 512 bytes.
    [[nodiscard]] bool query_geometry(device_geometry& geometry) const;

    // `ok` only when all of `into` was filled; otherwise its first `got` bytes were.
    [[nodiscard]] device_read read_at(std::int64_t offset, std::span<std::uint8_t> into, std::size_t& got) const;

private:
    static constexpr std::intptr_t closed = -1;
    std::intptr_t handle_ = closed;
};

}  // namespace platform
