// What ./play measures of the pacing pulses in a recording.

#include <sstream>
#include <stdexcept>

#include <gtest/gtest.h>

#include "draw_ecg/Pulses.h"
#include "instrument/CsvFile.h"
#include "play/SyntheticEcg.h"

namespace ecg {
namespace {

constexpr double kPulseMvAsked = 150.0;
constexpr double kPulseMsAsked = 2.0;
constexpr double kLead = 0.03;  // s before the QRS complex: 20 ms before the end of the cycle

Request Unpaced(double time) { return {time, 90.0, 1.0, 0.0, 0.0}; }
Request Paced(double time) { return {time, 90.0, 1.0, kPulseMvAsked, kPulseMsAsked}; }

void AddPulse(Recording& recording, double time, double mv = kPulseMvAsked,
              double ms = kPulseMsAsked, bool isMarked = true)
{
    recording.pulseMv.resize(recording.mv.size());
    const auto first = static_cast<std::size_t>(std::lround(time * recording.rate));
    const auto length = static_cast<std::size_t>(std::lround(ms * recording.rate / 1000.0));
    for (std::size_t i = first; i < first + length; ++i) recording.pulseMv[i] = mv;
    if (isMarked) recording.marks.push_back(first);
}

// Fifteen beats at 90 a minute, those from the sixth on paced: nine pulses.
Recording PacedEcg()
{
    Recording recording = SyntheticEcg({{15, 90.0, 1.0}});
    for (int beat = 6; beat < 15; ++beat) {
        AddPulse(recording, beat * 60.0 / 90.0 + kLeadIn - kLead);
    }
    return recording;
}

Pacing Measure(const Recording& recording,
               const std::vector<Request>& requests = {Unpaced(0.0), Paced(3.0)})
{
    const auto beats = FindBeats(recording);
    return MeasurePacing(recording, beats, MeasurePhases(beats, requests));
}

Recording WithoutPulse(std::size_t index)
{
    Recording recording = PacedEcg();
    const std::size_t first = recording.marks[index];
    for (std::size_t i = first; i < first + 40; ++i) recording.pulseMv[i] = 0;
    recording.marks.erase(recording.marks.begin() + static_cast<std::ptrdiff_t>(index));
    return recording;
}

TEST(PulseMeasurement, TellsCountSpacingAmplitudeWidthAndLead)
{
    const Pacing pacing = Measure(PacedEcg());
    ASSERT_EQ(pacing.phases.size(), 1u);
    const PacedPhase& paced = pacing.phases[0];
    EXPECT_EQ(paced.pulses, 9u);
    EXPECT_EQ(paced.expected, 9u);
    EXPECT_NEAR(paced.perMinute, 90.0, 0.01);
    EXPECT_DOUBLE_EQ(paced.mv, 150.0);
    EXPECT_NEAR(paced.ms, 2.0, 1e-9);
    EXPECT_NEAR(paced.lead, kLead, 2e-4);
    EXPECT_TRUE(paced.Agrees());
    EXPECT_TRUE(pacing.Agrees());
}

TEST(PulseMeasurement, AMissingPulseIsAnErrorWhereverItIsMissing)
{
    for (const std::size_t index : {0, 4, 8}) {
        const Pacing pacing = Measure(WithoutPulse(index));
        EXPECT_FALSE(pacing.Agrees()) << index;
        EXPECT_EQ(pacing.phases.at(0).pulses, 8u) << index;
        EXPECT_EQ(pacing.phases.at(0).expected, 9u) << index;
    }
}

TEST(PulseMeasurement, NoPulseAtAllIsAnErrorWherePacingWasAsked)
{
    EXPECT_FALSE(Measure(SyntheticEcg({{15, 90.0, 1.0}})).Agrees());
    EXPECT_TRUE(Measure(SyntheticEcg({{15, 90.0, 1.0}}), {Unpaced(0.0)}).Agrees());
}

TEST(PulseMeasurement, APulseBeforePacingIsInForceIsAnError)
{
    Recording recording = SyntheticEcg({{15, 90.0, 1.0}});
    for (int beat = 5; beat < 15; ++beat) {  // the first lies in the cycle before
        AddPulse(recording, beat * 60.0 / 90.0 + kLeadIn - kLead);
    }
    const Pacing pacing = Measure(recording);
    EXPECT_EQ(pacing.strays, 1u);
    EXPECT_FALSE(pacing.Agrees());
}

TEST(PulseMeasurement, AnotherAmplitudeOrLengthOfOnePulseIsAnError)
{
    Recording higher = WithoutPulse(8);
    AddPulse(higher, 14.0 * 60.0 / 90.0 + kLeadIn - kLead, 152.0);
    EXPECT_FALSE(Measure(higher).Agrees());
    Recording longer = WithoutPulse(8);
    AddPulse(longer, 14.0 * 60.0 / 90.0 + kLeadIn - kLead, 150.0, 2.1);
    EXPECT_FALSE(Measure(longer).Agrees());
}

TEST(PulseMeasurement, APulseThatLeavesItsPlaceInTheBeatIsAnError)
{
    Recording recording = WithoutPulse(8);
    AddPulse(recording, 14.0 * 60.0 / 90.0 + kLeadIn - kLead - 0.002);
    EXPECT_FALSE(Measure(recording).Agrees());
}

TEST(PulseMeasurement, MarksAndPulsesBelongTogether)
{
    Recording unmarked = PacedEcg();
    unmarked.marks.erase(unmarked.marks.begin() + 3);
    EXPECT_EQ(Measure(unmarked).unmarked, 1u);
    EXPECT_FALSE(Measure(unmarked).Agrees());
    Recording unanswered = PacedEcg();
    unanswered.marks.insert(unanswered.marks.begin(), 77);
    EXPECT_EQ(Measure(unanswered).unanswered, 1u);
    EXPECT_FALSE(Measure(unanswered).Agrees());
}

TEST(PulseMeasurement, AMarkWithinAPulseBeginsAnother)
{
    Recording recording;
    recording.rate = 20000.0;
    recording.mv.assign(200, 0.0);
    AddPulse(recording, 0.001);
    AddPulse(recording, 0.002);
    const auto pulses = FindPulses(recording);
    ASSERT_EQ(pulses.size(), 2u);
    EXPECT_NEAR(pulses[0].ms, 1.0, 1e-9);
    EXPECT_NEAR(pulses[1].ms, 2.0, 1e-9);
    EXPECT_EQ(pulses[1].sample, 40u);
}

TEST(PulseFiles, ARecordingOfTheInstrumentIsReadBack)
{
    std::string text = "time_s,dc_mv,ac_mv,marker,pulse_mv\n";
    instrument::Sample samples[3];
    samples[0].acMv = 0.5;
    samples[1].time = 0.00005;
    samples[1].marker = true;
    samples[1].pulseMv = -150.25;
    samples[2].time = 0.0001;
    instrument::AppendCsv(text, samples);
    std::istringstream in(text);
    const Recording recording = ReadRecording(in, "signal");
    EXPECT_EQ(recording.mv, (std::vector<double>{0.5, 0.0, 0.0}));
    EXPECT_EQ(recording.pulseMv, (std::vector<double>{0.0, -150.25, 0.0}));
    EXPECT_EQ(recording.marks, std::vector<std::size_t>{1});
}

TEST(PulseFiles, ARecordingWithoutPulsesIsReadToo)
{
    std::istringstream in("time_s,dc_mv,ac_mv,marker\n0,0,1,0\n0.1,0,2,1\n");
    const Recording recording = ReadRecording(in, "signal");
    EXPECT_EQ(recording.mv, (std::vector<double>{1.0, 2.0}));
    EXPECT_EQ(recording.marks, std::vector<std::size_t>{1});
    EXPECT_TRUE(FindPulses(recording).empty());
}

TEST(PulseFiles, RequestsTellAmplitudeAndLength)
{
    std::istringstream good("time_s,bpm,mv,pulse_mv,pulse_ms\n0,90,2,0,0\n17.6,90,2,-150,0.5\n");
    const auto requests = ReadRequests(good, "requests");
    ASSERT_EQ(requests.size(), 2u);
    EXPECT_EQ(requests[0].pulseMv, 0.0);
    EXPECT_EQ(requests[1].pulseMv, -150.0);
    EXPECT_EQ(requests[1].pulseMs, 0.5);
    std::istringstream bad("time_s,bpm,mv,pulse_mv,pulse_ms\n0,90,2,150,0\n");
    try {
        ReadRequests(bad, "requests");
        FAIL() << "an amplitude without a length was read";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(),
                     "requests, line 2: a pacing pulse has an amplitude and a length");
    }
}

}  // namespace
}  // namespace ecg
