// Context statistics of one tag set: tag counts and tag-to-tag counts, in a
// raw machine-order form or a versioned little-endian form, and the cost
// tables derived from them once at load.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "model/context_costs.h"
#include "model/loaders.h"
#include "model/model_io.h"
#include "vsglex/model.h"

using vsg::model::BinaryReader;
using vsg::model::BinaryWriter;
using vsg::model::File;
using vsg::model::kUnseenPairCost;
using vsg::model::OpenFile;
using vsg::model::Scratch;

namespace {

constexpr int32_t kCannotOpen = -101;

// Allocates n zeroed elements (at least one, so an empty table is still a
// table).
template <typename T>
T *AllocZeroed(size_t n) {
    return static_cast<T *>(std::calloc(n == 0 ? 1 : n, sizeof(T)));
}

// Allocates the cost table from the loaded counts; false when memory runs
// out.
bool DerivePossibility(ContextStat *model) {
    const int n = model->tagCount;
    model->possibility = AllocZeroed<double *>(n);
    if (model->possibility == nullptr) return false;
    for (int i = 0; i < n; ++i) {
        double *row = AllocZeroed<double>(n);
        if (row == nullptr) return false;
        model->possibility[i] = row;
        for (int j = 0; j < n; ++j)
            row[j] = vsg::model::TagPairCost(model->contextMatrix[i][j], model->tagFrequency[i],
                              model->totalFrequency);
    }
    return true;
}

// Reads up to n machine-order 32-bit counts; counts the file does not hold
// stay 0.
void ReadCounts(FILE *fp, int32_t *out, size_t n) {
    if (n == 0) return;
    unsigned char bytes[4 * 255];
    const size_t got = std::fread(bytes, 1, 4 * n, fp);
    for (size_t k = 0; k + 4 <= got; k += 4) std::memcpy(&out[k / 4], bytes + k, 4);
}

bool AllocTables(ContextStat *model) {
    const size_t n = model->tagCount;
    model->tagFrequency = AllocZeroed<int32_t>(n);
    model->contextMatrix = AllocZeroed<int32_t *>(n);
    model->singleValue = AllocZeroed<double>(n);
    return model->tagFrequency != nullptr && model->contextMatrix != nullptr &&
           model->singleValue != nullptr;
}

void WriteCount(BinaryWriter &out, const int32_t *table, int index) {
    out.I32(table != nullptr ? table[index] : 0);
}

}  // namespace

namespace vsg::model {

LoadFault LoadContextRaw(const char *path, ContextStat *model) noexcept {
    File fp;
    if (const LoadFault open = OpenForLoad(path, "rb", model, ContextStat_Free, fp); open != LoadFault::kNone)
        return open;

    uint8_t n = 0;
    if (std::fread(&n, 1, 1, fp.get()) != 1) n = 0;
    int32_t total = 0;
    ReadCounts(fp.get(), &total, 1);
    model->tagCount = n;
    model->totalFrequency = total;
    // Short files leave the counts they lack at 0; the only failures this
    // form has are a file that cannot be opened and lack of memory.
    if (!AllocTables(model)) return LoadFault::kNoMemory;
    ReadCounts(fp.get(), model->tagFrequency, n);
    for (int i = 0; i < n; ++i) {
        model->contextMatrix[i] = AllocZeroed<int32_t>(n);
        if (model->contextMatrix[i] == nullptr) return LoadFault::kNoMemory;
        ReadCounts(fp.get(), model->contextMatrix[i], n);
        model->singleValue[i] = TagSingleValue(model->tagFrequency[i]);
    }
    fp.reset();
    return DerivePossibility(model) ? LoadFault::kNone : LoadFault::kNoMemory;
}

LoadFault LoadContextVersioned(const char *path, ContextStat *model) noexcept {
    File fp = OpenFile(path, "rb");
    if (!fp) return LoadFault::kCannotOpen;
    Scratch scratch;
    if (!scratch) return LoadFault::kNoMemory;
    if (model == nullptr) return LoadFault::kNoRecord;
    ContextStat_Free(model);

    BinaryReader in(fp.get(), scratch.bytes);
    if (const LoadFault version = ReadVersion(in); version != LoadFault::kNone) return version;
    uint32_t n = 0;
    int32_t total = 0;
    if (!in.U32(&n) || !in.I32(&total)) return LoadFault::kDamaged;
    // Only the low 8 bits of the count are kept, and only that many rows
    // are read.
    model->tagCount = static_cast<uint8_t>(n);
    model->totalFrequency = total;
    if (!AllocTables(model)) return LoadFault::kNoMemory;
    const int tags = model->tagCount;
    for (int i = 0; i < tags; ++i)
        if (!in.I32(&model->tagFrequency[i])) return LoadFault::kDamaged;
    for (int i = 0; i < tags; ++i) {
        model->contextMatrix[i] = AllocZeroed<int32_t>(tags);
        if (model->contextMatrix[i] == nullptr) return LoadFault::kNoMemory;
        for (int j = 0; j < tags; ++j)
            if (!in.I32(&model->contextMatrix[i][j])) return LoadFault::kDamaged;
        model->singleValue[i] = TagSingleValue(model->tagFrequency[i]);
    }
    fp.reset();
    return DerivePossibility(model) ? LoadFault::kNone : LoadFault::kNoMemory;
}

}  // namespace vsg::model

extern "C" {

int32_t ContextStat_Load(const char *path, ContextStat *model) {
    // Every failure of the raw form is reported as a file that cannot be
    // opened.
    return vsg::model::LoadContextRaw(path, model) == vsg::model::LoadFault::kNone ? 1 : kCannotOpen;
}

int32_t ContextStat_LoadBinary(const char *path, ContextStat *model) {
    const vsg::model::LoadFault fault = vsg::model::LoadContextVersioned(path, model);
    vsg::model::PrintBinaryFault(fault);
    if (fault == vsg::model::LoadFault::kNone) return 1;
    return fault == vsg::model::LoadFault::kCannotOpen ? kCannotOpen : -1;
}

int32_t ContextStat_Save(const char *path, const ContextStat *model) {
    if (model == nullptr) return kCannotOpen;
    File fp = OpenFile(path, "wb");
    if (!fp) return kCannotOpen;
    const int n = model->tagCount;
    bool ok = std::fwrite(&model->tagCount, 1, 1, fp.get()) == 1;
    ok = std::fwrite(&model->totalFrequency, 4, 1, fp.get()) == 1 && ok;
    const int32_t zero = 0;
    for (int i = 0; i < n; ++i) {
        const int32_t *f = model->tagFrequency != nullptr ? &model->tagFrequency[i] : &zero;
        ok = std::fwrite(f, 4, 1, fp.get()) == 1 && ok;
    }
    for (int i = 0; i < n; ++i) {
        const int32_t *row = model->contextMatrix != nullptr ? model->contextMatrix[i] : nullptr;
        for (int j = 0; j < n; ++j)
            ok = std::fwrite(row != nullptr ? &row[j] : &zero, 4, 1, fp.get()) == 1 && ok;
    }
    if (std::fclose(fp.release()) != 0) ok = false;
    return ok ? 1 : kCannotOpen;
}

int32_t ContextStat_SaveBinary(const char *path, const ContextStat *model) {
    Scratch scratch;
    if (!scratch || model == nullptr) return -1;
    File fp = OpenFile(path, "wb");
    if (!fp) return kCannotOpen;
    BinaryWriter out(fp.get(), scratch.bytes);
    const int n = model->tagCount;
    out.U32(vsg::model::kBinaryVersion);
    out.U32(model->tagCount);
    out.I32(model->totalFrequency);
    for (int i = 0; i < n; ++i) WriteCount(out, model->tagFrequency, i);
    for (int i = 0; i < n; ++i) {
        const int32_t *row = model->contextMatrix != nullptr ? model->contextMatrix[i] : nullptr;
        for (int j = 0; j < n; ++j) WriteCount(out, row, j);
    }
    return out.Finish(fp) ? 1 : -1;
}

int32_t ContextStat_GetFrequency(int32_t tag, const ContextStat *model) {
    const unsigned t = static_cast<uint8_t>(tag);
    if (model == nullptr || model->tagFrequency == nullptr || t >= model->tagCount) return 0;
    return model->tagFrequency[t];
}

double ContextStat_GetSingleValue(int32_t tag, const ContextStat *model) {
    const unsigned t = static_cast<uint8_t>(tag);
    if (model == nullptr || model->singleValue == nullptr || t >= model->tagCount) return 0.0;
    return model->singleValue[t];
}

double ContextStat_GetPossibility(int32_t prev, int32_t cur, const ContextStat *model) {
    const unsigned p = static_cast<uint8_t>(prev);
    const unsigned c = static_cast<uint8_t>(cur);
    // Tags the model does not have cost as much as a pair never seen.
    if (model == nullptr || model->possibility == nullptr || p >= model->tagCount ||
        c >= model->tagCount || model->possibility[p] == nullptr)
        return kUnseenPairCost;
    return model->possibility[p][c];
}

void ContextStat_Free(ContextStat *model) {
    if (model == nullptr) return;
    const int n = model->tagCount;
    if (model->contextMatrix != nullptr) {
        for (int i = 0; i < n; ++i) std::free(model->contextMatrix[i]);
        std::free(model->contextMatrix);
        model->contextMatrix = nullptr;
    }
    std::free(model->tagFrequency);
    model->tagFrequency = nullptr;
    std::free(model->singleValue);
    model->singleValue = nullptr;
    if (model->possibility != nullptr) {
        for (int i = 0; i < n; ++i) std::free(model->possibility[i]);
        std::free(model->possibility);
        model->possibility = nullptr;
    }
}

}  // extern "C"
