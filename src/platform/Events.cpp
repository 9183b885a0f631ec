#include <errno.h>
#include <time.h>

#include <typeinfo>

#include "platform/Platform.h"

namespace {
constexpr long kNsPerSecond = 1000000000;
constexpr long kNsPerMs = 1000000;
constexpr std::int64_t kForeignEventPollNs = kNsPerMs;

void InitialiseMutex(pthread_mutex_t& mutex)
{
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutex_init(&mutex, &attributes);
    pthread_mutexattr_destroy(&attributes);
}

void InitialiseCondition(pthread_cond_t& condition)
{
    pthread_condattr_t attributes;
    pthread_condattr_init(&attributes);
    pthread_condattr_setclock(&attributes, CLOCK_MONOTONIC);
    pthread_cond_init(&condition, &attributes);
    pthread_condattr_destroy(&attributes);
}

timespec ToTimespec(std::int64_t ns)
{
    return {static_cast<time_t>(ns / kNsPerSecond), static_cast<long>(ns % kNsPerSecond)};
}

int WaitTimed(pthread_mutex_t& mutex, pthread_cond_t& condition, std::uint8_t& signalled,
              bool consume, unsigned milliseconds)
{
    const timespec deadline =
        milliseconds == 0
            ? timespec{}
            : ToTimespec(MonotonicNs() + static_cast<std::int64_t>(milliseconds) * kNsPerMs);
    int result = 0;
    pthread_mutex_lock(&mutex);
    while (signalled == 0 && result == 0) {
        if (milliseconds == 0) {
            result = kWaitTimeout;
        } else if (pthread_cond_timedwait(&condition, &mutex, &deadline) == ETIMEDOUT) {
            result = kWaitTimeout;  // without another look at the flag
        }
    }
    if (result == 0 && consume) signalled = 0;
    pthread_mutex_unlock(&mutex);
    return result;
}

void WaitUnlimited(pthread_mutex_t& mutex, pthread_cond_t& condition, std::uint8_t& signalled,
                   bool consume)
{
    pthread_mutex_lock(&mutex);
    while (signalled == 0) pthread_cond_wait(&condition, &mutex);
    if (consume) signalled = 0;
    pthread_mutex_unlock(&mutex);
}

// One WaitForMultipleObjects in progress, on its caller's stack.
struct MultiWait {
    CEvent** events;
    unsigned count;
    pthread_cond_t condition;
    bool notified;
    MultiWait* next;
};

// The waits in progress. SetEvent looks at the count first, so that it costs nothing while nobody
// waits for several events.
pthread_mutex_t s_multiWaitMutex = PTHREAD_MUTEX_INITIALIZER;
MultiWait* s_multiWaits = nullptr;
std::atomic<int> s_multiWaitCount{0};

// After `event` was set. Read-modify-writes of the count are ordered among themselves: either the
// setter sees the wait counted, or the wait's first look sees the event set.
void NotifyMultiWaits(const CEvent* event)
{
    if (s_multiWaitCount.fetch_add(0, std::memory_order_acq_rel) == 0) return;
    pthread_mutex_lock(&s_multiWaitMutex);
    for (MultiWait* wait = s_multiWaits; wait != nullptr; wait = wait->next) {
        for (unsigned i = 0; i < wait->count; ++i) {
            if (wait->events[i] != event) continue;
            wait->notified = true;
            pthread_cond_signal(&wait->condition);
            break;
        }
    }
    pthread_mutex_unlock(&s_multiWaitMutex);
}

void AddMultiWait(MultiWait& wait)
{
    InitialiseCondition(wait.condition);
    pthread_mutex_lock(&s_multiWaitMutex);
    wait.next = s_multiWaits;
    s_multiWaits = &wait;
    s_multiWaitCount.fetch_add(1, std::memory_order_acq_rel);
    pthread_mutex_unlock(&s_multiWaitMutex);
}

void RemoveMultiWait(MultiWait& wait)
{
    pthread_mutex_lock(&s_multiWaitMutex);
    for (MultiWait** link = &s_multiWaits; *link != nullptr; link = &(*link)->next) {
        if (*link != &wait) continue;
        *link = wait.next;
        break;
    }
    s_multiWaitCount.fetch_sub(1, std::memory_order_acq_rel);
    pthread_mutex_unlock(&s_multiWaitMutex);
    pthread_cond_destroy(&wait.condition);
}

// Until one of the wait's events was set since the last call, at the longest until `untilNs`
// (negative: without limit).
void SleepUntilNotified(MultiWait& wait, std::int64_t untilNs)
{
    const timespec until = ToTimespec(untilNs < 0 ? 0 : untilNs);
    int result = 0;
    pthread_mutex_lock(&s_multiWaitMutex);
    while (!wait.notified && result != ETIMEDOUT) {
        result = untilNs < 0 ? pthread_cond_wait(&wait.condition, &s_multiWaitMutex)
                             : pthread_cond_timedwait(&wait.condition, &s_multiWaitMutex, &until);
    }
    wait.notified = false;
    pthread_mutex_unlock(&s_multiWaitMutex);
}

// Whether SetEvent of this object notifies the waits for several events.
bool Notifies(CEvent& event)
{
    return typeid(event) == typeid(CAutoResetEvent) || typeid(event) == typeid(CManualResetEvent);
}

int FirstSignalled(unsigned count, CEvent** events)
{
    for (unsigned i = 0; i < count; ++i) {
        if (events[i]->WaitTimeout(0) == 0) return static_cast<int>(i);
    }
    return kWaitTimeout;
}

// When the next look is due at the latest; negative: never without a notification.
std::int64_t NextLookNs(std::int64_t deadlineNs, bool allNotify)
{
    if (allNotify) return deadlineNs;
    const std::int64_t poll = MonotonicNs() + kForeignEventPollNs;
    return deadlineNs >= 0 && deadlineNs < poll ? deadlineNs : poll;
}
}  // namespace

std::int64_t MonotonicNs()
{
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<std::int64_t>(now.tv_sec) * kNsPerSecond + now.tv_nsec;
}

CAutoResetEvent::CAutoResetEvent(bool initialState) : signalled_(initialState ? 1 : 0)
{
    InitialiseMutex(mutex_);
    InitialiseCondition(condition_);
}

CAutoResetEvent::~CAutoResetEvent()
{
    pthread_cond_destroy(&condition_);
    pthread_mutex_destroy(&mutex_);
}

void CAutoResetEvent::SetEvent()
{
    pthread_mutex_lock(&mutex_);
    signalled_ = 1;
    pthread_cond_signal(&condition_);
    pthread_mutex_unlock(&mutex_);
    NotifyMultiWaits(this);
}

void CAutoResetEvent::ResetEvent()
{
    pthread_mutex_lock(&mutex_);
    signalled_ = 0;
    pthread_mutex_unlock(&mutex_);
}

void CAutoResetEvent::Wait() { WaitUnlimited(mutex_, condition_, signalled_, true); }

int CAutoResetEvent::WaitTimeout(unsigned int milliseconds)
{
    return WaitTimed(mutex_, condition_, signalled_, true, milliseconds);
}

CManualResetEvent::CManualResetEvent(bool initialState) : signalled_(initialState ? 1 : 0)
{
    InitialiseMutex(mutex_);
    InitialiseCondition(condition_);
}

void CManualResetEvent::SetEvent()
{
    pthread_mutex_lock(&mutex_);
    signalled_ = 1;
    pthread_cond_broadcast(&condition_);
    pthread_mutex_unlock(&mutex_);
    NotifyMultiWaits(this);
}

void CManualResetEvent::ResetEvent()
{
    pthread_mutex_lock(&mutex_);
    signalled_ = 0;
    pthread_mutex_unlock(&mutex_);
}

void CManualResetEvent::Wait() { WaitUnlimited(mutex_, condition_, signalled_, false); }

int CManualResetEvent::WaitTimeout(unsigned int milliseconds)
{
    return WaitTimed(mutex_, condition_, signalled_, false, milliseconds);
}

int WaitForSingleObject(CEvent* event, unsigned milliseconds)
{
    return event->WaitTimeout(milliseconds);
}

int WaitForMultipleObjects(unsigned count, CEvent** events, int waitAll, unsigned milliseconds)
{
    if (waitAll != 0) return kWaitTimeout;
    const std::int64_t deadline =
        milliseconds == kInfinite
            ? -1
            : MonotonicNs() + static_cast<std::int64_t>(milliseconds) * kNsPerMs;
    int winner = FirstSignalled(count, events);
    if (winner != kWaitTimeout) return winner;

    bool allNotify = true;
    for (unsigned i = 0; i < count; ++i) allNotify = allNotify && Notifies(*events[i]);
    MultiWait wait{events, count, {}, false, nullptr};
    AddMultiWait(wait);
    for (;;) {
        winner = FirstSignalled(count, events);
        if (winner != kWaitTimeout) break;
        if (deadline >= 0 && MonotonicNs() > deadline) break;
        SleepUntilNotified(wait, NextLookNs(deadline, allNotify));
    }
    RemoveMultiWait(wait);
    return winner;
}

CSimpleCriticalSection::CSimpleCriticalSection() { InitialiseMutex(mutex_); }
void CSimpleCriticalSection::Lock() { pthread_mutex_lock(&mutex_); }
void CSimpleCriticalSection::Unlock() { pthread_mutex_unlock(&mutex_); }
bool CSimpleCriticalSection::TryLock() { return pthread_mutex_trylock(&mutex_) == 0; }
