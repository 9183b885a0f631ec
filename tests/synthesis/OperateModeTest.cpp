// The operate mode: a set of bits for what the stream carries.

#include <gtest/gtest.h>

#include "ppg/Channels.h"
#include "support/FittedModule.h"
#include "synthesis/Parameters.h"
#include "synthesis/Relays.h"
#include "synthesis/Respiration.h"

namespace {
int ModeWith(bool channel0, bool channel1, bool channel2, int function = OUTPUT_ECG)
{
    g_bPPGOutputEnabled[0] = channel0;
    g_bPPGOutputEnabled[1] = channel1;
    g_bPPGOutputEnabled[2] = channel2;
    g_MainOutput = function;
    SetRelays(false);
    return g_OperateMode;
}

TEST(OperateMode, IsThreeAtLoad) { EXPECT_EQ(g_OperateMode, 3); }

TEST(OperateMode, IsEightWhileNothingIsSelected)
{
    EXPECT_EQ(ModeWith(false, false, false, OUTPUT_OFF), 8);
    EXPECT_EQ(ModeWith(true, true, true, OUTPUT_OFF), 8);
    FitRespirationModule();
    g_RespirationEnabled = true;
    EXPECT_EQ(ModeWith(false, false, false, OUTPUT_OFF), 8);
}

TEST(OperateMode, IsThreeForTheEcgAlone)
{
    for (const int function : {1, 7, 17, 10000, -1, 18}) {
        EXPECT_EQ(ModeWith(false, false, false, function), 3) << function;
    }
}

TEST(OperateMode, WithoutAModuleFollowsTheChannelsByNumber)
{
    EXPECT_EQ(ModeWith(true, false, false), 3 | 4);
    EXPECT_EQ(ModeWith(false, true, false), 3 | 4);
    EXPECT_EQ(ModeWith(true, true, false), 3 | 4 | 16);
    EXPECT_EQ(ModeWith(false, false, true), 3 | 8);
    EXPECT_EQ(ModeWith(true, false, true), 3 | 4 | 8);
    EXPECT_EQ(ModeWith(true, true, true), 3 | 4 | 8 | 16);
}

TEST(OperateMode, WithAModuleFollowsTheTypesOfItsLeds)
{
    FitPPGModule(0x3407, 1, 2, 0);
    EXPECT_EQ(ModeWith(false, false, false), 3);
    EXPECT_EQ(ModeWith(true, false, false), 3 | 4);
    EXPECT_EQ(ModeWith(false, true, false), 3 | 4);
    EXPECT_EQ(ModeWith(false, false, true), 3 | 8);
    EXPECT_EQ(ModeWith(true, true, true), 3 | 4 | 8);  // both share a bit
}

TEST(OperateMode, LeavesOutALedWithoutAType)
{
    FitPPGModule(0x3307, 1, 2, 3);
    EXPECT_EQ(ModeWith(true, false, false), 3);
    EXPECT_EQ(ModeWith(true, true, true), 3 | 4 | 8);
    FitPPGModule(0x3307, 3, -1, 100);
    EXPECT_EQ(ModeWith(true, true, true), 3);
}

TEST(OperateMode, SetsABitOnceForLedsOfOneType)
{
    FitPPGModule(0x3307, 1, 1, 1);
    EXPECT_EQ(ModeWith(false, true, false), 3 | 4);
    FitPPGModule(0x3307, 2, 2, 0);
    EXPECT_EQ(ModeWith(true, false, true), 3 | 4 | 8);
}

TEST(OperateMode, WithTheRespirationModuleHasNoPPGBits)
{
    FitRespirationModule();
    EXPECT_EQ(ModeWith(true, true, true), 3);
    g_RespirationEnabled = true;
    EXPECT_EQ(ModeWith(true, true, true), 35);
    EXPECT_EQ(ModeWith(false, false, false), 35);
}

TEST(OperateMode, TakesNoRespirationBitWithoutTheModule)
{
    g_RespirationEnabled = true;
    EXPECT_EQ(ModeWith(false, false, false), 3);
}

TEST(OperateMode, AfterARefreshIsTheSameAsAfterTheRelays)
{
    FitPPGModule(0x3307, 1, 2, 3);
    ModeWith(true, true, false);
    _RefreshOperateMode();
    EXPECT_EQ(g_OperateMode, 3 | 4);
    g_MainOutput = OUTPUT_OFF;
    _RefreshOperateMode();
    EXPECT_EQ(g_OperateMode, 8);
}
}  // namespace
