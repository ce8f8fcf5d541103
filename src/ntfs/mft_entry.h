// ntfs/mft_entry.h: one file of the volume: its base record and the extension records that its attribute list names,
// and all their attributes in order. Loaded by ntfs_volume::load_entry. Attributes point into the records, which the
// entry owns.
#pragma once

#include "ntfs/attribute.h"
#include "ntfs/data_runs.h"
#include "ntfs/mft_record.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

struct mft_entry {
    std::uint64_t number = 0;
    std::uint16_t sequence = 0;
    std::uint16_t flags = 0;
    std::uint64_t base_reference = 0;   // not 0: an extension record
    std::vector<attribute> attributes;  // those of the base record, then in the order of the attribute list

    std::vector<std::vector<std::uint8_t>> records;  // the base record first

    std::uint64_t source_clusters = ~std::uint64_t{0};  // of the volume that are there to be claimed by a stream

    [[nodiscard]] bool in_use() const { return (flags & mft_record::flag_in_use) != 0; }
    [[nodiscard]] bool is_directory() const { return (flags & mft_record::flag_directory) != 0; }
};

// All the pieces of one type and name as one stream. On volumes long in use a stream has a piece in each of several
// extension records, every one with its first VCN and its own part of the run list.
struct ntfs_stream {
    std::uint32_t type = 0;
    std::u16string name;
    bool resident = false;
    byte_view content;  // resident
    extent_list extents;
    std::uint64_t real_size = 0;  // bytes, from the piece at VCN 0; when that is gone, where the last extent ends
    std::uint64_t initialised_size = 0;  // likewise
    bool compressed = false;
};

// False when the entry has no attribute of that type and name. Runs that claim more than the source holds are left
// out. `cluster_size` in bytes.
[[nodiscard]] bool collect_stream(const mft_entry& entry, std::uint32_t type, std::u16string_view name,
                                  std::uint32_t cluster_size, ntfs_stream& stream);

// Bytes of all extents, holes left out when asked; stops at the highest number that 64 bits hold.
[[nodiscard]] std::uint64_t extent_bytes(std::span<const extent> extents, std::uint32_t cluster_size, bool skip_sparse);

// Where the last extent ends, in bytes of the stream, places that no extent holds included; under the same limit.
[[nodiscard]] std::uint64_t end_in_bytes(std::span<const extent> extents, std::uint32_t cluster_size);
