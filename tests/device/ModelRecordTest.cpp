// The manufacturing writers: the model record, the hardware version and the manufacturing block.

#include <gtest/gtest.h>

#include <numeric>
#include <vector>

#include "device/Identification.h"
#include "support/Frames.h"
#include "support/OpenInstrument.h"
#include "support/Timing.h"
#include "vrax.h"

using instrument::FaultKind;
using instrument::Request;

namespace {
const Bytes kRead = ReadRequest(1, 0, 12);
const Bytes kErase = EraseRequest(1, 0);
// As made: letters EC, code 0x1020, year 25, number 42, hardware 1.4, firmware 2.1.
const Bytes kAsMade = {'T', 'E', 'C', 0x10, 0x20, 25, 0, 42, 1, 4, 2, 1};
const Bytes kNewRecord = {'T', 'Q', 'Z', 0xAB, 0xCD, 0x34, 0x56, 0x78, 1, 4, 2, 1};
constexpr MODEL_INFORMATION kNewModel = {{'Q', 'Z'}, {0xAB, 0xCD}, 0x12345678, 0x1234, {1, 2, 0}};

Bytes MainRecord(const instrument::SimulatedInstrument& device)
{
    return device.ReadFlash(1, 0, 12);
}
}  // namespace

TEST(ModelRecord, IsReadErasedAndWrittenBack)
{
    COpenInstrument opened;
    EXPECT_TRUE(VRAXSetDeviceInformation(&kNewModel));
    EXPECT_EQ(Requests(opened.device.Exchanges()),
              (std::vector<Bytes>{kRead, kErase, WriteRequest(1, 0, kNewRecord)}));
    EXPECT_EQ(MainRecord(opened.device), kNewRecord);  // the versions stay
    const MODEL_INFORMATION info = g_ModelInfo.Load();
    EXPECT_EQ(info.typeLetters[0], 'Q');
    EXPECT_EQ(info.sequenceNumber, 0x12345678u);
    EXPECT_EQ(info.yearOrLot, 0x1234u);
    EXPECT_EQ(info.ledTypes[2], 0);
}

TEST(ModelRecord, WaitsForTheErase)
{
    std::vector<double> erase;
    COpenInstrument opened;
    for (int i = 0; i < 5; ++i) {
        opened.device.ClearExchanges();
        const CStopwatch watch;
        ASSERT_TRUE(VRAXSetHWInformation(1, 4));
        EXPECT_GE(watch.Ms(), 40.0);
        const auto exchanges = opened.device.Exchanges();
        ASSERT_EQ(exchanges.size(), 3u);
        erase.push_back(MsBetween(exchanges[1].arrived, exchanges[2].arrived));
    }
    EXPECT_GE(MedianMs(erase), 40.0 - kStampJitterMs);
}

TEST(ModelRecord, NeedsAnOpenPortButNoConnection)
{
    EXPECT_FALSE(VRAXSetDeviceInformation(&kNewModel));
    EXPECT_FALSE(VRAXSetHWInformation(7, 8));
    COpenInstrument opened;
    EXPECT_FALSE(VRAXIsConnected());
    EXPECT_FALSE(VRAXSetDeviceInformation(nullptr));
    EXPECT_TRUE(opened.device.Exchanges().empty());
    EXPECT_TRUE(VRAXSetDeviceInformation(&kNewModel));
}

TEST(ModelRecord, IsLeftAloneWhenItCannotBeRead)
{
    instrument::Fault shortReply = FaultOn(Request::FlashRead, FaultKind::ShortReply);
    shortReply.bytes = 63;
    for (const auto& fault : {FaultOn(Request::FlashRead, FaultKind::Silence), shortReply}) {
        COpenInstrument opened;
        opened.device.Inject(fault);
        EXPECT_FALSE(VRAXSetDeviceInformation(&kNewModel));
        EXPECT_EQ(Requests(opened.device.Exchanges()), std::vector<Bytes>{kRead});
        EXPECT_EQ(MainRecord(opened.device), kAsMade);
        EXPECT_EQ(g_ModelInfo.Load().typeLetters[0], 'E');
    }
}

TEST(ModelRecord, IsNotWrittenWhenTheEraseIsNotAnswered)
{
    COpenInstrument opened;
    opened.device.Inject(FaultOn(Request::FlashErase, FaultKind::Silence));
    EXPECT_FALSE(VRAXSetDeviceInformation(&kNewModel));
    EXPECT_EQ(Requests(opened.device.Exchanges()), (std::vector<Bytes>{kRead, kErase}));
    EXPECT_EQ(g_ModelInfo.Load().typeLetters[0], 'E');
}

TEST(ModelRecord, CountsAsWrittenOnlyWhenAcknowledged)
{
    instrument::Fault almost = FaultOn(Request::FlashWrite, FaultKind::WrongAcknowledge);
    almost.data = {0xFE};
    for (const auto& fault : {FaultOn(Request::FlashWrite, FaultKind::WrongAcknowledge), almost,
                              FaultOn(Request::FlashWrite, FaultKind::Silence)}) {
        COpenInstrument opened;
        opened.device.Inject(fault);
        EXPECT_FALSE(VRAXSetDeviceInformation(&kNewModel));
        EXPECT_EQ(opened.device.Exchanges().size(), 3u);
        EXPECT_EQ(g_ModelInfo.Load().typeLetters[0], 'E');
    }
}

TEST(HardwareVersion, IsWrittenAndTheModelStays)
{
    COpenInstrument opened;
    EXPECT_TRUE(VRAXSetHWInformation(7, 8));
    Bytes expected = kAsMade;
    expected[8] = 7;
    expected[9] = 8;
    EXPECT_EQ(Requests(opened.device.Exchanges()),
              (std::vector<Bytes>{kRead, kErase, WriteRequest(1, 0, expected)}));
    EXPECT_EQ(MainRecord(opened.device), expected);
    EXPECT_STREQ(VRAXGetHWVersion(), "7.8");
    EXPECT_STREQ(VRAXGetFWVersion(), "2.1.00.07");
    EXPECT_STREQ(VRAXGetSerialNumber(), "TEC1020-250042");
}

TEST(HardwareVersion, StaysWhenAStepFails)
{
    for (const Request step : {Request::FlashRead, Request::FlashErase, Request::FlashWrite}) {
        COpenInstrument opened;
        opened.device.Inject(FaultOn(step, FaultKind::Silence));
        EXPECT_FALSE(VRAXSetHWInformation(7, 8));
        EXPECT_STREQ(VRAXGetHWVersion(), "1.4");
    }
}

TEST(ManufacturingBlock, IsWrittenAndReadBack)
{
    COpenInstrument opened;
    Bytes data(64);
    std::iota(data.begin(), data.end(), std::uint8_t{1});
    EXPECT_TRUE(VRAXWriteMfgInfo(data.data(), 64));
    Bytes copy(64);
    EXPECT_TRUE(VRAXReadMfgInfo(copy.data(), 64));
    EXPECT_EQ(copy, data);
    const Bytes first(data.begin(), data.begin() + 32);
    const Bytes second(data.begin() + 32, data.end());
    EXPECT_EQ(Requests(opened.device.Exchanges()),
              (std::vector<Bytes>{EraseRequest(3, 115712), WriteRequest(3, 115712, first),
                                  WriteRequest(3, 115744, second), ReadRequest(3, 115712, 32),
                                  ReadRequest(3, 115744, 32)}));
}

TEST(ManufacturingBlock, HasAtMost64Bytes)
{
    COpenInstrument opened;
    const Bytes data(100, 0x5A);
    EXPECT_TRUE(VRAXWriteMfgInfo(data.data(), 100));
    EXPECT_EQ(opened.device.ReadFlash(3, 115712, 64), Bytes(64, 0x5A));
    EXPECT_EQ(opened.device.ReadFlash(3, 115776, 36), Bytes(36, 0xFF));
    Bytes copy(100, 0x11);
    EXPECT_TRUE(VRAXReadMfgInfo(copy.data(), 100));
    EXPECT_EQ(Bytes(copy.begin(), copy.begin() + 64), Bytes(64, 0x5A));
    EXPECT_EQ(Bytes(copy.begin() + 64, copy.end()), Bytes(36, 0x11));
}

TEST(ManufacturingBlock, IsNotWrittenWhenTheEraseFails)
{
    COpenInstrument opened;
    opened.device.Inject(FaultOn(Request::FlashErase, FaultKind::Silence));
    const Bytes data(10, 1);
    EXPECT_FALSE(VRAXWriteMfgInfo(data.data(), 10));
    EXPECT_EQ(opened.device.Exchanges().size(), 1u);
}

TEST(ManufacturingBlock, NeedsAnOpenPortAndABuffer)
{
    Bytes data(10);
    EXPECT_FALSE(VRAXWriteMfgInfo(data.data(), 10));
    EXPECT_FALSE(VRAXReadMfgInfo(data.data(), 10));
    COpenInstrument opened;
    EXPECT_FALSE(VRAXWriteMfgInfo(nullptr, 10));
    EXPECT_FALSE(VRAXReadMfgInfo(nullptr, 10));
    EXPECT_FALSE(VRAXWriteMfgInfo(data.data(), -1));
    EXPECT_FALSE(VRAXReadMfgInfo(data.data(), -1));
    EXPECT_TRUE(opened.device.Exchanges().empty());
}
