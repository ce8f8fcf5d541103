#include "storage/partitions.h"

#include <algorithm>
#include <array>

namespace {

constexpr std::size_t smallest_sector = 512;
constexpr std::size_t oem_length = 8;
constexpr std::string_view ntfs_name = "NTFS    ";
constexpr std::size_t bytes_per_sector = 0x0B;  // u16, of FAT, NTFS and BitLocker

namespace exfat {
constexpr std::size_t volume_length = 0x48;      // u64, sectors
constexpr std::size_t sector_size_shift = 0x6C;  // u8
}  // namespace exfat

namespace ntfs {
constexpr std::size_t total_sectors = 0x28;  // u64
}

namespace fat {
constexpr std::size_t total_sectors = 0x20;  // u32
constexpr std::size_t name_16 = 0x36;
constexpr std::size_t name_32 = 0x52;
}  // namespace fat

namespace ext {
constexpr std::size_t block_count = 0x04;       // u32
constexpr std::size_t block_size_shift = 0x18;  // u32, over 1024
constexpr std::size_t magic = 0x38;             // u16
constexpr std::uint16_t magic_value = 0xEF53;
}  // namespace ext

constexpr std::size_t hfs_header = 1024;

enum type_byte : std::uint16_t { fat16 = 0x04, ntfs_or_exfat = 0x07, fat32 = 0x0C, linux_native = 0x83, hfs = 0xAF };

// A damaged boot sector may have no usable size; the table's then stands.
void take_sector_size(partition& found, std::uint32_t bytes) {
    if (bytes != 0) found.sector_size = bytes;
}

void take_sector_count(partition& found, std::uint64_t sectors) {
    if (found.sector_count == 0) found.sector_count = sectors;
}

bool guess_exfat(partition& found, byte_view sector) {
    const auto shift = sector.value<std::uint8_t>(exfat::sector_size_shift);
    found.type = ntfs_or_exfat;
    take_sector_size(found, shift < 32 ? std::uint32_t{1} << shift : 0);
    take_sector_count(found, sector.value<std::uint64_t>(exfat::volume_length));
    return true;
}

bool guess_ntfs(partition& found, byte_view sector) {
    found.type = ntfs_or_exfat;
    take_sector_size(found, sector.value<std::uint16_t>(bytes_per_sector));
    take_sector_count(found, sector.value<std::uint64_t>(ntfs::total_sectors));
    return true;
}

bool guess_fat32(partition& found, byte_view sector) {
    found.type = fat32;
    take_sector_size(found, sector.value<std::uint16_t>(bytes_per_sector));
    found.sector_count = sector.value<std::uint32_t>(fat::total_sectors);
    return true;
}

bool guess_fat16(partition& found, byte_view sector) {
    found.type = fat16;
    take_sector_size(found, sector.value<std::uint16_t>(bytes_per_sector));
    take_sector_count(found, sector.value<std::uint32_t>(fat::total_sectors));
    return true;
}

// The bytes are a superblock, handed over from where it lies; the volume begins two sectors before it.
bool guess_ext_superblock(partition& found, byte_view superblock) {
    const auto shift = superblock.value<std::uint32_t>(ext::block_size_shift);
    const std::uint64_t block_size = shift < 54 ? std::uint64_t{1024} << shift : 0;
    found.type = linux_native;
    found.sector_size = 512;
    found.start = 2;
    found.sector_count = block_size * superblock.value<std::uint32_t>(ext::block_count);
    return true;
}

// File systems that leave the first kilobyte to a boot loader.
bool guess_behind_blank_sector(partition& found, byte_view first_bytes) {
    if (!first_bytes.fits(0, 2048)) return false;
    if (has_ext_superblock(first_bytes)) {
        found.type = linux_native;
        return true;
    }
    if (holds_text(first_bytes, hfs_header, "H+") || holds_text(first_bytes, hfs_header, "HX")) {
        found.type = hfs;
        return true;
    }
    return false;
}

}  // namespace

bool guess_file_system(partition& found, byte_view first_bytes) {
    byte_view oem;
    if (first_bytes.size() < smallest_sector || !first_bytes.sub(boot_record::oem_identifier, oem_length, oem))
        return false;
    if (holds_text(oem, 0, "EXFAT   ")) return guess_exfat(found, first_bytes);
    if (holds_text(oem, 0, ntfs_name) || holds_text(oem, 0, "-FVE-FS-")) return guess_ntfs(found, first_bytes);
    if (std::ranges::all_of(oem.bytes(), [](std::uint8_t byte) { return byte == 0; })) {
        return guess_behind_blank_sector(found, first_bytes);
    }
    if (holds_text(first_bytes, fat::name_32, "FAT32")) return guess_fat32(found, first_bytes);
    if (holds_text(first_bytes, fat::name_16, "FAT16")) return guess_fat16(found, first_bytes);
    const bool is_ext = first_bytes.value<std::uint16_t>(ext::magic) == ext::magic_value;
    return is_ext && guess_ext_superblock(found, first_bytes);
}

bool is_ntfs_at(disk_reader& reader, std::uint64_t offset) {
    std::array<std::uint8_t, 36> buffer{};
    byte_view sector;
    return read_sectors(reader, offset, 1, buffer, sector) &&
           holds_text(sector, boot_record::oem_identifier, ntfs_name);
}

bool has_ext_superblock(byte_view volume) {
    return volume.value<std::uint16_t>(ext_superblock + ext::magic) == ext::magic_value;
}
