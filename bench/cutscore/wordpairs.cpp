// Word-level rescoring of the trained cutter (see wordpairs.h).
#include "wordpairs.h"

#include <algorithm>
#include <cmath>

namespace vsgbench {

using namespace vsg::front;

WordPairs::WordPairs() {
    ids_.emplace(std::string(), kBoundary);
    count_.push_back(0.0);
}

void WordPairs::AddParagraph(const std::vector<std::string> &words) {
    int32_t prev = kBoundary;
    count_[kBoundary] += 1.0;
    for (size_t i = 0; i <= words.size(); ++i) {
        int32_t id = kBoundary;
        if (i < words.size()) {
            auto it = ids_.emplace(words[i], static_cast<int32_t>(count_.size()));
            if (it.second) count_.push_back(0.0);
            id = it.first->second;
            count_[static_cast<size_t>(id)] += 1.0;
            total_ += 1.0;
        }
        pairs_[(uint64_t{static_cast<uint32_t>(prev)} << 32) | static_cast<uint32_t>(id)] += 1.0;
        prev = id;
    }
}

int32_t WordPairs::Id(const std::string &word) const {
    auto it = ids_.find(word);
    return it == ids_.end() ? -1 : it->second;
}

double WordPairs::Association(int32_t a, int32_t b) const {
    if (a < 0 || total_ <= 0.0) return 0.0;
    const double ca = count_[static_cast<size_t>(a)];
    if (ca <= 0.0 || ca < minCount) return 0.0;
    if (minCount > 0.0 && (b < 0 || count_[static_cast<size_t>(b)] < minCount)) return 0.0;
    double cab = 0.0;
    if (b >= 0) {
        auto it = pairs_.find((uint64_t{static_cast<uint32_t>(a)} << 32) | static_cast<uint32_t>(b));
        if (it != pairs_.end()) cab = it->second;
    }
    const double cb = b >= 0 && count_[static_cast<size_t>(b)] > 0.0 ? count_[static_cast<size_t>(b)] : 0.5;
    const double pb = cb / total_;
    return std::max(-floor, std::log((cab / pb + beta) / (ca + beta)));
}

size_t WordPairWeights::PairIndex(double association, int first, int second) {
    int bin = static_cast<int>(std::floor(std::clamp(association, -4.0, 7.0))) + 4;
    bin = std::clamp(bin, 0, kAssocBins - 1);
    return (static_cast<size_t>(bin) * kClasses + static_cast<size_t>(first)) * kClasses + static_cast<size_t>(second);
}

size_t WordPairWeights::WordIndex(int cls, double count) {
    int bin = std::clamp(static_cast<int>(std::log2(count + 1.0)), 0, kCountBins - 1);
    return kPairFeatures + static_cast<size_t>(cls) * kCountBins + static_cast<size_t>(bin);
}

void WordPairPathFeatures(const char *text, const Atom *atoms, const std::vector<uint32_t> &ends,
                          const WordPairs &pairs, std::vector<size_t> &features) {
    int32_t prevId = WordPairs::kBoundary;
    int prevClass = WordPairWeights::kBoundaryClass;
    for (size_t k = 0, b = 0; k < ends.size(); b = ends[k], ++k) {
        const size_t e = ends[k];
        const size_t from = atoms[b].start, to = size_t{atoms[e - 1].start} + atoms[e - 1].length;
        const int32_t id = pairs.Id(std::string(text + from, to - from));
        const int cls = WordPairWeights::Class(e - b, id >= 0);
        features.push_back(WordPairWeights::PairIndex(pairs.Association(prevId, id), prevClass, cls));
        features.push_back(WordPairWeights::WordIndex(cls, pairs.Count(id)));
        prevId = id;
        prevClass = cls;
    }
}

void WordPairCut(const char *text, const Atom *atoms, size_t n, const int32_t *score,
                 const int32_t (&transitions)[kSegLabels][kSegLabels], const WordPairs &pairs,
                 const WordPairOptions &options, std::vector<uint32_t> &ends) {
    if (n == 0) return;
    auto T = [&](int p, int l) { return static_cast<double>(transitions[p][l]); };
    auto S = [&](size_t i, int l) { return static_cast<double>(score[i * kSegLabels + l]); };
    // Label score of the word [i, j): S, B E, B B2 E, B B2 B3 E or
    // B B2 B3 M* E with the transitions inside it (a one-atom word is scored
    // as S; the name labels are not searched).
    std::vector<double> middle(n + 1, 0.0);
    for (size_t i = 0; i < n; ++i) middle[i + 1] = middle[i] + S(i, kSegMiddle);
    auto wordScore = [&](size_t i, size_t j) {
        const size_t m = j - i;
        if (m == 1) return S(i, kSegSingle);
        double v = S(i, kSegBegin) + S(j - 1, kSegEnd);
        if (m == 2) return v + T(kSegBegin, kSegEnd);
        v += S(i + 1, kSegBegin2) + T(kSegBegin, kSegBegin2);
        if (m == 3) return v + T(kSegBegin2, kSegEnd);
        v += S(i + 2, kSegBegin3) + T(kSegBegin2, kSegBegin3);
        if (m == 4) return v + T(kSegBegin3, kSegEnd);
        return v + middle[j - 1] - middle[i + 3] + T(kSegBegin3, kSegMiddle) + T(kSegMiddle, kSegEnd) +
               static_cast<double>(m - 5) * T(kSegMiddle, kSegMiddle);
    };

    // Span [i, i + m) has index i * L + m - 1.
    const size_t L = std::max<size_t>(1, std::min(options.maxLength, n));
    std::vector<int32_t> id(n * L, -1);
    std::vector<double> own(n * L, 0.0);
    std::vector<char> allowed(n * L, 0);
    std::vector<int> cls(n * L, 0);
    const WordPairWeights *learned = options.learned;
    for (size_t i = 0; i < n; ++i)
        for (size_t m = 1; m <= L && i + m <= n; ++m) {
            const size_t x = i * L + m - 1;
            const size_t b = atoms[i].start, e = size_t{atoms[i + m - 1].start} + atoms[i + m - 1].length;
            id[x] = pairs.Id(std::string(text + b, e - b));
            cls[x] = WordPairWeights::Class(m, id[x] >= 0);
            own[x] = wordScore(i, i + m);
            if (learned != nullptr) own[x] += learned->w[WordPairWeights::WordIndex(cls[x], pairs.Count(id[x]))];
            allowed[x] = 1;
        }
    // The score of word x after word px (px < 0: the run's start).
    auto pairScore = [&](long px, size_t x) {
        const int32_t a = px < 0 ? WordPairs::kBoundary : id[static_cast<size_t>(px)];
        const double assoc = pairs.Association(a, id[x]);
        double v = options.weight * assoc;
        if (learned != nullptr)
            v += learned->w[WordPairWeights::PairIndex(
                assoc, px < 0 ? WordPairWeights::kBoundaryClass : cls[static_cast<size_t>(px)], cls[x])];
        return v;
    };
    if (options.restrict) {
        std::vector<uint8_t> labels, back;
        SegViterbi<int32_t, int64_t>(score, n, transitions, labels, back);
        std::vector<char> found(n * L, 0);
        for (size_t i = 0, b = 0; i < n; ++i)
            if (SegLabelCloses(labels[i]) || i + 1 == n) {
                if (i + 1 - b <= L) found[b * L + i - b] = 1;
                b = i + 1;
            }
        for (size_t x = 0; x < n * L; ++x) allowed[x] = allowed[x] && (x % L == 0 || id[x] >= 0 || found[x]);
    }

    // best[(j - 1) * L + m - 1]: the best cut of [0, j) whose last word is
    // [j - m, j); prev: the length of the word before it.
    constexpr double kNone = -1e300;
    std::vector<double> best(n * L, kNone);
    std::vector<uint32_t> prev(n * L, 0);
    for (size_t j = 1; j <= n; ++j)
        for (size_t m = 1; m <= L && m <= j; ++m) {
            const size_t i = j - m;
            if (!allowed[i * L + m - 1]) continue;
            double v = kNone;
            uint32_t arg = 0;
            if (i == 0) {
                v = pairScore(-1, i * L + m - 1);
            } else {
                const int first = m == 1 ? kSegSingle : kSegBegin;
                for (size_t pm = 1; pm <= L && pm <= i; ++pm) {
                    const double p = best[(i - 1) * L + pm - 1];
                    if (p == kNone) continue;
                    const int last = pm == 1 ? kSegSingle : kSegEnd;
                    const double x =
                        p + T(last, first) + pairScore(static_cast<long>((i - pm) * L + pm - 1), i * L + m - 1);
                    if (x > v) {
                        v = x;
                        arg = static_cast<uint32_t>(pm);
                    }
                }
            }
            if (v == kNone) continue;
            best[(j - 1) * L + m - 1] = v + own[i * L + m - 1];
            prev[(j - 1) * L + m - 1] = arg;
        }
    size_t lastLength = 1;
    double top = kNone;
    for (size_t m = 1; m <= L && m <= n; ++m) {
        double v = best[(n - 1) * L + m - 1];
        if (v == kNone) continue;
        v += options.weight * pairs.Association(id[(n - m) * L + m - 1], WordPairs::kBoundary);
        if (v > top) {
            top = v;
            lastLength = m;
        }
    }
    std::vector<uint32_t> reversed;
    for (size_t j = n, m = lastLength; j > 0 && m > 0;) {
        reversed.push_back(static_cast<uint32_t>(j));
        const size_t pm = prev[(j - 1) * L + m - 1];
        j -= m;
        m = pm;
    }
    ends.insert(ends.end(), reversed.rbegin(), reversed.rend());
}

}  // namespace vsgbench
