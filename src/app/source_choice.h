// app/source_choice.h: which source the run reads, and whether it may.
#pragma once

#include "app/argument_list.h"
#include "app/usnjrnl_context.h"
#include "base/diagnostic_log.h"
#include "output/status_line.h"

// Takes the source options; the first present of -partition, -vss, -file and -image wins and fills the paths and the
// kind of source. False when the run must end; the reason was told.
[[nodiscard]] bool choose_source(argument_list& arguments, usnjrnl_context& settings, uni::status_line& status,
                                 const diagnostic_log& log);
