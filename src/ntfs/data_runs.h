// ntfs/data_runs.h: the run list of a non-resident attribute, decoded, and the extent list that a stream is read
// through.
#pragma once

#include "base/byte_view.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

// One run as it stands in the list. Numbers are in clusters.
struct data_run {
    std::uint64_t lcn = 0;  // after adding up the deltas
    std::uint64_t vcn = 0;  // of the run's first cluster in the stream
    std::uint64_t length = 0;
    bool has_offset_field = false;
    bool moves = false;  // the offset field is not zero
};

// A stretch of a stream that lies together on the volume, or a hole in it.
struct extent {
    std::uint64_t lcn = 0;  // 0 for a hole
    std::uint64_t vcn = 0;
    std::uint64_t length = 0;  // clusters, never 0
    bool sparse = false;

    [[nodiscard]] std::uint64_t end_vcn() const { return vcn + length; }
};

// In order of VCN, none reaching into the next; there may be gaps where a piece of the stream is missing.
using extent_list = std::vector<extent>;

// Decodes the runs of one piece from its first byte on, `first_vcn` being the piece's own. The list ends at a header of
// 0, at one that does not fit and at one with fields wider than 8 bytes, or where a VCN would pass 64 bits.
[[nodiscard]] std::vector<data_run> decode_runs(byte_view run_list, std::uint64_t first_vcn);

// Appends the extents of one piece, holes that follow one another as one. A run without a delta is a hole, except the
// first of a stream (VCN 0) when it has an offset field: that one lies at LCN 0, where the boot sector's own stream
// lies.
void make_extents(std::span<const data_run> runs, extent_list& extents);

// Brings the extents of several pieces into VCN order; of two that claim the same clusters the one that begins first
// keeps them, of two that begin together the one added first.
void put_in_vcn_order(extent_list& extents);

// Leaves out extents that lie on the volume and claim more clusters than the budget of a stream has left, which bounds
// what reading any stream costs. Holes cost nothing.
void limit_claims(extent_list& extents, std::uint64_t source_clusters);

// The index of the extent that holds `vcn`. False when none does.
[[nodiscard]] bool find_extent(std::span<const extent> extents, std::uint64_t vcn, std::size_t& index);

// The index of the first extent that ends behind `vcn`, extents.size() when there is none.
[[nodiscard]] std::size_t extent_at_or_behind(std::span<const extent> extents, std::uint64_t vcn);

// The VCN behind the last extent.
[[nodiscard]] std::uint64_t end_of(std::span<const extent> extents);
