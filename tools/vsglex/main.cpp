// vsglex: finds person, place and organisation names in Chinese text and
// tags every word, reading files or standard input.
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "vsglex/vsglex_api.h"

namespace {

// Exit codes, the highest one met wins.
enum Exit { kOk = 0, kInvalidBytes = 1, kUsage = 2, kUnreadable = 3, kModels = 4, kUnwritable = 5, kUserDict = 6 };

enum class Format { kText, kJson, kTsv };

struct Options {
    int charset = VSGLEX_CHARSET_AUTO;
    Format format = Format::kText;
    bool precut = false;
    bool namesOnly = false;
    bool corpus = false;  // print corpus-granularity pieces in text and TSV
    int t2s = -1;  // map traditional characters to simplified: 1 yes, 0 no, -1 when the text looks traditional
    unsigned threads = 1;
    std::string data;
    std::vector<std::string> files;
    std::vector<std::string> userDicts;
};

const char kUsageText[] =
    "usage: vsglex [options] [FILE...]\n"
    "Finds person, place and organisation names in Chinese text and tags every\n"
    "word. Reads standard input when no FILE (or '-') is given.\n"
    "\n"
    "  --encoding utf-8|gbk|gb18030|big5  input character set (default: guessed from\n"
    "                                     the start of each file; UTF-16 is refused)\n"
    "  --t2s, --no-t2s                    analyse traditional characters as simplified\n"
    "                                     (default: when the text looks traditional);\n"
    "                                     output keeps the input's characters\n"
    "  --format text|json|tsv             text: word/tag per word, one line per input\n"
    "                                     line; json: one object per sentence;\n"
    "                                     tsv: word, tag, offset, length, name class\n"
    "  --pre-cut                          input words are already separated by spaces\n"
    "  --names-only                       print only the names with class and offset\n"
    "  --granularity merged|corpus        merged (default): names as one word each;\n"
    "                                     corpus: the words the training corpus writes\n"
    "                                     (surname and given name, an organisation's\n"
    "                                     component words) in text and TSV output;\n"
    "                                     JSON gives every word's \"parts\" either way\n"
    "  --threads N                        analyse with N threads (output order kept)\n"
    "  --data DIR                         model set directory (default: $VSGLEX_DATA,\n"
    "                                     else the installed set, else data/vsg of\n"
    "                                     the source tree)\n"
    "  --user-dict FILE                   add the words of a user dictionary (UTF-8,\n"
    "                                     'word [count] [tag]' a line); repeatable\n"
    "  --help, --version\n"
    "\n"
    "With several files, output names the file (a header line, a JSON field, a first\n"
    "TSV column). Offsets are byte offsets in the input file. Exit status: 0 ok,\n"
    "1 invalid bytes were skipped, 2 usage error, 3 an input could not be read (or\n"
    "looks like UTF-16), 4 no usable model set (a missing, damaged or mismatched\n"
    "model file; the message names it), 5 output could not be written, 6 a user\n"
    "dictionary could not be loaded.\n";

bool HasModels(const std::string &dir) {
    struct stat st;
    return !dir.empty() && stat((dir + "/coredict.dct").c_str(), &st) == 0;
}

// The model set installed beside this program (PREFIX/share/vsglex/vsg
// for PREFIX/bin/vsglex), wherever the tree was installed to.
std::string BesideProgram() {
    char path[4096];
    ssize_t n = readlink("/proc/self/exe", path, sizeof path - 1);
    if (n <= 0) return "";
    std::string exe(path, static_cast<size_t>(n));
    size_t slash = exe.rfind('/');
    if (slash == std::string::npos) return "";
    return exe.substr(0, slash) + "/../share/vsglex/vsg";
}

// The model directory: --data, then VSGLEX_DATA, then the installed set
// (beside the program, then the configured prefix), then the source tree's.
std::string FindModels(const Options &o, std::string *looked) {
    if (!o.data.empty()) return o.data;
    const char *env = std::getenv("VSGLEX_DATA");
    if (env != nullptr && *env != '\0') return env;
    std::string candidates[] = {BesideProgram(), VSGLEX_INSTALLED_DATA, VSGLEX_SOURCE_DATA};
    for (const std::string &c : candidates) {
        if (c.empty()) continue;
        if (HasModels(c)) return c;
        *looked += (looked->empty() ? "" : ", ") + c;
    }
    return "";
}

// ---- output -------------------------------------------------------------

void JsonString(std::string &out, const char *s, size_t n) {
    out.push_back('"');
    for (size_t i = 0; i < n; ++i) {
        auto c = static_cast<unsigned char>(s[i]);
        switch (c) {
        case '"': out += "\\\""; break;
        case '\\': out += "\\\\"; break;
        case '\n': out += "\\n"; break;
        case '\r': out += "\\r"; break;
        case '\t': out += "\\t"; break;
        default:
            if (c < 0x20) {
                char buf[8];
                std::snprintf(buf, sizeof buf, "\\u%04x", c);
                out += buf;
            } else {
                out.push_back(static_cast<char>(c));
            }
        }
    }
    out.push_back('"');
}

void AppendNumber(std::string &out, uint64_t v) { out += std::to_string(v); }

// A NUL-terminated string as a JSON string.
void JsonString(std::string &out, const char *s) { JsonString(out, s, std::strlen(s)); }

// `"offset":N,"length":M`, the span of a word or sentence in the file.
void JsonSpan(std::string &out, uint64_t offset, uint64_t length) {
    out += "\"offset\":";
    AppendNumber(out, offset);
    out += ",\"length\":";
    AppendNumber(out, length);
}

// Tab, offset, tab, length.
void TsvSpan(std::string &out, uint64_t offset, uint64_t length) {
    out += '\t';
    AppendNumber(out, offset);
    out += '\t';
    AppendNumber(out, length);
}

// One piece of input analysed on its own.
struct Piece {
    const char *text;
    size_t length;
    uint64_t base;       // offset of the piece in the file
    uint64_t firstLine;  // number of its first line, from 1
    std::string out;
    std::vector<uint64_t> badLines;  // lines that held invalid bytes
    int32_t status = VSGLEX_OK;
    int32_t charset = 0;
    std::string error;
    const std::string *file = nullptr;  // the input's name when several files are read
    bool last = false;       // the end of the input
    bool openLine = false;   // set by the text format: ends inside a line that has words
};

// `"file":NAME,` when several files are read.
// `"text":...,"tag":...,"offset":N,"length":M` of a word or of a piece.
void JsonWordFields(std::string &out, const char *text, const char *tag, uint64_t offset, uint64_t length) {
    out += "\"text\":";
    JsonString(out, text);
    out += ",\"tag\":";
    JsonString(out, tag);
    out += ',';
    JsonSpan(out, offset, length);
}

void JsonFile(std::string &out, const Piece &p) {
    if (p.file == nullptr) return;
    out += "\"file\":";
    JsonString(out, p.file->data(), p.file->size());
    out += ',';
}

// The file name and a tab when several files are read.
void TsvFile(std::string &out, const Piece &p) {
    if (p.file == nullptr) return;
    out += *p.file;
    out += '\t';
}

// Line number (from 1) of byte `offset` of the piece, walking forward from
// the previous position.
struct LineCounter {
    const Piece &p;
    size_t pos = 0;
    uint64_t line;
    explicit LineCounter(const Piece &piece) : p(piece), line(piece.firstLine) {}
    uint64_t At(uint64_t offset) {
        while (pos < offset && pos < p.length) {
            if (p.text[pos] == '\n') ++line;
            ++pos;
        }
        return line;
    }
};

// Appends the input's bytes of a word. A pre-cut word that the analysis
// joined (a name handed one character a word) spans the spaces between its
// words; they are left out (ASCII blanks, and the UTF-8 ideographic space).
void AppendWordBytes(std::string &out, const Options &o, const vsglex_result &r, const char *text, size_t length) {
    if (!o.precut) {
        out.append(text, length);
        return;
    }
    for (size_t k = 0; k < length;) {
        const char c = text[k];
        if (c == ' ' || c == '\t' || c == '\r' || c == '\n') {
            ++k;
        } else if (r.charset == VSGLEX_CHARSET_UTF8 && length - k >= 3 && std::memcmp(text + k, "\xE3\x80\x80", 3) == 0) {
            k += 3;
        } else {
            out += c;
            ++k;
        }
    }
}

// Calls f(offset, length, tag name, tag) for a word, or for each of its
// corpus-granularity pieces when the options ask for them.
template <typename F>
void ForUnits(const Options &o, const vsglex_result &r, const vsglex_word &w, F f) {
    if (!o.corpus || w.part_count <= 1 || w.part_first + w.part_count > r.part_count) {
        f(w.offset, w.length, w.tag_name, w.tag);
        return;
    }
    for (uint32_t q = w.part_first; q < w.part_first + w.part_count; ++q)
        f(r.parts[q].offset, r.parts[q].length, r.parts[q].tag_name, r.parts[q].tag);
}

// Writes the words of one analysed piece to its output in the format the
// options ask for.
void FormatResult(const Options &o, const vsglex_result &r, Piece &p) {
    std::string &out = p.out;
    const char *src = p.text;
    {
        LineCounter lines(p);
        for (size_t k = 0; k < r.invalid_count; ++k) {
            uint64_t line = lines.At(r.invalid_offsets[k]);
            if (p.badLines.empty() || p.badLines.back() != line) p.badLines.push_back(line);
        }
    }
    if (o.namesOnly) {
        LineCounter lines(p);
        for (size_t k = 0; k < r.word_count; ++k) {
            const vsglex_word &w = r.words[k];
            if (w.name_class == VSGLEX_NAME_NONE) continue;
            const char *cls = vsglex_name_class_name(w.name_class);
            if (o.format == Format::kJson) {
                out += '{';
                JsonFile(out, p);
                out += "\"text\":";
                JsonString(out, w.text);
                out += ",\"class\":\"";
                out += cls;
                out += "\",\"tag\":";
                JsonString(out, w.tag_name);
                out += ',';
                JsonSpan(out, p.base + w.offset, w.length);
                out += ",\"line\":";
                AppendNumber(out, lines.At(w.offset));
                out += "}\n";
            } else {
                TsvFile(out, p);
                AppendWordBytes(out, o, r, src + w.offset, w.length);
                out += '\t';
                out += cls;
                TsvSpan(out, p.base + w.offset, w.length);
                out += '\n';
            }
        }
        return;
    }
    switch (o.format) {
    case Format::kText: {
        // One output line per input line: words in input order. A piece cut
        // inside a long line leaves its last output line open.
        size_t k = 0;
        size_t lineStart = 0;
        bool first = true;
        while (lineStart < p.length) {
            const void *nl = std::memchr(src + lineStart, '\n', p.length - lineStart);
            size_t lineEnd = nl != nullptr ? static_cast<size_t>(static_cast<const char *>(nl) - src) : p.length;
            for (; k < r.word_count && r.words[k].offset < lineEnd; ++k) {
                ForUnits(o, r, r.words[k], [&](uint64_t offset, uint32_t length, const char *tag, int32_t) {
                    if (!first) out += ' ';
                    first = false;
                    AppendWordBytes(out, o, r, src + offset, length);
                    out += '/';
                    out += tag;
                });
            }
            if (nl != nullptr || p.last) {
                out += '\n';
                first = true;
            }
            lineStart = lineEnd + 1;
        }
        p.openLine = !first;
        break;
    }
    case Format::kTsv:
        for (size_t s = 0; s < r.sentence_count; ++s) {
            const vsglex_sentence &sen = r.sentences[s];
            for (uint32_t k = sen.first_word; k < sen.first_word + sen.word_count; ++k) {
                const vsglex_word &w = r.words[k];
                ForUnits(o, r, w, [&](uint64_t offset, uint32_t length, const char *tag, int32_t) {
                    TsvFile(out, p);
                    AppendWordBytes(out, o, r, src + offset, length);
                    out += '\t';
                    out += tag;
                    TsvSpan(out, p.base + offset, length);
                    out += '\t';
                    out += w.name_class != VSGLEX_NAME_NONE ? vsglex_name_class_name(w.name_class) : "-";
                    out += '\n';
                });
            }
            out += '\n';
        }
        break;
    case Format::kJson: {
        LineCounter lines(p);
        for (size_t s = 0; s < r.sentence_count; ++s) {
            const vsglex_sentence &sen = r.sentences[s];
            out += '{';
            JsonFile(out, p);
            JsonSpan(out, p.base + sen.offset, sen.length);
            out += ",\"line\":";
            AppendNumber(out, lines.At(sen.offset));
            out += ",\"words\":[";
            for (uint32_t k = sen.first_word; k < sen.first_word + sen.word_count; ++k) {
                const vsglex_word &w = r.words[k];
                if (k != sen.first_word) out += ',';
                out += '{';
                JsonWordFields(out, w.text, w.tag_name, p.base + w.offset, w.length);
                if (w.name_class != VSGLEX_NAME_NONE) {
                    out += ",\"name\":\"";
                    out += vsglex_name_class_name(w.name_class);
                    out += '"';
                }
                if (w.part_count > 1) {
                    // The word's pieces in corpus granularity.
                    out += ",\"parts\":[";
                    for (uint32_t q = w.part_first; q < w.part_first + w.part_count && q < r.part_count; ++q) {
                        const vsglex_part &part = r.parts[q];
                        if (q != w.part_first) out += ',';
                        out += '{';
                        JsonWordFields(out, part.text, part.tag_name, p.base + part.offset, part.length);
                        out += '}';
                    }
                    out += ']';
                }
                out += '}';
            }
            out += "]}\n";
        }
        break;
    }
    }
}

void Analyse(const vsglex_handle *h, const Options &o, int charset, uint32_t flags, Piece &p) {
    vsglex_result *r = nullptr;
    p.status = vsglex_analyze(h, p.text, p.length, charset, flags | (o.precut ? VSGLEX_PRECUT : 0), &r);
    if (p.status != VSGLEX_OK) {
        p.error = vsglex_last_error();
        return;
    }
    p.charset = r->charset;
    FormatResult(o, *r, p);
    vsglex_result_free(r);
}

// ---- input --------------------------------------------------------------

class Progress {
public:
    Progress(const std::string &name, uint64_t total)
        : name_(name), total_(total), on_(total > 4u * 1024 * 1024 && isatty(STDERR_FILENO)) {}
    void Update(uint64_t done) {
        if (!on_) return;
        int pct = static_cast<int>(done * 100 / total_);
        int bars = pct / 4;
        std::fprintf(stderr, "\r%s [%-25.*s] %3d%%", name_.c_str(), bars, "#########################", pct);
        std::fflush(stderr);
    }
    ~Progress() {
        if (on_) std::fprintf(stderr, "\r%*s\r", static_cast<int>(name_.size()) + 34, "");
    }

private:
    std::string name_;
    uint64_t total_;
    bool on_;
};

// Writes `n` bytes to standard output; false (after a message) when they
// cannot be written.
bool WriteOut(const char *data, size_t n) {
    if (n == 0 || std::fwrite(data, 1, n, stdout) == n) return true;
    std::fprintf(stderr, "vsglex: cannot write output: %s\n", std::strerror(errno));
    return false;
}

// Flushes and closes standard output; false (after a message) on failure,
// such as a full disk.
bool CloseOut() {
    bool ok = std::fflush(stdout) == 0 && !std::ferror(stdout);
    int err = errno;
    if (std::fclose(stdout) != 0 && ok) {
        ok = false;
        err = errno;
    }
    if (!ok) std::fprintf(stderr, "vsglex: cannot write output: %s\n", std::strerror(err));
    return ok;
}

// The character set and flags a stream is read with: --encoding, else the
// guess from its first block; traditional text is simplified for the
// analysis unless --no-t2s. False (after a message) for UTF-16 input.
bool ChooseCharset(const Options &o, const std::string &name, const char *text, size_t n, int *charset,
                   uint32_t *flags) {
    uint32_t hints = 0;
    int guessed = vsglex_guess_charset(text, n, &hints);
    if (o.charset == VSGLEX_CHARSET_AUTO) {
        if ((hints & VSGLEX_GUESS_UTF16) != 0) {
            std::fprintf(stderr,
                         "vsglex: %s looks like UTF-16, which is not read; convert it first "
                         "(iconv -f UTF-16 -t UTF-8) or give --encoding\n",
                         name.c_str());
            return false;
        }
        *charset = guessed;
    } else {
        *charset = o.charset;
    }
    bool t2s = o.t2s == 1 || (o.t2s == -1 && (hints & VSGLEX_GUESS_TRADITIONAL) != 0);
    *flags = t2s && *charset != VSGLEX_CHARSET_BIG5 ? VSGLEX_T2S : 0;
    return true;
}

// Characters of one block of input: each block is one analysis (names and
// new words are remembered within it). Blocks are counted in characters, so
// a text gives the same output in any character set, in half or full width,
// and with any number of threads.
constexpr size_t kBlockChars = 128 << 10;

// Analyses one input stream block by block; returns the exit code it earns.
// `label` names the file in the output when several are read (else null).
int ProcessStream(FILE *in, const std::string &name, uint64_t size, const vsglex_handle *h, const Options &o,
                  const std::string *label) {
    constexpr size_t kRead = 256 << 10;
    std::string buf;
    uint64_t base = 0;  // file offset of buf[0]
    uint64_t line = 1;  // line number of buf[0]
    int charset = VSGLEX_CHARSET_AUTO;
    uint32_t flags = 0;
    int code = kOk;
    bool openLine = false;  // the text output's last line is still open
    Progress progress(name, size);
    std::vector<char> chunk(kRead);
    bool eof = false;
    const size_t threads = std::max(1u, o.threads);
    std::vector<size_t> ends;  // ends of the whole blocks found in buf
    int endsCharset = -1;      // the character set they were found in
    if (label != nullptr && o.format == Format::kText && !o.namesOnly) {
        std::string header = "==> " + *label + " <==\n";
        if (!WriteOut(header.data(), header.size())) return kUnwritable;
    }
    while (!eof || !buf.empty()) {
        if (!eof) {
            size_t got = std::fread(chunk.data(), 1, chunk.size(), in);
            if (got > 0) buf.append(chunk.data(), got);
            if (got < chunk.size()) {
                if (std::ferror(in)) {
                    std::fprintf(stderr, "vsglex: cannot read %s: %s\n", name.c_str(), std::strerror(errno));
                    return kUnreadable;
                }
                eof = true;
            }
        }
        if (buf.empty()) break;
        // The first block with a byte above 0x7F fixes the character set of
        // the rest (ASCII reads the same in every set).
        if (charset == VSGLEX_CHARSET_AUTO && !ChooseCharset(o, name, buf.data(), buf.size(), &charset, &flags))
            return kUnreadable;
        bool ascii = o.charset == VSGLEX_CHARSET_AUTO &&
                     std::none_of(buf.begin(), buf.end(), [](char ch) { return (ch & 0x80) != 0; });
        if (ascii && !eof) charset = VSGLEX_CHARSET_AUTO;
        int blockCharset = ascii ? VSGLEX_CHARSET_UTF8 : charset;
        // One block per thread, each of whole lines (a line longer than two
        // blocks is cut at a sentence end or a character boundary, so memory
        // stays bounded); a block that reaches the end of what was read
        // waits for more unless the input has ended.
        if (blockCharset != endsCharset) ends.clear();
        endsCharset = blockCharset;
        for (size_t from = ends.empty() ? 0 : ends.back(); ends.size() < threads && from < buf.size();) {
            size_t len = vsglex_block_end(buf.data() + from, buf.size() - from, blockCharset,
                                          o.precut ? VSGLEX_PRECUT : 0, kBlockChars);
            if (len == 0 || (from + len == buf.size() && !eof)) break;
            from += len;
            ends.push_back(from);
        }
        if (ends.size() < threads && !eof) continue;
        std::vector<Piece> pieces;
        size_t start = 0;
        uint64_t pieceLine = line;
        for (size_t end : ends) {
            Piece p{buf.data() + start, end - start, base + start, pieceLine, {}, {}, VSGLEX_OK, 0, {}};
            p.file = label;
            p.last = eof && end == buf.size();
            pieceLine += static_cast<uint64_t>(std::count(buf.data() + start, buf.data() + end, '\n'));
            pieces.push_back(std::move(p));
            start = end;
        }
        const size_t take = start;
        std::vector<std::thread> workers;
        for (size_t t = 1; t < pieces.size(); ++t)
            workers.emplace_back([&, t] { Analyse(h, o, blockCharset, flags, pieces[t]); });
        if (!pieces.empty()) Analyse(h, o, blockCharset, flags, pieces[0]);
        for (auto &w : workers) w.join();
        for (Piece &p : pieces) {
            if (p.status != VSGLEX_OK) {
                std::fprintf(stderr, "vsglex: %s: %s\n", name.c_str(), p.error.c_str());
                return kUnreadable;
            }
            // A block cut inside a line continues the output line the one
            // before left open.
            if (openLine && !p.out.empty() && p.out[0] != '\n' && !WriteOut(" ", 1)) return kUnwritable;
            if (!WriteOut(p.out.data(), p.out.size())) return kUnwritable;
            for (uint64_t l : p.badLines) {
                std::fprintf(stderr, "vsglex: %s:%llu: invalid bytes skipped\n", name.c_str(),
                             static_cast<unsigned long long>(l));
                code = kInvalidBytes;
            }
            if (!p.out.empty()) openLine = p.openLine;
        }
        ends.clear();
        line = pieceLine;
        base += take;
        buf.erase(0, take);
        progress.Update(std::min<uint64_t>(base, size));
    }
    if (openLine && !WriteOut("\n", 1)) return kUnwritable;
    return code;
}

// Adds the --user-dict files to the handle; false (with a message) on the
// first that fails.
bool LoadUserDicts(vsglex_handle *h, const Options &o) {
    for (const std::string &path : o.userDicts) {
        if (vsglex_add_user_dict(h, path.c_str()) != VSGLEX_OK) {
            std::fprintf(stderr, "vsglex: %s\n", vsglex_last_error());
            return false;
        }
    }
    return true;
}

bool ParseArgs(int argc, char **argv, Options &o) {
    for (int i = 1; i < argc; ++i) {
        std::string a = argv[i];
        auto value = [&](std::string &v) {
            size_t eq = a.find('=');
            if (a.rfind("--", 0) == 0 && eq != std::string::npos) {
                v = a.substr(eq + 1);
                a = a.substr(0, eq);
                return true;
            }
            if (i + 1 >= argc) {
                std::fprintf(stderr, "vsglex: %s needs a value\n", a.c_str());
                return false;
            }
            v = argv[++i];
            return true;
        };
        std::string name = a.substr(0, a.find('='));
        std::string v;
        if (a == "--help" || a == "-h") {
            std::fputs(kUsageText, stdout);
            std::exit(kOk);
        } else if (a == "--version") {
            std::printf("vsglex %s\n", VSGLEX_VERSION);
            std::exit(kOk);
        } else if (name == "--encoding") {
            if (!value(v)) return false;
            std::transform(v.begin(), v.end(), v.begin(), [](unsigned char c) { return std::tolower(c); });
            if (v == "utf-8" || v == "utf8") o.charset = VSGLEX_CHARSET_UTF8;
            else if (v == "gbk" || v == "gb18030" || v == "gb2312") o.charset = VSGLEX_CHARSET_GB18030;
            else if (v == "big5") o.charset = VSGLEX_CHARSET_BIG5;
            else {
                std::fprintf(stderr, "vsglex: unknown encoding '%s' (utf-8, gbk, big5)\n", v.c_str());
                return false;
            }
        } else if (name == "--format") {
            if (!value(v)) return false;
            if (v == "text") o.format = Format::kText;
            else if (v == "json") o.format = Format::kJson;
            else if (v == "tsv") o.format = Format::kTsv;
            else {
                std::fprintf(stderr, "vsglex: unknown format '%s' (text, json, tsv)\n", v.c_str());
                return false;
            }
        } else if (a == "--pre-cut") {
            o.precut = true;
        } else if (a == "--t2s") {
            o.t2s = 1;
        } else if (a == "--no-t2s") {
            o.t2s = 0;
        } else if (a == "--names-only") {
            o.namesOnly = true;
        } else if (name == "--granularity") {
            if (!value(v)) return false;
            if (v == "merged") o.corpus = false;
            else if (v == "corpus") o.corpus = true;
            else {
                std::fprintf(stderr, "vsglex: unknown granularity '%s' (merged, corpus)\n", v.c_str());
                return false;
            }
        } else if (name == "--threads") {
            if (!value(v)) return false;
            char *end = nullptr;
            long n = std::strtol(v.c_str(), &end, 10);
            if (end == v.c_str() || *end != '\0' || n < 1 || n > 256) {
                std::fprintf(stderr, "vsglex: --threads needs a number from 1 to 256\n");
                return false;
            }
            o.threads = static_cast<unsigned>(n);
        } else if (name == "--data") {
            if (!value(v)) return false;
            o.data = v;
        } else if (name == "--user-dict") {
            if (!value(v)) return false;
            o.userDicts.push_back(v);
        } else if (a.size() > 1 && a[0] == '-' && a != "-") {
            std::fprintf(stderr, "vsglex: unknown option '%s'\n", a.c_str());
            return false;
        } else {
            o.files.push_back(a);
        }
    }
    return true;
}

}  // namespace

int main(int argc, char **argv) {
    Options o;
    if (!ParseArgs(argc, argv, o)) {
        std::fputs("Try 'vsglex --help'.\n", stderr);
        return kUsage;
    }
    std::string looked;
    std::string dir = FindModels(o, &looked);
    if (dir.empty()) {
        std::fprintf(stderr, "vsglex: no model set found (looked in %s); use --data DIR or set VSGLEX_DATA\n",
                     looked.c_str());
        return kModels;
    }
    vsglex_handle *h = vsglex_open(dir.c_str());
    if (h == nullptr) {
        std::fprintf(stderr, "vsglex: %s\n", vsglex_last_error());
        return kModels;
    }
    if (*vsglex_model_warning(h) != '\0') std::fprintf(stderr, "vsglex: warning: %s\n", vsglex_model_warning(h));
    if (!LoadUserDicts(h, o)) {
        vsglex_close(h);
        return kUserDict;
    }
    if (o.files.empty()) o.files.push_back("-");
    int code = kOk;
    for (const std::string &f : o.files) {
        const std::string *label = o.files.size() > 1 ? &f : nullptr;
        int c;
        if (f == "-") {
            c = ProcessStream(stdin, "<stdin>", 0, h, o, label);
        } else {
            FILE *in = std::fopen(f.c_str(), "rb");
            struct stat st;
            if (in == nullptr || fstat(fileno(in), &st) != 0 || S_ISDIR(st.st_mode)) {
                std::fprintf(stderr, "vsglex: cannot read %s: %s\n", f.c_str(),
                             in == nullptr ? std::strerror(errno) : "is a directory");
                if (in != nullptr) std::fclose(in);
                code = std::max(code, static_cast<int>(kUnreadable));
                continue;
            }
            c = ProcessStream(in, f, static_cast<uint64_t>(st.st_size), h, o, label);
            std::fclose(in);
        }
        code = std::max(code, c);
        if (c == kUnwritable) break;
    }
    if (!CloseOut()) code = kUnwritable;
    vsglex_close(h);
    return code;
}
