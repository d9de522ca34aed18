// Tables a span reads instead of recomputing them for every word: built once
// per loaded model set by its owner, read-only afterwards, shared by threads.
#ifndef VSGLEX_SRC_TAGGING_SPAN_TABLES_H
#define VSGLEX_SRC_TAGGING_SPAN_TABLES_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "vsglex/model.h"
#include "vsglex/types.h"

namespace vsg::tagging {

// The tables of one tag set over one core dictionary and one context model.
class SpanTables {
public:
    // Builds the tables of tag set `set` (0 part of speech, 1-3 the name
    // role sets) from `core` and `model`, which must outlive them and not
    // change. False when memory runs out (the tables are then unusable).
    bool Build(const DictionaryS &core, const ContextStat &model, int32_t set) noexcept;
    // True when built from exactly these records as they are now.
    bool BuiltFrom(const DictionaryS &core, const ContextStat &model) const {
        return built_ && core_ == &core && entries_ == core.entries && count_ == core.count &&
               model_ == &model && possibility_ == model.possibility && single_ == model.singleValue &&
               tagCount_ == model.tagCount;
    }

    const ContextStat *model() const { return model_; }
    int32_t set() const { return set_; }
    // Cost row of predecessor tag `tag`: the model's row, or a row of the
    // unseen-pair cost for a tag the model has none for.
    const double *Row(uint8_t tag) const { return rows_[tag]; }
    // The same rows, each of 256 columns: the model's costs, and the
    // unseen-pair cost in the columns of tags the model has none for (the
    // cost the forward pass gives such a pair). Indexed by tag.
    const double *const *WideRows() const { return wide_; }

    // The candidates of word `w`'s dictionary rows of this set (at most
    // `limit`, in row order) when `w` carries its entry (see MarkEntry);
    // false when it does not, and the rows must be read. At least 16 tags
    // and an even number of costs can be read from where they start (the
    // following entries' candidates, or padding), for block copies.
    bool Cands(const SpanWord &w, const uint8_t **tags, const double **costs, int32_t *n) const {
        const uint32_t at = static_cast<uint32_t>(w.reserved[0]) - 1u;
        if (at >= static_cast<uint32_t>(count_) || entries_[at].posList != w.posList ||
            entries_[at].posCount != w.posCount)
            return false;
        const uint32_t first = first_[at];
        *tags = tags_.data() + first;
        *costs = costs_.data() + first;
        *n = static_cast<int32_t>(first_[at + 1] - first);
        return true;
    }

    // Start loading where Cands finds core entry `at`'s candidates.
    void PrefetchPlace(uint32_t at) const {
        if (at < first_.size()) __builtin_prefetch(&first_[at]);
    }

    // Tags readable past the last entry's candidates.
    static constexpr size_t kCopyPad = 16;

private:
    bool built_ = false;
    const DictionaryS *core_ = nullptr;
    const DictSEntry *entries_ = nullptr;
    int32_t count_ = 0;
    const ContextStat *model_ = nullptr;
    double *const *possibility_ = nullptr;
    const double *single_ = nullptr;
    uint8_t tagCount_ = 0;
    int32_t set_ = -1;
    const double *rows_[256] = {};
    const double *wide_[256] = {};
    std::vector<double> wideCosts_;  // the model's rows, widened
    // Entry e's candidates are [first_[e], first_[e + 1]) of tags_/costs_.
    std::vector<uint32_t> first_;
    std::vector<uint8_t> tags_;
    std::vector<double> costs_;
};

// Records in `w` that it holds the rows of core-dictionary entry `at`, so
// that SpanTables::Cands finds its candidates without reading the rows.
inline void MarkEntry(SpanWord *w, int32_t at) { w->reserved[0] = at + 1; }

}  // namespace vsg::tagging

#endif  // VSGLEX_SRC_TAGGING_SPAN_TABLES_H
