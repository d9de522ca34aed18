// Byte order of the binary model files: integers lowest byte first,
// floating-point values highest byte first. One definition for the
// exported VSGNet* functions and the loaders' bulk reads.
#ifndef VSGLEX_SRC_MODEL_BYTE_ORDER_H
#define VSGLEX_SRC_MODEL_BYTE_ORDER_H

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace vsg::model {

// Lays `value` out in `buffer` lowest byte first; returns its size.
template <typename T>
inline int32_t PutLittle(T value, unsigned char *buffer) noexcept {
    for (size_t i = 0; i < sizeof(T); ++i) buffer[i] = static_cast<unsigned char>(value >> (8 * i));
    return static_cast<int32_t>(sizeof(T));
}

// Reads a value laid out lowest byte first.
template <typename T>
inline T GetLittle(const unsigned char *buffer) noexcept {
    T v = 0;
    for (size_t i = sizeof(T); i-- > 0;) v = static_cast<T>((v << 8) | buffer[i]);
    return v;
}

// Lays the bits of a floating-point value out highest byte first (Bits is
// the unsigned integer of the same size); returns its size.
template <typename Bits, typename Real>
inline int32_t PutBig(Real value, unsigned char *buffer) noexcept {
    static_assert(sizeof(Bits) == sizeof(Real), "bit pattern and value differ in size");
    Bits bits;
    std::memcpy(&bits, &value, sizeof bits);
    for (size_t i = 0; i < sizeof bits; ++i)
        buffer[i] = static_cast<unsigned char>(bits >> (8 * (sizeof bits - 1 - i)));
    return static_cast<int32_t>(sizeof bits);
}

// Reads a floating-point value laid out highest byte first.
template <typename Bits, typename Real>
inline Real GetBig(const unsigned char *buffer) noexcept {
    static_assert(sizeof(Bits) == sizeof(Real), "bit pattern and value differ in size");
    Bits bits = 0;
    for (size_t i = 0; i < sizeof bits; ++i) bits = static_cast<Bits>((bits << 8) | buffer[i]);
    Real value;
    std::memcpy(&value, &bits, sizeof bits);
    return value;
}

}  // namespace vsg::model

#endif  // VSGLEX_SRC_MODEL_BYTE_ORDER_H
