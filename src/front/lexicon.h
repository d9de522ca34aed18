// The word cutter: a best-path search over the words of the core
// dictionary, with unigram costs taken from the dictionary's counts.
#ifndef VSGLEX_SRC_FRONT_LEXICON_H
#define VSGLEX_SRC_FRONT_LEXICON_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "front/atoms.h"
#include "vsglex/model.h"

namespace vsg::front {

// How the lexicon is built from the core dictionary.
struct LexiconOptions {
    // Keep words of two or more characters that the dictionary tags mostly
    // as person names (given names such as a two-character given name).
    // Left out by default, so that unknown names reach the recognisers as
    // single characters.
    bool keepPersonFragments = false;
};

// Per-thread working memory of Lexicon::Cut.
struct CutScratch {
    std::vector<double> cost;
    std::vector<uint32_t> back;
};

// A read-only word lexicon with costs; safe to share between threads.
class Lexicon {
public:
    // Builds the lexicon from every entry with part-of-speech (code 0) rows.
    // Returns false when the dictionary holds no such word.
    bool Build(const DictionaryS &dict, const LexiconOptions &options = {});
    // Cuts atoms[0..n) of `text` into words and appends the atom index just
    // past each word to `ends` (so the last value is n). Space atoms must not
    // be among the atoms.
    void Cut(const char *text, const Atom *atoms, size_t n, std::vector<uint32_t> &ends,
             CutScratch &scratch) const;
    // Cost of a word (negative log of its relative count), or a negative
    // value when the lexicon does not hold it as a word.
    double WordCost(const char *word, size_t length) const;
    // Number of words held.
    size_t WordCount() const { return words_; }
    // Number of words left out as person-name fragments.
    size_t PersonFragments() const { return fragments_; }

private:
    struct Slot {
        uint32_t hash;
        uint32_t offset;  // key bytes in keys_
        uint16_t length;  // 0: empty slot
        uint8_t isWord;
        uint8_t unused;
        float cost;
    };
    const Slot *Find(uint32_t hash, const char *key, size_t length) const;
    void Insert(uint32_t hash, const char *key, size_t length, bool isWord, float cost);
    void Grow();

    std::vector<Slot> slots_;
    std::string keys_;
    size_t used_ = 0;
    size_t words_ = 0;
    size_t fragments_ = 0;
    size_t maxBytes_ = 0;
    double unknownCost_ = 20.0;  // a Chinese or other character the lexicon lacks
    double runCost_ = 10.0;      // a number or letter run the lexicon lacks
};

}  // namespace vsg::front

#endif  // VSGLEX_SRC_FRONT_LEXICON_H
