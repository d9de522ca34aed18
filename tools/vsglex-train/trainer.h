// Training of the twelve model files from the tagged corpus.
#ifndef VSGLEX_TOOLS_TRAIN_TRAINER_H
#define VSGLEX_TOOLS_TRAIN_TRAINER_H

#include <cstdint>
#include <string>
#include <vector>

#include "corpus.h"
#include "segtrain.h"

namespace vsgtrain {

// Entry position that the engine reads the unseen-word rows from after a
// binary load of the core dictionary.
constexpr int32_t kUnseenRowsPosition = 4468;
// Longest word (bytes) kept in the core dictionary; longer words would not
// fit the text form's 127-byte header line.
constexpr size_t kMaxDictWord = 60;

// What to train on and what to write.
struct TrainOptions {
    int32_t excludeFrom = 0;  // leave out paragraphs dated on or after this day (0: none)
    int32_t excludeBefore = 0;  // leave out paragraphs dated before this day (0: none)
    // Leave out the paragraphs whose day of the month lies in
    // [excludeDayFirst, excludeDayLast] (0: none); the cross-validation
    // folds are day ranges.
    int excludeDayFirst = 0;
    int excludeDayLast = 0;
    bool text = false;        // also write the text/raw forms into OUT_DIR/text
    int placeCutMax = 10;     // places seen at most this often are cut into characters
                              // (place and organisation role data)
    int personPlaceCutMax = 30;  // the same for the person role data
    // Transliterated places seen at most this often are cut in the person
    // role data (at least personPlaceCutMax applies): their characters get
    // the cut-place roles U and V, which speak against the transliteration
    // roles for an unseen foreign place made of the same characters.
    int personForeignPlaceCutMax = 30;
    // Pseudo-count of the given-name and transliteration roles (D, E, F, M,
    // N) of a one-character word never seen in them (0: no such rows).
    double personRoleFloor = 0.003;
    // Surname pseudo-count of a character of the surname list never seen as
    // a surname (0: no such rows).
    double surnameFloor = 0.03;
    // Pseudo-count of the first-character role of a transliteration (L) for
    // characters of the transliteration lists never seen in it (0: none).
    double foreignFirstFloor = 0.1;
    // Pseudo-count of the inner and last roles (M, N) of listed
    // transliteration characters never seen in them (the general floor
    // personRoleFloor when that is higher).
    double foreignInnerFloor = 0.03;
    // A character seen after a name (role S) at least this share of its
    // default count keeps the flat given-name floor: a word that often
    // closes a name (说, 摄) must not become its given name after a lone
    // surname or a name the training days never show (邱说, 戴浩摄)
    // (0: off).
    double personAfterNameShare = 0.005;
    // The same for a character seen before a name (role R).
    double personBeforeNameShare = 0.01;
    // Place role data: a rare place of two characters is cut into
    // characters too (true), or stays one word (false). The recogniser
    // takes a two-character place only before a suffix word in the
    // sentence's third record, so new ones are out of its reach, and trained
    // as roles C G and H L they drew longer places to a two-character
    // reading (新泾乡 as 新 before 泾乡, 大田庄乡 as 大田 and 庄乡) and made
    // two-character false places (井口, 大山).
    bool placeCutShort = false;
    // Place role data: pseudo-count of the roles of a suffixed place's
    // characters before the suffix (C, D, E, F) for one-character words
    // never seen in them (0: none).
    double placeRoleFloor = 0.001;
    // A word of several characters whose place tags make less than this
    // share of its occurrences, and whose most frequent tag is no name
    // tag (珠江 mostly nz, 新兴 b, 运河 n), gets its place rows at count 1
    // (0: off). A place row above count 1 makes the engine fix every
    // occurrence of the word as a place before tagging.
    double placeClassShare = 0.3;
    // Place role data: pseudo-count of the roles of a place without a
    // suffix (H, I, J, K, L) for characters of the transliteration lists
    // never seen in them (0: none).
    double placeForeignFloor = 0.0003;
    // Organisation rows of words of several characters: the role that ends
    // a name (D) carries ln(count + orgSuffixAdd), the others ln(count + 1).
    // With 2.05 a word that ends organisation names once in the training
    // days passes the recogniser's suffix threshold (1.1); with 1.5 it took
    // two occurrences, with 1 three. Many suffix words (举重队, 通产省, 工程院)
    // occur in a few articles only, so unseen days bring them new.
    double orgSuffixAdd = 2.05;
    // A word that also ends bracketed place compounds in the training days
    // (开发区, 新区, 保护区) gets ln(count + 1) for its suffix role as well:
    // the larger added count would let it close organisation names that
    // swallow places.
    bool orgSuffixPlaceEnd = true;
    // Count written into the organisation suffix row (D) of a character
    // that ends many different organisation words, when its own count is
    // lower (0: none). The recogniser reads the row for unknown words that
    // end in the character; 3.05 passes its threshold (ln > 1.1).
    double orgCharSuffixCount = 3.05;
    // A noun or abbreviation of several characters seen at most this often
    // in the training days and never ending an organisation name, whose
    // last character is such an organisation-ending character (工学院,
    // 二轻局), gets the same suffix count as a word they never show
    // (0: none).
    int orgRareSuffixUpTo = 4;
    // ... when at least this share of the different words ending in that
    // character end organisation names (部 ends body parts and directions
    // too: 头部, 东部).
    double orgRareSuffixShare = 0.6;
    // Organisation role data: pseudo-count of the first and inner roles of
    // a name (C, E) for one-character words never seen in them (0: none).
    double orgRoleFloor = 0.01;
    // Person role data: characters of cut places that end in a place suffix
    // or are transliterated take U (V for the last) instead of W.
    bool personPlaceRoles = true;
    // With personPlaceRoles: pseudo-count of U and V for one-character
    // words never seen in them.
    double personPlaceFloor = 0.003;
    // GB2312 characters absent from the training days get an entry with the
    // person default role (count 1) and the person floors.
    bool unseenCharRows = true;
    // Given-name floors grow with the character's default count: the floor
    // of D, E and F is max(personRoleFloor, share x default count), so that
    // a common character (来, 成) keeps about the same odds of a given-name
    // role against the default as a rare one (0: flat floors).
    double personFloorShare = 0.003;
    // Bounds of the given-name floor (0: none). A character the training
    // days show rarely and never in a given name is a given name in new
    // text far more often than the grown floor says (held-out days: given
    // against plain about 0.13 for characters seen once, 0.006 for those
    // seen 21 to 100 times), so the floor may be given a minimum, except
    // for the characters that keep the flat floor; at most Max (Min wins).
    // It raises person F1 on every fold; it loses one organisation named
    // after a person (惠珍联合医院, docs/models.md).
    double personGivenFloorMin = 0.06;
    double personGivenFloorMax = 0.0;
    // The minimum only for characters seen at most this often in the
    // default role (0: all).
    int personGivenFloorMinUpTo = 5;
    // A character seen after a name at least this many times as often as
    // in a given-name role (摄 in 戴浩摄, ） in 王璐）) has that given-name
    // row lowered to the flat floor: its few given-name counts are rare
    // names or tagging slips, and they let names run on into it (0: off).
    double personGivenAfterRatio = 100.0;
    // Comma-separated part-of-speech classes (tag names without "#k")
    // whose characters keep the flat given-name floor: a frequent adverb
    // (也, 就) after a lone surname must not become its given name, nor a
    // numeral (３ in 徐俊３胜, 两 in 中奥两国) part of a name.
    std::string personFlatFloorTags = "d,m";
    // Pseudo-count of the person context roles R, S, T (before, after and
    // between names) for one-character words never seen in them (0: none;
    // like the other person floors only when personRoleFloor > 0).
    double personContextFloor = 0.0003;
    // Person role data for a lone two-character name token that the
    // training days never show as the given name after a surname (科恩,
    // 鲁迅, 利维; with mode 4 also 恩来, seen in 周恩来): cut into characters, such a
    // name can only be joined by the pattern C F (a transliteration needs
    // three slots), so it trains as C F instead of the plain default W W.
    // 0: never; 1: when its first character is a listed surname; 2: all
    // given-name-like tokens (D E); 3: these and the transliterated ones
    // (L N); 4: these and the tokens also seen as a given name after a
    // surname (恩来 alone, which new text writes the same way).
    int personLoneNames = 4;
    // Averaged-perceptron passes that refine the part-of-speech costs (0:
    // counted costs only) and the cost step of one update.
    int posEpochs = 4;
    double posRate = 0.2;
    double posMargin = 1.0;  // cost advantage of wrong tags while training
    // Classes of one word chosen from the training days in place of the
    // listed ones (lexclasses.h), by the gain of their tag transitions
    // (0: the listed classes), among the (word, tag) pairs seen at least
    // posClassMinCount times.
    int posWordClasses = 150;
    int64_t posClassMinCount = 10;
    // Companion rows: a word whose tags are all content tags gets, for each
    // tag that makes up at least posCompanionMinShare of the occurrences of
    // the words sharing its main tag (among words seen posCompanionMinCount
    // times or more), a row of count posCompanion x share when it lacks
    // that tag (0: none).
    double posCompanion = 1.0;
    double posCompanionMinShare = 0.05;
    int64_t posCompanionMinCount = 5;
    // Rounds of the search that then fits the unseen-word rows alone (every
    // other cost kept) to the words that only one week of the training
    // days shows, searched with those rows, and its first step (halved
    // each round; 0 rounds: the rows keep their counted costs).
    int posUnseenRounds = 3;
    double posUnseenStep = 0.5;
    SegTrainOptions seg;     // the word cutter model
};

// Figures printed after training.
struct TrainSummary {
    int64_t paragraphs = 0;
    int64_t tokens = 0;
    int64_t units = 0;
    int64_t entries = 0;       // core dictionary entries (class words included)
    int64_t posTagsUsed = 0;   // part-of-speech tags that occur
    std::vector<std::string> posClasses;  // chosen classes, "name=word,word..." (UTF-8)
    int64_t persons[3] = {0, 0, 0};  // Chinese, transliterated, Japanese
    int64_t places[2] = {0, 0};      // place, transliterated place
    int64_t orgs = 0;          // organisation tokens and bracketed compounds
    int64_t placesCut = 0;     // place occurrences cut into characters for role training
    std::string twin;          // text of the unseen-word twin (GB)
    int32_t twinPosition = -1;
    int64_t posPositions = 0;    // positions the refinement searches per pass
    int64_t posErrorsFirst = 0;  // of them tagged wrong in the first pass
    int64_t posErrorsLast = 0;   // the same in the last pass
    int64_t posUnseenWords = 0;  // words new to a week that fit the unseen-word rows
    int64_t posUnseenErrorsBefore = 0, posUnseenErrorsAfter = 0;  // of them tagged wrong
    SegTrainSummary seg;         // the word cutter model
};

// Whether the options leave out a paragraph of date `date` (YYYYMMDD).
bool ExcludedDay(const TrainOptions &opt, int32_t date);
// Writes `bytes` to `path` (replacing it); false with "cannot write PATH"
// in `error` when it cannot be written whole.
bool WriteText(const std::string &path, const std::string &bytes, std::string *error);

// Trains from paragraphs and writes the model set into `outDir` (created if
// missing). Returns false with a message in `error` when writing fails.
bool TrainModels(const std::vector<Paragraph> &paragraphs, const std::string &outDir, const TrainOptions &opt,
                 TrainSummary *summary, std::string *error);

}  // namespace vsgtrain

#endif  // VSGLEX_TOOLS_TRAIN_TRAINER_H
