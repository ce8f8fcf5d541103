// app/run_driver.h: one run from the chosen source to the written records.
#pragma once

#include "app/run_console.h"
#include "app/source_choice.h"
#include "app/usnjrnl_context.h"
#include "journal/account.h"

#include <iosfwd>

// Pulls the source, then writes its records to `out`, which the account then tells of. True when there were any and
// `out` took them.
[[nodiscard]] bool run_driver(std::ostream& out, const usnjrnl_context& settings, opened_source source,
                              const run_console& console, record_account& account);
