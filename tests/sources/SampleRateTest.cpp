// The sample rate: set, in force, and what follows it.

#include <gtest/gtest.h>

#include "ppg/Channels.h"
#include "streaming/PendingChange.h"
#include "support/ApiLogFile.h"
#include "support/FittedModule.h"
#include "support/OfflineRun.h"
#include "support/RegisteredListener.h"

namespace {
TEST(SampleRate, IsTwentyThousandAtLoad) { EXPECT_EQ(VRAXGetSampleRate(), 20000); }

TEST(SampleRate, TakesAHundredToFortyThousand)
{
    RegisteredListener listener;
    EXPECT_EQ(VRAXSetSampleRate(100), 0);
    EXPECT_EQ(VRAXGetSampleRate(), 100);
    EXPECT_EQ(VRAXSetSampleRate(40000), 0);
    EXPECT_EQ(VRAXGetSampleRate(), 40000);
    for (const int outside : {99, 40001, 0, -1, 2147483647, -2147483647 - 1}) {
        EXPECT_EQ(VRAXSetSampleRate(outside), -2) << outside;
    }
    EXPECT_EQ(VRAXGetSampleRate(), 40000);
}

TEST(SampleRate, IsRefusedWhileStreamingAfterItsRange)
{
    RegisteredListener listener;
    OfflineRun run(OUTPUT_SINE);
    EXPECT_EQ(VRAXSetSampleRate(1000), -3);
    EXPECT_EQ(VRAXSetSampleRate(99), -2);
    EXPECT_EQ(VRAXGetSampleRate(), 20000);
}

TEST(SampleRate, WithoutDeviceAndListenerGivesMinusOneFirst)
{
    EXPECT_EQ(VRAXSetSampleRate(1000), -1);
    EXPECT_EQ(VRAXSetSampleRate(99), -1);
    EXPECT_EQ(VRAXGetSampleRate(), 20000);
}

TEST(SampleRate, CutsTheDividerOfTheOutputSignal)
{
    RegisteredListener listener;
    VRAXRegisterOutputSignalCallback(nullptr, 5000);
    EXPECT_EQ(s_freqDivider, 5000);
    VRAXSetSampleRate(6000);
    EXPECT_EQ(s_freqDivider, 5000);
    VRAXSetSampleRate(400);
    EXPECT_EQ(s_freqDivider, 400);
    VRAXSetSampleRate(20000);
    EXPECT_EQ(s_freqDivider, 400);
}

TEST(SampleRate, IsNotLogged)
{
    RegisteredListener listener;
    ApiLogFile log;
    VRAXSetSampleRate(1000);
    EXPECT_EQ(log.NewText(), "");
}

TEST(SampleRate, InForceIsThePPGsWhileAnyOfItsOutputsIsOn)
{
    RegisteredListener listener;
    VRAXSetSampleRate(2000);
    for (int channel = 0; channel < 3; ++channel) {
        g_bPPGOutputEnabled[channel] = true;
        EXPECT_EQ(VRAXGetSampleRate(), 10000);
        g_bPPGOutputEnabled[channel] = false;
        EXPECT_EQ(VRAXGetSampleRate(), 2000);
    }
}

TEST(SampleRate, InForceIsFiveThousandWithTheRespirationModule)
{
    g_bPPGOutputEnabled[0] = true;
    FitRespirationModule();
    EXPECT_EQ(VRAXGetSampleRate(), 5000);
}

TEST(SdkVersion, IsAConstant) { EXPECT_STREQ(VRAXGetSDKVersion(), "1.2.5.5"); }
}  // namespace
