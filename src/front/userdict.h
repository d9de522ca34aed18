// User dictionaries: words a host adds to a handle, forced into the cut as
// single words and given the host's tag.
//
// A dictionary text has one entry a line, `word [count] [tag]`, in UTF-8;
// '#' at the start of a line or after white space starts a comment. A word
// without a count is always cut as one word where it occurs; a word with a
// count yields where it would cut through a word of the cut that the core
// dictionary has seen more often than that count.
#ifndef VSGLEX_SRC_FRONT_USERDICT_H
#define VSGLEX_SRC_FRONT_USERDICT_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "front/atoms.h"

namespace vsg::front {

// No count given: the word is always taken.
inline constexpr double kUserNoCount = -1.0;
// No tag given: the word keeps the tag the engine gives it.
inline constexpr int32_t kUserNoTag = -1;
// Largest count a dictionary line may give.
inline constexpr double kUserMaxCount = 1e15;

// One parsed entry: the word in GB18030 bytes.
struct UserEntryText {
    std::string gb;
    double count = kUserNoCount;
    int32_t tag = kUserNoTag;
    uint16_t firstAtom = 0;  // byte length of the word's first atom
    uint16_t atomCount = 0;
};

// Tag number of a tag text, or -1 when the tag map has no such tag.
using TagLookup = std::function<int32_t(std::string_view)>;

// Checks one word (UTF-8) and converts it to GB18030 into entry->gb (with
// its atoms' lengths). False with a reason
// in *error when it is empty, not valid UTF-8, holds white space or is too
// long for one word (80 bytes as GB18030).
bool UserWordToGb(std::string_view utf8, UserEntryText *entry, std::string *error);

// Parses a dictionary text. On success appends every entry to *out and
// returns true; on the first bad line returns false with "NAME line N:
// reason" in *error and leaves *out as it was.
bool ParseUserDict(std::string_view text, const std::string &name, const TagLookup &tags,
                   std::vector<UserEntryText> *out, std::string *error);

// An immutable set of user words, looked up by their GB18030 bytes.
class UserDict {
public:
    struct Entry {
        uint32_t offset;  // word bytes in keys_
        uint16_t length;
        uint32_t hash;
        int32_t tag;
        double count;
        uint16_t firstAtom;
        uint16_t atomCount;
    };

    // A copy of `base` (may be null) with `add` inserted (a word given again
    // replaces the earlier entry) and `remove` (GB18030 words) taken out.
    static UserDict Merge(const UserDict *base, const std::vector<UserEntryText> &add,
                          const std::vector<std::string> &remove);

    size_t Size() const { return entries_.size(); }
    bool Empty() const { return entries_.empty(); }
    // The entry of a word, or null.
    const Entry *Find(const char *gb, size_t length) const;
    bool Contains(const std::string &gb) const { return Find(gb.data(), gb.size()) != nullptr; }

    // Rewrites the cut of atoms[0..n) of `text` so that user words found in
    // it are single words. `ends` holds the atom index past each cut word
    // (ascending, last n); `marks` receives one entry per word of the new
    // `ends`: the user entry it is, or null. `coreCount` gives the core
    // dictionary's count of a word (GB18030 bytes), used for counted words.
    void Apply(const char *text, const Atom *atoms, size_t n, std::vector<uint32_t> &ends,
               std::vector<const Entry *> &marks,
               const std::function<double(const char *, size_t)> &coreCount) const;

private:
    void Insert(const UserEntryText &e);
    void Rehash(size_t slots);
    static int FirstIndex(const char *text, const Atom &a);

    std::string keys_;
    std::vector<Entry> entries_;
    std::vector<uint32_t> index_;     // entry + 1, 0 empty; power of two
    std::vector<uint8_t> firstMax_;   // by first atom: most atoms of a word starting with it
    size_t maxBytes_ = 0;
};

// The user words of one handle: readers take a snapshot per call, writers
// build a changed copy and swap it in, so analyses never wait for a change
// and never see half of one.
class UserWords {
public:
    std::shared_ptr<const UserDict> Snapshot() const { return std::atomic_load(&dict_); }
    // Adds `add` and takes out `remove` (GB18030 words); returns the number
    // of words held afterwards.
    size_t Update(const std::vector<UserEntryText> &add, const std::vector<std::string> &remove);

private:
    std::mutex write_;
    std::shared_ptr<const UserDict> dict_;
};

}  // namespace vsg::front

#endif  // VSGLEX_SRC_FRONT_USERDICT_H
