// Builds binary model files byte by byte in the files' own byte orders,
// independently of the library's stream helpers.
#ifndef VSGLEX_TESTS_MODEL_BYTES_H
#define VSGLEX_TESTS_MODEL_BYTES_H

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>

#include "support/support.h"

namespace vsgtest {

class Bytes {
public:
    Bytes &U8(uint8_t v) {
        data_.push_back(static_cast<char>(v));
        return *this;
    }
    Bytes &U16(uint16_t v) { return U8(v & 0xFF).U8(v >> 8); }
    // Little-endian 32-bit integer.
    Bytes &U32(uint32_t v) {
        for (int i = 0; i < 4; ++i) U8(static_cast<uint8_t>(v >> (8 * i)));
        return *this;
    }
    Bytes &I32(int32_t v) { return U32(static_cast<uint32_t>(v)); }
    // Big-endian IEEE single.
    Bytes &Float(float f) {
        uint32_t bits;
        std::memcpy(&bits, &f, 4);
        for (int i = 3; i >= 0; --i) U8(static_cast<uint8_t>(bits >> (8 * i)));
        return *this;
    }
    Bytes &Raw(const std::string &s) {
        data_ += s;
        return *this;
    }
    const std::string &str() const { return data_; }
    size_t size() const { return data_.size(); }

private:
    std::string data_;
};

// Replaces a file with a new one holding `bytes` (a new file rather than a
// truncated one: rewriting a truncated file may flush to disk on close).
inline void RewriteFile(const std::string &path, const std::string &bytes) {
    std::remove(path.c_str());
    WriteFile(path, bytes);
}

}  // namespace vsgtest

#endif  // VSGLEX_TESTS_MODEL_BYTES_H
