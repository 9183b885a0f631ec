// Breathing on the host's side: the waveform in -1 to 1 that modulates the beats, and what the
// streaming engine needs to know of the impedance respiration. Nothing switches either on yet.
#pragma once

#include "platform/Shared.h"

extern Shared<bool> g_RespirationEnabled;
extern Shared<int> s_RespBaseline;  // ohms
extern Shared<int> s_ApneaTime;     // s at the end of every minute
extern Shared<bool> s_Apnea_On;     // commanded on the instrument

extern Shared<double> s_OneRespireS;  // breath, s; 0: none
extern Shared<double> s_InhaleS;
extern Shared<double> s_ExhaleS;
extern Shared<double> s_OneApneaS;
extern Shared<double> s_BaselineModV;  // mV
extern Shared<double> s_AmpModV;       // mV
extern Shared<double> s_FreqModHz;

inline bool IsRespirationModulating()
{
    return s_BaselineModV != 0.0 || s_AmpModV != 0.0 || s_FreqModHz != 0.0;
}

// At a time within a breath.
double GetRespirationVoltage(double t);
// At a play time, with the apnea at the end of every minute.
double RespirationVoltageAt(double time);

// Switches the apnea on the instrument off at the end of a run.
void EndApnea();
// Follows the apnea time between packets; `second` of the run.
void _CheckApnea(int second);
// Back to the defaults.
void ResetRespiration();
