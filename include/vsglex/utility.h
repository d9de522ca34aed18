/* Text utilities for GB2312/GBK text: character classes, number, time and
 * foreign-word tests, sentence splitting, word-record helpers, files and
 * environment. */
#ifndef VSGLEX_UTILITY_H
#define VSGLEX_UTILITY_H

#include <stdint.h>
#include <stdio.h>

#include "vsglex/export.h"
#include "vsglex/types.h"

VSGLEX_EXTERN_C_BEGIN

/* Rewinds `stream`, counts its fgets reads of up to 999 bytes, rewinds again. */
VSGLEX_API uint32_t GetFileLinesCount(FILE *stream);
/* Writes "directory/name" into `out`, or `name` alone for an empty directory. */
VSGLEX_API void GetFullFileName(char *out, const char *directory, const char *name);

VSGLEX_EXTERN_C_END

#endif /* VSGLEX_UTILITY_H */
