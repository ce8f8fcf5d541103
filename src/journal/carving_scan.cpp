#include "journal/carving_scan.h"

#include "journal/journal_collection.h"
#include "journal/journal_walk.h"
#include "journal/usn_record.h"

#include <cstddef>
#include <cstdint>

namespace {

// A candidate may pass the pass's own bound and fail the decoder's.
bool carve_record(const usnjrnl_context& run, byte_view candidate, journal_entry& entry) {
    if (!check_record_v2(candidate, run.mft_entry_count)) return false;
    decode_record(entry, candidate);
    if (entry.valid == 0) return false;
    clear_run_fields(entry, run);
    return true;
}

}  // namespace

bool carve_chunk(usnjrnl_context& run, byte_view chunk, journal_entry& scratch) {
    const std::size_t before = run.journal->size();
    std::size_t at = 0;
    while (at < chunk.size()) {
        const byte_view rest = chunk.from(at);
        std::uint32_t length = 0;
        if (!rest.get(usn_header::record_length, length) || length > rest.size()) break;
        if (length != 0 && carve_record(run, rest, scratch)) {
            run.journal->add(scratch);
            at += length;
            continue;
        }
        if (length != 0 && rest.size() <= journal_page_size) break;
        at = (at / journal_page_size + 1) * journal_page_size;
    }
    return run.journal->size() > before;
}
