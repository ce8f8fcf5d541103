#include "journal/history_walk.h"

#include "base/file_reference.h"
#include "journal/usn_record.h"

#include <algorithm>

namespace {

constexpr std::int64_t journal_page = 4096;

bool begins_with_zeros(byte_view bytes) {
    std::uint64_t head = 0;
    if (bytes.get(0, head)) return head == 0;
    return std::ranges::all_of(bytes.bytes(), [](std::uint8_t one) { return one == 0; });
}

// A record whose name or reference shows damage is none to rely on, sound as it may be.
bool is_intact(const sound_record& record) {
    if (record.beyond_ntfs || sequence_number(record.file_ref) == 0 || record.usn < 0) return false;
    return record.version == 4 || (record.name.size() != 0 && !record.name_holds_nul());
}

directory_witness witness_of(const sound_record& record) {
    return {record.file_ref, record.parent_ref, record.usn, record.length, record.reason, record.name};
}

// Version 4 has no attributes.
bool is_of_directory(const sound_record& record) { return (record.file_attributes & attribute_directory) != 0; }

}  // namespace

void history_walk::take(byte_view chunk, std::span<const placed_part> parts) {
    std::size_t at = 0;
    while (at < chunk.size()) {
        const byte_view rest = chunk.from(at);
        if (begins_with_zeros(rest)) {
            at += usn_header::alignment;
            continue;
        }
        const bool sound = read_sound_record(rest, record_);
        if (sound && is_intact(record_)) {
            take_record({record_.usn, record_.length, rest.image_offset(), reported_offset(parts, at)});
            at += record_.length;
            continue;
        }
        interrupted_ = true;
        const std::size_t next = std::min(chunk.size(), at + (sound ? record_.length : usn_header::alignment));
        const std::uint64_t begin = reported_offset(parts, at);
        doubt(begin, begin + (next - at));
        at = next;
    }
}

void history_walk::take_record(const standing_record& record) {
    if (any_ && follows(record)) {
        if (holding_) settle_held(&record);
        places_.stretches().extend(record.end());
        tell(record_);
        lead_ = record.lead();
    } else {
        if (holding_) settle_held(&record);
        hold(record);
    }
    last_end_ = record.end();
    last_lead_ = record.lead();
    any_ = true;
    interrupted_ = false;
}

// Right behind the last record; or at the begin of the next page, when what is left of the last one's is zeros and too
// little for it.
bool history_walk::follows(const standing_record& record) const {
    if (interrupted_ || record.lead() != last_lead_) return false;
    const std::int64_t left = record.usn - last_end_;
    return left == 0 || (left > 0 && left < journal_page && left < record.length && record.usn % journal_page == 0);
}

void history_walk::hold(const standing_record& record) {
    holding_ = true;
    held_ = record_;
    held_at_ = record;
    std::ranges::copy(record_.name.bytes(), held_name_.begin());
    held_.name = byte_view(std::span(held_name_).first(record_.name.size()));
}

// It stands at its place when its USN is as far ahead of it as that of the record before or behind, or when there is
// none.
void history_walk::settle_held(const standing_record* next) {
    holding_ = false;
    const std::uint64_t lead = held_at_.lead();
    const bool as_before = lead_ == lead;
    const bool as_behind = next != nullptr && next->lead() == lead;
    const bool alone = !lead_ && next == nullptr;
    if (as_before || as_behind || alone) {
        places_.stretches().begin(held_at_.usn, held_at_.end());
        tell(held_);
        lead_ = lead;
        return;
    }
    interrupted_ = true;
    doubt(held_at_.reported_offset, held_at_.reported_offset + held_at_.length);
}

void history_walk::tell(const sound_record& record) {
    if (is_of_directory(record)) places_.add(witness_of(record));
}

void history_walk::take_carved(const sound_record& record) {
    if (is_intact(record) && is_of_directory(record)) places_.add_carved(witness_of(record));
}

void history_walk::finish() {
    if (holding_) settle_held(nullptr);
    places_.stretches().settle(any_ && !interrupted_);
    std::ranges::sort(doubtful_, {}, &doubtful_bytes::begin);
}

void history_walk::doubt(std::uint64_t begin, std::uint64_t end) {
    if (!doubtful_.empty() && doubtful_.back().end == begin) {
        doubtful_.back().end = end;
    } else {
        doubtful_.push_back({begin, end});
    }
}

bool history_walk::is_doubtful(std::uint64_t reported_offset) const {
    const auto behind = std::ranges::upper_bound(doubtful_, reported_offset, {}, &doubtful_bytes::begin);
    return behind != doubtful_.begin() && reported_offset < std::prev(behind)->end;
}
