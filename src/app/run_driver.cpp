#include "app/run_driver.h"

#include "app/page_writing.h"
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

bool write_rows(const run_outputs& to, const usnjrnl_context& settings, const journal_intake& intake,
                const std::string& typed, const run_console& console, record_account& account) {
    // Between the rows of a table on the same terminal, a line about progress would only disturb.
    if (settings.results_path.empty() && platform::is_terminal(platform::standard_stream::output)) {
        console.shown.say_no_more_words();
    }
    return uni::write_records(*to.records, settings.layout, {.all = intake.records(), .source = typed}, console.meter,
                              console.shown, account);
}

}  // namespace

bool run_driver(const run_outputs& to, const usnjrnl_context& settings, opened_source source,
                const run_console& console, record_account& account) {
    journal_intake intake(console.meter, settings.reading.complete);
    const pulled_source left = pull_source(std::move(source), settings.reading, intake, console);
    console.shown.wipe();
    account = intake.account();
    tell_reduced(intake.reduced_records(), settings, console.status);
    const std::size_t records = intake.records().size();
    if (records == 0 && to.page == nullptr) return false;
    bool written = records != 0;
    if (to.records == nullptr) {
        account.count(record_fate::on_page, records);
    } else if (written) {
        written = write_rows(to, settings, intake, left.typed, console, account);
    }
    const bool whole = to.page == nullptr || to.page(make_page(to.run_header, settings, left, intake, console));
    if (console.shown.wanted()) console.status.clear_status();
    if (settings.layout.unique && written && to.records != nullptr) {
        console.status.report_problem("records found again and left out: %llu\n",
                                      static_cast<unsigned long long>(account.of(record_fate::found_again)));
    }
    return written && whole;
}
