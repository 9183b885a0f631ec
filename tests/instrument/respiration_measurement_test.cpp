// What ./play --respiration measures of the resistance in a recording.

#include <cmath>
#include <functional>
#include <limits>
#include <numbers>
#include <sstream>

#include <gtest/gtest.h>

#include "draw_ecg/RespirationMeasurement.h"
#include "play/SyntheticEcg.h"

namespace ecg {
namespace {

constexpr double kRate = 5000.0;
constexpr double kHold = 20.0;         // s: from then on, the last 40 s of the minute
constexpr double kAttenuation = 5.04;  // of the ECG at a baseline of 500 ohms
constexpr RespirationRequest kAsked{0.0, 75.0, 2.0, 2.0, 14.0, 2.0, 500.0, 40.0};

struct Fault {
    double breaths = 14.0;
    double variation = 2.0;
    double offset = 0.0;  // ohms
    double holdStart = kHold;
    double baseline = 500.0;
    double attenuation = kAttenuation;
};

// Half a sine from trough to crest, then a longer quarter-phase back, around the middle.
double Ohms(double time, const Fault& fault)
{
    const double period = 60.0 / fault.breaths;
    const double inhale = period / 3.0;
    const double phase = time - period * std::floor(time / period);
    const double depth = fault.variation / 2.0;
    const double middle = 50.0 + depth + fault.offset;
    if (phase < inhale) {
        return middle + depth * std::sin(std::numbers::pi * (phase / inhale - 0.5));
    }
    return middle + depth * std::sin(std::numbers::pi * ((phase - inhale) / (2.0 * inhale) + 0.5));
}

Recording Received(const Fault& fault = {})
{
    Recording recording = SyntheticEcg({{34, 75.0, 2.0}}, kRate);
    const double last = fault.holdStart - 1.0 / kRate;
    for (std::size_t i = 0; i < recording.mv.size(); ++i) {
        recording.mv[i] /= fault.attenuation;
        const double time = recording.TimeAt(i);
        recording.respirationOhm.push_back(Ohms(time < fault.holdStart ? time : last, fault));
        recording.baselineOhm.push_back(fault.baseline);
    }
    return recording;
}

RespirationFigures With(const std::function<void(Fault&)>& change)
{
    Fault fault;
    change(fault);
    return MeasureRespiration(Received(fault), kAsked);
}

TEST(RespirationMeasurement, TellsRateDepthAndHold)
{
    const RespirationFigures figures = MeasureRespiration(Received(), kAsked);
    EXPECT_GE(figures.breaths, 4u);
    EXPECT_NEAR(figures.perMinute, 14.0, 0.001);
    EXPECT_NEAR(figures.variation, 2.0, 1e-6);
    EXPECT_LT(figures.ohmError, 1e-6);
    EXPECT_NEAR(figures.holdOhm, 51.0, 0.001);
    EXPECT_NEAR(figures.heldSeconds, 34 * 0.8 - 20.0, 0.0005);
    EXPECT_EQ(figures.baselineError, 0.0);
    EXPECT_NEAR(figures.bpm, 75.0, 0.001);
    EXPECT_NEAR(figures.mv, 2.0, 0.01);
    EXPECT_TRUE(figures.Agrees());
}

TEST(RespirationMeasurement, TheBreathAskedForHasItsKnownPoints)
{
    const RespirationRequest asked{0.0, 60.0, 1.0, 1.0, 15.0, 3.0, 500.0, 10.0};
    EXPECT_NEAR(AskedOhm(asked, kRate, 0.0), 50.0, 1e-12);
    EXPECT_NEAR(AskedOhm(asked, kRate, 0.5), 50.5, 1e-12);  // halfway up: inhaled for 1 s
    EXPECT_NEAR(AskedOhm(asked, kRate, 1.0), 51.0, 1e-12);
    EXPECT_NEAR(AskedOhm(asked, kRate, 2.5), 50.5, 1e-12);
    EXPECT_NEAR(AskedOhm(asked, kRate, 41.0), 51.0, 1e-12);
    EXPECT_NEAR(AskedOhm(asked, kRate, 55.0), AskedOhm(asked, kRate, 50.0 - 0.0002), 1e-12);
    EXPECT_NEAR(AskedOhm(asked, kRate, 61.0), 51.0, 1e-12);
}

TEST(RespirationMeasurement, ATenthOfAnOhmIsAnErrorInASingleSample)
{
    EXPECT_TRUE(With([](Fault& fault) { fault.offset = 0.09; }).Agrees());
    EXPECT_FALSE(With([](Fault& fault) { fault.offset = 0.11; }).Agrees());
    EXPECT_FALSE(With([](Fault& fault) { fault.offset = -0.11; }).Agrees());
    Recording once = Received();
    once.respirationOhm[43210] += 0.11;
    const RespirationFigures figures = MeasureRespiration(once, kAsked);
    EXPECT_NEAR(figures.ohmError, 0.11, 1e-6);
    EXPECT_NEAR(figures.ohmErrorAt, 43210 / kRate, 1e-9);
    EXPECT_FALSE(figures.Agrees());
}

TEST(RespirationMeasurement, AMissingSampleIsAnError)
{
    Recording gap = Received();
    gap.respirationOhm[7] = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(MeasureRespiration(gap, kAsked).ohmError, std::numeric_limits<double>::infinity());
    EXPECT_FALSE(MeasureRespiration(gap, kAsked).Agrees());
    Recording noBaseline = Received();
    noBaseline.baselineOhm[7] = std::numeric_limits<double>::quiet_NaN();
    EXPECT_FALSE(MeasureRespiration(noBaseline, kAsked).Agrees());
    Recording none = Received();
    none.respirationOhm.clear();
    none.baselineOhm.clear();
    EXPECT_FALSE(MeasureRespiration(none, kAsked).Agrees());
}

TEST(RespirationMeasurement, AnotherRateIsAnError)
{
    const RespirationFigures figures = With([](Fault& fault) { fault.breaths = 14.2; });
    EXPECT_NEAR(figures.perMinute, 14.2, 0.001);
    EXPECT_GT(figures.breathError, kBreathRateTolerance);
    EXPECT_FALSE(figures.Agrees());
}

// A breath so small that its resistance is within what is allowed at any moment.
TEST(RespirationMeasurement, AnotherRateIsAnErrorHoweverSmallTheBreathIs)
{
    RespirationRequest asked = kAsked;
    asked.variation = 0.09;
    Fault fault;
    fault.variation = 0.09;
    EXPECT_TRUE(MeasureRespiration(Received(fault), asked).Agrees());
    fault.breaths = 14.2;
    const RespirationFigures figures = MeasureRespiration(Received(fault), asked);
    EXPECT_LT(figures.ohmError, kOhmTolerance);
    EXPECT_FALSE(figures.Agrees());
}

TEST(RespirationMeasurement, ABreathThatIsNotHeldIsAnError)
{
    const RespirationFigures never = With([](Fault& fault) { fault.holdStart = 1000.0; });
    EXPECT_FALSE(never.HoldsBreath());
    EXPECT_FALSE(never.Agrees());
    EXPECT_FALSE(With([](Fault& fault) { fault.holdStart = 20.002; }).HoldsBreath());
    EXPECT_FALSE(With([](Fault& fault) { fault.holdStart = 19.998; }).HoldsBreath());
}

// The last sample differs by less than what is allowed for a resistance.
TEST(RespirationMeasurement, AHoldThatMovesAgainIsAnError)
{
    Recording moving = Received();
    moving.respirationOhm[moving.respirationOhm.size() - 500] += 0.001;
    const RespirationFigures figures = MeasureRespiration(moving, kAsked);
    EXPECT_LT(figures.ohmError, kOhmTolerance);
    EXPECT_FALSE(figures.HoldsBreath());
    EXPECT_FALSE(figures.Agrees());
}

TEST(RespirationMeasurement, AnotherBaselineOrHeightIsAnError)
{
    EXPECT_FALSE(With([](Fault& fault) { fault.baseline = 1000.0; }).Agrees());
    EXPECT_FALSE(With([](Fault& fault) { fault.attenuation = 5.2; }).Agrees());
    EXPECT_DOUBLE_EQ(EcgAttenuation(500.0), 5.04);
    EXPECT_DOUBLE_EQ(EcgAttenuation(4000.0), 40.04);
    EXPECT_DOUBLE_EQ(EcgAttenuation(0.0), 1.0);
}

TEST(RespirationFiles, ResistanceAndRequestAreRead)
{
    std::istringstream in(
        "time_s,dc_mv,ac_mv,marker,pulse_mv,respiration_ohm,baseline_ohm\n"
        "0.0000,0,0.5,0,0,50.25,500\n"
        "0.0002,0,0.6,0,0,,\n");
    const Recording recording = ReadRecording(in, "signal");
    EXPECT_EQ(recording.respirationOhm.at(0), 50.25);
    EXPECT_EQ(recording.baselineOhm.at(0), 500.0);
    EXPECT_TRUE(std::isnan(recording.respirationOhm.at(1)));

    std::istringstream request(
        "time_s,bpm,mv,variation_mohm,breaths,exhale,baseline_ohm,apnea_s\n"
        "0,72,2,1500,14,3,1000,40\n");
    const RespirationRequest asked = ReadRespirationRequest(request, "requests");
    EXPECT_EQ(asked.variation, 1.5);
    EXPECT_EQ(asked.exhale, 3.0);
    EXPECT_EQ(asked.baselineOhm, 1000.0);
    EXPECT_EQ(asked.apnea, 40.0);
}

}  // namespace
}  // namespace ecg
