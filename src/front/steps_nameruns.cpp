// The step after the engine that joins the cutter's name runs the
// recognisers left as single characters, with the tag the dictionary, an
// administrative suffix or the role data gives them.
#include <algorithm>
#include <cmath>
#include <string>
#include <string_view>
#include <vector>

#include "common/gbtext.h"
#include "common/tagset.h"
#include "front/analysis.h"
#include "front/analyzer.h"
#include "front/corpusview.h"

namespace vsg::front {

// Whether a name run ends in the suffix of an administrative unit after a
// stem that is no word of its own (费县, 三门峡市, 麦盖提乡; not 送往县,
// 镇区). Of two characters only those in 县 or 州 are taken: 区 市 乡 镇
// end as many plain words (每镇, 债市) as places.
bool Analysis::SuffixedPlaceRun(const char *w, size_t chars) const {
    const char *end = w + 2 * chars - 2;
    if (chars == 2) return kPairUnitSuffixSet.Has(end) && !UnitSuffix(w);
    if (!UnitSuffix(end) && !kPairUnitSuffixSet.Has(end)) return false;
    const int32_t stem = CoreWordTag(&shared_.engine->models(), w, 2 * chars - 2);
    return stem < 0 || IsPlaceTag(stem);
}

namespace {

// Added to every count, so that a role never seen has a finite share.
constexpr double kRolePrior = 0.5;

}  // namespace

// ln P(character | role) of role `role` of role set `code` (1 person, 2
// place): the character's count from its role row (ln(count + 1); a floor
// row counts as none) over the role's count in the role sequences. The
// default role is the character's count as a word of its own.
double Analysis::RoleShare(const char *ch, int code, int role) const {
    const SegmentEngine &m = shared_.engine->models();
    const ContextStat &ctx = m.tagModels[code].model;
    const double total = ContextStat_GetFrequency(role, &ctx);
    if (total <= 0) return std::log(kRolePrior / 1e9);
    double count = 0;
    if (role == (code == 1 ? vsg::kPersonDefaultRole : vsg::kPlaceDefaultRole)) {
        count = CoreWordCount(&m, ch, 2);
    } else {
        const int32_t e = shared_.engine->CoreEntryOf(ch, 2);
        if (e >= 0 && e < m.core.count) {
            const DictSEntry &entry = m.core.entries[e];
            for (int32_t r = 0; entry.posList != nullptr && r < entry.posCount; ++r)
                if (entry.posList[r].code == code && entry.posList[r].subCode == role)
                    count = std::max(0.0, RowCount(entry.posList[r]));
        }
    }
    return std::log((count + kRolePrior) / total);
}

// The tag of a name run from the role data: the run read as a person
// (surname and given name, or a transliteration) and as a place (with or
// without a suffix, or a transliterated place), each against its
// characters as plain words; the better reading wins when it beats them
// by shared_.nameRunMin, else the run is a plain word (a noun for the
// steps after).
int32_t Analysis::RunTagFromRoles(const char *w, size_t chars) const {
    const size_t bytes = 2 * chars;
    double plainPerson = 0, plainPlace = 0;
    bool foreign = true;
    for (size_t k = 0; k < bytes; k += 2) {
        plainPerson += RoleShare(w + k, 1, vsg::kPersonDefaultRole);
        plainPlace += RoleShare(w + k, 2, vsg::kPlaceDefaultRole);
        foreign = foreign && static_cast<unsigned char>(w[k]) >= 0xB0 && IsTransliterationChar(w + k);
    }
    const char *last = w + bytes - 2;
    // A Chinese person: surname, then a given name of one or two characters.
    double person = -1e300;
    if (chars == 2) person = RoleShare(w, 1, vsg::kPersonSurnameRole) + RoleShare(last, 1, vsg::kPersonGivenOnlyRole);
    else if (chars == 3)
        person = RoleShare(w, 1, vsg::kPersonSurnameRole) + RoleShare(w + 2, 1, vsg::kPersonGivenFirstRole) +
                 RoleShare(last, 1, vsg::kPersonGivenLaterRole);
    // A transliterated person, and a transliterated place (roles U V of the
    // person set).
    double foreignPerson = -1e300, foreignPlace = -1e300;
    if (foreign) {
        foreignPerson = RoleShare(w, 1, vsg::kPersonForeignFirstRole) + RoleShare(last, 1, vsg::kPersonForeignLastRole);
        foreignPlace = RoleShare(last, 1, vsg::kPersonCutPlaceLastRole);
        for (size_t k = 0; k + 2 < bytes; k += 2) foreignPlace += RoleShare(w + k, 1, vsg::kPersonCutPlaceRole);
        for (size_t k = 2; k + 2 < bytes; k += 2) foreignPerson += RoleShare(w + k, 1, vsg::kPersonForeignInnerRole);
    }
    // A place with a suffix (C F G, C E F G ...) or without (H L, H K L ...).
    auto place = [&](bool suffixed) {
        double v = RoleShare(w, 2, suffixed ? vsg::kPlaceSuffixedFirstRole : vsg::kPlaceFirstRole) +
                   RoleShare(last, 2, suffixed ? vsg::kPlaceSuffixRole : vsg::kPlaceLastRole);
        for (size_t k = 2; k + 2 < bytes; k += 2) {
            const size_t fromEnd = (bytes - k) / 2;  // 2: second-last, 3: third-last
            const int role = fromEnd == 2 ? (suffixed ? vsg::kPlaceSuffixedSecondLastRole : vsg::kPlaceSecondLastRole)
                             : fromEnd == 3 ? (suffixed ? vsg::kPlaceSuffixedThirdLastRole : vsg::kPlaceThirdLastRole)
                                            : (suffixed ? vsg::kPlaceSuffixedInnerRole : vsg::kPlaceInnerRole);
            v += RoleShare(w + k, 2, role);
        }
        return v;
    };
    const double chinesePlace = std::max(place(true), place(false));
    const double personGain = std::max(person, foreignPerson) - plainPerson;
    const double placeGain = std::max(chinesePlace - plainPlace, foreignPlace - plainPerson);
    if (std::max(personGain, placeGain) < shared_.nameRunMin) return shared_.nounTag;
    if (placeGain >= personGain)
        return foreignPlace - plainPerson >= chinesePlace - plainPlace ? kForeignPlaceTag : kPlaceTag;
    return foreignPerson >= person ? kForeignPersonTag : kPersonTag;
}

// The cutter hands the characters of what it takes for a name (a person,
// a place it has not seen) to the engine one a word, for the recognisers to
// build the name. Where they build nothing of such a run (two-character
// places and transliterations no pattern joins: 象山, 科恩, 普者黑), its
// characters came out as single words, wrong at both granularities. Such a
// run of two or more characters, all left plain, is one word: a person when
// the engine took its first character for a person alone; with the
// dictionary's tag when the dictionary holds it; a place when it ends in
// the suffix of an administrative unit after a stem that is no word; a
// person when the role data reads it as a person far better than as plain
// characters and better than as a place; otherwise a noun, which the place
// repeats and the unknown-word tags judge further.
void Analysis::JoinNameRuns(std::vector<Span> &spans) {
    if (shared_.nameRuns == 0 || spans.size() < 2) return;
    const std::string &gb = work_.gb;
    // A character of the run the engine left alone.
    auto single = [&](const Span &s, uint8_t mark) {
        const Item &it = items_[s.first];
        // The first character may be a surname the engine took for a person
        // alone: the run is then that person's name (张 祝, 李 道 豫).
        const bool surname = mark == kNameFirst && s.tag == kPersonTag;
        return s.first == s.last && it.name == mark && it.length == 2 && s.tag >= 0 && (surname || !IsNameTag(s.tag)) &&
               s.split == 0 && s.partCount == 0 && !HoldsFixedItem(s);
    };
    // Most batches have few runs: the spans before the first are left as
    // they are.
    size_t out = 0;
    while (out < spans.size() && items_[spans[out].first].name != kNameFirst) ++out;
    for (size_t i = out; i < spans.size(); ++i) {
        size_t j = i + 1;
        if (items_[spans[i].first].name == kNameFirst && single(spans[i], kNameFirst)) {
            while (j < spans.size() && single(spans[j], kNameLater) &&
                   items_[spans[j].first].sentence == items_[spans[i].first].sentence)
                ++j;
            // The run must end here: a later character the engine claimed
            // (part of a name of its own) leaves the run as it is.
            const bool whole = j == spans.size() || items_[spans[j].first].name != kNameLater;
            const size_t chars = j - i;
            if (chars >= 2 && whole && chars <= shared_.nameRunMax) {
                const char *w = gb.data() + items_[spans[i].first].start;
                const size_t bytes = 2 * chars;
                int32_t tag = CoreWordTag(&shared_.engine->models(), w, bytes);
                if (spans[i].tag == kPersonTag) tag = kPersonTag;
                if (tag < 0) {
                    if (SuffixedPlaceRun(w, chars)) {
                        tag = kPlaceTag;
                    } else {
                        // Places without a suffix are left to the place
                        // repeats: the role data tells them from plain words
                        // too seldom (place F1 fell on every split).
                        tag = RunTagFromRoles(w, chars);
                        if (!IsPersonTag(tag)) tag = shared_.nounTag;
                    }
                }
                Span joined{spans[i].first, spans[j - 1].last, tag};
                joined.run = true;
                spans[out++] = joined;
                i = j - 1;
                continue;
            }
        }
        if (out != i) spans[out] = spans[i];
        ++out;
    }
    spans.resize(out);
}

}  // namespace vsg::front
