// The photodiode frames that come by themselves: layout, schedule, shape, loss.

#include <stdexcept>

#include <gtest/gtest.h>

#include "HostPort.h"
#include "instrument/ControlLine.h"
#include "instrument/SamplingFrames.h"
#include "instrument/SimulatedInstrument.h"

using namespace instrument;
using namespace instrument_test;

namespace {

const Bytes kStop{0xAD, 0xFF, 0x00, 0x00, 0x00};

Bytes Start(std::uint8_t mask) { return {0xAD, 0xFF, 0x00, 0x00, mask}; }

Options WithStream(const SamplingStream& stream)
{
    Options options;
    options.ppgModel = 0x3407;
    options.sampling = stream;
    return options;
}

SamplingStream AtRate(double framesPerSecond)
{
    SamplingStream stream;
    stream.framesPerSecond = framesPerSecond;
    return stream;
}

bool IsFrame(const Bytes& block)
{
    return block.size() == 64 && block[0] == 0xAD && block[1] == 0xFF && block[3] == 0x00;
}

// The first sample of the frame's first channel.
unsigned FirstSample(const Bytes& frame) { return frame[8] * 256U + frame[9]; }

}  // namespace

TEST(SamplingFrame, HoldsAsManyWholeRecordsAsFit)
{
    struct Case {
        std::uint8_t mask;
        std::size_t record;
        std::size_t records;  // in 56 bytes
    };
    for (const Case& one : {Case{0x04, 3, 18}, Case{0x09, 5, 11}, Case{0x0F, 9, 6}}) {
        SamplingStream stream = AtRate(10);
        stream.value = [](unsigned channel, std::uint64_t sample) {
            return static_cast<std::uint16_t>(256 * (channel + 1) + sample);
        };
        stream.status = [](std::uint64_t sample) {
            return static_cast<std::uint8_t>(200 + sample);
        };
        SamplingFrames frames;
        frames.SetStream(stream);
        frames.Begin(one.mask, Clock::time_point{});
        const Bytes frame = frames.Next();
        ASSERT_EQ(frame.size(), 64U);
        EXPECT_EQ(Bytes(frame.begin(), frame.begin() + 8),
                  (Bytes{0xAD, 0xFF, 0, 0, one.mask, 0, 0, 0}));
        for (std::size_t i = 0; i < one.records; ++i) {
            std::size_t at = 8 + i * one.record;
            for (unsigned channel = 0; channel < 4; ++channel) {
                if ((one.mask & 1U << channel) == 0) continue;
                EXPECT_EQ(frame[at++], channel + 1);
                EXPECT_EQ(frame[at++], i);
            }
            EXPECT_EQ(frame[at], 200 + i);
        }
        for (std::size_t at = 8 + one.records * one.record; at < 64; ++at) EXPECT_EQ(frame[at], 0);
        EXPECT_EQ(frames.Next()[9], one.records);  // the samples go on
    }
}

TEST(SamplingSchedule, OfAMinuteAtTheFullRateDoesNotDrift)
{
    SamplingFrames frames;
    frames.SetStream(AtRate(kFullSamplingRate));
    const Clock::time_point start{std::chrono::seconds(5)};
    frames.Begin(0x0F, start);
    for (unsigned i = 1; i <= 60000; ++i) {
        ASSERT_EQ(frames.Due(), start + Milliseconds(i));
        const Bytes frame = frames.Next();
        ASSERT_EQ(FirstSample(frame), (i - 1) * 6 % 65536);
    }
    frames.SetStream(AtRate(3));  // a period that is no whole number of nanoseconds
    frames.Begin(0x01, start);
    for (int i = 0; i < 2999; ++i) frames.Next();
    EXPECT_EQ(frames.Due(), start + std::chrono::seconds(1000));
}

TEST(SamplingSchedule, HasNoFrameWithoutARateAMaskOrAfterTheLast)
{
    SamplingFrames frames;
    frames.Begin(0x01, Clock::now());
    EXPECT_FALSE(frames.Due());
    SamplingStream stream = AtRate(100);
    stream.frames = 2;
    frames.SetStream(stream);
    frames.Begin(0x00, Clock::now());
    EXPECT_FALSE(frames.Due());
    frames.Begin(0x01, Clock::now());
    frames.Next();
    EXPECT_TRUE(frames.Due());
    frames.Next();
    EXPECT_FALSE(frames.Due());
}

TEST(SamplingStart, TakesOneChannelTwoOrAll)
{
    SimulatedInstrument instrument(WithStream({}));
    const HostPort host;
    for (const std::uint8_t mask : Bytes{0x01, 0x08, 0x05, 0x0C, 0x0F}) {
        EXPECT_EQ(host.Ask(Start(mask))[3], 0xFF);
        EXPECT_EQ(instrument.State().samplingMask, mask);
    }
    for (const std::uint8_t mask : Bytes{0x07, 0x0E, 0x20}) {
        instrument.ClearRefusals();
        ASSERT_TRUE(host.Write(Start(mask)));
        EXPECT_TRUE(host.IsSilent());
        EXPECT_EQ(instrument.RefusalCount(), 1U);
    }
    EXPECT_EQ(instrument.State().samplingMask, 0x0F);
}

TEST(SamplingStream, ComesInOrderAndWholeWhileCommandsAreSlottedIn)
{
    SimulatedInstrument instrument(WithStream(AtRate(kFullSamplingRate)));
    const HostPort host;
    ASSERT_EQ(host.Ask(Start(0x0F))[3], 0xFF);
    unsigned frames = 0;
    unsigned replies = 0;
    while (frames < 2000) {
        if (frames % 50 == 49 && replies <= frames / 50) {
            ASSERT_TRUE(host.Write({0xB0, 0x00, 0x30, 0x00}));
            ++replies;
        }
        const Bytes block = host.Read(64);
        if (!block.empty() && block[0] == 0xB0) continue;
        ASSERT_TRUE(IsFrame(block)) << frames;
        ASSERT_EQ(FirstSample(block), 6 * frames % 65536);
        ++frames;
    }
    EXPECT_EQ(replies, 40U);
    EXPECT_EQ(instrument.Exchanges(Request::TriggerStatus).size(), 40U);
    EXPECT_EQ(instrument.Sampling().overruns, 0U);
    EXPECT_EQ(instrument.Sampling().lost, 0U);
    EXPECT_GE(instrument.Sampling().frames, 2000U);
}

TEST(SamplingStream, IsNeverAheadOfItsSchedule)
{
    SimulatedInstrument instrument(WithStream(AtRate(200)));
    const HostPort host;
    const auto start = Clock::now();
    host.Ask(Start(0x01));
    for (int i = 0; i < 20; ++i) host.Read(64);
    EXPECT_GE(Clock::now() - start, Milliseconds(100));
}

TEST(SamplingStream, LosesWhatItIsToldTo)
{
    SamplingStream stream = AtRate(1000);
    stream.loseEvery = 3;
    stream.frames = 9;
    SimulatedInstrument instrument(WithStream(stream));
    const HostPort host;
    host.Ask(Start(0x0F));
    for (const unsigned number : {0U, 1U, 3U, 4U, 6U, 7U}) {
        EXPECT_EQ(FirstSample(host.Read(64)), 6 * number);
    }
    EXPECT_TRUE(host.IsSilent());
    EXPECT_EQ(instrument.Sampling().frames, 6U);
    EXPECT_EQ(instrument.Sampling().lost, 3U);
    EXPECT_EQ(instrument.Sampling().overruns, 0U);
}

TEST(SamplingStream, CanBeGivenAnyBytes)
{
    SamplingStream stream = AtRate(1000);
    stream.frames = 3;
    stream.edit = [](Bytes& frame, std::uint64_t number) {
        if (number == 0) frame.resize(7);
        if (number == 1) frame.clear();
        if (number == 2) frame = {0xAD, 0xFE, 0x55};
    };
    SimulatedInstrument instrument(WithStream(stream));
    const HostPort host;
    host.Ask(Start(0x03));
    EXPECT_EQ(host.Read(10), (Bytes{0xAD, 0xFF, 0, 0, 3, 0, 0, 0xAD, 0xFE, 0x55}));
    EXPECT_EQ(instrument.Sampling().lost, 1U);
}

TEST(SamplingStream, ChangesWhileItRuns)
{
    SimulatedInstrument instrument(WithStream({}));
    const HostPort host;
    host.Ask(Start(0x01));
    EXPECT_TRUE(host.IsSilent());
    SamplingStream stream = AtRate(500);
    stream.frames = 1;
    stream.value = [](unsigned, std::uint64_t) { return std::uint16_t{0xABCD}; };
    instrument.SetSampling(stream);
    EXPECT_EQ(FirstSample(host.Read(64)), 0xABCDU);
    EXPECT_TRUE(instrument.WaitForSamplingFrames(1));
    EXPECT_THROW(instrument.SetSampling(AtRate(-1)), std::out_of_range);
    EXPECT_THROW(instrument.SetSampling(AtRate(100001)), std::out_of_range);
}

TEST(SamplingStream, EndsWithTheStopAndBeginsAnewWithAStart)
{
    SimulatedInstrument instrument(WithStream(AtRate(100)));
    const HostPort host;
    host.Ask(Start(0x0F));
    ASSERT_TRUE(IsFrame(host.Read(64)));
    ASSERT_TRUE(host.Write(kStop));
    Bytes block = host.Read(64);
    while (IsFrame(block)) block = host.Read(64);  // on its way before the stop was read
    EXPECT_EQ(block[3], 0xFF);
    EXPECT_TRUE(host.IsSilent());
    host.Ask(Start(0x0F));
    EXPECT_EQ(FirstSample(host.Read(64)), 0U);
}

TEST(SamplingStream, NeedsAModuleAndPower)
{
    Options without = WithStream(AtRate(1000));
    without.ppgModel.reset();
    {
        SimulatedInstrument instrument(without);
        const HostPort host;
        EXPECT_NE(host.Ask(Start(0x01))[3], 0xFF);
        EXPECT_TRUE(host.IsSilent());
    }
    SimulatedInstrument instrument(WithStream(AtRate(1000)));
    HostPort(instrument.Path()).Ask(Start(0x01));
    instrument.Unplug();
    instrument.Plug();
    const HostPort host;
    EXPECT_EQ(instrument.State().samplingMask, 0);
    EXPECT_TRUE(host.IsSilent());
}

TEST(SamplingStream, DropsWholeFramesWhenTheHostDoesNotRead)
{
    SimulatedInstrument instrument(WithStream(AtRate(2000)));
    const HostPort host;
    host.Ask(Start(0x0F));
    const auto deadline = Clock::now() + kGenerousTimeout;
    while (instrument.Sampling().overruns < 20 && Clock::now() < deadline) {
        instrument.WaitForSamplingFrames(instrument.Sampling().frames + 1, Milliseconds(20));
    }
    ASSERT_GE(instrument.Sampling().overruns, 20U);
    // What had gone out comes whole and in order; then the gap, and whole frames again.
    unsigned number = 0;
    Bytes block = host.Read(64);
    for (; IsFrame(block) && FirstSample(block) == 6 * number % 65536; ++number) {
        block = host.Read(64);
    }
    for (int i = 0; i < 50; ++i) {
        ASSERT_TRUE(IsFrame(block));
        EXPECT_NE(FirstSample(block), 6 * number % 65536);
        ++number;
        block = host.Read(64);
    }
}

TEST(ControlLine, ShapesTheStream)
{
    SimulatedInstrument instrument(WithStream({}));
    const HostPort host;
    host.Ask(Start(0x01));
    EXPECT_NE(RunControlLine(instrument, "sampling 1000 lose 2").find("1000 frames"),
              std::string::npos);
    EXPECT_EQ(FirstSample(host.Read(64)), 0U);
    EXPECT_EQ(FirstSample(host.Read(64)), 36U);  // 18 samples a frame, one frame lost
    EXPECT_NE(RunControlLine(instrument, "sampling").find("HZ"), std::string::npos);
    EXPECT_NE(RunControlLine(instrument, "sampling x").find("no number"), std::string::npos);
    EXPECT_NE(RunControlLine(instrument, "sampling 1000000").find("0 to 100000"),
              std::string::npos);
}
