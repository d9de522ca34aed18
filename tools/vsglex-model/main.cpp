// vsglex-model: compiles model files to their binary forms and describes
// model files.
//
//   vsglex-model compile [--kind core|ctx|affix] IN OUT
//   vsglex-model info [--kind core|ctx|affix|map] FILE [WORD...]
//   vsglex-model check DIR
//   vsglex-model manifest DIR
//
// The kind follows from the file name unless given: coredict*.dct is the
// core dictionary, *.ctx context statistics, *.map a tag map, any other
// .dct an affix dictionary. Words given to `info` are UTF-8 and are looked
// up after conversion to GB18030; `info` exits with 3 when one is missing.
// `check` verifies a model directory against its manifest (size and
// checksum of every file), loads it the way the engine does and reports the
// status, which file failed and why, and the size of every model.
// `manifest` records the files of a hand-made model directory in its
// manifest.
#include <iconv.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "common/gbtext.h"
#include "common/model_files.h"
#include "engine/instance.h"
#include "model/loaders.h"
#include "model/model_set.h"
#include "vsglex/engine.h"
#include "vsglex/model.h"

namespace {

using vsg::model::FaultText;
using vsg::model::LoadFault;

constexpr const char *kProgram = "vsglex-model";

enum class Kind { Unknown, Core, Context, Affix, Map };

int Usage() {
    std::fprintf(stderr,
                 "usage: %s compile [--kind core|ctx|affix] IN OUT\n"
                 "       %s info [--kind core|ctx|affix|map] FILE [WORD...]\n"
                 "       %s check DIR\n"
                 "       %s manifest DIR\n",
                 kProgram, kProgram, kProgram, kProgram);
    return 2;
}

int Fail(const std::string &message) {
    std::fprintf(stderr, "%s: %s\n", kProgram, message.c_str());
    return 1;
}

Kind ParseKind(const std::string &s) {
    if (s == "core") return Kind::Core;
    if (s == "ctx") return Kind::Context;
    if (s == "affix") return Kind::Affix;
    if (s == "map") return Kind::Map;
    return Kind::Unknown;
}

bool EndsWith(const std::string &s, const std::string &tail) {
    return s.size() >= tail.size() && s.compare(s.size() - tail.size(), tail.size(), tail) == 0;
}

Kind KindFromName(const std::string &path) {
    const size_t slash = path.find_last_of('/');
    const std::string base = slash == std::string::npos ? path : path.substr(slash + 1);
    if (base.rfind("coredict", 0) == 0 && EndsWith(base, ".dct")) return Kind::Core;
    if (EndsWith(base, ".ctx")) return Kind::Context;
    if (EndsWith(base, ".map")) return Kind::Map;
    if (EndsWith(base, ".dct")) return Kind::Affix;
    return Kind::Unknown;
}

// The file must exist and be a readable regular file; otherwise a message.
bool CheckReadable(const std::string &path, std::string &error) {
    struct stat st {};
    if (stat(path.c_str(), &st) != 0) {
        error = path + ": " + std::strerror(errno);
        return false;
    }
    if (!S_ISREG(st.st_mode)) {
        error = path + ": not a regular file";
        return false;
    }
    FILE *fp = std::fopen(path.c_str(), "rb");
    if (fp == nullptr) {
        error = path + ": " + std::strerror(errno);
        return false;
    }
    std::fclose(fp);
    return true;
}

uint64_t FileSize(const std::string &path) {
    struct stat st {};
    return stat(path.c_str(), &st) == 0 ? static_cast<uint64_t>(st.st_size) : 0;
}

// True when the file starts with the binary version number 4 (LE).
bool HasBinaryVersion(const std::string &path) {
    unsigned char head[4] = {0, 0, 0, 0};
    FILE *fp = std::fopen(path.c_str(), "rb");
    if (fp == nullptr) return false;
    const size_t got = std::fread(head, 1, 4, fp);
    std::fclose(fp);
    uint32_t version = 0;
    VSGNetDestreamUINT32(head, &version);
    return got == 4 && version == vsg::kModelBinaryVersion;
}

std::string Convert(const std::string &in, const char *to, const char *from) {
    iconv_t cd = iconv_open(to, from);
    if (cd == reinterpret_cast<iconv_t>(-1)) return in;
    std::string out(in.size() * 4 + 8, '\0');
    char *src = const_cast<char *>(in.data());
    size_t srcLeft = in.size();
    char *dst = out.data();
    size_t dstLeft = out.size();
    const size_t rc = iconv(cd, &src, &srcLeft, &dst, &dstLeft);
    iconv_close(cd);
    if (rc == static_cast<size_t>(-1)) return std::string();
    out.resize(out.size() - dstLeft);
    return out;
}

// GB text for display: UTF-8 when it converts, else with hex escapes.
std::string Show(const char *gb) {
    if (gb == nullptr) return "(null)";
    const std::string text = Convert(gb, "UTF-8", "GB18030");
    if (!text.empty() || gb[0] == '\0') return text;
    std::string escaped;
    char hex[5];
    for (const unsigned char *p = reinterpret_cast<const unsigned char *>(gb); *p != 0; ++p) {
        if (*p >= 0x20 && *p < 0x7F) {
            escaped += static_cast<char>(*p);
        } else {
            std::snprintf(hex, sizeof hex, "\\x%02x", *p);
            escaped += hex;
        }
    }
    return escaped;
}

std::string ToGb(const std::string &utf8) {
    const std::string gb = Convert(utf8, "GB18030", "UTF-8");
    return gb.empty() ? utf8 : gb;
}

// ---- core dictionary --------------------------------------------------

void PrintCoreEntry(const DictionaryS &d, int32_t pos) {
    const DictSEntry &e = d.entries[pos];
    std::printf("  [%d] %s  stats %g %g %g %g  rows", pos, Show(e.word).c_str(), e.stats[0],
                e.stats[1], e.stats[2], e.stats[3]);
    for (int32_t r = 0; r < e.posCount; ++r)
        std::printf(" %u/%u:%g", e.posList[r].code, e.posList[r].subCode, e.posList[r].value);
    std::printf("\n");
}

void PrintClassPosition(const DictionaryS &d, const char *label, const char *word, int32_t stored) {
    const int32_t found = DictionaryS_GetCoreInfo(word, &d);
    std::printf("  %s %s: recorded %d, found at %d\n", label, Show(word).c_str(), stored, found);
}

int InfoCore(const std::string &path, const std::vector<std::string> &words) {
    DictionaryS d{};
    const bool binary = HasBinaryVersion(path);
    const int32_t before = gTaIndexNum;
    const LoadFault fault = binary ? vsg::model::LoadCoreBinary(path.c_str(), &d) : vsg::model::LoadCoreText(path.c_str(), &d);
    if (fault != LoadFault::kNone) {
        DictionaryS_Free(&d);
        return Fail(path + ": malformed " + (binary ? "binary" : "text") + " core dictionary: " + FaultText(fault));
    }
    std::printf("file: %s\nkind: core dictionary\nform: %s\nentries: %d\n", path.c_str(),
                binary ? "binary (version 4)" : "text", d.count);
    int32_t used = 0;
    int32_t longest = 0;
    for (int32_t h = 0; h < DICTS_BUCKETS; ++h) {
        used += d.buckets[h].count > 0;
        if (d.buckets[h].count > longest) longest = d.buckets[h].count;
    }
    std::printf("buckets: %d of %d used, longest run %d\n", used, DICTS_BUCKETS, longest);
    std::printf("class words:\n");
    PrintClassPosition(d, "person", vsg::kPersonClass, d.personIndex);
    PrintClassPosition(d, "place", vsg::kPlaceClass, d.placeIndex);
    PrintClassPosition(d, "organisation", vsg::kOrgClass, d.orgIndex);
    PrintClassPosition(d, "other", vsg::kOtherClass, gTaIndexNum);
    std::printf("gTaIndexNum: %d%s\n", gTaIndexNum,
                binary ? " (a binary load keeps its initial value)"
                       : (before == gTaIndexNum ? " (unchanged)" : " (set by the text load)"));
    std::printf("first entries:\n");
    for (int32_t i = 0; i < d.count && i < 5; ++i) PrintCoreEntry(d, i);
    int status = 0;
    for (const std::string &w : words) {
        const int32_t pos = DictionaryS_GetCoreInfo(ToGb(w).c_str(), &d);
        if (pos < 0) {
            std::printf("lookup %s: not found\n", w.c_str());
            status = 3;
        } else {
            std::printf("lookup %s:\n", w.c_str());
            PrintCoreEntry(d, pos);
        }
    }
    DictionaryS_Free(&d);
    return status;
}

// ---- context statistics ------------------------------------------------

// A raw context file holds exactly 1 + 4 + 4N + 4N^2 bytes.
bool RawSizeMatches(const std::string &path, std::string &error) {
    const uint64_t size = FileSize(path);
    unsigned char n = 0;
    FILE *fp = std::fopen(path.c_str(), "rb");
    if (fp == nullptr || std::fread(&n, 1, 1, fp) != 1) {
        if (fp != nullptr) std::fclose(fp);
        error = path + ": empty context file";
        return false;
    }
    std::fclose(fp);
    const uint64_t expected = 5 + 4ull * n + 4ull * n * n;
    if (size != expected) {
        error = path + ": malformed raw context file (" + std::to_string(size) + " bytes, " +
                std::to_string(expected) + " expected for " + std::to_string(n) + " tags)";
        return false;
    }
    return true;
}

// Loads either form; the versioned form when the file starts with version 4.
bool LoadContext(const std::string &path, ContextStat &m, bool &versioned, std::string &error) {
    versioned = HasBinaryVersion(path);
    if (versioned) {
        const LoadFault fault = vsg::model::LoadContextVersioned(path.c_str(), &m);
        if (fault == LoadFault::kNone) return true;
        error = path + ": malformed versioned context file: " + FaultText(fault);
        return false;
    }
    if (!RawSizeMatches(path, error)) return false;
    const LoadFault fault = vsg::model::LoadContextRaw(path.c_str(), &m);
    if (fault == LoadFault::kNone) return true;
    error = path + ": cannot read context file: " + FaultText(fault);
    return false;
}

int InfoContext(const std::string &path) {
    ContextStat m{};
    bool versioned = false;
    std::string error;
    if (!LoadContext(path, m, versioned, error)) {
        ContextStat_Free(&m);
        return Fail(error);
    }
    std::printf("file: %s\nkind: context statistics\nform: %s\ntags: %u\ntotal: %d\n", path.c_str(),
                versioned ? "versioned (version 4)" : "raw", m.tagCount, m.totalFrequency);
    std::printf("tag  frequency  single value\n");
    for (int i = 0; i < m.tagCount; ++i)
        std::printf("%3d  %9d  %.6f\n", i, ContextStat_GetFrequency(i, &m),
                    ContextStat_GetSingleValue(i, &m));
    ContextStat_Free(&m);
    return 0;
}

// ---- affix dictionaries and tag maps -------------------------------------

int InfoAffix(const std::string &path, const std::vector<std::string> &words) {
    Dictionary d{};
    const bool binary = HasBinaryVersion(path);
    const LoadFault fault = binary ? vsg::model::LoadAffixBinary(path.c_str(), &d) : vsg::model::LoadAffixText(path.c_str(), &d);
    if (fault != LoadFault::kNone) {
        Dictionary_Free(&d);
        return Fail(path + ": malformed " + (binary ? "binary" : "text") + " affix dictionary: " + FaultText(fault));
    }
    std::printf("file: %s\nkind: affix dictionary\nform: %s\nentries: %d\n", path.c_str(),
                binary ? "binary (version 4)" : "text", d.count);
    std::printf("first entries:\n");
    for (int32_t i = 0; i < d.count && i < 10; ++i)
        std::printf("  %s %g\n", Show(d.entries[i].word).c_str(), d.entries[i].value);
    int status = 0;
    for (const std::string &w : words) {
        const double v = Dictionary_GetValue(ToGb(w).c_str(), &d);
        if (v == -1.0) status = 3;
        std::printf("lookup %s: %g\n", w.c_str(), v);
    }
    Dictionary_Free(&d);
    return status;
}

int InfoMap(const std::string &path) {
    POSmap m{};
    if (const LoadFault fault = vsg::model::LoadTagMap(path.c_str(), &m); fault != LoadFault::kNone) {
        POSmap_Free(&m);
        return Fail(path + ": cannot read tag map: " + FaultText(fault));
    }
    std::printf("file: %s\nkind: tag map\nform: text\ntags: %d\n", path.c_str(), POSmap_GetItemCount(&m));
    char tag[128];
    for (int32_t i = 0; i < m.count && i < 256; ++i)
        if (POSmap_GetPOS(i, tag, &m) == 1) std::printf("%3d  %s\n", i, Show(tag).c_str());
    if (m.count > 256) std::printf("(%d tags beyond 255 cannot be named by number)\n", m.count - 256);
    POSmap_Free(&m);
    return 0;
}

// ---- commands -------------------------------------------------------------

int Compile(Kind kind, const std::string &in, const std::string &out) {
    std::string error;
    if (!CheckReadable(in, error)) return Fail(error);
    switch (kind) {
    case Kind::Core: {
        if (HasBinaryVersion(in)) return Fail(in + ": already a binary core dictionary");
        if (in.find("coredict.dct") == std::string::npos)
            std::fprintf(stderr,
                         "%s: warning: %s is not named coredict.dct; class-word positions are "
                         "not recorded\n",
                         kProgram, in.c_str());
        DictionaryS d{};
        const LoadFault fault = vsg::model::LoadCoreText(in.c_str(), &d);
        int rc = fault == LoadFault::kNone ? 0 : Fail(in + ": malformed text core dictionary: " + FaultText(fault));
        if (rc == 0 && DictionaryS_SaveBinary(out.c_str(), &d) != 1) rc = Fail(out + ": cannot write");
        if (rc == 0) std::printf("%s: %d entries written to %s\n", in.c_str(), d.count, out.c_str());
        DictionaryS_Free(&d);
        return rc;
    }
    case Kind::Context: {
        ContextStat m{};
        bool versioned = false;
        int rc = LoadContext(in, m, versioned, error) ? 0 : Fail(error);
        if (rc == 0 && ContextStat_SaveBinary(out.c_str(), &m) != 1) rc = Fail(out + ": cannot write");
        if (rc == 0)
            std::printf("%s: %s form, %u tags written to %s\n", in.c_str(), versioned ? "versioned" : "raw",
                        m.tagCount, out.c_str());
        ContextStat_Free(&m);
        return rc;
    }
    case Kind::Affix: {
        if (HasBinaryVersion(in)) return Fail(in + ": already a binary affix dictionary");
        Dictionary d{};
        const LoadFault fault = vsg::model::LoadAffixText(in.c_str(), &d);
        int rc = fault == LoadFault::kNone ? 0 : Fail(in + ": malformed text affix dictionary: " + FaultText(fault));
        if (rc == 0 && Dictionary_SaveBinary(out.c_str(), &d) != 1) rc = Fail(out + ": cannot write");
        if (rc == 0) std::printf("%s: %d entries written to %s\n", in.c_str(), d.count, out.c_str());
        Dictionary_Free(&d);
        return rc;
    }
    case Kind::Map: return Fail(in + ": tag maps have no binary form");
    default: return Fail(in + ": cannot tell the kind of model from the name; use --kind");
    }
}

int Info(Kind kind, const std::string &path, const std::vector<std::string> &words) {
    std::string error;
    if (!CheckReadable(path, error)) return Fail(error);
    switch (kind) {
    case Kind::Core: return InfoCore(path, words);
    case Kind::Context: return InfoContext(path);
    case Kind::Affix: return InfoAffix(path, words);
    case Kind::Map: return InfoMap(path);
    default: return Fail(path + ": cannot tell the kind of model from the name; use --kind");
    }
}


// ---- check: a whole model directory through the engine loader -------------

// The tool's kind of a model file of the set.
Kind KindOf(vsg::ModelKind kind) {
    switch (kind) {
    case vsg::ModelKind::kCore: return Kind::Core;
    case vsg::ModelKind::kContext: return Kind::Context;
    case vsg::ModelKind::kMap: return Kind::Map;
    default: return Kind::Affix;
    }
}

// One line per model of a loaded engine: form, file size and model size.
void PrintModelSizes(const std::string &dir, const SegmentEngine &e) {
    const int tagType[] = {0, 0, 0, 1, 1, 2, 2, 3, 3};
    for (size_t i = 0; i < vsg::kModelFileCount; ++i) {
        const vsg::ModelFileSpec &f = vsg::kModelFiles[i];
        const Kind kind = KindOf(f.kind);
        const std::string path = dir + f.name;
        const bool binary = HasBinaryVersion(path);
        std::printf("  %-15s %-10s %10llu bytes  ", f.name,
                    kind == Kind::Map ? "text" : kind == Kind::Context ? (binary ? "versioned" : "raw")
                                                                      : (binary ? "binary" : "text"),
                    static_cast<unsigned long long>(FileSize(path)));
        switch (kind) {
        case Kind::Core:
            std::printf("%d entries, gTaIndexNum %d\n", e.core.count, gTaIndexNum);
            break;
        case Kind::Context:
            std::printf("%u tags\n", e.tagModels[tagType[i]].model.tagCount);
            break;
        case Kind::Map:
            std::printf("%d tags\n", POSmap_GetItemCount(&e.tagModels[tagType[i]].map));
            break;
        default:
            std::printf("%d entries\n", e.affix[i - 9].count);
            break;
        }
    }
}

int Check(std::string dir) {
    struct stat st {};
    if (stat(dir.c_str(), &st) != 0 || !S_ISDIR(st.st_mode)) return Fail(dir + ": not a directory");
    if (!dir.empty() && dir.back() != '/') dir += '/';
    // The files against the manifest first: a damaged set is not loaded.
    const vsg::model::SetCheck set = vsg::model::CheckModelSet(dir);
    if (!set.ok()) {
        std::printf("status: refused before loading (%zu file%s damaged, missing or mismatched)\n",
                    set.problems.size(), set.problems.size() == 1 ? "" : "s");
        for (const std::string &p : set.problems) std::fprintf(stderr, "%s: %s%s\n", kProgram, dir.c_str(), p.c_str());
        return 1;
    }
    if (set.hasManifest)
        std::printf("manifest: %zu files match their size and checksum\n", set.verified);
    else
        std::fprintf(stderr, "%s: warning: %s\n", kProgram, set.warning.c_str());
    int32_t status = 0;
    vsg::model::LoadFault fault = vsg::model::LoadFault::kNone;
    const std::unique_ptr<vsg::engine::Engine> engine = vsg::engine::Engine::Load(dir.c_str(), &status, &fault);
    if (engine != nullptr) {
        std::printf("status: 0 (all twelve models loaded)\nmodels:\n");
        PrintModelSizes(dir, engine->models());
        return 0;
    }
    const vsg::ModelFileSpec *failed = vsg::ModelFileOfStatus(status);
    std::printf("status: %d (%s failed to load)\n", status, failed != nullptr ? failed->name : "a model file");
    return Fail(dir + vsg::model::DescribeLoadFailure(dir, status, fault));
}

// Records every file of a hand-made model directory in its manifest.
int WriteManifestOf(const std::string &dir) {
    std::string error;
    if (!vsg::model::WriteManifest(dir, std::string(kProgram) + " " + VSGLEX_VERSION, &error)) return Fail(error);
    const vsg::model::SetCheck set = vsg::model::CheckModelSet(dir);
    std::printf("%s/%s written: %zu files\n", dir.c_str(), vsg::model::kManifestName, set.verified);
    for (const std::string &p : set.problems) std::fprintf(stderr, "%s: warning: %s\n", kProgram, p.c_str());
    return 0;
}

}  // namespace

int main(int argc, char **argv) {
    std::vector<std::string> args(argv + 1, argv + argc);
    if (args.empty()) return Usage();
    const std::string command = args[0];
    args.erase(args.begin());
    Kind forced = Kind::Unknown;
    for (size_t i = 0; i < args.size(); ++i) {
        if (args[i] == "--kind") {
            if (i + 1 >= args.size() || (forced = ParseKind(args[i + 1])) == Kind::Unknown) return Usage();
            args.erase(args.begin() + static_cast<std::ptrdiff_t>(i), args.begin() + static_cast<std::ptrdiff_t>(i) + 2);
            break;
        }
    }
    if (command == "compile") {
        if (args.size() != 2) return Usage();
        return Compile(forced != Kind::Unknown ? forced : KindFromName(args[0]), args[0], args[1]);
    }
    if (command == "info") {
        if (args.empty()) return Usage();
        const std::vector<std::string> words(args.begin() + 1, args.end());
        return Info(forced != Kind::Unknown ? forced : KindFromName(args[0]), args[0], words);
    }
    if (command == "check") {
        if (args.size() != 1) return Usage();
        return Check(args[0]);
    }
    if (command == "manifest") {
        if (args.size() != 1) return Usage();
        return WriteManifestOf(args[0]);
    }
    return Usage();
}
