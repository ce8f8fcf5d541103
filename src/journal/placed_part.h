// journal/placed_part.h: where the bytes of a chunk stand on the source, which need not be together.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

// A part of a chunk that lies together on the source.
struct placed_part {
    std::size_t begin = 0;     // in the chunk
    std::uint64_t offset = 0;  // of its first byte, to be reported
};

// Where a place in the chunk is reported. `parts`, the first of which begins with the chunk, is moved on to the part
// that holds it, so places come in order.
[[nodiscard]] inline std::uint64_t reported_offset(std::span<const placed_part>& parts, std::size_t at) {
    while (parts.size() > 1 && parts[1].begin <= at) parts = parts.subspan(1);
    return parts.front().offset + (at - parts.front().begin);
}
