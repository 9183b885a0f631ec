// The external module's codes in the stream.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <vector>

#include "respiration/ExternalModule.h"
#include "support/FittedModule.h"
#include "support/LoadedNetwork.h"
#include "support/OfflineRun.h"
#include "synthesis/Respiration.h"
#include "vrax.h"

namespace {
constexpr int kRate = 5000;
constexpr double kToleranceOhm = 2e-3;  // of the steps alone: 1.5 milliohms

// Fixed resistances so unlike that two codes in the other's place are ohms away.
ModuleNetwork UnevenNetwork()
{
    ModuleNetwork network;
    network.second = 300.0;
    return network;
}

class ResistanceStream : public testing::Test {
protected:
    ResistanceStream()
    {
        FitRespirationModule();
        g_RespirationEnabled = true;
        LoadNetwork(network_);
        s_RespVariation = 2000;
        s_RespPeriod = 60.0 / 17.0;
        s_RespRatio = 1;
    }

    double Ohms(const instrument::Slot& slot) const
    {
        return network_.Ohms(slot.extra[0], slot.extra[1], slot.extra[2]);
    }

    const ModuleNetwork network_ = UnevenNetwork();
};

std::array<std::uint16_t, 3> Triple(const instrument::Slot& slot)
{
    return {slot.extra[0], slot.extra[1], slot.extra[2]};
}
}  // namespace

// The clock of this layout runs at full speed, without compensation.
TEST_F(ResistanceStream, FollowsTheBreathWithinTheStepsOfTheModule)
{
    g_nECGExtRespirationBaselineDAC = std::uint16_t{4321};
    OfflineRun run(OUTPUT_SINE);
    EXPECT_EQ(g_OperateMode, 35);
    EXPECT_EQ(VRAXGetSampleRate(), kRate);
    const auto samples = run.NextSamples(10 * kRate);
    for (std::size_t n = 0; n < samples.size(); ++n) {
        const double t = static_cast<double>(n) / kRate;
        ASSERT_NEAR(Ohms(samples[n]), BreathOhms(2000, 60.0 / 17.0, 2, t), kToleranceOhm) << n;
        ASSERT_EQ(samples[n].extra[3], 4321);
    }
}

// The second is whole when the sums of the steps reach it, a sample sooner or later.
TEST_F(ResistanceStream, HoldsItsCodesInTheApneaOfEveryMinute)
{
    s_ApneaTime = 10;
    OfflineRun run(OUTPUT_SINE);
    const auto samples = run.NextSamples(125 * kRate);
    for (const std::size_t minute : {0u, 1u}) {
        const std::size_t hold = (60 * minute + 50) * kRate;
        const std::size_t end = (60 * minute + 60) * kRate;
        const auto held = Triple(samples[hold + 1]);
        EXPECT_TRUE(held == Triple(samples[hold - 1]) || held == Triple(samples[hold]));
        EXPECT_NEAR(Ohms(samples[hold + 1]),
                    BreathOhms(2000, 60.0 / 17.0, 2, 60.0 * static_cast<double>(minute) + 50.0),
                    kToleranceOhm);
        const auto differs = [&](const instrument::Slot& slot) { return Triple(slot) != held; };
        const auto from = samples.begin();
        const auto first = static_cast<std::ptrdiff_t>(hold + 1);
        const auto last = static_cast<std::ptrdiff_t>(end - 1);
        EXPECT_TRUE(std::none_of(from + first, from + last, differs));
        EXPECT_TRUE(std::any_of(from + last + 2, from + last + 2 * kRate, differs));
        EXPECT_TRUE(std::any_of(from + first - kRate, from + first - 2, differs));
    }
}

TEST_F(ResistanceStream, OfSixtySecondsOfApneaNeverStarts)
{
    s_ApneaTime = 60;
    OfflineRun run(OUTPUT_SINE);
    for (const auto& slot : run.NextSamples(2 * kRate)) {
        ASSERT_EQ(Triple(slot), (std::array<std::uint16_t, 3>{}));
    }
}

TEST_F(ResistanceStream, PlaysARecord)
{
    const double record[] = {0.0, 2.0, 4.0, 6.0};
    ASSERT_EQ(VRAXSetRespirationRawData(record, 4, 10), 1);
    OfflineRun run(OUTPUT_SINE);
    const auto samples = run.NextSamples(2 * kRate);
    for (std::size_t n = 0; n < samples.size(); ++n) {
        if (n % 500 == 0 || n % 500 == 499) continue;  // the step's own sample
        ASSERT_NEAR(Ohms(samples[n]), 50.0 + record[n / 500 % 4], kToleranceOhm) << n;
    }
}

TEST_F(ResistanceStream, IsConstantInTheCalibrationMode)
{
    g_nECGExtRespirationMode = 1;
    OfflineRun run(OUTPUT_SINE);
    for (const auto& slot : run.NextSamples(kRate)) {
        ASSERT_NEAR(Ohms(slot), 52.0, kToleranceOhm);
    }
}
