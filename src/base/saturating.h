// base/saturating.h: sums and products of what a disk claims: one that does not fit into 64 bits is the most that does.
#pragma once

#include <cstdint>

[[nodiscard]] constexpr std::uint64_t saturating_sum(std::uint64_t a, std::uint64_t b) {
    std::uint64_t sum = 0;
    return __builtin_add_overflow(a, b, &sum) ? ~std::uint64_t{0} : sum;
}

[[nodiscard]] constexpr std::uint64_t saturating_product(std::uint64_t a, std::uint64_t b) {
    std::uint64_t product = 0;
    return __builtin_mul_overflow(a, b, &product) ? ~std::uint64_t{0} : product;
}
