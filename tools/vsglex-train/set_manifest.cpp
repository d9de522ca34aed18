// The manifest the trainer writes once every model file is written.
#include "set_manifest.h"

#include "model/model_set.h"

namespace vsgtrain {

std::string TrainerProducer() { return std::string("vsglex-train ") + VSGLEX_VERSION; }

bool WriteSetManifests(const std::string &outDir, const std::string &textDir, std::string *error) {
    if (!vsg::model::WriteManifest(outDir, TrainerProducer(), error)) return false;
    return textDir.empty() || vsg::model::WriteManifest(textDir, TrainerProducer(), error);
}

}  // namespace vsgtrain
