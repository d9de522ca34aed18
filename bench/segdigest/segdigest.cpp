// Digest of the segmentation call's output over whole corpus files: every
// mode (0-3), one paragraph per call and 100 per call. Two builds give the
// same digests exactly when their outputs are byte-identical.
//
// Usage: segdigest MODEL_DIR CORPUS_FILE...
// Corpus files are UTF-8 "word/tag" tokens, one paragraph a line; person
// names are cut into characters as a host's word cutter leaves unknown names.

#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "bench_corpus.h"
#include "vsglex/engine.h"

namespace {

// A host item with every bookkeeping field set, so that the digest covers
// their copying.
void AddItem(std::vector<WordItem> &para, const std::string &gb, uint32_t key) {
    if (!benchcorpus::AppendItem(para, gb, key)) return;
    para.back().group = key * 7u;
    para.back().mark = static_cast<uint8_t>(para.size() - 1);
}

bool ReadCorpus(const char *path, std::vector<std::vector<WordItem>> &paragraphs) {
    return benchcorpus::ReadTaggedCorpus(
        path, SIZE_MAX, VSG_ITEM_TEXT_MAX, [&paragraphs](const std::vector<std::string> &words) {
            std::vector<WordItem> para;
            const auto key = static_cast<uint32_t>(paragraphs.size());
            for (const std::string &gb : words) AddItem(para, gb, key);
            // A blank item now and then: they are handed back untagged.
            if (para.size() > 3 && key % 5 == 0) {
                WordItem blank = para[para.size() / 2];
                memset(blank.text, 0, sizeof blank.text);
                if (key % 10 == 0) blank.text[0] = ' ';
                para.insert(para.begin() + static_cast<long>(para.size() / 2), blank);
            }
            paragraphs.push_back(std::move(para));
        });
}

struct Digest {
    uint64_t h = 1469598103934665603ull;
    void Add(const void *p, size_t n) {
        const auto *b = static_cast<const unsigned char *>(p);
        for (size_t i = 0; i < n; ++i) h = (h ^ b[i]) * 1099511628211ull;
    }
};

}  // namespace

int main(int argc, char **argv) {
    if (argc < 3) {
        fprintf(stderr, "usage: %s MODEL_DIR CORPUS_FILE...\n", argv[0]);
        return 2;
    }
    SegmentEngine *engine = nullptr;
    const int32_t status = VSG_LoadForServer(&engine, argv[1]);
    if (status != 0 && status != 1) {
        fprintf(stderr, "cannot load models from %s (status %d)\n", argv[1], status);
        return 1;
    }
    std::vector<std::vector<WordItem>> paragraphs;
    for (int i = 2; i < argc; ++i) {
        if (!ReadCorpus(argv[i], paragraphs)) {
            fprintf(stderr, "cannot read %s\n", argv[i]);
            return 1;
        }
    }
    for (int mode = 0; mode <= 3; ++mode) {
        for (size_t perCall : {size_t{1}, size_t{100}}) {
            Digest d;
            size_t words = 0;
            for (size_t p = 0; p < paragraphs.size(); p += perCall) {
                std::vector<WordItem> call;
                for (size_t q = p; q < p + perCall && q < paragraphs.size(); ++q)
                    call.insert(call.end(), paragraphs[q].begin(), paragraphs[q].end());
                WordList input{static_cast<int32_t>(call.size()), call.data()};
                WordList output{0, nullptr};
                const int32_t r = VSG_SegmentForServer(&input, &output, mode, engine);
                d.Add(&r, sizeof r);
                d.Add(&output.count, sizeof output.count);
                for (int32_t k = 0; k < output.count; ++k) {
                    const WordItem &w = output.items[k];
                    d.Add(w.text, strnlen(w.text, sizeof w.text));
                    const uint32_t fields[] = {w.mark, w.tag, w.kind, w.sentence, w.extra, w.id, w.group};
                    d.Add(fields, sizeof fields);
                }
                words += static_cast<size_t>(output.count);
                VSG_SegmentForServerFree(&output);
            }
            printf("mode %d per_call %3zu: %zu words out, digest %016" PRIx64 "\n", mode, perCall, words, d.h);
        }
    }
    VSG_FreeForServer(engine);
    return 0;
}
