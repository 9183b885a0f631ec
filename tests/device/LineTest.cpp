// Commands on a connected instrument, with every thread of the library at work.

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "support/Frames.h"
#include "support/OpenInstrument.h"
#include "support/Timing.h"
#include "vrax.h"

using instrument::Exchange;
using instrument::Request;

namespace {
constexpr unsigned kGenerousMs = 20000;

class Connection : public testing::Test {
protected:
    static instrument::Options Recording()
    {
        instrument::Options options;
        options.pace = instrument::Pace::RealTime;
        options.keepStreamExchanges = true;
        return options;
    }

    Connection() : device_(Recording()) { EXPECT_TRUE(VRAXConnect(0, kGenerousMs)); }
    ~Connection() override { VRAXFree(); }

    instrument::SimulatedInstrument device_;
};
}  // namespace

// The poll thread waits for input without the port's lock, so pausing it never takes a read budget.
TEST_F(Connection, ACommandOnAnIdleLineGoesOutWithoutWaitingForAReadBudget)
{
    std::vector<double> waits;
    for (int i = 0; i < 21; ++i) {
        device_.ClearExchanges();
        const auto asked = instrument::Clock::now();
        ASSERT_EQ(VRAXGetUSBBusVoltage(), 250u);
        const auto exchanges = device_.Exchanges(Request::UsbVoltage);
        ASSERT_EQ(exchanges.size(), 1u);
        waits.push_back(MsBetween(asked, exchanges[0].arrived));
        usleep(5000);  // the poll thread waits again
    }
    std::sort(waits.begin(), waits.end());
    EXPECT_GE(waits.front(), 1.0);
    EXPECT_LT(waits[waits.size() / 2], 50.0);
}

TEST_F(Connection, APieceOfABlockDoesNotHoldUpACommand)
{
    for (int i = 0; i < 10; ++i) {
        device_.SendUnsolicited(Bytes(10, 0xAD));
        usleep(3000);  // the poll thread has taken it or not
        EXPECT_EQ(VRAXGetUSBBusVoltage(), 250u);
    }
}

TEST_F(Connection, ACommandTakesTheGapBetweenAReplyAndTheNextPacket)
{
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_SINE), 0);
    ASSERT_TRUE(device_.WaitForPackets(3));
    for (int i = 0; i < 20; ++i) EXPECT_EQ(VRAXGetUSBBusVoltage(), 250u);
    ASSERT_TRUE(device_.WaitForMorePackets(3));
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_OFF), 0);
    ASSERT_TRUE(device_.WaitForStop());

    const std::vector<Exchange> all = device_.Exchanges();
    int seen = 0;
    for (std::size_t i = 1; i + 1 < all.size(); ++i) {
        if (all[i].kind != Request::UsbVoltage) continue;
        ++seen;
        EXPECT_EQ(all[i].request, (Bytes{0xCC, 0x00, 0x42}));
        EXPECT_FALSE(all[i - 1].reply.empty());
        EXPECT_LE(all[i - 1].replied, all[i].arrived) << "no packet is in flight";
        EXPECT_LE(all[i].replied, all[i + 1].arrived) << "the packet follows the reply";
    }
    EXPECT_EQ(seen, 20);
    const instrument::StreamStatistics statistics = device_.Statistics();
    EXPECT_EQ(statistics.sequenceErrors, 0u);
    EXPECT_EQ(statistics.frameErrors, 0u);
    EXPECT_EQ(device_.RefusalCount(), 0u);
}

TEST_F(Connection, AnUnansweredCommandDoesNotStopTheStream)
{
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_SINE), 0);
    ASSERT_TRUE(device_.WaitForPackets(3));
    device_.Inject(FaultOn(Request::UsbVoltage, instrument::FaultKind::Silence));
    EXPECT_EQ(VRAXGetUSBBusVoltage(), 0u);
    EXPECT_TRUE(device_.WaitForMorePackets(5));
    EXPECT_EQ(VRAXGetUSBBusVoltage(), 250u);
    EXPECT_EQ(VRAXSetOutputFunction(OUTPUT_OFF), 0);
    EXPECT_EQ(device_.Statistics().sequenceErrors, 0u);
}
