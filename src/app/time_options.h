// app/time_options.h: the values of the options about times: the two patterns, and the two limits of a time window.
#pragma once

#include "app/cmd_params.h"

#include <string>
#include <string_view>

// Whether a value may replace the default pattern.
[[nodiscard]] bool is_date_format(std::string_view value);
[[nodiscard]] bool is_time_format(std::string_view value);

enum class window_text { valid, invalid, malformed };

// Reads "year-month-day hour:minute:second" ("/" serves for "-"); without a time `default_time` counts. Malformed is a
// date without either separator; invalid is what names no date or time. `window` is written only when valid.
[[nodiscard]] window_text read_time_window(std::string_view value, std::string_view default_time, time_window& window);
