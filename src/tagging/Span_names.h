// Shared pieces of the person, place and organisation recognisers: the role
// string of a run, a bounded name buffer, writing a merged name record and
// linking it into a caller's word graph.
#ifndef VSGLEX_SRC_TAGGING_SPAN_NAMES_H
#define VSGLEX_SRC_TAGGING_SPAN_NAMES_H

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "tagging/Span.h"
#include "vsglex/engine.h"
#include "vsglex/model.h"
#include "vsglex/types.h"

namespace vsg::names {

// Longest name, in bytes, that a recogniser writes into a record.
constexpr size_t kMaxNameBytes = 32;

// Number of live records of a word array: the index of its end record (the
// first with an empty text), or VSG_SPAN_WORDS when none of the first 200
// records is empty. Records at and past this index are never written.
int32_t ArrayLength(const SpanWord *results);

// The best roles of a run as one letter per slot: letter[0] is the lead
// letter, letter[i] the first byte of the role text of bestTag[i]. Slots
// stop at the best-tag end mark, at slot 199, and where the slot's record
// (start + i - 1) would lie at or past the array's end record.
struct RoleString {
    char letter[kSpanSlots + 8];  // NUL after the last letter, and padding
    int32_t n;                    // letters, the lead included

    // Letter at i, or NUL outside the string.
    char At(int32_t i) const { return (i >= 0 && i < n) ? letter[i] : '\0'; }
    // Whether the letters at i begin with `pattern`.
    bool HasAt(int32_t i, const char *pattern) const;
    // The same for a pattern of `len` letters; inline, for the scans that try
    // many patterns at every position.
    bool HasAt(int32_t i, const char *pattern, size_t len) const {
        return i >= 0 && i <= n && static_cast<size_t>(n - i) >= len && letter[i] == pattern[0] &&
               std::memcmp(letter + i, pattern, len) == 0;
    }
};

// The role letters that can begin a person name and a place form: a run
// whose best roles hold none of them has nothing to recognise.
inline constexpr char kPersonOpening[] = "CDFGIJLO";
inline constexpr char kPlaceOpening[] = "SCH";

// The tags whose line in `map` begins with one of `letters`, as a 256-bit
// set (a tag the map has no text for has no letter).
void LetterTagSet(const POSmap *map, const char *letters, uint64_t (&tags)[4]);

// Whether some best role of the run held in `span` (slots 1.. before the
// first end mark, at most slot 199) maps to one of `letters` in `map`. The
// role string of the run holds a prefix of these roles' letters, so when
// this is false none of its letters is one of `letters`. The tag set comes
// from the span's tables when they hold it for this map and these letters
// (SpanTables::LetterTags), else from the map.
bool AnyRoleLetter(const CSpan *span, const POSmap *map, const char *letters);

// Builds the role string of the run held in `span` (see RoleString).
void BuildRoleString(const CSpan *span, const POSmap *map, char lead, int32_t start,
                     int32_t arrayLength, RoleString *out);

// Whether a NUL-terminated text field (of a record's 128 bytes at most)
// equals the GB string `word`. Most texts differ in their first byte, which
// is compared first.
inline bool IsWord(const char *text, const char *word) {
    return text[0] == word[0] && std::strncmp(text, word, sizeof(SpanWord{}.text)) == 0;
}

// Length of a record text (at most the 128 bytes of the field).
size_t TextLength(const char *text);

// A name joined from record texts. Appends that would not fit are dropped
// and mark the buffer as overflowed; Length() then reports more than any
// name limit the recognisers use.
class NameBuffer {
public:
    // Capacity: room for a 1000-byte run name plus one more record text.
    static constexpr size_t kCapacity = 1200;

    // Empties the buffer.
    void Clear() {
        length_ = 0;
        overflow_ = false;
        text_[0] = '\0';
    }
    // Appends a record text.
    void Append(const char *text);
    // Length in bytes; kCapacity when an append was dropped.
    size_t Length() const { return overflow_ ? kCapacity : length_; }
    // Whether nothing was appended since the last Clear.
    bool Empty() const { return length_ == 0 && !overflow_; }
    // The joined text, NUL-terminated.
    const char *Text() const { return text_; }

private:
    char text_[kCapacity + 1] = {};
    size_t length_ = 0;
    bool overflow_ = false;
};

// Class word and statistics written into a new name record.
struct NameClass {
    const char *classText;  // GB class word
    int32_t tag;
    uint32_t frequency;
    double weight;
};

// Which class word's core dictionary entry a name record borrows rows from.
enum class CoreClass { kPerson, kPlace, kOrganisation };

// Turns `record` into a name record: `name` as its text (kept when null),
// the class word, tag, frequency, weight and offset, and the posCount, stats
// and posList of the core dictionary's class entry (none when the dictionary
// lacks it).
void WriteNameRecord(SpanWord *record, const char *name, const NameClass &values,
                     int32_t offset, const DictionaryS *core, CoreClass coreClass);

// Marks records first .. first+count-1 as merged (state 250), stopping at
// the array's end.
void MarkMerged(SpanWord *results, int32_t arrayLength, int32_t first, int32_t count);

// State shared by the recognisers' scans: the tagged run, the sentence's
// word array and its live length, the engine, the run's first record and
// the caller's graph (null from the pipeline).
class RunScan {
public:
    RunScan(CSpan *span, SpanWord *results, const SegmentEngine *engine, int32_t start,
            WordGraph *graph)
        : span_(span), results_(results), engine_(engine), start_(start), graph_(graph),
          arrayLength_(ArrayLength(results)) {}

protected:
    // MarkMerged over the scan's array, noted in the span (firstMerged).
    void Merge(int32_t first, int32_t count) {
        MarkMerged(results_, arrayLength_, first, count);
        const int32_t from = first > 0 ? first : 0;
        if (count > 0 && from < first + count && from < arrayLength_ && from < span_->firstMerged)
            span_->firstMerged = from;
    }

    CSpan *span_;
    SpanWord *results_;
    const SegmentEngine *engine_;
    int32_t start_;
    WordGraph *graph_;
    int32_t arrayLength_;
};

// Links a new name record into a caller's word graph. Vertex k of the graph
// stands for record k of the word array (the caller inserted the sentence's
// words in order); the name becomes a new vertex with an arc from the
// nearest earlier record that is not merged, and an arc to `nextRecord`
// (when it is a live record); an arc is added only when both of its records
// already have vertices. Arc costs are GetTransitionProb1 over an empty
// transition table pair, which gives every pair the model's default cost
// (11.0285): the engine loads no word-pair table.
void LinkIntoGraph(WordGraph *graph, const SpanWord *results, int32_t arrayLength,
                   int32_t nameRecord, int32_t nextRecord);

}  // namespace vsg::names

#endif  // VSGLEX_SRC_TAGGING_SPAN_NAMES_H
