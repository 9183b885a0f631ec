// Pulses, from the wire back to what they are: rate, levels, shape and transit time, measured in
// the instrument's recording of a run.

#include <gtest/gtest.h>

#include <cmath>

#include "support/PpgRun.h"

using namespace instrument;

TEST(PpgPhysics, HasTheRateTheLevelsAndTheRatioThatWereSet)
{
    CPpgRun run(WithPlainModule(), 10.0);
    const PulseSettings kPulses[] = {{1, kStandardPulse, 1.2, 1500.0, 15.0},
                                     {2, kSine, 2.5, 800.0, 8.0}};
    for (const bool isAbove : {false, true}) {
        EXPECT_EQ(VRAXEnableACAboveDC(isAbove), 0);
        for (const PulseSettings& pulse : kPulses) SetPulse(pulse);
        run.Play();
        ASSERT_EQ(run.Carried(), "12");
        EXPECT_EQ(run.Instrument().Relays().sampleRate, 10000U);
        for (const PulseSettings& pulse : kPulses) {
            const auto channel = static_cast<std::size_t>(pulse.led);
            const Series ac = run.Ac(channel);
            const Series dc = run.Dc(channel);
            const double level = isAbove ? pulse.dcMv : pulse.dcMv - pulse.acMv;
            EXPECT_NEAR(Highest(ac) - Lowest(ac), pulse.acMv, kAcStepMv);
            EXPECT_NEAR(Lowest(ac), 0.0, kAcStepMv);
            EXPECT_NEAR(Lowest(dc), level, kDcStepMv);
            EXPECT_EQ(Lowest(dc), Highest(dc));
            EXPECT_NEAR((Highest(ac) - Lowest(ac)) / dc[0] * level / pulse.acMv, 1.0, 3e-4);
            const double rate = RateOf(RisingThrough(ac, pulse.acMv / 2.0)) * kPpgRate;
            EXPECT_NEAR(rate / pulse.frequency, 1.0, 1e-4);
        }
    }
}

TEST(PpgPhysics, IsAsExactAsItsConvertersOfTwelveBits)
{
    CPpgRun run(WithPpgModule(0x1234), 5.0);
    SetPulse({1, kTriangle, 1.0, 1000.0, 10.0});
    SetPulse({2, kSquare, 2.0, 2000.0, 20.0});
    run.Play();
    EXPECT_NEAR(Highest(run.Ac(1)), 10.0, 30.0 / 4095.0);
    EXPECT_NEAR(run.Dc(1)[0], 990.0, 3000.0 / 4095.0);
    EXPECT_NEAR(RateOf(RisingThrough(run.Ac(1), 5.0)) * kPpgRate, 1.0, 1e-4);
    EXPECT_NEAR(Highest(run.Ac(2)), 20.0, 30.0 / 4095.0);
    EXPECT_NEAR(run.Dc(2)[0], 1980.0, 3000.0 / 4095.0);
    EXPECT_NEAR(RateOf(RisingThrough(run.Ac(2), 10.0)) * kPpgRate, 2.0, 1e-4);
}

TEST(PpgShape, OfSineAndTriangleHasItsExtremesAtTheQuarters)
{
    CPpgRun run(WithPlainModule(), 2.0);
    for (const int shape : {kSine, kTriangle}) {
        SetPulse({1, shape, 1.0, 1000.0, 30.0});
        run.Play();
        const Series ac = run.Ac(1);
        EXPECT_NEAR(Highest(ac), 30.0, kAcStepMv);
        EXPECT_NEAR(Lowest(ac), 0.0, kAcStepMv);
        EXPECT_NEAR(PlaceOfHighest(ac, 0, kPpgSecond), 2500.0, kOneSample);
        EXPECT_NEAR(PlaceOfLowest(ac, 0, kPpgSecond), 7500.0, kOneSample);
        EXPECT_NEAR(ac[0], 15.0, kAcStepMv);
        EXPECT_NEAR(FallingThrough(ac, 15.0).at(0), 5000.0, kOneSample);
        // Half of a quarter up: by a sine, or along a straight line.
        const double expected = shape == kSine ? 15.0 + 15.0 * std::sqrt(0.5) : 22.5;
        for (const std::size_t at : {1250U, 3750U}) EXPECT_NEAR(ac[at], expected, 0.015) << shape;
        for (const std::size_t at : {6250U, 8750U}) {
            EXPECT_NEAR(ac[at], 30.0 - expected, 0.015) << shape;
        }
    }
}

TEST(PpgShape, OfTheSquareIsHighForTheFirstHalf)
{
    CPpgRun run(WithPlainModule(), 3.0);
    SetPulse({1, kSquare, 1.25, 1000.0, 30.0});
    run.Play();
    const Series ac = run.Ac(1);
    EXPECT_NEAR(ac[0], 30.0, kAcStepMv);
    EXPECT_NEAR(FallingThrough(ac, 15.0).at(0), 4000.0, kOneSample);
    EXPECT_NEAR(RisingThrough(ac, 15.0).at(0), 8000.0, kOneSample);
    for (const double value : ac) {
        ASSERT_LE(std::min(std::fabs(value), std::fabs(value - 30.0)), kAcStepMv);
    }
}

// Peak at 15 % of the period; notch of 56 % of the height at 36 %, dicrotic wave of 64 % at 46 %.
TEST(PpgShape, OfTheStandardPulseHasItsWavesAtTheirParts)
{
    CPpgRun run(WithPlainModule(), 4.0);
    for (const double frequency : {1.0, 0.5}) {
        SetPulse({1, kStandardPulse, frequency, 1000.0, 30.0});
        run.Play();
        const Series ac = run.Ac(1);
        const double period = kPpgRate / frequency;
        const auto at = [=](double part) { return static_cast<std::size_t>(part * period); };
        EXPECT_NEAR(ac[0], 0.0, kAcStepMv);
        EXPECT_NEAR(ac[at(0.15)], 30.0, kAcStepMv);
        EXPECT_NEAR(ac[at(0.36)], 16.8, kAcStepMv);
        EXPECT_NEAR(ac[at(0.46)], 19.2, kAcStepMv);
        // Flat tops to a thousandth of the period, the half ways between them to a sample.
        EXPECT_NEAR(PlaceOfHighest(ac, 0, at(1)), 0.15 * period, 0.001 * period);
        EXPECT_NEAR(PlaceOfLowest(ac, at(0.15), at(0.46)), 0.36 * period, 0.001 * period);
        EXPECT_NEAR(PlaceOfHighest(ac, at(0.36), at(1)), 0.46 * period, 0.001 * period);
        EXPECT_NEAR(RisingThrough(ac, 15.0).at(0), 0.075 * period, kOneSample);
        EXPECT_NEAR(FallingThrough(ac, 23.4).at(0), 0.255 * period, kOneSample);
        EXPECT_NEAR(RisingThrough(ac, 18.0).at(1), 0.41 * period, kOneSample);
        EXPECT_NEAR(FallingThrough(ac, 9.6).at(0), 0.73 * period, kOneSample);
    }
}

TEST(PpgShape, UpsideDownHangsFromTheHeightOfThePulse)
{
    CPpgRun run(WithPlainModule(), 2.0);
    SetPulse({1, kStandardPulse, 1.0, 1000.0, 30.0});
    run.Play();
    const Series upright = run.Ac(1);
    SetPulse({1, kStandardPulse, 1.0, 1000.0, 30.0, 1});
    run.Play();
    const Series inverted = run.Ac(1);
    EXPECT_NEAR(PlaceOfLowest(inverted, 0, kPpgSecond), 1500.0, 10.0);
    for (std::size_t i = 0; i < inverted.size(); ++i) {
        ASSERT_NEAR(inverted[i], 30.0 - upright[i], 2.0 * kAcStepMv) << i;
    }
}

// A QRS of 80 ms has its R wave 35 ms after its start, a whole millisecond.
TEST(PpgTransitTime, IsFromTheRWaveToThePeakOfEveryShape)
{
    CPpgRun run(WithPlainModule(), 6.0);
    ASSERT_EQ(VRAXSetQRSDuration(80.0), 0);
    ASSERT_EQ(VRAXSetAmplitude(8.0), 0);
    for (const int shape : {kSine, kTriangle, kSquare, kStandardPulse}) {
        SetPulse({1, shape, 1.0, 1000.0, 30.0});
        for (const int transit : {0, 200, 730}) {
            VRAXSetPTTp(transit);
            run.Play(shape == kTriangle ? OUTPUT_CUSTOM_ECG : OUTPUT_ECG);
            SCOPED_TRACE(testing::Message() << "shape " << shape << ", " << transit << " ms");
            ExpectTransit(RWaves(OnTheClock(run.Ecg())),
                          PulseTops(OnTheClock(run.Ac(1)), shape, 1.0), 10.0 * transit);
        }
    }
}

TEST(PpgTransitTime, IsKeptAtOtherRatesAndBeyondABeat)
{
    CPpgRun run(WithPlainModule(), 10.0);
    ASSERT_EQ(VRAXSetQRSDuration(80.0), 0);
    ASSERT_EQ(VRAXSetAmplitude(8.0), 0);
    for (const double frequency : {0.5, 1.25, 2.5}) {  // a quarter is a whole millisecond
        ASSERT_EQ(VRAXSetFrequency(frequency), 0);
        SetPulse({2, kTriangle, frequency, 1000.0, 30.0});
        for (const int transit : {1, 250, 1430}) {
            VRAXSetPTTp(transit);
            run.Play();
            SCOPED_TRACE(testing::Message() << frequency << " Hz, " << transit << " ms");
            ExpectTransit(RWaves(OnTheClock(run.Ecg())),
                          PulseTops(OnTheClock(run.Ac(2)), kTriangle, frequency), 10.0 * transit);
        }
    }
}

// Deliberately: the R wave of the default QRS, at 53.75 ms, counts as 53 ms.
TEST(PpgTransitTime, CountsFromTheWholeMillisecond)
{
    CPpgRun run(WithPlainModule(), 6.0);
    SetPulse({1, kTriangle, 1.0, 1000.0, 30.0});
    VRAXSetPTTp(200);
    run.Play();
    ExpectTransit(RWaves(OnTheClock(run.Ecg())), PulseTops(OnTheClock(run.Ac(1)), kTriangle, 1.0),
                  2000.0 - 7.5);
}

// Deliberately: a beat of 1428.57 ms is taken off as 1428 ms.
TEST(PpgTransitTime, BeyondABeatCountsItInWholeMilliseconds)
{
    CPpgRun run(WithPlainModule(), 12.0);
    ASSERT_EQ(VRAXSetQRSDuration(80.0), 0);
    ASSERT_EQ(VRAXSetFrequency(0.7), 0);
    SetPulse({1, kSquare, 0.7, 1000.0, 30.0});
    VRAXSetPTTp(1600);
    run.Play();
    ExpectTransit(RWaves(OnTheClock(run.Ecg())), PulseTops(OnTheClock(run.Ac(1)), kSquare, 0.7),
                  10.0 * (1600 - 1428));
}

TEST(PpgTransitTime, OfMinusOneLetsThePulseStartWithTheRun)
{
    CPpgRun run(WithPlainModule(), 3.0);
    SetPulse({1, kTriangle, 1.0, 1000.0, 30.0});
    for (const int transit : {300, -1}) {
        VRAXSetPTTp(transit);
        run.Play();
        const double top = PulseTops(OnTheClock(run.Ac(1)), kTriangle, 1.0).at(0);
        EXPECT_NEAR(top, transit < 0 ? 2500.0 : 530.0 + 3000.0, kOneSample);
    }
}
