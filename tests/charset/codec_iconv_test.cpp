// The GB18030 and BIG5 codecs against the system's iconv, code by code.
#include <gtest/gtest.h>
#include <iconv.h>

#include <cstdint>
#include <cstring>
#include <string>

#include "vsglex/charset.h"

namespace {

// One iconv descriptor converting short inputs whole.
class Iconv {
public:
    Iconv(const char *to, const char *from) : cd_(iconv_open(to, from)) {}
    ~Iconv() {
        if (ok()) iconv_close(cd_);
    }
    bool ok() const { return cd_ != reinterpret_cast<iconv_t>(-1); }
    // The converted bytes, or false when iconv rejects the input.
    bool Convert(const std::string &in, std::string *out) {
        iconv(cd_, nullptr, nullptr, nullptr, nullptr);
        char buf[64];
        char *src = const_cast<char *>(in.data()), *dst = buf;
        size_t srcLeft = in.size(), dstLeft = sizeof buf;
        if (iconv(cd_, &src, &srcLeft, &dst, &dstLeft) == static_cast<size_t>(-1) || srcLeft) return false;
        if (iconv(cd_, nullptr, nullptr, &dst, &dstLeft) == static_cast<size_t>(-1)) return false;
        out->assign(buf, sizeof buf - dstLeft);
        return true;
    }

private:
    iconv_t cd_;
};

// Code point iconv decodes `bytes` to (0 when rejected or not one character).
uint32_t IconvDecode(Iconv &dec, const std::string &bytes) {
    std::string out;
    if (!dec.Convert(bytes, &out) || out.size() != 4) return 0;
    uint32_t cp;
    memcpy(&cp, out.data(), 4);
    return cp;
}

std::string IconvEncode(Iconv &enc, uint32_t cp) {
    std::string out;
    std::string in(reinterpret_cast<const char *>(&cp), 4);
    return enc.Convert(in, &out) ? out : std::string();
}

std::string Hex(const std::string &s) {
    static const char digits[] = "0123456789ABCDEF";
    std::string h;
    for (unsigned char c : s) h += {digits[c >> 4], digits[c & 15]};
    return h;
}

using DecodeFn = uint32_t (*)(const char *, uint32_t *);
using EncodeFn = int32_t (*)(uint32_t, char *);

// Decodes `bytes` (copied without a terminator, so reading past them shows
// under AddressSanitizer) and checks the length against the input size.
uint32_t Decode(DecodeFn fn, const std::string &bytes, uint32_t *length) {
    std::string copy = bytes + std::string(1, '\0');
    return fn(copy.data(), length);
}

std::string Encode(EncodeFn fn, uint32_t cp) {
    char out[8] = {};
    int32_t n = fn(cp, out);
    if (n <= 0) return std::string();
    EXPECT_EQ(out[n], 0) << "encoder must terminate its output";
    return std::string(out, static_cast<size_t>(n));
}

// Compares every two-byte code of `lead` x `trail` ranges both ways, and
// every BMP code point's encoding. Returns the number of valid codes.
int CompareTwoByte(const char *name, DecodeFn decode, EncodeFn encode) {
    Iconv dec("UTF-32LE", name), enc(name, "UTF-32LE");
    EXPECT_TRUE(dec.ok() && enc.ok());
    int valid = 0, mismatches = 0;
    for (int lead = 0x80; lead <= 0xFF; ++lead) {
        for (int trail = 0x30; trail <= 0xFF; ++trail) {
            std::string code{static_cast<char>(lead), static_cast<char>(trail)};
            uint32_t want = IconvDecode(dec, code);
            uint32_t length = 0;
            uint32_t got = Decode(decode, code, &length);
            if (got == 0 || length != 2) got = 0;
            if (got != want && ++mismatches < 10)
                ADD_FAILURE() << name << " decode " << Hex(code) << ": " << std::hex << got << " want " << want;
            if (want == 0) continue;
            ++valid;
            std::string back = IconvEncode(enc, want);
            if (Encode(encode, want) != back && ++mismatches < 10)
                ADD_FAILURE() << name << " encode U+" << std::hex << want << ": " << Hex(Encode(encode, want))
                              << " want " << Hex(back);
        }
    }
    for (uint32_t cp = 0; cp <= 0xFFFF; ++cp) {
        if (cp >= 0xD800 && cp <= 0xDFFF) continue;
        std::string want = IconvEncode(enc, cp);
        std::string got = Encode(encode, cp);
        if (got != want && ++mismatches < 10)
            ADD_FAILURE() << name << " encode U+" << std::hex << cp << ": " << Hex(got) << " want " << Hex(want);
    }
    EXPECT_EQ(mismatches, 0);
    return valid;
}

TEST(CharsetIconv, Gb18030TwoByteCodesAndBmpEncodingMatchIconv) {
    int valid = CompareTwoByte("GB18030", _T_GB18030ToUnicode, _T_UnicodeToGB18030);
    EXPECT_EQ(valid, 126 * 190);  // every two-byte position is assigned
}

TEST(CharsetIconv, Big5CodesMatchIconv) {
    int valid = CompareTwoByte("BIG5", _T_BIG5ToUnicode, _T_UnicodeToBIG5);
    EXPECT_GT(valid, 13000);
    // Single high bytes agree as well.
    Iconv dec("UTF-32LE", "BIG5");
    for (int b = 0x80; b <= 0xFF; ++b) {
        std::string code(1, static_cast<char>(b));
        uint32_t length = 0;
        uint32_t got = Decode(_T_BIG5ToUnicode, code, &length);
        EXPECT_EQ(length == 1 ? got : 0u, IconvDecode(dec, code)) << b;
    }
}

TEST(CharsetIconv, Gb18030FourByteBmpCodesMatchIconv) {
    Iconv dec("UTF-32LE", "GB18030");
    int mismatches = 0;
    for (uint32_t v = 0; v < 39420; ++v) {
        uint32_t x = v;
        char b[5];
        b[3] = static_cast<char>(0x30 + x % 10), x /= 10;
        b[2] = static_cast<char>(0x81 + x % 126), x /= 126;
        b[1] = static_cast<char>(0x30 + x % 10);
        b[0] = static_cast<char>(0x81 + x / 10);
        std::string code(b, 4);
        uint32_t length = 0;
        uint32_t got = Decode(_T_GB18030ToUnicode, code, &length);
        uint32_t want = IconvDecode(dec, code);
        if ((length == 4 ? got : 0) != want && ++mismatches < 10)
            ADD_FAILURE() << Hex(code) << ": " << std::hex << got << " want " << want;
    }
    EXPECT_EQ(mismatches, 0);
}

TEST(CharsetIconv, EveryBmpCodePointRoundTripsThroughGb18030) {
    Iconv enc("GB18030", "UTF-32LE");
    int unmapped = 0;
    for (uint32_t cp = 1; cp <= 0xFFFF; ++cp) {
        char out[8] = {};
        int32_t n = _T_UnicodeToGB18030(cp, out);
        if (n == 0) {
            // Only private-use points that the system codec leaves unmapped too.
            EXPECT_TRUE(cp >= 0xE000 && cp <= 0xF8FF) << std::hex << cp;
            EXPECT_TRUE(IconvEncode(enc, cp).empty()) << std::hex << cp;
            ++unmapped;
            continue;
        }
        uint32_t length = 0;
        ASSERT_EQ(_T_GB18030ToUnicode(out, &length), cp) << std::hex << cp;
        ASSERT_EQ(length, static_cast<uint32_t>(n)) << std::hex << cp;
        // UTF-8 round trip as well, surrogates included.
        char u[8];
        int32_t m = _T_UnicodeToUTF8(cp, u);
        ASSERT_EQ(_T_UTF8ToUnicode(u, &length), cp) << std::hex << cp;
        ASSERT_EQ(length, static_cast<uint32_t>(m));
    }
    EXPECT_LT(unmapped, 32);
}

}  // namespace
