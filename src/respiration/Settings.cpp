#include "respiration/Settings.h"

#include <algorithm>
#include <iterator>

#include "device/Exchange.h"
#include "device/Identification.h"
#include "diagnostics/ApiLog.h"
#include "respiration/ExternalModule.h"
#include "respiration/ModuleCommands.h"
#include "synthesis/Respiration.h"

namespace {
constexpr double kSecondsPerMinute = 60.0;
constexpr int kBreathing = 0;
constexpr int kCalibrating = 1;
constexpr int kInternalBaselines[] = {500, 1000, 1500, 2000, 2500};
constexpr int kModuleBaselineOhms[] = {0,    100,  200,  500,  1000, 1500,
                                       2000, 2500, 3000, 3500, 4000, 4500};
static_assert(std::size(kModuleBaselineOhms) == kModuleBaselines);

template <std::size_t N>
int Find(const int (&table)[N], int ohms)
{
    const int* found = std::find(table, table + N, ohms);
    return found == table + N ? -1 : static_cast<int>(found - table);
}

void StoreDepth(int mode, int variation, int baseline)
{
    g_nECGExtRespirationMode = mode;
    s_RespVariation = variation;
    s_RespBaseline = baseline;
    s_RespBaselineSelection = GetRespiratoryBaselineSelection(baseline);
}

int SendSettings()
{
    if (ExtRespIsAvailable() == 0) return SendRespirationSettings();
    return SetModuleBaseline(s_RespBaselineSelection) ? 1 : 0;
}
}  // namespace

int GetRespiratoryBaselineSelection(int ohms)
{
    if (ExtRespIsAvailable() == 0) return std::max(Find(kInternalBaselines, ohms), 0);
    const int index = Find(kModuleBaselineOhms, ohms);
    if (index < 0) return 0;
    g_nECGExtRespirationBaselineDAC = ExtRespGetBaselineDAC(index);
    return index;
}

int SetRespiration(const RespirationSettings& settings)
{
    CExchange line;
    StoreDepth(kBreathing, settings.variation, settings.baseline);
    s_RespFreq = settings.rate;
    s_RespPeriod = kSecondsPerMinute / settings.rate;
    s_RespRatio = settings.ratio - 1;
    s_ApneaTime = settings.apneaSeconds;
    _outputLog("VRAXSetRespiration(%d, %d, %d, %d, %d);", settings.variation, settings.rate,
               settings.ratio, settings.baseline, settings.apneaSeconds);
    return SendSettings();
}

int SetCalibrationRespiration(int variation, int baseline)
{
    CExchange line;
    StoreDepth(kCalibrating, variation, baseline);
    return SendSettings();
}

void StoreRespirationSwitch(bool on)
{
    CInterruptLock packetIsBuilt;
    g_RespirationEnabled = on;
    if (on) return;
    s_ApneaTime = 0;
    s_RespFreq = 0;
    s_RespPeriod = 0.0;
    s_RespVariation = 0;
    s_RespRatio = 0;
    s_RespBaseline = 0;
    s_RespBaselineSelection = 0;
}
