// The patterns of IEC 60601-2-47 once more: from the intervals between their beats and a beat of
// lines and half a sine.
#pragma once

#include <cmath>
#include <cstddef>
#include <vector>

#include "support/ReferenceSignal.h"
#include "support/WaveformFacts.h"

namespace reference {
constexpr int kTemplateSamples = 360;

// The beat of patterns 1 to 4, in mV at i ms. Its T wave is made with a circle of 6.2831853.
inline double TemplateBeat(int i)
{
    if (i >= 180) return 0.2 * std::sin(6.2831853 / 360.0 * (i - 180));
    return Lines({{10, 0}, {53, 0.875}, {103, -0.125}, {110, 0}}, i);
}

// The first samples of the beats, each the whole number of ms from one to the next. In extended
// precision, so that an interval is cut right where it is near to a whole number.
inline std::vector<int> BeatStarts(const Iec247Facts& facts)
{
    constexpr long double kExactPi = 3.141592653589793238462643383279503L;
    std::vector<int> starts;
    for (int start = 0; start < facts.samples;) {
        starts.push_back(start);
        const long double seconds = start / 1000.0L;
        const long double turn = 2.0L * kExactPi * static_cast<long double>(facts.frequency);
        const long double swing =
            static_cast<long double>(facts.deviation) * std::sin(turn * seconds);
        const long double interval = 1000.0L * (static_cast<long double>(facts.mean) + swing);
        // The product of decimal fractions may fall short of a whole number by its last bits.
        start += static_cast<int>(interval + 1e-9L);
    }
    return starts;
}

inline std::vector<double> Pattern(int number)
{
    const Iec247Facts& facts = kIec247Facts[number];
    std::vector<double> samples(static_cast<std::size_t>(facts.samples), 0.0);
    if (number == 0) {
        for (std::size_t i = 0; i < samples.size(); ++i) {
            samples[i] = Lines({{0, 0}, {50, 1}, {100, 0}}, static_cast<double>(i % 1000));
        }
        return samples;
    }
    for (const int start : BeatStarts(facts)) {
        for (int i = 0; i < kTemplateSamples && start + i < facts.samples; ++i) {
            samples[static_cast<std::size_t>(start + i)] = TemplateBeat(i);
        }
    }
    return samples;
}
}  // namespace reference
