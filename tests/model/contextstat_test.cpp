#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "model/bytes.h"
#include "support/support.h"
#include "vsglex/model.h"

namespace {

struct Ctx {
    ContextStat m{};
    ~Ctx() { ContextStat_Free(&m); }
};

// Three tags; tag 1 never occurs although its row has counts.
constexpr int kN = 3;
constexpr int32_t kTotal = 100;
const int32_t kFreq[kN] = {50, 0, 30};
const int32_t kMatrix[kN][kN] = {{10, 0, 5}, {3, 4, 0}, {0, 7, 20}};

std::string RawFile() {
    vsgtest::Bytes b;
    b.U8(kN).I32(kTotal);
    for (int32_t f : kFreq) b.I32(f);
    for (const auto &row : kMatrix)
        for (int32_t c : row) b.I32(c);
    return b.str();
}

std::string VersionedFile() {
    vsgtest::Bytes b;
    b.U32(4).U32(kN).I32(kTotal);
    for (int32_t f : kFreq) b.I32(f);
    for (const auto &row : kMatrix)
        for (int32_t c : row) b.I32(c);
    return b.str();
}

void ExpectCosts(const ContextStat &m) {
    ASSERT_EQ(m.tagCount, kN);
    EXPECT_EQ(m.totalFrequency, kTotal);
    EXPECT_DOUBLE_EQ(ContextStat_GetSingleValue(0, &m), std::log(72.0));
    EXPECT_DOUBLE_EQ(ContextStat_GetSingleValue(1, &m), 3.091042);
    EXPECT_DOUBLE_EQ(ContextStat_GetSingleValue(2, &m), std::log(52.0));
    // Blend of the pair ratio and the frequency of the preceding tag.
    EXPECT_DOUBLE_EQ(ContextStat_GetPossibility(0, 0, &m),
                     -0.999999 * std::log(0.9 * 10 / 50 + 0.1 * 50 / 100.0) + 0.000001);
    EXPECT_DOUBLE_EQ(ContextStat_GetPossibility(0, 2, &m),
                     -0.999999 * std::log(0.9 * 5 / 50 + 0.1 * 50 / 100.0) + 0.000001);
    EXPECT_DOUBLE_EQ(ContextStat_GetPossibility(2, 1, &m),
                     -0.999999 * std::log(0.9 * 7 / 30 + 0.1 * 30 / 100.0) + 0.000001);
    // Unseen pair, and a row whose tag never occurs.
    EXPECT_DOUBLE_EQ(ContextStat_GetPossibility(0, 1, &m), 13.8155);
    EXPECT_DOUBLE_EQ(ContextStat_GetPossibility(1, 0, &m), 13.8155);
    EXPECT_DOUBLE_EQ(ContextStat_GetPossibility(1, 1, &m), 13.8155);
    // Tags are taken modulo 256; tags at or above N are neutral.
    EXPECT_EQ(ContextStat_GetFrequency(256, &m), 50);
    EXPECT_EQ(ContextStat_GetFrequency(258, &m), 30);
    EXPECT_EQ(ContextStat_GetFrequency(3, &m), 0);
    EXPECT_EQ(ContextStat_GetSingleValue(3, &m), 0.0);
    EXPECT_EQ(ContextStat_GetSingleValue(-1, &m), 0.0);
    EXPECT_DOUBLE_EQ(ContextStat_GetPossibility(256, 258, &m), ContextStat_GetPossibility(0, 2, &m));
}

TEST(ContextStat, BothFormsDeriveTheCostTablesAndSaveByteExact) {
    vsgtest::TempDir dir;
    vsgtest::RewriteFile(dir.file("raw.ctx"), RawFile());
    vsgtest::RewriteFile(dir.file("ver.ctx"), VersionedFile());
    Ctx raw;
    Ctx ver;
    ASSERT_EQ(ContextStat_Load(dir.file("raw.ctx").c_str(), &raw.m), 1);
    ASSERT_EQ(ContextStat_LoadBinary(dir.file("ver.ctx").c_str(), &ver.m), 1);
    ExpectCosts(raw.m);
    ExpectCosts(ver.m);
    // Each form saved from either load is the same file again.
    for (ContextStat *m : {&raw.m, &ver.m}) {
        ASSERT_EQ(ContextStat_Save(dir.file("out.raw").c_str(), m), 1);
        ASSERT_EQ(ContextStat_SaveBinary(dir.file("out.ver").c_str(), m), 1);
        EXPECT_EQ(vsgtest::ReadFile(dir.file("out.raw")), RawFile());
        EXPECT_EQ(vsgtest::ReadFile(dir.file("out.ver")), VersionedFile());
    }
    // Loading again into a used record replaces its tables.
    ASSERT_EQ(ContextStat_Load(dir.file("out.raw").c_str(), &ver.m), 1);
    ExpectCosts(ver.m);
}

TEST(ContextStat, VersionedCountKeepsItsLowByte) {
    vsgtest::TempDir dir;
    vsgtest::Bytes b;
    b.U32(4).U32(300).I32(1000);
    for (int i = 0; i < 300; ++i) b.I32(i + 1);
    for (int i = 0; i < 300 * 300; ++i) b.I32(1);
    vsgtest::RewriteFile(dir.file("big.ctx"), b.str());
    Ctx m;
    ASSERT_EQ(ContextStat_LoadBinary(dir.file("big.ctx").c_str(), &m.m), 1);
    EXPECT_EQ(m.m.tagCount, 44);
    EXPECT_EQ(ContextStat_GetFrequency(43, &m.m), 44);
    EXPECT_EQ(ContextStat_GetFrequency(44, &m.m), 0);
    // The matrix is read right after the 44 frequencies.
    EXPECT_EQ(m.m.contextMatrix[0][0], 45);
    EXPECT_EQ(m.m.contextMatrix[43][43], 1);
}

TEST(ContextStat, FailuresAndShortFiles) {
    vsgtest::TempDir dir;
    Ctx m;
    EXPECT_EQ(ContextStat_Load(dir.file("none.ctx").c_str(), &m.m), -101);
    EXPECT_EQ(ContextStat_LoadBinary(dir.file("none.ctx").c_str(), &m.m), -101);
    EXPECT_EQ(ContextStat_Save(dir.file("no/such/dir").c_str(), &m.m), -101);
    EXPECT_EQ(ContextStat_SaveBinary(dir.file("no/such/dir").c_str(), &m.m), -101);

    // A raw file read as versioned: refused with the shared message, then
    // read as raw (its first byte is N).
    const std::string path = dir.file("nr.ctx");
    vsgtest::RewriteFile(path, RawFile());
    testing::internal::CaptureStderr();
    EXPECT_EQ(ContextStat_LoadBinary(path.c_str(), &m.m), -1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "coredict version error!");
    EXPECT_EQ(ContextStat_Load(path.c_str(), &m.m), 1);
    ExpectCosts(m.m);

    // Every truncation of the versioned form fails; of the raw form it
    // loads with the missing counts at 0.
    const std::string ver = VersionedFile();
    for (size_t len = 0; len < ver.size(); ++len) {
        vsgtest::RewriteFile(path, ver.substr(0, len));
        ASSERT_EQ(ContextStat_LoadBinary(path.c_str(), &m.m), -1) << len;
    }
    const std::string raw = RawFile();
    for (size_t len = 0; len < raw.size(); ++len) {
        vsgtest::RewriteFile(path, raw.substr(0, len));
        ASSERT_EQ(ContextStat_Load(path.c_str(), &m.m), 1) << len;
        const size_t whole = len < 5 ? 0 : (len - 5) / 4;  // complete counts after N and T
        EXPECT_EQ(m.m.tagCount, len == 0 ? 0 : kN);
        EXPECT_EQ(m.m.totalFrequency, len >= 5 ? kTotal : 0);
        for (int i = 0; i < m.m.tagCount; ++i) {
            EXPECT_EQ(ContextStat_GetFrequency(i, &m.m), i < static_cast<int>(whole) ? kFreq[i] : 0);
            for (int j = 0; j < kN; ++j) {
                const size_t index = kN + i * kN + j;
                EXPECT_EQ(m.m.contextMatrix[i][j], index < whole ? kMatrix[i][j] : 0) << len;
            }
        }
    }
    // An empty model answers every getter neutrally.
    vsgtest::RewriteFile(path, "");
    ASSERT_EQ(ContextStat_Load(path.c_str(), &m.m), 1);
    EXPECT_EQ(ContextStat_GetFrequency(0, &m.m), 0);
    EXPECT_DOUBLE_EQ(ContextStat_GetPossibility(0, 0, &m.m), 13.8155);
    ContextStat_Free(&m.m);
    ContextStat_Free(&m.m);
    EXPECT_EQ(ContextStat_GetSingleValue(0, &m.m), 0.0);
}

}  // namespace
