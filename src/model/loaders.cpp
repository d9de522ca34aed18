// Fault descriptions, the messages of the exported loaders, and the loading
// of one model file in the order the engine uses.
#include "model/loaders.h"

#include <cstdio>
#include <cstring>

namespace vsg::model {

const char *FaultText(LoadFault fault) noexcept {
    switch (fault) {
    case LoadFault::kNone: return "loaded";
    case LoadFault::kCannotOpen: return "missing or not a readable file";
    case LoadFault::kWrongVersion: return "binary form of another version";
    case LoadFault::kDamaged: return "damaged (truncated or malformed)";
    case LoadFault::kNoMemory: return "out of memory";
    case LoadFault::kNoRecord: return "no record to load into";
    }
    return "unknown fault";
}

void PrintTextFault(LoadFault fault, const char *path) noexcept {
    if (fault == LoadFault::kCannotOpen)
        std::printf("The input file %s does not exist !\n", path != nullptr ? path : "");
}

void PrintBinaryFault(LoadFault fault) noexcept {
    if (fault != LoadFault::kWrongVersion) return;
    static const char kMessage[] = "coredict version error!";
    std::fwrite(kMessage, 1, sizeof kMessage - 1, stderr);
}

int32_t AnswerTextLoad(LoadFault fault, const char *path) noexcept {
    PrintTextFault(fault, path);
    return fault == LoadFault::kNone ? 1 : -1;
}

int32_t AnswerBinaryLoad(LoadFault fault) noexcept {
    PrintBinaryFault(fault);
    return fault == LoadFault::kNone ? 1 : -1;
}

LoadFault LoadCoreFile(const char *path, DictionaryS *dict, Messages messages) noexcept {
    const bool print = messages == Messages::kAsExported;
    LoadFault fault = LoadCoreBinary(path, dict);
    if (print) PrintBinaryFault(fault);
    if (fault == LoadFault::kNone || dict == nullptr) return fault;
    // What the failed binary attempt allocated is released so that the text
    // load starts from an empty record.
    DictionaryS_Free(dict);
    std::memset(dict, 0, sizeof *dict);
    fault = LoadCoreText(path, dict);
    if (print) PrintTextFault(fault, path);
    return fault;
}

LoadFault LoadContextFile(const char *path, ContextStat *model, Messages messages) noexcept {
    LoadFault fault = LoadContextVersioned(path, model);
    if (messages == Messages::kAsExported) PrintBinaryFault(fault);
    if (fault == LoadFault::kNone || model == nullptr) return fault;
    ContextStat_Free(model);
    std::memset(model, 0, sizeof *model);
    return LoadContextRaw(path, model);
}

LoadFault LoadAffixFile(const char *path, Dictionary *dict, Messages messages) noexcept {
    const LoadFault fault = LoadAffixText(path, dict);
    if (messages == Messages::kAsExported) PrintTextFault(fault, path);
    return fault;
}

}  // namespace vsg::model
