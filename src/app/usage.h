// app/usage.h: the program's name and version, and what it says when it is asked how it is used.
#pragma once

#include "app/argument_list.h"

#include <string>

namespace uni {
class status_line;
}

[[nodiscard]] std::string banner();

// Whether the run ends with the usage text before anything else is looked at: help was asked for at any place of the
// arguments, another option's value included, or there is no argument.
[[nodiscard]] bool help_wanted(const argument_list& arguments);

// Whether that was asked for and nothing else, and its text would pass by a pipe or file that waits for it: standard
// error is a terminal, standard output is not.
[[nodiscard]] bool help_is_the_output(const argument_list& arguments);

// Whether the run ends with the banner alone.
[[nodiscard]] bool version_wanted(const argument_list& arguments);

[[nodiscard]] std::string usage_text();
void print_usage(uni::status_line& status);
