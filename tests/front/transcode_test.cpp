// Conversion into the work text and the map back to the caller's bytes.
#include <gtest/gtest.h>
#include <iconv.h>

#include <algorithm>
#include <string>
#include <vector>

#include "front/transcode.h"
#include "support/support.h"
#include "vsglex/charset.h"

namespace {

using vsg::front::WorkText;

std::string Big5(const std::string &utf8) {
    iconv_t cd = iconv_open("BIG5", "UTF-8");
    std::string out(utf8.size() * 2 + 4, '\0');
    char *src = const_cast<char *>(utf8.data());
    size_t left = utf8.size(), room = out.size();
    char *dst = out.data();
    EXPECT_NE(iconv(cd, &src, &left, &dst, &room), static_cast<size_t>(-1));
    iconv_close(cd);
    out.resize(out.size() - room);
    return out;
}

// Source bytes of work bytes [s, e): from the start of the first character
// to the end of the last.
std::string Slice(const std::string &src, const WorkText &w, size_t s, size_t e) {
    return src.substr(w.srcStart[s], w.srcEnd[e - 1] - w.srcStart[s]);
}

TEST(TranscodeTest, SameWorkTextAndOffsetsFromEverySet) {
    const std::string utf8 = "台灣的中文abc。";
    const std::string gb = vsgtest::Gb("台湾的中文abc。");
    const std::string big5 = Big5(utf8);
    std::vector<uint64_t> invalid;
    WorkText w;

    vsg::front::ToWorkText(utf8.data(), utf8.size(), 3, w, invalid, 0);
    // UTF-8 is converted as it is: the traditional character stays.
    EXPECT_EQ(vsgtest::Utf8(w.gb), utf8);
    ASSERT_EQ(w.srcStart.size(), w.gb.size());
    EXPECT_EQ(Slice(utf8, w, 2, 4), "灣");          // work bytes 2-3 came from UTF-8 bytes 3-5
    EXPECT_EQ(Slice(utf8, w, 10, 13), "abc");

    vsg::front::ToWorkText(gb.data(), gb.size(), 1, w, invalid, 0);
    EXPECT_EQ(w.gb, gb);
    EXPECT_EQ(w.srcStart[4], 4u);

    // BIG5 is read as simplified text; offsets stay on the BIG5 bytes.
    vsg::front::ToWorkText(big5.data(), big5.size(), 2, w, invalid, 0);
    EXPECT_EQ(w.gb, gb);
    EXPECT_EQ(Slice(big5, w, 2, 4), big5.substr(2, 2));
    EXPECT_TRUE(invalid.empty());

    std::string back;
    vsg::front::GbToUtf8(gb.data(), gb.size(), back);
    EXPECT_EQ(back, "台湾的中文abc。");

    // Characters with four-byte GB18030 codes, inside and beyond the Basic
    // Multilingual Plane, go both ways.
    const std::string rare = "À😀中";
    vsg::front::ToWorkText(rare.data(), rare.size(), 3, w, invalid, 0);
    EXPECT_EQ(w.gb, vsgtest::Gb(rare));
    EXPECT_EQ(w.gb.size(), 10u);
    EXPECT_EQ(Slice(rare, w, 4, 8), "😀");
    back.clear();
    vsg::front::GbToUtf8(w.gb.data(), w.gb.size(), back);
    EXPECT_EQ(back, rare);
    EXPECT_TRUE(invalid.empty());
}

TEST(TranscodeTest, InvalidBytesAreSkippedAndListed) {
    std::vector<uint64_t> invalid;
    WorkText w;
    // UTF-8: a stray continuation byte, an overlong form, a cut sequence.
    std::string bad = "中\x80文\xC0\xAFx\xE4\xB8";
    vsg::front::ToWorkText(bad.data(), bad.size(), 3, w, invalid, 100);
    EXPECT_EQ(vsgtest::Utf8(w.gb), "中文x");
    EXPECT_EQ(invalid, (std::vector<uint64_t>{103, 107, 108, 110, 111}));
    EXPECT_EQ(w.srcStart[4], 9u);  // 'x' keeps its own offset

    // GB18030: a lead byte with a bad trail byte and a lone lead byte at the end.
    invalid.clear();
    std::string gbBad = vsgtest::Gb("中") + "\x81\x20" + vsgtest::Gb("文") + "\xD6";
    vsg::front::ToWorkText(gbBad.data(), gbBad.size(), 1, w, invalid, 0);
    EXPECT_EQ(vsgtest::Utf8(w.gb), "中 文");
    EXPECT_EQ(invalid, (std::vector<uint64_t>{2, 6}));

    // NUL bytes become spaces so that the work text stays a C string.
    invalid.clear();
    std::string nul("a\0b", 3);
    vsg::front::ToWorkText(nul.data(), nul.size(), 3, w, invalid, 0);
    EXPECT_EQ(w.gb, "a b");

    EXPECT_TRUE(vsg::front::IsValidUtf8("中文", 6));
    EXPECT_FALSE(vsg::front::IsValidUtf8(gbBad.data(), gbBad.size()));
    EXPECT_FALSE(vsg::front::IsValidUtf8("\xED\xA0\x80", 3));  // a surrogate
}

// Every code point of the Basic Multilingual Plane in one UTF-8 text (the
// surrogates as the three bytes that would encode them), then sequences
// that only look like three-byte characters: converted at once, each
// character must give its own GB18030 bytes and the offsets of its UTF-8
// bytes, or be listed as invalid byte by byte. Characters of two UTF-8 bytes
// and four GB18030 bytes make the work text twice the size of the text.
TEST(TranscodeTest, EveryCharacterAsConvertedAlone) {
    std::string text;
    std::vector<uint32_t> starts;
    for (uint32_t cp = 0x80; cp < 0x10000; ++cp) {
        starts.push_back(static_cast<uint32_t>(text.size()));
        if (cp < 0x800) {
            text += static_cast<char>(0xC0 | (cp >> 6));
        } else {
            text += static_cast<char>(0xE0 | (cp >> 12));
            text += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        }
        text += static_cast<char>(0x80 | (cp & 0x3F));
    }
    const size_t wellFormed = text.size();
    text += "\xE0\x80\x80\xE0\x9F\xBF";  // overlong forms
    text += "\xE4\xB8\x41\xE4\x41";      // a continuation byte missing
    text += "\xE4\xB8";                    // cut off by the end

    std::vector<uint64_t> invalid;
    WorkText w;
    vsg::front::ToWorkText(text.data(), text.size(), 3, w, invalid, 7);
    ASSERT_EQ(w.srcStart.size(), w.gb.size());
    ASSERT_EQ(w.srcEnd.size(), w.gb.size());

    std::string gb;
    std::vector<uint32_t> srcStart, srcEnd;
    std::vector<uint64_t> bad;
    for (size_t k = 0; k < starts.size(); ++k) {
        const uint32_t cp = 0x80 + static_cast<uint32_t>(k);
        const uint32_t end = k + 1 < starts.size() ? starts[k + 1] : static_cast<uint32_t>(wellFormed);
        char bytes[8] = {0};
        const int32_t len = cp >= 0xD800 && cp <= 0xDFFF ? 0 : _T_UnicodeToGB18030(cp, bytes);
        if (len <= 0) {
            for (uint32_t b = starts[k]; b < end; ++b) bad.push_back(7 + b);
            continue;
        }
        for (int32_t b = 0; b < len; ++b) {
            gb += bytes[b];
            srcStart.push_back(starts[k]);
            srcEnd.push_back(end);
        }
    }
    // Past the well-formed part: every byte but the two letters is invalid.
    for (size_t b = wellFormed; b < text.size(); ++b) {
        if (text[b] == 'A') {
            gb += 'A';
            srcStart.push_back(static_cast<uint32_t>(b));
            srcEnd.push_back(static_cast<uint32_t>(b + 1));
        } else {
            bad.push_back(7 + b);
        }
    }
    EXPECT_EQ(w.gb, gb);
    EXPECT_EQ(std::vector<uint32_t>(w.srcStart.begin(), w.srcStart.end()), srcStart);
    EXPECT_EQ(std::vector<uint32_t>(w.srcEnd.begin(), w.srcEnd.end()), srcEnd);
    EXPECT_EQ(invalid, bad);

    // The two-byte characters alone nearly double in size: the storage grows.
    const std::string twoByte = text.substr(0, starts[0x800 - 0x80]);
    const size_t gbBytes = static_cast<size_t>(
        std::count_if(srcStart.begin(), srcStart.end(), [&](uint32_t s) { return s < twoByte.size(); }));
    ASSERT_GT(gbBytes, twoByte.size() + twoByte.size() / 4 + 4);
    vsg::front::ToWorkText(twoByte.data(), twoByte.size(), 3, w, invalid, 0);
    EXPECT_EQ(w.gb, gb.substr(0, gbBytes));
    EXPECT_EQ(std::vector<uint32_t>(w.srcEnd.begin(), w.srcEnd.end()),
              std::vector<uint32_t>(srcEnd.begin(), srcEnd.begin() + static_cast<std::ptrdiff_t>(gbBytes)));
}

}  // namespace
