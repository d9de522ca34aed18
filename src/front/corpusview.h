// The corpus-granularity view of a word: the words the tagged corpus would
// write for it. Person names are surname and given name, organisation names
// their component words; everything else stays whole.
#ifndef VSGLEX_SRC_FRONT_CORPUSVIEW_H
#define VSGLEX_SRC_FRONT_CORPUSVIEW_H

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "common/tagset.h"
#include "front/gbcharset.h"
#include "front/personwords.h"
#include "vsglex/engine.h"
#include "vsglex/model.h"

namespace vsg::front {

// One piece of a word: bytes [start, end) of the word's GB text and a tag.
struct Piece {
    uint32_t start;
    uint32_t end;
    int32_t tag;
};

// The most frequent part-of-speech tag of a word of the core dictionary,
// for the component words of organisation names and place compounds
// (looked up in the engine's dictionary when asked: few words need it).
class PieceTags {
public:
    explicit PieceTags(const SegmentEngine *engine = nullptr) : engine_(engine) {}
    // Tag of a GB word, or `fallback` when the dictionary lacks it.
    int32_t Of(const char *word, size_t length, int32_t fallback) const;

private:
    const SegmentEngine *engine_;
};

// Words of several characters that close a place name in the corpus's
// bracketed places ([中亚/ns 地区/n]ns, [开曼/ns 群岛/n]ns) more often than
// they stand apart after one, and the known compounds: runs of words the
// corpus brackets as one place or organisation. The trainer writes the two
// counts as place rows of the word (role G: closing such a compound, role
// A: apart), or as organisation rows of a compound's text; the role search
// never reads place rows of words of several characters.
class PlaceCompoundEnds {
public:
    // A word joins when it closed at least kMinJoined compounds and did so
    // more than kJoinedOverApart times as often as it stood apart.
    static constexpr double kMinJoined = 2.0;
    static constexpr double kJoinedOverApart = 2.0;
    static constexpr uint8_t kJoinedRole = vsg::kPlaceSuffixRole;
    static constexpr uint8_t kApartRole = vsg::kPlaceWordRole;

    void Build(const DictionaryS &dict);
    bool Has(const char *word, size_t length) const;
    // Known compounds: the text of a run of words that the corpus brackets
    // as one place (人民大会堂, 香港特别行政区) or one organisation (中央纪委).
    // The trainer writes the two place rows above, or the organisation rows
    // vsg::kOrgCompoundJoinedRole and kOrgCompoundApartRole, under the run's
    // text, with no part-of-speech row (so the word cutter never takes it
    // for a word). A run joins when it was bracketed at least
    // vsg::kMinPlaceCompoundJoined (organisations kMinOrgCompoundJoined)
    // times and more than kJoinedOverApart times as often as it stood apart. Returns the
    // name tag of the run's text (kPlaceTag or kOrgTag), or -1.
    int32_t CompoundTag(const char *text, size_t length) const;
    // Whether a compound may start with the text of this word (its first
    // two bytes), a quick test before any run is joined.
    bool MayStartCompound(const char *word, size_t length) const {
        return length >= 2 && !compoundFirsts_.empty() &&
               compoundFirsts_[static_cast<size_t>(static_cast<unsigned char>(word[0])) << 8 |
                               static_cast<unsigned char>(word[1])];
    }
    size_t LongestCompound() const { return longestCompound_; }

private:
    std::unordered_set<std::string> words_;
    std::unordered_map<std::string, int32_t> compounds_;  // text -> name tag
    size_t longestCompound_ = 0;
    // The first and last two bytes of the compounds (a character of GB
    // text), so that most runs are turned down before the hash lookup.
    std::vector<bool> compoundFirsts_, compoundLasts_;
};

// Words of several characters next to transliterated places and next to
// transliterated person names in the training days (the trainer writes the
// counts as place rows P and Q, before and after such a place, and person
// rows R and S, before and after such a person; the role search never
// reads them).
// The role search gives every such word the same role, so it cannot tell
// 赴 内罗毕 from 会见 内罗毕: these counts can.
class NameNeighbours {
public:
    static constexpr uint8_t kBeforePlace = vsg::kPlaceBeforeKnownRole, kAfterPlace = vsg::kPlaceAfterKnownRole;         // place rows
    static constexpr uint8_t kBeforePerson = vsg::kPersonBeforeRole, kAfterPerson = vsg::kPersonAfterRole;       // person rows
    // Added to every count, so that a word seen next to one kind only
    // still has a finite ratio.
    static constexpr double kPrior = 0.5;

    void Build(const DictionaryS &dict);
    // Log-likelihood ratio, place against transliterated person, of a
    // string with the word `before` right before it and `after` right after
    // it (either may be empty: no evidence from that side).
    double PlaceEvidence(std::string_view before, std::string_view after) const;
    // Times the word stood right before a transliterated person name in the
    // training days (总统 普京); 0 for a word not counted.
    double BeforePerson(std::string_view word) const;

private:
    struct Counts {
        double beforePlace = 0, afterPlace = 0, beforePerson = 0, afterPerson = 0;
    };
    std::unordered_map<std::string, Counts> words_;
    Counts totals_;
};

// The count a role row holds: the trainer writes ln(count + 1).
inline double RowCount(const DictSRow &row) { return std::exp(static_cast<double>(row.value)) - 1.0; }

// Whether the two-byte GB character at p is a member of the NUL-terminated
// `list` of two-byte characters.
bool InGbList(const char *list, const char *p);

// Whether the two-byte GB character at p is one of the transliteration
// characters (the general list or the second style's).
bool IsTransliterationChar(const char *p);

// Appends the pieces of the GB word text[0..length) tagged `tag`. `cuts`
// holds the ends (byte offsets in the word) of the cut words the engine
// merged into it, the last being `length`; `runs` (empty, or one flag per
// cut) marks the cut words that are characters of a name joined into one.
//   person names (nr): surname (two characters for a compound surname) and
//                      given name, both tagged as the word; a name of
//                      two transliteration characters stays whole (利维),
//                      and so does a word `persons` keeps whole (安南, 侯老)
//   organisation names: the cut words, tagged by the dictionary (a joined
//                      name the dictionary lacks as a place)
//   anything else, and names of one character: the word itself
void CorpusPieces(const char *text, size_t length, int32_t tag, const std::vector<uint32_t> &cuts,
                  const std::vector<bool> &runs, const PieceTags &tags, const PersonWords &persons,
                  std::vector<Piece> &out);

}  // namespace vsg::front

#endif  // VSGLEX_SRC_FRONT_CORPUSVIEW_H
