// A hundred times the same: nothing is left behind.

#include <gtest/gtest.h>

#include "support/Descriptors.h"
#include "support/LinkHost.h"

using namespace instrument;

namespace {

constexpr int kCycles = 100;

struct Resources {
    std::ptrdiff_t descriptors = CountDescriptors();
    std::ptrdiff_t threads = CountThreads();
    std::ptrdiff_t lockFiles = CountLockFiles();
    bool operator==(const Resources&) const = default;
};
void PrintTo(const Resources& resources, std::ostream* out)
{
    *out << resources.descriptors << " descriptors, " << resources.threads << " threads, "
         << resources.lockFiles << " lock files";
}

// Old enough to need the fewest commands.
Options QuickToConnect()
{
    Options options = RealTime();
    options.firmware = {1, 2, 0, 0};
    return options;
}

}  // namespace

TEST(Cycles, OfConnectAndFreeLeaveNothingBehind)
{
    SimulatedInstrument instrument(QuickToConnect());
    CHost host(300);
    ASSERT_TRUE(VRAXConnect(0, kConnectMs));
    VRAXFree();
    const Resources before;
    EXPECT_EQ(before.lockFiles, 0);
    for (int i = 0; i < kCycles; ++i) {
        ASSERT_TRUE(VRAXConnect(i % 2 == 0 ? 0 : -1, kConnectMs)) << i;
        VRAXFree();
        ASSERT_FALSE(VRAXIsConnected()) << i;
    }
    EXPECT_EQ(Resources(), before);
    ExpectNoRefusals(instrument);
}

TEST(Cycles, OfOnAndOffLeaveNothingBehind)
{
    SimulatedInstrument instrument(QuickToConnect());
    CConnectedHost host(kPatientMs);
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_SINE), 0);
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_OFF), 0);
    const Resources before;
    for (int i = 0; i < kCycles; ++i) {
        ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_SINE), 0);
        ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_OFF), 0);
    }
    EXPECT_EQ(Resources(), before);
    EXPECT_EQ(instrument.Statistics().sequenceErrors, 0U);
    ExpectNoRefusals(instrument);
}

TEST(Cycles, OfRunsWithoutAnInstrumentLeaveNothingBehind)
{
    CListeningHost host;
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_SINE), 0);
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_OFF), 0);
    const Resources before;
    for (int i = 0; i < kCycles; ++i) {
        ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_SINE), 0);
        ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_OFF), 0);
    }
    EXPECT_TRUE(Eventually([&] { return Resources() == before; }));
    EXPECT_EQ(Resources(), before);
}

// Idle and playing by turns.
TEST(Cycles, OfPlugAndUnplugLeaveNothingBehind)
{
    SimulatedInstrument instrument(QuickToConnect());
    CConnectedHost host(300);
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_OFF), 0);
    const Resources before;
    for (int i = 1; i <= kCycles; ++i) {
        const bool plays = i % 10 == 0;
        if (plays) {
            ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_SINE), 0);
            ASSERT_TRUE(instrument.WaitForMorePackets(1));
        }
        instrument.Unplug();
        ASSERT_TRUE(Listener::WaitFor(false, i)) << i;
        EXPECT_EQ(CountLockFiles(), 0) << i;
        instrument.Plug();
        ASSERT_TRUE(Listener::WaitFor(true, i + 1)) << i;
        if (plays) {
            ASSERT_TRUE(instrument.WaitForMorePackets(1)) << i;
            ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_OFF), 0);
        }
    }
    EXPECT_TRUE(Eventually([&] { return Resources() == before; }));
    EXPECT_EQ(Resources(), before);
    ExpectNoRefusals(instrument);
}
