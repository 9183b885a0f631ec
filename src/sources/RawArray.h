// The record that output function 13 plays: samples of one channel, loaded or handed over.
#pragma once

#include "platform/Shared.h"

// Null when empty. Replaced under g_PacketCriticalSection, so never while a packet is built.
extern Shared<double*> g_pECGRawData;
extern Shared<int> g_nECGRawSize;           // samples
extern Shared<double> g_nECGRawSampleRate;  // Hz
extern Shared<int> ECGFileUnitMV;           // 1: millivolts, 0: microvolts
// The respiration record, cleared together with it.
extern Shared<double*> g_pRespRawData;
extern Shared<int> g_nRespRawSize;
extern Shared<int> g_nRespSampleRate;

// Seconds; 0 when there is no record.
double GetRawArrayPeriod();
// mV at a time within the period; 0 outside the record.
double RawArrayVoltage(double t);

// Takes over `samples` (from malloc, may be null) and frees the record before it.
void ReplaceRawArray(double* samples, int count, double rate);
void FreeRawArrays();
