// The answers of Windows. UTF-16 stays in this file.

#include "platform/platform.h"
#include "platform/windows_text.h"

#include <windows.h>
// after windows.h, which they need
#include <fcntl.h>
#include <io.h>
#include <share.h>
#include <shellapi.h>
#include <shlobj.h>
#include <sys/stat.h>
#include <winioctl.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <memory>
#include <new>

namespace platform {

namespace {

// For the calls that fill a buffer and answer with the length, or with one that is not below the buffer's when the text
// did not fit. Empty on failure.
template <typename system_call>
std::wstring text_from(system_call call) {
    std::wstring buffer(MAX_PATH, L'\0');
    for (;;) {
        const DWORD length = call(buffer.data(), static_cast<DWORD>(buffer.size()));
        const bool fitted = length < buffer.size();
        buffer.resize(fitted ? length : std::max<std::size_t>(length, buffer.size() * 2));
        if (fitted) return buffer;
    }
}

// ---- Paths ----

std::wstring full_path(const std::wstring& path) {
    return text_from(
        [&](wchar_t* buffer, DWORD size) { return GetFullPathNameW(path.c_str(), size, buffer, nullptr); });
}

bool is_device_path(std::wstring_view path) { return path.starts_with(LR"(\\?\)") || path.starts_with(LR"(\\.\)"); }

// The form without a limit on its length; empty when there is none. A path with a drive is taken as it is.
std::wstring long_form(std::wstring path) {
    if (path.size() > 2 && path[1] != L':') path = full_path(path);
    if (path.empty() || is_device_path(path)) return {};
    std::replace(path.begin(), path.end(), L'/', L'\\');
    if (path.starts_with(LR"(\\)")) return LR"(\\?\UNC)" + path.substr(1);
    return LR"(\\?\)" + path;
}

// Calls with the path, and once more with its long form when it failed as paths beyond the short limit do.
template <typename system_call>
bool in_either_form(const std::string& path, system_call call) {
    const std::wstring plain = wide(path);
    SetLastError(ERROR_SUCCESS);
    if (call(plain.c_str())) return true;
    const DWORD error = GetLastError();
    if (error != ERROR_PATH_NOT_FOUND && error != ERROR_FILENAME_EXCED_RANGE) return false;
    const std::wstring longer = long_form(plain);
    return !longer.empty() && call(longer.c_str());
}

// ---- Handles ----

struct handle_closer {
    void operator()(HANDLE handle) const { (void)CloseHandle(handle); }
};
using owned_handle = std::unique_ptr<void, handle_closer>;

// CreateFileW's INVALID_HANDLE_VALUE is a null here.
owned_handle owned(HANDLE handle) { return owned_handle(handle == INVALID_HANDLE_VALUE ? nullptr : handle); }

HANDLE handle_of(std::intptr_t handle) { return std::bit_cast<HANDLE>(handle); }

HANDLE handle_of_descriptor(int descriptor) { return handle_of(_get_osfhandle(descriptor)); }

// Opens a file, folder or device only to ask about it: no right to read or write is taken. Null on failure.
owned_handle open_to_ask(const std::string& path, DWORD more_flags) {
    owned_handle handle;
    (void)in_either_form(path, [&](const wchar_t* form) {
        constexpr DWORD share = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
        const DWORD flags = FILE_FLAG_BACKUP_SEMANTICS | more_flags;
        handle = owned(CreateFileW(form, 0, share, nullptr, OPEN_EXISTING, flags, nullptr));
        return handle != nullptr;
    });
    return handle;
}

// A question whose answer has a fixed size.
template <typename answer_type>
bool ask_device(HANDLE device, DWORD question, answer_type& answer) {
    DWORD length = 0;
    return DeviceIoControl(device, question, nullptr, 0, &answer, sizeof answer, &length, nullptr) != FALSE;
}

bool is_on_disk(int descriptor) { return GetFileType(handle_of_descriptor(descriptor)) == FILE_TYPE_DISK; }

bool open_descriptor(const std::string& path, int flags, int permission, int& descriptor) {
    return in_either_form(
        path, [&](const wchar_t* form) { return _wsopen_s(&descriptor, form, flags, _SH_DENYNO, permission) == 0; });
}

// ---- What is looked up at run time ----

template <typename function_pointer>
function_pointer system_function(const wchar_t* library, const char* name) {
    const HMODULE module = GetModuleHandleW(library);
    return module == nullptr ? nullptr : std::bit_cast<function_pointer>(GetProcAddress(module, name));
}

// The version-query call of the API proper tells every program about the system that it was made for.
bool read_version(OSVERSIONINFOEXW& version) {
    using rtl_get_version = LONG(WINAPI*)(OSVERSIONINFOEXW*);
    static const auto query = system_function<rtl_get_version>(L"ntdll.dll", "RtlGetVersion");
    version = {};
    version.dwOSVersionInfoSize = sizeof version;
    return query != nullptr && query(&version) == 0;
}

// A 32-bit process on a 64-bit system is shown other files under System32 than those that are there. Off while this
// lives.
class redirection_off {
public:
    redirection_off() {
        static const auto disable = system_function<BOOL(WINAPI*)(void**)>(library, "Wow64DisableWow64FsRedirection");
        off_ = disable != nullptr && revert() != nullptr && disable(&token_) != FALSE;
    }
    ~redirection_off() {
        if (off_) (void)revert()(token_);
    }
    redirection_off(const redirection_off&) = delete;
    redirection_off& operator=(const redirection_off&) = delete;

private:
    using revert_call = BOOL(WINAPI*)(void*);
    static constexpr const wchar_t* library = L"kernel32.dll";

    static revert_call revert() {
        static const auto call = system_function<revert_call>(library, "Wow64RevertWow64FsRedirection");
        return call;
    }

    void* token_ = nullptr;
    bool off_ = false;
};

// ---- Answers in parts ----

// Where the program itself was started from.
std::string origin_marks() {
    const std::wstring program =
        text_from([](wchar_t* buffer, DWORD size) { return GetModuleFileNameW(nullptr, buffer, size); });
    std::wstring root(program.size() + 2, L'\0');
    if (!GetVolumePathNameW(program.c_str(), root.data(), static_cast<DWORD>(root.size()))) return {};
    const UINT type = GetDriveTypeW(root.c_str());
    return type == DRIVE_REMOTE ? "<~>" : type == DRIVE_REMOVABLE ? ":=" : "";
}

// An administrator's token with the rights taken out.
bool token_is_filtered() {
    static_assert(TokenElevationType == 18);
    HANDLE opened = nullptr;
    if (!OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &opened)) return false;
    const owned_handle token(opened);
    TOKEN_ELEVATION_TYPE type{};
    DWORD length = 0;
    return GetTokenInformation(token.get(), TokenElevationType, &type, sizeof type, &length) &&
           type == TokenElevationTypeLimited;
}

bool is_link(HANDLE handle) {
    FILE_ATTRIBUTE_TAG_INFO about{};
    if (!GetFileInformationByHandleEx(handle, FileAttributeTagInfo, &about, sizeof about)) return true;
    constexpr DWORD names_something_else = 0x20000000;  // bit of the tag: symbolic links, junctions
    return (about.ReparseTag & names_something_else) != 0;
}

path_kind kind_at(const std::string& path, bool follow) {
    // NUL, CON and their like have such a full path, and some cannot be opened without a right to read or write.
    if (full_path(wide(path)).starts_with(LR"(\\.\)")) return path_kind::other;
    const owned_handle handle = open_to_ask(path, follow ? 0 : FILE_FLAG_OPEN_REPARSE_POINT);
    if (handle == nullptr) return path_kind::absent;
    BY_HANDLE_FILE_INFORMATION about{};
    if (!GetFileInformationByHandle(handle.get(), &about)) return path_kind::other;
    if ((about.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 && !follow && is_link(handle.get())) {
        return path_kind::link;
    }
    return (about.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0 ? path_kind::folder : path_kind::regular_file;
}

write_result write_all(int descriptor, std::string_view bytes) {
    while (!bytes.empty()) {
        const auto piece = static_cast<unsigned>(std::min<std::size_t>(bytes.size(), INT_MAX));
        SetLastError(ERROR_SUCCESS);
        const int written = _write(descriptor, bytes.data(), piece);
        if (written <= 0) {
            // The C runtime knows only some of the errors of a closed pipe as such.
            const DWORD error = GetLastError();
            const bool closed = (written < 0 && errno == EPIPE) || error == ERROR_BROKEN_PIPE ||
                                error == ERROR_NO_DATA || error == ERROR_PIPE_NOT_CONNECTED;
            return closed ? write_result::closed_pipe : write_result::failed;
        }
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return write_result::ok;
}

}  // namespace

// ---- The process -------------------------------------------------------------------------------------------------

std::vector<std::string> start_process(int argc, char** argv) {
    // A drive without a disk is a failed open, not a window that waits for somebody. The C runtime keeps the
    // descriptors of the standard streams to itself, closed or not.
    (void)SetErrorMode(SEM_FAILCRITICALERRORS);
    int count = 0;
    const std::unique_ptr<LPWSTR, decltype(&LocalFree)> list(CommandLineToArgvW(GetCommandLineW(), &count), LocalFree);
    if (list == nullptr) return {argv, argv + argc};
    std::vector<std::string> arguments;
    for (int at = 0; at < count; ++at) arguments.push_back(narrow(list.get()[at]));
    return arguments;
}

std::optional<std::string> environment(const std::string& name) {
    const std::wstring wide_name = wide(name);
    SetLastError(ERROR_SUCCESS);
    const std::wstring value = text_from(
        [&](wchar_t* buffer, DWORD size) { return GetEnvironmentVariableW(wide_name.c_str(), buffer, size); });
    if (value.empty() && GetLastError() != ERROR_SUCCESS) return std::nullopt;
    return narrow(value);
}

std::string computer_name() {
    std::array<wchar_t, MAX_COMPUTERNAME_LENGTH + 1> name{};
    DWORD length = name.size();
    return GetComputerNameW(name.data(), &length) ? narrow({name.data(), length}) : std::string();
}

std::string user_name() {
    std::array<wchar_t, 257> name{};
    DWORD length = name.size();
    return GetUserNameW(name.data(), &length) ? narrow(name.data()) : std::string();
}

std::string system_description() {
    std::string text = "Windows";
    OSVERSIONINFOEXW version{};
    if (read_version(version)) {
        text += ' ' + std::to_string(version.dwMajorVersion) + '.' + std::to_string(version.dwMinorVersion) + '.' +
                std::to_string(version.dwBuildNumber);
        text += version.wProductType == VER_NT_WORKSTATION         ? " workstation"
                : version.wProductType == VER_NT_DOMAIN_CONTROLLER ? " domain-controller"
                                                                   : " server";
        const wchar_t* service_pack = version.szCSDVersion;
        if (*service_pack != L'\0') text += ".sp." + narrow(service_pack);
    }
    if (GetSystemMetrics(SM_REMOTESESSION) != 0) text += "[remote]";
    return text + origin_marks();
}

bool elevated() {
    OSVERSIONINFOEXW version{};
    if (read_version(version) && version.dwMajorVersion >= 6 && token_is_filtered()) return false;
    return IsUserAnAdmin() != FALSE;
}

// Large pages need a privilege that hardly anybody has, so these are plain ones.
memory_block::memory_block(std::size_t bytes)
    : data_(VirtualAlloc(nullptr, bytes, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE)) {
    if (data_ == nullptr) throw std::bad_alloc();
}

memory_block::~memory_block() {
    if (data_ != nullptr) VirtualFree(data_, 0, MEM_RELEASE);
}

void set_end_event(const std::string& name) {
    // The call takes the code page of the system, so that the event has the name that was typed.
    const std::wstring typed = wide(name);
    std::string system_name(typed.size() * 4 + 1, '\0');
    if (WideCharToMultiByte(CP_ACP, 0, typed.c_str(), -1, system_name.data(), static_cast<int>(system_name.size()),
                            nullptr, nullptr) == 0) {
        return;
    }
    const owned_handle event(CreateEventA(nullptr, TRUE, FALSE, system_name.c_str()));
    if (event != nullptr) (void)SetEvent(event.get());
}

// ---- Standard error ----------------------------------------------------------------------------------------------

std::uint32_t enable_terminal_sequences() {
    constexpr DWORD sequences = 0x7;  // processed output, wrap at end of line, virtual-terminal processing
    const HANDLE console = GetStdHandle(STD_ERROR_HANDLE);
    DWORD mode = 0;
    return GetConsoleMode(console, &mode) && SetConsoleMode(console, mode | sequences) ? mode : 0;
}

void restore_console(std::uint32_t mode) {
    if (mode != 0) (void)SetConsoleMode(GetStdHandle(STD_ERROR_HANDLE), mode);
}

void write_error(std::string_view text) {
    const HANDLE console = GetStdHandle(STD_ERROR_HANDLE);
    DWORD mode = 0;
    if (!GetConsoleMode(console, &mode)) {
        (void)write_all(2, text);
        return;
    }
    // A console would take bytes for its own code page.
    const std::wstring shown = wide(text);
    DWORD written = 0;
    for (std::size_t at = 0; at < shown.size(); at += written) {
        const auto rest = static_cast<DWORD>(shown.size() - at);
        if (!WriteConsoleW(console, shown.data() + at, rest, &written, nullptr) || written == 0) return;
    }
}

bool is_terminal(standard_stream stream) {
    DWORD mode = 0;
    return GetConsoleMode(GetStdHandle(stream == standard_stream::output ? STD_OUTPUT_HANDLE : STD_ERROR_HANDLE),
                          &mode) != FALSE;
}

// ---- Paths -------------------------------------------------------------------------------------------------------

path_kind kind_of(const std::string& path) { return kind_at(path, false); }

path_kind kind_of_target(const std::string& path) { return kind_at(path, true); }

namespace {

// Of "file:stream" the file, for a stream that is still to be made in it; otherwise empty.
std::string file_of_stream(const std::string& path) {
    const std::size_t colon = path.find(':', path.find_last_of("\\/") + 1);
    return colon == std::string::npos || colon < 2 ? std::string{} : path.substr(0, colon);
}

}  // namespace

std::optional<std::string> identity_of(const std::string& path) {
    const owned_handle handle = open_to_ask(path, 0);
    if (handle == nullptr) {
        const DWORD error = GetLastError();
        if (error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND || error == ERROR_INVALID_NAME ||
            error == ERROR_BAD_NETPATH || error == ERROR_BAD_NET_NAME) {
            const std::string file = file_of_stream(path);
            return file.empty() ? std::nullopt : identity_of(file);
        }
    }
    BY_HANDLE_FILE_INFORMATION about{};
    STORAGE_DEVICE_NUMBER number{};
    // Some network file systems number all their files 0.
    if (handle != nullptr && GetFileInformationByHandle(handle.get(), &about) &&
        (about.nFileIndexHigh | about.nFileIndexLow) != 0) {
        return "file " + std::to_string(about.dwVolumeSerialNumber) + ' ' + std::to_string(about.nFileIndexHigh) + ' ' +
               std::to_string(about.nFileIndexLow);
    }
    if (handle != nullptr && ask_device(handle.get(), IOCTL_STORAGE_GET_DEVICE_NUMBER, number)) {
        return "device " + std::to_string(number.DeviceType) + ' ' + std::to_string(number.DeviceNumber) + ' ' +
               std::to_string(number.PartitionNumber);
    }
    std::wstring name = full_path(wide(path));
    if (name.starts_with(LR"(\\?\)")) name[2] = L'.';
    (void)LCMapStringW(LOCALE_INVARIANT, LCMAP_UPPERCASE, name.c_str(), static_cast<int>(name.size()), name.data(),
                       static_cast<int>(name.size()));
    return "name " + narrow(name);
}

bool is_raw_device(const std::string& path) {
    const owned_handle handle = kind_of_target(path) == path_kind::other ? open_to_ask(path, 0) : owned_handle();
    return handle != nullptr && GetFileType(handle.get()) == FILE_TYPE_DISK;
}

std::string backing_file(const std::string& /*path*/) { return {}; }

std::optional<std::string> identity_behind(const std::string& /*path*/) { return std::nullopt; }

std::string native_results_path(const std::string& path) { return path; }

std::string device_node(const std::string& path) { return path; }

std::filesystem::path::string_type native_path(const std::string& path) {
    std::wstring plain = wide(path);
    std::wstring longer = full_path(plain).size() < MAX_PATH ? std::wstring() : long_form(plain);
    return longer.empty() ? plain : longer;
}

void make_writable(const std::string& path) {
    (void)in_either_form(path,
                         [](const wchar_t* form) { return SetFileAttributesW(form, FILE_ATTRIBUTE_NORMAL) != FALSE; });
}

bool remove_file(const std::string& path) {
    return in_either_form(path, [](const wchar_t* form) { return DeleteFileW(form) != FALSE; });
}

// ---- Files -------------------------------------------------------------------------------------------------------

bool file::open_for_reading(const std::string& path) {
    close();
    const redirection_off as_it_is;
    return open_descriptor(path, _O_BINARY, _S_IREAD, descriptor_);
}

bool file::open_for_writing(const std::string& path, bool binary, bool create_truncate) {
    close();
    int flags = _O_RDWR;
    if (create_truncate) flags |= _O_CREAT | _O_TRUNC;
    if (binary) flags |= _O_BINARY;
    return open_descriptor(path, flags, _S_IREAD | _S_IWRITE, descriptor_);
}

void file::use_standard_output(bool binary) {
    close();
    descriptor_ = 1;
    if (binary) (void)_setmode(descriptor_, _O_BINARY);
    owned_ = false;
}

bool file::close() {
    const bool closed = !is_open() || !owned_ || _close(descriptor_) == 0;
    descriptor_ = -1;
    owned_ = true;
    return closed;
}

std::int64_t file::size() const {
    if (!is_open() || !is_on_disk(descriptor_)) return 0;
    const std::int64_t position = _lseeki64(descriptor_, 0, SEEK_CUR);
    const std::int64_t end = _lseeki64(descriptor_, 0, SEEK_END);
    return position >= 0 && _lseeki64(descriptor_, position, SEEK_SET) == position && end > 0 ? end : 0;
}

bool file::read_at(std::int64_t offset, std::span<std::uint8_t> into, std::size_t& got) const {
    got = 0;
    if (!is_open() || _lseeki64(descriptor_, offset, SEEK_SET) != offset) return false;
    const auto piece = static_cast<unsigned>(std::min<std::size_t>(into.size(), INT_MAX));
    const int count = _read(descriptor_, into.data(), piece);
    if (count > 0) got = static_cast<std::size_t>(count);
    return got > 0;
}

bool file::next_data(std::int64_t offset, std::int64_t& begin, std::int64_t& end) const {
    const std::int64_t last = size();
    if (offset < 0 || offset >= last) return false;
    FILE_ALLOCATED_RANGE_BUFFER wanted{};
    wanted.FileOffset.QuadPart = offset;
    wanted.Length.QuadPart = last - offset;
    FILE_ALLOCATED_RANGE_BUFFER found{};
    DWORD length = 0;
    const bool known = DeviceIoControl(handle_of_descriptor(descriptor_), FSCTL_QUERY_ALLOCATED_RANGES, &wanted,
                                       sizeof wanted, &found, sizeof found, &length, nullptr) != FALSE ||
                       GetLastError() == ERROR_MORE_DATA;  // there are more stretches than this first one
    if (known && length < sizeof found) return false;
    const std::int64_t from = known ? std::max<std::int64_t>(found.FileOffset.QuadPart, offset) : offset;
    const std::int64_t to =
        known ? std::min<std::int64_t>(found.FileOffset.QuadPart + found.Length.QuadPart, last) : last;
    if (from >= to) return false;
    begin = from;
    end = to;
    return true;
}

write_result file::append(std::string_view bytes) {
    if (!is_open()) return write_result::failed;
    if (owned_ && _lseeki64(descriptor_, 0, SEEK_END) == -1 && is_on_disk(descriptor_)) return write_result::failed;
    return write_all(descriptor_, bytes);
}

// ---- Raw devices -------------------------------------------------------------------------------------------------

bool device::open(const std::string& path) {
    close();
    handle_ =
        std::bit_cast<std::intptr_t>(CreateFileW(wide(path).c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                                 nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    return is_open();
}

void device::close() {
    if (is_open()) (void)CloseHandle(handle_of(handle_));
    handle_ = closed;
}

bool device::query_geometry(device_geometry& geometry) const {
    // What follows the size is of no use here, but some drivers refuse a buffer without room for it.
    struct {
        DISK_GEOMETRY_EX head;
        std::array<std::uint8_t, 80> tail;
    } extended{};
    static_assert(sizeof extended == 120);
    DISK_GEOMETRY plain{};
    const bool whole = ask_device(handle_of(handle_), IOCTL_DISK_GET_DRIVE_GEOMETRY_EX, extended);
    if (whole) {
        plain = extended.head.Geometry;
    } else if (!ask_device(handle_of(handle_), IOCTL_DISK_GET_DRIVE_GEOMETRY, plain)) {
        return false;
    }
    geometry.bytes_per_sector = plain.BytesPerSector;
    geometry.total_size =
        whole ? extended.head.DiskSize.QuadPart
              : plain.Cylinders.QuadPart * plain.TracksPerCylinder * plain.SectorsPerTrack * plain.BytesPerSector;
    PARTITION_INFORMATION partition{};
    PARTITION_INFORMATION_EX any_partition{};
    static_assert(sizeof partition == 32 && sizeof any_partition == 144);
    if (ask_device(handle_of(handle_), IOCTL_DISK_GET_PARTITION_INFO, partition)) {
        geometry.total_size = partition.PartitionLength.QuadPart;
    } else if (ask_device(handle_of(handle_), IOCTL_DISK_GET_PARTITION_INFO_EX, any_partition)) {
        geometry.total_size = any_partition.PartitionLength.QuadPart;
    }
    return true;
}

device_read device::read_at(std::int64_t offset, std::span<std::uint8_t> into, std::size_t& got) const {
    constexpr std::size_t largest_piece = std::size_t{1} << 30;  // whole sectors, and a number of 32 bits
    got = 0;
    while (got < into.size()) {
        const auto piece = static_cast<DWORD>(std::min<std::size_t>(into.size() - got, largest_piece));
        const auto at = static_cast<std::uint64_t>(offset) + got;
        OVERLAPPED place{};
        place.Offset = static_cast<DWORD>(at & 0xFFFFFFFF);
        place.OffsetHigh = static_cast<DWORD>(at >> 32);
        DWORD count = 0;
        const bool read = ReadFile(handle_of(handle_), into.data() + got, piece, &count, &place) != FALSE;
        if (!read && GetLastError() != ERROR_HANDLE_EOF) return device_read::failed;
        got += count;
        if (count < piece) return device_read::end;
    }
    return device_read::ok;
}

}  // namespace platform
