// Lead-off and the right-leg drive.

#include "api/Setters.h"
#include "synthesis/LeadOff.h"
#include "synthesis/Parameters.h"
#include "vrax.h"

int VRAXSetLeadOff(int mode)
{
    CApiLock lock;
    if (DeviceIsConnected() == 0) return 0;
    if (IsOutside(mode, 0, 3)) return 0;
    _outputLog("VRAXSetLeadOff(%d);", mode);
    return SetLeadOff(mode) ? 1 : 0;
}

int VRAXMeasureRLD(bool on)
{
    CApiLock lock;
    if (DeviceIsConnected() == 0) return 0;
    _outputLog("VRAXMeasureRLD(%s);", BoolText(on));
    return MeasureRLD(on) ? 1 : 0;
}

int VRAXReadRLD(double* first, double* second)
{
    CApiLock lock;
    if (DeviceIsConnected() == 0 || first == nullptr || second == nullptr) return 0;
    RldReading reading;
    if (!ReadRLD(reading)) return 0;
    *first = reading.first;
    *second = reading.second;
    return 1;
}
