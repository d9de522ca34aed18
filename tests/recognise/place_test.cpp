#include "fixture.h"

namespace {

using rectest::Engine;
using rectest::MakeSpan;
using rectest::Sentence;

void Place(const Engine &e, Sentence &s, int32_t start, const std::string &roles,
           WordGraph *graph = nullptr) {
    auto span = MakeSpan(s, start, roles, e.place());
    EXPECT_EQ(CSpan_PlaceRecognize(span.get(), s.data(), e.get(), start, graph), 1);
}

// True when no record below `n` was touched by a recogniser.
bool Untouched(Sentence &s, size_t n) {
    for (size_t r = 0; r < n; ++r) {
        if (s[r].classText[0] != '\0' || s[r].state != 0) return false;
    }
    return true;
}

TEST(PlaceRecognize, TwoSlotNamesNeedTheSuffixOfRecordTwo) {
    Engine suffix(vsgtest::Gb("市 1.0\n在 1.0\n"));
    Engine weak(vsgtest::Gb("市 2.0\n"));

    Sentence ok({{"^"}, {"京"}, {"市"}, {"说"}, {"$"}});
    Place(suffix, ok, 0, "ASGRB");
    EXPECT_EQ(ok.Text(1), "京市");
    EXPECT_STREQ(ok[1].classText, vsg::kPlaceClass);
    EXPECT_EQ(ok[1].tag, 29);
    EXPECT_EQ(ok[1].frequency, 9845u);
    EXPECT_DOUBLE_EQ(ok[1].weight, 9.19482);
    EXPECT_EQ(ok[1].posList, suffix.place_entry().posList);
    EXPECT_EQ(ok[1].posCount, 2);
    EXPECT_EQ(ok[2].state, VSG_STATE_MERGED);

    Sentence rejected({{"^"}, {"京"}, {"市"}, {"说"}, {"$"}});
    Place(weak, rejected, 0, "ASGRB");
    EXPECT_TRUE(Untouched(rejected, 4));

    // The lookup always reads record 2, wherever the name lies: here "在",
    // which the dictionary lists with 1.0, lets 京市 through.
    Sentence fixed({{"^"}, {"说"}, {"在"}, {"京"}, {"市"}, {"$"}});
    Place(suffix, fixed, 0, "ARRSGB");
    EXPECT_EQ(fixed.Text(3), "京市");
    Sentence fixedWeak({{"^"}, {"说"}, {"在"}, {"京"}, {"市"}, {"$"}});
    Place(weak, fixedWeak, 0, "ARRSGB");
    EXPECT_TRUE(Untouched(fixedWeak, 5));

    // One slot needs no lookup.
    Sentence single({{"^"}, {"说"}, {"京"}, {"$"}});
    Place(weak, single, 0, "ARSB");
    EXPECT_EQ(single[2].tag, 29);
}

TEST(PlaceRecognize, FormsTagsAndTheCarriedFlag) {
    Engine e(vsgtest::Gb("市 1.0\n"));
    Sentence c({{"^"}, {"石"}, {"家"}, {"庄"}, {"市"}, {"$"}});
    Place(e, c, 0, "ACEFGB");
    EXPECT_EQ(c.Text(1), "石家庄市");
    EXPECT_EQ(c[1].tag, 29);
    for (size_t r = 2; r <= 4; ++r) EXPECT_EQ(c[r].state, VSG_STATE_MERGED) << r;

    // An H form before any S or C form is tagged 30; after the S form the
    // flag stays set for the rest of the call.
    Sentence h({{"^"}, {"阿"}, {"尔"}, {"及"}, {"利"}, {"亚"}, {"国"}, {"说"}, {"京"}, {"和"},
                {"伦"}, {"敦"}, {"城"}, {"$"}});
    Place(e, h, 0, "AHIIJKLRSRHKLB");
    EXPECT_EQ(h.Text(1), "阿尔及利亚国");
    EXPECT_EQ(h[1].tag, 30);
    EXPECT_EQ(h[1].frequency, 3441u);
    EXPECT_DOUBLE_EQ(h[1].weight, 8.14381);
    for (size_t r = 2; r <= 6; ++r) EXPECT_EQ(h[r].state, VSG_STATE_MERGED) << r;
    EXPECT_EQ(h[8].tag, 29);
    EXPECT_EQ(h.Text(10), "伦敦城");
    EXPECT_EQ(h[10].tag, 29);

    // A new call starts with the flag clear; a C form that builds no name
    // (C F without G) does not set it.
    Sentence again({{"^"}, {"石"}, {"家"}, {"伦"}, {"敦"}, {"城"}, {"$"}});
    Place(e, again, 0, "ACFHKLB");
    EXPECT_TRUE(Untouched(again, 3));
    EXPECT_EQ(again.Text(3), "伦敦城");
    EXPECT_EQ(again[3].tag, 30);
}

TEST(PlaceRecognize, LongNamesBlockRunFormsAndBreakLetters) {
    Engine e(vsgtest::Gb("市 1.0\n"));
    const std::string w20 = "一二三四五六七八九十";  // 20 bytes
    // C G joins 40 bytes: unused and kept, so the C D E F run appended to it
    // fails too; the fresh S form then replaces the buffer.
    Sentence s({{"^"}, {w20}, {w20}, {"甲"}, {"乙"}, {"丙"}, {"丁"}, {"京"}, {"$"}});
    Place(e, s, 0, "ACGCDEFSB");
    EXPECT_TRUE(Untouched(s, 7));
    EXPECT_EQ(s[7].tag, 29);

    // The same run after a z letter is a name.
    Sentence z({{"^"}, {w20}, {w20}, {"说"}, {"甲"}, {"乙"}, {"丙"}, {"丁"}, {"$"}});
    Place(e, z, 0, "ACGzCDEFB");
    EXPECT_TRUE(Untouched(z, 4));
    EXPECT_EQ(z.Text(4), "甲乙丙丁");

    // Once the kept buffer passes 256 bytes the scan ends.
    const std::string w60 = w20 + w20 + w20;
    Sentence stop({{"^"}, {w60}, {w60}, {w60}, {w60}, {w60}, {w60}, {"京"}, {"$"}});
    Place(e, stop, 0, "ACGCDEFSB");
    EXPECT_TRUE(Untouched(stop, 8));

    // No form crosses a z or Z letter.
    Sentence cross({{"^"}, {"石"}, {"说"}, {"市"}, {"$"}});
    Place(e, cross, 0, "ACZGB");
    EXPECT_TRUE(Untouched(cross, 4));
}

TEST(PlaceRecognize, LaterRunsMarkFromTheArrayStartAndLinkTheGraph) {
    Engine e(vsgtest::Gb("市 1.0\n"));
    Sentence s({{"^"}, {"今天"}, {"说"}, {"石"}, {"家"}, {"庄"}, {"$"}});
    auto graph = std::make_unique<WordGraph>();
    for (int r = 0; r < 7; ++r) ASSERT_EQ(InsertVex(graph.get(), s[r]), 1);
    // The run starts at record 2; the name is slots 2..4 (records 3..5).
    Place(e, s, 2, "RCEFB", graph.get());
    EXPECT_EQ(s.Text(3), "石家庄");
    EXPECT_EQ(s[3].tag, 29);
    // Records 2 and 3 (slots 2 and 3 counted from record 0) are marked.
    EXPECT_EQ(s[2].state, VSG_STATE_MERGED);
    EXPECT_EQ(s[3].state, VSG_STATE_MERGED);
    EXPECT_EQ(s[4].state, 0);
    EXPECT_EQ(s[5].state, 0);

    ASSERT_EQ(graph->vertexCount, 8);
    EXPECT_EQ(vsgtest::Utf8(graph->vertices[7].word.text), "石家庄");
    double cost = 0;
    GetArcValue_1(graph.get(), 1, 7, &cost);  // nearest earlier live record: 今天
    EXPECT_DOUBLE_EQ(cost, 11.0285);
    GetArcValue_1(graph.get(), 7, 6, &cost);
    EXPECT_DOUBLE_EQ(cost, 11.0285);
    DestroyGraph(graph.get());
}

}  // namespace

// Runs without an opening letter (S, C, H) are passed over before the
// scan; these runs have one only at its edges: in the last slot, as the
// rarely used H, or as a tag far into the map.
TEST(PlaceRecognize, RunsWithOneOpeningLetterAtTheEdgesStillMakeNames) {
    Engine e;
    Sentence last({{"^"}, {"说"}, {"京"}});
    Place(e, last, 0, "ARS");
    EXPECT_EQ(last[2].tag, 29);

    Sentence h({{"^"}, {"说"}, {"乌"}, {"兰"}, {"浩"}, {"$"}});
    Place(e, h, 0, "ARHKLB");
    EXPECT_EQ(h.Text(2), "乌兰浩");
    EXPECT_EQ(h[3].state, VSG_STATE_MERGED);

    Sentence none({{"^"}, {"说"}, {"乌"}, {"兰"}, {"浩"}, {"$"}});
    Place(e, none, 0, "ARDEFB");
    EXPECT_TRUE(Untouched(none, 5));

    std::vector<std::string> lines(90, "R");
    lines[0] = "A";
    lines[88] = "S";
    rectest::RoleMap wide(lines);
    SegmentEngine copy = *e.get();
    copy.tagModels[VSG_TAG_PLACE].map = wide.map();
    Sentence far({{"^"}, {"说"}, {"京"}, {"$"}});
    auto span = MakeSpan(far, 0, "ARSR", wide);
    EXPECT_EQ(CSpan_PlaceRecognize(span.get(), far.data(), &copy, 0, nullptr), 1);
    EXPECT_EQ(far[2].tag, 29);
}
