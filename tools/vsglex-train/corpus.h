// Reading the tagged newspaper corpus and turning it into the units the
// models are trained on: words with their part-of-speech tag numbers, person
// names joined from their surname and given-name tokens, place names, and
// the organisation compounds marked in brackets. All text is GB bytes.
#ifndef VSGLEX_TOOLS_TRAIN_CORPUS_H
#define VSGLEX_TOOLS_TRAIN_CORPUS_H

#include <cstdint>
#include <string>
#include <vector>

#include "common/tagset.h"

namespace vsgtrain {

// Converts UTF-8 text to GB18030 bytes; unconvertible input is dropped byte
// by byte. Returns false when a byte had to be dropped.
bool Utf8ToGb(const std::string &utf8, std::string *gb);
// Converts GB18030 bytes to UTF-8 (for messages).
std::string GbToUtf8(const std::string &gb);

// Splits GB text into characters (one or two bytes each, the GB text rule).
std::vector<std::string> SplitChars(const std::string &gb);

// One token of the corpus: word, its corpus tag, and the bracketed compound
// it belongs to (-1 when none).
struct Token {
    std::string word;  // GB bytes
    std::string tag;   // corpus tag, e.g. "n", "nr", "Vg"
    int bracket = -1;
};

// A bracketed compound: tokens [first, last] and its closing label.
struct Bracket {
    int first = 0;
    int last = 0;
    std::string label;  // "nt", "ns", "nz", "i", "l"
};

// One paragraph (one line of the corpus).
struct Paragraph {
    std::string id;   // "19980101-01-001-001"
    int32_t date = 0; // 19980101
    std::vector<Token> tokens;
    std::vector<Bracket> brackets;
};

// Parses one corpus line (UTF-8); false for a blank or malformed line.
bool ParseParagraph(const std::string &utf8Line, Paragraph *out);
// Reads every paragraph of a corpus file whose date lies in [from, to]
// (0 means unbounded); false when the file cannot be read.
bool ReadCorpusFile(const std::string &path, int32_t from, int32_t to, std::vector<Paragraph> *out);
// The corpus files of a directory ("*.txt" except README), sorted by name.
std::vector<std::string> CorpusFiles(const std::string &dir);

// What a unit stands for.
enum class UnitKind { Plain, Person, Place, Org };

// One unit of a paragraph: a word as the part-of-speech model sees it.
// Person names are joined ("江" + "泽民" = "江泽民"); everything else is a
// corpus token.
struct Unit {
    std::string text;      // GB bytes
    int tag = 0;           // part-of-speech tag number (zyrpos30.map line)
    UnitKind kind = UnitKind::Plain;
    std::string roles;     // person names: one role letter per character
    int tokens = 1;        // corpus tokens joined into it (2: surname and given name)
    int bracket = -1;      // bracketed compound of the paragraph, or -1
    std::string bracketLabel;  // its closing label ("nt", "ns", ...)
    bool bracketFirst = false;
    bool bracketLast = false;
};

// Builds the units of a paragraph.
std::vector<Unit> BuildUnits(const Paragraph &p);

// ---- Tag sets ------------------------------------------------------------

// Part-of-speech tag numbers the engine relies on, under the trainer's
// names (common/tagset.h defines them).
enum PosTag : int {
    kPosBegin = vsg::kSentenceBeginTag,
    kPosEnd = vsg::kSentenceEndTag,
    kPosPerson = vsg::kPersonTag,
    kPosForeignPerson = vsg::kForeignPersonTag,
    kPosJapanesePerson = vsg::kJapanesePersonTag,
    kPosPlace = vsg::kPlaceTag,
    kPosForeignPlace = vsg::kForeignPlaceTag,
    kPosOrg = vsg::kOrgTag,
    kPosPunctFirst = vsg::kPunctFirstTag,
    kPosPunctLast = vsg::kPunctLastTag,
};

// The part-of-speech tag names; line k of "zyrpos30.map" is entry k: the
// fixed tag set, then the classes set by SetExtraPosClasses.
const std::vector<std::string> &PosTagNames();
// Most tags a map can hold: the engine ends a tag list with 255.
constexpr size_t kMaxPosTags = 255;
// Number of the first one-word class of the fixed tag set.
constexpr int kFirstWordClass = 95;

// A class of words the trainer chose from its training days: the words
// (GB) that take it in place of their corpus tag, and its name, which
// starts with that tag and "#" ("v#12"), so that hosts and the evaluator
// read the corpus tag.
struct ExtraPosClass {
    std::string name;
    std::string corpusTag;
    std::vector<std::string> words;
};
// Replaces the chosen classes: they take the numbers after the fixed tag
// set, in order (none: the fixed set alone); a word listed by two classes
// of the same corpus tag takes the first. False when the map would hold
// more than kMaxPosTags tags.
// With `listed` false the fixed set's listed one-word classes (95 on) are
// left out and the chosen classes take their numbers.
bool SetExtraPosClasses(const std::vector<ExtraPosClass> &classes, bool listed = true);
// True for the numbers of the function-word (stop-word) classes.
constexpr bool IsStopTag(int tag) { return vsg::IsFunctionWordTag(tag); }

// True for the name tags the recognisers give: Chinese, transliterated and
// Japanese person names, places, foreign places and organisations (not the
// other proper nouns 25 and strings 26 that lie between them).
using vsg::IsNameTag;
// Number of a corpus word with a coarse corpus tag other than a name tag.
int PosTagOf(const std::string &gbWord, const std::string &corpusTag);

// Role letters of the three role sets; line k of the map is entry k.
const std::vector<std::string> &PersonRoleNames();
const std::vector<std::string> &PlaceRoleNames();
const std::vector<std::string> &OrgRoleNames();
// Role number of a letter in a role set, or -1.
int RoleOf(const std::vector<std::string> &names, char letter);

// Default roles of the three role sets.
constexpr int kPersonDefault = vsg::kPersonDefaultRole;
constexpr int kPlaceDefault = vsg::kPlaceDefaultRole;
constexpr int kOrgDefault = vsg::kOrgDefaultRole;

// Role letters of a place name cut into characters.
std::string PlaceRoles(const std::string &gbPlace);

// ---- Character lists -------------------------------------------------------

// True when `ch` (one GB character) is in the single-character place
// suffix list.
bool IsPlaceSuffixChar(const std::string &ch);
// True when `ch` (one GB character) is in the single-character surname list.
bool IsSurnameChar(const std::string &ch);
// Whether a GB string of two characters is a listed Japanese surname.
bool IsJapaneseSurname(const std::string &gb);
// The single-character and multi-character place suffixes (GB).
const std::vector<std::string> &PlaceSuffixes();
// Count of the characters of `gb` that lie in transliteration set A, B or
// the Japanese-name set C (0, 1, 2).
int CharsInSet(const std::string &gb, int set);

}  // namespace vsgtrain

#endif  // VSGLEX_TOOLS_TRAIN_CORPUS_H
