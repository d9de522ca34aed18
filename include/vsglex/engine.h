/* The lexical engine: the one engine instance with its twelve models, the
 * segmentation call, and the word graph with its shortest-path search. */
#ifndef VSGLEX_ENGINE_H
#define VSGLEX_ENGINE_H

#include <stdint.h>

#include "vsglex/export.h"
#include "vsglex/model.h"
#include "vsglex/types.h"

VSGLEX_EXTERN_C_BEGIN

/* Tag types, indexing SegmentEngine.tagModels. */
enum {
    VSG_TAG_POS = 0,
    VSG_TAG_PERSON = 1,
    VSG_TAG_PLACE = 2,
    VSG_TAG_ORG = 3
};

/* Affix dictionaries, indexing SegmentEngine.affix. */
enum {
    VSG_AFFIX_NAME_PREFIX = 0,
    VSG_AFFIX_PLACE_SUFFIX = 1,
    VSG_AFFIX_ORG_SUFFIX = 2
};

/* Load status of each model file, in load order. */
enum {
    VSG_ERR_COREDICT = -2204,
    VSG_ERR_LEXICAL_CTX = -2205,
    VSG_ERR_LEXICAL_MAP = -2206,
    VSG_ERR_NR_CTX = -2207,
    VSG_ERR_NR_MAP = -2208,
    VSG_ERR_NS_CTX = -2209,
    VSG_ERR_NS_MAP = -2210,
    VSG_ERR_NT_CTX = -2211,
    VSG_ERR_NT_MAP = -2212,
    VSG_ERR_NAME_PRE = -2213,
    VSG_ERR_LOC_SUFFIX = -2214,
    VSG_ERR_ORG_SUFFIX = -2215
};

/* The tag map and context model of one tag type. */
typedef struct TagModel {
    POSmap map;
    ContextStat model;
} TagModel;

/* The engine instance: every model the engine needs. */
typedef struct SegmentEngine {
    DictionaryS core;
    TagModel tagModels[4];  /* by tag type */
    Dictionary affix[3];    /* name prefix, place suffix, organisation suffix */
} SegmentEngine;

/* The one engine instance of the process, or null. */
VSGLEX_API extern SegmentEngine *g_mSEG;
/* 1 once a load has fully succeeded, else 0. */
VSGLEX_API extern int32_t g_bTag;

/* Loads the twelve model files of `directory` into g_mSEG. 0 after a full
 * load, 1 when already loaded (the existing instance is handed back), or
 * the failing file's status (-2204 .. -2215). */
VSGLEX_API int32_t VSG_LoadForServer(SegmentEngine **handle, const char *directory);
/* Frees the instance held in g_mSEG (the argument is ignored). */
VSGLEX_API void VSG_FreeForServer(SegmentEngine *handle);

/* Recognises names in pre-cut sentences and tags every word. mode 0: person,
 * place and organisation; 1 person; 2 place; 3 organisation. Items whose
 * text is empty or only white space are handed back in place with tag
 * VSG_UNTAGGED; the words around them are analysed as if they were absent.
 * Returns -1 for null arguments, else 1; `output->items` must be released
 * with VSG_SegmentForServerFree. */
VSGLEX_API int32_t VSG_SegmentForServer(const WordList *input, WordList *output, int32_t mode,
                                        const SegmentEngine *engine);
/* Frees the items of a result list and nulls the pointer. */
VSGLEX_API void VSG_SegmentForServerFree(WordList *output);

/* ---- Word graph ------------------------------------------------------ */

/* One arc of the word graph (a heap block owned by the graph). */
typedef struct GraphArc {
    int32_t from;
    int32_t to;
    double weight;
    struct GraphArc *next;
} GraphArc;

/* A vertex: a word and the head of its outgoing arc list (newest first). */
typedef struct GraphVertex {
    SpanWord word;
    GraphArc *head;
} GraphVertex;

/* A fixed-capacity word graph; zero-fill before the first vertex. */
typedef struct WordGraph {
    GraphVertex vertices[VSG_SPAN_WORDS];
    int32_t vertexCount;
    int32_t arcCount;
} WordGraph;

/* Appends a vertex; 1, or -1 when the graph already holds 199 vertices. */
VSGLEX_API int32_t InsertVex(WordGraph *graph, SpanWord word);
/* Pushes an arc onto the from-vertex's list; 1, or -1 for a null graph, an
 * index outside 0..198 or a failed allocation. */
VSGLEX_API int32_t InsertArc(WordGraph *graph, int32_t from, int32_t to, double weight);
/* Fills out[0..vertexCount-1] with the source's arc weights (+inf without);
 * of parallel arcs the earliest inserted wins. */
VSGLEX_API void GetArcValue_0(const WordGraph *graph, int32_t source, double *out);
/* Weight of the newest arc from -> to, or +inf. */
VSGLEX_API void GetArcValue_1(const WordGraph *graph, int32_t from, int32_t to, double *out);
/* Cheapest path from source to target (Dijkstra over the arc costs), read
 * out by following from the source, at each vertex, the newest arc whose end
 * lies on the best path. Written into `path` (room for vertexCount + 1
 * records, ended by an empty text); returns the byte length of the path
 * records. Allocates nothing; uses about 45 KB of stack. */
VSGLEX_API int32_t ShortestPath_DIJ(const WordGraph *graph, int32_t source, int32_t target,
                                    SpanWord *path);
/* Frees every arc and clears the list heads; the counts are left as they
 * were (zero-fill the graph before building it again). Returns the vertex
 * count. */
VSGLEX_API int32_t DestroyGraph(WordGraph *graph);

VSGLEX_EXTERN_C_END

#endif /* VSGLEX_ENGINE_H */
