// The state of a pacing pulse sample by sample: when it starts, how long it lasts, what it leaves
// on the AC path.

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "support/FittedModule.h"
#include "synthesis/BeatModel.h"
#include "synthesis/Pacing.h"
#include "synthesis/Parameters.h"
#include "synthesis/PlayClock.h"

namespace {
struct Step {
    double dc = 0.0;
    double overshoot = 0.0;
    bool starts = false;
    bool last = false;  // of the pulse
};

// A run whose samples are taken one at a time, at n / rate.
class Pulses : public testing::Test {
protected:
    Pulses()
    {
        g_MainOutput = OUTPUT_SINE;
        g_pacingSynchronized = false;
        g_PA = 50.0;
    }

    void Start(int rate)
    {
        s_sampleRate = rate;
        DerivedParameters ignored;
        cycle_ = DeriveCycle(g_MainOutput, rate, ignored);
        sample_ = 0;
    }

    Step Next()
    {
        s_t = static_cast<double>(sample_++) / s_sampleRate;
        s_PacingPulseRaised = false;
        Step step;
        step.dc = _GetPacingV5(cycle_, step.overshoot, 0.0);
        step.starts = s_PacingPulseRaised;
        step.last = s_PacingShortPulseNeeded;
        return step;
    }

    std::vector<Step> Take(std::size_t count)
    {
        std::vector<Step> steps;
        for (std::size_t i = 0; i < count; ++i) steps.push_back(Next());
        return steps;
    }

    static std::vector<std::size_t> Starts(const std::vector<Step>& steps)
    {
        std::vector<std::size_t> starts;
        for (std::size_t i = 0; i < steps.size(); ++i) {
            if (steps[i].starts) starts.push_back(i);
        }
        return starts;
    }

    CycleQuantities cycle_;
    std::size_t sample_ = 0;
};

using Samples = std::vector<std::size_t>;

// 60 a minute, 30 ms ahead of every second; the standard beat starts 10 ms into its cycle.
TEST_F(Pulses, StartThirtyMillisecondsBeforeTheirDueTime)
{
    Start(1000);
    EXPECT_EQ(Starts(Take(3000)), (Samples{970, 1970, 2970}));
    for (const int function : {OUTPUT_SQUARE, OUTPUT_CUSTOM_ECG, OUTPUT_ECG_FILE}) {
        g_MainOutput = function;
        EXPECT_EQ(GetPacingLeadingTime(), 0.03) << function;
    }
}

TEST_F(Pulses, StartTwentyMillisecondsBeforeTheStandardBeat)
{
    g_MainOutput = OUTPUT_ECG;
    EXPECT_NEAR(GetPacingLeadingTime(), 0.02, 1e-15);
    Start(1000);
    EXPECT_EQ(Starts(Take(3000)), (Samples{980, 1980, 2980}));
}

TEST_F(Pulses, OfModesOneAndTwoComeTwiceThatMuchApart)
{
    g_PacingPulse = 1;
    Start(1000);
    EXPECT_EQ(Starts(Take(2000)), (Samples{820, 970, 1820, 1970}));
    g_PacingPulse = 2;
    Start(1000);
    EXPECT_EQ(Starts(Take(2000)), (Samples{720, 970, 1720, 1970}));
}

TEST_F(Pulses, OfAnyOtherModeComeOnce)
{
    for (const int mode : {3, -1, 100}) {
        g_PacingPulse = mode;
        Start(1000);
        EXPECT_EQ(Starts(Take(2000)), (Samples{970, 1970})) << mode;
    }
}

TEST_F(Pulses, ShowTheirAmplitudeForTheirLengthAndTellTheLastSample)
{
    const struct {
        double ms;
        int rate;
        std::size_t samples;
    } kLengths[] = {{2.0, 1000, 2},  {3.0, 20000, 60}, {0.5, 1000, 1},
                    {1.49, 1000, 1}, {2.0, 250, 1},    {0.03, 20000, 1}};
    for (const double amplitude : {50.0, -50.0}) {
        g_PA = amplitude;
        for (const auto& [ms, rate, samples] : kLengths) {
            g_PacingDuration = ms;
            Start(rate);
            const auto steps = Take(static_cast<std::size_t>(rate));
            const Samples starts = Starts(steps);
            ASSERT_EQ(starts.size(), 1u) << ms << " " << rate;
            for (std::size_t i = 0; i < steps.size(); ++i) {
                const bool inside = i >= starts[0] && i < starts[0] + samples;
                ASSERT_EQ(steps[i].dc, inside ? amplitude : 0.0) << ms << " " << rate << " " << i;
                ASSERT_EQ(steps[i].last, i == starts[0] + samples - 1) << rate << " " << i;
            }
        }
    }
}

TEST_F(Pulses, ShorterThanHalfASampleLeaveTheirOvershootAlone)
{
    g_PacingDuration = 0.03;
    g_POA = 2.0;
    g_PacingOvershootTC = 10u;
    Start(1000);
    const auto steps = Take(1000);
    ASSERT_EQ(Starts(steps), Samples{970});
    for (const Step& step : steps) {
        ASSERT_EQ(step.dc, 0.0);
        ASSERT_FALSE(step.last);
    }
    EXPECT_EQ(steps[970].overshoot, -2.0);
    EXPECT_NEAR(steps[980].overshoot, -2.0 / std::exp(1.0), 1e-12);
}

TEST_F(Pulses, OvershootOpposesThePulseAndDecaysFromItsEnd)
{
    constexpr int kRate = 2000;
    for (const double amplitude : {50.0, -50.0}) {
        for (const unsigned ms : {1u, 7u, 100u}) {
            g_PA = amplitude;
            g_POA = 3.0;
            g_PacingOvershootTC = ms;
            Start(kRate);
            const auto steps = Take(kRate);
            const std::size_t first = Starts(steps).at(0);
            const std::size_t end = first + 4;  // 2 ms
            for (std::size_t i = first; i < end; ++i) ASSERT_EQ(steps[i].overshoot, 0.0) << i;
            EXPECT_EQ(steps[end].overshoot, amplitude > 0 ? -3.0 : 3.0);
            for (std::size_t i = end; i < steps.size(); ++i) {
                const double sinceEnd = 1000.0 * static_cast<double>(i - end) / kRate;  // ms
                const double expected = std::copysign(3.0, -amplitude) * std::exp(-sinceEnd / ms);
                ASSERT_NEAR(steps[i].overshoot, expected, 1e-9) << ms << " " << i;
            }
        }
    }
}

// Deriving counts 1000 samples since the last pulse: what it would have left goes on decaying.
TEST_F(Pulses, OvershootBeforeTheFirstIsOfAPulseAThousandSamplesAgo)
{
    g_POA = 5.0;
    g_PacingOvershootTC = 100u;
    Start(20000);
    const auto steps = Take(19000);
    ASSERT_TRUE(Starts(steps).empty());
    for (std::size_t i = 0; i < steps.size(); ++i) {
        const double ms = (static_cast<double>(i) + 1000.0 - 40.0) / 20.0;
        ASSERT_NEAR(steps[i].overshoot, -5.0 * std::exp(-ms / 100.0), 1e-9) << i;
    }
}

TEST_F(Pulses, HaveNoOvershootWithoutATimeConstantOrAmplitude)
{
    g_POA = 5.0;
    g_PacingOvershootTC = 0u;
    Start(1000);
    for (const Step& step : Take(1000)) ASSERT_EQ(step.overshoot, 0.0);
    g_POA = 0.0;
    g_PacingOvershootTC = 100u;
    Start(1000);
    for (const Step& step : Take(1000)) ASSERT_EQ(step.overshoot, 0.0);
}

TEST_F(Pulses, StartOnceThoughTheirTimeIsSeenAgain)
{
    Start(1000);
    Take(970);
    EXPECT_TRUE(Next().starts);
    for (int i = 0; i < 5; ++i) {
        --sample_;  // the play clock repeats a step now and then
        EXPECT_FALSE(Next().starts);
    }
    EXPECT_EQ(Starts(Take(1000)), Samples{999});
}

// However short it is, and however far away its other one.
TEST_F(Pulses, OfADoublePulseAreNeverTriggeredTwice)
{
    for (const double ms : {0.6, 1.0, 2.0, 3.0}) {
        for (const unsigned perMinute : {60u, 72u, 90u, 100u, 150u}) {
            g_PacingPulse = 1;
            g_PacingRate = perMinute;
            g_PacingDuration = ms;
            Start(1000);
            const Samples starts = Starts(Take(20000));
            for (std::size_t i = 1; i < starts.size(); ++i) {
                ASSERT_GT(starts[i] - starts[i - 1], 10u) << ms << " " << perMinute;
            }
        }
    }
}

TEST_F(Pulses, AreDueNoEarlierThanAMillionthOfThePeriod)
{
    Start(1000000);
    Take(969990);
    const Samples starts = Starts(Take(20));
    ASSERT_EQ(starts.size(), 1u);
    EXPECT_GE(starts[0], 9u);  // 969999 is 1 us early
    EXPECT_LE(starts[0], 10u);
}

// What was due before the run is none of its pulses, but for the tolerance: 0.5 ms of 1 ms where a
// rest is left, and then 8.1 ms of 7.8 ms, half an interval, where none is.
TEST_F(Pulses, DueJustBeforeTheFirstSampleStartWithItWithinTheTolerance)
{
    g_pacingSynchronized = true;
    g_PacingPulse = 1;  // 180 ms ahead
    g_F = 1.0 / 0.1795;
    Start(1000);
    EXPECT_TRUE(Next().starts);
    g_F = 64.0 / 11.0;
    Start(64);
    EXPECT_FALSE(Next().starts);
}

TEST_F(Pulses, NeedAnAmplitude)
{
    g_PA = 0.0;
    g_PacingPulse = 1;
    g_POA = 5.0;
    g_PacingOvershootTC = 100u;
    g_DCSetting = 12;
    Start(1000);
    for (const Step& step : Take(3000)) {
        ASSERT_FALSE(step.starts);
        ASSERT_EQ(step.overshoot, 0.0);
        ASSERT_EQ(step.dc, 12.0);  // the offset
    }
}

TEST_F(Pulses, LeaveNoOffsetWithoutThemUnderTheBaselineTest)
{
    g_PA = 0.0;
    g_DCSetting = 12;
    g_BaseLineOverload = 2;
    Start(1000);
    EXPECT_EQ(Next().dc, 0.0);
    g_MainOutput = OUTPUT_YY1079_DYNAMIC_RANGE;
    EXPECT_EQ(Next().dc, 0.0);
    EXPECT_EQ(g_DCSetting, 12);
}

TEST_F(Pulses, FollowTheRateOfTheStream)
{
    FitRespirationModule();  // 5000 samples a second, whatever the ECG rate is
    g_PacingOvershootTC = 10u;
    g_POA = 1.0;
    DerivedParameters ignored;
    cycle_ = DeriveCycle(OUTPUT_SINE, 5000, ignored);
    s_sampleRate = 1000;
    std::vector<double> overshoots;
    for (int n = 4840; n < 5000; ++n) {
        s_t = n / 5000.0;
        double extra = 0.0;
        s_PacingPulseRaised = false;
        const double dc = _GetPacingV5(cycle_, extra, 0.0);
        EXPECT_EQ(s_PacingPulseRaised, n == 4850) << n;
        EXPECT_EQ(dc, n >= 4850 && n < 4860 ? 50.0 : 0.0) << n;
        if (n >= 4860) overshoots.push_back(extra);
    }
    EXPECT_NEAR(overshoots[50], -std::exp(-1.0), 1e-12);
}

TEST(PacingQuantities, FollowTheBeatToTheVeryBordersOfItsSpan)
{
    g_PA = 5.0;
    g_PacingRate = 33u;
    const auto period = [](double frequency) {
        g_F = frequency;
        DerivedParameters ignored;
        return DeriveCycle(OUTPUT_SINE, 1000, ignored).s_pp;
    };
    const double own = 60.0 / 33.0;
    ASSERT_EQ(1.0 / (1.0 / 6.0), 6.0);
    EXPECT_EQ(period(1.0 / 6.0), 6.0);
    EXPECT_EQ(period(std::nextafter(1.0 / 6.0, 0.0) * (1.0 - 1e-15)), own);
    EXPECT_EQ(period(6.0), 1.0 / 6.0);
    EXPECT_EQ(period(6.0 * (1.0 + 1e-15)), own);
    EXPECT_EQ(period(0.125), own);
}

// Of the signals with a period of their own, 1 s is a rate to follow and 1200 s is none.
TEST(PacingQuantities, FollowTheCycleOfASignalWithAPeriodOfItsOwn)
{
    g_PA = 5.0;
    g_PacingRate = 40u;
    g_F = 0.7;  // plays no part
    DerivedParameters ignored;
    EXPECT_EQ(DeriveCycle(OUTPUT_IEC251, 1000, ignored).s_pp, 1.0);
    EXPECT_EQ(DeriveCycle(OUTPUT_YY1079_DYNAMIC_RANGE, 1000, ignored).s_pp, 1.5);
}

TEST(PulseTolerance, IsHalfASampleIntervalWhereWholeIntervalsFillThePeriod)
{
    EXPECT_EQ(GetPulseTolerance(1.0, 0.25), 0.125);
    EXPECT_EQ(GetPulseTolerance(0.75, 0.25), 0.125);
    EXPECT_EQ(GetPulseTolerance(1.0, 1.0 / 1024.0), 1.0 / 2048.0);
}

TEST(PulseTolerance, IsASampleIntervalWhereARestIsLeft)
{
    EXPECT_EQ(GetPulseTolerance(1.125, 0.25), 0.25);
    EXPECT_EQ(GetPulseTolerance(60.0 / 72.0, 0.001), 0.001);
    EXPECT_EQ(GetPulseTolerance(0.1, 0.25), 0.25);
}

// Rounding may leave a whole interval, here 0.01000000000000000888 and 0.00500000000000000444.
TEST(PulseTolerance, IsABumpedRestWhereRoundingLeavesAnInterval)
{
    EXPECT_NEAR(GetPulseTolerance(0.59, 0.01), 0.011, 1e-16);
    EXPECT_NEAR(GetPulseTolerance(0.295, 0.005), 0.0051, 1e-16);
}

TEST(BumpedNumber, HasTheDigitAfterItsFirstSignificantRaised)
{
    EXPECT_DOUBLE_EQ(bumpNextToFirstNonZero(0.25), 0.26);
    EXPECT_DOUBLE_EQ(bumpNextToFirstNonZero(0.5), 0.51);
    EXPECT_DOUBLE_EQ(bumpNextToFirstNonZero(0.004), 0.0041);
    EXPECT_DOUBLE_EQ(bumpNextToFirstNonZero(0.00138), 0.00148);
    EXPECT_DOUBLE_EQ(bumpNextToFirstNonZero(0.0000625), 0.0000635);
    EXPECT_DOUBLE_EQ(bumpNextToFirstNonZero(0.0800), 0.0810);
    EXPECT_DOUBLE_EQ(bumpNextToFirstNonZero(12.5), 13.5);
    EXPECT_DOUBLE_EQ(bumpNextToFirstNonZero(350.0), 360.0);
}

TEST(BumpedNumber, CrossesTheDecimalPoint)
{
    EXPECT_DOUBLE_EQ(bumpNextToFirstNonZero(4.5), 4.6);
    EXPECT_DOUBLE_EQ(bumpNextToFirstNonZero(9.0), 9.1);
}

TEST(BumpedNumber, TurnsANineIntoAZeroWithoutCarry)
{
    EXPECT_DOUBLE_EQ(bumpNextToFirstNonZero(0.1953125), 0.1053125);
    EXPECT_DOUBLE_EQ(bumpNextToFirstNonZero(0.03955078125), 0.03055078125);
    EXPECT_DOUBLE_EQ(bumpNextToFirstNonZero(19.0), 10.0);
    EXPECT_DOUBLE_EQ(bumpNextToFirstNonZero(3.9375), 3.0375);
}

TEST(BumpedNumber, LooksAtTwentyDecimals)
{
    EXPECT_NEAR(bumpNextToFirstNonZero(3e-19), 3.1e-19, 1e-25);
    EXPECT_EQ(bumpNextToFirstNonZero(0.0), 0.0);
    EXPECT_EQ(bumpNextToFirstNonZero(1e-30), 1e-30);
}
}  // namespace
