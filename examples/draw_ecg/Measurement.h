// Heart rate and height of a received ECG, compared with what was asked for.
//
// For the standard beat: QRS complex of 100 ms, 7/8 of its height above the baseline and 1/8 below,
// T wave below a third of it.
#pragma once

#include <cstddef>
#include <vector>

#include "draw_ecg/Recording.h"

namespace ecg {

constexpr double kRateTolerance = 0.1;     // beats a minute
constexpr double kHeightTolerance = 0.01;  // of the height asked for
constexpr double kLeadIn = 0.01;           // s from the start of the cycle to the QRS complex
constexpr double kMissedPacket = 0.1;      // s of signal that may go by while a request is made

struct Beat {
    double cycleStart = 0;  // s; the flat 10 ms before the QRS complex included
    double peakTime = 0;    // s, of the R wave
    double mv = 0;          // QRS complex, peak to peak
};

// Beats whose QRS complex lies in the recording as a whole, in order of time.
std::vector<Beat> FindBeats(const Recording& recording);

// The time for which one request was in force, as the signal shows it.
struct Phase {
    Request asked;
    bool isSeen = false;        // the signal did change, and what follows is known
    double inForce = 0;         // s, start of its first cycle
    bool isAtCycleEnd = false;  // in force with the first cycle after the request
    std::size_t beats = 0;
    double bpm = 0;          // mean
    double mv = 0;           // mean
    double rateError = 0;    // beats a minute, of the worst beat
    double heightError = 0;  // share of the height asked for, of the worst beat

    bool Agrees() const
    {
        return isSeen && isAtCycleEnd && rateError <= kRateTolerance &&
               heightError <= kHeightTolerance;
    }
};

// One phase a request. A beat counts for a new request from the first one on that is nearer to what
// was asked than to what was in force before.
std::vector<Phase> MeasurePhases(const std::vector<Beat>& beats,
                                 const std::vector<Request>& requests);

}  // namespace ecg
