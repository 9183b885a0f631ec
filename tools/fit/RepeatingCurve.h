// A signal as its average repeat, the repeats' starts and the wander around them.
#pragma once

#include <vector>

#include "tools/fit/DescriptionText.h"

// All in uV of the signal.
struct RepeatingSettings {
    double msPerSample;
    double period;        // samples, a first estimate
    double repeatBound;   // of the average repeat's turning points
    double wanderStep;    // of the wander's points
    double wanderPrice;   // uV^2, of one point of the wander
    double swing;         // from which on a peak or trough stands out
    double extremeBound;  // within which those are met
};

struct RepeatingCurve {
    std::vector<CurvePoint> repeat;  // a smooth shape
    std::vector<double> startsMs;
    std::vector<CurvePoint> wander;  // a shape of straight lines
};

RepeatingCurve FitRepeatingCurve(const std::vector<double>& signal,
                                 const RepeatingSettings& settings);

// Shapes `repeat` and `wander`, sequence `repeats`.
void AddRepeatingCurve(DescriptionText& text, const RepeatingCurve& curve);
