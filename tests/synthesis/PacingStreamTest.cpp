// Pacing marks as they leave in packets, and what the other codes and the graph show of a pulse.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>
#include <vector>

#include "instrument/DcTable.h"
#include "ppg/Channels.h"
#include "storage/Calibration.h"
#include "support/FittedModule.h"
#include "support/OfflineRun.h"
#include "support/PlayClockModel.h"
#include "support/RegisteredListener.h"
#include "synthesis/Pacing.h"
#include "synthesis/Relays.h"
#include "synthesis/Respiration.h"

namespace {
constexpr std::size_t kFrameSamples = 14;

using Samples = std::vector<std::size_t>;

// The samples that start a pulse, from 0, as whole packets mark them: frame i, position k.
Samples MarksOf(OfflineRun& run, std::size_t samples)
{
    Samples marks;
    std::size_t frames = 0;
    while (frames * kFrameSamples < samples) {
        for (const instrument::Frame& frame : instrument::DecodePacket(run.NextPacket())) {
            if (frame.marker != 0) marks.push_back(frames * kFrameSamples + frame.marker - 1u);
            ++frames;
        }
    }
    while (!marks.empty() && marks.back() >= samples) marks.pop_back();
    return marks;
}

// When each pulse is due, in whole numbers: sample n shows step m of the play clock, and pulse k is
// due when m / rate + lead reaches k periods of 60 s / perMinute, a millionth of a period early at
// most. Leads in ms.
Samples ExpectedMarks(int rate, int perMinute, const std::vector<int>& leadsMs, std::size_t samples)
{
    const std::vector<long> steps = TimeSteps(samples, rate);
    std::vector<long long> passed;
    const auto periods = [=](long step, int leadMs) {
        // In units of a period / 60000 / rate.
        const long long tau = (1000LL * step + static_cast<long long>(leadMs) * rate) * perMinute;
        const long long period = 60000LL * rate;
        return (1000000 * tau + period) / (1000000 * period);
    };
    for (const int lead : leadsMs) passed.push_back(periods(0, lead));
    Samples marks;
    for (std::size_t n = 1; n < samples; ++n) {
        for (std::size_t i = 0; i < leadsMs.size(); ++i) {
            const long long now = periods(steps[n], leadsMs[i]);
            if (now > passed[i]) {
                marks.push_back(n);
                passed[i] = now;
            }
        }
    }
    return marks;
}

// As vectors of this length compare, but with the place where they part.
void ExpectSame(const Samples& marks, const Samples& expected)
{
    const auto [mark, wanted] =
        std::mismatch(marks.begin(), marks.end(), expected.begin(), expected.end());
    if (mark == marks.end() && wanted == expected.end()) return;
    const Samples rest(mark, std::min(mark + 4, marks.end()));
    const Samples wantedRest(wanted, std::min(wanted + 4, expected.end()));
    ADD_FAILURE() << "mark " << mark - marks.begin() << ": " << testing::PrintToString(rest)
                  << " instead of " << testing::PrintToString(wantedRest);
}

// Where two pulses start in one frame only the second is marked.
Samples LastOfEachFrame(const Samples& marks)
{
    Samples kept;
    for (const std::size_t mark : marks) {
        if (!kept.empty() && kept.back() / kFrameSamples == mark / kFrameSamples) kept.pop_back();
        kept.push_back(mark);
    }
    return kept;
}

struct Pacer {
    int rate;
    int perMinute;
    std::size_t periods;
};
void PrintTo(const Pacer& pacer, std::ostream* out)
{
    *out << pacer.perMinute << " a minute at " << pacer.rate;
}

constexpr Pacer kPacers[] = {
    {20000, 60, 20},  {20000, 72, 60},  {20000, 359, 200}, {1000, 60, 300},  {1000, 72, 300},
    {1000, 100, 400}, {1000, 360, 900}, {500, 72, 300},    {500, 83, 300},   {250, 60, 300},
    {250, 72, 400},   {250, 120, 900},  {250, 97, 700},    {100, 60, 800},   {100, 72, 900},
    {100, 77, 900},   {100, 360, 3000}, {128, 73, 500},    {40000, 119, 60}, {333, 71, 500},
};

class PacingMarks : public testing::TestWithParam<Pacer> {
protected:
    PacingMarks()
    {
        _SetECGDCDefaultCalibrationData();
        g_PA = 50.0;
        g_pacingSynchronized = false;
        g_PacingRate = static_cast<unsigned>(GetParam().perMinute);
    }
    static std::size_t Length()
    {
        const auto rate = static_cast<std::size_t>(GetParam().rate);
        const auto perMinute = static_cast<std::size_t>(GetParam().perMinute);
        return (GetParam().periods * 60 * rate / perMinute / kFrameSamples + 1) * kFrameSamples;
    }
};

// Over hundreds of periods, while the play clock repeats a step now and then.
TEST_P(PacingMarks, StandAtTheFirstSampleOfEveryDueTime)
{
    OfflineRun run(OUTPUT_SINE, GetParam().rate);
    const Samples marks = MarksOf(run, Length());
    EXPECT_GE(marks.size() + 1, GetParam().periods);
    ExpectSame(marks, ExpectedMarks(GetParam().rate, GetParam().perMinute, {30}, Length()));
}

TEST_P(PacingMarks, StandTwentyMillisecondsBeforeTheStandardBeat)
{
    OfflineRun run(OUTPUT_ECG, GetParam().rate);
    ExpectSame(MarksOf(run, Length()),
               ExpectedMarks(GetParam().rate, GetParam().perMinute, {20}, Length()));
}

TEST_P(PacingMarks, StandTwiceAPeriodInModesOneAndTwo)
{
    g_PacingDuration = 3.0;
    for (const int mode : {1, 2}) {
        g_PacingPulse = mode;
        const int second = mode == 1 ? 180 : 280;
        // A pulse that is due while the other one is hardly over is the other one.
        const double apartMs = std::fmod(mode == 1 ? 150.0 : 250.0, 60000.0 / GetParam().perMinute);
        if (apartMs < 15.0 || 60000.0 / GetParam().perMinute - apartMs < 15.0) continue;
        SCOPED_TRACE("mode " + std::to_string(mode));
        OfflineRun run(OUTPUT_SINE, GetParam().rate);
        ExpectSame(MarksOf(run, Length()),
                   LastOfEachFrame(ExpectedMarks(GetParam().rate, GetParam().perMinute,
                                                 {30, second}, Length())));
    }
}

TEST_P(PacingMarks, StandOnceAPeriodInAnyOtherMode)
{
    g_PacingPulse = 3;
    OfflineRun run(OUTPUT_SINE, GetParam().rate);
    ExpectSame(MarksOf(run, Length()),
               ExpectedMarks(GetParam().rate, GetParam().perMinute, {30}, Length()));
}

INSTANTIATE_TEST_SUITE_P(Pacers, PacingMarks, testing::ValuesIn(kPacers), [](const auto& test) {
    return std::to_string(test.param.perMinute) + "AMinuteAt" + std::to_string(test.param.rate);
});

class PacingStream : public testing::Test {
protected:
    PacingStream()
    {
        _SetECGDCDefaultCalibrationData();
        g_PA = 50.0;
        g_pacingSynchronized = false;
    }

    RegisteredListener listener_;
};

// 7.5 samples ahead of the second: sample 242.5 is none, the one after it takes the pulse.
TEST_F(PacingStream, GivesAPulseBetweenTwoSamplesToTheSecond)
{
    OfflineRun run(OUTPUT_SINE, 250);
    EXPECT_EQ(MarksOf(run, 1400), (Samples{243, 493, 743, 993, 1243}));
}

// At 50 samples a second the pulses of a pair, 7.5 samples apart, come in one frame now and then.
TEST_F(PacingStream, MarksTheSecondOfTwoPulsesInAFrame)
{
    g_PacingPulse = 1;
    OfflineRun run(OUTPUT_SINE, 50);
    const Samples all = ExpectedMarks(50, 60, {30, 180}, 7000);
    const Samples expected = LastOfEachFrame(all);
    ASSERT_LT(expected.size(), all.size());
    EXPECT_EQ(MarksOf(run, 7000), expected);
}

TEST_F(PacingStream, MarksNothingWithoutAnAmplitude)
{
    g_PA = 0.0;
    g_PacingPulse = 1;
    OfflineRun run(OUTPUT_ECG, 1000);
    EXPECT_EQ(MarksOf(run, 5000), Samples{});
}

TEST_F(PacingStream, MarksNothingInTheOtherLayouts)
{
    g_PacingRate = 360u;
    {
        FitPPGModule(0x3307, 1, 2, 0);
        g_bPPGOutputEnabled[1] = true;
        s_PPGSampleRate = 1000;
        OfflineRun run(OUTPUT_SINE, 1000);
        ASSERT_EQ(g_OperateMode, 7);
        EXPECT_EQ(MarksOf(run, 2000), Samples{});
        g_bPPGOutputEnabled[1] = false;
    }
    FitRespirationModule();
    g_RespirationEnabled = true;
    OfflineRun run(OUTPUT_SINE);
    ASSERT_EQ(g_OperateMode, 35);
    EXPECT_EQ(MarksOf(run, 20000), Samples{});
}

// A pulse that a layout without marks has swallowed is not marked later, nor drawn for a listener
// that comes later.
TEST_F(PacingStream, LeavesNothingOfAPulseToALaterLayoutOrListener)
{
    FitPPGModule(0x3307, 1, 2, 0);
    g_bPPGOutputEnabled[1] = true;
    s_PPGSampleRate = 1000;
    OfflineRun run(OUTPUT_SINE, 1000);
    ASSERT_EQ(g_OperateMode, 7);
    run.NextSamples(2000);  // two pulses
    g_bPPGOutputEnabled[1] = false;
    g_PA = 0.0;
    Change();
    SetRelays(false);
    ASSERT_EQ(g_OperateMode, kModeECG);
    static int calls = 0;
    VRAXRegisterPacingOutputSignalCallback([](double, double) { ++calls; });
    EXPECT_EQ(MarksOf(run, 2000), Samples{});
    EXPECT_EQ(calls, 0);
}

// 8 s a beat are no rate for a pacer.
TEST_F(PacingStream, KeepsItsOwnRateUnderAVerySlowBeat)
{
    g_pacingSynchronized = true;
    g_F = 0.125;
    g_PacingRate = 50u;
    OfflineRun run(OUTPUT_ECG, 500);
    EXPECT_EQ(MarksOf(run, 6000), ExpectedMarks(500, 50, {20}, 6000));
}

TEST_F(PacingStream, FollowsTheBeat)
{
    g_pacingSynchronized = true;
    g_PacingRate = 200u;
    g_F = 0.75;
    OfflineRun run(OUTPUT_ECG, 1000);
    EXPECT_EQ(MarksOf(run, 60000), ExpectedMarks(1000, 45, {20}, 60000));
}

// From 1 to 1.25 Hz: the pulse of the running second is still its own.
TEST_F(PacingStream, FollowsAChangedBeatFromTheEndOfTheCycle)
{
    g_pacingSynchronized = true;
    OfflineRun run(OUTPUT_ECG, 1000);
    EXPECT_EQ(MarksOf(run, 700), Samples{});
    ASSERT_EQ(VRAXSetFrequency(1.25), 0);
    // From sample 700 on.
    EXPECT_EQ(MarksOf(run, 3300), (Samples{280, 1580 - 700, 2380 - 700, 3180 - 700, 3980 - 700}));
}

// A cycle of 0.475 s ends between samples 60 and 61. By the new period of 0.5 s a pulse is due there
// too, at 0.47 s. It shares its frame with the last one of the old cycle, at sample 57.
TEST_F(PacingStream, GivesAPulseBetweenTwoCyclesToTheFirstSampleOfTheNewOne)
{
    g_pacingSynchronized = true;
    g_F = 1.0 / 0.475;
    OfflineRun run(OUTPUT_SINE, 128);
    ASSERT_EQ(VRAXSetFrequency(2.0), 0);
    EXPECT_EQ(MarksOf(run, 200), (Samples{61, 125, 189}));
}

TEST_F(PacingStream, TakesANewRateAndANewModeWithTheNextCycle)
{
    OfflineRun run(OUTPUT_SINE, 1000);
    MarksOf(run, 700);
    ASSERT_EQ(VRAXSetPacingRate(120), 0);
    ASSERT_EQ(VRAXSetPacingPulseMode(1), 0);
    EXPECT_EQ(MarksOf(run, 1400),
              (Samples{970 - 700, 1320 - 700, 1470 - 700, 1820 - 700, 1970 - 700}));
}

TEST_F(PacingStream, StopsMarkingWithTheCycleInWhichItsAmplitudeBecomesZero)
{
    OfflineRun run(OUTPUT_SINE, 1000);
    MarksOf(run, 700);
    ASSERT_EQ(VRAXSetPacingAmplitude(0.0), 0);
    EXPECT_EQ(MarksOf(run, 4200), Samples{270});
}

TEST_F(PacingStream, StartsAnewWithARun)
{
    for (int i = 0; i < 3; ++i) {
        OfflineRun run(OUTPUT_SINE, 1000);
        EXPECT_EQ(MarksOf(run, 1400), Samples{970}) << i;
    }
}

TEST_F(PacingStream, GoesOnAfterTheOutputWasDisabledForAWhile)
{
    OfflineRun run(OUTPUT_SINE, 1000);
    MarksOf(run, 700);
    VRAXEnableECGOutput(false);
    EXPECT_EQ(MarksOf(run, 700), Samples{});
    VRAXEnableECGOutput(true);
    EXPECT_EQ(MarksOf(run, 1400), Samples{1970 - 1400});
}

TEST_F(PacingStream, LeavesTheOffsetInTheDCCodeDuringAPulse)
{
    g_DCSetting = -123;
    g_PA = 700.0;
    g_PacingDuration = 3.0;
    OfflineRun run(OUTPUT_ECG);
    for (const instrument::Slot& slot : run.NextSamples(41000)) {
        ASSERT_EQ(slot.dc, instrument::DefaultDcCode(-123.0));
    }
}

TEST_F(PacingStream, AddsTheOvershootToTheACCode)
{
    g_Amplitude = 0.0;
    g_POA = 4.0;
    g_PacingOvershootTC = 20u;
    OfflineRun run(OUTPUT_SINE, 5000);
    const auto samples = run.NextSamples(5600);
    for (std::size_t n = 4850; n < 4860; ++n) ASSERT_EQ(samples[n].ac, 0) << n;  // the pulse
    for (std::size_t n = 4860; n < samples.size(); ++n) {
        const double mv = -4.0 * std::exp(-(static_cast<double>(n) - 4860.0) / 100.0);
        ASSERT_NEAR(samples[n].ac, 1600.0 * mv, 1.0) << n;
    }
    EXPECT_EQ(samples[4860].ac, -6400);
}

// The beat is clamped before the overshoot comes on top.
TEST_F(PacingStream, OvershootIsNoPartOfTheOutputRange)
{
    g_RangeV4Ch2On = 0.5;
    g_AAMIDriftTest = true;
    g_AAMIDriftTestAmp = 8.0;
    g_AAMIDriftTestWaveLen = 4.0;
    g_PA = 10.0;
    g_POA = 3.0;
    g_PacingOvershootTC = 100u;
    OfflineRun run(OUTPUT_ECG, 1000);
    const auto samples = run.NextSamples(1400);
    EXPECT_NEAR(samples[982].ac, 1600.0 * (0.5 - 3.0), 1.0);
    EXPECT_NEAR(samples[981].ac, 1600.0 * 0.5, 1.0);
}

using Points = std::vector<std::pair<double, double>>;
Points s_points;

void RecordPulses()
{
    s_points.clear();
    VRAXRegisterPacingOutputSignalCallback(
        [](double t, double mv) { s_points.emplace_back(t, mv); });
}

TEST_F(PacingStream, DrawsEveryPulseAsARectangleAtItsMark)
{
    g_PA = -80.0;
    g_PacingDuration = 2.5;
    g_PacingPulse = 2;
    RecordPulses();
    OfflineRun run(OUTPUT_SINE, 1000);
    const Samples marks = MarksOf(run, 3500);
    ASSERT_EQ(marks, (Samples{720, 970, 1720, 1970, 2720, 2970}));
    ASSERT_EQ(s_points.size(), 4 * marks.size());
    for (std::size_t i = 0; i < marks.size(); ++i) {
        const double t = static_cast<double>(marks[i]) / 1000.0;
        const double times[] = {t, t, t + 0.0025, t + 0.0025};
        const double heights[] = {0.0, -80.0, -80.0, 0.0};
        for (std::size_t k = 0; k < 4; ++k) {
            EXPECT_NEAR(s_points[4 * i + k].first, times[k], 1e-9);
            EXPECT_EQ(s_points[4 * i + k].second, heights[k]);
        }
    }
}

TEST_F(PacingStream, DrawsNothingWithoutPacing)
{
    g_PA = 0.0;
    RecordPulses();
    OfflineRun run(OUTPUT_ECG, 1000);
    run.NextSamples(3500);
    EXPECT_TRUE(s_points.empty());
}
}  // namespace
