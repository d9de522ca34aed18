// The vsglex command: options, formats and exit codes, run as a program.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <string>

#include "front_support.h"
#include "support/support.h"

#ifdef VSGLEX_CLI

namespace {

struct CliRun {
    int code;
    std::string out;
    std::string err;
};

// Runs the command with `args` (a shell fragment), stdin from `input`.
CliRun Vsglex(const std::string &args, const std::string &input = "", const std::string &env = "") {
    vsgtest::TempDir dir;
    vsgtest::WriteFile(dir.file("in"), input);
    std::string cmd = env + " '" VSGLEX_CLI "' " + args + " <'" + dir.file("in") + "' >'" + dir.file("out") +
                      "' 2>'" + dir.file("err") + "'";
    int status = std::system(cmd.c_str());
    CliRun r{WIFEXITED(status) ? WEXITSTATUS(status) : -1, vsgtest::ReadFile(dir.file("out")),
          vsgtest::ReadFile(dir.file("err"))};
    return r;
}

size_t Count(const std::string &s, char c) {
    size_t n = 0;
    for (char x : s) n += x == c;
    return n;
}

TEST(CliTest, UsageAndModelErrors) {
    CliRun help = Vsglex("--help");
    EXPECT_EQ(help.code, 0);
    EXPECT_NE(help.out.find("--names-only"), std::string::npos);
    EXPECT_EQ(Vsglex("--bogus").code, 2);
    EXPECT_EQ(Vsglex("--format xml").code, 2);
    EXPECT_EQ(Vsglex("--threads 0").code, 2);
    EXPECT_EQ(Vsglex("--encoding latin1").code, 2);

    CliRun missing = Vsglex("--data /nonexistent/models", "中文");
    EXPECT_EQ(missing.code, 4);
    EXPECT_NE(missing.err.find("/nonexistent/models"), std::string::npos) << missing.err;
    vsgtest::TempDir empty;
    CliRun broken = Vsglex("", "中文", "VSGLEX_DATA='" + empty.path() + "'");
    EXPECT_EQ(broken.code, 4);
    EXPECT_NE(broken.err.find("coredict.dct"), std::string::npos) << broken.err;
}

TEST(CliTest, FormatsInputsAndExitCodes) {
    REQUIRE_MODELS();
    std::string data = "--data '" + fronttest::ModelDir() + "' ";
    std::string text = "新华社北京一月五日电。\n\n国务院总理会见了客人。\n";

    // text: one output line per input line, word/tag pairs.
    CliRun t = Vsglex(data, text);
    ASSERT_EQ(t.code, 0) << t.err;
    EXPECT_EQ(Count(t.out, '\n'), 3u);
    EXPECT_NE(t.out.find("\xe3\x80\x82/"), std::string::npos);  // "。/" tagged
    EXPECT_EQ(t.out.find("\n\n"), t.out.find('\n'));           // the blank line stays

    // The same through several threads and in GBK gives the same lines.
    EXPECT_EQ(Vsglex(data + "--threads 3", text).out, t.out);
    CliRun g = Vsglex(data + "--encoding gbk", vsgtest::Gb(text));
    EXPECT_EQ(vsgtest::Utf8(g.out), t.out);
    EXPECT_EQ(Vsglex(data, vsgtest::Gb(text)).out, g.out);  // detected as not UTF-8

    // json: one object per sentence with offsets; tsv: five columns.
    CliRun j = Vsglex(data + "--format json", text);
    EXPECT_EQ(j.code, 0);
    EXPECT_EQ(Count(j.out, '\n'), 2u);
    EXPECT_EQ(j.out.rfind("{\"offset\":0,", 0), 0u) << j.out;
    EXPECT_NE(j.out.find("\"line\":3"), std::string::npos);
    CliRun s = Vsglex(data + "--format=tsv", text);
    size_t firstLine = s.out.find('\n');
    ASSERT_NE(firstLine, std::string::npos);
    EXPECT_EQ(Count(s.out.substr(0, firstLine), '\t'), 4u);

    // names-only lists names with class and offset.
    CliRun n = Vsglex(data + "--names-only", text);
    EXPECT_NE(n.out.find("\tplace\t"), std::string::npos) << n.out;

    // Invalid bytes: reported with their line, the rest still analysed.
    CliRun bad = Vsglex(data, "中文\n好\xFF的\n");
    EXPECT_EQ(bad.code, 1);
    EXPECT_NE(bad.err.find("<stdin>:2:"), std::string::npos) << bad.err;
    EXPECT_EQ(Count(bad.out, '\n'), 2u);

    // An unreadable file is reported; the other files are still read.
    vsgtest::TempDir dir;
    vsgtest::WriteFile(dir.file("a.txt"), "中文。\n");
    CliRun files = Vsglex(data + "'" + dir.file("none.txt") + "' '" + dir.file("a.txt") + "'");
    EXPECT_EQ(files.code, 3);
    EXPECT_NE(files.err.find("none.txt"), std::string::npos);
    EXPECT_EQ(files.out.find("==> "), 0u);  // several files: each is named
    EXPECT_EQ(Count(files.out, '\n'), 2u);

    // Pre-cut input keeps the given words.
    CliRun p = Vsglex(data + "--pre-cut --format tsv", "我们 在 北京 。\n");
    EXPECT_EQ(p.out.find("我们\t"), 0u) << p.out;
    EXPECT_NE(p.out.find("\n北京\t"), std::string::npos) << p.out;
    // A name handed one character a word is printed without the spaces
    // between its characters, in every format and both granularities; its
    // offset and length still cover them.
    const std::string name = "江 泽 民 在 北京 会见 客人 。\n";
    CliRun tsv = Vsglex(data + "--pre-cut --format tsv", name);
    EXPECT_EQ(tsv.out.rfind("江泽民\tnr\t0\t11\tperson\n", 0), 0u) << tsv.out;
    EXPECT_EQ(Vsglex(data + "--pre-cut", name).out.rfind("江泽民/nr 在/", 0), 0u);
    EXPECT_EQ(Vsglex(data + "--pre-cut --granularity corpus", name).out.rfind("江/nr 泽民/nr 在/", 0), 0u);
    EXPECT_EQ(Vsglex(data + "--pre-cut --names-only", name).out.rfind("江泽民\tperson\t0\t11\n", 0), 0u);
}

TEST(CliTest, UserDictionariesRepeatableAndReported) {
    REQUIRE_MODELS();
    std::string data = "--data '" + fronttest::ModelDir() + "' ";
    vsgtest::TempDir dir;
    vsgtest::WriteFile(dir.file("a.txt"), "腾讯 nt\n");
    vsgtest::WriteFile(dir.file("b.txt"), "# people\n马克龙 nrf\n");
    vsgtest::WriteFile(dir.file("bad.txt"), "腾讯 nt\n马克龙 x y z\n");
    const std::string text = "腾讯代表会见法国总统马克龙。\n";
    CliRun two = Vsglex(data + "--user-dict '" + dir.file("a.txt") + "' --user-dict='" + dir.file("b.txt") + "'",
                        text);
    ASSERT_EQ(two.code, 0) << two.err;
    EXPECT_EQ(two.out.rfind("腾讯/nt ", 0), 0u) << two.out;
    EXPECT_NE(two.out.find(" 马克龙/nrf "), std::string::npos) << two.out;
    CliRun names = Vsglex(data + "--names-only --user-dict '" + dir.file("a.txt") + "'", text);
    EXPECT_NE(names.out.find("腾讯"), std::string::npos) << names.out;

    CliRun bad = Vsglex(data + "--user-dict '" + dir.file("bad.txt") + "'", text);
    EXPECT_EQ(bad.code, 6);
    EXPECT_NE(bad.err.find("bad.txt line 2"), std::string::npos) << bad.err;
    EXPECT_TRUE(bad.out.empty());
    EXPECT_EQ(Vsglex(data + "--user-dict '" + dir.file("none.txt") + "'", text).code, 6);
}

TEST(CliTest, DamagedModelSetsStopTheCommand) {
    REQUIRE_MODELS();
    vsgtest::TempDir set;
    for (const auto &e : std::filesystem::directory_iterator(fronttest::ModelDir()))
        std::filesystem::copy(e.path(), set.file(e.path().filename().string()));
    const std::string data = "--data '" + set.path() + "' ";
    const std::string text = "王小明说\n";
    CliRun good = Vsglex(data, text);
    ASSERT_EQ(good.code, 0) << good.err;
    EXPECT_EQ(good.err, "");

    // An emptied tag map or a truncated context file used to give wrong tags
    // with status 0; now the command stops and names the file.
    const std::string map = vsgtest::ReadFile(set.file("zyrpos30.map"));
    vsgtest::WriteFile(set.file("zyrpos30.map"), "");
    CliRun emptied = Vsglex(data, text);
    EXPECT_EQ(emptied.code, 4);
    EXPECT_EQ(emptied.out, "");
    EXPECT_NE(emptied.err.find("zyrpos30.map: size 0, manifest says"), std::string::npos) << emptied.err;
    vsgtest::WriteFile(set.file("zyrpos30.map"), map);
    ASSERT_EQ(truncate(set.file("lexical.ctx").c_str(), 120546), 0);
    CliRun truncated = Vsglex(data, text);
    EXPECT_EQ(truncated.code, 4);
    EXPECT_NE(truncated.err.find("lexical.ctx: size 120546"), std::string::npos) << truncated.err;

    // Without its manifest the same damage is only partly detectable: the
    // set loads, with a warning, when its shape is right.
    std::filesystem::remove(set.file("manifest.txt"));
    std::filesystem::remove(set.file("lexical.ctx"));
    std::filesystem::copy(fronttest::ModelDir() + "/lexical.ctx", set.file("lexical.ctx"));
    CliRun unverified = Vsglex(data, text);
    EXPECT_EQ(unverified.code, 0);
    EXPECT_EQ(unverified.out, good.out);
    EXPECT_NE(unverified.err.find("vsglex: warning: no manifest.txt"), std::string::npos) << unverified.err;
}

TEST(CliTest, GranularityViews) {
    REQUIRE_MODELS();
    std::string data = "--data '" + fronttest::ModelDir() + "' ";
    std::string text = "江泽民会见欧阳中石。\n";
    EXPECT_EQ(Vsglex(data + "--granularity other", text).code, 2);
    // Merged names by default; surname and given name in corpus granularity,
    // in text and TSV output, with offsets of the pieces.
    CliRun merged = Vsglex(data + "--granularity merged", text);
    EXPECT_EQ(merged.out, Vsglex(data, text).out);
    EXPECT_EQ(merged.out.rfind("江泽民/nr ", 0), 0u) << merged.out;
    CliRun corpus = Vsglex(data + "--granularity corpus", text);
    EXPECT_EQ(corpus.out.rfind("江/nr 泽民/nr ", 0), 0u) << corpus.out;
    EXPECT_NE(corpus.out.find(" 欧阳/nr 中石/nr "), std::string::npos) << corpus.out;
    CliRun tsv = Vsglex(data + "--granularity corpus --format tsv", text);
    EXPECT_EQ(tsv.out.rfind("江\tnr\t0\t3\tperson\n泽民\tnr\t3\t6\tperson\n", 0), 0u) << tsv.out;
    // JSON keeps the words and gives the pieces.
    CliRun json = Vsglex(data + "--format json", text);
    EXPECT_NE(json.out.find("\"text\":\"江泽民\""), std::string::npos) << json.out;
    EXPECT_NE(json.out.find("\"parts\":[{\"text\":\"江\",\"tag\":\"nr\",\"offset\":0,\"length\":3}"),
              std::string::npos)
        << json.out;
}

}  // namespace

#endif  // VSGLEX_CLI
