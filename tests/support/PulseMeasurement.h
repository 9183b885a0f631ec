// Pulses and breaths of a recording, measured: from equally spaced samples alone.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

using Series = std::vector<double>;

inline double Lowest(const Series& series)
{
    return *std::min_element(series.begin(), series.end());
}
inline double Highest(const Series& series)
{
    return *std::max_element(series.begin(), series.end());
}

// Where the series comes up through a level, in samples; between two of them in proportion.
inline Series RisingThrough(const Series& series, double level)
{
    Series crossings;
    for (std::size_t i = 1; i < series.size(); ++i) {
        const double before = series[i - 1];
        if (before >= level || series[i] < level) continue;
        crossings.push_back(static_cast<double>(i) - (series[i] - level) / (series[i] - before));
    }
    return crossings;
}

inline Series FallingThrough(Series series, double level)
{
    for (double& value : series) value = -value;
    return RisingThrough(series, -level);
}

// How often it happens, in each sample; no number for what has not happened twice.
inline double RateOf(const Series& events)
{
    if (events.size() < 2) return std::nan("");
    return static_cast<double>(events.size() - 1) / (events.back() - events.front());
}

// The middle of the samples with the highest value, of those from `from` on and before `to`.
inline double PlaceOfHighest(const Series& series, std::size_t from, std::size_t to)
{
    const auto begin = series.begin() + static_cast<std::ptrdiff_t>(from);
    const auto end = series.begin() + static_cast<std::ptrdiff_t>(to);
    const double highest = *std::max_element(begin, end);
    double sum = 0.0;
    double count = 0.0;
    for (std::size_t i = from; i < to; ++i) {
        if (series[i] < highest) continue;
        sum += static_cast<double>(i);
        ++count;
    }
    return sum / count;
}

inline double PlaceOfLowest(Series series, std::size_t from, std::size_t to)
{
    for (double& value : series) value = -value;
    return PlaceOfHighest(series, from, to);
}

// The tops of waves that rise as they fall: in the middle between the two at the same height.
inline Series SymmetricTops(const Series& series, double height)
{
    const Series up = RisingThrough(series, height);
    const Series down = FallingThrough(series, height);
    Series tops;
    for (const double start : up) {
        const auto end = std::upper_bound(down.begin(), down.end(), start);
        if (end != down.end()) tops.push_back((start + *end) / 2.0);
    }
    return tops;
}

// A position that begins anew after each whole cycle, made one that goes on, in cycles.
inline Series Unwrapped(const Series& phase)
{
    Series cycles;
    double turns = 0.0;
    for (std::size_t i = 0; i < phase.size(); ++i) {
        if (i > 0 && phase[i] < phase[i - 1] - 0.5) turns += 1.0;
        cycles.push_back(turns + phase[i]);
    }
    return cycles;
}
