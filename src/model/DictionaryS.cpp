// The core dictionary: every known word with its candidate rows and four
// statistics, hashed into 150,000 buckets. Loaded from a text file of
// records (header line, then one line per row) or from its binary form.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "common/gbtext.h"
#include "model/loaders.h"
#include "model/model_io.h"
#include "vsglex/model.h"

using vsg::model::BinaryReader;
using vsg::model::BinaryWriter;
using vsg::model::BytesLeft;
using vsg::model::File;
using vsg::model::OpenFile;
using vsg::model::ReadLine;
using vsg::model::Scratch;

extern "C" {
int32_t gTaIndexNum = 4468;
}

namespace {

constexpr int kLineBytes = 128;
// Smallest binary entry: length, posCount, four stats, hash, flag.
constexpr uint64_t kMinEntryBytes = 4 + 4 + 16 + 4 + 4;
constexpr uint64_t kRowBytes = 2 + 1 + 4 + 4;
constexpr uint64_t kBucketBytes = static_cast<uint64_t>(DICTS_BUCKETS) * 8;

// Counting pass: one record per header line, skipping the row lines its
// row count announces. Empty and malformed header lines count too.
int64_t CountRecords(FILE *fp) {
    int64_t records = 0;
    char line[kLineBytes];
    while (ReadLine(line, fp)) {
        char word[kLineBytes] = "";
        int rows = 0;
        float first = 0;
        std::sscanf(line, "%s %d %f", word, &rows, &first);
        char skipped[kLineBytes];
        for (int i = 0; i < rows && ReadLine(skipped, fp); ++i) {
        }
        ++records;
        if (std::feof(fp)) break;
    }
    return records;
}

// Reads the rows of one entry. `code` carries over from the row before,
// so a row line without a number repeats it. False when the file ends
// before every row was read.
bool ReadRows(FILE *fp, DictSEntry &entry, int &code) {
    char line[kLineBytes];
    for (int32_t r = 0; r < entry.posCount; ++r) {
        if (!ReadLine(line, fp)) return false;
        int sub = 255;
        float value = 0;
        std::sscanf(line, "%d %d %f", &code, &sub, &value);
        DictSRow &row = entry.posList[r];
        row.code = static_cast<uint16_t>(code);
        row.subCode = static_cast<uint8_t>(sub);
        row.value = value;
        row.flag = 1;
    }
    return true;
}

// Loading pass: fills up to dict->count entries; returns how many were
// loaded, -1 when the file is truncated, kLoadPassNoMemory when memory runs
// out.
int64_t LoadRecords(FILE *fp, DictionaryS *dict) {
    const uint64_t fileBytes = BytesLeft(fp);
    int64_t loaded = 0;
    int code = 0;
    char line[kLineBytes];
    while (ReadLine(line, fp)) {
        vsg::model::TrimLineEnd(line);
        char word[kLineBytes] = "";
        int rows = 0;
        float stats[4] = {0, 0, 0, 0};
        std::sscanf(line, "%s %d %f %f %f %f", word, &rows, &stats[0], &stats[1], &stats[2],
                    &stats[3]);
        if (word[0] == '\0' || rows < 1) continue;
        // More records than the counting pass saw (the file changed), or
        // more rows than the file has bytes (it is truncated).
        if (loaded >= dict->count || static_cast<uint64_t>(rows) > fileBytes) return -1;
        DictSEntry &entry = dict->entries[loaded];
        const size_t length = std::strlen(word);
        entry.word = vsg::model::CopyWord(word, length);
        if (entry.word == nullptr) return vsg::model::kLoadPassNoMemory;
        entry.length = static_cast<int32_t>(length);
        entry.posCount = rows;
        std::memcpy(entry.stats, stats, sizeof stats);
        entry.flag = 1;
        entry.posList = static_cast<DictSRow *>(
            std::calloc(static_cast<size_t>(rows) + 1, sizeof(DictSRow)));
        if (entry.posList == nullptr) return vsg::model::kLoadPassNoMemory;
        if (!ReadRows(fp, entry, code)) return -1;
        entry.hash = static_cast<int32_t>(VSGHash(entry.word, DICTS_BUCKETS));
        ++loaded;
    }
    return loaded;
}

// Allocates the bucket table and records the runs of the sorted entries;
// for the core dictionary file also the class-word positions.
bool BuildBuckets(DictionaryS *dict, bool isCoreFile) {
    dict->buckets = static_cast<DictBucket *>(std::malloc(sizeof(DictBucket) * DICTS_BUCKETS));
    if (dict->buckets == nullptr) return false;
    vsg::model::FillBuckets(dict->buckets, DICTS_BUCKETS, dict->entries, dict->count);
    if (!isCoreFile) return true;
    for (int32_t i = 0; i < dict->count; ++i) {
        const char *word = dict->entries[i].word;
        if (std::strcmp(word, vsg::kOtherClass) == 0) gTaIndexNum = i;
        if (std::strcmp(word, vsg::kPersonClass) == 0) dict->personIndex = i;
        if (std::strcmp(word, vsg::kPlaceClass) == 0) dict->placeIndex = i;
        if (std::strcmp(word, vsg::kOrgClass) == 0) dict->orgIndex = i;
    }
    return true;
}

// A class-word position read from a file: an entry position, or 0/-1 for
// a class word the dictionary does not hold.
bool PositionValid(int32_t pos, int32_t count) { return pos == -1 || pos == 0 || (pos > 0 && pos < count); }

// Reads one binary entry: word, rows, statistics, hash and flag.
bool ReadEntry(BinaryReader &in, DictSEntry &entry) {
    if (!vsg::model::ReadWord(in, &entry.word, &entry.length)) return false;
    int32_t rows = 0;
    if (!in.I32(&rows) || rows < 0 || static_cast<uint64_t>(rows) * kRowBytes > in.left()) return false;
    const unsigned char *stats = in.Next(sizeof entry.stats);
    if (stats == nullptr) return false;
    for (size_t k = 0; k < 4; ++k) entry.stats[k] = BinaryReader::BigFloat(stats + 4 * k);
    entry.posList =
        static_cast<DictSRow *>(std::calloc(static_cast<size_t>(rows) + 1, sizeof(DictSRow)));
    if (entry.posList == nullptr) return false;
    entry.posCount = rows;
    // A row is code (2 bytes), sub-code (1), value (4) and flag (4), decoded
    // from one read.
    for (int32_t r = 0; r < rows; ++r) {
        const unsigned char *at = in.Next(kRowBytes);
        if (at == nullptr) return false;
        DictSRow &row = entry.posList[r];
        row.code = BinaryReader::Little16(at);
        row.subCode = at[2];
        row.value = BinaryReader::BigFloat(at + 3);
        row.flag = BinaryReader::Little32(at + 7);
    }
    const unsigned char *tail = in.Next(8);
    if (tail == nullptr) return false;
    entry.hash = static_cast<int32_t>(BinaryReader::Little32(tail));
    entry.flag = static_cast<int32_t>(BinaryReader::Little32(tail + 4));
    return true;
}

}  // namespace

extern "C" {

int CompareDictSPos(const void *a, const void *b) { return vsg::model::CompareHash<DictSEntry>(a, b); }

}  // extern "C"

namespace vsg::model {

LoadFault LoadCoreText(const char *path, DictionaryS *dict) noexcept {
    // A record that failed an earlier load still owns its partial tables:
    // they are released first.
    File fp;
    if (const LoadFault open = OpenForLoad(path, "r", dict, DictionaryS_Free, fp); open != LoadFault::kNone)
        return open;

    const LoadFault fault = ReadTextEntries(fp, path, INT32_MAX, dict->entries, dict->count, CountRecords,
                                            [dict](FILE *f) { return LoadRecords(f, dict); });
    if (fault != LoadFault::kNone) return fault;

    SortByHash(dict->entries, dict->count);
    return BuildBuckets(dict, std::strstr(path, "coredict.dct") != nullptr) ? LoadFault::kNone
                                                                            : LoadFault::kNoMemory;
}

LoadFault LoadCoreBinary(const char *path, DictionaryS *dict) noexcept {
    if (dict == nullptr) return LoadFault::kNoRecord;
    File fp = OpenFile(path, "rb");
    if (!fp) return LoadFault::kCannotOpen;
    Scratch scratch;
    if (!scratch) return LoadFault::kNoMemory;
    DictionaryS_Free(dict);

    BinaryReader in(fp.get(), scratch.bytes);
    if (const LoadFault version = ReadVersion(in); version != LoadFault::kNone) return version;
    int32_t count = 0;
    if (!in.I32(&count) || !in.I32(&dict->personIndex) || !in.I32(&dict->placeIndex) ||
        !in.I32(&dict->orgIndex))
        return LoadFault::kDamaged;
    // Every entry takes at least kMinEntryBytes and the buckets follow them.
    if (count < 0 || in.left() < kBucketBytes ||
        static_cast<uint64_t>(count) > (in.left() - kBucketBytes) / kMinEntryBytes)
        return LoadFault::kDamaged;
    if (!PositionValid(dict->personIndex, count) || !PositionValid(dict->placeIndex, count) ||
        !PositionValid(dict->orgIndex, count))
        return LoadFault::kDamaged;
    dict->count = count;
    dict->entries = static_cast<DictSEntry *>(
        std::calloc(static_cast<size_t>(count) + 1, sizeof(DictSEntry)));
    if (dict->entries == nullptr) return LoadFault::kNoMemory;
    for (int32_t i = 0; i < count; ++i)
        if (!ReadEntry(in, dict->entries[i])) return LoadFault::kDamaged;

    dict->buckets = static_cast<DictBucket *>(std::malloc(sizeof(DictBucket) * DICTS_BUCKETS));
    if (dict->buckets == nullptr) return LoadFault::kNoMemory;
    return ReadBuckets(in, dict->buckets, DICTS_BUCKETS, count) ? LoadFault::kNone : LoadFault::kDamaged;
}

}  // namespace vsg::model

extern "C" {

int32_t DictionaryS_Load(const char *path, DictionaryS *dict) {
    return vsg::model::AnswerTextLoad(vsg::model::LoadCoreText(path, dict), path);
}

int32_t DictionaryS_LoadBinary(const char *path, DictionaryS *dict) {
    return vsg::model::AnswerBinaryLoad(vsg::model::LoadCoreBinary(path, dict));
}

int32_t DictionaryS_SaveBinary(const char *path, const DictionaryS *dict) {
    if (dict == nullptr || dict->count < 0 || dict->buckets == nullptr ||
        (dict->count > 0 && dict->entries == nullptr))
        return -1;
    for (int32_t i = 0; i < dict->count; ++i) {
        const DictSEntry &e = dict->entries[i];
        if (e.word == nullptr || e.length < 0 || e.posCount < 0 ||
            (e.posCount > 0 && e.posList == nullptr))
            return -1;
    }
    Scratch scratch;
    if (!scratch) return -1;
    File fp = OpenFile(path, "wb");
    if (!fp) return -1;

    BinaryWriter out(fp.get(), scratch.bytes);
    out.U32(vsg::model::kBinaryVersion);
    out.I32(dict->count);
    out.I32(dict->personIndex);
    out.I32(dict->placeIndex);
    out.I32(dict->orgIndex);
    for (int32_t i = 0; i < dict->count; ++i) {
        const DictSEntry &e = dict->entries[i];
        out.I32(e.length);
        out.Bytes(e.word, static_cast<size_t>(e.length));
        out.I32(e.posCount);
        for (float s : e.stats) out.Float(s);
        for (int32_t r = 0; r < e.posCount; ++r) {
            const DictSRow &row = e.posList[r];
            out.U16(row.code);
            out.U8(row.subCode);
            out.Float(row.value);
            out.U32(row.flag);
        }
        out.I32(e.hash);
        out.I32(e.flag);
    }
    vsg::model::WriteBuckets(out, dict->buckets, DICTS_BUCKETS);
    return out.Finish(fp) ? 1 : -1;
}

int32_t DictionaryS_GetCoreInfo(const char *word, const DictionaryS *dict) {
    if (dict == nullptr || word == nullptr || word[0] == '\0') return -1;
    if (dict->buckets == nullptr || dict->entries == nullptr) return -1;
    return vsg::model::FindInBucket(dict->buckets[VSGHash(word, DICTS_BUCKETS)], dict->entries,
                                    dict->count, word);
}

void DictionaryS_Free(DictionaryS *dict) {
    if (dict == nullptr) return;
    if (dict->entries != nullptr) {
        for (int32_t i = 0; i < dict->count; ++i) {
            std::free(dict->entries[i].word);
            dict->entries[i].word = nullptr;
            std::free(dict->entries[i].posList);
            dict->entries[i].posList = nullptr;
        }
        std::free(dict->entries);
        dict->entries = nullptr;
    }
    std::free(dict->buckets);
    dict->buckets = nullptr;
}

}  // extern "C"
