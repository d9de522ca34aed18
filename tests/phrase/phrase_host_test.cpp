// Runs the example host program on the fixture model set.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdio>
#include <sstream>
#include <vector>
#include <string>

#include "support/fixture_models.h"
#include "support/support.h"

namespace {

// The printed table, one row per line with its fields joined by one space.
std::vector<std::string> Rows(const std::string &output) {
    std::vector<std::string> rows;
    std::istringstream lines(output);
    std::string line;
    while (std::getline(lines, line)) {
        std::istringstream fields(line);
        std::string field, row;
        while (fields >> field) row += (row.empty() ? "" : " ") + field;
        rows.push_back(row);
    }
    return rows;
}

TEST(PhraseHostExample, PrintsMergedNameAsOneGroup) {
    vsgtest::TempDir dir;
    mkdir(dir.file("vsg").c_str(), 0755);
    vsgtest::WriteFixtureModels(dir.file("vsg"));
    const std::string command =
        std::string(PHRASE_HOST) + " " + dir.path() + " 我们 是 张 伟 。 2>/dev/null";
    FILE *pipe = popen(command.c_str(), "r");
    ASSERT_NE(pipe, nullptr);
    std::string output;
    char buffer[256];
    while (fgets(buffer, sizeof buffer, pipe) != nullptr) output += buffer;
    ASSERT_EQ(pclose(pipe), 0) << output;
    // Items are printed in the host's UTF-8; the name's two items share
    // group 1 and the surname carries the person tag.
    const auto rows = Rows(output);
    EXPECT_NE(std::find(rows.begin(), rows.end(), "张 24 1 3"), rows.end()) << output;
    EXPECT_NE(std::find(rows.begin(), rows.end(), "伟 0 1 4"), rows.end()) << output;
    EXPECT_NE(std::find(rows.begin(), rows.end(), "我们 12 0 1"), rows.end()) << output;
}

TEST(PhraseHostExample, FailsClearlyWithoutModels) {
    vsgtest::TempDir dir;
    const std::string command = std::string(PHRASE_HOST) + " " + dir.path() + " 我们 2>&1";
    FILE *pipe = popen(command.c_str(), "r");
    ASSERT_NE(pipe, nullptr);
    std::string output;
    char buffer[256];
    while (fgets(buffer, sizeof buffer, pipe) != nullptr) output += buffer;
    EXPECT_NE(pclose(pipe), 0);
    EXPECT_NE(output.find("cannot load the model set"), std::string::npos) << output;
}

}  // namespace
