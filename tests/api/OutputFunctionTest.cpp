// Selecting the output function, and what applies it: callbacks of the setters, fixed DC codes.

#include <gtest/gtest.h>

#include <chrono>
#include <utility>

#include "streaming/PendingChange.h"
#include "streaming/Playback.h"
#include "support/ApiLogFile.h"
#include "support/OfflineRun.h"
#include "support/RegisteredListener.h"
#include "support/Waiting.h"
#include "synthesis/BeatModel.h"
#include "synthesis/Pacing.h"
#include "synthesis/Protocol.h"

namespace {
TEST(OutputFunction, IsOffAtLoad) { EXPECT_EQ(VRAXGetOutputFunction(), OUTPUT_OFF); }

TEST(OutputFunction, WithoutDeviceAndListenerGivesMinusOneAndNoLine)
{
    ApiLogFile log;
    EXPECT_EQ(VRAXSetOutputFunction(OUTPUT_SINE), -1);
    EXPECT_EQ(VRAXSetOutputFunction(OUTPUT_OFF), -1);
    EXPECT_EQ(VRAXGetOutputFunction(), OUTPUT_OFF);
    EXPECT_EQ(log.NewText(), "");
}

TEST(OutputFunction, HasTheFixedNumbers)
{
    EXPECT_EQ(OUTPUT_OFF, 0);
    EXPECT_EQ(OUTPUT_SINE, 1);
    EXPECT_EQ(OUTPUT_TRIANGLE, 2);
    EXPECT_EQ(OUTPUT_SQUARE, 3);
    EXPECT_EQ(OUTPUT_RECT_PULSE, 4);
    EXPECT_EQ(OUTPUT_TRIANGLE_PULSE, 5);
    EXPECT_EQ(OUTPUT_EXP_DECAY, 6);
    EXPECT_EQ(OUTPUT_ECG, 7);
    EXPECT_EQ(OUTPUT_IEC227, 8);
    EXPECT_EQ(OUTPUT_IEC251, 9);
    EXPECT_EQ(OUTPUT_JJG1041, 10);
    EXPECT_EQ(OUTPUT_JJG1041_SINGLE_R, 11);
    EXPECT_EQ(OUTPUT_BASELINE_PULSE, 12);
    EXPECT_EQ(OUTPUT_ECG_FILE, 13);
    EXPECT_EQ(OUTPUT_CUSTOM_ECG, 14);
    EXPECT_EQ(OUTPUT_INPUT_DYNAMIC_RANGE, 15);
    EXPECT_EQ(OUTPUT_IEC247, 16);
    EXPECT_EQ(OUTPUT_ANE20000, 17);
    EXPECT_EQ(OUTPUT_YY1079_DYNAMIC_RANGE, 10000);
}

TEST(OutputFunction, TakesAnyNumberAndLogsIt)
{
    RegisteredListener listener;
    OfflineRun run(OUTPUT_SINE);
    ApiLogFile log;
    for (const int function : {18, 9999, -1, 10001, 7}) {
        EXPECT_EQ(VRAXSetOutputFunction(function), 0);
        EXPECT_EQ(VRAXGetOutputFunction(), function);
        EXPECT_EQ(log.NewLines(),
                  Lines{"VRAXSetOutputFunction(" + std::to_string(function) + ");"});
    }
}

TEST(OutputFunction, RestartsTheClocksAndFollowsWithTheNextCycle)
{
    RegisteredListener listener;
    OfflineRun run(OUTPUT_SINE);
    run.NextPacket();
    g_UICounter = 5;
    ASSERT_GT(s_t, 0.0);
    VRAXSetOutputFunction(OUTPUT_TRIANGLE);
    EXPECT_EQ(s_t, 0.0);
    EXPECT_EQ(s_tg, 0.0);
    EXPECT_EQ(g_UICounter, 0);
    EXPECT_TRUE(g_bChangeOnNextCycle);
}

TEST(OutputFunction, BaselinePulseIsDerivedAtOnce)
{
    RegisteredListener listener;
    OfflineRun run(OUTPUT_SINE);
    g_F = 3.0;
    VRAXSetOutputFunction(OUTPUT_BASELINE_PULSE);
    EXPECT_FALSE(g_bChangeOnNextCycle);
    EXPECT_EQ(VRAXGetFrequency(), 1.0);
    EXPECT_EQ(VRAXGetPulseWidth(), 50.0);
}

TEST(OutputFunction, OffWhileNothingPlaysIsLoggedAndReturns)
{
    RegisteredListener listener;
    ApiLogFile log;
    EXPECT_EQ(VRAXSetOutputFunction(OUTPUT_OFF), 0);
    EXPECT_EQ(log.NewLines(), Lines{"VRAXSetOutputFunction(0);"});
    EXPECT_EQ(VRAXIsPlaying(), 0);
}

// With the simulation timer in place of an instrument.
TEST(OutputFunction, StartsARunAndOffEndsItBeforeItReturns)
{
    RegisteredListener listener;
    ApiLogFile log;
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_ECG), 0);
    ASSERT_TRUE(Eventually([] { return VRAXIsPlaying() == 1; }));
    EXPECT_EQ(VRAXSetOutputFunction(OUTPUT_OFF), 0);
    EXPECT_EQ(VRAXIsPlaying(), 0);
    EXPECT_FALSE(IsRunGoing());
    EXPECT_EQ(s_t, 0.0);
    EXPECT_EQ(s_tg, 0.0);
    EXPECT_EQ(log.NewLines(), (Lines{"VRAXSetOutputFunction(7);", "VRAXSetOutputFunction(0);",
                                     "VRAXSetBaselineResetTest(0);"}));
}

TEST(OutputFunction, EndOfARunEndsScansTestsAndTheFixedCode)
{
    RegisteredListener listener;
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_ECG), 0);
    ASSERT_TRUE(Eventually([] { return VRAXIsPlaying() == 1; }));
    VRAXSetFrequencyScanSine(true, 30, 1.0, 2.0);
    VRAXSetBaselineResetTest(2);
    SetDcDac(5);
    VRAXSetOutputFunction(OUTPUT_OFF);
    EXPECT_FALSE(s_FreqScanOn);
    EXPECT_FALSE(VRAXGetFrequencyScanSine());
    EXPECT_FALSE(VRAXGetFrequencyScanECG());
    EXPECT_EQ(VRAXGetBaselineResetTest(), 0);
    EXPECT_EQ(GetFixedDcCode(), -1);
    EXPECT_EQ(VRAXSetFrequency(2.0), 0);
}

TEST(Change, CutsTheFrequencyToTheCeilingAndTellsTheCallback)
{
    static std::vector<std::pair<double, double>> s_calls;
    VRAXRegisterSyncFrequencyCB([](double f, double second) { s_calls.emplace_back(f, second); });
    g_F = 8.0;
    OfflineRun run(OUTPUT_ECG);
    EXPECT_EQ(VRAXGetFrequency(), 6.0);
    EXPECT_EQ(s_calls, (std::vector<std::pair<double, double>>{{6.0, 2.0}}));
    Change();  // once only
    EXPECT_EQ(s_calls.size(), 1u);
}

TEST(Change, OfTheDynamicRangeTestShowsTheReducedAmplitude)
{
    RegisteredListener listener;
    OfflineRun run(OUTPUT_SQUARE);
    VRAXSetAmplitude(40.0);
    VRAXSetDynamicRangeTest(true, false, 3.33, 40.0);
    Change();
    // 20 - 1.665, doubled
    EXPECT_DOUBLE_EQ(VRAXGetAmplitude(), 36.67);
    EXPECT_DOUBLE_EQ(g_Cycle.Read().s_A, 18.335);
}

TEST(FixedDcCode, TakesSixteenBitsAndSwitchesTheVariableModeOn)
{
    g_DCVariable = false;
    ApiLogFile log;
    EXPECT_EQ(SetDcDac(-1), 0);
    EXPECT_EQ(SetDcDac(65536), 0);
    EXPECT_EQ(GetFixedDcCode(), -1);
    EXPECT_FALSE(g_DCVariable);
    EXPECT_EQ(SetDcDac(0), 1);
    EXPECT_EQ(GetFixedDcCode(), 0);
    EXPECT_TRUE(g_DCVariable);
    EXPECT_NE(g_nRelayControl & 0x04u, 0u);  // the calibrated path, at once
    EXPECT_EQ(SetDcDac(65535), 1);
    EXPECT_EQ(GetFixedDcCode(), 65535);
    EXPECT_EQ(log.NewText(), "");
}

TEST(FixedDcCode, PlaysASquareWithoutHeight)
{
    RegisteredListener listener;
    ApiLogFile log;
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(PlayFixedDCByDAC(12345), 1);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(20));
    EXPECT_EQ(VRAXGetOutputFunction(), OUTPUT_SQUARE);
    EXPECT_EQ(VRAXGetAmplitude(), 0.0);
    EXPECT_EQ(GetFixedDcCode(), 12345);
    EXPECT_EQ(log.NewLines(), (Lines{"VRAXSetOutputFunction(0);", "VRAXSetAmplitude(0.00);",
                                     "VRAXSetOutputFunction(3);"}));
    VRAXSetOutputFunction(OUTPUT_OFF);
    EXPECT_EQ(GetFixedDcCode(), -1);
}

TEST(FixedDcCode, OutsideSixteenBitsPlaysNothing)
{
    RegisteredListener listener;
    EXPECT_EQ(PlayFixedDCByDAC(65536u), 0);
    EXPECT_EQ(PlayFixedDCByDAC(0xFFFFFFFFu), 0);
    EXPECT_EQ(VRAXGetOutputFunction(), OUTPUT_OFF);
    EXPECT_EQ(VRAXGetAmplitude(), 1.0);
}

TEST(FixedDcCode, FailsWhenTheSettersRefuse) { EXPECT_EQ(PlayFixedDCByDAC(1), 0); }

TEST(ApplyPacing, SendsNowAndFailsWithoutAnInstrument)
{
    ApiLogFile log;
    EXPECT_EQ(VRAXApplyPacing(), 0);
    EXPECT_FALSE(g_PacingApplyRequested);
    EXPECT_EQ(log.NewText(), "");
}

TEST(ApplyPacing, IsNotedForThePacketThreadWhileAConnectedInstrumentPlays)
{
    OfflineRun run(OUTPUT_ECG);
    g_bConnected = 1;
    EXPECT_EQ(VRAXApplyPacing(), 1);
    EXPECT_TRUE(g_PacingApplyRequested);
    g_bConnected = 0;
    run.NextPacket();
    EXPECT_FALSE(g_PacingApplyRequested);
}
}  // namespace
