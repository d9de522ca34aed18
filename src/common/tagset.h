// The numbers the engine gives meaning to: part-of-speech tags of names and
// function words (lines of "zyrpos30.map"), the default roles of the name
// role sets and the weights of the name class words. Engine, front end,
// tools and trainer use these definitions and no copies (the model files are
// listed in model_files.h).
#ifndef VSGLEX_SRC_COMMON_TAGSET_H
#define VSGLEX_SRC_COMMON_TAGSET_H

#include <cstdint>

namespace vsg {

// Part-of-speech tags of the sentence boundary words (start and end).
inline constexpr uint8_t kSentenceBeginTag = 0;
inline constexpr uint8_t kSentenceEndTag = 1;
// Part-of-speech tags of the name classes.
inline constexpr uint8_t kPersonTag = 24;          // nr
inline constexpr uint8_t kOtherProperTag = 25;     // nz
inline constexpr uint8_t kForeignPersonTag = 27;   // nrf, transliterated person name
inline constexpr uint8_t kJapanesePersonTag = 28;  // nrj
inline constexpr uint8_t kPlaceTag = 29;           // ns
inline constexpr uint8_t kForeignPlaceTag = 30;    // nsf, transliterated place name
inline constexpr uint8_t kOrgTag = 31;             // nt
// Punctuation tags.
inline constexpr uint8_t kPunctFirstTag = 78;
inline constexpr uint8_t kPunctLastTag = 92;
// Names in the tag map of the tags the front end gives number words, time
// words and non-Chinese strings (Latin words, web and e-mail addresses)
// when the engine's tag does not fit the string; their numbers are looked
// up in the loaded map.
inline constexpr char kNumeralTagName[] = "m";
inline constexpr char kTimeTagName[] = "t";
inline constexpr char kForeignStringTagName[] = "nx";

inline constexpr bool IsPersonTag(int tag) {
    return tag == kPersonTag || tag == kForeignPersonTag || tag == kJapanesePersonTag;
}
inline constexpr bool IsPlaceTag(int tag) { return tag == kPlaceTag || tag == kForeignPlaceTag; }
inline constexpr bool IsOrgTag(int tag) { return tag == kOrgTag; }
inline constexpr bool IsNameTag(int tag) { return IsPersonTag(tag) || IsPlaceTag(tag) || IsOrgTag(tag); }
inline constexpr bool IsPunctTag(int tag) { return tag >= kPunctFirstTag && tag <= kPunctLastTag; }

// Function-word tags (prepositions, conjunctions, particles, modal words and
// the like): the phrase interface's filter drops them, the organisation
// recogniser does not start a name after them, the trainer gives their words
// no class.
inline constexpr bool IsFunctionWordTag(int tag) {
    switch (tag) {
    case 9: case 10: case 14: case 34: case 35: case 36:
    case 43: case 44: case 45: case 46: case 94:
        return true;
    default:
        return tag >= 54 && tag <= 67;
    }
}

// Function-word or punctuation tags: the organisation recogniser does not
// start a name after a word whose main tag is one; the trainer gives such
// words no floor on their person and place role rows.
inline constexpr bool IsFunctionOrPunctTag(int tag) { return IsFunctionWordTag(tag) || IsPunctTag(tag); }

// Role of a word outside any name, by name role set.
inline constexpr int32_t kPersonDefaultRole = 22;
inline constexpr int32_t kPlaceDefaultRole = 17;
inline constexpr int32_t kOrgDefaultRole = 14;
// Organisation role D, the word that ends a name (a suffix), and the least
// value (log count) of a suffix row that the organisation recogniser
// accepts; the trainer writes such rows.
inline constexpr uint8_t kOrgSuffixRole = 5;
inline constexpr float kMinOrgSuffixValue = 1.1f;

// Weights of the class words that stand for a known or recognised name.
inline constexpr double kPersonClassWeight = 11.21;
inline constexpr double kOrgClassWeight = 10.7995;
inline constexpr double kPlaceClassWeight = 9.19482;
// Weight of a place recognised before any S or C form of the call.
inline constexpr double kEarlyPlaceClassWeight = 8.14381;

}  // namespace vsg

#endif  // VSGLEX_SRC_COMMON_TAGSET_H
