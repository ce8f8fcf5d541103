#include "app/run_guard.h"

#include "platform/platform.h"

#include <cstdio>

run_guard::run_guard(uni::status_line& status, const diagnostic_log& log)
    : status_(status), log_(log), console_mode_(platform::enable_terminal_sequences()) {}

run_guard::~run_guard() {
    platform::restore_console(console_mode_);
    if (progress_) status_.clear_status();
    if (timing_) tell_time();
    if (!signal_name_.empty()) platform::set_end_event(signal_name_);
}

void run_guard::follow(const cmd_params& settings) {
    progress_ = settings.progress;
    profile_ = settings.profile;
    timing_ = settings.profile || log_.enabled();
    signal_name_ = settings.signal_name;
    start_ = std::chrono::steady_clock::now();
}

void run_guard::tell_time() const {
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start_;
    char text[64];
    (void)std::snprintf(text, sizeof text, "%g secs", elapsed.count());
    log_.line(text);  // which adds the arrow to every line
    if (profile_) status_.say(std::string("->") + text + "\n");
}
