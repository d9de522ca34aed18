// Steps after the engine on words the dictionary lacks: pieces of a new
// word joined where the batch holds it whole, and tags of unknown words
// decided again from their characters.
#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "common/gbtext.h"
#include "common/tagset.h"
#include "front/analysis.h"
#include "front/analyzer.h"
#include "front/conventions.h"
#include "front/corpusview.h"

namespace vsg::front {

// The cutter cuts a word it has never seen by its characters' evidence
// around each mention, so a new word of a text often comes out whole in
// some mentions and in pieces in others (污水厂 and 污水 厂). A word of two
// to four Chinese characters that the core dictionary lacks, that is no
// name, number or time, and that the batch holds whole at least
// shared_.repeatedWords times (the cutter's word, or a name run joined
// by an earlier step), joins each run of two to four touching plain words of one
// sentence that spell it, and gives it the tag of its last whole mention.
void Analysis::JoinRepeatedWords(std::vector<Span> &spans) {
    if (shared_.repeatedWords <= 0 || spans.size() < 2) return;
    const uint32_t need = static_cast<uint32_t>(shared_.repeatedWords);
    const std::string &gb = work_.gb;
    // A word that may be a whole mention or a piece: no name, user word or
    // compound.
    auto plain = [&](const Span &s) {
        return s.tag >= 0 && !IsNameTag(s.tag) && s.split == 0 && s.partCount == 0 && !HoldsFixedItem(s) &&
               (s.first == s.last || s.run);
    };
    // The whole mentions: only the cutter's new words (the lexicon
    // told when it cut) and the joined runs are looked up.
    newWords_.clear();
    for (const Span &s : spans) {
        if (s.first == s.last ? !items_[s.first].novel : !s.run) continue;
        const size_t length = SpanText(s).size();
        if (length < 4 || length > 8 || !plain(s)) continue;
        const char *w = gb.data() + items_[s.first].start;
        if (!IsGb2312ChineseText(w, length) || ClassOfString(w, length) != StringClass::kOther) continue;
        const std::string_view text(w, length);
        auto it = std::find_if(newWords_.begin(), newWords_.end(), [&](const NewWord &n) { return n.text == text; });
        if (it == newWords_.end()) {
            if (KnownWord(shared_, w, length)) continue;
            newWords_.push_back(NewWord{text, 0, s.tag});
            it = newWords_.end() - 1;
        }
        ++it->count;
        it->tag = s.tag;
    }
    newWords_.erase(std::remove_if(newWords_.begin(), newWords_.end(), [&](const NewWord &n) { return n.count < need; }),
                 newWords_.end());
    if (newWords_.empty()) return;
    if (newWordFirsts_.empty()) newWordFirsts_.resize(1 << 16);
    for (const NewWord &n : newWords_) newWordFirsts_[GbCharKey(n.text.data())] = true;
    size_t out = 0;
    for (size_t i = 0; i < spans.size(); ++i) {
        const Span &s = spans[i];
        const char *w = gb.data() + items_[s.first].start;
        size_t best = 0;
        const NewWord *found = nullptr;
        if (items_[s.first].length >= 2 && newWordFirsts_[GbCharKey(w)] && plain(s)) {
            // The longest run of touching plain words from here that spells
            // such a word.
            size_t length = SpanText(s).size();
            const uint32_t sentence = items_[s.first].sentence;
            for (size_t j = i + 1; j < spans.size() && j < i + 4; ++j) {
                const Span &t = spans[j];
                if (!plain(t) || items_[t.first].sentence != sentence ||
                    items_[spans[j - 1].last].start + items_[spans[j - 1].last].length != items_[t.first].start)
                    break;
                length += SpanText(t).size();
                if (length > 8) break;
                const std::string_view text(w, length);
                for (const NewWord &n : newWords_)
                    if (n.text == text) {
                        best = j;
                        found = &n;
                    }
            }
        }
        if (found != nullptr) {
            Span joined{s.first, spans[best].last, found->tag};
            joined.run = true;
            spans[out++] = joined;
            i = best;
            continue;
        }
        if (out != i) spans[out] = spans[i];
        ++out;
    }
    spans.resize(out);
    for (const NewWord &n : newWords_) newWordFirsts_[GbCharKey(n.text.data())] = false;
}

// A plain word of Chinese characters that the core dictionary lacks had the
// engine's rows of unknown words, which give it the tag its neighbours'
// transitions favour (mostly a noun). Its characters are evidence the
// engine could not use: the tag is decided again from them and the tags
// of the words around it (`UnknownTags`). Names, user words, number words
// and the words the earlier steps joined are left alone.
void Analysis::RetagUnknownWords(std::vector<Span> &spans) {
    if (!shared_.retagUnknown || shared_.unknownTags.Empty()) return;
    const std::string &gb = work_.gb;
    for (size_t i = 0; i < spans.size(); ++i) {
        Span &s = spans[i];
        const Item &a = items_[s.first];
        if (s.first != s.last && !s.run) continue;
        // One word, or a name run joined after the engine.
        const size_t length = SpanText(s).size();
        if (length < 4 || !shared_.unknownTags.IsCandidate(s.tag) || s.split != 0 || s.partCount != 0 ||
            HoldsFixedItem(s))
            continue;
        const char *w = gb.data() + a.start;
        if (!IsGb2312ChineseText(w, length) || ClassOfString(w, length) != StringClass::kOther ||
            KnownWord(shared_, w, length))
            continue;
        const int32_t prev = i > 0 && items_[spans[i - 1].last].sentence == a.sentence ? spans[i - 1].tag
                                                                                      : kSentenceBeginTag;
        const int32_t next =
            i + 1 < spans.size() && items_[spans[i + 1].first].sentence == a.sentence ? spans[i + 1].tag
                                                                                     : kSentenceEndTag;
        s.tag = shared_.unknownTags.Retag(w, length, prev, s.tag, next, shared_.unknownMargin);
    }
}

namespace {

// Whether atoms [from, to) are Chinese characters of GB 2312 that make no
// number or time (the new words kept whole across a text).
bool TextWordAtoms(const char *text, const Atom *atoms, size_t from, size_t to) {
    for (size_t k = from; k < to; ++k)
        if (atoms[k].kind != AtomKind::kHan || atoms[k].length != 2) return false;
    const char *w = text + atoms[from].start;
    const size_t length = 2 * (to - from);
    return IsGb2312ChineseText(w, length) && ClassOfString(w, length) == StringClass::kOther;
}

// Whether a word end at atom `at` of a run of n atoms would cut into a
// new word of its labels: one of several atoms longer than every lexicon
// word at its first (`marks`).
bool CutsNewWord(const uint8_t *labels, const WordMarks *marks, size_t n, size_t at) {
    if (at == 0 || at >= n || SegLabelCloses(labels[at - 1])) return false;
    size_t first = at - 1, last = at;
    while (first > 0 && !SegLabelCloses(labels[first - 1])) --first;
    while (last + 1 < n && !SegLabelCloses(labels[last])) ++last;
    return marks[first].starts < last + 1 - first;
}

}  // namespace

void Analysis::RememberTextWords(const char *cutText, const Atom *atoms, size_t n) {
    const WordMarks *marks = scratch_.marks.data();
    size_t a = 0;
    for (uint32_t b : ends_) {
        // Two to four characters, longer than every lexicon word at its
        // first: a word the cutter made rather than found.
        if (b >= a + 2 && b <= a + kSegWordMax && marks[a].starts < b - a && TextWordAtoms(cutText, atoms, a, b)) {
            if (textWordFirsts_.empty()) textWordFirsts_.resize(1 << 16);
            textWordFirsts_[GbCharKey(cutText + atoms[a].start)] = true;
            const int64_t sure = shared_.segModel.SplitCost(n, a, b, scratch_);
            int64_t &surest = textWords_[std::string(cutText + atoms[a].start, 2 * (b - a))];
            surest = std::max(surest, sure);
        }
        a = b;
    }
}

// The cutter cuts a word it has never seen by the evidence around each
// mention, so the same new word may be whole in one sentence and in pieces
// in the next (航天飞机 and 航天 飞机). A mention that the labels split is
// kept whole when the best labels that keep it cost the cutter at most
// shared_.textWordCost; the longest such word from an atom wins, and a
// word kept stays forced while the others are weighed.
void Analysis::KeepTextWords(const char *cutText, const Atom *atoms, size_t n) {
    if (n < 2) return;
    const uint8_t *labels = scratch_.labels.data();
    const WordMarks *marks = scratch_.marks.data();
    bool changed = false;
    thread_local std::string key;
    for (size_t a = 0; a + 2 <= n; ++a) {
        if (atoms[a].kind != AtomKind::kHan || !textWordFirsts_[GbCharKey(cutText + atoms[a].start)]) continue;
        for (size_t length = std::min<size_t>(kSegWordMax, n - a); length >= 2; --length) {
            if (!TextWordAtoms(cutText, atoms, a, a + length)) continue;
            key.assign(cutText + atoms[a].start, 2 * length);
            auto known = textWords_.find(key);
            if (known == textWords_.end() || known->second < shared_.textWordSure) continue;
            labels = scratch_.labels.data();
            bool whole = a == 0 || SegLabelCloses(labels[a - 1]);
            bool names = false;
            for (size_t i = 0; i < length; ++i) {
                whole = whole && labels[a + i] == SegLabelAt(i, length);
                names = names || labels[a + i] >= kSegNameFirst;
            }
            if (whole) {
                a += length - 1;
                break;
            }
            if (names && !shared_.textWordNames) continue;
            // Its ends: word ends of the cut (1), anywhere but inside a new
            // word of the cut (2: 从速 达 网 -> 从 速达网, but never 电热毯 ->
            // 电 热毯), or its last at a word end (3); and none of its pieces a place of the
            // dictionary (长江 口 of 长江口: the corpus writes a place and a
            // following character apart).
            if (shared_.textWordTiles == 1 && !((a == 0 || SegLabelCloses(labels[a - 1])) &&
                                                (a + length == n || SegLabelCloses(labels[a + length - 1]))))
                continue;
            if (shared_.textWordTiles == 3 && !(a + length == n || SegLabelCloses(labels[a + length - 1])))
                continue;
            if (shared_.textWordTiles == 2 &&
                (CutsNewWord(labels, marks, n, a) || CutsNewWord(labels, marks, n, a + length)))
                continue;
            if (!shared_.textWordPlaces) {
                bool place = false;
                for (size_t p = a, q = a; q < a + length && !place; ++q) {
                    if (!SegLabelCloses(labels[q]) && q + 1 < a + length) continue;
                    const char *w = cutText + atoms[p].start;
                    place = q > p && IsPlaceTag(CoreWordTag(&shared_.engine->models(), w, 2 * (q + 1 - p)));
                    p = q + 1;
                }
                if (place) continue;
            }
            if (shared_.segModel.KeepWhole(n, a, a + length, shared_.textWordCost, scratch_)) {
                changed = true;
                a += length - 1;
                break;
            }
        }
    }
    if (!changed) return;
    labels = scratch_.labels.data();
    ends_.clear();
    for (size_t i = 0; i < n; ++i)
        if (SegLabelCloses(labels[i]) || i + 1 == n) ends_.push_back(static_cast<uint32_t>(i + 1));
}

}  // namespace vsg::front
