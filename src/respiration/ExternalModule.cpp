#include "respiration/ExternalModule.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "sources/RawArray.h"
#include "synthesis/Numbers.h"
#include "synthesis/Respiration.h"

Shared<double> g_fECGExtRespirationCoef[kModuleCoefficients] = {};
Shared<double> g_fECGExtRespiratationRDAC3[kThirdElementSteps] = {};
Shared<std::uint16_t> g_ECGExtRespirationBaselineDACTable[kModuleBaselines] = {};
Shared<std::uint16_t> g_nECGExtRespirationBaselineDAC = std::uint16_t{0};

namespace {
constexpr double kPi = kTwoPi / 2.0;
constexpr double kMilliohms = 1000.0;  // in an ohm
constexpr double kHighestRecordedOhms = 10.0;

// The first two branches: programmable resistances of 1024 steps.
constexpr double kStepsOhms = 20000.0;
constexpr double kSteps = 1024.0;
constexpr double kStepsPerOhm = kSteps / kStepsOhms;  // 0.0512
constexpr std::uint16_t kHighestStep = 1023;

// The choice of the third: 6 steps an ohm around 10 at rest, corrected by the coefficient.
constexpr double kThirdAtRest = 10.0;
constexpr double kThirdPerOhm = 6.0;
constexpr double kCorrectionFrom = 100.0;
constexpr double kCorrectionDivisor = 21.0;
constexpr std::size_t kLastThird = kThirdElementSteps - 1;

double RecordedResistance(const double* samples, int size, int rate, double t)
{
    const double period = static_cast<double>(size) / rate;
    const double phase = t - Truncate(t / period) * period;
    const int index = std::clamp(SaturateTo<int>(rate * phase), 0, size - 1);
    return kRestingOhms + std::clamp(samples[index], 0.0, kHighestRecordedOhms);
}

double BreathingResistance(double t)
{
    const double period = s_RespPeriod;
    if (!(period > 0.0)) return kRestingOhms;
    const double phase = t - Truncate(t / period) * period;
    const double inhale = period / (2 + s_RespRatio);
    const double half = s_RespVariation / (2.0 * kMilliohms);
    const double breath = phase < inhale ? std::sin(kPi * phase / inhale - kPi / 2.0)
                                         : std::cos(kPi * (phase - inhale) / (period - inhale));
    return half * breath + kRestingOhms + half;
}

// No number, and so code 0, where the division meets a zero.
double Inverse(double value)
{
    return value == 0.0 ? std::numeric_limits<double>::quiet_NaN() : 1.0 / value;
}

std::uint16_t StepOf(double value)
{
    return std::min(SaturateTo<std::uint16_t>(value), kHighestStep);
}

std::uint16_t ThirdCode(double ohms)
{
    const double correction = (kCorrectionFrom - g_fECGExtRespirationCoef[2]) / kCorrectionDivisor;
    const auto code =
        SaturateTo<std::uint16_t>(correction + (ohms - kRestingOhms) * kThirdPerOhm + kThirdAtRest);
    if (code <= kLastThird) return code;
    // Past the end the code is the last resistance, not its index, deliberately.
    return SaturateTo<std::uint16_t>(g_fECGExtRespiratationRDAC3[kLastThird]);
}
}  // namespace

double CalculateECGExtRespiration(double t)
{
    const double* samples = g_pRespRawData;
    const int size = g_nRespRawSize;
    const int rate = g_nRespSampleRate;
    if (samples != nullptr && size > 0 && rate > 0) {
        return RecordedResistance(samples, size, rate, t);
    }
    if (g_nECGExtRespirationMode == 0) return BreathingResistance(t);
    return kRestingOhms + s_RespVariation / kMilliohms;
}

unsigned short ExtRespGetBaselineDAC(int index)
{
    constexpr int kLast = static_cast<int>(kModuleBaselines) - 1;
    return g_ECGExtRespirationBaselineDACTable[std::clamp(index, 0, kLast)];
}

unsigned short ExtRespGetAmplitudeDAC(double ohms, unsigned short* codes)
{
    if (codes == nullptr) return 0;
    codes[0] = codes[1] = codes[2] = 0;
    const std::uint16_t third = ThirdCode(ohms);
    const double thirdOhms = g_fECGExtRespiratationRDAC3[std::min<std::size_t>(third, kLastThird)];
    const bool programmed = thirdOhms < 0.0 || thirdOhms > 0.0;  // neither 0 nor erased
    if (!programmed || ohms == 0.0) return 0;

    // The three branches are parallel: the second is set to what the first at its end leaves, then
    // the first to what both leave.
    const double first = g_fECGExtRespirationCoef[0];
    const double second = g_fECGExtRespirationCoef[1];
    const double all = Inverse(ohms);
    const double g3 = Inverse(thirdOhms);
    const double x = Inverse(all - Inverse(second + kStepsOhms) - g3) - second;
    codes[1] = StepOf(Truncate(kStepsPerOhm * x) + 1.0);
    const double secondOhms = second + codes[1] / kSteps * kStepsOhms;
    const double y = Inverse(all - Inverse(secondOhms) - g3) - first;
    codes[0] = StepOf(0.5 + kStepsPerOhm * y);
    codes[2] = third;
    return codes[0];
}
