// The tagging span: Viterbi search over one run of a sentence's word array,
// for the part-of-speech tag set and the three name role sets.
#ifndef VSGLEX_SRC_TAGGING_SPAN_H
#define VSGLEX_SRC_TAGGING_SPAN_H

#include <cstddef>
#include <cstdint>

#include "vsglex/engine.h"
#include "vsglex/model.h"
#include "vsglex/types.h"
#include "vsglex/utility.h"

namespace vsg::tagging {
class SpanTables;
}

// Word slots of a span; slot 0 carries the previous run's last word.
constexpr int kSpanSlots = 200;
// Bytes per candidate row: at most 19 candidates and the 255 terminator.
constexpr int kSpanCands = 20;
// Terminator of candidate rows and best-tag arrays; never a tag.
constexpr uint8_t kNoTag = VSG_UNTAGGED;
// Bytes a span keeps of each slot's word: its first bytes, NUL-terminated
// (the whole word when it is shorter than this). What the span asks of a
// word (empty, a boundary word, the times sign, the middle dot) is decided
// by these bytes and its length, which is kept apart.
constexpr int kSlotText = 8;

// The tagging span of one run: candidate tags, costs and best tags of up to
// 200 word slots, all inside one fixed-size record.
struct CSpan {
    const ContextStat *model;   // context model of the tag type; not owned
    // Tables of the tag type built from `model` and the core dictionary, or
    // null (the span then reads the model and the rows); not owned.
    const vsg::tagging::SpanTables *tables;
    uint32_t tagType;           // 0 part of speech, 1 person, 2 place, 3 organisation
    uint32_t startOffset;       // byte offset of the run in its sentence
    uint8_t bestTag[kSpanSlots];  // chosen tag of each slot, kNoTag after the last
    // Text (or class word) of each slot, cut to kSlotText - 1 bytes; eight
    // slots' words lie in a cache line instead of one, since every fill
    // writes them.
    char word[kSpanSlots][kSlotText];
    uint8_t length[kSpanSlots];   // byte length of each slot's whole word
    int32_t offset[kSpanSlots];   // byte offset of each slot's word
    uint8_t cand[kSpanSlots][kSpanCands];  // candidate tags, ended by kNoTag
    uint8_t back[kSpanSlots][kSpanCands];  // best predecessor of each candidate
    uint32_t count;             // slots in use, slot 0 included
    // Candidate costs, then path costs: slot k's at Score(k), one per
    // candidate. A fill packs the slots' costs one after another (slot k+1
    // starts after slot k's candidates, so that the many slots of one
    // candidate share lines); a new span spaces them kSpanCands apart.
    uint16_t scoreAt[kSpanSlots];
    double scores[kSpanSlots * kSpanCands];
    double *Score(uint32_t k) { return scores + scoreAt[k]; }
    const double *Score(uint32_t k) const { return scores + scoreAt[k]; }
    // The lowest record of the word array that the recognisers marked merged
    // since CSpan_RoleTagging began, INT32_MAX when none.
    int32_t firstMerged;
};

namespace vsg::tagging {
// Puts the `length` bytes of `text` as the word of slot k (see CSpan.word).
void SetSlotWord(CSpan *span, uint32_t k, const char *text, size_t length);
}  // namespace vsg::tagging

// Creates a span ready for a new sentence, or null when memory is short.
CSpan *CSpan_new();
// Frees a span; null is accepted.
void CSpan_delete(CSpan *span);
// Sets the tag type (0 part of speech, 1 person, 2 place, 3 organisation).
void CSpan_SetTagType(CSpan *span, uint32_t type);
// Readies the span for a new sentence (carry 0) or the next run (carry 1).
int32_t CSpan_Reset(CSpan *span, int32_t carry);
// Fills slots 1.. for role tagging from records start..; next run start or -1.
int32_t CSpan_GetFrom1(CSpan *span, SpanWord *results, int32_t start, int32_t tagSet,
                       int32_t defaultRole);
// Fills slots 1.. with part-of-speech candidates; next run start or -1.
int32_t CSpan_GetFrom0(CSpan *span, SpanWord *results, int32_t start, const DictionaryS *core);
// Forward pass of the Viterbi search; returns 1.
int32_t CSpan_Disamb(CSpan *span);
// Forward pass and back-trace; returns 1.
int32_t CSpan_GetBestPOS0(CSpan *span);
// Forward pass and back-trace; 1 when more than one word left defaultRole.
int32_t CSpan_GetBestPOS1(CSpan *span, int32_t defaultRole);
// Gives slot k one guessed candidate; *flag becomes the candidate count.
int32_t CSpan_RoleGuess(CSpan *span, int32_t k, int32_t *flag, int32_t defaultRole);
// Role-tags a sentence and runs the recogniser of the span's tag type.
int32_t CSpan_RoleTagging(CSpan *span, SpanWord *results, int32_t tagSet, int32_t defaultRole,
                          const SegmentEngine *engine, WordGraph *graph);
// Part-of-speech tags every word of a sentence in place.
int32_t CSpan_POSTagging(CSpan *span, SpanWord *results, const DictionaryS *core);
namespace vsg::tagging {
// CSpan_POSTagging, with or without its step for runs of one settled word
// (taken only when the span has its tables): both give the same tags and
// leave the span in the same state.
int32_t PosTagging(CSpan *span, SpanWord *results, const DictionaryS *core, bool oneSlotStep);
}  // namespace vsg::tagging
// Does nothing; returns 1.
int32_t CSpan_ComputeFrequency();
// Index of the record in [low, n) whose offset equals key, or -1.
int32_t CSpan_BinarySearch(void *unused, int32_t key, const SpanWord *results, int32_t low,
                           int32_t n);
// BinarySearch_0 and Getchar are exported text utilities (src/text),
// declared with C linkage in vsglex/utility.h.

// Recognisers: each reads the best roles of the run that starts at record
// `start` and merges name words of `results` in place (absorbed records get
// state 250); `graph`, when given, receives the new name words. Return 1.

// Person names (role map "nr.map"): pattern table and transliterated names.
int32_t CSpan_PersonRecognize(CSpan *span, SpanWord *results, const SegmentEngine *engine,
                              int32_t start, WordGraph *graph);
// Place names (role map "ns.map"): suffix and non-suffix place forms.
int32_t CSpan_PlaceRecognize(CSpan *span, SpanWord *results, const SegmentEngine *engine,
                             int32_t start, WordGraph *graph);
// Organisation names (role map "nt.map"): body words closed by a suffix.
int32_t CSpan_OrgRecognize(CSpan *span, SpanWord *results, const SegmentEngine *engine,
                           int32_t start, WordGraph *graph);

#endif  // VSGLEX_SRC_TAGGING_SPAN_H
