#include "report/minutes.h"

#include <algorithm>

namespace report {
namespace {

// Twice the median, which is a whole number.
std::uint64_t twice_median(std::vector<std::uint32_t>& values) {
    const std::size_t half = values.size() / 2;
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(half);
    std::ranges::nth_element(values, middle);
    const std::uint64_t upper = values[half];
    return values.size() % 2 != 0 ? 2 * upper : upper + *std::max_element(values.begin(), middle);
}

void find_bursts(change_kind kind, const std::vector<const tally*>& in_order, found_bursts& out, largest<burst>& kept) {
    const auto count_of = [kind](const tally* one) { return one->counts[place_of(kind)]; };
    std::vector<std::uint32_t> counts;
    for (const tally* one : in_order) {
        if (count_of(one) != 0) counts.push_back(count_of(one));
    }
    if (counts.empty()) return;
    const std::uint64_t twice = twice_median(counts);
    out.medians[place_of(kind)] = static_cast<double>(twice) / 2;
    burst open;
    const auto close = [&] {
        if (open.records != 0) kept.add(open.records, open);
    };
    for (const tally* one : in_order) {
        const std::uint64_t records = count_of(one);
        if (records < burst::fewest || 2 * records < burst::times_median * twice) continue;
        const std::uint64_t begin = one->key * ticks_per_minute;
        if (open.records == 0 || open.end != begin) {
            close();
            open = {kind, begin, begin, 0};
        }
        open.end = begin + ticks_per_minute;
        open.records += records;
    }
    close();
}

}  // namespace

found_bursts minute_counts::bursts() const {
    std::vector<const tally*> in_order;
    in_order.reserve(minutes_.size());
    for (std::size_t i = 0; i < minutes_.size(); ++i) in_order.push_back(&minutes_[i]);
    std::ranges::sort(in_order, {}, &tally::key);
    found_bursts out;
    out.minutes_left_out = left_out_;
    largest<burst> kept;
    for (const change_kind kind : all_kinds) find_bursts(kind, in_order, out, kept);
    out.listed = kept.in_order(&burst::begin);
    out.left_out = kept.count() - out.listed.size();
    return out;
}

}  // namespace report
