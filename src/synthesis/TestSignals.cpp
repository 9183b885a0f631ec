#include "synthesis/TestSignals.h"

#include <cmath>
#include <cstdlib>

#include "sources/Tables.h"
#include "synthesis/Callbacks.h"
#include "synthesis/Numbers.h"
#include "synthesis/Parameters.h"
#include "synthesis/PlayClock.h"

Shared<int> s_NST_Noise = 0;
Shared<double> s_NST_gain = 1.0;
Shared<double> g_YY1079DynamicRangeMinVoltage = -300.0;
Shared<double> g_YY1079DynamicRangeMaxVoltage = 300.0;
Shared<double> g_YY1079DynamicRangeSlope = 1.0;

namespace {
constexpr double kMainsHz[] = {50.0, 60.0, 100.0, 120.0, 150.0, 180.0, 200.0, 240.0};
constexpr int kMainsSelectors = 8;
constexpr int kRandomSelector = 9;
constexpr double kRandomMax = 2147483647.0;

constexpr auto kNoiseSamples = static_cast<std::int64_t>(kNoiseRecordSamples);
constexpr double kMicrovoltsPerMv = 1000.0;

constexpr double kOverloadHz[] = {50.0, 60.0, 80.0, 100.0};
constexpr int kOverloads = 4;
constexpr double kOverloadMv = 500.0;

// Input dynamic range: a ramp of 1 mV/s between two rests.
constexpr double kRampStart = 20.0;
constexpr double kRampEnd = 1220.0;
constexpr double kRampRestMv = -300.0;
constexpr double kRampStepMv = 0.5;
constexpr double kTicksPerSecond = 10000.0;
constexpr double kTicksPerStep = 5000.0;
constexpr double kReportSeconds = 0.0003;

const std::int32_t* NoiseRecord(int number)
{
    switch (number) {
        case 1: return g_NoiseRecords + kNoiseRecordSamples;      // EM
        case 2: return g_NoiseRecords + 2 * kNoiseRecordSamples;  // BW
        case 3: return g_NoiseRecords;                            // MA
        default: return nullptr;
    }
}

double Uniform(double amplitude)
{
    return amplitude * (2.0 * static_cast<double>(std::rand()) / kRandomMax - 1.0) * 0.5;
}

// The end is told at low sample rates too, where no sample falls into the time that is reported.
double RestInputDynamicRange(CycleQuantities& c, double time)
{
    const bool leavesRamp = time >= kRampEnd && c.s_InputDynamicRangeDC != kRampRestMv;
    c.s_InputDynamicRangeDC = kRampRestMv;
    c.s_InputDynamicRangeAC = 0.0;
    c.inputDynamicRangeStep = kRampStart * kTicksPerSecond / kTicksPerStep - 1.0;
    const double reportUntil = (time < kRampStart ? 0.0 : kRampEnd) + kReportSeconds;
    if (time < reportUntil || leavesRamp) {
        Tell(g_SyncDCOffsetCB, static_cast<int>(kRampRestMv), reportUntil, time);
    }
    return 0.0;
}
}  // namespace

double SelectedNoiseAt(double time)
{
    const int selector = g_MainNoise;
    const double amplitude = g_MainsNoiseAmp;
    if (selector >= 1 && selector <= kMainsSelectors) {
        return amplitude / 2.0 * std::sin(kTwoPi * kMainsHz[selector - 1] * time);
    }
    return selector == kRandomSelector ? Uniform(amplitude) : 0.0;
}

double GetVoltageNoiseAmplitude() { return VoltageNoiseAt(s_t); }

double DriftTriangleAt(double time)
{
    const double waveLength = g_AAMIDriftTestWaveLen;
    const double amplitude = g_AAMIDriftTestAmp;
    const double slope = DriftSlope(amplitude, waveLength);
    const double tau = time - waveLength * Truncate(time / waveLength);
    if (tau < 0.25 * waveLength) return slope * tau;
    if (tau < 0.75 * waveLength) return amplitude - slope * tau;
    return slope * tau - 2.0 * amplitude;
}

// The last sample of a record is not interpolated: what plays is the one that follows it, the
// first of the next record. Deliberate.
double NstRecordAt(int number, double time)
{
    const std::int32_t* record = NoiseRecord(number);
    const double position = kNoiseRate * time;
    const double whole = Truncate(position);
    if (record == nullptr || !(whole >= 0.0)) return 0.0;
    const std::int64_t i = SaturateTo<std::int64_t>(whole) % kNoiseSamples;
    const double weight = i == kNoiseSamples - 1 ? 1.0 : position - whole;
    const double sample = (1.0 - weight) * record[i] + weight * record[i + 1];
    return sample * s_NST_gain / kMicrovoltsPerMv;
}

double GetNstNoise() { return NstNoiseAt(s_t); }

double YY1079DynamicRangePeriod()
{
    return 2.0 * (g_YY1079DynamicRangeMaxVoltage - g_YY1079DynamicRangeMinVoltage) /
           g_YY1079DynamicRangeSlope;
}

double getYY1079DynamicRangeVoltage(double tc)
{
    const double half = YY1079DynamicRangePeriod() / 2.0;
    if (tc < half) return g_YY1079DynamicRangeMinVoltage + g_YY1079DynamicRangeSlope * tc;
    return g_YY1079DynamicRangeMaxVoltage - g_YY1079DynamicRangeSlope * (tc - half);
}

// The DC part steps once each 0.5 s, at the first sample that rounds to the multiple, from the start
// of the ramp on, and the AC part falls in between. A change of the derived quantities in the middle
// of the ramp sets both back.
double AdvanceInputDynamicRange(CycleQuantities& c, double time, int sampleRate)
{
    if (time < kRampStart || time >= kRampEnd) return RestInputDynamicRange(c, time);
    const double ticks = RoundHalfUp(time * kTicksPerSecond);
    const double step = FloorOf(ticks / kTicksPerStep);
    const double before = c.inputDynamicRangeStep;
    c.inputDynamicRangeStep = step;
    if (before < 0.0 ? ticks == step * kTicksPerStep : step > before) {
        const double dc = c.s_InputDynamicRangeDC - kRampStepMv;
        Tell(g_SyncDCOffsetCB, SaturateTo<int>(dc), dc, c.s_InputDynamicRangeDC);
        c.s_InputDynamicRangeDC = dc;
        c.s_InputDynamicRangeAC = 0.0;
    } else {
        c.s_InputDynamicRangeAC -= 1.0 / sampleRate;
    }
    return c.s_InputDynamicRangeAC;
}

double _GetBaselineOverload(double tc)
{
    const int test = g_BaseLineOverload;
    if (test < 1 || test > kOverloads) return 0.0;
    return kOverloadMv * std::sin(kTwoPi * kOverloadHz[test - 1] * tc);
}
