// The span's shortcuts against its plain paths on the shipped models, over
// word arrays built from tagged newspaper text (the corpus beside the
// repository when present, else a few sentences): the part-of-speech pass's
// step for runs of one settled word, and candidates taken from the tables
// against candidates read from the dictionary rows.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "common/class_rows.h"
#include "common/gbtext.h"
#include "common/tagset.h"
#include "engine/instance.h"
#include "support/support.h"
#include "tagging/Span.h"
#include "tagging/Span_names.h"
#include "tagging/org_rows.h"
#include "tagging/span_tables.h"

using vsgtest::Gb;

namespace {

struct SpanDeleter {
    void operator()(CSpan *s) const { CSpan_delete(s); }
};
using SpanPtr = std::unique_ptr<CSpan, SpanDeleter>;

// A corpus word: its text (UTF-8) and its part-of-speech tag name.
struct Tagged {
    std::string text;
    std::string tag;
};

// Sentences of "word/tag" tokens separated by spaces, the first token (the
// line's key) dropped and bracket marks of compound names removed.
std::vector<std::vector<Tagged>> ReadSentences(std::istream &in, size_t most) {
    std::vector<std::vector<Tagged>> out;
    std::string line;
    while (out.size() < most && std::getline(in, line)) {
        std::istringstream tokens(line);
        std::string token;
        std::vector<Tagged> sentence;
        bool key = true;
        while (tokens >> token) {
            if (key) {
                key = false;
                continue;
            }
            if (!token.empty() && token[0] == '[') token.erase(0, 1);
            const size_t slash = token.rfind('/');
            if (slash == std::string::npos || slash == 0) continue;
            std::string tag = token.substr(slash + 1);
            const size_t close = tag.find(']');
            if (close != std::string::npos) tag.erase(close);
            sentence.push_back({token.substr(0, slash), tag});
        }
        if (!sentence.empty()) out.push_back(std::move(sentence));
    }
    return out;
}

const char kFallback[] =
    "k 江/nr 泽民/nr 为/p 中国/ns 青年/n 志愿者/n 题名/v ，/w 热情/ad 勉励/v 。/w\n"
    "k 据/p 新华社/nt 北京/ns １月/t ２１日/t 电/n （/w 记者/n 胡/nr 晓梦/nr ）/w\n"
    "k “/w ，/w 、/w 。/w ”/w ！/w 他/r 说/v ：/w “/w 好/a ！/w ”/w\n"
    "k 北京/ns 大学/n 和/c 清华/nz 大学/n 的/u 学生/n 在/p 莫斯科/ns 。/w\n";

// The shipped models, their tables, and the test text.
struct Fixture {
    std::unique_ptr<vsg::engine::Engine> engine;
    vsg::tagging::SpanTables tables[4];
    vsg::tagging::SpanTables shared[4];  // the four sets in one block, as an engine builds them
    std::vector<std::vector<Tagged>> sentences;

    bool Load() {
        const char *source = std::getenv("VSGLEX_SOURCE_DIR");
        if (source == nullptr) return false;
        int32_t status = -1;
        engine = vsg::engine::Engine::Load((std::string(source) + "/data/vsg").c_str(), &status);
        if (engine == nullptr) return false;
        for (int t = 0; t < 4; ++t)
            if (!tables[t].Build(core(), model(t), t)) return false;
        const ContextStat *const models[4] = {&model(0), &model(1), &model(2), &model(3)};
        if (!vsg::tagging::SpanTables::BuildSets(shared, core(), models)) return false;
        std::ifstream corpus(std::string(source) + "/../shared/corpus/pfr-1998-01/train-22-28.txt");
        std::istringstream fallback(kFallback);
        sentences = corpus ? ReadSentences(corpus, 6000) : ReadSentences(fallback, 100);
        return !sentences.empty();
    }
    const DictionaryS &core() const { return engine->models().core; }
    const ContextStat &model(int t) const { return engine->models().tagModels[t].model; }

    // The word array of sentence s as the engine builds it: start word,
    // words with their dictionary entries, end word, empty record. Names
    // stand as class words with fixed tags, as after recognition; a few
    // other words get fixed tags too, some of them tag 0 (a fixed word that
    // does not end its run) and some tags past the model. `settledPairs`
    // counts settled words right after settled words.
    std::vector<SpanWord> Words(size_t s, std::mt19937 &rng, size_t *settledPairs) const {
        const std::vector<Tagged> &sentence = sentences[s];
        std::vector<SpanWord> words(sentence.size() + 3);
        memset(words.data(), 0, words.size() * sizeof(SpanWord));
        int32_t offset = 0;
        auto add = [&](size_t i, const std::string &gb, const char *cls, int tag, double weight) {
            SpanWord &w = words[i];
            snprintf(w.text, sizeof w.text, "%s", gb.c_str());
            if (cls != nullptr) snprintf(w.classText, sizeof w.classText, "%s", cls);
            w.tag = static_cast<int8_t>(tag);
            w.weight = weight;
            w.offset = static_cast<int16_t>(offset);
            offset += static_cast<int32_t>(strlen(w.text));
            const int32_t at = DictionaryS_GetCoreInfo(w.text, &core());
            if (at >= 0) {
                const DictSEntry &entry = core().entries[at];
                w.posCount = entry.posCount;
                w.posList = entry.posList;
                memcpy(w.stats, entry.stats, sizeof w.stats);
                tables[0].Mark(&w, at);
            }
        };
        add(0, vsg::kStartWord, nullptr, -1, 1.0);
        bool lastFixed = false;
        for (size_t i = 0; i < sentence.size(); ++i) {
            const Tagged &t = sentence[i];
            const std::string gb = Gb(t.text).substr(0, 100);
            const unsigned r = rng() % 100;
            if (t.tag == "nr" || t.tag == "ns" || t.tag == "nt") {
                const bool person = t.tag == "nr", place = t.tag == "ns";
                add(i + 1, gb, person ? vsg::kPersonClass : place ? vsg::kPlaceClass : vsg::kOrgClass,
                    person ? vsg::kPersonTag : place ? vsg::kPlaceTag : vsg::kOrgTag, vsg::kPersonClassWeight);
            } else if (r < 3) {
                add(i + 1, gb, nullptr, r == 0 ? 0 : r == 1 ? 200 : static_cast<int>(rng() % 60), 2.5);
            } else {
                add(i + 1, gb, nullptr, -1, 1.0);
            }
            const bool fixed = words[i + 1].tag != -1 || t.tag == "w";
            if (fixed && lastFixed) ++*settledPairs;
            lastFixed = fixed;
        }
        add(sentence.size() + 1, vsg::kEndWord, nullptr, -1, 1.0);
        return words;
    }
};

SpanPtr NewSpan(const ContextStat &model, const vsg::tagging::SpanTables *tables, uint32_t type) {
    SpanPtr span(CSpan_new());
    if (span) {
        CSpan_SetTagType(span.get(), type);
        span->model = &model;
        span->tables = tables;
    }
    return span;
}

}  // namespace

// Tagged with and without the whole-array run (run by run, each run's
// forward pass and trace on their own) by two spans that live through every
// sentence, so that what one sentence leaves in a span reaches the next:
// the same tags and the same carried state (the next sentence's slot 0 and
// offsets); and the same tags as the pass without tables, which reads the
// rows and the model.
TEST(PosSteps, WholeArrayRunGivesTheTagsOfRunByRun) {
    Fixture f;
    if (!f.Load()) GTEST_SKIP() << "shipped models not found (VSGLEX_SOURCE_DIR)";
    SpanPtr plain = NewSpan(f.model(0), &f.tables[0], 0);
    SpanPtr fast = NewSpan(f.model(0), &f.tables[0], 0);
    SpanPtr rows = NewSpan(f.model(0), nullptr, 0);
    ASSERT_TRUE(plain && fast && rows);
    std::mt19937 rng(99);
    size_t settledPairs = 0;
    for (size_t s = 0; s < f.sentences.size(); ++s) {
        std::vector<SpanWord> words = f.Words(s, rng, &settledPairs);
        std::vector<SpanWord> copy = words, third = words;
        vsg::tagging::PosTagging(plain.get(), words.data(), &f.core(), false);
        vsg::tagging::PosTagging(fast.get(), copy.data(), &f.core(), true);
        vsg::tagging::PosTagging(rows.get(), third.data(), &f.core(), true);
        for (size_t i = 0; i < words.size(); ++i) {
            ASSERT_EQ(copy[i].tag, words[i].tag) << "sentence " << s << " word " << i;
            ASSERT_EQ(third[i].tag, words[i].tag) << "sentence " << s << " word " << i;
        }
        ASSERT_EQ(fast->count, plain->count) << "sentence " << s;
        ASSERT_EQ(fast->cand[0][0], plain->cand[0][0]) << "sentence " << s;
        ASSERT_EQ(memcmp(&fast->Score(0)[0], &plain->Score(0)[0], sizeof(double)), 0) << "sentence " << s;
        ASSERT_EQ(fast->offset[1], plain->offset[1]) << "sentence " << s;
        ASSERT_EQ(fast->startOffset, plain->startOffset) << "sentence " << s;
    }
    // The text had runs cut at settled words, several in a row.
    EXPECT_GT(settledPairs, f.sentences.size() > 100 ? 1000u : 5u);
}

// The role passes' way through a span (fill, then the forward pass and
// trace of a filled span) against the exported steps, CSpan_GetFrom1 and
// CSpan_GetBestPOS1, on two spans of each role set: the same best roles of
// every slot, the same answer to whether more than one word left the
// default role, and spans left byte for byte alike.
TEST(PosSteps, RolePassGivesTheBestRolesOfTheExportedSteps) {
    Fixture f;
    if (!f.Load()) GTEST_SKIP() << "shipped models not found (VSGLEX_SOURCE_DIR)";
    static constexpr int32_t kDefaultRole[4] = {0, vsg::kPersonDefaultRole, vsg::kPlaceDefaultRole,
                                                vsg::kOrgDefaultRole};
    std::mt19937 rng(17);
    size_t pairs = 0, named = 0;
    for (int t = 1; t <= 3; ++t) {
        SpanPtr steps = NewSpan(f.model(t), &f.tables[t], static_cast<uint32_t>(t));
        SpanPtr pass = NewSpan(f.model(t), &f.tables[t], static_cast<uint32_t>(t));
        ASSERT_TRUE(steps && pass);
        for (size_t s = 0; s < f.sentences.size(); s += 2) {
            std::vector<SpanWord> words = f.Words(s, rng, &pairs);
            if (words.size() > 190) continue;  // one run, as below
            for (SpanWord &w : words)
                if (w.reserved[0] > 0) f.tables[t].Mark(&w, w.reserved[0] - 1);
            CSpan_Reset(steps.get(), 0);
            steps->firstMerged = INT32_MAX;
            CSpan_GetFrom1(steps.get(), words.data(), 0, t, kDefaultRole[t]);
            const int32_t more = CSpan_GetBestPOS1(steps.get(), kDefaultRole[t]);
            named += static_cast<size_t>(more);
            CSpan_Reset(steps.get(), 1);
            // No engine: the pass runs no recogniser and leaves the words.
            CSpan_RoleTagging(pass.get(), words.data(), t, kDefaultRole[t], nullptr, nullptr);
            ASSERT_EQ(memcmp(steps.get(), pass.get(), sizeof(CSpan)), 0) << "type " << t << " sentence " << s;
        }
    }
    EXPECT_GT(named, f.sentences.size() > 100 ? 100u : 0u);
}

// The fill of every tag type gives each slot the same candidates and costs
// (bit for bit) from the tables, built per set or the four sets in one
// block, as from the dictionary rows.
TEST(SpanTablesFill, CandidatesAsReadFromTheRows) {
    Fixture f;
    if (!f.Load()) GTEST_SKIP() << "shipped models not found (VSGLEX_SOURCE_DIR)";
    static constexpr int32_t kDefaultRole[4] = {0, vsg::kPersonDefaultRole, vsg::kPlaceDefaultRole,
                                                vsg::kOrgDefaultRole};
    std::mt19937 rng(5);
    size_t pairs = 0, compared = 0;
    for (size_t s = 0; s < f.sentences.size(); s += 3) {
        std::vector<SpanWord> words = f.Words(s, rng, &pairs);
        for (int tt = 0; tt < 8; ++tt) {
            const int t = tt % 4;
            const vsg::tagging::SpanTables &used = tt < 4 ? f.tables[t] : f.shared[t];
            // Marks are those of the tables' block.
            for (SpanWord &w : words)
                if (w.reserved[0] > 0) used.Mark(&w, w.reserved[0] - 1);
            SpanPtr fromTables = NewSpan(f.model(t), &used, static_cast<uint32_t>(t));
            SpanPtr fromRows = NewSpan(f.model(t), nullptr, static_cast<uint32_t>(t));
            ASSERT_TRUE(fromTables && fromRows);
            int32_t start = 0;
            while (start >= 0 && words[static_cast<size_t>(start)].text[0] != '\0') {
                int32_t next[2];
                int i = 0;
                for (CSpan *span : {fromTables.get(), fromRows.get()}) {
                    CSpan_Reset(span, 0);
                    next[i++] = t == 0 ? CSpan_GetFrom0(span, words.data(), start, &f.core())
                                       : CSpan_GetFrom1(span, words.data(), start, t, kDefaultRole[t]);
                }
                ASSERT_EQ(next[0], next[1]);
                ASSERT_EQ(fromTables->count, fromRows->count);
                for (uint32_t k = 1; k < fromRows->count; ++k) {
                    int j = 0;
                    for (; j < kSpanCands && fromRows->cand[k][j] != kNoTag; ++j) {
                        ASSERT_EQ(fromTables->cand[k][j], fromRows->cand[k][j]) << "type " << t << " slot " << k;
                        ASSERT_EQ(memcmp(&fromTables->Score(k)[j], &fromRows->Score(k)[j], sizeof(double)), 0)
                            << "type " << t << " slot " << k << " candidate " << j;
                        ++compared;
                    }
                    ASSERT_EQ(fromTables->cand[k][j < kSpanCands ? j : kSpanCands - 1],
                              fromRows->cand[k][j < kSpanCands ? j : kSpanCands - 1]);
                }
                start = next[0];
            }
        }
    }
    EXPECT_GT(compared, 1000u);
}

// The fact bits an entry's record keeps for the organisation scan are those
// its rows give, in the tables of one set and in the block of four alike;
// a word without a mark has none.
TEST(SpanTablesFill, EntryFactsAsReadFromTheRows) {
    Fixture f;
    if (!f.Load()) GTEST_SKIP() << "shipped models not found (VSGLEX_SOURCE_DIR)";
    const DictionaryS &core = f.core();
    size_t withFacts[4] = {};
    size_t withClass[8] = {};  // by tag from the person tag (25, no class tag: none)
    for (int32_t e = 0; e < core.count; ++e) {
        const DictSEntry &entry = core.entries[e];
        const int32_t expected = static_cast<int32_t>(vsg::tagging::EntryFacts(entry.posList, entry.posCount));
        ++withFacts[expected & 3];
        // The bits against plain scans of the rows.
        bool orgPos = false, suffix = false, name = false;
        for (int32_t r = 0; r < entry.posCount && entry.posList != nullptr; ++r) {
            const DictSRow &row = entry.posList[r];
            orgPos |= row.code == 0 && row.subCode == vsg::kOrgTag;
            suffix |= row.code == 3 && row.subCode == 5 && row.value >= 1.1f;
            name |= row.code == 0 && (row.subCode == vsg::kPlaceTag || row.subCode == vsg::kForeignPlaceTag ||
                                      row.subCode == vsg::kOrgTag);
        }
        ASSERT_EQ((expected & vsg::tagging::kFactOrgPosRow) != 0, orgPos) << "entry " << e;
        ASSERT_EQ((expected & vsg::tagging::kFactOrgSuffixRow) != 0, suffix) << "entry " << e;
        ASSERT_EQ((expected & vsg::tagging::kFactNameRow) != 0, name) << "entry " << e;
        // The class code against the class assignment's own scan: the tag
        // of the last row that passes its threshold.
        int classTag = -1;
        for (int32_t r = 0; r < entry.posCount && entry.posList != nullptr; ++r)
            if (vsg::ClassTagOfRow(entry.posList[r].subCode, entry.posList[r].value) >= 0)
                classTag = entry.posList[r].subCode;
        ASSERT_EQ(vsg::tagging::ClassTagOfFacts(static_cast<uint32_t>(expected)), classTag) << "entry " << e;
        ++withClass[classTag < 0 ? 1 : classTag - vsg::kPersonTag];
        const int main = vsg::tagging::MainPosRowTag(entry.posList, entry.posCount);
        ASSERT_EQ((expected & vsg::tagging::kFactMainTag) != 0, main >= 0) << "entry " << e;
        if (main >= 0) {
            ASSERT_EQ((expected >> vsg::tagging::kFactMainTagShift) & 0xFF, main) << "entry " << e;
        }
        SpanWord w;
        memset(&w, 0, sizeof w);
        w.posList = entry.posList;
        w.posCount = entry.posCount;
        f.tables[3].Mark(&w, e);
        ASSERT_EQ(f.tables[3].Facts(w), expected) << "entry " << e;
        f.shared[0].Mark(&w, e);
        ASSERT_EQ(f.shared[3].Facts(w), expected) << "entry " << e;
        vsg::tagging::ClearMark(&w);
        ASSERT_EQ(f.shared[3].Facts(w), -1);
    }
    // Entries of every kind exist, so the bits are not all equal.
    EXPECT_GT(withFacts[0], 0u);
    EXPECT_GT(withFacts[vsg::tagging::kFactOrgPosRow], 0u);
    EXPECT_GT(withFacts[vsg::tagging::kFactOrgSuffixRow], 0u);
    // Entries of every name class and of none.
    for (int tag : {vsg::kPersonTag + 1, int{vsg::kPersonTag}, int{vsg::kForeignPersonTag}, int{vsg::kPlaceTag},
                    int{vsg::kForeignPlaceTag}, int{vsg::kOrgTag}})
        EXPECT_GT(withClass[tag - vsg::kPersonTag], 0u) << "class " << tag;
}

// A record that a recogniser gives the rows of a class entry (a name record)
// is filled from those rows, not from the candidates of the entry its word
// was looked up under: in every set, the tables give what the rows give.
TEST(SpanTablesFill, RecordsGivenOtherRowsAreFilledFromThem) {
    Fixture f;
    if (!f.Load()) GTEST_SKIP() << "shipped models not found (VSGLEX_SOURCE_DIR)";
    static constexpr int32_t kDefaultRole[4] = {0, vsg::kPersonDefaultRole, vsg::kPlaceDefaultRole,
                                                vsg::kOrgDefaultRole};
    const DictionaryS &core = f.core();
    ASSERT_GE(core.personIndex, 0);
    const DictSEntry &cls = core.entries[core.personIndex];
    // A one-character word with person rows.
    int32_t at = -1;
    for (int32_t e = 0; e < core.count && at < 0; ++e) {
        const DictSEntry &entry = core.entries[e];
        if (entry.word == nullptr || strlen(entry.word) != 2 || entry.posList == nullptr || entry.posList == cls.posList)
            continue;
        for (int32_t r = 0; r < entry.posCount; ++r)
            if (entry.posList[r].code == 1) at = e;
    }
    ASSERT_GE(at, 0);
    auto record = [&](const char *text, int32_t entry) {
        SpanWord w;
        memset(&w, 0, sizeof w);
        snprintf(w.text, sizeof w.text, "%s", text);
        w.tag = -1;
        w.weight = 1.0;
        if (entry >= 0) {
            w.posCount = core.entries[entry].posCount;
            w.posList = core.entries[entry].posList;
            memcpy(w.stats, core.entries[entry].stats, sizeof w.stats);
            f.shared[0].Mark(&w, entry);
        }
        return w;
    };
    std::vector<SpanWord> words = {record(vsg::kStartWord, DictionaryS_GetCoreInfo(vsg::kStartWord, &core)),
                                   record(core.entries[at].word, at),
                                   record(vsg::kEndWord, DictionaryS_GetCoreInfo(vsg::kEndWord, &core)),
                                   record("", -1)};
    vsg::names::WriteNameRecord(&words[1], nullptr, vsg::names::NameClass{"", -1, 0, 1.0}, 2, &core,
                                vsg::names::CoreClass::kPerson);
    ASSERT_EQ(words[1].posList, cls.posList);
    for (int t = 0; t < 4; ++t) {
        SpanPtr fromTables = NewSpan(f.model(t), &f.shared[t], static_cast<uint32_t>(t));
        SpanPtr fromRows = NewSpan(f.model(t), nullptr, static_cast<uint32_t>(t));
        ASSERT_TRUE(fromTables && fromRows);
        for (CSpan *span : {fromTables.get(), fromRows.get()}) {
            CSpan_Reset(span, 0);
            if (t == 0)
                CSpan_GetFrom0(span, words.data(), 0, &core);
            else
                CSpan_GetFrom1(span, words.data(), 0, t, kDefaultRole[t]);
        }
        ASSERT_EQ(fromTables->count, fromRows->count);
        for (int j = 0; j < kSpanCands; ++j) {
            ASSERT_EQ(fromTables->cand[2][j], fromRows->cand[2][j]) << "type " << t << " candidate " << j;
            if (fromRows->cand[2][j] == kNoTag) break;
            ASSERT_EQ(memcmp(&fromTables->Score(2)[j], &fromRows->Score(2)[j], sizeof(double)), 0) << "type " << t;
        }
    }
}
