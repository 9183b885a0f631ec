// The pulses as the stream carries them: rate, levels, ratio and transit time measured in packets.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "device/Identification.h"
#include "storage/Calibration.h"
#include "support/FittedModule.h"
#include "support/OfflineRun.h"
#include "support/PpgChannel.h"
#include "synthesis/Respiration.h"

namespace {
using Samples = std::vector<instrument::Slot>;

constexpr double kRate = 10000.0;  // samples/s while a channel is on
constexpr double kDcMvPerCode = 3000.0 / 4095.0;
constexpr double kAcMvPerCode = 30.0 / 4095.0;

class PpgStream : public testing::Test {
protected:
    PpgStream()
    {
        _SetECGDCDefaultCalibrationData();
        FitPPGModule(0x0401, 1, 2, 3);  // no conversion of levels
    }

    static void Play(int led, double frequency, double dc, double ac)
    {
        ASSERT_GT(VRAXSetPPGStandardWaveform(led, 3, 1, 0, frequency, dc, ac), 0);
        ASSERT_EQ(VRAXEnablePPGOutput(led, true), 0);
    }
};

// The samples at which a code is the highest of its neighbourhood, the middle one of a flat top.
template <class Value>
std::vector<double> Peaks(const Samples& samples, Value value, double height, std::size_t apart)
{
    std::vector<double> peaks;
    std::size_t first = 0;
    std::size_t last = 0;
    double highest = height;
    const auto finish = [&] {
        if (highest > height) peaks.push_back(static_cast<double>(first + last) / 2.0);
        highest = height;
    };
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const double v = value(samples[i]);
        if (v > highest) {
            highest = v;
            first = last = i;
        } else if (v == highest) {
            last = i;
        }
        if (i > last + apart) finish();
    }
    return peaks;
}

double AcOf(const instrument::Slot& slot) { return slot.extra[1]; }
double EcgOf(const instrument::Slot& slot) { return slot.ac; }
}  // namespace

TEST_F(PpgStream, CarriesTheLevelsOfThePulse)
{
    Play(1, 1.0, 1500.0, 15.0);
    OfflineRun run(OUTPUT_ECG);
    const Samples samples = run.NextSamples(20000);
    unsigned lowest = 65535;
    unsigned highest = 0;
    for (const instrument::Slot& slot : samples) {
        ASSERT_EQ(slot.extra[0], static_cast<unsigned>(1485.0 / 3000.0 * 4095.0));
        lowest = std::min<unsigned>(lowest, slot.extra[1]);
        highest = std::max<unsigned>(highest, slot.extra[1]);
    }
    EXPECT_EQ(lowest, 0u);
    EXPECT_EQ(highest, 2047u);
    const double ratio = highest * kAcMvPerCode / (samples[0].extra[0] * kDcMvPerCode);
    EXPECT_NEAR(ratio, 15.0 / 1485.0, 0.00001);
}

// Against the test's own pulse, sample by sample: within a code, and the step of the table.
TEST_F(PpgStream, CarriesTheShapeOfThePulse)
{
    Play(1, 1.25, 1000.0, 30.0);
    OfflineRun run(OUTPUT_SINE);
    const Samples samples = run.NextSamples(16000);
    const std::vector<int> period = AcSamples(1);
    ASSERT_EQ(period.size(), 8000u);
    for (std::size_t i = 0; i < 16000; ++i) {
        const double before = period[(i + 7999) % 8000];
        const double at = period[i % 8000];
        const double low = std::floor(std::min(before, at) / 30000.0 * 4095.0 - 1e-9);
        const double high = std::floor(std::max(before, at) / 30000.0 * 4095.0 + 1e-9);
        ASSERT_GE(samples[i].extra[1], low) << i;
        ASSERT_LE(samples[i].extra[1], high) << i;
    }
}

TEST_F(PpgStream, HasThePulseRateThatWasSet)
{
    Play(2, 1.4, 1000.0, 20.0);
    OfflineRun run(OUTPUT_SINE);
    const auto peaks = Peaks(run.NextSamples(300000), AcOf, 2500.0, 3000);
    ASSERT_GE(peaks.size(), 40u);
    const double seconds = (peaks.back() - peaks.front()) / kRate;
    EXPECT_NEAR(static_cast<double>(peaks.size() - 1) / seconds, 1.4, 1e-3);
}

namespace {
// A sine: its top is the same on both sides of its highest sample, 250 ms into its cycle.
class PpgTransit : public PpgStream {
protected:
    PpgTransit()
    {
        EXPECT_GT(VRAXSetPPGStandardWaveform(1, 0, 1, 0, 1.0, 1000.0, 20.0), 0);
        EXPECT_EQ(VRAXEnablePPGOutput(1, true), 0);
    }

    // From each R wave, the highest sample of the ECG, to the next peak of the pulse: in samples.
    static std::vector<double> Measure(int function)
    {
        OfflineRun run(function);
        const Samples samples = run.NextSamples(60000);
        const auto peaks = Peaks(samples, AcOf, 2500.0, 3000);
        std::vector<double> distances;
        for (const double rWave : Peaks(samples, EcgOf, 1000.0, 3000)) {
            // A peak that stands on the R wave counts as the next one.
            const auto next = std::lower_bound(peaks.begin(), peaks.end(), rWave - 20.0);
            if (next != peaks.end()) distances.push_back(*next - rWave);
        }
        EXPECT_GE(distances.size(), 4u);
        return distances;
    }
};
}  // namespace

// A QRS of 80 ms has its R wave at a whole millisecond, 35 ms after its start.
TEST_F(PpgTransit, IsTheTimeFromTheRWaveToThePeak)
{
    g_QRSDuration = 80.0;
    for (const int function : {OUTPUT_ECG, OUTPUT_CUSTOM_ECG}) {
        for (const int transit : {0, 200, 480, 900}) {
            VRAXSetPTTp(transit);
            for (const double distance : Measure(function)) {
                ASSERT_NEAR(distance, 10.0 * transit, 1.0) << function << ' ' << transit;
            }
        }
    }
}

// The R wave of 53.75 ms counts as 53 ms.
TEST_F(PpgTransit, CountsFromTheWholeMillisecond)
{
    VRAXSetPTTp(200);
    for (const double distance : Measure(OUTPUT_ECG)) ASSERT_NEAR(distance, 2000.0 - 7.5, 1.0);
}

TEST_F(PpgTransit, OfAPulseThatIsNotSynchronisedStartsWithTheRun)
{
    OfflineRun run(OUTPUT_ECG);
    const auto peaks = Peaks(run.NextSamples(40000), AcOf, 2500.0, 3000);
    ASSERT_GE(peaks.size(), 3u);
    EXPECT_NEAR(peaks[0], 2500.0, 1.0);
}

TEST_F(PpgStream, CarriesThreeChannelsInTheOrderOfTheFrame)
{
    const struct {
        int led;
        double dc;
        unsigned slot;
    } kChannels[] = {{0, 500.0, 2}, {1, 1000.0, 0}, {2, 2000.0, 1}};
    FitModule(0, 0, 0, 1, 2, 0);  // no letters: the channels themselves choose the mode
    for (const auto& channel : kChannels) Play(channel.led, 2.0, channel.dc + 10.0, 10.0);
    OfflineRun run(OUTPUT_ECG);
    EXPECT_EQ(g_OperateMode, 31);
    for (const instrument::Slot& slot : run.NextSamples(1000)) {
        for (const auto& channel : kChannels) {
            ASSERT_EQ(slot.extra[2 * channel.slot],
                      static_cast<unsigned>(channel.dc / 3000.0 * 4095.0));
        }
    }
}

TEST_F(PpgStream, ShowsThePulseToTheGraph)
{
    static std::vector<double> s_values;
    Play(1, 1.0, 1000.0, 20.0);
    g_PPGGraphCBs[1] = [](double, double value) { s_values.push_back(value); };
    OfflineRun run(OUTPUT_ECG);
    run.NextSamples(10000);
    EXPECT_NEAR(*std::max_element(s_values.begin(), s_values.end()), 20.0, 1e-9);
    EXPECT_EQ(s_values.front(), 0.0);
}

TEST_F(PpgStream, IsSilentFromTheSampleAfterTheChannelWasCleared)
{
    Play(1, 1.0, 1000.0, 20.0);
    OfflineRun run(OUTPUT_ECG);
    EXPECT_NE(run.NextSamples(1)[0].extra[0], 0);
    VRAXClearPPGWaveform(1);
    for (const instrument::Slot& slot : run.NextSamples(1000)) {
        ASSERT_EQ(slot.extra[0], 0);
        ASSERT_EQ(slot.extra[1], 0);
    }
}

TEST_F(PpgStream, RefusesNewWaveformsWhileItPlaysAndTakesTransitTimeAndModulation)
{
    Play(1, 1.0, 1000.0, 20.0);
    OfflineRun run(OUTPUT_ECG);
    EXPECT_EQ(VRAXSetPPGStandardWaveform(1, 3, 1, 0, 1.0, 1000, 10), -1);
    EXPECT_EQ(VRAXEnablePPGOutput(1, false), -1);
    VRAXSetPTTp(100);
    EXPECT_EQ(g_PPG_PTTp, 100);
    EXPECT_TRUE(VRAXSetPPGRespirationAlgorithm(10, 10, 10));
}

// 12 mV of 15 in range 1, and 0.9 mV of 1 in range 2.
TEST_F(PpgStream, UsesTheRangesOfThe3407Module)
{
    FitPPGModule(0x3407, 1, 2, 0);
    g_nPPGACDacLevel = std::uint16_t{65535};
    Play(1, 1.0, 1000.0, 12.0);
    Play(2, 1.0, 1000.0, 0.9);
    OfflineRun run(OUTPUT_ECG);
    EXPECT_EQ(g_ACCalMode[1], 1);
    EXPECT_EQ(g_ACCalMode[2], 2);
    EXPECT_EQ(g_OperateMode, 15);
    unsigned highest[2] = {};
    for (const instrument::Slot& slot : run.NextSamples(10000)) {
        highest[0] = std::max<unsigned>(highest[0], slot.extra[1]);
        highest[1] = std::max<unsigned>(highest[1], slot.extra[3]);
    }
    EXPECT_EQ(highest[0], 52428u);
    EXPECT_NEAR(highest[1], 58981.5, 66.0);  // of the microvolt that the conversion may cut off
}

// A breath of 2 s moves the level of a quarter up and down.
TEST_F(PpgStream, BreathesAtTheRateOfTheRespiration)
{
    ASSERT_GT(VRAXSetPPGStandardWaveform(1, 2, 1, 0, 5.0, 1000.0, 20.0), 0);
    ASSERT_EQ(VRAXEnablePPGOutput(1, true), 0);
    s_OneRespireS = 2.0;
    s_InhaleS = 1.0;
    s_ExhaleS = 1.0;
    ASSERT_TRUE(VRAXSetPPGRespirationAlgorithm(0, 25, 0));
    OfflineRun run(OUTPUT_SINE);
    const Samples samples = run.NextSamples(200000);
    const auto breaths = Peaks(
        samples, [](const auto& slot) { return static_cast<double>(slot.extra[0]); }, 1500.0, 9000);
    ASSERT_GE(breaths.size(), 9u);
    const double seconds = (breaths.back() - breaths.front()) / kRate;
    EXPECT_NEAR(60.0 * static_cast<double>(breaths.size() - 1) / seconds, 30.0, 0.05);
    for (std::size_t i = 0; i < 20000; ++i) {
        const double level =
            980.0 * (1.0 + 0.25 * std::sin(std::acos(-1.0) * static_cast<double>(i) / kRate));
        ASSERT_NEAR(samples[i].extra[0] * kDcMvPerCode, level, 0.8) << i;
    }
}
