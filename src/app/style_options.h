// app/style_options.h: what the style options and -csv_separator switch. They are taken in a fixed order, whatever
// their order on the command line; each leaves its settings, so the last one taken wins and what it does not touch
// stays as the one before left it.
#pragma once

#include "app/cmd_params.h"

#include <string_view>

// Also chooses which character gives way to which in texts, so that a text cannot hold the separator.
void set_separator(cmd_params& settings, std::string_view separator);

void choose_csv(cmd_params& settings);
void choose_csvgen(cmd_params& settings);
void choose_csvl2t(cmd_params& settings);
void choose_bodyfile(cmd_params& settings);
void choose_xml(cmd_params& settings);
void choose_multiline(cmd_params& settings);

void remove_whitespace(cmd_params& settings);
