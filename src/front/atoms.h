// Atoms of GB18030 text: the smallest units the word cutter works on.
#ifndef VSGLEX_SRC_FRONT_ATOMS_H
#define VSGLEX_SRC_FRONT_ATOMS_H

#include <cstddef>
#include <cstdint>
#include <vector>

namespace vsg::front {

// Longest atom in bytes; longer runs of digits or letters, web and e-mail
// addresses are split so that every word fits the engine's 80-byte word
// field (the pieces after the first are marked as continuing it).
inline constexpr size_t kMaxAtomBytes = 80;

// What an atom is.
enum class AtomKind : uint8_t {
    kHan,     // one Chinese character
    kNumber,  // digits (half or full width) with inner separators, a leading minus
              // sign, a closing '%' or per-mille sign, or a list number's full stop
    kLatin,   // letters and digits (half or full width) led by a letter, with inner
              // '-' '&' '.' and dashes; or a web or e-mail address
    kPunct,   // one punctuation mark or symbol
    kSpace,   // a run of white space or control bytes; never part of a word
    kOther    // any other character, or a byte that opens no valid character
};

// One atom: `length` bytes of the text from byte `start`.
struct Atom {
    uint32_t start;
    uint16_t length;
    AtomKind kind;
    bool continuesPrevious = false;  // a piece of a run longer than kMaxAtomBytes
};

// Byte length of the GB18030 character at text[i] (1, 2 or 4); 1 for a byte
// that opens no complete valid sequence. Inline: the front end asks it for
// nearly every character, several times.
inline size_t GbCharLength(const unsigned char *t, size_t i, size_t n) {
    unsigned char c = t[i];
    if (c < 0x81 || c == 0xFF) return 1;
    if (i + 1 >= n) return 1;
    unsigned char c2 = t[i + 1];
    if ((c2 >= 0x40 && c2 <= 0x7E) || (c2 >= 0x80 && c2 <= 0xFE)) return 2;
    if (c2 >= 0x30 && c2 <= 0x39 && i + 3 < n) {
        unsigned char c3 = t[i + 2], c4 = t[i + 3];
        if (c3 >= 0x81 && c3 <= 0xFE && c4 >= 0x30 && c4 <= 0x39) return 4;
    }
    return 1;
}

// Appends the atoms of text[begin, end) to `out` (offsets from text[0]).
void Atomise(const char *text, size_t begin, size_t end, std::vector<Atom> &out);

}  // namespace vsg::front

#endif  // VSGLEX_SRC_FRONT_ATOMS_H
