// ntfs/stream_pull.h: a whole stream, handed on in chunks on a fixed grid of 16 clusters. Used for the change journal.
// How the bytes are read is another matter: neighbouring clusters together, holes not at all, and around damage cluster
// by cluster.
#pragma once

#include "base/byte_view.h"
#include "ntfs/mft_entry.h"
#include "ntfs/volume_clusters.h"

#include <cstdint>
#include <functional>

// A chunk's image_offset is its place in the stream. The bytes hold during the call only.
using chunk_sink = std::function<void(byte_view chunk)>;

// Where a chunk may begin: on a 4096-byte page of the stream whose first cluster is on the volume and could be read, or
// at any such cluster.
enum class chunk_starts : std::uint8_t { at_pages, at_data };

// Hands on the stream's bytes up to its size or the end of its last extent. A chunk ends on the grid, or before the
// first place that is lost: a cluster that cannot be read, one behind the end of the source, a piece of the stream that
// is missing.
// `lost_bytes` grows by those and by what the stream's size promises behind its last extent. Holes inside a chunk are
// zeros. A resident stream is one chunk. False when there is nothing to pull.
[[nodiscard]] bool pull_stream(volume_clusters& clusters, const ntfs_stream& stream, const chunk_sink& sink,
                               std::uint64_t& lost_bytes, chunk_starts starts = chunk_starts::at_pages);

// The same for extents alone, as far as `size` bytes, without a word in the log. `index_blocks`: every 4096 bytes of a
// chunk have an update sequence, which is applied.
void pull_extents(volume_clusters& clusters, const extent_list& extents, std::uint64_t size, bool index_blocks,
                  const chunk_sink& sink, std::uint64_t& lost_bytes, chunk_starts starts = chunk_starts::at_pages);
