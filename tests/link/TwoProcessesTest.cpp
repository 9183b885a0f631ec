// Several processes that use the library at the same time.

#include <gtest/gtest.h>

#include "support/HostProcess.h"
#include "support/LinkHost.h"
#include "support/NextStart.h"

using namespace instrument;

namespace {

constexpr char kProgram[] = VRAX_HOST_PROGRAM;

}  // namespace

TEST(TwoProcesses, OnOnePortTheFirstKeepsIt)
{
    SimulatedInstrument instrument(RealTime());
    CHostProcess first(kProgram);
    ASSERT_TRUE(first.Ask("connect 0 60000"));
    ASSERT_TRUE(first.Ask("play 1"));
    ASSERT_TRUE(instrument.WaitForPackets(2));
    EXPECT_EQ(ReadWholeFile(LockFilePath(0)), IdBytes(first.Id()));
    instrument.ClearExchanges();

    CHost host;
    EXPECT_FALSE(VRAXConnect(0, 1500));
    EXPECT_FALSE(VRAXConnect(-1, 1500));
    // The one that was refused leaves the holder's lock file alone, so a third is refused too.
    EXPECT_EQ(ReadWholeFile(LockFilePath(0)), IdBytes(first.Id()));
    CHostProcess third(kProgram);
    EXPECT_FALSE(third.Ask("connect 0 1500"));
    EXPECT_EQ(ReadWholeFile(LockFilePath(0)), IdBytes(first.Id()));

    EXPECT_TRUE(instrument.Exchanges(Request::Identify).empty());
    EXPECT_TRUE(first.Ask("playing"));
    EXPECT_TRUE(instrument.WaitForMorePackets(3));
    EXPECT_EQ(instrument.Statistics().sequenceErrors, 0U);
    ExpectNoRefusals(instrument);
    EXPECT_TRUE(first.Ask("voltage 0 250"));

    ASSERT_TRUE(first.Ask("free"));
    EXPECT_TRUE(VRAXConnect(0, kConnectMs));
}

TEST(TwoProcesses, OnTwoPortsEachHasItsOwn)
{
    SimulatedInstrument zero(RealTime());
    Options options = RealTime();
    options.port = 1;
    SimulatedInstrument one(options);
    CHostProcess other(kProgram);
    ASSERT_TRUE(other.Ask("connect -1 60000"));
    CHost host;
    ASSERT_TRUE(VRAXConnect(-1, kConnectMs));
    EXPECT_EQ(ReadWholeFile(LockFilePath(0)), IdBytes(other.Id()));
    EXPECT_EQ(ReadWholeFile(LockFilePath(1)), IdBytes(getpid()));

    ASSERT_TRUE(other.Ask("play 1"));
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_ECG), 0);
    ASSERT_TRUE(zero.WaitForPackets(5));
    ASSERT_TRUE(one.WaitForPackets(5));
    ASSERT_TRUE(other.Ask("play 0"));
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_OFF), 0);
    for (const SimulatedInstrument* instrument : {&zero, &one}) {
        EXPECT_TRUE(instrument->WaitForStop());
        EXPECT_EQ(instrument->Statistics().sequenceErrors, 0U);
        ExpectNoRefusals(*instrument);
    }
}

TEST(TwoProcesses, WithASignalEachStartWhenItIsGiven)
{
    SimulatedInstrument zero(RealTime());
    Options options = RealTime();
    options.port = 1;
    SimulatedInstrument one(options);
    CHostProcess first(kProgram);
    CHostProcess second(kProgram);
    ASSERT_TRUE(first.Ask("connect 0 60000"));
    ASSERT_TRUE(second.Ask("connect 1 60000"));
    for (const CHostProcess* process : {&first, &second}) {
        ASSERT_TRUE(process->Ask("signal"));
        ASSERT_TRUE(process->Ask("play 7"));
    }
    ASSERT_TRUE(zero.WaitForExchange(Request::Relays, 3));
    ASSERT_TRUE(one.WaitForExchange(Request::Relays, 3));
    EXPECT_FALSE(zero.WaitForPackets(1, Milliseconds(300)));
    EXPECT_EQ(one.PacketCount(), 0U);

    const Clock::time_point given = Clock::now();
    first.Tell("go");
    second.Tell("go");
    ASSERT_TRUE(zero.WaitForPackets(3));
    ASSERT_TRUE(one.WaitForPackets(3));
    EXPECT_GE(zero.Statistics().firstArrival, given);
    EXPECT_GE(one.Statistics().firstArrival, given);
    EXPECT_TRUE(first.Answer());
    EXPECT_TRUE(second.Answer());
}

TEST(TwoProcesses, LockOfAKilledOneIsReplaced)
{
    SimulatedInstrument instrument(RealTime());
    CHost host;
    {
        CHostProcess first(kProgram);
        ASSERT_TRUE(first.Ask("connect 0 60000"));
        ASSERT_TRUE(first.Ask("play 1"));
        ASSERT_TRUE(instrument.WaitForPackets(2));
        first.Kill();
        int status = 0;
        ASSERT_TRUE(first.WaitForEnd(kLongWait, status));
    }
    EXPECT_TRUE(std::filesystem::exists(LockFilePath(0)));
    ASSERT_TRUE(VRAXConnect(0, kConnectMs));
    EXPECT_EQ(ReadWholeFile(LockFilePath(0)), IdBytes(getpid()));
    EXPECT_EQ(VRAXGetUSBBusVoltage(), kUsbVoltage);
}

TEST(TwoProcesses, PortWithoutPermissionIsNotOpened)
{
    if (geteuid() != 0) GTEST_SKIP() << "only root can become another user";
    SimulatedInstrument instrument(0);
    CHostProcess process(kProgram);
    if (!process.Ask("nobody")) GTEST_SKIP() << "no other user in this namespace";
    EXPECT_FALSE(process.Ask("connect 0 1500"));
    EXPECT_FALSE(process.Ask("connect -1 1500"));
    EXPECT_TRUE(instrument.Exchanges().empty());
    EXPECT_EQ(CountLockFiles(), 0);
    process.CloseInput();
    int status = -1;
    EXPECT_TRUE(process.WaitForEnd(kLongWait, status));
    EXPECT_EQ(status, 0);
}
