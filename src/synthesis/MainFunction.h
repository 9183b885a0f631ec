// The voltage of the selected output function.
#pragma once

#include "synthesis/BeatModel.h"

// Where a sample stands in the run.
struct SamplePosition {
    double s_t;          // s since the output function was selected
    int sampleRate = 0;  // samples/s; 0: the stream's
    // Set when a waveform that plays once has passed its end. Null: the handler below is told.
    bool* ended = nullptr;
};

// mV at `t` seconds after the start of the cycle. Keeps the state of a ramp in `cycle`.
double MainFunctionVoltage(int function, CycleQuantities& cycle, const SamplePosition& position,
                           double t);

// The selected function at the play clock. On the thread that builds packets.
double _GetMainFunctionVoltage(double t);

double Jjg1041Voltage(const Jjg1041Beat& beat, bool notched, double t);

// Told when a waveform that plays once has passed its end: play time and period in s. It switches
// the output off. Installed by the room above.
void SetWaveformEndHandler(void (*handler)(double t, double period));
