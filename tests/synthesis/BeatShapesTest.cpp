// The standard and the customised beat in millivolts, against their closed forms.

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

#include "support/ReferenceSignal.h"
#include "synthesis/BeatModel.h"
#include "synthesis/MainFunction.h"
#include "synthesis/Parameters.h"

namespace {
constexpr int kRate = 20000;

CycleQuantities Derive(int function)
{
    DerivedParameters ignored;
    return DeriveCycle(function, kRate, ignored);
}

double VoltageAt(int function, double t)
{
    CycleQuantities cycle = Derive(function);
    return MainFunctionVoltage(function, cycle, {t, kRate}, t);
}

void Store(const reference::Beat& beat)
{
    g_Amplitude = beat.amplitude;
    g_F = beat.frequency;
    g_QRSDuration = beat.qrs * 1000.0;
    g_CusT = beat.t;
    g_PDuration = beat.pDuration * 1000.0;
    g_PRInterval = beat.prInterval * 1000.0;
    g_QTInterval = beat.qtInterval * 1000.0;
    g_TDuration = beat.tDuration * 1000.0;
    g_CusP = beat.p;
    g_CusST = beat.st;
}

void ExpectShape(int function, const reference::Beat& beat,
                 const std::function<double(const reference::Beat&, double)>& expected)
{
    constexpr int kPoints = 4999;
    Store(beat);
    CycleQuantities cycle = Derive(function);
    const double period = 1.0 / beat.frequency;
    int compared = 0;
    for (int i = 0; i < kPoints; ++i) {
        const double t = (i + 0.137) * period / kPoints;
        if (std::fabs(expected(beat, t + 1e-9) - expected(beat, t - 1e-9)) > 1e-3) continue;
        ASSERT_NEAR(MainFunctionVoltage(function, cycle, {t, kRate}, t), expected(beat, t), 1e-9)
            << "at " << t << ", " << beat.frequency << " Hz";
        ++compared;
    }
    EXPECT_GT(compared, kPoints - 10);
}

TEST(StandardBeat, FollowsItsTriangleAndItsHalfSine)
{
    for (const double frequency : {0.3, 1.0, 2.0, 3.0}) {
        for (const double qrs : {0.005, 0.04, 0.1, 0.2}) {
            for (const double amplitude : {1.0, -3.0, 20.0}) {
                reference::Beat beat;
                beat.frequency = frequency;
                beat.qrs = qrs;
                beat.amplitude = amplitude;
                beat.t = amplitude == 1.0 ? 0.2 : 1.7;
                ExpectShape(OUTPUT_ECG, beat, reference::StandardBeat);
            }
        }
    }
}

// 0.38 s holds QRS and T wave but no ST; 0.27 s the short T wave; 0.2 s the QRS alone.
TEST(StandardBeat, DropsStThenShortensTThenDropsT)
{
    for (const double period : {0.36, 0.351, 0.34, 0.29, 0.28, 0.27, 0.26, 0.25, 0.2, 1.0 / 6.0}) {
        reference::Beat beat;
        beat.frequency = 1.0 / period;
        ExpectShape(OUTPUT_ECG, beat, reference::StandardBeat);
    }
}

TEST(StandardBeat, ShortensTheQrsToThePeriod)
{
    reference::Beat beat;
    beat.frequency = 6.0;
    beat.qrs = 0.2;
    ExpectShape(OUTPUT_ECG, beat, reference::StandardBeat);
}

TEST(StandardBeat, HasItsLandmarksAtSixtyPerMinute)
{
    EXPECT_EQ(VoltageAt(OUTPUT_ECG, 0.0099), 0.0);
    EXPECT_NEAR(VoltageAt(OUTPUT_ECG, 0.05375), 0.875, 1e-9);
    EXPECT_NEAR(VoltageAt(OUTPUT_ECG, 0.10375), -0.125, 1e-9);
    EXPECT_NEAR(VoltageAt(OUTPUT_ECG, 0.11), 0.0, 1e-9);
    EXPECT_EQ(VoltageAt(OUTPUT_ECG, 0.1799), 0.0);
    EXPECT_NEAR(VoltageAt(OUTPUT_ECG, 0.27), 0.2, 1e-9);
    EXPECT_EQ(VoltageAt(OUTPUT_ECG, 0.3601), 0.0);
    EXPECT_EQ(VoltageAt(OUTPUT_ECG, 0.99), 0.0);
}

TEST(StandardBeat, HasTheWholeHeightPeakToPeak)
{
    g_Amplitude = 8.0;
    double low = 0.0;
    double high = 0.0;
    for (int i = 0; i < 20000; ++i) {
        const double v = VoltageAt(OUTPUT_ECG, i / 20000.0);
        low = std::min(low, v);
        high = std::max(high, v);
    }
    EXPECT_NEAR(high - low, 8.0, 0.02);
}

TEST(CustomBeat, FollowsItsParameters)
{
    reference::Beat beat;
    beat.amplitude = 1.5;
    beat.frequency = 0.9;
    beat.qrs = 0.08;
    beat.p = 0.15;
    beat.pDuration = 0.09;
    beat.prInterval = 0.18;
    beat.qtInterval = 0.4;
    beat.tDuration = 0.2;
    beat.t = 0.35;
    ExpectShape(OUTPUT_CUSTOM_ECG, beat, reference::CustomBeat);
    beat.st = 0.25;
    ExpectShape(OUTPUT_CUSTOM_ECG, beat, reference::CustomBeat);
    beat.st = -2.0;
    ExpectShape(OUTPUT_CUSTOM_ECG, beat, reference::CustomBeat);
}

TEST(CustomBeat, StandsWithItsDefaults)
{
    ExpectShape(OUTPUT_CUSTOM_ECG, reference::Beat(), reference::CustomBeat);
}

TEST(CustomBeat, LeavesOutStAndTWhereTheTWaveDoesNotFit)
{
    reference::Beat beat;
    beat.qtInterval = 0.25;  // 0.15 s of room
    beat.st = 0.4;
    ExpectShape(OUTPUT_CUSTOM_ECG, beat, reference::CustomBeat);
    beat.tDuration = 0.149;
    ExpectShape(OUTPUT_CUSTOM_ECG, beat, reference::CustomBeat);
}

TEST(CustomBeat, HasNoPWaveWithoutPRInterval)
{
    reference::Beat beat;
    beat.prInterval = 0.0;
    beat.pDuration = 0.0;
    ExpectShape(OUTPUT_CUSTOM_ECG, beat, reference::CustomBeat);
}

TEST(CustomBeat, LetsALongPWaveCoverTheStartOfTheQrs)
{
    reference::Beat beat;
    beat.prInterval = 0.06;
    ExpectShape(OUTPUT_CUSTOM_ECG, beat, reference::CustomBeat);
}

TEST(CustomBeat, UsesTheQrsThatWasShortenedToThePeriod)
{
    reference::Beat beat;
    beat.frequency = 6.0;
    beat.qrs = 0.2;
    beat.prInterval = 0.0;
    beat.pDuration = 0.0;
    ExpectShape(OUTPUT_CUSTOM_ECG, beat, reference::CustomBeat);
    EXPECT_NEAR(Derive(OUTPUT_CUSTOM_ECG).s_Cus_t5, 1.0 / 6.0, 1e-12);
}

TEST(CustomBeat, StepsBackToTheUndeviatedTWaveNinetyMillisecondsBeforeItsEnd)
{
    reference::Beat beat;
    beat.st = 1.0;
    Store(beat);
    const double end = 0.16 + 0.35;
    const double sine = std::sin(reference::kPi * 0.5);  // 90 ms are half of the T wave
    EXPECT_NEAR(VoltageAt(OUTPUT_CUSTOM_ECG, end - 0.09 - 1e-7), 1.0 + (0.2 - 1.0) * sine, 1e-6);
    EXPECT_NEAR(VoltageAt(OUTPUT_CUSTOM_ECG, end - 0.09 + 1e-7), 0.2 * sine, 1e-6);
}
}  // namespace
