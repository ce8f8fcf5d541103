#include "journal/usn_order.h"

#include "journal/journal_collection.h"

#include <algorithm>
#include <tuple>

namespace {

// How many records ahead memory is fetched.
constexpr std::size_t lead = 24;

bool is_of_journal(const packed_record& one) { return record_marks::origin_of(one.marks) == record_origin::journal; }

// Copies of one record are neighbours in this order, the first to arrive in front.
bool before(const packed_record& a, const packed_record& b) {
    return std::tuple(a.usn, a.timestamp, a.arrival()) < std::tuple(b.usn, b.timestamp, b.arrival());
}

}  // namespace

usn_order::usn_order(const journal_collection& of) {
    in_order_.resize(of.size());
    of.for_each([this](const packed_record& one) { in_order_[static_cast<std::size_t>(one.arrival())] = &one; });
    std::size_t kept = 0;
    std::size_t sorted = 0;
    bool distinct = true;
    for (std::size_t i = 0; i < in_order_.size(); ++i) {
        if (i + lead < in_order_.size()) __builtin_prefetch(in_order_[i + lead]);
        const packed_record* const one = in_order_[i];
        if ((one->marks & record_marks::valid) == 0) {
            unsound_.push_back(i);
            continue;
        }
        if (sorted == kept && (kept == 0 || !before(*one, *in_order_[kept - 1]))) {
            distinct = distinct && (kept == 0 || in_order_[kept - 1]->usn != one->usn);
            ++sorted;
        }
        in_order_[kept++] = one;
    }
    in_order_.resize(kept);
    take_late(sorted);
    if (!late_.empty() || !distinct) repeats_.emplace(of);
    find_bounds();
}

void usn_order::take_late(std::size_t sorted) {
    late_.reserve(in_order_.size() - sorted);
    for (std::size_t i = sorted; i < in_order_.size(); ++i) late_.push_back({in_order_[i]->usn, in_order_[i]});
    in_order_.resize(sorted);
    std::ranges::sort(late_, [](const keyed_record& a, const keyed_record& b) {
        return a.usn != b.usn ? a.usn < b.usn : before(*a.record, *b.record);
    });
}

void usn_order::find_bounds() {
    const auto take = [this](const packed_record* one) {
        if (!is_of_journal(*one)) return;
        if (journal_.first == nullptr || before(*one, *journal_.first)) journal_.first = one;
        if (journal_.last == nullptr || before(*journal_.last, *one)) journal_.last = one;
    };
    // In either list the bounds are what stands nearest to an end.
    const auto is_it = [](const packed_record* one) { return is_of_journal(*one); };
    if (const auto first = std::ranges::find_if(in_order_, is_it); first != in_order_.end()) {
        take(*first);
        take(*std::find_if(in_order_.rbegin(), in_order_.rend(), is_it));
    }
    const auto first = std::ranges::find_if(late_, is_it, &keyed_record::record);
    if (first == late_.end()) return;
    take(first->record);
    take(
        std::find_if(late_.rbegin(), late_.rend(), [&](const keyed_record& one) { return is_it(one.record); })->record);
}

const packed_record* usn_order::next() {
    return repeats_ ? repeats_->next([this] { return advance(); }) : advance();
}

const packed_record* usn_order::advance() {
    __builtin_prefetch(ahead(lead));
    if (late_at_ + lead < late_.size()) __builtin_prefetch(late_[late_at_ + lead].record);
    const bool any_late = late_at_ < late_.size();
    if (at_ == in_order_.size()) return any_late ? late_[late_at_++].record : nullptr;
    const bool from_late =
        any_late && late_[late_at_].usn <= in_order_[at_]->usn && before(*late_[late_at_].record, *in_order_[at_]);
    return from_late ? late_[late_at_++].record : in_order_[at_++];
}

bool usn_order::unsound_between(std::uint64_t arrival, std::uint64_t next_arrival) const {
    const auto behind = std::ranges::upper_bound(unsound_, arrival);
    return behind != unsound_.end() && *behind < next_arrival;
}
