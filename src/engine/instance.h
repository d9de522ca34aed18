// Private engine instances: loaded and freed by their owner, independent of
// the process-wide instance of the server interface, so that several model
// sets can live in one process and no call of that interface frees them.
#ifndef VSGLEX_SRC_ENGINE_INSTANCE_H
#define VSGLEX_SRC_ENGINE_INSTANCE_H

#include <cstdint>
#include <memory>

#include "vsglex/engine.h"

namespace vsg::engine {

// Loads the twelve model files of `directory` into a new instance. On
// failure returns null and sets *status to the failing file's load status
// (VSG_ERR_COREDICT .. VSG_ERR_ORG_SUFFIX); on success *status is 0.
SegmentEngine *LoadInstance(const char *directory, int32_t *status);
// Frees an instance of LoadInstance (or of the server interface) and its
// models. Null is ignored.
void FreeInstance(SegmentEngine *engine);

// Owning pointer to an instance.
struct InstanceDeleter {
    void operator()(SegmentEngine *engine) const { FreeInstance(engine); }
};
using InstancePtr = std::unique_ptr<SegmentEngine, InstanceDeleter>;

}  // namespace vsg::engine

#endif  // VSGLEX_SRC_ENGINE_INSTANCE_H
