#include "output/status_line.h"

#include "platform/platform.h"

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdio>
#include <string>

namespace uni {
namespace {

constexpr std::string_view clear_line = "\x1b[2K\r    \r";

std::string redrawn(std::string_view text) { return std::string(clear_line).append(text).append("\r"); }

}  // namespace

status_line::status_line() : sink_([](std::string_view text) { platform::write_error(text); }) {}

void status_line::show_status(std::string_view text) {
    constexpr std::size_t most_bytes = 60;
    std::string line = redrawn(text.substr(0, most_bytes));
    std::erase(line, '\n');
    sink_(line);
}

void status_line::report_problem(const char* format, ...) {
    constexpr std::size_t most_characters = 4096;
    clear_status();
    std::array<char, most_characters> text{};  // one of them is the end mark
    std::va_list arguments;
    va_start(arguments, format);
    const int needed = std::vsnprintf(text.data(), text.size(), format, arguments);
    va_end(arguments);
    if (needed < 0 || static_cast<std::size_t>(needed) > most_characters) return;
    std::string message(text.data(), std::min(static_cast<std::size_t>(needed), text.size() - 1));
    if (static_cast<std::size_t>(needed) == most_characters) message.replace(message.size() - 4, 4, "...\n");
    sink_(message);
}

void status_line::clear_status() { sink_(clear_line); }

void status_line::say(std::string_view text) { sink_(text); }

}  // namespace uni
