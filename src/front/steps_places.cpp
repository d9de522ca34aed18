// Steps after the engine on places: person names that are places, known
// place compounds, and new words the text names as places elsewhere.
#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "common/gbtext.h"
#include "common/tagset.h"
#include "front/analysis.h"
#include "front/analyzer.h"
#include "front/corpusview.h"

namespace vsg::front {

// Person names that are places: a person word whose text the training
// days show mostly as a place (the cutter hands rare places to the engine
// in characters, and the person recogniser may take them), and a
// transliterated person name whose neighbouring words (of several
// characters, which the role search cannot tell apart) come far more often
// next to transliterated places than next to such names (抵达 雅温得).
void Analysis::RetagPlaces(std::vector<Span> &spans) {
    // The text of a plain word of several characters touching `s` in its
    // sentence, or an empty view.
    auto neighbour = [&](const Span &s, const Span &n) {
        const Item &a = items_[std::min(s.last, n.last)];
        const Item &b = items_[std::max(s.first, n.first)];
        if (a.sentence != b.sentence || b.start != a.start + a.length || IsNameTag(n.tag) || n.split != 0)
            return std::string_view();
        std::string_view t = SpanText(n);
        return t.size() > 2 ? t : std::string_view();
    };
    for (size_t i = 0; i < spans.size(); ++i) {
        Span &s = spans[i];
        if (!IsPersonTag(s.tag)) continue;
        bool user = false;
        for (size_t q = s.first; q <= s.last; ++q) user = user || items_[q].user != nullptr;
        if (user) continue;
        // A string the training days show mostly as a place (马德里, 科威特:
        // the cutter hands rare places over in characters, and the person
        // recogniser may take them) stays a place.
        if (shared_.knownPlaces && s.first != s.last) {
            const std::string_view t = SpanText(s);
            const int32_t known = CoreWordTag(&shared_.engine->models(), t.data(), t.size());
            if (IsPlaceTag(known)) {
                s.tag = known;
                continue;
            }
        }
        if (s.tag != kForeignPersonTag) continue;
        std::string_view before = i > 0 ? neighbour(s, spans[i - 1]) : std::string_view();
        std::string_view after = i + 1 < spans.size() ? neighbour(s, spans[i + 1]) : std::string_view();
        if (shared_.neighbours.PlaceEvidence(before, after) >= shared_.placeEvidenceMin) s.tag = kForeignPlaceTag;
    }
}

namespace {

// Known place compounds are runs of at most this many engine words (the
// trainer counts bracketed places of up to four corpus words).
constexpr size_t kMaxCompoundWords = 4;

}  // namespace

// A run of words that the training days bracket as one place far more often
// than not (人民 大会堂, 香港 特别 行政区, 内蒙古 自治区) is one place, one
// they bracket as an organisation (中央 纪委) one organisation; the corpus
// pieces are its words as they are. The longest known run wins; names other
// than places are never part of one.
void Analysis::JoinKnownCompounds(std::vector<Span> &spans) {
    compoundParts_.clear();
    const PlaceCompoundEnds &known = shared_.placeEnds;
    if (!shared_.knownCompounds || spans.size() < 2 || known.LongestCompound() == 0) return;
    const std::string &gb = work_.gb;
    auto usable = [&](const Span &s) {
        return s.split == 0 && !IsPersonTag(s.tag) && !IsOrgTag(s.tag) && !HoldsFixedItem(s);
    };
    size_t out = 0;
    for (size_t i = 0; i < spans.size(); ++i) {
        size_t best = i;
        int32_t bestTag = -1;
        const Item &a = items_[spans[i].first];
        if (known.MayStartCompound(gb.data() + a.start, a.length) && usable(spans[i])) {
            for (size_t j = i + 1; j < spans.size() && j - i < kMaxCompoundWords && usable(spans[j]); ++j) {
                const Item &p = items_[spans[j - 1].last];
                const Item &b = items_[spans[j].first];
                if (b.sentence != a.sentence || b.start != p.start + p.length) break;
                const Item &e = items_[spans[j].last];
                const size_t bytes = e.start + e.length - a.start;
                if (bytes > known.LongestCompound()) break;
                if (const int32_t tag = known.CompoundTag(gb.data() + a.start, bytes); tag >= 0) {
                    best = j;
                    bestTag = tag;
                }
            }
        }
        if (best == i) {
            if (out != i) spans[out] = spans[i];
            ++out;
            continue;
        }
        Span joined{spans[i].first, spans[best].last, bestTag};
        joined.partsAt = compoundParts_.size();
        joined.partCount = best - i + 1;
        compoundParts_.insert(compoundParts_.end(), spans.begin() + i, spans.begin() + best + 1);
        spans[out++] = joined;
        i = best;
    }
    spans.resize(out);
}

// A word the core dictionary lacks, of two or three characters, is a place
// where this text names it as one elsewhere: the engine found the same
// string as a place, or a place that is the string and the suffix of an
// administrative unit (象山县, and then 象山 alone). The part-of-speech
// tagger never gives a new word a place tag, and the place recogniser
// joins single characters only. The places of the batch are taken first,
// so an earlier mention profits from a later one; only the tag changes.
namespace {

// A string held as a place lends its tag to at most this many plain
// mentions per place mention.
constexpr uint32_t kPlainPerPlace = 2;

}  // namespace

void Analysis::RepeatPlaces(std::vector<Span> &spans) {
    if (!shared_.repeatPlaces) return;
    const std::string &gb = work_.gb;
    const bool precut = (flags_ & VSGLEX_PRECUT) != 0;
    std::string t;
    for (const Span &s : spans) {
        if (!IsPlaceTag(s.tag)) continue;
        // The place's characters: in pre-cut text a place the engine made
        // of one-character words spans the spaces between them.
        ItemChars(s.first, s.last, t);
        if (t.size() < 4 || t.size() > 16 || !IsGb2312ChineseText(t.data(), t.size())) continue;
        if (placeFirsts_.empty()) placeFirsts_.resize(1 << 16);
        placeFirsts_[GbCharKey(t.data())] = true;
        ++places_[t].places;
        if (t.size() >= 6 && UnitSuffix(t.data() + t.size() - 2)) places_[t.substr(0, t.size() - 2)].stem = true;
    }
    if (places_.empty()) return;
    // A run of three or more one-character plain words of one sentence
    // (touching, or in pre-cut text apart by the separating spaces) that
    // spells such a place and ends in a place suffix (县, 山, 港, ...) is
    // that place: the recogniser joined the same characters elsewhere in
    // the text (日照县 found once and left as 日 照 县 before a sentence
    // end). Two characters are left alone (too many pairs of plain words
    // spell a short place by chance), and so are places without a suffix,
    // whose repeats mostly carry a false place on (太多则, 从楼里).
    if (shared_.placeRuns) {
        auto single = [&](const Span &s) {
            const Item &a = items_[s.first];
            return s.first == s.last && a.length == 2 && !s.run && s.tag >= 0 && !IsNameTag(s.tag) &&
                   s.split == 0 && s.partCount == 0 && a.user == nullptr && !a.continues &&
                   IsGb2312ChineseText(gb.data() + a.start, 2);
        };
        // Most words are turned down by their length and first character;
        // the spans are only moved once a run was joined.
        size_t out = 0;
        for (size_t i = 0; i < spans.size(); ++i) {
            size_t best = i;
            const Item &a = items_[spans[i].first];
            if (a.length == 2 && placeFirsts_[GbCharKey(gb.data() + a.start)] && single(spans[i])) {
                t.assign(gb, items_[spans[i].first].start, 2);
                for (size_t j = i + 1; j < spans.size() && t.size() < 16 && single(spans[j]); ++j) {
                    const Item &p = items_[spans[j - 1].first];
                    const Item &b = items_[spans[j].first];
                    if (b.sentence != p.sentence || (!precut && b.start != p.start + p.length)) break;
                    t.append(gb, b.start, 2);
                    if (t.size() >= 6 && StemSuffix(gb.data() + b.start, 2) && places_.count(t) != 0) best = j;
                }
            }
            if (best == i) {
                if (out != i) spans[out] = spans[i];
                ++out;
                continue;
            }
            spans[out++] = Span{spans[i].first, spans[best].first, kPlaceTag};
            i = best;
        }
        spans.resize(out);
    }
    // Most words are turned down by the first character before any lookup.
    placeRepeats_.clear();
    for (Span &s : spans) {
        const Item &a = items_[s.first];
        const char *w = gb.data() + a.start;
        if (s.first != s.last && !s.run) continue;
        // One word, or a name run joined after the engine (its characters
        // touch: its text is one stretch).
        const size_t length = SpanText(s).size();
        if ((length != 4 && length != 6) || !placeFirsts_[GbCharKey(w)] ||
            !ShortChineseWord(w, length) || s.tag < 0 ||
            IsNameTag(s.tag) || HoldsFixedItem(s) || s.split != 0 || s.partCount != 0)
            continue;
        auto found = places_.find(std::string(w, length));
        if (found == places_.end() || CoreWordCount(&shared_.engine->models(), w, length) != 0.0) continue;
        ++found->second.plain;
        placeRepeats_.emplace_back(&s, &found->second);
    }
    // A place the text names under the same string lends it only while the
    // text does not write the string far more often as a plain word: one
    // false place of the engine (a temple's name cut after a foreign name)
    // would otherwise make every mention of a common word a place. The stem
    // of a place with a unit suffix (象山 of 象山县) is rarely a place by
    // itself in the text, and always lends.
    for (const auto &[s, m] : placeRepeats_)
        if (m->stem || m->plain <= kPlainPerPlace * m->places) s->tag = kPlaceTag;
}

}  // namespace vsg::front
