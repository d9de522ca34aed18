// Tests of the segmentation call over the fixture model set: chunking by
// sentence key and size, name merging in each mode, class assignment,
// emission rules, argument checks, and parallel calls on one engine.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "support/fixture_models.h"
#include "support/support.h"
#include "vsglex/engine.h"

using vsgtest::Gb;
using vsgtest::Utf8;

namespace {

// Loads the fixture set once for every test of a suite.
class Pipeline : public testing::Test {
protected:
    static void SetUpTestSuite() {
        set_ = new vsgtest::FixtureModelSet();
        testing::internal::CaptureStderr();
        const int32_t status = VSG_LoadForServer(&engine_, set_->path().c_str());
        testing::internal::GetCapturedStderr();
        ASSERT_EQ(status, 0);
    }
    static void TearDownTestSuite() {
        VSG_FreeForServer(engine_);
        engine_ = nullptr;
        delete set_;
        set_ = nullptr;
    }
    static vsgtest::FixtureModelSet *set_;
    static SegmentEngine *engine_;
};
vsgtest::FixtureModelSet *Pipeline::set_ = nullptr;
SegmentEngine *Pipeline::engine_ = nullptr;

// Input items built from UTF-8 words; item i gets id 100+i, group 1000+i,
// mark i%7 and kind i%5.
struct Input {
    std::vector<WordItem> items;

    void Add(const std::string &utf8, uint16_t sentence, uint16_t extra = 0) {
        WordItem w{};
        const std::string gb = Gb(utf8);
        snprintf(w.text, sizeof w.text, "%s", gb.c_str());
        const auto i = static_cast<uint32_t>(items.size());
        w.sentence = sentence;
        w.extra = extra;
        w.id = 100 + i;
        w.group = 1000 + i;
        w.mark = static_cast<uint8_t>(i % 7);
        w.kind = static_cast<uint8_t>(i % 5);
        w.tag = 77;
        items.push_back(w);
    }
    void AddWords(const std::vector<std::string> &words, uint16_t sentence) {
        for (const std::string &w : words) Add(w, sentence);
    }
    WordList List() { return WordList{static_cast<int32_t>(items.size()), items.data()}; }
};

struct Output {
    WordList list{-5, nullptr};
    ~Output() { VSG_SegmentForServerFree(&list); }
    std::vector<std::string> Texts() const {
        std::vector<std::string> out;
        for (int i = 0; i < list.count; ++i) out.push_back(Utf8(list.items[i].text));
        return out;
    }
    // Output item with the given UTF-8 text, or null.
    const WordItem *Find(const std::string &utf8) const {
        const std::string gb = Gb(utf8);
        for (int i = 0; i < list.count; ++i)
            if (gb == list.items[i].text) return &list.items[i];
        return nullptr;
    }
};

using Words = std::vector<std::string>;

}  // namespace

// Person, place and organisation names are merged only in the modes that
// ask for them; merged words keep the bookkeeping of their first item.
TEST_F(Pipeline, ModesMergeTheirNameClasses) {
    Input in;
    in.AddWords({"张", "伟", "说", "，", "他", "在", "北京", "。"}, 1);
    in.AddWords({"黄", "岩", "村", "在", "中国"}, 2);
    in.AddWords({"华", "星", "公司", "的", "学生"}, 3);
    WordList input = in.List();

    const Words person = {"张伟", "说", "，", "他", "在", "北京", "。"};
    const Words place = {"黄岩村", "在", "中国"};
    const Words org = {"华星公司", "的", "学生"};
    auto join = [](std::initializer_list<Words> parts) {
        Words out;
        for (const Words &p : parts) out.insert(out.end(), p.begin(), p.end());
        return out;
    };
    const Words split1 = {"张", "伟", "说", "，", "他", "在", "北京", "。"};
    const Words split2 = {"黄", "岩", "村", "在", "中国"};
    const Words split3 = {"华", "星", "公司", "的", "学生"};
    const Words expected[4] = {
        join({person, place, org}),
        join({person, split2, split3}),
        join({split1, place, split3}),
        join({split1, split2, org}),
    };
    for (int mode = 0; mode < 4; ++mode) {
        Output out;
        ASSERT_EQ(VSG_SegmentForServer(&input, &out.list, mode, engine_), 1);
        EXPECT_EQ(out.Texts(), expected[mode]) << "mode " << mode;
        if (const WordItem *w = out.Find("张伟"); w != nullptr) {
            EXPECT_EQ(w->tag, vsgtest::kPosPerson);
            EXPECT_EQ(w->id, 100u);
            EXPECT_EQ(w->group, 1000u);
        }
        if (const WordItem *w = out.Find("黄岩村"); w != nullptr) {
            EXPECT_EQ(w->tag, vsgtest::kPosPlace);
            EXPECT_EQ(w->id, 108u);
            EXPECT_EQ(w->sentence, 2);
        }
        if (const WordItem *w = out.Find("华星公司"); w != nullptr) {
            EXPECT_EQ(w->tag, vsgtest::kPosOrg);
        }
        // Unmerged words carry their own item's fields and a tag from the
        // tag set.
        const WordItem *said = out.Find("说");
        ASSERT_NE(said, nullptr);
        EXPECT_EQ(said->tag, vsgtest::kPosVerb);
        EXPECT_EQ(said->id, 102u);
        EXPECT_EQ(said->group, 1002u);
        EXPECT_EQ(said->mark, 2);
        EXPECT_EQ(said->kind, 2);
        const WordItem *beijing = out.Find("北京");
        ASSERT_NE(beijing, nullptr);
        EXPECT_EQ(beijing->tag, vsgtest::kPosPlace);
        EXPECT_EQ(out.Find("，")->tag, vsgtest::kPosComma);
    }
}

// Sentences are cut at every change of the sentence key (sentence and
// extra) and after 150 items, so no name is built across such a cut.
TEST_F(Pipeline, ChunksAtSentenceKeysAndSize) {
    {
        Input in;
        for (int i = 0; i < 149; ++i) in.Add("说", 5);
        in.Add("张", 5);  // item 149: last of the first chunk
        in.Add("伟", 5);  // item 150: a chunk of its own
        WordList input = in.List();
        Output out;
        ASSERT_EQ(VSG_SegmentForServer(&input, &out.list, 1, engine_), 1);
        ASSERT_EQ(out.list.count, 151);
        for (int i = 0; i < 151; ++i) EXPECT_EQ(out.list.items[i].id, 100u + i);
    }
    {
        Input in;
        for (int i = 0; i < 148; ++i) in.Add("说", 5);
        in.Add("张", 5);
        in.Add("伟", 5);  // items 148 and 149 share the first chunk
        in.Add("说", 5);
        WordList input = in.List();
        Output out;
        ASSERT_EQ(VSG_SegmentForServer(&input, &out.list, 1, engine_), 1);
        ASSERT_EQ(out.list.count, 150);
        EXPECT_EQ(Utf8(out.list.items[148].text), "张伟");
        EXPECT_EQ(out.list.items[149].id, 250u);
    }
    for (int split = 0; split < 2; ++split) {
        Input in;
        in.Add("张", 1, 0);
        in.Add("伟", split ? 2 : 1, 0);
        in.Add("张", 3, 1);
        in.Add("伟", 3, split ? 2 : 1);  // same sentence, other extra half
        WordList input = in.List();
        Output out;
        ASSERT_EQ(VSG_SegmentForServer(&input, &out.list, 0, engine_), 1);
        EXPECT_EQ(out.Texts(), split ? (Words{"张", "伟", "张", "伟"}) : (Words{"张伟", "张伟"}));
    }
}

// Long dictionary words whose rows score as names become class words with
// a fixed tag; the thresholds, the last-row rule and the one-character
// exclusion show in the tags.
TEST_F(Pipeline, ClassAssignment) {
    Input in;
    in.AddWords({"鲁迅", "老舍", "上海滩", "新华社", "胡", "北京"}, 1);
    WordList input = in.List();
    Output out;
    ASSERT_EQ(VSG_SegmentForServer(&input, &out.list, 0, engine_), 1);
    ASSERT_EQ(out.list.count, 6);
    EXPECT_EQ(out.list.items[0].tag, vsgtest::kPosPerson);  // 3.0 > 2.3
    EXPECT_EQ(out.list.items[1].tag, vsgtest::kPosNoun);    // 2.3f is not above 2.3
    EXPECT_EQ(out.list.items[2].tag, vsgtest::kPosPlace);   // later place row wins
    EXPECT_EQ(out.list.items[3].tag, vsgtest::kPosOrg);
    EXPECT_EQ(out.list.items[4].tag, vsgtest::kPosNoun);    // one character: no class
    EXPECT_EQ(out.list.items[5].tag, vsgtest::kPosPlace);
}

// Boundary words never reach the output, even when an item is spelled like
// one; longer words that begin like them do; unknown words are tagged from
// the unknown-word rows.
TEST_F(Pipeline, EmissionRules) {
    Input in;
    in.Add("始##始", 1);
    in.Add("我", 1);
    in.Add("末##末", 1);
    in.Add("始##始了", 1);
    in.Add("谁知道", 1);
    WordList input = in.List();
    Output out;
    ASSERT_EQ(VSG_SegmentForServer(&input, &out.list, 0, engine_), 1);
    EXPECT_EQ(out.Texts(), (Words{"我", "始##始了", "谁知道"}));
    ASSERT_EQ(out.list.count, 3);
    EXPECT_EQ(out.list.items[0].id, 101u);
    EXPECT_EQ(out.list.items[0].tag, vsgtest::kPosPronoun);
    EXPECT_EQ(out.list.items[1].id, 103u);
    const int unknownTag = out.list.items[2].tag;
    EXPECT_TRUE(unknownTag == vsgtest::kPosNoun || unknownTag == vsgtest::kPosVerb || unknownTag == 2)
        << unknownTag;

    // 80-byte items and a sentence of nothing but names and punctuation.
    Input full;
    full.Add(std::string(40, 'x'), 1);
    std::string wide;
    for (int i = 0; i < 40; ++i) wide += "张";
    full.Add(wide, 1);
    WordList fullInput = full.List();
    Output fullOut;
    ASSERT_EQ(VSG_SegmentForServer(&fullInput, &fullOut.list, 0, engine_), 1);
    ASSERT_EQ(fullOut.list.count, 2);
    EXPECT_EQ(strlen(fullOut.list.items[1].text), 80u);
}

TEST_F(Pipeline, ArgumentsAndEmptyInput) {
    Input in;
    in.Add("我", 1);
    WordList input = in.List();
    WordList out{-5, nullptr};
    EXPECT_EQ(VSG_SegmentForServer(nullptr, &out, 0, engine_), -1);
    EXPECT_EQ(VSG_SegmentForServer(&input, nullptr, 0, engine_), -1);
    EXPECT_EQ(VSG_SegmentForServer(&input, &out, 0, nullptr), -1);
    EXPECT_EQ(VSG_SegmentForServer(&input, &out, 4, engine_), -1);
    EXPECT_EQ(VSG_SegmentForServer(&input, &out, -1, engine_), -1);
    EXPECT_EQ(out.count, -5);
    EXPECT_EQ(out.items, nullptr);

    // An engine without models (as a failed load leaves one) tags nothing
    // but still hands every word back.
    SegmentEngine blank{};
    for (int mode = 0; mode < 4; ++mode) {
        ASSERT_EQ(VSG_SegmentForServer(&input, &out, mode, &blank), 1);
        ASSERT_EQ(out.count, 1);
        EXPECT_EQ(std::string(out.items[0].text), Gb("我"));
        VSG_SegmentForServerFree(&out);
    }

    WordList empty{0, nullptr};
    EXPECT_EQ(VSG_SegmentForServer(&empty, &out, 0, engine_), 1);
    EXPECT_EQ(out.count, 0);
    EXPECT_NE(out.items, nullptr);
    VSG_SegmentForServerFree(&out);
    EXPECT_EQ(out.items, nullptr);
    VSG_SegmentForServerFree(&out);
    VSG_SegmentForServerFree(nullptr);
}

namespace {

// A few hundred sentences of fixture words in varied order.
Input ManySentences() {
    const char *const words[] = {"张", "伟",   "说", "，",   "他",   "在",   "北京", "。", "黄",
                                 "岩", "村",   "华", "星",   "公司", "的",   "学生", "鲁迅", "我们",
                                 "了", "工作", "和", "上海滩", "谁知道", "小", "明",   "王"};
    const int n = sizeof words / sizeof words[0];
    Input in;
    uint32_t seed = 7;
    for (uint16_t s = 0; s < 400; ++s) {
        const int len = 1 + static_cast<int>(seed % 30);
        for (int i = 0; i < len; ++i) {
            seed = seed * 1103515245u + 12345u;
            in.Add(words[(seed >> 16) % n], s);
        }
    }
    return in;
}

bool SameItems(const WordList &a, const WordList &b) {
    return a.count == b.count && memcmp(a.items, b.items, sizeof(WordItem) * a.count) == 0;
}

}  // namespace

// Calls on one engine from two threads give the single-threaded results.
TEST_F(Pipeline, ThreadsMatchSingleThreaded) {
    Input in = ManySentences();
    WordList input = in.List();
    Output reference[4];
    for (int mode = 0; mode < 4; ++mode)
        ASSERT_EQ(VSG_SegmentForServer(&input, &reference[mode].list, mode, engine_), 1);

    bool ok[2] = {true, true};
    auto worker = [&](int t) {
        for (int round = 0; round < 3; ++round) {
            for (int mode = 0; mode < 4; ++mode) {
                WordList out{0, nullptr};
                VSG_SegmentForServer(&input, &out, (mode + t) % 4, engine_);
                if (!SameItems(out, reference[(mode + t) % 4].list)) ok[t] = false;
                VSG_SegmentForServerFree(&out);
            }
        }
    };
    std::thread a(worker, 0), b(worker, 1);
    a.join();
    b.join();
    EXPECT_TRUE(ok[0]);
    EXPECT_TRUE(ok[1]);
}

// Items with empty or white-space text neither end the sentence nor stand
// between its words: the other items are tagged as if they were absent,
// and every blank item comes back untagged, in input order.
TEST_F(Pipeline, BlankItemsPassThroughUntagged) {
    Input in;
    in.Add("", 1);
    in.AddWords({"张", "", "伟", "说", " ", "，", "他", "\t \r\n", "在", "北京", "。", ""}, 1);
    in.Add("  ", 2);  // a sentence of blank items only
    in.Add("", 2);
    in.AddWords({"黄", "岩", "村", "在", "中国", " "}, 3);
    WordList input = in.List();
    Input words;  // the same items without the blank ones
    for (const WordItem &w : in.items)
        if (std::string(w.text).find_first_not_of(" \t\r\n") != std::string::npos) words.items.push_back(w);
    WordList wordsInput = words.List();

    for (int mode = 0; mode < 4; ++mode) {
        Output out, expected;
        ASSERT_EQ(VSG_SegmentForServer(&input, &out.list, mode, engine_), 1);
        ASSERT_EQ(VSG_SegmentForServer(&wordsInput, &expected.list, mode, engine_), 1);
        std::vector<WordItem> tagged;
        std::vector<uint32_t> blankIds;
        for (int i = 0; i < out.list.count; ++i) {
            const WordItem &w = out.list.items[i];
            if (w.tag == VSG_UNTAGGED) {
                blankIds.push_back(w.id);
                EXPECT_EQ(std::string(w.text), std::string(in.items[w.id - 100].text));
                EXPECT_EQ(w.group, in.items[w.id - 100].group);
            } else {
                tagged.push_back(w);
            }
        }
        EXPECT_EQ(blankIds, (std::vector<uint32_t>{100, 102, 105, 108, 112, 113, 114, 120})) << mode;
        ASSERT_EQ(static_cast<int32_t>(tagged.size()), expected.list.count) << mode;
        EXPECT_EQ(memcmp(tagged.data(), expected.list.items, tagged.size() * sizeof(WordItem)), 0) << mode;
    }
    // Each blank item stands where it stood among its neighbours' results.
    Output out;
    ASSERT_EQ(VSG_SegmentForServer(&input, &out.list, 1, engine_), 1);
    EXPECT_EQ(out.Texts(), (Words{"", "张伟", "", "说", " ", "，", "他", "\t \r\n", "在", "北京", "。", "",
                                  "  ", "", "黄", "岩", "村", "在", "中国", " "}));
}

// Output items are cleared past their text's terminator, even when the
// working records held longer words before (records are reused between
// calls and are not cleared).
TEST_F(Pipeline, OutputTextsEndInZeroBytes) {
    Input longWords;
    longWords.AddWords({"中华人民共和国全国人民代表大会", "常务委员会委员长会议纪要", "。"}, 1);
    Input shortWords;
    shortWords.AddWords({"他", "说", "。"}, 2);
    for (Input *input : {&longWords, &shortWords}) {
        WordList list = input->List();
        Output out;
        ASSERT_EQ(VSG_SegmentForServer(&list, &out.list, 0, engine_), 1);
        ASSERT_GT(out.list.count, 0);
        for (int i = 0; i < out.list.count; ++i) {
            const WordItem &w = out.list.items[i];
            const size_t n = strnlen(w.text, sizeof w.text);
            ASSERT_LT(n, sizeof w.text);
            for (size_t b = n; b < sizeof w.text; ++b)
                EXPECT_EQ(w.text[b], '\0') << "item " << i << " byte " << b << " of " << Utf8(w.text);
        }
    }
}

// Hosts reuse their items: the bytes after a text's terminator are left
// from longer words. They take no part in the analysis (merged names, long
// words, words ending at byte 15 or 16, a field with no terminator at all).
TEST_F(Pipeline, BytesAfterTextTerminatorAreIgnored) {
    Input clean = ManySentences();
    clean.AddWords({"张", "伟", "说", "中华人民共和国", "人民代表大会", "鲁迅", "。"}, 500);
    clean.AddWords({"华", "星", "公司", "常务委员会委员长会议纪要", "，"}, 501);
    Input dirty = clean;
    uint8_t fill = 0xB0;
    for (WordItem &w : dirty.items) {
        const size_t n = strlen(w.text);
        for (size_t b = n + 1; b < sizeof w.text; ++b) w.text[b] = static_cast<char>(fill++ | 0x80);
    }
    // A field filled to its end has no terminator: its text is the whole
    // field (cut at the last whole character), the same either way.
    WordItem full{};
    memset(full.text, 0xB0, sizeof full.text);
    full.sentence = 502;
    clean.items.push_back(full);
    dirty.items.push_back(full);
    WordList cleanList = clean.List();
    WordList dirtyList = dirty.List();
    for (int mode = 0; mode < 4; ++mode) {
        Output a, b;
        ASSERT_EQ(VSG_SegmentForServer(&cleanList, &a.list, mode, engine_), 1);
        ASSERT_EQ(VSG_SegmentForServer(&dirtyList, &b.list, mode, engine_), 1);
        EXPECT_TRUE(SameItems(a.list, b.list)) << "mode " << mode;
    }
    Output out;
    ASSERT_EQ(VSG_SegmentForServer(&dirtyList, &out.list, 1, engine_), 1);
    EXPECT_NE(out.Find("张伟"), nullptr);
}

// Result blocks are reused from call to call (a freed block is kept by the
// freeing thread): results stay the same whatever block a call gets, larger
// or smaller, freed on this thread or another.
TEST_F(Pipeline, ResultsIndependentOfFreedBlocks) {
    Input large = ManySentences();  // thousands of items: a block of hundreds of KB
    Input small;                    // about a thousand items (some 100 KB)
    for (size_t i = 0; i < 1000; ++i) small.items.push_back(large.items[i * 3]);
    WordList largeList = large.List();
    WordList smallList = small.List();
    Output largeRef, smallRef;
    ASSERT_EQ(VSG_SegmentForServer(&largeList, &largeRef.list, 0, engine_), 1);
    ASSERT_EQ(VSG_SegmentForServer(&smallList, &smallRef.list, 0, engine_), 1);
    for (WordList *first : {&smallList, &largeList}) {
        for (WordList *second : {&smallList, &largeList}) {
            WordList out{0, nullptr};
            ASSERT_EQ(VSG_SegmentForServer(first, &out, 0, engine_), 1);
            VSG_SegmentForServerFree(&out);
            EXPECT_EQ(out.items, nullptr);
            ASSERT_EQ(VSG_SegmentForServer(second, &out, 0, engine_), 1);
            EXPECT_TRUE(SameItems(out, second == &largeList ? largeRef.list : smallRef.list));
            // Freed by another thread, which then makes a call of its own.
            bool same = false;
            std::thread other([&] {
                VSG_SegmentForServerFree(&out);
                WordList again{0, nullptr};
                VSG_SegmentForServer(first, &again, 0, engine_);
                same = SameItems(again, first == &largeList ? largeRef.list : smallRef.list);
                VSG_SegmentForServerFree(&again);
            });
            other.join();
            EXPECT_TRUE(same);
        }
    }
}
