// The record that output function 13 plays: samples of one channel, loaded or handed over.
#pragma once

#include "platform/Shared.h"

// Null when empty. Replaced under g_PacketCriticalSection, so never while a packet is built.
extern Shared<double*> g_pECGRawData;
extern Shared<int> g_nECGRawSize;           // samples; a negative code after a failed load
extern Shared<double> g_nECGRawSampleRate;  // Hz
extern Shared<int> ECGFileUnitMV;           // 1: millivolts, 0: microvolts
// The respiration record, cleared together with it.
extern Shared<double*> g_pRespRawData;
extern Shared<int> g_nRespRawSize;
extern Shared<int> g_nRespSampleRate;  // Hz

// Seconds; 0 when there is no record.
double GetRawArrayPeriod();
// mV at a time within the period; 0 outside the record.
double RawArrayVoltage(double t);

// A value of a loaded recording, held within 20 mV of zero. A NaN stays one.
inline double ClampToRecordRange(double mv) { return mv > 20.0 ? 20.0 : mv < -20.0 ? -20.0 : mv; }

// Takes over `samples` (from malloc, may be null) and frees the record before it.
void ReplaceRawArray(double* samples, int count, double rate);
// The same for the respiration record.
void ReplaceRespirationArray(double* samples, int count, int rate);
// Frees the record, so that a loader has the memory for its own; the rate stays.
void EmptyRawArray();
void FreeRawArrays();
