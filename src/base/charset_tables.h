// Layouts of the constant conversion tables (data in the generated
// charset_data.cpp and charsub_data.cpp) and the lookups over them.
#ifndef VSGLEX_BASE_CHARSET_TABLES_H
#define VSGLEX_BASE_CHARSET_TABLES_H

#include <cstdint>

namespace vsglex::charset {

// Codes index..index+count-1 map linearly onto code..code+count-1.
struct CodeRange {
    uint16_t index;
    uint16_t code;
    uint16_t count;
};

// One code (by linear index) and its code point.
struct CodePair {
    uint16_t index;
    uint16_t code;
};

// A code table: ranges and pairs sorted by linear index (for decoding), each
// with an array of positions sorted by code point (for encoding). Pairs that
// the encoder must not produce (a second code of one code point) are left
// out of pairsByCode. `blocks` narrows each binary search: row 0 (ranges by
// index), 1 (pairs by index), 2 (rangesByCode), 3 (pairsByCode) give, for
// every block of 256 keys, the position of its first key.
struct CodeTable {
    const CodeRange *ranges;
    uint32_t rangeCount;
    const uint16_t *rangesByCode;
    const CodePair *pairs;
    uint32_t pairCount;
    const uint16_t *pairsByCode;
    uint32_t pairsByCodeCount;
    const uint16_t (*blocks)[257];
};

// A two-byte GB18030 code whose code point lies outside the BMP.
struct WidePair {
    uint16_t index;
    uint32_t code;
};

// GB18030: linear indices 0-23939 are the two-byte codes, 23940 and up the
// four-byte codes of the BMP.
extern const CodeTable kGb18030Table;
extern const WidePair kGb18030Wide[];
extern const uint32_t kGb18030WideCount;
// BIG5: linear index (lead - 0x81) * 157 + trail position; the extension rows
// (C6A1-C8FE, F9D6-F9FE) are kept apart.
extern const CodeTable kBig5Table;
extern const CodeTable kBig5ExtTable;
// Whether the single byte 0x80 stands for U+0080 in BIG5 text.
extern const bool kBig5Byte80;

// Code point of linear `index`, 0 when the table has none.
uint32_t TableDecode(const CodeTable &table, uint32_t index);
// Linear index of `code`, -1 when the table has none.
int32_t TableEncode(const CodeTable &table, uint32_t code);

// One simplified/traditional pair.
struct MapPair {
    uint16_t from;
    uint16_t to;
};

// A character whose mapping depends on context: `to` applies when context
// word `word` surrounds the character (0xFFFF: the default for `from`).
struct ContextEntry {
    uint16_t from;
    uint16_t to;
    uint16_t word;
};

// One mapping direction: single pairs sorted by `from`, context entries
// grouped by `from` (longest words first, the default last), and the
// context words as runs of UTF-16 units, each with the position of the
// character it decides.
struct MapTable {
    const MapPair *pairs;
    uint32_t pairCount;
    const ContextEntry *context;
    uint32_t contextCount;
    const uint16_t *wordStart;  // wordCount + 1 offsets into wordChars
    const uint16_t *wordChars;
    const uint8_t *wordPos;
    uint32_t wordCount;
};

// Simplified to traditional, and traditional to simplified.
extern const MapTable kToTraditional;
extern const MapTable kToSimplified;
// Forms preferred for BIG5 output and for GBK output, sorted by `from`.
extern const MapPair kBig5Forms[];
extern const uint32_t kBig5FormsCount;
extern const MapPair kGbkForms[];
extern const uint32_t kGbkFormsCount;

// The private layout of T_CodeContext: the last kHistorySize code points
// seen, as a ring with its next slot, and how many it holds.
constexpr uint32_t kHistorySize = 12;
struct History {
    uint32_t code[kHistorySize];
    uint32_t count;
    uint32_t next;
};
// Remembers `code` as the latest character of the text (0 for a character
// that could not be decoded).
inline void HistoryPush(History *history, uint32_t code) {
    if (!history) return;
    if (history->next >= kHistorySize) history->next = 0;
    history->code[history->next] = code;
    history->next = history->next + 1 == kHistorySize ? 0 : history->next + 1;
    if (history->count < kHistorySize) ++history->count;
}

// The characters after the current one, decoded from the source on demand.
struct Lookahead {
    const char *next = nullptr;  // source after the current character
    uint32_t charset = 0;
    uint32_t count = 0;  // characters decoded so far
    bool ended = false;
    uint32_t code[kHistorySize] = {};
    // The code point `i` characters ahead (0 = the next one), 0 past the end.
    uint32_t At(uint32_t i);
};

// Direction of the simplified/traditional mapping.
enum class MapDirection { kNone, kToTraditional, kToSimplified };
// Maps `code` in `direction`, choosing context-dependent characters by the
// characters before it in `history` and after it in `ahead` (either may be
// null); then applies the forms preferred for BIG5 (`big5Forms`) or GBK
// (`gbkForms`). Returns `code` when nothing applies; code points above
// U+FFFE are never mapped.
uint32_t MapCharacter(uint32_t code, MapDirection direction, bool big5Forms, bool gbkForms,
                      const History *history, Lookahead *ahead);

}  // namespace vsglex::charset

#endif  // VSGLEX_BASE_CHARSET_TABLES_H
