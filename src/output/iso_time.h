// output/iso_time.h: a FILETIME as ISO 8601 has it, in UTC with all seven digits: 2022-03-10T21:12:46.3921801+00:00.
// Times come in order and many share a second, so the calendar is worked out once a day and the clock once a second.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace uni {

// The first FILETIME behind the year 9999, which has no such text.
inline constexpr std::uint64_t end_of_iso_times = 2'650'467'744'000'000'000;

class iso_time {
public:
    // Of a time before that end. Holds until the next call.
    [[nodiscard]] std::string_view text_of(std::uint64_t filetime);

private:
    void put_date(std::uint64_t day);

    std::uint64_t second_ = 0;  // of the text, since 1601
    std::uint64_t day_ = 0;
    std::array<char, 33> text_{'1', '6', '0', '1', '-', '0', '1', '-', '0', '1', 'T', '0', '0', ':', '0', '0', ':',
                               '0', '0', '.', '0', '0', '0', '0', '0', '0', '0', '+', '0', '0', ':', '0', '0'};
};

// Microseconds since 1970, rounded down also before that. Of a time before that end.
[[nodiscard]] constexpr std::int64_t microseconds_since_1970(std::uint64_t filetime) {
    constexpr std::int64_t filetime_of_1970 = 116'444'736'000'000'000;
    const std::int64_t ticks = static_cast<std::int64_t>(filetime) - filetime_of_1970;
    return ticks / 10 - (ticks % 10 < 0 ? 1 : 0);
}

}  // namespace uni
