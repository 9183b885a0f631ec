// Every call from many threads at once while a signal plays.

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <thread>

#include "support/EveryCall.h"
#include "support/LinkHost.h"
#include "support/Slowdown.h"

using namespace instrument;

namespace {

constexpr int kThreads = 10;
constexpr int kRounds = kSlowdown > 1 ? 2 : 6;

Calls EveryParameter(int thread)
{
    Calls all;
    for (const Calls& calls : {NumberSetters(1.0 + 0.1 * thread), FlagSetters(thread),
                               ParameterGetters(), InstrumentGetters(), CallbackSetters()}) {
        all.insert(all.end(), calls.begin(), calls.end());
    }
    return all;
}

// Each thread in an order of its own, the same one every time.
void CallInThreads(const std::function<Calls(int)>& callsOf, int rounds)
{
    std::vector<std::unique_ptr<CCall<int>>> threads;
    for (int thread = 0; thread < kThreads; ++thread) {
        threads.push_back(std::make_unique<CCall<int>>([=] {
            std::mt19937 random(static_cast<unsigned>(thread));
            Calls calls = callsOf(thread);
            for (int round = 0; round < rounds; ++round) {
                std::shuffle(calls.begin(), calls.end(), random);
                CallAll(calls);
            }
            return 0;
        }));
    }
    for (const auto& thread : threads) {
        ASSERT_TRUE(thread->HasReturned(std::chrono::minutes(8)));
    }
}

// Packets that neither follow the one before nor begin a run after a stop packet. The instrument's
// own count cannot tell a stop packet from a resting signal whose relays are off already.
int CountMisplacedPackets(const std::vector<Exchange>& packets)
{
    int misplaced = 0;
    unsigned expected = 0;
    bool mayBegin = true;
    for (const Exchange& packet : packets) {
        const auto first = static_cast<unsigned>(packet.request[6] << 8 | packet.request[7]);
        if (first != expected && !(first == 0 && mayBegin)) ++misplaced;
        expected = (first + 50) & 0xFFFF;
        mayBegin = IsStopPacket(packet.request);
    }
    return misplaced;
}

}  // namespace

TEST(ManyThreads, CallEverySetterAndGetterWhileASignalPlays)
{
    Options options;
    options.pace = kSlowdown > 1 ? Pace::RealTime : Pace::Fast;
    SimulatedInstrument instrument(options);
    CConnectedHost host(kPatientMs);
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_ECG), 0);
    ASSERT_TRUE(instrument.WaitForPackets(1));
    CallInThreads(EveryParameter, kRounds);

    EXPECT_EQ(VRAXIsPlaying(), 1);
    ASSERT_TRUE(instrument.WaitForMorePackets(3));
    EXPECT_EQ(instrument.Statistics().runs, 1U);
    EXPECT_EQ(instrument.Statistics().sequenceErrors, 0U);
    EXPECT_EQ(VRAXSetOutputFunction(OUTPUT_OFF), 0);
    EXPECT_EQ(VRAXIsPlaying(), 0);
    ExpectNoRefusals(instrument);
}

TEST(ManyThreads, SwitchTheOutputOnAndOff)
{
    Options options;
    options.pace = kSlowdown > 1 ? Pace::RealTime : Pace::Fast;
    options.keepStreamExchanges = true;
    SimulatedInstrument instrument(options);
    CConnectedHost host(kPatientMs);
    CallInThreads(OutputSetters, 1);

    EXPECT_EQ(VRAXSetBaselineResetTest(0), 0);
    EXPECT_EQ(VRAXSetOutputFunction(OUTPUT_OFF), 0);
    EXPECT_TRUE(Eventually([] { return VRAXIsPlaying() == 0; }));
    EXPECT_EQ(CountMisplacedPackets(instrument.Exchanges(Request::Stream)), 0);
    ExpectNoRefusals(instrument);
    // And it still plays.
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_SINE), 0);
    EXPECT_TRUE(instrument.WaitForMorePackets(3));
}

TEST(ManyThreads, CallEverySetterAndGetterWithoutAnInstrument)
{
    CListeningHost host;
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_ECG), 0);
    CallInThreads(EveryParameter, 1);
    EXPECT_EQ(VRAXIsPlaying(), 1);
    EXPECT_EQ(VRAXSetOutputFunction(OUTPUT_OFF), 0);
    EXPECT_EQ(VRAXIsPlaying(), 0);
}

TEST(ManyThreads, CallEverySetterAndGetterWhileTheInstrumentComesAndGoes)
{
    SimulatedInstrument instrument(RealTime());
    CConnectedHost host(kPatientMs);
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_ECG), 0);
    ASSERT_TRUE(instrument.WaitForPackets(1));
    CCall<int> plugs([&instrument] {
        for (int i = 1; i <= 3; ++i) {
            instrument.Unplug();
            Listener::WaitFor(false, i);
            instrument.Plug();
            Listener::WaitFor(true, i + 1);
        }
        return 0;
    });
    CallInThreads(EveryParameter, 1);
    ASSERT_TRUE(plugs.HasReturned(std::chrono::minutes(3)));
    EXPECT_TRUE(instrument.WaitForMorePackets(3));
    EXPECT_EQ(VRAXSetOutputFunction(OUTPUT_OFF), 0);
}

TEST(ManyThreads, ConnectAndFreeAtTheSameTime)
{
    SimulatedInstrument instrument(0);
    CHost host;
    std::vector<std::unique_ptr<CCall<int>>> threads;
    for (int i = 0; i < 4; ++i) {
        threads.push_back(std::make_unique<CCall<int>>([i] {
            for (int round = 0; round < 3; ++round) {
                if (i % 2 == 0) VRAXConnect(0, 2000);
                VRAXFree();
            }
            return 0;
        }));
    }
    for (const auto& thread : threads) {
        ASSERT_TRUE(thread->HasReturned(std::chrono::minutes(2)));
    }
    threads.clear();
    EXPECT_FALSE(VRAXIsConnected());
    EXPECT_EQ(CountLockFiles(), 0);
    ASSERT_TRUE(VRAXConnect(0, kConnectMs));
    EXPECT_EQ(VRAXGetUSBBusVoltage(), kUsbVoltage);
}
