// The relay word: every bit, and what sets and clears it.

#include <gtest/gtest.h>

#include "device/LineState.h"
#include "support/FittedModule.h"
#include "synthesis/Pacing.h"
#include "synthesis/Parameters.h"
#include "synthesis/Protocol.h"
#include "synthesis/Relays.h"
#include "synthesis/Respiration.h"

namespace {
constexpr std::uint32_t kCommonMode = 1u << 0;
constexpr std::uint32_t kFixedPositive = 1u << 1;
constexpr std::uint32_t kCalibrated = 1u << 2;
constexpr std::uint32_t kRespiration = 1u << 3;
constexpr std::uint32_t kModule = 1u << 4;
constexpr std::uint32_t kImpedanceOff = 1u << 5;
constexpr std::uint32_t kFixed = 1u << 6;
constexpr std::uint32_t kOffset = 1u << 12;

// Idle, unless playing or forced. Without leads: those have their own test.
class RelayWord : public testing::Test {
protected:
    RelayWord() { g_OutputLead = 0u; }
    ~RelayWord() override { s_ECGGoing = false; }

    static std::uint32_t Idle()
    {
        SetRelays(false);
        return g_nRelayControl;
    }
    static std::uint32_t Forced()
    {
        SetRelays(true);
        return g_nRelayControl;
    }
    static std::uint32_t Playing()
    {
        s_ECGGoing = true;
        SetRelays(false);
        s_ECGGoing = false;
        return g_nRelayControl;
    }
    static void ExpectActive(std::uint32_t expected)
    {
        EXPECT_EQ(Forced(), expected);
        EXPECT_EQ(Playing(), expected);
    }
};

TEST_F(RelayWord, IsEmptyWithTheDefaults)
{
    EXPECT_EQ(Idle(), 0u);
    ExpectActive(0u);
}

TEST_F(RelayWord, IsRebuiltFromZero)
{
    g_nRelayControl = 0xFFFFFFFFu;
    EXPECT_EQ(Idle(), 0u);
}

TEST_F(RelayWord, HasTheOffsetBitWhileActiveAlone)
{
    g_DCVariable = false;
    for (const int offset : {1, -1000, 299}) {
        g_DCSetting = offset;
        EXPECT_EQ(Idle(), 0u);
        ExpectActive(kOffset);
    }
}

TEST_F(RelayWord, TakesTheCalibratedPathForAVariableOffset)
{
    for (const int offset : {1, -1, 300, -300, 1000}) {
        g_DCSetting = offset;
        EXPECT_EQ(Idle(), kCalibrated);
        ExpectActive(kCalibrated | kOffset);
    }
}

TEST_F(RelayWord, TakesTheFixedRelayForExactlyThreeHundredWithoutVariableMode)
{
    g_DCVariable = false;
    g_DCSetting = 300;
    EXPECT_EQ(Idle(), kFixed | kFixedPositive);
    ExpectActive(kFixed | kFixedPositive | kOffset);
    g_DCSetting = -300;
    EXPECT_EQ(Idle(), kFixed);
    ExpectActive(kFixed | kOffset);
    for (const int other : {0, 301, -299}) {
        g_DCSetting = other;
        EXPECT_EQ(Idle(), 0u) << other;
    }
}

TEST_F(RelayWord, TakesTheCalibratedPathForPulsesWhileActive)
{
    g_DCVariable = false;
    for (const int pulses : {1, 2}) {
        s_PulsesRequired = pulses;
        EXPECT_EQ(Idle(), 0u);
        ExpectActive(kCalibrated);
    }
    g_DCSetting = 300;  // the fixed relay stays away
    ExpectActive(kCalibrated | kOffset);
    EXPECT_EQ(Idle(), kFixed | kFixedPositive);
}

TEST_F(RelayWord, TakesTheCalibratedPathForTheOverloadWhileActive)
{
    g_DCVariable = false;
    g_BaseLineOverload = 1;
    EXPECT_EQ(Idle(), 0u);
    ExpectActive(kCalibrated);
}

TEST_F(RelayWord, TakesTheCalibratedPathForAFixedCode)
{
    g_DCVariable = false;
    g_DCSetting = 300;
    SetFixedDcCode(0);
    EXPECT_EQ(Idle(), kCalibrated);
    ExpectActive(kCalibrated | kOffset);
    SetFixedDcCode(-1);
    EXPECT_EQ(Idle(), kFixed | kFixedPositive);
}

TEST_F(RelayWord, HasTheInternalRespirationWhileActive)
{
    g_RespirationEnabled = true;
    EXPECT_EQ(Idle(), 0u);
    ExpectActive(kRespiration);
}

TEST_F(RelayWord, HasBothModuleBitsWithTheModuleAlsoWhileIdle)
{
    FitRespirationModule();
    EXPECT_EQ(Idle(), 0u);
    ExpectActive(0u);
    g_RespirationEnabled = true;
    EXPECT_EQ(Idle(), kRespiration | kModule);
    ExpectActive(kRespiration | kModule);
}

TEST_F(RelayWord, ClearsTheCalibratedPathUnderRespirationWithSinglePulses)
{
    g_RespirationEnabled = true;
    g_DCSetting = 10;
    EXPECT_EQ(Idle(), 0u);
    ExpectActive(kRespiration | kOffset);
    g_PacingPulse = 1;
    EXPECT_EQ(Idle(), kCalibrated);
    ExpectActive(kRespiration | kOffset | kCalibrated);
}

TEST_F(RelayWord, KeepsTheFixedRelayUnderRespiration)
{
    g_RespirationEnabled = true;
    g_DCVariable = false;
    g_DCSetting = 300;
    ExpectActive(kRespiration | kOffset | kFixed | kFixedPositive);
}

TEST_F(RelayWord, HasTheImpedanceBitWhileTheModeIsOff)
{
    g_InputImpedance = false;
    EXPECT_EQ(Idle(), kImpedanceOff);
    ExpectActive(kImpedanceOff);
}

TEST_F(RelayWord, HasTheCommonModeBit)
{
    g_DCCommon = true;
    EXPECT_EQ(Idle(), kCommonMode);
    ExpectActive(kCommonMode);
}

TEST_F(RelayWord, HasABitForEachOfNineLeads)
{
    const std::uint32_t bits[] = {1u << 16, 1u << 17, 1u << 18, 1u << 19, 1u << 20,
                                  1u << 21, 1u << 22, 1u << 8,  1u << 9};
    for (unsigned lead = 0; lead < 9; ++lead) {
        g_OutputLead = 1u << lead;
        EXPECT_EQ(Idle(), bits[lead]) << lead;
        ExpectActive(bits[lead]);
    }
    g_OutputLead = 0xFFFFFFFFu;
    EXPECT_EQ(Idle(), 0x7F0300u);
    g_OutputLead = 0xFFFFFE00u;  // leads that the instrument does not have
    EXPECT_EQ(Idle(), 0u);
}

TEST_F(RelayWord, KeepsToTwentyFourBits)
{
    g_OutputLead = 0xFFFFFFFFu;
    g_DCCommon = true;
    g_InputImpedance = false;
    g_PacingPulse = 1;
    g_RespirationEnabled = true;
    g_DCSetting = 5;
    FitRespirationModule();
    ExpectActive(0x7F0300u | kCommonMode | kCalibrated | kRespiration | kModule | kImpedanceOff |
                 kOffset);
}
}  // namespace
