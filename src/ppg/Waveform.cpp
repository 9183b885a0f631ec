#include "ppg/Waveform.h"

#include <algorithm>
#include <cmath>

#include "device/Identification.h"
#include "ppg/Channels.h"
#include "synthesis/Numbers.h"

namespace {
constexpr double kPi = kTwoPi / 2.0;
constexpr double kMsPerSecond = 1000.0;
constexpr int kLedSync1 = 1;
constexpr int kLedSync2 = 2;
constexpr double kMaxStepMv = 2.0;
constexpr int kMaxSteps = 7;
constexpr int kUnlimitedVariation = 3;
constexpr double kLowestVariationPercent = -16.0;
constexpr int kMaxVariationCycles = 5;

// A NaN becomes the lower bound; synthesis reads none of these fields.
double Clamp(double value, double low, double high) { return std::max(low, std::min(value, high)); }

double HighestVariationPercent(double acMax, double ac)
{
    return SaturateTo<int>(100.0 * (acMax - ac) / ac);
}

// Half of the peak-to-peak amplitude in whole uV.
std::int32_t HalfAmplitude(const PPG_WAVEFORM& wave)
{
    return SaturateTo<std::int32_t>(kMicrovoltsPerMillivolt * wave.ac) / 2;
}

void FillSine(std::int32_t half, std::size_t count, std::int32_t* samples)
{
    const auto n = static_cast<double>(count);
    for (std::size_t i = 0; i < count; ++i) {
        const double y = half * std::sin(kTwoPi * static_cast<double>(i) / n);
        samples[i] = half + static_cast<std::int32_t>(y);
    }
}

// From the middle up to the top at a quarter, down to 0 at three quarters, and back.
void FillTriangle(std::int32_t half, std::size_t count, std::int32_t* samples)
{
    const auto n = static_cast<double>(count);
    const double slope = 4.0 * half / n;
    for (std::size_t index = 0; index < count; ++index) {
        const auto i = static_cast<double>(index);
        if (i < 0.25 * n) {
            samples[index] = half + static_cast<std::int32_t>(i * slope);
        } else if (i < 0.75 * n) {
            samples[index] = half + static_cast<std::int32_t>(-i * slope) + 2 * half;
        } else {
            samples[index] = half + static_cast<std::int32_t>(i * slope) - 4 * half;
        }
    }
}

// The high half of an odd period is the shorter one.
void FillSquare(std::int32_t half, std::size_t count, std::int32_t* samples)
{
    std::fill_n(samples, count / 2, 2 * half);
    std::fill_n(samples + count / 2, count - count / 2, 0);
}

// Four half cosines. Levels in uV, times in samples from the start of the cycle.
struct StandardPulse {
    double peak, notch, dicrotic;
    double peakAt, notchAt, dicroticAt, end;

    double Highest() const { return std::max({peak, notch, dicrotic}); }

    double At(double i) const
    {
        if (i < peakAt) return peak / 2.0 + peak / 2.0 * std::sin(kPi * i / peakAt - kPi / 2.0);
        if (i < notchAt) {
            const double half = (peak - notch) / 2.0;
            return notch + half + half * std::cos(kPi * (i - peakAt) / (notchAt - peakAt));
        }
        if (i < dicroticAt) {
            const double half = (dicrotic - notch) / 2.0;
            return notch + half +
                   half * std::sin(kPi * (i - notchAt) / (dicroticAt - notchAt) - kPi / 2.0);
        }
        const double half = dicrotic / 2.0;
        return half + half * std::cos(kPi * (i - dicroticAt) / (end - dicroticAt));
    }
};

StandardPulse DescribePulse(const PPG_WAVEFORM& wave, double rate, std::size_t count)
{
    return {kMicrovoltsPerMillivolt * wave.ac,
            kMicrovoltsPerMillivolt * wave.notchLevel,
            kMicrovoltsPerMillivolt * wave.dicroticLevel,
            wave.t1 * rate / kMsPerSecond,
            wave.t2 * rate / kMsPerSecond,
            wave.t3 * rate / kMsPerSecond,
            static_cast<double>(count)};
}

std::int32_t FillStandardPulse(const StandardPulse& pulse, bool invert, std::size_t count,
                               std::int32_t* samples)
{
    const double highest = pulse.Highest();
    for (std::size_t i = 0; i < count; ++i) {
        const double value = pulse.At(static_cast<double>(i));
        samples[i] = SaturateTo<std::int32_t>(std::round(invert ? highest - value : value));
    }
    return SaturateTo<std::int32_t>(highest);
}
}  // namespace

void AdjustPPGWaveform(LEDType, PPG_WAVEFORM* wave)
{
    const double acMax = g_DeviceFeature.Load().ppgAcMax;
    if (!g_bACAboveDC) wave->dc -= wave->ac;
    wave->ledSync = wave->ledSync == kLedSync2 ? kLedSync2 : kLedSync1;
    wave->invert = wave->invert != 0 ? 1 : 0;
    wave->stepAmplitude = wave->stepCount != 0 ? Clamp(wave->stepAmplitude, 0.0, kMaxStepMv) : 0.0;
    wave->levelOffset = Clamp(wave->levelOffset, 0.0, acMax - wave->ac - wave->stepAmplitude);
    wave->stepCount = std::clamp(wave->stepCount, 0, kMaxSteps);
    if (wave->variationMode != kUnlimitedVariation) {
        wave->variationPercent = Clamp(wave->variationPercent, kLowestVariationPercent,
                                       HighestVariationPercent(acMax, wave->ac));
    }
    wave->variationCycles = std::clamp(wave->variationCycles, 1, kMaxVariationCycles);
}

std::size_t PPGPeriodSamples(double frequency, double rate)
{
    return SaturateTo<std::uint32_t>(0.5 + rate / frequency);
}

std::size_t GenPPGWaveform(const PPG_WAVEFORM* wave, double rate, std::int32_t* samples,
                           std::int32_t* maximum)
{
    if (wave == nullptr || kLowestPPGFrequency > wave->frequency ||
        wave->frequency > kHighestPPGFrequency) {
        return 0;
    }
    const std::size_t count = PPGPeriodSamples(wave->frequency, rate);
    const std::int32_t half = HalfAmplitude(*wave);
    *maximum = 2 * half;
    switch (wave->waveform) {
        case kPPGSine: FillSine(half, count, samples); return count;
        case kPPGTriangle: FillTriangle(half, count, samples); return count;
        case kPPGSquare: FillSquare(half, count, samples); return count;
        case kPPGStandardPulse:
            *maximum = FillStandardPulse(DescribePulse(*wave, rate, count), wave->invert != 0,
                                         count, samples);
            return count;
        default: *maximum = 0; return 0;
    }
}
