// The user-word and bulk-result functions of the raw-text interface.
#include <sys/stat.h>

#include <cerrno>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "front/analyzer.h"
#include "front/userdict.h"
#include "vsglex/vsglex_api.h"

// The Python binding reads a result's word count as its first field, and
// vsglex_open_ex reads an options record of any version by its leading
// size: both must stay first.
static_assert(offsetof(vsglex_result, word_count) == 0, "vsglex_result.word_count comes first");
static_assert(offsetof(vsglex_options, size) == 0, "vsglex_options.size comes first");

namespace vsg::front {

namespace {

// Largest user dictionary file read.
constexpr long long kMaxDictBytes = 1LL << 30;

// Tag number of a user's tag text: a tag of the tag map, or a corpus tag
// that the map writes differently.
int32_t UserTagOf(const vsglex_handle *handle, std::string_view text) {
    int32_t tag = TagOfText(handle, text);
    if (tag >= 0) return tag;
    static const struct {
        const char *corpus, *map;
    } kAliases[] = {{"vvn", "vn"}, {"na", "ns"}, {"Yg", "yg"}};
    for (const auto &a : kAliases)
        if (text == a.corpus) return TagOfText(handle, a.map);
    return -1;
}

bool ReadFile(const char *path, std::string *out, std::string *error) {
    FILE *f = std::fopen(path, "rb");
    struct stat st;
    if (f == nullptr || fstat(fileno(f), &st) != 0 || S_ISDIR(st.st_mode)) {
        *error = std::string("cannot read user dictionary ") + path + ": " +
                 (f == nullptr ? std::strerror(errno) : "is a directory");
        if (f != nullptr) std::fclose(f);
        return false;
    }
    if (st.st_size > kMaxDictBytes) {
        std::fclose(f);
        *error = std::string("user dictionary ") + path + " is larger than 1 GiB";
        return false;
    }
    out->clear();
    char buf[65536];
    size_t got;
    while ((got = std::fread(buf, 1, sizeof buf, f)) > 0) {
        out->append(buf, got);
        if (out->size() > static_cast<size_t>(kMaxDictBytes)) break;
    }
    bool bad = std::ferror(f) != 0 || out->size() > static_cast<size_t>(kMaxDictBytes);
    std::fclose(f);
    if (bad) *error = std::string("cannot read user dictionary ") + path;
    return !bad;
}

// Runs `body`, turning an allocation failure into VSGLEX_ERR_MEMORY: no
// exception may leave the C interface.
template <typename Body>
int32_t GuardMemory(Body body) {
    try {
        return body();
    } catch (...) {
        SetLastError("out of memory");
        return VSGLEX_ERR_MEMORY;
    }
}

// Checks the handle and word arguments of the user-word functions and
// converts the word to the engine's text; false (last error set) when they
// are unusable.
bool UserWordArgument(const vsglex_handle *handle, const char *word, UserEntryText *entry) {
    if (handle == nullptr || word == nullptr) {
        SetLastError("invalid argument");
        return false;
    }
    std::string error;
    if (!UserWordToGb(word, entry, &error)) {
        SetLastError("invalid user word: " + error);
        return false;
    }
    return true;
}

const DictSEntry *CoreEntry(const SegmentEngine *engine, const char *word, size_t length) {
    if (engine == nullptr || length == 0 || length > 80) return nullptr;
    char key[81];
    std::memcpy(key, word, length);
    key[length] = '\0';
    int32_t e = DictionaryS_GetCoreInfo(key, &engine->core);
    if (e < 0 || e >= engine->core.count) return nullptr;
    const DictSEntry &entry = engine->core.entries[e];
    return entry.posList != nullptr ? &entry : nullptr;
}

}  // namespace

double CoreWordCount(const SegmentEngine *engine, const char *word, size_t length) {
    const DictSEntry *entry = CoreEntry(engine, word, length);
    return entry != nullptr ? EntryWordCount(*entry) : 0.0;
}

int32_t CoreWordTag(const SegmentEngine *engine, const char *word, size_t length) {
    const DictSEntry *entry = CoreEntry(engine, word, length);
    if (entry == nullptr) return -1;
    int32_t best = -1;
    float value = 0.0f;
    for (int32_t r = 0; r < entry->posCount; ++r) {
        const DictSRow &row = entry->posList[r];
        if (row.code == 0 && (best < 0 || row.value > value)) {
            best = row.subCode;
            value = row.value;
        }
    }
    return best;
}

}  // namespace vsg::front

using namespace vsg::front;

extern "C" {

VSGLEX_API vsglex_handle *vsglex_open_ex(const char *data_dir, const vsglex_options *options) {
    size_t given = options != nullptr ? options->size : 0;
    if (options != nullptr && given < sizeof(size_t)) {
        SetLastError("invalid argument: vsglex_options.size is not set");
        return nullptr;
    }
    vsglex_handle *h = vsglex_open(data_dir);
    if (h == nullptr || options == nullptr) return h;
    // Fields beyond the caller's `size` are taken as zero.
    vsglex_options o{};
    std::memcpy(&o, options, given < sizeof o ? given : sizeof o);
    if (o.user_dict_count > 0 && o.user_dicts == nullptr) {
        vsglex_close(h);
        SetLastError("invalid argument: user_dicts is null");
        return nullptr;
    }
    for (size_t k = 0; k < o.user_dict_count; ++k) {
        if (vsglex_add_user_dict(h, o.user_dicts[k]) != VSGLEX_OK) {
            std::string message = vsglex_last_error();
            vsglex_close(h);
            SetLastError(message);
            return nullptr;
        }
    }
    return h;
}

VSGLEX_API int32_t vsglex_add_user_dict(vsglex_handle *handle, const char *path) {
    if (handle == nullptr || path == nullptr || *path == '\0') {
        SetLastError("invalid argument");
        return VSGLEX_ERR_ARGUMENT;
    }
    return GuardMemory([&]() -> int32_t {
        std::string text, error;
        if (!ReadFile(path, &text, &error)) {
            SetLastError(error);
            return VSGLEX_ERR_USER_DICT;
        }
        std::vector<UserEntryText> entries;
        auto tags = [handle](std::string_view t) { return UserTagOf(handle, t); };
        if (!ParseUserDict(text, path, tags, &entries, &error)) {
            SetLastError(error);
            return VSGLEX_ERR_USER_DICT;
        }
        HandleUserWords(handle).Update(entries, {});
        return VSGLEX_OK;
    });
}

VSGLEX_API int32_t vsglex_add_user_word(vsglex_handle *handle, const char *word, int64_t count, const char *tag) {
    return GuardMemory([&]() -> int32_t {
        UserEntryText e;
        if (!UserWordArgument(handle, word, &e)) return VSGLEX_ERR_ARGUMENT;
        if (count >= 0) {
            if (static_cast<double>(count) > kUserMaxCount) {
                SetLastError("user word count above 10^15");
                return VSGLEX_ERR_ARGUMENT;
            }
            e.count = static_cast<double>(count);
        }
        if (tag != nullptr && *tag != '\0') {
            e.tag = UserTagOf(handle, tag);
            if (e.tag < 0) {
                SetLastError(std::string("unknown tag '") + tag + "'");
                return VSGLEX_ERR_ARGUMENT;
            }
        }
        HandleUserWords(handle).Update({e}, {});
        return VSGLEX_OK;
    });
}

VSGLEX_API int32_t vsglex_remove_user_word(vsglex_handle *handle, const char *word) {
    return GuardMemory([&]() -> int32_t {
        UserEntryText e;
        if (!UserWordArgument(handle, word, &e)) return VSGLEX_ERR_ARGUMENT;
        UserWords &words = HandleUserWords(handle);
        auto snapshot = words.Snapshot();
        if (snapshot == nullptr || !snapshot->Contains(e.gb)) return 0;
        words.Update({}, {e.gb});
        return 1;
    });
}

VSGLEX_API size_t vsglex_user_word_count(const vsglex_handle *handle) {
    if (handle == nullptr) return 0;
    auto snapshot = HandleUserWords(const_cast<vsglex_handle *>(handle)).Snapshot();
    return snapshot != nullptr ? snapshot->Size() : 0;
}

VSGLEX_API int32_t vsglex_result_columns(const vsglex_result *result, const char *text, size_t length,
                                         int32_t unit, uint64_t *offsets, uint64_t *lengths, int32_t *tags,
                                         int32_t *name_classes, uint32_t *sentences) {
    if (result == nullptr || (unit != VSGLEX_UNIT_BYTE && unit != VSGLEX_UNIT_CHAR) ||
        (unit == VSGLEX_UNIT_CHAR && text == nullptr && length > 0)) {
        SetLastError("invalid argument");
        return VSGLEX_ERR_ARGUMENT;
    }
    auto chars = [&](uint64_t from, uint64_t to) {  // characters of text[from, to)
        uint64_t c = 0;
        const auto *p = reinterpret_cast<const unsigned char *>(text);
        for (uint64_t i = from; i < to; ++i) c += (p[i] & 0xC0) != 0x80;
        return c;
    };
    uint64_t atByte = 0, atChar = 0;  // words come in text order: count on from the last one
    for (size_t k = 0; k < result->word_count; ++k) {
        const vsglex_word &w = result->words[k];
        uint64_t off = w.offset, len = w.length;
        if (unit == VSGLEX_UNIT_CHAR) {
            uint64_t begin = off < length ? off : length;
            uint64_t end = off + len < length ? off + len : length;
            if (begin < atByte) atByte = atChar = 0;
            atChar += chars(atByte, begin);
            atByte = begin;
            off = atChar;
            len = chars(begin, end);
        }
        if (offsets != nullptr) offsets[k] = off;
        if (lengths != nullptr) lengths[k] = len;
        if (tags != nullptr) tags[k] = w.tag;
        if (name_classes != nullptr) name_classes[k] = w.name_class;
        if (sentences != nullptr) sentences[k] = w.sentence;
    }
    return VSGLEX_OK;
}

VSGLEX_API const char *vsglex_result_text_block(const vsglex_result *result, size_t *bytes) {
    if (bytes != nullptr) *bytes = 0;
    if (result == nullptr || result->word_count == 0 || bytes == nullptr) return nullptr;
    // The texts are stored one after another in the result block; checked
    // here so that a layout change cannot hand out a wrong block.
    const char *begin = result->words[0].text;
    const char *end = begin;
    for (size_t k = 0; k < result->word_count; ++k) {
        if (result->words[k].text != end) return nullptr;
        end += std::strlen(end) + 1;
    }
    *bytes = static_cast<size_t>(end - begin);
    return begin;
}

}  // extern "C"
