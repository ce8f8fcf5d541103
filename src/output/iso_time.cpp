#include "output/iso_time.h"

#include "base/filetime.h"

#include <chrono>
#include <cstddef>

namespace uni {
namespace {

// Digits from the last on, at a place that is known: the loop becomes a few plain stores.
template <std::size_t digits>
void put_number(char* to, std::uint64_t value) {
    for (std::size_t i = digits; i-- > 0; value /= 10) to[i] = static_cast<char>('0' + value % 10);
}

}  // namespace

std::string_view iso_time::text_of(std::uint64_t filetime) {
    constexpr std::uint64_t seconds_per_day = 86'400;
    const std::uint64_t second = filetime / ticks_per_second;
    if (second != second_) {
        if (second / seconds_per_day != day_) put_date(second / seconds_per_day);
        const std::uint64_t of_day = second % seconds_per_day;
        put_number<2>(&text_[11], of_day / 3600);
        put_number<2>(&text_[14], of_day / 60 % 60);
        put_number<2>(&text_[17], of_day % 60);
        second_ = second;
    }
    put_number<7>(&text_[20], filetime % ticks_per_second);
    return {text_.data(), text_.size()};
}

void iso_time::put_date(std::uint64_t day) {
    using namespace std::chrono;
    const year_month_day date{sys_days{year{1601} / January / 1} + days{day}};
    put_number<4>(text_.data(), static_cast<std::uint64_t>(static_cast<int>(date.year())));
    put_number<2>(&text_[5], static_cast<unsigned>(date.month()));
    put_number<2>(&text_[8], static_cast<unsigned>(date.day()));
    day_ = day;
}

}  // namespace uni
