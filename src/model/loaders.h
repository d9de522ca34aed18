// The model loaders as a core that never prints: each returns what went
// wrong instead. The exported loader functions (DictionaryS_Load, ...) are
// adapters over these that print the messages hosts of that interface
// expect; owned engines, the front end and the tools load through the core.
#ifndef VSGLEX_SRC_MODEL_LOADERS_H
#define VSGLEX_SRC_MODEL_LOADERS_H

#include <cstdint>

#include "vsglex/model.h"

namespace vsg::model {

// What is wrong with a model file that did not load.
enum class LoadFault {
    kNone,          // loaded
    kCannotOpen,    // missing, unreadable, or not a regular file
    kWrongVersion,  // a binary form whose version word is not this build's
    kDamaged,       // truncated or malformed
    kNoMemory,      // memory ran out while loading
    kNoRecord,      // no record to load into
};

// A short description of a fault, e.g. "missing or not a readable file".
const char *FaultText(LoadFault fault) noexcept;

// Whether a load prints the messages of the exported loaders.
enum class Messages { kQuiet, kAsExported };

// The messages the exported loaders print: the missing-file line on
// standard output for a text form that cannot be opened, the version line
// on standard error for a binary form of another version.
void PrintTextFault(LoadFault fault, const char *path) noexcept;
void PrintBinaryFault(LoadFault fault) noexcept;
// The answer of an exported loader of a text or binary form: prints the
// message of the fault as above, then 1 when it loaded, else -1.
int32_t AnswerTextLoad(LoadFault fault, const char *path) noexcept;
int32_t AnswerBinaryLoad(LoadFault fault) noexcept;

// Core dictionary, text and binary forms.
LoadFault LoadCoreText(const char *path, DictionaryS *dict) noexcept;
LoadFault LoadCoreBinary(const char *path, DictionaryS *dict) noexcept;
// Affix dictionary, text and binary forms.
LoadFault LoadAffixText(const char *path, Dictionary *dict) noexcept;
LoadFault LoadAffixBinary(const char *path, Dictionary *dict) noexcept;
// Context statistics, raw and versioned forms.
LoadFault LoadContextRaw(const char *path, ContextStat *model) noexcept;
LoadFault LoadContextVersioned(const char *path, ContextStat *model) noexcept;
// Tag map.
LoadFault LoadTagMap(const char *path, POSmap *map) noexcept;

// One model file the way the engine loads it: the core dictionary and the
// context statistics binary (versioned) form first, then, on failure, the
// other form of the same file; affix dictionaries as text (tag maps have
// one form: LoadTagMap).
// The fault is that of the last form tried.
LoadFault LoadCoreFile(const char *path, DictionaryS *dict, Messages messages) noexcept;
LoadFault LoadContextFile(const char *path, ContextStat *model, Messages messages) noexcept;
LoadFault LoadAffixFile(const char *path, Dictionary *dict, Messages messages) noexcept;

}  // namespace vsg::model

#endif  // VSGLEX_SRC_MODEL_LOADERS_H
