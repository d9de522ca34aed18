// Training of the model set: the steps of steps.h in order. Every table is
// built from sorted containers so that the same corpus always gives the
// same bytes.
#include "trainer.h"

#include "common/gbtext.h"
#include "set_manifest.h"
#include "steps.h"

namespace vsgtrain {

bool TrainModels(const std::vector<Paragraph> &paragraphs, const std::string &outDir, const TrainOptions &opt,
                 TrainSummary *summary, std::string *error) {
    *summary = TrainSummary();
    // The tag set first: the counts are sized by it.
    const std::vector<ExtraPosClass> classes = ChoosePosClasses(paragraphs, opt);
    if (!SetExtraPosClasses(classes, opt.posWordClasses <= 0)) {
        *error = "too many part-of-speech classes";
        return false;
    }
    for (const ExtraPosClass &c : classes) {
        std::string line = c.name + "=";
        for (size_t k = 0; k < c.words.size(); ++k) line += (k > 0 ? "," : "") + GbToUtf8(c.words[k]);
        summary->posClasses.push_back(line);
    }
    TrainCounts counts;

    // Counting.
    CollectParagraphs(paragraphs, opt, &counts, summary);
    CountWords(&counts, summary);
    CountPersonRoles(opt, &counts);
    CountPlaceRoles(opt, &counts, summary);
    CountOrgRoles(opt, &counts);
    if (opt.unseenCharRows) AddUnseenCharRows(&counts);

    // Core dictionary entries and the unseen-word rows.
    std::map<int, int32_t> seenOnce;  // tag -> words seen once with it
    std::vector<Entry> entries = BuildCoreEntries(counts, opt, summary->paragraphs, &seenOnce);
    std::vector<Row> unseenRows = UnseenWordRows(seenOnce, counts.posCtx);
    AddCompanionRows(counts, opt, CountCompanionShares(counts, opt), &entries);
    entries.push_back(Entry{vsg::kOtherClass, unseenRows, {0, 0, 0, 0}, 0});
    if (opt.posEpochs > 0) {
        RefinePos(counts.units, counts.dates, opt, &counts.posCtx, &entries, summary);
        for (const Entry &e : entries)
            if (e.word == vsg::kOtherClass) unseenRows = e.rows;
    }
    if (!OrderEntries(unseenRows, &entries, summary, error)) return false;
    summary->entries = static_cast<int64_t>(entries.size());
    for (int32_t f : counts.posCtx.freq)
        if (f > 0) ++summary->posTagsUsed;

    // Writing the set, the word cutter model, the person words the corpus
    // view keeps whole, then the manifest of every file written.
    if (!WriteModelSet(outDir, opt, entries, counts, error)) return false;
    std::vector<std::string> segDirs = {outDir};
    if (opt.text) segDirs.push_back(outDir + "/text");
    if (!WriteSegmenter(counts.units, opt.seg, segDirs, &summary->seg, error)) return false;
    if (!WritePersonWords(counts.units, segDirs, error)) return false;
    return WriteSetManifests(outDir, opt.text ? outDir + "/text" : std::string(), error);
}

}  // namespace vsgtrain
