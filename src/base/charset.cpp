// GB18030, BIG5 and UTF-8 decoders and encoders over the constant code
// tables, and the locale character set.
#include <atomic>
#include <cstdint>

#include "base/charset_tables.h"
#include "common/utf8.h"
#include "vsglex/charset.h"
#include "vsglex/tlsinst.h"

namespace vsglex::charset {

namespace {

// Search window of the block holding `key` in block row `row`; for ranges
// the window starts one earlier, since a range may reach into the block.
inline void Window(const CodeTable &table, int row, uint32_t key, bool ranges, uint32_t *lo, uint32_t *hi) {
    uint32_t block = key >> 8;
    *lo = table.blocks[row][block];
    *hi = table.blocks[row][block + 1];
    if (ranges && *lo > 0) --*lo;
}

// Position in [lo, hi) of the last element whose key is <= `key`, or `hi`
// when there is none. Written without data-dependent branches: the search
// runs once per character.
template <typename KeyAt>
inline uint32_t LastNotAbove(uint32_t lo, uint32_t hi, uint32_t key, KeyAt keyAt) {
    if (lo >= hi || keyAt(lo) > key) return hi;
    uint32_t n = hi - lo;
    while (n > 1) {
        uint32_t half = n / 2;
        lo = keyAt(lo + half) <= key ? lo + half : lo;
        n -= half;
    }
    return lo;
}

}  // namespace

uint32_t TableDecode(const CodeTable &table, uint32_t index) {
    if (index > 0xFFFF) return 0;
    uint32_t lo, hi;
    Window(table, 0, index, true, &lo, &hi);
    uint32_t at = LastNotAbove(lo, hi, index, [&](uint32_t i) { return table.ranges[i].index; });
    if (at < hi) {
        const CodeRange &r = table.ranges[at];
        if (index - r.index < r.count) return r.code + (index - r.index);
    }
    Window(table, 1, index, false, &lo, &hi);
    at = LastNotAbove(lo, hi, index, [&](uint32_t i) { return table.pairs[i].index; });
    if (at < hi && table.pairs[at].index == index) return table.pairs[at].code;
    return 0;
}

int32_t TableEncode(const CodeTable &table, uint32_t code) {
    if (code > 0xFFFF) return -1;
    uint32_t lo, hi;
    Window(table, 2, code, true, &lo, &hi);
    uint32_t at = LastNotAbove(lo, hi, code, [&](uint32_t i) { return table.ranges[table.rangesByCode[i]].code; });
    if (at < hi) {
        const CodeRange &r = table.ranges[table.rangesByCode[at]];
        if (code - r.code < r.count) return static_cast<int32_t>(r.index + (code - r.code));
    }
    Window(table, 3, code, false, &lo, &hi);
    at = LastNotAbove(lo, hi, code, [&](uint32_t i) { return table.pairs[table.pairsByCode[i]].code; });
    if (at < hi) {
        const CodePair &p = table.pairs[table.pairsByCode[at]];
        if (p.code == code) return p.index;
    }
    return -1;
}

}  // namespace vsglex::charset

using namespace vsglex::charset;

namespace {

constexpr uint32_t kGbTwoByteCount = 126 * 190;
constexpr uint32_t kGbSurrogateFirst = 39420;  // four-byte value of U+D800
constexpr uint32_t kGbSurrogateLast = 41467;   // four-byte value of U+DFFF (84 32 F3 37)
constexpr uint32_t kGbSupplementaryBase = 189000;  // four-byte value of U+10000 (90 30 81 30)

inline void SetLength(uint32_t *length, uint32_t n) {
    if (length) *length = n;
}

// Code point of two-byte GB18030 value `index` among the few that lie
// beyond the Basic Multilingual Plane, or 0.
uint32_t WideCodeOf(uint32_t index) {
    for (uint32_t i = 0; i < kGb18030WideCount; ++i)
        if (kGb18030Wide[i].index == index) return kGb18030Wide[i].code;
    return 0;
}

// Two-byte GB18030 value of a code point beyond the Basic Multilingual
// Plane, or -1 when it has none.
int32_t WideIndexOf(uint32_t code) {
    for (uint32_t i = 0; i < kGb18030WideCount; ++i)
        if (kGb18030Wide[i].code == code) return static_cast<int32_t>(kGb18030Wide[i].index);
    return -1;
}

// Writes a one-byte code and its terminator.
int32_t PutOne(uint32_t code, unsigned char *out) {
    out[0] = static_cast<unsigned char>(code);
    out[1] = 0;
    return 1;
}

// Writes a two-byte code of a table with `perLead` trail bytes per lead
// byte from 0x81; trails run from 0x40, and those from 0x3F on skip
// `trailGap` bytes past 0x7E.
int32_t PutTwo(uint32_t index, uint32_t perLead, uint32_t trailGap, unsigned char *out) {
    const uint32_t trail = index % perLead;
    out[0] = static_cast<unsigned char>(0x81 + index / perLead);
    out[1] = static_cast<unsigned char>(trail < 0x3F ? trail + 0x40 : trail + 0x40 + trailGap);
    out[2] = 0;
    return 2;
}

// Writes the four-byte GB18030 code of linear value `value`.
int32_t PutGbFour(uint32_t value, unsigned char *out) {
    out[3] = static_cast<unsigned char>(0x30 + value % 10);
    value /= 10;
    out[2] = static_cast<unsigned char>(0x81 + value % 126);
    value /= 126;
    out[1] = static_cast<unsigned char>(0x30 + value % 10);
    out[0] = static_cast<unsigned char>(0x81 + value / 10);
    out[4] = 0;
    return 4;
}

uint32_t Big5Index(unsigned lead, unsigned trail) {
    return (lead - 0x81) * 157 + (trail < 0x7F ? trail - 0x40 : trail - 0x62);
}

// The process-wide locale character set, and the key under which threads
// keep their own value (its stored value stays 0: "not set").
std::atomic<uint32_t> g_localeCharset{0};
std::atomic<bool> g_localePerThread{false};
const int64_t g_localeCharsetKey = 0;

}  // namespace

extern "C" {

VSGLEX_API uint32_t _T_GB18030ToUnicode(const char *bytes, uint32_t *length) {
    SetLength(length, 0);
    if (!bytes) return 0;
    const auto *b = reinterpret_cast<const unsigned char *>(bytes);
    if (b[0] < 0x80) {
        SetLength(length, 1);
        return b[0];
    }
    if (b[0] < 0x81 || b[0] > 0xFE) return 0;
    uint32_t index;
    if ((b[1] >= 0x40 && b[1] <= 0x7E) || (b[1] >= 0x80 && b[1] <= 0xFE)) {
        index = (b[0] - 0x81u) * 190 + (b[1] < 0x7F ? b[1] - 0x40u : b[1] - 0x41u);
        uint32_t code = TableDecode(kGb18030Table, index);
        if (code == 0) code = WideCodeOf(index);
        if (code) SetLength(length, 2);
        return code;
    }
    if (b[1] < 0x30 || b[1] > 0x39 || b[2] < 0x81 || b[2] > 0xFE || b[3] < 0x30 || b[3] > 0x39) return 0;
    uint32_t value = (((b[0] - 0x81u) * 10 + (b[1] - 0x30u)) * 126 + (b[2] - 0x81u)) * 10 + (b[3] - 0x30u);
    uint32_t code = 0;
    if (b[0] >= 0x90) {
        if (b[0] <= 0xE3 && value - kGbSupplementaryBase <= 0x10FFFF - 0x10000) code = value - 123464;
    } else if (b[0] >= 0x85) {
        code = 0;
    } else if (value >= kGbSurrogateFirst) {
        if (value <= kGbSurrogateLast) code = value + 15876;
    } else {
        code = TableDecode(kGb18030Table, value + kGbTwoByteCount);
    }
    if (code) SetLength(length, 4);
    return code;
}

VSGLEX_API int32_t _T_UnicodeToGB18030(uint32_t code, char *out) {
    if (!out) return 0;
    auto *o = reinterpret_cast<unsigned char *>(out);
    o[0] = 0;
    if (code < 0x80) return PutOne(code, o);
    if (code > 0x10FFFF) return 0;
    int32_t index = -1;
    if (code >= 0x10000) {
        index = WideIndexOf(code);
        if (index < 0) return PutGbFour(code - 0x10000 + kGbSupplementaryBase, o);
    } else if (code >= 0xD800 && code <= 0xDFFF) {
        return PutGbFour(code - 15876, o);
    } else {
        index = TableEncode(kGb18030Table, code);
        if (index < 0) return 0;
    }
    auto u = static_cast<uint32_t>(index);
    if (u >= kGbTwoByteCount) return PutGbFour(u - kGbTwoByteCount, o);
    return PutTwo(u, 190, 1, o);
}

VSGLEX_API uint32_t _T_BIG5ToUnicode(const char *bytes, uint32_t *length) {
    SetLength(length, 0);
    if (!bytes) return 0;
    const auto *b = reinterpret_cast<const unsigned char *>(bytes);
    if (b[0] < 0x80 || (b[0] == 0x80 && kBig5Byte80)) {
        SetLength(length, 1);
        return b[0];
    }
    if (b[0] < 0x81 || b[0] > 0xFE) return 0;
    if (!((b[1] >= 0x40 && b[1] <= 0x7E) || (b[1] >= 0xA1 && b[1] <= 0xFE))) return 0;
    uint32_t index = Big5Index(b[0], b[1]);
    uint32_t code = TableDecode(kBig5Table, index);
    if (code == 0) code = TableDecode(kBig5ExtTable, index);
    if (code) SetLength(length, 2);
    return code;
}

VSGLEX_API int32_t _T_UnicodeToBIG5(uint32_t code, char *out) {
    if (!out) return 0;
    auto *o = reinterpret_cast<unsigned char *>(out);
    o[0] = 0;
    if (code < 0x80 || (code == 0x80 && kBig5Byte80)) return PutOne(code, o);
    if (code > 0xFFFF) return 0;
    int32_t index = TableEncode(kBig5Table, code);
    if (index < 0) index = TableEncode(kBig5ExtTable, code);
    if (index < 0) return 0;
    return PutTwo(static_cast<uint32_t>(index), 157, 0x22, o);
}

VSGLEX_API uint32_t _T_UTF8ToUnicode(const char *bytes, uint32_t *length) {
    SetLength(length, 0);
    if (!bytes) return 0;
    // Decoding stops at the first byte that does not continue the
    // sequence, the terminating NUL included.
    uint32_t code = 0;
    const size_t n = vsg::DecodeUtf8(reinterpret_cast<const unsigned char *>(bytes), 4, &code,
                                     vsg::Surrogates::kAccept);
    if (n == 0) return 0;
    SetLength(length, static_cast<uint32_t>(n));
    return code;
}

VSGLEX_API int32_t _T_UnicodeToUTF8(uint32_t code, char *out) {
    if (!out) return 0;
    auto *o = reinterpret_cast<unsigned char *>(out);
    int32_t n;
    if (code < 0x80) {
        o[0] = static_cast<unsigned char>(code);
        n = 1;
    } else if (code < 0x800) {
        o[0] = static_cast<unsigned char>(0xC0 | (code >> 6));
        o[1] = static_cast<unsigned char>(0x80 | (code & 0x3F));
        n = 2;
    } else if (code < 0x10000) {
        o[0] = static_cast<unsigned char>(0xE0 | (code >> 12));
        o[1] = static_cast<unsigned char>(0x80 | ((code >> 6) & 0x3F));
        o[2] = static_cast<unsigned char>(0x80 | (code & 0x3F));
        n = 3;
    } else if (code <= 0x10FFFF) {
        o[0] = static_cast<unsigned char>(0xF0 | (code >> 18));
        o[1] = static_cast<unsigned char>(0x80 | ((code >> 12) & 0x3F));
        o[2] = static_cast<unsigned char>(0x80 | ((code >> 6) & 0x3F));
        o[3] = static_cast<unsigned char>(0x80 | (code & 0x3F));
        n = 4;
    } else {
        o[0] = 0;
        return 0;
    }
    o[n] = 0;
    return n;
}

VSGLEX_API int32_t _T_UnicodeToLocal(uint32_t code, char *out, uint32_t charset) {
    switch (charset) {
    case T_CHARSET_GB18030: return _T_UnicodeToGB18030(code, out);
    case T_CHARSET_BIG5: return _T_UnicodeToBIG5(code, out);
    case T_CHARSET_UTF8: return _T_UnicodeToUTF8(code, out);
    default:
        if (out) out[0] = 0;
        return 0;
    }
}

VSGLEX_API uint32_t _T_LocalToUnicode(const char *bytes, uint32_t *length, uint32_t charset) {
    switch (charset) {
    case T_CHARSET_GB18030: return _T_GB18030ToUnicode(bytes, length);
    case T_CHARSET_BIG5: return _T_BIG5ToUnicode(bytes, length);
    case T_CHARSET_UTF8: return _T_UTF8ToUnicode(bytes, length);
    default: SetLength(length, 0); return 0;
    }
}

VSGLEX_API uint32_t _T_LocaleCharset(int32_t raw) {
    uint32_t charset = 0;
    if (g_localePerThread.load(std::memory_order_acquire)) {
        int64_t value = 0;
        if (_T_GetTLSInst(&g_localeCharsetKey, &value) && value > 0 && value <= UINT32_MAX)
            charset = static_cast<uint32_t>(value);
    }
    if (charset == 0) charset = g_localeCharset.load(std::memory_order_relaxed);
    if (charset == 0 && raw == 0) charset = T_CHARSET_GB18030;
    return charset;
}

VSGLEX_API int32_t _T_SetLocaleCharset(uint32_t charset, int32_t perThread) {
    if (perThread) {
        if (!_T_SetTLSInst(&g_localeCharsetKey, charset, nullptr)) return 0;
        g_localePerThread.store(true, std::memory_order_release);
        return 1;
    }
    g_localeCharset.store(charset, std::memory_order_relaxed);
    return 1;
}

}  // extern "C"
