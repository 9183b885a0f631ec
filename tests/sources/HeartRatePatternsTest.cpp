// The heart-rate variability patterns of IEC 60601-2-47: their beat, where each beat stands, and
// when they are made.

#include <gtest/gtest.h>

#include <algorithm>
#include <barrier>
#include <climits>
#include <cmath>
#include <fstream>
#include <limits>
#include <string>
#include <thread>
#include <vector>

#include "sources/HeartRatePatterns.h"
#include "support/OfflineRun.h"
#include "support/ReferencePattern.h"
#include "support/Slowdown.h"
#include "support/WaveformFacts.h"
#include "synthesis/BeatModel.h"
#include "synthesis/MainFunction.h"
#include "vrax.h"

namespace {
constexpr double kRounding = 1e-13;  // mV, of the same formula written in another form
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

const double* PatternArray(int number)
{
    unsigned count = 0;
    unsigned rate = 0;
    return GetSpecialWave247Array(number, &count, &rate);
}

TEST(BeatTemplate, IsATriangularQrsAndHalfASine)
{
    const double* beat = getECG227Array();
    for (int i = 0; i < 10; ++i) EXPECT_EQ(beat[i], 0.0) << i;
    EXPECT_EQ(beat[10], 0.0);
    EXPECT_NEAR(beat[11], 0.875 / 43.0, kRounding);
    EXPECT_NEAR(beat[52], 0.875 * 42.0 / 43.0, kRounding);
    EXPECT_EQ(beat[53], 0.875);
    EXPECT_NEAR(beat[78], 0.375, kRounding);
    EXPECT_NEAR(beat[102], -0.105, kRounding);
    EXPECT_NEAR(beat[103], -0.125, kRounding);
    EXPECT_NEAR(beat[109], -0.125 / 7.0, kRounding);
    for (int i = 110; i <= 180; ++i) EXPECT_EQ(beat[i], 0.0) << i;
    EXPECT_NEAR(beat[210], 0.1, 1e-9);
    EXPECT_NEAR(beat[270], 0.2, 1e-12);
    for (int i = 0; i < reference::kTemplateSamples; ++i) {
        EXPECT_NEAR(beat[i], reference::TemplateBeat(i), kRounding) << i;
    }
}

TEST(BeatTemplate, IsMadeWithARoundedCircle)
{
    const double* beat = getECG227Array();
    const double exact = 0.2 * std::sin(reference::kPi * 179.0 / 180.0);
    // The end of the T wave lies that much before the end of the half circle.
    const double missing = 0.2 * (2.0 * reference::kPi - 6.2831853) * 179.0 / 360.0;
    EXPECT_NEAR(beat[359] - exact, missing, 1e-12);
    EXPECT_GT(missing, 7e-10);
}

TEST(BeatTemplate, IsMadeOnce) { EXPECT_EQ(getECG227Array(), getECG227Array()); }

class Pattern : public testing::TestWithParam<int> {
protected:
    static const Iec247Facts& Facts() { return kIec247Facts[GetParam()]; }
};

TEST_P(Pattern, HasItsLengthRateNameAndConstants)
{
    const int n = GetParam();
    unsigned count = 0;
    unsigned rate = 0;
    const double* samples = GetSpecialWave247Array(n, &count, &rate);
    EXPECT_NE(samples, nullptr);
    EXPECT_EQ(samples, getIEC47RawArray(n));
    EXPECT_EQ(count, static_cast<unsigned>(Facts().samples));
    EXPECT_EQ(rate, 1000u);
    EXPECT_EQ(GetRRAvg(n), Facts().mean);
    EXPECT_EQ(GetRRDev(n), Facts().deviation);
    EXPECT_EQ(GetHRVFreq(n), Facts().frequency);
    EXPECT_EQ(GetHeartRatePattern(n)->name, std::string(Facts().name));
    SpecialWaveFormNo = n;
    OfflineRun run(OUTPUT_IEC247);
    EXPECT_EQ(g_Cycle.Read().s_tp, Facts().samples / 1000.0);
}

TEST_P(Pattern, HoldsEveryBeatAtItsTimeAndNothingElse)
{
    const std::vector<double> expected = reference::Pattern(GetParam());
    const double* samples = PatternArray(GetParam());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        if (expected[i] == 0.0) {
            ASSERT_EQ(samples[i], 0.0) << i;
        } else {
            ASSERT_NEAR(samples[i], expected[i], kRounding) << i;
        }
    }
}

TEST_P(Pattern, IsWrittenInFullOrCutToTheRoomGiven)
{
    const std::vector<double> expected = reference::Pattern(GetParam());
    for (const int room : {Facts().samples, 1234, 50}) {
        std::vector<double> out(static_cast<std::size_t>(room) + 1, 0.0);
        out.back() = 77.0;
        EXPECT_EQ(makeIEC247Array(GetParam(), out.data(), room), Facts().samples);
        for (std::size_t i = 0; i + 1 < out.size(); ++i) {
            ASSERT_NEAR(out[i], expected[i], kRounding) << i;
        }
        EXPECT_EQ(out.back(), 77.0);
    }
}

TEST_P(Pattern, IsMadeOnce)
{
    const double* samples = PatternArray(GetParam());
    EXPECT_EQ(PatternArray(GetParam()), samples);
    EXPECT_EQ(getIEC47RawArray(GetParam()), samples);
    const_cast<double*>(samples)[50] = 77.0;  // which making it anew would overwrite
    EXPECT_EQ(PatternArray(GetParam())[50], 77.0);
}

TEST_P(Pattern, PlaysTheSampleThatTheTimeFallsInto)
{
    SpecialWaveFormNo = GetParam();
    OfflineRun run(OUTPUT_IEC247);
    const double* samples = PatternArray(GetParam());
    const int step = Facts().samples > 100000 ? 97 : 1;
    for (int i = 0; i < Facts().samples; i += step) {
        for (const double part : {0.001, 0.5, 0.999}) {
            const double t = (i + part) / 1000.0;
            ASSERT_EQ(GetIEC47RawPoint(GetParam(), t), samples[i]) << t;
            ASSERT_EQ(_GetMainFunctionVoltage(t), samples[i]) << t;
        }
    }
}

TEST_P(Pattern, RepeatsFromItsEndOn)
{
    const double* samples = PatternArray(GetParam());
    const double period = Facts().samples / 1000.0;
    for (const int cycle : {1, 2, 1000}) {
        for (int i = 0; i < 3000; ++i) {
            const double t = cycle * period + (i + 0.5) / 1000.0;
            ASSERT_EQ(GetIEC47RawPoint(GetParam(), t), samples[i]) << cycle << " " << i;
        }
        const int last = Facts().samples - 1;
        EXPECT_EQ(GetIEC47RawPoint(GetParam(), cycle * period - 0.0005), samples[last]);
    }
}

INSTANTIATE_TEST_SUITE_P(Number, Pattern, testing::Range(0, kIec247Count));

TEST(HeartRatePatterns, StandWhereTheirIntervalsPutThem)
{
    // Worked out by hand: 800 ms, then 800 + 35 sin(0.4 pi) = 833.29, 800 + 35 sin(0.8165 pi)...
    const std::vector<int> second = {0, 800, 1633, 2452, 3229};
    EXPECT_EQ(reference::BeatStarts(kIec247Facts[1]), second);
    const double* samples = PatternArray(1);
    for (const int start : second) EXPECT_EQ(samples[start + 53], 0.875) << start;
    EXPECT_EQ(reference::BeatStarts(kIec247Facts[2]).size(), 10u);
    EXPECT_EQ(reference::BeatStarts(kIec247Facts[3]).size(), 10u);
    // 3599.521 s at 1.5 s, where the slow swing takes a whole turn.
    EXPECT_NEAR(static_cast<double>(reference::BeatStarts(kIec247Facts[4]).size()), 2400.0, 15.0);
}

TEST(HeartRatePatterns, FirstPatternIsATriangleOf100MsOnceASecond)
{
    const double* samples = PatternArray(0);
    for (int second = 0; second < 60; ++second) {
        const double* start = samples + 1000 * second;
        EXPECT_EQ(start[0], 0.0);
        EXPECT_EQ(start[25], 0.5);
        EXPECT_EQ(start[50], 1.0);
        EXPECT_EQ(start[75], 0.5);
        EXPECT_EQ(start[100], 0.0);
    }
}

TEST(RawPoint, OfTheSecondPatternRepeatsAfter3996Ms)
{
    EXPECT_EQ(GetIEC47RawPoint(1, 4.0), GetIEC47RawPoint(1, 0.004));
    EXPECT_EQ(GetIEC47RawPoint(1, 4.0495), GetIEC47RawPoint(1, 0.0535));
    EXPECT_EQ(GetIEC47RawPoint(1, 4.0495), 0.875);
}

TEST(RawPoint, IsZeroForAnotherPatternOrATimeThatIsNone)
{
    for (const int n : {-1, kIec247Count, INT_MIN, INT_MAX}) {
        for (const double t : {0.0, 0.05, 1.0}) EXPECT_EQ(GetIEC47RawPoint(n, t), 0.0) << n;
    }
    for (int n = 0; n < kIec247Count; ++n) PatternArray(n);  // whatever lies before a pattern
    for (int n = 0; n < kIec247Count; ++n) {
        for (int ms = 1; ms < 4000; ++ms) ASSERT_EQ(GetIEC47RawPoint(n, -ms / 1000.0), 0.0) << ms;
    }
    for (const double t : {-0.05, -3.943, -1e300, 1e300, kNaN, kInfinity, -kInfinity}) {
        EXPECT_EQ(GetIEC47RawPoint(1, t), 0.0) << t;
    }
}

TEST(HeartRatePatterns, GiveNullAndZeroForANumberWithoutAPattern)
{
    for (const int n : {-1, kIec247Count, INT_MIN, INT_MAX}) {
        unsigned count = 4711;
        unsigned rate = 4711;
        EXPECT_EQ(GetSpecialWave247Array(n, &count, &rate), nullptr) << n;
        EXPECT_EQ(count, 0u);
        EXPECT_EQ(rate, 0u);
        EXPECT_EQ(getIEC47RawArray(n), nullptr);
        EXPECT_EQ(GetRRAvg(n), 0.0);
        EXPECT_EQ(GetRRDev(n), 0.0);
        EXPECT_EQ(GetHRVFreq(n), 0.0);
        SpecialWaveFormNo = n;
        OfflineRun run(OUTPUT_IEC247);
        EXPECT_EQ(g_Cycle.Read().s_tp, 1.0);
        EXPECT_EQ(_GetMainFunctionVoltage(0.053), 0.0);
    }
}

TEST(HeartRatePatterns, GiveNullForANullPointer)
{
    unsigned word = 0;
    EXPECT_EQ(GetSpecialWave247Array(0, nullptr, &word), nullptr);
    EXPECT_EQ(GetSpecialWave247Array(0, &word, nullptr), nullptr);
    EXPECT_EQ(GetSpecialWave247Array(0, nullptr, nullptr), nullptr);
}

TEST(HeartRatePatterns, AreWholeForEveryThreadThatAsksFirst)
{
    constexpr int kThreads = 8;
    const double* arrays[kThreads] = {};
    double sums[kThreads] = {};
    std::barrier start(kThreads);
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([&, i] {
            start.arrive_and_wait();
            arrays[i] = PatternArray(4);
            for (int k = 0; k < kIec247Facts[4].samples; ++k) sums[i] += arrays[i][k];
        });
    }
    for (std::thread& thread : threads) thread.join();
    double expected = 0.0;
    for (const double sample : reference::Pattern(4)) expected += sample;
    for (int i = 0; i < kThreads; ++i) {
        EXPECT_EQ(arrays[i], arrays[0]);
        EXPECT_NEAR(sums[i], expected, 1e-6);
    }
}

// kB of memory that no file stands behind.
long AnonymousKb()
{
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with("RssAnon:")) return std::stol(line.substr(8));
    }
    return -1;
}

TEST(HeartRatePatterns, TakeTheirMemoryWhenTheyAreUsed)
{
    if (kSlowdown > 1) GTEST_SKIP() << "a sanitizer takes memory of its own";
    const long before = AnonymousKb();
    ASSERT_GT(before, 0);
    for (int n = 0; n < 4; ++n) EXPECT_NE(PatternArray(n), nullptr);
    unsigned count = 0;
    unsigned rate = 0;
    for (int n = 0; n < kIec227Count; ++n) {
        const int* samples = GetSpecialWave227Array(n, &count, &rate);
        EXPECT_GT(*std::max_element(samples, samples + count), 0);  // every page has been read
    }
    GetRRAvg(4);
    SpecialWaveFormNo = 4;
    const OfflineRun run(OUTPUT_IEC247);  // the period is known without the samples
    EXPECT_LT(AnonymousKb() - before, 2000);
    EXPECT_LE(std::fabs(GetIEC47RawPoint(4, 3000.0)), 0.875);
    const long after = AnonymousKb() - before;
    EXPECT_GT(after, 5000);  // pages between beats stay untouched
    EXPECT_LT(after, 32000);
}
}  // namespace
