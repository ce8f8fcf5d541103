// app/run_driver.h: one run from the chosen source to the written records and the page.
#pragma once

#include "app/run_console.h"
#include "app/source_choice.h"
#include "app/usnjrnl_context.h"
#include "journal/account.h"

#include <functional>
#include <iosfwd>
#include <string_view>

// Where a run writes to.
struct run_outputs {
    std::ostream* records = nullptr;                       // null: the page is all that is wanted
    std::function<bool(std::string_view)> page = nullptr;  // takes it whole; false when it did not. Null: no page
    std::string_view run_header;                           // that the page tells
};

// Pulls the source, then writes its records and the page; the account tells of the records. True when there were any
// and all of it was taken.
[[nodiscard]] bool run_driver(const run_outputs& to, const usnjrnl_context& settings, opened_source source,
                              const run_console& console, record_account& account);
