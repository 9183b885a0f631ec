// The FPGA image in the flash, the restart that runs it, and what is kept of the images.

#include <array>
#include <chrono>
#include <filesystem>
#include <stdexcept>

#include <gtest/gtest.h>

#include "FirmwareFrames.h"
#include "HostPort.h"
#include "instrument/Flash.h"
#include "instrument/SimulatedInstrument.h"

using namespace instrument;
using namespace instrument_test;
using std::chrono::milliseconds;

namespace {

const Bytes kIdentify{0x55, 0x00, 0x00};
const Bytes kRestart{0xDD};
using FourBytes = std::array<std::uint8_t, 4>;

constexpr FourBytes kVraxTag{'V', 'R', 'A', 'X'};
constexpr FourBytes kNewVersion{9, 8, 7, 6};

Bytes NewFpgaImage() { return MakeImage(kFpgaBytes, "VRAX", {9, 8, 7, 6}); }
Bytes NewMcuImage() { return MakeImage(118783, "2TF2", {9, 8, 7, 6}); }

bool NodeExists() { return std::filesystem::exists("/dev/ttyACM0"); }

RestartBehaviour AwayFor(int ms)
{
    RestartBehaviour behaviour;
    behaviour.away = milliseconds(ms);
    return behaviour;
}

}  // namespace

TEST(FpgaImage, AFreshInstrumentRunsOne)
{
    SimulatedInstrument instrument;
    const HostPort host;
    const FirmwareState state = instrument.Firmware();
    EXPECT_TRUE(state.runningFpga.isAccepted);
    EXPECT_EQ(state.runningFpga.tag, kVraxTag);
    EXPECT_EQ(state.runningFpga.version, (FourBytes{1, 2, 0, 3}));
    EXPECT_EQ(state.heldFpga.version, state.runningFpga.version);
    EXPECT_EQ(Part(host.Ask(FpgaRead(kTagAt, 8)), 16, 8), (Bytes{'V', 'R', 'A', 'X', 1, 2, 0, 3}));
}

TEST(FpgaImage, AnEraseClearsItsSectorAlone)
{
    SimulatedInstrument instrument;
    const HostPort host;
    instrument.HoldImage(Image::Fpga, NewFpgaImage());
    for (const std::uint32_t address : {0U, 101376U, kRecordsEnd, 121856U}) {
        const Bytes before = instrument.HeldImage(Image::Fpga, kFpgaBytes);
        const Bytes reply = host.Ask(EraseFrame(3, address));
        ASSERT_EQ(reply.size(), 64U);
        EXPECT_EQ(reply[4], 0xFF);
        Bytes expected = before;
        std::fill_n(expected.begin() + address, 1024, std::uint8_t{0xFF});
        EXPECT_EQ(instrument.HeldImage(Image::Fpga, kFpgaBytes), expected) << address;
    }
}

TEST(FpgaImage, AnEraseInsideASectorIsRefused)
{
    SimulatedInstrument instrument;
    const HostPort host;
    ExpectRefused(instrument, host, EraseFrame(3, 1023), "an erase at 1023, inside a sector");
    ExpectRefused(instrument, host, EraseFrame(3, 122880),
                  "0 bytes at 122880 are outside channel 3");
}

TEST(FpgaImage, AWriteOnlyClearsBits)
{
    SimulatedInstrument instrument;
    const HostPort host;
    EXPECT_EQ(host.Ask(EraseFrame(3, 0))[4], 0xFF);
    EXPECT_EQ(host.Ask(FpgaWrite(0, {0xF0, 0x0F}))[4], 0xFF);
    EXPECT_EQ(instrument.Firmware().spoiltWrites, 0U);
    EXPECT_EQ(host.Ask(FpgaWrite(0, {0x3C, 0x0F}))[4], 0xFF);  // only reading back tells
    EXPECT_EQ(Part(host.Ask(FpgaRead(0, 3)), 16, 3), (Bytes{0x30, 0x0F, 0xFF}));
    EXPECT_EQ(instrument.Firmware().spoiltWrites, 1U);
}

TEST(FpgaImage, FramesCarryUpTo48BytesAndThoseOfTheRecords32)
{
    SimulatedInstrument instrument;
    const HostPort host;
    for (const std::uint32_t address : {0U, kRecordsEnd, kFpgaBytes - 1024}) {
        ASSERT_EQ(host.Ask(EraseFrame(3, address))[4], 0xFF);
        EXPECT_EQ(host.Ask(FpgaWrite(address, Bytes(48, 0x5A)))[4], 0xFF);
        EXPECT_EQ(Part(host.Ask(FpgaRead(address, 48)), 16, 48), Bytes(48, 0x5A));
        ExpectRefused(instrument, host, FpgaRead(address, 49), "byte count 49");
        ExpectRefused(instrument, host, FpgaRead(address, 0), "byte count 0");
    }
    EXPECT_EQ(host.Ask(FpgaWrite(kRecordsBegin, Bytes(32, 0x5A)))[4], 0xFF);
    ExpectRefused(instrument, host, FpgaWrite(kRecordsBegin + 32, Bytes(33, 0x5A)),
                  "byte count 33");
    ExpectRefused(instrument, host, FpgaRead(kRecordsEnd - 33, 33), "byte count 33");
}

TEST(FpgaImage, NoFrameReachesFromTheImageIntoTheRecordsOrBack)
{
    SimulatedInstrument instrument;
    const HostPort host;
    const Bytes before = instrument.HeldImage(Image::Fpga, kFpgaBytes);
    const std::string lower = "48 bytes at 102384 lie in the FPGA image and in the records";
    ExpectRefused(instrument, host, FpgaWrite(102384, Bytes(48, 0)), lower);
    ExpectRefused(instrument, host, FpgaRead(102384, 48), lower);
    ExpectRefused(instrument, host, FpgaWrite(116720, Bytes(17, 0)),
                  "17 bytes at 116720 lie in the FPGA image and in the records");
    ExpectRefused(instrument, host, FpgaRead(122864, 17),
                  "17 bytes at 122864 are outside channel 3");
    EXPECT_EQ(instrument.HeldImage(Image::Fpga, kFpgaBytes), before);
    EXPECT_EQ(host.Ask(FpgaRead(102384, 16))[4], 0xFF);
    EXPECT_EQ(host.Ask(FpgaRead(116720, 16))[4], 0xFF);
    EXPECT_EQ(host.Ask(FpgaRead(122864, 16))[4], 0xFF);
}

// As a host does it: both parts erased, written and read back, then the restart.
TEST(FpgaImage, IsReplacedAroundTheRecordsAndRunsAfterTheRestart)
{
    SimulatedInstrument instrument;
    instrument.SetRestart(AwayFor(10));
    const Bytes records = Part(MakeImage(kFpgaBytes, "", {}), 0, kRecordsEnd - kRecordsBegin);
    instrument.WriteFlash(3, kRecordsBegin, records);
    const Bytes image = NewFpgaImage();
    constexpr std::pair<std::uint32_t, std::uint32_t> kParts[] = {{0, kRecordsBegin},
                                                                  {kRecordsEnd, kFpgaBytes}};
    {
        const HostPort host;
        for (const auto& [begin, end] : kParts) {
            for (std::uint32_t at = begin; at < end; at += 1024) host.Ask(EraseFrame(3, at));
        }
        for (const auto& [begin, end] : kParts) {
            for (std::uint32_t at = begin; at < end; at += 48) {
                const Bytes data = Part(image, at, std::min(48U, end - at));
                ASSERT_EQ(host.Ask(FpgaWrite(at, data))[4], 0xFF) << at;
            }
        }
        for (const auto& [begin, end] : kParts) {
            for (std::uint32_t at = begin; at < end; at += 48) {
                const std::size_t count = std::min(48U, end - at);
                ASSERT_EQ(Part(host.Ask(FpgaRead(at, count)), 16, count), Part(image, at, count));
            }
        }
        EXPECT_EQ(instrument.Firmware().heldFpga.version, kNewVersion);
        EXPECT_EQ(instrument.Firmware().runningFpga.version, (FourBytes{1, 2, 0, 3}));
        EXPECT_EQ(host.Ask(kRestart).size(), 64U);
    }
    ASSERT_TRUE(instrument.WaitForRestarts(1));
    EXPECT_EQ(instrument.Firmware().runningFpga.version, kNewVersion);
    EXPECT_EQ(instrument.Firmware().spoiltWrites, 0U);
    EXPECT_EQ(instrument.RefusalCount(), 0U);
    EXPECT_EQ(instrument.Exchanges(Request::FlashErase).size(), 106U);
    EXPECT_EQ(instrument.Exchanges(Request::FlashWrite).size(), 2134U + 128U);
    const Bytes held = instrument.HeldImage(Image::Fpga, kFpgaBytes);
    EXPECT_EQ(Part(held, 0, kRecordsBegin), Part(image, 0, kRecordsBegin));
    EXPECT_EQ(Part(held, kRecordsBegin, records.size()), records);
    EXPECT_EQ(Part(held, kRecordsEnd, kFpgaBytes - kRecordsEnd),
              Part(image, kRecordsEnd, kFpgaBytes - kRecordsEnd));
}

TEST(Restart, IsAnsweredBeforeTheNodeGoes)
{
    SimulatedInstrument instrument;
    instrument.SetRestart(AwayFor(60000));
    const HostPort host;
    const Bytes reply = host.Ask(kRestart);
    ASSERT_EQ(reply.size(), 64U);
    EXPECT_EQ(reply[0], 0xDD);
    EXPECT_EQ(reply[3], 0xFF);
    EXPECT_TRUE(host.WaitForHangUp());
    EXPECT_FALSE(NodeExists());
    EXPECT_FALSE(instrument.IsPlugged());
}

TEST(Restart, TheNodeComesBackAfterItsTime)
{
    Options options;
    options.restart = AwayFor(150);
    SimulatedInstrument instrument(options);
    const auto start = Clock::now();
    {
        const HostPort host;
        EXPECT_EQ(host.Ask(kRestart).size(), 64U);
        ASSERT_TRUE(instrument.WaitForRestarts(1));
        EXPECT_TRUE(host.WaitForHangUp());  // the old one stays dead
    }
    EXPECT_GE(Clock::now() - start, milliseconds(150));
    const HostPort again;
    EXPECT_EQ(again.Ask(kIdentify, 12).size(), 12U);
}

TEST(Restart, MayEndInSilence)
{
    SimulatedInstrument instrument;
    RestartBehaviour behaviour = AwayFor(0);
    behaviour.comesBack = false;
    instrument.SetRestart(behaviour);
    {
        const HostPort host;
        EXPECT_EQ(host.Ask(kRestart).size(), 64U);
        EXPECT_TRUE(host.WaitForHangUp());
    }
    EXPECT_FALSE(instrument.WaitForRestarts(1, milliseconds(200)));
    EXPECT_FALSE(NodeExists());
    instrument.Plug();
    const HostPort again;
    EXPECT_EQ(again.Ask(kIdentify, 12).size(), 12U);
    EXPECT_EQ(instrument.Firmware().restarts, 0U);
}

TEST(Restart, ForgetsWhatAFreshStartForgets)
{
    SimulatedInstrument instrument;
    instrument.SetRestart(AwayFor(0));
    const HostPort host;
    host.Ask(RelayCommand(3, 20000, 0x010000));
    host.Ask(FlashFrame(true, 18, 0, 1, {0x12}));
    ASSERT_EQ(instrument.Relays().word, 0x010000U);
    host.Ask(kRestart);
    ASSERT_TRUE(instrument.WaitForRestarts(1));
    EXPECT_EQ(instrument.Relays().word, 0U);
    EXPECT_EQ(instrument.ReadFlash(18, 0, 1), Bytes{0x12});
}

TEST(Restart, IsOneByteLong)
{
    SimulatedInstrument instrument;
    const HostPort host;
    ExpectRefused(instrument, host, {0xDD, 0x00}, "2 bytes where 1 (restart) belong");
    EXPECT_TRUE(instrument.IsPlugged());
}

TEST(Restart, HappensThoughItsReplyIsLostOrLate)
{
    SimulatedInstrument instrument;
    instrument.SetRestart(AwayFor(0));
    unsigned restarts = 0;
    for (const FaultKind kind : {FaultKind::Silence, FaultKind::ShortReply, FaultKind::LateReply}) {
        Fault fault;
        fault.kind = kind;
        fault.match = Request::Restart;
        fault.bytes = 63;
        fault.delay = milliseconds(80);
        instrument.Inject(fault);
        const HostPort host;
        const auto start = Clock::now();
        const std::size_t got = host.Ask(kRestart).size();
        const std::size_t expected = kind == FaultKind::Silence      ? 0
                                     : kind == FaultKind::ShortReply ? 63
                                                                     : 64;
        EXPECT_EQ(got, expected);
        ASSERT_TRUE(instrument.WaitForRestarts(++restarts));
        EXPECT_GE(Clock::now() - start, milliseconds(kind == FaultKind::LateReply ? 80 : 0));
    }
}

TEST(Restart, AHangUpAroundItKeepsTheInstrumentAway)
{
    for (const FaultKind kind :
         {FaultKind::HangUpBefore, FaultKind::HangUpDuring, FaultKind::HangUpAfter}) {
        SimulatedInstrument instrument;
        instrument.SetRestart(AwayFor(0));
        Fault fault;
        fault.kind = kind;
        instrument.Inject(fault);
        const HostPort host;
        const std::size_t got = host.Ask(kRestart).size();
        EXPECT_EQ(got, kind == FaultKind::HangUpBefore   ? 0U
                       : kind == FaultKind::HangUpDuring ? 32U
                                                         : 64U);
        EXPECT_TRUE(instrument.WaitUntilUnplugged());
        EXPECT_FALSE(instrument.WaitForRestarts(1, milliseconds(100)));
    }
}

TEST(Restart, TheOwnerMayUnplugOrPlugMeanwhile)
{
    SimulatedInstrument instrument;
    instrument.SetRestart(AwayFor(1000));
    const HostPort host;
    host.Ask(kRestart);
    ASSERT_TRUE(instrument.WaitUntilUnplugged());
    instrument.Unplug();
    EXPECT_FALSE(instrument.WaitForRestarts(1, milliseconds(1300)));

    instrument.Plug();
    instrument.SetRestart(AwayFor(60000));
    const HostPort again;
    again.Ask(kRestart);
    ASSERT_TRUE(instrument.WaitUntilUnplugged());
    instrument.Plug();
    EXPECT_TRUE(NodeExists());
    EXPECT_EQ(instrument.Firmware().restarts, 0U);
}

TEST(Restart, RunsWhatIsHeldAndSoDoesPower)
{
    SimulatedInstrument instrument;
    instrument.SetRestart(AwayFor(0));
    instrument.HoldImage(Image::Fpga, NewFpgaImage());
    EXPECT_EQ(instrument.Firmware().runningFpga.version, (FourBytes{1, 2, 0, 3}));
    const HostPort host;
    host.Ask(kRestart);
    ASSERT_TRUE(instrument.WaitForRestarts(1));
    EXPECT_EQ(instrument.Firmware().runningFpga.version, kNewVersion);

    instrument.HoldImage(Image::Mcu, NewMcuImage());
    instrument.Unplug();
    instrument.Plug();
    EXPECT_EQ(instrument.Firmware().runningMcu.version, kNewVersion);
    EXPECT_EQ(instrument.Firmware().restarts, 1U);
}

TEST(Restart, AnFpgaImageNeedsItsWholeTag)
{
    SimulatedInstrument instrument;
    for (const std::string tag : {"VRAY", "vrax", "WRAX"}) {
        instrument.HoldImage(Image::Fpga, MakeImage(kFpgaBytes, tag, {1, 1, 1, 1}));
        EXPECT_FALSE(instrument.Firmware().heldFpga.isAccepted) << tag;
    }
    instrument.Unplug();
    instrument.Plug();
    EXPECT_FALSE(instrument.Firmware().runningFpga.isAccepted);
    const HostPort host;  // the next start of a host can use it
    EXPECT_EQ(host.Ask(kIdentify, 12).size(), 12U);
}

TEST(HeldImages, HaveTheirLengths)
{
    SimulatedInstrument instrument;
    EXPECT_THROW(instrument.HoldImage(Image::Fpga, Bytes(kFpgaBytes - 1)), std::out_of_range);
    EXPECT_THROW(instrument.HoldImage(Image::Fpga, Bytes(kFpgaBytes + 1)), std::out_of_range);
    EXPECT_THROW(instrument.HoldImage(Image::Mcu, Bytes(kMcuMemoryBytes + 1)), std::out_of_range);
    EXPECT_TRUE(instrument.Firmware().heldFpga.isAccepted);
    instrument.HoldImage(Image::Mcu, {1, 2, 3});
    EXPECT_EQ(instrument.HeldImage(Image::Mcu, 5), (Bytes{1, 2, 3, 0xFF, 0xFF}));
}

TEST(HeldImages, AreKeptWithTheFlash)
{
    Options options;
    SimulatedInstrument first(options);
    first.HoldImage(Image::Fpga, NewFpgaImage());
    first.HoldImage(Image::Mcu, NewMcuImage());
    options.initialFlash = first.SaveFlash();
    options.port = 1;
    SimulatedInstrument second(options);
    EXPECT_EQ(second.Firmware().runningFpga.version, kNewVersion);
    EXPECT_EQ(second.Firmware().runningMcu.version, kNewVersion);

    // As it was written before there was a program to keep.
    options.initialFlash.resize(options.initialFlash.find("channel 185 "));
    options.port = 2;
    SimulatedInstrument third(options);
    EXPECT_EQ(third.Firmware().runningFpga.version, kNewVersion);
    EXPECT_EQ(third.Firmware().runningMcu.version, options.firmware);
}
