// Corpus reading, unit building and the tag sets of the default models.
#include "corpus.h"

#include <dirent.h>
#include <iconv.h>

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <map>
#include <set>
#include <unordered_map>
#include <unordered_set>

#include "charlists.h"
#include "common/gb_lists.h"
#include "common/gbtext.h"
#include "lexclasses.h"

namespace vsgtrain {

namespace {

// First number of the one-word classes, and how many of them are used.
constexpr int kFirstLexClass = 95;
constexpr int kLexClassLimit = 150;

// Runs iconv over `in`; a byte that cannot be converted is skipped.
bool Convert(const char *to, const char *from, const std::string &in, std::string *out) {
    out->clear();
    iconv_t cd = iconv_open(to, from);
    if (cd == reinterpret_cast<iconv_t>(-1)) return false;
    bool clean = true;
    std::vector<char> buf(in.size() * 4 + 16);
    char *src = const_cast<char *>(in.data());
    size_t srcLeft = in.size();
    while (srcLeft > 0) {
        char *dst = buf.data();
        size_t dstLeft = buf.size();
        size_t r = iconv(cd, &src, &srcLeft, &dst, &dstLeft);
        out->append(buf.data(), static_cast<size_t>(dst - buf.data()));
        if (r == static_cast<size_t>(-1)) {
            if (errno == E2BIG) continue;
            clean = false;  // invalid or incomplete input: skip one byte
            ++src;
            --srcLeft;
        }
    }
    iconv_close(cd);
    return clean;
}

std::string Gb(const char *utf8) {
    std::string gb;
    Utf8ToGb(utf8, &gb);
    return gb;
}

std::unordered_set<std::string> CharSet(const char *utf8) {
    std::unordered_set<std::string> set;
    for (const std::string &ch : SplitChars(Gb(utf8))) set.insert(ch);
    return set;
}

// The characters of a GB list.
std::unordered_set<std::string> GbCharSet(const char *gb) {
    std::unordered_set<std::string> set;
    for (const std::string &ch : SplitChars(gb)) set.insert(ch);
    return set;
}

// The pieces of `width` bytes of a GB string.
std::unordered_set<std::string> FixedWidthSet(const char *gb, size_t width) {
    std::unordered_set<std::string> set;
    std::string all(gb);
    for (size_t i = 0; i + width <= all.size(); i += width) set.insert(all.substr(i, width));
    return set;
}

std::unordered_set<std::string> WordSet(std::initializer_list<const char *> words) {
    std::unordered_set<std::string> set;
    for (const char *w : words) set.insert(Gb(w));
    return set;
}

// Lazily built GB forms of every list the unit builder and tag mapping use.
struct Lists {
    std::unordered_set<std::string> placeSuffix = GbCharSet(vsg::text::kPlaceSuffixes);
    std::unordered_set<std::string> surnames = CharSet(kSurnameChars);
    std::unordered_set<std::string> sets[3] = {GbCharSet(vsg::text::kForeignSetA), GbCharSet(vsg::text::kForeignSetB),
                                               GbCharSet(vsg::text::kForeignSetC)};
    std::vector<std::string> suffixes;
    std::unordered_set<std::string> compoundSurnames = FixedWidthSet(vsg::kCompoundSurnames, 4);
    std::unordered_set<std::string> japaneseSurnames = FixedWidthSet(Gb(kJapaneseSurnames).c_str(), 4);
    std::unordered_set<std::string> personalPronouns =
        WordSet({"我", "你", "您", "他", "她", "它", "我们", "你们", "他们", "她们", "它们", "咱",
                 "咱们", "自己", "大家", "人家", "别人", "本人", "彼此", "俺", "俺们", "各自",
                 "自个儿", "人们"});
    std::unordered_set<std::string> demonstratives =
        WordSet({"这", "那", "此", "该", "其", "这些", "那些", "这个", "那个", "这种", "那种",
                 "这样", "那样", "这里", "那里", "这儿", "那儿", "每", "各", "本", "某", "其他",
                 "其中", "其余", "另", "这次", "此外", "这么", "那么", "如此", "本报", "之一",
                 "其它", "这边", "那边", "该项", "这项"});
    std::unordered_set<std::string> interrogatives =
        WordSet({"什么", "谁", "怎么", "怎样", "如何", "哪", "哪里", "哪些", "多少", "几",
                 "为什么", "怎么样", "何", "啥", "哪儿", "为何", "何时", "何处", "哪个"});
    std::unordered_set<std::string> negations = WordSet({"不", "没", "没有", "未", "别"});
    std::unordered_set<std::string> coordinators =
        WordSet({"和", "与", "及", "以及", "或", "或者", "并", "跟", "同", "或是", "及其"});
    std::unordered_map<std::string, int> exactWords;  // (tag|word) -> number
    std::unordered_map<std::string, int> lexWords;    // (tag|word) -> number of the listed one-word classes
    std::unordered_map<std::string, int> punct;       // punctuation word -> number

    Lists() {
        for (const std::string &ch : SplitChars(vsg::text::kPlaceSuffixes)) suffixes.push_back(ch);
        for (const char *w : kPlaceSuffixWords) suffixes.push_back(Gb(w));
        auto add = [this](const char *tag, std::initializer_list<const char *> words, int num) {
            for (const char *w : words) exactWords[std::string(tag) + "|" + Gb(w)] = num;
        };
        add("u", {"的"}, 43);
        add("u", {"地"}, 44);
        add("u", {"得"}, 45);
        add("u", {"着"}, 46);
        add("v", {"是"}, 49);
        add("v", {"有"}, 50);
        add("u", {"了"}, 54);
        add("u", {"过"}, 55);
        add("u", {"所"}, 56);
        add("u", {"等", "等等", "云云"}, 57);
        add("u", {"之"}, 58);
        add("u", {"一样", "似的", "般", "一般", "样", "似地"}, 59);
        add("u", {"来说", "而言", "来讲", "的话"}, 60);
        add("p", {"在"}, 61);
        add("p", {"把", "将"}, 62);
        add("p", {"被"}, 63);
        add("p", {"对", "对于", "关于"}, 64);
        add("p", {"从", "自", "由", "自从"}, 65);
        add("y", {"了"}, 67);
        int lex = kFirstLexClass;
        for (const LexClass &c : kLexClasses) {
            if (lex - kFirstLexClass >= kLexClassLimit) break;
            lexWords[std::string(c.tag) + "|" + Gb(c.word)] = lex++;
        }
        auto addp = [this](std::initializer_list<const char *> words, int num) {
            for (const char *w : words) punct[Gb(w)] = num;
        };
        addp({"。"}, 78);
        addp({"，", ","}, 79);
        addp({"、"}, 80);
        addp({"；", ";"}, 81);
        addp({"：", ":"}, 82);
        addp({"！", "!"}, 83);
        addp({"？", "?"}, 84);
        addp({"“", "‘", "「", "『"}, 85);
        addp({"”", "’", "」", "』"}, 86);
        addp({"（", "《", "〈", "【", "〔", "［", "｛", "(", "["}, 87);
        addp({"）", "》", "〉", "】", "〕", "］", "｝", ")", "]"}, 88);
        addp({"—", "——", "－", "─", "-", "――", "———"}, 89);
        addp({"…", "……", "…………"}, 90);
        addp({"·", "／", "～", "＊", "/", "~", "*"}, 91);
    }
};

const Lists &L() {
    static const Lists lists;
    return lists;
}

// Classes of the trainer's own choosing after the fixed tag set: number by
// "corpus tag|word", and the names of the numbers from the first one on.
struct ExtraClasses {
    std::unordered_map<std::string, int> byWord;
    std::vector<std::string> names;
    bool listed = true;  // false: the listed one-word classes are left out
};

ExtraClasses &Extra() {
    static ExtraClasses extra;
    return extra;
}

// The fixed tag set (see PosTagNames).
std::vector<std::string> FixedPosTagNames();

int CharCount(const std::string &gb) { return static_cast<int>(SplitChars(gb).size()); }

bool AllInSet(const std::string &gb, int set) { return CharsInSet(gb, set) == CharCount(gb); }

std::string Repeat(char c, int n) { return n > 0 ? std::string(static_cast<size_t>(n), c) : std::string(); }

// Roles of a transliterated or Japanese name cut into characters: begin,
// middle..., end (middle dots take the middle role).
std::string ForeignRoles(int chars, char begin) {
    if (chars <= 1) return std::string(1, begin);
    return std::string(1, begin) + Repeat(static_cast<char>(begin + 1), chars - 2) +
           std::string(1, static_cast<char>(begin + 2));
}

// Roles of a given name of `chars` characters.
std::string GivenRoles(int chars) {
    if (chars == 1) return "F";
    return "D" + Repeat('E', chars - 1);
}

}  // namespace

bool Utf8ToGb(const std::string &utf8, std::string *gb) { return Convert("GB18030", "UTF-8", utf8, gb); }

std::string GbToUtf8(const std::string &gb) {
    std::string out;
    Convert("UTF-8", "GB18030", gb, &out);
    return out;
}

std::vector<std::string> SplitChars(const std::string &gb) {
    std::vector<std::string> chars;
    for (size_t i = 0; i < gb.size();) {
        size_t n = (static_cast<unsigned char>(gb[i]) >= 0x80 && i + 1 < gb.size()) ? 2 : 1;
        chars.push_back(gb.substr(i, n));
        i += n;
    }
    return chars;
}

bool ParseParagraph(const std::string &utf8Line, Paragraph *out) {
    *out = Paragraph();
    std::string gb;
    Utf8ToGb(utf8Line, &gb);
    std::vector<std::string> fields;
    size_t i = 0;
    while (i < gb.size()) {
        while (i < gb.size() && (gb[i] == ' ' || gb[i] == '\t' || gb[i] == '\r' || gb[i] == '\n')) ++i;
        size_t j = i;
        while (j < gb.size() && !(gb[j] == ' ' || gb[j] == '\t' || gb[j] == '\r' || gb[j] == '\n')) {
            // Step over two-byte characters whole so that their second byte is
            // never taken for a separator.
            j += (static_cast<unsigned char>(gb[j]) >= 0x80 && j + 1 < gb.size()) ? 2 : 1;
        }
        if (j > i) fields.push_back(gb.substr(i, j - i));
        i = j;
    }
    if (fields.size() < 2) return false;
    const std::string &id = fields[0];
    size_t slash = id.rfind('/');
    out->id = id.substr(0, slash);
    if (out->id.size() < 8) return false;
    out->date = std::atoi(out->id.substr(0, 8).c_str());
    int open = -1;
    for (size_t f = 1; f < fields.size(); ++f) {
        std::string tok = fields[f];
        bool opens = false;
        if (tok.size() > 1 && tok[0] == '[' && tok.find('/', 1) != std::string::npos && tok[1] != '/') {
            opens = true;
            tok.erase(0, 1);
        }
        std::string label;
        size_t s = tok.rfind('/');
        if (s == std::string::npos || s == 0) continue;  // not a word/tag token
        std::string word = tok.substr(0, s);
        std::string tag = tok.substr(s + 1);
        size_t close = tag.find(']');
        if (close != std::string::npos) {
            label = tag.substr(close + 1);
            tag.erase(close);
        }
        if (opens) {
            Bracket b;
            b.first = static_cast<int>(out->tokens.size());
            out->brackets.push_back(b);
            open = static_cast<int>(out->brackets.size()) - 1;
        }
        Token t;
        t.word = word;
        t.tag = tag;
        t.bracket = open;
        out->tokens.push_back(t);
        if (close != std::string::npos && open >= 0) {
            out->brackets[static_cast<size_t>(open)].last = static_cast<int>(out->tokens.size()) - 1;
            out->brackets[static_cast<size_t>(open)].label = label;
            open = -1;
        }
    }
    if (open >= 0) {  // unclosed bracket: drop it
        for (Token &t : out->tokens)
            if (t.bracket == open) t.bracket = -1;
        out->brackets.pop_back();
    }
    return !out->tokens.empty();
}

bool ReadCorpusFile(const std::string &path, int32_t from, int32_t to, std::vector<Paragraph> *out) {
    std::ifstream in(path, std::ios::binary);
    if (!in) return false;
    std::string line;
    while (std::getline(in, line)) {
        Paragraph p;
        if (!ParseParagraph(line, &p)) continue;
        if (from != 0 && p.date < from) continue;
        if (to != 0 && p.date > to) continue;
        out->push_back(std::move(p));
    }
    return true;
}

std::vector<std::string> CorpusFiles(const std::string &dir) {
    std::vector<std::string> files;
    DIR *d = opendir(dir.c_str());
    if (d == nullptr) return files;
    while (dirent *e = readdir(d)) {
        std::string name = e->d_name;
        if (name.size() > 4 && name.compare(name.size() - 4, 4, ".txt") == 0) files.push_back(dir + "/" + name);
    }
    closedir(d);
    std::sort(files.begin(), files.end());
    return files;
}

int CharsInSet(const std::string &gb, int set) {
    int n = 0;
    for (const std::string &ch : SplitChars(gb))
        if (L().sets[set].count(ch) != 0) ++n;
    return n;
}

bool IsPlaceSuffixChar(const std::string &ch) { return L().placeSuffix.count(ch) != 0; }

bool IsSurnameChar(const std::string &ch) { return L().surnames.count(ch) != 0; }

bool IsJapaneseSurname(const std::string &gb) { return L().japaneseSurnames.count(gb) != 0; }

const std::vector<std::string> &PlaceSuffixes() { return L().suffixes; }

std::string PlaceRoles(const std::string &gbPlace) {
    std::vector<std::string> chars = SplitChars(gbPlace);
    int k = static_cast<int>(chars.size());
    if (k <= 1) return "S";
    if (IsPlaceSuffixChar(chars.back())) {
        if (k == 2) return "CG";
        if (k == 3) return "CFG";
        return "C" + Repeat('D', k - 4) + "EFG";
    }
    if (k == 2) return "HL";
    if (k == 3) return "HKL";
    return "H" + Repeat('I', k - 4) + "JKL";
}

// Whether a character is a title that follows a surname in a name token.
static bool IsTitleChar(const std::string &gb) {
    static const std::set<std::string> titles = {Gb("老"), Gb("某"), Gb("公"), Gb("总")};
    return titles.count(gb) != 0;
}

// Person name from one or two nr tokens: its tag and per-character roles.
static void ClassifyPerson(const std::string &surname, const std::string &given, Unit *u) {
    const std::string dot = Gb("·");
    std::string text = surname + given;
    std::vector<std::string> chars = SplitChars(text);
    int k = static_cast<int>(chars.size());
    bool hasDot = text.find(dot) != std::string::npos;
    if (hasDot) {
        u->tag = kPosForeignPerson;
        u->roles = ForeignRoles(k, 'L');
        return;
    }
    if (!given.empty()) {
        int sc = CharCount(surname), gc = CharCount(given);
        if (sc == 1 || L().compoundSurnames.count(surname) != 0) {
            u->tag = kPosPerson;
            u->roles = Repeat('C', sc) + GivenRoles(gc);
        } else if (AllInSet(text, 2) || IsJapaneseSurname(surname)) {
            u->tag = kPosJapanesePerson;
            u->roles = ForeignRoles(k, 'O');
        } else {
            u->tag = kPosForeignPerson;
            u->roles = ForeignRoles(k, 'L');
        }
        return;
    }
    // A lone token: a surname or given name by itself, or a whole foreign name.
    if (k == 1) {
        u->tag = kPosPerson;
        u->roles = "C";
    } else if (k == 2) {
        if (AllInSet(text, 1)) {
            // Cut into characters, a two-character name can only be joined
            // by a Chinese pattern, which tags it 24.
            u->tag = kPosPerson;
            u->roles = "LN";
        } else if (IsTitleChar(chars[1])) {
            // A surname with a title after it (侯老, 张某, 周公).
            u->tag = kPosPerson;
            u->roles = "CH";
        } else {
            u->tag = kPosPerson;
            u->roles = "DE";
        }
    } else if (IsJapaneseSurname(chars[0] + chars[1])) {
        // A listed Japanese surname begins the name (桥本龙太郎, 小林实).
        u->tag = kPosJapanesePerson;
        u->roles = ForeignRoles(k, 'O');
    } else if (std::max(CharsInSet(text, 0), CharsInSet(text, 1)) >= k - 1) {
        // All characters but at most one are transliteration characters.
        u->tag = kPosForeignPerson;
        u->roles = ForeignRoles(k, 'L');
    } else if (k == 3) {
        u->tag = kPosPerson;
        u->roles = "CDE";
    } else if (AllInSet(text, 2)) {
        u->tag = kPosJapanesePerson;
        u->roles = ForeignRoles(k, 'O');
    } else {
        u->tag = kPosForeignPerson;
        u->roles = ForeignRoles(k, 'L');
    }
}

static int PlaceTag(const std::string &gb) {
    std::vector<std::string> chars = SplitChars(gb);
    if (chars.size() >= 3 && !IsPlaceSuffixChar(chars.back()) && (AllInSet(gb, 0) || AllInSet(gb, 1)))
        return kPosForeignPlace;
    return kPosPlace;
}

std::vector<Unit> BuildUnits(const Paragraph &p) {
    std::vector<Unit> units;
    const std::vector<Token> &t = p.tokens;
    auto bracketFlags = [&p](Unit *u, int firstTok, int lastTok) {
        u->bracket = p.tokens[static_cast<size_t>(firstTok)].bracket;
        if (u->bracket >= 0) {
            const Bracket &b = p.brackets[static_cast<size_t>(u->bracket)];
            u->bracketFirst = b.first == firstTok;
            u->bracketLabel = b.label;
            u->bracketLast = b.last == lastTok;
        }
    };
    for (size_t i = 0; i < t.size(); ++i) {
        Unit u;
        const std::string &tag = t[i].tag;
        if (tag == "nr") {
            u.kind = UnitKind::Person;
            size_t last = i;
            std::string given;
            if (i + 1 < t.size() && t[i + 1].tag == "nr" && t[i + 1].bracket == t[i].bracket) {
                int sc = CharCount(t[i].word);
                if (sc == 1 || (sc == 2 && t[i].word.find(Gb("·")) == std::string::npos &&
                                CharCount(t[i + 1].word) <= 3)) {
                    given = t[i + 1].word;
                    last = i + 1;
                }
            }
            ClassifyPerson(t[i].word, given, &u);
            u.text = t[i].word + given;
            u.tokens = static_cast<int>(last - i) + 1;
            bracketFlags(&u, static_cast<int>(i), static_cast<int>(last));
            i = last;
        } else if (tag == "ns" || tag == "na") {
            u.kind = UnitKind::Place;
            u.text = t[i].word;
            u.tag = PlaceTag(u.text);
            bracketFlags(&u, static_cast<int>(i), static_cast<int>(i));
        } else {
            u.kind = tag == "nt" ? UnitKind::Org : UnitKind::Plain;
            u.text = t[i].word;
            u.tag = PosTagOf(u.text, tag);
            bracketFlags(&u, static_cast<int>(i), static_cast<int>(i));
        }
        units.push_back(std::move(u));
    }
    return units;
}

// ---- Tag sets ------------------------------------------------------------

namespace {

std::vector<std::string> FixedPosTagNames() {
    std::vector<std::string> n = {
        "bos",  "eos",  "n",     "v",     "a",     "d",     "m",    "q",    "r",    "p",     // 0-9
        "c",    "t",    "f",     "s",     "u",     "vn",    "an",   "ad",   "vd",   "b",     // 10-19
        "z",    "j",    "l",     "i",     "nr",    "nz",    "nx",   "nrf",  "nrj",  "ns",    // 20-29
        "nsf",  "nt",   "k",     "h",     "y",     "e",     "o",    "Ng",   "Vg",   "Ag",    // 30-39
        "Tg",   "Dg",   "Rg",    "ude1",  "ude2",  "ude3",  "uzhe", "Bg",   "Mg",   "vshi",  // 40-49
        "vyou", "rr",   "rz",    "ry",    "ule",   "uguo",  "usuo", "udeng", "uzhi", "uyy",  // 50-59
        "ulai", "pzai", "pba",   "pbei",  "pdui",  "pcong", "cc",   "yle",  "dbu",  "x69",   // 60-69
        "x70",  "x71",  "x72",   "x73",   "x74",   "x75",   "x76",  "x77",  "wj",   "wd",    // 70-79
        "wn",   "wf",   "wm",    "wt",    "ww",    "wyz",   "wyy",  "wkz",  "wky",  "wp",    // 80-89
        "ws",   "wh",   "w",     "x93",   "yg"};                                              // 90-94
    // One-word classes are named after their corpus tag: "v#3" is the
    // third one-word verb class.
    std::map<std::string, int> perTag;
    for (int i = 0; i < kLexClassLimit && i < static_cast<int>(sizeof kLexClasses / sizeof kLexClasses[0]); ++i) {
        const std::string tag = kLexClasses[i].tag;
        n.push_back(tag + "#" + std::to_string(++perTag[tag]));
    }
    return n;
}

std::vector<std::string> &Names() {
    static std::vector<std::string> names = FixedPosTagNames();
    return names;
}

}  // namespace

const std::vector<std::string> &PosTagNames() { return Names(); }

bool SetExtraPosClasses(const std::vector<ExtraPosClass> &classes, bool listed) {
    std::vector<std::string> names = FixedPosTagNames();
    if (!listed) names.resize(kFirstLexClass);
    if (names.size() + classes.size() > kMaxPosTags) return false;
    ExtraClasses &extra = Extra();
    extra.byWord.clear();
    extra.names.clear();
    extra.listed = listed;
    for (const ExtraPosClass &c : classes) {
        const int number = static_cast<int>(names.size());
        names.push_back(c.name);
        for (const std::string &w : c.words) extra.byWord.emplace(c.corpusTag + "|" + w, number);  // first class wins
    }
    Names() = std::move(names);
    return true;
}

int PosTagOf(const std::string &gbWord, const std::string &corpusTag) {
    const Lists &l = L();
    auto exact = l.exactWords.find(corpusTag + "|" + gbWord);
    if (exact != l.exactWords.end()) return exact->second;
    const ExtraClasses &extra = Extra();
    if (extra.listed) {
        auto listed = l.lexWords.find(corpusTag + "|" + gbWord);
        if (listed != l.lexWords.end()) return listed->second;
    }
    if (!extra.byWord.empty()) {
        auto chosen = extra.byWord.find(corpusTag + "|" + gbWord);
        if (chosen != extra.byWord.end()) return chosen->second;
    }
    static const std::unordered_map<std::string, int> coarse = {
        {"n", 2},   {"v", 3},   {"a", 4},   {"d", 5},   {"m", 6},   {"q", 7},   {"r", 8},
        {"p", 9},   {"c", 10},  {"t", 11},  {"f", 12},  {"s", 13},  {"u", 14},  {"vn", 15},
        {"vvn", 15}, {"an", 16}, {"ad", 17}, {"vd", 18}, {"b", 19},  {"z", 20},  {"j", 21},
        {"l", 22},  {"i", 23},  {"nr", 24}, {"nz", 25}, {"nx", 26}, {"ns", 29}, {"na", 29},
        {"nt", 31}, {"k", 32},  {"h", 33},  {"y", 34},  {"e", 35},  {"o", 36},  {"Ng", 37},
        {"Vg", 38}, {"Ag", 39}, {"Tg", 40}, {"Dg", 41}, {"Rg", 42}, {"Bg", 47}, {"Mg", 48},
        {"Yg", 94}};
    if (corpusTag == "w") {
        auto it = l.punct.find(gbWord);
        return it != l.punct.end() ? it->second : 92;
    }
    if (corpusTag == "r") {
        if (l.personalPronouns.count(gbWord)) return 51;
        if (l.demonstratives.count(gbWord)) return 52;
        if (l.interrogatives.count(gbWord)) return 53;
    }
    if (corpusTag == "c" && l.coordinators.count(gbWord)) return 66;
    if (corpusTag == "d" && l.negations.count(gbWord)) return 68;
    auto it = coarse.find(corpusTag);
    return it != coarse.end() ? it->second : 2;
}

const std::vector<std::string> &PersonRoleNames() {
    static const std::vector<std::string> names = {"A", "B", "C", "D", "E", "F", "G", "H",
                                                   "I", "J", "K", "L", "M", "N", "O", "P",
                                                   "Q", "R", "S", "T", "U", "V", "W"};
    return names;
}

const std::vector<std::string> &PlaceRoleNames() {
    static const std::vector<std::string> names = {"A", "B", "C", "D", "E", "F", "G", "H", "I", "J",
                                                   "K", "L", "M", "N", "O", "P", "Q", "R", "S"};
    return names;
}

const std::vector<std::string> &OrgRoleNames() {
    static const std::vector<std::string> names = {"A", "Z", "C", "E", "J", "D", "T", "1",
                                                   "4", "U", "V", "W", "X", "Y", "z"};
    return names;
}

int RoleOf(const std::vector<std::string> &names, char letter) {
    for (size_t i = 0; i < names.size(); ++i)
        if (names[i][0] == letter) return static_cast<int>(i);
    return -1;
}

}  // namespace vsgtrain
