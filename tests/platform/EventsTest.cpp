#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <thread>

#include "platform/Platform.h"
#include "support/Timing.h"

namespace {
constexpr unsigned kGenerousMs = 20000;
constexpr unsigned kShortMs = 400;

// How many of two threads that wait a short time for the event are released by one SetEvent.
template <class Event>
int ReleasedOfTwoWaiters(Event& event)
{
    std::atomic<int> released{0};
    auto wait = [&] {
        if (event.WaitTimeout(kShortMs) == 0) ++released;
    };
    std::thread first(wait);
    std::thread second(wait);
    event.SetEvent();
    first.join();
    second.join();
    return released;
}
}  // namespace

TEST(AutoResetEvent, IsCreatedAsAsked)
{
    CAutoResetEvent unsignalled(false);
    CAutoResetEvent signalled(true);
    EXPECT_EQ(unsignalled.WaitTimeout(0), kWaitTimeout);
    EXPECT_EQ(signalled.WaitTimeout(0), 0);
}

TEST(AutoResetEvent, LookingConsumesTheSignal)
{
    CAutoResetEvent event(false);
    event.SetEvent();
    EXPECT_EQ(event.WaitTimeout(0), 0);
    EXPECT_EQ(event.WaitTimeout(0), kWaitTimeout);
}

TEST(AutoResetEvent, TwoSetsAreOneSignal)
{
    CAutoResetEvent event(false);
    event.SetEvent();
    event.SetEvent();
    EXPECT_EQ(event.WaitTimeout(1), 0);
    EXPECT_EQ(event.WaitTimeout(1), kWaitTimeout);
}

TEST(AutoResetEvent, OneSetReleasesExactlyOneOfTwoWaiters)
{
    CAutoResetEvent event(false);
    EXPECT_EQ(ReleasedOfTwoWaiters(event), 1);
}

TEST(AutoResetEvent, WaitWithoutLimitEndsWithTheSignalAndConsumesIt)
{
    CAutoResetEvent event(false);
    auto waiter = std::async(std::launch::async, [&] { event.Wait(); });
    EXPECT_EQ(waiter.wait_for(std::chrono::milliseconds(100)), std::future_status::timeout);
    event.SetEvent();
    ASSERT_EQ(waiter.wait_for(std::chrono::milliseconds(kGenerousMs)), std::future_status::ready);
    EXPECT_EQ(event.WaitTimeout(0), kWaitTimeout);
}

TEST(ManualResetEvent, IsCreatedAsAsked)
{
    CManualResetEvent unsignalled(false);
    CManualResetEvent signalled(true);
    EXPECT_EQ(unsignalled.WaitTimeout(0), kWaitTimeout);
    EXPECT_EQ(signalled.WaitTimeout(0), 0);
}

TEST(ManualResetEvent, StaysSignalledUntilItIsReset)
{
    CManualResetEvent event(false);
    event.SetEvent();
    EXPECT_EQ(event.WaitTimeout(0), 0);
    EXPECT_EQ(event.WaitTimeout(10), 0);
    event.Wait();
    EXPECT_EQ(event.WaitTimeout(0), 0);
    event.ResetEvent();
    EXPECT_EQ(event.WaitTimeout(0), kWaitTimeout);
}

TEST(ManualResetEvent, OneSetReleasesBothWaiters)
{
    CManualResetEvent event(false);
    EXPECT_EQ(ReleasedOfTwoWaiters(event), 2);
}

TEST(ManualResetEvent, OneSetReleasesEveryUnlimitedWaiter)
{
    CManualResetEvent event(false);
    auto first = std::async(std::launch::async, [&] { event.Wait(); });
    auto second = std::async(std::launch::async, [&] { event.Wait(); });
    EXPECT_EQ(first.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
    event.SetEvent();
    EXPECT_EQ(first.wait_for(std::chrono::milliseconds(kGenerousMs)), std::future_status::ready);
    EXPECT_EQ(second.wait_for(std::chrono::milliseconds(kGenerousMs)), std::future_status::ready);
}

TEST(Events, LookingAtAnUnsignalledEventDoesNotBlock)
{
    CAutoResetEvent automatic(false);
    CManualResetEvent manual(false);
    const CStopwatch watch;
    for (int i = 0; i < 1000; ++i) {
        ASSERT_EQ(automatic.WaitTimeout(0), kWaitTimeout);
        ASSERT_EQ(manual.WaitTimeout(0), kWaitTimeout);
    }
    EXPECT_LT(watch.Ms(), 1000.0);  // half a millisecond a look
}

TEST(Events, ATimedWaitLastsItsWholeTime)
{
    CAutoResetEvent automatic(false);
    CManualResetEvent manual(false);
    for (CEvent* event : {static_cast<CEvent*>(&automatic), static_cast<CEvent*>(&manual)}) {
        const CStopwatch watch;
        EXPECT_EQ(event->WaitTimeout(60), 110);
        EXPECT_GE(watch.Ms(), 60.0);
    }
}

// The fraction of a second goes into the nanoseconds, with a carry.
TEST(Events, ATimedWaitBeyondASecondLastsItsWholeTime)
{
    CAutoResetEvent event(false);
    const CStopwatch watch;
    EXPECT_EQ(event.WaitTimeout(1990), kWaitTimeout);
    EXPECT_GE(watch.Ms(), 1990.0);
    EXPECT_LT(watch.Ms(), 20000.0);
}

TEST(Events, TheLargestTimeoutIsADeadlineFarAway)
{
    CAutoResetEvent event(false);
    auto waiter = std::async(std::launch::async, [&] { return event.WaitTimeout(0xFFFFFFFFu); });
    EXPECT_EQ(waiter.wait_for(std::chrono::milliseconds(100)), std::future_status::timeout);
    event.SetEvent();
    ASSERT_EQ(waiter.wait_for(std::chrono::milliseconds(kGenerousMs)), std::future_status::ready);
    EXPECT_EQ(waiter.get(), 0);
}

TEST(Events, ResettingTakesASignalBack)
{
    CAutoResetEvent event(true);
    event.ResetEvent();
    EXPECT_EQ(event.WaitTimeout(0), kWaitTimeout);
}

TEST(WaitForSingleObject, GivesTheCodeOfTheEvent)
{
    CAutoResetEvent automatic(true);
    CManualResetEvent manual(true);
    EXPECT_EQ(WaitForSingleObject(&automatic, 0), 0);
    EXPECT_EQ(WaitForSingleObject(&automatic, 5), 110);
    EXPECT_EQ(WaitForSingleObject(&manual, 0), 0);
    EXPECT_EQ(WaitForSingleObject(&manual, 5), 0);
}

TEST(Events, ThoseOfTheSignalTimersAreUnsignalledAtLoad)
{
    EXPECT_EQ(g_hSigUsr1Event.WaitTimeout(0), kWaitTimeout);
    EXPECT_EQ(g_hSigUsr2Event.WaitTimeout(0), kWaitTimeout);
}
