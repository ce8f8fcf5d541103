#include "storage/partitions.h"

#include "base/format_text.h"

#include <limits>
#include <optional>

namespace {

constexpr auto no_offset = std::numeric_limits<std::uint64_t>::max();

std::string offset_text(std::uint64_t offset) { return format_text("0x%llx", static_cast<unsigned long long>(offset)); }

// Where a partition begins; no_offset when that is no place that could be read.
std::uint64_t begin_of(const partition& one) {
    std::uint64_t offset = no_offset;
    (void)sector_offset(one.start, one.sector_size, offset);
    return offset;
}

bool holds_whole(std::uint64_t image_size, const partition& one) {
    std::uint64_t end = 0;
    return sector_offset(one.start + one.sector_count, one.sector_size, end) && image_size >= end;
}

void offer(std::string& messages, const partition_list& list, std::optional<std::uint64_t> candidate,
           std::int64_t& offset) {
    for (const partition& one : list) {
        messages += "volume offset [ " + offset_text(begin_of(one)) + " ] : " + partition_type_name(one.type) + "\n";
    }
    if (!candidate) {
        messages += "prob detecting ntfs partition\n";
        return;
    }
    offset = static_cast<std::int64_t>(*candidate);
    messages += "use option [-offset " + offset_text(*candidate) + "]\n";
}

// Goes through the partitions for the one that begins at `offset`.
bool choose(std::string& messages, const partition_list& list, std::uint64_t image_size, std::int64_t& offset,
            bool ignore_image_size, bool& found) {
    const auto selected = static_cast<std::uint64_t>(offset);
    std::optional<std::uint64_t> candidate;
    for (const partition& one : list) {
        const std::uint64_t begin = begin_of(one);
        const std::string name = partition_type_name(one.type);
        const bool is_ntfs = name.find("ntfs") != std::string::npos;
        if (begin == selected && is_ntfs) {
            found = true;
            if (ignore_image_size || holds_whole(image_size, one)) return true;
            messages += not_wholly_held(selected);
            return false;
        }
        if (begin == selected) {
            messages += "volume offset selected " + offset_text(selected) + " is not a NTFS partition, but [";
            messages += name + "]\n";
            break;
        }
        if (!is_ntfs) continue;
        if (image_size < begin) messages += "volume offset " + offset_text(begin) + " is not within image bounds\n";
        if (begin == no_offset) continue;  // nothing that could be selected
        found = true;
        candidate = begin;
    }
    offer(messages, list, candidate, offset);
    return false;
}

}  // namespace

bool select_volume_offset(std::string& messages, disk_reader& reader, std::int64_t& offset, bool ignore_image_size,
                          bool& found, table_sectors sectors) {
    const std::uint64_t image_size = reader.disk_size();
    const auto selected = static_cast<std::uint64_t>(offset);  // a negative one lies behind every image
    found = false;
    if (image_size < selected) {
        messages += "volume offset " + offset_text(selected) + " is not within image bounds\n";
        return false;
    }
    partition_list list;
    if (!read_partitions(reader, list, false, sectors)) {
        if (is_ntfs_at(reader, 0)) {
            found = true;
            offset = 0;
            return true;
        }
        if (!read_partitions(reader, list, true, sectors)) {
            messages += "couldn't find any partitions on disk\n";
            return false;
        }
        messages += "disk is corrupted, partition info questionable\n";
    }
    if (list.front().from_backup) messages += "GPT is damaged, partitions are read from its backup\n";
    return choose(messages, list, image_size, offset, ignore_image_size, found);
}

std::string not_wholly_held(std::uint64_t offset) {
    return "volume offset " + offset_text(offset) +
           " is a NTFS partition, however image size does not encapsulate entire volume\n";
}
