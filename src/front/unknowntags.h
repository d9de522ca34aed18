// Part-of-speech tags of words the core dictionary lacks. The engine gives
// every such word the same candidate rows, so its tag follows from the
// neighbours' transitions alone and comes out mostly a noun (复盘 and 研判
// are verbs). A word's first and last characters and its length say much
// about its tag. This table holds, per tag, how the
// rare words of the core dictionary (the best proxy of words never seen)
// begin, end and how long they are, and re-decides an unknown word's tag
// from that evidence and the engine's own tag transition costs.
#ifndef VSGLEX_SRC_FRONT_UNKNOWNTAGS_H
#define VSGLEX_SRC_FRONT_UNKNOWNTAGS_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "vsglex/engine.h"

namespace vsg::front {

// Choices of the table (both on by default; measurement switches
// VSGLEX_UNKNOWN_NUMBERS=0 and VSGLEX_UNKNOWN_BACKOFF=0 turn them off).
struct UnknownTagOptions {
    // The numeral tag m is a candidate too: the engine gives some unknown
    // words m from their neighbours (蝴蝶, 铺轨), which no other candidate
    // could then replace; numeral words of rare dictionary entries begin
    // and end in their own characters.
    bool numbers = true;
    // A character's tag shares are pulled towards those of the characters
    // whose main tag as a word of their own is the same (软 and 晒 as
    // first characters of verbs), instead of towards all rare words.
    bool backoff = true;
};
class UnknownTags {
public:
    // Dictionary words seen at most this often (the sum of their
    // part-of-speech counts) stand for unknown words. Each counts once, for
    // its most frequent tag, so frequent words weigh no more than rare ones
    // (1.5, 2.5, 5, 10 and every word scored within 0.0005 of tagged-word
    // F1 of each other on each of three held-out splits).
    static constexpr double kRareCount = 10.0;
    // Pseudo-count that pulls the tag shares of a rarely seen first or last
    // character towards the shares of all rare words.
    static constexpr double kSmoothing = 10.0;
    // The engine's tag is replaced only when another tag scores at least
    // this much better (natural log units). Margins of 0.5 to 3 each
    // scored lower than none on all three held-out splits: the engine's
    // tag of an unknown word comes from the same transitions and no
    // evidence of its own.
    static constexpr double kDefaultMargin = 0.0;

    // Builds the tables from `models` (core dictionary and part-of-speech
    // context model); `tagNames` are the names of the tag map by number.
    // Without rare words or candidate tags the table stays empty.
    void Build(const SegmentEngine &models, const std::vector<std::string> &tagNames,
               const UnknownTagOptions &options = UnknownTagOptions());
    bool Empty() const { return candidates_.empty(); }
    // Whether `tag` is one of the tags an unknown word may be given.
    bool IsCandidate(int32_t tag) const {
        return tag >= 0 && static_cast<size_t>(tag) < slotOfTag_.size() && slotOfTag_[tag] >= 0;
    }
    // The tag of the unknown GB word text[0..length) (Chinese characters of
    // two bytes each) that the engine tagged `tag`, between words tagged
    // `prev` and `next` (the sentence start and end tags at its edges; a
    // negative tag: no evidence from that side). The engine's tag is kept
    // unless it is a candidate and another candidate scores better by
    // `margin`.
    int32_t Retag(const char *text, size_t length, int32_t prev, int32_t tag, int32_t next, double margin) const;

private:
    // Score of candidate slot `c` for the word, without the transitions.
    double WordScore(const char *text, size_t length, size_t c) const;
    double Transition(int32_t from, int32_t to) const;

    const ContextStat *context_ = nullptr;
    std::vector<int32_t> candidates_;  // tag numbers
    std::vector<int32_t> slotOfTag_;   // tag number -> slot in candidates_, or -1
    // Per character (the two GB bytes as an index), its row in the tables
    // below, or 0xFFFF.
    std::vector<uint16_t> charRow_;
    // Rows of candidates_.size() log ratios ln P(tag | feature) - ln P(tag)
    // among rare words: first character, last character, length (2, 3, 4,
    // 5 or more characters).
    std::vector<float> first_, last_, length_;
    // ln P(tag | rare word) - ln P(tag): how much more often a tag is a rare
    // word's than any word's.
    std::vector<float> prior_;
};

}  // namespace vsg::front

#endif  // VSGLEX_SRC_FRONT_UNKNOWNTAGS_H
