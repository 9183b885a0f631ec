// The life of a connection: who is found where, what is told, and calls in an unusual order.

#include <gtest/gtest.h>

#include "support/LinkHost.h"
#include "support/Timing.h"

using namespace instrument;

TEST(Connection, FindsTheInstrumentOnTheFirstPortThatIdentifiesItself)
{
    CHost host;
    Options other;
    other.port = 0;
    SimulatedInstrument silent(other);
    silent.Inject(MakeFault(FaultKind::WrongBytes, Request::Identify, kForEver));
    Options options;
    options.port = 3;
    options.sequenceNumber = 77;
    SimulatedInstrument instrument(options);

    ASSERT_TRUE(VRAXConnect(-1, kConnectMs));
    EXPECT_STREQ(VRAXGetSerialNumber(), "TEC1020-250077");
    EXPECT_EQ(VRAXGetUSBBusVoltage(), kUsbVoltage);
    EXPECT_TRUE(std::filesystem::exists(LockFilePath(3)));
    EXPECT_FALSE(std::filesystem::exists(LockFilePath(0)));
}

TEST(Connection, TriesTheGivenPortAlone)
{
    CHost host;
    SimulatedInstrument first(0);
    Options options;
    options.port = 127;
    options.sequenceNumber = 5;
    SimulatedInstrument last(options);

    ASSERT_TRUE(VRAXConnect(127, kConnectMs));
    EXPECT_STREQ(VRAXGetSerialNumber(), "TEC1020-250005");
    EXPECT_TRUE(first.Exchanges().empty());
}

TEST(Connection, IsRefusedToAnIdentityWithAnotherLastLetter)
{
    CHost host;
    SimulatedInstrument instrument(0);
    Fault fault = MakeFault(FaultKind::WrongAcknowledge, Request::Identify, kForEver);
    fault.data = {'Q'};
    instrument.Inject(fault);
    EXPECT_FALSE(VRAXConnect(0, 1500));
    EXPECT_FALSE(VRAXIsConnected());
    EXPECT_TRUE(instrument.WaitForExchange(Request::Identify));
    EXPECT_EQ(CountLockFiles(), 0);
}

TEST(Connection, ToldOnceWhenItComesAndOnceWhenItIsFreed)
{
    SimulatedInstrument instrument(0);
    {
        CConnectedHost host;
        EXPECT_TRUE(VRAXIsConnected());
        EXPECT_FALSE(VRAXIsPPGConnected());
        EXPECT_EQ(Listener::Told(), std::vector<bool>({true}));
    }
    EXPECT_FALSE(VRAXIsConnected());
    EXPECT_EQ(Listener::Told(), std::vector<bool>({true, false}));
}

TEST(Connection, OfASecondInitUsesTheNewListenerAndTheSameThread)
{
    CHost host;
    const std::ptrdiff_t before = CountThreads();
    ASSERT_TRUE(VRAXInit([](bool) { ADD_FAILURE() << "the replaced listener was told"; }));
    const std::ptrdiff_t searching = CountThreads();
    ASSERT_TRUE(VRAXInit(Listener::OnConnected));
    EXPECT_EQ(CountThreads(), searching);
    EXPECT_EQ(searching, before + 1);

    SimulatedInstrument instrument(0);
    ASSERT_TRUE(Listener::WaitFor(true));
    EXPECT_EQ(Listener::Told(), std::vector<bool>({true}));
}

TEST(Connection, WithoutTimeGivesUpAtOnceAndFrees)
{
    CHost host;
    CCall<bool> call([] { return VRAXConnect(-1, 0); });
    EXPECT_FALSE(call.Result());
    EXPECT_FALSE(VRAXIsConnected());
    EXPECT_EQ(VRAXSetAmplitude(2.0), 0);  // a listener of the library's own stays registered
}

TEST(Connection, WithoutTimeIsFreedEvenWhenItExists)
{
    SimulatedInstrument instrument(0);
    CHost host;
    ASSERT_TRUE(VRAXConnect(0, kConnectMs));
    // The event of the first connection was consumed, and no new one comes.
    EXPECT_FALSE(VRAXConnect(-1, 0));
    EXPECT_FALSE(VRAXIsConnected());
    EXPECT_EQ(CountLockFiles(), 0);
}

TEST(Connection, TimeOutIsKept)
{
    CHost host;
    const CStopwatch watch;
    EXPECT_FALSE(VRAXConnect(0, 300));
    EXPECT_GE(watch.Ms(), 300.0);
    EXPECT_LE(watch.Ms(), 15000.0);
}

TEST(Connection, IsMadeAnewAfterItWasFreed)
{
    SimulatedInstrument instrument(0);
    CHost host;
    for (int i = 0; i < 3; ++i) {
        ASSERT_TRUE(VRAXConnect(0, kConnectMs));
        EXPECT_EQ(VRAXGetUSBBusVoltage(), kUsbVoltage);
        VRAXFree();
        EXPECT_FALSE(VRAXIsConnected());
        EXPECT_EQ(VRAXGetDeviceHandle(), -1);
        EXPECT_EQ(CountLockFiles(), 0);
    }
    ExpectNoRefusals(instrument);
}

TEST(Connection, FreedWithoutOneIsHarmless)
{
    EXPECT_TRUE(ComesBack([] {
        VRAXFree();
        VRAXFree();
    }));
    EXPECT_FALSE(VRAXIsConnected());
    EXPECT_EQ(VRAXGetOutputFunction(), OUTPUT_OFF);
}

TEST(Connection, FreedWhileItSearchesEndsWithinAnAttempt)
{
    CHost host;
    const std::ptrdiff_t before = CountThreads();
    ASSERT_TRUE(VRAXInit(Listener::OnConnected));
    EXPECT_TRUE(ComesBack([] { VRAXFree(); }));
    EXPECT_TRUE(Eventually([=] { return CountThreads() == before; }));
    EXPECT_TRUE(Listener::Told().empty());
}

TEST(Connection, FreedResetsTheParameters)
{
    SimulatedInstrument instrument(0);
    CHost host;
    ASSERT_TRUE(VRAXConnect(0, kConnectMs));
    ASSERT_EQ(VRAXSetAmplitude(3.0), 0);
    ASSERT_EQ(VRAXSetFrequency(2.0), 0);
    ASSERT_EQ(VRAXSetOutputLead(4, true), 0);
    VRAXFree();
    EXPECT_EQ(VRAXGetAmplitude(), 1.0);
    EXPECT_EQ(VRAXGetFrequency(), 1.0);
    EXPECT_EQ(GetAllOutputLead(), 1U);
}

TEST(Connection, FreedBySeveralThreadsAtOnce)
{
    SimulatedInstrument instrument(0);
    CConnectedHost host;
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_SINE), 0);
    ASSERT_TRUE(instrument.WaitForPackets(1));
    {
        CCall<int> one([] { return VRAXFree(), 0; });
        CCall<int> two([] { return VRAXFree(), 0; });
        CCall<int> three([] { return VRAXFree(), 0; });
    }
    EXPECT_FALSE(VRAXIsConnected());
    EXPECT_EQ(CountLockFiles(), 0);
    EXPECT_EQ(VRAXIsPlaying(), 0);
}

TEST(Connection, FreedFromItsOwnListenerEndsAfterIt)
{
    SimulatedInstrument instrument(0);
    CHost host;
    ASSERT_TRUE(VRAXInit([](bool connected) {
        if (connected) VRAXFree();
        Listener::OnConnected(connected);
    }));
    ASSERT_TRUE(Listener::WaitFor(true));
    ASSERT_TRUE(Listener::WaitFor(false));
    EXPECT_FALSE(VRAXIsConnected());
    EXPECT_TRUE(Eventually([] { return CountLockFiles() == 0; }));
    ASSERT_TRUE(VRAXConnect(0, kConnectMs));
    EXPECT_EQ(VRAXGetUSBBusVoltage(), kUsbVoltage);
}

TEST(Connection, ListenerMayStartTheOutput)
{
    SimulatedInstrument instrument(0);
    CHost host;
    ASSERT_TRUE(VRAXInit([](bool connected) {
        if (connected) VRAXSetOutputFunction(OUTPUT_SINE);
        Listener::OnConnected(connected);
    }));
    ASSERT_TRUE(Listener::WaitFor(true));
    EXPECT_TRUE(instrument.WaitForPackets(3));
    EXPECT_EQ(VRAXIsPlaying(), 1);
}
