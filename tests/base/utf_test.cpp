#include "base/utf.h"

#include <gtest/gtest.h>

namespace {

using namespace std::string_literals;

TEST(Utf, NamesBecomeUtf8WhateverTheyHold) {
    EXPECT_EQ(to_utf8(u"a\0b"s), "a\0b"s);
    EXPECT_EQ(to_utf8(u"\u007f\u0080\u07ff\u0800\uffff"), "\x7f\xc2\x80\xdf\xbf\xe0\xa0\x80\xef\xbf\xbf");
    EXPECT_EQ(to_utf8(u"\U00010000\U0010ffff"), "\xf0\x90\x80\x80\xf4\x8f\xbf\xbf");
    EXPECT_EQ(to_utf8(std::u16string{0xDC00, 0xD800}), "\ufffd\ufffd");  // the wrong way round: two strays
    EXPECT_EQ(to_utf8(std::u16string{0xD83D, 0xD83D, 0xDE00, u'x'}), "\ufffd\xf0\x9f\x98\x80x");
    EXPECT_EQ(to_utf8(std::u16string{0xDBFF, u'x'}), "\ufffdx");
}

// Text is taken in groups of four and eight: the odd character must be found wherever it stands.
TEST(Utf, TheOddCharacterMayStandAnywhere) {
    for (std::size_t length = 1; length < 20; ++length) {
        for (std::size_t at = 0; at < length; ++at) {
            std::u16string wide(length, u'x');
            wide[at] = u'\u4e2d';
            const std::string utf8 = std::string(at, 'x') + "\xe4\xb8\xad" + std::string(length - at - 1, 'x');
            std::string text = "before";
            append_utf8(wide, text);
            EXPECT_EQ(text, "before" + utf8);
            EXPECT_EQ(count_characters(utf8), length);
        }
    }
}

}  // namespace
