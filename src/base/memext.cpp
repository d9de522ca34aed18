// Memory service: the C allocator with error recording, and memory pools.
//
// A pool is one block: the 64-byte T_MemPool header followed by the built-in
// first chunk. Blocks are carved from the current chunk; when it is full a
// spare chunk (kept by a reset) or a newly allocated one becomes current.
// Requests at or above the pool's threshold, and those no chunk can hold, get
// a block of their own behind an 8-byte link. Nothing is freed singly except
// fixed-size items, which go to a free list for reuse.
#include "vsglex/memext.h"

#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "vsglex/errcat.h"

namespace {

constexpr uint32_t kChunkHeader = sizeof(T_MemChunk);
constexpr uint32_t kNoThreshold = 0xFFFFFFFFu;
constexpr uint32_t kMinItem = 8;       // a free item holds the list link
constexpr uint32_t kMinThreshold = 64;
static_assert(sizeof(T_MemChunk) == 16, "chunk header layout");
static_assert(sizeof(T_MemPool) == 64, "pool header layout");

uint64_t PageSize() {
    const long page = sysconf(_SC_PAGESIZE);
    return page > 0 ? static_cast<uint64_t>(page) : 4096;
}

// Alignment in bytes of the low three bits of an alignment code.
uint32_t AlignmentOf(uint32_t code) {
    const uint32_t bits = code & 7u;
    if (bits & 1u) return 1;
    if (bits == 0) return 8;
    return bits == 4 ? 4 : 2;
}

void *Carve(T_MemChunk *chunk, uint32_t offset, uint32_t size, int32_t zero) {
    char *p = reinterpret_cast<char *>(chunk) + offset;
    chunk->used = offset + size;
    if (zero) memset(p, 0, size);
    return p;
}

void FreeChunks(T_MemChunk *chunk, const T_MemChunk *keep) {
    while (chunk) {
        T_MemChunk *next = chunk->next;
        if (chunk != keep) _T_MemFree(chunk);
        chunk = next;
    }
}

}  // namespace

extern "C" {

void *_T_MemAlloc(size_t size, int32_t zero) {
    if (size == 0) {
        _T_SetLastMarkError(T_ERR_BAD_ARGUMENT, 1, __FILE__, __LINE__);
        return nullptr;
    }
    void *block = zero ? calloc(1, size) : malloc(size);
    if (!block) _T_SetLastError(T_ERR_NO_MEMORY, "out of memory", __FILE__, __LINE__);
    return block;
}

void _T_MemFree(void *block) { free(block); }

T_MemPool *_T_MemPoolBuild(uint32_t itemSize, uint32_t count, uint32_t threshold, void **userArea,
                           const char *traceName, int32_t traceLine) {
    (void)traceLine;  // allocation tracing is not kept
    const uint64_t product = static_cast<uint64_t>(itemSize) * count;
    const uint64_t page = PageSize();
    const uint64_t chunkSize = (product + kChunkHeader + page - 1) / page * page;
    if (product == 0 || product > UINT32_MAX || chunkSize > UINT32_MAX) {
        _T_SetLastMarkError(T_ERR_BAD_ARGUMENT, 11, __FILE__, __LINE__);
        return nullptr;
    }
    auto *pool = static_cast<T_MemPool *>(_T_MemAlloc(sizeof(T_MemPool) + chunkSize, 0));
    if (!pool) return nullptr;
    memset(static_cast<void *>(pool), 0, sizeof *pool);
    pool->itemSize = itemSize < kMinItem ? 0 : itemSize;
    pool->chunkSize = static_cast<uint32_t>(chunkSize);
    pool->threshold = threshold < kMinThreshold ? kNoThreshold : threshold;
    T_MemChunk *first = reinterpret_cast<T_MemChunk *>(pool + 1);
    first->next = nullptr;
    first->capacity = pool->chunkSize;
    first->used = kChunkHeader;
    pool->firstChunk = first;
    pool->chunks = first;
    pool->tracing = traceName ? 1 : 0;
    if (userArea) *userArea = reinterpret_cast<char *>(first) + kChunkHeader;
    return pool;
}

void *_T_MemPoolAllot(T_MemPool *pool, uint32_t size, int32_t zero, uint32_t alignment) {
    if (pool) pool->growth = 0;
    if (!pool || size == 0) {
        _T_SetLastMarkError(T_ERR_BAD_ARGUMENT, 12, __FILE__, __LINE__);
        return nullptr;
    }
    if (pool->itemSize) {
        if (size != pool->itemSize) {
            _T_SetLastMarkError(T_ERR_BAD_ARGUMENT, 14, __FILE__, __LINE__);
            return nullptr;
        }
        if (void *item = pool->freeItems) {
            memcpy(&pool->freeItems, item, sizeof(void *));
            if (zero) memset(item, 0, size);
            return item;
        }
    }
    if (size < pool->threshold) {
        // The current chunk, at the requested alignment.
        T_MemChunk *current = pool->chunks;
        if (size <= pool->chunkSize - kChunkHeader && size <= current->capacity - current->used) {
            const uint32_t align = AlignmentOf(alignment);
            const uint64_t offset = (static_cast<uint64_t>(current->used) + align - 1) / align * align;
            if (offset + size <= current->capacity)
                return Carve(current, static_cast<uint32_t>(offset), size, zero);
        }
        // A spare chunk, else a new one; either starts empty and aligned.
        const uint64_t needed = static_cast<uint64_t>(size) + kChunkHeader;
        T_MemChunk *chunk = nullptr;
        if (pool->spareChunks && pool->spareChunks->capacity >= needed) {
            chunk = pool->spareChunks;
            pool->spareChunks = chunk->next;
        } else if (pool->chunkSize >= needed) {
            chunk = static_cast<T_MemChunk *>(_T_MemAlloc(pool->chunkSize, 0));
            if (!chunk) return nullptr;
            chunk->capacity = pool->chunkSize;
            pool->growth = pool->chunkSize;
        }
        if (chunk) {
            chunk->next = pool->chunks;
            pool->chunks = chunk;
            return Carve(chunk, kChunkHeader, size, zero);
        }
    }
    // A block of its own, linked for the next reset.
    const size_t total = static_cast<size_t>(size) + sizeof(void *);
    char *block = static_cast<char *>(_T_MemAlloc(total, zero));
    if (!block) return nullptr;
    memcpy(block, &pool->largeBlocks, sizeof(void *));
    pool->largeBlocks = block;
    pool->growth = total > UINT32_MAX ? UINT32_MAX : static_cast<uint32_t>(total);
    return block + sizeof(void *);
}

void _T_MemPoolFree(T_MemPool *pool, void *block) {
    if (!pool || !block || !pool->itemSize) return;
    memcpy(block, &pool->freeItems, sizeof(void *));
    pool->freeItems = block;
}

void _T_MemPoolReset(T_MemPool *pool, int32_t keepChunks) {
    if (!pool) return;
    char *large = static_cast<char *>(pool->largeBlocks);
    while (large) {
        char *next;
        memcpy(&next, large, sizeof next);
        _T_MemFree(large);
        large = next;
    }
    pool->largeBlocks = nullptr;
    T_MemChunk *first = pool->firstChunk;
    if (keepChunks) {
        for (T_MemChunk *chunk = pool->chunks; chunk;) {
            T_MemChunk *next = chunk->next;
            if (chunk != first) {
                chunk->used = kChunkHeader;
                chunk->next = pool->spareChunks;
                pool->spareChunks = chunk;
            }
            chunk = next;
        }
    } else {
        FreeChunks(pool->chunks, first);
        FreeChunks(pool->spareChunks, first);
        pool->spareChunks = nullptr;
    }
    first->next = nullptr;
    first->used = kChunkHeader;
    pool->chunks = first;
    pool->freeItems = nullptr;
}

void _T_MemPoolClose(T_MemPool *pool) {
    if (!pool) return;
    _T_MemPoolReset(pool, 0);
    _T_MemFree(pool);
}

}  // extern "C"
