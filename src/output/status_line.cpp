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

int status_line::show_status(const char* format, ...) {
    constexpr std::size_t most_characters = 60;
    std::array<char, 255> text{};
    std::va_list arguments;
    va_start(arguments, format);
    const int needed = std::vsnprintf(text.data(), text.size(), format, arguments);
    va_end(arguments);
    if (needed < 0) return 0;
    const std::size_t shown = std::min(static_cast<std::size_t>(needed), most_characters);
    std::string line = redrawn({text.data(), shown});
    std::erase(line, '\n');
    sink_(line);
    return static_cast<int>(shown);
}

int status_line::show_percent(std::uint64_t current, std::uint64_t total) {
    if (total == 0) return 0;
    if (!percent_started_) {
        percent_started_ = true;
        percent_step_ = static_cast<std::uint64_t>(static_cast<double>(total) * 0.05);
        percent_threshold_ = percent_step_;
    }
    if (current < percent_threshold_) return 0;
    percent_threshold_ += percent_step_;
    const double percent = static_cast<double>(current) / static_cast<double>(total) * 100;
    const std::string text =
        "percent done: " + std::to_string(static_cast<std::uint64_t>(percent));  // under 40 characters
    sink_(redrawn(text));
    return static_cast<int>(text.size());
}

int status_line::report_problem(const char* format, ...) {
    constexpr std::size_t most_characters = 4096;
    clear_status();
    std::array<char, most_characters> text{};  // one of them is the end mark
    std::va_list arguments;
    va_start(arguments, format);
    const int needed = std::vsnprintf(text.data(), text.size(), format, arguments);
    va_end(arguments);
    if (needed < 0 || static_cast<std::size_t>(needed) > most_characters) return 0;
    std::string message(text.data(), std::min(static_cast<std::size_t>(needed), text.size() - 1));
    if (static_cast<std::size_t>(needed) == most_characters) message.replace(message.size() - 4, 4, "...\n");
    sink_(message);
    return static_cast<int>(message.size());
}

void status_line::clear_status() { sink_(clear_line); }

void status_line::say(std::string_view text) { sink_(text); }

}  // namespace uni
