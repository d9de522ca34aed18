// Who owns the models behind raw-text handles: each directory gets its own
// model set, shared by the handles on it and untouched by the server and
// phrase interfaces' process-wide instance.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "front_support.h"
#include "support/fixture_models.h"
#include "vsglex/engine.h"
#include "vsglex/lexical.h"
#include "vsglex/vsglex_api.h"

namespace {

// "word/tag" of every word of `text`, or the error.
std::string Tagged(const vsglex_handle *h, const std::string &text) {
    vsglex_result *r = nullptr;
    if (vsglex_analyze(h, text.data(), text.size(), VSGLEX_CHARSET_UTF8, 0, &r) != VSGLEX_OK)
        return std::string("error: ") + vsglex_last_error();
    std::string out;
    for (size_t k = 0; k < r->word_count; ++k) {
        out += r->words[k].text;
        out += '/';
        out += r->words[k].tag_name;
        out += ' ';
    }
    vsglex_result_free(r);
    return out;
}

TEST(ModelOwnershipTest, ProcessWideInstanceCannotFreeAHandlesModels) {
    REQUIRE_MODELS();
    const std::string dir = fronttest::ModelDir();
    vsglex_handle *h = vsglex_open(dir.c_str());
    ASSERT_NE(h, nullptr) << vsglex_last_error();
    const std::string text = "国务院总理李国华今天在北京会见了客人。";
    const std::string before = Tagged(h, text);
    ASSERT_EQ(before.find("error"), std::string::npos) << before;

    // The phrase interface loads and frees the process-wide instance.
    ASSERT_GE(QPNLexicalStart((fronttest::SourceDir() + "/data").c_str()), 0);
    QPNLexicalClose();
    EXPECT_EQ(Tagged(h, text), before);
    // So does the server interface, whatever argument it is given.
    SegmentEngine *engine = nullptr;
    ASSERT_GE(VSG_LoadForServer(&engine, dir.c_str()), 0);
    VSG_FreeForServer(engine);
    EXPECT_EQ(g_mSEG, nullptr);
    EXPECT_EQ(Tagged(h, text), before);

    // A second handle on the same directory shares the set and outlives the first.
    vsglex_handle *h2 = vsglex_open((dir + "/").c_str());
    ASSERT_NE(h2, nullptr) << vsglex_last_error();
    vsglex_close(h);
    EXPECT_EQ(Tagged(h2, text), before);
    vsglex_close(h2);
}

TEST(ModelOwnershipTest, EachDirectoryHasItsOwnModels) {
    REQUIRE_MODELS();
    vsgtest::FixtureModelSet fixture;
    vsglex_handle *shipped = vsglex_open(fronttest::ModelDir().c_str());
    ASSERT_NE(shipped, nullptr) << vsglex_last_error();
    vsglex_handle *small = vsglex_open(fixture.path().c_str());
    ASSERT_NE(small, nullptr) << vsglex_last_error();
    // Line 2 of the shipped tag map is "n", of the fixture's "a".
    EXPECT_STREQ(vsglex_tag_name(shipped, 2), "n");
    EXPECT_STREQ(vsglex_tag_name(small, 2), "a");
    const std::string text = "张伟说。";
    vsglex_close(shipped);
    // The fixture set stays usable after the other set is freed.
    EXPECT_STREQ(vsglex_tag_name(small, 2), "a");
    EXPECT_EQ(Tagged(small, text).find("error"), std::string::npos);
    vsglex_close(small);
}

TEST(ModelOwnershipTest, FailedOpenNamesTheFileAndLeavesNoSet) {
    vsgtest::FixtureModelSet fixture;
    ASSERT_EQ(std::remove(fixture.file("nt.map").c_str()), 0);
    EXPECT_EQ(vsglex_open(fixture.path().c_str()), nullptr);
    EXPECT_NE(std::strstr(vsglex_last_error(), "nt.map"), nullptr) << vsglex_last_error();
    // Nothing of the failed load is shared with the next open.
    vsgtest::WriteFixtureModels(fixture.path());
    vsglex_handle *h = vsglex_open(fixture.path().c_str());
    ASSERT_NE(h, nullptr) << vsglex_last_error();
    vsglex_close(h);
}

}  // namespace
