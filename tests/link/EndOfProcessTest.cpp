// The process ends, or the library is unloaded, without VRAXFree.

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>

#include "support/HostProcess.h"
#include "support/LinkHost.h"
#include "support/Slowdown.h"

using namespace instrument;

namespace {

constexpr std::chrono::milliseconds kPrompt{3000 * kSlowdown};

// What a process is told before it ends.
struct Doing {
    std::string name;
    bool silent;  // the instrument answers no packet any more
    std::vector<std::string> lines;
};
void PrintTo(const Doing& doing, std::ostream* out) { *out << doing.name; }

const Doing kDoings[] = {
    {"Nothing", false, {}},
    {"Searching", false, {"init 0"}},
    {"Connected", false, {"connect 0 60000"}},
    {"Playing", false, {"connect 0 60000", "play 7"}},
    {"PlayingToSilence", true, {"connect 0 60000", "play 7"}},
    {"WaitingForItsSignal", false, {"connect 0 60000", "signal", "play 7"}},
    {"Freed", false, {"connect 0 60000", "play 7", "free"}},
    {"Disconnected", false, {"init 0", "play 7"}},
};
const Doing kCommandWaits = {"CommandWaits",
                             true,
                             {"connect 0 60000", "play 7", "command", "command"}};

// A program that forks, as an interpreter does, ends the child with exit().
TEST(EndOfAForkedChild, IsPromptAndLeavesPortAndLockToItsParent)
{
    SimulatedInstrument instrument(0);
    CConnectedHost host;
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) exit(0);
    int status = -1;
    const bool ended = Eventually([&] { return waitpid(child, &status, WNOHANG) == child; });
    if (!ended) kill(child, SIGKILL);
    ASSERT_TRUE(ended) << "the child does not end";
    EXPECT_EQ(status, 0);
    EXPECT_EQ(CountLockFiles(), 1);
    EXPECT_EQ(VRAXGetUSBBusVoltage(), kUsbVoltage);
}

class EndOfProcess : public testing::TestWithParam<Doing> {
protected:
    static void Do(CHostProcess& process, const Doing& doing, SimulatedInstrument& instrument)
    {
        if (doing.silent) {
            instrument.Inject(MakeFault(FaultKind::Silence, Request::Stream, kForEver, 2));
        }
        if (doing.name == "Searching" || doing.name == "Disconnected") instrument.Unplug();
        for (const std::string& line : doing.lines) {
            ASSERT_TRUE(process.Ask(line)) << line;
            if (line == "play 7" && instrument.IsPlugged() && doing.name != "WaitingForItsSignal") {
                ASSERT_TRUE(instrument.WaitForPackets(doing.silent ? 3 : 5));
            }
        }
    }
    static void ExpectEnd(CHostProcess& process)
    {
        int status = -1;
        ASSERT_TRUE(process.WaitForEnd(kPrompt, status)) << "it does not end";
        EXPECT_EQ(status, 0);
        EXPECT_EQ(CountLockFiles(), 0);
    }

    CHost host_;
    SimulatedInstrument instrument_{RealTime()};
};

// The next process finds the instrument as if nothing had been.
void ExpectUsable(SimulatedInstrument& instrument)
{
    instrument.ClearFaults();
    instrument.Plug();
    ASSERT_TRUE(VRAXConnect(0, kConnectMs));
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_SINE), 0);
    EXPECT_TRUE(instrument.WaitForMorePackets(3));
}

}  // namespace

TEST_P(EndOfProcess, ByExitIsPrompt)
{
    CHostProcess process(VRAX_HOST_PROGRAM);
    Do(process, GetParam(), instrument_);
    process.Tell("leave");
    ExpectEnd(process);
    ExpectUsable(instrument_);
}

TEST_P(EndOfProcess, ByReturnFromMainIsPrompt)
{
    CHostProcess process(VRAX_HOST_PROGRAM);
    Do(process, GetParam(), instrument_);
    process.CloseInput();
    ExpectEnd(process);
}

TEST_P(EndOfProcess, OfAProgramThatLoadedTheLibraryIsPrompt)
{
    CHostProcess process(VRAX_LOADING_HOST_PROGRAM);
    Do(process, GetParam(), instrument_);
    process.Tell("leave");
    ExpectEnd(process);
}

TEST_P(EndOfProcess, MayFollowUnloading)
{
    CHostProcess process(VRAX_LOADING_HOST_PROGRAM);
    Do(process, GetParam(), instrument_);
    process.Tell("unload");
    CCall<bool> answer([&process] { return process.Answer(); });
    ASSERT_TRUE(answer.HasReturned(kPrompt)) << "unloading does not end";
    EXPECT_TRUE(answer.Result());
    EXPECT_EQ(CountLockFiles(), 0);
    // None of the library's threads is left to run its code.
    EXPECT_EQ(CountEntries(("/proc/" + std::to_string(process.Id()) + "/task").c_str()),
              kSlowdown > 4 ? 2 : 1);
    process.CloseInput();
    ExpectEnd(process);
    ExpectUsable(instrument_);
}

INSTANTIATE_TEST_SUITE_P(While, EndOfProcess, testing::ValuesIn(kDoings),
                         [](const auto& parameter) { return parameter.param.name; });

class EndWhileACommandWaits : public EndOfProcess {};

TEST_P(EndWhileACommandWaits, ByExitIsPrompt)
{
    CHostProcess process(VRAX_HOST_PROGRAM);
    Do(process, GetParam(), instrument_);
    process.Tell("leave");
    ExpectEnd(process);
}

TEST_P(EndWhileACommandWaits, ByExitOfAProgramThatLoadedTheLibraryIsPrompt)
{
    CHostProcess process(VRAX_LOADING_HOST_PROGRAM);
    Do(process, GetParam(), instrument_);
    process.Tell("leave");
    ExpectEnd(process);
}

TEST_P(EndWhileACommandWaits, ByUnloadingLetsTheCommandOut)
{
    CHostProcess process(VRAX_LOADING_HOST_PROGRAM);
    Do(process, GetParam(), instrument_);
    process.Tell("unload");
    process.CloseInput();
    ExpectEnd(process);
}

INSTANTIATE_TEST_SUITE_P(While, EndWhileACommandWaits, testing::Values(kCommandWaits),
                         [](const auto& parameter) { return parameter.param.name; });

TEST(EndFromACallback, IsPrompt)
{
    CHost host;
    SimulatedInstrument instrument(RealTime());
    CHostProcess process(VRAX_HOST_PROGRAM);
    ASSERT_TRUE(process.Ask("connect 0 60000"));
    ASSERT_TRUE(process.Ask("leave-from-callback"));
    process.Tell("play 7");
    int status = -1;
    ASSERT_TRUE(process.WaitForEnd(kPrompt, status)) << "it does not end";
    EXPECT_EQ(status, 0);
}

TEST(EndWithoutExitHandlers, LeavesALockFileThatTheNextProcessReplaces)
{
    CHost host;
    SimulatedInstrument instrument(RealTime());
    CHostProcess process(VRAX_HOST_PROGRAM);
    ASSERT_TRUE(process.Ask("connect 0 60000"));
    process.Tell("leave-at-once");
    int status = -1;
    ASSERT_TRUE(process.WaitForEnd(kPrompt, status));
    EXPECT_EQ(CountLockFiles(), 1);
    EXPECT_TRUE(VRAXConnect(0, kConnectMs));
}
