// Simplified/traditional Chinese character mapping: single pairs, characters
// chosen by the words they end, and the forms preferred by the target set.
#include <cstdint>

#include "base/charset_tables.h"

namespace vsglex::charset {

namespace {

// Binary search of a pair table sorted by `from`; `code` when absent.
uint32_t LookupPair(const MapPair *pairs, uint32_t count, uint32_t code) {
    uint32_t lo = 0, hi = count;
    while (lo < hi) {
        uint32_t mid = (lo + hi) / 2;
        if (pairs[mid].from < code)
            lo = mid + 1;
        else
            hi = mid;
    }
    return lo < count && pairs[lo].from == code ? pairs[lo].to : code;
}

// The code point `back` characters before the current one (1 = previous),
// 0 when the history does not reach that far.
uint32_t Previous(const History *history, uint32_t back) {
    if (!history || back > history->count || back > kHistorySize || history->next >= kHistorySize) return 0;
    uint32_t at = history->next >= back ? history->next - back : history->next + kHistorySize - back;
    return history->code[at];
}

// Whether context word `word` (which ends with the current character) is
// preceded in the history by all its other characters.
bool WordMatches(const MapTable &table, uint32_t word, const History *history) {
    if (word >= table.wordCount) return false;
    uint32_t first = table.wordStart[word], end = table.wordStart[word + 1];
    if (end - first < 2) return false;
    for (uint32_t back = 1; back < end - first; ++back) {
        uint32_t want = table.wordChars[end - 1 - back];
        if (Previous(history, back) != want) return false;
    }
    return true;
}

}  // namespace

uint32_t MapCharacter(uint32_t code, MapDirection direction, bool big5Forms, bool gbkForms,
                      const History *history) {
    if (direction == MapDirection::kNone || code > 0xFFFE) return code;
    const MapTable &table = direction == MapDirection::kToTraditional ? kToTraditional : kToSimplified;
    uint32_t mapped = LookupPair(table.pairs, table.pairCount, code);
    if (mapped == code) {
        uint32_t lo = 0, hi = table.contextCount;
        while (lo < hi) {
            uint32_t mid = (lo + hi) / 2;
            if (table.context[mid].from < code)
                lo = mid + 1;
            else
                hi = mid;
        }
        for (; lo < table.contextCount && table.context[lo].from == code; ++lo) {
            const ContextEntry &e = table.context[lo];
            if (e.word == 0xFFFF || WordMatches(table, e.word, history)) {
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
