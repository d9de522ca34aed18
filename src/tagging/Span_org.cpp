// Organisation name recognition: reads the organisation roles
// of a run as letters, builds names from body words and closes them at a
// suffix word, then merges each accepted name into one "未##团" record.
//
// Role letters of the organisation role map read here:
//   A        role 0: every word of more than one character (the span gives
//            such words no other role) and the sentence start;
//   C        first single-character word of a name;
//   E        inner single-character word of a name;
//   J        number-like single-character word inside a name (一, 三, 第);
//   D        role 5: the suffix that ends a name (厂, 所, 局, 社 ...);
//   T        a single-character word that is an organisation by itself;
//   1, 4     the words just before and just after a name;
//   Z, z     role 1 (sentence end) and role 14 (the default: every other
//            single-character word); "z" also leads the role string.
// The default role 14, whatever its letter, marks words outside any name.
//
// Because multi-character words always carry role 0, the recogniser also
// reads each record's own rows from the core dictionary. A multi-character
// word opens a name when it is a merged name, a place or organisation word,
// unknown, a proper noun, or begins organisation names in a twentieth of its
// occurrences (its C row against stats[0]); inside a name it is also taken
// with any C or E row or when it is used mostly as a noun. A suffix has an
// organisation row of role D with a value of at least 1.1; a common
// multi-character suffix must also end names in a fifth of its occurrences
// (a tenth, with ten or more, after two words of a name not opened by a place;
// any share after a word that begins names in half of its occurrences),
// and an unknown word is a suffix when its last character is one. A name
// opened by a person name takes nothing but a suffix, a multi-character one
// only when it ends names in 0.35 of its occurrences. A place that opens
// names followed by a word used mostly as an organisation name is one name
// (中国 国务院). A common word that begins ten or more names opens one right
// before a suffix (人民 检察院) or before a body word and a word that ends ten
// or more names (世界 卫生 组织); a measure word, or a numeral before one,
// opens none (第八 届 全国 政协). A name of just two common words needs a
// first word that begins names often or a suffix that mostly ends them, and
// one character not mostly a noun with a suffix word is no name (大 公司).
// A one-character suffix closes only names that begin with a known word (not
// 企管 处, 中 美 两 军), and a one-character abbreviation before a word with an
// organisation row is one name (俄 外交部). A one-character function word
// next to a place or organisation ends the name (中国电信 与 ...), and a name
// begun by an unknown word starts again at a place (投资方 日本 熊谷 集团).
// An unknown word of a place and a character that ends many organisation
// names is one (挪威队).
// The rules, in scan order for each slot:
//   1. "z", "Z", "1", "4" end any name being built (it is dropped).
//   2. While a name is open: round brackets are counted and taken into the
//      name, and everything inside an open bracket is taken as well; a
//      suffix word at bracket depth 0 closes the name (see Accept) unless
//      the next word is a suffix too or one to three multi-character body
//      words or numbers lead to another suffix; a body word or a number
//      (IsAllNum) is appended; anything else drops the name.
//   3. With no name open, a word that opens names and is not a number opens
//      one; a one-character function word or an opening bracket never does.
// A dropped or rejected name still marks its "T" words one by one, and so
// does a "T" word outside any name.
#include <cmath>
#include <cstring>

#include "common/gbtext.h"
#include "common/tagset.h"
#include "tagging/Span.h"
#include "tagging/Span_names.h"
#include "tagging/org_rows.h"
#include "tagging/span_tables.h"
#include "vsglex/utility.h"

namespace {

using vsg::names::CoreClass;
using vsg::names::NameBuffer;
using vsg::names::NameClass;
using vsg::names::RoleString;

const NameClass kOrgName{vsg::kOrgClass, vsg::kOrgTag, 48993u, vsg::kOrgClassWeight};

// Tag set code of organisation rows, and the roles read from them.
constexpr uint16_t kOrgTagSet = vsg::tagging::kOrgRowSet;
constexpr uint8_t kRoleFirst = 2;   // C
constexpr uint8_t kRoleInner = 3;   // E
constexpr uint8_t kRoleSuffix = vsg::tagging::kOrgSuffixRole;  // D
constexpr int32_t kDefaultRole = vsg::kOrgDefaultRole;
// Part-of-speech tags of place, transliterated place and organisation names,
// and of other proper nouns.
constexpr uint8_t kPosPlace = vsg::kPlaceTag;
constexpr uint8_t kPosForeignPlace = vsg::kForeignPlaceTag;
constexpr uint8_t kPosOrg = vsg::kOrgTag;
constexpr int kPosOtherProper = vsg::kOtherProperTag;
// Part-of-speech tag of measure words (届, 家, 次).
constexpr int kPosMeasure = 7;
// Part-of-speech tag of numerals (第六, 九).
constexpr int kPosNumeral = 6;
// Part-of-speech tag of abbreviations (俄, 菲: a country by one character).
constexpr int kPosAbbreviation = 21;
// A suffix row must carry at least this value (the log of its count).
constexpr float kMinSuffixValue = vsg::tagging::kMinOrgSuffixValue;
// Single-character body letters chosen by the search.
constexpr char kBodyLetters[] = "CEJ";
// A two-slot name read as "JD" or "CD" must be longer than this.
constexpr size_t kMinShortNameBytes = 4;
// Most multi-character body words between a suffix word and a later suffix
// word of the same name (北京大学 出版社; 咸阳市工商局 商标 广告 管理所).
constexpr int32_t kMaxLookahead = 3;
// A common word opens a name only when at least this share of its
// occurrences begins an organisation name (one in twenty).
constexpr float kMinOpenShare = 0.05f;
// A common word under that share opens a name right before a suffix word
// when its first-word row holds at least this value (the log of the count).
constexpr float kMinFirstValue = 2.4f;
// A common multi-character word closes a name only when at least this share
// of its occurrences ends an organisation name.
constexpr float kMinSuffixShare = 0.2f;
// After two or more words of a name not opened by a place, a word that ends
// ten or more names (its suffix row at least 2.4) closes the name with half
// that share (国际 货币 基金 组织).
constexpr float kMinLongSuffixValue = 2.4f;
constexpr float kMinLongSuffixShare = 0.1f;
// A name opened by a common word that begins names in at least this share
// of its occurrences closes at a word that ends ten or more names, whatever
// that word's share.
constexpr float kMinStrongOpenShare = 0.5f;
// An unknown word of a place and one more character is an organisation by
// itself when that character's value in the organisation suffix data (the log
// of the names it ends, plus one) is at least this: 队 and 部 (several hundred
// names), 局 (about thirty); not 站 (three).
constexpr double kMinPlaceSuffixValue = 3.0;
// After a person name a multi-character suffix must end names in at least
// this share of its occurrences (宋庆龄 基金会; not 克林顿 政府).
constexpr float kMinPersonSuffixShare = 0.35f;

// A name of just two multi-character words, the first a common word (no
// name, not unknown, no proper noun) that opened it by its share, is
// accepted only when the first word begins names in at least
// kMinPairOpenShare of its occurrences or the second ends names in at least
// kMinPairSuffixShare of them: the corpus mostly leaves such pairs
// unbracketed (人民 政协, 全国 海关, 航空 公司).
constexpr float kMinPairOpenShare = 0.1f;
constexpr float kMinPairSuffixShare = 0.5f;

// One-character words that the role model often takes for suffixes.
// Function words and date/dispatch markers never close a name.
constexpr const char *kNeverSuffix[] = {
    "\xb6\xd4" /* 对 */, "\xcf\xf2" /* 向 */, "\xc4\xdc" /* 能 */,
    "\xb1\xbe" /* 本 */, "\xc8\xd5" /* 日 */, "\xb5\xe7" /* 电 */,
};
// 中 closes a name only right after a number (四中: a numbered school).
constexpr char kMiddle[] = "\xd6\xd0"; /* 中 */
// 所 and 局 close a name only after a multi-character word that is not a
// number (研究所, 公安局; not 第三局, not the particle 所).
constexpr const char *kAfterWordSuffix[] = {"\xcb\xf9" /* 所 */, "\xbe\xd6" /* 局 */};

constexpr char kOpenBrackets[][4] = {"\xa3\xa8" /* （ */, "("};
constexpr char kCloseBrackets[][4] = {"\xa3\xa9" /* ） */, ")"};

// Whether a role letter ends any name being built.
bool IsTerminator(char c) { return c == 'z' || c == 'Z' || c == '1' || c == '4'; }

template <size_t N, typename T>
bool IsOneOf(const char *text, const T (&words)[N]) {
    for (const auto &w : words) {
        if (vsg::names::IsWord(text, w)) return true;
    }
    return false;
}

// Whether the record has an organisation row of `role` with at least `min`.
bool HasOrgRow(const SpanWord &record, uint8_t role, float min) {
    if (record.posList == nullptr) return false;
    for (int32_t k = 0; k < record.posCount && k < 256; ++k) {
        const DictSRow &row = record.posList[k];
        if (row.code == kOrgTagSet && row.subCode == role && row.value >= min) return true;
    }
    return false;
}

// The fact bits (org_rows.h) of the record's rows: kept in the span's
// tables for a record that carries its entry's mark, else read from the rows.
uint32_t FactsOf(const CSpan *span, const SpanWord &record) {
    const int32_t facts = span->tables != nullptr ? span->tables->Facts(record) : -1;
    return facts >= 0 ? static_cast<uint32_t>(facts) : vsg::tagging::OrgRowFacts(record.posList, record.posCount);
}

// Part-of-speech tags of the noun classes that fill the inside of a name:
// noun, verbal noun, adjectival noun, distinguishing word, abbreviation,
// other proper noun.
constexpr uint8_t kNounTags[] = {2, 15, 16, 19, 21, 25};

// The record's most frequent part-of-speech tag, -1 without such rows.
int MainPosTag(const CSpan *span, const SpanWord &record) {
    const uint32_t facts = FactsOf(span, record);
    return (facts & vsg::tagging::kFactMainTag) != 0 ? static_cast<int>((facts >> vsg::tagging::kFactMainTagShift) & 0xFF)
                                                     : -1;
}

// Whether the record's most frequent part-of-speech row is a noun class.
bool IsNounLike(const CSpan *span, const SpanWord &record) {
    const int tag = MainPosTag(span, record);
    for (uint8_t t : kNounTags) {
        if (tag == t) return true;
    }
    return false;
}

// Whether the record has a part-of-speech row of organisation name: its
// fact bit (the entry's record, which the class assignment and the
// part-of-speech fill read next, rather than the rows).
bool HasOrgPosRow(const CSpan *span, const SpanWord &record) {
    return (FactsOf(span, record) & vsg::tagging::kFactOrgPosRow) != 0;
}

// Whether the record is a word the core dictionary does not know (no
// rows) and no merged name.
bool IsUnknown(const SpanWord &record) {
    return record.classText[0] == '\0' && (record.posList == nullptr || record.posCount <= 0);
}

// Whether the record has a part-of-speech row of a place, transliterated
// place or organisation name.
bool HasNameRow(const CSpan *span, const SpanWord &record) {
    return (FactsOf(span, record) & vsg::tagging::kFactNameRow) != 0;
}

class OrgScan : private vsg::names::RunScan {
public:
    using RunScan::RunScan;

    void Run();

private:
    // Record of a slot (start + slot - 1); always below arrayLength_ for the
    // slots of the role string.
    SpanWord &Record(int32_t slot) const { return results_[start_ + slot - 1]; }
    bool IsMultiChar(int32_t slot) const {
        // More than two bytes before the terminator.
        const char *text = Record(slot).text;
        return text[0] != '\0' && text[1] != '\0' && text[2] != '\0';
    }
    // IsAllNum of the slot's text, asked once per slot (a scan asks it of
    // most slots several times).
    bool IsNumber(int32_t slot) const {
        if (slot < 0 || slot >= kSpanSlots) return IsAllNum(Record(slot).text) == 1;
        int8_t &known = numbers_[slot];
        if (known < 0) known = IsAllNum(Record(slot).text) == 1 ? 1 : 0;
        return known == 1;
    }
    // Whether the slot holds a numeral followed by a one-character measure
    // word (第六 届, 九 届): a quantity, which no name begins with.
    bool CountsMeasure(int32_t slot) const {
        if (slot + 1 >= roles_.n || IsMultiChar(slot + 1) || MainPosTag(span_, Record(slot + 1)) != kPosMeasure)
            return false;
        return roles_.At(slot) == 'J' || MainPosTag(span_, Record(slot)) == kPosNumeral;
    }
    // Whether a common word that begins many names, though under the share
    // (人民, 国际, 世界), stands right before a suffix word (人民 检察院), or
    // before one body word and a word that closes names of three words
    // (世界 卫生 组织: a suffix row of 2.4 at a share of 0.1).
    bool OpensBeforeSuffix(int32_t slot) const {
        if (!IsMultiChar(slot) || slot + 1 >= roles_.n || IsTerminator(roles_.At(slot + 1))) return false;
        if (!HasOrgRow(Record(slot), kRoleFirst, kMinFirstValue) || !IsMultiChar(slot + 1)) return false;
        if (IsSuffix(slot + 1)) return true;
        const int32_t end = slot + 2;
        if (end >= roles_.n || IsTerminator(roles_.At(end)) || !IsMultiChar(end)) return false;
        if (IsNumber(slot + 1) || span_->bestTag[slot + 1] == kDefaultRole || !IsBody(slot + 1)) return false;
        const SpanWord &last = Record(end);
        return last.classText[0] == '\0' && HasOrgRow(last, kRoleSuffix, kMinLongSuffixValue) &&
               OrgRowShare(last, kRoleSuffix) >= kMinLongSuffixShare;
    }
    // Whether the slot holds a one-character abbreviation (俄, 菲) right
    // before a word that has a part-of-speech row of organisation name
    // (外交部, 卫生部): the country's ministry, one name. Not after another one-character
    // abbreviation: 中 美 外交部 lists countries.
    bool AbbreviationThenOrg(int32_t slot) const {
        if (slot < 1 || slot + 1 >= roles_.n || IsMultiChar(slot) || !IsMultiChar(slot + 1)) return false;
        // The next word's rows first: organisation rows are rare.
        if (!HasOrgPosRow(span_, Record(slot + 1)) || MainPosTag(span_, Record(slot)) != kPosAbbreviation) return false;
        return slot == 1 || IsMultiChar(slot - 1) || MainPosTag(span_, Record(slot - 1)) != kPosAbbreviation;
    }
    // Whether the slot holds a merged name or a multi-character word with a
    // part-of-speech row of place or organisation name.
    bool IsNameWord(int32_t slot) const {
        if (slot < 1 || slot >= roles_.n) return false;
        const SpanWord &r = Record(slot);
        return r.classText[0] != '\0' || (IsMultiChar(slot) && r.posList != nullptr && HasNameRow(span_, r));
    }
    // Whether the slot holds a multi-character place: a merged place or a
    // word used mostly as a place name.
    bool IsPlaceWord(int32_t slot) const {
        if (!IsMultiChar(slot)) return false;
        const SpanWord &r = Record(slot);
        const int tag = MainPosTag(span_, r);
        return vsg::names::IsWord(r.classText, vsg::kPlaceClass) || tag == kPosPlace || tag == kPosForeignPlace;
    }
    // Whether a suffix word lies between the open name's first slot and slot.
    bool SuffixTaken(int32_t slot) const {
        for (int32_t k = first_ + 1; k < slot; ++k) {
            if (IsSuffix(k)) return true;
        }
        return false;
    }
    // Whether the slot holds a word the dictionary does not know whose last
    // character is in the organisation suffix data at kMinPlaceSuffixValue
    // and whose other characters are a word used mostly as a place name.
    bool IsPlaceAndSuffix(int32_t slot) const;
    // Whether the two words at first and suffix are too common to be a name
    // of two words by themselves (see kMinPairOpenShare).
    bool IsWeakPair(int32_t first, int32_t suffix) const;
    // Whether the slot's word can be part of a name's body.
    bool IsBody(int32_t slot, bool opening = false) const;
    // Share of the word's occurrences seen in organisation role `role`
    // ((count + 1) / (total + 1)), 0 without such a row.
    static float OrgRowShare(const SpanWord &r, uint8_t role);
    // Whether the slot's word can close a name as its suffix.
    bool IsSuffix(int32_t slot) const;
    // Whether one to kMaxLookahead multi-character body words or numbers
    // after slot lead to another suffix word (北京大学 出版社).
    bool SuffixFollows(int32_t slot) const;
    // Whether the core dictionary entry of the word's last character has a
    // suffix row of at least 1.1.
    bool LastCharIsSuffix(const SpanWord &r) const;
    // Opens a name at slot.
    void Open(int32_t slot);
    // Appends the word of slot to the open name.
    void Take(int32_t slot) {
        name_.Append(Record(slot).text);
        last_ = slot;
    }
    // Offers slot to the open name; false when the name was dropped and the
    // slot is still to be looked at on its own.
    bool Extend(int32_t slot);
    // Drops the open name, marking its one-word organisations.
    void Drop();
    // Closes the open name at the suffix slot; writes it when accepted.
    void Accept(int32_t suffix);
    // Marks the "T" word of slot as an organisation by itself.
    void MarkSingle(int32_t slot);

    RoleString roles_{};
    // Per slot: 1 a number, 0 not, -1 not asked yet (or its text changed).
    mutable int8_t numbers_[kSpanSlots];

    bool open_ = false;
    int32_t first_ = 0;      // first slot of the open name
    int32_t last_ = 0;       // last slot taken into it
    int32_t depth_ = 0;      // open round brackets
    bool hasWord_ = false;   // a body word that is not a number was taken
    bool personLed_ = false; // the name opened with a person name
    bool placeLed_ = false;  // the name opened with a place name
    bool abbrevLed_ = false; // the name opened with an abbreviation before an organisation word
    bool unknownLed_ = false; // the name opened with a word the dictionary does not know
    NameBuffer name_;
};

bool OrgScan::IsBody(int32_t slot, bool opening) const {
    const char c = roles_.At(slot);
    const SpanWord &r = Record(slot);
    // A one-character function word or punctuation mark never begins a
    // name, whatever its role (与 波音公司, （ 党组 ）).
    if (opening && !IsMultiChar(slot) &&
        (vsg::IsFunctionOrPunctTag(MainPosTag(span_, r)) || IsOneOf(r.text, kOpenBrackets))) {
        return false;
    }
    // Nor does a one-character measure word (届 in 第八 届 全国 政协: the
    // number and its measure stand before the name).
    if (opening && !IsMultiChar(slot) && MainPosTag(span_, r) == kPosMeasure) return false;
    if (c != '\0' && std::strchr(kBodyLetters, c) != nullptr) return true;
    if (c == 'T') return true;
    if (!IsMultiChar(slot)) return false;
    if (vsg::names::IsWord(r.text, vsg::kStartWord) || vsg::names::IsWord(r.text, vsg::kEndWord)) {
        return false;
    }
    // Merged names and class words are frequent parts of organisation names.
    if (r.classText[0] != '\0') {
        return true;
    }
    // A word the core dictionary does not know is most often a proper
    // name (超市发, 检疫站) and is taken as body.
    if (r.posList == nullptr || r.posCount <= 0) return true;
    // Place and organisation names (part-of-speech rows) begin many names.
    if (HasNameRow(span_, r)) return true;
    // A proper noun of another kind (金鹏, 中远) opens names as well.
    if (opening && MainPosTag(span_, r) == kPosOtherProper) return true;
    if (opening) return OrgRowShare(r, kRoleFirst) >= kMinOpenShare;
    if (HasOrgRow(r, kRoleFirst, 0.0f) || HasOrgRow(r, kRoleInner, 0.0f)) return true;
    // Inside a name any word used mostly as a noun is taken (动物 in
    // 太原市动物检疫站, 邮政 速递 in 合肥市邮政速递公司).
    return IsNounLike(span_, r);
}

float OrgScan::OrgRowShare(const SpanWord &r, uint8_t role) {
    float best = -1.0f;
    for (int32_t k = 0; k < r.posCount && k < 256; ++k) {
        const DictSRow &row = r.posList[k];
        if (row.code == kOrgTagSet && row.subCode == role && row.value > best) best = row.value;
    }
    if (best < 0.0f) return 0.0f;
    // stats[0] is the log of the word's count plus one in the core dictionary.
    return std::exp(best - r.stats[0]);
}

bool OrgScan::IsSuffix(int32_t slot) const {
    const SpanWord &r = Record(slot);
    if (roles_.At(slot) != 'D' && !IsMultiChar(slot)) return false;
    if (IsMultiChar(slot) && (r.posList == nullptr || r.posCount <= 0)) {
        // A word the dictionary does not know (检疫站) ends a name when its
        // last character is a suffix by its own rows.
        return LastCharIsSuffix(r);
    }
    if ((FactsOf(span_, r) & vsg::tagging::kFactOrgSuffixRow) == 0) return false;
    // A common multi-character word closes a name only when it ends one in
    // at least a fifth of its occurrences (公司, 委员会; not 组织, 系统).
    if (!IsMultiChar(slot) || r.classText[0] != '\0') return true;
    const float share = OrgRowShare(r, kRoleSuffix);
    if (share >= kMinSuffixShare) return true;
    // After two or more words a word that ends many names, though under the
    // share, closes the name too (国际 货币 基金 组织); not after a place,
    // where the corpus mostly writes a place and common nouns.
    if (!open_ || placeLed_ || last_ != slot - 1 || !HasOrgRow(r, kRoleSuffix, kMinLongSuffixValue)) return false;
    // After a word that begins names in most of its occurrences (民革, 世贸)
    // such a word closes the name whatever its share (民革 中央, 世贸 组织).
    if (OrgRowShare(Record(first_), kRoleFirst) >= kMinStrongOpenShare) return true;
    return slot > first_ + 1 && share >= kMinLongSuffixShare;
}

bool OrgScan::IsWeakPair(int32_t first, int32_t suffix) const {
    if (!IsMultiChar(first) || !IsMultiChar(suffix)) return false;
    const SpanWord &f = Record(first);
    if (f.classText[0] != '\0' || f.posList == nullptr || f.posCount <= 0 || HasNameRow(span_, f) ||
        MainPosTag(span_, f) == kPosOtherProper) {
        return false;
    }
    // A word under the opener share opened the name only because it begins
    // many names right before a suffix (人民 检察院, 世界 银行): left alone.
    const float open = OrgRowShare(f, kRoleFirst);
    return open >= kMinOpenShare && open < kMinPairOpenShare &&
           OrgRowShare(Record(suffix), kRoleSuffix) < kMinPairSuffixShare;
}

bool OrgScan::LastCharIsSuffix(const SpanWord &r) const {
    const size_t len = vsg::names::TextLength(r.text);
    if (len < 4 || static_cast<unsigned char>(r.text[len - 2]) < 0x80) return false;
    const char last[3] = {r.text[len - 2], r.text[len - 1], '\0'};
    const DictionaryS &core = engine_->core;
    const int32_t at = DictionaryS_GetCoreInfo(last, &core);
    if (at < 0 || core.entries == nullptr || at >= core.count) return false;
    SpanWord character{};
    character.posList = core.entries[at].posList;
    character.posCount = core.entries[at].posCount;
    return HasOrgRow(character, kRoleSuffix, kMinSuffixValue);
}

bool OrgScan::IsPlaceAndSuffix(int32_t slot) const {
    if (!IsMultiChar(slot) || !IsUnknown(Record(slot))) return false;
    const char *text = Record(slot).text;
    const size_t len = vsg::names::TextLength(text);
    char stem[vsg::names::kMaxNameBytes + 1];
    if (len < 6 || len - 2 >= sizeof stem || static_cast<unsigned char>(text[len - 2]) < 0x80) return false;
    const char last[3] = {text[len - 2], text[len - 1], '\0'};
    if (Dictionary_GetValue(last, &engine_->affix[VSG_AFFIX_ORG_SUFFIX]) < kMinPlaceSuffixValue) return false;
    std::memcpy(stem, text, len - 2);
    stem[len - 2] = '\0';
    const DictionaryS &core = engine_->core;
    const int32_t at = DictionaryS_GetCoreInfo(stem, &core);
    if (at < 0 || core.entries == nullptr || at >= core.count) return false;
    SpanWord entry{};
    entry.posList = core.entries[at].posList;
    entry.posCount = core.entries[at].posCount;
    const int tag = MainPosTag(span_, entry);
    return tag == kPosPlace || tag == kPosForeignPlace;
}

bool OrgScan::SuffixFollows(int32_t slot) const {
    for (int32_t j = slot + 1; j < roles_.n && j - slot <= kMaxLookahead + 1; ++j) {
        if (IsTerminator(roles_.At(j))) return false;
        if (j > slot + 1 && IsSuffix(j)) return true;
        // A number on the way is part of the name (北京军区 ２５１ 医院, 二
        // 总队 十五 支队).
        if (IsNumber(j)) continue;
        if (!IsMultiChar(j) || !IsBody(j)) return false;
    }
    return false;
}

void OrgScan::Open(int32_t slot) {
    open_ = true;
    first_ = slot;
    depth_ = 0;
    hasWord_ = !IsNumber(slot);
    personLed_ = vsg::names::IsWord(Record(slot).classText, vsg::kPersonClass);
    abbrevLed_ = false;
    unknownLed_ = IsMultiChar(slot) && IsUnknown(Record(slot));
    placeLed_ = vsg::names::IsWord(Record(slot).classText, vsg::kPlaceClass) ||
                MainPosTag(span_, Record(slot)) == kPosPlace || MainPosTag(span_, Record(slot)) == kPosForeignPlace;
    name_.Clear();
    Take(slot);
}

void OrgScan::MarkSingle(int32_t slot) {
    const int32_t record = start_ + slot - 1;
    vsg::names::WriteNameRecord(&results_[record], nullptr, kOrgName, span_->offset[slot],
                                &engine_->core, CoreClass::kOrganisation);
    vsg::names::LinkIntoGraph(graph_, results_, arrayLength_, record, record + 1);
}

void OrgScan::Drop() {
    if (!open_) return;
    open_ = false;
    for (int32_t s = first_; s <= last_; ++s) {
        if (roles_.At(s) == 'T') MarkSingle(s);
    }
}

void OrgScan::Accept(int32_t suffix) {
    const char *word = Record(suffix).text;
    const int32_t before = suffix - 1;  // the slot before is in the name
    bool ok = hasWord_;
    if (IsOneOf(word, kNeverSuffix)) ok = false;
    if (vsg::names::IsWord(word, kMiddle) && !IsNumber(before)) ok = false;
    if (IsOneOf(word, kAfterWordSuffix) && (!IsMultiChar(before) || IsNumber(before))) ok = false;

    name_.Append(word);
    const int32_t slots = suffix - first_ + 1;
    if (slots == 2 && roles_.At(suffix) == 'D' &&
        (roles_.At(first_) == 'J' || roles_.At(first_) == 'C') &&
        name_.Length() <= kMinShortNameBytes) {
        ok = false;
    }
    if (name_.Length() > vsg::names::kMaxNameBytes) ok = false;
    if (slots == 2 && IsWeakPair(first_, suffix)) ok = false;
    // Nor is a one-character word that is not mostly a noun, with a suffix
    // alone, a name: it qualifies a common noun (大 公司, 小 厂, 进 厂, 二 大队).
    if (slots == 2 && !IsMultiChar(first_) && !IsNumber(first_) && !IsNounLike(span_, Record(first_))) ok = false;
    // A one-character suffix (厂, 处, 军) says little by itself: it closes a
    // name only when the first word is known to begin names or be one, not
    // after a word the dictionary does not know or a single character (企管
    // 处, 登机口 处, 中 美 两 军, 三 华里 处).
    if (!IsMultiChar(suffix) && (!IsMultiChar(first_) || IsUnknown(Record(first_)))) ok = false;
    if (!ok) {
        Drop();
        return;
    }
    open_ = false;
    const int32_t record = start_ + first_ - 1;
    vsg::names::WriteNameRecord(&results_[record], name_.Text(), kOrgName,
                                span_->offset[first_], &engine_->core,
                                CoreClass::kOrganisation);
    numbers_[first_] = -1;  // the slot's record holds the name now
    Merge(record + 1, slots - 1);
    vsg::names::LinkIntoGraph(graph_, results_, arrayLength_, record, record + slots);
}

void OrgScan::Run() {
    if (span_->bestTag[1] == kNoTag) return;
    vsg::names::BuildRoleString(span_, &engine_->tagModels[VSG_TAG_ORG].map, 'z', start_,
                                arrayLength_, &roles_);
    std::memset(numbers_, -1, sizeof numbers_);
    for (int32_t s = 1; s < roles_.n; ++s) {
        const char c = roles_.At(s);
        if (!open_) {
            // The role search often leaves the abbreviation outside (俄
            // 外交部): whatever its letter it opens a name.
            if (!IsMultiChar(s)) {
                if (AbbreviationThenOrg(s)) {
                    Open(s);
                    abbrevLed_ = true;
                    continue;
                }
            } else if (IsPlaceAndSuffix(s)) {
                // A word the dictionary does not know, made of a place and a
                // character that ends many organisation names, is a team or
                // office of that place by itself (挪威队, 华北局).
                MarkSingle(s);
                continue;
            }
        }
        if (c == 'z' || c == 'Z' || c == '1' || c == '4') {
            Drop();
            continue;
        }
        if (open_ && Extend(s)) continue;
        if (span_->bestTag[s] != kDefaultRole && (IsBody(s, true) || OpensBeforeSuffix(s)) && !IsNumber(s) &&
            !CountsMeasure(s)) {
            Open(s);
        } else if (c == 'T') {
            MarkSingle(s);
        }
    }
    Drop();
}

bool OrgScan::Extend(int32_t s) {
    const char *word = Record(s).text;
    if (IsOneOf(word, kOpenBrackets)) {
        ++depth_;
        Take(s);
        return true;
    }
    if (IsOneOf(word, kCloseBrackets)) {
        if (depth_ == 0) {
            Drop();
            return true;  // a stray closing bracket starts nothing either
        }
        --depth_;
        Take(s);
        return true;
    }
    if (depth_ > 0) {
        // A name never closes inside an open bracket.
        Take(s);
        return true;
    }
    // A one-character function word joins the words around it into one name
    // (美国 食品 与 药品 管理局), but not names: next to a place or an
    // organisation it stands between two names (中国电信 与 美国 ..., 伊拉克 与
    // 联合国 特委会).
    if (!IsMultiChar(s) && (IsNameWord(s - 1) || IsNameWord(s + 1)) &&
        vsg::IsFunctionOrPunctTag(MainPosTag(span_, Record(s)))) {
        Drop();
        return false;
    }
    // A name begun by a word the dictionary does not know starts again at a
    // place met before any suffix: the unknown word mostly describes what
    // follows (投资方 日本 熊谷 集团, 热水瓶 深圳市 海马 电器 有限公司).
    if (unknownLed_ && IsPlaceWord(s) && !SuffixTaken(s)) {
        Drop();
        return false;
    }
    // A person name begins only a two-word name closed by a strong suffix
    // (宋庆龄 基金会); longer runs after a person are mostly a sentence going
    // on (李克强 代表 全国总工会), and a weaker suffix word mostly a common
    // noun (克林顿 政府).
    if (personLed_ &&
        (!IsSuffix(s) || (IsMultiChar(s) && OrgRowShare(Record(s), kRoleSuffix) < kMinPersonSuffixShare))) {
        Drop();
        return false;
    }
    // A place followed by a word used mostly as an organisation name is one
    // name (中国 国务院, 日本 大藏省), and so is a one-character abbreviation
    // followed by a word with an organisation row (俄 外交部).
    const bool placeThenOrg =
        s == first_ + 1 && IsMultiChar(s) &&
        (abbrevLed_ || (placeLed_ && MainPosTag(span_, Record(s)) == kPosOrg &&
                        OrgRowShare(Record(first_), kRoleFirst) >= kMinOpenShare));
    if (placeThenOrg || IsSuffix(s)) {
        // Of consecutive suffix words (公安局 党委) the last closes the name,
        // and so does a later suffix reached over a few body words.
        const char n = roles_.At(s + 1);
        if (s + 1 < roles_.n && n != 'z' && n != 'Z' && n != '1' && n != '4' && IsSuffix(s + 1)) {
            hasWord_ = true;
            Take(s);
            return true;
        }
        if (SuffixFollows(s)) {
            hasWord_ = true;
            Take(s);
            return true;
        }
        Accept(s);
        return true;
    }
    if (IsNumber(s)) {
        Take(s);
        return true;
    }
    if (span_->bestTag[s] != kDefaultRole && IsBody(s)) {
        hasWord_ = true;
        Take(s);
        return true;
    }
    Drop();
    return false;
}

// Whether the scan of the run held in `span` could write anything. It
// writes only by marking a T word (at once, or when the name holding it is
// dropped), at an unknown multi-character word made of a place and a suffix
// character, and when it accepts a name at a slot that can close one: one
// whose IsSuffix can hold (a D word or a multi-character word, with an
// organisation suffix row of at least kMinSuffixValue, or a
// multi-character word without rows, judged by its last character), or a
// multi-character word with an organisation part-of-speech row (the second
// word after a place or an abbreviation). So a run without a T letter, a D
// word with such a row and a multi-character word of these kinds cannot
// change the array. The slots looked at are those of the role string and
// possibly more (up to the end record), which only makes this say yes more
// often.
bool MayWrite(const CSpan *span, const SpanWord *results, const POSmap *map, int32_t start) {
    // Tags whose letter is T or D.
    uint64_t letterT[4] = {};
    uint64_t letterD[4] = {};
    const char *const *texts = map->tags;
    const int32_t count = texts != nullptr ? map->count : 0;
    for (int32_t tag = 0; tag < count && tag < 256; ++tag) {
        if (texts[tag] == nullptr) continue;
        const uint64_t bit = uint64_t{1} << (tag & 63);
        if (texts[tag][0] == 'T') letterT[tag >> 6] |= bit;
        if (texts[tag][0] == 'D') letterD[tag >> 6] |= bit;
    }
    // A run that starts at or past the end record has an empty role
    // string. From record 0 the loop below stops at the end record itself.
    if (start > 0 && start >= vsg::names::ArrayLength(results)) return false;
    for (int32_t i = 1; i < kSpanSlots && span->bestTag[i] != kNoTag && start + i - 1 < VSG_SPAN_WORDS; ++i) {
        const SpanWord &r = results[start + i - 1];
        const char *text = r.text;
        if (text[0] == '\0') break;  // the end record: the role string stops before it
        const uint8_t tag = span->bestTag[i];
        if ((letterT[tag >> 6] >> (tag & 63)) & 1) return true;
        const bool multiChar = text[1] != '\0' && text[2] != '\0';
        if (multiChar) {
            if (r.posList == nullptr || r.posCount <= 0) return true;
            if ((FactsOf(span, r) & (vsg::tagging::kFactOrgPosRow | vsg::tagging::kFactOrgSuffixRow)) != 0) return true;
        } else if (((letterD[tag >> 6] >> (tag & 63)) & 1) &&
                   (FactsOf(span, r) & vsg::tagging::kFactOrgSuffixRow) != 0) {
            return true;
        }
    }
    return false;
}

}  // namespace

int32_t CSpan_OrgRecognize(CSpan *span, SpanWord *results, const SegmentEngine *engine,
                           int32_t start, WordGraph *graph) {
    if (span == nullptr || results == nullptr || engine == nullptr || start < 0) return 1;
    if (!MayWrite(span, results, &engine->tagModels[VSG_TAG_ORG].map, start)) return 1;
    OrgScan(span, results, engine, start, graph).Run();
    return 1;
}
