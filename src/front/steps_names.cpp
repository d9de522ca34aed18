// Steps after the engine on person names: names broken up over marks,
// names that took in a verb before an aspect particle, remembered names
// found again, and transliterated names after titles.
#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "common/gbtext.h"
#include "common/tagset.h"
#include "front/analysis.h"
#include "front/analyzer.h"
#include "front/corpusview.h"

namespace vsg::front {

namespace {

// What a word is to a name around it.
enum class NamePart : uint8_t {
    kText,     // holds a character, letter or digit, or a mark that joins the parts of a name (· — － ． - .)
    kBracket,  // one bracket: a place in brackets may stand inside an organisation's name
    kMark,     // marks only: no name holds it
};

NamePart NamePartOf(const char *text, size_t length, int *depth) {
    const auto *t = reinterpret_cast<const unsigned char *>(text);
    if (length == 1 && (t[0] == '(' || t[0] == ')')) {
        *depth += t[0] == '(' ? 1 : -1;
        return NamePart::kBracket;
    }
    if (length == 2 && t[0] == 0xA3 && (t[1] == 0xA8 || t[1] == 0xA9)) {  // （ ）
        *depth += t[1] == 0xA8 ? 1 : -1;
        return NamePart::kBracket;
    }
    for (size_t i = 0; i < length;) {
        const size_t l = GbCharLength(t, i, length);
        const unsigned c = l == 2 ? (t[i] << 8 | t[i + 1]) : t[i];
        // Marks that join the parts of a name: - . · — － ．
        const bool joins = l == 1 ? c == '-' || c == '.' : l == 2 && (c == 0xA1A4 || c == 0xA1AA || c == 0xA3AD || c == 0xA3AE);
        if (joins || !IsMarkChar(t + i, l)) return NamePart::kText;
        i += l;
    }
    return NamePart::kMark;
}

}  // namespace

void Analysis::SplitNamesOverMarks(std::vector<Span> &spans) {
    thread_local std::vector<Span> out;
    out.clear();
    bool changed = false;
    // Each word of a broken-up name takes its dictionary tag (looked up in
    // full width, the dictionary's form), else that of a mark or a noun.
    auto alone = [&](size_t q) {
        const char *word = work_.gb.data() + items_[q].start;
        int32_t tag = shared_.pieceTags.Of(word, items_[q].length, -1);
        if (tag < 0) {
            int depth = 0;
            tag = NamePartOf(word, items_[q].length, &depth) == NamePart::kText ? shared_.nounTag : shared_.markTag;
        }
        out.push_back(Span{q, q, tag});
    };
    for (const Span &s : spans) {
        if (s.first == s.last || !IsNameTag(s.tag) || HoldsFixedItem(s)) {
            out.push_back(s);
            continue;
        }
        // Marks and brackets at the edges are cut off; what is left stays a
        // name when it holds no mark, no white space and only closed brackets
        // (ＫＥＭＡ质量认证（香港）有限公司).
        size_t first = s.first, last = s.last;
        int depth = 0;
        while (first <= last && NamePartOf(work_.gb.data() + items_[first].start, items_[first].length, &depth) !=
                                    NamePart::kText)
            ++first;
        while (last > first &&
               NamePartOf(work_.gb.data() + items_[last].start, items_[last].length, &depth) != NamePart::kText)
            --last;
        // In pre-cut text the white space between words only separates them
        // (a host hands an unknown name one character a word).
        const bool precut = (flags_ & VSGLEX_PRECUT) != 0;
        bool keep = first <= last;
        depth = 0;
        for (size_t q = first; keep && q <= last; ++q) {
            keep = NamePartOf(work_.gb.data() + items_[q].start, items_[q].length, &depth) != NamePart::kMark &&
                   depth >= 0 &&
                   (q == first || precut || items_[q - 1].start + items_[q - 1].length == items_[q].start);
        }
        // One character left of a name says too little (a surname, 镇).
        keep = keep && depth == 0 && (first < last || items_[first].length > 2);
        if (keep && first == s.first && last == s.last) {
            out.push_back(s);
            continue;
        }
        changed = true;
        if (!keep) {
            for (size_t q = s.first; q <= s.last; ++q) alone(q);
            continue;
        }
        for (size_t q = s.first; q < first; ++q) alone(q);
        Span core = s;
        core.first = first;
        core.last = last;
        out.push_back(core);
        for (size_t q = last + 1; q <= s.last; ++q) alone(q);
    }
    if (changed) spans.swap(out);
}

// Kept when a person name is remembered: two to eight Chinese characters
// (a lone surname or an initial says too little to be repeated).
constexpr size_t kMinNameBytes = 4;
constexpr size_t kMaxNameBytes = 16;

uint64_t Analysis::NameHash(std::string_view text) {
    uint64_t h = 14695981039346656037ull;
    for (char c : text) h = (h ^ static_cast<unsigned char>(c)) * 1099511628211ull;
    return h ^ (h >> 29);
}

Analysis::RememberedPerson *Analysis::FindName(std::string_view text) {
    if (names_.empty()) return nullptr;
    const size_t mask = names_.size() - 1;
    for (size_t i = NameHash(text) & mask;; i = (i + 1) & mask) {
        NameSlot &slot = names_[i];
        if (slot.length == 0) return nullptr;
        if (slot.length == text.size() && std::memcmp(slot.text, text.data(), text.size()) == 0) return &slot.person;
    }
}

// Inline: its one caller, RepeatNames, is in this file.
inline Analysis::RememberedPerson &Analysis::RememberName(std::string_view text) {
    static_assert(sizeof(NameSlot::text) >= kMaxNameBytes, "a slot holds any remembered name");
    if (RememberedPerson *known = FindName(text)) return *known;
    // At most half full.
    if (2 * (nameCount_ + 1) > names_.size()) {
        std::vector<NameSlot> old(std::max<size_t>(64, 2 * names_.size()));
        old.swap(names_);
        const size_t mask = names_.size() - 1;
        for (const NameSlot &slot : old) {
            if (slot.length == 0) continue;
            size_t i = NameHash(std::string_view(slot.text, slot.length)) & mask;
            while (names_[i].length != 0) i = (i + 1) & mask;
            names_[i] = slot;
        }
    }
    const size_t mask = names_.size() - 1;
    size_t i = NameHash(text) & mask;
    while (names_[i].length != 0) i = (i + 1) & mask;
    NameSlot &slot = names_[i];
    std::memcpy(slot.text, text.data(), text.size());
    slot.length = static_cast<uint8_t>(text.size());
    ++nameCount_;
    return slot.person;
}
bool RememberedName(const char *p, size_t len) {
    if (len < kMinNameBytes || len > kMaxNameBytes || len % 2 != 0) return false;
    for (size_t i = 0; i < len; i += 2) {
        auto lead = static_cast<unsigned char>(p[i]);
        // Double-byte characters outside the rows of marks and symbols.
        if (lead < 0x81 || (lead >= 0xA1 && lead <= 0xAF) || static_cast<unsigned char>(p[i + 1]) < 0x40) return false;
    }
    return true;
}

// A person name the engine found in a text is the same name where its
// characters come again as whole words that the engine did not take for a
// name: the recognisers miss a name in some of its contexts (a given name
// cut as a dictionary word, 盛 云龙; a transliteration after a word they do
// not expect) while finding it in others. A string is taken again only
// while the engine has found it at least as often as it has passed it over
// (so one false name among many plain mentions does not spread). The names
// of the batch are counted first, so an earlier mention profits from a
// later one.
// Shortest new word (bytes) that a remembered name takes whole.
constexpr size_t kMinWholeNameBytes = 6;

void Analysis::RepeatNames(std::vector<Span> &spans) {
    auto plain = [&](const Span &s) { return !HoldsFixedItem(s) && !IsNameTag(s.tag); };
    // In pre-cut text a name the engine made of a host's one-character words
    // spans the spaces between them: its characters are taken without them,
    // and a run of mentions may have spaces between its words.
    const bool precut = (flags_ & VSGLEX_PRECUT) != 0;
    std::string compact;
    for (const Span &s : spans) {
        const std::string_view name = precut && s.first != s.last ? ItemChars(s.first, s.last, compact) : SpanText(s);
        if (!IsPersonTag(s.tag) || !RememberedName(name.data(), name.size())) continue;
        RememberedPerson &r = RememberName(name);
        r.tag = s.tag;
        ++r.found;
        longestName_ = std::max(longestName_, name.size());
        nameStarts_.resize(1 << 16);
        nameEnds_.resize(1 << 16);
        nameStarts_[GbCharKey(name.data())] = true;
        nameEnds_[GbCharKey(name.data() + name.size() - 2)] = true;
    }
    if (nameCount_ == 0) return;
    // Mentions passed over: the longest run of plain words from a word,
    // touching each other in one sentence, that spells a remembered name.
    repeats_.clear();
    for (size_t i = 0; i < spans.size(); ++i) {
        // A lone surname the engine took for a person may be the start of a
        // remembered name (何 长工 where 何长工 was found): the engine saw a
        // person there, so only the name's extent is in question.
        const bool surname = IsPersonTag(spans[i].tag) && SpanText(spans[i]).size() == 2 && spans[i].first == spans[i].last &&
                             items_[spans[i].first].user == nullptr;
        if (SpanText(spans[i]).size() < 2 || !nameStarts_[GbCharKey(SpanText(spans[i]).data())] || !(surname || plain(spans[i]))) continue;
        // The run's words touch each other (in pre-cut text they may be apart
        // by the separating spaces, and its text is copied without them).
        std::string_view run;
        Repeat best{0, 0, nullptr, surname, surname};
        for (size_t j = i; j < spans.size() && (j == i || plain(spans[j])); ++j) {
            const Item &a = items_[spans[j].first];
            if (j > i) {
                const Item &b = items_[spans[j - 1].last];
                if (a.sentence != b.sentence || (!precut && a.start != b.start + b.length)) break;
            }
            if (precut) {
                if (j == i) compact.clear();
                for (size_t q = spans[j].first; q <= spans[j].last; ++q)
                    compact.append(work_.gb, items_[q].start, items_[q].length);
                run = compact;
            } else {
                run = std::string_view(SpanText(spans[i]).data(), items_[spans[j].last].start +
                                                                      items_[spans[j].last].length -
                                                                      items_[spans[i].first].start);
            }
            if (run.size() > longestName_) break;
            if (run.size() < kMinNameBytes || !nameEnds_[GbCharKey(run.data() + run.size() - 2)]) continue;
            RememberedPerson *found = FindName(run);
            // A word of three or more characters that the cutter kept
            // whole and that no lexicon word as long starts (褚时健 where the
            // engine found 褚时健 once): the text's own new word is that
            // name, not a common word that happens to spell it. Words of two
            // characters are left to the misses' count: too many of them
            // are common words a false name happened to spell (茅屋, 申辩).
            const bool whole = j == i && spans[i].first == spans[i].last && items_[spans[i].first].novel &&
                               run.size() >= kMinWholeNameBytes && shared_.repeatWholeNames;
            if (found != nullptr && !(surname && j == i)) best = Repeat{i, j, found, surname || whole, surname};
        }
        if (best.name == nullptr) continue;
        if (!best.extends) ++best.name->missed;
        else if (!best.surname) ++best.name->found;  // the text's new word: the name itself
        repeats_.push_back(best);
        i = best.last;
    }
    if (repeats_.empty()) return;
    size_t out = 0, next = 0;
    for (size_t i = 0; i < spans.size(); ++i) {
        while (next < repeats_.size() && repeats_[next].first < i) ++next;
        if (next < repeats_.size() && repeats_[next].first == i &&
            (repeats_[next].extends || repeats_[next].name->found >= repeats_[next].name->missed)) {
            const Repeat &r = repeats_[next];
            spans[out++] = Span{spans[r.first].first, spans[r.last].last, r.name->tag};
            i = r.last;
        } else {
            if (out != i) spans[out] = spans[i];
            ++out;
        }
    }
    spans.resize(out);
}

namespace {

// A word stands mostly before foreign persons when at least this many of its
// occurrences in the training days did, and at least this share (总统 0.29,
// 外长 0.42, 选手 0.18; 主席 0.11, 会见 and 记者 far less).
constexpr double kMinTitleCount = 5.0;
constexpr double kMinTitleShare = 0.15;
// Length of a foreign name so joined, in characters.
constexpr size_t kMinTitledNameChars = 2, kMaxTitledNameChars = 4;

}  // namespace

namespace {

// Aspect particles (了 着 过) follow verbs and never a name: none of the
// 59,942 names of the training corpus (persons, places, organisations,
// other proper nouns, whole or bracketed) stands right before one.
constexpr char kAspectParticles[] = "\xc1\xcb\xd7\xc5\xb9\xfd";  // 了着过
constexpr GbCharSet kAspectParticleSet{kAspectParticles};

}  // namespace

// A name of three or more characters that the engine joined from
// one-character words and that stands right before an aspect particle has
// taken the verb in: 普京通 了电话. The verb becomes a word of its own. A
// person name keeps the rest; a place made of the rest would be a place of
// two characters that no pattern joins, so its words become plain again,
// for the title step to judge (总统 普京).
void Analysis::EndNamesBeforeParticles(std::vector<Span> &spans) {
    if (!shared_.particleEnds) return;
    const std::string &gb = work_.gb;
    // A plain word's tag: its dictionary tag, a noun when it has none.
    auto plain = [&](size_t q) {
        const int32_t t = CoreWordTag(&shared_.engine->models(), gb.data() + items_[q].start, items_[q].length);
        return Span{q, q, t >= 0 ? t : shared_.nounTag};
    };
    // Whether span i is such a name before such a particle.
    auto takesVerb = [&](size_t i) {
        const Span &s = spans[i];
        if (!IsNameTag(s.tag) || s.last < s.first + 2 || i + 1 >= spans.size() || HoldsFixedItem(s) ||
            s.split != 0 || s.partCount != 0)
            return false;
        const Item &end = items_[s.last];
        const Span &n = spans[i + 1];
        const Item &p = items_[n.first];
        bool cut = n.first == n.last && p.length == 2 && end.length == 2 && p.sentence == end.sentence &&
                   p.start == end.start + end.length && kAspectParticleSet.Has(gb.data() + p.start);
        for (size_t q = s.first; cut && q <= s.last; ++q) cut = items_[q].length == 2;
        return cut;
    };
    // Most batches have none: the spans are rebuilt only from the first.
    size_t first = 0;
    while (first < spans.size() && !takesVerb(first)) ++first;
    if (first == spans.size()) return;
    std::vector<Span> out(spans.begin(), spans.begin() + static_cast<std::ptrdiff_t>(first));
    out.reserve(spans.size() + 4);
    for (size_t i = first; i < spans.size(); ++i) {
        const Span &s = spans[i];
        if (!takesVerb(i)) {
            out.push_back(s);
            continue;
        }
        if (IsPersonTag(s.tag)) {
            out.push_back(Span{s.first, s.last - 1, s.tag});
        } else {
            for (size_t q = s.first; q < s.last; ++q) out.push_back(plain(q));
        }
        out.push_back(plain(s.last));
        // The particle was tagged after a name; after the verb it takes its
        // dictionary tag (了/ule, not 了/v).
        out.push_back(plain(spans[++i].first));
    }
    spans.swap(out);
}

// The recognisers take a foreign name of two characters for two plain words
// (普 京), and the cutter may join two of its characters into a dictionary
// word (马克 龙). After a word that mostly stands before a transliterated
// person, the run of two or more words made only of transliteration
// characters (two to four of them, touching, in one sentence, none a name
// or a user word) is one such person.
void Analysis::NameAfterTitles(std::vector<Span> &spans) {
    if (!shared_.titledNames) return;
    const std::string &gb = work_.gb;
    // A Chinese character of the transliteration lists (not their marks · —).
    auto transliterated = [](const char *p) {
        return static_cast<unsigned char>(p[0]) >= 0xB0 && IsTransliterationChar(p);
    };
    auto foreign = [&](const Span &s) {
        const size_t n = SpanText(s).size();
        const char *t = gb.data() + items_[s.first].start;
        if (IsNameTag(s.tag) || HoldsFixedItem(s) || s.partCount != 0 || s.split != 0 || n % 2 != 0) return false;
        for (size_t i = 0; i < n; i += 2)
            if (!transliterated(t + i)) return false;
        return true;
    };
    size_t out = 0;
    for (size_t i = 0; i < spans.size(); ++i) {
        if (out != i) spans[out] = spans[i];
        ++out;
        const Span &title = spans[i];
        if (i + 2 >= spans.size()) continue;
        // Most words are turned down by the first character after them.
        const char *next = gb.data() + items_[spans[i + 1].first].start;
        if (!transliterated(next)) continue;
        if (IsNameTag(title.tag) || SpanText(title).size() < 4 || HoldsFixedItem(title)) continue;
        // The run after the word.
        size_t j = i + 1, chars = 0;
        while (j < spans.size() && items_[spans[j].first].sentence == items_[title.first].sentence &&
               items_[spans[j].first].start == items_[spans[j - 1].last].start + items_[spans[j - 1].last].length &&
               foreign(spans[j]) && chars + SpanText(spans[j]).size() / 2 <= kMaxTitledNameChars) {
            chars += SpanText(spans[j]).size() / 2;
            ++j;
        }
        // A longer run of such characters goes on: no name's end is known.
        if (j < spans.size() && foreign(spans[j])) continue;
        if (j < i + 3 || chars < kMinTitledNameChars) continue;
        const std::string_view word = SpanText(title);
        const double before = shared_.neighbours.BeforePerson(word);
        if (before < kMinTitleCount) continue;
        const double count = CoreWordCount(&shared_.engine->models(), word.data(), word.size());
        if (count <= 0.0 || before < kMinTitleShare * count) continue;
        spans[out++] = Span{spans[i + 1].first, spans[j - 1].last, kForeignPersonTag};
        i = j - 1;
    }
    spans.resize(out);
}

}  // namespace vsg::front
