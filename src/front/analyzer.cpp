// The raw-text interface: conversion, sentence splitting, word cutting, the
// engine's name recognition and tagging, and the mapping of every word back
// to the caller's bytes.
#include <sys/stat.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <new>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "common/gbtext.h"
#include "common/sentences.h"
#include "common/tagset.h"
#include "engine/instance.h"
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

// One loaded model set: its own engine instance, the cutter built from its
// dictionary and its tag names. Handles on the same directory share one set;
// it is freed with the last handle that uses it.
struct Shared {
    std::unique_ptr<vsg::engine::Engine> engine;
    Lexicon lexicon;
    SegModel segModel;  // the trained cutter; not loaded: the dictionary cutter cuts
    std::vector<std::string> tagNames;
    std::string warning;  // about the loaded set (no manifest), or empty
    StringTagger stringTagger;  // tags of numbers, times and Latin strings
    PieceTags pieceTags;        // tags of the pieces of organisation names
    PlaceCompoundEnds placeEnds;  // words that close a place name after it (地区, 群岛)
    NameNeighbours neighbours;    // words next to places and transliterated persons
    double placeEvidenceMin = 2.0;  // VSGLEX_PLACE_EVIDENCE (measurement switch; a large value: off)
    bool knownPlaces = true;        // VSGLEX_KNOWN_PLACES=0 (measurement switch): off
    bool knownCompounds = true;     // VSGLEX_KNOWN_COMPOUNDS=0 (measurement switch): off
    // Heads of place compounds: 0 none, 1 places, 2 places and
    // transliterated person names (measurement switch VSGLEX_PLACE_COMPOUNDS).
    int placeCompounds = 2;
    int32_t nounTag = -1, markTag = -1;  // tags "n" and "w" of the tag map, or -1
    bool placeSuffixes = true;  // VSGLEX_PLACE_SUFFIXES=0 (measurement switch): off
    bool titledNames = true;    // VSGLEX_TITLED_NAMES=0 (measurement switch): off
    bool particleEnds = true;    // VSGLEX_PARTICLE_ENDS=0 (measurement switch): off
    bool suffixedWords = true;   // VSGLEX_SUFFIXED_WORDS=0 (measurement switch): off
    bool repeatPlaces = true;   // VSGLEX_REPEAT_PLACES=0 (measurement switch): off
    int nameRuns = 1;           // VSGLEX_NAME_RUNS=0 (measurement switch): off
    bool repeatWholeNames = true;  // VSGLEX_REPEAT_WHOLE_NAMES=0 (measurement switch): off
    int repeatedWords = 1;      // VSGLEX_REPEATED_WORDS: whole mentions a join needs (0: off; measurement switch)
    size_t nameRunMax = 8;      // VSGLEX_NAME_RUN_MAX: longest run joined, in characters (measurement switch)
    double nameRunMin = 8.0;    // VSGLEX_NAME_RUN_MIN: log gain over plain characters a person run needs
    UnknownTags unknownTags;    // tags of words the dictionary lacks, from their characters
    bool retagUnknown = true;   // VSGLEX_UNKNOWN_TAGS=0 (measurement switch): off
    double unknownMargin = UnknownTags::kDefaultMargin;  // VSGLEX_UNKNOWN_MARGIN (measurement switch)
};

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
// Known place compounds are runs of at most this many engine words (the
// trainer counts bracketed places of up to four corpus words).
constexpr size_t kMaxCompoundWords = 4;
// Words of one engine chunk: the engine tags a sentence in pieces of this
// many words, so a long sentence may be split between calls at multiples of
// it without changing the result.
constexpr size_t kEngineChunk = 150;
// Stretch of the caller's text converted at once (cut at a line end, or
// in a line longer than twice this at a sentence end or character
// boundary), so that the work text stays small whatever the text's shape.
constexpr size_t kWindowBytes = 256 * 1024;

// End of the stretch of text[0..length) converted at once from `pos`.
size_t WindowEnd(const char *text, size_t pos, size_t length, int charset) {
    if (length - pos <= kWindowBytes) return length;
    size_t far = std::min(length, pos + 2 * kWindowBytes);
    const void *nl = std::memchr(text + pos + kWindowBytes, '\n', far - pos - kWindowBytes);
    if (nl != nullptr) return static_cast<size_t>(static_cast<const char *>(nl) - text) + 1;
    if (far == length) return length;
    size_t cut = CutPoint(text, pos, far, length, charset);
    return cut > pos ? cut : far;
}

// One cut word handed to the engine.
struct Item {
    uint32_t start;    // in the work text
    uint16_t length;
    bool continues;    // a piece of the previous item's run (an over-long address or number)
    uint8_t name = 0;  // the cutter took it for a name's character: kNameFirst or kNameLater
    bool novel = false;  // two to four atoms, longer than every lexicon word starting at its first
    uint32_t sentence; // index in the result
    const UserDict::Entry *user = nullptr;  // the user word this is, if any
};

// Name marks of an item: the cutter labelled its one character as the
// first or a later character of a name it hands to the engine in characters.
constexpr uint8_t kNameFirst = 1, kNameLater = 2;

// A sentence under construction.
struct SentenceSpan {
    uint32_t gbStart;
    uint32_t gbEnd;
};

// Full-width or ASCII end marks that close a sentence of pre-cut text.
bool IsSentenceEnd(const char *p, size_t len) {
    if (len == 1) return *p == '!' || *p == '?' || *p == ';';
    if (len != 2) return false;
    auto a = static_cast<unsigned char>(p[0]), b = static_cast<unsigned char>(p[1]);
    return (a == 0xA1 && b == 0xA3) || (a == 0xA3 && (b == 0xA1 || b == 0xBB || b == 0xBF));
}

// The state of one analysis.
class Analysis {
public:
    Analysis(const Shared &shared, uint32_t flags, const UserDict *user)
        : shared_(shared), flags_(flags), user_(user) {}

    // Analyses the whole text; false only on exhaustion of memory (thrown).
    void Run(const char *text, size_t length, int charset);
    vsglex_result *Finish();

private:
    void Window(const char *src, size_t n, uint64_t base, int charset);
    void Line(size_t begin, size_t end);
    // WidenAscii of the work text's bytes [at, at + length), with a lone
    // ASCII double quote in the corpus's form: an opening quote at the odd
    // and a closing quote at the even count of its line.
    size_t Widen(size_t at, size_t length, char *out) const;
    void AddRun(const Atom *atoms, size_t n);
    void CloseSentence();
    void Flush();
    struct Span {  // an engine word as a run of items
        size_t first, last;
        int32_t tag;
        size_t split = 0;     // place compounds: first item of the closing word
        int32_t headTag = 0;  // and the tag of the head
        bool run = false;     // a name run of the cutter's joined after the engine (JoinNameRuns)
        size_t partsAt = 0, partCount = 0;  // known compounds: their words in compoundParts_
    };
    // `split`: a place compound's closing word begins at this item (its
    // pieces are the head, tagged `headTag`, and the closing word); 0: none.
    // `parts`: the words of a known compound, its pieces.
    void EmitWord(size_t first, size_t last, int32_t tag, size_t split = 0, int32_t headTag = 0,
                  const Span *parts = nullptr, size_t partCount = 0);
    void ApplyUserWords(const Atom *atoms, size_t n);
    void EmitEngineWord(const Span &span);
    std::vector<Span> compoundParts_;  // the words of the known compounds of a batch
    void JoinKnownCompounds(std::vector<Span> &spans);
    // Whether a span holds a user word or a piece of an over-long run: the
    // steps after the engine leave such spans as they are.
    bool HoldsFixedItem(const Span &s) const {
        for (size_t q = s.first; q <= s.last; ++q)
            if (items_[q].user != nullptr || items_[q].continues) return true;
        return false;
    }
    // Breaks up the names the engine made over white space or of marks
    // (帮助~~ (笑 taken for a person): such a name is no name of the text.
    void SplitNamesOverMarks(std::vector<Span> &spans);
    void RepeatNames(std::vector<Span> &spans);
    // Joins a run of transliteration characters after a word that mostly
    // stands before foreign persons into one (总统 普 京).
    void NameAfterTitles(std::vector<Span> &spans);
    // Joins the cutter's name runs that the engine left as single plain
    // characters (象 山, 科 恩).
    void JoinNameRuns(std::vector<Span> &spans);
    // Tag of a name run of `chars` characters at w that the dictionary lacks.
    bool SuffixedPlaceRun(const char *w, size_t chars) const;
    int32_t RunTagFromRoles(const char *w, size_t chars) const;
    double RoleShare(const char *ch, int code, int role) const;
    void EndNamesBeforeParticles(std::vector<Span> &spans);
    void JoinPlaceCompounds(std::vector<Span> &spans);
    void RetagPlaces(std::vector<Span> &spans);
    void RepeatPlaces(std::vector<Span> &spans);
    // Joins the pieces of a word the dictionary lacks that the cutter kept
    // whole elsewhere in the batch (清真 寺 where 清真寺 came twice).
    void JoinRepeatedWords(std::vector<Span> &spans);
    struct NewWord {  // a word the dictionary lacks, cut whole in the batch
        std::string_view text;
        uint32_t count;
        int32_t tag;  // of its last whole mention
    };
    std::vector<NewWord> newWords_;
    std::vector<bool> newWordFirsts_;  // by the first character's two bytes
    void RetagUnknownWords(std::vector<Span> &spans);
    void AppendText(uint32_t gbStart, uint32_t gbEnd, uint64_t offset, uint32_t length);
    static const char *TextAt(size_t offset) { return reinterpret_cast<const char *>(static_cast<uintptr_t>(offset)); }
    const char *TagName(int32_t tag) const {
        return tag >= 0 && static_cast<size_t>(tag) < shared_.tagNames.size() ? shared_.tagNames[tag].c_str() : "";
    }

    const Shared &shared_;
    uint32_t flags_;
    const UserDict *user_;  // null when the handle has no user words
    std::vector<const UserDict::Entry *> userMarks_;  // per word of ends_
    WorkText work_;
    const char *src_ = nullptr;  // the caller's bytes of the current stretch
    uint64_t base_ = 0;
    std::vector<Atom> atoms_;
    std::vector<uint32_t> ends_;
    CutScratch scratch_;
    std::string wideText_;          // a run with ASCII in full width, for the cutter
    std::vector<Atom> wideAtoms_;   // its atoms
    std::vector<Item> items_;        // items of the pending batch
    std::vector<uint32_t> cuts_;     // sentence starts within a line
    std::vector<uint32_t> closingQuotes_;  // work offsets of the ASCII double quotes that close, ascending
    bool sentenceOpen_ = false;
    SentenceSpan open_{0, 0};
    size_t openItems_ = 0;  // words of the open sentence so far

    // Grown in chunks rather than by doubling: a result of millions of words
    // then needs its own size once here and once in the result block.
    // Until Finish, a word's or piece's `text` holds the offset of its text
    // in texts_ (which moves as it grows).
    std::deque<vsglex_word> words_;
    std::string texts_;
    std::deque<vsglex_sentence> sentences_;
    std::deque<vsglex_part> parts_;
    std::vector<uint32_t> pieceCuts_;
    std::vector<Piece> pieces_;
    std::vector<uint64_t> invalid_;
    int charset_ = 0;
    // Person names the engine found in this text so far, by their GB text.
    struct RememberedPerson {
        int32_t tag = 0;
        uint32_t found = 0;   // mentions the engine took for this name
        uint32_t missed = 0;  // mentions it passed over
    };
    // An open-addressing table whose slots hold the names' bytes (at most
    // kMaxNameBytes): a look-up touches one slot, and builds no string.
    struct NameSlot {
        char text[16];
        uint8_t length = 0;  // 0: empty
        RememberedPerson person;
    };
    std::vector<NameSlot> names_;
    size_t nameCount_ = 0;
    static uint64_t NameHash(std::string_view text);
    RememberedPerson &RememberName(std::string_view text);
    RememberedPerson *FindName(std::string_view text);
    struct Repeat {  // spans [first, last] spell a remembered name
        size_t first, last;
        RememberedPerson *name;
        bool extends;  // from a lone surname the engine tagged as a person, or a new word
                       // the cutter kept whole: taken whatever the name's misses
        bool surname;  // the former
    };
    std::vector<Repeat> repeats_;
    size_t longestName_ = 0;  // bytes
    std::vector<bool> nameStarts_;  // by the first character's two bytes
    std::vector<bool> nameEnds_;    // by the last character's two bytes
    // Places found in this text so far (GB text), and the stems of those
    // that end in an administrative unit (象山 of 象山县).
    std::unordered_set<std::string> places_;
    std::vector<bool> placeFirsts_;  // by the first character's two bytes
};

void Analysis::Run(const char *text, size_t length, int charset) {
    charset_ = charset;
    size_t pos = 0;
    if (charset == VSGLEX_CHARSET_UTF8 && length >= 3 && std::memcmp(text, "\xEF\xBB\xBF", 3) == 0) pos = 3;
    while (pos < length) {
        size_t end = WindowEnd(text, pos, length, charset);
        Window(text + pos, end - pos, pos, charset);
        pos = end;
    }
    Flush();
}

void Analysis::Window(const char *src, size_t n, uint64_t base, int charset) {
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

void Analysis::Line(size_t begin, size_t end) {
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
    auto push = [&](size_t a, size_t b, const UserDict::Entry *user = nullptr, uint8_t name = 0,
                    bool novel = false) {  // atoms [a, b)
        uint32_t s = atoms[a].start;
        uint32_t e = atoms[b - 1].start + atoms[b - 1].length;
        items_.push_back(
            Item{s, static_cast<uint16_t>(e - s), atoms[a].continuesPrevious, name, novel, sentence, user});
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
        if (IsSentenceEnd(gb.data() + atoms[n - 1].start, atoms[n - 1].length)) CloseSentence();
        return;
    }
    ends_.clear();
    // The dictionary and the model know letters and digits in full width
    // (the corpus's form): a run with ASCII is cut in that form, atom for
    // atom, so that ＢＰ机 is found in BP机 as well.
    const char *cutText = gb.data();
    const Atom *cutAtoms = atoms;
    const uint32_t runStart = atoms[0].start, runEnd = atoms[n - 1].start + atoms[n - 1].length;
    bool ascii = false;
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
    auto bad = std::lower_bound(invalid_.begin(), invalid_.end(), offset);
    if (charset_ == VSGLEX_CHARSET_UTF8 && (bad == invalid_.end() || *bad >= offset + length) &&
        std::memchr(orig, '\0', length) == nullptr) {
        texts_.append(orig, length);
    } else if (charset_ == VSGLEX_CHARSET_GB18030 && (flags_ & VSGLEX_T2S) != 0 &&
               (bad == invalid_.end() || *bad >= offset + length)) {
        // Simplified for the analysis only: the word keeps the caller's characters.
        GbToUtf8(orig, length, texts_);
    } else {
        GbToUtf8(work_.gb.data() + gbStart, gbEnd - gbStart, texts_);
    }
    texts_.push_back('\0');
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
        pieceCuts_.clear();
        for (size_t q = first; q <= last; ++q) pieceCuts_.push_back(items_[q].start + items_[q].length - gbStart);
        CorpusPieces(gb, gbEnd - gbStart, tag, pieceCuts_, shared_.pieceTags, pieces_);
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
        part.tag = piece.tag;
        part.tag_name = TagName(piece.tag);
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
    // Widening at most doubles a word.
    size_t bound = 0;
    for (size_t k = 0; k < n; ++k) bound += 2 * size_t{items_[k].length};
    if (given.size() < bound) given.resize(bound);
    size_t at = 0;
    for (size_t k = 0; k < n; ++k) {
        givenAt[k] = static_cast<uint32_t>(at);
        const char *word = gb.data() + items_[k].start;
        size_t len = Widen(items_[k].start, items_[k].length, &given[at]);
        if (len > kMaxAtomBytes) {
            len = items_[k].length;
            std::memcpy(&given[at], word, len);
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
        bool mark;
        if (l == 1) mark = c < 0x80 && !std::isalnum(static_cast<int>(c)) && c != '-' && c != '.';
        else if (l == 2 && t[i] == 0xA1) mark = c != 0xA1A4 && c != 0xA1AA;  // the row of marks: not · —
        else if (l == 2 && t[i] == 0xA3)  // full-width ASCII: not letters, digits, － ．
            mark = !std::isalnum(t[i + 1] - 0x80) && c != 0xA3AD && c != 0xA3AE;
        else mark = false;
        if (!mark) return NamePart::kText;
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
        std::string wide(2 * size_t{items_[q].length}, '\0');
        wide.resize(Widen(items_[q].start, items_[q].length, wide.data()));
        int32_t tag = CoreWordTag(&shared_.engine->models(), wide.data(), wide.size());
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
        bool keep = first <= last;
        depth = 0;
        for (size_t q = first; keep && q <= last; ++q) {
            keep = NamePartOf(work_.gb.data() + items_[q].start, items_[q].length, &depth) != NamePart::kMark &&
                   depth >= 0 && (q == first || items_[q - 1].start + items_[q - 1].length == items_[q].start);
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

Analysis::RememberedPerson &Analysis::RememberName(std::string_view text) {
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
    const std::string &gb = work_.gb;
    auto at = [&](const Span &s) { return gb.data() + items_[s.first].start; };
    auto bytes = [&](const Span &s) {
        return static_cast<size_t>(items_[s.last].start + items_[s.last].length - items_[s.first].start);
    };
    auto key = [](const char *p) {
        return static_cast<size_t>(static_cast<unsigned char>(p[0])) << 8 | static_cast<unsigned char>(p[1]);
    };
    auto plain = [&](const Span &s) { return !HoldsFixedItem(s) && !IsNameTag(s.tag); };
    for (const Span &s : spans) {
        if (!IsPersonTag(s.tag) || !RememberedName(at(s), bytes(s))) continue;
        RememberedPerson &r = RememberName(std::string_view(at(s), bytes(s)));
        r.tag = s.tag;
        ++r.found;
        longestName_ = std::max(longestName_, bytes(s));
        nameStarts_.resize(1 << 16);
        nameEnds_.resize(1 << 16);
        nameStarts_[key(at(s))] = true;
        nameEnds_[key(at(s) + bytes(s) - 2)] = true;
    }
    if (nameCount_ == 0) return;
    // Mentions passed over: the longest run of plain words from a word,
    // touching each other in one sentence, that spells a remembered name.
    repeats_.clear();
    for (size_t i = 0; i < spans.size(); ++i) {
        // A lone surname the engine took for a person may be the start of a
        // remembered name (何 长工 where 何长工 was found): the engine saw a
        // person there, so only the name's extent is in question.
        const bool surname = IsPersonTag(spans[i].tag) && bytes(spans[i]) == 2 && spans[i].first == spans[i].last &&
                             items_[spans[i].first].user == nullptr;
        if (bytes(spans[i]) < 2 || !nameStarts_[key(at(spans[i]))] || !(surname || plain(spans[i]))) continue;
        // The run's words touch each other: its text is one stretch of gb.
        std::string_view run;
        Repeat best{0, 0, nullptr, surname, surname};
        for (size_t j = i; j < spans.size() && (j == i || plain(spans[j])); ++j) {
            const Item &a = items_[spans[j].first];
            if (j > i) {
                const Item &b = items_[spans[j - 1].last];
                if (a.sentence != b.sentence || a.start != b.start + b.length) break;
            }
            run = std::string_view(at(spans[i]), items_[spans[j].last].start + items_[spans[j].last].length -
                                                     items_[spans[i].first].start);
            if (run.size() > longestName_) break;
            if (run.size() < kMinNameBytes || !nameEnds_[key(run.data() + run.size() - 2)]) continue;
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
    size_t out = 0, next = 0;
    for (size_t i = 0; i < spans.size(); ++i) {
        while (next < repeats_.size() && repeats_[next].first < i) ++next;
        if (next < repeats_.size() && repeats_[next].first == i &&
            (repeats_[next].extends || repeats_[next].name->found >= repeats_[next].name->missed)) {
            const Repeat &r = repeats_[next];
            spans[out++] = Span{spans[r.first].first, spans[r.last].last, r.name->tag};
            i = r.last;
        } else {
            spans[out++] = spans[i];
        }
    }
    spans.resize(out);
}

// Person names that are places: a person word whose text the training
// days show mostly as a place (the cutter hands rare places to the engine
// in characters, and the person recogniser may take them), and a
// transliterated person name whose neighbouring words (of several
// characters, which the role search cannot tell apart) come far more often
// next to transliterated places than next to such names (抵达 雅温得).
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
                   p.start == end.start + end.length && InGbList(kAspectParticles, gb.data() + p.start);
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
    auto bytes = [&](const Span &s) {
        return static_cast<size_t>(items_[s.last].start + items_[s.last].length - items_[s.first].start);
    };
    // A Chinese character of the transliteration lists (not their marks · —).
    auto transliterated = [](const char *p) {
        return static_cast<unsigned char>(p[0]) >= 0xB0 && IsTransliterationChar(p);
    };
    auto foreign = [&](const Span &s) {
        const size_t n = bytes(s);
        const char *t = gb.data() + items_[s.first].start;
        if (IsNameTag(s.tag) || HoldsFixedItem(s) || s.partCount != 0 || s.split != 0 || n % 2 != 0) return false;
        for (size_t i = 0; i < n; i += 2)
            if (!transliterated(t + i)) return false;
        return true;
    };
    size_t out = 0;
    for (size_t i = 0; i < spans.size(); ++i) {
        spans[out++] = spans[i];
        const Span &title = spans[i];
        if (i + 2 >= spans.size()) continue;
        // Most words are turned down by the first character after them.
        const char *next = gb.data() + items_[spans[i + 1].first].start;
        if (!transliterated(next)) continue;
        if (IsNameTag(title.tag) || bytes(title) < 4 || HoldsFixedItem(title)) continue;
        // The run after the word.
        size_t j = i + 1, chars = 0;
        while (j < spans.size() && items_[spans[j].first].sentence == items_[title.first].sentence &&
               items_[spans[j].first].start == items_[spans[j - 1].last].start + items_[spans[j - 1].last].length &&
               foreign(spans[j]) && chars + bytes(spans[j]) / 2 <= kMaxTitledNameChars) {
            chars += bytes(spans[j]) / 2;
            ++j;
        }
        // A longer run of such characters goes on: no name's end is known.
        if (j < spans.size() && foreign(spans[j])) continue;
        if (j < i + 3 || chars < kMinTitledNameChars) continue;
        const std::string_view word(gb.data() + items_[title.first].start, bytes(title));
        const double before = shared_.neighbours.BeforePerson(word);
        if (before < kMinTitleCount) continue;
        const double count = CoreWordCount(&shared_.engine->models(), word.data(), word.size());
        if (count <= 0.0 || before < kMinTitleShare * count) continue;
        spans[out++] = Span{spans[i + 1].first, spans[j - 1].last, kForeignPersonTag};
        i = j - 1;
    }
    spans.resize(out);
}

void Analysis::RetagPlaces(std::vector<Span> &spans) {
    const std::string &gb = work_.gb;
    auto text = [&](const Span &s) {
        return std::string_view(gb.data() + items_[s.first].start,
                                items_[s.last].start + items_[s.last].length - items_[s.first].start);
    };
    // The text of a plain word of several characters touching `s` in its
    // sentence, or an empty view.
    auto neighbour = [&](const Span &s, const Span &n) {
        const Item &a = items_[std::min(s.last, n.last)];
        const Item &b = items_[std::max(s.first, n.first)];
        if (a.sentence != b.sentence || b.start != a.start + a.length || IsNameTag(n.tag) || n.split != 0)
            return std::string_view();
        std::string_view t = text(n);
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
            const std::string_view t = text(s);
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

// A run of words that the training days bracket as one place far more often
// than not (人民 大会堂, 香港 特别 行政区, 内蒙古 自治区) is one place; the
// corpus pieces are its words as they are. The longest known run wins;
// names other than places are never part of one.
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
        const Item &a = items_[spans[i].first];
        if (known.MayStartCompound(gb.data() + a.start, a.length) && usable(spans[i])) {
            for (size_t j = i + 1; j < spans.size() && j - i < kMaxCompoundWords && usable(spans[j]); ++j) {
                const Item &p = items_[spans[j - 1].last];
                const Item &b = items_[spans[j].first];
                if (b.sentence != a.sentence || b.start != p.start + p.length) break;
                const Item &e = items_[spans[j].last];
                const size_t bytes = e.start + e.length - a.start;
                if (bytes > known.LongestCompound()) break;
                if (known.IsCompound(gb.data() + a.start, bytes)) best = j;
            }
        }
        if (best == i) {
            spans[out++] = spans[i];
            continue;
        }
        Span joined{spans[i].first, spans[best].last, kPlaceTag};
        joined.partsAt = compoundParts_.size();
        joined.partCount = best - i + 1;
        compoundParts_.insert(compoundParts_.end(), spans.begin() + i, spans.begin() + best + 1);
        spans[out++] = joined;
        i = best;
    }
    spans.resize(out);
}

// A place followed by a word that closes bracketed places in the corpus
// (中亚 地区, 开曼 群岛, 香港 特别行政区) is one place: the recognisers
// join only one-character words, so the engine cannot. A transliterated
// person name before such a word (帕米尔 高原, 巴尔干 半岛) is a place the
// person recogniser took: it becomes a transliterated place.
namespace {

// One-character words that end a place name after an unknown stem (毛家 湾,
// 赞皇 县): administrative units and features of the land.
constexpr char kStemSuffixes[] =
    "\xca\xa1\xca\xd0\xcf\xd8\xc7\xf8\xcf\xe7\xd5\xf2\xb4\xe5\xcd\xcd\xd7\xaf\xd5\xaf"  // 省市县区乡镇村屯庄寨
    "\xba\xd3\xbd\xad\xba\xfe\xcd\xe5\xb5\xba\xc9\xbd\xc1\xeb\xb7\xe5\xcf\xbf\xcf\xaa"  // 河江湖湾岛山岭峰峡溪
    "\xb8\xdb\xd6\xdd";                                                                   // 港州

bool StemSuffix(const char *word, size_t length) { return length == 2 && InGbList(kStemSuffixes, word); }

// The administrative units among them: the stem of such a place is its
// short name (象山 of 象山县, 信宜 of 信宜市), while the stem of a village
// or a feature of the land is often a common word (花灯 of 花灯村, 牛头 of
// 牛头山).
constexpr char kUnitSuffixes[] = "\xca\xa1\xca\xd0\xcf\xd8\xc7\xf8\xcf\xe7\xd5\xf2";  // 省市县区乡镇

bool UnitSuffix(const char *p) { return InGbList(kUnitSuffixes, p); }

// Last characters that make a word of two characters that the dictionary
// lacks a place by themselves: of the corpus words of two characters that
// end in 县 or 州 and that the other three weeks never show, 103 of 117 are
// places (most others are words the whole corpus knows: 该州, 本县, 邻县);
// 区 市 乡 镇 end as many such words that are no place (产区, 债市, 侨乡,
// 本镇). Words of three characters are left alone: those the cutter makes
// on raw text are mostly its own mistakes (持有市, 基地县).
constexpr char kPairUnitSuffixes[] = "\xcf\xd8\xd6\xdd";  // 县州

// Whether the core dictionary holds the GB word with a part-of-speech row.
// The lexicon holds every such word but short person words, in a table the
// cutter keeps warm, so only the words it lacks are asked of the engine's
// index (reading each word's entry cost the unknown-word tags 8% of an
// analysis).
bool KnownWord(const Shared &shared, const char *word, size_t length) {
    if (shared.lexicon.HasWord(word, length)) return true;
    const SegmentEngine &models = shared.engine->models();
    const int32_t e = shared.engine->CoreEntryOf(word, length);
    if (e < 0 || e >= models.core.count) return false;
    const DictSEntry &entry = models.core.entries[e];
    for (int32_t r = 0; entry.posList != nullptr && r < entry.posCount; ++r)
        if (entry.posList[r].code == 0 && std::isfinite(entry.posList[r].value)) return true;
    return false;
}

// True when GB text[0..length) is two or three Chinese characters.
bool ShortChineseWord(const char *text, size_t length) {
    return (length == 4 || length == 6) && IsGb2312ChineseText(text, length);
}

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
        Span s = spans[i];
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
        // characters.
        if (shared_.suffixedWords && s.first == s.last && !IsNameTag(s.tag) && untouched(s)) {
            const Item &a = items_[s.first];
            const char *w = gb.data() + a.start;
            if (a.length == 4 && IsGb2312ChineseText(w, a.length) && InGbList(kPairUnitSuffixes, w + 2) &&
                !KnownWord(shared_, w, a.length)) {
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
        spans[out++] = s;
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
void Analysis::RepeatPlaces(std::vector<Span> &spans) {
    if (!shared_.repeatPlaces) return;
    const std::string &gb = work_.gb;
    auto text = [&](const Span &s) {
        return std::string_view(gb.data() + items_[s.first].start,
                                items_[s.last].start + items_[s.last].length - items_[s.first].start);
    };
    const auto key = [](const char *p) {
        return static_cast<size_t>(static_cast<unsigned char>(p[0])) << 8 | static_cast<unsigned char>(p[1]);
    };
    for (const Span &s : spans) {
        if (!IsPlaceTag(s.tag)) continue;
        const std::string_view t = text(s);
        if (t.size() < 4 || t.size() > 16 || !IsGb2312ChineseText(t.data(), t.size())) continue;
        if (placeFirsts_.empty()) placeFirsts_.resize(1 << 16);
        placeFirsts_[key(t.data())] = true;
        places_.emplace(t);
        if (t.size() >= 6 && UnitSuffix(t.data() + t.size() - 2)) places_.emplace(t.substr(0, t.size() - 2));
    }
    if (places_.empty()) return;
    // Most words are turned down by the first character before any lookup.
    for (Span &s : spans) {
        const Item &a = items_[s.first];
        const char *w = gb.data() + a.start;
        if (s.first != s.last && !s.run) continue;
        // One word, or a name run joined after the engine (its characters
        // touch: its text is one stretch).
        const size_t length = s.run ? text(s).size() : a.length;
        if ((length != 4 && length != 6) || !placeFirsts_[key(w)] ||
            !ShortChineseWord(w, length) || s.tag < 0 ||
            IsNameTag(s.tag) || HoldsFixedItem(s) || s.split != 0 || s.partCount != 0 ||
            places_.count(std::string(w, length)) == 0 ||
            CoreWordCount(&shared_.engine->models(), w, length) != 0.0)
            continue;
        s.tag = kPlaceTag;
    }
}

// The cutter cuts a word it has never seen by its characters' evidence
// around each mention, so a new word of a text often comes out whole in
// some mentions and in pieces in others (污水厂 and 污水 厂). A word of two
// to four Chinese characters that the core dictionary lacks, that is no
// name, number or time, and that the batch holds whole at least
// shared_.repeatedWords times (the cutter's word, or a name run joined
// above), joins each run of two to four touching plain words of one
// sentence that spell it, and gives it the tag of its last whole mention.
void Analysis::JoinRepeatedWords(std::vector<Span> &spans) {
    if (shared_.repeatedWords <= 0 || spans.size() < 2) return;
    const uint32_t need = static_cast<uint32_t>(shared_.repeatedWords);
    const std::string &gb = work_.gb;
    const auto key = [](const char *p) {
        return static_cast<size_t>(static_cast<unsigned char>(p[0])) << 8 | static_cast<unsigned char>(p[1]);
    };
    auto bytes = [&](const Span &s) {
        return size_t{items_[s.last].start} + items_[s.last].length - items_[s.first].start;
    };
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
        const size_t length = bytes(s);
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
    for (const NewWord &n : newWords_) newWordFirsts_[key(n.text.data())] = true;
    size_t out = 0;
    for (size_t i = 0; i < spans.size(); ++i) {
        const Span &s = spans[i];
        const char *w = gb.data() + items_[s.first].start;
        size_t best = 0;
        const NewWord *found = nullptr;
        if (items_[s.first].length >= 2 && newWordFirsts_[key(w)] && plain(s)) {
            // The longest run of touching plain words from here that spells
            // such a word.
            size_t length = bytes(s);
            const uint32_t sentence = items_[s.first].sentence;
            for (size_t j = i + 1; j < spans.size() && j < i + 4; ++j) {
                const Span &t = spans[j];
                if (!plain(t) || items_[t.first].sentence != sentence ||
                    items_[spans[j - 1].last].start + items_[spans[j - 1].last].length != items_[t.first].start)
                    break;
                length += bytes(t);
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
    for (const NewWord &n : newWords_) newWordFirsts_[key(n.text.data())] = false;
}

// Whether a name run ends in the suffix of an administrative unit after a
// stem that is no word of its own (费县, 三门峡市, 麦盖提乡; not 送往县,
// 镇区). Of two characters only those in 县 or 州 are taken: 区 市 乡 镇
// end as many plain words (每镇, 债市) as places.
bool Analysis::SuffixedPlaceRun(const char *w, size_t chars) const {
    const char *end = w + 2 * chars - 2;
    if (chars == 2) return InGbList(kPairUnitSuffixes, end) && !UnitSuffix(w);
    if (!UnitSuffix(end) && !InGbList(kPairUnitSuffixes, end)) return false;
    const int32_t stem = CoreWordTag(&shared_.engine->models(), w, 2 * chars - 2);
    return stem < 0 || IsPlaceTag(stem);
}

namespace {

// Added to every count, so that a role never seen has a finite share.
constexpr double kRolePrior = 0.5;

}  // namespace

// ln P(character | role) of role `role` of role set `code` (1 person, 2
// place): the character's count from its role row (ln(count + 1); a floor
// row counts as none) over the role's count in the role sequences. The
// default role is the character's count as a word of its own.
double Analysis::RoleShare(const char *ch, int code, int role) const {
    const SegmentEngine &m = shared_.engine->models();
    const ContextStat &ctx = m.tagModels[code].model;
    const double total = ContextStat_GetFrequency(role, &ctx);
    if (total <= 0) return std::log(kRolePrior / 1e9);
    double count = 0;
    if (role == (code == 1 ? vsg::kPersonDefaultRole : vsg::kPlaceDefaultRole)) {
        count = CoreWordCount(&m, ch, 2);
    } else {
        const int32_t e = shared_.engine->CoreEntryOf(ch, 2);
        if (e >= 0 && e < m.core.count) {
            const DictSEntry &entry = m.core.entries[e];
            for (int32_t r = 0; entry.posList != nullptr && r < entry.posCount; ++r)
                if (entry.posList[r].code == code && entry.posList[r].subCode == role)
                    count = std::max(0.0, std::exp(static_cast<double>(entry.posList[r].value)) - 1.0);
        }
    }
    return std::log((count + kRolePrior) / total);
}

// The tag of a name run from the role data: the run read as a person
// (surname and given name, or a transliteration) and as a place (with or
// without a suffix, or a transliterated place), each against its
// characters as plain words; the better reading wins when it beats them
// by shared_.nameRunMin, else the run is a plain word (a noun for the
// steps after).
int32_t Analysis::RunTagFromRoles(const char *w, size_t chars) const {
    const size_t bytes = 2 * chars;
    double plainPerson = 0, plainPlace = 0;
    bool foreign = true;
    for (size_t k = 0; k < bytes; k += 2) {
        plainPerson += RoleShare(w + k, 1, vsg::kPersonDefaultRole);
        plainPlace += RoleShare(w + k, 2, vsg::kPlaceDefaultRole);
        foreign = foreign && static_cast<unsigned char>(w[k]) >= 0xB0 && IsTransliterationChar(w + k);
    }
    const char *last = w + bytes - 2;
    // A Chinese person: surname, then a given name of one or two characters.
    double person = -1e300;
    if (chars == 2) person = RoleShare(w, 1, vsg::kPersonSurnameRole) + RoleShare(last, 1, vsg::kPersonGivenOnlyRole);
    else if (chars == 3)
        person = RoleShare(w, 1, vsg::kPersonSurnameRole) + RoleShare(w + 2, 1, vsg::kPersonGivenFirstRole) +
                 RoleShare(last, 1, vsg::kPersonGivenLaterRole);
    // A transliterated person, and a transliterated place (roles U V of the
    // person set).
    double foreignPerson = -1e300, foreignPlace = -1e300;
    if (foreign) {
        foreignPerson = RoleShare(w, 1, vsg::kPersonForeignFirstRole) + RoleShare(last, 1, vsg::kPersonForeignLastRole);
        foreignPlace = RoleShare(last, 1, vsg::kPersonCutPlaceLastRole);
        for (size_t k = 0; k + 2 < bytes; k += 2) foreignPlace += RoleShare(w + k, 1, vsg::kPersonCutPlaceRole);
        for (size_t k = 2; k + 2 < bytes; k += 2) foreignPerson += RoleShare(w + k, 1, vsg::kPersonForeignInnerRole);
    }
    // A place with a suffix (C F G, C E F G ...) or without (H L, H K L ...).
    auto place = [&](bool suffixed) {
        double v = RoleShare(w, 2, suffixed ? vsg::kPlaceSuffixedFirstRole : vsg::kPlaceFirstRole) +
                   RoleShare(last, 2, suffixed ? vsg::kPlaceSuffixRole : vsg::kPlaceLastRole);
        for (size_t k = 2; k + 2 < bytes; k += 2) {
            const size_t fromEnd = (bytes - k) / 2;  // 2: second-last, 3: third-last
            const int role = fromEnd == 2 ? (suffixed ? vsg::kPlaceSuffixedSecondLastRole : vsg::kPlaceSecondLastRole)
                             : fromEnd == 3 ? (suffixed ? vsg::kPlaceSuffixedThirdLastRole : vsg::kPlaceThirdLastRole)
                                            : (suffixed ? vsg::kPlaceSuffixedInnerRole : vsg::kPlaceInnerRole);
            v += RoleShare(w + k, 2, role);
        }
        return v;
    };
    const double chinesePlace = std::max(place(true), place(false));
    const double personGain = std::max(person, foreignPerson) - plainPerson;
    const double placeGain = std::max(chinesePlace - plainPlace, foreignPlace - plainPerson);
    if (std::max(personGain, placeGain) < shared_.nameRunMin) return shared_.nounTag;
    if (placeGain >= personGain)
        return foreignPlace - plainPerson >= chinesePlace - plainPlace ? kForeignPlaceTag : kPlaceTag;
    return foreignPerson >= person ? kForeignPersonTag : kPersonTag;
}

// The cutter hands the characters of what it takes for a name (a person,
// a place it has not seen) to the engine one a word, for the recognisers to
// build the name. Where they build nothing of such a run (two-character
// places and transliterations no pattern joins: 象山, 科恩, 普者黑), its
// characters came out as single words, wrong at both granularities. Such a
// run of two or more characters, all left plain, is one word: a person when
// the engine took its first character for a person alone; with the
// dictionary's tag when the dictionary holds it; a place when it ends in
// the suffix of an administrative unit after a stem that is no word; a
// person when the role data reads it as a person far better than as plain
// characters and better than as a place; otherwise a noun, which the place
// repeats and the unknown-word tags judge further.
void Analysis::JoinNameRuns(std::vector<Span> &spans) {
    if (shared_.nameRuns == 0 || spans.size() < 2) return;
    const std::string &gb = work_.gb;
    // A character of the run the engine left alone.
    auto single = [&](const Span &s, uint8_t mark) {
        const Item &it = items_[s.first];
        // The first character may be a surname the engine took for a person
        // alone: the run is then that person's name (张 祝, 李 道 豫).
        const bool surname = mark == kNameFirst && s.tag == kPersonTag;
        return s.first == s.last && it.name == mark && it.length == 2 && s.tag >= 0 && (surname || !IsNameTag(s.tag)) &&
               s.split == 0 && s.partCount == 0 && !HoldsFixedItem(s);
    };
    // Most batches have few runs: the spans before the first are left as
    // they are.
    size_t out = 0;
    while (out < spans.size() && items_[spans[out].first].name != kNameFirst) ++out;
    for (size_t i = out; i < spans.size(); ++i) {
        size_t j = i + 1;
        if (items_[spans[i].first].name == kNameFirst && single(spans[i], kNameFirst)) {
            while (j < spans.size() && single(spans[j], kNameLater) &&
                   items_[spans[j].first].sentence == items_[spans[i].first].sentence)
                ++j;
            // The run must end here: a later character the engine claimed
            // (part of a name of its own) leaves the run as it is.
            const bool whole = j == spans.size() || items_[spans[j].first].name != kNameLater;
            const size_t chars = j - i;
            if (chars >= 2 && whole && chars <= shared_.nameRunMax) {
                const char *w = gb.data() + items_[spans[i].first].start;
                const size_t bytes = 2 * chars;
                int32_t tag = CoreWordTag(&shared_.engine->models(), w, bytes);
                if (spans[i].tag == kPersonTag) tag = kPersonTag;
                if (tag < 0) {
                    if (SuffixedPlaceRun(w, chars)) {
                        tag = kPlaceTag;
                    } else {
                        // Places without a suffix are left to the place
                        // repeats: the role data tells them from plain words
                        // too seldom (place F1 fell on every split).
                        tag = RunTagFromRoles(w, chars);
                        if (!IsPersonTag(tag)) tag = shared_.nounTag;
                    }
                }
                Span joined{spans[i].first, spans[j - 1].last, tag};
                joined.run = true;
                spans[out++] = joined;
                i = j - 1;
                continue;
            }
        }
        if (out != i) spans[out] = spans[i];
        ++out;
    }
    spans.resize(out);
}

// A plain word of Chinese characters that the core dictionary lacks had the
// engine's rows of unknown words, which give it the tag its neighbours'
// transitions favour (mostly a noun). Its characters are evidence the
// engine could not use: the tag is decided again from them and the tags
// of the words around it (`UnknownTags`). Names, user words, number words
// and the words the steps above joined are left alone.
void Analysis::RetagUnknownWords(std::vector<Span> &spans) {
    if (!shared_.retagUnknown || shared_.unknownTags.Empty()) return;
    const std::string &gb = work_.gb;
    for (size_t i = 0; i < spans.size(); ++i) {
        Span &s = spans[i];
        const Item &a = items_[s.first];
        if (s.first != s.last && !s.run) continue;
        // One word, or a name run joined after the engine.
        const size_t length = s.run ? items_[s.last].start + items_[s.last].length - a.start : a.length;
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

void Analysis::ApplyUserWords(const Atom *atoms, size_t n) {
    const SegmentEngine *engine = &shared_.engine->models();
    user_->Apply(work_.gb.data(), atoms, n, ends_, userMarks_,
                 [engine](const char *w, size_t len) { return CoreWordCount(engine, w, len); });
}

// A user word stays one word with the user's tag: an engine word that
// joins it with its neighbours (a name recogniser's merge) is taken apart
// again, its other pieces tagged by the core dictionary.
void Analysis::EmitEngineWord(const Span &span) {
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

vsglex_result *Analysis::Finish() {
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
    std::memcpy(p, texts_.data(), texts_.size());
    p[texts_.size()] = '\0';
    r->charset = charset_;
    // Walked with iterators: indexing a deque divides at every step.
    vsglex_word *word = r->words;
    for (const vsglex_word &w : words_) {
        *word = w;
        (word++)->text = p + reinterpret_cast<uintptr_t>(w.text);
    }
    std::copy(sentences_.begin(), sentences_.end(), r->sentences);
    vsglex_part *part = r->parts;
    for (const vsglex_part &pt : parts_) {
        *part = pt;
        (part++)->text = p + reinterpret_cast<uintptr_t>(pt.text);
    }
    if (!invalid_.empty()) std::memcpy(r->invalid_offsets, invalid_.data(), invalidBytes);
    return r;
}

}  // namespace

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
    if (const char *chars = std::getenv("VSGLEX_PERSON_WORD_CHARS"); chars != nullptr && *chars != '\0')
        options.minPersonWordChars = std::atoi(chars);
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
    if (const char *v = std::getenv("VSGLEX_PLACE_EVIDENCE"); v != nullptr && *v != '\0')
        set->placeEvidenceMin = std::atof(v);
    if (const char *v = std::getenv("VSGLEX_KNOWN_PLACES"); v != nullptr && *v != '\0')
        set->knownPlaces = std::atoi(v) != 0;
    if (const char *v = std::getenv("VSGLEX_KNOWN_COMPOUNDS"); v != nullptr && *v != '\0')
        set->knownCompounds = std::atoi(v) != 0;
    if (const char *v = std::getenv("VSGLEX_TITLED_NAMES"); v != nullptr && *v != '\0')
        set->titledNames = std::atoi(v) != 0;
    if (const char *v = std::getenv("VSGLEX_PARTICLE_ENDS"); v != nullptr && *v != '\0')
        set->particleEnds = std::atoi(v) != 0;
    if (const char *v = std::getenv("VSGLEX_SUFFIXED_WORDS"); v != nullptr && *v != '\0')
        set->suffixedWords = std::atoi(v) != 0;
    if (const char *v = std::getenv("VSGLEX_PLACE_SUFFIXES"); v != nullptr && *v != '\0')
        set->placeSuffixes = std::atoi(v) != 0;
    if (const char *v = std::getenv("VSGLEX_REPEAT_PLACES"); v != nullptr && *v != '\0')
        set->repeatPlaces = std::atoi(v) != 0;
    if (const char *v = std::getenv("VSGLEX_NAME_RUNS"); v != nullptr && *v != '\0')
        set->nameRuns = std::atoi(v);
    if (const char *v = std::getenv("VSGLEX_REPEAT_WHOLE_NAMES"); v != nullptr && *v != '\0')
        set->repeatWholeNames = std::atoi(v) != 0;
    if (const char *v = std::getenv("VSGLEX_REPEATED_WORDS"); v != nullptr && *v != '\0')
        set->repeatedWords = std::atoi(v);
    if (const char *v = std::getenv("VSGLEX_NAME_RUN_MIN"); v != nullptr && *v != '\0')
        set->nameRunMin = std::atof(v);
    if (const char *v = std::getenv("VSGLEX_NAME_RUN_MAX"); v != nullptr && *v != '\0')
        set->nameRunMax = static_cast<size_t>(std::atoi(v));
    if (const char *v = std::getenv("VSGLEX_PLACE_COMPOUNDS"); v != nullptr && *v != '\0')
        set->placeCompounds = std::atoi(v);
    if (const char *v = std::getenv("VSGLEX_UNKNOWN_TAGS"); v != nullptr && *v != '\0')
        set->retagUnknown = std::atoi(v) != 0;
    if (set->retagUnknown) set->unknownTags.Build(engine->models(), set->tagNames);
    if (const char *v = std::getenv("VSGLEX_UNKNOWN_MARGIN"); v != nullptr && *v != '\0')
        set->unknownMargin = std::atof(v);
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

const vsg::front::SegModel *vsg::front::SegModelOf(const vsglex_handle *handle) {
    return handle != nullptr && handle->shared->segModel.Loaded() ? &handle->shared->segModel : nullptr;
}

bool vsg::front::LoadCutterModel(const std::string &dir, SegModel &model, std::string *error) {
    model = SegModel();
    const char *cutter = std::getenv("VSGLEX_CUTTER");
    if (cutter != nullptr && std::strcmp(cutter, "dict") == 0) return true;
    std::string path = dir;
    if (!path.empty() && path.back() != '/') path += '/';
    path += kSegModelFile;
    struct stat st;
    if (stat(path.c_str(), &st) != 0 && errno == ENOENT) return true;  // an older model set
    return model.Load(path, error);
}
