// The engine core: names and tags for a sentence's words given as views
// into the caller's GB text. The server interface's segmentation call and
// the raw-text front end both run on it.
#ifndef VSGLEX_SRC_ENGINE_CORE_H
#define VSGLEX_SRC_ENGINE_CORE_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "vsglex/engine.h"

namespace vsg::engine {

// One input word: `length` bytes of GB text at `text` (the word ends at an
// earlier NUL, if any). Words are analysed in chunks of consecutive words
// with the same `sentence` key, at most 150 words each.
struct WordView {
    const char *text;
    uint32_t length;
    uint32_t sentence;
};

// One output word: input words first .. first + count - 1, tagged `tag`
// (a line of the part-of-speech map, -1 when untagged), name class
// `nameClass` (0 none, 1 person, 2 place, 3 organisation, by the tag).
// A word whose text is not exactly its input words' texts joined (a quirk
// of the recognisers can write a name into a record apart from the words it
// came from, and a word longer than 80 bytes is cut as the server
// interface cuts it) has its text in Tagging::texts at textAt; otherwise
// textAt is -1. Blank input words (empty or white space only) come back
// alone, untagged, in the order the server interface gives them.
struct TaggedWord {
    uint32_t first;
    uint32_t count;
    int32_t tag;
    int32_t nameClass;
    int32_t textAt;
    uint32_t textLength;
};

// Result of TagWords; reuse one across calls to keep its storage.
struct Tagging {
    std::vector<TaggedWord> words;
    std::string texts;
};

// Tables of a loaded model set that the pipeline would otherwise recompute
// for every word: per tag type, each core-dictionary entry's candidates and
// the model's cost rows. Built once by the set's owner, read-only after.
// Defined in core.cpp (its parts are the tagging layer's).
struct EngineTables;
struct EngineTablesDeleter {
    void operator()(EngineTables *tables) const;
};
using EngineTablesPtr = std::unique_ptr<EngineTables, EngineTablesDeleter>;
// Builds the tables of `models`; null when memory runs out (the pipeline
// then works without them, with the same results).
EngineTablesPtr BuildTables(const SegmentEngine &models);
// The core-dictionary entry the tables' index gives for the NUL-terminated
// GB `word` of `length` bytes (what DictionaryS_GetCoreInfo gives), or -1;
// asked as the pipeline asks, from a record's text field.
int32_t IndexedCoreEntry(const EngineTables &tables, const char *word, size_t length);

// Recognises names (mode 0 all, 1 person, 2 place, 3 organisation) and tags
// `n` words with `models`, replacing out's contents. Returns 0, -1 for an
// invalid mode or argument, or -2 when memory ran out (out is then
// incomplete). Never throws. Working storage is kept per thread. `tables`,
// when given, must be those of `models` (tables built from other records
// are ignored).
int32_t TagWords(const SegmentEngine &models, const WordView *words, size_t n, int32_t mode, Tagging &out,
                 const EngineTables *tables = nullptr);

// The pipeline under TagWords and the server call: for each chunk
// [first, end) of the input, after tagging, Chunk() receives the word array
// (records in order, ended by an empty text; merged and boundary records
// included) and how many of the chunk's input words are blank (IsBlankView),
// which the array leaves out. Returns false when working storage cannot be
// had.
class ChunkSink {
public:
    virtual void Chunk(const SpanWord *words, int32_t first, int32_t end, int32_t blanks) = 0;

protected:
    ~ChunkSink() = default;
};
bool RunPipeline(const SegmentEngine &models, const WordView *words, int32_t n, int32_t mode, ChunkSink &sink,
                 const EngineTables *tables = nullptr);

// Copies at most `cap` - 1 bytes of `src` (a field of `srcSize` bytes,
// ended by its first NUL if any) into `dst`, never splitting a two-byte
// character, and terminates it; returns the bytes copied.
size_t CopyGbText(char *dst, size_t cap, const char *src, size_t srcSize);
// True when the view holds no byte but ASCII white space up to its end or
// its first NUL (the blank items of blank_items.h).
bool IsBlankView(const WordView &w);
// True for boundary records (the start and end words framing each chunk).
bool IsBoundaryRecord(const SpanWord &w);

}  // namespace vsg::engine

#endif  // VSGLEX_SRC_ENGINE_CORE_H
