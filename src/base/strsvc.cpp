// String service: path helpers and character-set aware tests of short texts.
#include "vsglex/strsvc.h"

#include <cstring>

#include "common/utf8.h"
#include "vsglex/charset.h"

namespace {

// Byte length of the character at `p` under `charset`, by its lead byte (and,
// for GB18030, its second byte); 1 for bytes that open no multi-byte form.
int CharLength(const unsigned char *p, uint32_t charset) {
    const unsigned char b = p[0];
    if (b < 0x80) return 1;
    switch (charset) {
    case 1:
        if (b == 0x80 || b == 0xFF) return 1;
        return (p[1] >= '0' && p[1] <= '9') ? 4 : 2;
    case 2:
        return (b == 0x80 || b == 0xFF) ? 1 : 2;
    case 3: {
        const int n = vsg::Utf8SequenceLength(b);
        return n == 0 ? 1 : n;
    }
    default:
        return 1;
    }
}

// Length of the character at `p`, or 0 when the text ends inside it.
int CompleteLength(const unsigned char *p, uint32_t charset) {
    const int n = CharLength(p, charset);
    for (int i = 1; i < n; ++i)
        if (p[i] == 0) return 0;
    return n;
}

// Decodes the character at `p` of `n` bytes into a code point; bytes of sets
// without a decoder stand for themselves.
uint32_t CodePoint(const unsigned char *p, int n, uint32_t charset) {
    if (n == 1 && p[0] < 0x80) return p[0];
    if (charset < 1 || charset > 3) return n == 1 ? p[0] : 0;
    uint32_t length = 0;
    const uint32_t cp = _T_LocalToUnicode(reinterpret_cast<const char *>(p), &length, charset);
    return static_cast<int>(length) == n ? cp : 0;
}

bool IsLetter(uint32_t cp) {
    return (cp >= 'A' && cp <= 'Z') || (cp >= 'a' && cp <= 'z') || (cp >= 0xFF21 && cp <= 0xFF3A) ||
           (cp >= 0xFF41 && cp <= 0xFF5A);
}

bool IsDigit(uint32_t cp) { return (cp >= '0' && cp <= '9') || (cp >= 0xFF10 && cp <= 0xFF19); }

// 1 when the text is non-empty and every character passes `test`.
template <typename Test>
int32_t AllCharacters(const char *text, uint32_t charset, Test test) {
    if (text == nullptr || *text == '\0') return 0;
    auto p = reinterpret_cast<const unsigned char *>(text);
    while (*p != 0) {
        const int n = CompleteLength(p, charset);
        if (n == 0 || !test(CodePoint(p, n, charset))) return 0;
        p += n;
    }
    return 1;
}

}  // namespace

extern "C" {

char *_T_AppendSubdirSymbol(char *path) {
    if (path == nullptr) return path;
    const size_t n = std::strlen(path);
    if (n == 0 || (path[n - 1] != '/' && path[n - 1] != '\\')) {
        path[n] = '/';
        path[n + 1] = '\0';
    }
    return path;
}

int32_t _T_IsAlphabet(const char *text, uint32_t charset) { return AllCharacters(text, charset, IsLetter); }

int32_t _T_IsDigital(const char *text, uint32_t charset) { return AllCharacters(text, charset, IsDigit); }

int32_t _T_NumerateStr(const char *text, int32_t length, int32_t mode, uint32_t charset) {
    if (text == nullptr) return 0;
    const size_t limit = length < 0 ? std::strlen(text) : ::strnlen(text, static_cast<size_t>(length));
    if (mode != 2) return static_cast<int32_t>(limit);
    auto p = reinterpret_cast<const unsigned char *>(text);
    size_t at = 0;
    int32_t count = 0;
    while (at < limit) {
        const int n = CharLength(p + at, charset);
        at += static_cast<size_t>(n);
        ++count;
    }
    return count;
}

}  // extern "C"
