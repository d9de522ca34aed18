// Part-of-speech smoothing step: rows for the tags a word's main tag
// commonly shares a word with (a verb is often also a verbal noun, an
// adjective an adverbial adjective), so that a word the training days show
// with one tag only can still take the other in new text.
#include <algorithm>

#include "steps.h"

namespace vsgtrain {

namespace {

// Tags that get companion rows: the content tags and morphemes of the
// corpus (not the classes of single words from vshi on: 是, 有, the
// pronoun and particle splits, the one-word classes; not names, function
// words or punctuation).
bool CompanionTag(int tag) {
    return tag > kPosEnd && tag < kPosFirstWordClass && !IsNameTag(tag) && !vsg::IsFunctionOrPunctTag(tag);
}

// The most frequent tag of a word (the lower tag on ties), or -1.
int MainTag(const std::map<int, int32_t> &pos) {
    int best = -1;
    int32_t most = 0;
    for (const auto &tc : pos)
        if (tc.second > most) {
            most = tc.second;
            best = tc.first;
        }
    return best;
}

}  // namespace

CompanionShares CountCompanionShares(const TrainCounts &c, const TrainOptions &opt) {
    // Per main tag: occurrences of every tag among the words of that main
    // tag seen often enough to show their other uses.
    std::map<int, std::map<int, int64_t>> byMain;
    std::map<int, int64_t> mainTotal;
    for (const auto &kv : c.words) {
        const WordCounts &wc = kv.second;
        if (wc.total < opt.posCompanionMinCount) continue;
        bool plain = true;
        for (const auto &tc : wc.pos) plain = plain && (CompanionTag(tc.first) || !tc.second);
        const int main = MainTag(wc.pos);
        if (!plain || main < 0) continue;
        for (const auto &tc : wc.pos) {
            byMain[main][tc.first] += tc.second;
            mainTotal[main] += tc.second;
        }
    }
    CompanionShares shares;
    for (const auto &m : byMain) {
        for (const auto &tc : m.second) {
            if (tc.first == m.first) continue;
            const double share = static_cast<double>(tc.second) / static_cast<double>(mainTotal[m.first]);
            if (share >= opt.posCompanionMinShare) shares[m.first][tc.first] = share;
        }
    }
    return shares;
}

void AddCompanionRows(const TrainCounts &c, const TrainOptions &opt, const CompanionShares &shares,
                      std::vector<Entry> *entries) {
    if (opt.posCompanion <= 0.0) return;
    for (Entry &e : *entries) {
        auto w = c.words.find(e.word);
        if (w == c.words.end()) continue;
        const std::map<int, int32_t> &pos = w->second.pos;
        bool plain = !pos.empty();
        for (const auto &tc : pos) plain = plain && CompanionTag(tc.first);
        if (!plain) continue;
        auto s = shares.find(MainTag(pos));
        if (s == shares.end()) continue;
        size_t posRows = static_cast<size_t>(
            std::count_if(e.rows.begin(), e.rows.end(), [](const Row &r) { return r.code == 0; }));
        // Rows of code 0 come first; the new ones follow them.
        auto at = std::find_if(e.rows.begin(), e.rows.end(), [](const Row &r) { return r.code != 0; });
        std::vector<Row> added;
        for (const auto &ts : s->second) {
            if (pos.count(ts.first) || posRows + added.size() >= kMaxRows) continue;
            added.push_back({0, static_cast<uint8_t>(ts.first), LogCount(opt.posCompanion * ts.second)});
        }
        e.rows.insert(at, added.begin(), added.end());
    }
}

}  // namespace vsgtrain
