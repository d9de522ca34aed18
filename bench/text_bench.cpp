// Throughput of the text utilities on generated GB2312 text: sentence
// splitting of a long text and the per-word number and foreign tests.
#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "vsglex/utility.h"

namespace {

// About `bytes` bytes of GB2312 text: Chinese characters (B0A1 upward),
// ASCII words and digits, a full stop every 40 characters and a line break
// every 400.
std::string MakeText(size_t bytes) {
    std::string text;
    unsigned code = 0;
    for (size_t i = 0; text.size() < bytes; ++i) {
        if (i % 400 == 399) text += "\r\n";
        else if (i % 40 == 39) text += "\xa1\xa3";  // 。
        else if (i % 17 == 0) text += "abc 12.5 ";
        else {
            text += static_cast<char>(0xB0 + (code / 94) % 40);
            text += static_cast<char>(0xA1 + code % 94);
            ++code;
        }
    }
    return text;
}

void BM_GetSens(benchmark::State &state) {
    const std::string text = MakeText(static_cast<size_t>(state.range(0)));
    for (auto _ : state) {
        SentenceList *list = TEXT_GetSens(text.c_str());
        benchmark::DoNotOptimize(list->count);
        TEXT_SensResultFree(list);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(text.size()));
}
BENCHMARK(BM_GetSens)->Arg(1 << 16)->Arg(1 << 20);

// Words as the recognisers see them: numbers, years, names and plain words.
const std::vector<std::string> &Words() {
    static const std::vector<std::string> words = {
        "12", "3.14", "\xa3\xb1\xa3\xb2\xa3\xae\xa3\xb5" /* １２．５ */, "3\xc7\xa7\xcd\xf2" /* 3千万 */,
        "\xd2\xbb\xbe\xc5\xbe\xc5\xb0\xcb" /* 一九九八 */, "\xbc\xd7\xd7\xd3" /* 甲子 */,
        "\xd2\xc1\xcd\xf2\xc5\xb5\xb7\xf2" /* 伊万诺夫 */, "\xcc\xd9\xcc\xef" /* 藤田 */,
        "\xd6\xd0\xb9\xfa" /* 中国 */, "\xb1\xb1\xbe\xa9\xca\xd0" /* 北京市 */,
    };
    return words;
}

void BM_NumberTests(benchmark::State &state) {
    for (auto _ : state)
        for (const auto &w : Words()) {
            benchmark::DoNotOptimize(IsAllNum(w.c_str()));
            benchmark::DoNotOptimize(IsYearTime(w.c_str()));
        }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * Words().size()));
}
BENCHMARK(BM_NumberTests);

void BM_ForeignType(benchmark::State &state) {
    for (auto _ : state)
        for (const auto &w : Words()) benchmark::DoNotOptimize(GetForeignType(w.c_str()));
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * Words().size()));
}
BENCHMARK(BM_ForeignType);

}  // namespace
