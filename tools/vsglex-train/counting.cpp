// Counting step: the training paragraphs, their part-of-speech sequences,
// the word counts and the tallies of names.
#include "common/gbtext.h"
#include "steps.h"

namespace vsgtrain {

TrainCounts::TrainCounts()
    : posCtx(PosTagNames().size()),
      roleCtx{ContextCounts(PersonRoleNames().size()), ContextCounts(PlaceRoleNames().size()),
              ContextCounts(OrgRoleNames().size())} {
    for (const char *p = vsg::kNamePrefixChars; *p != '\0'; p += 2) prefixChars.emplace(p, 2);
}

void TrainCounts::AddRoles(int set, const std::vector<RoleWord> &seq) {
    std::vector<int> roles = {0};
    for (const RoleWord &w : seq) {
        roles.push_back(w.role);
        if (w.single) ++words[w.text].roles[set][w.role];
    }
    roles.push_back(1);
    roleCtx[set].Add(roles);
}

bool TrainCounts::PlaceCut(const Unit &u, int cutMax) const {
    if (u.kind != UnitKind::Place) return false;
    auto it = placeCount.find(u.text);
    return it != placeCount.end() && it->second <= cutMax;
}

bool ExcludedDay(const TrainOptions &opt, int32_t date) {
    if (opt.excludeFrom != 0 && date >= opt.excludeFrom) return true;
    if (opt.excludeBefore != 0 && date < opt.excludeBefore) return true;
    const int day = static_cast<int>(date % 100);
    return opt.excludeDayFirst != 0 && day >= opt.excludeDayFirst && day <= opt.excludeDayLast;
}

bool IsSingle(const std::string &w) { return SplitChars(w).size() == 1; }

void CollectParagraphs(const std::vector<Paragraph> &paragraphs, const TrainOptions &opt, TrainCounts *c,
                       TrainSummary *summary) {
    c->units.reserve(paragraphs.size());
    for (const Paragraph &p : paragraphs) {
        if (ExcludedDay(opt, p.date)) continue;
        c->units.push_back(BuildUnits(p));
        c->dates.push_back(p.date);

        ++summary->paragraphs;
        summary->tokens += static_cast<int64_t>(p.tokens.size());
        for (const Bracket &b : p.brackets)
            if (b.label == "nt") ++summary->orgs;
        for (const Unit &u : c->units.back())
            if (u.kind == UnitKind::Place) ++c->placeCount[u.text];
    }
}

void CountWords(TrainCounts *c, TrainSummary *summary) {
    for (const std::vector<Unit> &units : c->units) {
        summary->units += static_cast<int64_t>(units.size());
        std::vector<int> tags = {kPosBegin};
        for (const Unit &u : units) {
            tags.push_back(u.tag);
            if (u.text.size() <= kMaxDictWord) {
                WordCounts &wc = c->words[u.text];
                ++wc.pos[u.tag];
                ++wc.total;
            }
            if (u.kind == UnitKind::Person) {
                ++summary->persons[u.tag == kPosPerson ? 0 : u.tag == kPosForeignPerson ? 1 : 2];
                ++c->nameTagCounts[u.tag];
            } else if (u.kind == UnitKind::Place) {
                ++summary->places[u.tag == kPosPlace ? 0 : 1];
                ++c->nameTagCounts[u.tag];
                // Only Chinese places tell suffixes: transliterated ones end
                // in transliteration characters (斯, 尔, 亚), which as
                // suffixes made places of two-character foreign names.
                std::vector<std::string> chars = SplitChars(u.text);
                if (chars.size() >= kMinCharsForSuffix && u.tag == kPosPlace)
                    c->placeEndings[chars.back()].insert(u.text);
            } else if (u.kind == UnitKind::Org) {
                ++summary->orgs;
                ++c->nameTagCounts[u.tag];
                std::vector<std::string> chars = SplitChars(u.text);
                if (chars.size() >= kMinCharsForSuffix) ++c->orgSuffix[chars.back()];
            }
            if (u.bracketLabel == "nt" && u.bracketLast) ++c->orgSuffix[u.text];
            if ((u.kind == UnitKind::Org || (u.bracketLabel == "nt" && u.bracketLast)) && u.kind != UnitKind::Person) {
                std::vector<std::string> chars = SplitChars(u.text);
                if (chars.size() >= 2) c->orgEndings[chars.back()].insert(u.text);
            }
            if (u.bracketLabel == "ns" && u.bracketLast) ++c->placeCompoundEnd[u.text];
        }
        tags.push_back(kPosEnd);
        c->posCtx.Add(tags);
    }
}

}  // namespace vsgtrain
