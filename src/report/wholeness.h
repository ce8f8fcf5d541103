// report/wholeness.h: what the USNs and times of a journal's records tell of whether anything is missing: gaps, a clock
// that ran backward, carved records from elsewhere. Records come in order of USN.
#pragma once

#include "journal/usn_order.h"
#include "report/ranking.h"

#include <cstdint>
#include <vector>

namespace report {

// Two records of the journal, one behind the other.
struct neighbours {
    const packed_record* before = nullptr;
    const packed_record* behind = nullptr;
    std::uint64_t size = 0;        // of a gap in bytes, of a step back in FILETIME units
    bool unsound_between = false;  // records that make no sense stand there
};

struct wholeness {
    std::vector<neighbours> gaps;  // the largest, in order of USN
    std::uint64_t gap_count = 0;
    std::uint64_t gap_bytes = 0;

    std::vector<neighbours> steps_back;  // likewise
    std::uint64_t step_count = 0;

    // Records that were found by carving and that the journal does not hold.
    std::uint64_t carved = 0;
    std::uint64_t carved_behind = 0;            // its last USN
    std::uint64_t carved_under = 0;             // its first
    std::uint64_t carved_far_under = 0;         // of those: by more bytes than the journal is long
    std::vector<const packed_record*> outside;  // the first of those far under and behind
};

// The first USN behind a record, by its version and its name. A name that was cut short is taken as it is.
[[nodiscard]] std::int64_t end_of(const packed_record& one);

class wholeness_check {
public:
    explicit wholeness_check(const usn_order& order) : order_(order) {}

    void take(const packed_record& one) {
        if (record_marks::origin_of(one.marks) == record_origin::journal) {
            if (last_ != nullptr) compare(one);
            last_ = &one;
            if (one.timestamp != 0) last_timed_ = &one;
        } else {
            take_carved(one);
        }
    }

    [[nodiscard]] wholeness result() const;

private:
    void compare(const packed_record& one);
    void take_carved(const packed_record& one);

    const usn_order& order_;
    const packed_record* last_ = nullptr;
    const packed_record* last_timed_ = nullptr;
    largest<neighbours> gaps_;
    largest<neighbours> steps_;
    wholeness found_;
};

}  // namespace report
