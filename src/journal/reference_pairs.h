// journal/reference_pairs.h: the distinct pairs of parent and file references in a journal, numbered. A file is written
// of many times, so what is found out about it is kept once a pair; a record costs one look-up here. Made while
// records arrive: a look-up waits for memory while the next ones are decoded.
#pragma once

#include "journal/block_array.h"
#include "platform/platform.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

struct reference_pair {
    std::uint64_t parent = 0;
    std::uint64_t file = 0;

    friend bool operator==(const reference_pair&, const reference_pair&) = default;
};

struct numbered_pair {
    reference_pair pair;
    std::uint32_t number = 0;
    bool marked = false;  // with any record
};

class reference_pairs {
public:
    reference_pairs();

    // The pair of the next record, and whether that marks it.
    void add(const reference_pair& pair, bool marked) {
        __builtin_prefetch(&table_[first_place_of(pair)]);
        pending_[added_ % pending_.size()] = pair;
        marks_[added_ % marks_.size()] = marked;
        if (++added_ - numbered_ > lead) number_next();
    }

    // Once all records are there: for each the number of its pair, from 0 on in the order in which the pairs came.
    [[nodiscard]] block_array<std::uint32_t> take_numbers();

    // After that: all pairs, in order of parent, then of file. The table is given up.
    [[nodiscard]] std::vector<numbered_pair> in_order();

private:
    static constexpr std::uint32_t none = ~std::uint32_t{0};

    // About as many places as a core fetches from memory at once.
    static constexpr std::size_t lead = 24;

    void number_next();
    void make_table(unsigned bits);
    void grow();
    [[nodiscard]] std::size_t first_place_of(const reference_pair& pair) const {
        return static_cast<std::size_t>(pair.file) & (table_.size() - 1);
    }
    [[nodiscard]] numbered_pair& place_of(const reference_pair& pair);
    [[nodiscard]] numbered_pair& numbered(const reference_pair& pair);

    // A hash table with open addressing, at most half full. The pairs themselves stand in it, so that a look-up waits
    // for memory once. The first place to look at is the file's entry number modulo the size: a volume uses its entry
    // numbers up from 0, so most files have that place for themselves. Where it is taken, a hash of the pair tells the
    // next places.
    platform::memory_block memory_;
    std::span<numbered_pair> table_;
    unsigned shift_ = 0;  // of a hash, to a place in the table
    std::uint32_t count_ = 0;
    std::uint64_t parent_factor_;  // drawn anew for each table: no journal can aim at one place
    std::uint64_t file_factor_;

    std::array<reference_pair, 32> pending_{};  // by record, modulo its size: those whose place is being fetched
    std::array<bool, 32> marks_{};              // likewise
    block_array<std::uint32_t> numbers_;        // by record
    std::size_t numbered_ = 0;                  // records
    std::size_t added_ = 0;
};
