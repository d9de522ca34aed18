// Files and environment: line counting, path joining, whole-file reading and
// colon-separated environment lists.
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

}  // extern "C"
