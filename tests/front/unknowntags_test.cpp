// Tests of the tags of unknown words: statistics of a small hand-made
// dictionary and context model, and the decisions they lead to.
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "front/unknowntags.h"
#include "support/support.h"

namespace {

using vsg::front::UnknownTags;
using vsgtest::Gb;

// Tag numbers of the names below.
constexpr int32_t kR = 8, kN = 2, kV = 3, kPerson = 24;

// A core dictionary of (word, tag, count) rows and a context model with
// the same cost for every pair unless changed.
class UnknownTagsTest : public ::testing::Test {
protected:
    void SetUp() override {
        names_ = {"bos", "eos", "n", "v", "a", "d", "m", "q", "r", "p", "c", "t", "f", "s", "u", "vn",
                  "an", "ad", "vd", "b", "z", "j", "l", "i", "nr", "nz", "nx", "nrf", "nrj", "ns", "nsf", "nt"};
        // Rare words beginning with 研 are verbs; frequent ones are nouns
        // (they must not count: unknown words are like rare ones); a name
        // beginning with it is no evidence either.
        for (const char *w : {"研判", "研制", "研讨"}) Add(w, kV, 1.0);
        for (const char *w : {"研究", "研究所", "研究员", "研究生", "研发"}) Add(w, kN, 500.0);
        Add("研亮", kPerson, 2.0);
        Add("研亮", kN, 1.0);
        // Rare nouns ending in 员.
        for (const char *w : {"队员", "学员", "雇员", "船员"}) Add(w, kN, 1.0);
        Add("动员", kV, 1.0);
        for (size_t k = 0; k < words_.size(); ++k) {
            DictSEntry e{};
            e.word = words_[k].data();
            e.length = static_cast<int32_t>(words_[k].size());
            e.posCount = 1;
            e.posList = &rowOf_[k];
            entries_.push_back(e);
        }
        engine_.core.entries = entries_.data();
        engine_.core.count = static_cast<int32_t>(entries_.size());
        ContextStat &ctx = engine_.tagModels[VSG_TAG_POS].model;
        ctx.tagCount = static_cast<uint8_t>(names_.size());
        freq_.assign(names_.size(), 1000);
        ctx.tagFrequency = freq_.data();
        cost_.assign(names_.size(), std::vector<double>(names_.size(), 5.0));
        for (auto &row : cost_) costRows_.push_back(row.data());
        ctx.possibility = costRows_.data();
    }
    void Add(const char *utf8, int32_t tag, double count) {
        words_.push_back(Gb(utf8));
        DictSRow row{};
        row.code = 0;
        row.subCode = static_cast<uint8_t>(tag);
        row.value = static_cast<float>(std::log(count));
        rowOf_.push_back(row);
    }
    int32_t Retag(const UnknownTags &t, const char *utf8, int32_t prev, int32_t tag, int32_t next,
                  double margin = 0.0) {
        const std::string gb = Gb(utf8);
        return t.Retag(gb.data(), gb.size(), prev, tag, next, margin);
    }

    std::vector<std::string> names_, words_;
    std::vector<DictSRow> rowOf_;
    std::vector<DictSEntry> entries_;
    std::vector<int32_t> freq_;
    std::vector<std::vector<double>> cost_;
    std::vector<double *> costRows_;
    SegmentEngine engine_{};
};

TEST_F(UnknownTagsTest, CharactersOfRareWordsDecideUnlessTheContextSpeaksAgainst) {
    UnknownTags tags;
    tags.Build(engine_, names_);
    ASSERT_FALSE(tags.Empty());
    EXPECT_TRUE(tags.IsCandidate(kV));
    EXPECT_FALSE(tags.IsCandidate(kPerson));
    // With flat transitions the first and last characters decide.
    EXPECT_EQ(Retag(tags, "研磨", kR, kN, kN), kV);
    EXPECT_EQ(Retag(tags, "海员", kR, kV, kN), kN);
    // A margin, or a context that makes the verb dear, keeps the engine's tag.
    EXPECT_EQ(Retag(tags, "研磨", kR, kN, kN, 50.0), kN);
    cost_[kR][kV] = 20.0;
    EXPECT_EQ(Retag(tags, "研磨", kR, kN, kN), kN);
    cost_[kR][kV] = 5.0;
    // A name tag is not the step's to change, nor is a word of other than
    // Chinese characters.
    EXPECT_EQ(Retag(tags, "研磨", kR, kPerson, kN), kPerson);
    EXPECT_EQ(Retag(tags, "ＡＢ", kR, kN, kN), kN);
}

TEST_F(UnknownTagsTest, NoRareWordsNoStep) {
    for (DictSRow &row : rowOf_) row.value = static_cast<float>(std::log(1000.0));
    UnknownTags tags;
    tags.Build(engine_, names_);
    EXPECT_TRUE(tags.Empty());
    EXPECT_EQ(Retag(tags, "研磨", kR, kN, kN), kN);
}

}  // namespace
