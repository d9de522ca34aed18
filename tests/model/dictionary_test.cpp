#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <string>

#include "model/bytes.h"
#include "support/support.h"
#include "vsglex/model.h"

namespace {

using vsgtest::Gb;

struct Dict {
    Dictionary d{};
    ~Dict() { Dictionary_Free(&d); }
};

// A transition table pair: pair keys first, single keys second.
struct PairTables {
    Dictionary t[2]{};
    ~PairTables() {
        Dictionary_Free(&t[0]);
        Dictionary_Free(&t[1]);
    }
};

TEST(Dictionary, TextLoadSkipsBlankLinesAndLooksUpValues) {
    vsgtest::TempDir dir;
    const std::string path = dir.file("name_pre.dct");
    vsgtest::RewriteFile(path, Gb("老 2.5\r\n\n \n小 1.25 extra\n阿\n"));
    Dict dict;
    ASSERT_EQ(Dictionary_Load(path.c_str(), &dict.d), 1);
    EXPECT_EQ(dict.d.count, 3);
    EXPECT_DOUBLE_EQ(Dictionary_GetValue(Gb("老").c_str(), &dict.d), 2.5);
    EXPECT_DOUBLE_EQ(Dictionary_GetValue(Gb("小").c_str(), &dict.d), 1.25);
    EXPECT_DOUBLE_EQ(Dictionary_GetValue(Gb("阿").c_str(), &dict.d), 0.0);  // value preset 0
    EXPECT_DOUBLE_EQ(Dictionary_GetValue(Gb("大").c_str(), &dict.d), -1.0);
    EXPECT_DOUBLE_EQ(Dictionary_GetValue("", &dict.d), -1.0);
    EXPECT_DOUBLE_EQ(Dictionary_GetValue(Gb("老").c_str(), nullptr), -1.0);
}

TEST(Dictionary, ManyKeysSharingBucketsRoundTripThroughBinary) {
    vsgtest::TempDir dir;
    std::string text;
    for (int i = 0; i < 400; ++i) text += "k" + std::to_string(i) + " " + std::to_string(i) + ".5\n";
    const std::string path = dir.file("org_suffix.dct");
    const std::string bin = dir.file("org_suffix.bin");
    vsgtest::RewriteFile(path, text);
    Dict a;
    ASSERT_EQ(Dictionary_Load(path.c_str(), &a.d), 1);
    ASSERT_EQ(Dictionary_SaveBinary(bin.c_str(), &a.d), 1);
    EXPECT_EQ(vsgtest::ReadFile(bin).substr(0, 8), std::string("\x04\0\0\0\x90\x01\0\0", 8));
    Dict b;
    ASSERT_EQ(Dictionary_LoadBinary(bin.c_str(), &b.d), 1);
    ASSERT_EQ(b.d.count, 400);
    int shared = 0;
    for (int h = 0; h < 500; ++h) shared += a.d.buckets[h].count > 1;
    EXPECT_GT(shared, 0);
    EXPECT_EQ(0, std::memcmp(a.d.buckets, b.d.buckets, sizeof(DictBucket) * 500));
    for (int i = 0; i < 400; ++i) {
        const std::string key = "k" + std::to_string(i);
        EXPECT_DOUBLE_EQ(Dictionary_GetValue(key.c_str(), &a.d), i + 0.5) << key;
        EXPECT_DOUBLE_EQ(Dictionary_GetValue(key.c_str(), &b.d), i + 0.5) << key;
        EXPECT_STREQ(a.d.entries[i].word, b.d.entries[i].word);
        EXPECT_EQ(a.d.entries[i].hash, b.d.entries[i].hash);
    }
    EXPECT_DOUBLE_EQ(Dictionary_GetValue("k400", &b.d), -1.0);
}

TEST(Dictionary, LoadFailures) {
    vsgtest::TempDir dir;
    Dict dict;
    const std::string missing = dir.file("loc_suffix.dct");
    testing::internal::CaptureStdout();
    EXPECT_EQ(Dictionary_Load(missing.c_str(), &dict.d), -1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "The input file " + missing + " does not exist !\n");
    // Two spaces or a tab: counted, then an empty key, so the load fails.
    for (const char *bad : {"a 1\n  \nb 2\n", "a 1\n\t\n"}) {
        vsgtest::RewriteFile(missing, bad);
        EXPECT_EQ(Dictionary_Load(missing.c_str(), &dict.d), -1) << bad;
    }

    // Binary: every truncation, wrong version, hostile counts and buckets.
    vsgtest::RewriteFile(missing, "ab 1.5\nc 2\n");
    ASSERT_EQ(Dictionary_Load(missing.c_str(), &dict.d), 1);
    const std::string bin = dir.file("x.bin");
    ASSERT_EQ(Dictionary_SaveBinary(bin.c_str(), &dict.d), 1);
    const std::string good = vsgtest::ReadFile(bin);
    ASSERT_EQ(good.size(), 8u + (4 + 2 + 8) + (4 + 1 + 8) + 102u * 8);
    for (size_t len = 0; len < good.size(); len += (len < 40 ? 1 : 29)) {
        vsgtest::RewriteFile(bin, good.substr(0, len));
        ASSERT_EQ(Dictionary_LoadBinary(bin.c_str(), &dict.d), -1) << len;
    }
    auto patched = [&](size_t offset, int32_t value) {
        std::string s = good;
        vsgtest::Bytes v;
        v.I32(value);
        s.replace(offset, 4, v.str());
        return s;
    };
    const size_t abBucket = good.size() - 102 * 8 + 8 * VSGHash1("ab", 102);
    for (const std::string &bad : {patched(4, INT32_MAX), patched(4, -2), patched(4, 40),
                                   patched(8, 1 << 30), patched(8, -1), patched(abBucket, 2),
                                   patched(abBucket, -4), patched(abBucket + 4, 3)}) {
        vsgtest::RewriteFile(bin, bad);
        EXPECT_EQ(Dictionary_LoadBinary(bin.c_str(), &dict.d), -1);
        EXPECT_DOUBLE_EQ(Dictionary_GetValue("ab", &dict.d), -1.0);
    }
    std::string v3 = good;
    v3[0] = 3;
    vsgtest::RewriteFile(bin, v3);
    testing::internal::CaptureStderr();
    EXPECT_EQ(Dictionary_LoadBinary(bin.c_str(), &dict.d), -1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "coredict version error!");
    EXPECT_EQ(Dictionary_SaveBinary(bin.c_str(), nullptr), -1);
    vsgtest::RewriteFile(bin, good);
    EXPECT_EQ(Dictionary_LoadBinary(bin.c_str(), &dict.d), 1);
    EXPECT_DOUBLE_EQ(Dictionary_GetValue("ab", &dict.d), 1.5);
}

TEST(Dictionary, TransitionCostsFallBackToTheFirstWord) {
    vsgtest::TempDir dir;
    vsgtest::RewriteFile(dir.file("pair.dct"),
                       Gb("张@三 2.5\n王@五 0\n李@四 -3\n未##人@三 4.25\n赵@钱 nan\n"));
    vsgtest::RewriteFile(dir.file("single.dct"), Gb("张 1.5\n王 -1\n李 0.75\n"));
    PairTables p;
    ASSERT_EQ(Dictionary_Load(dir.file("pair.dct").c_str(), &p.t[0]), 1);
    ASSERT_EQ(Dictionary_Load(dir.file("single.dct").c_str(), &p.t[1]), 1);

    const auto prob0 = [&](const char *a, const char *b) {
        return GetTransitionProb0(Gb(a).c_str(), Gb(b).c_str(), p.t);
    };
    EXPECT_DOUBLE_EQ(prob0("张", "三"), 2.5);
    EXPECT_DOUBLE_EQ(prob0("张", "四"), 1.5);      // single table, first word
    EXPECT_DOUBLE_EQ(prob0("李", "四"), 0.75);     // negative pair value is missing
    EXPECT_DOUBLE_EQ(prob0("王", "五"), 11.0285);  // 0 pair, negative single
    EXPECT_DOUBLE_EQ(prob0("三", "张"), 11.0285);  // the second word is never looked up
    EXPECT_TRUE(std::isnan(prob0("赵", "钱")));   // NaN counts as a value
    EXPECT_DOUBLE_EQ(GetTransitionProb0("x", "y", nullptr), 11.0285);
    const std::string longText(600, 'x');
    EXPECT_DOUBLE_EQ(GetTransitionProb0(longText.c_str(), longText.c_str(), p.t), 11.0285);

    SpanWord x{};
    SpanWord y{};
    std::strcpy(x.text, Gb("张").c_str());
    std::strcpy(y.text, Gb("三").c_str());
    EXPECT_DOUBLE_EQ(GetTransitionProb1(&x, &y, p.t), 2.5);
    std::strcpy(x.classText, Gb("未##人").c_str());
    EXPECT_DOUBLE_EQ(GetTransitionProb1(&x, &y, p.t), 4.25);
    std::strcpy(y.classText, Gb("未##地").c_str());
    EXPECT_DOUBLE_EQ(GetTransitionProb1(&x, &y, p.t), 11.0285);
    EXPECT_DOUBLE_EQ(GetTransitionProb1(nullptr, &y, p.t), -1.0);
    EXPECT_DOUBLE_EQ(GetTransitionProb1(&x, nullptr, p.t), -1.0);
    // Unterminated fields are read only up to their size.
    std::memset(x.text, 'a', sizeof x.text);
    x.classText[0] = '\0';
    std::memset(y.classText, 'b', sizeof y.classText);
    EXPECT_DOUBLE_EQ(GetTransitionProb1(&x, &y, p.t), 11.0285);
}

}  // namespace
