#include "output/entry_text.h"

#include "base/utf.h"

namespace uni {

std::string_view origin_text(const journal_entry& entry) {
    switch (entry.origin) {
        case record_origin::unallocated: return "unalloc";
        case record_origin::shadow_copy: return entry.snapshot_label;
        case record_origin::slack: return "slack";
        case record_origin::journal: break;
    }
    return "$J";
}

std::string_view status_word(mft_status status) {
    switch (status) {
        case mft_status::valid: return "valid";
        case mft_status::remnant: return "del/wisp";
        case mft_status::parent_gone: return "del/parent";
        case mft_status::entry_gone: break;
    }
    return "del/entry";
}

std::string_view directory_text(const journal_entry& entry) {
    constexpr std::string_view root = "[root]";
    if (entry.status == mft_status::parent_gone) return {};
    std::string_view directory = entry.parent_path;
    if (directory.starts_with(root)) directory.remove_prefix(root.size());
    return directory;
}

void path_text(const journal_entry& entry, std::string& out) {
    if (entry.status == mft_status::parent_gone) {
        out = parent_gone_text;
        return;
    }
    out = entry.parent_path;  // ends with "\"
    append_utf8(entry.name, out);
}

}  // namespace uni
