// Part-of-speech classes chosen from the training days: verbs that mostly
// stand before a verbal noun (加强 管理, 促进 发展) form a verb class of
// their own, so that the first-order search learns that a verb-or-noun
// word after them is mostly the noun.
#include <cstring>
#include <map>

#include "steps.h"

namespace vsgtrain {

namespace {

bool StartsWith(const std::string &s, const char *prefix) { return s.compare(0, std::strlen(prefix), prefix) == 0; }

}  // namespace

std::vector<ExtraPosClass> ChoosePosClasses(const std::vector<Paragraph> &paragraphs, const TrainOptions &opt) {
    std::vector<ExtraPosClass> classes;
    if (!(opt.posVerbObjectShare > 0.0)) return classes;
    SetExtraPosClasses({});
    const std::vector<std::string> &names = PosTagNames();
    struct Seen {
        int64_t total = 0, beforeVerbalNoun = 0;
    };
    std::map<std::string, Seen> verbs;  // sorted: the class lists its words in order
    for (const Paragraph &p : paragraphs) {
        if (ExcludedDay(opt, p.date)) continue;
        const std::vector<Unit> units = BuildUnits(p);
        for (size_t i = 0; i < units.size(); ++i) {
            if (names[static_cast<size_t>(units[i].tag)] != "v") continue;
            Seen &s = verbs[units[i].text];
            ++s.total;
            if (i + 1 < units.size() && StartsWith(names[static_cast<size_t>(units[i + 1].tag)], "vn")) ++s.beforeVerbalNoun;
        }
    }
    ExtraPosClass before{"v#n", "v", {}};
    for (const auto &v : verbs)
        if (v.second.total >= opt.posClassMinCount &&
            static_cast<double>(v.second.beforeVerbalNoun) >= opt.posVerbObjectShare * static_cast<double>(v.second.total))
            before.words.push_back(v.first);
    if (!before.words.empty()) classes.push_back(std::move(before));
    return classes;
}

}  // namespace vsgtrain
