// Tests of cutscore's word-pair search: without pair weight it finds the
// label search's cut on random runs (word scores, transitions inside and
// between words, long words), and with weight the counted pairs move the
// cut.
#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <string>
#include <vector>

#include "front/atoms.h"
#include "front/segmodel.h"
#include "support/support.h"
#include "wordpairs.h"

namespace {

using namespace vsg::front;
using vsgbench::WordPairCut;
using vsgbench::WordPairOptions;
using vsgbench::WordPairs;
using vsgtest::Gb;

std::vector<uint32_t> LabelEnds(const std::vector<uint8_t> &labels) {
    std::vector<uint32_t> ends;
    for (size_t i = 0; i < labels.size(); ++i)
        if (SegLabelCloses(labels[i]) || i + 1 == labels.size()) ends.push_back(static_cast<uint32_t>(i + 1));
    return ends;
}

TEST(WordPairsTest, WithoutWeightTheCutIsTheLabelSearchs) {
    std::mt19937 rng(11);
    std::uniform_int_distribution<int32_t> value(-1000000, 1000000);
    const std::vector<std::string> chars = {Gb("中"), Gb("国"), Gb("人"), Gb("民"), Gb("的")};
    WordPairs pairs;
    pairs.AddParagraph({Gb("中国"), Gb("人民")});
    for (bool restrict : {false, true})
        for (int round = 0; round < 300; ++round) {
            std::string text;
            const size_t n = 1 + rng() % 14;
            for (size_t i = 0; i < n; ++i) text += chars[rng() % chars.size()];
            std::vector<Atom> atoms;
            Atomise(text.data(), 0, text.size(), atoms);
            ASSERT_EQ(atoms.size(), n);
            std::vector<int32_t> score(n * kSegLabels);
            for (int32_t &s : score) s = value(rng);
            // The word search scores a one-atom word by S alone: the name
            // labels are kept out of the label search's reach.
            for (size_t i = 0; i < n; ++i)
                score[i * kSegLabels + kSegNameFirst] = score[i * kSegLabels + kSegNameLater] = -100000000;
            // Middle labels cheap in some rounds, so that long words win.
            if (round % 3 == 0)
                for (size_t i = 0; i < n; ++i) score[i * kSegLabels + kSegMiddle] += 3000000;
            int32_t transitions[kSegLabels][kSegLabels];
            for (auto &row : transitions)
                for (int32_t &t : row) t = value(rng);
            std::vector<uint8_t> labels, back;
            SegViterbi<int32_t, int64_t>(score.data(), n, transitions, labels, back);
            WordPairOptions options;
            options.weight = 0.0;
            options.maxLength = n;
            options.restrict = restrict;
            std::vector<uint32_t> ends;
            WordPairCut(text.data(), atoms.data(), n, score.data(), transitions, pairs, options, ends);
            EXPECT_EQ(ends, LabelEnds(labels)) << "round " << round << " restrict " << restrict;
        }
}

TEST(WordPairsTest, CountedPairsMoveTheCut) {
    WordPairs pairs;
    for (int k = 0; k < 20; ++k) {
        pairs.AddParagraph({Gb("还"), Gb("有"), Gb("一些")});
        pairs.AddParagraph({Gb("还有"), Gb("的")});
    }
    const int32_t still = pairs.Id(Gb("还")), have = pairs.Id(Gb("有")), some = pairs.Id(Gb("一些"));
    const int32_t stillHave = pairs.Id(Gb("还有"));
    ASSERT_GE(still, 0);
    ASSERT_GE(stillHave, 0);
    EXPECT_EQ(pairs.Id(Gb("一些人")), -1);
    // Seen pairs are associated, unseen ones not, an unknown first word is
    // neutral and the floor bounds the penalty.
    EXPECT_GT(pairs.Association(still, have), 0.0);
    EXPECT_GT(pairs.Association(have, some), 0.0);
    EXPECT_LT(pairs.Association(stillHave, some), 0.0);
    EXPECT_EQ(pairs.Association(-1, some), 0.0);
    pairs.floor = 0.5;
    EXPECT_DOUBLE_EQ(pairs.Association(stillHave, some), -0.5);
    pairs.floor = 4.0;

    // 还有一些: label scores that slightly prefer 还有 / 一些; the pairs
    // (还 有) and (有 一些) turn it into 还 / 有 / 一些.
    const std::string text = Gb("还有一些");
    std::vector<Atom> atoms;
    Atomise(text.data(), 0, text.size(), atoms);
    ASSERT_EQ(atoms.size(), 4u);
    std::vector<int32_t> score(4 * kSegLabels, -100);
    score[0 * kSegLabels + kSegBegin] = 60;
    score[1 * kSegLabels + kSegEnd] = 60;
    score[0 * kSegLabels + kSegSingle] = 50;
    score[1 * kSegLabels + kSegSingle] = 50;
    score[2 * kSegLabels + kSegBegin] = 100;
    score[3 * kSegLabels + kSegEnd] = 100;
    int32_t transitions[kSegLabels][kSegLabels] = {};
    WordPairOptions options;
    options.weight = 0.0;
    std::vector<uint32_t> ends;
    WordPairCut(text.data(), atoms.data(), atoms.size(), score.data(), transitions, pairs, options, ends);
    EXPECT_EQ(ends, (std::vector<uint32_t>{2, 4}));
    options.weight = 20.0;
    ends.clear();
    WordPairCut(text.data(), atoms.data(), atoms.size(), score.data(), transitions, pairs, options, ends);
    EXPECT_EQ(ends, (std::vector<uint32_t>{1, 2, 4}));
}

}  // namespace

namespace {

// Score of a cut: its labels' scores and transitions plus the learned
// weights of its word features.
double CutScore(const std::string &text, const std::vector<Atom> &atoms, const std::vector<uint32_t> &ends,
                const std::vector<int32_t> &score, const int32_t (&transitions)[kSegLabels][kSegLabels],
                const WordPairs &pairs, const vsgbench::WordPairWeights &learned) {
    std::vector<uint8_t> labels;
    for (size_t k = 0, b = 0; k < ends.size(); b = ends[k], ++k)
        for (size_t i = b; i < ends[k]; ++i) labels.push_back(SegLabelAt(i - b, ends[k] - b));
    double v = 0;
    for (size_t i = 0; i < labels.size(); ++i) {
        v += score[i * kSegLabels + labels[i]];
        if (i > 0) v += transitions[labels[i - 1]][labels[i]];
    }
    std::vector<size_t> features;
    vsgbench::WordPairPathFeatures(text.data(), atoms.data(), ends, pairs, features);
    for (size_t f : features) v += learned.w[f];
    return v;
}

TEST(WordPairsTest, LearnedWeightsScoreTheFeaturesOfTheCut) {
    std::mt19937 rng(5);
    std::uniform_int_distribution<int32_t> value(-1000, 1000);
    std::uniform_real_distribution<double> weight(-800.0, 800.0);
    const std::vector<std::string> chars = {Gb("中"), Gb("国"), Gb("人"), Gb("民")};
    WordPairs pairs;
    pairs.AddParagraph({Gb("中国"), Gb("人民"), Gb("中"), Gb("国人")});
    pairs.AddParagraph({Gb("人"), Gb("民"), Gb("中国人民")});
    for (int round = 0; round < 200; ++round) {
        std::string text;
        const size_t n = 1 + rng() % 8;
        for (size_t i = 0; i < n; ++i) text += chars[rng() % chars.size()];
        std::vector<Atom> atoms;
        Atomise(text.data(), 0, text.size(), atoms);
        std::vector<int32_t> score(n * kSegLabels);
        for (int32_t &s : score) s = value(rng);
        int32_t transitions[kSegLabels][kSegLabels];
        for (auto &row : transitions)
            for (int32_t &t : row) t = value(rng);
        vsgbench::WordPairWeights learned;
        for (double &w : learned.w) w = weight(rng);
        WordPairOptions options;
        options.weight = 0.0;
        options.learned = &learned;
        std::vector<uint32_t> ends;
        WordPairCut(text.data(), atoms.data(), n, score.data(), transitions, pairs, options, ends);
        // Every cut of the run, by its set of inner boundaries.
        double best = -1e300;
        for (uint32_t mask = 0; mask < (1u << (n - 1)); ++mask) {
            std::vector<uint32_t> cut;
            for (uint32_t i = 1; i < n; ++i)
                if (mask & (1u << (i - 1))) cut.push_back(i);
            cut.push_back(static_cast<uint32_t>(n));
            best = std::max(best, CutScore(text, atoms, cut, score, transitions, pairs, learned));
        }
        EXPECT_DOUBLE_EQ(CutScore(text, atoms, ends, score, transitions, pairs, learned), best) << "round " << round;
    }
}

}  // namespace
