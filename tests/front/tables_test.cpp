// The tables the front end builds in place of list scans and searches give
// exactly what the scans give.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "common/gb_lists.h"
#include "front/analysis.h"
#include "front/conventions.h"
#include "front/corpusview.h"

namespace {

// Every two-byte code, member or not, against the list scan, for the
// character lists of the steps after the engine and two long lists.
TEST(FrontTablesTest, CharacterSetsAnswerAsTheirLists) {
    using vsg::front::GbCharSet;
    using vsg::front::InGbList;
    const char *lists[] = {vsg::front::kUnitSuffixes, vsg::front::kPairUnitSuffixes, vsg::front::kStemSuffixes,
                           vsg::text::kForeignSetA, vsg::text::kForeignSetB};
    for (const char *list : lists) {
        const GbCharSet set(list);
        size_t members = 0;
        for (unsigned c = 0; c < 0x10000; ++c) {
            const char p[2] = {static_cast<char>(c >> 8), static_cast<char>(c & 0xFF)};
            ASSERT_EQ(set.Has(p), InGbList(list, p)) << std::hex << c;
            members += set.Has(p);
        }
        EXPECT_GT(members, 1u);
    }
    EXPECT_TRUE(vsg::front::StemSuffix(vsg::front::kStemSuffixes + 2 * 12, 2));
    EXPECT_FALSE(vsg::front::StemSuffix(vsg::front::kStemSuffixes, 4));
    EXPECT_TRUE(vsg::front::UnitSuffix(vsg::front::kUnitSuffixes + 2 * 5));
}

// The inline answer of the string class against the long way, for every
// GB2312 Chinese character alone and before the endings of number and
// time words (年, 十, digits) and a Latin letter.
TEST(FrontTablesTest, StringClassShortcutAnswersAsTheLongWay) {
    using vsg::front::ClassOfAnyString;
    using vsg::front::ClassOfString;
    const std::string endings[] = {"", "\xc4\xea", "\xca\xae", "\xa3\xb1\xa3\xb2", "12", "A"};  // 年 十 １２
    size_t others = 0, classed = 0;
    for (unsigned lead = 0xB0; lead <= 0xF7; ++lead) {
        for (unsigned trail = 0xA1; trail <= 0xFE; ++trail) {
            for (const std::string &ending : endings) {
                const std::string word = std::string{static_cast<char>(lead), static_cast<char>(trail)} + ending;
                const auto quick = ClassOfString(word.data(), word.size());
                ASSERT_EQ(quick, ClassOfAnyString(word.data(), word.size())) << std::hex << lead << trail;
                (quick == vsg::front::StringClass::kOther ? others : classed) += 1;
            }
        }
    }
    EXPECT_GT(classed, 10u);  // numerals and 第 lead classed words
    EXPECT_GT(others, classed);
}

// Elements across several chunks, read back by index and in order, and
// changed through back() and by index.
TEST(FrontTablesTest, ChunkedArrayKeepsElementsInOrder) {
    vsg::front::ChunkedArray<uint64_t, 4> a;
    EXPECT_TRUE(a.empty());
    for (uint64_t k = 0; k < 100; ++k) {
        a.push_back(k * 7);
        a.back() += 1;
    }
    a[16] = 5;
    ASSERT_EQ(a.size(), 100u);
    std::vector<uint64_t> seen;
    a.ForEach([&](uint64_t v) { seen.push_back(v); });
    ASSERT_EQ(seen.size(), 100u);
    for (uint64_t k = 0; k < 100; ++k) {
        const uint64_t want = k == 16 ? 5 : k * 7 + 1;
        EXPECT_EQ(seen[k], want);
        EXPECT_EQ(a[k], want);
    }
    vsg::front::ChunkedArray<uint64_t, 4> full;  // exactly one chunk
    for (uint64_t k = 0; k < 16; ++k) full.push_back(k);
    size_t count = 0;
    full.ForEach([&](uint64_t v) { EXPECT_EQ(v, count++); });
    EXPECT_EQ(count, 16u);
}

}  // namespace
