// The parameters that are one number with a range: every rule that they share, proved for each.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <vector>

#include "streaming/PendingChange.h"
#include "support/ApiLogFile.h"
#include "support/OfflineRun.h"
#include "support/RegisteredListener.h"
#include "synthesis/BeatModel.h"
#include "synthesis/TestSignals.h"

namespace {
enum class Effect { kNextCycle, kAtOnce, kWithItsTestOnly };

struct NumberParameter {
    const char* name;
    std::function<int(double)> set;
    std::function<double()> get;
    double low;
    double high;
    double below;  // the nearest values outside
    double above;
    double standard;
    const char* lowLine;
    const char* highLine;
    const char* resetLine;  // null: not reset
    Effect effect;
    bool isWhole;  // an integer argument
};

void PrintTo(const NumberParameter& parameter, std::ostream* out) { *out << parameter.name; }

double Down(double value) { return std::nextafter(value, -1e9); }
double Up(double value) { return std::nextafter(value, 1e9); }

NumberParameter Real(const char* name, int (*set)(double), double (*get)(), double low, double high,
                     double standard, const char* lowLine, const char* highLine,
                     const char* resetLine, Effect effect)
{
    return {name,     set,     get,      low,       high,   Down(low), Up(high),
            standard, lowLine, highLine, resetLine, effect, false};
}

template <class Set, class Get>
NumberParameter Whole(const char* name, Set set, Get get, int low, int high, int standard,
                      const char* lowLine, const char* highLine, const char* resetLine)
{
    return {name,
            [set](double value) { return set(static_cast<int>(value)); },
            [get] { return static_cast<double>(get()); },
            static_cast<double>(low),
            static_cast<double>(high),
            low - 1.0,
            high + 1.0,
            static_cast<double>(standard),
            lowLine,
            highLine,
            resetLine,
            Effect::kNextCycle,
            true};
}

int SetPacingRate(int rate) { return VRAXSetPacingRate(static_cast<unsigned>(rate)); }
int SetTimeConstant(int ms) { return VRAXSetOvershootTimeConstant(static_cast<unsigned>(ms)); }

const NumberParameter kParameters[] = {
    Real("Amplitude", VRAXSetAmplitude, VRAXGetAmplitude, -40.0, 40.0, 1.0,
         "VRAXSetAmplitude(-40.00);", "VRAXSetAmplitude(40.00);", "VRAXSetAmplitude(1.00);",
         Effect::kNextCycle),
    Real("Frequency", VRAXSetFrequency, VRAXGetFrequency, 0.017, 500.0, 1.0,
         "VRAXSetFrequency(0.02);", "VRAXSetFrequency(500.00);", "VRAXSetFrequency(1.00);",
         Effect::kNextCycle),
    Whole("DCOffset", VRAXSetDCOffset, VRAXGetDCOffset, -1000, 1000, 0, "VRAXSetDCOffset(-1000);",
          "VRAXSetDCOffset(1000);", "VRAXSetDCOffset(0);"),
    Real("PulseWidth", VRAXSetPulseWidth, VRAXGetPulseWidth, 1.0, 300.0, 100.0,
         "VRAXSetPulseWidth(1);", "VRAXSetPulseWidth(300);", "VRAXSetPulseWidth(100);",
         Effect::kNextCycle),
    Real("QRSDuration", VRAXSetQRSDuration, VRAXGetQRSDuration, 5.0, 200.0, 100.0,
         "VRAXSetQRSDuration(5);", "VRAXSetQRSDuration(200);", "VRAXSetQRSDuration(100);",
         Effect::kAtOnce),
    Real("TWave", VRAXSetTWave, VRAXGetTWave, 0.0, 5.0, 0.2, "VRAXSetTWave(0.0);",
         "VRAXSetTWave(5.0);", "VRAXSetTWave(0.2);", Effect::kAtOnce),
    Real("PacingAmplitude", VRAXSetPacingAmplitude, VRAXGetPacingAmplitude, -700.0, 700.0, 0.0,
         "VRAXSetPacingAmplitude(-700);", "VRAXSetPacingAmplitude(700);",
         "VRAXSetPacingAmplitude(0);", Effect::kNextCycle),
    Real("PacingDuration", VRAXSetPacingDuration, VRAXGetPacingDuration, 0.03, 3.0, 2.0,
         "VRAXSetPacingDuration(0);", "VRAXSetPacingDuration(3);", "VRAXSetPacingDuration(2);",
         Effect::kNextCycle),
    Whole("PacingRate", SetPacingRate, VRAXGetPacingRate, 10, 360, 60, "VRAXSetPacingRate(10);",
          "VRAXSetPacingRate(360);", "VRAXSetPacingRate(60);"),
    Whole("OvershootTimeConstant", SetTimeConstant, VRAXGetOvershootTimeConstant, 0, 100, 0,
          "VRAXSetOvershootTimeConstant(0);", "VRAXSetOvershootTimeConstant(100);",
          "VRAXSetOvershootTimeConstant(0);"),
    Real("OvershootAmplitude", VRAXSetOvershootAmplitude, VRAXGetOvershootAmplitude, 0.0, 5.0, 0.0,
         "VRAXSetOvershootAmplitude(0.0);", "VRAXSetOvershootAmplitude(5.0);", nullptr,
         Effect::kNextCycle),
    Real("DriftAmplitude", VRAXSetECG2_27_AAMIDriftTestAmplitude,
         VRAXGetECG2_27_AAMIDriftTestAmplitude, 1.0, 8.0, 4.0,
         "VRAXSetECG2_27_AAMIDriftTestAmplitude(1.0);",
         "VRAXSetECG2_27_AAMIDriftTestAmplitude(8.0);",
         "VRAXSetECG2_27_AAMIDriftTestAmplitude(4.0);", Effect::kWithItsTestOnly),
    Real("DriftFrequency", VRAXSetECG2_27_AAMIDriftTestFrequency,
         VRAXGetECG2_27_AAMIDriftTestFrequency, 0.05, 2.0, 0.1,
         "VRAXSetECG2_27_AAMIDriftTestFrequency(0.05);",
         "VRAXSetECG2_27_AAMIDriftTestFrequency(2.00);",
         "VRAXSetECG2_27_AAMIDriftTestFrequency(0.10);", Effect::kWithItsTestOnly),
    Real("PDuration", VRAXSetPDuration, VRAXGetPDuration, 50.0, 100.0, 100.0,
         "VRAXSetPDuration(50);", "VRAXSetPDuration(100);", "VRAXSetPDuration(100);",
         Effect::kAtOnce),
    Real("PRInterval", VRAXSetPRInterval, VRAXGetPRInterval, 0.0, 200.0, 160.0,
         "VRAXSetPRInterval(0);", "VRAXSetPRInterval(200);", "VRAXSetPRInterval(160);",
         Effect::kAtOnce),
    Real("QTInterval", VRAXSetQTInterval, VRAXGetQTInterval, 100.0, 900.0, 350.0,
         "VRAXSetQTInterval(100);", "VRAXSetQTInterval(900);", "VRAXSetQTInterval(350);",
         Effect::kAtOnce),
    Real("PWave", VRAXSetPWave, VRAXGetPWave, 0.0, 2.0, 0.2, "VRAXSetPWave(0.0);",
         "VRAXSetPWave(2.0);", "VRAXSetPWave(0.2);", Effect::kAtOnce),
    Real("STDeviation", VRAXSetSTDeviation, VRAXGetSTDeviation, -2.0, 2.0, 0.0,
         "SetSTDeviation(-2.00);", "SetSTDeviation(2.00);", "SetSTDeviation(0.00);",
         Effect::kAtOnce),
    Real("CustomizedTDuration", VRAXSetCustomizedTDuration, VRAXGetCustomizedTDuration, 100.0,
         900.0, 180.0, "SetCustomizedTDuration(100);", "SetCustomizedTDuration(900);", nullptr,
         Effect::kNextCycle),
};

// 1 / (1 / f) is not always f.
void ExpectSame(double actual, double expected)
{
    EXPECT_NEAR(actual, expected, std::fabs(expected) * 1e-15);
}

// The period of this function follows a value that no setter touches, so a derivation shows in it.
constexpr double kPeriodBefore = 1200.0;
constexpr double kPeriodAfter = 600.0;
void PrepareToSeeADerivation() { g_YY1079DynamicRangeSlope = 2.0; }

std::vector<NumberParameter> RealParameters()
{
    std::vector<NumberParameter> parameters;
    for (const NumberParameter& parameter : kParameters) {
        if (!parameter.isWhole) parameters.push_back(parameter);
    }
    return parameters;
}

std::string NameOf(const testing::TestParamInfo<NumberParameter>& test) { return test.param.name; }

class Numbers : public testing::TestWithParam<NumberParameter> {};
class RealNumbers : public Numbers {};

TEST_P(Numbers, HasItsDefaultAtLoad) { EXPECT_EQ(GetParam().get(), GetParam().standard); }

TEST_P(Numbers, AcceptsBothEndsOfItsRange)
{
    RegisteredListener listener;
    EXPECT_EQ(GetParam().set(GetParam().low), 0);
    ExpectSame(GetParam().get(), GetParam().low);
    EXPECT_EQ(GetParam().set(GetParam().high), 0);
    ExpectSame(GetParam().get(), GetParam().high);
}

TEST_P(Numbers, RefusesWhatLiesJustOutsideWithMinusTwoAndKeepsTheOldValue)
{
    RegisteredListener listener;
    ASSERT_EQ(GetParam().set(GetParam().high), 0);
    ApiLogFile log;
    // The absolute value counts: the nearest value below 0 is inside.
    if (GetParam().name != std::string("OvershootAmplitude")) {
        EXPECT_EQ(GetParam().set(GetParam().below), -2);
    }
    EXPECT_EQ(GetParam().set(GetParam().above), -2);
    ExpectSame(GetParam().get(), GetParam().high);
    EXPECT_EQ(log.NewText(), "");
}

TEST_P(RealNumbers, RefusesInfinitiesWithMinusTwo)
{
    RegisteredListener listener;
    EXPECT_EQ(GetParam().set(std::numeric_limits<double>::infinity()), -2);
    EXPECT_EQ(GetParam().set(-std::numeric_limits<double>::infinity()), -2);
    EXPECT_EQ(GetParam().get(), GetParam().standard);
}

TEST_P(RealNumbers, TakesANaNAsInside)
{
    RegisteredListener listener;
    EXPECT_EQ(GetParam().set(std::numeric_limits<double>::quiet_NaN()), 0);
    EXPECT_TRUE(std::isnan(GetParam().get()));
}

TEST_P(Numbers, WritesOneLineWithItsOwnFormat)
{
    RegisteredListener listener;
    ApiLogFile log;
    GetParam().set(GetParam().low);
    EXPECT_EQ(log.NewLines(), Lines{GetParam().lowLine});
    GetParam().set(GetParam().high);
    EXPECT_EQ(log.NewLines(), Lines{GetParam().highLine});
}

TEST_P(Numbers, WritesItsLineAlsoForAnUnchangedValue)
{
    RegisteredListener listener;
    GetParam().set(GetParam().low);
    ApiLogFile log;
    GetParam().set(GetParam().low);
    EXPECT_EQ(log.NewLines(), Lines{GetParam().lowLine});
}

TEST_P(Numbers, WithoutDeviceAndListenerGivesMinusOneBeforeAnythingElse)
{
    ApiLogFile log;
    EXPECT_EQ(GetParam().set(GetParam().low), -1);
    EXPECT_EQ(GetParam().set(GetParam().above), -1);
    EXPECT_EQ(GetParam().get(), GetParam().standard);
    EXPECT_EQ(log.NewText(), "");
}

TEST_P(Numbers, TakesEffectAsDocumentedWhilePlaying)
{
    RegisteredListener listener;
    OfflineRun run(OUTPUT_YY1079_DYNAMIC_RANGE);
    PrepareToSeeADerivation();
    ASSERT_EQ(GetParam().set(GetParam().high), 0);
    EXPECT_EQ(g_bChangeOnNextCycle, GetParam().effect == Effect::kNextCycle);
    EXPECT_EQ(g_Cycle.Read().s_tp,
              GetParam().effect == Effect::kAtOnce ? kPeriodAfter : kPeriodBefore);
}

TEST_P(Numbers, RequestsNothingWhenRefusedWhilePlaying)
{
    RegisteredListener listener;
    OfflineRun run(OUTPUT_YY1079_DYNAMIC_RANGE);
    PrepareToSeeADerivation();
    ASSERT_EQ(GetParam().set(GetParam().above), -2);
    EXPECT_FALSE(g_bChangeOnNextCycle);
    EXPECT_EQ(g_Cycle.Read().s_tp, kPeriodBefore);
}

// The reset's own lines: always the synchronisation of the pacing, and lead 0.
TEST_P(Numbers, IsPutBackByAResetOrLeftAloneByIt)
{
    RegisteredListener listener;
    const double other = GetParam().high != GetParam().standard ? GetParam().high : GetParam().low;
    ASSERT_EQ(GetParam().set(other), 0);
    ApiLogFile log;
    VRAXReset();
    const Lines lines = log.NewLines();
    if (GetParam().resetLine == nullptr) {
        EXPECT_EQ(GetParam().get(), other);
        EXPECT_EQ(lines, (Lines{"VRAXReset();", "VRAXSetPacingRateSynchronized();",
                                "SetOutputLead(0, true);"}));
    } else {
        ExpectSame(GetParam().get(), GetParam().standard);
        EXPECT_EQ(std::count(lines.begin(), lines.end(), GetParam().resetLine), 1);
    }
}

INSTANTIATE_TEST_SUITE_P(Parameters, Numbers, testing::ValuesIn(kParameters), NameOf);
INSTANTIATE_TEST_SUITE_P(Parameters, RealNumbers, testing::ValuesIn(RealParameters()), NameOf);
}  // namespace
