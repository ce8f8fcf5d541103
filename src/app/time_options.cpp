#include "app/time_options.h"

#include "base/filetime.h"
#include "base/text.h"
#include "output/date_time.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cstdint>

namespace {

using three_numbers = std::array<unsigned, 3>;

bool read_number(std::string_view text, unsigned& number) {
    const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
    return result.ec == std::errc{} && result.ptr == text.data() + text.size();
}

bool read_three(std::string_view text, char separator, three_numbers& numbers) {
    const std::size_t first = text.find(separator);
    if (first == std::string_view::npos) return false;
    const std::size_t second = text.find(separator, first + 1);
    if (second == std::string_view::npos) return false;
    return read_number(text.substr(0, first), numbers[0]) &&
           read_number(text.substr(first + 1, second - first - 1), numbers[1]) &&
           read_number(text.substr(second + 1), numbers[2]);
}

bool days_since_1601(const three_numbers& date, std::uint64_t& days) {
    using namespace std::chrono;
    constexpr unsigned first_year = 1601;
    constexpr unsigned last_year = 30827;  // what a FILETIME can still hold
    if (date[0] < first_year || date[0] > last_year || date[1] > 12 || date[2] > 31) return false;
    const year_month_day day{year{static_cast<int>(date[0])}, month{date[1]}, std::chrono::day{date[2]}};
    if (!day.ok()) return false;
    const sys_days epoch{year{static_cast<int>(first_year)} / January / 1};
    days = static_cast<std::uint64_t>((sys_days{day} - epoch).count());
    return true;
}

// Takes digits of a fixed number off the front of a text.
bool take_number(std::string_view& text, std::size_t digits, unsigned& number) {
    if (text.size() < digits || !read_number(text.substr(0, digits), number)) return false;
    text.remove_prefix(digits);
    return true;
}

bool take(std::string_view& text, char wanted) {
    if (!text.starts_with(wanted)) return false;
    text.remove_prefix(1);
    return true;
}

// Takes all digits; the result is in units of a FILETIME, a part of one counts as a whole.
bool take_fraction(std::string_view& text, std::uint64_t& units) {
    const std::size_t digits = std::min(text.find_first_not_of("0123456789"), text.size());
    constexpr std::size_t most_digits = 7;
    for (std::size_t i = 0; i < most_digits; ++i) {
        units = units * 10 + (i < digits ? static_cast<unsigned>(text[i] - '0') : 0U);
    }
    const std::string_view finer = text.substr(0, digits).substr(std::min(digits, most_digits));
    if (finer.find_first_not_of('0') != std::string_view::npos) ++units;
    text.remove_prefix(digits);
    return digits != 0;
}

// Of the day, behind the "T".
bool take_clock(std::string_view& text, std::uint64_t& units) {
    unsigned hour = 0;
    unsigned minute = 0;
    unsigned second = 0;
    std::uint64_t fraction = 0;
    if (!take_number(text, 2, hour) || !take(text, ':') || !take_number(text, 2, minute)) return false;
    if (take(text, ':')) {
        if (!take_number(text, 2, second)) return false;
        if (take(text, '.') && !take_fraction(text, fraction)) return false;
    }
    if (hour > 23 || minute > 59 || second > 59) return false;
    units = ((hour * 60ULL + minute) * 60 + second) * ticks_per_second + fraction;
    return true;
}

}  // namespace

bool read_utc_time(std::string_view text, std::uint64_t& filetime) {
    constexpr std::uint64_t units_per_day = 86'400 * ticks_per_second;
    three_numbers date{};
    std::uint64_t days = 0;
    std::uint64_t units = 0;
    if (!take_number(text, 4, date[0]) || !take(text, '-') || !take_number(text, 2, date[1]) || !take(text, '-') ||
        !take_number(text, 2, date[2]) || !days_since_1601(date, days)) {
        return false;
    }
    if (take(text, 'T') && !take_clock(text, units)) return false;
    (void)take(text, 'Z');
    if (!text.empty()) return false;
    filetime = days * units_per_day + units;
    return true;
}

bool is_date_format(std::string_view value) {
    std::uint32_t flags = 0;
    return (value.size() == 8 || value.size() == 10) && uni::parse_time_formats(flags, lower_case(value), "", false);
}

bool is_time_format(std::string_view value) {
    const bool right_length = value.size() == 8 || (value.size() >= 12 && value.size() <= 18);
    return right_length && value.find(':') != std::string_view::npos;
}

window_text read_time_window(std::string_view value, std::string_view default_time, time_window& window) {
    const std::size_t blank = value.find(' ');
    const std::string_view date_text = value.substr(0, blank);
    std::string_view time_text = blank == std::string_view::npos ? std::string_view{} : value.substr(blank + 1);
    if (time_text.empty()) time_text = default_time;

    const std::size_t separator = date_text.find_first_of("/-");
    if (separator == std::string_view::npos) return window_text::malformed;

    three_numbers date{};
    three_numbers time{};
    std::uint64_t days = 0;
    if (!read_three(date_text, date_text[separator], date) || !days_since_1601(date, days)) return window_text::invalid;
    if (!read_three(time_text, ':', time) || time[0] > 23 || time[1] > 59 || time[2] > 59) return window_text::invalid;

    const std::uint64_t minutes = (days * 24 + time[0]) * 60 + time[1];
    const std::uint64_t seconds = minutes * 60 + time[2];
    window = {.valid = true, .filetime = seconds * ticks_per_second};
    return window_text::valid;
}
