// The trained word cutter: every atom of a run gets one of eight labels
// (first, second, third atom of a word, a later middle atom, the last atom,
// a single-atom word, first and later character of a name) from a linear
// model over features of the atoms around it, searched with first-order
// label transitions. The model file "segment.mdl" is written by
// vsglex-train; the features are defined here once for the trainer and the
// cutter.
#ifndef VSGLEX_SRC_FRONT_SEGMODEL_H
#define VSGLEX_SRC_FRONT_SEGMODEL_H

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "common/huge_pages.h"
#include "front/atoms.h"
#include "front/lexicon.h"

namespace vsg::front {

// File name of the model in a model set.
inline constexpr const char *kSegModelFile = "segment.mdl";

// Labels of an atom: first, second and third atom of a word of three or
// more atoms (kSegBegin2 and kSegBegin3 only when more atoms follow), a
// later middle atom, the last atom, a word alone; and the first and a later
// character of a name that the engine's recognisers build from single
// characters (each such character is a word alone). Telling the first
// middle atoms apart lets the model learn how long words are; the name
// labels keep single name characters apart from real one-atom words, so
// that an unfamiliar run is not taught to be single characters.
enum SegLabel : uint8_t {
    kSegBegin = 0,
    kSegBegin2 = 1,
    kSegBegin3 = 2,
    kSegMiddle = 3,
    kSegEnd = 4,
    kSegSingle = 5,
    kSegNameFirst = 6,
    kSegNameLater = 7
};
inline constexpr int kSegLabels = 8;

// Whether a word ends at an atom of this label.
constexpr bool SegLabelCloses(int label) { return label >= kSegEnd; }
// Whether a word starts at an atom of this label.
constexpr bool SegLabelStartsWord(int label) { return label == kSegBegin || label >= kSegSingle; }

// Gold label of atom `i` (0-based) of a word of `length` atoms.
constexpr uint8_t SegLabelAt(size_t i, size_t length) {
    if (length == 1) return kSegSingle;
    if (i + 1 == length) return kSegEnd;
    return i == 0 ? kSegBegin : i == 1 ? kSegBegin2 : i == 2 ? kSegBegin3 : kSegMiddle;
}

// Feature templates. A feature is a group of rows of kSegLabels weights
// (one per label); row r of a group found at position p scores the atom p + r.
enum SegTemplate : uint8_t {
    kSegUnigram = 0,  // atom k: rows for atoms k-2 .. k+2
    kSegBigram,       // atoms k, k+1: rows for atoms k-1 .. k+2
    kSegSkip,         // atoms k-1, k+1: row for atom k
    kSegClasses,      // classes of atoms k-1, k, k+1
    kSegDictStart,    // longest dictionary word starting at k
    kSegDictEnd,      // longest dictionary word ending at k
    kSegDictInside,   // longest dictionary word covering k on both sides
    kSegDictAll,      // the three dictionary lengths together with k's class
    kSegTrigram,      // atoms k-1, k, k+1
    kSegDictAtom,     // atom k with the longest words starting and ending there
    kSegDictStartCost,  // longest word starting at k with its cost class
    // Word features: they score a whole candidate word of 2..kSegWordMax
    // atoms ending at k (lane 0 of their one row), not the labels of atoms.
    kSegWord,           // the dictionary word itself (its atoms and length)
    kSegWordCost,       // the candidate's length with its dictionary cost class (0: no word)
    kSegTemplates
};
inline constexpr uint8_t kSegTemplateRows[kSegTemplates] = {5, 4, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1};
// Whether a template scores whole words rather than atom labels.
constexpr bool SegWordTemplate(int t) { return t == kSegWord || t == kSegWordCost; }
// Candidate words with word features have 2..kSegWordMax atoms: the
// labels before E tell these lengths apart (B E, B B2 E, B B2 B3 E), so
// the label search adds a word's score on the transition into its E.
inline constexpr int kSegWordMax = 4;
inline constexpr int kSegWordLengths = kSegWordMax - 1;
static_assert(kSegTemplates < 15, "a key keeps its template in four bits, a table slot template + 1");
// Dictionary word lengths (atoms) are capped at this value.
inline constexpr uint8_t kSegDictCap = 5;

// Key of a feature: a hash of the template and two values, with the
// template in the low four bits.
uint64_t SegFeatureKey(SegTemplate t, uint64_t a, uint64_t b);
// Template of a key.
inline SegTemplate SegKeyTemplate(uint64_t key) { return static_cast<SegTemplate>(key & 15u); }

// The features of atoms[0..n) of `text`. Half-width ASCII atoms have the
// keys of their full-width forms. `marks` are the lexicon's word marks of the
// run (capped at kSegDictCap). `ids` is working memory.
void SegFeatures(const char *text, const Atom *atoms, size_t n, const WordMarks *marks, std::vector<uint64_t> &ids,
                 std::vector<SegFeature> &out);

// A word feature: its key, the atom the word ends at and its length.
struct SegWordFeature {
    uint64_t key;
    uint32_t end;
    uint8_t length;
};

// The word features of atoms[0..n): for every candidate of 2..kSegWordMax
// atoms its length with its cost class, and for the dictionary words among
// them (`marks`, Lexicon::MarkWords) their identity, with `context` also
// the word with the atom before it and with the atom after it. `ids` is
// working memory. The cutter looks up all of these; a model trained
// without some holds none of them.
void SegWordFeatures(const char *text, const Atom *atoms, size_t n, const WordMarks *marks, std::vector<uint64_t> &ids,
                     std::vector<SegWordFeature> &out, bool context = true);

// Whether `labels` hold a word of `length` (2..kSegWordMax) atoms ending at
// atom `end`.
static_assert(kSegBegin == 0 && kSegBegin2 == 1 && kSegBegin3 == 2, "the label before E is the word's length less two");
inline bool SegWordAt(const uint8_t *labels, size_t end, int length) {
    return labels[end] == kSegEnd && labels[end - 1] == length - 2;
}

// Whether label `next` may follow label `prev` (a word is S, B E, B B2 E,
// B B2 B3 E or B B2 B3 M* E; a name is NF NL*, each of its characters a
// word alone).
constexpr bool SegTransitionAllowed(int prev, int next) {
    switch (prev) {
    case kSegBegin: return next == kSegBegin2 || next == kSegEnd;
    case kSegBegin2: return next == kSegBegin3 || next == kSegEnd;
    case kSegBegin3:
    case kSegMiddle: return next == kSegMiddle || next == kSegEnd;
    case kSegNameFirst:
    case kSegNameLater: return next == kSegBegin || next >= kSegSingle;
    default: return next == kSegBegin || next == kSegSingle || next == kSegNameFirst;
    }
}

// Whether a run may start with this label.
constexpr bool SegLabelOpens(int label) {
    return label == kSegBegin || label == kSegSingle || label == kSegNameFirst;
}

// The labels that may precede each label, in ascending order (the search
// visits only these).
inline constexpr uint8_t kSegPredecessors[kSegLabels][4] = {
    {kSegEnd, kSegSingle, kSegNameFirst, kSegNameLater},
    {kSegBegin},
    {kSegBegin2},
    {kSegBegin3, kSegMiddle},
    {kSegBegin, kSegBegin2, kSegBegin3, kSegMiddle},
    {kSegEnd, kSegSingle, kSegNameFirst, kSegNameLater},
    {kSegEnd, kSegSingle, kSegNameFirst, kSegNameLater},
    {kSegNameFirst, kSegNameLater}};
inline constexpr uint8_t kSegPredecessorCount[kSegLabels] = {4, 1, 1, 2, 4, 4, 4, 2};
constexpr bool SegPredecessorsMatchTransitions() {
    for (int l = 0; l < kSegLabels; ++l)
        for (int p = 0, k = 0; p < kSegLabels; ++p) {
            bool listed = k < kSegPredecessorCount[l] && kSegPredecessors[l][k] == p;
            if (listed != SegTransitionAllowed(p, l)) return false;
            if (listed) ++k;
        }
    return true;
}
static_assert(SegPredecessorsMatchTransitions(), "the predecessor lists follow SegTransitionAllowed");

// Best label sequence under per-atom scores (n x kSegLabels) and transition
// scores, over the allowed transitions only (first label B, S or NF, last
// one that closes a word). `words`, when given (n x kSegWordLengths), adds
// the score of the word of 2, 3, 4 atoms ending at an atom labelled E.
// `back` is working memory. Ties go to the lower label, so the result is
// the same on every machine.
template <typename Score, typename Sum>
void SegViterbi(const Score *scores, size_t n, const Score (&transitions)[kSegLabels][kSegLabels],
                std::vector<uint8_t> &labels, std::vector<uint8_t> &back, const Score *words = nullptr) {
    labels.assign(n, kSegSingle);
    if (n == 0) return;
    back.assign(n * kSegLabels, 0);
    constexpr Sum kNone = std::numeric_limits<Sum>::lowest();
    Sum cur[kSegLabels], next[kSegLabels];
    for (int l = 0; l < kSegLabels; ++l)
        cur[l] = SegLabelOpens(l) ? static_cast<Sum>(scores[l]) : kNone;
    for (size_t i = 1; i < n; ++i) {
        // Unrolled: the label and predecessor loops have constant bounds.
#pragma GCC unroll 8
        for (int l = 0; l < kSegLabels; ++l) {
            Sum best = kNone;
            uint8_t arg = 0;
#pragma GCC unroll 4
            for (int k = 0; k < kSegPredecessorCount[l]; ++k) {
                const int p = kSegPredecessors[l][k];
                if (cur[p] == kNone) continue;
                Sum v = cur[p] + static_cast<Sum>(transitions[p][l]);
                // B, B2, B3 before E: a word of p + 2 atoms.
                if (words != nullptr && l == kSegEnd && p <= kSegBegin3)
                    v += static_cast<Sum>(words[i * kSegWordLengths + p]);
                if (best == kNone || v > best) {
                    best = v;
                    arg = static_cast<uint8_t>(p);
                }
            }
            next[l] = best == kNone ? kNone : best + static_cast<Sum>(scores[i * kSegLabels + l]);
            back[i * kSegLabels + l] = arg;
        }
        for (int l = 0; l < kSegLabels; ++l) cur[l] = next[l];
    }
    // The last label: S unless another closing label scores higher (the
    // first of them on a tie).
    int last = kSegSingle;
    for (int l : {kSegEnd, kSegNameFirst, kSegNameLater})
        if (cur[l] != kNone && (cur[last] == kNone || cur[l] > cur[last])) last = l;
    for (size_t i = n; i-- > 0;) {
        labels[i] = static_cast<uint8_t>(last);
        last = back[i * kSegLabels + last];
    }
}

// The weights of a trained model before quantisation, for the writer.
struct SegGroup {
    uint64_t key;
    std::vector<float> weights;  // kSegTemplateRows[template] * kSegLabels
};

// Encodes a model file: groups (any order; keys unique) and the transition
// weights, quantised to 16 bits with one scale. Deterministic.
std::string EncodeSegModel(std::vector<SegGroup> groups, const float transitions[kSegLabels][kSegLabels]);

// Size of the model file's header.
inline constexpr size_t kSegHeaderBytes = 24 + 4 * kSegLabels * kSegLabels + 8;

// Checksum of a model file's bytes after the header, as the header holds it.
uint64_t SegChecksum(const uint8_t *data, size_t size);

// A loaded model; read-only and shareable between threads once loaded.
class SegModel {
public:
    // Loads a model file; false with the reason in `error` (which names the
    // file) when it is missing, not a regular file, truncated or damaged.
    bool Load(const std::string &path, std::string *error);
    // Loads a model from bytes; false with the reason in `error`.
    bool LoadBytes(const uint8_t *data, size_t size, std::string *error);
    bool Loaded() const { return !slots_.empty(); }
    // Number of feature groups held.
    size_t Groups() const { return groups_; }

    // Cuts atoms[0..n) (no space atoms) and appends the atom index just past
    // each word to `ends`, like Lexicon::Cut. `lexicon` gives the dictionary
    // features.
    void Cut(const char *text, const Atom *atoms, size_t n, const Lexicon &lexicon, std::vector<uint32_t> &ends,
             CutScratch &scratch) const;

    // Forbids in `score` (n x kSegLabels) the labels the cut must not take
    // whatever the model says: a web or e-mail address is a word alone, and
    // a run of letters or digits after a Chinese character starts a word
    // unless a dictionary word holds both (`marks` from Lexicon::MarkWords).
    // Cut applies it between Score and Labels.
    static void FixBoundaries(const char *text, const Atom *atoms, size_t n, const WordMarks *marks, int32_t *score);

    // Label scores (n x kSegLabels) of atoms[0..n) into scratch.score: the cutter's
    // own path, with direct tables for one- and two-byte atoms and for the
    // small templates.
    void Score(const char *text, const Atom *atoms, size_t n, const Lexicon &lexicon, CutScratch &scratch) const;
    // The same scores from a feature list by plain look-ups (reference for
    // the tests).
    void ScoreFeatures(const std::vector<SegFeature> &features, size_t n, std::vector<int32_t> &score) const;
    // Best labels under scores (n x kSegLabels) and the model's transitions.
    // The same labels as SegViterbi<int32_t, int64_t>, by a search written
    // out for the eight labels.
    // `words` (n x kSegWordLengths, or null) adds the scores of whole words
    // as SegViterbi does.
    void Labels(const int32_t *score, size_t n, std::vector<uint8_t> &labels, std::vector<uint8_t> &back,
                const int32_t *words = nullptr) const;
    // Whether the model holds word features; then Score also fills
    // scratch.wordScore (n x kSegWordLengths).
    bool HasWordFeatures() const { return hasWords_; }
    // The word scores from a word feature list by plain look-ups (reference
    // for the tests).
    void ScoreWordFeatures(const std::vector<SegWordFeature> &features, size_t n, std::vector<int32_t> &score) const;
    int32_t Transition(int prev, int next) const { return transitions_[prev][next]; }

private:
    // Rows of label weights are kSegLabels int16 weights each, as in the
    // file. Rows 0 .. kZeroRows-1 are zero: a feature that is not in the
    // model has offset 0, and adding any of its rows adds nothing.
    static constexpr uint32_t kZeroRows = [] {
        uint32_t m = 0;
        for (uint8_t r : kSegTemplateRows) m = r > m ? r : m;
        return m;
    }();
    // Weights after the last row, so that every row can be read as a vector
    // of eight (none while a row is eight labels wide).
    static constexpr size_t kTailWeights = 8 - kSegLabels;
    static_assert(kSegLabels <= 8, "a row is read as one vector of eight weights");
    static constexpr uint32_t kNone = 0;

    // Weights of a key's group, or null.
    const int16_t *Find(uint64_t key) const;
    // Fills the direct tables after a load.
    void BuildDirect();
    // Offset of a key's weights in weights_, or kNone.
    uint32_t OffsetOf(uint64_t key) const;
    // Word scores (n x kSegWordLengths) of a run from its atom keys and marks.
    void ScoreWords(size_t n, const uint64_t *id, const WordMarks *marks, std::vector<int32_t> &out) const;

    vsg::HugeTable<uint64_t> slots_;  // fingerprint << 32 | offset in weights_; 0: empty
    vsg::HugeTable<int16_t> weights_;  // kZeroRows zero rows, the file's rows, kTailWeights zeros
    // Weight offsets (or kNone) of the unigrams of one- and two-byte atoms
    // (by their bytes), of the four padding atoms, and of the class and
    // dictionary templates by value.
    std::vector<uint32_t> unigram_;
    uint32_t padUnigram_[4] = {kNone, kNone, kNone, kNone};
    std::vector<uint32_t> classes_;
    std::vector<uint32_t> dict_[4];
    std::vector<uint32_t> startCost_;  // by length * kWordCostClasses + cost class
    std::vector<uint32_t> wordCost_;   // by length * 32 + 1 + cost class (0: no word)
    bool hasWords_ = false;
    int32_t transitions_[kSegLabels][kSegLabels] = {};
    // One bit per fingerprint hash of the groups held: a key whose bit is
    // clear is not in the table, which is then not read (most keys of a
    // text are not in the model, and the table is larger than the caches).
    static constexpr uint32_t kPresentBits = 21;
    static uint32_t PresentBit(uint32_t fingerprint) { return (fingerprint * 0x9E3779B1u) >> (32 - kPresentBits); }
    bool MayHold(uint32_t fingerprint) const {
        const uint32_t bit = PresentBit(fingerprint);
        return (present_[bit >> 6] >> (bit & 63)) & 1;
    }
    std::vector<uint64_t> present_;
    uint64_t mask_ = 0;
    size_t groups_ = 0;
};

}  // namespace vsg::front

#endif  // VSGLEX_SRC_FRONT_SEGMODEL_H
