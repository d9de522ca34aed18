/* Lexical phrase interface: a host that already splits its text into items
 * (words or tokens with positions, in GB18030, BIG5 or UTF-8) has them tagged,
 * has person names merged into groups, and has function words filtered out.
 *
 *   QPNLexicalStart("/opt/data");      loads "/opt/data/vsg" once
 *   QPNLexicalPhrase(&request, &list); any number of times
 *   QPNLexicalClose();                 once, after the last phrase
 *
 * Start and close must not race with phrase calls. */
#ifndef VSGLEX_LEXICAL_H
#define VSGLEX_LEXICAL_H

#include <stdint.h>

#include "vsglex/export.h"
#include "vsglex/memext.h"
#include "vsglex/types.h"

VSGLEX_EXTERN_C_BEGIN

/* A phrase request. Layout (x86-64): status at 0, limit at 4, size at 8,
 * charset at 12, pool at 16; 24 bytes. */
typedef struct LexicalRequest {
    int32_t status;   /* negative: nothing is done */
    int32_t limit;    /* negative -n: filter function words from phrases of
                         more than n/2 characters (n/3 for UTF-8) */
    uint32_t size;    /* nothing is done when both limit and size are 0 */
    int32_t charset;  /* 1 GB18030, 2 BIG5, 3 UTF-8 */
    T_MemPool *pool;  /* the work area (3 x item count WordItems) comes from here */
} LexicalRequest;

/* Loads the model set from `directory` + "/vsg" unless already started.
 * Always returns 1; a failed load leaves the interface unstarted. */
VSGLEX_API int32_t QPNLexicalStart(const char *directory);

/* Tags the host's items in place and filters function words when `limit`
 * asks for it, updating `items->count`. Per item: `text` in the request's
 * charset; `id` unique within the phrase; `group` = group number << 16 |
 * position (adjacent items with one non-zero number form a group, a break in
 * the positions starts a new sentence). Output: `tag` on the first item of
 * each group, `sentence` = its character count, and a fresh group number
 * (above the largest given) on every run of more than one item, merged
 * person names included. Items with empty or white-space text are not
 * analysed: they get tag VSG_UNTAGGED and do not separate their neighbours.
 * Always returns 1 (see docs/phrase.md). */
VSGLEX_API int32_t QPNLexicalPhrase(const LexicalRequest *request, WordList *items);

/* Frees the engine. Further starts and phrases must not follow. */
VSGLEX_API void QPNLexicalClose(void);

VSGLEX_EXTERN_C_END

#endif /* VSGLEX_LEXICAL_H */
