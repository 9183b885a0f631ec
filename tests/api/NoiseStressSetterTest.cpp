// VRAXSetNSTNoise: the record and its gain can be chosen while nothing plays.

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "support/ApiLogFile.h"
#include "support/OfflineRun.h"
#include "support/RegisteredListener.h"
#include "synthesis/TestSignals.h"

namespace {
void ExpectStored(int record, double gain)
{
    EXPECT_EQ(s_NST_Noise, record);
    EXPECT_EQ(s_NST_gain, gain);
}

TEST(NoiseStressSetter, StartsWithoutARecordAndWithGainOne) { ExpectStored(0, 1.0); }

// Needs neither an instrument nor a listener.
TEST(NoiseStressSetter, StoresBothValues)
{
    for (const int record : {1, 2, 3, 0}) {
        EXPECT_EQ(VRAXSetNSTNoise(record, 0.5 + record), 0);
        ExpectStored(record, 0.5 + record);
    }
}

TEST(NoiseStressSetter, StoresAnyNumber)
{
    constexpr int kMost = std::numeric_limits<int>::max();
    for (const int record : {4, -1, kMost, -kMost - 1}) {
        EXPECT_EQ(VRAXSetNSTNoise(record, 1.0), 0);
        ExpectStored(record, 1.0);
    }
}

TEST(NoiseStressSetter, TakesGainsFromATenthToTen)
{
    EXPECT_EQ(VRAXSetNSTNoise(1, 0.1), 0);
    ExpectStored(1, 0.1);
    EXPECT_EQ(VRAXSetNSTNoise(2, 10.0), 0);
    ExpectStored(2, 10.0);
    for (const double gain : {0.0999, 10.001, 0.0, -1.0, HUGE_VAL, -HUGE_VAL}) {
        EXPECT_EQ(VRAXSetNSTNoise(3, gain), -2) << gain;
        ExpectStored(2, 10.0);
    }
    EXPECT_EQ(VRAXSetNSTNoise(3, std::nan("")), 0);
    EXPECT_EQ(s_NST_Noise, 3);
}

TEST(NoiseStressSetter, RefusesWhilePlayingBeforeItLooksAtTheGain)
{
    ASSERT_EQ(VRAXSetNSTNoise(2, 3.0), 0);
    {
        OfflineRun run(OUTPUT_SINE);
        for (const double gain : {1.0, 99.0}) EXPECT_EQ(VRAXSetNSTNoise(1, gain), -1);
        ExpectStored(2, 3.0);
    }
    EXPECT_EQ(VRAXSetNSTNoise(1, 1.0), 0);
    ExpectStored(1, 1.0);
}

TEST(NoiseStressSetter, WritesNoLogLine)
{
    RegisteredListener listener;
    ApiLogFile log;
    VRAXSetNSTNoise(1, 2.0);
    VRAXSetNSTNoise(1, 99.0);
    EXPECT_EQ(log.NewText(), "");
}

TEST(NoiseStressSetter, ResetsGoBackToNoneAndGainOne)
{
    RegisteredListener listener;
    for (void (*reset)() : {VRAXReset, VRAXResetEx, VRAXResetAllLeadOff}) {
        ASSERT_EQ(VRAXSetNSTNoise(3, 7.0), 0);
        reset();
        ExpectStored(0, 1.0);
    }
}
}  // namespace
