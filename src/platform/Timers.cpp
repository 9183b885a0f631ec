#include <time.h>

#include "platform/Platform.h"

namespace {
constexpr unsigned kMsPerSecond = 1000;
constexpr std::int64_t kNsPerMs = 1000000;
constexpr std::int64_t kNsPerSecond = 1000000000;

// SetEvent takes the event's mutex, which is not async-signal-safe; nothing in the library is built
// on these timers.
void onSigUsr1Timer(int, siginfo_t*, void*) { g_hSigUsr1Event.SetEvent(); }
void onSigUsr2Timer(int, siginfo_t*, void*) { g_hSigUsr2Event.SetEvent(); }

void InstallHandler(int signalNumber, void (*handler)(int, siginfo_t*, void*))
{
    struct sigaction action = {};
    action.sa_sigaction = handler;
    action.sa_flags = SA_SIGINFO;
    sigemptyset(&action.sa_mask);
    sigaction(signalNumber, &action, nullptr);
}
}  // namespace

void* CreateNewTimer(unsigned periodMs, unsigned& signalNumber)
{
    if (signalNumber == SIGUSR1) InstallHandler(SIGUSR1, onSigUsr1Timer);
    if (signalNumber == SIGUSR2) InstallHandler(SIGUSR2, onSigUsr2Timer);

    sigevent notification = {};
    notification.sigev_notify = SIGEV_SIGNAL;
    notification.sigev_signo = static_cast<int>(signalNumber);
    timer_t timer = nullptr;
    if (timer_create(CLOCK_REALTIME, &notification, &timer) != 0) return nullptr;

    itimerspec period = {};
    period.it_interval.tv_sec = static_cast<time_t>(periodMs / kMsPerSecond);
    period.it_interval.tv_nsec = static_cast<long>((periodMs * kNsPerMs) % kNsPerSecond);
    period.it_value = period.it_interval;
    timer_settime(timer, 0, &period, nullptr);
    return timer;
}

int DeleteTimer(unsigned, void*& timer)
{
    const int result = timer_delete(static_cast<timer_t>(timer));
    timer = nullptr;
    return result;
}
