#include "report/wholeness.h"

#include "base/saturating.h"
#include "journal/usn_record.h"

#include <cstddef>

namespace report {
namespace {

constexpr std::int64_t page_size = 4096;

unsigned version_of(const packed_record& one) {
    return (one.marks >> record_marks::version_shift & record_marks::two_bits) + 1;
}

std::uint64_t distance(std::int64_t from, std::int64_t to) {
    return static_cast<std::uint64_t>(to) - static_cast<std::uint64_t>(from);
}

// What its name leaves open: the extents of version 4, the rest of a name that was cut.
bool length_is_known(const packed_record& one) { return (one.marks & record_marks::details) == 0; }

std::uint64_t length_of(const packed_record& one) {
    const std::size_t fixed = version_of(one) == 2   ? usn_v2::fixed_size
                              : version_of(one) == 3 ? usn_v3::fixed_size
                                                     : usn_v4::fixed_size;
    return (fixed + std::size_t{2} * one.name_units + 7) / 8 * 8;
}

}  // namespace

std::int64_t end_of(const packed_record& one) {
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(one.usn) + length_of(one));
}

// A record does not cross the end of a page: what is left there is padding when the next one needs more.
void wholeness_check::compare(const packed_record& one) {
    if (last_timed_ != nullptr && one.timestamp != 0 && one.timestamp < last_timed_->timestamp) {
        const std::uint64_t back = last_timed_->timestamp - one.timestamp;
        steps_.add(back, {last_timed_, &one, back, false});
    }
    const std::int64_t end = end_of(*last_);
    if (one.usn <= end) return;
    const std::uint64_t missing = distance(end, one.usn);
    const std::uint64_t room = static_cast<std::uint64_t>((page_size - end % page_size) % page_size);
    const bool next_page = one.usn % page_size == 0 && missing == room;
    if (next_page && (room < length_of(one) || !length_is_known(one))) return;
    const bool open = !length_is_known(*last_) || last_->name_units == kept_units_of_longer_name;
    if (open && distance(last_->usn, one.usn) <= usn_header::longest_record) return;
    gaps_.add(missing, {last_, &one, missing, order_.unsound_between(last_->arrival(), one.arrival())});
    found_.gap_bytes = saturating_sum(found_.gap_bytes, missing);
}

void wholeness_check::take_carved(const packed_record& one) {
    ++found_.carved;
    const usn_order::bounds& journal = order_.journal();
    if (journal.first == nullptr) return;
    const bool behind = one.usn > journal.last->usn;
    const bool under = one.usn < journal.first->usn;
    const bool far = under && distance(one.usn, journal.first->usn) > distance(journal.first->usn, journal.last->usn);
    found_.carved_behind += behind ? 1U : 0U;
    found_.carved_under += under ? 1U : 0U;
    found_.carved_far_under += far ? 1U : 0U;
    if ((behind || far) && found_.outside.size() < most_listed) found_.outside.push_back(&one);
}

wholeness wholeness_check::result() const {
    wholeness out = found_;
    const auto usn_of = [](const neighbours& one) { return one.behind->usn; };
    out.gaps = gaps_.in_order(usn_of);
    out.gap_count = gaps_.count();
    out.steps_back = steps_.in_order(usn_of);
    out.step_count = steps_.count();
    return out;
}

}  // namespace report
