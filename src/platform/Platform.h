// Events, critical sections, threads, sleeps and signal timers, with the names of the Win32 model,
// on POSIX threads, clocks and timers. The rooms above use these names alone.
//
// Every wait returns 0 (for several events: the index of the one that is set) or kWaitTimeout.
#pragma once

#include <pthread.h>
#include <signal.h>

#include <cstdint>
#include <new>

#include "platform/Shared.h"
#include "platform/ThreadSafety.h"

constexpr int kWaitTimeout = 110;            // ETIMEDOUT
constexpr unsigned kInfinite = 0xFFFFFFFFu;  // WaitForMultipleObjects only

// An event that is set and reset. Lives as long as anybody may touch it; nothing is destroyed
// through the base.
class CEvent {
public:
    virtual void SetEvent() = 0;
    virtual void ResetEvent() = 0;
    // Waits without limit.
    virtual void Wait() = 0;
    // 0 milliseconds looks and does not block. There is no infinite value here.
    virtual int WaitTimeout(unsigned int milliseconds) = 0;

protected:
    ~CEvent() = default;
};

// A successful wait consumes the signal; one SetEvent releases one waiter.
class CAutoResetEvent final : public CEvent {
public:
    explicit CAutoResetEvent(bool initialState);
    ~CAutoResetEvent();
    CAutoResetEvent(const CAutoResetEvent&) = delete;
    CAutoResetEvent& operator=(const CAutoResetEvent&) = delete;

    void SetEvent() override;
    void ResetEvent() override;
    void Wait() override;
    int WaitTimeout(unsigned int milliseconds) override;

private:
    pthread_mutex_t mutex_;
    pthread_cond_t condition_;
    std::uint8_t signalled_;
};

// A wait leaves the signal set; SetEvent releases every waiter. Its destructor leaves the mutex and
// the condition alone: these events live for the whole process.
class CManualResetEvent final : public CEvent {
public:
    explicit CManualResetEvent(bool initialState);
    ~CManualResetEvent() = default;
    CManualResetEvent(const CManualResetEvent&) = delete;
    CManualResetEvent& operator=(const CManualResetEvent&) = delete;

    void SetEvent() override;
    void ResetEvent() override;
    void Wait() override;
    int WaitTimeout(unsigned int milliseconds) override;

private:
    pthread_mutex_t mutex_;
    pthread_cond_t condition_;
    std::uint8_t signalled_;
};

int WaitForSingleObject(CEvent* event, unsigned milliseconds);

// The index of the first event that is set; lower indices win ties, and only the winner is
// consumed. Waiting for all of them is not supported: with waitAll the call returns kWaitTimeout at
// once. Looks again as soon as one of the events is set; events of another class are looked at once
// a millisecond.
int WaitForMultipleObjects(unsigned count, CEvent** events, int waitAll, unsigned milliseconds);

// Recursive: the same thread may lock it again; every lock needs its unlock.
class CAPABILITY("critical section") CSimpleCriticalSection {
public:
    CSimpleCriticalSection();
    ~CSimpleCriticalSection() = default;  // the mutex is not destroyed
    CSimpleCriticalSection(const CSimpleCriticalSection&) = delete;
    CSimpleCriticalSection& operator=(const CSimpleCriticalSection&) = delete;

    void Lock() ACQUIRE();
    void Unlock() RELEASE();
    bool TryLock() TRY_ACQUIRE(true);

private:
    pthread_mutex_t mutex_;
};

class SCOPED_CAPABILITY CAutoCriticalSection {
public:
    explicit CAutoCriticalSection(CSimpleCriticalSection& section) ACQUIRE(section)
        : section_(section)
    {
        section_.Lock();
    }
    ~CAutoCriticalSection() RELEASE() { section_.Unlock(); }
    CAutoCriticalSection(const CAutoCriticalSection&) = delete;
    CAutoCriticalSection& operator=(const CAutoCriticalSection&) = delete;

private:
    CSimpleCriticalSection& section_;
};

// Starts a joinable thread that takes no signal of the application. 1, or 0 when it cannot be made.
int CreateThread(unsigned long* thread, void* (*start)(void*), void* argument);
// A child of fork() has neither the library's threads nor a claim to its port and its lock file: its end
// is not the library's.
bool IsForkedChild();

// Nothing: threads are reclaimed by JoinThread.
void CloseThread(unsigned long thread);
// The join's error code: ESRCH for 0, EDEADLK for the calling thread itself.
int JoinThread(unsigned long thread);

// Closes a descriptor. 1, or 0 when that failed.
int CloseHandle(long handle);

// Whole seconds are slept as such, the rest in microseconds instead of milliseconds, deliberately:
// SleepEx(1200) sleeps 1.0002 s, SleepEx(100) 0.1 ms. The hot-plug monitor counts on it.
void SleepEx(unsigned milliseconds);

// Sleeps the whole time, whatever signals come.
void SleepMilliseconds(unsigned milliseconds);

// Nanoseconds on the monotonic clock.
std::int64_t MonotonicNs();

// A periodic signal timer on the real-time clock. For SIGUSR1 and SIGUSR2 it installs the handler
// that sets the event below. Null when it cannot be made; the first timer of a process may be null too.
void* CreateNewTimer(unsigned periodMs, unsigned& signalNumber);
// The result of the delete; clears the handle.
int DeleteTimer(unsigned ignored, void*& timer);

extern CAutoResetEvent& g_hSigUsr1Event;
extern CAutoResetEvent& g_hSigUsr2Event;

// A thread that is started, told to end by its owner's flag, and joined, again and again, from
// whichever thread comes first.
class CJoinableThread {
public:
    CJoinableThread() : ended_(true) {}

    // Starts `start` unless the last thread still runs. False when it still runs or none can be made.
    bool Start(void* (*start)(void*), void* argument);
    // True from Start until the thread's last action.
    bool IsRunning() const { return running_; }
    bool IsCurrentThread() const;
    // Waits for the end. False for the thread itself, which never waits, and after the time-out.
    bool Join(unsigned timeoutMs = kInfinite);

private:
    static void* Run(void* self);

    CSimpleCriticalSection section_;
    CManualResetEvent ended_;
    Shared<bool> running_ = false;
    Shared<unsigned long> handle_ = 0;
    void* (*start_)(void*) = nullptr;
    void* argument_ = nullptr;
};

// An object that is built when the library is loaded and never destroyed: threads may still look at
// it while the process ends.
template <class T>
class NeverDestroyed {
public:
    template <class... Arguments>
    explicit NeverDestroyed(Arguments&&... arguments)
    {
        new (storage_) T(static_cast<Arguments&&>(arguments)...);
    }
    T& Get() { return *reinterpret_cast<T*>(storage_); }

private:
    alignas(T) unsigned char storage_[sizeof(T)];
};
