// app/source_pull.h: the chosen source read into the run's collection, and what the user is told when that fails.
#pragma once

#include "app/usnjrnl_context.h"
#include "base/diagnostic_log.h"
#include "output/status_line.h"

// True when the collection holds records at the end. Every failure was told; whatever could be read was read.
[[nodiscard]] bool pull_source(usnjrnl_context& run, uni::status_line& status, const diagnostic_log& log);
