// Conversion of the caller's text into the engine's GB18030 work text, with
// a map from every work byte back to the caller's bytes.
#ifndef VSGLEX_SRC_FRONT_TRANSCODE_H
#define VSGLEX_SRC_FRONT_TRANSCODE_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace vsg::front {

// An allocator whose elements are left uninitialised when a vector grows
// without a value (resize): the conversion sizes its offset arrays ahead and
// writes every element it keeps, so zeroing them first is wasted work.
template <class T>
struct UninitAllocator : std::allocator<T> {
    template <class U>
    struct rebind {
        using other = UninitAllocator<U>;
    };
    UninitAllocator() = default;
    template <class U>
    UninitAllocator(const UninitAllocator<U> &) noexcept {}
    template <class U>
    void construct(U *p) noexcept(std::is_nothrow_default_constructible<U>::value) {
        ::new (static_cast<void *>(p)) U;
    }
    template <class U, class... Args>
    void construct(U *p, Args &&...args) {
        ::new (static_cast<void *>(p)) U(std::forward<Args>(args)...);
    }
};

// The work text of one stretch of the caller's text.
struct WorkText {
    using Offsets = std::vector<uint32_t, UninitAllocator<uint32_t>>;
    std::string gb;    // GB18030 text; NUL bytes of the source become spaces
    Offsets srcStart;  // per work byte: offset of its source character
    Offsets srcEnd;    // per work byte: offset just past its source character
    bool nul = false;  // the stretch held NUL bytes (made spaces here)
};

// Byte length of a valid UTF-8 character at s[0..n) (1 to 4), or 0 when the
// bytes there are not valid UTF-8 (overlong forms and surrogates included).
size_t Utf8CharLength(const unsigned char *s, size_t n, uint32_t *code);
// True when s[0..n) is valid UTF-8.
bool IsValidUtf8(const char *s, size_t n);

// Converts src[0..n) read in `charset` (1 GB18030, 2 BIG5, 3 UTF-8) into
// `work` (replacing its contents). Invalid byte sequences are left out and
// their offsets (plus `base`) appended to `invalid`. BIG5 text is mapped to
// simplified characters; GB18030 and UTF-8 text too when `simplify` is set
// (the same character table).
void ToWorkText(const char *src, size_t n, int charset, WorkText &work, std::vector<uint64_t> &invalid,
                uint64_t base, bool simplify = false);

// What the bytes of a text look like.
struct CharsetGuess {
    int charset = 3;           // 1 GB18030, 2 BIG5, 3 UTF-8
    bool utf16 = false;        // a UTF-16 byte-order mark or UTF-16 byte pattern
    bool traditional = false;  // more traditional-only than simplified-only characters
};

// Bytes of a text that GuessCharset looks at (its start).
inline constexpr size_t kGuessBytes = 16u << 20;

// Guesses the character set of src[0..n) from the evidence of the whole
// text (at most its first kGuessBytes): a byte-order mark; UTF-8 when the
// bytes of valid multi-byte UTF-8 sequences outnumber the other high bytes
// at least two to one (so a few bad bytes do not turn a UTF-8 text into
// GB18030); else BIG5 or GB18030 by which set's usual character rows the
// double-byte characters fall in.
CharsetGuess GuessCharset(const char *src, size_t n);

// Byte offset of a place in src[from..to) at which the text may be cut in
// `charset` without splitting a character: just after the last sentence end
// (full-width or ASCII full stop, question or exclamation mark) when there
// is one, else after the last whole character; `from` itself when no
// character ends in the range. Reads src[from..to + 4) at most, never past
// `limit`.
size_t CutPoint(const char *src, size_t from, size_t to, size_t limit, int charset);

// End of the first block of src[0..length) in `charset` for analysis in
// blocks of about `chars` characters (at least 1): just after the first
// line end that follows `chars` characters; when no line ends within
// 2 * `chars` characters, just after the last sentence end before them
// (for pre-cut text, after the last space), else after the last of them.
// `length` when the text ends first. Counted in characters, so that the
// same text in another character set, or in half-width instead of
// full-width characters, is cut at the same places.
size_t BlockEnd(const char *src, size_t length, int charset, bool precut, size_t chars);

// Appends the UTF-8 form of GB18030 text gb[0..n) to `out`; bytes that do
// not decode become U+FFFD.
void GbToUtf8(const char *gb, size_t n, std::string &out);

}  // namespace vsg::front

#endif  // VSGLEX_SRC_FRONT_TRANSCODE_H
