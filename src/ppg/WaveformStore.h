// Setting a channel's waveform: checks, synthesis or copy, and the exchange of its arrays.
//
// The caller holds the API lock. An array that does not fit into memory ends the process.
#pragma once

#include "vrax.h"

// The samples of a period, 0 when the channel was cleared (no description), or a code below 0.
int StorePPGWaveform(int led, const PPG_WAVEFORM* wave) noexcept;
// 0 or a code below 0. Millivolts.
int StorePPGRawData(int led, int ledSync, int invert, int count, const double* dc, const double* ac,
                    double sampleRate) noexcept;

struct StandardPPGWaveform {
    int led;
    int waveform;
    int ledSync;
    int invert;
    double frequency;  // Hz
    double dc;         // mV
    double ac;         // mV
};
PPG_WAVEFORM DescribeStandardPPG(const StandardPPGWaveform& standard);
// One factor on both channels' levels brings them into one AC range of the 0x3407 module, so that
// the ratio of their AC to DC parts stays.
void ShareACRange(StandardPPGWaveform& first, StandardPPGWaveform& second);
