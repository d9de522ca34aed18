#include "fixture.h"

namespace {

using rectest::Engine;
using rectest::MakeSpan;
using rectest::Sentence;
using vsgtest::Gb;

// Runs the person recogniser on the run of `roles` starting at `start`.
void Person(const Engine &e, Sentence &s, int32_t start, const std::string &roles,
            WordGraph *graph = nullptr) {
    auto span = MakeSpan(s, start, roles, e.person());
    EXPECT_EQ(CSpan_PersonRecognize(span.get(), s.data(), e.get(), start, graph), 1);
}

TEST(PersonRecognize, PatternNamesAreMergedInPlace) {
    Engine e;
    Sentence s({{"^"}, {"张"}, {"三"}, {"丰"}, {"说"}, {"$"}});
    Person(e, s, 0, "ACDEWB");
    EXPECT_EQ(s.Text(1), "张三丰");
    EXPECT_STREQ(s[1].classText, vsg::kPersonClass);
    EXPECT_EQ(s[1].tag, 24);
    EXPECT_EQ(s[1].frequency, 73861u);
    EXPECT_DOUBLE_EQ(s[1].weight, 11.21);
    EXPECT_EQ(s[1].offset, 6);  // after the 6 bytes of the start word
    EXPECT_EQ(s[1].posList, e.person_entry().posList);
    EXPECT_EQ(s[1].posCount, 1);
    EXPECT_FLOAT_EQ(s[1].stats[0], e.person_entry().stats[0]);
    EXPECT_EQ(s[1].state, 0);
    EXPECT_EQ(s[2].state, VSG_STATE_MERGED);
    EXPECT_EQ(s[3].state, VSG_STATE_MERGED);
    EXPECT_EQ(s[4].state, 0);
    EXPECT_EQ(s.Text(4), "说");

    // "CCDE": the first C stays, the next three are merged.
    Sentence t({{"^"}, {"王"}, {"张"}, {"三"}, {"丰"}, {"$"}});
    Person(e, t, 0, "ACCDEB");
    EXPECT_EQ(t.Text(1), "王");
    EXPECT_EQ(t[1].classText[0], '\0');
    EXPECT_EQ(t.Text(2), "张三丰");
    EXPECT_EQ(t[2].tag, 24);
    EXPECT_EQ(t[3].state, VSG_STATE_MERGED);
    EXPECT_EQ(t[4].state, VSG_STATE_MERGED);

    // Pairs "DE" and "GC" never make names by themselves; "CF" does.
    Sentence u({{"^"}, {"建"}, {"国"}, {"老"}, {"李"}, {"李"}, {"白"}, {"$"}});
    Person(e, u, 0, "ADEGCCFB");
    EXPECT_EQ(u.Text(1), "建");
    EXPECT_EQ(u.Text(3), "老");
    EXPECT_EQ(u.Text(4), "李");
    EXPECT_EQ(u.Text(5), "李白");
    EXPECT_EQ(u[6].state, VSG_STATE_MERGED);
}

TEST(PersonRecognize, DotsLengthAndShortJWordsBlockNames) {
    Engine e;
    // A dot just before the match, and just after it.
    Sentence before({{"^"}, {"·"}, {"张"}, {"三"}, {"丰"}, {"$"}});
    Person(e, before, 0, "AWCDEB");
    Sentence after({{"^"}, {"张"}, {"三"}, {"丰"}, {"·"}, {"$"}});
    Person(e, after, 0, "ACDEWB");
    for (Sentence *s : {&before, &after}) {
        for (size_t r = 0; r < 5; ++r) {
            EXPECT_EQ((*s)[r].classText[0], '\0') << r;
            EXPECT_EQ((*s)[r].state, 0) << r;
        }
    }

    // Over 32 bytes joined: left unmerged; exactly 32 bytes: merged.
    Sentence long_({{"^"}, {"甲乙丙丁戊己"}, {"甲乙丙丁戊己"}, {"甲乙丙丁戊"}, {"$"}});
    Person(e, long_, 0, "ACDEB");
    EXPECT_EQ(long_.Text(1), "甲乙丙丁戊己");
    EXPECT_EQ(long_[2].state, 0);
    Sentence limit({{"^"}, {"甲乙丙丁戊己"}, {"甲乙丙丁戊己"}, {"甲乙丙丁"}, {"$"}});
    Person(e, limit, 0, "ACDEB");
    EXPECT_EQ(limit.Text(1), "甲乙丙丁戊己甲乙丙丁戊己甲乙丙丁");
    EXPECT_EQ(limit[3].state, VSG_STATE_MERGED);

    // "J" needs a word of three characters.
    Sentence j({{"^"}, {"××"}, {"说"}, {"欧阳锋"}, {"$"}});
    Person(e, j, 0, "AJWJB");
    EXPECT_EQ(j[1].classText[0], '\0');
    EXPECT_STREQ(j[3].classText, vsg::kPersonClass);
    EXPECT_EQ(j.Text(3), "欧阳锋");
    EXPECT_EQ(j[3].tag, 24);
}

TEST(PersonRecognize, TransliteratedAndJapaneseNames) {
    Engine e;
    Sentence s({{"^"}, {"约"}, {"翰"}, {"逊"}, {"斯"}, {"说"}, {"$"}});
    Person(e, s, 0, "ALMMNWB");
    EXPECT_EQ(s.Text(1), "约翰逊斯");
    EXPECT_EQ(s[1].tag, 27);
    EXPECT_EQ(s[1].frequency, 18802u);
    EXPECT_DOUBLE_EQ(s[1].weight, 9.84177);
    for (size_t r = 2; r <= 4; ++r) EXPECT_EQ(s[r].state, VSG_STATE_MERGED) << r;
    EXPECT_EQ(s[5].state, 0);

    Sentence two({{"^"}, {"约"}, {"翰"}, {"$"}});
    Person(e, two, 0, "ALNB");
    EXPECT_EQ(two[1].classText[0], '\0');
    EXPECT_EQ(two[2].state, 0);

    // A dot inside a transliterated name does not end it.
    Sentence dot({{"^"}, {"约"}, {"·"}, {"翰"}, {"逊"}, {"斯"}, {"$"}});
    Person(e, dot, 0, "ALMNMNB");
    EXPECT_EQ(dot.Text(1), "约·翰逊斯");
    EXPECT_EQ(dot[1].tag, 27);
    EXPECT_EQ(dot[5].state, VSG_STATE_MERGED);

    // Japanese-style name right after a pattern name.
    Sentence jp({{"^"}, {"张"}, {"三"}, {"丰"}, {"山"}, {"田"}, {"一"}, {"$"}});
    Person(e, jp, 0, "ACDEOPQB");
    EXPECT_EQ(jp.Text(1), "张三丰");
    EXPECT_EQ(jp.Text(4), "山田一");
    EXPECT_EQ(jp[4].tag, 28);
    EXPECT_EQ(jp[4].frequency, 922u);
    EXPECT_DOUBLE_EQ(jp[4].weight, 6.82763);
    EXPECT_EQ(jp[6].state, VSG_STATE_MERGED);
}

TEST(PersonRecognize, LaterRunsPlaceForeignNamesFromTheArrayStart) {
    Engine e;
    Sentence s({{"^"}, {"今天"}, {"我们"}, {"见"}, {"约"}, {"翰"}, {"逊"}, {"说"}, {"张"}, {"三"},
                {"丰"}, {"$"}});
    // The run starts at record 3; its slot 2 is record 4. The slot after a
    // transliterated name is passed over, so a W stands between the names.
    Person(e, s, 3, "WLMNWCDEB");
    // Foreign name: text from records 4..6, written into record 1 and
    // marking records 2 and 3.
    EXPECT_EQ(s.Text(1), "约翰逊");
    EXPECT_EQ(s[1].tag, 27);
    EXPECT_EQ(s[2].state, VSG_STATE_MERGED);
    EXPECT_EQ(s[3].state, VSG_STATE_MERGED);
    EXPECT_EQ(s.Text(4), "约");
    EXPECT_EQ(s[4].state, 0);
    // Pattern names are placed relative to the run.
    EXPECT_EQ(s.Text(8), "张三丰");
    EXPECT_EQ(s[8].tag, 24);
    EXPECT_EQ(s[9].state, VSG_STATE_MERGED);
    EXPECT_EQ(s[10].state, VSG_STATE_MERGED);
    EXPECT_EQ(s[7].state, 0);
}

TEST(PersonRecognize, NameIsLinkedIntoAGivenGraph) {
    Engine e;
    Sentence s({{"^"}, {"张"}, {"三"}, {"丰"}, {"说"}, {"$"}});
    auto graph = std::make_unique<WordGraph>();
    for (int r = 0; r < 6; ++r) ASSERT_EQ(InsertVex(graph.get(), s[r]), 1);
    for (int r = 0; r + 1 < 6; ++r) ASSERT_EQ(InsertArc(graph.get(), r, r + 1, 20.0), 1);

    Person(e, s, 0, "ACDEWB", graph.get());
    ASSERT_EQ(graph->vertexCount, 7);
    EXPECT_EQ(vsgtest::Utf8(graph->vertices[6].word.text), "张三丰");
    EXPECT_EQ(graph->arcCount, 5 + 2);
    double cost = 0;
    GetArcValue_1(graph.get(), 0, 6, &cost);
    EXPECT_DOUBLE_EQ(cost, 11.0285);
    GetArcValue_1(graph.get(), 6, 4, &cost);
    EXPECT_DOUBLE_EQ(cost, 11.0285);

    std::vector<SpanWord> path(8);
    int32_t bytes = ShortestPath_DIJ(graph.get(), 0, 5, path.data());
    ASSERT_EQ(bytes, 4 * static_cast<int32_t>(sizeof(SpanWord)));
    EXPECT_EQ(vsgtest::Utf8(path[1].text), "张三丰");
    EXPECT_EQ(vsgtest::Utf8(path[2].text), "说");
    DestroyGraph(graph.get());
}

}  // namespace

// Runs without an opening letter are passed over before the scan; these
// runs sit at the edges of that test: the only opening letter in the last
// slot, or the tag of the letter far into the map, or a role text whose
// first byte is the letter.
TEST(PersonRecognize, RunsWithOneOpeningLetterAtTheEdgesStillMakeNames) {
    Engine e;
    Sentence last({{"^"}, {"说"}, {"欧阳修"}});
    Person(e, last, 0, "AWJ");
    EXPECT_EQ(last.Text(2), "欧阳修");
    EXPECT_STREQ(last[2].classText, vsg::kPersonClass);

    Sentence none({{"^"}, {"说"}, {"欧阳修"}, {"$"}});
    Person(e, none, 0, "AWKB");
    EXPECT_EQ(none[2].classText[0], '\0');

    // A map of 80 roles: "J" is tag 70, "Lx", "M" and "N" tags 75-77.
    std::vector<std::string> lines(80, "W");
    lines[0] = "A";
    lines[70] = "J";
    lines[75] = "Lx";
    lines[76] = "M";
    lines[77] = "N";
    rectest::RoleMap wide(lines);
    SegmentEngine copy = *e.get();
    copy.tagModels[VSG_TAG_PERSON].map = wide.map();
    Sentence far({{"^"}, {"说"}, {"欧阳修"}, {"$"}});
    auto span = MakeSpan(far, 0, "AWJW", wide);
    EXPECT_EQ(CSpan_PersonRecognize(span.get(), far.data(), &copy, 0, nullptr), 1);
    EXPECT_STREQ(far[2].classText, vsg::kPersonClass);

    Sentence foreign({{"^"}, {"约"}, {"翰"}, {"逊"}, {"$"}});
    span = MakeSpan(foreign, 0, "AWMN", wide);
    span->bestTag[2] = 75;  // "Lx", on 约
    EXPECT_EQ(CSpan_PersonRecognize(span.get(), foreign.data(), &copy, 0, nullptr), 1);
    EXPECT_EQ(foreign.Text(1), "约翰逊");
    EXPECT_EQ(foreign[1].tag, 27);
}
