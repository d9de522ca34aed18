// Characters per second of the raw-text interface on one thread: the whole
// path from UTF-8 text to tagged words with names, on the shipped model set,
// and the cutter alone; and the time to load the model set.
#include <benchmark/benchmark.h>
#include <sys/stat.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "front/analyzer.h"
#include "front/atoms.h"
#include "front/transcode.h"
#include "vsglex/vsglex_api.h"

namespace {

std::string SourceDir() {
    std::string dir = __FILE__;
    dir = dir.substr(0, dir.rfind('/'));
    return dir.substr(0, dir.rfind('/'));
}

// Benchmark text: VSGLEX_BENCH_TEXT when set (a UTF-8 file), else the
// sample paragraph repeated to about 1 MB.
const std::string &Text() {
    static std::string text = [] {
        const char *path = std::getenv("VSGLEX_BENCH_TEXT");
        std::ifstream in(path != nullptr ? path : (SourceDir() + "/examples/sample.txt").c_str(), std::ios::binary);
        std::ostringstream ss;
        ss << in.rdbuf();
        std::string one = ss.str(), all;
        if (one.empty()) return all;
        while (all.size() < (1u << 20)) all += one;
        return path != nullptr ? one : all;
    }();
    return text;
}

size_t Characters(const std::string &utf8) {
    size_t n = 0;
    for (unsigned char c : utf8) n += (c & 0xC0) != 0x80;
    return n;
}

std::string DataDir() {
    const char *env = std::getenv("VSGLEX_DATA");
    return env != nullptr ? env : SourceDir() + "/data/vsg";
}

// Loading the model set: vsglex_open (checks, engine files, cutter model,
// lexicon, tables); vsglex_close is not timed. Registered first: handles on one
// directory share its loaded set, so this must run while no other handle
// of the benchmark is open.
void BM_Open(benchmark::State &state) {
    const std::string dir = DataDir();
    for (auto _ : state) {
        vsglex_handle *h = vsglex_open(dir.c_str());
        if (h == nullptr) {
            state.SkipWithError("no model set");
            return;
        }
        state.PauseTiming();
        vsglex_close(h);
        state.ResumeTiming();
    }
}
BENCHMARK(BM_Open)->Unit(benchmark::kMillisecond);

vsglex_handle *Handle() {
    static vsglex_handle *h = vsglex_open(DataDir().c_str());
    return h;
}

void BM_AnalyzeEndToEnd(benchmark::State &state) {
    vsglex_handle *h = Handle();
    if (h == nullptr || Text().empty()) {
        state.SkipWithError("no model set or no text");
        return;
    }
    const std::string &text = Text();
    for (auto _ : state) {
        vsglex_result *r = nullptr;
        vsglex_analyze(h, text.data(), text.size(), VSGLEX_CHARSET_UTF8, 0, &r);
        benchmark::DoNotOptimize(r);
        vsglex_result_free(r);
    }
    state.counters["chars/s"] = benchmark::Counter(static_cast<double>(Characters(text)) * state.iterations(),
                                                   benchmark::Counter::kIsRate);
}
BENCHMARK(BM_AnalyzeEndToEnd)->Unit(benchmark::kMillisecond);

void BM_ConvertAtomiseCut(benchmark::State &state) {
    vsglex_handle *h = Handle();
    const vsg::front::Lexicon *lex = vsg::front::LexiconOf(h);
    // The trained cutter when the model set has one (VSGLEX_CUTTER=dict: the dictionary cutter).
    const vsg::front::SegModel *model = vsg::front::SegModelOf(h);
    if (h == nullptr || lex == nullptr) {
        state.SkipWithError("no model set");
        return;
    }
    const std::string &text = Text();
    vsg::front::WorkText work;
    std::vector<uint64_t> invalid;
    std::vector<vsg::front::Atom> atoms, run;
    std::vector<uint32_t> ends;
    vsg::front::CutScratch scratch;
    for (auto _ : state) {
        vsg::front::ToWorkText(text.data(), text.size(), VSGLEX_CHARSET_UTF8, work, invalid, 0);
        atoms.clear();
        vsg::front::Atomise(work.gb.data(), 0, work.gb.size(), atoms);
        ends.clear();
        size_t k = 0;
        while (k < atoms.size()) {
            size_t e = k;
            while (e < atoms.size() && atoms[e].kind != vsg::front::AtomKind::kSpace) ++e;
            if (model != nullptr) model->Cut(work.gb.data(), atoms.data() + k, e - k, *lex, ends, scratch);
            else lex->Cut(work.gb.data(), atoms.data() + k, e - k, ends, scratch);
            k = e + 1;
        }
        benchmark::DoNotOptimize(ends.data());
    }
    state.counters["chars/s"] = benchmark::Counter(static_cast<double>(Characters(text)) * state.iterations(),
                                                   benchmark::Counter::kIsRate);
}
BENCHMARK(BM_ConvertAtomiseCut)->Unit(benchmark::kMillisecond);

}  // namespace
