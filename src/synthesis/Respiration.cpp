#include "synthesis/Respiration.h"

#include <cmath>

#include "synthesis/Numbers.h"

Shared<bool> g_RespirationEnabled = false;
Shared<int> s_RespBaseline = 0;
Shared<int> s_ApneaTime = 0;
Shared<bool> s_Apnea_On = false;
Shared<double> s_OneRespireS = 0.0;
Shared<double> s_InhaleS = 0.0;
Shared<double> s_ExhaleS = 0.0;
Shared<double> s_OneApneaS = 0.0;
Shared<double> s_BaselineModV = 0.0;
Shared<double> s_AmpModV = 0.0;
Shared<double> s_FreqModHz = 0.0;

namespace {
constexpr double kMinute = 60.0;
constexpr double kPi = kTwoPi / 2.0;
}  // namespace

double GetRespirationVoltage(double t)
{
    if (t <= s_InhaleS) return std::sin(kPi * t / s_InhaleS);
    const double exhaled = t - s_InhaleS;
    return exhaled <= s_ExhaleS ? -std::sin(kPi * exhaled / s_ExhaleS) : 0.0;
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

void EndApnea() { s_Apnea_On = false; }

void _CheckApnea(int) {}

void ResetRespiration()
{
    g_RespirationEnabled = false;
    s_OneRespireS = 0.0;
    s_InhaleS = 0.0;
    s_ExhaleS = 0.0;
    s_OneApneaS = 0.0;
    s_BaselineModV = 0.0;
    s_AmpModV = 0.0;
    s_FreqModHz = 0.0;
}
