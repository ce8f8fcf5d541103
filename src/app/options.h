// app/options.h: from the command line to the run settings.
#pragma once

#include "app/argument_list.h"
#include "app/usnjrnl_context.h"

class diagnostic_log;
namespace uni {
class status_line;
}

// Takes the options out of the list (option_table.h says what stays). -diags opens the log; -out is tried, neither ever
// on a file that the run reads. False when an option was malformed or the results file cannot be written; the reason
// was then given on standard error, where there is one to give.
[[nodiscard]] bool parse_options(argument_list& arguments, usnjrnl_context& settings, uni::status_line& status,
                                 diagnostic_log& log);
