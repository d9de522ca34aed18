// User dictionaries: the file parser, and user words through the raw-text
// interface on the shipped model set.
#include <gtest/gtest.h>

#include <atomic>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "front/userdict.h"
#include "front_support.h"
#include "support/support.h"
#include "vsglex/vsglex_api.h"

namespace {

using vsg::front::ParseUserDict;
using vsg::front::UserEntryText;

int32_t FakeTags(std::string_view t) {
    if (t == "n") return 2;
    if (t == "nr") return 24;
    if (t == "nt") return 31;
    return -1;
}

TEST(UserDictParse, FormsCommentsAndLineNumberedErrors) {
    std::vector<UserEntryText> out;
    std::string error;
    // BOM, CRLF, comments, blank lines, every field form; '#' inside a word stays.
    std::string good = "\xEF\xBB\xBF# header\r\n腾讯 nt\r\n\n  阿里巴巴\t120  nt # trailing\nC# 7\n词语\n";
    ASSERT_TRUE(ParseUserDict(good, "good.txt", FakeTags, &out, &error)) << error;
    ASSERT_EQ(out.size(), 4u);
    EXPECT_EQ(out[0].tag, 31);
    EXPECT_EQ(out[0].count, vsg::front::kUserNoCount);
    EXPECT_EQ(out[1].count, 120.0);
    EXPECT_EQ(out[1].tag, 31);
    EXPECT_EQ(out[2].gb, "C#");
    EXPECT_EQ(out[2].count, 7.0);
    EXPECT_EQ(out[2].tag, vsg::front::kUserNoTag);
    EXPECT_EQ(out[3].gb, "\xB4\xCA\xD3\xEF");  // 词语 in GB

    struct Bad {
        std::string text;
        std::string message;
    } bad[] = {
        {"好 n\n坏 1 n x\n", "bad.txt line 2: more than three fields"},
        {"好\n\n坏 1x n\n", "bad.txt line 3: count '1x'"},
        {"坏 99999999999999999 n\n", "line 1: count"},
        {"# c\n坏 zz\n", "bad.txt line 2: unknown tag 'zz'"},
        {"ok\n\xFF\xFE n\n", "bad.txt line 2: word is not valid UTF-8"},
        {std::string(81, 'a') + "\n", "line 1: word longer than 80 bytes"},
        {"a\xE3\x80\x80" "b\n", "line 1: word holds white space"},  // ideographic space
    };
    for (const Bad &b : bad) {
        std::vector<UserEntryText> keep(1);
        error.clear();
        EXPECT_FALSE(ParseUserDict(b.text, "bad.txt", FakeTags, &keep, &error)) << b.text;
        EXPECT_NE(error.find(b.message), std::string::npos) << error;
        EXPECT_EQ(keep.size(), 1u) << "entries of a bad text were added";
    }
}

// A handle on the shipped models with helpers for user words.
class UserWordsTest : public fronttest::ShippedModelsTest {
protected:
    std::string Write(const std::string &name, const std::string &text) {
        std::string path = dir_.path() + "/" + name;
        std::ofstream(path, std::ios::binary) << text;
        return path;
    }

    vsgtest::TempDir dir_;
};

// "word/tag word/tag ..." of a UTF-8 text.
std::string Tagged(const vsglex_handle *h, const std::string &text, std::vector<int32_t> *classes = nullptr,
                   uint32_t flags = 0) {
    vsglex_result *r = nullptr;
    EXPECT_EQ(vsglex_analyze(h, text.data(), text.size(), VSGLEX_CHARSET_UTF8, flags, &r), VSGLEX_OK);
    std::string out;
    for (size_t k = 0; r != nullptr && k < r->word_count; ++k) {
        if (!out.empty()) out += ' ';
        out += std::string(r->words[k].text) + "/" + r->words[k].tag_name;
        if (classes != nullptr) classes->push_back(r->words[k].name_class);
    }
    vsglex_result_free(r);
    return out;
}

const char kNews[] = "腾讯和阿里巴巴的代表会见了法国总统马克龙。";

TEST_F(UserWordsTest, WordsAreCutWholeTaggedAndNamedWithTheirClass) {
    std::string before = Tagged(handle_, kNews);
    EXPECT_EQ(before.find("腾讯/nt"), std::string::npos) << before;
    std::string path = Write("words.txt", "腾讯 nt\n阿里巴巴 nt\n马克龙 nrf\n");
    ASSERT_EQ(vsglex_add_user_dict(handle_, path.c_str()), VSGLEX_OK) << vsglex_last_error();
    EXPECT_EQ(vsglex_user_word_count(handle_), 3u);
    std::vector<int32_t> classes;
    std::string after = Tagged(handle_, kNews, &classes);
    EXPECT_EQ(after, "腾讯/nt 和/cc 阿里巴巴/nt 的/ude1 代表/n 会见/v 了/ule 法国/ns 总统/n 马克龙/nrf 。/wj");
    ASSERT_EQ(classes.size(), 11u);
    EXPECT_EQ(classes[0], VSGLEX_NAME_ORG);
    EXPECT_EQ(classes[9], VSGLEX_NAME_PERSON);
    // Pre-cut input: a given word that is a user word takes its tag.
    EXPECT_EQ(Tagged(handle_, "腾讯 代表 会见 马克龙 。", nullptr, VSGLEX_PRECUT),
              "腾讯/nt 代表/n 会见/v 马克龙/nrf 。/wj");

    // A word inside a name the recogniser would merge stays one word.
    EXPECT_NE(Tagged(handle_, "王小明在上海工作。").find("王小明/nr"), std::string::npos);
    ASSERT_EQ(vsglex_add_user_word(handle_, "小明", -1, "nr"), VSGLEX_OK);
    std::string split = Tagged(handle_, "王小明在上海工作。");
    EXPECT_NE(split.find(" 小明/nr "), std::string::npos) << split;
    EXPECT_EQ(split.find("王小明"), std::string::npos) << split;
}

TEST_F(UserWordsTest, CountsDecideAgainstWordsTheUserWordWouldBreak) {
    const std::string text = "他从马上下来。";
    EXPECT_NE(Tagged(handle_, text).find("马上/"), std::string::npos);
    // Without a count the word wins and the broken neighbours are cut apart.
    ASSERT_EQ(vsglex_add_user_word(handle_, "上下", -1, nullptr), VSGLEX_OK);
    std::string forced = Tagged(handle_, text);
    EXPECT_NE(forced.find("马/"), std::string::npos) << forced;
    EXPECT_NE(forced.find(" 上下/"), std::string::npos) << forced;
    // A small count yields to the more frequent 马上; a huge one does not.
    ASSERT_EQ(vsglex_add_user_word(handle_, "上下", 3, nullptr), VSGLEX_OK);
    EXPECT_NE(Tagged(handle_, text).find("马上/"), std::string::npos);
    ASSERT_EQ(vsglex_add_user_word(handle_, "上下", 100000000, nullptr), VSGLEX_OK);
    EXPECT_NE(Tagged(handle_, text).find(" 上下/"), std::string::npos);
    // Swallowing whole words needs no count: 总统马克 is not broken by anything.
    ASSERT_EQ(vsglex_add_user_word(handle_, "法国总统", 0, "n"), VSGLEX_OK);
    EXPECT_NE(Tagged(handle_, kNews).find(" 法国总统/n "), std::string::npos);
    EXPECT_EQ(vsglex_remove_user_word(handle_, "法国总统"), 1);
    EXPECT_EQ(vsglex_remove_user_word(handle_, "法国总统"), 0);
    EXPECT_EQ(vsglex_user_word_count(handle_), 1u);
}

TEST_F(UserWordsTest, BadFilesLoadNothingAndOpenExReportsThem) {
    std::string bad = Write("bad.txt", "腾讯 nt\n阿里巴巴 nt\n马克龙 1 2 3\n");
    EXPECT_EQ(vsglex_add_user_dict(handle_, bad.c_str()), VSGLEX_ERR_USER_DICT);
    EXPECT_NE(std::string(vsglex_last_error()).find("bad.txt line 3"), std::string::npos) << vsglex_last_error();
    EXPECT_EQ(vsglex_user_word_count(handle_), 0u);
    EXPECT_EQ(Tagged(handle_, kNews).find("腾讯/nt"), std::string::npos);
    EXPECT_EQ(vsglex_add_user_dict(handle_, (dir_.path() + "/absent.txt").c_str()), VSGLEX_ERR_USER_DICT);
    EXPECT_NE(std::string(vsglex_last_error()).find("absent.txt"), std::string::npos);
    EXPECT_EQ(vsglex_add_user_word(handle_, "两个 词", -1, nullptr), VSGLEX_ERR_ARGUMENT);
    EXPECT_EQ(vsglex_add_user_word(handle_, "词", -1, "zz"), VSGLEX_ERR_ARGUMENT);

    std::string good = Write("good.txt", "腾讯 nt\n");
    const char *paths[] = {good.c_str(), bad.c_str()};
    vsglex_options o{sizeof o, paths, 2};
    EXPECT_EQ(vsglex_open_ex(fronttest::ModelDir().c_str(), &o), nullptr);
    EXPECT_NE(std::string(vsglex_last_error()).find("bad.txt line 3"), std::string::npos);
    // An older, shorter options record: the dictionaries are not read.
    vsglex_options older{sizeof(size_t), paths, 2};
    vsglex_handle *h = vsglex_open_ex(fronttest::ModelDir().c_str(), &older);
    ASSERT_NE(h, nullptr) << vsglex_last_error();
    EXPECT_EQ(vsglex_user_word_count(h), 0u);
    vsglex_close(h);
    o.user_dict_count = 1;
    h = vsglex_open_ex(fronttest::ModelDir().c_str(), &o);
    ASSERT_NE(h, nullptr) << vsglex_last_error();
    EXPECT_NE(Tagged(h, kNews).find("腾讯/nt"), std::string::npos);
    // Two handles, two vocabularies.
    EXPECT_EQ(Tagged(handle_, kNews).find("腾讯/nt"), std::string::npos);
    vsglex_close(h);
}

TEST_F(UserWordsTest, ColumnsCountCharactersOfUtf8) {
    const std::string text = "😀我在上海工作。\xED\xA0\x80中国";  // an emoji and an encoded lone surrogate
    vsglex_result *r = nullptr;
    ASSERT_EQ(vsglex_analyze(handle_, text.data(), text.size(), VSGLEX_CHARSET_UTF8, 0, &r), VSGLEX_OK);
    size_t n = r->word_count;
    std::vector<uint64_t> off(n), len(n), boff(n);
    std::vector<int32_t> tags(n);
    ASSERT_EQ(vsglex_result_columns(r, text.data(), text.size(), VSGLEX_UNIT_CHAR, off.data(), len.data(),
                                    tags.data(), nullptr, nullptr),
              VSGLEX_OK);
    ASSERT_EQ(vsglex_result_columns(r, text.data(), text.size(), VSGLEX_UNIT_BYTE, boff.data(), nullptr, nullptr,
                                    nullptr, nullptr),
              VSGLEX_OK);
    // Characters: 😀 我 在 上海 ... the surrogate counts one, 中国 starts at 9.
    std::vector<std::string> words;
    for (size_t k = 0; k < n; ++k) {
        words.push_back(r->words[k].text);
        EXPECT_EQ(boff[k], r->words[k].offset);
        EXPECT_EQ(tags[k], r->words[k].tag);
    }
    auto at = [&](const std::string &w) {
        for (size_t k = 0; k < n; ++k)
            if (words[k] == w) return k;
        ADD_FAILURE() << w;
        return size_t{0};
    };
    EXPECT_EQ(off[at("上海")], 3u);
    EXPECT_EQ(len[at("上海")], 2u);
    EXPECT_EQ(off[at("中国")], 9u);
    EXPECT_EQ(vsglex_result_columns(r, text.data(), text.size(), 7, nullptr, nullptr, nullptr, nullptr, nullptr),
              VSGLEX_ERR_ARGUMENT);
    vsglex_result_free(r);
}

TEST_F(UserWordsTest, ThreadsAnalyseWhileWordsChange) {
    std::atomic<bool> stop{false};
    std::atomic<int> bad{0};
    auto reader = [&] {
        while (!stop.load()) {
            std::string t = Tagged(handle_, kNews);
            // Either the old or the new vocabulary, never a broken cut.
            bool with = t.rfind("腾讯/nt ", 0) == 0;
            bool without = t.rfind("腾/", 0) == 0 || t.rfind("腾讯/n ", 0) == 0;
            if (!with && !without) ++bad;
        }
    };
    std::vector<std::thread> threads;
    for (int k = 0; k < 3; ++k) threads.emplace_back(reader);
    std::thread writer([&] {
        for (int i = 0; i < 100; ++i) {
            vsglex_add_user_word(handle_, "腾讯", -1, "nt");
            vsglex_add_user_word(handle_, ("词" + std::to_string(i)).c_str(), i, nullptr);
            vsglex_remove_user_word(handle_, "腾讯");
        }
    });
    writer.join();
    stop = true;
    for (auto &t : threads) t.join();
    EXPECT_EQ(bad.load(), 0);
    EXPECT_EQ(vsglex_user_word_count(handle_), 100u);
}

}  // namespace
