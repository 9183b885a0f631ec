// A noisy curve as straight lines between few points: what is left of a signal when its repeats are
// taken out.
#pragma once

#include <vector>

#include "tools/tables/MonotoneCurve.h"

struct WanderSettings {
    double msPerSample;
    double step;   // uV; the points' values are multiples
    double price;  // uV^2; a point has to lower the sum of squared differences by as much
};

// The points, on whole milliseconds nearest to samples, that make the weighted sum of squared
// differences plus the points' price least: the shortest path through all candidates.
std::vector<CurvePoint> FitWander(const std::vector<double>& curve,
                                  const std::vector<double>& weights,
                                  const WanderSettings& settings);
