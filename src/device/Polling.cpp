#include "device/Polling.h"

#include <unistd.h>

#include "device/Device.h"
#include "device/Exchange.h"
#include "device/SamplingFrames.h"

namespace {
constexpr useconds_t kPausedSleepUs = 10000;
constexpr useconds_t kRetrySleepUs = 10000;
constexpr unsigned kIdleWaitMs = 100;
constexpr std::int64_t kNsPerMs = 1000000;
// Beyond the time of two packets a reply that has not come is lost.
constexpr std::int64_t kLostReplyNs = 300 * kNsPerMs;
constexpr useconds_t kTurnPauseUs = 500;
constexpr int kMostLooksWhilePacketIsOut = 40;

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
    if (!s_ECGGoing) return StreamRead::kNothing;  // what comes now is for others
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
    if (handler != nullptr && g_PPG_PDSamplingRunning && IsSamplingBlock(block, length)) {
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
            case StreamRead::kSamplingFrame: break;
            case StreamRead::kNothing: usleep(kRetrySleepUs); break;
        }
        // The reply that was left unread has never come: the one taken for it was the packet's.
        const std::int64_t limit = 2 * s_nPacketNs + kLostReplyNs;
        if (tookUnreadNs_ == 0 || MonotonicNs() - tookUnreadNs_ < limit) return false;
        tookUnreadNs_ = 0;
        return true;
    }

private:
    std::int64_t tookUnreadNs_ = 0;
};

// A turn at the interrupt lock, between the reply to a packet and the next packet: it is asked for
// before the play thread may go on. The command that has the lock, if any, needs no reply that this
// thread would have to read, and lets both threads through when it ends. Once the next packet is out
// there is little time left.
void HandOnInTurn(CPassingTurn& turn)
{
    for (int looks = 0; s_ECGGoing && !s_bStopPool && looks < kMostLooksWhilePacketIsOut;) {
        if (turn.TryTake()) return HandOnKeptFrames();
        usleep(kTurnPauseUs);
        if (s_nRepliesPending > 0) ++looks;
    }
}

bool HandOnAtOnce()
{
    CPassingTurn turn;
    if (!turn.TryTake()) return false;
    HandOnKeptFrames();
    return true;
}

void LetNextPacketGo()
{
    if (!HasKeptFrames() || HandOnAtOnce()) return g_hSendEvent.SetEvent();
    CPassingTurn turn;
    g_hSendEvent.SetEvent();
    HandOnInTurn(turn);
}

// Until the thread is told to end or the run stops: one reply is read for each packet sent, and lets
// the next one go. Being told to end comes first: a read that is repeated sets its own event.
void PollStream()
{
    CEvent* events[] = {&s_hStopPoll, &g_hStopReceiveEvent, &g_hReadEvent};
    CPacketReply packetReply;
    while (s_ECGGoing && !s_bStopPool) {
        const int index = WaitForMultipleObjects(3, events, 0, kInfinite);
        if (index == 1) g_hProcessRequestEvent.SetEvent();
        if (index != 2) return;
        if (packetReply.Read()) {
            LetNextPacketGo();
        } else {
            g_hReadEvent.SetEvent();
        }
    }
}

bool MayReadIdle() { return g_hPollingEvent.WaitTimeout(0) == 0 && !s_ECGGoing && !s_bStopPool; }

// The line is offered before the interrupt lock is taken, so that a command that waits for it goes
// first. The frames that it met are younger than the block. When a run begins meanwhile, this thread
// is needed to read, and hands the block on in the first gap.
void DispatchBlock(const std::uint8_t* block, unsigned length)
{
    CPassingTurn turn;
    s_bFrameInHand = true;
    g_hProcessRequestEvent.SetEvent();
    bool hasTurn = turn.TryTake();
    while (!hasTurn && !s_ECGGoing && !s_bStopPool) {
        usleep(kTurnPauseUs);
        hasTurn = turn.TryTake();
    }
    if (hasTurn) {
        HandOn(block, length);
        HandOnKeptFrames();
    } else {
        ReturnSamplingFrame(block, length);
    }
    s_bFrameInHand = false;
}

// A reply that was given up comes as a block.
void CountLateReply(const IncomingBlock& incoming) REQUIRES(g_AccessCriticalSection)
{
    const bool isReply = incoming.length == kReplyBytes && s_nRepliesPending > 0 &&
                         !IsSamplingBlock(incoming.bytes, incoming.length);
    if (isReply) s_nRepliesPending -= 1;
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
        if (MonotonicNs() > DeviceReadDeadline(incoming.startedNs)) incoming.length = 0;
        if (incoming.length == 0) incoming.startedNs = MonotonicNs();
        const unsigned count =
            DeviceReadAvailable(incoming.bytes + incoming.length, kReplyBytes - incoming.length);
        incoming.length += count;
        CountLateReply(incoming);
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
    MarkPollingThread();
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

bool StartPollingThread()
{
    CJoinableThread& thread = s_pPollingThread;
    if (thread.IsRunning() && !s_bStopPool) return true;
    if (thread.IsRunning()) thread.Join(kPollingJoinMs);
    s_bStopPool = false;
    s_hStopPoll.ResetEvent();
    g_hPollingEvent.SetEvent();
    return thread.Start(USBDataPollThread, nullptr);
}

void StopPollingThread()
{
    s_bStopPool = true;
    g_hPollingEvent.ResetEvent();
    s_hStopPoll.SetEvent();
}

void JoinPollingThread(unsigned withinMs)
{
    if (s_bStopPool) s_pPollingThread.Join(withinMs);
}

void SetSamplingHandler(void (*handler)(const std::uint8_t* block, unsigned length))
{
    s_samplingHandler = handler;
}
