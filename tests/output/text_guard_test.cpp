#include "output/text_guard.h"

#include "base/utf.h"
#include "support/command_line.h"

#include <gtest/gtest.h>

#include <set>

namespace {

std::string guarded(std::u16string_view name, std::string_view separator) {
    std::string out;
    uni::text_guard(separator).append(name, out);
    return out;
}

TEST(TextGuard, WritesWhatWouldActAsAMark) {
    EXPECT_EQ(guarded(u"a\r\nb\n\rc\nd\re", ","), "a[CRLF]b[LFCR]c[LF]d[U+000D]e");
    EXPECT_EQ(guarded(u"a\rb", ","), "a[CR]b");
    EXPECT_EQ(guarded(u"\x1b[2J\x7f\x85\x9f\xa0", ","), "[U+001B][2J[U+007F][U+0085][U+009F]\u00a0");
    EXPECT_EQ(guarded(u"\x2027\x2028\x2029\x202a\x202e\x202f\x2065\x2066\x2069", ","),
              "\u2027[U+2028][U+2029][U+202A][U+202E]\u202f\u2065[U+2066][U+2069]");
    EXPECT_EQ(guarded(u"\xd83d\xde00 \xd83d \xde00", ","), "\U0001F600 [U+D83D] [U+DE00]");
    EXPECT_EQ(guarded(u"[LF][lf][CRLF][U+000A][U+00A][U+000a] [1]", ","),
              "[U+005B]LF][lf][U+005B]CRLF][U+005B]U+000A][U+00A][U+000a] [1]");
    EXPECT_EQ(guarded(u"a,b|c", ","), "a[U+002C]b|c");
    EXPECT_EQ(guarded(u"a | b |", " | "), "a [U+007C] b [U+007C]");
    EXPECT_EQ(guarded(u"a b", "  "), "a[U+0020]b");
    EXPECT_EQ(guarded(u"a\u00a6b<c>", "<\u00a6>"), "a[U+00A6]b[U+003C]c[U+003E]");
}

// Every text of three pieces that could be taken for one another.
TEST(TextGuard, KeepsDifferentNamesDifferent) {
    const std::u16string pieces[] = {u"",    u"\r",      u"\n",       u"[",      u"[LF]", u"[CR]",    u"[CRLF]",
                                     u"LF]", u"U+000A]", u"[U+000D]", u"\xd800", u",",    u"[U+002C]"};
    std::set<std::u16string> names;
    std::set<std::string> texts, documents;
    for (const auto& a : pieces) {
        for (const auto& b : pieces) {
            for (const auto& c : pieces) names.insert(a + b + c);
        }
    }
    for (const std::u16string& name : names) {
        texts.insert(guarded(name, ","));
        std::string utf8, document;
        append_utf8_with_surrogates(name, utf8);
        uni::append_guarded_xml(utf8, document);
        documents.insert(document);
    }
    EXPECT_EQ(texts.size(), names.size());
    EXPECT_EQ(documents.size(), names.size());
}

TEST(TextGuard, ServesEveryWriter) {
    std::vector<journal_entry> entries;
    for (const char16_t* name : {u"a\nb", u"c,d|e", u"[LF]", u"\x1b\x202e", u"plain_name.txt"}) {
        entries.push_back(sample_entry());
        entries.back().name = name;
    }
    entries.front().timestamp = 1;                 // 1601
    entries.back().timestamp = ~std::uint64_t{0};  // 60056
    const auto names = [&](const std::string& options) {
        const std::string text = written(options + " -complete -a", entries);
        EXPECT_EQ(text.find_first_of("\x1b\r"), std::string::npos);
        return text;
    };
    const std::string csv = names("-csv");
    EXPECT_NE(csv.find("1601-01-01, 00:00:00.000,"), std::string::npos);
    EXPECT_NE(csv.find("60056-05-28, 05:36:10.955,"), std::string::npos);
    for (const std::string name :
         {",a[LF]b,", ",c[U+002C]d|e,", ",[U+005B]LF],", ",[U+001B][U+202E],", ",plain_name.txt,"})
        EXPECT_NE(csv.find(name), std::string::npos) << name;
    EXPECT_EQ(std::ranges::count(names("-csv_separator ;"), ';'), 6 * 9);  // five rows and the header
    EXPECT_EQ(std::ranges::count(names("-csvl2t"), ','), 6 * 16);
    EXPECT_EQ(std::ranges::count(names("-bodyfile"), '|'), 5 * 10);
    EXPECT_NE(names("-bodyfile").find("|-11644473600"), std::string::npos);
    const std::string xml = names("-xml");
    EXPECT_NE(xml.find("<name>a&#10;b</name>"), std::string::npos);
    EXPECT_NE(xml.find("<name>[U+001B]&#x202e;</name>"), std::string::npos);
    EXPECT_EQ(xml.find("corrupted"), std::string::npos);
}

}  // namespace
