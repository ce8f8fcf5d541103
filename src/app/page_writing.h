// app/page_writing.h: the page of -report, from what a run gathered.
#pragma once

#include "app/run_console.h"
#include "app/source_pull.h"
#include "app/usnjrnl_context.h"

#include <string>
#include <string_view>

[[nodiscard]] std::string make_page(std::string_view run_header, const usnjrnl_context& settings,
                                    const pulled_source& source, const journal_intake& intake,
                                    const run_console& console);
