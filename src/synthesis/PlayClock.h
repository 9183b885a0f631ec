// The play clock and the sample rates.
#pragma once

#include "platform/Shared.h"

// Seconds since the output function was selected, one step a sample. `s_t` is re-based to the
// position in the cycle while a frequency scan runs, `s_tg` never is. Written by the thread that
// builds packets, zeroed only while none is built.
extern Shared<double> s_t;
extern Shared<double> s_tg;

// Samples until the next call of the output-signal callback, counted up from 0.
extern Shared<int> g_UICounter;
// The callback sees one sample in every max(1, s_freqDivider / 4).
extern Shared<int> s_freqDivider;

constexpr int kDefaultSampleRate = 20000;
extern Shared<int> s_sampleRate;     // of the ECG stream, samples/s
extern Shared<int> s_PPGSampleRate;  // while a PPG output is enabled

// The rate of the stream: 5000 with the external respiration module, else the PPG rate while a PPG
// output is enabled, else the ECG rate.
int _GetSampleRate();
