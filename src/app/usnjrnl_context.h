// app/usnjrnl_context.h: everything that the command line asks of a run. Filled by the options, const afterwards.
#pragma once

#include "journal/reading_settings.h"
#include "output/layout_settings.h"

#include <string>

struct usnjrnl_context {
    uni::layout_settings layout;
    reading_settings reading;

    std::string results_path;  // empty: standard output
    std::string log_path;      // empty: the diagnostic log is off
    bool progress = true;
    bool profile = false;
    std::string signal_name;
};
