// The model set as a whole: the manifest that records the size and
// checksum of every file a trainer wrote, and the checks the front end and
// the tools run on a model directory before handing it to the loaders.
#ifndef VSGLEX_SRC_MODEL_MODEL_SET_H
#define VSGLEX_SRC_MODEL_MODEL_SET_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "common/model_files.h"
#include "model/loaders.h"

namespace vsg::model {

// ---- checksum ---------------------------------------------------------------

// A 64-bit checksum of a byte stream, fed in pieces of any size. It detects
// damage (any change confined to one aligned 8-byte word always changes the
// value); it is not meant to resist deliberate forgery.
class Checksum {
public:
    Checksum();
    void Update(const void *data, size_t size);
    uint64_t Finish() const;

private:
    void Stripe(const unsigned char *p);

    uint64_t lanes_[4];
    uint64_t total_ = 0;
    unsigned char pending_[32];
    size_t pendingSize_ = 0;
};

// Checksum of a whole buffer.
uint64_t ChecksumOf(const void *data, size_t size);

// ---- manifest ---------------------------------------------------------------

// Name of the manifest inside a model directory.
inline constexpr const char kManifestName[] = "manifest.txt";
// Version of the manifest's line format this build reads and writes.
inline constexpr int kManifestVersion = 1;
// Largest manifest read; anything longer is refused as damaged.
inline constexpr size_t kManifestMaxBytes = 64 * 1024;

// One file recorded in a manifest.
struct ManifestEntry {
    std::string name;
    uint64_t size = 0;
    uint64_t checksum = 0;
    std::string format;  // "binary-4", "raw", "text" or "data"
};

// A parsed manifest.
struct Manifest {
    int version = 0;
    std::string producer;  // program and version that wrote the set
    std::vector<ManifestEntry> files;

    // The entry of `name`, or null.
    const ManifestEntry *Find(std::string_view name) const;
};

// Parses manifest text; false with "line N: reason" in `error`.
bool ParseManifest(std::string_view text, Manifest *manifest, std::string *error);
// The text form of a manifest (what ParseManifest reads back).
std::string FormatManifest(const Manifest &manifest);

// Records every regular file of `dir` (except the manifest itself) in
// `dir`/manifest.txt with `producer` in the header. False with a message.
bool WriteManifest(const std::string &dir, const std::string &producer, std::string *error);

// ---- checking a model directory ----------------------------------------------

// What checking a model directory found.
struct SetCheck {
    // One line per damaged, missing or mismatched file, each starting with
    // the file's name ("lexical.ctx: size 120546, manifest says 243012
    // (truncated?)"). Empty when the set may be loaded.
    std::vector<std::string> problems;
    // Set when the directory has no manifest: the set loads unverified.
    std::string warning;
    // Files whose checksum was verified against the manifest.
    size_t verified = 0;
    bool hasManifest = false;

    bool ok() const { return problems.empty(); }
    // The problems joined with "; ".
    std::string Summary() const;
};

// Checks the model directory `dir` before it is loaded: every model file
// must be a regular file; with a manifest every file it lists must match
// its size and checksum and every model file must be listed; without one,
// only cheap structural checks run (empty files, tag maps without tags,
// context files whose size does not fit their tag count).
SetCheck CheckModelSet(const std::string &dir);

// A sentence that says why the engine's load of `dir` failed with
// `status`: the file and the reason, from the loader's `fault` and, for a
// damaged file or one of another version, what its bytes show.
std::string DescribeLoadFailure(const std::string &dir, int32_t status, LoadFault fault);

// "not a regular file (a FIFO)" and the like for a path that exists but is
// not a regular file, "missing" for one that does not exist; empty for a
// regular file.
std::string FileTypeProblem(const std::string &path);

}  // namespace vsg::model

#endif  // VSGLEX_SRC_MODEL_MODEL_SET_H
