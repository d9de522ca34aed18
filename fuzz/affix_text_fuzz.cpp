// Loads arbitrary bytes as a text affix dictionary (the form the engine
// reads for its name prefixes and place and organisation suffixes); a
// successful load must find each of its words, serve the transition
// functions, and survive a binary save and reload unchanged.
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>

#include "model_fuzz_file.h"
#include "vsglex/model.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const std::string &path = vsgfuzz::TempPath("name_pre.dct");
    vsgfuzz::WriteInput(path, data, size);
    Dictionary pair[2] = {};
    if (Dictionary_Load(path.c_str(), &pair[0]) == 1) {
        vsgfuzz::Require(pair[0].count >= 0);
        for (int32_t i = 0; i < pair[0].count; ++i) {
            const char *word = pair[0].entries[i].word;
            vsgfuzz::Require(word != nullptr);
            // Equal words may repeat; the look-up answers with the value of
            // one of them, so "not found" (-1) is right only when one of
            // them holds -1 itself.
            const double value = Dictionary_GetValue(word, &pair[0]);
            bool someEqualHoldsMinusOne = false;
            for (int32_t k = 0; k < pair[0].count && !someEqualHoldsMinusOne; ++k)
                someEqualHoldsMinusOne = pair[0].entries[k].value == -1.0 && pair[0].entries[k].word != nullptr &&
                                         std::strcmp(pair[0].entries[k].word, word) == 0;
            vsgfuzz::Require(value != -1.0 || someEqualHoldsMinusOne);
            if (i < 16) vsgfuzz::gSink = vsgfuzz::gSink + (GetTransitionProb0(word, word, pair) > 0.0);
        }
        SpanWord x{};
        SpanWord y{};
        std::memset(x.text, 'a', sizeof x.text - 1);
        std::memset(y.classText, 'b', sizeof y.classText - 1);
        vsgfuzz::gSink = vsgfuzz::gSink + (GetTransitionProb1(&x, &y, pair) > 0.0);

        const std::string copy = path + ".bin";
        vsgfuzz::Require(Dictionary_SaveBinary(copy.c_str(), &pair[0]) == 1);
        vsgfuzz::Require(Dictionary_LoadBinary(copy.c_str(), &pair[1]) == 1);
        std::remove(copy.c_str());
        vsgfuzz::Require(pair[1].count == pair[0].count);
        for (int32_t i = 0; i < pair[0].count; ++i)
            vsgfuzz::Require(std::strcmp(pair[0].entries[i].word, pair[1].entries[i].word) == 0);
    }
    Dictionary_Free(&pair[0]);
    Dictionary_Free(&pair[0]);
    Dictionary_Free(&pair[1]);
    return 0;
}
