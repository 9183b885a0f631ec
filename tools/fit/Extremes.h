// Peaks and troughs that stand out, and how near another curve comes to them.
#pragma once

#include <cstddef>
#include <vector>

struct Extreme {
    std::size_t index;
    double value;
    bool isPeak;
};

// Peaks and troughs in turn: from each to the next the curve swings by at least `swing`. The first
// and the last may be ends of the curve.
std::vector<Extreme> FindExtremes(const std::vector<double>& curve, double swing);

// The other curve's value less the extreme's, for each: its highest (lowest) sample between the
// neighbours of the peak (trough) counts.
std::vector<double> ExtremeDifferences(const std::vector<Extreme>& extremes,
                                       const std::vector<double>& other);
