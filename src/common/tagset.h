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

// Roles of the person role set ("nr.map": line k is role k), by letter.
inline constexpr int32_t kPersonSurnameRole = 2;        // C
inline constexpr int32_t kPersonGivenFirstRole = 3;     // D: first of a two-character given name
inline constexpr int32_t kPersonGivenLaterRole = 4;     // E: later character of a given name
inline constexpr int32_t kPersonGivenOnlyRole = 5;      // F: one-character given name
inline constexpr int32_t kPersonForeignFirstRole = 11;  // L: transliteration, first character
inline constexpr int32_t kPersonForeignInnerRole = 12;  // M
inline constexpr int32_t kPersonForeignLastRole = 13;   // N
inline constexpr int32_t kPersonBeforeRole = 17;        // R: one-character word just before a name
inline constexpr int32_t kPersonAfterRole = 18;         // S: just after one
inline constexpr int32_t kPersonBetweenRole = 19;       // T: between two names
inline constexpr int32_t kPersonCutPlaceRole = 20;      // U: a cut place's character but the last
inline constexpr int32_t kPersonCutPlaceLastRole = 21;  // V: its last character

// Roles of the place role set ("ns.map").
inline constexpr int32_t kPlaceWordRole = 0;                 // A: every multi-character word
inline constexpr int32_t kPlaceSuffixedFirstRole = 2;        // C: first character of a place with a suffix
inline constexpr int32_t kPlaceSuffixedInnerRole = 3;        // D
inline constexpr int32_t kPlaceSuffixedThirdLastRole = 4;    // E
inline constexpr int32_t kPlaceSuffixedSecondLastRole = 5;   // F
inline constexpr int32_t kPlaceSuffixRole = 6;               // G: the suffix character
inline constexpr int32_t kPlaceFirstRole = 7;                // H: first character of a place without one
inline constexpr int32_t kPlaceInnerRole = 8;                // I
inline constexpr int32_t kPlaceThirdLastRole = 9;            // J
inline constexpr int32_t kPlaceSecondLastRole = 10;          // K
inline constexpr int32_t kPlaceLastRole = 11;                // L
inline constexpr int32_t kPlaceBeforeKnownRole = 15;         // P: just before a whole (known) place word
inline constexpr int32_t kPlaceAfterKnownRole = 16;          // Q: just after one

// Role of a word outside any name, by name role set.
inline constexpr int32_t kPersonDefaultRole = 22;
inline constexpr int32_t kPlaceDefaultRole = 17;
inline constexpr int32_t kOrgDefaultRole = 14;
// Organisation role D, the word that ends a name (a suffix), and the least
// value (log count) of a suffix row that the organisation recogniser
// accepts; the trainer writes such rows.
inline constexpr uint8_t kOrgSuffixRole = 5;
inline constexpr float kMinOrgSuffixValue = 1.1f;
// Organisation rows of a known compound, an entry of its own for a run of
// words that the corpus brackets as one organisation ([中央/n 纪委/j]nt),
// with no part-of-speech row: role D counts the times the run is bracketed,
// role A the times it stands apart.
inline constexpr uint8_t kOrgCompoundJoinedRole = kOrgSuffixRole;
inline constexpr uint8_t kOrgCompoundApartRole = 0;
// Least times bracketed of a run that gets such an entry and is joined: a
// place run once (the front end also asks for more bracketed runs than
// apart); an organisation run twice, since one bracketed once joined
// organisations that held-out text writes apart (加 政府).
inline constexpr int32_t kMinPlaceCompoundJoined = 1;
inline constexpr int32_t kMinOrgCompoundJoined = 2;

// Weights of the class words that stand for a known or recognised name.
inline constexpr double kPersonClassWeight = 11.21;
inline constexpr double kOrgClassWeight = 10.7995;
inline constexpr double kPlaceClassWeight = 9.19482;
// Weight of a place recognised before any S or C form of the call.
inline constexpr double kEarlyPlaceClassWeight = 8.14381;

}  // namespace vsg

#endif  // VSGLEX_SRC_COMMON_TAGSET_H
