// ntfs/directory_index.h: the $I30 index of one directory, whose root and allocation may lie in extension records and
// in many pieces. Used by the path look-up and by the path resolution.
#pragma once

#include "ntfs/mft_reader.h"

#include <cstdint>
#include <functional>
#include <set>

// A node from its header to the end of its space. A block is in use unless its bit says otherwise.
using node_visitor = std::function<void(byte_view node, bool in_use)>;

enum class block_bits : std::uint8_t { not_asked, asked };

// Visits the node of the entry's $INDEX_ROOT, then every INDX block of its $INDEX_ALLOCATION in stream order, update
// sequence applied. Blocks that cannot be read whole are left out. `budget`: bytes of blocks that may be read; an
// allocation that claims more is left alone. `bits`: those of the index's $BITMAP.
void visit_index_nodes(volume_clusters& clusters, const mft_entry& directory, work_budget& budget, block_bits bits,
                       const node_visitor& visit);

// Adds the entry number of every entry in the directory's index. An extension record stands for its base record. False
// when the directory's record cannot be read.
[[nodiscard]] bool get_children_nodes(mft_reader& mft, std::uint64_t directory, work_budget& budget,
                                      std::set<std::uint64_t>& children);
