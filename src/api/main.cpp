// The life cycle: connecting, preparing the instrument, freeing.

#include "api/Setters.h"
#include "api/Wiring.h"
#include "device/Identification.h"
#include "device/Polling.h"
#include "ppg/Sensor.h"
#include "ppg/SensorLevels.h"
#include "ppg/SensorSampling.h"
#include "ppg/TransmissionRate.h"
#include "respiration/ModuleCalibration.h"
#include "storage/Calibration.h"
#include "storage/ModelRecord.h"
#include "storage/Records.h"
#include "streaming/Change.h"
#include "streaming/OutputSelection.h"
#include "streaming/PendingChange.h"
#include "streaming/Playback.h"
#include "synthesis/MainFunction.h"
#include "synthesis/Pacing.h"
#include "synthesis/Relays.h"
#include "vrax.h"

namespace {
constexpr int kAllPorts = -1;

void Opened()
{
    CApiLock lock;
    SetRelays(true);
}

void LoadFactorySettingMCU()
{
    FACTORY_SETTING_MCU setting = {};
    ReadFactorySettingMCU(&setting);
    g_FactorySettingMCU.Store(setting);
}

// A run that outlived the last connection goes on with its own relays and pacing.
void RestoreRun()
{
    if (!IsRunGoing()) return;
    SetRelays(true);
    SetPacing();
}

// Everything that a connected instrument needs, in this order.
void ConnectedPostProcessing()
{
    CApiLock lock;
    SetECGDCVariableCalibrationData();
    LoadPPGDCTable();
    LoadPPGPDSamplingCalibrationData();
    if (_IsPPGConnected()) FPGASyncFromEEPROM();
    if (ExtRespIsAvailable() != 0) LoadRespirationDACCalibrationData();
    if (GetPPGFullModelNumber() == kPPGModel3407) {
        ApplyDefaultTransmissionRate();
        LoadFactorySettingMCU();
    }
    EnableDynamicLEDStrength(false);
    RestoreRun();
}

void Restarted()
{
    CApiLock lock;
    EnableDynamicLEDStrength(false);
    RestoreRun();
}

// Between two frames of a burn there is no place for photodiode frames.
void EndSampling()
{
    if (g_PPG_PDSamplingRunning) VRAXStopPPGSampling();
}

void StopSampling() { _StopPPGAD(); }
void ClearPPGFactorySettings() { g_PPGFactorySettings.Clear(); }
void SwitchDynamicLightOff() { SetDynamicLight(0); }
}  // namespace

void WireRooms()
{
    SetDeviceProbe(IsTargetDevice);
    SetProbeCommands({StopSampling, ClearPPGFactorySettings, SwitchDynamicLightOff,
                      ReadMainModelRecord, ReadModuleModelRecord});
    SetConnectionSteps({Opened, ConnectedPostProcessing, ResumeRun, HoldRun, ForgetDevice,
                        EndSampling, Restarted});
    SetChangeHandler(ApplyPendingChange);
    SetRunSteps({_UpdateFreqScanIfRequired, PlayPostProcessing});
    SetWaveformEndHandler(EndWaveform);
    SetSamplingHandler(_CallbackPPGSampling);
}

bool VRAXInit(VRAXConnectedCallback callback)
{
    g_nPortNumber = kAllPorts;
    return DoInit(callback);
}

bool VRAXConnect(int port, unsigned timeoutMs)
{
    g_nPortNumber = port;
    g_hConnectedEvent.ResetEvent();
    if (!DoInit(ConnectedHandler)) return false;
    if (g_hConnectedEvent.WaitTimeout(timeoutMs) == 0) return true;
    VRAXFree();
    return false;
}

void VRAXFree(void)
{
    VRAXSetOutputFunction(OUTPUT_OFF);
    CPortHold::WaitForEnd();  // a burn finds the instrument again before the search is stopped
    {
        const CReleaseWaitingCommands release;
        CApiLock lock;
        StopConnectThread();
        StopPollingThread();
    }
    JoinConnectThread();
    if (!IsInsideLibrary()) JoinPollingThread();
    VRAXReset();
}

bool VRAXIsConnected(void)
{
    CApiLock lock;
    return g_bConnected != 0;
}

bool VRAXIsPPGConnected(void)
{
    CApiLock lock;
    return g_bConnected != 0 && _IsPPGConnected();
}
