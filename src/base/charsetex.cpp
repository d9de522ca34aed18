// Character and text conversion between character sets: replacement
// characters, numeric character references, strict and one-unit modes, and
// the error-recording stream form.
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "base/charset_tables.h"
#include "vsglex/charset.h"
#include "vsglex/errcat.h"

using namespace vsglex::charset;

static_assert(sizeof(History) == sizeof(T_CodeContext), "the context record holds the history");

namespace {

bool KnownSet(uint32_t charset) {
    return charset == T_CHARSET_GB18030 || charset == T_CHARSET_BIG5 || charset == T_CHARSET_UTF8;
}

// Length of the bad byte sequence at `b` by the set's sequence rules, 1 when
// no rule applies. Never looks past a NUL.
uint32_t BadSequenceLength(const unsigned char *b, uint32_t charset) {
    if (charset == T_CHARSET_UTF8) {
        uint32_t n = b[0] >= 0xF0 && b[0] <= 0xF7 ? 4 : b[0] >= 0xE0 && b[0] <= 0xEF ? 3 : b[0] >= 0xC0 && b[0] <= 0xDF ? 2 : 1;
        uint32_t len = 1;
        while (len < n && (b[len] & 0xC0) == 0x80) ++len;
        return len;
    }
    if (b[0] < 0x81 || b[0] > 0xFE) return 1;
    if (charset == T_CHARSET_GB18030) {
        if (b[1] >= 0x30 && b[1] <= 0x39)
            return b[2] >= 0x81 && b[2] <= 0xFE && b[3] >= 0x30 && b[3] <= 0x39 ? 4 : 1;
        return (b[1] >= 0x40 && b[1] <= 0x7E) || (b[1] >= 0x80 && b[1] <= 0xFE) ? 2 : 1;
    }
    if (charset == T_CHARSET_BIG5) return (b[1] >= 0x40 && b[1] <= 0x7E) || (b[1] >= 0xA1 && b[1] <= 0xFE) ? 2 : 1;
    return 1;
}

// Encodes `code` in the target set; with `verifyBig5` a BIG5 result must
// decode back to `code`. Returns the bytes written, 0 when impossible.
uint32_t Encode(uint32_t code, char *out, uint32_t charset, bool verifyBig5) {
    int32_t n = _T_UnicodeToLocal(code, out, charset);
    if (n <= 0) return 0;
    if (verifyBig5 && charset == T_CHARSET_BIG5) {
        uint32_t length = 0;
        if (_T_BIG5ToUnicode(out, &length) != code || length != static_cast<uint32_t>(n)) {
            out[0] = 0;
            return 0;
        }
    }
    return static_cast<uint32_t>(n);
}

// The mapping a pair of sets and the flags ask for.
struct Mapping {
    MapDirection direction = MapDirection::kNone;
    bool big5Forms = false;
    bool gbkForms = false;
};

Mapping ChooseMapping(uint32_t source, uint32_t target, uint32_t flags) {
    Mapping m;
    bool unicodeOrGb = source == T_CHARSET_GB18030 || source == T_CHARSET_UTF8;
    bool targetUnicodeOrGb = target == T_CHARSET_GB18030 || target == T_CHARSET_UTF8;
    if (flags & T_CODE_NO_MAPPING) return m;
    if (flags & T_CODE_TO_TRAD) {
        m.direction = MapDirection::kToTraditional;
        m.big5Forms = target == T_CHARSET_BIG5 || (flags & T_CODE_BIG5_FORMS);
    } else if (unicodeOrGb && target == T_CHARSET_BIG5) {
        m.direction = MapDirection::kToTraditional;
        m.big5Forms = true;
    } else if (source == T_CHARSET_BIG5 && targetUnicodeOrGb) {
        m.direction = MapDirection::kToSimplified;
    } else if (source == T_CHARSET_BIG5 && target == T_CHARSET_BIG5) {
        return m;
    } else if ((flags & T_CODE_TO_SIMP) && target != T_CHARSET_BIG5) {
        m.direction = MapDirection::kToSimplified;
    }
    if (m.direction == MapDirection::kToSimplified) m.gbkForms = target == T_CHARSET_GB18030;
    return m;
}

// Writes the replacement character in the target set (nothing when the set
// has none) and returns its length.
uint32_t WriteReplacement(char *out, uint32_t target) {
    return Encode(T_CODE_REPLACEMENT, out, target, false);
}

// Converts one character; stores the bytes written (without the NUL) in
// `*written` and returns the source bytes consumed, 0 on failure.
uint32_t TranslateOne(const char *source, uint32_t sourceSet, char *out, uint32_t targetSet, uint32_t flags,
                      History *history, uint32_t *written) {
    *written = 0;
    out[0] = 0;
    const auto *b = reinterpret_cast<const unsigned char *>(source);
    uint32_t length = 0, code = 0;
    bool valid = false;
    if (KnownSet(sourceSet)) {
        code = _T_LocalToUnicode(source, &length, sourceSet);
        valid = length > 0;
        if (valid && (flags & T_CODE_ONE_UNIT) && b[0] != 0 && b[length] != 0) valid = false;
    } else if (sourceSet == targetSet || b[0] == 0) {
        out[0] = source[0];
        out[1] = 0;
        *written = b[0] ? 1 : 0;
        return 1;
    }
    if (valid) {
        if (code < 0x80) {
            out[0] = static_cast<char>(code);
            out[1] = 0;
            *written = code ? 1 : 0;
            HistoryPush(history, code);
            return length;
        }
        bool verify = (flags & T_CODE_BIG5_VERIFY) != 0;
        Mapping m = ChooseMapping(sourceSet, targetSet, flags);
        // Context words look at the characters before and after this one.
        Lookahead ahead;
        ahead.next = source + length;
        ahead.charset = sourceSet;
        uint32_t mapped = MapCharacter(code, m.direction, m.big5Forms, m.gbkForms, history, &ahead);
        HistoryPush(history, code);
        uint32_t n = Encode(mapped, out, targetSet, verify);
        if (n == 0 && mapped != code) n = Encode(code, out, targetSet, verify);
        if (n == 0) {
            if (flags & T_CODE_STRICT) {
                out[0] = 0;
                return 0;
            }
            if (flags & T_CODE_NCR)
                n = static_cast<uint32_t>(snprintf(out, 16, "&#%lu;", static_cast<unsigned long>(code)));
            else
                n = WriteReplacement(out, targetSet);
            if (n == 0) return 0;
        }
        *written = n;
        return length;
    }
    // Undecodable source.
    HistoryPush(history, 0);
    if (flags & T_CODE_STRICT) return 0;
    uint32_t consumed, n;
    if (flags & T_CODE_ONE_UNIT) {
        size_t rest = strlen(source);
        if (rest > UINT32_MAX) return 0;
        consumed = static_cast<uint32_t>(rest);
        if ((flags & T_CODE_NCR) && consumed == 1)
            n = static_cast<uint32_t>(snprintf(out, 16, "&#x%x;", b[0]));
        else
            n = WriteReplacement(out, targetSet);
    } else {
        consumed = KnownSet(sourceSet) ? BadSequenceLength(b, sourceSet) : 1;
        if (flags & T_CODE_NCR)
            n = static_cast<uint32_t>(snprintf(out, 16, "&#x%x;", b[0]));
        else
            n = WriteReplacement(out, targetSet);
    }
    if (n == 0 || consumed == 0) return 0;
    *written = n;
    return consumed;
}

}  // namespace

extern "C" {

VSGLEX_API uint32_t _T_TranslateCode(const char *source, uint32_t sourceCharset, char *out, uint32_t targetCharset,
                                     uint32_t flags, T_CodeContext *context) {
    if (!out) return 0;
    out[0] = 0;
    if (!source) return 0;
    uint32_t written = 0;
    return TranslateOne(source, sourceCharset, out, targetCharset, flags, reinterpret_cast<History *>(context),
                        &written);
}

VSGLEX_API int64_t _T_TranslateText(const char *source, uint32_t sourceCharset, char *target,
                                    uint32_t targetCharset, uint32_t flags, int64_t targetSize) {
    if (!target) return 0;
    size_t sourceLength = source ? strlen(source) : 0;
    if (targetSize < 1) targetSize = 2 * static_cast<int64_t>(sourceLength) + 1;
    if (sourceLength == 0) {
        target[0] = 0;
        return 1;
    }
    bool fallback = (flags & T_CODE_NCR) != 0;
    if (fallback) flags = (flags & ~T_CODE_NCR) | T_CODE_STRICT;
    T_CodeContext context{};
    History *history = reinterpret_cast<History *>(&context);
    int64_t written = 0;
    size_t consumed = 0;
    int64_t result = 0;
    char local[16];
    const bool asciiFast = KnownSet(sourceCharset) && !(flags & T_CODE_ONE_UNIT);
    for (;;) {
        if (source[consumed] == 0) {
            result = written + 1;
            break;
        }
        int64_t room = targetSize - written;
        // ASCII is itself in every known set: copy runs of it directly.
        if (asciiFast) {
            auto c = static_cast<unsigned char>(source[consumed]);
            if (c < 0x80 && room > 1) {
                target[written++] = static_cast<char>(c);
                ++consumed;
                HistoryPush(history, c);
                continue;
            }
        }
        bool direct = room >= static_cast<int64_t>(sizeof local);
        char *out = direct ? target + written : local;
        uint32_t n = 0;
        uint32_t used = TranslateOne(source + consumed, sourceCharset, out, targetCharset, flags, history, &n);
        if (used == 0 || n == 0) {
            if (!fallback) {
                result = -static_cast<int64_t>(consumed) - 1;
                break;
            }
            out = local;
            used = TranslateOne(source + consumed, sourceCharset, out, targetCharset, T_CODE_NCR, nullptr, &n);
            if (used == 0 || n == 0) {
                result = -static_cast<int64_t>(consumed) - 1;
                break;
            }
        }
        if (out == local) {
            if (static_cast<int64_t>(n) >= room) {
                result = 0;  // the room ran out
                break;
            }
            memcpy(target + written, local, n);
        }
        written += n;
        consumed += used;
    }
    target[written] = 0;
    return result;
}

VSGLEX_API int64_t _T_ConvertStream(const char *source, uint32_t sourceCharset, char *target,
                                    uint32_t targetCharset, int64_t targetSize, uint32_t flags) {
    int64_t r = _T_TranslateText(source, sourceCharset, target, targetCharset, flags, targetSize);
    if (r > 0) return r - 1;
    char message[T_ERR_PROMPT_MAX + 1];
    if (r < 0) {
        snprintf(message, sizeof message, "character at byte %lld of charset %u cannot be converted",
                 static_cast<long long>(-r - 1), sourceCharset);
        _T_SetLastErrorEx(T_ERR_CONVERT, message, 0, __FILE__, __LINE__);
    } else {
        snprintf(message, sizeof message, "target too small for \"%s\" of charset %u", source ? source : "",
                 sourceCharset);
        _T_SetLastErrorEx(T_ERR_TARGET_SMALL, message, KnownSet(sourceCharset) ? sourceCharset : 0, __FILE__,
                          __LINE__);
    }
    return -1;
}

}  // extern "C"
