// Writing step: the twelve files of the model set (binary forms, and the
// text forms on request).
#include <sys/stat.h>

#include <cstdio>
#include <cstring>

#include "common/gbtext.h"
#include "steps.h"
#include "vsglex/model.h"

namespace vsgtrain {

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

namespace {

using vsg::kOrgClass;
using vsg::kPersonClass;
using vsg::kPlaceClass;

// Formats a float so that reading it back with "%f" gives the same float.
std::string FloatText(float v) {
    char buf[64];
    std::snprintf(buf, sizeof buf, "%.9g", static_cast<double>(v));
    return buf;
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

}  // namespace

bool WriteModelSet(const std::string &outDir, const TrainOptions &opt, const std::vector<Entry> &entries,
                   const TrainCounts &c, std::string *error) {
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
    const ContextCounts *ctx[4] = {&c.posCtx, &c.roleCtx[0], &c.roleCtx[1], &c.roleCtx[2]};
    for (int i = 0; i < 4; ++i) {
        if (!SaveContext(*ctx[i], outDir + "/" + ctxNames[i], false, error)) return false;
        if (opt.text && !SaveContext(*ctx[i], textDir + "/" + ctxNames[i], true, error)) return false;
    }

    // Tag maps and affix dictionaries (single text form).
    std::vector<std::pair<std::string, std::string>> plain;
    plain.emplace_back("zyrpos30.map", MapText(PosTagNames()));
    plain.emplace_back("nr.map", MapText(PersonRoleNames()));
    plain.emplace_back("ns.map", MapText(PlaceRoleNames()));
    plain.emplace_back("nt.map", MapText(OrgRoleNames()));
    {
        std::map<std::string, std::string> pre;
        for (const std::string &c : c.prefixChars) pre[c] = FloatText(1.0f);
        for (const auto &kv : c.namePrefix) pre[kv.first] = FloatText(1.0f + LogCount(kv.second + 1.0));
        std::string s;
        for (const auto &kv : pre) s += kv.first + " " + kv.second + "\n";
        plain.emplace_back("name_pre.dct", s);
    }
    {
        std::set<std::string> suffixes(PlaceSuffixes().begin(), PlaceSuffixes().end());
        for (const auto &kv : c.placeEndings)
            if (kv.second.size() >= kMinPlacesPerEnding) suffixes.insert(kv.first);
        std::string s;
        for (const std::string &x : suffixes) s += x + " 1\n";
        plain.emplace_back("loc_suffix.dct", s);
    }
    {
        std::string s;
        for (const auto &kv : c.orgSuffix)
            if (kv.second >= kMinOrgSuffixCount && kv.first.size() <= kMaxDictWord)
                s += kv.first + " " + FloatText(LogCount(kv.second + 1.0)) + "\n";
        plain.emplace_back("org_suffix.dct", s);
    }
    for (const auto &f : plain) {
        if (!WriteText(outDir + "/" + f.first, f.second, error)) return false;
        if (opt.text && !WriteText(textDir + "/" + f.first, f.second, error)) return false;
    }
    return true;
}

}  // namespace vsgtrain
