// Memory for the large tables that are read at random on every call (hash
// slots, weights, dictionary entries). Each table of 1 MB or more gets a
// mapping of its own, aligned to 2 MB and rounded up to a multiple of it,
// and asks the system for 2 MB pages there before the first write: one
// translation entry then covers what took 512, and a look-up at random in
// a table of several megabytes no longer waits on a page walk first.
// Smaller tables, and systems without the request, use the ordinary heap.
#pragma once

#include <cstddef>
#include <cstdint>
#include <new>
#include <vector>

#if defined(__linux__)
#include <sys/mman.h>
#endif

namespace vsg {

inline constexpr size_t kHugePageBytes = size_t{1} << 21;
// Tables from this size on get a mapping of their own.
inline constexpr size_t kHugeTableFrom = size_t{1} << 20;

// The bytes a table of `bytes` takes: whole 2 MB pages from kHugeTableFrom on.
inline size_t HugeTableBytes(size_t bytes) {
    if (bytes < kHugeTableFrom) return bytes;
    return (bytes + kHugePageBytes - 1) & ~(kHugePageBytes - 1);
}

// `bytes` of memory aligned to `align` (a power of two, at most 2 MB), not
// cleared; nullptr when there is none. Free with HugeTableFree and the same
// size and alignment.
inline void *HugeTableAllocate(size_t bytes, size_t align = alignof(std::max_align_t)) noexcept {
#if defined(__linux__) && defined(MADV_HUGEPAGE)
    if (bytes >= kHugeTableFrom && bytes <= SIZE_MAX / 2) {
        const size_t size = HugeTableBytes(bytes);
        // Map one page more than needed, then give back the unaligned head
        // and the tail, leaving an aligned mapping of exactly `size` bytes.
        void *raw = mmap(nullptr, size + kHugePageBytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (raw == MAP_FAILED) return nullptr;
        const uintptr_t start = reinterpret_cast<uintptr_t>(raw);
        const uintptr_t aligned = (start + kHugePageBytes - 1) & ~uintptr_t{kHugePageBytes - 1};
        if (aligned > start) munmap(raw, aligned - start);
        const size_t tail = (start + size + kHugePageBytes) - (aligned + size);
        if (tail > 0) munmap(reinterpret_cast<void *>(aligned + size), tail);
        void *table = reinterpret_cast<void *>(aligned);
        madvise(table, size, MADV_HUGEPAGE);  // a request: ordinary pages if refused
        return table;
    }
#endif
    if (align > __STDCPP_DEFAULT_NEW_ALIGNMENT__)
        return ::operator new(bytes == 0 ? 1 : bytes, std::align_val_t(align), std::nothrow);
    return ::operator new(bytes == 0 ? 1 : bytes, std::nothrow);
}

inline void HugeTableFree(void *table, size_t bytes, size_t align = alignof(std::max_align_t)) noexcept {
    if (table == nullptr) return;
#if defined(__linux__) && defined(MADV_HUGEPAGE)
    if (bytes >= kHugeTableFrom && bytes <= SIZE_MAX / 2) {
        munmap(table, HugeTableBytes(bytes));
        return;
    }
#endif
    if (align > __STDCPP_DEFAULT_NEW_ALIGNMENT__) {
        ::operator delete(table, std::align_val_t(align));
        return;
    }
    ::operator delete(table);
}

// Asks for 2 MB pages under the whole 2 MB pages of [begin, end), memory
// already written (many small records allocated one after another, such as
// a dictionary's words and rows): the system copies them into large pages
// now where it can. Contents and addresses do not change; a refusal
// changes nothing.
inline void BackWithHugePages(const void *begin, const void *end) noexcept {
#if defined(__linux__) && defined(MADV_HUGEPAGE)
    const uintptr_t from = (reinterpret_cast<uintptr_t>(begin) + kHugePageBytes - 1) & ~uintptr_t{kHugePageBytes - 1};
    const uintptr_t to = reinterpret_cast<uintptr_t>(end) & ~uintptr_t{kHugePageBytes - 1};
    if (to <= from) return;
    void *start = reinterpret_cast<void *>(from);
    madvise(start, to - from, MADV_HUGEPAGE);
    // Collapse now (Linux 6.1 on; older systems refuse the request). The C
    // library's headers may predate the constant.
#if defined(MADV_COLLAPSE)
    madvise(start, to - from, MADV_COLLAPSE);
#else
    madvise(start, to - from, 25);
#endif
#else
    (void)begin;
    (void)end;
#endif
}

// An allocator over HugeTableAllocate, for the vectors that hold such tables.
template <class T>
struct HugeTableAllocator {
    using value_type = T;
    HugeTableAllocator() noexcept = default;
    template <class U>
    HugeTableAllocator(const HugeTableAllocator<U> &) noexcept {}
    T *allocate(size_t n) {
        if (n > SIZE_MAX / sizeof(T)) throw std::bad_alloc();
        void *p = HugeTableAllocate(n * sizeof(T), alignof(T));
        if (p == nullptr) throw std::bad_alloc();
        return static_cast<T *>(p);
    }
    void deallocate(T *p, size_t n) noexcept { HugeTableFree(p, n * sizeof(T), alignof(T)); }
    template <class U>
    bool operator==(const HugeTableAllocator<U> &) const noexcept { return true; }
    template <class U>
    bool operator!=(const HugeTableAllocator<U> &) const noexcept { return false; }
};

template <class T>
using HugeTable = std::vector<T, HugeTableAllocator<T>>;

}  // namespace vsg
