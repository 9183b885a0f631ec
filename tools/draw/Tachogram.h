// The intervals between the beats of a heart-rate pattern.
#pragma once

#include <vector>

#include "tools/draw/Waveforms.h"

struct Tachogram {
    double mean = 0;            // s, as the library tells it
    double deviation = 0;       // s
    double seconds = 0;         // of the whole pattern
    std::vector<double> times;  // s, of the R peaks
    std::vector<double>
        intervals;  // s, from each R peak to the next; from the last to the repeat's
};

// Measures the intervals in the samples.
Tachogram MeasureTachogram(const Waveform& pattern);
