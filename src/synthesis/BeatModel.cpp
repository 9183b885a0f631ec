#include "synthesis/BeatModel.h"

#include "sources/HeartRatePatterns.h"
#include "sources/RawArray.h"
#include "sources/StandardWaveforms.h"
#include "synthesis/Numbers.h"
#include "synthesis/Pacing.h"
#include "synthesis/Parameters.h"
#include "synthesis/TestSignals.h"

CLatest<CycleQuantities> g_Cycle;
Shared<double> s_tp = 1.0;
Shared<double> g_RangeV4Ch2On = 40.0;
Shared<double> g_RangeV4Ch2Off = 40.0;

namespace {
constexpr double kMsPerSecond = 1000.0;

constexpr double kHighestFrequency = 500.0;
constexpr double kHighestBeatFrequency = 6.0;
constexpr double kHighestPulseFrequency = 5.0;
constexpr double kBaselinePulseFrequency = 1.0;
constexpr double kBaselinePulseWidthMs = 50.0;
constexpr double kMaxDynamicRangeMv = 20.0;

// Standard beat, s.
constexpr double kBeatStart = 0.01;
constexpr double kStSegment = 0.07;
constexpr double kTWave = 0.18;
constexpr double kShortTWave = 0.16;
// The three slopes of the QRS triangle, parts of its duration.
constexpr double kQrsRise = 0.4375;
constexpr double kQrsFall = 0.5;
constexpr double kQrsReturn = 0.0625;

double FrequencyCeiling(int function)
{
    switch (function) {
        case OUTPUT_ECG:
        case OUTPUT_CUSTOM_ECG: return kHighestBeatFrequency;
        case OUTPUT_RECT_PULSE:
        case OUTPUT_TRIANGLE_PULSE:
        case OUTPUT_EXP_DECAY: return kHighestPulseFrequency;
        default: return kHighestFrequency;
    }
}

bool IsParametricBeat(int function)
{
    return function == OUTPUT_ECG || function == OUTPUT_CUSTOM_ECG;
}

double PeriodOf(int function, double frequency)
{
    switch (function) {
        case OUTPUT_YY1079_DYNAMIC_RANGE: return YY1079DynamicRangePeriod();
        case OUTPUT_IEC227: return GetIEC227Period(SpecialWaveFormNo);
        case OUTPUT_IEC251:
        case OUTPUT_ANE20000: return 1.0;
        case OUTPUT_ECG_FILE: return GetRawArrayPeriod();
        case OUTPUT_IEC247: return GetIEC247Period(SpecialWaveFormNo);
        default: return 1.0 / frequency;
    }
}

// The sum of both amplitudes stays within the AC path.
void LimitForDynamicRange(CycleQuantities& cycle, DerivedParameters& rewritten)
{
    const double overlay = g_ADynamicRange / 2.0;
    if (!g_DynamicRangeTest || !(cycle.s_A + overlay > kMaxDynamicRangeMv)) return;
    cycle.s_A = kMaxDynamicRangeMv - overlay;
    rewritten.amplitude = RoundHalfUp(2.0 * cycle.s_A * 100.0) / 100.0;
    rewritten.amplitudeWasLimited = true;
}
}  // namespace

CycleQuantities DeriveCycle(int function, int sampleRate, DerivedParameters& rewritten)
{
    rewritten = {g_F, g_PulseWidth, g_Amplitude, false, false};
    if (function == OUTPUT_BASELINE_PULSE) {
        rewritten.frequency = kBaselinePulseFrequency;
        rewritten.pulseWidth = kBaselinePulseWidthMs;
    }
    if (rewritten.frequency > FrequencyCeiling(function)) {
        rewritten.frequency = FrequencyCeiling(function);
        rewritten.frequencyWasCut = true;
    }

    CycleQuantities cycle;
    cycle.frequency = rewritten.frequency;
    cycle.s_A = IsParametricBeat(function) ? rewritten.amplitude : rewritten.amplitude / 2.0;
    cycle.s_tp = PeriodOf(function, cycle.frequency);
    LimitForDynamicRange(cycle, rewritten);
    cycle.s_PW = rewritten.pulseWidth / kMsPerSecond;
    _CheckECGTime(cycle);
    DerivePacing(cycle, sampleRate);
    if (function == OUTPUT_JJG1041 || function == OUTPUT_JJG1041_SINGLE_R) {
        _SetJJG1041Parameters(cycle, rewritten.amplitude);
    }
    const bool channel2On = g_PA > 0.0 || g_DCVariable;
    cycle.s_Range = channel2On ? g_RangeV4Ch2On : g_RangeV4Ch2Off;
    return cycle;
}

void _CheckECGTime(CycleQuantities& cycle)
{
    double qrs = g_QRSDuration / kMsPerSecond;
    const double period = 1.0 / cycle.frequency;
    double st = kStSegment;
    double t = kTWave;
    if (qrs + st + t > period) {
        st = 0.0;
        if (qrs + t > period) t = kShortTWave;
        if (qrs + t > period) t = 0.0;
        if (qrs > period) qrs = period;
    }
    cycle.s_t1 = kBeatStart + kQrsRise * qrs;
    cycle.s_t2 = cycle.s_t1 + kQrsFall * qrs;
    cycle.s_t3 = cycle.s_t2 + kQrsReturn * qrs;
    cycle.s_t4 = cycle.s_t3 + st;
    cycle.s_t5 = cycle.s_t4 + t;

    const double room = g_QTInterval / kMsPerSecond - qrs;
    double customT = g_TDuration / kMsPerSecond;
    double customSt = room - customT;
    if (customT > room) {
        customSt = 0.0;
        customT = 0.0;
    }
    cycle.s_Cus_t1 = g_PDuration / kMsPerSecond;
    cycle.s_Cus_t2 = cycle.s_Cus_t1 + (g_PRInterval - g_PDuration) / kMsPerSecond;
    cycle.s_Cus_t3 = cycle.s_Cus_t2 + kQrsRise * qrs;
    cycle.s_Cus_t4 = cycle.s_Cus_t3 + kQrsFall * qrs;
    cycle.s_Cus_t5 = cycle.s_Cus_t4 + kQrsReturn * qrs;
    cycle.s_Cus_t6 = cycle.s_Cus_t5 + customSt;
    cycle.s_Cus_t7 = cycle.s_Cus_t6 + customT;
    cycle.s_Cus_v125 = -cycle.s_A / 7.0;
}
