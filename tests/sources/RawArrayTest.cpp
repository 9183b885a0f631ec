// The record of output function 13: handed over, dropped, played.

#include <gtest/gtest.h>

#include <climits>
#include <utility>
#include <vector>

#include "sources/RawArray.h"
#include "streaming/Change.h"
#include "support/OfflineRun.h"
#include "synthesis/BeatModel.h"
#include "synthesis/MainFunction.h"

namespace {
const double kSamples[] = {0.5, -1.25, 3.0, 19.0, -25.0};
constexpr int kCount = 5;

double VoltageAt(double t)
{
    DerivedParameters ignored;
    CycleQuantities cycle = DeriveCycle(OUTPUT_ECG_FILE, 20000, ignored);
    return MainFunctionVoltage(OUTPUT_ECG_FILE, cycle, {t, 20000}, t);
}

TEST(RawArray, IsEmptyAtLoad)
{
    unsigned count = 1;
    unsigned rate = 1;
    EXPECT_EQ(GetFileArray(&count, &rate), nullptr);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(rate, 20000u);
    EXPECT_EQ(VoltageAt(0.0), 0.0);
}

// Three samples a turn of 12 ms, each held for 80 of the 20000 a second; a time at a seam may round to
// either side.
TEST(RawArray, RepeatsWithoutAGap)
{
    const double samples[] = {1.0, 2.0, 3.0};
    ASSERT_EQ(SetRawArray(3, samples, 250), 0);
    std::vector<double> out(20000);
    ASSERT_EQ(GetRawDataArrayEx(OUTPUT_ECG_FILE, out.data(), 20000, 20000), 20000);
    for (std::size_t i = 0; i < out.size(); ++i) {
        const double held = samples[i / 80 % 3];
        const double before = samples[(i / 80 + 2) % 3];
        if (i % 80 != 0 || out[i] != before) {
            ASSERT_EQ(out[i], held) << i;
        }
    }
}

// A change that comes while there is no record leaves the run without a cycle.
TEST(RawArray, IsHeardByARunWhoseCycleWasDerivedWithoutOne)
{
    OfflineRun run(OUTPUT_ECG_FILE, 1000);
    for (const instrument::Slot& slot : run.NextSamples(700)) ASSERT_EQ(slot.ac, 0);
    const double samples[] = {5.0};
    ASSERT_EQ(SetRawArray(1, samples, 250), 0);
    EXPECT_EQ(run.NextSamples(700).back().ac, 8000);
}

TEST(RawArray, HoldsACopyOfWhatWasHandedOver)
{
    std::vector<double> samples(kSamples, kSamples + kCount);
    ASSERT_EQ(SetRawArray(kCount, samples.data(), 360), 0);
    samples.assign(kCount, 99.0);
    unsigned count = 0;
    unsigned rate = 0;
    const double* record = GetFileArray(&count, &rate);
    ASSERT_NE(record, nullptr);
    EXPECT_NE(record, samples.data());
    EXPECT_EQ(count, 5u);
    EXPECT_EQ(rate, 360u);
    EXPECT_EQ(std::vector<double>(record, record + count),
              std::vector<double>(kSamples, kSamples + kCount));
    EXPECT_EQ(ECGFileUnitMV, 1);
}

TEST(RawArray, TakesSamplesOutsideTwentyMillivoltsAsTheyAre)
{
    ASSERT_EQ(SetRawArray(kCount, kSamples, 1), 0);
    EXPECT_EQ(VoltageAt(4.5), -25.0);
}

TEST(RawArray, KeepsTheOldRecordWhenItRefuses)
{
    ASSERT_EQ(SetRawArray(kCount, kSamples, 360), 0);
    EXPECT_EQ(SetRawArray(3, nullptr, 100), -1);
    EXPECT_EQ(SetRawArray(0, kSamples, 100), -1);
    EXPECT_EQ(SetRawArray(-1, kSamples, 100), -1);
    EXPECT_EQ(SetRawArray(3, kSamples, 0), -1);
    EXPECT_EQ(SetRawArray(3, kSamples, INT_MIN), -1);
    unsigned count = 0;
    unsigned rate = 0;
    ASSERT_NE(GetFileArray(&count, &rate), nullptr);
    EXPECT_EQ(count, 5u);
    EXPECT_EQ(rate, 360u);
}

TEST(RawArray, ReplacesTheRecordBefore)
{
    ASSERT_EQ(SetRawArray(kCount, kSamples, 360), 0);
    ECGFileUnitMV = 0;
    ASSERT_EQ(SetRawArray(1, kSamples + 2, 100), 0);
    unsigned count = 0;
    unsigned rate = 0;
    const double* record = GetFileArray(&count, &rate);
    ASSERT_EQ(count, 1u);
    EXPECT_EQ(rate, 100u);
    EXPECT_EQ(record[0], 3.0);
    EXPECT_EQ(ECGFileUnitMV, 1);
}

TEST(RawArray, TellsARateTruncatedToAnInteger)
{
    ASSERT_EQ(SetRawArray(kCount, kSamples, 360), 0);
    g_nECGRawSampleRate = 128.9;
    unsigned count = 0;
    unsigned rate = 0;
    GetFileArray(&count, &rate);
    EXPECT_EQ(rate, 128u);
}

TEST(RawArray, NeedsBothPointersToTellItself)
{
    ASSERT_EQ(SetRawArray(kCount, kSamples, 360), 0);
    unsigned value = 7;
    EXPECT_EQ(GetFileArray(nullptr, &value), nullptr);
    EXPECT_EQ(GetFileArray(&value, nullptr), nullptr);
}

TEST(RawArray, ClearedIsEmptyWithBothRatesAtTheirDefault)
{
    ASSERT_EQ(SetRawArray(kCount, kSamples, 360), 0);
    g_nRespSampleRate = 50;
    ClearRawArray();
    unsigned count = 1;
    unsigned rate = 1;
    EXPECT_EQ(GetFileArray(&count, &rate), nullptr);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(rate, 20000u);
    EXPECT_EQ(g_nRespRawSize, 0);
    EXPECT_EQ(g_nRespSampleRate, 20000);
    ClearRawArray();  // again
    EXPECT_EQ(VoltageAt(0.0), 0.0);
}

TEST(RawArray, IsHeldFromSampleToSample)
{
    ASSERT_EQ(SetRawArray(kCount, kSamples, 4), 0);
    EXPECT_EQ(VoltageAt(0.0), 0.5);
    EXPECT_EQ(VoltageAt(0.2499), 0.5);
    EXPECT_EQ(VoltageAt(0.25), -1.25);
    EXPECT_EQ(VoltageAt(0.999), 19.0);
    EXPECT_EQ(VoltageAt(1.2499), -25.0);
}

TEST(RawArray, IsZeroOutsideItself)
{
    ASSERT_EQ(SetRawArray(kCount, kSamples, 4), 0);
    for (const double t : {1.26, 100.0, 1e300, -0.26}) EXPECT_EQ(RawArrayVoltage(t), 0.0) << t;
}

TEST(RawArray, InMicrovoltsIsDividedByAThousand)
{
    ASSERT_EQ(SetRawArray(kCount, kSamples, 4), 0);
    ECGFileUnitMV = 0;
    EXPECT_DOUBLE_EQ(VoltageAt(0.5), 0.003);
}

std::vector<std::pair<double, double>> s_ends;

class RecordEnd : public testing::Test {
protected:
    RecordEnd()
    {
        SetRawArray(kCount, kSamples, 10);  // half a second
        RegisterStandardWaveformCB([](double t, double period) { s_ends.emplace_back(t, period); });
    }
};

TEST_F(RecordEnd, IsItsStartAgainWhileLooping)
{
    OfflineRun run(OUTPUT_ECG_FILE, 1000);
    const auto samples = run.NextSamples(1400);
    EXPECT_EQ(samples[50].ac, samples[550].ac);
    EXPECT_EQ(samples[650].ac, -2000);
    EXPECT_EQ(VRAXGetOutputFunction(), OUTPUT_ECG_FILE);
    EXPECT_TRUE(s_ends.empty());
}

TEST_F(RecordEnd, IsToldOnceAndSwitchesTheOutputOffWithoutLooping)
{
    VRAXSetFileLoop(0);
    OfflineRun run(OUTPUT_ECG_FILE, 1000);
    const auto samples = run.NextSamples(700);
    ASSERT_EQ(s_ends.size(), 1u);
    EXPECT_GT(s_ends[0].first, 0.5);
    EXPECT_LE(s_ends[0].first, 0.502);
    EXPECT_DOUBLE_EQ(s_ends[0].second, 0.5);
    EXPECT_EQ(VRAXGetOutputFunction(), OUTPUT_OFF);
    EXPECT_EQ(VRAXIsPlaying(), 0);
    EXPECT_EQ(samples[450].ac, -32768);
    EXPECT_EQ(samples[550].ac, 0);
    EXPECT_EQ(samples[699].ac, 0);
}

TEST_F(RecordEnd, LoopsForAnythingButZero)
{
    EXPECT_TRUE(s_loopFile);
    for (const int loop : {0, 1, -1, 256}) {
        VRAXSetFileLoop(loop);
        EXPECT_EQ(s_loopFile, loop != 0) << loop;
    }
}

// The waveforms of the standards end alike.
TEST(WaveformEnd, IsToldForTheWaveformsOfTheStandards)
{
    RegisterStandardWaveformCB([](double t, double period) { s_ends.emplace_back(t, period); });
    s_loopPlay = false;
    for (const int function : {OUTPUT_IEC251, OUTPUT_ANE20000}) {
        s_ends.clear();
        OfflineRun run(function, 100);
        run.NextPacket();
        ASSERT_EQ(s_ends.size(), 1u) << function;
        EXPECT_EQ(s_ends[0].second, 1.0);
        EXPECT_EQ(VRAXGetOutputFunction(), OUTPUT_OFF);
    }
    s_loopPlay = true;
    OfflineRun run(OUTPUT_IEC251, 100);
    run.NextPacket();
    EXPECT_EQ(VRAXGetOutputFunction(), OUTPUT_IEC251);
}
}  // namespace
