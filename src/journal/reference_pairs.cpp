#include "journal/reference_pairs.h"

#include "base/file_reference.h"

#include <algorithm>
#include <array>
#include <bit>
#include <chrono>
#include <memory>
#include <random>
#include <utility>

namespace {

// Of the first table: three to six bytes a record. Most journals name a file more often than eight times.
unsigned first_bits(std::size_t records) {
    return std::clamp(static_cast<unsigned>(std::bit_width(records / 8)), 4U, 30U);
}

}  // namespace

reference_pairs::reference_pairs(std::size_t records) {
    const auto now = std::chrono::steady_clock::now().time_since_epoch().count();
    std::mt19937_64 random(static_cast<std::uint64_t>(now));
    parent_factor_ = random() | 1U;
    file_factor_ = random() | 1U;
    make_table(first_bits(records));
}

void reference_pairs::make_table(unsigned bits) {
    const std::size_t size = std::size_t{1} << bits;
    memory_ = platform::memory_block(size * sizeof(numbered_pair));
    const auto first = static_cast<numbered_pair*>(memory_.data());
    std::uninitialized_fill_n(first, size, numbered_pair{{}, none});
    table_ = {first, size};
    shift_ = 64 - bits;
}

void reference_pairs::number(std::span<const reference_pair> pairs, std::span<std::uint32_t> numbers) {
    constexpr std::size_t lead = 24;  // about as many places as a core fetches from memory at once
    std::array<std::uint64_t, 32> hashes{};
    static_assert(lead < hashes.size());
    for (std::size_t i = 0; i < pairs.size() + lead; ++i) {
        if (i >= lead) numbers[i - lead] = number_of(pairs[i - lead], hashes[(i - lead) % hashes.size()]);
        if (i >= pairs.size()) continue;
        const std::uint64_t hash = hash_of(pairs[i]);
        hashes[i % hashes.size()] = hash;
        __builtin_prefetch(&table_[static_cast<std::size_t>(hash >> shift_)]);
    }
}

std::uint32_t reference_pairs::number_of(const reference_pair& pair, std::uint64_t hash) {
    numbered_pair* place = &place_of(pair, hash);
    if (place->number != none) return place->number;
    if (count_ >= table_.size() / 2) {
        grow();
        place = &place_of(pair, hash);
    }
    *place = {pair, count_};
    return count_++;
}

std::uint64_t reference_pairs::hash_of(const reference_pair& pair) const {
    // Halves are mixed so that both the entry and the sequence number reach the bits that are kept.
    const std::uint64_t sum =
        (pair.parent ^ pair.parent >> 32U) * parent_factor_ + (pair.file ^ pair.file >> 32U) * file_factor_;
    return (sum ^ sum >> 29U) * file_factor_;
}

// Where the pair stands or would stand.
numbered_pair& reference_pairs::place_of(const reference_pair& pair, std::uint64_t hash) {
    auto place = static_cast<std::size_t>(hash >> shift_);
    while (table_[place].number != none && table_[place].pair != pair) place = (place + 1) & (table_.size() - 1);
    return table_[place];
}

void reference_pairs::grow() {
    const platform::memory_block old_memory = std::move(memory_);
    const std::span<const numbered_pair> old = table_;
    make_table(64 - shift_ + 1);
    for (const numbered_pair& one : old) {
        if (one.number != none) place_of(one.pair, hash_of(one.pair)) = one;
    }
}

std::vector<numbered_pair> reference_pairs::in_order() const {
    std::vector<numbered_pair> pairs(count_);
    for (const numbered_pair& one : table_) {
        if (one.number != none) pairs[one.number] = one;  // the order in which they came is often nearly the order
    }
    std::ranges::sort(pairs, [](const numbered_pair& a, const numbered_pair& b) {
        return a.pair.parent != b.pair.parent ? reference_order(a.pair.parent) < reference_order(b.pair.parent)
                                              : reference_order(a.pair.file) < reference_order(b.pair.file);
    });
    return pairs;
}
