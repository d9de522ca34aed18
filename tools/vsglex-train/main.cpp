// vsglex-train CORPUS_DIR OUT_DIR: trains the default model set from the
// tagged corpus and prints a summary.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "corpus.h"
#include "trainer.h"

namespace {

void Usage() {
    std::fprintf(stderr,
                 "usage: vsglex-train [--text] [--exclude-from YYYYMMDD] [--exclude-days FROM-TO] [--exclude-before YYYYMMDD] [--place-cut N] [--place-cut-short 0|1] [--person-place-cut N] [--person-foreign-place-cut N] [--person-floor X] [--person-floor-share X] [--person-given-floor-min X] [--person-given-floor-max X] [--person-given-floor-min-upto N] [--person-given-after-ratio X] [--person-context-floor X] [--person-lone-names 0|1|2|3|4] [--person-flat-floor-tags LIST] [--surname-floor X] [--foreign-first-floor X] [--foreign-inner-floor X] [--person-after-name-share X] [--person-before-name-share X] [--place-floor X] [--place-foreign-floor X] [--place-class-share X] [--org-suffix-add X] [--org-suffix-place-end 0|1] [--org-char-suffix X] [--org-rare-suffix-upto N] [--org-rare-suffix-share X] [--org-floor X] [--person-place-roles 0|1] [--person-place-floor X] [--unseen-char-rows 0|1] [--pos-epochs N] [--pos-rate X] [--pos-margin X] [--pos-companion X] [--pos-companion-share X] [--pos-companion-min N] [--pos-unseen-rounds N] [--pos-unseen-step X] [--pos-class-min N] [--pos-word-classes N] [--seg-epochs N] [--seg-min-count N] [--seg-prune X] [--seg-folds N] [--seg-fold-block N] [--seg-foreign-places 0|1] [--seg-place-chars N] [--seg-name-labels 0|1|2] [--seg-name-places 0|1] [--seg-drop-templates MASK] [--seg-words 0|1|2] [--seg-members N] [--seg-member-kinds LIST] [--seg-word-bias X] CORPUS_DIR OUT_DIR\n"
                 "  --text          also write the text/raw forms into OUT_DIR/text\n"
                 "  --exclude-from  leave out the paragraphs of this day and later\n"
                 "  --exclude-days FROM-TO  leave out the paragraphs of these days of the month (e.g. 22-28)\n"
                 "  --exclude-before  leave out the paragraphs before this day\n"
                 "  --place-cut N   cut places seen at most N times into characters (default 10)\n"
                 "  --place-cut-short 0|1  cut rare places of two characters too in the place data (default 0)\n"
                 "  --person-place-cut N  the same for the person role data (default 30)\n"
                 "  --person-foreign-place-cut N  the same for transliterated places in the person data (default 30)\n"
                 "  --person-floor X      pseudo-count of unseen given-name roles (default 0.003, 0: none)\n"
                 "  --person-floor-share X  given-name floors of at least X times the default count (default 0.003)\n"
                 "  --person-context-floor X  pseudo-count of unseen context roles R, S, T (default 0.0003, 0: none)\n"
                 "  --person-lone-names 0|1|2|3|4  lone two-character names never seen as given names train as C F (1: first character a listed surname, 2: given-name-like ones, 3: these and transliterated ones, 4: these and those seen as given names too; default 4)\n"
                 "  --person-given-floor-min X, --person-given-floor-max X  bounds of the given-name floor, the minimum not for characters that keep the flat floor (default min 0.06, max 0: none)\n"
                 "  --person-given-floor-min-upto N  the minimum only for characters seen at most N times in the default role (default 5, 0: all)\n"
                 "  --person-given-after-ratio X  given-name rows of a character seen after a name at least X times as often drop to the flat floor (default 100, 0: off)\n"
                 "  --person-flat-floor-tags LIST  part-of-speech classes whose characters keep the flat given-name floor (default d,m, empty: none)\n"
                 "  --surname-floor X      surname pseudo-count of listed surnames never seen as one (default 0.03, 0: none)\n"
                 "  --foreign-first-floor X  first-character pseudo-count of listed transliteration characters (default 0.1)\n"
                 "  --foreign-inner-floor X  inner and last transliteration roles (M, N) of listed transliteration characters never seen in them (default 0.03; the general floor if higher)\n"
                 "  --person-after-name-share X  characters seen after a name at least X times their default count keep the flat given-name floor (default 0.005, 0: off)\n"
                 "  --person-before-name-share X  the same for characters seen before a name (default 0.01, 0: off)\n"
                 "  --place-floor X  pseudo-count of the roles before a place suffix (default 0.001, 0: none)\n"
                 "  --place-foreign-floor X  pseudo-count of the unsuffixed place roles H-L for listed transliteration characters (default 0.0003, 0: none)\n"
                 "  --place-class-share X  place rows at count 1 (no place class) for words seen as a place in less than this share, main tag no name (default 0.3, 0: off)\n"
                 "  --org-suffix-add X  organisation suffix rows of words are ln(count + X) (default 2.05)\n"
                 "  --org-char-suffix X  suffix count of characters that end many organisation words (default 3.05, 0: none)\n"
                 "  --org-rare-suffix-upto N  nouns seen at most N times ending in such a character get that count (default 4)\n"
                 "  --org-rare-suffix-share X  ... when X of the words ending in the character end organisations (default 0.6)\n"
                 "  --org-floor X   pseudo-count of the first and inner organisation roles of one-character words (default 0.01, 0: none)\n"
                 "  --org-suffix-place-end 0|1  words that end bracketed places get ln(count + 1) instead (default 1)\n"
                 "  --person-place-roles 0|1  person data: suffixed and transliterated cut places as U...V (default 1)\n"
                 "  --person-place-floor X  pseudo-count of unseen U, V roles (default 0.003)\n"
                 "  --unseen-char-rows 0|1    person rows for GB2312 characters the corpus lacks (default 1)\n"
                 "  --pos-epochs N  perceptron passes refining the part-of-speech costs (default 4, 0: counted costs)\n"
                 "  --pos-rate X    cost step of one perceptron update (default 0.2)\n"
                 "  --pos-margin X  cost advantage of wrong tags while training (default 1)\n"
                 "  --pos-word-classes N  classes of one word chosen from the training days by the gain\n"
                 "                  of their transitions, in place of the listed ones (default 150; 0: the listed ones)\n"
                 "  --pos-class-min N  least count of a (word, tag) pair for such a class (default 10)\n"
                 "  --pos-companion X  count x share of the rows of tags that words of a word's main tag share (default 1, 0: none)\n"
                 "  --pos-companion-share X  least share of such a tag (default 0.05)\n"
                 "  --pos-companion-min N  words seen at least N times give the shares (default 5)\n"
                 "  --pos-unseen-rounds N  rounds fitting the unseen-word rows to words of one week only (default 3, 0: counted rows)\n"
                 "  --pos-unseen-step X  first cost step of that search, halved each round (default 0.5)\n"
                 "  --seg-epochs N  perceptron passes of the word cutter model (default 15, 0: no segment.mdl)\n"
                 "  --seg-min-count N  word cutter features seen fewer times are not learned (default 3)\n"
                 "  --seg-prune X   drop word cutter features below this share of the largest weight (default 0.01)\n"
                 "  --seg-folds N   word cutter dictionary features of a paragraph come from the other N-1 folds (default 4)\n"
                 "  --seg-fold-block N  word cutter folds take consecutive paragraphs N at a time (default 100; 1: one by one)\n"
                 "  --seg-foreign-places 0|1  the word cutter keeps rare transliterated places whole (default 0)\n"
                 "  --seg-place-chars N  the word cutter keeps rare places of at most N characters whole (default 0)\n"
                 "  --seg-name-labels 0|1|2  word cutter labels of name characters: none, one, first and later apart (default 2)\n"
                 "  --seg-name-places 0|1  unknown places' characters get the name labels too (default 1)\n"
                 "  --seg-drop-templates MASK  word cutter feature templates left out (bit t: template t; default 0)\n"
                 "  --seg-words 0|1|2  word cutter features of whole words of 2-4 atoms: none, the word and its length, also the word with each neighbour (default 0)\n"
                 "  --seg-members N  word cutter perceptrons, each with its own folds and order, summed (default 4)\n"
                 "  --seg-member-kinds LIST  features of those perceptrons in turn: all, nodict (no dictionary templates),\n"
                 "                  notri (no atom trigram or skip pair) (default all,nodict,notri,nodict)\n"
                 "  --seg-word-bias X  word cutter bonus for every word, as a share of the largest weight (default 0;\n"
                 "                  above 0: more and shorter words)\n");
}

// Reads "FROM-TO" (days of the month, FROM <= TO).
bool ParseDayRange(const char *text, int *first, int *last) {
    int a = 0, b = 0;
    char tail = 0;
    if (std::sscanf(text, "%d-%d%c", &a, &b, &tail) != 2) return false;
    if (a < 1 || b > 31 || a > b) return false;
    *first = a;
    *last = b;
    return true;
}

}  // namespace

int main(int argc, char **argv) {
    vsgtrain::TrainOptions opt;
    std::vector<std::string> args;
    for (int i = 1; i < argc; ++i) {
        std::string a = argv[i];
        if (a == "--text") {
            opt.text = true;
        } else if (a == "--exclude-from" && i + 1 < argc) {
            opt.excludeFrom = std::atoi(argv[++i]);
        } else if (a == "--exclude-days" && i + 1 < argc) {
            if (!ParseDayRange(argv[++i], &opt.excludeDayFirst, &opt.excludeDayLast)) {
                std::fprintf(stderr, "vsglex-train: --exclude-days wants FROM-TO, days 1-31 (got %s)\n", argv[i]);
                return 2;
            }
        } else if (a == "--exclude-before" && i + 1 < argc) {
            opt.excludeBefore = std::atoi(argv[++i]);
        } else if (a == "--seg-epochs" && i + 1 < argc) {
            opt.seg.epochs = std::atoi(argv[++i]);
        } else if (a == "--seg-min-count" && i + 1 < argc) {
            opt.seg.minCount = std::atoi(argv[++i]);
        } else if (a == "--seg-folds" && i + 1 < argc) {
            opt.seg.folds = std::atoi(argv[++i]);
        } else if (a == "--seg-foreign-places" && i + 1 < argc) {
            opt.seg.keepForeignPlaces = std::atoi(argv[++i]) != 0;
        } else if (a == "--seg-place-chars" && i + 1 < argc) {
            opt.seg.wholePlaceChars = std::atoi(argv[++i]);
        } else if (a == "--seg-name-labels" && i + 1 < argc) {
            opt.seg.nameLabels = std::atoi(argv[++i]);
        } else if (a == "--seg-name-places" && i + 1 < argc) {
            opt.seg.namePlaces = std::atoi(argv[++i]) != 0;
        } else if (a == "--seg-fold-block" && i + 1 < argc) {
            opt.seg.foldBlock = std::atoi(argv[++i]);
        } else if (a == "--seg-members" && i + 1 < argc) {
            opt.seg.members = std::atoi(argv[++i]);
        } else if (a == "--seg-member-kinds" && i + 1 < argc) {
            if (!vsgtrain::ParseSegMemberKinds(argv[++i], &opt.seg.memberKinds)) {
                std::fprintf(stderr, "vsglex-train: --seg-member-kinds wants names from all, nodict, notri, comma-separated (got %s)\n",
                             argv[i]);
                return 2;
            }
        } else if (a == "--seg-words" && i + 1 < argc) {
            opt.seg.wordFeatures = std::atoi(argv[++i]);
        } else if (a == "--seg-drop-templates" && i + 1 < argc) {
            opt.seg.dropTemplates = static_cast<uint32_t>(std::strtoul(argv[++i], nullptr, 0));
        } else if (a == "--seg-word-bias" && i + 1 < argc) {
            opt.seg.wordBias = std::atof(argv[++i]);
        } else if (a == "--seg-prune" && i + 1 < argc) {
            opt.seg.prune = std::atof(argv[++i]);
        } else if (a == "--place-cut-short" && i + 1 < argc) {
            opt.placeCutShort = std::atoi(argv[++i]) != 0;
        } else if (a == "--place-cut" && i + 1 < argc) {
            opt.placeCutMax = std::atoi(argv[++i]);
        } else if (a == "--person-place-cut" && i + 1 < argc) {
            opt.personPlaceCutMax = std::atoi(argv[++i]);
        } else if (a == "--person-foreign-place-cut" && i + 1 < argc) {
            opt.personForeignPlaceCutMax = std::atoi(argv[++i]);
        } else if (a == "--person-place-floor" && i + 1 < argc) {
            opt.personPlaceFloor = std::atof(argv[++i]);
        } else if (a == "--person-place-roles" && i + 1 < argc) {
            opt.personPlaceRoles = std::atoi(argv[++i]) != 0;
        } else if (a == "--unseen-char-rows" && i + 1 < argc) {
            opt.unseenCharRows = std::atoi(argv[++i]) != 0;
        } else if (a == "--person-floor" && i + 1 < argc) {
            opt.personRoleFloor = std::atof(argv[++i]);
        } else if (a == "--org-rare-suffix-share" && i + 1 < argc) {
            opt.orgRareSuffixShare = std::atof(argv[++i]);
        } else if (a == "--org-rare-suffix-upto" && i + 1 < argc) {
            opt.orgRareSuffixUpTo = std::atoi(argv[++i]);
        } else if (a == "--foreign-first-floor" && i + 1 < argc) {
            opt.foreignFirstFloor = std::atof(argv[++i]);
        } else if (a == "--place-foreign-floor" && i + 1 < argc) {
            opt.placeForeignFloor = std::atof(argv[++i]);
        } else if (a == "--place-class-share" && i + 1 < argc) {
            opt.placeClassShare = std::atof(argv[++i]);
        } else if (a == "--place-floor" && i + 1 < argc) {
            opt.placeRoleFloor = std::atof(argv[++i]);
        } else if (a == "--org-suffix-add" && i + 1 < argc) {
            opt.orgSuffixAdd = std::atof(argv[++i]);
        } else if (a == "--org-floor" && i + 1 < argc) {
            opt.orgRoleFloor = std::atof(argv[++i]);
        } else if (a == "--org-char-suffix" && i + 1 < argc) {
            opt.orgCharSuffixCount = std::atof(argv[++i]);
        } else if (a == "--org-suffix-place-end" && i + 1 < argc) {
            opt.orgSuffixPlaceEnd = std::atoi(argv[++i]) != 0;
        } else if (a == "--surname-floor" && i + 1 < argc) {
            opt.surnameFloor = std::atof(argv[++i]);
        } else if (a == "--person-before-name-share" && i + 1 < argc) {
            opt.personBeforeNameShare = std::atof(argv[++i]);
        } else if (a == "--person-after-name-share" && i + 1 < argc) {
            opt.personAfterNameShare = std::atof(argv[++i]);
        } else if (a == "--person-context-floor" && i + 1 < argc) {
            opt.personContextFloor = std::atof(argv[++i]);
        } else if (a == "--foreign-inner-floor" && i + 1 < argc) {
            opt.foreignInnerFloor = std::atof(argv[++i]);
        } else if (a == "--person-given-floor-min" && i + 1 < argc) {
            opt.personGivenFloorMin = std::atof(argv[++i]);
        } else if (a == "--person-given-floor-min-upto" && i + 1 < argc) {
            opt.personGivenFloorMinUpTo = std::atoi(argv[++i]);
        } else if (a == "--person-given-after-ratio" && i + 1 < argc) {
            opt.personGivenAfterRatio = std::atof(argv[++i]);
        } else if (a == "--person-given-floor-max" && i + 1 < argc) {
            opt.personGivenFloorMax = std::atof(argv[++i]);
        } else if (a == "--person-lone-names" && i + 1 < argc) {
            opt.personLoneNames = std::atoi(argv[++i]);
        } else if (a == "--person-flat-floor-tags" && i + 1 < argc) {
            opt.personFlatFloorTags = argv[++i];
        } else if (a == "--person-floor-share" && i + 1 < argc) {
            opt.personFloorShare = std::atof(argv[++i]);
        } else if (a == "--pos-epochs" && i + 1 < argc) {
            opt.posEpochs = std::atoi(argv[++i]);
        } else if (a == "--pos-rate" && i + 1 < argc) {
            opt.posRate = std::atof(argv[++i]);
        } else if (a == "--pos-margin" && i + 1 < argc) {
            opt.posMargin = std::atof(argv[++i]);
        } else if (a == "--pos-word-classes" && i + 1 < argc) {
            opt.posWordClasses = std::atoi(argv[++i]);
        } else if (a == "--pos-class-min" && i + 1 < argc) {
            opt.posClassMinCount = std::atoll(argv[++i]);
        } else if (a == "--pos-companion" && i + 1 < argc) {
            opt.posCompanion = std::atof(argv[++i]);
        } else if (a == "--pos-companion-share" && i + 1 < argc) {
            opt.posCompanionMinShare = std::atof(argv[++i]);
        } else if (a == "--pos-companion-min" && i + 1 < argc) {
            opt.posCompanionMinCount = std::atoll(argv[++i]);
        } else if (a == "--pos-unseen-rounds" && i + 1 < argc) {
            opt.posUnseenRounds = std::atoi(argv[++i]);
        } else if (a == "--pos-unseen-step" && i + 1 < argc) {
            opt.posUnseenStep = std::atof(argv[++i]);
        } else if (a == "-h" || a == "--help") {
            Usage();
            return 0;
        } else if (!a.empty() && a[0] == '-') {
            Usage();
            return 2;
        } else {
            args.push_back(a);
        }
    }
    if (args.size() != 2) {
        Usage();
        return 2;
    }
    std::vector<std::string> files = vsgtrain::CorpusFiles(args[0]);
    if (files.empty()) {
        std::fprintf(stderr, "vsglex-train: no corpus files (*.txt) in %s\n", args[0].c_str());
        return 1;
    }
    std::vector<vsgtrain::Paragraph> paragraphs;
    for (const std::string &f : files) {
        if (!vsgtrain::ReadCorpusFile(f, 0, 0, &paragraphs)) {
            std::fprintf(stderr, "vsglex-train: cannot read %s\n", f.c_str());
            return 1;
        }
    }
    vsgtrain::TrainSummary s;
    std::string error;
    if (!vsgtrain::TrainModels(paragraphs, args[1], opt, &s, &error)) {
        std::fprintf(stderr, "vsglex-train: %s\n", error.c_str());
        return 1;
    }
    std::printf("paragraphs %lld, tokens %lld, words %lld\n", static_cast<long long>(s.paragraphs),
                static_cast<long long>(s.tokens), static_cast<long long>(s.units));
    std::printf("core dictionary entries %lld, part-of-speech tags in use %lld of %zu\n",
                static_cast<long long>(s.entries), static_cast<long long>(s.posTagsUsed),
                vsgtrain::PosTagNames().size());
    if (!s.posClasses.empty()) {
        std::printf("part-of-speech classes chosen %zu:", s.posClasses.size());
        for (const std::string &c : s.posClasses) std::printf(" %s", c.c_str());
        std::printf("\n");
    }
    std::printf("person names %lld (Chinese %lld, transliterated %lld, Japanese %lld)\n",
                static_cast<long long>(s.persons[0] + s.persons[1] + s.persons[2]),
                static_cast<long long>(s.persons[0]), static_cast<long long>(s.persons[1]),
                static_cast<long long>(s.persons[2]));
    std::printf("place names %lld (place %lld, transliterated %lld), cut into characters for role training %lld\n",
                static_cast<long long>(s.places[0] + s.places[1]), static_cast<long long>(s.places[0]),
                static_cast<long long>(s.places[1]), static_cast<long long>(s.placesCut));
    std::printf("organisation names %lld\n", static_cast<long long>(s.orgs));
    std::printf("unseen-word rows at entry %d\n", s.twinPosition);
    if (s.posPositions > 0)
        std::printf("part-of-speech refinement: %lld positions a pass, short of the margin in the first pass %lld, in the last %lld\n",
                    static_cast<long long>(s.posPositions), static_cast<long long>(s.posErrorsFirst),
                    static_cast<long long>(s.posErrorsLast));
    if (s.posUnseenWords > 0)
        std::printf("unseen-word rows: %lld words new to a week, tagged wrong %lld before the fit, %lld after\n",
                    static_cast<long long>(s.posUnseenWords), static_cast<long long>(s.posUnseenErrorsBefore),
                    static_cast<long long>(s.posUnseenErrorsAfter));
    if (s.seg.bytes > 0)
        std::printf("word cutter: %lld atoms in %lld runs, %lld features, %lld kept, %lld bytes; wrong atoms in the first pass %lld, in the last %lld\n",
                    static_cast<long long>(s.seg.atoms), static_cast<long long>(s.seg.runs),
                    static_cast<long long>(s.seg.features), static_cast<long long>(s.seg.groups),
                    static_cast<long long>(s.seg.bytes), static_cast<long long>(s.seg.errorsFirst),
                    static_cast<long long>(s.seg.errorsLast));
    return 0;
}
