#include "app/run_driver.h"

#include "app/source_pull.h"
#include "journal/journal_collection.h"
#include "output/record_writer.h"

#include <ostream>

bool run_driver(std::ostream& out, usnjrnl_context& settings, uni::status_line& status, const diagnostic_log& log) {
    journal_collection journal;
    settings.journal = &journal;
    settings.write_header = true;
    const bool written = pull_source(settings, status, log) && uni::write_records(out, settings, status);
    settings.journal = nullptr;
    return written;
}
