#include "journal/reference_pairs.h"

#include "base/file_reference.h"

#include <algorithm>
#include <chrono>
#include <numeric>
#include <random>

namespace {

constexpr unsigned first_bits = 12;

}  // namespace

reference_pairs::reference_pairs() : table_(std::size_t{1} << first_bits, none), shift_(64 - first_bits) {
    const auto now = std::chrono::steady_clock::now().time_since_epoch().count();
    std::mt19937_64 random(static_cast<std::uint64_t>(now));
    parent_factor_ = random() | 1U;
    file_factor_ = random() | 1U;
}

std::uint32_t reference_pairs::number_of(const reference_pair& pair) {
    std::size_t place = place_of(pair);
    if (table_[place] != none) return table_[place];
    if (pairs_.size() >= table_.size() / 4 * 3) {
        grow();
        place = place_of(pair);
    }
    table_[place] = static_cast<std::uint32_t>(pairs_.size());
    pairs_.push_back(pair);
    return table_[place];
}

// Where the pair stands or would stand.
std::size_t reference_pairs::place_of(const reference_pair& pair) const {
    // The halves are mixed so that both the entry and the sequence number reach the bits that are kept.
    std::uint64_t hash = (pair.parent ^ pair.parent >> 32U) * parent_factor_ + (pair.file ^ pair.file >> 32U) * file_factor_;
    hash = (hash ^ hash >> 29U) * file_factor_;
    std::size_t place = static_cast<std::size_t>(hash >> shift_);
    while (table_[place] != none && pairs_[table_[place]] != pair) place = (place + 1) & (table_.size() - 1);
    return place;
}

void reference_pairs::grow() {
    table_.assign(table_.size() * 2, none);
    --shift_;
    for (std::size_t i = 0; i < pairs_.size(); ++i) table_[place_of(pairs_[i])] = static_cast<std::uint32_t>(i);
}

std::vector<std::uint32_t> reference_pairs::in_order() const {
    std::vector<std::uint32_t> numbers(pairs_.size());
    std::iota(numbers.begin(), numbers.end(), std::uint32_t{0});
    const auto before = [this](std::uint32_t a, std::uint32_t b) {
        const auto parent_a = reference_order(pairs_[a].parent);
        const auto parent_b = reference_order(pairs_[b].parent);
        if (parent_a != parent_b) return parent_a < parent_b;
        return reference_order(pairs_[a].file) < reference_order(pairs_[b].file);
    };
    std::ranges::sort(numbers, before);
    return numbers;
}
