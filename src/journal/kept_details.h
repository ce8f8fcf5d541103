// journal/kept_details.h: what hardly any record has, kept beside the records: the upper halves of 128-bit references,
// the extents of version 4. Found by the number in order of arrival, in which it is added.
#pragma once

#include "journal/journal_entry.h"

#include <cstddef>
#include <cstdint>
#include <vector>

class kept_details {
public:
    void add(std::uint64_t arrival, const record_details& details);

    // Of a record that has some.
    void fill(std::uint64_t arrival, record_details& out) const;

    // Of two records that have some: 0 when they have the same, any order of the others will do. What was cut off a
    // name is not known, so a record with such a name is like no other.
    [[nodiscard]] int order(std::uint64_t one, std::uint64_t other) const;

private:
    struct details_of {
        std::uint64_t arrival;
        std::uint64_t file_ref_high;
        std::uint64_t parent_ref_high;
        std::uint64_t first_extent;
        std::uint32_t extents;
        std::uint32_t remaining_extents;
        bool name_is_cut;
    };

    [[nodiscard]] const details_of& at(std::uint64_t arrival) const;

    std::vector<details_of> details_;
    std::vector<file_extent> extents_;
};
