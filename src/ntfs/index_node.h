// ntfs/index_node.h: one node of a directory index ($I30): the entries in an $INDEX_ROOT or in one INDX block. Sub-node
// pointers are not followed: every block of an allocation is visited by itself.
#pragma once

#include "base/byte_view.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <set>

namespace index_root_value {
inline constexpr std::size_t indexed_type = 0;  // u32, 0x30 for a directory
inline constexpr std::size_t block_size = 8;    // u32
inline constexpr std::size_t node = 16;         // node header
}  // namespace index_root_value

// Index blocks are taken as 4096 bytes, which is what the file system makes.
namespace index_block {
inline constexpr std::size_t size = 4096;
inline constexpr std::size_t node = 24;  // node header
}  // namespace index_block

namespace index_node_header {
inline constexpr std::size_t first_entry = 0;  // u32, from the header
inline constexpr std::size_t total_size = 4;   // u32, of the entries in use, from the header
inline constexpr std::uint32_t largest_total = 4095;
}  // namespace index_node_header

namespace index_entry {
inline constexpr std::size_t reference = 0;    // u64
inline constexpr std::size_t length = 8;       // u16
inline constexpr std::size_t key_length = 10;  // u16
inline constexpr std::size_t flags = 12;       // u16: 1 has a sub-node, 2 last
inline constexpr std::size_t key = 16;         // a $FILE_NAME value

inline constexpr std::uint16_t flag_last = 2;
}  // namespace index_entry

// How the entries of a node are told from what is left of others.
struct index_reading {
    bool slack = false;     // remnants are looked for
    bool complete = false;  // entries have names of up to 255 units, and a block that is not in use has remnants only
};

// Adds the entry numbers that a node names. `node`: from its header to the end of its space. Every step advances by at
// least a byte and at most 4096 bytes are walked.
void collect_index_node(byte_view node, std::set<std::uint64_t>& children);
