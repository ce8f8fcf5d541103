// base/format_text.h: a text from a printf format, for messages and log lines; never on the path of a record.
#pragma once

#include <string>

[[gnu::format(printf, 1, 2)]] [[nodiscard]] std::string format_text(const char* format, ...);
