#include "app/run_driver.h"

#include "app/source_names.h"
#include "journal/journal_collection.h"
#include "journal/journal_file.h"
#include "output/record_writer.h"

#include <ostream>

namespace {

// Path columns without an MFT would call every file deleted, so they are left out and the user is told.
void drop_paths_without_mft(usnjrnl_context& settings, uni::status_line& status) {
    if (!settings.show_dir_path) return;
    settings.show_dir_path = false;
    if (settings.mft_file_path.empty()) {
        status.report_problem("prob no usable $MFT, paths not resolved\n");
    } else {
        status.report_problem("prob opening mft file: %s, paths not resolved\n", settings.mft_file_path.c_str());
    }
}

bool pull_source(usnjrnl_context& settings, uni::status_line& status) {
    if (settings.journal_path.empty()) return false;
    if (!read_extracted_journal(settings)) {
        if (is_volume_journal_path(settings.journal_path)) {
            status.report_problem("prob this build cannot read volumes yet, aborting\n");
        } else {
            status.report_problem("prob reading %s\n", settings.journal_path.c_str());
        }
    }
    drop_paths_without_mft(settings, status);
    return settings.journal->size() != 0;
}

}  // namespace

bool run_driver(std::ostream& out, usnjrnl_context& settings, uni::status_line& status) {
    journal_collection journal;
    settings.journal = &journal;
    settings.write_header = true;
    const bool written = pull_source(settings, status) && uni::write_records(out, settings, status);
    settings.journal = nullptr;
    return written;
}
