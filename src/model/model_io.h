// File helpers shared by the model loaders and savers: an owning FILE
// handle, a bounded reader for the binary forms (integers little-endian,
// floats big-endian) that detects short reads and knows how many bytes are
// left, and a writer that remembers whether every write succeeded.
#ifndef VSGLEX_SRC_MODEL_MODEL_IO_H
#define VSGLEX_SRC_MODEL_MODEL_IO_H

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "common/model_files.h"
#include "model/byte_order.h"
#include "model/loaders.h"
#include "vsglex/model.h"

namespace vsg::model {

// Closes a FILE when it goes out of scope.
struct FileCloser {
    void operator()(FILE *fp) const noexcept {
        if (fp != nullptr) std::fclose(fp);
    }
};
// An owned FILE handle.
using File = std::unique_ptr<FILE, FileCloser>;

// Opens `path` with `mode`; empty when the path is null or cannot be opened.
// A file opened for reading must be a regular file: it is opened without
// blocking (a FIFO would wait for a writer forever) and refused, like a
// missing file, when it is anything else (a device such as /dev/zero never
// ends, a directory cannot be read).
inline File OpenFile(const char *path, const char *mode) noexcept {
    if (path == nullptr || mode == nullptr) return File();
    if (mode[0] != 'r' || std::strchr(mode, '+') != nullptr) return File(std::fopen(path, mode));
    const int fd = open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) return File();
    struct stat st {};
    const int flags = fcntl(fd, F_GETFL);
    if (fstat(fd, &st) != 0 || !S_ISREG(st.st_mode) || flags < 0 || fcntl(fd, F_SETFL, flags & ~O_NONBLOCK) != 0) {
        close(fd);
        return File();
    }
    FILE *fp = fdopen(fd, mode);
    if (fp == nullptr) close(fd);
    return File(fp);
}

// Opens `path` with `mode` for a load into `record`: kCannotOpen when it
// cannot be opened, kNoRecord without a record; otherwise releases what the
// record still owns (`release`) and answers kNone with the file in `fp`.
template <typename Record>
LoadFault OpenForLoad(const char *path, const char *mode, Record *record, void (*release)(Record *), File &fp) noexcept {
    fp = OpenFile(path, mode);
    if (!fp) return LoadFault::kCannotOpen;
    if (record == nullptr) return LoadFault::kNoRecord;
    release(record);
    return LoadFault::kNone;
}

// Bytes from the current position to the end of the file (0 when unknown).
inline uint64_t BytesLeft(FILE *fp) noexcept {
    const long here = std::ftell(fp);
    if (here < 0 || std::fseek(fp, 0, SEEK_END) != 0) return 0;
    const long end = std::ftell(fp);
    std::fseek(fp, here, SEEK_SET);
    return end > here ? static_cast<uint64_t>(end - here) : 0;
}

// The 128-byte scratch buffer the stream helpers lay values out in.
struct Scratch {
    unsigned char *bytes = static_cast<unsigned char *>(std::malloc(128));  // null when memory is short
    Scratch() = default;
    Scratch(const Scratch &) = delete;
    Scratch &operator=(const Scratch &) = delete;
    ~Scratch() { std::free(bytes); }
    // True when the buffer was allocated.
    explicit operator bool() const { return bytes != nullptr; }
};

// Sequential reader of a binary model file through a 64 KiB buffer. Every
// read fails (returns false) once fewer bytes are left than it needs;
// `left()` bounds counts read from the file before anything is allocated
// for them.
class BinaryReader {
public:
    // Reads `fp` from its current position; `scratch` holds at least 8 bytes.
    BinaryReader(FILE *fp, unsigned char *scratch) noexcept
        : fp_(fp), scratch_(scratch), left_(BytesLeft(fp)),
          buffer_(static_cast<unsigned char *>(std::malloc(kBufferBytes))) {}
    ~BinaryReader() { std::free(buffer_); }
    BinaryReader(const BinaryReader &) = delete;
    BinaryReader &operator=(const BinaryReader &) = delete;

    // Bytes not yet read.
    uint64_t left() const { return left_; }

    // Reads n raw bytes into `out`.
    bool Bytes(void *out, size_t n) noexcept {
        if (n > left_) return false;
        auto *dst = static_cast<unsigned char *>(out);
        size_t need = n;
        while (need > 0) {
            if (pos_ == end_) {
                // Without a buffer (no memory for it), and for the rest of a
                // read that would fill it, read straight through.
                if (buffer_ == nullptr || need >= kBufferBytes) {
                    if (std::fread(dst, 1, need, fp_) != need) return Exhausted();
                    break;
                }
                end_ = std::fread(buffer_, 1, kBufferBytes, fp_);
                pos_ = 0;
                if (end_ == 0) return Exhausted();
            }
            const size_t take = need < end_ - pos_ ? need : end_ - pos_;
            std::memcpy(dst, buffer_ + pos_, take);
            pos_ += take;
            dst += take;
            need -= take;
        }
        left_ -= n;
        return true;
    }
    // The next n bytes (n <= 128, the scratch size), consumed: a pointer
    // into the read-ahead buffer when they lie there, else a copy in the
    // scratch buffer; null when fewer than n bytes are left.
    const unsigned char *Next(size_t n) noexcept {
        if (n > left_) return nullptr;
        if (end_ - pos_ >= n) {
            const unsigned char *at = buffer_ + pos_;
            pos_ += n;
            left_ -= n;
            return at;
        }
        return Bytes(scratch_, n) ? scratch_ : nullptr;
    }
    // Little-endian integers of 32, 16 and 8 bits.
    bool U32(uint32_t *value) noexcept {
        const unsigned char *at = Next(4);
        if (at == nullptr) return false;
        *value = Little32(at);
        return true;
    }
    // A little-endian 32-bit integer read as signed.
    bool I32(int32_t *value) noexcept {
        uint32_t v = 0;
        if (!U32(&v)) return false;
        *value = static_cast<int32_t>(v);
        return true;
    }
    // Little-endian 16-bit and single-byte integers.
    bool U16(uint16_t *value) noexcept {
        const unsigned char *at = Next(2);
        if (at == nullptr) return false;
        *value = Little16(at);
        return true;
    }
    bool U8(uint8_t *value) noexcept { return Bytes(value, 1); }
    // Reads n buckets (first, count), in chunks rather than field by field.
    bool Buckets(DictBucket *out, size_t n) noexcept {
        unsigned char chunk[8 * 512];
        while (n > 0) {
            const size_t take = n < 512 ? n : 512;
            if (!Bytes(chunk, take * 8)) return false;
            for (size_t i = 0; i < take; ++i) {
                out[i].first = static_cast<int32_t>(Little32(chunk + 8 * i));
                out[i].count = static_cast<int32_t>(Little32(chunk + 8 * i + 4));
            }
            out += take;
            n -= take;
        }
        return true;
    }
    // A big-endian float.
    bool Float(float *value) noexcept {
        const unsigned char *at = Next(4);
        if (at == nullptr) return false;
        *value = BigFloat(at);
        return true;
    }

    // Decoders of the layouts above from bytes already read, for the
    // loaders' bulk reads.
    static uint16_t Little16(const unsigned char *at) noexcept { return GetLittle<uint16_t>(at); }
    static uint32_t Little32(const unsigned char *at) noexcept { return GetLittle<uint32_t>(at); }
    static float BigFloat(const unsigned char *at) noexcept { return GetBig<uint32_t, float>(at); }

private:
    // Size of the read-ahead buffer.
    static constexpr size_t kBufferBytes = 64 * 1024;

    // The file ended before its size said it would (it shrank while read).
    bool Exhausted() noexcept {
        left_ = 0;
        return false;
    }

    FILE *fp_;                // not owned
    unsigned char *scratch_;  // where values are laid out before decoding
    uint64_t left_;           // bytes not yet handed out
    unsigned char *buffer_;   // read-ahead buffer, null when memory was short
    size_t pos_ = 0;          // next unread byte of the buffer
    size_t end_ = 0;          // bytes the buffer holds
};

// Sequential writer of a binary model file; ok() is false after any failed
// write.
class BinaryWriter {
public:
    // Writes to `fp`; `scratch` holds at least 8 bytes.
    BinaryWriter(FILE *fp, unsigned char *scratch) noexcept : fp_(fp), scratch_(scratch) {}

    // True while every write so far succeeded.
    bool ok() const { return ok_; }

    // Writes n raw bytes.
    void Bytes(const void *data, size_t n) noexcept {
        if (n != 0 && std::fwrite(data, 1, n, fp_) != n) ok_ = false;
    }
    // The same layouts the reader reads: little-endian integers, big-endian
    // floats.
    void U32(uint32_t value) noexcept { Bytes(scratch_, VSGNetStreamUINT32(value, scratch_)); }
    void I32(int32_t value) noexcept { U32(static_cast<uint32_t>(value)); }
    void U16(uint16_t value) noexcept { Bytes(scratch_, VSGNetStreamUINT16(value, scratch_)); }
    void U8(uint8_t value) noexcept { Bytes(&value, 1); }
    void Float(float value) noexcept { Bytes(scratch_, VSGNetStreamFLOAT(scratch_, value)); }

    // Flushes and closes the file; false when anything failed.
    bool Finish(File &file) noexcept {
        if (std::fclose(file.release()) != 0) ok_ = false;
        return ok_;
    }

private:
    FILE *fp_;                // not owned
    unsigned char *scratch_;  // where values are laid out before writing
    bool ok_ = true;          // false after the first failed write
};

// Version of the binary model forms this build reads and writes.
constexpr uint32_t kBinaryVersion = vsg::kModelBinaryVersion;

// Reads the version word of a binary model: kNone when it is
// kBinaryVersion, kWrongVersion when the word is there but differs,
// kDamaged when the file is too short to hold it.
inline LoadFault ReadVersion(BinaryReader &in) noexcept {
    uint32_t version = 0;
    if (!in.U32(&version)) return LoadFault::kDamaged;
    return version == kBinaryVersion ? LoadFault::kNone : LoadFault::kWrongVersion;
}

// Reads one line of a text model into a cleared buffer (at most N - 1
// bytes, line end kept); false at end of file.
template <size_t N>
bool ReadLine(char (&line)[N], FILE *fp) noexcept {
    std::memset(line, 0, N);
    return std::fgets(line, static_cast<int>(N), fp) != nullptr;
}

// Cuts trailing carriage returns and line feeds from a NUL-terminated line.
inline void TrimLineEnd(char *line) noexcept {
    size_t n = std::strlen(line);
    while (n > 0 && (line[n - 1] == '\r' || line[n - 1] == '\n')) line[--n] = '\0';
}

// A heap copy of the first `length` bytes of `text`, NUL-terminated; null
// when memory is short.
inline char *CopyWord(const char *text, size_t length) noexcept {
    auto *word = static_cast<char *>(std::malloc(length + 1));
    if (word == nullptr) return nullptr;
    std::memcpy(word, text, length);
    word[length] = '\0';
    return word;
}

// Reads a word stored as its byte length and bytes into a heap copy; the
// length is checked against what the file still holds before allocating.
inline bool ReadWord(BinaryReader &in, char **word, int32_t *length) noexcept {
    int32_t n = 0;
    if (!in.I32(&n) || n < 0 || static_cast<uint64_t>(n) > in.left()) return false;
    *word = static_cast<char *>(std::malloc(static_cast<size_t>(n) + 1));
    if (*word == nullptr || !in.Bytes(*word, static_cast<size_t>(n))) return false;
    (*word)[n] = '\0';
    *length = n;
    return true;
}

// True when bucket `b` over `entries` entries can be scanned safely: either
// it is empty (first -1 or count <= 0) or its run lies inside the table.
inline bool BucketInRange(const DictBucket &b, int32_t entries) noexcept {
    if (b.first == -1 || b.count <= 0) return true;
    return b.first >= 0 && static_cast<int64_t>(b.first) + b.count <= entries;
}

// Marks all n buckets empty.
inline void ClearBuckets(DictBucket *buckets, size_t n) noexcept {
    for (size_t h = 0; h < n; ++h) buckets[h] = DictBucket{-1, 0};
}

// Reads n buckets over `entries` entries; a short table, or one with a run
// outside the entries, is left all empty (safe to scan until freed) and
// fails.
inline bool ReadBuckets(BinaryReader &in, DictBucket *buckets, size_t n, int32_t entries) noexcept {
    bool ok = in.Buckets(buckets, n);
    for (size_t h = 0; ok && h < n; ++h) ok = BucketInRange(buckets[h], entries);
    if (!ok) ClearBuckets(buckets, n);
    return ok;
}

// Writes n buckets as first/count pairs.
inline void WriteBuckets(BinaryWriter &out, const DictBucket *buckets, size_t n) noexcept {
    for (size_t h = 0; h < n; ++h) {
        out.I32(buckets[h].first);
        out.I32(buckets[h].count);
    }
}

// Orders entries by ascending hash; entries of equal hash keep their file
// order. Entry is DictEntry or DictSEntry.
template <typename Entry>
void SortByHash(Entry *entries, int32_t count) {
    std::stable_sort(entries, entries + count,
                     [](const Entry &a, const Entry &b) { return a.hash < b.hash; });
}

// qsort-style comparison of two entries by hash.
template <typename Entry>
int CompareHash(const void *a, const void *b) noexcept {
    const int32_t ha = static_cast<const Entry *>(a)->hash;
    const int32_t hb = static_cast<const Entry *>(b)->hash;
    return ha < hb ? -1 : (ha > hb ? 1 : 0);
}

// Fills n buckets with the runs of entries sorted by hash: the position of
// the first entry of each hash and how many there are.
template <typename Entry>
void FillBuckets(DictBucket *buckets, size_t n, const Entry *entries, int32_t count) noexcept {
    ClearBuckets(buckets, n);
    for (int32_t i = 0; i < count; ++i) {
        DictBucket &bucket = buckets[entries[i].hash];
        if (bucket.first == -1) bucket.first = i;
        ++bucket.count;
    }
}

// Reads the entries of a text model in two passes over the open file `fp`:
// `countPass(FILE *)` counts them (at most `limit`), the table is allocated
// (count + 1 zeroed entries) and the file reopened, and `loadPass(FILE *)`
// fills them, returning how many it loaded, or kLoadPassNoMemory. kNone
// only when it loaded exactly as many as were counted; the file is closed
// in every case.
constexpr int64_t kLoadPassNoMemory = -2;
template <typename Entry, typename CountPass, typename LoadPass>
LoadFault ReadTextEntries(File &fp, const char *path, int64_t limit, Entry *&entries, int32_t &count,
                          CountPass countPass, LoadPass loadPass) {
    const int64_t counted = countPass(fp.get());
    fp.reset();
    if (counted > limit) return LoadFault::kDamaged;
    count = static_cast<int32_t>(counted);
    entries = static_cast<Entry *>(std::calloc(static_cast<size_t>(counted) + 1, sizeof(Entry)));
    if (entries == nullptr) return LoadFault::kNoMemory;
    fp = OpenFile(path, "r");
    if (!fp) return LoadFault::kCannotOpen;
    const int64_t loaded = loadPass(fp.get());
    fp.reset();
    if (loaded == kLoadPassNoMemory) return LoadFault::kNoMemory;
    return loaded == count ? LoadFault::kNone : LoadFault::kDamaged;
}

// Position of `word` in the run of bucket `b`, bounded by `entries`; -1 when
// the run does not hold it. Entry is DictEntry or DictSEntry.
template <typename Entry>
int32_t FindInBucket(const DictBucket &b, const Entry *table, int32_t entries, const char *word) noexcept {
    if (b.first < 0 || b.count <= 0) return -1;
    const int64_t end = std::min<int64_t>(static_cast<int64_t>(b.first) + b.count, entries);
    for (int64_t i = b.first; i < end; ++i) {
        const char *candidate = table[i].word;
        if (candidate != nullptr && std::strcmp(candidate, word) == 0) return static_cast<int32_t>(i);
    }
    return -1;
}

}  // namespace vsg::model

#endif  // VSGLEX_SRC_MODEL_MODEL_IO_H
