// Character-set conversion for the raw-text front end, built on the base
// runtime's decoders and encoders.
#include "front/transcode.h"

#include <cstring>
#include <mutex>

#include "front/atoms.h"
#include "vsglex/charset.h"

namespace vsg::front {

namespace {

// GB18030 form of every code point of the Basic Multilingual Plane, filled
// once: bytes packed first byte lowest, and their number (0: none).
uint32_t g_bmpToGb[0x10000];
uint8_t g_bmpGbLength[0x10000];
std::once_flag g_bmpOnce;

void FillBmpTable() {
    char out[8];
    for (uint32_t cp = 0; cp < 0x10000; ++cp) {
        std::memset(out, 0, sizeof out);
        int32_t len = (cp >= 0xD800 && cp <= 0xDFFF) ? 0 : _T_UnicodeToGB18030(cp, out);
        uint32_t packed = 0;
        if (len > 0 && len <= 4) {
            for (int32_t k = 0; k < len; ++k) packed |= static_cast<uint32_t>(static_cast<unsigned char>(out[k])) << (8 * k);
        } else {
            len = 0;
        }
        g_bmpToGb[cp] = packed;
        g_bmpGbLength[cp] = static_cast<uint8_t>(len);
    }
}

// Appends one work character of `len` bytes standing for source bytes
// [s, e) of the stretch.
inline void Emit(WorkText &w, const char *bytes, size_t len, uint32_t s, uint32_t e) {
    w.gb.append(bytes, len);
    w.srcStart.insert(w.srcStart.end(), len, s);
    w.srcEnd.insert(w.srcEnd.end(), len, e);
}

}  // namespace

size_t Utf8CharLength(const unsigned char *s, size_t n, uint32_t *code) {
    if (n == 0) return 0;
    unsigned char c = s[0];
    if (c < 0x80) {
        *code = c;
        return 1;
    }
    size_t len;
    uint32_t cp;
    uint32_t min;
    if (c >= 0xC2 && c <= 0xDF) {
        len = 2, cp = c & 0x1F, min = 0x80;
    } else if (c >= 0xE0 && c <= 0xEF) {
        len = 3, cp = c & 0x0F, min = 0x800;
    } else if (c >= 0xF0 && c <= 0xF4) {
        len = 4, cp = c & 0x07, min = 0x10000;
    } else {
        return 0;
    }
    if (n < len) return 0;
    for (size_t k = 1; k < len; ++k) {
        if ((s[k] & 0xC0) != 0x80) return 0;
        cp = (cp << 6) | (s[k] & 0x3F);
    }
    if (cp < min || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) return 0;
    *code = cp;
    return len;
}

bool IsValidUtf8(const char *s, size_t n) {
    const auto *u = reinterpret_cast<const unsigned char *>(s);
    size_t i = 0;
    uint32_t cp;
    while (i < n) {
        if (u[i] < 0x80) {
            ++i;
            continue;
        }
        size_t len = Utf8CharLength(u + i, n - i, &cp);
        if (len == 0) return false;
        i += len;
    }
    return true;
}

void ToWorkText(const char *src, size_t n, int charset, WorkText &w, std::vector<uint64_t> &invalid,
                uint64_t base) {
    w.gb.clear();
    w.srcStart.clear();
    w.srcEnd.clear();
    w.gb.reserve(n + n / 4);
    w.srcStart.reserve(n + n / 4);
    w.srcEnd.reserve(n + n / 4);
    const auto *u = reinterpret_cast<const unsigned char *>(src);
    char out[24];
    size_t i = 0;
    if (charset == 3) std::call_once(g_bmpOnce, FillBmpTable);
    while (i < n) {
        unsigned char c = u[i];
        uint32_t s = static_cast<uint32_t>(i);
        if (c < 0x80) {
            // ASCII is the same in all three sets; NUL becomes a space so the
            // work text can be handed on as C strings.
            char b = c == 0 ? ' ' : static_cast<char>(c);
            Emit(w, &b, 1, s, s + 1);
            ++i;
            continue;
        }
        size_t len = 0;
        if (charset == 3) {
            uint32_t cp = 0;
            len = Utf8CharLength(u + i, n - i, &cp);
            if (len > 0) {
                size_t olen = 0;
                if (cp < 0x10000) {
                    uint32_t packed = g_bmpToGb[cp];
                    olen = g_bmpGbLength[cp];
                    for (size_t k = 0; k < olen; ++k) out[k] = static_cast<char>((packed >> (8 * k)) & 0xFF);
                } else {
                    std::memset(out, 0, 8);
                    int32_t r = _T_UnicodeToGB18030(cp, out);
                    olen = r > 0 && r <= 4 ? static_cast<size_t>(r) : 0;
                }
                if (olen == 0) len = 0;
                else Emit(w, out, olen, s, static_cast<uint32_t>(i + len));
            }
        } else if (charset == 2) {
            // Copy the character into a padded buffer so the decoder never
            // reads past the caller's bytes.
            char in[4] = {static_cast<char>(c), i + 1 < n ? static_cast<char>(u[i + 1]) : '\0', 0, 0};
            std::memset(out, 0, sizeof out);
            uint32_t used = _T_TranslateCode(in, T_CHARSET_BIG5, out, T_CHARSET_GB18030, T_CODE_STRICT, nullptr);
            size_t olen = std::strlen(out);
            if (used >= 1 && used <= 2 && i + used <= n && olen > 0 && olen <= 4) {
                len = used;
                Emit(w, out, olen, s, static_cast<uint32_t>(i + len));
            }
        } else {
            size_t clen = GbCharLength(u, i, n);
            if (clen > 1) {
                char in[8] = {0};
                std::memcpy(in, src + i, clen);
                uint32_t dlen = 0;
                if (_T_GB18030ToUnicode(in, &dlen) != 0 && dlen == clen) {
                    len = clen;
                    Emit(w, src + i, clen, s, static_cast<uint32_t>(i + len));
                }
            }
        }
        if (len == 0) {
            invalid.push_back(base + i);
            ++i;
        } else {
            i += len;
        }
    }
}

void GbToUtf8(const char *gb, size_t n, std::string &out) {
    const auto *u = reinterpret_cast<const unsigned char *>(gb);
    size_t i = 0;
    char buf[8];
    while (i < n) {
        if (u[i] < 0x80) {
            out.push_back(static_cast<char>(u[i]));
            ++i;
            continue;
        }
        size_t clen = GbCharLength(u, i, n);
        uint32_t cp = 0;
        if (clen > 1) {
            char in[8] = {0};
            std::memcpy(in, gb + i, clen);
            uint32_t dlen = 0;
            cp = _T_GB18030ToUnicode(in, &dlen);
            if (dlen != clen) cp = 0;
        }
        if (cp == 0) cp = 0xFFFD;
        std::memset(buf, 0, sizeof buf);
        int32_t r = _T_UnicodeToUTF8(cp, buf);
        if (r > 0) out.append(buf, static_cast<size_t>(r));
        i += clen;
    }
}

}  // namespace vsg::front
