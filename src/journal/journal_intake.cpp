#include "journal/journal_intake.h"

#include "base/saturating.h"
#include "journal/journal_walk.h"
#include "journal/usn_record.h"

// What is shorter than the fixed part of a record holds none.
template <typename scan>
bool journal_intake::take(byte_view chunk, phase during, const scan& take_records) {
    if (chunk.size() < usn_v2::fixed_size) return false;
    const in_phase now(meter_, during);
    const std::size_t before = records_.size();
    take_records();
    meter_.count(during, records_.size() - before, chunk.size());
    return records_.size() != before;
}

bool journal_intake::walk(byte_view chunk, std::uint64_t stream_offset) {
    if (history_ != nullptr) history_->take(chunk, stream_offset);
    return take(chunk, phase::decode, [&] { walk_chunk(records_, chunk, scratch_); });
}

bool journal_intake::carve(byte_view chunk, const carving_pass& pass) {
    if (history_ != nullptr) history_->end_walk();
    return take(chunk, phase::carve, [&] { carve_chunk(records_, chunk, pass, scratch_, history_.get()); });
}

void journal_intake::lose(std::uint64_t pieces, std::uint64_t bytes_each) {
    if (history_ != nullptr && pieces != 0 && bytes_each != 0) history_->lose();
    lost_bytes_ = saturating_sum(lost_bytes_, saturating_product(pieces, bytes_each));
}
