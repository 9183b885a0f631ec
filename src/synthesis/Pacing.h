// Pacemaker pulses. The instrument makes them itself, from the settings that it is sent and the
// samples that are marked in the stream; the AC path carries the overshoot that follows each.
#pragma once

#include "synthesis/BeatModel.h"

// For other threads: 0 without pacing, 1 single, 2 double.
extern Shared<int> s_PulsesRequired;
// A pulse began with the current sample: the packet builder marks it.
extern Shared<bool> s_PacingPulseRaised;
// A pulse began and the graph has not drawn it.
extern Shared<bool> s_PacingIndicationNeeded;
// The current sample is the last one of a pulse.
extern Shared<bool> s_PacingShortPulseNeeded;
// The pacing settings are to be sent between two packets.
extern Shared<bool> g_PacingApplyRequested;
// Drift of the instrument's pacing clock, s/s.
extern Shared<double> g_fPacingDelayPerSecond;

// How long before the due time of a pulse its sample comes, s.
constexpr double g_Pacing_leading = 0.03;
// The same for the selected output function: the standard beat starts 0.01 s into its cycle.
double GetPacingLeadingTime();

void DerivePacing(CycleQuantities& cycle, int sampleRate);

// Thread that builds packets only. The DC path in mV for the current sample at `tc` in the cycle;
// what the pulse leaves on the AC path is added to `acExtra`.
double _GetPacingV5(CycleQuantities& cycle, double& acExtra, double tc);

// Half the width of the window around its due time in which a pulse of a period is taken, s, at a
// sample interval.
double GetPulseTolerance(double period, double sampleInterval);
// A positive number with the digit after its first significant one raised by one, without carry: a
// 9 becomes a 0. Of its first 20 decimals.
double bumpNextToFirstNonZero(double value);

// What whole ticks of 25 us per pacing period leave over, s/s.
double ComputeDelayPerSec(int rate);

// Sends the settings; 1 when the instrument acknowledged them.
int SetPacing();
