// The play clock as the stream advances it, derived a second time for comparison.
#pragma once

#include <vector>

// The number of the time step that each sample shows: every sample advances the clock by a step,
// and 30 millionths of a step gather until one whole step is repeated.
inline std::vector<long> TimeSteps(std::size_t samples, double rate)
{
    std::vector<long> steps(samples);
    double gathered = 0.0;
    long step = 0;
    for (long& shown : steps) {
        shown = step++;
        gathered += 3e-5 / rate;
        if (gathered >= 1.0 / rate) {
            gathered -= 1.0 / rate;
            --step;
        }
    }
    return steps;
}
