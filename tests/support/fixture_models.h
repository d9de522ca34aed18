// Test models: a small but complete model set written to a temporary
// directory, and in-memory context models, tag maps and word arrays for the
// span and recogniser tests.
#ifndef VSGLEX_TESTS_SUPPORT_FIXTURE_MODELS_H
#define VSGLEX_TESTS_SUPPORT_FIXTURE_MODELS_H

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "support/support.h"
#include "vsglex/engine.h"
#include "vsglex/model.h"
#include "vsglex/types.h"

namespace vsgtest {

// The twelve model file names, in load order.
extern const char *const kModelFiles[12];

// Part-of-speech tag numbers of the fixture set that tests refer to.
enum FixturePos {
    kPosBegin = 0,
    kPosEnd = 1,
    kPosPronoun = 12,
    kPosNoun = 16,
    kPosVerb = 20,
    kPosPerson = 24,
    kPosForeignPerson = 27,
    kPosPlace = 29,
    kPosOrg = 31,
    kPosFullStop = 78,
    kPosComma = 79,
};

// Writes the fixture model set into `dir`: a text "coredict.dct" of a few
// dozen words, four context models (versioned form, or raw form when
// `rawContexts`), four tag maps and three affix dictionaries. The words
// "张 伟" (surname, given name) form a person name, "黄 岩 村" a place name
// and "华 星 公司" an organisation name.
void WriteFixtureModels(const std::string &dir, bool rawContexts = false);

// A temporary directory holding the fixture model set.
class FixtureModelSet {
public:
    explicit FixtureModelSet(bool rawContexts = false);
    // The directory, without a trailing separator.
    const std::string &path() const { return dir_.path(); }
    // Path of one file of the set.
    std::string file(const std::string &name) const { return dir_.file(name); }

private:
    TempDir dir_;
};

// An in-memory context model of `tags` tags whose cost tables a test sets
// directly. Every single value starts at `single`, every transition at
// `transition`, every frequency at 0.
class ContextModel {
public:
    ContextModel(int tags, double single = 0.0, double transition = 10.0);
    ContextModel(const ContextModel &) = delete;
    ContextModel &operator=(const ContextModel &) = delete;
    // Sets the per-tag value of `tag`.
    void SetSingle(int tag, double value) { single_[tag] = value; }
    // Sets the frequency of `tag`.
    void SetFrequency(int tag, int32_t value) { frequency_[tag] = value; }
    // Sets the cost of `cur` following `prev`.
    void SetTransition(int prev, int cur, double cost) { rows_[prev][cur] = cost; }
    // The model, pointing into this object's tables.
    ContextStat *get() { return &model_; }

private:
    std::vector<int32_t> frequency_;
    std::vector<double> single_;
    std::vector<std::vector<double>> rows_;
    std::vector<double *> rowPointers_;
    ContextStat model_{};
};

// An in-memory tag map whose tag k is the k-th string given.
class TagMap {
public:
    explicit TagMap(const std::vector<std::string> &tags);
    // Tag map of one-letter tags: letters[k] is the text of tag k.
    static std::vector<std::string> Letters(const std::string &letters);
    POSmap *get() { return &map_; }

private:
    std::vector<std::string> tags_;
    std::vector<char *> pointers_;
    POSmap map_{};
};

// A word array under construction: records in order, ended by an empty
// record. Candidate rows are owned by the array.
class WordArray {
public:
    // Appends a word; returns its index. `rows` become its posList.
    int Add(const std::string &gbText, const std::vector<DictSRow> &rows = {},
            const float stats[4] = nullptr);
    // Appends `n` copies of one word.
    void AddMany(int n, const std::string &gbText, const std::vector<DictSRow> &rows = {});
    // Record i (valid until the next Add); index size() is the end record.
    SpanWord &operator[](int i) { return words_[i]; }
    // The records followed by the empty end record (valid until the next Add).
    SpanWord *data() { return words_.data(); }
    // Number of records, the end record not counted.
    int size() const { return static_cast<int>(words_.size()) - 1; }

    WordArray();

private:
    std::vector<SpanWord> words_;  // always ends with the empty end record
    std::vector<std::unique_ptr<std::vector<DictSRow>>> rows_;
};

// A candidate row of a core dictionary entry.
DictSRow Row(int code, int subCode, float value);

}  // namespace vsgtest

#endif  // VSGLEX_TESTS_SUPPORT_FIXTURE_MODELS_H
