// The test signals and the calibration beat in millivolts, against their closed forms.

#include <gtest/gtest.h>

#include <functional>

#include "support/ReferenceSignal.h"
#include "synthesis/BeatModel.h"
#include "synthesis/MainFunction.h"
#include "synthesis/Parameters.h"

namespace {
constexpr int kRate = 20000;
constexpr double kTolerance = 1e-9;

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

// All over the cycle, but not on a step. The points are no round parts of it.
void ExpectShape(int function, double period, const std::function<double(double)>& expected)
{
    constexpr int kPoints = 4999;
    CycleQuantities cycle = Derive(function);
    EXPECT_NEAR(cycle.s_tp, period, 1e-12);
    int compared = 0;
    for (int i = 0; i < kPoints; ++i) {
        const double t = (i + 0.137) * period / kPoints;
        if (std::fabs(expected(t + 1e-9) - expected(t - 1e-9)) > 1e-3) continue;
        ASSERT_NEAR(MainFunctionVoltage(function, cycle, {t, kRate}, t), expected(t), kTolerance)
            << "function " << function << " at " << t;
        ++compared;
    }
    EXPECT_GT(compared, kPoints - 10);
}

struct Setting {
    double amplitude;
    double frequency;
};
const Setting kSettings[] = {{1.0, 1.0}, {-7.5, 2.5}, {40.0, 0.05}, {0.0, 1.0}, {3.3, 4.7}};

void ForEachSetting(const std::function<void(double, double)>& check)
{
    for (const Setting& setting : kSettings) {
        g_Amplitude = setting.amplitude;
        g_F = setting.frequency;
        check(setting.amplitude, setting.frequency);
    }
}

TEST(Sine, HasThePeakToPeakHeightAndTheFrequency)
{
    ForEachSetting([](double a, double f) {
        ExpectShape(OUTPUT_SINE, 1.0 / f, [=](double t) { return reference::Sine(a, f, t); });
    });
    g_Amplitude = 2.0;
    g_F = 500.0;
    ExpectShape(OUTPUT_SINE, 0.002, [](double t) { return reference::Sine(2.0, 500.0, t); });
}

TEST(Triangle, RisesThroughZeroAndReachesBothPeaksAtTheQuarters)
{
    ForEachSetting([](double a, double f) {
        ExpectShape(OUTPUT_TRIANGLE, 1.0 / f,
                    [=](double t) { return reference::Triangle(a, f, t); });
    });
    g_Amplitude = 4.0;
    g_F = 1.0;
    EXPECT_DOUBLE_EQ(VoltageAt(OUTPUT_TRIANGLE, 0.25), 2.0);
    EXPECT_DOUBLE_EQ(VoltageAt(OUTPUT_TRIANGLE, 0.75), -2.0);
}

TEST(Square, IsHighInTheFirstHalfAndLowFromTheMiddleOn)
{
    ForEachSetting([](double a, double f) {
        ExpectShape(OUTPUT_SQUARE, 1.0 / f, [=](double t) { return reference::Square(a, f, t); });
    });
    g_Amplitude = 4.0;
    g_F = 1.0;
    EXPECT_EQ(VoltageAt(OUTPUT_SQUARE, 0.0), 2.0);
    EXPECT_EQ(VoltageAt(OUTPUT_SQUARE, 0.5), -2.0);
}

TEST(RectangularPulse, HasEdgesOfOneMillisecondAndTheWholeHeight)
{
    for (const double width : {1.0, 20.0, 100.0, 180.0}) {
        g_PulseWidth = width;
        ForEachSetting([=](double a, double f) {
            ExpectShape(OUTPUT_RECT_PULSE, 1.0 / f,
                        [=](double t) { return reference::RectangularPulse(a, width, t); });
        });
    }
    g_Amplitude = 2.0;
    g_PulseWidth = 100.0;
    EXPECT_DOUBLE_EQ(VoltageAt(OUTPUT_RECT_PULSE, 0.0005), 1.0);
    EXPECT_DOUBLE_EQ(VoltageAt(OUTPUT_RECT_PULSE, 0.05), 2.0);
    EXPECT_NEAR(VoltageAt(OUTPUT_RECT_PULSE, 0.1005), 1.0, kTolerance);
    EXPECT_EQ(VoltageAt(OUTPUT_RECT_PULSE, 0.102), 0.0);
}

TEST(TriangularPulse, HasItsHeightInTheMiddleOfItsBase)
{
    for (const double width : {1.0, 60.0, 200.0}) {
        g_PulseWidth = width;
        ForEachSetting([=](double a, double f) {
            ExpectShape(OUTPUT_TRIANGLE_PULSE, 1.0 / f,
                        [=](double t) { return reference::TriangularPulse(a, width, 0.0, t); });
        });
    }
}

TEST(TriangularPulse, ComesTenMillisecondsLaterWithPacing)
{
    g_PA = -1.0;
    g_PulseWidth = 60.0;
    ExpectShape(OUTPUT_TRIANGLE_PULSE, 1.0,
                [](double t) { return reference::TriangularPulse(1.0, 60.0, 0.01, t); });
}

TEST(Decay, FallsFromTheWholeHeightWithFiftyMilliseconds)
{
    ForEachSetting([](double a, double f) {
        ExpectShape(OUTPUT_EXP_DECAY, 1.0 / f, [=](double t) { return reference::Decay(a, t); });
    });
}

TEST(BaselinePulse, StepsUpAndDownOnceASecondWhateverTheFrequency)
{
    ForEachSetting([](double a, double) {
        ExpectShape(OUTPUT_BASELINE_PULSE, 1.0,
                    [=](double t) { return reference::BaselinePulse(a, t); });
    });
    g_Amplitude = 2.0;
    EXPECT_DOUBLE_EQ(VoltageAt(OUTPUT_BASELINE_PULSE, 0.0), 1.0);
    EXPECT_DOUBLE_EQ(VoltageAt(OUTPUT_BASELINE_PULSE, 0.5), -1.0);
}

TEST(CalibrationBeat, FollowsItsSegmentTableWithTheNotch)
{
    ForEachSetting([](double a, double f) {
        ExpectShape(OUTPUT_JJG1041, 1.0 / f,
                    [=](double t) { return reference::Jjg1041(a, f, true, t); });
    });
}

TEST(CalibrationBeat, FollowsItsSegmentTableWithASingleCrest)
{
    ForEachSetting([](double a, double f) {
        ExpectShape(OUTPUT_JJG1041_SINGLE_R, 1.0 / f,
                    [=](double t) { return reference::Jjg1041(a, f, false, t); });
    });
}

TEST(CalibrationBeat, NotchDipsBetweenItsCrestsAndTheSingleCrestDoesNot)
{
    g_Amplitude = 2.0;  // half of it is 1 mV
    const double u = 0.75;
    const double qBegin = 0.1653 * u;
    EXPECT_NEAR(VoltageAt(OUTPUT_JJG1041, qBegin + 0.0427 * u), 1.605, 1e-6);
    EXPECT_NEAR(VoltageAt(OUTPUT_JJG1041, qBegin + 0.05835 * u), 0.716, 1e-6);
    EXPECT_NEAR(VoltageAt(OUTPUT_JJG1041, qBegin + 0.074 * u), 1.068, 1e-6);
    const double straight = 1.605 * (0.0947 - 0.05835) / (0.0947 - 0.0427);
    EXPECT_NEAR(VoltageAt(OUTPUT_JJG1041_SINGLE_R, qBegin + 0.05835 * u), straight, 1e-6);
}

TEST(CalibrationBeat, IsContinuousWhereTheTWaveMeetsTheS)
{
    g_Amplitude = 2.0;
    const double joint = (0.1653 + 0.516 - 0.212) * 0.75;
    EXPECT_NEAR(VoltageAt(OUTPUT_JJG1041, joint - 1e-6), -0.116, 1e-9);
    EXPECT_NEAR(VoltageAt(OUTPUT_JJG1041, joint + 1e-6), -0.116, 1e-3);
}

TEST(CalibrationBeat, TakesNeitherNoiseNorDriftNorClamp)
{
    g_Amplitude = 40.0;
    g_MainNoise = 1;
    g_MainsNoiseAmp = 5.0;
    g_AAMIDriftTest = true;
    g_RangeV4Ch2On = 5.0;
    ExpectShape(OUTPUT_JJG1041, 1.0,
                [](double t) { return reference::Jjg1041(40.0, 1.0, true, t); });
}

TEST(OtherNumbers, PlayZeroMillivolts)
{
    g_MainNoise = 1;
    for (const int function : {18, 100, 9999, 10001, -1, -2147483647 - 1, 2147483647}) {
        for (const double t : {0.0, 0.05, 0.3, 0.99}) EXPECT_EQ(VoltageAt(function, t), 0.0);
    }
}
}  // namespace
