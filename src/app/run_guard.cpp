#include "app/run_guard.h"

#include "platform/platform.h"

#include <cstdio>

run_guard::run_guard(uni::status_line& status, const diagnostic_log& log)
    : status_(status), log_(log), console_mode_(platform::enable_terminal_sequences()) {}

run_guard::~run_guard() {
    platform::restore_console(console_mode_);
    if (shown_.wanted()) status_.clear_status();
    if (timing_) tell_time();
    if (!signal_name_.empty()) platform::set_end_event(signal_name_);
}

void run_guard::follow(const usnjrnl_context& settings) {
    profile_ = settings.profile;
    timing_ = settings.profile || log_.enabled();
    signal_name_ = settings.signal_name;
    if (profile_) meter_.measure();
    if (settings.progress) {
        const auto show = [&status = status_](std::string_view line) { status.show_status(line); };
        const bool watched = platform::is_terminal(platform::standard_stream::error);
        shown_.show_with(show, watched ? progress::sink(show) : nullptr);
    }
    start_ = std::chrono::steady_clock::now();
}

void run_guard::tell_time() const {
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start_;
    char text[64];
    (void)std::snprintf(text, sizeof text, "%g secs", elapsed.count());
    tell(text);
    for (const std::string& line : meter_.lines()) tell(line);
}

// The log adds the arrow to every line.
void run_guard::tell(const std::string& line) const {
    log_.line(line);
    if (profile_) status_.say("->" + line + "\n");
}
