// The commands of a connection, byte for byte and in order, from the first to the last.

#include <gtest/gtest.h>

#include "support/Frames.h"
#include "support/LinkHost.h"

using namespace instrument;

namespace {

constexpr std::uint8_t kMainBoard = 1;
constexpr std::uint8_t kEcgBoard = 3;
constexpr std::uint8_t kDcVariable = 18;
constexpr std::uint8_t kModule = 19;
constexpr std::uint32_t kTableProbe = 104400;
constexpr unsigned kTableWords = 4001;

const Bytes kDynamicLightOff = {0xB0, 0xFF, 0x03, 0x00, 0x00};
// Nothing is selected, 20000 samples per second, lead 0 on.
const Bytes kRestingRelays = Padded({0x00, 0xFF, 0x08, 0x4E, 0x20, 0x01}, 17);

void Append(std::vector<Bytes>& all, const std::vector<Bytes>& more)
{
    all.insert(all.end(), more.begin(), more.end());
}

// Chunks of 32 bytes, the last one with the rest.
std::vector<Bytes> FlashReads(std::uint8_t channel, std::uint32_t address, unsigned bytes)
{
    std::vector<Bytes> frames;
    for (unsigned done = 0; done < bytes; done += 32) {
        const unsigned count = std::min(32U, bytes - done);
        frames.push_back(ReadRequest(channel, address + done, static_cast<std::uint8_t>(count)));
    }
    return frames;
}

std::vector<Bytes> Probe()
{
    return {{0xAD, 0xFF, 0x00, 0x00, 0x00}, {0x55, 0x00, 0x00}, ReadRequest(kMainBoard, 0, 12)};
}

// Relays first, then the table: neither place of it is programmed, and the second has no check of
// its own.
std::vector<Bytes> RelaysAndTable(const Bytes& relays = kRestingRelays)
{
    std::vector<Bytes> all = {relays};
    Append(all, FlashReads(kEcgBoard, kTableProbe, 32));
    Append(all, FlashReads(kDcVariable, 0, kTableWords * 2));
    return all;
}

// Compares one by one, so that a difference is shown as one command.
void ExpectSame(const std::vector<Bytes>& came, const std::vector<Bytes>& expected)
{
    for (std::size_t i = 0; i < std::min(came.size(), expected.size()); ++i) {
        ASSERT_EQ(came[i], expected[i]) << "command " << i;
    }
    EXPECT_EQ(came.size(), expected.size());
}

void ExpectConnectionSends(const Options& options, const std::vector<Bytes>& expected)
{
    SimulatedInstrument instrument(options);
    CConnectedHost host(kPatientMs);
    ExpectSame(Requests(instrument.Exchanges()), expected);
    ExpectNoRefusals(instrument);
}

}  // namespace

TEST(ConnectionSequence, WithoutAModule)
{
    std::vector<Bytes> expected = Probe();
    Append(expected, {{0xAA, 0x02}, {0xAA, 0x03}, ReadRequest(kModule, 0, 12)});
    Append(expected, RelaysAndTable());
    Append(expected, {kDynamicLightOff});
    ExpectConnectionSends({}, expected);
}

TEST(ConnectionSequence, OfFirmware1_2AsksForNoVersionsAndNoModule)
{
    Options options;
    options.firmware = {1, 2, 0, 0};
    options.ppgModel = 0x3407;
    std::vector<Bytes> expected = Probe();
    Append(expected, RelaysAndTable());
    Append(expected, {kDynamicLightOff});
    ExpectConnectionSends(options, expected);
}

TEST(ConnectionSequence, OfFirmware1_3AsksForVersions)
{
    Options options;
    options.firmware = {1, 3, 0, 0};
    std::vector<Bytes> expected = Probe();
    Append(expected, {{0xAA, 0x02}, {0xAA, 0x03}, ReadRequest(kModule, 0, 12)});
    Append(expected, RelaysAndTable());
    Append(expected, {kDynamicLightOff});
    ExpectConnectionSends(options, expected);
}

TEST(ConnectionSequence, OfTheModuleWithTwoPhotodiodes)
{
    Options options;
    options.ppgModel = 0x3407;
    std::vector<Bytes> expected = Probe();
    Append(expected, {{0xAA, 0x02}, {0xAA, 0x03}, ReadRequest(kModule, 0, 12)});
    Append(expected, {{0xB9, 0x00, 0x01}, {0x55, 0x00, 0x81}, kDynamicLightOff});
    Append(expected, RelaysAndTable());
    Append(expected, FlashReads(kModule, 5632, 8192));  // DC levels, rows 0 and 1
    Append(expected, FlashReads(kModule, 13824, 8192));
    Append(expected, FlashReads(kModule, 1024, 2048));  // photodiode tables
    Append(expected, FlashReads(kModule, 3072, 2048));
    Append(expected, FlashReads(kModule, 5248, 96));  // photodiode ratios
    // 800, 1023, 800, 1023 little-endian; the second and the third are crossed.
    Append(expected,
           {Padded({0xCC, 0xFF, 1, 0x00, 0x20, 0x03}), Padded({0xCC, 0xFF, 2, 0x00, 0x20, 0x03}),
            Padded({0xCC, 0xFF, 25, 0x00, 0xFF, 0x03}),
            Padded({0xCC, 0xFF, 26, 0x00, 0xFF, 0x03})});
    Append(expected, FlashReads(kModule, 5248, 256));  // MCU settings
    Append(expected, {kDynamicLightOff});
    ExpectConnectionSends(options, expected);
}

TEST(ConnectionSequence, OfAnotherPpgModuleReadsOnePhotodiodeTable)
{
    Options options;
    options.ppgModel = 0x3307;
    std::vector<Bytes> expected = Probe();
    Append(expected, {{0xAA, 0x02}, {0xAA, 0x03}, ReadRequest(kModule, 0, 12)});
    Append(expected, {{0xB8, 0x00, 0x01}, {0x55, 0x00, 0x81}, kDynamicLightOff});
    Append(expected, RelaysAndTable());
    Append(expected, FlashReads(kModule, 1024, 2048));
    Append(expected, FlashReads(kModule, 5248, 96));
    Append(expected, {kDynamicLightOff});
    ExpectConnectionSends(options, expected);
}

TEST(ConnectionSequence, OfTheRespirationModuleReadsItsThreeRecords)
{
    Options options;
    options.respirationModule = true;
    Bytes relays = kRestingRelays;
    relays[3] = 0x13;  // 5000 samples per second
    relays[4] = 0x88;
    std::vector<Bytes> expected = Probe();
    Append(expected, {{0xAA, 0x02}, {0xAA, 0x03}, ReadRequest(kModule, 0, 12)});
    Append(expected, {{0xB8, 0x00, 0x01}, {0x55, 0x00, 0x81}, kDynamicLightOff});
    Append(expected, RelaysAndTable(relays));
    Append(expected, FlashReads(kModule, 5248, 64));   // coefficients
    Append(expected, FlashReads(kModule, 5376, 768));  // third element
    Append(expected, FlashReads(kModule, 5312, 24));   // baselines
    Append(expected, {kDynamicLightOff});
    ExpectConnectionSends(options, expected);
}

TEST(ConnectionSequence, TakesTheTableFromTheFileOnceItWasRead)
{
    SimulatedInstrument instrument(0);
    DcWords words;
    for (std::size_t i = 0; i < words.size(); ++i) {
        words[i] = static_cast<std::uint16_t>(16 * i + 500);
    }
    instrument.ProgramDcTable(words);
    CHost host(kPatientMs);
    ASSERT_TRUE(VRAXConnect(0, kConnectMs));
    VRAXFree();
    instrument.ClearExchanges();
    ASSERT_TRUE(VRAXConnect(0, kConnectMs));
    std::vector<Bytes> expected = Probe();
    Append(expected, {{0xAA, 0x02}, {0xAA, 0x03}, ReadRequest(kModule, 0, 12)});
    Append(expected, {kRestingRelays, kDynamicLightOff});
    ExpectSame(Requests(instrument.Exchanges()), expected);
}

TEST(ConnectionSequence, KeepsTheTransmissionRatesThatTheModuleHasAcknowledged)
{
    Options options;
    options.ppgModel = 0x3407;
    SimulatedInstrument instrument(options);
    CHost host(kPatientMs);
    ASSERT_TRUE(VRAXConnect(0, kConnectMs));
    EXPECT_EQ(instrument.Exchanges(Request::SettingWrite).size(), 4U);
    VRAXFree();
    instrument.ClearExchanges();
    ASSERT_TRUE(VRAXConnect(0, kConnectMs));
    EXPECT_TRUE(instrument.Exchanges(Request::SettingWrite).empty());
    // The switch was off already, so the identification does not send it.
    EXPECT_EQ(instrument.Exchanges(Request::DynamicLight).size(), 1U);
}

TEST(ConnectionSequence, OfTheSecondConnectionSendsTheRelaysAgain)
{
    SimulatedInstrument instrument(0);
    CConnectedHost host(kPatientMs);
    ASSERT_EQ(instrument.Relays().commands, 1U);
    instrument.Unplug();
    ASSERT_TRUE(Listener::WaitFor(false));
    instrument.Plug();
    ASSERT_TRUE(Listener::WaitFor(true, 2));
    EXPECT_EQ(instrument.Relays().commands, 2U);
    EXPECT_EQ(instrument.Relays().lastCommand, kRestingRelays);
}

TEST(ConnectionSequence, PresencesOfAModuleAreTold)
{
    Options options;
    options.ppgModel = 0x3407;
    SimulatedInstrument instrument(options);
    CConnectedHost host(kPatientMs);
    EXPECT_TRUE(VRAXIsPPGConnected());
    MODEL_INFORMATION info;
    ASSERT_TRUE(VRAXGetPPGDeviceInformation(&info));
    EXPECT_EQ(info.ledTypes[0], 1);
    EXPECT_EQ(info.ledTypes[1], 2);
    EXPECT_EQ(info.ledTypes[2], 0);
    VRAXFree();
    EXPECT_FALSE(VRAXIsPPGConnected());
}
