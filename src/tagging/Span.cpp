// The tagging span: fills word slots with candidate tags and their costs,
// runs a first-order Viterbi search over a ContextStat model and traces the
// cheapest tag sequence back into bestTag. One span serves part-of-speech
// tagging and the three name role sets; all storage lives inside the record,
// so tagging never allocates.
#include "tagging/Span.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cstddef>
#include <utility>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "common/gbtext.h"
#include "common/tagset.h"
#include "tagging/span_tables.h"

static_assert(sizeof vsg::kStartWord == 7 && sizeof vsg::kEndWord == 7, "boundary words are 6 bytes");

namespace {

// Words read per run: slots 1..198; slot 199 is kept for the synthetic end.
constexpr int kRunWords = 198;
// Candidates a row can hold before its 255 terminator.
constexpr int kMaxCands = kSpanCands - 1;
// Path cost above which a predecessor does not count.
constexpr double kNoPath = 1e7;
// Back index of a candidate that found no predecessor.
constexpr uint8_t kNoBack = 21;
// Cost of a transition the model cannot name (tag outside its table); the
// same value the model gives to a pair it never saw.
constexpr double kUnknownTransition = 13.8155;
// Tags of the sentence start and of the synthetic end word.
constexpr uint8_t kStartTag = vsg::kSentenceBeginTag;
constexpr uint8_t kEndTag = vsg::kSentenceEndTag;
// Person role of a word that is a whole name by itself ("×", "××").
constexpr uint8_t kTimesSignRole = 9;

// Per-tag value of the model; 0 for a tag beyond its table.
inline double SingleValue(const ContextStat *m, int32_t tag) {
    const uint32_t t = static_cast<uint8_t>(tag);
    if (m == nullptr || m->singleValue == nullptr || t >= m->tagCount) return 0.0;
    return m->singleValue[t];
}

// Occurrences of a tag; 0 for a tag beyond the model's table.
inline int32_t Frequency(const ContextStat *m, int32_t tag) {
    const uint32_t t = static_cast<uint8_t>(tag);
    if (m == nullptr || m->tagFrequency == nullptr || t >= m->tagCount) return 0;
    return m->tagFrequency[t];
}

// A row of costs with kUnknownTransition in every column: the row of a tag
// the model has none for.
struct UnknownRow {
    double cost[256];
    constexpr UnknownRow() : cost() {
        for (double &c : cost) c = kUnknownTransition;
    }
};
constexpr UnknownRow kUnknown{};
constexpr const double *kUnknownRow = kUnknown.cost;

// Candidate j of slot k. A back index of 21 points past the 20-byte row;
// like the row layout it reads on into the following row, and yields the
// terminator past the end of the table.
inline uint8_t CandAt(const CSpan *span, uint32_t k, uint32_t j) {
    const size_t flat = static_cast<size_t>(k) * kSpanCands + j;
    if (flat >= sizeof span->cand) return kNoTag;
    return (&span->cand[0][0])[flat];
}

// Back index of candidate j of slot k, read the same way as CandAt.
inline uint8_t BackAt(const CSpan *span, uint32_t k, uint32_t j) {
    const size_t flat = static_cast<size_t>(k) * kSpanCands + j;
    if (flat >= sizeof span->back) return kNoBack;
    return (&span->back[0][0])[flat];
}

// Keeps the first bytes of a word of `length` bytes at `text` as slot k's
// word, NUL-terminated, and its length.
inline void PutSlotWord(CSpan *span, uint32_t k, const char *text, size_t length) {
    const size_t kept = length < kSlotText ? length : kSlotText - 1;
    memcpy(span->word[k], text, kept);
    span->word[k][kept] = '\0';
    span->length[k] = static_cast<uint8_t>(length);
}

// Copies the text a word stands for in the models (its class word when it has
// one) into slot k, bounded by both fields (127 bytes); returns its length.
inline size_t CopySlotWord(CSpan *span, uint32_t k, const SpanWord &w) {
    const char *src = w.text;
    size_t limit = sizeof w.text - 1;
    if (w.classText[0] != '\0') {
        src = w.classText;
        limit = sizeof w.classText;
    }
    static_assert(sizeof w.classText >= 16 && kSlotText == 8, "both fields hold a block");
#if defined(__SSE2__)
    // Most words end within the first 16 bytes: found in one block, whose
    // first 8 bytes, the eighth cleared, are the slot's word (the bytes
    // after the terminator included, which nothing reads).
    const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i *>(src));
    const unsigned nul = static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(block, _mm_setzero_si128())));
    if (nul != 0) {
        const __m128i kept = _mm_and_si128(block, _mm_set_epi64x(0, 0x00FFFFFFFFFFFFFFll));
        _mm_storel_epi64(reinterpret_cast<__m128i *>(span->word[k]), kept);
        const size_t length = static_cast<size_t>(__builtin_ctz(nul));
        span->length[k] = static_cast<uint8_t>(length);
        return length;
    }
#endif
    // Words are a few bytes long: a plain loop beats a library call here.
    size_t n = 0;
    while (n < limit && src[n] != '\0') ++n;
    PutSlotWord(span, k, src, n);
    return n;
}

inline bool IsEmpty(const SpanWord &w) { return w.text[0] == '\0'; }

// True when `word` is found in "××" at an even byte offset (first hit only),
// the character-list membership rule of the text utilities.
bool IsTimesSign(const char *word) {
    const char *hit = strstr(vsg::kTimesSigns, word);
    return hit != nullptr && ((hit - vsg::kTimesSigns) % 2) == 0;
}

// Appends a candidate to a slot's row (its tags `cand`, its costs `score`)
// unless the row is full; returns the new count. The fills take a slot's
// row once: its costs' place is read from the span.
inline int32_t AddCand(uint8_t *cand, double *score, int32_t n, int32_t tag, double cost) {
    if (n >= kMaxCands) return n;
    cand[n] = static_cast<uint8_t>(tag);
    score[n] = cost;
    return n + 1;
}

// Appends the dictionary rows of a word that `take` accepts as candidates
// costed single value minus row value; returns the new count.
template <typename Take>
int32_t AddRowCands(const CSpan *span, uint8_t *cand, double *score, int32_t n, const DictSRow *rows,
                    int32_t rowCount, Take take) {
    if (rows == nullptr) return n;
    const ContextStat *m = span->model;
    // SingleValue with the model's table read once.
    const double *single = (m != nullptr) ? m->singleValue : nullptr;
    const uint32_t tagCount = (single != nullptr) ? m->tagCount : 0;
    for (int32_t i = 0; i < rowCount; ++i) {
        const DictSRow &row = rows[i];
        if (!take(row)) continue;
        const uint8_t tag = row.subCode;
        n = AddCand(cand, score, n, tag, (tag < tagCount ? single[tag] : 0.0) - static_cast<double>(row.value));
    }
    return n;
}

// Row filters of AddRowCands.
inline bool AnyRow(const DictSRow &) { return true; }
struct RowOfSet {
    int32_t set;
    bool operator()(const DictSRow &row) const { return row.code == set; }
};

// The span's tables when they hold the candidates of tag set `set` for the
// span's model, else null. Asked once per run.
inline const vsg::tagging::SpanTables *TablesOfSet(const CSpan *span, int32_t set) {
    const vsg::tagging::SpanTables *tables = span->tables;
    return (tables != nullptr && tables->set() == set && tables->model() == span->model) ? tables : nullptr;
}

// The rows' way of AddSetCands (words without a mark, or no tables).
__attribute__((noinline)) int32_t AddSetRowCands(const CSpan *span, uint8_t *cand, double *score, const SpanWord &w,
                                                 int32_t set) {
    return AddRowCands(span, cand, score, 0, w.posList, w.posCount, RowOfSet{set});
}

// Fills row k, empty so far, with the candidates of word w's rows of tag
// set `set`: from `tables` (TablesOfSet of the span) when they hold them,
// else read from the rows. Returns the candidate count.
inline __attribute__((always_inline)) int32_t AddSetCands(const CSpan *span, uint8_t *cand, double *score,
                                                          const SpanWord &w, int32_t set,
                                                          const vsg::tagging::SpanTables *tables) {
    const uint8_t *tags = nullptr;
    const unsigned char *values = nullptr;
    int32_t n = 0;
    if (tables != nullptr && tables->Cands(w, &tags, &values, &n)) {
        // Each cost as the fill computes it from the row: single value
        // minus the row's value.
        const double *single = tables->Singles();
#if defined(__SSE2__)
        // Block copies: tags 16 at once, costs two at a time. What they
        // write past the n candidates is never read: the caller ends the
        // row at n, the forward pass reads costs of candidates only, and a
        // back index past a row (kNoBack) reads no further than index 1 of
        // the next row, a candidate or the terminator when n >= 1.
        if (n > 0 && n < 16) {
            const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i *>(tags));
            _mm_storeu_si128(reinterpret_cast<__m128i *>(cand), block);
            for (int32_t i = 0; i < n; i += 2) {
                const __m128d value = _mm_cvtps_pd(
                    _mm_castsi128_ps(_mm_loadl_epi64(reinterpret_cast<const __m128i *>(values + 4 * i))));
                const __m128d base = _mm_loadh_pd(_mm_load_sd(single + tags[i]), single + tags[i + 1]);
                _mm_storeu_pd(score + i, _mm_sub_pd(base, value));
            }
            return n;
        }
#endif
        for (int32_t i = 0; i < n; ++i) {
            float value;
            memcpy(&value, values + 4 * i, sizeof value);
            cand[i] = tags[i];
            score[i] = single[tags[i]] - static_cast<double>(value);
        }
        return n;
    }
    return AddSetRowCands(span, cand, score, w, set);
}

// After the fill of slot k with n candidates: slot k + 1's costs start
// right after them. (Slot 1's start is fixed, kSpanCands, past a full row
// for slot 0.) Costs a fill writes past a slot's candidates (its block
// copies, the end word's second cost) land on the next slot's, which its
// own fill writes later; no cost past the candidates is ever read.
inline void PackScores(CSpan *span, uint32_t k, const double *score, int32_t n) {
    span->scoreAt[k + 1] = static_cast<uint16_t>((score - span->scores) + n);
}

// Candidates in row k before its terminator.
inline int32_t RowSize(const CSpan *span, uint32_t k) {
    int32_t n = 0;
    while (n < kSpanCands && span->cand[k][n] != kNoTag) ++n;
    return n;
}

// Closes a run whose first unfilled slot is kEnd: sets that slot's offset and
// appends the synthetic end word unless the last slot has one candidate.
// `lastLength` is the length of the last slot's word.
void CloseRun(CSpan *span, uint32_t kEnd, size_t lastLength) {
    const uint32_t last = kEnd - 1;
    span->offset[kEnd] = span->offset[last] + static_cast<int32_t>(lastLength);
    if (RowSize(span, last) == 1) {
        span->count = kEnd;
        return;
    }
    span->word[kEnd][0] = '\0';
    span->length[kEnd] = 0;
    span->cand[kEnd][0] = kEndTag;
    span->cand[kEnd][1] = kNoTag;
    span->Score(kEnd)[0] = 0.0;
    span->count = kEnd + 1;
}

// Fills slots 1.. from records start.. and closes the run; the fill of
// both tag kinds. `fill(k, word, length)` gives slot k (whose text and
// offset are already set, `length` its text length) its candidates and
// returns true when that word ends the run. Returns the record the next
// run starts at, or -1 when the array is used up. A caller that has filled
// slot 1 itself as this does, and found that its word does not end the
// run, gives that word's length as `firstLength` to go on from slot 2.
template <typename Fill>
int32_t FillRun(CSpan *span, SpanWord *results, int32_t start, Fill fill, const size_t *firstLength = nullptr) {
    int32_t result = -1;
    uint32_t k = 1;
    int32_t r = start;
    bool filled = false;
    size_t lastLength = 0;  // of the last slot filled
    if (firstLength != nullptr) {
        // One slot of kRunWords is filled: the run is not full yet.
        k = 2;
        r = start + 1;
        filled = true;
        lastLength = *firstLength;
    }
    for (;;) {
        const SpanWord &w = results[r];
        if (IsEmpty(w)) {
            result = -1;
            break;
        }
        const size_t length = CopySlotWord(span, k, w);
        filled = true;
        lastLength = length;
        span->offset[k] = w.offset;
        if (fill(k, w, length)) {
            span->word[k + 1][0] = '\0';
            span->length[k + 1] = 0;
            ++k;
            result = r + 1;
            break;
        }
        ++k;
        ++r;
        if (k > kRunWords) {
            // The record right after a full run is passed over.
            result = IsEmpty(results[r]) ? -1 : r + 1;
            break;
        }
    }
    CloseRun(span, k, filled ? lastLength : span->length[0]);
    return result;
}

// Forward pass and back-trace shared by GetBestPOS0 and GetBestPOS1.
void Trace(CSpan *span) {
    CSpan_Disamb(span);
    const uint32_t count = span->count;
    if (count == 0 || count > kSpanSlots) return;
    uint32_t j = 0;
    for (uint32_t k = count - 1; k >= 1; --k) {
        if (span->word[k][0] != '\0') span->bestTag[k] = CandAt(span, k, j);
        j = BackAt(span, k, j);
    }
    if (span->word[count - 1][0] == '\0')
        span->bestTag[count - 1] = kNoTag;
    else if (count < kSpanSlots)
        span->bestTag[count] = kNoTag;
}

// The back-trace of Trace for a span that FillRun filled: every slot holds a
// word but for a synthetic end word, which is only ever the last slot, and
// only the last slot can be slot 199, whose reads CandAt and BackAt bound;
// back indices are at most kNoBack, so the other slots are read directly.
// With Watch, false when it followed a back index of kNoBack (a candidate
// that no predecessor reached).
template <bool Watch>
bool TraceFilled(CSpan *span) {
    const uint32_t count = span->count;
    if (count == 0 || count > kSpanSlots) return true;
    uint32_t j = 0;
    bool reached = true;
    uint32_t k = count - 1;
    if (k >= 1) {
        if (span->word[k][0] != '\0') span->bestTag[k] = CandAt(span, k, j);
        j = BackAt(span, k, j);
        if (Watch) reached = j != kNoBack;
        --k;
    }
    const uint8_t *cand = &span->cand[0][0];
    const uint8_t *back = &span->back[0][0];
    for (; k >= 1; --k) {
        const size_t flat = static_cast<size_t>(k) * kSpanCands + j;
        span->bestTag[k] = cand[flat];
        j = back[flat];
        if (Watch) reached &= j != kNoBack;
    }
    if (span->word[count - 1][0] == '\0')
        span->bestTag[count - 1] = kNoTag;
    else if (count < kSpanSlots)
        span->bestTag[count] = kNoTag;
    return reached;
}

}  // namespace

CSpan *CSpan_new() {
    auto *span = static_cast<CSpan *>(calloc(1, sizeof(CSpan)));
    if (span == nullptr) return nullptr;
    for (uint32_t k = 0; k < kSpanSlots; ++k) span->scoreAt[k] = static_cast<uint16_t>(k * kSpanCands);
    span->cand[0][0] = kStartTag;
    span->cand[0][1] = kNoTag;
    span->Score(0)[0] = 0.0;
    span->word[0][0] = '\0';
    span->length[0] = 0;
    span->count = 1;
    span->startOffset = 0;
    span->offset[1] = 0;
    span->tagType = 0;
    return span;
}

void CSpan_delete(CSpan *span) { free(span); }

void vsg::tagging::SetSlotWord(CSpan *span, uint32_t k, const char *text, size_t length) {
    if (span == nullptr || k >= kSpanSlots) return;
    PutSlotWord(span, k, text, length < 128 ? length : 127);
}

void CSpan_SetTagType(CSpan *span, uint32_t type) {
    if (span != nullptr) span->tagType = type;
}

int32_t CSpan_Reset(CSpan *span, int32_t carry) {
    if (span == nullptr) return 1;
    if (carry == 0) {
        span->startOffset = 0;
        span->cand[0][0] = kStartTag;
        span->Score(0)[0] = 0.0;
        span->offset[1] = 0;
    } else {
        uint32_t last = span->count > 0 ? span->count - 1 : 0;
        if (last >= kSpanSlots) last = kSpanSlots - 1;
        span->cand[0][0] = span->cand[last][0];
        span->Score(0)[0] = span->Score(last)[0];
        const int32_t next = span->offset[last] + static_cast<int32_t>(span->length[last]);
        span->startOffset = static_cast<uint32_t>(next);
        span->offset[1] = next;
    }
    span->count = 1;
    span->word[0][0] = '\0';
    span->length[0] = 0;
    return 1;
}

int32_t CSpan_RoleGuess(CSpan *span, int32_t k, int32_t *flag, int32_t defaultRole) {
    if (span == nullptr || k < 0 || k >= kSpanSlots) {
        if (flag != nullptr) *flag = 0;
        return 1;
    }
    const uint32_t type = span->tagType;
    if (type == 1 || type == 2 || type == 3) {
        int32_t tag = defaultRole;
        if (type == 1 && IsTimesSign(span->word[k])) tag = kTimesSignRole;
        span->cand[k][0] = static_cast<uint8_t>(tag);
        span->Score(k)[0] = 1.0 / (static_cast<double>(Frequency(span->model, tag)) + 1.0);
    }
    if (flag != nullptr) *flag = (type >= 1 && type <= 3) ? 1 : 0;
    return 1;
}

int32_t CSpan_GetFrom1(CSpan *span, SpanWord *results, int32_t start, int32_t tagSet,
                       int32_t defaultRole) {
    if (span == nullptr || results == nullptr || start < 0) return -1;
    const ContextStat *m = span->model;
    const double defaultValue = SingleValue(m, defaultRole);
    const vsg::tagging::SpanTables *tables = TablesOfSet(span, tagSet);
    return FillRun(span, results, start, [&](uint32_t k, const SpanWord &w, size_t length) {
        const char *word = span->word[k];
        // Both boundary words are 6 bytes long.
        const bool isStart = length == 6 && memcmp(word, vsg::kStartWord, 6) == 0;
        const bool isEnd = length == 6 && memcmp(word, vsg::kEndWord, 6) == 0;
        uint8_t *cand = span->cand[k];
        double *score = span->Score(k);
        int32_t n = 0;
        if (!isStart && !isEnd && length > 2) {
            // A word of several characters always takes role 0.
            n = AddCand(cand, score, n, 0, 0.0);
        } else {
            n = AddSetCands(span, cand, score, w, tagSet, tables);
            if (isStart && n == 1) {
                cand[0] = kStartTag;
                score[0] = 0.0;
            } else if (isEnd && n == 1) {
                score[1] = 0.0;
            } else {
                const float w8 = (tagSet >= 0 && tagSet < 4) ? w.stats[tagSet] : 0.0f;
                const double wd = static_cast<double>(w8);
                if (n > 0 && w8 > 0)
                    n = AddCand(cand, score, n, defaultRole, defaultValue - wd);
                if (n == 0 && tagSet == 1) {
                    n = AddCand(cand, score, n, 2, SingleValue(m, 2) - wd);
                    n = AddCand(cand, score, n, 3, SingleValue(m, 3) - wd);
                    n = AddCand(cand, score, n, defaultRole, defaultValue - wd);
                }
                if (n == 0) CSpan_RoleGuess(span, static_cast<int32_t>(k), &n, defaultRole);
            }
        }
        cand[n] = kNoTag;
        PackScores(span, k, score, n);
        return false;
    });
}

namespace {

// The part-of-speech fill of one slot (CSpan_GetFrom0; gTaIndexNum is not
// negative): a fixed tag, else the word's rows of set 0, else those of the
// unknown-word class. True when the word ends the run.
class PosFill {
public:
    PosFill(CSpan *span, const DictionaryS *core) : span_(span), m_(span->model), tables_(TablesOfSet(span, 0)) {
        if (core != nullptr && core->entries != nullptr && gTaIndexNum >= 0 && gTaIndexNum < core->count)
            other_ = &core->entries[gTaIndexNum];
    }
    bool operator()(uint32_t k, const SpanWord &w, size_t) const {
        CSpan *span = span_;
        span->startOffset = static_cast<uint32_t>(span->offset[k + 1]);
        uint8_t *cand = span->cand[k];
        double *score = span->Score(k);
        int32_t n = 0;
        const uint8_t fixed = static_cast<uint8_t>(w.tag);
        if (fixed != kNoTag) {
            n = AddCand(cand, score, n, fixed, SingleValue(m_, fixed) - w.weight);
        } else {
            n = AddSetCands(span, cand, score, w, 0, tables_);
            if (n == 0 && other_ != nullptr)
                n = AddRowCands(span, cand, score, n, other_->posList, other_->posCount, AnyRow);
        }
        cand[n] = kNoTag;
        PackScores(span, k, score, n);
        // A settled word other than tag 0 ends the run.
        return n == 1 && cand[0] != 0;
    }

private:
    CSpan *span_;
    const ContextStat *m_;
    const vsg::tagging::SpanTables *tables_;
    // Rows of the unknown-word class, taken by words without tag rows.
    const DictSEntry *other_ = nullptr;
};

}  // namespace

int32_t CSpan_GetFrom0(CSpan *span, SpanWord *results, int32_t start, const DictionaryS *core) {
    if (gTaIndexNum < 0) {
        static const char kMessage[] = "\xce\xb4##\xcb\xfc\xb3\xf6\xb4\xed!";  // 未##它出错!
        fwrite(kMessage, 1, sizeof kMessage - 1, stderr);
        return -1;
    }
    if (span == nullptr || results == nullptr || start < 0) return -1;
    return FillRun(span, results, start, PosFill(span, core));
}

namespace {

// One slot of the forward pass over wide rows (SpanTables::WideRows): adds
// to each candidate's cost its cheapest path from the `prevCount`
// predecessors (rows `rows`, path costs `prevScore`), the first of equal
// paths, or kNoPath with back index kNoBack when none is below kNoPath;
// stores each candidate's row in `nextRows`. Returns the candidate count.
// RelaxSlot for one predecessor (a word with one candidate, as most are in
// the role passes): every path goes through it.
template <bool Ended>
inline __attribute__((always_inline)) int RelaxOne(const uint8_t *cand, double *score, uint8_t *back,
                                                   const double *row, double before, const double *const *wide,
                                                   const double **nextRows) {
    int n = 0;
    for (; Ended || n < kSpanCands; ++n) {
        const uint8_t t = cand[n];
        if (t == kNoTag) break;
        const double c = row[t] + before;
        // Nearly always reached: a branch is cheaper than selections here.
        if (__builtin_expect(c < kNoPath, 1)) {
            back[n] = 0;
            score[n] += c;
        } else {
            back[n] = kNoBack;
            score[n] += kNoPath;
        }
        nextRows[n] = wide[t];
    }
    return n;
}

// RelaxSlot for exactly sizeof...(I) predecessors: their rows and path
// costs are read once for all candidates and the scan over them is written
// out in full (the loop overhead and the reloads cost as much as the pairs).
template <bool Ended, size_t... I>
int RelaxFixed(const uint8_t *cand, double *score, uint8_t *back, const double *const *rows, const double *prevScore,
               const double *const *wide, const double **nextRows, std::index_sequence<I...>) {
    const double *const row[] = {rows[I]...};
    const double before[] = {prevScore[I]...};
    int n = 0;
    for (; Ended || n < kSpanCands; ++n) {
        const uint8_t t = cand[n];
        if (t == kNoTag) break;
        double best = kNoPath;
        int arg = kNoBack;
        // Predecessors in order, the first of equal paths kept, as in the
        // loop of RelaxSlot.
        (
            [&] {
                const double c = row[I][t] + before[I];
                arg = c < best ? static_cast<int>(I) : arg;
                best = c < best ? c : best;
            }(),
            ...);
        back[n] = static_cast<uint8_t>(arg);
        score[n] += best;
        nextRows[n] = wide[t];
    }
    return n;
}

template <bool Ended>
int RelaxSlot(const uint8_t *cand, double *score, uint8_t *back, const double *const *rows, const double *prevScore,
              int prevCount, const double *const *wide, const double **nextRows) {
#define VSG_RELAX_FIXED(P)                                                                                            \
    case P:                                                                                                           \
        return RelaxFixed<Ended>(cand, score, back, rows, prevScore, wide, nextRows, std::make_index_sequence<P>{});
    switch (prevCount) {
        VSG_RELAX_FIXED(2)
        VSG_RELAX_FIXED(3)
        VSG_RELAX_FIXED(4)
        VSG_RELAX_FIXED(5)
        VSG_RELAX_FIXED(6)
        VSG_RELAX_FIXED(7)
        VSG_RELAX_FIXED(8)
        VSG_RELAX_FIXED(9)
        VSG_RELAX_FIXED(10)
        VSG_RELAX_FIXED(11)
        VSG_RELAX_FIXED(12)
        VSG_RELAX_FIXED(13)
    default:
        break;
    }
#undef VSG_RELAX_FIXED
    if (prevCount == 1) return RelaxOne<Ended>(cand, score, back, rows[0], prevScore[0], wide, nextRows);
    int n = 0;
    for (; Ended || n < kSpanCands; ++n) {
        const uint8_t t = cand[n];
        if (t == kNoTag) break;
        double best = kNoPath;
        int arg = kNoBack;
        // Predecessors in order; the first of equal paths is kept. Written
        // as selections (compiled without branches): which way each
        // comparison goes is data, and mispredicted branches cost more than
        // the few more instructions of a two-at-a-time loop save.
        for (int i = 0; i < prevCount; ++i) {
            const double c = rows[i][t] + prevScore[i];
            arg = c < best ? i : arg;
            best = c < best ? c : best;
        }
        back[n] = static_cast<uint8_t>(arg);
        score[n] += best;
        nextRows[n] = wide[t];
    }
    return n;
}

// The forward pass without tables: rows are looked up in the model.
int32_t DisambPlain(CSpan *span) {
    const ContextStat *m = span->model;
    // The model's table, read once: the byte stores below could otherwise
    // change it as far as the compiler knows.
    const double *const *table = (m != nullptr) ? m->possibility : nullptr;
    const uint32_t tagCount = (table != nullptr) ? m->tagCount : 0;
    const uint32_t count = span->count > kSpanSlots ? kSpanSlots : span->count;
    const vsg::tagging::SpanTables *tables =
        (span->tables != nullptr && span->tables->model() == m) ? span->tables : nullptr;
    auto rowOf = [&](uint8_t tag) {
        if (tables != nullptr) return tables->Row(tag);
        return (tag < tagCount && table[tag] != nullptr) ? table[tag] : kUnknownRow;
    };
    // The cost rows of the previous slot's candidates, looked up once per
    // candidate rather than once per pair: those of slot 0 here, those of
    // each later slot while it is filled.
    const double *rowsA[kSpanCands];
    const double *rowsB[kSpanCands];
    const double **rows = rowsA;
    const double **nextRows = rowsB;
    int prevCount = 0;
    for (const uint8_t *prev = span->cand[0]; prevCount < kSpanCands && prev[prevCount] != kNoTag; ++prevCount)
        rows[prevCount] = rowOf(prev[prevCount]);
    for (uint32_t k = 1; k < count; ++k) {
        const double *prevScore = span->Score(k - 1);
        const uint8_t *cand = span->cand[k];
        double *score = span->Score(k);
        uint8_t *back = span->back[k];
        int j = 0;
        for (; j < kSpanCands && cand[j] != kNoTag; ++j) {
            // Cheapest path into candidate j given the cost of each pair.
            auto relax = [&](auto pairCost) {
                double best = kNoPath;
                uint8_t arg = kNoBack;
                for (int i = 0; i < prevCount; ++i) {
                    const double c = pairCost(i) + prevScore[i];
                    if (c < best) {
                        best = c;
                        arg = static_cast<uint8_t>(i);
                    }
                }
                back[j] = arg;
                score[j] += best;
            };
            const uint8_t cur = cand[j];
            if (cur < tagCount && prevCount == 1) {
                // One predecessor (a word with one candidate, as most are in
                // the role passes): the same comparison without the loop.
                const double c = rows[0][cur] + prevScore[0];
                const bool reached = c < kNoPath;
                back[j] = reached ? 0 : kNoBack;
                score[j] += reached ? c : kNoPath;
            } else if (cur < tagCount)
                relax([&](int i) { return rows[i][cur]; });
            else
                relax([](int) { return kUnknownTransition; });
            nextRows[j] = rowOf(cur);
        }
        std::swap(rows, nextRows);
        prevCount = j;
    }
    return 1;
}

}  // namespace

namespace {

// The forward pass over the tables' wide rows (the span has tables of its
// model). With Ended, every candidate row is known to end within its 20
// bytes (a span that FillRun filled), so its end is not checked too.
template <bool Ended>
void DisambWide(CSpan *span) {
    // With the tables: every row has a column for every tag, holding the
    // cost the plain pass would use for that pair.
    const double *const *wide = span->tables->WideRows();
    const uint32_t count = span->count > kSpanSlots ? kSpanSlots : span->count;
    const double *rowsA[kSpanCands];
    const double *rowsB[kSpanCands];
    const double **rows = rowsA;
    const double **nextRows = rowsB;
    int prevCount = 0;
    for (const uint8_t *prev = span->cand[0]; prevCount < kSpanCands && prev[prevCount] != kNoTag; ++prevCount)
        rows[prevCount] = wide[prev[prevCount]];
    // The slots' costs in turn (their places read once per slot).
    double *prevScore = span->Score(0);
    for (uint32_t k = 1; k < count; ++k) {
        double *score = span->Score(k);
        if (prevCount == 1)
            prevCount =
                RelaxOne<Ended>(span->cand[k], score, span->back[k], rows[0], prevScore[0], wide, nextRows);
        else
            prevCount =
                RelaxSlot<Ended>(span->cand[k], score, span->back[k], rows, prevScore, prevCount, wide, nextRows);
        prevScore = score;
        std::swap(rows, nextRows);
    }
}

// CSpan_Disamb for a span that FillRun filled.
void DisambFilled(CSpan *span) {
    if (span->count < 2) return;
    if (span->tables == nullptr || span->tables->model() != span->model)
        DisambPlain(span);
    else
        DisambWide<true>(span);
}

}  // namespace

int32_t CSpan_Disamb(CSpan *span) {
    if (span == nullptr || span->count < 2) return 1;
    const vsg::tagging::SpanTables *tables = span->tables;
    if (tables == nullptr || tables->model() != span->model) return DisambPlain(span);
    DisambWide<false>(span);
    return 1;
}

int32_t CSpan_GetBestPOS0(CSpan *span) {
    if (span == nullptr) return 1;
    Trace(span);
    return 1;
}

namespace {

// After the back-trace: 1 when more than one word left defaultRole.
int32_t MoreThanOneNamed(const CSpan *span, int32_t defaultRole) {
    if (span->count < 2) return 0;
    const uint32_t count = span->count > kSpanSlots ? kSpanSlots : span->count;
    // Only whether more than one word left the default role matters.
    int named = 0;
    for (uint32_t k = 1; k < count && named < 2; ++k)
        if (span->word[k][0] != '\0' && span->bestTag[k] != defaultRole) ++named;
    return named > 1 ? 1 : 0;
}

}  // namespace

int32_t CSpan_GetBestPOS1(CSpan *span, int32_t defaultRole) {
    if (span == nullptr) return 0;
    Trace(span);
    return MoreThanOneNamed(span, defaultRole);
}

int32_t CSpan_RoleTagging(CSpan *span, SpanWord *results, int32_t tagSet, int32_t defaultRole,
                          const SegmentEngine *engine, WordGraph *graph) {
    if (span == nullptr || results == nullptr) return 1;
    CSpan_Reset(span, 0);
    span->firstMerged = INT32_MAX;
    int32_t start = 0;
    while (!IsEmpty(results[start])) {
        const int32_t next = CSpan_GetFrom1(span, results, start, tagSet, defaultRole);
        // CSpan_GetBestPOS1, with the trace of a filled span. Runs where at
        // most one word left the default role hold no name.
        DisambFilled(span);
        TraceFilled<false>(span);
        if (MoreThanOneNamed(span, defaultRole) == 1 && engine != nullptr) {
            switch (span->tagType) {
            case 2:
                CSpan_PlaceRecognize(span, results, engine, start, graph);
                break;
            case 3:
                CSpan_OrgRecognize(span, results, engine, start, graph);
                break;
            case 1:
                CSpan_PersonRecognize(span, results, engine, start, graph);
                break;
            default:
                break;
            }
        }
        CSpan_Reset(span, 1);
        if (next < 0) break;
        start = next;
    }
    return 1;
}

namespace {

// Finishes a part-of-speech run of one slot holding one candidate (a
// settled word, the usual run: most words are settled) as the forward
// pass, back-trace, tag write and CSpan_Reset(span, 1) would, leaving the
// span in the same state: slot 0 holds one candidate (`slot0Row` is its
// wide row) and every path goes through it. The run was closed with its
// end at slot 2, so offset[2] is where the next run starts.
inline void FinishOneSlotRun(CSpan *span, SpanWord &word, const double *slot0Row,
                             const double *const *wide) {
    const double *nextRow[1];
    RelaxOne<false>(span->cand[1], span->Score(1), span->back[1], slot0Row, span->Score(0)[0], wide, nextRow);
    const uint8_t tag = span->cand[1][0];
    if (span->word[1][0] != '\0') {
        span->bestTag[1] = tag;
        span->bestTag[2] = kNoTag;
        word.tag = static_cast<int8_t>(tag);  // tag is never kNoTag here
    } else {
        span->bestTag[1] = kNoTag;
    }
    span->cand[0][0] = tag;
    span->Score(0)[0] = span->Score(1)[0];
    const int32_t next = span->offset[2];
    span->startOffset = static_cast<uint32_t>(next);
    span->offset[1] = next;
    span->count = 1;
    span->word[0][0] = '\0';
    span->length[0] = 0;
}

// Part-of-speech tags the whole word array as one run instead of runs cut
// at each settled word. A settled word has one candidate, so every path
// goes through it: the run after it starts from that candidate and its path
// cost (CSpan_Reset carries both), which is what the next slot of one long
// run relaxes from, by the same steps; and the trace of a long run passes
// through candidate 0 of each settled slot, where a cut run's trace starts.
// So the tags, costs and carried state are those of the cut runs, at one
// fill, one forward pass and one trace per array instead of per run. False,
// with nothing tagged, when the array does not fit one run or the trace
// meets a candidate without predecessor (whose back index would read on
// past a cut run's end): the caller then tags it run by run.
bool PosTagWhole(CSpan *span, SpanWord *results, const PosFill &fill) {
    const int32_t next = FillRun(span, results, 0, [&](uint32_t k, const SpanWord &w, size_t length) {
        fill(k, w, length);
        return false;
    });
    if (next >= 0) return false;  // a full run: the array goes on
    DisambFilled(span);
    if (!TraceFilled<true>(span)) return false;
    if (span->bestTag[1] < kNoTag && span->count >= 2) {
        for (uint32_t j = 0; j + 1 < span->count && j + 1 < kSpanSlots; ++j) {
            const uint8_t tag = span->bestTag[j + 1];
            if (tag == kNoTag) break;
            results[j].tag = static_cast<int8_t>(tag);
        }
    }
    CSpan_Reset(span, 1);
    return true;
}

}  // namespace

int32_t vsg::tagging::PosTagging(CSpan *span, SpanWord *results, const DictionaryS *core, bool oneSlotStep) {
    if (span == nullptr || results == nullptr) return 1;
    CSpan_Reset(span, 0);
    // The one-slot step reads the wide rows of the span's tables.
    const vsg::tagging::SpanTables *tables = span->tables;
    const double *const *wide =
        (oneSlotStep && tables != nullptr && tables->model() == span->model) ? tables->WideRows() : nullptr;
    // With the step, slot 1 is filled here as CSpan_GetFrom0 fills it, so
    // that a run of one settled word needs no more of the fill.
    const bool direct = wide != nullptr && gTaIndexNum >= 0;
    const PosFill fill(span, core);
    if (direct && !IsEmpty(results[0])) {
        if (PosTagWhole(span, results, fill)) return 1;
        CSpan_Reset(span, 0);
    }
    int32_t start = 0;
    while (!IsEmpty(results[start])) {
        int32_t next;
        if (direct) {
            const SpanWord &w = results[start];
            const size_t length = CopySlotWord(span, 1, w);
            span->offset[1] = w.offset;
            if (fill(1, w, length)) {
                span->word[2][0] = '\0';
                span->length[2] = 0;
                CloseRun(span, 2, length);
                next = start + 1;
            } else {
                next = FillRun(span, results, start, fill, &length);
            }
        } else {
            next = CSpan_GetFrom0(span, results, start, core);
        }
        // One slot with one candidate after one fixed predecessor (slot 0
        // never holds more than one).
        if (wide != nullptr && span->count == 2 && span->cand[1][0] != kNoTag && span->cand[1][1] == kNoTag &&
            span->cand[0][0] != kNoTag && span->cand[0][1] == kNoTag) {
            FinishOneSlotRun(span, results[start], wide[span->cand[0][0]], wide);
        } else {
            CSpan_GetBestPOS0(span);
            if (span->bestTag[1] < kNoTag && span->count >= 2) {
                // Record start+j is slot j+1; the word that closed the run is
                // tagged too and carries over as slot 0 of the next run.
                for (uint32_t j = 0; j + 1 < span->count && j + 1 < kSpanSlots; ++j) {
                    const uint8_t tag = span->bestTag[j + 1];
                    if (tag == kNoTag) break;
                    results[start + static_cast<int32_t>(j)].tag = static_cast<int8_t>(tag);
                }
            }
            CSpan_Reset(span, 1);
        }
        if (next < 0) break;
        start = next;
    }
    return 1;
}

int32_t CSpan_POSTagging(CSpan *span, SpanWord *results, const DictionaryS *core) {
    return vsg::tagging::PosTagging(span, results, core, true);
}

int32_t CSpan_ComputeFrequency() { return 1; }

int32_t CSpan_BinarySearch(void *unused, int32_t key, const SpanWord *results, int32_t low,
                           int32_t n) {
    (void)unused;
    if (results == nullptr) return -1;
    if (low < 0) low = 0;  // records before the array do not exist
    int32_t high = n - 1;
    while (low <= high) {
        const int32_t mid = static_cast<int32_t>((static_cast<int64_t>(low) + high) / 2);
        if (results[mid].offset == key) return mid;
        if (key > results[mid].offset)
            low = mid + 1;
        else
            high = mid - 1;
    }
    return -1;
}
