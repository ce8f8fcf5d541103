// journal/shadow_stores.h: the stores of a volume's shadow copies, as the catalog in System Volume Information lists
// them (the published Volume Shadow Snapshot format). A store file holds old copies of overwritten clusters.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

class ntfs_volume;

using guid = std::array<std::uint8_t, 16>;  // as stored

// "3808876b-c176-4e48-b7ae-04046e6cc752": lower case, no braces.
[[nodiscard]] std::string guid_text(const guid& id);

struct shadow_store {
    guid store_id{};
    std::uint64_t header_offset = 0;   // bytes, on the volume
    std::uint64_t file_reference = 0;  // of the store file
    // From the store's header block; zeros and empty when that cannot be read.
    guid copy_id{};
    std::u16string operating_machine;
    std::u16string service_machine;
};

// In the order of the texts of their identifiers; empty when the volume has none. A store whose record names no file is
// left out: entry 0 is $MFT, not a store. `lost_bytes` grows by those of the catalog that cannot be read; what stands
// in its other clusters is found.
[[nodiscard]] std::vector<shadow_store> find_shadow_stores(ntfs_volume& volume, std::uint64_t& lost_bytes);
