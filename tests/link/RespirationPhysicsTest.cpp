// Breathing, from the wire back to ohms and seconds: what the external module makes of the codes of
// each sample, and what the instrument's own generator is told and when.

#include <gtest/gtest.h>

#include <cmath>

#include "support/FirstSamples.h"
#include "support/LinkHost.h"
#include "support/PlayClockModel.h"
#include "support/PulseMeasurement.h"
#include "support/RespirationModule.h"

using namespace instrument;

namespace {
constexpr double kModuleRate = 5000.0;
constexpr std::size_t kModuleSecond = 5000;
constexpr Milliseconds kLongRun{180000};
constexpr double kToleranceOhm = 0.1;
constexpr int kBaselines[] = {0, 100, 200, 500, 1000, 1500, 2000, 2500, 3000, 3500, 4000, 4500};

// The instrument computes the resistance: three branches in parallel, by its own flash.
class CModuleRun {
public:
    explicit CModuleRun(double seconds)
        : first_(static_cast<std::size_t>(seconds * kModuleRate)),
          instrument_(first_.Collecting(WithRespirationModule()))
    {
        EXPECT_EQ(VRAXEnableRespiration(1), 1);
    }

    SimulatedInstrument& Instrument() { return instrument_; }
    const std::vector<Sample>& Samples() const { return samples_; }
    Series Ohms() const
    {
        Series ohms;
        for (const Sample& sample : samples_) ohms.push_back(sample.respirationOhm);
        return ohms;
    }

    void Play()
    {
        samples_ = {};
        ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_ECG), 0);
        ASSERT_TRUE(first_.WaitForAll(kLongRun));
        ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_OFF), 0);
        ASSERT_TRUE(instrument_.WaitForStop(++runs_));
        samples_ = first_.Take();
        EXPECT_EQ(instrument_.Statistics().sequenceErrors, 0U);
        EXPECT_EQ(instrument_.Statistics().codeErrors, 0U);
        ExpectNoRefusals(instrument_);
    }

private:
    CFirstSamples first_;
    std::size_t runs_ = 0;
    SimulatedInstrument instrument_;
    CConnectedHost host_{kPatientMs};
    std::vector<Sample> samples_;
};
}  // namespace

TEST(ModuleResistance, FollowsTheBreathWithATenthOfAnOhm)
{
    CModuleRun run(9.0);
    const struct {
        int variation, rate, ratio;
    } kBreaths[] = {{50, 15, 1},    {1000, 15, 2}, {3000, 40, 3},
                    {6000, 200, 4}, {10000, 7, 5}, {10000, 20, 1}};
    for (const auto& breath : kBreaths) {
        ASSERT_EQ(VRAXSetRespiration(breath.variation, breath.rate, breath.ratio, 500, 0), 1);
        run.Play();
        const Series ohms = run.Ohms();
        double worst = 0.0;
        for (std::size_t n = 0; n < ohms.size(); ++n) {
            const double asked = BreathOhms(breath.variation, 60.0 / breath.rate, breath.ratio,
                                            static_cast<double>(n) / kModuleRate);
            ASSERT_NEAR(ohms[n], asked, kToleranceOhm) << breath.variation << ' ' << n;
            worst = std::max(worst, std::fabs(ohms[n] - asked));
        }
        // No more than a step of the programmable resistances leaves.
        EXPECT_LT(worst, 0.002) << breath.variation;
    }
}

// 10 ohms up in a part of the period, down in the rest; a code is too small a step to be seen.
TEST(ModuleResistance, HasTheRateAndTheRatioThatWereSet)
{
    CModuleRun run(31.0);
    for (const int ratio : {1, 2, 5}) {
        ASSERT_EQ(VRAXSetRespiration(10000, 12, ratio, 500, 0), 1);  // 5 s each
        run.Play();
        const Series ohms = run.Ohms();
        EXPECT_NEAR(Lowest(ohms), 50.0, kToleranceOhm);
        EXPECT_NEAR(Highest(ohms), 60.0, kToleranceOhm);
        const Series in = RisingThrough(ohms, 55.0);
        const Series out = FallingThrough(ohms, 55.0);
        ASSERT_GE(in.size(), 6U) << ratio;
        EXPECT_NEAR(RateOf(in) * kModuleRate * 60.0, 12.0, 0.02);
        // From half way up to half way down: half of each part.
        const double inhale = 5.0 / (1 + ratio);
        EXPECT_NEAR(in.at(0) / kModuleRate, inhale / 2.0, 0.03);
        EXPECT_NEAR(out.at(0) / kModuleRate, inhale + (5.0 - inhale) / 2.0, 0.03);
    }
}

TEST(ModuleResistance, StandsStillInTheLastSecondsOfAMinute)
{
    CModuleRun run(63.0);
    ASSERT_EQ(VRAXSetRespiration(8000, 13, 2, 500, 11), 1);
    run.Play();
    const double period = 60.0 / 13.0;
    const Series ohms = run.Ohms();
    const auto& held = run.Samples()[49 * kModuleSecond - 1].codes.extra;
    for (std::size_t n = 0; n < ohms.size(); ++n) {
        const double t = static_cast<double>(n) / kModuleRate;
        const bool isHeld = n > 49 * kModuleSecond && n < 60 * kModuleSecond - 1;
        if (isHeld) {
            ASSERT_NEAR(ohms[n], BreathOhms(8000, period, 2, 49.0), kToleranceOhm) << n;
            ASSERT_EQ(run.Samples()[n].codes.extra, run.Samples()[n - 1].codes.extra) << n;
        } else if (n < 49 * kModuleSecond || n > 60 * kModuleSecond) {
            ASSERT_NEAR(ohms[n], BreathOhms(8000, period, 2, t), kToleranceOhm) << n;
        }
    }
    // A sample earlier or later by the rounding of the clock.
    EXPECT_NEAR(ohms[49 * kModuleSecond + 5], ohms[49 * kModuleSecond - 1], 0.02);
    EXPECT_NE(run.Samples()[60 * kModuleSecond + 1].codes.extra, held);
}

TEST(ModuleResistance, StandsStillForTheWholeMinuteWhenApneaIsThatLong)
{
    CModuleRun run(3.0);
    ASSERT_EQ(VRAXSetRespiration(8000, 30, 1, 500, 60), 1);
    run.Play();
    for (const Sample& sample : run.Samples()) {
        ASSERT_EQ(sample.codes.extra, run.Samples()[0].codes.extra);
    }
}

TEST(ModuleResistance, IsAConstantInCalibration)
{
    CModuleRun run(0.5);
    for (const int variation : {0, 500, 2750, 5000, 10000}) {
        ASSERT_EQ(VRAXSetCalibrationRespiration(variation, 1500), 1);
        run.Play();
        for (const Sample& sample : run.Samples()) {
            ASSERT_NEAR(sample.respirationOhm, 50.0 + variation / 1000.0, kToleranceOhm);
            ASSERT_EQ(sample.baselineOhm, 1500.0);
        }
    }
    ASSERT_EQ(VRAXSetRespiration(4000, 60, 1, 1500, 0), 1);  // breathing again
    run.Play();
    EXPECT_NEAR(Highest(run.Ohms()), 54.0, kToleranceOhm);
    EXPECT_NEAR(run.Ohms()[0], 50.0, kToleranceOhm);
}

TEST(ModuleResistance, IsThatOfARecordWithinTenOhms)
{
    CModuleRun run(2.5);
    const double record[] = {0.0, 2.5, -3.0, 10.0, 14.0};
    ASSERT_EQ(VRAXSetRespiration(1000, 15, 2, 500, 0), 1);
    ASSERT_EQ(VRAXSetRespirationRawData(record, 5, 5), 1);
    run.Play();
    const Series ohms = run.Ohms();
    for (std::size_t n = 0; n < ohms.size(); ++n) {
        const std::size_t at = n % 1000;
        if (at < 2 || at > 997) continue;  // the steps
        const double asked = 50.0 + std::clamp(record[n / 1000 % 5], 0.0, 10.0);
        ASSERT_NEAR(ohms[n], asked, kToleranceOhm) << n;
    }
}

TEST(ModuleBaseline, StandsInEverySample)
{
    CModuleRun run(0.4);
    for (const int baseline : kBaselines) {
        ASSERT_EQ(VRAXSetRespiration(1000, 15, 2, baseline, 0), 1);
        run.Play();
        for (const Sample& sample : run.Samples()) ASSERT_EQ(sample.baselineOhm, baseline);
    }
}

TEST(ModuleBaseline, ChangesInTheStreamThatRuns)
{
    Options options = WithRespirationModule();
    options.keepSamples = 200;  // those of a packet
    SimulatedInstrument instrument(options);
    CConnectedHost host(kPatientMs);
    ASSERT_EQ(VRAXEnableRespiration(1), 1);
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_ECG), 0);
    for (const int baseline : kBaselines) {
        ASSERT_EQ(VRAXSetRespiration(1000, 15, 2, baseline, 0), 1);
        ASSERT_TRUE(instrument.WaitForMorePackets(3));
        const std::vector<Sample> samples = instrument.Samples();
        ASSERT_EQ(samples.size(), 200U);
        for (const Sample& sample : samples) ASSERT_EQ(sample.baselineOhm, baseline);
    }
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_OFF), 0);
    ExpectNoRefusals(instrument);
}

TEST(ImpedanceRespiration, IsToldTheInstrumentInOneBlock)
{
    SimulatedInstrument instrument;
    CConnectedHost host(kPatientMs);
    const struct {
        int variation, rate, ratio, baseline, apnea;
        std::uint8_t bytes[4];
    } kSettings[] = {
        {1234, 15, 2, 1000, 10, {15, 12, 1, 1}},     {50, 1, 1, 500, 0, {1, 0, 0, 0}},
        {10000, 200, 5, 2500, 60, {200, 100, 4, 4}}, {199, 17, 3, 750, 0, {17, 1, 2, 0}},
        {3000, 60, 4, 1500, 5, {60, 30, 3, 2}},      {3000, 60, 4, 2000, 5, {60, 30, 3, 3}},
    };
    for (const bool isPlaying : {false, true}) {
        if (isPlaying) {
            ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_ECG), 0);
        }
        for (const auto& one : kSettings) {
            instrument.ClearExchanges();
            ASSERT_EQ(VRAXSetRespiration(one.variation, one.rate, one.ratio, one.baseline,
                                         one.apnea),
                      1);
            Bytes block{0xEA, 0xFF, 0x01, 0, 0, 0, 0, 0};
            block.insert(block.end(), std::begin(one.bytes), std::end(one.bytes));
            block.resize(19, 0);
            const auto exchanges = instrument.Exchanges(Request::Respiration);
            ASSERT_EQ(exchanges.size(), 1U);
            EXPECT_EQ(exchanges[0].request, block);
        }
        instrument.ClearExchanges();
        ASSERT_EQ(VRAXSetCalibrationRespiration(700, 2500), 1);  // rate and ratio stay
        EXPECT_EQ(instrument.Exchanges(Request::Respiration).at(0).request,
                  (Bytes{0xEA, 0xFF, 0x01, 0, 0, 0, 0, 0, 60, 7, 3, 4, 0, 0, 0, 0, 0, 0, 0}));
    }
    const RespirationSettings settings = instrument.State().Respiration();
    EXPECT_EQ(settings.breathsPerMinute, 60U);
    EXPECT_EQ(settings.variation, 700U);
    EXPECT_EQ(settings.ratio, 4U);
    EXPECT_EQ(settings.baselineOhm, 2500U);
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_OFF), 0);
    ExpectNoRefusals(instrument);
}

namespace {
constexpr int kPulseRate = 10000;  // samples/s beside a pulse
constexpr std::size_t kPulsePacket = 350;

// The packets that have gone out before the one that reaches a second of the play clock: what the
// second sets off is sent between the two.
std::size_t PacketsBefore(int second)
{
    const std::vector<long> steps =
        TimeSteps(static_cast<std::size_t>(second + 1) * kPulseRate, kPulseRate);
    std::size_t packets = 1;
    while (steps[packets * kPulsePacket] < static_cast<long>(second) * kPulseRate) ++packets;
    return packets - 1;
}
}  // namespace

// With a pulse a packet is half as many samples at half the rate.
TEST(ImpedanceRespiration, StopsBreathingInTheLastSecondsOfAMinuteBesideAPulse)
{
    Options options;
    options.ppgModel = 0x1234;
    options.keepStreamExchanges = true;
    SimulatedInstrument instrument(options);
    CConnectedHost host(kPatientMs);
    ASSERT_GT(VRAXSetPPGStandardWaveform(1, 3, 1, 0, 1.0, 1000, 10), 0);
    ASSERT_EQ(VRAXEnablePPGOutput(1, true), 0);
    ASSERT_EQ(VRAXSetRespiration(1200, 15, 2, 1000, 3), 1);
    ASSERT_EQ(VRAXEnableRespiration(1), 1);
    instrument.ClearExchanges();
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_ECG), 0);
    ASSERT_TRUE(instrument.WaitForPackets(PacketsBefore(117) + 5, kLongRun));
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_OFF), 0);  // in apnea
    std::size_t packets = 0;
    int flag = 0;
    std::vector<std::size_t> toggled;
    for (const Exchange& exchange : instrument.Exchanges()) {
        packets += exchange.kind == Request::Stream;
        if (exchange.kind != Request::ControlWrite || exchange.request[12] == flag) continue;
        flag = exchange.request[12];
        toggled.push_back(packets);
        const Bytes& block = exchange.request;
        EXPECT_EQ(Bytes(block.begin() + 8, block.begin() + 12), (Bytes{15, 12, 1, 1}));
        EXPECT_EQ(block.size(), 64U);
    }
    EXPECT_EQ(toggled, (std::vector<std::size_t>{PacketsBefore(57), PacketsBefore(60),
                                                 PacketsBefore(117), instrument.PacketCount()}));
    EXPECT_EQ(instrument.ControlBlock()[12], 0);
    EXPECT_EQ(instrument.Statistics().sequenceErrors, 0U);
    ExpectNoRefusals(instrument);
}
