// journal/bucket_sort.h: sorts many values by a 64-bit key whose values are spread over some range: distributes them by
// the leading bits that differ, which costs the same for each however many there are, then sorts each bucket.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

// Fills `out` with `make(i)` for every i from 0 on, in the order that `before` says. `key(i)`: what that order goes by
// first; it lies between `lowest` and `highest`, or is 0.
template <typename T, typename Key, typename Make, typename Before>
void bucket_sort(std::span<T> out, std::uint64_t lowest, std::uint64_t highest, Key key, Make make, Before before) {
    const auto bits_of = [](std::uint64_t number) { return static_cast<std::size_t>(std::bit_width(number)); };
    const std::size_t bucket_bits = std::clamp<std::size_t>(bits_of(out.size() / 32), 1, 16);
    const std::size_t span_bits = highest > lowest ? bits_of(highest - lowest) : 0;
    const std::size_t shift = span_bits > bucket_bits ? span_bits - bucket_bits : 0;
    // Keys of 0 have a bucket of their own; the span that is divided is that of the others.
    const auto bucket_of = [&](std::uint64_t of) {
        return of == 0 ? std::size_t{0} : static_cast<std::size_t>((of - lowest) >> shift) + 1;
    };
    std::vector<std::size_t> ends((std::size_t{1} << bucket_bits) + 2, 0);
    for (std::size_t i = 0; i < out.size(); ++i) ++ends[bucket_of(key(i)) + 1];
    for (std::size_t i = 1; i < ends.size(); ++i) ends[i] += ends[i - 1];  // now where each bucket begins
    for (std::size_t i = 0; i < out.size(); ++i) out[ends[bucket_of(key(i))]++] = make(i);  // and where it ends
    for (std::size_t begin = 0, i = 0; i < ends.size(); begin = ends[i++]) {
        const auto bucket = out.subspan(begin, ends[i] - begin);
        if (!std::ranges::is_sorted(bucket, before)) std::ranges::sort(bucket, before);
    }
}
