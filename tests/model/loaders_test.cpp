// The non-printing loader core: each fault is told apart and nothing is
// written to standard output or standard error, for every kind of model.
#include <gtest/gtest.h>

#include <string>

#include "model/loaders.h"
#include "support/support.h"
#include "vsglex/model.h"

namespace {

using vsg::model::LoadFault;

// Runs `load` with file descriptors 1 and 2 captured; returns its fault and
// sets *written to what was printed.
template <typename F>
LoadFault Quietly(F load, std::string *written) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    const LoadFault fault = load();
    *written = testing::internal::GetCapturedStdout();
    *written += testing::internal::GetCapturedStderr();
    return fault;
}

TEST(ModelLoaders, CoreTellsFaultsApartWithoutPrinting) {
    vsgtest::TempDir dir;
    const std::string core = dir.file("coredict.dct");
    const std::string missing = dir.file("absent.dct");
    vsgtest::WriteFile(core, vsgtest::Gb("始##始 1 10 0 0 0\n1 0 3.5\n末##末 1 10 0 0 0\n1 1 2\n"));
    std::string out;

    DictionaryS dict{};
    EXPECT_EQ(Quietly([&] { return vsg::model::LoadCoreText(core.c_str(), &dict); }, &out), LoadFault::kNone);
    EXPECT_EQ(dict.count, 2);
    EXPECT_EQ(out, "");
    // A text file read as binary: its first word is not the version.
    EXPECT_EQ(Quietly([&] { return vsg::model::LoadCoreBinary(core.c_str(), &dict); }, &out),
              LoadFault::kWrongVersion);
    EXPECT_EQ(out, "");
    EXPECT_EQ(Quietly([&] { return vsg::model::LoadCoreText(missing.c_str(), &dict); }, &out),
              LoadFault::kCannotOpen);
    EXPECT_EQ(out, "");
    EXPECT_EQ(vsg::model::LoadCoreText(core.c_str(), nullptr), LoadFault::kNoRecord);
    // The engine's order: binary refused, then the text form loads.
    EXPECT_EQ(Quietly([&] { return vsg::model::LoadCoreFile(core.c_str(), &dict, vsg::model::Messages::kQuiet); },
                      &out),
              LoadFault::kNone);
    EXPECT_EQ(out, "");
    EXPECT_EQ(dict.count, 2);
    // A record that announces rows the file lacks.
    vsgtest::WriteFile(core, vsgtest::Gb("始##始 3 10 0 0 0\n1 0 3.5\n"));
    EXPECT_EQ(vsg::model::LoadCoreText(core.c_str(), &dict), LoadFault::kDamaged);
    DictionaryS_Free(&dict);

    // A binary form cut short after its version word.
    const std::string shortBinary = dir.file("short.dct");
    vsgtest::WriteFile(shortBinary, std::string("\x04\x00\x00\x00\x01\x00", 6));
    Dictionary affix{};
    EXPECT_EQ(Quietly([&] { return vsg::model::LoadAffixBinary(shortBinary.c_str(), &affix); }, &out),
              LoadFault::kDamaged);
    EXPECT_EQ(out, "");
    EXPECT_EQ(Quietly([&] { return vsg::model::LoadAffixFile(missing.c_str(), &affix, vsg::model::Messages::kQuiet); },
                      &out),
              LoadFault::kCannotOpen);
    EXPECT_EQ(out, "");
    Dictionary_Free(&affix);

    ContextStat ctx{};
    EXPECT_EQ(Quietly([&] { return vsg::model::LoadContextVersioned(shortBinary.c_str(), &ctx); }, &out),
              LoadFault::kDamaged);
    EXPECT_EQ(Quietly([&] { return vsg::model::LoadContextVersioned(core.c_str(), &ctx); }, &out),
              LoadFault::kWrongVersion);
    EXPECT_EQ(out, "");
    EXPECT_EQ(vsg::model::LoadContextRaw(missing.c_str(), &ctx), LoadFault::kCannotOpen);
    ContextStat_Free(&ctx);

    POSmap map{};
    EXPECT_EQ(vsg::model::LoadTagMap(missing.c_str(), &map), LoadFault::kCannotOpen);
    EXPECT_EQ(vsg::model::LoadTagMap(core.c_str(), nullptr), LoadFault::kNoRecord);
    POSmap_Free(&map);
}

TEST(ModelLoaders, EngineOrderPrintsAsTheExportedLoadersWhenAsked) {
    vsgtest::TempDir dir;
    const std::string core = dir.file("coredict.dct");
    vsgtest::WriteFile(core, vsgtest::Gb("始##始 1 10 0 0 0\n1 0 3.5\n"));
    DictionaryS dict{};
    std::string out;
    EXPECT_EQ(Quietly([&] { return vsg::model::LoadCoreFile(core.c_str(), &dict, vsg::model::Messages::kAsExported); },
                      &out),
              LoadFault::kNone);
    EXPECT_EQ(out, "coredict version error!");
    DictionaryS_Free(&dict);
    const std::string missing = dir.file("absent.dct");
    Dictionary affix{};
    EXPECT_EQ(Quietly([&] { return vsg::model::LoadAffixFile(missing.c_str(), &affix, vsg::model::Messages::kAsExported); },
                      &out),
              LoadFault::kCannotOpen);
    EXPECT_EQ(out, "The input file " + missing + " does not exist !\n");
    Dictionary_Free(&affix);
}

}  // namespace
