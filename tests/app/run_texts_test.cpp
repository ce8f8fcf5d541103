// The usage text and the run header.

#include "app/run_header.h"
#include "app/usage.h"
#include "output/status_line.h"
#include "platform/platform.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>

namespace {

TEST(Usage, TextIsTheGoldenOne) {
    std::ifstream file(std::filesystem::path(__FILE__).parent_path() / "../golden/usage.txt", std::ios::binary);
    const std::string golden((std::istreambuf_iterator<char>(file)), {});
    std::string said;
    uni::status_line status([&](std::string_view text) { said += text; });
    print_usage(status);
    ASSERT_FALSE(golden.empty());
    EXPECT_EQ(said, golden);
}

TEST(Usage, HelpWinsAtAnyPlace) {
    for (const char* spelling : {"-h", "-HELP", "/?", "--help"}) {
        EXPECT_TRUE(help_wanted({"lorq", "-file", spelling, "-out", "x"})) << spelling;
        EXPECT_TRUE(help_wanted({spelling, "x"})) << spelling;
    }
    EXPECT_TRUE(help_wanted({"lorq"}));
    EXPECT_TRUE(help_wanted({}));
    EXPECT_FALSE(help_wanted({"lorq", "-hh", "help", "?"}));
}

// 2024-02-29 01:02:03.999 UTC
constexpr std::uint64_t leap_day = 133'536'421'239'990'000;

TEST(RunHeader, ThreeLines) {
    const std::string machine =
        "; " + platform::computer_name() + "; " + platform::user_name() + "; " + platform::system_description() + "\n";
    const struct {
        argument_list arguments;
        std::string time, line;
    } cases[] = {
        {{"lorq", "-file", "my j", "-a"}, "02/29/2024 01:02:03", "lorq -file 'my j' -a"},
        {{"lo rq", "-PIPE", "", " "}, "02/29/2024 01:02:03", "<filelist> ... | 'lo rq' -PIPE  ' '"},
        {{"l", "-dateformat", "mm-mm-yyyy"}, "02/29/2024 01:02:03", "l -dateformat mm-mm-yyyy"},
        {{"l", "-dateformat", "YYYY-mm-dd"}, "2024-02-29 01:02:03", "l -dateformat YYYY-mm-dd"},
        {{"l", "-dateformat", "dd/mm/yy"}, "29/02/24 01:02:03", "l -dateformat dd/mm/yy"},
        {{"l", "-dateformat"}, "02/29/2024 01:02:03", "l -dateformat"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(compose_run_header(c.arguments, leap_day),
                  "lorq ver: 1.49\nrun time: " + c.time + machine + "\"cmdline: " + c.line + "\"\n");
    }
}

}  // namespace
