// app/run_console.h: what a run says while it goes on, and where: messages, the log, progress, seconds. The run guard
// owns all of it.
#pragma once

#include "base/diagnostic_log.h"
#include "base/progress.h"
#include "base/run_meter.h"
#include "output/status_line.h"

struct run_console {
    uni::status_line& status;
    const diagnostic_log& log;
    run_meter& meter;
    progress& shown;
};
