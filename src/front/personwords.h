// Person words the training text writes as one token ("person_words.txt",
// written by vsglex-train): foreign and historical names, titles after a
// surname and lone given names (安南, 孔子, 侯老, 小平), with how often the
// training days write each as one token and how often as a surname token
// and a given-name token. The corpus view keeps a person word whole when the
// training days write it as one token more often than cut.
#ifndef VSGLEX_SRC_FRONT_PERSONWORDS_H
#define VSGLEX_SRC_FRONT_PERSONWORDS_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace vsg::front {

// File name of the list in a model set.
inline constexpr const char *kPersonWordsFile = "person_words.txt";

// One person word (GB text) and its counts in the training days.
struct PersonWordCount {
    std::string word;
    int64_t whole = 0;  // written as one person token
    int64_t cut = 0;    // written as a surname token and a given-name token
};

// The file's bytes (GB text):
//   "vsglex-person-words 1 N\n", then N lines "WORD WHOLE CUT\n"
// in ascending byte order of the words, each word 2 to kMaxCharacters
// two-byte characters, the counts decimal. Words outside those bounds are
// left out. Deterministic: the same counts give the same bytes.
std::string EncodePersonWords(std::vector<PersonWordCount> words);

// A loaded list; read-only and shareable between threads once loaded.
class PersonWords {
public:
    static constexpr size_t kMaxCharacters = 8;
    static constexpr int64_t kMaxCount = int64_t{1} << 31;

    // Loads the list; false with the reason in `error` (naming the file)
    // when it is not a regular file, truncated or damaged.
    bool Load(const std::string &path, std::string *error);
    // Loads the list from bytes; false with the reason in `error`.
    bool LoadBytes(const char *data, size_t size, std::string *error);
    size_t Size() const { return words_.size(); }
    // Whether the training days write the GB word as one token more often
    // than as surname and given name.
    bool KeepsWhole(const char *word, size_t length) const;

private:
    struct Counts {
        int64_t whole, cut;
    };
    std::unordered_map<std::string, Counts> words_;
};

}  // namespace vsg::front

#endif  // VSGLEX_SRC_FRONT_PERSONWORDS_H
