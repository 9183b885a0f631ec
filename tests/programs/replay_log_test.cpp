// The lines of a log against the library that writes them.

#include <gtest/gtest.h>

#include "programs/Listening.h"
#include "programs/vrax/Failure.h"
#include "programs/vrax/LogLines.h"
#include "support/ApiLogFile.h"

using namespace vrax;

namespace {

// One call of every function that is logged without an instrument, with other than usual values.
void MakeEveryCall()
{
    VRAXSetOutputLead(3, true);
    VRAXEnableECGOutput(false);
    VRAXSetAmplitude(2.25);
    VRAXSetFrequency(1.5);
    VRAXSetDCOffset(-120);
    VRAXSetDCOffsetVariableMode(false);
    VRAXSetDCOffsetCommonMode(true);
    VRAXSetPulseWidth(50);
    VRAXSetInputImpedanceMode(false);
    VRAXSetQRSDuration(80);
    VRAXSetTWave(0.4);
    VRAXSetPDuration(90);
    VRAXSetPRInterval(150);
    VRAXSetQTInterval(300);
    VRAXSetPWave(0.1);
    VRAXSetSTDeviation(-0.25);
    VRAXSetCustomizedTDuration(200);
    VRAXSetSpecialWave227(3);
    VRAXSetSpecialWave251(4);
    VRAXSetSpecialWave247(2);
    VRAXSetPacingPulseMode(1);
    VRAXSetPacingAmplitude(100);
    VRAXSetPacingDuration(1);
    VRAXSetPacingRate(90);
    VRAXSetPacingRateSynchronized();
    VRAXSetOvershootTimeConstant(20);
    VRAXSetOvershootAmplitude(1.5);
    VRAXSetECG2_27_Noise(2, 0.25);
    VRAXSetECG2_27_AAMIDriftTest(true);
    VRAXSetECG2_27_AAMIDriftTestAmplitude(2.5);
    VRAXSetECG2_27_AAMIDriftTestFrequency(0.25);
    VRAXSetRespirationAlgorithm(15, 2, 10, 20, 10, 5);
    VRAXDisableRespireAlgorithm();
    VRAXSetPPGStandardWaveform(1, 3, 2, 0, 1.25, 900, 12.5);
    VRAXSetPTTp(150);
    VRAXEnablePPGOutput(1, true);
}

}  // namespace

TEST(ReplayLog, MadeAgainWritesTheSameLog)
{
    const Listening listening;
    ApiLogFile log;
    MakeEveryCall();
    const Lines first = log.NewLines();
    EXPECT_EQ(first.size(), 36U);
    for (const std::string& line : first) {
        EXPECT_TRUE(MakeLogCall(ReadLogLine(line)).isDone) << line;
    }
    EXPECT_EQ(log.NewLines(), first);
}

TEST(ReplayLog, PutsTheArgumentsOfAScanInTheOrderOfTheCall)
{
    const Listening listening;
    const LogCall call = ReadLogLine("VRAXSetFrequencyScanSine(true, 5.00, 90.00, 20);");
    EXPECT_TRUE(MakeLogCall(call).isDone);
    EXPECT_EQ(VRAXGetFrequencyScanSineStartFrequency(), 5.0);
    EXPECT_EQ(VRAXGetFrequencyScanSineStopFrequency(), 90.0);
    EXPECT_EQ(VRAXGetFrequencyScanSineDuration(), 20);
    EXPECT_EQ(VRAXSetOutputFunction(OUTPUT_OFF), 0);
}

TEST(ReplayLog, RefusesWhatIsNoCall)
{
    for (const char* line :
         {"VRAXSetAmplitude(1.00)", "VRAXSetAmplitude 1.00;", "VRAXSetColour(1);",
          "VRAXSetAmplitude();", "VRAXSetAmplitude(1, 2);", "VRAXSetAmplitude(x);",
          "VRAXSetAmplitude(nan);", "VRAXSetDCOffset(1.5);", "VRAXSetDCOffset(3000000000);",
          "VRAXEnableECGOutput(1);", "VRAXReset(0);"}) {
        EXPECT_THROW(ReadLogLine(line), Failure) << line;
    }
}

TEST(ReplayLog, TellsARefusedCall)
{
    const Listening listening;
    const LogResult result = MakeLogCall(ReadLogLine("VRAXSetAmplitude(41.00);"));
    EXPECT_EQ(result.code, -2);
    EXPECT_FALSE(result.isDone);
}
