// The steps of training, in the order TrainModels runs them: counting the
// corpus, the three role sets, the core dictionary entries, their companion
// rows, the unseen-word rows, the refinement of the part-of-speech costs
// and writing the set. Internal to the trainer.
#ifndef VSGLEX_TOOLS_TRAIN_STEPS_H
#define VSGLEX_TOOLS_TRAIN_STEPS_H

#include <cmath>
#include <array>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include "common/tagset.h"
#include "corpus.h"
#include "front/personwords.h"
#include "trainer.h"

namespace vsgtrain {

// ---- Named constants of the counted data -------------------------------------

// Most candidates a word may bring to one slot of the tagger.
constexpr size_t kMaxRows = 19;
// Person roles that get a floor row on every one-character word: D, E, F
// (given name) and M, N (inner and last character of a transliteration).
constexpr int kPersonFloorRoles[] = {vsg::kPersonGivenFirstRole, vsg::kPersonGivenLaterRole, vsg::kPersonGivenOnlyRole,
                                     vsg::kPersonForeignInnerRole, vsg::kPersonForeignLastRole};
// Person role C (surname).
constexpr int kPersonSurnameRole = vsg::kPersonSurnameRole;
// Person role L (first character of a transliteration).
constexpr int kPersonForeignFirstRole = vsg::kPersonForeignFirstRole;
// Of the floor roles, the given-name roles D, E, F.
constexpr int kPersonGivenRoles[] = {vsg::kPersonGivenFirstRole, vsg::kPersonGivenLaterRole, vsg::kPersonGivenOnlyRole};
// Person roles R, S and T: one-character word before, after and between
// names.
constexpr int kPersonContextRoles[] = {vsg::kPersonBeforeRole, vsg::kPersonAfterRole, vsg::kPersonBetweenRole};
// Person role S (one-character word just after a name).
constexpr int kPersonAfterRole = vsg::kPersonAfterRole;
// Person role R (one-character word just before a name).
constexpr int kPersonBeforeRole = vsg::kPersonBeforeRole;
// Person roles U and V (inner and last character of a cut place), floored
// as well when the person data marks cut places.
constexpr int kPersonPlaceFloorRoles[] = {vsg::kPersonCutPlaceRole, vsg::kPersonCutPlaceLastRole};
// Place roles C, D, E, F: the characters of a suffixed place before its
// suffix.
// Place roles of the characters of a place without a suffix (H, I, J, K, L).
constexpr int kPlaceUnsuffixedRoles[] = {vsg::kPlaceFirstRole, vsg::kPlaceInnerRole, vsg::kPlaceThirdLastRole,
                                         vsg::kPlaceSecondLastRole, vsg::kPlaceLastRole};
constexpr int kPlaceStemRoles[] = {vsg::kPlaceSuffixedFirstRole, vsg::kPlaceSuffixedInnerRole,
                                   vsg::kPlaceSuffixedThirdLastRole, vsg::kPlaceSuffixedSecondLastRole};
// Place rows of a word of several characters that follows places: role G
// (the suffix) counts the times it closes a bracketed place after one, role
// A the times it follows one outside such a compound. The role search never
// reads them (such words always take role A); the raw-text front end joins
// a place with a following word whose G count is large enough against its
// A count (front/corpusview.h, PlaceCompoundEnds).
constexpr int kPlaceCompoundEndRole = vsg::kPlaceSuffixRole;
constexpr int kPlaceCompoundApartRole = vsg::kPlaceWordRole;
// Bracketed places of up to this many units are counted as known compounds;
// those seen at least vsg::kMinPlaceCompoundJoined times get an entry of
// their own (place rows only, so the word cutter never reads them as a
// word).
constexpr size_t kMaxCompoundUnits = 4;
// Bracketed organisations of as many units get the same kind of entry, with
// the organisation rows vsg::kOrgCompoundJoinedRole and kOrgCompoundApartRole,
// when bracketed at least vsg::kMinOrgCompoundJoined times.
// Rows of a word of several characters next to names, for the front end's
// place-versus-person test of transliterations (inert in the role search,
// like the compound rows): place roles P and Q count the times it comes
// before and after a transliterated place, person roles R and S the times it
// comes before and after a transliterated person name.
constexpr int kBeforePlaceRole = vsg::kPlaceBeforeKnownRole;
constexpr int kAfterPlaceRole = vsg::kPlaceAfterKnownRole;
constexpr int kBeforeForeignPersonRole = vsg::kPersonBeforeRole;
constexpr int kAfterForeignPersonRole = vsg::kPersonAfterRole;
// Organisation role D: the word that ends an organisation name.
constexpr int kOrgSuffixRole = vsg::kOrgSuffixRole;
// Organisation roles C and E: first and inner one-character words of a
// name, floored on every one-character word.
constexpr int kOrgBodyRoles[] = {2, 3};
// Names of at least this many characters give their last character to the
// place-ending and organisation-suffix tallies.
constexpr size_t kMinCharsForSuffix = 3;
// A last character that ends at least this many different places of the
// training days joins the place suffixes.
constexpr size_t kMinPlacesPerEnding = 10;
// An organisation suffix is written when seen at least this often.
constexpr int32_t kMinOrgSuffixCount = 3;
// A character ends organisation words productively when it is the last
// character of at least this many different words that end organisation
// names, and they are at least half of the different words of several
// characters ending in it (部 ends 内部, 全部, 干部 too).
constexpr size_t kMinOrgWordsPerEnding = 5;
constexpr double kMinOrgEndingShare = 0.5;
// Pseudo-occurrences that pull each tag's rate of new words toward the
// overall rate.
constexpr double kUnseenPrior = 5000.0;
// Added to a tag's frequency when its smoothed rate of new words is turned
// back into a count.
constexpr double kUnseenFrequencyOffset = 22.0;
// Scale of the ranks that pick the unseen-word rows within the row limit.
constexpr double kUnseenRankScale = 1000.0;
// First part-of-speech tag of the classes that hold single words (vshi, 是)
// and of the reserved and one-word classes after it.
constexpr int kPosFirstWordClass = 49;
// Person-default count of a GB2312 character absent from the training days.
constexpr int32_t kUnseenCharCount = 1;

// ---- Counted state -------------------------------------------------------------

// Counts of a tag set: tag frequencies and tag-to-tag transitions.
struct ContextCounts {
    explicit ContextCounts(size_t n) : freq(n, 0), matrix(n, std::vector<int32_t>(n, 0)) {}
    std::vector<int32_t> freq;
    std::vector<std::vector<int32_t>> matrix;
    int32_t total = 0;  // written as the total when set, else the sum of `freq`
    // Adds one sequence (framed by begin 0 and end 1 by the caller).
    void Add(const std::vector<int> &tags) {
        for (size_t i = 0; i < tags.size(); ++i) {
            ++freq[static_cast<size_t>(tags[i])];
            if (i + 1 < tags.size()) ++matrix[static_cast<size_t>(tags[i])][static_cast<size_t>(tags[i + 1])];
        }
    }
};

// Per-word counts: part-of-speech tags and the roles of the three role sets.
struct WordCounts {
    std::map<int, int32_t> pos;
    std::map<int, int32_t> roles[3];  // person, place, organisation
    int64_t total = 0;
};

// A word of the role-training sequence: its text and its role in each set.
struct RoleWord {
    std::string text;
    bool single = false;  // one character (two bytes or one byte)
    int role = 0;
};

// Everything the counting steps gather from the training paragraphs.
struct TrainCounts {
    TrainCounts();
    std::vector<std::vector<Unit>> units;  // units of every training paragraph
    std::vector<int32_t> dates;            // the date of each (YYYYMMDD)
    std::unordered_map<std::string, int32_t> placeCount;  // place text -> occurrences
    ContextCounts posCtx;
    ContextCounts roleCtx[3];  // person, place, organisation
    std::unordered_map<std::string, WordCounts> words;
    std::map<std::string, int32_t> namePrefix, orgSuffix;
    std::map<std::string, int32_t> placeCompoundEnd;  // word -> times it ends a bracketed place
    // Last character -> the different words of several characters that end
    // organisation names with it (nt words, last words of nt compounds).
    std::map<std::string, std::set<std::string>> orgEndings;
    // Characters whose unknown words the organisation data treats as
    // suffixes (filled by CountOrgRoles).
    std::set<std::string> orgSuffixChars;
    // Of them, the share of the different words of several characters
    // ending in the character that end organisation names.
    std::map<std::string, double> orgSuffixCharShare;
    std::map<std::string, std::set<std::string>> placeEndings;  // last character -> places
    // Word of several characters right after a place unit -> how often the
    // corpus brackets the two as one place with the word last ([中亚/ns
    // 地区/n]ns), and how often not (filled by CountPlaceRoles).
    std::map<std::string, std::pair<int32_t, int32_t>> placeCompoundEnds;
    // Text of a bracketed place of several units ([人民/n 大会堂/n]ns,
    // [香港/ns 特别/a 行政区/n]ns) -> how often the corpus brackets that run
    // of units as one place, and how often the same run stands unbracketed
    // (filled by CountPlaceRoles).
    std::map<std::string, std::pair<int32_t, int32_t>> placeCompounds;
    // The same for bracketed organisations ([中央/n 纪委/j]nt).
    std::map<std::string, std::pair<int32_t, int32_t>> orgCompounds;
    // Word of several characters -> times it comes right before a
    // transliterated place, right after one, right before a transliterated
    // person name and right after one (filled by CountPlaceRoles).
    std::map<std::string, std::array<int32_t, 4>> nameNeighbours;
    std::map<int, int32_t> nameTagCounts;                       // name tags -> occurrences
    std::set<std::string> prefixChars;  // characters that may precede a name (老, 小, 阿)

    // Adds one role sequence of set `set` (0 person, 1 place, 2 organisation):
    // its context counts and the role counts of its one-character words.
    void AddRoles(int set, const std::vector<RoleWord> &seq);
    // Whether a place unit occurs at most `cutMax` times (cut into characters).
    bool PlaceCut(const Unit &u, int cutMax) const;
};

// Core dictionary row and entry as the trainer builds them.
struct Row {
    uint16_t code;
    uint8_t subCode;
    float value;
};
struct Entry {
    std::string word;
    std::vector<Row> rows;
    float stats[4] = {0, 0, 0, 0};
    int32_t hash = 0;
};

inline float LogCount(double c) { return static_cast<float>(std::log(c)); }
bool IsSingle(const std::string &w);
// The `limit` largest counts (ties to the lower tag), in tag order.
std::map<int, int32_t> TopCounts(const std::map<int, int32_t> &counts, size_t limit);

// ---- Steps ---------------------------------------------------------------------

// Builds the units of the paragraphs the options keep and counts places.
void CollectParagraphs(const std::vector<Paragraph> &paragraphs, const TrainOptions &opt, TrainCounts *c,
                       TrainSummary *summary);
// Part-of-speech sequences, word counts and the name tallies.
void CountWords(TrainCounts *c, TrainSummary *summary);
// Person role sequences (names and rare places cut into characters).
void CountPersonRoles(const TrainOptions &opt, TrainCounts *c);
// Roles a lone two-character name token trains with in the person data
// (TrainOptions::personLoneNames; `givenNames`: two-character given names
// seen after a surname).
std::string LoneNameRoles(const Unit &u, const std::set<std::string> &givenNames, int mode);
// Place role sequences (rare places cut into characters).
void CountPlaceRoles(const TrainOptions &opt, TrainCounts *c, TrainSummary *summary);
// The bracketed places and organisations of several units and their
// unbracketed runs (TrainCounts::placeCompounds, orgCompounds).
void CountKnownCompounds(TrainCounts *c);
// Organisation role sequences and the role rows of words inside them.
void CountOrgRoles(const TrainOptions &opt, TrainCounts *c);

// Gives GB2312 characters absent from the training days a person-default
// count (with it they get the person floors).
void AddUnseenCharRows(TrainCounts *c);
// Core dictionary entries of the counted words and the class words, without
// the unseen-word entry. `seenOnce` receives, per tag, the words seen once.
std::vector<Entry> BuildCoreEntries(const TrainCounts &c, const TrainOptions &opt, int64_t paragraphs,
                                    std::map<int, int32_t> *seenOnce);

// Main tag -> other tag -> share of the other tag among the occurrences of
// words with that main tag.
// One-word classes of the part-of-speech tag set chosen from the training
// days by the gain of their tag transitions (pos_classes.cpp); none when
// posWordClasses is 0 (the listed classes stay).
std::vector<ExtraPosClass> ChoosePosClasses(const std::vector<Paragraph> &paragraphs, const TrainOptions &opt);
using CompanionShares = std::map<int, std::map<int, double>>;
CompanionShares CountCompanionShares(const TrainCounts &c, const TrainOptions &opt);
// Adds to every word with content tags only a row of each companion tag of
// its main tag that it lacks, of count posCompanion x share.
void AddCompanionRows(const TrainCounts &c, const TrainOptions &opt, const CompanionShares &shares,
                      std::vector<Entry> *entries);
// Rows of the unseen-word entry from the seen-once counts.
std::vector<Row> UnseenWordRows(const std::map<int, int32_t> &seenOnce, const ContextCounts &posCtx);
// Refines the part-of-speech costs of the entries and of `posCtx`.
// `dates` gives each paragraph's date. Then, with opt.posUnseenEpochs,
// trains the unseen-word rows alone on the words that only one week of the
// training days shows (see refine_entries.cpp).
void RefinePos(const std::vector<std::vector<Unit>> &all, const std::vector<int32_t> &dates, const TrainOptions &opt,
               ContextCounts *posCtx, std::vector<Entry> *entries, TrainSummary *summary);
// Sorts the entries into hash order and places the unseen-word twin at the
// position the engine reads it from. False (with `error`) when no twin text
// fits.
bool OrderEntries(const std::vector<Row> &unseenRows, std::vector<Entry> *entries, TrainSummary *summary,
                  std::string *error);

// Person words of two or more characters that the units write as one
// person token, each with how often it is one token and how often the
// joined text of a surname token and a given-name token.
std::vector<vsg::front::PersonWordCount> CountPersonWords(const std::vector<std::vector<Unit>> &all);
// Writes the list of CountPersonWords as DIR/person_words.txt into each of
// `dirs`; false with a message in `error` on failure.
bool WritePersonWords(const std::vector<std::vector<Unit>> &all, const std::vector<std::string> &dirs,
                      std::string *error);

// Writes the twelve files of the set into `outDir` (and the text forms when
// asked). False with a message in `error` when writing fails.
bool WriteModelSet(const std::string &outDir, const TrainOptions &opt, const std::vector<Entry> &entries,
                   const TrainCounts &c, std::string *error);

}  // namespace vsgtrain

#endif  // VSGLEX_TOOLS_TRAIN_STEPS_H
