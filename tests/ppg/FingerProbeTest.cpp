// The conversion of levels for the modules with a finger probe.

#include "ppg/FingerProbe.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "ppg/FingerProbeTables.h"
#include "storage/Calibration.h"
#include "support/FittedModule.h"
#include "support/PpgChannel.h"

namespace {
bool IsWholeAndRising(const double* first, const double* last)
{
    return std::is_sorted(first, last) &&
           std::all_of(first, last, [](double value) { return value == std::floor(value); });
}
}  // namespace

TEST(FingerTable, OfTheDCLevelPassesThroughItsPoints)
{
    const struct {
        int mv;
        double value;
    } kPoints[] = {{0, 0},       {1, 28},      {100, 356},   {500, 1126},
                   {1000, 2000}, {1500, 2841}, {1574, 2973}, {3000, 2973}};
    for (const auto& [mv, value] : kPoints) {
        EXPECT_EQ(kFingerDCTable[static_cast<std::size_t>(mv)], value) << mv;
    }
    EXPECT_LT(kFingerDCTable[1573], 2973.0);
    EXPECT_TRUE(IsWholeAndRising(kFingerDCTable.begin(), kFingerDCTable.end()));
}

TEST(FingerTable, OfTheACAmplitudePassesThroughItsPoints)
{
    const struct {
        int tenths;
        double value;
    } kPoints[] = {{0, 0}, {10, 8}, {100, 84}, {200, 172}, {300, 261}};
    for (const auto& [tenths, value] : kPoints) {
        EXPECT_EQ(kFingerACTable[static_cast<std::size_t>(tenths)], value) << tenths;
    }
    EXPECT_TRUE(IsWholeAndRising(kFingerACTable.begin(), kFingerACTable.end()));
}

// No bumps: between two points the table stays near the line that joins them.
TEST(FingerTable, IsSmoothBetweenItsPoints)
{
    for (std::size_t i = 101; i <= 1574; ++i) {
        const double step = kFingerDCTable[i] - kFingerDCTable[i - 1];
        ASSERT_GE(step, 1.0) << i;
        ASSERT_LE(step, 4.0) << i;
    }
    for (std::size_t i = 1; i <= 300; ++i) {
        ASSERT_LE(kFingerACTable[i] - kFingerACTable[i - 1], 1.0) << i;
    }
}

TEST(FingerConversion, Of3307MultipliesTheTableByItsGain)
{
    FitPPGModule(0x3307, 1, 2, 3);
    EXPECT_TRUE(IsAmplitudeConverted());
    EXPECT_NEAR(FingerDCValueConvert(0, 0.99), 0.0, 0.0);
    EXPECT_NEAR(FingerDCValueConvert(0, 1.0), 28.0 * 0.018251 / 0.113, 1e-9);
    EXPECT_NEAR(FingerDCValueConvert(1, 100.9), 356.0 * 0.079937 / 0.113, 1e-9);
    EXPECT_NEAR(FingerDCValueConvert(2, 500.0), 1126.0 * 0.106936 / 0.113, 1e-9);
    EXPECT_NEAR(FingerDCValueConvert(0, 1500.0), 2841.0 * 0.109935 / 0.113, 1e-9);
    EXPECT_NEAR(FingerDCValueConvert(0, 3000.0), 2973.0 * 0.111163 / 0.113, 1e-9);
    EXPECT_EQ(FingerACValueConvert(1.0), 0.8);
    EXPECT_EQ(FingerACValueConvert(10.09), 8.4);
    EXPECT_EQ(FingerACValueConvert(30.0), 26.1);
}

TEST(FingerConversion, Of3407ReadsTheChannelsRowOfItsTable)
{
    FitPPGModule(0x3407, 1, 2, 0);
    for (int row = 0; row < 3; ++row) {
        g_PPGDCTable[row][990] = static_cast<std::uint16_t>(1000 + row);
        g_PPGDCTable[row][3000] = static_cast<std::uint16_t>(60000 + row);
    }
    EXPECT_EQ(FingerDCValueConvert(0, 990.9), 1002.0);
    EXPECT_EQ(FingerDCValueConvert(1, 990.0), 1000.0);
    EXPECT_EQ(FingerDCValueConvert(2, 990.0), 1001.0);
    EXPECT_EQ(FingerDCValueConvert(2, 3000.0), 60001.0);
    EXPECT_EQ(FingerACValueConvert(12.34), 12.34);
    EXPECT_EQ(FingerDCValueConvert(3, 990.0), 0.0);
    EXPECT_EQ(FingerDCValueConvert(-1, 990.0), 0.0);
}

TEST(FingerConversion, OfOtherModulesChangesNothing)
{
    for (const int model : {0, 0x3306, 0x1307, 0x3408}) {
        FitPPGModule(model, 1, 2, 3);
        EXPECT_FALSE(IsAmplitudeConverted());
        EXPECT_EQ(FingerDCValueConvert(0, 1234.5), 1234.5);
        EXPECT_EQ(FingerACValueConvert(12.34), 12.34);
    }
}

TEST(FingerConversion, TakesTheNearestEntryBeyondATable)
{
    for (const int model : {0x3307, 0x3407}) {
        FitPPGModule(model, 1, 2, 0);
        EXPECT_EQ(FingerDCValueConvert(1, 1e300), FingerDCValueConvert(1, 3000.0));
        EXPECT_EQ(FingerDCValueConvert(1, -1e300), FingerDCValueConvert(1, 0.0));
        EXPECT_EQ(FingerDCValueConvert(1, std::nan("")), FingerDCValueConvert(1, 0.0));
    }
    FitPPGModule(0x3307, 1, 2, 3);
    EXPECT_EQ(FingerACValueConvert(1e300), 26.1);
    EXPECT_EQ(FingerACValueConvert(-3.0), 0.0);
    EXPECT_EQ(FingerACValueConvert(std::nan("")), 0.0);
}

// The DC level loses its amplitude first; the maximum is that of the pulse before the conversion.
TEST(FingerConversion, IsAppliedToAWaveformWhenItIsSet)
{
    FitPPGModule(0x3307, 1, 2, 3);
    ASSERT_EQ(VRAXSetPPGStandardWaveform(0, 2, 1, 0, 1.0, 1010, 10), 10000);
    EXPECT_EQ(AcSamples(0).front(), 8400);
    EXPECT_EQ(AcSamples(0).back(), 0);
    EXPECT_EQ(DcSamples(0), std::vector<int>(10000, 1967221));  // 2000 x 0.111148 / 0.113
    EXPECT_EQ(g_PPG_data_AC_max[0], 10000);
}

TEST(FingerConversion, CanBeSwitchedOff)
{
    FitPPGModule(0x3307, 1, 2, 3);
    g_PPGAmplitudeConversion = false;
    EXPECT_FALSE(IsAmplitudeConverted());
    ASSERT_EQ(VRAXSetPPGStandardWaveform(0, 2, 1, 0, 1.0, 1010, 10), 10000);
    EXPECT_EQ(AcSamples(0).front(), 10000);
    EXPECT_EQ(DcSamples(0).front(), 1000000);
}
