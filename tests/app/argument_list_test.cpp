#include "app/argument_list.h"
#include "platform/platform.h"

#include <gtest/gtest.h>

#include <limits>
#include <tuple>
#include <utility>
#include <vector>

namespace {

TEST(ArgumentList, FlagsMatchWholeTextsInAnyCaseFromElementZero) {
    argument_list arguments{"-a", "-csvx", "-CSV", "-csv"};
    EXPECT_FALSE(peek_flag("-a", arguments));
    EXPECT_TRUE(option_flag("-a", arguments));
    EXPECT_FALSE(option_flag("-cs", arguments));
    EXPECT_TRUE(peek_flag("-csv", arguments));
    EXPECT_TRUE(option_flag("-csv", arguments));
    EXPECT_EQ(arguments, (argument_list{"-csvx", "-csv"}));
    argument_list none;
    EXPECT_FALSE(option_flag("-a", none) || peek_flag("-a", none));
}

TEST(ArgumentList, ValuesAreTakenWithTheirOptionWhateverTheyLookLike) {
    argument_list arguments{"-x", "-out", "-Quiet", "tail", "-OUT", "second", "-file"};
    std::string value = "before";
    EXPECT_FALSE(option_value("-file", value, arguments));
    EXPECT_FALSE(peek_value("-x", value, arguments));
    EXPECT_EQ(value, "before");
    EXPECT_TRUE(peek_value("-out", value, arguments));
    EXPECT_EQ(value, "-Quiet");
    EXPECT_TRUE(option_value("-x", value, arguments));
    EXPECT_EQ(value, "-out");
    EXPECT_TRUE(option_value("-out", value, arguments));
    EXPECT_EQ(value, "second");
    EXPECT_EQ(arguments, (argument_list{"-Quiet", "tail", "-file"}));
}

TEST(ArgumentList, EnvironmentNamesAreReplacedInPairs) {
    const std::string path = platform::environment("PATH").value_or("");
    ASSERT_FALSE(path.empty());
    const std::string rest(512 - 6, 'r');
    const std::pair<std::string, std::string> cases[] = {
        {"a%PATH%b%PATH%", "a" + path + "b" + path},
        {"%no such name%PATH%!", "%no such name" + path + "!"},
        {"%%PATH%", "%" + path},
        {"50%", "50%"},
        {"%%", "%%"},
        {"", ""},
        {"%PATH%" + rest, path + rest},
        {"%PATH%" + rest + "1", "%PATH%" + rest + "1"},
    };
    for (const auto& [typed, expanded] : cases) EXPECT_EQ(expand_env_path(typed), expanded) << typed;
}

TEST(ArgumentList, NumbersInThreeBases) {
    using limits = std::numeric_limits<std::int64_t>;
    const std::tuple<std::int64_t, std::vector<const char*>> cases[] = {
        {32'256, {"0x7E00", "32256", "o77000", " \t0X7e00\r\n"}},
        {16, {"x10", "-0x10", "o20"}},
        {-12, {"-12ab", "0x-c", "o-14"}},
        {1, {"o18", "1,000", "1o1", "0x1g"}},
        {0, {"", "-", "bytes", "x", "0x0x10", "o8"}},
        {limits::max(), {"9223372036854775807", "9223372036854775808", "0xffffffffffffffff"}},
        {limits::min(), {"-9223372036854775809", "0x-ffffffffffffffff"}},
    };
    for (const auto& [number, texts] : cases) {
        for (const char* text : texts) EXPECT_EQ(parse_number(text), number) << text;
    }
}

}  // namespace
