// The resistance of the external module at a time of the play clock.

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "respiration/ExternalModule.h"
#include "support/RespirationModule.h"
#include "synthesis/Respiration.h"
#include "vrax.h"

namespace {
constexpr double kTolerance = 1e-9;

void Breathe(int variation, int rate, int ratio)
{
    g_nECGExtRespirationMode = 0;
    s_RespVariation = variation;
    s_RespFreq = rate;
    s_RespPeriod = 60.0 / rate;
    s_RespRatio = ratio - 1;
}
}  // namespace

TEST(Resistance, RisesOverTheInhaleAndFallsOverTheExhale)
{
    for (const int variation : {50, 1000, 10000}) {
        for (int ratio = 1; ratio <= 5; ++ratio) {
            Breathe(variation, 12, ratio);
            for (int i = 0; i < 2000; ++i) {
                const double t = 0.01173 * i;
                ASSERT_NEAR(CalculateECGExtRespiration(t), BreathOhms(variation, 5.0, ratio, t),
                            kTolerance)
                    << variation << " " << ratio << " " << t;
            }
        }
    }
}

TEST(Resistance, GoesFromFiftyToFiftyOneOhmsWithAVariationOf1000)
{
    Breathe(1000, 15, 2);
    EXPECT_NEAR(CalculateECGExtRespiration(0.0), 50.0, kTolerance);
    EXPECT_NEAR(CalculateECGExtRespiration(4.0 / 3.0), 51.0, kTolerance);
    EXPECT_NEAR(CalculateECGExtRespiration(2.0 / 3.0), 50.5, kTolerance);
    EXPECT_NEAR(CalculateECGExtRespiration(8.0 / 3.0), 50.5, kTolerance);
    EXPECT_NEAR(CalculateECGExtRespiration(8.0), 50.0, kTolerance);
    double lowest = 60.0;
    double highest = 0.0;
    for (int i = 0; i < 40000; ++i) {
        const double ohms = CalculateECGExtRespiration(i * 1e-4);
        lowest = std::fmin(lowest, ohms);
        highest = std::fmax(highest, ohms);
    }
    EXPECT_NEAR(lowest, 50.0, kTolerance);
    EXPECT_NEAR(highest, 51.0, 1e-6);
}

TEST(Resistance, IsConstantInTheCalibrationMode)
{
    Breathe(1000, 15, 2);
    g_nECGExtRespirationMode = 1;
    for (const double t : {0.0, 0.7, 1.3, 99.0}) {
        EXPECT_NEAR(CalculateECGExtRespiration(t), 51.0, kTolerance);
    }
    s_RespVariation = -2500;
    EXPECT_NEAR(CalculateECGExtRespiration(3.0), 47.5, kTolerance);
}

TEST(Resistance, RestsWithoutABreathPeriod)
{
    s_RespVariation = 1000;
    EXPECT_EQ(CalculateECGExtRespiration(0.7), 50.0);
}

// In the calibration mode as well.
TEST(Resistance, IsThatOfTheRecordWhileOneIsLoaded)
{
    Breathe(1000, 15, 2);
    const std::vector<double> record = {0.5, 9.75, 12.0, -3.0, 10.0};
    ASSERT_EQ(VRAXSetRespirationRawData(record.data(), 5, 4), 1);
    const double expected[] = {50.5, 59.75, 60.0, 50.0, 60.0};
    for (const int mode : {0, 1}) {
        g_nECGExtRespirationMode = mode;
        for (int i = 0; i < 50; ++i) {
            const double t = 0.25 * i + 0.1;
            ASSERT_NEAR(CalculateECGExtRespiration(t), expected[i % 5], kTolerance) << t;
        }
    }
    g_nECGExtRespirationMode = 0;
    ClearRawArray();
    EXPECT_NEAR(CalculateECGExtRespiration(4.0 / 3.0), 51.0, kTolerance);
}

TEST(Resistance, StaysInsideTheRecordAtItsEnd)
{
    const double record[] = {1.0, 2.0, 3.0};
    ASSERT_EQ(VRAXSetRespirationRawData(record, 3, 7), 1);
    for (int i = 0; i < 100000; ++i) {
        const double ohms = CalculateECGExtRespiration(i * (3.0 / 7.0) / 3.0);
        ASSERT_TRUE(ohms == 51.0 || ohms == 52.0 || ohms == 53.0) << ohms;
    }
}

TEST(RespirationRecord, IsACopy)
{
    std::vector<double> record = {1.0};
    ASSERT_EQ(VRAXSetRespirationRawData(record.data(), 1, 1), 1);
    record[0] = 5.0;
    EXPECT_EQ(CalculateECGExtRespiration(0.5), 51.0);
}

TEST(RespirationRecord, RefusesNothingAndKeepsTheOldOne)
{
    const double record[] = {4.0, 4.0};
    ASSERT_EQ(VRAXSetRespirationRawData(record, 2, 10), 1);
    EXPECT_EQ(VRAXSetRespirationRawData(nullptr, 2, 10), 0);
    EXPECT_EQ(VRAXSetRespirationRawData(record, 0, 10), 0);
    EXPECT_EQ(VRAXSetRespirationRawData(record, -1, 10), 0);
    EXPECT_EQ(VRAXSetRespirationRawData(record, 2, 0), 0);
    EXPECT_EQ(VRAXSetRespirationRawData(record, 2, -5), 0);
    EXPECT_EQ(CalculateECGExtRespiration(0.0), 54.0);
}
