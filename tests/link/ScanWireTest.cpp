// The frequency scans from their start to the end that they find by themselves, and the
// disturbances, through the public interface.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <mutex>
#include <utility>
#include <vector>

#include "support/LinkHost.h"

using namespace instrument;

namespace {

constexpr double kRate = 20000.0;
constexpr double kPacketSamples = 700.0;

using Calls = std::vector<std::pair<double, double>>;

// What the callbacks were told.
struct Told {
    std::mutex mutex;
    Calls frequencies;
    Calls functions;
};
Told& State()
{
    static Told& told = *new Told;  // told until the process has ended
    return told;
}
Calls Frequencies()
{
    const std::lock_guard lock(State().mutex);
    return State().frequencies;
}
Calls Functions()
{
    const std::lock_guard lock(State().mutex);
    return State().functions;
}

Options KeepingSamples()
{
    Options options;  // as fast as it goes
    options.keepSamples = 1000000;
    return options;
}

struct Span {
    const char* name;
    double start;
    double stop;
    int seconds;
};
void PrintTo(const Span& span, std::ostream* out) { *out << span.name; }

class ScanWire : public testing::Test {
protected:
    ScanWire()
    {
        VRAXRegisterSyncFrequencyCB([](double frequency, double second) {
            const std::lock_guard lock(State().mutex);
            State().frequencies.emplace_back(frequency, second);
        });
        VRAXRegisterSyncMainFunctionCB([](int function, double value) {
            const std::lock_guard lock(State().mutex);
            State().functions.emplace_back(function, value);
        });
    }

    // Packets of whole 700 samples after which the frequency has passed the stop.
    static std::size_t PacketsOf(double seconds)
    {
        return static_cast<std::size_t>(std::floor(seconds * kRate / kPacketSamples)) + 1;
    }

    void ExpectOff() const
    {
        EXPECT_TRUE(Eventually([] { return VRAXIsPlaying() == 0; }));
        EXPECT_EQ(VRAXGetOutputFunction(), OUTPUT_OFF);
        EXPECT_TRUE(
            Eventually([] { return !VRAXGetFrequencyScanSine() && !VRAXGetFrequencyScanECG(); }));
        // No scan refuses it any more.
        EXPECT_TRUE(Eventually([] { return VRAXSetFrequency(1.0) == 0; }));
        ExpectNoRefusals(instrument_);
    }

    // One call a packet with the frequency that it ended with, then the end.
    static void ExpectFrequencies(const Span& span, std::size_t packets)
    {
        const Calls told = Frequencies();
        ASSERT_EQ(told.size(), packets + 1);
        const double step = (span.stop - span.start) / span.seconds / kRate;
        for (std::size_t i = 0; i < packets; ++i) {
            const double samples = kPacketSamples * static_cast<double>(i + 1);
            EXPECT_NEAR(told[i].first, span.start + samples * step, 1e-8) << i;
        }
        EXPECT_EQ(told.back(), (std::pair{-1.0, span.stop}));
    }

    SimulatedInstrument instrument_{KeepingSamples()};
    CConnectedHost host_{kPatientMs};
};

class SineScanWire : public ScanWire, public testing::WithParamInterface<Span> {};

}  // namespace

TEST_P(SineScanWire, EndsByItselfAfterItsDuration)
{
    const Span& span = GetParam();
    ASSERT_EQ(VRAXSetFrequencyScanSine(true, span.seconds, span.start, span.stop), 0);
    ASSERT_TRUE(instrument_.WaitForStop(1, std::chrono::minutes(2)));

    const std::size_t packets = PacketsOf(span.seconds);
    EXPECT_EQ(instrument_.Statistics().samples, packets * 700);
    ExpectFrequencies(span, packets);
    const double step = (span.stop - span.start) / span.seconds / kRate;
    const Calls functions = Functions();
    ASSERT_EQ(functions.size(), 2U);
    EXPECT_EQ(functions[0].first, 1.0);
    EXPECT_NEAR(functions[0].second, step, 1e-12);
    EXPECT_EQ(functions[1], (std::pair{0.0, span.stop}));
    EXPECT_EQ(VRAXGetFrequencyScanSineStartFrequency(), span.start);
    EXPECT_EQ(VRAXGetFrequencyScanSineStopFrequency(), span.stop);
    EXPECT_EQ(VRAXGetFrequencyScanSineDuration(), span.seconds);
    ExpectOff();
}

// On the wire its cycles are those of a frequency that changes evenly: the phase is its integral.
TEST_P(SineScanWire, SweepsEvenly)
{
    const Span& span = GetParam();
    ASSERT_EQ(VRAXSetAmplitude(20.0), 0);
    ASSERT_EQ(VRAXSetFrequencyScanSine(true, span.seconds, span.start, span.stop), 0);
    ASSERT_TRUE(instrument_.WaitForStop(1, std::chrono::minutes(2)));
    const std::vector<Sample> samples = instrument_.Samples();
    ASSERT_GE(samples.size(), static_cast<std::size_t>(span.seconds * kRate));
    const double slope = (span.stop - span.start) / span.seconds;
    std::size_t crossings = 0;
    for (std::size_t n = 1; n < static_cast<std::size_t>(span.seconds * kRate); ++n) {
        if (!(samples[n - 1].codes.ac < 0 && samples[n].codes.ac >= 0)) continue;
        ++crossings;
        const double t = static_cast<double>(n) / kRate;
        const double cycles = span.start * t + slope * t * t / 2.0;
        // A sample, and what the slow clock has lost: every 33,333rd sample repeats its time.
        const double frequency = span.start + slope * t;
        const double lost = (t * kRate / 33333.0 + 1.0) * std::max(span.start, span.stop) / kRate;
        ASSERT_NEAR(cycles, static_cast<double>(crossings), 2.0 * frequency / kRate + lost) << t;
    }
    const double cycles = (span.start + span.stop) / 2.0 * span.seconds;
    EXPECT_NEAR(static_cast<double>(crossings), cycles, 1.1);
}

constexpr Span kSpans[] = {{"Rising", 0.67, 150.0, 10},
                           {"Falling", 150.0, 0.67, 10},
                           {"Narrow", 40.0, 41.0, 10},
                           {"Slow", 2.0, 10.0, 20}};
INSTANTIATE_TEST_SUITE_P(Spans, SineScanWire, testing::ValuesIn(kSpans),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_F(ScanWire, OfTheEcgEndsAfterHalfAMinute)
{
    ASSERT_EQ(VRAXSetFrequencyScanECG(true), 0);
    ASSERT_TRUE(instrument_.WaitForStop(1, std::chrono::minutes(2)));
    const std::size_t packets = PacketsOf(30.0);
    EXPECT_EQ(instrument_.Statistics().samples, packets * 700);
    ExpectFrequencies({"", 0.05, 0.5, 30}, packets);
    const Calls functions = Functions();
    ASSERT_EQ(functions.size(), 2U);
    EXPECT_EQ(functions[0].first, 7.0);
    EXPECT_NEAR(functions[0].second, 0.45 / 30.0 / kRate, 1e-12);
    EXPECT_EQ(functions[1], (std::pair{0.0, 0.0}));
    ExpectOff();
}

// 0.05 t + 0.0075 t^2 cycles: R waves of 1.75 mV in the 8 that begin within half a minute.
TEST_F(ScanWire, OfTheEcgPlaysItsBeatsFasterAndFaster)
{
    ASSERT_EQ(VRAXSetAmplitude(2.0), 0);
    ASSERT_EQ(VRAXSetFrequencyScanECG(true), 0);
    ASSERT_TRUE(instrument_.WaitForStop(1, std::chrono::minutes(2)));
    std::vector<double> beats;
    bool above = false;
    for (const Sample& sample : instrument_.Samples()) {
        const bool isAbove = sample.codes.ac > 1600;
        if (isAbove && !above) beats.push_back(sample.time);
        above = isAbove;
    }
    ASSERT_GE(beats.size(), 8U);
    for (std::size_t k = 0; k < 8; ++k) {
        // The start of the beat; its R wave climbs through 1 mV some 35 ms later.
        const double cycles = static_cast<double>(k);
        const double start = (-0.05 + std::sqrt(0.0025 + 0.03 * cycles)) / 0.015;
        EXPECT_NEAR(beats[k], start + 0.035, 0.005) << k;
    }
}

TEST_F(ScanWire, CanBeSwitchedOffBeforeItsEnd)
{
    instrument_.SetPace(Pace::RealTime);
    ASSERT_EQ(VRAXSetFrequencyScanSine(true, 180, 1.0, 100.0), 0);
    ASSERT_TRUE(instrument_.WaitForPackets(5));
    EXPECT_EQ(VRAXGetOutputFunction(), OUTPUT_SINE);
    EXPECT_TRUE(VRAXGetFrequencyScanSine());
    EXPECT_EQ(VRAXSetFrequency(5.0), -3);
    ASSERT_EQ(VRAXSetFrequencyScanSine(false, 180, 1.0, 100.0), 0);
    ASSERT_TRUE(instrument_.WaitForStop());
    for (const auto& call : Frequencies()) EXPECT_NE(call.first, -1.0);
    EXPECT_EQ(Functions().back(), (std::pair{0.0, 100.0}));
    ExpectOff();
}

TEST_F(ScanWire, OfTheEcgCanBeSwitchedOffBeforeItsEnd)
{
    instrument_.SetPace(Pace::RealTime);
    ASSERT_EQ(VRAXSetFrequencyScanECG(true), 0);
    ASSERT_TRUE(instrument_.WaitForPackets(5));
    EXPECT_EQ(VRAXGetOutputFunction(), OUTPUT_ECG);
    EXPECT_TRUE(VRAXGetFrequencyScanECG());
    EXPECT_EQ(VRAXSetFrequency(5.0), -3);
    ASSERT_EQ(VRAXSetFrequencyScanECG(false), 0);
    ASSERT_TRUE(instrument_.WaitForStop());
    for (const auto& call : Frequencies()) EXPECT_NE(call.first, -1.0);
    EXPECT_EQ(Functions().back(), (std::pair{0.0, 0.0}));
    ExpectOff();
}

TEST_F(ScanWire, CanBeFollowedByAnother)
{
    for (std::size_t i = 1; i <= 3; ++i) {
        ASSERT_EQ(VRAXSetFrequencyScanSine(true, 10, 1.0, 50.0), 0);
        ASSERT_TRUE(instrument_.WaitForStop(i));
        ExpectOff();
        EXPECT_EQ(instrument_.Statistics().samples, i * PacketsOf(10.0) * 700);
    }
}

// The record of the noise can be chosen while stopped, and the old one goes on while playing.
TEST_F(ScanWire, NoiseStressRecordKeepsPlayingWhenAnotherIsRefused)
{
    ASSERT_EQ(VRAXSetAmplitude(0.0), 0);
    ASSERT_EQ(VRAXSetNSTNoise(1, 10.0), 0);
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_SINE), 0);
    ASSERT_TRUE(instrument_.WaitForPackets(60));
    EXPECT_EQ(VRAXSetNSTNoise(2, 10.0), -1);
    EXPECT_EQ(VRAXSetNSTNoise(0, 1.0), -1);
    ASSERT_TRUE(instrument_.WaitForMorePackets(60));
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_OFF), 0);
    ASSERT_TRUE(instrument_.WaitForStop());
    const std::vector<Sample> first = instrument_.Samples();

    // The same again without the calls in between.
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_SINE), 0);
    ASSERT_TRUE(instrument_.WaitForMorePackets(120));
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_OFF), 0);
    ASSERT_TRUE(instrument_.WaitForStop(2));
    const std::vector<Sample> both = instrument_.Samples();
    const std::size_t common = std::min(first.size(), both.size() - first.size());
    ASSERT_GE(common, 120U * 700U - 1400U);
    bool isSilent = true;
    for (std::size_t i = 0; i < common; ++i) {
        ASSERT_EQ(both[first.size() + i].codes.ac, first[i].codes.ac) << i;
        isSilent = isSilent && first[i].codes.ac == 0;
    }
    EXPECT_FALSE(isSilent);
}
