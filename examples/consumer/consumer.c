/* A small host of the installed library: analyses text with the raw-text
 * interface and prints every word with its tag, then the names it found.
 *
 *   consumer MODEL_DIR [TEXT]
 *
 * MODEL_DIR is the installed model set (PREFIX/share/vsglex/vsg); TEXT
 * defaults to a sentence with a person, a place and an organisation. */
#include <stdio.h>
#include <string.h>

#include <vsglex/vsglex_api.h>

int main(int argc, char **argv) {
    if (argc < 2) {
        fprintf(stderr, "usage: consumer MODEL_DIR [TEXT]\n");
        return 2;
    }
    const char *text = argc > 2 ? argv[2] : "国务院总理李国华今天在北京会见了上海交通大学的代表团。";
    vsglex_handle *h = vsglex_open(argv[1]);
    if (h == NULL) {
        fprintf(stderr, "consumer: %s\n", vsglex_last_error());
        return 1;
    }
    vsglex_result *r = NULL;
    int32_t status = vsglex_analyze(h, text, strlen(text), VSGLEX_CHARSET_AUTO, 0, &r);
    if (status != VSGLEX_OK) {
        fprintf(stderr, "consumer: %s\n", vsglex_last_error());
        vsglex_close(h);
        return 1;
    }
    for (size_t i = 0; i < r->word_count; ++i)
        printf("%s%s/%s", i > 0 ? " " : "", r->words[i].text, r->words[i].tag_name);
    printf("\n");
    size_t names = 0;
    for (size_t i = 0; i < r->word_count; ++i) {
        const vsglex_word *w = &r->words[i];
        if (w->name_class == VSGLEX_NAME_NONE) continue;
        printf("%s\t%s\t%llu\t%u\n", w->text, vsglex_name_class_name(w->name_class),
               (unsigned long long)w->offset, w->length);
        ++names;
    }
    vsglex_result_free(r);
    vsglex_close(h);
    return names > 0 ? 0 : 1; /* the default sentence holds names */
}
