// Loads arbitrary bytes as a text core dictionary (under a name containing
// coredict.dct, so the class-word positions are recorded too).
#include <cstring>

#include "model_fuzz_file.h"
#include "vsglex/model.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const std::string &path = vsgfuzz::TempPath("coredict.dct");
    vsgfuzz::WriteInput(path, data, size);
    DictionaryS dict{};
    if (DictionaryS_Load(path.c_str(), &dict) == 1) {
        for (int32_t i = 0; i < dict.count; ++i) {
            const DictSEntry &e = dict.entries[i];
            // Every word is found at a position holding the same word.
            const int32_t pos = DictionaryS_GetCoreInfo(e.word, &dict);
            vsgfuzz::Require(pos >= 0 && std::strcmp(dict.entries[pos].word, e.word) == 0);
            vsgfuzz::Require(e.posCount >= 1 && e.length == static_cast<int32_t>(std::strlen(e.word)));
            for (int32_t r = 0; r <= e.posCount; ++r) vsgfuzz::gSink = vsgfuzz::gSink + e.posList[r].subCode;
            if (i > 0) vsgfuzz::Require(dict.entries[i - 1].hash <= e.hash);
        }
        if (gTaIndexNum >= 0 && gTaIndexNum < dict.count)
            vsgfuzz::Require(dict.entries[gTaIndexNum].word != nullptr);
    }
    gTaIndexNum = 4468;
    DictionaryS_Free(&dict);
    return 0;
}
