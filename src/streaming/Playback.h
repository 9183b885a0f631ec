// A run: the play thread, the packets that it sends one for each reply of the instrument, and the
// simulation timer in its place while no instrument is connected.
#pragma once

#include "device/Exchange.h"

// Asks the play thread to end the run.
extern CManualResetEvent g_hStopPlayEvent;

// What the rooms above do in the course of a run; all on the thread that builds packets or on the
// play thread.
struct RunSteps {
    // After each packet was written, with the line owned.
    void (*packetSent)();
    // After the stop packet, with no lock held.
    void (*ended)();
};
void SetRunSteps(const RunSteps& steps);

// Resets what a run starts from. False while one exists.
bool PrepareRun();
void StartRun();
// Asks a run, started or starting, to end; zeroes the play clock. Does not wait.
void StopRun();
// A run exists that was not asked to end.
bool IsRunGoing();
// Waits until no run that was asked to end exists any more. Not on the threads of the library,
// where a callback may ask for it. Nobody waits while holding the API lock.
void WaitForEndingRun();

// Zeroes the play clock and the decimation of the output signal while no packet is built.
void RestartClock();

// The instrument went: the run stands still. It is there again: the run goes on from the current
// play clock.
void HoldRun();
void ResumeRun();

bool _SendNextPacket(bool first) REQUIRES(g_InterruptCriticalSection);
void _SendStopPacket();

// At unload: the run's threads end, and are waited for.
void EndRunForUnload();

// Start-synchronisation signal of the application, or null.
extern Shared<CManualResetEvent*> g_PlaySyncEvent;
