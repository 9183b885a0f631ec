#include "synthesis/Respiration.h"

#include <cmath>

#include "device/LineState.h"
#include "synthesis/BeatModel.h"
#include "synthesis/Numbers.h"
#include "synthesis/Parameters.h"
#include "synthesis/PlayClock.h"

Shared<bool> g_RespirationEnabled = false;
Shared<int> s_RespVariation = 0;
Shared<int> s_RespFreq = 0;
Shared<double> s_RespPeriod = 0.0;
Shared<int> s_RespRatio = 0;
Shared<int> s_RespBaseline = 0;
Shared<int> s_RespBaselineSelection = 0;
Shared<int> s_ApneaTime = 0;
Shared<bool> s_Apnea_On = false;
Shared<int> g_nECGExtRespirationMode = 0;

Shared<double> s_OneRespireS = 0.0;
Shared<double> s_InhaleS = 0.0;
Shared<double> s_ExhaleS = 0.0;
Shared<double> s_OneApneaS = 0.0;
Shared<double> s_BaselineModV = 0.0;
Shared<double> s_AmpModV = 0.0;
Shared<double> s_FreqModHz = 0.0;
Shared<double> s_FreqModPreEndT = 0.0;
Shared<double> s_FreqModEndT = 0.0;

namespace {
constexpr double kMinute = 60.0;
constexpr double kPi = kTwoPi / 2.0;
constexpr double kPercent = 100.0;

Shared<double>* const kQuantities[] = {
    &s_OneRespireS, &s_InhaleS,   &s_ExhaleS,        &s_OneApneaS,   &s_BaselineModV,
    &s_AmpModV,     &s_FreqModHz, &s_FreqModPreEndT, &s_FreqModEndT,
};
}  // namespace

double GetRespirationVoltage(double t)
{
    const double inhale = s_InhaleS;
    const double exhale = s_ExhaleS;
    if (inhale == 0.0 || exhale == 0.0) return 0.0;
    if (t <= inhale) return std::sin(kPi * t / inhale);
    const double exhaled = t - inhale;
    return exhaled <= exhale ? -std::sin(kPi * exhaled / exhale) : 0.0;
}

double RespirationVoltageAt(double time)
{
    const double breath = s_OneRespireS;
    if (!(breath > 0.0)) return 0.0;
    const double apnea = s_OneApneaS;
    if (apnea == 0.0) return GetRespirationVoltage(time - breath * Truncate(time / breath));
    const double inMinute = time - kMinute * Truncate(time / kMinute);
    if (inMinute >= kMinute - apnea) return 0.0;
    return GetRespirationVoltage(inMinute - breath * Truncate(inMinute / breath));
}

double GetRespirationVoltage() { return RespirationVoltageAt(s_t); }

void SetRespirationAlgorithm(const RespirationAlgorithm& algorithm)
{
    CAutoCriticalSection packetIsBuilt(g_PacketCriticalSection);
    const double breath = kMinute / algorithm.rate;
    const double exhale = breath * algorithm.ratio / (algorithm.ratio + 1);
    s_OneRespireS = breath;
    s_ExhaleS = exhale;
    s_InhaleS = exhale / algorithm.ratio;
    s_OneApneaS = algorithm.apneaSeconds;
    s_BaselineModV = g_Amplitude * algorithm.baselinePercent / kPercent;
    s_AmpModV = g_Amplitude * algorithm.amplitudePercent / kPercent;
    if (algorithm.frequencyPercent == 0) {
        s_FreqModHz = 0.0;
        return;
    }
    s_FreqModHz = g_F * algorithm.frequencyPercent / kPercent;
    s_FreqModPreEndT = s_t;
    s_FreqModEndT = s_t + s_tp;
}

void ClearRespirationAlgorithm()
{
    CAutoCriticalSection packetIsBuilt(g_PacketCriticalSection);
    for (Shared<double>* quantity : kQuantities) *quantity = 0.0;
}

bool HasRespirationAlgorithm()
{
    for (const Shared<double>* quantity : kQuantities) {
        if (*quantity != 0.0) return true;
    }
    return false;
}
