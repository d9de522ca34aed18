#include <gtest/gtest.h>

#include <cstring>

#include "support/support.h"
#include "vsglex/model.h"

namespace {

// Straightforward restatement of the hash rules over 64-bit arithmetic, used
// as a reference for random texts.
uint32_t ReferenceHash(const std::string &s, uint32_t m) {
    uint64_t h = 0;
    for (unsigned char b : s) {
        int64_t c = static_cast<signed char>(b);
        h = ((static_cast<uint64_t>(c) + h * 64) & 0xFFFFFFFFu) % m;
    }
    return static_cast<uint32_t>(h);
}

TEST(Hash, EmptyTextIsZeroForAnyModulus) {
    EXPECT_EQ(VSGHash("", 0), 0u);
    EXPECT_EQ(VSGHash1("", 0), 0u);
    EXPECT_EQ(VSGHash("", 150000), 0u);
    EXPECT_EQ(VSGHash1("", 7), 0u);
}

TEST(Hash, HighBytesAreSignExtended) {
    // 0xB0 counts as 0xFFFFFFB0 before the modulo.
    EXPECT_EQ(VSGHash("\xb0", 0xFFFFFFFFu), 0xFFFFFFB0u);
    EXPECT_EQ(VSGHash1("\xb0", 0xFFFFFFFFu), 0xFFFFFFB0u);
    EXPECT_EQ(VSGHash("\xb0", 150000), 0xFFFFFFB0u % 150000);
    // Two bytes: the 64 multiplier with a modulo after each byte, against
    // the 31 multiplier with one modulo at the end.
    const uint32_t h64 = ((0xFFFFFFB0u % 1000u) * 64u + 0xFFFFFFA1u) % 1000u;
    EXPECT_EQ(VSGHash("\xb0\xa1", 1000), h64);
    const uint32_t h31 = (0xFFFFFFB0u * 31u + 0xFFFFFFA1u) % 1000u;
    EXPECT_EQ(VSGHash1("\xb0\xa1", 1000), h31);
}

TEST(Hash, MatchesReferenceOnGbWords) {
    for (const char *w : {"中国", "始##始", "未##它", "abc", "人民代表大会常务委员会"}) {
        std::string gb = vsgtest::Gb(w);
        EXPECT_EQ(VSGHash(gb.c_str(), 150000), ReferenceHash(gb, 150000)) << w;
        EXPECT_LT(VSGHash(gb.c_str(), 150000), 150000u);
    }
    // The value the trainer relies on when placing the unseen-word entry.
    EXPECT_EQ(VSGHash(vsgtest::Gb("未##它").c_str(), 150000), 43292u);
}

TEST(Stream, IntegersLittleEndianFloatsBigEndian) {
    unsigned char buf[128] = {};
    ASSERT_EQ(VSGNetStreamUINT32(4, buf), 4);
    EXPECT_EQ(std::memcmp(buf, "\x04\x00\x00\x00", 4), 0);
    ASSERT_EQ(VSGNetStreamFLOAT(buf, 1.0f), 4);
    EXPECT_EQ(std::memcmp(buf, "\x3f\x80\x00\x00", 4), 0);
    ASSERT_EQ(VSGNetStreamUINT16(0x1234, buf), 2);
    EXPECT_EQ(std::memcmp(buf, "\x34\x12", 2), 0);
    ASSERT_EQ(VSGNetStreamDOUBLE(buf, 1.0), 8);
    EXPECT_EQ(std::memcmp(buf, "\x3f\xf0\x00\x00\x00\x00\x00\x00", 8), 0);
    ASSERT_EQ(VSGNetStreamUINT64(0x0102030405060708ull, buf), 8);
    EXPECT_EQ(std::memcmp(buf, "\x08\x07\x06\x05\x04\x03\x02\x01", 8), 0);
}

TEST(Stream, RoundTrips) {
    unsigned char buf[128];
    uint16_t u16;
    uint32_t u32;
    uint64_t u64;
    float f;
    double d;
    VSGNetStreamUINT16(0xBEEF, buf);
    EXPECT_EQ(VSGNetDestreamUINT16(buf, &u16), 2);
    EXPECT_EQ(u16, 0xBEEF);
    VSGNetStreamUINT32(0xDEADBEEFu, buf);
    EXPECT_EQ(VSGNetDestreamUINT32(buf, &u32), 4);
    EXPECT_EQ(u32, 0xDEADBEEFu);
    VSGNetStreamUINT64(0xFEEDFACECAFEBEEFull, buf);
    EXPECT_EQ(VSGNetDestreamUINT64(buf, &u64), 8);
    EXPECT_EQ(u64, 0xFEEDFACECAFEBEEFull);
    VSGNetStreamFLOAT(buf, -2.3f);
    EXPECT_EQ(VSGNetDestreamFLOAT(buf, &f), 4);
    EXPECT_EQ(f, -2.3f);
    VSGNetStreamDOUBLE(buf, 10.7995);
    EXPECT_EQ(VSGNetDestreamDOUBLE(buf, &d), 8);
    EXPECT_EQ(d, 10.7995);
}

}  // namespace
