// Loads arbitrary bytes as a binary core dictionary; a successful load must
// give a table whose runs, words and rows can all be read.
//
// Every valid file ends in a bucket table of DICTS_BUCKETS entries (1.2 MB,
// over the fuzzer's input limit) that is almost all empty buckets (-1, 0), so
// the input holds it in short form: byte 0 is a patch count k; k patches of
// 12 bytes follow (bucket number, first entry, entry count: 32-bit
// little-endian each); the rest is the file up to its bucket table. The file
// loaded is that prefix followed by a table of empty buckets with the
// patches applied. k = 255 loads the
// rest of the input as it is, without a table. The seed is a dictionary
// written by DictionaryS_SaveBinary and put in this form (its non-empty
// buckets as patches).
#include <cstdint>
#include <cstring>
#include <vector>

#include "model_fuzz_file.h"
#include "vsglex/model.h"

namespace {

constexpr size_t kPatchBytes = 12;
constexpr size_t kTableBytes = sizeof(int32_t) * 2 * DICTS_BUCKETS;

uint32_t Le32(const uint8_t *p) {
    return static_cast<uint32_t>(p[0]) | static_cast<uint32_t>(p[1]) << 8 |
           static_cast<uint32_t>(p[2]) << 16 | static_cast<uint32_t>(p[3]) << 24;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const std::string &path = vsgfuzz::TempPath("coredict.dct");
    if (size == 0) return 0;
    const size_t patches = data[0];
    if (patches == 255) {
        vsgfuzz::WriteInput(path, data + 1, size - 1);
    } else {
        if (size < 1 + patches * kPatchBytes) return 0;
        const uint8_t *prefix = data + 1 + patches * kPatchBytes;
        const size_t prefixSize = size - 1 - patches * kPatchBytes;
        static std::vector<uint8_t> file;
        file.assign(prefix, prefix + prefixSize);
        file.resize(prefixSize + kTableBytes, 0);
        for (size_t at = prefixSize; at < file.size(); at += 8) std::memset(&file[at], 0xff, 4);
        for (size_t i = 0; i < patches; ++i) {
            const uint8_t *patch = data + 1 + i * kPatchBytes;
            const size_t at = prefixSize + 8 * (Le32(patch) % DICTS_BUCKETS);
            std::memcpy(&file[at], patch + 4, 8);
        }
        vsgfuzz::WriteInput(path, file.data(), file.size());
    }
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
