// How the raw-text interface reads its input: guessing the character set on
// evidence a few bad bytes cannot overturn, UTF-16 refused, traditional text
// simplified for the analysis only, and long lines cut between characters.
#include <gtest/gtest.h>
#include <iconv.h>

#include <cstring>
#include <string>
#include <vector>

#include "front_support.h"
#include "support/support.h"
#include "vsglex/vsglex_api.h"

namespace {

using fronttest::Convert;

std::string Sample() { return vsgtest::ReadFile(fronttest::SourceDir() + "/examples/sample.txt"); }

struct Words {
    int32_t status = VSGLEX_OK;
    int32_t charset = 0;
    std::vector<std::string> texts;
    std::vector<std::string> tags;
    std::vector<uint64_t> offsets;
    std::vector<uint32_t> lengths;
    std::vector<int32_t> classes;
    std::vector<uint64_t> invalid;
};

class InputTest : public fronttest::ShippedModelsTest {
protected:
    Words Analyze(const std::string &text, int32_t charset, uint32_t flags = 0) {
        Words out;
        vsglex_result *r = nullptr;
        out.status = vsglex_analyze(handle_, text.data(), text.size(), charset, flags, &r);
        if (r == nullptr) return out;
        out.charset = r->charset;
        for (size_t k = 0; k < r->word_count; ++k) {
            const vsglex_word &w = r->words[k];
            out.texts.emplace_back(w.text);
            out.tags.emplace_back(w.tag_name);
            out.offsets.push_back(w.offset);
            out.lengths.push_back(w.length);
            out.classes.push_back(w.name_class);
        }
        out.invalid.assign(r->invalid_offsets, r->invalid_offsets + r->invalid_count);
        vsglex_result_free(r);
        return out;
    }

};

// Tags and name classes from word `from` on.
std::vector<std::string> TagsFrom(const Words &w, size_t from) {
    std::vector<std::string> out;
    for (size_t k = from; k < w.texts.size(); ++k) out.push_back(w.texts[k] + "/" + w.tags[k]);
    return out;
}

TEST_F(InputTest, OneBadByteLeavesUtf8TextUtf8) {
    std::string clean = Sample();
    ASSERT_FALSE(clean.empty());
    std::string head = "王小明\xff在北京。\n";
    std::string damaged = head + clean;
    Words d = Analyze(damaged, VSGLEX_CHARSET_AUTO);
    ASSERT_EQ(d.status, VSGLEX_OK);
    EXPECT_EQ(d.charset, VSGLEX_CHARSET_UTF8);
    ASSERT_EQ(d.invalid.size(), 1u);
    EXPECT_EQ(d.invalid[0], 9u);  // where the bad byte is, not elsewhere

    // Everything after the first line is analysed as in the clean text, at
    // offsets moved by the first line.
    Words c = Analyze(clean, VSGLEX_CHARSET_AUTO);
    size_t first = 0;
    while (first < d.offsets.size() && d.offsets[first] < head.size()) ++first;
    EXPECT_EQ(TagsFrom(d, first), TagsFrom(c, 0));
    ASSERT_EQ(d.offsets.size() - first, c.offsets.size());
    for (size_t k = 0; k < c.offsets.size(); ++k) EXPECT_EQ(d.offsets[first + k], c.offsets[k] + head.size());

    // The same evidence rule in the guessing function: a few bad bytes in
    // UTF-8 keep it UTF-8; GBK text with a few bytes that happen to form
    // UTF-8 stays GBK.
    EXPECT_EQ(vsglex_guess_charset(damaged.data(), damaged.size(), nullptr), VSGLEX_CHARSET_UTF8);
    std::string gbk = vsgtest::Gb(clean) + "\xe4\xb8\xad";
    EXPECT_EQ(vsglex_guess_charset(gbk.data(), gbk.size(), nullptr), VSGLEX_CHARSET_GB18030);
}

TEST_F(InputTest, Big5AndUtf16AreRecognised) {
    const std::string trad = "臺灣大學的學生在臺北參觀了故宮博物院，他們說這裡的東西很有意思。";
    const std::string big5 = Convert(trad, "BIG5");
    uint32_t hints = 0;
    EXPECT_EQ(vsglex_guess_charset(big5.data(), big5.size(), &hints), VSGLEX_CHARSET_BIG5);
    Words b = Analyze(big5, VSGLEX_CHARSET_AUTO);
    EXPECT_EQ(b.charset, VSGLEX_CHARSET_BIG5);
    EXPECT_TRUE(b.invalid.empty());
    EXPECT_EQ(TagsFrom(b, 0), TagsFrom(Analyze(big5, VSGLEX_CHARSET_BIG5), 0));

    // Short simplified GBK text is not taken for BIG5.
    for (const char *s : {"我们", "中文", "新华社北京一月五日电。"}) {
        std::string g = vsgtest::Gb(s);
        EXPECT_EQ(vsglex_guess_charset(g.data(), g.size(), nullptr), VSGLEX_CHARSET_GB18030) << s;
    }

    // UTF-16 with and without a byte-order mark, either byte order, is refused.
    std::string le = Convert("中文文本。\n", "UTF-16LE"), be = Convert("中文文本。\n", "UTF-16BE");
    std::string ascii = Convert("plain text\n", "UTF-16LE");
    for (const std::string &u : {std::string("\xff\xfe") + le, std::string("\xfe\xff") + be, le, be, ascii}) {
        hints = 0;
        vsglex_guess_charset(u.data(), u.size(), &hints);
        EXPECT_NE(hints & VSGLEX_GUESS_UTF16, 0u);
        Words w = Analyze(u, VSGLEX_CHARSET_AUTO);
        EXPECT_EQ(w.status, VSGLEX_ERR_CHARSET);
        EXPECT_NE(std::string(vsglex_last_error()).find("UTF-16"), std::string::npos);
    }
    // Plain ASCII and simplified UTF-8 are neither.
    for (const char *s : {"hello world, plain ASCII text\n", "国务院总理会见了客人。"}) {
        hints = 0;
        EXPECT_EQ(vsglex_guess_charset(s, std::strlen(s), &hints), VSGLEX_CHARSET_UTF8);
        EXPECT_EQ(hints, 0u) << s;
    }
}

TEST_F(InputTest, TraditionalTextIsSimplifiedForTheAnalysisOnly) {
    const std::string trad = "臺灣大學的學生在臺北參觀。";
    const std::string simp = "台湾大学的学生在台北参观。";
    uint32_t hints = 0;
    vsglex_guess_charset(trad.data(), trad.size(), &hints);
    EXPECT_EQ(hints, uint32_t{VSGLEX_GUESS_TRADITIONAL});
    vsglex_guess_charset(simp.data(), simp.size(), &hints);
    EXPECT_EQ(hints, 0u);

    Words s = Analyze(simp, VSGLEX_CHARSET_UTF8);
    Words plain = Analyze(trad, VSGLEX_CHARSET_UTF8);
    EXPECT_NE(plain.tags, s.tags);  // unmapped, the traditional words are unknown

    // UTF-8 and GBK with the flag: the tags of the simplified text, the
    // caller's own characters and byte ranges.
    for (const char *set : {"UTF-8", "GB18030"}) {
        std::string bytes = Convert(trad, set);
        int32_t charset = std::string(set) == "UTF-8" ? VSGLEX_CHARSET_UTF8 : VSGLEX_CHARSET_GB18030;
        Words t = Analyze(bytes, charset, VSGLEX_T2S);
        EXPECT_EQ(t.tags, s.tags) << set;
        EXPECT_EQ(t.classes, s.classes) << set;
        ASSERT_EQ(t.texts.size(), s.texts.size());
        std::string joined;
        for (size_t k = 0; k < t.texts.size(); ++k) {
            joined += t.texts[k];
            EXPECT_EQ(Convert(t.texts[k], set), bytes.substr(t.offsets[k], t.lengths[k])) << set;
        }
        EXPECT_EQ(joined, trad) << set;
    }
}

TEST_F(InputTest, LongLinesAreCutBetweenCharacters) {
    // A line of a megabyte and more without a line end, in UTF-8 and GBK:
    // no byte is taken for invalid and every character comes back in a word.
    std::string para = Sample();
    for (char &c : para)
        if (c == '\n') c = ' ';
    std::string line;
    while (line.size() < (1u << 20) + 7) line += para;
    for (const char *set : {"UTF-8", "GB18030"}) {
        std::string bytes = set == std::string("UTF-8") ? line : vsgtest::Gb(line);
        Words w = Analyze(bytes, VSGLEX_CHARSET_AUTO);
        ASSERT_EQ(w.status, VSGLEX_OK);
        EXPECT_TRUE(w.invalid.empty()) << set << ": " << w.invalid.size() << " bad bytes, first at " << w.invalid[0];
        std::string joined, expected;
        for (const std::string &t : w.texts) joined += t;
        for (char c : line)
            if (c != ' ') expected += c;
        EXPECT_TRUE(joined == expected) << set << ": " << joined.size() << " bytes of words, " << expected.size()
                                        << " expected";
    }

    // The cut point a host may use: after the last sentence end, else after
    // the last whole character; never inside a character.
    std::string gb = vsgtest::Gb("中文。中文");
    EXPECT_EQ(vsglex_cut_point(gb.data(), gb.size() - 1, VSGLEX_CHARSET_GB18030), 6u);
    std::string noEnd = vsgtest::Gb("中文中文");
    EXPECT_EQ(vsglex_cut_point(noEnd.data(), 7, VSGLEX_CHARSET_GB18030), 6u);
    std::string u = "中文中文";
    EXPECT_EQ(vsglex_cut_point(u.data(), 8, VSGLEX_CHARSET_UTF8), 6u);
    EXPECT_EQ(vsglex_cut_point(u.data(), 2, VSGLEX_CHARSET_UTF8), 0u);
    EXPECT_EQ(vsglex_cut_point(u.data(), 8, VSGLEX_CHARSET_AUTO), 0u);
}

}  // namespace
