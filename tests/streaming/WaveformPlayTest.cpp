// The built-in waveforms in packets: their codes, how they repeat and how they end.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "sources/Tables.h"
#include "storage/Calibration.h"
#include "support/ApiLogFile.h"
#include "support/OfflineRun.h"
#include "support/PlayClockModel.h"
#include "support/ReferencePattern.h"
#include "support/ReferenceSignal.h"
#include "support/WaveformFacts.h"
#include "synthesis/BeatModel.h"
#include "vrax.h"

namespace {
using instrument::Slot;

// A waveform: so many samples at a rate, then it repeats.
struct Waveform {
    std::string name;
    int function;
    int number;
    long samples;
    int rate;
    std::function<double(long)> mv;  // of a sample
};

Waveform Iec227(int n)
{
    return {"Iec227_" + std::to_string(n),
            OUTPUT_IEC227,
            n,
            kIec227Facts[n].samples,
            720,
            [n](long i) { return IEC227W[n][i] / 1000.0; }};
}
Waveform Iec251(int n)
{
    return {kIec251Names[n],
            OUTPUT_IEC251,
            n,
            1000,
            1000,
            [n](long i) { return IEC251W[n][i] / 1000.0; }};
}
Waveform Iec247(int n)
{
    const std::vector<double> samples = reference::Pattern(n);
    return {"Iec247_" + std::to_string(n),
            OUTPUT_IEC247,
            n,
            kIec247Facts[n].samples,
            1000,
            [samples](long i) { return samples[static_cast<std::size_t>(i)]; }};
}
Waveform Ane20000(int lead)
{
    return {"Ane20000_" + std::to_string(lead), OUTPUT_ANE20000, lead, 1000, 1000, [lead](long i) {
                return ANE20000[lead][i] / 1000.0;
            }};
}

std::vector<Waveform> OneOfEachFamily() { return {Iec227(3), Iec251(6), Iec247(1), Ane20000(7)}; }

// Without Change(), as if it had been selected before.
void Select(const Waveform& wave)
{
    SpecialWaveFormNo = wave.function == OUTPUT_ANE20000 ? 0 : wave.number;
    ANE20000ChannelNo = wave.function == OUTPUT_ANE20000 ? wave.number : 0;
}

double Period(const Waveform& wave) { return static_cast<double>(wave.samples) / wave.rate; }

// Truncated toward zero, as converters take it; a code more where the last bits decide.
bool IsCodeOf(double mv, int code)
{
    const double exact = std::clamp(1600.0 * mv, -32768.0, 32767.0);
    return code == static_cast<int>(exact + 1e-6) || code == static_cast<int>(exact - 1e-6);
}

// What plays at a step of the clock. A step on the border of two samples takes either.
bool IsAt(const Waveform& wave, long step, int sampleRate, int code)
{
    const long position = step * wave.rate;  // in parts of 1 / (rate x sample rate)
    const long index = position / sampleRate;
    if (IsCodeOf(wave.mv(index % wave.samples), code)) return true;
    return position % sampleRate == 0 && index > 0 &&
           IsCodeOf(wave.mv((index - 1) % wave.samples), code);
}

void ExpectWaveform(const Waveform& wave, const std::vector<Slot>& samples, int sampleRate)
{
    const std::vector<long> steps = TimeSteps(samples.size(), sampleRate);
    for (std::size_t n = 0; n < samples.size(); ++n) {
        ASSERT_TRUE(IsAt(wave, steps[n], sampleRate, samples[n].ac))
            << wave.name << " at " << sampleRate << " Hz: code " << samples[n].ac << " in sample "
            << n;
    }
}

std::size_t SamplesFor(double seconds, int sampleRate)
{
    return static_cast<std::size_t>(std::ceil(seconds * sampleRate));
}

// The ends of waveforms that were told: play time and period.
std::vector<std::pair<double, double>> s_ends;

class WaveformPlay : public testing::Test {
protected:
    WaveformPlay()
    {
        _SetECGDCDefaultCalibrationData();
        RegisterStandardWaveformCB([](double t, double period) { s_ends.emplace_back(t, period); });
    }
};

TEST_F(WaveformPlay, CarriesEvery2_27WaveformAndItsBeginningAgain)
{
    for (int n = 0; n < kIec227Count; ++n) {
        const Waveform wave = Iec227(n);
        Select(wave);
        OfflineRun run(wave.function, 1000);
        ExpectWaveform(wave, run.NextSamples(SamplesFor(Period(wave) + 5.0, 1000)), 1000);
    }
}

TEST_F(WaveformPlay, CarriesEveryCalWaveformAtEverySampleRate)
{
    for (int n = 0; n < kIec251Count; ++n) {
        const Waveform wave = Iec251(n);
        Select(wave);
        for (const int rate : {100, 997, 1000, 20000, 40000}) {
            OfflineRun run(wave.function, rate);
            ExpectWaveform(wave, run.NextSamples(SamplesFor(2.5, rate)), rate);
        }
    }
}

TEST_F(WaveformPlay, CarriesEveryLeadOfAne20000)
{
    for (int lead = 0; lead < 9; ++lead) {
        const Waveform wave = Ane20000(lead);
        Select(wave);
        for (const int rate : {997, 20000}) {
            OfflineRun run(wave.function, rate);
            ExpectWaveform(wave, run.NextSamples(SamplesFor(2.5, rate)), rate);
        }
    }
}

TEST_F(WaveformPlay, CarriesThePatterns)
{
    for (int n = 0; n < 4; ++n) {
        const Waveform wave = Iec247(n);
        Select(wave);
        OfflineRun run(wave.function, 1500);
        ExpectWaveform(wave, run.NextSamples(SamplesFor(Period(wave) + 5.0, 1500)), 1500);
    }
}

TEST_F(WaveformPlay, CarriesTheHourLongPatternIntoItsSecondHour)
{
    const Waveform wave = Iec247(4);
    Select(wave);
    OfflineRun run(wave.function, 250);
    ExpectWaveform(wave, run.NextSamples(SamplesFor(Period(wave) + 60.0, 250)), 250);
}

TEST_F(WaveformPlay, Repeats34511SamplesWithoutASeam)
{
    constexpr int kFine = 5;  // samples of the stream to one of the table
    constexpr long kCycle = 34511L * kFine;
    SpecialWaveFormNo = 3;
    OfflineRun run(OUTPUT_IEC227, 720 * kFine);
    const auto samples = run.NextSamples(static_cast<std::size_t>(5 * kCycle / 2));
    const std::vector<long> steps = TimeSteps(samples.size(), 720.0 * kFine);
    std::vector<int> first(34511, 0);
    for (std::size_t n = 0; n < samples.size(); ++n) {
        if (steps[n] % kFine == 0) continue;  // the border of two samples
        const auto index = static_cast<std::size_t>(steps[n] % kCycle / kFine);
        if (steps[n] < kCycle) {
            first[index] = samples[n].ac;
            ASSERT_TRUE(IsCodeOf(IEC227W[3][index] / 1000.0, first[index])) << n;
        } else {
            ASSERT_EQ(samples[n].ac, first[index]) << n;
        }
    }
}

// A number is looked up in the table of the output function, whichever setter stored it.
TEST_F(WaveformPlay, TakesTheFamilyOfTheOutputFunction)
{
    VRAXSetSpecialWave251(2);
    for (const Waveform& wave : {Iec227(2), Iec251(2), Iec247(2)}) {
        OfflineRun run(wave.function, 997);
        ExpectWaveform(wave, run.NextSamples(2000), 997);
    }
    VRAXSetSpecialWave227(12);
    OfflineRun run(OUTPUT_IEC251, 997);
    ExpectWaveform(Iec251(12), run.NextSamples(2000), 997);
}

TEST_F(WaveformPlay, OfANumberWithoutAWaveformIsZeroAndLastsOneSecond)
{
    struct Other {
        int function;
        int number;
    };
    for (const Other& other :
         {Other{OUTPUT_IEC227, 10}, Other{OUTPUT_IEC227, -1}, Other{OUTPUT_IEC251, 16},
          Other{OUTPUT_IEC251, -1}, Other{OUTPUT_IEC247, 5}, Other{OUTPUT_IEC247, -1}}) {
        VRAXSetSpecialWaveformLoop(1);
        VRAXSetSpecialWave227(other.number);
        s_ends.clear();
        OfflineRun run(other.function, 1000);
        EXPECT_EQ(g_Cycle.Read().s_tp, 1.0);
        for (const Slot& sample : run.NextSamples(2800)) ASSERT_EQ(sample.ac, 0);
        EXPECT_TRUE(s_ends.empty());
        VRAXSetSpecialWaveformLoop(0);
        run.NextPacket();
        ASSERT_EQ(s_ends.size(), 1u);
        EXPECT_EQ(s_ends[0].second, 1.0);
    }
}

TEST_F(WaveformPlay, AddsNoiseToAne20000Alone)
{
    g_MainNoise = 1;
    g_MainsNoiseAmp = 2.0;
    g_AAMIDriftTest = true;  // for the beats alone
    for (const Waveform& wave : {Iec227(3), Iec251(6), Iec247(1)}) {
        Select(wave);
        OfflineRun run(wave.function, 1999);
        ExpectWaveform(wave, run.NextSamples(4000), 1999);
    }
    const Waveform wave = Ane20000(7);
    Select(wave);
    OfflineRun run(wave.function, 1999);
    const auto samples = run.NextSamples(4000);
    for (std::size_t n = 0; n < samples.size(); ++n) {
        if (n % 1999 == 0) continue;  // the border of two samples
        const double t = static_cast<double>(n) / 1999.0;
        const long index = static_cast<long>(n) * 1000 / 1999 % 1000;
        const double mv = wave.mv(index) + reference::Sine(2.0, 50.0, t);
        ASSERT_NEAR(samples[n].ac, 1600.0 * mv, 1.0 + 1e-3) << n;
    }
}

// The first sample after the last one of the waveform.
std::size_t EndOf(const Waveform& wave, int sampleRate, std::size_t count)
{
    const std::vector<long> steps = TimeSteps(count, sampleRate);
    std::size_t n = 0;
    while (steps[n] * wave.rate <= wave.samples * sampleRate) ++n;
    return n;
}

TEST_F(WaveformPlay, WithoutLoopingTellsTheEndOnceAndIsZeroAfterwards)
{
    for (const Waveform& wave : OneOfEachFamily()) {
        constexpr int kRate = 1999;
        s_ends.clear();
        Select(wave);
        OfflineRun run(wave.function, kRate);
        VRAXSetSpecialWaveformLoop(0);
        const auto samples = run.NextSamples(SamplesFor(Period(wave) + 3.0, kRate));
        const std::size_t end = EndOf(wave, kRate, samples.size());
        ExpectWaveform(wave, {samples.begin(), samples.begin() + static_cast<long>(end) - 1},
                       kRate);
        for (std::size_t n = end + 1; n < samples.size(); ++n) ASSERT_EQ(samples[n].ac, 0) << n;
        ASSERT_EQ(s_ends.size(), 1u) << wave.name;
        EXPECT_NEAR(s_ends[0].first, Period(wave), 1.0 / kRate + 1e-6) << wave.name;
        EXPECT_GT(s_ends[0].first, s_ends[0].second) << wave.name;
        EXPECT_NEAR(s_ends[0].second, Period(wave), 1e-12) << wave.name;
        EXPECT_EQ(VRAXGetOutputFunction(), OUTPUT_OFF) << wave.name;
        EXPECT_EQ(VRAXIsPlaying(), 0) << wave.name;
    }
}

TEST_F(WaveformPlay, WithoutLoopingPlays34511SamplesOf3D)
{
    constexpr int kFine = 5;
    SpecialWaveFormNo = 3;
    VRAXSetSpecialWaveformLoop(0);
    OfflineRun run(OUTPUT_IEC227, 720 * kFine);
    const auto samples = run.NextSamples(36000u * kFine);
    const std::size_t end = EndOf(Iec227(3), 720 * kFine, samples.size());
    // 172555 steps, some of which the clock repeats.
    EXPECT_GE(end, 34511u * kFine);
    EXPECT_LE(end, 34511u * kFine + 7u);
    for (std::size_t n = end + 1; n < samples.size(); ++n) ASSERT_EQ(samples[n].ac, 0) << n;
    ASSERT_EQ(s_ends.size(), 1u);
    EXPECT_EQ(s_ends[0].second, kIec227Facts[3].seconds);
}

TEST_F(WaveformPlay, EndsByTheOutputFunctionOffInTheLog)
{
    ApiLogFile log;
    VRAXSetSpecialWaveformLoop(0);
    OfflineRun run(OUTPUT_IEC251, 1000);
    run.NextSamples(2000);
    EXPECT_EQ(log.NewLines(), Lines{"VRAXSetOutputFunction(0);"});
}

TEST_F(WaveformPlay, EndsWithoutAListenerToo)
{
    RegisterStandardWaveformCB(nullptr);
    VRAXSetSpecialWaveformLoop(0);
    OfflineRun run(OUTPUT_IEC251, 1000);
    run.NextSamples(2000);
    EXPECT_EQ(VRAXGetOutputFunction(), OUTPUT_OFF);
}

TEST_F(WaveformPlay, RepeatsUntilLoopingIsSwitchedOffWhichEndsItAtOnce)
{
    for (const Waveform& wave : {Iec251(6), Iec247(1), Ane20000(7)}) {
        s_ends.clear();
        VRAXSetSpecialWaveformLoop(1);
        Select(wave);
        OfflineRun run(wave.function, 1000);
        run.NextSamples(9100);
        EXPECT_TRUE(s_ends.empty());
        EXPECT_EQ(VRAXGetOutputFunction(), wave.function);
        const double played = s_t;
        VRAXSetSpecialWaveformLoop(0);
        const auto samples = run.NextSamples(700);
        ASSERT_EQ(s_ends.size(), 1u);
        EXPECT_EQ(s_ends[0].first, played);
        for (std::size_t n = 1; n < samples.size(); ++n) ASSERT_EQ(samples[n].ac, 0);
    }
}

TEST_F(WaveformPlay, GoesOnWhenLoopingComesBackBeforeTheEnd)
{
    OfflineRun run(OUTPUT_IEC251, 1000);
    VRAXSetSpecialWaveformLoop(0);
    run.NextPacket();  // 0.7 s
    VRAXSetSpecialWaveformLoop(1);
    run.NextSamples(2100);
    EXPECT_TRUE(s_ends.empty());
    EXPECT_EQ(VRAXGetOutputFunction(), OUTPUT_IEC251);
}

TEST_F(WaveformPlay, GoesOnAtTheSameTimeWhenAnotherWaveformIsSelected)
{
    SpecialWaveFormNo = 1;
    OfflineRun run(OUTPUT_IEC227, 1000);
    const auto before = run.NextSamples(700);
    VRAXSetSpecialWave227(5);
    const auto after = run.NextSamples(700);
    for (std::size_t n = 0; n < 700; ++n) {
        ASSERT_TRUE(IsAt(Iec227(1), static_cast<long>(n), 1000, before[n].ac)) << n;
        ASSERT_TRUE(IsAt(Iec227(5), static_cast<long>(n) + 700, 1000, after[n].ac)) << n;
    }
}

TEST_F(WaveformPlay, EndsWhenAShorterWaveformIsSelectedBeyondItsEnd)
{
    VRAXSetSpecialWaveformLoop(0);
    OfflineRun run(OUTPUT_IEC227, 1000);
    run.NextSamples(49000);
    EXPECT_TRUE(s_ends.empty());
    VRAXSetSpecialWave227(3);  // 47.9 s
    run.NextPacket();
    ASSERT_EQ(s_ends.size(), 1u);
    EXPECT_EQ(s_ends[0].second, kIec227Facts[3].seconds);
    EXPECT_EQ(VRAXGetOutputFunction(), OUTPUT_OFF);
}

TEST_F(WaveformPlay, OfOtherFunctionsNeverEnds)
{
    VRAXSetSpecialWaveformLoop(0);
    for (const int function : {OUTPUT_SINE, OUTPUT_ECG, OUTPUT_JJG1041, OUTPUT_CUSTOM_ECG}) {
        OfflineRun run(function, 1000);
        run.NextSamples(2800);
        EXPECT_TRUE(s_ends.empty());
        EXPECT_EQ(VRAXGetOutputFunction(), function);
    }
}

TEST_F(WaveformPlay, RepeatsWhateverTheLoopingOfRecords)
{
    VRAXSetFileLoop(0);
    OfflineRun run(OUTPUT_IEC251, 1000);
    run.NextSamples(2800);
    EXPECT_TRUE(s_ends.empty());
}

TEST_F(WaveformPlay, RendersARepeatedAndAnEndingWaveform)
{
    SpecialWaveFormNo = 6;
    const Waveform wave = Iec251(6);
    std::vector<double> out(4000, 99.0);
    ASSERT_EQ(GetRawDataArrayEx(OUTPUT_IEC251, out.data(), 4000, 1600), 4000);
    for (std::size_t i = 0; i < out.size(); ++i) {
        if (i % 8 == 0) continue;  // the border of two samples
        ASSERT_EQ(out[i], wave.mv(static_cast<long>(i) * 1000 / 1600 % 1000)) << i;
    }
    VRAXSetSpecialWaveformLoop(0);
    ASSERT_EQ(GetRawDataArrayEx(OUTPUT_IEC251, out.data(), 4000, 1600), 4000);
    for (std::size_t i = 0; i < 1600; ++i) {
        if (i % 8 == 0) continue;
        ASSERT_EQ(out[i], wave.mv(static_cast<long>(i) * 1000 / 1600)) << i;
    }
    // The sample after the period is the one that finds the end.
    for (std::size_t i = 1602; i < out.size(); ++i) ASSERT_EQ(out[i], 0.0) << i;
    ASSERT_EQ(s_ends.size(), 1u);
    EXPECT_EQ(s_ends[0].second, 1.0);
}
}  // namespace
