// Internal helpers of the raw-text interface shared with tests and tools.
#ifndef VSGLEX_SRC_FRONT_ANALYZER_H
#define VSGLEX_SRC_FRONT_ANALYZER_H

#include <cstdint>
#include <string>

#include "front/lexicon.h"
#include "front/segmodel.h"
#include "vsglex/vsglex_api.h"

namespace vsg::front {

// Name class (VSGLEX_NAME_*) of a part-of-speech tag number: 24, 27, 28
// person; 29, 30 place; 31 organisation.
int32_t NameClassOfTag(int32_t tag);

// The cutter of the model set a handle uses (null for a null handle).
const Lexicon *LexiconOf(const vsglex_handle *handle);
// The trained cutter of the model set a handle uses, or null when the set
// has none (or for a null handle).
const SegModel *SegModelOf(const vsglex_handle *handle);

// Loads DIR/segment.mdl into `model`. A missing file, or VSGLEX_CUTTER=dict
// in the environment, leaves it unloaded (the dictionary cutter cuts) and
// succeeds; a damaged file fails with the reason in `error`.
bool LoadCutterModel(const std::string &dir, SegModel &model, std::string *error);

}  // namespace vsg::front

#endif  // VSGLEX_SRC_FRONT_ANALYZER_H
