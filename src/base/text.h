// base/text.h: the few things done to plain 8-bit texts in more than one room. Case means ASCII case.
#pragma once

#include <string>
#include <string_view>

[[nodiscard]] bool equal_ignoring_case(std::string_view a, std::string_view b);
[[nodiscard]] std::string lower_case(std::string_view text);
[[nodiscard]] std::string_view trimmed(std::string_view text);  // blanks, tabs and line ends off both ends
void replace_all(std::string& text, char from, char to);
