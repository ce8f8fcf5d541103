// journal/usn_text.h: reason flags (USN_REASON_...) and file attributes (FILE_ATTRIBUTE_...) as the writers print them.
// Every function replaces what its output strings held and keeps their buffers.
#pragma once

#include <cstdint>
#include <string>

namespace usn_reason {
inline constexpr std::uint32_t file_create = 0x00000100;
inline constexpr std::uint32_t file_delete = 0x00000200;
inline constexpr std::uint32_t rename_old_name = 0x00001000;
inline constexpr std::uint32_t rename_new_name = 0x00002000;
inline constexpr std::uint32_t close = 0x80000000;
}  // namespace usn_reason

// Tokens of the set bits in table order, joined by "; "; "unk" when no known bit is set.
void reason_tokens(std::uint32_t reason, std::string& out);
void attribute_tokens(std::uint32_t attributes, std::string& out);

// The reason as the descriptions of the four times of a timeline. Of the bits of one group the last set one in table
// order gives the text.
struct reason_group_texts {
    std::string access;
    std::string modify;
    std::string change;
    std::string birth;
};
void reason_groups(std::uint32_t reason, reason_group_texts& out);
