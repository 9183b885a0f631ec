// The shapes of a pulse, by closed forms: values in, one period of samples out.
#pragma once

#include <cstddef>
#include <cstdint>

#include "vrax.h"

enum PPGShape : int {
    kPPGSine = 0,
    kPPGTriangle = 1,
    kPPGSquare = 2,
    kPPGStandardPulse = 3,  // systolic rise, dicrotic notch and wave, run-off
};

constexpr double kLowestPPGFrequency = 0.16;  // Hz
constexpr double kHighestPPGFrequency = 5.0;

// What the channel keeps of a description that was accepted: the DC level below the pulse unless AC
// may reach above DC, selectors normalised, the rest brought into its range.
void AdjustPPGWaveform(LEDType led, PPG_WAVEFORM* wave);

// Samples of one period; 0 for a frequency that is no number.
std::size_t PPGPeriodSamples(double frequency, double rate);

// Fills one period at `rate` samples a second, in uV, and its largest value. The number of samples;
// 0 for no description, a frequency out of range, or an unknown shape (with maximum 0).
std::size_t GenPPGWaveform(const PPG_WAVEFORM* wave, double rate, std::int32_t* samples,
                           std::int32_t* maximum);
