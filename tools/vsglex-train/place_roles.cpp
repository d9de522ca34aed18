// Place role step: rare places of three or more characters cut into
// characters; person names arrive merged into one word.
#include "steps.h"

namespace vsgtrain {

void CountPlaceRoles(const TrainOptions &opt, TrainCounts *c, TrainSummary *summary) {
    const std::vector<std::string> &names = PlaceRoleNames();
    const int placeS = RoleOf(names, 'S'), placeM = RoleOf(names, 'M');
    const int placeN = RoleOf(names, 'N'), placeO = RoleOf(names, 'O');
    const int placeP = RoleOf(names, 'P'), placeQ = RoleOf(names, 'Q');

    for (const std::vector<Unit> &units : c->units) {
        std::vector<RoleWord> seq;
        std::vector<char> cut, whole;
        for (const Unit &u : units) {
            // A rare place of two characters stays whole unless asked
            // (TrainOptions::placeCutShort).
            if (c->PlaceCut(u, opt.placeCutMax) && (opt.placeCutShort || SplitChars(u.text).size() > 2)) {
                std::string letters = PlaceRoles(u.text);
                std::vector<std::string> chars = SplitChars(u.text);
                ++summary->placesCut;
                for (size_t k = 0; k < chars.size(); ++k) {
                    RoleWord w;
                    w.text = chars[k];
                    w.single = true;
                    w.role = RoleOf(names, letters[k]);
                    seq.push_back(w);
                    cut.push_back(1);
                    whole.push_back(0);
                }
            } else {
                RoleWord w;
                w.text = u.text;
                w.single = u.kind != UnitKind::Person && IsSingle(u.text);
                w.role = w.single ? (u.kind == UnitKind::Place ? placeS : kPlaceDefault) : 0;
                seq.push_back(w);
                cut.push_back(0);
                whole.push_back(u.kind == UnitKind::Place && !w.single ? 1 : 0);
            }
        }
        // Context roles: between two cut places, before or after one, and
        // before or after a place kept whole.
        for (size_t i = 0; i < seq.size(); ++i) {
            if (!seq[i].single || cut[i] || seq[i].role != kPlaceDefault) continue;
            bool before = i + 1 < seq.size() && cut[i + 1];
            bool after = i > 0 && cut[i - 1];
            if (before && after) seq[i].role = placeO;
            else if (before) seq[i].role = placeM;
            else if (after) seq[i].role = placeN;
            else if (i + 1 < seq.size() && whole[i + 1]) seq[i].role = placeP;
            else if (i > 0 && whole[i - 1]) seq[i].role = placeQ;
        }
        c->AddRoles(1, seq);
        // A word of several characters after a place: closing one bracketed
        // place with it, or standing apart.
        for (size_t i = 0; i + 1 < units.size(); ++i) {
            const Unit &place = units[i], &next = units[i + 1];
            if (place.kind != UnitKind::Place || next.kind != UnitKind::Plain || IsSingle(next.text) ||
                next.text.size() > kMaxDictWord)
                continue;
            const bool joined = next.bracketLabel == "ns" && next.bracketLast && place.bracket == next.bracket;
            std::pair<int32_t, int32_t> &n = c->placeCompoundEnds[next.text];
            ++(joined ? n.first : n.second);
        }
        // Words of several characters around transliterated places and
        // transliterated person names (Chinese places have other
        // neighbours: the counts are for telling the two kinds of
        // transliteration apart).
        auto plainWord = [&](size_t k) {
            return units[k].kind != UnitKind::Person && units[k].kind != UnitKind::Place &&
                   !IsSingle(units[k].text) && units[k].text.size() <= kMaxDictWord;
        };
        for (size_t i = 0; i < units.size(); ++i) {
            const Unit &u = units[i];
            const bool place = u.kind == UnitKind::Place && u.tag == kPosForeignPlace;
            const bool foreign = u.kind == UnitKind::Person && u.tag == kPosForeignPerson;
            if (!place && !foreign) continue;
            if (i > 0 && plainWord(i - 1)) ++c->nameNeighbours[units[i - 1].text][place ? 0 : 2];
            if (i + 1 < units.size() && plainWord(i + 1)) ++c->nameNeighbours[units[i + 1].text][place ? 1 : 3];
        }
    }
    CountKnownCompounds(c);
}

// Bracketed places and organisations of two to kMaxCompoundUnits units,
// then the times the same runs of units stand in the text without being one
// such name.
void CountKnownCompounds(TrainCounts *c) {
    auto runText = [](const std::vector<Unit> &units, size_t i, size_t n) {
        std::string t;
        for (size_t k = i; k < i + n; ++k) t += units[k].text;
        return t;
    };
    auto whole = [](const std::vector<Unit> &units, size_t i, size_t n, const char *label) {
        const Unit &a = units[i], &b = units[i + n - 1];
        return a.bracket >= 0 && a.bracket == b.bracket && a.bracketFirst && b.bracketLast && a.bracketLabel == label;
    };
    struct Kind {
        const char *label;
        std::map<std::string, std::pair<int32_t, int32_t>> *runs;
    };
    for (const Kind &kind : {Kind{"ns", &c->placeCompounds}, Kind{"nt", &c->orgCompounds}}) {
        for (const std::vector<Unit> &units : c->units)
            for (size_t i = 0; i < units.size(); ++i)
                for (size_t n = 2; n <= kMaxCompoundUnits && i + n <= units.size(); ++n)
                    if (whole(units, i, n, kind.label)) {
                        std::string t = runText(units, i, n);
                        if (t.size() <= kMaxDictWord) ++(*kind.runs)[t].first;
                    }
        if (kind.runs->empty()) continue;
        for (const std::vector<Unit> &units : c->units)
            for (size_t i = 0; i < units.size(); ++i)
                for (size_t n = 2; n <= kMaxCompoundUnits && i + n <= units.size(); ++n) {
                    if (whole(units, i, n, kind.label)) continue;
                    auto it = kind.runs->find(runText(units, i, n));
                    if (it != kind.runs->end()) ++it->second.second;
                }
    }
}

}  // namespace vsgtrain
