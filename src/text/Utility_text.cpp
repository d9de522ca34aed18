// Sentence splitting, character-aligned string helpers, line and field
// readers, and the word-record copy helpers.
#include <cctype>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <unordered_map>

#include "common/gb_lists.h"
#include "common/sentences.h"
#include "text/text_internal.h"
#include "vsglex/utility.h"

using namespace vsg::text;

// Hosts walk these arrays, so their layouts are fixed.
static_assert(sizeof(SentenceEntry) == 24, "SentenceEntry size");
static_assert(offsetof(SentenceEntry, offset) == 8, "SentenceEntry.offset");
static_assert(offsetof(SentenceEntry, sentence) == 12, "SentenceEntry.sentence");
static_assert(offsetof(SentenceEntry, paragraph) == 16, "SentenceEntry.paragraph");
static_assert(sizeof(PartEntry) == 16, "PartEntry size");
static_assert(offsetof(PartEntry, flag) == 8, "PartEntry.flag");

namespace {

// Capacities of the sentence arrays TEXT_GetSens allocated, by array address.
// The list record hosts see holds only the array and the count, so a list a
// host builds itself (items and count) is appended to as given, and only the
// library's own arrays are guarded against overflow.
class SentenceArrays {
public:
    void Add(const SentenceEntry *items, size_t capacity) {
        std::lock_guard<std::mutex> lock(mutex_);
        capacities_[items] = capacity;
    }
    void Remove(const SentenceEntry *items) {
        std::lock_guard<std::mutex> lock(mutex_);
        capacities_.erase(items);
    }
    // Capacity of a library array; 0 for an array the library did not make.
    size_t Capacity(const SentenceEntry *items) {
        std::lock_guard<std::mutex> lock(mutex_);
        const auto it = capacities_.find(items);
        return it != capacities_.end() ? it->second : 0;
    }

private:
    std::mutex mutex_;
    std::unordered_map<const SentenceEntry *, size_t> capacities_;
};

SentenceArrays &LibraryArrays() {
    static SentenceArrays *arrays = new SentenceArrays;  // outlives static destructors
    return *arrays;
}

// Saves bytes [from, to) of a text as one sentence (of at most kSentenceMax
// bytes, as the splitter reports them).
void SaveSentence(const char *text, long from, long to, uint32_t offset, uint32_t sentenceNo,
                  uint32_t paragraphNo, SentenceList *list) {
    char buf[vsg::sentences::kSentenceMax + 1];
    const long len = to - from;
    std::memcpy(buf, text + from, static_cast<size_t>(len));
    buf[len] = '\0';
    TEXT_SaveSenResult(buf, offset, sentenceNo, paragraphNo, list);
}

bool IsFieldSeparator(unsigned b) { return b == ' ' || b == '\t' || b == '\n' || b == '\r'; }

// Splits a line into at most `max` tokens separated by single separator
// bytes; a second separator in a row or the end of the line ends the
// reading. lengths[k] is the byte length of token k (0 for an empty first
// token, i.e. a line starting with a separator). Returns the tokens read.
int ReadFieldLengths(const char *line, size_t *lengths, int max) {
    int count = 0;
    size_t p = 0;
    while (count < max) {
        size_t len = 0;
        while (line[p + len] != '\0' && !IsFieldSeparator(Byte(line, p + len))) ++len;
        if (len == 0 && count > 0) break;  // a second separator, or the end
        if (len == 0 && line[p] == '\0') break;
        lengths[count++] = len;
        p += len;
        if (line[p] == '\0') break;
        ++p;  // the separator
    }
    return count;
}

// Copies the first `len` bytes of `src` into `dst` and terminates it.
void CopyPrefix(char *dst, const char *src, size_t len) {
    std::memcpy(dst, src, len);
    dst[len] = '\0';
}

// Decimal value of the first `len` (1-127) bytes of the line.
int32_t PrefixNumber(const char *line, size_t len) {
    char buf[128];
    CopyPrefix(buf, line, len);
    return static_cast<int32_t>(std::strtol(buf, nullptr, 10));
}

// Heap copy of `len` bytes of `src`.
char *DupBytes(const char *src, size_t len) {
    char *p = static_cast<char *>(std::malloc(len + 1));
    if (p != nullptr) CopyPrefix(p, src, len);
    return p;
}

// Copies a string field of a SpanWord, bounded by its size.
template <size_t N>
void CopyField(char (&dst)[N], const char (&src)[N]) {
    const size_t len = strnlen(src, N - 1);
    std::memmove(dst, src, len);
    dst[len] = '\0';
}

}  // namespace

extern "C" {

// ---- word records --------------------------------------------------------

uint32_t GetResultCount(const SpanWord *array) {
    if (array == nullptr) return 0;
    uint32_t n = 0;
    while (n < VSG_SPAN_WORDS && array[n].text[0] != '\0') ++n;
    return n;
}

void InitPWORDRESULT(SpanWord *array, int32_t n) {
    if (array == nullptr) return;
    for (int32_t i = 0; i < n; ++i) {
        SpanWord &w = array[i];
        std::memset(w.text, 0, sizeof w.text);
        std::memset(w.classText, 0, sizeof w.classText);
        w.weight = 0.0;
        w.tag = -1;
        w.offset = 0;
        w.state = 0;
    }
}

void CopyWordResult0(SpanWord *dst, const SpanWord *src) {
    if (dst == nullptr || src == nullptr || dst == src) return;
    CopyField(dst->text, src->text);
    CopyField(dst->classText, src->classText);
    dst->weight = src->weight;
    dst->frequency = src->frequency;
    dst->tag = src->tag;
    dst->offset = src->offset;
    dst->state = src->state;
    dst->sentence = src->sentence;
    dst->extra = src->extra;
    dst->id = src->id;
    dst->posCount = src->posCount;
    std::memcpy(dst->stats, src->stats, sizeof dst->stats);
    dst->posList = src->posList;
    dst->source = src->source;
    dst->reserved[0] = src->reserved[0];
    dst->reserved[1] = src->reserved[1];
}

uint32_t CopyWordResultA(SpanWord *dst, const SpanWord *src) {
    if (dst == nullptr || src == nullptr) return 0;
    uint32_t skipped = 0;
    int j = 0;
    // At most VSG_SPAN_WORDS - 1 words, so the end record fits in the array.
    for (int i = 0; i < VSG_SPAN_WORDS - 1 && src[i].text[0] != '\0'; ++i) {
        if (src[i].state == VSG_STATE_MERGED) {
            skipped = 1;
            continue;
        }
        CopyWordResult0(&dst[j], &src[i]);
        ++j;
    }
    dst[j].text[0] = '\0';
    return skipped;
}

// ---- sentences -----------------------------------------------------------

int32_t TEXT_SaveSenResult(const char *sentence, uint32_t offset, uint32_t sentenceNo, uint32_t paragraphNo,
                           SentenceList *list) {
    if (list == nullptr || sentence == nullptr) return -1;
    if (list->items == nullptr || list->count < 0) return -1;
    const size_t capacity = LibraryArrays().Capacity(list->items);
    if (capacity != 0 && static_cast<size_t>(list->count) >= capacity) return -1;
    char *copy = DupBytes(sentence, std::strlen(sentence));
    if (copy == nullptr) return -1;
    SentenceEntry &e = list->items[list->count];
    e.text = copy;
    e.offset = offset;
    e.sentence = sentenceNo;
    e.paragraph = paragraphNo;
    ++list->count;
    return 1;
}

int32_t TEXT_SaveSens(const char *paragraph, uint32_t offset, uint32_t paragraphNo, SentenceList *list) {
    if (paragraph == nullptr || list == nullptr) return -1;
    const long m = static_cast<long>(std::strlen(paragraph));
    vsg::sentences::SplitParagraph(paragraph, m, [&](long from, long to, uint32_t sentenceNo) {
        SaveSentence(paragraph, from, to, offset + static_cast<uint32_t>(from), sentenceNo, paragraphNo, list);
    });
    return 1;
}

uint32_t TEXT_GetSensNum(const char *text) {
    if (text == nullptr) return 0;
    const size_t n = std::strlen(text);
    uint32_t count = 0;
    for (size_t i = 0; i < n;) {
        const unsigned b = Byte(text, i);
        if (IsLeadByte(b)) {
            if (vsg::sentences::IsWideMark(kSentenceCountMarks, text + i)) ++count;
            i += 2;
        } else {
            if (std::strchr("!?|;:.,", static_cast<int>(b)) != nullptr) ++count;
            ++i;
        }
    }
    return count;
}

SentenceList *TEXT_GetSens(const char *text) {
    if (text == nullptr || text[0] == '\0') return nullptr;
    const long n = static_cast<long>(std::strlen(text));
    auto *list = static_cast<SentenceList *>(std::malloc(sizeof(SentenceList)));
    if (list == nullptr) return nullptr;
    const size_t capacity = TEXT_GetSensNum(text) + static_cast<size_t>(n) / 512 + 128;
    list->items = static_cast<SentenceEntry *>(std::calloc(capacity, sizeof(SentenceEntry)));
    list->count = 0;
    if (list->items == nullptr) return list;
    try {
        LibraryArrays().Add(list->items, capacity);
    } catch (...) {
        std::free(list->items);
        list->items = nullptr;
        return list;
    }

    vsg::sentences::SplitText(text, n, [&](long from, long to, uint32_t sentenceNo, uint32_t paragraphNo) {
        SaveSentence(text, from, to, static_cast<uint32_t>(from), sentenceNo, paragraphNo, list);
    });
    return list;
}

void TEXT_SensResultFree(SentenceList *list) {
    if (list == nullptr) return;
    if (list->items != nullptr) {
        LibraryArrays().Remove(list->items);
        for (int32_t i = 0; i < list->count; ++i) std::free(list->items[i].text);
    }
    std::free(list->items);
    std::free(list);
}

// ---- characters and positions -------------------------------------------

int32_t TEXT_GetWordsNum(const char *text) {
    if (text == nullptr) return -1;
    const size_t n = std::strlen(text);
    int32_t count = 0;
    for (size_t i = 0; i < n; i += IsLeadByte(Byte(text, i)) ? 2 : 1) ++count;
    return count;
}

int32_t TEXT_PosConvert(const char *text, int32_t n) {
    if (text == nullptr || n < 0) return -1;
    if (n == 0) return 0;
    const size_t len = std::strlen(text);
    size_t i = 0;
    int32_t k = 0;
    while (k < n && i < len) {
        i += IsLeadByte(Byte(text, i)) ? 2 : 1;
        ++k;
    }
    if (k < n) return -1;
    return static_cast<int32_t>(i < len ? i : len);
}

char *TEXT_GetHead(const char *text, const char *needle) {
    if (text == nullptr || needle == nullptr) return nullptr;
    const char *hit = std::strstr(text, needle);
    if (hit == nullptr) return nullptr;
    const size_t whole = std::strlen(text);
    char *head = static_cast<char *>(std::malloc(whole + 1));
    if (head != nullptr) CopyPrefix(head, text, static_cast<size_t>(hit - text));
    return head;
}

// ---- strings -------------------------------------------------------------

char *mystrstr(const char *text, const char *sub) {
    if (text == nullptr || sub == nullptr) return nullptr;
    const size_t lt = std::strlen(text);
    const size_t ls = std::strlen(sub);
    if (ls > lt) return nullptr;
    for (size_t i = 0; i + ls <= lt; i += IsLeadByte(Byte(text, i)) ? 2 : 1)
        if (std::memcmp(text + i, sub, ls) == 0) return const_cast<char *>(text + i);
    return nullptr;
}

uint32_t GetPartCount(const char *text, const char *sep) {
    if (text == nullptr || sep == nullptr || sep[0] == '\0') return 0;
    const char *hit = mystrstr(text, sep);
    if (hit == nullptr) return 0;
    const size_t ls = std::strlen(sep);
    uint32_t count = 1;
    // Later separators are found byte-wise.
    while ((hit = std::strstr(hit + ls, sep)) != nullptr) ++count;
    return count;
}

PartList *GetPartResult(const char *text, const char *sep) {
    if (text == nullptr || sep == nullptr) return nullptr;
    const uint32_t seps = GetPartCount(text, sep);
    auto *list = static_cast<PartList *>(std::malloc(sizeof(PartList)));
    if (list == nullptr) return nullptr;
    list->count = 0;
    list->items = static_cast<PartEntry *>(std::calloc(seps + 10, sizeof(PartEntry)));
    if (list->items == nullptr) return list;
    auto add = [list](const char *from, size_t len) {
        char *piece = DupBytes(from, len);
        if (piece == nullptr) return;
        list->items[list->count].text = piece;
        list->items[list->count].flag = 0;
        ++list->count;
    };
    if (seps == 0) {
        add(text, std::strlen(text));
        return list;
    }
    const size_t ls = std::strlen(sep);
    const char *from = text;
    const char *hit = mystrstr(text, sep);
    while (hit != nullptr) {
        if (hit > from) add(from, static_cast<size_t>(hit - from));
        from = hit + ls;
        hit = std::strstr(from, sep);
    }
    if (*from != '\0') add(from, std::strlen(from));
    return list;
}

void PartResult_Free(PartList *list) {
    if (list == nullptr) return;
    if (list->items != nullptr)
        for (int32_t i = 0; i < list->count; ++i) std::free(list->items[i].text);
    std::free(list->items);
    std::free(list);
}

uint32_t MaxPrefix(const char *a, const char *b) {
    if (a == nullptr || b == nullptr) return 0;
    uint32_t n = 0;
    while (a[n] != '\0' && a[n] == b[n]) ++n;
    return n;
}

void Delect_kong(char *text) {
    if (text == nullptr) return;
    char *out = text;
    for (const char *in = text; *in != '\0'; ++in)
        if (*in != ' ') *out++ = *in;
    *out = '\0';
}

int32_t Delimiter2DictFormat(const char *ch, char *out) {
    // Full-width forms in 3-byte slots, directly followed by the ASCII list
    // whose index selects the slot.
    struct DelimiterTable {
        char wide[16][3];
        char ascii[17];
    };
    static constexpr DelimiterTable kTable = [] {
        DelimiterTable t{};
        for (int k = 0; k < 16; ++k) {
            t.wide[k][0] = kWideDelimiters[2 * k];
            t.wide[k][1] = kWideDelimiters[2 * k + 1];
            t.wide[k][2] = '\0';
        }
        const char ascii[] = ".,;:?!%(){+}[]/=";
        for (int k = 0; k < 17; ++k) t.ascii[k] = ascii[k];
        return t;
    }();
    if (ch == nullptr || out == nullptr) return 0;
    if (ch[0] != '\0' && ch[1] == '\0') {
        const char *hit = std::strchr(kTable.ascii, ch[0]);
        if (hit != nullptr) {
            std::memcpy(out, kTable.wide[hit - kTable.ascii], 3);
            return 1;
        }
    }
    Getchar(ch, out);  // the character itself (at most 3 bytes)
    return 0;
}

char *sgets(const char *text, char *line) {
    if (text == nullptr || line == nullptr) return nullptr;
    const char *lf = std::strchr(text, '\n');
    if (lf == nullptr) {
        CopyPrefix(line, text, std::strlen(text));
        return nullptr;
    }
    CopyPrefix(line, text, static_cast<size_t>(lf - text));
    return const_cast<char *>(lf + 1);
}

int32_t my_sscanf(const char *line, char *word, int32_t *number) {
    if (line == nullptr || word == nullptr) return -1;
    size_t len[2];
    const int tokens = ReadFieldLengths(line, len, 2);
    if (tokens >= 1 && len[0] > 0 && len[0] <= 127) CopyPrefix(word, line, len[0]);
    // The number is read from the start of the line, over the second
    // token's length.
    if (tokens >= 2 && len[1] >= 1 && len[1] <= 127 && number != nullptr) *number = PrefixNumber(line, len[1]);
    return 1;
}

int32_t my_sscanfA(const char *line, char *ch, char *word, int32_t *number) {
    if (line == nullptr || word == nullptr) return -1;
    size_t len[3];
    const int tokens = ReadFieldLengths(line, len, 3);
    if (tokens >= 1 && len[0] == 1 && ch != nullptr) *ch = line[0];
    // Word and number are read from the start of the line, over the second
    // and third tokens' lengths.
    if (tokens >= 2 && len[1] >= 1 && len[1] <= 127) CopyPrefix(word, line, len[1]);
    if (tokens >= 3 && len[2] >= 1 && len[2] <= 127 && number != nullptr) *number = PrefixNumber(line, len[2]);
    return 1;
}

int32_t GetXMLItemValue(const char *text, const char *name, char *value) {
    if (text == nullptr || name == nullptr || value == nullptr) return 0;
    const size_t ln = std::strlen(name);
    char needle[256];
    if (ln + 3 > sizeof needle) return 0;  // the tag buffer holds "</" name NUL
    CopyPrefix(needle, name, ln);
    needle[ln] = '>';
    needle[ln + 1] = '\0';
    const char *open = std::strstr(text, needle);
    if (open == nullptr) return 0;
    const char *start = open + ln + 1;
    needle[0] = '<';
    needle[1] = '/';
    CopyPrefix(needle + 2, name, ln);
    const char *close = std::strstr(start, needle);
    const size_t len = close != nullptr ? static_cast<size_t>(close - start) : std::strlen(start);
    std::memmove(value, start, len);
    value[len] = '\0';
    return 1;
}

}  // extern "C"
