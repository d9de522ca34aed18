#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "vsglex/engine.h"

namespace {

SpanWord Word(const std::string &text) {
    SpanWord w{};
    std::strncpy(w.text, text.c_str(), sizeof w.text - 1);
    return w;
}

// A zero-filled graph with one vertex per text, released at scope end.
struct Graph {
    std::unique_ptr<WordGraph> g{new WordGraph()};
    explicit Graph(const std::vector<std::string> &words) {
        for (const auto &w : words) EXPECT_EQ(InsertVex(g.get(), Word(w)), 1);
    }
    ~Graph() { DestroyGraph(g.get()); }
    void Arc(int from, int to, double weight) { ASSERT_EQ(InsertArc(g.get(), from, to, weight), 1); }
    // Path texts from source to target, checking the returned byte length.
    std::vector<std::string> Path(int source, int target) {
        std::vector<SpanWord> path(static_cast<size_t>(g->vertexCount) + 1);
        int32_t bytes = ShortestPath_DIJ(g.get(), source, target, path.data());
        EXPECT_EQ(bytes % static_cast<int32_t>(sizeof(SpanWord)), 0);
        size_t k = static_cast<size_t>(bytes) / sizeof(SpanWord);
        EXPECT_LT(k, path.size());
        std::vector<std::string> out;
        for (size_t i = 0; i < k; ++i) out.push_back(path[i].text);
        EXPECT_STREQ(path[k].text, "") << "path not ended";
        return out;
    }
};

using Texts = std::vector<std::string>;

TEST(Graph, SingleVertexAndUnreachableTargets) {
    Graph one({"a"});
    EXPECT_EQ(one.Path(0, 0), Texts{"a"});

    Graph g({"a", "b", "c"});
    g.Arc(0, 1, 1.0);
    // c has no incoming arc: only the source comes back.
    EXPECT_EQ(g.Path(0, 2), Texts{"a"});
    // A source without a vertex yields an empty path.
    EXPECT_EQ(g.Path(5, 1), Texts{});
}

TEST(Graph, CheaperTwoArcRouteBeatsDirectArc) {
    Graph g({"s", "m", "t"});
    g.Arc(0, 2, 10.0);
    g.Arc(0, 1, 2.0);
    g.Arc(1, 2, 3.0);
    EXPECT_EQ(g.Path(0, 2), (Texts{"s", "m", "t"}));

    Graph h({"s", "m", "t"});
    h.Arc(0, 2, 10.0);
    h.Arc(0, 1, 6.0);
    h.Arc(1, 2, 6.0);
    EXPECT_EQ(h.Path(0, 2), (Texts{"s", "t"}));

    // The read-out follows the newest arc whose end is on the best path, and
    // the target itself always is: a newer direct arc is taken even though
    // the search found the route through m cheaper.
    Graph q({"s", "m", "t"});
    q.Arc(0, 1, 2.0);
    q.Arc(1, 2, 3.0);
    q.Arc(0, 2, 10.0);
    EXPECT_EQ(q.Path(0, 2), (Texts{"s", "t"}));
}

TEST(Graph, EqualCostsKeepLowerIndexRoute) {
    // Two routes of cost 2 to d; b (index 1) is settled before c and the
    // later, equal route through c never replaces it.
    Graph g({"a", "b", "c", "d"});
    g.Arc(0, 1, 1.0);
    g.Arc(1, 3, 1.0);
    g.Arc(2, 3, 1.0);
    g.Arc(0, 2, 1.0);
    EXPECT_EQ(g.Path(0, 3), (Texts{"a", "b", "d"}));
}

TEST(Graph, ParallelArcsEarliestForStartNewestForRelaxation) {
    Graph g({"s", "t", "m"});
    g.Arc(0, 1, 5.0);
    g.Arc(0, 1, 3.0);
    g.Arc(2, 1, 9.0);
    g.Arc(2, 1, 3.0);
    g.Arc(0, 2, 1.0);

    std::vector<double> row(3);
    GetArcValue_0(g.g.get(), 0, row.data());
    EXPECT_EQ(row[1], 5.0);
    EXPECT_EQ(row[2], 1.0);
    EXPECT_TRUE(std::isinf(row[0]));
    double one = 0;
    GetArcValue_1(g.g.get(), 0, 1, &one);
    EXPECT_EQ(one, 3.0);
    GetArcValue_1(g.g.get(), 1, 0, &one);
    EXPECT_TRUE(std::isinf(one));

    // Start distance of t is 5 (not 3); the route through m costs 1 + 3 and
    // wins because relaxation reads the newest m -> t arc.
    EXPECT_EQ(g.Path(0, 1), (Texts{"s", "m", "t"}));
}

TEST(Graph, CapacityLimits) {
    auto g = std::make_unique<WordGraph>();
    for (int i = 0; i < 199; ++i) ASSERT_EQ(InsertVex(g.get(), Word(std::to_string(i))), 1) << i;
    EXPECT_EQ(InsertVex(g.get(), Word("x")), -1);
    EXPECT_EQ(g->vertexCount, 199);

    EXPECT_EQ(InsertArc(g.get(), 0, 199, 1.0), -1);
    EXPECT_EQ(InsertArc(g.get(), 199, 0, 1.0), -1);
    EXPECT_EQ(InsertArc(g.get(), -1, 0, 1.0), -1);
    EXPECT_EQ(InsertArc(nullptr, 0, 1, 1.0), -1);
    EXPECT_EQ(InsertVex(nullptr, Word("x")), -1);
    EXPECT_EQ(g->arcCount, 0);

    // A chain through all 199 vertices, with older, costlier shortcuts.
    for (int i = 0; i + 2 < 199; ++i) ASSERT_EQ(InsertArc(g.get(), i, i + 2, 2.5), 1);
    for (int i = 0; i + 1 < 199; ++i) ASSERT_EQ(InsertArc(g.get(), i, i + 1, 1.0), 1);
    std::vector<SpanWord> path(200);
    int32_t bytes = ShortestPath_DIJ(g.get(), 0, 198, path.data());
    ASSERT_EQ(bytes, 199 * static_cast<int32_t>(sizeof(SpanWord)));
    EXPECT_STREQ(path[198].text, "198");
    EXPECT_STREQ(path[199].text, "");

    EXPECT_EQ(DestroyGraph(g.get()), 199);
    EXPECT_EQ(g->arcCount, 197 + 198);
    EXPECT_EQ(DestroyGraph(g.get()), 199) << "a second release frees nothing";

    WordGraph empty{};
    EXPECT_EQ(DestroyGraph(&empty), 0);
    EXPECT_EQ(DestroyGraph(nullptr), 0);
}

}  // namespace
