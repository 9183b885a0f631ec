#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <thread>

#include "platform/Platform.h"
#include "support/Timing.h"

namespace {
constexpr unsigned kGenerousMs = 20000;

// Takes the signals of the timers, so that a handler never interrupts the thread that waits for its
// event.
class CSignalThread {
public:
    CSignalThread()
    {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, nullptr);
        thread_ = std::thread([this] {
            sigset_t none;
            sigemptyset(&none);
            pthread_sigmask(SIG_SETMASK, &none, nullptr);
            while (!stop_) usleep(1000);
        });
    }
    ~CSignalThread()
    {
        stop_ = true;
        thread_.join();
    }

private:
    std::atomic<bool> stop_{false};
    std::thread thread_;
};

std::atomic<int> s_ownTicks{0};

void ExpectTicks(unsigned signal, CEvent& ticked, CEvent& other)
{
    const CSignalThread signals;
    const CStopwatch watch;
    void* timer = CreateNewTimer(30, signal);
    for (int i = 0; i < 3; ++i) ASSERT_EQ(ticked.WaitTimeout(kGenerousMs), 0);
    EXPECT_GE(watch.Ms(), 85.0);  // three periods; the wall clock may be slewed a little
    EXPECT_EQ(other.WaitTimeout(0), kWaitTimeout);

    EXPECT_EQ(DeleteTimer(0, timer), 0);
    ticked.WaitTimeout(100);  // one that was on its way
    EXPECT_EQ(ticked.WaitTimeout(150), kWaitTimeout);
}
}  // namespace

TEST(SignalTimer, OfSigUsr1SetsItsEventAgainAndAgain)
{
    ExpectTicks(SIGUSR1, g_hSigUsr1Event, g_hSigUsr2Event);
}

TEST(SignalTimer, OfSigUsr2SetsItsEventAgainAndAgain)
{
    ExpectTicks(SIGUSR2, g_hSigUsr2Event, g_hSigUsr1Event);
}

TEST(SignalTimer, FirstTickComesAfterAWholePeriod)
{
    const CSignalThread signals;
    unsigned signal = SIGUSR1;
    const CStopwatch watch;
    void* timer = CreateNewTimer(1100, signal);
    ASSERT_EQ(g_hSigUsr1Event.WaitTimeout(kGenerousMs), 0);
    EXPECT_GE(watch.Ms(), 1095.0);
    DeleteTimer(0, timer);
}

TEST(SignalTimer, InstallsItsHandlerWithInformationAndAnEmptyMask)
{
    const CSignalThread signals;
    unsigned signal = SIGUSR1;
    void* timer = CreateNewTimer(60000, signal);
    struct sigaction action = {};
    ASSERT_EQ(sigaction(SIGUSR1, nullptr, &action), 0);
    EXPECT_NE(action.sa_flags & SA_SIGINFO, 0);
    EXPECT_NE(action.sa_sigaction, nullptr);
    for (const int other : {SIGUSR2, SIGALRM, SIGINT}) {
        EXPECT_EQ(sigismember(&action.sa_mask, other), 0);
    }
    EXPECT_EQ(signal, static_cast<unsigned>(SIGUSR1));
    DeleteTimer(0, timer);
}

TEST(SignalTimer, OfAnotherSignalInstallsNothing)
{
    struct sigaction own = {};
    own.sa_handler = [](int) { ++s_ownTicks; };
    ASSERT_EQ(sigaction(SIGALRM, &own, nullptr), 0);
    const CSignalThread signals;
    unsigned signal = SIGALRM;
    void* timer = CreateNewTimer(20, signal);
    const CStopwatch watch;
    while (s_ownTicks < 2 && watch.Ms() < kGenerousMs) usleep(1000);
    EXPECT_GE(s_ownTicks, 2);
    EXPECT_EQ(DeleteTimer(0, timer), 0);
    EXPECT_EQ(g_hSigUsr1Event.WaitTimeout(0), kWaitTimeout);
    EXPECT_EQ(g_hSigUsr2Event.WaitTimeout(0), kWaitTimeout);
}

TEST(SignalTimer, ThatCannotBeMadeIsNull)
{
    unsigned noSignal = 9999;
    EXPECT_EQ(CreateNewTimer(20, noSignal), nullptr);
}
