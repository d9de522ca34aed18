// The word cutter: a best-path search over the words of the core
// dictionary, with unigram costs taken from the dictionary's counts.
#ifndef VSGLEX_SRC_FRONT_LEXICON_H
#define VSGLEX_SRC_FRONT_LEXICON_H

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "common/huge_pages.h"
#include "front/atoms.h"
#include "vsglex/model.h"

namespace vsg::front {

// How the lexicon is built from the core dictionary.
struct LexiconOptions {
    // Words that the dictionary tags mostly as person names are kept as
    // words only when they have at least this many characters; shorter ones
    // are left out so that the characters of an unknown name next to them
    // reach the recognisers one by one. 0 keeps them all.
    int minPersonWordChars = 3;
};

// One word of a word list the lexicon is built from: its text (GB) and how
// often it was seen, in all and as a person name.
struct LexiconWord {
    std::string_view text;
    double count = 0.0;
    double personCount = 0.0;
};

// How often the corpus wrote a dictionary entry as a word: the sum over its
// part-of-speech rows (code 0) of exp(value).
inline double EntryWordCount(const DictSEntry &entry) {
    double count = 0.0;
    for (int32_t r = 0; entry.posList != nullptr && r < entry.posCount; ++r)
        if (entry.posList[r].code == 0 && std::isfinite(entry.posList[r].value))
            count += std::exp(static_cast<double>(entry.posList[r].value));
    return count;
}

// Longest dictionary word (in atoms, capped) that starts at, ends at and
// strictly covers each atom, and how frequent the longest word starting
// there is. See Lexicon::MarkWords.
struct WordMarks {
    uint8_t starts = 0;
    uint8_t ends = 0;
    uint8_t inside = 0;
    uint8_t startCost = 0;  // cost class of the longest word starting here
    // 1 + cost class of the word of 2, 3 and 4 atoms ending here (0: none).
    uint8_t endCost[3] = {0, 0, 0};
};
// Cost classes of WordMarks: whole units of the word's cost (the negative
// log of its share of all words), capped.
inline constexpr uint8_t kWordCostClasses = 16;

// One feature of the model cutter (segmodel.h): its key and the first atom
// its rows score (may lie before the run; rows outside it are ignored).
struct SegFeature {
    uint64_t key;
    int32_t position;
};

// Per-thread working memory of Lexicon::Cut and SegModel::Cut.
struct CutScratch {
    std::vector<double> cost;
    std::vector<uint32_t> back;
    // The model cutter's atom keys, feature keys and their weight rows,
    // word marks, features, label scores, back pointers and labels.
    std::vector<uint64_t> ids;
    std::vector<uint64_t> keys;
    std::vector<uint32_t> offsets;
    std::vector<WordMarks> marks;
    std::vector<SegFeature> features;
    std::vector<int32_t> score;
    std::vector<int32_t> wordScore;
    std::vector<uint8_t> path;
    std::vector<uint8_t> labels;
};

// A read-only word lexicon with costs; safe to share between threads.
class Lexicon {
public:
    // Builds the lexicon from every entry with part-of-speech (code 0) rows.
    // Returns false when the dictionary holds no such word.
    bool Build(const DictionaryS &dict, const LexiconOptions &options = {});
    // Builds the lexicon from a word list (the trainer's counts), with the
    // same rules as Build. Returns false when no word is usable.
    bool Build(const std::vector<LexiconWord> &words, const LexiconOptions &options = {});
    // Cuts atoms[0..n) of `text` into words and appends the atom index just
    // past each word to `ends` (so the last value is n). Space atoms must not
    // be among the atoms.
    void Cut(const char *text, const Atom *atoms, size_t n, std::vector<uint32_t> &ends,
             CutScratch &scratch) const;
    // For every atom of atoms[0..n), the lengths (capped at `cap` atoms) of
    // the longest word of two or more atoms starting there, ending there and
    // covering it with atoms on both sides, the cost class of the longest
    // word starting there and those of the words of 2-4 atoms ending there;
    // marks gets n entries.
    void MarkWords(const char *text, const Atom *atoms, size_t n, uint8_t cap, WordMarks *marks) const;
    // Whether the GB `text` of `length` bytes, of two or more atoms, is a
    // word of the lexicon (then the core dictionary has part-of-speech rows
    // for it). One probe of a table the cutter keeps warm.
    bool HasWord(const char *text, size_t length) const;

private:
    // One key: keys of up to 8 bytes are held in the slot itself (most
    // words), longer ones in keys_, so a probe usually touches one line.
    struct Slot {
        uint64_t inlineKey;  // the key's bytes, zero-padded, when length <= 8
        uint32_t hash;
        uint32_t offset;     // key bytes in keys_ when length > 8
        uint16_t length;     // 0: empty slot
        uint8_t isWord;
        uint8_t unused;
        float cost;
    };
    bool SameKey(const Slot &s, uint64_t inlineKey, const char *key, size_t length) const;
    const Slot *Find(uint32_t hash, const char *key, size_t length) const;
    void Insert(uint32_t hash, const char *key, size_t length, bool isWord, float cost);
    void Grow();

    // Index of a one- or two-byte atom in the direct tables, or -1.
    static int DirectIndex(const char *text, const Atom &a);
    // Bloom filter over the hashes of keys of two or more atoms: a probe
    // that misses here needs no look-up in the (larger) table.
    bool MayHold(uint32_t hash) const;

    vsg::HugeTable<Slot> slots_;
    std::string keys_;
    std::vector<float> directCost_;     // cost of a one-atom word, or -1
    std::vector<uint8_t> directLonger_; // 1 if a longer key begins with the atom
    std::vector<uint64_t> bloom_;
    size_t used_ = 0;
    size_t words_ = 0;
    size_t maxBytes_ = 0;
    double unknownCost_ = 20.0;  // a Chinese or other character the lexicon lacks
    double runCost_ = 10.0;      // a number or letter run the lexicon lacks
};

}  // namespace vsg::front

#endif  // VSGLEX_SRC_FRONT_LEXICON_H
