#include "journal/journal_stretches.h"

#include <algorithm>

void journal_stretches::settle(bool end_seen) {
    const auto overlap = [](const stretch& one, const stretch& next) { return one.end > next.begin; };
    end_seen_ = end_seen;
    if (std::ranges::adjacent_find(stretches_, overlap) == stretches_.end()) return;

    std::ranges::sort(stretches_, {}, &stretch::begin);
    end_seen_ = false;
    std::vector<stretch> apart;
    for (std::size_t i = 0; i < stretches_.size();) {
        stretch joined = stretches_[i];
        const std::size_t first = i++;
        while (i < stretches_.size() && overlap(joined, stretches_[i])) {
            joined.end = std::max(joined.end, stretches_[i++].end);
        }
        if (i == first + 1) apart.push_back(joined);
    }
    stretches_ = std::move(apart);
}

journal_stretches::span journal_stretches::around(std::int64_t usn) const {
    span found;
    const auto next = std::ranges::upper_bound(stretches_, usn, {}, &stretch::begin);
    if (next != stretches_.end()) found.to = next->begin;
    if (next == stretches_.begin()) return found;
    const stretch& last = *std::prev(next);
    found.whole = usn < last.end;
    found.from = found.whole ? last.begin : last.end;
    if (found.whole) found.to = last.end;
    return found;
}

// Behind the journal's end only when that was not seen.
bool journal_stretches::fits_a_gap(std::int64_t usn, std::int64_t end) const {
    const span at = around(usn);
    return !at.whole && end <= at.to && (usn < this->end() || !end_seen_);
}
