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
    places_ = nullptr;
    tags_ = nullptr;
    costs_ = nullptr;
    block_ = {};
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

// An entry's rows of this set, costed single value minus row value as the
// fill costs them, the first kMaxCands in row order.
int32_t SpanTables::CandCount(const DictSEntry &entry) const {
    if (entry.posList == nullptr) return 0;
    int32_t n = 0;
    for (int32_t r = 0; r < entry.posCount && n < kMaxCands; ++r)
        if (entry.posList[r].code == set_) ++n;
    return n;
}

int32_t SpanTables::PutCands(const DictSEntry &entry, uint8_t *tags, double *costs) const {
    if (entry.posList == nullptr) return 0;
    const uint32_t singles = (single_ != nullptr) ? tagCount_ : 0;
    int32_t n = 0;
    for (int32_t r = 0; r < entry.posCount && n < kMaxCands; ++r) {
        const DictSRow &row = entry.posList[r];
        if (row.code != set_) continue;
        const uint8_t tag = row.subCode;
        tags[n] = tag;
        costs[n] = (tag < singles ? single_[tag] : 0.0) - static_cast<double>(row.value);
        ++n;
    }
    return n;
}

bool SpanTables::Fill(SpanTables *sets, int count) noexcept {
    // The block, in 8-byte words: the places (entry-major, one per set, and
    // a last one: entries * count + 1 of 4 bytes), the costs (one more, for
    // the two-at-a-time copies), the tags (kCopyPad more, for the 16-byte
    // copies). Set s of entry e has [place[e * count + s], place[e * count
    // + s + 1]) of both.
    const size_t entries = static_cast<size_t>(sets[0].count_);
    size_t total = 0;
    for (size_t e = 0; e < entries; ++e)
        for (int s = 0; s < count; ++s) total += static_cast<size_t>(sets[s].CandCount(sets[0].entries_[e]));
    const size_t placeWords = (entries * count + 1 + 1) / 2;
    const size_t costWords = total + 1;
    const size_t tagWords = (total + kCopyPad + 7) / 8;
    SpanTables &holder = sets[0];
    try {
        holder.block_.assign(placeWords + costWords + tagWords, 0);
    } catch (const std::bad_alloc &) {
        return false;
    }
    uint32_t *places = reinterpret_cast<uint32_t *>(holder.block_.data());
    double *costs = reinterpret_cast<double *>(holder.block_.data() + placeWords);
    uint8_t *tags = reinterpret_cast<uint8_t *>(holder.block_.data() + placeWords + costWords);
    uint32_t at = 0;
    for (size_t e = 0; e < entries; ++e)
        for (int s = 0; s < count; ++s) {
            places[e * count + s] = at;
            at += static_cast<uint32_t>(sets[s].PutCands(sets[0].entries_[e], tags + at, costs + at));
        }
    places[entries * count] = at;
    for (size_t k = at; k < at + kCopyPad; ++k) tags[k] = kNoTag;
    for (int s = 0; s < count; ++s) {
        sets[s].places_ = places + s;
        sets[s].stride_ = static_cast<size_t>(count);
        sets[s].tags_ = tags;
        sets[s].costs_ = costs;
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
