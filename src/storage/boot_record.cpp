#include "storage/partitions.h"

namespace {
constexpr std::size_t entry_type = 4;      // u8
constexpr std::size_t entry_start = 8;     // u32
constexpr std::size_t entry_sectors = 12;  // u32
}  // namespace

bool read_entry(byte_view record, std::size_t index, boot_record_entry& entry) {
    byte_view bytes;
    const std::size_t at = boot_record::entries + index * boot_record::entry_size;
    if (!record.sub(at, boot_record::entry_size, bytes)) return false;
    entry.type = bytes.value<std::uint8_t>(entry_type);
    entry.start = bytes.value<std::uint32_t>(entry_start);
    entry.sector_count = bytes.value<std::uint32_t>(entry_sectors);
    return true;
}

bool has_boot_signature(byte_view sector) {
    return sector.value<std::uint16_t>(boot_record::signature) == boot_record::signature_value;
}

bool begins_volume(byte_view sector) {
    return holds_text(sector, boot_record::oem_identifier, "EXFA") ||
           holds_text(sector, boot_record::oem_identifier, "MSDO") ||
           holds_text(sector, boot_record::oem_identifier, "NTFS");
}
