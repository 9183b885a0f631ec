#include "ppg/WaveformStore.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <new>

#include "device/Identification.h"
#include "device/LineState.h"
#include "ppg/Channels.h"
#include "ppg/FingerProbe.h"
#include "ppg/Waveform.h"
#include "synthesis/Numbers.h"

namespace {
constexpr int kBusy = -1;
constexpr int kNoChannel = -2;
constexpr int kNoMemory = -7;
constexpr double kMsPerSecond = 1000.0;

// The standard pulse, parts of the AC amplitude and of the period.
constexpr double kNotchOf = 7.0;
constexpr double kDicroticOf = 8.0;
constexpr double kPeakOf = 12.5;
constexpr double kPeakAtMs = 150.0;  // of a period of one second
constexpr double kNotchAtMs = 360.0;
constexpr double kDicroticAtMs = 460.0;
constexpr int kStandardVariationRate = 20;

constexpr double kRangeTops[] = {300.0, 15.0};   // mV
constexpr double kRangeBottoms[] = {15.0, 1.5};  // mV
constexpr double kHighestCommonDC = 3000.0;      // mV

struct Period {
    explicit Period(std::size_t samples)
        : length(samples),
          dc(new (std::nothrow) std::int32_t[samples]),
          ac(new (std::nothrow) std::int32_t[samples])
    {}
    bool HasMemory() const { return dc != nullptr && ac != nullptr; }
    std::size_t length;
    double sampleRate = kPPGWaveformRate;
    std::unique_ptr<std::int32_t[]> dc;  // uV
    std::unique_ptr<std::int32_t[]> ac;  // uV
    std::int32_t acMax = 0;              // uV
};

std::int32_t RoundToMicrovolts(double mv)
{
    return SaturateTo<std::int32_t>(std::round(kMicrovoltsPerMillivolt * mv));
}

std::int32_t CutToMicrovolts(double mv)
{
    return SaturateTo<std::int32_t>(kMicrovoltsPerMillivolt * mv);
}

// The caller holds g_PacketCriticalSection. The old arrays go out in `period`.
void ExchangeArrays(int led, Period& period)
{
    std::int32_t* dc = g_pPPG_data_DC[led];
    std::int32_t* ac = g_pPPG_data_AC[led];
    g_PPG_data_sample_rates[led] = period.sampleRate;
    g_PPG_data_lengths[led] = period.length;
    g_pPPG_data_DC[led] = period.dc.release();
    g_pPPG_data_AC[led] = period.ac.release();
    g_PPG_data_AC_max[led] = period.acMax;
    period.dc.reset(dc);
    period.ac.reset(ac);
}

double PeriodOf(int led)
{
    const double frequency = g_PPG_waveforms[led].frequency;
    if (!g_PPG_use_file[led] && frequency > 0.0) return 1.0 / frequency;
    return static_cast<double>(g_PPG_data_lengths[led]) / g_PPG_data_sample_rates[led];
}

void ClearWaveform(int led)
{
    if (!IsPPGChannel(led)) return;
    CAutoCriticalSection packetIsBuilt(g_PacketCriticalSection);
    g_PPG_waveforms[led] = {};
    _ClearPPGData(led);
}

bool IsOutside(double value, double low, double high) { return low > value || value > high; }

int CheckWaveform(int led, const PPG_WAVEFORM& wave)
{
    if (IsLineBusy()) return kBusy;
    if (!IsPPGChannel(led)) return kNoChannel;
    if (wave.waveform < kPPGSine || wave.waveform > kPPGStandardPulse) return -3;
    if (IsOutside(wave.frequency, kLowestPPGFrequency, kHighestPPGFrequency)) return -4;
    const DeviceFeature feature = g_DeviceFeature.Load();
    if (IsOutside(wave.dc, feature.ppgDcMin, feature.ppgDcMax)) return -5;
    if (IsOutside(wave.ac, feature.ppgAcMin, feature.ppgAcMax)) return -6;
    return 0;
}

std::int32_t RoundToMs(double ms) { return SaturateTo<std::int32_t>(std::round(ms)); }

std::int32_t PeakTime(const PPG_WAVEFORM& wave)
{
    if (wave.waveform == kPPGStandardPulse) return wave.t1;
    return wave.waveform == kPPGSquare ? 0 : RoundToMs(kMsPerSecond / wave.frequency / 4.0);
}

void ConvertForFinger(int led, double dc, Period& period)
{
    std::fill_n(period.dc.get(), period.length, CutToMicrovolts(FingerDCValueConvert(led, dc)));
    for (std::size_t i = 0; i < period.length; ++i) {
        const double ac = period.ac[i] / kMicrovoltsPerMillivolt;
        period.ac[i] = CutToMicrovolts(FingerACValueConvert(ac));
    }
}

// What is below 0 or no number gives 0.
double LimitAC(double ac, double acMax) { return ac > 0.0 ? std::min(ac, acMax) : 0.0; }

void ConvertRawData(int led, const double* dc, const double* ac, Period& period)
{
    const double acMax = g_DeviceFeature.Load().ppgAcMax;
    const bool converted = IsAmplitudeConverted();
    for (std::size_t i = 0; i < period.length; ++i) {
        const double limited = LimitAC(ac[i], acMax);
        if (converted) {
            period.ac[i] = CutToMicrovolts(FingerACValueConvert(limited));
            period.dc[i] = CutToMicrovolts(FingerDCValueConvert(led, dc[i]));
        } else {
            period.ac[i] = RoundToMicrovolts(limited);
            period.dc[i] = RoundToMicrovolts(dc[i]);
        }
        period.acMax = std::max(period.acMax, period.ac[i]);
    }
}
}  // namespace

int StorePPGWaveform(int led, const PPG_WAVEFORM* wave) noexcept
{
    if (wave == nullptr) {
        ClearWaveform(led);
        return 0;
    }
    const int code = CheckWaveform(led, *wave);
    if (code != 0) return code;

    PPG_WAVEFORM stored = *wave;
    AdjustPPGWaveform(led, &stored);
    stored.t1 = PeakTime(stored);
    Period period(PPGPeriodSamples(stored.frequency, kPPGWaveformRate));
    if (!period.HasMemory()) return kNoMemory;
    GenPPGWaveform(&stored, kPPGWaveformRate, period.ac.get(), &period.acMax);
    if (IsAmplitudeConverted()) {
        ConvertForFinger(led, stored.dc, period);
    } else {
        std::fill_n(period.dc.get(), period.length, RoundToMicrovolts(stored.dc));
    }
    const auto samples = static_cast<int>(period.length);
    CAutoCriticalSection packetIsBuilt(g_PacketCriticalSection);
    g_PPG_waveforms[led] = stored;
    ExchangeArrays(led, period);
    g_PPG_data_periods[led] = PeriodOf(led);
    g_PPG_led_sync[led] = static_cast<std::uint8_t>(stored.ledSync);
    g_PPG_invert_output[led] = stored.invert == 1;
    return samples;
}

int StorePPGRawData(int led, int ledSync, int invert, int count, const double* dc, const double* ac,
                    double sampleRate) noexcept
{
    if (IsLineBusy()) return kBusy;
    if (!IsPPGChannel(led)) return kNoChannel;
    if (count < 1) return -3;
    if (dc == nullptr) return -4;
    if (ac == nullptr) return -5;
    if (sampleRate <= 0.0) return -6;

    Period period(static_cast<std::size_t>(count));
    if (!period.HasMemory()) return kNoMemory;
    ConvertRawData(led, dc, ac, period);
    period.sampleRate = sampleRate;
    for (std::size_t i = 0; invert != 0 && i < period.length; ++i) {
        period.ac[i] = period.acMax - period.ac[i];
    }
    CAutoCriticalSection packetIsBuilt(g_PacketCriticalSection);
    ExchangeArrays(led, period);
    g_PPG_use_file[led] = true;
    g_PPG_data_periods[led] = PeriodOf(led);
    g_PPG_led_sync[led] = static_cast<std::uint8_t>(ledSync);
    g_PPG_invert_output[led] = invert == 1;
    return 0;
}

PPG_WAVEFORM DescribeStandardPPG(const StandardPPGWaveform& standard)
{
    const double period = 1.0 / standard.frequency;
    PPG_WAVEFORM wave = {};
    wave.waveform = standard.waveform;
    wave.frequency = standard.frequency;
    wave.dc = standard.dc;
    wave.ac = standard.ac;
    wave.notchLevel = kNotchOf * standard.ac / kPeakOf;
    wave.dicroticLevel = kDicroticOf * standard.ac / kPeakOf;
    wave.t1 = RoundToMs(kPeakAtMs * period);
    wave.t2 = RoundToMs(kNotchAtMs * period);
    wave.t3 = RoundToMs(kDicroticAtMs * period);
    wave.timeBase = static_cast<std::int32_t>(kMsPerSecond);
    wave.ledSync = standard.ledSync;
    wave.invert = standard.invert;
    wave.variationRate = kStandardVariationRate;
    wave.variationCycles = 1;
    return wave;
}

void ShareACRange(StandardPPGWaveform& first, StandardPPGWaveform& second)
{
    if (GetPPGFullModelNumber() != kPPGModel3407) return;
    const std::uint8_t range1 = GetACCalMode(first.ac);
    const std::uint8_t range2 = GetACCalMode(second.ac);
    if (range1 == range2) return;
    const std::uint8_t range = std::min(range1, range2);
    const double factor = std::min({kRangeTops[range] / std::max(first.ac, second.ac),
                                    kRangeBottoms[range] / std::min(first.ac, second.ac),
                                    kHighestCommonDC / std::max(first.dc, second.dc)});
    first.ac *= factor;
    first.dc *= factor;
    second.ac *= factor;
    second.dc *= factor;
}
