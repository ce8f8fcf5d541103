#include "journal/journal_collection.h"

#include "journal/bucket_sort.h"
#include "journal/resolved_paths.h"

#include <algorithm>
#include <span>

namespace {

constexpr std::size_t longest_name_units = 255;

// How many entries ahead of the reader memory is fetched when the order jumps about.
constexpr std::size_t slot_lead = 32;
constexpr std::size_t name_lead = 16;
constexpr std::size_t outcome_lead = 16;
constexpr std::size_t text_lead = 8;
constexpr std::size_t cache_line = 64;

namespace mark {
constexpr std::uint8_t valid = 0x01;
constexpr std::uint8_t from_unalloc = 0x02;
constexpr std::uint8_t from_vss = 0x04;
constexpr std::uint8_t from_slack = 0x08;
}  // namespace mark

}  // namespace

journal_collection::journal_collection() = default;
journal_collection::~journal_collection() = default;

void journal_collection::add(const journal_entry& entry) {
    if (count_ == slots_.capacity()) slots_.add_block();
    slot& into = slots_[count_];
    into.file_ref = entry.file_ref;
    into.parent_ref = entry.parent_ref;
    into.usn = entry.usn;
    into.timestamp = entry.timestamp;
    into.record_offset = entry.record_offset;
    into.reason = entry.reason;
    into.source_info = entry.source_info;
    into.security_id = entry.security_id;
    into.file_attributes = entry.file_attributes;
    into.marks = static_cast<std::uint8_t>(
        (entry.valid != 0 ? mark::valid : 0) | (entry.from_unalloc != 0 ? mark::from_unalloc : 0) |
        (entry.from_vss != 0 ? mark::from_vss : 0) | (entry.from_slack != 0 ? mark::from_slack : 0));
    store_name(entry.name, into);
    if (!entry.snapshot_label.empty() || !labels_.empty()) note_label(entry.snapshot_label);

    arrived_in_order_ = arrived_in_order_ && entry.timestamp >= last_key_;
    last_key_ = entry.timestamp;
    if (entry.timestamp != 0) lowest_key_ = std::min(lowest_key_, entry.timestamp);
    highest_key_ = std::max(highest_key_, entry.timestamp);
    ++count_;
}

void journal_collection::store_name(const std::u16string& name, slot& into) {
    const std::size_t units = std::min(name.size(), longest_name_units);
    if (names_.capacity() - name_units_used_ < units) {
        name_units_used_ = names_.capacity();
        names_.add_block();
    }
    const std::uint64_t place = name_units_used_;
    if (units != 0) std::copy_n(name.data(), units, &names_[name_units_used_]);
    name_units_used_ += units;
    into.name_place_low = static_cast<std::uint32_t>(place);
    into.name_place_high = static_cast<std::uint16_t>(place >> 32U);
    into.name_units = static_cast<std::uint8_t>(units);
}

const char16_t* journal_collection::name_at(const slot& of) const {
    const auto place = static_cast<std::size_t>(std::uint64_t{of.name_place_high} << 32U | of.name_place_low);
    return of.name_units == 0 ? nullptr : &names_[place];
}

void journal_collection::note_label(const std::string& label) {
    if (labels_.empty() || labels_.back().label != label) labels_.push_back({count_, label});
}

const std::string& journal_collection::label_of(std::size_t arrival) const {
    static const std::string none;
    const auto behind = std::ranges::upper_bound(labels_, arrival, {}, &labelled_stretch::first_arrival);
    return behind == labels_.begin() ? none : std::prev(behind)->label;
}

void journal_collection::put_in_order() {
    ordered_ = !arrived_in_order_;
    if (!ordered_) return;
    order_ = platform::memory_block(count_ * sizeof(keyed_arrival));
    const auto key = [this](std::size_t i) { return slots_[i].timestamp; };  // 0: version 4
    bucket_sort(
        std::span(static_cast<keyed_arrival*>(order_.data()), count_), lowest_key_, highest_key_, key,
        [&](std::size_t i) {
            return keyed_arrival{key(i), i};
        },
        [](const keyed_arrival& a, const keyed_arrival& b) {
            return a.key != b.key ? a.key < b.key : a.arrival < b.arrival;
        });
}

reference_pair journal_collection::references_at(std::size_t arrival) const {
    const slot& at = slots_[arrival];
    return {at.parent_ref, at.file_ref};
}

void journal_collection::keep_paths(std::unique_ptr<const resolved_paths> paths) { paths_ = std::move(paths); }

std::size_t journal_collection::arrival_at(std::size_t place) const {
    return ordered_ ? static_cast<const keyed_arrival*>(order_.data())[place].arrival : place;
}

void journal_collection::read_in_order(std::size_t place, journal_entry& entry) const {
    // Here and not in a function of its own: gcc drops the call of one that does nothing but prefetch.
    if (ordered_) {
        if (place + slot_lead < count_) __builtin_prefetch(&slots_[arrival_at(place + slot_lead)]);
        if (place + name_lead < count_) {
            const slot& soon = slots_[arrival_at(place + name_lead)];
            const char16_t* const name = name_at(soon);
            __builtin_prefetch(name);  // a name often lies in two cache lines
            __builtin_prefetch(name + soon.name_units);
        }
    }
    if (paths_ != nullptr) {  // the records of a directory are spread over the journal
        if (place + outcome_lead < count_) {
            __builtin_prefetch(paths_->outcome_place(arrival_at(place + outcome_lead)));
            __builtin_prefetch(paths_->times_place(arrival_at(place + outcome_lead)));
        }
        if (place + text_lead < count_) {
            const char* const text = paths_->text_place(arrival_at(place + text_lead));
            __builtin_prefetch(text);
            __builtin_prefetch(text + cache_line);
        }
    }
    const std::size_t arrival = arrival_at(place);
    const slot& from = slots_[arrival];
    entry.valid = (from.marks & mark::valid) != 0 ? 1 : 0;
    entry.file_ref = from.file_ref;
    entry.parent_ref = from.parent_ref;
    entry.usn = from.usn;
    entry.timestamp = from.timestamp;
    entry.reason = from.reason;
    entry.source_info = from.source_info;
    entry.security_id = from.security_id;
    entry.file_attributes = from.file_attributes;
    entry.name.assign(name_at(from), from.name_units);
    entry.record_offset = from.record_offset;
    entry.from_unalloc = (from.marks & mark::from_unalloc) != 0 ? 1 : 0;
    entry.from_vss = (from.marks & mark::from_vss) != 0 ? 1 : 0;
    entry.from_slack = (from.marks & mark::from_slack) != 0 ? 1 : 0;
    entry.snapshot_label = label_of(arrival);
    if (paths_ != nullptr) paths_->fill(arrival, entry);
}
