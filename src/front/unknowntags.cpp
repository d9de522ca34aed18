// Tags of words the core dictionary lacks, from their characters and the
// tag transitions around them.
#include "front/unknowntags.h"

#include <algorithm>
#include <cmath>

#include "common/gbtext.h"
#include "common/tagset.h"
#include "model/context_costs.h"

namespace vsg::front {

namespace {

// The tags words never seen take in the tagged corpus (names are the
// recognisers' business, numbers and times the conventions', marks are no
// words): of the words of several characters in a week of the corpus that
// the other three weeks never show and that are no names, 87% have one of
// these tags, 98% of those that are no number words either.
constexpr const char *kCandidateNames[] = {"n", "v", "vn", "a", "an", "ad", "d", "b", "j",
                                           "i", "l", "nz", "z", "t", "s", "f", "vd"};

constexpr uint16_t kNoRow = 0xFFFF;
constexpr size_t kLengthRows = 4;  // 2, 3, 4, 5 or more characters


// Whether GB text[0..length) is two or more Chinese characters of GB2312.
bool ChineseWord(const char *text, size_t length) { return length >= 4 && IsGb2312ChineseText(text, length); }

size_t LengthRow(size_t length) { return std::min(length / 2, kLengthRows + 1) - 2; }

// The main part-of-speech tag (code 0 row of the highest count) of the
// dictionary entry `e`, or -1.
int32_t MainTag(const DictSEntry &e) {
    int32_t tag = -1;
    float best = -INFINITY;
    for (int32_t r = 0; e.posList != nullptr && r < e.posCount; ++r) {
        const DictSRow &row = e.posList[r];
        if (row.code == 0 && std::isfinite(row.value) && row.value > best) {
            best = row.value;
            tag = row.subCode;
        }
    }
    return tag;
}

}  // namespace

void UnknownTags::Build(const SegmentEngine &models, const std::vector<std::string> &tagNames,
                        const UnknownTagOptions &options) {
    *this = UnknownTags();
    slotOfTag_.assign(256, -1);
    std::vector<const char *> names(std::begin(kCandidateNames), std::end(kCandidateNames));
    if (options.numbers) names.push_back("m");
    for (const char *name : names) {
        // The first line of that name: later ones are classes of single
        // frequent words ("n#13"), which no unknown word is.
        for (size_t k = 0; k < tagNames.size() && k < slotOfTag_.size(); ++k) {
            if (tagNames[k] != name) continue;
            slotOfTag_[k] = static_cast<int32_t>(candidates_.size());
            candidates_.push_back(static_cast<int32_t>(k));
            break;
        }
    }
    const size_t nc = candidates_.size();
    const DictionaryS &dict = models.core;
    const double kLogRareCount = std::log(kRareCount);
    // Counts: each rare word counts once, for its most frequent tag.
    std::vector<double> firstCount, lastCount, lengthCount(kLengthRows * nc, 0.0), prior(nc, 0.0);
    charRow_.assign(1 << 16, kNoRow);
    size_t rows = 0;
    auto rowOf = [&](const char *p) -> size_t {
        uint16_t &r = charRow_[GbCharKey(p)];
        if (r == kNoRow) {
            r = static_cast<uint16_t>(rows++);
            firstCount.resize(rows * nc, 0.0);
            lastCount.resize(rows * nc, 0.0);
        }
        return r;
    };
    double rare = 0.0;
    for (int32_t e = 0; e < dict.count && nc > 0; ++e) {
        const DictSEntry &entry = dict.entries[e];
        if (entry.word == nullptr || entry.posList == nullptr ||
            !ChineseWord(entry.word, static_cast<size_t>(entry.length)))
            continue;
        double count = 0.0, best = -INFINITY;
        int32_t tag = -1;
        bool name = false;
        for (int32_t r = 0; r < entry.posCount; ++r) {
            const DictSRow &row = entry.posList[r];
            if (row.code != 0 || !std::isfinite(row.value)) continue;
            if (IsNameTag(row.subCode)) name = true;
            // A row above the rare count makes the word frequent.
            count += row.value > kLogRareCount ? kRareCount + 1.0 : std::exp(static_cast<double>(row.value));
            if (row.value > best) {
                best = row.value;
                tag = row.subCode;
            }
        }
        if (name || count <= 0.0 || count > kRareCount || !IsCandidate(tag)) continue;
        if (rows + 2 >= kNoRow) break;  // cannot happen with GB2312 characters
        const size_t c = static_cast<size_t>(slotOfTag_[tag]);
        const size_t len = static_cast<size_t>(entry.length);
        firstCount[rowOf(entry.word) * nc + c] += 1.0;
        lastCount[rowOf(entry.word + len - 2) * nc + c] += 1.0;
        lengthCount[LengthRow(len) * nc + c] += 1.0;
        prior[c] += 1.0;
        rare += 1.0;
    }
    if (rare == 0.0) {
        *this = UnknownTags();
        return;
    }
    // Tag shares: among rare words, and among all words of the context model.
    const ContextStat &ctx = models.tagModels[VSG_TAG_POS].model;
    double all = 0.0;
    for (int32_t t = 0; t < ctx.tagCount && ctx.tagFrequency != nullptr; ++t)
        all += std::max(0, ctx.tagFrequency[t]);
    std::vector<double> share(nc);
    prior_.resize(nc);
    for (size_t c = 0; c < nc; ++c) {
        // Half a word for a tag no rare word has keeps every log finite.
        share[c] = (prior[c] + 0.5) / (rare + 0.5 * static_cast<double>(nc));
        const int32_t t = candidates_[c];
        const double freq = all > 0.0 && t < ctx.tagCount ? ctx.tagFrequency[t] : 0.0;
        prior_[c] = all > 0.0 && freq > 0.0 ? static_cast<float>(std::log(share[c]) - std::log(freq / all)) : 0.0f;
    }
    // Without class evidence most cells count nothing: their log is one
    // per tag and row.
    std::vector<double> logShare(nc), logPrior(nc);
    for (size_t c = 0; c < nc; ++c) {
        logShare[c] = std::log(share[c]);
        logPrior[c] = std::log(kSmoothing * share[c]);
    }
    // The class of a character row: its main tag as a word of its own, or
    // kNoClass (not a word).
    constexpr size_t kNoClass = 256;
    std::vector<size_t> classOfRow(rows, kNoClass);
    for (size_t key = 0; options.backoff && key < charRow_.size(); ++key) {
        if (charRow_[key] == kNoRow) continue;
        const char ch[3] = {static_cast<char>(key >> 8), static_cast<char>(key & 0xFF), '\0'};
        const int32_t e = DictionaryS_GetCoreInfo(ch, &dict);
        const int32_t tag = e >= 0 && e < dict.count ? MainTag(dict.entries[e]) : -1;
        if (tag >= 0 && tag < static_cast<int32_t>(kNoClass)) classOfRow[charRow_[key]] = static_cast<size_t>(tag);
    }
    // ln P(tag | feature) - ln P(tag) of every row of `counts`. P(tag |
    // feature) is smoothed by kSmoothing words towards `base`: with `chars`
    // a character's towards the shares of its class (the class's counts
    // smoothed towards those of all rare words), else towards all rare
    // words.
    auto ratios = [&](const std::vector<double> &counts, size_t n, std::vector<float> &out, bool chars) {
        // kSmoothing times the base share of each class and tag, and its
        // log (the value of every cell that counts nothing).
        std::vector<double> base((kNoClass + 1) * nc), logBase((kNoClass + 1) * nc);
        if (chars) {
            std::vector<double> classTotal(kNoClass + 1, 0.0);
            std::fill(base.begin(), base.end(), 0.0);
            for (size_t r = 0; r < n; ++r)
                for (size_t c = 0; c < nc; ++c) {
                    base[classOfRow[r] * nc + c] += counts[r * nc + c];
                    classTotal[classOfRow[r]] += counts[r * nc + c];
                }
            for (size_t k = 0; k <= kNoClass; ++k)
                for (size_t c = 0; c < nc; ++c) {
                    double &b = base[k * nc + c];
                    b = kSmoothing * (b + kSmoothing * share[c]) / (classTotal[k] + kSmoothing);
                    logBase[k * nc + c] = std::log(b);
                }
        } else {
            for (size_t c = 0; c < nc; ++c) {
                base[kNoClass * nc + c] = kSmoothing * share[c];
                logBase[kNoClass * nc + c] = logPrior[c];
            }
        }
        out.assign(n * nc, 0.0f);
        for (size_t r = 0; r < n; ++r) {
            const double *row = &counts[r * nc];
            double total = 0.0;
            for (size_t c = 0; c < nc; ++c) total += row[c];
            const double logTotal = std::log(total + kSmoothing);
            const size_t k = chars ? classOfRow[r] : kNoClass;
            for (size_t c = 0; c < nc; ++c) {
                const double logP = row[c] > 0.0 ? std::log(row[c] + base[k * nc + c]) : logBase[k * nc + c];
                out[r * nc + c] = static_cast<float>(logP - logTotal - logShare[c]);
            }
        }
    };
    ratios(firstCount, rows, first_, options.backoff);
    ratios(lastCount, rows, last_, options.backoff);
    ratios(lengthCount, kLengthRows, length_, false);
    context_ = &ctx;
}

double UnknownTags::WordScore(const char *text, size_t length, size_t c) const {
    const size_t nc = candidates_.size();
    double s = prior_[c] + length_[LengthRow(length) * nc + c];
    const uint16_t f = charRow_[GbCharKey(text)];
    if (f != kNoRow) s += first_[f * nc + c];
    const uint16_t l = charRow_[GbCharKey(text + length - 2)];
    if (l != kNoRow) s += last_[l * nc + c];
    return s;
}

double UnknownTags::Transition(int32_t from, int32_t to) const {
    if (from < 0 || to < 0) return 0.0;
    if (from >= context_->tagCount || to >= context_->tagCount || context_->possibility == nullptr)
        return model::kUnseenPairCost;
    return context_->possibility[from][to];
}

int32_t UnknownTags::Retag(const char *text, size_t length, int32_t prev, int32_t tag, int32_t next,
                           double margin) const {
    if (!IsCandidate(tag) || !ChineseWord(text, length)) return tag;
    auto score = [&](size_t c) {
        const int32_t t = candidates_[c];
        return WordScore(text, length, c) - Transition(prev, t) - Transition(t, next);
    };
    const double kept = score(static_cast<size_t>(slotOfTag_[tag]));
    int32_t best = tag;
    double bestScore = kept + margin;
    for (size_t c = 0; c < candidates_.size(); ++c) {
        const double s = score(c);
        if (s > bestScore) {
            bestScore = s;
            best = candidates_[c];
        }
    }
    return best;
}

}  // namespace vsg::front
