// Shared pieces of the name recognisers.
#include "tagging/Span_names.h"

#include <cstring>

#include "tagging/span_tables.h"

namespace vsg::names {

namespace {

constexpr size_t kTextField = sizeof(SpanWord{}.text);
constexpr size_t kClassField = sizeof(SpanWord{}.classText);

// An empty but valid transition table pair: every lookup misses, so the
// transition functions fall back to their default cost.
struct EmptyPair {
    DictBucket buckets[2][100];
    Dictionary pair[2];
    EmptyPair() {
        for (int t = 0; t < 2; ++t) {
            for (DictBucket &b : buckets[t]) b = DictBucket{-1, 0};
            pair[t] = Dictionary{buckets[t], nullptr, 0};
        }
    }
};

const Dictionary *TransitionPair() {
    static EmptyPair table;
    return table.pair;
}

}  // namespace

int32_t ArrayLength(const SpanWord *results) {
    if (results == nullptr) return 0;
    int32_t n = 0;
    while (n < VSG_SPAN_WORDS && results[n].text[0] != '\0') ++n;
    return n;
}

bool RoleString::HasAt(int32_t i, const char *pattern) const {
    const size_t len = std::strlen(pattern);
    return len == 0 ? i >= 0 && i <= n : HasAt(i, pattern, len);
}

void LetterTagSet(const POSmap *map, const char *letters, uint64_t (&tags)[4]) {
    // The letters as a 256-bit set, then the tags whose letter is in it.
    uint64_t letterSet[4] = {};
    for (const char *p = letters; *p != '\0'; ++p) {
        const uint8_t c = static_cast<uint8_t>(*p);
        letterSet[c >> 6] |= uint64_t{1} << (c & 63);
    }
    for (uint64_t &t : tags) t = 0;
    const char *const *texts = (map != nullptr) ? map->tags : nullptr;
    const int32_t count = (texts != nullptr) ? map->count : 0;
    for (int32_t tag = 0; tag < count && tag < 256; ++tag) {
        if (texts[tag] == nullptr) continue;
        const uint8_t c = static_cast<uint8_t>(texts[tag][0]);
        if ((letterSet[c >> 6] >> (c & 63)) & 1) tags[tag >> 6] |= uint64_t{1} << (tag & 63);
    }
}

bool AnyRoleLetter(const CSpan *span, const POSmap *map, const char *letters) {
    uint64_t own[4];
    const uint64_t *wanted = span->tables != nullptr ? span->tables->LetterTags(map, letters) : nullptr;
    if (wanted == nullptr) {
        LetterTagSet(map, letters, own);
        wanted = own;
    }
    for (int32_t i = 1; i < kSpanSlots && span->bestTag[i] != kNoTag; ++i) {
        const uint8_t tag = span->bestTag[i];
        if ((wanted[tag >> 6] >> (tag & 63)) & 1) return true;
    }
    return false;
}

void BuildRoleString(const CSpan *span, const POSmap *map, char lead, int32_t start,
                     int32_t arrayLength, RoleString *out) {
    out->letter[0] = lead;
    // Each letter is the first byte of the role text of the map's line for
    // the tag, NUL when the map has none; the map is read once.
    const char *const *texts = (map != nullptr) ? map->tags : nullptr;
    const int32_t count = (texts != nullptr) ? map->count : 0;
    int32_t i = 1;
    int32_t last = arrayLength - start + 1;  // slots whose record lies before the end record
    if (last > kSpanSlots) last = kSpanSlots;
    while (i < last && span->bestTag[i] != kNoTag) {
        const uint8_t tag = span->bestTag[i];
        const char *text = static_cast<int32_t>(tag) < count ? texts[tag] : nullptr;
        out->letter[i] = text != nullptr ? text[0] : '\0';
        ++i;
    }
    out->n = i;
    // Nothing reads past the last letter but its terminator and the padding.
    std::memset(out->letter + i, 0, sizeof out->letter - static_cast<size_t>(i) < 8 ? sizeof out->letter - static_cast<size_t>(i) : 8);
}

size_t TextLength(const char *text) { return strnlen(text, kTextField); }

void NameBuffer::Append(const char *text) {
    const size_t add = TextLength(text);
    if (overflow_ || length_ + add > kCapacity) {
        overflow_ = true;
        return;
    }
    std::memcpy(text_ + length_, text, add);
    length_ += add;
    text_[length_] = '\0';
}

void WriteNameRecord(SpanWord *record, const char *name, const NameClass &values,
                     int32_t offset, const DictionaryS *core, CoreClass coreClass) {
    if (name != nullptr) {
        const size_t len = strnlen(name, kTextField - 1);
        std::memcpy(record->text, name, len);
        record->text[len] = '\0';
    }
    std::strncpy(record->classText, values.classText, kClassField - 1);
    record->classText[kClassField - 1] = '\0';
    record->tag = static_cast<int8_t>(values.tag);
    record->frequency = values.frequency;
    record->weight = values.weight;
    record->offset = static_cast<int16_t>(offset);

    int32_t index = -1;
    if (core != nullptr) {
        switch (coreClass) {
            case CoreClass::kPerson: index = core->personIndex; break;
            case CoreClass::kPlace: index = core->placeIndex; break;
            case CoreClass::kOrganisation: index = core->orgIndex; break;
        }
    }
    if (core != nullptr && core->entries != nullptr && index >= 0 && index < core->count) {
        const DictSEntry &entry = core->entries[index];
        record->posCount = entry.posCount;
        std::memcpy(record->stats, entry.stats, sizeof record->stats);
        record->posList = entry.posList;
        vsg::tagging::ClearMark(record);  // read from the rows: names are few
    } else {
        record->posCount = 0;
        std::memset(record->stats, 0, sizeof record->stats);
        record->posList = nullptr;
        vsg::tagging::ClearMark(record);
    }
}

void MarkMerged(SpanWord *results, int32_t arrayLength, int32_t first, int32_t count) {
    for (int32_t r = first; r < first + count && r < arrayLength; ++r) {
        if (r >= 0) results[r].state = VSG_STATE_MERGED;
    }
}

void LinkIntoGraph(WordGraph *graph, const SpanWord *results, int32_t arrayLength,
                   int32_t nameRecord, int32_t nextRecord) {
    if (graph == nullptr || nameRecord < 0 || nameRecord >= arrayLength) return;
    int32_t previous = nameRecord - 1;
    while (previous >= 0 && results[previous].state == VSG_STATE_MERGED) --previous;

    const int32_t vertex = graph->vertexCount;
    const SpanWord &name = results[nameRecord];
    if (InsertVex(graph, name) != 1) return;
    const Dictionary *pair = TransitionPair();
    // Arcs join existing vertices only: an arc leaving a slot past the
    // vertex count would never be released by DestroyGraph.
    if (previous >= 0 && previous < vertex) {
        InsertArc(graph, previous, vertex, GetTransitionProb1(&results[previous], &name, pair));
    }
    if (nextRecord >= 0 && nextRecord < arrayLength && nextRecord < vertex) {
        InsertArc(graph, vertex, nextRecord, GetTransitionProb1(&name, &results[nextRecord], pair));
    }
}

}  // namespace vsg::names
