// Tests of the tags of unknown words: statistics of a small hand-made
// dictionary and context model, and the decisions they lead to.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "front/unknowntags.h"
#include "support/support.h"

namespace {

using vsg::front::UnknownTags;
using vsgtest::Gb;

// Tag numbers of the names below.
constexpr int32_t kR = 8, kN = 2, kV = 3, kM = 6, kPerson = 24;

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
        Finish();
        ContextStat &ctx = engine_.tagModels[VSG_TAG_POS].model;
        ctx.tagCount = static_cast<uint8_t>(names_.size());
        freq_.assign(names_.size(), 1000);
        ctx.tagFrequency = freq_.data();
        cost_.assign(names_.size(), std::vector<double>(names_.size(), 5.0));
        for (auto &row : cost_) costRows_.push_back(row.data());
        ctx.possibility = costRows_.data();
    }
    // Builds the dictionary of the words added, sorted and hashed as a
    // loaded one is (so that single characters can be looked up).
    void Finish() {
        entries_.clear();
        for (size_t k = 0; k < words_.size(); ++k) {
            DictSEntry e{};
            e.word = words_[k].data();
            e.length = static_cast<int32_t>(words_[k].size());
            e.hash = static_cast<int32_t>(VSGHash(e.word, DICTS_BUCKETS));
            e.posCount = 1;
            e.posList = &rowOf_[k];
            entries_.push_back(e);
        }
        std::stable_sort(entries_.begin(), entries_.end(),
                         [](const DictSEntry &a, const DictSEntry &b) { return a.hash < b.hash; });
        buckets_.assign(DICTS_BUCKETS, DictBucket{-1, 0});
        for (int32_t i = 0; i < static_cast<int32_t>(entries_.size()); ++i) {
            DictBucket &b = buckets_[static_cast<size_t>(entries_[static_cast<size_t>(i)].hash)];
            if (b.first < 0) b.first = i;
            ++b.count;
        }
        engine_.core.entries = entries_.data();
        engine_.core.count = static_cast<int32_t>(entries_.size());
        engine_.core.buckets = buckets_.data();
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
    std::vector<DictBucket> buckets_;
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

// The numeral tag given by the engine is open to the characters' evidence;
// a character seen in few rare words leans on the characters with its own
// tag as a word. Each only with its option.
TEST_F(UnknownTagsTest, NumeralTagAndCharacterClasses) {
    // Cooking verbs as words of their own begin rare verbs; 晒 begins one
    // rare noun only.
    for (const char *w : {"烤", "煮", "炒", "蒸", "煎", "晒"}) Add(w, kV, 100.0);
    for (const char *w : {"烤制", "煮沸", "炒制", "蒸煮", "煎炸"}) Add(w, kV, 1.0);
    for (const char *w : {"晒场", "海带", "海藻", "海港", "海湾"}) Add(w, kN, 1.0);
    Finish();
    vsg::front::UnknownTagOptions off;
    off.numbers = false;
    off.backoff = false;
    UnknownTags plain, full;
    plain.Build(engine_, names_, off);
    full.Build(engine_, names_);
    EXPECT_FALSE(plain.IsCandidate(kM));
    EXPECT_TRUE(full.IsCandidate(kM));
    EXPECT_EQ(Retag(plain, "海员", kR, kM, kN), kM);
    EXPECT_EQ(Retag(full, "海员", kR, kM, kN), kN);
    // 晒 as a first character: a noun by its own word, a verb by its class.
    EXPECT_EQ(Retag(plain, "晒图", kR, kV, kN), kN);
    EXPECT_EQ(Retag(full, "晒图", kR, kN, kN), kV);
    // A verb of its class with no word of its own keeps its evidence.
    EXPECT_EQ(Retag(full, "烤焦", kR, kN, kN), kV);
}

TEST_F(UnknownTagsTest, NoRareWordsNoStep) {
    for (DictSRow &row : rowOf_) row.value = static_cast<float>(std::log(1000.0));
    UnknownTags tags;
    tags.Build(engine_, names_);
    EXPECT_TRUE(tags.Empty());
    EXPECT_EQ(Retag(tags, "研磨", kR, kN, kN), kN);
}

}  // namespace
