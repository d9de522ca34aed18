// Tests of the part-of-speech refinement: the search against exhaustive
// search, the perceptron on a corpus the counted costs get wrong, and the
// encoding of trained costs as counts read back by the engine's loader.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "posrefine.h"
#include "support/support.h"
#include "vsglex/model.h"

namespace {

using vsgtrain::BestTags;
using vsgtrain::CandidateList;
using vsgtrain::PosCosts;
using vsgtrain::PosSentence;

// Cost of one tag sequence, summed the way the search does.
double PathCost(const PosSentence &s, const PosCosts &c, const std::vector<uint8_t> &tags) {
    double cost = 0.0;
    uint8_t prev = 0;
    for (size_t i = 0; i < tags.size(); ++i) {
        cost += c.transition[prev * c.tagCount + tags[i]];
        if (s.lists[i] >= 0) {
            const CandidateList &l = c.lists[static_cast<size_t>(s.lists[i])];
            for (size_t k = 0; k < l.tags.size(); ++k)
                if (l.tags[k] == tags[i]) cost += l.costs[k];
        }
        prev = tags[i];
    }
    return cost + c.transition[prev * c.tagCount + 1];
}

TEST(PosRefine, SearchFindsTheCheapestSequence) {
    std::mt19937 rng(7);
    std::uniform_real_distribution<double> cost(0.0, 5.0);
    for (int round = 0; round < 300; ++round) {
        PosCosts c;
        c.tagCount = 6;
        c.transition.resize(36);
        for (double &t : c.transition) t = cost(rng);
        for (int l = 0; l < 4; ++l) {
            CandidateList list;
            for (uint8_t t = 2; t < 6; ++t) {
                if (rng() % 2 == 0 || (t == 5 && list.tags.empty())) {
                    list.tags.push_back(t);
                    list.costs.push_back(cost(rng));
                }
            }
            c.lists.push_back(list);
        }
        PosSentence s;
        const size_t n = 1 + rng() % 5;
        for (size_t i = 0; i < n; ++i) {
            if (rng() % 4 == 0) {  // a fixed tag
                s.lists.push_back(-1);
                s.gold.push_back(static_cast<uint8_t>(2 + rng() % 4));
            } else {
                s.lists.push_back(static_cast<int32_t>(rng() % 4));
                s.gold.push_back(0);
            }
        }
        // Exhaustive search over every combination of candidates.
        double best = std::numeric_limits<double>::infinity();
        std::vector<size_t> pick(n, 0);
        for (;;) {
            std::vector<uint8_t> tags(n);
            for (size_t i = 0; i < n; ++i)
                tags[i] = s.lists[i] < 0 ? s.gold[i] : c.lists[static_cast<size_t>(s.lists[i])].tags[pick[i]];
            best = std::min(best, PathCost(s, c, tags));
            size_t i = 0;
            for (; i < n; ++i) {
                size_t options = s.lists[i] < 0 ? 1 : c.lists[static_cast<size_t>(s.lists[i])].tags.size();
                if (++pick[i] < options) break;
                pick[i] = 0;
            }
            if (i == n) break;
        }
        std::vector<uint8_t> got = BestTags(s, c, 0, 1);
        ASSERT_EQ(got.size(), n);
        for (size_t i = 0; i < n; ++i) {
            if (s.lists[i] < 0) {
                EXPECT_EQ(got[i], s.gold[i]) << "a fixed tag was changed";
            }
        }
        EXPECT_NEAR(PathCost(s, c, got), best, 1e-9) << "round " << round;
    }
}

// Tags: 0 begin, 1 end, 2 P, 3 Q, 4 A, 5 B. The word x is A after P and B
// after Q; its counted costs prefer A everywhere and the transitions do
// not tell the two apart, so the counted model gets every "Q x" wrong.
TEST(PosRefine, PerceptronLearnsWhatCountsMiss) {
    PosCosts c;
    c.tagCount = 6;
    c.transition.assign(36, 1.0);
    c.lists.push_back({{4, 5}, {0.5, 1.45}, true});  // 0: x
    c.lists.push_back({{2}, {0.0}, true});           // 1: p
    c.lists.push_back({{3}, {0.0}, true});           // 2: q
    c.lists.push_back({{4, 5}, {0.0, 3.0}, false});  // 3: a word whose costs are kept
    std::vector<PosSentence> corpus;
    for (int i = 0; i < 20; ++i) {
        corpus.push_back({{1, 0}, {2, 4}});
        corpus.push_back({{2, 0}, {3, 5}});
        corpus.push_back({{2, 0, 3}, {3, 5, 4}});
    }
    EXPECT_EQ(BestTags(corpus[1], c, 0, 1), (std::vector<uint8_t>{3, 4}));

    vsgtrain::RefineOptions opt;
    opt.epochs = 5;
    opt.rate = 0.1;
    PosCosts trained = c;
    vsgtrain::RefineSummary sum = vsgtrain::RefinePosCosts(corpus, opt, &trained);
    EXPECT_EQ(sum.positions, 20 * 7);
    EXPECT_GT(sum.errorsFirstPass, 0);
    EXPECT_LT(sum.errorsLastPass, sum.errorsFirstPass);
    for (const PosSentence &s : corpus) EXPECT_EQ(BestTags(s, trained, 0, 1), s.gold);
    EXPECT_EQ(trained.lists[3].costs, c.lists[3].costs) << "a kept list moved";

    // The same input gives the same costs.
    PosCosts again = c;
    vsgtrain::RefinePosCosts(corpus, opt, &again);
    EXPECT_EQ(again.transition, trained.transition);
    EXPECT_EQ(again.lists[0].costs, trained.lists[0].costs);

    // No passes, no change.
    PosCosts none = c;
    opt.epochs = 0;
    vsgtrain::RefinePosCosts(corpus, opt, &none);
    EXPECT_EQ(none.lists[0].costs, c.lists[0].costs);
}

// Trained costs survive the trip through a context file and the engine's
// loader: every cost the count range can express comes back within the
// rounding of one count.
TEST(PosRefine, SharedListCostsFitTheWordsThatReadThem) {
    // Tags 2 (after tag 4) and 3 (after tag 5). List 0 is the shared list
    // of new words (2 or 3), list 1 a known word of one tag (4 or 5: it
    // cuts the search), list 2 an ambiguous known word (4 or 5), list 3 a
    // known word of tag 5. The
    // shared list starts with 2 far cheaper, so every new word after a 5
    // is wrong; random sentences, some with many new words in a row.
    std::mt19937 rng(11);
    PosCosts c;
    c.tagCount = 6;
    c.transition.assign(36, 3.0);
    c.Transition(4, 2) = 0.5;
    c.Transition(5, 3) = 0.5;
    c.Transition(5, 2) = 2.0;
    c.Transition(4, 3) = 2.5;
    c.Transition(3, 4) = 1.5;  // the word after counts too
    c.lists.push_back({{2, 3}, {0.0, 2.0}, true});
    c.lists.push_back({{4}, {1.0}, true});
    c.lists.push_back({{4, 5}, {1.0, 1.2}, true});
    c.lists.push_back({{5}, {1.0}, true});
    std::vector<PosSentence> corpus;
    for (int n = 0; n < 200; ++n) {
        PosSentence s;
        const size_t len = 2 + rng() % 8;
        uint8_t prev = 4;
        for (size_t i = 0; i < len; ++i) {
            if (i > 0 && rng() % 2 == 0) {
                s.lists.push_back(0);
                s.gold.push_back(prev == 4 ? 2 : 3);
            } else {
                const int l = 1 + static_cast<int>(rng() % 3);
                prev = l == 1 ? 4 : l == 3 ? 5 : (rng() % 2 ? 4 : 5);
                s.lists.push_back(l);
                s.gold.push_back(prev);
            }
            if (i == 0 && s.lists[0] == 0) s.lists[0] = 1;
        }
        corpus.push_back(s);
    }
    // Errors of the whole-sentence search on positions of list 0.
    auto errors = [&](const PosCosts &costs) {
        int64_t e = 0;
        for (const PosSentence &s : corpus) {
            const std::vector<uint8_t> best = BestTags(s, costs, 0, 1);
            for (size_t i = 0; i < best.size(); ++i) e += s.lists[i] == 0 && best[i] != s.gold[i];
        }
        return e;
    };
    PosCosts tuned = c;
    int64_t before = -1, after = -1;
    const int64_t positions = vsgtrain::TuneListCosts(corpus, 0, 4, 1.0, 0, 1, &tuned, &before, &after);
    int64_t expected = 0;
    for (const PosSentence &s : corpus)
        for (int32_t l : s.lists) expected += l == 0;
    EXPECT_EQ(positions, expected);
    // The counts on the pieces are those of the whole sentences.
    EXPECT_EQ(before, errors(c));
    EXPECT_EQ(after, errors(tuned));
    EXPECT_GT(before, 0);
    EXPECT_LT(after, before);
    // Only the shared list moved.
    EXPECT_EQ(tuned.transition, c.transition);
    for (size_t l = 1; l < c.lists.size(); ++l) EXPECT_EQ(tuned.lists[l].costs, c.lists[l].costs) << l;
    // No rounds, no move.
    PosCosts still = c;
    vsgtrain::TuneListCosts(corpus, 0, 0, 1.0, 0, 1, &still, &before, &after);
    EXPECT_EQ(still.lists[0].costs, c.lists[0].costs);
    EXPECT_EQ(before, after);
}

TEST(PosRefine, TransitionCountsDecodeToTheirCosts) {
    vsgtest::TempDir dir;
    const int32_t total = std::numeric_limits<int32_t>::max();
    const int32_t freq[4] = {0, 40, 5000, 300000};
    const double costs[] = {-1.5, 0.0, 0.01, 0.7, 2.3, 5.0, 8.0, 11.0, 13.8155, 20.0};
    const int n = 4;
    std::vector<int32_t> f(freq, freq + n);
    std::vector<std::vector<int32_t>> rows(n, std::vector<int32_t>(n, 0));
    std::vector<int32_t *> rowPtrs(n);
    for (const double cost : costs) {
        for (int i = 0; i < n; ++i) {
            for (int j = 0; j < n; ++j) rows[i][j] = vsgtrain::TransitionCount(cost, freq[i], total);
            rowPtrs[i] = rows[i].data();
        }
        ContextStat m;
        std::memset(&m, 0, sizeof m);
        m.tagCount = n;
        m.totalFrequency = total;
        m.tagFrequency = f.data();
        m.contextMatrix = rowPtrs.data();
        const std::string path = dir.path() + "/t.ctx";
        ASSERT_EQ(ContextStat_SaveBinary(path.c_str(), &m), 1);
        ContextStat loaded;
        std::memset(&loaded, 0, sizeof loaded);
        ASSERT_EQ(ContextStat_LoadBinary(path.c_str(), &loaded), 1);
        EXPECT_EQ(rows[0][0], 0) << "a tag that never occurs has no count";
        for (int i = 1; i < n; ++i) {
            const double got = ContextStat_GetPossibility(i, 2, &loaded);
            // The cheapest cost one count can express, and the step between
            // neighbouring counts, bound what can come back.
            const double oneCount = -std::log(0.9 / freq[i]);
            if (cost >= 13.8155 || cost > oneCount + 1.0) {
                EXPECT_GE(got, std::min(cost, oneCount) - 0.01) << "cost " << cost << " freq " << freq[i];
            } else {
                const double c = freq[i] * std::exp(-cost) / 0.9;
                const double step = c >= 1.0 ? std::log((c + 1.0) / c) : 1.0;
                EXPECT_NEAR(got, cost, step) << "cost " << cost << " freq " << freq[i];
            }
        }
        ContextStat_Free(&loaded);
    }
}

}  // namespace
