// A change of parameters that waits for the end of the running cycle.
#pragma once

#include "platform/Shared.h"

// Set by setters while a run streams, cleared when the change is applied.
extern Shared<bool> g_bChangeOnNextCycle;

// Applies a pending change; installed by the room above.
void SetChangeHandler(void (*handler)());

// Before every step of the play clock, with the time in the running cycle, its period and the
// sample interval in s: applies the pending change in the last 0.4 ms of the cycle (never less than
// one sample), and at once below 0.15 Hz.
void _CheckIfChangeRequired(double phase, double period, double sampleInterval);
