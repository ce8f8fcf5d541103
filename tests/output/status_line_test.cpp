#include "output/status_line.h"

#include "base/progress.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

const std::string clear_line = "\x1b[2K\r    \r";

TEST(StatusLine, ShowsOneLineAndEveryTwentiethOnce) {
    std::string shown;
    uni::status_line status([&](std::string_view text) { shown += text; });
    progress shows;
    shows.show_percent(50, 100);
    shows.show_with([&](std::string_view text) { status.show_status(text); }, nullptr);
    shows.show("entry 7 of 9\nand\n");
    EXPECT_EQ(std::exchange(shown, ""), clear_line + "entry 7 of 9and\r");
    status.show_status(std::string(61, 'a'));
    EXPECT_EQ(std::exchange(shown, ""), clear_line + std::string(60, 'a') + "\r");
    // 28.999... of 100 in double arithmetic; one step a call.
    for (const unsigned done : {0U, 4U, 5U, 9U, 29U, 15U, 19U}) shows.show_percent(done, 100);
    const auto percent = [&](const char* number) { return clear_line + "percent done: " + number + "\r"; };
    EXPECT_EQ(std::exchange(shown, ""), percent("5") + percent("28") + percent("15"));
    const std::pair<std::size_t, std::string> reports[] = {
        {4094, std::string(4094, 'p') + "\n"}, {4095, std::string(4091, 'p') + "...\n"}, {4096, ""}};
    for (const auto& [length, printed] : reports) {
        status.report_problem("%s\n", std::string(length, 'p').c_str());
        EXPECT_EQ(std::exchange(shown, ""), clear_line + printed);
    }
}
