// Breathing: the settings of the impedance respiration, and the waveform in -1 to 1 that modulates
// the beats and the pulses on the host's side.
//
// The settings are stored under the interrupt lock, the waveform's quantities under
// g_PacketCriticalSection: a packet is built from whole sets.
#pragma once

#include "platform/Shared.h"

// Settings of the impedance respiration. Written by the setters (respiration/Settings.h), read by
// the thread that builds packets.
extern Shared<bool> g_RespirationEnabled;
extern Shared<int> s_RespVariation;  // milliohms peak to peak
extern Shared<int> s_RespFreq;       // breaths/min
extern Shared<double> s_RespPeriod;  // s; 0: none
extern Shared<int> s_RespRatio;      // 0 to 4 for inhale:exhale 1:1 to 1:5
extern Shared<int> s_RespBaseline;   // ohms
extern Shared<int> s_RespBaselineSelection;
extern Shared<int> s_ApneaTime;  // s at the end of every minute
extern Shared<bool> s_Apnea_On;  // commanded on the instrument
// 0: breathing; 1: the constant resistance of the calibration.
extern Shared<int> g_nECGExtRespirationMode;

extern Shared<double> s_OneRespireS;  // breath, s; 0: none
extern Shared<double> s_InhaleS;
extern Shared<double> s_ExhaleS;
extern Shared<double> s_OneApneaS;
extern Shared<double> s_BaselineModV;  // mV
extern Shared<double> s_AmpModV;       // mV
extern Shared<double> s_FreqModHz;
// Play clock when the heart-rate modulation was switched on, and one cycle later, s.
extern Shared<double> s_FreqModPreEndT;
extern Shared<double> s_FreqModEndT;

inline bool IsRespirationModulating()
{
    return s_BaselineModV != 0.0 || s_AmpModV != 0.0 || s_FreqModHz != 0.0;
}

// At a time within a breath.
double GetRespirationVoltage(double t);
// At a play time, with the apnea at the end of every minute.
double RespirationVoltageAt(double time);
// Now, by the play clock.
double GetRespirationVoltage();

struct RespirationAlgorithm {
    int rate;          // breaths/min
    int ratio;         // exhale : inhale
    int apneaSeconds;  // at the end of every minute
    int baselinePercent;
    int amplitudePercent;  // of the amplitude, both
    int frequencyPercent;  // of the frequency
};
// Depths are parts of the amplitude and the frequency as they are now.
void SetRespirationAlgorithm(const RespirationAlgorithm& algorithm);
void ClearRespirationAlgorithm();
// Something of it is set.
bool HasRespirationAlgorithm();

// Sends rate, variation, ratio and baseline to the instrument's own generator. 1 when accepted.
int SendRespirationSettings();
// Rewrites the settings in the instrument's control block, with the apnea on or off. 1 when
// accepted.
int _SetApnea(bool on);
// Follows the apnea time between packets; `second` of the run.
void _CheckApnea(int second);
// Switches the apnea on the instrument off at the end of a run.
void EndApnea();
