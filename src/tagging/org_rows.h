// The facts of a core-dictionary entry's rows that the organisation scan
// asks of most words before it scans (Span_org.cpp), and the name class the
// engine's class assignment gives a long word of the entry: kept once per
// entry in the span tables' records (SpanTables::Facts), and read from the
// rows for a word that carries none.
#ifndef VSGLEX_SRC_TAGGING_ORG_ROWS_H
#define VSGLEX_SRC_TAGGING_ORG_ROWS_H

#include <cstdint>

#include "common/class_rows.h"
#include "common/tagset.h"
#include "vsglex/model.h"

namespace vsg::tagging {

// Tag set code of organisation rows.
inline constexpr uint16_t kOrgRowSet = 3;
using vsg::kMinOrgSuffixValue;
using vsg::kOrgSuffixRole;

// Fact bits: a part-of-speech row of organisation names; an organisation
// suffix row of at least kMinOrgSuffixValue; a part-of-speech row of a
// place, transliterated place or organisation name; a most frequent
// part-of-speech tag (MainPosRowTag), held in bits 8-15; the name tag of
// the rows (vsg::ClassTagOfRows) as a code in bits 4-6 (ClassTagOfFacts).
inline constexpr uint32_t kFactOrgPosRow = 1;
inline constexpr uint32_t kFactOrgSuffixRow = 2;
inline constexpr uint32_t kFactNameRow = 4;
inline constexpr uint32_t kFactMainTag = 8;
inline constexpr int kFactClassShift = 4;
inline constexpr uint32_t kFactClassMask = 7u << kFactClassShift;
inline constexpr int kFactMainTagShift = 8;

// The name tags of the class code, code 0 none.
inline constexpr int kClassTagOfCode[8] = {-1, vsg::kPersonTag, vsg::kForeignPersonTag, vsg::kPlaceTag,
                                           vsg::kForeignPlaceTag, vsg::kOrgTag, -1, -1};

// The code of a name tag (ClassTagOfRows), 0 for -1.
inline uint32_t ClassCode(int tag) {
    for (uint32_t code = 1; code < 8; ++code)
        if (kClassTagOfCode[code] == tag) return code;
    return 0;
}

// The name tag the rows give a long word (vsg::ClassTagOfRows), from
// their fact bits.
inline int ClassTagOfFacts(uint32_t facts) { return kClassTagOfCode[(facts & kFactClassMask) >> kFactClassShift]; }

// The tag of the part-of-speech row of highest value (the first of equal
// ones), -1 without such rows (at most the first 256 rows are looked at).
inline int MainPosRowTag(const DictSRow *rows, int32_t count) {
    float best = -1e9f;
    int tag = -1;
    if (rows == nullptr) return tag;
    for (int32_t k = 0; k < count && k < 256; ++k) {
        const DictSRow &row = rows[k];
        if (row.code == 0 && row.value > best) {
            best = row.value;
            tag = row.subCode;
        }
    }
    return tag;
}

// The fact bits of rows given one by one in order (Add with the row's
// index), so that a pass over the rows for other ends can gather them:
// Org() is OrgRowFacts, Entry() EntryFacts of the rows added.
class RowFacts {
public:
    void Add(const DictSRow &row, int32_t k) {
        // The organisation facts and the main tag look at the first 256
        // rows only; the class at every row.
        if (k < 256) {
            if (row.code == 0) {
                if (row.subCode == vsg::kOrgTag) facts_ |= kFactOrgPosRow | kFactNameRow;
                if (row.subCode == vsg::kPlaceTag || row.subCode == vsg::kForeignPlaceTag) facts_ |= kFactNameRow;
                if (row.value > best_) {
                    best_ = row.value;
                    tag_ = row.subCode;
                }
            }
            if (row.code == kOrgRowSet && row.subCode == kOrgSuffixRole && row.value >= kMinOrgSuffixValue)
                facts_ |= kFactOrgSuffixRow;
        }
        const int t = vsg::ClassTagOfRow(row.subCode, static_cast<double>(row.value));
        if (t >= 0) class_ = t;
    }
    uint32_t Org() const {
        return tag_ >= 0 ? facts_ | kFactMainTag | (static_cast<uint32_t>(tag_) << kFactMainTagShift) : facts_;
    }
    uint32_t Entry() const { return Org() | (ClassCode(class_) << kFactClassShift); }

private:
    uint32_t facts_ = 0;
    float best_ = -1e9f;  // value of the main tag's row (MainPosRowTag)
    int tag_ = -1;
    int class_ = -1;  // vsg::ClassTagOfRows
};

// The fact bits of `count` rows that the organisation scan asks (at most
// the first 256 are looked at).
inline uint32_t OrgRowFacts(const DictSRow *rows, int32_t count) {
    RowFacts facts;
    if (rows == nullptr) return 0;
    for (int32_t k = 0; k < count && k < 256; ++k) facts.Add(rows[k], k);
    return facts.Org();
}

// The fact bits of `count` rows and their class code: what an entry's
// record keeps.
inline uint32_t EntryFacts(const DictSRow *rows, int32_t count) {
    RowFacts facts;
    if (rows != nullptr)
        for (int32_t k = 0; k < count; ++k) facts.Add(rows[k], k);
    return facts.Entry();
}

}  // namespace vsg::tagging

#endif  // VSGLEX_SRC_TAGGING_ORG_ROWS_H
