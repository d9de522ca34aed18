// The raw-text C interface end to end on the shipped model set.
#include <gtest/gtest.h>
#include <iconv.h>

#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "front/analyzer.h"
#include "front_support.h"
#include "support/support.h"
#include "vsglex/vsglex_api.h"

namespace {

using fronttest::Convert;

// Analyses through a handle on the shipped models.
class ApiTest : public fronttest::ShippedModelsTest {
protected:
    // Words of one analysis as "text/tag" plus the raw result.
    struct Out {
        std::vector<std::string> words;
        std::vector<std::string> texts;  // raw[k].text points into freed memory
        std::vector<vsglex_word> raw;
        std::vector<uint64_t> invalid;
        size_t sentences = 0;
    };
    Out Analyze(const std::string &text, int charset, uint32_t flags = 0) {
        vsglex_result *r = nullptr;
        Out out;
        EXPECT_EQ(vsglex_analyze(handle_, text.data(), text.size(), charset, flags, &r), VSGLEX_OK);
        if (r == nullptr) return out;
        for (size_t k = 0; k < r->word_count; ++k) {
            out.words.push_back(std::string(r->words[k].text) + "/" + r->words[k].tag_name);
            out.raw.push_back(r->words[k]);
            out.texts.push_back(r->words[k].text);
            out.raw.back().text = nullptr;
        }
        out.invalid.assign(r->invalid_offsets, r->invalid_offsets + r->invalid_count);
        out.sentences = r->sentence_count;
        vsglex_result_free(r);
        return out;
    }

};

std::string Sample() { return vsgtest::ReadFile(fronttest::SourceDir() + "/examples/sample.txt"); }

// Every word's bytes in the original, converted to UTF-8, give its text;
// words come in order without overlapping.
void ExpectOffsetsMatch(const std::string &original, const char *charset, const std::vector<vsglex_word> &words,
                        const std::vector<std::string> &texts) {
    uint64_t pos = 0;
    ASSERT_EQ(words.size(), texts.size());
    for (size_t k = 0; k < words.size(); ++k) {
        const vsglex_word &w = words[k];
        ASSERT_GE(w.offset, pos);
        ASSERT_LE(w.offset + w.length, original.size());
        EXPECT_EQ(Convert(original.substr(w.offset, w.length), "UTF-8", charset), texts[k]) << "at " << w.offset;
        pos = w.offset + w.length;
    }
}

TEST_F(ApiTest, SampleParagraphInEverySetWithMergedNames) {
    std::string utf8 = Sample();
    ASSERT_FALSE(utf8.empty());
    Out u = Analyze(utf8, VSGLEX_CHARSET_AUTO);
    ASSERT_FALSE(u.words.empty());
    ExpectOffsetsMatch(utf8, "UTF-8", u.raw, u.texts);
    EXPECT_GT(u.sentences, 2u);

    // The same text in GBK gives the same words and tags at its own offsets.
    std::string gbk = Convert(utf8, "GB18030");
    Out g = Analyze(gbk, VSGLEX_CHARSET_AUTO);
    EXPECT_EQ(g.words, u.words);
    ExpectOffsetsMatch(gbk, "GB18030", g.raw, g.texts);

    // Names of all three classes are found, persons merged from single
    // characters.
    int classes[4] = {0, 0, 0, 0};
    int mergedPersons = 0;
    for (const vsglex_word &w : u.raw) {
        ASSERT_GE(w.name_class, 0);
        ASSERT_LE(w.name_class, 3);
        ++classes[w.name_class];
        if (w.name_class == VSGLEX_NAME_PERSON && w.merged > 1) ++mergedPersons;
    }
    EXPECT_GT(mergedPersons, 0);
    EXPECT_GT(classes[VSGLEX_NAME_PLACE], 0);
    EXPECT_GT(classes[VSGLEX_NAME_ORG], 0);
}

TEST_F(ApiTest, Big5IsReadAsSimplifiedText) {
    std::string trad = "國務院總理在東京會見了日本學者。";
    std::string simp = "国务院总理在东京会见了日本学者。";
    std::string big5 = Convert(trad, "BIG5");
    Out b = Analyze(big5, VSGLEX_CHARSET_BIG5);
    Out s = Analyze(simp, VSGLEX_CHARSET_UTF8);
    EXPECT_EQ(b.words, s.words);
    ASSERT_EQ(b.raw.size(), s.raw.size());
    // Offsets point into the BIG5 bytes: two bytes per character.
    for (size_t k = 0; k < b.raw.size(); ++k) {
        EXPECT_EQ(b.raw[k].offset % 2, 0u);
        EXPECT_EQ(b.raw[k].length, 2 * (b.texts[k].size() / 3));
    }
}

TEST_F(ApiTest, UnknownNamesReachTheEngineAsSingleCharacters) {
    // An invented name of rare characters: either merged from its three
    // characters or left as three single characters, never cut as a word.
    // (Not every such name: the cutter labels name characters apart from
    // one-character words, and a run of characters it has never seen can
    // now come out as a word, 郗璇 琮; docs/models.md, "Name labels".)
    std::string text = "昨天上午，蒯玮琛在会上发言。";
    Out o = Analyze(text, VSGLEX_CHARSET_UTF8);
    bool seen = false;
    for (size_t k = 0; k < o.raw.size(); ++k) {
        const std::string &t = o.texts[k];
        if (t == "蒯玮琛") {
            EXPECT_EQ(o.raw[k].merged, 3);
            seen = true;
        }
        if (t.find("玮") != std::string::npos && t != "蒯玮琛") {
            EXPECT_EQ(t, "玮");
        }
    }
    (void)seen;
    // Pre-cut input keeps the caller's words; invalid bytes are listed and
    // skipped without shifting later offsets.
    std::string cut = "我们 在 北京 见面 。";
    Out p = Analyze(cut, VSGLEX_CHARSET_UTF8, VSGLEX_PRECUT);
    EXPECT_EQ(p.texts, (std::vector<std::string>{"我们", "在", "北京", "见面", "。"}));
    ExpectOffsetsMatch(cut, "UTF-8", p.raw, p.texts);

    // A name handed one character a word is the engine's name: it covers
    // the separating spaces, its text and its pieces leave them out; an
    // organisation over given words likewise.
    const std::string names = "江 泽 民 会见 了 克 林 顿 。\n中央 人民 广播 电台 报道 。";
    vsglex_result *r = nullptr;
    ASSERT_EQ(vsglex_analyze(handle_, names.data(), names.size(), VSGLEX_CHARSET_UTF8, VSGLEX_PRECUT, &r),
              VSGLEX_OK);
    ASSERT_GE(r->word_count, 6u);
    EXPECT_STREQ(r->words[0].text, "江泽民");
    EXPECT_EQ(r->words[0].name_class, VSGLEX_NAME_PERSON);
    EXPECT_EQ(r->words[0].offset, 0u);
    EXPECT_EQ(r->words[0].length, 11u);
    ASSERT_EQ(r->words[0].part_count, 2u);
    const vsglex_part &given = r->parts[r->words[0].part_first + 1];
    EXPECT_STREQ(given.text, "泽民");
    EXPECT_EQ(given.offset, 4u);
    EXPECT_EQ(given.length, 7u);
    EXPECT_STREQ(r->words[3].text, "克林顿");
    EXPECT_EQ(r->words[3].name_class, VSGLEX_NAME_PERSON);
    EXPECT_STREQ(r->words[5].text, "中央人民广播电台");
    EXPECT_EQ(r->words[5].name_class, VSGLEX_NAME_ORG);
    ASSERT_EQ(r->words[5].part_count, 4u);
    EXPECT_STREQ(r->parts[r->words[5].part_first + 3].text, "电台");
    EXPECT_EQ(r->parts[r->words[5].part_first + 3].offset, names.find("电台"));
    vsglex_result_free(r);
    // NUL bytes separate as spaces do, and the word's text leaves them out.
    const std::string nuls("江\0泽\0民 会见 了 克 林 顿 。", 38);
    ASSERT_EQ(vsglex_analyze(handle_, nuls.data(), nuls.size(), VSGLEX_CHARSET_UTF8, VSGLEX_PRECUT, &r), VSGLEX_OK);
    ASSERT_GE(r->word_count, 1u);
    EXPECT_STREQ(r->words[0].text, "江泽民");
    EXPECT_EQ(r->words[0].length, 11u);
    vsglex_result_free(r);

    std::string bad = "我们\xFF在北京。\n\xC3\n见面";
    Out v = Analyze(bad, VSGLEX_CHARSET_UTF8);
    EXPECT_EQ(v.invalid, (std::vector<uint64_t>{6, 20}));
    ASSERT_FALSE(v.raw.empty());
    EXPECT_EQ(v.texts.back(), "见面");
    EXPECT_EQ(v.raw.back().offset, 22u);

    Out e = Analyze("", VSGLEX_CHARSET_AUTO);
    EXPECT_TRUE(e.words.empty());
}

TEST_F(ApiTest, PersonNameFoundOnceIsTakenWhereItComesAgain) {
    // In a headline the recognisers miss 石成功 (成功 is a word); a later
    // sentence of the same text where they find it makes it a name in the
    // headline too.
    const std::string headline = "石成功的年终书账\n";
    const std::string later = "本报记者石成功报道。\n";
    Out alone = Analyze(headline, VSGLEX_CHARSET_UTF8);
    ASSERT_GE(alone.words.size(), 2u);
    ASSERT_EQ(alone.words[0], "石/j") << "the models find the name alone: the case needs another name";
    Out both = Analyze(headline + later, VSGLEX_CHARSET_UTF8);
    ASSERT_GE(both.words.size(), 2u);
    EXPECT_EQ(both.words[0], "石成功/nr");
    EXPECT_EQ(both.raw[0].name_class, VSGLEX_NAME_PERSON);
    EXPECT_EQ(both.raw[0].merged, 2);
    EXPECT_EQ(both.raw[0].part_count, 2u);  // 石 成功 in the corpus view
    EXPECT_EQ(both.words[1], "的/ude1");
    ExpectOffsetsMatch(headline + later, "UTF-8", both.raw, both.texts);
    // Nothing is carried from one analysis to the next.
    EXPECT_EQ(Analyze(headline, VSGLEX_CHARSET_UTF8).words, alone.words);
    // Words apart are not joined into the name.
    Out spaced = Analyze("石 成功的年终书账\n" + later, VSGLEX_CHARSET_UTF8);
    ASSERT_GE(spaced.texts.size(), 2u);
    EXPECT_EQ(spaced.texts[0], "石");
    EXPECT_EQ(spaced.texts[1], "成功");

    // A given name that is a word after a surname taken alone (孙/nr
    // 进步/v): the name found in the photo credit extends the surname,
    // however often it came that way.
    const std::string credit = "（新华社记者孙进步摄）\n";
    const std::string lines = "孙进步领导地质工作长达２４年。\n国务院任命孙进步为副部长。\n";
    Out apart = Analyze(lines, VSGLEX_CHARSET_UTF8);
    ASSERT_FALSE(apart.words.empty());
    ASSERT_NE(apart.words[0], "孙进步/nr") << "the models find the name alone: the case needs another name";
    Out joined = Analyze(credit + lines, VSGLEX_CHARSET_UTF8);
    std::vector<std::string> names;
    for (const std::string &w : joined.words)
        if (w.find("/nr") != std::string::npos) names.push_back(w);
    EXPECT_EQ(names, (std::vector<std::string>{"孙进步/nr", "孙进步/nr", "孙进步/nr"}));
}

TEST(ApiErrorTest, BadArgumentsAndMissingModels) {
    EXPECT_EQ(vsglex_open(nullptr), nullptr);
    EXPECT_STRNE(vsglex_last_error(), "");
    EXPECT_EQ(vsglex_open("/nonexistent/vsglex-models"), nullptr);
    EXPECT_NE(std::string(vsglex_last_error()).find("not found"), std::string::npos);
    {
        vsgtest::TempDir empty;
        EXPECT_EQ(vsglex_open(empty.path().c_str()), nullptr);
        EXPECT_NE(std::string(vsglex_last_error()).find("coredict.dct"), std::string::npos) << vsglex_last_error();
    }
    vsglex_result *r = reinterpret_cast<vsglex_result *>(1);
    EXPECT_EQ(vsglex_analyze(nullptr, "a", 1, 0, 0, &r), VSGLEX_ERR_ARGUMENT);
    EXPECT_EQ(r, nullptr);
    EXPECT_STREQ(vsglex_name_class_name(VSGLEX_NAME_ORG), "organization");
    EXPECT_STREQ(vsglex_tag_name(nullptr, 3), "");

    if (fronttest::ModelDir().empty()) return;
    // A model set missing one file names that file.
    vsgtest::TempDir broken;
    for (const auto &e : std::filesystem::directory_iterator(fronttest::ModelDir()))
        if (e.path().filename() != "nt.map") std::filesystem::copy(e.path(), broken.path() + "/" + e.path().filename().string());
    EXPECT_EQ(vsglex_open(broken.path().c_str()), nullptr);
    EXPECT_NE(std::string(vsglex_last_error()).find("nt.map"), std::string::npos) << vsglex_last_error();

    // A damaged word cutter model is refused with its name and the reason
    // (by the manifest; without one, by the model's own checks); the
    // dictionary cutter can be chosen instead.
    std::filesystem::copy(fronttest::ModelDir() + "/nt.map", broken.path() + "/nt.map");
    std::string model = vsgtest::ReadFile(broken.path() + "/segment.mdl");
    ASSERT_GT(model.size(), 1000u);
    vsgtest::WriteFile(broken.path() + "/segment.mdl", model.substr(0, 1000));
    EXPECT_EQ(vsglex_open(broken.path().c_str()), nullptr);
    EXPECT_NE(std::string(vsglex_last_error()).find("segment.mdl"), std::string::npos) << vsglex_last_error();
    std::filesystem::remove(broken.path() + "/manifest.txt");
    EXPECT_EQ(vsglex_open(broken.path().c_str()), nullptr);
    EXPECT_NE(std::string(vsglex_last_error()).find("segment.mdl: truncated"), std::string::npos)
        << vsglex_last_error();
    setenv("VSGLEX_CUTTER", "dict", 1);
    vsglex_handle *dict = vsglex_open(broken.path().c_str());
    unsetenv("VSGLEX_CUTTER");
    ASSERT_NE(dict, nullptr) << vsglex_last_error();
    EXPECT_EQ(vsg::front::SegModelOf(dict), nullptr);
    vsglex_close(dict);

    vsglex_handle *h = vsglex_open(fronttest::ModelDir().c_str());
    ASSERT_NE(h, nullptr);
    EXPECT_NE(vsg::front::SegModelOf(h), nullptr);
    EXPECT_EQ(vsglex_analyze(h, "a", 1, 7, 0, &r), VSGLEX_ERR_ARGUMENT);
    EXPECT_EQ(vsglex_analyze(h, nullptr, 3, 0, 0, &r), VSGLEX_ERR_ARGUMENT);
    vsglex_close(h);
}

TEST(ApiThreadTest, ConcurrentAnalysesMatchOneThread) {
    REQUIRE_MODELS();
    vsglex_handle *h = vsglex_open(fronttest::ModelDir().c_str());
    ASSERT_NE(h, nullptr) << vsglex_last_error();
    std::string text = Sample();
    auto run = [&](std::string *out) {
        vsglex_result *r = nullptr;
        if (vsglex_analyze(h, text.data(), text.size(), VSGLEX_CHARSET_UTF8, 0, &r) != VSGLEX_OK) return;
        for (size_t k = 0; k < r->word_count; ++k)
            *out += std::string(r->words[k].text) + "/" + r->words[k].tag_name + "@" + std::to_string(r->words[k].offset) + " ";
        vsglex_result_free(r);
    };
    std::string expected;
    run(&expected);
    ASSERT_FALSE(expected.empty());
    std::vector<std::string> got(4);
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&, t] {
            // Each thread also opens and closes a handle of its own.
            vsglex_handle *mine = vsglex_open(fronttest::ModelDir().c_str());
            for (int k = 0; k < 3; ++k) {
                std::string once;
                run(&once);
                if (k == 0) {
                    got[t] = once;
                } else if (once != got[t]) {
                    got[t] = "differs";
                }
            }
            vsglex_close(mine);
        });
    }
    for (auto &th : threads) th.join();
    for (const std::string &g : got) EXPECT_EQ(g, expected);
    vsglex_close(h);
}

}  // namespace
