// Helpers of the text utility tests.
#ifndef VSGLEX_TESTS_TEXT_TEXT_UTIL_H
#define VSGLEX_TESTS_TEXT_TEXT_UTIL_H

#include <cstring>
#include <memory>
#include <string>

#include "support/support.h"

namespace texttest {

// A heap copy of `s` exactly s.size() + 1 bytes long, so that the address
// sanitizer reports any read past its terminating NUL.
inline std::unique_ptr<char[]> Exact(const std::string &s) {
    std::unique_ptr<char[]> p(new char[s.size() + 1]);
    std::memcpy(p.get(), s.c_str(), s.size() + 1);
    return p;
}

// GB bytes of UTF-8 text.
inline std::string G(const char *utf8) { return vsgtest::Gb(utf8); }

}  // namespace texttest

#endif  // VSGLEX_TESTS_TEXT_TEXT_UTIL_H
