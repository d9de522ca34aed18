// Loads arbitrary bytes as a binary core dictionary; a successful load must
// give a table whose runs, words and rows can all be read.
#include <cstring>

#include "model_fuzz_file.h"
#include "vsglex/model.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const std::string &path = vsgfuzz::TempPath("coredict.dct");
    vsgfuzz::WriteInput(path, data, size);
    DictionaryS dict{};
    if (DictionaryS_LoadBinary(path.c_str(), &dict) == 1) {
        for (int32_t i = 0; i < dict.count && i < 16; ++i) {
            const DictSEntry &e = dict.entries[i];
            vsgfuzz::Require(e.word != nullptr && e.posList != nullptr);
            const int32_t pos = DictionaryS_GetCoreInfo(e.word, &dict);
            vsgfuzz::Require(pos < dict.count);
            if (pos >= 0) {
                vsgfuzz::Require(std::strcmp(dict.entries[pos].word, e.word) == 0);
                for (int32_t r = 0; r <= dict.entries[pos].posCount; ++r)
                    vsgfuzz::gSink = vsgfuzz::gSink + dict.entries[pos].posList[r].code;
            }
        }
        DictionaryS_GetCoreInfo("\xce\xb4##\xcb\xfc" /* 未##它 */, &dict);
    }
    DictionaryS_Free(&dict);
    DictionaryS_Free(&dict);
    return 0;
}
