// Which core-dictionary rows make a long word a known name: the rule of the
// pipeline's class assignment, shared with the trainer, which mirrors it.
#ifndef VSGLEX_SRC_ENGINE_CLASS_ROWS_H
#define VSGLEX_SRC_ENGINE_CLASS_ROWS_H

#include <cstdint>

#include "common/tagset.h"

namespace vsg {

// Row value a person or organisation row must exceed ("seen about ten
// times"); a place row must exceed 0.
inline constexpr double kNameThreshold = 2.3;

// Only words of more than two bytes (more than one Chinese character) are
// given a class.
inline bool TakesClass(const char *text) { return text[0] != '\0' && text[1] != '\0' && text[2] != '\0'; }

// The name tag a part-of-speech row gives its word when its value passes
// the class's threshold, or -1.
inline int ClassTagOfRow(uint8_t subCode, double value) {
    if ((subCode == kPersonTag || subCode == kForeignPersonTag) && value > kNameThreshold) return subCode;
    if ((subCode == kPlaceTag || subCode == kForeignPlaceTag) && value > 0.0) return subCode;
    if (subCode == kOrgTag && value > kNameThreshold) return subCode;
    return -1;
}

}  // namespace vsg

#endif  // VSGLEX_SRC_ENGINE_CLASS_ROWS_H
