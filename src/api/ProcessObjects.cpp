// The process-wide objects, in the order in which they are built, the monitor last. Its destructor
// runs first at unload; the end of the library's threads follows; what threads may still look at is
// never destroyed.

#include "api/Wiring.h"
#include "device/Connection.h"
#include "device/Device.h"
#include "device/Exchange.h"
#include "device/Identification.h"
#include "device/ModuleList.h"
#include "device/Monitor.h"
#include "device/Polling.h"
#include "ppg/Channels.h"
#include "sources/RawArray.h"
#include "storage/Calibration.h"
#include "storage/Firmware.h"
#include "storage/McuProgram.h"
#include "streaming/Playback.h"

// The destructors of critical sections and manual-reset events do nothing; auto-reset events would
// be destroyed.
namespace {
NeverDestroyed<CAutoResetEvent> s_sigUsr1(false);
NeverDestroyed<CAutoResetEvent> s_sigUsr2(false);
NeverDestroyed<CAutoResetEvent> s_send(false);
NeverDestroyed<CAutoResetEvent> s_read(false);
NeverDestroyed<CAutoResetEvent> s_connected(false);
NeverDestroyed<CAutoResetEvent> s_reconnect(false);
}  // namespace

CAutoResetEvent& g_hSigUsr1Event = s_sigUsr1.Get();
CAutoResetEvent& g_hSigUsr2Event = s_sigUsr2.Get();
CSimpleCriticalSection g_AccessCriticalSection;
CSimpleCriticalSection g_InterruptCriticalSection;
CSimpleCriticalSection g_APICriticalSection;
CSimpleCriticalSection g_PacketCriticalSection;
CManualResetEvent g_hPollingEvent(false);
CManualResetEvent g_hProcessRequestEvent(false);
CManualResetEvent g_hStopPlayEvent(false);
CManualResetEvent g_hStopReceiveEvent(false);
CAutoResetEvent& g_hSendEvent = s_send.Get();
CAutoResetEvent& g_hReadEvent = s_read.Get();
CAutoResetEvent& g_hConnectedEvent = s_connected.Get();
CAutoResetEvent& g_hReconnectEvent = s_reconnect.Get();

Shared<std::int64_t> g_hDevice = std::int64_t{-1};
Shared<unsigned> g_nDeviceReadTimeout = 100u;
Shared<unsigned> g_nDeviceWriteTimeout = 200u;
Shared<int> g_nLockFile = -1;
Shared<int> g_nPortNumber = -1;
Shared<bool> g_bPortAdopted = false;

Shared<int> g_bConnected = 0;
Shared<bool> s_bPortHeld = false;
Shared<bool> s_ECGGoing = false;
Shared<bool> g_PPG_PDSamplingRunning = false;
Shared<int> s_nRepliesPending = 0;
Shared<int> s_nRepliesUnread = 0;
Shared<std::int64_t> s_nReplyGivenUpNs = std::int64_t{0};
Shared<std::int64_t> s_nPacketNs = std::int64_t{0};
Shared<bool> s_bFramesMayCome = false;
Shared<bool> s_bPacketDue = false;
Shared<bool> s_bFrameInHand = false;
Shared<void (*)(bool)> g_ConnectedCallback = nullptr;
Shared<int> g_bStopConnectDeviceThread = 0;
Shared<int> g_bStopMonitor = 0;

SharedRecord<MODEL_INFORMATION> g_ModelInfo;
SharedRecord<MODEL_INFORMATION> g_PPGModelInfo;
SharedRecord<HardwareInformation> g_HWInfo;
SharedRecord<HardwareInformation> g_PPGHWInfo;
SharedRecord<DeviceFeature> g_DeviceFeature(DefaultDeviceFeature());
Shared<std::uint16_t> g_nPPGDCDacLevel = std::uint16_t{4095};
Shared<std::uint16_t> g_nPPGACDacLevel = std::uint16_t{4095};

namespace {
// Ends every thread of the library when the process ends or the library is unloaded without
// VRAXFree. No listener is told any more: the application may be half gone. A callback of the
// library that ends the process is not waited for.
class CLibrary {
public:
    CLibrary() { WireRooms(); }

    ~CLibrary()
    {
        if (IsForkedChild()) return;
        const bool callsInside = CApiLock::CallsInside() > 0;
        g_ConnectedCallback = nullptr;
        AbortDeviceWaits();
        const CReleaseWaitingCommands release;
        if (!IsInsideLibrary()) EndRunForUnload();
        StopConnectThread();
        StopPollingThread();
        DeviceClose();  // a preparation in progress fails at once
        if (IsInsideLibrary()) {
            constexpr unsigned kMomentMs = 200;
            JoinConnectThread(kMomentMs);
            JoinPollingThread(kMomentMs);
            return;
        }
        JoinConnectThread();
        JoinPollingThread();
        if (callsInside) WaitForCallsToLeave();
        FreeRawArrays();
        for (int led = 0; led < kPPGChannels; ++led) _ClearPPGData(led);
        FreeCalibrationCache();
        FreeFirmwareImage();
        FreeMcuImage();
    }

private:
    // Calls that were released are on their way out of the library's code. The last steps of one,
    // after it is counted out, take no time of their own, but a busy machine may hold it there.
    static void WaitForCallsToLeave()
    {
        constexpr int kLooks = 100;
        constexpr unsigned kLookMs = 10;
        constexpr unsigned kLastStepsMs = 200;
        for (int i = 0; i < kLooks && CApiLock::CallsInside() > 0; ++i) SleepMilliseconds(kLookMs);
        SleepMilliseconds(kLastStepsMs);
    }
};
CLibrary s_library;
}  // namespace

CAutoMonitor g_AutoMonitor;
