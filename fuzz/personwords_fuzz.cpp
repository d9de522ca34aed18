// Loads arbitrary bytes as the list of person words the corpus view keeps
// whole, through a file and from memory. A list that loads must give the
// same answers both ways, and writing its words again must load to the same
// answers.
#include <string>
#include <vector>

#include "front/personwords.h"
#include "model_fuzz_file.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const std::string &path = vsgfuzz::TempPath("person_words.txt");
    vsgfuzz::WriteInput(path, data, size);
    vsg::front::PersonWords fromFile, fromBytes;
    std::string error;
    const bool loaded = fromFile.Load(path, &error);
    if (!loaded) vsgfuzz::Require(error.find(path) != std::string::npos && fromFile.Size() == 0);
    const auto *text = reinterpret_cast<const char *>(data);
    vsgfuzz::Require(fromBytes.LoadBytes(text, size, &error) == loaded && fromBytes.Size() == fromFile.Size());
    if (!loaded) return 0;
    // Every word line: the answers agree, and the list written again from
    // the lines loads to the same answers.
    std::vector<vsg::front::PersonWordCount> again;
    size_t at = std::string(text, size).find('\n') + 1;
    while (at < size) {
        const size_t space = std::string(text + at, size - at).find(' ');
        const size_t end = std::string(text + at, size - at).find('\n');
        vsgfuzz::Require(space != std::string::npos && end != std::string::npos && space < end);
        const std::string word(text + at, space);
        const std::string counts(text + at + space + 1, end - space - 1);
        const size_t gap = counts.find(' ');
        again.push_back({word, std::stoll(counts.substr(0, gap)), std::stoll(counts.substr(gap + 1))});
        vsgfuzz::Require(fromFile.KeepsWhole(word.data(), word.size()) ==
                         fromBytes.KeepsWhole(word.data(), word.size()));
        vsgfuzz::Require(fromFile.KeepsWhole(word.data(), word.size()) == (again.back().whole > again.back().cut));
        at += end + 1;
    }
    const std::string written = vsg::front::EncodePersonWords(again);
    vsgfuzz::Require(written == std::string(text, size));
    return 0;
}
