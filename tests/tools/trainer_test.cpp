// Tests of the trainer on a tiny corpus written by the test: parsing,
// unit building, counts, determinism and the agreement of the text and
// binary forms.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include "corpus.h"
#include "front/personwords.h"
#include "model/model_set.h"
#include "support/support.h"
#include "trainer.h"
#include "vsglex/model.h"

namespace {

using vsgtest::Gb;

const char *kCorpus[] = {
    ("19980101-01-001-001/m  江/nr  泽民/nr  在/p  北京市/ns  会见/v  了/u  [中央/n  人民/n  广播/vn  电台/n]nt  "
     "剧本/n  。/w  "),
    "19980101-01-001-002/m  克林顿/nr  访问/v  北京/ns  。/w  ",
    "19980102-01-001-001/m  王/nr  国栋/nr  说/v  ，/w  新华社/nt  发展/vn  很/d  快/a  。/w  ",
    "",
    "19980103-01-001-001/m  叹/Vg 曰/Vg  李/nr  鹏/nr  。/w",
};

std::vector<vsgtrain::Paragraph> Paragraphs() {
    std::vector<vsgtrain::Paragraph> out;
    for (const char *line : kCorpus) {
        vsgtrain::Paragraph p;
        if (vsgtrain::ParseParagraph(line, &p)) out.push_back(p);
    }
    return out;
}

const DictSEntry *Find(const DictionaryS &d, const char *utf8) {
    int32_t i = DictionaryS_GetCoreInfo(Gb(utf8).c_str(), &d);
    return i >= 0 ? &d.entries[i] : nullptr;
}

// Trains `ps` with `opt` into `dir` and loads the binary core dictionary
// into `d`.
::testing::AssertionResult TrainAndLoad(const std::vector<vsgtrain::Paragraph> &ps, const vsgtrain::TrainOptions &opt,
                                        const vsgtest::TempDir &dir, DictionaryS *d,
                                        vsgtrain::TrainSummary *summary = nullptr) {
    vsgtrain::TrainSummary s;
    std::string error;
    if (!vsgtrain::TrainModels(ps, dir.path(), opt, summary != nullptr ? summary : &s, &error))
        return ::testing::AssertionFailure() << "training failed: " << error;
    std::memset(d, 0, sizeof *d);
    if (DictionaryS_LoadBinary(dir.file("coredict.dct").c_str(), d) != 1)
        return ::testing::AssertionFailure() << "the binary core dictionary does not load";
    return ::testing::AssertionSuccess();
}

// Value of the row (code, subCode) of an entry, or NaN.
float RowValue(const DictSEntry *e, int code, int sub) {
    for (int32_t r = 0; e != nullptr && r < e->posCount; ++r)
        if (e->posList[r].code == code && e->posList[r].subCode == sub) return e->posList[r].value;
    return std::nanf("");
}

TEST(TrainerCorpus, ParsesTokensBracketsAndSeparators) {
    std::vector<vsgtrain::Paragraph> ps = Paragraphs();
    ASSERT_EQ(ps.size(), 4u);  // the blank line is no paragraph
    const vsgtrain::Paragraph &p = ps[0];
    EXPECT_EQ(p.date, 19980101);
    EXPECT_EQ(p.id, "19980101-01-001-001");
    ASSERT_EQ(p.tokens.size(), 12u);
    EXPECT_EQ(p.tokens[6].word, Gb("中央"));
    EXPECT_EQ(p.tokens[6].tag, "n");
    EXPECT_EQ(p.tokens[9].word, Gb("电台"));
    EXPECT_EQ(p.tokens[9].tag, "n");
    ASSERT_EQ(p.brackets.size(), 1u);
    EXPECT_EQ(p.brackets[0].first, 6);
    EXPECT_EQ(p.brackets[0].last, 9);
    EXPECT_EQ(p.brackets[0].label, "nt");
    EXPECT_EQ(p.tokens[5].bracket, -1);
    EXPECT_EQ(p.tokens[8].bracket, 0);
    EXPECT_EQ(p.tokens[10].bracket, -1);
    // Single-space separators and a line without trailing spaces.
    ASSERT_EQ(ps[3].tokens.size(), 5u);
    EXPECT_EQ(ps[3].tokens[1].word, Gb("曰"));
    EXPECT_EQ(ps[3].tokens[4].word, Gb("。"));
}

TEST(TrainerCorpus, UnitsJoinNamesAndCarryRoles) {
    std::vector<vsgtrain::Paragraph> ps = Paragraphs();
    std::vector<vsgtrain::Unit> u = vsgtrain::BuildUnits(ps[0]);
    ASSERT_EQ(u.size(), 11u);
    EXPECT_EQ(u[0].text, Gb("江泽民"));
    EXPECT_EQ(u[0].kind, vsgtrain::UnitKind::Person);
    EXPECT_EQ(u[0].tag, 24);
    EXPECT_EQ(u[0].roles, "CDE");
    EXPECT_EQ(u[2].kind, vsgtrain::UnitKind::Place);
    EXPECT_EQ(u[2].tag, 29);
    EXPECT_EQ(u[4].tag, 54);  // 了 as a particle
    EXPECT_EQ(u[5].bracketLabel, "nt");
    EXPECT_TRUE(u[5].bracketFirst);
    EXPECT_TRUE(u[8].bracketLast);
    EXPECT_FALSE(u[7].bracketLast);
    EXPECT_EQ(u[9].bracket, -1);
    std::vector<vsgtrain::Unit> v = vsgtrain::BuildUnits(ps[1]);
    EXPECT_EQ(v[0].tag, 27);
    EXPECT_EQ(v[0].roles, "LMN");
    std::vector<vsgtrain::Unit> w = vsgtrain::BuildUnits(ps[3]);
    EXPECT_EQ(w[2].text, Gb("李鹏"));
    EXPECT_EQ(w[2].roles, "CF");
    // Lone two-character name tokens: a surname with a title after it, a
    // given name alone.
    vsgtrain::Paragraph lone;
    ASSERT_TRUE(vsgtrain::ParseParagraph("19980104-01-001-001/m  侯老/nr  说/v  晓明/nr  。/w", &lone));
    std::vector<vsgtrain::Unit> l = vsgtrain::BuildUnits(lone);
    ASSERT_EQ(l.size(), 4u);
    EXPECT_EQ(l[0].roles, "CH");
    EXPECT_EQ(l[2].roles, "DE");
    // Japanese names: a listed two-character surname makes one whatever
    // the other characters (龙, 太 and 塚 are in no Japanese list), alone
    // or before a given-name token; other three-character tokens are
    // Chinese.
    vsgtrain::Paragraph jp;
    ASSERT_TRUE(vsgtrain::ParseParagraph(
        "19980104-01-001-002/m  桥本龙太郎/nr  、/w  小林实/nr  、/w  三塚/nr  博/nr  、/w  秦始皇/nr  。/w", &jp));
    std::vector<vsgtrain::Unit> j = vsgtrain::BuildUnits(jp);
    ASSERT_EQ(j.size(), 8u);
    EXPECT_EQ(j[0].tag, 28);
    EXPECT_EQ(j[0].roles, "OPPPQ");
    EXPECT_EQ(j[2].roles, "OPQ");
    EXPECT_EQ(j[4].text, Gb("三塚博"));
    EXPECT_EQ(j[4].roles, "OPQ");
    EXPECT_EQ(j[6].tag, 24);
    EXPECT_EQ(j[6].roles, "CDE");
    // Place roles: with and without a place suffix, and by length.
    EXPECT_EQ(vsgtrain::PlaceRoles(Gb("北京市")), "CFG");
    EXPECT_EQ(vsgtrain::PlaceRoles(Gb("内蒙古自治区")), "CDDEFG");
    EXPECT_EQ(vsgtrain::PlaceRoles(Gb("莫斯科")), "HKL");
    EXPECT_EQ(vsgtrain::PlaceRoles(Gb("乌兰巴托")), "HJKL");
    EXPECT_EQ(vsgtrain::PlaceRoles(Gb("京")), "S");
}

TEST(Trainer, SameCorpusSameBytesAndFormsAgree) {
    vsgtest::TempDir a, b;
    vsgtrain::TrainOptions opt;
    opt.text = true;
    vsgtrain::TrainSummary s1, s2;
    std::string error;
    ASSERT_TRUE(vsgtrain::TrainModels(Paragraphs(), a.path(), opt, &s1, &error)) << error;
    ASSERT_TRUE(vsgtrain::TrainModels(Paragraphs(), b.path(), opt, &s2, &error)) << error;
    for (const char *f : {"coredict.dct", "lexical.ctx", "nr.ctx", "ns.ctx", "nt.ctx", "zyrpos30.map", "nr.map",
                          "ns.map", "nt.map", "name_pre.dct", "loc_suffix.dct", "org_suffix.dct", "segment.mdl",
                          "person_words.txt"}) {
        std::string x = vsgtest::ReadFile(a.file(f));
        if (std::string(f) != "org_suffix.dct") {  // no suffix is frequent enough here
            EXPECT_FALSE(x.empty()) << f;
        }
        EXPECT_EQ(x, vsgtest::ReadFile(b.file(f))) << f;
        EXPECT_EQ(vsgtest::ReadFile(a.file(std::string("text/") + f)),
                  vsgtest::ReadFile(b.file(std::string("text/") + f)))
            << f;
    }
    // Both sets carry the same manifest, which every model file matches.
    for (const std::string &dir : {a.path(), a.path() + "/text"}) {
        const vsg::model::SetCheck check = vsg::model::CheckModelSet(dir);
        EXPECT_TRUE(check.ok() && check.hasManifest) << dir << ": " << check.Summary() << check.warning;
        EXPECT_EQ(check.verified, 14u) << dir;  // the twelve engine files, segment.mdl, person_words.txt
    }
    EXPECT_EQ(vsgtest::ReadFile(a.file("manifest.txt")), vsgtest::ReadFile(b.file("manifest.txt")));
    EXPECT_EQ(vsgtest::ReadFile(a.file("manifest.txt")).rfind("vsglex-manifest 1\nproducer vsglex-train ", 0), 0u);
    EXPECT_EQ(s1.paragraphs, 4);
    EXPECT_EQ(s1.persons[0], 3);
    EXPECT_EQ(s1.persons[1], 1);
    EXPECT_EQ(s1.orgs, 2);  // one compound, one token

    // The text form of the core dictionary loads to the same entries as the
    // binary form.
    DictionaryS bin, txt;
    std::memset(&bin, 0, sizeof bin);
    std::memset(&txt, 0, sizeof txt);
    ASSERT_EQ(DictionaryS_LoadBinary(a.file("coredict.dct").c_str(), &bin), 1);
    ASSERT_EQ(DictionaryS_Load(a.file("text/coredict.dct").c_str(), &txt), 1);
    ASSERT_EQ(bin.count, txt.count);
    for (int32_t i = 0; i < bin.count; ++i) {
        const DictSEntry &e = bin.entries[i];
        if (i > 0) {
            EXPECT_LE(bin.entries[i - 1].hash, e.hash);
        }
        int32_t j = DictionaryS_GetCoreInfo(e.word, &txt);
        ASSERT_GE(j, 0) << vsgtest::Utf8(e.word);
        const DictSEntry &t = txt.entries[j];
        ASSERT_EQ(e.posCount, t.posCount);
        for (int k = 0; k < 4; ++k) EXPECT_EQ(e.stats[k], t.stats[k]);
        for (int32_t r = 0; r < e.posCount; ++r) {
            EXPECT_EQ(e.posList[r].code, t.posList[r].code);
            EXPECT_EQ(e.posList[r].subCode, t.posList[r].subCode);
            EXPECT_EQ(e.posList[r].value, t.posList[r].value);
        }
    }
    // A corpus this small cannot reach the fixed unseen-word position; the
    // twin still exists, in hash order, with the unseen-word rows.
    const DictSEntry *other = Find(bin, "未##它");
    ASSERT_NE(other, nullptr);
    ASSERT_GE(s1.twinPosition, 0);
    const DictSEntry &twin = bin.entries[s1.twinPosition];
    EXPECT_EQ(std::string(twin.word), s1.twin);
    EXPECT_EQ(std::string(twin.word).rfind(Gb("未##它") + "\xff", 0), 0u);
    ASSERT_EQ(twin.posCount, other->posCount);
    for (int32_t r = 0; r < twin.posCount; ++r) EXPECT_EQ(twin.posList[r].subCode, other->posList[r].subCode);

    // Counts: part-of-speech rows are log counts, role rows log(count + 1),
    // the default role's count sits in stats.
    EXPECT_FLOAT_EQ(RowValue(Find(bin, "剧本"), 0, 2), 0.0f);           // n, seen once
    EXPECT_FLOAT_EQ(RowValue(Find(bin, "。"), 0, 78), std::log(4.0f));  // four full stops
    EXPECT_FLOAT_EQ(RowValue(Find(bin, "江泽民"), 0, 24), 0.0f);
    EXPECT_FLOAT_EQ(RowValue(Find(bin, "王"), 1, 2), std::log(2.0f));   // surname C
    EXPECT_FLOAT_EQ(RowValue(Find(bin, "泽"), 1, 3), std::log(2.0f));   // D
    EXPECT_FLOAT_EQ(RowValue(Find(bin, "民"), 1, 4), std::log(2.0f));   // E
    EXPECT_FLOAT_EQ(RowValue(Find(bin, "鹏"), 1, 5), std::log(2.0f));   // F
    EXPECT_FLOAT_EQ(RowValue(Find(bin, "在"), 1, 18), std::log(2.0f));  // right context S
    EXPECT_FLOAT_EQ(RowValue(Find(bin, "中央"), 3, 2), std::log(2.0f)); // first word of an organisation
    EXPECT_FLOAT_EQ(RowValue(Find(bin, "人民"), 3, 3), std::log(2.0f)); // inner word
    // The suffix word's row carries the larger added count.
    EXPECT_FLOAT_EQ(RowValue(Find(bin, "电台"), 3, 5), std::log(1.0f + static_cast<float>(opt.orgSuffixAdd)));
    const DictSEntry *kuai = Find(bin, "快");
    ASSERT_NE(kuai, nullptr);
    EXPECT_FLOAT_EQ(kuai->stats[1], std::log(2.0f));  // once in the default person role
    // Given-name and transliteration roles never seen get the floor (the
    // given-name one at least its minimum); seen ones keep their count;
    // the surname role gets no floor.
    const float floor = std::log(static_cast<float>(opt.personRoleFloor));
    const float givenFloor = std::log(static_cast<float>(std::max(opt.personRoleFloor, opt.personGivenFloorMin)));
    for (int role : {3, 4, 5}) EXPECT_FLOAT_EQ(RowValue(kuai, 1, role), givenFloor) << role;
    for (int role : {12, 13}) EXPECT_FLOAT_EQ(RowValue(kuai, 1, role), floor) << role;
    EXPECT_TRUE(std::isnan(RowValue(kuai, 1, 2)));
    EXPECT_FLOAT_EQ(RowValue(Find(bin, "泽"), 1, 4), givenFloor);
    EXPECT_TRUE(std::isnan(RowValue(Find(bin, "剧本"), 1, 3)));  // only one-character words
    EXPECT_TRUE(std::isnan(RowValue(Find(bin, "。"), 1, 4)));    // no punctuation
    EXPECT_TRUE(std::isnan(RowValue(Find(bin, "在"), 1, 4)));    // no function words

    ContextStat lex;
    std::memset(&lex, 0, sizeof lex);
    ASSERT_EQ(ContextStat_Load(a.file("text/lexical.ctx").c_str(), &lex), 1);
    EXPECT_EQ(lex.tagFrequency[0], 4);
    EXPECT_EQ(lex.tagFrequency[1], 4);
    // No word is seen often enough here for a class of its own.
    EXPECT_EQ(lex.tagFrequency[2], 4);   // n: 中央, 人民, 电台, 剧本
    EXPECT_EQ(lex.tagFrequency[15], 2);  // vn: 广播, 发展
    EXPECT_EQ(lex.tagFrequency[24], 3);  // Chinese person names, joined
    EXPECT_EQ(lex.contextMatrix[0][24], 2);
    EXPECT_EQ(lex.contextMatrix[78][1], 4);
    ContextStat_Free(&lex);
    DictionaryS_Free(&bin);
    DictionaryS_Free(&txt);
}

TEST(Trainer, LoneNameTokensTrainAsPlainCharacters) {
    // 晓明 stands alone but is also seen as a given name after a surname
    // (王晓明); 赵 stands alone; 侯老 is a surname with a title; 李鹏 a
    // full name.
    std::vector<vsgtrain::Paragraph> ps(1);
    ASSERT_TRUE(vsgtrain::ParseParagraph(
        "19980101-01-001-001/m  晓明/nr  对/p  赵/nr  说/v  ，/w  侯老/nr  和/c  李/nr  鹏/nr  。/w  王/nr  晓明/nr  。/w",
        &ps[0]));
    vsgtest::TempDir dir;
    vsgtrain::TrainOptions opt;
    opt.personLoneNames = 3;  // 晓明 alone stays plain characters
    DictionaryS d;
    ASSERT_TRUE(TrainAndLoad(ps, opt, dir, &d));
    // Lone tokens: their characters count only where they stand in a full
    // name, and their neighbours are no name context; the part-of-speech
    // rows still say name.
    EXPECT_FLOAT_EQ(RowValue(Find(d, "晓"), 1, 3), std::log(2.0f));
    EXPECT_FLOAT_EQ(RowValue(Find(d, "明"), 1, 4), std::log(2.0f));
    EXPECT_TRUE(std::isnan(RowValue(Find(d, "晓"), 1, 2)));
    // 赵 gets only the pseudo-count of a listed surname, nothing counted.
    EXPECT_FLOAT_EQ(RowValue(Find(d, "赵"), 1, 2), std::log(static_cast<float>(opt.surnameFloor)));
    EXPECT_FLOAT_EQ(Find(d, "赵")->stats[1], std::log(2.0f));
    EXPECT_TRUE(std::isnan(RowValue(Find(d, "对"), 1, 18)));
    EXPECT_FLOAT_EQ(RowValue(Find(d, "赵"), 0, 24), 0.0f);
    // The title token and the full name keep their roles and context.
    EXPECT_FLOAT_EQ(RowValue(Find(d, "侯"), 1, 2), std::log(2.0f));
    EXPECT_FLOAT_EQ(RowValue(Find(d, "老"), 1, 7), std::log(2.0f));
    EXPECT_FLOAT_EQ(RowValue(Find(d, "和"), 1, 19), std::log(2.0f));  // between two names
    EXPECT_FLOAT_EQ(RowValue(Find(d, "鹏"), 1, 5), std::log(2.0f));
    DictionaryS_Free(&d);
}

TEST(Trainer, LoneTwoCharacterFullNamesTrainAsSurnameAndGivenName) {
    // 科恩 (given-name-like) and 库克 (transliterated) stand alone and are
    // never the given name after a surname: cut, only C F can join them.
    // 泽民 follows 江 once; alone it trains as C F in mode 4 only.
    std::vector<vsgtrain::Paragraph> ps(1);
    ASSERT_TRUE(vsgtrain::ParseParagraph(
        "19980101-01-001-001/m  科恩/nr  说/v  ，/w  库克/nr  和/c  泽民/nr  同意/v  江/nr  泽民/nr  。/w", &ps[0]));
    std::vector<vsgtrain::Unit> units = vsgtrain::BuildUnits(ps[0]);
    EXPECT_EQ(units[3].roles, "LN");
    EXPECT_EQ(units[3].tag, 24);  // a two-character name is joined as a Chinese one
    for (int mode : {4, 3, 2, 0}) {
        vsgtest::TempDir dir;
        vsgtrain::TrainOptions opt;
        opt.personLoneNames = mode;
        DictionaryS d;
        ASSERT_TRUE(TrainAndLoad(ps, opt, dir, &d));
        const float once = std::log(2.0f);
        const bool ke = mode >= 2, ku = mode >= 3;
        EXPECT_EQ(RowValue(Find(d, "科"), 1, 2) == once, ke) << mode;  // C
        EXPECT_EQ(RowValue(Find(d, "恩"), 1, 5) == once, ke) << mode;  // F
        EXPECT_EQ(RowValue(Find(d, "说"), 1, 18) == once, ke) << mode;  // after a name
        EXPECT_EQ(RowValue(Find(d, "库"), 1, 2) == once, ku) << mode;
        EXPECT_EQ(RowValue(Find(d, "克"), 1, 5) == once, ku) << mode;
        EXPECT_EQ(RowValue(Find(d, "库"), 1, 11) == once, !ku) << mode;  // else L N
        // 泽民 is counted once as D E, from 江泽民, and alone as C F in
        // mode 4.
        EXPECT_FLOAT_EQ(RowValue(Find(d, "泽"), 1, 3), once) << mode;
        EXPECT_EQ(RowValue(Find(d, "泽"), 1, 2) == once, mode >= 4) << mode;
        EXPECT_EQ(RowValue(Find(d, "民"), 1, 5) == once, mode >= 4) << mode;
        DictionaryS_Free(&d);
    }
}

TEST(Trainer, PersonDataForCutPlacesAndUnseenCharacters) {
    // 杨宋镇 ends in a place suffix, 卢旺达 is a transliteration, 平遥 neither;
    // each option is checked on and off.
    std::vector<vsgtrain::Paragraph> ps(1);
    ASSERT_TRUE(vsgtrain::ParseParagraph(
        "19980101-01-001-001/m  杨宋镇/ns  和/c  卢旺达/ns  的/u  平遥/ns  。/w", &ps[0]));
    for (bool on : {true, false}) {
        vsgtest::TempDir dir;
        vsgtrain::TrainOptions opt;
        opt.personPlaceRoles = on;
        opt.unseenCharRows = on;
        DictionaryS d;
        ASSERT_TRUE(TrainAndLoad(ps, opt, dir, &d));
        // Roles 20 (U, inner) and 21 (V, last character) only when enabled:
        // counted where a cut place shows them, else the floor.
        const float counted = std::log(2.0f), floor = std::log(static_cast<float>(opt.personRoleFloor));
        auto expectRole = [&](const char *c, int role, bool seen) {
            float v = RowValue(Find(d, c), 1, role);
            if (!on) {
                EXPECT_TRUE(std::isnan(v)) << c << " role " << role;
            } else {
                EXPECT_FLOAT_EQ(v, seen ? counted : floor) << c << " role " << role;
            }
        };
        for (const char *inner : {"杨", "宋", "卢", "旺"}) {
            expectRole(inner, 20, true);
            expectRole(inner, 21, false);
        }
        for (const char *last : {"镇", "达"}) {
            expectRole(last, 21, true);
            expectRole(last, 20, false);
        }
        for (const char *plain : {"平", "遥"}) {
            expectRole(plain, 20, false);
            expectRole(plain, 21, false);
        }
        // A character the corpus never shows (瀛) gets the default person
        // role and the given-name floors, or no entry at all.
        const DictSEntry *rare = Find(d, "瀛");
        if (!on) {
            EXPECT_EQ(rare, nullptr);
        } else {
            ASSERT_NE(rare, nullptr);
            EXPECT_FLOAT_EQ(RowValue(rare, 1, 22), std::log(2.0f));
            EXPECT_FLOAT_EQ(RowValue(rare, 1, 4),
                            std::log(static_cast<float>(std::max(opt.personRoleFloor, opt.personGivenFloorMin))));
            EXPECT_FLOAT_EQ(RowValue(rare, 1, 21), floor);
            EXPECT_TRUE(std::isnan(RowValue(rare, 1, 2)));  // no surname row
            EXPECT_TRUE(std::isnan(RowValue(rare, 0, 2)));  // no part-of-speech rows
        }
        // The place data is the same either way: 镇 is the suffix G (6).
        EXPECT_FLOAT_EQ(RowValue(Find(d, "镇"), 2, 6), std::log(2.0f));
        ContextStat nr;
        std::memset(&nr, 0, sizeof nr);
        ASSERT_EQ(ContextStat_LoadBinary(dir.file("nr.ctx").c_str(), &nr), 1);
        EXPECT_EQ(nr.contextMatrix[20][21], on ? 2 : 0);  // 宋 -> 镇, 旺 -> 达
        ContextStat_Free(&nr);
        DictionaryS_Free(&d);
    }
}

TEST(Trainer, FrequentTransliteratedPlacesInThePersonData) {
    // 卢旺达 (transliterated) and 杨宋镇 (suffixed) occur twice each: above a
    // person cut limit of 1 both stay whole words, unless transliterated
    // places have a cut limit of their own.
    std::vector<vsgtrain::Paragraph> ps(2);
    for (auto &p : ps)
        ASSERT_TRUE(vsgtrain::ParseParagraph("19980101-01-001-001/m  卢旺达/ns  和/c  杨宋镇/ns  。/w", &p));
    struct Case {
        int foreignCut;
        bool cutsForeign, countsForeign;
    } cases[] = {{1, false, false}, {5, true, true}};
    for (const Case &k : cases) {
        vsgtest::TempDir dir;
        vsgtrain::TrainOptions opt;
        opt.personPlaceCutMax = 1;
        opt.personForeignPlaceCutMax = k.foreignCut;
        opt.personPlaceFloor = 0.02;
        DictionaryS d;
        ASSERT_TRUE(TrainAndLoad(ps, opt, dir, &d));
        const float counted = std::log(3.0f), floor = std::log(0.02f);
        for (const char *inner : {"卢", "旺"})
            EXPECT_FLOAT_EQ(RowValue(Find(d, inner), 1, 20), k.countsForeign ? counted : floor) << inner;
        EXPECT_FLOAT_EQ(RowValue(Find(d, "达"), 1, 21), k.countsForeign ? counted : floor);
        // The suffixed place keeps the common limit: its characters have
        // only the floor.
        EXPECT_FLOAT_EQ(RowValue(Find(d, "宋"), 1, 20), floor);
        // Only a cut place enters the role sequences (旺 -> 达 is U -> V).
        ContextStat nr;
        std::memset(&nr, 0, sizeof nr);
        ASSERT_EQ(ContextStat_LoadBinary(dir.file("nr.ctx").c_str(), &nr), 1);
        EXPECT_EQ(nr.contextMatrix[20][21], k.cutsForeign ? 2 : 0);
        ContextStat_Free(&nr);
        DictionaryS_Free(&d);
    }
}

TEST(Trainer, ExcludesLaterDaysAndDayRanges) {
    {
        vsgtest::TempDir dir;
        vsgtrain::TrainOptions opt;
        opt.excludeFrom = 19980102;
        vsgtrain::TrainSummary s;
        DictionaryS d;
        ASSERT_TRUE(TrainAndLoad(Paragraphs(), opt, dir, &d, &s));
        EXPECT_EQ(s.paragraphs, 2);
        EXPECT_NE(Find(d, "克林顿"), nullptr);
        EXPECT_EQ(Find(d, "新华社"), nullptr);
        DictionaryS_Free(&d);
    }
    // A held-out fold in the middle: day 2 goes, days 1 and 3 stay.
    {
        vsgtest::TempDir dir;
        vsgtrain::TrainOptions opt;
        opt.excludeDayFirst = 2;
        opt.excludeDayLast = 2;
        vsgtrain::TrainSummary s;
        DictionaryS d;
        ASSERT_TRUE(TrainAndLoad(Paragraphs(), opt, dir, &d, &s));
        EXPECT_EQ(s.paragraphs, 3);
        EXPECT_NE(Find(d, "克林顿"), nullptr);
        EXPECT_NE(Find(d, "曰"), nullptr);
        EXPECT_EQ(Find(d, "新华社"), nullptr);
        DictionaryS_Free(&d);
    }
}

}  // namespace

namespace {

TEST(Trainer, GivenNameFloorsGrowWithTheDefaultCount) {
    // 来 is seen five times outside names, 刚 once: their given-name floors
    // (D E F) keep the same ratio to their default counts; the
    // transliteration floors (M N) stay flat, and a share of 0 gives flat
    // given-name floors too. 也, an adverb seen five times, and 万, a
    // numeral seen five times, keep the flat floor while their classes are
    // listed, as they are by default (蒋也, 奥两国 are no names).
    std::vector<vsgtrain::Paragraph> ps(1);
    ASSERT_TRUE(vsgtrain::ParseParagraph(
        "19980101-01-001-001/m  来/v  来/v  刚/d  来/v  ，/w  来/v  来/v  也/d  也/d  也/d  也/d  也/d  。/w  "
        "万/m  ，/w  万/m  ，/w  万/m  ，/w  万/m  ，/w  万/m  。/w",
        &ps[0]));
    struct Case {
        double share;
        const char *flatTags;  // nullptr: the default list
        bool numeralFlat;
    };
    for (const Case &k : {Case{0.003, nullptr, true}, Case{0.0, "d,m", true}, Case{0.003, "d", false},
                          Case{0.003, "", false}}) {
        vsgtest::TempDir dir;
        vsgtrain::TrainOptions opt;
        opt.personFloorShare = k.share;
        if (k.flatTags != nullptr) opt.personFlatFloorTags = k.flatTags;
        const std::string tags = opt.personFlatFloorTags;
        opt.foreignInnerFloor = 0.0;  // 来 is also a listed transliteration character
        opt.personGivenFloorMin = 0.0;  // measured below
        DictionaryS d;
        ASSERT_TRUE(TrainAndLoad(ps, opt, dir, &d));
        const DictSEntry *lai = Find(d, "来");
        const DictSEntry *gang = Find(d, "刚");
        const DictSEntry *ye = Find(d, "也");
        ASSERT_NE(lai, nullptr);
        ASSERT_NE(gang, nullptr);
        ASSERT_NE(ye, nullptr);
        const DictSEntry *wan = Find(d, "万");
        ASSERT_NE(wan, nullptr);
        EXPECT_FLOAT_EQ(lai->stats[1], std::log(6.0f));  // five times in the default role
        const float flat = std::log(static_cast<float>(opt.personRoleFloor));
        const float grown = k.share > 0 ? std::log(static_cast<float>(k.share * 5)) : flat;
        for (int role : {3, 4, 5}) {
            EXPECT_FLOAT_EQ(RowValue(lai, 1, role), grown) << role;
            EXPECT_FLOAT_EQ(RowValue(gang, 1, role), flat) << role;
            EXPECT_FLOAT_EQ(RowValue(ye, 1, role), !tags.empty() ? flat : grown) << role << tags;
            EXPECT_FLOAT_EQ(RowValue(wan, 1, role), k.numeralFlat ? flat : grown) << role << tags;
        }
        for (int role : {12, 13}) EXPECT_FLOAT_EQ(RowValue(lai, 1, role), flat) << role;
        DictionaryS_Free(&d);
    }
}

TEST(Trainer, RareCharactersGetTheGivenNameFloorMinimum) {
    // A character seen once or a few times outside names is far more often
    // a given name in new text than a common one: with a minimum its
    // given-name floor (D E F) is at least that, above both the flat floor
    // and the grown one of a character seen five times (来). A character
    // seen forty times keeps its grown floor, an adverb (也) the flat one.
    std::vector<vsgtrain::Paragraph> ps(1);
    std::string text = "19980101-01-001-001/m  刚/v  ，/w  来/v  来/v  来/v  来/v  来/v  也/d  也/d  。/w";
    for (int k = 0; k < 40; ++k) text += "  去/v  ，/w";
    ASSERT_TRUE(vsgtrain::ParseParagraph(text, &ps[0]));
    for (double min : {0.06, 0.0}) {
        vsgtest::TempDir dir;
        vsgtrain::TrainOptions opt;
        opt.personGivenFloorMin = min;
        opt.foreignInnerFloor = 0.0;
        DictionaryS d;
        ASSERT_TRUE(TrainAndLoad(ps, opt, dir, &d));
        const DictSEntry *gang = Find(d, "刚");
        const DictSEntry *lai = Find(d, "来");
        const DictSEntry *qu = Find(d, "去");
        const DictSEntry *ye = Find(d, "也");
        ASSERT_TRUE(gang != nullptr && lai != nullptr && qu != nullptr && ye != nullptr);
        const double flat = opt.personRoleFloor;
        for (int role : {3, 4, 5}) {
            EXPECT_FLOAT_EQ(RowValue(gang, 1, role), std::log(static_cast<float>(std::max(flat, min)))) << role;
            EXPECT_FLOAT_EQ(RowValue(lai, 1, role),
                            std::log(static_cast<float>(std::max(opt.personFloorShare * 5, min))))
                << role;
            EXPECT_FLOAT_EQ(RowValue(qu, 1, role), std::log(static_cast<float>(opt.personFloorShare * 40))) << role;
            EXPECT_FLOAT_EQ(RowValue(ye, 1, role), std::log(static_cast<float>(flat))) << role;
        }
        DictionaryS_Free(&d);
    }
}

}  // namespace

namespace {

TEST(Trainer, ListedSurnamesNeverSeenAsSurnamesGetASmallCount) {
    // 臧 occurs only as a plain word and 粟 not at all: both are listed
    // surnames and get the surname pseudo-count; 李 keeps its counted
    // surname row; 来 is no surname and gets none.
    std::vector<vsgtrain::Paragraph> ps(1);
    ASSERT_TRUE(vsgtrain::ParseParagraph(
        "19980101-01-001-001/m  李/nr  鹏/nr  来/v  臧/n  。/w", &ps[0]));
    for (double floor : {0.03, 0.0}) {
        vsgtest::TempDir dir;
        vsgtrain::TrainOptions opt;
        opt.surnameFloor = floor;
        DictionaryS d;
        ASSERT_TRUE(TrainAndLoad(ps, opt, dir, &d));
        for (const char *rare : {"臧", "粟"}) {
            const float v = RowValue(Find(d, rare), 1, 2);
            if (floor > 0) EXPECT_FLOAT_EQ(v, std::log(static_cast<float>(floor))) << rare;
            else EXPECT_TRUE(std::isnan(v)) << rare;
        }
        EXPECT_FLOAT_EQ(RowValue(Find(d, "李"), 1, 2), std::log(2.0f));
        EXPECT_TRUE(std::isnan(RowValue(Find(d, "来"), 1, 2)));
        DictionaryS_Free(&d);
    }
}

}  // namespace

namespace {

TEST(Trainer, ListedTransliterationCharactersMayBeginAForeignName) {
    // 克 begins 克林顿 (counted); 斯 is a listed transliteration character
    // never seen first and gets the pseudo-count of role L (11); 鹏 is not
    // listed and gets none. 斯 and 克, never inner
    // or last, get the larger floor of M (12) and N (13); 鹏 the general
    // one.
    std::vector<vsgtrain::Paragraph> ps(1);
    ASSERT_TRUE(vsgtrain::ParseParagraph(
        "19980101-01-001-001/m  克林顿/nr  说/v  斯/n  鹏/n  。/w", &ps[0]));
    for (double floor : {0.03, 0.0}) {
        vsgtest::TempDir dir;
        vsgtrain::TrainOptions opt;
        opt.foreignFirstFloor = floor;
        opt.foreignInnerFloor = floor;
        DictionaryS d;
        ASSERT_TRUE(TrainAndLoad(ps, opt, dir, &d));
        EXPECT_FLOAT_EQ(RowValue(Find(d, "克"), 1, 11), std::log(2.0f));
        const float inner = std::log(static_cast<float>(std::max(floor, opt.personRoleFloor)));
        for (int role : {12, 13}) {
            EXPECT_FLOAT_EQ(RowValue(Find(d, "斯"), 1, role), inner) << role;
            EXPECT_FLOAT_EQ(RowValue(Find(d, "克"), 1, role), inner) << role;
            EXPECT_FLOAT_EQ(RowValue(Find(d, "鹏"), 1, role), std::log(static_cast<float>(opt.personRoleFloor)))
                << role;
        }
        const float si = RowValue(Find(d, "斯"), 1, 11);
        if (floor > 0) EXPECT_FLOAT_EQ(si, std::log(static_cast<float>(opt.foreignFirstFloor)));
        else EXPECT_TRUE(std::isnan(si));
        EXPECT_TRUE(std::isnan(RowValue(Find(d, "鹏"), 1, 11)));
        DictionaryS_Free(&d);
    }
}

}  // namespace

namespace {

TEST(Trainer, PlaceStemFloorsBeforeASuffix) {
    // 杨宋镇 is cut (C F G): 杨 keeps its counted C; 玉 and 环 are plain
    // words and get floors of the stem roles C D E F (2-5) but none of the
    // unsuffixed roles (H 7, L 11); 在 is a function word and gets none.
    std::vector<vsgtrain::Paragraph> ps(1);
    ASSERT_TRUE(vsgtrain::ParseParagraph(
        "19980101-01-001-001/m  玉/n  环/v  在/p  杨宋镇/ns  。/w", &ps[0]));
    for (double floor : {0.003, 0.0}) {
        vsgtest::TempDir dir;
        vsgtrain::TrainOptions opt;
        opt.placeRoleFloor = floor;
        DictionaryS d;
        ASSERT_TRUE(TrainAndLoad(ps, opt, dir, &d));
        EXPECT_FLOAT_EQ(RowValue(Find(d, "杨"), 2, 2), std::log(2.0f));
        for (const char *stem : {"玉", "环"}) {
            for (int role : {2, 3, 4, 5}) {
                const float v = RowValue(Find(d, stem), 2, role);
                if (floor > 0) EXPECT_FLOAT_EQ(v, std::log(static_cast<float>(floor))) << stem << role;
                else EXPECT_TRUE(std::isnan(v)) << stem << role;
            }
            EXPECT_TRUE(std::isnan(RowValue(Find(d, stem), 2, 7)));
            EXPECT_TRUE(std::isnan(RowValue(Find(d, stem), 2, 11)));
        }
        EXPECT_TRUE(std::isnan(RowValue(Find(d, "在"), 2, 2)));
        DictionaryS_Free(&d);
    }
}

TEST(Trainer, RareTwoCharacterPlacesStayWholeInThePlaceData) {
    // 车臣 and 杨宋镇 are rare places. By default only 杨宋镇 is cut (C F
    // G); 车臣 stays one word, so 车 and 臣 get no place rows H (7) and L
    // (11), and 打 after it is the neighbour of a whole place (Q, 16), not
    // of a cut one (N, 13). With placeCutShort both are cut.
    std::vector<vsgtrain::Paragraph> ps(1);
    ASSERT_TRUE(vsgtrain::ParseParagraph(
        "19980101-01-001-001/m  在/p  车臣/ns  打/v  仗/n  ，/w  杨宋镇/ns  好/a  。/w", &ps[0]));
    for (bool cutShort : {false, true}) {
        vsgtest::TempDir dir;
        vsgtrain::TrainOptions opt;
        opt.placeCutShort = cutShort;
        DictionaryS d;
        ASSERT_TRUE(TrainAndLoad(ps, opt, dir, &d));
        EXPECT_FLOAT_EQ(RowValue(Find(d, "杨"), 2, 2), std::log(2.0f)) << cutShort;
        EXPECT_EQ(std::isnan(RowValue(Find(d, "车"), 2, 7)), !cutShort);
        EXPECT_EQ(std::isnan(RowValue(Find(d, "臣"), 2, 11)), !cutShort);
        EXPECT_EQ(std::isnan(RowValue(Find(d, "打"), 2, 13)), !cutShort);
        EXPECT_EQ(std::isnan(RowValue(Find(d, "打"), 2, 16)), cutShort);
        DictionaryS_Free(&d);
    }
}

TEST(Trainer, WordsRarelyTaggedAsPlacesGetNoPlaceClass) {
    // 珠江 is a place in 2 of its 10 occurrences and mostly nz: with a share
    // of 0.3 its place row is written at count 1 (value 0, no place class).
    // 长江 (3 of 4) keeps its count, and so does 内塔尼亚胡 (2 of 10), whose
    // most frequent tag is a person name.
    std::vector<vsgtrain::Paragraph> ps;
    auto add = [&](const std::string &line) {
        vsgtrain::Paragraph p;
        ASSERT_TRUE(vsgtrain::ParseParagraph("19980101-01-001-001/m  " + line + "  。/w", &p));
        ps.push_back(p);
    };
    for (int i = 0; i < 2; ++i) add("珠江/ns  内塔尼亚胡/ns");
    for (int i = 0; i < 8; ++i) add("珠江/nz  内塔尼亚胡/nr");
    for (int i = 0; i < 3; ++i) add("长江/ns");
    add("长江/nz");
    for (double share : {0.3, 0.0}) {
        vsgtest::TempDir dir;
        vsgtrain::TrainOptions opt;
        opt.placeClassShare = share;
        DictionaryS d;
        ASSERT_TRUE(TrainAndLoad(ps, opt, dir, &d));
        EXPECT_FLOAT_EQ(RowValue(Find(d, "珠江"), 0, vsgtrain::kPosPlace), share > 0 ? 0.0f : std::log(2.0f));
        EXPECT_FLOAT_EQ(RowValue(Find(d, "内塔尼亚胡"), 0, vsgtrain::kPosForeignPlace), std::log(2.0f));
        EXPECT_FLOAT_EQ(RowValue(Find(d, "长江"), 0, vsgtrain::kPosPlace), std::log(3.0f));
        DictionaryS_Free(&d);
    }
}

TEST(Trainer, ListedTransliterationCharactersMayStandInAForeignPlace) {
    // 巴基斯坦 is cut (H J K L): 斯 keeps its counted K (10) and, a listed
    // transliteration character, gets by default the floor of the other
    // unsuffixed roles H I J L (7-9, 11); 鹏 is not listed and gets none,
    // and with the floor at 0 neither does 斯.
    std::vector<vsgtrain::Paragraph> ps(1);
    ASSERT_TRUE(vsgtrain::ParseParagraph(
        "19980101-01-001-001/m  巴基斯坦/ns  说/v  斯/n  鹏/n  。/w", &ps[0]));
    for (double floor : {vsgtrain::TrainOptions().placeForeignFloor, 0.0}) {
        vsgtest::TempDir dir;
        vsgtrain::TrainOptions opt;
        opt.placeForeignFloor = floor;
        DictionaryS d;
        ASSERT_TRUE(TrainAndLoad(ps, opt, dir, &d));
        EXPECT_FLOAT_EQ(RowValue(Find(d, "斯"), 2, 10), std::log(2.0f));
        for (int role : {7, 8, 9, 11}) {
            const float v = RowValue(Find(d, "斯"), 2, role);
            if (floor > 0) EXPECT_FLOAT_EQ(v, std::log(static_cast<float>(floor))) << role;
            else EXPECT_TRUE(std::isnan(v)) << role;
            EXPECT_TRUE(std::isnan(RowValue(Find(d, "鹏"), 2, role))) << role;
        }
        DictionaryS_Free(&d);
    }
}

TEST(Trainer, OrganisationSuffixRowsLeaveWordsThatEndPlaces) {
    // 举重队 ends one organisation name: with the default added count it
    // already passes the recogniser's suffix threshold (1.1). 开发区 ends an
    // organisation name and a bracketed place, and keeps ln(count + 1)
    // unless the exception is turned off.
    std::vector<vsgtrain::Paragraph> ps(1);
    ASSERT_TRUE(vsgtrain::ParseParagraph("19980101-01-001-001/m  [天津/ns  开发区/n]nt  和/c  [浦东/ns  开发区/n]ns  "
                                         "，/w  [国家/n  举重队/n]nt  。/w",
                                         &ps[0]));
    for (bool placeEnd : {true, false}) {
        vsgtest::TempDir dir;
        vsgtrain::TrainOptions opt;
        opt.orgSuffixPlaceEnd = placeEnd;
        DictionaryS d;
        ASSERT_TRUE(TrainAndLoad(ps, opt, dir, &d));
        const float boosted = std::log(1.0f + static_cast<float>(opt.orgSuffixAdd));
        EXPECT_FLOAT_EQ(RowValue(Find(d, "举重队"), 3, 5), boosted);
        EXPECT_GE(RowValue(Find(d, "举重队"), 3, 5), 1.1f);
        EXPECT_FLOAT_EQ(RowValue(Find(d, "开发区"), 3, 5), placeEnd ? std::log(2.0f) : boosted) << placeEnd;
        EXPECT_FLOAT_EQ(RowValue(Find(d, "国家"), 3, 2), std::log(2.0f));  // first words keep count + 1
        DictionaryS_Free(&d);
    }
}

TEST(Trainer, CharactersThatEndManyOrganisationWordsGetASuffixRow) {
    // 厂 ends five different organisation words and no other word: alone it
    // gets the suffix row (role 5) that unknown words ending in it are read
    // by. 部 ends five as well, but also six common words (内部, 干部 ...).
    std::vector<vsgtrain::Paragraph> ps(2);
    ASSERT_TRUE(vsgtrain::ParseParagraph(
        "19980101-01-001-001/m  [天津/ns  纺织厂/n]nt  [北京/ns  酒厂/n]nt  [上海/ns  电厂/n]nt  [河北/ns  药厂/n]nt  "
        "[武汉/ns  钢厂/n]nt  厂/n  里/f  。/w",
        &ps[0]));
    ASSERT_TRUE(vsgtrain::ParseParagraph(
        "19980101-01-001-002/m  [天津/ns  外交部/n]nt  [北京/ns  工业部/n]nt  [上海/ns  文化部/n]nt  "
        "[河北/ns  商业部/n]nt  [武汉/ns  农业部/n]nt  内部/f  全部/m  干部/n  俱乐部/n  外部/f  局部/n  部/n  。/w",
        &ps[1]));
    for (double count : {3.05, 0.0}) {
        vsgtest::TempDir dir;
        vsgtrain::TrainOptions opt;
        opt.orgCharSuffixCount = count;
        DictionaryS d;
        ASSERT_TRUE(TrainAndLoad(ps, opt, dir, &d));
        const float v = RowValue(Find(d, "厂"), 3, 5);
        if (count > 0) {
            EXPECT_FLOAT_EQ(v, std::log(static_cast<float>(count)));
            EXPECT_GE(v, 1.1f);
        } else {
            EXPECT_TRUE(std::isnan(v));
        }
        EXPECT_TRUE(std::isnan(RowValue(Find(d, "部"), 3, 5))) << count;
        EXPECT_TRUE(std::isnan(RowValue(Find(d, "里"), 3, 5))) << count;
        DictionaryS_Free(&d);
    }
}

TEST(Trainer, RareNounsEndingInAnOrganisationCharacterAreSuffixes) {
    // 厂 ends five different organisation words of the eight words ending
    // in it. A noun ending in it seen at most twice outside a name (糖厂)
    // gets the suffix row an unknown word would get by 厂; a frequent one
    // (工厂, three times) and a pronoun (该厂) do not, nor does any word when
    // the rule is off or asks for a larger share of organisation words.
    std::vector<vsgtrain::Paragraph> ps(1);
    ASSERT_TRUE(vsgtrain::ParseParagraph(
        "19980101-01-001-001/m  [天津/ns  纺织厂/n]nt  [北京/ns  酒厂/n]nt  [上海/ns  电厂/n]nt  [河北/ns  药厂/n]nt  "
        "[武汉/ns  钢厂/n]nt  糖厂/n  工厂/n  工厂/n  工厂/n  该厂/r  。/w",
        &ps[0]));
    // The default (seen at most four times) takes 工厂 as well.
    struct Case {
        int upTo;
        double share;
        bool rows, frequentRows;
    } cases[] = {{vsgtrain::TrainOptions().orgRareSuffixUpTo, 0.6, true, true},
                 {2, 0.6, true, false},
                 {0, 0.6, false, false},
                 {2, 0.7, false, false}};
    for (const Case &c : cases) {
        vsgtest::TempDir dir;
        vsgtrain::TrainOptions opt;
        opt.orgRareSuffixUpTo = c.upTo;
        opt.orgRareSuffixShare = c.share;
        DictionaryS d;
        ASSERT_TRUE(TrainAndLoad(ps, opt, dir, &d));
        const float v = RowValue(Find(d, "糖厂"), 3, 5);
        if (c.rows) {
            EXPECT_FLOAT_EQ(v, std::log(static_cast<float>(opt.orgCharSuffixCount)));
            EXPECT_GE(v, 1.1f);
        } else {
            EXPECT_TRUE(std::isnan(v)) << c.upTo << " " << c.share;
        }
        if (c.frequentRows)
            EXPECT_FLOAT_EQ(RowValue(Find(d, "工厂"), 3, 5), std::log(static_cast<float>(opt.orgCharSuffixCount)));
        else
            EXPECT_TRUE(std::isnan(RowValue(Find(d, "工厂"), 3, 5))) << c.upTo;
        EXPECT_TRUE(std::isnan(RowValue(Find(d, "该厂"), 3, 5))) << c.upTo;
        // A word that ended a name keeps its counted row.
        EXPECT_FLOAT_EQ(RowValue(Find(d, "酒厂"), 3, 5), std::log(1.0f + static_cast<float>(opt.orgSuffixAdd)));
        DictionaryS_Free(&d);
    }
}

TEST(Trainer, OneCharacterWordsMayStandInsideOrganisationNames) {
    // 隆 is a plain word: it gets floors of the first and inner organisation
    // roles (C 2, E 3) but not of the suffix (D 5); 厂 keeps its counted D
    // and gets the floors beside it; 在 is a function word and gets none.
    std::vector<vsgtrain::Paragraph> ps(1);
    ASSERT_TRUE(vsgtrain::ParseParagraph(
        "19980101-01-001-001/m  隆/n  在/p  [天津/ns  纺织/vn  厂/n]nt  。/w", &ps[0]));
    for (double floor : {0.01, 0.0}) {
        vsgtest::TempDir dir;
        vsgtrain::TrainOptions opt;
        opt.orgRoleFloor = floor;
        DictionaryS d;
        ASSERT_TRUE(TrainAndLoad(ps, opt, dir, &d));
        for (const char *ch : {"隆", "厂"}) {
            for (int role : {2, 3}) {
                const float v = RowValue(Find(d, ch), 3, role);
                if (floor > 0) EXPECT_FLOAT_EQ(v, std::log(static_cast<float>(floor))) << ch << role;
                else EXPECT_TRUE(std::isnan(v)) << ch << role;
            }
        }
        EXPECT_TRUE(std::isnan(RowValue(Find(d, "隆"), 3, 5)));
        EXPECT_FLOAT_EQ(RowValue(Find(d, "厂"), 3, 5), std::log(2.0f));
        EXPECT_TRUE(std::isnan(RowValue(Find(d, "在"), 3, 2)));
        DictionaryS_Free(&d);
    }
}

TEST(Trainer, CharactersNeverSeenNextToANameGetContextFloors) {
    // 说 follows a name (S, role 18) and keeps its count; 快 is never next to
    // one and gets the floors of R, S and T (17-19); 在 is a function word
    // and gets none.
    std::vector<vsgtrain::Paragraph> ps(1);
    ASSERT_TRUE(vsgtrain::ParseParagraph("19980101-01-001-001/m  王/nr  国栋/nr  说/v  在/p  很/d  快/a  。/w", &ps[0]));
    for (double floor : {0.0003, 0.0}) {
        vsgtest::TempDir dir;
        vsgtrain::TrainOptions opt;
        opt.personContextFloor = floor;
        DictionaryS d;
        ASSERT_TRUE(TrainAndLoad(ps, opt, dir, &d));
        EXPECT_FLOAT_EQ(RowValue(Find(d, "说"), 1, 18), std::log(2.0f));
        for (int role : {17, 18, 19}) {
            const float v = RowValue(Find(d, "快"), 1, role);
            if (floor > 0) EXPECT_FLOAT_EQ(v, std::log(static_cast<float>(floor))) << role;
            else EXPECT_TRUE(std::isnan(v)) << role;
            EXPECT_TRUE(std::isnan(RowValue(Find(d, "在"), 1, role))) << role;
        }
        DictionaryS_Free(&d);
    }
}

TEST(Trainer, PlaceSuffixesComeFromChinesePlacesOnly) {
    // Ten different Chinese places end in 坪 and ten transliterated ones in
    // 斯: 坪 joins the place suffixes, 斯 does not.
    std::string line = "19980101-01-001-001/m";
    for (const char *p : {"黄泥坪", "柳树坪", "杏花坪", "桃花坪", "红土坪", "松林坪", "竹园坪", "枣树坪", "梨花坪", "杨柳坪",
                          "阿拉斯", "巴拉斯", "卡拉斯", "马拉斯", "帕拉斯", "萨拉斯", "塔拉斯", "达拉斯", "法拉斯", "哈拉斯"})
        line += std::string("  ") + p + "/ns  、/w";
    std::vector<vsgtrain::Paragraph> ps(1);
    ASSERT_TRUE(vsgtrain::ParseParagraph(line, &ps[0]));
    vsgtest::TempDir dir;
    vsgtrain::TrainOptions opt;
    DictionaryS d;
    ASSERT_TRUE(TrainAndLoad(ps, opt, dir, &d));
    DictionaryS_Free(&d);
    const std::string suffixes = "\n" + vsgtest::ReadFile(dir.file("loc_suffix.dct"));
    EXPECT_NE(suffixes.find("\n" + Gb("坪") + " 1\n"), std::string::npos);
    EXPECT_EQ(suffixes.find("\n" + Gb("斯") + " "), std::string::npos);
    EXPECT_NE(suffixes.find("\n" + Gb("县") + " 1\n"), std::string::npos);  // the fixed list stays
}

TEST(Trainer, WordsThatClosePlacesGetTheirCompoundCounts) {
    // 地区 closes two bracketed places and follows a place once outside one;
    // 会议 follows a place but never closes one, and 山区 closes a compound
    // whose head is no place: neither gets the rows. Words never after a
    // place get none either, and the rows never go to one-character words.
    std::vector<vsgtrain::Paragraph> ps(1);
    ASSERT_TRUE(vsgtrain::ParseParagraph(
        "19980101-01-001-001/m  [中亚/ns  地区/n]ns  和/c  [吕梁/ns  地区/n]ns  、/w  北京/ns  地区/n  的/u  "
        "上海/ns  会议/n  [沂蒙/j  山区/n]ns  [开曼/ns  群/n]ns  。/w",
        &ps[0]));
    vsgtest::TempDir dir;
    DictionaryS d;
    ASSERT_TRUE(TrainAndLoad(ps, vsgtrain::TrainOptions(), dir, &d));
    EXPECT_FLOAT_EQ(RowValue(Find(d, "地区"), 2, 6), std::log(3.0f));
    EXPECT_FLOAT_EQ(RowValue(Find(d, "地区"), 2, 0), std::log(2.0f));
    for (const char *w : {"会议", "山区", "中亚", "群"}) {
        EXPECT_TRUE(std::isnan(RowValue(Find(d, w), 2, 6))) << w;
        EXPECT_TRUE(std::isnan(RowValue(Find(d, w), 2, 0))) << w;
    }
    DictionaryS_Free(&d);
}

TEST(Trainer, PersonWordsWrittenAsOneTokenAreListedWithTheirCutCount) {
    // 安南 and 侯老 are single person tokens; 江 泽民 is two tokens and is
    // not listed; 钟行 is one token once and 钟 行 twice, so it is listed
    // but not kept whole; a lone surname (王) is too short to be listed.
    std::vector<vsgtrain::Paragraph> ps(2);
    ASSERT_TRUE(vsgtrain::ParseParagraph(
        "19980101-01-001-001/m  安南/nr  会见/v  江/nr  泽民/nr  和/c  侯老/nr  ，/w  安南/nr  说/v  。/w", &ps[0]));
    ASSERT_TRUE(vsgtrain::ParseParagraph(
        "19980102-01-001-001/m  钟行/nr  和/c  钟/nr  行/nr  、/w  钟/nr  行/nr  见/v  王/nr  。/w", &ps[1]));
    vsgtest::TempDir dir;
    DictionaryS d;
    ASSERT_TRUE(TrainAndLoad(ps, vsgtrain::TrainOptions(), dir, &d));
    DictionaryS_Free(&d);
    const std::string list = vsgtest::ReadFile(dir.file(vsg::front::kPersonWordsFile));
    EXPECT_EQ(list, "vsglex-person-words 1 3\n" + Gb("安南") + " 2 0\n" + Gb("侯老") + " 1 0\n" + Gb("钟行") +
                        " 1 2\n");  // in GB byte order
    vsg::front::PersonWords words;
    std::string error;
    ASSERT_TRUE(words.Load(dir.file(vsg::front::kPersonWordsFile), &error)) << error;
    for (const char *w : {"安南", "侯老", "钟行", "江泽民"})
        EXPECT_EQ(words.KeepsWhole(Gb(w).data(), Gb(w).size()), std::string(w) == "安南" || std::string(w) == "侯老")
            << w;
}

TEST(Trainer, BracketedPlacesOfSeveralWordsGetAnEntryOfTheirOwn) {
    // 人民大会堂 is bracketed as a place twice and stands apart three times
    // (once plain, twice inside an organisation); 香港特别行政区 is bracketed
    // twice and never apart; 沂蒙山区 is bracketed once, which is enough for
    // an entry. 人民大会堂管理局, bracketed twice as an organisation, gets the
    // organisation rows instead (D bracketed, A apart); 中央纪委, bracketed
    // once, gets none; 北京饭店, bracketed once as a place and twice as an
    // organisation, gets one entry with both kinds of rows.
    // A compound entry has no part of speech, so the word cutter never takes
    // it for a word.
    std::vector<vsgtrain::Paragraph> ps(2);
    ASSERT_TRUE(vsgtrain::ParseParagraph(
        "19980101-01-001-001/m  在/p  [人民/n  大会堂/n]ns  和/c  [香港/ns  特别/a  行政区/n]ns  、/w  "
        "[沂蒙/j  山区/n]ns  。/w",
        &ps[0]));
    ASSERT_TRUE(vsgtrain::ParseParagraph(
        "19980101-01-001-002/m  [人民/n  大会堂/n]ns  [香港/ns  特别/a  行政区/n]ns  人民/n  大会堂/n  "
        "[人民/n  大会堂/n  管理局/n]nt  [人民/n  大会堂/n  管理局/n]nt  [北京/ns  饭店/n]ns  [北京/ns  饭店/n]nt  "
        "[北京/ns  饭店/n]nt  [中央/n  纪委/j]nt  。/w",
        &ps[1]));
    vsgtest::TempDir dir;
    DictionaryS d;
    ASSERT_TRUE(TrainAndLoad(ps, vsgtrain::TrainOptions(), dir, &d));
    const DictSEntry *hall = Find(d, "人民大会堂"), *hk = Find(d, "香港特别行政区");
    ASSERT_NE(hall, nullptr);
    ASSERT_NE(hk, nullptr);
    EXPECT_FLOAT_EQ(RowValue(hall, 2, 6), std::log(3.0f));
    EXPECT_FLOAT_EQ(RowValue(hall, 2, 0), std::log(4.0f));
    EXPECT_FLOAT_EQ(RowValue(hk, 2, 6), std::log(3.0f));
    EXPECT_FLOAT_EQ(RowValue(hk, 2, 0), 0.0f);
    for (const DictSEntry *e : {hall, hk})
        for (int32_t r = 0; r < e->posCount; ++r) EXPECT_NE(e->posList[r].code, 0);
    EXPECT_FLOAT_EQ(RowValue(Find(d, "沂蒙山区"), 2, 6), std::log(2.0f));
    const DictSEntry *office = Find(d, "人民大会堂管理局"), *hotel = Find(d, "北京饭店");
    ASSERT_NE(office, nullptr);
    ASSERT_NE(hotel, nullptr);
    EXPECT_EQ(office->posCount, 2);
    EXPECT_FLOAT_EQ(RowValue(office, 3, vsg::kOrgCompoundJoinedRole), std::log(3.0f));
    EXPECT_FLOAT_EQ(RowValue(office, 3, vsg::kOrgCompoundApartRole), 0.0f);
    EXPECT_EQ(hotel->posCount, 4);
    EXPECT_FLOAT_EQ(RowValue(hotel, 2, 6), std::log(2.0f));
    EXPECT_FLOAT_EQ(RowValue(hotel, 2, 0), std::log(3.0f));
    EXPECT_FLOAT_EQ(RowValue(hotel, 3, vsg::kOrgCompoundJoinedRole), std::log(3.0f));
    EXPECT_FLOAT_EQ(RowValue(hotel, 3, vsg::kOrgCompoundApartRole), std::log(2.0f));
    EXPECT_EQ(Find(d, "中央纪委"), nullptr);
    DictionaryS_Free(&d);
}

TEST(Trainer, NeighboursOfTransliteratedPlacesAndPersons) {
    // Words of several characters before and after a transliterated place
    // (内罗毕, tag 30) get place rows P (15) and Q (16), those around a
    // transliterated person (克林顿) person rows R (17) and S (18); the
    // neighbours of a Chinese place (北京) and one-character words get none.
    std::vector<vsgtrain::Paragraph> ps(1);
    ASSERT_TRUE(vsgtrain::ParseParagraph(
        "19980101-01-001-001/m  抵达/v  内罗毕/ns  机场/n  ，/w  再次/d  抵达/v  内罗毕/ns  。/w  会见/v  克林顿/nr  "
        "总统/n  ，/w  离开/v  北京/ns  以后/f  到/v  内罗毕/ns  。/w",
        &ps[0]));
    vsgtest::TempDir dir;
    DictionaryS d;
    ASSERT_TRUE(TrainAndLoad(ps, vsgtrain::TrainOptions(), dir, &d));
    EXPECT_FLOAT_EQ(RowValue(Find(d, "抵达"), 2, 15), std::log(3.0f));
    EXPECT_FLOAT_EQ(RowValue(Find(d, "机场"), 2, 16), std::log(2.0f));
    EXPECT_FLOAT_EQ(RowValue(Find(d, "会见"), 1, 17), std::log(2.0f));
    EXPECT_FLOAT_EQ(RowValue(Find(d, "总统"), 1, 18), std::log(2.0f));
    EXPECT_TRUE(std::isnan(RowValue(Find(d, "抵达"), 1, 17)));
    EXPECT_TRUE(std::isnan(RowValue(Find(d, "会见"), 2, 15)));
    for (const char *w : {"离开", "以后"})
        for (int code : {1, 2})
            for (int role : {15, 16, 17, 18}) EXPECT_TRUE(std::isnan(RowValue(Find(d, w), code, role))) << w << role;
    DictionaryS_Free(&d);
}

}  // namespace

namespace {

TEST(Trainer, RareWordsGetTheRowsTheirMainTagSharesAWordWith) {
    // 讨论 (seen six times, four as a verb, two as a verbal noun) gives the
    // verbs a verbal-noun share of 1/3: 研讨, seen once as a verb, gets a
    // verbal-noun row of count 1/3; 快 (adjective: no adjective seen often
    // enough) and 的 (a function word) get none. With a higher least count
    // for the words that give the shares, or a count of 0, no word gets one.
    std::vector<vsgtrain::Paragraph> ps(2);
    ASSERT_TRUE(vsgtrain::ParseParagraph(
        "19980101-01-001-001/m  讨论/v  讨论/v  讨论/vn  的/u  快/a  讨论/v  。/w", &ps[0]));
    ASSERT_TRUE(vsgtrain::ParseParagraph("19980101-01-001-002/m  讨论/vn  研讨/v  讨论/v  。/w", &ps[1]));
    const int v = 3, vn = 15;
    for (int variant = 0; variant < 3; ++variant) {
        vsgtest::TempDir dir;
        vsgtrain::TrainOptions opt;
        opt.posEpochs = 0;  // counted values
        opt.posCompanion = variant == 2 ? 0.0 : 1.0;
        opt.posCompanionMinCount = variant == 1 ? 7 : 5;
        DictionaryS d;
        ASSERT_TRUE(TrainAndLoad(ps, opt, dir, &d));
        const DictSEntry *yantao = Find(d, "研讨");
        ASSERT_NE(yantao, nullptr);
        EXPECT_FLOAT_EQ(RowValue(yantao, 0, v), 0.0f);
        if (variant == 0)
            EXPECT_FLOAT_EQ(RowValue(yantao, 0, vn), std::log(1.0f / 3.0f));
        else
            EXPECT_TRUE(std::isnan(RowValue(yantao, 0, vn))) << variant;
        // The rows of code 0 come first, as the tagger reads them.
        bool other = false;
        for (int32_t r = 0; r < yantao->posCount; ++r) {
            if (yantao->posList[r].code != 0) other = true;
            else EXPECT_FALSE(other) << r;
        }
        for (const char *w : {"快", "的"}) {
            const DictSEntry *e = Find(d, w);
            ASSERT_NE(e, nullptr);
            int pos = 0;
            for (int32_t r = 0; r < e->posCount; ++r) pos += e->posList[r].code == 0;
            EXPECT_EQ(pos, 1) << w;
        }
        DictionaryS_Free(&d);
    }
}

TEST(Trainer, UnseenWordRowsFitTheWordsNewToAWeek) {
    // Every week brings new nouns seen once after a comma and new verbs
    // after 将, which the known text shows before nouns: the counted
    // unseen-word rows prefer the noun, so the verbs new to a week are
    // tagged wrong until the fit makes the verb cheaper.
    const char *nouns[] = {"桌子", "椅子", "杯子", "盘子", "篮子", "箱子", "柜子", "袋子", "瓶子"};
    const char *verbs[] = {"研讨", "考察", "调研", "走访", "视察", "访问"};
    std::vector<vsgtrain::Paragraph> ps;
    for (int week = 0; week < 3; ++week) {
        std::string line = "199801" + std::string(week == 0 ? "01" : week == 1 ? "08" : "15") + "-01-001-001/m";
        for (int k = 0; k < 5; ++k) line += "  将/d  工厂/n  。/w";
        for (int k = 0; k < 3; ++k) line += std::string("  ，/w  ") + nouns[week * 3 + k] + "/n";
        for (int k = 0; k < 2; ++k) line += std::string("  将/d  ") + verbs[week * 2 + k] + "/v";
        line += "  。/w";
        ps.emplace_back();
        ASSERT_TRUE(vsgtrain::ParseParagraph(line, &ps.back()));
    }
    const int n = 2, v = 3;
    float gap[2];  // noun value minus verb value of the unseen-word rows
    for (int rounds : {0, 3}) {
        vsgtest::TempDir dir;
        vsgtrain::TrainOptions opt;
        opt.posUnseenRounds = rounds;
        opt.posUnseenStep = 2.0;  // a tiny corpus: counted costs far apart
        opt.posWordClasses = 0;   // 将 and 工厂 would be classes of their own
        opt.posCompanion = 0.0;
        vsgtrain::TrainSummary s;
        DictionaryS d;
        ASSERT_TRUE(TrainAndLoad(ps, opt, dir, &d, &s));
        const DictSEntry *unseen = Find(d, "未##它");
        ASSERT_NE(unseen, nullptr);
        gap[rounds > 0] = RowValue(unseen, 0, n) - RowValue(unseen, 0, v);
        if (rounds > 0) {
            EXPECT_EQ(s.posUnseenWords, 15);  // 9 nouns and 6 verbs
            EXPECT_GT(s.posUnseenErrorsBefore, 0);
            EXPECT_LT(s.posUnseenErrorsAfter, s.posUnseenErrorsBefore);
        } else {
            EXPECT_EQ(s.posUnseenWords, 0);
        }
        DictionaryS_Free(&d);
    }
    EXPECT_LT(gap[1], gap[0]);
}

TEST(Trainer, PartOfSpeechClassesChosenFromTheTrainingDays) {
    // 予以 is a verb that always stands after an adverb and before a
    // verbal noun, 瞧 and 读 verbs that stand after a pronoun and before a
    // noun. With one chosen class, 予以's neighbours differ most from its
    // tag's: it gets the class "v#1" at the first class number, the other
    // verbs keep the coarse verb tag, and the listed classes are gone.
    // Without chosen classes the listed ones come back (line 95 "m#1").
    std::vector<vsgtrain::Paragraph> ps(1);
    std::string line = "19980101-01-001-001/m";
    for (int k = 0; k < 6; ++k) line += "  他/r  瞧/v  报纸/n  ，/w  他/r  读/v  报纸/n  ，/w  已/d  予以/v  表彰/vn  。/w";
    ASSERT_TRUE(vsgtrain::ParseParagraph(line, &ps[0]));
    const int v = 3, first = 95;
    auto mapLines = [](const vsgtest::TempDir &dir) {
        std::vector<std::string> lines;
        std::ifstream in(dir.file("zyrpos30.map"));
        for (std::string l; std::getline(in, l);) lines.push_back(l);
        return lines;
    };
    for (bool chosen : {true, false}) {
        vsgtest::TempDir dir;
        vsgtrain::TrainOptions opt;
        opt.posCompanion = 0.0;
        opt.posClassMinCount = 5;
        opt.posWordClasses = chosen ? 1 : 0;
        DictionaryS d;
        ASSERT_TRUE(TrainAndLoad(ps, opt, dir, &d));
        const std::vector<std::string> lines = mapLines(dir);
        const DictSEntry *yuyi = Find(d, "予以"), *kan = Find(d, "瞧");
        ASSERT_NE(yuyi, nullptr);
        ASSERT_NE(kan, nullptr);
        EXPECT_FALSE(std::isnan(RowValue(kan, 0, v))) << chosen;
        if (!chosen) {
            ASSERT_EQ(lines.size(), 245u);
            EXPECT_EQ(lines[first], "m#1");
            EXPECT_FALSE(std::isnan(RowValue(yuyi, 0, v)));
        } else {
            ASSERT_EQ(lines.size(), 96u);
            EXPECT_EQ(lines[first], "v#1");
            EXPECT_FALSE(std::isnan(RowValue(yuyi, 0, first)));
            EXPECT_TRUE(std::isnan(RowValue(yuyi, 0, v)));
        }
        // The trainer's tag names are the map's, and a word's corpus tag
        // gives the number of its class.
        EXPECT_EQ(vsgtrain::PosTagNames(), lines) << chosen;
        EXPECT_EQ(vsgtrain::PosTagOf(Gb("予以"), "v"), chosen ? first : v) << chosen;
        DictionaryS_Free(&d);
    }
}

}  // namespace

namespace {

TEST(Trainer, CharactersThatOftenFollowANameKeepFlatGivenNameFloors) {
    // 说 follows a name twice and stands elsewhere twice; 来 never touches
    // a name and stands five times. With the after-name share 说 keeps the
    // flat given-name floor (邱说 is no name) while 来's floor still grows
    // with its default count; without it both grow. The before-name share
    // does the same for 请, seen once before a name and twice elsewhere.
    std::vector<vsgtrain::Paragraph> ps(1);
    ASSERT_TRUE(vsgtrain::ParseParagraph(
        "19980101-01-001-001/m  李/nr  鹏/nr  说/v  ，/w  来/v  来/v  来/v  来/v  来/v  说/v  ，/w  "
        "王/nr  刚/nr  说/v  ，/w  说/v  。/w  请/v  请/v  ，/w  请/v  张/nr  力/nr  。/w",
        &ps[0]));
    struct Case {
        double after, before;
    };
    for (const Case &k : {Case{0.5, 0.0}, Case{0.0, 0.0}, Case{0.0, 0.2}}) {
        vsgtest::TempDir dir;
        vsgtrain::TrainOptions opt;
        opt.personAfterNameShare = k.after;
        opt.personBeforeNameShare = k.before;
        opt.personFlatFloorTags = "";
        opt.personGivenFloorMin = 0.0;  // the grown floors are compared here
        DictionaryS d;
        ASSERT_TRUE(TrainAndLoad(ps, opt, dir, &d));
        const float flat = std::log(static_cast<float>(opt.personRoleFloor));
        const auto grown = [&](double def) { return std::log(static_cast<float>(opt.personFloorShare * def)); };
        const DictSEntry *shuo = Find(d, "说");
        const DictSEntry *qing = Find(d, "请");
        ASSERT_NE(shuo, nullptr);
        ASSERT_NE(qing, nullptr);
        EXPECT_FLOAT_EQ(shuo->stats[1], std::log(3.0f));  // twice in the default role
        EXPECT_FLOAT_EQ(qing->stats[1], std::log(3.0f));
        for (int role : {3, 4, 5}) {
            EXPECT_FLOAT_EQ(RowValue(shuo, 1, role), k.after > 0 ? flat : grown(2)) << role;
            EXPECT_FLOAT_EQ(RowValue(qing, 1, role), k.before > 0 ? flat : grown(2)) << role;
            EXPECT_FLOAT_EQ(RowValue(Find(d, "来"), 1, role), grown(5)) << role;
        }
        DictionaryS_Free(&d);
    }
}

}  // namespace

namespace {

TEST(Trainer, GivenNameRowsOfCharactersThatMostlyFollowNames) {
    // 摄 follows a name three times and is a one-character given name once
    // (李摄): with the ratio 3 its given-name row drops to the flat floor,
    // so that 王刚摄 does not run into it. 平 follows a name once and is a
    // given name once, and keeps its counted row either way.
    std::vector<vsgtrain::Paragraph> ps(1);
    ASSERT_TRUE(vsgtrain::ParseParagraph(
        "19980101-01-001-001/m  王/nr  刚/nr  摄/v  。/w  张/nr  力/nr  摄/v  。/w  赵/nr  明/nr  摄/v  。/w  "
        "李/nr  摄/nr  来/v  。/w  钱/nr  平/nr  来/v  。/w  孙/nr  红/nr  平/v  。/w",
        &ps[0]));
    for (double ratio : {3.0, 0.0}) {
        vsgtest::TempDir dir;
        vsgtrain::TrainOptions opt;
        opt.personGivenAfterRatio = ratio;
        DictionaryS d;
        ASSERT_TRUE(TrainAndLoad(ps, opt, dir, &d));
        const DictSEntry *she = Find(d, "摄");
        const DictSEntry *ping = Find(d, "平");
        ASSERT_TRUE(she != nullptr && ping != nullptr);
        const int oneCharGiven = 5, after = 18;
        EXPECT_FLOAT_EQ(RowValue(she, 1, after), std::log(4.0f));  // seen three times
        EXPECT_FLOAT_EQ(RowValue(she, 1, oneCharGiven),
                        ratio > 0 ? std::log(static_cast<float>(opt.personRoleFloor)) : std::log(2.0f));
        EXPECT_FLOAT_EQ(RowValue(ping, 1, oneCharGiven), std::log(2.0f));
        DictionaryS_Free(&d);
    }
}

}  // namespace
