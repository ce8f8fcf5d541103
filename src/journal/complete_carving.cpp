#include "journal/complete_carving.h"

#include "base/file_reference.h"
#include "journal/complete_walk.h"
#include "journal/gathered_history.h"
#include "journal/journal_walk.h"
#include "journal/sound_record.h"
#include "journal/usn_record.h"

namespace {

// The first place from `at` on, in steps of 8, where the header of a record of version 2 or 3 may stand; the size when
// there is none.
std::size_t next_header(byte_view bytes, std::size_t at) {
    constexpr std::uint64_t fixed_bits = 0xFFFF'FFFE'FFFF'E007;  // of length and versions
    constexpr std::uint64_t version_2 = std::uint64_t{2} << 32U;
    for (std::uint64_t word = 0; bytes.get(at, word); at += usn_header::alignment) {
        if ((word & fixed_bits) == version_2) return at;
    }
    return bytes.size();
}

std::size_t claimed_length(byte_view record) { return record.value<std::uint32_t>(usn_header::record_length); }

// Whether the header at `at` claims more bytes than there are.
bool reaches_behind(byte_view bytes, std::size_t at) {
    const std::size_t claimed = claimed_length(bytes.from(at));
    return claimed > bytes.size() - at && claimed <= usn_header::longest_record;
}

bool crosses_page(const sound_record& record) {
    return static_cast<std::uint64_t>(record.usn) % journal_page_size + record.length > journal_page_size;
}

void add_stray(journal_collection& records, const sound_record& record, byte_view bytes, std::uint64_t offset,
               const carving_pass& pass, journal_entry& scratch, gathered_history* history) {
    if (history != nullptr) history->take_carved(bytes);
    take_sound_record(record, bytes, offset, scratch);
    scratch.origin = pass.origin;
    scratch.snapshot_label = pass.label;
    scratch.foreign = pass.entry_bound != 0 && (entry_number(record.file_ref) >= pass.entry_bound ||
                                                entry_number(record.parent_ref) >= pass.entry_bound);
    records.add(scratch);
}

}  // namespace

void stray_scan::take(journal_collection& records, byte_view piece, const carving_pass& pass, journal_entry& scratch,
                      gathered_history* history) {
    const bool small_clusters = pass.cluster_size != 0 && pass.cluster_size < journal_page_size;
    if (!small_clusters || joined_end_ != piece.image_offset() || origin_ != pass.origin) joined_.clear();
    std::size_t at = joined_.empty() ? 0 : take_crossing(records, piece, pass, scratch, history);
    std::size_t open = piece.size();  // where a record begins that may end in the next piece
    sound_record record;
    while ((at = next_header(piece, at)) < piece.size()) {
        const byte_view rest = piece.from(at);
        if (read_sound_stray(rest, record)) {
            add_stray(records, record, rest, rest.image_offset(), pass, scratch, history);
            at += record.length;
            continue;
        }
        if (open == piece.size() && reaches_behind(piece, at)) open = at;
        at += usn_header::alignment;
    }
    if (!small_clusters) return;
    if (joined_.empty()) {
        const auto rest = piece.from(open).bytes();
        joined_.assign(rest.begin(), rest.end());
    }
    joined_end_ = piece.image_offset() + piece.size();
    origin_ = pass.origin;
}

// Looks for records that begin in the bytes of earlier pieces and end in this one. Those bytes stay, with the piece
// behind them, from the first place on where a record may begin that needs more than both. The result is the first
// place of the piece that no record was found at.
std::size_t stray_scan::take_crossing(journal_collection& records, byte_view piece, const carving_pass& pass,
                                      journal_entry& scratch, gathered_history* history) {
    const std::size_t before = joined_.size();
    joined_.insert(joined_.end(), piece.bytes().begin(), piece.bytes().end());
    const byte_view both(joined_, piece.image_offset() - before);
    sound_record record;
    for (std::size_t at = 0; (at = next_header(both, at)) < before; at += usn_header::alignment) {
        const byte_view rest = both.from(at);
        if (claimed_length(rest) <= before - at) continue;  // was looked at in its own piece
        if (read_sound_stray(rest, record) && !crosses_page(record)) {
            add_stray(records, record, rest, rest.image_offset(), pass, scratch, history);
            joined_.clear();
            return at + record.length - before;
        }
    }
    std::size_t open = 0;
    while ((open = next_header(both, open)) < before && !reaches_behind(both, open)) open += usn_header::alignment;
    joined_.erase(joined_.begin(),
                  joined_.begin() + static_cast<std::ptrdiff_t>(open < before ? open : joined_.size()));
    return 0;
}
