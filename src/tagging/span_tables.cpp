// Builds the per-set tables a span reads (see span_tables.h).
#include "tagging/span_tables.h"

#include <new>

#include "tagging/Span.h"

namespace vsg::tagging {

namespace {

// Candidates a span row holds before its terminator.
constexpr int32_t kMaxCands = kSpanCands - 1;

// A row of the unseen-pair cost in every column.
struct UnseenRow {
    double cost[256];
    constexpr UnseenRow() : cost() {
        for (double &c : cost) c = 13.8155;
    }
};
constexpr UnseenRow kUnseen{};

}  // namespace

bool SpanTables::Build(const DictionaryS &core, const ContextStat &model, int32_t set) noexcept {
    built_ = false;
    core_ = &core;
    entries_ = core.entries;
    count_ = (core.entries != nullptr && core.count > 0) ? core.count : 0;
    model_ = &model;
    possibility_ = model.possibility;
    single_ = model.singleValue;
    tagCount_ = model.tagCount;
    set_ = set;
    // The same choice the forward pass makes per predecessor.
    const uint32_t rowCount = (possibility_ != nullptr) ? tagCount_ : 0;
    for (uint32_t t = 0; t < 256; ++t)
        rows_[t] = (t < rowCount && possibility_[t] != nullptr) ? possibility_[t] : kUnseen.cost;
    try {
        wideCosts_.assign(static_cast<size_t>(rowCount) * 256, kUnseen.cost[0]);
    } catch (const std::bad_alloc &) {
        return false;
    }
    for (uint32_t t = 0; t < 256; ++t) {
        wide_[t] = kUnseen.cost;
        if (rows_[t] == kUnseen.cost) continue;
        double *row = wideCosts_.data() + static_cast<size_t>(t) * 256;
        for (uint32_t c = 0; c < rowCount; ++c) row[c] = rows_[t][c];
        wide_[t] = row;
    }
    // Each entry's rows of this set, costed single value minus row value as
    // the fill costs them, the first kMaxCands in row order.
    const uint32_t singles = (single_ != nullptr) ? tagCount_ : 0;
    try {
        first_.assign(static_cast<size_t>(count_) + 1, 0);
        tags_.clear();
        costs_.clear();
        for (int32_t e = 0; e < count_; ++e) {
            first_[static_cast<size_t>(e)] = static_cast<uint32_t>(tags_.size());
            const DictSEntry &entry = entries_[e];
            if (entry.posList == nullptr) continue;
            int32_t n = 0;
            for (int32_t r = 0; r < entry.posCount && n < kMaxCands; ++r) {
                const DictSRow &row = entry.posList[r];
                if (row.code != set) continue;
                const uint8_t tag = row.subCode;
                tags_.push_back(tag);
                costs_.push_back((tag < singles ? single_[tag] : 0.0) - static_cast<double>(row.value));
                ++n;
            }
        }
        first_[static_cast<size_t>(count_)] = static_cast<uint32_t>(tags_.size());
        // Room past the last entry for the fill's block copies (see Cands).
        tags_.insert(tags_.end(), kCopyPad, kNoTag);
        costs_.insert(costs_.end(), 1, 0.0);
    } catch (const std::bad_alloc &) {
        return false;
    }
    built_ = true;
    return true;
}

}  // namespace vsg::tagging
