// storage/boot_record.h: the sector that a master boot record and an extended boot record share: four partition entries
// before a signature. The first one may stand on a disk with larger sectors; the entries keep their places then.
#pragma once

#include "base/byte_view.h"
#include "storage/partition_types.h"

#include <cstddef>
#include <cstdint>

namespace boot_record {
inline constexpr std::size_t size = 512;
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
