// base/work_budget.h: how much may still be done of what only an image's own claims ask for. Sound structures never
// come near; damaged ones can claim the same bytes without end.
#pragma once

#include "base/saturating.h"

#include <algorithm>
#include <cstdint>

// Each budget is so many readings of the whole source.
namespace readings {
// An extension record belongs to one file, and a run comes to each file a few times.
inline constexpr std::uint64_t extension_records = 16;
// An index block belongs to one directory, and path look-ups come to each directory a few times.
inline constexpr std::uint64_t looked_up_indexes = 8;
// Path resolution lists each directory once, and may come to it a second time, without its sequence number.
inline constexpr std::uint64_t listed_indexes = 2;
// A cluster belongs to one place of one stream. Twice, because damage in front must not push out what is sound behind.
inline constexpr std::uint64_t stream = 2;
// Slack belongs to one file, but also to those that had its cluster before, not to any number.
inline constexpr std::uint64_t slack = 16;
// The stores of a volume's shadow copies have no more clusters than the volume.
inline constexpr std::uint64_t shadow_stores = 1;
}  // namespace readings

class work_budget {
public:
    work_budget() = default;
    work_budget(std::uint64_t times, std::uint64_t size) : left_(saturating_product(times, size)) {}

    // False, and nothing is taken, when less is left.
    [[nodiscard]] bool take(std::uint64_t amount) {
        if (amount > left_) return false;
        left_ -= amount;
        return true;
    }

    // What was taken: all that is left when that is less.
    [[nodiscard]] std::uint64_t take_up_to(std::uint64_t amount) {
        amount = std::min(amount, left_);
        left_ -= amount;
        return amount;
    }

private:
    std::uint64_t left_ = 0;
};
