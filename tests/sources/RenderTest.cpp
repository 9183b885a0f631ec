// A function rendered into an array.

#include <gtest/gtest.h>

#include <cmath>
#include <utility>
#include <vector>

#include "streaming/Playback.h"
#include "support/OfflineRun.h"
#include "support/ReferenceSignal.h"

namespace {
constexpr double kUntouched = 1e99;

std::vector<double> Render(int function, int count, int rate, int* result = nullptr)
{
    std::vector<double> out(static_cast<std::size_t>(count), kUntouched);
    const int returned =
        GetRawDataArrayEx(static_cast<unsigned>(function), out.data(), count, rate);
    if (result != nullptr) *result = returned;
    return out;
}

// 26.49995 s is the first sample whose ten-thousandths round to 265000, a multiple of 5000.
TEST(Render, StepsTheInputRampAtTheFirstSampleThatRoundsToTheHalfSecond)
{
    const std::vector<double> ac = Render(OUTPUT_INPUT_DYNAMIC_RANGE, 530001, 20000);
    EXPECT_LT(ac[529998], -0.49);
    EXPECT_EQ(ac[529999], 0.0);
    EXPECT_NEAR(ac[530000], -1.0 / 20000, 1e-9);
}

TEST(Render, GivesTheFunctionAtEverySampleTime)
{
    g_Amplitude = 2.5;
    g_F = 1.5;
    reference::Beat beat;
    beat.amplitude = 2.5;
    beat.frequency = 1.5;
    for (const int rate : {100, 997, 40000}) {
        const int count = 2 * rate;
        const std::vector<double> sine = Render(OUTPUT_SINE, count, rate);
        const std::vector<double> ecg = Render(OUTPUT_ECG, count, rate);
        const std::vector<double> jjg = Render(OUTPUT_JJG1041, count, rate);
        for (std::size_t i = 0; i < sine.size(); ++i) {
            const double t = static_cast<double>(i) / rate;
            const double tc = std::fmod(t, 1.0 / 1.5);
            ASSERT_NEAR(sine[i], reference::Sine(2.5, 1.5, t), 1e-9) << i;
            ASSERT_NEAR(ecg[i], reference::StandardBeat(beat, tc), 1e-8) << i;
            ASSERT_NEAR(jjg[i], reference::Jjg1041(2.5, 1.5, true, tc), 1e-8) << i;
        }
    }
}

TEST(Render, DerivesTheCycleForTheAskedFunction)
{
    g_F = 8.0;  // above the beats' ceiling
    reference::Beat beat;
    beat.frequency = 6.0;
    const std::vector<double> ecg = Render(OUTPUT_ECG, 1000, 1000);
    for (std::size_t i = 0; i < ecg.size(); ++i) {
        const double t = std::fmod(static_cast<double>(i) / 1000.0, 1.0 / 6.0);
        if (std::fabs(t - 1.0 / 6.0) < 1e-9) continue;
        ASSERT_NEAR(ecg[i], reference::StandardBeat(beat, t), 1e-8) << i;
    }
    const std::vector<double> pulse = Render(OUTPUT_BASELINE_PULSE, 2000, 1000);
    EXPECT_NEAR(pulse[1250], reference::BaselinePulse(1.0, 0.25), 1e-9);
    EXPECT_NEAR(pulse[1750], reference::BaselinePulse(1.0, 0.75), 1e-9);
}

TEST(Render, LeavesTheParametersAsTheyWere)
{
    g_F = 8.0;
    g_PulseWidth = 77.0;
    g_Amplitude = 40.0;
    g_DynamicRangeTest = true;
    g_ADynamicRange = 4.0;
    g_DCSetting = 12;
    for (const int function : {3, 7, 12, 15, 10000}) {
        Render(function, 100, 1000);
        EXPECT_EQ(VRAXGetFrequency(), 8.0);
        EXPECT_EQ(VRAXGetPulseWidth(), 77.0);
        EXPECT_EQ(VRAXGetAmplitude(), 40.0);
        EXPECT_EQ(VRAXGetDCOffset(), 12);
        EXPECT_EQ(VRAXGetSampleRate(), 20000);
        EXPECT_EQ(VRAXGetOutputFunction(), OUTPUT_OFF);
        EXPECT_EQ(s_t, 0.0);
    }
}

TEST(Render, StartsNoRun)
{
    Render(OUTPUT_ECG, 100, 1000);
    EXPECT_EQ(VRAXIsPlaying(), 0);
    EXPECT_FALSE(IsRunGoing());
}

TEST(Render, ReturnsTheCountWithinOneSecondAndHalfAnHour)
{
    int result = 0;
    Render(OUTPUT_SINE, 100, 1000, &result);
    EXPECT_EQ(result, 1000);
    Render(OUTPUT_SINE, 999, 1000, &result);
    EXPECT_EQ(result, 1000);
    Render(OUTPUT_SINE, 1000, 1000, &result);
    EXPECT_EQ(result, 1000);
    Render(OUTPUT_SINE, 1500, 1000, &result);
    EXPECT_EQ(result, 1500);  // no whole number of seconds
    Render(OUTPUT_SINE, 180000, 100, &result);
    EXPECT_EQ(result, 180000);
    Render(OUTPUT_SINE, 180001, 100, &result);
    EXPECT_EQ(result, 180000);
    Render(OUTPUT_SINE, 180099, 100, &result);
    EXPECT_EQ(result, 180000);
}

TEST(Render, FillsTheArrayWhateverItReturns)
{
    for (const int count : {1, 100, 180050}) {
        for (const double value : Render(OUTPUT_SINE, count, 100)) ASSERT_NE(value, kUntouched);
    }
}

TEST(Render, RefusesRatesOutsideItsRange)
{
    int result = -1;
    EXPECT_EQ(Render(OUTPUT_SINE, 1, 99, &result)[0], kUntouched);
    EXPECT_EQ(result, 0);
    EXPECT_EQ(Render(OUTPUT_SINE, 1, 40001, &result)[0], kUntouched);
    EXPECT_EQ(result, 0);
    Render(OUTPUT_SINE, 1, 100, &result);
    EXPECT_EQ(result, 100);
    Render(OUTPUT_SINE, 1, 40000, &result);
    EXPECT_EQ(result, 40000);
}

TEST(Render, RefusesWithoutAnArray)
{
    EXPECT_EQ(GetRawDataArrayEx(OUTPUT_SINE, nullptr, 100, 1000), 0);
}

TEST(Render, RefusesWhilePlaying)
{
    OfflineRun run(OUTPUT_SINE);
    int result = -1;
    EXPECT_EQ(Render(OUTPUT_SINE, 1, 1000, &result)[0], kUntouched);
    EXPECT_EQ(result, 0);
    EXPECT_EQ(VRAXGetOutputFunction(), OUTPUT_SINE);
}

TEST(Render, PlaysTheRecordRepeatedOrOnce)
{
    static std::vector<std::pair<double, double>> s_ends;
    RegisterStandardWaveformCB([](double t, double period) { s_ends.emplace_back(t, period); });
    const double record[] = {1.0, 2.0};
    ASSERT_EQ(SetRawArray(2, record, 8), 0);  // a quarter of a second
    std::vector<double> out = Render(OUTPUT_ECG_FILE, 128, 128);
    EXPECT_EQ(out[0], 1.0);
    EXPECT_EQ(out[16], 2.0);
    EXPECT_EQ(out[32], 1.0);
    EXPECT_EQ(out[127], 2.0);
    EXPECT_TRUE(s_ends.empty());
    VRAXSetFileLoop(0);
    out = Render(OUTPUT_ECG_FILE, 128, 128);
    EXPECT_EQ(out[31], 2.0);
    EXPECT_EQ(out[34], 0.0);
    EXPECT_EQ(out[127], 0.0);
    ASSERT_EQ(s_ends.size(), 1u);
    EXPECT_NEAR(s_ends[0].first, 33.0 / 128.0, 1e-9);
    EXPECT_EQ(s_ends[0].second, 0.25);
}

TEST(Render, GivesTheFractionOfTheYY1079Ramp)
{
    const std::vector<double> out = Render(OUTPUT_YY1079_DYNAMIC_RANGE, 400, 100);
    for (std::size_t i = 0; i < out.size(); ++i) {
        const double v = -300.0 + static_cast<double>(i) / 100.0;
        ASSERT_NEAR(std::fmod(out[i] - (v - std::trunc(v)) + 1.5, 1.0), 0.5, 1e-9) << i;
        ASSERT_LT(std::fabs(out[i]), 1.0);
    }
}

TEST(Render, AddsNoiseAtItsOwnTimes)
{
    g_Amplitude = 0.0;
    g_CusT = 0.0;
    g_MainNoise = 1;
    g_MainsNoiseAmp = 2.0;
    const std::vector<double> out = Render(OUTPUT_ECG, 1000, 1000);
    for (std::size_t i = 0; i < out.size(); ++i) {
        ASSERT_NEAR(out[i], reference::Sine(2.0, 50.0, static_cast<double>(i) / 1000.0), 1e-9);
    }
}
}  // namespace
