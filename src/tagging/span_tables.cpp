// Builds the per-set tables a span reads (see span_tables.h).
#include "tagging/span_tables.h"

#include <cstdint>
#include <cstring>
#include <new>

#include "tagging/Span.h"
#include "tagging/Span_names.h"
#include "tagging/org_rows.h"

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

bool SpanTables::Start(const DictionaryS &core, const ContextStat &model, int32_t set) noexcept {
    built_ = false;
    core_ = &core;
    entries_ = core.entries;
    count_ = (core.entries != nullptr && core.count > 0) ? core.count : 0;
    model_ = &model;
    possibility_ = model.possibility;
    single_ = model.singleValue;
    tagCount_ = model.tagCount;
    set_ = set;
    records_ = nullptr;
    data_ = nullptr;
    dataSize_ = 0;
    setIndex_ = 0;
    block_ = {};
    for (uint32_t t = 0; t < 256; ++t) singles_[t] = (single_ != nullptr && t < tagCount_) ? single_[t] : 0.0;
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
    return true;
}

void SpanTables::SetLetterTags(const POSmap &map, const char *letters) noexcept {
    vsg::names::LetterTagSet(&map, letters, letterTags_);
    letterMap_ = &map;
    letterLines_ = map.tags;
    letterCount_ = map.count;
    letters_ = letters;
}

bool SpanTables::Fill(SpanTables *sets, int count) noexcept {
    // The block: each entry's record offset (4 bytes), then the records: the
    // counts, the entry's fact bits, the tags of its candidates in sets
    // 0..count-1, then their values, 5 bytes per candidate (a row's value is
    // kept rather than its cost, which takes 8: the fill adds the single
    // value, a small table). Padding at the end for the block copies (16
    // tags, two values). The records are written in one pass over the rows;
    // the block is sized for every row that can become a candidate, which
    // is nearly every row.
    const size_t entries = static_cast<size_t>(sets[0].count_);
    const DictSEntry *const all = sets[0].entries_;
    const size_t perEntry = static_cast<size_t>(count) * kMaxCands;
    size_t bound = 0;
    for (size_t e = 0; e < entries; ++e) {
        if (all[e].posList == nullptr || all[e].posCount <= 0) continue;
        const size_t rows = static_cast<size_t>(all[e].posCount);
        bound += rows < perEntry ? rows : perEntry;
    }
    const size_t recordWords = (entries + 1) / 2;
    const size_t dataBytes = kHeader * entries + 5 * bound;
    if (dataBytes >= UINT32_MAX - kCopyPad) return false;
    const size_t dataWords = (dataBytes + kCopyPad + 7) / 8;
    SpanTables &holder = sets[0];
    try {
        holder.block_.assign(recordWords + dataWords, 0);
    } catch (const std::bad_alloc &) {
        return false;
    }
    uint32_t *records = reinterpret_cast<uint32_t *>(holder.block_.data());
    unsigned char *data = reinterpret_cast<unsigned char *>(holder.block_.data() + recordWords);
    int32_t codes[kSets];
    for (int s = 0; s < count; ++s) codes[s] = sets[s].set_;
    uint32_t at = 0;
    // Each set's candidates of the entry at hand, in row order.
    uint8_t tags[kSets][kMaxCands];
    float values[kSets][kMaxCands];
    for (size_t e = 0; e < entries; ++e) {
        records[e] = at;
        unsigned char *record = data + at;
        const DictSEntry &entry = all[e];
        int32_t n[kSets] = {0, 0, 0, 0};
        RowFacts facts;  // EntryFacts, gathered in the same pass
        if (entry.posList != nullptr) {
            for (int32_t r = 0; r < entry.posCount; ++r) {
                const DictSRow &row = entry.posList[r];
                facts.Add(row, r);
                for (int s = 0; s < count; ++s) {
                    if (row.code != codes[s]) continue;
                    if (n[s] < kMaxCands) {
                        tags[s][n[s]] = row.subCode;
                        values[s][n[s]] = row.value;
                        ++n[s];
                    }
                    break;  // the sets' codes differ (one per tag set)
                }
            }
        }
        // Most entries have one to three candidates: element loops, not
        // calls of memcpy.
        uint32_t total = 0;
        for (int s = 0; s < count; ++s) {
            unsigned char *tag = record + kHeader + total;
            for (int32_t k = 0; k < n[s]; ++k) tag[k] = tags[s][k];
            total += static_cast<uint32_t>(n[s]);
            record[s] = static_cast<uint8_t>(total);
        }
        for (int s = count; s < kSets; ++s) record[s] = static_cast<uint8_t>(total);
        unsigned char *value = record + kHeader + total;
        for (int s = 0; s < count; ++s)
            for (int32_t k = 0; k < n[s]; ++k, value += 4) memcpy(value, &values[s][k], 4);
        const uint32_t factBits = facts.Entry();
        record[kSets] = static_cast<uint8_t>(factBits);
        record[kSets + 1] = static_cast<uint8_t>(factBits >> 8);
        at += kHeader + 5 * total;
    }
    memset(data + at, kNoTag, kCopyPad);
    for (int s = 0; s < count; ++s) {
        sets[s].records_ = records;
        sets[s].data_ = data;
        sets[s].dataSize_ = at;
        sets[s].setIndex_ = static_cast<uint32_t>(s);
        sets[s].built_ = true;
    }
    return true;
}

bool SpanTables::Build(const DictionaryS &core, const ContextStat &model, int32_t set) noexcept {
    return Start(core, model, set) && Fill(this, 1);
}

bool SpanTables::BuildSets(SpanTables (&sets)[kSets], const DictionaryS &core,
                           const ContextStat *const (&models)[kSets]) noexcept {
    for (int s = 0; s < kSets; ++s)
        if (models[s] == nullptr || !sets[s].Start(core, *models[s], s)) return false;
    return Fill(sets, kSets);
}

}  // namespace vsg::tagging
