/* String service of the base runtime: path helpers and character-set aware
 * tests of short texts. Character sets are those of charset.h (1 GB18030,
 * 2 BIG5, 3 UTF-8); any other value treats the text as single bytes. */
#ifndef VSGLEX_STRSVC_H
#define VSGLEX_STRSVC_H

#include <stddef.h>
#include <stdint.h>

#include "vsglex/export.h"

VSGLEX_EXTERN_C_BEGIN

/* Appends "/" to the NUL-terminated `path` unless it already ends with "/"
 * or "\"; an empty path becomes "/". The buffer must have room for one more
 * byte. Returns `path`. */
VSGLEX_API char *_T_AppendSubdirSymbol(char *path);

/* 1 when `text` is non-empty and every character is a Latin letter, in half
 * width (A-Z, a-z) or full width; else 0. */
VSGLEX_API int32_t _T_IsAlphabet(const char *text, uint32_t charset);

/* 1 when `text` is non-empty and every character is a decimal digit, in half
 * width (0-9) or full width; else 0. */
VSGLEX_API int32_t _T_IsDigital(const char *text, uint32_t charset);

/* Counts the first `length` bytes of `text` (-1: up to the NUL). `mode` 2
 * counts characters, a multi-byte character once; any other mode counts
 * bytes. A character cut by the end of the text counts once. */
VSGLEX_API int32_t _T_NumerateStr(const char *text, int32_t length, int32_t mode, uint32_t charset);

VSGLEX_EXTERN_C_END

#endif /* VSGLEX_STRSVC_H */
