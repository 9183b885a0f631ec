// The beats under the respiration algorithm, in packets.

#include <gtest/gtest.h>

#include <cmath>

#include "support/OfflineRun.h"
#include "support/PlayClockModel.h"
#include "support/ReferenceSignal.h"
#include "vrax.h"

namespace {
constexpr int kRate = 1000;
constexpr std::size_t kSamples = 70000;  // 70 s: past an apnea

// Begins where a breath does: which sample is its first makes no difference to the beat's phase.
constexpr int kApnea = 12;

// A breath of 4 s with a ratio of 1:2, with the apnea at the end of a minute.
double Breath(double t, int apnea)
{
    const double inMinute = std::fmod(t, 60.0);
    if (inMinute >= 60.0 - apnea) return 0.0;
    const double phase = std::fmod(inMinute, 4.0);
    return reference::HalfSine(0.0, 4.0 / 3.0, 1.0, phase) -
           reference::HalfSine(4.0 / 3.0, 4.0, 1.0, phase);
}

struct Depths {
    int baseline;
    int amplitude;
    int frequency;
};

// Beats of 2 mV at 1 Hz; every sample's AC code within the one that truncation and rounding leave
// open, away from the beat's corners where the time's rounding decides.
void ExpectModulated(int function, int apnea, const Depths& depths)
{
    g_Amplitude = 2.0;
    OfflineRun run(function, kRate);
    ASSERT_EQ(VRAXSetRespirationAlgorithm(15, 2, apnea, depths.baseline, depths.amplitude,
                                          depths.frequency),
              1);
    const auto samples = run.NextSamples(kSamples);
    const auto steps = TimeSteps(samples.size(), kRate);
    double phase = 0.0;
    int off = 0;
    for (std::size_t n = 0; n < samples.size(); ++n) {
        const double t = static_cast<double>(steps[n]) / kRate;
        const double r = Breath(t, apnea);
        if (n > 0) phase += (1.0 + depths.frequency / 100.0 * r) / kRate;
        reference::Beat beat;
        beat.amplitude = 2.0 + 2.0 * depths.amplitude / 100.0 * r;
        const double tc = depths.frequency != 0 ? phase - std::floor(phase) : std::fmod(t, 1.0);
        const double mv = (function == OUTPUT_ECG ? reference::StandardBeat(beat, tc)
                                                  : reference::CustomBeat(beat, tc)) +
                          2.0 * depths.baseline / 100.0 * r;
        if (std::fabs(samples[n].ac - 1600.0 * mv) > 1.0 + 1e-3) ++off;
    }
    // Of seventy beats with nine corners each, only those on which a sample falls exactly.
    EXPECT_LT(off, 20) << function;
    VRAXDisableRespireAlgorithm();
}
}  // namespace

TEST(ModulatedBeat, WandersWithTheBreath)
{
    ExpectModulated(OUTPUT_ECG, 0, {25, 0, 0});
    ExpectModulated(OUTPUT_CUSTOM_ECG, kApnea, {25, 0, 0});
}

TEST(ModulatedBeat, GrowsAndShrinksWithTheBreath)
{
    ExpectModulated(OUTPUT_ECG, kApnea, {0, 40, 0});
    ExpectModulated(OUTPUT_CUSTOM_ECG, 0, {0, 40, 0});
}

TEST(ModulatedBeat, SpeedsUpAndSlowsDownWithTheBreath)
{
    ExpectModulated(OUTPUT_ECG, 0, {0, 0, 20});
    ExpectModulated(OUTPUT_CUSTOM_ECG, kApnea, {0, 0, 20});
}

TEST(ModulatedBeat, TakesAllThreeAtOnce) { ExpectModulated(OUTPUT_ECG, kApnea, {10, 20, 30}); }
