// Setters with a rule of their own: more codes, a second value, leads.

#include <gtest/gtest.h>

#include "streaming/PendingChange.h"
#include "support/ApiLogFile.h"
#include "support/OfflineRun.h"
#include "support/RegisteredListener.h"
#include "synthesis/BeatModel.h"

namespace {
TEST(Amplitude, IsRefusedWithMinusThreeDuringTheBaselineResetTest)
{
    RegisteredListener listener;
    ApiLogFile log;
    g_BaseLineOverload = 2;
    EXPECT_EQ(VRAXSetAmplitude(2.0), -3);
    EXPECT_EQ(VRAXSetAmplitude(40.01), -2);  // tested first
    EXPECT_EQ(VRAXGetAmplitude(), 1.0);
    EXPECT_EQ(log.NewText(), "");
    g_BaseLineOverload = 0;
    EXPECT_EQ(VRAXSetAmplitude(2.0), 0);
}

TEST(Frequency, IsLimitedToFiveHertzForPulses)
{
    RegisteredListener listener;
    for (const int function : {OUTPUT_RECT_PULSE, OUTPUT_TRIANGLE_PULSE}) {
        OfflineRun run(function);
        EXPECT_EQ(VRAXSetFrequency(5.0), 0);
        EXPECT_EQ(VRAXSetFrequency(5.0001), -2);
        EXPECT_EQ(VRAXSetFrequency(6.0), -2);
        EXPECT_EQ(VRAXGetFrequency(), 5.0);
    }
    OfflineRun run(OUTPUT_SINE);
    EXPECT_EQ(VRAXSetFrequency(6.0), 0);
    EXPECT_EQ(VRAXGetFrequency(), 6.0);
}

TEST(Frequency, OfTheDecayIsStoredAboveItsCeilingAndCutLater)
{
    RegisteredListener listener;
    OfflineRun run(OUTPUT_EXP_DECAY);
    EXPECT_EQ(VRAXSetFrequency(6.0), 0);
    EXPECT_EQ(VRAXGetFrequency(), 6.0);
    Change();
    EXPECT_EQ(VRAXGetFrequency(), 5.0);
}

TEST(Frequency, IsRefusedWithMinusThreeWhileAScanRuns)
{
    RegisteredListener listener;
    s_FreqScanOn = true;
    g_BaseLineOverload = 1;
    EXPECT_EQ(VRAXSetFrequency(2.0), -3);  // before the test's -4
    EXPECT_EQ(VRAXSetFrequency(500.1), -2);
    EXPECT_EQ(VRAXGetFrequency(), 1.0);
}

TEST(Frequency, IsRefusedWithMinusFourDuringTheBaselineResetTest)
{
    RegisteredListener listener;
    ApiLogFile log;
    g_BaseLineOverload = 1;
    EXPECT_EQ(VRAXSetFrequency(2.0), -4);
    EXPECT_EQ(VRAXSetFrequency(0.01), -2);
    EXPECT_EQ(VRAXGetFrequency(), 1.0);
    EXPECT_EQ(log.NewText(), "");
}

TEST(PRInterval, BelowFiftyMakesThePWaveAsShort)
{
    RegisteredListener listener;
    EXPECT_EQ(VRAXSetPDuration(30.0), -2);
    ApiLogFile log;
    EXPECT_EQ(VRAXSetPRInterval(30.0), 0);
    EXPECT_EQ(VRAXGetPDuration(), 30.0);
    EXPECT_EQ(log.NewLines(), Lines{"VRAXSetPRInterval(30);"});
}

TEST(PRInterval, OfFiftyOrMoreMakesAShortPWaveFiftyAgain)
{
    RegisteredListener listener;
    VRAXSetPRInterval(49.9);
    ASSERT_EQ(VRAXGetPDuration(), 49.9);
    VRAXSetPRInterval(50.0);
    EXPECT_EQ(VRAXGetPDuration(), 50.0);
    VRAXSetPDuration(80.0);
    VRAXSetPRInterval(60.0);
    EXPECT_EQ(VRAXGetPDuration(), 80.0);
}

TEST(OvershootAmplitude, StoresAndLogsTheAbsoluteValue)
{
    RegisteredListener listener;
    ApiLogFile log;
    EXPECT_EQ(VRAXSetOvershootAmplitude(-3.0), 0);
    EXPECT_EQ(VRAXGetOvershootAmplitude(), 3.0);
    EXPECT_EQ(log.NewLines(), Lines{"VRAXSetOvershootAmplitude(3.0);"});
    EXPECT_EQ(VRAXSetOvershootAmplitude(-5.0), 0);
    EXPECT_EQ(VRAXSetOvershootAmplitude(-5.01), -2);
    EXPECT_EQ(VRAXGetOvershootAmplitude(), 5.0);
}

TEST(PacingRate, EndsTheSynchronisationWithTheBeat)
{
    RegisteredListener listener;
    EXPECT_TRUE(g_pacingSynchronized);
    EXPECT_EQ(VRAXSetPacingRate(9), -2);
    EXPECT_TRUE(g_pacingSynchronized);
    EXPECT_EQ(VRAXSetPacingRate(80), 0);
    EXPECT_FALSE(g_pacingSynchronized);
}

TEST(PacingRate, RefusesWhatNoIntegerRangeHolds)
{
    RegisteredListener listener;
    EXPECT_EQ(VRAXSetPacingRate(0xFFFFFFFFu), -2);
    EXPECT_EQ(VRAXSetOvershootTimeConstant(0xFFFFFFFFu), -2);
}

TEST(PacingRateSynchronized, IsRefusedWhereTheBeatRateIsNoPacingRate)
{
    RegisteredListener listener;
    ASSERT_EQ(VRAXSetPacingRate(80), 0);
    ApiLogFile log;
    g_F = 0.1666;  // 9.996 a minute
    EXPECT_EQ(VRAXSetPacingRateSynchronized(), -2);
    g_F = 6.001;
    EXPECT_EQ(VRAXSetPacingRateSynchronized(), -2);
    EXPECT_FALSE(g_pacingSynchronized);
    EXPECT_EQ(log.NewText(), "");
    g_F = 6.0;
    EXPECT_EQ(VRAXSetPacingRateSynchronized(), 0);
    g_F = 0.1667;
    EXPECT_EQ(VRAXSetPacingRateSynchronized(), 0);
    EXPECT_TRUE(g_pacingSynchronized);
}

TEST(PacingRateSynchronized, LogsAndRequestsNoChange)
{
    RegisteredListener listener;
    OfflineRun run(OUTPUT_ECG);
    ApiLogFile log;
    EXPECT_EQ(VRAXSetPacingRateSynchronized(), 0);
    EXPECT_FALSE(g_bChangeOnNextCycle);
    EXPECT_EQ(log.NewLines(), Lines{"VRAXSetPacingRateSynchronized();"});
}

TEST(PacingRateSynchronized, WithoutDeviceAndListenerGivesMinusOne)
{
    g_pacingSynchronized = false;
    EXPECT_EQ(VRAXSetPacingRateSynchronized(), -1);
    EXPECT_FALSE(g_pacingSynchronized);
}

TEST(OutputLead, TogglesItsBitAlone)
{
    RegisteredListener listener;
    EXPECT_EQ(GetAllOutputLead(), 1u);
    EXPECT_EQ(VRAXSetOutputLead(3, true), 0);
    EXPECT_EQ(GetAllOutputLead(), 9u);
    EXPECT_TRUE(VRAXGetOutputLead(3));
    EXPECT_FALSE(VRAXGetOutputLead(2));
    EXPECT_EQ(VRAXSetOutputLead(0, false), 0);
    EXPECT_EQ(GetAllOutputLead(), 8u);
    EXPECT_EQ(VRAXSetOutputLead(31, true), 0);
    EXPECT_EQ(GetAllOutputLead(), 0x80000008u);
}

TEST(OutputLead, IsLoggedUnderItsOldNameAlsoWhenNothingChanges)
{
    RegisteredListener listener;
    ApiLogFile log;
    VRAXSetOutputLead(0, true);
    VRAXSetOutputLead(5, false);
    VRAXSetOutputLead(5, true);
    EXPECT_EQ(log.NewLines(), (Lines{"SetOutputLead(0, true);", "SetOutputLead(5, false);",
                                     "SetOutputLead(5, true);"}));
}

TEST(OutputLead, MovesTheRelaysAtOnceAndOnlyWhenItChanges)
{
    RegisteredListener listener;
    VRAXSetOutputLead(2, true);
    EXPECT_EQ(g_nRelayControl & 0x7F0000u, 0x050000u);
    g_nRelayControl = 0u;
    VRAXSetOutputLead(2, true);
    EXPECT_EQ(g_nRelayControl, 0u);
}

TEST(OutputLead, OutsideTheMaskNamesNoLead)
{
    RegisteredListener listener;
    for (const int lead : {-1, 32, 1000, -2147483647 - 1}) {
        EXPECT_EQ(VRAXSetOutputLead(lead, true), 0);
        EXPECT_FALSE(VRAXGetOutputLead(lead));
    }
    EXPECT_EQ(GetAllOutputLead(), 1u);
}

TEST(OutputLead, WithoutDeviceAndListenerGivesMinusOneAndNoLine)
{
    ApiLogFile log;
    EXPECT_EQ(VRAXSetOutputLead(1, true), -1);
    EXPECT_EQ(GetAllOutputLead(), 1u);
    EXPECT_EQ(log.NewText(), "");
}

TEST(AllOutputLeads, AreStoredWithoutALogLineAndMoveTheRelaysWhenDifferent)
{
    ApiLogFile log;
    SetAllOutputLead(0x1FF);
    EXPECT_EQ(GetAllOutputLead(), 0x1FFu);
    EXPECT_EQ(g_nRelayControl & 0x7F0300u, 0x7F0300u);
    g_nRelayControl = 0u;
    SetAllOutputLead(0x1FF);
    EXPECT_EQ(g_nRelayControl, 0u);
    SetAllOutputLead(0xFFFFFFFFu);
    EXPECT_EQ(GetAllOutputLead(), 0xFFFFFFFFu);
    EXPECT_EQ(log.NewText(), "");
}
}  // namespace
