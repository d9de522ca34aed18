// Throughput of the segmentation call over a few thousand paragraphs of
// tagged newspaper text (or generated sentences when the corpus is absent),
// one paragraph per call or 100 per call, on one and on two threads sharing
// one engine.
//
// Models: $VSGLEX_MODEL_DIR, else data/vsg of the source tree.
// Text:   $VSGLEX_BENCH_CORPUS, else ../shared/corpus/pfr-1998-01/train-22-28.txt
//         beside the source tree (UTF-8 "word/tag" tokens, one paragraph a
//         line); person names are cut into characters as a host's word cutter
//         leaves unknown names.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string>
#include <vector>

#include "bench_corpus.h"
#include "vsglex/engine.h"

namespace {

constexpr size_t kParagraphs = 3000;

std::string SourceRoot() {
    std::string file = __FILE__;
    for (int up = 0; up < 2; ++up) {
        const size_t slash = file.rfind('/');
        if (slash == std::string::npos) return ".";
        file.resize(slash);
    }
    return file.empty() ? "." : file;
}

std::string EnvOr(const char *name, const std::string &fallback) {
    const char *v = getenv(name);
    return (v != nullptr && v[0] != '\0') ? std::string(v) : fallback;
}

struct Corpus {
    std::vector<std::vector<WordItem>> paragraphs;
    size_t words = 0;
    std::string source;
};

bool ReadCorpus(const std::string &path, Corpus *corpus) {
    const bool read = benchcorpus::ReadTaggedCorpus(
        path, kParagraphs, VSG_ITEM_TEXT_MAX, [corpus](const std::vector<std::string> &words) {
            std::vector<WordItem> para;
            const auto key = static_cast<uint32_t>(corpus->paragraphs.size());
            for (const std::string &gb : words) benchcorpus::AppendItem(para, gb, key);
            corpus->words += para.size();
            corpus->paragraphs.push_back(std::move(para));
        });
    corpus->source = path;
    return read && !corpus->paragraphs.empty();
}

// Sentences of dictionary words in pseudo-random order.
void GenerateCorpus(const SegmentEngine *engine, Corpus *corpus) {
    std::vector<const char *> words;
    for (int32_t i = 0; i < engine->core.count; ++i) {
        const char *w = engine->core.entries[i].word;
        if (w != nullptr && w[0] != '\0' && strlen(w) <= VSG_ITEM_TEXT_MAX && strstr(w, "##") == nullptr)
            words.push_back(w);
    }
    if (words.empty()) return;
    uint32_t seed = 12345;
    for (size_t p = 0; p < kParagraphs; ++p) {
        std::vector<WordItem> para;
        const size_t len = 10 + p % 60;
        for (size_t i = 0; i < len; ++i) {
            seed = seed * 1103515245u + 12345u;
            benchcorpus::AppendItem(para, words[(seed >> 8) % words.size()], static_cast<uint32_t>(p));
        }
        corpus->words += para.size();
        corpus->paragraphs.push_back(std::move(para));
    }
    corpus->source = "generated from the core dictionary";
}

struct Setup {
    SegmentEngine *engine = nullptr;
    Corpus corpus;
    std::string error;
};

const Setup &GetSetup() {
    static Setup setup;
    static std::once_flag once;
    std::call_once(once, [] {
        const std::string models = EnvOr("VSGLEX_MODEL_DIR", SourceRoot() + "/data/vsg");
        const int32_t status = VSG_LoadForServer(&setup.engine, models.c_str());
        if (status != 0 && status != 1) {
            setup.error = "cannot load models from " + models + " (status " + std::to_string(status) +
                          "); set VSGLEX_MODEL_DIR";
            setup.engine = nullptr;
            return;
        }
        const std::string text = EnvOr("VSGLEX_BENCH_CORPUS",
                                       SourceRoot() + "/../shared/corpus/pfr-1998-01/train-22-28.txt");
        if (!ReadCorpus(text, &setup.corpus)) GenerateCorpus(setup.engine, &setup.corpus);
        if (setup.corpus.paragraphs.empty()) setup.error = "no input text";
    });
    return setup;
}

// Paragraphs joined into calls of `perCall` paragraphs each (one sentence
// key per paragraph), so that the per-call set-up is measured apart from
// the per-word work.
std::vector<std::vector<WordItem>> Batches(const Corpus &corpus, size_t perCall) {
    std::vector<std::vector<WordItem>> calls;
    for (size_t p = 0; p < corpus.paragraphs.size(); p += perCall) {
        std::vector<WordItem> call;
        for (size_t q = p; q < p + perCall && q < corpus.paragraphs.size(); ++q)
            call.insert(call.end(), corpus.paragraphs[q].begin(), corpus.paragraphs[q].end());
        calls.push_back(std::move(call));
    }
    return calls;
}

// Arguments: mode, paragraphs per call.
void BM_Segment(benchmark::State &state) {
    const Setup &setup = GetSetup();
    if (setup.engine == nullptr || !setup.error.empty()) {
        state.SkipWithError(setup.error.c_str());
        return;
    }
    const int mode = static_cast<int>(state.range(0));
    const std::vector<std::vector<WordItem>> calls = Batches(setup.corpus, static_cast<size_t>(state.range(1)));
    size_t words = 0;
    for (auto _ : state) {
        for (const std::vector<WordItem> &call : calls) {
            WordList input{static_cast<int32_t>(call.size()), const_cast<WordItem *>(call.data())};
            WordList output{0, nullptr};
            VSG_SegmentForServer(&input, &output, mode, setup.engine);
            benchmark::DoNotOptimize(output.items);
            VSG_SegmentForServerFree(&output);
        }
        words += setup.corpus.words;
    }
    state.counters["words/s"] = benchmark::Counter(static_cast<double>(words), benchmark::Counter::kIsRate);
    state.SetLabel(std::to_string(setup.corpus.paragraphs.size()) + " paragraphs, " +
                   std::to_string(setup.corpus.words) + " words, " + setup.corpus.source);
}

}  // namespace

BENCHMARK(BM_Segment)
    ->ArgNames({"mode", "per_call"})
    ->Args({0, 1})
    ->Args({0, 100})
    ->Args({1, 1})
    ->Args({1, 100})
    ->Threads(1)
    ->Threads(2)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
