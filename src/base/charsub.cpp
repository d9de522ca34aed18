// Simplified/traditional Chinese character mapping: single pairs, characters
// chosen by the words they end, and the forms preferred by the target set.
#include <algorithm>
#include <cstdint>

#include "base/charset_tables.h"
#include "vsglex/charset.h"

namespace vsglex::charset {

namespace {

// Position of the first of `count` entries sorted by `from` whose `from` is
// not below `code` (`count` when there is none).
template <typename Entry>
uint32_t FirstFrom(const Entry *entries, uint32_t count, uint32_t code) {
    const Entry *at = std::lower_bound(entries, entries + count, code,
                                       [](const Entry &e, uint32_t c) { return e.from < c; });
    return static_cast<uint32_t>(at - entries);
}

// Binary search of a pair table sorted by `from`; `code` when absent.
uint32_t LookupPair(const MapPair *pairs, uint32_t count, uint32_t code) {
    const uint32_t at = FirstFrom(pairs, count, code);
    return at < count && pairs[at].from == code ? pairs[at].to : code;
}

// The code point `back` characters before the current one (1 = previous),
// 0 when the history does not reach that far.
uint32_t Previous(const History *history, uint32_t back) {
    if (!history || back > history->count || back > kHistorySize || history->next >= kHistorySize) return 0;
    uint32_t at = history->next >= back ? history->next - back : history->next + kHistorySize - back;
    return history->code[at];
}

// Whether context word `word` surrounds the current character: the
// characters before its deciding position are the latest in the history,
// those after it come next in the source.
bool WordMatches(const MapTable &table, uint32_t word, const History *history, Lookahead *ahead) {
    if (word >= table.wordCount) return false;
    uint32_t first = table.wordStart[word], end = table.wordStart[word + 1];
    uint32_t pos = table.wordPos[word];
    if (end - first < 2 || pos >= end - first) return false;
    for (uint32_t back = 1; back <= pos; ++back)
        if (Previous(history, back) != table.wordChars[first + pos - back]) return false;
    for (uint32_t i = first + pos + 1; i < end; ++i)
        if (!ahead || ahead->At(i - first - pos - 1) != table.wordChars[i]) return false;
    return true;
}

}  // namespace

uint32_t Lookahead::At(uint32_t i) {
    while (count <= i && !ended && count < kHistorySize) {
        uint32_t length = 0;
        uint32_t c = next ? _T_LocalToUnicode(next, &length, charset) : 0;
        if (length == 0 || c == 0) {
            ended = true;
            break;
        }
        code[count++] = c;
        next += length;
    }
    return i < count ? code[i] : 0;
}

uint32_t MapCharacter(uint32_t code, MapDirection direction, bool big5Forms, bool gbkForms,
                      const History *history, Lookahead *ahead) {
    if (direction == MapDirection::kNone || code > 0xFFFE) return code;
    const MapTable &table = direction == MapDirection::kToTraditional ? kToTraditional : kToSimplified;
    uint32_t mapped = LookupPair(table.pairs, table.pairCount, code);
    if (mapped == code) {
        for (uint32_t at = FirstFrom(table.context, table.contextCount, code);
             at < table.contextCount && table.context[at].from == code; ++at) {
            const ContextEntry &e = table.context[at];
            if (e.word == 0xFFFF || WordMatches(table, e.word, history, ahead)) {
                mapped = e.to;
                break;
            }
        }
    }
    if (big5Forms) mapped = LookupPair(kBig5Forms, kBig5FormsCount, mapped);
    if (gbkForms) mapped = LookupPair(kGbkForms, kGbkFormsCount, mapped);
    return mapped;
}

}  // namespace vsglex::charset
