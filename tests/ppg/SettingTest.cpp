// Setting, refusing and clearing the waveform of a channel.

#include <gtest/gtest.h>

#include <cmath>

#include "device/Identification.h"
#include "device/LineState.h"
#include "support/ApiLogFile.h"
#include "support/FittedModule.h"
#include "support/PpgChannel.h"
#include "synthesis/Relays.h"

namespace {
int SetStandard(int led, double frequency = 1.0, double dc = 1000.0, double ac = 10.0)
{
    return VRAXSetPPGStandardWaveform(led, 3, 1, 0, frequency, dc, ac);
}

int SetBoth(int led1, double dc1, double ac1, int led2, double dc2, double ac2)
{
    return VRAXSetPPGStandardWaveformEx(led1, 3, 1, 0, led2, 3, 1, 0, 1.0, dc1, ac1, 1.0, dc2, ac2);
}

struct Case3407 : testing::Test {
    Case3407()
    {
        FitPPGModule(0x3407, 1, 2, 0);
        DeviceFeature feature = g_DeviceFeature.Load();
        feature.ppgAcMax = 300.0;
        g_DeviceFeature.Store(feature);
    }
    // As given, before the amplitude is taken off.
    static double DcOf(int led) { return g_PPG_waveforms[led].dc + g_PPG_waveforms[led].ac; }
    static double AcOf(int led) { return g_PPG_waveforms[led].ac; }
};
}  // namespace

TEST(StandardWaveform, DescribesThePulseOfItsPeriodAndAmplitude)
{
    ASSERT_EQ(VRAXSetPPGStandardWaveform(0, 3, 1, 0, 1.0, 1000, 10), 10000);
    const PPG_WAVEFORM wave = g_PPG_waveforms[0];
    EXPECT_EQ(wave.waveform, 3);
    EXPECT_EQ(wave.frequency, 1.0);
    EXPECT_EQ(wave.dc, 990.0);
    EXPECT_EQ(wave.ac, 10.0);
    EXPECT_DOUBLE_EQ(wave.notchLevel, 5.6);
    EXPECT_DOUBLE_EQ(wave.dicroticLevel, 6.4);
    EXPECT_EQ(wave.t1, 150);
    EXPECT_EQ(wave.t2, 360);
    EXPECT_EQ(wave.t3, 460);
    EXPECT_EQ(wave.timeBase, 1000);
    EXPECT_EQ(wave.ledSync, 1);
    EXPECT_EQ(wave.invert, 0);
    EXPECT_EQ(wave.variationRate, 20);
    EXPECT_EQ(wave.variationCycles, 1);
    EXPECT_EQ(wave.variationMode, 0);
    EXPECT_EQ(g_PPG_data_sample_rates[0], 10000.0);
    EXPECT_EQ(g_PPG_data_AC_max[0], 10000);
    EXPECT_EQ(DcSamples(0), std::vector<int>(10000, 990000));
}

TEST(StandardWaveform, RoundsItsTimesToMilliseconds)
{
    ASSERT_EQ(SetStandard(2, 1.7), 5882);
    EXPECT_EQ(g_PPG_waveforms[2].t1, 88);   // 88.2
    EXPECT_EQ(g_PPG_waveforms[2].t2, 212);  // 211.8
    EXPECT_EQ(g_PPG_waveforms[2].t3, 271);  // 270.6
}

TEST(StandardWaveform, AcceptsBothEndsOfEveryRange)
{
    EXPECT_EQ(SetStandard(0, 0.16), 62500);
    EXPECT_EQ(SetStandard(1, 5.0), 2000);
    EXPECT_EQ(SetStandard(2, 1.0, 100.0, 0.75), 10000);
    EXPECT_EQ(SetStandard(2, 1.0, 3000.0, 30.0), 10000);
}

TEST(StandardWaveform, HasACodeForEveryRefusalInOrder)
{
    ASSERT_GT(SetStandard(0), 0);
    const std::int32_t* before = g_pPPG_data_AC[0];
    EXPECT_EQ(SetStandard(-1), -2);
    EXPECT_EQ(SetStandard(3), -2);
    EXPECT_EQ(VRAXSetPPGStandardWaveform(0, -1, 1, 0, 1.0, 1000, 10), -3);
    EXPECT_EQ(VRAXSetPPGStandardWaveform(0, 4, 1, 0, 9.0, 1000, 10), -3);
    EXPECT_EQ(SetStandard(0, 0.159), -4);
    EXPECT_EQ(SetStandard(0, 5.01, 0.0), -4);
    EXPECT_EQ(SetStandard(0, 1.0, 99.9, 0.0), -5);
    EXPECT_EQ(SetStandard(0, 1.0, 3000.1), -5);
    EXPECT_EQ(SetStandard(0, 1.0, 1000.0, 0.74), -6);
    EXPECT_EQ(SetStandard(0, 1.0, 1000.0, 30.01), -6);
    EXPECT_EQ(g_pPPG_data_AC[0], before);
    EXPECT_EQ(g_PPG_waveforms[0].frequency, 1.0);
}

TEST(StandardWaveform, TakesItsLimitsFromTheModule)
{
    DeviceFeature feature = g_DeviceFeature.Load();
    feature.ppgAcMin = 1.0;
    feature.ppgAcMax = 2.0;
    feature.ppgDcMin = 5.0;
    feature.ppgDcMax = 6.0;
    g_DeviceFeature.Store(feature);
    EXPECT_EQ(SetStandard(0, 1.0, 5.0, 1.0), 10000);
    EXPECT_EQ(SetStandard(0, 1.0, 6.0, 2.0), 10000);
    EXPECT_EQ(SetStandard(0, 1.0, 4.9, 1.0), -5);
    EXPECT_EQ(SetStandard(0, 1.0, 6.1, 1.0), -5);
    EXPECT_EQ(SetStandard(0, 1.0, 5.0, 0.9), -6);
    EXPECT_EQ(SetStandard(0, 1.0, 5.0, 2.1), -6);
}

TEST(StandardWaveform, IsLoggedAlsoWhenItIsRefused)
{
    ApiLogFile log;
    VRAXSetPPGStandardWaveform(7, 3, 2, 1, 1.256, 1000.6, 10.126);
    EXPECT_EQ(log.NewLines(),
              (Lines{"VRAXSetPPGStandardWaveform(7, 3, 2, 1, 1.26, 1001, 10.13);"}));
    SetBoth(0, 1000, 10, 1, 1000, 10);
    EXPECT_EQ(log.NewText(), "");
}

TEST(Waveform, IsRefusedWhileASignalPlaysOrPhotodiodesAreSampled)
{
    ASSERT_GT(SetStandard(0), 0);
    const std::int32_t* before = g_pPPG_data_AC[0];
    const double one = 1.0;
    for (Shared<bool>* busy : {&s_ECGGoing, &g_PPG_PDSamplingRunning}) {
        *busy = true;
        EXPECT_EQ(SetStandard(9), -1);
        EXPECT_EQ(SetBoth(0, 1000, 10, 1, 1000, 10), -1);
        EXPECT_EQ(VRAXSetPPGRawData(9, 1, 0, 1, &one, &one, 1.0), -1);
        EXPECT_EQ(VRAXEnablePPGOutput(9, true), -1);
        *busy = false;
    }
    EXPECT_EQ(g_pPPG_data_AC[0], before);
    EXPECT_TRUE(IsEmptyChannel(1));
}

TEST(Waveform, OfNoDescriptionClearsTheChannelAndItsDescription)
{
    ASSERT_GT(SetStandard(1), 0);
    ASSERT_GT(SetStandard(2), 0);
    EXPECT_EQ(SetPPGWaveform(1, nullptr), 0);
    EXPECT_TRUE(IsEmptyChannel(1));
    EXPECT_EQ(g_PPG_waveforms[1].frequency, 0.0);
    EXPECT_FALSE(IsEmptyChannel(2));
    for (const int led : {-1, 3, 1000}) EXPECT_EQ(SetPPGWaveform(led, nullptr), 0);
}

TEST(Waveform, ThatIsNoNumberIsZero)
{
    const double nan = std::nan("");
    EXPECT_EQ(SetStandard(0, 1.0, nan, nan), 10000);
    EXPECT_EQ(AcSamples(0), std::vector<int>(10000, 0));
    EXPECT_EQ(DcSamples(0), std::vector<int>(10000, 0));
    EXPECT_EQ(SetStandard(0, nan), 0);
    EXPECT_EQ(g_PPG_data_lengths[0], 0u);
    EXPECT_EQ(LookUp(0.5, 0).ac, 0u);
}

TEST(ClearedChannel, IsEmptyAndCallsItselfInverted)
{
    for (int led = 0; led < 3; ++led) EXPECT_TRUE(IsEmptyChannel(led)) << "at load";
    const double one = 1.0;
    ASSERT_EQ(VRAXSetPPGRawData(1, 5, 0, 1, &one, &one, 50.0), 0);
    VRAXClearPPGWaveform(1);
    EXPECT_TRUE(IsEmptyChannel(1));
    for (const int led : {-1, 3, 1 << 30}) VRAXClearPPGWaveform(led);
}

TEST(ClearedChannel, KeepsItsDescription)
{
    ASSERT_GT(SetStandard(1), 0);
    VRAXClearPPGWaveform(1);
    EXPECT_TRUE(IsEmptyChannel(1));
    EXPECT_EQ(g_PPG_waveforms[1].t1, 150);
}

TEST(ClearedChannel, MayBeClearedWhileASignalPlays)
{
    ASSERT_GT(SetStandard(1), 0);
    s_ECGGoing = true;
    VRAXClearPPGWaveform(1);
    s_ECGGoing = false;
    EXPECT_TRUE(IsEmptyChannel(1));
}

TEST(PpgReset, ClearsEveryChannelAndSetting)
{
    for (int led = 0; led < 3; ++led) {
        ASSERT_GT(SetStandard(led), 0);
        ASSERT_EQ(VRAXEnablePPGOutput(led, true), 0);
    }
    VRAXSetPTTp(200);
    ASSERT_TRUE(VRAXSetPPGRespirationAlgorithm(1, 2, 3));
    VRAXReset();
    for (int led = 0; led < 3; ++led) {
        EXPECT_TRUE(IsEmptyChannel(led));
        EXPECT_EQ(g_PPG_waveforms[led].t1, 0);
        EXPECT_FALSE(g_bPPGOutputEnabled[led]);
    }
    EXPECT_EQ(g_PPG_PTTp, -1);
    EXPECT_EQ(g_PPG_BaselineModV + g_PPG_AmpModV + g_PPG_FreqModHz, 0);
}

TEST(PpgOutput, IsEnabledByChannelAndLogged)
{
    ApiLogFile log;
    EXPECT_EQ(VRAXEnablePPGOutput(2, true), 0);
    EXPECT_TRUE(g_bPPGOutputEnabled[2]);
    EXPECT_EQ(VRAXGetSampleRate(), 10000);
    EXPECT_EQ(VRAXEnablePPGOutput(2, false), 0);
    EXPECT_FALSE(g_bPPGOutputEnabled[2]);
    EXPECT_EQ(VRAXEnablePPGOutput(-1, true), -2);
    EXPECT_EQ(VRAXEnablePPGOutput(3, true), -2);
    EXPECT_EQ(log.NewLines(),
              (Lines{"VRAXEnablePPGOutput(2, true);", "VRAXEnablePPGOutput(2, false);",
                     "VRAXEnablePPGOutput(-1, true);", "VRAXEnablePPGOutput(3, true);"}));
}

TEST(TwoChannels, AreBothSetAndGiveTheSecondResult)
{
    EXPECT_EQ(VRAXSetPPGStandardWaveformEx(0, 0, 2, 1, 1, 2, 1, 0, 1.0, 1000, 10, 2.0, 900, 5),
              5000);
    EXPECT_EQ(g_PPG_waveforms[0].waveform, 0);
    EXPECT_EQ(g_PPG_waveforms[0].invert, 1);
    EXPECT_EQ(g_PPG_led_sync[0], 2);
    EXPECT_EQ(g_PPG_waveforms[0].dc, 990.0);
    EXPECT_EQ(g_PPG_waveforms[1].waveform, 2);
    EXPECT_EQ(g_PPG_waveforms[1].frequency, 2.0);
    EXPECT_EQ(g_PPG_waveforms[1].dc, 895.0);
}

TEST(TwoChannels, StopAtTheFirstThatIsRefused)
{
    EXPECT_EQ(SetBoth(0, 1000, 31, 1, 1000, 10), -6);
    EXPECT_TRUE(IsEmptyChannel(1));
    EXPECT_EQ(SetBoth(0, 1000, 10, 3, 1000, 10), -2);
    EXPECT_FALSE(IsEmptyChannel(0));
}

TEST(TwoChannels, OfOtherModulesKeepTheirLevels)
{
    ASSERT_EQ(SetBoth(0, 500, 20, 1, 400, 1.0), 10000);
    EXPECT_EQ(g_PPG_waveforms[0].ac, 20.0);
    EXPECT_EQ(g_PPG_waveforms[1].ac, 1.0);
}

TEST_F(Case3407, TwoChannelsOfOneRangeKeepTheirLevels)
{
    ASSERT_EQ(SetBoth(0, 500, 20, 1, 400, 15.0), 10000);
    EXPECT_EQ(AcOf(0), 20.0);
    EXPECT_EQ(AcOf(1), 15.0);
}

// The factor is the smallest of 300 / 20, 15 / 10 and 3000 / 1000.
TEST_F(Case3407, TheSmallerAmplitudeIsLiftedIntoTheLargerRange)
{
    ASSERT_EQ(SetBoth(0, 1000, 20, 1, 800, 10), 10000);
    EXPECT_DOUBLE_EQ(AcOf(0), 30.0);
    EXPECT_DOUBLE_EQ(AcOf(1), 15.0);
    EXPECT_DOUBLE_EQ(DcOf(0), 1500.0);
    EXPECT_DOUBLE_EQ(DcOf(1), 1200.0);
    ASSERT_EQ(SetBoth(0, 800, 10, 1, 1000, 20), 10000);  // either order
    EXPECT_DOUBLE_EQ(AcOf(0), 15.0);
    EXPECT_DOUBLE_EQ(AcOf(1), 30.0);
}

// 15 / 3, 1.5 / 1 and 3000 / 500.
TEST_F(Case3407, RangesOneAndTwoShareRangeOne)
{
    ASSERT_EQ(SetBoth(0, 500, 3.0, 2, 400, 1.0), 10000);
    EXPECT_DOUBLE_EQ(AcOf(0), 4.5);
    EXPECT_DOUBLE_EQ(AcOf(2), 1.5);
    EXPECT_DOUBLE_EQ(DcOf(0), 750.0);
}

TEST_F(Case3407, TheLargerAmplitudeLimitsTheFactor)
{
    ASSERT_EQ(SetBoth(0, 200, 200, 1, 100, 1.0), 10000);  // 300 / 200 before 15 / 1
    EXPECT_DOUBLE_EQ(AcOf(0), 300.0);
    EXPECT_DOUBLE_EQ(AcOf(1), 1.5);
}

TEST_F(Case3407, TheHigherDCLevelLimitsTheFactor)
{
    ASSERT_EQ(SetBoth(0, 2500, 20, 1, 2000, 10), 10000);  // 3000 / 2500 before 15 / 10
    EXPECT_DOUBLE_EQ(DcOf(0), 3000.0);
    EXPECT_DOUBLE_EQ(AcOf(0), 24.0);
    EXPECT_DOUBLE_EQ(DcOf(1), 2400.0);
    EXPECT_DOUBLE_EQ(AcOf(1), 12.0);
}

TEST_F(Case3407, AnEnabledChannelTakesTheRangeOfItsWaveformWithTheRelays)
{
    g_ACCalMode[0] = std::uint8_t{7};
    ASSERT_GT(SetStandard(0, 1.0, 1000, 2.0), 0);
    SetRelays(false);
    EXPECT_EQ(g_ACCalMode[0], 7);  // not enabled
    ASSERT_EQ(VRAXEnablePPGOutput(0, true), 0);
    EXPECT_EQ(g_ACCalMode[0], 7);
    SetRelays(false);
    EXPECT_EQ(g_ACCalMode[0], 1);
    const struct {
        double ac;
        int range;
    } kRanges[] = {{300.0, 0}, {15.0, 0}, {14.999, 1}, {1.5, 1}, {1.499, 2}, {0.75, 2}};
    for (const auto& [ac, range] : kRanges) {
        ASSERT_GT(SetStandard(0, 1.0, 1000, ac), 0) << ac;
        SetRelays(false);
        EXPECT_EQ(g_ACCalMode[0], range) << ac;
    }
}

TEST(AcRange, ChangesAt15And1Point5MillivoltsWithATolerance)
{
    const struct {
        double ac;
        int range;
    } kRanges[] = {{15.0, 0},    {14.99996, 0}, {14.9999, 1}, {1.5, 1},
                   {1.49996, 1}, {1.4999, 2},   {0.0, 2},     {-5.0, 2}};
    for (const auto& [ac, range] : kRanges) EXPECT_EQ(GetACCalMode(ac), range) << ac;
}

TEST(AcRange, OfAnotherModuleStays)
{
    FitPPGModule(0x3307, 1, 2, 3);
    ASSERT_EQ(VRAXEnablePPGOutput(0, true), 0);
    ASSERT_GT(SetStandard(0, 1.0, 1000, 1.0), 0);
    SetRelays(false);
    EXPECT_EQ(g_ACCalMode[0], 0);
}
