#include "synthesis/PlayClock.h"

#include "device/Identification.h"
#include "ppg/Channels.h"

Shared<double> s_t = 0.0;
Shared<double> s_tg = 0.0;
Shared<int> g_UICounter = 0;
Shared<int> s_freqDivider = 1;
Shared<int> s_sampleRate = kDefaultSampleRate;
Shared<int> s_PPGSampleRate = 10000;

namespace {
constexpr int kRespirationModuleRate = 5000;
}

int _GetSampleRate()
{
    if (ExtRespIsAvailable() != 0) return kRespirationModuleRate;
    return IsAnyPPGOutputEnabled() ? s_PPGSampleRate : s_sampleRate;
}
