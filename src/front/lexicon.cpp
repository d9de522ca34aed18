// Word cutter over the core dictionary: a lattice of dictionary words over
// atoms, searched for the cheapest path with unigram costs.
#include "common/tagset.h"
#include "front/lexicon.h"

#include <cmath>
#include <cstring>
#include <limits>

namespace vsg::front {

namespace {

constexpr uint32_t kFnvBasis = 2166136261u;
constexpr uint32_t kFnvPrime = 16777619u;
// Longest word the cutter tries, in atoms.
constexpr size_t kMaxWordAtoms = 16;

inline uint32_t HashMore(uint32_t h, const char *p, size_t n) {
    if (n == 2) {  // most atoms: one two-byte character
        h = (h ^ static_cast<unsigned char>(p[0])) * kFnvPrime;
        return (h ^ static_cast<unsigned char>(p[1])) * kFnvPrime;
    }
    for (size_t i = 0; i < n; ++i) {
        h ^= static_cast<unsigned char>(p[i]);
        h *= kFnvPrime;
    }
    return h;
}

// Person-name tags of the part-of-speech tag map.

// The first bytes of a key (up to 8), zero-padded.
inline uint64_t InlineKey(const char *key, size_t length) {
    uint64_t v = 0;
    std::memcpy(&v, key, length < 8 ? length : 8);
    return v;
}

constexpr size_t kBloomBits = size_t{1} << 21;

// Bloom filter bit of a key hash, taken from other bits than the table's.
inline size_t BloomBit(uint32_t hash) { return (hash * 0x9E3779B1u) >> (32 - 21); }

}  // namespace

int Lexicon::DirectIndex(const char *text, const Atom &a) {
    const auto *p = reinterpret_cast<const unsigned char *>(text + a.start);
    if (a.length == 1) return p[0];
    if (a.length == 2) return (p[0] << 8) | p[1];
    return -1;
}

bool Lexicon::MayHold(uint32_t hash) const {
    if (bloom_.empty()) return false;
    size_t bit = BloomBit(hash);
    return (bloom_[bit >> 6] >> (bit & 63)) & 1;
}

bool Lexicon::SameKey(const Slot &s, uint64_t inlineKey, const char *key, size_t length) const {
    if (s.length != length) return false;
    if (length <= 8) return s.inlineKey == inlineKey;
    return std::memcmp(keys_.data() + s.offset, key, length) == 0;
}

const Lexicon::Slot *Lexicon::Find(uint32_t hash, const char *key, size_t length) const {
    if (slots_.empty()) return nullptr;
    uint64_t inlineKey = InlineKey(key, length);
    size_t mask = slots_.size() - 1;
    for (size_t i = hash & mask;; i = (i + 1) & mask) {
        const Slot &s = slots_[i];
        if (s.length == 0) return nullptr;
        if (s.hash == hash && SameKey(s, inlineKey, key, length)) return &s;
    }
}

void Lexicon::Grow() {
    vsg::HugeTable<Slot> old;
    old.swap(slots_);
    slots_.assign(old.empty() ? 1024 : old.size() * 2, Slot{0, 0, 0, 0, 0, 0, 0.0f});
    size_t mask = slots_.size() - 1;
    for (const Slot &s : old) {
        if (s.length == 0) continue;
        size_t i = s.hash & mask;
        while (slots_[i].length != 0) i = (i + 1) & mask;
        slots_[i] = s;
    }
}

void Lexicon::Insert(uint32_t hash, const char *key, size_t length, bool isWord, float cost) {
    if ((used_ + 1) * 3 >= slots_.size() * 2) Grow();
    uint64_t inlineKey = InlineKey(key, length);
    size_t mask = slots_.size() - 1;
    size_t i = hash & mask;
    for (;; i = (i + 1) & mask) {
        Slot &s = slots_[i];
        if (s.length == 0) break;
        if (s.hash == hash && SameKey(s, inlineKey, key, length)) {
            if (isWord) {
                s.isWord = 1;
                s.cost = cost;
            }
            return;
        }
    }
    Slot s{inlineKey, hash, static_cast<uint32_t>(keys_.size()), static_cast<uint16_t>(length),
           static_cast<uint8_t>(isWord ? 1 : 0), 0, cost};
    if (length > 8) keys_.append(key, length);
    slots_[i] = s;
    ++used_;
}

bool Lexicon::Build(const DictionaryS &dict, const LexiconOptions &options) {
    // Count of each word: the sum of its part-of-speech rows' counts.
    std::vector<LexiconWord> words;
    if (dict.entries != nullptr && dict.count > 0) {
        words.reserve(static_cast<size_t>(dict.count));
        for (int32_t e = 0; e < dict.count; ++e) {
            const DictSEntry &entry = dict.entries[e];
            if (entry.word == nullptr || entry.length <= 0 || entry.length > 80 || entry.posList == nullptr) continue;
            LexiconWord w;
            w.text = std::string_view(entry.word, static_cast<size_t>(entry.length));
            for (int32_t r = 0; r < entry.posCount; ++r) {
                const DictSRow &row = entry.posList[r];
                if (row.code != 0 || !std::isfinite(row.value)) continue;
                double c = std::exp(static_cast<double>(row.value));
                w.count += c;
                if (IsPersonTag(row.subCode)) w.personCount += c;
            }
            words.push_back(w);
        }
    }
    return Build(words, options);
}

bool Lexicon::Build(const std::vector<LexiconWord> &words, const LexiconOptions &options) {
    slots_.clear();
    keys_.clear();
    used_ = words_ = maxBytes_ = 0;
    directCost_.assign(0x10000, -1.0f);
    directLonger_.assign(0x10000, 0);
    bloom_.assign(kBloomBits / 64, 0);

    std::vector<double> counts(words.size(), 0.0);
    double total = 0.0;
    size_t kept = 0;
    for (size_t e = 0; e < words.size(); ++e) {
        const LexiconWord &w = words[e];
        if (w.text.empty() || w.text.size() > 80) continue;
        if (w.text.find("##") != std::string_view::npos) continue;  // class words
        if (!(w.count > 0.0) || !std::isfinite(w.count)) continue;
        // A short word seen mostly as a person name can swallow part of a
        // longer unknown name: cutting it as a word would hide the single
        // characters the person recogniser works on.
        if (w.text.size() > 2 && w.personCount * 2.0 >= w.count &&
            static_cast<long>(w.text.size()) < 2L * options.minPersonWordChars)
            continue;
        counts[e] = w.count;
        total += w.count;
        ++kept;
    }
    if (total <= 0.0) return false;
    // Every kept word is a key of its own, so the table is sized for them
    // at once instead of grown step by step through the smaller sizes
    // (Insert grows it further for the prefixes as before).
    size_t tableSize = 1024;
    while ((kept + 1) * 3 >= tableSize * 2) tableSize *= 2;
    slots_.assign(tableSize, Slot{0, 0, 0, 0, 0, 0, 0.0f});
    double logTotal = std::log(total);
    unknownCost_ = logTotal + 3.0;
    runCost_ = logTotal - std::log(100.0);

    // The keys are inserted in order, each kAhead keys after it was made:
    // its slot, at random in a table of megabytes, is loaded meanwhile.
    struct Pending {
        uint32_t hash;
        uint32_t length;
        const char *key;
        float cost;
        bool isWord;
    };
    constexpr size_t kAhead = 8;
    Pending pending[kAhead];
    size_t made = 0, inserted = 0;
    auto insertOldest = [&]() {
        const Pending &p = pending[inserted++ % kAhead];
        Insert(p.hash, p.key, p.length, p.isWord, p.cost);
    };
    auto insertLater = [&](const Pending &p) {
        if (made - inserted == kAhead) insertOldest();
        __builtin_prefetch(&slots_[p.hash & (slots_.size() - 1)], 1);
        pending[made++ % kAhead] = p;
    };
    std::vector<Atom> atoms;
    for (size_t e = 0; e < words.size(); ++e) {
        double count = counts[e];
        if (count <= 0.0) continue;
        const char *word = words[e].text.data();
        const size_t length = words[e].text.size();
        // Register every atom-aligned prefix so the search can stop early.
        atoms.clear();
        Atomise(word, 0, length, atoms);
        bool hasSpace = false;
        for (const Atom &a : atoms) hasSpace |= a.kind == AtomKind::kSpace;
        if (hasSpace || atoms.empty() || atoms.size() > kMaxWordAtoms) continue;
        uint32_t h = kFnvBasis;
        float cost = static_cast<float>(logTotal - std::log(count));
        int direct = DirectIndex(word, atoms[0]);
        if (direct >= 0) {
            if (atoms.size() == 1) directCost_[static_cast<size_t>(direct)] = cost;
            else directLonger_[static_cast<size_t>(direct)] = 1;
        }
        for (size_t k = 0; k < atoms.size(); ++k) {
            h = HashMore(h, word + atoms[k].start, atoms[k].length);
            size_t len = atoms[k].start + atoms[k].length;
            bool last = k + 1 == atoms.size();
            insertLater(Pending{h, static_cast<uint32_t>(len), word, last ? cost : 0.0f, last});
            if (k > 0) {
                size_t bit = BloomBit(h);
                bloom_[bit >> 6] |= uint64_t{1} << (bit & 63);
            }
        }
        ++words_;
        if (length > maxBytes_) maxBytes_ = length;
    }
    while (inserted < made) insertOldest();
    return words_ > 0;
}

bool Lexicon::HasWord(const char *text, size_t length) const {
    if (length == 0 || length > maxBytes_) return false;
    const uint32_t h = HashMore(kFnvBasis, text, length);
    if (!MayHold(h)) return false;
    const Slot *s = Find(h, text, length);
    return s != nullptr && s->isWord;
}

void Lexicon::MarkWords(const char *text, const Atom *atoms, size_t n, uint8_t cap, WordMarks *marks) const {
    for (size_t i = 0; i < n; ++i) marks[i] = WordMarks{};
    if (slots_.empty()) return;
    for (size_t i = 0; i < n; ++i) {
        const Atom &a = atoms[i];
        int direct = DirectIndex(text, a);
        if (direct >= 0 && !directLonger_[static_cast<size_t>(direct)]) continue;
        uint32_t h = HashMore(kFnvBasis, text + a.start, a.length);
        size_t bytes = a.length;
        for (size_t j = i + 1; j < n && j - i < kMaxWordAtoms; ++j) {
            const Atom &b = atoms[j];
            bytes += b.length;
            if (bytes > maxBytes_) break;
            h = HashMore(h, text + b.start, b.length);
            if (!MayHold(h)) break;
            const Slot *s = Find(h, text + a.start, bytes);
            if (s == nullptr) break;
            if (!s->isWord) continue;
            size_t len = j - i + 1;
            auto v = static_cast<uint8_t>(len < cap ? len : cap);
            // Words from one start are met shortest first: the last one
            // marked is the longest.
            const float c = s->cost < 0.0f ? 0.0f : s->cost;
            const auto costClass =
                static_cast<uint8_t>(c >= kWordCostClasses - 1 ? kWordCostClasses - 1 : static_cast<int>(c));
            marks[i].starts = v;
            marks[i].startCost = costClass;
            if (len <= 4) marks[j].endCost[len - 2] = static_cast<uint8_t>(costClass + 1);
            if (v > marks[j].ends) marks[j].ends = v;
            for (size_t m = i + 1; m < j; ++m)
                if (v > marks[m].inside) marks[m].inside = v;
        }
    }
}

void Lexicon::Cut(const char *text, const Atom *atoms, size_t n, std::vector<uint32_t> &ends,
                  CutScratch &scratch) const {
    if (n == 0) return;
    auto &cost = scratch.cost;
    auto &back = scratch.back;
    cost.assign(n + 1, std::numeric_limits<double>::infinity());
    back.assign(n + 1, 0);
    cost[0] = 0.0;
    for (size_t i = 0; i < n; ++i) {
        double base = cost[i];
        // The atom alone is always a way on.
        const Atom &a = atoms[i];
        double single = -1.0;
        uint32_t h = kFnvBasis;
        size_t j = i;
        size_t bytes = 0;
        // Characters and short atoms are looked up in the direct tables.
        int direct = directCost_.empty() ? -1 : DirectIndex(text, a);
        if (direct >= 0) {
            single = directCost_[static_cast<size_t>(direct)];
            if (!directLonger_[static_cast<size_t>(direct)]) j = n;  // no longer word starts here
            h = HashMore(h, text + a.start, a.length);
            bytes = a.length;
            ++j;
        }
        while (j < n && j - i < kMaxWordAtoms) {
            const Atom &b = atoms[j];
            bytes += b.length;
            if (bytes > maxBytes_) break;
            h = HashMore(h, text + b.start, b.length);
            if (j > i && !MayHold(h)) break;
            const Slot *s = Find(h, text + a.start, bytes);
            if (s == nullptr) break;
            if (s->isWord) {
                if (j == i) {
                    single = s->cost;
                } else if (base + s->cost < cost[j + 1]) {
                    cost[j + 1] = base + s->cost;
                    back[j + 1] = static_cast<uint32_t>(i);
                }
            }
            ++j;
        }
        if (single < 0.0) {
            single = (a.kind == AtomKind::kNumber || a.kind == AtomKind::kLatin) ? runCost_ : unknownCost_;
        }
        if (base + single < cost[i + 1]) {
            cost[i + 1] = base + single;
            back[i + 1] = static_cast<uint32_t>(i);
        }
    }
    // Read the path backwards, then append it in text order.
    size_t first = ends.size();
    for (size_t k = n; k > 0; k = back[k]) ends.push_back(static_cast<uint32_t>(k));
    for (size_t l = first, r = ends.size() - 1; l < r; ++l, --r) std::swap(ends[l], ends[r]);
}

}  // namespace vsg::front
