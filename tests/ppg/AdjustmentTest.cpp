// What a channel keeps of the fields of a description.

#include <gtest/gtest.h>

#include "support/PpgChannel.h"

namespace {
// AC 10 mV of at most 30 mV.
PPG_WAVEFORM Kept(const PPG_WAVEFORM& wave)
{
    EXPECT_GT(SetPPGWaveform(1, &wave), 0);
    return g_PPG_waveforms[1];
}

PPG_WAVEFORM Plain() { return MakeWave(3, 1.0, 1000.0, 10.0); }
}  // namespace

TEST(Adjustment, TakesTheAmplitudeOffTheDCLevel)
{
    EXPECT_EQ(Kept(Plain()).dc, 990.0);
    VRAXEnableACAboveDC(true);
    EXPECT_EQ(Kept(Plain()).dc, 1000.0);
}

TEST(Adjustment, LedSyncIsTwoOrOne)
{
    const struct {
        int given;
        int kept;
    } kCases[] = {{2, 2}, {1, 1}, {0, 1}, {3, 1}, {-2, 1}};
    for (const auto& [given, kept] : kCases) {
        PPG_WAVEFORM wave = Plain();
        wave.ledSync = given;
        EXPECT_EQ(Kept(wave).ledSync, kept);
        EXPECT_EQ(g_PPG_led_sync[1], kept);
    }
}

TEST(Adjustment, InvertIsOneOrZero)
{
    for (const int given : {0, 1, -1, 256}) {
        PPG_WAVEFORM wave = Plain();
        wave.invert = given;
        EXPECT_EQ(Kept(wave).invert, given != 0 ? 1 : 0);
        EXPECT_EQ(g_PPG_invert_output[1], given != 0);
    }
}

TEST(Adjustment, StepsAreUpToSevenOfUpToTwoMillivolts)
{
    const struct {
        int count;
        double amplitude;
        int keptCount;
        double keptAmplitude;
    } kCases[] = {{0, 1.5, 0, 0.0}, {3, 1.5, 3, 1.5}, {3, 2.5, 3, 2.0},
                  {3, -1., 3, 0.0}, {8, 1.0, 7, 1.0}, {-1, 1.0, 0, 1.0}};
    for (const auto& [count, amplitude, keptCount, keptAmplitude] : kCases) {
        PPG_WAVEFORM wave = Plain();
        wave.stepCount = count;
        wave.stepAmplitude = amplitude;
        const PPG_WAVEFORM kept = Kept(wave);
        EXPECT_EQ(kept.stepCount, keptCount);
        EXPECT_EQ(kept.stepAmplitude, keptAmplitude);
    }
}

TEST(Adjustment, LevelOffsetLeavesRoomForTheAmplitudeAndTheStep)
{
    PPG_WAVEFORM wave = Plain();
    wave.stepCount = 1;
    wave.stepAmplitude = 1.5;
    wave.levelOffset = 100.0;
    EXPECT_EQ(Kept(wave).levelOffset, 18.5);
    wave.levelOffset = -1.0;
    EXPECT_EQ(Kept(wave).levelOffset, 0.0);
    wave.levelOffset = 5.0;
    EXPECT_EQ(Kept(wave).levelOffset, 5.0);
    wave.ac = 29.0;  // the room is -0.5
    EXPECT_EQ(Kept(wave).levelOffset, 0.0);
}

TEST(Adjustment, VariationIsWithinMinus16AndWhatTheRangeLeaves)
{
    const struct {
        double ac;
        double given;
        double kept;
    } kCases[] = {{10.0, 500.0, 200.0},
                  {10.0, -20.0, -16.0},
                  {10.0, 7.5, 7.5},
                  {29.5, 5.0, 1.0},  // 1.69 %, cut
                  {30.0, 5.0, 0.0}};
    for (const auto& [ac, given, kept] : kCases) {
        PPG_WAVEFORM wave = Plain();
        wave.ac = ac;
        wave.variationPercent = given;
        EXPECT_EQ(Kept(wave).variationPercent, kept) << ac << ' ' << given;
        wave.variationMode = 3;
        EXPECT_EQ(Kept(wave).variationPercent, given);
    }
}

TEST(Adjustment, VariationCyclesAreOneToFive)
{
    const struct {
        int given;
        int kept;
    } kCases[] = {{-3, 1}, {0, 1}, {1, 1}, {2, 2}, {5, 5}, {6, 5}};
    for (const auto& [given, kept] : kCases) {
        PPG_WAVEFORM wave = Plain();
        wave.variationCycles = given;
        EXPECT_EQ(Kept(wave).variationCycles, kept);
    }
}

TEST(Adjustment, ThePeakTimeFollowsFromTheShape)
{
    const struct {
        int shape;
        double frequency;
        int peakMs;
    } kCases[] = {{0, 1.0, 250}, {1, 1.0, 250}, {0, 0.16, 1563},
                  {1, 3.0, 83},  {2, 1.0, 0},   {3, 1.0, 77}};
    for (const auto& [shape, frequency, peakMs] : kCases) {
        PPG_WAVEFORM wave = MakeWave(shape, frequency, 1000.0, 10.0);
        wave.t1 = 77;
        EXPECT_EQ(Kept(wave).t1, peakMs) << shape;
    }
}

TEST(Adjustment, OtherFieldsStayAsGiven)
{
    PPG_WAVEFORM wave = Plain();
    wave.notchLevel = 3.25;
    wave.dicroticLevel = 4.5;
    wave.t2 = 333;
    wave.t3 = 444;
    wave.timeBase = 99;
    wave.variationMode = 2;
    wave.variationRate = -8;
    const PPG_WAVEFORM kept = Kept(wave);
    EXPECT_EQ(kept.notchLevel, 3.25);
    EXPECT_EQ(kept.dicroticLevel, 4.5);
    EXPECT_EQ(kept.t2, 333);
    EXPECT_EQ(kept.t3, 444);
    EXPECT_EQ(kept.timeBase, 99);
    EXPECT_EQ(kept.variationMode, 2);
    EXPECT_EQ(kept.variationRate, -8);
    EXPECT_EQ(wave.dc, 1000.0);  // the caller's record is not touched
}
