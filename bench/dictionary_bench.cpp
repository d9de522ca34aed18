// Core dictionary: lookups per second (hits and misses) and load time of the
// text and binary forms, over a generated dictionary of 100,000 GB words.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "vsglex/model.h"

namespace {

constexpr int kWords = 100000;

// One GB2312 character from a number below 72 * 94.
std::string GbChar(uint32_t n) {
    std::string c;
    c += static_cast<char>(0xB0 + n % 72);
    c += static_cast<char>(0xA1 + (n / 72) % 94);
    return c;
}

// The generated dictionary: its words, words it lacks, and both files.
struct Corpus {
    std::string dir;
    std::string textPath;
    std::string binaryPath;
    std::vector<std::string> hits;
    std::vector<std::string> misses;
    DictionaryS dict{};

    Corpus() {
        char tmpl[] = "/tmp/vsglex-bench-XXXXXX";
        if (mkdtemp(tmpl) == nullptr) std::abort();
        dir = tmpl;
        textPath = dir + "/coredict.dct";
        binaryPath = dir + "/coredict.bin";
        // Two or three characters each: the first two spell the word's
        // number, the third (when present) comes from a fixed generator.
        uint32_t state = 12345;
        FILE *fp = std::fopen(textPath.c_str(), "w");
        if (fp == nullptr) std::abort();
        for (uint32_t i = 0; i < kWords; ++i) {
            state = state * 1103515245u + 12345u;
            std::string word = GbChar(i % 6768) + GbChar(i / 6768);
            if (state >> 31) word += GbChar((state >> 8) % 6768);
            const int rows = 1 + static_cast<int>((state >> 4) % 3);
            std::fprintf(fp, "%s %d %u %d 0 0\n", word.c_str(), rows, i % 1000, rows);
            for (int r = 0; r < rows; ++r) std::fprintf(fp, "%d %u %.2f\n", r, (state >> (r + 10)) % 44, 1.5 + r);
            hits.push_back(word);
            // Four characters: longer than any word of the dictionary.
            misses.push_back(GbChar(i / 6768 + 6000) + GbChar(i % 6768) + GbChar(7) + GbChar(8));
        }
        std::fclose(fp);
        if (DictionaryS_Load(textPath.c_str(), &dict) != 1) std::abort();
        if (DictionaryS_SaveBinary(binaryPath.c_str(), &dict) != 1) std::abort();
    }
    ~Corpus() {
        DictionaryS_Free(&dict);
        std::error_code ec;
        std::filesystem::remove_all(dir, ec);
    }
};

Corpus &TheCorpus() {
    static Corpus corpus;
    return corpus;
}

void BM_LookupHit(benchmark::State &state) {
    Corpus &c = TheCorpus();
    size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(DictionaryS_GetCoreInfo(c.hits[i].c_str(), &c.dict));
        if (++i == c.hits.size()) i = 0;
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_LookupHit);

void BM_LookupMiss(benchmark::State &state) {
    Corpus &c = TheCorpus();
    size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(DictionaryS_GetCoreInfo(c.misses[i].c_str(), &c.dict));
        if (++i == c.misses.size()) i = 0;
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_LookupMiss);

void BM_LoadText(benchmark::State &state) {
    Corpus &c = TheCorpus();
    for (auto _ : state) {
        DictionaryS d{};
        if (DictionaryS_Load(c.textPath.c_str(), &d) != 1) state.SkipWithError("text load failed");
        DictionaryS_Free(&d);
    }
    state.SetItemsProcessed(state.iterations() * kWords);
}
BENCHMARK(BM_LoadText)->Unit(benchmark::kMillisecond);

void BM_LoadBinary(benchmark::State &state) {
    Corpus &c = TheCorpus();
    for (auto _ : state) {
        DictionaryS d{};
        if (DictionaryS_LoadBinary(c.binaryPath.c_str(), &d) != 1) state.SkipWithError("binary load failed");
        DictionaryS_Free(&d);
    }
    state.SetItemsProcessed(state.iterations() * kWords);
}
BENCHMARK(BM_LoadBinary)->Unit(benchmark::kMillisecond);

}  // namespace
