// Word-level rescoring of the trained cutter, measured by cutscore
// --word-pairs: the cutter's per-atom label scores are searched again over
// whole words, and every pair of consecutive words adds a weighted
// association score counted on the training days (how much more often the
// second word follows the first than it occurs at all). A word-bigram
// search: the state is the last word, so a run of n atoms costs about
// n * maxLength^2 steps.
#ifndef VSGLEX_BENCH_CUTSCORE_WORDPAIRS_H
#define VSGLEX_BENCH_CUTSCORE_WORDPAIRS_H

#include <cstddef>
#include <algorithm>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "front/atoms.h"
#include "front/segmodel.h"

namespace vsgbench {

// Word and word-pair counts; id 0 is the boundary before and after a
// paragraph (or a run).
class WordPairs {
public:
    WordPairs();
    // Counts the words of one paragraph, in order.
    void AddParagraph(const std::vector<std::string> &words);
    // Id of a word, or -1 when it was never counted.
    int32_t Id(const std::string &word) const;
    static constexpr int32_t kBoundary = 0;
    // log(P(b | a) / P(b)) with P(b | a) = (c(a b) + beta P(b)) / (c(a) + beta)
    // and P(b) = c(b) / N (half a count for a word never seen), at least
    // -floor; 0 when a was never seen (-1) or either word was counted fewer
    // than minCount times.
    double Association(int32_t a, int32_t b) const;

    // How often a word was counted (0 for -1).
    double Count(int32_t id) const { return id >= 0 ? count_[static_cast<size_t>(id)] : 0.0; }

    double beta = 1.0;
    double floor = 4.0;
    double minCount = 0.0;

private:
    std::unordered_map<std::string, int32_t> ids_;
    std::vector<double> count_;
    std::unordered_map<uint64_t, double> pairs_;
    double total_ = 0.0;
};

// Learned word-level weights: one per (association bin, class of the first
// word, class of the second) and per (class of a word, bin of its count).
// A word's class is its length (1, 2, 3, 4 or more atoms) and whether it
// was counted; the run's start is a class of its own.
struct WordPairWeights {
    static constexpr int kClasses = 9;
    static constexpr int kBoundaryClass = 8;
    static constexpr int kAssocBins = 12;  // association -4 .. 7 by whole units
    static constexpr int kCountBins = 16;  // log2(count + 1)
    static constexpr size_t kPairFeatures = size_t{kAssocBins} * kClasses * kClasses;
    static constexpr size_t kSize = kPairFeatures + size_t{kClasses} * kCountBins;
    static int Class(size_t atoms, bool counted) {
        return static_cast<int>(std::min<size_t>(atoms, 4) - 1) * 2 + (counted ? 1 : 0);
    }
    static size_t PairIndex(double association, int first, int second);
    static size_t WordIndex(int cls, double count);
    std::vector<double> w = std::vector<double>(kSize, 0.0);
};

struct WordPairOptions {
    double weight = 1000.0;  // association weight, in the model's score units
    size_t maxLength = 12;   // longest word searched (atoms)
    // Only single atoms, counted words and the words of the label search's
    // own cut are candidates.
    bool restrict = false;
    const WordPairWeights *learned = nullptr;  // learned weights, or none
};

// The learned features of a cut (word ends as WordPairCut gives them), each
// index once per occurrence.
void WordPairPathFeatures(const char *text, const vsg::front::Atom *atoms, const std::vector<uint32_t> &ends,
                          const WordPairs &pairs, std::vector<size_t> &features);

// Cuts atoms[0..n) of `text` given the label scores (n x kSegLabels) and the
// label transitions of the model; appends the atom index just past each
// word to `ends`, like SegModel::Cut. With weight 0 and maxLength at least
// the longest word of the label search, the cut is the label search's.
void WordPairCut(const char *text, const vsg::front::Atom *atoms, size_t n, const int32_t *score,
                 const int32_t (&transitions)[vsg::front::kSegLabels][vsg::front::kSegLabels], const WordPairs &pairs,
                 const WordPairOptions &options, std::vector<uint32_t> &ends);

}  // namespace vsgbench

#endif  // VSGLEX_BENCH_CUTSCORE_WORDPAIRS_H
