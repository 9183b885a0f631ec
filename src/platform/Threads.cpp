#include <errno.h>
#include <time.h>
#include <unistd.h>

#include "platform/Platform.h"

namespace {
constexpr unsigned kMsPerSecond = 1000;
constexpr long kNsPerUs = 1000;
constexpr long kNsPerMs = 1000000;

const pid_t s_loadedBy = getpid();

void SleepFor(timespec duration)
{
    while (nanosleep(&duration, &duration) != 0 && errno == EINTR) {
    }
}
}  // namespace

bool IsForkedChild() { return getpid() != s_loadedBy; }

int CreateThread(unsigned long* thread, void* (*start)(void*), void* argument)
{
    // The application's signals are handled on its own threads; a fault is reported where it happens.
    sigset_t blocked;
    sigset_t previous;
    sigfillset(&blocked);
    for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGSYS, SIGABRT}) {
        sigdelset(&blocked, fault);
    }
    pthread_sigmask(SIG_SETMASK, &blocked, &previous);
    const int error = pthread_create(thread, nullptr, start, argument);
    pthread_sigmask(SIG_SETMASK, &previous, nullptr);
    return error == 0 ? 1 : 0;
}

void CloseThread(unsigned long) {}

int JoinThread(unsigned long thread)
{
    if (thread == 0) return ESRCH;
    if (pthread_equal(thread, pthread_self()) != 0) return EDEADLK;
    return pthread_join(thread, nullptr);
}

int CloseHandle(long handle) { return close(static_cast<int>(handle)) == 0 ? 1 : 0; }

void SleepEx(unsigned milliseconds)
{
    SleepFor({static_cast<time_t>(milliseconds / kMsPerSecond),
              static_cast<long>(milliseconds % kMsPerSecond) * kNsPerUs});
}

void SleepMilliseconds(unsigned milliseconds)
{
    SleepFor({static_cast<time_t>(milliseconds / kMsPerSecond),
              static_cast<long>(milliseconds % kMsPerSecond) * kNsPerMs});
}

bool CJoinableThread::Start(void* (*start)(void*), void* argument)
{
    CAutoCriticalSection lock(section_);
    if (running_) return false;
    if (handle_ != 0) JoinThread(handle_.Exchange(0));
    start_ = start;
    argument_ = argument;
    ended_.ResetEvent();
    running_ = true;
    unsigned long handle = 0;
    if (CreateThread(&handle, Run, this) != 1) {
        running_ = false;
        ended_.SetEvent();
        return false;
    }
    handle_ = handle;
    return true;
}

bool CJoinableThread::IsCurrentThread() const
{
    return running_ && pthread_equal(handle_, pthread_self()) != 0;
}

bool CJoinableThread::Join(unsigned timeoutMs)
{
    if (IsCurrentThread()) return false;
    if (ended_.WaitTimeout(timeoutMs) != 0) return false;
    CAutoCriticalSection lock(section_);
    if (!running_ && handle_ != 0) JoinThread(handle_.Exchange(0));
    return true;
}

void* CJoinableThread::Run(void* self)
{
    auto* thread = static_cast<CJoinableThread*>(self);
    thread->handle_ = pthread_self();  // before Start's caller may know it
    thread->start_(thread->argument_);
    thread->running_ = false;
    thread->ended_.SetEvent();
    return nullptr;
}
