// Character classes of GB2312/GBK text, list membership, whole-string class
// tests, binary searches and the GB2312 code-table writers.
#include <strings.h>

#include <cstdio>
#include <cstring>

#include "common/char_class.h"
#include "text/text_internal.h"
#include "vsglex/utility.h"

using vsg::text::Byte;
using vsg::IsWideLetterTrail;
using vsg::text::IsChineseLead;

namespace {

bool IsAsciiLetter(unsigned b) { return (b >= 'a' && b <= 'z') || (b >= 'A' && b <= 'Z'); }

// Writes one line "<b1><b2>,<b1>,<b2>" per code of the given ranges.
int32_t WriteCodeTable(const char *path, unsigned firstLead) {
    if (path == nullptr) return 0;
    FILE *f = std::fopen(path, "wt");
    if (f == nullptr) return 0;
    for (unsigned b1 = firstLead; b1 <= 0xFE; ++b1)
        for (unsigned b2 = 0xA1; b2 <= 0xFE; ++b2)
            std::fprintf(f, "%c%c,%u,%u\n", static_cast<int>(b1), static_cast<int>(b2), b1, b2);
    std::fclose(f);
    return 1;
}

}  // namespace

extern "C" {

int32_t charType(const char *s) { return vsg::CharClass(s); }

int32_t Getchar(const char *src, char *out) {
    out[0] = src[0];
    if (Byte(src, 0) >= 0x80) {
        out[1] = src[1];  // the NUL when the lead byte stands last
        out[2] = '\0';
        return 2;
    }
    out[1] = '\0';
    return 1;
}

char *CC_Find(const char *list, const char *needle) {
    const char *hit = std::strstr(list, needle);
    if (hit == nullptr || ((hit - list) & 1) != 0) return nullptr;
    return const_cast<char *>(hit);
}

uint32_t GetCharCount(const char *list, const char *text) {
    const size_t n = std::strlen(text);
    uint32_t count = 0;
    for (size_t i = 0; i < n;) {
        const unsigned b = Byte(text, i);
        if (b >= 0x80) {
            const char c[3] = {text[i], text[i + 1], '\0'};
            if (CC_Find(list, c) != nullptr) ++count;
            i += 2;
        } else {
            if (std::strchr(list, static_cast<int>(b)) != nullptr) ++count;
            ++i;
        }
    }
    return count;
}

int32_t IsAllDelimiter(const char *text) {
    const size_t n = std::strlen(text);
    if (n == 0) return 1;
    if (n % 2 != 0) return 0;
    for (size_t i = 0; i < n; i += 2) {
        const unsigned b = Byte(text, i);
        if (b != 0xA1 && b != 0xA3) return 0;
    }
    return 1;
}

int32_t IsAllLetter(const char *text) {
    const size_t n = std::strlen(text);
    if (n % 2 != 0) return 0;
    for (size_t i = 0; i < n; i += 2)
        if (Byte(text, i) != 0xA3 || !IsWideLetterTrail(Byte(text, i + 1))) return 0;
    return 1;
}

int32_t IsAllIndex(const char *text) {
    const size_t n = std::strlen(text);
    if (n == 0) return 1;
    size_t i = 0;
    if (n != 1 && Byte(text, 0) == 0xA2) {
        while (n - i >= 2 && Byte(text, i) == 0xA2) i += 2;
        if (i == n) return 1;
    }
    for (; i < n; ++i)
        if (!IsAsciiLetter(Byte(text, i))) return 0;
    return 1;
}

int32_t IsAllSingleByte(const char *text) {
    for (size_t i = 0; text[i] != '\0'; ++i)
        if (Byte(text, i) >= 0x80) return 0;
    return 1;
}

int32_t IsAllNonChinese(const char *text) {
    const size_t n = std::strlen(text);
    for (size_t i = 0; i < n;) {
        const unsigned b = Byte(text, i);
        if (IsChineseLead(b)) return 0;
        i += b > 0x80 ? 2 : 1;  // 0x80 itself is stepped over as one byte
    }
    return 1;
}

int32_t IsAllChinese(const char *text) {
    const size_t n = std::strlen(text);
    if (n % 2 != 0) return 0;
    for (size_t i = 0; i < n; i += 2)
        if (!IsChineseLead(Byte(text, i))) return 0;
    return 1;
}

int32_t GetCCPrefix(const char *text) {
    const size_t n = std::strlen(text);
    size_t off = 0;
    // Only lead bytes are looked at; a lone Chinese lead byte at the end
    // makes the result one more than the length.
    while (off < n && IsChineseLead(Byte(text, off))) off += 2;
    return static_cast<int32_t>(off);
}

int32_t BinarySearch_0(int32_t value, const int32_t *array, int32_t count) {
    if (array == nullptr || count <= 0) return -1;
    int32_t lo = 0, hi = count - 1;
    while (lo <= hi) {
        const int32_t mid = lo + (hi - lo) / 2;
        if (array[mid] == value) return mid;
        if (value > array[mid]) lo = mid + 1;
        else hi = mid - 1;
    }
    return -1;
}

int32_t BinarySearch_1(const char *key, char *const *array, int32_t count) {
    if (key == nullptr || array == nullptr || count <= 0) return -1;
    int32_t lo = 0, hi = count - 1;
    while (lo <= hi) {
        const int32_t mid = lo + (hi - lo) / 2;
        const int cmp = strcasecmp(key, array[mid]);
        if (cmp == 0) return mid;
        if (cmp > 0) lo = mid + 1;
        else hi = mid - 1;
    }
    return -1;
}

int32_t CC_Generate(const char *path) { return WriteCodeTable(path, 0xB0); }

int32_t GB2312_Generate(const char *path) { return WriteCodeTable(path, 0xA1); }

}  // extern "C"
