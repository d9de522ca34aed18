// String hashes of the dictionary buckets and the byte-order helpers of the
// binary model files (integers little-endian, floats big-endian).
#include <cstring>

#include "vsglex/model.h"

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

int32_t VSGNetStreamUINT16(uint16_t value, unsigned char *buffer) {
    buffer[0] = static_cast<unsigned char>(value);
    buffer[1] = static_cast<unsigned char>(value >> 8);
    return 2;
}

int32_t VSGNetDestreamUINT16(const unsigned char *buffer, uint16_t *value) {
    *value = static_cast<uint16_t>(buffer[0] | (buffer[1] << 8));
    return 2;
}

int32_t VSGNetStreamUINT32(uint32_t value, unsigned char *buffer) {
    for (int i = 0; i < 4; ++i) buffer[i] = static_cast<unsigned char>(value >> (8 * i));
    return 4;
}

int32_t VSGNetDestreamUINT32(const unsigned char *buffer, uint32_t *value) {
    uint32_t v = 0;
    for (int i = 3; i >= 0; --i) v = (v << 8) | buffer[i];
    *value = v;
    return 4;
}

int32_t VSGNetStreamUINT64(uint64_t value, unsigned char *buffer) {
    for (int i = 0; i < 8; ++i) buffer[i] = static_cast<unsigned char>(value >> (8 * i));
    return 8;
}

int32_t VSGNetDestreamUINT64(const unsigned char *buffer, uint64_t *value) {
    uint64_t v = 0;
    for (int i = 7; i >= 0; --i) v = (v << 8) | buffer[i];
    *value = v;
    return 8;
}

int32_t VSGNetStreamFLOAT(unsigned char *buffer, float value) {
    uint32_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    for (int i = 0; i < 4; ++i) buffer[i] = static_cast<unsigned char>(bits >> (8 * (3 - i)));
    return 4;
}

int32_t VSGNetDestreamFLOAT(const unsigned char *buffer, float *value) {
    uint32_t bits = 0;
    for (int i = 0; i < 4; ++i) bits = (bits << 8) | buffer[i];
    std::memcpy(value, &bits, sizeof bits);
    return 4;
}

int32_t VSGNetStreamDOUBLE(unsigned char *buffer, double value) {
    uint64_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    for (int i = 0; i < 8; ++i) buffer[i] = static_cast<unsigned char>(bits >> (8 * (7 - i)));
    return 8;
}

int32_t VSGNetDestreamDOUBLE(const unsigned char *buffer, double *value) {
    uint64_t bits = 0;
    for (int i = 0; i < 8; ++i) bits = (bits << 8) | buffer[i];
    std::memcpy(value, &bits, sizeof bits);
    return 8;
}

}  // extern "C"
