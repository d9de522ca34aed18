// Discriminative refinement of the part-of-speech model.
//
// The engine tags parts of speech with a first-order Viterbi search whose
// path cost is the sum of an emission cost per (word, tag) and a transition
// cost per (tag, tag). Counting gives a generative start; an averaged
// perceptron then moves both kinds of cost so that the search reproduces the
// training tags more often, over exactly the candidate lists the engine uses.
#ifndef VSGLEX_TOOLS_TRAIN_POSREFINE_H
#define VSGLEX_TOOLS_TRAIN_POSREFINE_H

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace vsgtrain {

// A candidate list: the tags a word may take, each with its emission cost.
struct CandidateList {
    std::vector<uint8_t> tags;
    std::vector<double> costs;
    bool trainable = true;  // false: the costs are kept as given
};

// One training sentence. Position i reads list `lists[i]` of the model, or,
// when that is -1, has the single fixed tag `gold[i]`. The search runs from
// the begin tag to the end tag around the positions.
struct PosSentence {
    std::vector<int32_t> lists;
    std::vector<uint8_t> gold;
};

// The costs the perceptron moves.
struct PosCosts {
    size_t tagCount = 0;
    std::vector<CandidateList> lists;
    std::vector<double> transition;  // tagCount x tagCount, row = preceding tag
    double &Transition(size_t from, size_t to) { return transition[from * tagCount + to]; }
};

// Settings of the refinement.
struct RefineOptions {
    int epochs = 0;       // passes over the sentences (0: no refinement)
    double rate = 0.1;    // cost step of one update
    uint8_t beginTag = 0;
    uint8_t endTag = 1;
    // Cost advantage given to every wrong candidate while training, so that
    // updates go on until the training tags win by at least this much.
    double margin = 0.0;
};

// What the refinement did, for the summary.
struct RefineSummary {
    int64_t positions = 0;       // positions searched per pass
    // Positions whose training tag lost (or won by less than the margin)
    // during the first and during the last pass.
    int64_t errorsFirstPass = 0;
    int64_t errorsLastPass = 0;
};

// The lowest-cost tag sequence of `s` under `costs` (ties keep the earlier
// candidate, as the engine's search does). Returns one tag per position.
std::vector<uint8_t> BestTags(const PosSentence &s, const PosCosts &costs, uint8_t beginTag, uint8_t endTag);

// Runs the averaged perceptron over `sentences` and replaces the costs of
// every trainable list and every transition by their averages. Sentences
// are visited in order, so the result is deterministic.
RefineSummary RefinePosCosts(const std::vector<PosSentence> &sentences, const RefineOptions &opt, PosCosts *costs);

// Moves the costs of list `list` alone to tag the most positions that read
// it right: `rounds` rounds of coordinate search, each trying every cost
// one step up and down (the step starts at `step` and halves each round)
// and keeping a move that lowers the errors. Only the stretches between
// positions of one candidate around such positions are searched (a single
// candidate cuts the search in two). Returns the positions that read the
// list; `before` and `after` receive how many of them were wrong.
int64_t TuneListCosts(const std::vector<PosSentence> &sentences, int32_t list, int rounds, double step,
                      uint8_t beginTag, uint8_t endTag, PosCosts *costs, int64_t *before, int64_t *after);

// Encodes a transition cost as the count the engine turns back into it:
// for frequency `freq` and total `total`, the count c whose cost
// -0.999999 ln(0.9 c / freq + 0.1 freq / total) + 0.000001 (13.8155 for
// c = 0) is nearest to `cost`.
int32_t TransitionCount(double cost, int32_t freq, int32_t total);

}  // namespace vsgtrain

#endif  // VSGLEX_TOOLS_TRAIN_POSREFINE_H
