#include "journal/ordered_reader.h"

#include "journal/journal_collection.h"
#include "journal/repeat_filter.h"
#include "journal/resolved_paths.h"

#include <algorithm>
#include <array>
#include <numeric>
#include <optional>
#include <tuple>
#include <utility>
#include <vector>

namespace {

// How many entries ahead of the reader memory is fetched.
constexpr std::size_t record_lead = 8;
constexpr std::size_t step_lead = 16;
constexpr std::size_t text_lead = 8;
constexpr std::size_t cache_line = 64;

// All that the journal tells of a record, first what no two of one journal share.
std::tuple<std::int64_t, const record_fields&, std::u16string_view> fields_of(const packed_record& of) {
    return {of.usn, of, std::u16string_view(of.name(), of.name_units)};
}

// A text that takes two cache lines at most.
void fetch(std::string_view text) {
    __builtin_prefetch(text.data());
    __builtin_prefetch(text.data() + text.size());
}

}  // namespace

class ordered_reader::insides {
public:
    insides(const journal_collection& from, run_meter& meter, bool each_once);

    [[nodiscard]] const journal_collection& collection() const { return from_; }
    [[nodiscard]] bool next(journal_entry& entry);
    [[nodiscard]] std::uint64_t repeats() const { return repeats_ ? repeats_->repeats() : 0; }

private:
    struct keyed_record {
        std::uint64_t key;
        const packed_record* record;
    };

    struct upcoming_record {
        const packed_record* record = nullptr;
        std::uint32_t pair = 0;  // of path resolution
    };

    [[nodiscard]] upcoming_record look_ahead();
    [[nodiscard]] const packed_record* advance();
    [[nodiscard]] const packed_record* next_stray();
    void put_in_order(const record_chain& chain);
    void unpack(const upcoming_record& next, journal_entry& entry);
    [[nodiscard]] std::optional<std::uint64_t> journal_offset(const packed_record& record);

    const journal_collection& from_;
    run_meter& meter_;
    std::optional<repeat_filter> repeats_;  // none: every record is read
    std::vector<found_elsewhere> also_in_;  // of the entry that was read last
    record_chain::cursor chain_;
    const packed_record* in_order_;          // the next one of the chain, null at its end
    const packed_record* stray_ = nullptr;   // the next one of the strays, null at their end
    std::size_t next_chain_ = 0;             // of strays
    record_chain::cursor stray_chain_;       // when it arrived in order
    std::vector<keyed_record> stray_order_;  // when it did not
    std::vector<keyed_record> passed_;       // kept for the next such chain
    std::size_t stray_place_ = 0;            // in stray_order_

    // Those of the journal that have the time of the record at hand, in an order of their fields once it was asked for.
    std::vector<const packed_record*> same_time_;
    bool same_time_in_order_ = false;

    // The records that come next, so that memory is fetched before it is needed.
    std::array<upcoming_record, 32> upcoming_;
    std::size_t at_ = 0;  // of the one that is next
};

ordered_reader::ordered_reader(const journal_collection& from, run_meter& meter, bool each_once)
    : insides_(std::make_unique<insides>(from, meter, each_once)) {}

ordered_reader::~ordered_reader() = default;

std::size_t ordered_reader::size() const { return insides_->collection().size(); }

bool ordered_reader::has_paths() const { return insides_->collection().has_paths(); }

bool ordered_reader::next(journal_entry& entry) { return insides_->next(entry); }

std::uint64_t ordered_reader::repeats() const { return insides_->repeats(); }

ordered_reader::insides::insides(const journal_collection& from, run_meter& meter, bool each_once)
    : from_(from), meter_(meter), chain_(from.in_order_), in_order_(chain_.next()) {
    if (each_once) repeats_.emplace(from);
    stray_ = next_stray();
    for (upcoming_record& place : upcoming_) place = look_ahead();
}

bool ordered_reader::insides::next(journal_entry& entry) {
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
        fetch(paths->text_place(soon.pair));
        if (paths->has_past()) {
            fetch(paths->text_now_place(soon.pair));
            __builtin_prefetch(paths->step_place(upcoming_[(at_ + step_lead) % upcoming_.size()].pair));
        }
    }
    return true;
}

// The records of a directory are spread over the journal, and so is what was found out about them.
ordered_reader::insides::upcoming_record ordered_reader::insides::look_ahead() {
    upcoming_record soon{.record = repeats_ ? repeats_->next([this] { return advance(); }) : advance()};
    if (from_.paths_ == nullptr || soon.record == nullptr) return soon;
    soon.pair = from_.paths_->pair_of(static_cast<std::size_t>(soon.record->arrival()));
    __builtin_prefetch(from_.paths_->outcome_place(soon.pair));
    __builtin_prefetch(from_.paths_->times_place(soon.pair));
    return soon;
}

// The next record of all, null at the end.
const packed_record* ordered_reader::insides::advance() {
    const bool from_chain = in_order_ != nullptr &&
                            (stray_ == nullptr || in_order_->timestamp < stray_->timestamp ||
                             (in_order_->timestamp == stray_->timestamp && in_order_->arrival() < stray_->arrival()));
    return from_chain ? std::exchange(in_order_, chain_.next()) : std::exchange(stray_, next_stray());
}

const packed_record* ordered_reader::insides::next_stray() {
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
void ordered_reader::insides::put_in_order(const record_chain& chain) {
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
std::optional<std::uint64_t> ordered_reader::insides::journal_offset(const packed_record& record) {
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

void ordered_reader::insides::unpack(const upcoming_record& next, journal_entry& entry) {
    const packed_record& from = *next.record;
    entry.fields() = from.fields();
    entry.valid = (from.marks & record_marks::valid) != 0 ? 1 : 0;
    entry.name.assign(from.name(), from.name_units);
    entry.record_offset = from.record_offset;
    entry.arrival = from.arrival();
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
