#include "journal/reference_table.h"

#include <chrono>
#include <random>

reference_table::reference_table()
    : table_(256),
      factor_(
          std::mt19937_64(static_cast<std::uint64_t>(std::chrono::steady_clock::now().time_since_epoch().count()))() |
          1U) {}

std::pair<std::uint32_t, bool> reference_table::number_of(std::uint64_t reference) {
    numbered* at = &place_of(reference);
    if (at->number != none) return {at->number, false};
    if (count_ >= table_.size() / 2) {
        grow();
        at = &place_of(reference);
    }
    *at = {reference, count_};
    return {count_++, true};
}

// Where the reference stands or would stand.
reference_table::numbered& reference_table::place_of(std::uint64_t reference) {
    std::size_t at = first_of(reference);
    while (table_[at].number != none && table_[at].reference != reference) at = (at + 1) & (table_.size() - 1);
    return table_[at];
}

void reference_table::grow() {
    std::vector<numbered> old(2 * table_.size());
    old.swap(table_);
    for (const numbered& one : old) {
        if (one.number != none) place_of(one.reference) = one;
    }
}
