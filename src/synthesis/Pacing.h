// Pacemaker pulses: the settings sent to the instrument, which makes the pulse itself, and the DC
// path. No pulse is marked in the stream yet.
#pragma once

#include "synthesis/BeatModel.h"

// For other threads: 0 without pacing, 1 single, 2 double.
extern Shared<int> s_PulsesRequired;
// A pulse began with the current sample: the packet builder marks it.
extern Shared<bool> s_PacingPulseRaised;
// A pulse began and the graph has not drawn it.
extern Shared<bool> s_PacingIndicationNeeded;
// The pacing settings are to be sent between two packets.
extern Shared<bool> g_PacingApplyRequested;
// Drift of the instrument's pacing clock, s/s.
extern Shared<double> g_fPacingDelayPerSecond;

void DerivePacing(CycleQuantities& cycle, int sampleRate);

// The DC path in mV for the current sample at `tc` in the cycle; what the pulse leaves on the AC
// path is added to `acExtra`.
double _GetPacingV5(CycleQuantities& cycle, double& acExtra, double tc);

// What whole ticks of 25 us per pacing period leave over, s/s.
double ComputeDelayPerSec(int rate);

// Sends the settings; 1 when the instrument acknowledged them.
int SetPacing();
