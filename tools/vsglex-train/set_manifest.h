// The manifest the trainer writes beside the model files it trained.
#ifndef VSGLEX_TOOLS_TRAIN_SET_MANIFEST_H
#define VSGLEX_TOOLS_TRAIN_SET_MANIFEST_H

#include <string>

namespace vsgtrain {

// The producer recorded in the manifest: the trainer and its version.
std::string TrainerProducer();

// Writes the manifest of the model set in `outDir` and, unless empty, of
// the text set in `textDir`; false with a message in `error`.
bool WriteSetManifests(const std::string &outDir, const std::string &textDir, std::string *error);

}  // namespace vsgtrain

#endif  // VSGLEX_TOOLS_TRAIN_SET_MANIFEST_H
