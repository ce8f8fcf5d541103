// base/case_folding.h: upper and lower case alike, as Unicode's simple case folding has it: one code point for one.
#pragma once

[[nodiscard]] char32_t folded_beyond_ascii(char32_t point);

// The code point that stands for this one and all that differ from it in case only; mostly the lower case.
[[nodiscard]] inline char32_t folded(char32_t point) {
    if (point < 0x80) return point >= U'A' && point <= U'Z' ? point + 0x20 : point;
    return folded_beyond_ascii(point);
}
