#include "ntfs/attribute.h"

#include "ntfs/mft_record.h"

#include <cstring>

namespace {

void read_resident(byte_view bytes, attribute& out) {
    out.resident = true;
    const auto length = bytes.value<std::uint32_t>(attribute_header::value_length);
    const auto at = bytes.value<std::uint16_t>(attribute_header::value_offset);
    out.value = byte_view{};
    // A value that claims more than its attribute has is damage; what is there is still of use.
    if (!bytes.sub(at, length, out.value)) out.value = bytes.from(at);
}

void read_non_resident(byte_view bytes, attribute& out) {
    out.resident = false;
    out.value = byte_view{};
    out.first_vcn = bytes.value<std::uint64_t>(attribute_header::first_vcn);
    out.allocated_size = bytes.value<std::uint64_t>(attribute_header::allocated_size);
    out.real_size = bytes.value<std::uint64_t>(attribute_header::real_size);
    out.initialised_size = bytes.value<std::uint64_t>(attribute_header::initialised_size);
    out.run_list = bytes.from(bytes.value<std::uint16_t>(attribute_header::run_list_offset));
}

}  // namespace

attribute_walk::attribute_walk(byte_view record, std::uint64_t entry_number) : holder_(entry_number) {
    std::uint16_t first = 0;
    if (record.get(mft_record::first_attribute, first) && first != 0) rest_ = record.from(first);
}

bool attribute_walk::next(attribute& out) {
    std::uint32_t type = 0;
    byte_view bytes;
    if (!step(type, bytes)) return false;
    take(type, bytes, out);
    return true;
}

bool attribute_walk::next_of(std::uint32_t type, attribute& out) {
    std::uint32_t found = 0;
    byte_view bytes;
    while (step(found, bytes)) {
        if (found != type) continue;
        take(type, bytes, out);
        return true;
    }
    return false;
}

bool attribute_walk::step(std::uint32_t& type, byte_view& bytes) {
    std::uint32_t length = 0;
    if (!rest_.get(attribute_header::type, type) || type == attribute_type::end || type == attribute_type::other_end ||
        !rest_.get(attribute_header::length, length) || length == 0 || !rest_.sub(0, length, bytes)) {
        return false;
    }
    rest_ = rest_.from(length);
    return true;
}

void attribute_walk::take(std::uint32_t type, byte_view bytes, attribute& out) const {
    out.type = type;
    out.id = bytes.value<std::uint16_t>(attribute_header::id);
    out.flags = bytes.value<std::uint16_t>(attribute_header::flags);
    out.holder = holder_;
    out.name = utf16_at(bytes, bytes.value<std::uint16_t>(attribute_header::name_offset),
                        bytes.value<std::uint8_t>(attribute_header::name_length));
    if (bytes.value<std::uint8_t>(attribute_header::non_resident) == 0) {
        read_resident(bytes, out);
    } else {
        read_non_resident(bytes, out);
    }
}

std::u16string utf16_at(byte_view bytes, std::size_t at, std::size_t units) {
    byte_view found;
    if (units == 0 || !bytes.sub(at, units * sizeof(char16_t), found)) return {};
    std::u16string text(units, u'\0');
    std::memcpy(text.data(), found.bytes().data(), found.size());
    return text;
}
