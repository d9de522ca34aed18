// Counting and writing of the model set. Every table is built from sorted
// containers so that the same corpus always gives the same bytes.
#include "trainer.h"

#include <sys/stat.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <map>
#include <set>
#include <unordered_map>

#include "common/gbtext.h"
#include "engine/class_rows.h"
#include "model/context_costs.h"
#include "posrefine.h"
#include "set_manifest.h"
#include "vsglex/model.h"

namespace vsgtrain {

namespace {

using vsg::kEndWord;
using vsg::kOrgClass;
using vsg::kOtherClass;
using vsg::kPersonClass;
using vsg::kPlaceClass;
using vsg::kStartWord;
using vsg::model::TagPairCost;
using vsg::model::TagSingleValue;

// Counts of a tag set: tag frequencies and tag-to-tag transitions.
struct ContextCounts {
    explicit ContextCounts(size_t n) : freq(n, 0), matrix(n, std::vector<int32_t>(n, 0)) {}
    std::vector<int32_t> freq;
    std::vector<std::vector<int32_t>> matrix;
    int32_t total = 0;  // written as the total when set, else the sum of `freq`
    // Adds one sequence (framed by begin 0 and end 1 by the caller).
    void Add(const std::vector<int> &tags) {
        for (size_t i = 0; i < tags.size(); ++i) {
            ++freq[static_cast<size_t>(tags[i])];
            if (i + 1 < tags.size()) ++matrix[static_cast<size_t>(tags[i])][static_cast<size_t>(tags[i + 1])];
        }
    }
};

// Per-word counts: part-of-speech tags and the roles of the three role sets.
struct WordCounts {
    std::map<int, int32_t> pos;
    std::map<int, int32_t> roles[3];  // person, place, organisation
    int64_t total = 0;
};

// A word of the role-training sequence: its text and its role in each set.
struct RoleWord {
    std::string text;
    bool single = false;  // one character (two bytes or one byte)
    int role = 0;
};

float LogCount(double c) { return static_cast<float>(std::log(c)); }

// Person roles that get a floor row on every one-character word: D, E, F
// (given name) and M, N (inner and last character of a transliteration).
constexpr int kPersonFloorRoles[] = {3, 4, 5, 12, 13};
// Person roles U and V (inner and last character of a cut place), floored
// as well when the person data marks cut places.
constexpr int kPersonPlaceFloorRoles[] = {20, 21};

bool IsSingle(const std::string &w) { return SplitChars(w).size() == 1; }

// True for a one-character numeral (digits, Chinese numerals, 第).
bool IsNumberChar(const std::string &w) {
    static const std::set<std::string> digits = [] {
        std::set<std::string> d;
        std::string gb;
        Utf8ToGb("零〇一二两三四五六七八九十百千万０１２３４５６７８９第", &gb);
        for (const std::string &c : SplitChars(gb)) d.insert(c);
        return d;
    }();
    return digits.count(w) != 0 || (w.size() == 1 && w[0] >= '0' && w[0] <= '9');
}

// Pseudo-occurrences that pull each tag's rate of new words toward the
// overall rate.
double kUnseenPrior = 5000.0;

// Whether the most frequent part-of-speech tag of a word is a function-word
// (stop) or punctuation class.
bool MainTagIsFunctional(const std::map<int, int32_t> &pos) {
    int best = -1;
    int32_t most = -1;
    for (const auto &tc : pos) {
        if (tc.second > most) {
            most = tc.second;
            best = tc.first;
        }
    }
    return best >= 0 && (IsStopTag(best) || (best >= kPosPunctFirst && best <= kPosPunctLast));
}

// Most candidates a word may bring to one slot of the tagger.
constexpr size_t kMaxRows = 19;

// The `limit` largest counts (ties to the lower tag), in tag order.
std::map<int, int32_t> TopCounts(const std::map<int, int32_t> &counts, size_t limit) {
    if (counts.size() <= limit) return counts;
    std::vector<std::pair<int, int32_t>> v(counts.begin(), counts.end());
    std::stable_sort(v.begin(), v.end(), [](const auto &a, const auto &b) { return a.second > b.second; });
    v.resize(limit);
    return std::map<int, int32_t>(v.begin(), v.end());
}

// Core dictionary row and entry as the trainer builds them.
struct Row {
    uint16_t code;
    uint8_t subCode;
    float value;
};
struct Entry {
    std::string word;
    std::vector<Row> rows;
    float stats[4] = {0, 0, 0, 0};
    int32_t hash = 0;
};

// Formats a float so that reading it back with "%f" gives the same float.
std::string FloatText(float v) {
    char buf[64];
    std::snprintf(buf, sizeof buf, "%.9g", static_cast<double>(v));
    return buf;
}

bool WriteText(const std::string &path, const std::string &bytes, std::string *error) {
    FILE *fp = std::fopen(path.c_str(), "wb");
    if (fp == nullptr) {
        *error = "cannot write " + path;
        return false;
    }
    bool ok = std::fwrite(bytes.data(), 1, bytes.size(), fp) == bytes.size();
    ok = std::fclose(fp) == 0 && ok;
    if (!ok) *error = "cannot write " + path;
    return ok;
}

bool EnsureDir(const std::string &dir, std::string *error) {
    struct stat st;
    if (stat(dir.c_str(), &st) == 0 && S_ISDIR(st.st_mode)) return true;
    if (mkdir(dir.c_str(), 0755) != 0) {
        *error = "cannot create directory " + dir;
        return false;
    }
    return true;
}

std::string MapText(const std::vector<std::string> &names) {
    std::string s;
    for (const std::string &n : names) s += n + "\n";
    return s;
}

bool SaveContext(const ContextCounts &c, const std::string &path, bool raw, std::string *error) {
    ContextStat m;
    std::memset(&m, 0, sizeof m);
    size_t n = c.freq.size();
    std::vector<int32_t> freq = c.freq;
    std::vector<std::vector<int32_t>> rows = c.matrix;
    std::vector<int32_t *> rowPtrs(n);
    int64_t total = 0;
    for (size_t i = 0; i < n; ++i) {
        rowPtrs[i] = rows[i].data();
        total += freq[i];
    }
    m.tagCount = static_cast<uint8_t>(n);
    m.tagFrequency = freq.data();
    m.contextMatrix = rowPtrs.data();
    m.totalFrequency = c.total > 0 ? c.total : static_cast<int32_t>(total);
    int32_t r = raw ? ContextStat_Save(path.c_str(), &m) : ContextStat_SaveBinary(path.c_str(), &m);
    if (r != 1) *error = "cannot write " + path;
    return r == 1;
}

// Finds the text of the unseen-word twin: the class word, a byte that no GB
// text contains (0xFF), then the first suffix in a fixed order whose hash
// lies in [lo, hi].
std::string FindTwin(uint32_t lo, uint32_t hi) {
    static const char alphabet[] = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
    const size_t a = sizeof alphabet - 1;
    std::string prefix = std::string(kOtherClass) + "\xff";
    for (size_t len = 1; len <= 4; ++len) {
        std::vector<size_t> idx(len, 0);
        for (;;) {
            std::string s = prefix;
            for (size_t k = 0; k < len; ++k) s += alphabet[idx[k]];
            uint32_t h = VSGHash(s.c_str(), DICTS_BUCKETS);
            if (h >= lo && h <= hi) return s;
            size_t k = len;
            while (k > 0 && ++idx[k - 1] == a) idx[--k] = 0;
            if (k == 0) break;
        }
    }
    return std::string();
}

// Appends the rows of a one-character word in role set `set` (0 person,
// 1 place, 2 organisation) from its role counts and returns its `stats`
// value (the log count of the default role). `functional`: the word's most
// frequent part of speech is a function word or punctuation mark.
float RoleRows(int set, const std::map<int, int32_t> &roles, bool functional, const TrainOptions &opt,
               std::vector<Row> *rows) {
    const int defaults[3] = {kPersonDefault, kPlaceDefault, kOrgDefault};
    int32_t def = 0;
    std::map<int, int32_t> named;
    for (const auto &rc : roles) {
        if (rc.first == defaults[set]) def = rc.second;
        else named.insert(rc);
    }
    for (const auto &rc : TopCounts(named, kMaxRows - 1))
        rows->push_back({static_cast<uint16_t>(set + 1), static_cast<uint8_t>(rc.first), LogCount(rc.second + 1.0)});
    // Function words and punctuation marks get none (褚、乔 is no name).
    // Names are full of characters the training days never show in a name
    // (吴昌期, 普里马科夫): every character gets a small floor for the roles of
    // a given name and of a transliteration's inner and last character, so
    // the role search can still choose them in context. The named rows and
    // the floors together stay below the candidate limit, with room for the
    // default candidate.
    if (set == 0 && opt.personRoleFloor > 0.0 && !functional) {
        size_t n = std::min(named.size(), static_cast<size_t>(kMaxRows - 1));
        for (int r : kPersonFloorRoles) {
            if (!named.count(r) && ++n < static_cast<size_t>(kMaxRows))
                rows->push_back({1, static_cast<uint8_t>(r), LogCount(opt.personRoleFloor)});
        }
        // The same for the two roles of a cut place, so that an unknown
        // place (阿塞拜疆) has a path that makes no name.
        if (opt.personPlaceRoles) {
            for (int r : kPersonPlaceFloorRoles) {
                if (!named.count(r) && ++n < static_cast<size_t>(kMaxRows))
                    rows->push_back({1, static_cast<uint8_t>(r), LogCount(opt.personRoleFloor)});
            }
        }
    }
    // A character without person rows would get the guessed candidates
    // surname, given name and default, all scored with the default count,
    // which favours the rarer name roles; a row of its own default role
    // prevents that.
    if (set == 0 && named.empty() && def > 0)
        rows->push_back({1, static_cast<uint8_t>(defaults[0]), LogCount(def + 1.0)});
    return LogCount(def + 1.0);
}

// The tag the engine fixes on a dictionary word from its name rows before
// tagging (the last row that passes its class's threshold), or -1.
int ClassAssignedTag(const std::string &word, const std::vector<Row> &rows) {
    int tag = -1;
    if (!vsg::TakesClass(word.c_str())) return tag;
    for (const Row &r : rows) {
        if (r.code != 0) continue;
        const int t = vsg::ClassTagOfRow(r.subCode, static_cast<double>(r.value));
        if (t >= 0) tag = t;
    }
    return tag;
}

// Single value of a tag as the engine derives it from the frequencies.
double SingleValue(const ContextCounts &c, size_t tag) { return TagSingleValue(c.freq[tag]); }

// Refines the part-of-speech costs with the averaged perceptron over the
// training paragraphs. The candidate lists are the code 0 rows of the core
// dictionary entries, as the engine's search reads them; the search starts
// from the counted costs. Words with a name row keep their counted values,
// which the engine's class assignment compares with fixed thresholds, and
// so do the unseen-word rows. The trained costs are written back as row
// values (single value - cost) and as transition counts over a total of
// 2^31 - 1, which makes the engine's interpolation term negligible.
void RefinePos(const std::vector<std::vector<Unit>> &all, const TrainOptions &opt, ContextCounts *posCtx,
               std::vector<Entry> *entries, TrainSummary *summary) {
    const size_t nPos = posCtx->freq.size();
    const int32_t total = std::numeric_limits<int32_t>::max();
    PosCosts costs;
    costs.tagCount = nPos;
    costs.transition.resize(nPos * nPos);
    for (size_t i = 0; i < nPos; ++i)
        for (size_t j = 0; j < nPos; ++j)
            costs.Transition(i, j) = TagPairCost(posCtx->matrix[i][j], posCtx->freq[i], total);
    // Candidate list (or fixed tag) of every entry with code 0 rows.
    std::unordered_map<std::string, int32_t> listOf;  // word -> list
    std::unordered_map<std::string, int> fixedOf;     // word -> class-assigned tag
    int32_t unseenList = -1;
    for (const Entry &en : *entries) {
        int fixed = ClassAssignedTag(en.word, en.rows);
        if (fixed >= 0) {
            fixedOf[en.word] = fixed;
            continue;
        }
        CandidateList l;
        bool named = false;
        for (const Row &r : en.rows) {
            if (r.code != 0) continue;
            l.tags.push_back(r.subCode);
            l.costs.push_back(SingleValue(*posCtx, r.subCode) - r.value);
            if (IsNameTag(r.subCode)) named = true;
        }
        if (l.tags.empty()) continue;
        l.trainable = !named && en.word != kStartWord && en.word != kEndWord;
        listOf[en.word] = static_cast<int32_t>(costs.lists.size());
        if (en.word == kOtherClass) unseenList = static_cast<int32_t>(costs.lists.size());
        costs.lists.push_back(std::move(l));
    }
    if (unseenList < 0) return;

    // One sentence per paragraph. A person name of several characters is
    // fixed: new text brings it cut into characters and the person
    // recogniser gives the joined name its tag. Every other unit, places
    // and organisations included, reaches the tagger as a dictionary word:
    // fixed when the class assignment gives it a tag, else its own list.
    std::vector<PosSentence> sentences;
    sentences.reserve(all.size());
    for (const std::vector<Unit> &units : all) {
        PosSentence s;
        for (const Unit &u : units) {
            int32_t list = unseenList;
            uint8_t gold = static_cast<uint8_t>(u.tag);
            if (u.kind == UnitKind::Person && !IsSingle(u.text)) {
                list = -1;
            } else if (auto f = fixedOf.find(u.text); f != fixedOf.end()) {
                list = -1;
                gold = static_cast<uint8_t>(f->second);
            } else if (auto l = listOf.find(u.text); l != listOf.end()) {
                list = l->second;
            }
            s.lists.push_back(list);
            s.gold.push_back(gold);
        }
        sentences.push_back(std::move(s));
    }

    // The unseen-word rows keep their counted costs: trained on the words
    // seen once they fitted those and lost on the unseen words of held-out
    // days.
    costs.lists[static_cast<size_t>(unseenList)].trainable = false;
    RefineOptions ro;
    ro.epochs = opt.posEpochs;
    ro.rate = opt.posRate;
    ro.margin = opt.posMargin;
    ro.beginTag = kPosBegin;
    ro.endTag = kPosEnd;
    RefineSummary rs = RefinePosCosts(sentences, ro, &costs);
    summary->posPositions = rs.positions;
    summary->posErrorsFirst = rs.errorsFirstPass;
    summary->posErrorsLast = rs.errorsLastPass;

    // Write the trained costs back as row values and transition counts.
    for (Entry &en : *entries) {
        auto l = listOf.find(en.word);
        if (l == listOf.end() || !costs.lists[static_cast<size_t>(l->second)].trainable) continue;
        const CandidateList &cl = costs.lists[static_cast<size_t>(l->second)];
        size_t k = 0;
        for (Row &r : en.rows) {
            if (r.code != 0) continue;
            r.value = static_cast<float>(SingleValue(*posCtx, r.subCode) - cl.costs[k++]);
        }
    }
    for (size_t i = 0; i < nPos; ++i)
        for (size_t j = 0; j < nPos; ++j)
            posCtx->matrix[i][j] = TransitionCount(costs.Transition(i, j), posCtx->freq[i], total);
    posCtx->total = total;
}

}  // namespace

bool TrainModels(const std::vector<Paragraph> &paragraphs, const std::string &outDir, const TrainOptions &opt,
                 TrainSummary *summary, std::string *error) {
    *summary = TrainSummary();
    const size_t nPos = PosTagNames().size();
    const std::vector<std::string> *roleNames[3] = {&PersonRoleNames(), &PlaceRoleNames(), &OrgRoleNames()};

    std::vector<std::vector<Unit>> all;
    all.reserve(paragraphs.size());
    std::unordered_map<std::string, int32_t> placeCount;
    for (const Paragraph &p : paragraphs) {
        if (opt.excludeFrom != 0 && p.date >= opt.excludeFrom) continue;
        if (opt.excludeBefore != 0 && p.date < opt.excludeBefore) continue;
        all.push_back(BuildUnits(p));

        ++summary->paragraphs;
        summary->tokens += static_cast<int64_t>(p.tokens.size());
        for (const Bracket &b : p.brackets)
            if (b.label == "nt") ++summary->orgs;
        for (const Unit &u : all.back())
            if (u.kind == UnitKind::Place) ++placeCount[u.text];
    }

    ContextCounts posCtx(nPos);
    ContextCounts roleCtx[3] = {ContextCounts(roleNames[0]->size()), ContextCounts(roleNames[1]->size()),
                                ContextCounts(roleNames[2]->size())};
    std::unordered_map<std::string, WordCounts> words;
    std::map<std::string, int32_t> namePrefix, orgSuffix;
    std::map<std::string, std::set<std::string>> placeEndings;  // last character -> places
    std::map<int, int32_t> nameTagCounts;                       // name tags -> occurrences

    std::set<std::string> prefixChars = {"\xc0\xcf" /* 老 */, "\xd0\xa1" /* 小 */, "\xb0\xa2" /* 阿 */};
    const int roleG = RoleOf(*roleNames[0], 'G'), roleT = RoleOf(*roleNames[0], 'T');
    const int roleR = RoleOf(*roleNames[0], 'R'), roleS = RoleOf(*roleNames[0], 'S');
    const int rolePlaceInner = RoleOf(*roleNames[0], 'U'), rolePlaceEnd = RoleOf(*roleNames[0], 'V');
    const int placeS = RoleOf(*roleNames[1], 'S'), placeM = RoleOf(*roleNames[1], 'M');
    const int placeN = RoleOf(*roleNames[1], 'N'), placeO = RoleOf(*roleNames[1], 'O');
    const int placeP = RoleOf(*roleNames[1], 'P'), placeQ = RoleOf(*roleNames[1], 'Q');
    const int orgT = RoleOf(*roleNames[2], 'T'), orgD = RoleOf(*roleNames[2], 'D');
    const int orgJ = RoleOf(*roleNames[2], 'J'), orgC = RoleOf(*roleNames[2], 'C');
    const int orgE = RoleOf(*roleNames[2], 'E');
    const int orgLeft = RoleOf(*roleNames[2], '1'), orgRight = RoleOf(*roleNames[2], '4');

    auto placeCut = [&](const Unit &u) {
        if (u.kind != UnitKind::Place) return false;
        auto it = placeCount.find(u.text);
        return it != placeCount.end() && it->second <= opt.placeCutMax;
    };
    // The person data cuts more places than the place data: the person
    // recogniser runs first and must learn to leave place characters alone.
    auto personPlaceCut = [&](const Unit &u) {
        if (u.kind != UnitKind::Place) return false;
        auto it = placeCount.find(u.text);
        return it != placeCount.end() && it->second <= opt.personPlaceCutMax;
    };
    auto countRoles = [&](int set, const std::vector<RoleWord> &seq) {
        std::vector<int> roles = {0};
        for (const RoleWord &w : seq) {
            roles.push_back(w.role);
            if (w.single) ++words[w.text].roles[set][w.role];
        }
        roles.push_back(1);
        roleCtx[set].Add(roles);
    };

    for (const std::vector<Unit> &units : all) {
        summary->units += static_cast<int64_t>(units.size());
        // Part-of-speech sequence and word counts.
        std::vector<int> tags = {kPosBegin};
        for (const Unit &u : units) {
            tags.push_back(u.tag);
            if (u.text.size() <= kMaxDictWord) {
                WordCounts &wc = words[u.text];
                ++wc.pos[u.tag];
                ++wc.total;
            }
            if (u.kind == UnitKind::Person) {
                ++summary->persons[u.tag == kPosPerson ? 0 : u.tag == kPosForeignPerson ? 1 : 2];
                ++nameTagCounts[u.tag];
            } else if (u.kind == UnitKind::Place) {
                ++summary->places[u.tag == kPosPlace ? 0 : 1];
                ++nameTagCounts[u.tag];
                std::vector<std::string> chars = SplitChars(u.text);
                if (chars.size() >= 3) placeEndings[chars.back()].insert(u.text);
            } else if (u.kind == UnitKind::Org) {
                ++summary->orgs;
                ++nameTagCounts[u.tag];
                std::vector<std::string> chars = SplitChars(u.text);
                if (chars.size() >= 3) ++orgSuffix[chars.back()];
            }
            if (u.bracketLabel == "nt" && u.bracketLast) ++orgSuffix[u.text];
        }
        tags.push_back(kPosEnd);
        posCtx.Add(tags);

        // Person roles. Person names always arrive cut into characters, and
        // so do rare places (the host's cut keeps known words whole and
        // breaks up what it does not know).
        {
            std::vector<RoleWord> seq;
            std::vector<char> inName;
            for (const Unit &u : units) {
                if (u.kind == UnitKind::Person || personPlaceCut(u)) {
                    std::vector<std::string> chars = SplitChars(u.text);
                    for (size_t k = 0; k < chars.size(); ++k) {
                        RoleWord w;
                        w.text = chars[k];
                        w.single = true;
                        w.role = kPersonDefault;
                        // A cut place that ends in a place suffix or is a
                        // transliteration takes U for its characters and V for
                        // its last one: no pattern reads these letters, so the
                        // search gets a path that keeps 刘桥 or 卢旺达 from
                        // becoming a name. Other cut places stay W.
                        if (u.kind == UnitKind::Place && opt.personPlaceRoles &&
                            (u.tag == kPosForeignPlace || PlaceRoles(u.text).back() == 'G'))
                            w.role = k + 1 == chars.size() ? rolePlaceEnd : rolePlaceInner;
                        if (u.kind == UnitKind::Person) {
                            char letter = k < u.roles.size() ? u.roles[k] : u.roles.back();
                            w.role = RoleOf(*roleNames[0], letter);
                            // A surname or a given name alone joins into no name
                            // (no pattern takes "C" alone, "DE" yields nothing):
                            // trained as name roles they only pull the search
                            // toward sequences the recogniser cannot use. The
                            // part-of-speech data still tags them as names.
                            if (u.roles == "C" || u.roles == "DE") w.role = kPersonDefault;
                        }
                        seq.push_back(w);
                        inName.push_back(u.kind == UnitKind::Person && w.role != kPersonDefault ? 1 : 0);
                    }
                } else {
                    RoleWord w;
                    w.text = u.text;
                    w.single = IsSingle(u.text);
                    w.role = w.single ? kPersonDefault : 0;
                    seq.push_back(w);
                    inName.push_back(0);
                }
            }
            for (size_t i = 0; i < seq.size(); ++i) {
                if (!seq[i].single || inName[i]) continue;
                bool before = i + 1 < seq.size() && inName[i + 1];
                bool after = i > 0 && inName[i - 1];
                if (before && !after && prefixChars.count(seq[i].text) && seq[i + 1].role == 2) {
                    seq[i].role = roleG;
                    ++namePrefix[seq[i].text];
                } else if (before && after) {
                    seq[i].role = roleT;
                } else if (before) {
                    seq[i].role = roleR;
                } else if (after) {
                    seq[i].role = roleS;
                }
            }
            countRoles(0, seq);
        }
        // Place roles: person names arrive merged into one word.
        {
            std::vector<RoleWord> seq;
            std::vector<char> cut, whole;
            for (const Unit &u : units) {
                if (placeCut(u)) {
                    std::string letters = PlaceRoles(u.text);
                    std::vector<std::string> chars = SplitChars(u.text);
                    ++summary->placesCut;
                    for (size_t k = 0; k < chars.size(); ++k) {
                        RoleWord w;
                        w.text = chars[k];
                        w.single = true;
                        w.role = RoleOf(*roleNames[1], letters[k]);
                        seq.push_back(w);
                        cut.push_back(1);
                        whole.push_back(0);
                    }
                } else {
                    RoleWord w;
                    w.text = u.text;
                    w.single = u.kind != UnitKind::Person && IsSingle(u.text);
                    w.role = w.single ? (u.kind == UnitKind::Place ? placeS : kPlaceDefault) : 0;
                    seq.push_back(w);
                    cut.push_back(0);
                    whole.push_back(u.kind == UnitKind::Place && !w.single ? 1 : 0);
                }
            }
            for (size_t i = 0; i < seq.size(); ++i) {
                if (!seq[i].single || cut[i] || seq[i].role != kPlaceDefault) continue;
                bool before = i + 1 < seq.size() && cut[i + 1];
                bool after = i > 0 && cut[i - 1];
                if (before && after) seq[i].role = placeO;
                else if (before) seq[i].role = placeM;
                else if (after) seq[i].role = placeN;
                else if (i + 1 < seq.size() && whole[i + 1]) seq[i].role = placeP;
                else if (i > 0 && whole[i - 1]) seq[i].role = placeQ;
            }
            countRoles(1, seq);
        }
        // Organisation roles: person and place names arrive merged; one
        // word per unit.
        {
            std::vector<RoleWord> seq;
            std::vector<char> inOrg(units.size(), 0);
            for (size_t i = 0; i < units.size(); ++i) {
                const Unit &u = units[i];
                RoleWord w;
                w.text = u.text;
                w.single = u.kind != UnitKind::Person && !placeCut(u) && IsSingle(u.text);
                w.role = w.single ? kOrgDefault : 0;
                if (u.bracketLabel == "nt") {
                    inOrg[i] = 1;
                    int part = u.bracketLast ? orgD : u.bracketFirst ? orgC : orgE;
                    if (w.single) {
                        w.role = (part != orgD && IsNumberChar(u.text)) ? orgJ : part;
                    } else if (u.kind != UnitKind::Person && u.text.size() <= kMaxDictWord &&
                               !(u.bracketFirst && u.bracketLast)) {
                        ++words[u.text].roles[2][part];  // read by the recogniser from the rows
                    }
                } else if (u.kind == UnitKind::Org) {
                    inOrg[i] = 1;
                    if (w.single) w.role = orgT;
                }
                seq.push_back(w);
            }
            for (size_t i = 0; i < seq.size(); ++i) {
                if (!seq[i].single || inOrg[i]) continue;
                if (i + 1 < seq.size() && inOrg[i + 1]) seq[i].role = orgLeft;
                else if (i > 0 && inOrg[i - 1]) seq[i].role = orgRight;
            }
            countRoles(2, seq);
        }
    }

    // Characters of GB2312 that the training days never show get the
    // default person role once and with it the person floors, so that a name
    // can still end in a rare character (关治瀛): without an entry the engine
    // guesses only surname, first given-name character or default for it.
    if (opt.unseenCharRows) {
        for (int hi = 0xB0; hi <= 0xF7; ++hi) {
            for (int lo = 0xA1; lo <= 0xFE; ++lo) {
                if (hi == 0xD7 && lo >= 0xFA) continue;  // unassigned in GB2312
                std::string c = {static_cast<char>(hi), static_cast<char>(lo)};
                if (words.count(c) == 0) words[c].roles[0][kPersonDefault] = 1;
            }
        }
    }

    // ---- Core dictionary entries -------------------------------------------
    std::vector<Entry> entries;
    entries.reserve(words.size() + 8);
    std::map<int, int32_t> unseen;  // tag -> words seen once with it
    {
        std::vector<std::string> keys;
        keys.reserve(words.size());
        for (const auto &kv : words) keys.push_back(kv.first);
        std::sort(keys.begin(), keys.end());
        for (const std::string &w : keys) {
            const WordCounts &wc = words[w];
            Entry e;
            e.word = w;
            for (const auto &tc : TopCounts(wc.pos, kMaxRows)) {
                e.rows.push_back({0, static_cast<uint8_t>(tc.first), LogCount(tc.second)});
            }
            if (wc.total == 1) {
                int t = wc.pos.begin()->first;
                if (!IsNameTag(t)) ++unseen[t];
            }
            e.stats[0] = wc.total > 0 ? LogCount(static_cast<double>(wc.total) + 1.0) : 0.0f;
            if (!IsSingle(w)) {
                // Organisation rows of words inside organisation names.
                for (const auto &rc : TopCounts(wc.roles[2], kMaxRows))
                    e.rows.push_back({3, static_cast<uint8_t>(rc.first), LogCount(rc.second + 1.0)});
            } else {
                for (int set = 0; set < 3; ++set)
                    e.stats[set + 1] = RoleRows(set, wc.roles[set], MainTagIsFunctional(wc.pos), opt, &e.rows);
            }
            if (e.rows.empty()) continue;  // the text form cannot hold a word without rows
            entries.push_back(std::move(e));
        }
    }
    const int64_t sentences = summary->paragraphs > 0 ? summary->paragraphs : 1;
    auto classEntry = [&](const char *word, std::vector<Row> rows) {
        Entry e;
        e.word = word;
        e.rows = std::move(rows);
        entries.push_back(std::move(e));
    };
    auto nameRows = [&](std::initializer_list<int> tagsOf) {
        std::vector<Row> rows;
        for (int t : tagsOf) {
            auto it = nameTagCounts.find(t);
            if (it != nameTagCounts.end()) rows.push_back({0, static_cast<uint8_t>(t), LogCount(it->second)});
        }
        if (rows.empty()) rows.push_back({0, static_cast<uint8_t>(*tagsOf.begin()), 0.0f});
        return rows;
    };
    float sentenceValue = LogCount(static_cast<double>(sentences));
    // The class words replace any corpus word spelled the same way.
    for (const char *cw : {kStartWord, kEndWord, kPersonClass, kPlaceClass, kOrgClass, kOtherClass}) {
        entries.erase(std::remove_if(entries.begin(), entries.end(), [cw](const Entry &e) { return e.word == cw; }),
                      entries.end());
    }
    classEntry(kStartWord, {{0, kPosBegin, sentenceValue}, {1, 0, sentenceValue}, {2, 0, sentenceValue},
                            {3, 0, sentenceValue}});
    classEntry(kEndWord, {{0, kPosEnd, sentenceValue}, {1, 1, sentenceValue}, {2, 1, sentenceValue},
                          {3, 1, sentenceValue}});
    classEntry(kPersonClass, nameRows({kPosPerson, kPosForeignPerson, kPosJapanesePerson}));
    classEntry(kPlaceClass, nameRows({kPosPlace, kPosForeignPlace}));
    classEntry(kOrgClass, nameRows({kPosOrg}));
    std::vector<Row> unseenRows;
    {
        // Seen-once counts estimate how often a tag brings a new word, but a
        // small class made mostly of rare words (onomatopoeia) would then
        // outbid the nouns: each rate is pulled toward the overall rate by
        // kUnseenPrior pseudo-occurrences before it is turned back into a
        // count of the tag's frequency.
        int64_t seenOnce = 0, tokens = 0;
        for (const auto &tc : unseen) seenOnce += tc.second;
        for (size_t t = 0; t < nPos; ++t)
            if (t != kPosBegin && t != kPosEnd) tokens += posCtx.freq[t];
        const double overall = tokens > 0 ? static_cast<double>(seenOnce) / static_cast<double>(tokens) : 0.0;
        std::map<int, double> smoothed;
        for (const auto &tc : unseen) {
            double f = posCtx.freq[static_cast<size_t>(tc.first)];
            double rate = (tc.second + kUnseenPrior * overall) / (f + kUnseenPrior);
            smoothed[tc.first] = rate * (f + 22.0);
        }
        std::map<int, int32_t> order;  // ranks for the row limit
        for (const auto &tc : smoothed) order[tc.first] = static_cast<int32_t>(tc.second * 1000.0);
        for (const auto &tc : TopCounts(order, kMaxRows))
            unseenRows.push_back({0, static_cast<uint8_t>(tc.first), static_cast<float>(std::log(smoothed[tc.first]))});
    }
    if (unseenRows.empty()) unseenRows.push_back({0, 2, 0.0f});
    classEntry(kOtherClass, unseenRows);
    if (opt.posEpochs > 0) RefinePos(all, opt, &posCtx, &entries, summary);


    for (Entry &e : entries) e.hash = static_cast<int32_t>(VSGHash(e.word.c_str(), DICTS_BUCKETS));
    std::sort(entries.begin(), entries.end(), [](const Entry &a, const Entry &b) {
        return a.hash != b.hash ? a.hash < b.hash : a.word < b.word;
    });
    // The binary loader leaves the engine reading unseen-word rows from a
    // fixed position; a twin of the unseen-word entry is placed there.
    {
        size_t pos = static_cast<size_t>(kUnseenRowsPosition);
        uint32_t lo = 0, hi = DICTS_BUCKETS - 1;
        if (entries.size() >= pos) {
            lo = pos > 0 ? static_cast<uint32_t>(entries[pos - 1].hash) : 0;
            hi = pos < entries.size() ? static_cast<uint32_t>(entries[pos].hash) : DICTS_BUCKETS - 1;
        }
        Entry twin;
        twin.word = FindTwin(lo, hi);
        if (twin.word.empty()) {
            *error = "no text found for the unseen-word twin";
            return false;
        }
        twin.rows = unseenRows;
        twin.hash = static_cast<int32_t>(VSGHash(twin.word.c_str(), DICTS_BUCKETS));
        if (entries.size() >= pos) {
            entries.insert(entries.begin() + static_cast<std::ptrdiff_t>(pos), twin);
            summary->twinPosition = static_cast<int32_t>(pos);
        } else {  // a corpus too small to reach the position: keep hash order
            auto at = std::upper_bound(entries.begin(), entries.end(), twin,
                                       [](const Entry &a, const Entry &b) { return a.hash < b.hash; });
            summary->twinPosition = static_cast<int32_t>(at - entries.begin());
            entries.insert(at, twin);
        }
        summary->twin = twin.word;
    }
    summary->entries = static_cast<int64_t>(entries.size());
    for (size_t t = 0; t < nPos; ++t)
        if (posCtx.freq[t] > 0) ++summary->posTagsUsed;

    // ---- Writing -------------------------------------------------------------
    if (!EnsureDir(outDir, error)) return false;
    const std::string textDir = outDir + "/text";
    if (opt.text && !EnsureDir(textDir, error)) return false;

    // Core dictionary, binary form, from an in-memory table in this order.
    {
        std::vector<DictSEntry> table(entries.size());
        std::vector<std::vector<DictSRow>> rowStore(entries.size());
        std::vector<DictBucket> buckets(DICTS_BUCKETS, DictBucket{-1, 0});
        for (size_t i = 0; i < entries.size(); ++i) {
            const Entry &e = entries[i];
            rowStore[i].resize(e.rows.size() + 1);
            for (size_t r = 0; r < e.rows.size(); ++r) {
                DictSRow &row = rowStore[i][r];
                std::memset(&row, 0, sizeof row);
                row.code = e.rows[r].code;
                row.subCode = e.rows[r].subCode;
                row.value = e.rows[r].value;
                row.flag = 1;
            }
            DictSEntry &d = table[i];
            std::memset(&d, 0, sizeof d);
            d.word = const_cast<char *>(e.word.c_str());
            d.length = static_cast<int32_t>(e.word.size());
            d.posCount = static_cast<int32_t>(e.rows.size());
            std::memcpy(d.stats, e.stats, sizeof d.stats);
            d.posList = rowStore[i].data();
            d.hash = e.hash;
            d.flag = 1;
            DictBucket &b = buckets[static_cast<size_t>(e.hash)];
            if (b.first == -1) b.first = static_cast<int32_t>(i);
            ++b.count;
        }
        DictionaryS dict;
        std::memset(&dict, 0, sizeof dict);
        dict.buckets = buckets.data();
        dict.entries = table.data();
        dict.count = static_cast<int32_t>(table.size());
        dict.personIndex = dict.placeIndex = dict.orgIndex = -1;
        for (size_t i = 0; i < entries.size(); ++i) {
            if (entries[i].word == kPersonClass) dict.personIndex = static_cast<int32_t>(i);
            if (entries[i].word == kPlaceClass) dict.placeIndex = static_cast<int32_t>(i);
            if (entries[i].word == kOrgClass) dict.orgIndex = static_cast<int32_t>(i);
        }
        const std::string path = outDir + "/coredict.dct";
        if (DictionaryS_SaveBinary(path.c_str(), &dict) != 1) {
            *error = "cannot write " + path;
            return false;
        }
    }
    if (opt.text) {
        std::string text;
        for (const Entry &e : entries) {
            text += e.word + " " + std::to_string(e.rows.size());
            for (float s : e.stats) text += " " + FloatText(s);
            text += "\n";
            for (const Row &r : e.rows)
                text += std::to_string(r.code) + " " + std::to_string(r.subCode) + " " + FloatText(r.value) + "\n";
        }
        if (!WriteText(textDir + "/coredict.dct", text, error)) return false;
    }

    // Context statistics.
    const char *ctxNames[4] = {"lexical.ctx", "nr.ctx", "ns.ctx", "nt.ctx"};
    const ContextCounts *ctx[4] = {&posCtx, &roleCtx[0], &roleCtx[1], &roleCtx[2]};
    for (int i = 0; i < 4; ++i) {
        if (!SaveContext(*ctx[i], outDir + "/" + ctxNames[i], false, error)) return false;
        if (opt.text && !SaveContext(*ctx[i], textDir + "/" + ctxNames[i], true, error)) return false;
    }

    // Tag maps and affix dictionaries (single text form).
    std::vector<std::pair<std::string, std::string>> plain;
    plain.emplace_back("zyrpos30.map", MapText(PosTagNames()));
    plain.emplace_back("nr.map", MapText(*roleNames[0]));
    plain.emplace_back("ns.map", MapText(*roleNames[1]));
    plain.emplace_back("nt.map", MapText(*roleNames[2]));
    {
        std::map<std::string, std::string> pre;
        for (const std::string &c : prefixChars) pre[c] = FloatText(1.0f);
        for (const auto &kv : namePrefix) pre[kv.first] = FloatText(1.0f + LogCount(kv.second + 1.0));
        std::string s;
        for (const auto &kv : pre) s += kv.first + " " + kv.second + "\n";
        plain.emplace_back("name_pre.dct", s);
    }
    {
        std::set<std::string> suffixes(PlaceSuffixes().begin(), PlaceSuffixes().end());
        for (const auto &kv : placeEndings)
            if (kv.second.size() >= 10) suffixes.insert(kv.first);
        std::string s;
        for (const std::string &x : suffixes) s += x + " 1\n";
        plain.emplace_back("loc_suffix.dct", s);
    }
    {
        std::string s;
        for (const auto &kv : orgSuffix)
            if (kv.second >= 3 && kv.first.size() <= kMaxDictWord)
                s += kv.first + " " + FloatText(LogCount(kv.second + 1.0)) + "\n";
        plain.emplace_back("org_suffix.dct", s);
    }
    for (const auto &f : plain) {
        if (!WriteText(outDir + "/" + f.first, f.second, error)) return false;
        if (opt.text && !WriteText(textDir + "/" + f.first, f.second, error)) return false;
    }
    // The word cutter model, then the manifest of every file written.
    std::vector<std::string> segDirs = {outDir};
    if (opt.text) segDirs.push_back(textDir);
    if (!WriteSegmenter(all, opt.seg, segDirs, &summary->seg, error)) return false;
    return WriteSetManifests(outDir, opt.text ? textDir : std::string(), error);
}

}  // namespace vsgtrain
