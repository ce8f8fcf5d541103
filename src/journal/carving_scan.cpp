#include "journal/carving_scan.h"

#include "journal/gathered_history.h"
#include "journal/journal_walk.h"
#include "journal/usn_record.h"

#include <cstddef>
#include <cstdint>

namespace {

// A candidate may pass the pass's own bound and fail the decoder's.
bool carve_record(byte_view candidate, const carving_pass& pass, journal_entry& entry) {
    if (!check_record_v2(candidate, pass.entry_bound)) return false;
    decode_record(entry, candidate);
    if (entry.valid == 0) return false;
    entry.origin = pass.origin;
    entry.snapshot_label = pass.label;
    return true;
}

}  // namespace

void carve_chunk(journal_collection& records, byte_view chunk, const carving_pass& pass, journal_entry& scratch,
                 gathered_history* history) {
    std::size_t at = 0;
    while (at < chunk.size()) {
        const byte_view rest = chunk.from(at);
        std::uint32_t length = 0;
        if (!rest.get(usn_header::record_length, length) || length > rest.size()) break;
        if (length != 0 && carve_record(rest, pass, scratch)) {
            records.add(scratch);
            if (history != nullptr) history->take_carved(rest);
            at += length;
            continue;
        }
        // kept: a block whose first word is a length and no record's ends its chunk, when it is the last one there.
        if (length != 0 && rest.size() <= journal_page_size) break;
        at = (at / journal_page_size + 1) * journal_page_size;
    }
}
