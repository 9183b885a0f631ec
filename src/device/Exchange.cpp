#include "device/Exchange.h"

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstring>

#include "device/Device.h"
#include "device/SamplingFrames.h"

namespace {
constexpr useconds_t kPauseUs = 1000;  // a read of the poll thread in progress ends
constexpr unsigned kPassWaitMs = 10;
constexpr int kPassLooks = 20;
constexpr unsigned kRecheckMs = 50;       // whether there is still something to wait for
constexpr unsigned kSensorWaitMs = 1000;  // a silent photodiode sensor never locks the API
constexpr std::int64_t kNsPerMs = 1000000;

thread_local bool t_isPollingThread = false;
thread_local bool t_sentSamplingCommand = false;
thread_local std::int64_t t_requestNs = 0;
thread_local int t_interruptDepth = 0;
thread_local int t_apiDepth = 0;
thread_local int t_lineOwnerDepth = 0;
thread_local int t_exchangeDepth = 0;
thread_local int t_longCallDepth = 0;

enum class LineState { kNotTaken, kGranted, kGivenUp };
thread_local LineState t_line = LineState::kNotTaken;

std::atomic<int> s_callsInside{0};
std::atomic<bool> s_sentSamplingCommand{false};  // of whatever thread, last

// How many threads of the library want the line to themselves, and that one has got it.
std::atomic<int> s_waitingToPass{0};
CManualResetEvent s_passed(false);

// How many callers want the waiting commands gone, and the event that tells them.
std::atomic<int> s_releasers{0};
CSimpleCriticalSection s_releaseSection;
CManualResetEvent s_release(false);

// Reads away the replies that come late, or does without them.
void ForgetPendingReplies() REQUIRES(g_AccessCriticalSection)
{
    ReadPendingReplies();
    ForgetReplies();
}

// A reply that a command gave up may be late by as much as the command waited.
std::int64_t LateReplyDeadline()
{
    std::int64_t startNs = s_nReplyGivenUpNs;
    if (startNs == 0 || s_nRepliesUnread > 0) startNs = MonotonicNs();
    return DeviceReadDeadline(startNs);
}

// Replies that commands have given up may still come, and nothing else: the next command goes out
// at once and tells its own reply from theirs.
bool OnlyLateRepliesMayCome() REQUIRES(g_AccessCriticalSection)
{
    return s_nRepliesPending > 0 && s_nReplyGivenUpNs != 0 && s_nRepliesUnread == 0 &&
           !s_ECGGoing && !s_bFramesMayCome;
}

// A port that the application handed over has no poll thread: what lies on it is the reply, but
// for that of a sampling command, which may have taken a frame for it.
void DropInput() REQUIRES(g_AccessCriticalSection)
{
    if (g_bPortAdopted && g_bConnected == 0 && !s_sentSamplingCommand) return;
    unsigned char block[kReplyBytes];
    while (s_bFramesMayCome && KeepSamplingFrame(block, DeviceReadAvailable(block, sizeof block))) {
    }
    const unsigned whole = DeviceDiscardInput() / kReplyBytes;
    s_nRepliesPending -= std::min<int>(s_nRepliesPending, static_cast<int>(whole));
}

void QuietLine()
{
    PausePollingThread();
    if (!s_bPortHeld) usleep(kPauseUs);  // there is no poll thread otherwise
    // The reply to the last packet of a run that is ending, or to a command that got none in time,
    // and whatever came unasked, is not the reply to the command that follows.
    CAutoCriticalSection lock(g_AccessCriticalSection);
    if (!OnlyLateRepliesMayCome() || MonotonicNs() > LateReplyDeadline()) ForgetPendingReplies();
    DropInput();
}

// Until the moment between a reply and the next packet, or between two photodiode frames. The
// interrupt lock is held meanwhile: whoever offers the line says so before it asks for that lock.
bool WaitForFreeLine(std::int64_t deadline)
{
    CEvent* events[] = {&g_hProcessRequestEvent, &s_release};
    const std::int64_t sensorDeadline =
        MonotonicNs() + static_cast<std::int64_t>(kSensorWaitMs) * kNsPerMs;
    for (;;) {
        if (!IsInstrumentReady()) return false;
        if (IsLineBusy() && IsLineOffered()) {
            if (!s_ECGGoing) SettlePendingReplies();
            return true;
        }
        const bool sensorIsSilent = !s_ECGGoing && MonotonicNs() > sensorDeadline;
        if (!IsLineBusy() || sensorIsSilent) {
            QuietLine();
            return true;
        }
        // Nobody else would read the reply that frees the line; without one the line is free.
        if (t_isPollingThread) return s_nRepliesPending + s_nRepliesUnread == 0;
        if (MonotonicNs() > deadline) return false;
        const int index = WaitForMultipleObjects(2, events, 0, kRecheckMs);
        if (index == 1) return false;
        if (index == 0 && !IsLineOffered()) g_hProcessRequestEvent.ResetEvent();  // of another gap
    }
}

bool TakeLineForThisThread(unsigned limitMs)
{
    if (t_lineOwnerDepth > 0) {
        // Before the first packet the poll thread still reads; later the line is the caller's.
        if (!s_ECGGoing) QuietLine();
        return true;
    }
    if (IsInstrumentReady() && IsLineBusy()) {
        const std::int64_t limitNs = static_cast<std::int64_t>(limitMs) * kNsPerMs;
        return WaitForFreeLine(MonotonicNs() + limitNs);
    }
    QuietLine();
    return true;
}

// A reply that is shorter than a frame has nothing behind it; the rest of a frame is read away.
bool IsWholeStrayFrame(const std::uint8_t* reply, unsigned count) REQUIRES(g_AccessCriticalSection)
{
    if (!IsStrayFrame(reply, count)) return false;
    if (count >= kReplyBytes) return true;
    std::uint8_t rest[kReplyBytes];
    const unsigned missing = kReplyBytes - count;
    return DeviceReadAvailable(rest, missing) == missing;
}

// Photodiode frames that come before the reply are kept for the poll thread.
unsigned ReadReplyUntil(std::uint8_t* reply, unsigned length, std::int64_t deadline, unsigned* came)
    REQUIRES(g_AccessCriticalSection)
{
    for (;;) {
        const unsigned count = DeviceReadUntil(reply, length, deadline, came);
        if (t_sentSamplingCommand && IsSamplingAcknowledge(reply, count)) return count;
        if (KeepSamplingFrame(reply, count)) continue;
        if (count < length || t_sentSamplingCommand || !IsWholeStrayFrame(reply, count)) {
            return count;
        }
    }
}

// While replies that earlier commands gave up may come, more may follow what was taken for the own
// one. Before it, late ones come at any time and the own one right behind them; behind it, it is the
// own one that has come soon. So the longer of the two waits was for a late one.
void SkipLateReplies(std::uint8_t* reply, unsigned length) REQUIRES(g_AccessCriticalSection)
{
    const std::int64_t firstNs = MonotonicNs();
    const std::int64_t deadline = LateReplyDeadline();
    const unsigned expected = static_cast<unsigned>(s_nRepliesPending) * kReplyBytes;
    bool isFirstOwn = false;
    for (unsigned skipped = 0; skipped < expected && DeviceWaitReadableUntil(deadline);) {
        std::uint8_t block[kReplyBytes];
        const unsigned count = DeviceReadAvailable(block, length);
        if (count == 0) break;  // hung up
        if (skipped == 0) isFirstOwn = MonotonicNs() - firstNs > firstNs - t_requestNs;
        skipped += count;
        if (isFirstOwn) continue;
        std::memmove(reply, reply + count, length - count);
        std::memcpy(reply + length - count, block, count);
    }
    s_nRepliesPending = 0;
}

void GiveReplyUp()
{
    const bool packetIsOut = s_nRepliesPending > 0 && s_nReplyGivenUpNs == 0;
    if (!packetIsOut) s_nReplyGivenUpNs = MonotonicNs();
    s_nRepliesPending += 1;
}
}  // namespace

unsigned ReadReply(std::uint8_t* reply, unsigned length, unsigned* came)
{
    CAutoCriticalSection lock(g_AccessCriticalSection);
    return ReadReplyUntil(reply, length, DeviceReadDeadline(MonotonicNs()), came);
}

void ForgetReplies()
{
    CAutoCriticalSection lock(g_AccessCriticalSection);
    s_nRepliesPending = 0;
    s_nRepliesUnread = 0;
}

void ExpectPacketReply()
{
    s_nReplyGivenUpNs = 0;
    s_nRepliesPending += 1;
}

void ReadPendingReplies()
{
    CAutoCriticalSection lock(g_AccessCriticalSection);
    unsigned char reply[kReplyBytes];
    while (s_nRepliesPending + s_nRepliesUnread > 0 &&
           ReadReplyUntil(reply, sizeof reply, LateReplyDeadline(), nullptr) >= 1) {
        Shared<int>& count = s_nRepliesUnread > 0 ? s_nRepliesUnread : s_nRepliesPending;
        count -= 1;
    }
}

void SettlePendingReplies()
{
    CAutoCriticalSection lock(g_AccessCriticalSection);
    if (s_nRepliesPending > 0) ForgetPendingReplies();
}

void PausePollingThread() { g_hPollingEvent.ResetEvent(); }
void ResumePollingThread() { g_hPollingEvent.SetEvent(); }

CApiLock::CApiLock() NO_THREAD_SAFETY_ANALYSIS
{
    s_callsInside.fetch_add(1);
    if (t_interruptDepth > 0 && t_apiDepth == 0) {
        taken_ = g_APICriticalSection.TryLock();
    } else {
        g_APICriticalSection.Lock();
        taken_ = true;
    }
    if (taken_) ++t_apiDepth;
}

CApiLock::~CApiLock() NO_THREAD_SAFETY_ANALYSIS
{
    if (taken_) {
        --t_apiDepth;
        g_APICriticalSection.Unlock();
    }
    s_callsInside.fetch_sub(1);
}

int CApiLock::CallsInside() { return s_callsInside.load(); }

bool CApiLock::IsHeldByThisThread() { return t_apiDepth > 0; }

CLongCall::CLongCall()
{
    s_callsInside.fetch_add(1);
    ++t_longCallDepth;
}

CLongCall::~CLongCall()
{
    --t_longCallDepth;
    s_callsInside.fetch_sub(1);
}

bool CLongCall::IsOnThisThread() { return t_longCallDepth > 0; }

void CLongCall::LetOthersIn()
{
    constexpr int kOwnCall = 1;
    if (CApiLock::IsHeldByThisThread()) return;
    if (CApiLock::CallsInside() > kOwnCall) SleepMilliseconds(1);
}

CInterruptLock::CInterruptLock()
{
    g_InterruptCriticalSection.Lock();
    ++t_interruptDepth;
}

CInterruptLock::~CInterruptLock()
{
    --t_interruptDepth;
    g_InterruptCriticalSection.Unlock();
}

bool CInterruptLock::IsHeldByThisThread() { return t_interruptDepth > 0; }

CPassedInterruptLock::CPassedInterruptLock()
{
    s_waitingToPass.fetch_add(1);
    g_InterruptCriticalSection.Lock();
    s_waitingToPass.fetch_sub(1);
    s_passed.SetEvent();
    ++t_interruptDepth;
}

CPassedInterruptLock::~CPassedInterruptLock()
{
    --t_interruptDepth;
    g_InterruptCriticalSection.Unlock();
}

CPassingTurn::CPassingTurn() { s_waitingToPass.fetch_add(1); }

bool CPassingTurn::TryTake() NO_THREAD_SAFETY_ANALYSIS
{
    if (!g_InterruptCriticalSection.TryLock()) return false;
    taken_ = true;
    ++t_interruptDepth;
    return true;
}

CPassingTurn::~CPassingTurn() NO_THREAD_SAFETY_ANALYSIS
{
    s_waitingToPass.fetch_sub(1);
    s_passed.SetEvent();
    if (!taken_) return;
    --t_interruptDepth;
    g_InterruptCriticalSection.Unlock();
}

void MarkPollingThread() { t_isPollingThread = true; }

CLineOwner::CLineOwner() NO_THREAD_SAFETY_ANALYSIS { ++t_lineOwnerDepth; }
CLineOwner::~CLineOwner() NO_THREAD_SAFETY_ANALYSIS { --t_lineOwnerDepth; }

CReleaseWaitingCommands::CReleaseWaitingCommands()
{
    CAutoCriticalSection lock(s_releaseSection);
    s_releasers.fetch_add(1);
    s_release.SetEvent();
}

CReleaseWaitingCommands::~CReleaseWaitingCommands()
{
    CAutoCriticalSection lock(s_releaseSection);
    if (s_releasers.fetch_sub(1) == 1) s_release.ResetEvent();
}

void CReleaseWaitingCommands::WaitForOthers()
{
    constexpr int kMostLooks = 2000;
    if (IsInsideLibrary()) return;
    for (int i = 0; i < kMostLooks && s_releasers > 0; ++i) SleepMilliseconds(1);
}

CExchange::CExchange(Line) NO_THREAD_SAFETY_ANALYSIS { ++t_exchangeDepth; }

CExchange::CExchange() NO_THREAD_SAFETY_ANALYSIS : CExchange(Line::kLater) { TakeLine(); }

CExchange::~CExchange() NO_THREAD_SAFETY_ANALYSIS
{
    if (--t_exchangeDepth > 0 || t_line == LineState::kNotTaken) return;
    t_line = LineState::kNotTaken;
    ResumePollingThread();
}

CExchange::CPassLine::~CPassLine()
{
    if (t_interruptDepth > 0) return;  // the line stays with this thread
    for (int i = 0; i < kPassLooks; ++i) {
        s_passed.ResetEvent();
        if (s_waitingToPass == 0) return;
        s_passed.WaitTimeout(kPassWaitMs);
    }
}

bool CExchange::TakeLine(unsigned limitMs)
{
    if (t_line == LineState::kNotTaken) {
        t_line = TakeLineForThisThread(limitMs) ? LineState::kGranted : LineState::kGivenUp;
    }
    return t_line == LineState::kGranted;
}

bool CExchange::Send(const std::uint8_t* request, unsigned length) NO_THREAD_SAFETY_ANALYSIS
{
    return SendRequest(request, length);
}

bool CExchange::Receive(std::uint8_t* reply, unsigned length) NO_THREAD_SAFETY_ANALYSIS
{
    return ReceiveReply(reply, length);
}

bool CExchange::Transact(const std::uint8_t* request, unsigned length,
                         std::uint8_t (&reply)[kReplyBytes],
                         unsigned waitMs) NO_THREAD_SAFETY_ANALYSIS
{
    if (!SendRequest(request, length)) return false;
    if (waitMs != 0) SleepMilliseconds(waitMs);
    return ReceiveReply(reply, kReplyBytes);
}

void CExchange::LeaveReplyUnread()
{
    CAutoCriticalSection lock(g_AccessCriticalSection);
    s_nRepliesUnread += 1;
}

bool SendRequest(const std::uint8_t* request, unsigned length)
{
    if (t_line == LineState::kGranted && s_nRepliesUnread > 0) {
        CAutoCriticalSection lock(g_AccessCriticalSection);
        ReadPendingReplies();
    }
    t_sentSamplingCommand = IsSamplingCommand(request, length);
    s_sentSamplingCommand = t_sentSamplingCommand;
    t_requestNs = MonotonicNs();
    return t_line == LineState::kGranted && DeviceWriteData(request, length, 1) == length;
}

bool ReceiveReply(std::uint8_t* reply, unsigned length)
{
    std::memset(reply, 0, length);
    if (t_line != LineState::kGranted) return false;
    CAutoCriticalSection lock(g_AccessCriticalSection);
    unsigned came = 0;
    const bool complete = ReadReply(reply, length, &came) == length;
    if (complete && OnlyLateRepliesMayCome()) SkipLateReplies(reply, length);
    // The reply may still come. Idle, it is read away before the next command goes out; during a
    // run it comes before the reply to the next packet, unless a part of it has come.
    if (!complete && !s_ECGGoing) GiveReplyUp();
    if (came == 0 && s_ECGGoing) s_nRepliesUnread += 1;
    return complete;
}
