#include "ntfs/boot_sector.h"

#include <algorithm>
#include <bit>
#include <string_view>

namespace {

constexpr std::uint32_t largest_cluster = 2U << 20U;

bool is_ntfs(byte_view sector) {
    constexpr std::string_view identifier = "NTFS    ";
    byte_view found;
    return sector.sub(boot_sector::oem_identifier, identifier.size(), found) &&
           std::ranges::equal(found.bytes(), identifier, {}, {}, [](char c) { return static_cast<std::uint8_t>(c); });
}

// 0 when the exponent is out of all reason.
std::uint64_t power_of_two(unsigned exponent) { return exponent < 32 ? std::uint64_t{1} << exponent : 0; }

std::uint64_t cluster_size_of(byte_view sector, std::uint32_t bytes_per_sector) {
    const unsigned sectors = sector.value<std::uint8_t>(boot_sector::sectors_per_cluster);
    return bytes_per_sector * (sectors <= 0x80 ? sectors : power_of_two(256 - sectors));
}

std::uint64_t record_size_of(byte_view sector, std::uint64_t cluster_size) {
    const unsigned clusters = sector.value<std::uint8_t>(boot_sector::clusters_per_record);
    return clusters < 0x80 ? clusters * cluster_size : power_of_two(256 - clusters);
}

}  // namespace

bool read_boot_sector(byte_view sector, volume_geometry& geometry, std::string& reason) {
    const auto refuse = [&reason](const char* text, std::uint64_t value) {
        reason = text + std::to_string(value);
        return false;
    };
    if (!sector.fits(0, boot_sector::size) || !is_ntfs(sector)) {
        reason = "boot sector is not NTFS";
        return false;
    }
    const std::uint32_t bytes_per_sector = sector.value<std::uint16_t>(boot_sector::bytes_per_sector);
    if (!std::has_single_bit(bytes_per_sector)) return refuse("boot sector: bytes per sector: ", bytes_per_sector);
    const std::uint64_t cluster_size = cluster_size_of(sector, bytes_per_sector);
    if (cluster_size == 0 || cluster_size > largest_cluster) return refuse("boot sector: cluster size: ", cluster_size);
    const std::uint64_t record_size = record_size_of(sector, cluster_size);
    if (record_size < smallest_record || record_size > largest_record) {
        return refuse("boot sector: MFT record size: ", record_size);
    }
    geometry.bytes_per_sector = bytes_per_sector;
    geometry.cluster_size = static_cast<std::uint32_t>(cluster_size);
    geometry.total_sectors = sector.value<std::uint64_t>(boot_sector::total_sectors);
    geometry.total_clusters = geometry.total_sectors / (cluster_size / bytes_per_sector);
    geometry.mft_cluster = sector.value<std::uint64_t>(boot_sector::mft_cluster);
    geometry.record_size = static_cast<std::uint32_t>(record_size);
    return true;
}
