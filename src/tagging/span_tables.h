// Tables a span reads instead of recomputing them for every word: built once
// per loaded model set by its owner, read-only afterwards, shared by threads.
#ifndef VSGLEX_SRC_TAGGING_SPAN_TABLES_H
#define VSGLEX_SRC_TAGGING_SPAN_TABLES_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "common/huge_pages.h"
#include "vsglex/model.h"
#include "vsglex/types.h"

namespace vsg::tagging {

// Stores in `w`, which holds the rows of core-dictionary entry `at`, the
// mark SpanTables::MarkOf gave for it (0: none, the rows are read).
inline void SetMark(SpanWord *w, int32_t at, uint32_t mark) {
    w->reserved[0] = at + 1;
    w->reserved[1] = static_cast<int32_t>(mark);
}

// Records in `w` that its candidates are to be read from its rows.
inline void ClearMark(SpanWord *w) { SetMark(w, -1, 0); }

// The tables of one tag set over one core dictionary and one context model.
class SpanTables {
public:
    // The tag sets an engine tags with: 0 part of speech, 1-3 the name
    // role sets.
    static constexpr int kSets = 4;
    // Bytes before an entry's candidates in its record: the counts, then
    // the entry's fact bits (two bytes).
    static constexpr int kHeader = kSets + 2;

    SpanTables() = default;
    SpanTables(const SpanTables &) = delete;
    SpanTables &operator=(const SpanTables &) = delete;

    // Builds the tables of tag set `set` from `core` and `model`, which
    // must outlive them and not change. False when memory runs out (the
    // tables are then unusable).
    bool Build(const DictionaryS &core, const ContextStat &model, int32_t set) noexcept;
    // Builds the tables of the kSets sets (set t from models[t]) in one
    // block held by sets[0], one record per entry holding its candidates of
    // every set: one cache line usually gives a word's candidates in every
    // set, and the block sits in large pages. The same candidates as Build
    // gives per set (marks, though, are those of the block: see Mark).
    static bool BuildSets(SpanTables (&sets)[kSets], const DictionaryS &core,
                          const ContextStat *const (&models)[kSets]) noexcept;
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
    // kSpanCands - 1, in row order) when `w` carries its entry's record (see
    // Mark; marked by these tables or others of their block): their tags and
    // their rows' values; candidate i costs Singles()[tags[i]] - values[i],
    // the fill's formula. False when `w` carries none, and the rows must be
    // read. At least 16 tags and an even number of values can be read from
    // where they start (the entry's other candidates, the following
    // records, or padding), for block copies; values may be unaligned.
    bool Cands(const SpanWord &w, const uint8_t **tags, const unsigned char **values, int32_t *n) const {
        const uint32_t at = static_cast<uint32_t>(w.reserved[1]) - 1u;
        if (at >= dataSize_) return false;
        const unsigned char *record = data_ + at;
        const uint32_t first = setIndex_ == 0 ? 0u : record[setIndex_ - 1];
        const uint32_t all = record[kSets - 1];
        *tags = record + kHeader + first;
        *values = record + kHeader + all + 4 * first;
        *n = static_cast<int32_t>(record[setIndex_] - first);
        return true;
    }
    // The fact bits (org_rows.h: EntryFacts) of the rows of the entry whose
    // record `w` carries (see Cands), or -1 when it carries none.
    int32_t Facts(const SpanWord &w) const {
        const uint32_t at = static_cast<uint32_t>(w.reserved[1]) - 1u;
        if (at >= dataSize_) return -1;
        return static_cast<int32_t>(data_[at + kSets] | (data_[at + kSets + 1] << 8));
    }
    // The single value of each tag (0 for tags beyond the model's table).
    const double *Singles() const { return singles_; }

    // Keeps the set of tags whose line in `map` begins with one of
    // `letters` (vsg::names::LetterTagSet), which a recogniser asks of every
    // run, for that map (while it keeps its lines) and that string.
    void SetLetterTags(const POSmap &map, const char *letters) noexcept;
    // That set when it was made for `map` as it is and for `letters` (the
    // same string, not only the same letters), else null.
    const uint64_t *LetterTags(const POSmap *map, const char *letters) const {
        return (map != nullptr && map == letterMap_ && letters == letters_ && map->tags == letterLines_ &&
                map->count == letterCount_)
                   ? letterTags_
                   : nullptr;
    }

    // Records in `w`, which holds the rows of core-dictionary entry `at`
    // (posList, posCount), where its candidates are, so that Cands finds
    // them without reading the rows or the entry. Whatever gives a record
    // of a word array other rows marks them again or clears the mark
    // (ClearMark); copies of whole records keep it.
    void Mark(SpanWord *w, int32_t at) const { SetMark(w, at, MarkOf(at)); }
    // The mark of entry `at` (what Mark stores; 0 for none).
    uint32_t MarkOf(int32_t at) const {
        return (at >= 0 && at < count_ && records_ != nullptr) ? records_[at] + 1 : 0;
    }
    // Start loading the candidates (of every set of the block) of the entry
    // whose mark is `mark`.
    void PrefetchMarked(uint32_t mark) const {
        if (mark - 1u < dataSize_) __builtin_prefetch(data_ + (mark - 1u));
    }

    // Bytes readable past the last entry's record.
    static constexpr size_t kCopyPad = 16;

private:
    // Sets the fields and cost rows of one set; false when memory runs out.
    bool Start(const DictionaryS &core, const ContextStat &model, int32_t set) noexcept;
    // Builds `count` sets, which Start has prepared, in one block held by
    // sets[0].
    static bool Fill(SpanTables *sets, int count) noexcept;

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
    // Where each entry's record starts in data_ (in the block of the set
    // that holds it). A record holds kSets bytes of counts (the candidates
    // of the block's sets 0..s, for each s; the total for s past the block's
    // sets), the entry's fact bits, the tags of every set of the block, then
    // their rows' values (4-byte floats).
    const uint32_t *records_ = nullptr;
    const unsigned char *data_ = nullptr;
    uint32_t dataSize_ = 0;  // bytes of records in data_
    uint32_t setIndex_ = 0;  // this set's index in its block
    double singles_[256] = {};
    // SetLetterTags: for which map, lines, line count and letters.
    const POSmap *letterMap_ = nullptr;
    char **letterLines_ = nullptr;
    int32_t letterCount_ = 0;
    const char *letters_ = nullptr;
    uint64_t letterTags_[4] = {};
    // The block: record offsets, then the records (see Fill).
    vsg::HugeTable<uint64_t> block_;
};

}  // namespace vsg::tagging

#endif  // VSGLEX_SRC_TAGGING_SPAN_TABLES_H
