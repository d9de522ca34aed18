// Averaged perceptron over the engine's part-of-speech search.
#include "posrefine.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <utility>

#include "model/context_costs.h"

namespace vsgtrain {

namespace {

// A cost with the running sum the average is taken from. Sums are brought
// up to date lazily: `stamp` is the step at which `value` last changed.
struct Averaged {
    double value = 0.0;
    double sum = 0.0;
    int64_t stamp = 0;
    void Add(double delta, int64_t step) {
        sum += value * static_cast<double>(step - stamp);
        stamp = step;
        value += delta;
    }
    double Average(int64_t steps) {
        sum += value * static_cast<double>(steps - stamp);
        stamp = steps;
        return steps > 0 ? sum / static_cast<double>(steps) : value;
    }
};

// Candidate tags and costs of position i of a sentence.
struct Slot {
    const uint8_t *tags;
    const double *costs;
    size_t count;
};

const double kZeroCost = 0.0;

Slot SlotOf(const PosSentence &s, size_t i, const PosCosts &costs) {
    int32_t l = s.lists[i];
    if (l < 0) return Slot{&s.gold[i], &kZeroCost, 1};
    const CandidateList &c = costs.lists[static_cast<size_t>(l)];
    return Slot{c.tags.data(), c.costs.data(), c.tags.size()};
}

// The cheapest way into tag `to` from the candidates of `prev`, whose path
// costs are `score`: the cost and the candidate (the first of equal ones).
std::pair<double, uint32_t> Cheapest(const std::vector<double> &score, Slot prev, size_t to, const PosCosts &costs) {
    double best = std::numeric_limits<double>::infinity();
    uint32_t arg = 0;
    for (size_t j = 0; j < prev.count; ++j) {
        double c = score[j] + costs.transition[prev.tags[j] * costs.tagCount + to];
        if (c < best) {
            best = c;
            arg = static_cast<uint32_t>(j);
        }
    }
    return {best, arg};
}

// The search; `margin` is taken off the cost of every candidate that is not
// the position's gold tag (0 for the plain search).
std::vector<uint8_t> Search(const PosSentence &s, const PosCosts &costs, uint8_t beginTag, uint8_t endTag,
                            double margin) {
    const size_t n = s.gold.size();
    const size_t tc = costs.tagCount;
    std::vector<uint8_t> best(n, 0);
    if (n == 0) return best;
    // score[i][k]: cheapest cost of a path ending in candidate k of position i.
    std::vector<std::vector<double>> score(n);
    std::vector<std::vector<uint32_t>> back(n);
    for (size_t i = 0; i < n; ++i) {
        const Slot cur = SlotOf(s, i, costs);
        score[i].assign(cur.count, std::numeric_limits<double>::infinity());
        back[i].assign(cur.count, 0);
        const Slot prev = i > 0 ? SlotOf(s, i - 1, costs) : Slot{nullptr, nullptr, 0};
        for (size_t k = 0; k < cur.count; ++k) {
            size_t to = cur.tags[k];
            const double own = cur.tags[k] == s.gold[i] ? cur.costs[k] : cur.costs[k] - margin;
            if (i == 0) {
                score[i][k] = costs.transition[beginTag * tc + to] + own;
                continue;
            }
            const std::pair<double, uint32_t> b = Cheapest(score[i - 1], prev, to, costs);
            score[i][k] = b.first + own;
            back[i][k] = b.second;
        }
    }
    uint32_t arg = Cheapest(score[n - 1], SlotOf(s, n - 1, costs), endTag, costs).second;
    for (size_t i = n; i-- > 0;) {
        best[i] = SlotOf(s, i, costs).tags[arg];
        arg = back[i][arg];
    }
    return best;
}

}  // namespace

std::vector<uint8_t> BestTags(const PosSentence &s, const PosCosts &costs, uint8_t beginTag, uint8_t endTag) {
    return Search(s, costs, beginTag, endTag, 0.0);
}

RefineSummary RefinePosCosts(const std::vector<PosSentence> &sentences, const RefineOptions &opt, PosCosts *costs) {
    RefineSummary summary;
    if (opt.epochs <= 0) return summary;
    const size_t tc = costs->tagCount;
    std::vector<Averaged> trans(costs->transition.size());
    for (size_t i = 0; i < trans.size(); ++i) trans[i].value = costs->transition[i];
    std::vector<std::vector<Averaged>> emit(costs->lists.size());
    for (size_t l = 0; l < emit.size(); ++l) {
        emit[l].resize(costs->lists[l].costs.size());
        for (size_t k = 0; k < emit[l].size(); ++k) emit[l][k].value = costs->lists[l].costs[k];
    }
    // Index of a tag in a list, or -1.
    auto indexOf = [&](int32_t list, uint8_t tag) -> int {
        const std::vector<uint8_t> &t = costs->lists[static_cast<size_t>(list)].tags;
        for (size_t k = 0; k < t.size(); ++k)
            if (t[k] == tag) return static_cast<int>(k);
        return -1;
    };

    int64_t step = 0;
    for (int epoch = 0; epoch < opt.epochs; ++epoch) {
        int64_t errors = 0;
        // Each pass visits the sentences in its own fixed shuffled order: the
        // corpus comes grouped by article, and an average over a pass that
        // ends in one article leans toward it.
        std::vector<size_t> order(sentences.size());
        for (size_t i = 0; i < order.size(); ++i) order[i] = i;
        uint64_t x = 88172645463325252ull + static_cast<uint64_t>(epoch) * 7919u;
        for (size_t i = order.size(); i > 1; --i) {
            x ^= x << 13;
            x ^= x >> 7;
            x ^= x << 17;
            std::swap(order[i - 1], order[x % i]);
        }
        for (size_t oi : order) {
            const PosSentence &s = sentences[oi];
            ++step;
            const size_t n = s.gold.size();
            if (epoch == 0) summary.positions += static_cast<int64_t>(n);
            std::vector<uint8_t> got = Search(s, *costs, opt.beginTag, opt.endTag, opt.margin);
            if (got == s.gold) continue;
            auto moveTransition = [&](size_t from, size_t to, double delta) {
                trans[from * tc + to].Add(delta, step);
                costs->transition[from * tc + to] = trans[from * tc + to].value;
            };
            auto moveEmission = [&](size_t list, size_t k, double delta) {
                emit[list][k].Add(delta, step);
                costs->lists[list].costs[k] = emit[list][k].value;
            };
            for (size_t i = 0; i < n; ++i) {
                uint8_t g = s.gold[i], p = got[i];
                uint8_t gPrev = i > 0 ? s.gold[i - 1] : opt.beginTag;
                uint8_t pPrev = i > 0 ? got[i - 1] : opt.beginTag;
                if (gPrev != pPrev || g != p) {
                    moveTransition(gPrev, g, -opt.rate);
                    moveTransition(pPrev, p, opt.rate);
                }
                if (g == p) continue;
                ++errors;
                int32_t l = s.lists[i];
                if (l < 0 || !costs->lists[static_cast<size_t>(l)].trainable) continue;
                int kg = indexOf(l, g), kp = indexOf(l, p);
                if (kg < 0) continue;  // the gold tag is no candidate: nothing to learn here
                moveEmission(static_cast<size_t>(l), static_cast<size_t>(kg), -opt.rate);
                if (kp >= 0) moveEmission(static_cast<size_t>(l), static_cast<size_t>(kp), opt.rate);
            }
            uint8_t gLast = n > 0 ? s.gold[n - 1] : opt.beginTag, pLast = n > 0 ? got[n - 1] : opt.beginTag;
            if (gLast != pLast) {
                moveTransition(gLast, opt.endTag, -opt.rate);
                moveTransition(pLast, opt.endTag, opt.rate);
            }
        }
        if (epoch == 0) summary.errorsFirstPass = errors;
        summary.errorsLastPass = errors;
    }
    for (size_t i = 0; i < trans.size(); ++i) costs->transition[i] = trans[i].Average(step);
    for (size_t l = 0; l < emit.size(); ++l) {
        if (!costs->lists[l].trainable) continue;
        for (size_t k = 0; k < emit[l].size(); ++k) costs->lists[l].costs[k] = emit[l][k].Average(step);
    }
    return summary;
}

int64_t TuneListCosts(const std::vector<PosSentence> &sentences, int32_t list, int rounds, double step,
                      uint8_t beginTag, uint8_t endTag, PosCosts *costs, int64_t *before, int64_t *after) {
    // A position of one candidate fixes the path through it, so the search
    // on either side of it is independent: cut each sentence there and keep
    // the pieces that hold a position of the list, each with its fixed
    // ends (whose begin and end transitions add the same to every path).
    std::vector<PosSentence> pieces;
    int64_t positions = 0;
    auto single = [&](const PosSentence &s, size_t i) {
        return s.lists[i] < 0 || costs->lists[static_cast<size_t>(s.lists[i])].tags.size() == 1;
    };
    for (const PosSentence &s : sentences) {
        size_t from = 0;
        bool any = false;
        for (size_t i = 0; i <= s.gold.size(); ++i) {
            const bool cut = i == s.gold.size() || single(s, i);
            if (i < s.gold.size() && s.lists[i] == list) {
                any = true;
                ++positions;
            }
            if (!cut) continue;
            if (any) {
                const size_t to = std::min(i + 1, s.gold.size());
                PosSentence p;
                p.lists.assign(s.lists.begin() + static_cast<std::ptrdiff_t>(from),
                               s.lists.begin() + static_cast<std::ptrdiff_t>(to));
                p.gold.assign(s.gold.begin() + static_cast<std::ptrdiff_t>(from),
                              s.gold.begin() + static_cast<std::ptrdiff_t>(to));
                pieces.push_back(std::move(p));
            }
            from = i;
            any = false;
        }
    }
    auto errors = [&]() {
        int64_t e = 0;
        for (const PosSentence &p : pieces) {
            const std::vector<uint8_t> best = Search(p, *costs, beginTag, endTag, 0.0);
            for (size_t i = 0; i < best.size(); ++i) e += p.lists[i] == list && best[i] != p.gold[i];
        }
        return e;
    };
    std::vector<double> &c = costs->lists[static_cast<size_t>(list)].costs;
    int64_t now = errors();
    *before = now;
    for (int r = 0; r < rounds; ++r, step /= 2) {
        for (size_t k = 0; k < c.size(); ++k) {
            for (double d : {step, -step}) {
                c[k] += d;
                const int64_t e = errors();
                if (e < now) {
                    now = e;
                    break;
                }
                c[k] -= d;
            }
        }
    }
    *after = now;
    return positions;
}

int32_t TransitionCount(double cost, int32_t freq, int32_t total) {
    if (freq <= 0 || total <= 0) return 0;
    const double f = freq, floor = 0.1 * f / static_cast<double>(total);
    auto costOf = [&](double c) { return vsg::model::TagPairCost(static_cast<int32_t>(c), freq, total); };
    double p = std::exp(-(cost - 0.000001) / 0.999999);
    double c = (p - floor) * f / 0.9;
    if (!(c > 0.0)) c = 0.0;
    if (c > 2147483647.0) c = 2147483647.0;
    double lo = std::floor(c), hi = std::ceil(c);
    double pick = std::fabs(costOf(lo) - cost) <= std::fabs(costOf(hi) - cost) ? lo : hi;
    return static_cast<int32_t>(pick);
}

}  // namespace vsgtrain
