// What changes a pulse while it plays, from the wire back: breath, the application's own samples,
// the channels that are on; and what the graphs are told.

#include <gtest/gtest.h>

#include <cmath>
#include <mutex>
#include <utility>

#include "support/PpgRun.h"

using namespace instrument;

namespace {
constexpr double kRampMv = 25.0;

// A ramp of a second: the level tells the position in the pulse.
void SetRamp(int led)
{
    std::vector<double> dc(1000, 1000.0);
    std::vector<double> ac;
    for (int i = 0; i < 1000; ++i) ac.push_back(kRampMv * i / 1000.0);
    ASSERT_EQ(VRAXSetPPGRawData(led, 1, 0, 1000, dc.data(), ac.data(), 1000.0), 0);
    ASSERT_EQ(VRAXEnablePPGOutput(led, true), 0);
}

Series Cycles(Series ramp)
{
    for (double& value : ramp) value /= kRampMv;
    return Unwrapped(ramp);
}

// In cycles a second, over a tenth of a second around a time.
double RateAt(const Series& cycles, double seconds)
{
    const auto at = static_cast<std::size_t>(seconds * kPpgRate);
    return (cycles[at + 500] - cycles[at - 500]) * 10.0;
}

constexpr double kAboveRestMv = 1000.02;  // less than a code above the level at rest

// The upper half of each cycle of 5 Hz alone, without its edges.
Series UpperHalves(const Series& square)
{
    Series upper;
    for (std::size_t i = 0; i < square.size(); ++i) {
        if (i % 2000 < 995 && i % 2000 > 5) upper.push_back(square[i]);
    }
    return upper;
}
}  // namespace

TEST(PpgBreath, MovesTheBaselineByItsPartOfThePulse)
{
    CPpgRun run(WithPlainModule(), 12.0);
    SetPulse({1, kSquare, 5.0, 1015.0, 15.0});
    ASSERT_EQ(VRAXSetRespirationAlgorithm(15, 1, 0, 0, 0, 0), 1);
    ASSERT_TRUE(VRAXSetPPGRespirationAlgorithm(40, 0, 0));
    run.Play();
    const Series dc = run.Dc(1);
    EXPECT_NEAR(Highest(dc), 1006.0, kDcStepMv);  // 40 % of 15 mV
    EXPECT_NEAR(Lowest(dc), 994.0, kDcStepMv);
    EXPECT_NEAR(RateOf(RisingThrough(dc, kAboveRestMv)) * kPpgRate * 60.0, 15.0, 0.05);
    const Series upper = UpperHalves(run.Ac(1));
    EXPECT_NEAR(Highest(upper), 21.0, 0.01);
    EXPECT_NEAR(Lowest(upper), 9.0, 0.01);
    EXPECT_EQ(Lowest(run.Ac(1)), 0.0);  // no lower than its converter goes
}

// A breath of 4 s at 1:3: in for 1 s, out for 3 s.
TEST(PpgBreath, MultipliesBothParts)
{
    CPpgRun run(WithPlainModule(), 14.0);
    SetPulse({1, kSquare, 5.0, 1015.0, 15.0});
    ASSERT_EQ(VRAXSetRespirationAlgorithm(15, 3, 0, 0, 0, 0), 1);
    ASSERT_TRUE(VRAXSetPPGRespirationAlgorithm(0, 25, 0));
    run.Play();
    const Series dc = run.Dc(1);
    EXPECT_NEAR(Highest(dc), 1250.0, kDcStepMv);
    EXPECT_NEAR(Lowest(dc), 750.0, kDcStepMv);
    const Series upper = UpperHalves(run.Ac(1));
    EXPECT_NEAR(Highest(upper), 15.0 * 1.25, 0.01);
    EXPECT_NEAR(Lowest(upper), 15.0 * 0.75, 0.01);
    const Series in = RisingThrough(dc, kAboveRestMv);
    const Series out = FallingThrough(dc, kAboveRestMv);
    EXPECT_NEAR(RateOf(in) * kPpgRate * 60.0, 15.0, 0.05);
    EXPECT_NEAR(out.at(0) - in.at(0), 10000.0, 20.0);
    EXPECT_NEAR(in.at(1) - out.at(0), 30000.0, 20.0);
    EXPECT_NEAR(PlaceOfHighest(dc, 0, 10000), 5000.0, 50.0);
    EXPECT_NEAR(PlaceOfLowest(dc, 10000, 40000), 25000.0, 150.0);
}

TEST(PpgBreath, IsHeldInTheLastSecondsOfAMinute)
{
    CPpgRun run(WithPlainModule(), 62.0);
    SetPulse({1, kSquare, 5.0, 1015.0, 15.0});
    ASSERT_EQ(VRAXSetRespirationAlgorithm(16, 1, 7, 0, 0, 0), 1);  // 3.75 s each
    ASSERT_TRUE(VRAXSetPPGRespirationAlgorithm(0, 25, 0));
    run.Play();
    const Series dc = run.Dc(1);
    // The play clock is a sample behind each 33,333.
    for (std::size_t i = 53 * kPpgSecond + 20; i < 60 * kPpgSecond; ++i) {
        ASSERT_NEAR(dc[i], 1000.0, kDcStepMv) << i;
    }
    EXPECT_GT(std::fabs(dc[53 * kPpgSecond - 500] - 1000.0), 100.0);
    EXPECT_NEAR(PlaceOfHighest(dc, 60 * kPpgSecond, 62 * kPpgSecond), 60.9375 * kPpgRate + 18.0,
                60.0);
}

// Deliberately half of the modulated heart rate for each channel that is on.
TEST(PpgBreath, MovesTheRateOnceForEachEnabledChannel)
{
    CPpgRun run(WithPlainModule(), 12.0);
    ASSERT_EQ(VRAXSetFrequency(2.0), 0);
    ASSERT_EQ(VRAXSetRespirationAlgorithm(20, 1, 0, 0, 0, 0), 1);
    ASSERT_TRUE(VRAXSetPPGRespirationAlgorithm(0, 0, 40));
    double channels = 0.0;
    for (const int led : {1, 2, 0}) {
        SetRamp(led);
        ++channels;
        run.Play();
        const Series cycles = Cycles(run.Ac(1));
        const double mean = (cycles.back() - cycles.front()) / 12.0;  // four whole breaths
        EXPECT_NEAR(mean, channels, 0.002 * channels) << channels;
        for (const double breath : {3.0, 6.0}) {
            EXPECT_NEAR(RateAt(cycles, breath + 0.75), 1.4 * channels, 0.015 * channels);
            EXPECT_NEAR(RateAt(cycles, breath + 2.25), 0.6 * channels, 0.015 * channels);
            EXPECT_NEAR(RateAt(cycles, breath + 1.5), channels, 0.015 * channels);
        }
    }
}

// Two of the application's own levels outside the range of AC, none outside that of DC.
TEST(PpgRawData, IsPlayedAsItsSamplesStand)
{
    CPpgRun run(WithPlainModule(), 3.0);
    const double dc[] = {500.0, 600.0, 3100.0, 800.0};
    const double ac[] = {1.0, 31.0, 3.0, -1.0};
    const double played[] = {1.0, 30.0, 3.0, 0.0};
    VRAXSetPTTp(111);  // nothing to the application's own samples
    for (const int invert : {0, 1}) {
        ASSERT_EQ(VRAXSetPPGRawData(2, 1, invert, 4, dc, ac, 8.0), 0);
        ASSERT_EQ(VRAXEnablePPGOutput(2, true), 0);
        run.Play();
        for (std::size_t i = 0; i < run.Samples().size(); ++i) {
            const std::size_t at = i % 1250;
            if (at < 2 || at > 1247) continue;  // the steps
            const std::size_t n = i / 1250 % 4;
            const double expected = invert == 0 ? played[n] : 30.0 - played[n];
            ASSERT_NEAR(run.Samples()[i].ppg[2].acMv, expected, kAcStepMv) << i;
            ASSERT_NEAR(run.Samples()[i].ppg[2].dcMv, std::min(dc[n], 3000.0), kDcStepMv) << i;
        }
    }
}

namespace {
// What the graph of channel 1 was told.
struct Graph {
    std::mutex mutex;
    std::vector<std::pair<double, double>> points;
};
Graph& Told()
{
    static Graph& graph = *new Graph;
    return graph;
}
std::vector<std::pair<double, double>> TakeTold()
{
    const std::lock_guard lock(Told().mutex);
    return std::exchange(Told().points, {});
}
}  // namespace

// Upright and unmodulated, at the time of its sample.
TEST(PpgGraph, IsToldThePulseOfEverySample)
{
    CPpgRun run(WithPlainModule(), 5.0);
    VRAXRegisterOutputPPGCallback(1, [](double time, double value) {
        const std::lock_guard lock(Told().mutex);
        Told().points.emplace_back(time, value);
    });
    const std::vector<long> steps = TimeSteps(5 * kPpgSecond, kPpgRate);
    ASSERT_EQ(VRAXSetRespirationAlgorithm(20, 1, 0, 0, 0, 0), 1);
    struct Case {
        int invert, divider, depth;
    };
    for (const Case& one : {Case{0, 1, 0}, Case{1, 1, 0}, Case{1, 40, 0}, Case{0, 40, 50}}) {
        SetPulse({1, kStandardPulse, 1.2, 1000.0, 20.0, one.invert});
        VRAXRegisterOutputSignalCallback(nullptr, one.divider);
        ASSERT_TRUE(VRAXSetPPGRespirationAlgorithm(0, one.depth, 0));
        run.Play();
        const auto told = TakeTold();
        const std::size_t each = one.divider == 40 ? 10 : 1;
        ASSERT_GE(told.size(), 5 * kPpgSecond / each);
        const auto first = static_cast<std::size_t>(std::lround(told[0].first * kPpgRate));
        ASSERT_LT(first, each);
        for (std::size_t n = 0; n < 5 * kPpgSecond / each; ++n) {
            const std::size_t sample = first + n * each;
            const double t = static_cast<double>(steps[sample]) / kPpgRate;
            ASSERT_NEAR(told[n].first, t, 1e-7);
            const double factor =
                1.0 + one.depth / 100.0 * std::sin(2.0 * std::acos(-1.0) * t / 3.0);
            const double played = run.Samples()[sample].ppg[1].acMv / factor;
            const double upright = one.invert == 1 ? 20.0 - played : played;
            ASSERT_NEAR(told[n].second, upright, 3.0 * kAcStepMv) << sample;
        }
    }
}

TEST(PpgOutput, CarriesTheChannelsThatAreOn)
{
    CPpgRun run(WithPlainModule(), 0.5);
    SetPulse({1, kSine});
    SetPulse({2, kSine});
    struct Case {
        bool first, second;
        const char* carried;
        unsigned mode, rate;
    };
    for (const Case& one : {Case{true, false, "1", 7, 10000}, Case{true, true, "12", 15, 10000},
                            Case{false, true, "2", 11, 10000}, Case{false, false, "", 3, 20000}}) {
        ASSERT_EQ(VRAXEnablePPGOutput(1, one.first), 0);
        ASSERT_EQ(VRAXEnablePPGOutput(2, one.second), 0);
        run.Play();
        EXPECT_EQ(run.Carried(), one.carried);
        EXPECT_EQ(run.Instrument().Packet(run.Instrument().PacketCount() - 2)[1], one.mode);
        EXPECT_EQ(run.Instrument().Relays().sampleRate, one.rate);
    }
}

TEST(PpgOutput, RefusesChangesWhileItPlaysAndTakesTransitTimeAndBreath)
{
    Options options = WithPlainModule();
    options.keepSamples = 4 * kPpgSecond;
    SimulatedInstrument instrument(options);
    CConnectedHost host(kPatientMs);
    ASSERT_EQ(VRAXSetQRSDuration(80.0), 0);
    ASSERT_EQ(VRAXSetRespirationAlgorithm(60, 1, 0, 0, 0, 0), 1);
    SetPulse({1, kTriangle, 1.0, 1000.0, 20.0});
    VRAXSetPTTp(200);
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_ECG), 0);
    ASSERT_TRUE(instrument.WaitForPackets(5));
    const double value = 1.0;
    EXPECT_EQ(VRAXSetPPGStandardWaveform(1, 3, 1, 0, 1.0, 1000, 10), -1);
    EXPECT_EQ(VRAXSetPPGStandardWaveformEx(1, 3, 1, 0, 2, 3, 1, 0, 1, 1000, 10, 1, 1000, 10), -1);
    EXPECT_EQ(VRAXSetPPGRawData(2, 1, 0, 1, &value, &value, 1.0), -1);
    EXPECT_EQ(VRAXEnablePPGOutput(1, false), -1);
    EXPECT_EQ(VRAXEnablePPGOutput(2, true), -1);
    VRAXSetPTTp(340);
    EXPECT_TRUE(VRAXSetPPGRespirationAlgorithm(0, 10, 0));
    ASSERT_TRUE(instrument.WaitForMorePackets(130));  // 350 samples each
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_OFF), 0);
    EXPECT_EQ(VRAXEnablePPGOutput(1, false), 0);
    EXPECT_EQ(VRAXSetPPGStandardWaveform(1, 3, 1, 0, 1.0, 1000, 10), 10000);

    Series ecg;
    Series ac;
    Series dc;
    const std::vector<Sample> samples = instrument.Samples();
    const auto first = static_cast<std::size_t>(std::lround(samples.at(0).time * kPpgRate));
    for (const Sample& sample : samples) {
        ecg.push_back(sample.acMv);
        dc.push_back(sample.ppg[1].dcMv);
        // The breath taken off again leaves the pulse.
        ac.push_back(sample.ppg[1].acMv / sample.ppg[1].dcMv * 980.0);
    }
    EXPECT_NEAR(Highest(dc), 980.0 * 1.1, kDcStepMv);
    EXPECT_NEAR(Lowest(dc), 980.0 * 0.9, kDcStepMv);
    ExpectTransit(RWaves(OnTheClock(ecg, first)), PulseTops(OnTheClock(ac, first), kTriangle, 1.0),
                  3400.0);
    ExpectNoRefusals(instrument);
}
