// Tests of the evaluator's two ways of scoring: the engine's server call
// alone and the public pre-cut interface, on a model set trained from a
// small hand-made corpus.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "corpus.h"
#include "engine/instance.h"
#include "evaluate.h"
#include "support/support.h"
#include "trainer.h"

namespace {

// Verbs of two characters that start with 复 or end in 盘 teach the tagger
// of unknown words that such a word is a verb.
const char *kTraining[] = {
    "19980101-01-001-001/m  他们/r  复查/v  工作/vn  。/w  ",
    "19980101-01-001-002/m  我们/r  复核/v  数据/n  。/w  ",
    "19980101-01-001-003/m  专家/n  复审/v  案件/n  。/w  ",
    "19980101-01-001-004/m  法院/n  复议/v  决定/n  。/w  ",
    "19980101-01-001-005/m  老师/n  复习/v  课文/n  。/w  ",
    "19980101-01-001-006/m  学校/n  图书/n  资料/n  很/d  多/a  。/w  ",
    "19980101-01-001-007/m  工厂/n  机器/n  设备/n  很/d  新/a  。/w  ",
    "19980101-01-001-008/m  王/nr  国栋/nr  说/v  ，/w  学校/n  很/d  好/a  。/w  ",
    "19980101-01-001-009/m  李/nr  国栋/nr  说/v  ，/w  工厂/n  很/d  新/a  。/w  ",
    "19980101-01-001-010/m  股市/n  开盘/v  。/w  ",
    "19980101-01-001-011/m  股市/n  收盘/v  。/w  ",
    "19980101-01-001-012/m  工厂/n  复工/v  。/w  ",
    // Many nouns seen once: the engine's rows of unknown words favour nouns.
    "19980101-01-002-001/m  学校/n  桌子/n  椅子/n  很/d  多/a  。/w  ",
    "19980101-01-002-002/m  学校/n  杯子/n  盒子/n  很/d  多/a  。/w  ",
    "19980101-01-002-003/m  学校/n  书包/n  铅笔/n  很/d  多/a  。/w  ",
    "19980101-01-002-004/m  学校/n  钢笔/n  电脑/n  很/d  多/a  。/w  ",
    "19980101-01-002-005/m  学校/n  手机/n  汽车/n  很/d  多/a  。/w  ",
    "19980101-01-002-006/m  学校/n  火车/n  轮船/n  很/d  多/a  。/w  ",
    "19980101-01-002-007/m  学校/n  飞机/n  房屋/n  很/d  多/a  。/w  ",
    "19980101-01-002-008/m  学校/n  道路/n  桥梁/n  很/d  多/a  。/w  ",
    "19980101-01-002-009/m  学校/n  河流/n  山峰/n  很/d  多/a  。/w  ",
    "19980101-01-002-010/m  学校/n  森林/n  草原/n  很/d  多/a  。/w  ",
};

std::vector<vsgtrain::Paragraph> Parse(const std::vector<std::string> &lines) {
    std::vector<vsgtrain::Paragraph> out;
    for (const std::string &line : lines) {
        vsgtrain::Paragraph p;
        if (vsgtrain::ParseParagraph(line, &p)) out.push_back(p);
    }
    return out;
}

class EvaluateTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        dir_ = new vsgtest::TempDir;
        vsgtrain::TrainOptions opt;
        vsgtrain::TrainSummary summary;
        std::string error;
        ASSERT_TRUE(vsgtrain::TrainModels(Parse({std::begin(kTraining), std::end(kTraining)}), dir_->path(), opt,
                                          &summary, &error))
            << error;
        int32_t status = 0;
        vsg::model::LoadFault fault = vsg::model::LoadFault::kNone;
        engine_ = vsg::engine::Engine::Load(dir_->path().c_str(), &status, &fault).release();
        ASSERT_NE(engine_, nullptr);
    }
    static void TearDownTestSuite() {
        delete engine_;
        delete dir_;
    }
    static vsgeval::EvalResult Api(const std::vector<std::string> &lines, bool nameList = false) {
        vsgeval::EvalResult r;
        r.nameList = nameList;
        std::string error;
        EXPECT_TRUE(vsgeval::EvaluateApi(dir_->path(), &engine_->models(), Parse(lines), 0, true, &r, &error))
            << error;
        return r;
    }
    static vsgeval::EvalResult Engine(const std::vector<std::string> &lines, bool nameList = false) {
        return vsgeval::Evaluate(&engine_->models(), Parse(lines), 0, nullptr, true, nameList);
    }
    static vsgtest::TempDir *dir_;
    static vsg::engine::Engine *engine_;
};

vsgtest::TempDir *EvaluateTest::dir_ = nullptr;
vsg::engine::Engine *EvaluateTest::engine_ = nullptr;

// Known words, a person name handed in characters and several paragraphs
// in one call (each a line of the pre-cut text): every word lands on its
// own paragraph's span, and both ways agree word for word.
TEST_F(EvaluateTest, KnownWordsAndNamesScoreAlikeBothWays) {
    const std::vector<std::string> lines = {
        "19980102-01-001-001/m  学校/n  图书/n  资料/n  很/d  多/a  。/w  ",
        "19980102-01-001-002/m  王/nr  国栋/nr  说/v  ，/w  工厂/n  很/d  新/a  。/w  ",
        "19980102-01-001-003/m  他们/r  复查/v  数据/n  。/w  ",
    };
    const vsgeval::EvalResult api = Api(lines, true), engine = Engine(lines, true);
    EXPECT_EQ(api.paragraphs, 3);
    EXPECT_EQ(api.misaligned, 0);
    EXPECT_EQ(engine.misaligned, 0);
    // Every word is compared, the person name as one unit.
    EXPECT_EQ(api.posCompared, 17);
    EXPECT_EQ(api.posCorrect, api.posCompared) << (api.posErrors.empty() ? "" : api.posErrors[0]);
    EXPECT_EQ(api.posCompared, engine.posCompared);
    EXPECT_EQ(api.posCorrect, engine.posCorrect);
    // The name handed as 王 国 栋 comes back as one person word.
    EXPECT_EQ(api.names[0].gold, 1);
    EXPECT_EQ(api.names[0].found, 1);
    EXPECT_EQ(api.names[0].predicted, 1);
    EXPECT_EQ(engine.names[0].found, 1);
    // The name lists place it alike both ways (paragraph 1, bytes 0-6 of
    // its GB text), which is what lets two runs be compared name by name.
    for (const vsgeval::EvalResult *r : {&api, &engine}) {
        ASSERT_EQ(r->nameLines.size(), 1u);
        EXPECT_EQ(r->nameLines[0].rfind("person\t1\t0\t6\tfound\t王国栋\t", 0), 0u) << r->nameLines[0];
    }
    EXPECT_TRUE(Engine(lines).nameLines.empty());
}

// An unknown word the engine tags a noun from its neighbours alone: the
// pre-cut interface tags it again from its characters, so only that way
// scores it right; the other words score alike.
TEST_F(EvaluateTest, UnknownWordTagDiffersThroughTheInterface) {
    const std::vector<std::string> lines = {"19980102-01-001-004/m  专家/n  复盘/v  资料/n  。/w  "};
    const vsgeval::EvalResult api = Api(lines), engine = Engine(lines);
    ASSERT_EQ(api.posCompared, 4);
    ASSERT_EQ(engine.posCompared, 4);
    EXPECT_EQ(api.unknownCompared, 1);
    EXPECT_EQ(api.unknownCorrect, 1) << (api.posErrors.empty() ? "" : api.posErrors[0]);
    EXPECT_EQ(engine.unknownCorrect, 0);
    EXPECT_EQ(api.posCorrect, 4);
    EXPECT_EQ(engine.posCorrect, 3);
    ASSERT_EQ(engine.posErrors.size(), 1u);
    EXPECT_NE(engine.posErrors[0].find("unknown\tnorows\t0\t"), std::string::npos) << engine.posErrors[0];
}

}  // namespace
