#include "app/time_options.h"

#include "base/text.h"
#include "output/date_time.h"

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

}  // namespace

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

    constexpr std::uint64_t units_per_second = 10'000'000;
    const std::uint64_t minutes = (days * 24 + time[0]) * 60 + time[1];
    const std::uint64_t seconds = minutes * 60 + time[2];
    window = {.valid = true, .filetime = seconds * units_per_second};
    return window_text::valid;
}
