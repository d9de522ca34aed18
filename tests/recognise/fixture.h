// Hand-built recogniser inputs: role maps in memory, a tiny core dictionary
// holding the class words, a place-suffix dictionary, word arrays and spans.
#ifndef VSGLEX_TESTS_RECOGNISE_FIXTURE_H
#define VSGLEX_TESTS_RECOGNISE_FIXTURE_H

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "common/gbtext.h"
#include "support/support.h"
#include "tagging/Span.h"
#include "vsglex/engine.h"
#include "vsglex/model.h"

namespace rectest {

// A role map built from one tag text per line.
class RoleMap {
public:
    explicit RoleMap(std::vector<std::string> lines) : lines_(std::move(lines)) {
        for (auto &l : lines_) ptrs_.push_back(&l[0]);
        map_.tags = ptrs_.data();
        map_.count = static_cast<int32_t>(ptrs_.size());
    }
    const POSmap &map() const { return map_; }
    // Tag number of a one-letter tag text.
    uint8_t Tag(char letter) const {
        for (size_t k = 0; k < lines_.size(); ++k) {
            if (lines_[k] == std::string(1, letter)) return static_cast<uint8_t>(k);
        }
        ADD_FAILURE() << "no role " << letter;
        return 0;
    }

private:
    std::vector<std::string> lines_;
    std::vector<char *> ptrs_;
    POSmap map_{};
};

// Person roles A..W (default W = 22) plus the break letter Z.
inline std::vector<std::string> PersonLetters() {
    std::vector<std::string> v;
    for (char c = 'A'; c <= 'W'; ++c) v.emplace_back(1, c);
    v.emplace_back("Z");
    return v;
}
// Place roles A..S (default R = 17) plus the break letters z and Z.
inline std::vector<std::string> PlaceLetters() {
    std::vector<std::string> v;
    for (char c = 'A'; c <= 'S'; ++c) v.emplace_back(1, c);
    v.emplace_back("z");
    v.emplace_back("Z");
    return v;
}
// Organisation roles: D is role 5, z (line 14) the default, Z the end.
inline std::vector<std::string> OrgLetters() {
    return {"A", "Z", "C", "E", "J", "D", "T", "1", "4", "U", "V", "W", "X", "Y", "z"};
}

// An engine with the three role maps, a core dictionary (read from text)
// of the three class words, the suffix character 站 and the place 挪威, and
// place-suffix and organisation-suffix dictionaries read from text files.
class Engine {
public:
    explicit Engine(const std::string &placeSuffixes = "", const std::string &orgSuffixes = "") {
        const std::string core = vsgtest::Gb(
            "挪威 1 2.0 0 0 0\n0 29 3.0\n"
            "未##人 1 1.25 0 0 0\n0 24 9.5\n"
            "未##地 2 2.25 0 0 0\n0 29 8.5\n0 30 2.0\n"
            "未##团 1 1.25 0 0 0\n0 31 7.5\n"
            "站 2 3.0 0 0 0\n0 2 3.0\n3 5 2.0\n");
        vsgtest::WriteFile(dir_.file("coredict.dct"), core);
        EXPECT_EQ(DictionaryS_Load(dir_.file("coredict.dct").c_str(), &engine_.core), 1);
        engine_.tagModels[VSG_TAG_PERSON].map = person_.map();
        engine_.tagModels[VSG_TAG_PLACE].map = place_.map();
        engine_.tagModels[VSG_TAG_ORG].map = org_.map();
        if (!placeSuffixes.empty()) {
            vsgtest::WriteFile(dir_.file("loc_suffix.dct"), placeSuffixes);
            EXPECT_EQ(Dictionary_Load(dir_.file("loc_suffix.dct").c_str(),
                                      &engine_.affix[VSG_AFFIX_PLACE_SUFFIX]),
                      1);
        }
        if (!orgSuffixes.empty()) {
            vsgtest::WriteFile(dir_.file("org_suffix.dct"), orgSuffixes);
            EXPECT_EQ(Dictionary_Load(dir_.file("org_suffix.dct").c_str(), &engine_.affix[VSG_AFFIX_ORG_SUFFIX]), 1);
        }
    }
    ~Engine() {
        DictionaryS_Free(&engine_.core);
        Dictionary_Free(&engine_.affix[VSG_AFFIX_PLACE_SUFFIX]);
        Dictionary_Free(&engine_.affix[VSG_AFFIX_ORG_SUFFIX]);
    }
    Engine(const Engine &) = delete;
    Engine &operator=(const Engine &) = delete;

    const SegmentEngine *get() const { return &engine_; }
    // Core dictionary entries of the person, place and organisation words.
    const DictSEntry &person_entry() const { return engine_.core.entries[engine_.core.personIndex]; }
    const DictSEntry &place_entry() const { return engine_.core.entries[engine_.core.placeIndex]; }
    const DictSEntry &org_entry() const { return engine_.core.entries[engine_.core.orgIndex]; }
    const RoleMap &person() const { return person_; }
    const RoleMap &place() const { return place_; }
    const RoleMap &org() const { return org_; }

private:
    vsgtest::TempDir dir_;
    RoleMap person_{PersonLetters()};
    RoleMap place_{PlaceLetters()};
    RoleMap org_{OrgLetters()};
    SegmentEngine engine_{};
};

// A word of a hand-built array: UTF-8 text and optional organisation rows.
struct W {
    std::string utf8;
    std::vector<DictSRow> rows{};
    float logCount = 0.0f;  // stats[0]: log of the word's count plus one
};

// A sentence's word array of 200 records; words after the last given one
// are empty, so the array ends right after them.
class Sentence {
public:
    explicit Sentence(const std::vector<W> &words) : records_(VSG_SPAN_WORDS), rows_(words.size()) {
        for (size_t i = 0; i < words.size() && i + 1 < records_.size(); ++i) {
            std::string gb = vsgtest::Gb(words[i].utf8);
            if (words[i].utf8 == "^") gb = vsg::kStartWord;
            if (words[i].utf8 == "$") gb = vsg::kEndWord;
            std::strncpy(records_[i].text, gb.c_str(), sizeof records_[i].text - 1);
            records_[i].tag = -1;
            records_[i].source = static_cast<int32_t>(i);
            rows_[i] = words[i].rows;
            records_[i].posList = rows_[i].empty() ? nullptr : rows_[i].data();
            records_[i].posCount = static_cast<int32_t>(rows_[i].size());
            records_[i].stats[0] = words[i].logCount;
        }
    }
    SpanWord *data() { return records_.data(); }
    SpanWord &operator[](size_t i) { return records_[i]; }
    std::string Text(size_t i) const { return vsgtest::Utf8(records_[i].text); }

private:
    std::vector<SpanWord> records_;
    std::vector<std::vector<DictSRow>> rows_;
};

// A span holding one run: slot k (k >= 1) is record start + k - 1 with the
// role letter roles[k - 1]; offsets are the records' byte positions.
inline std::unique_ptr<CSpan> MakeSpan(Sentence &s, int32_t start, const std::string &roles,
                                       const RoleMap &map) {
    auto span = std::make_unique<CSpan>();
    int32_t offset = 0;
    for (int32_t r = 0; r < start; ++r) offset += static_cast<int32_t>(std::strlen(s[r].text));
    size_t k = 1;
    for (char letter : roles) {
        const SpanWord &rec = s[static_cast<size_t>(start) + k - 1];
        const std::string word = rec.classText[0] ? rec.classText : rec.text;
        vsg::tagging::SetSlotWord(span.get(), static_cast<uint32_t>(k), word.c_str(), word.size());
        span->offset[k] = offset;
        offset += static_cast<int32_t>(std::strlen(rec.text));
        span->bestTag[k] = map.Tag(letter);
        ++k;
    }
    span->bestTag[k] = kNoTag;
    span->count = static_cast<uint32_t>(k);
    return span;
}

}  // namespace rectest

#endif  // VSGLEX_TESTS_RECOGNISE_FIXTURE_H
