#include "journal/reference_pairs.h"

#include "base/file_reference.h"

#include <algorithm>
#include <array>
#include <bit>
#include <chrono>
#include <random>

namespace {

// Of the first table: four bytes for eight records. Most journals name a file more often than that.
unsigned first_bits(std::size_t records) {
    return std::clamp(static_cast<unsigned>(std::bit_width(records / 8)), 4U, 30U);
}

}  // namespace

reference_pairs::reference_pairs(std::size_t records)
    : table_(std::size_t{1} << first_bits(records), none), shift_(64 - first_bits(records)) {
    const auto now = std::chrono::steady_clock::now().time_since_epoch().count();
    std::mt19937_64 random(static_cast<std::uint64_t>(now));
    parent_factor_ = random() | 1U;
    file_factor_ = random() | 1U;
}

void reference_pairs::number(std::span<const reference_pair> pairs, std::span<std::uint32_t> numbers) {
    constexpr std::size_t batch = 64;  // memory is fetched for all of a batch before any is looked at
    while (!pairs.empty()) {
        const auto now = pairs.first(std::min(batch, pairs.size()));
        std::array<std::size_t, batch> places{};
        for (std::size_t i = 0; i < now.size(); ++i) {
            places[i] = first_place_of(now[i]);
            __builtin_prefetch(&table_[places[i]]);
        }
        for (std::size_t i = 0; i < now.size(); ++i) {
            if (table_[places[i]] != none) __builtin_prefetch(&pairs_[table_[places[i]]]);
        }
        for (std::size_t i = 0; i < now.size(); ++i) numbers[i] = number_of(now[i]);
        pairs = pairs.subspan(now.size());
        numbers = numbers.subspan(now.size());
    }
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

std::size_t reference_pairs::first_place_of(const reference_pair& pair) const {
    // Halves are mixed so that both the entry and the sequence number reach the bits that are kept.
    const std::uint64_t sum =
        (pair.parent ^ pair.parent >> 32U) * parent_factor_ + (pair.file ^ pair.file >> 32U) * file_factor_;
    return static_cast<std::size_t>((sum ^ sum >> 29U) * file_factor_ >> shift_);
}

// Where the pair stands or would stand.
std::size_t reference_pairs::place_of(const reference_pair& pair) const {
    std::size_t place = first_place_of(pair);
    while (table_[place] != none && pairs_[table_[place]] != pair) place = (place + 1) & (table_.size() - 1);
    return place;
}

void reference_pairs::grow() {
    table_.assign(table_.size() * 2, none);
    --shift_;
    for (std::size_t i = 0; i < pairs_.size(); ++i) table_[place_of(pairs_[i])] = static_cast<std::uint32_t>(i);
}

std::vector<std::uint32_t> reference_pairs::in_order() const {
    struct sort_key {
        std::uint64_t parent;
        std::uint64_t file;
        std::uint32_t number;
    };
    std::vector<sort_key> keys;
    keys.reserve(pairs_.size());
    for (const reference_pair& pair : pairs_) {
        keys.push_back(
            {reference_order(pair.parent), reference_order(pair.file), static_cast<std::uint32_t>(keys.size())});
    }
    std::ranges::sort(keys, [](const sort_key& a, const sort_key& b) {
        return a.parent != b.parent ? a.parent < b.parent : a.file < b.file;
    });
    std::vector<std::uint32_t> numbers(keys.size());
    std::ranges::transform(keys, numbers.begin(), &sort_key::number);
    return numbers;
}
