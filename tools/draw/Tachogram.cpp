#include "tools/draw/Tachogram.h"

#include <vrax.h>

namespace {
constexpr double kRWaveMv = 0.6;  // no other wave of the patterns is as high
}

Tachogram MeasureTachogram(const Waveform& pattern)
{
    Tachogram result;
    result.mean = GetRRAvg(pattern.number);
    result.deviation = GetRRDev(pattern.number);
    result.seconds = pattern.seconds;
    const std::vector<double>& mv = pattern.mv;
    for (std::size_t i = 1; i + 1 < mv.size(); ++i) {
        const bool isPeak = mv[i] > kRWaveMv && mv[i] > mv[i - 1] && mv[i] >= mv[i + 1];
        if (isPeak) result.times.push_back(static_cast<double>(i) / pattern.rate);
    }
    for (std::size_t i = 0; i < result.times.size(); ++i) {
        const double next = i + 1 < result.times.size() ? result.times[i + 1]
                                                        : result.times.front() + pattern.seconds;
        result.intervals.push_back(next - result.times[i]);
    }
    return result;
}
