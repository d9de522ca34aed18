/* Language model data: the core dictionary, affix dictionaries, context
 * statistics, tag maps, and the hashing and byte-order helpers of their
 * binary file forms.
 *
 * Loaders return 1 on success and a negative value on failure; a record that
 * failed to load still owns what it allocated and is released by its _Free.
 * Records must be zero-filled before their first load; a loader releases
 * what the record still owns from an earlier (possibly failed) load before
 * it loads. Binary files are checked as they are read: counts are bounded by
 * the file's size, short reads and out-of-range bucket runs fail the load.
 * After loading every model is read-only and its lookups may run on any
 * number of threads. */
#ifndef VSGLEX_MODEL_H
#define VSGLEX_MODEL_H

#include <stdint.h>

#include "vsglex/export.h"
#include "vsglex/types.h"

VSGLEX_EXTERN_C_BEGIN

/* ---- Hashing and byte-order helpers ---------------------------------- */

/* Bucket of a NUL-terminated text below m (h = (c + h*64) mod m per byte,
 * bytes sign-extended). The empty text gives 0. */
VSGLEX_API uint32_t VSGHash(const char *text, uint32_t m);
/* Bucket of a text below m (h = h*31 + c per byte, mod m once at the end). */
VSGLEX_API uint32_t VSGHash1(const char *text, uint32_t m);

/* Stream helpers: integers little-endian, floats big-endian. Each returns
 * the number of bytes written to or read from `buffer`. */
VSGLEX_API int32_t VSGNetStreamUINT16(uint16_t value, unsigned char *buffer);
VSGLEX_API int32_t VSGNetDestreamUINT16(const unsigned char *buffer, uint16_t *value);
VSGLEX_API int32_t VSGNetStreamUINT32(uint32_t value, unsigned char *buffer);
VSGLEX_API int32_t VSGNetDestreamUINT32(const unsigned char *buffer, uint32_t *value);
VSGLEX_API int32_t VSGNetStreamUINT64(uint64_t value, unsigned char *buffer);
VSGLEX_API int32_t VSGNetDestreamUINT64(const unsigned char *buffer, uint64_t *value);
VSGLEX_API int32_t VSGNetStreamFLOAT(unsigned char *buffer, float value);
VSGLEX_API int32_t VSGNetDestreamFLOAT(const unsigned char *buffer, float *value);
VSGLEX_API int32_t VSGNetStreamDOUBLE(unsigned char *buffer, double value);
VSGLEX_API int32_t VSGNetDestreamDOUBLE(const unsigned char *buffer, double *value);

/* ---- Core dictionary ------------------------------------------------- */

/* Number of hash buckets of the core dictionary. */
#define DICTS_BUCKETS 150000

/* A run of entries sharing one hash: first position (-1 if empty), length. */
typedef struct DictBucket {
    int32_t first;
    int32_t count;
} DictBucket;

/* One word of the core dictionary with its candidate rows. */
typedef struct DictSEntry {
    char *word;
    int32_t length;
    int32_t posCount;
    float stats[4];
    DictSRow *posList;  /* posCount rows (room for posCount + 1) */
    int32_t hash;       /* VSGHash(word, DICTS_BUCKETS) */
    int32_t flag;
} DictSEntry;

/* The core dictionary: entries sorted by hash, plus class-word positions. */
typedef struct DictionaryS {
    DictBucket *buckets;  /* DICTS_BUCKETS buckets */
    DictSEntry *entries;
    int32_t count;
    int32_t personIndex;  /* position of the person class word */
    int32_t placeIndex;   /* position of the place class word */
    int32_t orgIndex;     /* position of the organisation class word */
} DictionaryS;

/* Position of the "other" class word in the core dictionary. Set only by
 * the text loader; 4468 until then. */
VSGLEX_API extern int32_t gTaIndexNum;

/* Loads the text form; 1 or -1. */
VSGLEX_API int32_t DictionaryS_Load(const char *path, DictionaryS *dict);
/* Loads the binary form; 1 or -1. Does not touch gTaIndexNum. */
VSGLEX_API int32_t DictionaryS_LoadBinary(const char *path, DictionaryS *dict);
/* Writes the binary form of a loaded dictionary; 1 or -1. */
VSGLEX_API int32_t DictionaryS_SaveBinary(const char *path, const DictionaryS *dict);
/* Position of the entry whose word equals `word` byte for byte, or -1. */
VSGLEX_API int32_t DictionaryS_GetCoreInfo(const char *word, const DictionaryS *dict);
/* Releases everything the record owns; tolerates partial loads and null. */
VSGLEX_API void DictionaryS_Free(DictionaryS *dict);
/* Entry order for sorting: by hash ascending (-1, 0, 1). */
VSGLEX_API int CompareDictSPos(const void *a, const void *b);

/* ---- Affix dictionaries ---------------------------------------------- */

/* One key of an affix dictionary with its value. */
typedef struct DictEntry {
    char *word;
    int32_t length;
    double value;
    int32_t hash;  /* VSGHash1(word, count + 100) */
} DictEntry;

/* An affix dictionary: entries sorted by hash, count + 100 buckets. */
typedef struct Dictionary {
    DictBucket *buckets;
    DictEntry *entries;
    int32_t count;
} Dictionary;

/* Loads the text form ("key value" per line); 1 or -1. */
VSGLEX_API int32_t Dictionary_Load(const char *path, Dictionary *dict);
/* Loads the binary form; 1 or -1. */
VSGLEX_API int32_t Dictionary_LoadBinary(const char *path, Dictionary *dict);
/* Writes the binary form; 1 or -1. */
VSGLEX_API int32_t Dictionary_SaveBinary(const char *path, const Dictionary *dict);
/* Value of `word`, or -1.0 when absent. */
VSGLEX_API double Dictionary_GetValue(const char *word, const Dictionary *dict);
/* Transition cost between two texts over a pair table followed in memory by
 * its single table (pair[0] keyed "A@B", pair[1] keyed "A"); 11.0285 when
 * neither knows it. */
VSGLEX_API double GetTransitionProb0(const char *a, const char *b, const Dictionary *pair);
/* Same over two word records (class word when set, else text); -1.0 when a
 * record is null. */
VSGLEX_API double GetTransitionProb1(const SpanWord *x, const SpanWord *y, const Dictionary *pair);
/* Releases everything the record owns; tolerates partial loads and null. */
VSGLEX_API void Dictionary_Free(Dictionary *dict);
/* Entry order for sorting: by hash ascending (-1, 0, 1). */
VSGLEX_API int ComparePos(const void *a, const void *b);

/* ---- Context statistics ---------------------------------------------- */

/* Tag and tag-pair counts of one tag set and the costs derived from them. */
typedef struct ContextStat {
    uint8_t tagCount;
    int32_t **contextMatrix;  /* [i][j]: times tag j followed tag i */
    int32_t *tagFrequency;
    double *singleValue;      /* derived per-tag value */
    int32_t totalFrequency;
    double **possibility;     /* derived transition cost [prev][cur] */
} ContextStat;

/* Loads the raw form; 1 or -101. */
VSGLEX_API int32_t ContextStat_Load(const char *path, ContextStat *model);
/* Loads the versioned form; 1, -101 (cannot open) or -1. */
VSGLEX_API int32_t ContextStat_LoadBinary(const char *path, ContextStat *model);
/* Writes the raw form; 1 or -101. */
VSGLEX_API int32_t ContextStat_Save(const char *path, const ContextStat *model);
/* Writes the versioned form; 1, -101 or -1. */
VSGLEX_API int32_t ContextStat_SaveBinary(const char *path, const ContextStat *model);
/* tagFrequency[tag], 0 for tag >= tagCount (tag taken mod 256). */
VSGLEX_API int32_t ContextStat_GetFrequency(int32_t tag, const ContextStat *model);
/* singleValue[tag], 0.0 for tag >= tagCount (tag taken mod 256). */
VSGLEX_API double ContextStat_GetSingleValue(int32_t tag, const ContextStat *model);
/* Cost of `cur` following `prev` (tags mod 256); 13.8155, the cost of a pair
 * never seen, for a tag at or above tagCount. */
VSGLEX_API double ContextStat_GetPossibility(int32_t prev, int32_t cur, const ContextStat *model);
/* Releases all tables; tolerates null. */
VSGLEX_API void ContextStat_Free(ContextStat *model);

/* ---- Tag maps -------------------------------------------------------- */

/* Tag texts of one tag set; the number of a tag is its line. */
typedef struct POSmap {
    char **tags;
    int32_t count;
} POSmap;

/* Loads a map file; 1 or -1. */
VSGLEX_API int32_t POSmap_Load(const char *path, POSmap *map);
/* Copies the text of tag `id` (mod 256) into `out`; 1, or -1 with `out`
 * emptied. */
VSGLEX_API int32_t POSmap_GetPOS(int32_t id, char *out, const POSmap *map);
/* Number of `tag` (binary search over the table taken as sorted with ASCII
 * case folding; the comparison yields exactly -1, 0 or 1), or -1. */
VSGLEX_API int32_t POSmap_GetID(const char *tag, const POSmap *map);
/* Number of tags. */
VSGLEX_API int32_t POSmap_GetItemCount(const POSmap *map);
/* Releases the strings and the table (the count is kept, the table pointer
 * cleared); tolerates null and repeated calls. */
VSGLEX_API void POSmap_Free(POSmap *map);

VSGLEX_EXTERN_C_END

#endif /* VSGLEX_MODEL_H */
