#include "tools/fit/Extremes.h"

#include <algorithm>

namespace {
using Offset = std::vector<double>::difference_type;
}  // namespace

std::vector<Extreme> FindExtremes(const std::vector<double>& curve, double swing)
{
    std::vector<Extreme> extremes;
    if (curve.empty()) return extremes;
    Extreme high{0, curve[0], true}, low{0, curve[0], false};
    for (std::size_t i = 0; i < curve.size(); ++i) {
        if (curve[i] > high.value) high = {i, curve[i], true};
        if (curve[i] < low.value) low = {i, curve[i], false};
        const bool mayPeak = extremes.empty() || !extremes.back().isPeak;
        const bool mayTrough = extremes.empty() || extremes.back().isPeak;
        if (mayPeak && high.index < i && high.value - curve[i] >= swing) {
            extremes.push_back(high);
            low = {i, curve[i], false};
        } else if (mayTrough && low.index < i && curve[i] - low.value >= swing) {
            extremes.push_back(low);
            high = {i, curve[i], true};
        }
    }
    if (!extremes.empty()) extremes.push_back(extremes.back().isPeak ? low : high);
    return extremes;
}

std::vector<double> ExtremeDifferences(const std::vector<Extreme>& extremes,
                                       const std::vector<double>& other)
{
    std::vector<double> differences;
    for (std::size_t i = 0; i < extremes.size(); ++i) {
        const std::size_t begin = i == 0 ? 0 : extremes[i - 1].index;
        const std::size_t end = i + 1 == extremes.size() ? other.size() - 1 : extremes[i + 1].index;
        const auto first = other.begin() + static_cast<Offset>(begin);
        const auto last = other.begin() + static_cast<Offset>(end) + 1;
        const double nearest =
            extremes[i].isPeak ? *std::max_element(first, last) : *std::min_element(first, last);
        differences.push_back(nearest - extremes[i].value);
    }
    return differences;
}
