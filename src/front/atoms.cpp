// Atomiser: splits GB18030 text into Chinese characters, number and letter
// runs (half and full width), punctuation, white space and other characters.
#include "front/atoms.h"

namespace vsg::front {

namespace {

// Character classes used while scanning.
enum class Cls : uint8_t { kHan, kDigit, kLetter, kPunct, kSpace, kOther };

// ASCII counterpart of a full-width character A3xx (0x21..0x7E), else 0.
inline unsigned char FullWidthAscii(const unsigned char *p, size_t len) {
    if (len == 2 && p[0] == 0xA3 && p[1] >= 0xA1 && p[1] <= 0xFE) return static_cast<unsigned char>(p[1] - 0x80);
    return 0;
}

inline bool IsDigit(unsigned char c) { return c >= '0' && c <= '9'; }
inline bool IsLetter(unsigned char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

// Class of the character p[0..len): ASCII bytes by their kind, full-width
// ASCII like its half-width form, symbol rows A1-A9 as punctuation (except
// the ideographic space), other two-byte characters as Chinese characters.
Cls Classify(const unsigned char *p, size_t len) {
    if (len == 1) {
        unsigned char c = p[0];
        if (c >= 0x80) return Cls::kOther;
        if (IsDigit(c)) return Cls::kDigit;
        if (IsLetter(c)) return Cls::kLetter;
        if (c <= 0x20 || c == 0x7F) return Cls::kSpace;
        return Cls::kPunct;
    }
    if (len == 4) return Cls::kOther;
    if (p[0] == 0xA1 && p[1] == 0xA1) return Cls::kSpace;  // ideographic space
    if (unsigned char a = FullWidthAscii(p, len)) {
        if (IsDigit(a)) return Cls::kDigit;
        if (IsLetter(a)) return Cls::kLetter;
        return Cls::kPunct;
    }
    if (p[0] >= 0xA1 && p[0] <= 0xA9) return Cls::kPunct;
    return Cls::kHan;
}

// True when the character at p is a separator inside numbers: '.' ',' or
// the full-width period.
inline bool IsNumberSeparator(const unsigned char *p, size_t len) {
    if (len == 1) return p[0] == '.' || p[0] == ',';
    return len == 2 && p[0] == 0xA3 && p[1] == 0xAE;
}

inline bool IsPercent(const unsigned char *p, size_t len) {
    if (len == 1) return p[0] == '%';
    return len == 2 && p[0] == 0xA3 && p[1] == 0xA5;
}

}  // namespace

size_t GbCharLength(const unsigned char *t, size_t i, size_t n) {
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

void Atomise(const char *text, size_t begin, size_t end, std::vector<Atom> &out) {
    const auto *t = reinterpret_cast<const unsigned char *>(text);
    size_t i = begin;
    auto push = [&out](size_t s, size_t e, AtomKind k) {
        out.push_back(Atom{static_cast<uint32_t>(s), static_cast<uint16_t>(e - s), k});
    };
    while (i < end) {
        size_t len = GbCharLength(t, i, end);
        Cls cls = Classify(t + i, len);
        size_t s = i;
        i += len;
        switch (cls) {
        case Cls::kHan:
            push(s, i, AtomKind::kHan);
            break;
        case Cls::kPunct:
            push(s, i, AtomKind::kPunct);
            break;
        case Cls::kOther:
            push(s, i, AtomKind::kOther);
            break;
        case Cls::kSpace:
            while (i < end) {
                size_t l = GbCharLength(t, i, end);
                if (Classify(t + i, l) != Cls::kSpace || i + l - s > kMaxAtomBytes) break;
                i += l;
            }
            push(s, i, AtomKind::kSpace);
            break;
        case Cls::kDigit:
        case Cls::kLetter: {
            // A run of digits, or of letters followed by letters or digits.
            bool number = cls == Cls::kDigit;
            while (i < end) {
                size_t l = GbCharLength(t, i, end);
                Cls c = Classify(t + i, l);
                bool take = number ? c == Cls::kDigit : (c == Cls::kLetter || c == Cls::kDigit);
                if (!take && number && IsNumberSeparator(t + i, l) && i + l < end) {
                    // A separator counts only between two digits.
                    size_t l2 = GbCharLength(t, i + l, end);
                    take = Classify(t + i + l, l2) == Cls::kDigit && i + l + l2 - s <= kMaxAtomBytes;
                }
                if (!take || i + l - s > kMaxAtomBytes) {
                    if (number && IsPercent(t + i, l) && i + l - s <= kMaxAtomBytes) i += l;
                    break;
                }
                i += l;
            }
            push(s, i, number ? AtomKind::kNumber : AtomKind::kLatin);
            break;
        }
        }
    }
}

}  // namespace vsg::front
