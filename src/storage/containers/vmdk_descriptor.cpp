#include "storage/containers/container_files.h"
#include "storage/containers/disk_fields.h"
#include "storage/partitions.h"

#include "base/text.h"

#include <algorithm>
#include <sstream>

namespace {

constexpr std::uint64_t longest_text = std::uint64_t{1} << 20U;
constexpr std::size_t most_extents = 4096;
constexpr std::uint64_t most_sectors = ~std::uint64_t{0} / 2 / vmdk_sector;  // of all extents

// The text between the first and the last quotation mark.
std::string quoted(const std::string& line) {
    const std::size_t begin = line.find('"');
    const std::size_t end = line.rfind('"');
    return begin < end && end != std::string::npos ? line.substr(begin + 1, end - begin - 1) : std::string{};
}

bool is_extent(const std::string& line) {
    return line.starts_with("RW ") || line.starts_with("RDONLY ") || line.starts_with("NOACCESS ");
}

// The descriptor as a text: the file itself, or a part of a sparse extent.
bool read_text(disk_reader& file, bool& embedded, std::string& text) {
    std::vector<std::uint8_t> bytes;
    std::uint64_t at = 0;
    std::uint64_t length = std::min(file.disk_size(), longest_text);
    if (read_whole(file, 0, vmdk_header::size, bytes) && holds_text(byte_view(bytes), 0, vmdk_header::signature)) {
        embedded = true;
        at = byte_view(bytes).value<std::uint64_t>(vmdk_header::descriptor);
        length = byte_view(bytes).value<std::uint64_t>(vmdk_header::descriptor_size);
        if (at == 0 || at > file.disk_size() / vmdk_sector || length > longest_text / vmdk_sector) return false;
        at *= vmdk_sector;
        length *= vmdk_sector;
    }
    if (!read_whole(file, at, static_cast<std::size_t>(length), bytes)) return false;
    text.assign(bytes.begin(), std::ranges::find(bytes, std::uint8_t{0}));
    return true;
}

}  // namespace

bool read_vmdk_descriptor(const std::string& path, vmdk_descriptor& descriptor) {
    disk_reader file;
    std::string text;
    if (!file.open(path, reader_mode::image_file) || !read_text(file, descriptor.embedded, text)) return false;
    std::uint64_t sectors = 0;
    bool has_parent = false;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with("parentFileNameHint")) descriptor.parent = quoted(line);
        if (line.starts_with("parentCID=")) has_parent = !equal_ignoring_case(line.substr(10, 8), "ffffffff");
        if (!is_extent(line)) continue;
        vmdk_extent extent;
        std::istringstream words(line);
        std::string access;
        if (!(words >> access >> extent.sectors >> extent.type) || extent.sectors > most_sectors - sectors)
            return false;
        sectors += extent.sectors;
        extent.name = quoted(line);
        descriptor.extents.push_back(std::move(extent));
        if (descriptor.extents.size() > most_extents) return false;
    }
    // Without its parent the disk would have zeros where that has its data.
    return !descriptor.extents.empty() && !(has_parent && descriptor.parent.empty()) &&
           (!descriptor.embedded || descriptor.extents.size() == 1);
}
