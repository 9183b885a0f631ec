// Disturbances and slow test signals, in mV at play times in s.
#pragma once

#include "synthesis/BeatModel.h"
#include "synthesis/Parameters.h"

// Mains interference or random noise; added to functions 7, 14 and 17.
double SelectedNoiseAt(double time);
inline double VoltageNoiseAt(double time) { return g_MainNoise == 0 ? 0.0 : SelectedNoiseAt(time); }
double GetVoltageNoiseAmplitude();
// The AAMI baseline drift triangle, 0 while the test is off; added to functions 7 and 14.
double DriftTriangleAt(double time);
inline double DriftAt(double time) { return g_AAMIDriftTest ? DriftTriangleAt(time) : 0.0; }

// The selected noise-stress record: 0 none, 1 EM, 2 BW, 3 MA; any other number is none.
extern Shared<int> s_NST_Noise;
extern Shared<double> s_NST_gain;  // 0.1 to 10
// The sample of the selected record, which repeats after some 1805 s.
double NstRecordAt(int number, double time);
inline double NstNoiseAt(double time)
{
    const int number = s_NST_Noise;
    return number == 0 ? 0.0 : NstRecordAt(number, time);
}
double GetNstNoise();

extern Shared<double> g_YY1079DynamicRangeMinVoltage;
extern Shared<double> g_YY1079DynamicRangeMaxVoltage;
extern Shared<double> g_YY1079DynamicRangeSlope;  // mV/s
double YY1079DynamicRangePeriod();
// The triangle ramp at a time in its cycle.
double getYY1079DynamicRangeVoltage(double tc);

// One sample of the input dynamic range ramp: advances the state in `cycle`, returns the AC part.
double AdvanceInputDynamicRange(CycleQuantities& cycle, double time, int sampleRate);

// The overload sine of the baseline-reset test, 0 for other test values than 1 to 4.
double _GetBaselineOverload(double tc);
