#include "app/run_driver.h"

#include "app/source_pull.h"
#include "journal/journal_collection.h"
#include "output/record_writer.h"
#include "platform/platform.h"

#include <ostream>

bool run_driver(std::ostream& out, usnjrnl_context& settings, uni::status_line& status, const diagnostic_log& log) {
    journal_collection journal;
    settings.journal = &journal;
    settings.write_header = true;
    const bool found = pull_source(settings, status, log);
    settings.meter->wipe();
    // Between the rows of a table on the same terminal, a line about progress would only disturb.
    if (settings.results_path.empty() && platform::is_terminal(platform::standard_stream::output)) {
        settings.meter->redraw_with(nullptr);
    }
    const bool written = found && uni::write_records(out, settings, status);
    settings.journal = nullptr;
    return written;
}
