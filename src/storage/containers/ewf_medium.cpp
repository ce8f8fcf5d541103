#include "storage/containers/container_files.h"
#include "storage/containers/media.h"

#include "platform/platform.h"

#include <libewf.h>

#include <algorithm>
#include <iterator>
#include <limits>
#include <utility>

namespace {

constexpr std::uint32_t largest_chunk = 32768 * 512;  // bytes; the most sectors that a maker of these files offers
// Of a chunk that it does not find the library never gives the memory back, so it is not asked for many: behind that
// much damage all is lost, and told.
constexpr std::uint64_t most_lost = std::uint64_t{128} << 20U;  // bytes

// The library has one function for the names of each kind of system.
[[nodiscard, maybe_unused]] bool open_named(libewf_handle_t* handle, std::span<char* const> names) {
    return libewf_handle_open(handle, names.data(), static_cast<int>(names.size()), LIBEWF_OPEN_READ, nullptr) == 1;
}
#ifdef LIBEWF_HAVE_WIDE_CHARACTER_TYPE
[[nodiscard, maybe_unused]] bool open_named(libewf_handle_t* handle, std::span<wchar_t* const> names) {
    return libewf_handle_open_wide(handle, names.data(), static_cast<int>(names.size()), LIBEWF_OPEN_READ, nullptr) ==
           1;
}
#endif

class ewf_medium final : public medium {
public:
    ~ewf_medium() override {
        if (handle_ == nullptr) return;
        (void)libewf_handle_close(handle_, nullptr);
        (void)libewf_handle_free(&handle_, nullptr);
    }

    // `chunks`: behind so many nothing is asked for.
    [[nodiscard]] bool open(const std::vector<std::string>& segments, std::uint64_t chunks) {
        chunks_ = chunks;
        using native_string = std::filesystem::path::string_type;
        std::vector<native_string> paths;
        std::ranges::transform(segments, std::back_inserter(paths), platform::native_path);
        std::vector<native_string::value_type*> names;
        std::ranges::transform(paths, std::back_inserter(names), [](native_string& path) { return path.data(); });
        // A limit above the number of files is one that the library fails under.
        const int limit = names.size() > most_open_files ? static_cast<int>(most_open_files) : 0;
        return libewf_handle_initialize(&handle_, nullptr) == 1 &&
               libewf_handle_set_maximum_number_of_open_handles(handle_, limit, nullptr) == 1 &&
               open_named(handle_, names) && libewf_handle_get_media_size(handle_, &size_, nullptr) == 1 &&
               libewf_handle_get_chunk_size(handle_, &chunk_size_, nullptr) == 1 &&
               libewf_handle_get_bytes_per_sector(handle_, &sector_size_, nullptr) == 1 && sector_size_ != 0 &&
               chunk_size_ != 0 && chunk_size_ <= largest_chunk && chunk_size_ % sector_size_ == 0 && size_ != 0 &&
               size_ / chunk_size_ < std::numeric_limits<int>::max();
    }

    [[nodiscard]] std::uint64_t size() const override { return size_; }
    [[nodiscard]] std::size_t chunk_size() const override { return chunk_size_; }

    [[nodiscard]] bool read(std::uint64_t offset, std::span<std::uint8_t> into, std::size_t /*level*/) override {
        if (offset / chunk_size_ >= chunks_ || lost_ > most_lost) return false;
        if (read_checked(offset, into)) return true;
        lost_ += chunk_size_;
        return false;
    }

private:
    [[nodiscard]] bool read_checked(std::uint64_t offset, std::span<std::uint8_t> into) {
        const ssize_t got =
            libewf_handle_read_random(handle_, into.data(), into.size(), static_cast<off64_t>(offset), nullptr);
        return got >= 0 && static_cast<std::size_t>(got) == into.size() &&
               !holds_error(offset / sector_size_, (offset + into.size() + sector_size_ - 1) / sector_size_);
    }

    // A chunk that does not fit its checksum is zeros for the library, and a success; only this list tells. It is in
    // order, and joins neighbours: a new error need not be a new entry.
    [[nodiscard]] bool holds_error(std::uint64_t begin, std::uint64_t end) {
        std::uint32_t high = 0;
        if (libewf_handle_get_number_of_checksum_errors(handle_, &high, nullptr) != 1) return true;
        std::uint32_t low = 0;
        for (std::uint32_t probe = high - 1; low < high; probe = low + (high - low) / 2) {
            std::uint64_t first = 0;
            std::uint64_t count = 0;
            if (libewf_handle_get_checksum_error(handle_, probe, &first, &count, nullptr) != 1) return true;
            if (first < end && first + count > begin) return true;
            if (first + count <= begin) {
                low = probe + 1;
            } else {
                high = probe;
            }
        }
        return false;
    }

    libewf_handle_t* handle_ = nullptr;
    std::uint64_t chunks_ = 0;
    std::uint64_t lost_ = 0;
    std::uint64_t size_ = 0;
    std::uint32_t chunk_size_ = 0;
    std::uint32_t sector_size_ = 0;
};

}  // namespace

opened_medium open_ewf(const std::string& path) {
    ewf_segments found = find_ewf_segments(path);
    if (found.paths.empty()) return refused(found.missing);
    auto disk = std::make_unique<ewf_medium>();
    bool opened = disk->open(found.paths, found.chunks);
    // Of a last segment that is cut short the beginning may be of no use.
    if (!opened && !found.missing.empty() && found.paths.size() > 1) {
        found.paths.pop_back();
        disk = std::make_unique<ewf_medium>();
        opened = disk->open(found.paths, found.chunks);
    }
    if (!opened) return refused(found.missing.empty() ? "its segments do not fit together" : found.missing);
    return {std::move(disk), nullptr,
            found.missing.empty() ? std::string{} : found.missing + ", what it would hold and all behind is lost"};
}
