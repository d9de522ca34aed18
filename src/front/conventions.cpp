// Number, date, time and Latin-string conventions of the tagged corpus.
#include "front/conventions.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "common/tagset.h"
#include "front/lexicon.h"
#include "vsglex/charset.h"

namespace vsg::front {

namespace {

// GB forms of the characters the rules look at.
constexpr char kDi[] = "\xb5\xda";            // 第
constexpr char kYear[] = "\xc4\xea";          // 年
constexpr char kMonth[] = "\xd4\xc2";         // 月
constexpr char kMonthPart[] = "\xd4\xc2\xb7\xdd";  // 月份
constexpr char kDay[] = "\xc8\xd5";           // 日
constexpr char kHour[] = "\xca\xb1";          // 时
constexpr char kMinute[] = "\xb7\xd6";        // 分
constexpr char kOClock[] = "\xb5\xe3\xd6\xd3";  // 点钟
constexpr char kClock[] = "\xd6\xd3";         // 钟
constexpr char kPoint[] = "\xb5\xe3";         // 点
constexpr char kFraction[] = "\xb7\xd6\xd6\xae";  // 分之
constexpr char kOf[] = "\xd6\xae";            // 之
// Words of 年 and a part of the year, which the corpus writes apart after
// a year of four digits (1998年 底).
constexpr const char *kYearParts[] = {
    "\xc4\xea\xb5\xd7",  // 年底
    "\xc4\xea\xb3\xf5",  // 年初
    "\xc4\xea\xc4\xa9",  // 年末
    "\xc4\xea\xd6\xd0",  // 年中
    "\xc4\xea\xc4\xda",  // 年内
    "\xc4\xea\xbc\xe4",  // 年间
};
// Large units written together with the number before them.
constexpr const char *kLargeUnits[] = {
    "\xcd\xf2",          // 万
    "\xd2\xda",          // 亿
    "\xcd\xf2\xd2\xda",  // 万亿
    "\xc7\xa7\xcd\xf2",  // 千万
    "\xb0\xd9\xcd\xf2",  // 百万
    "\xc7\xa7\xd2\xda",  // 千亿
    "\xd5\xd7",          // 兆
};

// Chinese digits with their values, then the multipliers.
struct Numeral {
    char gb[3];
    int value;       // digit value, or -1 for a multiplier
    int multiplier;  // 10, 100, 1000, 10000, 100000000 or 0
};
constexpr Numeral kNumerals[] = {
    {"\xa9\x96", 0, 0},  // 〇
    {"\xa1\xf0", 0, 0},  // ○
    {"\xc1\xe3", 0, 0},  // 零
    {"\xd2\xbb", 1, 0},  // 一
    {"\xb6\xfe", 2, 0},  // 二
    {"\xc1\xbd", 2, 0},  // 两
    {"\xc8\xfd", 3, 0},  // 三
    {"\xcb\xc4", 4, 0},  // 四
    {"\xce\xe5", 5, 0},  // 五
    {"\xc1\xf9", 6, 0},  // 六
    {"\xc6\xdf", 7, 0},  // 七
    {"\xb0\xcb", 8, 0},  // 八
    {"\xbe\xc5", 9, 0},  // 九
    {"\xca\xae", -1, 10},         // 十
    {"\xb0\xd9", -1, 100},        // 百
    {"\xc7\xa7", -1, 1000},       // 千
    {"\xcd\xf2", -1, 10000},      // 万
    {"\xd2\xda", -1, 100000000},  // 亿
};

// Bit c is set when the two-byte GB character c is one of kNumerals: most
// characters are told apart from them by one look-up.
struct NumeralBits {
    uint64_t bits[1024] = {};
    constexpr NumeralBits() {
        for (const Numeral &n : kNumerals) {
            unsigned c = (static_cast<unsigned char>(n.gb[0]) << 8) | static_cast<unsigned char>(n.gb[1]);
            bits[c >> 6] |= uint64_t{1} << (c & 63);
        }
    }
};
constexpr NumeralBits kNumeralBits{};

const Numeral *FindNumeral(const unsigned char *p, size_t len) {
    if (len != 2) return nullptr;
    const unsigned c = (p[0] << 8) | p[1];
    if (((kNumeralBits.bits[c >> 6] >> (c & 63)) & 1) == 0) return nullptr;
    for (const Numeral &n : kNumerals)
        if (static_cast<unsigned char>(n.gb[0]) == p[0] && static_cast<unsigned char>(n.gb[1]) == p[1]) return &n;
    return nullptr;
}

// Value of a half- or full-width digit at p, or -1.
int DigitValue(const unsigned char *p, size_t len) {
    if (len == 1 && p[0] >= '0' && p[0] <= '9') return p[0] - '0';
    if (len == 2 && p[0] == 0xA3 && p[1] >= 0xB0 && p[1] <= 0xB9) return p[1] - 0xB0;
    return -1;
}

bool Equals(const unsigned char *p, size_t len, const char *gb) {
    return len == std::strlen(gb) && std::memcmp(p, gb, len) == 0;
}

// What a cut word is made of, for the joining rules.
struct Shape {
    enum Kind : uint8_t {
        kOther,
        kDigits,    // digits only
        kDecimal,   // a number with inner separators, no sign after it
        kNumerals,  // Chinese numerals only
        kDi,        // 第 alone
        kOrdinal,   // 第 and digits or numerals
    } kind = kOther;
    int count = 0;              // digits or numerals
    bool digitsOnly = false;    // numerals without multipliers (一九九八)
    long long value = -1;       // value when small enough, else -1
};

Shape ShapeOf(const unsigned char *p, size_t len) {
    Shape s;
    if (len == 0) return s;
    size_t i = 0;
    bool di = len >= 2 && std::memcmp(p, kDi, 2) == 0;
    if (di) {
        i = 2;
        if (len == 2) {
            s.kind = Shape::kDi;
            return s;
        }
    }
    // Digits, or a number atom with separators.
    if (DigitValue(p + i, GbCharLength(p, i, len)) >= 0) {
        long long v = 0;
        bool plain = true;
        for (size_t k = i; k < len;) {
            size_t l = GbCharLength(p, k, len);
            int d = DigitValue(p + k, l);
            if (d < 0) plain = false;
            else {
                ++s.count;
                if (v >= 0) v = v < 100000000000LL ? v * 10 + d : -1;
            }
            k += l;
        }
        if (plain) {
            s.kind = di ? Shape::kOrdinal : Shape::kDigits;
            s.value = v;
            return s;
        }
        if (di) return s;
        // One number atom without a closing sign (%, per mille, list full stop).
        std::vector<Atom> atoms;
        Atomise(reinterpret_cast<const char *>(p), 0, len, atoms);
        size_t lastChar = 0;
        for (size_t k = 0; k < len; k += GbCharLength(p, k, len)) lastChar = k;
        bool digitLast = DigitValue(p + lastChar, GbCharLength(p, lastChar, len)) >= 0;
        if (atoms.size() == 1 && atoms[0].kind == AtomKind::kNumber && digitLast) s.kind = Shape::kDecimal;
        return s;
    }
    // Chinese numerals.
    long long total = 0, section = 0, digit = -1;
    bool digitsOnly = true;
    for (size_t k = i; k < len;) {
        size_t l = GbCharLength(p, k, len);
        const Numeral *n = FindNumeral(p + k, l);
        if (n == nullptr) return Shape{};
        ++s.count;
        if (n->value >= 0) {
            digit = n->value;
        } else {
            digitsOnly = false;
            long long d = digit < 0 ? 1 : digit;
            if (n->multiplier >= 10000) {
                // Values above ten billion are kept at that: only small
                // values (months, days, hours) matter.
                long long base = total + section + (digit < 0 ? 0 : digit);
                total = (base < 10000000000LL ? base : 10000000000LL) * n->multiplier;
                if (total == 0) total = n->multiplier;
                section = 0;
            } else {
                section += d * n->multiplier;
            }
            digit = -1;
        }
        k += l;
    }
    s.kind = di ? Shape::kOrdinal : Shape::kNumerals;
    s.digitsOnly = digitsOnly;
    s.value = digitsOnly ? -1 : total + section + (digit < 0 ? 0 : digit);
    if (digitsOnly && s.count <= 2) {
        // 十二 is not digits-only; 一 or 三 alone is a small value.
        s.value = digit;
        if (s.count == 2) s.value = -1;
    }
    return s;
}

// True when a number word of this shape is a year: four digits or four
// Chinese digits (1998, 二○○一).
bool IsYear(const Shape &s) {
    return s.count == 4 && (s.kind == Shape::kDigits || (s.kind == Shape::kNumerals && s.digitsOnly));
}

// True when p[0..len) is 年 with a part of the year (年底, 年初 ...).
bool YearPart(const unsigned char *p, size_t len) {
    for (const char *w : kYearParts)
        if (Equals(p, len, w)) return true;
    return false;
}

// True when a number word of this shape and the unit word `u` make one time
// word, given whether the word before was an hour.
bool TimeUnit(const Shape &s, const unsigned char *u, size_t len, bool afterHour) {
    bool number = s.kind == Shape::kDigits || s.kind == Shape::kNumerals;
    if (!number) return false;
    if (Equals(u, len, kYear)) return IsYear(s);
    if (Equals(u, len, kMonth) || Equals(u, len, kMonthPart)) return s.value >= 1 && s.value <= 12;
    if (Equals(u, len, kDay)) return s.value >= 1 && s.value <= 31;
    if (Equals(u, len, kHour) || Equals(u, len, kOClock)) return s.value >= 0 && s.value <= 24;
    if (Equals(u, len, kMinute)) return afterHour && s.value >= 0 && s.value <= 59;
    return false;
}

// One word or atom of GB text, for the patterns below.
struct Piece {
    const unsigned char *p;
    size_t len;
};

// A hyphen or slash (either width) between the numbers of a date.
bool DateSeparator(const Piece &w) {
    return (w.len == 1 && (w.p[0] == '-' || w.p[0] == '/')) ||
           (w.len == 2 && w.p[0] == 0xA3 && (w.p[1] == 0xAD || w.p[1] == 0xAF));
}

// True when w[0..5) spell a date of digits: 2023-05-12, 2023/5/12.
bool DigitDate(const Piece *w) {
    const Shape y = ShapeOf(w[0].p, w[0].len), m = ShapeOf(w[2].p, w[2].len), d = ShapeOf(w[4].p, w[4].len);
    return y.kind == Shape::kDigits && y.count == 4 && DateSeparator(w[1]) && m.kind == Shape::kDigits &&
           m.count <= 2 && m.value >= 1 && m.value <= 12 && w[3].len == w[1].len &&
           std::memcmp(w[3].p, w[1].p, w[1].len) == 0 && d.kind == Shape::kDigits && d.count <= 2 && d.value >= 1 &&
           d.value <= 31;
}

// True when w[0..3) spell a telephone number with its area code: 010-12345678.
bool PhoneNumber(const Piece *w) {
    const Shape area = ShapeOf(w[0].p, w[0].len), local = ShapeOf(w[2].p, w[2].len);
    const bool hyphen = (w[1].len == 1 && w[1].p[0] == '-') || (w[1].len == 2 && w[1].p[0] == 0xA3 && w[1].p[1] == 0xAD);
    return area.kind == Shape::kDigits && area.count >= 3 && area.count <= 4 && DigitValue(w[0].p, w[0].len > 1 && w[0].p[0] == 0xA3 ? 2 : 1) == 0 &&
           hyphen && local.kind == Shape::kDigits && local.count >= 7 && local.count <= 8;
}

// True when p[0..len) is one capital letter (either width) that may name a
// model after a number (5G, 3D, 4K); V and W are units (220 V), which the
// corpus writes apart.
bool ModelLetter(const unsigned char *p, size_t len) {
    unsigned char c = len == 1 ? p[0] : len == 2 && p[0] == 0xA3 ? static_cast<unsigned char>(p[1] - 0x80) : 0;
    return c >= 'A' && c <= 'Z' && c != 'V' && c != 'W';
}

bool LargeUnit(const unsigned char *u, size_t len) {
    for (const char *unit : kLargeUnits)
        if (Equals(u, len, unit)) return true;
    return false;
}

// True when the word p[0..len) ends in an hour unit (时, 点).
bool EndsWithHour(const unsigned char *p, size_t len) {
    return len >= 2 && (std::memcmp(p + len - 2, kHour, 2) == 0 || std::memcmp(p + len - 2, kPoint, 2) == 0);
}

// True when p[0..len) starts with a digit or a Chinese numeral.
bool StartsWithNumber(const unsigned char *p, size_t len) {
    size_t l = GbCharLength(p, 0, len);
    return DigitValue(p, l) >= 0 || FindNumeral(p, l) != nullptr;
}

// True when p[0..len) holds marks and symbols only (IsMarkChar).
bool AllMarks(const unsigned char *p, size_t len) {
    for (size_t i = 0; i < len;) {
        const size_t l = GbCharLength(p, i, len);
        if (!IsMarkChar(p + i, l)) return false;
        i += l;
    }
    return len > 0;
}

// True when p[0..len) starts with a digit, a Chinese numeral or 第: only
// such a word can take the words after it in the rules below.
bool StartsWithNumberOrDi(const unsigned char *p, size_t len) {
    return StartsWithNumber(p, len) || (len >= 2 && std::memcmp(p, kDi, 2) == 0);
}

}  // namespace

bool IsMarkChar(const unsigned char *p, size_t length) {
    auto alnum = [](unsigned c) { return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); };
    if (length == 1) return p[0] >= 0x21 && p[0] <= 0x7E && !alnum(p[0]);
    if (length == 2)
        return (p[0] == 0xA1 && FindNumeral(p, 2) == nullptr) ||  // not ○
               (p[0] == 0xA3 && p[1] >= 0xA1 && !alnum(p[1] - 0x80u));
    if (length != 4) return false;
    uint32_t decoded = 0;
    const uint32_t cp = _T_GB18030ToUnicode(reinterpret_cast<const char *>(p), &decoded);
    return decoded == 4 && cp >= 0x1F000 && cp <= 0x1FAFF;
}

void JoinNumberWords(const char *text, const Atom *atoms, size_t n, std::vector<uint32_t> &ends) {
    const auto *t = reinterpret_cast<const unsigned char *>(text);
    size_t words = ends.size();
    // Byte range of word k.
    auto begin = [&](size_t k) { return atoms[k == 0 ? 0 : ends[k - 1]].start; };
    auto finish = [&](size_t k) { return atoms[ends[k] - 1].start + atoms[ends[k] - 1].length; };
    // Shapes of the cut words, each found once.
    thread_local std::vector<Shape> shapes;
    thread_local std::vector<uint8_t> known;
    shapes.resize(words);
    known.assign(words, 0);
    auto shape = [&](size_t k) {
        if (!known[k]) {
            shapes[k] = ShapeOf(t + begin(k), finish(k) - begin(k));
            known[k] = 1;
        }
        return shapes[k];
    };
    auto is = [&](size_t k, const char *gb) { return k < words && Equals(t + begin(k), finish(k) - begin(k), gb); };
    auto fits = [&](size_t a, size_t b) { return finish(b) - begin(a) <= kMaxAtomBytes; };
    auto EndsWith = [&](size_t k, const char *gb) {
        size_t len = finish(k) - begin(k);
        return len > 2 && std::memcmp(t + finish(k) - 2, gb, 2) == 0;
    };
    for (size_t k = 0; k < words; ++k)
        if (ends[k] == 0 || ends[k] > n || (k > 0 && ends[k] <= ends[k - 1])) return;  // not a valid cut

    // A year before 年底 and its like takes the 年: 2021 年底 -> 2021年 底.
    // The cutter learned that cut from the years of its corpus and may not
    // make it for a year it never saw.
    for (size_t k = 0; k + 1 < words; ++k)
        if (ends[k + 1] == ends[k] + 2 && StartsWithNumber(t + begin(k), finish(k) - begin(k)) &&
            YearPart(t + begin(k + 1), finish(k + 1) - begin(k + 1)) && IsYear(ShapeOf(t + begin(k), finish(k) - begin(k))))
            ++ends[k];

    size_t out = 0;
    bool afterHour = false;
    for (size_t k = 0; k < words;) {
        // Any other word is of no shape, stays alone and is no hour.
        if (!StartsWithNumberOrDi(t + begin(k), finish(k) - begin(k))) {
            ends[out++] = ends[k];
            afterHour = false;
            ++k;
            continue;
        }
        size_t j = k;  // the joined word covers words k..j
        Shape s = shape(k);
        if (s.kind == Shape::kDi && k + 1 < words) {
            Shape next = shape(k + 1);
            if ((next.kind == Shape::kDigits || next.kind == Shape::kNumerals) && fits(k, k + 1)) {
                j = k + 1;
                s = shape(k), s.kind = Shape::kOrdinal;
            }
        }
        if (s.kind == Shape::kNumerals || s.kind == Shape::kOrdinal) {
            // A run of numeral words is one number.
            while (j + 1 < words && shape(j + 1).kind == Shape::kNumerals && fits(k, j + 1)) ++j;
            if (j > k && s.kind == Shape::kNumerals) s = ShapeOf(t + begin(k), finish(j) - begin(k));
        }
        if (s.kind == Shape::kOther && j == k && EndsWith(k, kMinute) && is(k + 1, kOf)) {
            // The cutter's 百分 or 三分 before 之.
            Shape head = ShapeOf(t + begin(k), finish(k) - begin(k) - 2);
            if (head.kind == Shape::kNumerals && k + 2 < words && shape(k + 2).kind == Shape::kNumerals &&
                fits(k, k + 2)) {
                j = k + 2;
                while (j + 1 < words && shape(j + 1).kind == Shape::kNumerals && fits(k, j + 1)) ++j;
            }
        }
        if (s.kind == Shape::kNumerals || s.kind == Shape::kDigits) {
            // A fraction: 三 分之 一, 百 分之 五十.
            size_t q = j + 1;
            if (is(q, kFraction)) q += 1;
            else if (is(q, kMinute) && is(q + 1, kOf)) q += 2;
            if (q > j + 1 && q < words) {
                Shape d = shape(q);
                if (d.kind == s.kind && fits(k, q)) {
                    j = q;
                    // More numerals, unless they open the next fraction.
                    while (s.kind == Shape::kNumerals && j + 1 < words && shape(j + 1).kind == Shape::kNumerals &&
                           !is(j + 2, kFraction) && !(is(j + 2, kMinute) && is(j + 3, kOf)) && fits(k, j + 1))
                        ++j;
                    s.kind = Shape::kOther;
                }
            }
        }
        // A date of digits or a telephone number is one word.
        if (j == k && s.kind == Shape::kDigits) {
            Piece w[5];
            size_t have = 0;
            for (; have < 5 && k + have < words; ++have) w[have] = Piece{t + begin(k + have), finish(k + have) - begin(k + have)};
            size_t last = have == 5 && DigitDate(w) ? k + 4 : have >= 3 && PhoneNumber(w) ? k + 2 : k;
            if (last > k && fits(k, last)) {
                ends[out++] = ends[last];
                afterHour = false;
                k = last + 1;
                continue;
            }
        }
        // A number and one capital letter name a model: 5 G -> 5G.
        if (j == k && s.kind == Shape::kDigits && k + 1 < words && ends[k + 1] == ends[k] + 1 &&
            ModelLetter(t + begin(k + 1), finish(k + 1) - begin(k + 1)) && fits(k, k + 1)) {
            ends[out++] = ends[k + 1];
            afterHour = false;
            k += 2;
            continue;
        }
        bool hour = false;
        if (j + 1 < words && fits(k, j + 1)) {
            const unsigned char *u = t + begin(j + 1);
            size_t ulen = finish(j + 1) - begin(j + 1);
            if (TimeUnit(s, u, ulen, afterHour)) {
                ++j;
                hour = Equals(u, ulen, kHour);
            } else if ((s.kind == Shape::kDigits || s.kind == Shape::kDecimal) && LargeUnit(u, ulen)) {
                ++j;
            }
        }
        // 8 点 钟 -> 8点钟.
        if ((s.kind == Shape::kDigits || s.kind == Shape::kNumerals) && is(j + 1, kPoint) && is(j + 2, kClock) &&
            s.value >= 0 && s.value <= 24 && fits(k, j + 2))
            j += 2;
        // The cutter's 10点 and 钟.
        if (j + 1 < words && EndsWith(j, kPoint) && is(j + 1, kClock) && fits(k, j + 1) &&
            StartsWithNumber(t + begin(k), finish(j) - begin(k)))
            ++j;
        afterHour = hour || (j == k && EndsWithHour(t + begin(k), finish(k) - begin(k)) &&
                             StartsWithNumber(t + begin(k), finish(k) - begin(k)));
        ends[out++] = ends[j];
        k = j + 1;
    }
    ends.resize(out);
}

size_t AddressEnd(const char *text, const Atom *atoms, size_t n, size_t k) {
    if (k >= n || atoms[k].kind != AtomKind::kLatin || atoms[k].continuesPrevious) return k;
    size_t e = k + 1;  // an over-long address goes on in pieces
    while (e < n && atoms[e].continuesPrevious) ++e;
    uint32_t bytes = atoms[e - 1].start + atoms[e - 1].length - atoms[k].start;
    return ClassOfString(text + atoms[k].start, bytes) == StringClass::kAddress ? e : k;
}

size_t WidenAscii(const char *text, size_t length, char *out) {
    const auto *t = reinterpret_cast<const unsigned char *>(text);
    // Chinese text without ASCII (no byte below 0x80 at all) is copied.
    bool any = false;
    for (size_t i = 0; i < length && !any; ++i) any = t[i] < 0x80;
    if (!any) {
        std::memcpy(out, text, length);
        return length;
    }
    size_t o = 0;
    for (size_t i = 0; i < length;) {
        size_t l = GbCharLength(t, i, length);
        if (l == 1 && t[i] >= 0x21 && t[i] <= 0x7E) {
            out[o++] = '\xA3';
            out[o++] = static_cast<char>(t[i] + 0x80);
        } else {
            std::memcpy(out + o, text + i, l);
            o += l;
        }
        i += l;
    }
    return o;
}

namespace {

StringClass ClassOfLongString(const unsigned char *p, size_t length);

// Classes of the words of one character that the test below sends to the
// long way (ASCII bytes and the full-width row A3: marks such as ，are
// among the commonest words), worked out once the long way.
struct OneCharClasses {
    StringClass ascii[128];
    StringClass wide[256];
    OneCharClasses() {
        unsigned char c[2];
        for (unsigned b = 0; b < 128; ++b) {
            c[0] = static_cast<unsigned char>(b);
            ascii[b] = ClassOfLongString(c, 1);
        }
        for (unsigned b = 0; b < 256; ++b) {
            c[0] = 0xA3;
            c[1] = static_cast<unsigned char>(b);
            wide[b] = ClassOfLongString(c, 2);
        }
    }
};

}  // namespace

constexpr GbCharSet NumberOpeners() {
    GbCharSet set("");
    for (const Numeral &n : kNumerals) set.Add(n.gb);
    set.Add(kDi);
    return set;
}
extern const GbCharSet kNumberOpeners = NumberOpeners();

StringClass ClassOfAnyString(const char *text, size_t length) {
    const auto *p = reinterpret_cast<const unsigned char *>(text);
    if (length == 0) return StringClass::kOther;
    // Most words start with a Chinese character that is no numeral.
    size_t firstLen = GbCharLength(p, 0, length);
    bool ascii = p[0] < 0x80 || (firstLen == 2 && p[0] == 0xA3);
    if (!ascii && FindNumeral(p, firstLen) == nullptr && !(firstLen == 2 && std::memcmp(p, kDi, 2) == 0))
        return AllMarks(p, length) ? StringClass::kMark : StringClass::kOther;
    if (ascii && firstLen == length) {
        static const OneCharClasses one;
        return length == 1 ? one.ascii[p[0]] : one.wide[p[1]];
    }
    return ClassOfLongString(p, length);
}

namespace {

StringClass ClassOfLongString(const unsigned char *p, size_t length) {
    const char *text = reinterpret_cast<const char *>(p);
    thread_local std::vector<Atom> atoms;
    atoms.clear();
    Atomise(text, 0, length, atoms);
    if (atoms.empty()) return StringClass::kOther;
    bool oneRun = true;
    for (size_t k = 1; k < atoms.size(); ++k) oneRun &= atoms[k].continuesPrevious;
    if (oneRun && atoms[0].kind == AtomKind::kLatin) {
        // An address holds '@' or starts with a scheme or "www." (either width).
        for (size_t i = 0; i < length; i += GbCharLength(p, i, length)) {
            if (p[i] == '@' || (i + 1 < length && p[i] == 0xA3 && p[i + 1] == 0xC0)) return StringClass::kAddress;
        }
        std::string lower;
        for (size_t i = 0; i < length && lower.size() < 4; i += GbCharLength(p, i, length)) {
            unsigned char c = p[i];
            if (c == 0xA3 && i + 1 < length) c = static_cast<unsigned char>(p[i + 1] - 0x80);
            lower.push_back(static_cast<char>(c >= 'A' && c <= 'Z' ? c + 32 : c));
        }
        if (lower == "http" || lower.compare(0, 3, "ftp") == 0 || lower.compare(0, 4, "www.") == 0)
            return StringClass::kAddress;
        return StringClass::kLatin;
    }
    if (oneRun && atoms[0].kind == AtomKind::kNumber) {
        // A number atom may hold a date with slashes (2023/5/12): its parts.
        Piece w[5];
        size_t parts = 0, from = 0;
        for (size_t i = 0; i <= length && parts < 5;) {
            const size_t l = i < length ? GbCharLength(p, i, length) : 0;
            if (i == length || DateSeparator(Piece{p + i, l})) {
                w[parts++] = Piece{p + from, i - from};
                if (i < length && parts < 5) w[parts++] = Piece{p + i, l};
                from = i + l;
                if (i == length) break;
            }
            i += l;
        }
        return parts == 5 && from == length && DigitDate(w) ? StringClass::kTime : StringClass::kNumber;
    }
    // A date of digits is a time word, a telephone number a number.
    if (atoms.size() == 5 || atoms.size() == 3) {
        Piece w[5];
        for (size_t k = 0; k < atoms.size(); ++k) w[k] = Piece{p + atoms[k].start, atoms[k].length};
        if (atoms.size() == 5 && DigitDate(w)) return StringClass::kTime;
        if (atoms.size() == 3 && PhoneNumber(w)) return StringClass::kNumber;
    }
    // A number and a model letter (5G) is a Latin string.
    if (atoms.size() == 2 && atoms[0].kind == AtomKind::kNumber && ShapeOf(p, atoms[0].length).kind == Shape::kDigits &&
        ModelLetter(p + atoms[1].start, atoms[1].length))
        return StringClass::kLatin;
    // A number and a unit, an ordinal, a numeral run, a fraction: check the
    // word's own pieces with the joining rules.
    Shape whole = ShapeOf(p, length);
    if (whole.kind == Shape::kOrdinal) return StringClass::kNumber;
    if (whole.kind == Shape::kNumerals) return whole.count >= 2 ? StringClass::kNumber : StringClass::kOther;
    // A fraction: numerals or digits on both sides of 分之.
    for (size_t i = 2; i + 4 < length; i += GbCharLength(p, i, length)) {
        if (std::memcmp(p + i, kFraction, 4) != 0) continue;
        Shape head = ShapeOf(p, i), tail = ShapeOf(p + i + 4, length - i - 4);
        bool number = head.kind == Shape::kNumerals || head.kind == Shape::kDigits;
        if (number && (tail.kind == Shape::kNumerals || tail.kind == Shape::kDigits || tail.kind == Shape::kDecimal))
            return StringClass::kNumber;
        break;
    }
    // Split off a last unit of one or two characters and test it.
    for (size_t unitLen : {size_t{2}, size_t{4}}) {
        if (length <= unitLen) continue;
        const unsigned char *u = p + length - unitLen;
        if (unitLen == 4 && GbCharLength(p, length - 4, length) != 2) continue;
        Shape head = ShapeOf(p, length - unitLen);
        if (TimeUnit(head, u, unitLen, false)) return StringClass::kTime;
        if ((head.kind == Shape::kDigits || head.kind == Shape::kDecimal || head.kind == Shape::kNumerals) &&
            LargeUnit(u, unitLen))
            return StringClass::kNumber;
    }
    return AllMarks(p, length) ? StringClass::kMark : StringClass::kOther;
}

// The form of a GB number or time word: digits as ０, Chinese digits but
// 两 as 一, everything else as it is; empty when the word holds no digit.
std::string FormOf(const unsigned char *p, size_t len) {
    std::string form;
    bool digits = false;
    for (size_t i = 0; i < len;) {
        const size_t l = GbCharLength(p, i, len);
        const Numeral *n = FindNumeral(p + i, l);
        if (DigitValue(p + i, l) >= 0) {
            form += "\xa3\xb0";  // ０
            digits = true;
        } else if (n != nullptr && n->value >= 0 && std::memcmp(p + i, "\xc1\xbd", 2) != 0) {  // not 两
            form += "\xd2\xbb";  // 一
            digits = true;
        } else {
            form.append(reinterpret_cast<const char *>(p + i), l);
        }
        i += l;
    }
    if (!digits) form.clear();
    return form;
}

}  // namespace

void NumberStandIns::Build(const DictionaryS &dict) {
    byForm_.clear();
    maxLength_ = 0;
    std::unordered_map<std::string, double> best;
    for (int32_t e = 0; dict.entries != nullptr && e < dict.count; ++e) {
        const DictSEntry &entry = dict.entries[e];
        if (entry.word == nullptr || entry.length <= 0 || entry.length > 80 || entry.posList == nullptr) continue;
        const StringClass cls = ClassOfString(entry.word, static_cast<size_t>(entry.length));
        if (cls != StringClass::kNumber && cls != StringClass::kTime) continue;
        const double count = EntryWordCount(entry);
        const auto *p = reinterpret_cast<const unsigned char *>(entry.word);
        std::string form = FormOf(p, static_cast<size_t>(entry.length));
        if (!(count > 0.0) || form.empty()) continue;
        form += static_cast<char>(cls);  // a form is a number or a time word, not both
        auto [it, fresh] = best.emplace(form, count);
        // The most frequent word of the form; on a tie the first in the
        // dictionary's order, so that the choice does not depend on hashing.
        if (!fresh && count <= it->second) continue;
        it->second = count;
        byForm_[form].assign(entry.word, static_cast<size_t>(entry.length));
    }
    for (const auto &kv : byForm_) maxLength_ = std::max(maxLength_, kv.second.size());
}

std::string_view NumberStandIns::For(const char *text, size_t length, StringClass cls) const {
    if (byForm_.empty() || (cls != StringClass::kNumber && cls != StringClass::kTime)) return {};
    std::string form = FormOf(reinterpret_cast<const unsigned char *>(text), length);
    if (form.empty()) return {};
    form += static_cast<char>(cls);
    const auto it = byForm_.find(form);
    return it == byForm_.end() ? std::string_view() : std::string_view(it->second);
}

void StringTagger::Resolve(const std::vector<std::string> &tagNames) {
    auto find = [&](const char *name) -> int32_t {
        for (size_t k = 0; k < tagNames.size(); ++k)
            if (tagNames[k] == name) return static_cast<int32_t>(k);
        return -1;
    };
    numeral_ = find(kNumeralTagName);
    time_ = find(kTimeTagName);
    foreign_ = find(kForeignStringTagName);
    mark_ = find("w");
    latinOk_.assign(tagNames.size(), 0);
    numberOk_.assign(tagNames.size(), 0);
    markOk_.assign(tagNames.size(), 0);
    for (size_t k = 0; k < tagNames.size(); ++k) {
        const std::string &name = tagNames[k];
        // Tags the corpus gives marks and symbols: a mark's, and measure
        // word for the units ℃ and °.
        markOk_[k] = (!name.empty() && name[0] == 'w') || name == "q";
        // Tags the corpus gives Latin strings: non-Chinese string, other
        // proper noun, abbreviation, measure word, names.
        for (const char *ok : {"nx", "nz", "j", "q", "nr", "nrf", "nrj", "ns", "nsf", "nt"})
            if (name == ok) latinOk_[k] = 1;
        // Tags the corpus gives numbers and numeral words: numeral, time
        // word (五一), adverb (千万), conjunction (万一), abbreviation (九五),
        // idiom (三三两两), measure word, names.
        for (const char *ok : {"m", "t", "Mg", "d", "c", "j", "i", "l", "q", "nr", "nz"})
            if (name == ok) numberOk_[k] = 1;
    }
}

int32_t StringTagger::Retag(StringClass cls, int32_t tag) const {
    bool known = tag >= 0 && static_cast<size_t>(tag) < latinOk_.size();
    auto keepOr = [&](bool ok, int32_t mine) { return ok || mine < 0 ? tag : mine; };
    switch (cls) {
    case StringClass::kAddress: return foreign_ >= 0 ? foreign_ : tag;
    case StringClass::kLatin: return keepOr(known && latinOk_[tag] != 0, foreign_);
    case StringClass::kNumber: return keepOr(known && numberOk_[tag] != 0, numeral_);
    case StringClass::kTime: return keepOr(tag == time_, time_);
    case StringClass::kMark: return keepOr(known && markOk_[tag] != 0, mark_);
    default: return tag;
    }
}

}  // namespace vsg::front
