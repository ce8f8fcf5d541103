// app/run_driver.h: one run from the chosen source to the written records.
#pragma once

#include "app/usnjrnl_context.h"
#include "base/diagnostic_log.h"
#include "output/status_line.h"

#include <iosfwd>

// Pulls the source into a collection of its own, then writes that to `out`. True when records were found and `out` took
// them.
[[nodiscard]] bool run_driver(std::ostream& out, usnjrnl_context& settings, uni::status_line& status,
                              const diagnostic_log& log);
