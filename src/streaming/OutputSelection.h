// What selects the output function: the setter, the tests and scans that switch it themselves, and
// the end of a run.
//
// The caller holds the API lock or builds packets; codes and ranges are the exported calls'.
#pragma once

void SetOutputFunction(int function);

// Logs, tells the application, stores and requests the change. False when nothing changes.
bool SetBaselineResetTest(int test);

void SetDynamicRangeTest(bool on, bool triangle, double amplitude, double frequency);
void SetFrequencyScanSine(bool on, int seconds, double start, double stop);
void SetFrequencyScanECG(bool on);

// After every packet: reports a running scan, and ends it once it has left its span.
void _UpdateFreqScanIfRequired();

// The end of a waveform that plays once.
void EndWaveform(double t, double period);

// After the stop packet of a run.
void PlayPostProcessing();
