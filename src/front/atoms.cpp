// Atomiser: splits GB18030 text into Chinese characters, number and letter
// runs (half and full width), web addresses and e-mail addresses,
// punctuation, white space and other characters.
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
inline bool IsAlnum(unsigned char c) { return IsDigit(c) || IsLetter(c); }

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

// One character at a position: its length, class and ASCII meaning.
struct Ch {
    size_t len = 0;       // 0 past the end
    Cls cls = Cls::kOther;
    unsigned char ascii = 0;  // the ASCII character (half or full width), else 0
    bool wide = false;        // full-width form
};

// Two-byte symbols of row A1 that matter inside numbers and names.
constexpr unsigned char kMiddleDot = 0xA4;   // A1A4, a decimal point in the corpus
constexpr unsigned char kRatioColon = 0xC3;  // A1C3
constexpr unsigned char kEmDash = 0xAA;      // A1AA
constexpr unsigned char kPerMille = 0xEB;    // A1EB

class Scanner {
public:
    Scanner(const unsigned char *t, size_t end) : t_(t), end_(end) {}

    Ch At(size_t i) const {
        Ch c;
        if (i >= end_) return c;
        c.len = GbCharLength(t_, i, end_);
        c.cls = Classify(t_ + i, c.len);
        if (c.len == 1 && t_[i] < 0x80) {
            c.ascii = t_[i];
        } else if (unsigned char a = FullWidthAscii(t_ + i, c.len)) {
            c.ascii = a;
            c.wide = true;
        }
        return c;
    }
    // True when the text at i is the GB symbol 0xA1 `second` (row A1 holds
    // the punctuation marks and signs).
    bool IsGbSymbolAt(size_t i, unsigned char second) const {
        return i + 1 < end_ && t_[i] == 0xA1 && t_[i + 1] == second;
    }

    // End of a web address starting at i ("http://", "https://", "ftp://" or
    // "www." in either width), or i when there is none.
    size_t Url(size_t i) const {
        size_t p = i;
        if (!Word(p, "http") && !Word(p, "ftp") && !Word(p, "www")) return i;
        bool www = Lower(At(i).ascii) == 'w';
        if (www) {
            Ch c = At(p);
            if (c.ascii != '.') return i;
        } else {
            if (Lower(At(p).ascii) == 's') p += At(p).len;
            for (char want : {':', '/', '/'}) {
                Ch c = At(p);
                if (c.ascii != want) return i;
                p += c.len;
            }
        }
        size_t last = i;  // past the last character that may end an address
        for (Ch c = At(p); c.len != 0 && UrlChar(c); c = At(p)) {
            p += c.len;
            if (!TrailingMark(c.ascii)) last = p;
        }
        return last > i + 6 ? last : i;
    }

    // End of an e-mail address starting at i (local part, '@', a domain of at
    // least two labels ending in a letter), or i when there is none.
    size_t Email(size_t i) const {
        size_t p = i;
        for (Ch c = At(p); c.len != 0 && (IsAlnum(c.ascii) || LocalMark(c.ascii)); c = At(p)) p += c.len;
        Ch at = At(p);
        if (p == i || at.ascii != '@') return i;
        p += at.len;
        size_t last = i;
        int labels = 0;
        while (true) {
            size_t start = p;
            bool letter = false;
            for (Ch c = At(p); c.len != 0 && (IsAlnum(c.ascii) || c.ascii == '-'); c = At(p)) {
                letter = IsLetter(c.ascii);
                p += c.len;
            }
            if (p == start) break;
            ++labels;
            if (labels >= 2 && letter) last = p;
            Ch dot = At(p);
            if (dot.ascii != '.' || !IsAlnum(At(p + dot.len).ascii)) break;
            p += dot.len;
        }
        return last;
    }

    // End of a number starting at i: digits with inner separators between
    // digits ('.' ',' '．' '·' ':' '∶' '/'), and a closing percent or
    // per-mille sign.
    size_t Number(size_t i) const {
        size_t p = i;
        while (true) {
            Ch c = At(p);
            if (c.cls == Cls::kDigit) {
                p += c.len;
                continue;
            }
            size_t sep = NumberSeparator(p, c);
            if (sep != 0 && At(p + sep).cls == Cls::kDigit) {
                p += sep;
                continue;
            }
            if (c.ascii == '%' || IsGbSymbolAt(p, kPerMille)) p += c.len;
            return p;
        }
    }

    // End of a Latin word starting at a letter: letters and digits, with
    // inner '-' '－' '—' '&' '.' between a letter or digit and a letter or
    // digit.
    size_t Latin(size_t i) const {
        size_t p = i;
        while (true) {
            Ch c = At(p);
            if (c.cls == Cls::kDigit || c.cls == Cls::kLetter) {
                p += c.len;
                continue;
            }
            size_t sep = 0;
            if (c.ascii == '-' || c.ascii == '&' || c.ascii == '.' || (c.len == 2 && IsGbSymbolAt(p, kEmDash)))
                sep = c.len;
            Ch next = At(p + sep);
            if (sep != 0 && (next.cls == Cls::kDigit || next.cls == Cls::kLetter)) {
                p += sep;
                continue;
            }
            return p;
        }
    }

    // Length of a separator inside a number at p (0 if none).
    size_t NumberSeparator(size_t p, const Ch &c) const {
        if (c.ascii == '.' || c.ascii == ':' || c.ascii == '/') return c.len;
        if (c.ascii == ',' && !c.wide) return 1;  // the full-width comma separates words
        if (IsGbSymbolAt(p, kMiddleDot) || IsGbSymbolAt(p, kRatioColon)) return 2;
        return 0;
    }

private:
    static unsigned char Lower(unsigned char c) { return c >= 'A' && c <= 'Z' ? static_cast<unsigned char>(c + 32) : c; }
    // Matches the letters of `word` (any case, either width) at p and moves past them.
    bool Word(size_t &p, const char *word) const {
        size_t q = p;
        for (const char *w = word; *w != '\0'; ++w) {
            Ch c = At(q);
            if (Lower(c.ascii) != static_cast<unsigned char>(*w)) return false;
            q += c.len;
        }
        p = q;
        return true;
    }
    // Characters of an address: letters, digits and the marks of RFC 3986
    // except brackets, parentheses and quotes, which close an address in
    // running text; the full-width comma, semicolon and marks are Chinese
    // punctuation, not part of an address.
    static bool UrlChar(const Ch &c) {
        if (IsAlnum(c.ascii)) return true;
        if (c.ascii == 0) return false;
        const char *marks = c.wide ? "-._~:/?#@=&%+" : "-._~:/?#@!$&*+,;=%";
        for (const char *m = marks; *m != '\0'; ++m)
            if (c.ascii == static_cast<unsigned char>(*m)) return true;
        return false;
    }
    // Marks that end a sentence more often than an address.
    static bool TrailingMark(unsigned char a) {
        return a == '.' || a == ',' || a == ';' || a == ':' || a == '!' || a == '?';
    }
    static bool LocalMark(unsigned char a) { return a == '.' || a == '_' || a == '%' || a == '+' || a == '-'; }

    const unsigned char *t_;
    size_t end_;
};

}  // namespace

void Atomise(const char *text, size_t begin, size_t end, std::vector<Atom> &out) {
    const auto *t = reinterpret_cast<const unsigned char *>(text);
    Scanner scan(t, end);
    size_t first = out.size();
    auto push = [&out](size_t s, size_t e, AtomKind k) {
        out.push_back(Atom{static_cast<uint32_t>(s), static_cast<uint16_t>(e - s), k});
    };
    // A run of [s, e) as atoms of at most kMaxAtomBytes, cut between
    // characters; the pieces after the first are marked as continuing it.
    auto pushRun = [&](size_t s, size_t e, AtomKind k) {
        bool continues = false;
        while (s < e) {
            size_t p = s;
            while (p < e) {
                size_t l = GbCharLength(t, p, end);
                if (p + l - s > kMaxAtomBytes) break;
                p += l;
            }
            push(s, p, k);
            out.back().continuesPrevious = continues;
            continues = true;
            s = p;
        }
    };
    // True when the last atom ends at s and is a number or Latin run.
    auto afterRun = [&](size_t s) {
        if (out.size() == first) return false;
        const Atom &a = out.back();
        return a.start + a.length == s && (a.kind == AtomKind::kNumber || a.kind == AtomKind::kLatin);
    };
    size_t i = begin;
    while (i < end) {
        Ch c = scan.At(i);
        size_t s = i;
        i += c.len;
        switch (c.cls) {
        case Cls::kHan:
            push(s, i, AtomKind::kHan);
            break;
        case Cls::kOther:
            push(s, i, AtomKind::kOther);
            break;
        case Cls::kPunct: {
            // A minus sign before a number that follows no other run.
            if (c.ascii == '-' && !afterRun(s) && scan.At(i).cls == Cls::kDigit) {
                pushRun(s, scan.Number(i), AtomKind::kNumber);
                i = out.back().start + out.back().length;
                break;
            }
            push(s, i, AtomKind::kPunct);
            break;
        }
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
            size_t e = scan.Url(s);
            if (e == s) e = scan.Email(s);
            if (e > s) {
                pushRun(s, e, AtomKind::kLatin);
            } else if (c.cls == Cls::kDigit) {
                e = scan.Number(s);
                // A list number: a short plain number and a full stop before
                // a word ("１．农村"), at the start of a run.
                Ch dot = scan.At(e);
                Ch after = scan.At(e + dot.len);
                if (dot.ascii == '.' && after.cls == Cls::kHan && !afterRun(s) && e - s <= 6) {
                    bool plain = true;
                    for (size_t p = s; p < e; p += scan.At(p).len) plain &= scan.At(p).cls == Cls::kDigit;
                    if (plain) e += dot.len;
                }
                pushRun(s, e, AtomKind::kNumber);
            } else {
                pushRun(s, scan.Latin(s), AtomKind::kLatin);
            }
            i = out.back().start + out.back().length;
            break;
        }
        }
    }
}

}  // namespace vsg::front
