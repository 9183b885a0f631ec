// Frames of an update that fail at a chosen place, and the control lines that ask for it.

#include <chrono>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "FirmwareFrames.h"
#include "HostPort.h"
#include "instrument/ControlLine.h"
#include "instrument/SimulatedInstrument.h"

using namespace instrument;
using namespace instrument_test;
using std::chrono::milliseconds;

namespace {

const Bytes kIdentify{0x55, 0x00, 0x00};
const Bytes kRestart{0xDD};

Fault Of(FaultKind kind, Request match, unsigned skip = 0)
{
    Fault fault;
    fault.kind = kind;
    fault.match = match;
    fault.skip = skip;
    return fault;
}

}  // namespace

// Six frames and a control mode, each kind failing at its third.
TEST(FirmwareFaults, HitAChosenFrameOfAKind)
{
    struct Kind {
        Request match;
        Bytes prefix;
        Bytes request;
    };
    const Kind kinds[] = {
        {Request::FlashErase, {0x12, 0x55, 0xAA, 0xFF, 0x00, 0x03}, EraseFrame(3, 0)},
        {Request::FlashWrite, {0x12, 0x55, 0xAA, 0xFF, 0x00, 0x03}, FpgaWrite(0, {1})},
        {Request::FlashRead, {0x12, 0x55, 0xAA, 0x00, 0x00, 0x03}, FpgaRead(0, 48)},
        {Request::McuErase, {}, McuErase(0)},
        {Request::McuWrite, {}, McuWrite(0, {1})},
        {Request::McuRead, {}, McuRead(0, 52)},
        {Request::ControlMode, {}, ControlMode(1)},
    };
    SimulatedInstrument instrument;
    const HostPort host;
    host.Ask(ControlMode(1));
    for (const Kind& kind : kinds) {
        Fault fault = Of(FaultKind::ShortReply, kind.match, 2);
        fault.prefix = kind.prefix;
        fault.bytes = 20;
        instrument.Inject(fault);
        for (const std::size_t bytes : {64U, 64U, 20U, 64U}) {
            // Of another kind, so not counted.
            EXPECT_EQ(host.Ask(FlashFrame(false, 18, 0, 1)).size(), 64U);
            EXPECT_EQ(host.Ask(EraseFrame(18, 0)).size(), 64U);
            ASSERT_TRUE(host.Write(kind.request));
            EXPECT_EQ(host.Read(64, bytes == 64 ? kPatienceMs : kSilenceMs).size(), bytes)
                << NameOf(kind.match);
        }
        EXPECT_EQ(instrument.PendingFaults(), 0U);
    }
}

TEST(FirmwareFaults, HitTheFrameOfAnAddress)
{
    SimulatedInstrument instrument;
    const HostPort host;
    Fault fault = Of(FaultKind::Silence, Request::FlashErase);
    fault.prefix = Part(EraseFrame(3, 2048), 0, 12);
    instrument.Inject(fault);
    EXPECT_EQ(host.Ask(EraseFrame(3, 1024)).size(), 64U);
    ASSERT_TRUE(host.Write(EraseFrame(3, 2048)));
    EXPECT_TRUE(host.IsSilent());
}

TEST(FirmwareFaults, AChangedByteSpoilsTheReplyAndNotTheMemory)
{
    SimulatedInstrument instrument;
    const HostPort host;
    instrument.WriteFlash(3, 0, {1, 2, 3, 4});
    const Bytes good = host.Ask(FpgaRead(0, 4));
    Fault fault = Of(FaultKind::ChangedByte, Request::FlashRead, 1);
    fault.bytes = 17;
    instrument.Inject(fault);
    EXPECT_EQ(host.Ask(FpgaRead(0, 4)), good);
    Bytes expected = good;
    expected[17] = 0xFD;
    EXPECT_EQ(host.Ask(FpgaRead(0, 4)), expected);
    EXPECT_EQ(host.Ask(FpgaRead(0, 4)), good);

    fault = Of(FaultKind::ChangedByte, Request::McuRead);
    fault.bytes = 8;
    fault.data = {0x77};
    instrument.HoldImage(Image::Mcu, {1, 2, 3});
    host.Ask(ControlMode(1));
    instrument.Inject(fault);
    EXPECT_EQ(Part(host.Ask(McuRead(0, 3)), 8, 3), (Bytes{0x77, 2, 3}));
    EXPECT_EQ(Part(host.Ask(McuRead(0, 3)), 8, 3), (Bytes{1, 2, 3}));
}

// What the request asked for is done all the same.
TEST(FirmwareFaults, AControlModeMayGoUnacknowledged)
{
    SimulatedInstrument instrument;
    const HostPort host;
    instrument.Inject(Of(FaultKind::WrongAcknowledge, Request::ControlMode));
    const Bytes reply = host.Ask(ControlMode(1));
    ASSERT_EQ(reply.size(), 64U);
    EXPECT_EQ(reply[3], 0);
    EXPECT_TRUE(instrument.Firmware().updateMode);
}

TEST(FirmwareFaults, AFrameMayBeLate)
{
    SimulatedInstrument instrument;
    const HostPort host;
    host.Ask(ControlMode(1));
    Fault fault = Of(FaultKind::LateReply, Request::McuErase, 1);
    fault.delay = milliseconds(80);
    instrument.Inject(fault);
    EXPECT_EQ(host.Ask(McuErase(0)).size(), 64U);
    const auto start = Clock::now();
    EXPECT_EQ(host.Ask(McuErase(1024)).size(), 64U);
    EXPECT_GE(Clock::now() - start, milliseconds(80));
}

// Halfway through, the instrument is gone: that frame did nothing, and those before it stay.
TEST(FirmwareFaults, TheInstrumentMayGoInTheMiddle)
{
    SimulatedInstrument instrument;
    instrument.HoldImage(Image::Fpga, MakeImage(kFpgaBytes, "VRAX", {1, 1, 1, 1}));
    const Bytes before = instrument.HeldImage(Image::Fpga, 2048);
    {
        const HostPort host;
        instrument.Inject(Of(FaultKind::HangUpBefore, Request::FlashErase, 1));
        EXPECT_EQ(host.Ask(EraseFrame(3, 0)).size(), 64U);
        ASSERT_TRUE(host.Write(EraseFrame(3, 1024)));
        EXPECT_TRUE(host.WaitForHangUp());
    }
    EXPECT_EQ(instrument.HeldImage(Image::Fpga, 1024), Bytes(1024, 0xFF));
    EXPECT_EQ(instrument.ReadFlash(3, 1024, 1024), Part(before, 1024, 1024));
    instrument.Plug();
    const HostPort host;
    EXPECT_EQ(host.Ask(kIdentify, 12).size(), 12U);
}

TEST(FirmwareFaults, OneNameStandsForAllFirmwareRequests)
{
    SimulatedInstrument instrument;
    const HostPort host;
    Fault fault = Of(FaultKind::ShortReply, Request::Firmware);
    fault.bytes = 1;
    fault.count = 2;
    instrument.Inject(fault);
    EXPECT_EQ(host.Ask(kIdentify, 12).size(), 12U);
    EXPECT_EQ(host.Ask(ControlMode(1), 1).size(), 1U);
    EXPECT_EQ(host.Ask(FpgaRead(0, 1)).size(), 64U);
    EXPECT_EQ(host.Ask(McuErase(0), 1).size(), 1U);
    EXPECT_TRUE(host.IsSilent());
    EXPECT_EQ(instrument.Exchanges(Request::Firmware).size(), 2U);
    EXPECT_EQ(instrument.Exchanges(Request::Command).size(), 4U);
}

TEST(FirmwareLines, PickAFrame)
{
    SimulatedInstrument instrument;
    const HostPort host;
    host.Ask(ControlMode(1));
    const std::pair<const char*, Bytes> rules[] = {
        {"fpga-erase", EraseFrame(3, 0)}, {"fpga-write", FpgaWrite(0, {1})},
        {"fpga-read", FpgaRead(0, 1)},    {"mcu-erase", McuErase(0)},
        {"mcu-write", McuWrite(0, {1})},  {"mcu-read", McuRead(0, 1)},
        {"control-mode", ControlMode(1)},
    };
    for (const auto& [word, request] : rules) {
        EXPECT_EQ(RunControlLine(instrument, std::string("short 9 2 after 1 on ") + word),
                  "short: waiting for 2 replies");
        EXPECT_EQ(host.Ask(request).size(), 64U) << word;
        EXPECT_EQ(host.Ask(request, 9).size(), 9U) << word;
        EXPECT_EQ(host.Ask(FlashFrame(false, 18, 0, 1)).size(), 64U) << word;
        EXPECT_EQ(host.Ask(request, 9).size(), 9U) << word;
        EXPECT_EQ(instrument.PendingFaults(), 0U) << word;
    }
    RunControlLine(instrument, "changed-byte 4 on fpga-read");
    EXPECT_EQ(host.Ask(FpgaRead(0, 1))[4], 0x00);
    RunControlLine(instrument, "hangup-before on restart");
    ASSERT_TRUE(host.Write(kRestart));
    EXPECT_TRUE(host.WaitForHangUp());
}

TEST(FirmwareLines, ThatAreWrongChangeNothing)
{
    SimulatedInstrument instrument;
    EXPECT_EQ(RunControlLine(instrument, "silence after"), "silence: 'after' how many?");
    EXPECT_EQ(RunControlLine(instrument, "silence after x"), "silence: 'x' is no number");
    EXPECT_EQ(RunControlLine(instrument, "silence on mcu-read 1"), "silence: '1'?");
    EXPECT_EQ(RunControlLine(instrument, "silence on mcu-burn"),
              "silence: 'mcu-burn' is no number");
    EXPECT_EQ(RunControlLine(instrument, "changed-byte"), "changed-byte: which byte?");
    EXPECT_EQ(RunControlLine(instrument, "restart"), "restart: restart MS or restart never");
    EXPECT_EQ(RunControlLine(instrument, "restart x"), "restart: 'x' is no number");
    EXPECT_EQ(instrument.PendingFaults(), 0U);
}

TEST(FirmwareLines, SetTheTimeOfARestart)
{
    SimulatedInstrument instrument;
    EXPECT_EQ(RunControlLine(instrument, "restart never"), "restart: does not come back");
    {
        const HostPort host;
        host.Ask(kRestart);
        EXPECT_FALSE(instrument.WaitForRestarts(1, milliseconds(150)));
    }
    RunControlLine(instrument, "plug");
    EXPECT_EQ(RunControlLine(instrument, "restart 90"), "restart: comes back after 90 ms");
    const HostPort host;
    const auto start = Clock::now();
    host.Ask(kRestart);
    EXPECT_TRUE(instrument.WaitForRestarts(1));
    EXPECT_GE(Clock::now() - start, milliseconds(90));
}

TEST(FirmwareLines, StatusNamesTheImages)
{
    SimulatedInstrument instrument;
    const auto has = [&](const char* part) {
        return RunControlLine(instrument, "status").find(part) != std::string::npos;
    };
    EXPECT_TRUE(has("FPGA image VRAX 1.2.0.3, MCU image 2TF2 2.1.0.7, update mode off"));
    instrument.HoldImage(Image::Fpga, MakeImage(kFpgaBytes, "VRAX", {9, 8, 7, 6}));
    EXPECT_TRUE(has("FPGA image VRAX 1.2.0.3 (holds VRAX 9.8.7.6)"));
    const HostPort host;
    host.Ask(ControlMode(1));
    host.Ask(McuErase(kTagAt / 1024 * 1024));
    EXPECT_TRUE(has("MCU image 2TF2 2.1.0.7 (holds none), update mode on"));
    EXPECT_TRUE(has("restarts=0"));
    instrument.HoldImage(Image::Mcu, MakeImage(kFpgaBytes, "2\x01\x7F\xFF", {1, 2, 3, 4}));
    EXPECT_TRUE(has("(holds 2... 1.2.3.4)"));
}
