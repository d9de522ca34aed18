// Throughput of the engine core (Engine::Tag over word views) on tagged
// newspaper text: one paragraph per call or 100 per call, on one and on two
// threads sharing one engine. The same text as segment_bench, so the two
// show what the server interface's items cost on top of the core.
//
// Models: $VSGLEX_MODEL_DIR, else data/vsg of the source tree.
// Text:   $VSGLEX_BENCH_CORPUS, else ../shared/corpus/pfr-1998-01/train-22-28.txt
//         beside the source tree (UTF-8 "word/tag" tokens, one paragraph a
//         line); person names are cut into characters as a word cutter
//         leaves unknown names.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "bench_corpus.h"
#include "engine/instance.h"

namespace {

constexpr size_t kParagraphs = 3000;

std::string SourceRoot() {
    std::string file = __FILE__;
    for (int up = 0; up < 2; ++up) file.resize(file.rfind('/'));
    return file;
}

std::string EnvOr(const char *name, const std::string &fallback) {
    const char *v = std::getenv(name);
    return (v != nullptr && v[0] != '\0') ? std::string(v) : fallback;
}

// Words of the text, each paragraph a sentence key; `gb` holds their text.
struct Corpus {
    std::string gb;
    std::vector<std::pair<uint32_t, uint32_t>> words;  // offset, length in gb
    std::vector<size_t> paragraphStart;                 // index in words
    std::string error;
};

struct Setup {
    std::unique_ptr<vsg::engine::Engine> engine;
    Corpus corpus;
};

const Setup &GetSetup() {
    static Setup setup;
    static std::once_flag once;
    std::call_once(once, [] {
        const std::string models = EnvOr("VSGLEX_MODEL_DIR", SourceRoot() + "/data/vsg");
        int32_t status = 0;
        setup.engine = vsg::engine::Engine::Load(models.c_str(), &status);
        Corpus &c = setup.corpus;
        if (setup.engine == nullptr) {
            c.error = "cannot load models from " + models + "; set VSGLEX_MODEL_DIR";
            return;
        }
        const std::string path =
            EnvOr("VSGLEX_BENCH_CORPUS", SourceRoot() + "/../shared/corpus/pfr-1998-01/train-22-28.txt");
        benchcorpus::ReadTaggedCorpus(path, kParagraphs, VSG_ITEM_TEXT_MAX,
                                      [&c](const std::vector<std::string> &words) {
                                          c.paragraphStart.push_back(c.words.size());
                                          for (const std::string &gb : words) {
                                              c.words.emplace_back(static_cast<uint32_t>(c.gb.size()),
                                                                   static_cast<uint32_t>(gb.size()));
                                              c.gb += gb;
                                          }
                                      });
        if (c.words.empty()) c.error = "no text in " + path + "; set VSGLEX_BENCH_CORPUS";
    });
    return setup;
}

// Arguments: mode, paragraphs per call.
void BM_CoreTag(benchmark::State &state) {
    const Setup &setup = GetSetup();
    if (!setup.corpus.error.empty()) {
        state.SkipWithError(setup.corpus.error.c_str());
        return;
    }
    const Corpus &c = setup.corpus;
    const auto mode = static_cast<int32_t>(state.range(0));
    const auto perCall = static_cast<size_t>(state.range(1));
    // The calls as view arrays, one sentence key per paragraph.
    std::vector<std::vector<vsg::engine::WordView>> calls;
    const size_t paragraphs = c.paragraphStart.size();
    for (size_t p = 0; p < paragraphs; p += perCall) {
        std::vector<vsg::engine::WordView> call;
        for (size_t q = p; q < p + perCall && q < paragraphs; ++q) {
            const size_t end = q + 1 < paragraphs ? c.paragraphStart[q + 1] : c.words.size();
            for (size_t k = c.paragraphStart[q]; k < end; ++k)
                call.push_back({c.gb.data() + c.words[k].first, c.words[k].second, static_cast<uint32_t>(q)});
        }
        calls.push_back(std::move(call));
    }
    vsg::engine::Tagging out;
    size_t words = 0;
    for (auto _ : state) {
        for (const auto &call : calls) {
            if (setup.engine->Tag(call.data(), call.size(), mode, out) != 0) {
                state.SkipWithError("engine call failed");
                return;
            }
            benchmark::DoNotOptimize(out.words.data());
        }
        words += c.words.size();
    }
    state.counters["words/s"] = benchmark::Counter(static_cast<double>(words), benchmark::Counter::kIsRate);
    state.SetLabel(std::to_string(paragraphs) + " paragraphs, " + std::to_string(c.words.size()) + " words");
}

}  // namespace

BENCHMARK(BM_CoreTag)
    ->ArgNames({"mode", "per_call"})
    ->Args({0, 1})
    ->Args({0, 100})
    ->Threads(1)
    ->Threads(2)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
