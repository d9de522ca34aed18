// The list of person words the corpus view keeps whole: its loader on
// damaged bytes, and the corpus view of a copy of the shipped set whose list
// the test writes.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include "front/personwords.h"
#include "front_support.h"
#include "model/model_set.h"
#include "support/support.h"
#include "vsglex/vsglex_api.h"

namespace {

namespace fs = std::filesystem;
using vsg::front::PersonWordCount;
using vsg::front::PersonWords;
using vsgtest::Gb;

std::string List() {
    return vsg::front::EncodePersonWords({{Gb("侯老"), 11, 0}, {Gb("安南"), 13, 0}, {Gb("钟行"), 1, 2},
                                          {Gb("王"), 5, 0} /* one character: left out */});
}

bool Keeps(const PersonWords &p, const char *utf8) {
    const std::string gb = Gb(utf8);
    return p.KeepsWhole(gb.data(), gb.size());
}

TEST(PersonWordsTest, LoadsWhatIsWrittenAndRefusesDamagedBytes) {
    const std::string bytes = List();
    PersonWords p;
    std::string error;
    ASSERT_TRUE(p.LoadBytes(bytes.data(), bytes.size(), &error)) << error;
    EXPECT_EQ(p.Size(), 3u);
    // Kept whole only when written as one token more often than cut.
    EXPECT_TRUE(Keeps(p, "安南"));
    EXPECT_TRUE(Keeps(p, "侯老"));
    EXPECT_FALSE(Keeps(p, "钟行"));
    EXPECT_FALSE(Keeps(p, "江泽民"));
    // The order of the counts given does not change the bytes.
    EXPECT_EQ(vsg::front::EncodePersonWords({{Gb("钟行"), 1, 2}, {Gb("安南"), 13, 0}, {Gb("侯老"), 11, 0}}), bytes);

    // Every truncation, and bytes after the last word.
    for (size_t keep = 0; keep < bytes.size(); ++keep)
        EXPECT_FALSE(p.LoadBytes(bytes.data(), keep, &error)) << "kept " << keep << " bytes";
    EXPECT_EQ(p.Size(), 0u);
    const std::string longer = bytes + "x";
    EXPECT_FALSE(p.LoadBytes(longer.data(), longer.size(), &error));
    EXPECT_NE(error.find("1 bytes after the last word"), std::string::npos) << error;

    const std::string head = "vsglex-person-words 1 ";
    const std::string an = Gb("安南"), hou = Gb("侯老");
    struct Case {
        std::string bytes, reason;
    } cases[] = {
        {"vsglex-person-words 2 1\n" + an + " 1 0\n", "bad first line"},
        {head + "01\n" + an + " 1 0\n", "bad word count"},
        {head + "2\n" + hou + " 1 0\n" + an + " 1 0\n", "out of order"},  // GB order: 安 before 侯
        {head + "2\n" + an + " 1 0\n" + an + " 1 0\n", "out of order or repeated"},
        {head + "1\n" + an + "x 1 0\n", "bad word"},
        {head + "1\n" + an.substr(0, 3) + " 1 0\n", "bad word"},
        {head + "1\n" + an + " 1 -1\n", "bad count"},
        {head + "1\n" + an + " 12345678901 0\n", "bad count"},
        {head + "1\n" + an + " 1 0 \n", "bad count"},
        {head + "2\n" + an + " 1 0\n", "truncated: 1 of 2 words"},
    };
    for (const Case &c : cases) {
        EXPECT_FALSE(p.LoadBytes(c.bytes.data(), c.bytes.size(), &error)) << c.reason;
        EXPECT_NE(error.find(c.reason), std::string::npos) << error;
    }

    // Through a file: the message names it.
    vsgtest::TempDir dir;
    const std::string path = dir.file(vsg::front::kPersonWordsFile);
    vsgtest::WriteFile(path, bytes.substr(0, bytes.size() - 1));
    EXPECT_FALSE(p.Load(path, &error));
    EXPECT_NE(error.find("person word list " + path + ": truncated"), std::string::npos) << error;
    EXPECT_FALSE(p.Load(dir.path(), &error));
    EXPECT_NE(error.find("not a regular file"), std::string::npos) << error;
    vsgtest::WriteFile(path, bytes);
    EXPECT_TRUE(p.Load(path, &error)) << error;
    EXPECT_TRUE(Keeps(p, "安南"));
}

// The corpus-view pieces ("text/tag") of `text` analysed with the set in `dir`.
std::vector<std::string> Pieces(const std::string &dir, const std::string &text) {
    std::vector<std::string> out;
    vsglex_handle *h = vsglex_open(dir.c_str());
    EXPECT_NE(h, nullptr) << vsglex_last_error();
    if (h == nullptr) return out;
    vsglex_result *r = nullptr;
    EXPECT_EQ(vsglex_analyze(h, text.data(), text.size(), VSGLEX_CHARSET_UTF8, 0, &r), VSGLEX_OK);
    for (size_t k = 0; r != nullptr && k < r->part_count; ++k)
        out.push_back(std::string(r->parts[k].text) + "/" + r->parts[k].tag_name);
    vsglex_result_free(r);
    vsglex_close(h);
    return out;
}

bool Has(const std::vector<std::string> &pieces, const std::string &want) {
    for (const std::string &p : pieces)
        if (p == want) return true;
    return false;
}

std::string Joined(const std::vector<std::string> &pieces) {
    std::string s;
    for (const std::string &p : pieces) s += p + " ";
    return s;
}

TEST(PersonWordsTest, TheCorpusViewKeepsListedPersonWordsWhole) {
    REQUIRE_MODELS();
    vsgtest::TempDir set;
    for (const auto &e : fs::directory_iterator(fronttest::ModelDir()))
        if (e.is_regular_file()) fs::copy(e.path(), set.file(e.path().filename().string()));
    // A list as if the training days wrote 邓超 as one token three times and
    // 江泽民 as one token once but as 江 泽民 five times.
    const std::string list = vsg::front::EncodePersonWords({{Gb("邓超"), 3, 0}, {Gb("江泽民"), 1, 5}});
    vsgtest::WriteFile(set.file(vsg::front::kPersonWordsFile), list);
    std::string error;
    ASSERT_TRUE(vsg::model::WriteManifest(set.path(), "test", &error)) << error;
    const std::string text = "美国国防部长利维会见了邓超。江泽民在北京。";
    const std::vector<std::string> pieces = Pieces(set.path(), text);
    for (const char *want : {"邓超/nr", "江/nr", "泽民/nr"})
        EXPECT_TRUE(Has(pieces, want)) << want << " in " << Joined(pieces);
    EXPECT_FALSE(Has(pieces, "超/nr")) << Joined(pieces);

    // Without the list (older sets) every such name is cut.
    fs::remove(set.file(vsg::front::kPersonWordsFile));
    ASSERT_TRUE(vsg::model::WriteManifest(set.path(), "test", &error)) << error;
    const std::vector<std::string> cut = Pieces(set.path(), text);
    for (const char *want : {"邓/nr", "超/nr", "江/nr", "泽民/nr"})
        EXPECT_TRUE(Has(cut, want)) << want << " in " << Joined(cut);

    // A damaged list in a set without a manifest: vsglex_open names it.
    fs::remove(set.file("manifest.txt"));
    vsgtest::WriteFile(set.file(vsg::front::kPersonWordsFile), list.substr(0, list.size() - 2));
    EXPECT_EQ(vsglex_open(set.path().c_str()), nullptr);
    EXPECT_NE(std::string(vsglex_last_error()).find(vsg::front::kPersonWordsFile + std::string(": truncated")),
              std::string::npos)
        << vsglex_last_error();
}

}  // namespace
