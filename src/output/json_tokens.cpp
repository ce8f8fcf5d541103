#include "output/json_tokens.h"

#include "base/format_text.h"
#include "journal/usn_text.h"

#include <algorithm>
#include <iterator>
#include <span>
#include <string_view>

namespace uni {
namespace {

struct bit_name {
    std::uint32_t bit;
    std::string_view name;
};

constexpr bit_name reason_names[] = {
    {0x00000001, "USN_REASON_DATA_OVERWRITE"},
    {0x00000002, "USN_REASON_DATA_EXTEND"},
    {0x00000004, "USN_REASON_DATA_TRUNCATION"},
    {0x00000010, "USN_REASON_NAMED_DATA_OVERWRITE"},
    {0x00000020, "USN_REASON_NAMED_DATA_EXTEND"},
    {0x00000040, "USN_REASON_NAMED_DATA_TRUNCATION"},
    {0x00000100, "USN_REASON_FILE_CREATE"},
    {0x00000200, "USN_REASON_FILE_DELETE"},
    {0x00000400, "USN_REASON_EA_CHANGE"},
    {0x00000800, "USN_REASON_SECURITY_CHANGE"},
    {0x00001000, "USN_REASON_RENAME_OLD_NAME"},
    {0x00002000, "USN_REASON_RENAME_NEW_NAME"},
    {0x00004000, "USN_REASON_INDEXABLE_CHANGE"},
    {0x00008000, "USN_REASON_BASIC_INFO_CHANGE"},
    {0x00010000, "USN_REASON_HARD_LINK_CHANGE"},
    {0x00020000, "USN_REASON_COMPRESSION_CHANGE"},
    {0x00040000, "USN_REASON_ENCRYPTION_CHANGE"},
    {0x00080000, "USN_REASON_OBJECT_ID_CHANGE"},
    {0x00100000, "USN_REASON_REPARSE_POINT_CHANGE"},
    {0x00200000, "USN_REASON_STREAM_CHANGE"},
    {0x00400000, "USN_REASON_TRANSACTED_CHANGE"},
    {0x00800000, "USN_REASON_INTEGRITY_CHANGE"},
    {0x01000000, "USN_REASON_DESIRED_STORAGE_CLASS_CHANGE"},
    {usn_reason::close, "USN_REASON_CLOSE"},
};

constexpr bit_name attribute_names[] = {
    {0x00000001, "FILE_ATTRIBUTE_READONLY"},
    {0x00000002, "FILE_ATTRIBUTE_HIDDEN"},
    {0x00000004, "FILE_ATTRIBUTE_SYSTEM"},
    {0x00000010, "FILE_ATTRIBUTE_DIRECTORY"},
    {0x00000020, "FILE_ATTRIBUTE_ARCHIVE"},
    {0x00000040, "FILE_ATTRIBUTE_DEVICE"},
    {0x00000080, "FILE_ATTRIBUTE_NORMAL"},
    {0x00000100, "FILE_ATTRIBUTE_TEMPORARY"},
    {0x00000200, "FILE_ATTRIBUTE_SPARSE_FILE"},
    {0x00000400, "FILE_ATTRIBUTE_REPARSE_POINT"},
    {0x00000800, "FILE_ATTRIBUTE_COMPRESSED"},
    {0x00001000, "FILE_ATTRIBUTE_OFFLINE"},
    {0x00002000, "FILE_ATTRIBUTE_NOT_CONTENT_INDEXED"},
    {0x00004000, "FILE_ATTRIBUTE_ENCRYPTED"},
    {0x00008000, "FILE_ATTRIBUTE_INTEGRITY_STREAM"},
    {0x00010000, "FILE_ATTRIBUTE_VIRTUAL"},
    {0x00020000, "FILE_ATTRIBUTE_NO_SCRUB_DATA"},
    {0x00040000, "FILE_ATTRIBUTE_RECALL_ON_OPEN"},
    {0x00080000, "FILE_ATTRIBUTE_PINNED"},
    {0x00100000, "FILE_ATTRIBUTE_UNPINNED"},
    {0x00400000, "FILE_ATTRIBUTE_RECALL_ON_DATA_ACCESS"},
};

// The first that has a bit of the reason describes it.
constexpr bit_name descriptions[] = {
    {0x00000200, "USN Deleted"},           {0x00002000, "USN Renamed"},
    {0x00001000, "USN Renamed From"},      {0x00000100, "USN Created"},
    {0x00000001, "USN Data Overwritten"},  {0x00000002, "USN Data Added"},
    {0x00000004, "USN Data Truncated"},    {0x00200070, "USN Stream Changed"},
    {0x00000800, "USN Security Changed"},  {0x00008000, "USN Attributes Changed"},
    {0x00010000, "USN Hard Link Changed"}, {~usn_reason::close, "USN Other Change"},
    {usn_reason::close, "USN Closed"},
};

void append_names(std::span<const bit_name> names, std::uint32_t flags, std::string& out) {
    out += '[';
    for (std::uint32_t bit = 1; bit != 0; bit <<= 1U) {
        if ((flags & bit) == 0) continue;
        if (out.back() != '[') out += ',';
        const auto found = std::ranges::find(names, bit, &bit_name::bit);
        out += '"';
        out += found != names.end() ? std::string(found->name) : format_text("0x%08X", bit);
        out += '"';
    }
    out += ']';
}

}  // namespace

void json_message_end(std::uint32_t reason, std::string& out) {
    reason_tokens(reason, out);
    out.insert(0, ": ");
}

void json_description(std::uint32_t reason, std::string& out) {
    const auto* const found =
        std::ranges::find_if(descriptions, [reason](const bit_name& one) { return (reason & one.bit) != 0; });
    out = ",\"timestamp_desc\":\"";
    out += found != std::end(descriptions) ? found->name : "USN Other Change";  // a reason without any bit
    out += '"';
}

void json_reason(std::uint32_t reason, std::string& out) {
    out = ",\"update_reason\":";
    append_names(reason_names, reason, out);
    out += ",\"update_reason_flags\":" + std::to_string(reason);
}

void json_attributes(std::uint32_t attributes, std::string& out) {
    out = ",\"file_attribute_flags\":" + std::to_string(attributes) + ",\"file_attributes\":";
    append_names(attribute_names, attributes, out);
}

}  // namespace uni
