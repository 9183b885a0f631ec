#include "device/Connection.h"

#include <unistd.h>

#include <cstring>
#include <map>
#include <optional>

#include "device/Device.h"
#include "device/Exchange.h"
#include "device/Identification.h"
#include "device/Monitor.h"
#include "device/Polling.h"
#include "device/SamplingFrames.h"

namespace {
constexpr useconds_t kSearchPauseUs = 10000;
constexpr unsigned kDeviceChange = 537;  // 0x219
constexpr unsigned kStopCheckMs = 100;
constexpr unsigned kHeldCheckMs = 100;
constexpr int kAnyPort = -1;
constexpr int kReopenAttempts = 10;
constexpr int kSilenceAttempts = 3;

CJoinableThread g_hConnectDeviceThread;
ConnectionSteps s_steps = {};

CSimpleCriticalSection s_notifySection;
// Never destroyed: the last owner of a callback is the application.
NeverDestroyed<std::map<unsigned, NotifyCallback>> g_mapNotifyEvent;

// Held by whoever may close the port that a connection uses: a burn, or the connect thread from the
// decision to give the connection up until it is given up. Taken before the API lock.
CSimpleCriticalSection s_portSection;
CManualResetEvent s_portReleased(true);

// The connect thread's turn at the port: it waits for the end of a burn, but not at unload, when the
// burn may wait for the application for ever.
class CPortTurn {
public:
    CPortTurn() NO_THREAD_SAFETY_ANALYSIS
    {
        while (!(taken_ = s_portSection.TryLock()) && g_bStopMonitor == 0) {
            s_portReleased.WaitTimeout(kHeldCheckMs);
        }
    }
    ~CPortTurn() NO_THREAD_SAFETY_ANALYSIS
    {
        if (taken_) s_portSection.Unlock();
    }
    bool IsTaken() const { return taken_; }
    CPortTurn(const CPortTurn&) = delete;
    CPortTurn& operator=(const CPortTurn&) = delete;

private:
    bool taken_ = false;
};

// Until the thread is to end or the open port's node is gone. The port is then this thread's, so
// that no burn begins on it.
void StayConnected(std::optional<CPortTurn>& port)
{
    for (;;) {
        if (g_bStopConnectDeviceThread == 0) g_hReconnectEvent.Wait();
        port.emplace();
        if (g_bStopConnectDeviceThread != 0 || DeviceIsAlive() == 0) return;
        port.reset();
    }
}

// Nothing is under way on the port any more.
void CloseAndForgetReplies()
{
    CAutoCriticalSection lock(g_AccessCriticalSection);
    DeviceClose();
    ForgetReplies();
}

// The reply to a frame that got none in time is not the reply to the next packet.
void ForgetLateReplies()
{
    CInterruptLock lock;
    CAutoCriticalSection access(g_AccessCriticalSection);
    ReadPendingReplies();
    ForgetReplies();
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
    ForgetReplies();
    // Whoever finds the instrument again stops its sampling first.
    s_bFramesMayCome = false;
    g_PPG_PDSamplingRunning = false;
    DropKeptFrames();
    s_steps.lost();
}

void MarkHeld()
{
    CInterruptLock lock;
    s_bPortHeld = true;
    s_steps.lost();
}

void MarkReleased()
{
    CInterruptLock lock;
    s_bPortHeld = false;
    s_steps.resume();
}

// The commands that wait are released until the listener has been told.
void TearDown(std::optional<CPortTurn>& port)
{
    CReleaseWaitingCommands release;
    StopPollingThread();
    DeviceClose();
    if (!port->IsTaken()) return;  // at unload: a burn holds the locks, perhaps for ever
    JoinPollingThread();           // its last read must not meet the next port
    MarkLost();
    s_steps.forget();
    g_AutoMonitor.PauseMonitor();
    port.reset();
    NotifyListener(false);
}

// An instrument that nothing would read from is searched again.
void GiveUpPort()
{
    g_AutoMonitor.PauseMonitor();
    DeviceClose();
    s_steps.forget();
    usleep(kSearchPauseUs);
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
        if (!StartPollingThread()) {
            GiveUpPort();
            continue;
        }
        MarkConnected();
        NotifyListener(true);
        std::optional<CPortTurn> port;
        StayConnected(port);
        TearDown(port);
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

void JoinConnectThread(unsigned withinMs) { g_hConnectDeviceThread.Join(withinMs); }

CPortHold::CPortHold() NO_THREAD_SAFETY_ANALYSIS
{
    if (IsInsideLibrary() || g_bConnected == 0) return;
    s_portSection.Lock();
    if (g_bConnected != 0) {
        Take();
        granted_ = true;
    } else {
        s_portSection.Unlock();
    }
}

CPortHold::~CPortHold() NO_THREAD_SAFETY_ANALYSIS
{
    if (!granted_) return;
    GiveBack();
    s_portReleased.SetEvent();
    s_portSection.Unlock();
}

// Begins as a command does, in the gap after the reply to the last packet, however long that takes to
// come: no frame may find it under way.
void CPortHold::Take()
{
    s_portReleased.ResetEvent();
    for (int i = 0; i < kSilenceAttempts; ++i) {
        s_steps.silence();
        CExchange line;
        if (g_PPG_PDSamplingRunning && i + 1 < kSilenceAttempts) continue;  // begun just then
        g_AutoMonitor.PauseMonitor();
        StopPollingThread();
        JoinPollingThread();
        MarkHeld();
        return;
    }
}

void CPortHold::GiveBack()
{
    CApiLock api;
    ForgetLateReplies();
    if (DeviceIsAlive() == 1 && StartPollingThread()) {
        MarkReleased();
        g_AutoMonitor.StartMonitor();
        return;
    }
    CloseAndForgetReplies();
    MarkLost();
    s_bPortHeld = false;
    ReconnectDevice();  // the connect thread gives up the connection and searches
}

void CPortHold::Close() { CloseAndForgetReplies(); }

bool CPortHold::Reopen()
{
    const MODEL_INFORMATION before = g_ModelInfo.Load();
    if (DeviceConnect(kAnyPort, kReopenAttempts) == 0) return false;
    const MODEL_INFORMATION now = g_ModelInfo.Load();
    s_steps.opened();
    if (std::memcmp(&before, &now, sizeof now) == 0) {
        s_steps.restarted();
    } else {
        s_steps.prepare();
    }
    return true;
}

void CPortHold::WaitForEnd()
{
    if (IsInsideLibrary()) return;
    CAutoCriticalSection wait(s_portSection);
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
