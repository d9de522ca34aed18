// The engine instance and the segmentation call: loading and freeing the
// twelve model files, and the per-call pipeline that cuts the input into
// sentence chunks, recognises names, assigns class words and tags every word.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

#include "common/gbtext.h"
#include "common/model_files.h"
#include "engine/blank_items.h"
#include "engine/class_rows.h"
#include "engine/instance.h"
#include "model/loaders.h"
#include "tagging/Span.h"
#include "vsglex/engine.h"
#include "vsglex/utility.h"

extern "C" {
SegmentEngine *g_mSEG = nullptr;
int32_t g_bTag = 0;
}

namespace {

// Room for the directory, its separator and a model file name.
constexpr size_t kPathMax = 1024;
// Items of one sentence chunk.
constexpr int32_t kChunkItems = 150;

// Loaders of one model file into its place in the engine (model/loaders.h
// gives the order of forms); `m` says whether they print as the exported
// loaders do.
using vsg::model::LoadFault;
using vsg::model::Messages;
bool LoadCoreOf(const char *path, SegmentEngine *e, Messages m) {
    return vsg::model::LoadCoreFile(path, &e->core, m) == LoadFault::kNone;
}
template <int Tag>
bool LoadContextOf(const char *path, SegmentEngine *e, Messages m) {
    return vsg::model::LoadContextFile(path, &e->tagModels[Tag].model, m) == LoadFault::kNone;
}
template <int Tag>
bool LoadMapOf(const char *path, SegmentEngine *e, Messages) {
    return vsg::model::LoadTagMap(path, &e->tagModels[Tag].map) == LoadFault::kNone;
}
template <int Affix>
bool LoadAffixOf(const char *path, SegmentEngine *e, Messages m) {
    return vsg::model::LoadAffixFile(path, &e->affix[Affix], m) == LoadFault::kNone;
}

// Loads every model of `dir` (which ends with a separator or is empty) into
// `e` in the fixed order; 0, or the status of the first file that failed.
int32_t LoadModels(SegmentEngine *e, const char *dir, Messages messages) {
    // The loader of each file of vsg::kModelFiles, in the same order.
    using Loader = bool (*)(const char *, SegmentEngine *, Messages);
    static constexpr Loader kLoaders[] = {
        LoadCoreOf,                           // coredict.dct
        LoadContextOf<VSG_TAG_POS>,           // lexical.ctx
        LoadMapOf<VSG_TAG_POS>,               // zyrpos30.map
        LoadContextOf<VSG_TAG_PERSON>,        // nr.ctx
        LoadMapOf<VSG_TAG_PERSON>,            // nr.map
        LoadContextOf<VSG_TAG_PLACE>,         // ns.ctx
        LoadMapOf<VSG_TAG_PLACE>,             // ns.map
        LoadContextOf<VSG_TAG_ORG>,           // nt.ctx
        LoadMapOf<VSG_TAG_ORG>,               // nt.map
        LoadAffixOf<VSG_AFFIX_NAME_PREFIX>,   // name_pre.dct
        LoadAffixOf<VSG_AFFIX_PLACE_SUFFIX>,  // loc_suffix.dct
        LoadAffixOf<VSG_AFFIX_ORG_SUFFIX>,    // org_suffix.dct
    };
    static_assert(sizeof kLoaders / sizeof kLoaders[0] == vsg::kModelFileCount, "one loader per model file");
    char path[kPathMax + 32];
    for (size_t i = 0; i < vsg::kModelFileCount; ++i) {
        GetFullFileName(path, dir, vsg::kModelFiles[i].name);
        if (!kLoaders[i](path, e, messages)) return vsg::kModelFiles[i].status;
    }
    return 0;
}

// Copies at most `cap` - 1 bytes of `src` (a field of `srcSize` bytes) into
// `dst`, never splitting a two-byte character, and terminates it.
void CopyText(char *dst, size_t cap, const char *src, size_t srcSize) {
    size_t n = strnlen(src, srcSize);
    if (n > cap - 1) {
        size_t cut = 0;
        while (cut < cap - 1) {
            const size_t step = (static_cast<unsigned char>(src[cut]) >= 0x80) ? 2 : 1;
            if (cut + step > cap - 1) break;
            cut += step;
        }
        n = cut;
    }
    memcpy(dst, src, n);
    dst[n] = '\0';
}

// Initialises one word record of the primary array.
void FillWord(SpanWord *w, const char *text, size_t textSize, const DictionaryS *core) {
    memset(w, 0, sizeof *w);
    CopyText(w->text, sizeof w->text, text, textSize);
    w->weight = 1.0;
    w->tag = -1;
    w->source = -1;
    const int32_t at = DictionaryS_GetCoreInfo(w->text, core);
    if (at >= 0 && core->entries != nullptr && at < core->count) {
        const DictSEntry &entry = core->entries[at];
        w->posCount = entry.posCount;
        memcpy(w->stats, entry.stats, sizeof w->stats);
        w->posList = entry.posList;
    }
}

// Sentence key of an item: sentence and extra as one 32-bit value.
inline uint32_t SentenceKey(const WordItem &item) {
    return (static_cast<uint32_t>(item.sentence) << 16) | item.extra;
}

// True when `text` is exactly the boundary word `word` (terminator included).
inline bool IsBoundary(const char *text, const char (&word)[7]) {
    return memcmp(text, word, sizeof word) == 0;
}

// Marks long dictionary words whose rows score as names with the class word
// of that name class. Every row is examined; the last matching row decides.
void AssignClasses(SpanWord *words) {
    for (SpanWord *w = words; w->text[0] != '\0'; ++w) {
        if (w->posCount <= 0 || w->posList == nullptr || w->classText[0] != '\0' ||
            !vsg::TakesClass(w->text))
            continue;
        for (int32_t i = 0; i < w->posCount; ++i) {
            const DictSRow &row = w->posList[i];
            const int tag = vsg::ClassTagOfRow(row.subCode, static_cast<double>(row.value));
            if (tag < 0) continue;
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
}

// Working storage of the segmentation call: four spans and two word arrays.
// Each thread keeps one and reuses it for every call (the spans are reused
// across chunks within a call anyway), so a call allocates nothing but its
// output block.
struct Work {
    CSpan *spans[4] = {nullptr, nullptr, nullptr, nullptr};
    SpanWord *primary = nullptr;
    SpanWord *secondary = nullptr;

    Work() {
        for (int t = 0; t < 4; ++t) {
            spans[t] = CSpan_new();
            if (spans[t] != nullptr) CSpan_SetTagType(spans[t], static_cast<uint32_t>(t));
        }
        // Every record is written before it is read, so no clearing is needed.
        primary = static_cast<SpanWord *>(malloc(VSG_SPAN_WORDS * sizeof(SpanWord)));
        secondary = static_cast<SpanWord *>(malloc(VSG_SPAN_WORDS * sizeof(SpanWord)));
    }
    ~Work() {
        free(primary);
        free(secondary);
        for (CSpan *s : spans) CSpan_delete(s);
    }
    Work(const Work &) = delete;
    Work &operator=(const Work &) = delete;

    bool ok() const {
        return spans[0] && spans[1] && spans[2] && spans[3] && primary && secondary;
    }
    // Points the spans at the context models of `engine`.
    void Bind(const SegmentEngine *engine) {
        for (int t = 0; t < 4; ++t) spans[t]->model = &engine->tagModels[t].model;
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

// Role-tags `words` with the name role set `tag`, then copies the result
// without merged words into `to`.
void RoleTag(Work &work, int32_t tag, SpanWord *words, SpanWord *to, const SegmentEngine *engine) {
    static constexpr int32_t kDefaultRole[4] = {0, vsg::kPersonDefaultRole, vsg::kPlaceDefaultRole,
                                                vsg::kOrgDefaultRole};
    CSpan_RoleTagging(work.spans[tag], words, tag, kDefaultRole[tag], engine, nullptr);
    CopyWordResultA(to, words);
}

// Role tagging of the primary array by mode; the result ends up in the
// secondary array, without merged words.
void TagRoles(Work &work, int32_t mode, const SegmentEngine *engine) {
    SpanWord *a = work.primary;
    SpanWord *b = work.secondary;
    switch (mode) {
    case 0:
        RoleTag(work, VSG_TAG_PERSON, a, b, engine);
        RoleTag(work, VSG_TAG_PLACE, b, a, engine);
        RoleTag(work, VSG_TAG_ORG, a, b, engine);
        break;
    case 1:
        RoleTag(work, VSG_TAG_PERSON, a, b, engine);
        break;
    case 2:
        RoleTag(work, VSG_TAG_PLACE, a, b, engine);
        break;
    default:
        RoleTag(work, VSG_TAG_ORG, a, b, engine);
        break;
    }
}

// Appends one result item: `text` with `tag` and the bookkeeping fields of
// input item `from`.
void Append(WordList *output, const char *text, size_t textSize, uint8_t tag, const WordItem &from) {
    WordItem &out = output->items[output->count++];
    memset(&out, 0, sizeof out);
    CopyText(out.text, sizeof out.text, text, textSize);
    out.tag = tag;
    out.mark = from.mark;
    out.kind = from.kind;
    out.sentence = from.sentence;
    out.extra = from.extra;
    out.id = from.id;
    out.group = from.group;
}

// Appends the surviving words of the secondary array to the output, with
// the blank items of the chunk [first, end) handed back untagged in input
// order: each before the first word that comes from a later item, the rest
// after the last word.
void Emit(const SpanWord *words, const WordList *input, WordList *output, int32_t capacity,
          int32_t first, int32_t end) {
    const WordItem *items = input->items;
    int32_t blank = first;  // next input item to check for a pending blank one
    auto emitBlanksBefore = [&](int32_t before) {
        for (; blank < before && output->count < capacity; ++blank)
            if (vsg::IsBlankItem(items[blank].text, sizeof items[blank].text))
                Append(output, items[blank].text, sizeof items[blank].text, VSG_UNTAGGED, items[blank]);
        blank = std::max(blank, before);
    };
    for (const SpanWord *w = words; w->text[0] != '\0'; ++w) {
        if (w->state == VSG_STATE_MERGED) continue;
        // Both boundary words are 7 bytes with their terminator; text has 128.
        if (IsBoundary(w->text, vsg::kStartWord) || IsBoundary(w->text, vsg::kEndWord)) continue;
        const int32_t src = (w->source >= 0 && w->source < input->count) ? w->source : first;
        emitBlanksBefore(src);
        if (output->count >= capacity) return;
        Append(output, w->text, sizeof w->text, static_cast<uint8_t>(w->tag), items[src]);
    }
    emitBlanksBefore(end);
}

// Loads the model files of `directory` into the zero-filled `engine`; 0 or
// the status of the first file that failed.
int32_t LoadInto(SegmentEngine *engine, const char *directory, Messages messages) {
    if (directory == nullptr) directory = "";
    const size_t len = strlen(directory);
    // The longest model file name and the joining separator must fit too.
    if (len + 2 + sizeof("loc_suffix.dct") > kPathMax) return VSG_ERR_COREDICT;
    char dir[kPathMax];
    memcpy(dir, directory, len + 1);
    if (len > 0 && dir[len - 1] != '\\' && dir[len - 1] != '/') {
        dir[len] = '/';
        dir[len + 1] = '\0';
    }
    return LoadModels(engine, dir, messages);
}

}  // namespace

extern "C" {

int32_t VSG_LoadForServer(SegmentEngine **handle, const char *directory) {
    if (g_bTag == 1) {
        if (handle != nullptr) *handle = g_mSEG;
        return 1;
    }
    // A previous failed load's instance stays where it was (unreleased);
    // only VSG_FreeForServer releases the instance g_mSEG holds.
    auto *engine = static_cast<SegmentEngine *>(calloc(1, sizeof(SegmentEngine)));
    g_mSEG = engine;
    if (engine == nullptr) return VSG_ERR_COREDICT;
    const int32_t status = LoadInto(engine, directory, Messages::kAsExported);
    if (status != 0) return status;
    if (handle != nullptr) *handle = engine;
    g_bTag = 1;
    return 0;
}

void VSG_FreeForServer(SegmentEngine *handle) {
    (void)handle;
    SegmentEngine *engine = g_mSEG;
    if (engine == nullptr) return;
    vsg::engine::FreeInstance(engine);
    g_mSEG = nullptr;
    g_bTag = 0;
}

int32_t VSG_SegmentForServer(const WordList *input, WordList *output, int32_t mode,
                             const SegmentEngine *engine) {
    return vsg::engine::SegmentCall(input, output, mode, engine, nullptr);
}

}  // extern "C"

int32_t vsg::engine::SegmentCall(const WordList *input, WordList *output, int32_t mode,
                                 const SegmentEngine *engine, bool *outOfMemory) {
    if (outOfMemory != nullptr) *outOfMemory = false;
    if (input == nullptr || output == nullptr || engine == nullptr) return -1;
    if (mode < 0 || mode > 3) return -1;
    const int32_t n = (input->items != nullptr && input->count > 0) ? input->count : 0;
    output->count = 0;
    output->items = static_cast<WordItem *>(malloc((static_cast<size_t>(n) + 1) * sizeof(WordItem)));
    if (output->items == nullptr) {
        if (outOfMemory != nullptr) *outOfMemory = true;
        return 1;
    }
    if (n == 0) return 1;

    Work *shared = ThreadWork();
    if (shared == nullptr) {
        if (outOfMemory != nullptr) *outOfMemory = true;
        return 1;
    }
    Work &work = *shared;
    work.Bind(engine);
    const DictionaryS *core = &engine->core;
    const WordItem *items = input->items;
    // The boundary words frame every chunk; they are looked up once per call.
    SpanWord startWord;
    SpanWord endWord;
    FillWord(&startWord, vsg::kStartWord, sizeof vsg::kStartWord, core);
    FillWord(&endWord, vsg::kEndWord, sizeof vsg::kEndWord, core);

    for (int32_t s = 0; s < n;) {
        const uint32_t key = SentenceKey(items[s]);
        int32_t e = s + 1;
        while (e < n && SentenceKey(items[e]) == key && e - s < kChunkItems) ++e;
        const int32_t k = e - s;

        // Blank items take no place in the array: an empty text would end
        // it, and white space would stand between two words.
        SpanWord *a = work.primary;
        a[0] = startWord;
        int32_t words = 0;
        for (int32_t i = 0; i < k; ++i) {
            const WordItem &item = items[s + i];
            if (vsg::IsBlankItem(item.text, sizeof item.text)) continue;
            SpanWord *w = &a[++words];
            FillWord(w, item.text, sizeof item.text, core);
            w->sentence = item.sentence;
            w->extra = item.extra;
            w->id = static_cast<int32_t>(item.id);
            w->source = s + i;
        }
        if (words > 0) {
            a[words + 1] = endWord;
            memset(&a[words + 2], 0, sizeof a[words + 2]);
            TagRoles(work, mode, engine);
            AssignClasses(work.secondary);
            CSpan_POSTagging(work.spans[VSG_TAG_POS], work.secondary, core);
        } else {
            work.secondary[0].text[0] = '\0';  // a chunk of blank items only
        }
        Emit(work.secondary, input, output, n + 1, s, e);
        s = e;
    }
    return 1;
}

extern "C" {

void VSG_SegmentForServerFree(WordList *output) {
    if (output == nullptr || output->items == nullptr) return;
    free(output->items);
    output->items = nullptr;
}

}  // extern "C"

namespace vsg::engine {

SegmentEngine *LoadInstance(const char *directory, int32_t *status) {
    auto *engine = static_cast<SegmentEngine *>(calloc(1, sizeof(SegmentEngine)));
    int32_t result = engine != nullptr ? LoadInto(engine, directory, Messages::kQuiet) : VSG_ERR_COREDICT;
    if (status != nullptr) *status = result;
    if (result == 0) return engine;
    FreeInstance(engine);
    return nullptr;
}

void FreeInstance(SegmentEngine *engine) {
    if (engine == nullptr) return;
    DictionaryS_Free(&engine->core);
    for (TagModel &tm : engine->tagModels) {
        ContextStat_Free(&tm.model);
        POSmap_Free(&tm.map);
    }
    for (Dictionary &affix : engine->affix) Dictionary_Free(&affix);
    free(engine);
}

}  // namespace vsg::engine
