#include <gtest/gtest.h>

#include <cstring>

#include "device/Identification.h"
#include "device/LineState.h"
#include "support/Frames.h"
#include "support/OpenInstrument.h"
#include "vrax.h"

using instrument::FaultKind;
using instrument::Request;

namespace {
MODEL_INFORMATION Model(const char* letters, unsigned code, unsigned year, unsigned sequence)
{
    MODEL_INFORMATION info = {};
    info.typeLetters[0] = letters[0];
    info.typeLetters[1] = letters[1];
    info.modelCode[0] = static_cast<unsigned char>(code >> 8);
    info.modelCode[1] = static_cast<unsigned char>(code);
    info.yearOrLot = year;
    info.sequenceNumber = sequence;
    for (LEDType& type : info.ledTypes) type = 3;
    return info;
}

const char* SerialOf(const MODEL_INFORMATION& info)
{
    g_ModelInfo.Store(info);
    return VRAXGetSerialNumber();
}
}  // namespace

TEST(SerialNumber, IsMadeOfLettersCodeYearAndNumber)
{
    EXPECT_STREQ(SerialOf(Model("EC", 0x1020, 25, 42)), "TEC1020-250042");
    EXPECT_STREQ(SerialOf(Model("AP", 0x0A0F, 3, 9999)), "TAP0a0f-039999");
    EXPECT_STREQ(SerialOf(Model("AP", 0xABCD, 99, 0)), "TAPabcd-990000");
}

TEST(SerialNumber, WithMoreThanFourDigitsIsEmpty)
{
    EXPECT_STREQ(SerialOf(Model("EC", 0x1020, 25, 10000)), "");
    EXPECT_STREQ(SerialOf(Model("EC", 0x1020, 25, 65535)), "");
}

TEST(SerialNumber, WithALongYearIsEmpty)
{
    EXPECT_STREQ(SerialOf(Model("EC", 0x1020, 100, 42)), "");
    EXPECT_STREQ(SerialOf(Model("EC", 0x1020, 255, 42)), "");
}

TEST(SerialNumber, OfNoRecordIsEmpty)
{
    EXPECT_STREQ(VRAXGetSerialNumber(), "");
    EXPECT_STREQ(VRAXGetPPGSerialNumber(), "");
    EXPECT_STREQ(SerialOf({}), "");
}

TEST(SerialNumber, StaysEmptyBehindItsEnd)
{
    SerialOf(Model("EC", 0x1020, 25, 42));
    const char* text = SerialOf(Model("EC", 0x1020, 25, 10000));
    for (int i = 0; i < 32; ++i) EXPECT_EQ(text[i], '\0');
}

TEST(SerialNumber, OfTheModuleComesFromItsOwnRecord)
{
    g_ModelInfo.Store(Model("EC", 0x1020, 25, 42));
    g_PPGModelInfo.Store(Model("AP", 0x3407, 24, 7));
    EXPECT_STREQ(VRAXGetSerialNumber(), "TEC1020-250042");
    EXPECT_STREQ(VRAXGetPPGSerialNumber(), "TAP3407-240007");
}

TEST(Versions, AreWrittenWithTwoDigitsOfBuildAndRevision)
{
    g_HWInfo.Store({2, 1, 4, 17, 3, 12});
    EXPECT_STREQ(VRAXGetFWVersion(), "2.1.04.17");
    EXPECT_STREQ(VRAXGetHWVersion(), "3.12");
    EXPECT_EQ(GetFWMainVer(), 2u);
    g_HWInfo.Store({10, 20, 100, 255, 0, 0});
    EXPECT_STREQ(VRAXGetFWVersion(), "10.20.100.255");
}

TEST(Versions, OfTheModuleComeFromItsOwnRecord)
{
    g_HWInfo.Store({2, 1, 4, 17, 3, 12});
    g_PPGHWInfo.Store({5, 6, 7, 8, 9, 10});
    EXPECT_STREQ(GetPPGFwVersion(), "5.6.07.08");
    EXPECT_EQ(GetPPGFwMainVer(), 5u);
    EXPECT_STREQ(VRAXGetFWVersion(), "2.1.04.17");
}

TEST(Versions, AreZeroWithoutAnInstrument)
{
    EXPECT_STREQ(VRAXGetFWVersion(), "0.0.00.00");
    EXPECT_STREQ(GetPPGFwVersion(), "0.0.00.00");
    EXPECT_STREQ(VRAXGetHWVersion(), "0.0");
    EXPECT_EQ(GetFWMainVer(), 0u);
    EXPECT_EQ(GetPPGFwMainVer(), 0u);
}

TEST(DeviceInformation, IsCopiedWholeWhileConnected)
{
    MODEL_INFORMATION expected = Model("EC", 0x1020, 0x80000001u, 0xFFFFFFFFu);
    expected.ledTypes[1] = -5;
    g_ModelInfo.Store(expected);
    g_bConnected = 1;
    MODEL_INFORMATION copy = {};
    EXPECT_TRUE(VRAXGetDeviceInformation(&copy));
    EXPECT_EQ(std::memcmp(&copy, &expected, 24), 0);
    EXPECT_FALSE(VRAXGetDeviceInformation(nullptr));
    g_bConnected = 0;
}

TEST(DeviceInformation, IsNotCopiedWithoutAConnection)
{
    const COpenInstrument opened;  // known, but not connected
    MODEL_INFORMATION copy = Model("ZZ", 1, 2, 3);
    EXPECT_FALSE(VRAXGetDeviceInformation(&copy));
    EXPECT_EQ(copy.typeLetters[0], 'Z');
    EXPECT_EQ(copy.sequenceNumber, 3u);
}

TEST(DeviceInformation, OfTheModuleNeedsBothTypeLetters)
{
    MODEL_INFORMATION copy = Model("ZZ", 1, 2, 3);
    for (const char* letters : {"\0\0", "A\0", "\0P"}) {
        g_PPGModelInfo.Store(Model(letters, 0x3407, 24, 7));
        EXPECT_FALSE(VRAXGetPPGDeviceInformation(&copy));
        EXPECT_EQ(copy.typeLetters[0], 'Z');
    }
    g_PPGModelInfo.Store(Model("ER", 0x4501, 24, 7));
    EXPECT_TRUE(VRAXGetPPGDeviceInformation(&copy));
    EXPECT_EQ(copy.modelCode[0], 0x45);
    EXPECT_FALSE(VRAXGetPPGDeviceInformation(nullptr));
}

TEST(HardwareInformation, IsAlwaysCopied)
{
    unsigned words[6] = {9, 9, 9, 9, 9, 9};
    EXPECT_TRUE(VRAXGetHWInformation(words));
    for (const unsigned word : words) EXPECT_EQ(word, 0u);
    g_HWInfo.Store({1, 2, 3, 4, 5, 6});
    g_PPGHWInfo.Store({7, 8, 9, 10, 11, 12});
    EXPECT_TRUE(VRAXGetHWInformation(words));
    for (unsigned i = 0; i < 6; ++i) EXPECT_EQ(words[i], 1 + i);
    EXPECT_TRUE(VRAXGetPPGHWInformation(words));
    for (unsigned i = 0; i < 6; ++i) EXPECT_EQ(words[i], 7 + i);
}

TEST(HardwareInformation, NullPointersAreNoCrash)
{
    EXPECT_FALSE(VRAXGetHWInformation(nullptr));
    EXPECT_FALSE(VRAXGetPPGHWInformation(nullptr));
    VRAXGetDeviceFeature(nullptr);
}

TEST(UsbVoltage, IsOneByteOfTheReply)
{
    COpenInstrument opened;
    instrument::Measurements measured;
    for (const int value : {0, 1, 255}) {
        measured.usbVoltage = static_cast<std::uint8_t>(value);
        opened.device.SetMeasurements(measured);
        EXPECT_EQ(VRAXGetUSBBusVoltage(), static_cast<unsigned>(value));
    }
    EXPECT_EQ(opened.device.Exchanges().back().request, (Bytes{0xCC, 0x00, 'B'}));
}

TEST(UsbVoltage, NeedsNoAcknowledgement)
{
    COpenInstrument opened;
    opened.device.Inject(FaultOn(Request::UsbVoltage, FaultKind::WrongAcknowledge));
    EXPECT_EQ(VRAXGetUSBBusVoltage(), 250u);
}

TEST(UsbVoltage, IsZeroOnAnyFailure)
{
    EXPECT_EQ(VRAXGetUSBBusVoltage(), 0u);
    COpenInstrument opened;
    opened.device.Inject(FaultOn(Request::UsbVoltage, FaultKind::Silence));
    EXPECT_EQ(VRAXGetUSBBusVoltage(), 0u);
    instrument::Fault shortReply = FaultOn(Request::UsbVoltage, FaultKind::ShortReply);
    shortReply.bytes = 63;
    opened.device.Inject(shortReply);
    EXPECT_EQ(VRAXGetUSBBusVoltage(), 0u);
}
