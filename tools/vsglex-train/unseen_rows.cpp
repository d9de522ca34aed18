// Unseen-word step: the rows of the entry that stands for words the
// dictionary lacks, and the twin of that entry at the position where the
// binary loader leaves the engine reading them.
#include <algorithm>

#include "common/gbtext.h"
#include "steps.h"
#include "vsglex/model.h"

namespace vsgtrain {

namespace {

// Finds the text of the unseen-word twin: the class word, a byte that no GB
// text contains (0xFF), then the first suffix in a fixed order whose hash
// lies in [lo, hi].
std::string FindTwin(uint32_t lo, uint32_t hi) {
    static const char alphabet[] = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
    constexpr size_t kMaxSuffix = 4;
    const size_t a = sizeof alphabet - 1;
    std::string prefix = std::string(vsg::kOtherClass) + "\xff";
    for (size_t len = 1; len <= kMaxSuffix; ++len) {
        std::vector<size_t> idx(len, 0);
        for (;;) {
            std::string s = prefix;
            for (size_t k = 0; k < len; ++k) s += alphabet[idx[k]];
            uint32_t h = VSGHash(s.c_str(), DICTS_BUCKETS);
            if (h >= lo && h <= hi) return s;
            size_t k = len;
            while (k > 0 && ++idx[k - 1] == a) idx[--k] = 0;
            if (k == 0) break;
        }
    }
    return std::string();
}

}  // namespace

std::vector<Row> UnseenWordRows(const std::map<int, int32_t> &seenOnce, const ContextCounts &posCtx) {
    // Seen-once counts estimate how often a tag brings a new word, but a
    // small class made mostly of rare words (onomatopoeia) would then
    // outbid the nouns: each rate is pulled toward the overall rate by
    // kUnseenPrior pseudo-occurrences before it is turned back into a
    // count of the tag's frequency.
    std::vector<Row> rows;
    int64_t once = 0, tokens = 0;
    for (const auto &tc : seenOnce) once += tc.second;
    for (size_t t = 0; t < posCtx.freq.size(); ++t)
        if (t != kPosBegin && t != kPosEnd) tokens += posCtx.freq[t];
    const double overall = tokens > 0 ? static_cast<double>(once) / static_cast<double>(tokens) : 0.0;
    std::map<int, double> smoothed;
    for (const auto &tc : seenOnce) {
        double f = posCtx.freq[static_cast<size_t>(tc.first)];
        double rate = (tc.second + kUnseenPrior * overall) / (f + kUnseenPrior);
        smoothed[tc.first] = rate * (f + kUnseenFrequencyOffset);
    }
    std::map<int, int32_t> order;  // ranks for the row limit
    for (const auto &tc : smoothed) order[tc.first] = static_cast<int32_t>(tc.second * kUnseenRankScale);
    for (const auto &tc : TopCounts(order, kMaxRows))
        rows.push_back({0, static_cast<uint8_t>(tc.first), static_cast<float>(std::log(smoothed[tc.first]))});
    if (rows.empty()) rows.push_back({0, 2, 0.0f});
    return rows;
}

bool OrderEntries(const std::vector<Row> &unseenRows, std::vector<Entry> *entries, TrainSummary *summary,
                  std::string *error) {
    for (Entry &e : *entries) e.hash = static_cast<int32_t>(VSGHash(e.word.c_str(), DICTS_BUCKETS));
    std::sort(entries->begin(), entries->end(), [](const Entry &a, const Entry &b) {
        return a.hash != b.hash ? a.hash < b.hash : a.word < b.word;
    });
    // The binary loader leaves the engine reading unseen-word rows from a
    // fixed position; a twin of the unseen-word entry is placed there.
    size_t pos = static_cast<size_t>(kUnseenRowsPosition);
    uint32_t lo = 0, hi = DICTS_BUCKETS - 1;
    if (entries->size() >= pos) {
        lo = pos > 0 ? static_cast<uint32_t>((*entries)[pos - 1].hash) : 0;
        hi = pos < entries->size() ? static_cast<uint32_t>((*entries)[pos].hash) : DICTS_BUCKETS - 1;
    }
    Entry twin;
    twin.word = FindTwin(lo, hi);
    if (twin.word.empty()) {
        *error = "no text found for the unseen-word twin";
        return false;
    }
    twin.rows = unseenRows;
    twin.hash = static_cast<int32_t>(VSGHash(twin.word.c_str(), DICTS_BUCKETS));
    if (entries->size() >= pos) {
        entries->insert(entries->begin() + static_cast<std::ptrdiff_t>(pos), twin);
        summary->twinPosition = static_cast<int32_t>(pos);
    } else {  // a corpus too small to reach the position: keep hash order
        auto at = std::upper_bound(entries->begin(), entries->end(), twin,
                                   [](const Entry &a, const Entry &b) { return a.hash < b.hash; });
        summary->twinPosition = static_cast<int32_t>(at - entries->begin());
        entries->insert(at, twin);
    }
    summary->twin = twin.word;
    return true;
}

}  // namespace vsgtrain
