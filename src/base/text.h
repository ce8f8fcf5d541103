// base/text.h: the few things done to texts in more than one room. Of 8-bit texts case means ASCII case.
#pragma once

#include <string>
#include <string_view>

[[nodiscard]] bool equal_ignoring_case(std::string_view a, std::string_view b);
[[nodiscard]] std::string lower_case(std::string_view text);
[[nodiscard]] std::string_view trimmed(std::string_view text);  // blanks, tabs and line ends off both ends
void replace_all(std::string& text, char from, char to);

// What stands behind the last dot of a name; empty for a name without one.
[[nodiscard]] constexpr std::u16string_view extension_of(std::u16string_view name) {
    const std::size_t dot = name.rfind(u'.');
    return dot == std::u16string_view::npos ? std::u16string_view{} : name.substr(dot + 1);
}
