// Core dictionary step: one entry per counted word with its part-of-speech
// rows, its role rows and its statistics, and the entries of the class
// words.
#include <algorithm>
#include <iterator>

#include "common/gbtext.h"
#include "steps.h"

namespace vsgtrain {

namespace {

using vsg::kEndWord;
using vsg::kOrgClass;
using vsg::kOtherClass;
using vsg::kPersonClass;
using vsg::kPlaceClass;
using vsg::kStartWord;

// The most frequent part-of-speech tag of a word (ties to the lower tag),
// or -1.
int MainTag(const std::map<int, int32_t> &pos) {
    int best = -1;
    int32_t most = -1;
    for (const auto &tc : pos) {
        if (tc.second > most) {
            most = tc.second;
            best = tc.first;
        }
    }
    return best;
}

// Whether the most frequent part-of-speech tag of a word is a function-word
// (stop) or punctuation class.
bool MainTagIsFunctional(const std::map<int, int32_t> &pos) {
    const int best = MainTag(pos);
    return best >= 0 && vsg::IsFunctionOrPunctTag(best);
}

// Whether the most frequent tag of a word, its class name without the
// "#k" of a one-word class, is one of the comma-separated `names`.
bool MainTagIn(const std::map<int, int32_t> &pos, const std::string &names) {
    const int best = MainTag(pos);
    if (best < 0 || names.empty()) return false;
    std::string name = PosTagNames()[static_cast<size_t>(best)];
    name = name.substr(0, name.find('#'));
    return ("," + names + ",").find("," + name + ",") != std::string::npos;
}

// Whether a word's place tags make less than opt.placeClassShare of its
// occurrences while its most frequent tag is no name tag (珠江 mostly nz,
// 新兴 b, 运河 n). Its place rows are then written at count 1, which gives
// it no place class: a place row above count 1 makes the engine fix every
// occurrence as a place before tagging. A name read mostly as a person
// (内塔尼亚胡) keeps its rows.
bool RarelyPlace(const std::map<int, int32_t> &pos, const TrainOptions &opt) {
    if (opt.placeClassShare <= 0.0) return false;
    int64_t all = 0, place = 0;
    for (const auto &tc : pos) {
        all += tc.second;
        if (tc.first == kPosPlace || tc.first == kPosForeignPlace) place += tc.second;
    }
    const int main = MainTag(pos);
    if (place == 0 || main < 0 || IsNameTag(main)) return false;
    return static_cast<double>(place) < opt.placeClassShare * static_cast<double>(all);
}

// Appends the rows of a one-character word in role set `set` (0 person,
// 1 place, 2 organisation) from its role counts and returns its `stats`
// value (the log count of the default role). `functional`: the word's most
// frequent part of speech is a function word or punctuation mark.
float RoleRows(int set, const std::string &word, const std::map<int, int32_t> &roles, bool functional,
               bool flatGiven, bool orgEnding, const TrainOptions &opt, std::vector<Row> *rows) {
    const int defaults[3] = {kPersonDefault, kPlaceDefault, kOrgDefault};
    int32_t def = 0;
    std::map<int, int32_t> named;
    for (const auto &rc : roles) {
        if (rc.first == defaults[set]) def = rc.second;
        else named.insert(rc);
    }
    for (const auto &rc : TopCounts(named, kMaxRows - 1))
        rows->push_back({static_cast<uint16_t>(set + 1), static_cast<uint8_t>(rc.first), LogCount(rc.second + 1.0)});
    // A character that mostly follows names (摄, ）) keeps only the flat
    // floor in the given-name roles it was seen in a few times.
    const auto after = named.find(kPersonAfterRole);
    if (set == 0 && opt.personRoleFloor > 0.0 && opt.personGivenAfterRatio > 0.0 && after != named.end()) {
        for (Row &r : *rows) {
            if (r.code != 1 || std::find(std::begin(kPersonGivenRoles), std::end(kPersonGivenRoles), r.subCode) ==
                                   std::end(kPersonGivenRoles))
                continue;
            if (after->second >= opt.personGivenAfterRatio * named.at(r.subCode)) r.value = LogCount(opt.personRoleFloor);
        }
    }
    // Function words and punctuation marks get none (褚、乔 is no name).
    // Names are full of characters the training days never show in a name
    // (吴昌期, 普里马科夫): every character gets a small floor for the roles of
    // a given name and of a transliteration's inner and last character, so
    // the role search can still choose them in context. The named rows and
    // the floors together stay below the candidate limit, with room for the
    // default candidate.
    if (set == 0 && opt.personRoleFloor > 0.0 && !functional) {
        size_t n = std::min(named.size(), static_cast<size_t>(kMaxRows - 1));
        // A listed surname never seen as one (臧, 粟) gets a small surname
        // count: a flat surname floor on every character made names of
        // common characters before common words.
        const double surnameLeast = IsSurnameChar(word) ? opt.surnameFloor : 0.0;
        if (surnameLeast > 0.0 && named.count(kPersonSurnameRole)) {
            for (Row &r : *rows)
                if (r.code == 1 && r.subCode == kPersonSurnameRole)
                    r.value = std::max(r.value, LogCount(surnameLeast));
        } else if (surnameLeast > 0.0 && ++n < static_cast<size_t>(kMaxRows)) {
            rows->push_back({1, static_cast<uint8_t>(kPersonSurnameRole), LogCount(surnameLeast)});
        }
        // Likewise the first character of a transliteration: a listed
        // transliteration character may begin a foreign name the training
        // days never show.
        const bool listedForeign = CharsInSet(word, 0) + CharsInSet(word, 1) > 0;
        if (opt.foreignFirstFloor > 0.0 && !named.count(kPersonForeignFirstRole) && listedForeign &&
            ++n < static_cast<size_t>(kMaxRows))
            rows->push_back({1, static_cast<uint8_t>(kPersonForeignFirstRole), LogCount(opt.foreignFirstFloor)});
        // A character that often follows a name is evidence for closing it.
        if (opt.personAfterNameShare > 0.0 && after != named.end() &&
            after->second >= opt.personAfterNameShare * def)
            flatGiven = true;
        const auto before = named.find(kPersonBeforeRole);
        if (opt.personBeforeNameShare > 0.0 && before != named.end() &&
            before->second >= opt.personBeforeNameShare * def)
            flatGiven = true;
        // A flat floor would leave a common character (来 in 周恩来, 成 in
        // 刘我成) far less likely in a given name than a rare one against
        // its own default count; the given-name floors grow with it.
        double givenFloor =
            flatGiven ? opt.personRoleFloor : std::max(opt.personRoleFloor, opt.personFloorShare * def);
        // A rare character is a given name in new text far more often than
        // its grown floor says (with a minimum set); the characters kept
        // flat above are the exception.
        if (opt.personGivenFloorMax > 0.0) givenFloor = std::min(givenFloor, opt.personGivenFloorMax);
        if (!flatGiven && (opt.personGivenFloorMinUpTo <= 0 || def <= opt.personGivenFloorMinUpTo))
            givenFloor = std::max(givenFloor, opt.personGivenFloorMin);
        // A listed transliteration character may be the inner or last
        // character of a foreign name the training days never show.
        for (int r : kPersonFloorRoles) {
            const bool given = r == kPersonGivenRoles[0] || r == kPersonGivenRoles[1] || r == kPersonGivenRoles[2];
            const double floor = given      ? givenFloor
                                 : listedForeign ? std::max(opt.personRoleFloor, opt.foreignInnerFloor)
                                                 : opt.personRoleFloor;
            if (!named.count(r) && ++n < static_cast<size_t>(kMaxRows))
                rows->push_back({1, static_cast<uint8_t>(r), LogCount(floor)});
        }
        // A character never seen next to a name (but in the new text) could
        // only be a name character or the default next to one: a tiny
        // count of the context roles before, after and between names lets
        // the search close a name before it.
        if (opt.personContextFloor > 0.0)
            for (int r : kPersonContextRoles)
                if (!named.count(r) && ++n < static_cast<size_t>(kMaxRows))
                    rows->push_back({1, static_cast<uint8_t>(r), LogCount(opt.personContextFloor)});
        // The same for the two roles of a cut place, so that an unknown
        // place (阿塞拜疆) has a path that makes no name.
        if (opt.personPlaceRoles) {
            for (int r : kPersonPlaceFloorRoles) {
                if (!named.count(r) && ++n < static_cast<size_t>(kMaxRows))
                    rows->push_back({1, static_cast<uint8_t>(r), LogCount(opt.personPlaceFloor)});
            }
        }
    }
    // Places of the new text are full of stems the training days never
    // show (玉环县, 邹城市, 鹿邑县): every character gets a small floor for
    // the roles before a place suffix, so that a suffix after it can make
    // a place. The roles of places without a suffix get none (floors there
    // made places of ordinary words).
    if (set == 1 && opt.placeRoleFloor > 0.0 && !functional) {
        size_t n = std::min(named.size(), static_cast<size_t>(kMaxRows - 1));
        for (int r : kPlaceStemRoles)
            if (!named.count(r) && ++n < static_cast<size_t>(kMaxRows))
                rows->push_back({2, static_cast<uint8_t>(r), LogCount(opt.placeRoleFloor)});
        // A listed transliteration character may be part of a foreign place
        // the training days never show (比勒陀利亚, 东斯拉沃尼亚): a tiny count
        // of the roles of a place without a suffix. On every character such
        // floors made places of ordinary words.
        const bool listedForeign = CharsInSet(word, 0) + CharsInSet(word, 1) > 0;
        if (opt.placeForeignFloor > 0.0 && listedForeign)
            for (int r : kPlaceUnsuffixedRoles)
                if (!named.count(r) && ++n < static_cast<size_t>(kMaxRows))
                    rows->push_back({2, static_cast<uint8_t>(r), LogCount(opt.placeForeignFloor)});
    }
    // The recogniser takes a word it does not know (综治委, 综合司) as an
    // organisation suffix by the suffix row of its last character; a
    // character that ends many different organisation words gets a count
    // that passes, though the training days seldom show it alone at the
    // end of a name.
    if (set == 2 && orgEnding && !functional && opt.orgCharSuffixCount > 0.0) {
        auto it = named.find(kOrgSuffixRole);
        if (it == named.end() || it->second + 1.0 < opt.orgCharSuffixCount) {
            rows->erase(std::remove_if(rows->begin(), rows->end(),
                                       [](const Row &r) { return r.code == 3 && r.subCode == kOrgSuffixRole; }),
                        rows->end());
            rows->push_back({3, static_cast<uint8_t>(kOrgSuffixRole), LogCount(opt.orgCharSuffixCount)});
        }
    }
    // Organisation names hold one-character words the training days never
    // show in one (隆 in 浙江隆中机械制造有限公司, 磷 in 交口县五磷有限公司):
    // every character gets a small count of the first and inner roles C and
    // E, so that the search can take it into a name when the words around
    // it make one.
    if (set == 2 && opt.orgRoleFloor > 0.0 && !functional) {
        size_t n = std::min(named.size(), static_cast<size_t>(kMaxRows - 1));
        for (int r : kOrgBodyRoles)
            if (!named.count(r) && ++n < static_cast<size_t>(kMaxRows))
                rows->push_back({3, static_cast<uint8_t>(r), LogCount(opt.orgRoleFloor)});
    }
    // A character without person rows would get the guessed candidates
    // surname, given name and default, all scored with the default count,
    // which favours the rarer name roles; a row of its own default role
    // prevents that.
    if (set == 0 && named.empty() && def > 0)
        rows->push_back({1, static_cast<uint8_t>(defaults[0]), LogCount(def + 1.0)});
    return LogCount(def + 1.0);
}

}  // namespace

std::map<int, int32_t> TopCounts(const std::map<int, int32_t> &counts, size_t limit) {
    if (counts.size() <= limit) return counts;
    std::vector<std::pair<int, int32_t>> v(counts.begin(), counts.end());
    std::stable_sort(v.begin(), v.end(), [](const auto &a, const auto &b) { return a.second > b.second; });
    v.resize(limit);
    return std::map<int, int32_t>(v.begin(), v.end());
}

// Characters of GB2312 that the training days never show get the default
// person role once and with it the person floors, so that a name can still
// end in a rare character (关治瀛): without an entry the engine guesses only
// surname, first given-name character or default for it.
void AddUnseenCharRows(TrainCounts *c) {
    constexpr int kFirstHanziRow = 0xB0, kLastHanziRow = 0xF7;  // GB2312 level 1 and 2
    constexpr int kFirstCell = 0xA1, kLastCell = 0xFE;
    constexpr int kShortRow = 0xD7, kShortRowEnd = 0xFA;  // cells from here on are unassigned
    for (int hi = kFirstHanziRow; hi <= kLastHanziRow; ++hi) {
        for (int lo = kFirstCell; lo <= kLastCell; ++lo) {
            if (hi == kShortRow && lo >= kShortRowEnd) continue;
            std::string ch = {static_cast<char>(hi), static_cast<char>(lo)};
            if (c->words.count(ch) == 0) c->words[ch].roles[0][kPersonDefault] = kUnseenCharCount;
        }
    }
}

std::vector<Entry> BuildCoreEntries(const TrainCounts &c, const TrainOptions &opt, int64_t paragraphs,
                                    std::map<int, int32_t> *seenOnce) {
    std::vector<Entry> entries;
    entries.reserve(c.words.size() + 8);
    std::vector<std::string> keys;
    keys.reserve(c.words.size());
    for (const auto &kv : c.words) keys.push_back(kv.first);
    std::sort(keys.begin(), keys.end());
    for (const std::string &w : keys) {
        const WordCounts &wc = c.words.at(w);
        Entry e;
        e.word = w;
        const bool single = IsSingle(w);
        const bool rarePlace = !single && RarelyPlace(wc.pos, opt);
        for (const auto &tc : TopCounts(wc.pos, kMaxRows)) {
            const bool place = tc.first == kPosPlace || tc.first == kPosForeignPlace;
            e.rows.push_back({0, static_cast<uint8_t>(tc.first), LogCount(rarePlace && place ? 1 : tc.second)});
        }
        if (wc.total == 1) {
            int t = wc.pos.begin()->first;
            if (!IsNameTag(t)) ++(*seenOnce)[t];
        }
        e.stats[0] = wc.total > 0 ? LogCount(static_cast<double>(wc.total) + 1.0) : 0.0f;
        if (!single) {
            // Evidence for the front end's place compounds (see steps.h).
            auto near = c.nameNeighbours.find(w);
            if (near != c.nameNeighbours.end()) {
                // Person rows first, then place rows, as in every entry.
                const size_t order[4] = {2, 3, 0, 1};
                const int codes[4] = {2, 2, 1, 1};
                const int roles[4] = {kBeforePlaceRole, kAfterPlaceRole, kBeforeForeignPersonRole,
                                      kAfterForeignPersonRole};
                for (size_t k : order)
                    if (near->second[k] > 0)
                        e.rows.push_back({static_cast<uint16_t>(codes[k]), static_cast<uint8_t>(roles[k]),
                                          LogCount(near->second[k] + 1.0)});
            }
            auto ends = c.placeCompoundEnds.find(w);
            if (ends != c.placeCompoundEnds.end() && ends->second.first > 0) {
                e.rows.push_back({2, static_cast<uint8_t>(kPlaceCompoundEndRole), LogCount(ends->second.first + 1.0)});
                e.rows.push_back(
                    {2, static_cast<uint8_t>(kPlaceCompoundApartRole), LogCount(ends->second.second + 1.0)});
            }
            // Organisation rows of words inside organisation names. The
            // suffix row gets a larger added count: a word seen ending
            // organisation names once (举重队, 交易所) is a suffix. Words
            // that also end places (开发区) do not get it.
            const bool endsPlaces = opt.orgSuffixPlaceEnd && c.placeCompoundEnd.count(w) != 0;
            for (const auto &rc : TopCounts(wc.roles[2], kMaxRows)) {
                const double add = rc.first == kOrgSuffixRole && !endsPlaces ? opt.orgSuffixAdd : 1.0;
                e.rows.push_back({3, static_cast<uint8_t>(rc.first), LogCount(rc.second + add)});
            }
            // A rare noun that ends in an organisation-ending character
            // (工学院, 二轻局) is a suffix as a word the training days never
            // show would be by that character.
            if (opt.orgRareSuffixUpTo > 0 && opt.orgCharSuffixCount > 0.0 && wc.total > 0 &&
                wc.total <= opt.orgRareSuffixUpTo && !endsPlaces && wc.roles[2].count(kOrgSuffixRole) == 0 &&
                MainTagIn(wc.pos, "n,j")) {
                const std::vector<std::string> chars = SplitChars(w);
                const auto share = c.orgSuffixCharShare.find(chars.back());
                if (chars.size() >= 2 && share != c.orgSuffixCharShare.end() &&
                    share->second >= opt.orgRareSuffixShare)
                    e.rows.push_back({3, static_cast<uint8_t>(kOrgSuffixRole), LogCount(opt.orgCharSuffixCount)});
            }
        } else {
            for (int set = 0; set < 3; ++set)
                e.stats[set + 1] = RoleRows(set, w, wc.roles[set], MainTagIsFunctional(wc.pos),
                                            MainTagIn(wc.pos, opt.personFlatFloorTags),
                                            c.orgSuffixChars.count(w) != 0, opt, &e.rows);
        }
        if (e.rows.empty()) continue;  // the text form cannot hold a word without rows
        entries.push_back(std::move(e));
    }

    // Known place and organisation compounds: an entry of their own text
    // with the place rows of a compound end, or the organisation rows of a
    // suffix and a plain word (times bracketed, times apart), and no part of
    // speech. A text that is also a corpus word keeps its own entry.
    std::map<std::string, std::vector<Row>> compounds;
    auto addCompounds = [&](const std::map<std::string, std::pair<int32_t, int32_t>> &runs, int set, int joined,
                            int apart, int32_t least) {
        for (const auto &pc : runs) {
            if (pc.second.first < least || c.words.count(pc.first) != 0) continue;
            std::vector<Row> &rows = compounds[pc.first];
            rows.push_back({static_cast<uint16_t>(set), static_cast<uint8_t>(joined), LogCount(pc.second.first + 1.0)});
            rows.push_back({static_cast<uint16_t>(set), static_cast<uint8_t>(apart), LogCount(pc.second.second + 1.0)});
        }
    };
    addCompounds(c.placeCompounds, 2, kPlaceCompoundEndRole, kPlaceCompoundApartRole, vsg::kMinPlaceCompoundJoined);
    addCompounds(c.orgCompounds, 3, vsg::kOrgCompoundJoinedRole, vsg::kOrgCompoundApartRole,
                 vsg::kMinOrgCompoundJoined);
    for (auto &kv : compounds) {
        Entry e;
        e.word = kv.first;
        e.rows = std::move(kv.second);
        entries.push_back(std::move(e));
    }

    // The class words replace any corpus word spelled the same way.
    for (const char *cw : {kStartWord, kEndWord, kPersonClass, kPlaceClass, kOrgClass, kOtherClass}) {
        entries.erase(std::remove_if(entries.begin(), entries.end(), [cw](const Entry &e) { return e.word == cw; }),
                      entries.end());
    }
    auto classEntry = [&](const char *word, std::vector<Row> rows) {
        Entry e;
        e.word = word;
        e.rows = std::move(rows);
        entries.push_back(std::move(e));
    };
    auto nameRows = [&](std::initializer_list<int> tagsOf) {
        std::vector<Row> rows;
        for (int t : tagsOf) {
            auto it = c.nameTagCounts.find(t);
            if (it != c.nameTagCounts.end()) rows.push_back({0, static_cast<uint8_t>(t), LogCount(it->second)});
        }
        if (rows.empty()) rows.push_back({0, static_cast<uint8_t>(*tagsOf.begin()), 0.0f});
        return rows;
    };
    const float sentenceValue = LogCount(static_cast<double>(paragraphs > 0 ? paragraphs : 1));
    classEntry(kStartWord, {{0, kPosBegin, sentenceValue}, {1, 0, sentenceValue}, {2, 0, sentenceValue},
                            {3, 0, sentenceValue}});
    classEntry(kEndWord, {{0, kPosEnd, sentenceValue}, {1, 1, sentenceValue}, {2, 1, sentenceValue},
                          {3, 1, sentenceValue}});
    classEntry(kPersonClass, nameRows({kPosPerson, kPosForeignPerson, kPosJapanesePerson}));
    classEntry(kPlaceClass, nameRows({kPosPlace, kPosForeignPlace}));
    classEntry(kOrgClass, nameRows({kPosOrg}));
    return entries;
}

}  // namespace vsgtrain
