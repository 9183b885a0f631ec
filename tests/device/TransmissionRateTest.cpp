#include <gtest/gtest.h>

#include <vector>

#include "device/Identification.h"
#include "ppg/TransmissionRate.h"
#include "storage/Records.h"
#include "support/Frames.h"
#include "support/OpenInstrument.h"
#include "vrax.h"

using instrument::FaultKind;
using instrument::Request;

namespace {
Bytes Write(std::uint8_t setting, unsigned value)
{
    return Padded({0xCC, 0xFF, setting, 0x00, static_cast<std::uint8_t>(value),
                   static_cast<std::uint8_t>(value >> 8)});
}

// Word i of the MCU factory setting is 1000 + 3 i.
unsigned Word(int index) { return 1000u + 3u * static_cast<unsigned>(index); }

void StoreFactorySetting()
{
    FACTORY_SETTING_MCU setting = {};
    for (int i = 0; i < 128; ++i) setting.words[i] = static_cast<std::uint16_t>(Word(i));
    g_FactorySettingMCU.Store(setting);
}

// What VRAXConfigureTransmissionRate(mode) writes when all four values are new.
std::vector<Bytes> WritesOfMode(int mode)
{
    return {Write(1, Word(18 + mode)), Write(2, Word(24 + mode)), Write(25, Word(36 + mode)),
            Write(26, Word(42 + mode))};
}

std::vector<Bytes> Writes(instrument::SimulatedInstrument& device)
{
    const std::vector<Bytes> writes = Requests(device.Exchanges());
    device.ClearExchanges();
    return writes;
}
}  // namespace

// Kept: what decides is b for setting 2 and c for setting 25; what is written is the other one.
TEST(TransmissionRate, WritesCToSetting2AndBToSetting25)
{
    COpenInstrument opened(0x3407u);
    EXPECT_TRUE(UpdateMCUTransmissionRate(11, 22, 33, 44));
    EXPECT_EQ(Writes(opened.device),
              (std::vector<Bytes>{Write(1, 11), Write(2, 33), Write(25, 22), Write(26, 44)}));
    const auto settings = opened.device.State().settings;
    EXPECT_EQ(settings[1], 11);
    EXPECT_EQ(settings[2], 33);
    EXPECT_EQ(settings[25], 22);
    EXPECT_EQ(settings[26], 44);
}

TEST(TransmissionRate, WritesWhatDiffersFromTheLastValuesAlone)
{
    COpenInstrument opened(0x3407u);
    ASSERT_TRUE(UpdateMCUTransmissionRate(11, 22, 33, 44));
    Writes(opened.device);
    EXPECT_TRUE(UpdateMCUTransmissionRate(11, 22, 33, 44));
    EXPECT_EQ(Writes(opened.device), std::vector<Bytes>{});
    EXPECT_TRUE(UpdateMCUTransmissionRate(12, 22, 33, 44));
    EXPECT_EQ(Writes(opened.device), std::vector<Bytes>{Write(1, 12)});
    EXPECT_TRUE(UpdateMCUTransmissionRate(12, 23, 33, 44));
    EXPECT_EQ(Writes(opened.device), std::vector<Bytes>{Write(2, 33)});
    EXPECT_TRUE(UpdateMCUTransmissionRate(12, 23, 34, 44));
    EXPECT_EQ(Writes(opened.device), std::vector<Bytes>{Write(25, 23)});
    EXPECT_TRUE(UpdateMCUTransmissionRate(12, 23, 34, 45));
    EXPECT_EQ(Writes(opened.device), std::vector<Bytes>{Write(26, 45)});
}

TEST(TransmissionRate, TheLastValuesAreZeroAtLoad)
{
    COpenInstrument opened(0x3407u);
    EXPECT_TRUE(UpdateMCUTransmissionRate(0, 0, 0, 5));
    EXPECT_EQ(Writes(opened.device), std::vector<Bytes>{Write(26, 5)});
}

TEST(TransmissionRate, EndsWithTheWriteThatFailsAndKeepsWhatSucceeded)
{
    COpenInstrument opened(0x3407u);
    opened.device.Inject(FaultOn(Request::SettingWrite, FaultKind::WrongAcknowledge, 1));
    EXPECT_FALSE(UpdateMCUTransmissionRate(11, 22, 33, 44));
    EXPECT_EQ(Writes(opened.device), (std::vector<Bytes>{Write(1, 11), Write(2, 33)}));
    EXPECT_TRUE(UpdateMCUTransmissionRate(11, 22, 33, 44));
    EXPECT_EQ(Writes(opened.device),
              (std::vector<Bytes>{Write(2, 33), Write(25, 22), Write(26, 44)}));
}

TEST(TransmissionRate, TheLastValuesLiveLongerThanTheConnection)
{
    {
        COpenInstrument opened(0x3407u);
        ASSERT_TRUE(UpdateMCUTransmissionRate(11, 22, 33, 44));
    }
    COpenInstrument opened(0x3407u);
    EXPECT_TRUE(UpdateMCUTransmissionRate(11, 22, 33, 44));
    EXPECT_EQ(Writes(opened.device), std::vector<Bytes>{});
}

TEST(TransmissionRate, OfAnotherModuleIsNotWritten)
{
    StoreFactorySetting();
    COpenInstrument opened(0x3307u);
    EXPECT_TRUE(UpdateMCUTransmissionRate(11, 22, 33, 44));
    EXPECT_TRUE(ApplyDefaultTransmissionRate());
    EXPECT_TRUE(VRAXConfigureTransmissionRate(1));
    unsigned a = 9, b = 9;
    EXPECT_FALSE(VRAXGetTransmissionRate(1, &a, &b));
    EXPECT_EQ(a, 9u);
    EXPECT_EQ(b, 9u);
    EXPECT_EQ(Writes(opened.device), std::vector<Bytes>{});
}

TEST(TransmissionRate, WithoutAModuleIsNotWritten)
{
    EXPECT_TRUE(VRAXConfigureTransmissionRate(1));
    unsigned a = 9, b = 9;
    EXPECT_FALSE(VRAXGetTransmissionRate(1, &a, &b));
}

TEST(TransmissionRate, OfEachModeTakesItsWordsOfTheFactorySetting)
{
    StoreFactorySetting();
    for (const int mode : {1, 2, 3, 4, 5, 0}) {
        COpenInstrument opened(0x3407u);
        EXPECT_TRUE(VRAXConfigureTransmissionRate(mode));
        EXPECT_EQ(Writes(opened.device), WritesOfMode(mode)) << "mode " << mode;
    }
}

TEST(TransmissionRate, ItsModeIsClamped)
{
    StoreFactorySetting();
    COpenInstrument opened(0x3407u);
    EXPECT_TRUE(VRAXConfigureTransmissionRate(9));
    EXPECT_EQ(Writes(opened.device), WritesOfMode(5));
    EXPECT_TRUE(VRAXConfigureTransmissionRate(-3));
    EXPECT_EQ(Writes(opened.device), WritesOfMode(0));
    EXPECT_TRUE(VRAXConfigureTransmissionRate(6));
    EXPECT_EQ(Writes(opened.device), WritesOfMode(5));
}

TEST(TransmissionRate, FailsWhenAWriteFails)
{
    StoreFactorySetting();
    COpenInstrument opened(0x3407u);
    opened.device.Inject(FaultOn(Request::SettingWrite, FaultKind::Silence));
    EXPECT_FALSE(VRAXConfigureTransmissionRate(2));
    EXPECT_EQ(opened.device.Exchanges().size(), 1u);
}

TEST(TransmissionRate, IsReportedByChannelForTheCurrentMode)
{
    StoreFactorySetting();
    const COpenInstrument opened(0x3407u);
    for (const int mode : {0, 4}) {
        ASSERT_TRUE(VRAXConfigureTransmissionRate(mode));
        for (const int channel : {1, 2, 3}) {
            unsigned a = 0, b = 0;
            EXPECT_TRUE(VRAXGetTransmissionRate(channel, &a, &b));
            EXPECT_EQ(a, Word(36 + 6 * (channel - 1) + mode) + 1);
            EXPECT_EQ(b, Word(18 + 6 * (channel - 1) + mode) + 1);
        }
    }
}

TEST(TransmissionRate, OfAnErasedWordIsReportedAs65536)
{
    FACTORY_SETTING_MCU erased;
    for (std::uint16_t& word : erased.words) word = 0xFFFF;
    g_FactorySettingMCU.Store(erased);
    const COpenInstrument opened(0x3407u);
    unsigned a = 0, b = 0;
    EXPECT_TRUE(VRAXGetTransmissionRate(1, &a, &b));
    EXPECT_EQ(a, 65536u);
    EXPECT_EQ(b, 65536u);
}

TEST(TransmissionRate, IsReportedForChannels1To3AndNoNullPointers)
{
    const COpenInstrument opened(0x3407u);
    unsigned a = 9, b = 9;
    EXPECT_FALSE(VRAXGetTransmissionRate(0, &a, &b));
    EXPECT_FALSE(VRAXGetTransmissionRate(4, &a, &b));
    EXPECT_FALSE(VRAXGetTransmissionRate(-1, &a, &b));
    EXPECT_FALSE(VRAXGetTransmissionRate(1, nullptr, &b));
    EXPECT_FALSE(VRAXGetTransmissionRate(1, &a, nullptr));
    EXPECT_EQ(a, 9u);
    EXPECT_EQ(b, 9u);
}

TEST(TransmissionRate, ConnectingTheModuleAppliesTheDefaultAndReadsTheTable)
{
    instrument::SimulatedInstrument device(COpenInstrument::WithModule(0x3407));
    ASSERT_TRUE(VRAXConnect(0, 60000));
    EXPECT_EQ(Requests(device.Exchanges(Request::SettingWrite)),
              (std::vector<Bytes>{Write(1, 800), Write(2, 800), Write(25, 1023), Write(26, 1023)}));
    unsigned a = 0, b = 0;
    EXPECT_TRUE(VRAXGetTransmissionRate(3, &a, &b));
    EXPECT_EQ(a, 700u + 48 + 1);  // word i of a freshly made module is 700 + i
    EXPECT_EQ(b, 700u + 30 + 1);
    VRAXFree();
}
