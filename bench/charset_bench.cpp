// Stream conversion UTF-8 <-> GB18030 on 1 MB of Chinese text, with the
// system's iconv on the same text for comparison.
//
// The text is the first megabyte of the segmented corpus when it is present
// (VSGLEX_CORPUS or /work/shared/corpus/pfr-1998-01/train-01-07.txt), else
// GB2312 characters drawn by a fixed pseudo-random sequence.
#include <benchmark/benchmark.h>
#include <iconv.h>

#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "vsglex/charset.h"

namespace {

constexpr size_t kTextSize = 1 << 20;

std::string Iconv(const std::string &in, const char *to, const char *from) {
    iconv_t cd = iconv_open(to, from);
    if (cd == reinterpret_cast<iconv_t>(-1)) return std::string();
    std::string out(in.size() * 2 + 16, '\0');
    char *src = const_cast<char *>(in.data()), *dst = out.data();
    size_t srcLeft = in.size(), dstLeft = out.size();
    size_t r = iconv(cd, &src, &srcLeft, &dst, &dstLeft);
    iconv_close(cd);
    if (r == static_cast<size_t>(-1)) return std::string();
    out.resize(out.size() - dstLeft);
    return out;
}

std::string MakeUtf8Text() {
    const char *path = getenv("VSGLEX_CORPUS");
    std::ifstream in(path ? path : "/work/shared/corpus/pfr-1998-01/train-01-07.txt", std::ios::binary);
    std::string text;
    if (in) {
        text.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
        for (char &c : text)
            if (c == 0) c = ' ';
    }
    if (text.size() < kTextSize) {
        std::mt19937 rng(1998);
        std::string gb;
        while (gb.size() < kTextSize) {
            uint32_t lead = 0xB0 + rng() % (0xD7 - 0xB0), trail = 0xA1 + rng() % 94;
            gb += static_cast<char>(lead);
            gb += static_cast<char>(trail);
            if (rng() % 16 == 0) gb += "\xA3\xAC"; /* ， */
        }
        text = Iconv(gb, "UTF-8", "GB18030");
    }
    size_t cut = kTextSize;
    while (cut > 0 && (static_cast<unsigned char>(text[cut]) & 0xC0) == 0x80) --cut;
    text.resize(cut);
    return text;
}

const std::string &Utf8Text() {
    static const std::string text = MakeUtf8Text();
    return text;
}

const std::string &GbText() {
    static const std::string text = Iconv(Utf8Text(), "GB18030", "UTF-8");
    return text;
}

void RunStream(benchmark::State &state, const std::string &src, uint32_t from, uint32_t to) {
    std::vector<char> out(src.size() * 2 + 16);
    for (auto _ : state) {
        int64_t n = _T_ConvertStream(src.c_str(), from, out.data(), to, static_cast<int64_t>(out.size()), 0);
        if (n < 0) {
            state.SkipWithError("conversion failed");
            break;
        }
        benchmark::DoNotOptimize(n);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(src.size()));
}

void RunIconv(benchmark::State &state, const std::string &src, const char *from, const char *to) {
    iconv_t cd = iconv_open(to, from);
    std::vector<char> out(src.size() * 2 + 16);
    for (auto _ : state) {
        iconv(cd, nullptr, nullptr, nullptr, nullptr);
        char *in = const_cast<char *>(src.data()), *dst = out.data();
        size_t inLeft = src.size(), outLeft = out.size();
        if (iconv(cd, &in, &inLeft, &dst, &outLeft) == static_cast<size_t>(-1)) {
            state.SkipWithError("iconv failed");
            break;
        }
        benchmark::DoNotOptimize(dst);
    }
    iconv_close(cd);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(src.size()));
}

void BM_StreamUtf8ToGb18030(benchmark::State &state) { RunStream(state, Utf8Text(), T_CHARSET_UTF8, T_CHARSET_GB18030); }
void BM_StreamGb18030ToUtf8(benchmark::State &state) { RunStream(state, GbText(), T_CHARSET_GB18030, T_CHARSET_UTF8); }
void BM_IconvUtf8ToGb18030(benchmark::State &state) { RunIconv(state, Utf8Text(), "UTF-8", "GB18030"); }
void BM_IconvGb18030ToUtf8(benchmark::State &state) { RunIconv(state, GbText(), "GB18030", "UTF-8"); }

BENCHMARK(BM_StreamUtf8ToGb18030)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_IconvUtf8ToGb18030)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_StreamGb18030ToUtf8)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_IconvGb18030ToUtf8)->Unit(benchmark::kMillisecond);

}  // namespace
