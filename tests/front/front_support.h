// Helpers of the raw-text interface tests.
#ifndef VSGLEX_TESTS_FRONT_FRONT_SUPPORT_H
#define VSGLEX_TESTS_FRONT_FRONT_SUPPORT_H

#include <gtest/gtest.h>
#include <iconv.h>

#include <cstdlib>
#include <string>
#include <sys/stat.h>

#include "vsglex/vsglex_api.h"

namespace fronttest {

// The source tree (set by the test runner), or the working directory.
inline std::string SourceDir() {
    const char *s = std::getenv("VSGLEX_SOURCE_DIR");
    return s != nullptr ? s : ".";
}

// The shipped model set, or "" when it has not been built yet.
inline std::string ModelDir() {
    std::string dir = SourceDir() + "/data/vsg";
    struct stat st;
    return stat((dir + "/coredict.dct").c_str(), &st) == 0 ? dir : "";
}

// `in` (in the character set `from`, UTF-8 by default) converted to the
// character set `to` by iconv; a failed conversion fails the test.
inline std::string Convert(const std::string &in, const char *to, const char *from = "UTF-8") {
    iconv_t cd = iconv_open(to, from);
    std::string out(in.size() * 4 + 4, '\0');
    char *src = const_cast<char *>(in.data());
    size_t left = in.size(), room = out.size();
    char *dst = out.data();
    EXPECT_NE(iconv(cd, &src, &left, &dst, &room), static_cast<size_t>(-1)) << to;
    iconv_close(cd);
    out.resize(out.size() - room);
    return out;
}

}  // namespace fronttest

#define REQUIRE_MODELS()                                                     \
    do {                                                                     \
        if (fronttest::ModelDir().empty()) GTEST_SKIP() << "no model set in data/vsg"; \
    } while (0)

namespace fronttest {

// A handle on the shipped models, opened for each test and closed after
// it; the test is skipped when the model set has not been built.
class ShippedModelsTest : public ::testing::Test {
protected:
    void SetUp() override {
        REQUIRE_MODELS();
        handle_ = vsglex_open(ModelDir().c_str());
        ASSERT_NE(handle_, nullptr) << vsglex_last_error();
    }
    void TearDown() override { vsglex_close(handle_); }

    vsglex_handle *handle_ = nullptr;
};

}  // namespace fronttest

#endif  // VSGLEX_TESTS_FRONT_FRONT_SUPPORT_H
