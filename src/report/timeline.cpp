#include "report/timeline.h"

#include "base/filetime.h"

#include <algorithm>

namespace report {

std::uint64_t width_of_bars(const time_span& over) {
    constexpr std::uint64_t second = ticks_per_second;
    constexpr std::uint64_t minute = 60 * second;
    constexpr std::uint64_t hour = 60 * minute;
    constexpr std::uint64_t day = 24 * hour;
    constexpr std::uint64_t year = 365 * day;
    constexpr std::array widths{second,     2 * second, 5 * second,  10 * second, 15 * second, 30 * second, minute,
                                2 * minute, 5 * minute, 10 * minute, 15 * minute, 30 * minute, hour,        2 * hour,
                                3 * hour,   6 * hour,   12 * hour,   day,         2 * day,     7 * day,     14 * day,
                                28 * day,   91 * day,   182 * day,   year};
    const auto fits = [&](std::uint64_t width) { return over.last / width - over.first / width < most_bars; };
    const auto found = std::ranges::find_if(widths, fits);
    if (found != widths.end()) return *found;
    std::uint64_t width = year;  // no clock goes so far, but bytes do
    while (!fits(width)) width *= 2;
    return width;
}

bar_chart::bar_chart(const time_span& over)
    : over_(over),
      width_(width_of_bars(over)),
      begin_(over.first / width_ * width_),
      bars_(static_cast<std::size_t>(over.last / width_ - over.first / width_ + 1)),
      bar_end_(begin_ + width_) {}

void day_hours::add_day(std::uint64_t begin) {
    days_.push_back({.begin = begin, .hours = {}});
    if (days_.size() <= most_days) return;
    days_.pop_front();
    ++left_out_;
}

}  // namespace report
