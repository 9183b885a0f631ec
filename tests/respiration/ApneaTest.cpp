// The apnea on the instrument: when it is commanded, and the block that carries it.

#include <gtest/gtest.h>

#include <vector>

#include "streaming/OutputSelection.h"
#include "support/Frames.h"
#include "support/OfflineRun.h"
#include "support/OpenInstrument.h"
#include "support/RespirationModule.h"
#include "support/Timing.h"
#include "synthesis/Respiration.h"
#include "vrax.h"

using instrument::FaultKind;
using instrument::Request;

namespace {
class Apnea : public testing::Test {
protected:
    Apnea()
    {
        EXPECT_EQ(VRAXSetRespiration(2345, 25, 4, 1500, 10), 1);
        device().ClearExchanges();
    }
    instrument::SimulatedInstrument& device() { return opened_.device; }

    struct Switch {
        int second;
        int flag;
        bool operator==(const Switch&) const = default;
    };
    // What the seconds of a run set off.
    std::vector<Switch> Follow(int seconds)
    {
        std::vector<Switch> switches;
        for (int second = 0; second < seconds; ++second) {
            device().ClearExchanges();
            _CheckApnea(second);
            for (const auto& write : device().Exchanges(Request::ControlWrite)) {
                switches.push_back({second, write.request[12]});
            }
        }
        return switches;
    }

    COpenInstrument opened_;
};
}  // namespace

TEST_F(Apnea, RewritesItsBytesInTheBlockThatWasRead)
{
    for (const std::size_t index : {13u, 20u, 30u, 40u, 63u}) device().SetControlByte(index, 0x5A);
    for (const bool on : {true, false}) {
        device().ClearExchanges();
        const CStopwatch watch;
        EXPECT_EQ(_SetApnea(on), 1);
        EXPECT_GE(watch.Ms(), 10.0);
        const auto exchanges = device().Exchanges();
        ASSERT_EQ(exchanges.size(), 2u);
        EXPECT_EQ(exchanges[0].request, (Bytes{0xEA, 0x00, 0x01}));
        Bytes expected = exchanges[0].reply;
        ASSERT_EQ(expected.size(), 64u);
        expected[1] = 0xFF;
        expected[8] = 25;
        expected[9] = 23;
        expected[10] = 3;
        expected[11] = 2;
        expected[12] = on ? 1 : 0;
        EXPECT_EQ(exchanges[1].request, expected);
        EXPECT_EQ(device().ControlBlock()[40], 0x5A);
    }
}

TEST_F(Apnea, WritesNothingWhenTheBlockCannotBeRead)
{
    for (const FaultKind kind : {FaultKind::ShortReply, FaultKind::Silence}) {
        device().Inject(FaultOn(Request::ControlRead, kind));
        EXPECT_EQ(_SetApnea(true), 0);
    }
    EXPECT_TRUE(device().Exchanges(Request::ControlWrite).empty());
}

TEST_F(Apnea, IsRefusedWithoutAcknowledgement)
{
    for (const FaultKind kind : {FaultKind::WrongAcknowledge, FaultKind::ShortReply}) {
        device().Inject(FaultOn(Request::ControlWrite, kind));
        EXPECT_EQ(_SetApnea(true), 0);
    }
    EXPECT_EQ(_SetApnea(true), 1);
}

TEST_F(Apnea, CoversTheLastSecondsOfEveryMinute)
{
    EXPECT_EQ(Follow(150), (std::vector<Switch>{{50, 1}, {60, 0}, {110, 1}, {120, 0}}));
}

TEST_F(Apnea, OfNoSecondsNeverStarts)
{
    s_ApneaTime = 0;
    EXPECT_TRUE(Follow(130).empty());
}

TEST_F(Apnea, OfSixtySecondsStartsAtOnceAndNeverEnds)
{
    s_ApneaTime = 60;
    EXPECT_EQ(Follow(130), (std::vector<Switch>{{0, 1}}));
}

// It is not sent again before the next change.
TEST_F(Apnea, ThatTheInstrumentDidNotTakeCountsAsCommanded)
{
    device().Inject(FaultOn(Request::ControlWrite, FaultKind::WrongAcknowledge));
    _CheckApnea(50);
    EXPECT_TRUE(s_Apnea_On);
    device().ClearExchanges();
    _CheckApnea(51);
    EXPECT_TRUE(device().Exchanges().empty());
}

// The stream itself holds the module's resistance.
TEST(ApneaOfTheModule, IsCommandedNeitherByAPacketNorByTheEndOfTheRun)
{
    COpenInstrument opened(WithRespirationModule());
    g_RespirationEnabled = true;
    s_ApneaTime = 60;
    {
        OfflineRun run(OUTPUT_SINE);
        run.NextPacket();
        EXPECT_FALSE(s_Apnea_On);
    }
    s_Apnea_On = true;
    PlayPostProcessing();
    EXPECT_TRUE(s_Apnea_On);
    EXPECT_TRUE(opened.device.Exchanges(Request::ControlRead).empty());
    EXPECT_TRUE(opened.device.Exchanges(Request::ControlWrite).empty());
    EXPECT_EQ(opened.device.Exchanges(Request::Relays).size(), 2U);  // of the run and of its end
}

TEST_F(Apnea, IsSwitchedOffAtTheEndOfARun)
{
    _CheckApnea(55);
    ASSERT_EQ(device().ControlBlock()[12], 1);
    EndApnea();
    EXPECT_EQ(device().ControlBlock()[12], 0);
    EXPECT_FALSE(s_Apnea_On);
}
