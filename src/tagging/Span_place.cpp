// Place name recognition: a hand-built reader over the place roles of a run
// that joins the words of each accepted letter form into one "未##地"
// record of the word array.
//
// Role letters read here (their numbers come from the place role map):
//   S           a word that is a place by itself, optionally followed by G;
//   C, D, E, F  first, repeatable inner, and closing parts of a name;
//   G           a place suffix word closing an S or C form;
//   H, I, J, K  first, repeatable inner, and closing parts of the second
//               family of names, closed by L;
//   z, Z        no form crosses these letters.
#include <cstring>

#include "common/gbtext.h"
#include "common/tagset.h"
#include "tagging/Span.h"
#include "tagging/Span_names.h"

namespace {

using vsg::names::CoreClass;
using vsg::names::NameBuffer;
using vsg::names::NameClass;
using vsg::names::RoleString;

// Tag chosen once an S or C form has been met in the call, and before.
const NameClass kAfterSOrC{vsg::kPlaceClass, vsg::kPlaceTag, 9845u, vsg::kPlaceClassWeight};
const NameClass kBeforeSOrC{vsg::kPlaceClass, vsg::kForeignPlaceTag, 3441u, vsg::kEarlyPlaceClassWeight};

// The scan stops once the (unused) name buffer holds more than this.
constexpr size_t kScanLimitBytes = 256;
// Run forms stop appending once the buffer holds more than this.
constexpr size_t kRunLimitBytes = 1000;

class PlaceScan : private vsg::names::RunScan {
public:
    using RunScan::RunScan;

    void Run();

private:
    const char *SlotText(int32_t slot) const {
        const int32_t r = start_ + slot - 1;
        return (r >= 0 && r < arrayLength_) ? results_[r].text : "";
    }
    // The buffer becomes the texts of slots a..b.
    void SetName(int32_t a, int32_t b) {
        name_.Clear();
        for (int32_t s = a; s <= b; ++s) name_.Append(SlotText(s));
    }
    // Run forms append the texts of slots a..b to the buffer, while it holds
    // at most kRunLimitBytes.
    void AppendRun(int32_t a, int32_t b) {
        for (int32_t s = a; s <= b; ++s) {
            if (name_.Length() > kRunLimitBytes) break;
            name_.Append(SlotText(s));
        }
    }
    // Last slot of the run of `letter` that begins at `from`.
    int32_t RunEnd(int32_t from, char letter) const {
        int32_t m = from;
        while (roles_.At(m + 1) == letter) ++m;
        return m;
    }
    // Reads the form that begins at s; returns the next position. A form
    // that builds no name leaves the buffer as it is.
    int32_t ReadForm(int32_t s);
    // Accepts the buffered name of slots s .. i-1; false when rejected.
    void Accept(int32_t s, int32_t i);

    RoleString roles_{};
    NameBuffer name_;
    // Set by every S form and every C form that builds a name; never cleared
    // within a call.
    bool metSOrC_ = false;
};

int32_t PlaceScan::ReadForm(int32_t s) {
    const char c = roles_.At(s);
    const char c1 = roles_.At(s + 1);
    const char c2 = roles_.At(s + 2);
    const char c3 = roles_.At(s + 3);
    if (c == 'S') {
        metSOrC_ = true;
        if (c1 == 'G') {
            SetName(s, s + 1);
            return s + 2;
        }
        SetName(s, s);
        return s + 1;
    }
    if (c == 'C' || c == 'H') {
        // The two families share one shape: C D E F closed by G, and
        // H I J K closed by L.
        const char run = static_cast<char>(c + 1);    // D or I
        const char third = static_cast<char>(c + 2);  // E or J
        const char fourth = static_cast<char>(c + 3); // F or K
        const char close = c == 'C' ? 'G' : 'L';
        bool built = false;
        int32_t next;
        if (c1 == close) {
            SetName(s, s + 1);
            built = true;
            next = s + 2;
        } else if (c1 == fourth) {
            if (c2 == close) {
                SetName(s, s + 2);
                built = true;
                next = s + 3;
            } else if (c == 'H') {
                SetName(s, s + 1);
                built = true;
                next = s + 2;
            } else {
                next = s + 2;
            }
        } else if (c1 == third) {
            if (c2 == fourth) {
                if (c3 == close) {
                    SetName(s, s + 3);
                    next = s + 4;
                } else {
                    SetName(s, s + 2);
                    next = s + 3;
                }
                built = true;
            } else {
                next = s + 2;
            }
        } else if (c1 == run) {
            const int32_t m = RunEnd(s + 1, run);
            if (roles_.At(m + 1) == third && roles_.At(m + 2) == fourth) {
                if (roles_.At(m + 3) == close) {
                    AppendRun(s, m + 3);
                    next = m + 4;
                } else {
                    AppendRun(s, m + 2);
                    next = m + 3;
                }
                built = true;
            } else {
                next = m + 1;
            }
        } else {
            next = s + 1;
        }
        if (c == 'C' && built) metSOrC_ = true;
        return next;
    }
    return s + 1;
}

void PlaceScan::Accept(int32_t s, int32_t i) {
    const int32_t slots = i - s;
    if (slots == 2) {
        // The suffix test always reads the third record of the word array,
        // whatever the run and the name's position.
        const char *third = arrayLength_ > 2 ? results_[2].text : "";
        if (Dictionary_GetValue(third, &engine_->affix[VSG_AFFIX_PLACE_SUFFIX]) != 1.0) return;
    }
    const int32_t record = start_ + s - 1;
    if (record < 0 || record >= arrayLength_) return;
    const int32_t offset = (s >= 0 && s < kSpanSlots) ? span_->offset[s] : 0;
    vsg::names::WriteNameRecord(&results_[record], name_.Text(),
                                metSOrC_ ? kAfterSOrC : kBeforeSOrC, offset, &engine_->core,
                                CoreClass::kPlace);
    // The merged records are counted from the beginning of the word array:
    // for a sentence's first run they are the rest of the name.
    Merge(s, slots - 1);
    vsg::names::LinkIntoGraph(graph_, results_, arrayLength_, record, record + slots);
}

void PlaceScan::Run() {
    if (span_->bestTag[1] == kNoTag) return;
    vsg::names::BuildRoleString(span_, &engine_->tagModels[VSG_TAG_PLACE].map, 'z', start_,
                                arrayLength_, &roles_);
    const int32_t n = roles_.n;
    name_.Clear();

    int32_t i = 1;
    for (;;) {
        const char c = roles_.At(i);
        if (i >= n || c == '\0' || static_cast<unsigned char>(c) >= 128) break;
        if (c == 'z' || c == 'Z') {
            name_.Clear();
            ++i;
            continue;
        }
        if (name_.Length() > kScanLimitBytes) break;
        const int32_t s = i;
        i = ReadForm(s);
        if (name_.Empty()) continue;
        // A name too long to use stays in the buffer, so that run forms
        // appending to it fail too, until a z/Z or a fresh form replaces it.
        if (name_.Length() > vsg::names::kMaxNameBytes) continue;
        Accept(s, i);
        name_.Clear();
    }
}

}  // namespace

int32_t CSpan_PlaceRecognize(CSpan *span, SpanWord *results, const SegmentEngine *engine,
                             int32_t start, WordGraph *graph) {
    if (span == nullptr || results == nullptr || engine == nullptr || start < 0) return 1;
    // Nearly every run holds no place name. Only a form beginning at S, C or
    // H fills the name buffer; at any other letter the scan moves on with
    // the buffer empty, so it accepts nothing and writes nothing (the S/C
    // flag lives in the scan). A run whose best roles have none of these
    // letters is passed over: same result, without the scan's set-up.
    if (!vsg::names::AnyRoleLetter(span, &engine->tagModels[VSG_TAG_PLACE].map, vsg::names::kPlaceOpening)) return 1;
    PlaceScan(span, results, engine, start, graph).Run();
    return 1;
}
