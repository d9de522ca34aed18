// The trained word cutter: features, model file and search.
#include "front/segmodel.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <new>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "front/conventions.h"

namespace vsg::front {

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "the model file is read as little-endian");

namespace {

// Score of a label an atom must not take: far below what the weights of a
// few atoms can make up, and far above what the sums can overflow to.
constexpr int32_t kSegForbidden = -(int32_t{1} << 30);

// ---- Features ----------------------------------------------------------------

inline uint64_t Mix(uint64_t x) {
    x ^= x >> 30;
    x *= 0xBF58476D1CE4E5B9ull;
    x ^= x >> 27;
    x *= 0x94D049BB133111EBull;
    x ^= x >> 31;
    return x;
}

constexpr uint64_t kFnv64Basis = 0xCBF29CE484222325ull;
constexpr uint64_t kFnv64Prime = 0x100000001B3ull;

// Atom classes; kClassPad marks the places before and after a run.
enum : uint8_t { kClassHan, kClassNumeral, kClassNumber, kClassLatin, kClassPunct, kClassOther, kClassPad };

// Chinese numeral characters (GB): 一二三四五六七八九十百千万亿零两〇.
constexpr uint16_t kNumerals[] = {0xD2BB, 0xB6FE, 0xC8FD, 0xCBC4, 0xCEE5, 0xC1F9, 0xC6DF, 0xB0CB, 0xBEC5,
                                  0xCAAE, 0xB0D9, 0xC7A7, 0xCDF2, 0xD2DA, 0xC1E3, 0xC1BD, 0xA996};

// Bit c of this table is set when the two-byte GB character c is a numeral.
struct NumeralBits {
    uint64_t bits[1024] = {};
    constexpr NumeralBits() {
        for (uint16_t v : kNumerals) bits[v >> 6] |= uint64_t{1} << (v & 63);
    }
};
constexpr NumeralBits kNumeralBits{};

inline uint8_t AtomClass(const char *text, const Atom &a) {
    switch (a.kind) {
    case AtomKind::kHan: {
        if (a.length == 2) {
            auto c = static_cast<uint16_t>((static_cast<unsigned char>(text[a.start]) << 8) |
                                           static_cast<unsigned char>(text[a.start + 1]));
            if ((kNumeralBits.bits[c >> 6] >> (c & 63)) & 1) return kClassNumeral;
        }
        return kClassHan;
    }
    case AtomKind::kNumber: return kClassNumber;
    case AtomKind::kLatin: return kClassLatin;
    case AtomKind::kPunct: return kClassPunct;
    default: return kClassOther;
    }
}

// Hash of an atom's bytes with half-width ASCII read as its full-width GB
// form (row A3), so "2000" and "２０００" share their features.
__attribute__((always_inline)) inline uint64_t AtomId(const char *text, const Atom &a) {
    const auto *p = reinterpret_cast<const unsigned char *>(text);
    size_t end = size_t{a.start} + a.length;
    uint64_t h = kFnv64Basis;
    auto add = [&h](unsigned char b) {
        h ^= b;
        h *= kFnv64Prime;
    };
    // Most atoms are one two-byte character: its bytes as they are.
    if (a.length == 2 && GbCharLength(p, a.start, end) == 2) {
        add(p[a.start]);
        add(p[a.start + 1]);
        return Mix(h);
    }
    for (size_t i = a.start; i < end;) {
        size_t len = GbCharLength(p, i, end);
        if (len == 1 && p[i] >= 0x21 && p[i] <= 0x7E) {
            add(0xA3);
            add(static_cast<unsigned char>(p[i] + 0x80));
        } else {
            for (size_t k = 0; k < len; ++k) add(p[i + k]);
        }
        i += len;
    }
    return Mix(h);
}

// Key of a feature (SegFeatureKey), inlined where keys are made per atom.
inline uint64_t FeatureKey(SegTemplate t, uint64_t a, uint64_t b) {
    uint64_t h = Mix(a * 0x9E3779B97F4A7C15ull + (static_cast<uint64_t>(t) + 1) * 0xD6E8FEB86659FD93ull);
    h = Mix(h ^ (b + 0x632BE59BD9B4E019ull));
    return (h & ~uint64_t{15}) | static_cast<uint64_t>(t);
}

// Keys of the positions before and after a run.
constexpr uint64_t kPadIds[4] = {0x5EC0000000000001ull, 0x5EC0000000000002ull, 0x5EC0000000000003ull,
                                 0x5EC0000000000004ull};

// Hash of the atoms s..e of a word (ids of the atoms).
inline uint64_t WordHash(const uint64_t *id, size_t s, size_t e) {
    uint64_t h = id[s];
    for (size_t j = s + 1; j <= e; ++j) h = Mix(h) ^ id[j];
    return h;
}

// Keys of a dictionary word of `length` atoms: the word alone (side 0), with
// the atom before it (1) and with the atom after it (2).
inline uint64_t WordKey(uint64_t hash, size_t length, int side, uint64_t neighbour) {
    return FeatureKey(kSegWord, side == 0 ? hash : Mix(hash) ^ neighbour, length + 8 * static_cast<uint64_t>(side));
}

// Key of a candidate's length with its cost class (1 + class; 0: no word).
inline uint64_t WordCostKey(size_t length, uint8_t endCost) {
    return FeatureKey(kSegWordCost, length * 32 + endCost, 0);
}

// ---- Model file ----------------------------------------------------------------
//
// Little-endian. Header of kHeaderBytes:
//   0  8 bytes  magic "VSGSEGMD"
//   8  u32      version (kVersion)
//  12  u32      slot bits b: the table has 2^b slots
//  16  u32      weight count w
//  20  u32      feature set (kFeatureSet: templates and dictionary cap)
//  24  64 x i32 transition weights [previous][next] (kSegLabels^2)
// 280  u64      checksum of everything after the header
// 288  2^b x u64 slots: fingerprint << 32 | offset of the group's weights; 0 empty
//      w x i16  weights, kSegLabels per row
// A key's slot is (key >> 4) & (2^b - 1), probed linearly; its fingerprint
// is the key's high 32 bits with the low four replaced by template + 1.

constexpr char kMagic[8] = {'V', 'S', 'G', 'S', 'E', 'G', 'M', 'D'};
// Version 4 holds word features (kSegWord, kSegWordCost); a model without
// them is written as version 3, which has none. Version 2 had six labels
// (no name labels), version 1 four.
constexpr uint32_t kVersion = 4;
constexpr uint32_t kVersionNoWords = 3;
constexpr uint32_t kFeatureSet = 0x400u | kSegDictCap;
constexpr size_t kTransitionsAt = 24;
constexpr size_t kChecksumAt = kTransitionsAt + 4 * kSegLabels * kSegLabels;
constexpr size_t kHeaderBytes = kChecksumAt + 8;
static_assert(kHeaderBytes == kSegHeaderBytes, "the header size the header announces");
constexpr uint32_t kMinSlotBits = 4;
constexpr uint32_t kMaxSlotBits = 26;
constexpr uint32_t kMaxWeights = 1u << 28;
// Transition weights beyond this size are refused: path sums stay far from
// overflow.
constexpr int32_t kMaxTransition = 1 << 24;

inline uint32_t Fingerprint(uint64_t key) {
    return (static_cast<uint32_t>(key >> 32) & ~15u) | ((static_cast<uint32_t>(key) & 15u) + 1u);
}

uint64_t Checksum(const uint8_t *p, size_t n) {
    uint64_t h = kFnv64Basis;
    size_t i = 0;
    for (; i + 8 <= n; i += 8) {
        uint64_t v;
        std::memcpy(&v, p + i, 8);
        h = (h ^ v) * kFnv64Prime;
        h ^= h >> 29;
    }
    for (; i < n; ++i) h = (h ^ p[i]) * kFnv64Prime;
    return Mix(h);
}

template <typename T>
void Put(std::string &out, T v) {
    char b[sizeof(T)];
    std::memcpy(b, &v, sizeof(T));
    out.append(b, sizeof(T));
}

template <typename T>
T Get(const uint8_t *p) {
    T v;
    std::memcpy(&v, p, sizeof(T));
    return v;
}

}  // namespace

uint64_t SegChecksum(const uint8_t *data, size_t size) { return Checksum(data, size); }

uint64_t SegFeatureKey(SegTemplate t, uint64_t a, uint64_t b) { return FeatureKey(t, a, b); }

void SegFeatures(const char *text, const Atom *atoms, size_t n, const WordMarks *marks, std::vector<uint64_t> &ids,
                 std::vector<SegFeature> &out) {
    out.clear();
    if (n == 0) return;
    // Keys (id[k + 2]) and classes (cls[k + 2]) of atoms k = -2 .. n+1.
    ids.resize(2 * (n + 4));
    uint64_t *id = ids.data();
    uint64_t *cls = ids.data() + n + 4;
    id[0] = kPadIds[0];
    id[1] = kPadIds[1];
    id[n + 2] = kPadIds[2];
    id[n + 3] = kPadIds[3];
    cls[0] = cls[1] = cls[n + 2] = cls[n + 3] = kClassPad;
    for (size_t k = 0; k < n; ++k) {
        id[k + 2] = AtomId(text, atoms[k]);
        cls[k + 2] = AtomClass(text, atoms[k]);
    }
    out.reserve(n * 10 + 8);
    auto pos = [](size_t k, int d) { return static_cast<int32_t>(k) + d; };
    // Unigrams of atoms -2 .. n+1 (index j = k + 2).
    for (size_t j = 0; j < n + 4; ++j) out.push_back({SegFeatureKey(kSegUnigram, id[j], 0), pos(j, -4)});
    // Bigrams of atoms (k, k+1), k = -2 .. n.
    for (size_t j = 0; j + 1 < n + 4; ++j)
        out.push_back({SegFeatureKey(kSegBigram, id[j], id[j + 1]), pos(j, -3)});
    for (size_t k = 0; k < n; ++k) {
        size_t j = k + 2;
        int32_t p = static_cast<int32_t>(k);
        out.push_back({SegFeatureKey(kSegSkip, id[j - 1], id[j + 1]), p});
        out.push_back({SegFeatureKey(kSegClasses, cls[j - 1] * 64 + cls[j] * 8 + cls[j + 1], 0), p});
        const WordMarks &m = marks[k];
        out.push_back({SegFeatureKey(kSegDictStart, m.starts, 0), p});
        out.push_back({SegFeatureKey(kSegDictEnd, m.ends, 0), p});
        out.push_back({SegFeatureKey(kSegDictInside, m.inside, 0), p});
        out.push_back(
            {SegFeatureKey(kSegDictAll, (uint64_t{m.starts} << 16) | (uint64_t{m.ends} << 8) | m.inside, cls[j]), p});
        out.push_back({SegFeatureKey(kSegTrigram, Mix(id[j - 1]) ^ id[j], id[j + 1]), p});
        out.push_back({SegFeatureKey(kSegDictAtom, id[j], (uint64_t{m.starts} << 8) | m.ends), p});
        out.push_back({SegFeatureKey(kSegDictStartCost, uint64_t{m.starts} * kWordCostClasses + m.startCost, 0), p});
    }
}

void SegWordFeatures(const char *text, const Atom *atoms, size_t n, const WordMarks *marks, std::vector<uint64_t> &ids,
                     std::vector<SegWordFeature> &out, bool context) {
    out.clear();
    // Keys of atoms -1 .. n (id[k + 1]).
    ids.resize(n + 2);
    uint64_t *id = ids.data() + 1;
    id[-1] = kPadIds[1];
    id[n] = kPadIds[2];
    for (size_t k = 0; k < n; ++k) id[k] = AtomId(text, atoms[k]);
    for (size_t e = 1; e < n; ++e)
        for (size_t len = 2; len <= kSegWordMax && len <= e + 1; ++len) {
            const uint8_t c = marks[e].endCost[len - 2];
            const auto end = static_cast<uint32_t>(e);
            const auto l = static_cast<uint8_t>(len);
            out.push_back({WordCostKey(len, c), end, l});
            if (c == 0) continue;
            const size_t s = e + 1 - len;
            const uint64_t h = WordHash(id, s, e);
            out.push_back({WordKey(h, len, 0, 0), end, l});
            if (!context) continue;
            out.push_back({WordKey(h, len, 1, id[static_cast<ptrdiff_t>(s) - 1]), end, l});
            out.push_back({WordKey(h, len, 2, id[e + 1]), end, l});
        }
}

std::string EncodeSegModel(std::vector<SegGroup> groups, const float transitions[kSegLabels][kSegLabels]) {
    std::sort(groups.begin(), groups.end(), [](const SegGroup &a, const SegGroup &b) { return a.key < b.key; });
    float top = 0.0f;
    for (const SegGroup &g : groups)
        for (float w : g.weights) top = std::max(top, std::fabs(w));
    double scale = top > 0.0f ? 32767.0 / top : 1.0;
    auto quant = [scale](float w) {
        double v = std::nearbyint(static_cast<double>(w) * scale);
        return static_cast<int16_t>(std::clamp(v, -32767.0, 32767.0));
    };

    // Quantised groups; those that round to nothing are left out.
    std::vector<int16_t> weights;
    std::vector<std::pair<uint64_t, uint32_t>> kept;  // key, offset
    for (const SegGroup &g : groups) {
        size_t rows = kSegTemplateRows[SegKeyTemplate(g.key) % kSegTemplates];
        if (g.weights.size() != rows * kSegLabels) continue;
        std::vector<int16_t> q(g.weights.size());
        bool any = false;
        for (size_t i = 0; i < q.size(); ++i) any |= (q[i] = quant(g.weights[i])) != 0;
        if (!any) continue;
        kept.emplace_back(g.key, static_cast<uint32_t>(weights.size()));
        weights.insert(weights.end(), q.begin(), q.end());
    }
    uint32_t bits = kMinSlotBits;
    while (bits < kMaxSlotBits && (size_t{1} << bits) * 7 / 10 < kept.size() + 1) ++bits;
    std::vector<uint64_t> slots(size_t{1} << bits, 0);
    const uint64_t mask = slots.size() - 1;
    for (const auto &kv : kept) {
        uint32_t fp = Fingerprint(kv.first);
        size_t i = (kv.first >> 4) & mask;
        bool shadowed = false;
        while (slots[i] != 0) {
            // Two keys alike in slot and fingerprint: the first one answers.
            if (static_cast<uint32_t>(slots[i] >> 32) == fp) shadowed = true;
            i = (i + 1) & mask;
        }
        if (!shadowed) slots[i] = (uint64_t{fp} << 32) | kv.second;
    }

    std::string payload;
    payload.reserve(slots.size() * 8 + weights.size() * 2);
    for (uint64_t s : slots) Put(payload, s);
    for (int16_t w : weights) Put(payload, w);

    bool words = false;
    for (const auto &kv : kept) words |= SegWordTemplate(SegKeyTemplate(kv.first));
    std::string out(kMagic, sizeof kMagic);
    Put(out, words ? kVersion : kVersionNoWords);
    Put(out, bits);
    Put(out, static_cast<uint32_t>(weights.size()));
    Put(out, kFeatureSet);
    for (int p = 0; p < kSegLabels; ++p)
        for (int l = 0; l < kSegLabels; ++l) {
            double v = std::nearbyint(static_cast<double>(transitions[p][l]) * scale);
            Put(out, static_cast<int32_t>(std::clamp(v, -double{kMaxTransition}, double{kMaxTransition})));
        }
    Put(out, Checksum(reinterpret_cast<const uint8_t *>(payload.data()), payload.size()));
    out += payload;
    return out;
}

bool SegModel::LoadBytes(const uint8_t *data, size_t size, std::string *error) {
    *this = SegModel();
    if (size < kHeaderBytes) {
        *error = "truncated (" + std::to_string(size) + " bytes, header needs " + std::to_string(kHeaderBytes) + ")";
        return false;
    }
    if (std::memcmp(data, kMagic, sizeof kMagic) != 0) {
        *error = "not a word cutter model (bad magic)";
        return false;
    }
    uint32_t version = Get<uint32_t>(data + 8);
    if (version != kVersion && version != kVersionNoWords) {
        *error = "unsupported version " + std::to_string(version) + " (expected " + std::to_string(kVersion) +
                 "; made by an older vsglex-train, retrain the model set)";
        return false;
    }
    uint32_t bits = Get<uint32_t>(data + 12);
    uint32_t nWeights = Get<uint32_t>(data + 16);
    uint32_t features = Get<uint32_t>(data + 20);
    if (features != kFeatureSet) {
        *error = "made for another feature set (" + std::to_string(features) + ")";
        return false;
    }
    if (bits < kMinSlotBits || bits > kMaxSlotBits) {
        *error = "bad table size (2^" + std::to_string(bits) + " slots)";
        return false;
    }
    if (nWeights > kMaxWeights || nWeights % kSegLabels != 0) {
        *error = "bad weight count " + std::to_string(nWeights);
        return false;
    }
    const size_t nSlots = size_t{1} << bits;
    const size_t expected = kHeaderBytes + nSlots * 8 + size_t{nWeights} * 2;
    if (size != expected) {
        *error = (size < expected ? "truncated (" : "trailing bytes (") + std::to_string(size) + " bytes, expected " +
                 std::to_string(expected) + ")";
        return false;
    }
    if (Checksum(data + kHeaderBytes, size - kHeaderBytes) != Get<uint64_t>(data + kChecksumAt)) {
        *error = "damaged (checksum mismatch)";
        return false;
    }
    for (int p = 0; p < kSegLabels; ++p)
        for (int l = 0; l < kSegLabels; ++l) {
            int32_t t = Get<int32_t>(data + kTransitionsAt + 4 * (p * kSegLabels + l));
            if (t < -kMaxTransition || t > kMaxTransition) {
                *error = "transition weight out of range";
                return false;
            }
            transitions_[p][l] = t;
        }
    // One pass over the file's slots checks each, copies it (its offset
    // moved behind the zero rows) and marks its fingerprint present.
    vsg::HugeTable<uint64_t> slots;
    slots.reserve(nSlots);
    present_.assign((size_t{1} << kPresentBits) / 64, 0);
    const uint8_t *slotBytes = data + kHeaderBytes;
    size_t empty = 0, groups = 0;
    for (size_t i = 0; i < nSlots; ++i) {
        const uint64_t s = Get<uint64_t>(slotBytes + 8 * i);
        if (s == 0) {
            ++empty;
            slots.push_back(0);
            continue;
        }
        uint32_t fp = static_cast<uint32_t>(s >> 32);
        uint32_t offset = static_cast<uint32_t>(s);
        uint32_t t = fp & 15u;
        if (t == 0 || t > kSegTemplates || (version == kVersionNoWords && SegWordTemplate(static_cast<int>(t) - 1))) {
            *this = SegModel();
            *error = "bad feature slot (template " + std::to_string(t) + ")";
            return false;
        }
        if (size_t{offset} + size_t{kSegTemplateRows[t - 1]} * kSegLabels > nWeights) {
            *this = SegModel();
            *error = "feature slot points past the weights";
            return false;
        }
        ++groups;
        hasWords_ |= SegWordTemplate(static_cast<int>(t) - 1);
        slots.push_back(s + kZeroRows * kSegLabels);  // the offset, behind the zero rows
        const uint32_t bit = PresentBit(fp);
        present_[bit >> 6] |= uint64_t{1} << (bit & 63);
    }
    if (empty == 0) {
        *this = SegModel();
        *error = "feature table has no empty slot";
        return false;
    }
    // In memory the rows follow the zero rows that missing features point
    // to.
    weights_.assign(kZeroRows * kSegLabels + nWeights + kTailWeights, 0);
    if (nWeights > 0)
        std::memcpy(weights_.data() + kZeroRows * kSegLabels, slotBytes + nSlots * 8, size_t{nWeights} * 2);
    slots_ = std::move(slots);
    mask_ = nSlots - 1;
    groups_ = groups;
    BuildDirect();
    return true;
}

bool SegModel::Load(const std::string &path, std::string *error) {
    *this = SegModel();
    int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        *error = "cannot open " + path + ": " + std::strerror(errno);
        return false;
    }
    struct stat st;
    std::string reason;
    // Read without first zeroing: every byte is overwritten or the load fails.
    std::unique_ptr<uint8_t[]> bytes;
    size_t size = 0;
    constexpr off_t kMaxFile = off_t{1} << 31;
    if (fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
        reason = "not a regular file";
    } else if (st.st_size > kMaxFile) {
        reason = "too large (" + std::to_string(st.st_size) + " bytes)";
    } else {
        size = static_cast<size_t>(st.st_size);
        bytes.reset(new (std::nothrow) uint8_t[size == 0 ? 1 : size]);
        size_t got = 0;
        while (bytes != nullptr && got < size) {
            ssize_t r = ::read(fd, bytes.get() + got, size - got);
            if (r < 0 && errno == EINTR) continue;
            if (r <= 0) break;
            got += static_cast<size_t>(r);
        }
        if (bytes == nullptr)
            reason = "out of memory (" + std::to_string(size) + " bytes)";
        else if (got != size)
            reason = "read failed";
    }
    ::close(fd);
    if (reason.empty() && !LoadBytes(bytes.get(), size, &reason)) {
        // reason set by LoadBytes
    }
    if (!reason.empty()) {
        *this = SegModel();
        *error = "word cutter model " + path + ": " + reason;
        return false;
    }
    return true;
}

const int16_t *SegModel::Find(uint64_t key) const {
    uint32_t offset = OffsetOf(key);
    return offset == kNone ? nullptr : weights_.data() + offset;
}

uint32_t SegModel::OffsetOf(uint64_t key) const {
    const uint32_t fp = Fingerprint(key);
    for (size_t i = (key >> 4) & mask_;; i = (i + 1) & mask_) {
        uint64_t s = slots_[i];
        if (s == 0) return kNone;
        if (static_cast<uint32_t>(s >> 32) == fp) return static_cast<uint32_t>(s);
    }
}

void SegModel::BuildDirect() {
    // The unigram keys first, then their look-ups, each loading the slot of
    // the key kAhead further on: the slots lie at random in megabytes.
    constexpr uint32_t kUnigrams = 0x10100, kAhead = 16;
    std::vector<uint64_t> keys(kUnigrams);
    char bytes[2];
    for (uint32_t c = 0; c < kUnigrams; ++c) {
        Atom a{0, 2, AtomKind::kOther};
        if (c < 0x10000) {
            bytes[0] = static_cast<char>(c >> 8);
            bytes[1] = static_cast<char>(c & 0xFF);
        } else {
            bytes[0] = static_cast<char>(c & 0xFF);
            a.length = 1;
        }
        keys[c] = SegFeatureKey(kSegUnigram, AtomId(bytes, a), 0);
    }
    unigram_.assign(kUnigrams, kNone);
    for (uint32_t c = 0; c < kUnigrams; ++c) {
        if (c + kAhead < kUnigrams && !slots_.empty()) __builtin_prefetch(&slots_[(keys[c + kAhead] >> 4) & mask_]);
        unigram_[c] = OffsetOf(keys[c]);
    }
    for (int k = 0; k < 4; ++k) padUnigram_[k] = OffsetOf(SegFeatureKey(kSegUnigram, kPadIds[k], 0));
    classes_.assign(512, kNone);
    for (uint32_t v = 0; v < 512; ++v) classes_[v] = OffsetOf(SegFeatureKey(kSegClasses, v, 0));
    const SegTemplate dictTemplates[3] = {kSegDictStart, kSegDictEnd, kSegDictInside};
    for (int t = 0; t < 3; ++t) {
        dict_[t].assign(kSegDictCap + 1, kNone);
        for (uint32_t v = 0; v <= kSegDictCap; ++v) dict_[t][v] = OffsetOf(SegFeatureKey(dictTemplates[t], v, 0));
    }
    startCost_.assign((kSegDictCap + 1) * kWordCostClasses, kNone);
    for (uint32_t v = 0; v < startCost_.size(); ++v) startCost_[v] = OffsetOf(SegFeatureKey(kSegDictStartCost, v, 0));
    wordCost_.assign((kSegWordMax + 1) * 32, kNone);
    for (uint32_t v = 0; v < wordCost_.size(); ++v) wordCost_[v] = OffsetOf(WordCostKey(v / 32, v % 32));
    constexpr uint32_t kValues = kSegDictCap + 1;
    dict_[3].assign(kValues * kValues * kValues * 8, kNone);
    for (uint32_t s = 0; s < kValues; ++s)
        for (uint32_t e = 0; e < kValues; ++e)
            for (uint32_t in = 0; in < kValues; ++in)
                for (uint32_t c = 0; c < 8; ++c)
                    dict_[3][((s * kValues + e) * kValues + in) * 8 + c] =
                        OffsetOf(SegFeatureKey(kSegDictAll, (uint64_t{s} << 16) | (uint64_t{e} << 8) | in, c));
}

void SegModel::ScoreFeatures(const std::vector<SegFeature> &features, size_t n, std::vector<int32_t> &score) const {
    score.assign(n * kSegLabels, 0);
    if (slots_.empty()) return;
    const auto last = static_cast<int64_t>(n);
    for (const SegFeature &f : features) {
        const int16_t *w = Find(f.key);
        if (w == nullptr) continue;
        int rows = kSegTemplateRows[SegKeyTemplate(f.key)];
        for (int r = 0; r < rows; ++r, w += kSegLabels) {
            int64_t i = int64_t{f.position} + r;
            if (i < 0 || i >= last) continue;
            int32_t *s = score.data() + static_cast<size_t>(i) * kSegLabels;
            for (int l = 0; l < kSegLabels; ++l) s[l] += w[l];
        }
    }
}

void SegModel::ScoreWordFeatures(const std::vector<SegWordFeature> &features, size_t n,
                                 std::vector<int32_t> &score) const {
    score.assign(n * kSegWordLengths, 0);
    if (slots_.empty()) return;
    for (const SegWordFeature &f : features) {
        const int16_t *w = Find(f.key);
        if (w == nullptr || f.end >= n || f.length < 2 || f.length > kSegWordMax) continue;
        score[size_t{f.end} * kSegWordLengths + f.length - 2] += w[0];
    }
}

namespace {

// A sum of rows of label weights as eight 32-bit lanes, added two rows at a
// time; a row is one vector of eight 16-bit weights.
#if defined(__SSE2__)
struct RowSum {
    __m128i lo = _mm_setzero_si128();
    __m128i hi = _mm_setzero_si128();
    // Interleaving two rows and multiplying by ones adds each label's pair
    // of weights as one 32-bit number.
    void AddPair(const int16_t *a, const int16_t *b) {
        const __m128i x = _mm_loadu_si128(reinterpret_cast<const __m128i *>(a));
        const __m128i y = _mm_loadu_si128(reinterpret_cast<const __m128i *>(b));
        const __m128i ones = _mm_set1_epi16(1);
        lo = _mm_add_epi32(lo, _mm_madd_epi16(_mm_unpacklo_epi16(x, y), ones));
        hi = _mm_add_epi32(hi, _mm_madd_epi16(_mm_unpackhi_epi16(x, y), ones));
    }
    void Store(int32_t *s) const {
        static_assert(kSegLabels == 8, "two vectors of four lanes");
        _mm_storeu_si128(reinterpret_cast<__m128i *>(s), lo);
        _mm_storeu_si128(reinterpret_cast<__m128i *>(s + 4), hi);
    }
};
#else
struct RowSum {
    int32_t v[8] = {};
    void AddPair(const int16_t *a, const int16_t *b) {
        for (int l = 0; l < 8; ++l) v[l] += int32_t{a[l]} + int32_t{b[l]};
    }
    void Store(int32_t *s) const { std::memcpy(s, v, kSegLabels * sizeof(int32_t)); }
};
#endif

}  // namespace

void SegModel::Score(const char *text, const Atom *atoms, size_t n, const Lexicon &lexicon,
                     CutScratch &scratch) const {
    std::vector<int32_t> &scoreVec = scratch.score;
    if (slots_.empty() || n == 0) {
        scoreVec.assign(n * kSegLabels, 0);
        return;
    }
    scoreVec.resize(n * kSegLabels);  // every score is written below
    int32_t *score = scoreVec.data();
    const int16_t *weights = weights_.data();
    // Weights at offset r.
    auto row = [weights](uint32_t r) { return weights + r; };
    scratch.marks.resize(n);
    lexicon.MarkWords(text, atoms, n, kSegDictCap, scratch.marks.data());
    const WordMarks *marks = scratch.marks.data();

    // Keys (id[k + 2]) and classes (cls[k + 2]) of atoms k = -2 .. n+1.
    scratch.ids.resize(2 * (n + 4));
    uint64_t *id = scratch.ids.data();
    uint64_t *cls = id + n + 4;
    id[0] = kPadIds[0];
    id[1] = kPadIds[1];
    id[n + 2] = kPadIds[2];
    id[n + 3] = kPadIds[3];
    cls[0] = cls[1] = cls[n + 2] = cls[n + 3] = kClassPad;
    // Weight offsets of the features: the unigrams of atoms -2 .. n+1
    // (uni[k + 2]), the bigrams of atoms (k, k+1), k = -2 .. n (bi[k + 2]),
    // and for k = 0 .. n-1 the skip pair (k-1, k+1), the trigram and the
    // atom with its word marks (hashed[3k ..]). The hashed keys are made
    // first, then their slots and their rows are fetched, each pass
    // prefetching what the next one reads, so that cache misses overlap.
    const size_t nUnigrams = n + 4;
    const size_t nBigrams = n + 3;
    const size_t nKeys = nBigrams + 3 * n;
    scratch.keys.resize(nKeys);
    scratch.offsets.resize(nUnigrams + nKeys);
    uint64_t *keys = scratch.keys.data();
    uint32_t *uni = scratch.offsets.data();
    uint32_t *bi = uni + nUnigrams;  // offsets of keys[0 .. nKeys), in order
    const uint32_t *hashed = bi + nBigrams;
    uni[0] = padUnigram_[0];
    uni[1] = padUnigram_[1];
    uni[n + 2] = padUnigram_[2];
    uni[n + 3] = padUnigram_[3];
    const auto *bytes = reinterpret_cast<const unsigned char *>(text);
    for (size_t k = 0; k < n; ++k) {
        const Atom &a = atoms[k];
        id[k + 2] = AtomId(text, a);
        cls[k + 2] = AtomClass(text, a);
        uint32_t r;
        if (a.length == 2) r = unigram_[(bytes[a.start] << 8) | bytes[a.start + 1]];
        else if (a.length == 1) r = unigram_[0x10000 + bytes[a.start]];
        else r = OffsetOf(FeatureKey(kSegUnigram, id[k + 2], 0));
        uni[k + 2] = r;
        __builtin_prefetch(row(r));
        __builtin_prefetch(row(r) + 5 * kSegLabels - 1);
    }
    for (size_t j = 0; j < nBigrams; ++j) keys[j] = FeatureKey(kSegBigram, id[j], id[j + 1]);
    uint64_t mixedPrev = Mix(id[1]);
    for (size_t k = 0; k < n; ++k) {
        const size_t j = k + 2;
        uint64_t *key = keys + nBigrams + 3 * k;
        key[0] = FeatureKey(kSegSkip, id[j - 1], id[j + 1]);
        key[1] = FeatureKey(kSegTrigram, mixedPrev ^ id[j], id[j + 1]);
        key[2] = FeatureKey(kSegDictAtom, id[j], (uint64_t{marks[k].starts} << 8) | marks[k].ends);
        mixedPrev = Mix(id[j]);
    }
    // Keys whose presence bit is clear are not looked up (offset kNone);
    // the others are marked 1 (no offset of a group) until probed. The
    // presence words are fetched first, and the test is made without a
    // branch (an absent key fetches slot 0), so that a mispredicted test
    // does not wait on a cache miss.
    for (size_t k = 0; k < nKeys; ++k) {
        bi[k] = PresentBit(Fingerprint(keys[k]));
        __builtin_prefetch(&present_[bi[k] >> 6]);
    }
    for (size_t k = 0; k < nKeys; ++k) {
        const bool hold = (present_[bi[k] >> 6] >> (bi[k] & 63)) & 1;
        bi[k] = hold ? 1 : kNone;
        __builtin_prefetch(&slots_[hold ? (keys[k] >> 4) & mask_ : 0]);
    }
    static_assert(kZeroRows * kSegLabels > 1, "1 marks a key to probe, never an offset");
    for (size_t k = 0; k < nKeys; ++k) {
        if (bi[k] == kNone) continue;
        bi[k] = OffsetOf(keys[k]);
        __builtin_prefetch(row(bi[k]));
    }

    // Each atom's scores: the rows that fall on it, summed in registers.
    // A feature the model lacks has row kNone, whose rows are all zero.
    constexpr uint32_t kValues = kSegDictCap + 1;
    static_assert(kSegTemplateRows[kSegUnigram] == 5 && kSegTemplateRows[kSegBigram] == 4, "rows per atom below");
    for (size_t k = 0; k < n; ++k) {
        const uint32_t *u = uni + k;  // unigrams of atoms k-2 .. k+2
        const uint32_t *b = bi + k;   // bigrams starting at atoms k-2 .. k+1
        const uint32_t *h = hashed + 3 * k;
        const size_t j = k + 2;
        const WordMarks &m = marks[k];
        RowSum sum;
        constexpr uint32_t L = kSegLabels;
        sum.AddPair(row(u[0] + 4 * L), row(u[1] + 3 * L));
        sum.AddPair(row(u[2] + 2 * L), row(u[3] + L));
        sum.AddPair(row(u[4]), row(b[0] + 3 * L));
        sum.AddPair(row(b[1] + 2 * L), row(b[2] + L));
        sum.AddPair(row(b[3]), row(h[0]));
        sum.AddPair(row(h[1]), row(h[2]));
        sum.AddPair(row(classes_[cls[j - 1] * 64 + cls[j] * 8 + cls[j + 1]]), row(dict_[0][m.starts]));
        sum.AddPair(row(dict_[1][m.ends]), row(dict_[2][m.inside]));
        sum.AddPair(row(dict_[3][((m.starts * kValues + m.ends) * kValues + m.inside) * 8 + cls[j]]),
                    row(startCost_[m.starts * kWordCostClasses + m.startCost]));
        sum.Store(score + k * kSegLabels);
    }
    if (hasWords_) ScoreWords(n, id + 2, marks, scratch.wordScore);
}

void SegModel::ScoreWords(size_t n, const uint64_t *id, const WordMarks *marks, std::vector<int32_t> &out) const {
    out.assign(n * kSegWordLengths, 0);
    const int16_t *weights = weights_.data();
    for (size_t e = 1; e < n; ++e) {
        int32_t *w = out.data() + e * kSegWordLengths;
        for (size_t len = 2; len <= kSegWordMax && len <= e + 1; ++len) {
            const uint8_t c = marks[e].endCost[len - 2];
            int32_t v = weights[wordCost_[len * 32 + c]];
            if (c != 0) {
                // The word alone and with the atoms on either side (id[-1]
                // and id[n] are the padding atoms).
                const size_t s = e + 1 - len;
                const uint64_t h = WordHash(id, s, e);
                const uint64_t keys[3] = {WordKey(h, len, 0, 0),
                                          WordKey(h, len, 1, id[static_cast<ptrdiff_t>(s) - 1]),
                                          WordKey(h, len, 2, id[e + 1])};
                for (uint64_t key : keys)
                    if (MayHold(Fingerprint(key))) v += weights[OffsetOf(key)];
            }
            w[len - 2] = v;
        }
    }
}

void SegModel::Labels(const int32_t *score, size_t n, std::vector<uint8_t> &labels, std::vector<uint8_t> &back,
                      const int32_t *words) const {
    labels.resize(n);
    if (n == 0) return;
    back.resize(n * kSegLabels);  // entries of atoms 1 .. n-1 are all written
    // A label that no allowed sequence reaches starts at kOut: far below any
    // reachable sum (each step adds at most a few times 2^24), so it never
    // wins against one, and only the first atoms have such labels.
    constexpr int64_t kOut = -(int64_t{1} << 60);
    static constexpr int32_t kNoWords[kSegWordLengths] = {};
    static_assert(kSegLabels == 8 && kSegBegin == 0 && kSegBegin2 == 1 && kSegBegin3 == 2 && kSegMiddle == 3 &&
                      kSegEnd == 4 && kSegSingle == 5 && kSegNameFirst == 6 && kSegNameLater == 7,
                  "the transitions written out below");
    const auto &t = transitions_;
    int64_t b = score[kSegBegin], b2 = kOut, b3 = kOut, m = kOut, e = kOut, s = score[kSegSingle],
            nf = score[kSegNameFirst], nl = kOut;
    // The larger of two candidates, the first on a tie (the lower label, as
    // in SegViterbi).
    auto pick = [](int64_t x, uint8_t xl, int64_t y, uint8_t yl, uint8_t *arg) {
        if (y > x) {
            *arg = yl;
            return y;
        }
        *arg = xl;
        return x;
    };
    // The best of the four labels that close a word (E, S, NF, NL) before
    // label `next`, the lowest label on a tie.
    auto closers = [&](int next, uint8_t *arg) {
        uint8_t a1, a2;
        const int64_t x = pick(e + t[kSegEnd][next], kSegEnd, s + t[kSegSingle][next], kSegSingle, &a1);
        const int64_t y = pick(nf + t[kSegNameFirst][next], kSegNameFirst, nl + t[kSegNameLater][next], kSegNameLater,
                               &a2);
        return pick(x, a1, y, a2, arg);
    };
    for (size_t i = 1; i < n; ++i) {
        const int32_t *sc = score + i * kSegLabels;
        const int32_t *wd = words != nullptr ? words + i * kSegWordLengths : kNoWords;
        uint8_t *bk = back.data() + i * kSegLabels;
        const int64_t nb = closers(kSegBegin, &bk[0]);
        const int64_t nb2 = b + t[kSegBegin][kSegBegin2];
        bk[1] = kSegBegin;
        const int64_t nb3 = b2 + t[kSegBegin2][kSegBegin3];
        bk[2] = kSegBegin2;
        const int64_t nm =
            pick(b3 + t[kSegBegin3][kSegMiddle], kSegBegin3, m + t[kSegMiddle][kSegMiddle], kSegMiddle, &bk[3]);
        uint8_t a1, a2;
        const int64_t e1 = pick(b + t[kSegBegin][kSegEnd] + wd[0], kSegBegin, b2 + t[kSegBegin2][kSegEnd] + wd[1],
                                kSegBegin2, &a1);
        const int64_t e2 =
            pick(b3 + t[kSegBegin3][kSegEnd] + wd[2], kSegBegin3, m + t[kSegMiddle][kSegEnd], kSegMiddle, &a2);
        const int64_t ne = pick(e1, a1, e2, a2, &bk[4]);
        const int64_t ns = closers(kSegSingle, &bk[5]);
        const int64_t nnf = closers(kSegNameFirst, &bk[6]);
        const int64_t nnl = pick(nf + t[kSegNameFirst][kSegNameLater], kSegNameFirst,
                                 nl + t[kSegNameLater][kSegNameLater], kSegNameLater, &bk[7]);
        b = nb + sc[kSegBegin];
        b2 = nb2 + sc[kSegBegin2];
        b3 = nb3 + sc[kSegBegin3];
        m = nm + sc[kSegMiddle];
        e = ne + sc[kSegEnd];
        s = ns + sc[kSegSingle];
        nf = nnf + sc[kSegNameFirst];
        nl = nnl + sc[kSegNameLater];
    }
    // S unless another closing label scores higher, as in SegViterbi.
    int last = kSegSingle;
    int64_t best = s;
    if (e > best) last = kSegEnd, best = e;
    if (nf > best) last = kSegNameFirst, best = nf;
    if (nl > best) last = kSegNameLater, best = nl;
    for (size_t i = n; i-- > 0;) {
        labels[i] = static_cast<uint8_t>(last);
        if (i > 0) last = back[i * kSegLabels + last];
    }
}

void SegModel::FixBoundaries(const char *text, const Atom *atoms, size_t n, const WordMarks *marks, int32_t *score) {
    // A web or e-mail address is a word alone: no word of the corpus joins
    // one to the characters around it, and the model, which never saw an
    // address, would (详情见 + https://...).
    for (size_t k = 0; k < n; ++k) {
        if (atoms[k].kind != AtomKind::kLatin) continue;
        size_t e = AddressEnd(text, atoms, n, k);
        for (size_t i = k; i < e; ++i)
            for (int label = 0; label < kSegLabels; ++label)
                if (label != kSegSingle) score[i * kSegLabels + label] = kSegForbidden;
        if (e > k) k = e - 1;
    }
    // A hyphen after a number is a word alone: the model would join it to
    // the number after it as a minus sign (2023 -05 -12, 010 -12345678).
    for (size_t k = 1; k < n; ++k) {
        const char *c = text + atoms[k].start;
        const bool hyphen = atoms[k].kind == AtomKind::kPunct &&
                            ((atoms[k].length == 1 && c[0] == '-') ||
                             (atoms[k].length == 2 && c[0] == '\xA3' && c[1] == '\xAD'));  // －
        if (hyphen && atoms[k - 1].kind == AtomKind::kNumber && !atoms[k].continuesPrevious)
            for (int label = 0; label < kSegLabels; ++label)
                if (label != kSegSingle) score[k * kSegLabels + label] = kSegForbidden;
    }
    // A run of letters or digits after a Chinese character starts a word
    // unless a dictionary word holds both (卡拉ＯＫ, 甲Ａ): the corpus joins
    // almost no other, and the model, which has seen few letter runs, would
    // (新款 + iPhone -> 款iPhone).
    for (size_t k = 1; k < n; ++k) {
        const AtomKind kind = atoms[k].kind;
        if ((kind != AtomKind::kLatin && kind != AtomKind::kNumber) || atoms[k].continuesPrevious ||
            atoms[k - 1].kind != AtomKind::kHan || marks[k].ends != 0 || marks[k].inside != 0)
            continue;
        for (int label : {kSegBegin2, kSegBegin3, kSegMiddle, kSegEnd}) score[k * kSegLabels + label] = kSegForbidden;
    }
}

void SegModel::Cut(const char *text, const Atom *atoms, size_t n, const Lexicon &lexicon, std::vector<uint32_t> &ends,
                   CutScratch &scratch) const {
    if (n == 0) return;
    Score(text, atoms, n, lexicon, scratch);
    FixBoundaries(text, atoms, n, scratch.marks.data(), scratch.score.data());
    std::vector<uint8_t> &labels = scratch.labels;
    Labels(scratch.score.data(), n, labels, scratch.path, hasWords_ ? scratch.wordScore.data() : nullptr);
    for (size_t i = 0; i < n; ++i)
        if (SegLabelCloses(labels[i]) || i + 1 == n) ends.push_back(static_cast<uint32_t>(i + 1));
}

}  // namespace vsg::front
