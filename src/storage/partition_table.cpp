#include "storage/partitions.h"

#include <array>
#include <vector>

namespace {

constexpr std::uint32_t smallest_sector_size = 512;
constexpr std::uint32_t largest_sector_size = 16384;
constexpr std::uint64_t scan_end = 0x100000;

// The sector size that the place of the signature tells; 0 when there is no boot record.
std::uint32_t boot_record_sector_size(byte_view disk) {
    if (has_boot_signature(disk)) return smallest_sector_size;
    for (std::uint32_t size = 2 * smallest_sector_size; size <= largest_sector_size; size *= 2) {
        if (disk.value<std::uint16_t>(size - 2) == boot_record::signature_value) return size;
    }
    return 0;
}

void add_bare_volume(std::uint64_t start, byte_view first_bytes, partition_list& list) {
    partition volume{.start = start};
    guess_file_system(volume, first_bytes);
    list.push_back(volume);
}

void add_bare_ext(byte_view disk, partition_list& list) {
    byte_view superblock = disk.from(ext_superblock);
    (void)superblock.sub(0, ext_superblock_size, superblock);  // a shorter image has less of it
    add_bare_volume(ext_superblock, superblock, list);
}

constexpr std::uint32_t large_sector_size = 4096;

// Whether what an entry names stands there: an NTFS volume, or the record that an extended partition begins with.
bool stands_there(disk_reader& reader, const boot_record_entry& entry, std::uint32_t sector_size) {
    std::uint64_t offset = 0;
    if (!sector_offset(entry.start, sector_size, offset)) return false;
    if (!entry.is_extended()) return is_ntfs_at(reader, offset);
    std::array<std::uint8_t, boot_record::size> buffer{};
    byte_view sector;
    return read_sectors(reader, entry.start, sector_size, buffer, sector) && has_boot_signature(sector);
}

// Of a record that a signature at the end of 512 bytes ends, as on disks with larger sectors too.
std::uint32_t counted_sector_size(disk_reader& reader, byte_view record) {
    bool large = false;
    for (std::size_t i = 0; i < boot_record::entry_count; ++i) {
        boot_record_entry entry;
        if (!read_entry(record, i, entry) || !entry.names_partition()) continue;
        if (stands_there(reader, entry, smallest_sector_size)) return smallest_sector_size;
        large = large || stands_there(reader, entry, large_sector_size);
    }
    return large ? large_sector_size : smallest_sector_size;
}

// A table's types are a hint; the first sector of a partition knows better.
void look_into_partitions(disk_reader& reader, partition_list& list) {
    std::vector<std::uint8_t> buffer(largest_sector_size);
    for (partition& found : list) {
        byte_view sector;
        const auto into = std::span(buffer).first(found.sector_size);
        if (read_sectors(reader, found.start, found.sector_size, into, sector)) guess_file_system(found, sector);
    }
}

void read_master_boot_record(disk_reader& reader, byte_view record, std::uint32_t sector_size, partition_list& list) {
    for (std::size_t i = 0; i < boot_record::entry_count; ++i) {
        boot_record_entry entry;
        if (!read_entry(record, i, entry)) break;
        if (entry.is_gpt()) {
            read_gpt(reader, sector_size, list);
            return;
        }
        if (!entry.names_partition()) continue;
        list.push_back(
            {.start = entry.start, .sector_count = entry.sector_count, .sector_size = sector_size, .type = entry.type});
        if (!entry.is_extended()) continue;
        if (entry.start != 0) follow_extended_chain(reader, entry.start, sector_size, list);
        break;  // kept: primaries behind an extended partition are not listed
    }
    look_into_partitions(reader, list);
}

void read_by_first_sector(disk_reader& reader, partition_list& list, table_sectors sectors) {
    std::vector<std::uint8_t> buffer(largest_sector_size);
    byte_view disk;
    // Damage behind the first sector does not hide what that says.
    const auto first_sector = std::span(buffer).first(smallest_sector_size);
    if (!read_sectors(reader, 0, smallest_sector_size, buffer, disk) &&
        !read_sectors(reader, 0, smallest_sector_size, first_sector, disk)) {
        return;
    }
    if (begins_volume(disk)) {
        byte_view sector = disk;
        (void)disk.sub(0, smallest_sector_size, sector);
        add_bare_volume(0, sector, list);
    } else if (std::uint32_t sector_size = boot_record_sector_size(disk); sector_size != 0) {
        const bool may_be_larger = sectors == table_sectors::by_content && sector_size == smallest_sector_size;
        if (may_be_larger) sector_size = counted_sector_size(reader, disk);
        read_master_boot_record(reader, disk, sector_size, list);
    } else if (has_ext_superblock(disk)) {
        add_bare_ext(disk, list);
    }
}

void scan_for_boot_record(disk_reader& reader, partition_list& list) {
    std::array<std::uint8_t, smallest_sector_size> buffer{};
    for (std::uint64_t number = 1; number <= scan_end / smallest_sector_size; ++number) {
        byte_view sector;
        if (!read_sectors(reader, number, smallest_sector_size, buffer, sector)) continue;  // bad, or behind the end
        if (!has_boot_signature(sector) || begins_volume(sector)) continue;
        follow_extended_chain(reader, number, smallest_sector_size, list);
        return;
    }
}

}  // namespace

bool read_partitions(disk_reader& reader, partition_list& list, bool scan, table_sectors sectors) {
    list.clear();
    if (scan) {
        scan_for_boot_record(reader, list);
    } else {
        read_by_first_sector(reader, list, sectors);
    }
    return !list.empty();
}
