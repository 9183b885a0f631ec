#include "sources/HeartRatePatterns.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <numbers>

#include "platform/Platform.h"
#include "vrax.h"

namespace {
constexpr double kMsPerSecond = 1000.0;
constexpr double kTwoPi = 2.0 * std::numbers::pi;
constexpr double kNoPatternPeriod = 1.0;  // s
constexpr int kBeatSamples = 360;

constexpr HeartRatePattern kPatterns[kHeartRatePatterns] = {
    {"Test pattern 1", 60000, 1.0, 0.0, 0.0},
    {"Test pattern 2", 3996, 0.8, 0.035, 0.25},
    {"Test pattern 3", 9972, 1.0, 0.07, 0.1},
    {"Test pattern 4", 29874, 3.0, 0.28, 0.033333},
    {"Test pattern 5", 3599521, 1.5, 0.14, 0.000278},
};

// Zero pages until a pattern is made.
double s_pattern0[kPatterns[0].hrvperiod];
double s_pattern1[kPatterns[1].hrvperiod];
double s_pattern2[kPatterns[2].hrvperiod];
double s_pattern3[kPatterns[3].hrvperiod];
double s_pattern4[kPatterns[4].hrvperiod];
double* const kArrays[kHeartRatePatterns] = {s_pattern0, s_pattern1, s_pattern2, s_pattern3,
                                             s_pattern4};

// Samples of each pattern, 0 until it has been made.
std::atomic<int> s_lengths[kHeartRatePatterns] = {};
CSimpleCriticalSection s_making;

// In mV at 1 ms. The factor of the sine is rounded, deliberately: it is not quite 2 pi.
double BeatAt(int i)
{
    constexpr double kRoundedTwoPi = 6.2831853;
    if (i < 10) return 0.0;
    if (i < 53) return 0.875 * (i - 10) / 43.0;
    if (i < 103) return 0.875 - (i - 53) / 50.0;
    if (i < 110) return 0.125 * (i - 103) / 7.0 - 0.125;
    if (i < 180) return 0.0;
    return 0.2 * std::sin(kRoundedTwoPi * (i - 180) / 360.0);
}

// A triangle of 100 ms and 1 mV at the start of every second.
void MakeTriangles(double* out, int length)
{
    constexpr int kInterval = 1000;
    constexpr int kSlope = 50;
    for (int i = 0; i < length; ++i) {
        const int j = i % kInterval;
        if (j < kSlope) {
            out[i] = static_cast<double>(j) / kSlope;
        } else if (j < 2 * kSlope) {
            out[i] = 1.0 + static_cast<double>(kSlope - j) / kSlope;
        }
    }
}

void MakeBeats(const HeartRatePattern& pattern, double* out, int length)
{
    const double* beat = getECG227Array();
    int next = 0;
    while (next < length) {
        std::copy_n(beat, std::min(kBeatSamples, length - next), out + next);
        const double modulation = std::sin(next * kTwoPi * pattern.hrvfreq / kMsPerSecond);
        next = static_cast<int>(next + modulation * pattern.rrdev * kMsPerSecond +
                                pattern.rravg * kMsPerSecond);
    }
}
}  // namespace

const HeartRatePattern* GetHeartRatePattern(int number)
{
    return number >= 0 && number < kHeartRatePatterns ? &kPatterns[number] : nullptr;
}

double GetIEC247Period(int number)
{
    const HeartRatePattern* pattern = GetHeartRatePattern(number);
    return pattern != nullptr ? pattern->hrvperiod / kMsPerSecond : kNoPatternPeriod;
}

const double* getECG227Array()
{
    static const auto beat = [] {
        std::array<double, kBeatSamples> samples;
        for (int i = 0; i < kBeatSamples; ++i) samples[static_cast<std::size_t>(i)] = BeatAt(i);
        return samples;
    }();
    return beat.data();
}

int makeIEC247Array(int number, double* out, int size)
{
    const HeartRatePattern* pattern = GetHeartRatePattern(number);
    if (pattern == nullptr) return 0;
    const int length = std::min(size, pattern->hrvperiod);
    if (number == 0) {
        MakeTriangles(out, length);
    } else {
        MakeBeats(*pattern, out, length);
    }
    return pattern->hrvperiod;
}

const double* getIEC47RawArray(int number)
{
    if (GetHeartRatePattern(number) == nullptr) return nullptr;
    if (s_lengths[number].load(std::memory_order_acquire) != 0) return kArrays[number];
    CAutoCriticalSection making(s_making);
    if (s_lengths[number].load(std::memory_order_relaxed) == 0) {
        const int length = makeIEC247Array(number, kArrays[number], kPatterns[number].hrvperiod);
        s_lengths[number].store(length, std::memory_order_release);
    }
    return kArrays[number];
}

double GetRRAvg(int n)
{
    const HeartRatePattern* pattern = GetHeartRatePattern(n);
    return pattern != nullptr ? pattern->rravg : 0.0;
}

double GetRRDev(int n)
{
    const HeartRatePattern* pattern = GetHeartRatePattern(n);
    return pattern != nullptr ? pattern->rrdev : 0.0;
}

double GetHRVFreq(int n)
{
    const HeartRatePattern* pattern = GetHeartRatePattern(n);
    return pattern != nullptr ? pattern->hrvfreq : 0.0;
}

double GetIEC47RawPoint(int n, double t)
{
    constexpr double kLast = 9.0e15;  // ms that a double counts one by one
    const double* samples = getIEC47RawArray(n);
    const double position = kMsPerSecond * t;
    // Also false for a position that is no number.
    if (samples == nullptr || !(position > -1.0 && position < kLast)) return 0.0;
    return samples[static_cast<long long>(position) % kPatterns[n].hrvperiod];
}
