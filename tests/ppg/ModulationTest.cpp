// Breathing in the pulse: amplitude, baseline and rate.

#include <gtest/gtest.h>

#include <cmath>

#include "support/PpgChannel.h"
#include "synthesis/Parameters.h"
#include "synthesis/PlayClock.h"
#include "synthesis/Respiration.h"

namespace {
constexpr double kDc = 1000.0;
constexpr double kAc = 10.0;

// A level that stands still, and a breath of 4 s: +1 at 1 s, -1 at 3 s, 0 at 2 s.
class Modulation : public testing::Test {
protected:
    Modulation()
    {
        const double dc[] = {kDc, kDc};
        const double ac[] = {kAc, kAc};
        EXPECT_EQ(VRAXSetPPGRawData(0, 1, 0, 2, dc, ac, 10.0), 0);
        s_OneRespireS = 4.0;
        s_InhaleS = 2.0;
        s_ExhaleS = 2.0;
    }

    static PpgSample At(double t, int led = 0)
    {
        s_t = t;
        return LookUp(t, led);
    }
    static unsigned DcCode(double mv) { return static_cast<unsigned>(mv / 3000.0 * 4095.0); }
    static unsigned AcCode(double mv) { return static_cast<unsigned>(mv / 30.0 * 4095.0); }

    static void ExpectLevels(double t, double dc, double ac)
    {
        const PpgSample sample = At(t);
        EXPECT_NEAR(sample.dc, DcCode(dc), 1) << t;
        EXPECT_NEAR(sample.ac, AcCode(ac), 1) << t;
        EXPECT_EQ(sample.pulse, kAc) << "the graph is not modulated";
    }
};
}  // namespace

TEST_F(Modulation, IsOffByDefault)
{
    for (const double t : {0.5, 1.0, 3.0}) ExpectLevels(t, kDc, kAc);
}

TEST_F(Modulation, OfTheAmplitudeMultipliesBothParts)
{
    ASSERT_TRUE(VRAXSetPPGRespirationAlgorithm(0, 50, 0));
    ExpectLevels(1.0, 1.5 * kDc, 1.5 * kAc);
    ExpectLevels(3.0, 0.5 * kDc, 0.5 * kAc);
    ExpectLevels(2.0, kDc, kAc);
    ExpectLevels(1.0 / 3.0, 1.25 * kDc, 1.25 * kAc);  // sin 30 degrees
}

TEST_F(Modulation, OfTheBaselineAddsAPartOfTheHighestAC)
{
    ASSERT_TRUE(VRAXSetPPGRespirationAlgorithm(100, 0, 0));
    ExpectLevels(1.0, kDc + 10.0, 2.0 * kAc);
    ExpectLevels(3.0, kDc - 10.0, 0.0);
}

TEST_F(Modulation, OfBothMultipliesFirst)
{
    ASSERT_TRUE(VRAXSetPPGRespirationAlgorithm(20, 50, 0));
    ExpectLevels(1.0, 1.5 * kDc + 2.0, 1.5 * kAc + 2.0);
}

TEST_F(Modulation, WithoutBreathingChangesNothing)
{
    s_OneRespireS = 0.0;
    ASSERT_TRUE(VRAXSetPPGRespirationAlgorithm(100, 100, 0));
    ExpectLevels(1.0, kDc, kAc);
}

TEST_F(Modulation, StaysAsItWasWhenADepthIsOutOfRange)
{
    ASSERT_TRUE(VRAXSetPPGRespirationAlgorithm(1, 2, 3));
    EXPECT_FALSE(VRAXSetPPGRespirationAlgorithm(101, 0, 0));
    EXPECT_FALSE(VRAXSetPPGRespirationAlgorithm(0, 101, 0));
    EXPECT_FALSE(VRAXSetPPGRespirationAlgorithm(0, 0, 101));
    EXPECT_FALSE(VRAXSetPPGRespirationAlgorithm(-1, 0, 0));
    EXPECT_FALSE(VRAXSetPPGRespirationAlgorithm(0, -1, 0));
    EXPECT_FALSE(VRAXSetPPGRespirationAlgorithm(0, 0, -1));
    EXPECT_EQ(g_PPG_BaselineModV, 1);
    EXPECT_EQ(g_PPG_AmpModV, 2);
    EXPECT_EQ(g_PPG_FreqModHz, 3);
    EXPECT_TRUE(VRAXSetPPGRespirationAlgorithm(100, 100, 100));
}

namespace {
// A ramp of 1000 samples, so that the graph value tells the phase: 0 to 0.999 cycles.
class RateModulation : public testing::Test {
protected:
    RateModulation()
    {
        std::vector<double> dc(1000, 1000.0);
        std::vector<double> ac;
        for (int i = 0; i < 1000; ++i) ac.push_back(0.01 * i);
        for (int led = 0; led < 2; ++led) {
            EXPECT_EQ(VRAXSetPPGRawData(led, 1, 0, 1000, dc.data(), ac.data(), 1000.0), 0);
        }
        g_F = 2.0;
        g_bPPGOutputEnabled[0] = true;  // 10000 samples a second
        s_OneRespireS = 4.0;
        s_InhaleS = 2.0;
        s_ExhaleS = 2.0;
    }

    static double Phase(const PpgSample& sample) { return sample.pulse / 10.0; }
    static PpgSample At(double t, int led = 0)
    {
        s_t = t;
        return LookUp(t, led);
    }
};

// Integral of the breath from 0 to t, t up to 2 s.
double BreathUpTo(double t)
{
    const double pi = std::acos(-1.0);
    return (1.0 - std::cos(pi * t / 2.0)) * 2.0 / pi;
}
}  // namespace

TEST_F(RateModulation, AdvancesOneChannelAtHalfTheModulatedEcgRate)
{
    ASSERT_TRUE(VRAXSetPPGRespirationAlgorithm(0, 0, 40));
    At(0.0);
    for (int i = 1; i <= 20000; ++i) {
        const double t = i / 10000.0;
        const double phase = Phase(At(t));
        const double cycles = (2.0 * t + 0.4 * 2.0 * BreathUpTo(t)) / 2.0;
        const double apart = phase - (cycles - std::floor(cycles));
        ASSERT_LT(std::fabs(apart - std::round(apart)), 0.0022) << t;
    }
}

// Kept: one position for all channels, advanced by each lookup.
TEST_F(RateModulation, AdvancesTwoChannelsAtTheWholeRate)
{
    ASSERT_TRUE(VRAXSetPPGRespirationAlgorithm(0, 0, 1));
    s_OneRespireS = 0.0;  // no breath: the plain rate
    At(0.0, 0);
    At(0.0, 1);
    for (int i = 1; i <= 5000; ++i) {
        At(i / 10000.0, 0);
        const double phase = Phase(At(i / 10000.0, 1));
        const double cycles = 2.0 * i / 10000.0;
        const double apart = phase - (cycles - std::floor(cycles));
        ASSERT_LT(std::fabs(apart - std::round(apart)), 0.0022) << i;
    }
}

TEST_F(RateModulation, StartsFromThePhaseAtTheStartOfTheRun)
{
    ASSERT_TRUE(VRAXSetPPGRespirationAlgorithm(0, 0, 10));
    s_t = 0.0;
    EXPECT_NEAR(Phase(LookUp(0.0, 0, -0.2505)), 0.25, 1e-9);
    EXPECT_NEAR(Phase(At(0.0001)), 0.25, 1e-9);  // + 0.0001 of a cycle
    EXPECT_NEAR(Phase(LookUp(0.0, 0, -0.7505)), 0.75, 1e-9);
}

TEST_F(RateModulation, OfNoNumberStaysInTheTable)
{
    ASSERT_TRUE(VRAXSetPPGRespirationAlgorithm(0, 0, 10));
    g_F = std::nan("");
    At(0.0);
    EXPECT_EQ(At(1.0).pulse, 0.0);
}
