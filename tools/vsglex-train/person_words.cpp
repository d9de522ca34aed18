// The person words the training text writes as one token, for the raw-text
// front end's corpus view (front/personwords.h).
#include <map>

#include "steps.h"

namespace vsgtrain {

std::vector<vsg::front::PersonWordCount> CountPersonWords(const std::vector<std::vector<Unit>> &all) {
    std::map<std::string, std::pair<int64_t, int64_t>> counts;  // whole, cut
    for (const std::vector<Unit> &units : all)
        for (const Unit &u : units)
            if (u.kind == UnitKind::Person && u.tokens == 1 && SplitChars(u.text).size() >= 2) ++counts[u.text].first;
    for (const std::vector<Unit> &units : all)
        for (const Unit &u : units)
            if (u.kind == UnitKind::Person && u.tokens == 2) {
                auto it = counts.find(u.text);
                if (it != counts.end()) ++it->second.second;
            }
    std::vector<vsg::front::PersonWordCount> out;
    for (const auto &[word, c] : counts) out.push_back({word, c.first, c.second});
    return out;
}

bool WritePersonWords(const std::vector<std::vector<Unit>> &all, const std::vector<std::string> &dirs,
                      std::string *error) {
    const std::string bytes = vsg::front::EncodePersonWords(CountPersonWords(all));
    for (const std::string &dir : dirs) {
        const std::string path = dir + "/" + vsg::front::kPersonWordsFile;
        if (!WriteText(path, bytes, error)) return false;
    }
    return true;
}

}  // namespace vsgtrain
