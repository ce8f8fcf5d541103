// journal/reference_table.h: numbers for file references, in the order in which they come, from 0 on.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

class reference_table {
public:
    reference_table();

    // The number of a reference, and whether it came for the first time.
    [[nodiscard]] std::pair<std::uint32_t, bool> number_of(std::uint64_t reference);

    // What number_of will read first, to be fetched ahead.
    [[nodiscard]] const void* first_place_of(std::uint64_t reference) const { return &table_[first_of(reference)]; }

private:
    static constexpr std::uint32_t none = ~std::uint32_t{0};

    struct numbered {
        std::uint64_t reference = 0;
        std::uint32_t number = none;
    };

    [[nodiscard]] std::size_t first_of(std::uint64_t reference) const {
        const std::uint64_t mixed = (reference ^ reference >> 32U) * factor_;
        return static_cast<std::size_t>(((mixed ^ mixed >> 29U) * factor_) >> (64 - std::countr_zero(table_.size())));
    }
    [[nodiscard]] numbered& place_of(std::uint64_t reference);
    void grow();

    // Open addressing, at most half full, as many places as a power of 2 says.
    std::vector<numbered> table_;
    std::uint32_t count_ = 0;
    std::uint64_t factor_;  // drawn anew for each table: no journal can aim at one place
};
