// ntfs/file_name.h: a $FILE_NAME value (FILE_NAME): the attribute of a record and the key of a directory's index entry.
#pragma once

#include "base/byte_view.h"
#include "ntfs/attribute.h"
#include "ntfs/mft_entry.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace file_name_value {
inline constexpr std::size_t parent = 0;   // u64, file reference
inline constexpr std::size_t created = 8;  // u64, FILETIME, like the next three
inline constexpr std::size_t modified = 16;
inline constexpr std::size_t mft_changed = 24;
inline constexpr std::size_t accessed = 32;
inline constexpr std::size_t allocated_size = 40;  // u64, bytes
inline constexpr std::size_t real_size = 48;       // u64, bytes
inline constexpr std::size_t name_length = 64;     // u8, UTF-16 units
inline constexpr std::size_t name_space = 65;      // u8
inline constexpr std::size_t name = 66;            // behind the fixed part
}  // namespace file_name_value

namespace name_space {
inline constexpr std::uint8_t posix = 0;
inline constexpr std::uint8_t win32 = 1;
inline constexpr std::uint8_t dos = 2;
inline constexpr std::uint8_t win32_and_dos = 3;
}  // namespace name_space

// The name; empty when it does not lie wholly inside the value.
[[nodiscard]] inline std::u16string name_in(byte_view file_name) {
    return utf16_at(file_name, file_name_value::name, file_name.value<std::uint8_t>(file_name_value::name_length));
}

[[nodiscard]] inline bool is_file_name(const attribute& one) {
    return one.type == attribute_type::file_name && one.resident && one.value.fits(0, file_name_value::name);
}

// What the system takes for a path, in UTF-16 units. Bounds walks up a parent chain as well.
inline constexpr std::uint32_t longest_path = 32767;

// The first name that is not of the DOS name space, or the DOS name when there is no other; empty without one.
[[nodiscard]] std::u16string name_of_entry(const mft_entry& entry);

// The parent reference of the first name; 0 without one.
[[nodiscard]] std::uint64_t first_parent(const mft_entry& entry);
