// Pacing as the instrument sees it: the settings it is sent and the pulses that it makes of the
// marks.

#include <gtest/gtest.h>

#include <cmath>

#include "support/LinkHost.h"
#include "support/PlayClockModel.h"

using namespace instrument;

namespace {

constexpr int kRate = 20000;
constexpr Milliseconds kLongRun{120000};

Options KeepingTheStream(Pace pace)
{
    Options options;
    options.pace = pace;
    options.keepStreamExchanges = true;
    return options;
}

class PacingWire : public testing::Test {
protected:
    explicit PacingWire(Pace pace = Pace::Fast) : instrument_(KeepingTheStream(pace)) {}

    // The samples that started the pulses, of the first and only run.
    std::vector<std::size_t> Starts() const
    {
        std::vector<std::size_t> starts;
        for (const Pulse& pulse : instrument_.Pulses()) starts.push_back(pulse.sample);
        return starts;
    }

    SimulatedInstrument instrument_;
    CConnectedHost host_{kPatientMs};
};

class PacingWireInRealTime : public PacingWire {
protected:
    PacingWireInRealTime() : PacingWire(Pace::RealTime) {}
};

// The first samples that show the steps `offset` + k `period` of the play clock.
std::vector<std::size_t> FirstSamples(const std::vector<long>& offsets, long period,
                                      std::size_t samples)
{
    const std::vector<long> steps = TimeSteps(samples, kRate);
    std::vector<std::size_t> starts;
    for (std::size_t n = 0; n < samples; ++n) {
        const bool isRepeated = n > 0 && steps[n] == steps[n - 1];
        for (const long offset : offsets) {
            if (!isRepeated && steps[n] >= offset && (steps[n] - offset) % period == 0) {
                starts.push_back(n);
            }
        }
    }
    return starts;
}

}  // namespace

// Two minutes of 120 pulses a minute, 30 ms ahead of each half second.
TEST_F(PacingWire, PulsesComeAtTheirRateWithTheirHeightAndLength)
{
    ASSERT_EQ(VRAXSetPacingAmplitude(-250.0), 0);
    ASSERT_EQ(VRAXSetPacingDuration(1.5), 0);
    ASSERT_EQ(VRAXSetPacingRate(120), 0);
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_SINE), 0);
    ASSERT_TRUE(instrument_.WaitForPulses(240, kLongRun));
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_OFF), 0);
    ASSERT_TRUE(instrument_.WaitForStop());

    const auto pulses = instrument_.Pulses();
    for (const Pulse& pulse : pulses) {
        ASSERT_NEAR(pulse.amplitudeMv, -250.0, 0.04);  // a code is 0.031 mV
        ASSERT_NEAR(pulse.durationMs, 1.5, 1e-9);
    }
    const StreamStatistics statistics = instrument_.Statistics();
    EXPECT_EQ(Starts(), FirstSamples({9400}, 10000, statistics.samples));
    EXPECT_EQ(statistics.marks, pulses.size());
    EXPECT_EQ(statistics.pulses, pulses.size());
    ExpectNoRefusals(instrument_);
}

TEST_F(PacingWire, DoublePulsesComeTwiceABeat)
{
    ASSERT_EQ(VRAXSetPacingAmplitude(100.0), 0);
    ASSERT_EQ(VRAXSetPacingPulseMode(2), 0);
    ASSERT_EQ(VRAXSetPacingRateSynchronized(), 0);
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_ECG), 0);
    ASSERT_TRUE(instrument_.WaitForPulses(60, kLongRun));
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_OFF), 0);
    ASSERT_TRUE(instrument_.WaitForStop());
    // 20 ms ahead of each beat, and 250 ms before that.
    EXPECT_EQ(Starts(), FirstSamples({19600, 14600}, 20000, instrument_.Statistics().samples));
}

TEST_F(PacingWire, MakesNoPulseWithoutAnAmplitude)
{
    ASSERT_EQ(VRAXSetPacingPulseMode(1), 0);
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_ECG), 0);
    ASSERT_TRUE(instrument_.WaitForPackets(100));  // 3.5 s
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_OFF), 0);
    EXPECT_EQ(instrument_.Statistics().marks, 0U);
    const auto block = instrument_.ControlBlock();
    for (std::size_t i = 24; i < 38; ++i) EXPECT_EQ(block[i], 0) << i;
}

// A new amplitude alone sends nothing; applying it waits for the end of a packet, and the stream
// goes on without a gap.
TEST_F(PacingWireInRealTime, IsAppliedBetweenTwoPackets)
{
    ASSERT_EQ(VRAXSetPacingAmplitude(50.0), 0);
    ASSERT_EQ(VRAXSetPacingRate(360), 0);
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_SINE), 0);
    ASSERT_TRUE(instrument_.WaitForPulses(2));
    instrument_.ClearExchanges();
    ASSERT_EQ(VRAXSetPacingAmplitude(150.0), 0);
    ASSERT_TRUE(instrument_.WaitForMorePackets(3));
    EXPECT_TRUE(instrument_.Exchanges(Request::ControlRead).empty());
    EXPECT_TRUE(instrument_.Exchanges(Request::ControlWrite).empty());

    EXPECT_EQ(VRAXApplyPacing(), 1);
    ASSERT_TRUE(instrument_.WaitForExchange(Request::ControlWrite));
    const std::size_t pulses = instrument_.Pulses().size();
    ASSERT_TRUE(instrument_.WaitForPulses(pulses + 4));
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_OFF), 0);
    ASSERT_TRUE(instrument_.WaitForStop());

    const auto exchanges = instrument_.Exchanges();
    std::size_t read = 0;
    while (read < exchanges.size() && exchanges[read].kind != Request::ControlRead) ++read;
    ASSERT_LT(read + 2, exchanges.size());
    ASSERT_GT(read, 0U);
    EXPECT_EQ(exchanges[read - 1].kind, Request::Stream);
    EXPECT_LE(exchanges[read - 1].replied, exchanges[read].arrived);
    EXPECT_EQ(exchanges[read + 1].kind, Request::ControlWrite);
    EXPECT_EQ(exchanges[read + 2].kind, Request::Stream);

    // Every pulse has the height that was in force when it was marked, first one and then the other.
    std::size_t high = 0;
    for (const Pulse& pulse : instrument_.Pulses()) {
        const bool isHigh = pulse.amplitudeMv > 100.0;
        EXPECT_NEAR(pulse.amplitudeMv, isHigh ? 150.0 : 50.0, 0.04);
        EXPECT_TRUE(isHigh || high == 0);
        if (isHigh) ++high;
    }
    EXPECT_GE(high, 4U);
    EXPECT_EQ(instrument_.Statistics().sequenceErrors, 0U);
    ExpectNoRefusals(instrument_);
}

TEST_F(PacingWire, IsAppliedOnceAtMostForEachCall)
{
    ASSERT_EQ(VRAXSetPacingAmplitude(50.0), 0);
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_SINE), 0);
    ASSERT_TRUE(instrument_.WaitForPackets(2));
    instrument_.ClearExchanges();
    constexpr std::size_t kCalls = 50;
    for (std::size_t i = 0; i < kCalls; ++i) EXPECT_EQ(VRAXApplyPacing(), 1);
    ASSERT_TRUE(instrument_.WaitForExchange(Request::ControlWrite));
    ASSERT_TRUE(instrument_.WaitForMorePackets(5));
    const std::size_t writes = instrument_.Exchanges(Request::ControlWrite).size();
    EXPECT_LE(writes, kCalls);
    ASSERT_TRUE(instrument_.WaitForMorePackets(20));
    EXPECT_EQ(instrument_.Exchanges(Request::ControlWrite).size(), writes);
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_OFF), 0);
    EXPECT_EQ(instrument_.Statistics().sequenceErrors, 0U);
    ExpectNoRefusals(instrument_);
}

TEST_F(PacingWire, AFailedExchangeLeavesTheStreamRunning)
{
    ASSERT_EQ(VRAXSetPacingAmplitude(50.0), 0);
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_SINE), 0);
    ASSERT_TRUE(instrument_.WaitForPackets(2));
    Fault shortRead = MakeFault(FaultKind::ShortReply, Request::ControlRead);
    shortRead.bytes = 10;
    instrument_.Inject(shortRead);
    EXPECT_EQ(VRAXApplyPacing(), 1);  // requested
    ASSERT_TRUE(instrument_.WaitForFaults());
    EXPECT_TRUE(instrument_.WaitForMorePackets(5));
    instrument_.Inject(MakeFault(FaultKind::WrongAcknowledge, Request::ControlWrite));
    EXPECT_EQ(VRAXApplyPacing(), 1);
    ASSERT_TRUE(instrument_.WaitForFaults());
    EXPECT_TRUE(instrument_.WaitForMorePackets(5));
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_OFF), 0);
    EXPECT_EQ(instrument_.Statistics().sequenceErrors, 0U);
}

TEST_F(PacingWire, StoppedIsSentAtOnceAndTellsHowItWent)
{
    instrument_.ClearExchanges();
    ASSERT_EQ(VRAXSetPacingAmplitude(50.0), 0);
    EXPECT_TRUE(instrument_.Exchanges().empty());
    EXPECT_EQ(VRAXApplyPacing(), 1);
    EXPECT_EQ(instrument_.Exchanges(Request::ControlWrite).size(), 1U);
    EXPECT_NEAR(instrument_.Pacing().amplitudeMv, 50.0, 0.04);
    EXPECT_NEAR(instrument_.Pacing().durationMs, 2.0, 1e-9);
    for (const Request request : {Request::ControlRead, Request::ControlWrite}) {
        Fault fault = MakeFault(FaultKind::ShortReply, request);
        fault.bytes = 63;
        instrument_.Inject(fault);
        EXPECT_EQ(VRAXApplyPacing(), 0);
    }
    instrument_.Inject(MakeFault(FaultKind::WrongAcknowledge, Request::ControlWrite));
    EXPECT_EQ(VRAXApplyPacing(), 0);
    EXPECT_EQ(VRAXApplyPacing(), 1);
}

// The graph draws the pulses where the instrument makes them.
TEST_F(PacingWire, PulsesAreDrawnAtTheirMarks)
{
    struct Record {
        std::mutex mutex;
        std::vector<std::pair<double, double>> points;
    };
    static Record& s_record = *new Record;
    VRAXRegisterPacingOutputSignalCallback([](double time, double mv) {
        const std::lock_guard lock(s_record.mutex);
        s_record.points.emplace_back(time, mv);
    });
    ASSERT_EQ(VRAXSetPacingAmplitude(70.0), 0);
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_ECG), 0);
    ASSERT_TRUE(instrument_.WaitForPulses(50, kLongRun));
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_OFF), 0);
    ASSERT_TRUE(instrument_.WaitForStop());

    const auto pulses = instrument_.Pulses();
    const auto steps = TimeSteps(instrument_.Statistics().samples, kRate);
    const std::lock_guard lock(s_record.mutex);
    // A packet that the stop overtook may have been built and not sent.
    ASSERT_GE(s_record.points.size(), 4 * pulses.size());
    ASSERT_LE(s_record.points.size(), 4 * (pulses.size() + 1));
    for (std::size_t i = 0; i < pulses.size(); ++i) {
        const double t = static_cast<double>(steps[pulses[i].sample]) / kRate;
        const auto* rectangle = &s_record.points[4 * i];
        EXPECT_NEAR(rectangle[0].first, t, 1e-8);
        EXPECT_NEAR(rectangle[1].first, t, 1e-8);
        EXPECT_NEAR(rectangle[2].first, t + 0.002, 1e-8);
        EXPECT_NEAR(rectangle[3].first, t + 0.002, 1e-8);
        EXPECT_EQ(rectangle[0].second, 0.0);
        EXPECT_EQ(rectangle[1].second, 70.0);
        EXPECT_EQ(rectangle[2].second, 70.0);
        EXPECT_EQ(rectangle[3].second, 0.0);
    }
}

TEST(PacingWithoutInstrument, CannotBeApplied)
{
    CListeningHost host;
    ASSERT_EQ(VRAXSetPacingAmplitude(50.0), 0);
    EXPECT_EQ(VRAXApplyPacing(), 0);
}
