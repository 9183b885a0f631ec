// The parameters that are a flag, and those without a range.

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "ppg/Channels.h"
#include "streaming/PendingChange.h"
#include "support/ApiLogFile.h"
#include "support/OfflineRun.h"
#include "support/RegisteredListener.h"
#include "synthesis/BeatModel.h"
#include "synthesis/TestSignals.h"

namespace {
enum class Effect { kNextCycle, kRelays };

struct FlagParameter {
    const char* name;
    int (*set)(bool);
    bool (*get)();
    bool standard;
    Effect effect;
    std::uint32_t relayBit;  // of the relay word
    bool setsBitWhen;
};

void PrintTo(const FlagParameter& parameter, std::ostream* out) { *out << parameter.name; }

const FlagParameter kFlags[] = {
    {"VRAXSetDCOffsetVariableMode", VRAXSetDCOffsetVariableMode, VRAXGetDCOffsetVariableMode, true,
     Effect::kNextCycle, 0, false},
    {"VRAXSetDCOffsetCommonMode", VRAXSetDCOffsetCommonMode, VRAXGetDCOffsetCommonMode, false,
     Effect::kRelays, 0x01, true},
    {"VRAXSetInputImpedanceMode", VRAXSetInputImpedanceMode, VRAXGetInputImpedanceMode, true,
     Effect::kRelays, 0x20, false},
    {"VRAXSetECG2_27_AAMIDriftTest", VRAXSetECG2_27_AAMIDriftTest, VRAXGetECG2_27_AAMIDriftTest,
     false, Effect::kNextCycle, 0, false},
};

std::vector<FlagParameter> RelayParameters()
{
    std::vector<FlagParameter> flags;
    for (const FlagParameter& flag : kFlags) {
        if (flag.effect == Effect::kRelays) flags.push_back(flag);
    }
    return flags;
}

std::string NameOf(const testing::TestParamInfo<FlagParameter>& test)
{
    return std::string(test.param.name).substr(std::string("VRAXSet").size());
}

class Flags : public testing::TestWithParam<FlagParameter> {
protected:
    static std::string Line(bool value)
    {
        return std::string(GetParam().name) + (value ? "(true);" : "(false);");
    }
};

class RelayFlags : public Flags {};

TEST_P(Flags, HasItsDefaultAtLoad) { EXPECT_EQ(GetParam().get(), GetParam().standard); }

TEST_P(Flags, StoresAndLogsBothValues)
{
    RegisteredListener listener;
    ApiLogFile log;
    for (const bool value : {true, false, true}) {
        EXPECT_EQ(GetParam().set(value), 0);
        EXPECT_EQ(GetParam().get(), value);
        EXPECT_EQ(log.NewLines(), Lines{Line(value)});
    }
}

TEST_P(Flags, WithoutDeviceAndListenerGivesMinusOne)
{
    ApiLogFile log;
    EXPECT_EQ(GetParam().set(!GetParam().standard), -1);
    EXPECT_EQ(GetParam().get(), GetParam().standard);
    EXPECT_EQ(log.NewText(), "");
}

TEST_P(Flags, TakesEffectAsDocumentedWhilePlaying)
{
    RegisteredListener listener;
    OfflineRun run(OUTPUT_YY1079_DYNAMIC_RANGE);
    g_YY1079DynamicRangeSlope = 2.0;  // a derivation would show in the period
    ASSERT_EQ(GetParam().set(!GetParam().standard), 0);
    EXPECT_EQ(g_bChangeOnNextCycle, GetParam().effect == Effect::kNextCycle);
    EXPECT_EQ(g_Cycle.Read().s_tp, 1200.0);
}

TEST_P(RelayFlags, MovesItsRelayAtOnce)
{
    RegisteredListener listener;
    for (const bool value : {true, false}) {
        ASSERT_EQ(GetParam().set(value), 0);
        EXPECT_EQ((g_nRelayControl & GetParam().relayBit) != 0, value == GetParam().setsBitWhen);
    }
}

TEST_P(Flags, IsPutBackByAReset)
{
    RegisteredListener listener;
    ASSERT_EQ(GetParam().set(!GetParam().standard), 0);
    ApiLogFile log;
    VRAXReset();
    EXPECT_EQ(GetParam().get(), GetParam().standard);
    const Lines lines = log.NewLines();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), Line(GetParam().standard)), 1);
}

INSTANTIATE_TEST_SUITE_P(Parameters, Flags, testing::ValuesIn(kFlags), NameOf);
INSTANTIATE_TEST_SUITE_P(Parameters, RelayFlags, testing::ValuesIn(RelayParameters()), NameOf);

TEST(CommonModeByNumber, TakesTheLowEightBitsAsTheFlag)
{
    RegisteredListener listener;
    EXPECT_EQ(SetDCOffsetCommoneMode(0x180), 0);
    EXPECT_TRUE(VRAXGetDCOffsetCommonMode());
    EXPECT_EQ(SetDCOffsetCommoneMode(0x100), 0);
    EXPECT_FALSE(VRAXGetDCOffsetCommonMode());
}

TEST(CommonModeByNumber, WritesTheLineOfTheSetterThatItCalls)
{
    RegisteredListener listener;
    ApiLogFile log;
    SetDCOffsetCommoneMode(1);
    EXPECT_EQ(log.NewLines(), Lines{"VRAXSetDCOffsetCommonMode(true);"});
}

TEST(CommonModeByNumber, WithoutDeviceAndListenerGivesMinusOne)
{
    EXPECT_EQ(SetDCOffsetCommoneMode(1), -1);
    EXPECT_FALSE(VRAXGetDCOffsetCommonMode());
}

TEST(PacingPulseMode, StoresAnyNumberWithTheNextCycle)
{
    RegisteredListener listener;
    OfflineRun run(OUTPUT_SINE);
    EXPECT_EQ(VRAXGetPacingPulseMode(), 0);
    for (const int mode : {1, 2, -7, 2147483647}) {
        g_bChangeOnNextCycle = false;
        ApiLogFile log;
        EXPECT_EQ(VRAXSetPacingPulseMode(mode), 0);
        EXPECT_EQ(VRAXGetPacingPulseMode(), mode);
        EXPECT_TRUE(g_bChangeOnNextCycle);
        EXPECT_EQ(log.NewLines(), Lines{"VRAXSetPacingPulseMode(" + std::to_string(mode) + ");"});
    }
}

TEST(PacingPulseMode, WithoutDeviceAndListenerGivesMinusOne)
{
    EXPECT_EQ(VRAXSetPacingPulseMode(1), -1);
    EXPECT_EQ(VRAXGetPacingPulseMode(), 0);
}

TEST(SpecialWaves, ShareOneNumberSoThatTheLastCallWins)
{
    EXPECT_EQ(VRAXGetSpecialWave227(), 0);
    EXPECT_EQ(VRAXSetSpecialWave227(3), 0);
    EXPECT_EQ(VRAXSetSpecialWave251(5), 0);
    EXPECT_EQ(VRAXGetSpecialWave227(), 5);
    EXPECT_EQ(VRAXSetSpecialWave247(2), 0);
    EXPECT_EQ(VRAXGetSpecialWave251(), 2);
    EXPECT_EQ(VRAXGetSpecialWave247(), 2);
}

TEST(SpecialWaves, NeedNeitherDeviceNorListenerAndLogTheirOwnNames)
{
    ApiLogFile log;
    VRAXSetSpecialWave227(1);
    VRAXSetSpecialWave251(-2);
    VRAXSetSpecialWave247(70000);
    EXPECT_EQ(log.NewLines(), (Lines{"SetSpecialWave227(1);", "SetSpecialWave251(-2);",
                                     "SetSpecialWave247(70000);"}));
}

TEST(SpecialWaves, TakeEffectAtOnceWhilePlaying)
{
    OfflineRun run(OUTPUT_IEC227);
    const double first = g_Cycle.Read().s_tp;
    VRAXSetSpecialWave227(4);
    EXPECT_FALSE(g_bChangeOnNextCycle);
    EXPECT_NE(g_Cycle.Read().s_tp, first);
}

// Stored unchecked, but never used to look outside a table.
TEST(SpecialWaves, PlayZeroMillivoltsForANumberOutsideTheTables)
{
    for (const int function : {OUTPUT_IEC227, OUTPUT_IEC251, OUTPUT_IEC247}) {
        for (const int number : {-1, -2147483647 - 1, 16, 2147483647}) {
            VRAXSetSpecialWave227(number);
            OfflineRun run(function, 1000);
            for (const instrument::Slot& sample : run.NextSamples(700)) {
                ASSERT_EQ(sample.ac, 0) << function << " " << number;
            }
        }
    }
}

TEST(ANE20000Lead, TakesZeroToEightAndRefusesOthersWithMinusOne)
{
    EXPECT_EQ(VRAXGetANE20000Lead(), 0);
    EXPECT_EQ(VRAXSetANE20000Lead(8), 0);
    EXPECT_EQ(VRAXSetANE20000Lead(9), -1);
    EXPECT_EQ(VRAXSetANE20000Lead(-1), -1);
    EXPECT_EQ(VRAXGetANE20000Lead(), 8);
    EXPECT_EQ(VRAXSetANE20000Lead(0), 0);
    EXPECT_EQ(VRAXGetANE20000Lead(), 0);
}

TEST(ANE20000Lead, IsNotLoggedAndTakesEffectAtOnce)
{
    ApiLogFile log;
    OfflineRun run(OUTPUT_YY1079_DYNAMIC_RANGE);
    g_YY1079DynamicRangeSlope = 2.0;
    EXPECT_EQ(VRAXSetANE20000Lead(3), 0);
    EXPECT_EQ(g_Cycle.Read().s_tp, 600.0);
    EXPECT_EQ(log.NewText(), "");
}

TEST(ECGOutput, IsSwitchedWithoutDeviceAndLogsItsName)
{
    ApiLogFile log;
    EXPECT_TRUE(g_bECGOutputEnabled);
    EXPECT_EQ(VRAXEnableECGOutput(false), 0);
    EXPECT_FALSE(g_bECGOutputEnabled);
    EXPECT_EQ(VRAXEnableECGOutput(true), 0);
    EXPECT_TRUE(g_bECGOutputEnabled);
    EXPECT_EQ(log.NewLines(), (Lines{"VRAXEnableECGOutput(false);", "VRAXEnableECGOutput(true);"}));
}

TEST(ACAboveDC, IsStoredWithoutDeviceAndNotLogged)
{
    ApiLogFile log;
    EXPECT_FALSE(g_bACAboveDC);
    EXPECT_EQ(VRAXEnableACAboveDC(true), 0);
    EXPECT_TRUE(g_bACAboveDC);
    EXPECT_EQ(VRAXEnableACAboveDC(false), 0);
    EXPECT_FALSE(g_bACAboveDC);
    EXPECT_EQ(log.NewText(), "");
}
}  // namespace
