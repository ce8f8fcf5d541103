// journal/reference_pairs.h: the distinct pairs of parent and file references in a journal, numbered. A file is written
// of many times, so what is found out about it is kept once a pair; a record costs one look-up here.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

struct reference_pair {
    std::uint64_t parent = 0;
    std::uint64_t file = 0;

    friend bool operator==(const reference_pair&, const reference_pair&) = default;
};

class reference_pairs {
public:
    // For so many records, which sizes the first table.
    explicit reference_pairs(std::size_t records);

    // Gives each pair its number, from 0 on in the order in which they come.
    void number(std::span<const reference_pair> pairs, std::span<std::uint32_t> numbers);

    [[nodiscard]] std::span<const reference_pair> pairs() const { return pairs_; }

    // All numbers, in order of parent, then of file.
    [[nodiscard]] std::vector<std::uint32_t> in_order() const;

private:
    static constexpr std::uint32_t none = ~std::uint32_t{0};

    [[nodiscard]] std::size_t first_place_of(const reference_pair& pair) const;
    [[nodiscard]] std::size_t place_of(const reference_pair& pair) const;
    [[nodiscard]] std::uint32_t number_of(const reference_pair& pair);
    void grow();

    std::vector<reference_pair> pairs_;
    std::vector<std::uint32_t> table_;  // open addressing, a power of two, at most three quarters full
    unsigned shift_;                    // of a hash, to a place in the table
    std::uint64_t parent_factor_;       // drawn anew for each table: no journal can aim at one place
    std::uint64_t file_factor_;
};
