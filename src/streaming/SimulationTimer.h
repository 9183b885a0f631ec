// Paces packet building while no instrument is connected.
#pragma once

#include <signal.h>

// The duration of one packet by operate mode and sample rate, in ms. Every division is an integer
// division, and the external respiration bit does not count, kept so.
unsigned _CalculateTimerPeriod();

// Starts calling `tick` once a period. Nothing when it runs, or cannot be started. The caller holds
// no lock.
void _StartSimulationTimer(void (*tick)());
// A tick in progress may still end after this; no other begins.
void _StopSimulationTimer();
void SimulationTimer_Tick(sigval value);
// Waits for the last tick, at unload.
void JoinSimulationTimer();
