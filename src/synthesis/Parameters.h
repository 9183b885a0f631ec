// The parameters of the signal. Setters validate and store them, the synthesis reads them.
//
// Voltages in mV, times in ms, frequencies in Hz unless said otherwise. Plain levels (DC offset,
// noise, drift, wave heights) are read with every sample; what shapes the cycle takes effect when
// its quantities are derived anew (BeatModel.h).
#pragma once

#include <cstdint>

#include "platform/Shared.h"
#include "vrax.h"

extern Shared<int> g_MainOutput;    // OutputFunction_E, or a number without a signal
extern Shared<double> g_Amplitude;  // peak to peak; the R wave's height for ECG
extern Shared<double> g_F;          // Hz; also written by a frequency scan
extern Shared<int> g_DCSetting;     // mV; also written by the YY 1079 ramp
extern Shared<bool> g_DCVariable;
extern Shared<bool> g_DCCommon;
extern Shared<std::uint32_t> g_OutputLead;  // one bit a lead
extern Shared<double> g_PulseWidth;
extern Shared<bool> g_InputImpedance;
extern Shared<bool> g_bECGOutputEnabled;

extern Shared<double> g_QRSDuration;
extern Shared<double> g_PDuration;
extern Shared<double> g_PRInterval;
extern Shared<double> g_QTInterval;
extern Shared<double> g_TDuration;
extern Shared<double> g_CusP;
extern Shared<double> g_CusT;
extern Shared<double> g_CusST;
extern Shared<int> SpecialWaveFormNo;  // shared by three families; the last setter wins
extern Shared<int> ANE20000ChannelNo;

extern Shared<int> g_PacingPulse;  // 0 single, other double
extern Shared<double> g_PA;        // mV, 0 = no pacing
extern Shared<double> g_PacingDuration;
extern Shared<unsigned> g_PacingRate;  // 1/min
extern Shared<bool> g_pacingSynchronized;
extern Shared<unsigned> g_PacingOvershootTC;
extern Shared<double> g_POA;

extern Shared<int> g_BaseLineOverload;  // 0 off, 1 to 4
extern Shared<int> g_MainNoise;         // selector, 0 = none
extern Shared<double> g_MainsNoiseAmp;
extern Shared<bool> g_AAMIDriftTest;
extern Shared<double> g_AAMIDriftTestAmp;
extern Shared<double> g_AAMIDriftTestWaveLen;  // s
extern Shared<bool> g_DynamicRangeTest;
extern Shared<bool> g_DynamicRangeTriangle;
extern Shared<double> g_ADynamicRange;
extern Shared<double> g_FDynamicRange;

extern Shared<bool> g_FreqScan1;  // sine scan
extern Shared<bool> g_FreqScan3;  // ECG scan
extern Shared<bool> s_FreqScanOn;
extern Shared<double> g_Fstart;
extern Shared<double> g_Ffinal;
extern Shared<int> g_Fduration;  // s
extern Shared<double> s_Fd;      // Hz per sample

extern Shared<bool> s_loopPlay;  // standard waveforms repeat
extern Shared<bool> s_loopFile;  // the loaded record repeats

constexpr double kDefaultDriftAmplitude = 4.0;
constexpr double kDefaultDriftWaveLength = 10.0;

// The slope of the drift triangle (mV/s): it rises by half the amplitude in a quarter wavelength.
inline double DriftSlope(double amplitude, double waveLength)
{
    return 2.0 * amplitude / waveLength;
}
