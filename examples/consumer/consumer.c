/* Smallest host of the installed library: hashes a word into the core
 * dictionary's buckets. */
#include <stdio.h>

#include <vsglex/vsglex.h>

int main(void) {
    /* GB2312 bytes of the word meaning "China". */
    const char word[] = "\xd6\xd0\xb9\xfa";
    unsigned h = VSGHash(word, DICTS_BUCKETS);
    printf("hash %u\n", h);
    return h < DICTS_BUCKETS ? 0 : 1;
}
