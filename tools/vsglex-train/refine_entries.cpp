// Part-of-speech refinement step: the counted costs of the core dictionary
// entries and of the part-of-speech context, refined over the training
// paragraphs by the averaged perceptron of posrefine.h.
#include <cmath>
#include <limits>
#include <set>
#include <unordered_map>

#include "common/class_rows.h"
#include "common/gbtext.h"
#include "model/context_costs.h"
#include "posrefine.h"
#include "steps.h"

namespace vsgtrain {

namespace {

// Days of a week: the unseen-word rows are trained on the words that one
// week of the training days shows and no other.
constexpr int32_t kDaysPerWeek = 7;

using vsg::kEndWord;
using vsg::kOtherClass;
using vsg::kStartWord;
using vsg::model::TagPairCost;
using vsg::model::TagSingleValue;

// The tag the engine fixes on a dictionary word from its name rows before
// tagging (the last row that passes its class's threshold), or -1.
int ClassAssignedTag(const std::string &word, const std::vector<Row> &rows) {
    int tag = -1;
    if (!vsg::TakesClass(word.c_str())) return tag;
    for (const Row &r : rows) {
        if (r.code != 0) continue;
        const int t = vsg::ClassTagOfRow(r.subCode, static_cast<double>(r.value));
        if (t >= 0) tag = t;
    }
    return tag;
}

// Single value of a tag as the engine derives it from the frequencies.
double SingleValue(const ContextCounts &c, size_t tag) { return TagSingleValue(c.freq[tag]); }

}  // namespace

// Refines the part-of-speech costs with the averaged perceptron over the
// training paragraphs. The candidate lists are the code 0 rows of the core
// dictionary entries, as the engine's search reads them; the search starts
// from the counted costs. Words with a name row keep their counted values,
// which the engine's class assignment compares with fixed thresholds, and
// so do the unseen-word rows. The trained costs are written back as row
// values (single value - cost) and as transition counts over a total of
// 2^31 - 1, which makes the engine's interpolation term negligible.
void RefinePos(const std::vector<std::vector<Unit>> &all, const std::vector<int32_t> &dates, const TrainOptions &opt,
               ContextCounts *posCtx, std::vector<Entry> *entries, TrainSummary *summary) {
    const size_t nPos = posCtx->freq.size();
    const int32_t total = std::numeric_limits<int32_t>::max();
    PosCosts costs;
    costs.tagCount = nPos;
    costs.transition.resize(nPos * nPos);
    for (size_t i = 0; i < nPos; ++i)
        for (size_t j = 0; j < nPos; ++j)
            costs.Transition(i, j) = TagPairCost(posCtx->matrix[i][j], posCtx->freq[i], total);
    // Candidate list (or fixed tag) of every entry with code 0 rows.
    std::unordered_map<std::string, int32_t> listOf;  // word -> list
    std::unordered_map<std::string, int> fixedOf;     // word -> class-assigned tag
    int32_t unseenList = -1;
    for (const Entry &en : *entries) {
        int fixed = ClassAssignedTag(en.word, en.rows);
        if (fixed >= 0) {
            fixedOf[en.word] = fixed;
            continue;
        }
        CandidateList l;
        bool named = false;
        for (const Row &r : en.rows) {
            if (r.code != 0) continue;
            l.tags.push_back(r.subCode);
            l.costs.push_back(SingleValue(*posCtx, r.subCode) - r.value);
            if (IsNameTag(r.subCode)) named = true;
        }
        if (l.tags.empty()) continue;
        l.trainable = !named && en.word != kStartWord && en.word != kEndWord;
        listOf[en.word] = static_cast<int32_t>(costs.lists.size());
        if (en.word == kOtherClass) unseenList = static_cast<int32_t>(costs.lists.size());
        costs.lists.push_back(std::move(l));
    }
    if (unseenList < 0) return;

    // One sentence per paragraph. A person name of several characters is
    // fixed: new text brings it cut into characters and the person
    // recogniser gives the joined name its tag. Every other unit, places
    // and organisations included, reaches the tagger as a dictionary word:
    // fixed when the class assignment gives it a tag, else its own list.
    std::vector<PosSentence> sentences;
    sentences.reserve(all.size());
    for (const std::vector<Unit> &units : all) {
        PosSentence s;
        for (const Unit &u : units) {
            int32_t list = unseenList;
            uint8_t gold = static_cast<uint8_t>(u.tag);
            if (u.kind == UnitKind::Person && !IsSingle(u.text)) {
                list = -1;
            } else if (auto f = fixedOf.find(u.text); f != fixedOf.end()) {
                list = -1;
                gold = static_cast<uint8_t>(f->second);
            } else if (auto l = listOf.find(u.text); l != listOf.end()) {
                list = l->second;
            }
            s.lists.push_back(list);
            s.gold.push_back(gold);
        }
        sentences.push_back(std::move(s));
    }

    // The unseen-word rows keep their counted costs: trained on the words
    // seen once they fitted those and lost on the unseen words of held-out
    // days.
    costs.lists[static_cast<size_t>(unseenList)].trainable = false;
    RefineOptions ro;
    ro.epochs = opt.posEpochs;
    ro.rate = opt.posRate;
    ro.margin = opt.posMargin;
    ro.beginTag = kPosBegin;
    ro.endTag = kPosEnd;
    RefineSummary rs = RefinePosCosts(sentences, ro, &costs);
    summary->posPositions = rs.positions;
    summary->posErrorsFirst = rs.errorsFirstPass;
    summary->posErrorsLast = rs.errorsLastPass;

    // The unseen-word rows alone, fitted to the words new to a week: for
    // each paragraph, the units that no other week of the training days
    // shows read the unseen-word rows, as new words of new text do, and the
    // nineteen costs of the rows are moved to tag the most of them right,
    // every other cost staying as refined. (A perceptron on these shared
    // costs balances each tag's false and missed picks instead, which
    // lowered accuracy.)
    if (opt.posUnseenRounds > 0) {
        auto weekOf = [&](size_t p) { return static_cast<int>(((dates[p] % 100) - 1) / kDaysPerWeek); };
        std::unordered_map<std::string, uint32_t> weeks;  // word -> bit set of the weeks showing it
        for (size_t p = 0; p < all.size(); ++p)
            for (const Unit &u : all[p]) weeks[u.text] |= 1u << weekOf(p);
        const CandidateList &unseenCands = costs.lists[static_cast<size_t>(unseenList)];
        const std::set<uint8_t> unseenTags(unseenCands.tags.begin(), unseenCands.tags.end());
        std::vector<PosSentence> fresh;
        for (size_t p = 0; p < all.size(); ++p) {
            PosSentence s = sentences[p];
            bool any = false;
            for (size_t i = 0; i < all[p].size(); ++i) {
                const Unit &u = all[p][i];
                if (s.lists[i] < 0 || weeks[u.text] != (1u << weekOf(p))) continue;
                // Places new to the text reach the tagger cut and joined by
                // the place recogniser, which fixes their tag; a word whose
                // tag the rows lack (an organisation name) cannot be right.
                if (u.kind == UnitKind::Place || unseenTags.count(s.gold[i]) == 0) {
                    s.lists[i] = -1;
                    continue;
                }
                s.lists[i] = unseenList;
                any = true;
            }
            if (any) fresh.push_back(std::move(s));
        }
        summary->posUnseenWords = TuneListCosts(fresh, unseenList, opt.posUnseenRounds, opt.posUnseenStep, kPosBegin,
                                                kPosEnd, &costs, &summary->posUnseenErrorsBefore,
                                                &summary->posUnseenErrorsAfter);
        costs.lists[static_cast<size_t>(unseenList)].trainable = true;
    }

    // Write the trained costs back as row values and transition counts.
    for (Entry &en : *entries) {
        auto l = listOf.find(en.word);
        if (l == listOf.end() || !costs.lists[static_cast<size_t>(l->second)].trainable) continue;
        const CandidateList &cl = costs.lists[static_cast<size_t>(l->second)];
        size_t k = 0;
        for (Row &r : en.rows) {
            if (r.code != 0) continue;
            r.value = static_cast<float>(SingleValue(*posCtx, r.subCode) - cl.costs[k++]);
        }
    }
    for (size_t i = 0; i < nPos; ++i)
        for (size_t j = 0; j < nPos; ++j)
            posCtx->matrix[i][j] = TransitionCount(costs.Transition(i, j), posCtx->freq[i], total);
    posCtx->total = total;
}

}  // namespace vsgtrain
