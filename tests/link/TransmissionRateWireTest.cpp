// The transmission rates of a connected module while it plays and while photodiodes are sampled,
// and their restoring at the end of a run.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>

#include "support/SensorHost.h"

using namespace instrument;

namespace {

// Of settings 1, 2, 25 and 26.
using Rates = std::array<std::uint16_t, 4>;
constexpr std::array<std::uint8_t, 4> kSettings{1, 2, 25, 26};
constexpr Rates kDefaultRates{800, 800, 1023, 1023};

// Word i of a freshly made module is 700 + i; the tables begin at words 18, 24, 36 and 42.
Rates RatesOf(int mode)
{
    const int first = 700 + mode;
    return {static_cast<std::uint16_t>(first + 18), static_cast<std::uint16_t>(first + 24),
            static_cast<std::uint16_t>(first + 36), static_cast<std::uint16_t>(first + 42)};
}

Rates RatesInForce(const SimulatedInstrument& instrument)
{
    const auto settings = instrument.State().settings;
    return {settings[1], settings[2], settings[25], settings[26]};
}

// A setting and the value written to it, little-endian from byte 4 on.
std::pair<int, int> Written(const Exchange& write)
{
    return {write.request[2], write.request[4] | write.request[5] << 8};
}

std::vector<std::pair<int, int>> Writes(const std::vector<Exchange>& exchanges)
{
    std::vector<std::pair<int, int>> writes;
    for (const Exchange& exchange : exchanges) {
        if (exchange.kind == Request::SettingWrite) writes.push_back(Written(exchange));
    }
    return writes;
}

std::vector<std::pair<int, int>> WritesOf(const Rates& rates)
{
    std::vector<std::pair<int, int>> writes;
    for (std::size_t i = 0; i < rates.size(); ++i) writes.emplace_back(kSettings[i], rates[i]);
    return writes;
}

// What was sent after the last packet of the last run, the stop packet.
std::vector<Exchange> AfterTheRun(const SimulatedInstrument& instrument)
{
    const std::vector<Exchange> all = instrument.Exchanges();
    const auto stop = std::find_if(all.rbegin(), all.rend(), [](const Exchange& exchange) {
        return exchange.kind == Request::Stream;
    });
    return {stop.base(), all.end()};
}

std::ptrdiff_t FirstOf(const std::vector<Exchange>& exchanges, Request kind)
{
    const auto found =
        std::find_if(exchanges.begin(), exchanges.end(),
                     [=](const Exchange& exchange) { return exchange.kind == kind; });
    return found - exchanges.begin();
}

std::ptrdiff_t CountOf(const std::vector<Exchange>& exchanges, Request kind)
{
    return std::count_if(exchanges.begin(), exchanges.end(),
                         [=](const Exchange& exchange) { return exchange.kind == kind; });
}

void ExpectReported(int mode)
{
    for (const int channel : {1, 2, 3}) {
        unsigned a = 0;
        unsigned b = 0;
        EXPECT_TRUE(VRAXGetTransmissionRate(channel, &a, &b));
        const auto offset = static_cast<unsigned>(6 * (channel - 1) + mode);
        EXPECT_EQ(a, 700 + 36 + offset + 1);
        EXPECT_EQ(b, 700 + 18 + offset + 1);
    }
}

void PlayAndStop(const SimulatedInstrument& instrument)
{
    PlaySine(instrument);
    EXPECT_EQ(VRAXSetOutputFunction(OUTPUT_OFF), 0);
}

}  // namespace

TEST(TransmissionRateWire, IsRestoredAtTheEndOfARunBetweenTheRelaysAndTheOtherOffCommands)
{
    SimulatedInstrument instrument(WithModule());
    CConnectedHost host(kPatientMs);
    ASSERT_TRUE(VRAXConfigureTransmissionRate(2));
    EXPECT_EQ(RatesInForce(instrument), RatesOf(2));
    PlayAndStop(instrument);
    const std::vector<Exchange> sent = AfterTheRun(instrument);
    EXPECT_EQ(Writes(sent), WritesOf(kDefaultRates));
    ASSERT_EQ(CountOf(sent, Request::Relays), 1);
    const std::ptrdiff_t writes = FirstOf(sent, Request::SettingWrite);
    EXPECT_LT(FirstOf(sent, Request::Relays), writes);
    for (const Request last : {Request::ControlWrite, Request::DynamicLight}) {
        EXPECT_EQ(CountOf(sent, last), 1) << NameOf(last);
        EXPECT_GT(FirstOf(sent, last), writes + 3) << NameOf(last);
    }
    EXPECT_EQ(RatesInForce(instrument), kDefaultRates);
    ExpectNoRefusals(instrument);
}

TEST(TransmissionRateWire, ThatIsTheDefaultIsNotWrittenAtTheEndOfARun)
{
    SimulatedInstrument instrument(WithModule());
    CConnectedHost host(kPatientMs);
    PlayAndStop(instrument);
    const std::vector<Exchange> sent = AfterTheRun(instrument);
    EXPECT_EQ(CountOf(sent, Request::Relays), 1);
    EXPECT_EQ(CountOf(sent, Request::SettingWrite), 0);
}

class RateWhilePlaying : public testing::TestWithParam<Pace> {};

TEST_P(RateWhilePlaying, IsWrittenIntoGaps)
{
    SimulatedInstrument instrument(WithModule(GetParam()));
    CConnectedHost host(kPatientMs);
    PlaySine(instrument);
    for (const int mode : {1, 4, 0, 5}) {
        instrument.ClearExchanges();
        EXPECT_TRUE(VRAXConfigureTransmissionRate(mode));
        EXPECT_EQ(Writes(instrument.Exchanges()), WritesOf(RatesOf(mode)));
        ExpectReported(mode);
        ASSERT_TRUE(instrument.WaitForMorePackets(2));
        ExpectOnePacketInFlight(instrument);
    }
    EXPECT_EQ(VRAXSetOutputFunction(OUTPUT_OFF), 0);
    EXPECT_EQ(RatesInForce(instrument), kDefaultRates);
    EXPECT_EQ(instrument.Statistics().sequenceErrors, 0U);
    ExpectNoRefusals(instrument);
}

INSTANTIATE_TEST_SUITE_P(TransmissionRateWire, RateWhilePlaying,
                         testing::Values(Pace::Fast, Pace::RealTime), [](const auto& parameter) {
                             return parameter.param == Pace::Fast ? "Fast" : "RealTime";
                         });

TEST(TransmissionRateWire, IsWrittenBetweenTheFramesOfPhotodiodeSampling)
{
    Options options = WithModule();
    options.sampling.framesPerSecond = kSlowdown > 1 ? 50 : 200;
    SimulatedInstrument instrument(options);
    CConnectedHost host(kPatientMs);
    StartSampling();
    for (const int mode : {3, 1, 2}) {
        EXPECT_TRUE(VRAXConfigureTransmissionRate(mode));
        EXPECT_EQ(RatesInForce(instrument), RatesOf(mode));
        ExpectReported(mode);
    }
    ASSERT_TRUE(WaitForFrames(instrument.Sampling().frames));
    VRAXStopPPGSampling();
    ExpectNumberedSamples(Count() / kSamplesAFrame);
    ExpectNoRefusals(instrument);
}

// Whoever comes last, the instrument has the four values of one of them, and the library knows
// which: the next change is written.
TEST(TransmissionRateWire, IsWholeAndKnownWhenItIsSetWhileTheEndOfARunRestoresIt)
{
    SimulatedInstrument instrument(WithModule());
    CConnectedHost host(kPatientMs);
    for (int round = 0; round < 8; ++round) {
        ASSERT_TRUE(VRAXConfigureTransmissionRate(2));
        PlaySine(instrument);
        std::atomic<bool> hasEnded{false};
        CCall<int> end([&] {
            const int result = VRAXSetOutputFunction(OUTPUT_OFF);
            hasEnded = true;
            return result;
        });
        while (!hasEnded) EXPECT_TRUE(VRAXConfigureTransmissionRate(2));
        EXPECT_EQ(end.Result(), 0);
        const Rates rates = RatesInForce(instrument);
        EXPECT_TRUE(rates == RatesOf(2) || rates == kDefaultRates) << testing::PrintToString(rates);
        if (round % 2 == 0) {
            EXPECT_TRUE(VRAXConfigureTransmissionRate(2));
            EXPECT_EQ(RatesInForce(instrument), RatesOf(2));
        } else {
            PlayAndStop(instrument);
            EXPECT_EQ(RatesInForce(instrument), kDefaultRates);
        }
    }
    ExpectNoRefusals(instrument);
}
