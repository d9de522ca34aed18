// Conversion of the caller's text into the engine's GB18030 work text, with
// a map from every work byte back to the caller's bytes.
#ifndef VSGLEX_SRC_FRONT_TRANSCODE_H
#define VSGLEX_SRC_FRONT_TRANSCODE_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace vsg::front {

// The work text of one stretch of the caller's text.
struct WorkText {
    std::string gb;                 // GB18030 text; NUL bytes of the source become spaces
    std::vector<uint32_t> srcStart; // per work byte: offset of its source character
    std::vector<uint32_t> srcEnd;   // per work byte: offset just past its source character
};

// Byte length of a valid UTF-8 character at s[0..n) (1 to 4), or 0 when the
// bytes there are not valid UTF-8 (overlong forms and surrogates included).
size_t Utf8CharLength(const unsigned char *s, size_t n, uint32_t *code);
// True when s[0..n) is valid UTF-8.
bool IsValidUtf8(const char *s, size_t n);

// Converts src[0..n) read in `charset` (1 GB18030, 2 BIG5, 3 UTF-8) into
// `work` (replacing its contents). Invalid byte sequences are left out and
// their offsets (plus `base`) appended to `invalid`. BIG5 text is mapped to
// simplified characters.
void ToWorkText(const char *src, size_t n, int charset, WorkText &work, std::vector<uint64_t> &invalid,
                uint64_t base);

// Appends the UTF-8 form of GB18030 text gb[0..n) to `out`; bytes that do
// not decode become U+FFFD.
void GbToUtf8(const char *gb, size_t n, std::string &out);

}  // namespace vsg::front

#endif  // VSGLEX_SRC_FRONT_TRANSCODE_H
