// The quantities of a cycle, derived from the parameters, and the voltage of every output function
// at a time in the cycle.
//
// Derived together and seen together: the thread that builds packets reads the latest whole set.
#pragma once

#include "platform/Latest.h"
#include "platform/Shared.h"

// Calibration beat of JJG 1041: times and durations in s, frequencies in Hz, levels in mV.
struct Jjg1041Beat {
    double s_tP_SinBegin, s_tP_SinEnd, s_tP_End;
    double s_tQ_Begin, s_tQ_Trough, s_tQ_End;
    double s_tR1_Crest, s_tR1_Trough, s_tR2_Crest, s_tR_End;
    double s_tS_Trough, s_tS_End, s_tT_SinBegin, s_tT_End;
    double s_tQ_ToTrough, s_tQ_FromTrough;
    double s_tR1_ToCrest, s_tR1_ToTrough, s_tR2_ToCrest, s_tR2_ToTrough, s_tR_ToTrough;
    double s_tS_ToTrough;
    double s_P_SinFreq, p_T_SinFreq;
    double s_P_SinHalfAmp, s_P_SinAmpOffset;
    double s_aQ_Trough, s_aR1_Crest, s_aR_Trough, s_aR2_Crest, s_aS_Trough, s_aT_Trough;
    double s_R1_Amp, s_R2_Amp;
};

struct CycleQuantities {
    double frequency = 1.0;  // g_F when this was derived, or the scan's
    double s_A = 0.5;        // working amplitude: half of peak to peak, the whole for the beats
    double s_tp = 1.0;       // period, s
    double s_PW = 0.1;       // pulse width, s
    double s_t1 = 0, s_t2 = 0, s_t3 = 0, s_t4 = 0, s_t5 = 0;  // standard beat, segment ends, s
    double s_Cus_t1 = 0, s_Cus_t2 = 0, s_Cus_t3 = 0, s_Cus_t4 = 0;  // customised beat
    double s_Cus_t5 = 0, s_Cus_t6 = 0, s_Cus_t7 = 0;
    double s_Cus_v125 = 0;  // kept, read by no formula
    double s_Range = 40.0;  // clamp of the beats, +- mV
    Jjg1041Beat jjg = {};

    // Pacing.
    int s_PulsesRequired = 0;
    double secondPulseLead = 0.0;         // of the other pulse of a double one, s; 0: none
    double s_PacDelayTP = 0.0;            // s
    double s_OTC = 0.0;                   // overshoot time constant, s
    double s_pp = 1.0;                    // pacing period, s
    double g_nPacingDurationCounter = 0;  // samples of a pulse
    double g_nPacingPulseCount = 1000;    // samples since the last pulse began

    // Input dynamic range, mV. Change as the ramp proceeds.
    double s_InputDynamicRangeDC = -300.0;
    double s_InputDynamicRangeAC = 0.0;
    double inputDynamicRangeStep = -1.0;  // half seconds at the last sample; below 0 unknown
};

// What deriving would rewrite among the parameters.
struct DerivedParameters {
    double frequency;
    double pulseWidth;
    double amplitude;
    bool frequencyWasCut;      // to the ceiling of the output function
    bool amplitudeWasLimited;  // by the dynamic range test
};

// The quantities for an output function at a sample rate, from the parameters as they are. Changes
// none of them.
CycleQuantities DeriveCycle(int function, int sampleRate, DerivedParameters& rewritten);

// Segment times of the standard and the customised beat.
void _CheckECGTime(CycleQuantities& cycle);
// The JJG 1041 beat.
void _SetJJG1041Parameters(CycleQuantities& cycle, double amplitude);

// The latest derived quantities. Published by Change, one caller at a time; read by the thread that
// builds packets.
extern CLatest<CycleQuantities> g_Cycle;
// The period and R-wave times for other threads.
extern Shared<double> s_tp;

// Output clamps of the beats in mV, by the position of the DC relay.
extern Shared<double> g_RangeV4Ch2On;
extern Shared<double> g_RangeV4Ch2Off;
