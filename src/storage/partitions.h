// storage/partitions.h: where in an image the NTFS volume begins: the partition tables of a disk (master boot record
// with its extended chain, GPT), what a partition holds, and the choice among them. App asks once, before a volume is
// opened; everything below the first heading serves the sources of this folder and their tests.
#pragma once

#include "base/byte_view.h"
#include "storage/disk_reader.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// What a master boot record with its signature at the end of 512 bytes counts in: sectors of 512 bytes, or larger ones
// where only they lead to what its entries name.
enum class table_sectors : std::uint8_t { by_signature, by_content };

// ---- The choice: volume_offset.cpp -------------------------------------------------------------------------------

// `offset` is what the user named, 0 when nothing was named. On success it is the volume's offset. On failure it is
// that of the NTFS partition to be offered, if there is one; otherwise it stays. `found`: an NTFS volume was seen, if
// only as one that the image does not wholly hold. Appends to `messages` what there is to say, each message with its
// line end; the caller decides whether that is shown. `ignore_image_size` accepts a volume that is longer than its
// image.
[[nodiscard]] bool select_volume_offset(std::string& messages, disk_reader& reader, std::int64_t& offset,
                                        bool ignore_image_size, bool& found,
                                        table_sectors sectors = table_sectors::by_signature);

// The message for a volume at `offset` that its image ends before.
[[nodiscard]] std::string not_wholly_held(std::uint64_t offset);

// ---- Partitions and their types: partition_types.cpp -------------------------------------------------------------

struct partition {
    std::uint64_t start = 0;         // first sector
    std::uint64_t sector_count = 0;  // 0: not known
    std::uint32_t sector_size = 512;
    std::uint16_t type = 0;    // the type byte of a table, or the one that a recognised file system stands for
    bool from_backup = false;  // of a GPT whose first header is damaged
};

using partition_list = std::vector<partition>;  // in order of discovery

// This bit of a type: found by its content, named by no table.
inline constexpr std::uint16_t guessed_partition = 0x8000;

// No table of a real disk comes near; one that does is damaged or made to keep us busy.
inline constexpr std::size_t most_partitions = 0x10000;

// "unk" without one; " [guess]" behind the name when the bit guessed_partition is set. Some types have a name without
// being taken from a table, and the other way round.
[[nodiscard]] std::string partition_type_name(std::uint16_t type);

// Whether an entry of this type is taken. 0xEE is not: it stands for a whole table.
[[nodiscard]] bool is_known_partition_type(std::uint8_t type);

// ---- Tables: partition_table.cpp, extended_chain.cpp, gpt.cpp ----------------------------------------------------

// Fills `list` anew. The first pass goes by the first sector; the second (`scan`) takes the first boot record found in
// the megabyte behind it for the head of an extended chain, and does not look into the partitions. True when the list
// is not empty.
[[nodiscard]] bool read_partitions(disk_reader& reader, partition_list& list, bool scan, table_sectors sectors);

// Adds the logical partitions of an extended one: what the chain of boot records that begins at sector `first` names,
// links included, and after the first record's own entries an NTFS volume that stands where the first partition of old
// disks begins, whether a table names it or not.
void follow_extended_chain(disk_reader& reader, std::uint64_t first, std::uint32_t sector_size, partition_list& list);

// Adds the partitions of a GUID partition table, a header and where that says an array of entries, of a disk whose
// protective record was found under sectors of `sector_size` bytes. A first header that cannot be read or is not in its
// place gives way to the backup in the disk's last sector. The first entry that cannot be read, or whose partition
// cannot, ends the walk: behind the end of an image there is nothing to be found.
void read_gpt(disk_reader& reader, std::uint32_t sector_size, partition_list& list);

// ---- Boot records: boot_record.cpp -------------------------------------------------------------------------------

// The sector that a master boot record and an extended boot record share: four partition entries before a signature.
// The first one may stand on a disk with larger sectors; the entries keep their places then.
namespace boot_record {
inline constexpr std::size_t size = 512;
inline constexpr std::size_t oem_identifier = 3;  // 8 bytes, where a volume begins
inline constexpr std::size_t entries = 446;
inline constexpr std::size_t entry_size = 16;
inline constexpr std::size_t entry_count = 4;
inline constexpr std::size_t signature = 510;  // u16
inline constexpr std::uint16_t signature_value = 0xAA55;
}  // namespace boot_record

struct boot_record_entry {
    std::uint8_t type = 0;
    std::uint32_t start = 0;  // in sectors; what it counts from depends on the record
    std::uint32_t sector_count = 0;

    [[nodiscard]] bool names_partition() const { return is_known_partition_type(type) && sector_count != 0; }
    [[nodiscard]] bool is_extended() const { return type == 0x05 || type == 0x0F; }
    [[nodiscard]] bool is_gpt() const { return type == 0xEE; }
};

// The entry `index` of a record; false when the record was cut before its end.
[[nodiscard]] bool read_entry(byte_view record, std::size_t index, boot_record_entry& entry);

[[nodiscard]] bool has_boot_signature(byte_view sector);

// Boot sectors of exFAT, FAT and NTFS volumes end with the same signature.
[[nodiscard]] bool begins_volume(byte_view sector);

// ---- What a partition holds: file_system_guess.cpp ---------------------------------------------------------------

// Where the superblock of an ext volume lies, and its length.
inline constexpr std::size_t ext_superblock = 1024;
inline constexpr std::size_t ext_superblock_size = 1024;

// The type byte of a table is often wrong, and a GPT has none. Takes over what the file system itself says of the
// partition: the type, for FAT, exFAT, NTFS and BitLocker the sector size and, for FAT32 always and for the others when
// it is not known yet, the number of sectors. False, and nothing changed, when fewer than 512 bytes are there or no
// file system is recognised.
bool guess_file_system(partition& found, byte_view first_bytes);

// Whether the sector at a byte offset names itself an NTFS boot sector.
[[nodiscard]] bool is_ntfs_at(disk_reader& reader, std::uint64_t offset);

[[nodiscard]] bool has_ext_superblock(byte_view volume);

// ---- Reads counted in sectors ------------------------------------------------------------------------------------

// Where a sector begins. False when that is no offset that could be read.
[[nodiscard]] inline bool sector_offset(std::uint64_t sector, std::uint64_t sector_size, std::uint64_t& offset) {
    constexpr auto highest = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    if (sector_size != 0 && sector > highest / sector_size) return false;
    offset = sector * sector_size;
    return true;
}

// Reads from the beginning of a sector on; `read` is the part of `into` that the source could fill.
[[nodiscard]] inline bool read_sectors(disk_reader& reader, std::uint64_t sector, std::uint64_t sector_size,
                                       std::span<std::uint8_t> into, byte_view& read) {
    std::uint64_t offset = 0;
    std::size_t got = 0;
    if (!sector_offset(sector, sector_size, offset) || !reader.read_at(offset, into, got)) return false;
    read = byte_view(into.first(got), offset);
    return true;
}

[[nodiscard]] inline bool holds_text(byte_view bytes, std::size_t at, std::string_view text) {
    for (const char character : text) {
        std::uint8_t byte = 0;
        if (!bytes.get(at++, byte) || byte != static_cast<std::uint8_t>(character)) return false;
    }
    return true;
}
