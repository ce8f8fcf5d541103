// storage/containers/disk_fields.h: what the headers of virtual disks say that their libraries do not tell.
#pragma once

#include "base/byte_view.h"
#include "storage/containers/allocation.h"
#include "storage/disk_reader.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// What any disk needs: more second tables, or entries that name them, are made to keep us busy.
inline constexpr std::uint64_t most_tables = std::uint64_t{1} << 22U;

// Reads all of `length` bytes at a byte offset; false for an offset or length that leads out of the file.
[[nodiscard]] inline bool read_whole(disk_reader& file, std::uint64_t offset, std::size_t length,
                                     std::vector<std::uint8_t>& bytes) {
    const std::uint64_t size = file.disk_size();
    if (length == 0 || length > size || offset > size - length) return false;
    bytes.resize(length);
    std::size_t got = 0;
    return file.read_at(offset, bytes, got) && got == length;
}

// A QCOW2 header (big-endian), of the versions 2 and 3.
namespace qcow_header {
inline constexpr std::size_t size = 112;
inline constexpr std::size_t version = 4;                            // u32
inline constexpr std::size_t backing_offset = 8;                     // u64, 0: none
inline constexpr std::size_t backing_length = 16;                    // u32
inline constexpr std::size_t cluster_bits = 20;                      // u32
inline constexpr std::size_t encryption = 32;                        // u32, 0: none
inline constexpr std::size_t table_entries = 36;                     // u32, of the first level
inline constexpr std::size_t table_offset = 40;                      // u64
inline constexpr std::size_t count_table = 48;                       // u64, of how often each cluster is led to
inline constexpr std::size_t count_table_clusters = 56;              // u32
inline constexpr std::size_t snapshots = 60;                         // u32
inline constexpr std::size_t incompatible = 72;                      // u64, version 3
inline constexpr std::size_t autoclear = 88;                         // u64, version 3
inline constexpr std::size_t count_order = 96;                       // u32, version 3: a count has 1 << order bits
inline constexpr std::size_t header_length = 100;                    // u32, version 3
inline constexpr std::size_t compression = 104;                      // u8, version 3
inline constexpr std::uint64_t offset_mask = 0x00FF'FFFF'FFFF'FE00;  // of an entry of the first level
inline constexpr std::uint64_t is_dirty = 1;                         // bits of `incompatible`: the counts may be behind
inline constexpr std::uint64_t is_corrupt = 2;
inline constexpr std::uint64_t external_data = 4;
inline constexpr std::uint64_t other_compression = 8;
inline constexpr std::uint64_t extended_entries = 16;
}  // namespace qcow_header

// Finds the clusters that more lead to than their file counts, and whether it counts what nothing leads to. `header`:
// all of it.
void check_qcow_references(disk_reader& file, byte_view header, allocation_tables& tables);

// What the headers and descriptors of VMDK count in.
inline constexpr std::uint64_t vmdk_sector = 512;

// The header of a sparse VMDK extent (little-endian).
namespace vmdk_header {
inline constexpr std::size_t size = 512;
inline constexpr std::string_view signature = "KDMV";
inline constexpr std::size_t flags = 8;                     // u32
inline constexpr std::size_t capacity = 12;                 // u64, sectors
inline constexpr std::size_t grain_size = 20;               // u64, sectors
inline constexpr std::size_t descriptor = 28;               // u64, first sector; 0: none
inline constexpr std::size_t descriptor_size = 36;          // u64, sectors
inline constexpr std::size_t entries_per_table = 44;        // u32
inline constexpr std::size_t copied_directory = 48;         // u64, first sector
inline constexpr std::size_t directory = 56;                // u64, first sector
inline constexpr std::size_t first_grain = 64;              // u64, sector
inline constexpr std::size_t line_ends = 73;                // 4 bytes that a text transfer would change
inline constexpr std::size_t compression = 77;              // u16, 0: none
inline constexpr std::uint32_t kept_twice = 2;              // bit of the flags: the directory and its tables
inline constexpr std::uint32_t zeroed_grains = 4;           // bit of the flags: 1 in a table stands for zeros
inline constexpr std::uint64_t at_end = ~std::uint64_t{0};  // the directory is named by a copy of the header
inline constexpr std::uint64_t footer = 1024;               // of that copy, counted from the end of the file
}  // namespace vmdk_header

// What the header of a sparse extent says of its grains.
struct vmdk_layout {
    std::uint64_t capacity = 0;           // sectors
    std::uint64_t grain = 0;              // sectors
    std::uint32_t entries_per_table = 0;  // grains
    std::uint64_t directory = 0;          // first sector
    std::uint64_t copied_directory = 0;   // first sector; 0: none
    std::uint64_t first_grain = 0;        // sector
    bool packed = false;
    bool zeroed_grains = false;
};

// Goes by the copy of the header where the first one says so. False when one of them is not there or asks for more than
// its file can name.
[[nodiscard]] bool read_vmdk_layout(disk_reader& file, vmdk_layout& layout);

// Where a VHDX file keeps its block allocation table, and what that counts in.
struct vhdx_layout {
    std::uint64_t table = 0;       // byte offset of the block allocation table
    std::uint64_t table_size = 0;  // bytes
    std::uint64_t metadata = 0;    // byte offset of that region
    std::uint64_t metadata_size = 0;
    std::uint32_t block_size = 0;
    std::uint32_t sector_size = 0;
    bool has_parent = false;
    std::string parent;  // its path as seen from this file; empty when only others are told
};

[[nodiscard]] bool read_vhdx_layout(disk_reader& file, vhdx_layout& layout);

enum class vhdx_headers : std::uint8_t { sound, damaged, log_pending };

// Of the two headers of a VHDX file. The newest may name a log: changes that were not written to their places yet.
[[nodiscard]] vhdx_headers read_vhdx_headers(disk_reader& file);
