// The update of the MCU's program: its mode, its frames, and what runs afterwards.

#include <algorithm>
#include <array>
#include <chrono>
#include <string>

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
using FourBytes = std::array<std::uint8_t, 4>;

constexpr FourBytes kFactoryVersion{2, 1, 0, 7};
constexpr std::uint32_t kTagSector = kTagAt / 1024 * 1024;

RestartBehaviour AwayFor(int ms)
{
    RestartBehaviour behaviour;
    behaviour.away = milliseconds(ms);
    return behaviour;
}

// In update mode, with the first 64 sectors of the MCU's memory erased.
void EnterUpdateMode(const HostPort& host)
{
    ASSERT_EQ(host.Ask(ControlMode(1))[3], 0xFF);
    for (std::uint32_t sector = 0; sector < 64; ++sector) {
        ASSERT_EQ(host.Ask(McuErase(1024 * sector)).size(), 64U);
    }
}

}  // namespace

TEST(UpdateMode, ItsFramesAreRefusedOutside)
{
    SimulatedInstrument instrument;
    const HostPort host;
    const Bytes before = instrument.HeldImage(Image::Mcu, kMcuMemoryBytes);
    ExpectRefused(instrument, host, McuErase(0), "MCU erase outside update mode");
    ExpectRefused(instrument, host, McuWrite(0, {1}), "MCU write outside update mode");
    ExpectRefused(instrument, host, McuRead(0, 1), "MCU read outside update mode");
    EXPECT_EQ(instrument.HeldImage(Image::Mcu, kMcuMemoryBytes), before);
    EXPECT_FALSE(instrument.Firmware().updateMode);
}

TEST(UpdateMode, IsEnteredAndLeftByControlMode)
{
    SimulatedInstrument instrument;
    const HostPort host;
    for (const auto& [mode, isOn] :
         {std::pair{0, false}, {1, true}, {1, true}, {0, false}, {0, false}}) {
        const Bytes reply = host.Ask(ControlMode(static_cast<std::uint8_t>(mode)));
        ASSERT_EQ(reply.size(), 64U);
        EXPECT_EQ(Part(reply, 0, 3), (Bytes{0xB9, 0xFF, 0x00}));
        EXPECT_EQ(reply[3], 0xFF);
        EXPECT_EQ(instrument.Firmware().updateMode, isOn);
    }
}

TEST(UpdateMode, OtherModesAndLengthsAreRefused)
{
    SimulatedInstrument instrument;
    const HostPort host;
    ExpectRefused(instrument, host, ControlMode(2), "control mode 2");
    ExpectRefused(instrument, host, ControlMode(254), "control mode 254");
    ExpectRefused(instrument, host, ControlMode(255), "control mode 255 outside update mode");
    const Bytes mode = ControlMode(1);
    ExpectRefused(instrument, host, Part(mode, 0, 4), "4 bytes where 5 (MCU control mode) belong");
    ExpectRefused(instrument, host, Padded(mode, 6), "6 bytes where 5 (MCU control mode) belong");
    EXPECT_FALSE(instrument.Firmware().updateMode);
    EXPECT_TRUE(instrument.IsPlugged());
}

TEST(UpdateMode, EverythingElseIsAnswered)
{
    SimulatedInstrument instrument;
    const HostPort host;
    host.Ask(ControlMode(1));
    EXPECT_EQ(host.Ask(kIdentify, 12).size(), 12U);
    EXPECT_EQ(host.Ask({0xCC, 0x00, 'B'}).size(), 64U);
    EXPECT_EQ(host.Ask(EraseFrame(3, 0))[4], 0xFF);
    EXPECT_EQ(host.Ask(RelayCommand(3, 20000)).size(), 64U);
    EXPECT_EQ(host.Ask(MakePacket({3, 0, 1, 1, 0})).size(), 64U);
    EXPECT_TRUE(instrument.Firmware().updateMode);
    EXPECT_EQ(instrument.RefusalCount(), 0U);
}

TEST(McuImage, AnEraseClearsItsSectorAlone)
{
    SimulatedInstrument instrument;
    const HostPort host;
    host.Ask(ControlMode(1));
    for (const std::uint32_t address : {0U, 1024U, 0x01C400U}) {
        Bytes expected = instrument.HeldImage(Image::Mcu, kMcuMemoryBytes);
        std::fill_n(expected.begin() + address, 1024, std::uint8_t{0xFF});
        EXPECT_EQ(host.Ask(McuErase(address)).size(), 64U);
        EXPECT_EQ(instrument.HeldImage(Image::Mcu, kMcuMemoryBytes), expected) << address;
    }
}

TEST(McuImage, WritesCarryUpTo32BytesAndReads52)
{
    SimulatedInstrument instrument;
    const HostPort host;
    EnterUpdateMode(host);
    const Bytes data = Part(MakeImage(kFpgaBytes, "", {}), 0, 52);
    EXPECT_EQ(host.Ask(McuWrite(0xFF00, Part(data, 0, 32)))[3], 0xFF);
    EXPECT_EQ(host.Ask(McuWrite(0xFF20, Part(data, 32, 20))).size(), 64U);
    const Bytes reply = host.Ask(McuRead(0xFF00, 52));
    EXPECT_EQ(Part(reply, 8, 52), data);
    EXPECT_EQ(Part(reply, 60, 4), Bytes(4, 0));
    EXPECT_EQ(Part(host.Ask(McuRead(0xFF21, 1)), 8, 2), (Bytes{data[33], 0}));
    ExpectRefused(instrument, host, McuWrite(0, Bytes(33, 1)), "byte count 33");
    ExpectRefused(instrument, host, McuWrite(0, {}), "byte count 0");
    ExpectRefused(instrument, host, McuRead(0, 53), "byte count 53");
    ExpectRefused(instrument, host, McuRead(0, 0), "byte count 0");
}

TEST(McuImage, TheAddressHasThreeBytesHighByteFirst)
{
    SimulatedInstrument instrument;
    const HostPort host;
    host.Ask(ControlMode(1));
    host.Ask(McuErase(0x070400));
    Bytes frame = McuWrite(0, {0x5A});
    frame[5] = 0x07;
    frame[6] = 0x04;
    frame[7] = 0x02;
    EXPECT_EQ(host.Ask(frame).size(), 64U);
    EXPECT_EQ(instrument.HeldImage(Image::Mcu, 0x070403).back(), 0x5A);
    EXPECT_EQ(host.Ask(McuErase(kMcuMemoryBytes - 1024)).size(), 64U);
    ExpectRefused(instrument, host, McuErase(kMcuMemoryBytes),
                  "0 bytes at 524288 are outside the program memory");
    ExpectRefused(instrument, host, McuRead(kMcuMemoryBytes - 1, 2),
                  "2 bytes at 524287 are outside the program memory");
}

TEST(McuImage, ReservedBytesAndPartsOfSectorsAreRefused)
{
    SimulatedInstrument instrument;
    const HostPort host;
    EnterUpdateMode(host);
    const Bytes before = instrument.HeldImage(Image::Mcu, kMcuMemoryBytes);
    ExpectRefused(instrument, host, McuErase(32), "an erase at 32, inside a sector");
    Bytes frame = McuErase(0);
    frame[4] = 1;
    ExpectRefused(instrument, host, frame, "byte 4 is not 0");
    frame = McuWrite(0, {1, 2});
    frame[3] = 1;
    ExpectRefused(instrument, host, frame, "byte 3 is not 0");
    frame = McuWrite(0, {1, 2, 3});
    frame[4] = 2;
    ExpectRefused(instrument, host, frame, "bytes after those of the frame are not 0");
    frame = McuRead(0, 52);
    frame[63] = 1;
    ExpectRefused(instrument, host, frame, "bytes after those of the frame are not 0");
    ExpectRefused(instrument, host, Part(McuRead(0, 52), 0, 63),
                  "63 bytes where 64 (MCU read) belong");
    EXPECT_EQ(instrument.HeldImage(Image::Mcu, kMcuMemoryBytes), before);
}

TEST(McuImage, AWriteOnlyClearsBits)
{
    SimulatedInstrument instrument;
    const HostPort host;
    EnterUpdateMode(host);
    host.Ask(McuWrite(0, {0xF0}));
    EXPECT_EQ(instrument.Firmware().spoiltWrites, 0U);
    EXPECT_EQ(host.Ask(McuWrite(0, {0x3C})).size(), 64U);
    EXPECT_EQ(host.Ask(McuRead(0, 1))[8], 0x30);
    EXPECT_EQ(instrument.Firmware().spoiltWrites, 1U);
}

TEST(McuImage, IsNoStorageChannel)
{
    SimulatedInstrument instrument;
    const HostPort host;
    host.Ask(ControlMode(1));
    ExpectRefused(instrument, host, FlashFrame(false, 0xB9, 0, 1), "no storage channel 185");
    ExpectRefused(instrument, host, EraseFrame(0xB9, 0), "no storage channel 185");
}

// Its length is a whole number of neither sectors nor frames.
TEST(McuImage, IsReplacedAndRunsAfterTheRestart)
{
    SimulatedInstrument instrument;
    instrument.SetRestart(AwayFor(10));
    const Bytes image = MakeImage(118783, "2TF2", {9, 8, 7, 6});
    const auto size = static_cast<std::uint32_t>(image.size());
    const HostPort host;
    host.Ask(ControlMode(1));
    for (std::uint32_t at = 0; at < size; at += 1024) ASSERT_EQ(host.Ask(McuErase(at))[3], 0xFF);
    for (std::uint32_t at = 0; at < size; at += 32) {
        const Bytes data = Part(image, at, std::min(32U, size - at));
        ASSERT_EQ(host.Ask(McuWrite(at, data)).size(), 64U);
    }
    for (std::uint32_t at = 0; at < size; at += 52) {
        const std::size_t count = std::min(52U, size - at);
        ASSERT_EQ(Part(host.Ask(McuRead(at, count)), 8, count), Part(image, at, count)) << at;
    }
    EXPECT_EQ(instrument.HeldImage(Image::Mcu, image.size()), image);
    EXPECT_EQ(instrument.Firmware().runningMcu.version, kFactoryVersion);
    EXPECT_EQ(host.Ask(ControlMode(255))[3], 0xFF);
    EXPECT_TRUE(host.WaitForHangUp());
    ASSERT_TRUE(instrument.WaitForRestarts(1));
    const FirmwareState state = instrument.Firmware();
    EXPECT_EQ(state.runningMcu.version, (FourBytes{9, 8, 7, 6}));
    EXPECT_EQ(state.runningMcu.tag, (FourBytes{'2', 'T', 'F', '2'}));
    EXPECT_FALSE(state.updateMode);
    EXPECT_EQ(state.spoiltWrites, 0U);
    EXPECT_EQ(instrument.RefusalCount(), 0U);
}

TEST(McuImage, AfterABrokenUpdateTheOldProgramGoesOn)
{
    SimulatedInstrument instrument;
    const HostPort host;
    host.Ask(ControlMode(1));
    host.Ask(McuErase(kTagSector));
    EXPECT_EQ(host.Ask(ControlMode(0))[3], 0xFF);
    const FirmwareState state = instrument.Firmware();
    EXPECT_FALSE(state.updateMode);
    EXPECT_TRUE(state.runningMcu.isAccepted);
    EXPECT_EQ(state.runningMcu.version, kFactoryVersion);
    EXPECT_FALSE(state.heldMcu.isAccepted);
}

TEST(McuImage, WithoutAProgramItStartsInUpdateModeAndCanBeUpdated)
{
    SimulatedInstrument instrument;
    instrument.SetRestart(AwayFor(0));
    {
        const HostPort host;
        host.Ask(ControlMode(1));
        host.Ask(McuErase(kTagSector));
        host.Ask(ControlMode(255));
        ASSERT_TRUE(instrument.WaitForRestarts(1));
    }
    EXPECT_TRUE(instrument.Firmware().updateMode);
    EXPECT_FALSE(instrument.Firmware().runningMcu.isAccepted);
    {
        const HostPort host;
        EXPECT_EQ(host.Ask(kIdentify, 12).size(), 12U);
        EXPECT_NE(host.Ask(ControlMode(0))[3], 0xFF);  // there is nothing to return to
        EXPECT_TRUE(instrument.Firmware().updateMode);
        EXPECT_EQ(host.Ask(ControlMode(1))[3], 0xFF);
        EXPECT_EQ(host.Ask(McuWrite(kTagAt, {'2', 'T', 'F', '2', 4, 3, 2, 1}))[3], 0xFF);
        EXPECT_EQ(host.Ask(ControlMode(255))[3], 0xFF);
    }
    ASSERT_TRUE(instrument.WaitForRestarts(2));
    EXPECT_FALSE(instrument.Firmware().updateMode);
    EXPECT_EQ(instrument.Firmware().runningMcu.version, (FourBytes{4, 3, 2, 1}));
}

TEST(McuImage, ItsTagNeedsOneRightLetterInItsPlace)
{
    SimulatedInstrument instrument;
    for (const auto& [tag, isAccepted] : {std::pair{"2TF2", true},
                                          {"2AAA", true},
                                          {"ATAA", true},
                                          {"AAFA", true},
                                          {"AAA2", true},
                                          {"AAAA", false},
                                          {"T22F", false},
                                          {"F2TT", false}}) {
        instrument.HoldImage(Image::Mcu, MakeImage(kFpgaBytes, tag, {1, 1, 1, 1}));
        EXPECT_EQ(instrument.Firmware().heldMcu.isAccepted, isAccepted) << tag;
    }
}
