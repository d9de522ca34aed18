// The small model set of the engine fuzz targets: every single-character
// word of a fixed vocabulary can take many roles of every role set, so that
// the taggers and recognisers see varied role sequences.
#ifndef VSGLEX_FUZZ_ENGINE_MODELS_H
#define VSGLEX_FUZZ_ENGINE_MODELS_H

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "common/model_files.h"

namespace vsgfuzz {

// Vocabulary (GB2312): class words, boundary words, single characters and a
// few longer words.
inline const char *const kVocabulary[] = {
    "\xca\xbc##\xca\xbc" /* 始##始 */, "\xc4\xa9##\xc4\xa9" /* 末##末 */,
    "\xd5\xc5" /* 张 */,   "\xce\xb0" /* 伟 */,   "\xcd\xf5" /* 王 */,   "\xd0\xa1" /* 小 */,
    "\xc3\xf7" /* 明 */,   "\xbb\xc6" /* 黄 */,   "\xd1\xd2" /* 岩 */,   "\xb4\xe5" /* 村 */,
    "\xbb\xaa" /* 华 */,   "\xd0\xc7" /* 星 */,   "\xcb\xb5" /* 说 */,   "\xd4\xda" /* 在 */,
    "\xa3\xac" /* ， */,   "\xa1\xa3" /* 。 */,   "\xa1\xa4" /* · */,   "\xa1\xc1" /* × */,
    "\xa3\xa8" /* （ */,   "\xa3\xa9" /* ） */,   "\xd6\xd0" /* 中 */,   "\xcb\xf9" /* 所 */,
    "\xb9\xab\xcb\xbe" /* 公司 */, "\xb1\xb1\xbe\xa9" /* 北京 */, "\xc2\xb3\xd1\xb8" /* 鲁迅 */,
    "\xc8\xfd" /* 三 */,   "\xc8\xfd\xca\xae" /* 三十 */, "\xd0\xc2\xbb\xaa\xc9\xe7" /* 新华社 */,
    "(", "7",
};
inline constexpr int kVocabularySize = sizeof kVocabulary / sizeof kVocabulary[0];
static_assert(kVocabularySize <= 31, "one index is kept for raw texts");

inline void Put(const std::string &path, const std::string &bytes) {
    FILE *f = fopen(path.c_str(), "wb");
    if (f == nullptr) abort();
    fwrite(bytes.data(), 1, bytes.size(), f);
    fclose(f);
}

inline void PutLe32(std::string &out, uint32_t v) {
    for (int i = 0; i < 4; ++i) out.push_back(static_cast<char>((v >> (8 * i)) & 0xff));
}

// A versioned context file in which every tag follows every other tag with
// a count that varies with the pair.
inline std::string Context(int tags) {
    std::string out;
    PutLe32(out, 4);
    PutLe32(out, static_cast<uint32_t>(tags));
    PutLe32(out, static_cast<uint32_t>(tags * 100));
    for (int i = 0; i < tags; ++i) PutLe32(out, 100);
    for (int i = 0; i < tags; ++i)
        for (int j = 0; j < tags; ++j) PutLe32(out, static_cast<uint32_t>(1 + (i * 7 + j * 13) % 19));
    return out;
}

inline std::string Letters(const char *letters) {
    std::string out;
    for (const char *p = letters; *p != '\0'; ++p) {
        out += *p;
        out += '\n';
    }
    return out;
}

inline std::string CoreDictionary() {
    std::string out;
    const char *const classes[] = {"\xce\xb4##\xc8\xcb" /* 未##人 */, "\xce\xb4##\xb5\xd8" /* 未##地 */,
                                   "\xce\xb4##\xcd\xc5" /* 未##团 */, "\xce\xb4##\xcb\xfc" /* 未##它 */};
    for (const char *c : classes) out += std::string(c) + " 2 0 0 0 0\n0 16 5\n0 24 3\n";
    char line[128];
    for (int w = 0; w < kVocabularySize; ++w) {
        // Words of several roles per set; class-assignment rows on some.
        snprintf(line, sizeof line, "%s 9 0 %d %d %d\n", kVocabulary[w], w % 3, (w + 1) % 3, w % 2);
        out += line;
        snprintf(line, sizeof line, "0 %d 4\n0 %d 2.5\n", (w * 5) % 95, w % 3 == 0 ? 24 : 29);
        out += line;
        for (int code = 1; code <= 3; ++code) {
            snprintf(line, sizeof line, "%d %d 3\n%d %d 2\n", code, (w + code) % 19, code,
                     (w * 3 + code) % 23);
            out += line;
        }
        snprintf(line, sizeof line, "3 5 %d\n", w % 4);
        out += line;
    }
    return out;
}

inline void WriteEngineModels(const std::string &base) {
    Put(base + "coredict.dct", CoreDictionary());
    Put(base + "lexical.ctx", Context(95));
    Put(base + "nr.ctx", Context(23));
    Put(base + "ns.ctx", Context(19));
    Put(base + "nt.ctx", Context(16));
    std::string pos;
    for (int t = 0; t < 95; ++t) pos += "t" + std::to_string(t) + "\n";
    Put(base + "zyrpos30.map", pos);
    Put(base + "nr.map", Letters("ABCDEFGHIJKLMNOPQRSTUVW"));
    Put(base + "ns.map", Letters("zBCDEFGHIJKLMNOPQRS"));
    Put(base + "nt.map", Letters("ABCEFDGHIJKLMT14Z"));
    Put(base + "name_pre.dct", "\xd0\xa1 1.0\n");
    Put(base + "loc_suffix.dct", "\xb4\xe5 1.0\n\xd1\xd2 1.0\n");
    Put(base + "org_suffix.dct", "\xb9\xab\xcb\xbe 1.0\n");
}

// Removes what WriteEngineModels wrote.
inline void RemoveEngineModels(const std::string &base) {
    for (const vsg::ModelFileSpec &f : vsg::kModelFiles) std::remove((base + f.name).c_str());
}

}  // namespace vsgfuzz

#endif  // VSGLEX_FUZZ_ENGINE_MODELS_H
