/* Raw-text interface: analyse plain Chinese text (UTF-8, GB18030/GBK or
 * BIG5) in one call. The text is split into sentences, cut into words over
 * the core dictionary, handed to the engine for name recognition and
 * part-of-speech tagging, and every word comes back with its tag and its
 * byte position in the caller's original text.
 *
 * Each model directory is loaded once per process: handles opened on the
 * same directory share its models, handles on different directories use
 * different models, and a set is freed with the last handle that uses it.
 * These models are the handles' own: the server and phrase interfaces'
 * process-wide instance neither provides nor frees them. A handle is
 * read-only after vsglex_open and may be used by any number of threads at
 * once. */
#ifndef VSGLEX_VSGLEX_API_H
#define VSGLEX_VSGLEX_API_H

#include <stddef.h>
#include <stdint.h>

#include "vsglex/export.h"

VSGLEX_EXTERN_C_BEGIN

/* Character sets of the input text. */
enum {
    VSGLEX_CHARSET_AUTO = 0,    /* guessed from the text, as vsglex_guess_charset does */
    VSGLEX_CHARSET_GB18030 = 1, /* GB18030, which covers GB2312 and GBK */
    VSGLEX_CHARSET_BIG5 = 2,    /* BIG5 (traditional characters are analysed as simplified) */
    VSGLEX_CHARSET_UTF8 = 3     /* UTF-8 (a leading byte-order mark is skipped) */
};

/* Flags of vsglex_analyze. */
enum {
    VSGLEX_PRECUT = 1, /* the text is already cut into words by spaces: skip the cutter */
    VSGLEX_T2S = 2     /* analyse traditional characters of GB18030 or UTF-8 text as their
                          simplified forms (as BIG5 text always is); words keep their text */
};

/* Hints of vsglex_guess_charset. */
enum {
    VSGLEX_GUESS_TRADITIONAL = 1, /* the text is mostly traditional characters */
    VSGLEX_GUESS_UTF16 = 2        /* the text looks like UTF-16, which is not read */
};

/* Name classes of a word. */
enum {
    VSGLEX_NAME_NONE = 0,
    VSGLEX_NAME_PERSON = 1,
    VSGLEX_NAME_PLACE = 2,
    VSGLEX_NAME_ORG = 3
};

/* Status codes returned by the functions below. */
enum {
    VSGLEX_OK = 0,
    VSGLEX_ERR_ARGUMENT = -1, /* a null or invalid argument */
    VSGLEX_ERR_MODEL = -2,    /* the model set cannot be loaded */
    VSGLEX_ERR_MEMORY = -3,   /* out of memory */
    VSGLEX_ERR_TOO_LARGE = -4, /* the text is 4 GiB or longer */
    VSGLEX_ERR_CHARSET = -5,   /* VSGLEX_CHARSET_AUTO and the text looks like UTF-16 */
    VSGLEX_ERR_USER_DICT = -6  /* a user dictionary cannot be read or has a bad line */
};

/* Units of vsglex_result_columns. */
enum {
    VSGLEX_UNIT_BYTE = 0, /* bytes of the caller's text */
    VSGLEX_UNIT_CHAR = 1  /* characters of UTF-8 text: every byte that is not a
                             continuation byte (10xxxxxx) counts one */
};

/* One word of a result. */
typedef struct vsglex_word {
    const char *text;      /* the word as analysed, UTF-8, NUL-terminated */
    const char *tag_name;  /* part-of-speech tag text from the tag map, e.g. "nr"
                              (a class of one word, "n#13", is given as "n") */
    uint64_t offset;       /* byte offset of the word in the caller's text */
    uint32_t length;       /* byte length of the word in the caller's text */
    int32_t tag;           /* tag number (line of the tag map); -1 if the engine gave none */
    int32_t name_class;    /* VSGLEX_NAME_* by the tag */
    int32_t merged;        /* number of cut words the engine merged into this one (1 = none) */
    uint32_t sentence;     /* index of the word's sentence in the result */
    uint32_t part_first;   /* index of its first corpus-granularity piece in the result's parts */
    uint32_t part_count;   /* number of its pieces (at least 1) */
} vsglex_word;

/* One piece of a word in corpus granularity: the words the tagged training
 * corpus writes for it. A person name is its surname and its given name
 * (江 泽民; a two-character surname such as 欧阳 stays together), an
 * organisation name the cut words the engine joined; every other word,
 * transliterated names and place names included, is one piece equal to the
 * word. */
typedef struct vsglex_part {
    const char *text;      /* UTF-8, NUL-terminated */
    const char *tag_name;  /* tag text: a person name's pieces keep the name's
                              tag; an organisation's pieces get their most
                              frequent dictionary tag */
    uint64_t offset;       /* byte offset in the caller's text */
    uint32_t length;       /* byte length in the caller's text */
    int32_t tag;           /* tag number, or -1 */
} vsglex_part;

/* One sentence of a result: a byte range of the caller's text and its words. */
typedef struct vsglex_sentence {
    uint64_t offset;       /* byte offset of the sentence in the caller's text */
    uint64_t length;       /* byte length in the caller's text */
    uint32_t first_word;   /* index of its first word in the result's word array */
    uint32_t word_count;   /* number of its words */
} vsglex_sentence;

/* The result of one vsglex_analyze call; released with vsglex_result_free. */
typedef struct vsglex_result {
    size_t word_count;
    vsglex_word *words;
    size_t sentence_count;
    vsglex_sentence *sentences;
    size_t invalid_count;       /* number of invalid byte sequences skipped */
    uint64_t *invalid_offsets;  /* their offsets in the caller's text, ascending */
    int32_t charset;            /* the character set the text was read as */
    size_t part_count;          /* number of corpus-granularity pieces */
    vsglex_part *parts;         /* every word's pieces, in word order */
} vsglex_result;

/* An analyser bound to the process's loaded model set. */
typedef struct vsglex_handle vsglex_handle;

/* Options of vsglex_open_ex. Set `size` to sizeof(vsglex_options): fields
 * added to the end later are read only when `size` covers them, so hosts
 * built against this header keep working. Zero fields mean "none". */
typedef struct vsglex_options {
    size_t size;
    const char *const *user_dicts; /* paths of user dictionaries, loaded in order */
    size_t user_dict_count;
} vsglex_options;

/* Opens an analyser on the model set in `data_dir` (the folder holding
 * "coredict.dct" and the other model files). Before loading, the files are
 * checked against the set's "manifest.txt" (size and checksum of each), and
 * every model file must be a regular file. Returns null on failure; then
 * vsglex_last_error names the file and says what is wrong with it, e.g.
 * "model set DIR: lexical.ctx: size 120546, manifest says 241092
 * (truncated?)". A set without a manifest is loaded unchecked; then
 * vsglex_model_warning says so. */
VSGLEX_API vsglex_handle *vsglex_open(const char *data_dir);
/* vsglex_open with options (null: none). When a user dictionary fails to
 * load, no handle is opened and vsglex_last_error names the file and line. */
VSGLEX_API vsglex_handle *vsglex_open_ex(const char *data_dir, const vsglex_options *options);
/* A warning about the model set the handle uses ("" if none): set when the
 * set has no manifest, so its files could not be checked for damage.
 * Valid while the handle is open. */
VSGLEX_API const char *vsglex_model_warning(const vsglex_handle *handle);
/* Closes a handle; its model set is freed with the last handle on it. Null
 * is ignored. */
VSGLEX_API void vsglex_close(vsglex_handle *handle);
/* Analyses `length` bytes of `text` read in `charset` (VSGLEX_CHARSET_*)
 * with `flags` (VSGLEX_PRECUT, VSGLEX_T2S or 0). On VSGLEX_OK *result receives a new
 * result; on failure it is set to null and vsglex_last_error tells why.
 * Invalid byte sequences are skipped and listed in the result. */
VSGLEX_API int32_t vsglex_analyze(const vsglex_handle *handle, const char *text, size_t length,
                                  int32_t charset, uint32_t flags, vsglex_result **result);
/* Guesses the character set of `length` bytes of `text` (its first 16 MB
 * at most) and returns VSGLEX_CHARSET_UTF8, _GB18030 or _BIG5: a UTF-8
 * byte-order mark; UTF-8 when the bytes of valid multi-byte UTF-8 sequences
 * outnumber the other bytes above 0x7F at least two to one (a few bad bytes
 * do not change the guess); else BIG5 or GB18030 by which set's rows of
 * Chinese characters and punctuation the double-byte characters fall in.
 * `*hints` (if not null) receives VSGLEX_GUESS_* bits. */
VSGLEX_API int32_t vsglex_guess_charset(const char *text, size_t length, uint32_t *hints);
/* Length of the longest prefix of `length` bytes of `text` in `charset`
 * (VSGLEX_CHARSET_UTF8, _GB18030 or _BIG5) that ends just after a sentence
 * end mark (full-width or ASCII question or exclamation mark, full-width
 * full stop), or after the last whole character when there is none; 0 when
 * no character fits or the charset is not one of the three. For hosts that
 * hand a long text on in pieces. */
VSGLEX_API size_t vsglex_cut_point(const char *text, size_t length, int32_t charset);
/* Length of the first block of `length` bytes of `text` in `charset`, for
 * hosts that analyse a long text in blocks of about `chars` characters (at
 * least 1): it ends just after the first line end that follows `chars`
 * characters; in a line longer than 2 * `chars` characters, just after the
 * last sentence end before them (with VSGLEX_PRECUT in `flags`, after the
 * last space), else after the last whole character. `length` when the text
 * ends first: a host reading a stream reads on before it takes that block.
 * Blocks are counted in characters, so the same text in another character
 * set, or in half-width instead of full-width characters, is cut at the
 * same places and analysed alike (vsglex_analyze remembers names and new
 * words within one call). 0 when `text` is null or the charset is not
 * VSGLEX_CHARSET_UTF8, _GB18030 or _BIG5. */
VSGLEX_API size_t vsglex_block_end(const char *text, size_t length, int32_t charset, uint32_t flags, size_t chars);

/* User words. Each handle has its own; they may be changed while other
 * threads analyse with the handle (an analysis sees the words as they were
 * when it began). A user word is cut as one word wherever it occurs and
 * takes its tag; a word with a name tag (nr, nrf, nrj, ns, nsf, nt) is
 * reported as a name of that class. A word with a count yields where it
 * would cut through a word of the cut that the core dictionary counts more
 * often. docs/userdict.md describes the file format. */

/* Loads a user dictionary file (UTF-8, one `word [count] [tag]` a line).
 * On a bad line nothing of the file is added and vsglex_last_error gives
 * "FILE line N: reason". Returns VSGLEX_OK or VSGLEX_ERR_*. */
VSGLEX_API int32_t vsglex_add_user_dict(vsglex_handle *handle, const char *path);
/* Adds one word (UTF-8) with a count (negative: none) and a tag text (null
 * or "": none); a word added again takes the new count and tag. */
VSGLEX_API int32_t vsglex_add_user_word(vsglex_handle *handle, const char *word, int64_t count,
                                        const char *tag);
/* Removes a user word: 1 when it was there, 0 when not, or VSGLEX_ERR_*. */
VSGLEX_API int32_t vsglex_remove_user_word(vsglex_handle *handle, const char *word);
/* Number of user words of a handle (0 for null). */
VSGLEX_API size_t vsglex_user_word_count(const vsglex_handle *handle);

/* Copies the words of a result into parallel arrays for hosts that read
 * results in bulk; any array may be null, the others receive
 * result->word_count values. Offsets and lengths are counted in `unit`
 * (VSGLEX_UNIT_*) over `text[0..length)`, the text that was analysed. */
VSGLEX_API int32_t vsglex_result_columns(const vsglex_result *result, const char *text, size_t length,
                                         int32_t unit, uint64_t *offsets, uint64_t *lengths,
                                         int32_t *tags, int32_t *name_classes, uint32_t *sentences);
/* The texts of all words of a result as one block: each word's text
 * followed by a NUL, in word order; *bytes receives the block's length.
 * Null (and *bytes 0) for a result without words. */
VSGLEX_API const char *vsglex_result_text_block(const vsglex_result *result, size_t *bytes);
/* Releases a result. Null is ignored. */
VSGLEX_API void vsglex_result_free(vsglex_result *result);
/* Text of tag number `tag` in the part-of-speech tag map (up to a '#'), or
 * "" if none. Valid while the handle is open. */
VSGLEX_API const char *vsglex_tag_name(const vsglex_handle *handle, int32_t tag);
/* Name of a name class: "person", "place", "organization" or "". */
VSGLEX_API const char *vsglex_name_class_name(int32_t name_class);
/* Message of the calling thread's last failed vsglex_ call ("" if none). */
VSGLEX_API const char *vsglex_last_error(void);

VSGLEX_EXTERN_C_END

#endif /* VSGLEX_VSGLEX_API_H */
