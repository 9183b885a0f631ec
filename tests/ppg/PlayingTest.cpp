// The calls that are allowed while the stream runs, from another thread than the one that computes
// it.

#include <gtest/gtest.h>

#include <atomic>

#include "support/PpgChannel.h"
#include "support/RegisteredListener.h"
#include "support/Waiting.h"

namespace {
std::atomic<int> s_shown{0};
std::atomic<double> s_highest{0.0};

void Show(double, double value)
{
    if (value > s_highest) s_highest = value;
    s_shown += 1;
}

// Without an instrument the signal is computed at its own pace. The LED types of no module name
// channel 0.
class Playing : public testing::Test {
protected:
    Playing()
    {
        EXPECT_EQ(VRAXSetPPGStandardWaveform(0, 3, 1, 0, 5.0, 1000, 10), 2000);
        EXPECT_EQ(VRAXEnablePPGOutput(0, true), 0);
        g_PPGGraphCBs[0] = Show;
        EXPECT_EQ(VRAXSetOutputFunction(OUTPUT_ECG), 0);
        WaitForSamples(1);
    }
    ~Playing() override { VRAXSetOutputFunction(OUTPUT_OFF); }

    static void WaitForSamples(int more)
    {
        const int until = s_shown + more;
        ASSERT_TRUE(Eventually([=] { return s_shown >= until; }));
    }

    RegisteredListener listener_;
};
}  // namespace

TEST_F(Playing, RefusesToChangeAWaveformAndAnOutput)
{
    const double one = 1.0;
    EXPECT_EQ(VRAXSetPPGStandardWaveform(0, 3, 1, 0, 1.0, 1000, 10), -1);
    EXPECT_EQ(VRAXSetPPGStandardWaveformEx(0, 3, 1, 0, 1, 3, 1, 0, 1, 1000, 10, 1, 1000, 10), -1);
    EXPECT_EQ(VRAXSetPPGRawData(0, 1, 0, 1, &one, &one, 1.0), -1);
    EXPECT_EQ(VRAXEnablePPGOutput(0, false), -1);
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_OFF), 0);
    EXPECT_EQ(VRAXSetPPGStandardWaveform(0, 3, 1, 0, 1.0, 1000, 10), 10000);
    EXPECT_EQ(VRAXEnablePPGOutput(0, false), 0);
}

TEST_F(Playing, GoesOnWhileTransitTimeAndModulationChange)
{
    for (int i = 0; i < 200; ++i) {
        VRAXSetPTTp(i % 300 - 1);
        EXPECT_TRUE(VRAXSetPPGRespirationAlgorithm(i % 50, i % 30, i % 2));
        WaitForSamples(20);
    }
    EXPECT_LE(s_highest, 10.0);
}

TEST_F(Playing, IsSilentAfterTheChannelWasCleared)
{
    WaitForSamples(3000);
    EXPECT_NEAR(s_highest, 10.0, 1e-9);
    VRAXClearPPGWaveform(0);  // no packet is being built when it returns
    s_highest = 0.0;
    WaitForSamples(3000);
    EXPECT_EQ(s_highest, 0.0);
}

TEST_F(Playing, IsSilentAfterAReset)
{
    VRAXReset();
    EXPECT_TRUE(IsEmptyChannel(0));
    EXPECT_EQ(VRAXGetOutputFunction(), OUTPUT_OFF);
}
