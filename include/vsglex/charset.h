/* Character sets and code conversion: GB18030 (covering GB2312 and GBK),
 * BIG5 and UTF-8 decoders and encoders through Unicode code points, text
 * conversion with simplified/traditional Chinese mapping, replacement
 * characters and numeric character references. All tables are constant;
 * nothing here allocates. */
#ifndef VSGLEX_CHARSET_H
#define VSGLEX_CHARSET_H

#include <stdint.h>

#include "vsglex/export.h"

VSGLEX_EXTERN_C_BEGIN

/* Character set identifiers. Any other value is an opaque byte set that is
 * copied unchanged when source and target are the same set. */
#define T_CHARSET_NONE 0u    /* not set */
#define T_CHARSET_GB18030 1u /* GB18030; GB2312/GBK text is read and written as GB18030 */
#define T_CHARSET_BIG5 2u    /* BIG5 */
#define T_CHARSET_UTF8 3u    /* UTF-8 */

/* Conversion flags of _T_TranslateCode and _T_TranslateText. */
#define T_CODE_STRICT 0x100u      /* a character that cannot be decoded or encoded fails the call */
#define T_CODE_NCR 0x200u         /* unencodable characters as "&#N;", undecodable bytes as "&#xH;" */
#define T_CODE_ONE_UNIT 0x400u    /* the whole source is one character, else one replacement */
#define T_CODE_BIG5_VERIFY 0x800u /* a BIG5 result must decode back to the same code point */
#define T_CODE_NO_MAPPING 0x1000u /* no simplified/traditional mapping */
#define T_CODE_TO_TRAD 0x2000u    /* map to traditional characters */
#define T_CODE_TO_SIMP 0x4000u    /* map to simplified characters (targets other than BIG5) */
#define T_CODE_BIG5_FORMS 0x10000u /* with T_CODE_TO_TRAD: forms preferred for BIG5 whatever the target */

/* The replacement character written for what cannot be converted (U+25A1). */
#define T_CODE_REPLACEMENT 0x25A1u

/* Work record carried from character to character by _T_TranslateText: the
 * code points already seen, for context-dependent mapping. Zero it before the
 * first character of a text; its contents are private. */
typedef struct T_CodeContext {
    uint64_t reserved[7];
} T_CodeContext;

/* Decodes one GB18030 character at `bytes`; stores its length (1, 2 or 4) in
 * `*length` and returns its code point, or 0 when the bytes are not valid. */
VSGLEX_API uint32_t _T_GB18030ToUnicode(const char *bytes, uint32_t *length);
/* Encodes `code` as GB18030 into `out` (1, 2 or 4 bytes and a NUL, at least
 * 5 bytes of room); returns the number of bytes written, 0 when impossible. */
VSGLEX_API int32_t _T_UnicodeToGB18030(uint32_t code, char *out);
/* Decodes one BIG5 character; as _T_GB18030ToUnicode (length 1 or 2). */
VSGLEX_API uint32_t _T_BIG5ToUnicode(const char *bytes, uint32_t *length);
/* Encodes `code` as BIG5 (1 or 2 bytes and a NUL); 0 when BIG5 lacks it. */
VSGLEX_API int32_t _T_UnicodeToBIG5(uint32_t code, char *out);
/* Decodes one UTF-8 character (overlong forms are invalid); length 1 to 4. */
VSGLEX_API uint32_t _T_UTF8ToUnicode(const char *bytes, uint32_t *length);
/* Encodes `code` (up to U+10FFFF) as UTF-8 and a NUL; 0 above U+10FFFF. */
VSGLEX_API int32_t _T_UnicodeToUTF8(uint32_t code, char *out);
/* Encodes `code` in the set `charset` (1, 2 or 3); 0 for other sets. */
VSGLEX_API int32_t _T_UnicodeToLocal(uint32_t code, char *out, uint32_t charset);
/* Decodes one character of the set `charset` (1, 2 or 3); 0 for other sets. */
VSGLEX_API uint32_t _T_LocalToUnicode(const char *bytes, uint32_t *length, uint32_t charset);

/* Converts the one character at `source` from `sourceCharset` to
 * `targetCharset`, writing it and a NUL into `out` (at least 16 bytes).
 * `flags` are T_CODE_ bits; `context` may be null. Returns the number of
 * source bytes consumed, 0 on failure. */
VSGLEX_API uint32_t _T_TranslateCode(const char *source, uint32_t sourceCharset, char *out,
                                     uint32_t targetCharset, uint32_t flags, T_CodeContext *context);
/* Converts the NUL-terminated `source` into `target` of `targetSize` bytes
 * (below 1: twice the source length + 1). Returns the bytes written including
 * the NUL; 0 when the target is too small; -(i + 1) when the character at
 * source byte i cannot be converted. */
VSGLEX_API int64_t _T_TranslateText(const char *source, uint32_t sourceCharset, char *target,
                                    uint32_t targetCharset, uint32_t flags, int64_t targetSize);
/* As _T_TranslateText, but returns the bytes written without the NUL, or -1
 * after recording error 17489 (target too small) or 17490 (a character could
 * not be converted) for the calling thread. */
VSGLEX_API int64_t _T_ConvertStream(const char *source, uint32_t sourceCharset, char *target,
                                    uint32_t targetCharset, int64_t targetSize, uint32_t flags);

/* The locale character set: the calling thread's value when one was set per
 * thread, else the process-wide value. With `raw` 0 an unset value (0) is
 * given as 1 (GB18030). */
VSGLEX_API uint32_t _T_LocaleCharset(int32_t raw);
/* Sets the locale character set: for the calling thread only when
 * `perThread` is non-zero, else process-wide. Returns 1, or 0 on failure. */
VSGLEX_API int32_t _T_SetLocaleCharset(uint32_t charset, int32_t perThread);

VSGLEX_EXTERN_C_END

#endif /* VSGLEX_CHARSET_H */
