#include "output/text_guard.h"

#include "base/utf.h"

#include <gtest/gtest.h>

#include <set>

namespace {

std::string guarded(std::u16string_view name, std::string_view separator) {
    std::string utf8, scratch;
    append_utf8_with_surrogates(name, utf8);
    return std::string(uni::text_guard(separator).guarded(utf8, scratch));
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
    EXPECT_EQ(guarded(u"a,b;c", ",[;"), "a[U+002C]b[U+003B]c");
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

}  // namespace
