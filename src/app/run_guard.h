// app/run_guard.h: what has to happen at the end of every run, whichever way it ends: the console gets its mode back,
// the status line is cleared, the time is told, the end-of-run event is set.
#pragma once

#include "app/run_console.h"
#include "app/usnjrnl_context.h"

#include <chrono>
#include <cstdint>
#include <string>

class run_guard {
public:
    // Lets the console obey escape sequences. Both must outlive the guard.
    run_guard(uni::status_line& status, const diagnostic_log& log);
    ~run_guard();
    run_guard(const run_guard&) = delete;
    run_guard& operator=(const run_guard&) = delete;

    // From here on the guard acts as the options say; a run whose options were refused ends without a word.
    void follow(const usnjrnl_context& settings);

    // Holds as long as the guard.
    [[nodiscard]] run_console console() { return {status_, log_, meter_, shown_}; }

private:
    void tell_time() const;
    void tell(const std::string& line) const;

    uni::status_line& status_;
    const diagnostic_log& log_;
    run_meter meter_;
    progress shown_;
    std::uint32_t console_mode_;
    std::chrono::steady_clock::time_point start_;
    bool timing_ = false;
    bool profile_ = false;
    std::string signal_name_;
};
