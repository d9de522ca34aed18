/* Text utilities for GB2312/GBK text: character classes, number, time and
 * foreign-word tests, sentence splitting, word-record helpers, files and
 * environment.
 *
 * Text is NUL-terminated byte text; a byte of 0x80 or above opens a
 * two-byte character. Heap results are released with the matching free
 * routine (or Free for plain blocks). */
#ifndef VSGLEX_UTILITY_H
#define VSGLEX_UTILITY_H

#include <stdint.h>
#include <stdio.h>

#include "vsglex/export.h"
#include "vsglex/types.h"

VSGLEX_EXTERN_C_BEGIN

/* ---- Character classes and code tables -------------------------------- */

/* Character class codes returned by charType. */
enum {
    CT_OTHER = 5,             /* double-byte character outside the classes below */
    CT_SINGLE = 6,            /* single byte: not an ASCII digit or delimiter */
    CT_DELIMITER = 7,         /* double-byte delimiter (row 1, row 3 punctuation) */
    CT_CHINESE = 8,           /* Chinese character, lead byte B0-F7 */
    CT_LETTER = 9,            /* full-width Latin letter */
    CT_NUM = 10,              /* full-width digit */
    CT_INDEX = 11,            /* index character, lead byte A2 */
    CT_SINGLE_DELIMITER = 12, /* one of the 18 ASCII delimiters (or the empty string) */
    CT_SINGLE_NUM = 13        /* ASCII digit */
};

/* Returns the class code (CT_...) of the character at `s`. */
VSGLEX_API int32_t charType(const char *s);
/* Copies the first character of `src` (1 or 2 bytes) and a NUL into `out`
 * (3 bytes); returns its length. */
VSGLEX_API int32_t Getchar(const char *src, char *out);
/* Returns the first occurrence of `needle` in `list` if it starts at an even
 * byte offset, else NULL (a later even occurrence is not looked for). */
VSGLEX_API char *CC_Find(const char *list, const char *needle);
/* Counts the characters of `text` that are members of `list`. */
VSGLEX_API uint32_t GetCharCount(const char *list, const char *text);
/* 1 if every character of `text` has lead byte A1 or A3 (empty: 1). */
VSGLEX_API int32_t IsAllDelimiter(const char *text);
/* 1 if every character of `text` is a full-width Latin letter (empty: 1). */
VSGLEX_API int32_t IsAllLetter(const char *text);
/* 1 if `text` is a run of index characters followed by a run of ASCII
 * letters (either may be absent; empty: 1). */
VSGLEX_API int32_t IsAllIndex(const char *text);
/* 1 if no byte of `text` is 0x80 or above. */
VSGLEX_API int32_t IsAllSingleByte(const char *text);
/* 1 if `text` holds no Chinese character. */
VSGLEX_API int32_t IsAllNonChinese(const char *text);
/* 1 if every character of `text` is a Chinese character (empty: 1). */
VSGLEX_API int32_t IsAllChinese(const char *text);
/* Byte length of the leading run of Chinese characters of `text`. */
VSGLEX_API int32_t GetCCPrefix(const char *text);
/* Index of `value` in the ascending `array` of `count` values, or -1. */
VSGLEX_API int32_t BinarySearch_0(int32_t value, const int32_t *array, int32_t count);
/* Index of `key` in the case-insensitively ascending `array` of `count`
 * strings (compared ignoring ASCII case), or -1. */
VSGLEX_API int32_t BinarySearch_1(const char *key, char *const *array, int32_t count);
/* Writes the table of Chinese-character codes (rows 16-94) to `path`;
 * 1 on success, 0 if the file cannot be opened. */
VSGLEX_API int32_t CC_Generate(const char *path);
/* Writes the table of all GB2312 double-byte codes to `path`; 1 on success,
 * 0 if the file cannot be opened. */
VSGLEX_API int32_t GB2312_Generate(const char *path);

/* ---- Number, time and foreign-word tests ------------------------------ */

/* 1 if `word` is a number expression (sign, digits, fraction, percent,
 * multipliers), else 0. */
VSGLEX_API int32_t IsAllNum(const char *word);
/* 1 if every character of `word` is a digit or Chinese numeral (empty: 1). */
VSGLEX_API int32_t IsSimpleNum(const char *word);
/* 1 if `word` is a Chinese number expression (empty: 1). */
VSGLEX_API int32_t IsAllChineseNum(const char *word);
/* 1 if `word` can be a year or calendar term, else 0. */
VSGLEX_API int32_t IsYearTime(const char *word);
/* Which transliteration set dominates `word`: 0 general, 1 second style,
 * 2 Japanese names. */
VSGLEX_API int32_t GetForeignType(const char *word);
/* Largest count of the characters of `word` found in one transliteration set. */
VSGLEX_API int32_t GetForeignCharCount(const char *word);
/* 1 if every character of `word` belongs to its best transliteration set. */
VSGLEX_API int32_t IsAllForeign(const char *word);
/* 1 if `word` is longer than 2 bytes or mostly transliteration characters. */
VSGLEX_API int32_t IsForeign(const char *word);
/* Splits a place word into `stem` and place `suffix` (each needs the word's
 * length plus 1 bytes); the suffix is empty when none matches. Returns 1. */
VSGLEX_API int32_t PostfixSplit(const char *word, char *stem, char *suffix);

/* ---- Word records ----------------------------------------------------- */

/* Number of records of a word array before the first with empty text
 * (at most VSG_SPAN_WORDS). */
VSGLEX_API uint32_t GetResultCount(const SpanWord *array);
/* Clears text, class text, weight, offset and state of the first `n`
 * records and sets their tag to -1. */
VSGLEX_API void InitPWORDRESULT(SpanWord *array, int32_t n);
/* Copies one record (texts as strings, other fields by value). */
VSGLEX_API void CopyWordResult0(SpanWord *dst, const SpanWord *src);
/* Copies the records of `src` that are not merged (state 250) to `dst` and
 * ends `dst` with an empty record; returns 1 if a record was left out.
 * Reads and writes at most VSG_SPAN_WORDS records. */
VSGLEX_API uint32_t CopyWordResultA(SpanWord *dst, const SpanWord *src);

/* ---- Sentences and text ----------------------------------------------- */

/* One sentence of a split text. */
typedef struct SentenceEntry {
    char *text;         /* heap copy of the sentence, owned by the list */
    uint32_t offset;    /* byte offset of its first byte in the whole text */
    uint32_t sentence;  /* number within its paragraph, from 0 */
    uint32_t paragraph; /* number of its paragraph, from 0 */
} SentenceEntry;

/* Sentences of a text, as returned by TEXT_GetSens. A host may build one
 * itself (items and count, the rest zero) for TEXT_SaveSens and
 * TEXT_SaveSenResult: it must then leave room for every sentence appended. */
typedef struct SentenceList {
    SentenceEntry *items; /* heap array; its room is fixed when it is made */
    int32_t count;        /* entries in use */
} SentenceList;

/* One piece of a split string. */
typedef struct PartEntry {
    char *text;   /* heap copy of the piece, owned by the list */
    int32_t flag; /* always 0 */
} PartEntry;

/* Pieces of a string, as returned by GetPartResult. */
typedef struct PartList {
    PartEntry *items;
    int32_t count;
} PartList;

/* Splits `text` into paragraphs and sentences; NULL for NULL or empty text.
 * Free with TEXT_SensResultFree. */
VSGLEX_API SentenceList *TEXT_GetSens(const char *text);
/* Splits one paragraph into sentences and appends them to `list`, numbering
 * them from 0 and offsetting them by `offset`; -1 for NULL arguments, else 1. */
VSGLEX_API int32_t TEXT_SaveSens(const char *paragraph, uint32_t offset, uint32_t paragraphNo,
                                 SentenceList *list);
/* Appends a heap copy of `sentence` to `list`; -1 for NULL arguments, a
 * failed allocation or a full list made by TEXT_GetSens, else 1. */
VSGLEX_API int32_t TEXT_SaveSenResult(const char *sentence, uint32_t offset, uint32_t sentenceNo,
                                      uint32_t paragraphNo, SentenceList *list);
/* Number of sentence and clause marks in `text` (0 for NULL). */
VSGLEX_API uint32_t TEXT_GetSensNum(const char *text);
/* Frees a list of TEXT_GetSens with its sentences; NULL is ignored. */
VSGLEX_API void TEXT_SensResultFree(SentenceList *list);
/* Number of characters of `text`; -1 for NULL. */
VSGLEX_API int32_t TEXT_GetWordsNum(const char *text);
/* Byte offset at which character `n` (from 0) of `text` begins; -1 when
 * `text` is NULL or has fewer than `n` characters or `n` is negative. */
VSGLEX_API int32_t TEXT_PosConvert(const char *text, int32_t n);
/* Heap copy of the part of `text` before the first `needle`; NULL if either
 * is NULL or the needle does not occur. */
VSGLEX_API char *TEXT_GetHead(const char *text, const char *needle);
/* Reads a whole file into a NUL-terminated heap buffer and stores the bytes
 * read in `size`; NULL if it cannot be opened or allocated. */
VSGLEX_API char *TEXT_GetFile(const char *path, uint32_t *size);

/* ---- Strings ---------------------------------------------------------- */

/* First occurrence of `sub` in `text` that begins on a character boundary,
 * or NULL. */
VSGLEX_API char *mystrstr(const char *text, const char *sub);
/* Number of separators `sep` in `text` (the first found on a character
 * boundary, the rest byte-wise). */
VSGLEX_API uint32_t GetPartCount(const char *text, const char *sep);
/* Non-empty pieces of `text` between separators; NULL for NULL arguments.
 * Free with PartResult_Free. */
VSGLEX_API PartList *GetPartResult(const char *text, const char *sep);
/* Frees a list of GetPartResult with its pieces; NULL is ignored. */
VSGLEX_API void PartResult_Free(PartList *list);
/* Length in bytes of the common prefix of `a` and `b`. */
VSGLEX_API uint32_t MaxPrefix(const char *a, const char *b);
/* Removes every ASCII space from `text` in place. */
VSGLEX_API void Delect_kong(char *text);
/* Writes the character `ch` to `out` (3 bytes), as its full-width form when
 * it is one of the ASCII delimiters ".,;:?!%(){+}[]/="; returns 1 then,
 * else 0. */
VSGLEX_API int32_t Delimiter2DictFormat(const char *ch, char *out);
/* Copies `text` up to its first LF into `line`; returns the position after
 * the LF, or NULL when there is none (then the whole text is copied). */
VSGLEX_API char *sgets(const char *text, char *line);
/* Reads a word and a number from a whitespace-separated line (the number
 * is read from the start of the line); -1 for NULL line or word, else 1. */
VSGLEX_API int32_t my_sscanf(const char *line, char *word, int32_t *number);
/* Reads a one-byte field, a word and a number from a whitespace-separated
 * line (word and number are read from the start of the line); -1 for NULL
 * line or word, else 1. */
VSGLEX_API int32_t my_sscanfA(const char *line, char *ch, char *word, int32_t *number);
/* Copies the value of element `name` in `text` into `value`; 1 if found. */
VSGLEX_API int32_t GetXMLItemValue(const char *text, const char *name, char *value);

/* ---- Files and environment -------------------------------------------- */

/* Rewinds `stream`, counts its fgets reads of up to 999 bytes, rewinds again. */
VSGLEX_API uint32_t GetFileLinesCount(FILE *stream);
/* Writes "directory/name" into `out`, or `name` alone for an empty directory. */
VSGLEX_API void GetFullFileName(char *out, const char *directory, const char *name);
/* Splits the environment variable `name` at ':' into a NULL-terminated array
 * of heap strings and stores their number in `count`; NULL (count 0) when
 * unset, NULL (count unchanged) for a NULL or empty name. */
VSGLEX_API char **VSG_GetEnvVaule(const char *name, int32_t *count);
/* Releases a block returned by any routine above. */
VSGLEX_API void Free(void *p);

VSGLEX_EXTERN_C_END

#endif /* VSGLEX_UTILITY_H */
