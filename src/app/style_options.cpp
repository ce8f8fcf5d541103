#include "app/style_options.h"

#include "base/text.h"
#include "output/layouts.h"

using uni::layout;
using uni::layout_settings;

namespace {

void set_replacement(layout_settings& settings, char replaced, char replacement) {
    settings.replaced_character = replaced;
    settings.replacement = replacement;
}

void choose_plain_table(layout_settings& settings) {
    settings.chosen = layout::table;
    settings.named = true;
    settings.mark_line_breaks = true;
    set_separator(settings, ",");
}

}  // namespace

void set_separator(layout_settings& settings, std::string_view separator) {
    settings.separator = separator;
    if (separator.find('|') != std::string_view::npos) {
        set_replacement(settings, '|', ';');
    } else if (separator.find(',') != std::string_view::npos) {
        set_replacement(settings, ',', ' ');
    } else {
        set_replacement(settings, '\0', '\0');
        if (equal_ignoring_case(separator, "tab") || equal_ignoring_case(separator, "\\t"))
            settings.separator.assign(1, '\t');
    }
}

void choose_csv(layout_settings& settings) {
    choose_plain_table(settings);
    settings.no_whitespace = !settings.pair_date_time;
}

void choose_csvgen(layout_settings& settings) {
    choose_plain_table(settings);
    settings.generic_csv = true;
    settings.no_whitespace = true;
}

void choose_layout(layout_settings& settings, layout chosen) {
    settings.chosen = chosen;
    settings.named = true;
    settings.mark_line_breaks = settings.generic_csv;
    set_separator(settings, uni::row_of(chosen).separator);
}

void remove_whitespace(layout_settings& settings) {
    settings.no_whitespace = true;
    settings.leading_space = false;
    std::erase(settings.separator, ' ');
}
