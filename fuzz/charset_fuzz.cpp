// Fuzzes text conversion for every source/target pair and flag set, and the
// single-character decoders. Input: byte 0 source set, byte 1 target set,
// bytes 2-3 flag bits, byte 4 target size, the rest the text.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "vsglex/charset.h"

namespace {

void Check(bool ok) {
    if (!ok) abort();
}

// Every decodable character encodes back to the same code point.
void CheckCodec(const char *text, uint32_t charset) {
    for (const char *p = text; *p;) {
        uint32_t length = 0;
        uint32_t code = _T_LocalToUnicode(p, &length, charset);
        if (length == 0) {
            ++p;
            continue;
        }
        Check(length <= strlen(p));
        char out[8];
        int32_t n = _T_UnicodeToLocal(code, out, charset);
        Check(n > 0 && out[n] == 0);
        uint32_t again = 0;
        Check(_T_LocalToUnicode(out, &again, charset) == code && again == static_cast<uint32_t>(n));
        p += length;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    if (size < 5) return 0;
    static const uint32_t sets[] = {0, 1, 2, 3, 1, 2, 3, 9};
    static const uint32_t bits[] = {T_CODE_STRICT, T_CODE_NCR, T_CODE_ONE_UNIT, T_CODE_BIG5_VERIFY,
                                    T_CODE_NO_MAPPING, T_CODE_TO_TRAD, T_CODE_TO_SIMP, T_CODE_BIG5_FORMS};
    uint32_t from = sets[data[0] & 7], to = sets[data[1] & 7];
    uint32_t flags = 0;
    for (int i = 0; i < 8; ++i)
        if (data[2] & (1u << i)) flags |= bits[i];
    flags |= static_cast<uint32_t>(data[3] & 0x80) << 1;  // an unused bit now and then
    std::vector<char> text(data + 5, data + size);
    text.push_back(0);
    size_t length = strlen(text.data());
    // Size 0 asks for twice the source + 1; otherwise a small exact buffer.
    int64_t targetSize = data[4] == 0 ? 0 : data[4] < 128 ? data[4] : static_cast<int64_t>(4 * length + 16);
    size_t allocated = targetSize > 0 ? static_cast<size_t>(targetSize) : 2 * length + 1;
    std::vector<char> target(allocated);
    int64_t r = _T_TranslateText(text.data(), from, target.data(), to, flags, targetSize);
    size_t written = strnlen(target.data(), allocated);
    Check(written < allocated);
    if (r > 0) Check(static_cast<size_t>(r) == written + 1);
    if (r < 0) Check(static_cast<size_t>(-r - 1) < length);

    std::vector<char> stream(allocated);
    int64_t s = _T_ConvertStream(text.data(), from, stream.data(), to, targetSize, flags);
    Check(s == (r > 0 ? r - 1 : -1));
    if (r > 0) Check(memcmp(stream.data(), target.data(), written + 1) == 0);

    char out[16];
    T_CodeContext context{};
    uint32_t used = _T_TranslateCode(text.data(), from, out, to, flags, &context);
    Check(used <= length + 1);
    Check(strlen(out) < sizeof out);
    if (from >= 1 && from <= 3) CheckCodec(text.data(), from);
    return 0;
}
