#include "device/Monitor.h"

#include "device/Connection.h"
#include "device/Device.h"

namespace {
// SleepEx sleeps the part below a second in microseconds: 0.1 ms and 0.5 ms.
constexpr unsigned kLostSleep = 100;
constexpr unsigned kRecheckSleep = 500;
constexpr int kRechecks = 3;
// Between two looks at a healthy connection: the 1.0002 s of SleepEx(1200), but ended by the unload.
constexpr unsigned kAliveWaitMs = 1000;
constexpr unsigned kAliveSleepRest = 200;

CManualResetEvent s_unloading(false);

// A first positive result is kept even if the re-checks fail.
bool IsStillThere()
{
    bool alive = DeviceIsAlive() == 1;
    for (int i = 0; i < kRechecks && g_bStopMonitor == 0; ++i) {
        if (DeviceIsAlive() == 1) return true;
        SleepEx(kRecheckSleep);
    }
    return alive;
}

// Monitoring may have been paused, and another port opened, since the node was missed.
void CloseLostPort(CAutoMonitor& monitor)
{
    CAutoCriticalSection lock(g_AccessCriticalSection);
    if (monitor.IsMonitored() && DeviceIsAlive() == 0) DeviceClose();
}

void* MonitorDeviceThread(void* self)
{
    auto& monitor = *static_cast<CAutoMonitor*>(self);
    while (g_bStopMonitor == 0) {
        monitor.WaitUntilMonitored();
        if (g_bStopMonitor != 0) break;
        if (IsStillThere()) {
            if (s_unloading.WaitTimeout(kAliveWaitMs) != 0) SleepEx(kAliveSleepRest);
        } else {
            CloseLostPort(monitor);
            ReconnectDevice();
            SleepEx(kLostSleep);
        }
    }
    return nullptr;
}
}  // namespace

CAutoMonitor::CAutoMonitor() : enabled_(false) { MakeThread(); }

CAutoMonitor::~CAutoMonitor()
{
    if (IsForkedChild()) return;
    g_bStopMonitor = 1;
    s_unloading.SetEvent();
    enabled_.SetEvent();
    JoinThread(thread_);
}

// A thread that could not be made when the library was loaded is made with a connection.
void CAutoMonitor::MakeThread()
{
    CAutoCriticalSection lock(g_AccessCriticalSection);
    if (thread_ == 0 && g_bStopMonitor == 0) CreateThread(&thread_, MonitorDeviceThread, this);
}

void CAutoMonitor::StartMonitor()
{
    MakeThread();
    enabled_.SetEvent();
}
void CAutoMonitor::PauseMonitor() { enabled_.ResetEvent(); }
void CAutoMonitor::WaitUntilMonitored() { enabled_.Wait(); }
bool CAutoMonitor::IsMonitored() { return enabled_.WaitTimeout(0) == 0; }
