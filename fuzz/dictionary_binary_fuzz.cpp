// Loads arbitrary bytes as a binary affix dictionary; a successful load
// must look its own keys up, serve the transition functions, and survive a
// save and reload unchanged.
#include <cstring>

#include "model_fuzz_file.h"
#include "vsglex/model.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const std::string &path = vsgfuzz::TempPath("affix.bin");
    Dictionary pair[2] = {};
    vsgfuzz::WriteInput(path, data, size);
    if (Dictionary_LoadBinary(path.c_str(), &pair[0]) == 1) {
        for (int32_t i = 0; i < pair[0].count && i < 16; ++i) {
            const char *word = pair[0].entries[i].word;
            vsgfuzz::Require(word != nullptr);
            Dictionary_GetValue(word, &pair[0]);
            GetTransitionProb0(word, word, pair);
        }
        SpanWord x{};
        SpanWord y{};
        std::memset(x.text, 'a', sizeof x.text);
        std::memset(y.classText, 'b', sizeof y.classText);
        GetTransitionProb1(&x, &y, pair);

        const std::string copy = path + ".copy";
        vsgfuzz::Require(Dictionary_SaveBinary(copy.c_str(), &pair[0]) == 1);
        vsgfuzz::Require(Dictionary_LoadBinary(copy.c_str(), &pair[1]) == 1);
        std::remove(copy.c_str());
        vsgfuzz::Require(pair[1].count == pair[0].count);
        for (int32_t i = 0; i < pair[0].count; ++i)
            vsgfuzz::Require(std::strcmp(pair[0].entries[i].word, pair[1].entries[i].word) == 0);
    }
    Dictionary_Free(&pair[0]);
    Dictionary_Free(&pair[1]);
    return 0;
}
