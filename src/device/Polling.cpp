#include "device/Polling.h"

#include <unistd.h>

#include "device/Device.h"
#include "device/Exchange.h"
#include "device/SamplingFrames.h"

namespace {
constexpr useconds_t kPausedSleepUs = 10000;
constexpr useconds_t kRetrySleepUs = 10000;
constexpr unsigned kIdleWaitMs = 100;
constexpr unsigned kJoinLimitMs = 10000;
constexpr unsigned kSamplingHeadBytes = 8;
constexpr std::uint8_t kSamplingGroup = 0xAD;
constexpr std::uint8_t kSamplingDirection = 0xFF;
constexpr std::int64_t kNsPerMs = 1000000;
// Longer than any packet plays.
constexpr std::int64_t kLostReplyNs = 2000 * kNsPerMs;

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

// What the poll thread has read while a signal streams.
enum class StreamRead { kNothing, kSamplingFrame, kUnreadReply, kPacketReply };

// The access lock pairs the read with the flag: whoever reads the reply to a packet clears it.
StreamRead ReadStreamReply()
{
    CAutoCriticalSection lock(g_AccessCriticalSection);
    unsigned char reply[kReplyBytes];
    const unsigned count = DeviceReadData(reply, sizeof reply);
    if (count < 1) return StreamRead::kNothing;
    if (KeepSamplingFrame(reply, count)) return StreamRead::kSamplingFrame;
    if (s_nRepliesUnread > 0) {
        s_nRepliesUnread -= 1;
        return StreamRead::kUnreadReply;
    }
    s_nRepliesPending = 0;
    return StreamRead::kPacketReply;
}

// Under the interrupt lock.
void HandOn(const std::uint8_t* block, unsigned length)
{
    void (*handler)(const std::uint8_t*, unsigned) = s_samplingHandler;
    if (g_PPG_PDSamplingRunning && length >= kSamplingHeadBytes && block[0] == kSamplingGroup &&
        block[1] == kSamplingDirection && handler != nullptr) {
        handler(block, length);
    }
}

void HandOnKeptFrames()
{
    std::uint8_t frame[kReplyBytes];
    while (TakeKeptFrame(frame)) HandOn(frame, kReplyBytes);
}

// Reads until the reply to the packet that is out has come. True when it lets the next packet go.
class CPacketReply {
public:
    bool Read()
    {
        switch (ReadStreamReply()) {
            case StreamRead::kPacketReply: tookUnreadNs_ = 0; return true;
            case StreamRead::kUnreadReply: tookUnreadNs_ = MonotonicNs(); return false;
            case StreamRead::kSamplingFrame: return false;
            case StreamRead::kNothing: break;
        }
        usleep(kRetrySleepUs);
        // The reply that was left unread has never come: the one taken for it was the packet's.
        if (tookUnreadNs_ == 0 || MonotonicNs() - tookUnreadNs_ < kLostReplyNs) return false;
        tookUnreadNs_ = 0;
        return true;
    }

private:
    std::int64_t tookUnreadNs_ = 0;
};

// Until the thread is told to end or the run stops: one reply is read for each packet sent, and lets
// the next one go. Being told to end comes first: a read that is repeated sets its own event. A
// command that waits for the line holds the interrupt lock until the play thread has got that reply,
// so photodiode frames are handed on when the lock is free.
void PollStream()
{
    CEvent* events[] = {&s_hStopPoll, &g_hStopReceiveEvent, &g_hReadEvent};
    CPacketReply packetReply;
    while (s_ECGGoing && !s_bStopPool) {
        const int index = WaitForMultipleObjects(3, events, 0, kInfinite);
        if (index == 1) g_hProcessRequestEvent.SetEvent();
        if (index != 2) return;
        (packetReply.Read() ? g_hSendEvent : g_hReadEvent).SetEvent();
        if (HasKeptFrames()) RunIfInterruptLockIsFree(HandOnKeptFrames);
    }
}

bool MayReadIdle() { return g_hPollingEvent.WaitTimeout(0) == 0 && !s_ECGGoing && !s_bStopPool; }

// The event is set before the interrupt lock is taken, so that a command that waits for a free line
// while sampling runs goes first. The frames that it met are younger than the block.
void DispatchBlock(const std::uint8_t* block, unsigned length)
{
    g_hProcessRequestEvent.SetEvent();
    CPassedInterruptLock lock;
    HandOn(block, length);
    HandOnKeptFrames();
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
    if (HasKeptFrames()) DispatchBlock(nullptr, 0);
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
        if (HasKeptFrames()) return;  // these come first
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
