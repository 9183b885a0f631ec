// What goes over the wire when a run starts, while it plays, when it stops.

#include <gtest/gtest.h>

#include "support/Frames.h"
#include "support/LinkHost.h"

using namespace instrument;

namespace {

const Bytes kControlRead = {0xEA, 0x00, 0x01};
const Bytes kDynamicLightOff = {0xB0, 0xFF, 0x03, 0x00, 0x00};

// Byte 2 is the operate mode, bytes 5 to 7 the relay word; lead 0 is on.
Bytes Relays(std::uint8_t mode, std::uint8_t low = 0x00, std::uint8_t middle = 0x00)
{
    return Padded({0x00, 0xFF, mode, 0x4E, 0x20, 0x01, middle, low}, 17);
}

// The instrument's own bytes 48 to 63 come back as they were.
Bytes ControlWrite(std::uint16_t amplitude, std::uint16_t duration)
{
    Bytes block = Padded({0xEA, 0xFF, 0x01});
    block[24] = static_cast<std::uint8_t>(amplitude >> 8);
    block[25] = static_cast<std::uint8_t>(amplitude);
    block[26] = static_cast<std::uint8_t>(duration >> 8);
    block[27] = static_cast<std::uint8_t>(duration);
    return block;
}

// The fields of the control block that the host decides.
Bytes Decided(Bytes block)
{
    if (block.size() != 64) return block;
    for (std::size_t i = 0; i < 64; ++i) {
        if (i > 2 && (i < 24 || i > 37)) block[i] = 0;
    }
    return block;
}

Options KeepingEverything()
{
    Options options = RealTime();
    options.keepStreamExchanges = true;
    return options;
}

std::vector<Bytes> CommandsOf(const SimulatedInstrument& instrument, std::size_t from,
                              std::size_t count)
{
    std::vector<Bytes> requests = Requests(instrument.Exchanges());
    std::vector<Bytes> part;
    for (std::size_t i = from; i < std::min(requests.size(), from + count); ++i) {
        part.push_back(requests[i][0] == 0xEA ? Decided(requests[i]) : requests[i]);
    }
    return part;
}

// The index of the first packet among the exchanges.
std::size_t FirstPacket(const SimulatedInstrument& instrument)
{
    const std::vector<Exchange> all = instrument.Exchanges();
    std::size_t i = 0;
    while (i < all.size() && all[i].kind != Request::Stream) ++i;
    return i;
}

std::size_t LastPacket(const SimulatedInstrument& instrument)
{
    const std::vector<Exchange> all = instrument.Exchanges();
    std::size_t i = all.size();
    while (i > 0 && all[i - 1].kind != Request::Stream) --i;
    return i == 0 ? all.size() : i - 1;
}

class Wire : public testing::Test {
protected:
    Wire() { instrument_.ClearExchanges(); }

    SimulatedInstrument instrument_{KeepingEverything()};
    CConnectedHost host_{kPatientMs};
};

}  // namespace

TEST_F(Wire, StartSendsPacingThenTheRelaysTwiceThenTheFirstPacket)
{
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_ECG), 0);
    ASSERT_TRUE(instrument_.WaitForPackets(2));
    ASSERT_EQ(FirstPacket(instrument_), 4U);
    EXPECT_EQ(CommandsOf(instrument_, 0, 4),
              std::vector<Bytes>({kControlRead, ControlWrite(0, 0), Relays(3), Relays(3)}));
    const std::vector<Frame> frames = DecodePacket(instrument_.Packet(0));
    ASSERT_EQ(frames.size(), 50U);
    EXPECT_EQ(frames[0].sequence, 0);
    EXPECT_EQ(frames[49].sequence, 49);
    EXPECT_EQ(DecodePacket(instrument_.Packet(1))[0].sequence, 50);
}

TEST_F(Wire, ControlBlockKeepsWhatThePacingDoesNotOwn)
{
    instrument_.SetControlByte(40, 0x5A);
    ASSERT_EQ(VRAXSetPacingAmplitude(100.0), 0);
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_ECG), 0);
    ASSERT_TRUE(instrument_.WaitForPackets(1));
    const std::array<std::uint8_t, 64> block = instrument_.ControlBlock();
    // 100 mV: trunc(32.7675 * 1100) - trunc(32.7675 * 1000); 2 ms in units of 25 us.
    EXPECT_EQ(block[24] << 8 | block[25], 36044 - 32767);
    EXPECT_EQ(block[26] << 8 | block[27], 80);
    EXPECT_EQ(block[40], 0x5A);
    EXPECT_EQ(block[63], 0xC0 + 63);
}

TEST_F(Wire, OffSendsTheStopPacketThenRelaysThenPacingThenTheLight)
{
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_ECG), 0);
    ASSERT_TRUE(instrument_.WaitForPackets(3));
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_OFF), 0);
    const std::size_t stop = LastPacket(instrument_);  // all has been sent when the call returns
    EXPECT_EQ(CommandsOf(instrument_, stop + 1, 100),
              std::vector<Bytes>({Relays(8), kControlRead, ControlWrite(0, 0), kDynamicLightOff}));

    const Bytes packet = instrument_.LastPacket();
    EXPECT_EQ(CheckPacket(packet), "");
    EXPECT_TRUE(IsStopPacket(packet));
    // The mode of the run, since the relays follow later; the numbers go on from the last packet.
    const std::vector<Frame> frames = DecodePacket(packet);
    const std::size_t packets = instrument_.PacketCount();
    EXPECT_EQ(frames[0].sequence, (packets - 1) * 50);
    EXPECT_EQ(instrument_.Statistics().stopPackets, 1U);
    EXPECT_EQ(instrument_.Statistics().sequenceErrors, 0U);
    ExpectNoRefusals(instrument_);
}

TEST_F(Wire, OffWhileNothingPlaysSendsPacingAndLight)
{
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_OFF), 0);
    EXPECT_EQ(CommandsOf(instrument_, 0, 100),
              std::vector<Bytes>({kControlRead, ControlWrite(0, 0), kDynamicLightOff}));
    EXPECT_EQ(instrument_.PacketCount(), 0U);
}

TEST_F(Wire, EachRunNumbersItsFramesFromZero)
{
    for (int run = 1; run <= 3; ++run) {
        ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_SINE), 0);
        ASSERT_TRUE(instrument_.WaitForMorePackets(2));
        ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_OFF), 0);
        EXPECT_EQ(VRAXIsPlaying(), 0);
    }
    const StreamStatistics statistics = instrument_.Statistics();
    EXPECT_EQ(statistics.runs, 3U);
    EXPECT_EQ(statistics.stopPackets, 3U);
    EXPECT_EQ(statistics.sequenceErrors, 0U);
}

TEST_F(Wire, AnotherFunctionWhilePlayingKeepsTheRunAndItsRelays)
{
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_SINE), 0);
    ASSERT_TRUE(instrument_.WaitForPackets(2));
    const unsigned relays = instrument_.Relays().commands;
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_SQUARE), 0);
    ASSERT_TRUE(instrument_.WaitForMorePackets(40));  // more than a cycle
    EXPECT_EQ(instrument_.Statistics().runs, 1U);
    EXPECT_EQ(instrument_.Statistics().sequenceErrors, 0U);
    EXPECT_EQ(instrument_.Relays().commands, relays);
    EXPECT_EQ(instrument_.Exchanges(Request::ControlWrite).size(), 2U);
}

TEST_F(Wire, RelaysFollowADeferredOffsetAtTheEndOfTheCycle)
{
    ASSERT_EQ(VRAXSetFrequency(5.0), 0);
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_SINE), 0);
    ASSERT_TRUE(instrument_.WaitForPackets(1));
    const unsigned before = instrument_.Relays().commands;
    ASSERT_EQ(VRAXSetDCOffset(200), 0);
    ASSERT_TRUE(Eventually([&] { return instrument_.Relays().commands > before; }));
    ASSERT_TRUE(instrument_.WaitForMorePackets(12));  // two more cycles
    EXPECT_EQ(instrument_.Relays().commands, before + 1);
    EXPECT_EQ(instrument_.Relays().lastCommand, Relays(3, 0x04, 0x10));
}

TEST_F(Wire, CommandsTakeTurnsWithPackets)
{
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_SINE), 0);
    ASSERT_TRUE(instrument_.WaitForPackets(1));
    for (int i = 0; i < 20; ++i) EXPECT_EQ(VRAXGetUSBBusVoltage(), kUsbVoltage);
    ASSERT_TRUE(instrument_.WaitForMorePackets(1));
    // A command comes after the reply to the packet before it and has its own reply before the
    // next packet: no request ever meets an unanswered one.
    const std::vector<Exchange> all = instrument_.Exchanges();
    for (std::size_t i = 1; i + 1 < all.size(); ++i) {
        EXPECT_LE(all[i - 1].replied, all[i].arrived) << NameOf(all[i].kind) << " " << i;
    }
    EXPECT_EQ(instrument_.Statistics().sequenceErrors, 0U);
    ExpectNoRefusals(instrument_);
}

TEST_F(Wire, OnePacketIsInFlightAtATime)
{
    Fault late = MakeFault(FaultKind::LateReply, Request::Stream, 1, 3);
    late.delay = Milliseconds(400);  // longer than the read budget
    instrument_.Inject(late);
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_SINE), 0);
    ASSERT_TRUE(instrument_.WaitForPackets(10));
    const std::vector<Exchange> packets = instrument_.Exchanges(Request::Stream);
    for (std::size_t i = 1; i < 10; ++i) EXPECT_LE(packets[i - 1].replied, packets[i].arrived);
    EXPECT_EQ(instrument_.Statistics().sequenceErrors, 0U);
}

TEST(WireWithModule, EveryOperateModeIsTheOneOfTheRelayCommand)
{
    Options options = RealTime();
    options.respirationModule = true;
    SimulatedInstrument instrument(options);
    CConnectedHost host(kPatientMs);
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_ECG), 0);
    ASSERT_TRUE(instrument.WaitForPackets(3));
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_OFF), 0);
    EXPECT_EQ(instrument.Relays().sampleRate, 5000U);
    EXPECT_EQ(instrument.Statistics().modeErrors, 0U);
    ExpectNoRefusals(instrument);
}
