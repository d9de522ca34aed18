// The model set as a whole: checksum, manifest reading and writing, and the
// checks run on a model directory before the loaders see it.
#include "model/model_set.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>
#include <set>

namespace vsg::model {

namespace {

// ---- checksum ---------------------------------------------------------------

// Odd multipliers and lane seeds (fraction digits of pi and e).
constexpr uint64_t kMulA = 0x9E3779B97F4A7C15ull;
constexpr uint64_t kMulB = 0xB7E151628AED2A6Bull;
constexpr uint64_t kLaneSeeds[4] = {0x243F6A8885A308D3ull, 0x13198A2E03707345ull, 0xA4093822299F31D1ull,
                                    0x082EFA98EC4E6C89ull};

constexpr uint64_t Rotl(uint64_t x, int r) { return (x << r) | (x >> (64 - r)); }

// Folds one word into a lane. For a fixed word it is a bijection of the
// lane, and for a fixed lane a bijection of the word, so a lane that
// differs once stays different, and one changed word always changes it.
constexpr uint64_t Round(uint64_t lane, uint64_t word) { return Rotl((lane ^ word) * kMulA, 31) * kMulB; }

// Eight bytes as a little-endian word.
inline uint64_t Load64(const unsigned char *p) {
    uint64_t v;
    std::memcpy(&v, p, sizeof v);
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
    v = __builtin_bswap64(v);
#endif
    return v;
}

}  // namespace

Checksum::Checksum() {
    for (int i = 0; i < 4; ++i) lanes_[i] = kLaneSeeds[i];
}

void Checksum::Stripe(const unsigned char *p) {
    for (int i = 0; i < 4; ++i) lanes_[i] = Round(lanes_[i], Load64(p + 8 * i));
}

void Checksum::Update(const void *data, size_t size) {
    auto p = static_cast<const unsigned char *>(data);
    total_ += size;
    if (pendingSize_ > 0) {
        const size_t take = std::min(size, sizeof pending_ - pendingSize_);
        std::memcpy(pending_ + pendingSize_, p, take);
        pendingSize_ += take;
        p += take;
        size -= take;
        if (pendingSize_ < sizeof pending_) return;
        Stripe(pending_);
        pendingSize_ = 0;
    }
    for (; size >= 32; p += 32, size -= 32) Stripe(p);
    std::memcpy(pending_, p, size);
    pendingSize_ = size;
}

uint64_t Checksum::Finish() const {
    uint64_t h = total_ * kMulB;
    for (uint64_t lane : lanes_) h = Round(h, lane);
    size_t at = 0;
    for (; at + 8 <= pendingSize_; at += 8) h = Round(h, Load64(pending_ + at));
    if (at < pendingSize_) {
        uint64_t last = 0;
        for (size_t i = pendingSize_; i > at; --i) last = (last << 8) | pending_[i - 1];
        h = Round(h, last ^ (static_cast<uint64_t>(pendingSize_ - at) << 56));
    }
    h ^= h >> 32;
    h *= kMulA;
    h ^= h >> 29;
    h *= kMulB;
    h ^= h >> 32;
    return h;
}

uint64_t ChecksumOf(const void *data, size_t size) {
    Checksum c;
    c.Update(data, size);
    return c.Finish();
}

namespace {

// ---- files --------------------------------------------------------------------

// Closes a descriptor when it goes out of scope.
struct Fd {
    int fd;
    explicit Fd(int f) : fd(f) {}
    ~Fd() {
        if (fd >= 0) close(fd);
    }
    Fd(const Fd &) = delete;
    Fd &operator=(const Fd &) = delete;
};

std::string Errno() { return std::strerror(errno); }

// Opens a path that must be a regular file without blocking on a FIFO.
int OpenRegular(const std::string &path, std::string *error) {
    const int fd = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) {
        *error = errno == ENOENT ? "missing" : "cannot be opened: " + Errno();
        return -1;
    }
    struct stat st {};
    if (fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
        close(fd);
        *error = FileTypeProblem(path);
        if (error->empty()) *error = "not a regular file";
        return -1;
    }
    return fd;
}

// Checksum and size of a whole regular file; false with a reason.
bool ChecksumFile(const std::string &path, uint64_t *checksum, uint64_t *size, std::string *error) {
    Fd fd(OpenRegular(path, error));
    if (fd.fd < 0) return false;
    constexpr size_t kChunk = 256 * 1024;
    std::unique_ptr<unsigned char[]> buffer(new (std::nothrow) unsigned char[kChunk]);
    if (!buffer) {
        *error = "out of memory";
        return false;
    }
    Checksum c;
    uint64_t total = 0;
    for (;;) {
        const ssize_t got = read(fd.fd, buffer.get(), kChunk);
        if (got < 0) {
            if (errno == EINTR) continue;
            *error = "cannot be read: " + Errno();
            return false;
        }
        if (got == 0) break;
        c.Update(buffer.get(), static_cast<size_t>(got));
        total += static_cast<uint64_t>(got);
    }
    *checksum = c.Finish();
    *size = total;
    return true;
}

// Up to `n` leading bytes of a regular file; empty when it cannot be read.
std::string Head(const std::string &path, size_t n) {
    std::string ignored;
    Fd fd(OpenRegular(path, &ignored));
    if (fd.fd < 0) return std::string();
    std::string out(n, '\0');
    size_t have = 0;
    while (have < n) {
        const ssize_t got = read(fd.fd, &out[have], n - have);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) break;
        have += static_cast<size_t>(got);
    }
    out.resize(have);
    return out;
}

uint32_t Le32(const std::string &bytes, size_t at) {
    uint32_t v = 0;
    for (size_t i = 4; i > 0; --i) v = (v << 8) | static_cast<unsigned char>(bytes[at + i - 1]);
    return v;
}

// Version of the binary model forms.
constexpr uint32_t kBinaryVersion = vsg::kModelBinaryVersion;
constexpr char kBinaryFormat[] = "binary-4";

bool StartsWithVersion(const std::string &head) { return head.size() >= 4 && Le32(head, 0) == kBinaryVersion; }

std::string WithSlash(const std::string &dir) {
    if (dir.empty() || dir.back() == '/') return dir;
    return dir + '/';
}

bool EndsWith(std::string_view s, std::string_view tail) {
    return s.size() >= tail.size() && s.substr(s.size() - tail.size()) == tail;
}

// The format a file is recorded with: "binary-4" when it starts with the
// binary version word, else by its name "raw" (context), "text" (core,
// affix dictionaries and tag maps) or "data".
std::string FormatOf(const std::string &name, const std::string &path) {
    if (EndsWith(name, ".map")) return "text";
    if (StartsWithVersion(Head(path, 4))) return kBinaryFormat;
    if (EndsWith(name, ".ctx")) return "raw";
    if (EndsWith(name, ".dct")) return "text";
    return "data";
}

// Empty when this build reads `format`, else why not.
std::string FormatProblem(const std::string &format) {
    if (format == kBinaryFormat || format == "raw" || format == "text" || format == "data") return std::string();
    if (format.rfind("binary-", 0) == 0) return "format " + format + ", this build reads " + kBinaryFormat;
    return "unknown format " + format;
}

// ---- manifest text --------------------------------------------------------------

constexpr char kHeaderWord[] = "vsglex-manifest";
constexpr size_t kMaxEntries = 1024;
constexpr size_t kMaxNameBytes = 64;
constexpr size_t kMaxProducerBytes = 200;
constexpr size_t kMaxFormatBytes = 32;

bool ValidName(std::string_view name) {
    if (name.empty() || name.size() > kMaxNameBytes || name == "." || name == "..") return false;
    return std::all_of(name.begin(), name.end(), [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '.' ||
               c == '_' || c == '-';
    });
}

bool ValidFormat(std::string_view format) {
    if (format.empty() || format.size() > kMaxFormatBytes) return false;
    return std::all_of(format.begin(), format.end(),
                       [](char c) { return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-'; });
}

// Fields of a line split at runs of spaces and tabs.
std::vector<std::string_view> Fields(std::string_view line) {
    std::vector<std::string_view> out;
    size_t i = 0;
    while (i < line.size()) {
        while (i < line.size() && (line[i] == ' ' || line[i] == '\t')) ++i;
        size_t j = i;
        while (j < line.size() && line[j] != ' ' && line[j] != '\t') ++j;
        if (j > i) out.push_back(line.substr(i, j - i));
        i = j;
    }
    return out;
}

// A decimal number of at most 18 digits (no sign).
bool ParseDecimal(std::string_view s, uint64_t *value) {
    if (s.empty() || s.size() > 18) return false;
    uint64_t v = 0;
    for (char c : s) {
        if (c < '0' || c > '9') return false;
        v = v * 10 + static_cast<uint64_t>(c - '0');
    }
    *value = v;
    return true;
}

bool ParseHex64(std::string_view s, uint64_t *value) {
    if (s.size() != 16) return false;
    uint64_t v = 0;
    for (char c : s) {
        int d;
        if (c >= '0' && c <= '9')
            d = c - '0';
        else if (c >= 'a' && c <= 'f')
            d = c - 'a' + 10;
        else
            return false;
        v = (v << 4) | static_cast<uint64_t>(d);
    }
    *value = v;
    return true;
}

std::string Hex64(uint64_t v) {
    char text[17];
    std::snprintf(text, sizeof text, "%016llx", static_cast<unsigned long long>(v));
    return text;
}

// Printable ASCII only (the producer line is shown to users).
bool Printable(std::string_view s) {
    return std::all_of(s.begin(), s.end(), [](char c) { return c >= 0x20 && c < 0x7F; });
}

}  // namespace

const ManifestEntry *Manifest::Find(std::string_view name) const {
    for (const ManifestEntry &e : files)
        if (e.name == name) return &e;
    return nullptr;
}

bool ParseManifest(std::string_view text, Manifest *manifest, std::string *error) {
    *manifest = Manifest();
    if (text.size() > kManifestMaxBytes) {
        *error = std::to_string(text.size()) + " bytes, more than a manifest holds";
        return false;
    }
    size_t lineNo = 0;
    size_t pos = 0;
    bool header = false;
    std::set<std::string, std::less<>> seen;
    auto fail = [&](const std::string &why) {
        *error = "line " + std::to_string(lineNo) + ": " + why;
        *manifest = Manifest();
        return false;
    };
    while (pos < text.size()) {
        size_t end = text.find('\n', pos);
        if (end == std::string_view::npos) end = text.size();
        std::string_view line = text.substr(pos, end - pos);
        pos = end + 1;
        ++lineNo;
        if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
        if (line.find('\0') != std::string_view::npos) return fail("NUL byte");
        const std::vector<std::string_view> f = Fields(line);
        if (!header) {
            if (f.size() != 2 || f[0] != kHeaderWord) return fail(std::string("not a manifest (expected \"") +
                                                                 kHeaderWord + " " +
                                                                 std::to_string(kManifestVersion) + "\")");
            uint64_t version = 0;
            if (!ParseDecimal(f[1], &version) || version == 0) return fail("bad format version");
            if (version != static_cast<uint64_t>(kManifestVersion))
                return fail("format version " + std::string(f[1]) + ", this build reads " +
                            std::to_string(kManifestVersion));
            manifest->version = kManifestVersion;
            header = true;
            continue;
        }
        if (f.empty() || f[0][0] == '#') continue;
        if (f[0] == "producer") {
            const size_t at = line.find("producer") + sizeof("producer") - 1;
            std::string_view rest = line.substr(at);
            while (!rest.empty() && (rest.front() == ' ' || rest.front() == '\t')) rest.remove_prefix(1);
            if (rest.size() > kMaxProducerBytes || !Printable(rest)) return fail("bad producer");
            manifest->producer = std::string(rest);
            continue;
        }
        if (f[0] != "file") return fail("unknown entry \"" + std::string(f[0].substr(0, 32)) + "\"");
        if (f.size() != 5) return fail("a file entry has 4 fields: name size checksum format");
        ManifestEntry e;
        if (!ValidName(f[1]) || f[1] == kManifestName) return fail("bad file name");
        if (!ParseDecimal(f[2], &e.size)) return fail("bad size of " + std::string(f[1]));
        if (!ParseHex64(f[3], &e.checksum)) return fail("bad checksum of " + std::string(f[1]));
        if (!ValidFormat(f[4])) return fail("bad format of " + std::string(f[1]));
        if (seen.count(f[1]) != 0) return fail(std::string(f[1]) + " listed twice");
        if (manifest->files.size() >= kMaxEntries) return fail("too many files");
        e.name = std::string(f[1]);
        e.format = std::string(f[4]);
        seen.insert(e.name);
        manifest->files.push_back(std::move(e));
    }
    if (!header) {
        lineNo = 1;
        return fail("empty manifest");
    }
    return true;
}

std::string FormatManifest(const Manifest &manifest) {
    std::string out = std::string(kHeaderWord) + " " + std::to_string(kManifestVersion) + "\n";
    if (!manifest.producer.empty()) out += "producer " + manifest.producer + "\n";
    out += "# file NAME SIZE CHECKSUM FORMAT\n";
    for (const ManifestEntry &e : manifest.files)
        out += "file " + e.name + " " + std::to_string(e.size) + " " + Hex64(e.checksum) + " " + e.format + "\n";
    return out;
}

bool WriteManifest(const std::string &dir, const std::string &producer, std::string *error) {
    const std::string base = WithSlash(dir);
    std::vector<std::string> names;
    {
        DIR *d = opendir(dir.c_str());
        if (d == nullptr) {
            *error = "cannot list " + dir + ": " + Errno();
            return false;
        }
        while (const dirent *ent = readdir(d)) {
            const std::string name = ent->d_name;
            if (name.empty() || name[0] == '.' || name == kManifestName) continue;
            struct stat st {};
            if (stat((base + name).c_str(), &st) != 0 || !S_ISREG(st.st_mode)) continue;
            names.push_back(name);
        }
        closedir(d);
    }
    std::sort(names.begin(), names.end());
    Manifest m;
    m.version = kManifestVersion;
    m.producer = producer;
    for (const std::string &name : names) {
        if (!ValidName(name)) {
            *error = "cannot record " + base + name + " in the manifest: the name has characters other than "
                     "letters, digits, '.', '_' and '-'";
            return false;
        }
        ManifestEntry e;
        e.name = name;
        std::string why;
        if (!ChecksumFile(base + name, &e.checksum, &e.size, &why)) {
            *error = base + name + ": " + why;
            return false;
        }
        e.format = FormatOf(name, base + name);
        m.files.push_back(std::move(e));
    }
    const std::string text = FormatManifest(m);
    const std::string temp = base + "." + kManifestName + ".tmp";
    FILE *fp = std::fopen(temp.c_str(), "wb");
    if (fp == nullptr) {
        *error = "cannot write " + temp + ": " + Errno();
        return false;
    }
    const bool written = std::fwrite(text.data(), 1, text.size(), fp) == text.size();
    if (std::fclose(fp) != 0 || !written || std::rename(temp.c_str(), (base + kManifestName).c_str()) != 0) {
        *error = "cannot write " + base + kManifestName + ": " + Errno();
        std::remove(temp.c_str());
        return false;
    }
    return true;
}

// ---- checking a model directory ------------------------------------------------

std::string FileTypeProblem(const std::string &path) {
    struct stat st {};
    if (stat(path.c_str(), &st) != 0) return errno == ENOENT ? "missing" : "cannot be examined: " + Errno();
    if (S_ISREG(st.st_mode)) return std::string();
    if (S_ISFIFO(st.st_mode)) return "not a regular file (a FIFO)";
    if (S_ISCHR(st.st_mode)) return "not a regular file (a character device)";
    if (S_ISBLK(st.st_mode)) return "not a regular file (a block device)";
    if (S_ISDIR(st.st_mode)) return "not a regular file (a directory)";
    if (S_ISSOCK(st.st_mode)) return "not a regular file (a socket)";
    return "not a regular file";
}

namespace {

std::string SizeProblem(uint64_t size, uint64_t expected, const std::string &against) {
    return "size " + std::to_string(size) + ", " + against + " " + std::to_string(expected) +
           (size < expected ? " (truncated?)" : " (bytes added?)");
}

// Checks one file against its manifest entry; empty when it matches.
std::string EntryProblem(const std::string &base, const ManifestEntry &e) {
    const std::string path = base + e.name;
    std::string problem = FileTypeProblem(path);
    if (!problem.empty()) return problem;
    struct stat st {};
    if (stat(path.c_str(), &st) != 0) return "cannot be examined: " + Errno();
    if (static_cast<uint64_t>(st.st_size) != e.size)
        return SizeProblem(static_cast<uint64_t>(st.st_size), e.size, "manifest says");
    problem = FormatProblem(e.format);
    if (!problem.empty()) return problem;
    uint64_t checksum = 0;
    uint64_t size = 0;
    if (!ChecksumFile(path, &checksum, &size, &problem)) return problem;
    if (size != e.size) return SizeProblem(size, e.size, "manifest says");
    if (checksum != e.checksum) return "checksum mismatch (the file changed after it was written)";
    return std::string();
}

// Cheap checks of the shape of a model file that need no manifest; empty
// when nothing is wrong. The file is a regular file.
std::string ShapeProblem(const std::string &path, ModelKind kind) {
    struct stat st {};
    if (stat(path.c_str(), &st) != 0) return "cannot be examined: " + Errno();
    const uint64_t size = static_cast<uint64_t>(st.st_size);
    // An affix dictionary may be empty (a small corpus gives no suffix).
    if (size == 0) return kind == ModelKind::kAffix ? std::string() : "empty";
    switch (kind) {
    case ModelKind::kContext: {
        const std::string head = Head(path, 8);
        if (StartsWithVersion(head)) {
            // The versioned form: version, tag count (its low 8 bits are
            // used), total, then the frequencies and the pair counts. A
            // short one would be read as the raw form.
            if (head.size() < 8) return SizeProblem(size, 12, "a versioned context file has at least");
            const uint64_t n = Le32(head, 4) & 0xFF;
            const uint64_t expected = 12 + 4 * n + 4 * n * n;
            if (size != expected)
                return SizeProblem(size, expected,
                                   "a versioned context file of " + std::to_string(n) + " tags has");
            return std::string();
        }
        const uint64_t n = static_cast<unsigned char>(head[0]);
        const uint64_t expected = 5 + 4 * n + 4 * n * n;
        if (size != expected)
            return SizeProblem(size, expected, "a raw context file of " + std::to_string(n) + " tags has");
        return std::string();
    }
    case ModelKind::kMap: {
        // At least one tag: a byte that is not white space.
        std::string ignored;
        Fd fd(OpenRegular(path, &ignored));
        if (fd.fd < 0) return ignored;
        char chunk[4096];
        for (;;) {
            const ssize_t got = read(fd.fd, chunk, sizeof chunk);
            if (got < 0 && errno == EINTR) continue;
            if (got <= 0) break;
            for (ssize_t i = 0; i < got; ++i)
                if (chunk[i] != ' ' && chunk[i] != '\t' && chunk[i] != '\r' && chunk[i] != '\n') return std::string();
        }
        return "holds no tags";
    }
    default: return std::string();
    }
}

// Reads the manifest of `base`; false (with `check` updated) when there is
// none or it cannot be used.
bool ReadManifest(const std::string &dir, const std::string &base, Manifest *m, SetCheck *check) {
    const std::string path = base + kManifestName;
    struct stat st {};
    if (stat(path.c_str(), &st) != 0 && errno == ENOENT) {
        check->warning = "no " + std::string(kManifestName) + " in " + dir +
                         ": the model files are loaded without checking them for damage";
        return false;
    }
    std::string problem = FileTypeProblem(path);
    if (problem.empty() && static_cast<uint64_t>(st.st_size) > kManifestMaxBytes)
        problem = std::to_string(st.st_size) + " bytes, more than a manifest holds";
    std::string text;
    if (problem.empty()) {
        text = Head(path, kManifestMaxBytes + 1);
        if (!ParseManifest(text, m, &problem) && problem.empty()) problem = "cannot be read";
    }
    if (!problem.empty()) {
        check->problems.push_back(std::string(kManifestName) + ": " + problem);
        return false;
    }
    check->hasManifest = true;
    return true;
}

}  // namespace

std::string SetCheck::Summary() const {
    std::string out;
    for (const std::string &p : problems) out += (out.empty() ? "" : "; ") + p;
    return out;
}

SetCheck CheckModelSet(const std::string &dir) {
    SetCheck check;
    const std::string base = WithSlash(dir);
    Manifest manifest;
    const bool listed = ReadManifest(dir, base, &manifest, &check);
    std::set<std::string> reported;
    auto report = [&](const std::string &name, const std::string &problem) {
        if (problem.empty() || !reported.insert(name).second) return;
        check.problems.push_back(name + ": " + problem);
    };
    // The model files in load order first, then the other listed files.
    for (const ModelFileSpec &spec : kModelFiles) {
        const std::string path = base + spec.name;
        const ManifestEntry *entry = listed ? manifest.Find(spec.name) : nullptr;
        if (entry != nullptr) {
            const std::string problem = EntryProblem(base, *entry);
            if (problem.empty()) ++check.verified;
            report(spec.name, problem);
            continue;
        }
        const std::string type = FileTypeProblem(path);
        report(spec.name, type);
        if (!type.empty()) continue;
        if (listed) report(spec.name, std::string("not listed in ") + kManifestName);
        report(spec.name, ShapeProblem(path, spec.kind));
    }
    // A directory without any model file is one problem, not twelve.
    if (!listed && check.problems.size() == kModelFileCount &&
        std::all_of(check.problems.begin(), check.problems.end(),
                    [](const std::string &p) { return EndsWith(p, ": missing"); })) {
        check.problems.assign(1, std::string(kModelFiles[0].name) + ": missing (no model file is there)");
    }
    if (listed) {
        for (const ManifestEntry &e : manifest.files) {
            if (reported.count(e.name) != 0) continue;
            bool isModel = false;
            for (const ModelFileSpec &spec : kModelFiles) isModel = isModel || e.name == spec.name;
            if (isModel) continue;
            const std::string problem = EntryProblem(base, e);
            if (problem.empty()) ++check.verified;
            report(e.name, problem);
        }
    }
    return check;
}

std::string DescribeLoadFailure(const std::string &dir, int32_t status, LoadFault fault) {
    const ModelFileSpec *spec = vsg::ModelFileOfStatus(status);
    if (spec == nullptr) return "the model set in " + dir + " cannot be loaded (status " + std::to_string(status) + ")";
    const std::string path = WithSlash(dir) + spec->name;
    std::string why;
    switch (fault) {
    case LoadFault::kNoMemory: why = "out of memory while loading it"; break;
    case LoadFault::kNoRecord: why = "cannot be loaded (no record to load into)"; break;
    case LoadFault::kCannotOpen:
        why = FileTypeProblem(path);
        if (why.empty()) why = access(path.c_str(), R_OK) != 0 ? "cannot be read: " + Errno() : "cannot be opened";
        break;
    case LoadFault::kNone:
    case LoadFault::kWrongVersion:
    case LoadFault::kDamaged: {
        why = FileTypeProblem(path);
        if (!why.empty()) break;
        const std::string head = Head(path, 4);
        struct stat st {};
        if (stat(path.c_str(), &st) == 0 && st.st_size == 0) {
            why = "empty";
            break;
        }
        switch (spec->kind) {
        case ModelKind::kCore:
            if (StartsWithVersion(head))
                why = "damaged binary core dictionary (truncated or corrupt)";
            else if (head.size() == 4 && Le32(head, 0) > 0 && Le32(head, 0) < 64)
                why = "binary core dictionary of version " + std::to_string(Le32(head, 0)) +
                      ", this build reads version " + std::to_string(vsg::kModelBinaryVersion);
            else
                why = "neither a binary core dictionary nor a readable text one (damaged?)";
            break;
        case ModelKind::kContext: why = "damaged context statistics (truncated or malformed)"; break;
        case ModelKind::kMap: why = "damaged tag map (truncated or malformed)"; break;
        case ModelKind::kAffix: why = "damaged affix dictionary (truncated or malformed)"; break;
        }
        break;
    }
    }
    return spec->name + std::string(": ") + why;
}

}  // namespace vsg::model
