// Character and text conversion: decoders on odd input, replacement and
// numeric references, strict and one-unit modes, target sizes, error codes,
// simplified/traditional mapping and the locale character set.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "support/support.h"
#include "vsglex/charset.h"
#include "vsglex/errcat.h"

namespace {

constexpr uint32_t GB = T_CHARSET_GB18030, BIG5 = T_CHARSET_BIG5, UTF8 = T_CHARSET_UTF8;

// Converts with _T_TranslateText into a buffer of exactly `size` bytes
// followed by guard bytes; stores the result code and checks the guard.
std::string Translate(const std::string &src, uint32_t from, uint32_t to, uint32_t flags, int64_t *result,
                      int64_t size = 256) {
    std::vector<char> buf(static_cast<size_t>(size > 0 ? size : 2 * src.size() + 1) + 8, '\x5a');
    *result = _T_TranslateText(src.c_str(), from, buf.data(), to, flags, size);
    for (size_t i = buf.size() - 8; i < buf.size(); ++i) EXPECT_EQ(buf[i], '\x5a') << "wrote past the target";
    return std::string(buf.data());
}

std::string Translate(const std::string &src, uint32_t from, uint32_t to, uint32_t flags = 0) {
    int64_t r;
    std::string out = Translate(src, from, to, flags, &r);
    EXPECT_GT(r, 0) << "conversion failed";
    return out;
}

std::string Big5(const std::string &utf8) { return Translate(utf8, UTF8, BIG5, T_CODE_NO_MAPPING); }

TEST(CharsetDecode, Gb18030OneTwoAndFourByteCodes) {
    uint32_t len = 9;
    EXPECT_EQ(_T_GB18030ToUnicode("\xD6\xD0", &len), 0x4E2Du);
    EXPECT_EQ(len, 2u);
    EXPECT_EQ(_T_GB18030ToUnicode("\x81\x30\x81\x30", &len), 0x80u);
    EXPECT_EQ(len, 4u);
    EXPECT_EQ(_T_GB18030ToUnicode("\x90\x30\x81\x30", &len), 0x10000u);
    EXPECT_EQ(_T_GB18030ToUnicode("\xE3\x32\x9A\x35", &len), 0x10FFFFu);
    EXPECT_EQ(_T_GB18030ToUnicode("\xE3\x32\x9A\x36", &len), 0u);
    EXPECT_EQ(_T_GB18030ToUnicode("\x84\x31\xA5\x30", &len), 0xD800u);  // surrogates survive
    EXPECT_EQ(_T_GB18030ToUnicode("\x84\x32\xF3\x37", &len), 0xDFFFu);
    for (const char *bad : {"\x84\x32\xF3\x38", "\x84\x33\x81\x30", "\x85\x30\x81\x30", "\xE4\x30\x81\x30",
                            "\x80", "\xFF\xA1", "\x81\x7F", "\x81\x30\x81", "\x81\x30", "\xD6"}) {
        EXPECT_EQ(_T_GB18030ToUnicode(bad, &len), 0u) << bad;
        EXPECT_EQ(len, 0u);
    }
    char out[8];
    EXPECT_EQ(_T_UnicodeToGB18030(0x10000, out), 4);
    EXPECT_EQ(std::string(out), "\x90\x30\x81\x30");
    EXPECT_EQ(_T_UnicodeToGB18030(0xDFFF, out), 4);
    EXPECT_EQ(std::string(out), "\x84\x32\xF3\x37");
    EXPECT_EQ(_T_UnicodeToGB18030(0x110000, out), 0);
    EXPECT_EQ(_T_UnicodeToBIG5(0x10000, out), 0);
    EXPECT_EQ(_T_LocalToUnicode("\xA4\xA4", &len, BIG5), 0x4E2Du);  // 中 in BIG5
    EXPECT_EQ(_T_LocalToUnicode("A", &len, 7), 0u);
    EXPECT_EQ(_T_UnicodeToLocal(0x4E2D, out, 3), 3);
}

TEST(CharsetDecode, Utf8RejectsOverlongAndOutOfRangeForms) {
    uint32_t len = 9;
    EXPECT_EQ(_T_UTF8ToUnicode("\xE4\xB8\xAD", &len), 0x4E2Du);
    EXPECT_EQ(len, 3u);
    EXPECT_EQ(_T_UTF8ToUnicode("\xF4\x8F\xBF\xBF", &len), 0x10FFFFu);
    EXPECT_EQ(_T_UTF8ToUnicode("\xED\xA0\x80", &len), 0xD800u);
    for (const char *bad : {"\xC0\x80", "\xC1\xBF", "\xE0\x9F\xBF", "\xF0\x8F\xBF\xBF", "\xF4\x90\x80\x80",
                            "\xF8\x88\x80\x80\x80", "\x80", "\xE4\xB8", "\xE4\x41\xAD"})
        EXPECT_EQ(_T_UTF8ToUnicode(bad, &len), 0u) << bad;
    char out[8] = "xx";
    EXPECT_EQ(_T_UnicodeToUTF8(0x110000, out), 0);
    EXPECT_EQ(_T_UnicodeToUTF8(0x10FFFF, out), 4);
}

TEST(CharsetTranslate, MalformedUtf8UnderEachFlag) {
    const std::string src = "\xE4\xB8\xAD\xFF\xE6\x96\x87";  // 中, a bad byte, 文
    int64_t r;
    EXPECT_EQ(Translate(src, UTF8, GB, 0, &r), vsgtest::Gb("中□文"));
    EXPECT_EQ(r, 7);
    EXPECT_EQ(Translate(src, UTF8, GB, T_CODE_STRICT, &r), vsgtest::Gb("中"));
    EXPECT_EQ(r, -4);  // the character at byte 3 failed
    EXPECT_EQ(Translate(src, UTF8, GB, T_CODE_NCR, &r), vsgtest::Gb("中") + "&#xff;" + vsgtest::Gb("文"));
    EXPECT_EQ(r, 2 + 6 + 2 + 1);
    // A truncated sequence is one bad unit; the next character survives.
    EXPECT_EQ(Translate("\xE4\xB8" "A", UTF8, GB), vsgtest::Gb("□") + "A");
    EXPECT_EQ(Translate("\xF0\x9F" "\xE4\xB8\xAD", UTF8, UTF8), "□中");

    // One unit: anything after the first character makes the whole text one
    // replacement; a lone bad byte becomes a reference with 0x200.
    char out[16];
    EXPECT_EQ(_T_TranslateCode("\xE4\xB8\xAD", UTF8, out, GB, T_CODE_ONE_UNIT, nullptr), 3u);
    EXPECT_EQ(std::string(out), vsgtest::Gb("中"));
    EXPECT_EQ(_T_TranslateCode("\xE4\xB8\xAD\xE6\x96\x87", UTF8, out, GB, T_CODE_ONE_UNIT, nullptr), 6u);
    EXPECT_EQ(std::string(out), vsgtest::Gb("□"));
    EXPECT_EQ(_T_TranslateCode("\xFF", UTF8, out, GB, T_CODE_ONE_UNIT | T_CODE_NCR, nullptr), 1u);
    EXPECT_EQ(std::string(out), "&#xff;");
    EXPECT_EQ(_T_TranslateCode("\xFF\xFE", UTF8, out, GB, T_CODE_ONE_UNIT | T_CODE_NCR, nullptr), 2u);
    EXPECT_EQ(std::string(out), vsgtest::Gb("□"));
    EXPECT_EQ(_T_TranslateCode("\xFF", UTF8, out, GB, T_CODE_ONE_UNIT | T_CODE_STRICT, nullptr), 0u);
    EXPECT_EQ(Translate("ab", UTF8, BIG5, T_CODE_ONE_UNIT), "\xA1\xBC");  // □ in BIG5
}

TEST(CharsetTranslate, UnencodableCharactersAndOtherSets) {
    const std::string src = "a\xF0\x9F\x98\x80\xE4\xB8\xAD";  // a, U+1F600, 中
    int64_t r;
    EXPECT_EQ(Translate(src, UTF8, BIG5, 0, &r), "a\xA1\xBC\xA4\xA4");
    EXPECT_EQ(Translate(src, UTF8, BIG5, T_CODE_NCR, &r), "a&#128512;\xA4\xA4");
    EXPECT_EQ(Translate(src, UTF8, BIG5, T_CODE_STRICT, &r), "a");
    EXPECT_EQ(r, -2);
    // GB18030 covers everything: no replacement needed.
    EXPECT_EQ(Translate(src, UTF8, GB, T_CODE_STRICT), "a\x94\x39\xFC\x36\xD6\xD0");
    // Opaque sets pass through only to themselves.
    EXPECT_EQ(Translate("\x81\xFFz", 9, 9), "\x81\xFFz");
    EXPECT_EQ(Translate("\x81z", 9, GB), vsgtest::Gb("□□"));
    Translate("\x81z", 9, GB, T_CODE_STRICT, &r);
    EXPECT_EQ(r, -1);
    Translate("\xE4\xB8\xAD", UTF8, 9, 0, &r);
    EXPECT_EQ(r, -1);  // no replacement character exists in an opaque set
    // Degenerate arguments.
    char t[4] = "xyz";
    EXPECT_EQ(_T_TranslateText(nullptr, UTF8, t, GB, 0, 4), 1);
    EXPECT_EQ(t[0], 0);
    EXPECT_EQ(_T_TranslateText("a", UTF8, nullptr, GB, 0, 4), 0);
    EXPECT_EQ(_T_TranslateCode(nullptr, UTF8, t, GB, 0, nullptr), 0u);
}

TEST(CharsetTranslate, TargetSizeBoundariesAndStreamErrors) {
    const std::string src = "\xE4\xB8\xAD\xE6\x96\x87" "ab";  // 中文ab -> 6 GB bytes
    const std::string want = vsgtest::Gb("中文ab");
    int64_t r;
    EXPECT_EQ(Translate(src, UTF8, GB, 0, &r, 7), want);
    EXPECT_EQ(r, 7);
    EXPECT_EQ(Translate(src, UTF8, GB, 0, &r, 6), vsgtest::Gb("中文a"));
    EXPECT_EQ(r, 0);
    EXPECT_EQ(Translate(src, UTF8, GB, 0, &r, 3), vsgtest::Gb("中"));
    EXPECT_EQ(r, 0);
    EXPECT_EQ(Translate(src, UTF8, GB, 0, &r, 1), "");
    EXPECT_EQ(r, 0);
    EXPECT_EQ(Translate(src, UTF8, GB, 0, &r, 0), want);  // 0: twice the source + 1
    EXPECT_EQ(r, 7);
    // Numeric references only when they fit.
    EXPECT_EQ(Translate("a\xFF", UTF8, GB, T_CODE_NCR, &r, 8), "a&#xff;");
    EXPECT_EQ(r, 8);
    EXPECT_EQ(Translate("a\xFF", UTF8, GB, T_CODE_NCR, &r, 7), "a");
    EXPECT_EQ(r, 0);

    char buf[16];
    _T_ClearError();
    EXPECT_EQ(_T_ConvertStream(src.c_str(), UTF8, buf, GB, 7, 0), 6);
    EXPECT_EQ(std::string(buf), want);
    EXPECT_EQ(_T_ConvertStream(src.c_str(), UTF8, buf, GB, 6, 0), -1);
    EXPECT_EQ(_T_GetLastError(), T_ERR_TARGET_SMALL);
    EXPECT_EQ(_T_ConvertStream("ab\xFF", UTF8, buf, GB, 16, T_CODE_STRICT), -1);
    EXPECT_EQ(_T_GetLastError(), T_ERR_CONVERT);
    std::string prompt = _T_GetLastErrorPromptEx(nullptr, 0, UTF8);
    EXPECT_NE(prompt.find("byte 2"), std::string::npos) << prompt;

    // The engine's case: a word is cut by an 81-byte target.
    std::string longWord;
    for (int i = 0; i < 41; ++i) longWord += "\xE4\xB8\xAD";
    char word[81];
    EXPECT_EQ(_T_ConvertStream(longWord.c_str(), UTF8, word, GB, 81, 0), -1);
    EXPECT_EQ(_T_GetLastError(), T_ERR_TARGET_SMALL);
    EXPECT_EQ(strlen(word), 80u);
    longWord.resize(longWord.size() - 3);
    EXPECT_EQ(_T_ConvertStream(longWord.c_str(), UTF8, word, GB, 81, 0), 80);
}

TEST(CharsetMapping, SimplifiedAndTraditionalBothWays) {
    // GB to BIG5 goes traditional, with context words choosing among candidates.
    EXPECT_EQ(Translate(vsgtest::Gb("中国发展"), GB, BIG5), Big5("中國發展"));
    EXPECT_EQ(Translate(vsgtest::Gb("头发很长"), GB, BIG5), Big5("頭髮很長"));
    EXPECT_EQ(Translate(vsgtest::Gb("理发"), GB, BIG5), Big5("理髮"));
    EXPECT_EQ(Translate(vsgtest::Gb("后来"), GB, BIG5), Big5("後來"));
    EXPECT_EQ(Translate(vsgtest::Gb("皇后"), GB, BIG5), Big5("皇后"));
    // Words after the character decide as well; BIG5 output takes its own forms.
    EXPECT_EQ(Translate(vsgtest::Gb("在理发店里吃干燥的面条，干部"), GB, BIG5),
              Big5("在理髮店裡吃乾燥的麵條，幹部"));
    EXPECT_EQ(Translate("一只钟表", UTF8, UTF8, T_CODE_TO_TRAD), "一隻鐘錶");
    // BIG5 to GB and UTF-8 goes simplified.
    EXPECT_EQ(Translate(Big5("後來的頭髮"), BIG5, GB), vsgtest::Gb("后来的头发"));
    EXPECT_EQ(Translate(Big5("漢語詞彙"), BIG5, UTF8), "汉语词汇");
    // BIG5 to BIG5 and UTF-8 to GB are not mapped unless asked.
    EXPECT_EQ(Translate(Big5("漢語"), BIG5, BIG5), Big5("漢語"));
    EXPECT_EQ(Translate("漢語", UTF8, GB), vsgtest::Gb("漢語"));
    EXPECT_EQ(Translate("漢語", UTF8, GB, T_CODE_TO_SIMP), vsgtest::Gb("汉语"));
    EXPECT_EQ(Translate("汉语", UTF8, UTF8, T_CODE_TO_TRAD), "漢語");
    // With mapping off BIG5 lacks the simplified character.
    EXPECT_EQ(Translate(vsgtest::Gb("汉"), GB, BIG5, T_CODE_NO_MAPPING), "\xA1\xBC");
    // Forms preferred for BIG5: the mapped form BIG5 lacks is replaced by its variant.
    std::string trad = Translate("为", UTF8, UTF8, T_CODE_TO_TRAD);
    std::string big5Form = Translate("为", UTF8, UTF8, T_CODE_TO_TRAD | T_CODE_BIG5_FORMS);
    EXPECT_EQ(big5Form, "為");
    EXPECT_EQ(Translate(vsgtest::Gb("为"), GB, BIG5), Big5("為"));
    char out[16];
    EXPECT_EQ(_T_UnicodeToBIG5(0x70BA /* 為 */, out), 2);
    EXPECT_TRUE(trad == "爲" || trad == "為") << trad;
    // Code points outside the BMP are never mapped.
    EXPECT_EQ(Translate("\xF0\xA0\x80\x80", UTF8, UTF8, T_CODE_TO_SIMP), "\xF0\xA0\x80\x80");
}

TEST(CharsetLocale, ProcessWideAndPerThreadValues) {
    EXPECT_EQ(_T_LocaleCharset(0), _T_LocaleCharset(1) ? _T_LocaleCharset(1) : 1u);
    ASSERT_EQ(_T_SetLocaleCharset(UTF8, 0), 1);
    EXPECT_EQ(_T_LocaleCharset(0), UTF8);
    uint32_t inThread = 0, otherThread = 0;
    std::thread t([&] {
        _T_SetLocaleCharset(BIG5, 1);
        inThread = _T_LocaleCharset(0);
    });
    t.join();
    std::thread u([&] { otherThread = _T_LocaleCharset(0); });
    u.join();
    EXPECT_EQ(inThread, BIG5);
    EXPECT_EQ(otherThread, UTF8);
    EXPECT_EQ(_T_LocaleCharset(0), UTF8);
    ASSERT_EQ(_T_SetLocaleCharset(0, 0), 1);
    EXPECT_EQ(_T_LocaleCharset(0), GB);
    EXPECT_EQ(_T_LocaleCharset(1), 0u);
}

}  // namespace
