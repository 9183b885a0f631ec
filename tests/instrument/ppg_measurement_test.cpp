// What ./play --ppg measures of the pulses in a recording.

#include <cmath>
#include <functional>
#include <numbers>
#include <sstream>

#include <gtest/gtest.h>

#include "draw_ecg/PpgMeasurement.h"
#include "play/SyntheticEcg.h"

namespace ecg {
namespace {

constexpr double kRate = 10000.0;
constexpr double kBpm = 75.0;
constexpr double kPeriod = 60.0 / kBpm;
constexpr double kTransit = 0.2;     // s
constexpr double kRWave = 0.05375;   // s into a cycle of the synthetic beat
constexpr double kBreathing = 12.0;  // s: from then on
constexpr double kBreath = 3.0;      // s, a third of it the inhalation
constexpr unsigned kBeats = 32;

// What can be wrong with a recording.
struct Fault {
    double bpm = kBpm;  // of the pulses
    double transit = kTransit;
    double acFactor = 1.0;
    double breathsFactor = 1.0;
    double depth = 0.2;
    double inhale = 1.0 / 3.0;  // share of a breath
    int missing = -1;           // the number of a pulse
};

// The standard pulse of height 1, `part` of its period from its start.
double StandardPulse(double part)
{
    constexpr double kPi = std::numbers::pi;
    constexpr double kNotch = 0.56, kDicrotic = 0.64;
    const auto ease = [](double from, double to, double at) {
        return from + (to - from) * (1.0 - std::cos(kPi * at)) / 2.0;
    };
    if (part < 0.15) return ease(0.0, 1.0, part / 0.15);
    if (part < 0.36) return ease(1.0, kNotch, (part - 0.15) / 0.21);
    if (part < 0.46) return ease(kNotch, kDicrotic, (part - 0.36) / 0.10);
    return ease(kDicrotic, 0.0, (part - 0.46) / 0.54);
}

// In -1 to 1: half a sine up, then a longer one down.
double Breath(double time, const Fault& fault)
{
    if (time < kBreathing) return 0.0;
    const double at = std::fmod((time - kBreathing) * fault.breathsFactor, kBreath) / kBreath;
    if (at < fault.inhale) return std::sin(std::numbers::pi * at / fault.inhale);
    return -std::sin(std::numbers::pi * (at - fault.inhale) / (1.0 - fault.inhale));
}

std::vector<PpgRequest> Asked()
{
    PpgRequest still{0.0, kBpm, 1.0, kTransit, 0.0, 0.0, 0.0, {}};
    still.levels[1] = {1000.0, 6.0};
    PpgRequest breathing = still;
    breathing.time = kBreathing + 0.01;
    breathing.breaths = 60.0 / kBreath;
    breathing.exhale = 2.0;
    breathing.depthPercent = 20.0;
    return {still, breathing};
}

// In steps of 16 bits of 3000 mV and 15 mV. Channel 1 alone plays.
Recording Received(const Fault& fault = {})
{
    Recording recording = SyntheticEcg({{kBeats, kBpm, 1.0}}, kRate);
    const double period = 60.0 / fault.bpm;
    const double first = kRWave + fault.transit - 0.15 * period;
    const auto steps = [](double mv, double full) {
        return std::trunc(mv / full * 65535.0) * full / 65535.0;
    };
    for (std::size_t i = 0; i < recording.mv.size(); ++i) {
        const double time = recording.TimeAt(i);
        const double cycles = (time - first) / period + 1.0;
        const double part = cycles - std::floor(cycles);
        const double factor = 1.0 + fault.depth * Breath(time, fault);
        const bool isMissing = static_cast<int>(std::floor(cycles)) == fault.missing;
        const double height = isMissing ? 0.0 : 6.0 * fault.acFactor;
        recording.ppg[1].dcMv.push_back(steps(994.0 * factor, 3000.0));
        recording.ppg[1].acMv.push_back(steps(height * StandardPulse(part) * factor, 15.0));
    }
    return recording;
}

PpgFigures Measured(const Fault& fault = {}) { return MeasurePpg(Received(fault), Asked()); }

// A fault that must show, made by one change.
PpgFigures With(const std::function<void(Fault&)>& change)
{
    Fault fault;
    change(fault);
    return Measured(fault);
}

TEST(PpgMeasurement, TellsRateRatioAndTransitTime)
{
    const PpgFigures figures = Measured();
    ASSERT_EQ(figures.pulses.size(), 2u);
    const PulsePhase& still = figures.pulses[0];
    EXPECT_EQ(still.channel, 1u);
    EXPECT_EQ(still.pulses, still.expected);
    EXPECT_GE(still.pulses, 14u);
    EXPECT_NEAR(still.perMinute, 75.0, 0.001);
    EXPECT_NEAR(still.ratio, 0.006, 0.000003);
    EXPECT_NEAR(still.transit, 0.2, 0.00002);
    EXPECT_TRUE(still.Agrees());
    EXPECT_TRUE(figures.pulses[1].Agrees());
    EXPECT_TRUE(figures.Agrees());
}

TEST(PpgMeasurement, TellsTheBreath)
{
    const PpgFigures figures = Measured();
    ASSERT_EQ(figures.breaths.size(), 2u);
    EXPECT_TRUE(figures.breaths[0].Agrees());
    EXPECT_LT(figures.breaths[0].depthPercent, 0.1);
    const BreathPhase& breath = figures.breaths[1];
    EXPECT_GE(breath.breaths, 3u);
    EXPECT_NEAR(breath.perMinute, 20.0, 0.02);
    EXPECT_NEAR(breath.exhale, 2.0, 0.02);
    EXPECT_NEAR(breath.depthPercent, 20.0, 0.1);
    EXPECT_TRUE(breath.Agrees());
}

TEST(PpgMeasurement, ABreathMovesNeitherTransitTimeNorRatio)
{
    const PulsePhase breathing = Measured().pulses.at(1);
    EXPECT_NEAR(breathing.transit, 0.2, 0.0002);
    EXPECT_NEAR(breathing.ratio, 0.006, 0.00002);
}

TEST(PpgMeasurement, AnotherPulseRateIsAnError)
{
    EXPECT_FALSE(With([](Fault& fault) { fault.bpm = 75.3; }).Agrees());
    const PulsePhase still = With([](Fault& fault) { fault.bpm = 75.3; }).pulses.at(0);
    EXPECT_NEAR(still.perMinute, 75.3, 0.001);
    EXPECT_GT(still.rateError, kRateTolerance);
}

TEST(PpgMeasurement, AnotherRatioIsAnErrorFromOnePercentOn)
{
    EXPECT_TRUE(With([](Fault& fault) { fault.acFactor = 1.005; }).Agrees());
    EXPECT_TRUE(With([](Fault& fault) { fault.acFactor = 0.995; }).Agrees());
    EXPECT_FALSE(With([](Fault& fault) { fault.acFactor = 1.015; }).Agrees());
    EXPECT_FALSE(With([](Fault& fault) { fault.acFactor = 0.985; }).Agrees());
}

TEST(PpgMeasurement, AnotherTransitTimeIsAnErrorFromOneSampleOn)
{
    for (const double late : {0.00015, -0.00015}) {
        const PpgFigures figures = With([&](Fault& fault) { fault.transit += late; });
        EXPECT_NEAR(figures.pulses.at(0).transit, 0.2 + late, 0.00002);
        EXPECT_FALSE(figures.pulses.at(0).Agrees()) << late;
    }
    for (const double late : {0.00008, -0.00008}) {
        EXPECT_TRUE(With([&](Fault& fault) { fault.transit += late; }).pulses.at(0).Agrees())
            << late;
    }
}

TEST(PpgMeasurement, AMissingPulseIsAnErrorWhereverItIsMissing)
{
    for (const int missing : {1, 9, 15, 16, 28, 31}) {
        EXPECT_FALSE(With([&](Fault& fault) { fault.missing = missing; }).Agrees()) << missing;
    }
}

TEST(PpgMeasurement, AnotherBreathIsAnError)
{
    EXPECT_FALSE(With([](Fault& fault) { fault.breathsFactor = 1.01; }).breaths.at(1).Agrees());
    EXPECT_FALSE(With([](Fault& fault) { fault.breathsFactor = 0.99; }).breaths.at(1).Agrees());
    EXPECT_FALSE(With([](Fault& fault) { fault.depth = 0.21; }).breaths.at(1).Agrees());
    EXPECT_FALSE(With([](Fault& fault) { fault.depth = 0.0; }).breaths.at(1).Agrees());
    EXPECT_FALSE(With([](Fault& fault) { fault.inhale = 0.4; }).breaths.at(1).Agrees());
}

TEST(PpgMeasurement, ABreathThatWasNotAskedForIsAnError)
{
    std::vector<PpgRequest> asked = Asked();
    asked.pop_back();
    const PpgFigures figures = MeasurePpg(Received(), asked);
    EXPECT_FALSE(figures.breaths.at(0).Agrees());
    EXPECT_FALSE(figures.Agrees());
}

TEST(PpgMeasurement, TheChannelsThatWereAskedForPlayAndNoOther)
{
    Recording none = Received();
    none.ppg[1] = {};
    EXPECT_FALSE(MeasurePpg(none, Asked()).Agrees());
    Recording more = Received();
    more.ppg[2] = more.ppg[1];
    EXPECT_FALSE(MeasurePpg(more, Asked()).Agrees());
    Recording flat = Received();
    for (double& mv : flat.ppg[1].acMv) mv = 0.0;
    EXPECT_FALSE(MeasurePpg(flat, Asked()).Agrees());
}

TEST(PpgFiles, ColumnsOfChannelsAreReadAndEmptyFieldsAreNothing)
{
    std::istringstream in(
        "time_s,dc_mv,ac_mv,marker,pulse_mv,ppg1_dc_mv,ppg1_ac_mv,ppg2_dc_mv,ppg2_ac_mv\n"
        "0.0000,0,0.5,0,0,,,1200,3\n"
        "0.0001,0,0.6,0,0,1000,2,1201,4\n");
    const Recording recording = ReadRecording(in, "signal");
    EXPECT_EQ(recording.rate, 10000.0);
    EXPECT_TRUE(recording.ppg[0].acMv.empty());
    EXPECT_TRUE(std::isnan(recording.ppg[1].dcMv.at(0)));
    EXPECT_EQ(recording.ppg[1].acMv.at(1), 2.0);
    EXPECT_EQ(recording.ppg[2].dcMv, (std::vector<double>{1200.0, 1201.0}));
}

TEST(PpgFiles, AnUnknownColumnAndAMissingFieldAreErrors)
{
    std::istringstream unknown("time_s,dc_mv,ac_mv,marker,pulse_mv,ppg3_dc_mv\n");
    EXPECT_THROW(ReadRecording(unknown, "signal"), std::runtime_error);
    std::istringstream shortLine(
        "time_s,dc_mv,ac_mv,marker,pulse_mv,ppg1_dc_mv,ppg1_ac_mv\n0,0,0,0,0,1\n");
    EXPECT_THROW(ReadRecording(shortLine, "signal"), std::runtime_error);
    std::istringstream emptyEcg("time_s,dc_mv,ac_mv,marker,pulse_mv\n0,0,,0,0\n");
    EXPECT_THROW(ReadRecording(emptyEcg, "signal"), std::runtime_error);
}

TEST(PpgFiles, RequestsTellEveryChannel)
{
    std::istringstream in(
        "time_s,bpm,mv,transit_ms,breaths,exhale,depth_percent,"
        "ppg0_dc_mv,ppg0_ac_mv,ppg1_dc_mv,ppg1_ac_mv,ppg2_dc_mv,ppg2_ac_mv\n"
        "0,75,1,200,0,0,0,0,0,1000,6,1200,12\n"
        "12,75,1,200,20,2,15,0,0,1000,6,1200,12\n");
    const auto requests = ReadPpgRequests(in, "requests");
    ASSERT_EQ(requests.size(), 2u);
    EXPECT_EQ(requests[0].transit, 0.2);
    EXPECT_EQ(requests[0].levels[2].dcMv, 1200.0);
    EXPECT_EQ(requests[0].levels[1].acMv, 6.0);
    EXPECT_EQ(requests[1].breaths, 20.0);
    EXPECT_EQ(requests[1].exhale, 2.0);
    EXPECT_EQ(requests[1].depthPercent, 15.0);
}

}  // namespace
}  // namespace ecg
