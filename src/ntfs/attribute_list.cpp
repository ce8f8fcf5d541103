#include "ntfs/attribute_list.h"

#include "base/file_reference.h"

bool attribute_list_walk::next(listed_attribute& out) {
    const auto length = rest_.value<std::uint16_t>(attribute_list_entry::length);
    if (length == 0 || !rest_.fits(0, length) || !rest_.fits(0, attribute_list_entry::fixed_size)) return false;
    out.type = rest_.value<std::uint32_t>(attribute_list_entry::type);
    out.entry_number = entry_number(rest_.value<std::uint64_t>(attribute_list_entry::reference));
    out.id = rest_.value<std::uint16_t>(attribute_list_entry::attribute_id);
    rest_ = rest_.from(length);
    return true;
}
