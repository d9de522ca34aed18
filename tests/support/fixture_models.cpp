#include "support/fixture_models.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <sstream>

namespace vsgtest {

const char *const kModelFiles[12] = {
    "coredict.dct", "lexical.ctx", "zyrpos30.map", "nr.ctx",         "nr.map",        "ns.ctx",
    "ns.map",       "nt.ctx",      "nt.map",       "name_pre.dct", "loc_suffix.dct", "org_suffix.dct",
};

namespace {

// ---- fixture content ----------------------------------------------------

// Part-of-speech tag set: 0 begin, 1 end, 24 person, 27/28 transliterated
// and Japanese person, 29/30 place, 31 organisation, 78-92 punctuation.
const char *const kPosTags[] = {
    "bos", "eos", "a",   "ad",  "an",  "b",   "d",   "f",   "m",   "p",   "c",   "q",
    "r",   "s",   "u",   "t",   "n",   "ng",  "nz",  "nx",  "v",   "vn",  "vd",  "l",
    "nr",  "i",   "j",   "nrf", "nrj", "ns",  "nsf", "nt",  "x32", "x33", "x34", "x35",
    "x36", "x37", "x38", "x39", "x40", "x41", "x42", "x43", "x44", "x45", "x46", "x47",
    "x48", "x49", "x50", "x51", "x52", "x53", "x54", "x55", "x56", "x57", "x58", "x59",
    "x60", "x61", "x62", "x63", "x64", "x65", "x66", "x67", "x68", "x69", "x70", "x71",
    "x72", "x73", "x74", "x75", "x76", "x77", "wj",  "wd",  "wn",  "wyz", "wyy", "wkz",
    "wky", "wp",  "ws",  "wf",  "wt",  "ww",  "wm",  "wb",  "w",   "y",   "e",
};
constexpr int kPosTagCount = sizeof kPosTags / sizeof kPosTags[0];
static_assert(kPosTagCount == 95, "fixture part-of-speech tag count");

// Role letters: person A..W (default 22 "W"), place A..S (default 17 "R"),
// organisation with 2 "C" first and 3 "E" inner name word, 5 "D" suffix
// and default role 14.
const char kPersonLetters[] = "ABCDEFGHIJKLMNOPQRSTUVW";
const char kPlaceLetters[] = "ABCDEFGHIJKLMNOPQRS";
const char *const kOrgTags[] = {"A", "B", "C", "E", "F", "D", "G", "H",
                                "I", "J", "K", "L", "M", "T", "O", "X"};

struct FixtureRow {
    int code, sub;
    const char *value;  // as written in the text file
};

struct FixtureWord {
    const char *utf8;
    std::vector<FixtureRow> rows;
    const char *stats;  // four numbers
};

// Role rows of a one-character word outside any name.
#define PLAIN_ROLES {1, 22, "5"}, {2, 17, "5"}, {3, 14, "5"}

const std::vector<FixtureWord> &Words() {
    static const std::vector<FixtureWord> words = {
        {"始##始", {{0, 0, "9"}, {1, 0, "9"}, {2, 0, "9"}, {3, 0, "9"}}, "0 0 0 0"},
        {"末##末", {{0, 1, "9"}, {1, 1, "9"}, {2, 1, "9"}, {3, 1, "9"}}, "0 0 0 0"},
        {"未##人", {{0, 24, "8"}}, "0 0 0 0"},
        {"未##地", {{0, 29, "8"}}, "0 0 0 0"},
        {"未##团", {{0, 31, "8"}}, "0 0 0 0"},
        {"未##它", {{0, 16, "6"}, {0, 20, "5"}, {0, 2, "3"}}, "0 0 0 0"},
        {"我", {{0, 12, "7"}, PLAIN_ROLES}, "0 0 0 0"},
        {"他", {{0, 12, "7"}, PLAIN_ROLES}, "0 0 0 0"},
        {"是", {{0, 20, "7"}, PLAIN_ROLES}, "0 0 0 0"},
        {"在", {{0, 9, "7"}, PLAIN_ROLES}, "0 0 0 0"},
        {"去", {{0, 20, "6"}, PLAIN_ROLES}, "0 0 0 0"},
        {"说", {{0, 20, "6"}, PLAIN_ROLES}, "0 0 0 0"},
        {"了", {{0, 14, "7"}, PLAIN_ROLES}, "0 0 0 0"},
        {"的", {{0, 14, "8"}, PLAIN_ROLES}, "0 0 0 0"},
        {"和", {{0, 10, "7"}, PLAIN_ROLES}, "0 0 0 0"},
        {"，", {{0, 79, "8"}, PLAIN_ROLES}, "0 0 0 0"},
        {"。", {{0, 78, "8"}, PLAIN_ROLES}, "0 0 0 0"},
        {"我们", {{0, 12, "6"}}, "0 0 0 0"},
        {"今天", {{0, 15, "6"}}, "0 0 0 0"},
        {"学生", {{0, 16, "6"}}, "0 0 0 0"},
        {"记者", {{0, 16, "5"}}, "0 0 0 0"},
        {"工作", {{0, 20, "5"}, {0, 21, "4"}}, "0 0 0 0"},
        {"公司", {{0, 16, "6"}, {3, 5, "3"}}, "0 0 0 0"},
        {"银行", {{0, 16, "6"}}, "0 0 0 0"},
        {"北京", {{0, 29, "7"}}, "0 0 0 0"},
        {"中国", {{0, 29, "7"}}, "0 0 0 0"},
        {"鲁迅", {{0, 24, "3.0"}}, "0 0 0 0"},
        {"老舍", {{0, 24, "2.3"}, {0, 16, "6"}}, "0 0 0 0"},
        {"上海滩", {{0, 24, "3.0"}, {0, 29, "0.5"}}, "0 0 0 0"},
        {"新华社", {{0, 31, "4.0"}}, "0 0 0 0"},
        {"胡", {{0, 24, "3.0"}, {0, 16, "8"}, PLAIN_ROLES}, "0 0 0 0"},
        {"华", {{0, 16, "3"}, {1, 22, "5"}, {2, 17, "5"}, {3, 2, "5"}}, "0 0 0 0"},
        {"星", {{0, 16, "3"}, {1, 22, "5"}, {2, 17, "5"}, {3, 3, "5"}}, "0 0 0 0"},
        {"张", {{0, 16, "2"}, {1, 2, "6"}, {2, 17, "5"}, {3, 14, "5"}}, "0 0 0 0"},
        {"王", {{0, 16, "2"}, {1, 2, "6"}, {2, 17, "5"}, {3, 14, "5"}}, "0 0 0 0"},
        {"伟", {{0, 2, "3"}, {1, 5, "5"}, {2, 17, "5"}, {3, 14, "5"}}, "0 1 0 0"},
        {"小", {{0, 2, "5"}, {1, 3, "4"}, {2, 17, "5"}, {3, 14, "5"}}, "0 2 0 0"},
        {"明", {{0, 2, "3"}, {1, 4, "4"}, {2, 17, "5"}, {3, 14, "5"}}, "0 2 0 0"},
        {"黄", {{0, 2, "4"}, {1, 22, "5"}, {2, 2, "6"}, {3, 14, "5"}}, "0 0 0 0"},
        {"岩", {{0, 16, "3"}, {1, 22, "5"}, {2, 5, "5"}, {3, 14, "5"}}, "0 0 0 0"},
        {"村", {{0, 16, "5"}, {1, 22, "5"}, {2, 6, "6"}, {3, 14, "5"}}, "0 0 0 0"},
    };
    return words;
}
#undef PLAIN_ROLES

// Tag sequences from which the context counts are taken, with repeats.
struct Sequence {
    std::vector<int> tags;
    int times;
};

const std::vector<Sequence> kPosSequences = {
    {{0, 12, 20, 14, 16, 78, 1}, 10}, {{0, 24, 20, 79, 12, 20, 16, 78, 1}, 8},
    {{0, 29, 16, 20, 78, 1}, 5},      {{0, 15, 12, 9, 29, 20, 78, 1}, 5},
    {{0, 16, 21, 14, 16, 1}, 3},      {{0, 31, 16, 20, 16, 78, 1}, 3},
    {{0, 2, 16, 1}, 3},               {{0, 12, 10, 24, 20, 2, 16, 78, 1}, 2},
};
const std::vector<Sequence> kPersonSequences = {
    {{0, 2, 5, 22, 22, 1}, 10}, {{0, 2, 3, 4, 22, 1}, 10}, {{0, 22, 22, 22, 1}, 20},
    {{0, 0, 22, 1}, 10},        {{0, 22, 0, 22, 1}, 10},   {{0, 0, 0, 1}, 5},
};
const std::vector<Sequence> kPlaceSequences = {
    {{0, 2, 5, 6, 17, 1}, 10}, {{0, 17, 17, 1}, 20}, {{0, 0, 17, 1}, 10},
    {{0, 2, 6, 17, 1}, 5},     {{0, 17, 0, 1}, 10},
};
const std::vector<Sequence> kOrgSequences = {
    {{0, 14, 14, 1}, 20}, {{0, 0, 14, 1}, 10}, {{0, 0, 5, 14, 1}, 5}, {{0, 14, 0, 1}, 10},
    {{0, 2, 3, 0, 14, 1}, 10},
};

void PutLe32(std::string &out, uint32_t v) {
    for (int i = 0; i < 4; ++i) out.push_back(static_cast<char>((v >> (8 * i)) & 0xff));
}

// Context file bytes counted from `sequences` over `tags` tags.
std::string ContextBytes(int tags, const std::vector<Sequence> &sequences, bool raw) {
    std::vector<int32_t> freq(tags, 0);
    std::vector<std::vector<int32_t>> matrix(tags, std::vector<int32_t>(tags, 0));
    int32_t total = 0;
    for (const Sequence &s : sequences) {
        for (size_t i = 0; i < s.tags.size(); ++i) {
            freq[s.tags[i]] += s.times;
            total += s.times;
            if (i > 0) matrix[s.tags[i - 1]][s.tags[i]] += s.times;
        }
    }
    std::string out;
    if (raw) {
        out.push_back(static_cast<char>(tags));
    } else {
        PutLe32(out, 4);
        PutLe32(out, static_cast<uint32_t>(tags));
    }
    PutLe32(out, static_cast<uint32_t>(total));
    for (int32_t f : freq) PutLe32(out, static_cast<uint32_t>(f));
    for (const auto &row : matrix)
        for (int32_t c : row) PutLe32(out, static_cast<uint32_t>(c));
    return out;
}

std::string CoreDictText() {
    std::ostringstream out;
    for (const FixtureWord &w : Words()) {
        out << Gb(w.utf8) << ' ' << w.rows.size() << ' ' << w.stats << '\n';
        for (const FixtureRow &r : w.rows) out << r.code << ' ' << r.sub << ' ' << r.value << '\n';
    }
    return out.str();
}

std::string Lines(const std::vector<std::string> &lines) {
    std::string out;
    for (const std::string &l : lines) out += l + "\n";
    return out;
}

}  // namespace

void WriteFixtureModels(const std::string &dir, bool rawContexts) {
    const std::string base = dir + "/";
    WriteFile(base + "coredict.dct", CoreDictText());
    WriteFile(base + "lexical.ctx", ContextBytes(kPosTagCount, kPosSequences, rawContexts));
    WriteFile(base + "nr.ctx", ContextBytes(23, kPersonSequences, rawContexts));
    WriteFile(base + "ns.ctx", ContextBytes(19, kPlaceSequences, rawContexts));
    WriteFile(base + "nt.ctx", ContextBytes(16, kOrgSequences, rawContexts));
    WriteFile(base + "zyrpos30.map",
              Lines(std::vector<std::string>(kPosTags, kPosTags + kPosTagCount)));
    WriteFile(base + "nr.map", Lines(TagMap::Letters(kPersonLetters)));
    WriteFile(base + "ns.map", Lines(TagMap::Letters(kPlaceLetters)));
    WriteFile(base + "nt.map", Lines(std::vector<std::string>(std::begin(kOrgTags), std::end(kOrgTags))));
    WriteFile(base + "name_pre.dct", Gb("老 1.0\n小 1.0\n阿 1.0\n"));
    WriteFile(base + "loc_suffix.dct", Gb("村 1.0\n市 1.0\n县 1.0\n省 1.0\n"));
    WriteFile(base + "org_suffix.dct", Gb("公司 1.0\n银行 1.0\n社 1.0\n"));
}

FixtureModelSet::FixtureModelSet(bool rawContexts) { WriteFixtureModels(dir_.path(), rawContexts); }

// ---- in-memory models ------------------------------------------------------

ContextModel::ContextModel(int tags, double single, double transition)
    : frequency_(tags, 0),
      single_(tags, single),
      rows_(tags, std::vector<double>(tags, transition)),
      rowPointers_(tags) {
    for (int i = 0; i < tags; ++i) rowPointers_[i] = rows_[i].data();
    model_.tagCount = static_cast<uint8_t>(tags);
    model_.tagFrequency = frequency_.data();
    model_.singleValue = single_.data();
    model_.possibility = rowPointers_.data();
    model_.totalFrequency = 1;
}

TagMap::TagMap(const std::vector<std::string> &tags) : tags_(tags) {
    for (std::string &t : tags_) pointers_.push_back(t.data());
    map_.tags = pointers_.data();
    map_.count = static_cast<int32_t>(pointers_.size());
}

std::vector<std::string> TagMap::Letters(const std::string &letters) {
    std::vector<std::string> out;
    for (char c : letters) out.emplace_back(1, c);
    return out;
}

WordArray::WordArray() : words_(1) {}

int WordArray::Add(const std::string &gbText, const std::vector<DictSRow> &rows,
                   const float stats[4]) {
    SpanWord w{};
    snprintf(w.text, sizeof w.text, "%s", gbText.c_str());
    w.weight = 1.0;
    w.tag = -1;
    w.source = -1;
    if (!rows.empty()) {
        rows_.push_back(std::make_unique<std::vector<DictSRow>>(rows));
        w.posList = rows_.back()->data();
        w.posCount = static_cast<int32_t>(rows.size());
    }
    if (stats != nullptr) memcpy(w.stats, stats, sizeof w.stats);
    words_.back() = w;
    words_.emplace_back();
    return size() - 1;
}

void WordArray::AddMany(int n, const std::string &gbText, const std::vector<DictSRow> &rows) {
    for (int i = 0; i < n; ++i) Add(gbText, rows);
}

DictSRow Row(int code, int subCode, float value) {
    DictSRow r{};
    r.code = static_cast<uint16_t>(code);
    r.subCode = static_cast<uint8_t>(subCode);
    r.value = value;
    r.flag = 1;
    return r;
}

}  // namespace vsgtest
