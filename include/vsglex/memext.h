/* Memory service: the C allocator with error recording, and memory pools
 * from which a caller takes many small blocks and frees them all at once. */
#ifndef VSGLEX_MEMEXT_H
#define VSGLEX_MEMEXT_H

#include <stddef.h>
#include <stdint.h>

#include "vsglex/export.h"

VSGLEX_EXTERN_C_BEGIN

/* A chunk of a pool: header of 16 bytes, then the data. */
typedef struct T_MemChunk {
    struct T_MemChunk *next; /* next chunk of the same list */
    uint32_t capacity;       /* bytes of the chunk including this header */
    uint32_t used;           /* offset of the first free byte (16 when empty) */
} T_MemChunk;

/* Pool header (64 bytes), kept at the start of the pool's own block and
 * followed by the built-in first chunk. Read-only for callers. */
typedef struct T_MemPool {
    uint32_t itemSize;        /* fixed item size, 0 when blocks may have any size */
    uint32_t chunkSize;       /* bytes of every chunk (page multiple) */
    uint32_t growth;          /* bytes obtained from the system by the last allotment */
    uint32_t threshold;       /* requests of this size or more get their own block */
    void *largeBlocks;        /* blocks of their own, each after an 8-byte link */
    T_MemChunk *firstChunk;   /* the built-in chunk after this header */
    T_MemChunk *chunks;       /* chunks in use, the current one first */
    T_MemChunk *spareChunks;  /* emptied chunks kept for reuse */
    void *freeItems;          /* freed fixed-size items */
    uint32_t tracing;         /* 1 when built with a trace name */
    uint32_t reserved;
} T_MemPool;

/* Allocates `size` bytes (zero-filled when `zero` is non-zero). Size 0
 * records error 17496 and gives null; a failed allocation records 17010. */
VSGLEX_API void *_T_MemAlloc(size_t size, int32_t zero);
/* Releases a block of _T_MemAlloc; null is ignored. */
VSGLEX_API void _T_MemFree(void *block);

/* Builds a pool whose chunks hold `itemSize` x `count` bytes (plus the chunk
 * header, rounded up to the page size). `itemSize` of 8 or more makes every
 * block of the pool that size; `threshold` (64 or more) is the size from which
 * requests get a block of their own. `*userArea` (if not null) receives the
 * start of the first chunk's data. `traceName`/`traceLine` name the builder.
 * Returns null after recording error 17496 when the product is 0 or overflows. */
VSGLEX_API T_MemPool *_T_MemPoolBuild(uint32_t itemSize, uint32_t count, uint32_t threshold,
                                      void **userArea, const char *traceName, int32_t traceLine);
/* Takes a block of `size` bytes from the pool (zero-filled when `zero` is
 * non-zero). Low three bits of `alignment`: 0 aligns to 8 bytes, 2 or 6 to 2,
 * 4 to 4, odd values not at all. Returns null after recording an error. */
VSGLEX_API void *_T_MemPoolAllot(T_MemPool *pool, uint32_t size, int32_t zero, uint32_t alignment);
/* Gives a block of a fixed-item pool back for reuse by the next allotment;
 * ignored for other pools (their blocks are freed by reset and close). */
VSGLEX_API void _T_MemPoolFree(T_MemPool *pool, void *block);
/* Frees every block of the pool at once. With `keepChunks` non-zero the
 * chunks are kept as spares for later allotments, else all but the built-in
 * chunk are freed. */
VSGLEX_API void _T_MemPoolReset(T_MemPool *pool, int32_t keepChunks);
/* Resets the pool without keeping chunks and frees it. */
VSGLEX_API void _T_MemPoolClose(T_MemPool *pool);

VSGLEX_EXTERN_C_END

#endif /* VSGLEX_MEMEXT_H */
