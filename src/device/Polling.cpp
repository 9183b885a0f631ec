#include "device/Polling.h"

#include <unistd.h>

#include "device/Device.h"
#include "device/Exchange.h"

namespace {
constexpr useconds_t kPausedSleepUs = 10000;
constexpr useconds_t kRetrySleepUs = 10000;
constexpr unsigned kIdleWaitMs = 100;
constexpr unsigned kJoinLimitMs = 10000;
constexpr unsigned kSamplingHeadBytes = 8;
constexpr std::uint8_t kSamplingGroup = 0xAD;
constexpr std::uint8_t kSamplingDirection = 0xFF;
constexpr std::int64_t kNsPerMs = 1000000;

CJoinableThread s_pPollingThread;
Shared<bool> s_bStopPool = false;
CManualResetEvent s_hStopPoll(false);
Shared<void (*)(const std::uint8_t*, unsigned)> s_samplingHandler = nullptr;

// A block of unsolicited data as it comes in. Bytes that stay alone longer than a read may take are
// dropped.
struct IncomingBlock {
    std::uint8_t bytes[kReplyBytes];
    unsigned length = 0;
    std::int64_t startedNs = 0;
};

// The access lock pairs the read with the flag: whoever reads the reply to a packet clears it.
bool ReadStreamReply()
{
    CAutoCriticalSection lock(g_AccessCriticalSection);
    unsigned char reply[kReplyBytes];
    if (DeviceReadData(reply, sizeof reply) < 1) return false;
    s_nRepliesPending = 0;
    return true;
}

// Until the thread is told to end or the run stops: one reply is read for each packet sent, and lets
// the next one go. Being told to end comes first: a read that is repeated sets its own event.
void PollStream()
{
    CEvent* events[] = {&s_hStopPoll, &g_hStopReceiveEvent, &g_hReadEvent};
    while (s_ECGGoing && !s_bStopPool) {
        const int index = WaitForMultipleObjects(3, events, 0, kInfinite);
        if (index == 1) g_hProcessRequestEvent.SetEvent();
        if (index != 2) return;
        if (ReadStreamReply()) {
            g_hSendEvent.SetEvent();
        } else {
            usleep(kRetrySleepUs);
            g_hReadEvent.SetEvent();
        }
    }
}

bool MayReadIdle() { return g_hPollingEvent.WaitTimeout(0) == 0 && !s_ECGGoing && !s_bStopPool; }

// The event is set before the interrupt lock is taken, so that a command that waits for a free line
// while sampling runs goes first.
void DispatchBlock(const std::uint8_t* block, unsigned length)
{
    g_hProcessRequestEvent.SetEvent();
    CInterruptLock lock;
    void (*handler)(const std::uint8_t*, unsigned) = s_samplingHandler;
    if (g_PPG_PDSamplingRunning && length >= kSamplingHeadBytes && block[0] == kSamplingGroup &&
        block[1] == kSamplingDirection && handler != nullptr) {
        handler(block, length);
    }
    g_hProcessRequestEvent.ResetEvent();
}

// Waits without the access lock, and looks again whether reading is allowed once it holds it: a
// command that pauses the thread never waits for a read of it.
void PollIdle(IncomingBlock& incoming)
{
    if (DeviceIsConnected() == 0) {
        usleep(kPausedSleepUs);
        return;
    }
    if (!DeviceWaitReadable(kIdleWaitMs)) {
        incoming.length = 0;
        return;
    }
    bool hungUp = false;
    {
        CAutoCriticalSection lock(g_AccessCriticalSection);
        if (!MayReadIdle()) {
            incoming.length = 0;
            return;
        }
        const std::int64_t budget = static_cast<std::int64_t>(g_nDeviceReadTimeout) * kNsPerMs;
        if (incoming.length > 0 && MonotonicNs() - incoming.startedNs > budget) incoming.length = 0;
        if (incoming.length == 0) incoming.startedNs = MonotonicNs();
        const unsigned count =
            DeviceReadAvailable(incoming.bytes + incoming.length, kReplyBytes - incoming.length);
        incoming.length += count;
        hungUp = count == 0;  // readable and empty
    }
    if (hungUp) usleep(kPausedSleepUs);
    if (incoming.length < kReplyBytes) return;
    DispatchBlock(incoming.bytes, incoming.length);
    incoming.length = 0;
}

void _USBDataPoll(IncomingBlock& incoming)
{
    if (s_ECGGoing) {
        incoming.length = 0;
        PollStream();
    } else {
        PollIdle(incoming);
    }
}

void* USBDataPollThread(void*)
{
    IncomingBlock incoming;
    while (!s_bStopPool) {
        if (g_hPollingEvent.WaitTimeout(0) != 0) {
            incoming.length = 0;
            usleep(kPausedSleepUs);
        } else {
            _USBDataPoll(incoming);
        }
    }
    return nullptr;
}
}  // namespace

void StartPollingThread()
{
    CJoinableThread& thread = s_pPollingThread;
    if (thread.IsRunning() && !s_bStopPool) return;
    if (thread.IsRunning()) thread.Join(kJoinLimitMs);
    s_bStopPool = false;
    s_hStopPoll.ResetEvent();
    g_hPollingEvent.SetEvent();
    thread.Start(USBDataPollThread, nullptr);
}

void StopPollingThread()
{
    s_bStopPool = true;
    g_hPollingEvent.ResetEvent();
    s_hStopPoll.SetEvent();
}

void JoinPollingThread()
{
    if (s_bStopPool) s_pPollingThread.Join(kJoinLimitMs);
}

void SetSamplingHandler(void (*handler)(const std::uint8_t* block, unsigned length))
{
    s_samplingHandler = handler;
}
