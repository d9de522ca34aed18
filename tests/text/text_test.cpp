// Sentence splitting, string helpers, word-record copies, files and the
// environment.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "common/sentences.h"
#include "support/support.h"
#include "text_util.h"
#include "vsglex/utility.h"

using texttest::Exact;
using texttest::G;

namespace {

struct Sentence {
    std::string text;
    uint32_t offset, sentence, paragraph;
    bool operator==(const Sentence &o) const {
        return text == o.text && offset == o.offset && sentence == o.sentence && paragraph == o.paragraph;
    }
};

std::ostream &operator<<(std::ostream &os, const Sentence &s) {
    return os << "{" << vsgtest::Utf8(s.text) << " @" << s.offset << " s" << s.sentence << " p" << s.paragraph
              << "}";
}

// Splits `text` (held in an exactly sized buffer) and returns its sentences.
std::vector<Sentence> Split(const std::string &text) {
    auto exact = Exact(text);
    SentenceList *list = TEXT_GetSens(exact.get());
    std::vector<Sentence> out;
    if (list == nullptr) return out;
    for (int32_t i = 0; i < list->count; ++i) {
        const SentenceEntry &e = list->items[i];
        out.push_back({e.text, e.offset, e.sentence, e.paragraph});
    }
    TEXT_SensResultFree(list);
    return out;
}

std::vector<std::string> Parts(const std::string &text, const std::string &sep) {
    auto exact = Exact(text);
    PartList *list = GetPartResult(exact.get(), sep.c_str());
    std::vector<std::string> out;
    for (int32_t i = 0; i < list->count; ++i) {
        EXPECT_EQ(list->items[i].flag, 0);
        out.push_back(list->items[i].text);
    }
    PartResult_Free(list);
    return out;
}

SpanWord Word(const char *text, int64_t state) {
    SpanWord w;
    std::memset(&w, 0x5A, sizeof w);
    std::snprintf(w.text, sizeof w.text, "%s", text);
    std::snprintf(w.classText, sizeof w.classText, "cls");
    w.state = state;
    return w;
}

}  // namespace

TEST(WordRecords, CopyLeavesOutMergedWords) {
    static const DictSRow row = {0, 24, 3.0f, 0};
    std::vector<SpanWord> src = {Word("one", 0), Word("two", VSG_STATE_MERGED), Word("three", 7), Word("", 0)};
    src[2].posList = &row;
    src[2].stats[3] = 1.5f;
    src[2].source = 42;
    src[2].reserved[1] = 9;
    src[2].offset = 12;
    std::vector<SpanWord> dst(4);
    std::memset(dst.data(), 0x33, dst.size() * sizeof(SpanWord));
    EXPECT_EQ(CopyWordResultA(dst.data(), src.data()), 1u);
    EXPECT_STREQ(dst[0].text, "one");
    EXPECT_STREQ(dst[1].text, "three");
    EXPECT_EQ(dst[2].text[0], '\0');
    EXPECT_EQ(GetResultCount(dst.data()), 2u);
    EXPECT_EQ(dst[1].posList, &row);
    EXPECT_EQ(dst[1].stats[3], 1.5f);
    EXPECT_EQ(dst[1].source, 42);
    EXPECT_EQ(dst[1].reserved[1], 9);
    EXPECT_EQ(dst[1].offset, 12);
    EXPECT_EQ(dst[1].state, 7);
    EXPECT_EQ(dst[1].text[10], 0x33);  // bytes after the NUL are not copied
    EXPECT_STREQ(dst[1].classText, "cls");

    // Nothing merged: 0. Empty source: empty destination and 0.
    EXPECT_EQ(CopyWordResultA(dst.data(), src.data() + 2), 0u);
    EXPECT_STREQ(dst[0].text, "three");
    EXPECT_EQ(dst[1].text[0], '\0');
    EXPECT_EQ(CopyWordResultA(dst.data(), src.data() + 3), 0u);
    EXPECT_EQ(dst[0].text[0], '\0');
}

TEST(WordRecords, FullArraysStayInsideTheirCapacity) {
    // 200 words and no end record: the copy keeps 199 and ends the array in
    // its last slot; nothing outside either array is touched (ASan).
    std::vector<SpanWord> src(VSG_SPAN_WORDS, Word("w", 0)), dst(VSG_SPAN_WORDS);
    EXPECT_EQ(GetResultCount(src.data()), static_cast<uint32_t>(VSG_SPAN_WORDS));
    EXPECT_EQ(CopyWordResultA(dst.data(), src.data()), 0u);
    EXPECT_EQ(GetResultCount(dst.data()), static_cast<uint32_t>(VSG_SPAN_WORDS - 1));
}

TEST(WordRecords, InitClearsTheTaggingFields) {
    std::vector<SpanWord> words = {Word("a", 3), Word("b", 3), Word("c", 3)};
    InitPWORDRESULT(words.data(), 2);
    for (int i = 0; i < 2; ++i) {
        for (char b : words[i].text) ASSERT_EQ(b, '\0');
        EXPECT_EQ(words[i].classText[15], '\0');
        EXPECT_EQ(words[i].weight, 0.0);
        EXPECT_EQ(words[i].tag, -1);
        EXPECT_EQ(words[i].offset, 0);
        EXPECT_EQ(words[i].state, 0);
        EXPECT_EQ(words[i].frequency, 0x5A5A5A5Au);  // left as it was
    }
    EXPECT_STREQ(words[2].text, "c");
    InitPWORDRESULT(words.data() + 2, 0);
    InitPWORDRESULT(words.data() + 2, -1);
    EXPECT_STREQ(words[2].text, "c");
}

TEST(Sentences, SplitAtEndMarksWithOffsets) {
    EXPECT_EQ(Split(G("今天下雨。我们回家！")),
              (std::vector<Sentence>{{G("今天下雨。"), 0, 0, 0}, {G("我们回家！"), 10, 1, 0}}));
    // A period splits before a capital or a Chinese character only.
    EXPECT_EQ(Split(G("重3.5kg.下次e.g.End.")),
              (std::vector<Sentence>{{G("重3.5kg."), 0, 0, 0}, {G("下次e.g."), 8, 1, 0}, {"End.", 16, 2, 0}}));
    EXPECT_EQ(Split("a!b?c;d,e:f"), (std::vector<Sentence>{
                                           {"a!", 0, 0, 0}, {"b?", 2, 1, 0}, {"c;", 4, 2, 0}, {"d,e:f", 6, 3, 0}}));
    EXPECT_EQ(TEXT_GetSens(nullptr), nullptr);
    EXPECT_EQ(TEXT_GetSens(""), nullptr);
    EXPECT_EQ(TEXT_GetSensNum((G("a，b。") + "!?|;:.,x").c_str()), 9u);
    EXPECT_EQ(TEXT_GetSensNum(nullptr), 0u);
}

TEST(Sentences, ParagraphsBeginAtTheirLineBreak) {
    // Ends after a delimiter; the next paragraph starts with the break.
    EXPECT_EQ(Split("\r\n " + G("第一段。") + "\n" + G("第二段！")),
              (std::vector<Sentence>{{G("第一段。"), 3, 0, 0}, {"\n" + G("第二段！"), 11, 0, 1}}));
    // A plain line break stays inside the paragraph.
    EXPECT_EQ(Split(G("第一行") + "\n" + G("续行。")),
              (std::vector<Sentence>{{G("第一行") + "\n" + G("续行。"), 0, 0, 0}}));
    // An indented line starts a new paragraph.
    EXPECT_EQ(Split("abc\n  def"), (std::vector<Sentence>{{"abc", 0, 0, 0}, {"\n  def", 3, 0, 1}}));
}

TEST(Sentences, LongTextWithoutMarksIsCutSafely) {
    // Chinese text: a paragraph is cut after 8,066 bytes and its sentences
    // every 504 bytes, each next start doubling the cut position.
    std::string zh;
    for (int i = 0; i < 5000; ++i) zh += "\xd6\xd0";  // 中
    const auto cut = Split(zh);
    ASSERT_EQ(cut.size(), 4u);
    const uint32_t offsets[] = {0, 1008, 3024, 7056};
    for (size_t i = 0; i < cut.size(); ++i) {
        EXPECT_EQ(cut[i].offset, offsets[i]);
        EXPECT_EQ(cut[i].sentence, i);
        EXPECT_EQ(cut[i].paragraph, 0u);
        EXPECT_EQ(cut[i].text.size(), 504u);
    }
    // ASCII without marks: no paragraph cut, too long to be saved.
    EXPECT_TRUE(Split(std::string(10000, 'a')).empty());
    // One 600-byte paragraph: one forced sentence of 503 bytes.
    const auto ascii = Split(std::string(600, 'a'));
    ASSERT_EQ(ascii.size(), 1u);
    EXPECT_EQ(ascii[0].text.size(), 503u);
    // Mixed long text ending in a lone lead byte.
    std::string mixed;
    for (int i = 0; i < 3000; ++i) mixed += i % 3 ? "\xb0\xa1" : "x";
    EXPECT_FALSE(Split(mixed + "\xb0").empty());
    EXPECT_EQ(Split(G("今天。") + "\xb0"),
              (std::vector<Sentence>{{G("今天。"), 0, 0, 0}, {"\xb0", 6, 1, 0}}));
}

TEST(Sentences, LibraryListsStayInsideTheirCapacityHostListsAreAppendedTo) {
    // 1,000 indented lines: more sentences than the array is sized for.
    std::string text;
    for (int i = 0; i < 1000; ++i) text += "x\n ";
    const auto many = Split(text);
    EXPECT_EQ(many.size(), 3000u / 512 + 128);

    // A list built by a host holds the array and the count, padding zero:
    // both save routines append to it.
    static_assert(sizeof(SentenceList) == 16, "host-visible record");
    SentenceList list;
    std::memset(&list, 0, sizeof list);
    list.items = static_cast<SentenceEntry *>(std::calloc(8, sizeof(SentenceEntry)));
    EXPECT_EQ(TEXT_SaveSenResult("a", 4, 1, 2, &list), 1);
    const std::string para = G("今天下雨。我们回家！");
    EXPECT_EQ(TEXT_SaveSens(para.c_str(), 100, 3, &list), 1);
    ASSERT_EQ(list.count, 3);
    EXPECT_STREQ(list.items[0].text, "a");
    EXPECT_EQ(list.items[0].offset, 4u);
    EXPECT_EQ(list.items[0].paragraph, 2u);
    EXPECT_EQ(list.items[1].text, G("今天下雨。"));
    EXPECT_EQ(list.items[2].text, G("我们回家！"));
    EXPECT_EQ(list.items[2].offset, 110u);
    EXPECT_EQ(list.items[2].sentence, 1u);
    EXPECT_EQ(list.items[2].paragraph, 3u);
    EXPECT_EQ(TEXT_SaveSenResult(nullptr, 0, 0, 0, &list), -1);
    EXPECT_EQ(TEXT_SaveSens(nullptr, 0, 0, &list), -1);
    EXPECT_EQ(TEXT_SaveSenResult("a", 0, 0, 0, nullptr), -1);
    EXPECT_EQ(list.count, 3);
    // The host's list is released like the library's.
    auto *heap = static_cast<SentenceList *>(std::malloc(sizeof(SentenceList)));
    *heap = list;
    TEXT_SensResultFree(heap);

    // A full library list refuses further sentences.
    SentenceList *own = TEXT_GetSens("a");
    ASSERT_NE(own, nullptr);
    int added = 0;
    while (TEXT_SaveSenResult("b", 0, 0, 0, own) == 1 && added < 1000) ++added;
    EXPECT_EQ(own->count, 128);  // room for 0 marks + 1 / 512 + 128 sentences
    EXPECT_EQ(added, 127);
    TEXT_SensResultFree(own);
}

TEST(Positions, CountCharactersAndConvertOffsets) {
    const std::string s = G("中a国");
    EXPECT_EQ(TEXT_GetWordsNum(s.c_str()), 3);
    EXPECT_EQ(TEXT_GetWordsNum(nullptr), -1);
    EXPECT_EQ(TEXT_PosConvert(s.c_str(), 2), 3);
    EXPECT_EQ(TEXT_PosConvert(s.c_str(), 3), 5);
    EXPECT_EQ(TEXT_PosConvert(s.c_str(), 4), -1);
    EXPECT_EQ(TEXT_PosConvert(s.c_str(), 0), 0);
    EXPECT_EQ(TEXT_PosConvert(s.c_str(), -1), -1);
    EXPECT_EQ(TEXT_PosConvert("", 1), -1);
    EXPECT_EQ(TEXT_PosConvert(nullptr, 1), -1);
    auto lone = Exact("a\xb0");
    EXPECT_EQ(TEXT_PosConvert(lone.get(), 2), 2);
}

TEST(Strings, CharacterAlignedSearchAndSplitting) {
    const std::string zh = G("中国");  // D6D0 B9FA
    auto text = Exact("ab" + zh + "c");
    EXPECT_EQ(mystrstr(text.get(), "\xd0\xb9"), nullptr);  // straddles two characters
    EXPECT_EQ(mystrstr(text.get(), G("国").c_str()), text.get() + 4);
    EXPECT_EQ(mystrstr(text.get(), "c"), text.get() + 6);
    EXPECT_EQ(mystrstr(text.get(), ""), text.get());
    EXPECT_EQ(mystrstr("ab", "abc"), nullptr);
    EXPECT_EQ(mystrstr(nullptr, "a"), nullptr);

    EXPECT_EQ(Parts("a,,b", ","), (std::vector<std::string>{"a", "b"}));
    EXPECT_EQ(GetPartCount("a,,b", ","), 2u);
    EXPECT_EQ(Parts("abc", "|"), (std::vector<std::string>{"abc"}));
    EXPECT_EQ(GetPartCount("abc", "|"), 0u);
    EXPECT_EQ(Parts("a||", "||"), (std::vector<std::string>{"a"}));
    // The first separator must be character-aligned; later ones are found
    // byte-wise and may straddle two characters.
    const std::string mixed = std::string("\xd0\xb9") + "a" + zh;  // D0B9 61 D6D0 B9FA
    EXPECT_EQ(GetPartCount(mixed.c_str(), "\xd0\xb9"), 2u);
    EXPECT_EQ(Parts(mixed, "\xd0\xb9"), (std::vector<std::string>{"a\xd6", "\xfa"}));
    EXPECT_EQ(GetPartCount(("a" + zh).c_str(), "\xd0\xb9"), 0u);
    EXPECT_EQ(GetPartResult(nullptr, ","), nullptr);

    EXPECT_EQ(MaxPrefix("abc", "abd"), 2u);
    EXPECT_EQ(MaxPrefix("", "a"), 0u);
    EXPECT_EQ(MaxPrefix(G("啊").c_str(), G("阿").c_str()), 1u);  // B0A1 / B0A2

    char spaced[] = " a b  c ";
    Delect_kong(spaced);
    EXPECT_STREQ(spaced, "abc");

    char *head = TEXT_GetHead("key=value", "=");
    EXPECT_STREQ(head, "key");
    Free(head);
    EXPECT_EQ(TEXT_GetHead("key", "="), nullptr);
    EXPECT_EQ(TEXT_GetHead(nullptr, "="), nullptr);
}

TEST(Strings, DelimitersLinesFieldsAndTags) {
    const std::string ascii = ".,;:?!%(){+}[]/=";
    const std::string wide = G("。，；：？！％（）｛＋｝［］／＝");
    for (size_t i = 0; i < ascii.size(); ++i) {
        const char ch[2] = {ascii[i], '\0'};
        char out[3];
        EXPECT_EQ(Delimiter2DictFormat(ch, out), 1) << ch;
        EXPECT_EQ(std::string(out), wide.substr(2 * i, 2)) << ch;
    }
    char out[3];
    EXPECT_EQ(Delimiter2DictFormat("x", out), 0);
    EXPECT_STREQ(out, "x");
    EXPECT_EQ(Delimiter2DictFormat("", out), 0);
    EXPECT_STREQ(out, "");

    char line[32];
    const char *rest = sgets("one\ntwo", line);
    EXPECT_STREQ(line, "one");
    ASSERT_NE(rest, nullptr);
    EXPECT_EQ(sgets(rest, line), nullptr);
    EXPECT_STREQ(line, "two");

    // Later fields are read from the start of the line over the length of
    // the later token.
    char word[128] = "unset";
    int32_t number = -7;
    EXPECT_EQ(my_sscanf("12345 xyz", word, &number), 1);
    EXPECT_STREQ(word, "12345");
    EXPECT_EQ(number, 123);
    number = -7;
    EXPECT_EQ(my_sscanf("42  7", word, &number), 1);  // two separators end the reading
    EXPECT_EQ(number, -7);
    EXPECT_EQ(my_sscanf(nullptr, word, &number), -1);
    EXPECT_EQ(my_sscanf("", word, &number), 1);
    char ch = 0;
    EXPECT_EQ(my_sscanfA("7 xyz abcd", &ch, word, &number), 1);
    EXPECT_EQ(ch, '7');
    EXPECT_STREQ(word, "7 x");
    EXPECT_EQ(number, 7);
    EXPECT_EQ(my_sscanfA("a", &ch, nullptr, &number), -1);

    char value[64];
    const std::string xml = "<doc><title>" + G("标题") + "</title></doc>";
    EXPECT_EQ(GetXMLItemValue(xml.c_str(), "title", value), 1);
    EXPECT_EQ(std::string(value), G("标题"));
    EXPECT_EQ(GetXMLItemValue("<a>open", "a", value), 1);
    EXPECT_STREQ(value, "open");
    EXPECT_EQ(GetXMLItemValue(xml.c_str(), "body", value), 0);
    EXPECT_EQ(GetXMLItemValue(xml.c_str(), std::string(300, 'n').c_str(), value), 0);
}

TEST(Files, LinesPathsWholeFilesAndEnvironment) {
    vsgtest::TempDir dir;
    const std::string path = dir.file("lines.txt");
    vsgtest::WriteFile(path, "a\nb\n" + std::string(1500, 'x') + "\n");
    FILE *f = std::fopen(path.c_str(), "r");
    ASSERT_NE(f, nullptr);
    std::fgetc(f);
    EXPECT_EQ(GetFileLinesCount(f), 4u);  // the long line counts twice
    EXPECT_EQ(std::ftell(f), 0L);
    std::fclose(f);

    uint32_t size = 0;
    char *data = TEXT_GetFile(path.c_str(), &size);
    ASSERT_NE(data, nullptr);
    EXPECT_EQ(size, 1505u);
    EXPECT_EQ(std::strlen(data), 1505u);
    Free(data);
    size = 99;
    EXPECT_EQ(TEXT_GetFile(dir.file("none").c_str(), &size), nullptr);
    EXPECT_EQ(size, 99u);

    char full[64];
    GetFullFileName(full, "dir", "f.dct");
    EXPECT_STREQ(full, "dir/f.dct");
    GetFullFileName(full, "", "f.dct");
    EXPECT_STREQ(full, "f.dct");
    GetFullFileName(full, nullptr, "g.dct");
    EXPECT_STREQ(full, "g.dct");

    int32_t count = -5;
    setenv("VSGLEX_TEXT_TEST_LIST", "a::b", 1);
    char **pieces = VSG_GetEnvVaule("VSGLEX_TEXT_TEST_LIST", &count);
    ASSERT_NE(pieces, nullptr);
    EXPECT_EQ(count, 3);
    EXPECT_STREQ(pieces[0], "a");
    EXPECT_STREQ(pieces[1], "");
    EXPECT_STREQ(pieces[2], "b");
    EXPECT_EQ(pieces[3], nullptr);
    for (int i = 0; i < count; ++i) Free(pieces[i]);
    Free(pieces);
    unsetenv("VSGLEX_TEXT_TEST_LIST");
    EXPECT_EQ(VSG_GetEnvVaule("VSGLEX_TEXT_TEST_LIST", &count), nullptr);
    EXPECT_EQ(count, 0);
    count = -5;
    EXPECT_EQ(VSG_GetEnvVaule("", &count), nullptr);
    EXPECT_EQ(count, -5);
}

// The offsets-only walk the front end uses gives the starts of exactly the
// sentences the list holds: on texts of end marks, breaks, spaces, long runs
// (forced sentence and paragraph cuts, doubled starts), a lead byte standing
// last, and more sentences than the list has room for.
TEST(Sentences, OffsetWalkGivesTheListsStarts) {
    const std::string pieces[] = {"a", "A", ".", "!", ";", ",", "\r", "\n", " ", "\t", "b\r\r", G("。"), G("，"),
                                  G("字"), std::string("\xA1"), std::string("\xA3\xB1"), std::string(40, 'x'),
                                  std::string(300, 'y'), G("长") + std::string(600, 'z'), std::string(1200, '\xB0')};
    uint32_t seed = 12345;
    auto next = [&seed]() { return (seed = seed * 1103515245u + 12345u) >> 8; };
    for (int round = 0; round < 400; ++round) {
        std::string text;
        // Every fourth text: many short paragraphs, whose sentences end at
        // no mark, with a few marks; more sentences than the list's room.
        const bool dense = round % 4 == 0;
        const size_t parts = 1 + next() % (dense ? 3000 : 60);
        for (size_t k = 0; k < parts; ++k) {
            const uint32_t r = next();
            text += dense ? (r % 8 == 0 ? "!" : r % 8 < 3 ? "a" : "b\r\r") : pieces[r % std::size(pieces)];
        }
        if (round % 3 == 0) text += '\xB0';  // a lead byte standing last
        std::vector<uint32_t> listed;
        for (const Sentence &s : Split(text)) listed.push_back(s.offset);
        std::vector<uint32_t> walked;
        auto exact = Exact(text);
        vsg::sentences::ListedSentenceStarts(
            exact.get(), static_cast<long>(text.size()), [&](long from) { walked.push_back(static_cast<uint32_t>(from)); },
            [&]() -> size_t { return TEXT_GetSensNum(exact.get()); });
        ASSERT_EQ(walked, listed) << "round " << round << ", " << text.size() << " bytes";
    }
}
