// The commands of the external module, byte by byte.

#include <gtest/gtest.h>

#include "respiration/ExternalModule.h"
#include "respiration/ModuleCalibration.h"
#include "respiration/ModuleCommands.h"
#include "support/Frames.h"
#include "support/OpenInstrument.h"
#include "support/RespirationModule.h"
#include "synthesis/Parameters.h"
#include "synthesis/Respiration.h"
#include "vrax.h"

using instrument::FaultKind;
using instrument::Request;

namespace {
const Bytes kReadSettings = {0xCC, 0x00, 0x0D, 0x00};

Bytes WriteSettings(const Bytes& words)
{
    Bytes request = {0xCC, 0xFF, 0x0D, 0x00};
    request.insert(request.end(), words.begin(), words.end());
    return Padded(request);
}

Bytes WriteBaseline(std::uint8_t index, std::uint8_t lead)
{
    return {0xCC, 0xFF, 0x0E, 0x00, index, lead};
}

class ModuleCommands : public testing::Test {
protected:
    ModuleCommands()
    {
        for (unsigned i = 0; i < 12; ++i) {
            g_ECGExtRespirationBaselineDACTable[i] = static_cast<std::uint16_t>(0x0A00 + i);
        }
        Preset();
        device().ClearExchanges();
    }

    // As the instrument answers a read.
    void Preset() { ASSERT_EQ(VRAXExternalRespiratorySetDAC(0x0102, 0x0304, 0x0506, 0x0708), 1); }

    instrument::SimulatedInstrument& device() { return opened_.device; }
    std::vector<Bytes> Sent() { return Requests(device().Exchanges()); }

    COpenInstrument opened_{WithRespirationModule()};
};
}  // namespace

TEST_F(ModuleCommands, SetFourCodesBigEndian)
{
    EXPECT_EQ(VRAXExternalRespiratorySetDAC(0x1234, 0x00FF, 95, 0xFFFF), 1);
    EXPECT_EQ(Sent(),
              (std::vector<Bytes>{WriteSettings({0x12, 0x34, 0x00, 0xFF, 0x00, 95, 0xFF, 0xFF})}));
}

TEST_F(ModuleCommands, SaturateTheirCodes)
{
    EXPECT_EQ(VRAXExternalRespiratorySetDAC(65536, 0xFFFFFFFF, 0, 70000), 1);
    EXPECT_EQ(Sent()[0], WriteSettings({0xFF, 0xFF, 0xFF, 0xFF, 0, 0, 0xFF, 0xFF}));
}

TEST_F(ModuleCommands, ReplaceTheBaselineCodeAlone)
{
    EXPECT_EQ(VRAXExternalRespiratorySetBaselineDAC(0xBEEF), 1);
    EXPECT_EQ(Sent(),
              (std::vector<Bytes>{kReadSettings, WriteSettings({1, 2, 3, 4, 5, 6, 0xBE, 0xEF})}));
}

TEST_F(ModuleCommands, ReplaceTheThreeCodesOfAResistance)
{
    unsigned short codes[3];
    LoadRespirationDACCalibrationData();
    device().ClearExchanges();
    ExtRespGetAmplitudeDAC(50.5, codes);
    ASSERT_NE(codes[0], 0);
    EXPECT_EQ(VRAXExternalRespiratorySetAmplitudeByResistance(50.5), 1);
    Bytes words;
    for (const unsigned short code : codes) {
        words.push_back(static_cast<std::uint8_t>(code >> 8));
        words.push_back(static_cast<std::uint8_t>(code));
    }
    words.insert(words.end(), {7, 8});
    EXPECT_EQ(Sent(), (std::vector<Bytes>{kReadSettings, WriteSettings(words)}));
}

TEST_F(ModuleCommands, SelectABaselineByItsIndexWhateverLeadIsAsked)
{
    g_RespirationEnabled = true;
    g_OutputLead = 0x06u;
    EXPECT_EQ(VRAXExternalRespiratorySetBaseline(4, 7), 1);
    EXPECT_EQ(Sent(), (std::vector<Bytes>{WriteBaseline(4, 2), kReadSettings,
                                          WriteSettings({1, 2, 3, 4, 5, 6, 0x0A, 0x04})}));
}

TEST_F(ModuleCommands, ClampTheCodeOfABaselineButSendItsIndex)
{
    EXPECT_EQ(VRAXExternalRespiratorySetBaseline(15, 0), 1);
    EXPECT_EQ(Sent()[0], WriteBaseline(15, 0));
    EXPECT_EQ(Sent()[2], WriteSettings({1, 2, 3, 4, 5, 6, 0x0A, 0x0B}));
}

TEST_F(ModuleCommands, NameTheLowestOfTheFirstThreeLeads)
{
    constexpr std::uint8_t kCodes[] = {0, 1, 2, 1, 4, 1, 2, 1};
    for (const bool on : {false, true}) {
        g_RespirationEnabled = on;
        for (unsigned leads = 0; leads < 8; ++leads) {
            g_OutputLead = 0x1F8u | leads;
            device().ClearExchanges();
            ASSERT_TRUE(WriteModuleBaseline(3));
            const std::uint8_t code = on ? kCodes[leads] : std::uint8_t{0};
            EXPECT_EQ(Sent(), (std::vector<Bytes>{WriteBaseline(3, code)})) << leads;
        }
    }
}

TEST_F(ModuleCommands, FollowAChangeOfTheLeads)
{
    g_RespirationEnabled = true;
    s_RespBaselineSelection = 5;
    g_OutputLead = 1u;
    ASSERT_EQ(VRAXSetOutputLead(1, true), 0);
    ASSERT_EQ(VRAXSetOutputLead(0, false), 0);
    const auto writes = device().Exchanges(Request::BaselineWrite);
    EXPECT_EQ(Requests(writes), (std::vector<Bytes>{WriteBaseline(5, 1), WriteBaseline(5, 2)}));
    device().ClearExchanges();
    ASSERT_EQ(VRAXSetOutputLead(0, false), 0);  // it is off
    EXPECT_TRUE(Sent().empty());
}

TEST_F(ModuleCommands, ReadTheSettingsAsTheyAre)
{
    ModuleSettings settings = {};
    ASSERT_TRUE(ReadModuleSettings(settings));
    EXPECT_EQ(settings.words[0], 0x0102);
    EXPECT_EQ(settings.words[3], 0x0708);
    EXPECT_EQ(Sent(), (std::vector<Bytes>{kReadSettings}));
}

TEST_F(ModuleCommands, FailWithoutAcknowledgementOfAWrite)
{
    for (const FaultKind kind :
         {FaultKind::WrongAcknowledge, FaultKind::ShortReply, FaultKind::Silence}) {
        device().Inject(FaultOn(Request::ModuleWrite, kind));
        EXPECT_EQ(VRAXExternalRespiratorySetDAC(1, 2, 3, 4), 0);
        device().Inject(FaultOn(Request::ModuleWrite, kind));
        EXPECT_EQ(VRAXExternalRespiratorySetBaselineDAC(1), 0);
        device().Inject(FaultOn(Request::ModuleWrite, kind));
        EXPECT_EQ(VRAXExternalRespiratorySetAmplitudeByResistance(50.0), 0);
        device().Inject(FaultOn(Request::ModuleWrite, kind));
        EXPECT_EQ(VRAXExternalRespiratorySetBaseline(1, 0), 0);
    }
    EXPECT_EQ(device().PendingFaults(), 0u);
}

TEST_F(ModuleCommands, WriteNothingWhenTheSettingsCannotBeRead)
{
    for (const FaultKind kind : {FaultKind::WrongAcknowledge, FaultKind::ShortReply}) {
        device().Inject(FaultOn(Request::ModuleRead, kind));
        EXPECT_EQ(VRAXExternalRespiratorySetBaselineDAC(1), 0);
        device().Inject(FaultOn(Request::ModuleRead, kind));
        EXPECT_EQ(VRAXExternalRespiratorySetAmplitudeByResistance(50.0), 0);
        device().Inject(FaultOn(Request::ModuleRead, kind));
        EXPECT_EQ(VRAXExternalRespiratorySetBaseline(1, 0), 0);
    }
    EXPECT_TRUE(device().Exchanges(Request::ModuleWrite).empty());
}

TEST_F(ModuleCommands, StopAtABaselineThatGetsNoWholeReply)
{
    device().Inject(FaultOn(Request::BaselineWrite, FaultKind::ShortReply));
    EXPECT_EQ(VRAXExternalRespiratorySetBaseline(1, 0), 0);
    EXPECT_EQ(Sent().size(), 1u);
}

TEST_F(ModuleCommands, DoNotLookAtTheReplyToABaseline)
{
    device().Inject(FaultOn(Request::BaselineWrite, FaultKind::WrongAcknowledge));
    EXPECT_EQ(VRAXExternalRespiratorySetBaseline(1, 0), 1);
}

TEST(ModuleCommandsElsewhere, FailWithoutTheModule)
{
    COpenInstrument opened;
    EXPECT_EQ(VRAXRespirationModuleIsConnected(), 0);
    EXPECT_EQ(VRAXExternalRespiratorySetDAC(1, 2, 3, 4), 0);
    EXPECT_EQ(VRAXExternalRespiratorySetBaselineDAC(1), 0);
    EXPECT_EQ(VRAXExternalRespiratorySetAmplitudeByResistance(50.0), 0);
    EXPECT_EQ(VRAXExternalRespiratorySetBaseline(1, 0), 0);
}

TEST(ModuleCommandsElsewhere, FailWithoutAnInstrument)
{
    EXPECT_EQ(VRAXRespirationModuleIsConnected(), 0);
    EXPECT_EQ(VRAXExternalRespiratorySetDAC(1, 2, 3, 4), 0);
    EXPECT_EQ(VRAXExternalRespiratorySetBaselineDAC(1), 0);
    EXPECT_EQ(VRAXExternalRespiratorySetAmplitudeByResistance(50.0), 0);
    EXPECT_EQ(VRAXExternalRespiratorySetBaseline(1, 0), 0);
}
