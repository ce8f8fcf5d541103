// app/argument_hints.h: what among the arguments is probably a slip: it changes neither the run nor its exit code, and
// only somebody who watches is told.
#pragma once

#include "app/argument_list.h"

#include <string>
#include <vector>

namespace uni {
class status_line;
}

// One line each, with its line end: an argument that no option takes, an option that does nothing here or has no value
// behind it or takes the next option for its value, an -offset that is no number. From the arguments as typed, program
// path included. None under -quiet.
[[nodiscard]] std::vector<std::string> argument_hints(const argument_list& arguments);

// Says them when standard error is a terminal.
void tell_argument_hints(const argument_list& arguments, uni::status_line& status);
