#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "support/support.h"
#include "vsglex/strsvc.h"

namespace {

using vsgtest::Gb;

TEST(StringService, AppendSubdirSymbol) {
    char path[16] = "data";
    EXPECT_STREQ(_T_AppendSubdirSymbol(path), "data/");
    EXPECT_STREQ(_T_AppendSubdirSymbol(path), "data/");
    char empty[4] = "";
    EXPECT_STREQ(_T_AppendSubdirSymbol(empty), "/");
    char windows[8] = "c:\\x\\";
    EXPECT_STREQ(_T_AppendSubdirSymbol(windows), "c:\\x\\");
}

TEST(StringService, LettersAndDigitsInEachCharset) {
    EXPECT_EQ(_T_IsAlphabet("abcXYZ", 1), 1);
    EXPECT_EQ(_T_IsAlphabet("abc1", 1), 0);
    EXPECT_EQ(_T_IsAlphabet("", 1), 0);
    EXPECT_EQ(_T_IsDigital("2026", 3), 1);
    EXPECT_EQ(_T_IsDigital("20a6", 3), 0);
    // Full-width forms count in every multi-byte set.
    EXPECT_EQ(_T_IsAlphabet(Gb("ＡＢｃ").c_str(), 1), 1);
    EXPECT_EQ(_T_IsDigital(Gb("１２３").c_str(), 1), 1);
    EXPECT_EQ(_T_IsAlphabet("\xef\xbc\xa1\xef\xbd\x82", 3), 1);  // Ａｂ
    EXPECT_EQ(_T_IsDigital("\xef\xbc\x91", 3), 1);                // １
    EXPECT_EQ(_T_IsAlphabet(Gb("中").c_str(), 1), 0);
    EXPECT_EQ(_T_IsDigital(Gb("十").c_str(), 1), 0);
    // A lead byte cut off by the end of the text is no letter.
    EXPECT_EQ(_T_IsAlphabet("a\xa3", 1), 0);
    EXPECT_EQ(_T_IsDigital("1\xef\xbc", 3), 0);
}

TEST(StringService, NumerateCountsCharactersPerCharset) {
    const std::string gb = Gb("中a国");
    EXPECT_EQ(_T_NumerateStr(gb.c_str(), -1, 2, 1), 3);
    EXPECT_EQ(_T_NumerateStr(gb.c_str(), -1, 1, 1), 5);  // bytes
    EXPECT_EQ(_T_NumerateStr(gb.c_str(), 2, 2, 1), 1);
    // A four-byte GB18030 character counts once.
    EXPECT_EQ(_T_NumerateStr("\x81\x30\x81\x30x", -1, 2, 1), 2);
    EXPECT_EQ(_T_NumerateStr("中a国", -1, 2, 3), 3);
    EXPECT_EQ(_T_NumerateStr("\xf0\x9f\x98\x80!", -1, 2, 3), 2);
    // A truncated character counts once and never reads past the NUL.
    EXPECT_EQ(_T_NumerateStr("a\xe4\xb8", -1, 2, 3), 2);
    EXPECT_EQ(_T_NumerateStr("", -1, 2, 1), 0);
    EXPECT_EQ(_T_NumerateStr(nullptr, -1, 2, 1), 0);
}

}  // namespace
