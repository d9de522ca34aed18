// Affix dictionaries: a key (a word, or two words joined by "@") mapped to
// one value, hashed into count + 100 buckets; and the word-to-word
// transition costs read from a pair table with a single-word fallback.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "model/loaders.h"
#include "model/model_io.h"
#include "vsglex/model.h"

using vsg::model::BinaryReader;
using vsg::model::BinaryWriter;
using vsg::model::File;
using vsg::model::OpenFile;
using vsg::model::Scratch;

namespace {

constexpr int kLineBytes = 128;
constexpr int32_t kExtraBuckets = 100;
// Smallest binary entry: length, value, hash.
constexpr uint64_t kMinEntryBytes = 4 + 4 + 4;
constexpr uint64_t kBucketBytes = 8;
// Cost of a transition that neither table knows.
constexpr double kUnseenTransition = 11.0285;
// Longest text taken from a word record (its text field).
constexpr size_t kRecordText = sizeof(SpanWord::text);

// Reads the next line that carries an entry: line ends cut, empty lines and
// lines of a single space skipped. False at end of file.
bool ReadEntryLine(char (&line)[kLineBytes], FILE *fp) {
    while (vsg::model::ReadLine(line, fp)) {
        vsg::model::TrimLineEnd(line);
        if (line[0] == '\0' || std::strcmp(line, " ") == 0) continue;
        return true;
    }
    return false;
}

// Loading pass: returns the number of entries filled, -1 when there are
// more than the counting pass saw, kLoadPassNoMemory when memory runs out.
int64_t LoadEntries(FILE *fp, Dictionary *dict) {
    const uint32_t buckets = static_cast<uint32_t>(dict->count) + kExtraBuckets;
    int64_t loaded = 0;
    char line[kLineBytes];
    while (ReadEntryLine(line, fp)) {
        char key[kLineBytes] = "";
        float value = 0;
        std::sscanf(line, "%s %f", key, &value);
        if (key[0] == '\0') continue;
        if (loaded >= dict->count) return -1;
        DictEntry &entry = dict->entries[loaded];
        const size_t length = std::strlen(key);
        entry.word = vsg::model::CopyWord(key, length);
        if (entry.word == nullptr) return vsg::model::kLoadPassNoMemory;
        entry.length = static_cast<int32_t>(length);
        entry.value = value;
        entry.hash = static_cast<int32_t>(VSGHash1(entry.word, buckets));
        ++loaded;
    }
    return loaded;
}

// Reads one binary entry: word, value, hash.
bool ReadEntry(BinaryReader &in, DictEntry &entry) {
    if (!vsg::model::ReadWord(in, &entry.word, &entry.length)) return false;
    float value = 0;
    if (!in.Float(&value)) return false;
    entry.value = value;
    return in.I32(&entry.hash);
}

// Text a word record contributes to a key: its class word when set, else
// its text; bounded by the field even when it is not terminated.
std::string_view RecordText(const SpanWord &w) {
    if (w.classText[0] != '\0') return {w.classText, strnlen(w.classText, sizeof w.classText)};
    return {w.text, strnlen(w.text, sizeof w.text)};
}

// The transition rule over texts A and B given with their lengths.
double Transition(const char *a, size_t aLength, const char *b, size_t bLength,
                  const Dictionary *pair) {
    // Texts come from word records (at most 127 bytes each); a longer key
    // cannot be built and counts as absent from the pair table.
    char key[2 * kRecordText + 2];
    char first[sizeof key];
    const Dictionary *pairTable = pair;
    const Dictionary *singleTable = pair != nullptr ? pair + 1 : nullptr;
    if (aLength + 1 + bLength < sizeof key) {
        std::memcpy(key, a, aLength);
        key[aLength] = '@';
        std::memcpy(key + aLength + 1, b, bLength);
        key[aLength + 1 + bLength] = '\0';
        const double v = Dictionary_GetValue(key, pairTable);
        if (!(v <= 0)) return v;
    }
    if (aLength < sizeof first) {
        std::memcpy(first, a, aLength);
        first[aLength] = '\0';
        const double u = Dictionary_GetValue(first, singleTable);
        if (!(u <= 0)) return u;
    }
    return kUnseenTransition;
}

}  // namespace

extern "C" {

int ComparePos(const void *a, const void *b) { return vsg::model::CompareHash<DictEntry>(a, b); }

}  // extern "C"

namespace vsg::model {

LoadFault LoadAffixText(const char *path, Dictionary *dict) noexcept {
    File fp;
    if (const LoadFault open = OpenForLoad(path, "r", dict, Dictionary_Free, fp); open != LoadFault::kNone)
        return open;

    const auto countLines = [](FILE *f) {
        int64_t lines = 0;
        char line[kLineBytes];
        while (ReadEntryLine(line, f)) ++lines;
        return lines;
    };
    const LoadFault fault = ReadTextEntries(fp, path, INT32_MAX - kExtraBuckets, dict->entries, dict->count,
                                            countLines, [dict](FILE *f) { return LoadEntries(f, dict); });
    if (fault != LoadFault::kNone) return fault;

    SortByHash(dict->entries, dict->count);
    const int32_t bucketCount = dict->count + kExtraBuckets;
    dict->buckets = static_cast<DictBucket *>(std::malloc(sizeof(DictBucket) * bucketCount));
    if (dict->buckets == nullptr) return LoadFault::kNoMemory;
    FillBuckets(dict->buckets, static_cast<size_t>(bucketCount), dict->entries, dict->count);
    return LoadFault::kNone;
}

LoadFault LoadAffixBinary(const char *path, Dictionary *dict) noexcept {
    if (dict == nullptr) return LoadFault::kNoRecord;
    File fp = OpenFile(path, "rb");
    if (!fp) return LoadFault::kCannotOpen;
    Scratch scratch;
    if (!scratch) return LoadFault::kNoMemory;
    Dictionary_Free(dict);

    BinaryReader in(fp.get(), scratch.bytes);
    if (const LoadFault version = ReadVersion(in); version != LoadFault::kNone) return version;
    int32_t count = 0;
    if (!in.I32(&count)) return LoadFault::kDamaged;
    // Each entry takes at least kMinEntryBytes and adds one bucket; 100
    // more buckets follow.
    const uint64_t fixed = kExtraBuckets * kBucketBytes;
    if (count < 0 || count > INT32_MAX - kExtraBuckets || in.left() < fixed ||
        static_cast<uint64_t>(count) > (in.left() - fixed) / (kMinEntryBytes + kBucketBytes))
        return LoadFault::kDamaged;
    dict->count = count;
    dict->entries =
        static_cast<DictEntry *>(std::calloc(static_cast<size_t>(count) + 1, sizeof(DictEntry)));
    if (dict->entries == nullptr) return LoadFault::kNoMemory;
    for (int32_t i = 0; i < count; ++i)
        if (!ReadEntry(in, dict->entries[i])) return LoadFault::kDamaged;

    const int32_t bucketCount = count + kExtraBuckets;
    dict->buckets = static_cast<DictBucket *>(std::malloc(sizeof(DictBucket) * bucketCount));
    if (dict->buckets == nullptr) return LoadFault::kNoMemory;
    return ReadBuckets(in, dict->buckets, static_cast<size_t>(bucketCount), count) ? LoadFault::kNone
                                                                                   : LoadFault::kDamaged;
}

}  // namespace vsg::model

extern "C" {

int32_t Dictionary_Load(const char *path, Dictionary *dict) {
    return vsg::model::AnswerTextLoad(vsg::model::LoadAffixText(path, dict), path);
}

int32_t Dictionary_LoadBinary(const char *path, Dictionary *dict) {
    return vsg::model::AnswerBinaryLoad(vsg::model::LoadAffixBinary(path, dict));
}

int32_t Dictionary_SaveBinary(const char *path, const Dictionary *dict) {
    if (dict == nullptr || dict->count < 0 || dict->count > INT32_MAX - kExtraBuckets ||
        dict->buckets == nullptr || (dict->count > 0 && dict->entries == nullptr))
        return -1;
    for (int32_t i = 0; i < dict->count; ++i)
        if (dict->entries[i].word == nullptr || dict->entries[i].length < 0) return -1;
    Scratch scratch;
    if (!scratch) return -1;
    File fp = OpenFile(path, "wb");
    if (!fp) return -1;

    BinaryWriter out(fp.get(), scratch.bytes);
    out.U32(vsg::model::kBinaryVersion);
    out.I32(dict->count);
    for (int32_t i = 0; i < dict->count; ++i) {
        const DictEntry &e = dict->entries[i];
        out.I32(e.length);
        out.Bytes(e.word, static_cast<size_t>(e.length));
        out.Float(static_cast<float>(e.value));
        out.I32(e.hash);
    }
    vsg::model::WriteBuckets(out, dict->buckets, static_cast<size_t>(dict->count) + kExtraBuckets);
    return out.Finish(fp) ? 1 : -1;
}

double Dictionary_GetValue(const char *word, const Dictionary *dict) {
    if (dict == nullptr || word == nullptr || word[0] == '\0') return -1.0;
    if (dict->buckets == nullptr || dict->entries == nullptr || dict->count < 0 ||
        dict->count > INT32_MAX - kExtraBuckets)
        return -1.0;
    const uint32_t h = VSGHash1(word, static_cast<uint32_t>(dict->count) + kExtraBuckets);
    const int32_t at = vsg::model::FindInBucket(dict->buckets[h], dict->entries, dict->count, word);
    return at >= 0 ? dict->entries[at].value : -1.0;
}

double GetTransitionProb0(const char *a, const char *b, const Dictionary *pair) {
    if (a == nullptr) a = "";
    if (b == nullptr) b = "";
    return Transition(a, std::strlen(a), b, std::strlen(b), pair);
}

double GetTransitionProb1(const SpanWord *x, const SpanWord *y, const Dictionary *pair) {
    if (x == nullptr || y == nullptr) return -1.0;
    const std::string_view a = RecordText(*x);
    const std::string_view b = RecordText(*y);
    return Transition(a.data(), a.size(), b.data(), b.size(), pair);
}

void Dictionary_Free(Dictionary *dict) {
    if (dict == nullptr) return;
    if (dict->entries != nullptr) {
        for (int32_t i = 0; i < dict->count; ++i) {
            std::free(dict->entries[i].word);
            dict->entries[i].word = nullptr;
        }
        std::free(dict->entries);
        dict->entries = nullptr;
    }
    std::free(dict->buckets);
    dict->buckets = nullptr;
}

}  // extern "C"
