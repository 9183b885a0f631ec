// Photodiode sampling of a connected instrument: every frame reaches its listeners in order, also
// while commands are slotted in, and nothing keeps it from being stopped.

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>

#include "support/LinkHost.h"
#include "support/SensorHost.h"
#include "support/Slowdown.h"
#include "support/Timing.h"

using namespace instrument;

namespace {

Bytes NumberedFrame(unsigned number)
{
    return SimulatedInstrument::SamplingBlock(1, static_cast<std::uint16_t>(number), 0);
}

// `count` frames whose samples carry the number of their frame, from `first` on.
void ExpectFrames(unsigned first, unsigned count)
{
    const std::vector<int> values = Values();
    ASSERT_EQ(values.size(), count * kSamplesAFrame);
    for (std::size_t i = 0; i < values.size(); ++i) {
        ASSERT_EQ(values[i], static_cast<int>(first + i / kSamplesAFrame)) << "sample " << i;
    }
}

// Short as delivered, so that a test run stays short.
int SecondsAtFullRate()
{
    const char* text = std::getenv("VRAX_SAMPLING_SECONDS");
    return text != nullptr ? std::max(1, std::atoi(text)) : 10;
}

}  // namespace

TEST(SensorSampling, TellsTheListenersEveryFrameInOrder)
{
    SimulatedInstrument instrument(WithModule());
    CConnectedHost host(kPatientMs);
    StartSampling();
    for (unsigned i = 1; i <= 50; ++i) instrument.SendUnsolicited(NumberedFrame(i));
    ASSERT_TRUE(WaitForFrames(50));
    ExpectFrames(1, 50);
    VRAXStopPPGSampling();
}

TEST(SensorSampling, BlocksOfOtherHeadsTellNothing)
{
    SimulatedInstrument instrument(WithModule());
    CConnectedHost host(kPatientMs);
    StartSampling();
    Bytes other = NumberedFrame(7);
    other[0] = 0xAE;
    instrument.SendUnsolicited(other);
    other = NumberedFrame(8);
    other[1] = 0xFE;
    instrument.SendUnsolicited(other);
    instrument.SendUnsolicited(NumberedFrame(9));
    ASSERT_TRUE(WaitForFrames(1));
    ExpectFrames(9, 1);
}

// Bytes that stay alone are no part of the frame that comes later.
TEST(SensorSampling, AShortBlockTellsNothingAndTheFrameAfterItIsWhole)
{
    SimulatedInstrument instrument(WithModule());
    CConnectedHost host(kPatientMs);
    StartSampling();
    const Bytes frame = NumberedFrame(7);
    unsigned number = 9;
    for (const std::ptrdiff_t length : {1, 7}) {
        instrument.SendUnsolicited(Bytes(frame.begin(), frame.begin() + length));
        std::this_thread::sleep_for(std::chrono::milliseconds(2 * kPatientMs));
        instrument.SendUnsolicited(NumberedFrame(number));
        ASSERT_TRUE(WaitForFrames(number - 8)) << length;
        ++number;
    }
    ExpectFrames(9, 2);
}

TEST(SensorSampling, FramesBeforeItsStartAreDropped)
{
    SimulatedInstrument instrument(WithModule());
    CConnectedHost host(kPatientMs);
    ASSERT_EQ(VRAXEnablePPGSampling(0, Hear), 0);
    instrument.SendUnsolicited(NumberedFrame(1));
    EXPECT_EQ(VRAXGetUSBBusVoltage(), kUsbVoltage);
    ASSERT_EQ(VRAXStartPPGSampling(), 0);
    instrument.SendUnsolicited(NumberedFrame(2));
    ASSERT_TRUE(WaitForFrames(1));
    ExpectFrames(2, 1);
}

// Those that come during the start and between a command and its reply, too.
TEST(SensorSampling, NoFrameIsLostAroundACommand)
{
    SimulatedInstrument instrument(WithModule());
    CConnectedHost host(kPatientMs);
    Fault fault = MakeFault(FaultKind::Unsolicited, Request::SamplingRead);
    fault.data = NumberedFrame(1);
    instrument.Inject(fault);
    StartSampling();
    constexpr unsigned kCommands = 40;
    for (unsigned i = 0; i < kCommands; ++i) {
        ASSERT_TRUE(WaitForFrames(1 + 2 * i));  // so that the command waits for the next one
        fault = MakeFault(FaultKind::Unsolicited, Request::UsbVoltage);
        fault.data = NumberedFrame(3 + 2 * i);
        instrument.Inject(fault);
        CCall<unsigned> voltage([] { return VRAXGetUSBBusVoltage(); });
        if (i % 2 == 0) voltage.WaitUntilBlocked();
        instrument.SendUnsolicited(NumberedFrame(2 + 2 * i));
        EXPECT_EQ(voltage.Result(), kUsbVoltage);
    }
    ASSERT_TRUE(WaitForFrames(1 + 2 * kCommands));
    ExpectFrames(1, 1 + 2 * kCommands);
}

TEST(SensorSampling, ASilentSensorHoldsACommandUpForASecondAtMost)
{
    SimulatedInstrument instrument(WithModule());
    CConnectedHost host(kPatientMs);
    StartSampling();
    const CStopwatch watch;
    EXPECT_EQ(VRAXGetUSBBusVoltage(), kUsbVoltage);
    EXPECT_GE(watch.Ms(), 1000.0);
    EXPECT_LE(watch.Ms(), 3000.0 * kSlowdown);
    instrument.SendUnsolicited(NumberedFrame(1));
    ASSERT_TRUE(WaitForFrames(1));
}

TEST(SensorSampling, IsStoppedWhileCommandsWaitAndTheseFail)
{
    SimulatedInstrument instrument(WithModule());
    CConnectedHost host(kPatientMs);
    StartSampling();
    CCall<unsigned> voltage([] { return VRAXGetUSBBusVoltage(); });
    voltage.WaitUntilBlocked();
    VRAXStopPPGSampling();
    EXPECT_EQ(VRAXIsPlaying(), 0);
    EXPECT_EQ(instrument.State().samplingMask, 0);
    const unsigned answer = voltage.Result();  // 0 unless it was late enough to find the line free
    EXPECT_TRUE(answer == 0 || answer == kUsbVoltage);
    EXPECT_EQ(VRAXGetUSBBusVoltage(), kUsbVoltage);
}

TEST(SensorSampling, NoListenerIsToldOnceItIsStopped)
{
    SimulatedInstrument instrument(WithModule());
    CConnectedHost host(kPatientMs);
    StartSampling();
    instrument.SendUnsolicited(NumberedFrame(1));
    ASSERT_TRUE(WaitForFrames(1));
    VRAXStopPPGSampling();
    const std::size_t heard = Count();
    for (unsigned i = 2; i < 10; ++i) instrument.SendUnsolicited(NumberedFrame(i));
    EXPECT_EQ(VRAXGetUSBBusVoltage(), kUsbVoltage);
    EXPECT_EQ(Count(), heard);
}

TEST(SensorSampling, GoesOnAfterItWasStoppedAndStartedAgain)
{
    SimulatedInstrument instrument(WithModule());
    CConnectedHost host(kPatientMs);
    ASSERT_EQ(VRAXEnablePPGSampling(0, Hear), 0);
    for (unsigned run = 1; run <= 5; ++run) {
        ASSERT_EQ(VRAXStartPPGSampling(), 0);
        EXPECT_EQ(VRAXStartPPGSampling(), -3);
        EXPECT_EQ(VRAXEnablePPGSampling(1, Hear), -3);
        instrument.SendUnsolicited(NumberedFrame(run));
        ASSERT_TRUE(WaitForFrames(run));
        VRAXStopPPGSampling();
    }
    ExpectFrames(1, 5);
    EXPECT_EQ(VRAXDisablePPGSampling(), 0);
    EXPECT_EQ(VRAXStartPPGSampling(), -4);
    ExpectNoRefusals(instrument);
}

TEST(SensorSampling, IsRefusedWhileASignalPlays)
{
    SimulatedInstrument instrument(WithModule());
    CConnectedHost host(kPatientMs);
    ASSERT_EQ(VRAXEnablePPGSampling(0, Hear), 0);
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_SINE), 0);
    ASSERT_TRUE(instrument.WaitForPackets(2));
    EXPECT_EQ(VRAXStartPPGSampling(), -3);
    EXPECT_EQ(VRAXEnablePPGSampling(0, Hear), -3);
    ASSERT_EQ(VRAXSetOutputFunction(OUTPUT_OFF), 0);
    EXPECT_EQ(VRAXStartPPGSampling(), 0);
    instrument.SendUnsolicited(NumberedFrame(1));
    ASSERT_TRUE(WaitForFrames(1));
}

// A frame is no reply to a packet: it lets none go, and is told all the same.
TEST(SensorSampling, GoesOnWhileASignalPlays)
{
    SimulatedInstrument instrument(WithModule());
    CConnectedHost host(kPatientMs);
    StartSampling();
    // The relays of the run wait for a block each.
    CCall<int> play([] { return VRAXSetOutputFunction(OUTPUT_SINE); });
    ASSERT_EQ(play.Result(), 0);
    ASSERT_TRUE(instrument.WaitForPackets(2));
    for (unsigned i = 1; i <= 40; ++i) {
        instrument.SendUnsolicited(NumberedFrame(i));
        ASSERT_TRUE(instrument.WaitForMorePackets(1));
    }
    EXPECT_EQ(VRAXGetUSBBusVoltage(), kUsbVoltage);
    ASSERT_TRUE(WaitForFrames(40));
    ExpectFrames(1, 40);
    EXPECT_EQ(instrument.Statistics().sequenceErrors, 0U);
    EXPECT_EQ(VRAXSetOutputFunction(OUTPUT_OFF), 0);
    VRAXStopPPGSampling();
}

// The minute is VRAX_SAMPLING_SECONDS=60.
TEST(SensorSampling, DeliversTheFullFrameRateWithCommandsSlottedIn)
{
    Options options = WithModule();
    options.sampling.framesPerSecond = kSlowdown > 1 ? 100 : kFullSamplingRate;
    const double seconds = SecondsAtFullRate();
    const auto frames = static_cast<std::uint64_t>(options.sampling.framesPerSecond * seconds);
    options.sampling.frames = frames;
    SimulatedInstrument instrument(options);
    CConnectedHost host(kPatientMs);
    StartSampling();
    unsigned commands = 0;
    while (Count() < (frames - frames / 20) * kSamplesAFrame) {
        ASSERT_EQ(VRAXGetUSBBusVoltage(), kUsbVoltage);
        ++commands;
        std::this_thread::sleep_for(std::chrono::milliseconds(7));
    }
    ASSERT_TRUE(WaitForFrames(frames));
    EXPECT_GE(commands, 10U);
    EXPECT_EQ(instrument.Sampling().overruns, 0U);
    ExpectNumberedSamples(frames);
    VRAXStopPPGSampling();
    ExpectNoRefusals(instrument);
}

namespace {
constexpr std::uint64_t kMinuteOfFrames = 60 * static_cast<std::uint64_t>(kFullSamplingRate);
constexpr std::uint64_t kRecordsAFrame = 6;  // of four samples and a status, 9 of 56 bytes
constexpr int kAmbientMode = 9;

std::uint16_t ValueOf(unsigned channel, std::uint64_t sample)
{
    return static_cast<std::uint16_t>(4 * sample + channel);
}
std::uint8_t StatusOf(std::uint64_t sample) { return static_cast<std::uint8_t>(7 * sample); }

// What the four photodiodes told, in the order of the records. Written by the poll thread.
std::atomic<std::uint64_t> s_heard{0};
std::atomic<std::uint64_t> s_firstWrong{~std::uint64_t{0}};
void HearInOrder(int channel, int value, int status)
{
    const std::uint64_t n = s_heard;
    const bool isDue = channel == static_cast<int>(n % 4) && value == ValueOf(n % 4, n / 4) &&
                       status == StatusOf(n / 4);
    if (!isDue && n < s_firstWrong) s_firstWrong = n;
    s_heard = n + 1;
}

// The command with this number, and whether it was answered rightly.
bool IsAnswered(unsigned number)
{
    switch (number % 4) {
        case 0: return VRAXGetUSBBusVoltage() == kUsbVoltage;
        case 1: return VRAXGetLEDAmbientLightMode() == kAmbientMode;
        case 2: {
            const int level = static_cast<int>(number % 256);
            return SetPPGTriggerLevel(1, level) == 0 && GetPPGTriggerLevel(1) == level;
        }
        default: {
            double report[18] = {};
            return VRAXGetFPGAReport(report) && report[6] == 0x123 && report[9] == 0x456;
        }
    }
}
}  // namespace

// The frames of a minute, of all four photodiodes, in a fraction of it.
TEST(SensorSampling, DeliversTheFramesOfAMinuteWithCommandsOfAllKindsSlottedIn)
{
    Options options;
    options.ppgModel = 0x3307;  // has less to tell at its connection
    options.sampling.framesPerSecond = (kSlowdown > 1 ? 0.1 : 3.0) * kFullSamplingRate;
    options.sampling.frames = kSlowdown > 1 ? kMinuteOfFrames / 60 : kMinuteOfFrames;
    options.sampling.value = ValueOf;
    options.sampling.status = StatusOf;
    SimulatedInstrument instrument(options);
    CConnectedHost host(kPatientMs);
    ASSERT_EQ(VRAXSetLEDAmbientLightMode(kAmbientMode), 0);
    for (int channel = 0; channel < 4; ++channel) {
        ASSERT_EQ(VRAXEnablePPGSampling(channel, HearInOrder), 0);
    }
    ASSERT_EQ(VRAXStartPPGSampling(), 0);
    const std::uint64_t all = options.sampling.frames * kRecordsAFrame * 4;
    unsigned commands = 0;
    while (s_heard < all - all / 10) ASSERT_TRUE(IsAnswered(commands++)) << commands;
    ASSERT_TRUE(Eventually([=] { return s_heard >= all; }));
    EXPECT_EQ(s_firstWrong, ~std::uint64_t{0});
    EXPECT_EQ(s_heard, all);
    EXPECT_GE(commands, 10U);
    RecordProperty("commands", static_cast<int>(commands));
    const SamplingStatistics statistics = instrument.Sampling();
    EXPECT_EQ(statistics.frames, options.sampling.frames);
    EXPECT_EQ(statistics.overruns, 0U);
    VRAXStopPPGSampling();
    ExpectNoRefusals(instrument);
}
