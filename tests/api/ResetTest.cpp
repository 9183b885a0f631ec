// The three resets: what they put back, in which order, and the lines that they write.

#include <gtest/gtest.h>

#include "ppg/Channels.h"
#include "support/ApiLogFile.h"
#include "support/RegisteredListener.h"
#include "synthesis/Parameters.h"

namespace {
// Every parameter that a reset knows, away from its default.
void ChangeEverything()
{
    g_Amplitude = 2.0;
    g_F = 2.0;
    g_DCSetting = 100;
    g_DCVariable = false;
    g_DCCommon = true;
    g_PulseWidth = 50.0;
    g_InputImpedance = false;
    g_PacingPulse = 1;
    g_QRSDuration = 80.0;
    g_CusT = 0.5;
    g_PA = 10.0;
    g_PacingDuration = 1.0;
    g_PacingRate = 80u;
    g_pacingSynchronized = false;
    g_PacingOvershootTC = 5u;
    g_MainNoise = 1;
    g_AAMIDriftTest = true;
    g_ADynamicRange = 2.0;
    g_Fduration = 60;
    g_PDuration = 80.0;
    g_PRInterval = 120.0;
    g_QTInterval = 400.0;
    g_CusP = 0.1;
    g_CusST = 0.3;
    SpecialWaveFormNo = 3;
    ANE20000ChannelNo = 4;
    g_OutputLead = 0x1FEu;
}

const Lines kSetterLines = {
    "VRAXSetAmplitude(1.00);",
    "VRAXSetFrequency(1.00);",
    "VRAXSetDCOffset(0);",
    "VRAXSetDCOffsetVariableMode(true);",
    "VRAXSetDCOffsetCommonMode(false);",
    "VRAXSetPulseWidth(100);",
    "VRAXSetInputImpedanceMode(true);",
    "VRAXSetPacingPulseMode(0);",
    "VRAXSetQRSDuration(100);",
    "VRAXSetTWave(0.2);",
    "VRAXSetPacingAmplitude(0);",
    "VRAXSetPacingDuration(2);",
    "VRAXSetPacingRate(60);",
    "VRAXSetPacingRateSynchronized();",
    "VRAXSetOvershootTimeConstant(0);",
    "VRAXSetECG2_27_Noise(0, 0.10);",
    "VRAXSetECG2_27_AAMIDriftTest(false);",
    "VRAXSetECG2_27_AAMIDriftTestAmplitude(4.0);",
    "VRAXSetECG2_27_AAMIDriftTestFrequency(0.10);",
    "VRAXSetDynamicRangeTest(false, true, 1.0, 40);",
    "VRAXSetFrequencyScanSine(false, 0.67, 150.00, 30);",
    "VRAXSetPDuration(100);",
    "VRAXSetPRInterval(160);",
    "VRAXSetQTInterval(350);",
    "VRAXSetPWave(0.2);",
    "SetSTDeviation(0.00);",
};

Lines WithSetterLines(const Lines& before, const Lines& after)
{
    Lines lines = before;
    lines.insert(lines.end(), kSetterLines.begin(), kSetterLines.end());
    lines.insert(lines.end(), after.begin(), after.end());
    return lines;
}

TEST(Reset, CallsTheSettersInOrderAndSwitchesLead0OnAlone)
{
    RegisteredListener listener;
    ChangeEverything();
    ApiLogFile log;
    VRAXReset();
    EXPECT_EQ(log.NewLines(), WithSetterLines({"VRAXReset();"}, {"SetOutputLead(0, true);"}));
    EXPECT_EQ(GetAllOutputLead(), 1u);
}

TEST(Reset, AllLeadOffLeavesEveryLeadOff)
{
    RegisteredListener listener;
    ChangeEverything();
    ApiLogFile log;
    VRAXResetAllLeadOff();
    EXPECT_EQ(log.NewLines(), WithSetterLines({"VRAXResetAllLeadOff();"}, {}));
    EXPECT_EQ(GetAllOutputLead(), 0u);
}

TEST(Reset, ExLeavesTheLeadsAsTheyWereAndWritesNoLineOfItsOwn)
{
    RegisteredListener listener;
    ChangeEverything();
    ApiLogFile log;
    VRAXResetEx();
    EXPECT_EQ(log.NewLines(), WithSetterLines({}, {}));
    EXPECT_EQ(GetAllOutputLead(), 0x1FEu);
}

TEST(Reset, OnAFreshLibraryWritesNoLineOfAParameterAtItsDefault)
{
    RegisteredListener listener;
    ApiLogFile log;
    VRAXReset();
    EXPECT_EQ(log.NewLines(), (Lines{"VRAXReset();", "VRAXSetPacingRateSynchronized();",
                                     "SetOutputLead(0, true);"}));
    EXPECT_EQ(GetAllOutputLead(), 1u);
    VRAXResetAllLeadOff();
    EXPECT_EQ(log.NewLines(),
              (Lines{"VRAXResetAllLeadOff();", "VRAXSetPacingRateSynchronized();"}));
    VRAXResetEx();
    EXPECT_EQ(log.NewLines(), Lines{"VRAXSetPacingRateSynchronized();"});
}

TEST(Reset, SynchronisesThePacingWhateverItWas)
{
    RegisteredListener listener;
    g_pacingSynchronized = false;
    VRAXReset();
    EXPECT_TRUE(g_pacingSynchronized);
}

// Two values of one setter: either calls it.
TEST(Reset, CallsASetterOfSeveralValuesWhenAnyOfThemDiffers)
{
    RegisteredListener listener;
    const auto linesAfter = [](auto change) {
        change();
        ApiLogFile log;
        VRAXResetEx();
        return log.NewLines();
    };
    const Lines noise = {"VRAXSetPacingRateSynchronized();", "VRAXSetECG2_27_Noise(0, 0.10);"};
    EXPECT_EQ(linesAfter([] { g_MainNoise = 2; }), noise);
    EXPECT_EQ(linesAfter([] { g_MainsNoiseAmp = 2.0; }), noise);
    const Lines range = {"VRAXSetPacingRateSynchronized();",
                         "VRAXSetDynamicRangeTest(false, true, 1.0, 40);"};
    EXPECT_EQ(linesAfter([] { g_DynamicRangeTriangle = false; }), range);
    EXPECT_EQ(linesAfter([] { g_FDynamicRange = 41.0; }), range);
    const Lines scan = {"VRAXSetPacingRateSynchronized();",
                        "VRAXSetFrequencyScanSine(false, 0.67, 150.00, 30);"};
    EXPECT_EQ(linesAfter([] { g_Fstart = 1.0; }), scan);
    EXPECT_EQ(linesAfter([] { g_Ffinal = 1.0; }), scan);
    const Lines drift = {"VRAXSetPacingRateSynchronized();", "VRAXSetECG2_27_AAMIDriftTest(false);",
                         "VRAXSetECG2_27_AAMIDriftTestAmplitude(4.0);",
                         "VRAXSetECG2_27_AAMIDriftTestFrequency(0.10);"};
    EXPECT_EQ(linesAfter([] { g_AAMIDriftTestAmp = 5.0; }), drift);
    EXPECT_EQ(linesAfter([] { g_AAMIDriftTestWaveLen = 5.0; }), drift);
}

TEST(Reset, PutsTheUnloggedSelectionsBack)
{
    RegisteredListener listener;
    SpecialWaveFormNo = 3;
    ANE20000ChannelNo = 4;
    s_loopPlay = false;
    g_bECGOutputEnabled = false;
    g_bPPGOutputEnabled[1] = true;
    VRAXReset();
    EXPECT_EQ(VRAXGetSpecialWave227(), 0);
    EXPECT_EQ(VRAXGetANE20000Lead(), 0);
    EXPECT_TRUE(s_loopPlay);
    EXPECT_TRUE(g_bECGOutputEnabled);
    EXPECT_FALSE(g_bPPGOutputEnabled[1]);
}

TEST(Reset, LeavesOvershootCustomTAndFileLoopingAlone)
{
    RegisteredListener listener;
    VRAXSetOvershootAmplitude(2.5);
    VRAXSetCustomizedTDuration(200.0);
    VRAXSetFileLoop(0);
    VRAXReset();
    EXPECT_EQ(VRAXGetOvershootAmplitude(), 2.5);
    EXPECT_EQ(VRAXGetCustomizedTDuration(), 200.0);
    EXPECT_FALSE(s_loopFile);
}

// Without device and listener the setters refuse, whatever the reset asks.
TEST(Reset, WithoutDeviceAndListenerLeavesWhatTheSettersRefuse)
{
    g_Amplitude = 2.0;
    ApiLogFile log;
    VRAXReset();
    EXPECT_EQ(VRAXGetAmplitude(), 2.0);
    EXPECT_EQ(log.NewLines(), Lines{"VRAXReset();"});
}
}  // namespace
