#include "output/date_time.h"

#include <gtest/gtest.h>

#include <ctime>

namespace {

constexpr std::uint64_t epoch = 116'444'736'000'000'000;
constexpr std::uint64_t second = 10'000'000;
constexpr std::uint64_t day = 86'400 * second;
constexpr std::uint64_t year_3001 = epoch + 376'565 * day;

std::uint32_t flags_of(std::string_view date, std::string_view time, bool paired = false) {
    std::uint32_t flags = 0;
    EXPECT_TRUE(uni::parse_time_formats(flags, date, time, paired));
    return flags;
}

std::string text_of(std::uint64_t filetime, std::uint32_t flags) {
    uni::date_time_parts parts;
    std::string date = "old";
    std::string time = "old";
    const bool valid = uni::set_filetime(parts, filetime);
    EXPECT_EQ(uni::format_date_time(date, time, parts, flags), valid && flags != 0);
    uni::time_formatter formatter(flags);
    EXPECT_EQ(formatter.format(filetime), valid);
    EXPECT_EQ(formatter.date(), date);
    EXPECT_EQ(formatter.time(), time);
    return date + "_" + time;
}

TEST(DateTime, AgreesWithTheCLibrary) {
    uni::time_formatter formatter(flags_of("yyyy-mm-dd", "hh:mm:ss"));
    for (std::uint64_t filetime = epoch + second; filetime < year_3001; filetime += 13 * day + 7'654'321'000'123) {
        const auto seconds = static_cast<std::time_t>((filetime - epoch) / second);
        const std::tm& expected = *std::gmtime(&seconds);
        std::array<char, 32> text{};
        std::strftime(text.data(), text.size(), "%Y-%m-%d_%H:%M:%S", &expected);
        ASSERT_TRUE(formatter.format(filetime));
        ASSERT_EQ(std::string(formatter.date()).append("_").append(formatter.time()), text.data());
    }
}

TEST(DateTime, Patterns) {
    const std::tuple<std::string_view, std::string_view, const char*> cases[] = {
        {"mm/dd/yyyy", "hh:mm:ss", "01/02/2024_12:34:56"},
        {"dd/mm/yyyy", "hh:mm:ss.xx", "02/01/2024_12:34:56"},
        {"mm-dd-yy", "hh:mm:ss.xxx", "01-02-24_12:34:56.789"},
        {"dd-mmm-yyyy", "hh:mm:ss.xxxxx", "02-Jan-2024_12:34:56.78912"},
        {"mmm dd,yy", "hh:mm:ss.xxxxxx", "Jan 02 24_12:34:56.789123"},
        {"yyyy-mmm-dd", "hh:mm:ss.xxxxxxxx", "_12:34:56.78912340"},
        {"yy/mm-dd", "hh:mm:ss.xxxxxxxxxxx", "24/01/02_12:34:56.789123400"},
        {"yyyy mm-dd", "hh:mm:ss.xxx x", "2024-01-02_12:34:56.78912"},
        {"", "", "2024-01-02_12:34:56.789"},  // no flags at all: the defaults
        {"", "hh:mm:ss.xxx", "_12:34:56.789"}};
    for (const auto& [date, time, text] : cases) {
        EXPECT_EQ(text_of(133'486'724'967'891'234, flags_of(date, time)), text);
        EXPECT_EQ(text_of(year_3001, flags_of(date, time)), "_");
    }
    EXPECT_EQ(flags_of("yyyy-mm-dd", "hh:mm:ss.xxx"), uni::time_format::of_default_patterns);
    EXPECT_EQ(flags_of("mm,dd,yy", ""), 0x5A00U);
    std::uint32_t flags = 0;
    for (const std::string_view date : {"yyyy-dd-mm", "mm-yy-dd", "yyyy-mm", "mm/dd", "dd.yyyy.m", "x"}) {
        EXPECT_FALSE(uni::parse_time_formats(flags, date, "hh:mm:ss.xxx", true)) << date;
        EXPECT_EQ(flags >> 16U, 1U) << "the time pattern was looked at";
    }
    EXPECT_EQ(uni::month_name(12), "Dec");
    EXPECT_EQ(std::string(uni::month_name(0)).append(uni::month_name(13)), "");
}

// One formatter for all, which must not remember anything wrong.
TEST(TimeFormatter, EdgesOfTheCalendarAfterEachOther) {
    constexpr std::uint64_t last = ~std::uint64_t{0};
    constexpr std::uint64_t noon = epoch + 19'724 * day + 43'200 * second;
    uni::time_formatter formatter(flags_of("yyyy-mm-dd", "hh:mm:ss.xxxxxxx"));
    for (const auto& [filetime, text] : {std::pair{noon, "2024-01-02 12:00:00.0000000"},
                                         {noon + 1, "2024-01-02 12:00:00.0000001"},
                                         {0, " "},
                                         {noon + 2, "2024-01-02 12:00:00.0000002"},
                                         {year_3001, " "},
                                         {noon + day, "2024-01-03 12:00:00.0000000"},
                                         {epoch + second - 1, " "},
                                         {epoch + second, "1970-01-01 00:00:01.0000000"},
                                         {epoch + 11'016 * day - 1, "2000-02-28 23:59:59.9999999"},
                                         {last, " "},
                                         {last / 2 + 1, " "},
                                         {epoch + 47'541 * day, "2100-03-01 00:00:00.0000000"},
                                         {year_3001 - 1, "3000-12-31 23:59:59.9999999"}}) {
        EXPECT_EQ(formatter.format(filetime), std::string(text) != " ");
        EXPECT_EQ(std::string(formatter.date()).append(" ").append(formatter.time()), text);
    }
}

}  // namespace
