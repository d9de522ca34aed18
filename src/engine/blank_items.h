// Host items with no word in them: empty text, or nothing but ASCII white
// space. They are kept out of the word arrays (so they neither end an array
// nor stand between two words) and handed back untagged.
#ifndef VSGLEX_SRC_ENGINE_BLANK_ITEMS_H
#define VSGLEX_SRC_ENGINE_BLANK_ITEMS_H

#include <cstddef>

namespace vsg {

// True when the first `size` bytes of `text` up to its NUL hold no byte but
// space, TAB, LF, VT, FF and CR. The white-space bytes are the same in every
// character set the engine accepts.
inline bool IsBlankItem(const char *text, size_t size) {
    for (size_t i = 0; i < size && text[i] != '\0'; ++i) {
        const char c = text[i];
        if (c != ' ' && c != '\t' && c != '\n' && c != '\v' && c != '\f' && c != '\r') return false;
    }
    return true;
}

}  // namespace vsg

#endif  // VSGLEX_SRC_ENGINE_BLANK_ITEMS_H
