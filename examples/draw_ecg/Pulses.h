// Pacing pulses in a recording, compared with what was asked for.
#pragma once

#include <cstddef>
#include <vector>

#include "draw_ecg/Measurement.h"
#include "draw_ecg/Recording.h"

namespace ecg {

constexpr double kPulseTolerance = 0.01;    // of the amplitude asked for
constexpr double kPulseLeadSpread = 0.001;  // s between the earliest and the latest

struct SeenPulse {
    std::size_t sample = 0;  // the first one
    double time = 0;         // s
    double mv = 0;
    double ms = 0;          // in whole samples
    bool isMarked = false;  // the stream asked for it there
};

// In order of time. A pulse ends where its level ends or a mark starts the next.
std::vector<SeenPulse> FindPulses(const Recording& recording);

// The pulses of one phase that asked for pacing.
struct PacedPhase {
    Request asked;
    std::size_t pulses = 0;
    std::size_t expected = 0;  // one a period; the first may be due up to a period after the start
    double perMinute = 0;      // mean
    double mv = 0;             // mean
    double ms = 0;             // mean
    double lead = 0;           // s from a pulse to the QRS complex it paces, mean
    double rateError = 0;      // pulses a minute, of the worst interval
    double heightError = 0;    // share of the amplitude asked for, of the worst pulse
    double lengthError = 0;    // samples, of the worst pulse
    double leadSpread = 0;     // s

    bool Agrees() const
    {
        return pulses > 1 && pulses == expected && rateError <= kRateTolerance &&
               heightError <= kPulseTolerance && lengthError <= 1.0 &&
               leadSpread <= kPulseLeadSpread;
    }
};

struct Pacing {
    std::vector<SeenPulse> pulses;
    std::vector<PacedPhase> phases;  // those that asked for pacing
    std::size_t strays = 0;          // pulses where none was asked for
    std::size_t unmarked = 0;        // pulses without a mark
    std::size_t unanswered = 0;      // marks without a pulse

    bool Agrees() const;
};

Pacing MeasurePacing(const Recording& recording, const std::vector<Beat>& beats,
                     const std::vector<Phase>& phases);

}  // namespace ecg
