// What is derived from the parameters: amplitude, period, ceilings, segments, pacing.

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <thread>

#include "sources/RawArray.h"
#include "synthesis/BeatModel.h"
#include "synthesis/Pacing.h"
#include "synthesis/Parameters.h"
#include "synthesis/TestSignals.h"

namespace {
constexpr int kRate = 20000;

DerivedParameters s_rewritten;

CycleQuantities Derive(int function, int rate = kRate)
{
    return DeriveCycle(function, rate, s_rewritten);
}

// Half old and half new would show as a segment that is no part of its period.
TEST(Derivation, IsSeenWholeByTheThreadThatComputesSamples)
{
    std::atomic<bool> done{false};
    std::thread setter([&] {
        for (int i = 0; i < 20000; ++i) {
            g_F = i % 2 == 0 ? 1.0 : 4.0;
            g_Cycle.Publish(Derive(OUTPUT_JJG1041));
        }
        done = true;
    });
    bool whole = true;
    while (!done) {
        const CycleQuantities& cycle = g_Cycle.Read();
        if (cycle.jjg.s_tT_End == 0.0) continue;  // nothing published yet
        const double end = 0.75 * cycle.s_tp * (0.1653 + 0.516);
        if (std::fabs(cycle.jjg.s_tT_End - end) > 1e-9) whole = false;
        if (cycle.frequency * cycle.s_tp != 1.0) whole = false;
    }
    setter.join();
    EXPECT_TRUE(whole);
}

TEST(WorkingAmplitude, IsHalfOfThePeakToPeakButTheWholeForTheBeats)
{
    g_Amplitude = 3.0;
    for (const int function : {1, 2, 3, 4, 5, 6, 8, 9, 10, 11, 12, 13, 15, 16, 17, 10000, 18}) {
        EXPECT_EQ(Derive(function).s_A, 1.5) << function;
    }
    EXPECT_EQ(Derive(OUTPUT_ECG).s_A, 3.0);
    EXPECT_EQ(Derive(OUTPUT_CUSTOM_ECG).s_A, 3.0);
}

TEST(FrequencyCeiling, CutsBeatsToSixAndPulsesToFiveHertz)
{
    const struct {
        int function;
        double ceiling;
    } kCeilings[] = {{7, 6}, {14, 6}, {4, 5}, {5, 5}, {6, 5}};
    for (const auto& [function, ceiling] : kCeilings) {
        g_F = ceiling;
        Derive(function);
        EXPECT_FALSE(s_rewritten.frequencyWasCut) << function;
        g_F = ceiling + 0.001;
        EXPECT_EQ(Derive(function).s_tp, 1.0 / ceiling) << function;
        EXPECT_TRUE(s_rewritten.frequencyWasCut);
        EXPECT_EQ(s_rewritten.frequency, ceiling);
    }
    g_F = 500.0;
    for (const int function : {1, 2, 3, 10, 11, 18}) {
        EXPECT_EQ(Derive(function).s_tp, 0.002) << function;
        EXPECT_FALSE(s_rewritten.frequencyWasCut);
    }
}

TEST(Derivation, ChangesNoParameter)
{
    g_F = 8.0;
    g_PulseWidth = 70.0;
    Derive(OUTPUT_BASELINE_PULSE);
    Derive(OUTPUT_ECG);
    EXPECT_EQ(g_F, 8.0);
    EXPECT_EQ(g_PulseWidth, 70.0);
}

TEST(BaselinePulse, ForcesOneHertzAndFiftyMilliseconds)
{
    g_F = 3.0;
    const CycleQuantities cycle = Derive(OUTPUT_BASELINE_PULSE);
    EXPECT_EQ(cycle.s_tp, 1.0);
    EXPECT_EQ(cycle.s_PW, 0.05);
    EXPECT_EQ(s_rewritten.frequency, 1.0);
    EXPECT_EQ(s_rewritten.pulseWidth, 50.0);
    EXPECT_FALSE(s_rewritten.frequencyWasCut);
}

TEST(Period, IsThatOfTheTableOrRecordWhereThereIsOne)
{
    g_F = 2.0;
    EXPECT_EQ(Derive(OUTPUT_SINE).s_tp, 0.5);
    EXPECT_EQ(Derive(OUTPUT_IEC251).s_tp, 1.0);
    EXPECT_EQ(Derive(OUTPUT_ANE20000).s_tp, 1.0);
    EXPECT_EQ(Derive(OUTPUT_YY1079_DYNAMIC_RANGE).s_tp, 1200.0);
    const double samples[600] = {};
    ASSERT_EQ(SetRawArray(600, samples, 250), 0);
    EXPECT_DOUBLE_EQ(Derive(OUTPUT_ECG_FILE).s_tp, 2.4);
}

TEST(Period, OfTheYY1079RampIsTwiceItsSpanByItsSlope)
{
    g_YY1079DynamicRangeMinVoltage = -100.0;
    g_YY1079DynamicRangeMaxVoltage = 50.0;
    g_YY1079DynamicRangeSlope = 2.0;
    EXPECT_EQ(Derive(OUTPUT_YY1079_DYNAMIC_RANGE).s_tp, 150.0);
}

TEST(DynamicRange, ReducesTheAmplitudeSoThatTheSumStaysWithinTwentyMillivolts)
{
    g_DynamicRangeTest = true;
    g_ADynamicRange = 3.0;
    g_Amplitude = 37.0;  // 18.5 + 1.5 is 20: fits
    EXPECT_EQ(Derive(OUTPUT_SQUARE).s_A, 18.5);
    EXPECT_EQ(s_rewritten.amplitude, 37.0);
    g_Amplitude = 37.01;
    EXPECT_EQ(Derive(OUTPUT_SQUARE).s_A, 18.5);
    EXPECT_EQ(s_rewritten.amplitude, 37.0);
    g_ADynamicRange = 0.333;
    g_Amplitude = 40.0;
    EXPECT_DOUBLE_EQ(Derive(OUTPUT_SQUARE).s_A, 19.8335);
    EXPECT_DOUBLE_EQ(s_rewritten.amplitude, 39.67);  // half up from 39.667
    g_DynamicRangeTest = false;
    EXPECT_EQ(Derive(OUTPUT_SQUARE).s_A, 20.0);
}

TEST(Segments, OfTheStandardBeat)
{
    const CycleQuantities cycle = Derive(OUTPUT_ECG);
    EXPECT_NEAR(cycle.s_t1, 0.05375, 1e-12);
    EXPECT_NEAR(cycle.s_t2, 0.10375, 1e-12);
    EXPECT_NEAR(cycle.s_t3, 0.11, 1e-12);
    EXPECT_NEAR(cycle.s_t4, 0.18, 1e-12);
    EXPECT_NEAR(cycle.s_t5, 0.36, 1e-12);
}

TEST(Segments, OfTheStandardBeatAtFiveHertzAreTheQrsAlone)
{
    g_F = 5.0;
    const CycleQuantities cycle = Derive(OUTPUT_ECG);
    EXPECT_EQ(cycle.s_t4, cycle.s_t3);
    EXPECT_EQ(cycle.s_t5, cycle.s_t4);
}

TEST(Segments, OfTheCustomisedBeat)
{
    g_Amplitude = 7.0;
    const CycleQuantities cycle = Derive(OUTPUT_CUSTOM_ECG);
    EXPECT_NEAR(cycle.s_Cus_t1, 0.1, 1e-12);
    EXPECT_NEAR(cycle.s_Cus_t2, 0.16, 1e-12);
    EXPECT_NEAR(cycle.s_Cus_t3, 0.20375, 1e-12);
    EXPECT_NEAR(cycle.s_Cus_t4, 0.25375, 1e-12);
    EXPECT_NEAR(cycle.s_Cus_t5, 0.26, 1e-12);
    EXPECT_NEAR(cycle.s_Cus_t6, 0.33, 1e-12);
    EXPECT_NEAR(cycle.s_Cus_t7, 0.51, 1e-12);
    EXPECT_DOUBLE_EQ(cycle.s_Cus_v125, -1.0);
}

TEST(OutputClamp, FollowsPacingAndTheVariableMode)
{
    g_RangeV4Ch2On = 11.0;
    g_RangeV4Ch2Off = 22.0;
    EXPECT_EQ(Derive(OUTPUT_ECG).s_Range, 11.0);
    g_DCVariable = false;
    EXPECT_EQ(Derive(OUTPUT_ECG).s_Range, 22.0);
    g_PA = -1.0;
    EXPECT_EQ(Derive(OUTPUT_ECG).s_Range, 22.0);
    g_PA = 1.0;
    EXPECT_EQ(Derive(OUTPUT_ECG).s_Range, 11.0);
}

TEST(OutputClamp, IsFortyMillivoltsAtLoad)
{
    EXPECT_EQ(g_RangeV4Ch2On, 40.0);
    EXPECT_EQ(g_RangeV4Ch2Off, 40.0);
}

TEST(Pacing, IsDerivedWithAnAmplitudeAlone)
{
    const CycleQuantities without = Derive(OUTPUT_ECG);
    EXPECT_EQ(without.s_PulsesRequired, 0);
    EXPECT_EQ(without.s_PacDelayTP, 0.0);
    g_PA = 5.0;
    g_PacingOvershootTC = 40u;
    EXPECT_EQ(Derive(OUTPUT_ECG).s_PulsesRequired, 1);
    EXPECT_EQ(Derive(OUTPUT_ECG).s_PacDelayTP, 0.01);
    EXPECT_DOUBLE_EQ(Derive(OUTPUT_ECG).s_OTC, 0.04);
    EXPECT_EQ(Derive(OUTPUT_ECG).g_nPacingPulseCount, 1000);
    for (const int mode : {1, 2, -1, 100}) {
        g_PacingPulse = mode;
        EXPECT_EQ(Derive(OUTPUT_ECG).s_PulsesRequired, 2);
    }
}

TEST(Pacing, PulseLengthIsRoundedToSamples)
{
    g_PA = 5.0;
    const auto samples = [](double ms, int rate) {
        g_PacingDuration = ms;
        return Derive(OUTPUT_ECG, rate).g_nPacingDurationCounter;
    };
    EXPECT_EQ(samples(2.0, 1000), 2.0);
    EXPECT_EQ(samples(0.03, 1000), 0.0);
    EXPECT_EQ(samples(0.5, 1000), 1.0);  // half up
    EXPECT_EQ(samples(0.03, 20000), 1.0);
    EXPECT_EQ(samples(3.0, 40000), 120.0);
}

TEST(Pacing, PeriodFollowsASynchronisedBeatBetweenASixthOfASecondAndSixSeconds)
{
    g_PA = 5.0;
    g_PacingRate = 90u;
    const double own = 60.0 / 90.0;
    const auto period = [](double frequency, bool synchronised) {
        g_F = frequency;
        g_pacingSynchronized = synchronised;
        return Derive(OUTPUT_SINE).s_pp;
    };
    EXPECT_EQ(period(2.0, true), 0.5);
    EXPECT_EQ(period(2.0, false), own);
    EXPECT_EQ(period(6.0, true), 1.0 / 6.0);
    EXPECT_EQ(period(6.1, true), own);
    EXPECT_EQ(period(0.17, true), 1.0 / 0.17);
    EXPECT_EQ(period(0.125, true), own);  // 7.5 a minute
    EXPECT_EQ(period(0.125, false), own);
}

TEST(Pacing, DriftIsWhatWholeTicksLeaveOver)
{
    // 60: 40000 ticks each, nothing left. 70: 34285 ticks each leave 50 of a minute's 2400000.
    EXPECT_EQ(ComputeDelayPerSec(60), 0.0);
    EXPECT_DOUBLE_EQ(ComputeDelayPerSec(70), 50.0 / 2400000.0);
    EXPECT_DOUBLE_EQ(ComputeDelayPerSec(361), (2400000.0 - 6648.0 * 361.0) / 2400000.0);
    EXPECT_EQ(ComputeDelayPerSec(10), 0.0);
}
}  // namespace
