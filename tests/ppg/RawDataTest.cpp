// A period of the application's own samples.

#include <gtest/gtest.h>

#include <cmath>

#include "support/FittedModule.h"
#include "support/PpgChannel.h"

namespace {
const double kDc[] = {1000.0, 1000.4, -50.0, 5000.0, 1000.0006};
const double kAc[] = {1.0, 2.0004, 31.0, -1.0, 0.0006};
}  // namespace

TEST(RawData, IsRoundedAndItsAmplitudeCutToTheRange)
{
    ASSERT_EQ(VRAXSetPPGRawData(0, 7, 0, 5, kDc, kAc, 250.0), 0);
    EXPECT_EQ(AcSamples(0), (std::vector<int>{1000, 2000, 30000, 0, 1}));
    EXPECT_EQ(DcSamples(0), (std::vector<int>{1000000, 1000400, -50000, 5000000, 1000001}));
    EXPECT_EQ(g_PPG_data_AC_max[0], 30000);
    EXPECT_EQ(g_PPG_data_sample_rates[0], 250.0);
    EXPECT_TRUE(g_PPG_use_file[0]);
    EXPECT_EQ(g_PPG_led_sync[0], 7);
    EXPECT_FALSE(g_PPG_invert_output[0]);
}

TEST(RawData, UpsideDownHangsFromItsHighestSample)
{
    for (const int invert : {1, 2}) {
        ASSERT_EQ(VRAXSetPPGRawData(0, 1, invert, 5, kDc, kAc, 250.0), 0);
        EXPECT_EQ(AcSamples(0), (std::vector<int>{29000, 28000, 0, 30000, 29999}));
        EXPECT_EQ(g_PPG_invert_output[0], invert == 1);
    }
}

TEST(RawData, HasACodeForEveryRefusalInOrder)
{
    const double one = 1.0;
    EXPECT_EQ(VRAXSetPPGRawData(-1, 1, 0, 0, nullptr, nullptr, 0.0), -2);
    EXPECT_EQ(VRAXSetPPGRawData(3, 1, 0, 1, &one, &one, 1.0), -2);
    EXPECT_EQ(VRAXSetPPGRawData(0, 1, 0, 0, nullptr, nullptr, 0.0), -3);
    EXPECT_EQ(VRAXSetPPGRawData(0, 1, 0, -7, &one, &one, 1.0), -3);
    EXPECT_EQ(VRAXSetPPGRawData(0, 1, 0, 1, nullptr, nullptr, 0.0), -4);
    EXPECT_EQ(VRAXSetPPGRawData(0, 1, 0, 1, &one, nullptr, 0.0), -5);
    EXPECT_EQ(VRAXSetPPGRawData(0, 1, 0, 1, &one, &one, 0.0), -6);
    EXPECT_EQ(VRAXSetPPGRawData(0, 1, 0, 1, &one, &one, -1.0), -6);
    EXPECT_TRUE(IsEmptyChannel(0));
}

TEST(RawData, ThatIsNoNumberIsZero)
{
    const double nan = std::nan("");
    ASSERT_EQ(VRAXSetPPGRawData(0, 1, 1, 1, &nan, &nan, nan), 0);
    EXPECT_EQ(AcSamples(0), std::vector<int>{0});
    EXPECT_EQ(DcSamples(0), std::vector<int>{0});
    EXPECT_EQ(LookUp(1.0, 0).dc, 0u);
}

TEST(RawData, RepeatsWithItsLengthAndRate)
{
    const double dc[] = {1000.0, 1000.0, 1000.0};
    const double ac[] = {1.0, 2.0, 3.0};
    ASSERT_EQ(VRAXSetPPGRawData(2, 1, 0, 3, dc, ac, 10.0), 0);  // 0.3 s
    for (int i = 0; i < 40; ++i) {
        EXPECT_EQ(LookUp(0.05 + 0.1 * i, 2).pulse, 1.0 + i % 3) << i;
    }
}

// Kept: only clearing makes a channel one of descriptions again.
TEST(RawData, LeavesItsMarkOnLaterDescriptions)
{
    const double one = 1.0;
    ASSERT_EQ(VRAXSetPPGRawData(0, 1, 0, 1, &one, &one, 50.0), 0);
    ASSERT_EQ(VRAXSetPPGStandardWaveform(0, 0, 1, 0, 3.0, 1000, 10), 3333);
    EXPECT_TRUE(g_PPG_use_file[0]);
    EXPECT_EQ(g_PPG_data_sample_rates[0], 10000.0);
    // A period of 0.3333 s, 0.1 ms short for every three.
    const double inStep = LookUp(0.00005, 0).pulse;
    EXPECT_EQ(LookUp(0.00005 + 300 * 0.3333, 0).pulse, inStep);
    VRAXClearPPGWaveform(0);
    ASSERT_EQ(VRAXSetPPGStandardWaveform(0, 0, 1, 0, 3.0, 1000, 10), 3333);
    EXPECT_FALSE(g_PPG_use_file[0]);
    EXPECT_NE(LookUp(0.00005 + 300 * 0.3333, 0).pulse, inStep);
    EXPECT_EQ(LookUp(0.00005 + 100.0, 0).pulse, inStep);
}

TEST(RawData, OfTheModulesWithProbesIsConverted)
{
    const double dc[] = {1000.0, -5.0, 9000.0};
    const double ac[] = {10.0, 30.0, 400.0};
    FitPPGModule(0x3307, 1, 2, 3);
    ASSERT_EQ(VRAXSetPPGRawData(0, 1, 0, 3, dc, ac, 10.0), 0);
    EXPECT_EQ(AcSamples(0), (std::vector<int>{8400, 26100, 26100}));
    EXPECT_EQ(g_PPG_data_AC_max[0], 26100);
    // 2000 x 0.111148 / 0.113, 0, 2973 x 0.111163 / 0.113
    EXPECT_EQ(DcSamples(0), (std::vector<int>{1967221, 0, 2924669}));
}
