// Organisation role step: person and place names arrive merged; one word
// per unit.
#include <algorithm>

#include "steps.h"

namespace vsgtrain {

namespace {

// True for a one-character numeral (digits, Chinese numerals, 第).
bool IsNumberChar(const std::string &w) {
    static const std::set<std::string> digits = [] {
        std::set<std::string> d;
        std::string gb;
        Utf8ToGb("零〇一二两三四五六七八九十百千万０１２３４５６７８９第", &gb);
        for (const std::string &c : SplitChars(gb)) d.insert(c);
        return d;
    }();
    return digits.count(w) != 0 || (w.size() == 1 && w[0] >= '0' && w[0] <= '9');
}

}  // namespace

// Characters that end organisation words productively (steps.h).
void FindOrgSuffixChars(TrainCounts *c) {
    std::map<std::string, size_t> wordsEnding;  // last character -> different words of several characters
    for (const auto &kv : c->words) {
        if (kv.second.total == 0) continue;
        std::vector<std::string> chars = SplitChars(kv.first);
        if (chars.size() >= 2 && c->orgEndings.count(chars.back())) ++wordsEnding[chars.back()];
    }
    for (const auto &kv : c->orgEndings) {
        const size_t all = std::max(wordsEnding[kv.first], kv.second.size());
        if (kv.second.size() >= kMinOrgWordsPerEnding &&
            static_cast<double>(kv.second.size()) >= kMinOrgEndingShare * static_cast<double>(all)) {
            c->orgSuffixChars.insert(kv.first);
            c->orgSuffixCharShare[kv.first] = static_cast<double>(kv.second.size()) / static_cast<double>(all);
        }
    }
}

void CountOrgRoles(const TrainOptions &opt, TrainCounts *c) {
    FindOrgSuffixChars(c);
    const std::vector<std::string> &names = OrgRoleNames();
    const int orgT = RoleOf(names, 'T'), orgD = RoleOf(names, 'D');
    const int orgJ = RoleOf(names, 'J'), orgC = RoleOf(names, 'C');
    const int orgE = RoleOf(names, 'E');
    const int orgLeft = RoleOf(names, '1'), orgRight = RoleOf(names, '4');

    for (const std::vector<Unit> &units : c->units) {
        std::vector<RoleWord> seq;
        std::vector<char> inOrg(units.size(), 0);
        for (size_t i = 0; i < units.size(); ++i) {
            const Unit &u = units[i];
            RoleWord w;
            w.text = u.text;
            w.single = u.kind != UnitKind::Person && !c->PlaceCut(u, opt.placeCutMax) && IsSingle(u.text);
            w.role = w.single ? kOrgDefault : 0;
            if (u.bracketLabel == "nt") {
                inOrg[i] = 1;
                int part = u.bracketLast ? orgD : u.bracketFirst ? orgC : orgE;
                if (w.single) {
                    w.role = (part != orgD && IsNumberChar(u.text)) ? orgJ : part;
                } else if (u.kind != UnitKind::Person && u.text.size() <= kMaxDictWord &&
                           !(u.bracketFirst && u.bracketLast)) {
                    ++c->words[u.text].roles[2][part];  // read by the recogniser from the rows
                }
            } else if (u.kind == UnitKind::Org) {
                inOrg[i] = 1;
                if (w.single) w.role = orgT;
            }
            seq.push_back(w);
        }
        for (size_t i = 0; i < seq.size(); ++i) {
            if (!seq[i].single || inOrg[i]) continue;
            if (i + 1 < seq.size() && inOrg[i + 1]) seq[i].role = orgLeft;
            else if (i > 0 && inOrg[i - 1]) seq[i].role = orgRight;
        }
        c->AddRoles(2, seq);
    }
}

}  // namespace vsgtrain
