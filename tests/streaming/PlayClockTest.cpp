// The play clock: how samples advance it, how it runs slow on purpose, and what a scan does to it.

#include <gtest/gtest.h>

#include <cmath>
#include <utility>
#include <vector>

#include "respiration/ExternalModule.h"
#include "streaming/OutputSelection.h"
#include "streaming/PendingChange.h"
#include "streaming/SimulationTimer.h"
#include "support/FittedModule.h"
#include "support/OfflineRun.h"
#include "support/PlayClockModel.h"
#include "support/ReferenceSignal.h"
#include "support/RegisteredListener.h"
#include "synthesis/BeatModel.h"
#include "synthesis/Respiration.h"

namespace {
std::vector<double> s_times;

// The graph time of every sample.
void RecordTimes(OfflineRun& run, std::size_t count)
{
    VRAXRegisterOutputSignalCallback([](double t, double) { s_times.push_back(t); }, 1);
    while (s_times.size() < count) run.NextPacket();
}

class PlayClock : public testing::TestWithParam<int> {};

TEST_P(PlayClock, HasAdvancedBy33333StepsAfter33334Samples)
{
    const double dt = 1.0 / GetParam();
    OfflineRun run(OUTPUT_SINE, GetParam());
    RecordTimes(run, 33400);
    // The time of a sample is what the samples before it have advanced the clock by.
    EXPECT_NEAR(s_times[33332], 33332 * dt, 1e-7 * dt * 33332);
    EXPECT_NEAR(s_times[33333], 33333 * dt, 1e-7 * dt * 33333);
    EXPECT_NEAR(s_times[33334], 33333 * dt, 1e-7 * dt * 33333);
    EXPECT_NEAR(s_times[33335], 33334 * dt, 1e-7 * dt * 33334);
}

TEST_P(PlayClock, RunsThirtyMillionthsSlowForGood)
{
    const double dt = 1.0 / GetParam();
    OfflineRun run(OUTPUT_SINE, GetParam());
    constexpr std::size_t kSamples = 1000000;
    RecordTimes(run, kSamples);
    EXPECT_NEAR(s_times[kSamples - 1] / dt, (kSamples - 1) * (1.0 - 3e-5), 1.01);
    const std::vector<long> steps = TimeSteps(kSamples, GetParam());
    for (std::size_t n = 0; n < kSamples; n += 97) {
        ASSERT_NEAR(s_times[n] / dt, static_cast<double>(steps[n]), 0.01) << n;
    }
}

INSTANTIATE_TEST_SUITE_P(Rates, PlayClock, testing::Values(100, 1000, 20000, 40000));

TEST(PlayClockLayouts, RunsSlowInThePPGLayoutToo)
{
    g_OutputLead = 1u;
    FitPPGModule(0x3307, 1, 2, 3);
    OfflineRun run(OUTPUT_SINE);
    g_OperateMode = std::uint8_t{7};
    RecordTimes(run, 33400);
    EXPECT_NEAR(s_times[33334] * 20000.0, 33333.0, 0.001);
}

TEST(PlayClockLayouts, RunsAtFullSpeedWithExternalRespiration)
{
    FitRespirationModule();
    g_RespirationEnabled = true;
    OfflineRun run(OUTPUT_SINE);
    ASSERT_EQ(g_OperateMode, 35);
    RecordTimes(run, 40000);
    EXPECT_NEAR(s_times[39999] * 5000.0, 39999.0, 0.001);
    EXPECT_EQ(g_fDelayAccumulated, 0.0);
}

TEST(PlayClockLayouts, IsNotWrappedAtTheEndOfACycle)
{
    g_F = 10.0;
    OfflineRun run(OUTPUT_SINE, 1000);
    run.NextPacket();
    EXPECT_NEAR(s_t, 0.7, 1e-9);
    EXPECT_NEAR(s_tg, 0.7, 1e-9);
}

class Scan : public testing::Test {
protected:
    // As when the scan starts from rest.
    static void Start(double start, double stop, int seconds)
    {
        ASSERT_EQ(VRAXSetFrequencyScanSine(true, seconds, start, stop), 0);
        g_bChangeOnNextCycle = false;
        Change();
    }

    RegisteredListener listener_;
};

// The phase is the sum of the frequencies: it never jumps while the period changes.
TEST_F(Scan, MovesTheFrequencyWithEverySampleAndKeepsThePhase)
{
    for (const auto& [start, stop] : {std::pair{0.67, 150.0}, std::pair{40.0, 2.0}}) {
        const double rate = 2000.0;
        OfflineRun run(OUTPUT_SINE, 2000);
        g_Amplitude = 2.0;
        Start(start, stop, 10);
        const double step = (stop - start) / 10.0 / rate;
        const auto samples = run.NextSamples(15000);
        for (std::size_t n = 0; n < samples.size(); ++n) {
            const double count = static_cast<double>(n);
            const double phase = (count * start + step * count * (count + 1.0) / 2.0) / rate;
            ASSERT_NEAR(samples[n].ac, 1600.0 * std::sin(2.0 * reference::kPi * phase), 1.1) << n;
        }
        const double count = static_cast<double>(samples.size());
        EXPECT_NEAR(g_F, start + count * step, 1e-6);
        s_FreqScanOn = false;
    }
}

// 0.35 s are within the cycle of 1 s that is going on.
TEST_F(Scan, HasItsFrequencyFromTheFirstSampleOn)
{
    OfflineRun run(OUTPUT_SINE, 2000);
    g_Amplitude = 2.0;
    Change();
    run.NextSamples(700);
    ASSERT_EQ(VRAXSetFrequencyScanSine(true, 10, 5.0, 50.0), 0);
    EXPECT_NEAR(run.NextSamples(1)[0].ac, 1600.0 * std::sin(2.0 * reference::kPi * 5.0 * 0.35),
                3.0);
    s_FreqScanOn = false;
}

TEST_F(Scan, RebasesTheClockToTheCycleButNotTheGraphTime)
{
    OfflineRun run(OUTPUT_SINE, 2000);
    Start(20.0, 30.0, 10);
    for (int i = 0; i < 10; ++i) {
        run.NextPacket();
        EXPECT_LE(s_t, s_tp + 1.0 / 2000.0);
    }
    EXPECT_NEAR(s_tg, 7000.0 / 2000.0, 1e-9);
    EXPECT_NEAR(s_tp, 1.0 / g_F, 1e-12);
}

TEST_F(Scan, DoesNothingToTheClockWithExternalRespiration)
{
    FitRespirationModule();
    g_RespirationEnabled = true;
    OfflineRun run(OUTPUT_SINE);
    Start(20.0, 30.0, 10);
    run.NextPacket();
    EXPECT_EQ(g_F, 20.0);
    EXPECT_NEAR(s_t, 200.0 / 5000.0, 1e-9);
}

using Calls = std::vector<std::pair<double, double>>;
Calls s_frequencyCalls;

void RecordFrequencies()
{
    s_frequencyCalls.clear();
    VRAXRegisterSyncFrequencyCB(
        [](double f, double second) { s_frequencyCalls.emplace_back(f, second); });
}

TEST_F(Scan, TellsTheFrequencyAfterEveryPacketWithinItsSpan)
{
    OfflineRun run(OUTPUT_SINE);
    Start(1.0, 2.0, 10);
    RecordFrequencies();
    for (const double inside : {1.0, 1.5, 2.0, 2.000004, 0.999996}) {
        g_F = inside;
        _UpdateFreqScanIfRequired();
        ASSERT_EQ(s_frequencyCalls.size(), 1u) << inside;
        EXPECT_EQ(s_frequencyCalls[0].first, inside);
        EXPECT_EQ(g_MainOutput, OUTPUT_SINE);
        s_frequencyCalls.clear();
    }
}

TEST_F(Scan, EndsOutsideItsSpanAtFiveDecimals)
{
    for (const double outside : {2.000006, 0.999994, 100.0}) {
        OfflineRun run(OUTPUT_SINE);
        Start(1.0, 2.0, 10);
        RecordFrequencies();
        g_F = outside;
        _UpdateFreqScanIfRequired();
        ASSERT_EQ(s_frequencyCalls.size(), 2u) << outside;
        EXPECT_EQ(s_frequencyCalls[1], (std::pair{-1.0, 2.0}));
        EXPECT_EQ(g_MainOutput, OUTPUT_OFF);
        EXPECT_EQ(VRAXGetFrequencyScanSineStartFrequency(), 1.0);
        EXPECT_EQ(VRAXGetFrequencyScanSineStopFrequency(), 2.0);
        EXPECT_EQ(VRAXGetFrequencyScanSineDuration(), 10);
        EXPECT_EQ(VRAXIsPlaying(), 0);
    }
}

TEST_F(Scan, MayFall)
{
    OfflineRun run(OUTPUT_SINE);
    Start(2.0, 1.0, 10);
    RecordFrequencies();
    for (const double inside : {2.0, 1.5, 1.0}) {
        g_F = inside;
        _UpdateFreqScanIfRequired();
        EXPECT_EQ(g_MainOutput, OUTPUT_SINE) << inside;
    }
    g_F = 0.9999;
    _UpdateFreqScanIfRequired();
    EXPECT_EQ(g_MainOutput, OUTPUT_OFF);
    EXPECT_EQ(s_frequencyCalls.back(), (std::pair{-1.0, 1.0}));
}

TEST_F(Scan, OfTheEcgEndsAsWell)
{
    OfflineRun run(OUTPUT_ECG);
    VRAXSetFrequencyScanECG(true);
    RecordFrequencies();
    g_F = 0.51;
    _UpdateFreqScanIfRequired();
    EXPECT_EQ(s_frequencyCalls.back(), (std::pair{-1.0, 0.5}));
    EXPECT_EQ(g_MainOutput, OUTPUT_OFF);
}

TEST_F(Scan, TellsNothingWhileNoneRuns)
{
    OfflineRun run(OUTPUT_SINE);
    RecordFrequencies();
    _UpdateFreqScanIfRequired();
    EXPECT_TRUE(s_frequencyCalls.empty());
}

// The number of samples that fit, by whole numbers.
TEST(TimerPeriod, IsTheDurationOfAPacketInWholeMilliseconds)
{
    const struct {
        int mode;
        int rate;
        unsigned ms;
    } kPeriods[] = {{3, 20000, 35},  {3, 1000, 700},  {3, 40000, 17},
                    {8, 20000, 35},  {7, 10000, 35},  {15, 10000, 20},
                    {31, 10000, 15}, {23, 10000, 20}, {35, 5000, 140}};
    for (const auto& [mode, rate, ms] : kPeriods) {
        g_OperateMode = static_cast<std::uint8_t>(mode);
        s_sampleRate = rate;
        EXPECT_EQ(_CalculateTimerPeriod(), ms) << mode << " at " << rate;
    }
}
}  // namespace
