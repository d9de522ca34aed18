// The shipped binary core dictionary, loaded in a fresh process: part-of-speech
// tagging of a word the dictionary lacks reads the rows at the fixed
// unseen-word position, which must be the unseen-word distribution.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <set>
#include <string>
#include <vector>

#include "support/support.h"
#include "vsglex/engine.h"

namespace {

std::string ModelDir() {
    const char *src = std::getenv("VSGLEX_SOURCE_DIR");
    return std::string(src != nullptr ? src : ".") + "/data/vsg";
}

WordItem Item(const std::string &gb, uint16_t sentence, uint32_t id) {
    WordItem w;
    std::memset(&w, 0, sizeof w);
    std::strncpy(w.text, gb.c_str(), sizeof w.text - 1);
    w.sentence = sentence;
    w.id = id;
    return w;
}

TEST(ShippedUnseen, BinaryLoadTagsUnknownWordsFromTheUnseenRows) {
    ASSERT_EQ(gTaIndexNum, 4468);
    SegmentEngine *engine = nullptr;
    ASSERT_EQ(VSG_LoadForServer(&engine, ModelDir().c_str()), 0);
    ASSERT_NE(engine, nullptr);
    EXPECT_EQ(gTaIndexNum, 4468);  // the binary loader leaves it alone

    const DictionaryS &core = engine->core;
    ASSERT_GT(core.count, 4468);
    const DictSEntry &twin = core.entries[4468];
    const int32_t other = DictionaryS_GetCoreInfo(vsgtest::Gb("未##它").c_str(), &core);
    ASSERT_GE(other, 0);
    ASSERT_NE(other, 4468);
    const DictSEntry &real = core.entries[other];
    // The entry at the fixed position is a twin of the unseen-word entry
    // whose text no GB input can hold (a 0xFF byte).
    EXPECT_EQ(std::string(twin.word).find(vsgtest::Gb("未##它") + "\xff"), 0u);
    ASSERT_EQ(twin.posCount, real.posCount);
    ASSERT_GT(twin.posCount, 1);
    ASSERT_LE(twin.posCount, 19);
    std::set<int> unseenTags;
    for (int32_t r = 0; r < twin.posCount; ++r) {
        EXPECT_EQ(twin.posList[r].code, 0) << "only part-of-speech rows may be candidates";
        EXPECT_EQ(twin.posList[r].subCode, real.posList[r].subCode);
        EXPECT_EQ(twin.posList[r].value, real.posList[r].value);
        unseenTags.insert(twin.posList[r].subCode);
    }
    EXPECT_TRUE(unseenTags.count(2)) << "nouns must be among the unseen-word tags";

    // Tag a sentence with two invented words: both get a tag from the
    // unseen-word rows, and the known words around them keep theirs.
    const std::vector<std::string> words = {vsgtest::Gb("我们"), vsgtest::Gb("喾喾"), vsgtest::Gb("了"),
                                            vsgtest::Gb("蹀躞鬯"), vsgtest::Gb("。")};
    ASSERT_LT(DictionaryS_GetCoreInfo(words[1].c_str(), &core), 0);
    ASSERT_LT(DictionaryS_GetCoreInfo(words[3].c_str(), &core), 0);
    std::vector<WordItem> items;
    for (size_t i = 0; i < words.size(); ++i) items.push_back(Item(words[i], 7, static_cast<uint32_t>(i)));
    WordList in{static_cast<int32_t>(items.size()), items.data()};
    WordList out{0, nullptr};
    ASSERT_EQ(VSG_SegmentForServer(&in, &out, 0, engine), 1);
    ASSERT_EQ(out.count, 5);
    EXPECT_TRUE(unseenTags.count(out.items[1].tag)) << int(out.items[1].tag);
    EXPECT_TRUE(unseenTags.count(out.items[3].tag)) << int(out.items[3].tag);
    EXPECT_EQ(out.items[4].tag, 78);  // full stop
    VSG_SegmentForServerFree(&out);
    VSG_FreeForServer(engine);
}

}  // namespace
