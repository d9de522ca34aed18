// Part-of-speech classes of one word chosen from the training days,
// numbered after the fixed tag set: the (word, tag) pairs whose
// neighbouring tags differ most from those of their tag get a class of
// their own, so that the first-order search learns transitions apart
// where that word's context matters.
#include <algorithm>
#include <cmath>
#include <map>

#include "steps.h"

namespace vsgtrain {

namespace {

// The coarse tags whose frequent words may form a class of one word: the
// content tags (是, 有, the negations and the pronouns with classes of
// their own are tagged otherwise).
bool TakesWordClass(int tag) {
    static const char *const kTags[] = {"n", "v", "vn", "a", "ad", "b", "d", "f", "m", "q", "r", "s", "t"};
    const std::vector<std::string> &names = PosTagNames();
    if (tag < 0 || static_cast<size_t>(tag) >= names.size()) return false;
    return std::find(std::begin(kTags), std::end(kTags), names[static_cast<size_t>(tag)]) != std::end(kTags);
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
    if (opt.posWordClasses <= 0) return {};
    // The gains are counted under the coarse tags: no listed classes.
    SetExtraPosClasses({}, false);
    std::vector<ExtraPosClass> classes = ChooseWordClasses(paragraphs, opt);
    if (classes.size() + kFirstWordClass > kMaxPosTags) classes.resize(kMaxPosTags - kFirstWordClass);
    return classes;
}

}  // namespace vsgtrain
