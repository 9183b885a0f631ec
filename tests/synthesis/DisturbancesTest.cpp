// What is laid over a signal: noise, drift, respiration, the dynamic range overlay, and the clamps.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "storage/Calibration.h"
#include "support/OfflineRun.h"
#include "support/ReferenceSignal.h"
#include "synthesis/BeatModel.h"
#include "synthesis/MainFunction.h"
#include "synthesis/Parameters.h"
#include "synthesis/PlayClock.h"
#include "synthesis/Respiration.h"
#include "synthesis/TestSignals.h"

namespace {
constexpr int kRate = 1000;
constexpr double kTolerance = 1e-9;

// Half a second into the standard beat of one second nothing of the beat is left.
constexpr double kQuiet = 0.6;

double VoltageAt(int function, double playTime, double t)
{
    DerivedParameters ignored;
    CycleQuantities cycle = DeriveCycle(function, kRate, ignored);
    return MainFunctionVoltage(function, cycle, {playTime, kRate}, t);
}

TEST(MainsNoise, HasTheFrequencyOfItsSelectorAndItsHeightPeakToPeak)
{
    const double frequencies[] = {50, 60, 100, 120, 150, 180, 200, 240};
    g_MainsNoiseAmp = 3.0;
    for (int selector = 1; selector <= 8; ++selector) {
        g_MainNoise = selector;
        for (int i = 0; i < 300; ++i) {
            const double t = i * 0.000731;
            ASSERT_NEAR(VoltageNoiseAt(t), reference::Sine(3.0, frequencies[selector - 1], t),
                        kTolerance)
                << selector;
        }
    }
}

TEST(MainsNoise, FollowsThePlayClock)
{
    g_MainNoise = 3;
    g_MainsNoiseAmp = 2.0;
    s_t = 0.0025;
    EXPECT_NEAR(GetVoltageNoiseAmplitude(), 1.0, kTolerance);
}

TEST(MainsNoise, RandomNoiseFillsHalfTheAmplitudeEitherWay)
{
    g_MainNoise = 9;
    g_MainsNoiseAmp = 4.0;
    double low = 0.0;
    double high = 0.0;
    double sum = 0.0;
    for (int i = 0; i < 20000; ++i) {
        const double v = VoltageNoiseAt(1.0);
        ASSERT_LE(std::fabs(v), 2.0);
        low = std::min(low, v);
        high = std::max(high, v);
        sum += v;
    }
    EXPECT_LT(low, -1.95);
    EXPECT_GT(high, 1.95);
    EXPECT_NEAR(sum / 20000.0, 0.0, 0.1);
}

// An eighth of the values in each eighth of the span, within five standard deviations.
TEST(MainsNoise, RandomNoiseIsUniform)
{
    constexpr int kValues = 80000;
    constexpr int kBins = 8;
    g_MainNoise = 9;
    g_MainsNoiseAmp = 2.0;
    int bins[kBins] = {};
    double squares = 0.0;
    double products = 0.0;
    double previous = 0.0;
    for (int i = 0; i < kValues; ++i) {
        const double v = VoltageNoiseAt(0.0);
        const int bin = static_cast<int>((v + 1.0) * kBins / 2.0);
        ++bins[std::clamp(bin, 0, kBins - 1)];
        squares += v * v;
        products += v * previous;
        previous = v;
    }
    for (const int count : bins) EXPECT_NEAR(count, kValues / kBins, 5.0 * std::sqrt(8750.0));
    EXPECT_NEAR(squares / kValues, 1.0 / 3.0, 0.006);
    EXPECT_NEAR(products / kValues, 0.0, 0.006);  // one does not follow from the one before
}

TEST(MainsNoise, IsNoneForOtherSelectors)
{
    for (const int selector : {0, -1, 10, 1000, 2147483647, -2147483647 - 1}) {
        g_MainNoise = selector;
        EXPECT_EQ(VoltageNoiseAt(0.0012), 0.0) << selector;
    }
}

TEST(MainsNoise, IsAddedToTheBeatsAndTheANERecordAlone)
{
    const double peak = 0.605;  // 30.25 periods
    for (const int function : {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 16, 17}) {
        const bool isNoisy =
            function == OUTPUT_ECG || function == OUTPUT_CUSTOM_ECG || function == OUTPUT_ANE20000;
        g_MainNoise = 0;
        const double clean = VoltageAt(function, peak, kQuiet);
        g_MainNoise = 1;
        g_MainsNoiseAmp = 2.0;
        EXPECT_NEAR(VoltageAt(function, peak, kQuiet) - clean, isNoisy ? 1.0 : 0.0, kTolerance)
            << function;
    }
}

TEST(Drift, IsATriangleOfItsHeightPeakToPeak)
{
    g_AAMIDriftTest = true;
    for (const double amplitude : {1.0, 4.0, 8.0}) {
        for (const double frequency : {0.05, 0.1, 2.0}) {
            g_AAMIDriftTestAmp = amplitude;
            g_AAMIDriftTestWaveLen = 1.0 / frequency;
            for (int i = 0; i < 1000; ++i) {
                const double t = (i + 0.3) * 0.0417;
                ASSERT_NEAR(DriftAt(t), reference::Drift(amplitude, frequency, t), 1e-8) << t;
            }
        }
    }
}

TEST(Drift, ReachesItsPeaksAtTheQuarters)
{
    g_AAMIDriftTest = true;
    EXPECT_NEAR(DriftAt(2.5), 2.0, kTolerance);
    EXPECT_NEAR(DriftAt(5.0), 0.0, kTolerance);
    EXPECT_NEAR(DriftAt(7.5), -2.0, kTolerance);
    EXPECT_NEAR(DriftAt(12.5), 2.0, kTolerance);
}

// In the middle of each quarter, in several periods.
TEST(Drift, RisesFallsAndRisesAgainWithinEveryWavelength)
{
    g_AAMIDriftTest = true;
    for (const double waveLength : {0.5, 1.6, 10.0, 20.0}) {
        for (const double amplitude : {1.0, 4.0, 8.0}) {
            g_AAMIDriftTestAmp = amplitude;
            g_AAMIDriftTestWaveLen = waveLength;
            for (const double periods : {0.0, 1.0, 7.0}) {
                const auto at = [=](double part) { return DriftAt(waveLength * (periods + part)); };
                EXPECT_NEAR(at(0.125), amplitude / 4.0, 1e-8);
                EXPECT_NEAR(at(0.375), amplitude / 4.0, 1e-8);
                EXPECT_NEAR(at(0.625), -amplitude / 4.0, 1e-8);
                EXPECT_NEAR(at(0.875), -amplitude / 4.0, 1e-8);
                EXPECT_NEAR(at(0.0625), amplitude / 8.0, 1e-8);
                EXPECT_NEAR(at(0.9375), -amplitude / 8.0, 1e-8);
            }
        }
    }
}

TEST(Drift, IsAddedToTheBeatsAloneAndOnlyWhileItsTestIsOn)
{
    for (const int function : {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 16, 17}) {
        const bool drifts = function == OUTPUT_ECG || function == OUTPUT_CUSTOM_ECG;
        g_AAMIDriftTest = false;
        const double clean = VoltageAt(function, 2.5, kQuiet);
        g_AAMIDriftTest = true;
        EXPECT_NEAR(VoltageAt(function, 2.5, kQuiet) - clean, drifts ? 2.0 : 0.0, kTolerance)
            << function;
    }
}

// Over 20 s, past the end of a wavelength.
TEST(Disturbances, LeaveInPacketsOnTopOfTheBeat)
{
    _SetECGDCDefaultCalibrationData();
    constexpr int kStreamRate = 1000;
    g_MainNoise = 5;  // 150 Hz
    g_MainsNoiseAmp = 0.6;
    g_AAMIDriftTest = true;
    g_AAMIDriftTestAmp = 2.0;
    g_AAMIDriftTestWaveLen = 8.0;
    for (const int function : {OUTPUT_ECG, OUTPUT_CUSTOM_ECG}) {
        OfflineRun run(function, kStreamRate);
        const auto samples = run.NextSamples(20000);
        const reference::Beat beat;
        for (std::size_t n = 0; n < 20000; ++n) {
            const double t = static_cast<double>(n) / kStreamRate;
            const double inBeat = static_cast<double>(n % 1000) / kStreamRate;
            const double mv = (function == OUTPUT_ECG ? reference::StandardBeat(beat, inBeat)
                                                      : reference::CustomBeat(beat, inBeat)) +
                              reference::Sine(0.6, 150.0, t) + reference::Drift(2.0, 0.125, t);
            ASSERT_NEAR(samples[n].ac, 1600.0 * mv, 1.01) << function << " at " << t;
        }
    }
}

TEST(BeatClamp, LimitsTheSumToTheOutputRange)
{
    g_RangeV4Ch2On = 1.5;
    g_AAMIDriftTest = true;
    EXPECT_EQ(VoltageAt(OUTPUT_ECG, 2.5, kQuiet), 1.5);
    EXPECT_EQ(VoltageAt(OUTPUT_CUSTOM_ECG, 7.5, kQuiet), -1.5);
    EXPECT_NEAR(VoltageAt(OUTPUT_ECG, 1.0, kQuiet), 0.8, kTolerance);
}

TEST(DynamicRangeOverlay, RidesOnTheTriangleAndIsClampedToFive)
{
    g_DynamicRangeTest = true;
    g_ADynamicRange = 2.0;
    g_FDynamicRange = 10.0;
    g_Amplitude = 4.0;
    EXPECT_NEAR(VoltageAt(OUTPUT_TRIANGLE, 3.025, 0.25), 3.0, kTolerance);
    EXPECT_NEAR(VoltageAt(OUTPUT_TRIANGLE, 3.075, 0.75), -3.0, kTolerance);
    EXPECT_NEAR(VoltageAt(OUTPUT_TRIANGLE, 3.075, 0.0), -1.0, kTolerance);
    g_Amplitude = 12.0;
    EXPECT_EQ(VoltageAt(OUTPUT_TRIANGLE, 3.025, 0.25), 5.0);
    EXPECT_EQ(VoltageAt(OUTPUT_TRIANGLE, 3.025, 0.75), -5.0);
}

TEST(DynamicRangeOverlay, RidesOnTheSquareAndIsClampedToTwenty)
{
    g_DynamicRangeTest = true;
    g_ADynamicRange = 10.0;
    g_FDynamicRange = 10.0;
    g_Amplitude = 20.0;
    EXPECT_NEAR(VoltageAt(OUTPUT_SQUARE, 3.025, 0.1), 15.0, kTolerance);
    EXPECT_NEAR(VoltageAt(OUTPUT_SQUARE, 3.075, 0.6), -15.0, kTolerance);
    g_Amplitude = -40.0;  // -20 and the overlay
    EXPECT_EQ(VoltageAt(OUTPUT_SQUARE, 3.075, 0.1), -20.0);
    EXPECT_EQ(VoltageAt(OUTPUT_SQUARE, 3.025, 0.6), 20.0);
}

TEST(DynamicRangeOverlay, IsOffOutsideItsTest)
{
    g_Amplitude = 40.0;
    EXPECT_EQ(VoltageAt(OUTPUT_TRIANGLE, 3.025, 0.25), 20.0);
    EXPECT_EQ(VoltageAt(OUTPUT_SQUARE, 3.025, 0.25), 20.0);
}

TEST(NoiseStressRecord, IsSilentWithoutOne)
{
    for (const double t : {0.0, 1.0, 1805.5, 5000.0}) EXPECT_EQ(NstNoiseAt(t), 0.0);
}

// A breath of 4 s: a third of it in, two thirds out.
void Breathe()
{
    s_OneRespireS = 4.0;
    s_InhaleS = 4.0 / 3.0;
    s_ExhaleS = 8.0 / 3.0;
}
constexpr double kFullyIn = 2.0 / 3.0;
constexpr double kFullyOut = 4.0 / 3.0 + 4.0 / 3.0;

TEST(Respiration, IsAHalfSineInAndANegativeHalfSineOut)
{
    Breathe();
    for (int i = 0; i < 4000; ++i) {
        const double t = i * 0.00317;
        const double inBreath = std::fmod(t, 4.0);
        const double expected = reference::HalfSine(0.0, 4.0 / 3.0, 1.0, inBreath) -
                                reference::HalfSine(4.0 / 3.0, 4.0, 1.0, inBreath);
        ASSERT_NEAR(RespirationVoltageAt(t), expected, 1e-9) << t;
    }
    EXPECT_NEAR(RespirationVoltageAt(kFullyIn), 1.0, kTolerance);
    EXPECT_NEAR(RespirationVoltageAt(kFullyOut), -1.0, kTolerance);
}

TEST(Respiration, PausesAtTheEndOfEveryMinuteAndRestartsWithTheNext)
{
    s_OneRespireS = 7.0;
    s_InhaleS = 3.5;
    s_ExhaleS = 3.5;
    s_OneApneaS = 10.0;
    EXPECT_NE(RespirationVoltageAt(49.9), 0.0);
    for (const double t : {50.0, 55.0, 59.999, 110.0, 119.9}) {
        EXPECT_EQ(RespirationVoltageAt(t), 0.0) << t;
    }
    EXPECT_NEAR(RespirationVoltageAt(61.75), 1.0, kTolerance);
}

TEST(Respiration, ModulatesTheHeightOfTheBeat)
{
    Breathe();
    s_AmpModV = 0.4;
    const double peak = 0.05375;
    EXPECT_NEAR(VoltageAt(OUTPUT_ECG, 8.0 + kFullyIn, peak), 0.875 * 1.4, kTolerance);
    EXPECT_NEAR(VoltageAt(OUTPUT_ECG, 8.0 + kFullyOut, peak), 0.875 * 0.6, kTolerance);
    EXPECT_NEAR(VoltageAt(OUTPUT_CUSTOM_ECG, 8.0 + kFullyIn, 0.20375), 0.875 * 1.4, kTolerance);
    EXPECT_NEAR(VoltageAt(OUTPUT_ECG, 8.0 + kFullyIn, 0.27), 0.2, kTolerance);  // not the T wave
}

TEST(Respiration, ShiftsTheBaseline)
{
    Breathe();
    s_BaselineModV = 0.3;
    EXPECT_NEAR(VoltageAt(OUTPUT_ECG, kFullyIn, kQuiet), 0.3, kTolerance);
    EXPECT_NEAR(VoltageAt(OUTPUT_CUSTOM_ECG, kFullyOut, kQuiet), -0.3, kTolerance);
    EXPECT_NEAR(VoltageAt(OUTPUT_SINE, kFullyIn, 0.0), 0.0, kTolerance);
}

// The beat's phase runs at its frequency plus the depth times the breath: summed sample by sample.
TEST(Respiration, ModulatesTheHeartRate)
{
    Breathe();
    s_FreqModHz = 0.2;
    for (const int function : {OUTPUT_ECG, OUTPUT_CUSTOM_ECG}) {
        DerivedParameters ignored;
        CycleQuantities cycle = DeriveCycle(function, kRate, ignored);
        double phase = 0.0;
        for (int n = 0; n < 5000; ++n) {
            const double now = n / static_cast<double>(kRate);
            if (n > 0) phase += (1.0 + 0.2 * RespirationVoltageAt(now)) / kRate;
            const double t = phase - std::floor(phase);
            const double v =
                MainFunctionVoltage(function, cycle, {now, kRate}, std::fmod(now, 1.0));
            const reference::Beat beat;
            const double expected = function == OUTPUT_ECG ? reference::StandardBeat(beat, t)
                                                           : reference::CustomBeat(beat, t);
            ASSERT_NEAR(v, expected, 1e-7) << function << " at " << now;
        }
    }
}

TEST(Respiration, RestsWithoutABreathPeriod)
{
    s_BaselineModV = 0.3;
    s_AmpModV = 0.4;
    s_InhaleS = 1.0;
    EXPECT_EQ(RespirationVoltageAt(0.5), 0.0);
    EXPECT_NEAR(VoltageAt(OUTPUT_ECG, 0.5, 0.05375), 0.875, kTolerance);
}
}  // namespace
