// The list of person words the training text writes as one token: writer,
// checked loader and the corpus view's test.
#include "front/personwords.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace vsg::front {

namespace {

constexpr char kMagic[] = "vsglex-person-words 1 ";
// At most this many words (the list of the whole corpus holds about 1,500).
constexpr size_t kMaxWords = size_t{1} << 20;
constexpr off_t kMaxFile = off_t{64} << 20;

// Whether text[0..length) is 2 to kMaxCharacters two-byte GB characters.
bool ValidWord(std::string_view w) {
    if (w.size() < 4 || w.size() > 2 * PersonWords::kMaxCharacters || w.size() % 2 != 0) return false;
    for (size_t k = 0; k < w.size(); k += 2) {
        const auto lead = static_cast<unsigned char>(w[k]), trail = static_cast<unsigned char>(w[k + 1]);
        if (lead < 0x81 || lead > 0xFE || trail < 0x40 || trail > 0xFE || trail == 0x7F) return false;
    }
    return true;
}

// Reads a decimal number of at most 10 digits ending at `stop`; false when
// there is none, it has a leading zero, or it reaches `limit`.
bool Number(std::string_view text, size_t &at, char stop, int64_t limit, int64_t &value) {
    const size_t start = at;
    value = 0;
    while (at < text.size() && text[at] >= '0' && text[at] <= '9' && at - start < 10) {
        value = value * 10 + (text[at] - '0');
        ++at;
    }
    if (at == start || at >= text.size() || text[at] != stop || (text[start] == '0' && at - start > 1) ||
        value >= limit)
        return false;
    ++at;
    return true;
}

}  // namespace

std::string EncodePersonWords(std::vector<PersonWordCount> words) {
    words.erase(std::remove_if(words.begin(), words.end(),
                               [](const PersonWordCount &w) {
                                   return !ValidWord(w.word) || w.whole < 0 || w.cut < 0 ||
                                          w.whole >= PersonWords::kMaxCount || w.cut >= PersonWords::kMaxCount;
                               }),
                words.end());
    std::sort(words.begin(), words.end(),
              [](const PersonWordCount &a, const PersonWordCount &b) { return a.word < b.word; });
    words.erase(std::unique(words.begin(), words.end(),
                            [](const PersonWordCount &a, const PersonWordCount &b) { return a.word == b.word; }),
                words.end());
    if (words.size() >= kMaxWords) words.resize(kMaxWords - 1);
    std::string out = kMagic + std::to_string(words.size()) + "\n";
    for (const PersonWordCount &w : words)
        out += w.word + " " + std::to_string(w.whole) + " " + std::to_string(w.cut) + "\n";
    return out;
}

bool PersonWords::LoadBytes(const char *data, size_t size, std::string *error) {
    words_.clear();
    const std::string_view text(data, size);
    auto fail = [&](const std::string &reason) {
        words_.clear();
        *error = reason;
        return false;
    };
    const size_t magic = sizeof kMagic - 1;
    if (text.substr(0, magic) != kMagic) return fail("not a person word list (bad first line)");
    size_t at = magic;
    int64_t count = 0;
    if (!Number(text, at, '\n', static_cast<int64_t>(kMaxWords), count)) return fail("bad word count");
    std::string_view previous;
    for (int64_t line = 1; line <= count; ++line) {
        const std::string where = " on word line " + std::to_string(line);
        if (at >= text.size()) return fail("truncated: " + std::to_string(line - 1) + " of " +
                                           std::to_string(count) + " words");
        const size_t space = text.find(' ', at);
        if (space == std::string_view::npos) return fail("truncated" + where);
        const std::string_view word = text.substr(at, space - at);
        if (!ValidWord(word)) return fail("bad word" + where);
        if (!previous.empty() && !(previous < word)) return fail("words out of order or repeated" + where);
        at = space + 1;
        Counts c{};
        if (!Number(text, at, ' ', kMaxCount, c.whole) || !Number(text, at, '\n', kMaxCount, c.cut))
            return fail((at >= text.size() ? "truncated" : "bad count") + where);
        words_.emplace(std::string(word), c);
        previous = word;
    }
    if (at != size) return fail(std::to_string(size - at) + " bytes after the last word");
    return true;
}

bool PersonWords::Load(const std::string &path, std::string *error) {
    words_.clear();
    std::string reason;
    std::string bytes;
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        reason = std::string("cannot open: ") + std::strerror(errno);
    } else {
        struct stat st;
        if (fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
            reason = "not a regular file";
        } else if (st.st_size > kMaxFile) {
            reason = "too large (" + std::to_string(st.st_size) + " bytes)";
        } else {
            bytes.resize(static_cast<size_t>(st.st_size));
            size_t got = 0;
            while (got < bytes.size()) {
                const ssize_t r = ::read(fd, &bytes[got], bytes.size() - got);
                if (r < 0 && errno == EINTR) continue;
                if (r <= 0) break;
                got += static_cast<size_t>(r);
            }
            if (got != bytes.size()) reason = "read failed";
        }
        ::close(fd);
    }
    if (reason.empty()) LoadBytes(bytes.data(), bytes.size(), &reason);
    if (!reason.empty()) {
        words_.clear();
        *error = "person word list " + path + ": " + reason;
        return false;
    }
    return true;
}

bool PersonWords::KeepsWhole(const char *word, size_t length) const {
    if (words_.empty()) return false;
    const auto it = words_.find(std::string(word, length));
    return it != words_.end() && it->second.whole > it->second.cut;
}

}  // namespace vsg::front
