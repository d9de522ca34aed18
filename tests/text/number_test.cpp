// Number, year and transliteration verdicts and place-suffix splitting.
#include <gtest/gtest.h>

#include <string>

#include "support/support.h"
#include "text_util.h"
#include "vsglex/utility.h"

using texttest::Exact;
using texttest::G;

namespace {

struct Verdict {
    std::string word;
    int32_t expected;
};

void ExpectVerdicts(int32_t (*test)(const char *), const char *name, std::initializer_list<Verdict> cases) {
    for (const auto &c : cases) {
        auto exact = Exact(c.word);
        EXPECT_EQ(test(exact.get()), c.expected) << name << "(" << vsgtest::Utf8(c.word) << ")";
    }
}

}  // namespace

TEST(NumberTests, IsAllNumAcceptsNumberExpressions) {
    ExpectVerdicts(IsAllNum, "IsAllNum",
                   {{"", 1}, {"+", 1}, {G("第"), 1}, {G("百"), 1}, {"%", 1}, {"12", 1}, {G("１２３"), 1},
                    {G("１２．５"), 1}, {"3.14", 1}, {"12%", 1}, {"50" + G("％"), 1}, {"3" + G("千万"), 1},
                    {"2" + G("亿"), 1}, {G("万亿"), 1}, {"-3", 1}, {G("—") + "5", 1}, {"5/8", 1},
                    {G("第１２"), 1}, {"3.5%", 1},
                    // A decimal ending in one non-digit byte, and a percent sign
                    // counted twice, are accepted.
                    {"1.5a", 1}, {"1.5%x", 1},
                    {"3" + G("千") + "a", 0}, {"a1", 0}, {"1.2.3", 0}, {"abc", 0}, {G("三"), 0},
                    {".5", 0}, {"1.5ab", 0}, {"12" + G("个"), 0}});
}

TEST(NumberTests, SimpleAndChineseNumbers) {
    ExpectVerdicts(IsSimpleNum, "IsSimpleNum",
                   {{"2008", 1}, {G("二零零八"), 1}, {G("１２"), 1}, {"", 1}, {G("拾伍"), 1},
                    {"3.5", 0}, {G("第一"), 0}, {"12a", 0}, {G("一个"), 0}});
    ExpectVerdicts(IsAllChineseNum, "IsAllChineseNum",
                   {{G("百分之五十"), 1}, {G("第一"), 1}, {G("三点五"), 1}, {G("几十"), 1}, {G("十几"), 1},
                    {G("数百"), 1}, {"", 1}, {G("分之"), 1}, {G("一第"), 0}, {G("五个"), 0}, {"5", 0},
                    {G("三") + "5", 0}});
}

TEST(NumberTests, YearTerms) {
    ExpectVerdicts(IsYearTime, "IsYearTime",
                   {{G("甲子"), 1}, {G("一九九八"), 1}, {"1998", 1}, {"98", 1}, {G("９８"), 1}, {"abcd", 1},
                    {G("二千零八"), 1}, {G("千"), 1}, {G("１９９８"), 1}, {G("九八"), 1},
                    {"12", 0}, {G("１２"), 0}, {G("三"), 0}, {G("甲"), 0}, {G("子甲"), 0}, {"", 0},
                    {G("二千三百"), 0}, {"123", 0}});
}

TEST(ForeignTests, SetCountsDecideTypeAndVerdicts) {
    EXPECT_EQ(GetForeignType(G("藤田").c_str()), 2);
    EXPECT_EQ(GetForeignType(G("斯基").c_str()), 0);  // tie between A and B
    EXPECT_EQ(GetForeignType(G("田中").c_str()), 2);
    EXPECT_EQ(GetForeignType(G("伊万诺夫").c_str()), 0);
    EXPECT_EQ(GetForeignType(G("捷娃").c_str()), 1);  // only in set B
    EXPECT_EQ(GetForeignCharCount(G("伊万诺夫").c_str()), 4);
    EXPECT_EQ(GetForeignCharCount(G("田中").c_str()), 2);
    EXPECT_EQ(GetForeignCharCount(G("中国").c_str()), 1);
    EXPECT_EQ(IsAllForeign(G("伊万诺夫").c_str()), 1);
    EXPECT_EQ(IsAllForeign(G("中国").c_str()), 0);
    EXPECT_EQ(IsForeign(G("中国").c_str()), 1);  // longer than 2 bytes
    EXPECT_EQ(IsForeign("abcd"), 1);
    EXPECT_EQ(IsForeign(G("斯").c_str()), 1);
    EXPECT_EQ(IsForeign(G("国").c_str()), 0);
}

TEST(PostfixSplit, SplitsStemAndPlaceSuffix) {
    struct Case {
        const char *word, *stem, *suffix;
    } cases[] = {
        {"北京市", "北京", "市"},           {"京津塘高速公路", "京津塘", "高速公路"},
        {"内蒙古自治区", "内蒙古", "自治区"}, {"长江大桥", "长江", "大桥"},
        {"中关村", "中关", "村"},           {"城市", "", "城市"},
        {"北京", "北京", ""},               {"a", "a", ""},
        {"", "", ""},
    };
    for (const auto &c : cases) {
        const std::string word = G(c.word);
        auto exact = Exact(word);
        char stem[64], suffix[64];
        EXPECT_EQ(PostfixSplit(exact.get(), stem, suffix), 1);
        EXPECT_EQ(std::string(stem), G(c.stem)) << c.word;
        EXPECT_EQ(std::string(suffix), G(c.suffix)) << c.word;
    }
}
