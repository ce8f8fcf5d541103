#include "report/mft_checks.h"

#include "report/change_kind.h"

#include <algorithm>
#include <limits>
#include <span>
#include <utility>

namespace report {

mft_checks::mft_checks(std::vector<surveyed_entry> entries, const usn_order& order)
    : order_(order), entries_(std::move(entries)) {
    found_.looked_at = true;
    found_.entries = entries_.size();
    const packed_record* const first = order_.journal().first;
    for (std::size_t i = 0; i < entries_.size(); ++i) {
        if (entries_[i].last_usn == 0) continue;
        ++found_.with_usn;
        if (first != nullptr && entries_[i].last_usn >= first->usn) by_usn_.push_back({entries_[i].last_usn, i});
    }
    std::ranges::sort(by_usn_, {}, [](const keyed_entry& one) { return std::pair(one.usn, one.place); });
    find_groups();
}

// Of one entry each unless most of the numbers are holes; never more than twice as many as entries.
void mft_checks::find_groups() {
    if (entries_.empty()) return;
    while (entries_.back().number >> group_bits_ >= 2 * entries_.size()) ++group_bits_;
    for (std::size_t i = 0; i < entries_.size(); ++i) {
        while (groups_.size() <= entries_[i].number >> group_bits_) groups_.push_back(i);
    }
}

const surveyed_entry* mft_checks::entry_of(std::uint64_t number) const {
    const std::size_t* const begin = group_of(number);
    if (begin == nullptr) return nullptr;
    const std::size_t end = begin == &groups_.back() ? entries_.size() : begin[1];
    const auto among = std::span(entries_).subspan(*begin, end - *begin);
    const auto found = std::ranges::lower_bound(among, number, {}, &surveyed_entry::number);
    return found != among.end() && found->number == number ? &*found : nullptr;
}

void mft_checks::take(const packed_record& one, std::uint32_t added) {
    pass_up_to(one.usn);
    while (at_ < by_usn_.size() && by_usn_[at_].usn == one.usn) ++at_;
    if ((added & usn_reason::file_create) != 0 && one.timestamp != 0) compare_creation(one);
}

// Those below a USN have no record.
void mft_checks::pass_up_to(std::int64_t usn) {
    for (; at_ < by_usn_.size() && by_usn_[at_].usn < usn; ++at_) {
        const bool later = by_usn_[at_].usn > order_.journal().last->usn;
        ++(later ? found_.behind_end : found_.without_record);
        std::vector<surveyed_entry>& named = later ? found_.later : found_.missing;
        if (named.size() < most_named) named.push_back(entries_[by_usn_[at_].place]);
    }
}

void mft_checks::compare_creation(const packed_record& one) {
    const surveyed_entry* const found = entry_of(entry_number(one.file_ref));
    if (found == nullptr || !found->in_use || found->sequence != sequence_number(one.file_ref) || found->created == 0) {
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
