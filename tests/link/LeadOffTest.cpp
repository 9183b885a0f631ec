// Lead-off and the right-leg drive as they go over the wire.

#include <gtest/gtest.h>

#include <climits>

#include "support/ApiLogFile.h"
#include "support/Frames.h"
#include "support/LinkHost.h"
#include "support/Slowdown.h"
#include "support/Timing.h"

using namespace instrument;

namespace {

const Bytes kRldOn = {0xAD, 0xFF, 0x00, 0x00, 0x10};
const Bytes kRldOff = {0xAD, 0xFF, 0x00, 0x00, 0x00};
const Bytes kRldRead = {0xAD, 0x00, 0x01, 0x00, 0x10};

constexpr int kBit10 = 1 << 10;
constexpr int kBit11 = 1 << 11;
constexpr int kBit13 = 1 << 13;
constexpr int kBit14 = 1 << 14;

// At 20000 Hz with lead 0.
Bytes Short(int bits)
{
    return {0x00,
            0xFF,
            0x03,
            0x4E,
            0x20,
            0x01,
            static_cast<std::uint8_t>(bits >> 8),
            static_cast<std::uint8_t>(bits)};
}

constexpr double kUntouched = -77.0;

struct Reading {
    double first = kUntouched;
    double second = kUntouched;
    int Read() { return VRAXReadRLD(&first, &second); }
};

class LeadOff : public testing::Test {
protected:
    LeadOff() { instrument_.ClearExchanges(); }

    // A change of the leads there and back, which sends the relays without lead-off.
    void RefreshRelays()
    {
        EXPECT_EQ(VRAXSetOutputLead(1, true), 0);
        EXPECT_EQ(VRAXSetOutputLead(1, false), 0);
        instrument_.ClearExchanges();
    }
    std::vector<Bytes> Sent() const { return Requests(instrument_.Exchanges()); }
    void SetCounts(std::uint16_t first, std::uint16_t second)
    {
        Measurements measurements = instrument_.GetMeasurements();
        measurements.rldCounts = {first, second};
        instrument_.SetMeasurements(measurements);
    }
    void FailNext(Request match, FaultKind kind, std::size_t bytes = 0)
    {
        Fault fault = MakeFault(kind, match);
        fault.bytes = bytes;
        instrument_.Inject(fault);
    }

    SimulatedInstrument instrument_{KeepingEverything()};
    CConnectedHost host_{kPatientMs};

private:
    static Options KeepingEverything()
    {
        Options options = RealTime();
        options.keepStreamExchanges = true;
        return options;
    }
};
using Rld = LeadOff;

}  // namespace

TEST_F(LeadOff, SendsTheShortRelayCommandOfEveryModeAfterEveryMode)
{
    // Bits after the first mode, then the second.
    constexpr int kAlone[] = {0, kBit13 | kBit14, kBit13, kBit11};
    constexpr int kAfter[4][4] = {
        {0, kBit13 | kBit14, kBit13, kBit11},
        {kBit14, kBit13 | kBit14, kBit13, kBit11 | kBit13 | kBit14},
        {0, kBit13 | kBit14, kBit13, kBit11 | kBit13},
        {0, kBit13 | kBit14, kBit13, kBit11},
    };
    for (int first = 0; first < 4; ++first) {
        for (int second = 0; second < 4; ++second) {
            RefreshRelays();
            EXPECT_EQ(VRAXSetLeadOff(first), 1);
            EXPECT_EQ(VRAXSetLeadOff(second), 1);
            EXPECT_EQ(Sent(),
                      std::vector<Bytes>({Short(kAlone[first]), Short(kAfter[first][second])}))
                << first << " then " << second;
            EXPECT_EQ(instrument_.Relays().LeadOffMode(), static_cast<unsigned>(second));
        }
    }
    ExpectNoRefusals(instrument_);
}

TEST_F(LeadOff, KeepsTheLeadsAndTheOtherRelays)
{
    SetAllOutputLead(0x1FF);
    ASSERT_EQ(VRAXSetDCOffsetCommonMode(true), 0);
    ASSERT_EQ(VRAXSetInputImpedanceMode(false), 0);
    const std::uint32_t before = instrument_.Relays().word;
    ASSERT_EQ(before, 0x7F0321U);
    instrument_.ClearExchanges();
    ASSERT_EQ(VRAXSetLeadOff(1), 1);
    EXPECT_EQ(Sent(),
              std::vector<Bytes>({{0x00, 0xFF, 0x03, 0x4E, 0x20, 0x7F, 0x03 | 0x60, 0x21}}));
}

TEST_F(LeadOff, CarriesTheSampleRate)
{
    ASSERT_EQ(VRAXSetSampleRate(40000), 0);
    instrument_.ClearExchanges();
    ASSERT_EQ(VRAXSetLeadOff(2), 1);
    EXPECT_EQ(Sent(), std::vector<Bytes>({{0x00, 0xFF, 0x03, 0x9C, 0x40, 0x01, 0x20, 0x00}}));
}

TEST_F(LeadOff, OfAnotherModeSendsAndLogsNothing)
{
    ApiLogFile log;
    for (const int mode : {4, -1, 5, INT_MIN, INT_MAX}) EXPECT_EQ(VRAXSetLeadOff(mode), 0) << mode;
    EXPECT_EQ(Sent(), std::vector<Bytes>());
    EXPECT_EQ(log.NewText(), "");
}

TEST_F(LeadOff, IsLoggedAsItsCallWhateverComesBack)
{
    ApiLogFile log;
    for (int mode = 0; mode < 4; ++mode) EXPECT_EQ(VRAXSetLeadOff(mode), 1);
    FailNext(Request::LeadOff, FaultKind::ShortReply, 63);
    EXPECT_EQ(VRAXSetLeadOff(2), 0);
    EXPECT_EQ(log.NewLines(),
              (Lines{"VRAXSetLeadOff(0);", "VRAXSetLeadOff(1);", "VRAXSetLeadOff(2);",
                     "VRAXSetLeadOff(3);", "VRAXSetLeadOff(2);"}));
}

TEST_F(LeadOff, NeedsAWholeReplyWhateverStandsInIt)
{
    FailNext(Request::LeadOff, FaultKind::Silence);
    EXPECT_EQ(VRAXSetLeadOff(1), 0);
    FailNext(Request::LeadOff, FaultKind::ShortReply, 63);
    EXPECT_EQ(VRAXSetLeadOff(1), 0);
    FailNext(Request::LeadOff, FaultKind::WrongBytes);
    EXPECT_EQ(VRAXSetLeadOff(1), 1);
    EXPECT_EQ(VRAXSetLeadOff(1), 1);
}

TEST_F(LeadOff, HoldsUntilTheRelaysAreSentAgain)
{
    ASSERT_EQ(VRAXSetLeadOff(3), 1);
    ASSERT_EQ(VRAXMeasureRLD(true), 1);
    // Nothing of the relays changes here.
    ASSERT_EQ(VRAXSetAmplitude(2.0), 0);
    EXPECT_EQ(instrument_.Relays().LeadOffMode(), 3U);
    EXPECT_TRUE(instrument_.Relays().MeasuresRld());
    ASSERT_EQ(VRAXSetOutputLead(4, true), 0);
    EXPECT_EQ(instrument_.Relays().word, 0x110000U);

    ASSERT_EQ(VRAXSetLeadOff(1), 1);
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_ECG), 0);  // sends them by force
    ASSERT_TRUE(instrument_.WaitForPackets(2));
    EXPECT_EQ(instrument_.Relays().word & 0x6C00U, 0U);
    EXPECT_EQ(VRAXSetLeadOff(2), 1);
    EXPECT_EQ(instrument_.Relays().LeadOffMode(), 2U);
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_OFF), 0);
    EXPECT_EQ(instrument_.Relays().LeadOffMode(), 0U);
}

TEST_F(LeadOff, GoesBetweenPacketsWhileASignalPlays)
{
    SetCounts(100, 200);
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_ECG), 0);
    ASSERT_TRUE(instrument_.WaitForPackets(2));
    for (int i = 0; i < 8; ++i) {
        EXPECT_EQ(VRAXSetLeadOff(i % 4), 1);
        EXPECT_EQ(VRAXMeasureRLD(i % 2 == 0), 1);
        Reading reading;
        EXPECT_EQ(reading.Read(), 1);
        EXPECT_NEAR(reading.second, 200 * 3.3 / 1023, 1e-12);
    }
    EXPECT_EQ(instrument_.Relays().LeadOffMode(), 3U);
    ASSERT_TRUE(instrument_.WaitForMorePackets(5));
    const std::vector<Exchange> all = instrument_.Exchanges();
    for (std::size_t i = 1; i + 1 < all.size(); ++i) {
        EXPECT_LE(all[i - 1].replied, all[i].arrived) << NameOf(all[i].kind) << " " << i;
    }
    const StreamStatistics statistics = instrument_.Statistics();
    EXPECT_EQ(statistics.sequenceErrors, 0U);
    EXPECT_EQ(statistics.modeErrors, 0U);
    EXPECT_EQ(statistics.frameErrors, 0U);
    EXPECT_EQ(statistics.runs, 1U);
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_OFF), 0);
    ExpectNoRefusals(instrument_);
}

TEST_F(LeadOff, GivesUpWhenTheInstrumentGoesWhileItWaitsForTheLine)
{
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_ECG), 0);
    ASSERT_TRUE(instrument_.WaitForPackets(2));
    instrument_.Inject(MakeFault(FaultKind::Silence, Request::Stream, kForEver));
    ASSERT_TRUE(instrument_.WaitForMorePackets(1));  // the line stays busy with it
    const std::size_t before = instrument_.Exchanges(Request::LeadOff).size();
    CCall<int> call([] { return VRAXSetLeadOff(2); });
    call.WaitUntilBlocked();
    instrument_.Unplug();
    EXPECT_EQ(call.Result(), 0);
    EXPECT_EQ(instrument_.Exchanges(Request::LeadOff).size(), before);
}

TEST_F(LeadOff, GivesUpWhenTheOutputIsSwitchedOffWhileItWaitsForTheLine)
{
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_ECG), 0);
    ASSERT_TRUE(instrument_.WaitForPackets(2));
    instrument_.Inject(MakeFault(FaultKind::Silence, Request::Stream, kForEver));
    ASSERT_TRUE(instrument_.WaitForMorePackets(1));
    CCall<int> call([] { return VRAXSetLeadOff(2); });
    call.WaitUntilBlocked();
    EXPECT_TRUE(ComesBack([] { VRAXSetOutputFunction(OUTPUT_OFF); }));
    EXPECT_EQ(call.Result(), 0);
    EXPECT_EQ(VRAXIsPlaying(), 0);
}

TEST_F(Rld, SwitchIsFiveBytesThenTheShortCommandWithBit10)
{
    EXPECT_EQ(VRAXMeasureRLD(true), 1);
    EXPECT_EQ(VRAXMeasureRLD(false), 1);
    EXPECT_EQ(Sent(), std::vector<Bytes>({kRldOn, Short(kBit10), kRldOff, Short(0)}));
    EXPECT_FALSE(instrument_.State().rldMeasurement);
    instrument_.ClearExchanges();
    ASSERT_EQ(VRAXSetLeadOff(1), 1);
    ASSERT_EQ(VRAXMeasureRLD(true), 1);
    EXPECT_EQ(Sent(), std::vector<Bytes>(
                          {Short(kBit13 | kBit14), kRldOn, Short(kBit10 | kBit13 | kBit14)}));
    EXPECT_TRUE(instrument_.State().rldMeasurement);
    EXPECT_TRUE(instrument_.Relays().MeasuresRld());
    ExpectNoRefusals(instrument_);
}

TEST_F(Rld, SwitchIsLoggedAndTheReadingIsNot)
{
    ApiLogFile log;
    Reading reading;
    EXPECT_EQ(VRAXMeasureRLD(true), 1);
    EXPECT_EQ(reading.Read(), 1);
    EXPECT_EQ(VRAXMeasureRLD(false), 1);
    FailNext(Request::RldStart, FaultKind::WrongAcknowledge);
    EXPECT_EQ(VRAXMeasureRLD(true), 0);
    EXPECT_EQ(log.NewLines(),
              (Lines{"VRAXMeasureRLD(true);", "VRAXMeasureRLD(false);", "VRAXMeasureRLD(true);"}));
}

TEST_F(Rld, ReplyToTheSwitchIsReadAfterFiveMilliseconds)
{
    std::vector<double> gaps;
    for (int i = 0; i < 9; ++i) {
        instrument_.ClearExchanges();
        const CStopwatch watch;
        ASSERT_EQ(VRAXMeasureRLD(i % 2 == 0), 1);
        EXPECT_GE(watch.Ms(), 5.0);
        const std::vector<Exchange> all = instrument_.Exchanges();
        ASSERT_EQ(all.size(), 2U);
        gaps.push_back(MsBetween(all[0].arrived, all[1].arrived));
    }
    const double gap = MedianMs(gaps);
    EXPECT_GE(gap, 5.0 - kStampJitterMs);
    EXPECT_LE(gap, 60.0 * kSlowdown);
}

TEST_F(Rld, SwitchFailsAtTheFirstStepWithoutAWholeAcknowledgedReply)
{
    for (const bool on : {true, false}) {
        const Request request = on ? Request::RldStart : Request::SamplingStop;
        instrument_.ClearExchanges();
        FailNext(request, FaultKind::WrongAcknowledge);
        EXPECT_EQ(VRAXMeasureRLD(on), 0);
        FailNext(request, FaultKind::ShortReply, 63);
        EXPECT_EQ(VRAXMeasureRLD(on), 0);
        FailNext(request, FaultKind::Silence);
        EXPECT_EQ(VRAXMeasureRLD(on), 0);
        const Bytes sent = on ? kRldOn : kRldOff;
        EXPECT_EQ(Sent(), std::vector<Bytes>({sent, sent, sent}));
    }
}

TEST_F(Rld, SwitchFailsAtTheSecondStepWithoutAWholeReply)
{
    FailNext(Request::LeadOff, FaultKind::ShortReply, 63);
    EXPECT_EQ(VRAXMeasureRLD(true), 0);
    FailNext(Request::LeadOff, FaultKind::Silence);
    EXPECT_EQ(VRAXMeasureRLD(true), 0);
    EXPECT_EQ(Sent(), std::vector<Bytes>({kRldOn, Short(kBit10), kRldOn, Short(kBit10)}));
    FailNext(Request::LeadOff, FaultKind::WrongBytes);
    EXPECT_EQ(VRAXMeasureRLD(true), 1);
}

TEST_F(Rld, CountsBecomeVolts)
{
    struct Case {
        std::uint16_t count;
        double volts;
    };
    for (const Case& one : {Case{0, 0.0}, Case{512, 1.6516129032258065}, Case{1023, 3.3},
                            Case{1, 3.3 / 1023}, Case{258, 258 * 3.3 / 1023}}) {
        SetCounts(one.count, 341);
        Reading reading;
        ASSERT_EQ(reading.Read(), 1);
        EXPECT_NEAR(reading.first, one.volts, 1e-14) << one.count;
        EXPECT_NEAR(reading.second, 1.1, 1e-14);
        SetCounts(682, one.count);
        ASSERT_EQ(reading.Read(), 1);
        EXPECT_NEAR(reading.first, 2.2, 1e-14);
        EXPECT_NEAR(reading.second, one.volts, 1e-14) << one.count;
    }
}

TEST_F(Rld, ReadingIsOneCommandOfFiveBytes)
{
    Reading reading;
    ASSERT_EQ(reading.Read(), 1);
    EXPECT_EQ(Sent(), std::vector<Bytes>({kRldRead}));
}

TEST_F(Rld, ReadingThatFailsLeavesTheValues)
{
    for (const FaultKind kind :
         {FaultKind::WrongAcknowledge, FaultKind::ShortReply, FaultKind::Silence}) {
        FailNext(Request::RldRead, kind, 63);
        Reading reading;
        EXPECT_EQ(reading.Read(), 0);
        EXPECT_EQ(reading.first, kUntouched);
        EXPECT_EQ(reading.second, kUntouched);
    }
    Reading reading;
    EXPECT_EQ(reading.Read(), 1);
}

TEST_F(Rld, ReadingWithoutAPlaceForAValueSendsNothing)
{
    double value = kUntouched;
    EXPECT_EQ(VRAXReadRLD(nullptr, &value), 0);
    EXPECT_EQ(VRAXReadRLD(&value, nullptr), 0);
    EXPECT_EQ(VRAXReadRLD(nullptr, nullptr), 0);
    EXPECT_EQ(value, kUntouched);
    EXPECT_EQ(Sent(), std::vector<Bytes>());
}

TEST_F(Rld, AndLeadOffFailWithoutALogLineWhenTheInstrumentIsUnplugged)
{
    ApiLogFile log;
    instrument_.Unplug();
    ASSERT_TRUE(Listener::WaitFor(false));
    Reading reading;
    EXPECT_EQ(VRAXSetLeadOff(1), 0);
    EXPECT_EQ(VRAXMeasureRLD(true), 0);
    EXPECT_EQ(reading.Read(), 0);
    EXPECT_EQ(reading.first, kUntouched);
    EXPECT_EQ(log.NewText(), "");
}

TEST(ElectrodesWithoutAnInstrument, FailWithoutALogLineAlsoWhileASignalIsComputed)
{
    ApiLogFile log;
    EXPECT_EQ(VRAXSetLeadOff(0), 0);
    EXPECT_EQ(VRAXMeasureRLD(false), 0);
    Reading reading;
    EXPECT_EQ(reading.Read(), 0);
    CListeningHost host;
    EXPECT_EQ(log.NewText(), "");
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_ECG), 0);
    ASSERT_TRUE(Eventually([] { return VRAXIsPlaying() == 1; }));
    EXPECT_EQ(VRAXSetLeadOff(1), 0);
    EXPECT_EQ(VRAXMeasureRLD(true), 0);
    EXPECT_EQ(reading.Read(), 0);
    EXPECT_EQ(reading.second, kUntouched);
    EXPECT_EQ(log.NewLines(), Lines{"VRAXSetOutputFunction(7);"});
}
