#include "streaming/Playback.h"

#include <algorithm>

#include "device/Device.h"
#include "device/Exchange.h"
#include "streaming/Packet.h"
#include "streaming/PendingChange.h"
#include "streaming/SimulationTimer.h"
#include "synthesis/Pacing.h"
#include "synthesis/PlayClock.h"

Shared<CManualResetEvent*> g_PlaySyncEvent = nullptr;

namespace {
constexpr unsigned kUnloadLimitMs = 10000;  // a callback of the application may hold it up

CJoinableThread g_hPlayThread;
RunSteps s_steps = {};

// What lets the next packet go.
enum class Pace {
    kNone,    // the first packet has not gone out
    kDevice,  // the replies of the instrument
    kTimer,   // the simulation timer
    kLost,    // nothing, until the instrument is back
};
Pace s_pace GUARDED_BY(g_InterruptCriticalSection) = Pace::kNone;

bool IsStopRequested() { return g_hStopPlayEvent.WaitTimeout(0) == 0; }

// The longest that a packet plays at this rate.
std::int64_t PacketNs()
{
    constexpr std::int64_t kNsPerSecond = 1000000000;
    constexpr std::int64_t kMostSamples = 14 * kFramesPerPacket;
    return kMostSamples * kNsPerSecond / std::max(_GetSampleRate(), 1);
}

// Without the instrument's replies nothing goes out, but to a port that the application handed over:
// it has no poll thread, and its replies are dropped here.
bool WritePacket(unsigned char* buffer) REQUIRES(g_InterruptCriticalSection)
{
    CAutoCriticalSection lock(g_AccessCriticalSection);
    if (s_pace != Pace::kDevice) {
        if (!g_bPortAdopted || g_bConnected != 0) return false;
        DeviceDiscardInput();
        ForgetReplies();
    }
    s_nPacketNs = PacketNs();
    const bool sent = DeviceWriteData(buffer, kPacketBytes, 0) == kPacketBytes;
    if (sent) ExpectPacketReply();
    return sent;
}

// One tick of the simulation timer. A tick that is late for its run builds nothing.
void OnTick()
{
    CLineOwner line;
    if (s_pace != Pace::kTimer || IsStopRequested()) return;
    _SendNextPacket(false);
}

// False when the run was asked to end first.
bool WaitExternalSynchronizationSignal()
{
    CManualResetEvent* signal = g_PlaySyncEvent;
    if (signal == nullptr) return !IsStopRequested();
    CEvent* events[] = {&g_hStopPlayEvent, signal};
    return WaitForMultipleObjects(2, events, 0, kInfinite) == 1;
}

bool SendFirstPacket()
{
    CApiLock api;
    CLineOwner line;
    if (IsStopRequested()) return false;
    s_pace = IsInstrumentReady() ? Pace::kDevice : Pace::kTimer;
    if (s_pace == Pace::kDevice) {
        _StopSimulationTimer();
        SettlePendingReplies();  // one that is owed must not pass for the packet's
    }
    _SendNextPacket(true);
    if (s_pace == Pace::kDevice) g_hReadEvent.SetEvent();
    return true;
}

// Between a reply and the next packet the line is free: a command that waits for it holds the
// interrupt lock, and goes first.
void SendPacket()
{
    s_bPacketDue = true;
    g_hProcessRequestEvent.SetEvent();
    CLineOwner line;
    s_bPacketDue = false;
    if (!IsStopRequested() && s_pace == Pace::kDevice) {
        // Held up since before a pause of the run, this thread is also asked for the packet after it.
        g_hSendEvent.ResetEvent();
        _SendNextPacket(false);
        g_hReadEvent.SetEvent();
    }
    g_hProcessRequestEvent.ResetEvent();
}

void PlayUntilStopped()
{
    CEvent* events[] = {&g_hStopPlayEvent, &g_hSendEvent};
    while (WaitForMultipleObjects(2, events, 0, kInfinite) == 1) SendPacket();
    g_hProcessRequestEvent.SetEvent();
}

void* StartPlayThread(void*)
{
    if (!IsInstrumentReady()) _StartSimulationTimer(OnTick);
    g_fDelayAccumulated = 0.0;
    g_fPacingDelayAccumulated = 0.0;
    if (WaitExternalSynchronizationSignal() && SendFirstPacket()) {
        // The instrument may have gone while the run waited for its signal.
        if (!IsInstrumentReady()) _StartSimulationTimer(OnTick);
        PlayUntilStopped();
    }
    g_hStopReceiveEvent.SetEvent();
    _StopSimulationTimer();
    _SendStopPacket();
    s_steps.ended();
    return nullptr;
}
}  // namespace

void SetRunSteps(const RunSteps& steps) { s_steps = steps; }

bool PrepareRun()
{
    if (g_hPlayThread.IsRunning()) return false;
    CInterruptLock lock;
    g_hReadEvent.ResetEvent();
    g_hSendEvent.ResetEvent();
    g_hStopPlayEvent.ResetEvent();
    g_hStopReceiveEvent.ResetEvent();
    g_hProcessRequestEvent.ResetEvent();  // a set of the last run lets no command on a busy line
    s_SeqCheck = std::uint16_t{0};
    g_bChangeOnNextCycle = false;
    s_pace = Pace::kNone;
    s_PacingPulseRaised = false;
    s_PacingIndicationNeeded = false;
    g_UICounter = 0;
    s_t = 0.0;
    s_tg = 0.0;
    return true;
}

void StartRun() { g_hPlayThread.Start(StartPlayThread, nullptr); }

void StopRun()
{
    CInterruptLock packetIsBuilt;
    if (!s_ECGGoing && !g_hPlayThread.IsRunning()) return;
    s_ECGGoing = false;
    _StopSimulationTimer();
    s_t = 0.0;
    s_tg = 0.0;
    g_hStopPlayEvent.SetEvent();
}

bool IsRunGoing() { return g_hPlayThread.IsRunning() && !IsStopRequested(); }

void WaitForEndingRun()
{
    constexpr unsigned kLookMs = 50;  // another call may start the next run meanwhile
    if (IsInsideLibrary()) return;
    while (IsStopRequested() && !g_hPlayThread.Join(kLookMs)) {
    }
}

void RestartClock()
{
    CInterruptLock packetIsBuilt;
    g_UICounter = 0;
    s_tg = 0.0;
    s_t = 0.0;
}

void HoldRun()
{
    CInterruptLock lock;
    g_hReadEvent.ResetEvent();  // nothing is to be read before the next packet
    if (s_pace == Pace::kDevice) s_pace = Pace::kLost;
}

void ResumeRun()
{
    CInterruptLock lock;
    if (!IsRunGoing() || (s_pace != Pace::kTimer && s_pace != Pace::kLost)) return;
    _StopSimulationTimer();
    s_pace = Pace::kDevice;
    g_hSendEvent.SetEvent();
}

// The argument makes no difference. The line is the caller's, so a packet that sets off a command
// sends it before it goes out itself.
bool _SendNextPacket(bool)
{
    unsigned char buffer[kPacketBytes] = {};
    {
        CAutoCriticalSection building(g_PacketCriticalSection);
        DoSendNextPacket(buffer);
    }
    // A callback may have ended the run while the packet was built.
    if (!IsStopRequested()) s_ECGGoing = true;
    const bool sent = WritePacket(buffer);
    s_steps.packetSent();
    return sent;
}

void _SendStopPacket()
{
    unsigned char buffer[kPacketBytes] = {};
    CApiLock api;
    CInterruptLock interrupt;
    BuildStopPacket(buffer);
    CAutoResumePolling resume;
    PausePollingThread();
    s_ECGGoing = false;
    CAutoCriticalSection lock(g_AccessCriticalSection);
    ReadPendingReplies();
    if (g_bConnected == 0 && !g_bPortAdopted) return;  // a port that is only being probed
    if (DeviceWriteData(buffer, kPacketBytes, 1) == kPacketBytes) ExpectPacketReply();
    unsigned char reply[kReplyBytes];
    if (ReadReply(reply, sizeof reply) >= 1 && s_nRepliesPending > 0) s_nRepliesPending -= 1;
    s_nReplyGivenUpNs = MonotonicNs();  // one that comes later is not that of the next command
}

void EndRunForUnload()
{
    g_hStopPlayEvent.SetEvent();
    _StopSimulationTimer();
    g_hPlayThread.Join(kUnloadLimitMs);
    JoinSimulationTimer();
}
