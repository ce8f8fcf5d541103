#include "app/run_driver.h"

#include "app/source_pull.h"
#include "output/layouts.h"
#include "platform/platform.h"

#include <string>
#include <utility>

bool run_driver(std::ostream& out, const usnjrnl_context& settings, opened_source source, const run_console& console) {
    journal_intake intake(console.meter);
    const std::string typed = source.source.typed;
    pull_source(std::move(source), settings.reading, intake, console);
    console.shown.wipe();
    if (intake.records().size() == 0) return false;
    // Between the rows of a table on the same terminal, a line about progress would only disturb.
    if (settings.results_path.empty() && platform::is_terminal(platform::standard_stream::output)) {
        console.shown.say_no_more_words();
    }
    const uni::write_outcome written = uni::write_records(
        out, settings.layout, {.all = intake.records(), .source = typed}, console.meter, console.shown);
    if (console.shown.wanted()) console.status.clear_status();
    if (settings.layout.unique && written.whole) {
        console.status.report_problem("records found again and left out: %llu\n",
                                      static_cast<unsigned long long>(written.repeats));
    }
    return written.whole;
}
