// The phrase interface on the fixture model set: tag copy-back, sentence
// breaks, merging and regrouping, filtering, character sets and limits.
#include <gtest/gtest.h>
#include <iconv.h>
#include <sys/stat.h>

#include <cstring>
#include <string>
#include <vector>

#include "support/fixture_models.h"
#include "support/support.h"
#include "vsglex/engine.h"
#include "vsglex/lexical.h"
#include "vsglex/memext.h"

namespace {

using vsgtest::Gb;

std::string Convert(const std::string &utf8, const char *to) {
    iconv_t cd = iconv_open(to, "UTF-8");
    std::string out(utf8.size() * 4 + 4, '\0');
    char *src = const_cast<char *>(utf8.data());
    size_t srcLeft = utf8.size();
    char *dst = out.data();
    size_t dstLeft = out.size();
    iconv(cd, &src, &srcLeft, &dst, &dstLeft);
    iconv_close(cd);
    out.resize(out.size() - dstLeft);
    return out;
}

// One host item: text in the phrase's charset, group number and position.
struct Item {
    std::string text;
    uint32_t group = 0;
    uint32_t position = 0;
};

// The engine is started once for the whole program: the interface keeps its
// handle for the life of the process.
class Phrase : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        dir_ = new vsgtest::TempDir;
        const std::string vsg = dir_->file("vsg");
        mkdir(vsg.c_str(), 0755);
        vsgtest::WriteFixtureModels(vsg);
        // A trailing separator is accepted as it is.
        QPNLexicalStart((dir_->path() + "/").c_str());
        ASSERT_EQ(g_bTag, 1);
    }
    static void TearDownTestSuite() {
        QPNLexicalClose();
        EXPECT_EQ(g_mSEG, nullptr);
        delete dir_;
    }
    void SetUp() override { pool_ = _T_MemPoolBuild(1, 64 * 1024, 0, nullptr, nullptr, 0); }
    void TearDown() override { _T_MemPoolClose(pool_); }

    // Builds host items; positions default to 1, 2, 3 ... and texts are
    // given in UTF-8 and converted to the request's charset.
    std::vector<WordItem> Build(const std::vector<Item> &items, int charset) {
        std::vector<WordItem> out(items.size());
        for (size_t i = 0; i < items.size(); ++i) {
            WordItem &w = out[i];
            std::memset(&w, 0, sizeof w);
            std::string text = charset == 1   ? Gb(items[i].text)
                               : charset == 2 ? Convert(items[i].text, "BIG5")
                                              : items[i].text;
            std::strncpy(w.text, text.c_str(), sizeof w.text - 1);
            w.id = static_cast<uint32_t>(100 + i);
            const uint32_t position = items[i].position ? items[i].position : static_cast<uint32_t>(i + 1);
            w.group = (items[i].group << 16) | position;
            w.tag = 200;
            w.mark = 7;
        }
        return out;
    }

    // Runs one phrase and returns the items left in the list.
    std::vector<WordItem> Run(std::vector<WordItem> items, int32_t limit, int charset) {
        LexicalRequest request{};
        request.status = 0;
        request.limit = limit;
        request.size = 1;
        request.charset = charset;
        request.pool = pool_;
        WordList list{static_cast<int32_t>(items.size()), items.data()};
        EXPECT_EQ(QPNLexicalPhrase(&request, &list), 1);
        items.resize(static_cast<size_t>(list.count));
        return items;
    }

    static std::vector<std::string> Texts(const std::vector<WordItem> &items, int charset = 1) {
        std::vector<std::string> out;
        for (const WordItem &w : items) out.push_back(charset == 1 ? vsgtest::Utf8(w.text) : w.text);
        return out;
    }

    static vsgtest::TempDir *dir_;
    T_MemPool *pool_ = nullptr;
};

vsgtest::TempDir *Phrase::dir_ = nullptr;

TEST_F(Phrase, TagsCountsAndNoRemovalWithNonNegativeLimit) {
    for (int32_t limit : {0, 10}) {
        auto items = Run(Build({{"我们"}, {"的"}, {"学生"}, {"，"}, {"工作"}, {"。"}}, 1), limit, 1);
        if (limit == 0) {
            // size alone lets the phrase run.
            ASSERT_EQ(items.size(), 6u);
        }
        ASSERT_EQ(items.size(), 6u) << "limit " << limit;
        EXPECT_EQ(items[0].tag, 12);  // pronoun
        EXPECT_EQ(items[1].tag, 14);  // particle
        EXPECT_EQ(items[2].tag, 16);  // noun
        EXPECT_EQ(items[3].tag, 79);  // comma
        EXPECT_EQ(items[5].tag, 78);  // full stop
        // sentence receives the character count of each item.
        EXPECT_EQ(items[0].sentence, 2);
        EXPECT_EQ(items[1].sentence, 1);
        EXPECT_EQ(items[3].sentence, 1);
        EXPECT_EQ(items[0].mark, 7);
    }
}

TEST_F(Phrase, NothingIsDoneForBadRequests) {
    auto items = Build({{"我们"}, {"的"}, {"学生"}}, 1);
    const auto before = items;
    LexicalRequest request{};
    request.limit = -10;
    request.charset = 1;
    request.pool = pool_;
    WordList list{3, items.data()};
    request.status = -1;
    EXPECT_EQ(QPNLexicalPhrase(&request, &list), 1);
    request.status = 0;
    request.limit = 0;
    request.size = 0;
    EXPECT_EQ(QPNLexicalPhrase(&request, &list), 1);
    EXPECT_EQ(QPNLexicalPhrase(nullptr, &list), 1);
    EXPECT_EQ(std::memcmp(items.data(), before.data(), sizeof(WordItem) * 3), 0);
    EXPECT_EQ(list.count, 3);
}

TEST_F(Phrase, FilterThresholdFollowsCharsetAndPhraseLength) {
    // charset 1, limit -10: t = 5. Five characters are not filtered ...
    auto five = Run(Build({{"我们"}, {"的"}, {"学生"}}, 1), -10, 1);
    ASSERT_EQ(five.size(), 3u);
    EXPECT_EQ(five[1].tag, 14);
    // ... six are: the particle between two words and the full stop go, the
    // kept items lose their tag and count.
    auto six = Run(Build({{"我们"}, {"的"}, {"学生"}, {"。"}}, 1), -10, 1);
    EXPECT_EQ(Texts(six), (std::vector<std::string>{"我们", "学生"}));
    EXPECT_EQ(six[0].tag, 0);
    EXPECT_EQ(six[0].sentence, 0);
    // charset 3, limit -10: t = 3 (truncating division), so four characters
    // already filter; limit -11 with charset 1 gives t = 5 as well.
    auto utf8 = Run(Build({{"我们"}, {"的"}, {"学生"}}, 3), -10, 3);
    EXPECT_EQ(Texts(utf8, 3), (std::vector<std::string>{"我们", "学生"}));
    auto eleven = Run(Build({{"我们"}, {"的"}, {"学生"}}, 1), -11, 1);
    EXPECT_EQ(eleven.size(), 3u);
}

TEST_F(Phrase, SingleCharacterFunctionWordsAtTheEdgesAreKept) {
    auto edges = Run(Build({{"的"}, {"我们"}, {"学生"}, {"工作"}, {"了"}}, 1), -2, 1);
    EXPECT_EQ(Texts(edges), (std::vector<std::string>{"的", "我们", "学生", "工作", "了"}));
    // Between a one-character word and a word it stays; between words it goes.
    auto inside = Run(Build({{"我们"}, {"了"}, {"学生"}, {"在"}, {"我"}, {"工作"}}, 1), -2, 1);
    EXPECT_EQ(Texts(inside), (std::vector<std::string>{"我们", "学生", "在", "我", "工作"}));
}

TEST_F(Phrase, MergedNameGetsNewGroupAndHostGroupsAreRenumbered) {
    auto items = Run(Build({{"我们", 5}, {"是"}, {"张"}, {"伟"}, {"学", 9}, {"生", 9}, {"们", 9}}, 1), 0 + 5, 1);
    ASSERT_EQ(items.size(), 7u);
    // The name's two items share the first new number, max host group + 1.
    EXPECT_EQ(items[2].group >> 16, 10u);
    EXPECT_EQ(items[3].group >> 16, 10u);
    EXPECT_EQ(items[2].tag, 24);
    // Positions in the low half are kept.
    EXPECT_EQ(items[3].group & 0xFFFF, 4u);
    // The unmerged host group of three is renumbered all the same.
    EXPECT_EQ(items[4].group >> 16, 11u);
    EXPECT_EQ(items[6].group >> 16, 11u);
    EXPECT_EQ(items[6].group & 0xFFFF, 7u);
    // A group of one keeps its number; an ungrouped word stays ungrouped.
    EXPECT_EQ(items[0].group >> 16, 5u);
    EXPECT_EQ(items[1].group >> 16, 0u);
}

TEST_F(Phrase, PositionBreakStartsANewSentence) {
    // Positions 1 2 3 4: the surname and given name are one sentence.
    auto joined = Run(Build({{"我们"}, {"是"}, {"张"}, {"伟"}}, 1), 5, 1);
    EXPECT_EQ(joined[2].group >> 16, 1u);
    // Positions 1 2 3 9: the break puts the given name in a sentence of its
    // own, so no name is merged.
    auto split = Run(Build({{"我们"}, {"是"}, {"张"}, {"伟", 0, 9}}, 1), 5, 1);
    EXPECT_EQ(split[2].group >> 16, 0u);
    EXPECT_EQ(split[3].group >> 16, 0u);
}

TEST_F(Phrase, Utf8AndBig5HostsGetTheSameTags) {
    const std::vector<Item> words = {{"我们"}, {"的"}, {"学生"}, {"工作"}, {"了"}, {"。"}};
    auto gb = Run(Build(words, 1), 3, 1);
    auto utf8 = Run(Build(words, 3), 3, 3);
    // The BIG5 host writes traditional forms; they map to the same GB words.
    auto big5 = Run(Build({{"我們"}, {"的"}, {"學生"}, {"工作"}, {"了"}, {"。"}}, 2), 3, 2);
    ASSERT_EQ(gb.size(), utf8.size());
    ASSERT_EQ(gb.size(), big5.size());
    for (size_t i = 0; i < gb.size(); ++i) {
        EXPECT_EQ(gb[i].tag, utf8[i].tag) << i;
        EXPECT_EQ(gb[i].tag, big5[i].tag) << i;
        EXPECT_EQ(gb[i].sentence, utf8[i].sentence) << i;
        EXPECT_EQ(gb[i].sentence, big5[i].sentence) << i;
    }
    EXPECT_EQ(big5[2].tag, 16);
}

TEST_F(Phrase, InvalidTextAndOverlongGroupsAreSafe) {
    // Bytes that are not valid in the item's set, and a lead byte at the end.
    auto items = Build({{"我们"}, {"x"}, {"y"}}, 3);
    std::strcpy(items[1].text, "\xff\xfe\x80");
    std::strcpy(items[2].text, "a\xe4");
    auto out = Run(items, 5, 3);
    ASSERT_EQ(out.size(), 3u);
    EXPECT_EQ(out[0].tag, 12);
    // A group whose joined text exceeds 80 bytes is cut, not overrun.
    std::vector<Item> group;
    for (int i = 0; i < 30; ++i) group.push_back({"学生", 3});
    auto long_group = Run(Build(group, 1), 5, 1);
    EXPECT_EQ(long_group.size(), 30u);
    EXPECT_EQ(long_group[0].group >> 16, 4u);
}

TEST_F(Phrase, PoolThatCannotServeTheWorkAreaLeavesItemsUntouched) {
    // A pool of fixed 64-byte items refuses the work area of 20 items, so
    // nothing is changed.
    T_MemPool *tiny = _T_MemPoolBuild(64, 16, 0, nullptr, nullptr, 0);
    ASSERT_NE(tiny, nullptr);
    std::vector<Item> words(20, Item{"学生"});
    auto items = Build(words, 1);
    const auto before = items;
    LexicalRequest request{0, -2, 1, 1, tiny};
    WordList list{20, items.data()};
    QPNLexicalPhrase(&request, &list);
    EXPECT_EQ(list.count, 20);
    EXPECT_EQ(std::memcmp(items.data(), before.data(), sizeof(WordItem) * 20), 0);
    _T_MemPoolClose(tiny);
}

TEST_F(Phrase, TenThousandItems) {
    std::vector<Item> words;
    const char *cycle[] = {"我们", "的", "学生", "在", "北京", "工作", "，", "张", "伟", "。"};
    for (int i = 0; i < 10000; ++i) words.push_back({cycle[i % 10]});
    auto items = Run(Build(words, 1), -2, 1);
    // Punctuation (2 of 10) and the particle between words (1 of 10) go;
    // "在" sits between multi-character words and goes as well.
    EXPECT_EQ(items.size(), 6000u);
    for (const WordItem &w : items) {
        EXPECT_NE(vsgtest::Utf8(w.text), "，");
        EXPECT_EQ(w.tag, 0);
    }
}

// Items with empty or white-space text are handed back untagged, keep
// their neighbours' results (tags, the name merge around them) and are not
// filtered; the other items get what they get without the blank ones.
TEST_F(Phrase, BlankItemsKeepTheirNeighboursResults) {
    for (int charset : {1, 3}) {
        const std::vector<Item> plain = {{"我们"}, {"是"}, {"张"}, {"伟"}, {"说"}, {"。"}};
        const auto expected = Run(Build(plain, charset), 5, charset);
        std::vector<Item> words = {{""}, {"我们"}, {"是"}, {"张"}, {""}, {"伟"}, {" \t"}, {"说"}, {"。"}, {""}};
        for (size_t i = 0; i < words.size(); ++i) words[i].position = static_cast<uint32_t>(i + 1);
        const auto items = Run(Build(words, charset), 5, charset);
        ASSERT_EQ(items.size(), words.size());
        for (size_t i : {0u, 4u, 6u, 9u}) EXPECT_EQ(items[i].tag, VSG_UNTAGGED) << i;
        const size_t kept[] = {1, 2, 3, 5, 7, 8};
        for (size_t k = 0; k < 6; ++k) EXPECT_EQ(items[kept[k]].tag, expected[k].tag) << charset << " " << k;
        EXPECT_EQ(items[3].tag, 24);
        // The merged name is one group, the blank item inside it included.
        EXPECT_EQ(items[3].group >> 16, 1u);
        EXPECT_EQ(items[4].group >> 16, 1u);
        EXPECT_EQ(items[5].group >> 16, 1u);
        EXPECT_EQ(items[6].group >> 16, 0u);
        EXPECT_EQ(items[5].group & 0xFFFF, 6u);
    }
    // A group of blank items is left as it is; filtering keeps blank items.
    auto grouped = Run(Build({{"我们"}, {"", 4}, {" ", 4}, {"的"}, {"学生"}, {"。"}}, 1), -2, 1);
    EXPECT_EQ(Texts(grouped), (std::vector<std::string>{"我们", "", " ", "学生"}));
    EXPECT_EQ(grouped[1].group >> 16, 4u);
    EXPECT_EQ(grouped[2].group >> 16, 4u);
    // Nothing but blank items.
    auto none = Run(Build({{""}, {" "}}, 1), 5, 1);
    ASSERT_EQ(none.size(), 2u);
    EXPECT_EQ(none[0].tag, VSG_UNTAGGED);
    EXPECT_EQ(none[1].group, 2u);
}

// Item indexes beyond 16 bits: every name is regrouped where it stands.
TEST_F(Phrase, MoreItemsThanSixteenBitsHold) {
    std::vector<Item> words;
    const char *cycle[] = {"我们", "是", "张", "伟", "。"};
    const int kItems = 70000;
    for (int i = 0; i < kItems; ++i) words.push_back({cycle[i % 5], 0, static_cast<uint32_t>(i % 5 + 1)});
    auto items = Run(Build(words, 1), 5, 1);
    ASSERT_EQ(items.size(), static_cast<size_t>(kItems));
    uint32_t group = 0;
    int wrong = 0;
    for (int i = 0; i < kItems; ++i) {
        const uint32_t number = items[i].group >> 16;
        if (i % 5 == 2) {
            // Group numbers are 16 bits: they count up and wrap past 65535.
            group = (group + 1) & 0xFFFF;
            if (number != group || (items[i + 1].group >> 16) != group) ++wrong;
        } else if (i % 5 != 3 && number != 0) {
            ++wrong;
        }
    }
    EXPECT_EQ(wrong, 0);
}

}  // namespace
