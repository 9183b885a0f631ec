// Photodiode frames, packets and commands on one line at the same time, with replies that stay away
// or come late: every frame is told, and no command gets another one's reply.

#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <optional>
#include <tuple>

#include "support/SensorHost.h"

using namespace instrument;

namespace {

constexpr int kFramesPerSecond = kSlowdown > 1 ? 100 : static_cast<int>(kFullSamplingRate);
constexpr int kModestRate = kSlowdown > 1 ? 50 : 200;

// Without end when `frames` is 0.
Options WithFrames(Pace pace, int framesPerSecond, std::size_t frames = 0)
{
    Options options = WithModule(pace);
    options.sampling.framesPerSecond = framesPerSecond;
    options.sampling.frames = frames;
    return options;
}

void MeasureVoltage(SimulatedInstrument& instrument, unsigned voltage)
{
    Measurements measurements = instrument.GetMeasurements();
    measurements.usbVoltage = static_cast<std::uint8_t>(voltage);
    instrument.SetMeasurements(measurements);
}

// A call that hangs ends the test at once.
unsigned AskVoltage()
{
    return CCall<unsigned>([] { return VRAXGetUSBBusVoltage(); }).Result();
}

// None of those that came so far, and nothing else.
void ExpectNoFrameLost(const SimulatedInstrument& instrument)
{
    ASSERT_TRUE(WaitForFrames(instrument.Sampling().frames));
    VRAXStopPPGSampling();
    EXPECT_EQ(instrument.Sampling().overruns, 0U);
    ExpectNumberedSamples(Count() / kSamplesAFrame);
}

std::string NameOf(Pace pace) { return pace == Pace::Fast ? "Fast" : "RealTime"; }

class BackToBack : public testing::TestWithParam<std::tuple<int, Pace>> {};
class BadReplyBesideFrames : public testing::TestWithParam<std::tuple<FaultKind, bool>> {};

}  // namespace

// They are told while the commands go on, however many threads send them.
TEST_P(BackToBack, CommandsBesideARunHoldNoFrameUp)
{
    constexpr std::size_t kFrames = 4 * kFramesPerSecond;
    const auto [threads, pace] = GetParam();
    SimulatedInstrument instrument(WithFrames(pace, kFramesPerSecond, kFrames));
    CConnectedHost host(5 * kPatientMs);  // no command may fail, however busy the machine
    StartSampling();
    PlaySine(instrument);
    std::vector<std::unique_ptr<CBackToBack>> callers;
    for (int i = 0; i < threads; ++i) callers.push_back(std::make_unique<CBackToBack>());
    EXPECT_TRUE(WaitForFrames(kFrames, std::chrono::minutes(1)));
    unsigned commands = 0;
    for (const auto& caller : callers) {
        const CBackToBack::Answers answers = caller->End();
        commands += answers.right;
        EXPECT_EQ(answers.failed, 0U);
        EXPECT_EQ(answers.wrong, 0U);
    }
    EXPECT_GE(commands, 10U);
    ExpectNumberedSamples(kFrames);
    EXPECT_EQ(instrument.Sampling().overruns, 0U);
    EXPECT_EQ(VRAXSetOutputFunction(OUTPUT_OFF), 0);
    ExpectOnePacketInFlight(instrument);
    EXPECT_EQ(instrument.Statistics().sequenceErrors, 0U);
    ExpectNoRefusals(instrument);
}

INSTANTIATE_TEST_SUITE_P(SensorTraffic, BackToBack,
                         testing::Combine(testing::Values(1, 2, 4),
                                          testing::Values(Pace::Fast, Pace::RealTime)),
                         [](const auto& parameter) {
                             return "From" + std::to_string(std::get<0>(parameter.param)) +
                                    NameOf(std::get<1>(parameter.param));
                         });

// Longer than any other exchange.
TEST(SensorTraffic, NoFrameIsLostWhileTheDcTableIsWritten)
{
    constexpr std::size_t kFrames = 12 * kFramesPerSecond;
    SimulatedInstrument instrument(WithFrames(Pace::Fast, kFramesPerSecond, kFrames));
    CConnectedHost host(kPatientMs);
    StartSampling();
    CCall<bool> write([] {
        const std::vector<unsigned> codes(4001, 1234);
        return WriteDCCalibrationData(codes.data(), 4001);
    });
    ASSERT_TRUE(write.HasReturned(std::chrono::minutes(4)));
    EXPECT_TRUE(write.Result());
    ASSERT_TRUE(WaitForFrames(kFrames, std::chrono::minutes(1)));
    ExpectNumberedSamples(kFrames);
    EXPECT_EQ(instrument.Sampling().overruns, 0U);
    ExpectNoRefusals(instrument);
}

// The end of a run leaves nothing behind that would let a command onto the line beside the reader.
TEST(SensorTraffic, CommandsAfterARunBesideASilentSensorAreAnswered)
{
    SimulatedInstrument instrument(WithModule());
    CConnectedHost host(kPatientMs);
    StartSampling();
    for (int round = 1; round <= 2; ++round) {
        PlaySine(instrument);
        EXPECT_TRUE(ComesBack([] { VRAXSetOutputFunction(OUTPUT_OFF); }));
        EXPECT_EQ(SetPPGTriggerLevel(1, round), 0);
        EXPECT_EQ(GetPPGTriggerLevel(1), round);
        EXPECT_EQ(SetPPGLedLevel(1, round), 0);
        EXPECT_EQ(instrument.State().TriggerLevel(1), round);
    }
    ExpectNoRefusals(instrument);
}

TEST(SensorTraffic, NoFrameIsLostWhereRunsBeginAndEnd)
{
    SimulatedInstrument instrument(WithFrames(Pace::RealTime, kModestRate));
    CConnectedHost host(kPatientMs);
    StartSampling();
    for (int round = 1; round <= 8; ++round) {
        PlaySine(instrument);
        EXPECT_EQ(VRAXSetOutputFunction(OUTPUT_OFF), 0);
        EXPECT_EQ(SetPPGTriggerLevel(1, round), 0);
        EXPECT_EQ(GetPPGTriggerLevel(1), round);
    }
    ExpectNoFrameLost(instrument);
    ExpectOnePacketInFlight(instrument);
    ExpectNoRefusals(instrument);
}

TEST_P(BadReplyBesideFrames, IsNotTakenForThatOfTheNextCommand)
{
    const auto [kind, plays] = GetParam();
    SimulatedInstrument instrument(WithFrames(Pace::RealTime, kModestRate));
    CConnectedHost host(kPatientMs);
    StartSampling();
    if (plays) PlaySine(instrument);
    for (unsigned i = 1; i <= 5; ++i) {
        MeasureVoltage(instrument, 10 * i);
        Fault fault = MakeFault(kind, Request::UsbVoltage);
        fault.delay = Milliseconds(kPatientMs + 150);
        instrument.Inject(fault);
        const unsigned first = AskVoltage();
        EXPECT_TRUE(first == 0 || first == 10 * i) << first;  // late on a busy machine is in time
        MeasureVoltage(instrument, 10 * i + 5);
        const unsigned second = AskVoltage();
        EXPECT_TRUE(second == 0 || second == 10 * i + 5) << second;
        EXPECT_TRUE(Eventually([=] { return AskVoltage() == 10 * i + 5; }));
    }
    if (plays) {
        ASSERT_TRUE(instrument.WaitForMorePackets(5));
        EXPECT_EQ(VRAXSetOutputFunction(OUTPUT_OFF), 0);
        ExpectOnePacketInFlight(instrument);
        EXPECT_EQ(instrument.Statistics().sequenceErrors, 0U);
    }
    ExpectNoFrameLost(instrument);
}

INSTANTIATE_TEST_SUITE_P(SensorTraffic, BadReplyBesideFrames,
                         testing::Combine(testing::Values(FaultKind::Silence, FaultKind::LateReply),
                                          testing::Bool()),
                         [](const auto& parameter) {
                             const FaultKind kind = std::get<0>(parameter.param);
                             const std::string name =
                                 kind == FaultKind::Silence ? "Silent" : "Late";
                             return name + (std::get<1>(parameter.param) ? "WhilePlaying" : "");
                         });

// Frames that come all the time keep nobody from seeing that the reply does not.
TEST(SensorTraffic, AnAmbientLightThatIsNotAnsweredHoldsNoRunUpBesideFrames)
{
    SimulatedInstrument instrument(WithFrames(Pace::RealTime, kModestRate));
    CConnectedHost host(kPatientMs);
    StartSampling();
    PlaySine(instrument);
    for (int mode = 1; mode <= 3; ++mode) {
        instrument.Inject(MakeFault(FaultKind::Silence, Request::AmbientWrite));
        EXPECT_EQ(VRAXSetLEDAmbientLightMode(mode), 0);
        ASSERT_TRUE(instrument.WaitForMorePackets(5));
        EXPECT_EQ(AskVoltage(), kUsbVoltage);
    }
    EXPECT_EQ(VRAXSetOutputFunction(OUTPUT_OFF), 0);
    ExpectOnePacketInFlight(instrument);
    ExpectNoFrameLost(instrument);
}

TEST(SensorTraffic, AShortReplyBesideASilentSensorFailsItsCommandAlone)
{
    SimulatedInstrument instrument(WithModule());
    CConnectedHost host(kPatientMs);
    StartSampling();
    Fault fault = MakeFault(FaultKind::ShortReply, Request::UsbVoltage);
    fault.bytes = 63;
    instrument.Inject(fault);
    EXPECT_EQ(VRAXGetUSBBusVoltage(), 0U);
    MeasureVoltage(instrument, 99);
    EXPECT_EQ(VRAXGetUSBBusVoltage(), 99U);
    instrument.SendUnsolicited(SimulatedInstrument::SamplingBlock(1, 7, 0));
    ASSERT_TRUE(WaitForFrames(1));
    EXPECT_EQ(Values(), std::vector<int>(kSamplesAFrame, 7));
}

// A frame gives the reply that follows it no more time.
TEST(SensorTraffic, AReplyAfterItsTimeIsNoneThoughAFrameCameInTime)
{
    SimulatedInstrument instrument(WithModule());
    CConnectedHost host(kPatientMs);
    StartSampling();
    Fault fault = MakeFault(FaultKind::LateReply, Request::UsbVoltage);
    fault.delay = Milliseconds(1700);
    instrument.Inject(fault);
    CCall<unsigned> voltage([] { return VRAXGetUSBBusVoltage(); });
    ASSERT_TRUE(instrument.WaitForExchange(Request::UsbVoltage));
    std::this_thread::sleep_for(std::chrono::milliseconds(800));
    instrument.SendUnsolicited(SimulatedInstrument::SamplingBlock(1, 7, 0));
    EXPECT_EQ(voltage.Result(), 0U);
    ASSERT_TRUE(WaitForFrames(1));
    EXPECT_EQ(Values(), std::vector<int>(kSamplesAFrame, 7));
}

// The calls that stop release each other's wait for the line, and still the stop is sent.
TEST(SensorTraffic, SamplingIsStoppedWhileOtherThreadsSwitchTheOutputOff)
{
    SimulatedInstrument instrument(WithFrames(Pace::RealTime, kModestRate));
    CConnectedHost host(kPatientMs);
    for (int round = 0; round < 12; ++round) {
        StartSampling();
        PlaySine(instrument);
        CBackToBack caller;
        const auto switchOff = [] { return VRAXSetOutputFunction(OUTPUT_OFF); };
        std::array<std::optional<CCall<int>>, 3> calls;
        if (round % 2 == 0) calls[0].emplace(switchOff);
        calls[1].emplace([] {
            VRAXStopPPGSampling();
            return 0;
        });
        calls[2].emplace(switchOff);
        for (auto& call : calls) {
            if (!call) continue;
            EXPECT_EQ(call->Result(), 0);
        }
        EXPECT_EQ(caller.End().wrong, 0U);
        EXPECT_EQ(instrument.State().samplingMask, 0) << "round " << round;
        EXPECT_EQ(VRAXIsPlaying(), 0);
        EXPECT_EQ(VRAXGetUSBBusVoltage(), kUsbVoltage);
    }
    ExpectOnePacketInFlight(instrument);
    ExpectNoRefusals(instrument);
}

TEST(SensorTraffic, IsStoppedAndFreedAtTheSameTimeWhileASignalPlays)
{
    SimulatedInstrument instrument(WithFrames(Pace::RealTime, kModestRate));
    CConnectedHost host(kPatientMs);
    StartSampling();
    PlaySine(instrument);
    CCall<int> stop([] {
        VRAXStopPPGSampling();
        return 0;
    });
    EXPECT_TRUE(ComesBack([] { VRAXFree(); }));
    EXPECT_EQ(stop.Result(), 0);
    EXPECT_EQ(VRAXIsPlaying(), 0);
}
