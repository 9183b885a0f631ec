#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <vector>

#include "storage/Flash.h"
#include "support/Frames.h"
#include "support/OpenInstrument.h"
#include "support/Timing.h"

using instrument::FaultKind;
using instrument::Request;

namespace {
using Words = std::vector<std::uint16_t>;

Bytes Counting(std::size_t size, std::uint8_t first = 1)
{
    Bytes bytes(size);
    std::iota(bytes.begin(), bytes.end(), first);
    return bytes;
}

Words CountingWords(std::size_t size)
{
    Words words(size);
    std::iota(words.begin(), words.end(), std::uint16_t{0x1200});
    return words;
}

// Most significant byte first.
Bytes OnTheWire(const Words& words)
{
    Bytes bytes;
    for (const std::uint16_t word : words) {
        bytes.push_back(static_cast<std::uint8_t>(word >> 8));
        bytes.push_back(static_cast<std::uint8_t>(word));
    }
    return bytes;
}

bool ReadBytes(StorageChannel channel, std::uint32_t address, Bytes& data)
{
    CExchange line;
    return FlashRead(channel, address, data.data(), data.size());
}

bool WriteBytes(StorageChannel channel, std::uint32_t address, const Bytes& data)
{
    CExchange line;
    return FlashWrite(channel, address, data.data(), data.size());
}

bool ReadWords(StorageChannel channel, std::uint32_t address, Words& data)
{
    CExchange line;
    return DoReadFlash(address, channel, data.data(), data.size());
}

bool WriteWords(StorageChannel channel, std::uint32_t address, const Words& data)
{
    CExchange line;
    return DoWriteFlash(address, channel, data.data(), data.size());
}

bool Erase(StorageChannel channel, std::uint32_t address)
{
    CExchange line;
    return FlashErase(channel, address);
}

instrument::Fault Unacknowledged(Request request, unsigned skip)
{
    instrument::Fault fault = FaultOn(request, FaultKind::WrongAcknowledge, skip);
    fault.data = {0xFE};
    return fault;
}

instrument::Fault Short(Request request, unsigned skip)
{
    instrument::Fault fault = FaultOn(request, FaultKind::ShortReply, skip);
    fault.bytes = 63;
    return fault;
}
}  // namespace

TEST(Flash, BytesAreReadInChunksOf32)
{
    COpenInstrument opened;
    const Bytes stored = Counting(70);
    opened.device.WriteFlash(3, 0x1234, stored);
    Bytes data(70, 0xEE);
    EXPECT_TRUE(ReadBytes(StorageChannel::kECGBoard, 0x1234, data));
    EXPECT_EQ(data, stored);
    EXPECT_EQ(Requests(opened.device.Exchanges()),
              (std::vector<Bytes>{ReadRequest(3, 0x1234, 32), ReadRequest(3, 0x1254, 32),
                                  ReadRequest(3, 0x1274, 6)}));
}

TEST(Flash, ByteReadsPauseAfterEachReply)
{
    COpenInstrument opened;
    Bytes data(192);
    const CStopwatch watch;
    ASSERT_TRUE(ReadBytes(StorageChannel::kECGBoard, 0, data));
    EXPECT_GE(watch.Ms(), 6 * 6.0);
    EXPECT_GE(MedianGapAfterReplyMs(opened.device.Exchanges()), 6.0 - kStampJitterMs);
}

TEST(Flash, A33ByteWriteMakesTwoFrames)
{
    COpenInstrument opened;
    const Bytes data = Counting(33);
    EXPECT_TRUE(WriteBytes(StorageChannel::kECGBoard, 115712, data));
    const Bytes first(data.begin(), data.begin() + 32);
    EXPECT_EQ(Requests(opened.device.Exchanges()),
              (std::vector<Bytes>{WriteRequest(3, 115712, first),
                                  WriteRequest(3, 115712 + 32, {data[32]})}));
    EXPECT_EQ(opened.device.ReadFlash(3, 115712, 33), data);
}

TEST(Flash, WritesWaitBeforeAndAfterEachReply)
{
    COpenInstrument opened;
    const CStopwatch watch;
    ASSERT_TRUE(WriteBytes(StorageChannel::kECGBoard, 0, Counting(6 * 32)));
    EXPECT_GE(watch.Ms(), 6 * 46.0);
    EXPECT_GE(MedianArrivalGapMs(opened.device.Exchanges()), 46.0 - kStampJitterMs);
    EXPECT_GE(MedianGapAfterReplyMs(opened.device.Exchanges()), 46.0 - kStampJitterMs);

    opened.device.ClearExchanges();
    const CStopwatch words;
    ASSERT_TRUE(WriteWords(StorageChannel::kECGBoard, 0, CountingWords(6 * 16)));
    EXPECT_GE(words.Ms(), 6 * 46.0);
    EXPECT_GE(MedianArrivalGapMs(opened.device.Exchanges()), 46.0 - kStampJitterMs);
}

// 6 ms before the reply is read, 40 ms after it: a late reply puts the second wait off.
TEST(Flash, TheLongerWaitOfAWriteBeginsWithItsReply)
{
    COpenInstrument opened;
    instrument::Fault late = FaultOn(Request::FlashWrite, FaultKind::LateReply);
    late.delay = instrument::Milliseconds(25);
    late.count = 0;
    opened.device.Inject(late);
    const CStopwatch watch;
    ASSERT_TRUE(WriteBytes(StorageChannel::kECGBoard, 0, Counting(6 * 32)));
    EXPECT_GE(watch.Ms(), 6 * (25.0 + 40.0));
    EXPECT_GE(MedianGapAfterReplyMs(opened.device.Exchanges()), 40.0 - kStampJitterMs);
}

TEST(Flash, WordsAreReadInChunksOf16HighByteFirst)
{
    COpenInstrument opened;
    const Words stored = CountingWords(33);
    opened.device.WriteFlash(18, 0x0102, OnTheWire(stored));
    Words data(33, 0xEEEE);
    EXPECT_TRUE(ReadWords(StorageChannel::kECGVariableDC, 0x0102, data));
    EXPECT_EQ(data, stored);
    EXPECT_EQ(Requests(opened.device.Exchanges()),
              (std::vector<Bytes>{ReadRequest(18, 0x0102, 32), ReadRequest(18, 0x0122, 32),
                                  ReadRequest(18, 0x0142, 2)}));
}

TEST(Flash, A4001WordReadEndsWithAOneWordChunk)
{
    COpenInstrument opened;
    Words data(4001);
    EXPECT_TRUE(ReadWords(StorageChannel::kECGVariableDC, 0, data));
    const auto exchanges = opened.device.Exchanges();
    ASSERT_EQ(exchanges.size(), 251u);
    for (std::uint32_t i = 0; i < 250; ++i) {
        ASSERT_EQ(exchanges[i].request, ReadRequest(18, 32 * i, 32)) << "frame " << i;
    }
    EXPECT_EQ(exchanges[250].request, ReadRequest(18, 8000, 2));
    EXPECT_EQ(data, Words(4001, 0xFFFF));
}

TEST(Flash, WordsAreWrittenInChunksOf16HighByteFirst)
{
    COpenInstrument opened;
    const Words data = CountingWords(17);
    EXPECT_TRUE(WriteWords(StorageChannel::kECGVariableDC, 0x40, data));
    const Words first(data.begin(), data.begin() + 16);
    EXPECT_EQ(Requests(opened.device.Exchanges()),
              (std::vector<Bytes>{WriteRequest(18, 0x40, OnTheWire(first)),
                                  WriteRequest(18, 0x60, OnTheWire({data[16]}))}));
    EXPECT_EQ(opened.device.ReadFlash(18, 0x40, 34), OnTheWire(data));
}

TEST(Flash, TheAddressHasFourBytesHighByteFirst)
{
    COpenInstrument opened;
    Bytes data(1);
    EXPECT_FALSE(ReadBytes(StorageChannel::kECGBoard, 0x12345678, data));  // there is none such
    const Bytes request = opened.device.Exchanges().at(0).request;
    EXPECT_EQ(Bytes(request.begin() + 8, request.begin() + 12), (Bytes{0x12, 0x34, 0x56, 0x78}));
}

TEST(Flash, EveryChannelHasItsNumber)
{
    COpenInstrument opened(0x3407u);
    Bytes data(1);
    for (const auto& [channel, number] :
         {std::pair{StorageChannel::kMainBoard, 1}, std::pair{StorageChannel::kECGBoard, 3},
          std::pair{StorageChannel::kECGVariableDC, 18},
          std::pair{StorageChannel::kPPGModule, 19}}) {
        opened.device.ClearExchanges();
        EXPECT_TRUE(ReadBytes(channel, 5, data));
        EXPECT_EQ(opened.device.Exchanges().at(0).request,
                  ReadRequest(static_cast<std::uint8_t>(number), 5, 1));
    }
}

TEST(Flash, NothingToTransferSendsNothing)
{
    COpenInstrument opened;
    std::uint8_t bytes[1] = {0xEE};
    std::uint16_t words[1] = {0xEEEE};
    CExchange line;
    EXPECT_TRUE(FlashRead(StorageChannel::kECGBoard, 0, bytes, 0));
    EXPECT_TRUE(FlashWrite(StorageChannel::kECGBoard, 0, bytes, 0));
    EXPECT_TRUE(DoReadFlash(0, StorageChannel::kECGBoard, words, 0));
    EXPECT_TRUE(DoWriteFlash(0, StorageChannel::kECGBoard, words, 0));
    EXPECT_EQ(bytes[0], 0xEE);
    EXPECT_EQ(words[0], 0xEEEE);
    EXPECT_TRUE(opened.device.Exchanges().empty());
}

// What came before stays, what did not come is zero.
TEST(Flash, AByteReadEndsWithTheFrameThatFails)
{
    for (const auto& fault :
         {FaultOn(Request::FlashRead, FaultKind::Silence, 1), Short(Request::FlashRead, 1),
          Unacknowledged(Request::FlashRead, 1)}) {
        COpenInstrument opened;
        opened.device.WriteFlash(3, 0, Counting(96));
        opened.device.Inject(fault);
        Bytes data(96, 0xEE);
        EXPECT_FALSE(ReadBytes(StorageChannel::kECGBoard, 0, data));
        EXPECT_EQ(opened.device.Exchanges().size(), 2u);
        EXPECT_EQ(Bytes(data.begin(), data.begin() + 32), Counting(32));
        EXPECT_EQ(Bytes(data.begin() + 32, data.end()), Bytes(64, 0));
    }
}

TEST(Flash, AWordReadEndsWithTheFrameThatFails)
{
    for (const auto& fault :
         {FaultOn(Request::FlashRead, FaultKind::Silence, 1), Short(Request::FlashRead, 1),
          Unacknowledged(Request::FlashRead, 1)}) {
        COpenInstrument opened;
        opened.device.WriteFlash(3, 0, OnTheWire(CountingWords(48)));
        opened.device.Inject(fault);
        Words data(48, 0xEEEE);
        EXPECT_FALSE(ReadWords(StorageChannel::kECGBoard, 0, data));
        EXPECT_EQ(opened.device.Exchanges().size(), 2u);
        EXPECT_EQ(Words(data.begin(), data.begin() + 16), CountingWords(16));
        EXPECT_EQ(Words(data.begin() + 16, data.end()), Words(32, 0));
    }
}

TEST(Flash, AWriteEndsWithTheFrameThatFails)
{
    for (const auto& fault :
         {FaultOn(Request::FlashWrite, FaultKind::Silence, 1), Short(Request::FlashWrite, 1),
          Unacknowledged(Request::FlashWrite, 1)}) {
        COpenInstrument opened;
        opened.device.Inject(fault);
        EXPECT_FALSE(WriteBytes(StorageChannel::kECGBoard, 0, Counting(96)));
        EXPECT_EQ(opened.device.Exchanges().size(), 2u);
        opened.device.Inject(fault);
        EXPECT_FALSE(WriteWords(StorageChannel::kECGBoard, 0, CountingWords(48)));
        EXPECT_EQ(opened.device.Exchanges().size(), 4u);
    }
}

TEST(Flash, AnEraseClearsItsSectorOf1024Bytes)
{
    COpenInstrument opened;
    opened.device.WriteFlash(3, 1024, Bytes(3 * 1024, 0));
    EXPECT_TRUE(Erase(StorageChannel::kECGBoard, 2048));
    EXPECT_EQ(opened.device.Exchanges().at(0).request, EraseRequest(3, 2048));
    EXPECT_EQ(opened.device.ReadFlash(3, 1024, 1024), Bytes(1024, 0));
    EXPECT_EQ(opened.device.ReadFlash(3, 2048, 1024), Bytes(1024, 0xFF));
    EXPECT_EQ(opened.device.ReadFlash(3, 3072, 1024), Bytes(1024, 0));
}

TEST(Flash, AnEraseWaits)
{
    COpenInstrument opened;
    for (int i = 0; i < 5; ++i) {
        const CStopwatch watch;
        ASSERT_TRUE(Erase(StorageChannel::kECGBoard, 0));
        EXPECT_GE(watch.Ms(), 40.0);
    }
    EXPECT_GE(MedianArrivalGapMs(opened.device.Exchanges()), 40.0 - kStampJitterMs);
}

TEST(Flash, AnEraseNeedsAWholeReplyWhateverItHolds)
{
    COpenInstrument opened;
    opened.device.Inject(FaultOn(Request::FlashErase, FaultKind::WrongAcknowledge));
    EXPECT_TRUE(Erase(StorageChannel::kECGBoard, 0));
    opened.device.Inject(FaultOn(Request::FlashErase, FaultKind::WrongBytes));
    EXPECT_TRUE(Erase(StorageChannel::kECGBoard, 0));
    opened.device.Inject(Short(Request::FlashErase, 0));
    EXPECT_FALSE(Erase(StorageChannel::kECGBoard, 0));
    opened.device.Inject(FaultOn(Request::FlashErase, FaultKind::Silence));
    EXPECT_FALSE(Erase(StorageChannel::kECGBoard, 0));
}

TEST(Flash, WithoutAPortEverythingFails)
{
    Bytes bytes(8, 0xEE);
    Words words(8, 0xEEEE);
    EXPECT_FALSE(ReadBytes(StorageChannel::kECGBoard, 0, bytes));
    EXPECT_EQ(bytes, Bytes(8, 0));
    EXPECT_FALSE(ReadWords(StorageChannel::kECGBoard, 0, words));
    EXPECT_EQ(words, Words(8, 0));
    EXPECT_FALSE(WriteBytes(StorageChannel::kECGBoard, 0, bytes));
    EXPECT_FALSE(WriteWords(StorageChannel::kECGBoard, 0, words));
    EXPECT_FALSE(Erase(StorageChannel::kECGBoard, 0));
}

// The frames of one record go out within one hold of the line.
TEST(Flash, NoFrameGoesOutWithoutTheLine)
{
    COpenInstrument opened;
    g_bConnected = 1;
    s_ECGGoing = true;
    {
        const CReleaseWaitingCommands release;
        Bytes data(8);
        EXPECT_FALSE(ReadBytes(StorageChannel::kECGBoard, 0, data));
        EXPECT_FALSE(Erase(StorageChannel::kECGBoard, 0));
    }
    s_ECGGoing = false;
    g_bConnected = 0;
    EXPECT_TRUE(opened.device.Exchanges().empty());
}
