// The respiration algorithm: what the setter derives, and the waveform.

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "support/ApiLogFile.h"
#include "support/ReferenceSignal.h"
#include "synthesis/BeatModel.h"
#include "synthesis/Parameters.h"
#include "synthesis/PlayClock.h"
#include "synthesis/Respiration.h"
#include "vrax.h"

namespace {
constexpr double kTolerance = 1e-12;

std::vector<double> Quantities()
{
    return {s_OneRespireS, s_InhaleS,   s_ExhaleS,        s_OneApneaS,  s_BaselineModV,
            s_AmpModV,     s_FreqModHz, s_FreqModPreEndT, s_FreqModEndT};
}

double ValueAt(double t)
{
    s_t = t;
    return GetRespirationVoltage();
}
}  // namespace

TEST(RespirationAlgorithm, DividesTheBreathByTheRatio)
{
    ASSERT_EQ(VRAXSetRespirationAlgorithm(15, 2, 0, 0, 0, 0), 1);
    EXPECT_NEAR(s_OneRespireS, 4.0, kTolerance);
    EXPECT_NEAR(s_InhaleS, 4.0 / 3.0, kTolerance);
    EXPECT_NEAR(s_ExhaleS, 8.0 / 3.0, kTolerance);
    EXPECT_NEAR(GetRespirationVoltage(2.0 / 3.0), 1.0, kTolerance);
    EXPECT_NEAR(GetRespirationVoltage(8.0 / 3.0), -1.0, kTolerance);
}

TEST(RespirationAlgorithm, IsAHalfSineInAndANegativeHalfSineOutAtEveryRatio)
{
    for (const int rate : {1, 15, 200}) {
        for (int ratio = 1; ratio <= 5; ++ratio) {
            ASSERT_EQ(VRAXSetRespirationAlgorithm(rate, ratio, 0, 0, 0, 0), 1);
            const double breath = 60.0 / rate;
            const double inhale = breath / (1 + ratio);
            for (int i = 0; i < 400; ++i) {
                const double t = 0.00317 * i * breath;
                const double phase = std::fmod(t, breath);
                const double expected = reference::HalfSine(0.0, inhale, 1.0, phase) -
                                        reference::HalfSine(inhale, breath, 1.0, phase);
                ASSERT_NEAR(ValueAt(t), expected, 1e-9) << rate << " " << ratio << " " << t;
            }
        }
    }
}

TEST(RespirationAlgorithm, RestsInTheApneaAndRestartsWithTheMinute)
{
    ASSERT_EQ(VRAXSetRespirationAlgorithm(17, 1, 10, 0, 0, 0), 1);
    EXPECT_EQ(s_OneApneaS, 10.0);
    for (const double t : {50.0, 53.3, 59.999, 110.0, 119.9}) EXPECT_EQ(ValueAt(t), 0.0) << t;
    const double crest = 60.0 / 17.0 / 4.0;
    EXPECT_NEAR(ValueAt(crest), 1.0, 1e-9);
    EXPECT_NEAR(ValueAt(60.0 + crest), 1.0, 1e-9);
    EXPECT_NEAR(ValueAt(120.0 + 3.0 * crest), -1.0, 1e-9);
    // Seventeen breaths make a minute, so the apnea cuts one short.
    EXPECT_NE(ValueAt(49.999), 0.0);
}

TEST(RespirationAlgorithm, OfSixtySecondsOfApneaNeverBreathes)
{
    ASSERT_EQ(VRAXSetRespirationAlgorithm(20, 1, 60, 0, 0, 0), 1);
    for (int i = 0; i < 1000; ++i) ASSERT_EQ(ValueAt(0.37 * i), 0.0);
}

TEST(RespirationAlgorithm, TakesItsDepthsFromTheAmplitudeAndTheFrequencyOfTheCall)
{
    g_Amplitude = -4.0;
    g_F = 1.5;
    s_tp = 1.0 / 1.5;
    s_t = 12.25;
    ASSERT_EQ(VRAXSetRespirationAlgorithm(15, 2, 0, 20, 35, 10), 1);
    g_Amplitude = 1.0;
    g_F = 9.0;
    EXPECT_NEAR(s_BaselineModV, -0.8, kTolerance);
    EXPECT_NEAR(s_AmpModV, -1.4, kTolerance);
    EXPECT_NEAR(s_FreqModHz, 0.15, kTolerance);
    EXPECT_EQ(s_FreqModPreEndT, 12.25);
    EXPECT_NEAR(s_FreqModEndT, 12.25 + 2.0 / 3.0, kTolerance);

    ASSERT_EQ(VRAXSetRespirationAlgorithm(15, 2, 0, 0, 0, 0), 1);
    EXPECT_EQ(s_BaselineModV, 0.0);
    EXPECT_EQ(s_AmpModV, 0.0);
    EXPECT_EQ(s_FreqModHz, 0.0);
}

TEST(RespirationAlgorithm, AcceptsTheEndsOfEveryRange)
{
    EXPECT_EQ(VRAXSetRespirationAlgorithm(1, 1, 0, 0, 0, 0), 1);
    EXPECT_EQ(VRAXSetRespirationAlgorithm(200, 5, 60, 100, 100, 100), 1);
    EXPECT_NEAR(s_OneRespireS, 0.3, kTolerance);
}

TEST(RespirationAlgorithm, ChangesNothingWhenAnArgumentIsOutOfRange)
{
    ASSERT_EQ(VRAXSetRespirationAlgorithm(15, 2, 10, 20, 30, 40), 1);
    const std::vector<double> before = Quantities();
    ApiLogFile log;
    constexpr int kRefused[][6] = {
        {0, 2, 10, 1, 1, 1},    {201, 2, 10, 1, 1, 1},  {15, 0, 10, 1, 1, 1},
        {15, 6, 10, 1, 1, 1},   {15, 2, -1, 1, 1, 1},   {15, 2, 61, 1, 1, 1},
        {15, 2, 10, -1, 1, 1},  {15, 2, 10, 101, 1, 1}, {15, 2, 10, 1, -1, 1},
        {15, 2, 10, 1, 101, 1}, {15, 2, 10, 1, 1, -1},  {15, 2, 10, 1, 1, 101},
    };
    for (const int(&a)[6] : kRefused) {
        EXPECT_EQ(VRAXSetRespirationAlgorithm(a[0], a[1], a[2], a[3], a[4], a[5]), 0);
        EXPECT_EQ(Quantities(), before);
    }
    EXPECT_EQ(log.NewText(), "");
}

TEST(RespirationAlgorithm, IsZeroWhenDisabled)
{
    ASSERT_EQ(VRAXSetRespirationAlgorithm(15, 2, 10, 20, 30, 40), 1);
    VRAXDisableRespireAlgorithm();
    EXPECT_EQ(Quantities(), std::vector<double>(9, 0.0));
    for (const double t : {0.0, 0.7, 2.0}) EXPECT_EQ(ValueAt(t), 0.0);
    EXPECT_EQ(GetRespirationVoltage(0.0), 0.0);
}

TEST(RespirationAlgorithm, LogsItsCalls)
{
    ApiLogFile log;
    VRAXSetRespirationAlgorithm(15, 2, 10, 20, 30, 40);
    VRAXDisableRespireAlgorithm();
    EXPECT_EQ(log.NewLines(), (Lines{"VRAXSetRespirationAlgorithm(15, 2, 10, 20, 30, 40);",
                                     "VRAXDisableRespireAlgorithm();"}));
}

TEST(RespirationAlgorithm, IsDisabledByAResetOnlyWhereItIsSet)
{
    ApiLogFile log;
    VRAXResetEx();
    EXPECT_EQ(log.NewText().find("Respir"), std::string::npos);
    ASSERT_EQ(VRAXSetRespirationAlgorithm(15, 2, 0, 20, 0, 0), 1);
    log.NewText();
    VRAXResetEx();
    EXPECT_NE(log.NewText().find("VRAXDisableRespireAlgorithm();"), std::string::npos);
    EXPECT_EQ(Quantities(), std::vector<double>(9, 0.0));
}
