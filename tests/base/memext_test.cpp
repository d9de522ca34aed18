// Memory service and pools: allotment from chunks with alignment codes,
// growth count, the large-block threshold, fixed-size items, chunk reuse
// after reset, and argument errors.
#include <stdint.h>

#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "vsglex/errcat.h"
#include "vsglex/memext.h"

namespace {

bool Inside(const void *p, const void *begin, size_t bytes) {
    auto a = reinterpret_cast<uintptr_t>(p), b = reinterpret_cast<uintptr_t>(begin);
    return a >= b && a < b + bytes;
}

std::string PromptTail() {
    std::string p = _T_GetLastErrorPrompt(nullptr, 0);
    const size_t brace = p.find('}');
    return brace == std::string::npos ? p : p.substr(brace + 1);
}

TEST(MemAlloc, ZeroSizeFailsAndZeroFillWorks) {
    _T_ClearError();
    EXPECT_EQ(_T_MemAlloc(0, 0), nullptr);
    EXPECT_EQ(_T_GetLastError(), T_ERR_BAD_ARGUMENT);
    EXPECT_EQ(PromptTail(), "#1");
    auto *p = static_cast<unsigned char *>(_T_MemAlloc(64, 1));
    ASSERT_NE(p, nullptr);
    for (int i = 0; i < 64; i++) ASSERT_EQ(p[i], 0);
    _T_MemFree(p);
    _T_MemFree(nullptr);
}

TEST(MemPool, CarvesAlignedBlocksFromOneChunkThenGrows) {
    void *user = nullptr;
    T_MemPool *pool = _T_MemPoolBuild(40, 100, 0, &user, "test", 1);
    ASSERT_NE(pool, nullptr);
    EXPECT_EQ(pool->chunkSize, 4096u);
    EXPECT_EQ(pool->threshold, 0xFFFFFFFFu);
    EXPECT_EQ(pool->tracing, 1u);
    const char *chunk = reinterpret_cast<const char *>(pool->firstChunk);
    EXPECT_EQ(user, chunk + 16);
    std::set<void *> seen;
    for (int i = 0; i < 100; i++) {
        void *p = _T_MemPoolAllot(pool, 40, 0, 0);
        ASSERT_NE(p, nullptr);
        EXPECT_TRUE(Inside(p, chunk, 4096));
        EXPECT_EQ(reinterpret_cast<uintptr_t>(p) % 8, 0u);
        EXPECT_EQ(pool->growth, 0u);
        memset(p, i, 40);
        seen.insert(p);
    }
    EXPECT_EQ(seen.size(), 100u);
    // 4016 of 4096 bytes used: two more items fit, the third needs a chunk.
    EXPECT_TRUE(Inside(_T_MemPoolAllot(pool, 40, 0, 0), chunk, 4096));
    EXPECT_TRUE(Inside(_T_MemPoolAllot(pool, 40, 0, 0), chunk, 4096));
    void *next = _T_MemPoolAllot(pool, 40, 1, 0);
    ASSERT_NE(next, nullptr);
    EXPECT_FALSE(Inside(next, chunk, 4096));
    EXPECT_EQ(pool->growth, 4096u);
    EXPECT_EQ(reinterpret_cast<const char *>(pool->chunks) + 16, next);
    _T_MemPoolClose(pool);
}

TEST(MemPool, AlignmentCodesAndOversizedRequests) {
    T_MemPool *pool = _T_MemPoolBuild(4, 1000, 0, nullptr, nullptr, 0);
    ASSERT_NE(pool, nullptr);
    ASSERT_EQ(pool->itemSize, 0u);
    ASSERT_NE(_T_MemPoolAllot(pool, 100, 0, 0), nullptr);  // used offset now 116

    auto offset = [&](void *p) { return static_cast<char *>(p) - reinterpret_cast<char *>(pool->chunks); };
    EXPECT_EQ(offset(_T_MemPoolAllot(pool, 1, 0, 1)), 116);  // odd: no alignment
    EXPECT_EQ(offset(_T_MemPoolAllot(pool, 1, 0, 3)), 117);
    EXPECT_EQ(offset(_T_MemPoolAllot(pool, 1, 0, 2)), 118);  // 2-byte
    EXPECT_EQ(offset(_T_MemPoolAllot(pool, 1, 0, 6)), 120);
    EXPECT_EQ(offset(_T_MemPoolAllot(pool, 1, 0, 4)), 124);  // 4-byte
    EXPECT_EQ(offset(_T_MemPoolAllot(pool, 1, 0, 8)), 128);  // low bits 0: 8-byte
    EXPECT_EQ(offset(_T_MemPoolAllot(pool, 1, 0, 0)), 136);
    EXPECT_EQ(offset(_T_MemPoolAllot(pool, 1, 0, 12)), 140);  // low bits 4

    // Larger than a chunk can hold: a block of its own.
    void *big = _T_MemPoolAllot(pool, 5000, 1, 0);
    ASSERT_NE(big, nullptr);
    EXPECT_EQ(pool->growth, 5008u);
    EXPECT_EQ(static_cast<char *>(pool->largeBlocks) + 8, big);
    _T_MemPoolClose(pool);
}

TEST(MemPool, ThresholdResetAndChunkReuse) {
    T_MemPool *pool = _T_MemPoolBuild(100, 40, 256, nullptr, nullptr, 0);
    ASSERT_NE(pool, nullptr);
    EXPECT_EQ(pool->itemSize, 100u) << "fixed items of 100 bytes";
    EXPECT_EQ(pool->tracing, 0u);
    _T_MemPoolReset(pool, 0);
    _T_MemPoolClose(pool);

    pool = _T_MemPoolBuild(1, 4000, 256, nullptr, nullptr, 0);
    ASSERT_NE(pool, nullptr);
    EXPECT_EQ(pool->itemSize, 0u) << "sizes below 8 are not fixed";
    void *large = _T_MemPoolAllot(pool, 256, 0, 0);
    EXPECT_EQ(pool->growth, 264u) << "at the threshold a request gets its own block";
    EXPECT_FALSE(Inside(large, pool->firstChunk, pool->chunkSize));
    _T_MemPoolAllot(pool, 255, 0, 0);
    EXPECT_EQ(pool->growth, 0u);

    // Fill three chunks, remember them, reset keeping them.
    std::vector<T_MemChunk *> chunks;
    for (int i = 0; i < 50; i++) {
        _T_MemPoolAllot(pool, 250, 0, 0);
        if (pool->growth) chunks.push_back(pool->chunks);
    }
    ASSERT_GE(chunks.size(), 2u);
    _T_MemPoolReset(pool, 1);
    EXPECT_EQ(pool->largeBlocks, nullptr);
    EXPECT_EQ(pool->chunks, pool->firstChunk);
    EXPECT_EQ(pool->firstChunk->used, 16u);
    std::set<T_MemChunk *> reused;
    for (int i = 0; i < 50; i++) {
        _T_MemPoolAllot(pool, 250, 1, 0);
        EXPECT_EQ(pool->growth, 0u) << "spare chunks serve before new ones";
        reused.insert(pool->chunks);
    }
    for (T_MemChunk *c : chunks) EXPECT_EQ(reused.count(c), 1u);

    _T_MemPoolReset(pool, 0);
    EXPECT_EQ(pool->spareChunks, nullptr);
    int grown = 0;
    for (int i = 0; i < 50; i++) {
        _T_MemPoolAllot(pool, 250, 0, 0);
        if (pool->growth) grown++;
    }
    EXPECT_EQ(grown, static_cast<int>(chunks.size())) << "chunks are allocated anew";
    _T_MemPoolClose(pool);
}

TEST(MemPool, FixedItemsAreReused) {
    T_MemPool *pool = _T_MemPoolBuild(24, 10, 0, nullptr, nullptr, 0);
    ASSERT_NE(pool, nullptr);
    auto *a = static_cast<unsigned char *>(_T_MemPoolAllot(pool, 24, 0, 1));
    void *b = _T_MemPoolAllot(pool, 24, 0, 1);
    ASSERT_NE(a, nullptr);
    ASSERT_NE(b, nullptr);
    _T_ClearError();
    EXPECT_EQ(_T_MemPoolAllot(pool, 16, 0, 0), nullptr);
    EXPECT_EQ(_T_GetLastError(), T_ERR_BAD_ARGUMENT);
    EXPECT_EQ(PromptTail(), "#14");
    memset(a, 0xAB, 24);
    _T_MemPoolFree(pool, a);
    _T_MemPoolFree(pool, b);
    EXPECT_EQ(_T_MemPoolAllot(pool, 24, 0, 0), b);
    EXPECT_EQ(_T_MemPoolAllot(pool, 24, 1, 0), a);
    for (int i = 0; i < 24; i++) ASSERT_EQ(a[i], 0) << "reused item zero-filled on request";
    _T_MemPoolClose(pool);
}

TEST(MemPool, ArgumentErrors) {
    _T_ClearError();
    EXPECT_EQ(_T_MemPoolBuild(0, 10, 0, nullptr, nullptr, 0), nullptr);
    EXPECT_EQ(PromptTail(), "#11");
    _T_ClearError();
    EXPECT_EQ(_T_MemPoolBuild(0x10000, 0x10000, 0, nullptr, nullptr, 0), nullptr);
    EXPECT_EQ(_T_GetLastError(), T_ERR_BAD_ARGUMENT);
    EXPECT_EQ(_T_MemPoolAllot(nullptr, 8, 0, 0), nullptr);
    EXPECT_EQ(PromptTail(), "#12");
    T_MemPool *pool = _T_MemPoolBuild(8, 8, 0, nullptr, nullptr, 0);
    ASSERT_NE(pool, nullptr);
    EXPECT_EQ(_T_MemPoolAllot(pool, 0, 0, 0), nullptr);
    _T_MemPoolClose(pool);
    _T_MemPoolClose(nullptr);
    _T_MemPoolReset(nullptr, 1);
    _T_ClearError();
}

}  // namespace
