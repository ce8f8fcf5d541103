// output/macb.h: a record's one time, spread over the four times of a timeline (modified, accessed, changed, born) by
// what its reason says was done. Both timeline writers place records by these rules.
#pragma once

#include "journal/journal_entry.h"

#include <array>
#include <cstdint>
#include <string>

namespace uni {

// One letter a slot, in the order "MACB"; '.' for a slot that the reason does not touch.
using macb_letters = std::array<char, 4>;
inline constexpr macb_letters no_macb_letters = {'.', '.', '.', '.'};

[[nodiscard]] macb_letters macb_text(std::uint32_t reason);

// FILETIMEs: the record's own in the slots that have a letter, 0 in the others.
struct slot_times {
    std::uint64_t modified = 0;
    std::uint64_t accessed = 0;
    std::uint64_t changed = 0;
    std::uint64_t born = 0;
};
[[nodiscard]] slot_times slot_times_of(const journal_entry& entry);

// Replaces `out` with what happened in the slots that have a letter, joined by "; ". A slot may have nothing to say.
void slot_descriptions(std::uint32_t reason, std::string& out);

}  // namespace uni
