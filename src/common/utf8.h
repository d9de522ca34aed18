// UTF-8 decoding, once for the whole library: the length a lead byte
// announces and the decoding of one well-formed sequence.
#ifndef VSGLEX_SRC_COMMON_UTF8_H
#define VSGLEX_SRC_COMMON_UTF8_H

#include <cstddef>
#include <cstdint>

namespace vsg {

// Bytes of the sequence that lead byte `b` opens: 1 for ASCII, 2 to 4 for
// the lead bytes of well-formed sequences (0xC2-0xDF, 0xE0-0xEF, 0xF0-0xF4),
// 0 for a byte that opens none (a continuation byte, 0xC0, 0xC1, 0xF5-0xFF).
constexpr int Utf8SequenceLength(unsigned char b) {
    if (b < 0x80) return 1;
    if (b >= 0xC2 && b <= 0xDF) return 2;
    if (b >= 0xE0 && b <= 0xEF) return 3;
    if (b >= 0xF0 && b <= 0xF4) return 4;
    return 0;
}

// Whether surrogate code points (U+D800-U+DFFF) decode or count as malformed.
enum class Surrogates { kAccept, kReject };

// Decodes the sequence at s[0..n): its length, with the code point in *code;
// 0 (and *code untouched) when it is malformed, cut off by n, overlong or
// beyond U+10FFFF. Reads no byte past the first one that is not a
// continuation byte, so a NUL-terminated text may be given with n = 4.
inline size_t DecodeUtf8(const unsigned char *s, size_t n, uint32_t *code, Surrogates surrogates) {
    if (n == 0) return 0;
    const size_t len = static_cast<size_t>(Utf8SequenceLength(s[0]));
    if (len == 0 || len > n) return 0;
    if (len == 1) {
        *code = s[0];
        return 1;
    }
    static constexpr uint32_t kLeadBits[5] = {0, 0, 0x1F, 0x0F, 0x07};
    static constexpr uint32_t kSmallest[5] = {0, 0, 0x80, 0x800, 0x10000};
    uint32_t cp = s[0] & kLeadBits[len];
    for (size_t k = 1; k < len; ++k) {
        if ((s[k] & 0xC0) != 0x80) return 0;
        cp = (cp << 6) | (s[k] & 0x3Fu);
    }
    if (cp < kSmallest[len] || cp > 0x10FFFF) return 0;
    if (surrogates == Surrogates::kReject && cp >= 0xD800 && cp <= 0xDFFF) return 0;
    *code = cp;
    return len;
}

}  // namespace vsg

#endif  // VSGLEX_SRC_COMMON_UTF8_H
