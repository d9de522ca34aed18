// The one list of the model files the engine loads, in load order, with the
// status the engine reports when each one fails.
#ifndef VSGLEX_SRC_COMMON_MODEL_FILES_H
#define VSGLEX_SRC_COMMON_MODEL_FILES_H

#include <cstddef>
#include <cstdint>

#include "vsglex/engine.h"

namespace vsg {

// Version word that opens the binary forms of the model files this build
// reads and writes.
inline constexpr uint32_t kModelBinaryVersion = 4;

// What a model file holds.
enum class ModelKind { kCore, kContext, kMap, kAffix };

// One model file and the load status of its failure.
struct ModelFileSpec {
    const char *name;
    ModelKind kind;
    int32_t status;
};

inline constexpr ModelFileSpec kModelFiles[] = {
    {"coredict.dct", ModelKind::kCore, VSG_ERR_COREDICT},
    {"lexical.ctx", ModelKind::kContext, VSG_ERR_LEXICAL_CTX},
    {"zyrpos30.map", ModelKind::kMap, VSG_ERR_LEXICAL_MAP},
    {"nr.ctx", ModelKind::kContext, VSG_ERR_NR_CTX},
    {"nr.map", ModelKind::kMap, VSG_ERR_NR_MAP},
    {"ns.ctx", ModelKind::kContext, VSG_ERR_NS_CTX},
    {"ns.map", ModelKind::kMap, VSG_ERR_NS_MAP},
    {"nt.ctx", ModelKind::kContext, VSG_ERR_NT_CTX},
    {"nt.map", ModelKind::kMap, VSG_ERR_NT_MAP},
    {"name_pre.dct", ModelKind::kAffix, VSG_ERR_NAME_PRE},
    {"loc_suffix.dct", ModelKind::kAffix, VSG_ERR_LOC_SUFFIX},
    {"org_suffix.dct", ModelKind::kAffix, VSG_ERR_ORG_SUFFIX},
};
inline constexpr size_t kModelFileCount = sizeof kModelFiles / sizeof kModelFiles[0];

// The statuses run from VSG_ERR_COREDICT downwards in load order.
constexpr bool StatusesInLoadOrder() {
    for (size_t i = 0; i < kModelFileCount; ++i)
        if (kModelFiles[i].status != VSG_ERR_COREDICT - static_cast<int32_t>(i)) return false;
    return true;
}
static_assert(StatusesInLoadOrder(), "model file statuses follow the load order");

// The model file whose failure the engine reports as `status`, or null.
constexpr const ModelFileSpec *ModelFileOfStatus(int32_t status) {
    const int64_t k = static_cast<int64_t>(VSG_ERR_COREDICT) - status;
    return k >= 0 && k < static_cast<int64_t>(kModelFileCount) ? &kModelFiles[k] : nullptr;
}

}  // namespace vsg

#endif  // VSGLEX_SRC_COMMON_MODEL_FILES_H
