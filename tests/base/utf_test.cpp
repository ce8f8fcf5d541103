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
    EXPECT_EQ(count_characters("x\xe4\xb8\xad\xf0\x9f\x98\x80 of several bytes"), 20U);
}

}  // namespace
