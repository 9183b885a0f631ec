// What the finger probes of the 0x3307 and the 0x3407 module make of a level, so that the level that
// was asked for comes out of the finger.
#pragma once

#include "platform/Shared.h"
#include "vrax.h"

extern Shared<bool> g_PPGAmplitudeConversion;

// Waveforms are converted when they are set.
bool IsAmplitudeConverted();

// mV to mV; unchanged for modules without a table. Levels outside a table take its nearest entry.
double FingerDCValueConvert(LEDType led, double dc);
double FingerACValueConvert(double ac);
