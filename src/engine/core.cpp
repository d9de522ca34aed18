// The engine core: the per-call pipeline that cuts the input into sentence
// chunks, recognises names, assigns class words and tags every word, and
// TagWords, which reports its result as spans of input words.
#include "engine/core.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <utility>
#include <vector>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "common/class_rows.h"
#include "common/gbtext.h"
#include "common/huge_pages.h"
#include "common/tagset.h"
#include "model/model_io.h"
#include "tagging/Span.h"
#include "tagging/Span_names.h"
#include "tagging/org_rows.h"
#include "tagging/span_tables.h"
#include "vsglex/utility.h"

namespace vsg::engine {

// An index over the core dictionary's words that answers, for any word,
// exactly what DictionaryS_GetCoreInfo answers (each word's answer is asked
// once at build time), without its per-byte division and bucket scan. A
// slot (one cache line) also holds what a word record takes from that
// entry and the entry's mark in the span tables, so that a look-up waits
// on one line instead of a chain of three (slot, entry, candidates' place).
class CoreIndex {
public:
    // The answer of a look-up: the entry and what a record takes from it.
    struct Slot;
    bool Build(const DictionaryS &core, const vsg::tagging::SpanTables *marks) noexcept {
        core_ = &core;
        entries_ = core.entries;
        count_ = core.count;
        buckets_ = core.buckets;
        const size_t words = (entries_ != nullptr && count_ > 0) ? static_cast<size_t>(count_) : 0;
        size_t size = 16;
        while (size < 2 * words) size *= 2;
        try {
            slots_.assign(size, Slot{});
        } catch (const std::bad_alloc &) {
            return false;
        }
        mask_ = size - 1;
        // The words' keys first, in one pass over the entries; then the
        // inserts, each starting to load the slot and the dictionary bucket
        // of a word kPrefetch words ahead: the slots lie at random in a
        // table of megabytes, and waiting on each in turn is most of the
        // build.
        struct Key {
            uint64_t head;
            uint32_t hash;
            uint32_t length;
            uint32_t bucket;  // VSGHash of the word: its dictionary bucket
        };
        std::vector<Key> keys;
        try {
            keys.resize(words);
        } catch (const std::bad_alloc &) {
            return false;
        }
        for (size_t e = 0; e < words; ++e) {
            const char *word = entries_[e].word;
            if (word == nullptr || word[0] == '\0') continue;
            const size_t length = strlen(word);
            Key &key = keys[e];
            key.head = Head(word, length);
            key.hash = Hash(word, length, key.head);
            key.length = static_cast<uint32_t>(length);
            key.bucket = VSGHash(word, DICTS_BUCKETS);
        }
        constexpr size_t kPrefetch = 8;
        for (size_t e = 0; e < words; ++e) {
            if (e + kPrefetch < words) {
                const Key &ahead = keys[e + kPrefetch];
                __builtin_prefetch(&slots_[ahead.hash & mask_], 1);
                if (buckets_ != nullptr) __builtin_prefetch(&buckets_[ahead.bucket]);
            }
            const char *word = entries_[e].word;
            if (word == nullptr || word[0] == '\0') continue;
            const Key &key = keys[e];
            const size_t length = key.length;
            size_t at = key.hash & mask_;
            while (slots_[at].key >= 0 && !Matches(slots_[at], key.hash, key.head, word, length))
                at = (at + 1) & mask_;
            if (slots_[at].key >= 0) continue;  // a word seen before
            Slot &slot = slots_[at];
            slot.hash = key.hash;
            slot.key = static_cast<int32_t>(e);
            // DictionaryS_GetCoreInfo(word), its bucket's hash known.
            slot.result = buckets_ != nullptr
                              ? vsg::model::FindInBucket(buckets_[key.bucket], entries_, count_, word)
                              : -1;
            slot.length = static_cast<uint32_t>(length);
            slot.head = key.head;
            if (slot.result >= 0 && slot.result < count_) {
                const DictSEntry &entry = entries_[slot.result];
                slot.posList = entry.posList;
                slot.posCount = entry.posCount;
                memcpy(slot.stats, entry.stats, sizeof slot.stats);
                slot.mark = marks != nullptr ? marks->MarkOf(slot.result) : 0;
            }
        }
        return true;
    }
    bool BuiltFrom(const DictionaryS &core) const {
        return core_ == &core && entries_ == core.entries && count_ == core.count && buckets_ == core.buckets;
    }
    // The slot of `word` of `length` bytes, NUL-terminated, whose result is
    // DictionaryS_GetCoreInfo(word); null when the word is not there (-1).
    const Slot *Find(const char *word, size_t length) const {
        const uint64_t head = Head(word, length);
        return Find(word, length, head, Hash(word, length, head));
    }
    // The same with the word's head (Head or FieldHead) and HashOf given.
    const Slot *Find(const char *word, size_t length, uint64_t head, uint32_t hash) const {
        if (length == 0) return nullptr;
        for (size_t at = hash & mask_;; at = (at + 1) & mask_) {
            const Slot &slot = slots_[at];
            if (slot.key < 0) return nullptr;
            if (Matches(slot, hash, head, word, length)) return &slot;
        }
    }

    // The hash of a word whose head is `head`.
    static uint32_t HashOf(const char *word, size_t length, uint64_t head) { return Hash(word, length, head); }
    // Head of a word held in a record's text field: one load of the field's
    // first eight bytes, those past the word cleared (the field's bytes
    // after the terminator are left from earlier words).
    static uint64_t FieldHead(const char (&text)[128], size_t length) {
        uint64_t head;
        memcpy(&head, text, 8);
        return length < 8 ? head & ((uint64_t{1} << (8 * length)) - 1) : head;
    }
    // Starts loading the slot a word of this hash is probed at first.
    void Prefetch(uint32_t hash) const { __builtin_prefetch(&slots_[hash & mask_]); }

    struct alignas(64) Slot {
        uint32_t hash = 0;
        int32_t key = -1;     // an entry holding the word, -1 for an empty slot
        int32_t result = -1;  // DictionaryS_GetCoreInfo of the word (-1 out of the table)
        uint32_t length = 0;  // the word's length in bytes
        uint64_t head = 0;    // its first eight bytes, zero-padded (see Head)
        // Of entry `result`: its rows, statistics and mark in the span tables.
        const DictSRow *posList = nullptr;
        int32_t posCount = 0;
        float stats[4] = {};
        uint32_t mark = 0;
    };

private:
    // The first eight bytes of a word, zero-padded: words of up to eight
    // bytes (four GB characters) are compared in the slot alone, without
    // reading the entry's text.
    static uint64_t Head(const char *word, size_t length) {
        uint64_t head = 0;
        memcpy(&head, word, length < 8 ? length : 8);
        return head;
    }
    bool Matches(const Slot &slot, uint32_t hash, uint64_t head, const char *word, size_t length) const {
        if (slot.hash != hash || slot.length != length || slot.head != head) return false;
        return length <= 8 || memcmp(entries_[slot.key].word + 8, word + 8, length - 8) == 0;
    }
    // The head and length mixed by one multiplication (the high bits, which
    // depend on every bit of the head), then the bytes past the head.
    static uint32_t Hash(const char *word, size_t length, uint64_t head) {
        uint32_t h = static_cast<uint32_t>(((head ^ length) * 0x9E3779B97F4A7C15ull) >> 32);
        for (size_t i = 8; i < length; ++i) h = (h ^ static_cast<unsigned char>(word[i])) * 16777619u;
        return h;
    }
    const DictionaryS *core_ = nullptr;
    const DictSEntry *entries_ = nullptr;
    int32_t count_ = 0;
    const DictBucket *buckets_ = nullptr;
    vsg::HugeTable<Slot> slots_;
    size_t mask_ = 0;
};

static_assert(sizeof(CoreIndex::Slot) == 64, "a slot is one cache line");

struct EngineTables {
    vsg::tagging::SpanTables byType[4];
    CoreIndex core;
};

namespace {

// Items of one sentence chunk.
constexpr int32_t kChunkItems = 150;

// Initialises one word record of the primary array but for its dictionary
// entry; returns the length of its text.
size_t StartWord(SpanWord *w, const char *text, size_t textSize) {
    // Every field is set but the text's bytes after its terminator, which
    // nothing reads (records are reused from call to call).
    size_t length;
#if defined(__SSE2__)
    // A word that ends within the first 16 bytes of a field of at least 16
    // (the server's items): one block move, the bytes after the terminator
    // cleared. One store, so that the head read back below is forwarded.
    const __m128i block = textSize >= 16 ? _mm_loadu_si128(reinterpret_cast<const __m128i *>(text)) : __m128i{};
    const unsigned nul =
        textSize >= 16 ? static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(block, _mm_setzero_si128()))) : 0;
    if (nul != 0) {
        length = static_cast<size_t>(__builtin_ctz(nul));
        const __m128i before = _mm_cmpgt_epi8(_mm_set1_epi8(static_cast<char>(length)),
                                              _mm_setr_epi8(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15));
        _mm_storeu_si128(reinterpret_cast<__m128i *>(w->text), _mm_and_si128(block, before));
    } else {
        length = CopyGbText(w->text, sizeof w->text, text, textSize);
    }
#else
    length = CopyGbText(w->text, sizeof w->text, text, textSize);
#endif
    memset(w->classText, 0, sizeof w->classText);
    w->weight = 1.0;
    w->frequency = 0;
    w->tag = -1;
    w->offset = 0;
    w->state = 0;
    w->sentence = 0;
    w->extra = 0;
    w->id = 0;
    w->posCount = 0;
    memset(w->stats, 0, sizeof w->stats);
    w->posList = nullptr;
    w->source = -1;
    vsg::tagging::ClearMark(w);
    return length;
}

// Gives a started word the rows of core entry `at` (none when negative),
// without a mark in the span tables (its candidates are read from the rows).
void SetEntry(SpanWord *w, const DictionaryS *core, int32_t at) {
    if (at >= 0 && core->entries != nullptr && at < core->count) {
        const DictSEntry &entry = core->entries[at];
        w->posCount = entry.posCount;
        memcpy(w->stats, entry.stats, sizeof w->stats);
        w->posList = entry.posList;
        vsg::tagging::SetMark(w, at, 0);
    }
}

// The same from the index's slot of the word (null when not found), which
// holds what the entry would give and its mark in the span tables.
void SetEntry(SpanWord *w, const DictionaryS *core, const CoreIndex::Slot *slot) {
    if (slot != nullptr && slot->result >= 0 && core->entries != nullptr && slot->result < core->count) {
        w->posCount = slot->posCount;
        memcpy(w->stats, slot->stats, sizeof w->stats);
        w->posList = slot->posList;
        vsg::tagging::SetMark(w, slot->result, slot->mark);
    }
}

// Initialises one word record; looks the word up in `index` when given
// (built from `core`), else in `core` itself.
void FillWord(SpanWord *w, const char *text, size_t textSize, const DictionaryS *core, const CoreIndex *index) {
    const size_t length = StartWord(w, text, textSize);
    if (index != nullptr)
        SetEntry(w, core, index->Find(w->text, length));
    else
        SetEntry(w, core, DictionaryS_GetCoreInfo(w->text, core));
}

// Marks long dictionary words whose rows score as names with the class word
// of that name class: the last matching row decides. A word that carries
// its entry's record in the span tables `marks` (when given) takes the
// class the record keeps (org_rows.h: ClassTagOfFacts; the record is read
// by the part-of-speech fill next anyway), the others scan their rows.
void AssignClasses(SpanWord *words, const vsg::tagging::SpanTables *marks) {
    for (SpanWord *w = words; w->text[0] != '\0'; ++w) {
        if (w->posCount <= 0 || w->posList == nullptr || w->classText[0] != '\0' ||
            !vsg::TakesClass(w->text))
            continue;
        const int32_t facts = marks != nullptr ? marks->Facts(*w) : -1;
        const int tag = facts >= 0 ? vsg::tagging::ClassTagOfFacts(static_cast<uint32_t>(facts))
                                   : vsg::ClassTagOfRows(w->posList, w->posCount);
        if (tag < 0) continue;
        static_assert(sizeof vsg::kOrgClass == sizeof vsg::kPlaceClass &&
                          sizeof vsg::kOrgClass == sizeof vsg::kPersonClass,
                      "a class word overwrites another whole");
        if (tag == vsg::kOrgTag) {
            memcpy(w->classText, vsg::kOrgClass, sizeof vsg::kOrgClass);
            w->weight = vsg::kOrgClassWeight;
        } else if (tag == vsg::kPlaceTag || tag == vsg::kForeignPlaceTag) {
            memcpy(w->classText, vsg::kPlaceClass, sizeof vsg::kPlaceClass);
            w->weight = vsg::kPlaceClassWeight;
        } else {
            memcpy(w->classText, vsg::kPersonClass, sizeof vsg::kPersonClass);
            w->weight = vsg::kPersonClassWeight;
        }
        w->tag = static_cast<int8_t>(tag);
    }
}

// Working storage of the pipeline: four spans and a word array. Each
// thread keeps one and reuses it for every call (the spans are reused
// across chunks within a call anyway), so a call allocates nothing per word.
struct Work {
    CSpan *spans[4] = {nullptr, nullptr, nullptr, nullptr};
    SpanWord *primary = nullptr;
    // Per word of a chunk: its index hash, its index slot, its length.
    uint32_t found[kChunkItems + 1] = {};
    const CoreIndex::Slot *slots[kChunkItems + 1] = {};
    uint32_t lengths[kChunkItems + 1] = {};
    uint64_t heads[kChunkItems + 1] = {};  // CoreIndex::FieldHead of each word

    Work() {
        for (int t = 0; t < 4; ++t) {
            spans[t] = CSpan_new();
            if (spans[t] != nullptr) CSpan_SetTagType(spans[t], static_cast<uint32_t>(t));
        }
        // Every record is written before it is read, so no clearing is needed.
        primary = static_cast<SpanWord *>(malloc(VSG_SPAN_WORDS * sizeof(SpanWord)));
    }
    ~Work() {
        free(primary);
        for (CSpan *s : spans) CSpan_delete(s);
    }
    Work(const Work &) = delete;
    Work &operator=(const Work &) = delete;

    bool ok() const {
        return spans[0] && spans[1] && spans[2] && spans[3] && primary;
    }
    // Points the spans at the context models of `engine` and at the tables
    // built from them, if any.
    void Bind(const SegmentEngine *engine, const EngineTables *tables) {
        for (int t = 0; t < 4; ++t) {
            const ContextStat &model = engine->tagModels[t].model;
            spans[t]->model = &model;
            spans[t]->tables = (tables != nullptr && tables->byType[t].BuiltFrom(engine->core, model))
                                   ? &tables->byType[t]
                                   : nullptr;
        }
    }
};

// The calling thread's working storage, or null when it cannot be allocated
// (a later call tries again).
Work *ThreadWork() {
    thread_local std::unique_ptr<Work> work;
    if (work == nullptr || !work->ok()) {
        work.reset(new (std::nothrow) Work);
        if (work == nullptr || !work->ok()) return nullptr;
    }
    return work.get();
}

// Role-tags `words` with the name role set `tag`, then removes the merged
// words from the array: the survivors after the first merged word move
// down in place.
void RoleTag(Work &work, int32_t tag, SpanWord *words, const SegmentEngine *engine) {
    static constexpr int32_t kDefaultRole[4] = {0, vsg::kPersonDefaultRole, vsg::kPlaceDefaultRole,
                                                vsg::kOrgDefaultRole};
    CSpan *span = work.spans[tag];
    CSpan_RoleTagging(span, words, tag, kDefaultRole[tag], engine, nullptr);
    // Only the recognisers mark words merged, and the span notes the first
    // they marked: the words before it stay where they are.
    int32_t i = span->firstMerged;
    if (i >= VSG_SPAN_WORDS - 1) return;
    // The survivors are moved whole (text bytes after the terminator
    // included, which nothing reads): one block move per record, into lines
    // the pass has just read. At most VSG_SPAN_WORDS - 1 words, so the end
    // record fits in the array; nothing reads past its empty text.
    int32_t j = i;
    for (; i < VSG_SPAN_WORDS - 1 && words[i].text[0] != '\0'; ++i)
        if (words[i].state != VSG_STATE_MERGED) memcpy(&words[j++], &words[i], sizeof *words);
    words[j].text[0] = '\0';
}

// Role tagging of the primary array by mode; the array then holds the
// result, without merged words.
void TagRoles(Work &work, int32_t mode, const SegmentEngine *engine) {
    auto pass = [&](int32_t tag) { RoleTag(work, tag, work.primary, engine); };
    switch (mode) {
    case 0:
        pass(VSG_TAG_PERSON);
        pass(VSG_TAG_PLACE);
        pass(VSG_TAG_ORG);
        break;
    case 1:
        pass(VSG_TAG_PERSON);
        break;
    case 2:
        pass(VSG_TAG_PLACE);
        break;
    default:
        pass(VSG_TAG_ORG);
        break;
    }
}

int32_t NameClassOf(int32_t tag) {
    if (vsg::IsPersonTag(tag)) return 1;
    if (vsg::IsPlaceTag(tag)) return 2;
    if (vsg::IsOrgTag(tag)) return 3;
    return 0;
}

// Collects a chunk's surviving words as spans of input words.
class SpanSink final : public ChunkSink {
public:
    SpanSink(const WordView *views, int32_t n, Tagging &out) : views_(views), n_(n), out_(out) {}

    void Chunk(const SpanWord *words, int32_t first, int32_t end, int32_t blanks) override {
        blank_ = first;
        blanks_ = blanks;
        const SpanWord *pending = nullptr;
        int32_t pendingSrc = 0;
        for (const SpanWord *w = words; w->text[0] != '\0'; ++w) {
            if (w->state == VSG_STATE_MERGED || IsBoundaryRecord(*w)) continue;
            const int32_t src = (w->source >= 0 && w->source < n_) ? w->source : first;
            if (pending != nullptr) Add(*pending, pendingSrc, src);
            BlanksBefore(src);
            pending = w;
            pendingSrc = src;
        }
        if (pending != nullptr) Add(*pending, pendingSrc, end);
        BlanksBefore(end);
    }

private:
    // Hands back the blank words before input word `before`, as the server
    // interface does: each before the first word from a later item.
    void BlanksBefore(int32_t before) {
        if (blanks_ == 0) return;  // the chunk has none
        for (; blank_ < before; ++blank_)
            if (IsBlankView(views_[blank_])) AddText(static_cast<uint32_t>(blank_), 1, -1, views_[blank_].text,
                                                     views_[blank_].length);
        if (blank_ < before) blank_ = before;
    }

    // Adds word `w` that came from input word `src`; the next surviving word
    // came from `next` (or the chunk ends there).
    void Add(const SpanWord &w, int32_t src, int32_t next) {
        int32_t last = next - 1;
        while (blanks_ != 0 && last > src && IsBlankView(views_[last])) --last;
        if (last < src) last = src;
        const uint32_t count = static_cast<uint32_t>(last - src + 1);
        const int32_t tag = w.tag;
        // The text is its input words' texts joined when their bytes (none
        // of them NUL) make up exactly the record's text and fit a host word.
        size_t pos = 0;
        bool exact = true;
        for (int32_t q = src; exact && q <= last; ++q) {
            const WordView &v = views_[q];
            if (v.length == 0 || pos + v.length > VSG_ITEM_TEXT_MAX ||
                (static_cast<unsigned char>(v.text[0]) <= ' ' && IsBlankView(v))) {
                exact = false;
                break;
            }
            for (uint32_t b = 0; b < v.length; ++b, ++pos) {
                if (v.text[b] == '\0' || w.text[pos] != v.text[b]) {
                    exact = false;
                    break;
                }
            }
        }
        if (exact && w.text[pos] == '\0') {
            out_.words.push_back(TaggedWord{static_cast<uint32_t>(src), count, tag, NameClassOf(tag), -1, 0});
            return;
        }
        const size_t length = strnlen(w.text, sizeof w.text);
        AddText(static_cast<uint32_t>(src), count, tag, w.text, length);
    }

    // Adds a word whose text is given, cut as a host word's text is cut.
    void AddText(uint32_t first, uint32_t count, int32_t tag, const char *text, size_t length) {
        char cut[VSG_ITEM_TEXT_MAX + 1];
        CopyGbText(cut, sizeof cut, text, length);
        const size_t cutLength = strlen(cut);
        out_.words.push_back(TaggedWord{first, count, tag, NameClassOf(tag), static_cast<int32_t>(out_.texts.size()),
                                        static_cast<uint32_t>(cutLength)});
        out_.texts.append(cut, cutLength);
    }

    const WordView *views_;
    int32_t n_;
    Tagging &out_;
    int32_t blank_ = 0;
    int32_t blanks_ = 0;  // blank words in the chunk
};

}  // namespace

size_t CopyGbText(char *dst, size_t cap, const char *src, size_t srcSize) {
    // Words are a few bytes long: one loop finds the end and copies.
    const size_t room = cap - 1;
    const size_t look = srcSize < room ? srcSize : room;
    size_t n = 0;
    while (n < look && src[n] != '\0') {
        dst[n] = src[n];
        ++n;
    }
    if (n == room && n < srcSize && src[n] != '\0') {
        // Too long: cut before the character that would not fit whole (at
        // most one byte of the copy is given back, and overwritten below).
        size_t cut = 0;
        while (cut < room) {
            const size_t step = (static_cast<unsigned char>(src[cut]) >= 0x80) ? 2 : 1;
            if (cut + step > room) break;
            cut += step;
        }
        n = cut;
    }
    dst[n] = '\0';
    return n;
}

bool IsBlankView(const WordView &w) {
    if (w.length > 0 && static_cast<unsigned char>(w.text[0]) > ' ') return false;  // most words
    for (uint32_t i = 0; i < w.length && w.text[i] != '\0'; ++i) {
        const char c = w.text[i];
        if (c != ' ' && c != '\t' && c != '\n' && c != '\v' && c != '\f' && c != '\r') return false;
    }
    return true;
}

bool IsBoundaryRecord(const SpanWord &w) {
    // Both boundary words are 7 bytes with their terminator; text has 128.
    // Most words differ in the first byte.
    return (w.text[0] == vsg::kStartWord[0] && memcmp(w.text, vsg::kStartWord, sizeof vsg::kStartWord) == 0) ||
           (w.text[0] == vsg::kEndWord[0] && memcmp(w.text, vsg::kEndWord, sizeof vsg::kEndWord) == 0);
}

// The dictionary's entry table, and the span of memory its words and rows
// lie in (one block for a binary dictionary, heap blocks allocated one
// after another for a text one), read at random by every call: backed by
// large pages where the system allows.
void BackDictionary(const DictionaryS &core) {
    if (core.entries == nullptr || core.count <= 0) return;
    vsg::BackWithHugePages(core.entries, core.entries + core.count);
    uintptr_t low = UINTPTR_MAX, high = 0;
    for (int32_t e = 0; e < core.count; ++e) {
        const DictSEntry &entry = core.entries[e];
        for (const void *p : {static_cast<const void *>(entry.word), static_cast<const void *>(entry.posList)}) {
            if (p == nullptr) continue;
            low = std::min(low, reinterpret_cast<uintptr_t>(p));
            high = std::max(high, reinterpret_cast<uintptr_t>(p));
        }
    }
    if (low < high) vsg::BackWithHugePages(reinterpret_cast<const void *>(low), reinterpret_cast<const void *>(high));
}

void EngineTablesDeleter::operator()(EngineTables *tables) const { delete tables; }

EngineTablesPtr BuildTables(const SegmentEngine &models) {
    EngineTablesPtr tables(new (std::nothrow) EngineTables);
    if (tables == nullptr) return nullptr;
    const ContextStat *const sets[vsg::tagging::SpanTables::kSets] = {
        &models.tagModels[0].model, &models.tagModels[1].model, &models.tagModels[2].model,
        &models.tagModels[3].model};
    if (!vsg::tagging::SpanTables::BuildSets(tables->byType, models.core, sets)) return nullptr;
    tables->byType[VSG_TAG_PERSON].SetLetterTags(models.tagModels[VSG_TAG_PERSON].map, vsg::names::kPersonOpening);
    tables->byType[VSG_TAG_PLACE].SetLetterTags(models.tagModels[VSG_TAG_PLACE].map, vsg::names::kPlaceOpening);
    if (!tables->core.Build(models.core, &tables->byType[0])) return nullptr;
    BackDictionary(models.core);
    return tables;
}

int32_t IndexedCoreEntry(const EngineTables &tables, const char *word, size_t length) {
    const CoreIndex::Slot *slot;
    if (length >= 128) {
        slot = tables.core.Find(word, length);
        return slot != nullptr ? slot->result : -1;
    }
    // As the pipeline asks: from a record's text field whose bytes after
    // the word hold what earlier words left there.
    char field[128];
    memset(field, 0xA5, sizeof field);
    memcpy(field, word, length);
    field[length] = '\0';
    const uint64_t head = CoreIndex::FieldHead(field, length);
    slot = tables.core.Find(field, length, head, CoreIndex::HashOf(field, length, head));
    return slot != nullptr ? slot->result : -1;
}

bool RunPipeline(const SegmentEngine &models, const WordView *views, int32_t n, int32_t mode, ChunkSink &sink,
                 const EngineTables *tables) {
    Work *shared = ThreadWork();
    if (shared == nullptr) return false;
    Work &work = *shared;
    const SegmentEngine *engine = &models;
    work.Bind(engine, tables);
    const DictionaryS *core = &engine->core;
    const CoreIndex *index = (tables != nullptr && tables->core.BuiltFrom(*core)) ? &tables->core : nullptr;
    // The boundary words frame every chunk; they are looked up once per call.
    SpanWord startWord;
    SpanWord endWord;
    FillWord(&startWord, vsg::kStartWord, sizeof vsg::kStartWord, core, index);
    FillWord(&endWord, vsg::kEndWord, sizeof vsg::kEndWord, core, index);

    for (int32_t s = 0; s < n;) {
        const uint32_t key = views[s].sentence;
        int32_t e = s + 1;
        while (e < n && views[e].sentence == key && e - s < kChunkItems) ++e;

        // Blank words take no place in the array: an empty text would end
        // it, and white space would stand between two words.
        SpanWord *a = work.primary;
        a[0] = startWord;
        int32_t words = 0;
        // Passes over the chunk's words, so that the cache misses of the
        // index's slots, then of the rows and candidates, overlap: copy the
        // texts and fetch their slots, find the slots and fetch what they
        // point to, fill.
        uint32_t *found = work.found;
        for (int32_t i = s; i < e; ++i) {
            const WordView &view = views[i];
            if (IsBlankView(view)) continue;
            SpanWord *w = &a[++words];
            const size_t length = StartWord(w, view.text, view.length);
            w->sentence = static_cast<int32_t>(key >> 16);
            w->extra = static_cast<int32_t>(key & 0xFFFF);
            w->id = i;
            w->source = i;
            work.lengths[words] = static_cast<uint32_t>(length);
            if (index != nullptr) {
                work.heads[words] = CoreIndex::FieldHead(w->text, length);
                found[words] = CoreIndex::HashOf(w->text, length, work.heads[words]);
                index->Prefetch(found[words]);
            } else {
                found[words] = static_cast<uint32_t>(length);
            }
        }
        if (index != nullptr) {
            // Each slot holds what the record takes from its entry: the
            // rows, read by the class assignment and the organisation scan,
            // and the candidates, read when the chunk is tagged, are fetched
            // as soon as it is found.
            const vsg::tagging::SpanTables &marks = tables->byType[0];
            for (int32_t k = 1; k <= words; ++k) {
                const CoreIndex::Slot *slot = index->Find(a[k].text, work.lengths[k], work.heads[k], found[k]);
                work.slots[k] = slot;
                if (slot != nullptr) {
                    if (slot->posList != nullptr) __builtin_prefetch(slot->posList);
                    marks.PrefetchMarked(slot->mark);
                }
            }
            for (int32_t k = 1; k <= words; ++k) SetEntry(&a[k], core, work.slots[k]);
        } else {
            for (int32_t k = 1; k <= words; ++k) SetEntry(&a[k], core, DictionaryS_GetCoreInfo(a[k].text, core));
        }
        if (words > 0) {
            a[words + 1] = endWord;
            memset(&a[words + 2], 0, sizeof a[words + 2]);
            TagRoles(work, mode, engine);
            AssignClasses(a, index != nullptr ? &tables->byType[0] : nullptr);
            CSpan_POSTagging(work.spans[VSG_TAG_POS], a, core);
        } else {
            a[0].text[0] = '\0';  // a chunk of blank words only
        }
        sink.Chunk(a, s, e, (e - s) - words);
        s = e;
    }
    return true;
}

int32_t TagWords(const SegmentEngine &models, const WordView *words, size_t n, int32_t mode, Tagging &out,
                 const EngineTables *tables) {
    out.words.clear();
    out.texts.clear();
    if (mode < 0 || mode > 3 || n > static_cast<size_t>(INT32_MAX) || (words == nullptr && n > 0)) return -1;
    try {
        out.words.reserve(n);
        SpanSink sink(words, static_cast<int32_t>(n), out);
        if (!RunPipeline(models, words, static_cast<int32_t>(n), mode, sink, tables)) return -2;
    } catch (const std::bad_alloc &) {
        return -2;
    }
    return 0;
}

}  // namespace vsg::engine
