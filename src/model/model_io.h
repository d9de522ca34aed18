// File helpers shared by the model loaders and savers: an owning FILE
// handle, a bounded reader for the binary forms (integers little-endian,
// floats big-endian) that detects short reads and knows how many bytes are
// left, and a writer that remembers whether every write succeeded.
#ifndef VSGLEX_SRC_MODEL_MODEL_IO_H
#define VSGLEX_SRC_MODEL_MODEL_IO_H

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "vsglex/model.h"

namespace vsg::model {

// Closes a FILE when it goes out of scope.
struct FileCloser {
    void operator()(FILE *fp) const noexcept {
        if (fp != nullptr) std::fclose(fp);
    }
};
using File = std::unique_ptr<FILE, FileCloser>;

// Opens `path` with `mode`; empty when the path is null or cannot be opened.
inline File OpenFile(const char *path, const char *mode) noexcept {
    if (path == nullptr) return File();
    return File(std::fopen(path, mode));
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
    unsigned char *bytes = static_cast<unsigned char *>(std::malloc(128));
    Scratch() = default;
    Scratch(const Scratch &) = delete;
    Scratch &operator=(const Scratch &) = delete;
    ~Scratch() { std::free(bytes); }
    explicit operator bool() const { return bytes != nullptr; }
};

// Sequential reader of a binary model file through a 64 KiB buffer. Every
// read fails (returns false) once fewer bytes are left than it needs;
// `left()` bounds counts read from the file before anything is allocated
// for them.
class BinaryReader {
public:
    BinaryReader(FILE *fp, unsigned char *scratch) noexcept
        : fp_(fp), scratch_(scratch), left_(BytesLeft(fp)),
          buffer_(static_cast<unsigned char *>(std::malloc(kBufferBytes))) {}
    ~BinaryReader() { std::free(buffer_); }
    BinaryReader(const BinaryReader &) = delete;
    BinaryReader &operator=(const BinaryReader &) = delete;

    uint64_t left() const { return left_; }

    bool Bytes(void *out, size_t n) noexcept {
        if (n > left_) return false;
        auto *dst = static_cast<unsigned char *>(out);
        size_t need = n;
        while (need > 0) {
            if (pos_ == end_) {
                // Without a buffer (no memory for it) read straight through.
                if (buffer_ == nullptr) {
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
    bool U32(uint32_t *value) noexcept {
        if (!Bytes(scratch_, 4)) return false;
        VSGNetDestreamUINT32(scratch_, value);
        return true;
    }
    bool I32(int32_t *value) noexcept {
        uint32_t v = 0;
        if (!U32(&v)) return false;
        *value = static_cast<int32_t>(v);
        return true;
    }
    bool U16(uint16_t *value) noexcept {
        if (!Bytes(scratch_, 2)) return false;
        VSGNetDestreamUINT16(scratch_, value);
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
                uint32_t first = 0;
                uint32_t count = 0;
                VSGNetDestreamUINT32(chunk + 8 * i, &first);
                VSGNetDestreamUINT32(chunk + 8 * i + 4, &count);
                out[i].first = static_cast<int32_t>(first);
                out[i].count = static_cast<int32_t>(count);
            }
            out += take;
            n -= take;
        }
        return true;
    }
    bool Float(float *value) noexcept {
        if (!Bytes(scratch_, 4)) return false;
        VSGNetDestreamFLOAT(scratch_, value);
        return true;
    }

private:
    static constexpr size_t kBufferBytes = 64 * 1024;

    // The file ended before its size said it would (it shrank while read).
    bool Exhausted() noexcept {
        left_ = 0;
        return false;
    }

    FILE *fp_;
    unsigned char *scratch_;
    uint64_t left_;
    unsigned char *buffer_;
    size_t pos_ = 0;
    size_t end_ = 0;
};

// Sequential writer of a binary model file; ok() is false after any failed
// write.
class BinaryWriter {
public:
    BinaryWriter(FILE *fp, unsigned char *scratch) noexcept : fp_(fp), scratch_(scratch) {}

    bool ok() const { return ok_; }

    void Bytes(const void *data, size_t n) noexcept {
        if (n != 0 && std::fwrite(data, 1, n, fp_) != n) ok_ = false;
    }
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
    FILE *fp_;
    unsigned char *scratch_;
    bool ok_ = true;
};

// Cuts trailing carriage returns and line feeds from a NUL-terminated line.
inline void TrimLineEnd(char *line) noexcept {
    size_t n = std::strlen(line);
    while (n > 0 && (line[n - 1] == '\r' || line[n - 1] == '\n')) line[--n] = '\0';
}

// True when bucket `b` over `entries` entries can be scanned safely: either
// it is empty (first -1 or count <= 0) or its run lies inside the table.
inline bool BucketInRange(const DictBucket &b, int32_t entries) noexcept {
    if (b.first == -1 || b.count <= 0) return true;
    return b.first >= 0 && static_cast<int64_t>(b.first) + b.count <= entries;
}

}  // namespace vsg::model

#endif  // VSGLEX_SRC_MODEL_MODEL_IO_H
