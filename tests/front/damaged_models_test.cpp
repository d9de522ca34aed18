// vsglex_open on a damaged copy of the shipped model set: every damaged,
// replaced or missing file is refused with a message that names it, and a
// set without a manifest loads with a warning.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "common/model_files.h"
#include "support/fixture_models.h"
#include "front_support.h"
#include "support/support.h"
#include "vsglex/model.h"
#include "vsglex/vsglex_api.h"

namespace {

namespace fs = std::filesystem;

// A copy of the shipped set in a temporary directory.
struct ShippedCopy {
    vsgtest::TempDir dir;
    ShippedCopy() {
        for (const auto &e : fs::directory_iterator(fronttest::ModelDir()))
            if (e.is_regular_file()) fs::copy(e.path(), dir.file(e.path().filename().string()));
    }
};

// Opens `dir`; the handle is closed at once. Returns the error ("" when it
// opened) and the warning of the opened set.
std::string Open(const std::string &dir, std::string *warning = nullptr) {
    vsglex_handle *h = vsglex_open(dir.c_str());
    if (h == nullptr) return vsglex_last_error();
    if (warning != nullptr) *warning = vsglex_model_warning(h);
    vsglex_close(h);
    return std::string();
}

TEST(DamagedModelsTest, EveryDamagedFileIsRefusedByName) {
    REQUIRE_MODELS();
    ShippedCopy set;
    std::string warning = "unset";
    ASSERT_EQ(Open(set.dir.path(), &warning), "");
    EXPECT_EQ(warning, "") << "the shipped set has a manifest";

    for (const vsg::ModelFileSpec &spec : vsg::kModelFiles) {
        const std::string path = set.dir.file(spec.name);
        const std::string original = vsgtest::ReadFile(path);
        const off_t size = static_cast<off_t>(original.size());
        struct Damage {
            const char *what;
            off_t keep;  // bytes kept by truncation, or -1
        } damages[] = {{"half", size / 2}, {"one byte short", size - 1}, {"first byte", 1}, {"empty", 0},
                       {"flipped", -1},    {"fifo", -1},                 {"zero device", -1}, {"missing", -1}};
        for (const Damage &d : damages) {
            fs::remove(path);
            vsgtest::WriteFile(path, original);
            const std::string what = d.what;
            if (d.keep >= 0) {
                ASSERT_EQ(truncate(path.c_str(), d.keep), 0);
            } else if (what == "flipped") {
                std::string bytes = original;
                bytes[bytes.size() - 1] = static_cast<char>(bytes[bytes.size() - 1] ^ 1);
                vsgtest::WriteFile(path, bytes);
            } else {
                fs::remove(path);
                if (what == "fifo") {
                    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
                } else if (what == "zero device") {
                    fs::create_symlink("/dev/zero", path);
                }
            }
            const std::string error = Open(set.dir.path());
            EXPECT_NE(error.find(std::string(spec.name) + ": "), std::string::npos)
                << spec.name << " " << what << ": \"" << error << "\"";
        }
        fs::remove(path);
        vsgtest::WriteFile(path, original);
    }
    // The example of a truncated context file: its size and the manifest's.
    const std::string ctx = set.dir.file("lexical.ctx");
    const std::string bytes = vsgtest::ReadFile(ctx);
    ASSERT_EQ(truncate(ctx.c_str(), 120546), 0);
    EXPECT_NE(Open(set.dir.path()).find("lexical.ctx: size 120546, manifest says " + std::to_string(bytes.size()) +
                                        " (truncated?)"),
              std::string::npos);
    vsgtest::WriteFile(ctx, bytes);
    ASSERT_EQ(Open(set.dir.path()), "");
}

TEST(DamagedModelsTest, WithoutManifestTheSetLoadsWithAWarning) {
    REQUIRE_MODELS();
    ShippedCopy set;
    fs::remove(set.dir.file("manifest.txt"));
    std::string warning;
    ASSERT_EQ(Open(set.dir.path(), &warning), "");
    EXPECT_NE(warning.find("no manifest.txt"), std::string::npos) << warning;
    // What can be told without a manifest is still refused.
    vsgtest::WriteFile(set.dir.file("zyrpos30.map"), "");
    EXPECT_NE(Open(set.dir.path()).find("zyrpos30.map: empty"), std::string::npos);
    fs::remove(set.dir.file("zyrpos30.map"));
    ASSERT_EQ(mkfifo(set.dir.file("zyrpos30.map").c_str(), 0600), 0);
    EXPECT_NE(Open(set.dir.path()).find("zyrpos30.map: not a regular file (a FIFO)"), std::string::npos);
}

// Runs `f` with file descriptors 1 and 2 captured; returns what was written
// to either.
template <typename F>
std::string WrittenBy(F f) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    f();
    std::string out = testing::internal::GetCapturedStdout();
    return out + testing::internal::GetCapturedStderr();
}

// The raw-text interface never prints, whatever the state of the model set;
// the exported loaders still print their messages on the same files.
TEST(DamagedModelsTest, OpeningPrintsNothingWhileTheExportedLoadersStillDo) {
    vsgtest::FixtureModelSet set;
    const std::string core = set.file("coredict.dct");
    const std::string intact = vsgtest::ReadFile(core);
    std::string error = "unset";
    // A text core dictionary is first tried as binary: the exported binary
    // loader refuses it with its version message, the handle says nothing.
    EXPECT_EQ(WrittenBy([&] { error = Open(set.path()); }), "");
    EXPECT_EQ(error, "");
    DictionaryS dict{};
    EXPECT_EQ(WrittenBy([&] { EXPECT_EQ(DictionaryS_LoadBinary(core.c_str(), &dict), -1); }),
              "coredict version error!");
    DictionaryS_Free(&dict);

    // A record announcing rows the file lacks: both forms fail, the open is
    // refused by name and without output.
    vsgtest::WriteFile(core, intact + "zzz 3 1 1 1 1\n1 0 5\n");
    EXPECT_EQ(WrittenBy([&] { error = Open(set.path()); }), "");
    EXPECT_NE(error.find("coredict.dct"), std::string::npos) << error;
    vsgtest::WriteFile(core, intact);

    // A missing affix dictionary: refused without output, while the exported
    // text loader reports it on standard output.
    const std::string affix = set.file("org_suffix.dct");
    ASSERT_EQ(std::remove(affix.c_str()), 0);
    EXPECT_EQ(WrittenBy([&] { error = Open(set.path()); }), "");
    EXPECT_NE(error.find("org_suffix.dct"), std::string::npos) << error;
    Dictionary suffixes{};
    EXPECT_EQ(WrittenBy([&] { EXPECT_EQ(Dictionary_Load(affix.c_str(), &suffixes), -1); }),
              "The input file " + affix + " does not exist !\n");
    Dictionary_Free(&suffixes);
}

}  // namespace
