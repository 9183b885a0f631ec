// The relay command on the wire: its 17 bytes, when it is sent and when it is not.

#include <gtest/gtest.h>

#include "ppg/Channels.h"
#include "support/FittedModule.h"
#include "support/OfflineRun.h"
#include "support/OpenInstrument.h"
#include "synthesis/Respiration.h"

namespace {
using instrument::Bytes;
using instrument::Request;

// A port is open; what goes over it is what the test sets off.
class RelayCommand : public testing::Test {
protected:
    std::size_t Sent() const { return instrument_.Exchanges(Request::Relays).size(); }
    Bytes Command()
    {
        SetRelays(true);
        const auto sent = instrument_.Exchanges(Request::Relays);
        return sent.empty() ? Bytes() : sent.back().request;
    }

    COpenInstrument open_;
    instrument::SimulatedInstrument& instrument_ = open_.device;
};

TEST(RelayCommandOfAConnection, IsSentWhenThePortHasBeenOpenedAndSaysThatNothingPlays)
{
    instrument::SimulatedInstrument instrument(0);
    ASSERT_TRUE(VRAXConnect(0, 20000));
    const auto sent = instrument.Exchanges(Request::Relays);
    ASSERT_FALSE(sent.empty());
    // Mode, rate, and lead 0 alone.
    EXPECT_EQ(sent.front().request,
              (Bytes{0x00, 0xFF, 0x08, 0x4E, 0x20, 0x01, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
    VRAXFree();
}

TEST(RelayCommandOfARun, IsSentTwiceByForceBeforeTheFirstPacket)
{
    instrument::Options options;
    options.keepStreamExchanges = true;
    instrument::SimulatedInstrument instrument(options);
    ASSERT_TRUE(VRAXConnect(0, 20000));
    instrument.ClearExchanges();
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_ECG), 0);
    ASSERT_TRUE(instrument.WaitForPackets(1));
    std::size_t relays = 0;
    for (const instrument::Exchange& exchange : instrument.Exchanges()) {
        if (exchange.kind == Request::Stream) break;
        if (exchange.kind != Request::Relays) continue;
        ++relays;
        EXPECT_EQ(exchange.request[2], 3);
    }
    EXPECT_EQ(relays, 2u);
    VRAXSetOutputFunction(OUTPUT_OFF);
    EXPECT_EQ(instrument.Relays().operateMode, 8);
    VRAXFree();
}

TEST_F(RelayCommand, CarriesModeRateAndWord)
{
    g_OutputLead = 0x1FFu;
    g_DCSetting = 5;
    g_DCCommon = true;
    ASSERT_EQ(VRAXSetSampleRate(0x1234), 0);
    // Leads 0 to 6; the offset, leads 7 and 8; calibrated path and common mode.
    EXPECT_EQ(Command(),
              (Bytes{0x00, 0xFF, 0x08, 0x12, 0x34, 0x7F, 0x13, 0x05, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
}

TEST_F(RelayCommand, CarriesTheModeOfThePlayedSignal)
{
    OfflineRun run(OUTPUT_ECG);
    EXPECT_EQ(Command()[2], 3);
}

TEST_F(RelayCommand, CarriesThePPGBytesOfChannels1And2And0)
{
    const std::uint8_t sync[] = {0x0A, 0x1B, 0x2C};
    for (int channel = 0; channel < 3; ++channel) {
        g_bPPGOutputEnabled[channel] = true;
        g_PPG_led_sync[channel] = sync[channel];
        g_ACCalMode[channel] = static_cast<std::uint8_t>(channel + 5);
    }
    const Bytes command = Command();
    EXPECT_EQ(Bytes(command.begin() + 3, command.begin() + 5), (Bytes{0x27, 0x10}));
    EXPECT_EQ(Bytes(command.begin() + 8, command.end()),
              (Bytes{0x1B, 0x2C, 0x0A, 6, 7, 5, 0, 0, 0}));
}

TEST_F(RelayCommand, HasNoSyncByteForADisabledChannel)
{
    for (int channel = 0; channel < 3; ++channel) g_PPG_led_sync[channel] = std::uint8_t{9};
    g_bPPGOutputEnabled[2] = true;
    const Bytes command = Command();
    EXPECT_EQ(Bytes(command.begin() + 8, command.begin() + 11), (Bytes{0, 9, 0}));
}

TEST_F(RelayCommand, GivesChannel1TheSyncByteOfChannel0WithBit1000OfTheModel)
{
    FitPPGModule(0x3307, 1, 2, 3);
    g_PPG_led_sync[0] = std::uint8_t{0x0A};
    g_PPG_led_sync[1] = std::uint8_t{0x1B};
    g_bPPGOutputEnabled[0] = true;
    Bytes command = Command();
    EXPECT_EQ(Bytes(command.begin() + 8, command.begin() + 11), (Bytes{0x0A, 0, 0x0A}));
    g_bPPGOutputEnabled[0] = false;
    g_bPPGOutputEnabled[1] = true;
    command = Command();
    EXPECT_EQ(Bytes(command.begin() + 8, command.begin() + 11), (Bytes{0, 0, 0}));
    FitPPGModule(0x2307, 1, 2, 3);
    command = Command();
    EXPECT_EQ(Bytes(command.begin() + 8, command.begin() + 11), (Bytes{0x1B, 0, 0}));
}

TEST_F(RelayCommand, CarriesTheRateOfTheRespirationModule)
{
    FitRespirationModule();
    const Bytes command = Command();
    EXPECT_EQ(Bytes(command.begin() + 3, command.begin() + 5), (Bytes{0x13, 0x88}));
}

TEST_F(RelayCommand, EqualToTheLastOneIsNotSentAgain)
{
    SetRelays(false);
    const std::size_t before = Sent();
    SetRelays(false);
    SetRelays(false);
    EXPECT_EQ(Sent(), before);
    g_DCCommon = true;
    SetRelays(false);
    EXPECT_EQ(Sent(), before + 1);
    g_DCCommon = false;
    SetRelays(false);
    EXPECT_EQ(Sent(), before + 2);
}

TEST_F(RelayCommand, IsAlwaysSentByForce)
{
    SetRelays(true);
    const std::size_t before = Sent();
    SetRelays(true);
    SetRelays(true);
    EXPECT_EQ(Sent(), before + 2);
}

TEST_F(RelayCommand, IsRememberedWhateverTheReplySays)
{
    SetRelays(false);
    const std::size_t before = Sent();
    instrument_.Inject(FaultOn(Request::Relays, instrument::FaultKind::WrongBytes));
    g_DCCommon = true;
    SetRelays(false);
    SetRelays(false);
    EXPECT_EQ(Sent(), before + 1);
    instrument_.Inject(FaultOn(Request::Relays, instrument::FaultKind::Silence));
    g_DCCommon = false;
    SetRelays(false);
    SetRelays(false);
    EXPECT_EQ(Sent(), before + 2);
}

TEST_F(RelayCommand, OfASetterGoesOutBeforeItReturns)
{
    const std::size_t before = Sent();
    ASSERT_EQ(VRAXSetOutputLead(4, true), 0);
    ASSERT_EQ(Sent(), before + 1);
    EXPECT_EQ(instrument_.Relays().word & 0x7F0000u, 0x110000u);
    VRAXSetOutputLead(4, true);
    EXPECT_EQ(Sent(), before + 1);
}
}  // namespace
