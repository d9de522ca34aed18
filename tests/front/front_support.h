// Helpers of the raw-text interface tests.
#ifndef VSGLEX_TESTS_FRONT_FRONT_SUPPORT_H
#define VSGLEX_TESTS_FRONT_FRONT_SUPPORT_H

#include <gtest/gtest.h>
#include <iconv.h>

#include <cstdlib>
#include <string>
#include <sys/stat.h>

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

// `in` (UTF-8) converted to the character set `to` by iconv; a failed
// conversion fails the test.
inline std::string Convert(const std::string &in, const char *to) {
    iconv_t cd = iconv_open(to, "UTF-8");
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

#endif  // VSGLEX_TESTS_FRONT_FRONT_SUPPORT_H
