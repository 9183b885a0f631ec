// Long runs, runs that outlive their connection, and instruments that fall silent.

#include <gtest/gtest.h>

#include <atomic>

#include "support/CallbackTimes.h"
#include "support/LinkHost.h"
#include "support/Slowdown.h"

using namespace instrument;

namespace {

constexpr int kRate = 20000;

unsigned SequenceOf(const Bytes& packet, std::size_t frame)
{
    return static_cast<unsigned>(packet[64 * frame + 6] << 8 | packet[64 * frame + 7]);
}

}  // namespace

TEST(Stream, LosesRepeatsAndSwapsNoSequenceNumber)
{
    constexpr std::size_t kPackets = 100000 / kSlowdown;
    struct Counter {
        std::atomic<std::size_t> frames{0};
        std::atomic<std::size_t> errors{0};
    };
    Counter counter;
    Options options;
    options.onExchange = [&counter](const Exchange& exchange) {
        if (exchange.kind != Request::Stream) return;
        for (std::size_t i = 0; i < 50; ++i, ++counter.frames) {
            if (SequenceOf(exchange.request, i) != (counter.frames & 0xFFFF)) ++counter.errors;
        }
    };
    SimulatedInstrument instrument(options);
    CConnectedHost host;
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_ECG), 0);
    ASSERT_TRUE(instrument.WaitForPackets(kPackets, std::chrono::minutes(9)));
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_OFF), 0);
    ASSERT_TRUE(instrument.WaitForStop());

    const StreamStatistics statistics = instrument.Statistics();
    EXPECT_TRUE(Eventually([&] { return counter.frames == 50 * statistics.packets; }));
    EXPECT_EQ(counter.errors, 0U);
    EXPECT_EQ(statistics.sequenceErrors, 0U);
    EXPECT_EQ(statistics.frameErrors, 0U);
    EXPECT_EQ(statistics.modeErrors, 0U);
    EXPECT_EQ(statistics.runs, 1U);
    EXPECT_EQ(statistics.samples, (statistics.packets - 1) * 700);
    ExpectNoRefusals(instrument);
}

class StreamHangUp : public testing::TestWithParam<FaultKind> {};

TEST_P(StreamHangUp, BetweenPacketsGoesOnFromThePlayClock)
{
    SimulatedInstrument instrument(RealTime());
    CConnectedHost host;
    CallbackTimes::Register();
    ASSERT_EQ(VRAXSetPacingAmplitude(50.0), 0);
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_ECG), 0);
    ASSERT_TRUE(instrument.WaitForPackets(5));
    instrument.Inject(MakeFault(GetParam(), Request::Stream));
    ASSERT_TRUE(instrument.WaitUntilUnplugged());
    ASSERT_TRUE(Listener::WaitFor(false));
    EXPECT_EQ(VRAXIsPlaying(), 1);
    const std::size_t before = instrument.PacketCount();

    instrument.ClearExchanges();
    instrument.Plug();
    ASSERT_TRUE(Listener::WaitFor(true, 2));
    ASSERT_TRUE(instrument.WaitForPackets(before + 5));
    // The relays and the pacing of the run were sent again.
    EXPECT_EQ(instrument.Relays().operateMode, 3);
    EXPECT_EQ(instrument.Relays().word, 0x010004U);
    EXPECT_EQ(instrument.ControlBlock()[27], 80);
    // What was on its way when the plug was pulled is lost, and no more than that.
    const unsigned next = SequenceOf(instrument.Packet(before - 1), 49) + 1;
    const unsigned resumed = SequenceOf(instrument.Packet(before), 0);
    EXPECT_TRUE(resumed == next || resumed == next + 50) << next << " " << resumed;
    ExpectNoRefusals(instrument);

    EXPECT_EQ(VRAXGetUSBBusVoltage(), kUsbVoltage);
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_OFF), 0);
    EXPECT_TRUE(instrument.WaitForStop());
    CallbackTimes::ExpectOneClock(kRate);
}

INSTANTIATE_TEST_SUITE_P(Moments, StreamHangUp,
                         testing::Values(FaultKind::HangUpBefore, FaultKind::HangUpDuring,
                                         FaultKind::HangUpAfter));

TEST(Stream, QuickerReplugThanTheMonitorLooksGoesOnToo)
{
    SimulatedInstrument instrument(RealTime());
    CConnectedHost host;
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_ECG), 0);
    ASSERT_TRUE(instrument.WaitForPackets(5));
    instrument.Unplug();
    instrument.Plug();
    EXPECT_TRUE(instrument.WaitForMorePackets(5));
}

TEST(Stream, CanBeStoppedWhileTheInstrumentIsGoneAndStaysOff)
{
    SimulatedInstrument instrument(RealTime());
    CConnectedHost host;
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_SINE), 0);
    ASSERT_TRUE(instrument.WaitForPackets(3));
    instrument.Unplug();
    ASSERT_TRUE(Listener::WaitFor(false));
    CCall<int> stop([] { return VRAXSetOutputFunction(OUTPUT_OFF); });
    EXPECT_EQ(stop.Result(), 0);
    EXPECT_EQ(VRAXIsPlaying(), 0);
    const std::size_t packets = instrument.PacketCount();
    instrument.Plug();
    ASSERT_TRUE(Listener::WaitFor(true, 2));
    EXPECT_EQ(instrument.PacketCount(), packets);
    EXPECT_EQ(instrument.Relays().operateMode, 8);
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_SINE), 0);
    EXPECT_TRUE(instrument.WaitForMorePackets(3));
}

TEST(Stream, SurvivesManyLostConnections)
{
    SimulatedInstrument instrument(RealTime());
    CConnectedHost host;
    CallbackTimes::Register();
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_SINE), 0);
    for (int i = 1; i <= 5; ++i) {
        ASSERT_TRUE(instrument.WaitForMorePackets(3));
        instrument.Unplug();
        ASSERT_TRUE(Listener::WaitFor(false, i));
        instrument.Plug();
        ASSERT_TRUE(Listener::WaitFor(true, i + 1));
    }
    ASSERT_TRUE(instrument.WaitForMorePackets(3));
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_OFF), 0);
    CallbackTimes::ExpectOneClock(kRate);
    ExpectNoRefusals(instrument);
}

class SilentStream : public testing::TestWithParam<FaultKind> {
protected:
    // Stalled for good: the packet has no reply that counts.
    void Stall(SimulatedInstrument& instrument)
    {
        ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_SINE), 0);
        ASSERT_TRUE(instrument.WaitForPackets(2));
        Fault fault = MakeFault(GetParam(), Request::Stream, kForEver);
        fault.bytes = 10;
        const std::size_t before = instrument.PacketCount();
        instrument.Inject(fault);
        ASSERT_TRUE(instrument.WaitForPackets(before + 1));
    }
};

TEST_P(SilentStream, CanBeStopped)
{
    SimulatedInstrument instrument(RealTime());
    CConnectedHost host;
    Stall(instrument);
    CCall<int> stop([] { return VRAXSetOutputFunction(OUTPUT_OFF); });
    EXPECT_EQ(stop.Result(), 0);
    EXPECT_EQ(VRAXIsPlaying(), 0);
    EXPECT_TRUE(IsStopPacket(instrument.LastPacket()));
    EXPECT_EQ(instrument.Relays().operateMode, 8);
    // And played again once it answers.
    instrument.ClearFaults();
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_SINE), 0);
    EXPECT_TRUE(instrument.WaitForMorePackets(5));
}

TEST_P(SilentStream, ReleasesAWaitingCommandWhenItIsStopped)
{
    SimulatedInstrument instrument(RealTime());
    CConnectedHost host;
    Stall(instrument);
    CCall<unsigned> command([] { return VRAXGetUSBBusVoltage(); });
    command.WaitUntilBlocked();
    CCall<int> stop([] { return VRAXSetOutputFunction(OUTPUT_OFF); });
    EXPECT_EQ(stop.Result(), 0);
    EXPECT_EQ(command.Result(), 0U);
    EXPECT_TRUE(instrument.Exchanges(Request::UsbVoltage).empty());
}

TEST_P(SilentStream, ReleasesSeveralWaitingCommandsWhenItIsFreed)
{
    SimulatedInstrument instrument(RealTime());
    CConnectedHost host;
    Stall(instrument);
    CCall<unsigned> first([] { return VRAXGetUSBBusVoltage(); });
    first.WaitUntilBlocked();
    CCall<bool> second([] { return VRAXEnableFPGASampling(true); });
    second.WaitUntilBlocked();
    EXPECT_TRUE(ComesBack([] { VRAXFree(); }));
    EXPECT_EQ(first.Result(), 0U);
    EXPECT_FALSE(second.Result());
    EXPECT_EQ(CountLockFiles(), 0);
}

TEST_P(SilentStream, ReleasesAWaitingCommandWhenItIsUnplugged)
{
    SimulatedInstrument instrument(RealTime());
    CConnectedHost host;
    Stall(instrument);
    CCall<unsigned> command([] { return VRAXGetUSBBusVoltage(); });
    command.WaitUntilBlocked();
    instrument.Unplug();
    EXPECT_EQ(command.Result(), 0U);
    ASSERT_TRUE(Listener::WaitFor(false));
    instrument.ClearFaults();
    const std::size_t before = instrument.PacketCount();
    instrument.Plug();
    ASSERT_TRUE(Listener::WaitFor(true, 2));
    EXPECT_TRUE(instrument.WaitForPackets(before + 3));  // the run goes on
    EXPECT_EQ(VRAXGetUSBBusVoltage(), kUsbVoltage);
}

INSTANTIATE_TEST_SUITE_P(Replies, SilentStream,
                         testing::Values(FaultKind::Silence, FaultKind::ShortReply),
                         [](const auto& parameter) {
                             return parameter.param == FaultKind::Silence ? "None" : "Short";
                         });

class CommandFault : public testing::TestWithParam<FaultKind> {};

TEST_P(CommandFault, WhilePlayingFailsTheCommandAloneAndTheStreamGoesOn)
{
    SimulatedInstrument instrument(RealTime());
    CConnectedHost host;
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_SINE), 0);
    ASSERT_TRUE(instrument.WaitForPackets(2));
    Fault fault = MakeFault(GetParam(), Request::UsbVoltage);
    fault.bytes = 20;
    fault.delay = Milliseconds(110);  // just past the read budget: within the next packet
    instrument.Inject(fault);
    EXPECT_EQ(VRAXGetUSBBusVoltage(), 0U);
    ASSERT_TRUE(instrument.WaitForMorePackets(5));
    for (unsigned i = 1; i <= 5; ++i) {
        Measurements measurements = instrument.GetMeasurements();
        measurements.usbVoltage = static_cast<std::uint8_t>(i);
        instrument.SetMeasurements(measurements);
        EXPECT_EQ(VRAXGetUSBBusVoltage(), i);
    }
    EXPECT_EQ(instrument.Statistics().sequenceErrors, 0U);
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_OFF), 0);
    ExpectNoRefusals(instrument);
}

INSTANTIATE_TEST_SUITE_P(Replies, CommandFault,
                         testing::Values(FaultKind::Silence, FaultKind::ShortReply,
                                         FaultKind::LateReply),
                         [](const auto& parameter) {
                             if (parameter.param == FaultKind::Silence) return "None";
                             return parameter.param == FaultKind::ShortReply ? "Short" : "Late";
                         });

TEST(Stream, OffBeforeTheFirstPacketEndsTheRun)
{
    SimulatedInstrument instrument(RealTime());
    CConnectedHost host;
    // Lives as long as the process, as there is no call that frees it.
    static const VRAXSynchronizationSignal signal = VRAXCreateSynchronizationSignal();
    ASSERT_NE(signal, nullptr);
    VRAXSetSynchronizationSignal(signal);
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_SINE), 0);
    EXPECT_EQ(VRAXGetOutputFunction(), OUTPUT_SINE);
    CCall<int> stop([] { return VRAXSetOutputFunction(OUTPUT_OFF); });
    EXPECT_EQ(stop.Result(), 0);
    EXPECT_EQ(VRAXIsPlaying(), 0);
    // The next run needs no signal.
    VRAXSetSynchronizationSignal(nullptr);
    const std::size_t before = instrument.PacketCount();
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_SINE), 0);
    ASSERT_TRUE(instrument.WaitForPackets(before + 3));
    EXPECT_EQ(SequenceOf(instrument.Packet(before), 0), 0U);
}

TEST(Stream, OffRightAfterOnHoweverOftenReturnsWithTheOutputOff)
{
    SimulatedInstrument instrument(0);
    CConnectedHost host(kPatientMs);
    CCall<int> toggle([] {
        for (int i = 0; i < 20; ++i) {
            VRAXSetOutputFunction(OUTPUT_SINE);
            VRAXSetOutputFunction(OUTPUT_OFF);
            if (VRAXIsPlaying() != 0) return -1;
        }
        return 0;
    });
    EXPECT_EQ(toggle.Result(), 0);
    EXPECT_EQ(instrument.Relays().operateMode, 8);
    EXPECT_EQ(instrument.Statistics().sequenceErrors, 0U);
    ExpectNoRefusals(instrument);
}

// The last replies of a run come after the time that they are given: they are not taken for those of
// the commands that follow.
TEST(Stream, LateRepliesAtItsEndAreNotTakenForThoseOfCommands)
{
    SimulatedInstrument instrument(0);
    constexpr unsigned kReplyMs = 400;  // a busy machine is not late by that
    CConnectedHost host(kReplyMs);
    for (int i = 0; i < 3; ++i) {
        ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_SINE), 0);
        ASSERT_TRUE(instrument.WaitForMorePackets(3));
        Fault late = MakeFault(FaultKind::LateReply, Request::Stream, 2);
        late.delay = Milliseconds(kReplyMs + 150);
        instrument.Inject(late);
        ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_OFF), 0);
        EXPECT_EQ(VRAXApplyPacing(), 1);
        EXPECT_EQ(VRAXGetUSBBusVoltage(), kUsbVoltage);
    }
    ExpectNoRefusals(instrument);
}

TEST(Stream, WaitsForItsSignalAndStartsWithIt)
{
    SimulatedInstrument instrument(RealTime());
    CConnectedHost host;
    const VRAXSynchronizationSignal signal = VRAXCreateSynchronizationSignal();
    VRAXSetSynchronizationSignal(signal);
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_SINE), 0);
    ASSERT_TRUE(instrument.WaitForExchange(Request::Relays, 3));
    EXPECT_FALSE(instrument.WaitForPackets(1, Milliseconds(300)));
    EXPECT_EQ(VRAXIsPlaying(), 0);
    EXPECT_EQ(VRAXGetUSBBusVoltage(), kUsbVoltage);  // the line is free meanwhile
    VRAXSynchronizationSignalSetEvent(signal);
    EXPECT_TRUE(instrument.WaitForPackets(3));
    EXPECT_EQ(instrument.Statistics().sequenceErrors, 0U);

    // It stays set until it is reset.
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_OFF), 0);
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_SINE), 0);
    EXPECT_TRUE(instrument.WaitForMorePackets(2));
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_OFF), 0);
    VRAXSynchronizationSignalResetEvent(signal);
    const std::size_t before = instrument.PacketCount();
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_SINE), 0);
    EXPECT_FALSE(instrument.WaitForPackets(before + 1, Milliseconds(300)));
}

TEST(Stream, PlaysInRealTimeWithoutAnUnderrunOnTheInstrument)
{
    SimulatedInstrument instrument(RealTime());
    CConnectedHost host;
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_ECG), 0);
    ASSERT_TRUE(instrument.WaitForPackets(60));
    const StreamStatistics statistics = instrument.Statistics();
    // 59 replies of 35 ms each lie between the first packet and the sixtieth.
    const double seconds =
        std::chrono::duration<double>(statistics.lastArrival - statistics.firstArrival).count();
    EXPECT_GE(seconds, 59 * 0.035 - 0.001);
}
