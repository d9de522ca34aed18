// Helpers shared by the text utility sources.
#ifndef VSGLEX_SRC_TEXT_TEXT_INTERNAL_H
#define VSGLEX_SRC_TEXT_TEXT_INTERNAL_H

#include <cstddef>
#include <cstring>

#include "vsglex/utility.h"

namespace vsg::text {

// Byte value of s[i].
inline unsigned Byte(const char *s, size_t i) { return static_cast<unsigned char>(s[i]); }

// True for a byte that opens a two-byte character.
inline bool IsLeadByte(unsigned b) { return b >= 0x80; }

// True for the lead byte of a Chinese character (GB2312 rows 16-87).
inline bool IsChineseLead(unsigned b) { return b >= 0xB0 && b <= 0xF7; }

// Membership of the character `c` (1 or 2 bytes, NUL-terminated) in a list
// whose two-byte members are searched with CC_Find and whose trailing ASCII
// members are matched byte-wise.
inline bool InList(const char *list, const char *c) {
    const unsigned b = Byte(c, 0);
    if (IsLeadByte(b)) return CC_Find(list, c) != nullptr;
    return b != 0 && std::strchr(list, static_cast<int>(b)) != nullptr;
}

// Reads the character of `s` at byte `p` (p < length) into `c` (3 bytes);
// returns its length. A lead byte that stands last takes the terminating NUL
// as its trail byte, so at most s[length] is read.
inline int ReadChar(const char *s, size_t p, char *c) { return Getchar(s + p, c); }

}  // namespace vsg::text

#endif  // VSGLEX_SRC_TEXT_TEXT_INTERNAL_H
