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
        case mft_status::unknown: return {};
        case mft_status::entry_gone: break;
    }
    return "del/entry";
}

std::string_view from_root(std::string_view directory) {
    constexpr std::string_view root = "[root]";
    if (directory.starts_with(root)) directory.remove_prefix(root.size());
    return directory;
}

std::string_view basis_word(path_basis basis) {
    switch (basis) {
        case path_basis::likely: return "likely";
        case path_basis::remnant: return "remnant";
        case path_basis::partial: return "partial";
        case path_basis::exact: break;
    }
    return "exact";
}

void append_name(std::u16string_view name, bool kept, std::string& out) {
    if (kept) {
        append_utf8_with_surrogates(name, out);
    } else {
        append_utf8(name, out);
    }
}

void full_path(std::string_view directory, std::u16string_view name, bool kept, std::string& out) {
    out = directory;
    append_name(name, kept, out);
}

}  // namespace uni
