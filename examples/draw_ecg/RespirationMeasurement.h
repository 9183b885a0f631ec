// The resistance of the external respiration module, sample by sample, compared with the breath that
// was asked for. Of a run of up to a minute.
#pragma once

#include <cstddef>
#include <vector>

#include "draw_ecg/Measurement.h"
#include "draw_ecg/PpgMeasurement.h"
#include "draw_ecg/Recording.h"

namespace ecg {

constexpr double kOhmTolerance = 0.1;

// Ohms at `time` seconds of the signal. The breath rises in a half period of a cosine from 50 ohms
// and falls in a longer one; the last seconds of a minute hold what was reached before.
double AskedOhm(const RespirationRequest& asked, double rate, double time);

// The factor by which the ECG is smaller behind the baseline of the external module.
double EcgAttenuation(double baselineOhm);

struct RespirationFigures {
    RespirationRequest asked;
    std::size_t beats = 0;
    double bpm = 0;            // mean
    double bpmError = 0;       // beats a minute, of the worst beat
    double mv = 0;             // mean, in front of the attenuation
    double heightError = 0;    // share of the height asked for, of the worst beat
    std::size_t breaths = 0;   // whole ones
    double perMinute = 0;      // mean
    double breathError = 0;    // breaths a minute, of the worst breath
    double variation = 0;      // ohms, peak to peak
    double ohmError = 0;       // of the worst sample; infinite when one is missing
    double ohmErrorAt = 0;     // s
    double baselineError = 0;  // ohms, of the worst sample; infinite when one is missing
    double holdStart = 0;      // s; the end when there is none
    double holdOhm = 0;        // the value that is held
    double heldSeconds = 0;    // for which it has not moved, up to the end
    double heldAsked = 0;
    double sampleTime = 0;  // s

    bool HoldsBreath() const;
    bool Agrees() const;
};

RespirationFigures MeasureRespiration(const Recording& recording, const RespirationRequest& asked);

}  // namespace ecg
