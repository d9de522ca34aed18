// Internal helpers of the raw-text interface shared with tests and tools.
#ifndef VSGLEX_SRC_FRONT_ANALYZER_H
#define VSGLEX_SRC_FRONT_ANALYZER_H

#include <cstdint>

#include "front/lexicon.h"
#include "vsglex/vsglex_api.h"

namespace vsg::front {

// Name class (VSGLEX_NAME_*) of a part-of-speech tag number: 24, 27, 28
// person; 29, 30 place; 31 organisation.
int32_t NameClassOfTag(int32_t tag);

// The cutter of the model set a handle uses (null for a null handle).
const Lexicon *LexiconOf(const vsglex_handle *handle);

}  // namespace vsg::front

#endif  // VSGLEX_SRC_FRONT_ANALYZER_H
