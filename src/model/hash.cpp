// String hashes of the dictionary buckets and the byte-order helpers of the
// binary model files (integers little-endian, floats big-endian).
#include <cstring>

#include "vsglex/model.h"

namespace {

// Lays `value` out in `buffer` lowest byte first; returns its size.
template <typename T>
int32_t PutLittle(T value, unsigned char *buffer) {
    for (size_t i = 0; i < sizeof(T); ++i) buffer[i] = static_cast<unsigned char>(value >> (8 * i));
    return static_cast<int32_t>(sizeof(T));
}

// Reads a value laid out lowest byte first; returns its size.
template <typename T>
int32_t GetLittle(const unsigned char *buffer, T *value) {
    T v = 0;
    for (size_t i = sizeof(T); i-- > 0;) v = static_cast<T>((v << 8) | buffer[i]);
    *value = v;
    return static_cast<int32_t>(sizeof(T));
}

// Lays the bits of a floating-point value out highest byte first (Bits is
// the unsigned integer of the same size); returns its size.
template <typename Bits, typename Real>
int32_t PutBig(Real value, unsigned char *buffer) {
    static_assert(sizeof(Bits) == sizeof(Real), "bit pattern and value differ in size");
    Bits bits;
    std::memcpy(&bits, &value, sizeof bits);
    for (size_t i = 0; i < sizeof bits; ++i)
        buffer[i] = static_cast<unsigned char>(bits >> (8 * (sizeof bits - 1 - i)));
    return static_cast<int32_t>(sizeof bits);
}

// Reads a floating-point value laid out highest byte first; returns its size.
template <typename Bits, typename Real>
int32_t GetBig(const unsigned char *buffer, Real *value) {
    static_assert(sizeof(Bits) == sizeof(Real), "bit pattern and value differ in size");
    Bits bits = 0;
    for (size_t i = 0; i < sizeof bits; ++i) bits = static_cast<Bits>((bits << 8) | buffer[i]);
    std::memcpy(value, &bits, sizeof bits);
    return static_cast<int32_t>(sizeof bits);
}

}  // namespace

extern "C" {

uint32_t VSGHash(const char *text, uint32_t m) {
    uint32_t h = 0;
    for (const char *p = text; *p != '\0'; ++p) {
        // Bytes are signed: GB lead and trail bytes count as negative.
        const auto c = static_cast<uint32_t>(static_cast<int32_t>(static_cast<signed char>(*p)));
        h = (c + h * 64u) % m;
    }
    return h;
}

uint32_t VSGHash1(const char *text, uint32_t m) {
    if (*text == '\0') return 0;
    uint32_t h = 0;
    for (const char *p = text; *p != '\0'; ++p) {
        const auto c = static_cast<uint32_t>(static_cast<int32_t>(static_cast<signed char>(*p)));
        h = h * 31u + c;
    }
    return h % m;
}

int32_t VSGNetStreamUINT16(uint16_t value, unsigned char *buffer) { return PutLittle(value, buffer); }

int32_t VSGNetDestreamUINT16(const unsigned char *buffer, uint16_t *value) {
    return GetLittle(buffer, value);
}

int32_t VSGNetStreamUINT32(uint32_t value, unsigned char *buffer) { return PutLittle(value, buffer); }

int32_t VSGNetDestreamUINT32(const unsigned char *buffer, uint32_t *value) {
    return GetLittle(buffer, value);
}

int32_t VSGNetStreamUINT64(uint64_t value, unsigned char *buffer) { return PutLittle(value, buffer); }

int32_t VSGNetDestreamUINT64(const unsigned char *buffer, uint64_t *value) {
    return GetLittle(buffer, value);
}

int32_t VSGNetStreamFLOAT(unsigned char *buffer, float value) { return PutBig<uint32_t>(value, buffer); }

int32_t VSGNetDestreamFLOAT(const unsigned char *buffer, float *value) {
    return GetBig<uint32_t>(buffer, value);
}

int32_t VSGNetStreamDOUBLE(unsigned char *buffer, double value) { return PutBig<uint64_t>(value, buffer); }

int32_t VSGNetDestreamDOUBLE(const unsigned char *buffer, double *value) {
    return GetBig<uint64_t>(buffer, value);
}

}  // extern "C"
