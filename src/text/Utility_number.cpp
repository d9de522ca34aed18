// Number, year and transliteration tests and the place-suffix splitter.
// None of them allocates; all work on constant GB2312 lists.
#include <algorithm>
#include <cstring>

#include "common/gb_lists.h"
#include "text/text_internal.h"
#include "vsglex/utility.h"

using namespace vsg::text;

namespace {

bool IsDigit(unsigned b) { return b >= '0' && b <= '9'; }

// True for a full-width digit (A3B0-A3B9) at s[p]; s[p+1] exists (p < n - 1).
bool IsWideDigitAt(const char *s, long p) {
    return Byte(s, p) == 0xA3 && Byte(s, p + 1) >= 0xB0 && Byte(s, p + 1) <= 0xB9;
}

// Advances p over a run of full-width digits.
long SkipWideDigits(const char *s, long p, long n) {
    while (p < n - 1 && IsWideDigitAt(s, p)) p += 2;
    return p;
}

}  // namespace

extern "C" {

int32_t IsAllNum(const char *word) {
    const long n = static_cast<long>(std::strlen(word));
    char c[3] = {'\0', '\0', '\0'};  // the current character
    long cLen = 0;                     // its length in the word
    long p = 0;

    // Optional sign.
    if (n >= 1) {
        cLen = ReadChar(word, 0, c);
        if (InList(kSignPrefixes, c)) p = cLen;
    }
    // Full-width integer digits.
    p = SkipWideDigits(word, p, n);
    if (p >= n) return 1;

    // Separator and full-width fraction digits; c is not consumed otherwise.
    cLen = ReadChar(word, static_cast<size_t>(p), c);
    if (p > 0 && InList(kDecimalSeparators, c)) p = SkipWideDigits(word, p + cLen, n);
    if (p >= n) return 1;

    // ASCII integer digits; at the end of the word c stays as it is.
    while (p < n && IsDigit(Byte(word, p))) ++p;
    if (p < n) {
        // Separator and ASCII fraction digits. p ends one byte past the last
        // byte read into c, even when that byte is not a digit.
        cLen = ReadChar(word, static_cast<size_t>(p), c);
        if (p > 0 && InList(kDecimalSeparators, c)) {
            const long q = p + cLen;  // the byte after the separator
            c[0] = q <= n ? word[q] : '\0';
            c[1] = '\0';
            cLen = 1;
            p = q + 1;
            if (p < n && IsDigit(Byte(c, 0))) {
                do {
                    c[0] = word[p];
                    ++p;
                } while (p < n && IsDigit(Byte(c, 0)));
            }
        }
    }
    // Percent sign.
    if (InList(kPercentSigns, c)) p += cLen;

    // Multipliers; a last character that is none is given back.
    bool ran = false;
    while (p < n && InList(kMultipliers, c)) {
        cLen = ReadChar(word, static_cast<size_t>(p), c);
        p += cLen;
        ran = true;
    }
    if (ran && !InList(kMultipliers, c)) p -= cLen;
    return p >= n ? 1 : 0;
}

int32_t IsSimpleNum(const char *word) {
    const size_t n = std::strlen(word);
    for (size_t i = 0; i < n;) {
        char c[3];
        const int len = ReadChar(word, i, c);
        if (len == 1) {
            if (!IsDigit(Byte(c, 0))) return 0;
        } else if (CC_Find(kSimpleNumChars, c) == nullptr) {
            return 0;
        }
        i += static_cast<size_t>(len);
    }
    return 1;
}

int32_t IsAllChineseNum(const char *word) {
    const size_t n = std::strlen(word);
    size_t p = 0;
    while (p < n) {
        if (n - p >= 4 && std::memcmp(word + p, kFractionWord, 4) == 0) {
            p += 4;
            continue;
        }
        // Two bytes whatever their values; the second is the NUL at the end.
        const char c[3] = {word[p], word[p + 1], '\0'};
        if (CC_Find(kChineseNumChars, c) != nullptr) {
            p += 2;
        } else if (p == 0 && CC_Find(kChineseNumLeaders, c) != nullptr) {
            p = 2;
        } else {
            return 0;
        }
    }
    return 1;
}

int32_t IsYearTime(const char *word) {
    const size_t n = std::strlen(word);
    // A stem-branch year name.
    if (n == 4 && GetCharCount(kHeavenlyStems, word) == 1 && GetCharCount(kEarthlyBranches, word + 2) == 1)
        return 1;
    // A year written with Chinese digits.
    if (n > 2 && GetCharCount(kYearDigits, word) == n / 2) return 1;
    // Four ASCII bytes, or two starting at '5' or above.
    if (IsAllSingleByte(word) && (n == 4 || (n == 2 && Byte(word, 0) >= '5'))) return 1;
    if (IsAllNum(word)) {
        if (n > 5) return 1;
        if (n == 4) {
            const char first[3] = {word[0], word[1], '\0'};
            return CC_Find(kLateFullWidthDigits, first) != nullptr ? 1 : 0;
        }
    } else if (n == 8) {
        return GetCharCount(kThousandAndZero, word) == 2 ? 1 : 0;
    }
    if (n != 2) return 0;
    return CC_Find(kThousand, word) != nullptr ? 1 : 0;
}

int32_t GetForeignType(const char *word) {
    const uint32_t a = GetCharCount(kForeignSetA, word);
    const uint32_t b = GetCharCount(kForeignSetB, word);
    const uint32_t c = GetCharCount(kForeignSetC, word);
    if (std::max(a, b) >= c) return a < b ? 1 : 0;
    return 2;
}

int32_t GetForeignCharCount(const char *word) {
    const uint32_t a = GetCharCount(kForeignSetA, word);
    const uint32_t b = GetCharCount(kForeignSetB, word);
    const uint32_t c = GetCharCount(kForeignSetC, word);
    return static_cast<int32_t>(std::max({a, b, c}));
}

int32_t IsAllForeign(const char *word) {
    return 2 * static_cast<size_t>(GetForeignCharCount(word)) == std::strlen(word) ? 1 : 0;
}

int32_t IsForeign(const char *word) {
    const size_t n = std::strlen(word);
    if (n > 2) return 1;
    return static_cast<size_t>(GetForeignCharCount(word)) >= n / 2 ? 1 : 0;
}

int32_t PostfixSplit(const char *word, char *stem, char *suffix) {
    const size_t n = std::strlen(word);
    // Longer multi-character suffixes come first where they overlap, so the
    // first match in table order is taken. Suffixes longer than the word
    // cannot match and are skipped.
    for (int i = 0; i < kMultiPlaceSuffixCount; ++i) {
        const char *suf = kMultiPlaceSuffixes[i];
        const size_t len = std::strlen(suf);
        if (len <= n && std::strncmp(word + n - len, suf, len) == 0) {
            std::memcpy(suffix, suf, len + 1);
            std::memmove(stem, word, n - len);
            stem[n - len] = '\0';
            return 1;
        }
    }
    if (n >= 2) {
        const char last[3] = {word[n - 2], word[n - 1], '\0'};
        if (CC_Find(kPlaceSuffixes, last) != nullptr) {
            std::memcpy(suffix, last, 3);
            std::memmove(stem, word, n - 2);
            stem[n - 2] = '\0';
            return 1;
        }
    }
    suffix[0] = '\0';
    std::memmove(stem, word, n + 1);
    return 1;
}

}  // extern "C"
