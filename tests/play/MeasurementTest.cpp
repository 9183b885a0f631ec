#include "draw_ecg/Measurement.h"

#include <gtest/gtest.h>

#include "play/SyntheticEcg.h"

namespace ecg {
namespace {

std::vector<Phase> Measure(const Recording& recording, const std::vector<Request>& requests)
{
    return MeasurePhases(FindBeats(recording), requests);
}

TEST(FindBeats, FindsEveryWholeComplexAndNothingElse)
{
    const auto beats = FindBeats(SyntheticEcg({{10, 60.0, 1.0}}));
    ASSERT_EQ(beats.size(), 10u);
    for (std::size_t i = 0; i < beats.size(); ++i) {
        EXPECT_NEAR(beats[i].cycleStart, static_cast<double>(i), 1e-4);
        EXPECT_NEAR(beats[i].peakTime, static_cast<double>(i) + 0.05375, 1e-4);
    }
}

TEST(FindBeats, LeavesOutAComplexThatTheEndCuts)
{
    Recording recording = SyntheticEcg({{3, 60.0, 1.0}});
    recording.mv.resize(static_cast<std::size_t>(2.08 * recording.rate));
    EXPECT_EQ(FindBeats(recording).size(), 2u);
}

TEST(FindBeats, FindsNothingInSilence)
{
    Recording recording;
    recording.rate = 20000.0;
    EXPECT_TRUE(FindBeats(recording).empty());
    recording.mv.assign(20000, 0.0);
    EXPECT_TRUE(FindBeats(recording).empty());
}

TEST(FindBeats, FindsTheBeatsBeforeAndAfterAStepInHeight)
{
    EXPECT_EQ(FindBeats(SyntheticEcg({{5, 90.0, 1.0}, {5, 90.0, 2.0}, {5, 90.0, 1.0}})).size(),
              15u);
}

TEST(FindBeats, IsFinerThanASample)
{
    // 83 bpm is 0.7229 s, no whole number of samples at 500 per second.
    const auto phases = Measure(SyntheticEcg({{20, 83.0, 1.0}}, 500.0), {{0.0, 83.0, 1.0}});
    EXPECT_NEAR(phases[0].bpm, 83.0, 0.02);
}

class HeartRate : public testing::TestWithParam<double> {};

TEST_P(HeartRate, IsMeasuredWithinAHundredth)
{
    const auto phases = Measure(SyntheticEcg({{12, GetParam(), 1.0}}), {{0.0, GetParam(), 1.0}});
    EXPECT_NEAR(phases[0].bpm, GetParam(), 0.01);
    EXPECT_TRUE(phases[0].Agrees());
}

INSTANTIATE_TEST_SUITE_P(Rates, HeartRate, testing::Values(30.0, 60.0, 90.0, 117.3, 150.0));

class Height : public testing::TestWithParam<double> {};

TEST_P(Height, IsMeasuredWithinHalfAPercent)
{
    const auto phases = Measure(SyntheticEcg({{12, 60.0, GetParam()}}), {{0.0, 60.0, GetParam()}});
    EXPECT_NEAR(phases[0].mv, GetParam(), 0.005 * GetParam());
    EXPECT_TRUE(phases[0].Agrees());
}

INSTANTIATE_TEST_SUITE_P(Heights, Height, testing::Values(0.8, 1.0, 2.0, 5.0, 20.0));

TEST(Phases, BeginWithTheCycleInWhichTheChangeIsSeen)
{
    const auto phases = Measure(SyntheticEcg({{8, 60.0, 1.0}, {8, 90.0, 1.0}, {7, 90.0, 2.0}}),
                                {{0.0, 60.0, 1.0}, {7.4, 90.0, 1.0}, {13.0, 90.0, 2.0}});
    ASSERT_EQ(phases.size(), 3u);
    EXPECT_NEAR(phases[1].inForce, 8.0, 1e-3);
    EXPECT_NEAR(phases[2].inForce, 8.0 + 8.0 * 60.0 / 90.0, 1e-3);
    EXPECT_EQ(phases[0].beats, 8u);
    EXPECT_EQ(phases[1].beats, 8u);
    EXPECT_EQ(phases[2].beats, 7u);
    for (const Phase& phase : phases) EXPECT_TRUE(phase.Agrees());
}

TEST(Phases, ABeatThatIsCutByAChangeIsAnError)
{
    Recording recording = SyntheticEcg({{7, 60.0, 1.0}});
    recording.mv.resize(static_cast<std::size_t>(6.7 * recording.rate));
    const Recording rest = SyntheticEcg({{8, 90.0, 1.0}});
    recording.mv.insert(recording.mv.end(), rest.mv.begin(), rest.mv.end());
    const auto phases = Measure(recording, {{0.0, 60.0, 1.0}, {6.6, 90.0, 1.0}});
    EXPECT_FALSE(phases[0].Agrees());
}

TEST(Phases, AChangeThatComesACycleLateIsAnError)
{
    const auto phases = Measure(SyntheticEcg({{9, 60.0, 1.0}, {9, 90.0, 1.0}}),
                                {{0.0, 60.0, 1.0}, {7.4, 90.0, 1.0}});
    EXPECT_TRUE(phases[1].isSeen);
    EXPECT_FALSE(phases[1].isAtCycleEnd);
    EXPECT_FALSE(phases[1].Agrees());
}

TEST(Phases, AChangeThatNeverComesIsNotSeen)
{
    const auto phases =
        Measure(SyntheticEcg({{12, 60.0, 1.0}}), {{0.0, 60.0, 1.0}, {7.4, 90.0, 1.0}});
    EXPECT_FALSE(phases[1].isSeen);
    EXPECT_FALSE(phases[1].Agrees());
}

TEST(Phases, OneBeatOfAnotherHeightIsAnError)
{
    const auto phases = Measure(SyntheticEcg({{6, 60.0, 1.0}, {1, 60.0, 1.02}, {6, 60.0, 1.0}}),
                                {{0.0, 60.0, 1.0}});
    EXPECT_NEAR(phases[0].heightError, 0.02, 0.002);
    EXPECT_FALSE(phases[0].Agrees());
}

TEST(Phases, WithoutABeatNothingIsSeen)
{
    const auto phases = MeasurePhases({}, {{0.0, 60.0, 1.0}, {7.4, 90.0, 1.0}});
    ASSERT_EQ(phases.size(), 2u);
    EXPECT_FALSE(phases[0].isSeen);
    EXPECT_FALSE(phases[1].isSeen);
    EXPECT_TRUE(MeasurePhases({}, {}).empty());
}

}  // namespace
}  // namespace ecg
