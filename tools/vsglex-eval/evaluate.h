// Scoring of the segmentation call against tagged corpus paragraphs.
#ifndef VSGLEX_TOOLS_EVAL_EVALUATE_H
#define VSGLEX_TOOLS_EVAL_EVALUATE_H

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "corpus.h"
#include "vsglex/engine.h"

namespace vsgeval {

// Counts of one name class.
struct NameScore {
    int64_t gold = 0;       // names in the corpus
    int64_t predicted = 0;  // output words carrying the class's tags
    int64_t found = 0;      // predicted words that cover a gold name exactly
    int64_t goldOneChar = 0;  // gold names of one character
    int64_t goldCapped = 0;   // person: gold names no pattern can join (one character, lone
                              // given names, two-character transliterations); place: unknown
                              // two-character places (accepted only by the suffix rule)
    int64_t foundCapped = 0;
    double Precision() const { return predicted ? static_cast<double>(found) / static_cast<double>(predicted) : 0; }
    double Recall() const { return gold ? static_cast<double>(found) / static_cast<double>(gold) : 0; }
    double F1() const {
        double p = Precision(), r = Recall();
        return p + r > 0 ? 2 * p * r / (p + r) : 0;
    }
};

// Result of an evaluation run.
struct EvalResult {
    int64_t paragraphs = 0;
    int64_t misaligned = 0;   // paragraphs whose output text differs from the input
    int64_t posCompared = 0;  // output words that match a gold word
    int64_t posCorrect = 0;
    int64_t unknownCompared = 0;  // of those, words the core dictionary lacks
    int64_t unknownCorrect = 0;
    NameScore names[3];       // person, place, organisation
    std::vector<std::string> examples[3];  // UTF-8 lines: misses and false names
    std::map<std::pair<int, int>, int64_t> confusion;  // (gold tag, output tag) -> wrong words
    // With `posErrors`: one line per wrongly tagged word, tab-separated:
    // known|unknown (core dictionary), rows|norows (the gold tag among the
    // word's part-of-speech rows), the word's training count (ln(count + 1)
    // of its entry, 0 for an unknown word), word (UTF-8), gold tag, output tag.
    std::vector<std::string> posErrors;
    // With `nameList` set before the run: one line per gold or output name,
    // tab-separated: class (person, place, organisation), paragraph number
    // (from 0), byte span in the paragraph's GB text, found|miss|false, the
    // name (UTF-8) and its output context. Two runs on the same paragraphs
    // can be compared name by name (scripts/name_diff.py).
    bool nameList = false;
    std::vector<std::string> nameLines;
};

// The input words of a paragraph as the evaluation cuts them: person names
// and places unknown to the core dictionary as single characters, every
// other unit whole.
std::vector<std::string> InputWords(const std::vector<vsgtrain::Unit> &units, const DictionaryS &core);

// Runs the engine over the paragraphs and scores the output. Keeps up to
// `examples` error lines per class. `inputs`, when given, holds the input
// words of every paragraph (a word cutter's, joined they must give the
// paragraph's text) instead of InputWords.
EvalResult Evaluate(const SegmentEngine *engine, const std::vector<vsgtrain::Paragraph> &paragraphs,
                    size_t examples, const std::vector<std::vector<std::string>> *inputs = nullptr,
                    bool posErrors = false, bool nameList = false);

// The same scoring through the public interface as a host uses it: every
// paragraph's input words (InputWords) joined by spaces, paragraphs one a
// line, handed to vsglex_analyze with VSGLEX_PRECUT over a handle opened on
// `modelDir` (whose models `engine` holds: its core dictionary and tag map
// make the gold side and map the tags). Each output word is placed in its
// paragraph by its offset and length. False, with `error`, when the handle
// cannot be opened or the analysis fails. `result->nameList` is kept.
bool EvaluateApi(const std::string &modelDir, const SegmentEngine *engine,
                 const std::vector<vsgtrain::Paragraph> &paragraphs, size_t examples, bool posErrors,
                 EvalResult *result, std::string *error);

}  // namespace vsgeval

#endif  // VSGLEX_TOOLS_EVAL_EVALUATE_H
