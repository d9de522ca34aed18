// Private engine instances beside the process-wide one, and the reuse of
// each thread's working storage across calls and across engines.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "engine/instance.h"
#include "support/fixture_models.h"
#include "support/support.h"
#include "vsglex/engine.h"

using vsgtest::Gb;

namespace {

// "text/tag" of every output word of one call of `engine` (or of the server
// interface with `models` when `engine` is null).
std::string Segment(const vsg::engine::Engine *engine, const std::vector<std::string> &words,
                    const SegmentEngine *models = nullptr) {
    std::vector<WordItem> items;
    for (const std::string &w : words) {
        WordItem item{};
        const std::string gb = Gb(w);
        snprintf(item.text, sizeof item.text, "%s", gb.c_str());
        items.push_back(item);
    }
    WordList in{static_cast<int32_t>(items.size()), items.data()};
    WordList out{0, nullptr};
    EXPECT_EQ(engine != nullptr ? engine->Segment(&in, &out, 0) : VSG_SegmentForServer(&in, &out, 0, models), 1);
    std::string result;
    for (int32_t k = 0; k < out.count; ++k)
        result += vsgtest::Utf8(out.items[k].text) + "/" + std::to_string(out.items[k].tag) + " ";
    VSG_SegmentForServerFree(&out);
    return result;
}

TEST(EngineInstance, TwoInstancesInOneThreadKeepTheirOwnModels) {
    const char *source = std::getenv("VSGLEX_SOURCE_DIR");
    if (source == nullptr) GTEST_SKIP() << "VSGLEX_SOURCE_DIR not set";
    vsgtest::FixtureModelSet fixture;
    int32_t status = -1;
    testing::internal::CaptureStderr();  // the text-form fixture dictionary is tried as binary first
    std::unique_ptr<vsg::engine::Engine> small = vsg::engine::Engine::Load(fixture.path().c_str(), &status);
    testing::internal::GetCapturedStderr();
    ASSERT_NE(small, nullptr);
    EXPECT_EQ(status, 0);
    std::unique_ptr<vsg::engine::Engine> shipped =
        vsg::engine::Engine::Load((std::string(source) + "/data/vsg").c_str(), &status);
    ASSERT_NE(shipped, nullptr) << status;
    // Private instances leave the process-wide one alone.
    EXPECT_EQ(g_mSEG, nullptr);
    EXPECT_EQ(g_bTag, 0);

    const std::vector<std::string> words = {"张", "伟", "说", "。"};
    const std::string first = Segment(small.get(), words);
    const std::string second = Segment(shipped.get(), words);
    // The sets number their tags differently ("说" is a verb in both).
    EXPECT_NE(first, second);
    for (int round = 0; round < 3; ++round) {
        EXPECT_EQ(Segment(small.get(), words), first);
        EXPECT_EQ(Segment(shipped.get(), words), second);
    }
    // A fresh thread, with fresh working storage, agrees.
    std::string fresh;
    std::thread([&] { fresh = Segment(shipped.get(), words); }).join();
    EXPECT_EQ(fresh, second);
}

TEST(EngineInstance, FailedLoadReportsTheFileAndLeavesNothing) {
    vsgtest::FixtureModelSet fixture;
    ASSERT_EQ(std::remove(fixture.file("ns.ctx").c_str()), 0);
    int32_t status = 0;
    vsg::model::LoadFault fault = vsg::model::LoadFault::kNone;
    // An owned engine loads quietly and tells what failed instead.
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    std::unique_ptr<vsg::engine::Engine> engine =
        vsg::engine::Engine::Load(fixture.path().c_str(), &status, &fault);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(engine, nullptr);
    EXPECT_EQ(status, VSG_ERR_NS_CTX);
    EXPECT_EQ(fault, vsg::model::LoadFault::kCannotOpen);
    EXPECT_EQ(g_mSEG, nullptr);
}

}  // namespace
