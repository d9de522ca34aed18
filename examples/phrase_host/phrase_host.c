/* A host of the lexical phrase interface: starts the engine from a data
 * directory (holding the model set in its "vsg" subdirectory), analyses one
 * UTF-8 phrase given as space-separated items, and prints every item with its
 * tag, group number and position.
 *
 *   phrase_host DATA_DIR 我们 欢迎 张 伟 来 北京 。
 */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <vsglex/vsglex.h>

int main(int argc, char **argv) {
    if (argc < 3) {
        fprintf(stderr, "usage: %s DATA_DIR ITEM...\n", argv[0]);
        return 2;
    }
    QPNLexicalStart(argv[1]);
    if (g_bTag != 1) {
        fprintf(stderr, "cannot load the model set from %s/vsg\n", argv[1]);
        return 1;
    }

    int count = argc - 2;
    WordItem *items = calloc((size_t)count, sizeof(WordItem));
    if (items == NULL) return 1;
    for (int i = 0; i < count; ++i) {
        strncpy(items[i].text, argv[i + 2], VSG_ITEM_TEXT_MAX);
        items[i].id = (uint32_t)i;
        items[i].group = (uint32_t)(i + 1); /* no group, positions 1, 2, 3 ... */
    }

    /* The work area comes from a pool owned by the host. */
    T_MemPool *pool = _T_MemPoolBuild(1, 64 * 1024, 0, NULL, "phrase_host", __LINE__);
    LexicalRequest request = {0};
    request.limit = 1;  /* run, but do not filter (negative values filter) */
    request.charset = 3; /* UTF-8 */
    request.pool = pool;
    WordList list = {count, items};
    QPNLexicalPhrase(&request, &list);

    /* Merged items share a group number; only the first of a group is tagged. */
    printf("%-24s %4s %6s %8s\n", "item", "tag", "group", "position");
    for (int i = 0; i < list.count; ++i)
        printf("%-24s %4u %6u %8u\n", items[i].text, items[i].tag, items[i].group >> 16,
               items[i].group & 0xFFFFu);

    _T_MemPoolClose(pool);
    free(items);
    QPNLexicalClose();
    return 0;
}
