// The discipline of every command: locks, the free line, write, read. Written here once; a command
// is then its bytes and the check of its reply.
//
// Lock order on every thread: API, interrupt, access. The thread that builds a packet holds the
// interrupt lock and owns the line: what it sends goes out without the API lock and without waiting.
#pragma once

#include <cstddef>
#include <cstdint>

#include "device/LineState.h"

constexpr unsigned kReplyBytes = 64;

extern CSimpleCriticalSection g_InterruptCriticalSection;
extern CSimpleCriticalSection g_APICriticalSection ACQUIRED_BEFORE(g_InterruptCriticalSection);

// Set: the poll thread may read. Reset: it is paused.
extern CManualResetEvent g_hPollingEvent;
void PausePollingThread();
void ResumePollingThread();

class CAutoResumePolling {
public:
    CAutoResumePolling() = default;
    ~CAutoResumePolling() { ResumePollingThread(); }
    CAutoResumePolling(const CAutoResumePolling&) = delete;
    CAutoResumePolling& operator=(const CAutoResumePolling&) = delete;
};

// The API lock of an exported call. A thread that already holds the interrupt lock is in a callback
// of the library: waiting there for the API lock could never end, so it goes on without when
// another thread has it. What it may touch then is guarded by the interrupt lock or is Shared.
class SCOPED_CAPABILITY CApiLock {
public:
    CApiLock() ACQUIRE(g_APICriticalSection);
    ~CApiLock() RELEASE();
    CApiLock(const CApiLock&) = delete;
    CApiLock& operator=(const CApiLock&) = delete;

    static bool IsHeldByThisThread();
    // How many calls hold the lock, wait for it, or are long ones.
    static int CallsInside();

private:
    bool taken_;
};

class SCOPED_CAPABILITY CInterruptLock {
public:
    CInterruptLock() ACQUIRE(g_InterruptCriticalSection);
    ~CInterruptLock() RELEASE();
    CInterruptLock(const CInterruptLock&) = delete;
    CInterruptLock& operator=(const CInterruptLock&) = delete;

    static bool IsHeldByThisThread();
};

// A call that takes the locks for each of its exchanges alone, and calls the application in between.
class CLongCall {
public:
    CLongCall();
    ~CLongCall();
    CLongCall(const CLongCall&) = delete;
    CLongCall& operator=(const CLongCall&) = delete;

    static bool IsOnThisThread();
    // Between two exchanges: a call of another thread that waits for the API lock comes first.
    static void LetOthersIn();
};

// The calling thread is in a callback of the library, which runs under one of its locks or in the
// middle of a long call: it must not wait for a thread of the library, which may wait for that.
inline bool IsInsideLibrary()
{
    return CApiLock::IsHeldByThisThread() || CInterruptLock::IsHeldByThisThread() ||
           CLongCall::IsOnThisThread();
}

// The interrupt lock for the threads that feed the stream and the photodiode listeners: a command
// that ends lets the one that waits here go first.
class SCOPED_CAPABILITY CPassedInterruptLock {
public:
    CPassedInterruptLock() ACQUIRE(g_InterruptCriticalSection);
    ~CPassedInterruptLock() RELEASE();
    CPassedInterruptLock(const CPassedInterruptLock&) = delete;
    CPassedInterruptLock& operator=(const CPassedInterruptLock&) = delete;
};

// The same for the poll thread, which must never stand at the lock when there is a reply to read: from
// its construction it is one that waits, but it can go back to reading without having got the lock.
class CPassingTurn {
public:
    CPassingTurn();
    ~CPassingTurn();
    CPassingTurn(const CPassingTurn&) = delete;
    CPassingTurn& operator=(const CPassingTurn&) = delete;

    // Never waits.
    bool TryTake();

private:
    bool taken_ = false;
};

// Called by the poll thread at its start. A listener that it calls never waits for what this thread
// alone can read.
void MarkPollingThread();

// Held by the thread that builds and sends a packet, together with the interrupt lock.
class SCOPED_CAPABILITY CLineOwner {
public:
    CLineOwner() ACQUIRE(g_InterruptCriticalSection);
    ~CLineOwner() RELEASE();
    CLineOwner(const CLineOwner&) = delete;
    CLineOwner& operator=(const CLineOwner&) = delete;

private:
    CPassedInterruptLock lock_;
};

// Released while it lives: commands that wait for the free line give up, so that its owner gets the
// API lock.
class CReleaseWaitingCommands {
public:
    CReleaseWaitingCommands();
    ~CReleaseWaitingCommands();
    // Until no other caller wants them gone, within 2 s. Called without a lock; a callback does not
    // wait.
    static void WaitForOthers();
    CReleaseWaitingCommands(const CReleaseWaitingCommands&) = delete;
    CReleaseWaitingCommands& operator=(const CReleaseWaitingCommands&) = delete;
};

// One exchange with the instrument, or several that belong together. May be nested: the inner one
// goes out within the outer one's hold.
class SCOPED_CAPABILITY CExchange {
public:
    // Takes the locks and the line: pauses the poll thread, or, while a connected instrument
    // streams, waits until the line is free between a reply and the next packet.
    CExchange() ACQUIRE(g_APICriticalSection, g_InterruptCriticalSection);
    // Takes the locks alone; the line comes with TakeLine().
    enum class Line { kLater };
    explicit CExchange(Line later) ACQUIRE(g_APICriticalSection, g_InterruptCriticalSection);
    ~CExchange() RELEASE();
    CExchange(const CExchange&) = delete;
    CExchange& operator=(const CExchange&) = delete;

    // False when the wait was given up because the output is being stopped, the instrument went or
    // the time is over; then nothing can be sent.
    bool TakeLine(unsigned limitMs = kInfinite);

    // All bytes went out.
    bool Send(const std::uint8_t* request, unsigned length);
    // All bytes came; the rest of `reply` is zero.
    bool Receive(std::uint8_t* reply, unsigned length = kReplyBytes);
    // Send, wait, receive a whole reply.
    bool Transact(const std::uint8_t* request, unsigned length, std::uint8_t (&reply)[kReplyBytes],
                  unsigned waitMs = 0);
    // The reply to what was sent is not read: whoever reads next drops it.
    void LeaveReplyUnread();

private:
    // After the interrupt lock was given back and before the API lock is: the thread that waits to
    // send the next packet, or to hand on a photodiode frame, comes first, so that one command goes
    // into one gap.
    class CPassLine {
    public:
        CPassLine() = default;
        ~CPassLine();
        CPassLine(const CPassLine&) = delete;
        CPassLine& operator=(const CPassLine&) = delete;
    };

    CApiLock api_;
    CPassLine pass_;
    CInterruptLock interrupt_;
};

// As DeviceReadData, but photodiode frames that come before the reply are kept for the poll thread.
// `came`: how many bytes of a reply that is not whole.
unsigned ReadReply(std::uint8_t* reply, unsigned length, unsigned* came = nullptr);

// Nothing is under way on the port any more, or it is another port.
void ForgetReplies();

// A packet has been written, and its reply may come. The caller holds g_AccessCriticalSection.
void ExpectPacketReply();

// Reads the replies that may still come: to a packet, each for one read budget at the longest; to
// commands that got none in time, until one budget after they gave up. Those that do not come stay
// pending.
void ReadPendingReplies();

// A reply that was late in an exchange that is over lies on the line, or does not come: reads it
// away, within one read budget.
void SettlePendingReplies();

// For flash frames inside a held exchange.
bool SendRequest(const std::uint8_t* request, unsigned length)
    REQUIRES(g_APICriticalSection, g_InterruptCriticalSection);
bool ReceiveReply(std::uint8_t* reply, unsigned length = kReplyBytes)
    REQUIRES(g_APICriticalSection, g_InterruptCriticalSection);
