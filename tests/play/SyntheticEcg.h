// A standard beat of known rate and height, computed without the library.
#pragma once

#include <cmath>
#include <vector>

#include "draw_ecg/Recording.h"

namespace ecg {

// The value in mV at `t` seconds of a cycle.
inline double BeatMv(double t, double height)
{
    constexpr double kPeak = 0.05375;  // s
    constexpr double kDip = 0.10375;
    constexpr double kEnd = 0.11;
    constexpr double kPi = 3.141592653589793;
    if (t < 0.01) return 0.0;
    if (t < kPeak) return 0.875 * height * (t - 0.01) / (kPeak - 0.01);
    if (t < kDip) return height * (0.875 - (t - kPeak) / (kDip - kPeak));
    if (t < kEnd) return height * 0.125 * ((t - kDip) / (kEnd - kDip) - 1.0);
    if (t >= 0.18 && t < 0.36) return 0.2 * std::sin(kPi * (t - 0.18) / 0.18);
    return 0.0;
}

struct Cycles {
    unsigned count;
    double bpm;
    double mv;
};

// In whole steps of the converter, 1600 to a millivolt.
inline Recording SyntheticEcg(const std::vector<Cycles>& parts, double rate = 20000.0)
{
    Recording recording;
    recording.rate = rate;
    double cycleStart = 0;
    for (const Cycles& part : parts) {
        for (unsigned i = 0; i < part.count; ++i) {
            const double cycleEnd = cycleStart + 60.0 / part.bpm;
            while (recording.End() < cycleEnd) {
                const double mv = BeatMv(recording.End() - cycleStart, part.mv);
                recording.mv.push_back(std::trunc(mv * 1600.0) / 1600.0);
            }
            cycleStart = cycleEnd;
        }
    }
    return recording;
}

}  // namespace ecg
