// ntfs/attribute_list.h: the entries of an $ATTRIBUTE_LIST (ATTRIBUTE_LIST_ENTRY): which record holds which attribute
// of a file whose attributes do not fit one record.
#pragma once

#include "base/byte_view.h"

#include <cstddef>
#include <cstdint>

namespace attribute_list_entry {
inline constexpr std::size_t type = 0;           // u32
inline constexpr std::size_t length = 4;         // u16, whole entry
inline constexpr std::size_t reference = 16;     // u64, file reference of the record
inline constexpr std::size_t attribute_id = 24;  // u16
inline constexpr std::size_t fixed_size = 26;
}  // namespace attribute_list_entry

// The file system lets no list grow beyond this. It bounds what a damaged size can make us read and follow.
inline constexpr std::size_t longest_attribute_list = std::size_t{256} << 10U;

struct listed_attribute {
    std::uint32_t type = 0;
    std::uint64_t entry_number = 0;
    std::uint16_t id = 0;

    friend auto operator<=>(const listed_attribute&, const listed_attribute&) = default;
};

// Entry after entry; ends at a length of 0 and at an entry that does not fit.
class attribute_list_walk {
public:
    explicit attribute_list_walk(byte_view list) : rest_(list) {}
    [[nodiscard]] bool next(listed_attribute& out);

private:
    byte_view rest_;
};
