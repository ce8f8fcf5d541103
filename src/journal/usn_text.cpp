#include "journal/usn_text.h"

#include <span>
#include <string_view>

namespace {

struct token {
    std::uint32_t bit;
    std::string_view text;
};

constexpr token reason_table[] = {
    {0x00000001, "data_overwritten"},
    {0x00000002, "data_appended"},
    {0x00000004, "data_truncated"},
    {0x00000010, "ads_data_overwritten"},
    {0x00000020, "ads_data_appended"},
    {0x00000040, "ads_data_truncated"},
    {0x00000100, "file_created"},
    {0x00000200, "file_deleted"},
    {0x00000400, "extended_attrib_changed"},
    {0x00000800, "access_changed"},
    {0x00001000, "file_old_name"},
    {0x00002000, "file_new_name"},
    {0x00004000, "context_indexed_changed"},
    {0x00008000, "basic_info_changed"},
    {0x00010000, "hardlink_changed"},
    {0x00020000, "compression_changed"},
    {0x00040000, "encryption_changed"},
    {0x00080000, "objid_changed"},
    {0x00100000, "reparse_changed"},
    {0x00200000, "ads_added_or_deleted"},
    {usn_reason::close, "file_closed"},
};

constexpr token attribute_table[] = {
    {0x0001, "readonly"},   {0x0002, "hidden"},  {0x0004, "system"},      {0x0010, "dir"},       {0x0020, "archive"},
    {0x0040, "device"},     {0x0080, "normal"},  {0x0100, "temp"},        {0x0200, "sparse"},    {0x0400, "symlink"},
    {0x0800, "compressed"}, {0x1000, "offline"}, {0x2000, "not_indexed"}, {0x4000, "encrypted"}, {0x10000, "virtual"},
};

void join_tokens(std::span<const token> table, std::uint32_t bits, std::string& out) {
    out.clear();
    for (const token& entry : table) {
        if ((bits & entry.bit) == 0) continue;
        if (!out.empty()) out += "; ";
        out += entry.text;
    }
    if (out.empty()) out = "unk";
}

using group = std::string reason_group_texts::*;

struct group_text {
    std::uint32_t bit;
    group to;
    std::string_view text;
};

constexpr group_text group_table[] = {
    {usn_reason::close, &reason_group_texts::access, "file_closed"},
    {0x00000001, &reason_group_texts::modify, "data overwritten"},
    {0x00000010, &reason_group_texts::modify, "ads data overwritten"},
    {0x00000002, &reason_group_texts::access, "data added"},
    {0x00000020, &reason_group_texts::access, "ads data added"},
    {0x00000004, &reason_group_texts::change, "data truncated"},
    {0x00000040, &reason_group_texts::change, "ads data truncated"},
    {0x00000200, &reason_group_texts::change, "file deleted"},
    {0x00000400, &reason_group_texts::change, "ea changed"},
    {0x00008000, &reason_group_texts::change, "basic info changed"},
    {0x00000800, &reason_group_texts::change, "access changed"},
    {0x00001000, &reason_group_texts::change, "file renamed (old)"},
    {0x00004000, &reason_group_texts::change, "context indexed changed"},
    {0x00010000, &reason_group_texts::change, "hardlink changed"},
    {0x00020000, &reason_group_texts::change, "compression changed"},
    {0x00040000, &reason_group_texts::change, "encryption changed"},
    {0x00080000, &reason_group_texts::change, "objid changed"},
    {0x00100000, &reason_group_texts::change, "reparse changed"},
    {0x00000100, &reason_group_texts::birth, "file created"},
    {0x00200000, &reason_group_texts::birth, "stream added or deleted"},
};

}  // namespace

void reason_tokens(std::uint32_t reason, std::string& out) { join_tokens(reason_table, reason, out); }

void attribute_tokens(std::uint32_t attributes, std::string& out) { join_tokens(attribute_table, attributes, out); }

void reason_groups(std::uint32_t reason, reason_group_texts& out) {
    out.access.clear();
    out.modify.clear();
    out.change.clear();
    out.birth.clear();
    for (const group_text& entry : group_table) {
        if ((reason & entry.bit) != 0) out.*entry.to = entry.text;
    }
}
