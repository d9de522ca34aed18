// Helpers shared by the unit tests.
#ifndef VSGLEX_TESTS_SUPPORT_H
#define VSGLEX_TESTS_SUPPORT_H

#include <string>

namespace vsgtest {

// A fresh directory under the system temporary directory, removed with all
// its contents when the object goes out of scope.
class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir &) = delete;
    TempDir &operator=(const TempDir &) = delete;
    const std::string &path() const { return path_; }
    // Path of `name` inside the directory.
    std::string file(const std::string &name) const { return path_ + "/" + name; }

private:
    std::string path_;
};

// Writes `bytes` to `path` (binary); fails the current test on error.
void WriteFile(const std::string &path, const std::string &bytes);
// Reads a whole file; empty when it cannot be read.
std::string ReadFile(const std::string &path);
// Converts UTF-8 text to GB18030 bytes (for writing readable test data).
std::string Gb(const std::string &utf8);
// Converts GB18030 bytes to UTF-8 (for readable failure messages).
std::string Utf8(const std::string &gb);

}  // namespace vsgtest

#endif  // VSGLEX_TESTS_SUPPORT_H
