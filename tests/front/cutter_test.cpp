// Word cutter: best path over a small hand-written core dictionary.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "front/atoms.h"
#include "front/lexicon.h"
#include "support/support.h"
#include "vsglex/model.h"

namespace {

using vsg::front::Atom;
using vsg::front::AtomKind;
using vsg::front::Lexicon;

// Header line "word rows s0 s1 s2 s3" and one row "code subCode value".
std::string Entry(const char *word, int code, int tag, double value) {
    return vsgtest::Gb(word) + " 1 0 0 0 0\n" + std::to_string(code) + " " + std::to_string(tag) + " " +
           std::to_string(value) + "\n";
}

class CutterTest : public ::testing::Test {
protected:
    void SetUp() override {
        std::string text = Entry("中国", 0, 10, 5.0) + Entry("中", 0, 10, 3.0) + Entry("国", 0, 10, 3.0) +
                           Entry("人民", 0, 10, 4.5) + Entry("人", 0, 10, 3.0) + Entry("民", 0, 10, 1.0) +
                           Entry("中国人", 0, 10, 1.0) + Entry("李", 0, 24, 2.0) + Entry("李鹏", 0, 24, 2.0) +
                           Entry("鹏", 0, 10, 0.5) + Entry("江泽民", 0, 24, 1.0) + Entry("１２月", 0, 15, 3.0) +
                           // Words without part-of-speech rows are not cut.
                           Entry("北京", 2, 3, 4.0);
        vsgtest::WriteFile(dir_.file("tiny.dct"), text);
        ASSERT_EQ(DictionaryS_Load(dir_.file("tiny.dct").c_str(), &dict_), 1);
    }
    void TearDown() override { DictionaryS_Free(&dict_); }

    // The words of `utf8` cut by `lex`, joined by '/'.
    static std::string Cut(const Lexicon &lex, const std::string &utf8) {
        std::string gb = vsgtest::Gb(utf8);
        std::vector<Atom> atoms;
        vsg::front::Atomise(gb.data(), 0, gb.size(), atoms);
        std::vector<uint32_t> ends;
        vsg::front::CutScratch scratch;
        lex.Cut(gb.data(), atoms.data(), atoms.size(), ends, scratch);
        std::string out;
        size_t a = 0;
        for (uint32_t e : ends) {
            if (!out.empty()) out += '/';
            size_t s = atoms[a].start, l = atoms[e - 1].start + atoms[e - 1].length - s;
            out += vsgtest::Utf8(gb.substr(s, l));
            a = e;
        }
        EXPECT_EQ(a, atoms.size());
        return out;
    }

    vsgtest::TempDir dir_;
    DictionaryS dict_{};
};

TEST_F(CutterTest, CheapestPathOverDictionaryWords) {
    Lexicon lex;
    ASSERT_TRUE(lex.Build(dict_));
    // Two frequent words beat a rare long word plus a rare single.
    EXPECT_EQ(Cut(lex, "中国人民"), "中国/人民");
    // Dictionary words may span number atoms; unknown characters stay single.
    EXPECT_EQ(Cut(lex, "１２月３日"), "１２月/３/日");
    EXPECT_EQ(Cut(lex, "北京人"), "北/京/人");
    EXPECT_EQ(Cut(lex, ""), "");
}

TEST_F(CutterTest, ShortPersonWordsDoNotSwallowUnknownNames) {
    // By default a two-character word seen only as a person name is left
    // out, so a longer unknown name around it reaches the recognisers as
    // single characters; known full names of three characters stay words.
    Lexicon lex;
    ASSERT_TRUE(lex.Build(dict_));
    EXPECT_EQ(Cut(lex, "李鹏飞说"), "李/鹏/飞/说");
    EXPECT_EQ(Cut(lex, "江泽民说"), "江泽民/说");

    vsg::front::LexiconOptions keep;
    keep.minPersonWordChars = 0;
    Lexicon all;
    ASSERT_TRUE(all.Build(dict_, keep));
    EXPECT_EQ(Cut(all, "李鹏飞说"), "李鹏/飞/说");
}

TEST_F(CutterTest, HasWordOnlyForWordsWithPartOfSpeechRows) {
    // The unknown-word tags skip the dictionary look-up for what the
    // lexicon holds: it must never hold a word without part-of-speech rows
    // (北京 has only place-role rows), nor a prefix that is no word.
    Lexicon lex;
    ASSERT_TRUE(lex.Build(dict_));
    auto has = [&](const char *utf8) {
        const std::string gb = vsgtest::Gb(utf8);
        return lex.HasWord(gb.data(), gb.size());
    };
    EXPECT_TRUE(has("中国"));
    EXPECT_TRUE(has("中国人"));
    EXPECT_TRUE(has("江泽民"));
    EXPECT_TRUE(has("１２月"));
    EXPECT_FALSE(has("北京"));
    EXPECT_FALSE(has("中国人民"));
    EXPECT_FALSE(has("１２"));  // a prefix of 12月 only
    EXPECT_FALSE(has("李鹏"));  // a short person word, left out (looked up instead)
    EXPECT_FALSE(has(""));
}

TEST(CutterEmptyTest, DictionaryWithoutWordsIsRejected) {
    DictionaryS empty{};
    Lexicon lex;
    EXPECT_FALSE(lex.Build(empty));
}

}  // namespace
