// ntfs/boot_sector.h: the first sector of an NTFS volume and the geometry that everything else is reckoned with.
#pragma once

#include "base/byte_view.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace boot_sector {
inline constexpr std::size_t oem_identifier = 0x03;       // 8 bytes, "NTFS    "
inline constexpr std::size_t bytes_per_sector = 0x0B;     // u16
inline constexpr std::size_t sectors_per_cluster = 0x0D;  // u8; n above 0x80 stands for 2^(256-n)
inline constexpr std::size_t total_sectors = 0x28;        // u64
inline constexpr std::size_t mft_cluster = 0x30;          // u64, LCN of record 0
inline constexpr std::size_t clusters_per_record = 0x40;  // i8; -n stands for 2^n bytes
inline constexpr std::size_t size = 512;
}  // namespace boot_sector

inline constexpr std::uint32_t smallest_record = 48;  // bytes, of the MFT
inline constexpr std::uint32_t largest_record = 64U << 10U;

struct volume_geometry {
    std::uint32_t bytes_per_sector = 0;
    std::uint32_t cluster_size = 0;  // bytes
    std::uint64_t total_sectors = 0;
    std::uint64_t total_clusters = 0;
    std::uint64_t mft_cluster = 0;
    std::uint32_t record_size = 0;  // bytes of an MFT record as the boot sector has it
};

// False, with the reason for the diagnostic log, when the sector is not NTFS or its numbers would make no volume:
// sectors that are no power of two, clusters above 2 MiB, records below 48 bytes or above 64 KiB, or a zero where none
// may be.
[[nodiscard]] bool read_boot_sector(byte_view sector, volume_geometry& geometry, std::string& reason);
