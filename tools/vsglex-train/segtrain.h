// Training of the word cutter model ("segment.mdl") from the corpus units:
// an averaged structured perceptron over atom labels (see
// src/front/segmodel.h for the features and the file).
#ifndef VSGLEX_TOOLS_TRAIN_SEGTRAIN_H
#define VSGLEX_TOOLS_TRAIN_SEGTRAIN_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "corpus.h"
#include "front/atoms.h"
#include "front/segmodel.h"

namespace vsgtrain {

// What the features of one summed perceptron (a member) leave out. Members
// that read no dictionary must learn words from their characters alone;
// summed with members that read it, they keep unfamiliar runs whole more
// often without losing the known words.
enum class SegMemberKind : uint8_t {
    All,           // every template
    NoDictionary,  // no template that reads the dictionary
    NoTrigram      // no atom trigram and no skip pair
};

// Templates that read the dictionary (its marks or its words).
inline constexpr uint32_t kSegDictionaryTemplates =
    1u << vsg::front::kSegDictStart | 1u << vsg::front::kSegDictEnd | 1u << vsg::front::kSegDictInside |
    1u << vsg::front::kSegDictAll | 1u << vsg::front::kSegDictAtom | 1u << vsg::front::kSegDictStartCost |
    1u << vsg::front::kSegWord | 1u << vsg::front::kSegWordCost;

// The templates a member of `kind` leaves out (bit t: template t).
constexpr uint32_t SegMemberDrops(SegMemberKind kind) {
    switch (kind) {
    case SegMemberKind::NoDictionary: return kSegDictionaryTemplates;
    case SegMemberKind::NoTrigram: return 1u << vsg::front::kSegTrigram | 1u << vsg::front::kSegSkip;
    default: return 0;
    }
}

// Reads a comma-separated list of member kinds ("all", "nodict", "notri");
// false on an empty list or an unknown name.
bool ParseSegMemberKinds(std::string_view list, std::vector<SegMemberKind> *kinds);

struct SegTrainOptions {
    int epochs = 15;           // perceptron passes (0: no model file)
    int minCount = 3;          // features seen fewer times are not learned
    double prune = 0.01;       // groups whose weights all lie below this share of the largest are dropped
    int folds = 4;             // dictionary features of a paragraph come from the other folds' words
    // Places seen at most this often in the other folds are cut into
    // characters (0: the places those folds never show, which a cutter
    // built from them would not know).
    int placeCutMax = 0;
    // Rare places that are transliterations (three or more characters, all
    // of one transliteration list, no place suffix) stay whole in the
    // target: cut into characters, the person recogniser's foreign-name
    // rule joins them back as a person.
    bool keepForeignPlaces = false;
    // Rare places of at most this many characters stay whole in the target
    // (0: none). The place recogniser's patterns join three characters or
    // more, so a rare two-character place cut into characters is lost.
    int wholePlaceChars = 0;
    // Labels of the characters that the target cuts only because they
    // belong to a name: 0 none (they are single words, S), 1 one label (NF
    // for every such character), 2 the first and the later characters of a
    // name apart (NF, NL).
    int nameLabels = 2;
    // Whether the characters of the unknown places cut into characters get
    // the name labels too (otherwise only person names do).
    bool namePlaces = true;
    // Features of whole candidate words of 2..4 atoms, learned with the
    // atom features: 0 none, 1 the dictionary word itself and the length
    // with its cost class, 2 also the word with the atom before and with the
    // atom after it.
    int wordFeatures = 0;
    // Perceptrons trained, each with its own fold assignment of the
    // jackknife and its own visiting order; their averaged weights are
    // summed into the one model written.
    int members = 4;
    // Kind of each member, in turn (member m is memberKinds[m % size]).
    std::vector<SegMemberKind> memberKinds = {SegMemberKind::All, SegMemberKind::NoDictionary,
                                              SegMemberKind::NoTrigram, SegMemberKind::NoDictionary};
    // Paragraphs go to the folds in blocks of this many consecutive ones
    // (an article or a few), so that the words of an article are as new to
    // its own paragraphs' dictionary features as those of a text never seen
    // are to the shipped dictionary. 1: paragraph by paragraph.
    int foldBlock = 100;
    // Feature templates every member leaves out (bit t: template t), to
    // measure what a template brings.
    uint32_t dropTemplates = 0;
    // Added, as this share of the largest weight, to every transition into
    // a label that starts a word: above 0 the cutter writes more and
    // shorter words, below 0 fewer and longer ones (recall against
    // precision).
    double wordBias = 0.0;
};

struct SegTrainSummary {
    int64_t runs = 0;           // runs of atoms trained on
    int64_t atoms = 0;
    int64_t features = 0;       // distinct features learned
    int64_t groups = 0;         // feature groups written
    int64_t errorsFirst = 0;    // atoms labelled wrong in the first pass
    int64_t errorsLast = 0;     // the same in the last pass
    int64_t bytes = 0;          // size of the model file
};

// What a word of the engine's cut is: a word of its own, or a character of
// a person name or of a place that the cut hands over one character a word
// (the first character of the name or a later one).
enum class CutWord : uint8_t { Plain, PersonFirst, PersonLater, PlaceFirst, PlaceLater };

// The word boundaries the engine wants from a host, as byte offsets into the
// concatenated unit texts (0 and the length included): known words whole,
// person names and places seen at most `placeCutMax` times (per
// `placeCount`, sorted by text) one character a word, except transliterated
// places when `keepForeignPlaces` and places of at most `wholePlaceChars`
// characters. `kinds`, when given, receives what each word is (one entry
// per word, after boundary 0).
std::vector<uint32_t> EngineBoundaries(const std::vector<Unit> &units,
                                       const std::vector<std::pair<std::string, int32_t>> &placeCount,
                                       int placeCutMax, std::string *text, bool keepForeignPlaces = false,
                                       int wholePlaceChars = 0, std::vector<CutWord> *kinds = nullptr);

// The cutter's target of one paragraph: its text (as EngineBoundaries
// writes it), its atoms and the gold label of every atom (S on spaces).
void SegTargetLabels(const std::vector<Unit> &units, const std::vector<std::pair<std::string, int32_t>> &placeCount,
                     const SegTrainOptions &opt, std::string *text, std::vector<vsg::front::Atom> *atoms,
                     std::vector<uint8_t> *labels);

// Counts of the place units (sorted by text).
std::vector<std::pair<std::string, int32_t>> CountPlaces(const std::vector<std::vector<Unit>> &all);

// Trains the model from the paragraphs' units and returns the file's bytes
// (empty when there is nothing to learn).
std::string TrainSegmenter(const std::vector<std::vector<Unit>> &all, const SegTrainOptions &opt,
                           SegTrainSummary *summary);

// Trains and writes DIR/segment.mdl into each of `dirs` (removes it when
// no model is trained); false with a message on failure.
bool WriteSegmenter(const std::vector<std::vector<Unit>> &all, const SegTrainOptions &opt,
                    const std::vector<std::string> &dirs, SegTrainSummary *summary, std::string *error);

}  // namespace vsgtrain

#endif  // VSGLEX_TOOLS_TRAIN_SEGTRAIN_H
