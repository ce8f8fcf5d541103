#include "ntfs/file_name.h"

#include <algorithm>

std::u16string name_of_entry(const mft_entry& entry) {
    std::u16string dos_name;
    for (const attribute& one : entry.attributes) {
        if (!is_file_name(one)) continue;
        const auto space = one.value.value<std::uint8_t>(file_name_value::name_space);
        if (space > name_space::win32_and_dos) continue;
        std::u16string name = name_in(one.value);
        if (space != name_space::dos && !name.empty()) return name;
        if (space == name_space::dos && dos_name.empty()) dos_name = std::move(name);
    }
    return dos_name;
}

std::uint64_t first_parent(const mft_entry& entry) {
    const auto found = std::ranges::find_if(entry.attributes, is_file_name);
    return found == entry.attributes.end() ? 0 : found->value.value<std::uint64_t>(file_name_value::parent);
}
