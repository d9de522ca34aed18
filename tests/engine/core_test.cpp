// The core call over word views against the server interface's call: the
// same words, tags and source items in every mode, reported as spans of
// the input words; and the words it cannot report as spans.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "common/huge_pages.h"
#include "engine/core.h"
#include "engine/instance.h"
#include "support/support.h"
#include "vsglex/engine.h"

using vsgtest::Gb;

namespace {

std::unique_ptr<vsg::engine::Engine> LoadShipped() {
    const char *source = std::getenv("VSGLEX_SOURCE_DIR");
    if (source == nullptr) return nullptr;
    int32_t status = -1;
    return vsg::engine::Engine::Load((std::string(source) + "/data/vsg").c_str(), &status);
}

// Sentences of pre-cut words (unknown names cut into characters), one
// sentence key each; "" and " " are blank items.
const std::vector<std::vector<std::string>> kSentences = {
    {"张", "伟", "说", "，", "王", "小", "明", "明天", "去", "北京", "。"},
    {"中国", "人民", "银行", "行长", "周", "小", "川", "在", "会", "上", "讲话", "。"},
    {"他", "在", "", "江", "苏", "省", "南", "通", "市", " ", "工作", "。"},
    {"克", "林", "顿", "访问", "莫斯科", "，", "会见", "叶", "利", "钦", "。"},
    {"北京", "大学", "和", "清华", "大学", "的", "学生", "。"},
};

TEST(EngineCore, TagWordsReportsTheServerCallsWordsAsSpans) {
    std::unique_ptr<vsg::engine::Engine> engine = LoadShipped();
    if (engine == nullptr) GTEST_SKIP() << "shipped models not found (VSGLEX_SOURCE_DIR)";
    // The sentences, then a long one that the engine takes in chunks.
    std::vector<std::string> gb;
    std::vector<uint32_t> keys;
    for (size_t s = 0; s < kSentences.size(); ++s)
        for (const std::string &w : kSentences[s]) {
            gb.push_back(Gb(w));
            keys.push_back(static_cast<uint32_t>(s));
        }
    for (int r = 0; r < 40; ++r)
        for (const std::string &w : kSentences[r % 2]) {
            gb.push_back(Gb(w));
            keys.push_back(70000);  // beyond 16 bits: sentence and extra both used
        }
    std::vector<WordItem> items(gb.size());
    std::vector<vsg::engine::WordView> views(gb.size());
    for (size_t i = 0; i < gb.size(); ++i) {
        snprintf(items[i].text, sizeof items[i].text, "%s", gb[i].c_str());
        items[i].sentence = static_cast<uint16_t>(keys[i] >> 16);
        items[i].extra = static_cast<uint16_t>(keys[i] & 0xFFFF);
        items[i].id = static_cast<uint32_t>(i);
        views[i] = {gb[i].data(), static_cast<uint32_t>(gb[i].size()), keys[i]};
    }
    vsg::engine::Tagging out;
    for (int32_t mode = 0; mode <= 3; ++mode) {
        SCOPED_TRACE(mode);
        WordList in{static_cast<int32_t>(items.size()), items.data()};
        WordList server{0, nullptr};
        ASSERT_EQ(engine->Segment(&in, &server, mode), 1);
        ASSERT_EQ(engine->Tag(views.data(), views.size(), mode, out), 0);
        ASSERT_EQ(static_cast<int32_t>(out.words.size()), server.count);
        size_t next = 0;  // every input word is covered once, in order
        size_t merged = 0;
        for (size_t k = 0; k < out.words.size(); ++k) {
            const vsg::engine::TaggedWord &w = out.words[k];
            const WordItem &s = server.items[k];
            std::string text;
            if (w.textAt >= 0) {
                text = out.texts.substr(static_cast<size_t>(w.textAt), w.textLength);
            } else {
                for (uint32_t q = w.first; q < w.first + w.count; ++q) text += gb[q];
            }
            EXPECT_EQ(text, std::string(s.text)) << k;
            EXPECT_EQ(static_cast<uint8_t>(w.tag), s.tag) << k;
            EXPECT_EQ(w.first, s.id) << k;
            EXPECT_EQ(w.first, next) << k;
            next = w.first + w.count;
            if (w.count > 1) ++merged;
            const bool blank = gb[w.first].find_first_not_of(' ') == std::string::npos;
            EXPECT_EQ(w.textAt >= 0, blank) << k;  // no quirk in these sentences
            if (blank) {
                EXPECT_LT(w.tag, 0) << k;
            }
            EXPECT_EQ(w.nameClass == 1, w.tag == 24 || w.tag == 27 || w.tag == 28) << k;
        }
        EXPECT_EQ(next, gb.size());
        // Names were merged: the spans are not all single words.
        EXPECT_GT(merged, 2u);
        VSG_SegmentForServerFree(&server);
    }
}

TEST(EngineCore, WordsNotMadeOfTheirInputsCarryTheirTextAndBadCallsAreRefused) {
    std::unique_ptr<vsg::engine::Engine> engine = LoadShipped();
    if (engine == nullptr) GTEST_SKIP() << "shipped models not found (VSGLEX_SOURCE_DIR)";
    std::string longWord;
    for (int i = 0; i < 50; ++i) longWord += Gb("长");  // 100 bytes: longer than a host word
    const std::string nul("\xd6\xd0\0x", 4);          // cut at its NUL by the engine
    const std::string said = Gb("说");
    std::vector<vsg::engine::WordView> views = {
        {longWord.data(), 100, 0}, {said.data(), 2, 0}, {nul.data(), 4, 0}};
    vsg::engine::Tagging out;
    ASSERT_EQ(engine->Tag(views.data(), views.size(), 0, out), 0);
    ASSERT_EQ(out.words.size(), 3u);
    ASSERT_GE(out.words[0].textAt, 0);
    EXPECT_EQ(out.texts.substr(static_cast<size_t>(out.words[0].textAt), out.words[0].textLength),
              longWord.substr(0, 80));
    EXPECT_EQ(out.words[1].textAt, -1);
    ASSERT_GE(out.words[2].textAt, 0);
    EXPECT_EQ(out.texts.substr(static_cast<size_t>(out.words[2].textAt), out.words[2].textLength), "\xd6\xd0");

    EXPECT_EQ(engine->Tag(views.data(), views.size(), 4, out), -1);
    EXPECT_EQ(engine->Tag(nullptr, 1, 0, out), -1);
    EXPECT_EQ(engine->Tag(nullptr, 0, 0, out), 0);
    EXPECT_TRUE(out.words.empty());
}

// The tables an engine builds at load (dictionary index, candidates per
// entry and tag set, cost rows) must give exactly what reading the
// dictionary and the models gives: many dictionary words in pseudo-random
// order (single characters, whose rows carry the most role candidates,
// twice as often), words the dictionary lacks, and sentence changes.
TEST(EngineCore, LoadTimeTablesGiveTheResultsOfReadingTheModels) {
    std::unique_ptr<vsg::engine::Engine> engine = LoadShipped();
    if (engine == nullptr) GTEST_SKIP() << "shipped models not found (VSGLEX_SOURCE_DIR)";
    const DictionaryS &core = engine->models().core;
    ASSERT_GT(core.count, 1000);
    std::vector<std::string> single;
    std::vector<std::string> longer;
    for (int32_t e = 0; e < core.count; ++e) {
        const char *w = core.entries[e].word;
        if (w == nullptr || w[0] == '\0' || w[0] == '#' || std::strlen(w) > 8) continue;
        (std::strlen(w) == 2 ? single : longer).push_back(w);
    }
    ASSERT_FALSE(single.empty());
    ASSERT_FALSE(longer.empty());
    const std::vector<std::string> absent = {"\xd8\xa8\xd8\xa9", "\xfd\xfe", "x", "\xd8\xa8\xd8\xa9\xd8\xa8"};
    std::vector<std::string> gb;
    std::vector<uint32_t> keys;
    uint32_t seed = 12345;
    for (int i = 0; i < 6000; ++i) {
        seed = seed * 1103515245u + 12345u;
        const uint32_t r = seed >> 8;
        if (r % 50 == 0)
            gb.push_back(absent[r % absent.size()]);
        else if (r % 3 != 0)
            gb.push_back(single[(r / 3) % single.size()]);
        else
            gb.push_back(longer[(r / 3) % longer.size()]);
        keys.push_back(static_cast<uint32_t>(i / 37));
    }
    std::vector<vsg::engine::WordView> views(gb.size());
    for (size_t i = 0; i < gb.size(); ++i) views[i] = {gb[i].data(), static_cast<uint32_t>(gb[i].size()), keys[i]};
    vsg::engine::Tagging with;
    vsg::engine::Tagging without;
    for (int32_t mode = 0; mode <= 3; ++mode) {
        SCOPED_TRACE(mode);
        ASSERT_EQ(engine->Tag(views.data(), views.size(), mode, with), 0);
        ASSERT_EQ(vsg::engine::TagWords(engine->models(), views.data(), views.size(), mode, without), 0);
        ASSERT_EQ(with.words.size(), without.words.size());
        size_t named = 0;
        for (size_t k = 0; k < with.words.size(); ++k) {
            const vsg::engine::TaggedWord &a = with.words[k];
            const vsg::engine::TaggedWord &b = without.words[k];
            ASSERT_EQ(a.first, b.first) << k;
            ASSERT_EQ(a.count, b.count) << k;
            ASSERT_EQ(a.tag, b.tag) << k;
            ASSERT_EQ(a.nameClass, b.nameClass) << k;
            ASSERT_EQ(a.textAt, b.textAt) << k;
            ASSERT_EQ(a.textLength, b.textLength) << k;
            if (a.nameClass != 0) ++named;
        }
        EXPECT_EQ(with.texts, without.texts);
        EXPECT_GT(named, 0u);  // the recognisers had work to do
    }
}

// The index answers every word as the dictionary's own look-up does: all
// dictionary words, and near misses of each (one byte changed at the end or
// in the middle, one character less or more), which share the first bytes
// the index keeps in its slots.
TEST(EngineCore, CoreIndexAnswersAsTheDictionaryLookUp) {
    std::unique_ptr<vsg::engine::Engine> engine = LoadShipped();
    if (engine == nullptr) GTEST_SKIP() << "shipped models not found (VSGLEX_SOURCE_DIR)";
    const DictionaryS &core = engine->models().core;
    vsg::engine::EngineTablesPtr tables = vsg::engine::BuildTables(engine->models());
    ASSERT_NE(tables, nullptr);
    size_t longWords = 0;
    size_t mismatches = 0;
    auto check = [&](const std::string &word) {
        const int32_t want = DictionaryS_GetCoreInfo(word.c_str(), &core);
        const int32_t got = vsg::engine::IndexedCoreEntry(*tables, word.c_str(), word.size());
        if (want != got && ++mismatches <= 10) ADD_FAILURE() << "entry " << got << " for a word of entry " << want;
    };
    for (int32_t e = 0; e < core.count; ++e) {
        const char *w = core.entries[e].word;
        if (w == nullptr || w[0] == '\0') continue;
        const std::string word(w);
        if (word.size() > 8) ++longWords;
        check(word);
        std::string changed = word;
        changed.back() = static_cast<char>(changed.back() ^ 1);
        check(changed);
        if (word.size() > 4) {
            std::string middle = word;
            middle[word.size() / 2] = static_cast<char>(middle[word.size() / 2] ^ 2);
            check(middle);
        }
        if (word.size() > 2) check(word.substr(0, word.size() - 2));
        check(word + "\xb5\xc4");
    }
    EXPECT_GT(longWords, 100u);  // words longer than the slots' inline bytes were met
    EXPECT_EQ(mismatches, 0u);
}

}  // namespace

namespace {

// CopyGbText into a field of `cap` bytes; the bytes after the copy's
// terminator must keep their fill.
std::string Copied(const char *src, size_t srcSize, size_t cap, size_t *length) {
    char dst[32];
    memset(dst, 'x', sizeof dst);
    *length = vsg::engine::CopyGbText(dst, cap, src, srcSize);
    EXPECT_EQ(dst[*length], '\0');
    for (size_t i = *length + 1; i < sizeof dst; ++i) EXPECT_EQ(dst[i], 'x') << "byte " << i << " written";
    return std::string(dst, *length);
}

}  // namespace

TEST(EngineCore, CopyGbTextStopsAtTheEndAndCutsWholeCharacters) {
    size_t n = 0;
    // The text ends at its first NUL, or at its size.
    EXPECT_EQ(Copied("abc\0def", 7, 16, &n), "abc");
    EXPECT_EQ(n, 3u);
    EXPECT_EQ(Copied("abcdef", 3, 16, &n), "abc");
    // Exactly as long as the field allows, with or without more after it.
    EXPECT_EQ(Copied("abcde", 6, 6, &n), "abcde");
    EXPECT_EQ(Copied("abcdefg", 7, 6, &n), "abcde");
    // Too long: a two-byte character that would not fit whole is left out.
    const std::string two = "ab" + Gb("中国");  // 2 + 2 + 2 bytes
    EXPECT_EQ(Copied(two.c_str(), two.size(), 6, &n), "ab" + Gb("中"));
    EXPECT_EQ(n, 4u);
    EXPECT_EQ(Copied(two.c_str(), two.size(), 7, &n), two);
    const std::string odd = "a" + Gb("中国");  // the second character ends at byte 5
    EXPECT_EQ(Copied(odd.c_str(), odd.size(), 5, &n), "a" + Gb("中"));
    EXPECT_EQ(n, 3u);
    // A field of one byte holds the terminator only.
    EXPECT_EQ(Copied("abc", 3, 1, &n), "");
    EXPECT_EQ(n, 0u);
}

// The load-time tables keep records of one cache line (the core index's
// slots) in vectors over the large-page allocator: small tables (a small
// model set's) come from the heap and must be as aligned as their records,
// large ones from their own mapping.
TEST(EngineCore, LargeTableVectorsKeepTheirRecordsAlignment) {
    struct alignas(64) Line {
        char bytes[64];
    };
    std::vector<vsg::HugeTable<Line>> tables;
    for (size_t n : {size_t{1}, size_t{3}, size_t{7}, size_t{100}, size_t{1000}, (vsg::kHugeTableFrom / 64) + 5})
        for (int copy = 0; copy < 4; ++copy) tables.emplace_back(n);
    for (const vsg::HugeTable<Line> &t : tables)
        EXPECT_EQ(reinterpret_cast<uintptr_t>(t.data()) % alignof(Line), 0u) << t.size() << " records";
}
