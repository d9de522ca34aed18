// Feeds arbitrary word lists to the segmentation call over a small model set
// in which every single-character word can take many roles of every role
// set, so that the taggers and recognisers see varied role sequences.
//
// The core call over views of the same words must report the server call's
// words as runs of its input words.
//
// Input bytes: byte 0 picks the mode (its low 2 bits); then each byte is
// one item: the low 5 bits pick a word of the vocabulary (or a raw text
// taken from the following bytes), the high bits may start a new sentence.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <unistd.h>

#include "engine/core.h"
#include "engine_models.h"
#include "vsglex/engine.h"

namespace {

using vsgfuzz::kVocabulary;
using vsgfuzz::kVocabularySize;

const SegmentEngine *Engine() {
    static const SegmentEngine *engine = [] {
        char dir[] = "/tmp/vsglex-segment-fuzz-XXXXXX";
        if (mkdtemp(dir) == nullptr) abort();
        const std::string base = std::string(dir) + "/";
        vsgfuzz::WriteEngineModels(base);
        SegmentEngine *e = nullptr;
        if (VSG_LoadForServer(&e, dir) != 0) abort();
        vsgfuzz::RemoveEngineModels(base);
        rmdir(dir);
        return e;
    }();
    return engine;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const SegmentEngine *engine = Engine();
    if (size == 0) return 0;
    const int mode = data[0] & 3;
    std::vector<WordItem> items;
    uint16_t sentence = 0;
    for (size_t i = 1; i < size && items.size() < 1000; ++i) {
        WordItem w{};
        const uint8_t b = data[i];
        if ((b & 0xe0) == 0xe0) ++sentence;
        const int pick = b & 0x1f;
        if (pick < kVocabularySize) {
            snprintf(w.text, sizeof w.text, "%s", kVocabulary[pick]);
        } else {
            // A raw text of up to 80 bytes from the input.
            const size_t n = (i + 1 < size) ? data[i + 1] % 81 : 0;
            size_t k = 0;
            for (size_t j = i + 2; j < size && k < n; ++j) w.text[k++] = static_cast<char>(data[j]);
            i += 1 + k;
        }
        w.sentence = sentence;
        w.id = static_cast<uint32_t>(items.size());
        items.push_back(w);
    }
    WordList input{static_cast<int32_t>(items.size()), items.data()};
    WordList output{0, nullptr};
    VSG_SegmentForServer(&input, &output, mode, engine);
    if (output.count < 0 || output.count > input.count + 1) abort();
    for (int32_t i = 0; i < output.count; ++i)
        if (strnlen(output.items[i].text, sizeof output.items[i].text) > VSG_ITEM_TEXT_MAX) abort();
    // The same words as views (text up to the field's NUL).
    std::vector<vsg::engine::WordView> views;
    for (const WordItem &w : items)
        views.push_back({w.text, static_cast<uint32_t>(strnlen(w.text, sizeof w.text)), w.sentence});
    thread_local vsg::engine::Tagging tagged;
    if (vsg::engine::TagWords(*engine, views.data(), views.size(), mode, tagged) != 0) abort();
    if (static_cast<int32_t>(tagged.words.size()) != output.count) abort();
    uint32_t next = 0;
    for (size_t k = 0; k < tagged.words.size(); ++k) {
        const vsg::engine::TaggedWord &t = tagged.words[k];
        const WordItem &o = output.items[k];
        if (t.first != o.id || static_cast<uint8_t>(t.tag) != o.tag || t.count == 0) abort();
        // Runs follow each other, except for blank words handed back after
        // a word that spans them.
        if (t.first < next && t.textAt < 0) abort();
        if (t.first + t.count > views.size()) abort();
        next = t.first + t.count;
        std::string text;
        if (t.textAt >= 0) {
            if (static_cast<size_t>(t.textAt) + t.textLength > tagged.texts.size()) abort();
            text.assign(tagged.texts, static_cast<size_t>(t.textAt), t.textLength);
        } else {
            for (uint32_t q = t.first; q < t.first + t.count; ++q) text.append(views[q].text, views[q].length);
        }
        if (text != o.text) abort();
    }
    VSG_SegmentForServerFree(&output);
    return 0;
}
