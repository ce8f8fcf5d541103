// ntfs/mft_record.h: the header of an MFT record (FILE_RECORD_SEGMENT_HEADER), offsets from the record's start.
#pragma once

#include <cstddef>
#include <cstdint>

namespace mft_record {
inline constexpr std::size_t sequence_number = 0x10;  // u16
inline constexpr std::size_t first_attribute = 0x14;  // u16
inline constexpr std::size_t flags = 0x16;            // u16
inline constexpr std::size_t bytes_allocated = 0x1C;  // u32
inline constexpr std::size_t base_reference = 0x20;   // u64, 0 in a base record
inline constexpr std::size_t own_number = 0x2C;       // u32, not in the older header

inline constexpr std::uint16_t flag_in_use = 0x0001;
inline constexpr std::uint16_t flag_directory = 0x0002;
}  // namespace mft_record

// Fixed entries.
inline constexpr std::uint64_t mft_entry_number = 0;
inline constexpr std::uint64_t root_entry_number = 5;
inline constexpr std::uint64_t bitmap_entry_number = 6;
