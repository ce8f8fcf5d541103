// output/status_line.h: the one redrawn line on standard error, and the reports of problems there. Standard output
// never sees any of it. One object lives for the run; who may speak when (-quiet) is the caller's business.
#pragma once

#include <cstdint>
#include <functional>
#include <string_view>

// The checks of gcc must follow the C library's formats, not those of the Windows runtime, on every target.
#if defined(__clang__)
#define UNI_PRINTF_FORMAT [[gnu::format(printf, 2, 3)]]
#else
#define UNI_PRINTF_FORMAT [[gnu::format(gnu_printf, 2, 3)]]
#endif

namespace uni {

class status_line {
public:
    using sink = std::function<void(std::string_view)>;

    status_line();  // over standard error
    explicit status_line(sink to) : sink_(std::move(to)) {}

    // Redraws the line: at most 60 characters, line feeds taken out. The result is the number of characters shown.
    UNI_PRINTF_FORMAT int show_status(const char* format, ...);

    // "percent done: n", redrawn whenever `current` has passed another twentieth of `total`; otherwise nothing and 0.
    // The step is fixed by the first call, so one object serves one long task.
    int show_percent(std::uint64_t current, std::uint64_t total);

    // Clears the line, then prints the message, which brings its own line end. A message of exactly 4096 characters
    // loses its end to "...", a longer one is not printed at all. The result is the number of characters printed.
    UNI_PRINTF_FORMAT int report_problem(const char* format, ...);

    void clear_status();

    // Plain text, the line is left as it is.
    void say(std::string_view text);

private:
    sink sink_;
    bool percent_started_ = false;
    std::uint64_t percent_step_ = 0;
    std::uint64_t percent_threshold_ = 0;
};

}  // namespace uni
