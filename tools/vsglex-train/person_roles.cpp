// Person role step. Person names always arrive cut into characters, and so
// do rare places (the host's cut keeps known words whole and breaks up what
// it does not know).
#include <algorithm>
#include <map>
#include <set>

#include "steps.h"

namespace vsgtrain {

namespace {

// Two-character given names that follow a surname in the training days
// (泽民 in 江泽民, 恩来 in 周恩来).
std::set<std::string> GivenNamesAfterSurname(const std::vector<std::vector<Unit>> &all) {
    std::set<std::string> given;
    for (const std::vector<Unit> &units : all)
        for (const Unit &u : units) {
            if (u.kind != UnitKind::Person || u.roles.size() < 3) continue;
            const size_t surname = u.roles.size() - 2;
            if (u.roles.compare(surname, 2, "DE") != 0 || u.roles.find_first_not_of('C') != surname) continue;
            std::vector<std::string> chars = SplitChars(u.text);
            if (chars.size() == u.roles.size()) given.insert(chars[surname] + chars[surname + 1]);
        }
    return given;
}

}  // namespace

// Roles a lone two-character name token trains with (see
// TrainOptions::personLoneNames); `roles` unchanged when the option leaves
// it as it is.
std::string LoneNameRoles(const Unit &u, const std::set<std::string> &givenNames, int mode) {
    if (mode <= 0 || u.kind != UnitKind::Person) return u.roles;
    if (u.roles != "DE" && !(mode >= 3 && u.roles == "LN")) return u.roles;
    if (mode < 4 && givenNames.count(u.text) != 0) return u.roles;
    if (mode == 1 && !IsSurnameChar(SplitChars(u.text)[0])) return u.roles;
    return "CF";
}

void CountPersonRoles(const TrainOptions &opt, TrainCounts *c) {
    const std::vector<std::string> &names = PersonRoleNames();
    const int roleG = RoleOf(names, 'G'), roleT = RoleOf(names, 'T');
    const int roleR = RoleOf(names, 'R'), roleS = RoleOf(names, 'S');
    const int rolePlaceInner = RoleOf(names, 'U'), rolePlaceEnd = RoleOf(names, 'V');
    const int roleSurname = RoleOf(names, 'C');  // surname
    const std::set<std::string> givenNames =
        opt.personLoneNames > 0 ? GivenNamesAfterSurname(c->units) : std::set<std::string>();

    for (const std::vector<Unit> &units : c->units) {
        std::vector<RoleWord> seq;
        std::vector<char> inName;
        for (const Unit &u : units) {
            // The person data cuts more places than the place data: the
            // person recogniser runs first and must learn to leave place
            // characters alone.
            const bool foreignPlace = u.kind == UnitKind::Place && u.tag == kPosForeignPlace;
            const int cutMax = foreignPlace ? std::max(opt.personPlaceCutMax, opt.personForeignPlaceCutMax)
                                            : opt.personPlaceCutMax;
            if (u.kind == UnitKind::Person || c->PlaceCut(u, cutMax)) {
                std::vector<std::string> chars = SplitChars(u.text);
                for (size_t k = 0; k < chars.size(); ++k) {
                    RoleWord w;
                    w.text = chars[k];
                    w.single = true;
                    w.role = kPersonDefault;
                    // A cut place that ends in a place suffix or is a
                    // transliteration takes U for its characters and V for
                    // its last one: no pattern reads these letters, so the
                    // search gets a path that keeps 刘桥 or 卢旺达 from
                    // becoming a name. Other cut places stay W.
                    if (u.kind == UnitKind::Place && opt.personPlaceRoles &&
                        (u.tag == kPosForeignPlace || PlaceRoles(u.text).back() == 'G'))
                        w.role = k + 1 == chars.size() ? rolePlaceEnd : rolePlaceInner;
                    if (u.kind == UnitKind::Person) {
                        const std::string roles = LoneNameRoles(u, givenNames, opt.personLoneNames);
                        char letter = k < roles.size() ? roles[k] : roles.back();
                        w.role = RoleOf(names, letter);
                        // A surname or a given name alone joins into no name
                        // (no pattern takes "C" alone, "DE" yields nothing):
                        // trained as name roles they only pull the search
                        // toward sequences the recogniser cannot use. The
                        // part-of-speech data still tags them as names.
                        if (roles == "C" || roles == "DE") w.role = kPersonDefault;
                    }
                    seq.push_back(w);
                    inName.push_back(u.kind == UnitKind::Person && w.role != kPersonDefault ? 1 : 0);
                }
            } else {
                RoleWord w;
                w.text = u.text;
                w.single = IsSingle(u.text);
                w.role = w.single ? kPersonDefault : 0;
                seq.push_back(w);
                inName.push_back(0);
            }
        }
        // Context roles of the words around a name: prefix (老, 小, 阿 before
        // a surname), between two names, before and after one.
        for (size_t i = 0; i < seq.size(); ++i) {
            if (!seq[i].single || inName[i]) continue;
            bool before = i + 1 < seq.size() && inName[i + 1];
            bool after = i > 0 && inName[i - 1];
            if (before && !after && c->prefixChars.count(seq[i].text) && seq[i + 1].role == roleSurname) {
                seq[i].role = roleG;
                ++c->namePrefix[seq[i].text];
            } else if (before && after) {
                seq[i].role = roleT;
            } else if (before) {
                seq[i].role = roleR;
            } else if (after) {
                seq[i].role = roleS;
            }
        }
        c->AddRoles(0, seq);
    }
}

}  // namespace vsgtrain
