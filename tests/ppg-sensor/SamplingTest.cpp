// Photodiode sampling: the calls and their codes, the commands, and what a frame tells.

#include <gtest/gtest.h>

#include <algorithm>
#include <tuple>

#include "device/LineState.h"
#include "ppg/SensorSampling.h"
#include "support/Frames.h"
#include "support/OpenInstrument.h"
#include "support/Timing.h"

using instrument::FaultKind;
using instrument::Request;

namespace {
using Told = std::vector<std::tuple<int, int, int>>;  // channel, value, status
Told s_told;

void Note(int channel, int value, int status) { s_told.emplace_back(channel, value, status); }

// Listeners for the photodiodes of the mask.
void Listen(unsigned mask)
{
    for (int k = 0; k < kPhotodiodes; ++k) {
        g_PPGSamplingCBs[k] = (mask >> k & 1u) != 0 ? &Note : nullptr;
    }
}

Told Decode(const Bytes& frame)
{
    s_told.clear();
    _CallbackPPGSampling(frame.data(), static_cast<unsigned>(frame.size()));
    return s_told;
}

// A head and records.
Bytes Frame(std::uint8_t mask, const Bytes& records)
{
    Bytes frame = Padded({0xAD, 0xFF, 0, 0, mask}, 8 + records.size());
    std::copy(records.begin(), records.end(), frame.begin() + 8);
    return frame;
}

Bytes Start(std::uint8_t mask) { return {0xAD, 0xFF, 0x00, 0x00, mask}; }
Bytes Read(std::uint8_t mask) { return {0xAD, 0x00, 0x00, 0x00, mask}; }
const Bytes kStop = Start(0);

// The commands of a start with listeners for these photodiodes.
std::vector<Bytes> StartWith(std::initializer_list<int> channels)
{
    COpenInstrument opened(0x3407u);
    for (const int k : channels) EXPECT_EQ(VRAXEnablePPGSampling(k, Note), 0);
    EXPECT_EQ(VRAXStartPPGSampling(), 0);
    const std::vector<Bytes> requests = Requests(opened.device.Exchanges());
    VRAXStopPPGSampling();
    EXPECT_EQ(VRAXDisablePPGSampling(), 0);
    return requests;
}
}  // namespace

TEST(SamplingFrame, HoldsARecordOfOneSampleAPhotodiodeAndAStatus)
{
    Listen(0x0F);
    EXPECT_EQ(Decode(Frame(0x05, {0x12, 0x34, 0xFF, 0xFE, 0x81, 0x00, 0x01, 0x80, 0x00, 0x02})),
              (Told{{0, 0x1234, 0x81}, {2, 0xFFFE, 0x81}, {0, 1, 2}, {2, 0x8000, 2}}));
    EXPECT_EQ(Decode(Frame(0x0F, {0, 1, 0, 2, 0, 3, 0, 4, 9})),
              (Told{{0, 1, 9}, {1, 2, 9}, {2, 3, 9}, {3, 4, 9}}));
    EXPECT_EQ(Decode(Frame(0x08, {0xAB, 0xCD, 7})), (Told{{3, 0xABCD, 7}}));
}

TEST(SamplingFrame, IsDecodedUpToItsLastWholeRecord)
{
    Listen(0x0F);
    const Told one = {{0, 0x0102, 3}, {1, 0x0304, 3}};
    const auto lengthened = [](std::size_t bytes) {
        return Frame(0x03, Padded({1, 2, 3, 4, 3}, bytes));
    };
    EXPECT_EQ(Decode(Frame(0x03, {1, 2, 3, 4})), Told{});  // the status is missing
    EXPECT_EQ(Decode(Frame(0x03, {1, 2, 3, 4, 3})).size(), 2u);
    for (const std::size_t bytes : {6, 7, 9}) EXPECT_EQ(Decode(lengthened(bytes)).size(), 2u);
    EXPECT_EQ(Decode(lengthened(10)).size(), 4u);
    EXPECT_EQ(Decode(Frame(0x03, {})), Told{});
}

TEST(SamplingFrame, Of64BytesHoldsAsManyWholeRecordsAsFit)
{
    Listen(0x0F);
    // 56 bytes of records of 3, 5, 7 and 9 bytes.
    EXPECT_EQ(Decode(Frame(0x01, Bytes(56))).size(), 18u);
    EXPECT_EQ(Decode(Frame(0x03, Bytes(56))).size(), 11u * 2);
    EXPECT_EQ(Decode(Frame(0x07, Bytes(56))).size(), 8u * 3);
    EXPECT_EQ(Decode(Frame(0x0F, Bytes(56))).size(), 6u * 4);
}

TEST(SamplingFrame, TellsNothingWithoutAPhotodiodeOrItsListener)
{
    Listen(0x0F);
    EXPECT_EQ(Decode(Frame(0x00, Bytes(56, 1))), Told{});
    EXPECT_EQ(Decode(Frame(0xF0, Bytes(56, 1))), Told{});
    EXPECT_EQ(Decode({0xAD, 0xFF, 0, 0, 1, 0, 0}), Told{});
    Listen(0x02);
    EXPECT_EQ(Decode(Frame(0x0F, {0, 1, 0, 2, 0, 3, 0, 4, 9})), (Told{{1, 2, 9}}));
    // Only the low half of the mask counts.
    EXPECT_EQ(Decode(Frame(0xF2, {0, 5, 6})), (Told{{1, 5, 6}}));
}

TEST(Sampling, StartsWithThePhotodiodesThatHaveAListener)
{
    const auto commands = [](std::uint8_t mask) {
        return std::vector<Bytes>{Start(mask), Read(mask)};
    };
    EXPECT_EQ(StartWith({0}), commands(0x01));
    EXPECT_EQ(StartWith({3}), commands(0x08));
    EXPECT_EQ(StartWith({0, 2}), commands(0x05));
    EXPECT_EQ(StartWith({1, 3}), commands(0x0A));
}

TEST(Sampling, OfMoreThanTwoPhotodiodesSamplesAll)
{
    const std::vector<Bytes> all = {Start(0x0F), Read(0x0F)};
    EXPECT_EQ(StartWith({0, 1, 2}), all);
    EXPECT_EQ(StartWith({3, 1, 2}), all);
    EXPECT_EQ(StartWith({0, 1, 2, 3}), all);
}

TEST(Sampling, ReadsOnce80MsAfterItsStart)
{
    COpenInstrument opened(0x3407u);
    ASSERT_EQ(VRAXEnablePPGSampling(0, Note), 0);
    ASSERT_EQ(VRAXStartPPGSampling(), 0);
    EXPECT_GE(MedianGapAfterReplyMs(opened.device.Exchanges()), 80.0 - kStampJitterMs);
    EXPECT_EQ(VRAXIsPlaying(), 1);
    EXPECT_EQ(opened.device.State().samplingMask, 1);
    VRAXStopPPGSampling();
    EXPECT_EQ(VRAXIsPlaying(), 0);
    EXPECT_EQ(opened.device.State().samplingMask, 0);
    EXPECT_EQ(opened.device.Exchanges().back().request, kStop);
}

TEST(Sampling, RunsEvenWhenItsReadIsNotAnswered)
{
    COpenInstrument opened(0x3407u);
    ASSERT_EQ(VRAXEnablePPGSampling(0, Note), 0);
    opened.device.Inject(FaultOn(Request::SamplingRead, FaultKind::Silence));
    EXPECT_EQ(VRAXStartPPGSampling(), 0);
    EXPECT_EQ(VRAXIsPlaying(), 1);
}

TEST(Sampling, ThatIsNotAcknowledgedDoesNotRun)
{
    COpenInstrument opened(0x3407u);
    ASSERT_EQ(VRAXEnablePPGSampling(0, Note), 0);
    for (const FaultKind kind : {FaultKind::Silence, FaultKind::WrongAcknowledge}) {
        opened.device.ClearExchanges();
        opened.device.Inject(FaultOn(Request::SamplingStart, kind));
        EXPECT_EQ(VRAXStartPPGSampling(), -4);
        EXPECT_EQ(VRAXIsPlaying(), 0);
        EXPECT_EQ(opened.device.Exchanges().size(), 1u);  // nothing is read
    }
}

TEST(Sampling, TellsWhyItIsNotEnabledOrStarted)
{
    EXPECT_EQ(VRAXEnablePPGSampling(0, Note), -1);
    EXPECT_EQ(VRAXStartPPGSampling(), -1);
    {
        COpenInstrument withoutModule;
        EXPECT_EQ(VRAXEnablePPGSampling(0, Note), -2);
        EXPECT_EQ(VRAXStartPPGSampling(), -2);
    }
    COpenInstrument opened(0x3307u);
    for (Shared<bool>* busy : {&s_ECGGoing, &g_PPG_PDSamplingRunning}) {
        *busy = true;
        EXPECT_EQ(VRAXEnablePPGSampling(0, Note), -3);
        EXPECT_EQ(VRAXStartPPGSampling(), -3);
        *busy = false;
    }
    EXPECT_EQ(VRAXStartPPGSampling(), -4);  // not enabled
    EXPECT_FALSE(g_PPG_PDSamplingEnabled);
    EXPECT_TRUE(opened.device.Exchanges().empty());
}

TEST(Sampling, TakesAnyPhotodiodeNumberAndKeepsListenersOfFour)
{
    COpenInstrument opened(0x3407u);
    for (const int channel : {-1, 4, 1000000}) EXPECT_EQ(VRAXEnablePPGSampling(channel, Note), 0);
    EXPECT_TRUE(g_PPG_PDSamplingEnabled);
    for (const auto& listener : g_PPGSamplingCBs) EXPECT_EQ(listener, nullptr);
    EXPECT_EQ(VRAXStartPPGSampling(), 0);  // of no photodiode
    EXPECT_EQ(Requests(opened.device.Exchanges()), (std::vector<Bytes>{Start(0), Read(0)}));
}

TEST(Sampling, IsDisabledByTheStopCommandAndStillCountsAsRunning)
{
    COpenInstrument opened(0x3407u);
    EXPECT_EQ(VRAXDisablePPGSampling(), 0);  // not enabled: nothing to stop
    EXPECT_TRUE(opened.device.Exchanges().empty());
    ASSERT_EQ(VRAXEnablePPGSampling(2, Note), 0);
    ASSERT_EQ(VRAXStartPPGSampling(), 0);
    opened.device.ClearExchanges();
    EXPECT_EQ(VRAXDisablePPGSampling(), 0);
    EXPECT_EQ(Requests(opened.device.Exchanges()), std::vector<Bytes>{kStop});
    EXPECT_FALSE(g_PPG_PDSamplingEnabled);
    for (const auto& listener : g_PPGSamplingCBs) EXPECT_EQ(listener, nullptr);
    EXPECT_EQ(VRAXIsPlaying(), 1);
    VRAXStopPPGSampling();
    EXPECT_EQ(VRAXIsPlaying(), 0);
}

TEST(Sampling, ThatCannotBeStoppedStaysEnabled)
{
    COpenInstrument opened(0x3407u);
    ASSERT_EQ(VRAXEnablePPGSampling(2, Note), 0);
    opened.device.Inject(FaultOn(Request::SamplingStop, FaultKind::Silence));
    EXPECT_EQ(VRAXDisablePPGSampling(), -1);
    EXPECT_TRUE(g_PPG_PDSamplingEnabled);
    EXPECT_EQ(g_PPGSamplingCBs[2], &Note);
    EXPECT_EQ(VRAXDisablePPGSampling(), 0);
}

TEST(Sampling, IsStoppedWhetherTheInstrumentAnswersOrNot)
{
    COpenInstrument opened(0x3407u);
    ASSERT_EQ(VRAXEnablePPGSampling(2, Note), 0);
    ASSERT_EQ(VRAXStartPPGSampling(), 0);
    opened.device.Inject(FaultOn(Request::SamplingStop, FaultKind::Silence));
    VRAXStopPPGSampling();
    EXPECT_EQ(VRAXIsPlaying(), 0);
    EXPECT_EQ(VRAXStartPPGSampling(), 0);  // still enabled
    DeviceClose();
    VRAXStopPPGSampling();
    EXPECT_EQ(VRAXIsPlaying(), 0);
}

// The reply comes behind frames that were on their way.
TEST(Sampling, FramesBeforeAReplyAreNotTakenForIt)
{
    COpenInstrument opened(0x3407u);
    ASSERT_EQ(VRAXEnablePPGSampling(0, Note), 0);
    ASSERT_EQ(VRAXStartPPGSampling(), 0);
    instrument::Fault frame = FaultOn(Request::Command, FaultKind::Unsolicited);
    frame.count = 0;
    opened.device.Inject(frame);
    EXPECT_EQ(VRAXGetUSBBusVoltage(), 250u);
    EXPECT_EQ(SetPPGLedLevel(1, 9), 0);
    EXPECT_EQ(VRAXGetLEDAmbientLightMode(), 0);
    EXPECT_EQ(VRAXDisablePPGSampling(), 0);
    EXPECT_EQ(VRAXGetUSBBusVoltage(), 250u);  // and nothing is left over
    opened.device.ClearFaults();
    VRAXStopPPGSampling();
}
