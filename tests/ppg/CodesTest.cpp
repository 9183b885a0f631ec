// From the samples of a channel to its two codes and its graph value.

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "device/Identification.h"
#include "storage/Calibration.h"
#include "storage/Records.h"
#include "support/FittedModule.h"
#include "support/PpgChannel.h"

namespace {
// One sample that is always played.
void Hold(int led, double dc, double ac, int invert = 0)
{
    ASSERT_EQ(VRAXSetPPGRawData(led, 1, invert, 1, &dc, &ac, 1.0), 0);
}

void UseFeature(double acMax, double dcMax)
{
    DeviceFeature feature = g_DeviceFeature.Load();
    feature.ppgAcMax = acMax;
    feature.ppgDcMax = dcMax;
    g_DeviceFeature.Store(feature);
}

void ExpectCodes(int led, unsigned dc, unsigned ac)
{
    const PpgSample sample = LookUp(0.0, led);
    EXPECT_EQ(sample.dc, dc);
    EXPECT_EQ(sample.ac, ac);
}
}  // namespace

TEST(PpgCodes, AreZeroWithoutAWaveformOrAChannel)
{
    for (const int led : {0, 1, 2, -1, 3, std::numeric_limits<int>::max()}) {
        const PpgSample sample = LookUp(0.5, led);
        EXPECT_EQ(sample.dc, 0u);
        EXPECT_EQ(sample.ac, 0u);
        EXPECT_EQ(sample.pulse, 0.0);
    }
}

TEST(PpgCodes, AreThePartOfTheFullScaleCutOff)
{
    Hold(0, 1000.0, 10.0);  // 1365; 1365
    ExpectCodes(0, 1365, 1365);
    Hold(0, 3000.0, 30.0);
    ExpectCodes(0, 4095, 4095);
    Hold(0, 1499.999, 0.007);  // 2047.499, 0.9555
    ExpectCodes(0, 2047, 0);
}

TEST(PpgCodes, TakeTheFullScaleCodesOfTheModule)
{
    g_nPPGDCDacLevel = std::uint16_t{65535};
    g_nPPGACDacLevel = std::uint16_t{1000};
    Hold(1, 1000.0, 10.0);
    ExpectCodes(1, 21845, 333);
}

TEST(PpgCodes, TakeTheRangesOfTheModuleTheACRangeInWholeMillivolts)
{
    UseFeature(10.9, 2000.0);
    Hold(0, 1000.0, 4.0);
    ExpectCodes(0, 2047, 1638);  // 2047.5; 4 / 10 of 4095
    Hold(0, 1000.0, 10.5);
    ExpectCodes(0, 2047, 4095);
}

TEST(PpgCodes, StayWithinTheirScaleAtBothEnds)
{
    Hold(0, 1e9, 1e9);
    ExpectCodes(0, 4095, 4095);
    Hold(0, -1e9, -1e9);
    ExpectCodes(0, 0, 0);
}

TEST(PpgCodes, AreZeroWithoutAScale)
{
    Hold(0, 1000.0, 10.0);
    g_DeviceFeature.Clear();
    ExpectCodes(0, 0, 0);
    UseFeature(0.99, 3000.0);
    ExpectCodes(0, 1365, 0);
}

struct Codes3407 : testing::Test {
    Codes3407()
    {
        FitPPGModule(0x3407, 1, 2, 0);
        UseFeature(300.0, 3000.0);
        g_nPPGDCDacLevel = std::uint16_t{65535};
        g_nPPGACDacLevel = std::uint16_t{60000};
    }
    // Sets the range as if nothing but the amplitude had chosen it.
    static unsigned AcCode(int led, double ac, int range)
    {
        Hold(led, 0.0, ac);
        g_ACCalMode[led] = static_cast<std::uint8_t>(range);
        return LookUp(0.0, led).ac;
    }
};

// That of range 2 is 1.0 and not 1.5, kept so.
TEST_F(Codes3407, HaveTheFullScaleOfTheRange)
{
    EXPECT_EQ(AcCode(0, 150.0, 0), 30000u);
    EXPECT_EQ(AcCode(0, 7.5, 1), 30000u);
    EXPECT_EQ(AcCode(0, 0.5, 2), 30000u);
    EXPECT_EQ(AcCode(0, 1.0, 2), 60000u);
    EXPECT_EQ(AcCode(0, 1.4, 2), 60000u);
    EXPECT_EQ(AcCode(0, 0.5, 99), 30000u);  // no range beyond the last
}

TEST_F(Codes3407, TakeTheFactorysFullScaleCodesWhereThereAreAny)
{
    FACTORY_SETTING_MCU setting = {};
    for (int word = 9; word < 18; ++word) {
        setting.words[word] = static_cast<std::uint16_t>(1000 * word);
    }
    setting.words[8] = 1;
    setting.words[18] = 1;
    setting.words[13] = 0;  // row 1, range 1
    g_FactorySettingMCU.Store(setting);
    const int rows[] = {2, 0, 1};
    const double fullScales[] = {300.0, 15.0, 1.0};
    for (int led = 0; led < 3; ++led) {
        for (int range = 0; range < 3; ++range) {
            const int word = 9 + 3 * rows[led] + range;
            const unsigned level = word == 13 ? 60000u : 1000u * static_cast<unsigned>(word);
            EXPECT_EQ(AcCode(led, fullScales[range] / 2.0, range), level / 2) << led << range;
            EXPECT_EQ(AcCode(led, 1000.0, range), level);
        }
    }
}

TEST_F(Codes3407, TakeTheDCLevelFromTheTable)
{
    g_PPGDCTable[0][1000] = std::uint16_t{1500};
    Hold(1, 1000.0, 1.0);
    EXPECT_EQ(LookUp(0.0, 1).dc, 32767u);  // half of 65535
    Hold(1, 999.0, 1.0);
    EXPECT_EQ(LookUp(0.0, 1).dc, 0u);
}

TEST(PulseValue, IsTheACPartInMillivolts)
{
    ASSERT_GT(VRAXSetPPGStandardWaveform(0, 3, 1, 0, 1.0, 1000, 10), 0);
    EXPECT_EQ(LookUp(0.00005, 0).pulse, 0.0);
    EXPECT_EQ(LookUp(0.15005, 0).pulse, 10.0);
    EXPECT_EQ(LookUp(0.36005, 0).pulse, 5.6);
    EXPECT_EQ(LookUp(0.46005, 0).pulse, 6.4);
}

TEST(PulseValue, OfAPulseUpsideDownIsUprightAgain)
{
    ASSERT_GT(VRAXSetPPGStandardWaveform(0, 3, 1, 1, 1.0, 1000, 10), 0);
    const PpgSample start = LookUp(0.00005, 0);
    EXPECT_EQ(start.pulse, 0.0);
    EXPECT_EQ(start.ac, 1365u);
    const PpgSample peak = LookUp(0.15005, 0);
    EXPECT_EQ(peak.pulse, 10.0);
    EXPECT_EQ(peak.ac, 0u);
}

TEST(Lookup, FollowsThePlayTimeThroughThePeriod)
{
    ASSERT_EQ(VRAXSetPPGStandardWaveform(1, 1, 1, 0, 0.8, 1000, 10), 12500);
    const std::vector<int> samples = AcSamples(1);
    for (int i = 0; i < 40000; i += 7) {
        const double t = (i + 0.5) / 10000.0;
        ASSERT_EQ(LookUp(t, 1).pulse, samples[static_cast<std::size_t>(i) % 12500] / 1000.0) << i;
    }
}

// The rate of a description is its own, whatever the whole number of samples makes of it.
TEST(Lookup, KeepsTheExactRateOfADescription)
{
    ASSERT_EQ(VRAXSetPPGStandardWaveform(1, 2, 1, 0, 3.0, 1000, 10), 3333);
    for (int cycle = 0; cycle < 3000; cycle += 100) {
        EXPECT_EQ(LookUp(cycle / 3.0 + 0.0001, 1).pulse, 10.0) << cycle;
        EXPECT_EQ(LookUp((cycle + 1) / 3.0 - 0.0001, 1).pulse, 0.0) << cycle;
    }
}

TEST(Lookup, IsDelayedByTheOffset)
{
    ASSERT_GT(VRAXSetPPGStandardWaveform(0, 3, 1, 0, 1.0, 1000, 10), 0);
    EXPECT_EQ(LookUp(0.35005, 0, 0.2).pulse, 10.0);
    EXPECT_EQ(LookUp(0.05005, 0, -0.1).pulse, 10.0);
}

// A slow beat may delay a fast pulse by more than its period.
TEST(Lookup, StaysInStepWhenThePulseIsDelayedByMoreThanItsPeriod)
{
    ASSERT_EQ(VRAXSetPPGStandardWaveform(0, 3, 1, 0, 5.0, 1000, 10), 2000);
    EXPECT_EQ(LookUp(0.03005, 0, 0.8).pulse, 10.0);
    EXPECT_EQ(LookUp(0.03005, 0, 5.0).pulse, 10.0);
}

TEST(Lookup, OfNoTimeStaysInTheTable)
{
    ASSERT_GT(VRAXSetPPGStandardWaveform(0, 3, 1, 0, 1.0, 1000, 10), 0);
    const double infinity = std::numeric_limits<double>::infinity();
    for (const double t : {std::nan(""), infinity, -infinity, 1e300, -1e300}) {
        EXPECT_GE(LookUp(t, 0).pulse, 0.0);
        EXPECT_GE(LookUp(1.0, 0, t).pulse, 0.0);
    }
}
