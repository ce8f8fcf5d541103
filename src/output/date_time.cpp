#include "output/date_time.h"

#include "base/filetime.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace uni {
namespace {

constexpr std::uint64_t unix_epoch = 11'644'473'600;        // second 0 of 1970, in seconds since 1601
constexpr std::uint64_t last_unix_second = 32'535'215'999;  // 3000-12-31 23:59:59
constexpr std::uint64_t seconds_per_day = 86'400;

constexpr std::array<std::string_view, 13> month_names = {"",    "Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                          "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

// What gmtime takes, and not the first second of 1970. An instant before that wraps to a huge number.
constexpr bool is_usual(std::uint64_t second) {
    return second - unix_epoch != 0 && second - unix_epoch <= last_unix_second;
}

constexpr bool is_valid(std::uint64_t filetime, time_range range) {
    return range == time_range::any ? filetime != 0 : is_usual(filetime / ticks_per_second);
}

constexpr bool is_leap(std::uint64_t year) { return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0); }

constexpr std::uint64_t days_in_month(std::uint64_t year, std::uint64_t month) {
    constexpr std::array<std::uint64_t, 13> days = {0, 31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return days[month] + (month == 2 && is_leap(year) ? 1 : 0);
}

// 1601 begins a cycle of 400 years, so days fall into whole cycles, centuries, four years and years. The last day of a
// leap year that ends its group would open a fifth: hence the limits of 3.
void set_date(date_time_parts& parts, std::uint64_t days) {
    const std::uint64_t cycles = days / 146'097;
    days %= 146'097;
    const std::uint64_t centuries = std::min<std::uint64_t>(days / 36'524, 3);
    days -= centuries * 36'524;
    const std::uint64_t fours = days / 1'461;
    days %= 1'461;
    const std::uint64_t years = std::min<std::uint64_t>(days / 365, 3);
    days -= years * 365;

    const std::uint64_t year = 1601 + 400 * cycles + 100 * centuries + 4 * fours + years;
    std::uint64_t month = 1;
    for (; days >= days_in_month(year, month); ++month) days -= days_in_month(year, month);
    parts.year = static_cast<std::uint16_t>(year);
    parts.month = static_cast<std::uint16_t>(month);
    parts.day = static_cast<std::uint16_t>(days + 1);
}

// Decimal, zero-filled; digits above `width` are dropped.
void append_digits(std::string& out, std::uint64_t value, std::size_t width) {
    const std::size_t begin = out.size();
    out.append(width, '0');
    for (std::size_t at = out.size(); at > begin; value /= 10) out[--at] = static_cast<char>('0' + value % 10);
}

void append_date(std::string& out, const date_time_parts& parts, std::uint32_t flags) {
    const bool named = (flags & time_format::month_name) != 0;
    const auto separator = static_cast<char>(flags & time_format::separator_mask);
    const auto day = [&] { append_digits(out, parts.day, 2); };
    const auto year = [&] {
        const std::size_t all = parts.year < 10'000 ? 4 : 5;
        append_digits(out, parts.year, (flags & time_format::year_four_digits) != 0 ? all : 2);
    };
    const auto month = [&] {
        if (named) {
            out += month_name(parts.month);
        } else {
            append_digits(out, parts.month, 2);
        }
    };
    const auto three = [&](auto first, auto second, auto third) {
        first();
        if (separator != 0) out += separator;
        second();
        if (separator != 0) out += separator;
        third();
    };
    if ((flags & time_format::day_month_year) != 0) {
        three(day, month, year);
    } else if ((flags & time_format::month_day_year) != 0) {
        three(month, day, year);
    } else if ((flags & time_format::year_month_day) != 0 && !named) {  // with a month's name the text stays empty
        three(year, month, day);
    }
}

using clock_text = std::array<char, 18>;  // hh:mm:ss.nnnnnnnnn

constexpr auto two_digits = [] {
    std::array<char, 200> pairs{};
    for (std::size_t value = 0; value < 100; ++value) {
        pairs[2 * value] = static_cast<char>('0' + value / 10);
        pairs[2 * value + 1] = static_cast<char>('0' + value % 10);
    }
    return pairs;
}();

void put_two(char* to, std::uint64_t value) { std::memcpy(to, two_digits.data() + 2 * value, 2); }

void put_clock(clock_text& to, std::uint64_t second_of_day) {
    put_two(to.data(), second_of_day / 3600);
    to[2] = ':';
    put_two(to.data() + 3, second_of_day / 60 % 60);
    to[5] = ':';
    put_two(to.data() + 6, second_of_day % 60);
    to[8] = '.';
}

// Nine digits; a shorter fraction is their beginning, as fractions are truncated and never rounded.
void put_fraction(clock_text& to, std::uint64_t units) {
    put_two(to.data() + 9, units / 100'000);
    put_two(to.data() + 11, units / 1'000 % 100);
    put_two(to.data() + 13, units / 10 % 100);
    put_two(to.data() + 15, units % 10 * 10);
    to[17] = '0';
}

std::size_t clock_length(std::uint32_t flags) {
    const std::size_t digits =
        std::min<std::size_t>((flags >> time_format::fraction_shift) & time_format::fraction_mask, 9);
    return digits == 0 ? 8 : 9 + digits;
}

// Where the field stands in the pattern, by its longer name when that is there.
std::size_t place_of(std::string_view pattern, std::string_view longer, std::string_view shorter) {
    const std::size_t at = pattern.find(longer);
    return at != std::string_view::npos ? at : pattern.find(shorter);
}

bool parse_date_format(std::uint32_t& flags, std::string_view pattern) {
    const auto holds = [pattern](std::string_view text) { return pattern.find(text) != std::string_view::npos; };
    for (const char separator : {'/', '-', ' '}) {
        if (!holds({&separator, 1})) continue;
        flags |= static_cast<unsigned char>(separator);
        break;
    }
    if (!holds("mm")) return false;
    flags |= holds("mmm") ? time_format::month_name : time_format::month_number;
    if (!holds("yy")) return false;
    flags |= holds("yyyy") ? time_format::year_four_digits : time_format::year_two_digits;
    if (holds(",")) flags |= time_format::comma;

    if (!holds("dd")) return false;
    const std::size_t month = place_of(pattern, "mmm", "mm");
    const std::size_t day = pattern.find("dd");
    const std::size_t year = place_of(pattern, "yyyy", "yy");
    if (day < month && month < year) {
        flags |= time_format::day_month_year;
    } else if (month < day && day < year) {
        flags |= time_format::month_day_year;
    } else if (year < month && month < day) {
        flags |= time_format::year_month_day;
    } else {
        return false;
    }
    return true;
}

}  // namespace

bool set_filetime(date_time_parts& parts, std::uint64_t filetime, time_range range) {
    parts = date_time_parts{};
    parts.filetime = filetime;
    if (!is_valid(filetime, range)) return false;
    set_date(parts, filetime / ticks_per_second / seconds_per_day);
    parts.valid = true;
    return true;
}

bool parse_time_formats(std::uint32_t& flags, std::string_view date_pattern, std::string_view time_pattern,
                        bool paired) {
    flags = paired ? time_format::paired : 0;
    if (!date_pattern.empty() && !parse_date_format(flags, date_pattern)) return false;
    const std::size_t fraction = time_pattern.find("xxx");
    if (fraction != std::string_view::npos) {
        const std::size_t digits = std::min<std::size_t>(time_pattern.rfind('x') - fraction + 1, 9);
        flags |= static_cast<std::uint32_t>(digits) << time_format::fraction_shift;
    }
    return true;
}

bool format_date_time(std::string& date_text, std::string& time_text, const date_time_parts& parts,
                      std::uint32_t flags) {
    date_text.clear();
    time_text.clear();
    if (!parts.valid) return false;
    const std::uint32_t used = flags != 0 ? flags : time_format::of_default_patterns;
    append_date(date_text, parts, used);
    clock_text clock{};
    put_clock(clock, parts.filetime / ticks_per_second % seconds_per_day);
    put_fraction(clock, parts.filetime % ticks_per_second);
    time_text.assign(clock.data(), clock_length(used));
    return flags != 0;
}

std::string_view month_name(unsigned month) {
    return month < month_names.size() ? month_names[month] : std::string_view();
}

time_formatter::time_formatter(std::uint32_t flags, time_range range)
    : flags_(flags != 0 ? flags : time_format::of_default_patterns),
      range_(range),
      full_length_(clock_length(flags_)) {}

bool time_formatter::format_new(std::uint64_t filetime) {
    filetime_ = filetime;
    time_length_ = 0;
    const std::uint64_t second = filetime / ticks_per_second;
    if (!is_valid(filetime, range_)) return false;
    if (second / seconds_per_day != day_) {
        date_time_parts parts;
        (void)set_filetime(parts, filetime, range_);
        date_.clear();
        append_date(date_, parts, flags_);
        day_ = second / seconds_per_day;
    }
    if (second != second_) {
        put_clock(clock_, second % seconds_per_day);
        second_ = second;
    }
    put_fraction(clock_, filetime % ticks_per_second);
    time_length_ = full_length_;
    return true;
}

}  // namespace uni
