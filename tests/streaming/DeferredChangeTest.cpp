// When a change of parameters takes effect while a signal plays.

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>

#include "storage/Calibration.h"
#include "streaming/PendingChange.h"
#include "support/OfflineRun.h"
#include "support/ReferenceSignal.h"
#include "support/RegisteredListener.h"
#include "synthesis/BeatModel.h"

namespace {
// The number of the first sample with another code than sample 0; a square of 1 Hz is high in the
// first half and low in the second, so its height counts.
std::size_t FirstSampleWithNewHeight(OfflineRun& run, std::size_t limit)
{
    const auto samples = run.NextSamples(limit);
    for (std::size_t n = 0; n < samples.size(); ++n) {
        if (std::abs(samples[n].ac) != std::abs(samples[0].ac)) return n;
    }
    return samples.size();
}

class DeferredChange : public testing::Test {
protected:
    DeferredChange() { _SetECGDCDefaultCalibrationData(); }

    RegisteredListener listener_;
};

TEST_F(DeferredChange, IsAppliedInTheLastFourTenthsOfAMillisecond)
{
    const std::size_t rates[] = {40000, 20000, 5000};
    for (const std::size_t rate : rates) {
        g_Amplitude = 2.0;
        OfflineRun run(OUTPUT_SQUARE, static_cast<int>(rate));
        ASSERT_EQ(VRAXSetAmplitude(4.0), 0);
        const std::size_t first = FirstSampleWithNewHeight(run, rate + rate / 2);
        // The sample at which it is applied is still the old one.
        EXPECT_GT(static_cast<double>(first), static_cast<double>(rate) * (1.0 - 0.0004)) << rate;
        EXPECT_LE(static_cast<double>(first), static_cast<double>(rate) * (1.0 - 0.0004) + 2.0)
            << rate;
        EXPECT_FALSE(g_bChangeOnNextCycle);
    }
}

TEST_F(DeferredChange, IsAppliedWithTheLastSampleOfTheCycleAtLowRates)
{
    const std::size_t rates[] = {100, 128, 250, 1000, 2000, 2500};
    for (const std::size_t rate : rates) {
        g_Amplitude = 2.0;
        OfflineRun run(OUTPUT_SQUARE, static_cast<int>(rate));
        ASSERT_EQ(VRAXSetAmplitude(4.0), 0);
        EXPECT_EQ(FirstSampleWithNewHeight(run, rate + rate / 2), rate);
    }
}

TEST_F(DeferredChange, IsAppliedAtOnceBelowFifteenHundredthsOfAHertz)
{
    g_F = 0.149;
    OfflineRun run(OUTPUT_SQUARE);
    VRAXSetAmplitude(4.0);
    EXPECT_EQ(FirstSampleWithNewHeight(run, 700), 1u);
}

TEST_F(DeferredChange, WaitsForTheCycleAtFifteenHundredthsOfAHertz)
{
    g_F = 0.15;
    OfflineRun run(OUTPUT_SQUARE, 1000);
    VRAXSetAmplitude(4.0);
    const std::size_t first = FirstSampleWithNewHeight(run, 7000);
    EXPECT_GE(first, 6666u);
    EXPECT_LE(first, 6667u);
}

TEST_F(DeferredChange, NeverBendsASineWithinItsCycle)
{
    g_Amplitude = 2.0;
    OfflineRun run(OUTPUT_SINE, 1000);
    run.NextPacket();  // 0.7 s
    ASSERT_EQ(VRAXSetFrequency(4.0), 0);
    const auto samples = run.NextSamples(1400);
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const double t = static_cast<double>(i + 700) / 1000.0;
        const double mv = reference::Sine(2.0, t < 1.0 ? 1.0 : 4.0, t);
        ASSERT_NEAR(samples[i].ac, 1600.0 * mv, 1.0 + 1e-6) << t;
    }
}

TEST_F(DeferredChange, LeavesTheRelaysUntilTheCycleEnds)
{
    OfflineRun run(OUTPUT_SINE, 1000);
    const std::uint32_t before = g_nRelayControl;
    ASSERT_EQ(VRAXSetDCOffset(100), 0);
    run.NextPacket();
    EXPECT_EQ(g_nRelayControl, before);
    run.NextPacket();
    EXPECT_EQ(g_nRelayControl, before | 0x1004u);
}

// The level itself is read with each sample.
TEST_F(DeferredChange, LeavesPlainLevelsToTheNextSample)
{
    OfflineRun run(OUTPUT_ECG, 1000);
    VRAXSetDCOffset(100);
    const auto samples = run.NextSamples(700);
    EXPECT_EQ(samples[0].dc, samples[699].dc);
    const int withOffset = samples[0].dc;
    VRAXSetDCOffset(0);
    EXPECT_NE(run.NextSamples(700)[0].dc, withOffset);
}

TEST_F(DeferredChange, FollowsASwitchOfTheFunctionAtTheCyclesEnd)
{
    g_F = 2.0;
    OfflineRun run(OUTPUT_SINE, 1000);
    run.NextPacket();
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_BASELINE_PULSE), 0);  // this one at once
    EXPECT_EQ(g_Cycle.Read().s_tp, 1.0);
    ASSERT_EQ(VRAXSetFrequency(5.0), 0);
    EXPECT_TRUE(g_bChangeOnNextCycle);
    run.NextPacket();
    EXPECT_TRUE(g_bChangeOnNextCycle);
    run.NextPacket();
    EXPECT_FALSE(g_bChangeOnNextCycle);
    EXPECT_EQ(g_F, 1.0);
}

TEST_F(DeferredChange, IsOneForSeveralSetters)
{
    static int s_changes;
    s_changes = 0;
    VRAXRegisterSyncFrequencyCB([](double, double) { ++s_changes; });
    OfflineRun run(OUTPUT_ECG, 1000);
    VRAXSetFrequency(7.0);
    VRAXSetFrequency(8.0);
    VRAXSetAmplitude(2.0);
    EXPECT_EQ(s_changes, 0);
    run.NextPacket();
    EXPECT_EQ(s_changes, 0);
    run.NextPacket();
    EXPECT_EQ(s_changes, 1);
    EXPECT_EQ(VRAXGetFrequency(), 6.0);
}

// A period that is no number must not hold a change back for ever.
TEST_F(DeferredChange, IsNotHeldBackByAFrequencyThatIsNone)
{
    g_F = std::nan("");
    OfflineRun run(OUTPUT_SQUARE, 1000);
    VRAXSetFrequency(1.0);
    run.NextPacket();
    EXPECT_FALSE(g_bChangeOnNextCycle);
    EXPECT_EQ(g_Cycle.Read().s_tp, 1.0);
}

TEST_F(DeferredChange, WindowEndsBeforeFourTenthsOfAMillisecond)
{
    static int s_applied;
    s_applied = 0;
    SetChangeHandler([] { ++s_applied; });
    const auto check = [](double left, double sampleInterval) {
        g_bChangeOnNextCycle = true;
        _CheckIfChangeRequired(2.0 - left, 2.0, sampleInterval);
        return !g_bChangeOnNextCycle;
    };
    EXPECT_FALSE(check(0.00041, 0.00005));
    EXPECT_TRUE(check(0.00039, 0.00005));
    EXPECT_FALSE(check(0.0101, 0.01));
    EXPECT_TRUE(check(0.01, 0.01));
    g_bChangeOnNextCycle = false;
    _CheckIfChangeRequired(1.9999, 2.0, 0.00005);
    EXPECT_EQ(s_applied, 2);
}
}  // namespace
