#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <thread>
#include <vector>

#include "platform/Platform.h"
#include "support/Timing.h"

namespace {
constexpr auto kGenerous = std::chrono::seconds(20);

// An event of another class, which tells nobody when it is set.
class CForeignEvent final : public CEvent {
public:
    void SetEvent() override { signalled_ = true; }
    void ResetEvent() override { signalled_ = false; }
    void Wait() override {}
    int WaitTimeout(unsigned milliseconds) override
    {
        ++looks;
        if (milliseconds != 0) ++blockingLooks;
        return signalled_ ? 0 : kWaitTimeout;
    }

    std::atomic<int> looks{0};
    std::atomic<int> blockingLooks{0};

private:
    std::atomic<bool> signalled_{false};
};
}  // namespace

TEST(WaitForMultipleObjects, TheLowerIndexWinsAndOnlyTheWinnerIsConsumed)
{
    CAutoResetEvent a(true);
    CAutoResetEvent b(true);
    CEvent* events[] = {&a, &b};
    EXPECT_EQ(WaitForMultipleObjects(2, events, 0, 0xFFFFFFFFu), 0);
    EXPECT_EQ(a.WaitTimeout(0), kWaitTimeout);
    EXPECT_EQ(b.WaitTimeout(0), 0);
}

TEST(WaitForMultipleObjects, GivesTheIndexOfTheOneThatIsSet)
{
    CAutoResetEvent a(false);
    CManualResetEvent b(false);
    CAutoResetEvent c(true);
    CEvent* events[] = {&a, &b, &c};
    EXPECT_EQ(WaitForMultipleObjects(3, events, 0, 100), 2);
    EXPECT_EQ(c.WaitTimeout(0), kWaitTimeout);
    b.SetEvent();
    EXPECT_EQ(WaitForMultipleObjects(3, events, 0, 100), 1);
    EXPECT_EQ(WaitForMultipleObjects(3, events, 0, 0), 1);  // a manual one stays set
}

TEST(WaitForMultipleObjects, EventsAfterTheWinnerAreNotLookedAt)
{
    CManualResetEvent a(true);
    CForeignEvent b;
    CEvent* events[] = {&a, &b};
    EXPECT_EQ(WaitForMultipleObjects(2, events, 0, 100), 0);
    EXPECT_EQ(b.looks, 0);
}

TEST(WaitForMultipleObjects, WaitingForAllReturnsAtOnceAndConsumesNothing)
{
    CAutoResetEvent a(true);
    CAutoResetEvent b(true);
    CEvent* events[] = {&a, &b};
    const CStopwatch watch;
    EXPECT_EQ(WaitForMultipleObjects(2, events, 1, 5000), 110);
    EXPECT_LT(watch.Ms(), 2500.0);
    EXPECT_EQ(a.WaitTimeout(0), 0);
    EXPECT_EQ(b.WaitTimeout(0), 0);
}

TEST(WaitForMultipleObjects, TimesOutAfterItsWholeTime)
{
    CAutoResetEvent a(false);
    CManualResetEvent b(false);
    CEvent* events[] = {&a, &b};
    const CStopwatch watch;
    EXPECT_EQ(WaitForMultipleObjects(2, events, 0, 50), 110);
    EXPECT_GE(watch.Ms(), 50.0);
    EXPECT_LT(watch.Ms(), 5000.0);
}

TEST(WaitForMultipleObjects, ALongTimeoutIsNotCutTo32BitsOfNanoseconds)
{
    CAutoResetEvent a(false);
    CEvent* events[] = {&a};
    const CStopwatch watch;
    EXPECT_EQ(WaitForMultipleObjects(1, events, 0, 4400), 110);  // 4.4e9 ns
    EXPECT_GE(watch.Ms(), 4400.0);
}

TEST(WaitForMultipleObjects, WithNoTimeItOnlyLooks)
{
    CAutoResetEvent a(false);
    CEvent* events[] = {&a};
    EXPECT_EQ(WaitForMultipleObjects(1, events, 0, 0), 110);
    a.SetEvent();
    EXPECT_EQ(WaitForMultipleObjects(1, events, 0, 0), 0);
}

TEST(WaitForMultipleObjects, AnEventSetMeanwhileEndsTheWait)
{
    CAutoResetEvent a(false);
    CManualResetEvent b(false);
    CEvent* events[] = {&a, &b};
    for (CEvent* set : events) {
        auto wait = std::async(std::launch::async,
                               [&] { return WaitForMultipleObjects(2, events, 0, kInfinite); });
        EXPECT_EQ(wait.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
        set->SetEvent();
        ASSERT_EQ(wait.wait_for(kGenerous), std::future_status::ready);
        EXPECT_EQ(wait.get(), set == &a ? 0 : 1);
    }
    EXPECT_EQ(a.WaitTimeout(0), kWaitTimeout);
    EXPECT_EQ(b.WaitTimeout(0), 0);
}

TEST(WaitForMultipleObjects, OneAutoResetSignalReleasesOneOfTwoWaits)
{
    CAutoResetEvent a(false);
    CEvent* events[] = {&a};
    std::atomic<int> released{0};
    auto wait = [&] {
        if (WaitForMultipleObjects(1, events, 0, 400) == 0) ++released;
    };
    std::thread first(wait);
    std::thread second(wait);
    a.SetEvent();
    first.join();
    second.join();
    EXPECT_EQ(released, 1);
}

// No signal is lost between the look and the sleep.
TEST(WaitForMultipleObjects, TwoThreadsPassATurnToEachOtherWithoutALoss)
{
    constexpr int kTurns = 5000;
    CAutoResetEvent there(false);
    CAutoResetEvent back(false);
    CManualResetEvent stop(false);
    auto other = std::async(std::launch::async, [&] {
        CEvent* events[] = {&stop, &there};
        for (int i = 0; i < kTurns; ++i) {
            if (WaitForMultipleObjects(2, events, 0, 20000) != 1) return i;
            back.SetEvent();
        }
        return kTurns;
    });
    CEvent* events[] = {&stop, &back};
    for (int i = 0; i < kTurns; ++i) {
        there.SetEvent();
        ASSERT_EQ(WaitForMultipleObjects(2, events, 0, 20000), 1) << "turn " << i;
    }
    EXPECT_EQ(other.get(), kTurns);
}

TEST(WaitForMultipleObjects, AnEventOfAnotherClassIsLookedAtAgainAndAgain)
{
    CAutoResetEvent a(false);
    CForeignEvent b;
    CEvent* events[] = {&a, &b};
    auto wait = std::async(std::launch::async,
                           [&] { return WaitForMultipleObjects(2, events, 0, kInfinite); });
    EXPECT_EQ(wait.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
    EXPECT_GT(b.looks, 1);
    b.SetEvent();
    ASSERT_EQ(wait.wait_for(kGenerous), std::future_status::ready);
    EXPECT_EQ(wait.get(), 1);
    EXPECT_EQ(b.blockingLooks, 0);
}

TEST(WaitForMultipleObjects, WithoutEventsItOnlyWaits)
{
    const CStopwatch watch;
    EXPECT_EQ(WaitForMultipleObjects(0, nullptr, 0, 30), 110);
    EXPECT_GE(watch.Ms(), 30.0);
}
