// report/mft_checks.h: what an MFT says of its files against what a journal says of them: their last change records,
// and when they were made.
#pragma once

#include "base/file_reference.h"
#include "journal/usn_order.h"
#include "journal/usn_record.h"
#include "ntfs/mft_survey.h"
#include "report/ranking.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace report {

// A record that tells of a file's making, and what the MFT gives as the time of it.
struct other_creation {
    const packed_record* record = nullptr;
    std::uint64_t created = 0;  // FILETIME by the MFT
};

struct mft_comparison {
    bool looked_at = false;      // there is an MFT
    std::uint64_t entries = 0;   // that tell of themselves
    std::uint64_t with_usn = 0;  // of those: with a last USN

    std::uint64_t without_record = 0;     // inside the range of the journal, where no record stands
    std::uint64_t behind_end = 0;         // of the journal
    std::vector<surveyed_entry> missing;  // the first of the former
    std::vector<surveyed_entry> later;    // and of the latter

    std::uint64_t creations = 0;  // records of files that the MFT has
    std::uint64_t other_count = 0;
    std::vector<other_creation> others;  // those that lie furthest apart
};

class mft_checks {
public:
    static constexpr std::size_t most_named = 20;
    static constexpr std::uint64_t apart = 864'000'000'000;  // FILETIME units of a day

    // `entries`: in order of number. The order of USNs has not begun.
    mft_checks(std::vector<surveyed_entry> entries, const usn_order& order);

    // Places in memory that a record will need when it is taken, which come in no order: the second stands where the
    // first, once it is there, says. Null for none.
    [[nodiscard]] const void* group_place(const packed_record& later) const {
        return may_create(later) ? group_of(entry_number(later.file_ref)) : nullptr;
    }
    [[nodiscard]] const void* entry_place(const packed_record& soon) const {
        const std::size_t* const group = may_create(soon) ? group_of(entry_number(soon.file_ref)) : nullptr;
        return group != nullptr ? &entries_[*group] : nullptr;
    }

    // Every record, in order of USN.
    void take(const packed_record& one, std::uint32_t added);

    [[nodiscard]] mft_comparison result();

private:
    void pass_up_to(std::int64_t usn);
    void compare_creation(const packed_record& one);
    void find_groups();
    [[nodiscard]] const surveyed_entry* entry_of(std::uint64_t number) const;
    // Null behind the last.
    [[nodiscard]] const std::size_t* group_of(std::uint64_t number) const {
        const std::uint64_t group = number >> group_bits_;
        return group < groups_.size() ? &groups_[static_cast<std::size_t>(group)] : nullptr;
    }
    [[nodiscard]] static bool may_create(const packed_record& one) {
        return (one.reason & usn_reason::file_create) != 0;
    }

    struct keyed_entry {
        std::int64_t usn;
        std::size_t place;  // in entries_
    };

    const usn_order& order_;
    std::vector<surveyed_entry> entries_;
    std::vector<std::size_t> groups_;  // where the entries begin whose numbers share all but the lowest bits
    unsigned group_bits_ = 0;          // how many those are
    std::vector<keyed_entry> by_usn_;  // from the journal's first USN on
    std::size_t at_ = 0;               // the first of those that was not reached yet
    largest<other_creation, most_named> others_;
    mft_comparison found_;
};

}  // namespace report
