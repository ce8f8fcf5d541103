// ntfs/fixup.h: update sequence arrays: the last two bytes of every 512 bytes of a record or index block are kept in
// its header and put back here. The check value is not compared: a torn write is evidence too. Sequences cover 512
// bytes on volumes with larger sectors as well, because the file system writes them so.
#pragma once

#include "base/byte_view.h"

#include <cstddef>
#include <cstdint>
#include <span>

// Of "FILE", "INDX" and "BAAD" alike.
namespace multi_sector_header {
inline constexpr std::size_t signature = 0;        // u32
inline constexpr std::size_t sequence_offset = 4;  // u16, of the update sequence array
inline constexpr std::size_t sequence_count = 6;   // u16, words, the check value included
}  // namespace multi_sector_header

inline constexpr std::uint32_t signature_file = 0x454C4946;
inline constexpr std::uint32_t signature_indx = 0x58444E49;
inline constexpr std::uint32_t signature_baad = 0x44414142;

inline constexpr std::size_t update_sequence_stride = 512;

enum class record_kind : std::uint8_t { none, file_record, index_block, bad_record };

// Which sizes of file records are taken: up to 4096 bytes, or up to the 64 KiB that a volume may have.
enum class record_sizes : std::uint8_t { usual, all };

// "FILE" with its update sequence array at 48 (or 42, the older header), at most 9 words of it and attributes that
// begin at 72 or before. Of larger records the array has up to 129 words, and attributes begin right behind it.
[[nodiscard]] bool is_well_formed_file_record(byte_view record, record_sizes sizes = record_sizes::usual);

// Puts the words of the update sequence array back, as many as the array and the block hold. Signatures are not looked
// at.
void apply_update_sequence(std::span<std::uint8_t> block);

// Classifies and restores: a well-formed file record or an index block. A bad record is named and left as it is;
// anything else is `none`.
[[nodiscard]] record_kind apply_fixup(std::span<std::uint8_t> block, record_sizes sizes = record_sizes::usual);
