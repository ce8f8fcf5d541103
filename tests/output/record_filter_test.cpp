// Which records -from, -to and -find let through.
#include "support/command_line.h"

#include <gtest/gtest.h>

namespace {

bool taken(const std::string& options, const journal_entry& entry) {
    const usnjrnl_context settings = parsed_options(words(options)).settings;
    return uni::record_filter(settings.layout.choice).takes(entry);
}

TEST(RecordFilter, WindowsToTheTick) {
    const std::string at = "2024-01-02T12:34:56.7891234";
    for (const auto& [options, before, then, after] :
         {std::tuple{"-from " + at, false, true, true}, std::tuple{"-to " + at, true, false, false},
          std::tuple{"-from " + at + " -to 2024-01-02T12:34:56.7891235", false, true, false}}) {
        EXPECT_EQ(taken(options, sample_entry(0, sample_time - 1)), before) << options;
        EXPECT_EQ(taken(options, sample_entry(0, sample_time)), then) << options;
        EXPECT_EQ(taken(options, sample_entry(0, sample_time + 1)), after) << options;
        for (const std::uint64_t none : {0ULL, 2'650'467'744'000'000'000ULL, ~0ULL})
            EXPECT_FALSE(taken(options, sample_entry(0, none)));
    }
    EXPECT_TRUE(taken("-to 1601-01-02", sample_entry(0, 1)));
    EXPECT_TRUE(taken("", sample_entry(0, 0)));
}

TEST(RecordFilter, PatternsOfNames) {
    const std::tuple<const char*, std::u16string, bool> cases[] = {
        {"report.docx", u"Report.DOCX", true},
        {"report", u"report.docx", false},
        {"eport.docx", u"report.docx", false},
        {"*", u"", true},
        {"?", u"", false},
        {"?", u"\U0001F600", true},
        {"*.docx", u".docx", true},
        {"*.docx", u"a.docx.docx", true},
        {"*.docx", u"a.docx.", false},
        {"a*b*c", u"aXbXbXc", true},
        {"a*b*c", u"aXcXb", false},
        {"*?b??", u"abbbb", true},
        {"**x**", u"x", true},
        {"a?c*", u"abcd", true},
        {"*a*a*a*a*b", std::u16string(200, u'a'), false},
        {"\xC3\x84\xCE\xA3*", u"\u00e4\u03c2x", true},  // both sigmas of lower case fold to one
        {"stra\xC3\x9F"
         "e",
         u"STRA\u1E9EE", true},
        {"strasse", u"stra\u00dfe", false},  // one character for one
        {"\xF0\x90\x90\x80", u"\U00010428", true},
        {"\xEF\xBF\xBD", std::u16string{0xD800}, true},  // as JSON has it
        {"[a]", u"a", false},
    };
    for (const auto& [pattern, name, expected] : cases) {
        journal_entry entry = sample_entry();
        entry.name = name;
        EXPECT_EQ(taken(std::string("-find ") + pattern, entry), expected) << pattern;
        EXPECT_EQ(taken(std::string("-find x~y -find ") + pattern + " -find \\x -show_dir_path", entry), expected)
            << pattern;
        entry.version = 4;
        EXPECT_FALSE(taken(std::string("-find ") + pattern, entry));
    }
    EXPECT_FALSE(taken("-find *", journal_entry{}));
    EXPECT_FALSE(taken("-find *.docx -to 2024-01-02", sample_entry()));
}

TEST(RecordFilter, PatternsOfPaths) {
    journal_entry entry = sample_entry();
    entry.parent_path = "[root]\\Users\\\u00c4\\";
    const auto matches = [&](const std::string& pattern) { return taken("-show_dir_path -find " + pattern, entry); };
    entry.status = mft_status::entry_gone;
    EXPECT_TRUE(matches("\\users\\\u00e4\\REPORT.docx"));
    EXPECT_TRUE(matches("*\\report.*"));
    EXPECT_FALSE(matches("users\\*"));
    EXPECT_FALSE(matches("\\users\\"));
    entry.parent_path = {};
    EXPECT_FALSE(matches("*\\*"));
}

}  // namespace
