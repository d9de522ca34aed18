// Feeds arbitrary host item lists to the lexical phrase interface over the
// small engine model set, in every character set, with groups, position
// breaks, blank items and raw bytes. The interface may tag, regroup and
// drop items, but never grow the list, reorder it, change an item's text or
// position, or keep an item it was not given.
//
// Input bytes: byte 0 picks the charset (low 3 bits) and byte 1 the limit
// (as a signed byte; 0 makes the call do nothing); then each byte is one
// item: the low 5 bits pick a word of the vocabulary, a blank text (30) or
// a raw text taken from the following bytes (31); bit 5 puts the item in the group of
// the previous one (or opens a group); bits 6-7 both set break the positions.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <sys/stat.h>
#include <unistd.h>

#include "engine_models.h"
#include "vsglex/charset.h"
#include "vsglex/engine.h"
#include "vsglex/lexical.h"
#include "vsglex/memext.h"

namespace {

constexpr int kCharsets = 4;  // vocabularies for sets 0 (as GB), 1, 2 and 3
static_assert(vsgfuzz::kVocabularySize <= 30, "one index each for blank and raw texts");

// The vocabulary in each character set, converted by the library itself.
struct Vocabulary {
    std::string words[kCharsets][vsgfuzz::kVocabularySize];
};

const Vocabulary &Words() {
    static const Vocabulary vocabulary = [] {
        Vocabulary v;
        for (int w = 0; w < vsgfuzz::kVocabularySize; ++w) {
            const char *gb = vsgfuzz::kVocabulary[w];
            v.words[0][w] = gb;
            v.words[1][w] = gb;
            for (uint32_t set = 2; set <= 3; ++set) {
                char out[64] = {};
                if (_T_TranslateText(gb, 1, out, set, 0, sizeof out) <= 0) out[0] = '\0';
                v.words[set][w] = out;
            }
        }
        return v;
    }();
    return vocabulary;
}

T_MemPool *Start() {
    static T_MemPool *pool = [] {
        char dir[] = "/tmp/vsglex-phrase-fuzz-XXXXXX";
        if (mkdtemp(dir) == nullptr) abort();
        const std::string vsg = std::string(dir) + "/vsg";
        if (mkdir(vsg.c_str(), 0700) != 0) abort();
        vsgfuzz::WriteEngineModels(vsg + "/");
        QPNLexicalStart(dir);
        if (g_bTag != 1) abort();
        vsgfuzz::RemoveEngineModels(vsg + "/");
        rmdir(vsg.c_str());
        rmdir(dir);
        return _T_MemPoolBuild(1, 64 * 1024, 0, nullptr, nullptr, 0);
    }();
    return pool;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    T_MemPool *pool = Start();
    if (pool == nullptr) abort();
    const Vocabulary &vocabulary = Words();
    if (size < 2) return 0;
    static const int32_t kSets[8] = {1, 2, 3, 1, 2, 3, 0, 7};
    const int32_t charset = kSets[data[0] & 7];
    const int32_t limit = static_cast<int8_t>(data[1]);
    const int words = charset >= 1 && charset <= 3 ? charset : 0;

    std::vector<WordItem> items;
    uint32_t group = 0;
    uint32_t lastGroup = 0;
    uint32_t position = 1;
    for (size_t i = 2; i < size && items.size() < 2000; ++i) {
        WordItem w{};
        const uint8_t b = data[i];
        const int pick = b & 0x1f;
        if (pick < vsgfuzz::kVocabularySize) {
            snprintf(w.text, sizeof w.text, "%s", vocabulary.words[words][pick].c_str());
        } else if (pick == vsgfuzz::kVocabularySize) {
            if (b & 0x40) std::strcpy(w.text, " \t");  // else empty
        } else {
            // A raw text of up to 80 bytes from the input.
            const size_t n = (i + 1 < size) ? data[i + 1] % 81 : 0;
            size_t k = 0;
            for (size_t j = i + 2; j < size && k < n; ++j) w.text[k++] = static_cast<char>(data[j]);
            i += 1 + k;
        }
        if (b & 0x20) {
            if (lastGroup == 0) lastGroup = ++group;
        } else {
            lastGroup = 0;
        }
        position += (b & 0xc0) == 0xc0 ? 3 : 1;
        w.group = (lastGroup << 16) | (position & 0xffff);
        w.id = static_cast<uint32_t>(items.size());
        w.tag = 200;
        items.push_back(w);
    }
    const std::vector<WordItem> given = items;

    LexicalRequest request{0, limit, 1, charset, pool};
    WordList list{static_cast<int32_t>(items.size()), items.data()};
    if (QPNLexicalPhrase(&request, &list) != 1) abort();
    if (list.items != items.data() || list.count < 0 || list.count > static_cast<int32_t>(given.size()))
        abort();
    if (limit >= 0 && list.count != static_cast<int32_t>(given.size())) abort();
    int64_t previous = -1;
    for (int32_t i = 0; i < list.count; ++i) {
        const WordItem &w = items[static_cast<size_t>(i)];
        if (w.id >= given.size() || static_cast<int64_t>(w.id) <= previous) abort();
        previous = w.id;
        const WordItem &before = given[w.id];
        if (std::memcmp(w.text, before.text, sizeof w.text) != 0) abort();
        if ((w.group & 0xffff) != (before.group & 0xffff)) abort();
    }
    _T_MemPoolReset(pool, 1);
    return 0;
}
