// app/main.cpp: the table of contents of a run.

#include "app/argument_hints.h"
#include "app/argument_list.h"
#include "app/journal_options.h"
#include "app/run_driver.h"
#include "app/run_guard.h"
#include "app/run_header.h"
#include "app/source_choice.h"
#include "app/usage.h"
#include "app/usnjrnl_context.h"
#include "base/diagnostic_log.h"
#include "output/output_file.h"
#include "output/output_stream.h"
#include "output/status_line.h"
#include "output/xml_document.h"
#include "platform/platform.h"

#include <chrono>
#include <cstdint>
#include <new>
#include <string>

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

bool open_results(uni::output_file& results, const cmd_params& settings, uni::status_line& status) {
    if (settings.results_path.empty()) {
        results.use_standard_output();
    } else if (!results.open(platform::native_results_path(settings.results_path), false, true)) {
        status.report_problem("prob opening results file: %s for writing\n", settings.results_path.c_str());
        return false;
    }
    return results.make_stream() != nullptr;
}

// A file whose folder was removed takes every byte and is gone when it is closed.
bool is_still_there(const cmd_params& settings) {
    const std::string path = platform::native_results_path(settings.results_path);
    return path.empty() || platform::kind_of_target(path) != platform::path_kind::absent;
}

// Closes the results and tells when a byte of them was not taken.
bool results_are_whole(uni::output_file& results, const cmd_params& settings, uni::status_line& status) {
    results.close();
    if (!results.failed() && is_still_there(settings)) return true;
    if (settings.results_path.empty()) {
        status.report_problem("prob writing to standard output%s\n",
                              results.reader_closed() ? ", its reader closed it" : "");
    } else {
        status.report_problem("prob writing results file: %s\n", settings.results_path.c_str());
    }
    return false;
}

bool write_header(uni::output_file& results, const std::string& header) {
    std::ostream& out = *results.stream();
    out.write(header.data(), static_cast<std::streamsize>(header.size()));
    out.flush();
    return !results.failed();
}

// An XML document is begun only when there is a source to read; its frame takes the header in.
bool write_run(argument_list& arguments, const std::string& header, uni::output_file& results,
               usnjrnl_context& settings, uni::status_line& status, const diagnostic_log& log) {
    const auto drive = [&] { return run_driver(*results.stream(), settings, status, log); };
    if (!settings.xml) {
        return write_header(results, header) && choose_source(arguments, settings, status, log) && drive();
    }
    return choose_source(arguments, settings, status, log) &&
           uni::write_xml_document(*results.stream(), settings, header, drive);
}

int run(argument_list& arguments, uni::status_line& status) {
    const std::string header = compose_run_header(arguments, filetime_now());
    diagnostic_log log;
    run_guard guard(status, log);
    tell_argument_hints(arguments, status);
    usnjrnl_context settings;
    uni::output_file results;
    if (!parse_journal_options(arguments, std::string(version_text), settings, status, log)) {
        results.use_standard_output();
        if (results.make_stream() != nullptr) (void)write_header(results, header);
        (void)results_are_whole(results, cmd_params{}, status);
        return exit_failed;
    }
    settings.banner = banner();
    guard.follow(settings);
    if (!open_results(results, settings, status)) return exit_failed;

    const bool done = write_run(arguments, header, results, settings, status, log);
    return results_are_whole(results, settings, status) && done ? exit_ok : exit_failed;
}

// For a run whose whole result is a text.
int answer(const std::string& text, uni::status_line& status) {
    uni::output_file output;
    output.use_standard_output();
    (void)output.append_text(text);
    return results_are_whole(output, cmd_params{}, status) ? exit_ok : exit_failed;
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
