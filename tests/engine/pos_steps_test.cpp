// The part-of-speech pass's shortcuts against its plain path on the shipped
// models: word arrays built from tagged newspaper text (the corpus beside
// the repository when present, else a few sentences), tagged once each way
// by two spans that live through every sentence, so that what one sentence
// leaves in a span reaches the next. Tags and whole spans must match.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "common/gbtext.h"
#include "common/tagset.h"
#include "engine/instance.h"
#include "support/support.h"
#include "tagging/Span.h"
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

}  // namespace

TEST(PosSteps, OneSlotRunsLeaveTagsAndSpanAsThePlainPath) {
    const char *source = std::getenv("VSGLEX_SOURCE_DIR");
    if (source == nullptr) GTEST_SKIP() << "VSGLEX_SOURCE_DIR not set";
    int32_t status = -1;
    std::unique_ptr<vsg::engine::Engine> engine =
        vsg::engine::Engine::Load((std::string(source) + "/data/vsg").c_str(), &status);
    ASSERT_NE(engine, nullptr) << "status " << status;
    const SegmentEngine &models = engine->models();
    const DictionaryS &core = models.core;
    const ContextStat &model = models.tagModels[0].model;
    vsg::tagging::SpanTables tables;
    ASSERT_TRUE(tables.Build(core, model, 0));

    std::ifstream corpus(std::string(source) + "/../shared/corpus/pfr-1998-01/train-22-28.txt");
    std::istringstream fallback(kFallback);
    std::vector<std::vector<Tagged>> sentences =
        corpus ? ReadSentences(corpus, 6000) : ReadSentences(fallback, 100);
    ASSERT_FALSE(sentences.empty());

    // With and without tables: without them the shortcut is never taken.
    for (bool withTables : {true, false}) {
        SpanPtr plain(CSpan_new()), fast(CSpan_new());
        ASSERT_TRUE(plain && fast);
        for (CSpan *span : {plain.get(), fast.get()}) {
            span->model = &model;
            span->tables = withTables ? &tables : nullptr;
        }
        std::mt19937 rng(99);
        size_t settledPairs = 0;  // settled words right after settled words
        for (size_t s = 0; s < sentences.size(); ++s) {
            // The word array as the engine builds it: start word, words
            // with their dictionary entries, end word, empty record. Names
            // stand as class words with fixed tags, as after recognition;
            // a few other words get fixed tags too, some of them tag 0
            // (a fixed word that does not end its run) and some tags past
            // the model.
            std::vector<SpanWord> words(sentences[s].size() + 3);
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
                const int32_t at = DictionaryS_GetCoreInfo(w.text, &core);
                if (at >= 0) {
                    w.posCount = core.entries[at].posCount;
                    w.posList = core.entries[at].posList;
                    memcpy(w.stats, core.entries[at].stats, sizeof w.stats);
                    vsg::tagging::MarkEntry(&w, at);
                }
            };
            add(0, vsg::kStartWord, nullptr, -1, 1.0);
            bool lastFixed = false;
            for (size_t i = 0; i < sentences[s].size(); ++i) {
                const Tagged &t = sentences[s][i];
                const std::string gb = Gb(t.text).substr(0, 100);
                const unsigned r = rng() % 100;
                if (t.tag == "nr" || t.tag == "ns" || t.tag == "nt") {
                    const char *cls = t.tag == "nr" ? vsg::kPersonClass : t.tag == "ns" ? vsg::kPlaceClass : vsg::kOrgClass;
                    const int tag = t.tag == "nr" ? vsg::kPersonTag : t.tag == "ns" ? vsg::kPlaceTag : vsg::kOrgTag;
                    add(i + 1, gb, cls, tag, vsg::kPersonClassWeight);
                } else if (r < 3) {
                    add(i + 1, gb, nullptr, r == 0 ? 0 : r == 1 ? 200 : static_cast<int>(rng() % 60), 2.5);
                } else {
                    add(i + 1, gb, nullptr, -1, 1.0);
                }
                const bool fixed = words[i + 1].tag != -1 || t.tag == "w";
                if (fixed && lastFixed) ++settledPairs;
                lastFixed = fixed;
            }
            add(sentences[s].size() + 1, vsg::kEndWord, nullptr, -1, 1.0);
            std::vector<SpanWord> copy = words;

            vsg::tagging::PosTagging(plain.get(), words.data(), &core, false);
            vsg::tagging::PosTagging(fast.get(), copy.data(), &core, true);
            for (size_t i = 0; i < words.size(); ++i)
                ASSERT_EQ(copy[i].tag, words[i].tag) << "sentence " << s << " word " << i;
            ASSERT_EQ(memcmp(plain.get(), fast.get(), sizeof(CSpan)), 0) << "sentence " << s;
        }
        // The text exercised the shortcut: runs of one settled word.
        EXPECT_GT(settledPairs, sentences.size() > 100 ? 1000u : 5u);
    }
}
