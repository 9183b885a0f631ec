// The table of parameters against the library, which decides.

#include <gtest/gtest.h>

#include <algorithm>
#include <initializer_list>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "programs/Listening.h"
#include "programs/vrax/Failure.h"
#include "programs/vrax/ParameterCalls.h"
#include "vrax.h"

using namespace vrax;

namespace {

struct Setter {
    const char* name;
    int (*set)(double value);
};

template <auto kFunction, typename Type = double>
int Set(double value)
{
    return kFunction(static_cast<Type>(value));
}

const Setter kSetters[] = {
    {"amplitude", Set<VRAXSetAmplitude>},
    {"frequency", Set<VRAXSetFrequency>},
    {"dc-offset", Set<VRAXSetDCOffset, int>},
    {"pulse-width", Set<VRAXSetPulseWidth>},
    {"ane-lead", [](double value) { return VRAXSetANE20000Lead(static_cast<int>(value)) * 2; }},
    {"qrs-duration", Set<VRAXSetQRSDuration>},
    {"t-wave", Set<VRAXSetTWave>},
    {"p-wave", Set<VRAXSetPWave>},
    {"p-duration", Set<VRAXSetPDuration>},
    {"pr-interval", Set<VRAXSetPRInterval>},
    {"qt-interval", Set<VRAXSetQTInterval>},
    {"st-deviation", Set<VRAXSetSTDeviation>},
    {"t-duration", Set<VRAXSetCustomizedTDuration>},
    {"pacing", Set<VRAXSetPacingAmplitude>},
    {"pacing-duration", Set<VRAXSetPacingDuration>},
    {"pacing-rate", Set<VRAXSetPacingRate, unsigned>},
    {"overshoot", Set<VRAXSetOvershootAmplitude>},
    {"overshoot-time",
     [](double value) {
         return value < 0 ? -2 : VRAXSetOvershootTimeConstant(static_cast<unsigned>(value));
     }},
    {"noise-amplitude", [](double value) { return VRAXSetECG2_27_Noise(1, value); }},
    {"stress-gain", [](double value) { return VRAXSetNSTNoise(1, value); }},
    {"drift-amplitude", Set<VRAXSetECG2_27_AAMIDriftTestAmplitude>},
    {"drift-frequency", Set<VRAXSetECG2_27_AAMIDriftTestFrequency>},
    {"sample-rate", Set<VRAXSetSampleRate, int>},
};

}  // namespace

class ParameterRange : public testing::TestWithParam<Setter> {};

TEST_P(ParameterRange, IsThatOfTheLibrary)
{
    const Listening listening;
    const Parameter& parameter = FindParameter(GetParam().name);
    const double beyond = parameter.kind == Kind::Whole ? 1.0 : 1e-3;
    EXPECT_EQ(GetParam().set(parameter.low), 0);
    EXPECT_EQ(GetParam().set(parameter.high), 0);
    EXPECT_EQ(GetParam().set(parameter.low - beyond), -2);
    EXPECT_EQ(GetParam().set(parameter.high + beyond), -2);
}
INSTANTIATE_TEST_SUITE_P(Play, ParameterRange, testing::ValuesIn(kSetters));

TEST(Parameters, RefusesWhatLiesBeyondTheirRangeAndTakesItsEnds)
{
    for (const Parameter& parameter : Parameters()) {
        if (parameter.kind != Kind::Number && parameter.kind != Kind::Whole) continue;
        SCOPED_TRACE(parameter.name);
        Values values;
        EXPECT_NO_THROW(values.Set(parameter.name, fmt::format("{}", parameter.low)));
        EXPECT_NO_THROW(values.Set(parameter.name, fmt::format("{}", parameter.high)));
        EXPECT_THROW(values.Set(parameter.name, fmt::format("{}", parameter.high + 1)), Failure);
        EXPECT_THROW(values.Set(parameter.name, ""), Failure);
        EXPECT_EQ(values[parameter.name], parameter.high);
    }
}

TEST(Parameters, ReachTheLibrary)
{
    const Listening listening;
    Values values;
    values.Set("leads", "0,3");
    values.Set("rate", "90");
    values.Set("noise", "60");
    values.Set("noise-amplitude", "0.5");
    values.Set("pacing-mode", "double-150");
    values.Set("drift", "on");
    values.Set("dc-common", "on");
    SetParameters(values);
    EXPECT_EQ(GetAllOutputLead(), 0b1001U);
    EXPECT_EQ(VRAXGetFrequency(), 1.5);
    EXPECT_EQ(VRAXGetECG2_27_NoiseFreq(), 2);
    EXPECT_EQ(VRAXGetECG2_27_NoiseAmp(), 0.5);
    EXPECT_EQ(VRAXGetPacingPulseMode(), 1);
    EXPECT_TRUE(VRAXGetECG2_27_AAMIDriftTest());
    EXPECT_TRUE(VRAXGetDCOffsetCommonMode());
}

TEST(Parameters, ThatAreNotLoggedAreToldByTheLibraryOrSeenInTheSamples)
{
    const Listening listening;
    constexpr int kRate = 1000;
    const auto samples = [](const char* parameter, const char* value, unsigned function,
                            std::initializer_list<std::pair<const char*, const char*>> more = {}) {
        Values values;
        values.Set(parameter, value);
        for (const auto& [name, text] : more) values.Set(name, text);
        SetParameters(values);
        std::vector<double> mv(2 * kRate);
        EXPECT_EQ(GetRawDataArrayEx(function, mv.data(), 2 * kRate, kRate), 2 * kRate);
        return mv;
    };
    Values values;
    values.Set("ane-lead", "5");
    values.Set("sample-rate", "12000");
    SetParameters(values);
    EXPECT_EQ(VRAXGetANE20000Lead(), 5);
    EXPECT_EQ(VRAXGetSampleRate(), 12000);

    // A waveform of a second: the next one is there, or silence.
    const auto looped = samples("loop", "on", OUTPUT_IEC251);
    const auto once = samples("loop", "off", OUTPUT_IEC251);
    const auto isSilent = [](double mv) { return mv == 0.0; };
    EXPECT_FALSE(std::all_of(looped.begin() + kRate + 1, looped.end(), isSilent));
    EXPECT_TRUE(std::all_of(once.begin() + kRate + 1, once.end(), isSilent));

    // On a signal of 0 mV there is the noise alone.
    const auto single = samples("stress-noise", "ma", OUTPUT_SINE, {{"amplitude", "0"}});
    const auto twice = samples("stress-gain", "2", OUTPUT_SINE, {{"stress-noise", "ma"}});
    const auto other = samples("stress-noise", "em", OUTPUT_SINE);
    EXPECT_FALSE(std::all_of(single.begin(), single.end(), isSilent));
    EXPECT_NE(single, other);
    for (std::size_t i = 0; i < single.size(); ++i) ASSERT_NEAR(twice[i], 2.0 * single[i], 1e-9);
}
