#include "journal/journal_collection.h"

#include "journal/resolved_paths.h"
#include "journal/usn_record.h"

#include <algorithm>
#include <numeric>
#include <tuple>
#include <utility>

namespace {

constexpr std::size_t longest_name_units = 255;

// How many entries ahead of the reader memory is fetched.
constexpr std::size_t record_lead = 8;
constexpr std::size_t step_lead = 16;
constexpr std::size_t text_lead = 8;
constexpr std::size_t cache_line = 64;

std::uint8_t marks_of(const journal_entry& entry) {
    const unsigned version = entry.version == 0 ? 0U : entry.version - 1U;
    return static_cast<std::uint8_t>(
        (entry.valid != 0 ? record_marks::valid : 0U) |
        static_cast<unsigned>(entry.origin) << record_marks::origin_shift | version << record_marks::version_shift |
        (entry.has_details ? record_marks::details : 0U) | (entry.foreign ? record_marks::foreign : 0U));
}

// All that the journal tells of a record, first what no two of one journal share.
std::tuple<std::int64_t, const record_fields&, std::u16string_view> fields_of(const packed_record& of) {
    return {of.usn, of, std::u16string_view(of.name(), of.name_units)};
}

}  // namespace

journal_collection::journal_collection() = default;
journal_collection::~journal_collection() = default;

void journal_collection::add(const journal_entry& entry) {
    const std::uint64_t key = entry.timestamp;
    const std::size_t units = std::min(entry.name.size(), longest_name_units);
    packed_record* const into =
        key >= in_order_.last_key() ? in_order_.append(pool_, key, units) : strays_.append(pool_, key, units);
    into->fields() = entry.fields();
    into->record_offset = entry.record_offset;
    into->arrival_low = static_cast<std::uint32_t>(count_);
    into->arrival_high = static_cast<std::uint16_t>(std::uint64_t{count_} >> 32U);
    into->name_units = static_cast<std::uint8_t>(units);
    into->marks = marks_of(entry);
    std::copy_n(entry.name.data(), units, into->name());
    any_carved_ = any_carved_ || entry.origin != record_origin::journal;
    if (entry.has_details) details_.add(count_, entry.details);
    if (!entry.snapshot_label.empty() || !labels_.empty()) note_label(entry.snapshot_label);
    if (pairs_ != nullptr) {
        pairs_->add({entry.parent_ref, entry.file_ref}, (entry.file_attributes & attribute_directory) == 0);
    }
    ++count_;
}

void journal_collection::note_label(std::string_view label) {
    if (labels_.empty() || labels_.back().label != label) labels_.push_back({count_, std::string(label)});
}

std::string_view journal_collection::label_of(std::uint64_t arrival) const {
    const auto behind = std::ranges::upper_bound(labels_, arrival, {}, &labelled_stretch::first_arrival);
    return behind == labels_.begin() ? std::string_view{} : std::prev(behind)->label;
}

void journal_collection::for_each_of_journal(const std::function<void(const packed_record&)>& take) const {
    const auto walk = [&take](const record_chain& chain) {
        record_chain::cursor at(chain);
        while (const packed_record* const record = at.next()) {
            if (record_marks::origin_of(record->marks) == record_origin::journal) take(*record);
        }
    };
    walk(in_order_);
    for (const record_chain& chain : strays_.chains()) walk(chain);
}

void journal_collection::keep_paths(std::unique_ptr<const resolved_paths> paths) { paths_ = std::move(paths); }

// ---- Reading in order -----------------------------------------------------------------------------------------------

ordered_reader::ordered_reader(const journal_collection& from, run_meter& meter, bool each_once)
    : from_(from), meter_(meter), chain_(from.in_order_), in_order_(chain_.next()) {
    if (each_once) repeats_.emplace(from);
    stray_ = next_stray();
    for (upcoming_record& place : upcoming_) place = look_ahead();
}

bool ordered_reader::next(journal_entry& entry) {
    upcoming_record& now = upcoming_[at_];
    if (now.record == nullptr) return false;
    unpack(now, entry);
    if (repeats_) {
        repeats_->fill_others(now.record, also_in_);
        entry.also_in = also_in_;
    }
    now = look_ahead();
    at_ = (at_ + 1) % upcoming_.size();
    if (const resolved_paths* const paths = from_.paths_.get(); paths != nullptr) {
        const upcoming_record& soon = upcoming_[(at_ + text_lead) % upcoming_.size()];
        const char* const text = paths->text_place(soon.pair);
        __builtin_prefetch(text);
        __builtin_prefetch(text + cache_line);
        if (paths->has_past()) {
            __builtin_prefetch(paths->text_now_place(soon.pair));
            __builtin_prefetch(paths->step_place(upcoming_[(at_ + step_lead) % upcoming_.size()].pair));
        }
    }
    return true;
}

// The records of a directory are spread over the journal, and so is what was found out about them.
ordered_reader::upcoming_record ordered_reader::look_ahead() {
    upcoming_record soon{.record = repeats_ ? repeats_->next([this] { return advance(); }) : advance()};
    if (from_.paths_ == nullptr || soon.record == nullptr) return soon;
    soon.pair = from_.paths_->pair_of(static_cast<std::size_t>(soon.record->arrival()));
    __builtin_prefetch(from_.paths_->outcome_place(soon.pair));
    __builtin_prefetch(from_.paths_->times_place(soon.pair));
    return soon;
}

// The next record of all, null at the end.
const packed_record* ordered_reader::advance() {
    const bool from_chain = in_order_ != nullptr &&
                          (stray_ == nullptr || in_order_->timestamp < stray_->timestamp ||
                           (in_order_->timestamp == stray_->timestamp && in_order_->arrival() < stray_->arrival()));
    return from_chain ? std::exchange(in_order_, chain_.next()) : std::exchange(stray_, next_stray());
}

const packed_record* ordered_reader::next_stray() {
    for (const std::vector<record_chain>& chains = from_.strays_.chains();;) {
        if (stray_place_ < stray_order_.size()) {
            const std::size_t soon = std::min(stray_place_ + record_lead, stray_order_.size() - 1);
            // Only its place counts: nothing is read through it.
            const auto lines = reinterpret_cast<const char*>(stray_order_[soon].record);  // NOLINT(*-reinterpret-cast)
            __builtin_prefetch(lines);
            __builtin_prefetch(lines + cache_line);
            return stray_order_[stray_place_++].record;
        }
        if (const packed_record* const record = stray_chain_.next(); record != nullptr) return record;
        if (next_chain_ == chains.size()) return nullptr;
        const record_chain& chain = chains[next_chain_++];
        if (chain.in_order()) {
            stray_chain_ = record_chain::cursor(chain);
        } else {
            put_in_order(chain);
        }
    }
}

// Digit by digit from the lowest on, which keeps the order of arrival among equal keys and costs the same for any keys.
void ordered_reader::put_in_order(const record_chain& chain) {
    const in_phase ordering(meter_, phase::order);
    std::uint64_t lowest = ~std::uint64_t{0};
    std::uint64_t highest = 0;
    stray_order_.clear();
    stray_order_.reserve(chain.size());
    record_chain::cursor at(chain);
    while (const packed_record* const record = at.next()) {
        stray_order_.push_back({record->timestamp, record});
        lowest = std::min(lowest, record->timestamp);
        highest = std::max(highest, record->timestamp);
    }
    constexpr unsigned digit_bits = 11;
    const auto digit = [&](const keyed_record& one, unsigned shift) {
        return static_cast<std::size_t>((one.key - lowest) >> shift) & ((std::size_t{1} << digit_bits) - 1);
    };
    passed_.resize(stray_order_.size());
    for (unsigned shift = 0; shift < 64 && (highest - lowest) >> shift != 0; shift += digit_bits) {
        std::array<std::size_t, (1U << digit_bits) + 1> begins{};
        for (const keyed_record& one : stray_order_) ++begins[digit(one, shift) + 1];
        std::partial_sum(begins.begin(), begins.end(), begins.begin());
        for (const keyed_record& one : stray_order_) passed_[begins[digit(one, shift)]++] = one;
        std::swap(stray_order_, passed_);
    }
    stray_place_ = 0;
    meter_.count(phase::order, chain.size(), chain.size() * sizeof(keyed_record));
}

// Where a record stands in the journal: a carved one that is the copy of a record there stands where that one does.
// Both have the same time, so the one of the journal came first.
std::optional<std::uint64_t> ordered_reader::journal_offset(const packed_record& record) {
    const bool of_journal = record_marks::origin_of(record.marks) == record_origin::journal;
    if (!from_.any_carved_) return record.record_offset;
    if (!same_time_.empty() && same_time_.front()->timestamp != record.timestamp) {
        same_time_.clear();
        same_time_in_order_ = false;
    }
    if (of_journal) {
        same_time_.push_back(&record);
        return record.record_offset;
    }
    const auto before = [](const packed_record* a, const packed_record* b) { return fields_of(*a) < fields_of(*b); };
    if (!same_time_in_order_) std::ranges::sort(same_time_, before);
    same_time_in_order_ = true;
    const auto copied = std::ranges::lower_bound(same_time_, &record, before);
    if (copied == same_time_.end() || before(&record, *copied)) return std::nullopt;
    return (*copied)->record_offset;
}

void ordered_reader::unpack(const upcoming_record& next, journal_entry& entry) {
    const packed_record& from = *next.record;
    entry.fields() = from.fields();
    entry.valid = (from.marks & record_marks::valid) != 0 ? 1 : 0;
    entry.name.assign(from.name(), from.name_units);
    entry.record_offset = from.record_offset;
    entry.origin = record_marks::origin_of(from.marks);
    const unsigned version = from.marks >> record_marks::version_shift & record_marks::two_bits;
    entry.version = static_cast<std::uint8_t>(version == 0 ? 0 : version + 1);
    entry.foreign = (from.marks & record_marks::foreign) != 0;
    entry.has_details = (from.marks & record_marks::details) != 0;
    if (entry.has_details) from_.details_.fill(from.arrival(), entry.details);
    entry.snapshot_label = from_.label_of(from.arrival());
    if (from_.paths_ == nullptr) return;
    from_.paths_->fill(next.pair, from_.paths_->has_past() ? journal_offset(from) : std::nullopt, entry);
}
