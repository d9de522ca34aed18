// Helpers of the raw-text interface tests.
#ifndef VSGLEX_TESTS_FRONT_FRONT_SUPPORT_H
#define VSGLEX_TESTS_FRONT_FRONT_SUPPORT_H

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

}  // namespace fronttest

#define REQUIRE_MODELS()                                                     \
    do {                                                                     \
        if (fronttest::ModelDir().empty()) GTEST_SKIP() << "no model set in data/vsg"; \
    } while (0)

#endif  // VSGLEX_TESTS_FRONT_FRONT_SUPPORT_H
