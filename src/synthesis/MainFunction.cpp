#include "synthesis/MainFunction.h"

#include <cmath>

#include "sources/RawArray.h"
#include "sources/StandardWaveforms.h"
#include "synthesis/Numbers.h"
#include "synthesis/Parameters.h"
#include "synthesis/PlayClock.h"
#include "synthesis/Respiration.h"
#include "synthesis/TestSignals.h"
#include "vrax.h"

namespace {
constexpr double kDecaySeconds = 0.05;
constexpr double kEdgeSeconds = 0.001;
constexpr double kBeatStart = 0.01;
// The QRS triangle: 7/8 of its height above the baseline, 1/8 below.
constexpr double kAbove = 0.875;
constexpr double kBelow = 0.125;
constexpr double kTWavePeriod = 0.36;
constexpr double kLateT = 0.09;           // of a T wave over a deviated ST
constexpr double kMsPerHalfSine = 0.002;  // 2 s per 1000 ms
constexpr double kTriangleClampMv = 5.0;
constexpr double kSquareClampMv = 20.0;  // differs from the triangle's, deliberately

Shared<void (*)(double, double)> s_waveformEnd = nullptr;

// Cycles of the beat under heart-rate modulation. Thread that builds packets only.
double s_FreqMod_Phase = 0.0;

double ClampTo(double v, double limit) { return v > limit ? limit : v < -limit ? -limit : v; }

int RateAt(const SamplePosition& position)
{
    return position.sampleRate != 0 ? position.sampleRate : _GetSampleRate();
}

void CheckLoop(bool loops, const CycleQuantities& cycle, const SamplePosition& position)
{
    if (loops || !(position.s_t > cycle.s_tp)) return;
    if (position.ended != nullptr) {
        *position.ended = true;
        return;
    }
    void (*handler)(double, double) = s_waveformEnd;
    if (handler != nullptr) handler(position.s_t, cycle.s_tp);
}

double Triangle(const CycleQuantities& c, double t)
{
    const double slope = 4.0 * c.s_A / c.s_tp;
    if (t < c.s_tp / 4.0) return slope * t;
    if (t < 3.0 * c.s_tp / 4.0) return 2.0 * c.s_A - slope * t;
    return slope * t - 4.0 * c.s_A;
}

double DynamicRange(double v, const SamplePosition& position, double clamp)
{
    if (!g_DynamicRangeTest) return v;
    v += g_ADynamicRange / 2.0 * std::sin(kTwoPi * g_FDynamicRange * position.s_t);
    return ClampTo(v, clamp);
}

double RectangularPulse(const CycleQuantities& c, double t)
{
    const double height = 2.0 * c.s_A;
    const double end = c.s_PW + kEdgeSeconds;
    if (t < kEdgeSeconds) return height * t / kEdgeSeconds;
    if (t < end - kEdgeSeconds) return height;
    if (t < end) return height - (t - end + kEdgeSeconds) * height / kEdgeSeconds;
    return 0.0;
}

double TriangularPulse(const CycleQuantities& c, double t)
{
    const double start = c.s_PacDelayTP;
    const double slope = 4.0 * c.s_A / c.s_PW;
    if (t < start) return 0.0;
    if (t < start + c.s_PW / 2.0) return (t - start) * slope;
    if (t < start + c.s_PW) return 4.0 * c.s_A - (t - start) * slope;
    return 0.0;
}

double StandardBeat(const CycleQuantities& c, double a, double t)
{
    if (t < kBeatStart) return 0.0;
    if (t < c.s_t1) return kAbove * (t - kBeatStart) / (c.s_t1 - kBeatStart) * a;
    if (t < c.s_t2) return (kAbove - (t - c.s_t1) / (c.s_t2 - c.s_t1)) * a;
    if (t < c.s_t3) return (kBelow * (t - c.s_t2) / (c.s_t3 - c.s_t2) - kBelow) * a;
    if (t >= c.s_t4 && t < c.s_t5) return g_CusT * std::sin(kTwoPi * (t - c.s_t4) / kTWavePeriod);
    return 0.0;
}

// The last 90 ms of a T wave over a deviated ST return along the undeviated half sine; the step at
// the switch is deliberate.
double CustomT(const CycleQuantities& c, double st, double t)
{
    const double half = c.s_Cus_t7 - c.s_Cus_t6;
    const double sine = std::sin(kTwoPi * (t - c.s_Cus_t6) / (2.0 * half));
    if (st != 0.0 && t < c.s_Cus_t7 - kLateT) return st + (g_CusT - st) * sine;
    return g_CusT * sine;
}

double CustomBeat(const CycleQuantities& c, double a, double t)
{
    if (t < c.s_Cus_t1) return g_CusP * std::sin(kTwoPi * t / (kMsPerHalfSine * g_PDuration));
    if (t < c.s_Cus_t2) return 0.0;
    if (t < c.s_Cus_t3) return kAbove * (t - c.s_Cus_t2) / (c.s_Cus_t3 - c.s_Cus_t2) * a;
    if (t < c.s_Cus_t4) return (kAbove - (t - c.s_Cus_t3) / (c.s_Cus_t4 - c.s_Cus_t3)) * a;
    const double st = g_CusST;
    if (t < c.s_Cus_t5) {
        return (t - c.s_Cus_t4) * (a / 8.0 + st) / (c.s_Cus_t5 - c.s_Cus_t4) - a / 8.0;
    }
    if (t < c.s_Cus_t6) return st;
    if (t < c.s_Cus_t7) return CustomT(c, st, t);
    return 0.0;
}

// The time in the beat under heart-rate modulation by the respiration signal `r`.
double ModulatedTime(int function, const CycleQuantities& c, const SamplePosition& position,
                     double r, double t)
{
    const double depth = s_FreqModHz;
    if (depth == 0.0) return t;
    const double rate = RateAt(position);
    const bool running = function == OUTPUT_ECG ? position.s_t >= 1.0 / rate : position.s_t > 0.0;
    if (running) {
        s_FreqMod_Phase += (g_F + depth * r) / rate;
    } else {
        s_FreqMod_Phase = t / c.s_tp;
    }
    return c.s_tp * (s_FreqMod_Phase - Truncate(s_FreqMod_Phase));
}

// Functions 7 and 14: the beat under respiration, with noise and drift, clamped to the output range.
double Beat(int function, const CycleQuantities& c, const SamplePosition& position, double t)
{
    double a = c.s_A;
    double baseline = 0.0;
    if (IsRespirationModulating()) {
        const double r = RespirationVoltageAt(position.s_t);
        t = ModulatedTime(function, c, position, r, t);
        a += s_AmpModV * r;
        baseline = s_BaselineModV * r;
    }
    double v = function == OUTPUT_ECG ? StandardBeat(c, a, t) : CustomBeat(c, a, t);
    v += baseline;
    v += VoltageNoiseAt(position.s_t);
    v += DriftAt(position.s_t);
    return ClampTo(v, c.s_Range);
}

double RawSample(const CycleQuantities& c, const SamplePosition& position, double t)
{
    CheckLoop(s_loopFile, c, position);
    return RawArrayVoltage(t);
}
}  // namespace

void SetWaveformEndHandler(void (*handler)(double t, double period)) { s_waveformEnd = handler; }

double MainFunctionVoltage(int function, CycleQuantities& c, const SamplePosition& position,
                           double t)
{
    switch (function) {
        case OUTPUT_SINE: return c.s_A * std::sin(kTwoPi * c.frequency * t);
        case OUTPUT_TRIANGLE: return DynamicRange(Triangle(c, t), position, kTriangleClampMv);
        case OUTPUT_SQUARE:
            return DynamicRange(t < c.s_tp / 2.0 ? c.s_A : -c.s_A, position, kSquareClampMv);
        case OUTPUT_RECT_PULSE: return RectangularPulse(c, t);
        case OUTPUT_TRIANGLE_PULSE: return TriangularPulse(c, t);
        case OUTPUT_EXP_DECAY: return 2.0 * c.s_A * std::exp(-t / kDecaySeconds);
        case OUTPUT_ECG:
        case OUTPUT_CUSTOM_ECG: return Beat(function, c, position, t);
        case OUTPUT_IEC227:
            CheckLoop(s_loopPlay, c, position);
            return IEC227Voltage(SpecialWaveFormNo, t);
        case OUTPUT_IEC251:
            CheckLoop(s_loopPlay, c, position);
            return IEC251Voltage(SpecialWaveFormNo, t);
        case OUTPUT_JJG1041: return Jjg1041Voltage(c.jjg, true, t);
        case OUTPUT_JJG1041_SINGLE_R: return Jjg1041Voltage(c.jjg, false, t);
        case OUTPUT_BASELINE_PULSE:
            return t < 0.5 ? c.s_A * std::exp(-t / kDecaySeconds)
                           : -c.s_A * std::exp(-(t - 0.5) / kDecaySeconds);
        case OUTPUT_ECG_FILE: return RawSample(c, position, t);
        case OUTPUT_INPUT_DYNAMIC_RANGE:
            return AdvanceInputDynamicRange(c, position.s_t, RateAt(position));
        case OUTPUT_IEC247:
            CheckLoop(s_loopPlay, c, position);
            return GetIEC47RawPoint(SpecialWaveFormNo, t);
        case OUTPUT_ANE20000:
            CheckLoop(s_loopPlay, c, position);
            return ANE20000Voltage(ANE20000ChannelNo, t) + VoltageNoiseAt(position.s_t);
        case OUTPUT_YY1079_DYNAMIC_RANGE: {
            const double v = getYY1079DynamicRangeVoltage(t);
            return v - Truncate(v);  // the whole millivolts go to the DC path
        }
        default: return 0.0;
    }
}

double _GetMainFunctionVoltage(double t)
{
    return MainFunctionVoltage(g_MainOutput, g_Cycle.Read(), {s_t}, t);
}
