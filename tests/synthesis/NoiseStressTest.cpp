// The noise-stress records: which one plays, between its samples, past its end, on every signal.

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <utility>
#include <vector>

#include "sources/Tables.h"
#include "storage/Calibration.h"
#include "support/OfflineRun.h"
#include "support/PlayClockModel.h"
#include "synthesis/Callbacks.h"
#include "synthesis/Respiration.h"
#include "synthesis/TestSignals.h"

namespace {
constexpr std::size_t kLength = 650000;
constexpr int kNone = 0;
constexpr int kElectrodeMotion = 1;
constexpr int kBaselineWander = 2;
constexpr int kMuscleArtefact = 3;
constexpr int kRecords[] = {kElectrodeMotion, kBaselineWander, kMuscleArtefact};

// Where each record begins: muscle artefact, electrode motion, baseline wander.
std::size_t BeginOf(int record)
{
    return record == kMuscleArtefact ? 0 : record == kElectrodeMotion ? kLength : 2 * kLength;
}

// Entry `i` of a record, in mV at gain 1.
double EntryOf(int record, std::size_t i) { return g_NoiseRecords[BeginOf(record) + i] / 1000.0; }

double NoiseAt(int record, double position, double gain = 1.0)
{
    s_NST_Noise = record;
    s_NST_gain = gain;
    s_t = position / 360.0;
    return GetNstNoise();
}

// 360 samples a second and a record of half an hour leave 1e-9 of a sample to rounding.
constexpr double kTolerance = 1e-7;

// Two neighbours that differ, so that what lies between them shows.
std::size_t UnequalNeighbours(int record, std::size_t from)
{
    while (EntryOf(record, from) == EntryOf(record, from + 1)) ++from;
    return from;
}

TEST(NoiseStress, PlaysTheRecordOfItsNumber)
{
    for (const int record : kRecords) {
        for (std::size_t i = 0; i < kLength; i += 6397) {
            ASSERT_NEAR(NoiseAt(record, static_cast<double>(i) + 1e-9), EntryOf(record, i),
                        kTolerance)
                << record << " " << i;
        }
    }
}

TEST(NoiseStress, RecordsAreNotSilentAndNotTheSame)
{
    double power[4] = {};
    double difference = 0.0;
    for (std::size_t i = 0; i < kLength; ++i) {
        for (const int record : kRecords) power[record] += std::pow(EntryOf(record, i), 2);
        difference += std::fabs(EntryOf(kElectrodeMotion, i) - EntryOf(kMuscleArtefact, i));
    }
    for (const int record : kRecords) EXPECT_GT(power[record] / kLength, 1e-6) << record;
    EXPECT_GT(difference / kLength, 1e-3);
}

TEST(NoiseStress, IsNoneForOtherNumbers)
{
    constexpr int kMost = std::numeric_limits<int>::max();
    for (const int record : {kNone, 4, 100, -1, kMost, -kMost - 1}) {
        for (const double position : {0.0, 1234.5, 650000.5}) {
            EXPECT_EQ(NoiseAt(record, position), 0.0) << record;
        }
    }
}

TEST(NoiseStress, InterpolatesBetweenTwoSamples)
{
    for (const int record : kRecords) {
        for (const std::size_t from : {std::size_t{0}, std::size_t{1000}, kLength - 1000}) {
            const std::size_t i = UnequalNeighbours(record, from);
            for (const double w : {0.0625, 0.25, 0.5, 0.75, 0.9375}) {
                const double expected = EntryOf(record, i) * (1.0 - w) + EntryOf(record, i + 1) * w;
                EXPECT_NEAR(NoiseAt(record, static_cast<double>(i) + w), expected, kTolerance)
                    << record << " " << i << " " << w;
            }
        }
    }
}

TEST(NoiseStress, IsScaledByItsGain)
{
    const std::size_t i = UnequalNeighbours(kMuscleArtefact, 5000);
    const double mean = (EntryOf(kMuscleArtefact, i) + EntryOf(kMuscleArtefact, i + 1)) / 2.0;
    for (const double gain : {0.1, 1.0, 2.5, 10.0}) {
        EXPECT_NEAR(NoiseAt(kMuscleArtefact, static_cast<double>(i) + 0.5, gain), mean * gain,
                    10.0 * kTolerance);
    }
}

// Deliberately not interpolated: from the last sample's time on it is the first of the record that
// is stored next, and silence after baseline wander, the last one.
TEST(NoiseStress, LastSampleIsTheFirstOfTheNextRecord)
{
    for (const double w : {0.001, 0.25, 0.5, 0.999}) {
        for (const double gain : {1.0, 4.0}) {
            const double position = 649999.0 + w;
            EXPECT_NEAR(NoiseAt(kMuscleArtefact, position, gain),
                        EntryOf(kElectrodeMotion, 0) * gain, 1e-12);
            EXPECT_NEAR(NoiseAt(kElectrodeMotion, position, gain),
                        EntryOf(kBaselineWander, 0) * gain, 1e-12);
            EXPECT_EQ(NoiseAt(kBaselineWander, position, gain), 0.0);
        }
    }
}

TEST(NoiseStress, LastButOneSampleIsInterpolatedToTheLast)
{
    for (const int record : kRecords) {
        const double expected =
            0.25 * EntryOf(record, kLength - 2) + 0.75 * EntryOf(record, kLength - 1);
        EXPECT_NEAR(NoiseAt(record, 649998.75), expected, kTolerance) << record;
    }
}

// 650000 / 360 s, some 1805.6 s.
TEST(NoiseStress, RepeatsAfterItsLength)
{
    for (const int record : kRecords) {
        for (const double position : {0.0, 0.5, 17.25, 123456.5, 649998.5, 649999.5}) {
            for (const double turns : {1.0, 2.0, 48.0}) {
                EXPECT_NEAR(NoiseAt(record, position + turns * 650000.0 + 1e-6),
                            NoiseAt(record, position + 1e-6), 1e-5)
                    << record << " " << position << " " << turns;
            }
        }
    }
}

TEST(NoiseStress, IsSilentAtATimeThatIsNone)
{
    s_NST_Noise = kElectrodeMotion;
    EXPECT_EQ(NstRecordAt(kElectrodeMotion, -1.0), 0.0);
    EXPECT_EQ(NstRecordAt(kElectrodeMotion, std::nan("")), 0.0);
}

class NoiseStressStream : public testing::Test {
protected:
    NoiseStressStream() { _SetECGDCDefaultCalibrationData(); }
    static constexpr std::size_t kSamples = 2100;

    // mV at sample n of a run at `rate`.
    static double Expected(int record, std::size_t n, int rate, double gain)
    {
        const double position = 360.0 * static_cast<double>(n) / rate;
        const auto i = static_cast<std::size_t>(position);
        const double w = position - std::floor(position);
        return gain * (EntryOf(record, i) * (1.0 - w) + EntryOf(record, i + 1) * w);
    }
};

TEST_F(NoiseStressStream, LiesOnEveryOutputFunction)
{
    constexpr int kRate = 1000;
    std::vector<int> functions = {10000};
    for (int function = 1; function <= 17; ++function) functions.push_back(function);
    for (const int function : functions) {
        s_NST_Noise = kNone;
        std::vector<instrument::Slot> clean;
        {
            OfflineRun run(function, kRate);
            clean = run.NextSamples(kSamples);
        }
        s_NST_Noise = kElectrodeMotion;
        s_NST_gain = 0.5;
        OfflineRun run(function, kRate);
        const auto noisy = run.NextSamples(kSamples);
        for (std::size_t n = 0; n < kSamples; ++n) {
            const double mv = Expected(kElectrodeMotion, n, kRate, 0.5);
            ASSERT_EQ(noisy[n].dc, clean[n].dc) << function;
            ASSERT_NEAR(noisy[n].ac - clean[n].ac, 1600.0 * mv, 2.001) << function << " at " << n;
        }
    }
}

TEST_F(NoiseStressStream, AddsToMainsNoiseAndDrift)
{
    constexpr int kRate = 1000;
    s_NST_Noise = kMuscleArtefact;
    g_MainNoise = 1;
    g_MainsNoiseAmp = 2.0;
    g_AAMIDriftTest = true;
    g_Amplitude = 0.0;
    g_CusT = 0.0;
    OfflineRun run(OUTPUT_ECG, kRate);
    const auto samples = run.NextSamples(kSamples);
    for (std::size_t n = 0; n < kSamples; ++n) {
        const double t = static_cast<double>(n) / kRate;
        const double mv =
            Expected(kMuscleArtefact, n, kRate, 1.0) + 0.8 * t + std::sin(2.0 * M_PI * 50.0 * t);
        ASSERT_NEAR(samples[n].ac, 1600.0 * mv, 1.01) << n;
    }
}

// Noise comes on top of the clamped beat.
TEST_F(NoiseStressStream, IsNoPartOfTheOutputRange)
{
    g_RangeV4Ch2On = 0.001;
    s_NST_Noise = kElectrodeMotion;
    s_NST_gain = 1.0;
    OfflineRun run(OUTPUT_ECG, 1000);
    const auto samples = run.NextSamples(kSamples);
    for (std::size_t n = 0; n < kSamples; ++n) {
        ASSERT_NEAR(samples[n].ac, 1600.0 * Expected(kElectrodeMotion, n, 1000, 1.0), 1.6 + 1.01);
    }
}

TEST_F(NoiseStressStream, PassesTheEndOfTheRecord)
{
    constexpr int kRate = 20000;
    constexpr double kStart = 1805.5;  // 55.6 ms before it
    s_NST_Noise = kMuscleArtefact;
    g_Amplitude = 0.0;
    OfflineRun run(OUTPUT_SINE, kRate);
    s_t = kStart;
    const auto samples = run.NextSamples(kSamples);
    bool lastSeen = false;
    bool firstSeen = false;
    for (std::size_t n = 0; n < kSamples; ++n) {
        const double position = 360.0 * (kStart + static_cast<double>(n) / kRate);
        const double nearest = std::round(position);
        if (std::fabs(position - nearest) < 1e-6) continue;
        const double w = position - std::floor(position);
        const std::size_t i = static_cast<std::size_t>(position) % kLength;
        double mv = EntryOf(kElectrodeMotion, 0);
        if (i != kLength - 1) {
            mv = EntryOf(kMuscleArtefact, i) * (1.0 - w) + EntryOf(kMuscleArtefact, i + 1) * w;
        }
        lastSeen |= i == kLength - 1;
        firstSeen |= i == 0;
        ASSERT_NEAR(samples[n].ac, 1600.0 * mv, 1.01) << i;
    }
    EXPECT_TRUE(lastSeen && firstSeen);
}

TEST_F(NoiseStressStream, IsSilentWhileTheEcgOutputIsDisabled)
{
    s_NST_Noise = kElectrodeMotion;
    g_bECGOutputEnabled = false;
    OfflineRun run(OUTPUT_SINE);
    for (const auto& slot : run.NextSamples(kSamples)) ASSERT_EQ(slot.ac, 0);
}

std::vector<std::pair<double, double>> s_graph;

// The graph shows the noise once, and not what respiration attenuates.
TEST_F(NoiseStressStream, IsPartOfTheGraph)
{
    constexpr int kRate = 1000;
    VRAXRegisterOutputSignalCallback([](double t, double mv) { s_graph.emplace_back(t, mv); }, 1);
    s_NST_Noise = kMuscleArtefact;
    s_NST_gain = 2.0;
    g_Amplitude = 0.0;
    g_RespirationEnabled = true;
    s_RespBaseline = 1000;
    OfflineRun run(OUTPUT_SINE, kRate);
    const auto samples = run.NextSamples(kSamples);
    ASSERT_EQ(s_graph.size(), samples.size());
    for (std::size_t n = 0; n < kSamples; ++n) {
        const double mv = Expected(kMuscleArtefact, n, kRate, 2.0);
        ASSERT_NEAR(s_graph[n].second, mv, 1e-6) << n;
        ASSERT_NEAR(samples[n].ac, 1600.0 * mv / 9.534, 1.01) << n;
    }
}

TEST_F(NoiseStressStream, IsNothingWithAGainThatIsNone)
{
    s_NST_Noise = kElectrodeMotion;
    s_NST_gain = std::nan("");
    OfflineRun run(OUTPUT_SINE);
    for (const auto& slot : run.NextSamples(700)) ASSERT_EQ(slot.ac, 0);
}
}  // namespace
