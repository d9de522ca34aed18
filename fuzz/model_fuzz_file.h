// Helpers of the model-file fuzz targets: the input is written to a
// temporary file of this process and loaded from there.
#ifndef VSGLEX_FUZZ_MODEL_FUZZ_FILE_H
#define VSGLEX_FUZZ_MODEL_FUZZ_FILE_H

#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace vsgfuzz {

// A path of this process under $TMPDIR (else the memory file system when
// there is one, else /tmp) ending in `suffix`; the file is removed when the
// process exits.
inline const std::string &TempPath(const char *suffix) {
    static std::string path = [suffix] {
        const char *dir = std::getenv("TMPDIR");
        if (dir == nullptr || *dir == '\0') dir = access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp";
        return std::string(dir) + "/vsglex-fuzz-" + std::to_string(getpid()) + "-" + suffix;
    }();
    static const bool registered = [] {
        std::atexit([] { std::remove(path.c_str()); });
        return true;
    }();
    (void)registered;
    return path;
}

// Writes the input as the whole content of `path`; aborts when it cannot.
inline void WriteInput(const std::string &path, const uint8_t *data, size_t size) {
    // A new file each time: rewriting a truncated file can force a flush
    // to disk on close, which makes every run slow.
    std::remove(path.c_str());
    FILE *fp = std::fopen(path.c_str(), "wb");
    if (fp == nullptr) std::abort();
    if (size != 0 && std::fwrite(data, 1, size, fp) != size) std::abort();
    if (std::fclose(fp) != 0) std::abort();
}

// Values read from loaded tables are summed here so the reads happen.
inline volatile uint64_t gSink = 0;

// Fails the run when an invariant of a successful load does not hold.
inline void Require(bool condition) {
    if (!condition) std::abort();
}

}  // namespace vsgfuzz

#endif  // VSGLEX_FUZZ_MODEL_FUZZ_FILE_H
