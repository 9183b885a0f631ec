// The setters of the test signals and disturbances.

#include <gtest/gtest.h>

#include <chrono>
#include <limits>
#include <utility>

#include "streaming/PendingChange.h"
#include "support/ApiLogFile.h"
#include "support/OfflineRun.h"
#include "support/RegisteredListener.h"
#include "synthesis/TestSignals.h"

namespace {
const double kNaN = std::numeric_limits<double>::quiet_NaN();

using MainFunctionCalls = std::vector<std::pair<int, double>>;
MainFunctionCalls s_mainFunctionCalls;
std::vector<int> s_baselineCalls;

void RegisterMainFunctionCallback()
{
    VRAXRegisterSyncMainFunctionCB(
        [](int function, double value) { s_mainFunctionCalls.emplace_back(function, value); });
}

TEST(Noise, TakesAmplitudesFromOneHundredthToFiveMillivolts)
{
    RegisteredListener listener;
    EXPECT_EQ(VRAXGetECG2_27_NoiseFreq(), 0);
    EXPECT_EQ(VRAXGetECG2_27_NoiseAmp(), 0.1);
    EXPECT_EQ(VRAXSetECG2_27_Noise(1, 0.01), 0);
    EXPECT_EQ(VRAXSetECG2_27_Noise(9, 5.0), 0);
    EXPECT_EQ(VRAXSetECG2_27_Noise(2, 0.0099), -2);
    EXPECT_EQ(VRAXSetECG2_27_Noise(2, 5.001), -2);
    EXPECT_EQ(VRAXGetECG2_27_NoiseFreq(), 9);
    EXPECT_EQ(VRAXGetECG2_27_NoiseAmp(), 5.0);
    EXPECT_EQ(VRAXSetECG2_27_Noise(1, kNaN), 0);
}

TEST(Noise, StoresAnySelector)
{
    RegisteredListener listener;
    for (const int selector : {-1, 10, 2147483647}) {
        EXPECT_EQ(VRAXSetECG2_27_Noise(selector, 1.0), 0);
        EXPECT_EQ(VRAXGetECG2_27_NoiseFreq(), selector);
    }
}

TEST(Noise, LogsBothValuesAndTakesEffectWithTheNextCycle)
{
    RegisteredListener listener;
    OfflineRun run(OUTPUT_ECG);
    ApiLogFile log;
    VRAXSetECG2_27_Noise(3, 0.456);
    EXPECT_EQ(log.NewLines(), Lines{"VRAXSetECG2_27_Noise(3, 0.46);"});
    EXPECT_TRUE(g_bChangeOnNextCycle);
}

TEST(Noise, WithoutDeviceAndListenerGivesMinusOne)
{
    EXPECT_EQ(VRAXSetECG2_27_Noise(1, 99.0), -1);
    EXPECT_EQ(VRAXGetECG2_27_NoiseFreq(), 0);
}

TEST(Drift, SlopeIsTwiceTheAmplitudeInAWavelength)
{
    RegisteredListener listener;
    EXPECT_DOUBLE_EQ(DriftTriangleAt(0.25), 0.25 * 0.8);
    VRAXSetECG2_27_AAMIDriftTestAmplitude(6.0);
    EXPECT_DOUBLE_EQ(DriftTriangleAt(0.25), 0.25 * 1.2);
    VRAXSetECG2_27_AAMIDriftTestFrequency(0.5);
    EXPECT_DOUBLE_EQ(g_AAMIDriftTestWaveLen, 2.0);
    EXPECT_DOUBLE_EQ(DriftTriangleAt(0.25), 0.25 * 6.0);
}

TEST(Drift, ValuesRequestAChangeWhileTheTestIsOnAlone)
{
    RegisteredListener listener;
    OfflineRun run(OUTPUT_ECG);
    VRAXSetECG2_27_AAMIDriftTestAmplitude(2.0);
    VRAXSetECG2_27_AAMIDriftTestFrequency(0.2);
    EXPECT_FALSE(g_bChangeOnNextCycle);
    g_AAMIDriftTest = true;
    VRAXSetECG2_27_AAMIDriftTestAmplitude(3.0);
    EXPECT_TRUE(g_bChangeOnNextCycle);
    g_bChangeOnNextCycle = false;
    VRAXSetECG2_27_AAMIDriftTestFrequency(0.3);
    EXPECT_TRUE(g_bChangeOnNextCycle);
}

TEST(DynamicRangeTest, ChecksTheAmplitudeBeforeTheFrequency)
{
    RegisteredListener listener;
    ApiLogFile log;
    EXPECT_EQ(VRAXSetDynamicRangeTest(true, true, 10.01, 0.5), -2);
    EXPECT_EQ(VRAXSetDynamicRangeTest(true, true, -0.01, 40.0), -2);
    EXPECT_EQ(VRAXSetDynamicRangeTest(true, true, 1.0, 0.99), -3);
    EXPECT_EQ(VRAXSetDynamicRangeTest(true, true, 1.0, 60.01), -3);
    EXPECT_FALSE(VRAXGetDynamicRangeTest());
    EXPECT_EQ(VRAXGetDynamicRangeTestAmplitude(), 1.0);
    EXPECT_EQ(VRAXGetDynamicRangeTestFrequency(), 40.0);
    EXPECT_EQ(VRAXGetOutputFunction(), OUTPUT_OFF);
    EXPECT_EQ(log.NewText(), "");
}

TEST(DynamicRangeTest, AcceptsBothEndsOfBothRanges)
{
    RegisteredListener listener;
    EXPECT_EQ(VRAXSetDynamicRangeTest(false, false, 0.0, 1.0), 0);
    EXPECT_EQ(VRAXGetDynamicRangeTestAmplitude(), 0.0);
    EXPECT_EQ(VRAXGetDynamicRangeTestFrequency(), 1.0);
    EXPECT_EQ(VRAXSetDynamicRangeTest(false, false, 10.0, 60.0), 0);
    EXPECT_EQ(VRAXGetDynamicRangeTestAmplitude(), 10.0);
    EXPECT_EQ(VRAXGetDynamicRangeTestFrequency(), 60.0);
    EXPECT_EQ(VRAXSetDynamicRangeTest(false, false, kNaN, kNaN), 0);
}

TEST(DynamicRangeTest, SelectsItsFunctionAndWritesItsOwnLineAlone)
{
    RegisteredListener listener;
    ApiLogFile log;
    for (const bool triangle : {true, false}) {
        OfflineRun run(OUTPUT_SINE);
        EXPECT_EQ(VRAXSetDynamicRangeTest(true, triangle, 2.0, 30.0), 0);
        EXPECT_TRUE(VRAXGetDynamicRangeTest());
        EXPECT_EQ(VRAXGetOutputFunction(), triangle ? OUTPUT_TRIANGLE : OUTPUT_SQUARE);
        EXPECT_TRUE(g_bChangeOnNextCycle);
        EXPECT_EQ(VRAXSetDynamicRangeTest(false, triangle, 2.0, 30.0), 0);
        EXPECT_FALSE(VRAXGetDynamicRangeTest());
        EXPECT_EQ(VRAXGetOutputFunction(), OUTPUT_OFF);
        g_bChangeOnNextCycle = false;
    }
    EXPECT_EQ(log.NewLines(), (Lines{"VRAXSetDynamicRangeTest(true, true, 2.0, 30);",
                                     "VRAXSetDynamicRangeTest(false, true, 2.0, 30);",
                                     "VRAXSetDynamicRangeTest(true, false, 2.0, 30);",
                                     "VRAXSetDynamicRangeTest(false, false, 2.0, 30);"}));
}

TEST(DynamicRangeTest, WithoutDeviceAndListenerGivesMinusOne)
{
    EXPECT_EQ(VRAXSetDynamicRangeTest(true, true, 99.0, 99.0), -1);
    EXPECT_EQ(VRAXGetOutputFunction(), OUTPUT_OFF);
}

TEST(SineScan, TestsStartThenStopThenSeconds)
{
    RegisteredListener listener;
    ApiLogFile log;
    EXPECT_EQ(VRAXSetFrequencyScanSine(true, 9, 0.66, 500.1), -2);
    EXPECT_EQ(VRAXSetFrequencyScanSine(true, 9, 500.01, 150.0), -2);
    EXPECT_EQ(VRAXSetFrequencyScanSine(true, 9, 1.0, 0.66), -3);
    EXPECT_EQ(VRAXSetFrequencyScanSine(true, 9, 1.0, 500.01), -3);
    EXPECT_EQ(VRAXSetFrequencyScanSine(true, 9, 1.0, 150.0), -4);
    EXPECT_EQ(VRAXSetFrequencyScanSine(true, 181, 1.0, 150.0), -4);
    EXPECT_EQ(VRAXGetFrequencyScanSineStartFrequency(), 0.67);
    EXPECT_EQ(VRAXGetFrequencyScanSineStopFrequency(), 150.0);
    EXPECT_EQ(VRAXGetFrequencyScanSineDuration(), 30);
    EXPECT_FALSE(VRAXGetFrequencyScanSine());
    EXPECT_EQ(log.NewText(), "");
}

TEST(SineScan, AcceptsBothEndsOfItsRanges)
{
    RegisteredListener listener;
    EXPECT_EQ(VRAXSetFrequencyScanSine(false, 10, 0.67, 500.0), 0);
    EXPECT_EQ(VRAXGetFrequencyScanSineDuration(), 10);
    EXPECT_EQ(VRAXGetFrequencyScanSineStopFrequency(), 500.0);
    EXPECT_EQ(VRAXSetFrequencyScanSine(false, 180, 500.0, 0.67), 0);
    EXPECT_EQ(VRAXGetFrequencyScanSineDuration(), 180);
    EXPECT_EQ(VRAXGetFrequencyScanSineStartFrequency(), 500.0);
    EXPECT_EQ(VRAXGetFrequencyScanSineStopFrequency(), 0.67);
    EXPECT_EQ(VRAXSetFrequencyScanSine(false, 30, kNaN, kNaN), 0);
}

TEST(SineScan, StartsAtItsFirstFrequencyAndTellsTheStep)
{
    RegisteredListener listener;
    RegisterMainFunctionCallback();
    OfflineRun run(OUTPUT_ECG, 1000);
    ApiLogFile log;
    EXPECT_EQ(VRAXSetFrequencyScanSine(true, 20, 10.0, 50.0), 0);
    EXPECT_TRUE(VRAXGetFrequencyScanSine());
    EXPECT_TRUE(s_FreqScanOn);
    EXPECT_EQ(VRAXGetFrequency(), 10.0);
    EXPECT_EQ(VRAXGetOutputFunction(), OUTPUT_SINE);
    EXPECT_DOUBLE_EQ(s_Fd, 40.0 / 20.0 / 1000.0);
    EXPECT_TRUE(g_bChangeOnNextCycle);
    ASSERT_EQ(s_mainFunctionCalls.size(), 1u);
    EXPECT_EQ(s_mainFunctionCalls[0].first, 1);
    EXPECT_DOUBLE_EQ(s_mainFunctionCalls[0].second, 0.002);
    EXPECT_EQ(log.NewLines(), Lines{"VRAXSetFrequencyScanSine(true, 10.00, 50.00, 20);"});
}

TEST(SineScan, OffSelectsOffTellsTheStopFrequencyAndLeavesTheScanRunning)
{
    RegisteredListener listener;
    OfflineRun run(OUTPUT_ECG);
    VRAXSetFrequencyScanSine(true, 20, 10.0, 50.0);
    RegisterMainFunctionCallback();
    ApiLogFile log;
    EXPECT_EQ(VRAXSetFrequencyScanSine(false, 30, 11.0, 51.0), 0);
    EXPECT_EQ(VRAXGetOutputFunction(), OUTPUT_OFF);
    EXPECT_EQ(s_mainFunctionCalls, (MainFunctionCalls{{0, 51.0}}));
    EXPECT_TRUE(s_FreqScanOn);
    EXPECT_EQ(log.NewLines(), Lines{"VRAXSetFrequencyScanSine(false, 11.00, 51.00, 30);"});
}

TEST(SineScan, OffWhileNothingIsSelectedStoresAlone)
{
    RegisteredListener listener;
    RegisterMainFunctionCallback();
    EXPECT_EQ(VRAXSetFrequencyScanSine(false, 60, 2.0, 3.0), 0);
    EXPECT_EQ(VRAXGetFrequencyScanSineStartFrequency(), 2.0);
    EXPECT_TRUE(s_mainFunctionCalls.empty());
}

TEST(SineScan, WithoutDeviceAndListenerGivesMinusOne)
{
    EXPECT_EQ(VRAXSetFrequencyScanSine(true, 0, 0.0, 0.0), -1);
    EXPECT_EQ(VRAXSetFrequencyScanECG(true), -1);
    EXPECT_FALSE(s_FreqScanOn);
}

TEST(EcgScan, RunsFromOneTwentiethToHalfAHertzInThirtySeconds)
{
    RegisteredListener listener;
    RegisterMainFunctionCallback();
    OfflineRun run(OUTPUT_SINE, 1000);
    ApiLogFile log;
    EXPECT_FALSE(VRAXGetFrequencyScanECG());
    EXPECT_EQ(VRAXSetFrequencyScanECG(true), 0);
    EXPECT_TRUE(VRAXGetFrequencyScanECG());
    EXPECT_TRUE(s_FreqScanOn);
    EXPECT_EQ(VRAXGetFrequency(), 0.05);
    EXPECT_EQ(VRAXGetFrequencyScanSineStartFrequency(), 0.05);
    EXPECT_EQ(VRAXGetFrequencyScanSineStopFrequency(), 0.5);
    EXPECT_EQ(VRAXGetOutputFunction(), OUTPUT_ECG);
    EXPECT_TRUE(g_bChangeOnNextCycle);
    ASSERT_EQ(s_mainFunctionCalls.size(), 1u);
    EXPECT_EQ(s_mainFunctionCalls[0].first, 7);
    EXPECT_DOUBLE_EQ(s_mainFunctionCalls[0].second, 0.45 / 30.0 / 1000.0);
    EXPECT_EQ(log.NewLines(), Lines{"SetFreqScanECG(true);"});
}

TEST(EcgScan, OffSelectsOffAndTellsSo)
{
    RegisteredListener listener;
    RegisterMainFunctionCallback();
    OfflineRun run(OUTPUT_SINE);
    ApiLogFile log;
    EXPECT_EQ(VRAXSetFrequencyScanECG(false), 0);
    EXPECT_EQ(VRAXGetOutputFunction(), OUTPUT_OFF);
    EXPECT_EQ(s_mainFunctionCalls, (MainFunctionCalls{{0, 0.0}}));
    EXPECT_EQ(log.NewLines(), Lines{"SetFreqScanECG(false);"});
}

// Returns milliseconds.
double TimeOfBaselineTest(int test, int expected)
{
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(VRAXSetBaselineResetTest(test), expected);
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
        .count();
}

TEST(BaselineResetTest, SelectsTheSineWithTheNextCycleAndWritesItsOwnLineAlone)
{
    RegisteredListener listener;
    OfflineRun run(OUTPUT_ECG);
    ApiLogFile log;
    EXPECT_EQ(VRAXGetBaselineResetTest(), 0);
    EXPECT_EQ(VRAXSetBaselineResetTest(3), 0);
    EXPECT_EQ(VRAXGetBaselineResetTest(), 3);
    EXPECT_EQ(VRAXGetOutputFunction(), OUTPUT_SINE);
    EXPECT_TRUE(g_bChangeOnNextCycle);
    EXPECT_EQ(log.NewLines(), Lines{"VRAXSetBaselineResetTest(3);"});
}

TEST(BaselineResetTest, OffLeavesTheFunctionAlone)
{
    RegisteredListener listener;
    OfflineRun run(OUTPUT_SINE);
    VRAXSetBaselineResetTest(1);
    EXPECT_EQ(VRAXSetBaselineResetTest(0), 0);
    EXPECT_EQ(VRAXGetOutputFunction(), OUTPUT_SINE);
    EXPECT_EQ(VRAXGetBaselineResetTest(), 0);
}

TEST(BaselineResetTest, TellsTheCallbackOfChangesBeforeTheyAreStored)
{
    RegisteredListener listener;
    OfflineRun run(OUTPUT_SINE);
    RegisterBaselineResetCB([](int test) {
        s_baselineCalls.push_back(test);
        s_baselineCalls.push_back(g_BaseLineOverload);
    });
    VRAXSetBaselineResetTest(0);
    VRAXSetBaselineResetTest(4);
    VRAXSetBaselineResetTest(4);
    VRAXSetBaselineResetTest(2);
    EXPECT_EQ(s_baselineCalls, (std::vector<int>{4, 0, 2, 4}));
}

TEST(BaselineResetTest, ReturnsAHundredMillisecondsLaterAlsoWhenNothingChanges)
{
    RegisteredListener listener;
    OfflineRun run(OUTPUT_SINE);
    ApiLogFile log;
    EXPECT_GE(TimeOfBaselineTest(1, 0), 100.0);
    EXPECT_GE(TimeOfBaselineTest(1, 0), 100.0);
    EXPECT_EQ(log.NewLines(),
              (Lines{"VRAXSetBaselineResetTest(1);", "VRAXSetBaselineResetTest(1);"}));
}

TEST(BaselineResetTest, WithoutDeviceAndListenerGivesMinusOne)
{
    ApiLogFile log;
    EXPECT_EQ(VRAXSetBaselineResetTest(1), -1);
    EXPECT_EQ(VRAXGetBaselineResetTest(), 0);
    EXPECT_EQ(log.NewText(), "");
}
}  // namespace
