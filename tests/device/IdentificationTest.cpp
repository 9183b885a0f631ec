// What is known of an instrument and its module after the probe, and after each step that fails.

#include <gtest/gtest.h>

#include <cstring>

#include "device/Identification.h"
#include "ppg/Sensor.h"
#include "ppg/SensorLevels.h"
#include "support/Frames.h"
#include "support/OpenInstrument.h"
#include "vrax.h"

using instrument::FaultKind;
using instrument::Options;
using instrument::Request;
using instrument::SimulatedInstrument;

namespace {
constexpr HardwareInformation kNothingKnown = {0, 0, 0, 0, 0, 0};

void ExpectVersions(const HardwareInformation& expected, const HardwareInformation& actual)
{
    EXPECT_EQ(actual.firmwareMajor, expected.firmwareMajor);
    EXPECT_EQ(actual.firmwareMinor, expected.firmwareMinor);
    EXPECT_EQ(actual.firmwareBuild, expected.firmwareBuild);
    EXPECT_EQ(actual.firmwareRevision, expected.firmwareRevision);
    EXPECT_EQ(actual.hardwareMajor, expected.hardwareMajor);
    EXPECT_EQ(actual.hardwareMinor, expected.hardwareMinor);
}

void ExpectLeds(int led1, int led2, int led3)
{
    const MODEL_INFORMATION module = g_PPGModelInfo.Load();
    EXPECT_EQ(module.ledTypes[0], led1);
    EXPECT_EQ(module.ledTypes[1], led2);
    EXPECT_EQ(module.ledTypes[2], led3);
}

// Ten cells of eight bytes.
struct FeatureCells {
    std::int32_t cell0[2];
    std::int32_t cell1[2];
    std::int64_t cell2;
    double cells3To8[6];
    std::int32_t cell9[2];
};
static_assert(sizeof(FeatureCells) == 80);

FeatureCells Feature()
{
    FeatureCells cells;
    VRAXGetDeviceFeature(&cells);
    return cells;
}

void ExpectFeature(int photodiodes, double acMax)
{
    const FeatureCells feature = Feature();
    EXPECT_EQ(feature.cell0[0], 1);
    EXPECT_EQ(feature.cell0[1], 0);
    EXPECT_EQ(feature.cell1[0], 0);
    EXPECT_EQ(feature.cell1[1], photodiodes);
    EXPECT_EQ(feature.cell2, 0);
    const double expected[6] = {0.75, acMax, 100.0, 3000.0, 0.025, 30.0};
    for (int i = 0; i < 6; ++i) EXPECT_EQ(feature.cells3To8[i], expected[i]) << "cell " << 3 + i;
    EXPECT_EQ(feature.cell9[0], 8);
    EXPECT_EQ(feature.cell9[1], 8);
}

void ExpectNoFeature()
{
    const FeatureCells zeros = {};
    const FeatureCells feature = Feature();
    EXPECT_EQ(std::memcmp(&feature, &zeros, sizeof zeros), 0);
}

// Probes an instrument whose `match` request fails so.
void ProbeWithFault(unsigned ppgModel, const instrument::Fault& fault)
{
    SimulatedInstrument device(COpenInstrument::WithModule(ppgModel));
    device.Inject(fault);
    ASSERT_EQ(DoFindDevice(0), 1);
    EXPECT_EQ(device.PendingFaults(), 0u);
    DeviceClose();
}
}  // namespace

TEST(Identification, BeforeItTheDefaultCapabilitiesStand)
{
    ExpectFeature(0, 30.0);
    EXPECT_EQ(g_nPPGDCDacLevel, 4095);
    EXPECT_EQ(g_nPPGACDacLevel, 4095);
}

TEST(Identification, TakesTheMainRecordFromFlash)
{
    Options options;
    options.typeLetters = {'X', 'Y'};
    options.modelCode = 0xA1B2;
    options.year = 31;
    options.sequenceNumber = 0x1234;
    const COpenInstrument opened(options);
    const MODEL_INFORMATION info = g_ModelInfo.Load();
    EXPECT_EQ(info.typeLetters[0], 'X');
    EXPECT_EQ(info.typeLetters[1], 'Y');
    EXPECT_EQ(info.modelCode[0], 0xA1);
    EXPECT_EQ(info.modelCode[1], 0xB2);
    EXPECT_EQ(info.yearOrLot, 31u);
    EXPECT_EQ(info.sequenceNumber, 0x1234u);
    for (const LEDType type : info.ledTypes) EXPECT_EQ(type, 3);
}

TEST(Identification, TheAnswersSequenceNumberOverridesTheRecords)
{
    Options options;
    options.sequenceNumber = 42;
    options.identifiedNumber = 0x0B0A;
    const COpenInstrument opened(options);
    EXPECT_EQ(g_ModelInfo.Load().sequenceNumber, 0x0B0Au);
}

TEST(Identification, TakesSixVersionNumbersFromTheAnswers)
{
    Options options;
    SimulatedInstrument device(options);
    device.SetReply({0xAA, 0x02}, {0xAA, 11, 12, 99, 99});
    device.SetReply({0xAA, 0x03}, {0xAA, 21, 22, 23, 24});
    ASSERT_EQ(DoFindDevice(0), 1);
    DeviceClose();
    ExpectVersions({21, 22, 23, 24, 11, 12}, g_HWInfo.Load());
}

TEST(Identification, OldFirmwareLeavesTheVersionsOfTheRecordAndNoModule)
{
    Options options = COpenInstrument::WithModule(0x3407);
    options.firmware = {1, 2, 3, 4};
    options.hardware = {5, 6};
    const COpenInstrument opened(options);
    ExpectVersions({1, 2, 0, 0, 5, 6}, g_HWInfo.Load());
    EXPECT_FALSE(_IsPPGConnected());
    MODEL_INFORMATION module;
    EXPECT_FALSE(VRAXGetPPGDeviceInformation(&module));
    ExpectVersions(kNothingKnown, g_PPGHWInfo.Load());
    ExpectNoFeature();
}

TEST(Identification, Firmware13IsAskedForItsVersions)
{
    Options options = COpenInstrument::WithModule(0x3307);
    options.firmware = {1, 3, 8, 9};
    const COpenInstrument opened(options);
    ExpectVersions({1, 3, 8, 9, 1, 4}, g_HWInfo.Load());
    EXPECT_TRUE(_IsPPGConnected());
}

TEST(Identification, AnUnreadableMainRecordLeavesNothingButTheNumber)
{
    ProbeWithFault(0x3407, FaultOn(Request::FlashRead, FaultKind::Silence));
    EXPECT_STREQ(VRAXGetSerialNumber(), "");
    EXPECT_EQ(g_ModelInfo.Load().sequenceNumber, 42u);
    ExpectVersions(kNothingKnown, g_HWInfo.Load());
    EXPECT_FALSE(_IsPPGConnected());
    ExpectNoFeature();
}

TEST(Identification, AnUnacknowledgedMainRecordIsNotRead)
{
    ProbeWithFault(0x3407, FaultOn(Request::FlashRead, FaultKind::WrongAcknowledge));
    EXPECT_STREQ(VRAXGetSerialNumber(), "");
    EXPECT_FALSE(_IsPPGConnected());
}

TEST(Identification, EndsWithTheRecordWhenTheHardwareIsNotAnswered)
{
    ProbeWithFault(0x3407, FaultOn(Request::HardwareInfo, FaultKind::Silence));
    ExpectVersions({2, 1, 0, 0, 1, 4}, g_HWInfo.Load());
    EXPECT_FALSE(_IsPPGConnected());
}

TEST(Identification, TakesNoneOfTheSixNumbersWhenTheFirmwareAnswerIsShort)
{
    instrument::Fault fault = FaultOn(Request::FirmwareInfo, FaultKind::ShortReply);
    fault.bytes = 4;
    SimulatedInstrument device(COpenInstrument::WithModule(0x3407));
    device.SetReply({0xAA, 0x02}, {0xAA, 77, 78, 0, 0});
    device.Inject(fault);
    ASSERT_EQ(DoFindDevice(0), 1);
    DeviceClose();
    ExpectVersions({2, 1, 0, 0, 1, 4}, g_HWInfo.Load());
    EXPECT_FALSE(_IsPPGConnected());
}

TEST(Identification, TakesTheModulesRecordAndVersions)
{
    Options options = COpenInstrument::WithModule(0x3307);
    options.moduleYear = 23;
    options.moduleSequenceNumber = 815;
    options.moduleHardware = {4, 5};
    options.moduleFirmware = {9, 8, 7, 6};
    const COpenInstrument opened(options);
    EXPECT_TRUE(_IsPPGConnected());
    EXPECT_EQ(ExtRespIsAvailable(), 0);
    EXPECT_EQ(GetPPGFullModelNumber(), 0x3307);
    EXPECT_STREQ(VRAXGetPPGSerialNumber(), "TAP3307-230815");
    ExpectVersions({9, 8, 7, 6, 4, 5}, g_PPGHWInfo.Load());
    EXPECT_STREQ(GetPPGFwVersion(), "9.8.07.06");
    EXPECT_EQ(GetPPGFwMainVer(), 9u);
}

TEST(Identification, AModuleThatDoesNotTellItsVersionsKeepsThoseOfItsRecord)
{
    ProbeWithFault(0x3407, FaultOn(Request::BoardVersions, FaultKind::Silence));
    EXPECT_TRUE(_IsPPGConnected());
    ExpectVersions({0, 0, 0, 0, 1, 2}, g_PPGHWInfo.Load());
    ExpectLeds(3, 3, 3);
    ExpectNoFeature();
    EXPECT_EQ(g_nPPGDCDacLevel, 4095);
}

TEST(Identification, WithoutAModuleThereIsNoneAndNoCapability)
{
    const COpenInstrument opened;
    EXPECT_FALSE(_IsPPGConnected());
    EXPECT_EQ(ExtRespIsAvailable(), 0);
    EXPECT_EQ(GetPPGFullModelNumber(), 0);
    EXPECT_STREQ(VRAXGetPPGSerialNumber(), "");
    ExpectNoFeature();
}

TEST(Identification, OfTheRespirationModule)
{
    Options options;
    options.respirationModule = true;
    const COpenInstrument opened(options);
    EXPECT_EQ(ExtRespIsAvailable(), 1);
    EXPECT_FALSE(_IsPPGConnected());
}

TEST(Identification, TheCapabilitiesOf3307AreTheDefaultOnes)
{
    const COpenInstrument opened(0x3307u);
    ExpectFeature(0, 30.0);
    ExpectLeds(1, 2, 3);
}

TEST(Identification, The3407ModuleHasTwoPhotodiodesAndALargerAmplitude)
{
    const COpenInstrument opened(0x3407u);
    ExpectFeature(2, 300.0);
    ExpectLeds(1, 2, 0);
}

TEST(Identification, AnUnknownModuleGetsTheDefaults)
{
    const COpenInstrument opened(0x1234u);
    ExpectFeature(0, 30.0);
    ExpectLeds(1, 2, 3);
}

// The low four bits of the high byte do not count here.
TEST(Identification, AModuleWithoutAModelCodeHasNoLeds)
{
    for (const unsigned model : {0x0000u, 0x0F00u}) {
        const COpenInstrument opened(model);
        EXPECT_TRUE(_IsPPGConnected());
        ExpectLeds(3, 3, 3);
    }
    const COpenInstrument opened(0x0001u);
    ExpectLeds(1, 2, 3);
}

TEST(Identification, TheConvertersHave16BitsWhenTheModuleSaysSo)
{
    Options options = COpenInstrument::WithModule(0x3307);
    options.dac16 = true;
    const COpenInstrument opened(options);
    EXPECT_EQ(g_nPPGDCDacLevel, 65535);
    EXPECT_EQ(g_nPPGACDacLevel, 65535);
}

TEST(Identification, TheConvertersHave12BitsOtherwise)
{
    for (const Bytes& reply :
         {Padded({0x55, 0, 0x81, 0xFF, 0}, 12), Padded({0x55, 0, 0x81, 0xFF, 2}, 12),
          Padded({0x55, 0, 0x81, 0xFF, 1}, 11), Bytes{}}) {
        g_nPPGDCDacLevel = std::uint16_t{65535};
        g_nPPGACDacLevel = std::uint16_t{65535};
        SimulatedInstrument device(COpenInstrument::WithModule(0x3407));
        device.SetReply({0x55, 0x00, 0x81}, reply);
        ASSERT_EQ(DoFindDevice(0), 1);
        DeviceClose();
        EXPECT_EQ(g_nPPGDCDacLevel, 4095);
        EXPECT_EQ(g_nPPGACDacLevel, 4095);
    }
}

TEST(Identification, ForgetsTheInstrumentBefore)
{
    {
        const COpenInstrument opened(0x3407u);
    }
    FACTORY_SETTING old = {};
    old.valid = 1;
    g_PPGFactorySettings.Store(old);
    ASSERT_TRUE(_IsPPGConnected());

    const COpenInstrument withoutModule;
    EXPECT_FALSE(_IsPPGConnected());
    EXPECT_EQ(g_PPGFactorySettings.Load().valid, 0);
    ExpectNoFeature();
}

TEST(Identification, ForgettingKeepsTheBoardVersionsAndTheCapabilities)
{
    {
        const COpenInstrument opened(0x3407u);
    }
    ForgetDevice();
    EXPECT_STREQ(VRAXGetSerialNumber(), "");
    EXPECT_STREQ(VRAXGetPPGSerialNumber(), "");
    ExpectVersions(kNothingKnown, g_HWInfo.Load());
    ExpectVersions({3, 0, 2, 5, 1, 2}, g_PPGHWInfo.Load());
    ExpectFeature(2, 300.0);
}

TEST(Identification, IsForgottenWhenTheConnectionEnds)
{
    SimulatedInstrument device(0);
    ASSERT_TRUE(VRAXConnect(0, 20000));
    EXPECT_STREQ(VRAXGetSerialNumber(), "TEC1020-250042");
    EXPECT_STREQ(VRAXGetFWVersion(), "2.1.00.07");
    VRAXFree();
    EXPECT_STREQ(VRAXGetSerialNumber(), "");
    EXPECT_STREQ(VRAXGetFWVersion(), "0.0.00.00");
    EXPECT_STREQ(VRAXGetHWVersion(), "0.0");
    EXPECT_EQ(GetFWMainVer(), 0u);
}
