// Lexical phrase interface: converts a host's items to GB text, runs the
// pipeline in person mode, copies tags back, regroups merged items and
// filters function words.
#include "common/tagset.h"
#include "common/utf8.h"
#include "vsglex/lexical.h"

#include <algorithm>
#include <cstring>
#include <utility>
#include <vector>

#include "engine/blank_items.h"
#include "vsglex/charset.h"
#include "vsglex/engine.h"
#include "vsglex/memext.h"
#include "vsglex/strsvc.h"

namespace {

// The engine instance obtained at start.
SegmentEngine *QPNHandle = nullptr;

constexpr int kGb = 1;
constexpr int kUtf8 = 3;
constexpr size_t kTextMax = sizeof(WordItem::text) - 1;  // 80 bytes

uint32_t GroupNumber(const WordItem &item) { return item.group >> 16; }
uint32_t Position(const WordItem &item) { return item.group & 0xFFFFu; }

// Number of characters of a host item, by the lead-byte rule of its set.
int32_t CharacterCount(const char *text, int32_t charset) {
    const auto lead = static_cast<unsigned char>(text[0]);
    bool single;
    if (charset == 1 || charset == 2)
        single = lead < 129 || lead == 255;
    else if (charset == kUtf8)
        single = vsg::Utf8SequenceLength(lead) < 2;
    else
        single = true;
    if (single) return 1;
    const auto set = static_cast<uint32_t>(charset);
    if (_T_IsAlphabet(text, set) || _T_IsDigital(text, set)) return 1;
    return _T_NumerateStr(text, -1, 2, set);
}

// Appends `tail` to the record text, stopping at the field's 80 bytes.
void AppendBounded(char *text, const char *tail) {
    const size_t used = ::strnlen(text, kTextMax);
    const size_t room = kTextMax - used;
    const size_t n = std::min(room, ::strnlen(tail, kTextMax));
    std::memcpy(text + used, tail, n);
    text[used + n] = '\0';
}

// Copies a NUL-terminated text into an item's text field, cut at 80 bytes.
void SetText(char *text, const char *from) {
    const size_t n = ::strnlen(from, kTextMax);
    std::memcpy(text, from, n);
    text[n] = '\0';
}


// Tag ids of the output, sorted by id with the first output index of each,
// to find "the first output record with the same id" in logarithmic time.
class IdIndex {
public:
    explicit IdIndex(const WordList &out) {
        pairs_.reserve(static_cast<size_t>(out.count));
        for (int32_t j = 0; j < out.count; ++j) pairs_.emplace_back(out.items[j].id, j);
        std::stable_sort(pairs_.begin(), pairs_.end(),
                         [](const auto &a, const auto &b) { return a.first < b.first; });
    }
    // Index of the first output record with `id`, or -1.
    int32_t Find(uint32_t id) const {
        auto it = std::lower_bound(pairs_.begin(), pairs_.end(), id,
                                   [](const auto &p, uint32_t v) { return p.first < v; });
        return (it != pairs_.end() && it->first == id) ? it->second : -1;
    }

private:
    std::vector<std::pair<uint32_t, int32_t>> pairs_;
};

// Step 5: where output words absorbed several work records, write the merged
// text into the first and empty the rest up to the next output word's record.
void MarkMerges(const WordList &out, WordItem *work, int32_t workCount) {
    int32_t cursor = 0;
    for (int32_t j = 0; j < out.count; ++j) {
        int32_t next = workCount;
        if (j + 1 < out.count) {
            for (int32_t k = cursor; k < workCount; ++k)
                if (work[k].id == out.items[j + 1].id) {
                    next = k;
                    break;
                }
        }
        int32_t match = -1;
        for (int32_t k = cursor; k < next; ++k)
            if (work[k].id == out.items[j].id) match = k;
        if (match < 0) continue;
        if (next - match > 1) {
            SetText(work[match].text, out.items[j].text);
            for (int32_t k = match + 1; k < next; ++k) work[k].text[0] = '\0';
        }
        cursor = match + 1;
    }
}

// Where the items of one work record begin among the host items, and how
// many there are. The record's `group` carries the same two numbers in 16
// bits each as the engine's input; these are exact for any item count.
struct Origin {
    uint32_t first;
    uint32_t items;
};

// Step 6: every run longer than one item gets a fresh group number above the
// host's largest; the items keep their positions in the low half. A run of
// `length` counts that many host items from its first one, not counting
// blank items (which were not sent to the engine) but grouping those that
// stand inside the run.
void Regroup(const WordItem *work, const Origin *origins, int32_t workCount, uint32_t maxGroup,
             const uint8_t *blank, WordItem *items, int32_t count) {
    uint32_t group = maxGroup;
    for (int32_t k = 0; k < workCount;) {
        if (work[k].text[0] == '\0') {
            ++k;
            continue;
        }
        int32_t run = 1;
        while (k + run < workCount && work[k + run].text[0] == '\0') ++run;
        const uint32_t length = run == 1 ? origins[k].items : static_cast<uint32_t>(run);
        if (length > 1) {
            ++group;
            uint32_t counted = 0;
            for (uint32_t m = origins[k].first; m < static_cast<uint32_t>(count) && counted < length; ++m) {
                if (!blank[m]) ++counted;
                WordItem &item = items[m];
                item.group = (group << 16) | Position(item);
            }
        }
        k += run;
    }
}

// Step 7: drops punctuation and function words that are not grouped; kept
// items are packed to the front with `sentence` and `tag` cleared.
void Filter(WordItem *items, WordItem *copy, int32_t count, WordList *list) {
    std::memcpy(copy, items, sizeof(WordItem) * static_cast<size_t>(count));
    auto wide = [](const WordItem &item) { return item.sentence > 1 || GroupNumber(item) != 0; };
    int32_t kept = 0;
    for (int32_t i = 0; i < count; ++i) {
        const WordItem &item = copy[i];
        bool drop = false;
        if (GroupNumber(item) == 0 && item.tag >= 9 && item.tag <= 94) {
            if (vsg::IsFunctionWordTag(item.tag)) {
                drop = item.sentence > 1 ||
                       (i > 0 && i < count - 1 && wide(copy[i - 1]) && wide(copy[i + 1]));
            } else {
                drop = item.tag >= 78 && item.tag <= 92;
            }
        }
        if (drop) continue;
        items[kept] = item;
        items[kept].sentence = 0;
        items[kept].tag = 0;
        ++kept;
    }
    list->count = kept;
}

}  // namespace

extern "C" {

int32_t QPNLexicalStart(const char *directory) {
    if (QPNHandle != nullptr) return 1;
    char path[256];
    const char *dir = directory != nullptr ? directory : "";
    const size_t n = std::strlen(dir);
    // Room for the separator, "vsg" and the NUL; a longer path cannot load.
    if (n + 5 > sizeof path) return 1;
    std::memcpy(path, dir, n + 1);
    if (n == 0 || path[n - 1] != '/') _T_AppendSubdirSymbol(path);
    std::strcat(path, "vsg");
    VSG_LoadForServer(&QPNHandle, path);
    return 1;
}

int32_t QPNLexicalPhrase(const LexicalRequest *request, WordList *list) {
    if (QPNHandle == nullptr || request == nullptr || list == nullptr || list->items == nullptr)
        return 1;
    if (request->status < 0 || list->count <= 0 || (request->limit == 0 && request->size == 0))
        return 1;
    const int32_t count = list->count;
    const int32_t charset = request->charset;
    const uint64_t bytes = 3ull * static_cast<uint64_t>(count) * sizeof(WordItem);
    if (bytes > 0xFFFFFFFFull) return 1;
    auto *area = static_cast<WordItem *>(
        _T_MemPoolAllot(request->pool, static_cast<uint32_t>(bytes), 1, 1));
    if (area == nullptr) return 1;
    WordItem *items = list->items;
    WordItem *work = area;
    WordItem *copy = area + 2 * static_cast<size_t>(count);
    // The middle third holds each work record's origin and a mark on every
    // host item of a blank group (8 + 1 bytes per item, of 96).
    static_assert(sizeof(Origin) + 1 <= sizeof(WordItem), "bookkeeping fits the middle third");
    auto *origins = reinterpret_cast<Origin *>(area + count);
    auto *blank = reinterpret_cast<uint8_t *>(origins + count);

    // Grouping walk: one work record per group, numbered into sentences by
    // breaks in the positions, with the group's texts joined and converted.
    // A group with no word in it (empty or white-space text) is not sent to
    // the engine: its items stay untagged and keep their group.
    uint32_t maxGroup = 0;
    int32_t workCount = 0;
    uint16_t sentence = 0;
    int32_t phraseLength = 0;
    for (int32_t i = 0; i < count;) {
        const uint32_t number = GroupNumber(items[i]);
        int32_t end = i + 1;
        if (number != 0)
            while (end < count && GroupNumber(items[end]) == number) ++end;
        maxGroup = std::max(maxGroup, number);
        if (i > 0 && static_cast<uint16_t>(Position(items[i]) - Position(items[i - 1])) != 1)
            ++sentence;
        items[i].text[kTextMax] = '\0';
        const int32_t characters = CharacterCount(items[i].text, charset);
        items[i].sentence = static_cast<uint16_t>(characters);
        phraseLength += characters;

        WordItem &record = work[workCount];
        record = items[i];
        record.sentence = sentence;
        record.group = (static_cast<uint32_t>(i) << 16) + static_cast<uint32_t>(end - i);
        for (int32_t k = i + 1; k < end; ++k) AppendBounded(record.text, items[k].text);
        if (charset > kGb) {
            char converted[sizeof(WordItem::text)] = {};
            _T_ConvertStream(record.text, static_cast<uint32_t>(charset), converted, kGb,
                             sizeof converted, 0);
            converted[kTextMax] = '\0';
            SetText(record.text, converted);
        }
        if (vsg::IsBlankItem(record.text, sizeof record.text)) {
            for (int32_t k = i; k < end; ++k) {
                blank[k] = 1;
                items[k].tag = VSG_UNTAGGED;
            }
        } else {
            origins[workCount++] = Origin{static_cast<uint32_t>(i), static_cast<uint32_t>(end - i)};
        }
        i = end;
    }

    const WordList input{workCount, work};
    WordList output{0, nullptr};
    if (workCount > 0) VSG_SegmentForServer(&input, &output, 1, QPNHandle);

    if (output.items != nullptr && output.count <= workCount) {
        try {
            const IdIndex index(output);
            for (int32_t i = 0; i < count; ++i) {
                if (blank[i]) continue;
                const int32_t j = index.Find(items[i].id);
                if (j >= 0) items[i].tag = output.items[j].tag;
            }
        } catch (...) {
            // Out of memory for the id index: the items keep their tags.
        }
        MarkMerges(output, work, workCount);
        Regroup(work, origins, workCount, maxGroup, blank, items, count);
    }

    const int32_t threshold = request->limit / (charset == kUtf8 ? -3 : -2);
    if (threshold >= 1 && threshold < phraseLength) Filter(items, copy, count, list);

    VSG_SegmentForServerFree(&output);
    return 1;
}

void QPNLexicalClose(void) {
    if (QPNHandle != nullptr) VSG_FreeForServer(QPNHandle);
}

}  // extern "C"
