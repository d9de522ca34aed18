// Atomiser: character classes, runs and their limits.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "front/atoms.h"
#include "support/support.h"

namespace {

using vsg::front::Atom;
using vsg::front::AtomKind;

std::vector<Atom> AtomsOf(const std::string &gb) {
    std::vector<Atom> atoms;
    vsg::front::Atomise(gb.data(), 0, gb.size(), atoms);
    return atoms;
}

// Texts and kinds of the atoms of `gb`, for readable comparisons.
std::string Describe(const std::string &gb) {
    std::string out;
    for (const Atom &a : AtomsOf(gb)) {
        static const char *const kNames[] = {"H", "N", "L", "P", "S", "O"};
        out += kNames[static_cast<int>(a.kind)];
        out += ':' + vsgtest::Utf8(gb.substr(a.start, a.length)) + ' ';
    }
    return out;
}

TEST(AtomiserTest, ClassesAndRuns) {
    // Chinese characters one by one; number runs in half and full width with
    // inner separators and a closing percent sign; letter runs with digits.
    EXPECT_EQ(Describe(vsgtest::Gb("中文ABC１２３，3.14%和ｉＰｈｏｎｅ１５ x")),
              "H:中 H:文 L:ABC１２３ P:， N:3.14% H:和 L:ｉＰｈｏｎｅ１５ S:  L:x ");
    // Separators count only between digits; the full-width period joins.
    EXPECT_EQ(Describe(vsgtest::Gb("1,000,000元 7. ３．５")), "N:1,000,000 H:元 S:  N:7 P:. S:  N:３．５ ");
    // Ideographic space and control bytes are white space; symbols are
    // punctuation.
    EXPECT_EQ(Describe(vsgtest::Gb("甲　\t乙《丙》")), "H:甲 S:　\t H:乙 P:《 H:丙 P:》 ");
}

TEST(AtomiserTest, LimitsAndBrokenBytes) {
    // Runs longer than 80 bytes are split so every word fits the engine.
    std::string digits(100, '7');
    auto atoms = AtomsOf(digits);
    ASSERT_EQ(atoms.size(), 2u);
    EXPECT_EQ(atoms[0].length, 80);
    EXPECT_EQ(atoms[1].length, 20);
    std::string wide;
    for (int i = 0; i < 50; ++i) wide += "\xa3\xc1";  // Ａ
    atoms = AtomsOf(wide);
    ASSERT_EQ(atoms.size(), 2u);
    EXPECT_EQ(atoms[0].length, 80);

    // A four-byte character is one atom; a lead byte without a valid trail
    // is a one-byte atom; atoms always tile the text.
    std::string mixed = std::string("\x81\x30\x81\x30", 4) + "\xd6\xd0" + "\x81" + " " + "\xfe";
    atoms = AtomsOf(mixed);
    ASSERT_EQ(atoms.size(), 5u);
    EXPECT_EQ(atoms[0].length, 4);
    EXPECT_EQ(atoms[0].kind, AtomKind::kOther);
    EXPECT_EQ(atoms[1].kind, AtomKind::kHan);
    EXPECT_EQ(atoms[2].length, 1);
    EXPECT_EQ(atoms[2].kind, AtomKind::kOther);
    EXPECT_EQ(atoms[3].kind, AtomKind::kSpace);
    EXPECT_EQ(atoms[4].length, 1);
    size_t pos = 0;
    for (const Atom &a : atoms) {
        EXPECT_EQ(a.start, pos);
        pos += a.length;
    }
    EXPECT_EQ(pos, mixed.size());
}

}  // namespace
