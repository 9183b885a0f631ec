#include "storage/Records.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include "support/Frames.h"
#include "support/OpenInstrument.h"
#include "support/Timing.h"

using instrument::FaultKind;
using instrument::Request;

namespace {
using Words = std::vector<std::uint16_t>;

// Bytes of big-endian words, none of them erased.
Bytes ProgrammedWords(std::size_t count)
{
    Bytes bytes;
    for (std::size_t i = 0; i < count; ++i) {
        bytes.push_back(static_cast<std::uint8_t>((i + 1) >> 8));
        bytes.push_back(static_cast<std::uint8_t>(i + 1));
    }
    return bytes;
}

std::vector<Bytes> Erases(std::uint8_t channel, std::uint32_t address, std::uint32_t count)
{
    std::vector<Bytes> frames;
    for (std::uint32_t k = 0; k < count; ++k) {
        frames.push_back(EraseRequest(channel, address + 1024 * k));
    }
    return frames;
}

void AppendFloats(Bytes& bytes, std::initializer_list<float> values)
{
    for (const float value : values) {
        std::uint8_t raw[4];
        std::memcpy(raw, &value, 4);
        bytes.insert(bytes.end(), raw, raw + 4);
    }
}
}  // namespace

TEST(OldCalibrationRecord, OfAnErasedBoardIsNotReadBeyondItsProbe)
{
    COpenInstrument opened;
    Words data(kDCCalibrationWords, 0xEEEE);
    EXPECT_FALSE(ReadFlashCalibrationData(data.data()));
    EXPECT_EQ(Requests(opened.device.Exchanges()), std::vector<Bytes>{ReadRequest(3, 104400, 32)});
}

TEST(OldCalibrationRecord, IsNotReadWhenOneProbeWordIsErased)
{
    for (const std::uint32_t word : {1000u, 1007u, 1015u}) {
        COpenInstrument opened;
        opened.device.WriteFlash(3, 102400, ProgrammedWords(kDCCalibrationWords));
        opened.device.WriteFlash(3, 102400 + 2 * word, {0xFF, 0xFF});
        Words data(kDCCalibrationWords);
        EXPECT_FALSE(ReadFlashCalibrationData(data.data()));
        EXPECT_EQ(opened.device.Exchanges().size(), 1u);
    }
}

TEST(OldCalibrationRecord, IsReadWhenItsProbeIsProgrammed)
{
    COpenInstrument opened;
    opened.device.WriteFlash(3, 102400, ProgrammedWords(kDCCalibrationWords));
    // Erased words beside the probe do not count.
    opened.device.WriteFlash(3, 102400 + 2 * 999, {0xFF, 0xFF});
    opened.device.WriteFlash(3, 102400 + 2 * 1016, {0xFF, 0xFF});
    Words data(kDCCalibrationWords);
    EXPECT_TRUE(ReadFlashCalibrationData(data.data()));
    const auto exchanges = opened.device.Exchanges();
    ASSERT_EQ(exchanges.size(), 1u + 251u);
    EXPECT_EQ(exchanges[1].request, ReadRequest(3, 102400, 32));
    EXPECT_EQ(exchanges[251].request, ReadRequest(3, 102400 + 8000, 2));
    EXPECT_EQ(data[0], 1);
    EXPECT_EQ(data[999], 0xFFFF);
    EXPECT_EQ(data[4000], 4001);
}

TEST(OldCalibrationRecord, FailsWhenItsProbeOrItsDataCannotBeRead)
{
    for (const unsigned skip : {0u, 100u}) {
        COpenInstrument opened;
        opened.device.WriteFlash(3, 102400, ProgrammedWords(kDCCalibrationWords));
        opened.device.Inject(FaultOn(Request::FlashRead, FaultKind::Silence, skip));
        Words data(kDCCalibrationWords);
        EXPECT_FALSE(ReadFlashCalibrationData(data.data()));
        EXPECT_EQ(opened.device.Exchanges().size(), skip + 1);
    }
}

TEST(OldCalibrationRecord, IsClearedIn14Sectors)
{
    COpenInstrument opened;
    EXPECT_TRUE(ClearFlashCalibrationData());
    EXPECT_EQ(Requests(opened.device.Exchanges()), Erases(3, 102400, 14));
    EXPECT_GE(MedianArrivalGapMs(opened.device.Exchanges()), 40.0 - kStampJitterMs);
}

TEST(OldCalibrationRecord, ClearingEndsWithTheFirstFailure)
{
    COpenInstrument opened;
    opened.device.Inject(FaultOn(Request::FlashErase, FaultKind::Silence, 3));
    EXPECT_FALSE(ClearFlashCalibrationData());
    EXPECT_EQ(Requests(opened.device.Exchanges()), Erases(3, 102400, 4));
}

TEST(CalibrationRecord, IsReadAs4001Words)
{
    COpenInstrument opened;
    opened.device.WriteFlash(18, 0, ProgrammedWords(kDCCalibrationWords));
    Words data(kDCCalibrationWords);
    EXPECT_TRUE(ReadDCVariableCalibrationData(data.data()));
    EXPECT_EQ(opened.device.Exchanges().size(), 251u);
    for (std::size_t i = 0; i < data.size(); ++i) ASSERT_EQ(data[i], i + 1);
}

TEST(CalibrationRecord, IsWrittenWithoutAnErase)
{
    Words data(kDCCalibrationWords);
    for (std::size_t i = 0; i < data.size(); ++i) data[i] = static_cast<std::uint16_t>(i + 1);
    COpenInstrument opened;
    EXPECT_TRUE(CopyDCVariableCalibrationData(data.data()));
    EXPECT_EQ(opened.device.ReadFlash(18, 0, 8002), ProgrammedWords(kDCCalibrationWords));
    EXPECT_EQ(opened.device.Exchanges().size(), 251u);
    EXPECT_EQ(opened.device.Exchanges(Request::FlashWrite).size(), 251u);
    EXPECT_EQ(opened.device.Exchanges().back().request, WriteRequest(18, 8000, {0x0F, 0xA1}));
    EXPECT_GE(MedianArrivalGapMs(opened.device.Exchanges()), 46.0 - kStampJitterMs);
}

TEST(CalibrationRecord, WritingEndsWithTheFirstFailure)
{
    const Words data(kDCCalibrationWords);
    COpenInstrument opened;
    opened.device.Inject(FaultOn(Request::FlashWrite, FaultKind::WrongAcknowledge, 2));
    EXPECT_FALSE(WriteDCVariableCalibrationData(data.data()));
    EXPECT_EQ(opened.device.Exchanges().size(), 3u);
}

TEST(CalibrationRecord, IsClearedIn14Sectors)
{
    COpenInstrument opened;
    opened.device.WriteFlash(18, 0, Bytes(15 * 1024, 0));
    EXPECT_TRUE(ClearDCVariableCalibrationData());
    EXPECT_EQ(Requests(opened.device.Exchanges()), Erases(18, 0, 14));
    EXPECT_EQ(opened.device.ReadFlash(18, 0, 14 * 1024), Bytes(14 * 1024, 0xFF));
    EXPECT_EQ(opened.device.ReadFlash(18, 14 * 1024, 1024), Bytes(1024, 0));
    EXPECT_GE(MedianArrivalGapMs(opened.device.Exchanges()), 40.0 - kStampJitterMs);
}

TEST(CalibrationRecord, ClearingNeedsWholeReplies)
{
    COpenInstrument opened;
    instrument::Fault shortReply = FaultOn(Request::FlashErase, FaultKind::ShortReply, 5);
    shortReply.bytes = 63;
    opened.device.Inject(shortReply);
    EXPECT_FALSE(ClearDCVariableCalibrationData());
    EXPECT_EQ(Requests(opened.device.Exchanges()), Erases(18, 0, 6));
}

TEST(FactorySetting, IsReadAs64Bytes)
{
    COpenInstrument opened(0x3407u);
    FACTORY_SETTING setting = {};
    EXPECT_TRUE(ReadFactorySetting(&setting));
    EXPECT_EQ(Requests(opened.device.Exchanges()),
              (std::vector<Bytes>{ReadRequest(19, 5120, 32), ReadRequest(19, 5152, 32)}));
    EXPECT_EQ(setting.valid, 1);
    EXPECT_EQ(setting.ledLevel1, 150);
    EXPECT_EQ(setting.ledLevel2, 151);
    EXPECT_EQ(setting.triggerLevel1, 60);
    EXPECT_EQ(setting.triggerLevel2, 61);
    EXPECT_EQ(setting.ledLevel3, 152);
    EXPECT_EQ(setting.triggerLevel3, 62);
}

TEST(FactorySetting, IsInvalidOnlyWhenItsFirstByteIsErased)
{
    COpenInstrument opened(0x3407u);
    FACTORY_SETTING setting = {};
    for (const int first : {0x00, 0x02, 0xFE}) {
        opened.device.WriteFlash(19, 5120, {static_cast<std::uint8_t>(first)});
        EXPECT_TRUE(ReadFactorySetting(&setting));
        EXPECT_EQ(setting.valid, first);
    }
    opened.device.WriteFlash(19, 5120, {0xFF});
    EXPECT_FALSE(ReadFactorySetting(&setting));
}

TEST(FactorySetting, FailsWhenItCannotBeReadOrThereIsNoModule)
{
    FACTORY_SETTING setting = {};
    {
        COpenInstrument opened(0x3407u);
        opened.device.Inject(FaultOn(Request::FlashRead, FaultKind::Silence, 1));
        EXPECT_FALSE(ReadFactorySetting(&setting));
    }
    const COpenInstrument without;
    EXPECT_FALSE(ReadFactorySetting(&setting));
    EXPECT_FALSE(WriteFactorySetting(&setting));
}

TEST(FactorySetting, IsWrittenBackWithoutAnErase)
{
    COpenInstrument opened(0x3407u);
    FACTORY_SETTING setting;
    ASSERT_TRUE(ReadFactorySetting(&setting));
    setting.ledLevel1 = 77;
    setting.rest[56] = 0x99;
    opened.device.ClearExchanges();
    EXPECT_TRUE(WriteFactorySetting(&setting));
    Bytes raw(64);
    std::memcpy(raw.data(), &setting, 64);
    EXPECT_EQ(Requests(opened.device.Exchanges()),
              (std::vector<Bytes>{WriteRequest(19, 5120, Bytes(raw.begin(), raw.begin() + 32)),
                                  WriteRequest(19, 5152, Bytes(raw.begin() + 32, raw.end()))}));
    EXPECT_EQ(opened.device.ReadFlash(19, 5120, 64), raw);
}

TEST(McuFactorySetting, IsReadAs128LittleEndianWords)
{
    COpenInstrument opened(0x3407u);
    Bytes stored;
    for (unsigned i = 0; i < 256; ++i) stored.push_back(static_cast<std::uint8_t>(i));
    opened.device.WriteFlash(19, 5248, stored);
    FACTORY_SETTING_MCU setting;
    EXPECT_TRUE(ReadFactorySettingMCU(&setting));
    for (unsigned i = 0; i < 128; ++i) {
        ASSERT_EQ(setting.words[i], (2 * i + 1) << 8 | (2 * i)) << "word " << i;
    }
    const auto exchanges = opened.device.Exchanges();
    ASSERT_EQ(exchanges.size(), 8u);
    EXPECT_EQ(exchanges[0].request, ReadRequest(19, 5248, 32));
    EXPECT_EQ(exchanges[7].request, ReadRequest(19, 5248 + 224, 32));
    opened.device.Inject(FaultOn(Request::FlashRead, FaultKind::Silence));
    EXPECT_FALSE(ReadFactorySettingMCU(&setting));
}

TEST(PhotodiodeRecord, OfLed1StandsBeforeThatOfEveryOther)
{
    COpenInstrument opened(0x3407u);
    Words data(kPDSamplingWords);
    EXPECT_TRUE(ReadPPGCalibrationDataPDSampling(1, data.data()));
    EXPECT_EQ(opened.device.Exchanges().size(), 64u);
    EXPECT_EQ(opened.device.Exchanges()[0].request, ReadRequest(19, 1024, 32));
    EXPECT_EQ(opened.device.Exchanges()[63].request, ReadRequest(19, 1024 + 2016, 32));
    EXPECT_EQ(data[0], 1);
    EXPECT_EQ(data[1023], 1024);
    for (const LEDType led : {0, 2, 3}) {
        opened.device.ClearExchanges();
        EXPECT_TRUE(ReadPPGCalibrationDataPDSampling(led, data.data()));
        EXPECT_EQ(opened.device.Exchanges()[0].request, ReadRequest(19, 3072, 32));
        EXPECT_EQ(data[0], 2);
    }
}

TEST(PpgDcRecord, ReadsTheWholeSlotAndGivesItsFirstWords)
{
    const std::uint32_t addresses[] = {5632, 13824, 22016};
    constexpr unsigned kPercent[] = {96, 98, 99};  // of the level, in a freshly made module
    COpenInstrument opened(0x3407u);
    for (int row = 0; row < 3; ++row) {
        opened.device.ClearExchanges();
        Words data(202, 0xEEEE);
        EXPECT_TRUE(ReadPPGDCTable(row, data.data(), 201));
        const auto exchanges = opened.device.Exchanges();
        ASSERT_EQ(exchanges.size(), 256u);
        EXPECT_EQ(exchanges[0].request, ReadRequest(19, addresses[row], 32));
        EXPECT_EQ(exchanges[255].request, ReadRequest(19, addresses[row] + 8160, 32));
        for (unsigned mv = 0; mv <= 200; ++mv) EXPECT_EQ(data[mv], kPercent[row] * mv / 100);
        EXPECT_EQ(data[201], 0xEEEE);
    }
}

TEST(PpgDcRecord, RowsAreNotChecked)
{
    COpenInstrument opened(0x3407u);
    Words data(1, 0xEEEE);
    EXPECT_FALSE(ReadPPGDCTable(3, data.data(), 1));  // beyond the end of the memory
    EXPECT_EQ(opened.device.Exchanges().at(0).request, ReadRequest(19, 5632 + 3 * 8192, 32));
    opened.device.ClearExchanges();
    EXPECT_FALSE(ReadPPGDCTable(-1, data.data(), 1));
    EXPECT_EQ(opened.device.Exchanges().at(0).request,
              ReadRequest(19, std::uint32_t{5632} - 8192, 32));
}

TEST(PpgDcRecord, GivesNothingWhenTheReadFails)
{
    COpenInstrument opened(0x3407u);
    opened.device.Inject(FaultOn(Request::FlashRead, FaultKind::Silence, 5));
    Words data(4, 0xEEEE);
    EXPECT_FALSE(ReadPPGDCTable(0, data.data(), 4));
    EXPECT_EQ(data, Words(4, 0xEEEE));
    EXPECT_EQ(opened.device.Exchanges().size(), 6u);
}

TEST(PhotodiodeRatios, OfZeroCountAsOneAndNotANumberStays)
{
    const float nan = std::numeric_limits<float>::quiet_NaN();
    COpenInstrument opened(0x3407u);
    Bytes rows;
    AppendFloats(rows, {0.0f, 1.5f, -0.0f, nan, 2.0f, 0.0f, -3.0f, 1e-30f});
    AppendFloats(rows, {1, 2, 3, 4, 5, 6, 7, 8});
    AppendFloats(rows, {9, 10, 11, 12, 13, 14, 15, 0});
    opened.device.WriteFlash(19, 5248, rows);
    EXPECT_TRUE(FPGASyncFromEEPROM());
    EXPECT_EQ(Requests(opened.device.Exchanges()),
              (std::vector<Bytes>{ReadRequest(19, 5248, 32), ReadRequest(19, 5280, 32),
                                  ReadRequest(19, 5312, 32)}));
    const PDRatioRow row0 = g_FPGA_PDRatio[0].Load();
    EXPECT_EQ(row0.values[0], 1.0f);
    EXPECT_EQ(row0.values[1], 1.5f);
    EXPECT_EQ(row0.values[2], 1.0f);  // a negative zero equals 0.0
    EXPECT_TRUE(std::isnan(row0.values[3]));
    EXPECT_EQ(row0.values[6], -3.0f);
    EXPECT_EQ(row0.values[7], 1e-30f);
    EXPECT_EQ(g_FPGA_PDRatio[1].Load().values[7], 8.0f);
    EXPECT_EQ(g_FPGA_PDRatio[2].Load().values[6], 15.0f);
    EXPECT_EQ(g_FPGA_PDRatio[2].Load().values[7], 1.0f);
}

TEST(PhotodiodeRatios, EndWithTheFirstRowThatFails)
{
    COpenInstrument opened(0x3407u);
    opened.device.Inject(FaultOn(Request::FlashRead, FaultKind::Silence, 1));
    EXPECT_FALSE(FPGASyncFromEEPROM());
    EXPECT_EQ(opened.device.Exchanges().size(), 2u);
}
