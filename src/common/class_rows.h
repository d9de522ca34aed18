// Which core-dictionary rows make a long word a known name: the rule of the
// pipeline's class assignment, shared with the trainer, which mirrors it.
#ifndef VSGLEX_SRC_COMMON_CLASS_ROWS_H
#define VSGLEX_SRC_COMMON_CLASS_ROWS_H

#include <cstdint>

#include "common/tagset.h"
#include "vsglex/model.h"

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

// The name tag `count` rows give a long word: that of the last row that
// passes ClassTagOfRow, or -1.
inline int ClassTagOfRows(const DictSRow *rows, int32_t count) {
    int tag = -1;
    if (rows == nullptr) return tag;
    for (int32_t i = 0; i < count; ++i) {
        const int t = ClassTagOfRow(rows[i].subCode, static_cast<double>(rows[i].value));
        if (t >= 0) tag = t;
    }
    return tag;
}

}  // namespace vsg

#endif  // VSGLEX_SRC_COMMON_CLASS_ROWS_H
