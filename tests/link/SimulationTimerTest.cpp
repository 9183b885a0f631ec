// Signals without an instrument: computed at the pace at which one would take them.

#include <gtest/gtest.h>

#include "support/CallbackTimes.h"
#include "support/LinkHost.h"
#include "support/Slowdown.h"
#include "support/Timing.h"

using namespace instrument;

namespace {

constexpr std::size_t kPacketSamples = 700;

// How long `ticks` packets after the first one take.
double MsOf(std::size_t ticks)
{
    CallbackTimes::Register();
    const CStopwatch watch;
    EXPECT_EQ(VRAXSetOutputFunction(OUTPUT_SINE), 0);
    EXPECT_TRUE(Eventually([=] { return CallbackTimes::Count() > ticks * kPacketSamples; }));
    return watch.Ms();
}

}  // namespace

TEST(SimulationTimer, TicksEvery35MsAtTheDefaultRate)
{
    CListeningHost host;
    const double ms = MsOf(30);
    EXPECT_GE(ms, 30 * 35.0 - 1.0);
    EXPECT_LE(ms, 30 * 35.0 * 5 * kSlowdown);
    EXPECT_EQ(VRAXIsPlaying(), 1);
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_OFF), 0);
    CallbackTimes::ExpectOneClock(20000.0);
}

TEST(SimulationTimer, TicksOncePerPacketAtOtherRates)
{
    CListeningHost host;
    ASSERT_EQ(VRAXSetSampleRate(7000), 0);
    const double ms = MsOf(6);
    EXPECT_GE(ms, 6 * 100.0 - 1.0);
    EXPECT_LE(ms, 6 * 100.0 * 5 * kSlowdown);
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_OFF), 0);
    CallbackTimes::ExpectOneClock(7000.0);
}

TEST(SimulationTimer, BuildsNothingOnceTheOutputIsOff)
{
    CListeningHost host;
    MsOf(3);
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_OFF), 0);
    const std::size_t samples = CallbackTimes::Count();
    EXPECT_EQ(samples % kPacketSamples, 0U);
    EXPECT_EQ(VRAXIsPlaying(), 0);
    std::this_thread::sleep_for(std::chrono::milliseconds(200));  // several ticks would be due
    EXPECT_EQ(CallbackTimes::Count(), samples);
}

TEST(SimulationTimer, StartsAnewForEachRun)
{
    CListeningHost host;
    CallbackTimes::Register();
    for (int run = 0; run < 5; ++run) {
        const std::size_t before = CallbackTimes::Count();
        ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_SINE), 0);
        ASSERT_TRUE(CallbackTimes::WaitForMore(2 * kPacketSamples));
        EXPECT_EQ(CallbackTimes::Get()[before], 0.0);
        ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_OFF), 0);
    }
}

TEST(SimulationTimer, CallbackSeesOneSampleInAQuarterOfItsDivider)
{
    CListeningHost host;
    CallbackTimes::Register(40);
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_SINE), 0);
    ASSERT_TRUE(CallbackTimes::WaitForMore(500));
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_OFF), 0);
    const std::vector<double> times = CallbackTimes::Get();
    for (std::size_t i = 0; i < 500; ++i) {
        ASSERT_NEAR(times[i], static_cast<double>(10 * i) / 20000.0, 1e-9);
    }
}

TEST(SimulationTimer, DividerIsCutToTheSampleRate)
{
    CListeningHost host;
    ASSERT_EQ(VRAXSetSampleRate(1000), 0);
    CallbackTimes::Register(1000000);
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_SINE), 0);
    ASSERT_TRUE(CallbackTimes::WaitForMore(3));
    const std::vector<double> times = CallbackTimes::Get();
    EXPECT_NEAR(times[1] - times[0], 0.25, 1e-9);
    EXPECT_NEAR(times[2] - times[1], 0.25, 1e-9);
}

TEST(SimulationTimer, BuildsNothingBeforeTheSynchronisationSignal)
{
    CListeningHost host;
    CallbackTimes::Register();
    const VRAXSynchronizationSignal signal = VRAXCreateSynchronizationSignal();
    VRAXSetSynchronizationSignal(signal);
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_SINE), 0);
    std::this_thread::sleep_for(std::chrono::milliseconds(200));  // several ticks are due
    EXPECT_EQ(CallbackTimes::Count(), 0U);
    EXPECT_EQ(VRAXIsPlaying(), 0);
    VRAXSynchronizationSignalSetEvent(signal);
    ASSERT_TRUE(CallbackTimes::WaitForMore(3 * kPacketSamples));
    CallbackTimes::ExpectOneClock(20000.0);
}

TEST(SimulationTimer, RunIsTakenOverByAnInstrumentThatIsPluggedIn)
{
    Options options = RealTime();
    options.plugged = false;
    SimulatedInstrument instrument(options);
    CListeningHost host;
    CallbackTimes::Register();
    ASSERT_EQ(VRAXSetPacingAmplitude(50.0), 0);
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_ECG), 0);
    ASSERT_TRUE(CallbackTimes::WaitForMore(3 * kPacketSamples));
    instrument.Plug();
    ASSERT_TRUE(Listener::WaitFor(true));
    ASSERT_TRUE(instrument.WaitForPackets(5));
    EXPECT_EQ(instrument.Relays().operateMode, 3);
    EXPECT_EQ(instrument.Relays().word, 0x010004U);  // pacing needs the calibrated path
    EXPECT_EQ(instrument.ControlBlock()[27], 80);
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_OFF), 0);
    ASSERT_TRUE(instrument.WaitForStop());
    // Every packet was built by one clock, and the instrument has every one since it came.
    CallbackTimes::ExpectOneClock(20000.0);
    const std::size_t built = CallbackTimes::Count() / kPacketSamples;
    const unsigned first = DecodePacket(instrument.Packet(0))[0].sequence;
    EXPECT_EQ(first / 50 + instrument.Statistics().packets - 1, built);
    EXPECT_GE(first, 150U);
    EXPECT_EQ(instrument.Statistics().sequenceErrors, 0U);
    ExpectNoRefusals(instrument);
}

TEST(SimulationTimer, RunThatWaitsForItsSignalIsTakenOverToo)
{
    Options options = RealTime();
    options.plugged = false;
    SimulatedInstrument instrument(options);
    CListeningHost host;
    const VRAXSynchronizationSignal signal = VRAXCreateSynchronizationSignal();
    VRAXSetSynchronizationSignal(signal);
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_SINE), 0);
    instrument.Plug();
    ASSERT_TRUE(Listener::WaitFor(true));
    EXPECT_FALSE(instrument.WaitForPackets(1, Milliseconds(200)));
    VRAXSynchronizationSignalSetEvent(signal);
    ASSERT_TRUE(instrument.WaitForPackets(4));
    EXPECT_EQ(DecodePacket(instrument.Packet(0))[0].sequence, 0);
    EXPECT_EQ(instrument.Statistics().sequenceErrors, 0U);
}

TEST(SimulationTimer, NoCallWaitsForALineThatIsNotThere)
{
    CListeningHost host;
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_ECG), 0);
    EXPECT_TRUE(ComesBack([] {
        EXPECT_EQ(VRAXGetUSBBusVoltage(), 0U);
        EXPECT_EQ(VRAXApplyPacing(), 0);
        EXPECT_EQ(VRAXSetOutputLead(5, true), 0);
        EXPECT_EQ(VRAXSetDCOffset(100), 0);
        EXPECT_EQ(VRAXSetOutputFunction(OUTPUT_SINE), 0);
        EXPECT_FALSE(VRAXEnableFPGASampling(true));
        EXPECT_FALSE(ReadDCCalibrationData());
    }));
    EXPECT_TRUE(Eventually([] { return VRAXIsPlaying() == 1; }));
}
