// Feeds arbitrary bytes to the raw-text front end: the atomiser, the word
// cutter over a small dictionary, the conversions and, when the shipped
// model set is present, the whole analysis.
#include <sys/stat.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "front/atoms.h"
#include "front/conventions.h"
#include "front/lexicon.h"
#include "front/transcode.h"
#include "vsglex/vsglex_api.h"

namespace {

// A dictionary of a few GB words built in memory.
const vsg::front::Lexicon &TinyLexicon() {
    static vsg::front::Lexicon lex = [] {
        static const char *const words[] = {"\xd6\xd0\xb9\xfa" /* 中国 */, "\xd6\xd0" /* 中 */,
                                            "\xb9\xfa" /* 国 */, "\xc8\xcb\xc3\xf1" /* 人民 */,
                                            "\xa3\xb1\xa3\xb2\xd4\xc2" /* １２月 */, "abc", "\xa1\xa3" /* 。 */};
        constexpr int n = sizeof words / sizeof words[0];
        static DictSRow rows[n];
        static DictSEntry entries[n];
        for (int i = 0; i < n; ++i) {
            rows[i] = DictSRow{0, static_cast<uint8_t>(10 + i), 1.0f + static_cast<float>(i), 1};
            entries[i] = DictSEntry{};
            entries[i].word = const_cast<char *>(words[i]);
            entries[i].length = static_cast<int32_t>(std::strlen(words[i]));
            entries[i].posCount = 1;
            entries[i].posList = &rows[i];
        }
        DictionaryS dict{};
        dict.entries = entries;
        dict.count = n;
        vsg::front::Lexicon l;
        l.Build(dict);
        return l;
    }();
    return lex;
}

// A handle on data/vsg of the source tree, or null.
vsglex_handle *Models() {
    static vsglex_handle *h = [] {
        std::string dir = __FILE__;
        dir = dir.substr(0, dir.rfind('/'));
        dir = dir.substr(0, dir.rfind('/')) + "/data/vsg";
        struct stat st;
        return stat((dir + "/coredict.dct").c_str(), &st) == 0 ? vsglex_open(dir.c_str()) : nullptr;
    }();
    return h;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const char *text = reinterpret_cast<const char *>(data);
    std::vector<vsg::front::Atom> atoms;
    vsg::front::Atomise(text, 0, size, atoms);
    size_t pos = 0;
    for (const auto &a : atoms) {
        if (a.start != pos || a.length == 0 || a.length > vsg::front::kMaxAtomBytes) std::abort();
        pos += a.length;
    }
    if (pos != size) std::abort();

    // Cut every run of non-space atoms; the ends must tile the run.
    std::vector<uint32_t> ends;
    vsg::front::CutScratch scratch;
    size_t k = 0;
    while (k < atoms.size()) {
        if (atoms[k].kind == vsg::front::AtomKind::kSpace) {
            ++k;
            continue;
        }
        size_t e = k;
        while (e < atoms.size() && atoms[e].kind != vsg::front::AtomKind::kSpace) ++e;
        ends.clear();
        TinyLexicon().Cut(text, atoms.data() + k, e - k, ends, scratch);
        uint32_t prev = 0;
        for (uint32_t x : ends) {
            if (x <= prev) std::abort();
            prev = x;
        }
        if (prev != e - k) std::abort();
        // The number rules keep a tiling of the run within the word limit.
        vsg::front::JoinNumberWords(text, atoms.data() + k, e - k, ends);
        prev = 0;
        for (uint32_t x : ends) {
            if (x <= prev) std::abort();
            if (x - prev > 1 && atoms[k + x - 1].start + atoms[k + x - 1].length - atoms[k + prev].start >
                                    vsg::front::kMaxAtomBytes)
                std::abort();
            (void)vsg::front::ClassOfString(text + atoms[k + prev].start,
                                            atoms[k + x - 1].start + atoms[k + x - 1].length - atoms[k + prev].start);
            prev = x;
        }
        if (prev != e - k) std::abort();
        k = e;
    }

    // Conversions from every set; the maps stay inside the input.
    std::vector<uint64_t> invalid;
    vsg::front::WorkText work;
    for (int pass = 0; pass < 6; ++pass) {
        int charset = 1 + pass % 3;
        invalid.clear();
        vsg::front::ToWorkText(text, size, charset, work, invalid, 0, pass >= 3);
        if (work.srcStart.size() != work.gb.size() || work.srcEnd.size() != work.gb.size()) std::abort();
        for (size_t i = 0; i < work.gb.size(); ++i)
            if (work.srcStart[i] >= work.srcEnd[i] || work.srcEnd[i] > size) std::abort();
        std::string utf8;
        vsg::front::GbToUtf8(work.gb.data(), work.gb.size(), utf8);
    }
    vsg::front::IsValidUtf8(text, size);
    vsg::front::CharsetGuess guess = vsg::front::GuessCharset(text, size);
    if (guess.charset < 1 || guess.charset > 3) std::abort();
    for (int charset = 1; charset <= 3; ++charset)
        if (vsg::front::CutPoint(text, 0, size, size, charset) > size) std::abort();
    // Blocks of a few characters tile the text, each ending within it.
    for (int charset = 1; charset <= 3; ++charset) {
        const size_t chars = size > 0 ? 1 + data[size - 1] % 16 : 1;
        for (size_t at = 0, end = 0; at < size; at += end)
            if ((end = vsg::front::BlockEnd(text + at, size - at, charset, charset == 2, chars)) == 0 || end > size - at)
                std::abort();
    }

    if (vsglex_handle *h = Models(); h != nullptr && size <= 4096) {
        for (uint32_t flags = 0; flags <= (VSGLEX_PRECUT | VSGLEX_T2S); ++flags) {
            vsglex_result *r = nullptr;
            int32_t charset = size > 0 ? static_cast<int32_t>(data[0] % 4) : 0;
            int32_t status = vsglex_analyze(h, text, size, charset, flags, &r);
            // Only a guess may refuse the text (as UTF-16).
            if (status == VSGLEX_ERR_CHARSET && charset == VSGLEX_CHARSET_AUTO && guess.utf16) continue;
            if (status != VSGLEX_OK) std::abort();
            uint64_t end = 0;
            for (size_t w = 0; w < r->word_count; ++w) {
                const vsglex_word &word = r->words[w];
                if (word.offset < end || word.offset + word.length > size || word.length == 0) std::abort();
                end = word.offset + word.length;
            }
            vsglex_result_free(r);
        }
    }
    return 0;
}
