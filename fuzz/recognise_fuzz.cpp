// Runs the person, place and organisation recognisers on word arrays, spans
// and role maps built from the input: any best tags (end marks, tags beyond
// the map, tags without text), any run start, arrays that end early (each
// allocated to its exact length, so a read past the end record is caught),
// dots, brackets, numbers and over-long words, with and without a graph.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "common/gbtext.h"
#include "tagging/Span.h"
#include "vsglex/engine.h"

namespace {

class Reader {
public:
    Reader(const uint8_t *data, size_t size) : data_(data), size_(size) {}
    uint8_t Byte() { return pos_ < size_ ? data_[pos_++] : 0; }

private:
    const uint8_t *data_;
    size_t size_;
    size_t pos_ = 0;
};

const std::string kLong60(60, '\xb0');
const std::string kLong127(127, '\xc1');
const std::vector<std::string> kWords = {
    vsg::kMiddleDot, "\xa3\xa8", "\xa3\xa9", "(", ")", "\xd6\xd0", "\xcb\xf9", "\xb6\xd4",
    "\xd5\xc5", "\xc8\xfd", "\xbe\xa9", "\xca\xd0", "\xb3\xa7", "\xa3\xb1\xa3\xb0\xa3\xb1",
    "502", "\xa1\xc1\xa1\xc1", "\xd6\xd0\xb9\xfa", "\xd2\xf8\xd0\xd0", kLong60, kLong127,
    vsg::kStartWord, vsg::kEndWord, "a",
};

const DictSRow kRows[][2] = {
    {{3, 5, 2.0f, 1}, {3, 2, 2.0f, 1}},
    {{3, 2, 1.5f, 1}, {0, 7, 1.0f, 1}},
    {{3, 5, 1.0f, 1}, {3, 3, 0.5f, 1}},
};

struct Maps {
    std::vector<std::string> lines;
    std::vector<char *> ptrs;
    POSmap map{};
    explicit Maps(const std::string &letters) {
        for (char c : letters) lines.emplace_back(1, c);
        lines.emplace_back("");            // a slot without text
        lines.emplace_back("\xd6\xd0");    // a letter byte of 128 or more
        lines.emplace_back(300, 'L');      // longer than any file line
        for (auto &l : lines) ptrs.push_back(&l[0]);
        map.tags = ptrs.data();
        map.count = static_cast<int32_t>(ptrs.size());
    }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static Maps person("ABCDEFGHIJKLMNOPQRSTUVWZz");
    static Maps place("ABCDEFGHIJKLMNOPQRSzZ");
    static Maps org("ABCEJDT14FGHIKXzZ");
    static DictSEntry entries[3] = {};
    static SegmentEngine engine = [] {
        SegmentEngine e{};
        const char *words[3] = {vsg::kPersonClass, vsg::kPlaceClass, vsg::kOrgClass};
        for (int i = 0; i < 3; ++i) {
            entries[i].word = const_cast<char *>(words[i]);
            entries[i].posCount = 1;
            entries[i].posList = const_cast<DictSRow *>(kRows[i]);
        }
        e.core.entries = entries;
        e.core.count = 3;
        e.core.personIndex = 0;
        e.core.placeIndex = 1;
        e.core.orgIndex = 7;  // outside the table: no rows are copied
        e.tagModels[VSG_TAG_PERSON].map = person.map;
        e.tagModels[VSG_TAG_PLACE].map = place.map;
        e.tagModels[VSG_TAG_ORG].map = org.map;
        return e;
    }();

    Reader in(data, size);
    const int32_t start = in.Byte() % VSG_SPAN_WORDS;
    const size_t live = in.Byte() % (VSG_SPAN_WORDS + 1);
    const uint8_t which = in.Byte();

    // Exactly live + 1 records (none past the end record when live < 200).
    const size_t records = live < VSG_SPAN_WORDS ? live + 1 : VSG_SPAN_WORDS;
    auto *results = static_cast<SpanWord *>(std::calloc(records, sizeof(SpanWord)));
    if (results == nullptr) return 0;
    for (size_t r = 0; r < live; ++r) {
        const std::string &w = kWords[in.Byte() % kWords.size()];
        std::memcpy(results[r].text, w.data(), w.size());
        const uint8_t rows = in.Byte() % 4;
        if (rows < 3) {
            results[r].posList = kRows[rows];
            results[r].posCount = 2;
        }
    }

    auto span = std::make_unique<CSpan>();
    for (int k = 1; k < kSpanSlots; ++k) {
        span->bestTag[k] = in.Byte();
        const std::string &w = kWords[in.Byte() % kWords.size()];
        vsg::tagging::SetSlotWord(span.get(), static_cast<uint32_t>(k), w.data(), w.size());
        span->offset[k] = static_cast<int32_t>(in.Byte()) * 300;
    }

    std::unique_ptr<WordGraph> graph;
    if (which & 4) {
        graph = std::make_unique<WordGraph>();
        for (size_t r = 0; r < live && r < 150; ++r) InsertVex(graph.get(), results[r]);
    }
    switch (which & 3) {
        case 0: CSpan_PersonRecognize(span.get(), results, &engine, start, graph.get()); break;
        case 1: CSpan_PlaceRecognize(span.get(), results, &engine, start, graph.get()); break;
        default: CSpan_OrgRecognize(span.get(), results, &engine, start, graph.get()); break;
    }

    for (size_t r = 0; r < live; ++r) {
        if (strnlen(results[r].text, sizeof results[r].text) == sizeof results[r].text ||
            strnlen(results[r].classText, sizeof results[r].classText) ==
                sizeof results[r].classText) {
            std::abort();  // a recogniser left a text unterminated
        }
    }
    if (graph) {
        std::vector<SpanWord> path(static_cast<size_t>(graph->vertexCount) + 1);
        ShortestPath_DIJ(graph.get(), 0, graph->vertexCount - 1, path.data());
        DestroyGraph(graph.get());
    }
    std::free(results);
    return 0;
}
