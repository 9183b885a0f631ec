// Lead-off and the right-leg drive: the short relay command, the switch and the converter.

#include <stdexcept>

#include <gtest/gtest.h>

#include "HostPort.h"
#include "instrument/ControlLine.h"
#include "instrument/SimulatedInstrument.h"

using namespace instrument;
using namespace instrument_test;

namespace {

constexpr std::uint32_t kLeadOne = 1U << 16;
constexpr std::uint32_t kBit10 = 0x000400;
constexpr std::uint32_t kBit11 = 0x000800;
constexpr std::uint32_t kBit13 = 0x002000;
constexpr std::uint32_t kBit14 = 0x004000;

// 20,000 Hz.
Bytes ShortCommand(std::uint32_t word)
{
    return {0x00,
            0xFF,
            0x03,
            0x4E,
            0x20,
            static_cast<std::uint8_t>(word >> 16),
            static_cast<std::uint8_t>(word >> 8 & 0xFF),
            static_cast<std::uint8_t>(word & 0xFF)};
}

}  // namespace

TEST(LeadOff, TheModeIsThatOfTheRelayBits)
{
    struct Case {
        std::uint32_t bits;
        unsigned mode;
    };
    SimulatedInstrument instrument;
    const HostPort host;
    EXPECT_EQ(instrument.Relays().LeadOffMode(), 0U);
    unsigned commands = 0;
    // Bits 13 and 14 may be left over from a mode before, since mode 3 touches neither and mode 0
    // leaves 14.
    for (const Case& one :
         {Case{0, 0}, Case{kBit13 | kBit14, 1}, Case{kBit13, 2}, Case{kBit11, 3}, Case{kBit14, 0},
          Case{kBit11 | kBit13, 3}, Case{kBit11 | kBit13 | kBit14, 3}}) {
        EXPECT_EQ(host.Ask(ShortCommand(kLeadOne | one.bits)).size(), 64U);
        EXPECT_EQ(instrument.Relays().LeadOffMode(), one.mode) << std::hex << one.bits;
        EXPECT_EQ(instrument.Relays().word, kLeadOne | one.bits);
        EXPECT_EQ(instrument.Relays().shortCommands, ++commands);
        EXPECT_FALSE(instrument.Relays().MeasuresRld());
    }
    EXPECT_EQ(instrument.Exchanges(Request::LeadOff).size(), commands);
    EXPECT_EQ(instrument.Relays().commands, 0U);
    EXPECT_EQ(instrument.RefusalCount(), 0U);
}

TEST(LeadOff, EndsWithTheNextRelayCommand)
{
    SimulatedInstrument instrument;
    const HostPort host;
    host.Ask(ShortCommand(kLeadOne | kBit11 | kBit10));
    ASSERT_EQ(instrument.Relays().LeadOffMode(), 3U);
    host.Ask(RelayCommand(0x03, 20000, kLeadOne));
    EXPECT_EQ(instrument.Relays().LeadOffMode(), 0U);
    EXPECT_FALSE(instrument.Relays().MeasuresRld());
}

TEST(LeadOff, TheCommandHasEightBytesModeThreeAndARate)
{
    SimulatedInstrument instrument;
    const HostPort host;
    Bytes seven = ShortCommand(kBit13);
    seven.pop_back();
    Bytes nine = ShortCommand(kBit13);
    nine.push_back(0);
    Bytes otherMode = ShortCommand(kBit13);
    otherMode[2] = 0x23;
    Bytes otherStart = ShortCommand(kBit13);
    otherStart[0] = 0x02;
    Bytes noRate = ShortCommand(kBit13);
    noRate[3] = noRate[4] = 0;
    for (const Bytes& command :
         {seven, nine, otherMode, otherStart, noRate, ShortCommand(0x80), ShortCommand(0x8000)}) {
        instrument.ClearRefusals();
        ASSERT_TRUE(host.Write(command));
        EXPECT_TRUE(host.IsSilent());
        ASSERT_EQ(instrument.RefusalCount(), 1U);
        EXPECT_EQ(instrument.Refusals()[0].request, command);
    }
    EXPECT_EQ(instrument.Relays().word, 0U);
    EXPECT_EQ(instrument.Relays().shortCommands, 0U);
}

TEST(LeadOff, MayComeWhileASignalPlays)
{
    SimulatedInstrument instrument;
    const HostPort host;
    host.Ask(RelayCommand(0x03, 20000, kLeadOne));
    EXPECT_EQ(host.Ask(MakePacket({0x03, 0, 32767, 1600, 0})).size(), 64U);
    EXPECT_EQ(host.Ask(ShortCommand(kLeadOne | kBit13)).size(), 64U);
    EXPECT_EQ(host.Ask(MakePacket({0x03, 50, 32767, 1600, 0})).size(), 64U);
    const StreamStatistics stream = instrument.Statistics();
    EXPECT_EQ(stream.sequenceErrors, 0U);
    EXPECT_EQ(stream.modeErrors, 0U);
    EXPECT_EQ(instrument.Relays().LeadOffMode(), 2U);
}

TEST(Rld, TheSwitchAndTheRelayAreSeparate)
{
    SimulatedInstrument instrument;
    const HostPort host;
    EXPECT_EQ(host.Ask({0xAD, 0xFF, 0x00, 0x00, 0x10})[3], 0xFF);
    EXPECT_TRUE(instrument.State().rldMeasurement);
    EXPECT_FALSE(instrument.Relays().MeasuresRld());
    host.Ask(ShortCommand(kBit10));
    EXPECT_TRUE(instrument.Relays().MeasuresRld());
    EXPECT_EQ(instrument.Relays().LeadOffMode(), 0U);

    EXPECT_EQ(host.Ask({0xAD, 0xFF, 0x00, 0x00, 0x00})[3], 0xFF);
    EXPECT_FALSE(instrument.State().rldMeasurement);
    EXPECT_TRUE(instrument.Relays().MeasuresRld());
    host.Ask(ShortCommand(0));
    EXPECT_FALSE(instrument.Relays().MeasuresRld());
    EXPECT_EQ(instrument.Exchanges(Request::RldStart).size(), 1U);
    EXPECT_EQ(instrument.Exchanges(Request::SamplingStop).size(), 1U);
}

TEST(Rld, TheCountsAreReadWhetherTheMeasurementIsOnOrOff)
{
    SimulatedInstrument instrument;
    Measurements measurements;
    measurements.rldCounts = {1023, 258};
    instrument.SetMeasurements(measurements);
    const HostPort host;
    for (const std::uint8_t state : {std::uint8_t{0x00}, std::uint8_t{0x10}}) {
        host.Ask({0xAD, 0xFF, 0x00, 0x00, state});
        const Bytes reply = host.Ask({0xAD, 0x00, 0x01, 0x00, 0x10});
        ASSERT_EQ(reply.size(), 64U);
        EXPECT_EQ(reply[3], 0xFF);
        EXPECT_EQ(Bytes(reply.begin() + 6, reply.begin() + 10), (Bytes{0x03, 0xFF, 0x01, 0x02}));
    }
    EXPECT_EQ(instrument.Exchanges(Request::RldRead).size(), 2U);
}

TEST(Rld, ACountHasTenBits)
{
    SimulatedInstrument instrument;
    Measurements measurements;
    measurements.rldCounts = {0, 1024};
    EXPECT_THROW(instrument.SetMeasurements(measurements), std::out_of_range);
    EXPECT_EQ(instrument.GetMeasurements().rldCounts[1], 256);
    Options options;
    options.port = 1;
    options.measurements.rldCounts = {1024, 0};
    EXPECT_THROW(SimulatedInstrument other(options), std::out_of_range);
}

TEST(Rld, OtherReadsAreRefused)
{
    SimulatedInstrument instrument;
    const HostPort host;
    ASSERT_TRUE(host.Write({0xAD, 0x00, 0x01, 0x00, 0x00}));
    EXPECT_TRUE(host.IsSilent());
    EXPECT_EQ(instrument.RefusalCount(), 1U);
}

TEST(StatusLine, TellsLeadOffRldAndPacing)
{
    SimulatedInstrument instrument;
    const HostPort host;
    host.Ask(ShortCommand(kLeadOne | kBit10 | kBit13 | kBit14));
    const std::string status = StatusLine(instrument);
    EXPECT_NE(status.find("lead-off mode 1, right-leg-drive measurement on"), std::string::npos)
        << status;
    EXPECT_NE(status.find("pacing 0.00 mV 0.000 ms"), std::string::npos) << status;
}
