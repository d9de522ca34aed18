#include <cmath>
#include <cstring>

#include "fixture.h"

namespace {

using rectest::Engine;
using rectest::MakeSpan;
using rectest::Sentence;
using rectest::W;

// Organisation rows of role C (first), E (inner) and D (suffix).
const std::vector<DictSRow> kFirst = {{3, 2, 2.0f, 1}};
const std::vector<DictSRow> kInner = {{3, 3, 1.0f, 1}};
const std::vector<DictSRow> kSuffix = {{0, 7, 4.0f, 1}, {3, 5, 2.0f, 1}};
const std::vector<DictSRow> kWeakSuffix = {{3, 5, 1.0f, 1}};
// A known word that plays no part in names.
const std::vector<DictSRow> kPlain = {{0, 7, 3.0f, 1}};
// A known place name.
const std::vector<DictSRow> kPlace = {{0, 29, 3.0f, 1}};

void Org(const Engine &e, Sentence &s, const std::string &roles, WordGraph *graph = nullptr) {
    auto span = MakeSpan(s, 0, roles, e.org());
    EXPECT_EQ(CSpan_OrgRecognize(span.get(), s.data(), e.get(), 0, graph), 1);
}

bool Untouched(Sentence &s) {
    for (size_t r = 0; r < VSG_SPAN_WORDS; ++r) {
        if (s[r].classText[0] != '\0' || s[r].state != 0) return false;
    }
    return true;
}

void ExpectOrg(const Engine &e, Sentence &s, size_t record, const std::string &utf8,
               size_t merged) {
    EXPECT_EQ(s.Text(record), utf8);
    EXPECT_STREQ(s[record].classText, vsg::kOrgClass);
    EXPECT_EQ(s[record].tag, 31);
    EXPECT_EQ(s[record].frequency, 48993u);
    EXPECT_DOUBLE_EQ(s[record].weight, 10.7995);
    EXPECT_EQ(s[record].posList, e.org_entry().posList);
    EXPECT_EQ(s[record].state, 0);
    for (size_t r = record + 1; r <= record + merged; ++r) {
        EXPECT_EQ(s[r].state, VSG_STATE_MERGED) << r;
    }
    EXPECT_EQ(s[record + merged + 1].state, 0);
}

TEST(OrgRecognize, SingleWordsAndSuffixClosedNames) {
    Engine e;
    Sentence t({{"^"}, {"党"}, {"说"}, {"$"}});
    Org(e, t, "ATzZ");
    ExpectOrg(e, t, 1, "党", 0);

    Sentence d({{"^"}, {"华联", kFirst}, {"电子", kInner}, {"厂", kSuffix}, {"说"}, {"$"}});
    Org(e, d, "AAADzZ");
    ExpectOrg(e, d, 1, "华联电子厂", 2);

    // The suffix row must reach 1.1.
    Sentence weak({{"^"}, {"华联", kFirst}, {"电子", kInner}, {"厂", kWeakSuffix}, {"$"}});
    Org(e, weak, "AAADZ");
    EXPECT_TRUE(Untouched(weak));

    // A multi-character suffix is known by its rows alone; a known word
    // without organisation or name rows does not join the body.
    Sentence multi({{"^"}, {"昨天", kPlain}, {"中国", kFirst}, {"银行", kSuffix}, {"$"}});
    Org(e, multi, "AAAAZ");
    EXPECT_EQ(multi.Text(1), "昨天");
    EXPECT_EQ(multi[1].classText[0], '\0');
    ExpectOrg(e, multi, 2, "中国银行", 1);

    // Unknown words and place names join the body; the boundary words never.
    Sentence body({{"^"}, {"石家庄市", kPlace}, {"超市发"}, {"集团", kSuffix}, {"$"}});
    Org(e, body, "AAAAZ");
    ExpectOrg(e, body, 1, "石家庄市超市发集团", 2);
    EXPECT_EQ(body[0].classText[0], '\0');

    // An unknown word ends a name when its last character is a suffix, and
    // of two suffix words in a row the second closes the name.
    Sentence unknown({{"^"}, {"太原市", kPlace}, {"检疫站"}, {"说", kPlain}, {"$"}});
    Org(e, unknown, "AAAzZ");
    ExpectOrg(e, unknown, 1, "太原市检疫站", 1);
    Sentence chain({{"^"}, {"鞍山", kFirst}, {"公安局", kSuffix}, {"党委", kSuffix}, {"$"}});
    Org(e, chain, "AAAAZ");
    ExpectOrg(e, chain, 1, "鞍山公安局党委", 2);

    // A "T" word of a dropped name is still marked on its own.
    Sentence dropped({{"^"}, {"中国", kFirst}, {"党"}, {"说"}, {"$"}});
    Org(e, dropped, "AATzZ");
    EXPECT_EQ(dropped[1].classText[0], '\0');
    ExpectOrg(e, dropped, 2, "党", 0);
}

TEST(OrgRecognize, BracketsKeepNamesOpen) {
    Engine e;
    Sentence s({{"^"}, {"中国", kFirst}, {"（"}, {"集团", kSuffix}, {"）"}, {"公司", kSuffix}, {"$"}});
    Org(e, s, "AAEAEAZ");
    ExpectOrg(e, s, 1, "中国（集团）公司", 4);

    Sentence open({{"^"}, {"中国", kFirst}, {"（"}, {"集团", kSuffix}, {"公司", kSuffix}, {"$"}});
    Org(e, open, "AAEAAZ");
    EXPECT_TRUE(Untouched(open));
}

TEST(OrgRecognize, TerminatorLettersEndNames) {
    Engine e;
    Sentence plain({{"^"}, {"华联", kFirst}, {"新"}, {"厂", kSuffix}, {"$"}});
    Org(e, plain, "AAEDZ");
    ExpectOrg(e, plain, 1, "华联新厂", 2);
    for (char stop : std::string("zZ14")) {
        Sentence s({{"^"}, {"华联", kFirst}, {"新"}, {"厂", kSuffix}, {"$"}});
        Org(e, s, std::string("AA") + stop + "DZ");
        EXPECT_TRUE(Untouched(s)) << stop;
    }
}

TEST(OrgRecognize, SpecialOneCharacterSuffixes) {
    Engine e;
    for (const char *word : {"对", "向", "能", "本", "日", "电"}) {
        Sentence s({{"^"}, {"华联", kFirst}, {"电子", kInner}, {word, kSuffix}, {"$"}});
        Org(e, s, "AAADZ");
        EXPECT_TRUE(Untouched(s)) << word;
    }
    // 中 only after a number.
    Sentence school({{"^"}, {"北京", kFirst}, {"１０１"}, {"中", kSuffix}, {"$"}});
    Org(e, school, "AAADZ");
    ExpectOrg(e, school, 1, "北京１０１中", 2);
    Sentence meeting({{"^"}, {"大会", kFirst}, {"会议", kInner}, {"中", kSuffix}, {"$"}});
    Org(e, meeting, "AAADZ");
    EXPECT_TRUE(Untouched(meeting));

    // 所 and 局 only after a multi-character word that is not a number.
    for (const char *word : {"所", "局"}) {
        Sentence ok({{"^"}, {"计算", kFirst}, {"研究", kInner}, {word, kSuffix}, {"$"}});
        Org(e, ok, "AAADZ");
        ExpectOrg(e, ok, 1, std::string("计算研究") + word, 2);
        Sentence number({{"^"}, {"计算", kFirst}, {"3"}, {word, kSuffix}, {"$"}});
        Org(e, number, "AAJDZ");
        EXPECT_TRUE(Untouched(number)) << word;
        Sentence single({{"^"}, {"计算", kFirst}, {"新"}, {word, kSuffix}, {"$"}});
        Org(e, single, "AAEDZ");
        EXPECT_TRUE(Untouched(single)) << word;
    }
}

TEST(OrgRecognize, ShortNumberAndLongNames) {
    Engine e;
    // "CD" and "JD" of two single characters are too short.
    Sentence cd({{"^"}, {"新"}, {"厂", kSuffix}, {"$"}});
    Org(e, cd, "ACDZ");
    EXPECT_TRUE(Untouched(cd));
    Sentence jd({{"^"}, {"三"}, {"厂", kSuffix}, {"$"}});
    Org(e, jd, "AJDZ");
    EXPECT_TRUE(Untouched(jd));
    Sentence longer({{"^"}, {"华联", kFirst}, {"厂", kSuffix}, {"$"}});
    Org(e, longer, "ACDZ");
    ExpectOrg(e, longer, 1, "华联厂", 1);
    // A one-character suffix closes no name begun by a word the dictionary
    // does not know (企管 处) or by one character (中 美 两 军), however long;
    // a multi-character suffix still does.
    Sentence unknown({{"^"}, {"企管"}, {"处", kSuffix}, {"$"}});
    Org(e, unknown, "AADZ");
    EXPECT_TRUE(Untouched(unknown));
    Sentence unknownLonger({{"^"}, {"华联"}, {"电子", kInner}, {"厂", kSuffix}, {"$"}});
    Org(e, unknownLonger, "AAADZ");
    EXPECT_TRUE(Untouched(unknownLonger));
    Sentence armies({{"^"}, {"中"}, {"美"}, {"两"}, {"军", kSuffix}, {"$"}});
    Org(e, armies, "ACEJDZ");
    EXPECT_TRUE(Untouched(armies));
    Sentence group({{"^"}, {"华联"}, {"集团", kSuffix}, {"$"}});
    Org(e, group, "AAAZ");
    ExpectOrg(e, group, 1, "华联集团", 1);
    // One character and a suffix word: a name when the character is mostly
    // a noun (华 公司), not when it qualifies the suffix (大 公司, 进 厂);
    // a third word makes it a name again.
    const std::vector<DictSRow> nounChar = {{0, 2, 3.0f, 1}, {0, 4, 1.0f, 1}};
    const std::vector<DictSRow> adjective = {{0, 4, 3.0f, 1}, {0, 2, 1.0f, 1}};
    const std::vector<DictSRow> firm = {{0, 2, 3.0f, 1}, {3, 5, 2.0f, 1}};
    Sentence hua({{"^"}, {"华", nounChar}, {"公司", firm, std::log(21.0f)}, {"$"}});
    Org(e, hua, "ACAZ");
    ExpectOrg(e, hua, 1, "华公司", 1);
    Sentence big({{"^"}, {"大", adjective}, {"公司", firm, std::log(21.0f)}, {"$"}});
    Org(e, big, "ACAZ");
    EXPECT_TRUE(Untouched(big));
    Sentence bigger({{"^"}, {"大", adjective}, {"华联"}, {"公司", firm, std::log(21.0f)}, {"$"}});
    Org(e, bigger, "ACAAZ");
    ExpectOrg(e, bigger, 1, "大华联公司", 2);

    // Numbers continue a name but never begin one.
    Sentence inside({{"^"}, {"北京", kFirst}, {"502"}, {"厂", kSuffix}, {"$"}});
    Org(e, inside, "AAADZ");
    ExpectOrg(e, inside, 1, "北京502厂", 2);
    Sentence only({{"^"}, {"502"}, {"厂", kSuffix}, {"$"}});
    Org(e, only, "AADZ");
    EXPECT_TRUE(Untouched(only));

    // Over 32 bytes: not merged.
    Sentence huge({{"^"}, {"一二三四五六七八", kFirst}, {"一二三四五六七八", kInner}, {"厂", kSuffix},
                  {"$"}});
    Org(e, huge, "AAADZ");
    EXPECT_TRUE(Untouched(huge));
}

TEST(OrgRecognize, CorpusSharesDecideEdgesAndNounsFillTheInside) {
    Engine e;
    // ln 2.0 of 20 occurrences (share 0.33) opens and closes a name; the same
    // rows on a word seen 1000 times (share 0.007) do neither.
    const float often = std::log(1001.0f), seldom = std::log(21.0f);
    const std::vector<DictSRow> first = {{0, 2, 3.0f, 1}, {3, 2, 2.0f, 1}};
    const std::vector<DictSRow> suffix = {{0, 2, 3.0f, 1}, {3, 5, 2.0f, 1}};
    // A word used mostly as a noun, without organisation rows.
    const std::vector<DictSRow> noun = {{0, 2, 5.0f, 1}, {0, 3, 2.0f, 1}};
    const std::vector<DictSRow> verb = {{0, 3, 5.0f, 1}, {0, 2, 2.0f, 1}};

    Sentence ok({{"^"}, {"华联", first, seldom}, {"动物", noun, often}, {"集团", suffix, seldom}, {"$"}});
    Org(e, ok, "AAAAZ");
    ExpectOrg(e, ok, 1, "华联动物集团", 2);

    Sentence common({{"^"}, {"证券", first, often}, {"集团", suffix, seldom}, {"$"}});
    Org(e, common, "AAAZ");
    EXPECT_TRUE(Untouched(common));
    Sentence weak({{"^"}, {"华联", first, seldom}, {"系统", suffix, often}, {"$"}});
    Org(e, weak, "AAAZ");
    EXPECT_TRUE(Untouched(weak));
    // A proper noun opens a name without organisation rows.
    const std::vector<DictSRow> proper = {{0, 25, 2.0f, 1}, {0, 2, 1.0f, 1}};
    Sentence brand({{"^"}, {"金鹏", proper, seldom}, {"集团", suffix, seldom}, {"$"}});
    Org(e, brand, "AAAZ");
    ExpectOrg(e, brand, 1, "金鹏集团", 1);
    Sentence verbs({{"^"}, {"华联", first, seldom}, {"保护", verb, often}, {"集团", suffix, seldom}, {"$"}});
    Org(e, verbs, "AAAAZ");
    EXPECT_TRUE(Untouched(verbs));

    // A suffix reached over at most three body words extends the name; one
    // four body words away does not.
    Sentence press({{"^"}, {"华联", first, seldom}, {"大学", suffix, seldom}, {"出版", noun, often},
                    {"集团", suffix, seldom}, {"$"}});
    Org(e, press, "AAAAAZ");
    ExpectOrg(e, press, 1, "华联大学出版集团", 3);
    Sentence far({{"^"}, {"华联", first, seldom}, {"大学", suffix, seldom}, {"出版", noun, often},
                  {"动物", noun, often}, {"电子", noun, often}, {"信息", noun, often}, {"集团", suffix, seldom},
                  {"$"}});
    Org(e, far, "AAAAAAAAZ");
    ExpectOrg(e, far, 1, "华联大学", 1);
    EXPECT_EQ(far[3].classText[0], '\0');
    // Numbers on the way count as body words (北京军区 ２５１ 医院).
    Sentence numbered({{"^"}, {"华联", first, seldom}, {"大学", suffix, seldom}, {"２５１"}, {"集团", suffix, seldom},
                       {"$"}});
    Org(e, numbered, "AAAAAZ");
    ExpectOrg(e, numbered, 1, "华联大学２５１集团", 3);

    // A one-character function word or an opening bracket opens nothing,
    // even with a body letter; inside a name it is taken.
    const std::vector<DictSRow> conj = {{0, 66, 6.0f, 1}, {0, 9, 2.0f, 1}};
    Sentence with({{"^"}, {"与", conj}, {"华联"}, {"集团", suffix, seldom}, {"$"}});
    Org(e, with, "ACAAZ");
    EXPECT_EQ(with[1].classText[0], '\0');
    ExpectOrg(e, with, 2, "华联集团", 1);
    Sentence bracket({{"^"}, {"（"}, {"华联"}, {"集团", suffix, seldom}, {"$"}});
    Org(e, bracket, "ACAAZ");
    EXPECT_EQ(bracket[1].classText[0], '\0');
    ExpectOrg(e, bracket, 2, "华联集团", 1);
    Sentence inner({{"^"}, {"华联", first, seldom}, {"与", conj}, {"集团", suffix, seldom}, {"$"}});
    Org(e, inner, "AAEAZ");
    ExpectOrg(e, inner, 1, "华联与集团", 2);
    // Next to a place or an organisation word it stands between two names.
    const std::vector<DictSRow> org = {{0, 31, 3.0f, 1}, {3, 2, 2.0f, 1}};
    Sentence between({{"^"}, {"电信", org, seldom}, {"与", conj}, {"华联"}, {"集团", suffix, seldom}, {"$"}});
    Org(e, between, "AAEAAZ");
    EXPECT_EQ(between[1].classText[0], '\0');
    EXPECT_EQ(between[2].classText[0], '\0');
    ExpectOrg(e, between, 3, "华联集团", 1);
    const std::vector<DictSRow> place = {{0, 29, 3.0f, 1}};
    Sentence before({{"^"}, {"华联", first, seldom}, {"与", conj}, {"中国", place, seldom}, {"集团", suffix, seldom},
                     {"$"}});
    Org(e, before, "AAEAAZ");
    EXPECT_EQ(before[1].classText[0], '\0');
    ExpectOrg(e, before, 3, "中国集团", 1);

    // A name begun by an unknown word starts again at a place met before
    // any suffix (投资方 日本 熊谷 集团), not after one (大和 银行 纽约 分行).
    Sentence investor({{"^"}, {"投资方"}, {"日本", place, seldom}, {"熊谷"}, {"集团", suffix, seldom}, {"$"}});
    Org(e, investor, "AAAAAZ");
    EXPECT_EQ(investor[1].classText[0], '\0');
    ExpectOrg(e, investor, 2, "日本熊谷集团", 2);
    Sentence branch({{"^"}, {"大和"}, {"银行", suffix, seldom}, {"纽约", place, seldom}, {"集团", suffix, seldom},
                     {"$"}});
    Org(e, branch, "AAAAAZ");
    ExpectOrg(e, branch, 1, "大和银行纽约集团", 3);

    // A person name begins a name only right before its suffix.
    Sentence person({{"^"}, {"宋庆龄"}, {"基金会", suffix, seldom}, {"$"}});
    std::strcpy(person[1].classText, vsg::kPersonClass);
    Org(e, person, "AAAZ");
    ExpectOrg(e, person, 1, "宋庆龄基金会", 1);
    // ... and only when the suffix ends names in at least 0.35 of its uses.
    const std::vector<DictSRow> half = {{0, 2, 3.0f, 1}, {3, 5, std::log(10.0f), 1}};
    const std::vector<DictSRow> third = {{0, 2, 3.0f, 1}, {3, 5, std::log(6.0f), 1}};
    Sentence strong({{"^"}, {"宋庆龄"}, {"基金会", half, seldom}, {"$"}});
    std::strcpy(strong[1].classText, vsg::kPersonClass);
    Org(e, strong, "AAAZ");
    ExpectOrg(e, strong, 1, "宋庆龄基金会", 1);
    Sentence government({{"^"}, {"李明"}, {"政府", third, seldom}, {"$"}});
    std::strcpy(government[1].classText, vsg::kPersonClass);
    Org(e, government, "AAAZ");
    EXPECT_EQ(government[1].state, 0);
    EXPECT_EQ(government[2].state, 0);
    Sentence city({{"^"}, {"华联", first, seldom}, {"政府", third, seldom}, {"$"}});
    Org(e, city, "AAAZ");
    ExpectOrg(e, city, 1, "华联政府", 1);
    Sentence talk({{"^"}, {"李明"}, {"动物", noun, often}, {"集团", suffix, seldom}, {"$"}});
    std::strcpy(talk[1].classText, vsg::kPersonClass);
    Org(e, talk, "AAAAZ");
    EXPECT_EQ(talk[2].classText[0], '\0');
    EXPECT_EQ(talk[3].state, 0);
}

TEST(OrgRecognize, QuantitiesOpenNothingAndPlacesJoinOrganisationWords) {
    Engine e;
    const float seldom = std::log(21.0f), often = std::log(1001.0f);
    const std::vector<DictSRow> suffix = {{0, 2, 3.0f, 1}, {3, 5, 2.0f, 1}};
    // A numeral, and a measure word after it, begin no name (第六 届 全国
    // 政协); the same words with other tags do.
    const std::vector<DictSRow> numeral = {{0, 6, 3.0f, 1}, {3, 2, 2.0f, 1}};
    const std::vector<DictSRow> measure = {{0, 7, 3.0f, 1}};
    const std::vector<DictSRow> noun = {{0, 2, 3.0f, 1}};
    const std::vector<DictSRow> nounFirst = {{0, 2, 3.0f, 1}, {3, 2, 2.0f, 1}};
    Sentence term({{"^"}, {"第六", numeral, seldom}, {"届", measure}, {"华联"}, {"集团", suffix, seldom}, {"$"}});
    Org(e, term, "AAEAAZ");
    EXPECT_EQ(term[1].classText[0], '\0');
    EXPECT_EQ(term[2].classText[0], '\0');
    ExpectOrg(e, term, 3, "华联集团", 1);
    Sentence nine({{"^"}, {"九", numeral}, {"届", measure}, {"华联"}, {"集团", suffix, seldom}, {"$"}});
    Org(e, nine, "AJEAAZ");
    ExpectOrg(e, nine, 3, "华联集团", 1);
    EXPECT_EQ(nine[1].state, 0);
    Sentence words({{"^"}, {"第六", nounFirst, seldom}, {"届", noun}, {"华联"}, {"集团", suffix, seldom}, {"$"}});
    Org(e, words, "AAEAAZ");
    ExpectOrg(e, words, 1, "第六届华联集团", 3);

    // A place that begins names, then a word used mostly as an organisation
    // name: one name, which goes on to a later suffix. A place that begins
    // no names, or an organisation word after a common noun, stays apart.
    const std::vector<DictSRow> opener = {{0, 29, 3.0f, 1}, {3, 2, 2.0f, 1}};
    const std::vector<DictSRow> placeOnly = {{0, 29, 3.0f, 1}};
    const std::vector<DictSRow> org = {{0, 31, 3.0f, 1}};
    Sentence state({{"^"}, {"中国", opener, seldom}, {"国务院", org, seldom}, {"说", kPlain}, {"$"}});
    Org(e, state, "AAAzZ");
    ExpectOrg(e, state, 1, "中国国务院", 1);
    Sentence centre({{"^"}, {"中国", opener, seldom}, {"国务院", org, seldom}, {"发展", noun, often},
                     {"集团", suffix, seldom}, {"$"}});
    Org(e, centre, "AAAAAZ");
    ExpectOrg(e, centre, 1, "中国国务院发展集团", 3);
    Sentence hall({{"^"}, {"中南海", placeOnly, seldom}, {"国务院", org, seldom}, {"说", kPlain}, {"$"}});
    Org(e, hall, "AAAzZ");
    EXPECT_TRUE(Untouched(hall));

    // A word that begins ten or more names, under the share, opens one only
    // right before a suffix word (人民 检察院, not 人民 动物 集团).
    const std::vector<DictSRow> people = {{0, 2, 6.0f, 1}, {3, 2, 2.4f, 1}};
    const std::vector<DictSRow> rare = {{0, 2, 6.0f, 1}, {3, 2, 2.3f, 1}};
    Sentence court({{"^"}, {"人民", people, often}, {"法院", suffix, seldom}, {"$"}});
    Org(e, court, "AAAZ");
    ExpectOrg(e, court, 1, "人民法院", 1);
    Sentence few({{"^"}, {"人民", rare, often}, {"法院", suffix, seldom}, {"$"}});
    Org(e, few, "AAAZ");
    EXPECT_TRUE(Untouched(few));
    Sentence apart({{"^"}, {"人民", people, often}, {"动物", noun, often}, {"法院", suffix, seldom}, {"$"}});
    Org(e, apart, "AAAAZ");
    EXPECT_TRUE(Untouched(apart));
    // A word that ends ten or more names at a share of 0.1 to 0.2 closes a
    // name of three or more words not opened by a place (国际 货币 基金
    // 组织), but not a shorter one, one opened by a place, nor with a smaller
    // suffix row or a share under 0.1.
    const float some = std::log(101.0f);
    const std::vector<DictSRow> body = {{0, 2, 5.0f, 1}, {3, 3, 1.0f, 1}};
    const std::vector<DictSRow> group = {{0, 2, 4.6f, 1}, {3, 5, std::log(15.0f), 1}};
    const std::vector<DictSRow> rarely = {{0, 2, 4.6f, 1}, {3, 5, std::log(11.0f), 1}};
    Sentence fund({{"^"}, {"华联", nounFirst, seldom}, {"货币", body, often}, {"组织", group, some}, {"$"}});
    Org(e, fund, "AAAAZ");
    ExpectOrg(e, fund, 1, "华联货币组织", 2);
    Sentence two({{"^"}, {"华联", nounFirst, seldom}, {"组织", group, some}, {"$"}});
    Org(e, two, "AAAZ");
    EXPECT_TRUE(Untouched(two));
    Sentence province({{"^"}, {"湖南", opener, seldom}, {"货币", body, often}, {"组织", group, some}, {"$"}});
    Org(e, province, "AAAAZ");
    EXPECT_TRUE(Untouched(province));
    Sentence under({{"^"}, {"华联", nounFirst, seldom}, {"货币", body, often}, {"组织", rarely, some}, {"$"}});
    Org(e, under, "AAAAZ");
    EXPECT_TRUE(Untouched(under));
    const float many = std::log(201.0f);
    Sentence frequent({{"^"}, {"华联", nounFirst, seldom}, {"货币", body, often}, {"组织", group, many}, {"$"}});
    Org(e, frequent, "AAAAZ");
    EXPECT_TRUE(Untouched(frequent));
    // A word that begins ten or more names, under the share, also opens one
    // before a body word and such a word (世界 卫生 组织), not before a word
    // that ends names in under a tenth of its uses.
    Sentence health({{"^"}, {"世界", people, often}, {"卫生", body, often}, {"组织", group, some}, {"$"}});
    Org(e, health, "AAAAZ");
    ExpectOrg(e, health, 1, "世界卫生组织", 2);
    Sentence loose({{"^"}, {"世界", people, often}, {"卫生", body, often}, {"组织", group, many}, {"$"}});
    Org(e, loose, "AAAAZ");
    EXPECT_TRUE(Untouched(loose));
}

TEST(OrgRecognize, TwoCommonWordsNeedAStrongEdge) {
    Engine e;
    // 人民 seen 100 times, beginning names in 8 of them (share 0.08: it
    // opens); 政协 ends names in 30 of 100 (0.3), 检察院 in 60 of 100.
    const float hundred = std::log(101.0f), seldom = std::log(21.0f);
    const std::vector<DictSRow> people = {{0, 2, 3.0f, 1}, {3, 2, std::log(8.0f), 1}};
    const std::vector<DictSRow> conference = {{0, 21, 3.0f, 1}, {3, 5, std::log(30.0f), 1}};
    const std::vector<DictSRow> procuracy = {{0, 2, 3.0f, 1}, {3, 5, std::log(60.0f), 1}};
    const std::vector<DictSRow> noun = {{0, 2, 3.0f, 1}};
    // The pair alone is a common phrase: no name (人民 政协 工作).
    Sentence pair({{"^"}, {"人民", people, hundred}, {"政协", conference, hundred}, {"工作", noun}, {"$"}});
    Org(e, pair, "AAAAZ");
    EXPECT_TRUE(Untouched(pair));
    // A suffix that ends names in most of its uses makes it one.
    Sentence court({{"^"}, {"人民", people, hundred}, {"检察院", procuracy, hundred}, {"$"}});
    Org(e, court, "AAAZ");
    ExpectOrg(e, court, 1, "人民检察院", 1);
    // So does a first word that begins names often, a place, or a third
    // word; and a word that opened the name only for its many names before
    // a suffix is left alone (人民 法院 in the test above).
    const std::vector<DictSRow> strong = {{0, 2, 3.0f, 1}, {3, 2, std::log(20.0f), 1}};
    Sentence opener({{"^"}, {"人民", strong, hundred}, {"政协", conference, hundred}, {"$"}});
    Org(e, opener, "AAAZ");
    ExpectOrg(e, opener, 1, "人民政协", 1);
    const std::vector<DictSRow> place = {{0, 29, 3.0f, 1}, {3, 2, 1.0f, 1}};
    Sentence city({{"^"}, {"福州", place, seldom}, {"政协", conference, hundred}, {"$"}});
    Org(e, city, "AAAZ");
    ExpectOrg(e, city, 1, "福州政协", 1);
    Sentence three({{"^"}, {"人民", people, hundred}, {"动物", noun}, {"政协", conference, hundred}, {"$"}});
    Org(e, three, "AAAAZ");
    ExpectOrg(e, three, 1, "人民动物政协", 2);
}

TEST(OrgRecognize, StrongOpenersCloseAtFrequentSuffixes) {
    Engine e;
    // 中央 seen 490 times, ending 25 names (share 0.05, row 3.2); 民革
    // begins names in 0.75 of its 7 uses, 全国 in 0.3 of 1000.
    const float centre = std::log(491.0f);
    const std::vector<DictSRow> central = {{0, 2, 3.0f, 1}, {3, 5, std::log(25.0f), 1}};
    const std::vector<DictSRow> fewNames = {{0, 2, 3.0f, 1}, {3, 5, std::log(9.0f), 1}};
    const std::vector<DictSRow> party = {{0, 21, 3.0f, 1}, {3, 2, std::log(6.0f), 1}};
    const std::vector<DictSRow> national = {{0, 2, 3.0f, 1}, {3, 2, std::log(300.0f), 1}};
    Sentence league({{"^"}, {"民革", party, std::log(8.0f)}, {"中央", central, centre}, {"主席"}, {"$"}});
    Org(e, league, "AAAAZ");
    ExpectOrg(e, league, 1, "民革中央", 1);
    // A weaker opener, or a suffix that ends fewer than ten names, gives none.
    Sentence whole({{"^"}, {"全国", national, std::log(1001.0f)}, {"中央", central, centre}, {"$"}});
    Org(e, whole, "AAAZ");
    EXPECT_TRUE(Untouched(whole));
    Sentence rare({{"^"}, {"民革", party, std::log(8.0f)}, {"中央", fewNames, centre}, {"$"}});
    Org(e, rare, "AAAZ");
    EXPECT_TRUE(Untouched(rare));
}

TEST(OrgRecognize, CountryAbbreviationsJoinOrganisationWords) {
    Engine e;
    const float seldom = std::log(21.0f);
    // A one-character abbreviation before a word the corpus also tags as an
    // organisation name is one name, whatever role the search gave it (俄
    // 外交部); a name goes on from there to a later suffix. Not after another
    // abbreviation (中 俄 外交部 lists two countries), and not before a
    // common word (俄 总统).
    const std::vector<DictSRow> abbreviation = {{0, 21, 3.0f, 1}, {0, 29, 1.0f, 1}};
    const std::vector<DictSRow> ministry = {{0, 2, 3.0f, 1}, {0, 31, 2.0f, 1}};
    const std::vector<DictSRow> noun = {{0, 2, 3.0f, 1}};
    const std::vector<DictSRow> suffix = {{0, 2, 3.0f, 1}, {3, 5, 2.0f, 1}};
    for (const std::string letter : {"C", "z", "1"}) {
        Sentence s({{"^"}, {"说", kPlain}, {"俄", abbreviation}, {"外交部", ministry, seldom}, {"认为", kPlain}, {"$"}});
        Org(e, s, "Az" + letter + "AzZ");
        ExpectOrg(e, s, 2, "俄外交部", 1);
    }
    Sentence archive({{"^"}, {"俄", abbreviation}, {"外交部", ministry, seldom}, {"档案", noun},
                      {"集团", suffix, seldom}, {"$"}});
    Org(e, archive, "A1AAAZ");
    ExpectOrg(e, archive, 1, "俄外交部档案集团", 3);
    Sentence two({{"^"}, {"中", abbreviation}, {"俄", abbreviation}, {"外交部", ministry, seldom}, {"$"}});
    Org(e, two, "Az1AZ");
    EXPECT_TRUE(Untouched(two));
    Sentence president({{"^"}, {"俄", abbreviation}, {"总统", noun, seldom}, {"$"}});
    Org(e, president, "A1AZ");
    EXPECT_TRUE(Untouched(president));
}

TEST(OrgRecognize, UnknownPlaceAndSuffixCharacterWords) {
    // 队 ends about three hundred names (ln 287 = 5.66), 站 three (ln 4).
    Engine e("", vsgtest::Gb("队 5.66\n站 1.39\n"));
    // An unknown word of a known place and 队 is a team by itself, whatever
    // its role; with 站, with an unknown stem, or as a known word it is not.
    Sentence team({{"^"}, {"说", kPlain}, {"挪威队"}, {"说", kPlain}, {"$"}});
    Org(e, team, "AzAzZ");
    ExpectOrg(e, team, 2, "挪威队", 0);
    Sentence station({{"^"}, {"说", kPlain}, {"挪威站"}, {"说", kPlain}, {"$"}});
    Org(e, station, "AzAzZ");
    EXPECT_TRUE(Untouched(station));
    Sentence stranger({{"^"}, {"说", kPlain}, {"瑞典队"}, {"说", kPlain}, {"$"}});
    Org(e, stranger, "AzAzZ");
    EXPECT_TRUE(Untouched(stranger));
    Sentence known({{"^"}, {"说", kPlain}, {"挪威队", kPlain}, {"说", kPlain}, {"$"}});
    Org(e, known, "AzAzZ");
    EXPECT_TRUE(Untouched(known));
}

}  // namespace

// Runs where no slot can be marked or close a name are passed over before
// the scan. Here the boundary words are known words, as in a loaded model
// set, and each run holds just one slot that can write: a T word, a
// one-character D suffix, a word whose organisation row is not its main
// one after an abbreviation, or one used mostly as an organisation name
// after a place.
TEST(OrgRecognize, RunsWithOneSlotThatCanWriteAreStillScanned) {
    Engine e;
    const float seldom = std::log(21.0f);
    Sentence t({{"^", kPlain}, {"说", kPlain}, {"党"}, {"$", kPlain}});
    Org(e, t, "AzTZ");
    ExpectOrg(e, t, 2, "党", 0);

    Sentence d({{"^", kPlain}, {"华联", kFirst}, {"电子", kInner}, {"厂", kSuffix}, {"说", kPlain}, {"$", kPlain}});
    Org(e, d, "AAADzZ");
    ExpectOrg(e, d, 1, "华联电子厂", 2);
    Sentence notD({{"^", kPlain}, {"华联", kFirst}, {"电子", kInner}, {"厂", kSuffix}, {"说", kPlain}, {"$", kPlain}});
    Org(e, notD, "AAAEzZ");
    EXPECT_TRUE(Untouched(notD));

    const std::vector<DictSRow> abbreviation = {{0, 21, 3.0f, 1}, {0, 29, 1.0f, 1}};
    const std::vector<DictSRow> ministry = {{0, 2, 3.0f, 1}, {0, 31, 2.0f, 1}};
    Sentence a({{"^", kPlain}, {"说", kPlain}, {"俄", abbreviation}, {"外交部", ministry, seldom}, {"认为", kPlain}, {"$", kPlain}});
    Org(e, a, "AzCAzZ");
    ExpectOrg(e, a, 2, "俄外交部", 1);

    const std::vector<DictSRow> opener = {{0, 29, 3.0f, 1}, {3, 2, 2.0f, 1}};
    const std::vector<DictSRow> org = {{0, 31, 3.0f, 1}};
    Sentence p({{"^", kPlain}, {"中国", opener, seldom}, {"国务院", org, seldom}, {"说", kPlain}, {"$", kPlain}});
    Org(e, p, "AAAzZ");
    ExpectOrg(e, p, 1, "中国国务院", 1);
}
