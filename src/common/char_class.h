// The class of the GB character at a position (the CT_* values of
// vsglex/utility.h): one definition for the text utilities' charType and
// the sentence splitter of common/sentences.h.
#ifndef VSGLEX_SRC_COMMON_CHAR_CLASS_H
#define VSGLEX_SRC_COMMON_CHAR_CLASS_H

#include <cstdint>
#include <cstring>

#include "vsglex/utility.h"

namespace vsg {

// The 18 single-byte delimiters, in the order of the class definition.
inline constexpr char kSingleDelimiters[] = ".,;:?!%(){+}[]/=\"'";

// True for the trail byte of a full-width letter (row A3).
inline bool IsWideLetterTrail(unsigned b) { return (b >= 0xC1 && b <= 0xDA) || (b >= 0xE1 && b <= 0xFA); }

// Class of the character that starts at s (NUL-terminated, or a lead byte
// followed by its trail byte).
inline int32_t CharClass(const char *s) {
    const unsigned b0 = static_cast<unsigned char>(s[0]);
    if (b0 < 0x80) {
        // strchr also finds the terminator, so the empty string is a delimiter.
        if (std::strchr(kSingleDelimiters, static_cast<int>(b0)) != nullptr) return CT_SINGLE_DELIMITER;
        return (b0 >= '0' && b0 <= '9') ? CT_SINGLE_NUM : CT_SINGLE;
    }
    if (b0 == 0xA2) return CT_INDEX;
    if (b0 == 0xA3) {
        const unsigned b1 = static_cast<unsigned char>(s[1]);
        if (b1 >= 0xB0 && b1 <= 0xB9) return CT_NUM;
        if (IsWideLetterTrail(b1)) return CT_LETTER;
        return CT_DELIMITER;
    }
    if (b0 == 0xA1) return CT_DELIMITER;
    return b0 >= 0xB0 && b0 <= 0xF7 ? CT_CHINESE : CT_OTHER;
}

}  // namespace vsg

#endif  // VSGLEX_SRC_COMMON_CHAR_CLASS_H
