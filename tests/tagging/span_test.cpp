// Tests of the tagging span: candidate fill, Viterbi search and back-trace,
// part-of-speech runs, and the role-tagging driver.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "support/fixture_models.h"
#include "support/support.h"
#include "tagging/Span.h"
#include "tagging/Span_names.h"
#include "tagging/span_tables.h"
#include "vsglex/model.h"

using vsgtest::ContextModel;
using vsgtest::Gb;
using vsgtest::Row;
using vsgtest::WordArray;

namespace {

// Gives slot k of `span` the word "wK".
void NameSlot(CSpan *span, int k) {
    const std::string w = "w" + std::to_string(k);
    vsg::tagging::SetSlotWord(span, static_cast<uint32_t>(k), w.data(), w.size());
}

struct SpanDeleter {
    void operator()(CSpan *s) const { CSpan_delete(s); }
};
using SpanPtr = std::unique_ptr<CSpan, SpanDeleter>;

SpanPtr NewSpan(uint32_t type, ContextModel &model) {
    SpanPtr span(CSpan_new());
    EXPECT_NE(span, nullptr);
    CSpan_SetTagType(span.get(), type);
    span->model = model.get();
    return span;
}

const std::string kStart = Gb("始##始");
const std::string kEnd = Gb("末##末");

// Candidate row of slot k as a vector (up to the terminator).
std::vector<int> Cands(const CSpan *span, int k) {
    std::vector<int> out;
    for (int j = 0; j < kSpanCands && span->cand[k][j] != kNoTag; ++j) out.push_back(span->cand[k][j]);
    return out;
}

// Restores the unknown-word class position after a test changes it.
class TaIndexGuard {
public:
    TaIndexGuard() : saved_(gTaIndexNum) {}
    ~TaIndexGuard() { gTaIndexNum = saved_; }

private:
    int32_t saved_;
};

}  // namespace

// The forward pass and back-trace find the cheapest path: compared with an
// exhaustive search over random models and candidate rows.
TEST(SpanViterbi, MatchesExhaustiveSearch) {
    std::mt19937 rng(12345);
    std::uniform_real_distribution<double> cost(0.0, 20.0);
    for (int round = 0; round < 300; ++round) {
        const int tags = 6;
        ContextModel model(tags);
        for (int p = 0; p < tags; ++p)
            for (int c = 0; c < tags; ++c) model.SetTransition(p, c, cost(rng));
        SpanPtr span = NewSpan(0, model);
        const int slots = 2 + static_cast<int>(rng() % 6);  // slot 0 plus 1..6 words
        std::vector<std::vector<int>> tagsOf(slots);
        std::vector<std::vector<double>> own(slots);
        span->cand[0][0] = static_cast<uint8_t>(rng() % tags);
        span->cand[0][1] = kNoTag;
        span->Score(0)[0] = cost(rng);
        tagsOf[0] = {span->cand[0][0]};
        own[0] = {span->Score(0)[0]};
        for (int k = 1; k < slots; ++k) {
            NameSlot(span.get(), k);
            const int n = (k == slots - 1) ? 1 : 1 + static_cast<int>(rng() % 4);
            for (int j = 0; j < n; ++j) {
                span->cand[k][j] = static_cast<uint8_t>(rng() % tags);
                span->Score(k)[j] = cost(rng);
                tagsOf[k].push_back(span->cand[k][j]);
                own[k].push_back(span->Score(k)[j]);
            }
            span->cand[k][n] = kNoTag;
        }
        span->count = static_cast<uint32_t>(slots);
        ASSERT_EQ(CSpan_GetBestPOS0(span.get()), 1);

        // Exhaustive minimum over every choice of candidate per slot.
        auto pathCost = [&](const std::vector<int> &choice) {
            double c = own[0][0];
            for (int k = 1; k < slots; ++k)
                c += own[k][choice[k]] +
                     model.get()->possibility[tagsOf[k - 1][choice[k - 1]]][tagsOf[k][choice[k]]];
            return c;
        };
        double best = std::numeric_limits<double>::infinity();
        std::vector<int> choice(slots, 0);
        for (;;) {
            best = std::min(best, pathCost(choice));
            int k = 1;
            while (k < slots && ++choice[k] == static_cast<int>(tagsOf[k].size())) choice[k++] = 0;
            if (k == slots) break;
        }
        EXPECT_NEAR(span->Score(slots - 1)[0], best, 1e-9) << "round " << round;

        // The traced tags are a path of that cost.
        double traced = own[0][0];
        int prevTag = tagsOf[0][0];
        for (int k = 1; k < slots; ++k) {
            const int t = span->bestTag[k];
            int j = 0;
            while (j < static_cast<int>(tagsOf[k].size()) && tagsOf[k][j] != t) ++j;
            ASSERT_LT(j, static_cast<int>(tagsOf[k].size())) << "round " << round;
            double c = std::numeric_limits<double>::infinity();
            for (size_t jj = 0; jj < tagsOf[k].size(); ++jj)  // same tag twice: cheapest copy
                if (tagsOf[k][jj] == t) c = std::min(c, own[k][jj] + model.get()->possibility[prevTag][t]);
            traced += c;
            prevTag = t;
        }
        EXPECT_NEAR(traced, best, 1e-9) << "round " << round;
        EXPECT_EQ(span->bestTag[slots], kNoTag);
    }
}

// Equal costs keep the earlier predecessor; a NaN cost never wins; a
// candidate left without predecessor carries back index 21, which the
// back-trace follows into the next slot's row.
TEST(SpanViterbi, TiesNaNAndDeadEnds) {
    ContextModel model(10, 0.0, 1.0);
    SpanPtr span = NewSpan(0, model);
    auto setRow = [&](int k, std::vector<int> tags) {
        NameSlot(span.get(), k);
        for (size_t j = 0; j < tags.size(); ++j) {
            span->cand[k][j] = static_cast<uint8_t>(tags[j]);
            span->Score(k)[j] = 0.0;
        }
        span->cand[k][tags.size()] = kNoTag;
    };
    for (int order = 0; order < 2; ++order) {
        CSpan_Reset(span.get(), 0);
        setRow(1, order == 0 ? std::vector<int>{3, 4} : std::vector<int>{4, 3});
        setRow(2, {5});
        span->count = 3;
        CSpan_GetBestPOS0(span.get());
        EXPECT_EQ(span->back[2][0], 0);
        EXPECT_EQ(span->bestTag[1], order == 0 ? 3 : 4);
    }

    model.SetTransition(3, 5, std::nan(""));
    CSpan_Reset(span.get(), 0);
    setRow(1, {3, 4});
    setRow(2, {5});
    span->count = 3;
    CSpan_GetBestPOS0(span.get());
    EXPECT_EQ(span->back[2][0], 1);
    EXPECT_EQ(span->bestTag[1], 4);

    // Slot 2 cannot be reached from slot 1 (all costs at or above 1e7); the
    // trace starts from its first candidate.
    ContextModel walls(10, 0.0, 1.0);
    walls.SetTransition(2, 6, 1e7);
    walls.SetTransition(2, 7, 2e7);
    span->model = walls.get();
    CSpan_Reset(span.get(), 0);
    setRow(1, {2});
    setRow(2, {6, 7});
    span->count = 3;
    span->Score(2)[1] = 0.5;
    CSpan_GetBestPOS0(span.get());
    EXPECT_EQ(span->back[2][0], 21);
    EXPECT_EQ(span->back[2][1], 21);
    EXPECT_DOUBLE_EQ(span->Score(2)[0], 1e7);
    EXPECT_DOUBLE_EQ(span->Score(2)[1], 1e7 + 0.5);
    EXPECT_EQ(span->bestTag[2], 6);
    EXPECT_EQ(span->bestTag[3], kNoTag);
    // Back index 21 reads past slot 1's row into slot 2's: its second tag.
    EXPECT_EQ(span->bestTag[1], 7);
}

// The role fill: class words and long words, the person fallbacks, the
// default-role candidate, the guessed roles, the row limit and the closing
// of a run with or without the synthetic end word.
TEST(SpanFill, RoleCandidates) {
    ContextModel model(23);
    for (int t = 0; t < 23; ++t) {
        model.SetSingle(t, 10.0 + t);
        model.SetFrequency(t, 3 * t);
    }
    SpanPtr span = NewSpan(1, model);
    WordArray a;
    a.Add(kStart, {Row(1, 0, 9.0f), Row(0, 0, 9.0f)});
    const float w1[4] = {0.0f, 1.5f, 0.0f, 0.0f};
    a.Add(Gb("伟"), {Row(1, 5, 5.0f), Row(2, 6, 1.0f)}, w1);
    a.Add(Gb("我们"), {Row(1, 5, 5.0f)});
    const float w2[4] = {0.0f, -0.5f, 0.0f, 0.0f};
    a.Add(Gb("说"), {Row(2, 17, 5.0f)}, w2);
    a.Add(Gb("伟"), {});
    a[2].offset = 2;
    a[3].offset = 6;
    strcpy(a[4].classText, Gb("未##人").c_str());
    a[4].offset = 8;
    a.Add(kEnd, {Row(1, 1, 9.0f)});
    a[5].offset = 10;

    EXPECT_EQ(CSpan_GetFrom1(span.get(), a.data(), 0, 1, 22), -1);
    EXPECT_EQ(Cands(span.get(), 1), std::vector<int>{0});
    EXPECT_EQ(span->Score(1)[0], 0.0);
    EXPECT_EQ(Cands(span.get(), 2), (std::vector<int>{5, 22}));
    EXPECT_DOUBLE_EQ(span->Score(2)[0], 15.0 - 5.0);
    EXPECT_DOUBLE_EQ(span->Score(2)[1], 32.0 - 1.5);
    EXPECT_EQ(Cands(span.get(), 3), std::vector<int>{0});  // several characters
    EXPECT_EQ(Cands(span.get(), 4), (std::vector<int>{2, 3, 22}));
    EXPECT_DOUBLE_EQ(span->Score(4)[1], 13.0 + 0.5);
    EXPECT_EQ(std::string(span->word[5]), Gb("未##人"));  // class word stands for the word
    EXPECT_EQ(Cands(span.get(), 5), std::vector<int>{0});
    EXPECT_EQ(Cands(span.get(), 6), std::vector<int>{1});
    EXPECT_EQ(span->count, 7u);  // ends on a one-candidate word: no end word added
    EXPECT_EQ(span->offset[4], 6);
    EXPECT_EQ(span->offset[7], 10 + 6);

    // A run ending on a two-candidate word gets the synthetic end word.
    WordArray b;
    b.Add(Gb("伟"), {Row(1, 5, 5.0f)}, w1);
    CSpan_Reset(span.get(), 0);
    EXPECT_EQ(CSpan_GetFrom1(span.get(), b.data(), 0, 1, 22), -1);
    ASSERT_EQ(span->count, 3u);
    EXPECT_EQ(span->word[2][0], '\0');
    EXPECT_EQ(Cands(span.get(), 2), std::vector<int>{1});
    CSpan_GetBestPOS1(span.get(), 22);
    EXPECT_EQ(span->bestTag[2], kNoTag);

    // Guesses: place and organisation take the default role, person takes
    // 9 for the times sign; scores are inverse frequencies.
    CSpan_SetTagType(span.get(), 2);
    WordArray c;
    c.Add(Gb("说"));
    CSpan_Reset(span.get(), 0);
    CSpan_GetFrom1(span.get(), c.data(), 0, 2, 17);
    EXPECT_EQ(Cands(span.get(), 1), std::vector<int>{17});
    EXPECT_DOUBLE_EQ(span->Score(1)[0], 1.0 / (51 + 1));
    CSpan_SetTagType(span.get(), 1);
    int32_t flag = -1;
    strcpy(span->word[3], Gb("×").c_str());
    CSpan_RoleGuess(span.get(), 3, &flag, 22);
    EXPECT_EQ(flag, 1);
    EXPECT_EQ(span->cand[3][0], 9);
    EXPECT_DOUBLE_EQ(span->Score(3)[0], 1.0 / (27 + 1));
    strcpy(span->word[3], Gb("张").c_str());
    CSpan_RoleGuess(span.get(), 3, &flag, 22);
    EXPECT_EQ(span->cand[3][0], 22);
    CSpan_SetTagType(span.get(), 0);
    span->cand[3][0] = 77;
    CSpan_RoleGuess(span.get(), 3, &flag, 22);
    EXPECT_EQ(flag, 0);
    EXPECT_EQ(span->cand[3][0], 77);

    // More rows than a candidate row holds: the first 19 are kept.
    CSpan_SetTagType(span.get(), 1);
    std::vector<DictSRow> many;
    for (int i = 0; i < 30; ++i) many.push_back(Row(1, i % 20, 1.0f));
    WordArray d;
    d.Add(Gb("伟"), many, w1);
    CSpan_Reset(span.get(), 0);
    CSpan_GetFrom1(span.get(), d.data(), 0, 1, 22);
    EXPECT_EQ(Cands(span.get(), 1).size(), 19u);
    EXPECT_EQ(span->cand[1][19], kNoTag);
    EXPECT_EQ(Cands(span.get(), 2), std::vector<int>{1});
}

// A run holds at most 198 words; the record right after a full run is
// passed over by every run, so part-of-speech tagging leaves it untouched.
TEST(SpanFill, FullRunSkipsOneRecord) {
    ContextModel model(23);
    SpanPtr span = NewSpan(1, model);
    WordArray a;
    for (int i = 0; i < 260; ++i) {
        a.Add(Gb("说"), {Row(1, 22, 5.0f), Row(0, 20, 5.0f), Row(0, 16, 4.0f)});
        a[i].offset = static_cast<int16_t>(2 * i);
    }
    EXPECT_EQ(CSpan_GetFrom1(span.get(), a.data(), 0, 1, 22), 199);
    EXPECT_EQ(span->count, 199u);  // slot 198 has one candidate
    EXPECT_EQ(span->offset[198], 2 * 197);
    CSpan_GetBestPOS1(span.get(), 22);
    CSpan_Reset(span.get(), 1);
    EXPECT_EQ(span->cand[0][0], 22);
    EXPECT_EQ(span->offset[1], 2 * 197 + 2);
    EXPECT_EQ(CSpan_GetFrom1(span.get(), a.data(), 199, 1, 22), -1);
    EXPECT_EQ(span->offset[1], 2 * 199);
    EXPECT_EQ(span->count, 62u);

    ContextModel pos(30, 0.0, 1.0);
    SpanPtr posSpan = NewSpan(0, pos);
    CSpan_POSTagging(posSpan.get(), a.data(), nullptr);
    for (int i = 0; i < 260; ++i) {
        if (i == 198)
            EXPECT_EQ(a[i].tag, -1) << "record after the full run";
        else
            EXPECT_EQ(a[i].tag, 20) << "record " << i;
    }

    // The skip can land on the end record or just before it.
    WordArray b;
    b.AddMany(199, Gb("说"), {Row(1, 22, 5.0f)});
    CSpan_Reset(span.get(), 0);
    EXPECT_EQ(CSpan_GetFrom1(span.get(), b.data(), 0, 1, 22), 199);
    EXPECT_EQ(CSpan_RoleTagging(span.get(), b.data(), 1, 22, nullptr, nullptr), 1);
    WordArray c;
    c.AddMany(198, Gb("说"), {Row(1, 22, 5.0f)});
    CSpan_Reset(span.get(), 0);
    EXPECT_EQ(CSpan_GetFrom1(span.get(), c.data(), 0, 1, 22), -1);

    // An empty array: no run at all.
    WordArray empty;
    CSpan_Reset(span.get(), 0);
    EXPECT_EQ(CSpan_RoleTagging(span.get(), empty.data(), 1, 22, nullptr, nullptr), 1);
    EXPECT_EQ(span->count, 1u);
}

// Part-of-speech runs: settled words cut the sentence and become the fixed
// predecessor of the next run; fixed tags are scored with the record's
// weight; words without part-of-speech rows take the unknown-word rows.
TEST(SpanPos, RunsCutAtSettledWords) {
    TaIndexGuard guard;
    ContextModel model(12, 0.0, 5.0);
    model.SetSingle(5, 4.0);
    model.SetTransition(5, 6, 1.0);  // after tag 5, tag 6 is cheap ...
    model.SetTransition(5, 7, 9.0);
    model.SetTransition(0, 7, 0.1);  // ... from the sentence start, tag 7 is
    model.SetTransition(0, 6, 9.0);
    model.SetTransition(6, 9, 1.0);
    model.SetTransition(6, 8, 3.0);
    SpanPtr span = NewSpan(0, model);

    std::vector<DictSRow> otherRows = {Row(0, 8, 2.0f), Row(2, 9, 2.0f)};
    DictSEntry other{};
    other.posList = otherRows.data();
    other.posCount = 2;
    DictionaryS core{};
    core.entries = &other;
    core.count = 1;
    gTaIndexNum = 0;

    WordArray a;
    a.Add(kStart, {Row(0, 0, 9.0f)});
    a.Add(Gb("鲁迅"));
    a[1].tag = 5;
    a[1].weight = 2.5;
    a.Add(Gb("工作"), {Row(0, 6, 1.0f), Row(0, 7, 1.0f)});
    a.Add(Gb("岩"), {Row(1, 2, 5.0f)});
    a.Add(kEnd, {Row(0, 1, 9.0f)});

    // First run: the start word (tag 0 does not cut), then the fixed word.
    EXPECT_EQ(CSpan_GetFrom0(span.get(), a.data(), 0, &core), 2);
    EXPECT_EQ(span->count, 3u);
    EXPECT_EQ(Cands(span.get(), 2), std::vector<int>{5});
    EXPECT_DOUBLE_EQ(span->Score(2)[0], 4.0 - 2.5);

    CSpan_POSTagging(span.get(), a.data(), &core);
    EXPECT_EQ(a[0].tag, 0);
    EXPECT_EQ(a[1].tag, 5);
    EXPECT_EQ(a[2].tag, 6);  // chosen from the fixed predecessor 5
    EXPECT_EQ(a[3].tag, 9);  // unknown-word rows, whatever their code
    EXPECT_EQ(a[4].tag, 1);

    // Without the unknown-word entry nothing is tagged and a message names it.
    for (int i = 0; i < a.size(); ++i) a[i].tag = a[i].tag == 5 ? 5 : -1;
    gTaIndexNum = -1;
    testing::internal::CaptureStderr();
    CSpan_POSTagging(span.get(), a.data(), &core);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), Gb("未##它出错!"));
    EXPECT_EQ(a[0].tag, -1);
    EXPECT_EQ(a[2].tag, -1);
    EXPECT_EQ(a[1].tag, 5);
}

// A span keeps only the first bytes of each slot's word: a long word
// still carries its whole length into the next run's start, and its kept
// bytes match no short word (the times sign, the boundary words).
TEST(SpanFill, LongWordsKeepTheirLength) {
    TaIndexGuard guard;
    ContextModel model(12, 0.0, 5.0);
    SpanPtr span = NewSpan(0, model);
    std::vector<DictSRow> otherRows = {Row(0, 8, 2.0f)};
    DictSEntry other{};
    other.posList = otherRows.data();
    other.posCount = 1;
    DictionaryS core{};
    core.entries = &other;
    core.count = 1;
    gTaIndexNum = 0;

    std::string longWord;
    for (int i = 0; i < 30; ++i) longWord += Gb("中");  // 60 bytes
    WordArray a;
    a.Add(longWord);
    a[0].tag = 5;  // settled: ends the run
    a[0].offset = 3;
    a.Add(Gb("工作"), {Row(0, 6, 1.0f)});
    a[1].offset = 63;
    EXPECT_EQ(CSpan_GetFrom0(span.get(), a.data(), 0, &core), 1);
    EXPECT_EQ(span->count, 2u);
    CSpan_Reset(span.get(), 1);
    EXPECT_EQ(span->startOffset, 63u);
    EXPECT_EQ(span->offset[1], 63);

    // A class word of a full 16 bytes (no terminator in its field) counts
    // all of them.
    WordArray b;
    b.Add(Gb("说"));
    b[0].tag = 5;
    memset(b[0].classText, 'x', sizeof b[0].classText);
    CSpan_Reset(span.get(), 0);
    EXPECT_EQ(CSpan_GetFrom0(span.get(), b.data(), 0, &core), 1);
    CSpan_Reset(span.get(), 1);
    EXPECT_EQ(span->startOffset, 16u);

    // The times sign is one word: a long word beginning with it is not.
    CSpan_SetTagType(span.get(), 1);
    std::string signs;
    for (int i = 0; i < 10; ++i) signs += Gb("×");
    int32_t flag = 0;
    vsg::tagging::SetSlotWord(span.get(), 3, signs.data(), signs.size());
    CSpan_RoleGuess(span.get(), 3, &flag, 22);
    EXPECT_EQ(span->cand[3][0], 22);
    vsg::tagging::SetSlotWord(span.get(), 3, signs.data(), 2);
    CSpan_RoleGuess(span.get(), 3, &flag, 22);
    EXPECT_EQ(span->cand[3][0], 9);
}

TEST(SpanSearch, BinarySearchByOffset) {
    WordArray a;
    const int offsets[] = {0, 2, 6, 8, 12, 20};
    for (int o : offsets) a[a.Add(Gb("说"))].offset = static_cast<int16_t>(o);
    for (int i = 0; i < 6; ++i) EXPECT_EQ(CSpan_BinarySearch(nullptr, offsets[i], a.data(), 0, 6), i);
    EXPECT_EQ(CSpan_BinarySearch(nullptr, 7, a.data(), 0, 6), -1);
    EXPECT_EQ(CSpan_BinarySearch(nullptr, 2, a.data(), 2, 6), -1);  // before the low bound
    EXPECT_EQ(CSpan_BinarySearch(nullptr, 20, a.data(), 6, 6), -1);
    EXPECT_EQ(CSpan_BinarySearch(nullptr, 0, a.data(), -5, 6), 0);
    EXPECT_EQ(CSpan_ComputeFrequency(), 1);
}

namespace {

// An engine record holding only what the recognisers read: the role maps
// and the class-word entries of the core dictionary.
struct MemoryEngine {
    vsgtest::TagMap personMap{vsgtest::TagMap::Letters("ABCDEFGHIJKLMNOPQRSTUVW")};
    vsgtest::TagMap placeMap{vsgtest::TagMap::Letters("ABCDEFGHIJKLMNOPQRS")};
    std::vector<DictSRow> personRows{Row(0, 24, 8.0f)};
    std::vector<DictSRow> placeRows{Row(0, 29, 8.0f)};
    DictSEntry entries[2]{};
    SegmentEngine engine{};

    MemoryEngine() {
        entries[0].posList = personRows.data();
        entries[0].posCount = 1;
        entries[0].stats[0] = 0.25f;
        entries[1].posList = placeRows.data();
        entries[1].posCount = 1;
        engine.core.entries = entries;
        engine.core.count = 2;
        engine.core.personIndex = 0;
        engine.core.placeIndex = 1;
        engine.core.orgIndex = -1;
        engine.tagModels[VSG_TAG_PERSON].map = *personMap.get();
        engine.tagModels[VSG_TAG_PLACE].map = *placeMap.get();
    }
};

}  // namespace

// Forced role sequences reach the recognisers; the merged record takes the
// class values and the class entry's rows, the absorbed ones state 250.
TEST(SpanRoleTagging, MergesForcedNames) {
    MemoryEngine mem;
    ContextModel model(23, 1.0, 2.0);
    SpanPtr span = NewSpan(1, model);
    const DictSRow plain = Row(1, 22, 5.0f);
    for (const int lead : {0, 5}) {
        WordArray a;
        a.Add(kStart, {Row(1, 0, 9.0f)});
        for (int i = 0; i < lead; ++i) a.Add(Gb("说"), {plain});
        const int first = a.Add(Gb("王"), {Row(1, 2, 5.0f)});
        a.Add(Gb("小"), {Row(1, 3, 5.0f)});
        a.Add(Gb("明"), {Row(1, 4, 5.0f)});
        a.Add(Gb("说"), {plain});
        a.Add(kEnd, {Row(1, 1, 9.0f)});
        for (int i = 0; i < a.size(); ++i) a[i].offset = static_cast<int16_t>(2 * i);
        ASSERT_EQ(CSpan_RoleTagging(span.get(), a.data(), 1, 22, &mem.engine, nullptr), 1);
        const SpanWord &name = a[first];
        EXPECT_EQ(name.text, Gb("王小明")) << "lead " << lead;
        EXPECT_EQ(name.classText, Gb("未##人"));
        EXPECT_EQ(name.tag, 24);
        EXPECT_EQ(name.frequency, 73861u);
        EXPECT_DOUBLE_EQ(name.weight, 11.21);
        EXPECT_EQ(name.offset, 2 * first);
        EXPECT_EQ(name.posList, mem.personRows.data());
        EXPECT_EQ(name.stats[0], 0.25f);
        for (int i = 0; i < a.size(); ++i)
            EXPECT_EQ(a[i].state, (i == first + 1 || i == first + 2) ? VSG_STATE_MERGED : 0) << i;
        // The span notes the first merged record (the pipeline compacts
        // from there); a pass that merges nothing notes none.
        EXPECT_EQ(span->firstMerged, first + 1) << "lead " << lead;
        ASSERT_EQ(CSpan_RoleTagging(span.get(), a.data(), 1, 22, &mem.engine, nullptr), 1);
        EXPECT_EQ(span->firstMerged, INT32_MAX) << "lead " << lead;
    }

    CSpan_SetTagType(span.get(), 2);
    ContextModel placeModel(19, 1.0, 2.0);
    span->model = placeModel.get();
    WordArray p;
    p.Add(kStart, {Row(2, 0, 9.0f)});
    p.Add(Gb("黄"), {Row(2, 2, 5.0f)});
    p.Add(Gb("岩"), {Row(2, 5, 5.0f)});
    p.Add(Gb("村"), {Row(2, 6, 5.0f)});
    p.Add(Gb("说"), {Row(2, 17, 5.0f)});
    p.Add(kEnd, {Row(2, 1, 9.0f)});
    CSpan_RoleTagging(span.get(), p.data(), 2, 17, &mem.engine, nullptr);
    EXPECT_EQ(p[1].text, Gb("黄岩村"));
    EXPECT_EQ(p[1].tag, 29);
    EXPECT_DOUBLE_EQ(p[1].weight, 9.19482);
    EXPECT_EQ(p[1].posList, mem.placeRows.data());
    EXPECT_EQ(p[2].state, VSG_STATE_MERGED);
    EXPECT_EQ(p[3].state, VSG_STATE_MERGED);
    EXPECT_EQ(p[4].state, 0);
    EXPECT_EQ(span->firstMerged, 2);
}

TEST(RoleString, LettersEndAtTheRunOrTheArrayAndUnknownTagsReadAsNul) {
    SpanPtr span(CSpan_new());
    ASSERT_NE(span, nullptr);
    char a[] = "Abc";
    char empty[] = "";
    char c[] = "C";
    char *texts[] = {a, empty, c};
    const POSmap map{texts, 3};
    const uint8_t tags[] = {0, 1, 7, 2, 0};
    for (int i = 0; i < 5; ++i) span->bestTag[i + 1] = tags[i];
    span->bestTag[6] = kNoTag;

    vsg::names::RoleString roles;
    memset(&roles, 'q', sizeof roles);  // left over from an earlier run
    vsg::names::BuildRoleString(span.get(), &map, 'Z', 0, 50, &roles);
    ASSERT_EQ(roles.n, 6);
    EXPECT_EQ(std::string(roles.letter, 6), std::string("ZA\0\0CA", 6));  // "" and a tag past the map: NUL
    EXPECT_EQ(roles.letter[6], '\0');
    EXPECT_EQ(roles.At(6), '\0');
    EXPECT_TRUE(roles.HasAt(4, "CA"));
    EXPECT_FALSE(roles.HasAt(5, "AZ"));

    // Slots whose record would lie at or past the end record are left out.
    vsg::names::BuildRoleString(span.get(), &map, 'z', 3, 5, &roles);
    EXPECT_EQ(roles.n, 3);
    EXPECT_EQ(roles.letter[3], '\0');
    vsg::names::BuildRoleString(span.get(), &map, 'z', 5, 5, &roles);
    EXPECT_EQ(roles.n, 1);

    // A run without the end mark takes every slot; without a map, no letters.
    for (int i = 1; i < kSpanSlots; ++i) span->bestTag[i] = 2;
    vsg::names::BuildRoleString(span.get(), &map, 'z', 0, VSG_SPAN_WORDS, &roles);
    EXPECT_EQ(roles.n, kSpanSlots);
    EXPECT_EQ(roles.letter[kSpanSlots - 1], 'C');
    EXPECT_EQ(roles.letter[kSpanSlots], '\0');
    vsg::names::BuildRoleString(span.get(), nullptr, 'z', 0, 3, &roles);
    EXPECT_EQ(std::string(roles.letter, 4), std::string("z\0\0\0", 4));
}

// The forward pass over the load-time tables' widened rows gives the plain
// pass's back indices, path costs and best tags bit for bit: random rows
// with tags past the model, missing rows, NaN, infinite and dead-end costs.
TEST(SpanViterbi, WideRowsGiveThePlainPassResults) {
    std::mt19937 rng(777);
    std::uniform_real_distribution<double> cost(0.0, 20.0);
    auto draw = [&]() {
        const unsigned r = rng() % 40;
        if (r == 0) return std::numeric_limits<double>::quiet_NaN();
        if (r == 1) return 2e7;  // no path below the dead-end cost
        if (r == 2) return 3.0;  // ties
        if (r == 3) return std::numeric_limits<double>::infinity();
        if (r == 4) return -std::numeric_limits<double>::infinity();
        return cost(rng);
    };
    for (int round = 0; round < 200; ++round) {
        const int tags = 3 + static_cast<int>(rng() % 6);
        ContextModel model(tags);
        for (int p = 0; p < tags; ++p)
            for (int c = 0; c < tags; ++c) model.SetTransition(p, c, draw());
        if (round % 7 == 0) model.get()->possibility[rng() % tags] = nullptr;  // a tag without a row
        const DictionaryS core{};
        vsg::tagging::SpanTables tables;
        ASSERT_TRUE(tables.Build(core, *model.get(), 0));

        SpanPtr plain = NewSpan(0, model);
        SpanPtr wide = NewSpan(0, model);
        wide->tables = &tables;
        const int slots = 2 + static_cast<int>(rng() % 30);
        for (CSpan *span : {plain.get(), wide.get()}) span->count = static_cast<uint32_t>(slots);
        for (int k = 0; k < slots; ++k) {
            // Empty rows, and up to 16 candidates: every predecessor count the
            // forward pass has its own step for, and some beyond.
            const int n = k == 0 ? 1 : static_cast<int>(rng() % 17);
            for (int j = 0; j < n; ++j) {
                const auto tag = static_cast<uint8_t>(rng() % (tags + 3));  // some past the model
                const double own = draw();
                for (CSpan *span : {plain.get(), wide.get()}) {
                    span->cand[k][j] = tag;
                    span->Score(k)[j] = own;
                }
            }
            for (CSpan *span : {plain.get(), wide.get()}) {
                span->cand[k][n] = kNoTag;
                NameSlot(span, k);
            }
        }
        CSpan_GetBestPOS0(plain.get());
        CSpan_GetBestPOS0(wide.get());
        for (int k = 1; k < slots; ++k) {
            for (int j = 0; j < kSpanCands && plain->cand[k][j] != kNoTag; ++j) {
                EXPECT_EQ(wide->back[k][j], plain->back[k][j]) << "round " << round << " slot " << k;
                EXPECT_EQ(memcmp(&wide->Score(k)[j], &plain->Score(k)[j], sizeof(double)), 0)
                    << "round " << round << " slot " << k << ": " << wide->Score(k)[j] << " vs " << plain->Score(k)[j];
            }
            EXPECT_EQ(wide->bestTag[k], plain->bestTag[k]) << "round " << round << " slot " << k;
        }
    }
}

// A settled word that no predecessor reaches below the dead-end cost: run by
// run, its back index of 21 reads the terminator of its own one-candidate
// row, which stops the run's tags there; tagging the array as one run must
// then give way to the run-by-run tagging, so both leave the same tags, and
// the words after that run are still tagged.
TEST(SpanPos, WholeArrayRunGivesWayAtADeadEnd) {
    ContextModel model(10, 0.0, 1.0);
    for (int p = 0; p < 10; ++p) model.SetTransition(p, 5, 2e7);
    model.SetTransition(0, 3, 0.5);
    model.SetTransition(5, 7, 0.5);
    const DictionaryS core{};
    vsg::tagging::SpanTables tables;
    ASSERT_TRUE(tables.Build(core, *model.get(), 0));
    WordArray a, b;
    for (WordArray *w : {&a, &b}) {
        w->Add(kStart, {Row(0, 0, 9.0f)});
        w->Add(Gb("工作"), {Row(0, 3, 1.0f), Row(0, 4, 1.0f)});
        w->Add(Gb("岩"), {Row(0, 5, 1.0f)});  // settled, unreachable
        w->Add(Gb("学生"), {Row(0, 6, 1.0f), Row(0, 7, 1.0f)});
        w->Add(kEnd, {Row(0, 1, 9.0f)});
        for (int i = 0; i < w->size(); ++i) (*w)[i].tag = -1;
    }
    SpanPtr whole = NewSpan(0, model);
    SpanPtr runs = NewSpan(0, model);
    whole->tables = runs->tables = &tables;
    vsg::tagging::PosTagging(whole.get(), a.data(), &core, true);
    vsg::tagging::PosTagging(runs.get(), b.data(), &core, false);
    for (int i = 0; i < a.size(); ++i) EXPECT_EQ(a[i].tag, b[i].tag) << "word " << i;
    EXPECT_EQ(b[1].tag, -1);  // the run that met the dead end stopped before it
    EXPECT_EQ(b[3].tag, 7);   // the next run was tagged
    EXPECT_EQ(b[4].tag, 1);
}

// The opening-role set that span tables keep for a role map serves only
// that map as it is and that letter string, and gives the answers of the
// set made from the map on every call.
TEST(RoleString, OpeningRolesFromTheTablesOnlyForTheirMap) {
    ContextModel model(8);
    const DictionaryS core{};
    vsg::tagging::SpanTables tables;
    ASSERT_TRUE(tables.Build(core, *model.get(), 1));
    vsgtest::TagMap map{vsgtest::TagMap::Letters("ABCDEFGH")};
    vsgtest::TagMap other{vsgtest::TagMap::Letters("ABCDEFGH")};
    tables.SetLetterTags(*map.get(), vsg::names::kPersonOpening);
    ASSERT_NE(tables.LetterTags(map.get(), vsg::names::kPersonOpening), nullptr);
    EXPECT_EQ(tables.LetterTags(other.get(), vsg::names::kPersonOpening), nullptr);
    EXPECT_EQ(tables.LetterTags(map.get(), vsg::names::kPlaceOpening), nullptr);
    const char samePerson[] = "CDFGIJLO";  // the same letters, another string
    EXPECT_EQ(tables.LetterTags(map.get(), samePerson), nullptr);

    SpanPtr with(CSpan_new());
    SpanPtr without(CSpan_new());
    ASSERT_TRUE(with && without);
    with->tables = &tables;
    std::mt19937 rng(3);
    int hits = 0;
    for (int round = 0; round < 200; ++round) {
        const int n = 1 + static_cast<int>(rng() % 6);
        for (CSpan *span : {with.get(), without.get()}) span->bestTag[n + 1] = kNoTag;
        for (int i = 1; i <= n; ++i) {
            const auto tag = static_cast<uint8_t>(rng() % 10);  // some past the map
            with->bestTag[i] = without->bestTag[i] = tag;
        }
        const bool expected = vsg::names::AnyRoleLetter(without.get(), map.get(), vsg::names::kPersonOpening);
        EXPECT_EQ(vsg::names::AnyRoleLetter(with.get(), map.get(), vsg::names::kPersonOpening), expected);
        hits += expected ? 1 : 0;
        // A map whose lines changed since is read again.
        map.get()->count = 2;  // "A", "B": no opening letter
        EXPECT_FALSE(vsg::names::AnyRoleLetter(with.get(), map.get(), vsg::names::kPersonOpening));
        map.get()->count = 8;
    }
    EXPECT_GT(hits, 0);
    EXPECT_LT(hits, 200);
}
