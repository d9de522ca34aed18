// Tests of the shipped model set in data/vsg: the tag maps number what the
// engine relies on, the core dictionary is well formed and holds the class
// words with consistent rows, the context counts add up, and the whole set
// finds names in a few sentences.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include "corpus.h"
#include "support/support.h"
#include "vsglex/engine.h"

namespace {

std::string ModelFile(const std::string &name) {
    const char *src = std::getenv("VSGLEX_SOURCE_DIR");
    return std::string(src != nullptr ? src : ".") + "/data/vsg/" + name;
}

std::vector<std::string> MapLines(const std::string &name) {
    POSmap map;
    std::memset(&map, 0, sizeof map);
    std::vector<std::string> lines;
    if (POSmap_Load(ModelFile(name).c_str(), &map) != 1) return lines;
    char buf[128];
    for (int32_t i = 0; i < map.count; ++i) {
        POSmap_GetPOS(i, buf, &map);
        lines.push_back(buf);
    }
    POSmap_Free(&map);
    return lines;
}

TEST(ShippedModels, PartOfSpeechMapNumbersWhatTheEngineAssumes) {
    std::vector<std::string> tags = MapLines("zyrpos30.map");
    ASSERT_GE(tags.size(), 95u);
    ASSERT_LE(tags.size(), 255u);
    EXPECT_EQ(tags[0], "bos");
    EXPECT_EQ(tags[1], "eos");
    EXPECT_EQ(tags[24], "nr");
    EXPECT_EQ(tags[27], "nrf");
    EXPECT_EQ(tags[28], "nrj");
    EXPECT_EQ(tags[29], "ns");
    EXPECT_EQ(tags[30], "nsf");
    EXPECT_EQ(tags[31], "nt");
    std::map<std::string, int> seen;
    for (size_t i = 0; i < tags.size(); ++i) {
        EXPECT_TRUE(seen.emplace(tags[i], static_cast<int>(i)).second) << "duplicate tag " << tags[i];
        EXPECT_LE(tags[i].size(), 8u);
        // Punctuation classes, and only they, are named w...
        bool punct = i >= 78 && i <= 92;
        EXPECT_EQ(tags[i][0] == 'w', punct) << i << " " << tags[i];
    }
    // The corpus maps onto the set: punctuation to 78..92, function words
    // to the stop-word numbers, content words elsewhere.
    struct Case {
        const char *word, *tag;
        int expected;
    } cases[] = {{"。", "w", 78}, {"，", "w", 79}, {"、", "w", 80}, {"“", "w", 85}, {"”", "w", 86},
                 {"（", "w", 87}, {"）", "w", 88}, {"——", "w", 89}, {"……", "w", 90}, {"的", "u", 43},
                 {"地", "u", 44}, {"得", "u", 45}, {"着", "u", 46}, {"了", "u", 54}, {"了", "y", 67},
                 {"在", "p", 61}, {"和", "c", 66}, {"是", "v", 49}, {"鼓吹", "v", 3}, {"殡葬", "vn", 15}, {"发展", "v", 122}};
    for (const Case &c : cases) EXPECT_EQ(vsgtrain::PosTagOf(vsgtest::Gb(c.word), c.tag), c.expected) << c.word;
    for (const char *t : {"p", "c", "u", "y", "e", "o", "Yg"})
        EXPECT_TRUE(vsgtrain::IsStopTag(vsgtrain::PosTagOf(vsgtest::Gb("某"), t))) << t;
    for (const char *t : {"n", "v", "a", "d", "m", "q", "r", "t", "f", "s", "vn", "an", "ad", "b", "z", "j", "l",
                          "i", "nz", "nx", "k", "h", "Ng", "Vg", "Ag", "Tg", "Dg", "Rg", "Bg", "Mg", "nt", "ns"}) {
        int n = vsgtrain::PosTagOf(vsgtest::Gb("某某"), t);
        EXPECT_FALSE(vsgtrain::IsStopTag(n)) << t;
        EXPECT_FALSE(n >= 78 && n <= 92) << t;
        EXPECT_GT(n, 1) << t;
    }
    for (int s : {9, 10, 14, 34, 35, 36, 43, 44, 45, 46, 54, 55, 56, 57, 58, 59, 60, 61, 62, 63, 64, 65, 66, 67, 94})
        EXPECT_TRUE(vsgtrain::IsStopTag(s)) << s;
}

TEST(ShippedModels, RoleMapsCarryTheLettersTheRecognisersRead) {
    std::vector<std::string> nr = MapLines("nr.map");
    ASSERT_EQ(nr.size(), 23u);
    for (size_t k = 0; k < nr.size(); ++k) EXPECT_EQ(nr[k], std::string(1, static_cast<char>('A' + k)));
    std::vector<std::string> ns = MapLines("ns.map");
    ASSERT_EQ(ns.size(), 19u);
    for (size_t k = 0; k < ns.size(); ++k) EXPECT_EQ(ns[k], std::string(1, static_cast<char>('A' + k)));
    std::vector<std::string> nt = MapLines("nt.map");
    ASSERT_EQ(nt.size(), 15u);
    EXPECT_EQ(nt[0], "A");
    EXPECT_EQ(nt[2], "C");
    EXPECT_EQ(nt[3], "E");
    EXPECT_EQ(nt[5], "D");
    EXPECT_EQ(nt[6], "T");
    // The default role must be no letter that builds or ends a name.
    EXPECT_EQ(nt[14].find_first_of("ACEJDT14Z"), std::string::npos);
}

class ShippedCore : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        std::memset(&core_, 0, sizeof core_);
        loaded_ = DictionaryS_LoadBinary(ModelFile("coredict.dct").c_str(), &core_);
    }
    static void TearDownTestSuite() { DictionaryS_Free(&core_); }
    const DictSEntry *Find(const char *utf8) {
        int32_t i = DictionaryS_GetCoreInfo(vsgtest::Gb(utf8).c_str(), &core_);
        return i >= 0 ? &core_.entries[i] : nullptr;
    }
    static DictionaryS core_;
    static int32_t loaded_;
};
DictionaryS ShippedCore::core_;
int32_t ShippedCore::loaded_ = 0;

TEST_F(ShippedCore, EntriesAreSortedAndBucketed) {
    ASSERT_EQ(loaded_, 1);
    ASSERT_GT(core_.count, 40000);
    std::vector<int32_t> seenBuckets(DICTS_BUCKETS, 0);
    for (int32_t i = 0; i < core_.count; ++i) {
        const DictSEntry &e = core_.entries[i];
        ASSERT_EQ(static_cast<uint32_t>(e.hash), VSGHash(e.word, DICTS_BUCKETS)) << i;
        if (i > 0) {
            ASSERT_LE(core_.entries[i - 1].hash, e.hash) << i;
        }
        ASSERT_GE(e.posCount, 1);
        int perCode[4] = {0, 0, 0, 0};
        for (int32_t r = 0; r < e.posCount; ++r) {
            ASSERT_LT(e.posList[r].code, 4);
            ++perCode[e.posList[r].code];
        }
        for (int c = 0; c < 4; ++c) ASSERT_LE(perCode[c], 19) << "too many candidates for one slot";
        ++seenBuckets[static_cast<size_t>(e.hash)];
        const DictBucket &b = core_.buckets[e.hash];
        ASSERT_GE(i, b.first);
        ASSERT_LT(i, b.first + b.count);
    }
    for (int32_t h = 0; h < DICTS_BUCKETS; ++h) ASSERT_EQ(core_.buckets[h].count, seenBuckets[static_cast<size_t>(h)]);
}

TEST_F(ShippedCore, ClassWordsExistWithConsistentRows) {
    ASSERT_EQ(loaded_, 1);
    const DictSEntry *start = Find("始##始");
    const DictSEntry *end = Find("末##末");
    ASSERT_TRUE(start && end);
    // One row per tag set, each naming the begin (0) or end (1) tag.
    for (const DictSEntry *e : {start, end}) {
        ASSERT_EQ(e->posCount, 4);
        for (int32_t r = 0; r < 4; ++r) {
            EXPECT_EQ(e->posList[r].code, r);
            EXPECT_EQ(e->posList[r].subCode, e == start ? 0 : 1);
        }
    }
    struct Cls {
        const char *word;
        std::vector<int> tags;
        int32_t index;
    } classes[] = {{"未##人", {24, 27, 28}, core_.personIndex},
                   {"未##地", {29, 30}, core_.placeIndex},
                   {"未##团", {31}, core_.orgIndex}};
    for (const Cls &c : classes) {
        const DictSEntry *e = Find(c.word);
        ASSERT_NE(e, nullptr) << c.word;
        EXPECT_EQ(e - core_.entries, c.index) << "header position of " << c.word;
        ASSERT_GE(e->posCount, 1);
        for (int32_t r = 0; r < e->posCount; ++r) {
            EXPECT_EQ(e->posList[r].code, 0);
            EXPECT_NE(std::find(c.tags.begin(), c.tags.end(), e->posList[r].subCode), c.tags.end()) << c.word;
            EXPECT_GT(e->posList[r].value, 2.3f) << "a class is seen far more than ten times";
        }
    }
    ASSERT_NE(Find("未##它"), nullptr);
    // Person roles of a frequent surname; the default-role count sits in stats.
    const DictSEntry *wang = Find("王");
    ASSERT_NE(wang, nullptr);
    bool surname = false;
    for (int32_t r = 0; r < wang->posCount; ++r)
        if (wang->posList[r].code == 1 && wang->posList[r].subCode == 2 && wang->posList[r].value > 5.0f) surname = true;
    EXPECT_TRUE(surname);
    // A common place word of the corpus is class-assignable as a place.
    const DictSEntry *beijing = Find("北京");
    ASSERT_NE(beijing, nullptr);
    bool place = false;
    for (int32_t r = 0; r < beijing->posCount; ++r)
        if (beijing->posList[r].code == 0 && (beijing->posList[r].subCode == 29 || beijing->posList[r].subCode == 30))
            place = beijing->posList[r].value > 0.0f;
    EXPECT_TRUE(place);
}

TEST(ShippedModels, ContextTablesAreConsistent) {
    const char *files[] = {"lexical.ctx", "nr.ctx", "ns.ctx", "nt.ctx"};
    const size_t sizes[] = {MapLines("zyrpos30.map").size(), 23, 19, 15};
    int64_t sentences = -1;
    for (int f = 0; f < 4; ++f) {
        ContextStat m;
        std::memset(&m, 0, sizeof m);
        ASSERT_EQ(ContextStat_LoadBinary(ModelFile(files[f]).c_str(), &m), 1) << files[f];
        ASSERT_EQ(m.tagCount, sizes[f]) << files[f];
        int64_t total = 0;
        for (int i = 0; i < m.tagCount; ++i) {
            total += m.tagFrequency[i];
            int64_t row = 0;
            for (int j = 0; j < m.tagCount; ++j) row += m.contextMatrix[i][j];
            // Role sets hold plain counts: every tag but the end tag is
            // followed by exactly one tag. The part-of-speech matrix holds
            // trained costs encoded as counts.
            if (f != 0) {
                EXPECT_EQ(row, i == 1 ? 0 : m.tagFrequency[i]) << files[f] << " tag " << i;
            }
            // Part-of-speech tag 0 is only the sentence start (in the role
            // sets it is also the role of every multi-character word).
            if (f == 0) {
                EXPECT_EQ(m.contextMatrix[i][0], 0) << "tag " << i << " precedes the sentence start";
            }
        }
        // The part-of-speech total is the largest count, which makes the
        // engine's interpolation term negligible for the trained costs.
        EXPECT_EQ(f == 0 ? INT32_MAX : total, m.totalFrequency) << files[f];
        // One end per sentence, the same sentences in every set; in the
        // part-of-speech set also one start.
        if (f == 0) {
            EXPECT_EQ(m.tagFrequency[0], m.tagFrequency[1]);
        }
        if (sentences < 0) sentences = m.tagFrequency[1];
        EXPECT_EQ(m.tagFrequency[1], sentences) << files[f];
        ContextStat_Free(&m);
    }
    EXPECT_GT(sentences, 10000);
}

TEST(ShippedModels, AffixDictionaries) {
    Dictionary loc;
    std::memset(&loc, 0, sizeof loc);
    ASSERT_EQ(Dictionary_Load(ModelFile("loc_suffix.dct").c_str(), &loc), 1);
    for (int32_t i = 0; i < loc.count; ++i) EXPECT_EQ(loc.entries[i].value, 1.0);
    for (const char *s : {"市", "县", "村", "河", "山", "自治区"})
        EXPECT_EQ(Dictionary_GetValue(vsgtest::Gb(s).c_str(), &loc), 1.0) << s;
    Dictionary_Free(&loc);
    for (const char *name : {"name_pre.dct", "org_suffix.dct"}) {
        Dictionary d;
        std::memset(&d, 0, sizeof d);
        ASSERT_EQ(Dictionary_Load(ModelFile(name).c_str(), &d), 1) << name;
        EXPECT_GT(d.count, 0);
        for (int32_t i = 0; i < d.count; ++i) EXPECT_GT(d.entries[i].value, 0.0) << name;
        Dictionary_Free(&d);
    }
}

// The whole set at work: names cut into characters are joined again.
TEST(ShippedModels, PipelineJoinsPersonAndPlaceNames) {
    SegmentEngine *engine = nullptr;
    const char *src = std::getenv("VSGLEX_SOURCE_DIR");
    std::string dir = std::string(src != nullptr ? src : ".") + "/data/vsg";
    int32_t status = VSG_LoadForServer(&engine, dir.c_str());
    ASSERT_TRUE(status == 0 || status == 1);
    // 江/泽/民/主席/在/北京/会见/了/李/鹏/。  and  塘/沽/区/的/发展/。
    std::vector<std::vector<std::string>> sentences = {
        {"江", "泽", "民", "主席", "在", "北京", "会见", "了", "李", "鹏", "。"},
        {"记者", "王", "国", "栋", "报道", "。"}};
    std::vector<WordItem> items;
    for (size_t s = 0; s < sentences.size(); ++s) {
        for (const std::string &w : sentences[s]) {
            WordItem it;
            std::memset(&it, 0, sizeof it);
            std::string gb = vsgtest::Gb(w);
            std::memcpy(it.text, gb.data(), gb.size());
            it.sentence = static_cast<uint16_t>(s);
            items.push_back(it);
        }
    }
    WordList in{static_cast<int32_t>(items.size()), items.data()};
    WordList out{0, nullptr};
    ASSERT_EQ(VSG_SegmentForServer(&in, &out, 0, engine), 1);
    std::map<std::string, int> tagOf;
    for (int32_t i = 0; i < out.count; ++i) tagOf[vsgtest::Utf8(out.items[i].text)] = out.items[i].tag;
    VSG_SegmentForServerFree(&out);
    EXPECT_EQ(tagOf["江泽民"], 24);
    EXPECT_EQ(tagOf["李鹏"], 24);
    EXPECT_EQ(tagOf["王国栋"], 24);
    EXPECT_TRUE(tagOf["北京"] == 29 || tagOf["北京"] == 30);
    EXPECT_EQ(tagOf["。"], 78);
    EXPECT_EQ(tagOf["在"], 61);
    VSG_FreeForServer(engine);
}

}  // namespace
