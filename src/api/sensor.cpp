// The PPG module's switches as an application sees them.

#include "ppg/Sensor.h"
#include "api/Setters.h"
#include "device/Identification.h"
#include "ppg/Channels.h"
#include "vrax.h"

namespace {
constexpr int kLastAmbientMode = 14;
}  // namespace

bool VRAXEnableDynamicLEDStrength(bool on)
{
    CApiLock lock;
    return DeviceIsConnected() == 1 && EnableDynamicLEDStrength(on);
}

int VRAXSetLEDAmbientLightMode(int mode)
{
    CApiLock lock;
    if (!_IsPPGConnected()) return -1;
    if (IsOutside(mode, 0, kLastAmbientMode)) return -2;
    _outputLog("SetLEDAmbientLightMode(%d);", mode);  // without the prefix, deliberately
    return WriteAmbientLightMode(mode) == AmbientResult::kDone ? 0 : -3;
}

int VRAXGetLEDAmbientLightMode(void)
{
    CApiLock lock;
    if (!_IsPPGConnected()) return -1;
    int mode = 0;
    switch (ReadAmbientLightMode(mode)) {
        case AmbientResult::kDone: return mode;
        case AmbientResult::kNoReply: return -2;
        case AmbientResult::kNotAcknowledged: break;
    }
    return -3;
}

void VRAXRegisterOutputPPGCallback(int led, VRAXOutputPPGCallback callback)
{
    CApiLock lock;
    if (led >= 0 && led < kPPGChannels) g_PPGGraphCBs[led] = callback;
}
