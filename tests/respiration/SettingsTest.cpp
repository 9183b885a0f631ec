// The settings of the impedance respiration: ranges, bytes, codes, log, and the switch.

#include <gtest/gtest.h>

#include <vector>

#include "respiration/ExternalModule.h"
#include "support/ApiLogFile.h"
#include "support/Frames.h"
#include "support/OpenInstrument.h"
#include "support/RespirationModule.h"
#include "support/Timing.h"
#include "synthesis/Parameters.h"
#include "synthesis/Respiration.h"
#include "vrax.h"

using instrument::FaultKind;
using instrument::Request;

namespace {
std::vector<int> Stored()
{
    return {g_nECGExtRespirationMode, s_RespVariation,         s_RespFreq, s_RespRatio,
            s_RespBaseline,           s_RespBaselineSelection, s_ApneaTime};
}
const std::vector<int> kNothing(7, 0);

Bytes Block(std::uint8_t rate, std::uint8_t variation, std::uint8_t ratio, std::uint8_t baseline)
{
    return Padded({0xEA, 0xFF, 0x01, 0, 0, 0, 0, 0, rate, variation, ratio, baseline}, 19);
}

class RespirationSettingsOnTheWire : public testing::Test {
protected:
    instrument::SimulatedInstrument& device() { return opened_.device; }
    std::vector<Bytes> Sent() { return Requests(device().Exchanges()); }

    COpenInstrument opened_;
};

class ModuleSettingsOnTheWire : public testing::Test {
protected:
    ModuleSettingsOnTheWire()
    {
        for (unsigned i = 0; i < 12; ++i) {
            g_ECGExtRespirationBaselineDACTable[i] = static_cast<std::uint16_t>(0x0A00 + i);
        }
        EXPECT_EQ(VRAXExternalRespiratorySetDAC(0x0102, 0x0304, 0x0506, 0x0708), 1);
        device().ClearExchanges();
    }
    instrument::SimulatedInstrument& device() { return opened_.device; }
    std::vector<Bytes> Sent() { return Requests(device().Exchanges()); }

    static std::vector<Bytes> BaselineThenCode(std::uint8_t index, std::uint8_t lead)
    {
        return {{0xCC, 0xFF, 0x0E, 0x00, index, lead},
                {0xCC, 0x00, 0x0D, 0x00},
                Padded({0xCC, 0xFF, 0x0D, 0x00, 1, 2, 3, 4, 5, 6, 0x0A, index})};
    }

    COpenInstrument opened_{WithRespirationModule()};
};
}  // namespace

TEST_F(RespirationSettingsOnTheWire, AreNineteenBytes)
{
    const CStopwatch watch;
    EXPECT_EQ(VRAXSetRespiration(1234, 15, 2, 1000, 10), 1);
    EXPECT_GE(watch.Ms(), 40.0);
    EXPECT_EQ(Sent(), (std::vector<Bytes>{Block(15, 12, 1, 1)}));
    EXPECT_EQ(Stored(), (std::vector<int>{0, 1234, 15, 1, 1000, 1, 10}));
    EXPECT_EQ(s_RespPeriod, 4.0);
}

TEST_F(RespirationSettingsOnTheWire, KnowFiveBaselines)
{
    constexpr int kOhms[] = {500, 1000, 1500, 2000, 2500, 750, 0, 3000};
    constexpr std::uint8_t kIndices[] = {0, 1, 2, 3, 4, 0, 0, 0};
    for (int i = 0; i < 8; ++i) {
        device().ClearExchanges();
        EXPECT_EQ(VRAXSetRespiration(100, 20, 1, kOhms[i], 0), 1);
        EXPECT_EQ(Sent(), (std::vector<Bytes>{Block(20, 1, 0, kIndices[i])})) << kOhms[i];
        EXPECT_EQ(s_RespBaseline, kOhms[i]);
    }
}

TEST_F(RespirationSettingsOnTheWire, TakeTheEndsOfEveryRange)
{
    EXPECT_EQ(VRAXSetRespiration(50, 1, 1, 500, 0), 1);
    EXPECT_EQ(VRAXSetRespiration(10000, 200, 5, 2500, 60), 1);
    EXPECT_EQ(Sent(), (std::vector<Bytes>{Block(1, 0, 0, 0), Block(200, 100, 4, 4)}));
}

TEST_F(RespirationSettingsOnTheWire, SendAndStoreNothingOutOfRange)
{
    ApiLogFile log;
    constexpr int kRefused[][5] = {
        {49, 15, 2, 500, 0},    {10001, 15, 2, 500, 0}, {1000, 0, 2, 500, 0},
        {1000, 201, 2, 500, 0}, {1000, 15, 0, 500, 0},  {1000, 15, 6, 500, 0},
        {1000, 15, 2, 500, -1}, {1000, 15, 2, 500, 61},
    };
    for (const int(&a)[5] : kRefused) {
        EXPECT_EQ(VRAXSetRespiration(a[0], a[1], a[2], a[3], a[4]), 0);
    }
    EXPECT_TRUE(Sent().empty());
    EXPECT_EQ(Stored(), kNothing);
    EXPECT_EQ(log.NewText(), "");
}

TEST_F(RespirationSettingsOnTheWire, AreStoredAlsoWhenTheInstrumentDoesNotAccept)
{
    for (const FaultKind kind :
         {FaultKind::WrongAcknowledge, FaultKind::ShortReply, FaultKind::Silence}) {
        device().Inject(FaultOn(Request::Respiration, kind));
        const int rate = 10 + static_cast<int>(kind);
        EXPECT_EQ(VRAXSetRespiration(1000, rate, 2, 500, 5), 0);
        EXPECT_EQ(s_RespFreq, rate);
    }
    EXPECT_EQ(device().PendingFaults(), 0u);
}

TEST_F(RespirationSettingsOnTheWire, OfTheCalibrationKeepRateRatioAndApnea)
{
    ASSERT_EQ(VRAXSetRespiration(1000, 30, 3, 500, 7), 1);
    device().ClearExchanges();
    ApiLogFile log;
    EXPECT_EQ(VRAXSetCalibrationRespiration(2345, 2000), 1);
    EXPECT_EQ(Sent(), (std::vector<Bytes>{Block(30, 23, 2, 3)}));
    EXPECT_EQ(Stored(), (std::vector<int>{1, 2345, 30, 2, 2000, 3, 7}));
    EXPECT_EQ(log.NewText(), "");
    device().Inject(FaultOn(Request::Respiration, FaultKind::WrongAcknowledge));
    EXPECT_EQ(VRAXSetCalibrationRespiration(99, 500), 0);
    ASSERT_EQ(VRAXSetRespiration(1000, 30, 3, 500, 7), 1);
    EXPECT_EQ(g_nECGExtRespirationMode, 0);
}

TEST_F(RespirationSettingsOnTheWire, OfTheCalibrationAreNotChecked)
{
    EXPECT_EQ(VRAXSetCalibrationRespiration(1, 123), 1);
    EXPECT_EQ(VRAXSetCalibrationRespiration(-100, 500), 1);
    EXPECT_EQ(VRAXSetCalibrationRespiration(30000, 500), 1);
    EXPECT_EQ(Sent(), (std::vector<Bytes>{Block(0, 0, 0, 0), Block(0, 0xFF, 0, 0),
                                          Block(0, 300 & 0xFF, 0, 0)}));
}

TEST_F(RespirationSettingsOnTheWire, AreLogged)
{
    ApiLogFile log;
    VRAXSetRespiration(1234, 15, 2, 750, 10);
    VRAXEnableRespiration(7);
    VRAXEnableRespiration(0);
    EXPECT_EQ(log.NewLines(),
              (Lines{"VRAXSetRespiration(1234, 15, 2, 750, 10);", "VRAXEnableRespiration(true);",
                     "VRAXEnableRespiration(false);"}));
}

TEST_F(RespirationSettingsOnTheWire, AreZeroAfterRespirationWasSwitchedOff)
{
    ASSERT_EQ(VRAXSetRespiration(1000, 30, 3, 1500, 7), 1);
    EXPECT_EQ(VRAXEnableRespiration(1), 1);
    EXPECT_TRUE(g_RespirationEnabled);
    EXPECT_EQ(Stored(), (std::vector<int>{0, 1000, 30, 2, 1500, 2, 7}));
    EXPECT_EQ(VRAXEnableRespiration(0), 1);
    EXPECT_FALSE(g_RespirationEnabled);
    EXPECT_EQ(Stored(), kNothing);
    EXPECT_TRUE(device().Exchanges(Request::BaselineWrite).empty());
}

TEST(RespirationSettingsElsewhere, NeedAnInstrument)
{
    ApiLogFile log;
    EXPECT_EQ(VRAXSetRespiration(1000, 15, 2, 500, 10), 0);
    EXPECT_EQ(VRAXSetCalibrationRespiration(1000, 500), 0);
    EXPECT_EQ(Stored(), kNothing);
    EXPECT_EQ(log.NewText(), "");
}

TEST(RespirationSettingsElsewhere, TakeTheSwitchWithoutAnInstrument)
{
    ApiLogFile log;
    EXPECT_EQ(VRAXEnableRespiration(1), 0);
    EXPECT_TRUE(g_RespirationEnabled);
    EXPECT_EQ(log.NewLines(), (Lines{"VRAXEnableRespiration(true);"}));
    VRAXResetEx();
    EXPECT_FALSE(g_RespirationEnabled);
    EXPECT_NE(log.NewText().find("VRAXEnableRespiration(false);"), std::string::npos);
    VRAXResetEx();
    EXPECT_EQ(log.NewText().find("Respir"), std::string::npos);
}

TEST_F(ModuleSettingsOnTheWire, AreABaselineAndItsCode)
{
    g_OutputLead = 4u;
    g_RespirationEnabled = true;
    EXPECT_EQ(VRAXSetRespiration(1000, 15, 2, 3500, 0), 1);
    EXPECT_EQ(Sent(), BaselineThenCode(9, 4));
    EXPECT_EQ(g_nECGExtRespirationBaselineDAC, 0x0A09);
    device().ClearExchanges();
    EXPECT_EQ(VRAXSetCalibrationRespiration(1000, 100), 1);
    EXPECT_EQ(Sent(), BaselineThenCode(1, 4));
    EXPECT_EQ(g_nECGExtRespirationBaselineDAC, 0x0A01);
}

TEST_F(ModuleSettingsOnTheWire, OfAnUnknownBaselineKeepTheCodeOfTheStream)
{
    ASSERT_EQ(VRAXSetRespiration(1000, 15, 2, 4500, 0), 1);
    device().ClearExchanges();
    EXPECT_EQ(VRAXSetRespiration(1000, 15, 2, 750, 0), 1);
    EXPECT_EQ(Sent(), BaselineThenCode(0, 0));
    EXPECT_EQ(g_nECGExtRespirationBaselineDAC, 0x0A0B);
}

TEST_F(ModuleSettingsOnTheWire, StopAtTheFirstStepThatFails)
{
    constexpr Request kSteps[] = {Request::BaselineWrite, Request::ModuleRead,
                                  Request::ModuleWrite};
    for (std::size_t i = 0; i < 3; ++i) {
        device().Inject(FaultOn(kSteps[i], FaultKind::ShortReply));
        device().ClearExchanges();
        EXPECT_EQ(VRAXSetRespiration(1000, 15 + static_cast<int>(i), 2, 500, 0), 0);
        EXPECT_EQ(Sent().size(), i + 1);
        EXPECT_EQ(s_RespFreq, 15 + static_cast<int>(i));
    }
}

TEST_F(ModuleSettingsOnTheWire, SwitchTheModuleWithTheRelaysAndClearItsBaseline)
{
    ASSERT_EQ(VRAXEnableRespiration(1), 1);
    EXPECT_EQ(device().Relays().word & 0x18u, 0x18u);
    ASSERT_EQ(VRAXSetRespiration(1000, 15, 2, 2000, 0), 1);
    device().ClearExchanges();
    ASSERT_EQ(VRAXEnableRespiration(0), 1);
    EXPECT_EQ(device().Relays().word & 0x18u, 0u);
    const auto exchanges = device().Exchanges();
    ASSERT_EQ(exchanges.size(), 2u);
    EXPECT_EQ(exchanges[0].kind, Request::Relays);
    EXPECT_EQ(exchanges[1].request, (Bytes{0xCC, 0xFF, 0x0E, 0x00, 0, 0}));
}
