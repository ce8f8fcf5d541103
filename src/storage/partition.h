// storage/partition.h: what is known of one partition, and reads counted in sectors. Lists of partitions live for one
// call of the offset selection.
#pragma once

#include "base/byte_view.h"
#include "storage/disk_reader.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <string_view>
#include <vector>

struct partition {
    std::uint64_t start = 0;         // first sector
    std::uint64_t sector_count = 0;  // 0: not known
    std::uint32_t sector_size = 512;
    std::uint16_t type = 0;  // the type byte of a table, or the one that a recognised file system stands for
};

using partition_list = std::vector<partition>;  // in order of discovery

// This bit of a type: found by its content, named by no table.
inline constexpr std::uint16_t guessed_partition = 0x8000;

// No table of a real disk comes near; one that does is damaged or made to keep us busy.
inline constexpr std::size_t most_partitions = 0x10000;

// Where a sector begins. False when that is no offset that could be read.
[[nodiscard]] inline bool sector_offset(std::uint64_t sector, std::uint64_t sector_size, std::uint64_t& offset) {
    constexpr auto highest = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    if (sector_size != 0 && sector > highest / sector_size) return false;
    offset = sector * sector_size;
    return true;
}

// Reads from the beginning of a sector on; `read` is the part of `into` that the source could fill.
[[nodiscard]] inline bool read_sectors(disk_reader& reader, std::uint64_t sector, std::uint64_t sector_size,
                                       std::span<std::uint8_t> into, byte_view& read) {
    std::uint64_t offset = 0;
    std::size_t got = 0;
    if (!sector_offset(sector, sector_size, offset) || !reader.read_at(offset, into, got)) return false;
    read = byte_view(into.first(got), offset);
    return true;
}

[[nodiscard]] inline bool holds_text(byte_view bytes, std::size_t at, std::string_view text) {
    for (const char character : text) {
        std::uint8_t byte = 0;
        if (!bytes.get(at++, byte) || byte != static_cast<std::uint8_t>(character)) return false;
    }
    return true;
}
