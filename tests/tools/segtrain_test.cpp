// Tests of the word cutter's training on a small corpus written by the
// test: the cut the engine wants, determinism, and that the model learns it.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include "corpus.h"
#include "front/atoms.h"
#include "front/lexicon.h"
#include "front/segmodel.h"
#include "segtrain.h"
#include "support/support.h"

namespace {

using vsgtest::Gb;
using vsgtest::Utf8;

const char *kLines[] = {
    "江/nr  泽民/nr  在/p  北京/ns  会见/v  了/u  客人/n  。/w",
    "李/nr  鹏/nr  在/p  上海/ns  会见/v  了/u  朋友/n  。/w",
    "我们/r  在/p  北京/ns  会见/v  了/u  他/r  。/w",
    "王/nr  国栋/nr  在/p  上海/ns  访问/v  了/u  北京/ns  。/w",
    "[中央/n  人民/n  广播/vn  电台/n]nt  在/p  北京/ns  。/w",
    "朋友/n  们/k  访问/v  了/u  上海/ns  和/c  北京/ns  。/w",
};

// The lines repeated `copies` times as paragraphs of one day.
std::vector<std::vector<vsgtrain::Unit>> Units(int copies) {
    std::vector<std::vector<vsgtrain::Unit>> all;
    int k = 0;
    for (int c = 0; c < copies; ++c)
        for (const char *line : kLines) {
            char id[64];
            std::snprintf(id, sizeof id, "19980101-01-%03d-%03d/m  ", c + 1, ++k);
            vsgtrain::Paragraph p;
            EXPECT_TRUE(vsgtrain::ParseParagraph(std::string(id) + line, &p)) << line;
            all.push_back(vsgtrain::BuildUnits(p));
        }
    return all;
}

// The cut of a text by a model, words joined by "/".
std::string CutText(const vsg::front::SegModel &m, const vsg::front::Lexicon &lex, const std::string &utf8) {
    std::string gb = Gb(utf8);
    std::vector<vsg::front::Atom> atoms;
    vsg::front::Atomise(gb.data(), 0, gb.size(), atoms);
    std::vector<uint32_t> ends;
    vsg::front::CutScratch scratch;
    m.Cut(gb.data(), atoms.data(), atoms.size(), lex, ends, scratch);
    std::string out;
    size_t a = 0;
    for (uint32_t b : ends) {
        if (!out.empty()) out += "/";
        size_t s = atoms[a].start, e = atoms[b - 1].start + atoms[b - 1].length;
        out += Utf8(gb.substr(s, e - s));
        a = b;
    }
    return out;
}

TEST(SegTrainTest, EngineCutSplitsNamesAndUnknownPlaces) {
    auto all = Units(1);
    std::string text;
    // 上海 is known (seen twice), 北京 is not in the counts: it is cut.
    std::vector<std::pair<std::string, int32_t>> places = {{Gb("上海"), 2}};
    std::vector<uint32_t> b = vsgtrain::EngineBoundaries(all[3], places, 0, &text);
    std::string cut;
    for (size_t i = 1; i < b.size(); ++i) cut += Utf8(text.substr(b[i - 1], b[i] - b[i - 1])) + "/";
    EXPECT_EQ(cut, "王/国/栋/在/上海/访问/了/北/京/。/");
    // With a higher cut count the known place is cut as well; organisation
    // compounds keep their inner words.
    b = vsgtrain::EngineBoundaries(all[3], places, 2, &text);
    EXPECT_EQ(b.size(), 12u);
    b = vsgtrain::EngineBoundaries(all[4], places, 0, &text);
    cut.clear();
    for (size_t i = 1; i < b.size(); ++i) cut += Utf8(text.substr(b[i - 1], b[i] - b[i - 1])) + "/";
    EXPECT_EQ(cut, "中央/人民/广播/电台/在/北/京/。/");
    EXPECT_EQ(vsgtrain::CountPlaces(all).size(), 2u);
}

TEST(SegTrainTest, EngineCutCanKeepTransliteratedPlacesWhole) {
    vsgtrain::Paragraph p;
    ASSERT_TRUE(vsgtrain::ParseParagraph(
        "19980101-01-001-001/m  帕米尔/ns  和/c  温州市/ns  的/u  穆/nr  萨/nr  到/v  伊朗/ns  。/w", &p));
    const std::vector<vsgtrain::Unit> units = vsgtrain::BuildUnits(p);
    const std::vector<std::pair<std::string, int32_t>> places = {{Gb("伊朗"), 3}};
    auto cut = [&](bool keep) {
        std::string text, out;
        std::vector<uint32_t> b = vsgtrain::EngineBoundaries(units, places, 0, &text, keep);
        for (size_t i = 1; i < b.size(); ++i) out += Utf8(text.substr(b[i - 1], b[i] - b[i - 1])) + "/";
        return out;
    };
    // An unseen transliterated place stays whole only with the rule; a place
    // ending in a suffix and a transliterated person are still cut, and a
    // place seen often enough is whole either way.
    EXPECT_EQ(cut(false), "帕/米/尔/和/温/州/市/的/穆/萨/到/伊朗/。/");
    EXPECT_EQ(cut(true), "帕米尔/和/温/州/市/的/穆/萨/到/伊朗/。/");
}

TEST(SegTrainTest, EngineCutCanKeepShortRarePlacesWhole) {
    vsgtrain::Paragraph p;
    ASSERT_TRUE(vsgtrain::ParseParagraph(
        "19980101-01-001-001/m  象山/ns  和/c  温州市/ns  的/u  李/nr  鹏/nr  到/v  [中亚/ns  地区/n]ns  。/w", &p));
    const std::vector<vsgtrain::Unit> units = vsgtrain::BuildUnits(p);
    const std::vector<std::pair<std::string, int32_t>> places = {{Gb("温州市"), 1}};
    auto cut = [&](int chars, int cutMax) {
        std::string text, out;
        std::vector<uint32_t> b = vsgtrain::EngineBoundaries(units, places, cutMax, &text, false, chars);
        for (size_t i = 1; i < b.size(); ++i) out += Utf8(text.substr(b[i - 1], b[i] - b[i - 1])) + "/";
        return out;
    };
    // Rare places up to the length stay whole (the place inside a compound
    // too), longer ones and persons are cut whatever the length.
    EXPECT_EQ(cut(0, 1), "象/山/和/温/州/市/的/李/鹏/到/中/亚/地区/。/");
    EXPECT_EQ(cut(2, 1), "象山/和/温/州/市/的/李/鹏/到/中亚/地区/。/");
    EXPECT_EQ(cut(3, 1), "象山/和/温州市/的/李/鹏/到/中亚/地区/。/");
    EXPECT_EQ(cut(2, 0), "象山/和/温州市/的/李/鹏/到/中亚/地区/。/");
}

TEST(SegTrainTest, NameCharactersGetLabelsOfTheirOwn) {
    vsgtrain::Paragraph p;
    ASSERT_TRUE(vsgtrain::ParseParagraph(
        "19980101-01-001-001/m  王/nr  国栋/nr  在/p  象山/ns  和/c  上海/ns  见/v  了/u  李/nr  。/w", &p));
    const std::vector<vsgtrain::Unit> units = vsgtrain::BuildUnits(p);
    const std::vector<std::pair<std::string, int32_t>> places = {{Gb("上海"), 2}};
    // The target's labels written as letters: b, 2, 3, m, e, s and the name
    // labels F (first character) and L (a later one).
    auto labels = [&](int nameLabels, bool namePlaces) {
        vsgtrain::SegTrainOptions opt;
        opt.nameLabels = nameLabels;
        opt.namePlaces = namePlaces;
        std::string text, out;
        std::vector<vsg::front::Atom> atoms;
        std::vector<uint8_t> l;
        vsgtrain::SegTargetLabels(units, places, opt, &text, &atoms, &l);
        EXPECT_EQ(atoms.size(), l.size());
        for (uint8_t x : l) out += "b23mesFL"[x];
        return out;
    };
    // 王国栋 and the unknown place 象山 are cut into characters; 上海 is
    // known and whole; 在, 和, 见, 了 and 。 are real one-character words;
    // the lone surname 李 is a name of one character.
    EXPECT_EQ(labels(0, false), "sssssssbessss");
    EXPECT_EQ(labels(2, true), "FLLsFLsbessFs");
    EXPECT_EQ(labels(2, false), "FLLssssbessFs");
    EXPECT_EQ(labels(1, true), "FFFsFFsbessFs");
}

// The lexicon the front end would build from the dictionary trained on
// these paragraphs.
vsg::front::Lexicon LexiconOf(const std::vector<std::vector<vsgtrain::Unit>> &all) {
    std::map<std::string, double> counts;
    for (const auto &units : all)
        for (const vsgtrain::Unit &u : units) counts[u.text] += 1.0;
    std::vector<vsg::front::LexiconWord> words;
    for (const auto &kv : counts) words.push_back({kv.first, kv.second, 0.0});
    vsg::front::Lexicon lex;
    EXPECT_TRUE(lex.Build(words));
    return lex;
}

// Known words come out whole and a person name one character a word with
// the model `bytes` trained on `all`.
void ExpectWordsWholeAndNameInCharacters(const std::string &bytes,
                                          const std::vector<std::vector<vsgtrain::Unit>> &all) {
    vsg::front::SegModel m;
    std::string error;
    ASSERT_TRUE(m.LoadBytes(reinterpret_cast<const uint8_t *>(bytes.data()), bytes.size(), &error)) << error;
    const vsg::front::Lexicon lex = LexiconOf(all);
    EXPECT_EQ(CutText(m, lex, "江泽民在上海会见了朋友。"), "江/泽/民/在/上海/会见/了/朋友/。");
    EXPECT_EQ(CutText(m, lex, "我们访问了北京和上海。"), "我们/访问/了/北京/和/上海/。");
}

// Options for the small test corpus: every feature learned, `epochs` passes.
vsgtrain::SegTrainOptions SmallOptions(int epochs) {
    vsgtrain::SegTrainOptions opt;
    opt.minCount = 1;
    opt.epochs = epochs;
    return opt;
}

// Trains twice with the same options and expects the same bytes; returns
// them (`summary` of the first run).
std::string TrainedAlikeTwice(const std::vector<std::vector<vsgtrain::Unit>> &all,
                              const vsgtrain::SegTrainOptions &opt, vsgtrain::SegTrainSummary *summary) {
    vsgtrain::SegTrainSummary again;
    const std::string a = vsgtrain::TrainSegmenter(all, opt, summary);
    EXPECT_FALSE(a.empty());
    EXPECT_EQ(a, vsgtrain::TrainSegmenter(all, opt, &again));
    EXPECT_EQ(summary->atoms, again.atoms);
    return a;
}

TEST(SegTrainTest, TrainingIsDeterministicAndLearnsTheCut) {
    auto all = Units(8);
    vsgtrain::SegTrainOptions opt = SmallOptions(8);
    vsgtrain::SegTrainSummary s1;
    const std::string a = TrainedAlikeTwice(all, opt, &s1);
    EXPECT_GT(s1.errorsFirst, s1.errorsLast);
    EXPECT_EQ(s1.bytes, static_cast<int64_t>(a.size()));

    // Person names one character a word (the name labels give
    // one-character words like S).
    ExpectWordsWholeAndNameInCharacters(a, all);

    // Fewer passes or another minimum give another model.
    opt.epochs = 1;
    EXPECT_NE(vsgtrain::TrainSegmenter(all, opt, &s1), a);
    opt.epochs = 0;
    EXPECT_TRUE(vsgtrain::TrainSegmenter(all, opt, &s1).empty());
}

TEST(SegTrainTest, WordFeaturesAreLearnedDeterministicallyAndKeepTheCut) {
    auto all = Units(8);
    vsgtrain::SegTrainOptions opt = SmallOptions(8);
    vsgtrain::SegTrainSummary plain, s1;
    const std::string without = vsgtrain::TrainSegmenter(all, opt, &plain);
    opt.wordFeatures = 2;
    const std::string a = TrainedAlikeTwice(all, opt, &s1);
    EXPECT_GT(s1.features, plain.features);
    vsg::front::SegModel m, old;
    std::string error;
    ASSERT_TRUE(m.LoadBytes(reinterpret_cast<const uint8_t *>(a.data()), a.size(), &error)) << error;
    ASSERT_TRUE(old.LoadBytes(reinterpret_cast<const uint8_t *>(without.data()), without.size(), &error)) << error;
    EXPECT_TRUE(m.HasWordFeatures());
    EXPECT_FALSE(old.HasWordFeatures());
    ExpectWordsWholeAndNameInCharacters(a, all);
}

TEST(SegTrainTest, SummedMembersDifferFromOneAndAreDeterministic) {
    auto all = Units(8);
    vsgtrain::SegTrainOptions opt = SmallOptions(8);
    vsgtrain::SegTrainSummary one, s1;
    opt.members = 1;
    const std::string single = vsgtrain::TrainSegmenter(all, opt, &one);
    opt.members = 3;
    const std::string a = TrainedAlikeTwice(all, opt, &s1);
    // Members that learned the same weights would sum to a multiple of one
    // member's, which the file's single scale writes as the same bytes.
    EXPECT_NE(a, single);
    // The first pass counts of the first member, whatever the others do.
    EXPECT_EQ(s1.errorsFirst, one.errorsFirst);
    EXPECT_EQ(s1.atoms, one.atoms);
    ExpectWordsWholeAndNameInCharacters(a, all);
}

TEST(SegTrainTest, MemberKindsChooseTheirTemplates) {
    std::vector<vsgtrain::SegMemberKind> kinds;
    ASSERT_TRUE(vsgtrain::ParseSegMemberKinds("all,nodict,notri", &kinds));
    EXPECT_EQ(kinds, (std::vector<vsgtrain::SegMemberKind>{vsgtrain::SegMemberKind::All,
                                                           vsgtrain::SegMemberKind::NoDictionary,
                                                           vsgtrain::SegMemberKind::NoTrigram}));
    for (const char *bad : {"", "all,", ",all", "all,,nodict", "dict", "All", "all nodict"})
        EXPECT_FALSE(vsgtrain::ParseSegMemberKinds(bad, &kinds)) << bad;
    EXPECT_EQ(kinds.size(), 3u);  // a bad list leaves the kinds alone

    // A member that reads no dictionary cuts the same whatever the lexicon
    // holds; one that reads it does not.
    auto all = Units(8);
    vsgtrain::SegTrainOptions opt = SmallOptions(8);
    opt.members = 1;
    vsgtrain::SegTrainSummary s1;
    opt.memberKinds = {vsgtrain::SegMemberKind::NoDictionary};
    const std::string plain = TrainedAlikeTwice(all, opt, &s1);
    opt.memberKinds = {vsgtrain::SegMemberKind::All};
    const std::string full = vsgtrain::TrainSegmenter(all, opt, &s1);
    const vsg::front::Lexicon lex = LexiconOf(all);
    // A lexicon of wrong words only.
    const std::string w1 = Gb("在上"), w2 = Gb("海会"), w3 = Gb("们访");
    vsg::front::Lexicon none;
    ASSERT_TRUE(none.Build({{w1, 50.0, 0.0}, {w2, 50.0, 0.0}, {w3, 50.0, 0.0}}));
    vsg::front::SegModel p, f;
    std::string error;
    ASSERT_TRUE(p.LoadBytes(reinterpret_cast<const uint8_t *>(plain.data()), plain.size(), &error)) << error;
    ASSERT_TRUE(f.LoadBytes(reinterpret_cast<const uint8_t *>(full.data()), full.size(), &error)) << error;
    bool fullDiffers = false;
    for (const char *text : {"江泽民在上海会见了朋友。", "我们访问了北京和上海。", "中央人民广播电台在北京。"}) {
        EXPECT_EQ(CutText(p, lex, text), CutText(p, none, text)) << text;
        fullDiffers = fullDiffers || CutText(f, lex, text) != CutText(f, none, text);
    }
    EXPECT_TRUE(fullDiffers);
}

TEST(SegTrainTest, WordBiasMovesTheCountOfWords) {
    auto all = Units(8);
    vsgtrain::SegTrainOptions opt = SmallOptions(8);
    vsgtrain::SegTrainSummary s;
    const vsg::front::Lexicon lex = LexiconOf(all);
    // Models trained with no bias, a bonus and a penalty far above the sum
    // of an atom's weights, and a small bonus.
    std::map<double, vsg::front::SegModel> models;
    for (double bias : {0.0, 100.0, -100.0, 0.001}) {
        opt.wordBias = bias;
        const std::string bytes = vsgtrain::TrainSegmenter(all, opt, &s);
        std::string error;
        ASSERT_TRUE(models[bias].LoadBytes(reinterpret_cast<const uint8_t *>(bytes.data()), bytes.size(), &error))
            << error;
    }
    // Words of a cut ("a/b/c") and characters of a UTF-8 text.
    auto words = [](const std::string &cut) { return std::count(cut.begin(), cut.end(), '/') + 1; };
    auto chars = [](const std::string &utf8) {
        return std::count_if(utf8.begin(), utf8.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; });
    };
    for (const char *text : {"我们在北京会见了朋友。", "中央人民广播电台访问了上海。"}) {
        const std::string plain = CutText(models[0.0], lex, text);
        // The bonus makes every character a word; the penalty joins what
        // the model cuts; the small bonus moves nothing here.
        const std::string more = CutText(models[100.0], lex, text), fewer = CutText(models[-100.0], lex, text);
        EXPECT_EQ(words(more), chars(text)) << more;
        EXPECT_LT(words(fewer), words(plain)) << fewer << " " << plain;
        EXPECT_EQ(CutText(models[0.001], lex, text), plain) << text;
    }
}

TEST(SegTrainTest, DroppedTemplatesAreNotLearned) {
    auto all = Units(8);
    vsgtrain::SegTrainOptions opt = SmallOptions(2);
    vsgtrain::SegTrainSummary full, noPairs, noneAtAll;
    const std::string a = vsgtrain::TrainSegmenter(all, opt, &full);
    opt.dropTemplates = 1u << vsg::front::kSegBigram;
    const std::string b = vsgtrain::TrainSegmenter(all, opt, &noPairs);
    EXPECT_LT(noPairs.features, full.features);
    EXPECT_GT(noPairs.features, 0);
    EXPECT_NE(a, b);
    // Every template left out: nothing to learn but the transitions.
    opt.dropTemplates = (1u << vsg::front::kSegTemplates) - 1;
    vsgtrain::TrainSegmenter(all, opt, &noneAtAll);
    EXPECT_EQ(noneAtAll.features, 0);
    EXPECT_EQ(noneAtAll.groups, 0);
}

}  // namespace
