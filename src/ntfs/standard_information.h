// ntfs/standard_information.h: the value of $STANDARD_INFORMATION (STANDARD_INFORMATION), offsets from its start.
#pragma once

#include <cstddef>

namespace standard_information_value {
inline constexpr std::size_t created = 0x00;  // u64, FILETIME, like the next three
inline constexpr std::size_t modified = 0x08;
inline constexpr std::size_t mft_changed = 0x10;
inline constexpr std::size_t accessed = 0x18;
inline constexpr std::size_t last_usn = 0x40;  // u64, of the last change record; only in values of 72 bytes and more
}  // namespace standard_information_value
