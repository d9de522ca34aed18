// Tests of engine loading and freeing over the fixture model set.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <string>

#include "support/fixture_models.h"
#include "support/support.h"
#include "vsglex/engine.h"

using vsgtest::FixtureModelSet;
using vsgtest::kModelFiles;

namespace {

// Every test starts and ends with nothing loaded; a failed load's instance
// (kept in g_mSEG on purpose) is released here too.
class EngineLoad : public testing::Test {
protected:
    void SetUp() override { VSG_FreeForServer(nullptr); }
    void TearDown() override { VSG_FreeForServer(nullptr); }
};

}  // namespace

TEST_F(EngineLoad, LoadsOnceAndHandsBackTheSameInstance) {
    FixtureModelSet set;
    SegmentEngine *first = nullptr;
    testing::internal::CaptureStderr();  // the text core dictionary is refused as binary
    ASSERT_EQ(VSG_LoadForServer(&first, set.path().c_str()), 0);
    testing::internal::GetCapturedStderr();
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(first, g_mSEG);
    EXPECT_EQ(g_bTag, 1);
    EXPECT_EQ(first->tagModels[VSG_TAG_POS].map.count, 95);
    EXPECT_EQ(first->tagModels[VSG_TAG_PERSON].map.count, 23);
    EXPECT_EQ(first->tagModels[VSG_TAG_PLACE].map.count, 19);
    EXPECT_EQ(first->tagModels[VSG_TAG_PERSON].model.tagCount, 23);
    EXPECT_EQ(first->affix[VSG_AFFIX_PLACE_SUFFIX].count, 4);
    EXPECT_GE(DictionaryS_GetCoreInfo(vsgtest::Gb("未##人").c_str(), &first->core), 0);

    SegmentEngine *second = nullptr;
    EXPECT_EQ(VSG_LoadForServer(&second, "/nonexistent"), 1);
    EXPECT_EQ(second, first);

    VSG_FreeForServer(nullptr);
    EXPECT_EQ(g_mSEG, nullptr);
    EXPECT_EQ(g_bTag, 0);
    VSG_FreeForServer(first);  // nothing loaded: harmless

    // After a free a new load builds a fresh instance; a trailing separator
    // makes no difference; raw context files load as well.
    FixtureModelSet raw(true);
    for (const std::string &dir : {set.path() + "/", raw.path(), raw.path() + "/"}) {
        SegmentEngine *again = nullptr;
        testing::internal::CaptureStderr();
        EXPECT_EQ(VSG_LoadForServer(&again, dir.c_str()), 0) << dir;
        testing::internal::GetCapturedStderr();
        EXPECT_EQ(again, g_mSEG);
        EXPECT_EQ(again->tagModels[VSG_TAG_PLACE].model.tagCount, 19);
        VSG_FreeForServer(again);
    }

    // A binary core dictionary is read by the binary loader: no refusal
    // message, same entries.
    FixtureModelSet binary;
    SegmentEngine *text = nullptr;
    testing::internal::CaptureStderr();
    ASSERT_EQ(VSG_LoadForServer(&text, set.path().c_str()), 0);
    testing::internal::GetCapturedStderr();
    ASSERT_EQ(DictionaryS_SaveBinary(binary.file("coredict.dct").c_str(), &text->core), 1);
    const int32_t count = text->core.count;
    VSG_FreeForServer(text);
    testing::internal::CaptureStderr();
    SegmentEngine *fromBinary = nullptr;
    EXPECT_EQ(VSG_LoadForServer(&fromBinary, binary.path().c_str()), 0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(fromBinary->core.count, count);
    EXPECT_GE(DictionaryS_GetCoreInfo(vsgtest::Gb("黄").c_str(), &fromBinary->core), 0);
}

// Each missing file fails with its own status, the engine stays unloaded
// and the caller's handle is left alone.
TEST_F(EngineLoad, EachMissingFileHasItsOwnStatus) {
    for (int i = 0; i < 12; ++i) {
        FixtureModelSet set;
        ASSERT_EQ(std::remove(set.file(kModelFiles[i]).c_str()), 0);
        SegmentEngine *handle = reinterpret_cast<SegmentEngine *>(0x1);
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        const int32_t status = VSG_LoadForServer(&handle, set.path().c_str());
        testing::internal::GetCapturedStdout();
        testing::internal::GetCapturedStderr();
        EXPECT_EQ(status, -2204 - i) << kModelFiles[i];
        EXPECT_EQ(g_bTag, 0);
        EXPECT_NE(g_mSEG, nullptr);  // the half-loaded instance stays
        EXPECT_EQ(handle, reinterpret_cast<SegmentEngine *>(0x1));
        VSG_FreeForServer(nullptr);
    }
    // A nine-model partial load is released by the free routine (the leak
    // checker of the sanitizer build watches this).
    SegmentEngine *handle = nullptr;
    EXPECT_EQ(VSG_LoadForServer(&handle, "/nonexistent/dir"), -2204);
    EXPECT_EQ(handle, nullptr);
}

// A binary-looking but wrong core dictionary falls back to the text loader;
// a directory name too long for the path buffer fails cleanly.
TEST_F(EngineLoad, FallbacksAndBadDirectories) {
    FixtureModelSet set;
    testing::internal::CaptureStderr();
    SegmentEngine *handle = nullptr;
    EXPECT_EQ(VSG_LoadForServer(&handle, set.path().c_str()), 0);
    // The text core dictionary was read after the binary loader refused it.
    EXPECT_NE(testing::internal::GetCapturedStderr().find("coredict version error!"), std::string::npos);
    VSG_FreeForServer(handle);

    const std::string longDir(5000, 'a');
    EXPECT_EQ(VSG_LoadForServer(&handle, longDir.c_str()), -2204);
    EXPECT_EQ(g_bTag, 0);
    VSG_FreeForServer(nullptr);
    EXPECT_EQ(VSG_LoadForServer(&handle, nullptr), -2204);
}

TEST_F(EngineLoad, RepeatedLoadFreeCycles) {
    FixtureModelSet set;
    testing::internal::CaptureStderr();
    const auto t0 = std::chrono::steady_clock::now();
    const int cycles = 100;
    for (int i = 0; i < cycles; ++i) {
        SegmentEngine *handle = nullptr;
        ASSERT_EQ(VSG_LoadForServer(&handle, set.path().c_str()), 0);
        VSG_FreeForServer(handle);
    }
    const double ms = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - t0).count();
    testing::internal::GetCapturedStderr();
    RecordProperty("fixture_load_ms", std::to_string(ms / cycles));
    printf("fixture set: %.3f ms per load+free (%d cycles)\n", ms / cycles, cycles);
}
