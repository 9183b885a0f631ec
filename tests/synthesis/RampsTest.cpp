// The slow ramps: YY 1079 and the input dynamic range.

#include <gtest/gtest.h>

#include <cmath>
#include <tuple>
#include <vector>

#include "instrument/DcTable.h"
#include "storage/Calibration.h"
#include "support/OfflineRun.h"
#include "support/PlayClockModel.h"
#include "synthesis/BeatModel.h"
#include "synthesis/Callbacks.h"
#include "synthesis/MainFunction.h"
#include "synthesis/Pacing.h"
#include "synthesis/TestSignals.h"

namespace {
TEST(YY1079, RisesFromMinus300To300AndFallsBack)
{
    EXPECT_EQ(getYY1079DynamicRangeVoltage(0.0), -300.0);
    EXPECT_DOUBLE_EQ(getYY1079DynamicRangeVoltage(299.75), -0.25);
    EXPECT_DOUBLE_EQ(getYY1079DynamicRangeVoltage(599.5), 299.5);
    EXPECT_EQ(getYY1079DynamicRangeVoltage(600.0), 300.0);
    EXPECT_DOUBLE_EQ(getYY1079DynamicRangeVoltage(900.25), -0.25);
    EXPECT_DOUBLE_EQ(getYY1079DynamicRangeVoltage(1199.0), -299.0);
}

TEST(YY1079, FollowsItsLimitsAndSlope)
{
    g_YY1079DynamicRangeMinVoltage = -10.0;
    g_YY1079DynamicRangeMaxVoltage = 30.0;
    g_YY1079DynamicRangeSlope = 4.0;
    EXPECT_DOUBLE_EQ(getYY1079DynamicRangeVoltage(5.0), 10.0);
    EXPECT_DOUBLE_EQ(getYY1079DynamicRangeVoltage(15.0), 10.0);
}

// The whole millivolts are the DC path's, what is left of them the AC path's.
TEST(YY1079, GivesTheFractionToTheACPathAndOverwritesTheDCOffset)
{
    DerivedParameters ignored;
    CycleQuantities cycle = DeriveCycle(OUTPUT_YY1079_DYNAMIC_RANGE, 20000, ignored);
    g_MainOutput = OUTPUT_YY1079_DYNAMIC_RANGE;
    g_DCSetting = 77;
    for (double t = 0.0; t < 1200.0; t += 0.37) {
        const double v = 300.0 - std::fabs(t - 600.0);
        const double ac = MainFunctionVoltage(OUTPUT_YY1079_DYNAMIC_RANGE, cycle, {t, 20000}, t);
        double extra = 0.0;
        const double dc = _GetPacingV5(cycle, extra, t);
        ASSERT_LT(std::fabs(ac), 1.0);
        ASSERT_EQ(dc, std::trunc(dc));
        ASSERT_EQ(g_DCSetting, static_cast<int>(dc));
        ASSERT_NEAR(ac + dc, v, 1e-9) << t;
        ASSERT_EQ(extra, 0.0);
    }
}

TEST(YY1079, LeavesTheDCOffsetAloneWhilePacing)
{
    g_PA = 5.0;
    DerivedParameters ignored;
    CycleQuantities cycle = DeriveCycle(OUTPUT_YY1079_DYNAMIC_RANGE, 20000, ignored);
    g_MainOutput = OUTPUT_YY1079_DYNAMIC_RANGE;
    g_DCSetting = 77;
    double extra = 0.0;
    _GetPacingV5(cycle, extra, 10.0);
    EXPECT_EQ(g_DCSetting, 77);
}

// 1200 s at 100 samples a second: the clock repeats a step now and then.
TEST(YY1079, LeavesAsTwoCodesThatAddUpToTheRamp)
{
    _SetECGDCDefaultCalibrationData();
    constexpr int kRate = 100;
    OfflineRun run(OUTPUT_YY1079_DYNAMIC_RANGE, kRate);
    const auto samples = run.NextSamples(125000);
    const std::vector<long> steps = TimeSteps(samples.size(), kRate);
    for (std::size_t n = 0; n < samples.size(); ++n) {
        const double t = static_cast<double>(steps[n] % (1200L * kRate)) / kRate;
        const double v = 300.0 - std::fabs(t - 600.0);
        // Truncated toward zero. At a whole millivolt rounding may leave 0.999.. on the AC path.
        const bool isWhole = steps[n] % kRate == 0;
        const double dc = isWhole && samples[n].ac != 0 ? v - samples[n].ac / 1600.0 : v;
        ASSERT_EQ(samples[n].dc, instrument::DefaultDcCode(std::trunc(std::round(dc * 100) / 100)))
            << t;
        if (!isWhole) {
            ASSERT_NEAR(samples[n].ac, 1600.0 * (v - std::trunc(v)), 1.01) << t;
        }
    }
}

TEST(YY1079, LeavesTheDCPathAloneWhilePacing)
{
    _SetECGDCDefaultCalibrationData();
    g_PA = 5.0;
    g_DCSetting = 40;
    OfflineRun run(OUTPUT_YY1079_DYNAMIC_RANGE, 100);
    for (const auto& slot : run.NextSamples(1400)) {
        ASSERT_EQ(slot.dc, instrument::DefaultDcCode(40.0));
    }
}

using DcCalls = std::vector<std::tuple<int, double, double>>;
DcCalls s_dcCalls;

class InputDynamicRange : public testing::Test {
protected:
    InputDynamicRange()
    {
        VRAXRegisterSyncDCOffsetCB([](int dc, double newDC, double previous) {
            s_dcCalls.emplace_back(dc, newDC, previous);
        });
        DerivedParameters ignored;
        cycle_ = DeriveCycle(OUTPUT_INPUT_DYNAMIC_RANGE, 1000, ignored);
        g_MainOutput = OUTPUT_INPUT_DYNAMIC_RANGE;
    }

    struct Parts {
        double ac;
        double dc;
        double Sum() const { return ac + dc; }
    };
    Parts At(double time, int rate)
    {
        const double ac =
            MainFunctionVoltage(OUTPUT_INPUT_DYNAMIC_RANGE, cycle_, {time, rate}, 0.0);
        double extra = 0.0;
        return {ac, _GetPacingV5(cycle_, extra, 0.0)};
    }

    CycleQuantities cycle_;
};

TEST_F(InputDynamicRange, RestsAtMinus300BeforeItsStart)
{
    for (const double time : {0.0, 0.5, 10.0, 19.999}) {
        EXPECT_EQ(At(time, 1000).ac, 0.0);
        EXPECT_EQ(At(time, 1000).dc, -300.0);
    }
}

TEST_F(InputDynamicRange, FallsOneMillivoltASecondAtEveryRate)
{
    for (const int rate : {100, 250, 1000, 4999, 20000}) {
        At(19.9, rate);
        const int first = 20 * rate;
        for (int n = first; n < first + 5 * rate; ++n) {
            const double time = n / static_cast<double>(rate);
            const Parts parts = At(time, rate);
            // One sample's fall of slack, where a step and a sample do not coincide.
            ASSERT_NEAR(parts.Sum(), -300.5 - (time - 20.0), 2.0 / rate + 1e-4)
                << rate << " at " << time;
            ASSERT_LE(parts.ac, 0.0);
            ASSERT_GT(parts.ac, -0.5 - 2.0 / rate);
        }
    }
}

TEST_F(InputDynamicRange, StepsTheDCPartByHalfAMillivoltEachHalfSecondAndTellsSo)
{
    const int rate = 1000;
    for (int n = 20 * rate; n < 23 * rate; ++n) At(n / static_cast<double>(rate), rate);
    EXPECT_EQ(s_dcCalls, (DcCalls{{-300, -300.5, -300.0},
                                  {-301, -301.0, -300.5},
                                  {-301, -301.5, -301.0},
                                  {-302, -302.0, -301.5},
                                  {-302, -302.5, -302.0},
                                  {-303, -303.0, -302.5}}));
}

TEST_F(InputDynamicRange, IsSetBackByAChangeAndGoesOnFromThere)
{
    const int rate = 1000;
    for (int n = 20 * rate; n < 21 * rate; ++n) At(n / static_cast<double>(rate), rate);
    EXPECT_EQ(cycle_.s_InputDynamicRangeDC, -301.0);
    DerivedParameters ignored;
    cycle_ = DeriveCycle(OUTPUT_INPUT_DYNAMIC_RANGE, rate, ignored);
    EXPECT_EQ(At(21.2, rate).dc, -300.0);
    EXPECT_NEAR(At(21.201, rate).ac, -0.002, 1e-12);
    EXPECT_EQ(At(21.499, rate).dc, -300.0);
    EXPECT_EQ(At(21.5, rate).dc, -300.5);
    EXPECT_EQ(At(22.0, rate).dc, -301.0);
}

TEST_F(InputDynamicRange, FallsByTheSampleIntervalAndRestartsAtAStep)
{
    const int rate = 1000;
    At(20.0, rate);
    const double before = At(20.001, rate).ac;
    EXPECT_NEAR(At(20.002, rate).ac - before, -0.001, 1e-12);
    EXPECT_EQ(At(20.5, rate).ac, 0.0);
    EXPECT_NEAR(At(20.501, rate).ac, -0.001, 1e-12);
}

TEST_F(InputDynamicRange, RestsAgainAfterTwentyMinutes)
{
    At(1219.999, 1000);
    EXPECT_EQ(At(1220.0, 1000).ac, 0.0);
    EXPECT_EQ(At(1220.0, 1000).dc, -300.0);
    EXPECT_EQ(At(5000.0, 1000).Sum(), -300.0);
}

// The whole test as it leaves: rest, 20 minutes of ramp, rest.
TEST_F(InputDynamicRange, LeavesAsTwoCodesThatAddUpToTheRamp)
{
    _SetECGDCDefaultCalibrationData();
    constexpr int kRate = 100;
    OfflineRun run(OUTPUT_INPUT_DYNAMIC_RANGE, kRate);
    const auto samples = run.NextSamples(124000);
    const std::vector<long> steps = TimeSteps(samples.size(), kRate);
    for (std::size_t n = 0; n < samples.size(); ++n) {
        const double t = static_cast<double>(steps[n]) / kRate;
        if (t < 19.995 || t > 1220.005) {
            ASSERT_EQ(samples[n].ac, 0) << t;
            ASSERT_EQ(samples[n].dc, instrument::DefaultDcCode(-300.0)) << t;
            continue;
        }
        if (steps[n] % (kRate / 2) == 0) continue;  // a step falls to either side of it
        if (t > 1219.9) continue;
        const double dc = -300.5 - 0.5 * std::floor((t - 20.0) * 2.0);
        const double fallen = std::fmod(t - 20.0, 0.5);  // s, and mV
        ASSERT_EQ(samples[n].dc, instrument::DefaultDcCode(dc)) << t;
        // A sample more where the ramp begins with one, or the clock has repeated a step.
        ASSERT_NEAR(samples[n].ac, -1600.0 * fallen, 2.0 * 1600.0 / kRate + 1.01) << t;
    }
    // One at the start, then the steps to -1500 mV.
    ASSERT_GE(s_dcCalls.size(), 2401u);
    EXPECT_EQ(s_dcCalls[0], (std::tuple{-300, 0.0003, 0.0}));
    for (int i = 1; i <= 2400; ++i) {
        const double dc = -300.0 - 0.5 * i;
        ASSERT_EQ(s_dcCalls[static_cast<std::size_t>(i)],
                  (std::tuple{static_cast<int>(dc), dc, dc + 0.5}));
    }
}

// 50 us a sample: the sixth after the end is the last one within 0.3 ms of it, to the last bit.
TEST_F(InputDynamicRange, TellsItsEndInTheStream)
{
    OfflineRun run(OUTPUT_INPUT_DYNAMIC_RANGE, 20000);
    s_t = 1219.98;
    run.NextSamples(700);
    std::size_t ends = 0;
    for (const auto& [dc, until, time] : s_dcCalls) {
        if (until != 1220.0003) continue;
        ++ends;
        EXPECT_EQ(dc, -300);
        EXPECT_GE(time, 1220.0);
        EXPECT_LT(time, 1220.0003);
    }
    EXPECT_GE(ends, 5u);
    EXPECT_LE(ends, 7u);
}

TEST_F(InputDynamicRange, TellsItsStartAndItsEnd)
{
    for (const double time : {0.0, 0.0002, 0.0003, 5.0, 1220.0, 1220.0002, 1220.0003, 1300.0}) {
        At(time, 10000);
    }
    EXPECT_EQ(s_dcCalls, (DcCalls{{-300, 0.0003, 0.0},
                                  {-300, 0.0003, 0.0002},
                                  {-300, 1220.0003, 1220.0},
                                  {-300, 1220.0003, 1220.0002}}));
}
}  // namespace
