// Loads arbitrary bytes as a word cutter model, through a file and from
// memory. The bytes are tried twice: as given, and with the header's
// checksum made to match, so that the checks behind it are reached too. A
// model that loads must cut a few texts into words that cover them.
#include <cstring>
#include <string>
#include <vector>

#include "front/atoms.h"
#include "front/lexicon.h"
#include "front/segmodel.h"
#include "model_fuzz_file.h"

namespace {

const vsg::front::Lexicon &TinyLexicon() {
    static vsg::front::Lexicon lex = [] {
        static const std::string words[] = {"\xd6\xd0\xb9\xfa" /* 中国 */, "\xc8\xcb\xc3\xf1" /* 人民 */, "ab"};
        std::vector<vsg::front::LexiconWord> list;
        for (const std::string &w : words) list.push_back({w, 2.0, 0.0});
        vsg::front::Lexicon l;
        l.Build(list);
        return l;
    }();
    return lex;
}

void Exercise(const vsg::front::SegModel &m) {
    static const char *const texts[] = {"\xd6\xd0\xb9\xfa\xc8\xcb\xc3\xf1\xa1\xa3" /* 中国人民。 */, "ab12 \xd6\xd0",
                                        "\xa3\xb1\xa3\xb9\xd6\xd0x"};
    std::vector<vsg::front::Atom> atoms;
    std::vector<uint32_t> ends;
    vsg::front::CutScratch scratch;
    for (const char *t : texts) {
        atoms.clear();
        vsg::front::Atomise(t, 0, std::strlen(t), atoms);
        size_t k = 0;
        while (k < atoms.size()) {
            size_t e = k;
            while (e < atoms.size() && atoms[e].kind != vsg::front::AtomKind::kSpace) ++e;
            ends.clear();
            m.Cut(t, atoms.data() + k, e - k, TinyLexicon(), ends, scratch);
            vsgfuzz::Require(e == k || (!ends.empty() && ends.back() == e - k));
            for (size_t i = 1; i < ends.size(); ++i) vsgfuzz::Require(ends[i] > ends[i - 1]);
            k = e + 1;
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const std::string &path = vsgfuzz::TempPath("segment.mdl");
    vsgfuzz::WriteInput(path, data, size);
    vsg::front::SegModel m;
    std::string error;
    if (m.Load(path, &error)) Exercise(m);
    else vsgfuzz::Require(error.find(path) != std::string::npos && !m.Loaded());

    constexpr size_t kHeader = vsg::front::kSegHeaderBytes;
    if (size >= kHeader) {
        std::vector<uint8_t> fixed(data, data + size);
        uint64_t sum = vsg::front::SegChecksum(fixed.data() + kHeader, size - kHeader);
        std::memcpy(fixed.data() + kHeader - 8, &sum, 8);
        if (m.LoadBytes(fixed.data(), fixed.size(), &error)) Exercise(m);
        else vsgfuzz::Require(!error.empty() && !m.Loaded());
    }
    return 0;
}
