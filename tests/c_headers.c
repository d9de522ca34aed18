/* Compiled as strict C99: every public header must be valid C. */
#include "vsglex/vsglex.h"

int vsglex_c_headers_compile(void);
int vsglex_c_headers_compile(void) {
    WordItem item;
    WordList list;
    SpanWord word;
    list.count = 1;
    list.items = &item;
    word.tag = -1;
    return list.count + word.tag + (int)sizeof(SegmentEngine) * 0;
}
