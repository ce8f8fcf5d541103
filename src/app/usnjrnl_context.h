// app/usnjrnl_context.h: everything that the command line asks of a run. Filled by the options, const afterwards.
#pragma once

#include "journal/reading_settings.h"
#include "output/layout_settings.h"

#include <string>

struct usnjrnl_context {
    uni::layout_settings layout;
    reading_settings reading;

    std::string results_path;  // empty: standard output
    std::string report_path;   // empty: no page
    std::string log_path;      // empty: the diagnostic log is off
    bool progress = true;
    bool profile = false;
    std::string signal_name;

    // With neither a layout nor a results file asked for the page is the whole of the output.
    [[nodiscard]] bool page_alone() const { return !report_path.empty() && !layout.named && results_path.empty(); }
};
