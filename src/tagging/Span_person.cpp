// Person name recognition: reads the person roles of a run as letters,
// matches them against a fixed pattern table and merges the matched words
// of the word array into one "未##人" record; a second rule merges
// transliterated and Japanese-style names.
//
// Role letters read here (their numbers come from the person role map):
//   C, D, E, F, G, H, I, J, K  parts of a Chinese name, combined by the
//                               pattern table below;
//   L, M, N                     begin, middle and end of a transliterated name;
//   O, P, Q                     begin, middle and end of a Japanese-style name;
//   Z, z                        no letter may be matched here.
#include <cstring>

#include "common/gbtext.h"
#include "common/tagset.h"
#include "tagging/Span.h"
#include "tagging/Span_names.h"
#include "vsglex/utility.h"

namespace {

using vsg::names::CoreClass;
using vsg::names::NameBuffer;
using vsg::names::NameClass;
using vsg::names::RoleString;

struct Pattern {
    const char *roles;
    int32_t length;
};

// Tried in this order at each position; the table ends with length 0.
constexpr Pattern kPatterns[] = {
    {"CCDE", 4}, {"CCD", 3}, {"CCF", 3}, {"CCK", 3}, {"CDE", 3}, {"CFF", 3},
    {"CF", 2},   {"CH", 2},  {"CIE", 3}, {"CK", 2},  {"DEDE", 4}, {"DE", 2},
    {"FF", 2},   {"GC", 2},  {"J", 1},   {"IE", 2},  {"", 0},
};
constexpr bool LengthsMatch() {
    for (const Pattern &p : kPatterns) {
        int32_t n = 0;
        while (p.roles[n] != '\0') ++n;
        if (n != p.length) return false;
    }
    return true;
}
static_assert(LengthsMatch(), "every pattern's length is the length of its letters");
constexpr bool FirstLettersKnown() {
    for (const Pattern &p : kPatterns) {
        const char c = p.roles[0];
        if (p.length != 0 && c != 'C' && c != 'D' && c != 'F' && c != 'G' && c != 'I' && c != 'J') return false;
    }
    return true;
}
static_assert(FirstLettersKnown(), "Run() skips positions whose letter begins no pattern");

const NameClass kPatternName{vsg::kPersonClass, vsg::kPersonTag, 73861u, vsg::kPersonClassWeight};
const NameClass kTransliterated{vsg::kPersonClass, 27, 18802u, 9.84177};
const NameClass kJapanese{vsg::kPersonClass, 28, 922u, 6.82763};

// A "J" word needs at least this many bytes (three Chinese characters).
constexpr size_t kMinJBytes = 6;

class PersonScan : private vsg::names::RunScan {
public:
    using RunScan::RunScan;

    void Run();

private:
    // Whether the span word of `slot` is the middle dot.
    bool SlotIsDot(int32_t slot) const {
        return slot >= 0 && slot < kSpanSlots && vsg::names::IsWord(span_->word[slot], vsg::kMiddleDot);
    }
    // Text of the record of `slot` (record start + slot - 1).
    const char *SlotText(int32_t slot) const {
        const int32_t r = start_ + slot - 1;
        return (r >= 0 && r < arrayLength_) ? results_[r].text : "";
    }
    int32_t SlotOffset(int32_t slot) const {
        return (slot >= 0 && slot < kSpanSlots) ? span_->offset[slot] : 0;
    }
    // Foreign-name rule at slot x; the position to go on from when it
    // fires, else -1. Only an L or O letter can begin such a name: the rest
    // of the rule runs out of line.
    int32_t ForeignName(int32_t x) {
        const char begin = roles_.At(x);
        return (begin == 'L' || begin == 'O') ? ReadForeignName(x) : -1;
    }
    int32_t ReadForeignName(int32_t x);
    // Pattern name of slots pos .. end-1, already joined into `name`.
    void WritePatternName(int32_t pos, int32_t end, const NameBuffer &name);

    RoleString roles_{};
};

int32_t PersonScan::ReadForeignName(int32_t x) {
    const char begin = roles_.At(x);
    if (begin != 'L' && begin != 'O') return -1;
    const char middle = static_cast<char>(begin + 1);
    const char last = static_cast<char>(begin + 2);

    NameBuffer name;
    name.Append(SlotText(x));
    int32_t j = x + 1;
    while (roles_.At(j) == middle) {
        name.Append(SlotText(j));
        // A dot never ends the name: the slot after it counts as a middle.
        if (SlotIsDot(j) && j + 1 < roles_.n) roles_.letter[j + 1] = middle;
        ++j;
    }
    while (roles_.At(j) == last) {
        name.Append(SlotText(j));
        ++j;
    }
    const int32_t slots = j - x;
    if (slots < 3 || roles_.At(j - 1) != last) return -1;

    if (name.Length() <= vsg::names::kMaxNameBytes) {
        // The name record is counted from the beginning of the word array
        // (record x - 1), while the text came from records start + x - 1
        // onward; for a sentence's first run the two agree.
        const int32_t record = x - 1;
        if (record < arrayLength_) {
            vsg::names::WriteNameRecord(&results_[record], name.Text(),
                                        begin == 'L' ? kTransliterated : kJapanese,
                                        SlotOffset(x), &engine_->core, CoreClass::kPerson);
            Merge(x, slots - 1);
            vsg::names::LinkIntoGraph(graph_, results_, arrayLength_, record, record + slots);
        }
    }
    // One more slot after the name is passed over.
    return j + 1;
}

void PersonScan::WritePatternName(int32_t pos, int32_t end, const NameBuffer &name) {
    const int32_t record = start_ + pos - 1;
    if (record < 0 || record >= arrayLength_) return;
    vsg::names::WriteNameRecord(&results_[record], name.Text(), kPatternName, SlotOffset(pos),
                                &engine_->core, CoreClass::kPerson);
    Merge(record + 1, end - pos - 1);
    vsg::names::LinkIntoGraph(graph_, results_, arrayLength_, record, record + (end - pos));
}

void PersonScan::Run() {
    if (span_->bestTag[1] == kNoTag) return;
    vsg::names::BuildRoleString(span_, &engine_->tagModels[VSG_TAG_PERSON].map, 'Z', start_,
                                arrayLength_, &roles_);
    const int32_t n = roles_.n;

    int32_t i = 1;
    while (i < n) {
        const char c = roles_.At(i);
        const char c1 = roles_.At(i + 1);
        if (c == 'Z' || c == 'z' || c1 == 'Z' || c1 == 'z') {
            ++i;
            continue;
        }
        int32_t pos = i;
        int32_t next = -1;  // where the scan goes on; -1 while patterns remain
        // No pattern begins with any other letter: the table need not be tried.
        const bool mayMatch = c == 'C' || c == 'D' || c == 'F' || c == 'G' || c == 'I' || c == 'J';
        for (const Pattern *p = kPatterns; mayMatch && p->length != 0 && next < 0; ++p) {
            if (!roles_.HasAt(pos, p->roles, static_cast<size_t>(p->length)) || SlotIsDot(pos - 1)) continue;
            const int32_t end = pos + p->length;

            if (SlotIsDot(end)) {
                const int32_t after = ForeignName(pos);
                if (after >= 0) next = after;
                continue;
            }
            if (std::strcmp(p->roles, "GC") == 0) continue;
            if (roles_.At(pos) == 'J' &&
                vsg::names::TextLength(SlotText(pos)) < kMinJBytes) {
                next = pos + 1;
                break;
            }
            if (roles_.At(pos) == 'C' && roles_.At(pos + 1) == 'C') {
                // The first "C" is left out; the scan restarts on the second.
                next = pos + 1;
                break;
            }

            NameBuffer name;
            for (int32_t s = pos; s < end; ++s) name.Append(SlotText(s));

            if (std::strcmp(p->roles, "DEDE") == 0) {
                if (GetForeignCharCount(name.Text()) > 0) pos = end - 1;
                continue;
            }
            if (std::strcmp(p->roles, "DE") == 0) {
                pos = end - 1;
                continue;
            }
            if (name.Length() <= vsg::names::kMaxNameBytes) WritePatternName(pos, end, name);
            const int32_t after = ForeignName(end);
            next = after >= 0 ? after : end;
        }
        if (next < 0) {
            // No pattern applies here: a transliterated or Japanese-style
            // name may still begin at this position.
            const int32_t after = ForeignName(pos);
            next = after >= 0 ? after : pos + 1;
        }
        i = next;
    }
}

}  // namespace

int32_t CSpan_PersonRecognize(CSpan *span, SpanWord *results, const SegmentEngine *engine,
                              int32_t start, WordGraph *graph) {
    if (span == nullptr || results == nullptr || engine == nullptr || start < 0) return 1;
    // Most runs hold no name. The scan writes only when a pattern matches
    // (its first letter is C, D, F, G, I or J) or a foreign name begins (L
    // or O); at every other letter it moves on and writes nothing (the role
    // string is its own). A run whose best roles have none of these letters
    // is passed over: same result, without the array count, role string and
    // scan.
    if (!vsg::names::AnyRoleLetter(span, &engine->tagModels[VSG_TAG_PERSON].map, vsg::names::kPersonOpening)) return 1;
    PersonScan(span, results, engine, start, graph).Run();
    return 1;
}
