// Feeds arbitrary bytes to the exported parsers of the text utilities and
// the base runtime that the other targets leave out. Byte 0 picks the
// routine; the rest is its input, as a NUL-terminated string in an exactly
// sized heap block (so that reads and writes past the end are caught), split
// at its first 0x01 byte where a routine takes two strings.
//   0 TEXT_GetFile         4 Delimiter2DictFormat and Getchar
//   1 GetXMLItemValue      5 the IsAll* family and the other word tests
//   2 sgets                6 the one-character decoders
//   3 my_sscanf, my_sscanfA 7 the error records and their prompt formatters
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "model_fuzz_file.h"
#include "vsglex/charset.h"
#include "vsglex/errcat.h"
#include "vsglex/utility.h"

namespace {

using vsgfuzz::Require;

// An exactly sized heap block holding `bytes` (which may hold NULs) and a NUL.
class Block {
public:
    explicit Block(const std::string &bytes) : size_(bytes.size() + 1), p_(static_cast<char *>(std::malloc(size_))) {
        std::memcpy(p_, bytes.data(), bytes.size());
        p_[bytes.size()] = '\0';
    }
    explicit Block(size_t size) : size_(size), p_(static_cast<char *>(std::calloc(size, 1))) {}
    ~Block() { std::free(p_); }
    Block(const Block &) = delete;
    Block &operator=(const Block &) = delete;
    char *get() const { return p_; }
    size_t size() const { return size_; }

private:
    size_t size_;
    char *p_;
};

void FileRoundTrip(const uint8_t *data, size_t size) {
    const std::string &path = vsgfuzz::TempPath("whole.txt");
    vsgfuzz::WriteInput(path, data, size);
    uint32_t got = 12345;
    char *text = TEXT_GetFile(path.c_str(), &got);
    Require(text != nullptr && got == size && std::memcmp(text, data, size) == 0 && text[size] == '\0');
    Free(text);
    got = 7;
    Require(TEXT_GetFile((path + ".absent").c_str(), &got) == nullptr && got == 7);
}

void XmlValue(const std::string &text, const std::string &name) {
    const Block t(text), n(name);
    Block value(std::strlen(t.get()) + 1);
    if (GetXMLItemValue(t.get(), n.get(), value.get()) == 1) {
        Require(std::strlen(value.get()) <= std::strlen(t.get()));
        Require(std::strstr(t.get(), value.get()) != nullptr);
    }
}

void Lines(const std::string &bytes) {
    const Block text(bytes);
    Block line(std::strlen(text.get()) + 1);
    size_t total = 0;
    for (const char *p = text.get(); p != nullptr;) {
        const char *next = sgets(p, line.get());
        const size_t n = std::strlen(line.get());
        Require(std::strchr(line.get(), '\n') == nullptr && std::strncmp(line.get(), p, n) == 0);
        total += n + (next != nullptr ? 1 : 0);
        Require(next == nullptr || next == p + n + 1);
        p = next;
    }
    Require(total == std::strlen(text.get()));
}

void Fields(const std::string &bytes) {
    const Block line(bytes);
    Block word(128);
    int32_t number = -7;
    Require(my_sscanf(line.get(), word.get(), &number) == 1);
    Require(std::strlen(word.get()) < word.size());
    Block word2(128);
    char ch = 0;
    Require(my_sscanfA(line.get(), &ch, word2.get(), &number) == 1);
    Require(std::strlen(word2.get()) < word2.size());
    Require(my_sscanfA(line.get(), nullptr, word2.get(), nullptr) == 1);
}

void Characters(const std::string &bytes) {
    const Block ch(bytes);
    Block out(3);
    const int32_t wide = Delimiter2DictFormat(ch.get(), out.get());
    Require((wide == 0 || wide == 1) && std::strlen(out.get()) <= 2);
    if (wide == 1) Require(static_cast<unsigned char>(out.get()[0]) >= 0xa1 && std::strlen(out.get()) == 2);
    Block one(3);
    const int32_t length = Getchar(ch.get(), one.get());
    Require(length >= 0 && length <= 2 && std::strlen(one.get()) <= static_cast<size_t>(length));
}

void WordTests(const std::string &bytes) {
    const Block word(bytes);
    const char *w = word.get();
    int64_t sum = IsAllDelimiter(w) + IsAllLetter(w) + IsAllIndex(w) + IsAllSingleByte(w) + IsAllNonChinese(w) +
                  IsAllChinese(w) + IsAllNum(w) + IsSimpleNum(w) + IsAllChineseNum(w) + IsYearTime(w) +
                  GetForeignType(w) + GetForeignCharCount(w) + IsAllForeign(w) + IsForeign(w);
    const int32_t prefix = GetCCPrefix(w);
    // A lone Chinese lead byte at the end counts as a whole character.
    Require(prefix >= 0 && static_cast<size_t>(prefix) <= std::strlen(w) + 1);
    if (*w != '\0') sum += charType(w);
    vsgfuzz::gSink = vsgfuzz::gSink + static_cast<uint64_t>(sum);
}

void Decoders(const std::string &bytes) {
    const Block text(bytes);
    uint32_t (*const decoders[])(const char *, uint32_t *) = {_T_GB18030ToUnicode, _T_BIG5ToUnicode,
                                                              _T_UTF8ToUnicode};
    const size_t n = std::strlen(text.get());
    for (auto decode : decoders) {
        for (size_t at = 0; at < n;) {
            uint32_t length = 99;
            const uint32_t code = decode(text.get() + at, &length);
            Require(length <= 4 && at + length <= n && (code != 0 || length <= 4));
            at += length == 0 ? 1 : length;
        }
    }
    for (uint32_t set = 0; set <= 4; ++set) {
        uint32_t length = 0;
        (void)_T_LocalToUnicode(text.get(), &length, set);
        Require(length <= (n == 0 ? 1 : n));  // the NUL decodes as one byte
    }
}

void ErrorPrompts(const uint8_t *data, size_t size, const std::string &message, const std::string &file) {
    if (size < 4) return;
    const uint32_t code = 17000u + data[0] * 7u;
    const uint32_t charset = data[1] % 5;
    const Block m(message), f(file);
    switch (data[2] % 6) {
    case 0: _T_SetLastErrorEx(code, m.get(), charset, f.get(), data[3]); break;
    case 1: _T_SetLastError(code, m.get(), f.get(), -data[3]); break;
    case 2: _T_SetLastFileError(code, m.get(), nullptr, 0); break;
    case 3: _T_SetLastMarkError(code, data[3], f.get(), data[3]); break;
    case 4: (void)_T_CaptureError(code, m.get(), f.get(), data[3]); break;
    default: _T_SetErrorDefCharset(charset); _T_SetLastErrorEx(code, m.get(), 0, f.get(), 1); break;
    }
    _T_FixLastErrorPrompt(data[3] % 5, data[1] % 4);
    const char *stored = _T_GetLastErrorPromptEx(nullptr, 0, data[3] % 4);
    Require(stored != nullptr && std::strlen(stored) <= T_ERR_PROMPT_MAX);
    for (uint32_t room : {0u, 1u, 2u, 5u, static_cast<uint32_t>(data[3]), 300u}) {
        Block buffer(room == 0 ? 1 : room);
        const char *prompt = _T_GetLastErrorPromptEx(buffer.get(), room, data[1] % 4);
        Require(prompt != nullptr);
        if (room > 1) Require(prompt == buffer.get() && std::strlen(prompt) < room);
    }
    vsgfuzz::gSink = vsgfuzz::gSink + _T_GetLastError() + static_cast<uint64_t>(_T_ExistError(1, 1));
    _T_ClearError();
    _T_SetErrorDefCharset(0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size == 0) return 0;
    const uint8_t *rest = data + 1;
    const size_t n = size - 1;
    // Up to the first NUL: the string the routines see.
    std::string text(reinterpret_cast<const char *>(rest), n);
    text = text.substr(0, text.find('\0'));
    const size_t cut = text.find('\x01');
    const std::string first = text.substr(0, cut);
    const std::string second = cut == std::string::npos ? std::string() : text.substr(cut + 1);
    switch (data[0] % 8) {
    case 0: FileRoundTrip(rest, n); break;
    case 1: XmlValue(first, second); break;
    case 2: Lines(text); break;
    case 3: Fields(text); break;
    case 4: Characters(text); break;
    case 5: WordTests(text); break;
    case 6: Decoders(text); break;
    default: ErrorPrompts(rest, n, n > 4 ? first.substr(std::min<size_t>(first.size(), 4)) : "", second); break;
    }
    return 0;
}
