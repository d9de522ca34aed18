// String hashes of the dictionary buckets and the byte-order helpers of the
// binary model files (integers little-endian, floats big-endian).
#include <type_traits>

#include "model/byte_order.h"
#include "vsglex/model.h"

using vsg::model::GetBig;
using vsg::model::GetLittle;
using vsg::model::PutBig;
using vsg::model::PutLittle;

namespace {

// The bucket hash under modulus `m`: a plain number, or a
// std::integral_constant when the modulus is known when compiled, so that
// the division of every byte becomes a multiplication.
template <typename Modulus>
uint32_t HashModulo(const char *text, Modulus m) {
    uint32_t h = 0;
    for (const char *p = text; *p != '\0'; ++p) {
        // Bytes are signed: GB lead and trail bytes count as negative.
        const auto c = static_cast<uint32_t>(static_cast<int32_t>(static_cast<signed char>(*p)));
        h = (c + h * 64u) % m;
    }
    return h;
}

}  // namespace

extern "C" {

uint32_t VSGHash(const char *text, uint32_t m) {
    // The core dictionary's bucket count is what nearly every call asks with.
    if (m == DICTS_BUCKETS) return HashModulo(text, std::integral_constant<uint32_t, DICTS_BUCKETS>());
    return HashModulo(text, m);
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
    *value = GetLittle<uint16_t>(buffer);
    return static_cast<int32_t>(sizeof *value);
}

int32_t VSGNetStreamUINT32(uint32_t value, unsigned char *buffer) { return PutLittle(value, buffer); }

int32_t VSGNetDestreamUINT32(const unsigned char *buffer, uint32_t *value) {
    *value = GetLittle<uint32_t>(buffer);
    return static_cast<int32_t>(sizeof *value);
}

int32_t VSGNetStreamUINT64(uint64_t value, unsigned char *buffer) { return PutLittle(value, buffer); }

int32_t VSGNetDestreamUINT64(const unsigned char *buffer, uint64_t *value) {
    *value = GetLittle<uint64_t>(buffer);
    return static_cast<int32_t>(sizeof *value);
}

int32_t VSGNetStreamFLOAT(unsigned char *buffer, float value) { return PutBig<uint32_t>(value, buffer); }

int32_t VSGNetDestreamFLOAT(const unsigned char *buffer, float *value) {
    *value = GetBig<uint32_t, float>(buffer);
    return static_cast<int32_t>(sizeof *value);
}

int32_t VSGNetStreamDOUBLE(unsigned char *buffer, double value) { return PutBig<uint64_t>(value, buffer); }

int32_t VSGNetDestreamDOUBLE(const unsigned char *buffer, double *value) {
    *value = GetBig<uint64_t, double>(buffer);
    return static_cast<int32_t>(sizeof *value);
}

}  // extern "C"
