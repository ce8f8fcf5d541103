#include "base/text.h"

#include <algorithm>

namespace {

char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

}  // namespace

bool equal_ignoring_case(std::string_view a, std::string_view b) { return std::ranges::equal(a, b, {}, lower, lower); }

std::string lower_case(std::string_view text) {
    std::string lowered(text);
    std::ranges::transform(lowered, lowered.begin(), lower);
    return lowered;
}

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view spaces = " \t\r\n";
    const std::size_t first = text.find_first_not_of(spaces);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(spaces) - first + 1);
}

void replace_all(std::string& text, char from, char to) { std::ranges::replace(text, from, to); }
