#include "journal/journal_intake.h"

#include "base/saturating.h"
#include "journal/journal_walk.h"
#include "journal/usn_record.h"

template <typename scan>
bool journal_intake::take(byte_view chunk, phase during, const scan& take_records) {
    // What is shorter than the fixed part of a record holds none.
    if (chunk.size() < usn_v2::fixed_size && !complete_) return false;
    const in_phase now(meter_, during);
    const std::size_t before = records_.size();
    take_records();
    return note(during, chunk.size(), before);
}

bool journal_intake::note(phase during, std::size_t bytes, std::size_t records_before) {
    meter_.count(during, records_.size() - records_before, bytes);
    return records_.size() != records_before;
}

bool journal_intake::walk(byte_view chunk) {
    const placed_part whole{.begin = 0, .offset = chunk.image_offset()};
    return walk(chunk, std::span(&whole, 1));
}

bool journal_intake::walk(byte_view chunk, std::span<const placed_part> parts) {
    if (history_ != nullptr) history_->take(chunk, complete_ ? parts : parts.first(1));
    return take(chunk, phase::decode, [&] {
        if (complete_) {
            walk_chunk_complete(records_, chunk, parts, account_, scratch_);
        } else {
            walk_chunk(records_, byte_view(chunk.bytes(), parts.front().offset), scratch_, reduced_);
        }
    });
}

void journal_intake::end_walk() {
    if (history_ != nullptr) history_->end_walk();
}

std::unique_ptr<gathered_history> journal_intake::take_history() {
    end_walk();
    return std::move(history_);
}

bool journal_intake::carve(byte_view chunk, const carving_pass& pass) {
    return take(chunk, phase::carve, [&] {
        if (complete_) {
            strays_.take(records_, chunk, pass, scratch_, history_.get());
        } else {
            carve_chunk(records_, chunk, pass, scratch_, history_.get());
        }
    });
}

record_account journal_intake::account() const {
    record_account account = account_;
    account.read = records_.size() + account.of(record_fate::not_sound);
    account.unreadable_bytes = lost_bytes_;
    return account;
}

void journal_intake::lose(std::uint64_t pieces, std::uint64_t bytes_each) {
    if (history_ != nullptr && pieces != 0 && bytes_each != 0) history_->lose();
    lost_bytes_ = saturating_sum(lost_bytes_, saturating_product(pieces, bytes_each));
}
