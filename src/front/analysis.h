// The state of one raw-text analysis and the model set it reads: shared by
// the call's flow (analyzer.cpp) and the steps that rework the engine's
// words after each batch (steps_*.cpp). Internal to the library.
#ifndef VSGLEX_SRC_FRONT_ANALYSIS_H
#define VSGLEX_SRC_FRONT_ANALYSIS_H

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "common/gbtext.h"
#include "engine/instance.h"
#include "front/atoms.h"
#include "front/conventions.h"
#include "front/corpusview.h"
#include "front/lexicon.h"
#include "front/personwords.h"
#include "front/segmodel.h"
#include "front/transcode.h"
#include "front/unknowntags.h"
#include "front/userdict.h"
#include "vsglex/engine.h"
#include "vsglex/vsglex_api.h"

namespace vsg::front {

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
    // Known words the engine is given for number and time words the
    // dictionary lacks (VSGLEX_NUMBER_STAND_INS=0, measurement switch: none).
    NumberStandIns standIns;
    PieceTags pieceTags;        // tags of the pieces of organisation names
    PersonWords personWords;    // person words the corpus view keeps whole; empty: none (older sets)
    PlaceCompoundEnds placeEnds;  // words that close a place name after it (地区, 群岛)
    NameNeighbours neighbours;    // words next to places and transliterated persons
    double placeEvidenceMin = 2.0;  // VSGLEX_PLACE_EVIDENCE (measurement switch; a large value: off)
    bool knownPlaces = true;        // VSGLEX_KNOWN_PLACES=0 (measurement switch): off
    bool knownCompounds = true;     // VSGLEX_KNOWN_COMPOUNDS=0 (measurement switch): off
    // Corpus pieces of organisation names: the cutter's name runs inside
    // them are one piece (VSGLEX_ORG_NAME_RUNS=0, measurement switch: off).
    bool orgNameRuns = true;
    // Heads of place compounds: 0 none, 1 places, 2 places and
    // transliterated person names (measurement switch VSGLEX_PLACE_COMPOUNDS).
    int placeCompounds = 2;
    int32_t nounTag = -1, markTag = -1;  // tags "n" and "w" of the tag map, or -1
    bool placeSuffixes = true;  // VSGLEX_PLACE_SUFFIXES=0 (measurement switch): off
    bool titledNames = true;    // VSGLEX_TITLED_NAMES=0 (measurement switch): off
    bool particleEnds = true;    // VSGLEX_PARTICLE_ENDS=0 (measurement switch): off
    bool suffixedWords = true;   // VSGLEX_SUFFIXED_WORDS=0 (measurement switch): off
    // Suffixed words whose first character is a pronoun (该州, 本县) stay
    // common words (VSGLEX_PRONOUN_UNITS=0, measurement switch: they do not).
    bool pronounUnits = true;
    bool repeatPlaces = true;   // VSGLEX_REPEAT_PLACES=0 (measurement switch): off
    // Runs of one-character words that spell a place of the text are that
    // place (VSGLEX_PLACE_RUNS=0, measurement switch: off).
    bool placeRuns = true;
    // Pre-cut text: a sentence-end mark closes the engine's sentence
    // (VSGLEX_PRECUT_SENTENCE_ENDS=0, measurement switch: only line ends do).
    bool precutSentenceEnds = true;
    int nameRuns = 1;           // VSGLEX_NAME_RUNS=0 (measurement switch): off
    bool repeatWholeNames = true;  // VSGLEX_REPEAT_WHOLE_NAMES=0 (measurement switch): off
    int repeatedWords = 1;      // VSGLEX_REPEATED_WORDS: whole mentions a join needs (0: off; measurement switch)
    size_t nameRunMax = 8;      // VSGLEX_NAME_RUN_MAX: longest run joined, in characters (measurement switch)
    double nameRunMin = 8.0;    // VSGLEX_NAME_RUN_MIN: log gain over plain characters a person run needs
    UnknownTags unknownTags;    // tags of words the dictionary lacks, from their characters
    bool retagUnknown = true;   // VSGLEX_UNKNOWN_TAGS=0 (measurement switch): off
    double unknownMargin = UnknownTags::kDefaultMargin;  // VSGLEX_UNKNOWN_MARGIN (measurement switch)
};

// An array grown in chunks of 2^kShift elements rather than by doubling: a
// result of millions of words then needs its own size once here and once in
// the result block, and, unlike a deque's small nodes, a chunk is allocated
// once per thousand elements and an element is found with a shift and a mask.
// Elements are left uninitialised until pushed.
template <class T, unsigned kShift = 10>
class ChunkedArray {
public:
    static constexpr size_t kChunk = size_t{1} << kShift;
    void push_back(const T &value) {
        if (next_ == end_) NewChunk();
        *next_++ = value;
        ++size_;
    }
    T &back() { return next_[-1]; }
    T &operator[](size_t k) { return chunks_[k >> kShift][k & (kChunk - 1)]; }
    size_t size() const { return size_; }
    bool empty() const { return size_ == 0; }
    // Calls f(element) for every element in order.
    template <class F>
    void ForEach(F f) const {
        for (size_t c = 0; c < chunks_.size(); ++c) {
            const size_t n = c + 1 < chunks_.size() ? kChunk : size_ - c * kChunk;
            const T *chunk = chunks_[c].get();
            for (size_t k = 0; k < n; ++k) f(chunk[k]);
        }
    }

private:
    void NewChunk() {
        chunks_.emplace_back(new T[kChunk]);
        next_ = chunks_.back().get();
        end_ = next_ + kChunk;
    }
    std::vector<std::unique_ptr<T[]>> chunks_;
    T *next_ = nullptr, *end_ = nullptr;
    size_t size_ = 0;
};

// A growing byte buffer whose appends are inlined (a string's append is a
// call into the C++ library, made for every word of a result).
class TextBuffer {
public:
    size_t size() const { return size_; }
    const char *data() const { return data_.get(); }
    char *data() { return data_.get(); }
    // Appends n bytes left to the caller to write; returns where they start.
    char *Extend(size_t n) {
        if (n > capacity_ - size_) Grow(size_ + n);
        char *p = data_.get() + size_;
        size_ += n;
        return p;
    }
    void Append(const char *p, size_t n) {
        if (n > 0) std::memcpy(Extend(n), p, n);
    }
    void Append(const std::string &s) { Append(s.data(), s.size()); }
    void PushBack(char c) { *Extend(1) = c; }
    // Cuts the buffer to n bytes (n <= size()).
    void Truncate(size_t n) { size_ = n; }

private:
    void Grow(size_t need) {
        const size_t capacity = std::max({need, 2 * capacity_, size_t{4096}});
        std::unique_ptr<char[]> grown(new char[capacity]);
        if (size_ > 0) std::memcpy(grown.get(), data_.get(), size_);
        data_ = std::move(grown);
        capacity_ = capacity;
    }
    std::unique_ptr<char[]> data_;
    size_t size_ = 0, capacity_ = 0;
};

// One cut word handed to the engine.
struct Item {
    uint32_t start;    // in the work text
    uint16_t length;
    bool continues;    // a piece of the previous item's run (an over-long address or number)
    uint8_t name = 0;  // the cutter took it for a name's character: kNameFirst or kNameLater
    bool novel = false;  // two to four atoms, longer than every lexicon word starting at its first
    bool ascii = true;   // may hold ASCII bytes (false: its run holds none, it is given to the engine as it is)
    uint32_t sentence; // index in the result
    const UserDict::Entry *user = nullptr;  // the user word this is, if any
};

// Name marks of an item: the cutter labelled its one character as the
// first or a later character of a name it hands to the engine in characters.
constexpr uint8_t kNameFirst = 1, kNameLater = 2;

// A sentence under construction: its stretch of the work text.
struct SentenceSpan {
    uint32_t gbStart;
    uint32_t gbEnd;
};

// The state of one analysis call. Its flow (conversion by windows, lines,
// cutting, batches handed to the engine, the words emitted) is in
// analyzer.cpp; the steps that rework the engine's words after each batch,
// in the order Flush calls them, are in steps_names.cpp,
// steps_nameruns.cpp, steps_places.cpp (and JoinPlaceCompounds, in
// analyzer.cpp) and steps_words.cpp.
class Analysis {
public:
    Analysis(const Shared &shared, uint32_t flags, const UserDict *user)
        : shared_(shared), flags_(flags), user_(user) {}

    // Analyses the whole text; false only on exhaustion of memory (thrown).
    void Run(const char *text, size_t length, int charset);
    // The result, in one block the caller frees; throws on exhaustion of
    // memory.
    vsglex_result *Finish();

private:
    // Converts and analyses the caller's bytes src[0..n), which start at
    // offset `base` of the text.
    void Window(const char *src, size_t n, uint64_t base, int charset);
    // Splits the work text's line [begin, end) into sentences and cuts them.
    void Line(size_t begin, size_t end);
    // WidenAscii of the work text's bytes [at, at + length), with a lone
    // ASCII double quote in the corpus's form: an opening quote at the odd
    // and a closing quote at the even count of its line.
    size_t Widen(size_t at, size_t length, char *out) const;
    // Cuts a run of n atoms of the open sentence into items.
    void AddRun(const Atom *atoms, size_t n);
    // Ends the open sentence; hands the batch to the engine once it is
    // large enough.
    void CloseSentence();
    // Hands the pending items to the engine, runs the steps below over its
    // words and emits them.
    void Flush();
    struct Span {  // an engine word as a run of items
        size_t first, last;
        int32_t tag;
        size_t split = 0;     // place compounds: first item of the closing word
        int32_t headTag = 0;  // and the tag of the head
        bool run = false;     // a name run of the cutter's joined after the engine (JoinNameRuns)
        size_t partsAt = 0, partCount = 0;  // known compounds: their words in compoundParts_
    };
    // Adds the word of items [first, last] to the result.
    // `split`: a place compound's closing word begins at this item (its
    // pieces are the head, tagged `headTag`, and the closing word); 0: none.
    // `parts`: the words of a known compound, its pieces.
    void EmitWord(size_t first, size_t last, int32_t tag, size_t split = 0, int32_t headTag = 0,
                  const Span *parts = nullptr, size_t partCount = 0);
    // Forces the handle's user words into the cut of n atoms (ends_).
    void ApplyUserWords(const Atom *atoms, size_t n);
    // Emits an engine word, taking apart one that joins a user word with
    // others.
    void EmitEngineWord(const Span &span);
    std::vector<Span> compoundParts_;  // the words of the known compounds of a batch
    // Whether a span holds a user word or a piece of an over-long run: the
    // steps after the engine leave such spans as they are.
    // The GB text of a span's items (they touch: one stretch of the work text).
    std::string_view SpanText(const Span &s) const {
        return std::string_view(work_.gb.data() + items_[s.first].start,
                                size_t{items_[s.last].start} + items_[s.last].length - items_[s.first].start);
    }
    // The characters of items first..last without what lies between them
    // (the separating spaces of pre-cut text), copied into `buffer`.
    std::string_view ItemChars(size_t first, size_t last, std::string &buffer) const {
        buffer.clear();
        for (size_t q = first; q <= last; ++q) buffer.append(work_.gb, items_[q].start, items_[q].length);
        return buffer;
    }
    bool HoldsFixedItem(const Span &s) const {
        if (!fixedItems_) return false;
        for (size_t q = s.first; q <= s.last; ++q)
            if (items_[q].user != nullptr || items_[q].continues) return true;
        return false;
    }

    // The steps after the engine, in Flush's order; each reworks the words
    // of a batch in place.
    // Breaks up the names the engine made over white space or of marks
    // (帮助~~ (笑 taken for a person): such a name is no name of the text.
    void SplitNamesOverMarks(std::vector<Span> &spans);
    // Ends a name that took in the verb before an aspect particle before
    // that verb (普京通 了).
    void EndNamesBeforeParticles(std::vector<Span> &spans);
    // Joins the mentions of a person name found elsewhere in the text that
    // the engine passed over (盛 云龙 where 盛云龙 was found).
    void RepeatNames(std::vector<Span> &spans);
    // Joins a run of transliteration characters after a word that mostly
    // stands before foreign persons into one (总统 普 京).
    void NameAfterTitles(std::vector<Span> &spans);
    // Joins the cutter's name runs that the engine left as single plain
    // characters (象 山, 科 恩).
    void JoinNameRuns(std::vector<Span> &spans);
    // Retags as places the person names that the training days or their
    // neighbours show as places (马德里, 抵达 雅温得).
    void RetagPlaces(std::vector<Span> &spans);
    // Joins runs of words the training days bracket as one place (人民 大会堂).
    void JoinKnownCompounds(std::vector<Span> &spans);
    // Joins a place and a word that closes places after it (中亚 地区), and a
    // short new word and a place suffix (毛家 湾).
    void JoinPlaceCompounds(std::vector<Span> &spans);
    // Joins the pieces of a word the dictionary lacks that the cutter kept
    // whole elsewhere in the batch (清真 寺 where 清真寺 came twice).
    void JoinRepeatedWords(std::vector<Span> &spans);
    // Retags as places the new words this text names as places elsewhere
    // (象山 after 象山县).
    void RepeatPlaces(std::vector<Span> &spans);
    // Decides the tag of a word the dictionary lacks again from its
    // characters and its neighbours' tags.
    void RetagUnknownWords(std::vector<Span> &spans);

    // Helpers of JoinNameRuns. Whether a name run of `chars` characters at
    // w ends in an administrative unit after a stem that is no word.
    bool SuffixedPlaceRun(const char *w, size_t chars) const;
    // Tag of a name run of `chars` characters at w that the dictionary
    // lacks, from the role data.
    int32_t RunTagFromRoles(const char *w, size_t chars) const;
    // ln P(character | role) of a role of role set `code` (1 person, 2 place).
    double RoleShare(const char *ch, int code, int role) const;
    struct NewWord {  // a word the dictionary lacks, cut whole in the batch
        std::string_view text;
        uint32_t count;
        int32_t tag;  // of its last whole mention
    };
    std::vector<NewWord> newWords_;
    std::vector<bool> newWordFirsts_;  // by the first character's two bytes
    // Appends a word's text in UTF-8 to texts_: the caller's bytes
    // [offset, offset + length) where they can be kept, else the work text
    // [gbStart, gbEnd) converted.
    void AppendText(uint32_t gbStart, uint32_t gbEnd, uint64_t offset, uint32_t length);
    // A text offset kept in a `text` pointer until Finish.
    static const char *TextAt(size_t offset) { return reinterpret_cast<const char *>(static_cast<uintptr_t>(offset)); }
    // Name of a tag number, or "".
    const char *TagName(int32_t tag) const {
        return tag >= 0 && static_cast<size_t>(tag) < shared_.tagNames.size() ? shared_.tagNames[tag].c_str() : "";
    }

    const Shared &shared_;
    uint32_t flags_;  // VSGLEX_* flags of the call
    const UserDict *user_;  // null when the handle has no user words
    std::vector<const UserDict::Entry *> userMarks_;  // per word of ends_
    WorkText work_;
    const char *src_ = nullptr;  // the caller's bytes of the current stretch
    uint64_t base_ = 0;          // offset of src_ in the caller's text
    std::vector<Atom> atoms_;    // atoms of the current line
    std::vector<uint32_t> ends_;  // word ends of the cut of a run, in atoms
    CutScratch scratch_;         // the cutters' working memory
    std::string wideText_;          // a run with ASCII in full width, for the cutter
    std::vector<Atom> wideAtoms_;   // its atoms
    std::vector<Item> items_;        // items of the pending batch
    bool fixedItems_ = true;         // some item of the batch is a user word or a piece of an over-long run
    std::vector<uint32_t> cuts_;     // sentence starts within a line
    std::vector<uint32_t> closingQuotes_;  // work offsets of the ASCII double quotes that close, ascending
    bool sentenceOpen_ = false;  // a sentence was begun and not yet closed
    SentenceSpan open_{0, 0};    // that sentence
    size_t openItems_ = 0;  // words of the open sentence so far

    // Until Finish, a word's or piece's `text` holds the offset of its text
    // in texts_ (which moves as it grows).
    ChunkedArray<vsglex_word> words_;
    TextBuffer texts_;
    ChunkedArray<vsglex_sentence> sentences_;
    ChunkedArray<vsglex_part> parts_;  // corpus-granularity pieces of words
    std::vector<uint32_t> pieceCuts_;  // working memory of a word's pieces
    std::vector<bool> pieceRuns_;      // ... and which of them are a name's characters joined
    std::vector<Piece> pieces_;        // the same
    std::string compact_;              // the same: a pre-cut word's text without white space
    std::vector<uint64_t> invalid_;  // offsets of the invalid byte sequences skipped, ascending
    int charset_ = 0;                // VSGLEX_CHARSET_* of the text
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
    std::vector<NameSlot> names_;  // a power of two of slots, at most half full
    size_t nameCount_ = 0;
    static uint64_t NameHash(std::string_view text);
    // The remembered person of a name, added when new.
    RememberedPerson &RememberName(std::string_view text);
    // The remembered person of a name, or null.
    RememberedPerson *FindName(std::string_view text);
    struct Repeat {  // spans [first, last] spell a remembered name
        size_t first, last;
        RememberedPerson *name;
        bool extends;  // from a lone surname the engine tagged as a person, or a new word
                       // the cutter kept whole: taken whatever the name's misses
        bool surname;  // the former
    };
    std::vector<Repeat> repeats_;  // of a batch
    size_t longestName_ = 0;  // bytes
    std::vector<bool> nameStarts_;  // by the first character's two bytes
    std::vector<bool> nameEnds_;    // by the last character's two bytes
    // Places found in this text so far (GB text), and the stems of those
    // that end in an administrative unit (象山 of 象山县).
    struct PlaceMentions {
        uint32_t places = 0;  // times the text holds the string as a place
        uint32_t plain = 0;   // times as a new plain word that could take it
        bool stem = false;    // the stem of a place with a unit suffix
    };
    std::unordered_map<std::string, PlaceMentions> places_;
    // Words that spell a remembered place, with that place's mentions.
    std::vector<std::pair<Span *, const PlaceMentions *>> placeRepeats_;
    std::vector<bool> placeFirsts_;  // by the first character's two bytes
};

// Helpers of steps in several files.
// The administrative units among the one-character place suffixes: the stem of such a place is its
// short name (象山 of 象山县, 信宜 of 信宜市), while the stem of a village
// or a feature of the land is often a common word (花灯 of 花灯村, 牛头 of
// 牛头山).
inline constexpr char kUnitSuffixes[] = "\xca\xa1\xca\xd0\xcf\xd8\xc7\xf8\xcf\xe7\xd5\xf2";  // 省市县区乡镇

inline constexpr GbCharSet kUnitSuffixSet{kUnitSuffixes};

// Whether the character at p is one of kUnitSuffixes.
inline bool UnitSuffix(const char *p) { return kUnitSuffixSet.Has(p); }

// Last characters that make a word of two characters that the dictionary
// lacks a place by themselves: of the corpus words of two characters that
// end in 县 or 州 and that the other three weeks never show, 103 of 117 are
// places (most others are words the whole corpus knows: 该州, 本县, 邻县);
// 区 市 乡 镇 end as many such words that are no place (产区, 债市, 侨乡,
// 本镇). Words of three characters are left alone: those the cutter makes
// on raw text are mostly its own mistakes (持有市, 基地县).
inline constexpr char kPairUnitSuffixes[] = "\xcf\xd8\xd6\xdd";  // 县州
inline constexpr GbCharSet kPairUnitSuffixSet{kPairUnitSuffixes};

// One-character words that end a place name after an unknown stem (毛家 湾,
// 赞皇 县): administrative units and features of the land.
inline constexpr char kStemSuffixes[] =
    "\xca\xa1\xca\xd0\xcf\xd8\xc7\xf8\xcf\xe7\xd5\xf2\xb4\xe5\xcd\xcd\xd7\xaf\xd5\xaf"  // 省市县区乡镇村屯庄寨
    "\xba\xd3\xbd\xad\xba\xfe\xcd\xe5\xb5\xba\xc9\xbd\xc1\xeb\xb7\xe5\xcf\xbf\xcf\xaa"  // 河江湖湾岛山岭峰峡溪
    "\xb8\xdb\xd6\xdd";                                                                   // 港州

inline constexpr GbCharSet kStemSuffixSet{kStemSuffixes};

inline bool StemSuffix(const char *word, size_t length) { return length == 2 && kStemSuffixSet.Has(word); }

// Whether the core dictionary holds the GB word with a part-of-speech row.
// The lexicon holds every such word but short person words, in a table the
// cutter keeps warm, so only the words it lacks are asked of the engine's
// index (reading each word's entry cost the unknown-word tags 8% of an
// analysis).
inline bool KnownWord(const Shared &shared, const char *word, size_t length) {
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
inline bool ShortChineseWord(const char *text, size_t length) {
    return (length == 4 || length == 6) && IsGb2312ChineseText(text, length);
}

}  // namespace vsg::front

#endif  // VSGLEX_SRC_FRONT_ANALYSIS_H
