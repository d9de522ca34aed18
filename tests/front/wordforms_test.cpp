// Numbers, dates, Latin strings and addresses written the corpus's way, and
// the corpus-granularity pieces of names: the joining rules on their own and
// whole analyses through the public interface with the shipped models.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "front/atoms.h"
#include "front/conventions.h"
#include "front_support.h"
#include "support/support.h"
#include "vsglex/vsglex_api.h"

namespace {

using vsg::front::Atom;
using vsg::front::AtomKind;
using vsg::front::StringClass;

// Joins `cut` (UTF-8 words separated by spaces) with the number rules and
// gives the result the same way.
std::string Join(const std::string &cut) {
    std::string gb;
    std::vector<Atom> atoms;
    std::vector<uint32_t> ends;
    size_t from = 0;
    while (from <= cut.size()) {
        size_t sp = cut.find(' ', from);
        if (sp == std::string::npos) sp = cut.size();
        std::string word = vsgtest::Gb(cut.substr(from, sp - from));
        size_t before = atoms.size();
        vsg::front::Atomise(word.data(), 0, word.size(), atoms);
        for (size_t k = before; k < atoms.size(); ++k) atoms[k].start += static_cast<uint32_t>(gb.size());
        gb += word;
        ends.push_back(static_cast<uint32_t>(atoms.size()));
        from = sp + 1;
    }
    vsg::front::JoinNumberWords(gb.data(), atoms.data(), atoms.size(), ends);
    std::string out;
    size_t a = 0;
    for (uint32_t e : ends) {
        uint32_t s = atoms[a].start, end = atoms[e - 1].start + atoms[e - 1].length;
        out += (out.empty() ? "" : " ") + vsgtest::Utf8(gb.substr(s, end - s));
        a = e;
    }
    return out;
}

StringClass ClassOf(const std::string &utf8) {
    std::string gb = vsgtest::Gb(utf8);
    return vsg::front::ClassOfString(gb.data(), gb.size());
}

TEST(NumberWordsTest, JoinsWhatTheCorpusWritesAsOneWord) {
    // Dates: a year of four digits, a month, a day; the hour and the minutes
    // after it; in either width and in Chinese numerals.
    EXPECT_EQ(Join("1998 年 5 月 12 日"), "1998年 5月 12日");
    EXPECT_EQ(Join("１９９８ 年 １２ 月份"), "１９９８年 １２月份");
    EXPECT_EQ(Join("二 ○ ○ 一 年 十二 月 三十 一 日"), "二○○一年 十二月 三十一日");
    EXPECT_EQ(Join("10 时 30 分"), "10时 30分");
    EXPECT_EQ(Join("１０点 钟 8 点钟 十 二 点 钟"), "１０点钟 8点钟 十二点钟");
    // A year takes the 年 of 年底 and its like; 年度 and a duration keep theirs.
    EXPECT_EQ(Join("2021 年底 ２０２６ 年初 二○二一 年末 2030 年内"), "2021年 底 ２０２６年 初 二○二一年 末 2030年 内");
    EXPECT_EQ(Join("2024 年度 3 年底 1998 年 底"), "2024 年度 3 年底 1998年 底");
    // Durations and scores are not dates: three years, 13th month, 3 points.
    EXPECT_EQ(Join("3 年 13 月 32 日 得 3 分"), "3 年 13 月 32 日 得 3 分");
    EXPECT_EQ(Join("三 年"), "三 年");
    // Numbers: numeral runs, ordinals, fractions, large units.
    EXPECT_EQ(Join("四千 三百 一 十三"), "四千三百一十三");
    EXPECT_EQ(Join("第 三 次 第 12 届"), "第三 次 第12 届");
    EXPECT_EQ(Join("三 分之 一 百 分 之 五 十"), "三分之一 百分之五十");
    EXPECT_EQ(Join("百分 之 二十 以上"), "百分之二十 以上");
    EXPECT_EQ(Join("55.6 亿 30 万 人 3% 亿"), "55.6亿 30万 人 3% 亿");
    // Dates of digits and telephone numbers are one word; ranges are not.
    EXPECT_EQ(Join("2023 - 05 - 12 ２０２３ ／ ５ ／ １２ 2023 - 13 - 12"), "2023-05-12 ２０２３／５／１２ 2023 - 13 - 12");
    EXPECT_EQ(Join("010 - 12345678 3 - 5 天 123 - 45"), "010-12345678 3 - 5 天 123 - 45");
    // A number and a capital letter name a model; units and longer runs stay apart.
    EXPECT_EQ(Join("5 G 网络 ３ Ｄ 220 V 100 W 64 MB 5 g"), "5G 网络 ３Ｄ 220 V 100 W 64 MB 5 g");
    // Nothing else moves, and a joined word never outgrows the engine's field.
    EXPECT_EQ(Join("我们 一起 去 北京"), "我们 一起 去 北京");
    std::string many(80, '9');
    EXPECT_EQ(Join(many + " 亿"), many + " 亿");
}

TEST(NumberWordsTest, ClassesOfStringsAndTheirTags) {
    EXPECT_EQ(ClassOf("1998年"), StringClass::kTime);
    EXPECT_EQ(ClassOf("１２月"), StringClass::kTime);
    EXPECT_EQ(ClassOf("三十一日"), StringClass::kTime);
    EXPECT_EQ(ClassOf("3年"), StringClass::kOther);
    EXPECT_EQ(ClassOf("５５．６亿"), StringClass::kNumber);
    EXPECT_EQ(ClassOf("-3.5%"), StringClass::kNumber);
    EXPECT_EQ(ClassOf("第三"), StringClass::kNumber);
    EXPECT_EQ(ClassOf("百分之二十"), StringClass::kNumber);
    EXPECT_EQ(ClassOf("三分之一"), StringClass::kNumber);
    EXPECT_EQ(ClassOf("四千三百一十三"), StringClass::kNumber);
    EXPECT_EQ(ClassOf("万万亿亿万万亿亿万万亿亿月"), StringClass::kOther);  // no overflow, no month
    EXPECT_EQ(ClassOf("一"), StringClass::kOther);  // the engine knows single numerals best
    EXPECT_EQ(ClassOf("OpenAI"), StringClass::kLatin);
    EXPECT_EQ(ClassOf("5G"), StringClass::kLatin);
    EXPECT_EQ(ClassOf("2023-05-12"), StringClass::kTime);
    EXPECT_EQ(ClassOf("２０２３／５／１２"), StringClass::kTime);
    EXPECT_EQ(ClassOf("1/2"), StringClass::kNumber);
    EXPECT_EQ(ClassOf("2023/5/12/1"), StringClass::kNumber);
    EXPECT_EQ(ClassOf("010-12345678"), StringClass::kNumber);
    EXPECT_EQ(ClassOf("220V"), StringClass::kOther);
    EXPECT_EQ(ClassOf("ＣＤ—ＲＯＭ"), StringClass::kLatin);
    EXPECT_EQ(ClassOf("www.example.com"), StringClass::kAddress);
    EXPECT_EQ(ClassOf("a.b@example.org"), StringClass::kAddress);
    EXPECT_EQ(ClassOf("BP机"), StringClass::kOther);
    EXPECT_EQ(ClassOf("北京"), StringClass::kOther);
    // Marks and symbols alone, either width, and emoji; not the numeral ○,
    // not a mark within a word, not a rare character beyond the BMP.
    for (const char *mark : {"～～", "~", "★☆", "……", "℃", "😀", "🚀🚀", "@#"})
        EXPECT_EQ(ClassOf(mark), StringClass::kMark) << mark;
    for (const char *other : {"○", "~好", "好😀", "𠮷", "A~"}) EXPECT_NE(ClassOf(other), StringClass::kMark) << other;

    // Tags found by name; a fitting engine tag stays, a wrong one is replaced.
    std::vector<std::string> names = {"n", "v", "m", "t", "nx", "nz", "j", "c", "w", "wd", "q"};
    vsg::front::StringTagger tagger;
    tagger.Resolve(names);
    EXPECT_EQ(tagger.Retag(StringClass::kLatin, 1), 4);   // v -> nx
    EXPECT_EQ(tagger.Retag(StringClass::kLatin, 0), 4);   // n -> nx
    EXPECT_EQ(tagger.Retag(StringClass::kLatin, 6), 6);   // j stays
    EXPECT_EQ(tagger.Retag(StringClass::kAddress, 5), 4); // always nx
    EXPECT_EQ(tagger.Retag(StringClass::kNumber, 0), 2);  // n -> m
    EXPECT_EQ(tagger.Retag(StringClass::kNumber, 3), 3);  // t stays
    EXPECT_EQ(tagger.Retag(StringClass::kNumber, 7), 7);  // c stays (万一)
    EXPECT_EQ(tagger.Retag(StringClass::kLatin, 2), 4);   // m -> nx (e.g)
    EXPECT_EQ(tagger.Retag(StringClass::kTime, 2), 3);    // m -> t
    EXPECT_EQ(tagger.Retag(StringClass::kOther, 1), 1);
    EXPECT_EQ(tagger.Retag(StringClass::kLatin, -1), 4);  // untagged
    EXPECT_EQ(tagger.Retag(StringClass::kMark, 0), 8);    // n -> w
    EXPECT_EQ(tagger.Retag(StringClass::kMark, 9), 9);    // wd stays
    EXPECT_EQ(tagger.Retag(StringClass::kMark, 10), 10);  // q stays (℃)
}

TEST(NumberWordsTest, AtomsOfAddressesNumbersAndLatinWords) {
    auto describe = [](const std::string &utf8) {
        std::string gb = vsgtest::Gb(utf8);
        std::vector<Atom> atoms;
        vsg::front::Atomise(gb.data(), 0, gb.size(), atoms);
        std::string out;
        for (const Atom &a : atoms)
            if (a.kind != AtomKind::kSpace) out += vsgtest::Utf8(gb.substr(a.start, a.length)) + "|";
        return out;
    };
    // An address stops before closing punctuation, Chinese or ASCII.
    EXPECT_EQ(describe("见https://www.example.com/a?b=1，或www.x.cn。"),
              "见|https://www.example.com/a?b=1|，|或|www.x.cn|。|");
    EXPECT_EQ(describe("(http://a.org/x).") , "(|http://a.org/x|)|.|");
    EXPECT_EQ(describe("写信foo.bar@mail.example.com给"), "写|信|foo.bar@mail.example.com|给|");
    EXPECT_EQ(describe("ｗｗｗ．ｐｅｏｐｌｅｄａｉｌｙ．ｃｏｍ．ｃｎ，"), "ｗｗｗ．ｐｅｏｐｌｅｄａｉｌｙ．ｃｏｍ．ｃｎ|，|");
    // Numbers: a minus sign after no run, a decimal middle dot, a ratio, per
    // mille; a list number keeps its full stop before a word.
    EXPECT_EQ(describe("降-3.5%比３∶１约１５·６‰"), "降|-3.5%|比|３∶１|约|１５·６‰|");
    EXPECT_EQ(describe("１．农村 1,5"), "１．|农|村|1,5|");
    EXPECT_EQ(describe("5，6"), "5|，|6|");
    // Latin words with inner marks; digits do not join a dash.
    EXPECT_EQ(describe("ＣＤ—ＲＯＭ和AT&T及F-16与1997—1998"), "ＣＤ—ＲＯＭ|和|AT&T|及|F-16|与|1997|—|1998|");
    // A long address is cut into pieces that fit, the later ones marked.
    std::string url = "http://example.com/" + std::string(100, 'a');
    std::string gb = vsgtest::Gb(url);
    std::vector<Atom> atoms;
    vsg::front::Atomise(gb.data(), 0, gb.size(), atoms);
    ASSERT_EQ(atoms.size(), 2u);
    EXPECT_FALSE(atoms[0].continuesPrevious);
    EXPECT_TRUE(atoms[1].continuesPrevious);
    EXPECT_LE(atoms[0].length, vsg::front::kMaxAtomBytes);
}

// Whole analyses with the shipped models.
class WordFormsApiTest : public fronttest::ShippedModelsTest {
protected:
    // "word/tag" of every word, or of every corpus piece.
    std::vector<std::string> Words(const std::string &text, bool pieces = false, uint32_t flags = 0) {
        vsglex_result *r = nullptr;
        std::vector<std::string> out;
        EXPECT_EQ(vsglex_analyze(handle_, text.data(), text.size(), VSGLEX_CHARSET_UTF8, flags, &r), VSGLEX_OK);
        if (r == nullptr) return out;
        size_t next = 0;  // pieces tile the words in order
        for (size_t k = 0; k < r->word_count; ++k) {
            const vsglex_word &w = r->words[k];
            EXPECT_EQ(w.part_first, next);
            EXPECT_GE(w.part_count, 1u);
            next = w.part_first + w.part_count;
            if (!pieces) {
                out.push_back(std::string(w.text) + "/" + w.tag_name);
                continue;
            }
            uint64_t at = w.offset;
            std::string joined;
            for (uint32_t q = w.part_first; q < next && q < r->part_count; ++q) {
                const vsglex_part &p = r->parts[q];
                // The pieces of a pre-cut name skip the spaces between its words.
                while ((flags & VSGLEX_PRECUT) != 0 && at < p.offset && text[at] == ' ') ++at;
                EXPECT_EQ(p.offset, at);
                at += p.length;
                joined += p.text;
                out.push_back(std::string(p.text) + "/" + p.tag_name);
            }
            EXPECT_EQ(at, w.offset + w.length);
            EXPECT_EQ(joined, w.text);
        }
        EXPECT_EQ(next, r->part_count);
        vsglex_result_free(r);
        return out;
    }
    // True when `want` ("word/tag") is among the words.
    static bool Has(const std::vector<std::string> &words, const std::string &want) {
        for (const std::string &w : words)
            if (w == want) return true;
        return false;
    }
    static std::string Texts(const std::vector<std::string> &words) {
        std::string out;
        for (const std::string &w : words) out += w.substr(0, w.rfind('/')) + " ";
        return out;
    }

};

TEST_F(WordFormsApiTest, DatesTimesNumbersAndOrdinals) {
    auto w = Words("1998年5月12日上午10时30分，全市生产总值达55.6亿元，增长3.5%，新增30万人。");
    for (const char *want : {"1998年/t", "5月/t", "12日/t", "10时/t", "30分/t", "55.6亿/m", "3.5%/m", "30万/m"})
        EXPECT_TRUE(Has(w, want)) << want << " in " << Texts(w);
    w = Words("二○○一年十二月三十一日，共有四千三百一十三人参加第三次会议，占三分之一。");
    for (const char *want : {"二○○一年/t", "十二月/t", "三十一日/t", "四千三百一十三/m", "第三/m", "三分之一/m"})
        EXPECT_TRUE(Has(w, want)) << want << " in " << Texts(w);
    // A date of digits is one time word; a hyphen between numbers is a mark
    // of its own, never a minus sign glued to the number after it.
    w = Words("会议于2023-05-12举行，为期3-5天。");
    for (const char *want : {"2023-05-12/t", "3/m", "5/m"}) EXPECT_TRUE(Has(w, want)) << want << " in " << Texts(w);
    EXPECT_FALSE(Has(w, "-5/m")) << Texts(w);
    w = Words("气温-5℃。");
    EXPECT_TRUE(Has(w, "-5/m")) << Texts(w);
    // A duration stays a number and a measure word.
    w = Words("他工作了3年。");
    EXPECT_TRUE(Has(w, "3/m")) << Texts(w);
}

TEST_F(WordFormsApiTest, YearsTheModelsNeverSawActAsTheirYearsDo) {
    // The models know the years of their corpus only; a later year is
    // neither the start of an organisation name nor a verb's object.
    auto w = Words("据透露，2027年俄政府对航天工业的拨款将增加。");
    EXPECT_TRUE(Has(w, "2027年/t")) << Texts(w);
    w = Words("他证实，２０２７年政府共遣散职工三千人。");
    EXPECT_TRUE(Has(w, "２０２７年/t")) << Texts(w);
    w = Words("到2026年底，全省完成任务。");
    for (const char *want : {"到/p", "2026年/t", "底/f"}) EXPECT_TRUE(Has(w, want)) << want << " in " << Texts(w);
}

TEST_F(WordFormsApiTest, SymbolsAndEmojiAreMarks) {
    auto w = Words("今天天气真好😀！我们去吃饭吧~~ ★☆ 气温30℃。");
    for (const char *want : {"😀/w", "~/w", "★/w", "☆/w", "℃/q", "！/wt"})
        EXPECT_TRUE(Has(w, want)) << want << " in " << Texts(w);
}

TEST_F(WordFormsApiTest, LatinWordsAndAddressesAreSingleNonVerbWords) {
    auto w = Words("OpenAI和WHO的专家访问了https://www.example.com/a?b=1，并写信到foo.bar@example.com。");
    for (const char *want : {"OpenAI/nx", "WHO/nx", "https://www.example.com/a?b=1/nx", "foo.bar@example.com/nx"})
        EXPECT_TRUE(Has(w, want)) << want << " in " << Texts(w);
    // Characters right before or after an address are never joined to it.
    w = Words("详情见https://www.example.com/a?b=1。来信请寄abc@example.com联系。");
    for (const char *want : {"https://www.example.com/a?b=1/nx", "abc@example.com/nx"})
        EXPECT_TRUE(Has(w, want)) << want << " in " << Texts(w);
    // A letter or digit run after a Chinese character starts a word unless
    // the dictionary joins them (卡拉ＯＫ), in either width; 5G is one word.
    w = Words("新款iPhone手机支持5G网络和4G网络，他在卡拉OK唱歌，买了BP机。");
    for (const char *want : {"iPhone/nx", "5G/nx", "4G/nx"}) EXPECT_TRUE(Has(w, want)) << want << " in " << Texts(w);
    for (const char *want : {" 和 ", " 卡拉OK ", " BP机 "})
        EXPECT_NE((" " + Texts(w)).find(want), std::string::npos) << want << " in " << Texts(w);
    // An address longer than the engine's word field is still one word.
    std::string url = "http://example.com/" + std::string(120, 'x');
    w = Words("请访问" + url + "。");
    EXPECT_TRUE(Has(w, url + "/nx")) << Texts(w);
}

TEST_F(WordFormsApiTest, AsciiDoubleQuotesOpenAndCloseInTurn) {
    // ASCII double quotes are read as the corpus's quotes, opening and
    // closing in turn within each line (a new line starts with an opening
    // one), so that they get quote tags and the words inside are cut as
    // they would be between “ and ”.
    auto w = Words("台风\"杜苏芮\"将于28日登陆，他说\"好\"。\n\"明天\"见\"");
    std::string quotes;
    for (const std::string &word : w)
        if (word.rfind("\"/", 0) == 0) quotes += word.substr(2) + " ";
    EXPECT_EQ(quotes, "wyz wyy wyz wyy wyz wyy wyz ") << Texts(w);
    EXPECT_TRUE(Has(w, "台风/n")) << Texts(w);
}

TEST_F(WordFormsApiTest, NamesHoldNeitherWhiteSpaceNorMarks) {
    // The engine takes 和 for a surname and marks for given names; such a
    // name is broken up again, and no word spans white space.
    for (const char *text : {"谢谢你们的帮助~~~ (笑)", "帮助 ~~ 笑", "网络和 4 G手机"}) {
        auto w = Words(text);
        for (const std::string &word : w) {
            const std::string tag = word.substr(word.rfind('/') + 1);
            EXPECT_EQ(word.find(' '), std::string::npos) << word << " in " << text;
            EXPECT_TRUE(tag != "nr" && tag != "ns" && tag != "nt") << word << " in " << text;
        }
    }
    // Names with a middle dot stay whole.
    auto w = Words("约翰·史密斯和张三在北京。");
    EXPECT_TRUE(Has(w, "张三/nr")) << Texts(w);
    EXPECT_NE((" " + Texts(w)).find(" 约翰·史密斯 "), std::string::npos) << Texts(w);
}

TEST_F(WordFormsApiTest, PlaceAndOneCharacterSuffixAreOnePlace) {
    // A place word and a one-character place suffix are one place, whole in
    // both views; a suffix word of two characters, a known common word
    // before a suffix and words apart in given cut text stay as they are.
    const std::string text = "船从西安港开往长江岛，他们在新疆山区，他来自花灯村。";
    for (bool pieces : {false, true}) {
        auto w = Words(text, pieces);
        for (const char *want : {"西安港/ns", "长江岛/ns", "新疆/ns", "山区/n", "花灯/n"})
            EXPECT_TRUE(Has(w, want)) << want << " in " << Texts(w);
    }
    vsglex_result *r = nullptr;
    const std::string cut = "船 从 西安 港 开往 长江 岛";
    ASSERT_EQ(vsglex_analyze(handle_, cut.data(), cut.size(), VSGLEX_CHARSET_UTF8, VSGLEX_PRECUT, &r), VSGLEX_OK);
    EXPECT_EQ(r->word_count, 7u);
    vsglex_result_free(r);
}

TEST_F(WordFormsApiTest, ForeignNameOfTwoCharactersAfterATitle) {
    // After a word that mostly stands before foreign persons, two
    // transliteration characters are one name; other words after such a
    // title, and the same characters elsewhere, stay as they are.
    auto w = Words("俄罗斯总统普京会见了他。");
    EXPECT_TRUE(Has(w, "普京/nrf")) << Texts(w);
    w = Words("总统大选在即，总统说了话。普京剧团演出。");
    for (const std::string &word : w) EXPECT_EQ(word.find("/nrf"), std::string::npos) << Texts(w);
}

TEST_F(WordFormsApiTest, NamesEndBeforeTheVerbOfAnAspectParticle) {
    // The recognisers join the verb before 了 into a foreign name (穆萨通,
    // 普京通); the name ends before it, and a place cut short so becomes
    // plain words again, which the title step then joins into a person.
    // A name before a particle with no verb taken in keeps its length. The
    // particle is tagged as one after a verb.
    auto w = Words("巴勒斯坦代表穆萨通了电话。俄罗斯总统普京通了电话。王小明看着他。");
    for (const char *want : {"穆萨/nrf", "普京/nrf", "通/v", "了/ule", "王小明/nr"})
        EXPECT_TRUE(Has(w, want)) << want << " in " << Texts(w);
    for (const std::string &word : w) {
        const std::string text = word.substr(0, word.rfind('/'));
        EXPECT_FALSE(text.size() > 3 && text.compare(text.size() - 3, 3, "通") == 0) << Texts(w);
        EXPECT_NE(word, "了/v") << Texts(w);
    }
}

TEST_F(WordFormsApiTest, NameRunsTheEngineLeavesInCharactersAreOneWord) {
    // The cutter hands these to the engine as name characters, and the
    // recognisers build nothing of them (two characters: no pattern joins
    // them). They are one word in both views: a transliterated person and a
    // place of a unit suffix whole, a place the dictionary knows with its tag.
    for (bool pieces : {false, true}) {
        auto w = Words("董建华告诉库克：“我们欢迎你。”中波友协会长布赫出席茶话会。"
                       "记者分赴广东省高州、郁南等地采访。其中吉林向海、黑龙江都是保护区。",
                       pieces);
        for (const char *want : {"库克/nr", "布赫/nr", "高州/ns", "向海/ns"})
            EXPECT_TRUE(Has(w, want)) << want << " in " << Texts(w);
    }
    // A Chinese person so joined is surname and given name in the corpus
    // view, unless the training days write it as one token (田中/nr).
    EXPECT_TRUE(Has(Words("他将永远缅怀卢口先生的功绩。"), "卢口/nr"));
    auto parts = Words("他将永远缅怀卢口先生的功绩。", true);
    EXPECT_TRUE(Has(parts, "卢/nr") && Has(parts, "口/nr")) << Texts(parts);
    EXPECT_TRUE(Has(Words("他将永远缅怀田中先生的功绩。", true), "田中/nr"));
    // A name the engine built stays as it built it; a surname it took alone
    // is not glued to the word after it, of one character or more.
    vsglex_result *r = nullptr;
    const std::string built = "周恩来总理访问了非洲。";
    ASSERT_EQ(vsglex_analyze(handle_, built.data(), built.size(), VSGLEX_CHARSET_UTF8, 0, &r), VSGLEX_OK);
    ASSERT_GE(r->word_count, 1u);
    EXPECT_STREQ(r->words[0].text, "周恩来");
    EXPECT_EQ(r->words[0].merged, 3);
    vsglex_result_free(r);
    auto w = Words("张说：“今天不去了。”李老师和王同学去了上海。他们在大厅张灯结彩。");
    for (const char *want : {"张/nr", "说/v", "李/nr", "老师/n", "王/nr", "同学/n", "张灯结彩/i"})
        EXPECT_TRUE(Has(w, want)) << want << " in " << Texts(w);
}

TEST_F(WordFormsApiTest, UnknownWordCutWholeElsewhereJoinsItsPieces) {
    // The cutter keeps 污水厂 and 雾霾 (no dictionary words) whole in one
    // sentence and cuts them in the other; within one text every mention is
    // one word, in both views (the tag of an unknown word's mention is
    // decided again in its own context: 严重的雾霾 may come out a state word).
    const std::string text = "他们新建了一座污水厂。污水厂每天处理十万吨污水。严重的雾霾让人担忧。雾霾天气影响出行。";
    for (bool pieces : {false, true}) {
        auto w = Words(text, pieces);
        size_t plant = 0, smog = 0;
        for (const std::string &word : w) {
            plant += word == "污水厂/n";
            smog += word.rfind("雾霾/", 0) == 0;
            EXPECT_TRUE(word != "厂/n" && word != "霾/n") << Texts(w);
        }
        EXPECT_EQ(plant, 2u) << Texts(w);
        EXPECT_EQ(smog, 2u) << Texts(w);
    }
    // Pieces apart (a space between them) stay apart, the word alone in
    // the text is cut as the cutter cuts it, and each text is its own
    // call: nothing carries over.
    auto w = Words("污水厂每天处理十万吨污水。他们修了污水 厂。");
    EXPECT_TRUE(Has(w, "污水/n") && Has(w, "厂/n")) << Texts(w);
    w = Words("他们新建了一座污水厂。");
    EXPECT_TRUE(Has(w, "污水/n") && Has(w, "厂/n")) << Texts(w);
    w = Words("雾霾天气影响出行。");
    EXPECT_FALSE(Has(w, "雾霾/n")) << Texts(w);
}

TEST_F(WordFormsApiTest, NameFoundOnceIsTheNewWordTheCutterKeepsWholeElsewhere) {
    // The engine finds 黄东风 and 梁东风 after 董事长; the cutter keeps the same
    // strings whole as new words in the later sentences (黄东风/n before).
    // Every mention is then the person, in both views.
    for (const char *name : {"黄东风", "梁东风"}) {
        const std::string n = name;
        const std::string text = "董事长" + n + "说，" + n + "认为，鉴于" + n + "的问题，开除" + n + "党籍。" + n +
                                 "利用职权贪污公款。";
        auto merged = Words(text);
        size_t persons = 0;
        for (const std::string &word : merged) persons += word == n + "/nr";
        EXPECT_EQ(persons, 5u) << Texts(merged);
        auto pieces = Words(text, true);
        size_t surnames = 0, given = 0;
        for (const std::string &word : pieces) {
            surnames += word == n.substr(0, 3) + "/nr";
            given += word == n.substr(3) + "/nr";
        }
        EXPECT_EQ(surnames, 5u) << Texts(pieces);
        EXPECT_EQ(given, 5u) << Texts(pieces);
    }
    // Without a mention the engine took for a person, the new word stays
    // what it was.
    auto w = Words("鉴于黄东风的问题，开除黄东风党籍。");
    EXPECT_FALSE(Has(w, "黄东风/nr")) << Texts(w);
}

TEST_F(WordFormsApiTest, UnknownWordOfTwoCharactersEndingInCountyOrPrefectureIsAPlace) {
    // Cut whole by the cutter, such a word never reaches the place
    // recogniser as characters; a known word ending in 县 (本县) stays.
    // (The cutter hands most unknown places over in characters, 婺 州 among
    // them, which the recogniser cannot join either: two characters.)
    for (bool pieces : {false, true}) {
        auto w = Words("他后来在嵊州工作，又去了本县。", pieces);
        for (const char *want : {"嵊州/ns", "本县/r"})
            EXPECT_TRUE(Has(w, want)) << want << " in " << Texts(w);
    }
    // Words a host cut itself: a pronoun and the unit (此县 "this county",
    // 我州 "our prefecture"; the shipped dictionary lacks both) name the
    // unit, not a place; the unknown place beside them still is one.
    for (bool pieces : {false, true}) {
        auto w = Words("他 后来 到 嵊州 工作 ， 此县 和 我州 也 一样 。", pieces, VSGLEX_PRECUT);
        for (const char *want : {"嵊州/ns", "此县/n", "我州/n"})
            EXPECT_TRUE(Has(w, want)) << want << " in " << Texts(w);
    }
}

TEST_F(WordFormsApiTest, UnknownWordsTheTextNamesAsPlacesArePlaces) {
    // The stem of a county found in the same text, before or after it, is a
    // place in both views; the stem of a village is not, and neither is an
    // unknown word the text never names as a place (each text is its own
    // call: nothing carries over).
    struct Case {
        const char *text, *want;
    } cases[] = {
        {"涞源县位于山区。涞源的经济发展很快。", "涞源/ns"},
        {"嵊泗的渔业很发达，嵊泗县位于海上。", "嵊泗/ns"},
        {"婺源村位于山区。婺源的经济发展很快。", "婺源/n"},
        {"婺源的经济发展很快。", "婺源/n"},
    };
    for (const Case &c : cases)
        for (bool pieces : {false, true}) {
            auto w = Words(c.text, pieces);
            EXPECT_TRUE(Has(w, c.want)) << c.want << " in " << Texts(w);
        }
    // A host's words: the county the engine joined over the separating
    // spaces lends its stem as well.
    for (bool pieces : {false, true}) {
        auto w = Words("涞 源 县 位于 山区 。 涞源 的 经济 发展 很 快 。", pieces, VSGLEX_PRECUT);
        EXPECT_TRUE(Has(w, "涞源/ns")) << Texts(w);
    }
    // A place the engine made of the same string lends it to a mention or
    // two, but not to a word the text writes far more often as a plain word
    // (one false place would make every mention of it a place); the stem of
    // a county lends however often the text repeats it.
    struct Mentions {
        const char *text, *want, *unwanted;
    } mentions[] = {
        {"他 来到 避 风 港 。 避风港 很 好 。", "避风港/ns 很/d", "避风港/n "},
        {"他 来到 避 风 港 。 避风港 很 好 。 避风港 很 美 。 避风港 很 大 。", "避风港/n 很/d", "避风港/ns 很/d"},
        {"涞 源 县 位于 山区 。 涞源 很 好 。 涞源 很 美 。 涞源 很 大 。", "涞源/ns 很/d 大", "涞源/n "},
    };
    for (const Mentions &c : mentions)
        for (bool pieces : {false, true}) {
            std::string tagged;
            for (const std::string &w : Words(c.text, pieces, VSGLEX_PRECUT)) tagged += w + " ";
            EXPECT_NE(tagged.find(c.want), std::string::npos) << c.want << " in " << tagged;
            EXPECT_EQ(tagged.find(c.unwanted), std::string::npos) << c.unwanted << " in " << tagged;
        }
}

TEST_F(WordFormsApiTest, CharactersThatSpellAPlaceOfTheTextAreThatPlace) {
    // Words a host cut itself, an unknown place one character a word: the
    // engine joins it after 来到 but not at the start of a sentence, where
    // the text's own place makes it one. Without a mention found, or
    // without a place suffix at its end, the characters stay apart.
    struct Case {
        const char *text, *want;
    } cases[] = {
        {"他 来到 路 桥 区 。 路 桥 区 很 美 。", "路桥区/ns 很/d"},
        {"路 桥 区 很 美 。", "路/n 桥/n 区/n"},
        {"他 来到 德 班 港 。 德 班 港 很 美 。", "德班港/ns 很/d"},
        {"他 来到 雷 神 庙 。 雷 神 庙 很 美 。", "雷/n 神/a 庙/n 很/d"},
    };
    for (const Case &c : cases)
        for (bool pieces : {false, true}) {
            std::string tagged;
            for (const std::string &w : Words(c.text, pieces, VSGLEX_PRECUT)) tagged += w + " ";
            EXPECT_NE(tagged.find(c.want), std::string::npos) << c.want << " in " << tagged;
        }
}

TEST_F(WordFormsApiTest, PersonOfAHostsWordsIsFoundWhereItsCharactersComeAgain) {
    // A host's words, a name one character a word: alone the first sentence
    // leaves 薄 一 波 apart; the name the engine finds in the second sentence
    // (over the separating spaces) makes the first mention that person too.
    auto tagged = [&](const char *text, bool pieces) {
        std::string out;
        for (const std::string &w : Words(text, pieces, VSGLEX_PRECUT)) out += w + " ";
        return out;
    };
    for (bool pieces : {false, true}) {
        const std::string alone = tagged("主任 薄 一 波 找 他 谈话 。", pieces);
        EXPECT_EQ(alone.find("/nr"), std::string::npos) << alone;
        const std::string twice = tagged("主任 薄 一 波 找 他 谈话 。 薄 一 波 说 。", pieces);
        EXPECT_EQ(twice.rfind(pieces ? "主任/n 薄/nr 一波/nr 找/v" : "主任/n 薄一波/nr 找/v", 0), 0u) << twice;
    }
}

TEST_F(WordFormsApiTest, HalfAndFullWidthGiveTheSameCut) {
    const char *pairs[][2] = {
        {"1998年12月31日，增长3.5%，共55.6亿元。", "１９９８年１２月３１日，增长３．５％，共５５．６亿元。"},
        {"他拿到了ISO9000证书和CD-ROM。", "他拿到了ＩＳＯ９０００证书和ＣＤ－ＲＯＭ。"},
        {"第12届会议在10时开幕。", "第１２届会议在１０时开幕。"},
        {"他在卡拉OK唱歌，买了BP机和5G手机。", "他在卡拉ＯＫ唱歌，买了ＢＰ机和５Ｇ手机。"},
        // Pieces of organisation names: marks and numbers keep their tags.
        {"铜陵有色金属(集团)公司和大庆油田1205钻井队签约。", "铜陵有色金属（集团）公司和大庆油田１２０５钻井队签约。"},
    };
    for (const auto &pair : pairs) {
        auto half = Words(pair[0], true), full = Words(pair[1], true);
        ASSERT_EQ(half.size(), full.size()) << Texts(half) << "| " << Texts(full);
        for (size_t k = 0; k < half.size(); ++k) {
            // The same characters (counted) and the same tag.
            auto chars = [](const std::string &s) {
                size_t n = 0;
                for (unsigned char c : s.substr(0, s.rfind('/'))) n += (c & 0xC0) != 0x80;
                return n;
            };
            EXPECT_EQ(chars(half[k]), chars(full[k])) << half[k] << " vs " << full[k];
            EXPECT_EQ(half[k].substr(half[k].rfind('/')), full[k].substr(full[k].rfind('/')))
                << half[k] << " vs " << full[k];
        }
    }
}

TEST_F(WordFormsApiTest, CorpusPiecesOfNames) {
    // A Chinese person name: surname and given name; a compound surname
    // stays together; a transliterated name and a place stay whole; an
    // organisation gives its component words.
    auto merged = Words("江泽民会见欧阳中石和克林顿，中央人民广播电台在北京报道。");
    auto pieces = Words("江泽民会见欧阳中石和克林顿，中央人民广播电台在北京报道。", true);
    EXPECT_TRUE(Has(merged, "江泽民/nr")) << Texts(merged);
    for (const char *want : {"江/nr", "泽民/nr", "欧阳/nr", "中石/nr", "克林顿/nrf", "北京/ns", "中央/n", "电台/n"})
        EXPECT_TRUE(Has(pieces, want)) << want << " in " << Texts(pieces);
    EXPECT_FALSE(Has(pieces, "中央人民广播电台/nt")) << Texts(pieces);
    // A two-character name of transliteration characters is one corpus
    // token; a Chinese one is surname and given name.
    auto lone = Words("美国国防部长利维会见了邓超。", true);
    for (const char *want : {"利维/nr", "邓/nr", "超/nr"})
        EXPECT_TRUE(Has(lone, want)) << want << " in " << Texts(lone);
    // Names with characters outside GB2312 (镕 is a GBK character) are cut
    // the same way.
    auto gbk = Words("国务院总理朱镕基在北京会见了客人。", true);
    for (const char *want : {"朱/nr", "镕基/nr"}) EXPECT_TRUE(Has(gbk, want)) << want << " in " << Texts(gbk);
    // Person words the training days write as one token stay whole; a
    // full Chinese name is still cut.
    auto whole = Words("安南会见了侯老和江泽民。", true);
    for (const char *want : {"安南/nr", "侯老/nr", "江/nr", "泽民/nr"})
        EXPECT_TRUE(Has(whole, want)) << want << " in " << Texts(whole);
    // So do familiar names the training days never show (小 and 老 before
    // a surname).
    auto familiar = Words("记者见到了小周和老秦。", true);
    for (const char *want : {"小周/nr", "老秦/nr"}) EXPECT_TRUE(Has(familiar, want)) << want << " in " << Texts(familiar);
    // Inside an organisation name, a place the cutter handed over in
    // characters is one piece (湄潭县, not 湄 潭 县).
    auto org = Words("湄潭县茶叶公司和岑巩县水泥厂签约。", true);
    for (const char *want : {"湄潭县/ns", "茶叶/n", "公司/n", "岑巩县/ns", "水泥厂/n"})
        EXPECT_TRUE(Has(org, want)) << want << " in " << Texts(org);
    // Words that are no names have exactly themselves as their piece.
    auto plain = Words("我们今天去学校。"), plainPieces = Words("我们今天去学校。", true);
    EXPECT_EQ(plain, plainPieces);
}


TEST_F(WordFormsApiTest, PlaceAndOrganisationCompoundsAreOneNameOfTheCorpusWords) {
    // A place and a word that closes bracketed places in the corpus (地区,
    // 半岛) are one place; so is a transliteration the person recogniser
    // took before such a word. The corpus pieces are the head and the
    // closing word. A place before a word that closes none (会议) stays apart.
    const std::string text = "中亚地区的局势，他们到帕米尔高原和巴尔干半岛。上海会议闭幕。";
    auto merged = Words(text), pieces = Words(text, true);
    for (const char *want : {"中亚地区/ns", "帕米尔高原/ns", "巴尔干半岛/ns", "上海/ns", "会议/n"})
        EXPECT_TRUE(Has(merged, want)) << want << " in " << Texts(merged);
    for (const char *want : {"中亚/ns", "地区/n", "帕米尔/nsf", "高原/n", "巴尔干/nsf", "半岛/n"})
        EXPECT_TRUE(Has(pieces, want)) << want << " in " << Texts(pieces);
    // A run of words the training days bracket as one place is one place,
    // the longest run known winning (北京 人民 大会堂 over 人民 大会堂); its
    // corpus pieces are its words with their own tags. A run the corpus
    // writes apart more often than bracketed (西藏 自治区) stays apart.
    const std::string runs = "他在北京人民大会堂会见香港特别行政区代表，又去人民大会堂。西藏自治区的代表。";
    auto runMerged = Words(runs), runPieces = Words(runs, true);
    for (const char *want : {"北京人民大会堂/ns", "香港特别行政区/ns", "人民大会堂/ns", "西藏/ns", "自治区/n"})
        EXPECT_TRUE(Has(runMerged, want)) << want << " in " << Texts(runMerged);
    for (const char *want : {"北京/ns", "人民/n", "大会堂/n", "香港/ns", "特别/a", "行政区/n"})
        EXPECT_TRUE(Has(runPieces, want)) << want << " in " << Texts(runPieces);
    EXPECT_FALSE(Has(runPieces, "人民大会堂/ns")) << Texts(runPieces);
    // So is a run they bracket as one organisation, which the organisation
    // recogniser does not find (民族 权力 机构 after a transliterated place).
    const std::string org = "巴勒斯坦民族权力机构发表声明。";
    auto orgMerged = Words(org), orgPieces = Words(org, true);
    EXPECT_TRUE(Has(orgMerged, "巴勒斯坦民族权力机构/nt")) << Texts(orgMerged);
    for (const char *want : {"巴勒斯坦/nsf", "民族/n", "权力/n", "机构/n"})
        EXPECT_TRUE(Has(orgPieces, want)) << want << " in " << Texts(orgPieces);
    // A transliteration the person recogniser took is a place where the
    // word before it comes before transliterated places (抵达), not persons.
    auto arrive = Words("代表团抵达哈拉雷。");
    EXPECT_TRUE(Has(arrive, "哈拉雷/nsf")) << Texts(arrive);
    // A place the dictionary knows, handed to the engine in characters and
    // taken by the person recogniser, is a place again; a transliterated
    // person stays one.
    auto known = Words("希萨诺31日在马普托发表新年文告。");
    EXPECT_TRUE(Has(known, "马普托/nsf")) << Texts(known);
    EXPECT_TRUE(Has(known, "希萨诺/nrf")) << Texts(known);
}

}  // namespace

TEST_F(WordFormsApiTest, UnknownWordsAreTaggedByTheirCharacters) {
    // Words the dictionary lacks (研判, 复盘, 勤快, 暖心) share one set of
    // rows in the engine, which tags them nouns in these contexts; their
    // characters make them verbs and adjectives. An adjective after 很,
    // which the context alone gets right, stays one. A name beside them
    // keeps its tag, and a word the dictionary knows as a noun (时尚) keeps
    // the dictionary's tag where its characters would speak for another.
    auto w = Words("他们研判比赛。他们复盘比赛。李国华今天研判比赛。");
    for (const char *want : {"研判/v", "复盘/v", "李国华/nr"}) EXPECT_TRUE(Has(w, want)) << want << " in " << Texts(w);
    EXPECT_FALSE(Has(w, "研判/n")) << Texts(w);
    w = Words("一位勤快的老师。一种暖心的气息。她很勤快。她们很时尚。");
    for (const char *want : {"勤快/a", "暖心/a", "时尚/n"}) EXPECT_TRUE(Has(w, want)) << want << " in " << Texts(w);
    for (const char *wrong : {"勤快/n", "暖心/n", "时尚/a"}) EXPECT_FALSE(Has(w, wrong)) << wrong << " in " << Texts(w);
}
