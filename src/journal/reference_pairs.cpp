#include "journal/reference_pairs.h"

#include "base/file_reference.h"

#include <algorithm>
#include <bit>
#include <chrono>
#include <memory>
#include <random>
#include <utility>

namespace {

constexpr unsigned first_bits = 16;  // of the first table

}  // namespace

reference_pairs::reference_pairs() {
    const auto now = std::chrono::steady_clock::now().time_since_epoch().count();
    std::mt19937_64 random(static_cast<std::uint64_t>(now));
    parent_factor_ = random() | 1U;
    file_factor_ = random() | 1U;
    make_table(first_bits);
}

void reference_pairs::make_table(unsigned bits) {
    const std::size_t size = std::size_t{1} << bits;
    memory_ = platform::memory_block(size * sizeof(numbered_pair));
    const auto first = static_cast<numbered_pair*>(memory_.data());
    std::uninitialized_fill_n(first, size, numbered_pair{{}, none});
    table_ = {first, size};
    shift_ = 64 - bits;
}

void reference_pairs::number_next() {
    if (numbered_ == numbers_.capacity()) numbers_.add_block();
    numbered_pair& pair = numbered(pending_[numbered_ % pending_.size()]);
    numbers_[numbered_] = pair.number;
    if (marks_[numbered_ % marks_.size()]) pair.marked = true;
    ++numbered_;
}

block_array<std::uint32_t> reference_pairs::take_numbers() {
    while (numbered_ != added_) number_next();
    return std::move(numbers_);
}

numbered_pair& reference_pairs::numbered(const reference_pair& pair) {
    numbered_pair* place = &place_of(pair);
    if (place->number != none) return *place;
    if (count_ >= table_.size() / 2) {
        grow();
        place = &place_of(pair);
    }
    *place = {pair, count_++};
    return *place;
}

// Where the pair stands or would stand.
numbered_pair& reference_pairs::place_of(const reference_pair& pair) {
    const auto is_it = [&](const numbered_pair& one) { return one.number == none || one.pair == pair; };
    std::size_t place = first_place_of(pair);
    if (is_it(table_[place])) return table_[place];
    // Halves are mixed so that both the entry and the sequence number reach the bits that are kept.
    const std::uint64_t sum =
        (pair.parent ^ pair.parent >> 32U) * parent_factor_ + (pair.file ^ pair.file >> 32U) * file_factor_;
    const std::uint64_t hash = (sum ^ sum >> 29U) * file_factor_;
    // A stride of its own for each pair, odd, so that it comes to every place: neighbours form no long runs.
    const auto stride = static_cast<std::size_t>(hash) | 1U;
    place = static_cast<std::size_t>(hash >> shift_);
    while (!is_it(table_[place])) place = (place + stride) & (table_.size() - 1);
    return table_[place];
}

void reference_pairs::grow() {
    const platform::memory_block old_memory = std::move(memory_);
    const std::span<const numbered_pair> old = table_;
    make_table(64 - shift_ + 1);
    for (const numbered_pair& one : old) {
        if (one.number != none) place_of(one.pair) = one;
    }
}

// Distributes by the leading bits in which the parents differ, which costs the same for each pair however many there
// are, then sorts each bucket.
std::vector<numbered_pair> reference_pairs::in_order() {
    const auto is_empty = [](const numbered_pair& one) { return one.number == none; };
    const auto parent_of = [](const numbered_pair& one) { return reference_order(one.pair.parent); };
    const std::span<const numbered_pair> pairs(table_.begin(), std::remove_if(table_.begin(), table_.end(), is_empty));
    table_ = {};
    std::vector<numbered_pair> ordered(pairs.size());
    if (pairs.empty()) return ordered;
    const auto [first, last] = std::ranges::minmax_element(pairs, {}, parent_of);
    const std::uint64_t lowest = parent_of(*first);
    const auto bits_of = [](std::uint64_t value) { return static_cast<std::size_t>(std::bit_width(value)); };
    const std::size_t bucket_bits = std::clamp<std::size_t>(bits_of(pairs.size() / 32), 1, 16);
    const std::size_t span_bits = bits_of(parent_of(*last) - lowest);
    const std::size_t shift = span_bits - std::min(span_bits, bucket_bits);
    const auto bucket_of = [&](const numbered_pair& one) {
        return static_cast<std::size_t>((parent_of(one) - lowest) >> shift);
    };
    std::vector<std::size_t> ends((std::size_t{1} << bucket_bits) + 1, 0);
    for (const numbered_pair& one : pairs) ++ends[bucket_of(one) + 1];
    for (std::size_t i = 1; i < ends.size(); ++i) ends[i] += ends[i - 1];          // now where each bucket begins
    for (const numbered_pair& one : pairs) ordered[ends[bucket_of(one)]++] = one;  // and where it ends
    const auto before = [&](const numbered_pair& a, const numbered_pair& b) {
        return a.pair.parent != b.pair.parent ? parent_of(a) < parent_of(b)
                                              : reference_order(a.pair.file) < reference_order(b.pair.file);
    };
    for (std::size_t begin = 0, i = 0; i < ends.size(); begin = ends[i++]) {
        std::ranges::sort(std::span(ordered).subspan(begin, ends[i] - begin), before);
    }
    return ordered;
}
