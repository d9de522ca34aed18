// Feeds arbitrary bytes to the user dictionary parser as a dictionary file.
// What parses is built into a word table, and the table is matched against
// the same bytes taken as GB18030 text, so the matcher sees user words that
// really occur.
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "front/atoms.h"
#include "front/userdict.h"

namespace {

int32_t Tags(std::string_view t) {
    static const char *const kTags[] = {"n", "v", "nr", "ns", "nt", "nrf"};
    for (int32_t k = 0; k < 6; ++k)
        if (t == kTags[k]) return k;
    return -1;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    using namespace vsg::front;
    std::string_view text(reinterpret_cast<const char *>(data), size);
    std::vector<UserEntryText> entries;
    std::string error;
    if (!ParseUserDict(text, "fuzz.txt", Tags, &entries, &error)) {
        if (error.rfind("fuzz.txt line ", 0) != 0 || !entries.empty()) __builtin_trap();
        return 0;
    }
    UserDict dict = UserDict::Merge(nullptr, entries, {});
    std::string gb;
    for (const UserEntryText &e : entries) gb += e.gb + "x";
    std::vector<Atom> atoms;
    Atomise(gb.data(), 0, gb.size(), atoms);
    std::vector<Atom> run;
    for (const Atom &a : atoms)
        if (a.kind != AtomKind::kSpace) run.push_back(a);
    std::vector<uint32_t> ends;
    for (size_t k = 1; k <= run.size(); k += 2) ends.push_back(static_cast<uint32_t>(k));
    if (!run.empty() && (ends.empty() || ends.back() != run.size())) ends.push_back(static_cast<uint32_t>(run.size()));
    std::vector<const UserDict::Entry *> marks;
    dict.Apply(gb.data(), run.data(), run.size(), ends, marks,
               [](const char *, size_t length) { return static_cast<double>(length); });
    // The rewritten cut is ascending, ends at the last atom and marks whole words.
    uint32_t prev = 0;
    for (size_t k = 0; k < ends.size(); ++k) {
        if (ends[k] <= prev) __builtin_trap();
        if (marks[k] != nullptr && marks[k]->length != run[ends[k] - 1].start + run[ends[k] - 1].length - run[prev].start)
            __builtin_trap();
        prev = ends[k];
    }
    if (!run.empty() && prev != run.size()) __builtin_trap();
    return 0;
}
