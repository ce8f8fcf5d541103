#include "app/argument_list.h"

#include "base/text.h"
#include "platform/platform.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <limits>
#include <optional>

namespace {

using place = argument_list::const_iterator;

// The first match from element `from` on; the end when there is none.
place find_option(std::string_view name, const argument_list& arguments, std::size_t from) {
    if (from >= arguments.size()) return arguments.end();
    const auto begin = std::next(arguments.begin(), static_cast<std::ptrdiff_t>(from));
    return std::find_if(begin, arguments.end(),
                        [name](const std::string& argument) { return equal_ignoring_case(argument, name); });
}

bool has_value(place found, const argument_list& arguments) {
    return found != arguments.end() && std::next(found) != arguments.end();
}

}  // namespace

bool option_flag(std::string_view name, argument_list& arguments) {
    const place found = find_option(name, arguments, 0);
    if (found == arguments.end()) return false;
    arguments.erase(found);
    return true;
}

bool option_value(std::string_view name, std::string& value, argument_list& arguments) {
    const place found = find_option(name, arguments, 0);
    if (!has_value(found, arguments)) return false;
    value = *std::next(found);
    arguments.erase(found, std::next(found, 2));
    return true;
}

bool peek_flag(std::string_view name, const argument_list& arguments) {
    return find_option(name, arguments, 1) != arguments.end();
}

bool peek_value(std::string_view name, std::string& value, const argument_list& arguments) {
    const place found = find_option(name, arguments, 1);
    if (!has_value(found, arguments)) return false;
    value = *std::next(found);
    return true;
}

std::string join_arguments(const argument_list& arguments, char quote) {
    std::string line;
    for (const std::string& argument : arguments) {
        if (&argument != &arguments.front()) line += ' ';
        if (argument.find(' ') == std::string::npos) {
            line += argument;
        } else {
            line += quote;
            line += argument;
            line += quote;
        }
    }
    return line;
}

std::string expand_env_path(const std::string& path) {
    constexpr std::size_t longest = 512;
    if (path.size() > longest) return path;

    std::string expanded;
    std::size_t at = 0;
    while (at < path.size()) {
        const std::size_t opening = path.find('%', at);
        const std::size_t closing = opening == std::string::npos ? opening : path.find('%', opening + 1);
        if (closing == std::string::npos) break;
        expanded.append(path, at, opening - at);

        const std::string name = path.substr(opening + 1, closing - opening - 1);
        const std::optional<std::string> value = name.empty() ? std::nullopt : platform::environment(name);
        if (value) {
            expanded += *value;
            at = closing + 1;
        } else {
            expanded.append(path, opening, closing - opening);
            at = closing;
        }
    }
    return expanded.append(path, at);
}

std::int64_t parse_number(std::string_view text) {
    const std::string lowered = lower_case(trimmed(text));
    std::string_view digits = lowered;
    int base = 10;
    if (const std::size_t x = digits.find('x'); x != std::string_view::npos) {
        digits.remove_prefix(x + 1);
        base = 16;
    } else if (const std::size_t o = digits.find('o'); o != std::string_view::npos) {
        digits.remove_prefix(o + 1);
        base = 8;
    }

    using limits = std::numeric_limits<std::int64_t>;
    std::int64_t number = 0;
    const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), number, base);
    if (result.ec == std::errc::result_out_of_range) return digits.front() == '-' ? limits::min() : limits::max();
    return number;
}
