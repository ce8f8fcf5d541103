#include "report/mft_checks.h"

#include "base/file_reference.h"
#include "report/change_kind.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace report {

mft_checks::mft_checks(std::vector<surveyed_entry> entries, const usn_order& order)
    : order_(order), entries_(std::move(entries)) {
    found_.looked_at = true;
    found_.entries = entries_.size();
    const packed_record* const first = order_.journal().first;
    for (const surveyed_entry& one : entries_) {
        if (one.last_usn == 0) continue;
        ++found_.with_usn;
        if (first != nullptr && one.last_usn >= first->usn) by_usn_.push_back(one);
    }
    std::ranges::sort(by_usn_, {}, [](const surveyed_entry& one) { return std::pair(one.last_usn, one.number); });
}

void mft_checks::take(const packed_record& one, std::uint32_t added) {
    pass_up_to(one.usn);
    while (at_ < by_usn_.size() && by_usn_[at_].last_usn == one.usn) ++at_;
    if ((added & usn_reason::file_create) != 0 && one.timestamp != 0) compare_creation(one);
}

// Those below a USN have no record.
void mft_checks::pass_up_to(std::int64_t usn) {
    for (; at_ < by_usn_.size() && by_usn_[at_].last_usn < usn; ++at_) {
        const bool later = by_usn_[at_].last_usn > order_.journal().last->usn;
        ++(later ? found_.behind_end : found_.without_record);
        std::vector<surveyed_entry>& named = later ? found_.later : found_.missing;
        if (named.size() < most_named) named.push_back(by_usn_[at_]);
    }
}

void mft_checks::compare_creation(const packed_record& one) {
    const auto found = std::ranges::lower_bound(entries_, entry_number(one.file_ref), {}, &surveyed_entry::number);
    if (found == entries_.end() || found->number != entry_number(one.file_ref) || !found->in_use ||
        found->sequence != sequence_number(one.file_ref) || found->created == 0) {
        return;
    }
    ++found_.creations;
    const std::uint64_t distance = std::max(found->created, one.timestamp) - std::min(found->created, one.timestamp);
    if (distance > apart) others_.add(distance, {&one, found->created});
}

mft_comparison mft_checks::result() {
    constexpr std::int64_t behind_all = std::numeric_limits<std::int64_t>::max();
    pass_up_to(behind_all);
    found_.other_count = others_.count();
    found_.others = others_.in_order([](const other_creation& one) { return one.record->usn; });
    return found_;
}

}  // namespace report
