// Files and environment: line counting, path joining, whole-file reading and
// colon-separated environment lists.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "vsglex/utility.h"

extern "C" {

uint32_t GetFileLinesCount(FILE *stream) {
    if (stream == nullptr) return 0;
    char line[1000];
    uint32_t count = 0;
    rewind(stream);
    while (fgets(line, static_cast<int>(sizeof line), stream) != nullptr) ++count;
    rewind(stream);
    return count;
}

void GetFullFileName(char *out, const char *directory, const char *name) {
    if (out == nullptr) return;
    if (name == nullptr) name = "";
    if (directory != nullptr && directory[0] != '\0') {
        const size_t dl = strlen(directory);
        const size_t nl = strlen(name);
        memmove(out, directory, dl);  // out may be the directory buffer itself
        out[dl] = '/';
        memcpy(out + dl + 1, name, nl + 1);
    } else {
        memmove(out, name, strlen(name) + 1);
    }
}

char *TEXT_GetFile(const char *path, uint32_t *size) {
    if (path == nullptr) return nullptr;
    FILE *f = fopen(path, "rb");
    if (f == nullptr) return nullptr;
    long length = -1;
    if (fseek(f, 0, SEEK_END) == 0) length = ftell(f);
    // Files of 4 GiB or more cannot report their size; streams without a
    // size cannot be measured.
    if (length < 0 || static_cast<unsigned long>(length) > UINT32_MAX - 1000u || fseek(f, 0, SEEK_SET) != 0) {
        fclose(f);
        return nullptr;
    }
    char *buffer = static_cast<char *>(malloc(static_cast<size_t>(length) + 1000));
    if (buffer == nullptr) {
        fclose(f);
        return nullptr;
    }
    const size_t got = fread(buffer, 1, static_cast<size_t>(length), f);
    buffer[got] = '\0';
    fclose(f);
    if (size != nullptr) *size = static_cast<uint32_t>(got);
    return buffer;
}

char **VSG_GetEnvVaule(const char *name, int32_t *count) {
    if (name == nullptr || name[0] == '\0') return nullptr;
    const char *value = getenv(name);
    if (value == nullptr) {
        if (count != nullptr) *count = 0;
        return nullptr;
    }
    size_t colons = 0;
    for (const char *p = value; *p != '\0'; ++p)
        if (*p == ':') ++colons;
    // One slot per piece and a NULL that ends the array.
    char **pieces = static_cast<char **>(calloc(colons + 2, sizeof(char *)));
    if (pieces == nullptr) return nullptr;
    const char *from = value;
    for (size_t k = 0; k <= colons; ++k) {
        const char *to = strchr(from, ':');
        const size_t len = to != nullptr ? static_cast<size_t>(to - from) : strlen(from);
        char *piece = static_cast<char *>(malloc(len + 1));
        if (piece != nullptr) {
            memcpy(piece, from, len);
            piece[len] = '\0';
        }
        pieces[k] = piece;  // NULL if that copy failed
        from = to != nullptr ? to + 1 : from + len;
    }
    if (count != nullptr) *count = static_cast<int32_t>(colons + 1);
    return pieces;
}

void Free(void *p) { free(p); }

}  // extern "C"
