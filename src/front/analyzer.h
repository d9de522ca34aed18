// Internal helpers of the raw-text interface shared with tests and tools.
#ifndef VSGLEX_SRC_FRONT_ANALYZER_H
#define VSGLEX_SRC_FRONT_ANALYZER_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "front/lexicon.h"
#include "front/personwords.h"
#include "front/segmodel.h"
#include "vsglex/engine.h"
#include "vsglex/vsglex_api.h"

namespace vsg::front {

// Name class (VSGLEX_NAME_*) of a part-of-speech tag number: 24, 27, 28
// person; 29, 30 place; 31 organisation.
int32_t NameClassOfTag(int32_t tag);

// The cutter of the model set a handle uses (null for a null handle).
const Lexicon *LexiconOf(const vsglex_handle *handle);
// The trained cutter of the model set a handle uses, or null when the set
// has none (or for a null handle).
const SegModel *SegModelOf(const vsglex_handle *handle);

// Loads DIR/segment.mdl into `model`. A missing file, or VSGLEX_CUTTER=dict
// in the environment, leaves it unloaded (the dictionary cutter cuts) and
// succeeds; a damaged file fails with the reason in `error`.
bool LoadCutterModel(const std::string &dir, SegModel &model, std::string *error);

// Loads DIR/person_words.txt into `words`. A missing file, or
// VSGLEX_PERSON_WORDS=0 in the environment, leaves it empty (the corpus
// view cuts every person name) and succeeds; a damaged file fails with the
// reason in `error`.
bool LoadPersonWords(const std::string &dir, PersonWords &words, std::string *error);

// Sets the message vsglex_last_error gives on the calling thread.
void SetLastError(const std::string &message);

// Tag number of a tag text in the tag map of a handle's model set (the
// first line that reads so, "n#13" read as "n"), or -1.
int32_t TagOfText(const vsglex_handle *handle, std::string_view text);

class UserWords;
// The user words of a handle.
UserWords &HandleUserWords(vsglex_handle *handle);

// Count of a word (GB18030 bytes) in the core dictionary: the sum of its
// part-of-speech rows; 0 when absent.
double CoreWordCount(const SegmentEngine *engine, const char *word, size_t length);
// The word's most frequent part-of-speech tag in the core dictionary, or -1.
int32_t CoreWordTag(const SegmentEngine *engine, const char *word, size_t length);

}  // namespace vsg::front

#endif  // VSGLEX_SRC_FRONT_ANALYZER_H
