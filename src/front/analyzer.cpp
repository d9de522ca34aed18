// The raw-text interface: conversion, sentence splitting, word cutting, the
// engine's name recognition and tagging, and the mapping of every word back
// to the caller's bytes. The steps that rework the engine's words after
// each batch are in steps_*.cpp.
#include <sys/stat.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <mutex>
#include <new>
#include <string>
#include <string_view>
#include <type_traits>
#include <unordered_set>
#include <vector>

#include "common/gbtext.h"
#include "common/sentences.h"
#include "common/tagset.h"
#include "engine/instance.h"
#include "front/analysis.h"
#include "front/analyzer.h"
#include "front/atoms.h"
#include "front/conventions.h"
#include "front/corpusview.h"
#include "front/lexicon.h"
#include "front/segmodel.h"
#include "front/transcode.h"
#include "front/unknowntags.h"
#include "front/userdict.h"
#include "model/model_set.h"
#include "vsglex/engine.h"
#include "vsglex/utility.h"
#include "vsglex/vsglex_api.h"

namespace vsg::front {

namespace {

// Model sets that are open, by the canonical path of their directory.
struct Registry {
    std::mutex mutex;
    std::map<std::string, std::weak_ptr<Shared>> sets;
};
Registry &OpenSets() {
    static Registry *registry = new Registry;  // never destroyed: handles may outlive static destruction
    return *registry;
}

thread_local std::string t_lastError;

void SetError(const std::string &message) { t_lastError = message; }

// Words an engine call takes at least, unless the text ends; the sentences
// of a text are batched into calls of about this size (the engine's output
// block then stays below the size that malloc serves by mapping pages).
constexpr size_t kBatchItems = 1024;
// Words of one engine chunk: the engine tags a sentence in pieces of this
// many words, so a long sentence may be split between calls at multiples of
// it without changing the result.
constexpr size_t kEngineChunk = 150;
// Characters of the caller's text converted at once (cut at a line end, or
// in a line longer than twice this at a sentence end or character
// boundary), so that the work text stays small whatever the text's shape.
// Counted in characters, not bytes, so that a text gives the same result in
// any character set and in half or full width: a window's end finishes the
// batch of words that the text-wide steps see.
constexpr size_t kWindowChars = 128 * 1024;

// Full-width or ASCII end marks that close a sentence of pre-cut text.
bool IsSentenceEnd(const char *p, size_t len) {
    if (len == 1) return *p == '!' || *p == '?' || *p == ';';
    if (len != 2) return false;
    auto a = static_cast<unsigned char>(p[0]), b = static_cast<unsigned char>(p[1]);
    return (a == 0xA1 && b == 0xA3) || (a == 0xA3 && (b == 0xA1 || b == 0xBB || b == 0xBF));
}

}  // namespace

void Analysis::Run(const char *text, size_t length, int charset) {
    charset_ = charset;
    size_t pos = 0;
    if (charset == VSGLEX_CHARSET_UTF8 && length >= 3 && std::memcmp(text, "\xEF\xBB\xBF", 3) == 0) pos = 3;
    while (pos < length) {
        size_t end = pos + BlockEnd(text + pos, length - pos, charset, (flags_ & VSGLEX_PRECUT) != 0, kWindowChars);
        Window(text + pos, end - pos, pos, charset);
        pos = end;
    }
    Flush();
}

// Window, Line, EmitEngineWord and Finish each have one caller in this
// file and are declared inline so that the compiler may fold them into it
// (the class is shared with the steps' files, so its members are not
// local to this file; out of line they cost 0.3% more instructions of an
// analysis).
inline void Analysis::Window(const char *src, size_t n, uint64_t base, int charset) {
    // The batch refers to work-text offsets: finish it before they change.
    Flush();
    base_ = base;
    src_ = src;
    ToWorkText(src, n, charset, work_, invalid_, base, (flags_ & VSGLEX_T2S) != 0);
    const std::string &gb = work_.gb;
    closingQuotes_.clear();
    size_t lineStart = 0;
    while (lineStart < gb.size()) {
        const void *nl = std::memchr(gb.data() + lineStart, '\n', gb.size() - lineStart);
        size_t lineEnd = nl != nullptr ? static_cast<size_t>(static_cast<const char *>(nl) - gb.data()) : gb.size();
        bool open = false;
        for (const char *q = gb.data() + lineStart;
             (q = static_cast<const char *>(std::memchr(q, '"', gb.data() + lineEnd - q))) != nullptr; ++q) {
            if (open) closingQuotes_.push_back(static_cast<uint32_t>(q - gb.data()));
            open = !open;
        }
        Line(lineStart, lineEnd);
        lineStart = lineEnd + 1;
    }
    Flush();
}

size_t Analysis::Widen(size_t at, size_t length, char *out) const {
    if (length == 1 && work_.gb[at] == '"') {
        const bool closing = std::binary_search(closingQuotes_.begin(), closingQuotes_.end(), at);
        out[0] = '\xA1';
        out[1] = closing ? '\xB1' : '\xB0';  // ” or “
        return 2;
    }
    return WidenAscii(work_.gb.data() + at, length, out);
}

// Inline: see Window.
inline void Analysis::Line(size_t begin, size_t end) {
    std::string &gb = work_.gb;
    atoms_.clear();
    Atomise(gb.data(), begin, end, atoms_);
    if (atoms_.empty()) return;
    bool precut = (flags_ & VSGLEX_PRECUT) != 0;

    // Sentence starts of the line: those of the text utilities' sentence
    // list of the line (up to its first NUL), taken as offsets without
    // building the list.
    cuts_.clear();
    if (!precut) {
        const char *text = gb.data() + begin;
        const long n = static_cast<long>(strnlen(text, end - begin));
        vsg::sentences::ListedSentenceStarts(
            text, n, [&](long from) { cuts_.push_back(static_cast<uint32_t>(begin + static_cast<size_t>(from))); },
            [&]() -> size_t {
                // The count reads the line as a string.
                const char saved = end < gb.size() ? gb[end] : '\0';
                if (end < gb.size()) gb[end] = '\0';
                const size_t marks = TEXT_GetSensNum(text);
                if (end < gb.size()) gb[end] = saved;
                return marks;
            });
    }

    size_t nextCut = 0;
    size_t runStart = 0;
    bool inRun = false;
    auto endRun = [&](size_t k) {
        if (inRun) AddRun(atoms_.data() + runStart, k - runStart);
        inRun = false;
    };
    for (size_t k = 0; k < atoms_.size(); ++k) {
        const Atom &a = atoms_[k];
        // A new sentence begins at the first atom at or after a cut.
        bool cut = false;
        while (nextCut < cuts_.size() && cuts_[nextCut] <= a.start) {
            cut = true;
            ++nextCut;
        }
        if (cut) {
            endRun(k);
            CloseSentence();
        }
        if (a.kind == AtomKind::kSpace) {
            endRun(k);
            continue;
        }
        if (!inRun) {
            inRun = true;
            runStart = k;
        }
    }
    endRun(atoms_.size());
    CloseSentence();
}

void Analysis::AddRun(const Atom *atoms, size_t n) {
    if (n == 0) return;
    const std::string &gb = work_.gb;
    if (!sentenceOpen_) {
        sentenceOpen_ = true;
        open_.gbStart = atoms[0].start;
        openItems_ = 0;
        vsglex_sentence s{};
        sentences_.push_back(s);
    }
    open_.gbEnd = atoms[n - 1].start + atoms[n - 1].length;
    uint32_t sentence = static_cast<uint32_t>(sentences_.size() - 1);
    bool ascii = true;  // the run may hold ASCII bytes (known below for cut runs)
    auto push = [&](size_t a, size_t b, const UserDict::Entry *user = nullptr, uint8_t name = 0,
                    bool novel = false) {  // atoms [a, b)
        uint32_t s = atoms[a].start;
        uint32_t e = atoms[b - 1].start + atoms[b - 1].length;
        items_.push_back(
            Item{s, static_cast<uint16_t>(e - s), atoms[a].continuesPrevious, name, novel, ascii, sentence, user});
        // A very long sentence is handed on chunk by chunk.
        if (++openItems_ % kEngineChunk == 0 && items_.size() >= kBatchItems) Flush();
    };
    if ((flags_ & VSGLEX_PRECUT) != 0) {
        // One token: one word, split into pieces of at most 80 bytes.
        size_t a = 0;
        while (a < n) {
            size_t b = a + 1;
            size_t bytes = atoms[a].length;
            while (b < n && bytes + atoms[b].length <= kMaxAtomBytes) bytes += atoms[b++].length;
            // A given word that is a user word takes the user's tag.
            push(a, b, user_ != nullptr && a == 0 && b == n ? user_->Find(gb.data() + atoms[0].start, bytes) : nullptr);
            a = b;
        }
        if (shared_.precutSentenceEnds && IsSentenceEnd(gb.data() + atoms[n - 1].start, atoms[n - 1].length))
            CloseSentence();
        return;
    }
    ends_.clear();
    // The dictionary and the model know letters and digits in full width
    // (the corpus's form): a run with ASCII is cut in that form, atom for
    // atom, so that ＢＰ机 is found in BP机 as well.
    const char *cutText = gb.data();
    const Atom *cutAtoms = atoms;
    const uint32_t runStart = atoms[0].start, runEnd = atoms[n - 1].start + atoms[n - 1].length;
    ascii = false;
    for (uint32_t i = runStart; i < runEnd && !ascii; ++i) ascii = static_cast<unsigned char>(gb[i]) < 0x80;
    if (ascii) {
        wideText_.resize(2 * (runEnd - runStart));
        wideAtoms_.resize(n);
        uint32_t at = 0;
        for (size_t k = 0; k < n; ++k) {
            wideAtoms_[k] = atoms[k];
            wideAtoms_[k].start = at;
            size_t len = Widen(atoms[k].start, atoms[k].length, &wideText_[at]);
            wideAtoms_[k].length = static_cast<uint16_t>(len);
            at += static_cast<uint32_t>(len);
        }
        cutText = wideText_.data();
        cutAtoms = wideAtoms_.data();
    }
    if (shared_.segModel.Loaded())
        shared_.segModel.Cut(cutText, cutAtoms, n, shared_.lexicon, ends_, scratch_);
    else
        shared_.lexicon.Cut(cutText, cutAtoms, n, ends_, scratch_);
    JoinNumberWords(gb.data(), atoms, n, ends_);
    if (user_ != nullptr) ApplyUserWords(atoms, n);
    // The cutter's labels of the run, when the run's name characters are
    // to be kept track of.
    const uint8_t *labels =
        shared_.segModel.Loaded() && shared_.nameRuns != 0 ? scratch_.labels.data() : nullptr;
    // The cutter's dictionary marks, when the repeats of new words are to
    // be found: a word longer than the longest lexicon word starting where
    // it starts is none.
    const WordMarks *marks =
        shared_.segModel.Loaded() && shared_.repeatedWords > 0 ? scratch_.marks.data() : nullptr;
    size_t a = 0;
    for (size_t k = 0; k < ends_.size(); ++k) {
        uint32_t b = ends_[k];
        if (b <= a || b > n) continue;
        uint8_t name = 0;
        static_assert(kSegNameFirst + 2 == kSegLabels, "the name labels are the last two");
        if (labels != nullptr && labels[a] >= kSegNameFirst && b == a + 1 && atoms[a].kind == AtomKind::kHan)
            name = labels[a] == kSegNameFirst ? kNameFirst : kNameLater;
        const bool novel = marks != nullptr && b - a >= 2 && b - a <= 4 && marks[a].starts < b - a;
        push(a, b, user_ != nullptr ? userMarks_[k] : nullptr, name, novel);
        a = b;
    }
}

void Analysis::CloseSentence() {
    if (!sentenceOpen_) return;
    sentenceOpen_ = false;
    vsglex_sentence &s = sentences_.back();
    s.offset = base_ + work_.srcStart[open_.gbStart];
    s.length = base_ + work_.srcEnd[open_.gbEnd - 1] - s.offset;
    if (items_.size() >= kBatchItems) Flush();
}

void Analysis::AppendText(uint32_t gbStart, uint32_t gbEnd, uint64_t offset, uint32_t length) {
    // UTF-8 words are the caller's own bytes unless something inside them
    // was dropped or replaced.
    const char *orig = src_ + (offset - base_);
    const size_t at = texts_.size();
    const bool intact = invalid_.empty() || [&] {
        auto bad = std::lower_bound(invalid_.begin(), invalid_.end(), offset);
        return bad == invalid_.end() || *bad >= offset + length;
    }();
    if (charset_ == VSGLEX_CHARSET_UTF8 && intact && (!work_.nul || std::memchr(orig, '\0', length) == nullptr)) {
        texts_.Append(orig, length);
    } else {
        thread_local std::string utf8;
        utf8.clear();
        if (charset_ == VSGLEX_CHARSET_GB18030 && (flags_ & VSGLEX_T2S) != 0 && intact) {
            // Simplified for the analysis only: the word keeps the caller's characters.
            GbToUtf8(orig, length, utf8);
        } else {
            GbToUtf8(work_.gb.data() + gbStart, gbEnd - gbStart, utf8);
        }
        texts_.Append(utf8);
    }
    // Pre-cut words that the engine joined (a name handed one character a
    // word) are written without the spaces that separated them.
    if ((flags_ & VSGLEX_PRECUT) != 0) {
        char *t = texts_.data();
        const size_t size = texts_.size();
        size_t to = at;
        for (size_t from = at; from < size;) {
            const unsigned char c = static_cast<unsigned char>(t[from]);
            const size_t skip = c <= 0x20 || c == 0x7F ? 1
                                : from + 3 <= size && std::memcmp(t + from, "\xE3\x80\x80", 3) == 0
                                    ? 3  // ideographic space
                                    : 0;
            if (skip > 0) {
                from += skip;
                continue;
            }
            t[to++] = t[from++];
        }
        texts_.Truncate(to);
    }
    texts_.PushBack('\0');
}

void Analysis::EmitWord(size_t first, size_t last, int32_t tag, size_t split, int32_t headTag, const Span *parts,
                        size_t partCount) {
    const Item &a = items_[first];
    const Item &b = items_[last];
    vsglex_word w{};
    uint32_t gbStart = a.start, gbEnd = b.start + b.length;
    const char *gb = work_.gb.data() + gbStart;
    w.offset = base_ + work_.srcStart[gbStart];
    w.length = static_cast<uint32_t>(base_ + work_.srcEnd[gbEnd - 1] - w.offset);
    // Numbers, times and Latin strings keep the engine's tag only when it
    // fits what the string is.
    tag = shared_.stringTagger.Retag(ClassOfString(gb, gbEnd - gbStart), tag);
    w.tag = tag;
    w.name_class = NameClassOfTag(tag);
    w.merged = static_cast<int32_t>(last - first + 1);
    w.sentence = a.sentence;
    w.tag_name = TagName(tag);
    size_t wordText = texts_.size();
    w.text = TextAt(wordText);
    AppendText(gbStart, gbEnd, w.offset, w.length);

    // The word's pieces in corpus granularity: only person and organisation
    // names have more than one.
    pieces_.clear();
    if (partCount > 1) {
        // A known compound: the corpus writes its words with their tags.
        for (size_t k = 0; k < partCount; ++k)
            pieces_.push_back(Piece{items_[parts[k].first].start - gbStart,
                                    items_[parts[k].last].start + items_[parts[k].last].length - gbStart,
                                    parts[k].tag});
    } else if (split > first && split <= last) {
        // A place compound: the corpus writes the head and the closing word.
        const uint32_t cut = items_[split].start - gbStart;
        pieces_.push_back(Piece{0, cut, headTag});
        pieces_.push_back(Piece{cut, gbEnd - gbStart, shared_.pieceTags.Of(gb + cut, gbEnd - gbStart - cut, 2)});
    } else if (tag == kPersonTag || IsOrgTag(tag)) {
        // Pre-cut words with white space between them (a name handed one
        // character a word): the pieces of their text without it, placed
        // back on the words' bytes below.
        const bool spaced = (flags_ & VSGLEX_PRECUT) != 0 && last > first;
        if (spaced) ItemChars(first, last, compact_);
        const char *pieceText = spaced ? compact_.data() : gb;
        const size_t pieceLength = spaced ? compact_.size() : gbEnd - gbStart;
        pieceCuts_.clear();
        pieceRuns_.clear();
        const bool joinRuns = shared_.orgNameRuns && IsOrgTag(tag);
        uint32_t compactEnd = 0;
        for (size_t q = first; q <= last; ++q) {
            compactEnd += items_[q].length;
            // Inside an organisation name, the characters the cutter took
            // for one name (first character, then later ones) are one piece:
            // the place the engine found there (玉溪 of 玉溪卷烟厂).
            if (joinRuns && q < last && items_[q].name != 0 && items_[q + 1].name == kNameLater) continue;
            const bool run = joinRuns && q > first && items_[q].name == kNameLater && items_[q - 1].name != 0;
            pieceCuts_.push_back(spaced ? compactEnd : items_[q].start + items_[q].length - gbStart);
            pieceRuns_.push_back(run);
        }
        const size_t from = pieces_.size();
        CorpusPieces(pieceText, pieceLength, tag, pieceCuts_, pieceRuns_, shared_.pieceTags, shared_.personWords,
                     pieces_);
        auto place = [&](uint32_t at, bool end) {  // compact offset -> offset in the word's bytes
            size_t q = first, before = 0;
            while (q < last && before + items_[q].length < at + (end ? 0u : 1u)) before += items_[q++].length;
            return static_cast<uint32_t>(items_[q].start + (at - before) - gbStart);
        };
        for (size_t k = from; spaced && k < pieces_.size(); ++k) {
            pieces_[k].start = place(pieces_[k].start, false);
            pieces_[k].end = place(pieces_[k].end, true);
        }
    } else {
        pieces_.push_back(Piece{0, gbEnd - gbStart, tag});
    }
    w.part_first = static_cast<uint32_t>(parts_.size());
    w.part_count = static_cast<uint32_t>(pieces_.size());
    for (const Piece &piece : pieces_) {
        vsglex_part part{};
        uint32_t ps = gbStart + piece.start, pe = gbStart + piece.end;
        part.offset = base_ + work_.srcStart[ps];
        part.length = static_cast<uint32_t>(base_ + work_.srcEnd[pe - 1] - part.offset);
        // A piece of a name keeps its dictionary tag only when it fits its
        // string (a number inside an organisation name is a numeral).
        part.tag = pieces_.size() == 1 ? piece.tag
                                       : shared_.stringTagger.Retag(ClassOfString(work_.gb.data() + ps, pe - ps),
                                                                    piece.tag);
        part.tag_name = TagName(part.tag);
        if (pieces_.size() == 1) {
            part.text = TextAt(wordText);
        } else {
            part.text = TextAt(texts_.size());
            AppendText(ps, pe, part.offset, part.length);
        }
        parts_.push_back(part);
    }

    vsglex_sentence &s = sentences_[a.sentence];
    if (s.word_count == 0) s.first_word = static_cast<uint32_t>(words_.size());
    ++s.word_count;
    words_.push_back(w);
}

void Analysis::Flush() {
    if (items_.empty()) return;
    const std::string &gb = work_.gb;
    size_t n = items_.size();
    // The engine's models are trained on full-width text: it is given the
    // full-width form of ASCII letters, digits and marks (when that fits a
    // word of at most kMaxAtomBytes), as views into `given`. The buffers
    // are kept per thread: the engine is called many times.
    thread_local std::string given;
    thread_local std::vector<uint32_t> givenAt;
    thread_local std::vector<vsg::engine::WordView> views;
    thread_local vsg::engine::Tagging tagged;
    givenAt.resize(n + 1);
    views.resize(n);
    // Widening at most doubles a word; a stand-in may be longer.
    size_t bound = 0;
    for (size_t k = 0; k < n; ++k) bound += std::max(2 * size_t{items_[k].length}, shared_.standIns.MaxLength());
    if (given.size() < bound) given.resize(bound);
    size_t at = 0;
    for (size_t k = 0; k < n; ++k) {
        givenAt[k] = static_cast<uint32_t>(at);
        const char *word = gb.data() + items_[k].start;
        size_t len = items_[k].length;
        if (!items_[k].ascii) {
            std::memcpy(&given[at], word, len);  // what Widen gives a word without ASCII
        } else {
            len = Widen(items_[k].start, items_[k].length, &given[at]);
            if (len > kMaxAtomBytes) {
                len = items_[k].length;
                std::memcpy(&given[at], word, len);
            }
        }
        // A number or time word the dictionary lacks reaches the engine as
        // the known word of its form (a user's word as it is).
        const StringClass cls = ClassOfString(&given[at], len);
        if ((cls == StringClass::kNumber || cls == StringClass::kTime) && items_[k].user == nullptr &&
            !items_[k].continues && !KnownWord(shared_, &given[at], len)) {
            const std::string_view standIn = shared_.standIns.For(&given[at], len, cls);
            if (!standIn.empty()) {
                std::memcpy(&given[at], standIn.data(), standIn.size());
                len = standIn.size();
            }
        }
        at += len;
    }
    givenAt[n] = static_cast<uint32_t>(at);
    for (size_t k = 0; k < n; ++k)
        views[k] = vsg::engine::WordView{given.data() + givenAt[k], givenAt[k + 1] - givenAt[k], items_[k].sentence};
    if (shared_.engine->Tag(views.data(), n, 0, tagged) == -2) throw std::bad_alloc();

    // A word whose text is the given text of the items it covers, starting
    // at the first item not yet placed, is placed directly. Otherwise (a
    // quirk of the recognisers wrote a name apart from its words, or an
    // earlier word could not be placed) it is searched for as before: the
    // first run of consecutive items of one sentence, from the first not
    // yet placed, whose given texts join to exactly the word's text.
    auto match = [&](size_t p, const char *text, size_t len, size_t *last) {
        size_t acc = 0;
        for (size_t q = p; q < n && items_[q].sentence == items_[p].sentence; ++q) {
            size_t l = givenAt[q + 1] - givenAt[q];
            if (acc + l > len || std::memcmp(text + acc, given.data() + givenAt[q], l) != 0) return false;
            acc += l;
            if (acc == len) {
                *last = q;
                return true;
            }
        }
        return false;
    };
    fixedItems_ = false;
    for (size_t k = 0; k < n && !fixedItems_; ++k) fixedItems_ = items_[k].user != nullptr || items_[k].continues;
    // Words as spans of items; a piece of an over-long run joins the word
    // before it again.
    thread_local std::vector<Span> spans;
    spans.clear();
    spans.reserve(n);
    auto add = [&](size_t first, size_t last, int32_t tag) {
        if (items_[first].continues && !spans.empty() && spans.back().last + 1 == first &&
            items_[first].sentence == items_[spans.back().first].sentence)
            spans.back().last = last;
        else
            spans.push_back(Span{first, last, tag});
    };
    size_t cursor = 0;
    for (const vsg::engine::TaggedWord &w : tagged.words) {
        // Tags as the server interface gives them: 255 for none.
        const int32_t tag = static_cast<uint8_t>(w.tag);
        if (w.textAt < 0 && w.first == cursor) {
            add(w.first, w.first + w.count - 1, tag);
            cursor = w.first + w.count;
            continue;
        }
        const char *text = w.textAt >= 0 ? tagged.texts.data() + w.textAt : given.data() + givenAt[w.first];
        const size_t len = w.textAt >= 0 ? w.textLength : givenAt[w.first + w.count] - givenAt[w.first];
        if (len == 0) continue;
        size_t last = 0;
        size_t p = cursor;
        bool found = false;
        for (; p < n && p < cursor + VSG_SPAN_WORDS; ++p) {
            if (match(p, text, len, &last)) {
                found = true;
                break;
            }
        }
        if (!found) continue;
        // Input words the engine did not hand back keep no tag.
        for (size_t q = cursor; q < p; ++q) add(q, q, -1);
        add(p, last, tag);
        cursor = last + 1;
    }
    for (size_t q = cursor; q < n; ++q) add(q, q, -1);
    // The steps after the engine (steps_names.cpp, steps_nameruns.cpp,
    // steps_places.cpp, steps_words.cpp; the place compounds below).
    SplitNamesOverMarks(spans);
    EndNamesBeforeParticles(spans);
    RepeatNames(spans);
    NameAfterTitles(spans);
    JoinNameRuns(spans);
    RetagPlaces(spans);
    JoinKnownCompounds(spans);
    JoinPlaceCompounds(spans);
    JoinRepeatedWords(spans);
    RepeatPlaces(spans);
    RetagUnknownWords(spans);
    for (const Span &span : spans) EmitEngineWord(span);
    items_.clear();
}

// A place followed by a word that closes bracketed places in the corpus
// (中亚 地区, 开曼 群岛, 香港 特别行政区) is one place: the recognisers
// join only one-character words, so the engine cannot. A transliterated
// person name before such a word (帕米尔 高原, 巴尔干 半岛) is a place the
// person recogniser took: it becomes a transliterated place.
namespace {

// Pronouns that name a unit together with 县 or 州 (该州 "that state",
// 本县 "this county", 各县, 某县, 我县 "our county"): no place name of the
// corpus starts with one.
constexpr char kUnitPronouns[] =
    "\xb8\xc3\xb1\xbe\xb4\xcb\xd5\xe2\xc4\xc7\xb8\xf7\xc3\xbf\xc4\xb3\xc6\xe4\xce\xd2";  // 该本此这那各每某其我
constexpr GbCharSet kUnitPronounSet{kUnitPronouns};

}  // namespace

// Compiled into Flush, its one caller: called, it took 0.8% more of the
// instructions of an analysis (it reads the spans and items through
// memory instead of registers).
inline __attribute__((always_inline)) void Analysis::JoinPlaceCompounds(std::vector<Span> &spans) {
    if (shared_.placeCompounds == 0 || spans.size() < 2) return;
    const std::string &gb = work_.gb;
    auto untouched = [&](const Span &s) { return !HoldsFixedItem(s) && s.split == 0 && s.partCount == 0; };
    size_t out = 0;
    for (size_t i = 0; i < spans.size(); ++i) {
        Span &s = spans[i];  // retagged in place; moved down when words before were joined
        // A place word or a word the dictionary lacks, of two or three
        // characters, and a one-character place suffix after it, are one
        // place the corpus writes whole (板桥村, 毛家湾): the place
        // recogniser joins single characters, not whole words.
        if (shared_.placeSuffixes && i + 1 < spans.size() && s.first == s.last &&
            (!IsNameTag(s.tag) || IsPlaceTag(s.tag)) && untouched(s)) {
            const Span &next = spans[i + 1];
            const Item &a = items_[s.first];
            const Item &b = items_[next.first];
            if (next.first == next.last && a.sentence == b.sentence && b.start == a.start + a.length &&
                untouched(next) && StemSuffix(gb.data() + b.start, b.length) &&
                ShortChineseWord(gb.data() + a.start, a.length) &&
                (IsPlaceTag(s.tag) || CoreWordCount(&shared_.engine->models(), gb.data() + a.start, a.length) == 0.0)) {
                spans[out++] = Span{s.first, next.last, kPlaceTag};
                ++i;
                continue;
            }
        }
        // A word of two characters that the dictionary lacks and that ends
        // in 县 or 州 (嵊州, 沧州) is a place as a whole: the
        // cutter kept it whole, so the place recogniser never saw its
        // characters. After a pronoun (该州, 本县) it names the unit, not
        // a place.
        if (shared_.suffixedWords && s.first == s.last && !IsNameTag(s.tag) && untouched(s)) {
            const Item &a = items_[s.first];
            const char *w = gb.data() + a.start;
            if (a.length == 4 && IsGb2312ChineseText(w, a.length) && kPairUnitSuffixSet.Has(w + 2) &&
                !KnownWord(shared_, w, a.length) && !(shared_.pronounUnits && kUnitPronounSet.Has(w))) {
                s.tag = kPlaceTag;
            }
        }
        const bool head = IsPlaceTag(s.tag) || (shared_.placeCompounds >= 2 && s.tag == kForeignPersonTag);
        if (head && i + 1 < spans.size() && untouched(s)) {
            const Span &next = spans[i + 1];
            const Item &a = items_[s.last];
            const Item &b = items_[next.first];
            const size_t bytes = items_[next.last].start + items_[next.last].length - b.start;
            if (next.first == next.last && a.sentence == b.sentence && b.start == a.start + a.length &&
                !IsNameTag(next.tag) && untouched(next) && shared_.placeEnds.Has(gb.data() + b.start, bytes)) {
                const int32_t headTag = IsPlaceTag(s.tag) ? s.tag : kForeignPlaceTag;
                spans[out++] = Span{s.first, next.last, kPlaceTag, next.first, headTag};
                ++i;
                continue;
            }
        }
        if (out != i) spans[out] = s;
        ++out;
    }
    spans.resize(out);
}

void Analysis::ApplyUserWords(const Atom *atoms, size_t n) {
    const SegmentEngine *engine = &shared_.engine->models();
    user_->Apply(work_.gb.data(), atoms, n, ends_, userMarks_,
                 [engine](const char *w, size_t len) { return CoreWordCount(engine, w, len); });
}

// A user word stays one word with the user's tag: an engine word that
// joins it with its neighbours (a name recogniser's merge) is taken apart
// again, its other pieces tagged by the core dictionary.
// Inline: see Window.
inline void Analysis::EmitEngineWord(const Span &span) {
    const size_t first = span.first, last = span.last;
    const int32_t tag = span.tag;
    bool user = false;
    for (size_t q = first; q <= last && !user; ++q) user = items_[q].user != nullptr;
    if (!user) {
        EmitWord(first, last, tag, span.split, span.headTag,
                 span.partCount > 0 ? compoundParts_.data() + span.partsAt : nullptr, span.partCount);
        return;
    }
    for (size_t q = first; q <= last; ++q) {
        const Item &it = items_[q];
        int32_t t;
        if (it.user != nullptr && it.user->tag != kUserNoTag) t = it.user->tag;
        else if (first == last) t = tag;
        else t = CoreWordTag(&shared_.engine->models(), work_.gb.data() + it.start, it.length);
        EmitWord(q, q, t);
    }
}

// Inline: see Window.
inline vsglex_result *Analysis::Finish() {
    // One block for the record, the arrays and the texts, released by free().
    size_t wordBytes = words_.size() * sizeof(vsglex_word);
    size_t sentenceBytes = sentences_.size() * sizeof(vsglex_sentence);
    size_t invalidBytes = invalid_.size() * sizeof(uint64_t);
    size_t partBytes = parts_.size() * sizeof(vsglex_part);
    size_t total = sizeof(vsglex_result) + wordBytes + sentenceBytes + invalidBytes + partBytes + texts_.size() + 1;
    auto *block = static_cast<char *>(std::malloc(total));
    if (block == nullptr) throw std::bad_alloc();
    auto *r = reinterpret_cast<vsglex_result *>(block);
    char *p = block + sizeof(vsglex_result);
    r->word_count = words_.size();
    r->words = words_.empty() ? nullptr : reinterpret_cast<vsglex_word *>(p);
    p += wordBytes;
    r->sentence_count = sentences_.size();
    r->sentences = sentences_.empty() ? nullptr : reinterpret_cast<vsglex_sentence *>(p);
    p += sentenceBytes;
    r->invalid_count = invalid_.size();
    r->invalid_offsets = invalid_.empty() ? nullptr : reinterpret_cast<uint64_t *>(p);
    p += invalidBytes;
    r->part_count = parts_.size();
    r->parts = parts_.empty() ? nullptr : reinterpret_cast<vsglex_part *>(p);
    p += partBytes;
    if (texts_.size() > 0) std::memcpy(p, texts_.data(), texts_.size());
    p[texts_.size()] = '\0';
    r->charset = charset_;
    vsglex_word *word = r->words;
    words_.ForEach([&](const vsglex_word &w) {
        *word = w;
        (word++)->text = p + reinterpret_cast<uintptr_t>(w.text);
    });
    vsglex_sentence *sentence = r->sentences;
    sentences_.ForEach([&](const vsglex_sentence &s) { *sentence++ = s; });
    vsglex_part *part = r->parts;
    parts_.ForEach([&](const vsglex_part &pt) {
        *part = pt;
        (part++)->text = p + reinterpret_cast<uintptr_t>(pt.text);
    });
    if (!invalid_.empty()) std::memcpy(r->invalid_offsets, invalid_.data(), invalidBytes);
    return r;
}

int32_t NameClassOfTag(int32_t tag) {
    if (IsPersonTag(tag)) return VSGLEX_NAME_PERSON;
    if (IsPlaceTag(tag)) return VSGLEX_NAME_PLACE;
    if (IsOrgTag(tag)) return VSGLEX_NAME_ORG;
    return VSGLEX_NAME_NONE;
}

void SetLastError(const std::string &message) { SetError(message); }

}  // namespace vsg::front

using namespace vsg::front;

struct vsglex_handle {
    std::shared_ptr<const Shared> shared;
    UserWords user;
};

namespace vsg::front {
UserWords &HandleUserWords(vsglex_handle *handle) { return handle->user; }

int32_t TagOfText(const vsglex_handle *handle, std::string_view text) {
    const std::vector<std::string> &names = handle->shared->tagNames;
    for (size_t k = 0; k < names.size(); ++k)
        if (names[k] == text) return static_cast<int32_t>(k);
    return -1;
}
}  // namespace vsg::front

namespace {

// A measurement switch: the environment variable `name`, when set and not
// empty, overrides one setting of a loaded set (for a flag, 0 is off). The
// switches let the evaluation scripts measure each step of the front end
// without a second build; docs/front.md names them with the steps.
template <class T>
void ReadSwitch(const char *name, T &value) {
    const char *v = std::getenv(name);
    if (v == nullptr || *v == '\0') return;
    if constexpr (std::is_same_v<T, bool>)
        value = std::atoi(v) != 0;
    else if constexpr (std::is_floating_point_v<T>)
        value = std::atof(v);
    else
        value = static_cast<T>(std::atoi(v));
}

// Checks and loads the model set of `dir` (canonical path; messages name it
// as `shown`), or returns null with the error set.
std::shared_ptr<Shared> LoadSet(const std::string &dir, const std::string &shown) {
    // Damaged, missing or mismatched files are refused here, before the
    // loaders (which accept some damaged files without a word).
    vsg::model::SetCheck check = vsg::model::CheckModelSet(dir.c_str());
    if (!check.ok()) {
        SetError("model set " + shown + ": " + check.Summary());
        return nullptr;
    }
    int32_t status = 0;
    vsg::model::LoadFault fault = vsg::model::LoadFault::kNone;
    std::unique_ptr<vsg::engine::Engine> engine = vsg::engine::Engine::Load(dir.c_str(), &status, &fault);
    if (engine == nullptr) {
        SetError("model set " + shown + ": " + vsg::model::DescribeLoadFailure(dir.c_str(), status, fault));
        return nullptr;
    }
    auto set = std::make_shared<Shared>();
    set->warning = check.warning;
    LexiconOptions options;
    // Measurement switch: the shortest person word the cutter keeps.
    ReadSwitch("VSGLEX_PERSON_WORD_CHARS", options.minPersonWordChars);
    if (!set->lexicon.Build(engine->models().core, options)) {
        SetError("the core dictionary in " + shown + " holds no words");
        return nullptr;
    }
    // The trained cutter, when the model set has one.
    std::string cutterError;
    if (!LoadCutterModel(dir, set->segModel, &cutterError)) {
        SetError("model set " + shown + ": cannot load " + cutterError);
        return nullptr;
    }
    // The person words the corpus view keeps whole, when the set has them.
    if (!LoadPersonWords(dir, set->personWords, &cutterError)) {
        SetError("model set " + shown + ": cannot load " + cutterError);
        return nullptr;
    }
    const POSmap &map = engine->models().tagModels[VSG_TAG_POS].map;
    char tag[256];
    for (int32_t k = 0; k < map.count && k < 255; ++k) {
        tag[0] = '\0';
        POSmap_GetPOS(k, tag, &map);
        // Classes of single frequent words are written "n#13": the user sees
        // their tag, "n".
        char *hash = std::strchr(tag, '#');
        if (hash != nullptr && hash != tag) *hash = '\0';
        set->tagNames.emplace_back(tag);
    }
    set->stringTagger.Resolve(set->tagNames);
    for (size_t k = 0; k < set->tagNames.size(); ++k) {
        if (set->tagNames[k] == "n") set->nounTag = static_cast<int32_t>(k);
        if (set->tagNames[k] == "w") set->markTag = static_cast<int32_t>(k);
    }
    set->pieceTags = PieceTags(&engine->models());
    set->placeEnds.Build(engine->models().core);
    set->neighbours.Build(engine->models().core);
    bool standIns = true;
    ReadSwitch("VSGLEX_NUMBER_STAND_INS", standIns);
    if (standIns) set->standIns.Build(engine->models().core);
    ReadSwitch("VSGLEX_PLACE_EVIDENCE", set->placeEvidenceMin);
    ReadSwitch("VSGLEX_KNOWN_PLACES", set->knownPlaces);
    ReadSwitch("VSGLEX_KNOWN_COMPOUNDS", set->knownCompounds);
    ReadSwitch("VSGLEX_TITLED_NAMES", set->titledNames);
    ReadSwitch("VSGLEX_PARTICLE_ENDS", set->particleEnds);
    ReadSwitch("VSGLEX_SUFFIXED_WORDS", set->suffixedWords);
    ReadSwitch("VSGLEX_PLACE_RUNS", set->placeRuns);
    ReadSwitch("VSGLEX_PRONOUN_UNITS", set->pronounUnits);
    ReadSwitch("VSGLEX_PLACE_SUFFIXES", set->placeSuffixes);
    ReadSwitch("VSGLEX_REPEAT_PLACES", set->repeatPlaces);
    ReadSwitch("VSGLEX_PRECUT_SENTENCE_ENDS", set->precutSentenceEnds);
    ReadSwitch("VSGLEX_NAME_RUNS", set->nameRuns);
    ReadSwitch("VSGLEX_REPEAT_WHOLE_NAMES", set->repeatWholeNames);
    ReadSwitch("VSGLEX_REPEATED_WORDS", set->repeatedWords);
    ReadSwitch("VSGLEX_NAME_RUN_MIN", set->nameRunMin);
    ReadSwitch("VSGLEX_NAME_RUN_MAX", set->nameRunMax);
    ReadSwitch("VSGLEX_ORG_NAME_RUNS", set->orgNameRuns);
    ReadSwitch("VSGLEX_PLACE_COMPOUNDS", set->placeCompounds);
    ReadSwitch("VSGLEX_UNKNOWN_TAGS", set->retagUnknown);
    UnknownTagOptions unknownOptions;
    ReadSwitch("VSGLEX_UNKNOWN_NUMBERS", unknownOptions.numbers);
    ReadSwitch("VSGLEX_UNKNOWN_BACKOFF", unknownOptions.backoff);
    if (set->retagUnknown) set->unknownTags.Build(engine->models(), set->tagNames, unknownOptions);
    ReadSwitch("VSGLEX_UNKNOWN_MARGIN", set->unknownMargin);
    set->engine = std::move(engine);
    return set;
}

}  // namespace

extern "C" {

VSGLEX_API vsglex_handle *vsglex_open(const char *data_dir) {
    try {
        if (data_dir == nullptr || *data_dir == '\0') {
            SetError("no model directory given");
            return nullptr;
        }
        if (std::strlen(data_dir) > 900) {
            SetError("model directory path too long");
            return nullptr;
        }
        struct stat st;
        char canonical[PATH_MAX];
        if (stat(data_dir, &st) != 0 || !S_ISDIR(st.st_mode) || realpath(data_dir, canonical) == nullptr) {
            SetError(std::string("model directory not found: ") + data_dir);
            return nullptr;
        }
        Registry &registry = OpenSets();
        std::lock_guard<std::mutex> lock(registry.mutex);
        std::weak_ptr<Shared> &slot = registry.sets[canonical];
        std::shared_ptr<Shared> set = slot.lock();
        if (set == nullptr) {
            set = LoadSet(canonical, data_dir);
            if (set == nullptr) {
                registry.sets.erase(canonical);
                return nullptr;
            }
            slot = set;
        }
        auto *h = new (std::nothrow) vsglex_handle{std::move(set), {}};
        if (h == nullptr) SetError("out of memory");
        return h;
    } catch (...) {
        SetError("out of memory");
        return nullptr;
    }
}

VSGLEX_API void vsglex_close(vsglex_handle *handle) {
    if (handle == nullptr) return;
    Registry &registry = OpenSets();
    std::lock_guard<std::mutex> lock(registry.mutex);
    delete handle;  // frees the model set with its last handle
    for (auto it = registry.sets.begin(); it != registry.sets.end();)
        it = it->second.expired() ? registry.sets.erase(it) : std::next(it);
}

VSGLEX_API int32_t vsglex_analyze(const vsglex_handle *handle, const char *text, size_t length, int32_t charset,
                                  uint32_t flags, vsglex_result **result) {
    if (result != nullptr) *result = nullptr;
    if (handle == nullptr || result == nullptr || (text == nullptr && length > 0) || charset < 0 || charset > 3 ||
        (flags & ~static_cast<uint32_t>(VSGLEX_PRECUT | VSGLEX_T2S)) != 0) {
        SetError("invalid argument");
        return VSGLEX_ERR_ARGUMENT;
    }
    if (length >= 0xFFFFFFFFu) {
        SetError("text too large (4 GiB or more)");
        return VSGLEX_ERR_TOO_LARGE;
    }
    try {
        if (charset == VSGLEX_CHARSET_AUTO) {
            CharsetGuess guess = GuessCharset(text != nullptr ? text : "", length);
            if (guess.utf16) {
                SetError("the text looks like UTF-16, which is not read: convert it to UTF-8");
                return VSGLEX_ERR_CHARSET;
            }
            charset = guess.charset;
        }
        std::shared_ptr<const UserDict> user = handle->user.Snapshot();
        Analysis analysis(*handle->shared, flags, user.get());
        analysis.Run(text != nullptr ? text : "", length, charset);
        *result = analysis.Finish();
        return VSGLEX_OK;
    } catch (...) {
        SetError("out of memory");
        return VSGLEX_ERR_MEMORY;
    }
}

VSGLEX_API int32_t vsglex_guess_charset(const char *text, size_t length, uint32_t *hints) {
    if (hints != nullptr) *hints = 0;
    if (text == nullptr) return VSGLEX_CHARSET_UTF8;
    try {
        CharsetGuess guess = GuessCharset(text, length);
        if (hints != nullptr)
            *hints = (guess.traditional ? uint32_t{VSGLEX_GUESS_TRADITIONAL} : 0u) |
                     (guess.utf16 ? uint32_t{VSGLEX_GUESS_UTF16} : 0u);
        return guess.charset;
    } catch (...) {
        return VSGLEX_CHARSET_UTF8;
    }
}

VSGLEX_API size_t vsglex_cut_point(const char *text, size_t length, int32_t charset) {
    if (text == nullptr || charset < VSGLEX_CHARSET_GB18030 || charset > VSGLEX_CHARSET_UTF8) return 0;
    return CutPoint(text, 0, length, length, charset);
}

VSGLEX_API size_t vsglex_block_end(const char *text, size_t length, int32_t charset, uint32_t flags, size_t chars) {
    if (text == nullptr || charset < VSGLEX_CHARSET_GB18030 || charset > VSGLEX_CHARSET_UTF8) return 0;
    return BlockEnd(text, length, charset, (flags & VSGLEX_PRECUT) != 0, chars);
}

VSGLEX_API void vsglex_result_free(vsglex_result *result) { std::free(result); }

VSGLEX_API const char *vsglex_tag_name(const vsglex_handle *handle, int32_t tag) {
    if (handle == nullptr || tag < 0 || static_cast<size_t>(tag) >= handle->shared->tagNames.size()) return "";
    return handle->shared->tagNames[static_cast<size_t>(tag)].c_str();
}

VSGLEX_API const char *vsglex_name_class_name(int32_t name_class) {
    switch (name_class) {
    case VSGLEX_NAME_PERSON: return "person";
    case VSGLEX_NAME_PLACE: return "place";
    case VSGLEX_NAME_ORG: return "organization";
    default: return "";
    }
}

VSGLEX_API const char *vsglex_last_error(void) { return t_lastError.c_str(); }

VSGLEX_API const char *vsglex_model_warning(const vsglex_handle *handle) {
    if (handle == nullptr) return "";
    return handle->shared->warning.c_str();
}

}  // extern "C"

const vsg::front::Lexicon *vsg::front::LexiconOf(const vsglex_handle *handle) {
    return handle != nullptr ? &handle->shared->lexicon : nullptr;
}

namespace {

// Path of the optional model file `name` in `dir`; empty when the set has
// none (an older model set).
std::string OptionalFile(const std::string &dir, const char *name) {
    std::string path = dir;
    if (!path.empty() && path.back() != '/') path += '/';
    path += name;
    struct stat st;
    if (stat(path.c_str(), &st) != 0 && errno == ENOENT) return std::string();
    return path;
}

}  // namespace

bool vsg::front::LoadPersonWords(const std::string &dir, PersonWords &words, std::string *error) {
    words = PersonWords();
    // Measurement switch: VSGLEX_PERSON_WORDS=0 cuts every person name.
    const char *use = std::getenv("VSGLEX_PERSON_WORDS");
    if (use != nullptr && *use != '\0' && std::atoi(use) == 0) return true;
    const std::string path = OptionalFile(dir, kPersonWordsFile);
    return path.empty() || words.Load(path, error);
}

const vsg::front::SegModel *vsg::front::SegModelOf(const vsglex_handle *handle) {
    return handle != nullptr && handle->shared->segModel.Loaded() ? &handle->shared->segModel : nullptr;
}

bool vsg::front::LoadCutterModel(const std::string &dir, SegModel &model, std::string *error) {
    model = SegModel();
    const char *cutter = std::getenv("VSGLEX_CUTTER");
    if (cutter != nullptr && std::strcmp(cutter, "dict") == 0) return true;
    const std::string path = OptionalFile(dir, kSegModelFile);
    return path.empty() || model.Load(path, error);
}

