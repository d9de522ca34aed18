// Compile-time checks of the record layouts that hosts see.
#include <cstddef>

#include "vsglex/types.h"
#include "vsglex/vsglex_api.h"

static_assert(sizeof(WordItem) == 96, "WordItem size");
static_assert(offsetof(WordItem, text) == 0, "WordItem.text");
static_assert(offsetof(WordItem, mark) == 81, "WordItem.mark");
static_assert(offsetof(WordItem, tag) == 82, "WordItem.tag");
static_assert(offsetof(WordItem, kind) == 83, "WordItem.kind");
static_assert(offsetof(WordItem, sentence) == 84, "WordItem.sentence");
static_assert(offsetof(WordItem, extra) == 86, "WordItem.extra");
static_assert(offsetof(WordItem, id) == 88, "WordItem.id");
static_assert(offsetof(WordItem, group) == 92, "WordItem.group");

static_assert(sizeof(WordList) == 16, "WordList size");
static_assert(offsetof(WordList, count) == 0, "WordList.count");
static_assert(offsetof(WordList, items) == 8, "WordList.items");

static_assert(sizeof(DictSRow) == 12, "DictSRow size");
static_assert(offsetof(DictSRow, subCode) == 2, "DictSRow.subCode");
static_assert(offsetof(DictSRow, value) == 4, "DictSRow.value");
static_assert(offsetof(DictSRow, flag) == 8, "DictSRow.flag");

static_assert(sizeof(SpanWord) == 224, "SpanWord size");
static_assert(offsetof(SpanWord, classText) == 128, "SpanWord.classText");
static_assert(offsetof(SpanWord, weight) == 144, "SpanWord.weight");
static_assert(offsetof(SpanWord, frequency) == 152, "SpanWord.frequency");
static_assert(offsetof(SpanWord, tag) == 156, "SpanWord.tag");
static_assert(offsetof(SpanWord, offset) == 158, "SpanWord.offset");
static_assert(offsetof(SpanWord, state) == 160, "SpanWord.state");
static_assert(offsetof(SpanWord, sentence) == 168, "SpanWord.sentence");
static_assert(offsetof(SpanWord, extra) == 172, "SpanWord.extra");
static_assert(offsetof(SpanWord, id) == 176, "SpanWord.id");
static_assert(offsetof(SpanWord, posCount) == 180, "SpanWord.posCount");
static_assert(offsetof(SpanWord, stats) == 184, "SpanWord.stats");
static_assert(offsetof(SpanWord, posList) == 200, "SpanWord.posList");
static_assert(offsetof(SpanWord, source) == 208, "SpanWord.source");
static_assert(offsetof(SpanWord, reserved) == 212, "SpanWord.reserved");

// Records of the raw-text interface (bindings rely on these offsets).
static_assert(sizeof(vsglex_word) == 56, "vsglex_word size");
static_assert(offsetof(vsglex_word, offset) == 16, "vsglex_word.offset");
static_assert(offsetof(vsglex_word, sentence) == 40, "vsglex_word.sentence");
static_assert(offsetof(vsglex_word, part_first) == 44, "vsglex_word.part_first");
static_assert(offsetof(vsglex_word, part_count) == 48, "vsglex_word.part_count");
static_assert(sizeof(vsglex_part) == 32, "vsglex_part size");
static_assert(offsetof(vsglex_part, offset) == 16, "vsglex_part.offset");
static_assert(offsetof(vsglex_part, length) == 24, "vsglex_part.length");
static_assert(offsetof(vsglex_part, tag) == 28, "vsglex_part.tag");
static_assert(offsetof(vsglex_result, charset) == 48, "vsglex_result.charset");
static_assert(offsetof(vsglex_result, part_count) == 56, "vsglex_result.part_count");
static_assert(offsetof(vsglex_result, parts) == 64, "vsglex_result.parts");
