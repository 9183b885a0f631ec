#include <errno.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <future>
#include <thread>

#include "platform/Platform.h"
#include "support/Interruptions.h"
#include "support/Timing.h"

namespace {
constexpr auto kGenerous = std::chrono::seconds(20);

bool OtherThreadTakes(CSimpleCriticalSection& section)
{
    return std::async(std::launch::async,
                      [&]() NO_THREAD_SAFETY_ANALYSIS {
                          const bool taken = section.TryLock();
                          if (taken) section.Unlock();
                          return taken;
                      })
        .get();
}

void* SetFlag(void* flag)
{
    *static_cast<std::atomic<bool>*>(flag) = true;
    return nullptr;
}

void* JoinSelf(void* result)
{
    *static_cast<int*>(result) = JoinThread(pthread_self());
    return nullptr;
}

void* BlockedSignals(void* mask)
{
    pthread_sigmask(SIG_SETMASK, nullptr, static_cast<sigset_t*>(mask));
    return nullptr;
}
}  // namespace

TEST(CriticalSection, MayBeLockedTwiceByOneThread)
{
    CSimpleCriticalSection section;
    auto use = [&]() NO_THREAD_SAFETY_ANALYSIS {
        section.Lock();
        section.Lock();
        EXPECT_FALSE(OtherThreadTakes(section));
        section.Unlock();
        EXPECT_FALSE(OtherThreadTakes(section));  // every lock needs its unlock
        section.Unlock();
    };
    use();
    EXPECT_TRUE(OtherThreadTakes(section));
}

TEST(CriticalSection, TryLockTakesItAgainForItsOwner)
{
    CSimpleCriticalSection section;
    auto use = [&]() NO_THREAD_SAFETY_ANALYSIS {
        EXPECT_TRUE(section.TryLock());
        EXPECT_TRUE(section.TryLock());
        section.Unlock();
        EXPECT_FALSE(OtherThreadTakes(section));
        section.Unlock();
    };
    use();
    EXPECT_TRUE(OtherThreadTakes(section));
}

TEST(CriticalSection, TheGuardHoldsItForItsScope)
{
    CSimpleCriticalSection section;
    {
        CAutoCriticalSection lock(section);
        EXPECT_FALSE(OtherThreadTakes(section));
    }
    EXPECT_TRUE(OtherThreadTakes(section));
}

TEST(CriticalSection, KeepsTwoThreadsApart)
{
    CSimpleCriticalSection section;
    int count = 0;
    auto add = [&] {
        for (int i = 0; i < 20000; ++i) {
            CAutoCriticalSection lock(section);
            ++count;
        }
    };
    std::thread other(add);
    add();
    other.join();
    EXPECT_EQ(count, 40000);
}

TEST(Threads, OneIsStartedAndJoined)
{
    std::atomic<bool> ran{false};
    unsigned long thread = 0;
    ASSERT_EQ(CreateThread(&thread, SetFlag, &ran), 1);
    EXPECT_EQ(JoinThread(thread), 0);
    EXPECT_TRUE(ran);
}

TEST(Threads, ClosingOneDoesNothing)
{
    std::atomic<bool> ran{false};
    unsigned long thread = 0;
    ASSERT_EQ(CreateThread(&thread, SetFlag, &ran), 1);
    CloseThread(thread);
    EXPECT_EQ(JoinThread(thread), 0);
    EXPECT_TRUE(ran);
}

TEST(Threads, OneThatCannotBeMadeGives0)
{
    pthread_attr_t attributes;
    ASSERT_EQ(pthread_getattr_default_np(&attributes), 0);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, std::size_t{1} << 46), 0);
    ASSERT_EQ(pthread_setattr_default_np(&attributes), 0);
    std::atomic<bool> ran{false};
    unsigned long thread = 0;
    EXPECT_EQ(CreateThread(&thread, SetFlag, &ran), 0);
    EXPECT_FALSE(ran);
}

TEST(Threads, JoiningNoThreadGivesItsErrorAndTouchesNothing) { EXPECT_EQ(JoinThread(0), ESRCH); }

TEST(Threads, JoiningTheCallingThreadGivesItsErrorAndDoesNotHang)
{
    EXPECT_EQ(JoinThread(pthread_self()), EDEADLK);
    int result = 0;
    unsigned long thread = 0;
    ASSERT_EQ(CreateThread(&thread, JoinSelf, &result), 1);
    EXPECT_EQ(JoinThread(thread), 0);
    EXPECT_EQ(result, EDEADLK);
}

TEST(Threads, TheySpareTheApplicationsSignals)
{
    sigset_t blocked;
    sigemptyset(&blocked);
    unsigned long thread = 0;
    ASSERT_EQ(CreateThread(&thread, BlockedSignals, &blocked), 1);
    ASSERT_EQ(JoinThread(thread), 0);
    for (const int signal : {SIGUSR1, SIGUSR2, SIGINT, SIGALRM}) {
        EXPECT_EQ(sigismember(&blocked, signal), 1);
    }
    sigset_t own;
    pthread_sigmask(SIG_SETMASK, nullptr, &own);
    EXPECT_EQ(sigismember(&own, SIGUSR1), 0);
}

TEST(JoinableThread, RunsOnceAtATimeAndMayBeStartedAgain)
{
    CManualResetEvent go(false);
    CJoinableThread thread;
    auto wait = [](void* event) -> void* {
        static_cast<CManualResetEvent*>(event)->Wait();
        return nullptr;
    };
    ASSERT_TRUE(thread.Start(wait, &go));
    EXPECT_TRUE(thread.IsRunning());
    EXPECT_FALSE(thread.IsCurrentThread());
    EXPECT_FALSE(thread.Start(wait, &go));
    EXPECT_FALSE(thread.Join(30));
    go.SetEvent();
    EXPECT_TRUE(thread.Join());
    EXPECT_FALSE(thread.IsRunning());
    EXPECT_TRUE(thread.Start(wait, &go));
    EXPECT_TRUE(thread.Join());
}

TEST(JoinableThread, NeverWaitsForItself)
{
    static CJoinableThread s_thread;
    static std::atomic<bool> s_refused;
    static std::atomic<bool> s_knowsItself;
    auto run = [](void*) -> void* {
        s_knowsItself = s_thread.IsCurrentThread();
        s_refused = !s_thread.Join();
        return nullptr;
    };
    ASSERT_TRUE(s_thread.Start(run, nullptr));
    ASSERT_TRUE(s_thread.Join());
    EXPECT_TRUE(s_knowsItself);
    EXPECT_TRUE(s_refused);
}

TEST(JoinableThread, MayBeJoinedFromTwoThreads)
{
    CManualResetEvent go(false);
    CJoinableThread thread;
    ASSERT_TRUE(thread.Start(
        [](void* event) -> void* {
            static_cast<CManualResetEvent*>(event)->Wait();
            return nullptr;
        },
        &go));
    auto first = std::async(std::launch::async, [&] { return thread.Join(); });
    auto second = std::async(std::launch::async, [&] { return thread.Join(); });
    go.SetEvent();
    ASSERT_EQ(first.wait_for(kGenerous), std::future_status::ready);
    ASSERT_EQ(second.wait_for(kGenerous), std::future_status::ready);
    EXPECT_TRUE(first.get());
    EXPECT_TRUE(second.get());
}

TEST(CloseHandle, TellsWhetherTheDescriptorWasClosed)
{
    const int file = open("/dev/null", O_RDONLY | O_CLOEXEC);
    ASSERT_GE(file, 0);
    EXPECT_EQ(CloseHandle(file), 1);
    EXPECT_EQ(fcntl(file, F_GETFD), -1);
    EXPECT_EQ(CloseHandle(file), 0);
    EXPECT_EQ(CloseHandle(-1), 0);
}

// Whole seconds as such, the rest in microseconds.
TEST(SleepEx, SleepsTheFractionInMicroseconds)
{
    const CStopwatch watch;
    SleepEx(1999);
    const double elapsed = watch.Ms();
    EXPECT_GE(elapsed, 1000.999);
    EXPECT_LT(elapsed, 1900.0);
}

TEST(SleepEx, OfAHundredIsATenthOfAMillisecond)
{
    double shortest = 1e9;
    for (int i = 0; i < 20; ++i) {
        const CStopwatch watch;
        SleepEx(100);
        const double elapsed = watch.Ms();
        EXPECT_GE(elapsed, 0.1);
        shortest = std::min(shortest, elapsed);
    }
    EXPECT_LT(shortest, 50.0);
}

TEST(SleepEx, OfNothingReturnsAtOnce)
{
    const CStopwatch watch;
    SleepEx(0);
    EXPECT_LT(watch.Ms(), 1000.0);
}

TEST(SleepEx, GoesOnAfterEverySignal)
{
    const CInterruptions interruptions;
    const CStopwatch watch;
    SleepEx(1000);
    EXPECT_GE(watch.Ms(), 1000.0);
    EXPECT_GT(CInterruptions::Count(), 0);
}

TEST(SleepMilliseconds, SleepsTheWholeTimeWhateverSignalsCome)
{
    const CInterruptions interruptions;
    const CStopwatch watch;
    SleepMilliseconds(250);
    EXPECT_GE(watch.Ms(), 250.0);
    EXPECT_GT(CInterruptions::Count(), 0);
}
