// The costs a context model derives from its counts: one definition, used
// by the loaders and by the trainer, which writes counts meant to decode to
// chosen costs.
#ifndef VSGLEX_SRC_MODEL_CONTEXT_COSTS_H
#define VSGLEX_SRC_MODEL_CONTEXT_COSTS_H

#include <cmath>
#include <cstdint>

namespace vsg::model {

// Single value of a tag that never occurs (a rounded ln 22).
inline constexpr double kUnseenTagValue = 3.091042;
// Cost of a tag pair never seen.
inline constexpr double kUnseenPairCost = 13.8155;

// Single value of a tag with `frequency` occurrences.
inline double TagSingleValue(int32_t frequency) {
    return frequency > 0 ? std::log(static_cast<double>(frequency) + 22.0) : kUnseenTagValue;
}

// The cost of tag j following tag i, from the pair's count, the frequency
// of tag i and the total. The interpolation term uses the frequency of the
// preceding tag i.
inline double TagPairCost(int32_t pairCount, int32_t frequency, int32_t total) {
    if (frequency == 0 || pairCount == 0) return kUnseenPairCost;
    const double m = pairCount;
    const double f = frequency;
    const double t = total;
    return -0.999999 * std::log(0.9 * m / f + 0.1 * f / t) + 0.000001;
}

}  // namespace vsg::model

#endif  // VSGLEX_SRC_MODEL_CONTEXT_COSTS_H
