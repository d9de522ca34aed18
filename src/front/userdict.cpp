// User dictionaries: parsing, the word table and the matcher that forces
// user words into a cut.
#include "front/userdict.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <new>
#include <unordered_set>

#include "front/transcode.h"

namespace vsg::front {

namespace {

constexpr uint32_t kFnvBasis = 2166136261u;
constexpr uint32_t kFnvPrime = 16777619u;
// Longest word in GB18030 bytes: one word field of the engine.
constexpr size_t kMaxWordBytes = 80;
constexpr size_t kFirstSlots = 0x10000;

inline uint32_t Hash(const char *p, size_t n, uint32_t h = kFnvBasis) {
    for (size_t i = 0; i < n; ++i) {
        h ^= static_cast<unsigned char>(p[i]);
        h *= kFnvPrime;
    }
    return h;
}

inline bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\f' || c == '\v'; }

// Parses a count: decimal digits, at most kUserMaxCount.
bool ParseCount(std::string_view s, double *count) {
    if (s.empty() || s.size() > 16) return false;
    double v = 0;
    for (char c : s) {
        if (c < '0' || c > '9') return false;
        v = v * 10 + (c - '0');
    }
    if (v > kUserMaxCount) return false;
    *count = v;
    return true;
}

bool IsCountText(std::string_view s) {
    return !s.empty() && std::all_of(s.begin(), s.end(), [](char c) { return c >= '0' && c <= '9'; });
}

}  // namespace

bool UserWordToGb(std::string_view utf8, UserEntryText *entry, std::string *error) {
    if (utf8.empty()) {
        *error = "empty word";
        return false;
    }
    if (utf8.size() > 4 * kMaxWordBytes) {
        *error = "word longer than 80 bytes";
        return false;
    }
    if (!IsValidUtf8(utf8.data(), utf8.size()) || std::memchr(utf8.data(), '\0', utf8.size()) != nullptr) {
        *error = "word is not valid UTF-8 text";
        return false;
    }
    thread_local WorkText work;
    thread_local std::vector<uint64_t> invalid;
    invalid.clear();
    ToWorkText(utf8.data(), utf8.size(), 3, work, invalid, 0);
    if (!invalid.empty() || work.gb.empty()) {
        *error = "word is not valid UTF-8 text";
        return false;
    }
    if (work.gb.size() > kMaxWordBytes) {
        *error = "word longer than 80 bytes";
        return false;
    }
    thread_local std::vector<Atom> atoms;
    atoms.clear();
    Atomise(work.gb.data(), 0, work.gb.size(), atoms);
    for (const Atom &a : atoms) {
        if (a.kind == AtomKind::kSpace) {
            *error = "word holds white space";
            return false;
        }
    }
    entry->gb = work.gb;
    entry->firstAtom = atoms.empty() ? 0 : atoms[0].length;
    entry->atomCount = static_cast<uint16_t>(atoms.size());
    return true;
}

bool ParseUserDict(std::string_view text, const std::string &name, const TagLookup &tags,
                   std::vector<UserEntryText> *out, std::string *error) {
    std::vector<UserEntryText> parsed;
    size_t lineNo = 0;
    size_t pos = 0;
    if (text.substr(0, 3) == "\xEF\xBB\xBF") pos = 3;
    auto fail = [&](const std::string &why) {
        *error = name + " line " + std::to_string(lineNo) + ": " + why;
        return false;
    };
    while (pos < text.size()) {
        ++lineNo;
        size_t nl = text.find('\n', pos);
        size_t end = nl == std::string_view::npos ? text.size() : nl;
        std::string_view line = text.substr(pos, end - pos);
        pos = end + 1;
        // Fields, up to a comment.
        std::string_view fields[4];
        size_t count = 0;
        size_t i = 0;
        while (i < line.size()) {
            while (i < line.size() && IsBlank(line[i])) ++i;
            if (i >= line.size() || line[i] == '#') break;
            size_t start = i;
            while (i < line.size() && !IsBlank(line[i])) ++i;
            if (count == 3) return fail("more than three fields (word count tag)");
            fields[count++] = line.substr(start, i - start);
        }
        if (count == 0) continue;
        UserEntryText e;
        std::string why;
        if (!UserWordToGb(fields[0], &e, &why)) return fail(why);
        std::string_view countText, tagText;
        if (count == 3) {
            countText = fields[1];
            tagText = fields[2];
        } else if (count == 2) {
            (IsCountText(fields[1]) ? countText : tagText) = fields[1];
        }
        if (!countText.empty() && !ParseCount(countText, &e.count))
            return fail("count '" + std::string(countText) + "' is not a whole number from 0 to 10^15");
        if (!tagText.empty()) {
            e.tag = tags ? tags(tagText) : -1;
            if (e.tag < 0) return fail("unknown tag '" + std::string(tagText) + "'");
        }
        parsed.push_back(std::move(e));
    }
    out->insert(out->end(), std::make_move_iterator(parsed.begin()), std::make_move_iterator(parsed.end()));
    return true;
}

// ---- the word table --------------------------------------------------------

int UserDict::FirstIndex(const char *text, const Atom &a) {
    return static_cast<int>(Hash(text + a.start, a.length) & (kFirstSlots - 1));
}

const UserDict::Entry *UserDict::Find(const char *gb, size_t length) const {
    if (index_.empty()) return nullptr;
    uint32_t h = Hash(gb, length);
    size_t mask = index_.size() - 1;
    for (size_t i = h & mask;; i = (i + 1) & mask) {
        uint32_t slot = index_[i];
        if (slot == 0) return nullptr;
        const Entry &e = entries_[slot - 1];
        if (e.hash == h && e.length == length && std::memcmp(keys_.data() + e.offset, gb, length) == 0) return &e;
    }
}

void UserDict::Rehash(size_t slots) {
    index_.assign(slots, 0);
    size_t mask = slots - 1;
    for (size_t k = 0; k < entries_.size(); ++k) {
        size_t i = entries_[k].hash & mask;
        while (index_[i] != 0) i = (i + 1) & mask;
        index_[i] = static_cast<uint32_t>(k + 1);
    }
}

void UserDict::Insert(const UserEntryText &t) {
    if (const Entry *found = Find(t.gb.data(), t.gb.size())) {
        Entry &e = entries_[static_cast<size_t>(found - entries_.data())];
        e.tag = t.tag;
        e.count = t.count;
        return;
    }
    // Word offsets and entry numbers are 32-bit.
    if (keys_.size() + t.gb.size() > UINT32_MAX || entries_.size() >= UINT32_MAX / 2) throw std::bad_alloc();
    if ((entries_.size() + 1) * 2 > index_.size()) {
        entries_.reserve(entries_.size() * 2 + 16);
        Rehash(std::max<size_t>(64, index_.size() * 2));
    }
    Entry e{static_cast<uint32_t>(keys_.size()), static_cast<uint16_t>(t.gb.size()), Hash(t.gb.data(), t.gb.size()),
            t.tag, t.count, t.firstAtom, t.atomCount};
    keys_ += t.gb;
    entries_.push_back(e);
    size_t mask = index_.size() - 1;
    size_t i = e.hash & mask;
    while (index_[i] != 0) i = (i + 1) & mask;
    index_[i] = static_cast<uint32_t>(entries_.size());

    // The matcher tries as many atoms after a first atom as its longest word has.
    if (t.atomCount == 0) return;
    if (firstMax_.empty()) firstMax_.assign(kFirstSlots, 0);
    Atom first{0, t.firstAtom, AtomKind::kOther};
    uint8_t &m = firstMax_[static_cast<size_t>(FirstIndex(t.gb.data(), first))];
    m = static_cast<uint8_t>(std::max<size_t>(m, t.atomCount));
    maxBytes_ = std::max(maxBytes_, t.gb.size());
}

UserDict UserDict::Merge(const UserDict *base, const std::vector<UserEntryText> &add,
                         const std::vector<std::string> &remove) {
    std::unordered_set<std::string> gone(remove.begin(), remove.end());
    UserDict d;
    size_t expected = (base != nullptr ? base->Size() : 0) + add.size();
    size_t slots = 64;
    while (slots < expected * 2) slots *= 2;
    d.entries_.reserve(expected);
    d.index_.assign(slots, 0);
    UserEntryText t;
    if (base != nullptr) {
        for (const Entry &e : base->entries_) {
            t.gb.assign(base->keys_, e.offset, e.length);
            if (gone.count(t.gb) != 0) continue;
            t.tag = e.tag;
            t.count = e.count;
            t.firstAtom = e.firstAtom;
            t.atomCount = e.atomCount;
            d.Insert(t);
        }
    }
    for (const UserEntryText &a : add)
        if (gone.count(a.gb) == 0) d.Insert(a);
    return d;
}

size_t UserWords::Update(const std::vector<UserEntryText> &add, const std::vector<std::string> &remove) {
    std::lock_guard<std::mutex> lock(write_);
    std::shared_ptr<const UserDict> current = Snapshot();
    auto next = std::make_shared<const UserDict>(UserDict::Merge(current.get(), add, remove));
    size_t size = next->Size();
    // An empty set costs the analyses nothing.
    std::atomic_store(&dict_, size == 0 ? std::shared_ptr<const UserDict>() : std::move(next));
    return size;
}

// ---- the matcher -------------------------------------------------------------

void UserDict::Apply(const char *text, const Atom *atoms, size_t n, std::vector<uint32_t> &ends,
                     std::vector<const Entry *> &marks,
                     const std::function<double(const char *, size_t)> &coreCount) const {
    marks.assign(ends.size(), nullptr);
    if (entries_.empty() || firstMax_.empty() || n == 0) return;
    // Accepted user words: atom spans [first, second) with their entry.
    struct Span {
        uint32_t begin, end;
        const Entry *entry;
    };
    thread_local std::vector<Span> spans;
    thread_local std::vector<Span> candidates;
    spans.clear();
    // Start atom of the cut word holding atom k: the word [s, t) of `ends`.
    auto wordAt = [&](size_t k, size_t *s, size_t *t) {
        auto it = std::upper_bound(ends.begin(), ends.end(), static_cast<uint32_t>(k));
        *t = it != ends.end() ? *it : n;
        *s = it == ends.begin() ? 0 : *(it - 1);
    };
    // A counted word yields to a cut word of two or more atoms that it
    // would cut through and that the core dictionary counts more often.
    auto yields = [&](const Entry &e, size_t b, size_t f) {
        if (e.count < 0) return false;
        size_t edges[2] = {b, f};
        for (size_t edge : edges) {
            if (edge == 0 || edge >= n) continue;
            size_t s, t;
            wordAt(edge, &s, &t);
            if (s == edge || t - s < 2) continue;  // the cut already has a boundary here
            uint32_t bytes = atoms[t - 1].start + atoms[t - 1].length - atoms[s].start;
            if (coreCount && coreCount(text + atoms[s].start, bytes) > e.count) return true;
        }
        return false;
    };
    for (size_t i = 0; i < n;) {
        uint8_t most = firstMax_[static_cast<size_t>(FirstIndex(text, atoms[i]))];
        if (most == 0) {
            ++i;
            continue;
        }
        candidates.clear();
        uint32_t start = atoms[i].start;
        for (size_t j = i; j < n && j - i < most; ++j) {
            size_t bytes = atoms[j].start + atoms[j].length - start;
            if (bytes > maxBytes_) break;
            if (const Entry *e = Find(text + start, bytes))
                candidates.push_back(Span{static_cast<uint32_t>(i), static_cast<uint32_t>(j + 1), e});
        }
        bool taken = false;
        for (auto c = candidates.rbegin(); c != candidates.rend(); ++c) {  // longest first
            if (yields(*c->entry, c->begin, c->end)) continue;
            spans.push_back(*c);
            i = c->end;
            taken = true;
            break;
        }
        if (!taken) ++i;
    }
    if (spans.empty()) return;

    // New boundaries: the cut's own outside the spans, plus the spans' edges.
    thread_local std::vector<uint32_t> merged;
    merged.clear();
    size_t sp = 0;
    for (uint32_t b : ends) {
        while (sp < spans.size() && spans[sp].end <= b) {
            merged.push_back(spans[sp].begin);
            merged.push_back(spans[sp].end);
            ++sp;
        }
        if (sp < spans.size() && b > spans[sp].begin && b < spans[sp].end) continue;
        merged.push_back(b);
    }
    for (; sp < spans.size(); ++sp) {
        merged.push_back(spans[sp].begin);
        merged.push_back(spans[sp].end);
    }
    std::sort(merged.begin(), merged.end());
    merged.erase(std::unique(merged.begin(), merged.end()), merged.end());
    if (!merged.empty() && merged.front() == 0) merged.erase(merged.begin());
    ends.assign(merged.begin(), merged.end());
    marks.assign(ends.size(), nullptr);
    sp = 0;
    uint32_t prev = 0;
    for (size_t k = 0; k < ends.size(); ++k) {
        while (sp < spans.size() && spans[sp].begin < prev) ++sp;
        if (sp < spans.size() && spans[sp].begin == prev && spans[sp].end == ends[k]) marks[k] = spans[sp].entry;
        prev = ends[k];
    }
}

}  // namespace vsg::front
