#include <gtest/gtest.h>

#include "ppg/CalibrationSettings.h"
#include "support/Frames.h"
#include "support/OpenInstrument.h"
#include "support/Timing.h"

using instrument::FaultKind;
using instrument::Request;

namespace {
constexpr auto kThird = PPGCalibrationSetting::kRate3;
constexpr auto kUnlisted = static_cast<PPGCalibrationSetting>(77);

instrument::Fault Unacknowledged(Request request)
{
    instrument::Fault fault = FaultOn(request, FaultKind::WrongAcknowledge);
    fault.data = {0xFE};
    return fault;
}

instrument::Fault Short(Request request)
{
    instrument::Fault fault = FaultOn(request, FaultKind::ShortReply);
    fault.bytes = 63;
    return fault;
}
}  // namespace

TEST(CalibrationSetting, OfTwoBytesIsWrittenLowByteFirst)
{
    COpenInstrument opened(0x3407u);
    EXPECT_TRUE(WriteCalibrationSetting(kThird, std::uint16_t{0x1234}));
    const auto exchanges = opened.device.Exchanges();
    ASSERT_EQ(exchanges.size(), 1u);
    EXPECT_EQ(exchanges[0].request, Padded({0xCC, 0xFF, 0x19, 0x00, 0x34, 0x12}));
    EXPECT_EQ(opened.device.State().settings[25], 0x1234);
}

TEST(CalibrationSetting, OfOneByteIsWritten)
{
    COpenInstrument opened(0x3407u);
    EXPECT_TRUE(WriteCalibrationSetting(kUnlisted, std::uint8_t{0xA5}));
    EXPECT_EQ(opened.device.Exchanges().at(0).request, Padded({0xCC, 0xFF, 77, 0x00, 0xA5}));
}

TEST(CalibrationSetting, OfAnyLengthIsWrittenFromByte4On)
{
    COpenInstrument opened(0x3407u);
    const std::uint8_t data[] = {1, 2, 3, 4, 5};
    opened.device.SetReply({0xCC, 0xFF, 77}, Padded({0xCC, 0xFF, 77, 0xFF}));
    EXPECT_TRUE(WriteCalibrationSetting(kUnlisted, data, 5));
    EXPECT_EQ(opened.device.Exchanges().at(0).request,
              Padded({0xCC, 0xFF, 77, 0x00, 1, 2, 3, 4, 5}));
}

TEST(CalibrationSetting, IsReadAsOneByteOrAsTwoLowByteFirst)
{
    COpenInstrument opened(0x3407u);
    opened.device.SetSetting(25, 0xBEEF);
    std::uint8_t byte = 0;
    EXPECT_TRUE(ReadCalibrationSetting(kThird, &byte));
    EXPECT_EQ(byte, 0xEF);
    std::uint16_t word = 0;
    EXPECT_TRUE(ReadCalibrationSetting(kThird, &word));
    EXPECT_EQ(word, 0xBEEF);
    for (const auto& exchange : opened.device.Exchanges()) {
        EXPECT_EQ(exchange.request, Padded({0xCC, 0x00, 0x19, 0x00}));
    }
}

TEST(CalibrationSetting, NullDropsTheByteThatIsRead)
{
    COpenInstrument opened(0x3407u);
    EXPECT_TRUE(ReadCalibrationSetting(kThird, static_cast<std::uint8_t*>(nullptr)));
    EXPECT_EQ(opened.device.Exchanges().size(), 1u);
}

TEST(CalibrationSetting, ThatIsNotReadWholeAndAcknowledgedLeavesTheValue)
{
    COpenInstrument opened(0x3407u);
    for (const auto& fault : {Unacknowledged(Request::SettingRead), Short(Request::SettingRead),
                              FaultOn(Request::SettingRead, FaultKind::Silence)}) {
        std::uint8_t byte = 0x11;
        std::uint16_t word = 0x2222;
        opened.device.Inject(fault);
        EXPECT_FALSE(ReadCalibrationSetting(kThird, &byte));
        opened.device.Inject(fault);
        EXPECT_FALSE(ReadCalibrationSetting(kThird, &word));
        EXPECT_EQ(byte, 0x11);
        EXPECT_EQ(word, 0x2222);
    }
}

TEST(CalibrationSetting, IsWrittenOnlyWhenTheReplyIsWholeAndAcknowledged)
{
    COpenInstrument opened(0x3407u);
    for (const auto& fault : {Unacknowledged(Request::SettingWrite), Short(Request::SettingWrite),
                              FaultOn(Request::SettingWrite, FaultKind::Silence)}) {
        opened.device.Inject(fault);
        EXPECT_FALSE(WriteCalibrationSetting(kThird, std::uint16_t{1}));
    }
    EXPECT_TRUE(WriteCalibrationSetting(kThird, std::uint16_t{1}));
}

TEST(CalibrationSetting, WithoutAPortFails)
{
    std::uint8_t byte = 0x11;
    EXPECT_FALSE(ReadCalibrationSetting(kThird, &byte));
    EXPECT_EQ(byte, 0x11);
    EXPECT_FALSE(WriteCalibrationSetting(kThird, std::uint8_t{1}));
}

TEST(CalibrationSetting, AWriteWaitsBeforeItsFrameAndAfterItsReply)
{
    COpenInstrument opened(0x3407u);
    for (std::uint8_t i = 0; i < 6; ++i) {
        const auto called = instrument::Clock::now();
        const CStopwatch watch;
        ASSERT_TRUE(WriteCalibrationSetting(kThird, i));
        EXPECT_GE(watch.Ms(), 10.0 + 40.0);
        EXPECT_GE(MsBetween(called, opened.device.Exchanges().back().arrived), 10.0);
    }
    EXPECT_GE(MedianGapAfterReplyMs(opened.device.Exchanges()), 40.0 + 10.0 - kStampJitterMs);
}
