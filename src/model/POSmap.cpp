// Tag maps: the tag on the k-th line of a map file has number k. Lookups by
// number, and by text through a case-insensitive binary search.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "model/loaders.h"
#include "model/model_io.h"
#include "vsglex/model.h"
#include "vsglex/utility.h"

using vsg::model::File;
using vsg::model::OpenFile;

namespace {

// Lines are read in pieces of at most 99 bytes.
constexpr int kPieceBytes = 100;

// Case-insensitive comparison with the sign of the C library's strcasecmp
// (bytes lowered in the C locale, compared as unsigned), returning exactly
// -1, 0 or 1. The search below moves its upper bound only on 1, so the
// result must be normalised.
int CompareIgnoringCase(const char *a, const char *b) {
    for (;; ++a, ++b) {
        unsigned ca = static_cast<unsigned char>(*a);
        unsigned cb = static_cast<unsigned char>(*b);
        if (ca >= 'A' && ca <= 'Z') ca += 'a' - 'A';
        if (cb >= 'A' && cb <= 'Z') cb += 'a' - 'A';
        if (ca != cb) return ca < cb ? -1 : 1;
        if (ca == 0) return 0;
    }
}

// Stores a copy of `token` in the next slot, growing the table when the
// file has more pieces than the line counter saw (lines of 99 bytes or
// more are read as several pieces).
bool Store(POSmap *map, int32_t &capacity, const char *token) {
    if (map->count >= capacity) {
        const int64_t wanted = capacity < 16 ? 16 : static_cast<int64_t>(capacity) * 2;
        if (wanted > INT32_MAX) return false;
        const auto grown = static_cast<int32_t>(wanted);
        char **tags = static_cast<char **>(std::realloc(map->tags, sizeof(char *) * grown));
        if (tags == nullptr) return false;
        for (int32_t i = capacity; i < grown; ++i) tags[i] = nullptr;
        map->tags = tags;
        capacity = grown;
    }
    const size_t length = std::strlen(token);
    char *copy = static_cast<char *>(std::malloc(length + 1));
    if (copy == nullptr) return false;
    std::memcpy(copy, token, length + 1);
    map->tags[map->count++] = copy;
    return true;
}

}  // namespace

namespace vsg::model {

LoadFault LoadTagMap(const char *path, POSmap *map) noexcept {
    File fp;
    if (const LoadFault open = OpenForLoad(path, "r", map, POSmap_Free, fp); open != LoadFault::kNone) return open;

    const uint32_t lines = GetFileLinesCount(fp.get());
    int32_t capacity = lines > INT32_MAX / 2 ? INT32_MAX / 2 : static_cast<int32_t>(lines);
    map->tags = static_cast<char **>(std::calloc(capacity == 0 ? 1 : capacity, sizeof(char *)));
    map->count = 0;
    if (map->tags == nullptr) return LoadFault::kNoMemory;
    if (capacity == 0) capacity = 1;

    char piece[kPieceBytes];
    // Not cleared between reads: a piece without a word (a blank line)
    // stores the previous tag again under the next number.
    char token[kPieceBytes] = "";
    while (std::fgets(piece, kPieceBytes, fp.get()) != nullptr) {
        std::sscanf(piece, "%s", token);
        if (token[0] != '\0' && !Store(map, capacity, token)) return LoadFault::kNoMemory;
    }
    return LoadFault::kNone;
}

}  // namespace vsg::model

extern "C" {

int32_t POSmap_Load(const char *path, POSmap *map) {
    return vsg::model::LoadTagMap(path, map) == vsg::model::LoadFault::kNone ? 1 : -1;
}

int32_t POSmap_GetPOS(int32_t id, char *out, const POSmap *map) {
    const int32_t slot = static_cast<uint8_t>(id);
    if (map == nullptr || map->tags == nullptr || slot >= map->count ||
        map->tags[slot] == nullptr || map->tags[slot][0] == '\0') {
        if (out != nullptr) out[0] = '\0';
        return -1;
    }
    if (out == nullptr) return -1;
    std::strcpy(out, map->tags[slot]);
    return 1;
}

int32_t POSmap_GetID(const char *tag, const POSmap *map) {
    if (map == nullptr || map->tags == nullptr || tag == nullptr) return -1;
    int32_t hi = map->count - 1;
    if (hi < 0) return -1;
    int32_t lo = 0;
    int32_t mid = hi / 2;
    for (;;) {
        const char *candidate = map->tags[mid] != nullptr ? map->tags[mid] : "";
        const int cmp = CompareIgnoringCase(candidate, tag);
        if (cmp == 0) return mid;
        if (cmp == 1)
            hi = mid - 1;
        else
            lo = mid + 1;
        if (lo > hi) return -1;
        mid = (lo + hi) / 2;
    }
}

int32_t POSmap_GetItemCount(const POSmap *map) { return map != nullptr ? map->count : 0; }

void POSmap_Free(POSmap *map) {
    if (map == nullptr || map->tags == nullptr) return;
    for (int32_t i = 0; i < map->count; ++i) {
        std::free(map->tags[i]);
        map->tags[i] = nullptr;
    }
    std::free(map->tags);
    // The count is kept; the table pointer is cleared so that a second
    // release or a lookup after release is harmless.
    map->tags = nullptr;
}

}  // extern "C"
