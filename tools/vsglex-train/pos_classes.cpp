// Part-of-speech classes chosen from the training days, numbered after the
// fixed tag set:
// - verbs that mostly stand before a verbal noun (有所 改进, 予以 表彰)
//   form the class "v#n", so that the first-order search learns that a
//   verb-or-noun word after them is mostly the noun;
// - ambiguity classes: for a pair of tags T:U, the words that take T and
//   take U at least a given share of the time form the class "T#U" in
//   place of T (the verbs that are often verbal nouns, "v#vn"), so that
//   the transitions around T are learned apart for the words where the
//   choice between T and U is made.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <map>

#include "steps.h"

namespace vsgtrain {

namespace {

bool StartsWith(const std::string &s, const char *prefix) { return s.compare(0, std::strlen(prefix), prefix) == 0; }

std::vector<std::string> SplitOn(const std::string &s, char sep) {
    std::vector<std::string> parts;
    for (size_t at = 0; at <= s.size();) {
        size_t end = s.find(sep, at);
        if (end == std::string::npos) end = s.size();
        if (end > at) parts.push_back(s.substr(at, end - at));
        at = end + 1;
    }
    return parts;
}

// Coarse name of a tag: its name up to "#" ("v#3" is "v").
std::string Coarse(const std::string &name) {
    const size_t hash = name.find('#');
    return hash == std::string::npos || hash == 0 ? name : name.substr(0, hash);
}

// The coarse tags whose frequent words may form a class of one word.
bool TakesWordClass(int tag) {
    switch (tag) {
    case 2: case 3: case 4: case 5: case 6: case 7: case 8: case 11: case 12: case 13: case 15: case 17: case 19:
        return true;
    default:
        return false;
    }
}

// Classes of one word chosen by how far the word's neighbours differ from
// those of its tag: for a word w with tag t seen C(w, t) times, the gain
// of a class of its own is the log-likelihood its tag transitions gain,
//   sum_j C(w t -> j) ln(P(j | w t) / P(j | t)) + sum_i C(i -> w t) ln(P(i | w t) / P(i | t)),
// over its following tags j and preceding tags i (the units counted with
// the coarse tags). The posWordClasses words of the highest gain among
// those seen posClassMinCount times or more become classes "t#k", k
// running by tag in the order of gain.
std::vector<ExtraPosClass> ChooseWordClasses(const std::vector<Paragraph> &paragraphs, const TrainOptions &opt) {
    const std::vector<std::string> &names = PosTagNames();
    const size_t n = names.size();
    std::vector<std::vector<double>> next(n, std::vector<double>(n, 0.0)), prev = next;  // tag -> tag counts
    std::vector<double> freq(n, 0.0);
    struct Word {
        double count = 0;
        std::map<int, double> next, prev;
    };
    std::map<std::pair<int, std::string>, Word> words;
    for (const Paragraph &p : paragraphs) {
        if (ExcludedDay(opt, p.date)) continue;
        const std::vector<Unit> units = BuildUnits(p);
        std::vector<int> tags = {kPosBegin};
        for (const Unit &u : units) tags.push_back(u.tag);
        tags.push_back(kPosEnd);
        for (size_t i = 1; i + 1 < tags.size(); ++i) {
            const size_t t = static_cast<size_t>(tags[i]);
            freq[t] += 1;
            next[t][static_cast<size_t>(tags[i + 1])] += 1;
            prev[t][static_cast<size_t>(tags[i - 1])] += 1;
            if (!TakesWordClass(tags[i]) || units[i - 1].kind != UnitKind::Plain) continue;
            Word &w = words[{tags[i], units[i - 1].text}];
            w.count += 1;
            w.next[tags[i + 1]] += 1;
            w.prev[tags[i - 1]] += 1;
        }
    }
    std::vector<std::pair<double, std::pair<int, std::string>>> gains;
    for (const auto &w : words) {
        if (w.second.count < static_cast<double>(opt.posClassMinCount)) continue;
        const size_t t = static_cast<size_t>(w.first.first);
        double gain = 0;
        for (const auto &j : w.second.next)
            gain += j.second * std::log((j.second / w.second.count) / (next[t][static_cast<size_t>(j.first)] / freq[t]));
        for (const auto &i : w.second.prev)
            gain += i.second * std::log((i.second / w.second.count) / (prev[t][static_cast<size_t>(i.first)] / freq[t]));
        gains.push_back({-gain, w.first});
    }
    std::sort(gains.begin(), gains.end());
    std::vector<ExtraPosClass> classes;
    std::map<std::string, int> perTag;
    for (size_t k = 0; k < gains.size() && static_cast<int>(k) < opt.posWordClasses; ++k) {
        const std::string &tag = names[static_cast<size_t>(gains[k].second.first)];
        classes.push_back({tag + "#" + std::to_string(++perTag[tag]), tag, {gains[k].second.second}});
    }
    return classes;
}

}  // namespace

std::vector<ExtraPosClass> ChoosePosClasses(const std::vector<Paragraph> &paragraphs, const TrainOptions &opt) {
    std::vector<ExtraPosClass> classes;
    const bool object = opt.posVerbObjectShare > 0.0;
    const std::vector<std::string> pairs = SplitOn(opt.posAmbiguityPairs, ',');
    const bool ambiguity = opt.posAmbiguityShare > 0.0 && !pairs.empty();
    const bool chosen = opt.posWordClasses > 0;
    if (!object && !ambiguity && !chosen) return classes;
    SetExtraPosClasses({}, !chosen);
    if (chosen) classes = ChooseWordClasses(paragraphs, opt);
    const std::vector<std::string> &names = PosTagNames();
    struct Seen {
        int64_t total = 0, beforeVerbalNoun = 0;
    };
    std::map<std::string, Seen> verbs;                          // sorted: classes list their words in order
    std::map<std::string, std::map<std::string, int64_t>> tagsOf;  // word -> corpus tag (coarse) -> count
    for (const Paragraph &p : paragraphs) {
        if (ExcludedDay(opt, p.date)) continue;
        const std::vector<Unit> units = BuildUnits(p);
        for (size_t i = 0; i < units.size(); ++i) {
            const std::string &name = names[static_cast<size_t>(units[i].tag)];
            if (units[i].kind == UnitKind::Plain) ++tagsOf[units[i].text][Coarse(name)];
            if (name != "v") continue;
            Seen &s = verbs[units[i].text];
            ++s.total;
            if (i + 1 < units.size() && StartsWith(names[static_cast<size_t>(units[i + 1].tag)], "vn")) ++s.beforeVerbalNoun;
        }
    }
    if (object) {
        ExtraPosClass before{"v#n", "v", {}};
        for (const auto &v : verbs)
            if (v.second.total >= opt.posClassMinCount &&
                static_cast<double>(v.second.beforeVerbalNoun) >=
                    opt.posVerbObjectShare * static_cast<double>(v.second.total))
                before.words.push_back(v.first);
        if (!before.words.empty()) classes.push_back(std::move(before));
    }
    if (ambiguity) {
        std::map<std::string, bool> taken;  // a word's tag joins the first class of the list it fits
        for (const std::string &pair : pairs) {
            const std::vector<std::string> tu = SplitOn(pair, ':');
            if (tu.size() != 2) continue;
            ExtraPosClass cls{tu[0] + "#" + tu[1], tu[0], {}};
            for (const auto &w : tagsOf) {
                auto t = w.second.find(tu[0]), u = w.second.find(tu[1]);
                if (t == w.second.end() || u == w.second.end()) continue;
                const double both = static_cast<double>(t->second + u->second);
                if (t->second + u->second < opt.posClassMinCount || u->second < opt.posAmbiguityShare * both) continue;
                // A word with a class of its own for T keeps it.
                if (names[static_cast<size_t>(PosTagOf(w.first, tu[0]))] != tu[0]) continue;
                if (taken[tu[0] + "|" + w.first]) continue;
                taken[tu[0] + "|" + w.first] = true;
                cls.words.push_back(w.first);
            }
            if (!cls.words.empty()) classes.push_back(std::move(cls));
        }
    }
    if (classes.size() + static_cast<size_t>(chosen ? kFirstWordClass : 0) > kMaxPosTags) classes.resize(kMaxPosTags - kFirstWordClass);
    return classes;
}

}  // namespace vsgtrain
