#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "model/bytes.h"
#include "support/support.h"
#include "vsglex/model.h"

namespace {

using vsgtest::Gb;

// A small core dictionary: class words, boundary words and a few entries
// with the row-line quirks (one number only, no number at all).
std::string SmallCoreText() {
    return Gb("始##始 1 10 0.5 0 0\n"
              "1 0 3.5\n"
              "未##它 2 5 1 2 3\n"
              "0 4 1.5\n"
              "1 22 0.25\n"
              "未##人 1 3 0 0 0\n"
              "1 1 2\n"
              "未##地 1 3 0 0 0\n"
              "2 1 2\n"
              "未##团 1 3 0 0 0\n"
              "3 1 2\n"
              "中国 3 100 1 2 3\r\n"
              "0 12 5.5\n"
              "7\n"
              "none\n"
              "末##末 1 10 0 0 0\n"
              "1 1 2.0\n");
}

struct DictS {
    DictionaryS d{};
    ~DictS() { DictionaryS_Free(&d); }
};

const DictSEntry *Find(const DictionaryS &d, const std::string &word) {
    const int32_t pos = DictionaryS_GetCoreInfo(word.c_str(), &d);
    return pos < 0 ? nullptr : &d.entries[pos];
}

TEST(DictionaryS, TextLoadRowsStatsAndClassWords) {
    vsgtest::TempDir dir;
    const std::string path = dir.file("coredict.dct");
    vsgtest::RewriteFile(path, SmallCoreText());
    gTaIndexNum = 4468;
    DictS dict;
    ASSERT_EQ(DictionaryS_Load(path.c_str(), &dict.d), 1);
    EXPECT_EQ(dict.d.count, 7);

    const DictSEntry *china = Find(dict.d, Gb("中国"));
    ASSERT_NE(china, nullptr);
    EXPECT_EQ(china->posCount, 3);
    EXPECT_EQ(china->length, 4);
    EXPECT_EQ(china->flag, 1);
    EXPECT_FLOAT_EQ(china->stats[0], 100);
    EXPECT_FLOAT_EQ(china->stats[3], 3);
    EXPECT_EQ(china->posList[0].code, 0);
    EXPECT_EQ(china->posList[0].subCode, 12);
    EXPECT_FLOAT_EQ(china->posList[0].value, 5.5f);
    // One number: subCode 255, value 0.
    EXPECT_EQ(china->posList[1].code, 7);
    EXPECT_EQ(china->posList[1].subCode, 255);
    EXPECT_EQ(china->posList[1].value, 0.0f);
    // No number: the code of the row before is repeated.
    EXPECT_EQ(china->posList[2].code, 7);
    EXPECT_EQ(china->posList[2].subCode, 255);
    EXPECT_EQ(china->posList[2].flag, 1u);

    // Class-word positions point at the right entries.
    EXPECT_EQ(gTaIndexNum, DictionaryS_GetCoreInfo(Gb("未##它").c_str(), &dict.d));
    EXPECT_EQ(dict.d.personIndex, DictionaryS_GetCoreInfo(Gb("未##人").c_str(), &dict.d));
    EXPECT_EQ(dict.d.placeIndex, DictionaryS_GetCoreInfo(Gb("未##地").c_str(), &dict.d));
    EXPECT_EQ(dict.d.orgIndex, DictionaryS_GetCoreInfo(Gb("未##团").c_str(), &dict.d));
    EXPECT_EQ(dict.d.entries[gTaIndexNum].posList[1].subCode, 22);

    // Sorted by hash; misses and the empty word give -1.
    for (int i = 1; i < dict.d.count; ++i)
        EXPECT_LE(dict.d.entries[i - 1].hash, dict.d.entries[i].hash);
    EXPECT_EQ(DictionaryS_GetCoreInfo("", &dict.d), -1);
    EXPECT_EQ(DictionaryS_GetCoreInfo(Gb("中").c_str(), &dict.d), -1);
    EXPECT_EQ(DictionaryS_GetCoreInfo(Gb("中国人").c_str(), &dict.d), -1);
    EXPECT_EQ(DictionaryS_GetCoreInfo(Gb("中国").c_str(), nullptr), -1);
}

TEST(DictionaryS, ClassWordsOnlyRecordedForTheCoreFileName) {
    vsgtest::TempDir dir;
    const std::string path = dir.file("other.dct");
    vsgtest::RewriteFile(path, SmallCoreText());
    gTaIndexNum = 4468;
    DictS dict;
    ASSERT_EQ(DictionaryS_Load(path.c_str(), &dict.d), 1);
    EXPECT_EQ(gTaIndexNum, 4468);
    EXPECT_EQ(dict.d.personIndex, 0);
    EXPECT_EQ(dict.d.orgIndex, 0);
}

TEST(DictionaryS, ManyWordsWithSharedBucketsAreAllFound) {
    vsgtest::TempDir dir;
    std::string text;
    std::vector<std::string> words;
    for (int i = 0; i < 3000; ++i) {
        // GB-like two-character words plus a counter.
        std::string w;
        w += static_cast<char>(0xB0 + i % 40);
        w += static_cast<char>(0xA1 + (i / 40) % 90);
        w += std::to_string(i);
        words.push_back(w);
        text += w + " 1 " + std::to_string(i) + " 0 0 0\n" + std::to_string(i % 4) + " 3 1.5\n";
    }
    const std::string path = dir.file("big.dct");
    vsgtest::RewriteFile(path, text);
    DictS dict;
    ASSERT_EQ(DictionaryS_Load(path.c_str(), &dict.d), 1);
    std::map<int32_t, int> perBucket;
    for (size_t i = 0; i < words.size(); ++i) {
        const DictSEntry *e = Find(dict.d, words[i]);
        ASSERT_NE(e, nullptr) << i;
        EXPECT_EQ(e->word, words[i]);
        EXPECT_FLOAT_EQ(e->stats[0], static_cast<float>(i));
        ++perBucket[e->hash];
    }
    int shared = 0;
    for (const auto &kv : perBucket) shared += kv.second > 1;
    EXPECT_GT(shared, 0) << "no two words share a bucket: the test lost its point";
    EXPECT_EQ(DictionaryS_GetCoreInfo("zz", &dict.d), -1);
}

TEST(DictionaryS, BinaryRoundTripKeepsEverythingButLeavesClassGlobal) {
    vsgtest::TempDir dir;
    const std::string text = dir.file("coredict.dct");
    const std::string bin = dir.file("coredict.bin");
    vsgtest::RewriteFile(text, SmallCoreText());
    DictS a;
    ASSERT_EQ(DictionaryS_Load(text.c_str(), &a.d), 1);
    const int32_t other = gTaIndexNum;
    ASSERT_EQ(DictionaryS_SaveBinary(bin.c_str(), &a.d), 1);

    gTaIndexNum = 4468;
    DictS b;
    ASSERT_EQ(DictionaryS_LoadBinary(bin.c_str(), &b.d), 1);
    EXPECT_EQ(gTaIndexNum, 4468);
    gTaIndexNum = other;
    ASSERT_EQ(b.d.count, a.d.count);
    EXPECT_EQ(b.d.personIndex, a.d.personIndex);
    EXPECT_EQ(b.d.placeIndex, a.d.placeIndex);
    EXPECT_EQ(b.d.orgIndex, a.d.orgIndex);
    for (int i = 0; i < a.d.count; ++i) {
        const DictSEntry &x = a.d.entries[i];
        const DictSEntry &y = b.d.entries[i];
        EXPECT_STREQ(x.word, y.word);
        EXPECT_EQ(x.length, y.length);
        EXPECT_EQ(x.hash, y.hash);
        EXPECT_EQ(x.flag, y.flag);
        EXPECT_EQ(0, std::memcmp(x.stats, y.stats, sizeof x.stats));
        ASSERT_EQ(x.posCount, y.posCount);
        for (int r = 0; r < x.posCount; ++r) {
            EXPECT_EQ(x.posList[r].code, y.posList[r].code);
            EXPECT_EQ(x.posList[r].subCode, y.posList[r].subCode);
            EXPECT_EQ(x.posList[r].value, y.posList[r].value);
            EXPECT_EQ(x.posList[r].flag, y.posList[r].flag);
        }
        // The record promises room for one more row, zeroed.
        const DictSRow &extra = y.posList[y.posCount];
        EXPECT_TRUE(extra.code == 0 && extra.subCode == 0 && extra.value == 0.0f && extra.flag == 0) << x.word;
        EXPECT_EQ(DictionaryS_GetCoreInfo(x.word, &b.d), DictionaryS_GetCoreInfo(x.word, &a.d));
    }
    EXPECT_EQ(0, std::memcmp(a.d.buckets, b.d.buckets, sizeof(DictBucket) * DICTS_BUCKETS));
    // The header is version 4 and the count, little-endian.
    const std::string bytes = vsgtest::ReadFile(bin);
    EXPECT_EQ(bytes.substr(0, 8), std::string("\x04\0\0\0\x07\0\0\0", 8));
}

TEST(DictionaryS, TextLoadFailures) {
    vsgtest::TempDir dir;
    DictS dict;
    const std::string missing = dir.file("none.dct");
    testing::internal::CaptureStdout();
    EXPECT_EQ(DictionaryS_Load(missing.c_str(), &dict.d), -1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "The input file " + missing + " does not exist !\n");

    const std::string path = dir.file("coredict.dct");
    // A row count of 0, a blank line, and rows the file does not hold all
    // make the whole load fail; the partial tables go with _Free.
    for (const std::string &bad : {std::string("a 1 0 0 0 0\n1 1 1\nb 0 0 0 0 0\n"),
                                   std::string("a 1 0 0 0 0\n1 1 1\n\n"),
                                   std::string("a 5 0 0 0 0\n1 1 1\n"),
                                   std::string("a 2147483647 0 0 0 0\n1 1 1\n")}) {
        vsgtest::RewriteFile(path, bad);
        EXPECT_EQ(DictionaryS_Load(path.c_str(), &dict.d), -1) << bad;
        EXPECT_EQ(DictionaryS_GetCoreInfo("a", &dict.d), -1);
    }
    // The same record loads again after failures, without leaks.
    vsgtest::RewriteFile(path, SmallCoreText());
    EXPECT_EQ(DictionaryS_Load(path.c_str(), &dict.d), 1);
    // Lines longer than the buffer and NUL bytes are read safely.
    vsgtest::RewriteFile(path, std::string(300, 'x') + " 1 0 0 0 0\n1 1 1\n" + std::string("a\0b 1", 5));
    EXPECT_EQ(DictionaryS_Load(path.c_str(), &dict.d), -1);
}

// A binary dictionary of two entries, built byte by byte.
vsgtest::Bytes TwoEntryBinary() {
    vsgtest::Bytes b;
    b.U32(4).I32(2).I32(1).I32(-1).I32(0);
    const uint32_t ha = VSGHash("ab", DICTS_BUCKETS);
    const uint32_t hb = VSGHash("abc", DICTS_BUCKETS);
    b.I32(2).Raw("ab").I32(1).Float(1).Float(2).Float(3).Float(4);
    b.U16(258).U8(7).Float(0.5f).U32(1).I32(static_cast<int32_t>(ha)).I32(1);
    b.I32(3).Raw("abc").I32(0).Float(0).Float(0).Float(0).Float(0).I32(static_cast<int32_t>(hb)).I32(0);
    for (uint32_t h = 0; h < DICTS_BUCKETS; ++h) {
        if (h == ha) b.I32(0).I32(1);
        else if (h == hb) b.I32(1).I32(1);
        else b.I32(-1).I32(0);
    }
    return b;
}

TEST(DictionaryS, BinaryLoadReadsTheLayoutAndRejectsCorruptFiles) {
    vsgtest::TempDir dir;
    const std::string path = dir.file("coredict.dct");
    const std::string good = TwoEntryBinary().str();
    vsgtest::RewriteFile(path, good);
    DictS dict;
    ASSERT_EQ(DictionaryS_LoadBinary(path.c_str(), &dict.d), 1);
    EXPECT_EQ(dict.d.personIndex, 1);
    EXPECT_EQ(dict.d.placeIndex, -1);
    const DictSEntry *ab = Find(dict.d, "ab");
    ASSERT_NE(ab, nullptr);
    EXPECT_EQ(ab->posList[0].code, 258);
    EXPECT_EQ(ab->posList[0].subCode, 7);
    EXPECT_EQ(ab->posList[0].value, 0.5f);
    EXPECT_EQ(ab->stats[2], 3.0f);
    EXPECT_EQ(DictionaryS_GetCoreInfo("abc", &dict.d), 1);
    EXPECT_EQ(DictionaryS_GetCoreInfo("abd", &dict.d), -1);

    // Wrong version: the message names the core dictionary.
    std::string v5 = good;
    v5[0] = 5;
    vsgtest::RewriteFile(path, v5);
    testing::internal::CaptureStderr();
    EXPECT_EQ(DictionaryS_LoadBinary(path.c_str(), &dict.d), -1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "coredict version error!");
    EXPECT_EQ(DictionaryS_LoadBinary(dir.file("none").c_str(), &dict.d), -1);

    // Every truncation of the entries and a sample of the buckets fails.
    for (size_t len = 0; len < good.size(); len += (len < 200 ? 1 : 4999)) {
        vsgtest::RewriteFile(path, good.substr(0, len));
        ASSERT_EQ(DictionaryS_LoadBinary(path.c_str(), &dict.d), -1) << len;
        EXPECT_EQ(DictionaryS_GetCoreInfo("ab", &dict.d), -1);
    }
    vsgtest::RewriteFile(path, good.substr(0, good.size() - 1));
    EXPECT_EQ(DictionaryS_LoadBinary(path.c_str(), &dict.d), -1);

    // Hostile counts, lengths, positions and bucket runs.
    auto patched = [&](size_t offset, int32_t value) {
        std::string s = good;
        vsgtest::Bytes v;
        v.I32(value);
        s.replace(offset, 4, v.str());
        return s;
    };
    const size_t bucketTable = good.size() - 1200000;
    const size_t bucketOfAbc = bucketTable + 8 * VSGHash("abc", DICTS_BUCKETS);
    for (const std::string &bad :
         {patched(4, INT32_MAX), patched(4, -1), patched(4, 3), patched(8, 2), patched(12, -7),
          patched(20, INT32_MAX), patched(20, -3), patched(26, 100000000), patched(26, -1),
          patched(bucketOfAbc, 2), patched(bucketOfAbc + 4, 2), patched(bucketOfAbc, -5)}) {
        vsgtest::RewriteFile(path, bad);
        EXPECT_EQ(DictionaryS_LoadBinary(path.c_str(), &dict.d), -1);
        EXPECT_EQ(DictionaryS_GetCoreInfo("abc", &dict.d), -1);
    }
    // Harmless oddities load: an empty bucket with a stray count.
    vsgtest::RewriteFile(path, patched(bucketTable + 4, 99));
    EXPECT_EQ(DictionaryS_LoadBinary(path.c_str(), &dict.d), 1);
}

TEST(DictionaryS, TextFileReadAsBinaryFailsThenLoadsAsText) {
    vsgtest::TempDir dir;
    const std::string path = dir.file("coredict.dct");
    vsgtest::RewriteFile(path, SmallCoreText());
    DictS dict;
    testing::internal::CaptureStderr();
    EXPECT_EQ(DictionaryS_LoadBinary(path.c_str(), &dict.d), -1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "coredict version error!");
    EXPECT_EQ(DictionaryS_Load(path.c_str(), &dict.d), 1);
    EXPECT_GE(DictionaryS_GetCoreInfo(Gb("中国").c_str(), &dict.d), 0);
    DictionaryS_Free(&dict.d);
    DictionaryS_Free(&dict.d);
    EXPECT_EQ(DictionaryS_GetCoreInfo(Gb("中国").c_str(), &dict.d), -1);
    DictionaryS_Free(nullptr);
}

}  // namespace
