// ntfs/attribute.h: one attribute of an MFT record (ATTRIBUTE_RECORD_HEADER), resident or not, and the walk over a
// record's attributes. Views point into the record's buffer, which the caller keeps.
#pragma once

#include "base/byte_view.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace attribute_type {
inline constexpr std::uint32_t standard_information = 0x10;
inline constexpr std::uint32_t attribute_list = 0x20;
inline constexpr std::uint32_t file_name = 0x30;
inline constexpr std::uint32_t data = 0x80;
inline constexpr std::uint32_t index_root = 0x90;
inline constexpr std::uint32_t index_allocation = 0xA0;
inline constexpr std::uint32_t bitmap = 0xB0;
inline constexpr std::uint32_t reparse_point = 0xC0;
inline constexpr std::uint32_t end = 0xFFFFFFFF;
inline constexpr std::uint32_t other_end = 0xFFFFFFFE;
}  // namespace attribute_type

namespace attribute_header {
inline constexpr std::size_t type = 0x00;          // u32
inline constexpr std::size_t length = 0x04;        // u32, whole attribute
inline constexpr std::size_t non_resident = 0x08;  // u8
inline constexpr std::size_t name_length = 0x09;   // u8, UTF-16 units
inline constexpr std::size_t name_offset = 0x0A;   // u16
inline constexpr std::size_t flags = 0x0C;         // u16, 1: compressed
inline constexpr std::size_t id = 0x0E;            // u16
// resident
inline constexpr std::size_t value_length = 0x10;  // u32
inline constexpr std::size_t value_offset = 0x14;  // u16
// non-resident
inline constexpr std::size_t first_vcn = 0x10;         // u64, of this piece
inline constexpr std::size_t run_list_offset = 0x20;   // u16
inline constexpr std::size_t allocated_size = 0x28;    // u64, bytes, in the first piece only
inline constexpr std::size_t real_size = 0x30;         // u64, bytes of the whole stream; in the first piece only
inline constexpr std::size_t initialised_size = 0x38;  // u64, likewise
}  // namespace attribute_header

struct attribute {
    std::uint32_t type = 0;
    std::uint16_t id = 0;
    std::uint16_t flags = 0;
    std::u16string name;
    bool resident = true;
    byte_view value;     // resident: the content
    byte_view run_list;  // non-resident: the data runs of this piece
    std::uint64_t first_vcn = 0;
    std::uint64_t allocated_size = 0;
    std::uint64_t real_size = 0;
    std::uint64_t initialised_size = 0;
    std::uint64_t holder = 0;  // entry number of the record that the attribute stands in
};

// The attributes of one record in their order. Ends at an end mark, and at a length that is 0 or does not fit the
// record. Each step advances, so a record gives at most as many attributes as it has bytes.
class attribute_walk {
public:
    // `record`: the whole record, update sequence applied.
    attribute_walk(byte_view record, std::uint64_t entry_number);

    // False when there are no more.
    [[nodiscard]] bool next(attribute& out);

    // The next one of that type; what stands before it is passed over.
    [[nodiscard]] bool next_of(std::uint32_t type, attribute& out);

private:
    [[nodiscard]] bool step(std::uint32_t& type, byte_view& bytes);
    void take(std::uint32_t type, byte_view bytes, attribute& out) const;

    byte_view rest_;
    std::uint64_t holder_;
};

// UTF-16 units that lie at `at`; empty when they do not lie wholly inside the view.
[[nodiscard]] std::u16string utf16_at(byte_view bytes, std::size_t at, std::size_t units);
