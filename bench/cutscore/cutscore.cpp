// cutscore: scores the front end's word cutter on held-out corpus days.
//
//   cutscore [--cutter model|dict] [--from YYYYMMDD] [--to YYYYMMDD] [--repeat N] [--misses N] [--examples N] MODEL_DIR CORPUS_DIR
//
// The raw text of every paragraph dated in [from, to] (tokens joined, tags
// and brackets removed) is cut with the chosen cutter of MODEL_DIR, run by
// run, and scored word by word (a word is right when its span equals a gold
// word's) against two golds:
//   engine  the cut the engine wants: person names and the places never
//           seen outside the window one character a word;
//   corpus  the corpus tokens.
// Out-of-vocabulary recall counts the gold words never seen (in that
// granularity) in the paragraphs outside the window, which are the training
// days when the models were trained with --exclude-from/--exclude-before.
// Also printed: the cutting speed (CPU time of the cut alone, best of
// --repeat passes) and the model load time; --misses N lists the N engine
// gold words missed most often, --examples N shows the cut around the first
// N missed engine gold words.
//
// --word-pairs WEIGHT searches the model's label scores again over whole
// words with the association of consecutive words counted on the
// paragraphs outside the window, at the cut the engine wants (wordpairs.h;
// --pair-beta, --pair-floor, --pair-min-count, --pair-max-length,
// --pair-restrict, --pair-place-cut (count places seen at most N times as
// characters) set its options; --pair-learn EPOCHS FILE learns weights of
// word classes and association bins on the window's paragraphs (held out
// from the model) and writes them, --pair-weights FILE uses such weights
// (learned on other days) in the search.
// --dump-cut FILE writes the cut of every paragraph (UTF-8, one line each,
// words apart by spaces), e.g. for `vsglex --pre-cut`.
// --names also feeds each paragraph's cut (at the engine's granularity) to
// the engine of MODEL_DIR and scores its person, place and organisation
// names as vsglex-eval does.
#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <set>
#include <string>
#include <unordered_set>
#include <vector>

#include "corpus.h"
#include "engine/instance.h"
#include "evaluate.h"
#include "model/model_set.h"
#include "front/analyzer.h"
#include "front/atoms.h"
#include "front/lexicon.h"
#include "front/segmodel.h"
#include "segtrain.h"
#include "vsglex/vsglex_api.h"
#include "wordpairs.h"

namespace {

double CpuSeconds() {
    struct rusage ru;
    getrusage(RUSAGE_SELF, &ru);
    return static_cast<double>(ru.ru_utime.tv_sec + ru.ru_stime.tv_sec) +
           static_cast<double>(ru.ru_utime.tv_usec + ru.ru_stime.tv_usec) / 1e6;
}

struct Score {
    int64_t gold = 0, predicted = 0, correct = 0, oovGold = 0, oovCorrect = 0;
    void Print(const char *name) const {
        double p = predicted > 0 ? static_cast<double>(correct) / static_cast<double>(predicted) : 0.0;
        double r = gold > 0 ? static_cast<double>(correct) / static_cast<double>(gold) : 0.0;
        double f = p + r > 0 ? 2 * p * r / (p + r) : 0.0;
        double oov = oovGold > 0 ? static_cast<double>(oovCorrect) / static_cast<double>(oovGold) : 0.0;
        std::printf("%-7s P %.4f  R %.4f  F1 %.4f  OOV recall %.4f (%lld of %lld)  words gold %lld cut %lld\n", name,
                    p, r, f, oov, static_cast<long long>(oovCorrect), static_cast<long long>(oovGold),
                    static_cast<long long>(gold), static_cast<long long>(predicted));
    }
};

// Adds the comparison of predicted and gold boundaries (byte offsets,
// ascending, both starting at 0 and ending at the text's length).
void Compare(const std::string &text, const std::vector<uint32_t> &pred, const std::vector<uint32_t> &gold,
             const std::unordered_set<std::string> &vocabulary, Score *s) {
    std::set<std::pair<uint32_t, uint32_t>> spans;
    for (size_t i = 1; i < pred.size(); ++i) spans.emplace(pred[i - 1], pred[i]);
    s->predicted += static_cast<int64_t>(pred.size() - 1);
    for (size_t i = 1; i < gold.size(); ++i) {
        bool right = spans.count({gold[i - 1], gold[i]}) != 0;
        bool oov = vocabulary.count(text.substr(gold[i - 1], gold[i] - gold[i - 1])) == 0;
        ++s->gold;
        s->correct += right;
        s->oovGold += oov;
        s->oovCorrect += oov && right;
    }
}

std::vector<uint32_t> TokenBoundaries(const vsgtrain::Paragraph &p, std::string *text) {
    text->clear();
    std::vector<uint32_t> b = {0};
    for (const vsgtrain::Token &t : p.tokens) {
        *text += t.word;
        b.push_back(static_cast<uint32_t>(text->size()));
    }
    return b;
}

}  // namespace

int main(int argc, char **argv) {
    std::string cutter = "model";
    int32_t from = 0, to = 0;
    int repeat = 3;
    int misses = 0;
    int examples = 0;
    bool usePairs = false;
    bool names = false;
    std::string dumpFile;
    int pairPlaceCut = 0;
    int learnEpochs = 0;
    double learnStep = 500.0;
    std::string learnFile, weightsFile;
    vsgbench::WordPairs pairs;
    vsgbench::WordPairOptions pairOptions;
    std::vector<std::string> args;
    for (int i = 1; i < argc; ++i) {
        std::string a = argv[i];
        if (a == "--cutter" && i + 1 < argc) cutter = argv[++i];
        else if (a == "--from" && i + 1 < argc) from = std::atoi(argv[++i]);
        else if (a == "--to" && i + 1 < argc) to = std::atoi(argv[++i]);
        else if (a == "--repeat" && i + 1 < argc) repeat = std::max(1, std::atoi(argv[++i]));
        else if (a == "--misses" && i + 1 < argc) misses = std::atoi(argv[++i]);
        else if (a == "--examples" && i + 1 < argc) examples = std::atoi(argv[++i]);
        else if (a == "--word-pairs" && i + 1 < argc) {
            usePairs = true;
            pairOptions.weight = std::atof(argv[++i]);
        } else if (a == "--pair-beta" && i + 1 < argc) pairs.beta = std::atof(argv[++i]);
        else if (a == "--pair-floor" && i + 1 < argc) pairs.floor = std::atof(argv[++i]);
        else if (a == "--pair-min-count" && i + 1 < argc) pairs.minCount = std::atof(argv[++i]);
        else if (a == "--pair-max-length" && i + 1 < argc)
            pairOptions.maxLength = static_cast<size_t>(std::max(1, std::atoi(argv[++i])));
        else if (a == "--pair-restrict") pairOptions.restrict = true;
        else if (a == "--names") names = true;
        else if (a == "--dump-cut" && i + 1 < argc) dumpFile = argv[++i];
        else if (a == "--pair-learn" && i + 2 < argc) {
            learnEpochs = std::atoi(argv[++i]);
            learnFile = argv[++i];
        } else if (a == "--pair-step" && i + 1 < argc) learnStep = std::atof(argv[++i]);
        else if (a == "--pair-weights" && i + 1 < argc) weightsFile = argv[++i];
        else if (a == "--pair-place-cut" && i + 1 < argc) pairPlaceCut = std::atoi(argv[++i]);
        else args.push_back(a);
    }
    if (args.size() != 2 || (cutter != "model" && cutter != "dict")) {
        std::fprintf(stderr,
                     "usage: cutscore [--cutter model|dict] [--from YYYYMMDD] [--to YYYYMMDD] [--repeat N] "
                     "[--misses N] [--examples N] [--word-pairs WEIGHT [--pair-beta X] [--pair-floor X] [--pair-min-count N] [--pair-place-cut N] [--pair-learn EPOCHS FILE [--pair-step X]] [--pair-weights FILE] "
                     "[--pair-max-length N] [--pair-restrict]] [--names] [--dump-cut FILE] MODEL_DIR CORPUS_DIR\n");
        return 2;
    }
    if (cutter == "dict") setenv("VSGLEX_CUTTER", "dict", 1);
    vsglex_handle *h = vsglex_open(args[0].c_str());
    if (h == nullptr) {
        std::fprintf(stderr, "cutscore: %s\n", vsglex_last_error());
        return 1;
    }
    const vsg::front::Lexicon *lexicon = vsg::front::LexiconOf(h);
    const vsg::front::SegModel *model = vsg::front::SegModelOf(h);
    if ((cutter == "model" || usePairs) && model == nullptr) {
        std::fprintf(stderr, "cutscore: %s has no %s\n", args[0].c_str(), vsg::front::kSegModelFile);
        return 1;
    }
    {
        vsg::front::SegModel m;
        std::string error;
        auto t0 = std::chrono::steady_clock::now();
        if (m.Load(args[0] + "/" + vsg::front::kSegModelFile, &error)) {
            auto ms = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - t0).count();
            std::printf("model load %.1f ms, %zu feature groups\n", ms, m.Groups());
        }
    }

    std::vector<vsgtrain::Paragraph> paragraphs;
    for (const std::string &f : vsgtrain::CorpusFiles(args[1])) vsgtrain::ReadCorpusFile(f, 0, 0, &paragraphs);
    auto inWindow = [&](const vsgtrain::Paragraph &p) {
        return (from == 0 || p.date >= from) && (to == 0 || p.date <= to);
    };
    // Vocabularies and place counts of the paragraphs outside the window.
    std::vector<std::vector<vsgtrain::Unit>> trainUnits;
    std::unordered_set<std::string> tokenVocabulary, engineVocabulary;
    for (const vsgtrain::Paragraph &p : paragraphs) {
        if (inWindow(p)) continue;
        for (const vsgtrain::Token &t : p.tokens) tokenVocabulary.insert(t.word);
        trainUnits.push_back(vsgtrain::BuildUnits(p));
    }
    const auto placeCount = vsgtrain::CountPlaces(trainUnits);
    for (const auto &units : trainUnits) {
        std::string text;
        std::vector<uint32_t> b = vsgtrain::EngineBoundaries(units, placeCount, 0, &text);
        std::vector<std::string> words;
        for (size_t i = 1; i < b.size(); ++i) words.push_back(text.substr(b[i - 1], b[i] - b[i - 1]));
        engineVocabulary.insert(words.begin(), words.end());
        if (usePairs && pairPlaceCut > 0) {
            // Places seen at most pairPlaceCut times in characters, as the
            // cutter's target has the places its other folds lack.
            b = vsgtrain::EngineBoundaries(units, placeCount, pairPlaceCut, &text);
            words.clear();
            for (size_t i = 1; i < b.size(); ++i) words.push_back(text.substr(b[i - 1], b[i] - b[i - 1]));
        }
        if (usePairs) pairs.AddParagraph(words);
    }
    trainUnits.clear();

    // The held-out text and its two golds.
    struct Item {
        std::string text;
        std::vector<uint32_t> corpus, engine;
    };
    std::vector<Item> items;
    std::vector<vsgtrain::Paragraph> scored;  // the paragraph of each item
    int64_t chars = 0;
    for (const vsgtrain::Paragraph &p : paragraphs) {
        if (!inWindow(p)) continue;
        Item it;
        it.corpus = TokenBoundaries(p, &it.text);
        std::string engineText;
        it.engine = vsgtrain::EngineBoundaries(vsgtrain::BuildUnits(p), placeCount, 0, &engineText);
        if (engineText != it.text) {
            std::fprintf(stderr, "cutscore: units of %s differ from its tokens\n", p.id.c_str());
            continue;
        }
        chars += static_cast<int64_t>(vsgtrain::SplitChars(it.text).size());
        items.push_back(std::move(it));
        scored.push_back(p);
    }

    int32_t transitions[vsg::front::kSegLabels][vsg::front::kSegLabels] = {};
    for (int p = 0; p < vsg::front::kSegLabels && model != nullptr; ++p)
        for (int l = 0; l < vsg::front::kSegLabels; ++l) transitions[p][l] = model->Transition(p, l);

    // Learned word-level weights: read, or learned on the window's own
    // paragraphs (held out from the model's training days) by an averaged
    // perceptron and written.
    vsgbench::WordPairWeights learned;
    if (!weightsFile.empty()) {
        std::FILE *f = std::fopen(weightsFile.c_str(), "r");
        size_t got = 0;
        while (f != nullptr && got < learned.w.size() && std::fscanf(f, "%lf", &learned.w[got]) == 1) ++got;
        if (f != nullptr) std::fclose(f);
        if (got != learned.w.size()) {
            std::fprintf(stderr, "cutscore: cannot read %zu weights from %s\n", learned.w.size(), weightsFile.c_str());
            return 1;
        }
        pairOptions.learned = &learned;
    }
    if (learnEpochs > 0) {
        std::vector<double> sum(learned.w.size(), 0.0);
        double steps = 0.0;
        pairOptions.learned = &learned;
        std::vector<vsg::front::Atom> runAtoms;
        std::vector<uint32_t> gold, found;
        std::vector<size_t> goldFeatures, foundFeatures;
        vsg::front::CutScratch work;
        for (int epoch = 0; epoch < learnEpochs; ++epoch) {
            int64_t wrong = 0;
            for (const Item &it : items) {
                runAtoms.clear();
                vsg::front::Atomise(it.text.data(), 0, it.text.size(), runAtoms);
                std::set<uint32_t> bounds(it.engine.begin(), it.engine.end());
                for (size_t k = 0; k < runAtoms.size();) {
                    if (runAtoms[k].kind == vsg::front::AtomKind::kSpace) {
                        ++k;
                        continue;
                    }
                    size_t e = k;
                    while (e < runAtoms.size() && runAtoms[e].kind != vsg::front::AtomKind::kSpace) ++e;
                    const vsg::front::Atom *a = runAtoms.data() + k;
                    const size_t n = e - k;
                    // Gold ends of the run; runs whose edges are no gold
                    // boundaries or with words beyond the search are skipped.
                    gold.clear();
                    bool usable = bounds.count(a[0].start) != 0;
                    for (size_t x = 0; x < n; ++x)
                        if (bounds.count(a[x].start + a[x].length) != 0) {
                            if (x + 1 - (gold.empty() ? 0 : gold.back()) > pairOptions.maxLength) usable = false;
                            gold.push_back(static_cast<uint32_t>(x + 1));
                        }
                    if (gold.empty() || gold.back() != n) usable = false;
                    k = e;
                    if (!usable) continue;
                    model->Score(it.text.data(), a, n, *lexicon, work);
                    found.clear();
                    vsgbench::WordPairCut(it.text.data(), a, n, work.score.data(), transitions, pairs, pairOptions,
                                          found);
                    steps += 1.0;
                    if (found == gold) continue;
                    ++wrong;
                    goldFeatures.clear();
                    foundFeatures.clear();
                    vsgbench::WordPairPathFeatures(it.text.data(), a, gold, pairs, goldFeatures);
                    vsgbench::WordPairPathFeatures(it.text.data(), a, found, pairs, foundFeatures);
                    for (size_t x : goldFeatures) {
                        learned.w[x] += learnStep;
                        sum[x] += steps * learnStep;
                    }
                    for (size_t x : foundFeatures) {
                        learned.w[x] -= learnStep;
                        sum[x] -= steps * learnStep;
                    }
                }
            }
            std::printf("word-pair learning pass %d: %lld runs cut wrong\n", epoch + 1, static_cast<long long>(wrong));
        }
        for (size_t x = 0; x < learned.w.size(); ++x) learned.w[x] -= sum[x] / (steps + 1.0);
        std::FILE *f = std::fopen(learnFile.c_str(), "w");
        for (size_t x = 0; f != nullptr && x < learned.w.size(); ++x) std::fprintf(f, "%.3f\n", learned.w[x]);
        if (f == nullptr || std::fclose(f) != 0) {
            std::fprintf(stderr, "cutscore: cannot write %s\n", learnFile.c_str());
            return 1;
        }
    }

    // Cut every paragraph run by run.
    std::vector<std::vector<uint32_t>> cuts(items.size());
    std::vector<vsg::front::Atom> atoms;
    std::vector<uint32_t> ends;
    vsg::front::CutScratch scratch;
    double best = 1e30;
    for (int pass = 0; pass < repeat; ++pass) {
        double t0 = CpuSeconds();
        for (size_t i = 0; i < items.size(); ++i) {
            const std::string &text = items[i].text;
            atoms.clear();
            vsg::front::Atomise(text.data(), 0, text.size(), atoms);
            std::vector<uint32_t> &cut = cuts[i];
            cut.assign(1, 0);
            size_t k = 0;
            while (k < atoms.size()) {
                if (atoms[k].kind == vsg::front::AtomKind::kSpace) {
                    ++k;
                    continue;
                }
                size_t e = k;
                while (e < atoms.size() && atoms[e].kind != vsg::front::AtomKind::kSpace) ++e;
                ends.clear();
                if (usePairs) {
                    model->Score(text.data(), atoms.data() + k, e - k, *lexicon, scratch);
                    vsgbench::WordPairCut(text.data(), atoms.data() + k, e - k, scratch.score.data(), transitions,
                                          pairs, pairOptions, ends);
                } else if (model != nullptr) model->Cut(text.data(), atoms.data() + k, e - k, *lexicon, ends, scratch);
                else lexicon->Cut(text.data(), atoms.data() + k, e - k, ends, scratch);
                for (uint32_t x : ends) {
                    const vsg::front::Atom &last = atoms[k + x - 1];
                    cut.push_back(last.start + last.length);
                }
                k = e;
            }
        }
        best = std::min(best, CpuSeconds() - t0);
    }

    Score engine, corpus;
    for (size_t i = 0; i < items.size(); ++i) {
        Compare(items[i].text, cuts[i], items[i].engine, engineVocabulary, &engine);
        Compare(items[i].text, cuts[i], items[i].corpus, tokenVocabulary, &corpus);
    }
    if (usePairs) cutter += " with word pairs";
    std::printf("cutter %s, %zu paragraphs, %lld characters, cut in %.3f s CPU (%.2f M chars/s)\n", cutter.c_str(),
                items.size(), static_cast<long long>(chars), best, static_cast<double>(chars) / best / 1e6);
    engine.Print("engine");
    for (size_t i = 0; i < items.size() && examples > 0; ++i) {
        const Item &it = items[i];
        auto show = [&](const std::vector<uint32_t> &b, uint32_t from, uint32_t to) {
            std::string out;
            for (size_t k = 1; k < b.size(); ++k)
                if (b[k] > from && b[k - 1] < to) out += vsgtrain::GbToUtf8(it.text.substr(b[k - 1], b[k] - b[k - 1])) + "/";
            return out;
        };
        std::set<std::pair<uint32_t, uint32_t>> spans;
        for (size_t k = 1; k < cuts[i].size(); ++k) spans.emplace(cuts[i][k - 1], cuts[i][k]);
        for (size_t k = 1; k < it.engine.size() && examples > 0; ++k) {
            if (spans.count({it.engine[k - 1], it.engine[k]}) != 0) continue;
            uint32_t from = it.engine[k >= 3 ? k - 3 : 0], to = it.engine[std::min(k + 2, it.engine.size() - 1)];
            std::printf("  gold %s\n  cut  %s\n", show(it.engine, from, to).c_str(), show(cuts[i], from, to).c_str());
            --examples;
        }
    }
    if (!dumpFile.empty()) {
        // The cut of every paragraph, one line each, words apart by spaces.
        std::FILE *f = std::fopen(dumpFile.c_str(), "w");
        if (f == nullptr) {
            std::fprintf(stderr, "cutscore: cannot write %s\n", dumpFile.c_str());
            return 1;
        }
        for (size_t i = 0; i < items.size(); ++i) {
            std::string line;
            for (size_t k = 1; k < cuts[i].size(); ++k) {
                if (k > 1) line += ' ';
                line += items[i].text.substr(cuts[i][k - 1], cuts[i][k] - cuts[i][k - 1]);
            }
            std::fprintf(f, "%s\n", vsgtrain::GbToUtf8(line).c_str());
        }
        std::fclose(f);
    }
    if (misses > 0) {
        std::map<std::string, int> missed;
        for (const Item &it : items) {
            std::set<std::pair<uint32_t, uint32_t>> spans;
            for (size_t i = 1; i < cuts[&it - items.data()].size(); ++i)
                spans.emplace(cuts[&it - items.data()][i - 1], cuts[&it - items.data()][i]);
            for (size_t i = 1; i < it.engine.size(); ++i)
                if (spans.count({it.engine[i - 1], it.engine[i]}) == 0)
                    ++missed[it.text.substr(it.engine[i - 1], it.engine[i] - it.engine[i - 1])];
        }
        std::vector<std::pair<int, std::string>> top;
        for (const auto &kv : missed) top.emplace_back(-kv.second, kv.first);
        std::sort(top.begin(), top.end());
        for (size_t i = 0; i < top.size() && i < static_cast<size_t>(misses); ++i)
            std::printf("  missed %4d %s\n", -top[i].first, vsgtrain::GbToUtf8(top[i].second).c_str());
    }
    corpus.Print("corpus");
    if (names) {
        int32_t status = 0;
        vsg::model::LoadFault fault = vsg::model::LoadFault::kNone;
        const std::unique_ptr<vsg::engine::Engine> engine =
            vsg::engine::Engine::Load(args[0].c_str(), &status, &fault);
        if (engine == nullptr) {
            std::fprintf(stderr, "cutscore: %s\n", vsg::model::DescribeLoadFailure(args[0], status, fault).c_str());
            return 1;
        }
        // The words of each cut; space atoms are words of their own, and a
        // word too long for the engine goes in characters.
        std::vector<std::vector<std::string>> inputs(items.size());
        for (size_t i = 0; i < items.size(); ++i) {
            const std::string &text = items[i].text;
            std::set<uint32_t> bounds(cuts[i].begin(), cuts[i].end());
            atoms.clear();
            vsg::front::Atomise(text.data(), 0, text.size(), atoms);
            for (const vsg::front::Atom &a : atoms)
                if (a.kind == vsg::front::AtomKind::kSpace) {
                    bounds.insert(a.start);
                    bounds.insert(a.start + a.length);
                }
            bounds.insert(static_cast<uint32_t>(text.size()));
            uint32_t from = 0;
            for (uint32_t b : bounds) {
                if (b <= from) continue;
                std::string w = text.substr(from, b - from);
                if (w.size() > VSG_ITEM_TEXT_MAX) {
                    for (const std::string &c : vsgtrain::SplitChars(w)) inputs[i].push_back(c);
                } else {
                    inputs[i].push_back(w);
                }
                from = b;
            }
        }
        vsgeval::EvalResult r = vsgeval::Evaluate(&engine->models(), scored, 0, &inputs);
        const char *classes[3] = {"person", "place", "organisation"};
        std::printf("names through the engine (%lld paragraphs, %lld misaligned):", static_cast<long long>(r.paragraphs),
                    static_cast<long long>(r.misaligned));
        for (int c = 0; c < 3; ++c)
            std::printf(" %s P %.4f R %.4f F1 %.4f%s", classes[c], r.names[c].Precision(), r.names[c].Recall(),
                        r.names[c].F1(), c < 2 ? ";" : "\n");
    }
    vsglex_close(h);
    return 0;
}
