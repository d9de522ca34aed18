// vsglex-eval MODEL_DIR CORPUS_FILE...: part-of-speech accuracy and name
// recognition scores of a model set on tagged corpus paragraphs.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "engine/instance.h"
#include "evaluate.h"
#include "model/model_set.h"

namespace {

// Writes `lines` to `path`, one a line; says so on stderr when it cannot.
bool WriteLines(const std::string &path, const std::vector<std::string> &lines) {
    FILE *f = std::fopen(path.c_str(), "w");
    if (f == nullptr) {
        std::fprintf(stderr, "vsglex-eval: cannot write %s\n", path.c_str());
        return false;
    }
    for (const std::string &line : lines) std::fprintf(f, "%s\n", line.c_str());
    return std::fclose(f) == 0;
}

}  // namespace

int main(int argc, char **argv) {
    int32_t from = 0, to = 0;
    size_t examples = 0, confusions = 0;
    std::string posErrorFile, nameFile;
    bool api = false;
    std::vector<std::string> args;
    for (int i = 1; i < argc; ++i) {
        std::string a = argv[i];
        if (a == "--from" && i + 1 < argc) from = std::atoi(argv[++i]);
        else if (a == "--to" && i + 1 < argc) to = std::atoi(argv[++i]);
        else if (a == "--examples" && i + 1 < argc) examples = static_cast<size_t>(std::atoi(argv[++i]));
        else if (a == "--confusions" && i + 1 < argc) confusions = static_cast<size_t>(std::atoi(argv[++i]));
        else if (a == "--pos-errors" && i + 1 < argc) posErrorFile = argv[++i];
        else if (a == "--names" && i + 1 < argc) nameFile = argv[++i];
        else if (a == "--api") api = true;
        else args.push_back(a);
    }
    if (args.size() < 2) {
        std::fprintf(stderr,
                     "usage: vsglex-eval [--from YYYYMMDD] [--to YYYYMMDD] [--examples N] [--confusions N] [--pos-errors FILE] [--names FILE] [--api] MODEL_DIR CORPUS_FILE...\n");
        return 2;
    }
    int32_t status = 0;
    vsg::model::LoadFault fault = vsg::model::LoadFault::kNone;
    const std::unique_ptr<vsg::engine::Engine> engine =
        vsg::engine::Engine::Load(args[0].c_str(), &status, &fault);
    if (engine == nullptr) {
        std::fprintf(stderr, "vsglex-eval: cannot load the models of %s: %s\n", args[0].c_str(),
                     vsg::model::DescribeLoadFailure(args[0], status, fault).c_str());
        return 1;
    }
    std::vector<vsgtrain::Paragraph> paragraphs;
    for (size_t i = 1; i < args.size(); ++i) {
        if (!vsgtrain::ReadCorpusFile(args[i], from, to, &paragraphs)) {
            std::fprintf(stderr, "vsglex-eval: cannot read %s\n", args[i].c_str());
            return 1;
        }
    }
    // --api: through vsglex_analyze on pre-cut text, the front end's steps
    // after the engine included; else the engine's server call alone.
    vsgeval::EvalResult r;
    r.nameList = !nameFile.empty();
    if (api) {
        std::string error;
        if (!vsgeval::EvaluateApi(args[0], &engine->models(), paragraphs, examples, !posErrorFile.empty(), &r,
                                  &error)) {
            std::fprintf(stderr, "vsglex-eval: the pre-cut analysis failed: %s\n", error.c_str());
            return 1;
        }
    } else {
        r = vsgeval::Evaluate(&engine->models(), paragraphs, examples, nullptr, !posErrorFile.empty(), r.nameList);
    }
    if ((!posErrorFile.empty() && !WriteLines(posErrorFile, r.posErrors)) ||
        (!nameFile.empty() && !WriteLines(nameFile, r.nameLines)))
        return 1;
    std::printf("paragraphs %lld (output text differs from input in %lld)\n", static_cast<long long>(r.paragraphs),
                static_cast<long long>(r.misaligned));
    std::printf("part-of-speech accuracy %.4f (%lld of %lld words that match a gold word)\n",
                r.posCompared ? static_cast<double>(r.posCorrect) / static_cast<double>(r.posCompared) : 0.0,
                static_cast<long long>(r.posCorrect), static_cast<long long>(r.posCompared));
    std::printf("  of which not in the core dictionary: %lld, accuracy %.4f\n", static_cast<long long>(r.unknownCompared),
                r.unknownCompared ? static_cast<double>(r.unknownCorrect) / static_cast<double>(r.unknownCompared) : 0.0);
    const char *names[3] = {"person", "place", "organisation"};
    for (int c = 0; c < 3; ++c) {
        const vsgeval::NameScore &n = r.names[c];
        std::printf("%-12s P %.4f R %.4f F1 %.4f (gold %lld, output %lld, found %lld; gold of one character %lld)\n",
                    names[c], n.Precision(), n.Recall(), n.F1(), static_cast<long long>(n.gold),
                    static_cast<long long>(n.predicted), static_cast<long long>(n.found),
                    static_cast<long long>(n.goldOneChar));
    }
    std::printf("person names no pattern can join: %lld (found %lld); unknown two-character places: %lld (found %lld)\n",
                static_cast<long long>(r.names[0].goldCapped), static_cast<long long>(r.names[0].foundCapped),
                static_cast<long long>(r.names[1].goldCapped), static_cast<long long>(r.names[1].foundCapped));
    for (int c = 0; c < 3; ++c)
        for (const std::string &e : r.examples[c]) std::printf("%s: %s\n", names[c], e.c_str());
    std::vector<std::pair<int64_t, std::pair<int, int>>> conf;
    for (const auto &kv : r.confusion) conf.emplace_back(-kv.second, kv.first);
    std::sort(conf.begin(), conf.end());
    const auto &tags = vsgtrain::PosTagNames();
    for (size_t i = 0; i < conf.size() && i < confusions; ++i)
        std::printf("tagged %s as %s: %lld\n", tags[static_cast<size_t>(conf[i].second.first) % tags.size()].c_str(),
                    tags[static_cast<size_t>(conf[i].second.second) % tags.size()].c_str(),
                    static_cast<long long>(-conf[i].first));
    return 0;
}
