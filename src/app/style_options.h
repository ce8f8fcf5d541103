// app/style_options.h: what the style options and -csv_separator switch. They are taken in a fixed order, whatever
// their order on the command line; each leaves its settings, so the last one taken wins and what it does not touch
// stays as the one before left it.
#pragma once

#include "output/layout_settings.h"

#include <string_view>

// Also chooses which character gives way to which in texts, so that a text cannot hold the separator.
void set_separator(uni::layout_settings& settings, std::string_view separator);

// The table without padding.
void choose_csv(uni::layout_settings& settings);
void choose_csvgen(uni::layout_settings& settings);

// A layout that has an option of its own.
void choose_layout(uni::layout_settings& settings, uni::layout chosen);

void remove_whitespace(uni::layout_settings& settings);
