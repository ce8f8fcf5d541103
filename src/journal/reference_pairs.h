// journal/reference_pairs.h: the distinct pairs of parent and file references in a journal, numbered. A file is written
// of many times, so what is found out about it is kept once a pair; a record costs one look-up here.
#pragma once

#include "platform/platform.h"

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
    std::uint32_t number;
};

class reference_pairs {
public:
    // For so many records, which sizes the first table.
    explicit reference_pairs(std::size_t records);

    // Gives each pair its number, from 0 on in the order in which they come.
    void number(std::span<const reference_pair> pairs, std::span<std::uint32_t> numbers);

    // All pairs, in order of parent, then of file. Ends the numbering: the table is given up.
    [[nodiscard]] std::vector<numbered_pair> in_order();

private:
    static constexpr std::uint32_t none = ~std::uint32_t{0};

    void make_table(unsigned bits);
    void grow();
    [[nodiscard]] std::size_t first_place_of(const reference_pair& pair) const;
    [[nodiscard]] numbered_pair& place_of(const reference_pair& pair);
    [[nodiscard]] std::uint32_t number_of(const reference_pair& pair);

    // Open addressing, at most half full. The pairs stand in it, so that a look-up waits for one place in memory. The
    // first place to look at is told by the entry number alone: those of a volume are dense, so most files have that
    // place for themselves and no memory is fetched for nothing. All further ones are told by a hash.
    platform::memory_block memory_;
    std::span<numbered_pair> table_;
    unsigned shift_ = 0;  // of a hash, to a place in the table
    std::uint32_t count_ = 0;
    std::uint64_t parent_factor_;  // drawn anew for each table: no journal can aim at one place
    std::uint64_t file_factor_;
};
