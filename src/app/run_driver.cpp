#include "app/run_driver.h"

#include "app/source_pull.h"
#include "output/layouts.h"
#include "platform/platform.h"

#include <string>
#include <utility>

namespace {

// What the option would change is said where somebody sees it.
void tell_reduced(std::uint64_t records, const usnjrnl_context& settings, uni::status_line& status) {
    if (records == 0 || !settings.progress || !platform::is_terminal(platform::standard_stream::error)) return;
    status.report_problem("%llu records are left out or have a name cut short, -complete keeps them whole\n",
                          static_cast<unsigned long long>(records));
}

}  // namespace

bool run_driver(std::ostream& out, const usnjrnl_context& settings, opened_source source, const run_console& console,
                record_account& account) {
    journal_intake intake(console.meter, settings.reading.complete);
    const std::string typed = source.source.typed;
    pull_source(std::move(source), settings.reading, intake, console);
    console.shown.wipe();
    account = intake.account();
    tell_reduced(intake.reduced_records(), settings, console.status);
    if (intake.records().size() == 0) return false;
    // Between the rows of a table on the same terminal, a line about progress would only disturb.
    if (settings.results_path.empty() && platform::is_terminal(platform::standard_stream::output)) {
        console.shown.say_no_more_words();
    }
    const bool written = uni::write_records(out, settings.layout, {.all = intake.records(), .source = typed},
                                            console.meter, console.shown, account);
    if (console.shown.wanted()) console.status.clear_status();
    if (settings.layout.unique && written) {
        console.status.report_problem("records found again and left out: %llu\n",
                                      static_cast<unsigned long long>(account.of(record_fate::found_again)));
    }
    return written;
}
