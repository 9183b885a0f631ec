// One period of each shape, against closed forms of the test's own.

#include "ppg/Waveform.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "support/PpgChannel.h"

namespace {
constexpr long double kPi = 3.14159265358979323846L;

struct Generated {
    std::vector<std::int32_t> samples;
    std::int32_t maximum = -1;
};

Generated Generate(const PPG_WAVEFORM& wave, double rate = 10000.0)
{
    Generated result;
    result.samples.resize(70000, -1);
    result.samples.resize(GenPPGWaveform(&wave, rate, result.samples.data(), &result.maximum));
    return result;
}

// The half of the amplitude that the shapes are made of.
int HalfOf(double ac) { return static_cast<int>(1000.0 * ac) / 2; }

// From `from` to `to` along half a cosine.
long double Ease(long double from, long double to, long double part)
{
    return from + (to - from) * (1.0L - std::cos(kPi * part)) / 2.0L;
}

long double StandardPulseUv(const PPG_WAVEFORM& wave, long double i, long double n, double rate)
{
    const long double s1 = wave.t1 * rate / 1000.0L;
    const long double s2 = wave.t2 * rate / 1000.0L;
    const long double s3 = wave.t3 * rate / 1000.0L;
    const long double peak = 1000.0L * wave.ac;
    const long double notch = 1000.0L * wave.notchLevel;
    const long double dicrotic = 1000.0L * wave.dicroticLevel;
    if (i < s1) return Ease(0, peak, i / s1);
    if (i < s2) return Ease(peak, notch, (i - s1) / (s2 - s1));
    if (i < s3) return Ease(notch, dicrotic, (i - s2) / (s3 - s2));
    return Ease(dicrotic, 0, (i - s3) / (n - s3));
}

PPG_WAVEFORM StandardWave(double frequency, double ac)
{
    PPG_WAVEFORM wave = MakeWave(3, frequency, 1000.0, ac);
    wave.notchLevel = 0.56 * ac;
    wave.dicroticLevel = 0.64 * ac;
    wave.t1 = static_cast<int>(150.0 / frequency + 0.5);
    wave.t2 = static_cast<int>(360.0 / frequency + 0.5);
    wave.t3 = static_cast<int>(460.0 / frequency + 0.5);
    return wave;
}
}  // namespace

TEST(Shape, HasTheWholeNumberOfSamplesNearestToThePeriod)
{
    const struct {
        double frequency;
        std::size_t samples;
    } kPeriods[] = {{1.0, 10000}, {0.16, 62500}, {5.0, 2000},
                    {3.0, 3333},  {1.5, 6667},   {0.9, 11111}};
    for (const auto& [frequency, samples] : kPeriods) {
        for (int shape = 0; shape < 4; ++shape) {
            EXPECT_EQ(Generate(MakeWave(shape, frequency, 1000, 10)).samples.size(), samples);
        }
    }
    EXPECT_EQ(Generate(MakeWave(0, 1.0, 1000, 10), 250.0).samples.size(), 250u);
}

TEST(Shape, RefusesNoDescriptionAFrequencyOutsideAndAnUnknownShape)
{
    std::int32_t sample = 0;
    std::int32_t maximum = 7;
    EXPECT_EQ(GenPPGWaveform(nullptr, 10000.0, &sample, &maximum), 0u);
    for (const double frequency : {0.159, 5.01, 0.0, -1.0}) {
        EXPECT_TRUE(Generate(MakeWave(0, frequency, 1000, 10)).samples.empty()) << frequency;
    }
    for (const int shape : {-1, 4}) {
        const Generated unknown = Generate(MakeWave(shape, 1.0, 1000, 10));
        EXPECT_TRUE(unknown.samples.empty());
        EXPECT_EQ(unknown.maximum, 0);
    }
}

TEST(Shape, SineSwingsAboutTheMiddleAndIsCutTowardsIt)
{
    for (const double frequency : {1.0, 0.16, 4.99}) {
        const Generated sine = Generate(MakeWave(0, frequency, 1000, 12.345));
        const int a = HalfOf(12.345);
        const auto n = static_cast<long double>(sine.samples.size());
        for (std::size_t i = 0; i < sine.samples.size(); ++i) {
            const long double swing = a * std::sin(2.0L * kPi * static_cast<long double>(i) / n);
            const long double fromMiddle = sine.samples[i] - a;
            ASSERT_LE(std::fabs(fromMiddle), std::fabs(swing) + 1e-6L) << i;
            ASSERT_LT(std::fabs(swing - fromMiddle), 1.0L + 1e-6L) << i;
        }
        EXPECT_EQ(sine.maximum, 2 * a);
    }
}

TEST(Shape, SineOfAWholeQuarterReachesBothEnds)
{
    const Generated sine = Generate(MakeWave(0, 1.0, 1000, 10));
    EXPECT_EQ(sine.samples[0], 5000);
    EXPECT_EQ(sine.samples[2500], 10000);
    EXPECT_EQ(sine.samples[7500], 0);
}

TEST(Shape, TriangleRisesFallsAndReturnsInStraightLines)
{
    // 10000 samples of 4 x 5000 / 10000 = 2 uV each.
    const Generated triangle = Generate(MakeWave(1, 1.0, 1000, 10));
    for (int i = 0; i < 10000; ++i) {
        const int expected = i < 2500 ? 5000 + 2 * i : i < 7500 ? 15000 - 2 * i : 2 * i - 15000;
        ASSERT_EQ(triangle.samples[static_cast<std::size_t>(i)], expected) << i;
    }
    EXPECT_EQ(triangle.maximum, 10000);
}

TEST(Shape, TriangleCutsEachStepTowardsZero)
{
    // 3333 samples of 0.4 / 3333 of 375 uV: every sample from the exact fraction.
    const Generated triangle = Generate(MakeWave(1, 3.0, 1000, 0.75));
    const int n = 3333;
    for (int i = 0; i < n; ++i) {
        const int step = 4 * 375 * i / n;
        const int expected = 4 * i < n       ? 375 + step
                             : 4 * i < 3 * n ? 3 * 375 - step
                                             : step - 3 * 375;
        ASSERT_NEAR(triangle.samples[static_cast<std::size_t>(i)], expected,
                    4 * 375 * i % n == 0 ? 1 : 0)
            << i;
    }
    EXPECT_EQ(triangle.maximum, 750);
}

TEST(Shape, SquareOfAnOddPeriodHasTheShorterHighHalf)
{
    const Generated square = Generate(MakeWave(2, 3.0, 1000, 10));
    ASSERT_EQ(square.samples.size(), 3333u);
    for (std::size_t i = 0; i < 3333; ++i) {
        ASSERT_EQ(square.samples[i], i < 1666 ? 10000 : 0) << i;
    }
    EXPECT_EQ(square.maximum, 10000);
}

// The amplitude is cut to whole microvolts and halved before it is doubled.
TEST(Shape, OfAnOddNumberOfMicrovoltsLosesOne)
{
    for (const int shape : {0, 1, 2}) {
        EXPECT_EQ(Generate(MakeWave(shape, 1.0, 1000, 1.0015)).maximum, 1000) << shape;
        EXPECT_EQ(Generate(MakeWave(shape, 1.0, 1000, 0.9375)).maximum, 936) << shape;
    }
    EXPECT_EQ(Generate(MakeWave(3, 1.0, 1000, 0.9375)).maximum, 937);
}

TEST(Shape, StandardPulseIsFourHalfCosines)
{
    for (const double frequency : {0.16, 1.0, 1.7, 5.0}) {
        const PPG_WAVEFORM wave = StandardWave(frequency, 12.5);
        const Generated pulse = Generate(wave);
        const auto n = static_cast<long double>(pulse.samples.size());
        for (std::size_t i = 0; i < pulse.samples.size(); ++i) {
            const long double exact =
                StandardPulseUv(wave, static_cast<long double>(i), n, 10000.0);
            ASSERT_LE(std::fabs(pulse.samples[i] - exact), 0.5L + 1e-6L) << frequency << ' ' << i;
        }
        EXPECT_EQ(pulse.maximum, 12500);
    }
}

TEST(Shape, StandardPulsePassesThroughItsLevels)
{
    const Generated pulse = Generate(StandardWave(1.0, 10.0));
    EXPECT_EQ(pulse.samples[0], 0);
    EXPECT_EQ(pulse.samples[750], 5000);
    EXPECT_EQ(pulse.samples[1500], 10000);
    EXPECT_EQ(pulse.samples[3600], 5600);
    EXPECT_EQ(pulse.samples[4600], 6400);
    EXPECT_EQ(pulse.samples[7300], 3200);
    EXPECT_EQ(pulse.samples[9999], 0);
}

TEST(Shape, StandardPulseUpsideDownHangsFromTheHighestOfItsLevels)
{
    PPG_WAVEFORM wave = StandardWave(1.0, 10.0);
    wave.dicroticLevel = 13.0;
    const Generated upright = Generate(wave);
    EXPECT_EQ(upright.maximum, 13000);
    for (const int invert : {1, -5}) {
        wave.invert = invert;
        const Generated inverted = Generate(wave);
        EXPECT_EQ(inverted.maximum, 13000);
        EXPECT_EQ(inverted.samples[0], 13000);
        for (std::size_t i = 0; i < 10000; ++i) {
            // A value halfway rounds away from 0 on either side.
            ASSERT_NEAR(inverted.samples[i], 13000 - upright.samples[i], 1) << i;
        }
    }
}

TEST(Shape, OtherShapesAreNotTurnedOver)
{
    for (const int shape : {0, 1, 2}) {
        PPG_WAVEFORM wave = MakeWave(shape, 1.0, 1000, 10);
        const Generated upright = Generate(wave);
        wave.invert = 1;
        EXPECT_EQ(Generate(wave).samples, upright.samples);
    }
}

// Times out of order leave a segment out; a time past the end cuts the rest.
TEST(Shape, StandardPulseTakesItsTimesAsTheyAre)
{
    PPG_WAVEFORM wave = StandardWave(1.0, 10.0);
    wave.t1 = 0;
    Generated pulse = Generate(wave);
    EXPECT_EQ(pulse.samples[0], 10000);
    wave.t1 = 600;
    pulse = Generate(wave);
    EXPECT_EQ(pulse.samples[5999], 10000);
    EXPECT_EQ(pulse.samples[6000], 5396);  // 3200 (1 + cos(pi 14 / 54))
    wave.t1 = 2000;
    pulse = Generate(wave);
    EXPECT_EQ(pulse.samples[9999], 4999);  // a quarter turn ends at half
    wave.t1 = wave.t2 = wave.t3 = -100;
    pulse = Generate(wave);
    EXPECT_EQ(pulse.samples[9999], 0);
}

TEST(Shape, NoNumberBecomesZero)
{
    const double nan = std::nan("");
    for (const int shape : {0, 1, 2, 3}) {
        const Generated pulse = Generate(MakeWave(shape, 1.0, nan, nan));
        ASSERT_EQ(pulse.samples.size(), 10000u);
        for (const int sample : pulse.samples) ASSERT_EQ(sample, 0);
    }
    EXPECT_TRUE(Generate(MakeWave(0, nan, 1000, 10)).samples.empty());
}
