// app/main.cpp: the table of contents of a run.

#include "app/argument_hints.h"
#include "app/argument_list.h"
#include "app/options.h"
#include "app/run_driver.h"
#include "app/run_guard.h"
#include "app/run_header.h"
#include "app/source_choice.h"
#include "app/usage.h"
#include "app/usnjrnl_context.h"
#include "base/diagnostic_log.h"
#include "output/layouts.h"
#include "output/output_file.h"
#include "output/output_stream.h"
#include "output/status_line.h"
#include "platform/platform.h"

#include <chrono>
#include <cstdint>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace {

constexpr int exit_ok = 0;
constexpr int exit_failed = -1;

std::uint64_t filetime_now() {
    using hundred_nanoseconds = std::chrono::duration<std::int64_t, std::ratio<1, 10'000'000>>;
    constexpr std::int64_t filetime_of_1970 = 116'444'736'000'000'000;
    const auto since_1970 = std::chrono::system_clock::now().time_since_epoch();
    return static_cast<std::uint64_t>(std::chrono::duration_cast<hundred_nanoseconds>(since_1970).count() +
                                      filetime_of_1970);
}

// A file whose folder was removed takes every byte and is gone when it is closed.
bool is_still_there(const std::string& stored_path) {
    const std::string path = platform::native_results_path(stored_path);
    return path.empty() || platform::kind_of_target(path) != platform::path_kind::absent;
}

// Makes the file when all of the page is there; what stood in the way was told.
bool write_page(std::string_view page, const usnjrnl_context& settings, uni::status_line& status) {
    const std::string path = platform::native_results_path(settings.report_path);
    const auto identity = platform::identity_of(path);
    const std::string results = platform::native_results_path(settings.results_path);
    const bool is_results = identity && !results.empty() && identity == platform::identity_of(results);
    uni::output_file file;
    if (is_results || !file.open(path, true, true)) {
        status.report_problem("prob opening results file: %s for writing\n", settings.report_path.c_str());
        return false;
    }
    (void)file.append_text(page);
    file.close();
    if (!file.failed() && is_still_there(settings.report_path)) return true;
    status.report_problem("prob writing results file: %s\n", settings.report_path.c_str());
    return false;
}

bool open_results(uni::output_file& results, const usnjrnl_context& settings, uni::status_line& status) {
    const bool bare = uni::row_of(settings.layout.chosen).bare;
    if (settings.results_path.empty()) {
        results.use_standard_output(bare);
    } else if (!results.open(platform::native_results_path(settings.results_path), bare, true)) {
        status.report_problem("prob opening results file: %s for writing\n", settings.results_path.c_str());
        return false;
    }
    return results.make_stream() != nullptr;
}

// Closes the results and tells when a byte of them was not taken.
bool results_are_whole(uni::output_file& results, const usnjrnl_context& settings, uni::status_line& status) {
    results.close();
    if (!results.failed() && is_still_there(settings.results_path)) return true;
    if (settings.results_path.empty()) {
        status.report_problem("prob writing to standard output%s\n",
                              results.reader_closed() ? ", its reader closed it" : "");
    } else {
        status.report_problem("prob writing results file: %s\n", settings.results_path.c_str());
    }
    return false;
}

bool hand_on(uni::output_file& results, std::string_view text) {
    std::ostream& out = *results.stream();
    out.write(text.data(), static_cast<std::streamsize>(text.size()));
    out.flush();
    return !results.failed();
}

// The frame of the layout around the records. It ends also where there are none, or not all. With -complete what became
// of all records is told in the document, where it can hold that, and to the user.
bool write_run(argument_list& arguments, const std::string& header, uni::output_file& results,
               const usnjrnl_context& settings, const run_console& console) {
    const uni::layout_row& layout = uni::row_of(settings.layout.chosen);
    const bool with_rows = !settings.page_alone();
    const auto begin = [&](const journal_source& source) {
        const std::string program = banner();
        const std::string_view image = source.kind == source_kind::image ? std::string_view(source.path) : "";
        return hand_on(results, layout.beginning(settings.layout, {.run_header = header,
                                                                   .banner = program,
                                                                   .image_path = image,
                                                                   .journal_path = source.journal_path}));
    };
    if (with_rows && layout.begins_at_once && !begin({})) return false;
    std::optional<opened_source> opened = choose_source(arguments, settings, console);
    if (!opened || (with_rows && !layout.begins_at_once && !begin(opened->source))) return false;
    record_account account;
    run_outputs to{.records = with_rows ? results.stream() : nullptr, .run_header = header};
    if (!settings.report_path.empty()) {
        to.page = [&](std::string_view page) { return write_page(page, settings, console.status); };
    }
    const bool done = run_driver(to, settings, std::move(*opened), console, account);
    std::string end(layout.end);
    if (settings.reading.complete) {
        const std::string text = account_text(account);
        if (layout.comment != nullptr) end.insert(0, layout.comment(text));
        if (console.shown.wanted()) console.status.clear_status();
        console.status.say(text + "\n");
    }
    return (!with_rows || hand_on(results, end)) && done;
}

int run(argument_list& arguments, uni::status_line& status) {
    const std::string header = compose_run_header(arguments, filetime_now());
    diagnostic_log log;
    run_guard guard(status, log);
    tell_argument_hints(arguments, status);
    usnjrnl_context settings;
    uni::output_file results;
    if (!parse_options(arguments, settings, status, log)) {
        results.use_standard_output();
        const bool told = !uni::row_of(settings.layout.chosen).bare && !settings.page_alone();
        if (told && results.make_stream() != nullptr) (void)hand_on(results, header);
        (void)results_are_whole(results, usnjrnl_context{}, status);
        return exit_failed;
    }
    guard.follow(settings);
    if (!open_results(results, settings, status)) return exit_failed;

    const bool done = write_run(arguments, header, results, settings, guard.console());
    return results_are_whole(results, settings, status) && done ? exit_ok : exit_failed;
}

// For a run whose whole result is a text.
int answer(const std::string& text, uni::status_line& status) {
    uni::output_file output;
    output.use_standard_output();
    (void)output.append_text(text);
    return results_are_whole(output, usnjrnl_context{}, status) ? exit_ok : exit_failed;
}

}  // namespace

int main(int argc, char** argv) {
    uni::status_line status;
    try {
        argument_list arguments = platform::start_process(argc, argv);
        if (help_is_the_output(arguments)) return answer(usage_text(), status);
        if (help_wanted(arguments)) {
            print_usage(status);
            return exit_ok;
        }
        if (version_wanted(arguments)) return answer(banner() + "\n", status);
        return run(arguments, status);
    } catch (const std::bad_alloc&) {
        status.report_problem("prob out of memory, aborting\n");
        return exit_failed;
    }
}
