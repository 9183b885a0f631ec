// Two processes, each with an instrument and a start signal of its own, released by one trigger.

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdio>

#include "faults/HoldUp.h"
#include "support/HostProcess.h"
#include "support/LinkHost.h"
#include "support/Slowdown.h"

using namespace instrument;

namespace {

constexpr int kStarts = 20;
constexpr double kLimitMs = 5.0 * kSlowdown;
constexpr double kSpoiltMs = 2.0;  // a thread that slept was held up for so long

// The end of a pipe that both processes wait at: they wake when the other end is closed.
class CTrigger {
public:
    CTrigger()
    {
        int ends[2];
        if (pipe(ends) != 0 || fcntl(ends[1], F_SETFD, FD_CLOEXEC) != 0) {
            throw std::runtime_error("no pipe");
        }
        inherited_ = ends[0];
        own_ = ends[1];
    }
    ~CTrigger()
    {
        close(inherited_);
        Give();
    }
    CTrigger(const CTrigger&) = delete;
    CTrigger& operator=(const CTrigger&) = delete;

    std::string Descriptor() const { return std::to_string(inherited_); }
    void Give()
    {
        if (own_ >= 0) close(own_);
        own_ = -1;
    }

private:
    int inherited_ = -1;
    int own_ = -1;
};

Options OnPort(int port)
{
    Options options = RealTime();
    options.port = port;
    return options;
}

// A process and its instrument.
struct Side {
    explicit Side(int port) : instrument(OnPort(port)), process(VRAX_HOST_PROGRAM) {}

    // Waits at a new signal until the trigger is given.
    void Wait(const CTrigger& trigger) const
    {
        ASSERT_TRUE(process.Ask("signal"));
        ASSERT_TRUE(process.Ask("go-with " + trigger.Descriptor()));
        ASSERT_TRUE(process.Ask("play 1"));
    }
    bool HasBegun(unsigned run) const
    {
        return Eventually([&] { return instrument.Statistics().runs == run; });
    }
    Clock::time_point FirstPacket() const { return instrument.Statistics().firstArrival; }
    void Stop(unsigned run) const
    {
        ASSERT_TRUE(process.Ask("play 0"));
        ASSERT_TRUE(instrument.WaitForStop(run));
    }

    SimulatedInstrument instrument;
    CHostProcess process;
};

}  // namespace

TEST(CommonTrigger, StartsTwoProcessesWithinFiveMilliseconds)
{
    std::array<CTrigger, 2 * kStarts> triggers;
    Side zero(0);
    Side one(1);
    ASSERT_TRUE(zero.process.Ask("connect 0 60000"));
    ASSERT_TRUE(one.process.Ask("connect 1 60000"));
    faults::CHoldUp holdUp;
    double longest = 0;
    int starts = 0;
    unsigned run = 0;
    while (starts < kStarts && run < triggers.size()) {
        CTrigger& trigger = triggers[run++];
        ASSERT_NO_FATAL_FAILURE(zero.Wait(trigger));
        ASSERT_NO_FATAL_FAILURE(one.Wait(trigger));
        ASSERT_EQ(zero.instrument.Statistics().runs + one.instrument.Statistics().runs, 2 * run - 2)
            << "a packet before the trigger";
        holdUp.TakeLongestMs();
        const Clock::time_point given = Clock::now();
        trigger.Give();
        ASSERT_TRUE(zero.HasBegun(run));
        ASSERT_TRUE(one.HasBegun(run));
        const double heldUpMs = holdUp.TakeLongestMs();
        EXPECT_GE(zero.FirstPacket(), given);
        EXPECT_GE(one.FirstPacket(), given);
        const double apartMs = std::abs(MsBetween(zero.FirstPacket(), one.FirstPacket()));
        ASSERT_NO_FATAL_FAILURE(zero.Stop(run));
        ASSERT_NO_FATAL_FAILURE(one.Stop(run));
        if (apartMs >= kLimitMs && heldUpMs > kSpoiltMs) continue;
        EXPECT_LT(apartMs, kLimitMs) << "start " << run;
        longest = std::max(longest, apartMs);
        ++starts;
    }
    EXPECT_EQ(starts, kStarts) << "the machine held up the others";
    std::printf("%d starts, at most %.2f ms apart; %u held up\n", starts, longest,
                run - static_cast<unsigned>(starts));
    for (const Side* side : {&zero, &one}) {
        EXPECT_EQ(side->instrument.Statistics().sequenceErrors, 0U);
        ExpectNoRefusals(side->instrument);
    }
}
