// storage/containers/qcow_entry.h: an entry of the second tables of QCOW2.
#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>

struct qcow_entry {
    bool possible = true;
    bool zeros = false;        // whatever is kept
    std::uint64_t offset = 0;  // in the file, of bytes; 0: nothing is kept
    std::uint64_t packed = 0;  // bytes that it takes at most; 0: a whole cluster, not compressed

    // `cluster` in bytes, a power of two.
    qcow_entry(std::uint64_t entry, std::uint64_t cluster) {
        constexpr std::uint64_t sector = 512;
        constexpr std::uint64_t alone = std::uint64_t{1} << 63U;  // nothing else leads there
        constexpr std::uint64_t compressed = std::uint64_t{1} << 62U;
        if ((entry & compressed) != 0) {
            // Compressed bytes begin anywhere; above their offset stands how many more sectors they reach into.
            const auto offset_bits = std::min(70U - static_cast<std::uint32_t>(std::bit_width(cluster - 1)), 61U);
            offset = entry & ((std::uint64_t{1} << offset_bits) - 1);
            packed = (((entry & ~compressed) >> offset_bits) + 1) * sector - offset % sector;
            possible = (entry & alone) == 0 && offset >= sector;
            return;
        }
        constexpr std::uint64_t reserved = 0x3F00'0000'0000'01FE;
        offset = entry & ~(alone | reserved | 1);
        zeros = (entry & 1) != 0;
        possible = (entry & reserved) == 0 && offset % cluster == 0 && (offset != 0 || zeros || entry == 0);
    }
};
