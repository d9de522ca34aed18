// Internal helpers of the raw-text interface shared with tests and tools.
#ifndef VSGLEX_SRC_FRONT_ANALYZER_H
#define VSGLEX_SRC_FRONT_ANALYZER_H

#include <cstdint>

#include "front/lexicon.h"

namespace vsg::front {

// Name class (VSGLEX_NAME_*) of a part-of-speech tag number: 24, 27, 28
// person; 29, 30 place; 31 organisation.
int32_t NameClassOfTag(int32_t tag);

// The cutter built from the loaded dictionary while a handle is open, else
// null.
const Lexicon *SharedLexicon();

}  // namespace vsg::front

#endif  // VSGLEX_SRC_FRONT_ANALYZER_H
