#include "app/style_options.h"

#include "base/text.h"

namespace {

void choose(cmd_params& settings, bool cmd_params::*style, std::string_view separator) {
    settings.xml = settings.csv = settings.csvl2t = settings.bodyfile = settings.multiline = false;
    settings.*style = true;
    settings.mark_line_breaks = settings.csv || settings.csvgen;
    set_separator(settings, separator);
}

void set_replacement(cmd_params& settings, char replaced, char replacement) {
    settings.replaced_character = replaced;
    settings.replacement = replacement;
}

}  // namespace

void set_separator(cmd_params& settings, std::string_view separator) {
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

void choose_csv(cmd_params& settings) {
    choose(settings, &cmd_params::csv, ",");
    settings.no_whitespace = !settings.pair_date_time;
}

void choose_csvgen(cmd_params& settings) {
    choose(settings, &cmd_params::csvgen, ",");
    settings.no_whitespace = true;
}

void choose_csvl2t(cmd_params& settings) {
    choose(settings, &cmd_params::csvl2t, ",");
    settings.write_header = true;
}

void choose_bodyfile(cmd_params& settings) {
    choose(settings, &cmd_params::bodyfile, "|");
    settings.write_header = true;
}

void choose_xml(cmd_params& settings) {
    choose(settings, &cmd_params::xml, "");
    settings.write_header = false;
}

void choose_multiline(cmd_params& settings) {
    choose(settings, &cmd_params::multiline, "");
    settings.write_header = true;
}

void remove_whitespace(cmd_params& settings) {
    settings.no_whitespace = true;
    settings.leading_space = false;
    std::erase(settings.separator, ' ');
}
