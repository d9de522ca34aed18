// The engine instance of the server interface and its segmentation call:
// loading and freeing the twelve model files, and VSG_SegmentForServer, an
// adapter that hands the items to the core pipeline (core.cpp) as views
// and writes its words back as items.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <vector>

#if defined(__GLIBC__)
#include <malloc.h>
#endif

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "common/model_files.h"
#include "engine/blank_items.h"
#include "engine/core.h"
#include "engine/instance.h"
#include "model/loaders.h"
#include "vsglex/engine.h"
#include "vsglex/utility.h"

extern "C" {
SegmentEngine *g_mSEG = nullptr;
int32_t g_bTag = 0;
}

namespace {

// The tables of the process-wide instance, built once it has loaded and
// dropped when it is freed.
vsg::engine::EngineTablesPtr &ServerTables() {
    static vsg::engine::EngineTablesPtr tables;
    return tables;
}

// Result blocks of a few hundred kilobytes (a batch of paragraphs) are
// handed to the system and back on every call by the C library, and each
// call then waits for fresh zeroed pages. Each thread keeps the last such
// block it freed and gives it to its next call that fits in it.
class KeptItems {
public:
    KeptItems() = default;
    KeptItems(const KeptItems &) = delete;
    KeptItems &operator=(const KeptItems &) = delete;
    // A block freed later in the thread's exit (by another thread-local
    // object's destructor) is then freed at once.
    ~KeptItems() {
        free(items_);
        items_ = nullptr;
        capacity_ = 0;
        ended_ = true;
    }

    // A block of at least `bytes`: the kept one when it is large enough.
    WordItem *Take(size_t bytes) {
        if (items_ != nullptr && bytes <= capacity_ && bytes >= kFrom) {
            WordItem *items = items_;
            items_ = nullptr;
            capacity_ = 0;
            return items;
        }
        return static_cast<WordItem *>(malloc(bytes));
    }
    // Frees `items`, or keeps it for a later call.
    void Give(WordItem *items) {
#if defined(__GLIBC__)
        const size_t capacity = ended_ ? 0 : malloc_usable_size(items);
        if (capacity >= kFrom && capacity <= kUpTo && capacity >= capacity_) {
            std::swap(items, items_);
            capacity_ = capacity;
        }
#endif
        free(items);
    }

private:
    // Smaller blocks come from the heap without new pages; larger ones are
    // rare enough not to be held.
    static constexpr size_t kFrom = size_t{64} << 10;
    static constexpr size_t kUpTo = size_t{4} << 20;
    WordItem *items_ = nullptr;
    size_t capacity_ = 0;
    bool ended_ = false;
};

KeptItems &ThreadKeptItems() {
    thread_local KeptItems kept;
    return kept;
}

// Room for the directory, its separator and a model file name.
constexpr size_t kPathMax = 1024;

// Loaders of one model file into its place in the engine (model/loaders.h
// gives the order of forms); `m` says whether they print as the exported
// loaders do.
using vsg::model::LoadFault;
using vsg::model::Messages;
LoadFault LoadCoreOf(const char *path, SegmentEngine *e, Messages m) {
    return vsg::model::LoadCoreFile(path, &e->core, m);
}
template <int Tag>
LoadFault LoadContextOf(const char *path, SegmentEngine *e, Messages m) {
    return vsg::model::LoadContextFile(path, &e->tagModels[Tag].model, m);
}
template <int Tag>
LoadFault LoadMapOf(const char *path, SegmentEngine *e, Messages) {
    return vsg::model::LoadTagMap(path, &e->tagModels[Tag].map);
}
template <int Affix>
LoadFault LoadAffixOf(const char *path, SegmentEngine *e, Messages m) {
    return vsg::model::LoadAffixFile(path, &e->affix[Affix], m);
}

// Loads every model of `dir` (which ends with a separator or is empty) into
// `e` in the fixed order; 0, or the status of the first file that failed
// with its loader's fault in *fault.
int32_t LoadModels(SegmentEngine *e, const char *dir, Messages messages, LoadFault *fault) {
    // The loader of each file of vsg::kModelFiles, in the same order.
    using Loader = LoadFault (*)(const char *, SegmentEngine *, Messages);
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
        *fault = kLoaders[i](path, e, messages);
        if (*fault != LoadFault::kNone) return vsg::kModelFiles[i].status;
    }
    return 0;
}

// Appends one result item: `text` with `tag` and the bookkeeping fields of
// input item `from`.
void Append(WordList *output, const char *text, size_t textSize, uint8_t tag, const WordItem &from) {
    WordItem &out = output->items[output->count++];
    bool copied = false;
#if defined(__SSE2__)
    // The item cleared with six block stores: a memset of this size compiles
    // to a string store, whose start-up costs more than the item.
    static_assert(sizeof out == 96, "an item is six blocks of 16 bytes");
    {
        const __m128i zero = _mm_setzero_si128();
        auto *block = reinterpret_cast<__m128i *>(&out);
        _mm_storeu_si128(block + 0, zero);
        _mm_storeu_si128(block + 1, zero);
        _mm_storeu_si128(block + 2, zero);
        _mm_storeu_si128(block + 3, zero);
        _mm_storeu_si128(block + 4, zero);
        _mm_storeu_si128(block + 5, zero);
    }
#else
    memset(&out, 0, sizeof out);
#endif
#if defined(__SSE2__)
    if (textSize >= 16) {
        // Most words end within 16 bytes: one block move, with the bytes
        // after the terminator cleared as CopyGbText leaves them.
        const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i *>(text));
        const unsigned nul = static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(block, _mm_setzero_si128())));
        if (nul != 0) {
            const __m128i before = _mm_cmpgt_epi8(_mm_set1_epi8(static_cast<char>(__builtin_ctz(nul))),
                                                  _mm_setr_epi8(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15));
            _mm_storeu_si128(reinterpret_cast<__m128i *>(out.text), _mm_and_si128(block, before));
            copied = true;
        }
    }
#endif
    if (!copied) vsg::engine::CopyGbText(out.text, sizeof out.text, text, textSize);
    out.tag = tag;
    out.mark = from.mark;
    out.kind = from.kind;
    out.sentence = from.sentence;
    out.extra = from.extra;
    out.id = from.id;
    out.group = from.group;
}

// Appends the surviving words of each chunk to the output, with the blank
// items of the chunk [first, end) handed back untagged in input order: each
// before the first word that comes from a later item, the rest after the
// last word.
class OutputSink final : public vsg::engine::ChunkSink {
public:
    OutputSink(const WordList *input, WordList *output) : input_(input), output_(output) {}

    void Chunk(const SpanWord *words, int32_t first, int32_t end, int32_t blanks) override {
        const WordItem *items = input_->items;
        const int32_t capacity = input_->count + 1;
        int32_t blank = first;  // next input item to check for a pending blank one
        auto emitBlanksBefore = [&](int32_t before) {
            if (blanks == 0) return;  // the chunk has none
            for (; blank < before && output_->count < capacity; ++blank)
                if (vsg::IsBlankItem(items[blank].text, sizeof items[blank].text))
                    Append(output_, items[blank].text, sizeof items[blank].text, VSG_UNTAGGED, items[blank]);
            blank = std::max(blank, before);
        };
        for (const SpanWord *w = words; w->text[0] != '\0'; ++w) {
            if (w->state == VSG_STATE_MERGED || vsg::engine::IsBoundaryRecord(*w)) continue;
            const int32_t src = (w->source >= 0 && w->source < input_->count) ? w->source : first;
            emitBlanksBefore(src);
            if (output_->count >= capacity) return;
            Append(output_, w->text, sizeof w->text, static_cast<uint8_t>(w->tag), items[src]);
        }
        emitBlanksBefore(end);
    }

private:
    const WordList *input_;
    WordList *output_;
};

// Loads the model files of `directory` into the zero-filled `engine`; 0 or
// the status of the first file that failed, with its fault in *fault.
int32_t LoadInto(SegmentEngine *engine, const char *directory, Messages messages, LoadFault *fault) {
    *fault = LoadFault::kNone;
    if (directory == nullptr) directory = "";
    const size_t len = strlen(directory);
    // The longest model file name and the joining separator must fit too.
    if (len + 2 + sizeof("loc_suffix.dct") > kPathMax) {
        *fault = LoadFault::kCannotOpen;
        return VSG_ERR_COREDICT;
    }
    char dir[kPathMax];
    memcpy(dir, directory, len + 1);
    if (len > 0 && dir[len - 1] != '\\' && dir[len - 1] != '/') {
        dir[len] = '/';
        dir[len + 1] = '\0';
    }
    return LoadModels(engine, dir, messages, fault);
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
    LoadFault fault = LoadFault::kNone;
    const int32_t status = LoadInto(engine, directory, Messages::kAsExported, &fault);
    if (status != 0) return status;
    if (handle != nullptr) *handle = engine;
    g_bTag = 1;
    // Without its tables (memory short) the instance gives the same results.
    ServerTables() = vsg::engine::BuildTables(*engine);
    return 0;
}

void VSG_FreeForServer(SegmentEngine *handle) {
    (void)handle;
    SegmentEngine *engine = g_mSEG;
    if (engine == nullptr) return;
    ServerTables().reset();
    vsg::engine::FreeInstance(engine);
    g_mSEG = nullptr;
    g_bTag = 0;
}

int32_t VSG_SegmentForServer(const WordList *input, WordList *output, int32_t mode,
                             const SegmentEngine *engine) {
    // The instance's tables serve only the instance they were built from.
    return vsg::engine::SegmentCall(input, output, mode, engine, nullptr, ServerTables().get());
}

}  // extern "C"

int32_t vsg::engine::SegmentCall(const WordList *input, WordList *output, int32_t mode,
                                 const SegmentEngine *engine, bool *outOfMemory, const EngineTables *tables) {
    if (outOfMemory != nullptr) *outOfMemory = false;
    if (input == nullptr || output == nullptr || engine == nullptr) return -1;
    if (mode < 0 || mode > 3) return -1;
    const int32_t n = (input->items != nullptr && input->count > 0) ? input->count : 0;
    output->count = 0;
    output->items = ThreadKeptItems().Take((static_cast<size_t>(n) + 1) * sizeof(WordItem));
    if (output->items == nullptr) {
        if (outOfMemory != nullptr) *outOfMemory = true;
        return 1;
    }
    if (n == 0) return 1;

    // The items as views: their whole text field, which the pipeline reads
    // up to its first NUL (the field's length lets it copy a word in one
    // block). The sentence key is sentence and extra as one 32-bit value.
    thread_local std::vector<vsg::engine::WordView> views;
    try {
        views.resize(static_cast<size_t>(n));
    } catch (const std::bad_alloc &) {
        if (outOfMemory != nullptr) *outOfMemory = true;
        return 1;
    }
    const WordItem *items = input->items;
    for (int32_t i = 0; i < n; ++i) {
        const WordItem &item = items[i];
        views[static_cast<size_t>(i)] = vsg::engine::WordView{
            item.text, static_cast<uint32_t>(sizeof item.text),
            (static_cast<uint32_t>(item.sentence) << 16) | item.extra};
    }
    OutputSink sink(input, output);
    if (!vsg::engine::RunPipeline(*engine, views.data(), n, mode, sink, tables) && outOfMemory != nullptr)
        *outOfMemory = true;
    return 1;
}

extern "C" {

void VSG_SegmentForServerFree(WordList *output) {
    if (output == nullptr || output->items == nullptr) return;
    ThreadKeptItems().Give(output->items);
    output->items = nullptr;
}

}  // extern "C"

namespace vsg::engine {

SegmentEngine *LoadInstance(const char *directory, int32_t *status, LoadFault *fault) {
    auto *engine = static_cast<SegmentEngine *>(calloc(1, sizeof(SegmentEngine)));
    LoadFault why = LoadFault::kNoMemory;
    int32_t result = engine != nullptr ? LoadInto(engine, directory, Messages::kQuiet, &why) : VSG_ERR_COREDICT;
    if (status != nullptr) *status = result;
    if (fault != nullptr) *fault = why;
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
