#include "output/status_line.h"

#include <gtest/gtest.h>

#include <string>

namespace {

const std::string clear_line = "\x1b[2K\r    \r";

struct StatusLine : testing::Test {
    std::string shown;
    uni::status_line status{[this](std::string_view text) { shown += text; }};
};

TEST_F(StatusLine, ShowsOneLineOfSixtyCharacters) {
    EXPECT_EQ(status.show_status("entry %d of %s\nand\n", 7, "9"), 17);
    EXPECT_EQ(shown, clear_line + "entry 7 of 9and\r");
    for (const std::size_t length : {60U, 61U, 100U, 300U}) {
        shown.clear();
        EXPECT_EQ(status.show_status("%s", std::string(length, 'a').c_str()), 60);
        EXPECT_EQ(shown, clear_line + std::string(60, 'a') + "\r");
    }
    shown.clear();
    status.say("as it is\n");
    status.clear_status();
    EXPECT_EQ(shown, "as it is\n" + clear_line);
}

TEST_F(StatusLine, ShowsEveryTwentiethOnce) {
    EXPECT_EQ(status.show_percent(0, 0), 0);
    EXPECT_EQ(status.show_percent(0, 100), 0);
    EXPECT_EQ(status.show_percent(4, 100), 0);
    EXPECT_EQ(status.show_percent(5, 100), 15);
    EXPECT_EQ(status.show_percent(9, 100), 0);
    EXPECT_EQ(status.show_percent(29, 100), 16);  // 28.999... in double arithmetic
    EXPECT_EQ(status.show_percent(15, 100), 16);  // one step a call
    EXPECT_EQ(status.show_percent(19, 100), 0);
    EXPECT_EQ(shown,
              clear_line + "percent done: 5\r" + clear_line + "percent done: 28\r" + clear_line + "percent done: 15\r");
}

TEST_F(StatusLine, CutsAndDropsLongReports) {
    const std::pair<std::size_t, std::string> cases[] = {
        {0, ""}, {4095, std::string(4094, 'p') + "\n"}, {4096, std::string(4091, 'p') + "...\n"}, {4097, ""}};
    for (const auto& [length, printed] : cases) {
        shown.clear();
        const std::string message = length == 0 ? "" : std::string(length - 1, 'p') + "\n";
        EXPECT_EQ(status.report_problem("%s", message.c_str()), static_cast<int>(printed.size()));
        EXPECT_EQ(shown, clear_line + printed) << length;
    }
}

}  // namespace
