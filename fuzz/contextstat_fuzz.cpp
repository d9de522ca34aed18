// Loads arbitrary bytes as context statistics in both forms; every getter
// must answer for every tag, and a loaded model must survive a save and
// reload of each form unchanged.
#include <cmath>
#include <cstring>

#include "model_fuzz_file.h"
#include "vsglex/model.h"

namespace {

bool SameCounts(const ContextStat &a, const ContextStat &b) {
    if (a.tagCount != b.tagCount || a.totalFrequency != b.totalFrequency) return false;
    for (int i = 0; i < a.tagCount; ++i) {
        if (a.tagFrequency[i] != b.tagFrequency[i]) return false;
        if (std::memcmp(a.contextMatrix[i], b.contextMatrix[i], sizeof(int32_t) * a.tagCount) != 0) return false;
    }
    return true;
}

void Exercise(const ContextStat &m) {
    double sum = 0;
    for (int t = 0; t < 260; ++t) {
        sum += ContextStat_GetFrequency(t, &m) + ContextStat_GetSingleValue(t, &m);
        sum += ContextStat_GetPossibility(t, 259 - t, &m);
    }
    for (int i = 0; i < m.tagCount; ++i)
        for (int j = 0; j < m.tagCount; ++j) sum += ContextStat_GetPossibility(i, j, &m);
    vsgfuzz::gSink = vsgfuzz::gSink + static_cast<uint64_t>(std::isnan(sum));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const std::string &path = vsgfuzz::TempPath("model.ctx");
    const std::string copy = path + ".copy";
    vsgfuzz::WriteInput(path, data, size);
    ContextStat loaded{};
    ContextStat again{};
    if (ContextStat_LoadBinary(path.c_str(), &loaded) == 1) {
        Exercise(loaded);
        vsgfuzz::Require(ContextStat_SaveBinary(copy.c_str(), &loaded) == 1);
        vsgfuzz::Require(ContextStat_LoadBinary(copy.c_str(), &again) == 1);
        vsgfuzz::Require(SameCounts(loaded, again));
    }
    // The raw form accepts any file that opens.
    vsgfuzz::Require(ContextStat_Load(path.c_str(), &loaded) == 1);
    Exercise(loaded);
    vsgfuzz::Require(ContextStat_Save(copy.c_str(), &loaded) == 1);
    vsgfuzz::Require(ContextStat_Load(copy.c_str(), &again) == 1);
    vsgfuzz::Require(SameCounts(loaded, again));
    std::remove(copy.c_str());
    ContextStat_Free(&loaded);
    ContextStat_Free(&again);
    return 0;
}
