#include "device/Connection.h"

#include <unistd.h>

#include <map>

#include "device/Device.h"
#include "device/Exchange.h"
#include "device/Monitor.h"
#include "device/Polling.h"
#include "device/SamplingFrames.h"

namespace {
constexpr useconds_t kSearchPauseUs = 10000;
constexpr unsigned kDeviceChange = 537;  // 0x219
constexpr unsigned kStopCheckMs = 100;

CJoinableThread g_hConnectDeviceThread;
ConnectionSteps s_steps = {};

CSimpleCriticalSection s_notifySection;
// Never destroyed: the last owner of a callback is the application.
NeverDestroyed<std::map<unsigned, NotifyCallback>> g_mapNotifyEvent;

// Until the thread is to end or the open port's node is gone.
void StayConnected()
{
    while (g_bStopConnectDeviceThread == 0) {
        g_hReconnectEvent.Wait();
        if (g_bStopConnectDeviceThread == 0 && DeviceIsAlive() == 0) return;
    }
}

// No command may see a connected instrument and a run that does not stream to it yet: it would wait
// for a free line that nobody frees.
void MarkConnected()
{
    CInterruptLock lock;
    g_bConnected = 1;
    s_steps.resume();
}

void MarkLost()
{
    CInterruptLock lock;
    g_bConnected = 0;
    {
        CAutoCriticalSection access(g_AccessCriticalSection);
        s_nRepliesPending = 0;
        s_nRepliesUnread = 0;
    }
    // Whoever finds the instrument again stops its sampling first.
    s_bFramesMayCome = false;
    g_PPG_PDSamplingRunning = false;
    DropKeptFrames();
    s_steps.lost();
}

void TearDown()
{
    CReleaseWaitingCommands release;
    StopPollingThread();
    DeviceClose();
    JoinPollingThread();  // its last read must not meet the next port
    MarkLost();
    s_steps.forget();
    g_AutoMonitor.PauseMonitor();
    NotifyListener(false);
}

void* ConnectDeviceThread(void*)
{
    while (g_bStopConnectDeviceThread == 0) {
        if (DeviceConnect(g_nPortNumber, 1) == 0) {
            usleep(kSearchPauseUs);
            continue;
        }
        s_steps.opened();
        g_AutoMonitor.StartMonitor();
        s_steps.prepare();
        // Before the listener is told: what it starts needs the poll thread, and a run that exists
        // must not hold up its commands.
        StartPollingThread();
        MarkConnected();
        NotifyListener(true);
        StayConnected();
        TearDown();
    }
    return nullptr;
}
}  // namespace

void SetConnectionSteps(const ConnectionSteps& steps) { s_steps = steps; }

bool DoInit(void (*callback)(bool connected))
{
    CJoinableThread& thread = g_hConnectDeviceThread;
    const bool mayWait = !IsInsideLibrary() && !thread.IsCurrentThread();
    g_ConnectedCallback = callback;
    for (;;) {
        // A thread that was told to end is not revived while somebody waits for its end, but by its
        // own listener.
        if (g_bStopConnectDeviceThread != 0) JoinConnectThread();
        CApiLock lock;
        if (mayWait && g_bStopConnectDeviceThread != 0 && thread.IsRunning()) continue;
        g_hReconnectEvent.ResetEvent();
        g_bStopConnectDeviceThread = 0;
        StopDeviceSearch(false);
        return thread.IsRunning() || thread.Start(ConnectDeviceThread, nullptr);
    }
}

void StopConnectThread()
{
    if (!g_hConnectDeviceThread.IsRunning()) return;
    g_bStopConnectDeviceThread = 1;
    StopDeviceSearch(true);
    ReconnectDevice();
}

void JoinConnectThread()
{
    CJoinableThread& thread = g_hConnectDeviceThread;
    if (IsInsideLibrary() || thread.IsCurrentThread()) return;
    while (!thread.Join(kStopCheckMs)) {
        if (g_bStopConnectDeviceThread == 0) return;  // started anew from its own listener
    }
}

void ConnectedHandler(bool connected)
{
    if (connected) g_hConnectedEvent.SetEvent();
}

void NotifyListener(bool connected)
{
    g_bConnected = connected ? 1 : 0;
    void (*callback)(bool) = g_ConnectedCallback;
    if (callback != nullptr) callback(connected);
}

void ReconnectDevice() { g_hReconnectEvent.SetEvent(); }

void RegisterNotifyEvent(unsigned id, NotifyCallback callback)
{
    CAutoCriticalSection lock(s_notifySection);
    g_mapNotifyEvent.Get()[id] = callback;
}

void WinEventCb(unsigned message, unsigned, unsigned long)
{
    if (message == kDeviceChange) ReconnectDevice();
}
