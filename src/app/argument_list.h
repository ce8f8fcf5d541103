// app/argument_list.h: the arguments of the program (element 0 is the program path) and the ways in which options are
// found among them. What an option takes leaves the list, so whoever looks later sees only what is left. Option names
// match over the whole text and in any ASCII case; of several matches the first counts.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

using argument_list = std::vector<std::string>;

// Takes an option that stands alone. Element 0 is looked at too.
[[nodiscard]] bool option_flag(std::string_view name, argument_list& arguments);

// Takes an option and the argument behind it, whatever that looks like. In the last place an option has no value: it is
// then not taken, and `value` stays.
[[nodiscard]] bool option_value(std::string_view name, std::string& value, argument_list& arguments);

// The same questions from element 1 on; nothing is taken.
[[nodiscard]] bool peek_flag(std::string_view name, const argument_list& arguments);
[[nodiscard]] bool peek_value(std::string_view name, std::string& value, const argument_list& arguments);

// The arguments on one line, a blank between two; one that contains a blank stands between `quote` characters.
[[nodiscard]] std::string join_arguments(const argument_list& arguments, char quote);

// Replaces %NAME% by the value of that environment variable. A name that the environment does not know stays as typed,
// and its second sign may open the next pair. A path of more than 512 bytes stays whole.
[[nodiscard]] std::string expand_env_path(const std::string& path);

// The leading digits of a text, clamped to what fits: hexadecimal behind an "x", octal behind an "o", else decimal. A
// minus sign counts. 0 when there is no digit.
[[nodiscard]] std::int64_t parse_number(std::string_view text);
