/* Word records exchanged with hosts and used by the taggers.
 *
 * The layouts below are part of the binary interface: hosts build arrays of
 * WordItem, and SpanWord arrays are handed to the exported word-graph and
 * result-copy helpers. Sizes and offsets are pinned by static assertions in
 * src/common/layout_check.cpp. */
#ifndef VSGLEX_TYPES_H
#define VSGLEX_TYPES_H

#include <stdint.h>

#include "vsglex/export.h"

VSGLEX_EXTERN_C_BEGIN

/* Maximum text of a host word, in bytes (the field holds a NUL as well). */
#define VSG_ITEM_TEXT_MAX 80

/* `tag` of a result item the engine did not tag: an item whose text is
 * empty or only white space. No tag map has this many lines. */
#define VSG_UNTAGGED 255

/* A host word. `tag` is output; `sentence` and `extra` form the sentence key;
 * `mark`, `kind`, `id` and `group` are carried from input to output. */
typedef struct WordItem {
    char text[VSG_ITEM_TEXT_MAX + 1]; /* GB2312/GBK, NUL-terminated */
    uint8_t mark;
    uint8_t tag;
    uint8_t kind;
    uint16_t sentence;
    uint16_t extra;
    uint32_t id;
    uint32_t group;
} WordItem;

/* A counted array of WordItem. */
typedef struct WordList {
    int32_t count;
    WordItem *items;
} WordList;

/* One candidate row of a core-dictionary entry: tag set `code` (0 part of
 * speech, 1 person, 2 place, 3 organisation), tag `subCode`, score `value`
 * (a log count). */
typedef struct DictSRow {
    uint16_t code;
    uint8_t subCode;
    float value;
    uint32_t flag;
} DictSRow;

/* Capacity of a word array, span or graph, in SpanWord records. */
#define VSG_SPAN_WORDS 200
/* `state` value of a word merged into a neighbour by a recogniser. */
#define VSG_STATE_MERGED 250

/* The working word record of word arrays, spans, recognisers and the word
 * graph. A word array is a run of SpanWords ended by one with empty `text`. */
typedef struct SpanWord {
    char text[128];
    char classText[16];   /* class word standing for the word, or empty */
    double weight;
    uint32_t frequency;
    int8_t tag;           /* -1 (255 as a byte) when not tagged */
    int16_t offset;       /* byte offset of the word in its sentence */
    int64_t state;        /* VSG_STATE_MERGED: absorbed by a neighbour */
    int32_t sentence;
    int32_t extra;
    int32_t id;
    int32_t posCount;     /* rows in posList */
    float stats[4];       /* per tag set statistics of the dictionary entry */
    const DictSRow *posList; /* borrowed from the core dictionary */
    int32_t source;       /* index of the originating WordItem, -1 for boundaries */
    int32_t reserved[2];
} SpanWord;

VSGLEX_EXTERN_C_END

#endif /* VSGLEX_TYPES_H */
