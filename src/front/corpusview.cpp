// Corpus-granularity pieces of person, organisation and compound place names,
// and the trainer's counts the front end reads after the engine.
#include "front/corpusview.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "common/gb_lists.h"
#include "common/gbtext.h"
#include "common/tagset.h"
#include "front/analyzer.h"
#include "front/atoms.h"
#include "front/conventions.h"

namespace vsg::front {

namespace {

bool IsCompoundSurname(const char *p) {
    for (const char *s = kCompoundSurnames; *s != '\0'; s += 4)
        if (std::memcmp(s, p, 4) == 0) return true;
    return false;
}

// Byte offsets of the characters of text[0..length) (with `length` last).
std::vector<uint32_t> CharEnds(const char *text, size_t length) {
    std::vector<uint32_t> ends;
    const auto *t = reinterpret_cast<const unsigned char *>(text);
    for (size_t i = 0; i < length;) {
        i += GbCharLength(t, i, length);
        ends.push_back(static_cast<uint32_t>(i));
    }
    return ends;
}

}  // namespace

int32_t PieceTags::Of(const char *word, size_t length, int32_t fallback) const {
    // The dictionary holds the corpus's full-width forms: a piece with
    // ASCII in it ("(", "1205") is looked up in that form.
    char wide[2 * kMaxAtomBytes];
    if (length <= kMaxAtomBytes && std::any_of(word, word + length, [](char c) { return (c & 0x80) == 0; })) {
        length = WidenAscii(word, length, wide);
        word = wide;
    }
    const int32_t tag = CoreWordTag(engine_, word, length);
    return tag >= 0 ? tag : fallback;
}


void PlaceCompoundEnds::Build(const DictionaryS &dict) {
    words_.clear();
    compounds_.clear();
    longestCompound_ = 0;
    compoundFirsts_.assign(kGbCharKeys, false);
    compoundLasts_.assign(kGbCharKeys, false);
    for (int32_t e = 0; e < dict.count; ++e) {
        const DictSEntry &entry = dict.entries[e];
        if (entry.length <= 2 || entry.word == nullptr) continue;
        // Times joined and apart, as a place (row set 2) and as an
        // organisation (row set 3), and the roles that hold them.
        constexpr uint8_t kJoinedRoles[2] = {kJoinedRole, vsg::kOrgCompoundJoinedRole};
        constexpr uint8_t kApartRoles[2] = {kApartRole, vsg::kOrgCompoundApartRole};
        double joined[2] = {-1.0, -1.0}, apart[2] = {0.0, 0.0};
        bool word = false;
        for (int32_t r = 0; r < entry.posCount; ++r) {
            const DictSRow &row = entry.posList[r];
            if (row.code == 0) word = true;
            if ((row.code != 2 && row.code != 3) || !std::isfinite(row.value)) continue;
            const int k = row.code - 2;
            const double count = RowCount(row);
            if (row.subCode == kJoinedRoles[k]) joined[k] = count;
            else if (row.subCode == kApartRoles[k]) apart[k] = count;
        }
        auto joins = [&](int k, double least) { return joined[k] >= least - 1e-6 && joined[k] > kJoinedOverApart * apart[k]; };
        if (word) {
            if (joins(0, kMinJoined)) words_.emplace(entry.word, static_cast<size_t>(entry.length));
            continue;
        }
        const int32_t tag = joins(0, vsg::kMinPlaceCompoundJoined)  ? kPlaceTag
                            : joins(1, vsg::kMinOrgCompoundJoined) ? kOrgTag
                                                                   : -1;
        if (tag < 0) continue;
        compounds_.emplace(std::string(entry.word, static_cast<size_t>(entry.length)), tag);
        compoundFirsts_[GbCharKey(entry.word)] = true;
        compoundLasts_[GbCharKey(entry.word + entry.length - 2)] = true;
        longestCompound_ = std::max(longestCompound_, static_cast<size_t>(entry.length));
    }
}

int32_t PlaceCompoundEnds::CompoundTag(const char *text, size_t length) const {
    if (length < 2 || length > longestCompound_ || !compoundFirsts_[GbCharKey(text)] ||
        !compoundLasts_[GbCharKey(text + length - 2)])
        return -1;
    // The key is built in a buffer of the calling thread, so that a lookup
    // allocates nothing once the buffer has grown.
    thread_local std::string key;
    key.assign(text, length);
    const auto it = compounds_.find(key);
    return it == compounds_.end() ? -1 : it->second;
}

bool PlaceCompoundEnds::Has(const char *word, size_t length) const {
    return !words_.empty() && words_.count(std::string(word, length)) != 0;
}

void NameNeighbours::Build(const DictionaryS &dict) {
    words_.clear();
    totals_ = Counts();
    for (int32_t e = 0; e < dict.count; ++e) {
        const DictSEntry &entry = dict.entries[e];
        if (entry.length <= 2 || entry.word == nullptr) continue;
        Counts c;
        bool any = false;
        for (int32_t r = 0; r < entry.posCount; ++r) {
            const DictSRow &row = entry.posList[r];
            if ((row.code != 1 && row.code != 2) || !std::isfinite(row.value)) continue;
            const double count = RowCount(row);
            double *slot = nullptr;
            if (row.code == 2 && row.subCode == kBeforePlace) slot = &c.beforePlace;
            else if (row.code == 2 && row.subCode == kAfterPlace) slot = &c.afterPlace;
            else if (row.code == 1 && row.subCode == kBeforePerson) slot = &c.beforePerson;
            else if (row.code == 1 && row.subCode == kAfterPerson) slot = &c.afterPerson;
            if (slot == nullptr) continue;
            *slot = count;
            any = true;
        }
        if (!any) continue;
        totals_.beforePlace += c.beforePlace;
        totals_.afterPlace += c.afterPlace;
        totals_.beforePerson += c.beforePerson;
        totals_.afterPerson += c.afterPerson;
        words_.emplace(std::string(entry.word, static_cast<size_t>(entry.length)), c);
    }
}

double NameNeighbours::PlaceEvidence(std::string_view before, std::string_view after) const {
    if (words_.empty()) return 0.0;
    auto ratio = [](double place, double placeTotal, double person, double personTotal) {
        if (placeTotal <= 0 || personTotal <= 0) return 0.0;
        return std::log((place + kPrior) / placeTotal) - std::log((person + kPrior) / personTotal);
    };
    double evidence = 0.0;
    if (!before.empty()) {
        auto it = words_.find(std::string(before));
        if (it != words_.end())
            evidence += ratio(it->second.beforePlace, totals_.beforePlace, it->second.beforePerson,
                              totals_.beforePerson);
    }
    if (!after.empty()) {
        auto it = words_.find(std::string(after));
        if (it != words_.end())
            evidence +=
                ratio(it->second.afterPlace, totals_.afterPlace, it->second.afterPerson, totals_.afterPerson);
    }
    return evidence;
}

double NameNeighbours::BeforePerson(std::string_view word) const {
    auto it = words_.find(std::string(word));
    return it == words_.end() ? 0.0 : it->second.beforePerson;
}

namespace {

// Bit c is set when the two-byte GB character c is in one of the two
// transliteration lists: the test runs for most words of a text.
struct TransliterationBits {
    uint64_t bits[1024] = {};
    constexpr TransliterationBits() {
        for (const char *list : {text::kForeignSetA, text::kForeignSetB})
            for (; list[0] != '\0' && list[1] != '\0'; list += 2) {
                const unsigned c = (static_cast<unsigned char>(list[0]) << 8) | static_cast<unsigned char>(list[1]);
                bits[c >> 6] |= uint64_t{1} << (c & 63);
            }
    }
};
constexpr TransliterationBits kTransliterationBits{};

}  // namespace

bool InGbList(const char *list, const char *p) {
    for (; list[0] != '\0' && list[1] != '\0'; list += 2)
        if (list[0] == p[0] && list[1] == p[1]) return true;
    return false;
}

bool IsTransliterationChar(const char *p) {
    const unsigned c = (static_cast<unsigned char>(p[0]) << 8) | static_cast<unsigned char>(p[1]);
    return (kTransliterationBits.bits[c >> 6] >> (c & 63)) & 1;
}

void CorpusPieces(const char *text, size_t length, int32_t tag, const std::vector<uint32_t> &cuts,
                  const std::vector<bool> &runs, const PieceTags &tags, const PersonWords &persons,
                  std::vector<Piece> &out) {
    auto whole = [&]() { out.push_back(Piece{0, static_cast<uint32_t>(length), tag}); };
    if (tag == kPersonTag) {
        // Chinese names of two to four characters, all two-byte Chinese
        // characters (GB2312 rows B0-F7, or the GBK extension areas, which
        // hold characters such as 镕 and 珺); names with a middle dot or other
        // marks are transliterations.
        std::vector<uint32_t> chars = CharEnds(text, length);
        bool han = chars.size() >= 2 && chars.size() <= 4 && length == 2 * chars.size() &&
                   std::memchr(text, '\0', length) == nullptr;
        for (size_t k = 0; han && k < length; k += 2) {
            auto lead = static_cast<unsigned char>(text[k]);
            auto trail = static_cast<unsigned char>(text[k + 1]);
            bool gb2312 = lead >= 0xB0 && lead <= 0xF7 && trail >= 0xA1;
            bool gbkHigh = lead >= 0x81 && lead <= 0xA0 && trail >= 0x40;
            bool gbkLow = lead >= 0xAA && trail >= 0x40 && trail <= 0xA0;
            han = (gb2312 || gbkHigh || gbkLow) && trail != 0x7F && trail != 0xFF;
        }
        if (!han || (chars.size() == 2 && (IsCompoundSurname(text) || InGbList(kNamePrefixChars, text)))) return whole();
        // The training days write this person word as one token (安南, 孔子,
        // 侯老, 小平), not as surname and given name.
        if (persons.KeepsWhole(text, length)) return whole();
        // A two-character name of transliteration characters (利维, 哈桑,
        // 库克) is one token of the corpus, not surname and given name.
        if (chars.size() == 2 && InGbList(text::kForeignSetB, text) && InGbList(text::kForeignSetB, text + 2))
            return whole();
        uint32_t surname = chars.size() >= 3 && IsCompoundSurname(text) ? 4 : 2;
        out.push_back(Piece{0, surname, tag});
        out.push_back(Piece{surname, static_cast<uint32_t>(length), tag});
        return;
    }
    if (IsOrgTag(tag) && cuts.size() > 1) {
        uint32_t start = 0;
        for (size_t k = 0; k < cuts.size(); ++k) {
            const uint32_t end = cuts[k];
            if (end <= start || end > length) continue;
            const bool run = k < runs.size() && runs[k];
            out.push_back(Piece{start, end, tags.Of(text + start, end - start, run ? kPlaceTag : tag)});
            start = end;
        }
        if (start < length) out.push_back(Piece{start, static_cast<uint32_t>(length), tag});
        return;
    }
    whole();
}

}  // namespace vsg::front
