// output/date_time.h: a FILETIME (100-nanosecond units since 1601-01-01 UTC) as texts, in UTC. The patterns of
// -dateformat and -timeformat become one word of flags once per run; the writers format with that word.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace uni {

// The word of time format flags. Bits 0-7 hold the date separator, 0 when the fields stand without one.
namespace time_format {
inline constexpr std::uint32_t separator_mask = 0xFF;
inline constexpr std::uint32_t month_name = 0x100;
inline constexpr std::uint32_t month_number = 0x200;
inline constexpr std::uint32_t year_four_digits = 0x400;
inline constexpr std::uint32_t year_two_digits = 0x800;
inline constexpr std::uint32_t comma = 0x1000;  // recorded, without effect
inline constexpr std::uint32_t day_month_year = 0x2000;
inline constexpr std::uint32_t month_day_year = 0x4000;
inline constexpr std::uint32_t year_month_day = 0x8000;
inline constexpr std::uint32_t paired = 0x10000;
inline constexpr std::uint32_t fraction_shift = 17;  // four bits: digits after the seconds, 0 to 9
inline constexpr std::uint32_t fraction_mask = 0xF;
inline constexpr std::uint32_t of_default_patterns =
    '-' | month_number | year_four_digits | year_month_day | (3U << fraction_shift);
}  // namespace time_format

struct date_time_parts {
    std::uint64_t filetime = 0;
    std::uint16_t year = 0;
    std::uint16_t month = 0;  // 1 to 12
    std::uint16_t day = 0;
    bool valid = false;
};

// Which times are valid: those from the second second of 1970 to the end of the year 3000, or all but 0.
enum class time_range : std::uint8_t { usual, any };

// False, and the parts not valid, outside the range.
[[nodiscard]] bool set_filetime(date_time_parts& parts, std::uint64_t filetime, time_range range = time_range::usual);

// False when the date pattern (lower case) is unusable; `flags` then keeps the bits found so far.
[[nodiscard]] bool parse_time_formats(std::uint32_t& flags, std::string_view date_pattern,
                                      std::string_view time_pattern, bool paired);

// Both texts are empty and the result is false when the parts are not valid. Flags of 0 stand for the default patterns;
// the result is then false as well.
bool format_date_time(std::string& date_text, std::string& time_text, const date_time_parts& parts,
                      std::uint32_t flags);

// "Jan" to "Dec", empty outside 1 to 12.
[[nodiscard]] std::string_view month_name(unsigned month);

// Formats one time after another. A journal's times come in order and many share a second, so the calendar is worked
// out once a day and the clock once a second. The views hold until the next call.
class time_formatter {
public:
    explicit time_formatter(std::uint32_t flags, time_range range = time_range::usual);

    // False, and both texts empty, when the time is not valid.
    [[nodiscard]] bool format(std::uint64_t filetime) {
        return filetime == filetime_ ? time_length_ != 0 : format_new(filetime);
    }
    [[nodiscard]] std::string_view date() const {
        return time_length_ != 0 ? std::string_view(date_) : std::string_view();
    }
    [[nodiscard]] std::string_view time() const { return {clock_.data(), time_length_}; }

private:
    static constexpr std::uint64_t none = ~std::uint64_t{0};

    bool format_new(std::uint64_t filetime);

    std::uint32_t flags_;
    time_range range_;
    std::size_t full_length_;       // of a time text with its fraction
    std::size_t time_length_ = 0;   // the same, or 0 while the time is not valid
    std::uint64_t filetime_ = 0;    // the last one asked for
    std::uint64_t second_ = none;   // of clock_, since 1601
    std::uint64_t day_ = none;      // of date_, since 1601
    std::array<char, 18> clock_{};  // hh:mm:ss.nnnnnnnnn, of which the first characters are the text
    std::string date_;
};

}  // namespace uni
