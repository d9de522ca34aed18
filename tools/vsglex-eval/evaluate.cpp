// Runs the segmentation call over corpus paragraphs and compares its output
// with the corpus's own words, tags and names.
#include "evaluate.h"

#include <cmath>
#include <cstdio>
#include <cstring>
#include <map>
#include <set>

#include "common/tagset.h"
#include "vsglex/vsglex_api.h"

namespace vsgeval {

namespace {

using Span = std::pair<int, int>;  // byte range [first, second) in the paragraph

// Name class of a part-of-speech tag: 0 person, 1 place, 2 organisation, -1.
int ClassOf(int tag) {
    if (vsg::IsPersonTag(tag)) return 0;
    if (vsg::IsPlaceTag(tag)) return 1;
    return vsg::IsOrgTag(tag) ? 2 : -1;
}

// The gold side of one paragraph.
struct Gold {
    std::string text;                  // all units joined
    std::map<Span, int> tags;          // unit span -> tag
    std::set<Span> names[3];
    std::set<Span> neutral[3];         // spans scored neither way
    std::set<Span> capped[3];          // gold names the recognisers cannot or rarely produce
    std::vector<std::string> words;    // input words
};

Gold MakeGold(const std::vector<vsgtrain::Unit> &units, const DictionaryS &core) {
    Gold g;
    std::map<int, int> bracketStart;
    int pos = 0;
    for (const vsgtrain::Unit &u : units) {
        Span s{pos, pos + static_cast<int>(u.text.size())};
        g.tags[s] = u.tag;
        int cls = u.kind == vsgtrain::UnitKind::Person ? 0 : u.kind == vsgtrain::UnitKind::Place ? 1
                  : u.kind == vsgtrain::UnitKind::Org   ? 2 : -1;
        // A place inside an organisation compound belongs to the
        // organisation name, not to the places.
        if (cls == 1 && u.bracketLabel == "nt") {
            g.neutral[1].insert(s);
            cls = -1;
        }
        // Likewise an organisation name inside an organisation compound: one
        // output word cannot be both the compound and its part.
        if (cls == 2 && u.bracketLabel == "nt") {
            g.neutral[2].insert(s);
            cls = -1;
        }
        if (cls >= 0) g.names[cls].insert(s);
        // Names whose characters no pattern of the recognisers can join.
        if (cls == 0 && (u.roles == "C" || u.roles == "F" || u.roles == "DE" || u.roles == "LN" ||
                         u.roles == "ON"))
            g.capped[0].insert(s);
        if (cls == 1 && vsgtrain::SplitChars(u.text).size() == 2 && DictionaryS_GetCoreInfo(u.text.c_str(), &core) < 0)
            g.capped[1].insert(s);
        if (u.bracket >= 0 && u.bracketLabel == "nt") {
            if (u.bracketFirst) bracketStart[u.bracket] = s.first;
            if (u.bracketLast && bracketStart.count(u.bracket)) g.names[2].insert({bracketStart[u.bracket], s.second});
        }
        g.text += u.text;
        pos = s.second;
    }
    // A compound of one organisation word is scored as the compound.
    for (const Span &s : g.names[2]) g.neutral[2].erase(s);
    g.words = InputWords(units, core);
    return g;
}

std::string Context(const std::vector<std::pair<std::string, int>> &out, size_t at) {
    std::string s;
    size_t from = at >= 4 ? at - 4 : 0;
    for (size_t i = from; i < out.size() && i <= at + 4; ++i) {
        if (!s.empty()) s += " ";
        if (i == at) s += "[";
        s += vsgtrain::GbToUtf8(out[i].first) + "/" + vsgtrain::PosTagNames()[static_cast<size_t>(out[i].second) %
                                                                               vsgtrain::PosTagNames().size()];
        if (i == at) s += "]";
    }
    return s;
}

// The error line of word `word`, gold tag `gold`, output tag `tag` (see
// EvalResult::posErrors).
std::string PosErrorLine(const std::string &word, int gold, int tag, const DictionaryS *core) {
    const int32_t at = DictionaryS_GetCoreInfo(word.c_str(), core);
    bool inRows = false;
    double count = 0;
    if (at >= 0 && at < core->count) {
        const DictSEntry &e = core->entries[at];
        count = e.stats[0];
        for (int32_t i = 0; i < e.posCount; ++i)
            if (e.posList[i].code == 0 && e.posList[i].subCode == gold) inRows = true;
    }
    const auto &names = vsgtrain::PosTagNames();
    char buf[32];
    std::snprintf(buf, sizeof buf, "%.0f", count > 0 ? std::exp(count) - 1 : 0.0);
    return std::string(at >= 0 ? "known" : "unknown") + "\t" + (inRows ? "rows" : "norows") + "\t" + buf + "\t" +
           vsgtrain::GbToUtf8(word) + "\t" + names[static_cast<size_t>(gold) % names.size()] + "\t" +
           names[static_cast<size_t>(tag) % names.size()];
}

// The coarse tag of every tag of the corpus units: for a class of one
// word ("v#3") the tag its name starts with, else the tag itself. A class
// is a function of the word and its corpus tag, so a word is tagged right
// when its coarse tag is.
int CoarseTag(int tag) {
    static const std::vector<int> coarse = [] {
        const auto &names = vsgtrain::PosTagNames();
        std::vector<int> to(names.size());
        for (size_t k = 0; k < names.size(); ++k) {
            to[k] = static_cast<int>(k);
            const size_t hash = names[k].find('#');
            if (hash == std::string::npos || hash == 0) continue;
            for (size_t p = 0; p < names.size(); ++p)
                if (names[p] == names[k].substr(0, hash)) to[k] = static_cast<int>(p);
        }
        return to;
    }();
    return tag >= 0 && static_cast<size_t>(tag) < coarse.size() ? coarse[static_cast<size_t>(tag)] : tag;
}

std::string NameLine(int cls, int64_t paragraph, const Span &s, const char *status, const std::string &text,
                     const std::string &context) {
    static const char *const kClass[3] = {"person", "place", "organisation"};
    return std::string(kClass[cls]) + "\t" + std::to_string(paragraph) + "\t" + std::to_string(s.first) + "\t" +
           std::to_string(s.second) + "\t" + status + "\t" +
           vsgtrain::GbToUtf8(text.substr(static_cast<size_t>(s.first), static_cast<size_t>(s.second - s.first))) +
           "\t" + context;
}

void Score(const Gold &g, const std::vector<std::pair<std::string, int>> &out, const DictionaryS *core,
           size_t examples, bool posErrors, EvalResult *r) {
    std::string joined;
    for (const auto &w : out) joined += w.first;
    if (joined != g.text) {
        ++r->misaligned;
        for (int c = 0; c < 3; ++c) r->names[c].gold += static_cast<int64_t>(g.names[c].size());
        return;
    }
    std::set<Span> predicted[3];
    std::map<Span, size_t> outAt;
    int pos = 0;
    for (size_t i = 0; i < out.size(); ++i) {
        Span s{pos, pos + static_cast<int>(out[i].first.size())};
        pos = s.second;
        outAt[s] = i;
        auto it = g.tags.find(s);
        if (it != g.tags.end()) {
            ++r->posCompared;
            if (CoarseTag(it->second) == CoarseTag(out[i].second)) ++r->posCorrect;
            else {
                ++r->confusion[{it->second, out[i].second}];
                if (posErrors) r->posErrors.push_back(PosErrorLine(out[i].first, it->second, out[i].second, core));
            }
            if (DictionaryS_GetCoreInfo(out[i].first.c_str(), core) < 0) {
                ++r->unknownCompared;
                if (CoarseTag(it->second) == CoarseTag(out[i].second)) ++r->unknownCorrect;
            }
        }
        int cls = ClassOf(out[i].second);
        if (cls >= 0 && !g.neutral[cls].count(s)) predicted[cls].insert(s);
    }
    for (int c = 0; c < 3; ++c) {
        NameScore &n = r->names[c];
        n.gold += static_cast<int64_t>(g.names[c].size());
        n.predicted += static_cast<int64_t>(predicted[c].size());
        for (const Span &s : g.names[c]) {
            if (s.second - s.first <= 2) ++n.goldOneChar;
            if (g.capped[c].count(s)) {
                ++n.goldCapped;
                if (predicted[c].count(s)) ++n.foundCapped;
            }
            if (r->nameList) {
                auto at = outAt.lower_bound({s.first, 0});
                size_t i = at != outAt.end() ? at->second : out.size() - 1;
                r->nameLines.push_back(NameLine(c, r->paragraphs - 1, s, predicted[c].count(s) ? "found" : "miss",
                                                g.text, Context(out, i)));
            }
            if (predicted[c].count(s)) {
                ++n.found;
            } else if (r->examples[c].size() < examples) {
                auto at = outAt.lower_bound({s.first, 0});
                size_t i = at != outAt.end() ? at->second : out.size() - 1;
                r->examples[c].push_back("miss  " + vsgtrain::GbToUtf8(g.text.substr(
                                             static_cast<size_t>(s.first), static_cast<size_t>(s.second - s.first))) +
                                         "  :  " + Context(out, i));
            }
        }
        for (const Span &s : predicted[c]) {
            if (r->nameList && !g.names[c].count(s))
                r->nameLines.push_back(NameLine(c, r->paragraphs - 1, s, "false", g.text, Context(out, outAt[s])));
            if (!g.names[c].count(s) && r->examples[c].size() < examples)
                r->examples[c].push_back("false " + Context(out, outAt[s]));
        }
    }
}

}  // namespace

std::vector<std::string> InputWords(const std::vector<vsgtrain::Unit> &units, const DictionaryS &core) {
    std::vector<std::string> words;
    for (const vsgtrain::Unit &u : units) {
        bool cut = u.kind == vsgtrain::UnitKind::Person ||
                   (u.kind == vsgtrain::UnitKind::Place && DictionaryS_GetCoreInfo(u.text.c_str(), &core) < 0) ||
                   u.text.size() > VSG_ITEM_TEXT_MAX;
        if (cut) {
            for (const std::string &c : vsgtrain::SplitChars(u.text)) words.push_back(c);
        } else {
            words.push_back(u.text);
        }
    }
    return words;
}

// For each tag of the model's map, the number the corpus units use for it
// (vsgtrain::PosTagNames): the tag of the same name, else, for a class of
// the trainer's own choosing ("v#12"), the tag its name starts with. A map
// the trainer wrote with its fixed tag set maps every tag to itself.
std::vector<int> OutputToGoldTags(const POSmap &map) {
    const auto &names = vsgtrain::PosTagNames();
    auto find = [&names](const std::string &name) {
        for (size_t k = 0; k < names.size(); ++k)
            if (names[k] == name) return static_cast<int>(k);
        return -1;
    };
    std::vector<int> to;
    char tag[256];
    for (int32_t k = 0; k < map.count && k < 256; ++k) {
        tag[0] = '\0';
        POSmap_GetPOS(k, tag, &map);
        std::string name(tag);
        int at = find(name);
        if (at < 0 && name.find('#') != std::string::npos) at = find(name.substr(0, name.find('#')));
        to.push_back(at >= 0 ? at : k);
    }
    return to;
}

EvalResult Evaluate(const SegmentEngine *engine, const std::vector<vsgtrain::Paragraph> &paragraphs,
                    size_t examples, const std::vector<std::vector<std::string>> *inputs, bool posErrors,
                    bool nameList) {
    EvalResult r;
    r.nameList = nameList;
    const std::vector<int> goldTagOf = OutputToGoldTags(engine->tagModels[VSG_TAG_POS].map);
    const size_t batch = 64;
    for (size_t first = 0; first < paragraphs.size(); first += batch) {
        size_t last = std::min(paragraphs.size(), first + batch);
        std::vector<Gold> golds;
        std::vector<WordItem> items;
        for (size_t i = first; i < last; ++i) {
            golds.push_back(MakeGold(vsgtrain::BuildUnits(paragraphs[i]), engine->core));
            if (inputs != nullptr && i < inputs->size()) golds.back().words = (*inputs)[i];
            uint32_t key = static_cast<uint32_t>(i - first);
            for (const std::string &w : golds.back().words) {
                WordItem item;
                std::memset(&item, 0, sizeof item);
                std::memcpy(item.text, w.data(), w.size());
                item.sentence = static_cast<uint16_t>(key & 0xffffu);
                item.extra = static_cast<uint16_t>(key >> 16);
                item.id = static_cast<uint32_t>(items.size());
                items.push_back(item);
            }
        }
        WordList in{static_cast<int32_t>(items.size()), items.data()};
        WordList out{0, nullptr};
        VSG_SegmentForServer(&in, &out, 0, engine);
        std::vector<std::vector<std::pair<std::string, int>>> outputs(golds.size());
        for (int32_t k = 0; k < out.count; ++k) {
            const WordItem &o = out.items[k];
            size_t key = static_cast<size_t>(o.sentence) | (static_cast<size_t>(o.extra) << 16);
            const int tag = static_cast<size_t>(o.tag) < goldTagOf.size() ? goldTagOf[o.tag] : o.tag;
            if (key < outputs.size()) outputs[key].emplace_back(std::string(o.text), tag);
        }
        VSG_SegmentForServerFree(&out);
        for (size_t g = 0; g < golds.size(); ++g) {
            ++r.paragraphs;
            Score(golds[g], outputs[g], &engine->core, examples, posErrors, &r);
        }
    }
    return r;
}

bool EvaluateApi(const std::string &modelDir, const SegmentEngine *engine,
                 const std::vector<vsgtrain::Paragraph> &paragraphs, size_t examples, bool posErrors,
                 EvalResult *result, std::string *error) {
    vsglex_handle *handle = vsglex_open(modelDir.c_str());
    if (handle == nullptr) {
        *error = vsglex_last_error();
        return false;
    }
    EvalResult &r = *result;
    const bool nameList = r.nameList;
    r = EvalResult();
    r.nameList = nameList;
    const std::vector<int> goldTagOf = OutputToGoldTags(engine->tagModels[VSG_TAG_POS].map);
    const size_t batch = 256;
    std::string text;
    // Per byte of `text` (and one past its end): the paragraph it belongs
    // to and the byte offset in that paragraph's gold text it stands at
    // (a separator stands at the start of the next word).
    std::vector<int32_t> paragraphAt, goldAt;
    for (size_t first = 0; first < paragraphs.size(); first += batch) {
        const size_t last = std::min(paragraphs.size(), first + batch);
        std::vector<Gold> golds;
        text.clear();
        paragraphAt.clear();
        goldAt.clear();
        for (size_t i = first; i < last; ++i) {
            golds.push_back(MakeGold(vsgtrain::BuildUnits(paragraphs[i]), engine->core));
            const int32_t key = static_cast<int32_t>(i - first);
            int32_t at = 0;
            for (size_t k = 0; k < golds.back().words.size(); ++k) {
                if (k > 0) {
                    text += ' ';
                    paragraphAt.push_back(key);
                    goldAt.push_back(at);
                }
                for (char c : golds.back().words[k]) {
                    text += c;
                    paragraphAt.push_back(key);
                    goldAt.push_back(at++);
                }
            }
            text += '\n';
            paragraphAt.push_back(key);
            goldAt.push_back(at);
        }
        paragraphAt.push_back(static_cast<int32_t>(golds.size()));
        goldAt.push_back(0);
        vsglex_result *res = nullptr;
        if (vsglex_analyze(handle, text.data(), text.size(), VSGLEX_CHARSET_GB18030, VSGLEX_PRECUT, &res) !=
            VSGLEX_OK) {
            *error = vsglex_last_error();
            vsglex_close(handle);
            return false;
        }
        std::vector<std::vector<std::pair<std::string, int>>> outputs(golds.size());
        for (size_t k = 0; k < res->word_count; ++k) {
            const vsglex_word &w = res->words[k];
            const size_t from = static_cast<size_t>(w.offset), to = from + w.length;
            if (w.length == 0 || to > text.size()) continue;
            const size_t g = static_cast<size_t>(paragraphAt[from]);
            std::string word;
            if (static_cast<size_t>(paragraphAt[to - 1]) == g) {
                // The word's bytes in its paragraph, separators left out.
                const Gold &gold = golds[g];
                const size_t end = paragraphAt[to] == paragraphAt[from] ? static_cast<size_t>(goldAt[to])
                                                                        : gold.text.size();
                word = gold.text.substr(static_cast<size_t>(goldAt[from]), end - static_cast<size_t>(goldAt[from]));
            } else {
                // A word across paragraphs: its bytes as they are, which
                // then match neither paragraph's text.
                word = text.substr(from, w.length);
            }
            const int tag = w.tag >= 0 && static_cast<size_t>(w.tag) < goldTagOf.size() ? goldTagOf[w.tag] : w.tag;
            outputs[g].emplace_back(std::move(word), tag);
        }
        vsglex_result_free(res);
        for (size_t g = 0; g < golds.size(); ++g) {
            ++r.paragraphs;
            Score(golds[g], outputs[g], &engine->core, examples, posErrors, &r);
        }
    }
    vsglex_close(handle);
    return true;
}

}  // namespace vsgeval
