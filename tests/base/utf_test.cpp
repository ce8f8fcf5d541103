#include "base/utf.h"

#include <gtest/gtest.h>

namespace {

using namespace std::string_literals;

TEST(Utf, NamesBecomeUtf8WhateverTheyHold) {
    const std::pair<std::u16string, std::string> cases[] = {
        {u""s, ""},
        {u"a\0b"s, "a\0b"s},
        {u"\u007f\u0080\u07ff\u0800\uffff"s, "\x7f\xc2\x80\xdf\xbf\xe0\xa0\x80\xef\xbf\xbf"},
        {u"\U00010000\U0010ffff"s, "\xf0\x90\x80\x80\xf4\x8f\xbf\xbf"},
        {{0xD800}, "\xef\xbf\xbd"},
        {{0xDC00, 0xD800}, "\xef\xbf\xbd\xef\xbf\xbd"},  // the wrong way round: two strays
        {{0xD83D, 0xD83D, 0xDE00, u'x'}, "\xef\xbf\xbd\xf0\x9f\x98\x80x"},
        {{0xDBFF, u'x'}, "\xef\xbf\xbdx"},
    };
    for (const auto& [wide, utf8] : cases) {
        EXPECT_EQ(to_utf8(wide), utf8);
        std::string text = "before";
        append_utf8(wide, text);
        EXPECT_EQ(text, "before" + utf8);
    }
}

// Text is taken in groups of four and eight: the odd character must be found wherever it stands.
TEST(Utf, TheOddCharacterMayStandAnywhere) {
    for (std::size_t length = 1; length < 20; ++length) {
        for (std::size_t at = 0; at < length; ++at) {
            std::u16string wide(length, u'x');
            wide[at] = u'\u4e2d';
            const std::string utf8 = std::string(at, 'x') + "\xe4\xb8\xad" + std::string(length - at - 1, 'x');
            EXPECT_EQ(to_utf8(wide), utf8);
            EXPECT_EQ(count_characters(utf8), length);
        }
    }
    EXPECT_EQ(count_characters(std::string(1000, '\xbf')), 0U);
}

}  // namespace
