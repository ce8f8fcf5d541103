// ntfs/file_name.h: a $FILE_NAME value (FILE_NAME): the attribute of a record and the key of a directory's index entry.
#pragma once

#include "base/byte_view.h"
#include "ntfs/attribute.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace file_name_value {
inline constexpr std::size_t parent = 0;   // u64, file reference
inline constexpr std::size_t created = 8;  // u64, FILETIME, like the next three
inline constexpr std::size_t modified = 16;
inline constexpr std::size_t mft_changed = 24;
inline constexpr std::size_t accessed = 32;
inline constexpr std::size_t name_length = 64;  // u8, UTF-16 units
inline constexpr std::size_t name_space = 65;   // u8
inline constexpr std::size_t name = 66;
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
