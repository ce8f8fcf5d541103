#include "output/mft_status.h"

#include "base/utf.h"

namespace uni {

mft_status mft_status_of(const journal_entry& entry) {
    if (entry.mft_entry_current != 0) return mft_status::valid;
    if (entry.mft_entry_remnant != 0) return mft_status::wisp;
    if (entry.mft_parent_missing != 0) return mft_status::parent_gone;
    return mft_status::entry_gone;
}

std::string_view status_word(mft_status status) {
    switch (status) {
        case mft_status::valid: return "valid";
        case mft_status::wisp: return "del/wisp";
        case mft_status::parent_gone: return "del/parent";
        case mft_status::entry_gone: break;
    }
    return "del/entry";
}

void path_text(const journal_entry& entry, mft_status status, std::string& out) {
    out.clear();
    if (status == mft_status::parent_gone) {
        out = parent_gone_text;
        return;
    }
    out += entry.parent_path;  // ends with "\"
    append_utf8(entry.name, out);
}

}  // namespace uni
