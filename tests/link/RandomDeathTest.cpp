// Processes that die at any moment, one after the other: each finds what the one before has left.

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <random>
#include <thread>

#include "support/HostProcess.h"
#include "support/LinkHost.h"
#include "support/NextStart.h"

using namespace instrument;

namespace {

unsigned FromEnvironment(const char* name, unsigned otherwise)
{
    const char* const text = std::getenv(name);
    return text != nullptr ? static_cast<unsigned>(std::strtoul(text, nullptr, 10)) : otherwise;
}

// What a process is at when it dies, and for how long at most.
struct Work {
    const char* line;
    bool plays;
    int mostMs;
};
constexpr Work kWorks[] = {
    {"connect 0 60000", false, 2500},
    {"play 1", true, 300},
    {"command", true, 50},
    {"sample", false, 600},
    {"burn 0", false, 1000},
    {"burn 1", false, 1000},
    {"free", true, 100},
};

class CVictims {
public:
    explicit CVictims(unsigned seed) : random_(seed) {}

    void LetOneDie()
    {
        const Work& work = kWorks[static_cast<std::size_t>(Whole(0, std::size(kWorks) - 1))];
        CHostProcess process(VRAX_HOST_PROGRAM);
        ASSERT_TRUE(process.Ask("patient"));
        if (&work != kWorks) {
            ASSERT_TRUE(process.Ask("connect 0 60000")) << "after " << last_;
            ASSERT_TRUE(process.Ask("voltage 0 250")) << "after " << last_;
        }
        if (work.plays) {
            ASSERT_TRUE(process.Ask("play 1")) << "after " << last_;
        }
        process.Tell(work.line);
        std::this_thread::sleep_for(std::chrono::microseconds(Whole(0, work.mostMs * 1000)));
        process.Kill();
        int status = 0;
        ASSERT_TRUE(process.WaitForEnd(kLongWait, status));
        ASSERT_EQ(status, 128 + SIGKILL);
        last_ = work.line;
    }

private:
    int Whole(int from, int to) { return std::uniform_int_distribution(from, to)(random_); }

    std::mt19937 random_;
    std::string last_ = "nothing";
};

}  // namespace

TEST(RandomDeath, LeavesLockAndInstrumentToTheNextStart)
{
    const unsigned seed = FromEnvironment("VRAX_DEATH_SEED", 1);
    const unsigned deaths = FromEnvironment("VRAX_DEATHS", 25);
    Options options = RealTime();
    options.ppgModel = 0x3307;
    options.sampling.framesPerSecond = kFullSamplingRate;
    SimulatedInstrument instrument(options);
    CVictims victims(seed);
    for (unsigned i = 0; i < deaths; ++i) {
        ASSERT_NO_FATAL_FAILURE(victims.LetOneDie()) << "death " << i << ", seed " << seed;
    }
    EXPECT_EQ(instrument.Statistics().sequenceErrors, 0U);
    CHost host(kPatientMs);
    ExpectUsableByTheNext(instrument);
    std::printf("%u deaths, seed %u\n", deaths, seed);
}
