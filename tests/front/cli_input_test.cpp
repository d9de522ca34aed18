// The vsglex command's input and output handling, run as a program: the
// character set guessed on evidence, foreign sets, traditional text, long
// lines, write errors and several input files.
#include <gtest/gtest.h>
#include <iconv.h>
#include <sys/wait.h>

#include <algorithm>
#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include "front_support.h"
#include "support/support.h"

#ifdef VSGLEX_CLI

namespace {

using fronttest::Convert;

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kSanitized = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
constexpr bool kSanitized = true;
#else
constexpr bool kSanitized = false;
#endif
#else
constexpr bool kSanitized = false;
#endif

struct CliRun {
    int code;
    std::string out;
    std::string err;
};

// Runs the command on the shipped models with `args` (a shell fragment),
// standard input from `input`, standard output to `out` unless given, and
// at most `memoryKb` kilobytes of address space when not 0.
CliRun Vsglex(const std::string &args, const std::string &input = "", const std::string &out = "",
              int memoryKb = 0) {
    vsgtest::TempDir dir;
    vsgtest::WriteFile(dir.file("in"), input);
    std::string target = out.empty() ? "'" + dir.file("out") + "'" : out;
    std::string limit = memoryKb > 0 ? "ulimit -v " + std::to_string(memoryKb) + "; " : "";
    std::string cmd = limit + "'" VSGLEX_CLI "' --data '" + fronttest::ModelDir() + "' " + args + " <'" + dir.file("in") +
                      "' >" + target + " 2>'" + dir.file("err") + "'";
    int status = std::system(cmd.c_str());
    return CliRun{WIFEXITED(status) ? WEXITSTATUS(status) : -1, vsgtest::ReadFile(dir.file("out")),
               vsgtest::ReadFile(dir.file("err"))};
}

std::vector<std::string> Lines(const std::string &s) {
    std::vector<std::string> out;
    std::istringstream in(s);
    for (std::string line; std::getline(in, line);) out.push_back(line);
    return out;
}

// Name and class of each line of --names-only output (offsets left out).
std::vector<std::string> Names(const std::string &out) {
    std::vector<std::string> names;
    for (const std::string &l : Lines(out)) names.push_back(l.substr(0, l.find('\t', l.find('\t') + 1)));
    return names;
}

std::string Sample() { return vsgtest::ReadFile(fronttest::SourceDir() + "/examples/sample.txt"); }

TEST(CliInputTest, DamagedForeignAndTraditionalInput) {
    REQUIRE_MODELS();
    // One bad byte early in a UTF-8 text: reported on its line, the rest
    // read as UTF-8 and giving the names of the clean text.
    const std::string clean = Sample();
    CliRun c = Vsglex("--names-only", clean);
    ASSERT_EQ(c.code, 0) << c.err;
    ASSERT_GT(Names(c.out).size(), 10u);
    CliRun d = Vsglex("--names-only", "王小明\xff在北京。\n" + clean);
    EXPECT_EQ(d.code, 1);
    EXPECT_EQ(d.err, "vsglex: <stdin>:1: invalid bytes skipped\n");
    std::vector<std::string> names = Names(d.out);
    ASSERT_GE(names.size(), Names(c.out).size());
    names.erase(names.begin(), names.end() - static_cast<long>(Names(c.out).size()));
    EXPECT_EQ(names, Names(c.out));

    // BIG5 is recognised: the names of its simplified text, in BIG5 bytes.
    const std::string trad = "臺灣大學的學生在臺北參觀了故宮博物院。";
    const std::string simp = "台湾大学的学生在台北参观了故宫博物院。";
    CliRun b = Vsglex("--names-only", Convert(trad, "BIG5"));
    CliRun s = Vsglex("--names-only", simp);
    ASSERT_EQ(b.code, 0) << b.err;
    std::vector<std::string> bl = Lines(b.out), sl = Lines(s.out);
    ASSERT_EQ(bl.size(), sl.size());
    ASSERT_FALSE(bl.empty());
    for (size_t k = 0; k < bl.size(); ++k)  // same classes
        EXPECT_EQ(bl[k].substr(bl[k].find('\t'), 6), sl[k].substr(sl[k].find('\t'), 6));
    EXPECT_EQ(bl[0].substr(0, bl[0].find('\t')), Convert("臺灣大學", "BIG5"));

    // UTF-16 is refused with a reason.
    CliRun u = Vsglex("", Convert("中文。\n", "UTF-16LE"));
    EXPECT_EQ(u.code, 3);
    EXPECT_NE(u.err.find("UTF-16"), std::string::npos) << u.err;
    EXPECT_TRUE(u.out.empty());

    // Traditional UTF-8 and GBK are analysed as simplified by default, and
    // printed as they are.
    CliRun t = Vsglex("", trad + "\n");
    CliRun ts = Vsglex("", simp + "\n");
    EXPECT_EQ(t.out.find("臺灣大學/nt "), 0u) << t.out;
    std::vector<std::string> tt = Lines(t.out), st = Lines(ts.out);
    ASSERT_EQ(tt.size(), 1u);
    EXPECT_EQ(std::count(tt[0].begin(), tt[0].end(), '/'), std::count(st[0].begin(), st[0].end(), '/'));
    EXPECT_EQ(Vsglex("--t2s", trad + "\n").out, t.out);
    EXPECT_NE(Vsglex("--no-t2s", trad + "\n").out, t.out);
    EXPECT_EQ(Vsglex("", Convert(trad + "\n", "GB18030")).out, Convert(t.out, "GB18030"));
    // Simplified text is left alone unless asked.
    EXPECT_EQ(Vsglex("--no-t2s", simp + "\n").out, ts.out);
}

TEST(CliInputTest, LongLinesWriteErrorsAndSeveralFiles) {
    REQUIRE_MODELS();
    // A line longer than any read block (17 MB of UTF-8; 700 KB of GBK):
    // no invalid bytes, one output line, the words give back every
    // character, and 300 MB of address space are enough (unless the
    // sanitizers' shadow memory needs more).
    std::string para = Sample();
    for (char &ch : para)
        if (ch == '\n') ch = ' ';
    for (const char *set : {"UTF-8", "GB18030"}) {
        bool utf8 = set == std::string("UTF-8");
        std::string line;
        while (line.size() < (utf8 ? 17u << 20 : 700000u)) line += para;
        std::string bytes = utf8 ? line + "\n" : Convert(line + "\n", set);
        line.clear();
        CliRun r = Vsglex("", bytes, "", kSanitized ? 0 : 300 * 1024);
        EXPECT_EQ(r.code, 0) << set << ": " << r.err.substr(0, 200);
        std::vector<std::string> out = Lines(r.out);
        ASSERT_EQ(out.size(), 1u) << set;
        std::string words;
        std::istringstream in(out[0]);
        for (std::string w; in >> w;) words += w.substr(0, w.rfind('/'));
        std::string expected;
        for (char ch : bytes)
            if (ch != ' ' && ch != '\n') expected += ch;
        EXPECT_TRUE(words == expected) << set << ": " << words.size() << " bytes of words, " << expected.size()
                                       << " expected";
    }

    // Pre-cut words of a long line stay whole: every one comes back.
    std::string cut;
    while (cut.size() < 400000) cut += "国务院 总理 会见 了 客人 ";
    CliRun p = Vsglex("--pre-cut --format tsv", cut + "\n");
    ASSERT_EQ(p.code, 0) << p.err;
    size_t words = 0, whole = 0;
    for (const std::string &l : Lines(p.out)) {
        if (l.empty()) continue;
        ++words;
        std::string w = l.substr(0, l.find('\t'));
        whole += w == "国务院" || w == "总理" || w == "会见" || w == "了" || w == "客人";
    }
    EXPECT_EQ(words, static_cast<size_t>(std::count(cut.begin(), cut.end(), ' ')));
    EXPECT_EQ(whole, words);

    // Output that cannot be written is an error.
    CliRun full = Vsglex("", "中文。\n", "/dev/full");
    EXPECT_EQ(full.code, 5);
    EXPECT_NE(full.err.find("cannot write output"), std::string::npos) << full.err;

    // Several files: each is named in every format.
    vsgtest::TempDir dir;
    vsgtest::WriteFile(dir.file("a.txt"), "北京。\n");
    vsgtest::WriteFile(dir.file("b.txt"), "上海。\n");
    std::string files = " '" + dir.file("a.txt") + "' '" + dir.file("b.txt") + "'";
    CliRun text = Vsglex(files);
    EXPECT_EQ(text.out, "==> " + dir.file("a.txt") + " <==\n北京/ns 。/wj\n==> " + dir.file("b.txt") +
                            " <==\n上海/ns 。/wj\n");
    CliRun json = Vsglex("--format json" + files);
    std::vector<std::string> j = Lines(json.out);
    ASSERT_EQ(j.size(), 2u);
    EXPECT_EQ(j[1].rfind("{\"file\":\"" + dir.file("b.txt") + "\",", 0), 0u) << j[1];
    CliRun tsv = Vsglex("--names-only" + files);
    EXPECT_EQ(tsv.out, dir.file("a.txt") + "\t北京\tplace\t0\t6\n" + dir.file("b.txt") + "\t上海\tplace\t0\t6\n");
    // One file: no names added.
    EXPECT_EQ(Vsglex("--names-only '" + dir.file("a.txt") + "'").out, "北京\tplace\t0\t6\n");
}

// ASCII letters, digits and marks of UTF-8 text in their full-width forms.
std::string FullWidth(const std::string &s) {
    std::string out;
    for (unsigned char ch : s) {
        if (ch < 0x21 || ch > 0x7E) {
            out += static_cast<char>(ch);
            continue;
        }
        const unsigned code = 0xFF01 + (ch - 0x21);
        out += static_cast<char>(0xE0 | (code >> 12));
        out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (code & 0x3F));
    }
    return out;
}

TEST(CliInputTest, SameOutputInEverySetWidthAndThreadCount) {
    REQUIRE_MODELS();
    // A name found in the first line is remembered for the last, about
    // 95,000 characters later (alone, that line gives 李/nr 春天/t). The
    // text is 190 KB in half-width UTF-8, 280 KB in full width and less in
    // GBK: blocks of the command counted in bytes would part the two lines
    // in some of these forms, or between threads.
    std::string text = "村民李春天说，今年收成好。\n";
    while (text.size() < 190000) text += "2024年粮食产量达到13000亿斤，增长1.3%。\n";
    text += "李春天来了以后，村里变了。\n";
    CliRun one = Vsglex("", text);
    ASSERT_EQ(one.code, 0) << one.err;
    std::vector<std::string> lines = Lines(one.out);
    ASSERT_GT(lines.size(), 3000u);
    EXPECT_EQ(lines.back().rfind("李春天/nr ", 0), 0u) << lines.back();
    EXPECT_EQ(lines[1].rfind("2024年/t 粮食/n ", 0), 0u) << lines[1];
    EXPECT_TRUE(Vsglex("--threads 3", text).out == one.out);
    EXPECT_TRUE(Vsglex("", Convert(text, "GB18030")).out == Convert(one.out, "GB18030"));
    // In full width: the same words, in full width, with the same tags.
    std::string widened;
    for (const std::string &l : lines) {
        std::istringstream in(l);
        std::string sep;
        for (std::string w; in >> w; sep = " ") widened += sep + FullWidth(w.substr(0, w.rfind('/'))) + w.substr(w.rfind('/'));
        widened += '\n';
    }
    EXPECT_TRUE(Vsglex("", FullWidth(text)).out == widened);

    // The blocks themselves: after the first line end that follows the
    // count of characters, at the same character in every set and width.
    const std::string para = "今天下雨。\n明天晴！\n";  // 11 characters a round, 22 two
    std::string many;
    for (int k = 0; k < 10; ++k) many += para;
    EXPECT_EQ(vsglex_block_end(many.data(), many.size(), VSGLEX_CHARSET_UTF8, 0, 20), 2 * para.size());
    const std::string gb = Convert(many, "GB18030");
    EXPECT_EQ(vsglex_block_end(gb.data(), gb.size(), VSGLEX_CHARSET_GB18030, 0, 20), gb.size() / 5);
    EXPECT_EQ(vsglex_block_end(many.data(), many.size(), VSGLEX_CHARSET_UTF8, 0, 1000), many.size());
    // A long line is cut after its last sentence end within twice the
    // count, pre-cut text after its last space, else after a character; a
    // character that the text cuts off at its end waits for the rest.
    const std::string line = "一二三。四五六七八九十甲乙丙";
    EXPECT_EQ(vsglex_block_end(line.data(), line.size(), VSGLEX_CHARSET_UTF8, 0, 5), 12u);
    const std::string spaced = "一 二 三四五六七八九十甲乙丙";
    EXPECT_EQ(vsglex_block_end(spaced.data(), spaced.size(), VSGLEX_CHARSET_UTF8, VSGLEX_PRECUT, 5), 8u);
    const std::string plain = "一二三四五六七八九十甲乙丙";
    EXPECT_EQ(vsglex_block_end(plain.data(), plain.size(), VSGLEX_CHARSET_UTF8, 0, 5), 30u);
    EXPECT_EQ(vsglex_block_end(plain.data(), 31, VSGLEX_CHARSET_UTF8, 0, 5), 31u);
    EXPECT_EQ(vsglex_block_end(nullptr, 10, VSGLEX_CHARSET_UTF8, 0, 5), 0u);
    EXPECT_EQ(vsglex_block_end(plain.data(), plain.size(), 7, 0, 5), 0u);
}

}  // namespace

#endif  // VSGLEX_CLI
