// output/status_line.h: the one redrawn line on standard error, and the reports of problems there. Standard output
// never sees any of it. One object lives for the run; who may speak when (-quiet) is the caller's business.
#pragma once

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

    // Redraws the line: at most 60 bytes, line feeds taken out.
    void show_status(std::string_view text);

    // Clears the line, then prints the message, which brings its own line end. A message of exactly 4096 characters
    // loses its end to "...", a longer one is not printed at all.
    UNI_PRINTF_FORMAT void report_problem(const char* format, ...);

    void clear_status();

    // Plain text, the line is left as it is.
    void say(std::string_view text);

private:
    sink sink_;
};

}  // namespace uni
