// The word graph: a fixed table of word vertices with singly linked arc
// lists (newest arc first), and a dense Dijkstra search whose path is kept
// as a membership matrix and read out by following arcs from the source.
#include <cfloat>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "vsglex/engine.h"

namespace {

// Vertices accepted by InsertVex, and the highest index InsertArc takes + 1.
constexpr int32_t kMaxVertices = VSG_SPAN_WORDS - 1;
constexpr double kInfinity = std::numeric_limits<double>::infinity();

// The vertex count clamped to [0, limit], for walks over the graph.
int32_t UsedVertices(const WordGraph *graph, int32_t limit = kMaxVertices) {
    int32_t n = graph->vertexCount;
    if (n < 0) return 0;
    if (n > limit) return limit;
    return n;
}

bool IsVertexIndex(int32_t index) { return index >= 0 && index < VSG_SPAN_WORDS; }

}  // namespace

extern "C" {

int32_t InsertVex(WordGraph *graph, SpanWord word) {
    if (graph == nullptr || graph->vertexCount < 0 || graph->vertexCount > kMaxVertices - 1) {
        return -1;
    }
    GraphVertex &slot = graph->vertices[graph->vertexCount];
    slot.word = word;
    slot.head = nullptr;
    graph->vertexCount += 1;
    return 1;
}

int32_t InsertArc(WordGraph *graph, int32_t from, int32_t to, double weight) {
    if (graph == nullptr || from < 0 || to < 0 || from >= kMaxVertices || to >= kMaxVertices) {
        return -1;
    }
    auto *arc = static_cast<GraphArc *>(std::malloc(sizeof(GraphArc)));
    if (arc == nullptr) return -1;
    arc->from = from;
    arc->to = to;
    arc->weight = weight;
    arc->next = graph->vertices[from].head;
    graph->vertices[from].head = arc;
    graph->arcCount += 1;
    return 1;
}

void GetArcValue_0(const WordGraph *graph, int32_t source, double *out) {
    if (graph == nullptr || out == nullptr) return;
    const int32_t n = UsedVertices(graph);
    for (int32_t v = 0; v < n; ++v) out[v] = kInfinity;
    if (!IsVertexIndex(source)) return;
    // Walking newest to oldest leaves the earliest parallel arc's weight.
    for (const GraphArc *arc = graph->vertices[source].head; arc != nullptr; arc = arc->next) {
        if (arc->to >= 0 && arc->to < n) out[arc->to] = arc->weight;
    }
}

void GetArcValue_1(const WordGraph *graph, int32_t from, int32_t to, double *out) {
    if (out == nullptr) return;
    *out = kInfinity;
    if (graph == nullptr || !IsVertexIndex(from)) return;
    // The first arc found is the newest of any parallel arcs.
    for (const GraphArc *arc = graph->vertices[from].head; arc != nullptr; arc = arc->next) {
        if (arc->to == to) {
            *out = arc->weight;
            return;
        }
    }
}

int32_t ShortestPath_DIJ(const WordGraph *graph, int32_t source, int32_t target, SpanWord *path) {
    if (path == nullptr) return 0;
    if (graph == nullptr) {
        path[0].text[0] = '\0';
        return 0;
    }
    const int32_t n = UsedVertices(graph);
    if (source < 0 || source >= n) {
        path[0].text[0] = '\0';
        return 0;
    }

    // Working state lives on the stack: nothing here can fail. P[v][u] != 0
    // means u lies on the best path found so far to v. One byte per flag
    // keeps the matrix at 40,000 bytes. Rows at and above n are never
    // written by the search and stay clear, so a target without a vertex
    // marks nothing.
    double dist[VSG_SPAN_WORDS];
    unsigned char done[VSG_SPAN_WORDS];
    unsigned char onPath[VSG_SPAN_WORDS][VSG_SPAN_WORDS];
    std::memset(done, 0, sizeof done);
    std::memset(onPath, 0, sizeof onPath);

    GetArcValue_0(graph, source, dist);
    for (int32_t v = 0; v < n; ++v) {
        // Finite means below the largest finite extended-precision value.
        if (static_cast<long double>(dist[v]) < LDBL_MAX) {
            onPath[v][source] = 1;
            onPath[v][v] = 1;
        }
    }
    dist[source] = 0.0;
    done[source] = 1;

    int32_t picked = n;
    for (int32_t round = 1; round < n; ++round) {
        double min = kInfinity;
        // Strict comparison: among equal distances the lowest index wins.
        // When nothing is reachable the previous pick stays.
        for (int32_t w = 0; w < n; ++w) {
            if (!done[w] && dist[w] < min) {
                picked = w;
                min = dist[w];
            }
        }
        done[picked] = 1;  // picked <= n <= 199, inside the flag array
        if (picked >= n) continue;  // nothing reachable: no relaxation can apply
        for (int32_t w = 0; w < n; ++w) {
            if (done[w]) continue;
            double cost;
            GetArcValue_1(graph, picked, w, &cost);
            if (dist[w] > min + cost) {
                dist[w] = min + cost;
                std::memcpy(onPath[w], onPath[picked], static_cast<size_t>(n));
                onPath[w][w] = 1;
            }
        }
    }

    // Read-out: from the source, take at each vertex the first arc (newest
    // first) whose target is marked on the target's path.
    path[0] = graph->vertices[source].word;
    int32_t k = 1;
    const bool targetValid = IsVertexIndex(target);
    const GraphArc *arc = graph->vertices[source].head;
    while (arc != nullptr && k < n) {
        const int32_t u = arc->to;
        if (u < 0 || u >= VSG_SPAN_WORDS) break;
        if (targetValid && onPath[target][u]) {
            path[k] = graph->vertices[u].word;
            ++k;
            arc = graph->vertices[u].head;
        } else {
            arc = arc->next;
        }
    }
    path[k].text[0] = '\0';
    return k * static_cast<int32_t>(sizeof(SpanWord));
}

int32_t DestroyGraph(WordGraph *graph) {
    if (graph == nullptr) return 0;
    const int32_t n = UsedVertices(graph, VSG_SPAN_WORDS);
    for (int32_t v = 0; v < n; ++v) {
        GraphArc *arc = graph->vertices[v].head;
        while (arc != nullptr) {
            GraphArc *next = arc->next;
            std::free(arc);
            arc = next;
        }
        // Cleared so that a second release frees nothing twice; the counts
        // stay as they were and the graph must be zero-filled before reuse.
        graph->vertices[v].head = nullptr;
    }
    return graph->vertexCount;
}

}  // extern "C"
