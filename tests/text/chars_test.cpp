// Character classes, list search, whole-string tests, binary searches,
// code-table writers and the contents of the GB character lists.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>

#include "support/support.h"
#include "common/gb_lists.h"
#include "text_util.h"
#include "vsglex/utility.h"

using texttest::Exact;
using texttest::G;

TEST(CharType, ClassCodesOfEveryRegion) {
    struct Case {
        std::string text;
        int32_t code;
    } cases[] = {
        {"", 12}, {"a", 6}, {"5", 13}, {"%", 12}, {G("。"), 7}, {G("①"), 11}, {G("Ａ"), 9},
        {G("５"), 10}, {G("，"), 7}, {G("中"), 8}, {G("ㄅ"), 5}, {"-", 6}, {"0", 13}, {"9", 13},
        {"\xa3\xb9", 10}, {"\xa3\xba", 7}, {"\xa3\xc0", 7}, {"\xa3\xda", 9}, {"\xa3\xdb", 7},
        {"\xa3\xe0", 7}, {"\xa3\xe1", 9}, {"\xa3\xfa", 9}, {"\xa3\xfb", 7}, {"\xb0\xa1", 8},
        {"\xf7\xfe", 8}, {"\xaf\xa1", 5}, {"\xf8\xa1", 5}, {"\x81\x40", 5},
    };
    for (const auto &c : cases) EXPECT_EQ(charType(c.text.c_str()), c.code) << vsgtest::Utf8(c.text);
    for (char d : std::string(".,;:?!%(){+}[]/=\"'")) {
        const char s[2] = {d, '\0'};
        EXPECT_EQ(charType(s), CT_SINGLE_DELIMITER) << d;
    }
    EXPECT_EQ(CT_OTHER, 5);
    EXPECT_EQ(CT_SINGLE_NUM, 13);
}

TEST(Getchar, CopiesOneCharacter) {
    char out[3];
    EXPECT_EQ(Getchar("ab", out), 1);
    EXPECT_STREQ(out, "a");
    const std::string zh = G("中a");
    EXPECT_EQ(Getchar(zh.c_str(), out), 2);
    EXPECT_EQ(std::string(out), G("中"));
    auto lone = Exact("\xb0");  // a lead byte takes the NUL as trail
    EXPECT_EQ(Getchar(lone.get(), out), 2);
    EXPECT_EQ(out[0], '\xb0');
    EXPECT_EQ(out[1], '\0');
}

TEST(CCFind, AcceptsOnlyTheFirstOccurrenceAtAnEvenOffset) {
    const std::string list = G("百千万");
    EXPECT_EQ(CC_Find(list.c_str(), G("千").c_str()), list.c_str() + 2);
    EXPECT_EQ(CC_Find(list.c_str(), G("万").c_str()), list.c_str() + 4);
    EXPECT_EQ(CC_Find(list.c_str(), list.substr(1, 2).c_str()), nullptr);  // trail + lead
    EXPECT_EQ(CC_Find(list.c_str(), G("亿").c_str()), nullptr);
    // The needle first occurs at offset 1 and again at offset 4: only the
    // first occurrence counts, so it is not found.
    EXPECT_EQ(CC_Find("\xc1\xa1\xb0\xc3\xa1\xb0", "\xa1\xb0"), nullptr);
}

TEST(CharCount, CountsListMembersByCharacter) {
    const std::string list = G("一二三") + "x";
    EXPECT_EQ(GetCharCount(list.c_str(), (G("一a二x") + G("四")).c_str()), 3u);
    // Straddling pairs do not count; single bytes count anywhere in the list.
    EXPECT_EQ(GetCharCount(list.c_str(), ("a" + list.substr(1, 2)).c_str()), 0u);
    EXPECT_EQ(GetCharCount("\x81\x40", "@@"), 2u);
    EXPECT_EQ(GetCharCount(list.c_str(), ""), 0u);
}

TEST(WholeStringTests, ClassifyEveryCharacter) {
    EXPECT_EQ(IsAllDelimiter(G("１２").c_str()), 1);  // lead A3 counts, digits included
    EXPECT_EQ(IsAllDelimiter(G("。，").c_str()), 1);
    EXPECT_EQ(IsAllDelimiter(","), 0);
    EXPECT_EQ(IsAllDelimiter(""), 1);
    EXPECT_EQ(IsAllDelimiter((G("。") + "a").c_str()), 0);
    EXPECT_EQ(IsAllDelimiter(G("中").c_str()), 0);

    EXPECT_EQ(IsAllLetter(G("ＡＢｚ").c_str()), 1);
    EXPECT_EQ(IsAllLetter("AB"), 0);
    EXPECT_EQ(IsAllLetter(""), 1);
    EXPECT_EQ(IsAllLetter(G("Ａ１").c_str()), 0);

    EXPECT_EQ(IsAllIndex((G("①②") + "ab").c_str()), 1);
    EXPECT_EQ(IsAllIndex((G("①") + "2").c_str()), 0);
    EXPECT_EQ(IsAllIndex(G("①②").c_str()), 1);
    EXPECT_EQ(IsAllIndex("abc"), 1);
    EXPECT_EQ(IsAllIndex(""), 1);
    EXPECT_EQ(IsAllIndex("a1"), 0);
    EXPECT_EQ(IsAllIndex((G("①") + "\xa2").c_str()), 0);

    EXPECT_EQ(IsAllSingleByte("abc 12"), 1);
    EXPECT_EQ(IsAllSingleByte(G("a中").c_str()), 0);

    EXPECT_EQ(IsAllNonChinese(G("，ａ①").c_str()), 1);
    EXPECT_EQ(IsAllNonChinese(G("a中").c_str()), 0);
    EXPECT_EQ(IsAllNonChinese("\x81\xb0"), 1);  // B0 is a trail byte here
    EXPECT_EQ(IsAllNonChinese("\x80\xb0\xa1"), 0);  // 0x80 is stepped over alone

    EXPECT_EQ(IsAllChinese(G("中国").c_str()), 1);
    EXPECT_EQ(IsAllChinese(G("中a").c_str()), 0);
    EXPECT_EQ(IsAllChinese(""), 1);
    EXPECT_EQ(IsAllChinese("a"), 0);
    EXPECT_EQ(IsAllChinese(G("中，").c_str()), 0);
}

TEST(CCPrefix, MeasuresTheLeadingChineseRun) {
    EXPECT_EQ(GetCCPrefix((G("中国") + "abc").c_str()), 4);
    EXPECT_EQ(GetCCPrefix("abc"), 0);
    EXPECT_EQ(GetCCPrefix(""), 0);
    EXPECT_EQ(GetCCPrefix(G("中，国").c_str()), 2);
    auto lone = Exact(G("中国") + "\xb0");  // one past the end, nothing read there
    EXPECT_EQ(GetCCPrefix(lone.get()), 6);
}

TEST(BinarySearch, FindsOrReportsMinusOne) {
    const int32_t values[] = {1, 3, 5, 7, 9};
    EXPECT_EQ(BinarySearch_0(7, values, 5), 3);
    EXPECT_EQ(BinarySearch_0(1, values, 5), 0);
    EXPECT_EQ(BinarySearch_0(9, values, 5), 4);
    EXPECT_EQ(BinarySearch_0(4, values, 5), -1);
    EXPECT_EQ(BinarySearch_0(1, values, 0), -1);
    char abc[] = "abc", def[] = "def", ghi[] = "GHI";
    char *const words[] = {abc, def, ghi};
    EXPECT_EQ(BinarySearch_1("ABC", words, 2), 0);
    EXPECT_EQ(BinarySearch_1("Def", words, 3), 1);
    EXPECT_EQ(BinarySearch_1("ghi", words, 3), 2);
    EXPECT_EQ(BinarySearch_1("xyz", words, 3), -1);
    EXPECT_EQ(BinarySearch_1("abc", words, 0), -1);
}

TEST(CodeTables, WriteEveryCodeOnItsOwnLine) {
    vsgtest::TempDir dir;
    ASSERT_EQ(CC_Generate(dir.file("cc.txt").c_str()), 1);
    ASSERT_EQ(GB2312_Generate(dir.file("gb.txt").c_str()), 1);
    const std::string cc = vsgtest::ReadFile(dir.file("cc.txt"));
    const std::string gb = vsgtest::ReadFile(dir.file("gb.txt"));
    auto lines = [](const std::string &s) { return std::count(s.begin(), s.end(), '\n'); };
    EXPECT_EQ(lines(cc), 7426);
    EXPECT_EQ(lines(gb), 8836);
    EXPECT_EQ(cc.substr(0, 11), "\xb0\xa1,176,161\n");
    EXPECT_EQ(cc.substr(cc.size() - 11), "\xfe\xfe,254,254\n");
    EXPECT_EQ(gb.substr(0, 11), "\xa1\xa1,161,161\n");
    EXPECT_NE(gb.find("\n\xd6\xd0,214,208\n"), std::string::npos);  // 中
    EXPECT_EQ(CC_Generate(dir.file("missing/cc.txt").c_str()), 0);
    EXPECT_EQ(GB2312_Generate(dir.file("missing/gb.txt").c_str()), 0);
}

namespace {

// The stored list holds exactly the characters of `utf8`, each found by
// CC_Find.
void ExpectMembers(const char *stored, const char *utf8) {
    const std::string expected = G(utf8);
    EXPECT_EQ(std::strlen(stored), expected.size());
    for (size_t i = 0; i < expected.size(); i += 2) {
        const std::string ch = expected.substr(i, 2);
        EXPECT_NE(CC_Find(stored, ch.c_str()), nullptr) << vsgtest::Utf8(ch);
    }
}

}  // namespace

TEST(CharacterLists, MatchTheirUtf8Spelling) {
    using namespace vsg::text;
    EXPECT_EQ(std::string(kSignPrefixes), G("±第—＋") + "+-");
    EXPECT_EQ(std::string(kDecimalSeparators), G("∶·．／") + "./");
    EXPECT_EQ(std::string(kPercentSigns), G("％‰") + "%");
    EXPECT_EQ(std::string(kMultipliers), G("百千万亿佰仟兆"));
    EXPECT_EQ(std::string(kSimpleNumChars),
              G("０１２３４５６７８９零○一二两三四五六七八九十廿百千万亿壹贰叁肆伍陆柒捌玖拾佰仟兆"));
    EXPECT_EQ(std::string(kChineseNumChars),
              G("零○一二两三四五六七八九十０１２３４５６７８９廿百千万亿壹贰叁肆伍陆柒捌玖拾佰仟兆∶·．／点几上成"));
    EXPECT_EQ(std::string(kHeavenlyStems), G("甲乙丙丁戊己庚辛壬癸"));
    EXPECT_EQ(std::string(kEarthlyBranches), G("子丑寅卯辰巳午未申酉戌亥"));
    EXPECT_EQ(std::string(kYearDigits), G("零○一二三四五六七八九壹贰叁肆伍陆柒捌玖"));
    EXPECT_EQ(std::string(kWideDelimiters), G("。，；：？！％（）｛＋｝［］／＝"));
    // Sets: every member is found by CC_Find (so no member is hidden by a
    // straddling pair earlier in the list), and nothing else is stored.
    ExpectMembers(kPlaceSuffixes,
                  "坝邦堡杯城池村单岛道堤店洞渡队法峰府冈港阁宫沟国海号河湖环集江奖礁角街井郡坑口矿里岭楼路门盟庙弄牌"
                  "派坡铺旗桥区渠泉人山省市水寺塔台滩坛堂厅亭屯湾文屋溪峡县线乡巷型洋窑营屿语园苑院闸寨站镇州庄族陂庵町");
    ExpectMembers(kForeignSetA,
                  "·—阿埃艾爱安昂敖奥澳笆芭巴白拜班邦保堡鲍北贝本比毕彼别波玻博勃伯泊卜布才采仓查差柴彻川茨慈次达大戴"
                  "代丹旦但当道德得的登迪狄蒂帝丁东杜敦多额俄厄鄂恩尔伐法范菲芬费佛夫福弗甫噶盖干冈哥戈革葛格各根古瓜哈"
                  "海罕翰汗汉豪合河赫亨侯呼胡华霍基吉及加贾坚简杰金京久居君喀卡凯坎康考柯科可克肯库奎拉喇莱来兰郎朗劳勒"
                  "雷累楞黎理李里莉丽历利立力连廉良列烈林隆卢虏鲁路伦仑罗洛玛马买麦迈曼茅茂梅门蒙盟米蜜密敏明摩莫墨默姆"
                  "木穆那娜纳乃奈南内尼年涅宁纽努诺欧帕潘畔庞培佩彭皮平泼普其契恰强乔切钦沁泉让热荣肉儒瑞若萨塞赛桑瑟森"
                  "莎沙山善绍舍圣施诗石什史士守斯司丝苏素索塔泰坦汤唐陶特提汀图土吐托陀瓦万王旺威韦维魏温文翁沃乌吾武伍"
                  "西锡希喜夏相香歇谢辛新牙雅亚彦尧叶依伊衣宜义因音英雍尤于约宰泽增詹珍治中仲朱诸卓孜祖佐伽娅尕腓滕济嘉"
                  "津赖莲琳律略慕妮聂裴浦奇齐琴茹珊卫欣逊札哲智兹芙汶迦珀琪梵斐胥黛");
    ExpectMembers(kForeignSetB,
                  "·阿安奥巴比彼波布察茨大德得丁杜尔法夫伏甫盖格哈基加坚捷金卡科可克库拉莱兰勒雷里历利连列卢鲁罗洛马梅"
                  "蒙米姆娜涅宁诺帕泼普奇齐乔切日萨色山申什斯索塔坦特托娃维文乌西希谢亚耶叶依伊以扎佐柴达登蒂戈果海赫华"
                  "霍吉季津柯理琳玛曼穆纳尼契钦丘桑沙舍泰图瓦万雅卓兹");
    ExpectMembers(kForeignSetC,
                  "安奥八白百邦保北倍本比滨博步部彩菜仓昌长朝池赤川船淳次村大代岛稻道德地典渡尔繁饭风福冈高工宫古谷关广"
                  "桂贵好浩和合河黑横恒宏后户荒绘吉纪佳加见健江介金今进井静敬靖久酒菊俊康可克口梨理里礼栗丽利立凉良林玲"
                  "铃柳隆鹿麻玛美萌弥敏木纳南男内鸟宁朋片平崎齐千前浅桥琴青清庆秋丘曲泉仁忍日荣若三森纱杉山善上伸神圣石"
                  "实矢世市室水顺司松泰桃藤天田土万望尾未文武五舞西细夏宪相小孝新星行雄秀雅亚岩杨洋阳遥野也叶一伊衣逸义"
                  "益樱永由有佑宇羽郁渊元垣原远月悦早造则泽增扎宅章昭沼真政枝知之植智治中忠仲竹助椎子佐阪坂堀荻菅薰浜濑"
                  "鸠筱");
    EXPECT_EQ(std::strlen(kForeignSetA), 2u * 382);
    EXPECT_EQ(std::strlen(kForeignSetC), 2u * 252);
    // Multi-character suffixes: GB code order, 高速公路 before 公路.
    EXPECT_EQ(std::string(kMultiPlaceSuffixes[0]), G("半岛"));
    EXPECT_EQ(std::string(kMultiPlaceSuffixes[10]), G("高速公路"));
    EXPECT_EQ(std::string(kMultiPlaceSuffixes[49]), G("自治州"));
    EXPECT_EQ(kMultiPlaceSuffixes[50][0], '\0');
    for (int i = 1; i < kMultiPlaceSuffixCount; ++i)
        EXPECT_LT(std::string(kMultiPlaceSuffixes[i - 1]), std::string(kMultiPlaceSuffixes[i])) << i;
}
