// output/number_text.h: numbers as every writer prints them, unsigned. Pieces of a text_buffer: put at `to`, the result
// is the place behind the number.
#pragma once

#include <cstddef>
#include <cstdint>

namespace uni {

// The most that a number takes in a column of up to `width` characters.
constexpr std::size_t number_room(std::size_t width) { return width + 20; }

// "0x", then the value in lower-case hexadecimal, zero-filled to `digits`; a wider value is written in full.
char* put_hexadecimal(char* to, std::uint64_t value, std::size_t digits);

// Right-aligned in `width` blanks; 0 for the bare number.
char* put_decimal(char* to, std::uint64_t value, std::size_t width);

}  // namespace uni
