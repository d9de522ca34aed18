// Tests of the trained cutter's model: the fast scoring path and the label
// search against plain references on random runs, and the refusal of
// damaged model files.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "front/atoms.h"
#include "front/lexicon.h"
#include "front/segmodel.h"
#include "support/support.h"

namespace {

using namespace vsg::front;
using vsgtest::Gb;

// Pieces random runs are made of: Chinese characters (numerals among
// them), digits and letters in both widths, punctuation.
std::vector<std::string> Pieces() {
    std::vector<std::string> p;
    for (const char *s : {"中", "国", "人", "民", "一", "二", "年", "北", "京", "的", "，", "。", "（", "１", "９"})
        p.push_back(Gb(s));
    for (const char *s : {"7", "a", "B", "Ｗ", "-", "%"}) p.push_back(Gb(s));
    return p;
}

Lexicon SmallLexicon() {
    static const std::vector<std::string> words = {Gb("中国"), Gb("人民"), Gb("北京"), Gb("中国人民"), Gb("一二"),
                                                   Gb("国人"), "7a"};
    std::vector<LexiconWord> list;
    // Counts of several sizes, so that the marks' cost classes vary.
    double count = 1.0;
    for (const std::string &w : words) list.push_back({w, count *= 7.0, 0.0});
    Lexicon lex;
    lex.Build(list);
    return lex;
}

// A model with a random weight group for every feature the texts have (and
// some they lack), so that every path of the scorer is used.
SegModel RandomModel(const std::vector<std::string> &texts, const Lexicon &lex, std::mt19937 &rng,
                     std::vector<SegGroup> *kept = nullptr, bool words = false) {
    std::uniform_real_distribution<float> weight(-3.0f, 3.0f);
    std::bernoulli_distribution keep(0.85);
    std::vector<SegGroup> groups;
    std::vector<uint64_t> seen;
    std::vector<Atom> atoms;
    std::vector<WordMarks> marks;
    std::vector<uint64_t> ids;
    std::vector<SegFeature> features;
    for (const std::string &t : texts) {
        atoms.clear();
        Atomise(t.data(), 0, t.size(), atoms);
        marks.resize(atoms.size());
        lex.MarkWords(t.data(), atoms.data(), atoms.size(), kSegDictCap, marks.data());
        SegFeatures(t.data(), atoms.data(), atoms.size(), marks.data(), ids, features);
        std::vector<uint64_t> keys;
        for (const SegFeature &f : features) keys.push_back(f.key);
        std::vector<SegWordFeature> wordFeatures;
        if (words) SegWordFeatures(t.data(), atoms.data(), atoms.size(), marks.data(), ids, wordFeatures);
        for (const SegWordFeature &f : wordFeatures) keys.push_back(f.key);
        for (uint64_t key : keys) {
            if (std::find(seen.begin(), seen.end(), key) != seen.end()) continue;
            seen.push_back(key);
            if (!keep(rng)) continue;
            SegGroup g{key, std::vector<float>(kSegTemplateRows[SegKeyTemplate(key)] * kSegLabels)};
            for (float &w : g.weights) w = weight(rng);
            groups.push_back(g);
        }
    }
    float trans[kSegLabels][kSegLabels];
    for (auto &row : trans)
        for (float &t : row) t = weight(rng);
    std::string bytes = EncodeSegModel(groups, trans);
    SegModel m;
    std::string error;
    EXPECT_TRUE(m.LoadBytes(reinterpret_cast<const uint8_t *>(bytes.data()), bytes.size(), &error)) << error;
    if (kept != nullptr) *kept = groups;
    return m;
}

// Scores straight from the weight groups a model was made of, quantised as
// the file format says (one scale: the largest weight becomes 32767).
std::vector<int32_t> GroupScores(const std::vector<SegGroup> &groups, const std::vector<SegFeature> &features,
                                 size_t n) {
    float top = 0.0f;
    for (const SegGroup &g : groups)
        for (float w : g.weights) top = std::max(top, std::fabs(w));
    std::vector<int32_t> score(n * kSegLabels, 0);
    for (const SegFeature &f : features) {
        auto g = std::find_if(groups.begin(), groups.end(), [&](const SegGroup &x) { return x.key == f.key; });
        if (g == groups.end()) continue;
        for (size_t r = 0; r < kSegTemplateRows[SegKeyTemplate(f.key)]; ++r) {
            int64_t i = int64_t{f.position} + static_cast<int64_t>(r);
            if (i < 0 || i >= static_cast<int64_t>(n)) continue;
            for (int l = 0; l < kSegLabels; ++l)
                score[static_cast<size_t>(i) * kSegLabels + l] += static_cast<int32_t>(
                    std::nearbyint(static_cast<double>(g->weights[r * kSegLabels + l]) * (32767.0 / top)));
        }
    }
    return score;
}

// Best labels by trying every sequence of the labels (with the scores of
// the words of 2..kSegWordMax atoms when given).
std::vector<uint8_t> BruteForce(const SegModel &m, const std::vector<int32_t> &score, size_t n,
                                const int32_t *words = nullptr) {
    std::vector<uint8_t> best, cur(n);
    int64_t bestScore = std::numeric_limits<int64_t>::min();
    size_t total = 1;
    for (size_t i = 0; i < n; ++i) total *= kSegLabels;
    for (size_t code = 0; code < total; ++code) {
        for (size_t i = 0, c = code; i < n; ++i, c /= kSegLabels) cur[i] = static_cast<uint8_t>(c % kSegLabels);
        if (!SegLabelOpens(cur[0])) continue;
        if (!SegLabelCloses(cur[n - 1])) continue;
        int64_t s = 0;
        bool ok = true;
        for (size_t i = 0; i < n && ok; ++i) {
            s += score[i * kSegLabels + cur[i]];
            if (i > 0) {
                ok = SegTransitionAllowed(cur[i - 1], cur[i]);
                s += m.Transition(cur[i - 1], cur[i]);
            }
            for (int len = 2; words != nullptr && len <= kSegWordMax && static_cast<size_t>(len) <= i + 1; ++len)
                if (SegWordAt(cur.data(), i, len)) s += words[i * kSegWordLengths + len - 2];
        }
        if (ok && s > bestScore) {
            bestScore = s;
            best = cur;
        }
    }
    return best;
}

TEST(SegModelTest, FastScoresAndSearchMatchPlainReferences) {
    std::mt19937 rng(7);
    const std::vector<std::string> pieces = Pieces();
    const Lexicon lex = SmallLexicon();
    for (int round = 0; round < 6; ++round) {
        std::vector<std::string> texts;
        for (int t = 0; t < 40; ++t) {
            std::string s;
            size_t len = 1 + rng() % 7;
            for (size_t k = 0; k < len; ++k) s += pieces[rng() % pieces.size()];
            texts.push_back(s);
        }
        std::vector<SegGroup> groups;
        SegModel m = RandomModel(texts, lex, rng, &groups);
        int32_t transitions[kSegLabels][kSegLabels];
        for (int p = 0; p < kSegLabels; ++p)
            for (int l = 0; l < kSegLabels; ++l) transitions[p][l] = m.Transition(p, l);
        ASSERT_TRUE(m.Loaded());
        CutScratch scratch;
        std::vector<Atom> atoms;
        std::vector<uint64_t> ids;
        std::vector<SegFeature> features;
        std::vector<int32_t> plain;
        std::vector<uint8_t> labels, back;
        for (const std::string &t : texts) {
            atoms.clear();
            Atomise(t.data(), 0, t.size(), atoms);
            const size_t n = atoms.size();
            m.Score(t.data(), atoms.data(), n, lex, scratch);
            std::vector<WordMarks> marks(n);
            lex.MarkWords(t.data(), atoms.data(), n, kSegDictCap, marks.data());
            SegFeatures(t.data(), atoms.data(), n, marks.data(), ids, features);
            m.ScoreFeatures(features, n, plain);
            ASSERT_EQ(scratch.score, plain) << vsgtest::Utf8(t);
            ASSERT_EQ(plain, GroupScores(groups, features, n)) << vsgtest::Utf8(t);

            m.Labels(plain.data(), n, labels, back);
            std::vector<uint8_t> generic;
            SegViterbi<int32_t, int64_t>(plain.data(), n, transitions, generic, back);
            EXPECT_EQ(labels, generic) << vsgtest::Utf8(t);
            // Every sequence is tried on runs of up to five atoms.
            std::vector<uint8_t> expected = n <= 5 ? BruteForce(m, plain, n) : labels;
            // Random weights make equal best paths unlikely; compare scores
            // when they happen.
            if (labels != expected) {
                auto total = [&](const std::vector<uint8_t> &l) {
                    int64_t s = 0;
                    for (size_t i = 0; i < n; ++i) s += plain[i * kSegLabels + l[i]] + (i ? m.Transition(l[i - 1], l[i]) : 0);
                    return s;
                };
                EXPECT_EQ(total(labels), total(expected)) << vsgtest::Utf8(t);
            }
            // The cut follows the labels under the fixed boundaries: a word
            // ends at every E, S, NF or NL.
            std::vector<uint32_t> ends;
            m.Cut(t.data(), atoms.data(), n, lex, ends, scratch);
            SegModel::FixBoundaries(t.data(), atoms.data(), n, marks.data(), plain.data());
            m.Labels(plain.data(), n, labels, back);
            std::vector<uint32_t> fromLabels;
            for (size_t i = 0; i < n; ++i)
                if (SegLabelCloses(labels[i])) fromLabels.push_back(static_cast<uint32_t>(i + 1));
            EXPECT_EQ(ends, fromLabels) << vsgtest::Utf8(t);
        }
    }
}

TEST(SegModelTest, LabelsSpellWordsOfEveryLength) {
    // A word of L atoms is S, B E, B B2 E, B B2 B3 E, B B2 B3 M.. E: scores
    // that favour those labels give one word; scores that favour a label
    // where it cannot stand (B2 first, B3 after B) are overruled.
    SegModel m;
    std::string error;
    const float noTransitions[kSegLabels][kSegLabels] = {};
    const std::string bytes = EncodeSegModel({}, noTransitions);
    ASSERT_TRUE(m.LoadBytes(reinterpret_cast<const uint8_t *>(bytes.data()), bytes.size(), &error)) << error;
    std::vector<uint8_t> labels, back;
    for (size_t len = 1; len <= 7; ++len) {
        std::vector<int32_t> score(len * kSegLabels, 0);
        for (size_t i = 0; i < len; ++i) score[i * kSegLabels + SegLabelAt(i, len)] = 10;
        m.Labels(score.data(), len, labels, back);
        for (size_t i = 0; i < len; ++i) {
            EXPECT_EQ(labels[i], SegLabelAt(i, len)) << len << " " << i;
            EXPECT_EQ(SegLabelCloses(labels[i]), i + 1 == len) << len << " " << i;
        }
        if (len >= 3) {
            std::vector<uint8_t> seq;
            for (size_t i = 0; i < len; ++i) seq.push_back(SegLabelAt(i, len));
            EXPECT_EQ(seq[1], kSegBegin2);
            EXPECT_EQ(seq[len - 1], kSegEnd);
        }
    }
    std::vector<int32_t> score(3 * kSegLabels, 0);
    score[0 * kSegLabels + kSegBegin2] = 50;
    score[1 * kSegLabels + kSegBegin3] = 50;
    score[2 * kSegLabels + kSegEnd] = 5;
    m.Labels(score.data(), 3, labels, back);
    for (size_t i = 1; i < 3; ++i) {
        EXPECT_TRUE(SegTransitionAllowed(labels[i - 1], labels[i])) << i;
    }
    EXPECT_TRUE(labels[0] == kSegBegin || labels[0] == kSegSingle);
    EXPECT_TRUE(SegLabelCloses(labels[2]));

    // A name is NF NL*, each character a word alone: scores for a name of
    // three characters between two words give five words. NL cannot open a
    // run or follow S, so scores for NL there are overruled.
    const uint8_t name[] = {kSegSingle, kSegNameFirst, kSegNameLater, kSegNameLater, kSegBegin, kSegEnd};
    std::vector<int32_t> nameScore(6 * kSegLabels, 0);
    for (size_t i = 0; i < 6; ++i) nameScore[i * kSegLabels + name[i]] = 10;
    m.Labels(nameScore.data(), 6, labels, back);
    EXPECT_EQ(labels, std::vector<uint8_t>(name, name + 6));
    std::vector<uint32_t> ends;
    for (size_t i = 0; i < 6; ++i)
        if (SegLabelCloses(labels[i])) ends.push_back(static_cast<uint32_t>(i + 1));
    EXPECT_EQ(ends, (std::vector<uint32_t>{1, 2, 3, 4, 6}));
    std::vector<int32_t> lone(2 * kSegLabels, 0);
    lone[0 * kSegLabels + kSegNameLater] = 50;
    lone[1 * kSegLabels + kSegSingle] = 5;
    lone[1 * kSegLabels + kSegNameLater] = 9;
    m.Labels(lone.data(), 2, labels, back);
    EXPECT_EQ(labels, (std::vector<uint8_t>{kSegNameFirst, kSegNameLater}));

    // Scores and transitions of -1, 0 and 1 make many equal paths: the
    // search must break every tie as the generic search does.
    std::mt19937 rng(11);
    for (int round = 0; round < 50; ++round) {
        float trans[kSegLabels][kSegLabels];
        for (auto &row : trans)
            for (float &t : row) t = static_cast<float>(static_cast<int>(rng() % 3) - 1);
        const std::string small = EncodeSegModel({}, trans);  // no weights: transitions kept as they are
        SegModel tied;
        ASSERT_TRUE(tied.LoadBytes(reinterpret_cast<const uint8_t *>(small.data()), small.size(), &error)) << error;
        int32_t transitions[kSegLabels][kSegLabels];
        for (int p = 0; p < kSegLabels; ++p)
            for (int l = 0; l < kSegLabels; ++l) transitions[p][l] = tied.Transition(p, l);
        const size_t n = 1 + rng() % 12;
        std::vector<int32_t> s(n * kSegLabels);
        for (int32_t &v : s) v = static_cast<int32_t>(rng() % 3) - 1;
        std::vector<uint8_t> generic;
        tied.Labels(s.data(), n, labels, back);
        SegViterbi<int32_t, int64_t>(s.data(), n, transitions, generic, back);
        EXPECT_EQ(labels, generic) << round;
    }
}

TEST(SegModelTest, WordFeaturesScoreWholeWordsInTheSearch) {
    std::mt19937 rng(23);
    const std::vector<std::string> pieces = Pieces();
    const Lexicon lex = SmallLexicon();
    std::vector<Atom> atoms;
    std::vector<uint64_t> ids;
    std::vector<SegFeature> features;
    std::vector<SegWordFeature> wordFeatures;
    for (int round = 0; round < 4; ++round) {
        // Texts rich in dictionary words, so that word identities occur.
        std::vector<std::string> texts;
        for (int t = 0; t < 40; ++t) {
            std::string s;
            for (size_t k = 0, len = 1 + rng() % 5; k < len; ++k)
                s += rng() % 2 ? pieces[rng() % pieces.size()] : Gb(rng() % 2 ? "中国人民" : "北京");
            texts.push_back(s);
        }
        std::vector<SegGroup> groups;
        SegModel m = RandomModel(texts, lex, rng, &groups, true);
        ASSERT_TRUE(m.HasWordFeatures());
        // The same bytes marked as the version without word features are
        // refused: they hold slots of templates that version lacks.
        const float none[kSegLabels][kSegLabels] = {};
        std::string older = EncodeSegModel(groups, none), error;
        EXPECT_EQ(older[8], 4);
        older[8] = 3;
        SegModel refused;
        EXPECT_FALSE(refused.LoadBytes(reinterpret_cast<const uint8_t *>(older.data()), older.size(), &error));
        EXPECT_NE(error.find("bad feature slot"), std::string::npos) << error;

        float top = 0.0f;
        for (const SegGroup &g : groups)
            for (float w : g.weights) top = std::max(top, std::fabs(w));
        int32_t transitions[kSegLabels][kSegLabels];
        for (int p = 0; p < kSegLabels; ++p)
            for (int l = 0; l < kSegLabels; ++l) transitions[p][l] = m.Transition(p, l);
        CutScratch scratch;
        std::vector<int32_t> plain, words;
        std::vector<uint8_t> labels, generic, noWords, back;
        int identities = 0;
        for (const std::string &t : texts) {
            atoms.clear();
            Atomise(t.data(), 0, t.size(), atoms);
            const size_t n = atoms.size();
            std::vector<WordMarks> marks(n);
            lex.MarkWords(t.data(), atoms.data(), n, kSegDictCap, marks.data());
            SegFeatures(t.data(), atoms.data(), n, marks.data(), ids, features);
            SegWordFeatures(t.data(), atoms.data(), n, marks.data(), ids, wordFeatures);
            m.ScoreFeatures(features, n, plain);
            m.ScoreWordFeatures(wordFeatures, n, words);
            // The cutter's word scores, the plain look-ups and the groups'
            // first weights (quantised) agree.
            m.Score(t.data(), atoms.data(), n, lex, scratch);
            ASSERT_EQ(scratch.wordScore, words) << vsgtest::Utf8(t);
            std::vector<int32_t> expected(n * kSegWordLengths, 0);
            for (const SegWordFeature &f : wordFeatures) {
                identities += SegKeyTemplate(f.key) == kSegWord;
                auto g = std::find_if(groups.begin(), groups.end(), [&](const SegGroup &x) { return x.key == f.key; });
                if (g != groups.end())
                    expected[f.end * kSegWordLengths + f.length - 2] +=
                        static_cast<int32_t>(std::nearbyint(static_cast<double>(g->weights[0]) * (32767.0 / top)));
            }
            ASSERT_EQ(words, expected) << vsgtest::Utf8(t);

            // Zero word scores change nothing; with the scores, the written
            // out search, the generic one and every sequence tried agree.
            m.Labels(plain.data(), n, noWords, back);
            const std::vector<int32_t> zero(n * kSegWordLengths, 0);
            m.Labels(plain.data(), n, labels, back, zero.data());
            EXPECT_EQ(labels, noWords);
            m.Labels(plain.data(), n, labels, back, words.data());
            SegViterbi<int32_t, int64_t>(plain.data(), n, transitions, generic, back, words.data());
            EXPECT_EQ(labels, generic) << vsgtest::Utf8(t);
            if (n <= 5) {
                EXPECT_EQ(labels, BruteForce(m, plain, n, words.data())) << vsgtest::Utf8(t);
            }
            // The cut follows the labels found with the word scores.
            std::vector<uint32_t> ends, fromLabels;
            m.Cut(t.data(), atoms.data(), n, lex, ends, scratch);
            SegModel::FixBoundaries(t.data(), atoms.data(), n, marks.data(), plain.data());
            m.Labels(plain.data(), n, labels, back, words.data());
            for (size_t i = 0; i < n; ++i)
                if (SegLabelCloses(labels[i])) fromLabels.push_back(static_cast<uint32_t>(i + 1));
            EXPECT_EQ(ends, fromLabels) << vsgtest::Utf8(t);
        }
        EXPECT_GT(identities, 0);
    }
    // A model without word groups is written as the version before them.
    const float none[kSegLabels][kSegLabels] = {};
    EXPECT_EQ(EncodeSegModel({}, none)[8], 3);
}

TEST(SegModelTest, DictionaryFeaturesTellFrequentWordsFromRareOnes) {
    // Two dictionary words of one length, one 200 times as frequent: the
    // marks give the longest word starting at an atom with the class of its
    // cost (the negative log of its share), and the features differ by it.
    const std::string words[] = {Gb("北京"), Gb("中国"), Gb("中国人民"), Gb("人")};
    std::vector<LexiconWord> list = {{words[0], 600.0, 0.0}, {words[1], 3.0, 0.0}, {words[2], 1.0, 0.0},
                                     {words[3], 396.0, 0.0}};
    Lexicon lex;
    ASSERT_TRUE(lex.Build(list));
    auto costClass = [](double count) { return static_cast<int>(std::log(1000.0) - std::log(count)); };
    ASSERT_EQ(costClass(600.0), 0);
    ASSERT_EQ(costClass(3.0), 5);
    const std::string t = Gb("北京中国人民");
    std::vector<Atom> atoms;
    Atomise(t.data(), 0, t.size(), atoms);
    ASSERT_EQ(atoms.size(), 6u);
    std::vector<WordMarks> marks(atoms.size());
    lex.MarkWords(t.data(), atoms.data(), atoms.size(), kSegDictCap, marks.data());
    EXPECT_EQ(marks[0].starts, 2);
    EXPECT_EQ(marks[0].startCost, costClass(600.0));
    // From 中 the longest word is 中国人民, seen once.
    EXPECT_EQ(marks[2].starts, 4);
    EXPECT_EQ(marks[2].startCost, costClass(1.0));
    EXPECT_EQ(marks[3].starts, 0);
    EXPECT_EQ(marks[3].startCost, 0);

    // 北京 and 中国 alone: same length marks, other cost classes, other
    // features.
    std::vector<uint64_t> ids;
    std::vector<SegFeature> a, b;
    const std::string beijing = Gb("北京"), zhongguo = Gb("中国");
    auto costFeatures = [&](const std::string &text, std::vector<SegFeature> &out) {
        std::vector<Atom> at;
        Atomise(text.data(), 0, text.size(), at);
        std::vector<WordMarks> m(at.size());
        lex.MarkWords(text.data(), at.data(), at.size(), kSegDictCap, m.data());
        std::vector<SegFeature> all;
        SegFeatures(text.data(), at.data(), at.size(), m.data(), ids, all);
        out.clear();
        for (const SegFeature &f : all)
            if (SegKeyTemplate(f.key) == kSegDictStartCost) out.push_back(f);
    };
    costFeatures(beijing, a);
    costFeatures(zhongguo, b);
    ASSERT_EQ(a.size(), 2u);
    ASSERT_EQ(b.size(), 2u);
    EXPECT_NE(a[0].key, b[0].key);
    EXPECT_EQ(a[1].key, b[1].key);  // no word starts at the second atom
}

std::string SmallModelBytes() {
    std::vector<SegGroup> groups;
    for (uint64_t v = 1; v <= 50; ++v) {
        uint64_t key = SegFeatureKey(v % 2 ? kSegUnigram : kSegSkip, v * 977, v);
        groups.push_back({key, std::vector<float>(kSegTemplateRows[SegKeyTemplate(key)] * kSegLabels,
                                                  static_cast<float>(v % 7) - 3.0f)});
    }
    float trans[kSegLabels][kSegLabels];
    for (int p = 0; p < kSegLabels; ++p)
        for (int l = 0; l < kSegLabels; ++l) trans[p][l] = static_cast<float>((p * 5 + l * 3) % 4);
    return EncodeSegModel(groups, trans);
}

// Header size of the model file: fields, transition weights, checksum.
constexpr size_t kHeader = 24 + 4 * kSegLabels * kSegLabels + 8;
static_assert(kHeader == kSegHeaderBytes, "the header the file format describes");

TEST(SegModelTest, DamagedFilesAreRefusedWithTheirReason) {
    const std::string good = SmallModelBytes();
    auto load = [](const std::string &bytes, std::string *error) {
        SegModel m;
        bool ok = m.LoadBytes(reinterpret_cast<const uint8_t *>(bytes.data()), bytes.size(), error);
        EXPECT_EQ(ok, m.Loaded());
        return ok;
    };
    std::string error;
    ASSERT_TRUE(load(good, &error)) << error;
    // Every shorter prefix is refused, as is any extra byte.
    for (size_t len = 0; len < good.size(); len += (len < 128 ? 1 : 61)) {
        EXPECT_FALSE(load(good.substr(0, len), &error)) << len;
        EXPECT_NE(error.find("truncated"), std::string::npos) << len << ": " << error;
    }
    EXPECT_FALSE(load(good + '\0', &error));
    EXPECT_NE(error.find("trailing"), std::string::npos) << error;
    // Header fields.
    struct Field {
        size_t at;
        uint32_t value;
        const char *reason;
    } fields[] = {{0, 0x58475356u, "magic"},     {8, 1, "version"},           {12, 40, "table size"},
                  {12, 0, "table size"},         {16, 0x7FFFFFFFu, "weight count"}, {16, 3, "weight count"},
                  {20, 9, "feature set"},        {24, 0x7FFFFFFFu, "transition"}};
    for (const Field &f : fields) {
        std::string bad = good;
        std::memcpy(&bad[f.at], &f.value, 4);
        EXPECT_FALSE(load(bad, &error)) << f.at;
        EXPECT_NE(error.find(f.reason), std::string::npos) << f.at << ": " << error;
    }
    // A header that claims a table larger than the file.
    {
        std::string bad = good;
        uint32_t bits;
        std::memcpy(&bits, &bad[12], 4);
        ++bits;
        std::memcpy(&bad[12], &bits, 4);
        EXPECT_FALSE(load(bad, &error));
        EXPECT_NE(error.find("truncated"), std::string::npos) << error;
    }
    // Any changed payload byte.
    for (size_t at : {kHeader, kHeader + 4, good.size() / 2, good.size() - 1}) {
        std::string bad = good;
        bad[at] = static_cast<char>(bad[at] ^ 0x10);
        EXPECT_FALSE(load(bad, &error)) << at;
        EXPECT_NE(error.find("checksum"), std::string::npos) << at << ": " << error;
    }
    // A slot that points past the weights, with a matching checksum.
    {
        std::string bad = good;
        for (size_t at = kHeader; at < bad.size(); at += 8) {
            uint64_t slot;
            std::memcpy(&slot, bad.data() + at, 8);
            if (slot == 0) continue;
            slot |= 0x0FFFFFFFu;
            std::memcpy(&bad[at], &slot, 8);
            break;
        }
        uint64_t sum = SegChecksum(reinterpret_cast<const uint8_t *>(bad.data()) + kHeader, bad.size() - kHeader);
        std::memcpy(&bad[kHeader - 8], &sum, 8);
        EXPECT_FALSE(load(bad, &error));
        EXPECT_NE(error.find("past the weights"), std::string::npos) << error;
    }

    // Files: the message names the file; directories and missing files fail.
    vsgtest::TempDir dir;
    const std::string path = dir.path() + "/segment.mdl";
    vsgtest::WriteFile(path, good.substr(0, good.size() / 2));
    SegModel m;
    EXPECT_FALSE(m.Load(path, &error));
    EXPECT_NE(error.find(path), std::string::npos) << error;
    EXPECT_NE(error.find("truncated"), std::string::npos) << error;
    EXPECT_FALSE(m.Load(dir.path(), &error));
    EXPECT_NE(error.find("not a regular file"), std::string::npos) << error;
    EXPECT_FALSE(m.Load(dir.path() + "/none.mdl", &error));
    // A file of the earlier six-label format is refused by its version.
    std::string older = good;
    const uint32_t two = 2;
    std::memcpy(&older[8], &two, 4);
    vsgtest::WriteFile(path, older);
    EXPECT_FALSE(m.Load(path, &error));
    EXPECT_NE(error.find(path), std::string::npos) << error;
    EXPECT_NE(error.find("version 2"), std::string::npos) << error;
    EXPECT_NE(error.find("retrain"), std::string::npos) << error;
    vsgtest::WriteFile(path, good);
    EXPECT_TRUE(m.Load(path, &error)) << error;
    // The seven groups whose weights are all zero are not written.
    EXPECT_EQ(m.Groups(), 43u);
}

}  // namespace
