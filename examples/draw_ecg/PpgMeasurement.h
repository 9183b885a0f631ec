// Rate, AC/DC ratio, transit time and breathing of received pulses, compared with what was asked
// for.
//
// For the standard pulse: a rise that is half a period of a sine, once a beat, and nothing later in
// the period that falls below 0.4 and rises again. The DC level asked for is the top of the pulse.
#pragma once

#include <array>
#include <cstddef>
#include <vector>

#include "draw_ecg/Measurement.h"
#include "draw_ecg/Recording.h"

namespace ecg {

constexpr double kRatioTolerance = 0.01;        // of the AC/DC ratio asked for
constexpr double kBreathRateTolerance = 0.1;    // breaths a minute
constexpr double kBreathShapeTolerance = 0.02;  // of depth and of inhale:exhale

// At rest the mean lies within one sample of what was asked, and each pulse within two: the samples
// of a period are taken without a fraction, and the clock of the signal holds one sample in 33333.
constexpr double kTransitSpread = 2.0;  // samples
// While a breath changes the levels, a height is known to a whole millivolt of DC: 0.1 %.
constexpr double kTransitSpreadBreathing = 5.0;  // samples

struct SeenPpgPulse {
    double foot = 0;  // s, where the rise begins
    double peak = 0;  // s
    double dcMv = 0;  // at the peak, the pulse on top of it: as it was asked for
    double acMv = 0;  // peak to peak

    double Ratio() const { return acMv / dcMv; }
};

// The pulses of a channel that lie in the recording as a whole, in order of time. A change of both
// levels in proportion, such as that by a breath, does not move them.
std::vector<SeenPpgPulse> FindPpgPulses(const Recording& recording, const PpgTrace& trace);

// The pulses of one channel between two requests.
struct PulsePhase {
    std::size_t channel = 0;
    PpgRequest asked;
    std::size_t pulses = 0;
    std::size_t expected = 0;  // one a beat
    double perMinute = 0;      // mean
    double ratio = 0;          // AC/DC, mean
    double transit = 0;        // s from the R wave, mean
    double rateError = 0;      // pulses a minute, of the worst interval
    double ratioError = 0;     // share of the ratio asked for, of the worst pulse
    double transitError = 0;   // s, of the worst pulse
    double sampleTime = 0;     // s

    double AskedRatio() const;
    bool Agrees() const;
};

// How one channel's DC level breathes.
struct BreathPhase {
    std::size_t channel = 0;
    PpgRequest asked;
    std::size_t breaths = 0;  // whole ones
    double perMinute = 0;     // mean
    double exhale = 0;        // times as long as the inhalation, mean
    double depthPercent = 0;  // of the resting level, mean of both sides
    double rateError = 0;     // breaths a minute, of the worst breath

    // At rest there is nothing but what the converters round.
    bool Agrees() const;
};

// The beats between two requests.
struct BeatPhase {
    PpgRequest asked;
    std::size_t beats = 0;
    double bpm = 0;        // mean
    double rateError = 0;  // beats a minute, of the worst beat

    bool Agrees() const { return beats > 1 && rateError <= kRateTolerance; }
};

struct PpgFigures {
    std::vector<BeatPhase> beats;  // one a request
    std::vector<PulsePhase> pulses;
    std::vector<BreathPhase> breaths;
    std::vector<Beat> seenBeats;
    std::array<std::vector<SeenPpgPulse>, kPpgChannels> seenPulses;
    bool hasAllChannels = false;  // what was asked plays, and nothing else

    bool Agrees() const;
};

PpgFigures MeasurePpg(const Recording& recording, const std::vector<PpgRequest>& requests);

// The DC level as a share of what it is before the first breath, less 1. The steps of the converter
// are evened out over 10 ms.
std::vector<double> BreathOf(const Recording& recording, const PpgTrace& trace,
                             const std::vector<PpgRequest>& requests);

// The upward and the downward crossings of 0 from `from` on, in s; a crossing counts when the curve
// has been as far as `depth` on the other side.
struct Crossings {
    std::vector<double> up;
    std::vector<double> down;
};
Crossings FindCrossings(const Recording& recording, const std::vector<double>& values, double from,
                        double to, double depth);
// The mean over `seconds` around each sample, shorter at the ends.
std::vector<double> Smooth(const std::vector<double>& values, double rate, double seconds);

}  // namespace ecg
