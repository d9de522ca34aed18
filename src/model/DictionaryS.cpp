// The core dictionary: every known word with its candidate rows and four
// statistics, hashed into 150,000 buckets. Loaded from a text file of
// records (header line, then one line per row) or from its binary form.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <algorithm>

#include "common/gbtext.h"
#include "model/loaders.h"
#include "model/model_io.h"
#include "vsglex/model.h"

using vsg::model::BinaryReader;
using vsg::model::BinaryWriter;
using vsg::model::BytesLeft;
using vsg::model::File;
using vsg::model::LoadFault;
using vsg::model::ClearBuckets;
using vsg::model::DecodeBuckets;
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

// A binary-loaded dictionary keeps the words and rows of all its entries in
// one block, instead of two heap blocks per entry; the entry past the last
// (the table has one more, zeroed) records the block so that
// DictionaryS_Free releases it instead of the entries' own pointers.
constexpr int32_t kBlockMark = 0x4B4C4253;  // "SBLK"

bool HoldsBlock(const DictionaryS &dict) {
    const DictSEntry &past = dict.entries[dict.count];
    return past.flag == kBlockMark && past.length == -1;
}

// The bytes of a file from a position on, read in large pieces into one
// reused buffer: Need(k) makes the next k bytes contiguous at Data().
class Window {
public:
    Window(FILE *fp, uint64_t left) : fp_(fp), left_(left) {}

    // False when fewer than k bytes are left, or memory runs out.
    bool Need(size_t k) {
        if (end_ - pos_ >= k) return true;
        if (k - (end_ - pos_) > left_) return false;
        const size_t have = end_ - pos_;
        if (k > capacity_) {
            const size_t want = std::max(k, std::max(2 * capacity_, kFirstBytes));
            auto *grown = static_cast<unsigned char *>(std::malloc(want));
            if (grown == nullptr) return false;
            if (have > 0) std::memcpy(grown, buffer_ + pos_, have);
            std::free(buffer_);
            buffer_ = grown;
            capacity_ = want;
        } else if (have > 0) {
            std::memmove(buffer_, buffer_ + pos_, have);
        }
        pos_ = 0;
        end_ = have;
        const size_t room = static_cast<size_t>(std::min<uint64_t>(capacity_ - end_, left_));
        const size_t got = std::fread(buffer_ + end_, 1, room, fp_);
        end_ += got;
        left_ = got == room ? left_ - got : 0;  // a file that shrank ends here
        return end_ >= k;
    }
    const unsigned char *Data() const { return buffer_ + pos_; }
    void Skip(size_t k) { pos_ += k; }
    // Bytes not yet skipped.
    uint64_t Left() const { return left_ + (end_ - pos_); }

    ~Window() { std::free(buffer_); }
    Window(const Window &) = delete;
    Window &operator=(const Window &) = delete;

private:
    static constexpr size_t kFirstBytes = 64 * 1024;

    FILE *fp_;
    uint64_t left_;  // bytes of the file not yet read
    unsigned char *buffer_ = nullptr;
    size_t capacity_ = 0;
    size_t pos_ = 0;
    size_t end_ = 0;
};

// Bytes of the entry at `in` whose first bytes are there (its length word
// at least), or 0 when its word length or row count is negative or it
// cannot fit the bytes left; `n` and `rows` get them.
size_t EntryBytes(Window &in, int32_t *n, int32_t *rows) {
    if (!in.Need(4)) return 0;
    *n = static_cast<int32_t>(BinaryReader::Little32(in.Data()));
    if (*n < 0 || static_cast<uint64_t>(*n) + 8 > in.Left()) return 0;
    const size_t head = 8 + static_cast<size_t>(*n);
    if (!in.Need(head)) return 0;
    *rows = static_cast<int32_t>(BinaryReader::Little32(in.Data() + head - 4));
    if (*rows < 0) return 0;
    const uint64_t size = head + 16 + static_cast<uint64_t>(*rows) * kRowBytes + 8;
    return size <= in.Left() ? static_cast<size_t>(size) : 0;
}

// The entries of a binary core dictionary, from the file position `start`
// on: a first pass checks their layout and sums their words and rows, a
// second fills the entry table and one block that holds every word and row.
class EntryParser {
public:
    EntryParser(FILE *fp, uint64_t left) : fp_(fp), start_(std::ftell(fp)), left_(left) {}

    // Checks the layout of `count` entries; false when the file ends first
    // or a length or row count is negative.
    bool Scan(int32_t count) {
        if (start_ < 0) return false;
        Window in(fp_, left_);
        for (int32_t i = 0; i < count; ++i) {
            int32_t n = 0, rows = 0;
            const size_t size = EntryBytes(in, &n, &rows);
            if (size == 0 || !in.Need(size)) return false;
            in.Skip(size);
            wordBytes_ += static_cast<size_t>(n) + 1;
            rowCount_ += static_cast<size_t>(rows) + 1;  // room for one more, zeroed
        }
        return true;
    }

    // Reads the `count` scanned entries again and fills them; their words
    // and rows go to one zeroed block (rows first, then the words, then
    // padding), recorded in the entry past the last. Then the `buckets`
    // table that follows them. kDamaged when the file no longer matches the
    // scan or the buckets fail ReadBuckets' checks.
    LoadFault Fill(DictionaryS *dict, DictBucket *buckets, size_t bucketCount) const {
        constexpr size_t kPad = 16;
        const size_t rowBytes = rowCount_ * sizeof(DictSRow);
        auto *block = static_cast<unsigned char *>(std::calloc(rowBytes + wordBytes_ + kPad, 1));
        if (block == nullptr) return LoadFault::kNoMemory;
        DictSEntry &past = dict->entries[dict->count];
        past.word = reinterpret_cast<char *>(block);
        past.length = -1;
        past.flag = kBlockMark;
        if (std::fseek(fp_, start_, SEEK_SET) != 0) return LoadFault::kDamaged;
        Window in(fp_, left_);
        DictSRow *rows = reinterpret_cast<DictSRow *>(block);
        char *words = reinterpret_cast<char *>(block + rowBytes);
        size_t rowsLeft = rowCount_, wordsLeft = wordBytes_;
        for (int32_t i = 0; i < dict->count; ++i) {
            int32_t n = 0, count = 0;
            const size_t size = EntryBytes(in, &n, &count);
            // The file changed since the scan: its sizes no longer hold.
            if (size == 0 || !in.Need(size) || static_cast<size_t>(n) + 1 > wordsLeft ||
                static_cast<size_t>(count) + 1 > rowsLeft)
                return LoadFault::kDamaged;
            wordsLeft -= static_cast<size_t>(n) + 1;
            rowsLeft -= static_cast<size_t>(count) + 1;
            const unsigned char *at = in.Data();
            DictSEntry &entry = dict->entries[i];
            std::memcpy(words, at + 4, static_cast<size_t>(n));
            entry.word = words;
            entry.length = n;
            words += n + 1;  // the terminator is the block's zero
            at += 8 + n;
            for (size_t k = 0; k < 4; ++k) entry.stats[k] = BinaryReader::BigFloat(at + 4 * k);
            at += 16;
            entry.posList = rows;
            entry.posCount = count;
            // A row is code (2 bytes), sub-code (1), value (4) and flag (4).
            for (int32_t r = 0; r < count; ++r, at += kRowBytes) {
                DictSRow &row = rows[r];
                row.code = BinaryReader::Little16(at);
                row.subCode = at[2];
                row.value = BinaryReader::BigFloat(at + 3);
                row.flag = BinaryReader::Little32(at + 7);
            }
            rows += count + 1;
            entry.hash = static_cast<int32_t>(BinaryReader::Little32(at));
            entry.flag = static_cast<int32_t>(BinaryReader::Little32(at + 4));
            in.Skip(size);
        }
        // The buckets, in pieces; bytes past the table are ignored.
        constexpr size_t kPiece = 4096;
        for (size_t h = 0; h < bucketCount; h += kPiece) {
            const size_t take = std::min(kPiece, bucketCount - h);
            if (!in.Need(8 * take) ||
                !DecodeBuckets(in.Data(), 8 * take, buckets + h, take, dict->count)) {
                ClearBuckets(buckets, bucketCount);
                return LoadFault::kDamaged;
            }
            in.Skip(8 * take);
        }
        return LoadFault::kNone;
    }

private:
    FILE *fp_;
    long start_;
    uint64_t left_;
    size_t wordBytes_ = 0;
    size_t rowCount_ = 0;
};

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
    // The entries are read in two passes through one reused buffer (the
    // first sizes the block their words and rows go to), then the buckets.
    const uint64_t left = in.left();
    const long start = std::ftell(fp.get());
    if (start < 0) return LoadFault::kDamaged;
    dict->count = count;
    dict->entries = static_cast<DictSEntry *>(
        std::calloc(static_cast<size_t>(count) + 1, sizeof(DictSEntry)));
    if (dict->entries == nullptr) return LoadFault::kNoMemory;
    // The reader has read ahead: the entries start where it stands.
    if (std::fseek(fp.get(), start - static_cast<long>(in.buffered()), SEEK_SET) != 0) return LoadFault::kDamaged;
    EntryParser parser(fp.get(), left);
    if (!parser.Scan(count)) return LoadFault::kDamaged;
    dict->buckets = static_cast<DictBucket *>(std::malloc(sizeof(DictBucket) * DICTS_BUCKETS));
    if (dict->buckets == nullptr) return LoadFault::kNoMemory;
    return parser.Fill(dict, dict->buckets, DICTS_BUCKETS);
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
    if (dict->entries != nullptr && dict->count >= 0 && HoldsBlock(*dict)) {
        std::free(dict->entries[dict->count].word);
        std::free(dict->entries);
        dict->entries = nullptr;
    } else if (dict->entries != nullptr) {
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
