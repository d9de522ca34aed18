// The tagged corpus's way of writing numbers, dates, times and non-Chinese
// strings: which cut words it writes as one word, and which class of tag a
// word's string calls for.
#ifndef VSGLEX_SRC_FRONT_CONVENTIONS_H
#define VSGLEX_SRC_FRONT_CONVENTIONS_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "front/atoms.h"
#include "front/gbcharset.h"
#include "vsglex/model.h"

namespace vsg::front {

// Joins cut words of atoms[0..n) of GB text `text` the way the corpus writes
// them as one word. `ends` holds the atom index just past each word (as the
// cutter gives it) and is rewritten in place. Joined, in half and full width
// alike:
//   runs of Chinese numerals          四千 三百 一 十三 -> 四千三百一十三
//   an ordinal                        第 三 -> 第三, 第 12 -> 第12
//   a fraction or percentage          三 分之 一, 百 分之 五十
//   a year of four digits             1998 年, 二○○一 年
//   (and before 年底, 年初 ...         2021 年底 -> 2021年 底)
//   a month, a day, an hour           12 月 / 月份, 31 日, 10 时
//   minutes after an hour             10时 30 分 -> 10时 30分
//   a number and 万 亿 (and 千万 ...)  55.6 亿, 30 万
//   a number and a capital letter     5 G -> 5G, 3 D (not the units V, W)
// A word is never made longer than kMaxAtomBytes.
void JoinNumberWords(const char *text, const Atom *atoms, size_t n, std::vector<uint32_t> &ends);

// When atoms[k] of the GB text begins a web or e-mail address (with the
// pieces of an over-long one after it), the index just past the address;
// else k.
size_t AddressEnd(const char *text, const Atom *atoms, size_t n, size_t k);

// Writes GB text[0..length) to `out` with every printable ASCII character
// (0x21-0x7E) in its full-width form (A3A1-A3FE), the form the corpus and
// hence the models use; returns the bytes written (at most 2 * length).
size_t WidenAscii(const char *text, size_t length, char *out);

// What a word's string is, as far as its tag is concerned.
enum class StringClass : uint8_t {
    kOther,    // anything else
    kNumber,   // digits (with separators, percent), Chinese numerals, ordinals, 55.6亿
    kTime,     // a year, month, day or hour word: 1998年, 12月, 31日, 10时
    kLatin,    // letters and digits (and inner marks) led by a letter
    kAddress,  // a web or e-mail address
    kMark,     // marks and symbols only: ～～, ★, ~, an emoji
};

// True when the one GB character p[0..length) (1, 2 or 4 bytes) is a mark
// or symbol: an ASCII mark, a mark of the GB row of marks (A1) but the
// numeral ○, a full-width ASCII mark, or an emoji (U+1F000-1FAFF, a
// four-byte GB18030 sequence).
bool IsMarkChar(const unsigned char *p, size_t length);

// Class of the GB word text[0..length), the long way.
StringClass ClassOfAnyString(const char *text, size_t length);

// The Chinese numerals and 第: of the GB2312 Chinese characters (rows
// B0-F7), the only ones a word of a class other than kOther starts with.
extern const GbCharSet kNumberOpeners;

// Class of the GB word text[0..length). Most words start with a GB2312
// Chinese character that opens no number: they are answered here, inline.
inline StringClass ClassOfString(const char *text, size_t length) {
    const auto *p = reinterpret_cast<const unsigned char *>(text);
    if (length >= 2 && p[0] >= 0xB0 && p[0] <= 0xF7 && p[1] >= 0xA1 && p[1] <= 0xFE && !kNumberOpeners.Has(text))
        return StringClass::kOther;
    return ClassOfAnyString(text, length);
}

// Tag numbers (lines of the part-of-speech map) the retagging uses, found
// by their names in the loaded map.
class StringTagger {
public:
    // Finds the tags in `tagNames` (tag number -> name); tags that are missing
    // stay unused.
    void Resolve(const std::vector<std::string> &tagNames);
    // The tag of a word of class `cls` that the engine tagged `tag`: the
    // engine's tag unless it is clearly wrong for the class (a verb for a
    // Latin string, a noun for a number), then the class's own tag.
    int32_t Retag(StringClass cls, int32_t tag) const;

private:
    int32_t numeral_ = -1;
    int32_t time_ = -1;
    int32_t foreign_ = -1;
    std::vector<uint8_t> latinOk_;   // per tag: acceptable for a Latin string
    std::vector<uint8_t> numberOk_;  // per tag: acceptable for a number
    std::vector<uint8_t> markOk_;    // per tag: acceptable for a mark (w and its kinds, q)
    int32_t mark_ = -1;
};

// Known words that stand in for the number and time words the core
// dictionary lacks when the engine is given the words: the most frequent
// dictionary word of the same form, every digit (either width) read as ０
// and every Chinese digit as 一 (２０２６年 and １９９７年 are both ００００年).
// The engine's models know only the numbers and years of their corpus, and
// an unknown word is a name's candidate: an unseen year (２０２６年 烟厂)
// would start an organisation name that the known years never start.
class NumberStandIns {
public:
    // Finds the stand-ins among the dictionary's words with part-of-speech
    // rows.
    void Build(const DictionaryS &dict);
    // The stand-in for the GB word text[0..length) of class `cls` (a number
    // or time word the dictionary lacks), or an empty view when no
    // dictionary word has its form.
    std::string_view For(const char *text, size_t length, StringClass cls) const;
    // Bytes of the longest stand-in.
    size_t MaxLength() const { return maxLength_; }

private:
    std::unordered_map<std::string, std::string> byForm_;
    size_t maxLength_ = 0;
};

}  // namespace vsg::front

#endif  // VSGLEX_SRC_FRONT_CONVENTIONS_H
