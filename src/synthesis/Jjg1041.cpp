// The calibration beat of JJG 1041: its times are parts of three quarters of the period, its levels
// parts of half the amplitude.

#include "synthesis/BeatModel.h"
#include "synthesis/MainFunction.h"
#include "synthesis/Numbers.h"

namespace {
double Middle(double a, double b) { return a + (b - a) / 2.0; }
}  // namespace

void _SetJJG1041Parameters(CycleQuantities& cycle, double amplitude)
{
    const double u = 0.75 / cycle.frequency;
    const double a = amplitude / 2.0;
    const double p = 0.1327 * u;
    Jjg1041Beat& b = cycle.jjg;

    b.s_tP_SinBegin = p / 8.0;
    b.s_tP_SinEnd = 7.0 * p / 8.0;
    b.s_tP_End = p;
    b.s_P_SinFreq = 1.5 / (b.s_tP_SinEnd - b.s_tP_SinBegin);
    b.s_tQ_Begin = p + (0.1653 * u - p);
    b.s_tQ_End = b.s_tQ_Begin + 0.0213 * u;
    b.s_tQ_Trough = Middle(b.s_tQ_Begin, b.s_tQ_End);
    b.s_tR1_Crest = b.s_tQ_Begin + 0.0427 * u;
    b.s_tR2_Crest = b.s_tQ_Begin + 0.074 * u;
    b.s_tR_End = b.s_tQ_Begin + 0.0947 * u;
    b.s_tR1_Trough = Middle(b.s_tR1_Crest, b.s_tR2_Crest);
    b.s_tT_End = b.s_tQ_Begin + 0.516 * u;
    b.s_tS_End = b.s_tT_End - 0.212 * u;
    b.s_tS_Trough = b.s_tR_End + (b.s_tS_End - b.s_tR_End) / 3.0;
    b.s_tT_SinBegin = b.s_tT_End - 0.212 * u / 0.908;
    b.p_T_SinFreq = 0.5 / (b.s_tT_End - b.s_tT_SinBegin);

    b.s_P_SinHalfAmp = (0.234 * a - 0.196 * a) / 2.0;
    b.s_P_SinAmpOffset = (0.234 * a + 0.196 * a) / 2.0;
    b.s_aQ_Trough = -0.394 * a;
    b.s_aR1_Crest = 1.605 * a;
    b.s_aR_Trough = 0.716 * a;
    b.s_aR2_Crest = 1.068 * a;
    b.s_aS_Trough = -0.116 * a;
    b.s_aT_Trough = -0.408 * a;
    b.s_R1_Amp = b.s_aR1_Crest - b.s_aR_Trough;
    b.s_R2_Amp = b.s_aR2_Crest - b.s_aR_Trough;

    b.s_tQ_ToTrough = b.s_tQ_Trough - b.s_tQ_Begin;
    b.s_tQ_FromTrough = b.s_tQ_End - b.s_tQ_Trough;
    b.s_tR1_ToCrest = b.s_tR1_Crest - b.s_tQ_End;
    b.s_tR1_ToTrough = b.s_tR1_Trough - b.s_tR1_Crest;
    b.s_tR2_ToCrest = b.s_tR2_Crest - b.s_tR1_Trough;
    b.s_tR2_ToTrough = b.s_tR_End - b.s_tR2_Crest;
    b.s_tR_ToTrough = b.s_tR_End - b.s_tR1_Crest;
    b.s_tS_ToTrough = b.s_tS_Trough - b.s_tR_End;
}

double Jjg1041Voltage(const Jjg1041Beat& b, bool notched, double t)
{
    if (t < b.s_tP_SinBegin) return b.s_P_SinAmpOffset * t / b.s_tP_SinBegin;
    if (t < b.s_tP_SinEnd) {
        return b.s_P_SinAmpOffset +
               b.s_P_SinHalfAmp * std::sin(kTwoPi * b.s_P_SinFreq * (t - b.s_tP_SinBegin));
    }
    if (t < b.s_tP_End) return b.s_P_SinAmpOffset * (1.0 - (t - b.s_tP_SinEnd) / b.s_tP_SinBegin);
    if (t < b.s_tQ_Begin) return 0.0;
    if (t < b.s_tQ_Trough) return b.s_aQ_Trough * (t - b.s_tQ_Begin) / b.s_tQ_ToTrough;
    if (t < b.s_tQ_End) return b.s_aQ_Trough * (1.0 - (t - b.s_tQ_Trough) / b.s_tQ_FromTrough);
    if (t < b.s_tR1_Crest) return b.s_aR1_Crest * (t - b.s_tQ_End) / b.s_tR1_ToCrest;
    if (notched) {
        if (t < b.s_tR1_Trough) {
            return b.s_aR1_Crest - b.s_R1_Amp * (t - b.s_tR1_Crest) / b.s_tR1_ToTrough;
        }
        if (t < b.s_tR2_Crest) {
            return b.s_aR_Trough + b.s_R2_Amp * (t - b.s_tR1_Trough) / b.s_tR2_ToCrest;
        }
        if (t < b.s_tR_End) return b.s_aR2_Crest * (1.0 - (t - b.s_tR2_Crest) / b.s_tR2_ToTrough);
    }
    if (t < b.s_tR_End) return b.s_aR1_Crest * (1.0 - (t - b.s_tR1_Crest) / b.s_tR_ToTrough);
    if (t < b.s_tS_Trough) return b.s_aS_Trough * (t - b.s_tR_End) / b.s_tS_ToTrough;
    if (t < b.s_tS_End) return b.s_aS_Trough;
    if (t < b.s_tT_End) {
        return b.s_aT_Trough * std::sin(kTwoPi * b.p_T_SinFreq * (t - b.s_tT_SinBegin));
    }
    return 0.0;
}
