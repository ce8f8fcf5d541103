#include "app/argument_hints.h"

#include "app/journal_source.h"
#include "app/option_table.h"
#include "base/text.h"
#include "output/status_line.h"
#include "platform/platform.h"

#include <algorithm>
#include <array>
#include <optional>

namespace {

// Taken by the main flow or together with another option, so that the table does not know them.
constexpr std::array<std::string_view, 4> attached_flags{"-append", "-l2", "-l3", "-ignore_image_size"};

bool contains(const auto& names, std::string_view name) {
    return std::ranges::any_of(names, [name](std::string_view one) { return equal_ignoring_case(one, name); });
}

bool takes_value(std::string_view name) {
    const std::optional<option_traits> traits = traits_of(name);
    return traits ? traits->takes_value : contains(source_options, name) || equal_ignoring_case(name, "-offset");
}

bool is_option(std::string_view text) { return traits_of(text) || takes_value(text) || contains(attached_flags, text); }

// Whether parse_number reads all of a text, as an offset may be written.
bool is_number(std::string_view text) {
    const std::string lowered = lower_case(trimmed(text));
    std::string_view digits = lowered;
    const auto skip = [&digits](std::string_view prefix) {
        const bool there = digits.starts_with(prefix);
        if (there) digits.remove_prefix(prefix.size());
        return there;
    };
    const std::string_view allowed = skip("0x") || skip("x")   ? "0123456789abcdef"
                                     : skip("0o") || skip("o") ? "01234567"
                                                               : "0123456789";
    return !digits.empty() && digits.find_first_not_of(allowed) == std::string_view::npos;
}

class hint_collector final : public silent_effects {
public:
    void took(std::string_view option, const std::string& value) override {
        const std::optional<option_traits> traits = traits_of(option);
        if (traits && !traits->has_effect) hint(option, " has no effect");
        took_value(option, value);
    }

    void took_value(std::string_view option, const std::string& value) {
        if (is_option(value)) hint(option, " has no value of its own, it takes " + value);
    }

    void hint(std::string_view option, std::string_view text) {
        hints.push_back("hint: " + std::string(option) + std::string(text) + "\n");
    }

    std::vector<std::string> hints;
};

// Takes the source options as choose_source does; the result is the one that is read, empty without any.
std::string_view look_at_sources(argument_list& left, hint_collector& found) {
    std::string_view source;
    for (const std::string_view option : source_options) {
        std::string value;
        if (!option_value(option, value, left)) continue;
        found.took_value(option, value);
        if (source.empty()) {
            source = option;
        } else {
            found.hint(option, " has no effect beside " + std::string(source));
        }
    }
    return source;
}

void look_at_offset(argument_list& left, bool from_image, hint_collector& found) {
    std::string value;
    if (option_value("-offset", value, left)) {
        if (!from_image) {
            found.hint("-offset", " has no effect without -image");
        } else if (!is_number(value)) {
            found.hint("-offset", " " + value + " is no number, it is read as " + std::to_string(parse_number(value)));
        }
    }
    if (option_flag("-ignore_image_size", left) && (!from_image || parse_number(value) == 0)) {
        found.hint("-ignore_image_size", " has no effect without -image and -offset");
    }
}

void look_at_rest(const argument_list& left, hint_collector& found) {
    for (std::size_t i = 1; i < left.size(); ++i) {
        const std::string& argument = left[i];
        if (takes_value(argument) && i + 1 == left.size()) {
            found.hint(argument, " has no value and is ignored");
        } else if (equal_ignoring_case(argument, "-append")) {
            found.hint(argument, " has no effect, nothing is ever appended");
        } else if (contains(attached_flags, argument)) {
            found.hint(argument, " has no effect");
        } else if (is_option(argument)) {
            found.hint(argument, " is given again, which has no effect");
            if (takes_value(argument)) ++i;
        } else {
            found.hint(argument, " is taken by no option");
        }
    }
}

}  // namespace

std::vector<std::string> argument_hints(const argument_list& arguments) {
    argument_list left = arguments;
    usnjrnl_context settings;
    hint_collector found;
    (void)take_options(left, settings, found);  // with these effects it never gives up
    if (!settings.progress) return {};

    if (settings.reading.pull_times && !settings.reading.show_dir_path) {
        found.hint("-pulltimes", " has no effect without -show_dir_path or -mftfile");
    }
    if (settings.layout.xml_escape && settings.layout.chosen != uni::layout::xml)
        found.hint("-xml_escape", " has no effect without -xml");
    const std::string_view source = look_at_sources(left, found);
    look_at_offset(left, source == "-image", found);
    look_at_rest(left, found);
    return found.hints;
}

void tell_argument_hints(const argument_list& arguments, uni::status_line& status) {
    if (!platform::is_terminal(platform::standard_stream::error)) return;
    for (const std::string& hint : argument_hints(arguments)) status.say(hint);
}
