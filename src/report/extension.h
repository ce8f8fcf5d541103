// report/extension.h: extensions of names, upper and lower case alike.
#pragma once

#include "base/case_folding.h"
#include "base/text.h"
#include "base/utf.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace report {

// A number that two extensions share when they differ in case only, and practically no others. `factor` is odd.
[[nodiscard]] inline std::uint64_t extension_number(std::u16string_view extension, std::uint64_t factor) {
    std::uint64_t number = extension.size();
    for (std::size_t at = 0; at < extension.size();) {
        char32_t point = 0;
        (void)read_code_point(extension, at, point);
        number = (number << 5U ^ number >> 59U ^ folded(point)) * factor;
    }
    return number ^ number >> 32U;
}

[[nodiscard]] inline std::u16string folded_text(std::u16string_view text) {
    std::u16string out;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t begin = at;
        char32_t point = 0;
        (void)read_code_point(text, at, point);
        const char32_t lower = folded(point);
        if (lower == point || lower > 0xFFFF) {
            out += text.substr(begin, at - begin);
        } else {
            out += static_cast<char16_t>(lower);
        }
    }
    return out;
}

}  // namespace report
