// Training of the word cutter model: the corpus units give the cut the
// engine wants, the atoms of each paragraph get their labels, and an
// averaged structured perceptron learns the feature weights.
#include "segtrain.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <unordered_map>
#include <utility>

#include "front/atoms.h"
#include "front/lexicon.h"
#include "front/segmodel.h"
#include "trainer.h"

namespace vsgtrain {

namespace {

using vsg::front::Atom;
using vsg::front::AtomKind;
using vsg::front::kSegLabels;
using vsg::front::kSegTemplateRows;
using vsg::front::SegFeature;
using vsg::front::SegWordFeature;
using vsg::front::kSegWordLengths;

bool IsPersonTagNumber(int tag) { return tag == kPosPerson || tag == kPosForeignPerson || tag == kPosJapanesePerson; }

// One run of atoms of a paragraph with its gold labels and features.
struct Run {
    uint32_t featureBegin = 0;  // range of its feature occurrences
    uint32_t featureEnd = 0;
    uint32_t labelBegin = 0;    // first of its gold labels
    uint32_t length = 0;
    uint32_t wordBegin = 0;     // range of its word feature occurrences
    uint32_t wordEnd = 0;
};

// A word feature occurrence: its group, the atom the word ends at and its
// length.
struct WordRef {
    uint32_t group;
    uint32_t end;
    uint32_t length;
};

// A feature occurrence: its group and the first atom its rows score.
struct Ref {
    uint32_t group;
    int32_t position;
};

// Deterministic pseudo-random numbers for the visiting order.
struct Lcg {
    uint64_t state;
    uint32_t Next() {
        state = state * 6364136223846793005ull + 1442695040888963407ull;
        return static_cast<uint32_t>(state >> 33);
    }
};

// The runs of non-space atoms of one paragraph and the gold label of every
// atom.
struct ParagraphRuns {
    std::string text;
    std::vector<Atom> atoms;
    std::vector<std::pair<size_t, size_t>> runs;  // atom ranges
    std::vector<uint8_t> labels;                  // per atom
};

// The label of a one-atom word of this kind: a name label when the options
// give such characters one, else S.
uint8_t SingleLabel(CutWord kind, const SegTrainOptions &opt) {
    const bool person = kind == CutWord::PersonFirst || kind == CutWord::PersonLater;
    const bool place = kind == CutWord::PlaceFirst || kind == CutWord::PlaceLater;
    if (opt.nameLabels <= 0 || !(person || (place && opt.namePlaces))) return vsg::front::kSegSingle;
    const bool first = kind == CutWord::PersonFirst || kind == CutWord::PlaceFirst;
    return first || opt.nameLabels == 1 ? vsg::front::kSegNameFirst : vsg::front::kSegNameLater;
}

void BuildRuns(const std::vector<Unit> &units, const std::vector<std::pair<std::string, int32_t>> &placeCount,
               const SegTrainOptions &opt, ParagraphRuns *out) {
    out->atoms.clear();
    out->runs.clear();
    out->labels.clear();
    std::vector<CutWord> kinds;
    std::vector<uint32_t> bounds = EngineBoundaries(units, placeCount, opt.placeCutMax, &out->text,
                                                   opt.keepForeignPlaces, opt.wholePlaceChars, &kinds);
    // The kind of the word ending at each boundary (Plain elsewhere).
    std::vector<char> isBound(out->text.size() + 1, 0);
    std::vector<CutWord> kindAt(out->text.size() + 1, CutWord::Plain);
    for (size_t i = 0; i < bounds.size(); ++i) {
        isBound[bounds[i]] = 1;
        if (i > 0) kindAt[bounds[i]] = kinds[i - 1];
    }
    vsg::front::Atomise(out->text.data(), 0, out->text.size(), out->atoms);
    out->labels.assign(out->atoms.size(), vsg::front::kSegSingle);
    size_t k = 0;
    const size_t n = out->atoms.size();
    while (k < n) {
        if (out->atoms[k].kind == AtomKind::kSpace) {
            ++k;
            continue;
        }
        size_t e = k;
        while (e < n && out->atoms[e].kind != AtomKind::kSpace) ++e;
        // Words of the run: a word ends after an atom that ends on a boundary.
        for (size_t w = k; w < e;) {
            size_t end = w;
            while (end + 1 < e && !isBound[out->atoms[end].start + out->atoms[end].length]) ++end;
            for (size_t i = w; i <= end; ++i) out->labels[i] = vsg::front::SegLabelAt(i - w, end - w + 1);
            // A name character that is exactly one atom gets its name label;
            // a later one only after a name label (else it opens the name).
            if (end == w) {
                const Atom &a = out->atoms[w];
                CutWord kind = kindAt[a.start + a.length];
                const bool afterName = w > k && out->labels[w - 1] >= vsg::front::kSegNameFirst;
                if (!afterName && kind == CutWord::PersonLater) kind = CutWord::PersonFirst;
                if (!afterName && kind == CutWord::PlaceLater) kind = CutWord::PlaceFirst;
                if (kind != CutWord::Plain && isBound[a.start]) out->labels[w] = SingleLabel(kind, opt);
            }
            w = end + 1;
        }
        out->runs.emplace_back(k, e);
        k = e;
    }
}

}  // namespace

void SegTargetLabels(const std::vector<Unit> &units, const std::vector<std::pair<std::string, int32_t>> &placeCount,
                     const SegTrainOptions &opt, std::string *text, std::vector<vsg::front::Atom> *atoms,
                     std::vector<uint8_t> *labels) {
    ParagraphRuns pr;
    BuildRuns(units, placeCount, opt, &pr);
    *text = std::move(pr.text);
    *atoms = std::move(pr.atoms);
    *labels = std::move(pr.labels);
}

std::vector<std::pair<std::string, int32_t>> CountPlaces(const std::vector<std::vector<Unit>> &all) {
    std::unordered_map<std::string, int32_t> counts;
    for (const auto &units : all)
        for (const Unit &u : units)
            if (u.kind == UnitKind::Place) ++counts[u.text];
    std::vector<std::pair<std::string, int32_t>> sorted(counts.begin(), counts.end());
    std::sort(sorted.begin(), sorted.end());
    return sorted;
}

std::vector<uint32_t> EngineBoundaries(const std::vector<Unit> &units,
                                       const std::vector<std::pair<std::string, int32_t>> &placeCount,
                                       int placeCutMax, std::string *text, bool keepForeignPlaces,
                                       int wholePlaceChars, std::vector<CutWord> *kinds) {
    text->clear();
    if (kinds != nullptr) kinds->clear();
    std::vector<uint32_t> bounds = {0};
    for (const Unit &u : units) {
        bool cut = u.kind == UnitKind::Person;
        if (u.kind == UnitKind::Place && !(keepForeignPlaces && u.tag == kPosForeignPlace)) {
            auto it = std::lower_bound(placeCount.begin(), placeCount.end(), std::make_pair(u.text, int32_t{0}));
            int32_t count = it != placeCount.end() && it->first == u.text ? it->second : 0;
            cut = count <= placeCutMax;
        }
        std::vector<std::string> chars = SplitChars(u.text);
        if (cut && u.kind == UnitKind::Place && static_cast<int>(chars.size()) <= wholePlaceChars) cut = false;
        if (cut) {
            const bool person = u.kind == UnitKind::Person;
            for (size_t i = 0; i < chars.size(); ++i) {
                *text += chars[i];
                bounds.push_back(static_cast<uint32_t>(text->size()));
                if (kinds != nullptr)
                    kinds->push_back(i == 0 ? (person ? CutWord::PersonFirst : CutWord::PlaceFirst)
                                            : (person ? CutWord::PersonLater : CutWord::PlaceLater));
            }
        } else {
            *text += u.text;
            bounds.push_back(static_cast<uint32_t>(text->size()));
            if (kinds != nullptr) kinds->push_back(CutWord::Plain);
        }
    }
    return bounds;
}

bool ParseSegMemberKinds(std::string_view list, std::vector<SegMemberKind> *kinds) {
    std::vector<SegMemberKind> out;
    for (;;) {
        const size_t comma = list.find(',');
        const std::string_view name = list.substr(0, comma);
        if (name == "all") {
            out.push_back(SegMemberKind::All);
        } else if (name == "nodict") {
            out.push_back(SegMemberKind::NoDictionary);
        } else if (name == "notri") {
            out.push_back(SegMemberKind::NoTrigram);
        } else {
            return false;
        }
        if (comma == std::string_view::npos) break;
        list.remove_prefix(comma + 1);
    }
    *kinds = std::move(out);
    return true;
}

namespace {

// The averaged weights of the members trained so far, summed per group,
// and their summed transitions.
struct SegSum {
    std::unordered_map<uint64_t, std::vector<double>> groups;
    double trans[kSegLabels][kSegLabels] = {};
};

// Fold of block `block` of paragraphs for member `member`: the first
// member takes the block index modulo the folds, the others a seeded hash
// of it, so that each member sees another jackknife of the dictionary
// features.
int FoldOf(size_t block, int folds, int member) {
    if (folds <= 1) return 0;
    if (member == 0) return static_cast<int>(block % static_cast<size_t>(folds));
    uint64_t x = (uint64_t{block} + 1) * 0x9E3779B97F4A7C15ull ^ (uint64_t(member) * 0xBF58476D1CE4E5B9ull);
    x ^= x >> 31;
    x *= 0x94D049BB133111EBull;
    x ^= x >> 29;
    return static_cast<int>(x % static_cast<uint64_t>(folds));
}

// Trains one member (its fold assignment and visiting order from `member`,
// its templates from its kind) and adds its averaged weights to `sum`.
void TrainMember(const std::vector<std::vector<Unit>> &all, const SegTrainOptions &opt, int member, SegSum *sum,
                 SegTrainSummary *summary) {
    uint32_t drops = opt.dropTemplates;
    if (!opt.memberKinds.empty())
        drops |= SegMemberDrops(opt.memberKinds[static_cast<size_t>(member) % opt.memberKinds.size()]);
    // A member that reads no dictionary needs no lexicon of the other folds.
    const bool readsDictionary = (drops & kSegDictionaryTemplates) != kSegDictionaryTemplates;
    const int folds = std::max(1, opt.folds);
    std::vector<int> foldOf(all.size());
    // A small corpus keeps at least eight blocks a fold, else a fold would
    // be one block and its dictionary features those of too few paragraphs.
    const size_t most = std::max<size_t>(1, all.size() / (static_cast<size_t>(folds) * 8));
    const size_t block = std::min(static_cast<size_t>(std::max(1, opt.foldBlock)), most);
    for (size_t p = 0; p < all.size(); ++p) foldOf[p] = FoldOf(p / block, folds, member);

    // Features of every run; the dictionary marks of a paragraph come from a
    // lexicon of the other folds' words, so that the model learns how far to
    // trust the dictionary on words it does not hold.
    std::vector<Run> runs;
    std::vector<uint8_t> gold;
    std::vector<std::vector<SegFeature>> perRun;  // keys before indexing
    std::vector<std::vector<SegWordFeature>> perRunWords;
    std::unordered_map<uint64_t, uint32_t> keyCount;
    keyCount.reserve(4u << 20);
    {
        ParagraphRuns pr;
        std::vector<uint64_t> ids;
        std::vector<vsg::front::WordMarks> marks;
        for (int f = 0; f < folds; ++f) {
            std::unordered_map<std::string, std::pair<double, double>> counts;
            std::unordered_map<std::string, int32_t> places;
            for (size_t p = 0; p < all.size(); ++p) {
                if (folds > 1 && foldOf[p] == f) continue;
                for (const Unit &u : all[p]) {
                    if (u.kind == UnitKind::Place) ++places[u.text];
                    if (!readsDictionary || u.text.size() > kMaxDictWord) continue;
                    auto &c = counts[u.text];
                    c.first += 1.0;
                    if (IsPersonTagNumber(u.tag)) c.second += 1.0;
                }
            }
            std::vector<std::pair<std::string, int32_t>> placeCount(places.begin(), places.end());
            std::sort(placeCount.begin(), placeCount.end());
            std::vector<vsg::front::LexiconWord> words;
            words.reserve(counts.size());
            for (const auto &kv : counts) words.push_back({kv.first, kv.second.first, kv.second.second});
            // The words a lexicon holds do not depend on the list's order.
            vsg::front::Lexicon lexicon;
            if (readsDictionary) lexicon.Build(words);
            for (size_t p = 0; p < all.size(); ++p) {
                if (foldOf[p] != f) continue;
                BuildRuns(all[p], placeCount, opt, &pr);
                for (const auto &r : pr.runs) {
                    size_t n = r.second - r.first;
                    const Atom *atoms = pr.atoms.data() + r.first;
                    marks.assign(n, vsg::front::WordMarks{});
                    if (readsDictionary)
                        lexicon.MarkWords(pr.text.data(), atoms, n, vsg::front::kSegDictCap, marks.data());
                    perRun.emplace_back();
                    vsg::front::SegFeatures(pr.text.data(), atoms, n, marks.data(), ids, perRun.back());
                    for (const SegFeature &x : perRun.back()) ++keyCount[x.key];
                    perRunWords.emplace_back();
                    if (opt.wordFeatures > 0) {
                        vsg::front::SegWordFeatures(pr.text.data(), atoms, n, marks.data(), ids, perRunWords.back(),
                                                    opt.wordFeatures >= 2);
                        for (const SegWordFeature &x : perRunWords.back()) ++keyCount[x.key];
                    }
                    Run run;
                    run.length = static_cast<uint32_t>(n);
                    run.labelBegin = static_cast<uint32_t>(gold.size());
                    gold.insert(gold.end(), pr.labels.begin() + static_cast<long>(r.first),
                                pr.labels.begin() + static_cast<long>(r.second));
                    runs.push_back(run);
                }
            }
        }
    }

    // Groups of the features seen often enough, numbered in key order.
    std::vector<uint64_t> keys;
    for (const auto &kv : keyCount)
        if (kv.second >= static_cast<uint32_t>(std::max(1, opt.minCount)) &&
            !((drops >> vsg::front::SegKeyTemplate(kv.first)) & 1u))
            keys.push_back(kv.first);
    std::sort(keys.begin(), keys.end());
    std::unordered_map<uint64_t, uint32_t> groupOf;
    groupOf.reserve(keys.size() * 2);
    std::vector<uint32_t> offset(keys.size() + 1, 0);
    for (size_t g = 0; g < keys.size(); ++g) {
        groupOf.emplace(keys[g], static_cast<uint32_t>(g));
        offset[g + 1] = offset[g] + kSegTemplateRows[vsg::front::SegKeyTemplate(keys[g])] * kSegLabels;
    }
    std::unordered_map<uint64_t, uint32_t>().swap(keyCount);
    std::vector<Ref> refs;
    std::vector<WordRef> wordRefs;
    const bool first = member == 0;
    for (size_t r = 0; r < runs.size(); ++r) {
        runs[r].featureBegin = static_cast<uint32_t>(refs.size());
        for (const SegFeature &x : perRun[r]) {
            auto it = groupOf.find(x.key);
            if (it != groupOf.end()) refs.push_back({it->second, x.position});
        }
        runs[r].featureEnd = static_cast<uint32_t>(refs.size());
        std::vector<SegFeature>().swap(perRun[r]);
        runs[r].wordBegin = static_cast<uint32_t>(wordRefs.size());
        for (const SegWordFeature &x : perRunWords[r]) {
            auto it = groupOf.find(x.key);
            if (it != groupOf.end()) wordRefs.push_back({it->second, x.end, x.length});
        }
        runs[r].wordEnd = static_cast<uint32_t>(wordRefs.size());
        std::vector<SegWordFeature>().swap(perRunWords[r]);
        if (first) summary->atoms += runs[r].length;
    }
    std::unordered_map<uint64_t, uint32_t>().swap(groupOf);
    if (first) summary->runs = static_cast<int64_t>(runs.size());

    // Averaged perceptron: w holds the weights, u the sum of step * update,
    // and the average is w - u / step.
    std::vector<float> w(offset.back(), 0.0f);
    std::vector<double> u(offset.back(), 0.0);
    float trans[kSegLabels][kSegLabels] = {};
    double transU[kSegLabels][kSegLabels] = {};
    double step = 1.0;
    std::vector<float> scores, wordScores;
    std::vector<uint8_t> labels, back;
    std::vector<std::pair<uint32_t, float>> delta;
    std::vector<uint32_t> order(runs.size());
    for (size_t i = 0; i < order.size(); ++i) order[i] = static_cast<uint32_t>(i);
    Lcg rng{0x5E65E6ull + uint64_t(member) * 0x9E3779B97F4A7C15ull};
    for (int epoch = 0; epoch < opt.epochs; ++epoch) {
        for (size_t i = order.size(); i > 1; --i) std::swap(order[i - 1], order[rng.Next() % i]);
        int64_t errors = 0;
        for (uint32_t r : order) {
            const Run &run = runs[r];
            const size_t n = run.length;
            const uint8_t *g = gold.data() + run.labelBegin;
            scores.assign(n * kSegLabels, 0.0f);
            for (uint32_t k = run.featureBegin; k < run.featureEnd; ++k) {
                const Ref &ref = refs[k];
                const uint32_t rows = (offset[ref.group + 1] - offset[ref.group]) / kSegLabels;
                const float *wg = w.data() + offset[ref.group];
                for (uint32_t row = 0; row < rows; ++row) {
                    int64_t i = int64_t{ref.position} + row;
                    if (i < 0 || i >= static_cast<int64_t>(n)) continue;
                    for (int l = 0; l < kSegLabels; ++l) scores[static_cast<size_t>(i) * kSegLabels + l] += wg[row * kSegLabels + l];
                }
            }
            const bool words = run.wordEnd > run.wordBegin;
            if (words) {
                // A word feature's weight is lane 0 of its row.
                wordScores.assign(n * kSegWordLengths, 0.0f);
                for (uint32_t k = run.wordBegin; k < run.wordEnd; ++k) {
                    const WordRef &ref = wordRefs[k];
                    wordScores[ref.end * kSegWordLengths + ref.length - 2] += w[offset[ref.group]];
                }
            }
            vsg::front::SegViterbi<float, double>(scores.data(), n, trans, labels, back,
                                                  words ? wordScores.data() : nullptr);
            bool wrong = false;
            for (size_t i = 0; i < n; ++i)
                if (labels[i] != g[i]) {
                    wrong = true;
                    ++errors;
                }
            if (wrong) {
                // The difference of the gold and found feature vectors,
                // gathered per weight so that a weight hit twice counts once.
                delta.clear();
                for (uint32_t k = run.featureBegin; k < run.featureEnd; ++k) {
                    const Ref &ref = refs[k];
                    const uint32_t rows = (offset[ref.group + 1] - offset[ref.group]) / kSegLabels;
                    for (uint32_t row = 0; row < rows; ++row) {
                        int64_t i = int64_t{ref.position} + row;
                        if (i < 0 || i >= static_cast<int64_t>(n)) continue;
                        auto a = static_cast<size_t>(i);
                        if (labels[a] == g[a]) continue;
                        size_t base = offset[ref.group] + row * kSegLabels;
                        delta.push_back({static_cast<uint32_t>(base + g[a]), 1.0f});
                        delta.push_back({static_cast<uint32_t>(base + labels[a]), -1.0f});
                    }
                }
                // Words of the gold cut that the found one lacks, and the
                // other way round.
                for (uint32_t k = run.wordBegin; k < run.wordEnd; ++k) {
                    const WordRef &ref = wordRefs[k];
                    const bool inGold = vsg::front::SegWordAt(g, ref.end, static_cast<int>(ref.length));
                    const bool found = vsg::front::SegWordAt(labels.data(), ref.end, static_cast<int>(ref.length));
                    if (inGold != found) delta.push_back({offset[ref.group], inGold ? 1.0f : -1.0f});
                }
                float transDelta[kSegLabels][kSegLabels] = {};
                for (size_t i = 1; i < n; ++i) {
                    if (labels[i] == g[i] && labels[i - 1] == g[i - 1]) continue;
                    transDelta[g[i - 1]][g[i]] += 1.0f;
                    transDelta[labels[i - 1]][labels[i]] -= 1.0f;
                }
                for (const auto &d : delta) {
                    w[d.first] += d.second;
                    u[d.first] += step * d.second;
                }
                for (int p = 0; p < kSegLabels; ++p)
                    for (int l = 0; l < kSegLabels; ++l) {
                        trans[p][l] += transDelta[p][l];
                        transU[p][l] += step * transDelta[p][l];
                    }
            }
            step += 1.0;
        }
        if (first && epoch == 0) summary->errorsFirst = errors;
        if (first) summary->errorsLast = errors;
    }

    // The averaged weights, added to the sum.
    for (int p = 0; p < kSegLabels; ++p)
        for (int l = 0; l < kSegLabels; ++l) sum->trans[p][l] += static_cast<float>(trans[p][l] - transU[p][l] / step);
    for (size_t g = 0; g < keys.size(); ++g) {
        std::vector<double> &acc = sum->groups[keys[g]];
        acc.resize(offset[g + 1] - offset[g], 0.0);
        for (uint32_t i = offset[g]; i < offset[g + 1]; ++i)
            acc[i - offset[g]] += static_cast<float>(w[i] - u[i] / step);
    }
}

}  // namespace

std::string TrainSegmenter(const std::vector<std::vector<Unit>> &all, const SegTrainOptions &opt,
                           SegTrainSummary *summary) {
    *summary = SegTrainSummary();
    if (opt.epochs <= 0 || all.empty()) return std::string();
    SegSum sum;
    for (int m = 0; m < std::max(1, opt.members); ++m) TrainMember(all, opt, m, &sum, summary);
    summary->features = static_cast<int64_t>(sum.groups.size());

    // The summed weights in key order; groups far below the largest weight
    // are dropped.
    std::vector<std::pair<uint64_t, std::vector<double>>> sorted(sum.groups.begin(), sum.groups.end());
    decltype(sum.groups)().swap(sum.groups);
    std::sort(sorted.begin(), sorted.end(),
              [](const auto &a, const auto &b) { return a.first < b.first; });
    float avgTrans[kSegLabels][kSegLabels];
    for (int p = 0; p < kSegLabels; ++p)
        for (int l = 0; l < kSegLabels; ++l) avgTrans[p][l] = static_cast<float>(sum.trans[p][l]);
    float top = 0.0f;
    for (const auto &g : sorted)
        for (double x : g.second) top = std::max(top, std::fabs(static_cast<float>(x)));
    const float bias = static_cast<float>(opt.wordBias) * top;
    for (int p = 0; p < kSegLabels; ++p)
        for (int l = 0; l < kSegLabels; ++l)
            if (vsg::front::SegLabelStartsWord(l) && vsg::front::SegTransitionAllowed(p, l)) avgTrans[p][l] += bias;
    const float floor = static_cast<float>(opt.prune) * top;
    std::vector<vsg::front::SegGroup> groups;
    groups.reserve(sorted.size());
    for (const auto &g : sorted) {
        float big = 0.0f;
        for (double x : g.second) big = std::max(big, std::fabs(static_cast<float>(x)));
        if (big < floor || big == 0.0f) continue;
        groups.push_back({g.first, std::vector<float>(g.second.begin(), g.second.end())});
    }
    summary->groups = static_cast<int64_t>(groups.size());
    std::string bytes = vsg::front::EncodeSegModel(std::move(groups), avgTrans);
    summary->bytes = static_cast<int64_t>(bytes.size());
    return bytes;
}

bool WriteSegmenter(const std::vector<std::vector<Unit>> &all, const SegTrainOptions &opt,
                    const std::vector<std::string> &dirs, SegTrainSummary *summary, std::string *error) {
    std::string bytes = TrainSegmenter(all, opt, summary);
    for (const std::string &dir : dirs) {
        const std::string path = dir + "/" + vsg::front::kSegModelFile;
        if (bytes.empty()) {
            // No model: a file left from an earlier training must not pair
            // with the new dictionary.
            std::remove(path.c_str());
            continue;
        }
        if (!WriteText(path, bytes, error)) return false;
    }
    return true;
}

}  // namespace vsgtrain
