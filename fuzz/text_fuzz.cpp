// Feeds arbitrary bytes to the text utilities: sentence splitting, the
// number, year and foreign tests, the place-suffix splitter, the aligned
// search and string splitting. The input is used as a NUL-terminated copy;
// functions of two strings get it split at its first 0x01 byte (or in the
// middle). Every result is freed.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "vsglex/utility.h"

namespace {

// An exactly sized NUL-terminated heap copy, so that reads past the end are
// caught by the address sanitizer.
struct Text {
    explicit Text(const std::string &s) : bytes(std::malloc(s.size() + 1)) {
        std::memcpy(bytes, s.data(), s.size());
        static_cast<char *>(bytes)[s.size()] = '\0';
    }
    ~Text() { std::free(bytes); }
    Text(const Text &) = delete;
    Text &operator=(const Text &) = delete;
    const char *c_str() const { return static_cast<const char *>(bytes); }
    void *bytes;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    // Bytes up to the first NUL: the string the functions see.
    std::string all(reinterpret_cast<const char *>(data), size);
    all = all.substr(0, all.find('\0'));
    const Text text(all);

    if (SentenceList *list = TEXT_GetSens(text.c_str())) {
        for (int32_t i = 0; i < list->count; ++i)
            if (list->items[i].text == nullptr || list->items[i].offset > all.size()) std::abort();
        // The array is sized once: marks + length / 512 + 128 entries.
        if (static_cast<size_t>(list->count) > TEXT_GetSensNum(text.c_str()) + all.size() / 512 + 128)
            std::abort();
        TEXT_SensResultFree(list);
    }
    (void)IsAllNum(text.c_str());
    (void)IsYearTime(text.c_str());
    (void)GetForeignType(text.c_str());
    (void)IsSimpleNum(text.c_str());
    (void)IsAllChineseNum(text.c_str());
    (void)IsForeign(text.c_str());
    (void)GetCCPrefix(text.c_str());
    (void)TEXT_PosConvert(text.c_str(), static_cast<int32_t>(all.size() / 2));
    {
        std::vector<char> stem(all.size() + 1), suffix(all.size() + 1);
        if (PostfixSplit(text.c_str(), stem.data(), suffix.data()) != 1) std::abort();
    }

    // Two strings: split at the first 0x01 byte, else in the middle.
    size_t cut = all.find('\x01');
    const bool marked = cut != std::string::npos;
    if (!marked) cut = all.size() / 2;
    const Text first(all.substr(0, cut));
    const Text second(all.substr(marked ? cut + 1 : cut));
    if (const char *hit = mystrstr(first.c_str(), second.c_str())) {
        if (hit < first.c_str() || hit > first.c_str() + std::strlen(first.c_str())) std::abort();
    }
    const uint32_t seps = GetPartCount(first.c_str(), second.c_str());
    if (PartList *parts = GetPartResult(first.c_str(), second.c_str())) {
        // Pieces are never empty unless the whole text is the one piece.
        if (parts->count < 0 || static_cast<uint32_t>(parts->count) > seps + 1) std::abort();
        for (int32_t i = 0; i < parts->count; ++i)
            if (parts->items[i].text == nullptr || (seps > 0 && parts->items[i].text[0] == '\0')) std::abort();
        PartResult_Free(parts);
    }
    if (cut * (all.size() - cut) < 1000000) {  // quadratic: keep runs fast
        (void)CC_Find(first.c_str(), second.c_str());
        (void)GetCharCount(first.c_str(), second.c_str());
    }
    return 0;
}
