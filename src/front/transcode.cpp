// Character-set conversion for the raw-text front end, built on the base
// runtime's decoders and encoders.
#include "front/transcode.h"

#include <algorithm>
#include <cstring>
#include <mutex>

#include "common/utf8.h"
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

// Simplified forms: GB18030 bytes of the simplified form of every code
// point of the Basic Multilingual Plane (the table BIG5 text is read with),
// and whether a code point has a traditional form of its own. Filled once,
// when first asked for.
uint32_t g_bmpToSimpGb[0x10000];
uint8_t g_bmpSimpGbLength[0x10000];
uint8_t g_bmpKind[0x10000];  // 1: changes when simplified; 2: changes when made traditional
std::once_flag g_simpOnce;

// The code point `cp` converted as UTF-8 with `flags`, or `cp` when the
// conversion fails.
uint32_t MapThroughUtf8(uint32_t cp, uint32_t flags) {
    char in[8] = {0}, out[24] = {0};
    if (_T_UnicodeToUTF8(cp, in) <= 0) return cp;
    if (_T_TranslateCode(in, T_CHARSET_UTF8, out, T_CHARSET_UTF8, flags | T_CODE_STRICT, nullptr) == 0) return cp;
    uint32_t len = 0;
    uint32_t mapped = _T_UTF8ToUnicode(out, &len);
    return len > 0 && mapped != 0 ? mapped : cp;
}

void FillSimplifiedTable() {
    std::call_once(g_bmpOnce, FillBmpTable);
    std::memcpy(g_bmpToSimpGb, g_bmpToGb, sizeof g_bmpToGb);
    std::memcpy(g_bmpSimpGbLength, g_bmpGbLength, sizeof g_bmpGbLength);
    char in[8], out[24];
    for (uint32_t cp = 0x2E80; cp < 0x10000; ++cp) {
        if (cp >= 0xD800 && cp < 0xF900) continue;  // surrogates and private use
        if (cp >= 0xFB00) break;
        if (MapThroughUtf8(cp, T_CODE_TO_SIMP) == cp) {
            if (MapThroughUtf8(cp, T_CODE_TO_TRAD) != cp) g_bmpKind[cp] = 2;
            continue;
        }
        g_bmpKind[cp] = 1;
        std::memset(in, 0, sizeof in);
        std::memset(out, 0, sizeof out);
        if (_T_UnicodeToUTF8(cp, in) <= 0) continue;
        // The same conversion as for BIG5 text: into GB18030, simplified.
        if (_T_TranslateCode(in, T_CHARSET_UTF8, out, T_CHARSET_GB18030, T_CODE_STRICT | T_CODE_TO_SIMP, nullptr) != 0) {
            size_t len = std::strlen(out);
            if (len > 0 && len <= 4) {
                uint32_t packed = 0;
                for (size_t k = 0; k < len; ++k) packed |= static_cast<uint32_t>(static_cast<unsigned char>(out[k])) << (8 * k);
                g_bmpToSimpGb[cp] = packed;
                g_bmpSimpGbLength[cp] = static_cast<uint8_t>(len);
            }
        }
    }
}

// Sizes the work text's storage to `capacity` bytes.
__attribute__((noinline)) void SizeWork(WorkText &w, size_t capacity) {
    w.gb.resize(capacity);
    w.srcStart.resize(capacity);
    w.srcEnd.resize(capacity);
}

// Writes the work text and its offsets through pointers into storage sized
// ahead: a character adds at most four bytes, so one capacity check per
// character replaces three per byte.
class WorkWriter {
public:
    WorkWriter(WorkText &w, size_t expected) : w_(w) {
        w_.gb.clear();
        w_.srcStart.clear();
        w_.srcEnd.clear();
        Grow(expected + 4);
    }
    // Room for one more character.
    void Reserve() {
        if (at_ + 4 > capacity_) Grow(2 * capacity_);
    }
    // Appends one work character of `len` (1 to 4) bytes standing for source
    // bytes [s, e) of the stretch; Reserve first.
    void Put(const char *bytes, size_t len, uint32_t s, uint32_t e) {
        for (size_t k = 0; k < len; ++k) {
            gb_[at_ + k] = bytes[k];
            start_[at_ + k] = s;
            end_[at_ + k] = e;
        }
        at_ += len;
    }
    // The same for `len` bytes packed first byte lowest; four are written,
    // those past `len` are overwritten by the next character or cut off.
    void PutPacked(uint32_t packed, size_t len, uint32_t s, uint32_t e) {
        for (size_t k = 0; k < 4; ++k) {
            gb_[at_ + k] = static_cast<char>((packed >> (8 * k)) & 0xFF);
            start_[at_ + k] = s;
            end_[at_ + k] = e;
        }
        at_ += len;
    }
    void PutAscii(char c, uint32_t s) {
        gb_[at_] = c;
        start_[at_] = s;
        end_[at_] = s + 1;
        ++at_;
    }
    // Converts the UTF-8 text u[i..n) from i while it is ASCII other than NUL
    // and well-formed three-byte characters that have a GB18030 form, as long
    // as the storage has room; returns where it stopped. What it leaves (any
    // other character, a malformed sequence) the caller's general step takes.
    // The state lives in locals here, so that the byte stores do not make
    // the compiler reload it.
    size_t Utf8Run(const unsigned char *u, size_t i, size_t n, const uint32_t *toGb, const uint8_t *gbLength) {
        char *gb = gb_;
        uint32_t *start = start_, *end = end_;
        size_t at = at_;
        const size_t last = capacity_ - 4;  // the writer always has room for one character
        while (i < n && at <= last) {
            const unsigned char c = u[i];
            const uint32_t s = static_cast<uint32_t>(i);
            if (c < 0x80) {
                if (c == 0) break;
                gb[at] = static_cast<char>(c);
                start[at] = s;
                end[at] = s + 1;
                ++at;
                ++i;
                continue;
            }
            if ((c & 0xF0) != 0xE0 || n - i < 3) break;
            const unsigned c1 = u[i + 1], c2 = u[i + 2];
            if ((((c1 & 0xC0) ^ 0x80) | ((c2 & 0xC0) ^ 0x80)) != 0) break;
            const uint32_t cp = ((c & 0x0Fu) << 12) | ((c1 & 0x3Fu) << 6) | (c2 & 0x3Fu);
            // Overlong forms; the surrogates have no GB18030 form in the tables.
            const size_t olen = cp >= 0x800 ? gbLength[cp] : 0;
            if (olen == 0) break;
            const uint32_t packed = toGb[cp];
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
            std::memcpy(gb + at, &packed, 4);  // first byte lowest: the bytes in order
#else
            for (size_t k = 0; k < 4; ++k) gb[at + k] = static_cast<char>((packed >> (8 * k)) & 0xFF);
#endif
            // Two bytes (GB2312 and GBK), else four.
            start[at] = start[at + 1] = s;
            end[at] = end[at + 1] = s + 3;
            if (olen > 2) {
                start[at + 2] = start[at + 3] = s;
                end[at + 2] = end[at + 3] = s + 3;
            }
            at += olen;
            i += 3;
        }
        at_ = at;
        return i;
    }
    // Cuts the storage to what was written.
    void Finish() { SizeWork(w_, at_); }

private:
    void Grow(size_t capacity) {
        capacity_ = capacity;
        SizeWork(w_, capacity_);
        gb_ = w_.gb.data();
        start_ = w_.srcStart.data();
        end_ = w_.srcEnd.data();
    }
    WorkText &w_;
    size_t at_ = 0, capacity_ = 0;
    char *gb_ = nullptr;
    uint32_t *start_ = nullptr, *end_ = nullptr;
};

}  // namespace

size_t Utf8CharLength(const unsigned char *s, size_t n, uint32_t *code) {
    return vsg::DecodeUtf8(s, n, code, vsg::Surrogates::kReject);
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
                uint64_t base, bool simplify) {
    // UTF-8 Chinese text shrinks (three bytes to two), GB18030 text keeps its
    // size; the writer grows when a text needs more.
    WorkWriter out(w, n + n / 4);
    w.nul = false;
    const auto *u = reinterpret_cast<const unsigned char *>(src);
    size_t i = 0;
    if (charset == 3) std::call_once(g_bmpOnce, FillBmpTable);
    if (simplify && charset != 2) std::call_once(g_simpOnce, FillSimplifiedTable);
    const uint32_t *toGb = simplify ? g_bmpToSimpGb : g_bmpToGb;
    const uint8_t *gbLength = simplify ? g_bmpSimpGbLength : g_bmpGbLength;
    while (i < n) {
        out.Reserve();
        if (charset == 3) {
            // Most of a text: runs of ASCII and three-byte characters.
            i = out.Utf8Run(u, i, n, toGb, gbLength);
            if (i >= n) break;
            out.Reserve();
        }
        unsigned char c = u[i];
        uint32_t s = static_cast<uint32_t>(i);
        if (c < 0x80) {
            // ASCII is the same in all three sets; NUL becomes a space so the
            // work text can be handed on as C strings.
            if (c == 0) w.nul = true;
            out.PutAscii(c == 0 ? ' ' : static_cast<char>(c), s);
            ++i;
            continue;
        }
        size_t len = 0;
        if (charset == 3) {
            uint32_t cp = 0;
            if (c >= 0xE0 && c <= 0xEF && n - i >= 3 && (u[i + 1] & 0xC0) == 0x80 && (u[i + 2] & 0xC0) == 0x80) {
                // Three bytes, the form of Chinese text: decoded here, with
                // Utf8CharLength's checks (overlong forms, surrogates).
                cp = ((c & 0x0Fu) << 12) | ((u[i + 1] & 0x3Fu) << 6) | (u[i + 2] & 0x3Fu);
                len = cp >= 0x800 && (cp < 0xD800 || cp > 0xDFFF) ? 3 : 0;
            } else {
                len = Utf8CharLength(u + i, n - i, &cp);
            }
            if (len > 0) {
                if (cp < 0x10000) {
                    const size_t olen = gbLength[cp];
                    if (olen == 0) len = 0;
                    else out.PutPacked(toGb[cp], olen, s, static_cast<uint32_t>(i + len));
                } else {
                    char bytes[8] = {0};
                    int32_t r = _T_UnicodeToGB18030(cp, bytes);
                    if (r > 0 && r <= 4) out.Put(bytes, static_cast<size_t>(r), s, static_cast<uint32_t>(i + len));
                    else len = 0;
                }
            }
        } else if (charset == 2) {
            // Copy the character into a padded buffer so the decoder never
            // reads past the caller's bytes.
            char in[4] = {static_cast<char>(c), i + 1 < n ? static_cast<char>(u[i + 1]) : '\0', 0, 0};
            char bytes[24] = {0};
            uint32_t used = _T_TranslateCode(in, T_CHARSET_BIG5, bytes, T_CHARSET_GB18030, T_CODE_STRICT, nullptr);
            size_t olen = std::strlen(bytes);
            if (used >= 1 && used <= 2 && i + used <= n && olen > 0 && olen <= 4) {
                len = used;
                out.Put(bytes, olen, s, static_cast<uint32_t>(i + len));
            }
        } else {
            size_t clen = GbCharLength(u, i, n);
            if (clen > 1) {
                char in[8] = {0};
                std::memcpy(in, src + i, clen);
                uint32_t dlen = 0;
                uint32_t cp = _T_GB18030ToUnicode(in, &dlen);
                if (cp != 0 && dlen == clen) {
                    len = clen;
                    if (simplify && cp < 0x10000 && g_bmpKind[cp] == 1)
                        out.PutPacked(g_bmpToSimpGb[cp], g_bmpSimpGbLength[cp], s, static_cast<uint32_t>(i + len));
                    else
                        out.Put(src + i, clen, s, static_cast<uint32_t>(i + len));
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
    out.Finish();
}

namespace {

// Length of the BIG5 character at s[0..n): 2 for a lead byte followed by a
// trail byte, else 1.
inline size_t Big5CharLength(const unsigned char *s, size_t n) {
    if (s[0] >= 0x81 && s[0] <= 0xFE && n >= 2 && ((s[1] >= 0x40 && s[1] <= 0x7E) || (s[1] >= 0xA1 && s[1] <= 0xFE)))
        return 2;
    return 1;
}

// Length of the character at s[0..n) in `charset`; 1 for a byte that opens
// no valid character.
inline size_t CharLength(const unsigned char *s, size_t n, int charset) {
    if (s[0] < 0x80) return 1;
    if (charset == 3) {
        uint32_t cp;
        size_t len = Utf8CharLength(s, n, &cp);
        return len > 0 ? len : 1;
    }
    if (charset == 2) return Big5CharLength(s, n);
    return GbCharLength(s, 0, n);
}

// True when the character s[0..len) ends a sentence in `charset`.
inline bool EndsSentence(const unsigned char *s, size_t len, int charset) {
    if (len == 1) return s[0] == '!' || s[0] == '?';
    if (charset == 3)
        return len == 3 && ((s[0] == 0xE3 && s[1] == 0x80 && s[2] == 0x82) ||
                            (s[0] == 0xEF && s[1] == 0xBC && (s[2] == 0x81 || s[2] == 0x9F)));
    if (len != 2) return false;
    if (charset == 2) return s[0] == 0xA1 && (s[1] == 0x43 || s[1] == 0x48 || s[1] == 0x49);
    return (s[0] == 0xA1 && s[1] == 0xA3) || (s[0] == 0xA3 && (s[1] == 0xA1 || s[1] == 0xBF));
}

// True when the pairs of bytes of s[0..n) look like UTF-16 text in the
// given byte order: NUL high bytes for ASCII, and mostly Chinese or
// full-width characters.
bool LooksLikeUtf16(const unsigned char *s, size_t n, bool bigEndian) {
    size_t pairs = n / 2, ascii = 0, han = 0, other = 0;
    for (size_t k = 0; k < pairs; ++k) {
        unsigned char hi = s[2 * k + (bigEndian ? 0 : 1)], lo = s[2 * k + (bigEndian ? 1 : 0)];
        if (hi == 0 && lo != 0 && lo < 0x80) ++ascii;
        else if ((hi >= 0x4E && hi <= 0x9F) || hi == 0x30 || hi == 0xFF) ++han;
        else ++other;
    }
    // Chinese text in UTF-16 has line ends or spaces (NUL high bytes) or is
    // almost all characters of the common Chinese block.
    return pairs >= 2 && other * 10 <= pairs && (ascii > 0 || han * 10 >= pairs * 9) && han > 0;
}

// True when NUL bytes fill one of the two byte positions of the pairs of
// s[0..n) (a quarter of them at least) and hardly the other: the high bytes
// of ASCII characters in UTF-16.
bool HasUtf16Zeros(const unsigned char *s, size_t n) {
    size_t zeros[2] = {0, 0};
    for (size_t i = 0; i < n; ++i) zeros[i & 1] += s[i] == 0;
    size_t pairs = n / 2;
    for (int k = 0; k < 2; ++k)
        if (pairs >= 2 && zeros[k] * 4 >= pairs && zeros[1 - k] * 20 <= pairs) return true;
    return false;
}

}  // namespace

CharsetGuess GuessCharset(const char *src, size_t n) {
    CharsetGuess g;
    const auto *u = reinterpret_cast<const unsigned char *>(src);
    n = std::min(n, kGuessBytes);
    if (n >= 3 && u[0] == 0xEF && u[1] == 0xBB && u[2] == 0xBF) {
        g.charset = 3;
    } else if (n >= 2 && ((u[0] == 0xFF && u[1] == 0xFE) || (u[0] == 0xFE && u[1] == 0xFF))) {
        g.utf16 = true;
        return g;
    } else if (HasUtf16Zeros(u, std::min<size_t>(n, 4096))) {
        g.utf16 = true;
        return g;
    } else {
        // Bytes of valid multi-byte UTF-8 sequences against the other high bytes.
        uint64_t good = 0, bad = 0;
        uint32_t cp;
        for (size_t i = 0; i < n;) {
            if (u[i] < 0x80) {
                ++i;
                continue;
            }
            size_t len = Utf8CharLength(u + i, n - i, &cp);
            // A sequence cut by the end of the sample is no evidence either way.
            if (len == 0 && n == kGuessBytes && n - i < 4) break;
            if (len == 0) {
                ++bad;
                ++i;
            } else {
                good += len;
                i += len;
            }
        }
        if (good < 2 * bad) {
            size_t probe = std::min<size_t>(n, 4096) & ~static_cast<size_t>(1);
            if (LooksLikeUtf16(u, probe, false) || LooksLikeUtf16(u, probe, true)) {
                g.utf16 = true;
                return g;
            }
            // Double-byte characters in the rows each set uses for Chinese
            // characters and punctuation (GB2312 rows 16-87, A1 and A3; BIG5
            // A4-C6 and A1 with low trail bytes), read each way.
            uint64_t gbHits = 0, big5Hits = 0;
            for (size_t i = 0; i < n;) {
                size_t len = GbCharLength(u, i, n);
                if (len == 2) {
                    unsigned char a = u[i], b = u[i + 1];
                    if (b >= 0xA1 && ((a >= 0xB0 && a <= 0xF7) || a == 0xA1 || a == 0xA3)) ++gbHits;
                }
                i += len;
            }
            for (size_t i = 0; i < n;) {
                size_t len = u[i] < 0x80 ? 1 : Big5CharLength(u + i, n - i);
                if (len == 2) {
                    unsigned char a = u[i], b = u[i + 1];
                    if ((a >= 0xA4 && a <= 0xC6) || (a == 0xA1 && b <= 0x7E)) ++big5Hits;
                }
                i += len;
            }
            g.charset = big5Hits > gbHits ? 2 : 1;
        }
    }
    if (g.charset == 2) return g;  // BIG5 is always read as simplified text
    // Traditional-only against simplified-only characters.
    std::call_once(g_simpOnce, FillSimplifiedTable);
    uint64_t trad = 0, simp = 0;
    char in[8];
    for (size_t i = 0; i < n;) {
        if (u[i] < 0x80) {
            ++i;
            continue;
        }
        uint32_t cp = 0;
        size_t len;
        if (g.charset == 3) {
            len = Utf8CharLength(u + i, n - i, &cp);
        } else {
            len = GbCharLength(u, i, n);
            if (len > 1) {
                std::memset(in, 0, sizeof in);
                std::memcpy(in, u + i, len);
                uint32_t dlen = 0;
                cp = _T_GB18030ToUnicode(in, &dlen);
                if (dlen != len) cp = 0;
            }
        }
        if (len == 0) len = 1;
        if (cp > 0 && cp < 0x10000) {
            trad += g_bmpKind[cp] == 1;
            simp += g_bmpKind[cp] == 2;
        }
        i += len;
    }
    g.traditional = trad >= 2 && trad > 2 * simp;
    return g;
}

size_t CutPoint(const char *src, size_t from, size_t to, size_t limit, int charset) {
    const auto *u = reinterpret_cast<const unsigned char *>(src);
    size_t lastChar = from, lastEnd = from;
    for (size_t i = from; i < to;) {
        size_t len = CharLength(u + i, limit - i, charset);
        // A high byte that opens no character near the end may be the start
        // of one cut by it.
        if (len == 1 && u[i] >= 0x80 && limit - i < 4) break;
        if (i + len > to) break;
        if (EndsSentence(u + i, len, charset)) lastEnd = i + len;
        i += len;
        lastChar = i;
    }
    return lastEnd > from ? lastEnd : lastChar;
}

namespace {

// Offset just after `n` characters of u[from..length) in `charset` (or
// `length`). UTF-8 characters are counted by their first bytes, which a
// continuation byte never is; the two-byte sets have to be walked.
size_t AdvanceChars(const unsigned char *u, size_t from, size_t length, int charset, size_t n) {
    size_t i = from;
    if (charset == 3) {
        size_t count = 0;
        // Whole stretches of 64 bytes first (a loop the compiler vectorises).
        while (length - i >= 64) {
            size_t starts = 0;
            for (size_t k = 0; k < 64; ++k) starts += (u[i + k] & 0xC0) != 0x80;
            if (count + starts > n) break;
            count += starts;
            i += 64;
        }
        for (; i < length; ++i)
            if ((u[i] & 0xC0) != 0x80 && count++ == n) break;
        return i;
    }
    for (size_t count = 0; count < n && i < length; ++count) i += CharLength(u + i, length - i, charset);
    return std::min(i, length);
}

}  // namespace

size_t BlockEnd(const char *src, size_t length, int charset, bool precut, size_t chars) {
    // Every character takes at least one byte: a shorter text is one block.
    chars = std::max<size_t>(chars, 1);
    if (length <= chars) return length;
    const auto *u = reinterpret_cast<const unsigned char *>(src);
    const size_t mid = AdvanceChars(u, 0, length, charset, chars);
    if (mid >= length) return length;
    // The first line end after `mid`, when fewer than `chars` characters
    // come before it.
    const void *nl = std::memchr(src + mid, '\n', length - mid);
    const size_t lineEnd = nl != nullptr ? static_cast<size_t>(static_cast<const char *>(nl) - src) : length;
    const size_t far = AdvanceChars(u, mid, lineEnd, charset, chars);
    if (nl != nullptr && far == lineEnd) return lineEnd + 1;
    // Near the end of a text read in pieces, the last bytes may be the start
    // of a character that the next piece completes.
    if (length - far < 4) return length;
    if (precut)
        if (const void *space = memrchr(src, ' ', far); space != nullptr)
            return static_cast<size_t>(static_cast<const char *>(space) - src) + 1;
    const size_t cut = CutPoint(src, 0, far, length, charset);
    return cut > 0 ? cut : far;
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
