// Misbehaviour on command, plugging, and two instruments side by side.

#include <algorithm>
#include <chrono>
#include <filesystem>

#include <gtest/gtest.h>

#include "HostPort.h"
#include "instrument/ControlLine.h"
#include "instrument/SimulatedInstrument.h"

using namespace instrument;
using namespace instrument_test;
using std::chrono::milliseconds;

namespace {

const Bytes kIdentify{0x55, 0x00, 0x00};
const Bytes kVoltage{0xCC, 0x00, 'B'};

Fault Of(FaultKind kind)
{
    Fault fault;
    fault.kind = kind;
    return fault;
}

bool NodeExists(int port = 0)
{
    return std::filesystem::exists("/dev/ttyACM" + std::to_string(port));
}

std::size_t OpenDescriptors()
{
    const std::filesystem::directory_iterator all("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin(all), end(all)));
}

}  // namespace

TEST(Plugging, MakesAndRemovesTheNode)
{
    Options options;
    options.plugged = false;
    SimulatedInstrument instrument(options);
    EXPECT_FALSE(NodeExists());
    instrument.Plug();
    EXPECT_TRUE(NodeExists());
    EXPECT_TRUE(instrument.IsPlugged());
    instrument.Unplug();
    EXPECT_FALSE(NodeExists());
    EXPECT_FALSE(instrument.IsPlugged());
}

TEST(Plugging, TheOpenerSeesAHangUp)
{
    SimulatedInstrument instrument;
    const HostPort host;
    instrument.Unplug();
    EXPECT_TRUE(host.WaitForHangUp());
    EXPECT_TRUE(host.Read(1).empty());
    EXPECT_FALSE(host.Write({0x00}));
}

TEST(Plugging, AFreshStartForgetsTheRelaysAndKeepsTheFlash)
{
    SimulatedInstrument instrument;
    {
        const HostPort host;
        host.Ask(RelayCommand(3, 20000, 0x010000));
        host.Ask(FlashFrame(true, 18, 0, 1, {0x12}));
    }
    instrument.Unplug();
    instrument.Plug();
    EXPECT_EQ(instrument.Relays().word, 0U);
    EXPECT_EQ(instrument.ReadFlash(18, 0, 1), Bytes{0x12});
    const HostPort host;
    EXPECT_EQ(host.Ask(kIdentify, 12).size(), 12U);
}

TEST(Plugging, AHundredTimesLeavesNothingOpen)
{
    SimulatedInstrument instrument;
    const std::size_t before = OpenDescriptors();
    for (int i = 0; i < 100; ++i) {
        instrument.Unplug();
        instrument.Plug();
    }
    EXPECT_EQ(OpenDescriptors(), before);
}

TEST(Plugging, ThePortIsTakenOnce)
{
    SimulatedInstrument instrument;
    EXPECT_THROW(SimulatedInstrument second(0), std::runtime_error);
    EXPECT_TRUE(NodeExists());
}

TEST(Plugging, TheLinkOfADeadInstrumentIsReplaced)
{
    std::filesystem::create_symlink("/dev/pts/987654", "/dev/ttyACM0");
    SimulatedInstrument instrument;
    const HostPort host;
    EXPECT_EQ(host.Ask(kIdentify, 12).size(), 12U);
}

TEST(Plugging, AStreamMayGoOnAfterwards)
{
    SimulatedInstrument instrument;
    {
        const HostPort host;
        host.Ask(RelayCommand(3, 20000));
        host.Ask(MakePacket({3, 0, 1, 1, 0}));
    }
    instrument.Unplug();
    instrument.Plug();
    const HostPort host;
    host.Ask(RelayCommand(3, 20000));
    host.Ask(MakePacket({3, 100, 1, 1, 0}));  // one packet got lost
    EXPECT_EQ(instrument.Statistics().sequenceErrors, 0U);
    EXPECT_EQ(instrument.Statistics().runs, 2U);
}

TEST(Ports, TwoInstrumentsDoNotMeet)
{
    Options other;
    other.port = 5;
    other.sequenceNumber = 77;
    SimulatedInstrument first(0);
    SimulatedInstrument second(other);
    const HostPort host0("/dev/ttyACM0");
    const HostPort host5("/dev/ttyACM5");
    EXPECT_EQ(host0.Ask(kIdentify, 12)[11], 42);
    EXPECT_EQ(host5.Ask(kIdentify, 12)[11], 77);
    EXPECT_EQ(first.Exchanges().size(), 1U);
    second.Unplug();
    EXPECT_TRUE(NodeExists(0));
}

TEST(Ports, APlainTerminalKeepsItsBytes)
{
    SimulatedInstrument instrument;
    const HostPort host;
    Bytes odd{0x03, 0x04, 0x0A, 0x0D, 0x11, 0x13, 0x1A, 0x7F, 0xFF, 0x00};
    instrument.SendUnsolicited(odd);
    EXPECT_EQ(host.Read(odd.size()), odd);
}

TEST(Faults, SilenceDropsReplies)
{
    SimulatedInstrument instrument;
    const HostPort host;
    Fault fault = Of(FaultKind::Silence);
    fault.count = 2;
    instrument.Inject(fault);
    for (int i = 0; i < 2; ++i) {
        host.Write(kVoltage);
        EXPECT_TRUE(host.IsSilent());
    }
    EXPECT_EQ(instrument.PendingFaults(), 0U);
    EXPECT_EQ(host.Ask(kVoltage).size(), 64U);
    EXPECT_EQ(instrument.Exchanges().size(), 3U);
    EXPECT_TRUE(instrument.Exchanges()[0].reply.empty());
}

TEST(Faults, SilenceForEverEndsWhenItIsCleared)
{
    SimulatedInstrument instrument;
    const HostPort host;
    Fault fault = Of(FaultKind::Silence);
    fault.count = 0;
    instrument.Inject(fault);
    for (int i = 0; i < 3; ++i) {
        host.Write(kVoltage);
        EXPECT_TRUE(host.IsSilent());
    }
    instrument.ClearFaults();
    EXPECT_EQ(host.Ask(kVoltage).size(), 64U);
}

TEST(Faults, MatchByLeadingBytesKindAndPosition)
{
    SimulatedInstrument instrument;
    const HostPort host;
    Fault fault = Of(FaultKind::ShortReply);
    fault.prefix = {0xCC};
    fault.bytes = 10;
    fault.skip = 1;
    instrument.Inject(fault);
    EXPECT_EQ(host.Ask(kIdentify, 12).size(), 12U);
    EXPECT_EQ(host.Ask(kVoltage).size(), 64U);
    host.Write(kVoltage);
    EXPECT_EQ(host.Read(64, kSilenceMs).size(), 10U);

    fault = Of(FaultKind::Silence);
    fault.match = Request::Stream;
    instrument.Inject(fault);
    EXPECT_EQ(host.Ask(kVoltage).size(), 64U);
    host.Write(MakePacket({3, 0, 1, 1, 0}));
    EXPECT_TRUE(host.IsSilent());
}

TEST(Faults, LateRepliesComeLater)
{
    SimulatedInstrument instrument;
    const HostPort host;
    Fault fault = Of(FaultKind::LateReply);
    fault.delay = milliseconds(80);
    instrument.Inject(fault);
    const auto start = Clock::now();
    EXPECT_EQ(host.Ask(kVoltage).size(), 64U);
    EXPECT_GE(Clock::now() - start, milliseconds(80));
}

TEST(Faults, AcknowledgementsAndBytesGoWrong)
{
    SimulatedInstrument instrument;
    const HostPort host;
    Fault fault = Of(FaultKind::WrongAcknowledge);
    fault.data = {0xFE};
    instrument.Inject(fault);
    EXPECT_EQ(host.Ask(FlashFrame(true, 18, 0, 1, {1}))[4], 0xFE);
    instrument.Inject(fault);
    EXPECT_EQ(host.Ask(Padded({0xEA, 0xFF, 0x01}, 19))[3], 0xFE);
    fault = Of(FaultKind::WrongBytes);
    instrument.Inject(fault);
    EXPECT_EQ(host.Ask(kIdentify, 12)[4], 0xFF & ~'T');
}

TEST(Faults, AStrayBlockMayComeFirst)
{
    SimulatedInstrument instrument;
    const HostPort host;
    Fault fault = Of(FaultKind::Unsolicited);
    fault.data = Bytes(64, 0x11);
    instrument.Inject(fault);
    const Bytes both = host.Ask(kVoltage, 128);
    ASSERT_EQ(both.size(), 128U);
    EXPECT_EQ(both[0], 0x11);
    EXPECT_EQ(both[64], 0xCC);
}

TEST(Faults, HangUpBeforeLeavesTheCommandUndone)
{
    SimulatedInstrument instrument;
    const HostPort host;
    instrument.Inject(Of(FaultKind::HangUpBefore));
    host.Write(FlashFrame(true, 18, 0, 1, {1}));
    EXPECT_TRUE(host.WaitForHangUp());
    EXPECT_FALSE(NodeExists());
    EXPECT_EQ(instrument.ReadFlash(18, 0, 1), Bytes{0xFF});
}

TEST(Faults, HangUpDuringGivesHalfAReply)
{
    SimulatedInstrument instrument;
    const HostPort host;
    instrument.Inject(Of(FaultKind::HangUpDuring));
    EXPECT_EQ(host.Ask(kVoltage).size(), 32U);
    EXPECT_TRUE(instrument.WaitUntilUnplugged());
}

TEST(Faults, HangUpAfterGivesAllOfIt)
{
    SimulatedInstrument instrument;
    const HostPort host;
    instrument.Inject(Of(FaultKind::HangUpAfter));
    EXPECT_EQ(host.Ask(kVoltage).size(), 64U);
    EXPECT_TRUE(host.WaitForHangUp());
    ASSERT_TRUE(instrument.WaitUntilUnplugged());
    instrument.Plug();
    const HostPort again;
    EXPECT_EQ(again.Ask(kVoltage).size(), 64U);
}

TEST(ScriptedReplies, ReplaceTheReplyAndAllowUnknownRequests)
{
    SimulatedInstrument instrument;
    const HostPort host;
    instrument.SetReply(kIdentify, {1, 2, 3});
    instrument.SetReply({0x99}, {9});
    EXPECT_EQ(host.Ask(kIdentify, 3), (Bytes{1, 2, 3}));
    EXPECT_EQ(host.Ask({0x99, 0x01}, 1), Bytes{9});
    EXPECT_EQ(instrument.RefusalCount(), 0U);
    instrument.ClearReplies();
    EXPECT_EQ(host.Ask(kIdentify, 12).size(), 12U);
}

TEST(ControlLine, SetsFaultsAndTellsWhatItDid)
{
    SimulatedInstrument instrument;
    const HostPort host;
    EXPECT_NE(RunControlLine(instrument, "silence 2 on CC 00").find("2 replies"),
              std::string::npos);
    host.Write(kVoltage);
    EXPECT_TRUE(host.IsSilent());
    EXPECT_EQ(host.Ask(kIdentify, 12).size(), 12U);
    EXPECT_EQ(RunControlLine(instrument, "clear"), "clear: done");
    EXPECT_EQ(RunControlLine(instrument, "short 5"), "short: waiting for 1 replies");
    host.Write(kVoltage);
    EXPECT_EQ(host.Read(64, kSilenceMs).size(), 5U);
    RunControlLine(instrument, "send 41 42");
    EXPECT_EQ(host.Read(2), (Bytes{'A', 'B'}));
    RunControlLine(instrument, "unplug");
    EXPECT_FALSE(instrument.IsPlugged());
    RunControlLine(instrument, "plug");
    EXPECT_TRUE(instrument.IsPlugged());
    EXPECT_NE(RunControlLine(instrument, "status").find("plugged"), std::string::npos);
}

TEST(ControlLine, UnknownLinesChangeNothing)
{
    SimulatedInstrument instrument;
    EXPECT_EQ(RunControlLine(instrument, ""), "");
    EXPECT_EQ(RunControlLine(instrument, "explode"), "unknown: explode (try help)");
    EXPECT_EQ(RunControlLine(instrument, "late"), "late: milliseconds?");
    EXPECT_EQ(RunControlLine(instrument, "short x"), "short: 'x' is no number");
    EXPECT_EQ(instrument.PendingFaults(), 0U);
}
