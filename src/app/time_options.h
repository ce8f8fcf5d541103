// app/time_options.h: the values of the options about times: the two patterns, and the two limits of a time window.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

// Reads "2022-03-10", "2022-03-10T21:00", "2022-03-10T21:00:05" or with a fraction of the second, each with or without
// a "Z": a time in UTC, of the years 1601 to 9999, as a FILETIME; what is finer than that is rounded up, so that a
// limit keeps its meaning. False, and nothing is written, for any other text.
[[nodiscard]] bool read_utc_time(std::string_view text, std::uint64_t& filetime);

// Whether a value may replace the default pattern.
[[nodiscard]] bool is_date_format(std::string_view value);
[[nodiscard]] bool is_time_format(std::string_view value);

// A limit of -cmd_start_time or -cmd_stop_time. Nothing acts on these windows.
struct time_window {
    bool valid = false;
    std::uint64_t filetime = 0;
};

enum class window_text { valid, invalid, malformed };

// Reads "year-month-day hour:minute:second" ("/" serves for "-"); without a time `default_time` counts. Malformed is a
// date without either separator; invalid is what names no date or time. `window` is written only when valid.
[[nodiscard]] window_text read_time_window(std::string_view value, std::string_view default_time, time_window& window);
