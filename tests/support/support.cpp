#include "support/support.h"

#include <gtest/gtest.h>
#include <iconv.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace vsgtest {

TempDir::TempDir() {
    std::string tmpl = (std::filesystem::temp_directory_path() / "vsglex-test-XXXXXX").string();
    if (mkdtemp(tmpl.data()) == nullptr) ADD_FAILURE() << "mkdtemp failed";
    path_ = tmpl;
}

TempDir::~TempDir() {
    std::error_code ec;
    std::filesystem::remove_all(path_, ec);
}

void WriteFile(const std::string &path, const std::string &bytes) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!out) ADD_FAILURE() << "cannot write " << path;
}

std::string ReadFile(const std::string &path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream ss;
    ss << in.rdbuf();
    return ss.str();
}

static std::string Iconv(const std::string &in, const char *to, const char *from) {
    iconv_t cd = iconv_open(to, from);
    if (cd == reinterpret_cast<iconv_t>(-1)) {
        ADD_FAILURE() << "iconv_open " << from << " -> " << to;
        return {};
    }
    std::string out(in.size() * 4 + 4, '\0');
    char *src = const_cast<char *>(in.data());
    size_t srcLeft = in.size();
    char *dst = out.data();
    size_t dstLeft = out.size();
    if (iconv(cd, &src, &srcLeft, &dst, &dstLeft) == static_cast<size_t>(-1))
        ADD_FAILURE() << "iconv cannot convert test text";
    iconv_close(cd);
    out.resize(out.size() - dstLeft);
    return out;
}

std::string Gb(const std::string &utf8) { return Iconv(utf8, "GB18030", "UTF-8"); }
std::string Utf8(const std::string &gb) { return Iconv(gb, "UTF-8", "GB18030"); }

}  // namespace vsgtest
