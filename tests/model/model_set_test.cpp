// The model-set manifest: checksum, manifest text, and the check of a model
// directory against damaged, missing, replaced and unlisted files; the
// loaders' refusal of paths that are not regular files.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "model/model_set.h"
#include "support/fixture_models.h"
#include "support/support.h"
#include "vsglex/model.h"

namespace {

using vsg::model::CheckModelSet;
using vsg::model::Manifest;
using vsg::model::ParseManifest;
using vsg::model::SetCheck;

std::string RandomBytes(size_t n, unsigned seed) {
    std::mt19937 gen(seed);
    std::string s(n, '\0');
    for (char &c : s) c = static_cast<char>(gen() & 0xFF);
    return s;
}

TEST(ChecksumTest, PiecesAgreeAndEverySmallChangeShows) {
    const std::string data = RandomBytes(1000, 7);
    const uint64_t whole = vsg::model::ChecksumOf(data.data(), data.size());
    // Fed in pieces of any size, the value is the same.
    for (size_t piece : {1u, 3u, 31u, 32u, 33u, 100u, 999u}) {
        vsg::model::Checksum c;
        for (size_t at = 0; at < data.size(); at += piece) c.Update(data.data() + at, std::min(piece, data.size() - at));
        EXPECT_EQ(c.Finish(), whole) << "pieces of " << piece;
    }
    // One flipped bit anywhere, and every prefix, give a new value.
    std::set<uint64_t> seen{whole};
    for (size_t i = 0; i < data.size(); ++i) {
        std::string d = data;
        d[i] = static_cast<char>(d[i] ^ (1 << (i % 8)));
        EXPECT_TRUE(seen.insert(vsg::model::ChecksumOf(d.data(), d.size())).second) << "flip at " << i;
    }
    for (size_t n = 0; n < data.size(); ++n)
        EXPECT_TRUE(seen.insert(vsg::model::ChecksumOf(data.data(), n)).second) << "prefix " << n;
    // Zero bytes count: lengths differ even when the content is all zero.
    const std::string zeros(64, '\0');
    EXPECT_NE(vsg::model::ChecksumOf(zeros.data(), 63), vsg::model::ChecksumOf(zeros.data(), 64));
    EXPECT_NE(vsg::model::ChecksumOf(zeros.data(), 0), vsg::model::ChecksumOf(zeros.data(), 1));
}

TEST(ManifestTest, ReadsWhatItWritesAndRefusesMalformedText) {
    Manifest m;
    m.version = vsg::model::kManifestVersion;
    m.producer = "vsglex-train 9.9";
    m.files.push_back({"coredict.dct", 4777668, 0x0123456789abcdefull, "binary-4"});
    m.files.push_back({"nr.map", 46, 0xfedcba9876543210ull, "text"});
    Manifest back;
    std::string error;
    ASSERT_TRUE(ParseManifest(vsg::model::FormatManifest(m), &back, &error)) << error;
    ASSERT_EQ(back.files.size(), 2u);
    EXPECT_EQ(back.producer, "vsglex-train 9.9");
    EXPECT_EQ(back.files[0].size, 4777668u);
    EXPECT_EQ(back.files[0].checksum, 0x0123456789abcdefull);
    EXPECT_EQ(back.Find("nr.map")->format, "text");
    EXPECT_EQ(back.Find("ns.map"), nullptr);
    // Line ends of either kind, comments and blank lines are fine.
    EXPECT_TRUE(ParseManifest("vsglex-manifest 1\r\n\r\n# note\r\nfile a.ctx 5 0000000000000001 raw\r\n", &back, &error))
        << error;
    EXPECT_EQ(back.files.size(), 1u);

    const std::string head = "vsglex-manifest 1\n";
    const std::string good = "file a.ctx 5 0000000000000001 raw\n";
    struct Bad {
        std::string text;
        std::string says;
    } bad[] = {
        {"", "line 1: empty manifest"},
        {"vsglex-manifest\n" + good, "line 1: not a manifest"},
        {"vsglex-manifest 2\n" + good, "line 1: format version 2, this build reads 1"},
        {"vsglex-manifest 0\n", "line 1: bad format version"},
        {head + "file a.ctx 5 000000000000001 raw\n", "line 2: bad checksum"},
        {head + "file a.ctx 5 000000000000000G raw\n", "line 2: bad checksum"},
        {head + "file a.ctx -5 0000000000000001 raw\n", "line 2: bad size"},
        {head + "file a.ctx 99999999999999999999 0000000000000001 raw\n", "line 2: bad size"},
        {head + "file ../a.ctx 5 0000000000000001 raw\n", "line 2: bad file name"},
        {head + "file manifest.txt 5 0000000000000001 raw\n", "line 2: bad file name"},
        {head + "file a.ctx 5 0000000000000001 RAW\n", "line 2: bad format"},
        {head + "file a.ctx 5 0000000000000001\n", "line 2: a file entry has 4 fields"},
        {head + good + good, "line 3: a.ctx listed twice"},
        {head + "size a.ctx 5\n", "line 2: unknown entry"},
        {head + std::string("file a.ctx 5\0 0000000000000001 raw\n", 36), "line 2: NUL byte"},
        {head + std::string(vsg::model::kManifestMaxBytes, '#'), "more than a manifest holds"},
    };
    for (const Bad &b : bad) {
        error.clear();
        EXPECT_FALSE(ParseManifest(b.text, &back, &error)) << b.text;
        EXPECT_NE(error.find(b.says), std::string::npos) << "got \"" << error << "\" for " << b.text.substr(0, 80);
        EXPECT_TRUE(back.files.empty());
    }
}

// The one problem reported for `name`, or "" when none names it.
std::string ProblemOf(const SetCheck &check, const std::string &name) {
    for (const std::string &p : check.problems)
        if (p.rfind(name + ": ", 0) == 0) return p;
    return std::string();
}

void Truncate(const std::string &path, off_t size) { ASSERT_EQ(truncate(path.c_str(), size), 0) << path; }

TEST(ModelSetTest, EveryDamagedReplacedOrMissingFileIsNamed) {
    vsgtest::FixtureModelSet set;
    // A file beside the model files is recorded and checked as well.
    vsgtest::WriteFile(set.file("extra.mdl"), RandomBytes(100, 3));
    std::string error;
    ASSERT_TRUE(vsg::model::WriteManifest(set.path(), "test 1", &error)) << error;
    SetCheck clean = CheckModelSet(set.path());
    ASSERT_TRUE(clean.ok()) << clean.Summary();
    EXPECT_TRUE(clean.hasManifest);
    EXPECT_TRUE(clean.warning.empty());
    EXPECT_EQ(clean.verified, 13u);

    std::vector<std::string> names;
    for (const auto &spec : vsg::kModelFiles) names.push_back(spec.name);
    names.push_back("extra.mdl");
    for (const std::string &name : names) {
        const std::string path = set.file(name);
        const std::string original = vsgtest::ReadFile(path);
        ASSERT_GE(original.size(), 2u) << name;
        const std::string damages[] = {"half", "one byte short", "one byte more", "empty", "flipped",
                                       "missing", "fifo", "zero device"};
        for (const std::string &damage : damages) {
            std::filesystem::remove(path);
            vsgtest::WriteFile(path, original);
            std::string expect = "size ";
            if (damage == "half") {
                Truncate(path, static_cast<off_t>(original.size() / 2));
                expect = "(truncated?)";
            } else if (damage == "one byte short") {
                Truncate(path, static_cast<off_t>(original.size() - 1));
                expect = "(truncated?)";
            } else if (damage == "one byte more") {
                vsgtest::WriteFile(path, original + "x");
                expect = "(bytes added?)";
            } else if (damage == "empty") {
                Truncate(path, 0);
            } else if (damage == "flipped") {
                std::string d = original;
                d[d.size() / 2] = static_cast<char>(d[d.size() / 2] ^ 0x20);
                vsgtest::WriteFile(path, d);
                expect = "checksum mismatch";
            } else if (damage == "missing") {
                std::filesystem::remove(path);
                expect = "missing";
            } else if (damage == "fifo") {
                std::filesystem::remove(path);
                ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
                expect = "not a regular file (a FIFO)";
            } else {
                std::filesystem::remove(path);
                std::filesystem::create_symlink("/dev/zero", path);
                expect = "not a regular file (a character device)";
            }
            const SetCheck c = CheckModelSet(set.path());
            EXPECT_FALSE(c.ok()) << name << " " << damage;
            const std::string problem = ProblemOf(c, name);
            EXPECT_NE(problem.find(expect), std::string::npos)
                << name << " " << damage << ": \"" << c.Summary() << "\"";
            EXPECT_EQ(c.problems.size(), 1u) << c.Summary();
        }
        std::filesystem::remove(path);
        vsgtest::WriteFile(path, original);
    }
    ASSERT_TRUE(CheckModelSet(set.path()).ok());

    // A manifest that leaves out a model file, or is itself damaged, is refused.
    const std::string manifest = vsgtest::ReadFile(set.file("manifest.txt"));
    const size_t line = manifest.find("file nt.map ");
    ASSERT_NE(line, std::string::npos);
    std::string without = manifest;
    without.erase(line, manifest.find('\n', line) + 1 - line);
    vsgtest::WriteFile(set.file("manifest.txt"), without);
    EXPECT_EQ(ProblemOf(CheckModelSet(set.path()), "nt.map"), "nt.map: not listed in manifest.txt");
    vsgtest::WriteFile(set.file("manifest.txt"), manifest.substr(0, line + 8));
    EXPECT_NE(ProblemOf(CheckModelSet(set.path()), "manifest.txt").find("a file entry has 4 fields"),
              std::string::npos);
}

TEST(ModelSetTest, WithoutManifestTheSetLoadsWithAWarningUnlessItsShapeIsWrong) {
    vsgtest::FixtureModelSet set;
    SetCheck c = CheckModelSet(set.path());
    EXPECT_TRUE(c.ok()) << c.Summary();
    EXPECT_FALSE(c.hasManifest);
    EXPECT_NE(c.warning.find("no manifest.txt in " + set.path()), std::string::npos) << c.warning;

    // Damage the loaders would accept silently is still found by its shape.
    const std::string map = vsgtest::ReadFile(set.file("zyrpos30.map"));
    vsgtest::WriteFile(set.file("zyrpos30.map"), "\n \n\t\n");
    EXPECT_EQ(ProblemOf(CheckModelSet(set.path()), "zyrpos30.map"), "zyrpos30.map: holds no tags");
    vsgtest::WriteFile(set.file("zyrpos30.map"), "");
    EXPECT_EQ(ProblemOf(CheckModelSet(set.path()), "zyrpos30.map"), "zyrpos30.map: empty");
    vsgtest::WriteFile(set.file("zyrpos30.map"), map);

    const std::string ctx = vsgtest::ReadFile(set.file("lexical.ctx"));
    Truncate(set.file("lexical.ctx"), static_cast<off_t>(ctx.size() - 4));
    EXPECT_NE(ProblemOf(CheckModelSet(set.path()), "lexical.ctx").find("(truncated?)"), std::string::npos);
    vsgtest::WriteFile(set.file("lexical.ctx"), ctx);
    EXPECT_TRUE(CheckModelSet(set.path()).ok());

    // The raw context form has a size fixed by its tag count as well.
    vsgtest::FixtureModelSet raw(true);
    EXPECT_TRUE(CheckModelSet(raw.path()).ok()) << CheckModelSet(raw.path()).Summary();
    const std::string rawCtx = vsgtest::ReadFile(raw.file("nr.ctx"));
    vsgtest::WriteFile(raw.file("nr.ctx"), rawCtx.substr(0, rawCtx.size() / 2));
    EXPECT_NE(ProblemOf(CheckModelSet(raw.path()), "nr.ctx").find("a raw context file of"), std::string::npos);
}

TEST(ModelSetTest, LoadersRefusePathsThatAreNotRegularFiles) {
    // A loader that opens the FIFO would wait forever, one that reads
    // /dev/zero would never end: the alarm turns either into a failure.
    alarm(60);
    vsgtest::TempDir dir;
    const std::string fifo = dir.file("fifo");
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    for (const char *path : {fifo.c_str(), "/dev/zero", dir.path().c_str()}) {
        // Each would block, never end, or read nothing; all fail at once.
        POSmap map{};
        EXPECT_EQ(POSmap_Load(path, &map), -1) << path;
        POSmap_Free(&map);
        Dictionary d{};
        EXPECT_EQ(Dictionary_Load(path, &d), -1) << path;
        EXPECT_EQ(Dictionary_LoadBinary(path, &d), -1) << path;
        Dictionary_Free(&d);
        DictionaryS core{};
        EXPECT_EQ(DictionaryS_Load(path, &core), -1) << path;
        EXPECT_EQ(DictionaryS_LoadBinary(path, &core), -1) << path;
        DictionaryS_Free(&core);
        ContextStat ctx{};
        EXPECT_LT(ContextStat_Load(path, &ctx), 0) << path;
        EXPECT_LT(ContextStat_LoadBinary(path, &ctx), 0) << path;
        ContextStat_Free(&ctx);
    }
    // A directory without model files is one problem.
    const SetCheck none = CheckModelSet(dir.path());
    ASSERT_EQ(none.problems.size(), 1u) << none.Summary();
    EXPECT_EQ(none.problems[0], "coredict.dct: missing (no model file is there)");
    // The load status and the loader's fault are turned into a sentence
    // naming the file and the reason.
    using vsg::model::DescribeLoadFailure;
    using vsg::model::LoadFault;
    EXPECT_EQ(DescribeLoadFailure(dir.path(), VSG_ERR_LEXICAL_MAP, LoadFault::kCannotOpen), "zyrpos30.map: missing");
    EXPECT_EQ(DescribeLoadFailure(dir.path(), VSG_ERR_COREDICT - 1, LoadFault::kCannotOpen), "lexical.ctx: missing");
    vsgtest::WriteFile(dir.file("coredict.dct"), std::string("\x05\0\0\0", 4) + "rest");
    EXPECT_EQ(DescribeLoadFailure(dir.path(), VSG_ERR_COREDICT, LoadFault::kDamaged),
              "coredict.dct: binary core dictionary of version 5, this build reads version 4");
    vsgtest::WriteFile(dir.file("nr.ctx"), "12 34");
    EXPECT_EQ(DescribeLoadFailure(dir.path(), VSG_ERR_NR_CTX, LoadFault::kDamaged),
              "nr.ctx: damaged context statistics (truncated or malformed)");
    // Memory that ran out is told as such, not guessed from the file.
    EXPECT_EQ(DescribeLoadFailure(dir.path(), VSG_ERR_NR_CTX, LoadFault::kNoMemory),
              "nr.ctx: out of memory while loading it");
    EXPECT_NE(DescribeLoadFailure(dir.path(), 7, LoadFault::kDamaged).find("status 7"), std::string::npos);
    alarm(0);
}

}  // namespace
