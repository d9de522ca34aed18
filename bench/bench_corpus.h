// The tagged corpus as the engine benchmarks read it: each paragraph's
// words in GB18030, as a host that cut its own words would hand them over.
#ifndef VSGLEX_BENCH_BENCH_CORPUS_H
#define VSGLEX_BENCH_BENCH_CORPUS_H

#include <iconv.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "vsglex/engine.h"

namespace benchcorpus {

// Reads the corpus file `path` (UTF-8 "word/tag" tokens after a paragraph
// identifier, one paragraph a line, brackets around compound names) and
// calls `paragraph(words)` with the GB18030 words of each paragraph that
// keeps any, at most `maxParagraphs` times. Person names (tag nr) are cut
// into characters, as a word cutter leaves unknown names; words that do
// not convert or are longer than `maxWordBytes` are left out. False when
// the file cannot be read.
template <typename Paragraph>
bool ReadTaggedCorpus(const std::string &path, size_t maxParagraphs, size_t maxWordBytes, Paragraph paragraph) {
    std::ifstream in(path);
    if (!in) return false;
    iconv_t cd = iconv_open("GB18030", "UTF-8");
    if (cd == reinterpret_cast<iconv_t>(-1)) return false;
    std::vector<std::string> words;
    auto add = [&](const std::string &utf8) {
        std::string out(utf8.size() * 2 + 4, '\0');
        char *src = const_cast<char *>(utf8.data());
        size_t srcLeft = utf8.size();
        char *dst = out.data();
        size_t dstLeft = out.size();
        iconv(cd, nullptr, nullptr, nullptr, nullptr);
        if (iconv(cd, &src, &srcLeft, &dst, &dstLeft) == static_cast<size_t>(-1)) return;
        out.resize(out.size() - dstLeft);
        if (!out.empty() && out.size() <= maxWordBytes) words.push_back(std::move(out));
    };
    size_t kept = 0;
    std::string line;
    while (kept < maxParagraphs && std::getline(in, line)) {
        std::istringstream tokens(line);
        std::string token;
        words.clear();
        tokens >> token;  // the paragraph identifier
        while (tokens >> token) {
            if (!token.empty() && token[0] == '[') token.erase(0, 1);
            const size_t bracket = token.rfind(']');
            if (bracket != std::string::npos) token.resize(bracket);
            const size_t slash = token.rfind('/');
            if (slash == std::string::npos) continue;
            const std::string word = token.substr(0, slash);
            if (token.compare(slash + 1, std::string::npos, "nr") != 0) {
                add(word);
                continue;
            }
            for (size_t i = 0; i < word.size();) {
                const auto b = static_cast<unsigned char>(word[i]);
                const size_t n = b < 0x80 ? 1 : b < 0xe0 ? 2 : b < 0xf0 ? 3 : 4;
                add(word.substr(i, n));
                i += n;
            }
        }
        if (words.empty()) continue;
        paragraph(words);
        ++kept;
    }
    iconv_close(cd);
    return true;
}

// Appends GB word `gb` to `para` as a host item of sentence key `key` (the
// key's low half in `sentence`, high half in `extra`; `id` its place in the
// paragraph). False, and nothing appended, for an empty or too long word.
inline bool AppendItem(std::vector<WordItem> &para, const std::string &gb, uint32_t key) {
    if (gb.empty() || gb.size() > VSG_ITEM_TEXT_MAX) return false;
    WordItem w{};
    std::memcpy(w.text, gb.data(), gb.size());
    w.sentence = static_cast<uint16_t>(key & 0xffff);
    w.extra = static_cast<uint16_t>(key >> 16);
    w.id = static_cast<uint32_t>(para.size());
    para.push_back(w);
    return true;
}

}  // namespace benchcorpus

#endif  // VSGLEX_BENCH_BENCH_CORPUS_H
