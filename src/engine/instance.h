// Engines owned by their user: a loaded model set independent of the
// process-wide instance of the server interface, so that several model sets
// can live in one process and no call of that interface frees them.
#ifndef VSGLEX_SRC_ENGINE_INSTANCE_H
#define VSGLEX_SRC_ENGINE_INSTANCE_H

#include <cstdint>
#include <cstring>
#include <memory>
#include <new>

#include "engine/core.h"
#include "model/loaders.h"
#include "vsglex/engine.h"

namespace vsg::engine {

// Loads the twelve model files of `directory` into a new instance. On
// failure returns null and sets *status to the failing file's load status
// (VSG_ERR_COREDICT .. VSG_ERR_ORG_SUFFIX) and *fault (if not null) to what
// its loader found wrong; on success *status is 0. Prints nothing.
SegmentEngine *LoadInstance(const char *directory, int32_t *status, model::LoadFault *fault = nullptr);
// Frees an instance of LoadInstance and its models. Null is ignored.
void FreeInstance(SegmentEngine *engine);

// The segmentation call of VSG_SegmentForServer; *outOfMemory (if not null)
// tells whether it gave up for lack of memory, which the call's return value
// does not say.
// `tables`, when given, are those built from `engine`.
int32_t SegmentCall(const WordList *input, WordList *output, int32_t mode, const SegmentEngine *engine,
                    bool *outOfMemory, const EngineTables *tables = nullptr);

// An owned engine instance.
class Engine {
public:
    // Loads `directory` (see LoadInstance); null on failure.
    static std::unique_ptr<Engine> Load(const char *directory, int32_t *status,
                                        model::LoadFault *fault = nullptr) {
        SegmentEngine *models = LoadInstance(directory, status, fault);
        if (models == nullptr) return nullptr;
        std::unique_ptr<Engine> e(new (std::nothrow) Engine(models));
        if (e == nullptr) {
            FreeInstance(models);
            return nullptr;
        }
        // Without its tables (memory short) the engine gives the same results.
        e->tables_ = BuildTables(*models);
        return e;
    }
    ~Engine() { FreeInstance(models_); }
    Engine(const Engine &) = delete;
    Engine &operator=(const Engine &) = delete;

    // The models, in the record the server interface uses.
    const SegmentEngine &models() const { return *models_; }
    // Recognises names and tags pre-cut words with these models, as
    // VSG_SegmentForServer does; see SegmentCall for `outOfMemory`.
    int32_t Segment(const WordList *input, WordList *output, int32_t mode, bool *outOfMemory = nullptr) const {
        return SegmentCall(input, output, mode, models_, outOfMemory, tables_.get());
    }

    // Recognises names and tags words given as views (see TagWords): the
    // core call, without the server interface's fixed-size items.
    int32_t Tag(const WordView *words, size_t n, int32_t mode, Tagging &out) const {
        return TagWords(*models_, words, n, mode, out, tables_.get());
    }

    // The core-dictionary entry of the GB `word` of `length` bytes (what
    // DictionaryS_GetCoreInfo gives), or -1: through the tables' index when
    // the engine has them, which costs one slot instead of a bucket's
    // string comparisons.
    int32_t CoreEntryOf(const char *word, size_t length) const {
        if (tables_ != nullptr) return IndexedCoreEntry(*tables_, word, length);
        if (length == 0 || length > 80) return -1;
        char key[81];
        memcpy(key, word, length);
        key[length] = '\0';
        return DictionaryS_GetCoreInfo(key, &models_->core);
    }

private:
    explicit Engine(SegmentEngine *models) : models_(models) {}
    SegmentEngine *models_;
    EngineTablesPtr tables_;
};

}  // namespace vsg::engine

#endif  // VSGLEX_SRC_ENGINE_INSTANCE_H
